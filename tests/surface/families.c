/* families.c: every export of the library at least once, from C. */
#include "families.h"

#include <math.h>
#include <stddef.h>
#include <string.h>

#include "zolv.h"

struct cursor {
    double* next;
    int count;
    int failures;
};

static void put(struct cursor* to, double value) {
    if (to->count == families_capacity) {
        ++to->failures;
        return;
    }
    to->next[to->count++] = value;
}

static void put_all(struct cursor* to, const double* values, int count) {
    for (int i = 0; i < count; ++i) put(to, values[i]);
}

static void need(struct cursor* to, int holds) { to->failures += !holds; }

/* ---- missing value ---- */

static void use_missing(struct cursor* to) {
    const double missing = zolv_GetMissingValue();
    need(to, zolv_IsNaN(missing) == 1 && zolv_IsMissingValue(missing) == 0);
    need(to, zolv_IsInfinity(-INFINITY) == 1 && zolv_IsPlusInfinity(-INFINITY) == 0);
    need(to, zolv_IsMinusInfinity(-INFINITY) == 1);
    put(to, missing);
}

/* ---- vectors and matrices ---- */

enum { order = 4, packed_length = order * (order + 1) / 2 };

/* 8 on the diagonal, 1 beside it: symmetric and positive definite. */
static void fill_matrix(double* a) {
    for (int i = 0; i < order; ++i) {
        for (int j = 0; j < order; ++j) a[i * order + j] = i == j ? 8.0 : (double)(i - j == 1 || j - i == 1);
    }
}

static void use_vectors(struct cursor* to) {
    double x[4] = {1.0, -2.0, 3.5, 0.25}, y[4] = {0.5, 4.0, -1.0, 2.0};
    zolv_AXPlusY(2.0, x, y, 4);
    zolv_SwapXAndY(x, 1, y, 1, 4);
    zolv_ScaleX(0.5, x, 4);
    zolv_CopyXIntoY(x, 2, y, 2, 2);
    put_all(to, x, 4);
    put_all(to, y, 4);
    put(to, zolv_DotProduct(x, y, 4));
    put(to, (double)zolv_IndexToMaxAbsValue(x, 4));
    put(to, (double)zolv_IndexToMinAbsValue(x, 4));
}

static void use_matrices(struct cursor* to) {
    double a[order * order], b[order * order], c[order * order], packed[packed_length];
    double x[order] = {1.0, 2.0, 3.0, 4.0}, y[order] = {0.0};
    memset(b, 0, sizeof b);
    memset(c, 0, sizeof c);
    fill_matrix(a);
    zolv_ScaleTranspose(2.0, a, b, order, order, 1);
    zolv_ScaleTransposeIP(0.5, b, order, order, 0);
    zolv_MatrixVectorProduct(1.0, a, x, 0.0, y, order, order, 0);
    zolv_MatrixMatrixProduct(1.0, a, b, 0.0, c, order, order, order, 0, 1);
    zolv_MatMatTriangularProduct(1.0, a, b, 0.5, c, order, order, 0, 1, 1);
    zolv_SymmetricMatMatProduct(1.0, a, b, 1.0, c, order, order, 0, 0);
    zolv_PackTriangularMat(a, packed, order);
    zolv_SymmetricMatVecProduct(1.0, packed, x, 1.0, y, order);
    zolv_SymmetricMatRankOneUpdate(packed, x, 0.125, order);
    zolv_TriangularMatVecProduct(packed, y, order, 1, 0);
    zolv_SolveTriangularSystem(packed, y, order, 1, 1);
    zolv_UnpackTriangularMat(packed, a, order);
    put_all(to, a, order * order);
    put_all(to, b, order * order);
    put_all(to, c, order * order);
    put_all(to, y, order);
}

static void use_factorisations(struct cursor* to) {
    double a[order * order], packed[packed_length], b[order] = {1.0, 2.0, 3.0, 4.0};
    fill_matrix(a);
    zolv_PackTriangularMat(a, packed, order);
    need(to, zolv_CholeskyFacUnpack(a, order) == 0 && zolv_CholeskyFacPack(packed, order) == 0);
    put_all(to, a, order * order);
    put_all(to, packed, packed_length);
    fill_matrix(a);
    zolv_PackTriangularMat(a, packed, order);
    need(to, zolv_CholeskyInvUnpack(a, order) == 0 && zolv_CholeskyInvPack(packed, order) == 0);
    put_all(to, a, order * order);
    put_all(to, packed, packed_length);
    fill_matrix(a);
    need(to, zolv_SolveSquareSystem(a, b, order) == 0);
    put_all(to, b, order);

    double singular[4] = {1.0, 2.0, 2.0, 4.0}, indefinite[4] = {1.0, 2.0, 2.0, 1.0};
    need(to, zolv_SolveSquareSystem(singular, b, 2) == zolv_code_solve_failed);
    need(to, zolv_CholeskyFacUnpack(indefinite, 2) == zolv_code_not_positive_definite);
    need(to, zolv_SolveSquareSystem(singular, b, -1) == zolv_code_solve_failed);
    zolv_MatrixVectorProduct(1.0, a, b, 0.0, b, -1, 2, 0); /* refused by the provider, in silence */
}

