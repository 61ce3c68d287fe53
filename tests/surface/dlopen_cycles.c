/* dlopen_cycles.c LIBRARY: 200 times load, call, unload. No crash, no growth of threads. */
#define _GNU_SOURCE
#include <dirent.h>
#include <dlfcn.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

typedef void (*array_form)(const double*, uint64_t, double, double, unsigned char, double*);
typedef int (*solver)(double*, double*, int64_t);

enum { cycles = 200, warm = 3, length = 5000 };

static int thread_count(void) {
    DIR* const tasks = opendir("/proc/self/task");
    int count = 0;
    if (tasks == NULL) return -1;
    for (struct dirent* entry; (entry = readdir(tasks)) != NULL;) count += entry->d_name[0] != '.';
    closedir(tasks);
    return count;
}

static void* symbol(void* library, const char* name) {
    void* const address = dlsym(library, name);
    if (address == NULL) {
        fprintf(stderr, "%s\n", dlerror());
        exit(3);
    }
    return address;
}

int main(int argc, char** argv) {
    static double x[length], out[length], first[length];
    int settled = 0;
    if (argc != 2) return 2;
    for (int i = 0; i < length; ++i) x[i] = (i - length / 2) * 0.002;
    for (int cycle = 0; cycle < cycles; ++cycle) {
        void* const library = dlopen(argv[1], RTLD_NOW | RTLD_LOCAL);
        if (library == NULL) {
            fprintf(stderr, "%s\n", dlerror());
            return 3;
        }
        array_form normal;
        solver solve;
        void* address = symbol(library, "zolv_ParallelNormalCdf");
        memcpy(&normal, &address, sizeof normal);
        address = symbol(library, "zolv_SolveSquareSystem");
        memcpy(&solve, &address, sizeof solve);

        double matrix[4] = {1, 1, 2, 4}, side[2] = {3, 10};
        normal(x, length, 0.0, 1.0, 0, out);
        if (solve(matrix, side, 2) != 0 || side[0] != 1.0 || side[1] != 2.0) return 4;
        if (cycle == 0) memcpy(first, out, sizeof out);
        if (memcmp(first, out, sizeof out) != 0) return 5;
        if (dlclose(library) != 0) return 6;
        if (cycle == warm) settled = thread_count();
    }
    if (thread_count() > settled) {
        fprintf(stderr, "%d threads after %d cycles, %d after %d\n", settled, warm, thread_count(), cycles);
        return 7;
    }
    return 0;
}
