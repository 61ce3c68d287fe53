#include <stdio.h>
#include <zolv.h>

int main(void) {
    printf("%d.%d.%d %.17g\n", ZOLV_VERSION_MAJOR, ZOLV_VERSION_MINOR, ZOLV_VERSION_PATCH,
           zolv_NormalCdf(0.0, 0.0, 1.0, 0));
    return 0;
}
