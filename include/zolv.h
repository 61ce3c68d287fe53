/* zolv.h: numerical and statistical routines behind a flat C interface.
 *
 * Valid as C11, C17, C++11 and later. Everything crosses the boundary as plain doubles, integers and arrays
 * that the caller owns and sizes; the library allocates only what it hands out (a model handle, the two
 * arrays of a search result) and frees it in the call named beside it.
 *
 * Two NaN patterns are results. The missing value (bits 0x7FF8000000000000) answers bad parameters; the
 * sign-set NaN (bits 0xFFF8000000000000) answers a NaN variate or a probability outside [0, 1].
 *
 * Nothing is printed, no errno is promised, the floating-point control state is never changed. Scalar calls
 * may run on any number of threads at once.
 *
 * An allocation that fails is thrown as std::bad_alloc, where a call does not name a code for it; nothing is
 * lost by it, and nothing of the caller's is written, save elements of an array form's output.
 */
#ifndef ZOLV_H
#define ZOLV_H

#include <stdint.h>

#define ZOLV_VERSION_MAJOR 1
#define ZOLV_VERSION_MINOR 0
#define ZOLV_VERSION_PATCH 0

#if defined(__GNUC__)
#    define ZOLV_API __attribute__((visibility("default")))
#else
#    define ZOLV_API
#endif

