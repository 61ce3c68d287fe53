/* gomp_first_host.c GOMP LIBRARY: a host whose own parallel regions run on GNU's OpenMP runtime, loaded
 * before the library, into the global scope. Both keep working, before and after a fork of the library's. */
#define _GNU_SOURCE
#include <dlfcn.h>
#include <signal.h>
#include <stdatomic.h>
#include <stdint.h>
#include <stdio.h>
#include <string.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

enum { length = 20000 };
static atomic_int members = 0;
static void body(void* unused) {
    (void)unused;
    atomic_fetch_add(&members, 1);
}

typedef void (*gomp_parallel)(void (*)(void*), void*, unsigned, unsigned);
typedef void (*array_form)(const double*, uint64_t, double, double, unsigned char, double*);

int main(int argc, char** argv) {
    static double x[length], first[length], out[length];
    gomp_parallel region;
    array_form normal;
    void *gomp, *library, *address;
    if (argc != 3) return 2;
    gomp = dlopen(argv[1], RTLD_NOW | RTLD_GLOBAL);
    if (gomp == NULL) return 77; /* no such runtime on this machine: skipped */
    library = dlopen(argv[2], RTLD_NOW | RTLD_LOCAL);
    if (library == NULL) {
        fprintf(stderr, "%s\n", dlerror());
        return 3;
    }
    address = dlsym(gomp, "GOMP_parallel");
    if (address == NULL) return 4;
    memcpy(&region, &address, sizeof region);
    address = dlsym(library, "zolv_ParallelNormalCdf");
    if (address == NULL) return 4;
    memcpy(&normal, &address, sizeof normal);

    for (int i = 0; i < length; ++i) x[i] = (i - length / 2) * 0.0007;
    normal(x, length, 0.0, 1.0, 0, first);
    if (first[length / 2] != 0.5) return 5;

    /* The library's regions are not the host's: its child may go on using the library. */
    const pid_t child = fork();
    if (child == 0) {
        normal(x, length, 0.0, 1.0, 0, out);
        _exit(memcmp(first, out, sizeof out) != 0);
    }
    int status = -1, waited = 0;
    const struct timespec pause = {0, 10 * 1000 * 1000};
    while (waitpid(child, &status, WNOHANG) == 0) {
        if (++waited > 500) {
            kill(child, SIGKILL);
            waitpid(child, &status, 0);
            return 6;
        }
        nanosleep(&pause, NULL);
    }
    if (status != 0) return 7;

    for (int round = 0; round < 20; ++round) {
        members = 0;
        region(body, NULL, 3, 0);
        if (members != 3) return 8;
        normal(x, length, 0.0, 1.0, 0, out);
        if (memcmp(first, out, sizeof out) != 0) return 9;
    }
    return 0;
}
