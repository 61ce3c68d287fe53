// frame/provider.hpp: the one door to the BLAS and LAPACK provider.
//
// The provider's integers are 64 bits wide. Its standard calls (cblas_ddot, LAPACKE_dgesv, ...) come from its
// own headers. Six extension calls that few providers have stand here under their established names and
// meanings; callers write provider::cblas_dgemmt and do not care whose it is:
//   openblas  the stand-ins of frame/provider.cpp;
//   mkl       the provider's own (configure with ZOLV_PROVIDER=mkl).
#pragma once

#include <cstddef>
#include <cstdint>

#ifdef ZOLV_PROVIDER_MKL
#    include <mkl.h>
#else
#    include <cblas.h>
#    include <lapacke.h>
#endif

namespace zolv::provider {

#ifdef ZOLV_PROVIDER_MKL

using integer = MKL_INT;
using ::cblas_dgemmt;
using ::MKL_CBWR_Set;
using ::MKL_Dimatcopy;
using ::MKL_Domatcopy;
using ::mkl_dtppack;
using ::mkl_dtpunpack;

#else

using integer = lapack_int;

// One triangle of C (n by n) := alpha op(A) op(B) + beta C, with op(A) n by k and op(B) k by n. The other
// triangle is neither read nor written; with beta = 0 the named one is not read either. k = 0 or alpha = 0
// leaves A and B unread and scales the triangle by beta.
void cblas_dgemmt(CBLAS_ORDER layout, CBLAS_UPLO uplo, CBLAS_TRANSPOSE trans_a, CBLAS_TRANSPOSE trans_b,
                  integer n, integer k, double alpha, const double* a, integer lda, const double* b,
                  integer ldb, double beta, double* c, integer ldc);

// B := alpha op(A); A is rows by cols. ordering 'R' or 'C', trans 'N' or 'T'; any other letter does nothing.
void MKL_Domatcopy(char ordering, char trans, std::size_t rows, std::size_t cols, double alpha,
                   const double* a, std::size_t lda, double* b, std::size_t ldb);

// AB := alpha op(AB) in place, leading dimension lda before and ldb after.
// Allocates rows * cols doubles unless the matrix keeps its shape; std::bad_alloc leaves AB as it was.
void MKL_Dimatcopy(char ordering, char trans, std::size_t rows, std::size_t cols, double alpha, double* ab,
                   std::size_t lda, std::size_t ldb);

// Column-major: copies op(a), rows by cols, into the packed triangle ap (n by n) from its element (i, j),
// counted from 1. Elements outside the triangle are skipped, with diag "U" the diagonal also. Plain copies:
// no value is looked at. info is 0, or minus the place of the first bad argument.
void mkl_dtppack(const char* uplo, const char* trans, const char* diag, const integer* n, double* ap,
                 const integer* i, const integer* j, const integer* rows, const integer* cols,
                 const double* a, const integer* lda, integer* info);

// The way back: the same elements of ap are copied to their places in op(a); the rest of a is left alone.
void mkl_dtpunpack(const char* uplo, const char* trans, const char* diag, const integer* n, const double* ap,
                   const integer* i, const integer* j, const integer* rows, const integer* cols, double* a,
                   const integer* lda, integer* info);

// Setting 3, the compatible mode: from now on the provider runs on one thread, so that no result depends on
// the number of processors. Returns 0, or -2 for any other setting, which changes nothing.
int MKL_CBWR_Set(int setting);

#endif

static_assert(sizeof(integer) == sizeof(std::int64_t), "the provider must be its 64-bit-integer build");

}  // namespace zolv::provider