/* ---- distributions ---- */

enum { points = 41 };
static const unsigned char tails[2] = {0, 1};

#define FOR_POINTS(i) for (int i = 0; i < points; ++i)

static void use_normal(struct cursor* to, const double* x, const double* p, double* out) {
    FOR_POINTS(i) put(to, zolv_NormalPdf(x[i], 0.5, 2.0));
    zolv_ParallelNormalPdf(x, points, 0.5, 2.0, out);
    put_all(to, out, points);
    for (int t = 0; t < 2; ++t) {
        FOR_POINTS(i) put(to, zolv_NormalCdf(x[i], 0.5, 2.0, tails[t]));
        FOR_POINTS(i) put(to, zolv_NormalInvCdf(p[i], 0.5, 2.0, tails[t]));
        zolv_ParallelNormalCdf(x, points, 0.5, 2.0, tails[t], out);
        put_all(to, out, points);
        zolv_ParallelNormalInvCdf(p, points, 0.5, 2.0, tails[t], out);
        put_all(to, out, points);
    }
}

static void use_t(struct cursor* to, const double* x, const double* p, double* out, double df, double nc) {
    FOR_POINTS(i) put(to, zolv_TPdf(x[i], df, nc));
    zolv_ParallelTPdf(x, points, df, nc, out);
    put_all(to, out, points);
    for (int t = 0; t < 2; ++t) {
        FOR_POINTS(i) put(to, zolv_TCdf(x[i], df, nc, tails[t]));
        FOR_POINTS(i) put(to, zolv_TInvCdf(p[i], df, nc, tails[t]));
        zolv_ParallelTCdf(x, points, df, nc, tails[t], out);
        put_all(to, out, points);
        zolv_ParallelTInvCdf(p, points, df, nc, tails[t], out);
        put_all(to, out, points);
    }
}

static void use_chi_square(struct cursor* to, const double* x, const double* p, double* out, double df,
                           double nc) {
    FOR_POINTS(i) put(to, zolv_ChiSqPdf(x[i], df, nc));
    zolv_ParallelChiSqPdf(x, points, df, nc, out);
    put_all(to, out, points);
    for (int t = 0; t < 2; ++t) {
        FOR_POINTS(i) put(to, zolv_ChiSqCdf(x[i], df, nc, tails[t]));
        FOR_POINTS(i) put(to, zolv_ChiSqInvCdf(p[i], df, nc, tails[t]));
        zolv_ParallelChiSqCdf(x, points, df, nc, tails[t], out);
        put_all(to, out, points);
    }
}

static void use_beta(struct cursor* to, const double* p, double* out, double a, double b) {
    FOR_POINTS(i) put(to, zolv_BetaPdf(p[i], a, b));
    zolv_ParallelBetaPdf(p, points, a, b, out);
    put_all(to, out, points);
    for (int t = 0; t < 2; ++t) {
        FOR_POINTS(i) put(to, zolv_BetaCdf(p[i], a, b, tails[t]));
        FOR_POINTS(i) put(to, zolv_BetaInvCdf(p[i], a, b, tails[t]));
        zolv_ParallelBetaCdf(p, points, a, b, tails[t], out);
        put_all(to, out, points);
        zolv_ParallelBetaInvCdf(p, points, a, b, tails[t], out);
        put_all(to, out, points);
    }
}

static void use_f(struct cursor* to, const double* x, const double* p, double* out, double nc) {
    const double d1 = 5.0, d2 = 12.0;
    FOR_POINTS(i) put(to, zolv_FPdf(x[i], d1, d2, nc));
    zolv_ParallelFPdf(x, points, d1, d2, nc, out);
    put_all(to, out, points);
    for (int t = 0; t < 2; ++t) {
        FOR_POINTS(i) put(to, zolv_FCdf(x[i], d1, d2, nc, tails[t]));
        FOR_POINTS(i) put(to, zolv_FInvCdf(p[i], d1, d2, nc, tails[t]));
        zolv_ParallelFCdf(x, points, d1, d2, nc, tails[t], out);
        put_all(to, out, points);
        zolv_ParallelFInvCdf(p, points, d1, d2, nc, tails[t], out);
        put_all(to, out, points);
    }
}

