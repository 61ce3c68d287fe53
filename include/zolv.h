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
#endif

/* ---- result codes ------------------------------------------------------------------------------------ */
/* [section: codes] */
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
/* [/section: linear algebra] */

/* ---- normal distribution ----------------------------------------------------------------------------- */
/* [section: normal] */
/* [/section: normal] */

/* ---- Student t distribution -------------------------------------------------------------------------- */
/* [section: t] */
/* [/section: t] */

/* ---- chi-square distribution ------------------------------------------------------------------------- */
/* [section: chi-square] */
/* [/section: chi-square] */

/* ---- beta distribution ------------------------------------------------------------------------------- */
/* [section: beta] */
/* [/section: beta] */

/* ---- F distribution ---------------------------------------------------------------------------------- */
/* [section: f] */
/* [/section: f] */

/* ---- binomial distribution --------------------------------------------------------------------------- */
/* [section: binomial] */
/* [/section: binomial] */

/* ---- ARIMA models: fits, forecasts, reports ---------------------------------------------------------- */
/* [section: arima] */
/* [/section: arima] */

/* ---- exact likelihood -------------------------------------------------------------------------------- */
/* [section: likelihood] */
/* [/section: likelihood] */

/* ---- order search ------------------------------------------------------------------------------------ */
/* [section: search] */
/* [/section: search] */

/* ---- power transforms -------------------------------------------------------------------------------- */
/* [section: transforms] */
/* [/section: transforms] */

/* ---- unit-root test ---------------------------------------------------------------------------------- */
/* [section: unit root] */
/* [/section: unit root] */

#ifdef __cplusplus
}
#endif

#endif /* ZOLV_H */
