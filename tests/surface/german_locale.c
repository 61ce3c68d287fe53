/* german_locale.c: every family gives the same bits in a German locale, where a comma is the decimal point. LOCPATH
 * leads to one named de_DE.UTF-8. Exit status 0: all well; 77: no such locale. Prints only on failure. */
#include <locale.h>
#include <stdio.h>
#include <string.h>

#include "families.h"

int main(void) {
    static double before[families_capacity], results[families_capacity];
    const int count = use_every_family(before);
    if (count <= 0) return 1;
    if (setlocale(LC_ALL, "de_DE.UTF-8") == NULL) return 77;
    if (strcmp(localeconv()->decimal_point, ",") != 0) return 2;
    if (use_every_family(results) != count || memcmp(results, before, (size_t)count * sizeof *results) != 0) {
        fprintf(stderr, "other results in a German locale\n");
        return 3;
    }
    if (strcmp(setlocale(LC_ALL, NULL), "de_DE.UTF-8") != 0) {
        fprintf(stderr, "the locale was changed\n");
        return 4;
    }
    return 0;
}
