/* small_stack.c: every family and large matrices on threads whose stacks hold 128 KiB. */
#define _POSIX_C_SOURCE 200809L
#include <pthread.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "families.h"
#include "zolv.h"

enum { order = 700, stack_bytes = 128 * 1024, hosts = 2 };

struct host {
    double *results, *matrix, *product, *side;
    int failed;
};

static void* run(void* argument) {
    struct host* const host = argument;
    host->failed = use_every_family(host->results) < 0;
    for (int i = 0; i < order * order; ++i)
        host->matrix[i] = i % (order + 1) == 0 ? 2.0 * order : (i * 7) % 5 - 2;
    for (int i = 0; i < order; ++i) host->side[i] = 1.0;
    zolv_MatrixMatrixProduct(1.0, host->matrix, host->matrix, 0.0, host->product, order, order, order, 0, 1);
    zolv_MatMatTriangularProduct(1.0, host->matrix, host->matrix, 0.0, host->product, order, order, 0, 1, 0);
    zolv_ScaleTransposeIP(1.0, host->product, order, order, 1);
    zolv_ScaleTransposeIP(1.0, host->product, order, order, 1);
    host->failed |= zolv_CholeskyInvUnpack(host->product, order);
    host->failed |= zolv_SolveSquareSystem(host->matrix, host->side, order);
    return NULL;
}

int main(void) {
    struct host host[hosts];
    pthread_t thread[hosts];
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    if (pthread_attr_setstacksize(&attributes, stack_bytes) != 0) return 2;
    for (int i = 0; i < hosts; ++i) {
        host[i].results = calloc(families_capacity, sizeof(double));
        host[i].matrix = calloc(order * order, sizeof(double));
        host[i].product = calloc(order * order, sizeof(double));
        host[i].side = calloc(order, sizeof(double));
        if (pthread_create(&thread[i], &attributes, run, &host[i]) != 0) return 3;
    }
    int failed = 0;
    for (int i = 0; i < hosts; ++i) {
        pthread_join(thread[i], NULL);
        failed |= host[i].failed;
        failed |= memcmp(host[i].results, host[0].results, families_capacity * sizeof(double)) != 0;
    }
    if (failed != 0) fprintf(stderr, "a call failed or gave other results\n");
    return failed;
}
