/* fork_child.c: a process that has used the library forks, and its child uses it too.
 *
 * Parent and child do the same work: every family, array forms of a size that spreads over the team, and a
 * system large enough for the provider's own threads. The child must finish within 5 seconds with the same
 * bits, and the parent must be able to go on. An argument asks for zolv_SetMKLReproducibility first.
 * Exit status 0: all well. Prints only on failure. */
#define _POSIX_C_SOURCE 200809L
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include "families.h"
#include "zolv.h"

enum { order = 260, length = 100000, total = families_capacity + length + order };

static double fraction(uint64_t* state) {
    *state = *state * 6364136223846793005u + 1442695040888963407u;
    return (double)(*state >> 11) * 0x1p-53;
}

static int work(double* results) {
    static double x[length], matrix[order * order];
    uint64_t state = 1;
    double* const distribution = results + families_capacity;
    double* const solution = distribution + length;
    memset(results, 0, total * sizeof *results);
    if (use_every_family(results) < 0) return 1;
    for (int i = 0; i < length; ++i) x[i] = 12.0 * fraction(&state) - 6.0;
    zolv_ParallelNormalCdf(x, length, 0.0, 1.0, 0, distribution);
    for (int i = 0; i < order * order; ++i) matrix[i] = fraction(&state) - 0.5;
    for (int i = 0; i < order; ++i) solution[i] = fraction(&state);
    return zolv_SolveSquareSystem(matrix, solution, order);
}

int main(int argc, char** argv) {
    static double parent[total], again[total];
    (void)argv;
    if (argc > 1 && zolv_SetMKLReproducibility() != 0) return 2;
    if (work(parent) != 0) return 3;
    for (int generation = 0; generation < 3; ++generation) {
        const pid_t child = fork();
        if (child < 0) return 4;
        if (child == 0) {
            static double mine[total];
            if (work(mine) != 0) _exit(5);
            _exit(memcmp(mine, parent, sizeof mine) == 0 ? 0 : 6);
        }
        int status = -1;
        const struct timespec pause = {0, 10 * 1000 * 1000};
        int waited = 0;
        while (waitpid(child, &status, WNOHANG) == 0) {
            if (++waited > 500) {
                kill(child, SIGKILL);
                waitpid(child, &status, 0);
                fprintf(stderr, "the child hangs\n");
                return 7;
            }
            nanosleep(&pause, NULL);
        }
        if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) {
            fprintf(stderr, "child: wait status %d\n", status);
            return 8;
        }
        if (work(again) != 0 || memcmp(again, parent, sizeof parent) != 0) return 9;
    }
    return 0;
}
