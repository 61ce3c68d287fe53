/* foreign_blas_host.c FOREIGN LIBRARY: loads a BLAS of 32-bit integers into the global scope, then the
 * library, and checks that the library's results are its own. */
#define _GNU_SOURCE
#include <dlfcn.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

static void* foreign;
static void* library;

static void load(const char* name, void* function, size_t size) {
    void* const address = dlsym(library, name);
    if (address == NULL) {
        fprintf(stderr, "no %s\n", name);
        exit(3);
    }
    memcpy(function, &address, size);
}
#define LOAD(function) load("zolv_" #function, &function, sizeof function)

static int failures = 0;
static void expect(int holds, const char* what) {
    if (holds) return;
    fprintf(stderr, "wrong: %s\n", what);
    ++failures;
}

int main(int argc, char** argv) {
    if (argc != 3) return 2;
    foreign = dlopen(argv[1], RTLD_NOW | RTLD_GLOBAL);
    library = dlopen(argv[2], RTLD_NOW | RTLD_LOCAL);
    if (foreign == NULL || library == NULL) {
        fprintf(stderr, "%s\n", dlerror());
        return 3;
    }
    double (*DotProduct)(const double*, const double*, int64_t);
    void (*AXPlusY)(double, const double*, double*, int64_t);
    int64_t (*IndexToMaxAbsValue)(const double*, int64_t);
    void (*MatrixVectorProduct)(double, const double*, const double*, double, double*, int64_t, int64_t, int);
    void (*MatrixMatrixProduct)(double, const double*, const double*, double, double*, int64_t, int64_t,
                                int64_t, int, int);
    void (*MatMatTriangularProduct)(double, const double*, const double*, double, double*, int64_t, int64_t,
                                    int, int, int);
    void (*ScaleTranspose)(double, const double*, double*, int64_t, int64_t, int);
    void (*PackTriangularMat)(const double*, double*, int64_t);
    int (*CholeskyInvUnpack)(double*, int64_t);
    int (*CholeskyInvPack)(double*, int64_t);
    int (*SolveSquareSystem)(double*, double*, int64_t);
    int (*SetMKLReproducibility)(void);
    LOAD(DotProduct);
    LOAD(AXPlusY);
    LOAD(IndexToMaxAbsValue);
    LOAD(MatrixVectorProduct);
    LOAD(MatrixMatrixProduct);
    LOAD(MatMatTriangularProduct);
    LOAD(ScaleTranspose);
    LOAD(PackTriangularMat);
    LOAD(CholeskyInvUnpack);
    LOAD(CholeskyInvPack);
    LOAD(SolveSquareSystem);
    LOAD(SetMKLReproducibility);

    const double a[4] = {1, 2, 3, 4};
    double y[4] = {1, 1, 1, 1};
    expect(DotProduct(a, a, 4) == 30.0, "dot product");
    AXPlusY(2.0, a, y, 4);
    expect(y[3] == 9.0, "axpy");
    expect(IndexToMaxAbsValue(a, 4) == 3, "index of the largest");
    MatrixVectorProduct(1.0, a, a, 0.0, y, 2, 2, 0);
    expect(y[0] == 5.0 && y[1] == 11.0, "matrix times vector");
    MatrixMatrixProduct(1.0, a, a, 0.0, y, 2, 2, 2, 0, 0);
    expect(y[0] == 7.0 && y[1] == 10.0 && y[2] == 15.0 && y[3] == 22.0, "matrix times matrix");
    MatMatTriangularProduct(1.0, a, a, 0.0, y, 2, 2, 0, 1, 0);
    expect(y[0] == 5.0 && y[1] == 10.0 && y[2] == 11.0 && y[3] == 25.0, "triangular product");
    ScaleTranspose(1.0, a, y, 2, 2, 1);
    expect(y[1] == 3.0 && y[2] == 2.0, "transpose");
    PackTriangularMat(a, y, 2);
    expect(y[1] == 3.0 && y[2] == 4.0, "pack");
    double spd[4] = {1, 0, 2, 5}, packed[3] = {1, 2, 5};
    expect(CholeskyInvUnpack(spd, 2) == 0 && spd[0] == 5.0 && spd[2] == -2.0 && spd[3] == 1.0, "inverse");
    expect(CholeskyInvPack(packed, 2) == 0 && packed[0] == 5.0 && packed[1] == -2.0 && packed[2] == 1.0,
           "packed inverse");
    double matrix[4] = {1, 1, 2, 4}, side[2] = {3, 10};
    expect(SolveSquareSystem(matrix, side, 2) == 0 && side[0] == 1.0 && side[1] == 2.0, "solve");
    matrix[0] = 0.0 / (side[0] - 1.0);
    expect(SolveSquareSystem(matrix, side, 2) == 30000, "solve with a NaN");
    expect(SetMKLReproducibility() == 0, "reproducibility");

    enum { order = 120 }; /* blocked paths */
    static double big[order * order], product[order * order], x[order];
    for (int i = 0; i < order * order; ++i) big[i] = i % (order + 1) == 0 ? order : (i * 7) % 5 - 2;
    for (int i = 0; i < order; ++i) x[i] = 0.0;
    for (int i = 0; i < order; ++i) {
        for (int j = 0; j < order; ++j) x[i] += big[i * order + j];
    }
    MatrixMatrixProduct(1.0, big, big, 0.0, product, order, order, order, 0, 0);
    double corner = 0.0;
    for (int k = 0; k < order; ++k) corner += big[k] * big[k * order + order - 1];
    expect(product[order - 1] == corner, "large product");
    expect(SolveSquareSystem(big, x, order) == 0, "large solve");
    for (int i = 0; i < order; ++i) expect(x[i] > 1.0 - 1e-12 && x[i] < 1.0 + 1e-12, "large solution");

    int* const calls = dlsym(foreign, "foreign_calls");
    expect(calls != NULL && *calls == 0, "a call reached the other BLAS");
    return failures;
}
