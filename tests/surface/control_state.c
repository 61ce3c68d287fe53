/* control_state.c LIBRARY: neither loading the library nor calling it changes the floating-point control
 * state: rounding, precision, masks, flush-to-zero. Tried from the state a process starts with and from one
 * where everything is set otherwise. The sticky exception flags are not part of that state. */
#define _GNU_SOURCE
#include <dlfcn.h>
#include <fenv.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <xmmintrin.h>

#include "families.h"

struct state {
    int rounding;
    unsigned short x87;
    unsigned int sse;
};

static struct state read_state(void) {
    struct state now;
    fenv_t environment;
    fegetenv(&environment);
    now.rounding = fegetround();
    now.x87 = environment.__control_word;
    now.sse = _mm_getcsr() & ~0x3Fu;
    return now;
}

static int differs(const char* when, struct state before) {
    const struct state now = read_state();
    if (now.rounding == before.rounding && now.x87 == before.x87 && now.sse == before.sse) return 0;
    fprintf(stderr, "%s: rounding %d -> %d, x87 %x -> %x, mxcsr %x -> %x\n", when, before.rounding,
            now.rounding, (unsigned)before.x87, (unsigned)now.x87, before.sse, now.sse);
    return 1;
}

int main(int argc, char** argv) {
    static double results[families_capacity];
    int (*use)(double*);
    int failures = 0;
    if (argc != 2) return 2;
    const struct state start = read_state();
    void* const library =
        dlopen(argv[1], RTLD_NOW | RTLD_LOCAL); /* the families, and with them the library */
    if (library == NULL) {
        fprintf(stderr, "%s\n", dlerror());
        return 3;
    }
    failures += differs("loading", start);
    void* const address = dlsym(library, "use_every_family");
    if (address == NULL) return 4;
    memcpy(&use, &address, sizeof use);
    use(results);
    failures += differs("calling", start);

    fesetround(FE_UPWARD);
    _mm_setcsr(_mm_getcsr() | 0x8040u); /* flush to zero, denormals are zero */
    const struct state unusual = read_state();
    use(results);
    failures += differs("calling in another state", unusual);
    return failures;
}
