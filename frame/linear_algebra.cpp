// frame/linear_algebra.cpp: the exported vector and matrix operations.
//
// Every call fixes layout, increments and leading dimensions, and forwards; nothing is computed here. Dense
// matrices are row-major and tight, packed triangles are the rows of the lower one.
//
// Sizes are not validated: a negative one is refused by the provider, which then does nothing (its reports
// are silenced in frame/provider.cpp). Where the provider would take a negative size for a huge one, or a
// container would, the call returns first.
#include <vector>

#include "frame/own_stack.hpp"
#include "frame/provider.hpp"
#include "frame/solve.hpp"
#include "frame/visit.hpp"
#include "zolv.h"

namespace {

namespace provider = zolv::provider;
using provider::integer;

CBLAS_TRANSPOSE op(int transpose) { return transpose != 0 ? CblasTrans : CblasNoTrans; }
CBLAS_UPLO triangle(bool upper) { return upper ? CblasUpper : CblasLower; }
int code_of(integer info) { return info != 0 ? zolv_code_not_positive_definite : zolv_code_done; }

// Stack that the provider's threaded LU factorisation may take: 528 KiB of bookkeeping, whatever the order of
// the matrix, and as much again for each halving of the panel until it has 8 columns. No other call comes
// near.
std::size_t factorisation_stack(int64_t n) {
    constexpr std::size_t frame = 544 * 1024, rest = 128 * 1024;
    constexpr int64_t widest_panel = 1024, narrowest_panel = 8;
    std::size_t frames = 1;
    if (n > widest_panel) {
        n = widest_panel;
        ++frames;
    }
    for (; n > narrowest_panel; n = (n + 1) / 2) ++frames;
    return frames * frame + rest;
}

}  // namespace

zolv::provider::solve_outcome zolv::provider::SolveSquareSystem(double* A, double* b, std::int64_t n) {
    if (n < 0) return solve_outcome::refused;
    std::vector<integer> pivots(static_cast<std::size_t>(n));
    integer info = -1;
    const auto solve = [&] { info = LAPACKE_dgesv(LAPACK_ROW_MAJOR, n, 1, A, n, pivots.data(), b, 1); };
    const visit here;
    if (!run_with_stack(factorisation_stack(n), solve)) return solve_outcome::no_memory;
    if (info == LAPACK_WORK_MEMORY_ERROR || info == LAPACK_TRANSPOSE_MEMORY_ERROR)
        return solve_outcome::no_memory;
    return info == 0 ? solve_outcome::solved : solve_outcome::refused;
}