static void use_binomial(struct cursor* to, const double* p, double* out, uint32_t n, double probability) {
    double x[points];
    FOR_POINTS(i) x[i] = (double)(i - 1);
    FOR_POINTS(i) put(to, zolv_BinomialPdf(x[i], n, probability));
    zolv_ParallelBinomialPdf(x, points, n, probability, out);
    put_all(to, out, points);
    for (int t = 0; t < 2; ++t) {
        FOR_POINTS(i) put(to, zolv_BinomialCdf(x[i], n, probability, tails[t]));
        FOR_POINTS(i) put(to, zolv_BinomialInvCdf(p[i], n, probability, tails[t]));
        zolv_ParallelBinomialCdf(x, points, n, probability, tails[t], out);
        put_all(to, out, points);
        zolv_ParallelBinomialInvCdf(p, points, n, probability, tails[t], out);
        put_all(to, out, points);
    }
}

static void use_distributions(struct cursor* to) {
    double x[points], p[points], out[points];
    FOR_POINTS(i) {
        x[i] = -4.0 + 0.375 * i;
        p[i] = (double)i / (points - 1); /* both ends too */
    }
    x[points - 1] = zolv_GetMissingValue();
    use_normal(to, x, p, out);
    use_t(to, x, p, out, 7.0, 0.0);
    use_t(to, x, p, out, 7.0, 1.25);
    use_chi_square(to, x, p, out, 4.5, 0.0);
    use_chi_square(to, x, p, out, 4.5, 2.0);
    use_beta(to, p, out, 2.5, 0.75);
    use_beta(to, p, out, 80.0, 120.0);
    use_f(to, x, p, out, 0.0);
    use_f(to, x, p, out, 3.0);
    use_binomial(to, p, out, 37, 0.3);
    zolv_ParallelNormalPdf(x, points, 0.0, -1.0, out); /* a bad parameter fills with the missing value */
    put_all(to, out, points);
}

/* ---- time series ---- */

enum { observations = 144, leads = 24 };

static void use_fit(struct cursor* to, const double* series) {
    double parameters[8] = {0.1, 0.1}, out[leads], upper[leads], residuals[observations], table[4][8],
           rows[4][3];
    double* row_pointers[4] = {rows[0], rows[1], rows[2], rows[3]};
    zolv_ParameterTable pointers = {table[0], table[1], table[2], table[3]};
    zolv_ArimaModel model = {0, 1, 1, 0, 1, 1, 12, 0, NULL, NULL, 0};
    uint32_t code = 0;
    memset(table, 0, sizeof table);
    memset(rows, 0, sizeof rows);
    memset(residuals, 0, sizeof residuals);

    zolv_ArimaHandle handle = zolv_MakeArimaModelPtr(series, observations, &model, &code);
    need(to, handle != NULL && code == 10000);
    if (handle == NULL) return;
    memset(out, 0, sizeof out);
    zolv_GetEstimatedParameter(handle, 2, out);
    put_all(to, out, 2);
    put(to, zolv_GetSigmaSquared(handle));
    need(to, zolv_GetForecast(handle, observations, leads, out) == 0);
    put_all(to, out, leads);
    need(to, zolv_GetForecastStandardError(handle, observations, leads, out) == 0);
    put_all(to, out, leads);
    need(to, zolv_GetForecastLimit(handle, 0.95, observations, leads, out, upper) == 0);
    put_all(to, out, leads);
    put_all(to, upper, leads);
    need(to, zolv_GetForecast(handle, 3, leads, out) == zolv_code_origin_too_early);
    need(to, zolv_GetMaxResidualCount(handle) == observations - 13);
    zolv_GetResidual(handle, observations - 13, residuals);
    put_all(to, residuals, observations - 13);
    zolv_GetFit(handle, observations - 13, residuals);
    put_all(to, residuals, observations - 13);
    zolv_GetParameterTable(handle, &pointers);
    for (int i = 0; i < 4; ++i) put_all(to, table[i], 2);
    memset(out, 0, sizeof out);
    zolv_GetParameterCorrelationMatrix(handle, out);
    put(to, out[0]);
    ArimaSummary summary;
    memset(&summary, 0, sizeof summary);
    zolv_GetModelSummary(handle, &summary);
    put(to, summary.DegreesOfFreedom);
    put(to, summary.SumOfSquares);
    put(to, summary.SigmaSquared);
    put(to, summary.MeanSquare);
    put(to, summary.Aicc);
    put(to, summary.Aic);
    put(to, summary.Bic);
    zolv_QorLjungBoxTest(handle, row_pointers);
    for (int i = 0; i < 4; ++i) put_all(to, rows[i], 3);
    const int backcasts = zolv_GetMaxBackcastCount(handle);
    put(to, backcasts);
    memset(out, 0, sizeof out);
    put(to, zolv_GetTimeSeriesBackcast(handle, 13, out));
    put_all(to, out, 13);
    zolv_GetGaussianNoiseBackcast(handle, 13, out);
    put_all(to, out, 13);
    uint32_t row_length = 0;
    const uint32_t history = zolv_GetIterationHistoryCount(handle, &row_length);
    need(to, history > 0 && history <= 26 && row_length == 3);
    if (history <= 26 && row_length == 3) {
        double lines[26][3];
        double* line_pointers[26];
        for (int i = 0; i < 26; ++i) line_pointers[i] = lines[i];
        zolv_GetIterationHistory(handle, line_pointers);
        for (uint32_t i = 0; i < history; ++i) put_all(to, lines[i], 3);
    }
    zolv_DeleteArimaModelPtr(&handle);
    need(to, handle == NULL);

    model.Parameters = parameters;
    need(to, zolv_QorArima(series, observations, &model) == 10000);
    put_all(to, parameters, 3);
    put(to, zolv_ArimaLogLikelihood(series, observations, &model));

    /* A random walk with drift, and a failure. */
    double drift = 0.0;
    zolv_ArimaModel walk = {0, 1, 0, 0, 0, 0, 0, 0, &drift, parameters, 0};
    need(to, zolv_QorArima(series, observations, &walk) == 0);
    put(to, drift);
    put(to, parameters[0]);
    need(to, zolv_QorArima(series, 3, &model) == zolv_code_series_too_short);
}

