/* host_threads.c N [ROUNDS]: every family from N threads of the host at once. Each gets the bits of a single thread,
 * round after round. Exit status 0: all well. Prints only on failure. */
#define _POSIX_C_SOURCE 200809L
#include <pthread.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "families.h"

enum { stack_bytes = 1024 * 1024 };

static double alone[families_capacity];
static int count, rounds = 1;
static pthread_barrier_t start;

static void* run(void* argument) {
    double* const results = argument;
    pthread_barrier_wait(&start);
    for (int round = 0; round < rounds; ++round) {
        memset(results, 0, (size_t)count * sizeof *results);
        if (use_every_family(results) != count) return argument;
        if (memcmp(results, alone, (size_t)count * sizeof *results) != 0) return argument;
    }
    return NULL;
}

int main(int argc, char** argv) {
    const int hosts = argc > 1 ? atoi(argv[1]) : 0;
    if (hosts < 1) return 2;
    if (argc > 2) rounds = atoi(argv[2]);
    count = use_every_family(alone);
    if (count <= 0) {
        fprintf(stderr, "%d calls failed\n", -count);
        return 3;
    }
    pthread_t* const thread = calloc((size_t)hosts, sizeof *thread);
    double** const results = calloc((size_t)hosts, sizeof *results);
    if (thread == NULL || results == NULL) return 4;
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setstacksize(&attributes, stack_bytes);
    pthread_barrier_init(&start, NULL, (unsigned)hosts);
    for (int i = 0; i < hosts; ++i) {
        results[i] = malloc((size_t)count * sizeof *results[i]);
        if (results[i] == NULL || pthread_create(&thread[i], &attributes, run, results[i]) != 0) {
            fprintf(stderr, "no thread %d\n", i);
            exit(4);
        }
    }
    int wrong = 0;
    for (int i = 0; i < hosts; ++i) {
        void* failed = NULL;
        pthread_join(thread[i], &failed);
        wrong += failed != NULL;
        free(results[i]);
    }
    free(results);
    free(thread);
    if (wrong != 0) fprintf(stderr, "%d of %d threads got other results\n", wrong, hosts);
    return wrong != 0;
}