extern "C" {

// ---- vectors -----------------------------------------------------------------------------------------

void zolv_AXPlusY(double a, const double* x, double* y, int64_t n) { cblas_daxpy(n, a, x, 1, y, 1); }

void zolv_CopyXIntoY(const double* x, int64_t incx, double* y, int64_t incy, int64_t n) {
    cblas_dcopy(n, x, incx, y, incy);
}

double zolv_DotProduct(const double* x, const double* y, int64_t n) { return cblas_ddot(n, x, 1, y, 1); }

void zolv_ScaleX(double a, double* x, int64_t n) { cblas_dscal(n, a, x, 1); }

void zolv_SwapXAndY(double* x, int64_t incx, double* y, int64_t incy, int64_t n) {
    cblas_dswap(n, x, incx, y, incy);
}

int64_t zolv_IndexToMaxAbsValue(const double* x, int64_t n) {
    return static_cast<int64_t>(cblas_idamax(n, x, 1));
}

int64_t zolv_IndexToMinAbsValue(const double* x, int64_t n) {
    return static_cast<int64_t>(cblas_idamin(n, x, 1));
}

// ---- matrices ----------------------------------------------------------------------------------------

void zolv_ScaleTranspose(double alpha, const double* A, double* B, int64_t rows, int64_t cols,
                         int transpose) {
    if (rows <= 0 || cols <= 0) return;
    const auto r = static_cast<std::size_t>(rows), c = static_cast<std::size_t>(cols);
    provider::MKL_Domatcopy('R', transpose != 0 ? 'T' : 'N', r, c, alpha, A, c, B, transpose != 0 ? r : c);
}

void zolv_ScaleTransposeIP(double alpha, double* AB, int64_t rows, int64_t cols, int transpose) {
    if (rows <= 0 || cols <= 0) return;
    const auto r = static_cast<std::size_t>(rows), c = static_cast<std::size_t>(cols);
    provider::MKL_Dimatcopy('R', transpose != 0 ? 'T' : 'N', r, c, alpha, AB, c, transpose != 0 ? r : c);
}

void zolv_MatrixVectorProduct(double alpha, const double* A, const double* x, double beta, double* y,
                              int64_t rows, int64_t cols, int transpose) {
    const provider::visit here;
    cblas_dgemv(CblasRowMajor, op(transpose), rows, cols, alpha, A, cols, x, 1, beta, y, 1);
}

void zolv_SymmetricMatVecProduct(double alpha, const double* Ap, const double* x, double beta, double* y,
                                 int64_t n) {
    const provider::visit here;
    cblas_dspmv(CblasRowMajor, CblasLower, n, alpha, Ap, x, 1, beta, y, 1);
}

void zolv_SymmetricMatRankOneUpdate(double* Ap, const double* x, double alpha, int64_t n) {
    const provider::visit here;
    cblas_dspr(CblasRowMajor, CblasLower, n, alpha, x, 1, Ap);
}

// Oddity: in these two a non-zero flag means the lower triangle, in the matrix-matrix products below the
// upper.
void zolv_TriangularMatVecProduct(const double* Ap, double* x, int64_t n, int lower, int transpose) {
    const provider::visit here;
    cblas_dtpmv(CblasRowMajor, triangle(lower == 0), op(transpose), CblasNonUnit, n, Ap, x, 1);
}

void zolv_SolveTriangularSystem(const double* Ap, double* x, int64_t n, int lower, int transpose) {
    const provider::visit here;
    cblas_dtpsv(CblasRowMajor, triangle(lower == 0), op(transpose), CblasNonUnit, n, Ap, x, 1);
}

void zolv_MatrixMatrixProduct(double alpha, const double* A, const double* B, double beta, double* C,
                              int64_t m, int64_t n, int64_t k, int transA, int transB) {
    if (m == 0 || n == 0 || k == 0) return;
    const provider::visit here;
    cblas_dgemm(CblasRowMajor, op(transA), op(transB), m, n, k, alpha, A, transA != 0 ? m : k, B,
                transB != 0 ? k : n, beta, C, n);
}

void zolv_MatMatTriangularProduct(double alpha, const double* A, const double* B, double beta, double* C,
                                  int64_t n, int64_t k, int transA, int transB, int upper) {
    const provider::visit here;
    provider::cblas_dgemmt(CblasRowMajor, triangle(upper != 0), op(transA), op(transB), n, k, alpha, A,
                           transA != 0 ? n : k, B, transB != 0 ? k : n, beta, C, n);
}

void zolv_SymmetricMatMatProduct(double alpha, const double* A, const double* B, double beta, double* C,
                                 int64_t m, int64_t n, int right, int upper) {
    if (m == 0 || n == 0) return;
    const provider::visit here;
    cblas_dsymm(CblasRowMajor, right != 0 ? CblasRight : CblasLeft, triangle(upper != 0), m, n, alpha, A,
                right != 0 ? n : m, B, n, beta, C, n);
}

// ---- factorisations and solve ------------------------------------------------------------------------

int zolv_CholeskyFacUnpack(double* A, int64_t n) {
    if (n < 0) return zolv_code_not_positive_definite;
    const provider::visit here;
    return code_of(LAPACKE_dpotrf(LAPACK_ROW_MAJOR, 'L', n, A, n));
}

int zolv_CholeskyInvUnpack(double* A, int64_t n) {
    const int code = zolv_CholeskyFacUnpack(A, n);
    if (code != 0) return code;
    const provider::visit here;
    return code_of(LAPACKE_dpotri(LAPACK_ROW_MAJOR, 'L', n, A, n));
}

int zolv_CholeskyFacPack(double* Ap, int64_t n) {
    if (n < 0)
        return zolv_code_not_positive_definite;  // LAPACKE looks for NaNs in n (n + 1) / 2 elements first
    const provider::visit here;
    return code_of(LAPACKE_dpptrf(LAPACK_ROW_MAJOR, 'L', n, Ap));
}

int zolv_CholeskyInvPack(double* Ap, int64_t n) {
    const int code = zolv_CholeskyFacPack(Ap, n);
    if (code != 0) return code;
    const provider::visit here;
    return code_of(LAPACKE_dpptri(LAPACK_ROW_MAJOR, 'L', n, Ap));
}

// The packing calls are column-major, where the lower triangle of a row-major matrix is the upper one.
void zolv_PackTriangularMat(const double* A, double* Ap, int64_t n) {
    const integer size = n, one = 1;
    integer info = 0;
    provider::mkl_dtppack("U", "N", "N", &size, Ap, &one, &one, &size, &size, A, &size, &info);
}

void zolv_UnpackTriangularMat(const double* Ap, double* A, int64_t n) {
    const integer size = n, one = 1;
    integer info = 0;
    provider::mkl_dtpunpack("U", "N", "N", &size, Ap, &one, &one, &size, &size, A, &size, &info);
}

int zolv_SolveSquareSystem(double* A, double* b, int64_t n) {
    return provider::SolveSquareSystem(A, b, n) == provider::solve_outcome::solved ? zolv_code_done
                                                                                   : zolv_code_solve_failed;
}

int zolv_SetMKLReproducibility(void) { return provider::MKL_CBWR_Set(3); }

}  // extern "C"