#ifdef __cplusplus
extern "C" {
#    if defined(__clang__)
/* The records returned by value have exported assignments but trivial copies, so C's convention holds. */
#        pragma clang diagnostic push
#        pragma clang diagnostic ignored "-Wreturn-type-c-linkage"
#    endif
#endif

/* ---- result codes ------------------------------------------------------------------------------------ */
/* [section: codes] */

/* One list of all result codes: X(code, name, "provoked by"). The enum below expands it; a caller may expand
 * it too, for a table of messages. Below 30000 a result exists, from 30000 upward it does not. */
/* clang-format off */
#define ZOLV_RESULT_CODES(X)                                                                                     \
    X(0,     done,                   "sum of squares below 1e-30 (an exact fit), random-walk fit done; "         \
                                     "success of the calls that only fail or succeed")                           \
    X(10000, converged,              "the convergence test of the search is met")                                \
    X(10005, no_better_step,         "16 tries found no smaller sum of squares, or a product of two derivative " \
                                     "scales is below 1e-20")                                                    \
    X(20000, iterations_used,        "25 iterations without convergence")                                        \
    X(30000, solve_failed,           "zolv_SolveSquareSystem: the matrix is singular")                           \
    X(30001, no_memory,              "the model object could not be allocated")                                  \
    X(30007, not_positive_definite,  "the Cholesky calls: the matrix is not positive definite")                  \
    X(30018, too_many_parameters,    "more than 10 parameters, the constant counted")                            \
    X(30023, lag_too_long,           "the largest lag of the AR or MA terms is above 100")                       \
    X(30025, series_too_short,       "n <= d + D S + 3, or no more differenced values than parameters; a random "\
                                     "walk with n < 2 (n < 3 with drift); zolv_GetBoxCoxLambda: see there")      \
    X(30026, no_terms,               "p + q + P + Q = 0 and the model is not a random walk")                     \
    X(30027, origin_too_early,       "n, or the origin of a forecast, <= p + d + (P + D) S + 1; the origin of a "\
                                     "forecast is above n")                                                      \
    X(30028, start_constant_useless, "a start constant is given and the AR start values sum to exactly 1")       \
    X(30029, orders_out_of_range,    "p, q, P or Q outside 0..5, d, D or S negative, or a parameter vector "     \
                                     "beyond its room")                                                          \
    X(30030, recursion_overflow,     "a value of the residual recursion is above 1.001e18 in magnitude")         \
    X(30031, singular_covariance,    "a derivative step is zero, or the final matrix cannot be inverted in full")\
    X(30032, polynomial_too_long,    "the generalised AR polynomial of a forecast would exceed 151 terms")
/* clang-format on */

#define ZOLV_RESULT_CODE_ENUMERATOR(code, name, provoked_by) zolv_code_##name = code,
typedef enum zolv_ResultCode { ZOLV_RESULT_CODES(ZOLV_RESULT_CODE_ENUMERATOR) } zolv_ResultCode;
#undef ZOLV_RESULT_CODE_ENUMERATOR

/* [/section: codes] */

/* ---- records ----------------------------------------------------------------------------------------- */

/* In C++ the records keep trivial copy construction, so that they pass and return by value as the plain C
 * structures they are; their member-wise assignment is exported by the library. */
#ifdef __cplusplus
#    define ZOLV_RECORD_MEMBERS(Record)                    \
        Record() = default;                                \
        Record(const Record&) = default;                   \
        Record(Record&&) = default;                        \
        ZOLV_API Record& operator=(const Record&) noexcept; \
        ZOLV_API Record& operator=(Record&&) noexcept;
#else
#    define ZOLV_RECORD_MEMBERS(Record)
#endif

/* A seasonal ARIMA model (p, d, q)(P, D, Q) with period S, as the caller describes it. 56 bytes.
 * Each of p, q, P, Q is 0..5. Set the reserved fields to zero. */
typedef struct zolv_ArimaModel {
    int32_t ArOrder;              /* p, non-seasonal AR order */
    int32_t Differencing;         /* d */
    int32_t MaOrder;              /* q */
    int32_t SeasonalArOrder;      /* P */
    int32_t SeasonalDifferencing; /* D */
    int32_t SeasonalMaOrder;      /* Q */
    int32_t SeasonalPeriod;       /* S */
    int32_t Reserved;             /* zero */
    double* Constant;             /* null: no constant. Else the model has one; see the fit calls for its value */
    double* Parameters;           /* start values in, estimates out; see the fit calls for length and order */
    int64_t Reserved2;            /* zero */
    ZOLV_RECORD_MEMBERS(zolv_ArimaModel)
} zolv_ArimaModel;

/* Twelve 32-bit fields that no routine reads; kept for binary compatibility. 48 bytes. */
typedef struct zolv_ArimaModelSpec {
    int32_t Field[12];
    ZOLV_RECORD_MEMBERS(zolv_ArimaModelSpec)
} zolv_ArimaModelSpec;

/* What a fitted model reports about itself. 56 bytes. */
typedef struct ArimaSummary {
    double DegreesOfFreedom; /* differenced values less parameters */
    double SumOfSquares;     /* of the residuals, backcasts excluded */
    double SigmaSquared;     /* SumOfSquares / DegreesOfFreedom */
    double MeanSquare;       /* SumOfSquares / count of differenced values */
    double Aicc;             /* corrected Akaike criterion, from the exact likelihood */
    double Aic;              /* Akaike criterion */
    double Bic;              /* Bayesian criterion */
} ArimaSummary;

/* Four arrays of the caller's for zolv_GetParameterTable. */
typedef struct zolv_ParameterTable {
    double* Coefficient;
    double* StandardError;
    double* TValue;
    double* PValue;
} zolv_ParameterTable;

/* Settings of the order search; zolv_CreateBestArimaAutoFindSetting returns the defaults. 52 bytes. */
typedef struct zolv_BestArimaAutoFindSetting {
    int32_t regularDifference;  /* d, fixed for the search; default 0 */
    int32_t minAr;              /* lowest p; 0 */
    int32_t maxAr;              /* highest p; 5 */
    int32_t minMa;              /* lowest q; 0 */
    int32_t maxMa;              /* highest q; 5 */
    int32_t seasonalDifference; /* D, fixed for the search; 0 */
    int32_t minSeasonalAr;      /* lowest P; 0 */
    int32_t maxSeasonalAr;      /* highest P; 0 */
    int32_t minSeasonalMa;      /* lowest Q; 0 */
    int32_t maxSeasonalMa;      /* highest Q; 0 */
    int32_t seasonalPeriod;     /* s; the seasonal grid is used from 2 upward; 0 */
    int32_t includeConstant;    /* non-zero asks for a constant; 1 */
    int32_t criterion;          /* ranking key: 0 AICc, 1 AIC, 2 BIC; 0 */
    ZOLV_RECORD_MEMBERS(zolv_BestArimaAutoFindSetting)
} zolv_BestArimaAutoFindSetting;

/* One candidate of the order search. 48 bytes. */
typedef struct zolv_BestArmaModel {
    int32_t p;            /* AR order, plus 10000 when refitted without its constant */
    int32_t q;            /* MA order */
    int32_t seasonalP;    /* seasonal AR order */
    int32_t seasonalQ;    /* seasonal MA order */
    double logLikelihood; /* exact Gaussian log likelihood at the estimates */
    double aicc;          /* corrected Akaike criterion */
    double aic;           /* Akaike criterion */
    double bic;           /* Bayesian criterion */
    ZOLV_RECORD_MEMBERS(zolv_BestArmaModel)
} zolv_BestArmaModel;

/* Result of the order search; release it with zolv_CleanUpAfterAutoFindBestArma. 24 bytes. */
typedef struct zolv_BestArmaGroup {
    zolv_BestArmaModel* models; /* [count], in enumeration order */
    int32_t* order;             /* [count], indices into models, best first */
    int32_t count;
    ZOLV_RECORD_MEMBERS(zolv_BestArmaGroup)
} zolv_BestArmaGroup;

/* Result of the unit-root test. 48 bytes. In C++ a default-constructed record holds NaN and -1. */
typedef struct zolv_UnitRootTest {
    double statistic;   /* t ratio of the lagged level */
    double pValue;      /* MacKinnon (1994) */
    double critical1;   /* 1% critical value, MacKinnon (2010) */
    double critical5;   /* 5% */
    double critical10;  /* 10% */
    int32_t sampleSize; /* observations of the regression */
    int32_t lagCount;   /* lagged differences retained */
#ifdef __cplusplus
    ZOLV_API zolv_UnitRootTest() noexcept;
    zolv_UnitRootTest(const zolv_UnitRootTest&) = default;
    ZOLV_API zolv_UnitRootTest(zolv_UnitRootTest&&) noexcept;
    ZOLV_API zolv_UnitRootTest& operator=(const zolv_UnitRootTest&) noexcept;
    ZOLV_API zolv_UnitRootTest& operator=(zolv_UnitRootTest&&) noexcept;
#endif
} zolv_UnitRootTest;

/* A fitted model; made by zolv_MakeArimaModelPtr, ended by zolv_DeleteArimaModelPtr. */
typedef struct zolv_ArimaModelObject* zolv_ArimaHandle;

/* ---- missing value and classification ---------------------------------------------------------------- */
/* [section: missing] */

/* The missing value: the quiet NaN with bits 0x7FF8000000000000. */
ZOLV_API double zolv_GetMissingValue(void);

/* x == missing value by IEEE equality, which no double satisfies: always 0, for NaN too.
 * Oddity: kept because callers rely on it; test with zolv_IsNaN instead. */
ZOLV_API int zolv_IsMissingValue(double x);

/* 1 if x is a NaN of either sign, else 0. */
ZOLV_API int zolv_IsNaN(double x);

/* 1 if x is infinite of either sign, else 0. */
ZOLV_API int zolv_IsInfinity(double x);

/* 1 if x is plus infinity, else 0. */
ZOLV_API int zolv_IsPlusInfinity(double x);

/* 1 if x is minus infinity, else 0. */
ZOLV_API int zolv_IsMinusInfinity(double x);

/* [/section: missing] */

/* ---- vectors and matrices ---------------------------------------------------------------------------- */
/* [section: linear algebra] */

/* A thin layer over the BLAS and LAPACK provider with fixed layout and increments.
 *
 * Sizes        int64_t, in elements. A size of 0 or below does nothing (a result of 0 comes back, where one
 *              is returned) unless a call says otherwise below.
 * Matrices     row-major and tight: element (i, j) of a rows by cols matrix at index i * cols + j.
 * Packed       a symmetric or triangular matrix as the rows of its lower triangle: element (i, j), i >= j,
 *              at index i (i + 1) / 2 + j; n (n + 1) / 2 doubles.
 * Flags        0 or not 0. op(A) is A, or its transpose where the flag trans... is set.
 * Arrays       the caller's; inputs and outputs must not overlap.
 * NaN, infinite values   go through the arithmetic. As usual in this interface a factor of exactly 0 may
 *              leave an operand unread: beta = 0 overwrites y or C whatever it held, and alpha = 0 may hide
 *              a NaN of A, B or x.
 * Threads      may run at once on different data; of more than 64 at once some wait for a turn. Large matrix
 *              products and solves use the provider's own threads; their last bits may depend on how many those
 *              are (see zolv_SetMKLReproducibility).
 * Source       BLAS (Lawson et al. 1979; Dongarra et al. 1988, 1990) and LAPACK, by their CBLAS and LAPACKE
 *              interfaces. */

/* y := a x + y.
 *
 * a  in      factor
 * x  in      [n]
 * y  in/out  [n]
 * n  in      length */
ZOLV_API void zolv_AXPlusY(double a, const double* x, double* y, int64_t n);

/* y := x, with a stride in either array.
 *
 * x     in   n elements, incx apart: [1 + (n - 1) |incx|]
 * incx  in   stride of x; negative runs backward from the last element
 * y     out  n elements, incy apart: [1 + (n - 1) |incy|]; what lies between them is left alone
 * incy  in   stride of y, likewise
 * n     in   number of elements copied */
ZOLV_API void zolv_CopyXIntoY(const double* x, int64_t incx, double* y, int64_t incy, int64_t n);

/* The sum of x[i] y[i].
 *
 * x  in  [n]
 * y  in  [n]; may be x
 * n  in  length; 0 or below gives 0
 *
 * Oddity: the order of summation is the provider's and differs between processors. */
ZOLV_API double zolv_DotProduct(const double* x, const double* y, int64_t n);

/* x := a x.
 *
 * a  in      factor; 0 writes zeros
 * x  in/out  [n]
 * n  in      length */
ZOLV_API void zolv_ScaleX(double a, double* x, int64_t n);

/* Exchanges x and y, with a stride in either array; strides and lengths as for zolv_CopyXIntoY.
 *
 * x, y        in/out  n elements each, incx and incy apart
 * incx, incy  in      strides
 * n           in      number of elements exchanged */
ZOLV_API void zolv_SwapXAndY(double* x, int64_t incx, double* y, int64_t incy, int64_t n);

/* Index, from 0, of the first element of largest absolute value; 0 for n <= 0.
 *
 * x  in  [n]; where a NaN is among them the provider decides
 * n  in  length */
ZOLV_API int64_t zolv_IndexToMaxAbsValue(const double* x, int64_t n);

/* Index, from 0, of the first element of smallest absolute value; otherwise as zolv_IndexToMaxAbsValue. */
ZOLV_API int64_t zolv_IndexToMinAbsValue(const double* x, int64_t n);

/* B := alpha A, or B := alpha A' when transpose is set.
 *
 * alpha       in   factor of every element, applied by multiplication also when it is 0 or 1
 * A           in   [rows * cols], rows by cols
 * B           out  [rows * cols]; rows by cols, or cols by rows when transpose is set
 * rows, cols  in   shape of A
 * transpose   in   flag */
ZOLV_API void zolv_ScaleTranspose(double alpha, const double* A, double* B, int64_t rows, int64_t cols,
                                  int transpose);

/* The same in place: AB is rows by cols before the call; after it cols by rows when transpose is set.
 *
 * AB  in/out  [rows * cols]
 *
 * A transposition of a matrix that is not square needs rows * cols doubles of scratch memory; their failed
 * allocation is thrown as std::bad_alloc, with AB unchanged. */
ZOLV_API void zolv_ScaleTransposeIP(double alpha, double* AB, int64_t rows, int64_t cols, int transpose);

/* y := alpha op(A) x + beta y.
 *
 * alpha, beta  in      factors
 * A            in      [rows * cols], rows by cols
 * x            in      [cols], or [rows] when transpose is set
 * y            in/out  [rows], or [cols] when transpose is set; not read when beta is 0
 * rows, cols   in      shape of A; where either is 0 y is left alone, beta notwithstanding
 * transpose    in      flag */
ZOLV_API void zolv_MatrixVectorProduct(double alpha, const double* A, const double* x, double beta, double* y,
                                       int64_t rows, int64_t cols, int transpose);

/* y := alpha A x + beta y for a symmetric A.
 *
 * alpha, beta  in      factors
 * Ap           in      [n (n + 1) / 2], packed
 * x            in      [n]
 * y            in/out  [n]; not read when beta is 0
 * n            in      order of A */
ZOLV_API void zolv_SymmetricMatVecProduct(double alpha, const double* Ap, const double* x, double beta,
                                          double* y, int64_t n);

/* A := alpha x x' + A for a symmetric A.
 *
 * Ap     in/out  [n (n + 1) / 2], packed
 * x      in      [n]
 * alpha  in      factor
 * n      in      order of A */
ZOLV_API void zolv_SymmetricMatRankOneUpdate(double* Ap, const double* x, double alpha, int64_t n);

/* x := op(A) x for a triangular A with any diagonal.
 *
 * Ap         in      [n (n + 1) / 2]; the triangle row by row: with lower set as told at the head of this
 *                    section, else the rows of an upper triangle, each from its diagonal element on
 * x          in/out  [n]
 * n          in      order of A
 * lower      in      flag: not 0 for a lower triangle
 * transpose  in      flag
 *
 * Oddity: here and in zolv_SolveTriangularSystem the flag names the lower triangle; in the two matrix-matrix
 * products below it names the upper one. */
ZOLV_API void zolv_TriangularMatVecProduct(const double* Ap, double* x, int64_t n, int lower, int transpose);

/* Solves op(A) z = x for a triangular A and writes z over x; arguments as zolv_TriangularMatVecProduct.
 * No test for singularity: a zero on the diagonal gives infinite or NaN elements. */
ZOLV_API void zolv_SolveTriangularSystem(const double* Ap, double* x, int64_t n, int lower, int transpose);

/* C := alpha op(A) op(B) + beta C.
 *
 * alpha, beta     in      factors
 * A               in      [m * k]; m by k, or k by m when transA is set
 * B               in      [k * n]; k by n, or n by k when transB is set
 * C               in/out  [m * n], m by n; not read when beta is 0
 * m, n, k         in      sizes
 * transA, transB  in      flags
 *
 * Oddity: with k = 0 nothing happens, so beta is not applied to C. */
ZOLV_API void zolv_MatrixMatrixProduct(double alpha, const double* A, const double* B, double beta, double* C,
                                       int64_t m, int64_t n, int64_t k, int transA, int transB);

/* One triangle of C := alpha op(A) op(B) + beta C, for a product known to be symmetric.
 *
 * alpha, beta     in      factors
 * A               in      [n * k]; n by k, or k by n when transA is set
 * B               in      [k * n]; k by n, or n by k when transB is set
 * C               in/out  [n * n], n by n; the other triangle is neither read nor written, and with beta 0
 *                         the named one is not read either
 * n, k            in      sizes; with k = 0 the triangle is scaled by beta
 * transA, transB  in      flags
 * upper           in      flag: not 0 for the upper triangle of C, diagonal included, else the lower */
ZOLV_API void zolv_MatMatTriangularProduct(double alpha, const double* A, const double* B, double beta, double* C,
                                           int64_t n, int64_t k, int transA, int transB, int upper);

/* C := alpha A B + beta C, or alpha B A + beta C when right is set, for a symmetric A.
 *
 * alpha, beta  in      factors
 * A            in      m by m, or n by n when right is set; only one triangle of it is read
 * B            in      [m * n], m by n
 * C            in/out  [m * n], m by n; not read when beta is 0
 * m, n         in      shape of C
 * right        in      flag: A stands to the right of B
 * upper        in      flag: not 0 for A's upper triangle, else its lower */
ZOLV_API void zolv_SymmetricMatMatProduct(double alpha, const double* A, const double* B, double beta,
                                          double* C, int64_t m, int64_t n, int right, int upper);

/* Cholesky factor of a symmetric positive definite matrix: A = L L'.
 *
 * A  in/out  [n * n]; only the lower triangle is read, and on success it holds L. The strict upper triangle
 *            is neither read nor written
 * n  in      order
 *
 * Returns 0, also for n = 0; 30007 if A is not positive definite (the columns of L found so far stand in the
 * lower triangle), if that triangle holds a NaN (A is unchanged), or if n is negative. Scratch memory is the
 * provider's; 30007 also when that cannot be had. */
ZOLV_API int zolv_CholeskyFacUnpack(double* A, int64_t n);

/* Inverse of a symmetric positive definite matrix by its Cholesky factor.
 *
 * A  in/out  [n * n]; lower triangle as zolv_CholeskyFacUnpack, on success that of the inverse
 * n  in      order
 *
 * Returns 0; 30007 as zolv_CholeskyFacUnpack, and then no inversion is tried; 30007 also if a diagonal
 * element of the factor is 0. */
ZOLV_API int zolv_CholeskyInvUnpack(double* A, int64_t n);

/* Cholesky factor of a packed matrix, packed likewise.
 *
 * Ap  in/out  [n (n + 1) / 2], packed
 * n   in      order
 *
 * Returns 0 or 30007, as zolv_CholeskyFacUnpack. */
ZOLV_API int zolv_CholeskyFacPack(double* Ap, int64_t n);

/* Inverse of a packed matrix by its Cholesky factor, packed likewise.
 *
 * Ap  in/out  [n (n + 1) / 2], packed
 * n   in      order
 *
 * Returns 0 or 30007, as zolv_CholeskyInvUnpack. */
ZOLV_API int zolv_CholeskyInvPack(double* Ap, int64_t n);

/* Copies the lower triangle of A, diagonal included, into packed form. NaNs are copied as they are.
 *
 * A   in   [n * n], n by n
 * Ap  out  [n (n + 1) / 2], packed
 * n   in   order */
ZOLV_API void zolv_PackTriangularMat(const double* A, double* Ap, int64_t n);

/* Copies packed elements to the lower triangle of A; its strict upper triangle is left alone.
 *
 * Ap  in   [n (n + 1) / 2], packed
 * A   out  [n * n], n by n
 * n   in   order */
ZOLV_API void zolv_UnpackTriangularMat(const double* Ap, double* A, int64_t n);

/* Solves A x = b by LU factorisation with partial pivoting.
 *
 * A  in/out  [n * n], n by n; overwritten by its factors: L below the diagonal (its unit diagonal is not
 *            stored), U on and above it, rows exchanged
 * b  in/out  [n]; the solution x on success
 * n  in      order
 *
 * Returns 0, also for n = 0; 30000 if U is exactly singular (A holds the factors, b is unchanged), if A or b
 * holds a NaN (both are unchanged), if n is negative, or if the provider cannot have its scratch memory.
 * The array of pivots is the only memory allocated here; its failure is thrown as std::bad_alloc.
 * Threads: takes 0.7 MiB of stack for n <= 8, up to 5 MiB for n > 1000; a calling thread that has less waits
 * for one made for the call. */
ZOLV_API int zolv_SolveSquareSystem(double* A, double* b, int64_t n);

/* Asks the provider for results that do not depend on the machine's number of processors: from then on its
 * matrix products and solves run on the calling thread alone. For the whole process and for good; call it
 * before other threads use the library. The Parallel... exports never depend on the number of threads and
 * are not affected.
 *
 * Returns the provider's status unchanged: 0 for done. */
ZOLV_API int zolv_SetMKLReproducibility(void);

/* [/section: linear algebra] */

/* ---- normal distribution ----------------------------------------------------------------------------- */
/* [section: normal] */

/* The standard normal density at (x - mean) / sd.
 *
 * x     in  variate, any double
 * mean  in  location, finite
 * sd    in  scale, finite and > 0
 *
 * Returns exp(-z^2 / 2) / sqrt(2 pi) with z = (x - mean) / sd; 0 for an infinite x; the sign-set NaN for a
 * NaN x; the missing value for a bad mean or sd, whatever x is.
 * Oddity: not divided by sd, so for sd other than 1 it does not integrate to 1 over x. Callers rely on it.
 * Threads: any number at once. */
ZOLV_API double zolv_NormalPdf(double x, double mean, double sd);

/* The normal distribution function or its complement.
 *
 * x     in  variate, any double
 * mean  in  location, finite
 * sd    in  scale, finite and > 0
 * upper in  0: P(X <= x); any other value: P(X > x)
 *
 * Returns a probability; 0 or 1 for an infinite x; the sign-set NaN for a NaN x; the missing value for a bad
 * mean or sd, whatever x is. Tails from 38.4638 standard deviations on are exactly 0.
 * Oddity: where x is above the mean, the tail is the standard normal one at x itself, not at (x - mean) / sd:
 * zolv_NormalCdf(5, 3, 1, 0) is 0.99999971, the value at 5. With mean 0 and sd 1 the two are the same. To get
 * the usual distribution function for other parameters, pass the standardised value with mean 0 and sd 1.
 * Source: Hill, algorithm AS 66, Applied Statistics 22 (1973); relative error of a tail below 5e-11.
 * Threads: any number at once. */
ZOLV_API double zolv_NormalCdf(double x, double mean, double sd, unsigned char upper);

/* The normal quantile.
 *
 * p     in  probability in [0, 1]
 * mean  in  location, finite
 * sd    in  scale, finite and > 0
 * upper in  0: x with P(X <= x) = p; any other value: x with P(X > x) = p
 *
 * Returns mean + z sd; minus and plus infinity for p = 0 and 1 in the lower tail, the reverse in the upper;
 * the sign-set NaN for a p that is NaN or outside [0, 1]; the missing value for a bad mean or sd, whatever p is.
 * Unlike zolv_NormalCdf it standardises on both sides of the mean.
 * Source: Beasley & Springer, algorithm AS 111, Applied Statistics 26 (1977), then at most ten Newton steps on
 * the tail of AS 66, whose inverse it therefore is.
 * Threads: any number at once. */
ZOLV_API double zolv_NormalInvCdf(double p, double mean, double sd, unsigned char upper);

/* zolv_NormalPdf of every element.
 *
 * x     in   [n] variates
 * n     in   count; 0 writes nothing
 * mean  in   location, finite
 * sd    in   scale, finite and > 0
 * out   out  [n], the caller's; may be x itself
 *
 * out[i] has the bits of the scalar function at x[i], whatever the number of threads. A bad mean or sd fills
 * out with the missing value. Runs on an OpenMP team. */
ZOLV_API void zolv_ParallelNormalPdf(const double* x, uint64_t n, double mean, double sd, double* out);

/* zolv_NormalCdf of every element.
 *
 * x     in   [n] variates
 * n     in   count; 0 writes nothing
 * mean  in   location, finite
 * sd    in   scale, finite and > 0
 * upper in   0: lower tail; any other value: upper tail
 * out   out  [n], the caller's; may be x itself
 *
 * out[i] has the bits of the scalar function at x[i], whatever the number of threads. A bad mean or sd fills
 * out with the missing value. Runs on an OpenMP team. */
ZOLV_API void zolv_ParallelNormalCdf(const double* x, uint64_t n, double mean, double sd, unsigned char upper,
                                     double* out);

/* zolv_NormalInvCdf of every element.
 *
 * p     in   [n] probabilities
 * n     in   count; 0 writes nothing
 * mean  in   location, finite
 * sd    in   scale, finite and > 0
 * upper in   0: lower tail; any other value: upper tail
 * out   out  [n], the caller's; may be p itself
 *
 * out[i] has the bits of the scalar function at p[i], whatever the number of threads; a p[i] that is NaN or
 * outside [0, 1] affects its own element only. A bad mean or sd fills out with the missing value. Runs on an
 * OpenMP team. */
ZOLV_API void zolv_ParallelNormalInvCdf(const double* p, uint64_t n, double mean, double sd, unsigned char upper,
                                        double* out);

/* [/section: normal] */

/* ---- Student t distribution -------------------------------------------------------------------------- */
/* [section: t] */

/* The density of Student's t, central or noncentral.
 *
 * x   in  variate, any double
 * df  in  degrees of freedom, > 0 and finite; need not be whole
 * nc  in  noncentrality, any finite value: the mean of the underlying normal, (Z + nc) / sqrt(W / df); 0 is the
 *         central t
 *
 * Returns the density; 0 for an infinite x; the sign-set NaN for a NaN x; the missing value for a bad df or nc,
 * whatever x is. A negative nc mirrors: the value at (x, nc) has the bits of the one at (-x, -nc).
 * Source: for nc not 0 and x on its side of 0, a saddle-point expansion in 1 / df for df >= 50, otherwise the
 * series in powers of nc summed outward from its largest term, or for |nc| >= 2000 an expansion in 1 / nc^2; on the
 * other side of 0 the saddle-point form, below df = 50 carried down by a recurrence in df.
 * Relative error: central 4e-15; saddle-point form and recurrence 3e-9, falling as 1 / df^4 down to what 1e-16 df
 * allows (1e-8 just below df = 1e8), 2e-15 from df = 1e8; series 5e-12, with |nc| up to 2000 8e-10; from
 * |nc| = 2000 with df < 50 3e-15.
 * Oddity: exactly 0 on the other side of 0 once |nc| exceeds 21.417 (it is below 1e-102 there). A density below
 * the smallest normal double is 0, and so is, on the noncentrality's side, any with df below about 1e-220, where a
 * factor underflows. The sign-set NaN also comes back where a form is undefined: at x = 0 with |nc| >= 2000 and
 * df < 50, with df >= 1e8 and an nc so close to 0 that (x - nc) / nc or its powers overflow, with df below 1e-307
 * or above 1e307, and where x^2 or nc is so large that a product overflows.
 * Threads: any number at once. */
ZOLV_API double zolv_TPdf(double x, double df, double nc);

/* The distribution function of Student's t, central or noncentral, or its complement.
 *
 * x      in  variate, any double
 * df     in  degrees of freedom, > 0 and finite
 * nc     in  noncentrality, any finite value; 0 is the central t
 * upper  in  0: P(X <= x); any other value: P(X > x)
 *
 * Returns a probability; 0 or 1 for an infinite x; the sign-set NaN for a NaN x; the missing value for a bad df or
 * nc, whatever x is. The central tail at 0 is 0.5; the lower tail at 0 for nc > 0 is P(Z > nc), whatever df is,
 * and 0 from nc = 38.4638 on. A negative nc mirrors: the lower tail at (x, nc) has the bits of the upper one at
 * (-x, -nc).
 * Source: central: the incomplete beta function. x on the noncentrality's side of 0: Lenth's mixtures of
 * incomplete betas (AS 243, Applied Statistics 38, 1989), summed outward from the largest term, of at most 750000
 * terms each way. On the other side of 0: a saddle-point tail of the third order for df >= 2000, below it carried
 * down by a recurrence in df.
 * Relative error of the smaller tail: central 1e-14; up to nc 4e-11, that of P(Z > nc); above nc 1e-13; on the
 * other side of 0 1e-7.
 * Where the method is weaker than that, on the noncentrality's side of 0 (x and nc > 0, say):
 * - just above nc, for nc below about 0.6, the upper sum ends when 0.9 of its own weight is reached: absolute
 *   error up to 5e-4 (2e-3 for df near 0.1); with df below 0.1 up to 2e-2, for nc up to 2.5;
 * - for nc below 2e-16 but not 0 both tails are the sign-set NaN: take nc = 0;
 * - an upper tail below about 1e-307 sends the work to the other sum, and comes back as minus infinity or as what
 *   1e-11 of rounding leaves of 1 - 1;
 * - for nc above 1200 and x so far from it that more than 750000 terms lie between, for all x from nc = 1.3e5 on,
 *   a lower tail of 1.797e308 and an upper one of -1.797e308 say so; from nc = 1.3e8 on the sign-set NaN does;
 * - with df above 1e307, and above 1e107 with nc above 140, nothing is right.
 * On the other side of 0 (x < 0 < nc, say):
 * - exactly 0 (and 1) once nc exceeds 21.274, where the tail is below 1e-99, for tails below 1e-100 with
 *   df < 2000, and for an x so close to 0 that x times its density is below 1e-300, although the tail there is
 *   P(Z > nc): take x = 0;
 * - the squared saddle point is rounded to 1e-16, which costs a relative 1e-16 df where nc - x is
 *   about 1 or more (1e-7 at df = 1e9, 1e-3 at 1e13, everything from 1e16 on), and far more where nc - x is below
 *   0.1: everything below about 0.001 even at df = 2000, and at fewer, where |x| sqrt(2000 / df) counts for |x|.
 *   Values outside [0, 1] and the sign-set NaN are what is left then.
 * No tail is clamped to [0, 1]. A central one is infinite where x^2 / df is a subnormal number and df above 1e15, and
 * with df below 1e-307.
 * Time: 5 microseconds for ordinary arguments; up to 0.05 s for nc near 1e5.
 * Threads: any number at once. */
ZOLV_API double zolv_TCdf(double x, double df, double nc, unsigned char upper);

/* The quantile of Student's t, central or noncentral.
 *
 * p      in  probability in [0, 1]
 * df     in  degrees of freedom, > 0 and finite
 * nc     in  noncentrality, any finite value; 0 is the central t
 * upper  in  0: x with P(X <= x) = p; any other value: x with P(X > x) = p
 *
 * Returns x; minus and plus infinity for p = 0 and 1 in the lower tail, the reverse in the upper; the sign-set NaN
 * for a p that is NaN or outside [0, 1]; the missing value for a bad df or nc, whatever p is. The central median
 * is exactly 0.
 * Source: central: x^2 = df w / (1 - w) with w the quantile of a beta variate with shapes 1/2 and df / 2 (see
 * zolv_BetaInvCdf), from df = 2e9 on of a gamma variate. Noncentral: a bracket that doubles away from the normal
 * quantile, then at most 251 bisections to a relative step of 1e-12, a little more after each 25 of them.
 * Oddity: 1 - w is formed by subtraction, so a central quantile loses digits far out: its relative error is about
 * 1e-16 x^2 / df, and where |x| would pass 1e8 sqrt(df) it is infinite: zolv_TInvCdf(1e-12, 1, 0, 0), which is
 * -3.2e11, is minus infinity. With few degrees of freedom and a small p search on zolv_TCdf instead. A noncentral
 * quantile follows zolv_TCdf into all its weak places, and nothing reports a search that found no root (with |nc|
 * between 1.3e5 and 1.3e8 there is none), but the sign-set NaN comes back when there is no tail where the search
 * begins. A root at 0 is approached by at most 251 halvings.
 * Time: some 60 tails for a noncentral one; seconds for nc near 1e5 and above, minutes with df below 1e-290 too.
 * Threads: any number at once. */
ZOLV_API double zolv_TInvCdf(double p, double df, double nc, unsigned char upper);

/* zolv_TPdf of every element.
 *
 * x    in   [n] variates
 * n    in   count; 0 writes nothing
 * df   in   degrees of freedom, > 0 and finite
 * nc   in   noncentrality, finite
 * out  out  [n], the caller's; may be x itself
 *
 * out[i] has the bits of the scalar function at x[i], whatever the number of threads. A bad df or nc fills out with
 * the missing value. Runs on an OpenMP team; what depends on df and nc alone is settled once before it. */
ZOLV_API void zolv_ParallelTPdf(const double* x, uint64_t n, double df, double nc, double* out);

/* zolv_TCdf of every element.
 *
 * x      in   [n] variates
 * n      in   count; 0 writes nothing
 * df     in   degrees of freedom, > 0 and finite
 * nc     in   noncentrality, finite
 * upper  in   0: lower tail; any other value: upper tail
 * out    out  [n], the caller's; may be x itself
 *
 * out[i] has the bits of the scalar function at x[i], whatever the number of threads. A bad df or nc fills out with
 * the missing value. Runs on an OpenMP team; what depends on df and nc alone is settled once before it. */
ZOLV_API void zolv_ParallelTCdf(const double* x, uint64_t n, double df, double nc, unsigned char upper, double* out);

/* zolv_TInvCdf of every element.
 *
 * p      in   [n] probabilities
 * n      in   count; 0 writes nothing
 * df     in   degrees of freedom, > 0 and finite
 * nc     in   noncentrality, finite
 * upper  in   0: lower tail; any other value: upper tail
 * out    out  [n], the caller's; may be p itself
 *
 * out[i] has the bits of the scalar function at p[i], whatever the number of threads; a p[i] that is NaN or outside
 * [0, 1] affects its own element only. A bad df or nc fills out with the missing value. Runs on an OpenMP team;
 * what depends on df and nc alone is settled once before it. */
ZOLV_API void zolv_ParallelTInvCdf(const double* p, uint64_t n, double df, double nc, unsigned char upper,
                                   double* out);

/* [/section: t] */

/* ---- chi-square distribution ------------------------------------------------------------------------- */
/* [section: chi-square] */

/* What holds for all five functions. df is the number of degrees of freedom, a real number; nc the noncentrality,
 * the sum of the squared means of df unit normals, so that the mean is df + nc and nc / 2 the Poisson mean of the
 * mixture. Everything is worked out for the gamma variate of shape df / 2 at half the point.
 * A negative nc is no distribution, yet it is not a bad parameter: see each function.
 * Oddity: x = -5e-324 halves to -0.0 and counts as 0.
 * Oddity: for df up to 2 the logarithm of the density of shape df / 2 overflows at subnormal points x below about
 * df * 5.6e-309: the density there is plus infinity, the lower tail 1 or, with an nc below 2 or so other than 0, minus
 * infinity and the upper plus infinity; for df = 2 the density and both noncentral tails are NaN. For df below 1e-305 a noncentral lower tail is 0. From df = 1e30 or so on neighbouring doubles
 * lie a standard deviation apart, and tails and quantiles have no digits left. */

/* The chi-square density, central (nc = 0) or noncentral.
 *
 * x   in  variate, any double
 * df  in  degrees of freedom, finite and > 0
 * nc  in  noncentrality, finite; meant to be >= 0
 *
 * Returns the density; 0 for a negative or infinite x; at x = 0 plus infinity for df < 2, exp(-nc / 2) / 2 for
 * df = 2, 0 for df > 2; the sign-set NaN for a NaN x; the missing value for a bad df or nc, whatever x is.
 * With nc other than 0 a density whose largest mixture term is below 2.2e-308 is exactly 0.
 * A negative nc: for x > 0 the sums are followed where they have a first term, that is where
 * (df / 2 - 1)^2 + nc x is not negative, and may give a negative number or an infinity; elsewhere the sign-set NaN.
 * The sign-set NaN as well where the index of the largest term, (sqrt((df / 2 - 1)^2 + nc x) - df / 2 - 1) / 2
 * rounded up, is above 2^53 and the term does not underflow; for df above 2.6e154, where the square overflows, too.
 * Relative error below 2e-12 for df and nc up to 1e4, 1e-10 up to 1e6; it grows with the logarithm of the density.
 * The mixture has some 23 sqrt(k) terms for a largest term at index k: a millisecond for an nc of 1e8, seconds
 * next to 2^53.
 * Source: saddle-point form of the gamma density (Loader 2000); Poisson mixture summed outward from its largest
 * term.
 * Threads: any number at once. */
ZOLV_API double zolv_ChiSqPdf(double x, double df, double nc);

/* The chi-square distribution function or its complement, central (nc = 0) or noncentral.
 *
 * x      in  variate, any double
 * df     in  degrees of freedom, finite and > 0
 * nc     in  noncentrality, finite; meant to be >= 0
 * upper  in  0: P(X <= x); any other value: P(X > x)
 *
 * Returns a probability; 0 or 1 for an x at or below 0 and for an infinite x, whatever df and nc are; the sign-set
 * NaN for a NaN x and, for 0 < x < infinity, for a negative nc or one above 2^54 or so, where the indices of the
 * mixture no longer differ; the missing value for a bad df or nc, whatever x is.
 * Accuracy, relative, of the smaller tail: 2e-12 where df / 2 + nc / 2 + 5.5 sqrt(nc) is below 9990, otherwise
 * 3e-9 for tails above 1e-16 and 3e-7 for tails of 1e-100. The larger tail is one minus it. Noncentral tails below
 * about 1e-300 are 0.
 * Oddity: a sum that takes more than 750000 terms to reach its largest one counts as 0. For nc above 1.7e10 that is
 * every sum, and the tails jump between 0 and 1 at x = df + nc; it happens to tails of 1e-200 from an nc of 1e9 on,
 * to tails of 1e-23 from 1e10 on, three standard deviations from the mean from 1.5e10 on.
 * Source: tail over density by series and continued fraction (Abramowitz & Stegun 6.5.29, 6.5.31), for shapes above
 * 10000 an expansion about the normal tail of AS 66; the mixture after Benton & Krishnamoorthy (2003), each tail
 * summed on its own side of the mean.
 * Threads: any number at once. */
ZOLV_API double zolv_ChiSqCdf(double x, double df, double nc, unsigned char upper);

/* The chi-square quantile, central (nc = 0) or noncentral.
 *
 * p      in  probability in [0, 1]
 * df     in  degrees of freedom, finite and > 0
 * nc     in  noncentrality, finite; meant to be >= 0
 * upper  in  0: x with P(X <= x) = p; any other value: x with P(X > x) = p
 *
 * Returns x; 0 and plus infinity for p = 0 and 1 in the lower tail, the reverse in the upper, whatever df and nc
 * are; the sign-set NaN for a p that is NaN or outside [0, 1] and, for 0 < p < 1, for a negative nc; the missing
 * value for a bad df or nc, whatever p is.
 * nc = 0: Newton's method, at most 50 steps to a relative step of 5e-13; from df = 20000 on the Cornish-Fisher
 * expansion to the third order alone. Oddity: nothing reports or mends a search that did not converge. Its result
 * may be negative or wrong by orders of magnitude: in the lower tail for p below 1e-17 (worst around df = 21), in
 * the upper tail for p below 1e-20 and, with df between 2 and 12, for p close to 1 (above 1 - 2e-5 at df = 2.5,
 * 1 - 1e-6 at df = 4): ask for the lower tail with 1 - p there. For df up to 2 a lower quantile of 2e-100 or less
 * is 0.
 * nc other than 0: bisection, to a relative width of 1e-11 or, from a wide bracket, 1e-10, in the tails as
 * zolv_ChiSqCdf has them, jumps included. Oddity: its sign test underflows for p below 1e-155, and the result may
 * then be off by orders of magnitude. The sign-set NaN where the search cannot move: for nc above 2^54 or so, and
 * where a standard deviation is below the spacing of the doubles at the mean (df of 1e32).
 * There is no array form.
 * Source: starts by Wilson & Hilferty (1931), Fisher's square root, or a scaled central quantile.
 * Threads: any number at once. */
ZOLV_API double zolv_ChiSqInvCdf(double p, double df, double nc, unsigned char upper);

/* zolv_ChiSqPdf of every element.
 *
 * x    in   [n] variates
 * n    in   count; 0 writes nothing
 * df   in   degrees of freedom, finite and > 0
 * nc   in   noncentrality, finite; meant to be >= 0
 * out  out  [n], the caller's; may be x itself
 *
 * out[i] has the bits of the scalar function at x[i], whatever the number of threads. A bad df or nc fills out
 * with the missing value. Runs on an OpenMP team. */
ZOLV_API void zolv_ParallelChiSqPdf(const double* x, uint64_t n, double df, double nc, double* out);

/* zolv_ChiSqCdf of every element.
 *
 * x      in   [n] variates
 * n      in   count; 0 writes nothing
 * df     in   degrees of freedom, finite and > 0
 * nc     in   noncentrality, finite; meant to be >= 0
 * upper  in   0: lower tail; any other value: upper tail
 * out    out  [n], the caller's; may be x itself
 *
 * out[i] has the bits of the scalar function at x[i], whatever the number of threads. A bad df or nc fills out
 * with the missing value. What depends on df and nc alone, which is most of a tail for a large nc, is worked out
 * once. Runs on an OpenMP team. */
ZOLV_API void zolv_ParallelChiSqCdf(const double* x, uint64_t n, double df, double nc, unsigned char upper,
                                    double* out);

/* [/section: chi-square] */

/* ---- beta distribution ------------------------------------------------------------------------------- */
/* [section: beta] */

/* The beta density x^(a - 1) (1 - x)^(b - 1) / B(a, b).
 *
 * x  in  variate, any double
 * a  in  first shape, finite and > 0
 * b  in  second shape, finite and > 0
 *
 * Returns the density; 0 outside [0, 1] and for an infinite x; at x = 0 plus infinity for a < 1, b for a = 1,
 * 0 for a > 1; at x = 1 plus infinity for b < 1, a for b = 1, 0 for b > 1; the sign-set NaN for a NaN x; the
 * missing value for a bad shape, whatever x is.
 * Shapes at the ends of the range of a double (5e-324, 1e308) can make the arithmetic meet inf - inf; the
 * sign-set NaN is then the answer of this function and of the quantile.
 * Source: a saddle-point form (Loader 2000), accurate near the mode for large shapes too; the tails of the
 * density lose relative accuracy in proportion to its logarithm.
 * Threads: any number at once. */
ZOLV_API double zolv_BetaPdf(double x, double a, double b);

/* The beta distribution function I_x(a, b) or its complement.
 *
 * x      in  variate, any double
 * a      in  first shape, finite and > 0
 * b      in  second shape, finite and > 0
 * upper  in  0: P(X <= x); any other value: P(X > x)
 *
 * Returns a probability; 0 or 1 for an x at or beyond the ends of [0, 1], infinite x included; the sign-set
 * NaN for a NaN x; the missing value for a bad shape, whatever x is. A tail whose density at x is below the
 * smallest normal double is exactly 0, its complement 1. From 0.5 on the point is mirrored: for tails at an x
 * close to 1, pass 1 - x with the shapes exchanged and the other tail if 1 - x is known to more digits.
 * Oddity: a tail is the density times a ratio and is not clamped: next to 1 it may exceed 1 by rounding. With a shape
 * below 1e-307, and at a subnormal x or 1 - x with shapes that add up to 1e15 or more, the density overflows: the tails
 * are then plus and minus infinity. With shapes above 1e13 a unit in the last place of the density's logarithm is no
 * longer small, and the tails may leave [0, 1].
 * Source: ratio of tail to density by backward recurrence and continued fraction (Abramowitz & Stegun 26.5);
 * for a b / (a + b) >= 10000 an expansion about the normal tail, about 8 significant digits.
 * Threads: any number at once. */
ZOLV_API double zolv_BetaCdf(double x, double a, double b, unsigned char upper);

/* The beta quantile.
 *
 * p      in  probability in [0, 1]
 * a      in  first shape, finite and > 0
 * b      in  second shape, finite and > 0
 * upper  in  0: x with P(X <= x) = p; any other value: x with P(X > x) = p
 *
 * Returns x in [0, 1]; 0 and 1 for p = 0 and 1 in the lower tail, the reverse in the upper; the sign-set NaN
 * for a p that is NaN or outside [0, 1]; the missing value for a bad shape, whatever p is.
 * A p of 0.5 and above is turned into 1 - p: for probabilities close to 1 ask for the other tail with the
 * small probability itself. Its answer is formed as one minus a quantile of the mirrored variate: a small x is
 * then good to 1e-16 in absolute terms only, and with b = 1e24 it is 0. Ask for the other tail with 1 - p
 * there. A quantile below the smallest normal double is 0, and so is, with a < 1 and b >= 1e9, one below
 * 1e-100 / b.
 * Source: Newton's method from a start by expansion, at most 35 steps to a relative step of 5e-13, then
 * bisection; for a b / (a + b) >= 10000 the Cornish-Fisher expansion alone, whose error is of the order of its
 * first omitted term, (a b / (a + b))^-2, and grows with p away from 0.5.
 * Oddity: nothing reports a search that did not converge. With p below 1e-155 the bisection's sign test
 * underflows, and the result may be far off or lie outside [0, 1].
 * Threads: any number at once. */
ZOLV_API double zolv_BetaInvCdf(double p, double a, double b, unsigned char upper);

/* zolv_BetaPdf of every element.
 *
 * x    in   [n] variates
 * n    in   count; 0 writes nothing
 * a    in   first shape, finite and > 0
 * b    in   second shape, finite and > 0
 * out  out  [n], the caller's; may be x itself
 *
 * out[i] has the bits of the scalar function at x[i], whatever the number of threads. A bad shape fills out
 * with the missing value. Runs on an OpenMP team. */
ZOLV_API void zolv_ParallelBetaPdf(const double* x, uint64_t n, double a, double b, double* out);

/* zolv_BetaCdf of every element.
 *
 * x      in   [n] variates
 * n      in   count; 0 writes nothing
 * a      in   first shape, finite and > 0
 * b      in   second shape, finite and > 0
 * upper  in   0: P(X <= x); any other value: P(X > x)
 * out    out  [n], the caller's; may be x itself
 *
 * out[i] has the bits of the scalar function at x[i], whatever the number of threads. A bad shape fills out
 * with the missing value. Runs on an OpenMP team. */
ZOLV_API void zolv_ParallelBetaCdf(const double* x, uint64_t n, double a, double b, unsigned char upper,
                                   double* out);

/* zolv_BetaInvCdf of every element.
 *
 * p      in   [n] probabilities
 * n      in   count; 0 writes nothing
 * a      in   first shape, finite and > 0
 * b      in   second shape, finite and > 0
 * upper  in   0: x with P(X <= x) = p; any other value: x with P(X > x) = p
 * out    out  [n], the caller's; may be p itself
 *
 * out[i] has the bits of the scalar function at p[i], whatever the number of threads. A bad shape fills out
 * with the missing value. Runs on an OpenMP team. */
ZOLV_API void zolv_ParallelBetaInvCdf(const double* p, uint64_t n, double a, double b, unsigned char upper,
                                      double* out);

/* [/section: beta] */

/* ---- F distribution ---------------------------------------------------------------------------------- */
/* [section: f] */

/* The density of the F distribution, central or noncentral.
 *
 * x   in  variate, any double
 * d1  in  numerator degrees of freedom, > 0 and finite; need not be whole
 * d2  in  denominator degrees of freedom, > 0 and finite; need not be whole
 * nc  in  noncentrality, 0 for the central F. It is itself the Poisson mean of the mixture, half of the usual lambda
 *         (the chi-square family halves its nc first, this one does not). It is not tested
 *
 * Returns the density; 0 for a negative or infinite x; at x = 0 plus infinity for d1 < 2, exp(-nc) for d1 = 2 and 0
 * for d1 > 2; the sign-set NaN for a NaN x; the missing value for a bad d1 or d2, whatever x is.
 * Bad nc: with y = x d1 / (d2 + x d1), a NaN or infinite nc gives the sign-set NaN for 0 < y < 1, and so does a
 * negative one for 0 < y < 0.5; from y = 0.5 on a negative nc is dropped and the central density returned.
 * Source: the F variate is turned into a beta variate y and the work done on whichever of y and 1 - y is below one
 * half; the noncentral density is a Poisson mixture summed outward from its largest term.
 * Relative error below 4e-13 for the central density and for y up to 0.5. From there on the noncentral density forms
 * 1 - y by subtraction: about 1e-16 (1 + |d2 / 2 - 1| x d1 / d2). Where y rounds to 1, from x d1 / d2 = 2^53 or so on,
 * it is plus infinity for d2 < 2 and 0 for d2 > 2.
 * The mixture has some 16 sqrt(k) terms for a largest term at index k: microseconds for an nc of 1000, seconds next to
 * 2^53.
 * Oddity: with nc other than 0 a density whose largest term is below the smallest normal double is 0, and so is one
 * that the arithmetic leaves undefined: zolv_FPdf(5e-324, 2, 2, 0). A peak above index 2^53 that does not underflow
 * gives the sign-set NaN.
 * Threads: any number at once. */
ZOLV_API double zolv_FPdf(double x, double d1, double d2, double nc);

/* The distribution function of F, central or noncentral, or its complement.
 *
 * x      in  variate, any double
 * d1     in  numerator degrees of freedom, > 0 and finite
 * d2     in  denominator degrees of freedom, > 0 and finite
 * nc     in  noncentrality as in zolv_FPdf; not tested
 * upper  in  0: P(X <= x); any other value: P(X > x)
 *
 * Returns a probability; 0 (lower) or 1 (upper) for x <= 0, minus infinity included, and 1 or 0 for plus infinity,
 * whatever nc is; the sign-set NaN for a NaN x; the missing value for a bad d1 or d2, whatever x is. An nc that is
 * negative, infinite or NaN, or so large that 1 no longer moves a mixture index (above about 2^53), gives the
 * sign-set NaN for every x > 0, save where y as in zolv_FPdf underflows to 0 or rounds to 1: there the tails are 0 and 1.
 * Source: central: the incomplete beta function. Noncentral: the mixture of incomplete betas summed outward from its
 * largest term, each tail directly where it is the smaller one by the mean (Benton & Krishnamoorthy 2003).
 * Accuracy, relative, of the smaller tail: 5e-13 for nc up to 1e4, 2e-12 for 1e6, 4e-11 for 5e9; 1e-8 where the shapes
 * call for an expansion about the normal tail (see zolv_BetaCdf; nc counts towards d1 / 2 there); 4e-12 for d2 down to
 * 0.02. The larger tail is one minus it. A noncentral tail below about 1e-300 is 0.
 * Oddity: a sum of more than 750000 terms to or from its largest term counts as 0, and the other tail as 1. For nc above
 * 1e10 that is every sum, and the tails jump between 0 and 1 at x = 1 + 2 nc / d1. A sum ends early once it is above
 * 0.9, where the other tail is then summed and its complement taken. A tail is not clamped; with d1 + d2 below 4e-16 and
 * an nc of some units a lower tail may be plus, and the upper minus infinity.
 * Threads: any number at once. */
ZOLV_API double zolv_FCdf(double x, double d1, double d2, double nc, unsigned char upper);

/* The quantile of F, central or noncentral.
 *
 * p      in  probability in [0, 1]
 * d1     in  numerator degrees of freedom, > 0 and finite
 * d2     in  denominator degrees of freedom, > 0 and finite
 * nc     in  noncentrality as in zolv_FPdf; not tested
 * upper  in  0: x with P(X <= x) = p; any other value: x with P(X > x) = p
 *
 * Returns x >= 0; 0 and plus infinity for p = 0 and 1 in the lower tail, the reverse in the upper, whatever nc is; the
 * sign-set NaN for a p that is NaN or outside [0, 1], and for an nc that is negative, infinite or NaN; the missing
 * value for a bad d1 or d2, whatever p is.
 * Source: (d2 / d1) y / (1 - y) with y the quantile of the beta variate: central as in zolv_BetaInvCdf, noncentral by
 * at most 251 bisections of (0, 1) to a relative step of 1e-12, a little more after each 25 of them.
 * Oddity: 1 - y is formed by subtraction: a relative error in y counts 1 + x d1 / d2 times in x, so that a noncentral
 * quantile has no digits left, or is plus infinity, where x d1 / d2 is above 1e12. The noncentral bisection is not
 * mirrored, and with p below 1e-155 its sign test underflows; nothing reports it.
 * Threads: any number at once. */
ZOLV_API double zolv_FInvCdf(double p, double d1, double d2, double nc, unsigned char upper);

/* zolv_FPdf of every element.
 *
 * x      in   [n] variates
 * n      in   count; 0 writes nothing
 * d1     in   numerator degrees of freedom, > 0 and finite
 * d2     in   denominator degrees of freedom, > 0 and finite
 * nc     in   noncentrality, the Poisson mean of the mixture; not tested
 * out    out  [n], the caller's; may be x itself
 *
 * out[i] has the bits of the scalar function at x[i], whatever the number of threads. A bad d1 or d2 fills out
 * with the missing value. Runs on an OpenMP team; what depends on the parameters alone is settled once before it. */
ZOLV_API void zolv_ParallelFPdf(const double* x, uint64_t n, double d1, double d2, double nc, double* out);

/* zolv_FCdf of every element.
 *
 * x      in   [n] variates
 * n      in   count; 0 writes nothing
 * d1     in   numerator degrees of freedom, > 0 and finite
 * d2     in   denominator degrees of freedom, > 0 and finite
 * nc     in   noncentrality, the Poisson mean of the mixture; not tested
 * upper  in   0: lower tail; any other value: upper tail
 * out    out  [n], the caller's; may be x itself
 *
 * out[i] has the bits of the scalar function at x[i], whatever the number of threads. A bad d1 or d2 fills out
 * with the missing value. Runs on an OpenMP team; what depends on the parameters alone is settled once before it. */
ZOLV_API void zolv_ParallelFCdf(const double* x, uint64_t n, double d1, double d2, double nc, unsigned char upper,
                                double* out);

/* zolv_FInvCdf of every element.
 *
 * p      in   [n] probabilities
 * n      in   count; 0 writes nothing
 * d1     in   numerator degrees of freedom, > 0 and finite
 * d2     in   denominator degrees of freedom, > 0 and finite
 * nc     in   noncentrality, the Poisson mean of the mixture; not tested
 * upper  in   0: lower tail; any other value: upper tail
 * out    out  [n], the caller's; may be p itself
 *
 * out[i] has the bits of the scalar function at p[i], whatever the number of threads. A bad d1 or d2 fills out
 * with the missing value. Runs on an OpenMP team; what depends on the parameters alone is settled once before it. */
ZOLV_API void zolv_ParallelFInvCdf(const double* p, uint64_t n, double d1, double d2, double nc,
                                   unsigned char upper, double* out);

/* [/section: f] */

/* ---- binomial distribution --------------------------------------------------------------------------- */
/* [section: binomial] */

/* The probability of exactly x successes.
 *
 * x     in  count of successes, any double
 * n     in  trials, 0..4294967295
 * prob  in  success probability, 0..1
 *
 * Returns P(X = x); 0 for an x that is not whole, below 0, above n or infinite; the sign-set NaN for a NaN x;
 * the missing value for a prob that is NaN or outside [0, 1], whatever x is. With n = 0, X is 0.
 * Oddity: a prob of -0.0 gives a NaN for 0 < x < n, where one of 0.0 gives 0.
 * Source: Loader, Fast and accurate computation of binomial probabilities (2000).
 * Threads: any number at once. */
ZOLV_API double zolv_BinomialPdf(double x, uint32_t n, double prob);

/* The binomial distribution function or its complement.
 *
 * x     in  count of successes, any double
 * n     in  trials, 0..4294967295
 * prob  in  success probability, 0..1
 * upper in  0: P(X <= x); any other value: P(X > x), which excludes x
 *
 * Returns a probability; 0 or 1 for an x below 0, from n on, or infinite; the sign-set NaN for a NaN x; the
 * missing value for a prob that is NaN or outside [0, 1], whatever x is.
 * For an x that is not whole the lower tail is that of floor(x). Oddity: the upper tail is not its complement
 * there but P(X > floor(x) + 1): zolv_BinomialCdf(2.5, 10, prob, 1) is P(X >= 4), and x = -0.5 gives P(X >= 1).
 * Round x down first to have the two add up to 1.
 * Accuracy, relative, of the smaller tail: where n prob (1 - prob) is below 10000 the tails are summed, to 1e-11.
 * From 10000 on they are an expansion of third order over AS 66: 2e-9 within 16 standard deviations of the mean,
 * 2e-7 up to 25, where the tail is cut to exactly 0. (Below 10000 it is cut where the rarer of successes and
 * failures numbers 22500.) The upper tail forms 1 - prob, and for a small prob takes it back from there:
 * it is off by a further 6e-17 |x - n prob| / prob.
 * Oddity: where n prob (1 - prob) comes to 10000 exactly (n = 40000, prob = 0.5) nothing cuts the tail, and more
 * than 38.6 standard deviations below the mean, or above it in the upper tail, the result is a NaN.
 * Source: tail over mass as in Loader's form; lattice Edgeworth series; Hill, algorithm AS 66 (1973).
 * Threads: any number at once. */
ZOLV_API double zolv_BinomialCdf(double x, uint32_t n, double prob, unsigned char upper);

/* The binomial quantile, a whole number in a double.
 *
 * p     in  probability in [0, 1]
 * n     in  trials, 0..4294967295
 * prob  in  success probability, 0..1
 * upper in  0: the smallest x with P(X <= x) >= p; any other value: the smallest x with P(X > x) <= p
 *
 * Returns that x; for p = 0, 0 in the lower tail and n in the upper, for p = 1 the reverse, whatever prob is;
 * otherwise 0 for n = 0 or prob = 0 and n for prob = 1. The sign-set NaN for a p that is NaN or outside
 * [0, 1]; the missing value for a prob that is NaN or outside [0, 1], whatever p is.
 * The search walks by unit steps from a Cornish-Fisher estimate over the tails as zolv_BinomialCdf has them,
 * rounding and cuts included. So for a p within an ulp or two of 1 the answer may be off by one, n + 1 included;
 * where several x share the value p exactly it is any of them; a p below the cut (3e-138 for a variance above
 * 10000) gets the x next to it. A walk of a million steps would give the sign-set NaN, but none is that
 * long; only where n prob (1 - prob) comes to 10000 exactly can a p below 1e-300 give it.
 * Source: Cornish & Fisher (1937) for the start, algorithm AS 111 (1977) for its normal quantile.
 * Threads: any number at once. */
ZOLV_API double zolv_BinomialInvCdf(double p, uint32_t n, double prob, unsigned char upper);

/* zolv_BinomialPdf of every element.
 *
 * x     in   [count] counts of successes
 * count in   elements; 0 writes nothing
 * n     in   trials, 0..4294967295
 * prob  in   success probability, 0..1
 * out   out  [count], the caller's; may be x itself
 *
 * out[i] has the bits of the scalar function at x[i], whatever the number of threads. A bad prob fills out
 * with the missing value. Runs on an OpenMP team. */
ZOLV_API void zolv_ParallelBinomialPdf(const double* x, uint64_t count, uint32_t n, double prob, double* out);

/* zolv_BinomialCdf of every element.
 *
 * x     in   [count] counts of successes
 * count in   elements; 0 writes nothing
 * n     in   trials; for the upper tail 0..2147483648, see below
 * prob  in   success probability, 0..1
 * upper in   0: lower tail; any other value: upper tail
 * out   out  [count], the caller's; may be x itself
 *
 * out[i] has the bits of the scalar function at x[i] for the lower tail, and for the upper one at every whole
 * x[i], whatever the number of threads. A bad prob fills out with the missing value. Runs on an OpenMP team.
 * Oddity: the upper tail takes n - 1 as a signed 32-bit integer, once. For n above 2147483648 it is negative,
 * and every x[i] from 0 on gets 0: call the scalar function there. One rounding apart, the two forms may also
 * differ at an x[i] that is within an ulp or so of a whole number without being one. */
ZOLV_API void zolv_ParallelBinomialCdf(const double* x, uint64_t count, uint32_t n, double prob,
                                       unsigned char upper, double* out);

/* zolv_BinomialInvCdf of every element.
 *
 * p     in   [count] probabilities
 * count in   elements; 0 writes nothing
 * n     in   trials, 0..4294967295
 * prob  in   success probability, 0..1
 * upper in   0: lower tail; any other value: upper tail
 * out   out  [count], the caller's; may be p itself
 *
 * out[i] has the bits of the scalar function at p[i], whatever the number of threads; a p[i] that is NaN or
 * outside [0, 1] affects its own element only. A bad prob fills out with the missing value. Runs on an OpenMP
 * team. */
ZOLV_API void zolv_ParallelBinomialInvCdf(const double* p, uint64_t count, uint32_t n, double prob,
                                          unsigned char upper, double* out);

/* [/section: binomial] */

/* ---- ARIMA models: fits, forecasts, reports ---------------------------------------------------------- */
/* [section: arima] */

/* What holds for all calls of this section.
 *
 * Models: (1 - sum phi_i B^i)(1 - sum Phi_i B^iS) (1 - B)^d (1 - B^S)^D x_t = constant
 *   + (1 - sum theta_i B^i)(1 - sum Theta_i B^iS) a_t. Mind the minus signs on the MA side: other programs write
 *   1 + theta B.
 * Two classes: (0, 1, 0) without seasonal orders is a Gaussian random walk, fitted in closed form; everything
 *   else is fitted by conditional least squares with backcasting and a Marquardt search (Box & Jenkins 1976,
 *   chapter 7). The period is taken as 0 when P = D = Q = 0.
 * Orders of parameters: record order is AR, MA, seasonal AR, seasonal MA; fit order is AR, seasonal AR, MA,
 *   seasonal MA, constant. Only zolv_QorArima and zolv_ArimaLogLikelihood use the record order.
 *   Oddity: kept as it is, because both have their callers.
 * Codes: below 30000 a result exists: 10000 converged; 10005 no improving step was found; 20000 25 iterations
 *   were used; 0 a random walk, or a sum of squares below 1e-30. From 30000 upward there is none.
 * Bad input: a null handle answers 0 or the missing value and nothing is written; a negative count is 0; no
 *   getter writes more than there is, and none writes to a null array.
 * Memory: the handle is the library's and ends with zolv_DeleteArimaModelPtr; it keeps the pointer to the series,
 *   which the caller keeps alive and unchanged as long as the handle. All arrays are the caller's. A failed
 *   allocation other than that of the handle is thrown as the standard exception; nothing is leaked, and a
 *   handle can go on being used.
 * Threads: different handles at once, and the fit calls at once; one handle from one thread at a time, because
 *   forecasts rewrite its buffers. */

/* Fits a model and keeps it.
 *
 * series  in      [n], observations in order of time; kept by the handle, not copied
 * n       in      observations
 * model   in      orders (each of p, q, P, Q 0..5; d, D and the period 0 or more). Constant: null for a model
 *                 without a constant. Parameters: null for start values of 0.1, else [p + q + P + Q] start values
 *                 in fit order, taken as they stand, NaN included; then *Constant is the constant's start value.
 *                 Not written
 * code    out     result code; may be null
 *
 * Returns a handle if the code is below 30000, else null: 30001 no memory for the model object; 30018 more than 10
 * parameters, the constant counted; 30023 a term lag above 100; 30025 n <= d + D S + 3, or no more differenced
 * values than parameters, or a random walk with n < 2 (n < 3 with drift); 30026 p + q + P + Q = 0 and no random
 * walk; 30027 n <= p + d + (P + D) S + 1; 30028 a start constant is given and the AR start values sum to exactly 1;
 * 30029 an order out of range, or a null model; 30030 the residual recursion overflowed, which NaN and infinite
 * observations may cause; 30031 no covariance matrix at the end. A null series, and an n above 2147483547, count
 * as n = 0. The object of a failed fit is released here.
 * Start values below 0.005 in magnitude become 0.1. */
ZOLV_API zolv_ArimaHandle zolv_MakeArimaModelPtr(const double* series, uint32_t n, zolv_ArimaModel* model,
                                                 uint32_t* code);

/* Releases *handle and sets it to null. A null pointer and a null handle are left alone. */
ZOLV_API void zolv_DeleteArimaModelPtr(zolv_ArimaHandle* handle);

/* Fits a model and writes the estimates back into the record; nothing is kept.
 *
 * series  in      [n]
 * n       in      observations
 * model   in/out  orders as above. Parameters in: [p + q + P + Q] start values in record order, of which a NaN or an
 *                 infinity is replaced by 0.1. Out: [p + q + P + Q + 1] estimates in record order, then sigma
 *                 squared. Constant in: start value, none if NaN or infinite; out: the estimate. A random walk
 *                 reads no start values and writes sigma squared to Parameters[0] and the drift to *Constant
 *
 * Returns the codes of zolv_MakeArimaModelPtr but for 30001; a null record or null Parameters answer 30029. From
 * 30000 upward nothing is written. */
ZOLV_API int zolv_QorArima(const double* series, uint32_t n, zolv_ArimaModel* model);

/* Copies the first `count` estimates in fit order, the constant last; a random walk has its drift or nothing.
 *
 * handle  in      from zolv_MakeArimaModelPtr
 * count   in      values wanted
 * out     out     [count] */
ZOLV_API void zolv_GetEstimatedParameter(zolv_ArimaHandle handle, int count, double* out);

/* Residual variance: sum of squares over (differenced values - parameters); of a random walk the mean square, with
 * drift times (n - 1) / (n - 2). The missing value for a null handle. */
ZOLV_API double zolv_GetSigmaSquared(zolv_ArimaHandle handle);

/* Forecasts from a fitted model, in the units of the series.
 *
 * handle  in      from zolv_MakeArimaModelPtr; the series it was given must still be alive
 * origin  in      observations used, 1..n; the last one is series[origin - 1]
 * count   in      leads ahead, 0..150; beyond that the MA and psi coefficients count as 0 and the forecast goes on;
 *                 0 writes nothing
 * out     out     [count]; lead i + 1 at index i
 *
 * Returns 0; 30027 if origin <= p + d + (P + D) S + 1 or origin > n; 30032 if the generalised AR polynomial would
 * exceed 151 terms. On failure nothing is written. A random walk always returns 0; an origin outside 1..n gets the
 * missing value at every lead.
 * Oddity: the same refused request made twice in a row returns 0 the second time, and writes missing values.
 * Source: Box & Jenkins (1976), 5.1: future shocks are 0, past ones the fitted residuals, backcasts included. */
ZOLV_API int zolv_GetForecast(zolv_ArimaHandle handle, int origin, int count, double* out);

/* Standard errors of the forecasts, by the psi weights; those of a random walk are sqrt(lead) sigma.
 * Arguments, codes and what is written as for zolv_GetForecast. */
ZOLV_API int zolv_GetForecastStandardError(zolv_ArimaHandle handle, int origin, int count, double* out);

/* Forecasts with symmetric limits from a fitted model.
 *
 * handle      in      from zolv_MakeArimaModelPtr; the series it was given must still be alive
 * confidence  in      two-sided level as a fraction: 0.95, not 95; a NaN makes the limits missing values
 * origin      in      observations used; the last one is series[origin - 1]
 * count       in      leads ahead, 0..150; 0 writes nothing
 * lower       out     [count], the caller's; lead i + 1 at index i, in the units of the series; may be null
 * upper       out     [count], likewise
 *
 * Codes and what is written as for zolv_GetForecast.
 * Source: the quantile is Abramowitz & Stegun 26.2.23 (error below 4.5e-4), not zolv_NormalInvCdf.
 * Oddity: confidence = 1 puts the limits 1e35 standard errors away, -1 as far with lower above upper; they are not
 *   infinite. */
ZOLV_API int zolv_GetForecastLimit(zolv_ArimaHandle handle, double confidence, int origin, int count, double* lower,
                                   double* upper);

/* Number of residuals: n - d - D S, of a random walk n - 1. */
ZOLV_API int zolv_GetMaxResidualCount(zolv_ArimaHandle handle);

/* Copies the first `count` residuals, in order of time.
 *
 * handle  in      from zolv_MakeArimaModelPtr
 * count   in      values wanted, at most zolv_GetMaxResidualCount
 * out     out     [count]; index i belongs to series[n - zolv_GetMaxResidualCount + i] */
ZOLV_API void zolv_GetResidual(zolv_ArimaHandle handle, int count, double* out);

/* Copies the first `count` fitted values, observation less residual. Arguments as for zolv_GetResidual. */
ZOLV_API void zolv_GetFit(zolv_ArimaHandle handle, int count, double* out);

/* Estimates with standard errors, t and two-sided p values, in fit order. Nothing for a random walk.
 *
 * handle  in      from zolv_MakeArimaModelPtr
 * table   in      four arrays of the caller's, each [p + q + P + Q], one more with a constant, and one more again
 *                 with a constant where d + D = 0; a null one is left out
 *
 * Row i is coefficient i. With a constant the next row is the constant's; t and p there are those of the process
 * mean, and its standard error is the mean's times constant / mean. Where d + D = 0 a row with the mean and its
 * standard error follows, whose t and p are not written.
 * A p value is the tail of Student's t with (differenced values - parameters) degrees of freedom.
 * Oddity: the constant's standard error is negative where constant and mean differ in sign. */
ZOLV_API void zolv_GetParameterTable(zolv_ArimaHandle handle, zolv_ParameterTable* table);

/* Correlations of the k estimates, constant included: the strict lower triangle, row by row in fit order. Nothing
 * for a random walk and for k < 2.
 *
 * handle  in      from zolv_MakeArimaModelPtr
 * out     out     [k (k - 1) / 2] */
ZOLV_API void zolv_GetParameterCorrelationMatrix(zolv_ArimaHandle handle, double* out);

/* Degrees of freedom, sums of squares and information criteria; see ArimaSummary.
 *
 * handle  in      from zolv_MakeArimaModelPtr
 * out     out     one record
 *
 * The criteria come from zolv_ArimaLogLikelihood at the estimates, count sigma squared as a parameter, and are
 * missing values where it is. Memory and time are those of that call: n^2 doubles, n^3 steps. With x observations
 * and m parameters, x <= 1 + m gives an AICc that is infinite or too small.
 * Oddity: the sum of squares of a random walk is sigma squared times the degrees of freedom n - 1 - m, where m counts
 *   sigma squared; it is not the sum of its squared residuals. */
ZOLV_API void zolv_GetModelSummary(zolv_ArimaHandle handle, ArimaSummary* out);

/* Ljung-Box tests of the residuals at lags 12, 24, 36 and 48.
 *
 * handle  in      from zolv_MakeArimaModelPtr
 * rows    out     four arrays of three doubles: statistic, degrees of freedom (lag - parameters), p value; a null
 *                 one is left out
 *
 * A row whose lag is not below the number of residuals stays as it was. Residuals that do not vary give a missing
 * statistic and a p value with the sign-set NaN.
 * Source: Ljung & Box (1978); the p value is the upper tail of chi-square. */
ZOLV_API void zolv_QorLjungBoxTest(zolv_ArimaHandle handle, double** rows);

/* 100 less the first index that the residual recursion uses: how many backcasts there are. 0 for a random walk. */
ZOLV_API int zolv_GetMaxBackcastCount(zolv_ArimaHandle handle);

/* Copies the backcasts of the differenced series before its start.
 *
 * handle  in      from zolv_MakeArimaModelPtr
 * count   in      values wanted, at most 100; before the earliest backcast stands 0, or the estimated mean
 * out     out     [count]: the `count` nearest the start, oldest first, the mean added back if the model has a
 *                 constant
 *
 * Returns 1 if the oldest of them, before that addition, is below 0.001 in magnitude, else 0. Random walk: 0, nothing
 * written. */
ZOLV_API int zolv_GetTimeSeriesBackcast(zolv_ArimaHandle handle, int count, double* out);

/* Copies the `count` residuals just before the start of the series, oldest first, at most 100. Nothing for a random
 * walk.
 *
 * handle  in      from zolv_MakeArimaModelPtr
 * count   in      values wanted
 * out     out     [count] */
ZOLV_API void zolv_GetGaussianNoiseBackcast(zolv_ArimaHandle handle, int count, double* out);

/* Number of rows of the search's history: the start, then one per accepted step, at most 26.
 *
 * handle     in      from zolv_MakeArimaModelPtr
 * rowLength  out     doubles per row, one more than there are parameters; may be null
 *
 * Both are 0 for a random walk and a null handle. */
ZOLV_API uint32_t zolv_GetIterationHistoryCount(zolv_ArimaHandle handle, uint32_t* rowLength);

/* Copies the search's history.
 *
 * handle  in      from zolv_MakeArimaModelPtr
 * rows    out     [zolv_GetIterationHistoryCount] arrays of rowLength doubles; a null one is left out. A row is the
 *                 sum of squares with backcasts, then the parameters in fit order; in place of the last stands the
 *                 constant if the model has one */
ZOLV_API void zolv_GetIterationHistory(zolv_ArimaHandle handle, double** rows);

/* [/section: arima] */

/* ---- exact likelihood -------------------------------------------------------------------------------- */
/* [section: likelihood] */

/* Exact Gaussian log likelihood of a seasonal ARIMA model with known parameters.
 *
 * series  in      [count], not changed
 * count   in      observations before differencing
 * model   in      the orders, each of p, q, P, Q 0..5, d and D 0 or more, the period 0 or more (0: the
 *                 seasonal coefficients are ignored); Parameters in record order: p AR, q MA, P seasonal AR,
 *                 Q seasonal MA values, then the innovation variance; what stands behind it is not read.
 *                 Constant is a flag only: non-null takes the mean of the differenced series off. Both
 *                 polynomials are 1 - c1 B - c2 B^2 ...
 *
 * Returns the log likelihood; the missing value when nothing is left after differencing, when the AR
 * polynomial has a unit root, for a null pointer, a count below 1, an order out of range or a seasonal side
 * longer than 2^20 lags, and whenever the arithmetic ends in a NaN. Stationarity, invertibility and the sign of
 * the variance are not tested; the determinant is one running product, so that a long series under a model
 * that is not invertible may answer -infinity.
 * Source: innovations form of the exact likelihood, Ansley (1979), Brockwell & Davis (1991) 5.3.
 * Oddity: where a model has regular and seasonal coefficients on the same side, the coefficient at lag i S + j
 *   is + c_j C_i, where the multiplied-out product would have - c_j C_i.
 * Memory: about n^2 doubles for n differenced values, released on return; time grows with n^3. Throws the
 *   standard allocation failure.
 * Threads: any number of calls at once. */
ZOLV_API double zolv_ArimaLogLikelihood(const double* series, int count, const zolv_ArimaModel* model);

/* [/section: likelihood] */

/* ---- order search ------------------------------------------------------------------------------------ */
/* [section: search] */

/* The default settings: d = D = 0, p and q from 0 to 5, no seasonal terms, with a constant, ranked by AICc. */
ZOLV_API zolv_BestArimaAutoFindSetting zolv_CreateBestArimaAutoFindSetting(void);

/* Fits every admissible combination of ARMA orders and ranks the results.
 *
 * series   in  [count], the caller's; not kept
 * count    in  its length; a negative count counts as 0
 * setting  in  the grid, the differences, the constant and the ranking key
 *
 * Candidates are all (p, q), or all (p, q, P, Q) when seasonalPeriod >= 2, within the inclusive bounds whose
 * orders sum to less than 10 with a constant, 11 without; d + D > 1 switches the constant off. Order of
 * enumeration: Q outermost, then P, then q, and p fastest. Nothing is pruned: each candidate is fitted by
 * zolv_QorArima and scored by zolv_ArimaLogLikelihood's deviance. With N differenced values and k parameters
 * (sigma squared and a constant counted): AIC = 2k + dev, AICc = 2kN / (N - (1 + k)) + dev, BIC = k ln N + dev.
 * A candidate whose fit with a constant breaks is fitted once more without it and carries p + 10000; one whose
 * fit breaks again, or whose orders are outside 0..5, keeps NaN scores. None is removed. Without differences
 * (0, 0) has nothing to fit and always breaks; with d = 1, D = 0 it is the random walk.
 *
 * Returns the group: models in order of enumeration, order[0] the index of the best. Finite scores precede all
 * others; equal scores keep their order up to 32 candidates, beyond that their order is fixed but not that of
 * enumeration. A criterion outside 0..2: order is null. Inverted bounds: count 0. No memory for models, or
 * more than 2^31 - 1 candidates: an empty group (null, null, 0); none for order: order is null. A null argument:
 * an empty group. Oddity: with N <= 1 + k the AICc is infinite or its penalty negative, which then ranks first.
 * Memory: release the group, once, with zolv_CleanUpAfterAutoFindBestArma.
 * Threads: one OpenMP team over the candidates; the result does not depend on its size. Reentrant.
 * Source: Hurvich & Tsai (1989) for AICc; the tie order is that of a three-way introsort (Musser 1997). */
ZOLV_API zolv_BestArmaGroup zolv_AutoFindBestArma(const double* series, int count,
                                                  const zolv_BestArimaAutoFindSetting* setting);

/* Releases the two arrays of a group, once; null arrays are allowed. */
ZOLV_API void zolv_CleanUpAfterAutoFindBestArma(zolv_BestArmaGroup group);

/* [/section: search] */

/* ---- power transforms -------------------------------------------------------------------------------- */
/* [section: transforms] */

/* The power transform of a series, and the ways back. It is the signed power, not the scaled Box-Cox form
 * (x^lambda - 1) / lambda:
 *
 *     lambda = 0   ln x
 *     lambda = 1   x, copied bit for bit
 *     lambda > 0   x^lambda
 *     lambda < 0   -(x^lambda), so that order is kept
 *
 * What the five functions have in common. There are no result codes: bad input flows through the arithmetic,
 * so that a negative x under a fractional power or x <= 0 under the logarithm gives the NaN or infinity of
 * the mathematics library. A missing value is transformed like any number. A count of 0 or less, or a null
 * array, writes nothing. A NaN lambda writes nothing either (the interval form excepted, see there); -0.0
 * counts as 0. An output array may be an input array. Nothing is allocated.
 * Threads: any number at once. */

/* The transform itself.
 *
 * values  in   [count] the series; positive for the logarithm and for fractional or negative powers
 * count   in   number of elements
 * lambda  in   the power; 0 the logarithm
 * out     out  [count], the caller's */
ZOLV_API void zolv_QorPowerTransform(const double* values, int32_t count, double lambda, double* out);

/* The plain inverse: exp x, x, x^(1/lambda), (-x)^(1/lambda). On fitted values or forecasts it estimates the
 * median on the scale of the data; the two forms below estimate the mean.
 *
 * values  in   [count] transformed values
 * count   in   number of elements
 * lambda  in   the power of the transform
 * out     out  [count], the caller's, in the units of the data */
ZOLV_API void zolv_InverseQorPowerTransform(const double* values, int32_t count, double lambda, double* out);

/* The inverse for fitted values, with a second-order correction for bias. With v the variance and
 * c = (v / 2) (1 - lambda) / lambda^2:
 *
 *     lambda = 0   exp(x) (v / 2 + 1)
 *     lambda = 1   x, copied
 *     lambda > 0   x^(1/lambda) (c / x^2 + 1)
 *     lambda < 0   (-x)^(1/lambda) (c / x^2 + 1)
 *
 * values    in   [count] fitted values on the transformed scale
 * count     in   number of elements
 * lambda    in   the power of the transform
 * variance  in   one residual variance on the transformed scale, for all elements: a variance, not a
 *                standard deviation
 * out       out  [count], the caller's, in the units of the data
 *
 * A value of 0 divides by 0: with lambda between 0 and 1 the element is NaN. */
ZOLV_API void zolv_InverseQorPowerTransformFit(const double* values, int32_t count, double lambda,
                                               double variance, double* out);

/* The inverse for forecasts: as the form for fitted values, with v = e^2 for the standard error e of each
 * element.
 *
 * values          in   [count] forecasts on the transformed scale
 * count           in   number of elements
 * lambda          in   the power of the transform
 * standardErrors  in   [count] their standard errors, not variances; not read with lambda = 1
 * out             out  [count], the caller's, in the units of the data */
ZOLV_API void zolv_InverseQorPowerTransformForecast(const double* values, int32_t count, double lambda,
                                                    const double* standardErrors, double* out);

/* The inverse for limits. No correction: a limit is a quantile, and quantiles go through as they are.
 *
 *     lambda = 0   exp of each
 *     lambda > 0   if upper > 0 and upper > lower: upper^(1/lambda), and lower^(1/lambda) or, for
 *                  lower <= 0, exactly 0. Otherwise both are the missing value.
 *     lambda < 0   (-x)^(1/lambda) of each limit x < 0, the missing value for any other x. The two are
 *                  taken one by one: neither compared nor swapped.
 *
 * lower     in   [count] lower limits on the transformed scale
 * upper     in   [count] upper limits
 * count     in   number of elements
 * lambda    in   the power of the transform; a NaN takes the branch of lambda < 0
 * lowerOut  out  [count], the caller's, in the units of the data
 * upperOut  out  [count], likewise
 *
 * Oddity: lambda = 1 has no branch of its own. A negative lower limit comes back as 0, and an upper limit of
 * 0 or below makes both missing, although the transform is the identity. */
ZOLV_API void zolv_InverseQorPowerTransformInterval(const double* lower, const double* upper, int32_t count,
                                                    double lambda, double* lowerOut, double* upperOut);

/* Guerrero's choice of the power for a series: the lambda for which sd / mean^(1 - lambda) varies least over
 * consecutive groups of the series, by their coefficient of variation. It is not rounded.
 *
 * series       in   [count] the data, positive; 1.23456e30 is a missing observation, and so is a NaN or an
 *                   infinity
 * count        in   number of observations
 * groupLength  in   observations per group: the seasonal period where there is one; below 2 counts as 2.
 *                   Groups are aligned to the end of the series, the remainder at its front is unused. A group
 *                   with a missing observation is left out whole.
 * lower        in   end of the search interval, finite; -1 is usual
 * upper        in   the other end, finite, above lower; 2 is usual
 * tolerance    in   absolute tolerance on lambda, finite, 0 or more; 1e-6, say
 * out          out  lambda; one double, the caller's
 *
 * Returns 0, or 30025 if fewer than two groups are usable (a null series or a count below 4 has none), with
 * the missing value in *out. With a null out nothing is written.
 * The answer is the minimum that the search finds inside the interval if it is better than the lower end;
 * otherwise the better end, exactly. With a NaN objective at the lower end or at the point found, lower is
 * returned only if it is better than upper, else upper.
 * Oddity: the upper end is not looked at when the lower one is worse than the point found.
 * An interval that is NaN or infinite, or a tolerance that is NaN, infinite or negative, is not searched:
 * the first point of the golden section and the ends compete, the code is 0. A group mean of 0 or below
 * makes the objective NaN or infinite for most lambda; the same comparisons then decide. lower >= upper is
 * not an error.
 * Source: Guerrero, Journal of Forecasting 12 (1993); the minimiser is Brent's (1973) localmin, here ended
 * after 10000 passes at the latest.
 * Memory: working space of 16 bytes per group. Threads: any number at once. */
ZOLV_API int zolv_GetBoxCoxLambda(const double* series, int count, int groupLength, double lower, double upper,
                                  double tolerance, double* out);

/* [/section: transforms] */

/* ---- unit-root test ---------------------------------------------------------------------------------- */
/* [section: unit root] */

/* The augmented Dickey-Fuller test of a unit root: regresses the first difference of a series on its lagged
 * level, on deterministic terms and on lagged differences, and reports the t ratio of the level. The null
 * hypothesis is a unit root; a small p-value, or a statistic below a critical value, speaks against it.
 *
 * series        in   [count] the data, oldest first
 * count         in   number of observations, 2 or more
 * lags          in   lagged differences in the regression, or the most to try; negative asks for the default
 *                    12 (count / 100)^(1/4), truncated
 * lagMethod     in   how many are kept: 0 minimum AIC; 1 minimum BIC; 2 backward elimination until the last
 *                    one is significant; any other value: lags as given.
 *                    With 0 to 2 all candidates are compared on the rows of the longest regression; the one
 *                    chosen is then estimated on all the rows it has. Ties go to more lags.
 * regression    in   deterministic terms: 0 constant; 1 constant and trend; 2 constant, trend and squared
 *                    trend; 3 none
 * significance  in   two-sided level of lagMethod 2 as a fraction, judged by the t distribution; a value
 *                    outside (0, 1), NaN included, counts as 0.05. Not used by the other methods.
 * out           out  the record, the caller's. All seven fields are set when there is a finite statistic.
 *                    Initialise it in C (in C++ its constructor does), since not all are set otherwise.
 *
 * Always returns 0. These have no test: statistic is the missing value and the other fields stay as they
 * were: a null series; a count below 2; a regression outside 0 to 3; lags of count - 1 or more; more
 * regressors than rows, which are count - 1 - lags, also while the longest regression of lagMethod 0 to 2 is
 * looked at; a series whose columns are all dropped (zeros, say, with regression 3). A null out: nothing
 * happens.
 * A NaN or an infinity in the series makes statistic the missing value; so does a constant series, and so do
 * as many regressors as rows. sampleSize and lagCount are then set; the p-value and the critical values stay
 * as they were. An infinite statistic, of an exact fit, leaves those four alone too.
 *
 * Columns whose norm, after the earlier ones are taken out, is not above 1e-12 are dropped as dependent. The
 * limit is absolute: rescale a series in very small units.
 * Oddity: with regression 3 a statistic above 1.34e154 has the sign-set NaN as its p-value.
 * Oddity: if columns ahead of the lags are dropped (a straight line has its level in the trend), the choice of
 * lagMethod 0 to 2 may come out negative, which asks for the default number, above `lags` even.
 * Oddity: if the longest lags are dropped, sampleSize is that of the last lag kept, and the residual sum of
 * squares takes in that many rows, some of which the factorisation has not reached.
 * Source: Said & Dickey, Biometrika 71 (1984); p-values MacKinnon, JBES 12 (1994); critical values MacKinnon,
 * Queen's Economics Department working paper 1227 (2010).
 * Memory: about (lags + 4) count doubles, released on return. Threads: any number at once. */
ZOLV_API int zolv_AugmentedDickeyFuller(const double* series, int count, int lags, int lagMethod, int regression,
                                        double significance, zolv_UnitRootTest* out);

/* [/section: unit root] */

#ifdef __cplusplus
#    if defined(__clang__)
#        pragma clang diagnostic pop
#    endif
}
#endif

#endif /* ZOLV_H */
