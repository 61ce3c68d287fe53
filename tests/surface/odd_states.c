/* odd_states.c LIBRARY: every family under each of the four rounding modes, with and without flush-to-zero set by the
 * host. Results may differ from those of the usual state, and fits may end with other codes; but every call comes
 * back, the state is as the host left it, and in the usual state everything is as before. */
#define _GNU_SOURCE
#include <dlfcn.h>
#include <fenv.h>
#include <stdio.h>
#include <string.h>
#include <sys/resource.h>
#include <xmmintrin.h>

#include "families.h"

enum { flush_and_zero = 0x8040 };

int main(int argc, char** argv) {
    static double before[families_capacity], results[families_capacity];
    static const int modes[4] = {FE_TONEAREST, FE_UPWARD, FE_DOWNWARD, FE_TOWARDZERO};
    const struct rlimit limit = {300, 310}; /* seconds of processor time: against a call that never ends */
    int (*use)(double*);
    int failures = 0;
    if (argc != 2 || setrlimit(RLIMIT_CPU, &limit) != 0) return 2;
    void* const library = dlopen(argv[1], RTLD_NOW | RTLD_LOCAL);
    void* const address = library == NULL ? NULL : dlsym(library, "use_every_family");
    if (address == NULL) {
        fprintf(stderr, "%s\n", dlerror());
        return 3;
    }
    memcpy(&use, &address, sizeof use);
    const int count = use(before);
    if (count <= 0) return 4;
    const unsigned usual = _mm_getcsr();
    for (int mode = 0; mode < 4; ++mode) {
        for (int flush = 0; flush < 2; ++flush) {
            fesetround(modes[mode]);
            if (flush) _mm_setcsr(_mm_getcsr() | flush_and_zero);
            const unsigned state = _mm_getcsr() & ~0x3Fu;
            use(results);
            const int kept = fegetround() == modes[mode] && (_mm_getcsr() & ~0x3Fu) == state;
            fesetround(FE_TONEAREST);
            _mm_setcsr(usual);
            if (!kept) {
                fprintf(stderr, "rounding mode %d, flush-to-zero %d: the state is not what it was\n", modes[mode],
                        flush);
                ++failures;
            }
        }
    }
    if (use(results) != count || memcmp(results, before, (size_t)count * sizeof *results) != 0) {
        fprintf(stderr, "the usual state gives other results than before\n");
        ++failures;
    }
    return failures;
}