static void use_search(struct cursor* to, const double* series) {
    zolv_BestArimaAutoFindSetting setting = zolv_CreateBestArimaAutoFindSetting();
    setting.regularDifference = 1;
    setting.maxAr = 2;
    setting.maxMa = 1;
    const zolv_BestArmaGroup group = zolv_AutoFindBestArma(series, 60, &setting);
    put(to, group.count);
    for (int i = 0; i < group.count; ++i) {
        put(to, group.order[i]);
        put(to, group.models[i].p);
        put(to, group.models[i].logLikelihood);
        put(to, group.models[i].aicc);
        put(to, group.models[i].aic);
        put(to, group.models[i].bic);
    }
    need(to, group.count > 0);
    zolv_CleanUpAfterAutoFindBestArma(group);
}

static void use_transforms(struct cursor* to) {
    double power[12], out[12], high[12], errors[12], lambda = 0.0;
    zolv_QorPowerTransform(airline_passengers, 12, 0.25, power);
    put_all(to, power, 12);
    zolv_InverseQorPowerTransform(power, 12, 0.25, out);
    put_all(to, out, 12);
    zolv_InverseQorPowerTransformFit(power, 12, 0.25, 0.01, out);
    put_all(to, out, 12);
    for (int i = 0; i < 12; ++i) errors[i] = 0.01 * (i + 1);
    zolv_InverseQorPowerTransformForecast(power, 12, 0.25, errors, out);
    put_all(to, out, 12);
    for (int i = 0; i < 12; ++i) errors[i] += power[i];
    zolv_InverseQorPowerTransformInterval(power, errors, 12, 0.25, out, high);
    put_all(to, out, 12);
    put_all(to, high, 12);
    need(to, zolv_GetBoxCoxLambda(airline_passengers, observations, 12, -1.0, 2.0, 1e-6, &lambda) == 0);
    put(to, lambda);
}

static void use_unit_root(struct cursor* to, const double* series) {
    for (int method = 0; method < 4; ++method) {
        for (int regression = 0; regression < 4; ++regression) {
            zolv_UnitRootTest test;
            memset(&test, 0, sizeof test);
            need(to,
                 zolv_AugmentedDickeyFuller(series, observations, 6, method, regression, 0.1, &test) == 0);
            put(to, test.statistic);
            put(to, test.pValue);
            put(to, test.critical1);
            put(to, test.critical5);
            put(to, test.critical10);
            put(to, test.sampleSize);
            put(to, test.lagCount);
        }
    }
}

int use_every_family(double* results) {
    double logarithms[observations];
    struct cursor to = {results, 0, 0};
    for (int i = 0; i < observations; ++i) logarithms[i] = log(airline_passengers[i]);
    use_missing(&to);
    use_vectors(&to);
    use_matrices(&to);
    use_factorisations(&to);
    use_distributions(&to);
    use_fit(&to, logarithms);
    use_search(&to, logarithms);
    use_transforms(&to);
    use_unit_root(&to, logarithms);
    return to.failures != 0 ? -to.failures : to.count;
}
