// bits_grid.cpp: one line per export, "name values digest", over a fixed grid of arguments.
//
// Not a test by itself: bits_grid.sh builds it with the library's sources under each compiler and level of
// optimisation, and the outputs must be the same text. The grid holds the ends of the domains, both NaNs,
// values around the common thresholds and pseudo-random ones; nothing here depends on libm or on the
// harness's own rounding.
#include <bit>
#include <cinttypes>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <functional>
#include <limits>
#include <string>
#include <vector>

#include "families.h"
#include "zolv.h"

namespace {

using list = std::vector<double>;

constexpr double infinity = std::numeric_limits<double>::infinity();
const double missing = std::bit_cast<double>(std::uint64_t{0x7FF8000000000000});
const double sign_set = std::bit_cast<double>(std::uint64_t{0xFFF8000000000000});

// FNV-1a over the bits of all values.
class digest {
public:
    explicit digest(std::string name) : name_(std::move(name)) {}
    ~digest() { std::printf("%s %" PRIu64 " %016" PRIx64 "\n", name_.c_str(), count_, hash_); }
    digest(const digest&) = delete;
    digest& operator=(const digest&) = delete;

    void operator()(double value) {
        auto bits = std::bit_cast<std::uint64_t>(value);
        for (int byte = 0; byte < 8; ++byte, bits >>= 8) hash_ = (hash_ ^ (bits & 0xFF)) * 0x100000001B3u;
        ++count_;
    }
    void operator()(const list& values) {
        for (const double value : values) (*this)(value);
    }

private:
    std::string name_;
    std::uint64_t hash_ = 0xCBF29CE484222325u, count_ = 0;
};

class generator {
public:
    double fraction() {  // in [0, 1), a whole multiple of 2^-53
        state_ = state_ * 6364136223846793005u + 1442695040888963407u;
        return static_cast<double>(state_ >> 11) * 0x1p-53;
    }
    list fractions(std::size_t n, double scale, double shift) {
        list values(n);
        for (double& v : values) v = fraction() * scale + shift;
        return values;
    }

private:
    std::uint64_t state_ = 20240501;
};

list operator+(list a, const list& b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

const list special = {missing, sign_set, infinity, -infinity, 0.0,    -0.0,  5e-324, -5e-324, 0x1p-1022,
                      1e-300,  -1e-300,  1e-30,    1e-10,     -1e-10, 0.5,   -0.5,   1.0,     -1.0,
                      2.0,     5.0,      1e5,      -1e5,      1e10,   -1e10, 1e155,  1e300,   -1e300};
const list reals = special + generator().fractions(60, 16.0, -8.0) + generator().fractions(30, 120.0, 0.0);
const list unit = list{missing,
                       sign_set,
                       -0.1,
                       -5e-324,
                       -0.0,
                       0.0,
                       5e-324,
                       1e-300,
                       1e-100,
                       1e-20,
                       1e-10,
                       1e-5,
                       0.01,
                       0.02425,
                       0.25,
                       0.5,
                       0x1.0000000000001p-1,
                       0.75,
                       0.97575,
                       0.99,
                       0.99999,
                       0x1.fffffffffffffp-1,
                       1.0,
                       1.1,
                       infinity} +
                  generator().fractions(40, 1.0, 0.0);
const list probabilities =
    list{missing, -0.1, 0.0, 1e-300, 1e-12, 1e-4, 0.03, 0.3, 0.5, 0.7, 0.97, 1.0, 1.1} +
    generator().fractions(8, 1.0, 0.0);

constexpr unsigned char tails[] = {0, 1};

// Scalar over the grid, and the array form where there is one.
using scalar = std::function<double(double)>;
using array_form = std::function<void(const double*, std::uint64_t, double*)>;

void family_member(digest& to, const list& x, const scalar& call) {
    for (const double v : x) to(call(v));
}

void array_member(digest& to, const list& x, const array_form& call) {
    list out(x.size());
    call(x.data(), x.size(), out.data());
    to(out);
}

#define SCALAR(name, x, parameters, ...)                                                 \
    {                                                                                    \
        digest to(#name);                                                                \
        for (const auto& q : parameters)                                                 \
            family_member(to, x, [&](double v) { return zolv_##name(v, __VA_ARGS__); }); \
    }
#define SCALAR_TAILS(name, x, parameters, ...)                                                      \
    {                                                                                               \
        digest to(#name);                                                                           \
        for (const auto& q : parameters) {                                                          \
            for (const unsigned char upper : tails) {                                               \
                family_member(to, x, [&](double v) { return zolv_##name(v, __VA_ARGS__, upper); }); \
            }                                                                                       \
        }                                                                                           \
    }
#define ARRAY(name, x, parameters, ...)                                              \
    {                                                                                \
        digest to(#name);                                                            \
        for (const auto& q : parameters) {                                           \
            array_member(to, x, [&](const double* v, std::uint64_t n, double* out) { \
                zolv_##name(v, n, __VA_ARGS__, out);                                 \
            });                                                                      \
        }                                                                            \
    }
#define ARRAY_TAILS(name, x, parameters, ...)                                            \
    {                                                                                    \
        digest to(#name);                                                                \
        for (const auto& q : parameters) {                                               \
            for (const unsigned char upper : tails) {                                    \
                array_member(to, x, [&](const double* v, std::uint64_t n, double* out) { \
                    zolv_##name(v, n, __VA_ARGS__, upper, out);                          \
                });                                                                      \
            }                                                                            \
        }                                                                                \
    }

void normal() {
    const std::vector<list> q = {{0, 1}, {0.5, 2}, {-3, 1e-10},  {1e10, 1e5},
                                 {0, 0}, {0, -1},  {missing, 1}, {0, infinity}};
    SCALAR(NormalPdf, reals, q, q[0], q[1])
    SCALAR_TAILS(NormalCdf, reals, q, q[0], q[1])
    SCALAR_TAILS(NormalInvCdf, unit, q, q[0], q[1])
    ARRAY(ParallelNormalPdf, reals, q, q[0], q[1])
    ARRAY_TAILS(ParallelNormalCdf, reals, q, q[0], q[1])
    ARRAY_TAILS(ParallelNormalInvCdf, unit, q, q[0], q[1])
}

void student_t() {
    const std::vector<list> q = {{0.3, 0},  {1, 0},     {2, 0},       {3.5, 0},     {30, 0},    {1000, 0},
                                 {1e10, 0}, {3.5, 0.5}, {3.5, -4},    {30, 12.25},  {0.3, 1.5}, {1000, 30},
                                 {0, 0},    {-1, 0},    {3, missing}, {infinity, 0}};
    const std::vector<list> quantiles = {{0.3, 0},  {1, 0},     {2, 0},   {3.5, 0}, {30, 0},
                                         {1e10, 0}, {3.5, 0.5}, {30, -4}, {0, 0}};
    SCALAR(TPdf, reals, q, q[0], q[1])
    SCALAR_TAILS(TCdf, reals, q, q[0], q[1])
    SCALAR_TAILS(TInvCdf, probabilities, quantiles, q[0], q[1])
    ARRAY(ParallelTPdf, reals, q, q[0], q[1])
    ARRAY_TAILS(ParallelTCdf, reals, q, q[0], q[1])
    ARRAY_TAILS(ParallelTInvCdf, probabilities, quantiles, q[0], q[1])
}

void chi_square() {
    const std::vector<list> q = {{0.3, 0},  {1, 0},   {2, 0},    {5.5, 0},    {60, 0},    {5000, 0},
                                 {1e10, 0}, {0.3, 2}, {5.5, 10}, {60, 200},   {500, 0.1}, {0, 3},
                                 {0, 0},    {-1, 0},  {3, -1},   {missing, 0}};
    const std::vector<list> quantiles = {{0.3, 0},  {1, 0},    {5.5, 0}, {60, 0},
                                         {5000, 0}, {5.5, 10}, {60, 20}, {-1, 0}};
    SCALAR(ChiSqPdf, reals, q, q[0], q[1])
    SCALAR_TAILS(ChiSqCdf, reals, q, q[0], q[1])
    SCALAR_TAILS(ChiSqInvCdf, probabilities, quantiles, q[0], q[1])
    ARRAY(ParallelChiSqPdf, reals, q, q[0], q[1])
    ARRAY_TAILS(ParallelChiSqCdf, reals, q, q[0], q[1])
}

void beta() {
    const std::vector<list> q = {{0.5, 0.5}, {1, 1},     {2.5, 0.75}, {0.01, 3},    {30, 70},
                                 {700, 300}, {5e4, 2e4}, {2, 1e10},   {1e-5, 2},    {1e-3, 1e-3},
                                 {3, 4000},  {0, 1},     {1, -1},     {missing, 1}, {1, infinity}};
    const list x = unit + list{1e-250, 0.1, 0.3, 0.7, 0.9};
    SCALAR(BetaPdf, x, q, q[0], q[1])
    SCALAR_TAILS(BetaCdf, x, q, q[0], q[1])
    SCALAR_TAILS(BetaInvCdf, probabilities, q, q[0], q[1])
    ARRAY(ParallelBetaPdf, x, q, q[0], q[1])
    ARRAY_TAILS(ParallelBetaCdf, x, q, q[0], q[1])
    ARRAY_TAILS(ParallelBetaInvCdf, probabilities, q, q[0], q[1])
}

void f() {
    const std::vector<list> q = {{1, 1, 0},    {2, 2, 0},  {5, 9, 0},      {0.3, 40, 0},  {300, 700, 0},
                                 {5, 1e10, 0}, {5, 9, 2},  {1, 3, 30},     {40, 60, 100}, {0, 1, 0},
                                 {1, -1, 0},   {1, 1, -2}, {missing, 1, 0}};
    const std::vector<list> quantiles = {{1, 1, 0}, {2, 2, 0}, {5, 9, 0}, {300, 700, 0},
                                         {5, 9, 2}, {1, 3, 8}, {0, 1, 0}};
    SCALAR(FPdf, reals, q, q[0], q[1], q[2])
    SCALAR_TAILS(FCdf, reals, q, q[0], q[1], q[2])
    SCALAR_TAILS(FInvCdf, probabilities, quantiles, q[0], q[1], q[2])
    ARRAY(ParallelFPdf, reals, q, q[0], q[1], q[2])
    ARRAY_TAILS(ParallelFCdf, reals, q, q[0], q[1], q[2])
    ARRAY_TAILS(ParallelFInvCdf, probabilities, quantiles, q[0], q[1], q[2])
}

void binomial() {
    struct size_and_chance {
        std::uint32_t n;
        double chance;
    };
    const std::vector<size_and_chance> q = {{0, 0.5},    {1, 0.25},      {14, 0.3},          {100, 0.97},
                                            {2000, 0.5}, {100000, 1e-4}, {4000000000u, 0.1}, {30, 0.0},
                                            {30, 1.0},   {30, -0.1},     {30, missing}};
    const list x = reals + list{0, 1, 2, 3, 4, 7, 13, 14, 15, 96, 97, 98, 1000, 1001, 4e8};
    SCALAR(BinomialPdf, x, q, q.n, q.chance)
    SCALAR_TAILS(BinomialCdf, x, q, q.n, q.chance)
    SCALAR_TAILS(BinomialInvCdf, probabilities, q, q.n, q.chance)
    ARRAY(ParallelBinomialPdf, x, q, q.n, q.chance)
    ARRAY_TAILS(ParallelBinomialCdf, x, q, q.n, q.chance)
    ARRAY_TAILS(ParallelBinomialInvCdf, probabilities, q, q.n, q.chance)
}

// ---- time series --------------------------------------------------------------------------------------

// Sums of twelve fractions, cumulated with some pull to the middle: no libm.
list synthetic_series(std::size_t n) {
    generator random;
    list x(n);
    double level = 0.0;
    for (double& v : x) {
        double noise = -6.0;
        for (int k = 0; k < 12; ++k) noise += random.fraction();
        level = 0.75 * level + noise;
        v = level + 20.0;
    }
    return x;
}

// Square roots, which every machine rounds alike.
list passengers() {
    list x(airline_passengers, airline_passengers + 144);
    for (double& v : x) v = std::sqrt(v);
    return x;
}

// Two NaNs that can be told apart, an infinity, values that overflow: whatever meets them must not depend on
// which operand a compiler puts first.
std::vector<list> spoiled_series() {
    list nans = synthetic_series(60), infinite = nans, huge = nans, level(60, 3.25);
    nans[10] = missing;
    nans[11] = sign_set;
    nans[40] = sign_set;
    infinite[30] = infinity;
    infinite[31] = -infinity;
    huge[20] = 1e200;
    huge[21] = -1e200;
    return {nans, infinite, huge, level};
}

struct orders {
    int p, d, q, P, D, Q, S;
    bool constant;
};

void fits() {
    const std::vector<orders> models = {
        {0, 1, 1, 0, 1, 1, 12, false}, {2, 0, 1, 0, 0, 0, 0, true},  {1, 1, 1, 0, 0, 0, 0, false},
        {1, 0, 0, 1, 0, 0, 12, true},  {5, 0, 0, 0, 0, 0, 0, true},  {0, 1, 0, 0, 0, 0, 0, true},
        {0, 1, 0, 0, 0, 0, 0, false},  {0, 2, 2, 0, 0, 0, 0, false}, {3, 0, 3, 1, 0, 1, 4, true},
        {0, 0, 0, 0, 0, 0, 0, true},   {1, 0, 1, 0, 0, 0, 0, false}};
    std::vector<list> series = {passengers(), synthetic_series(120), synthetic_series(40)};
    for (const list& spoiled : spoiled_series()) series.push_back(spoiled);
    digest handles("MakeArimaModelPtr"), getters("getters"), forecasts("forecasts"), one_shot("QorArima"),
        likelihood("ArimaLogLikelihood");
    for (const list& x : series) {
        for (const orders& o : models) {
            double constant = 0.0;
            list parameters(32, 0.1);
            zolv_ArimaModel model{};
            model.ArOrder = o.p;
            model.Differencing = o.d;
            model.MaOrder = o.q;
            model.SeasonalArOrder = o.P;
            model.SeasonalDifferencing = o.D;
            model.SeasonalMaOrder = o.Q;
            model.SeasonalPeriod = o.S;
            if (o.constant) model.Constant = &constant;
            const auto n = static_cast<std::uint32_t>(x.size());
            std::uint32_t code = 0;
            zolv_ArimaHandle handle = zolv_MakeArimaModelPtr(x.data(), n, &model, &code);
            handles(code);
            if (handle != nullptr) {
                list out(256, 0.0), upper(256, 0.0);
                zolv_GetEstimatedParameter(handle, 16, out.data());
                handles(zolv_GetSigmaSquared(handle));
                handles(out);
                const int residuals = zolv_GetMaxResidualCount(handle);
                zolv_GetResidual(handle, residuals, out.data());
                zolv_GetFit(handle, residuals, upper.data());
                getters(out);
                getters(upper);
                list columns(4 * 32, 0.0), correlations(256, 0.0), rows(12, 0.0);
                zolv_ParameterTable table = {columns.data(), columns.data() + 32, columns.data() + 64,
                                             columns.data() + 96};
                zolv_GetParameterTable(handle, &table);
                zolv_GetParameterCorrelationMatrix(handle, correlations.data());
                double* row_pointers[4] = {rows.data(), rows.data() + 3, rows.data() + 6, rows.data() + 9};
                zolv_QorLjungBoxTest(handle, row_pointers);
                ArimaSummary s = {};
                zolv_GetModelSummary(handle, &s);
                getters(columns);
                getters(correlations);
                getters(rows);
                getters(list{s.DegreesOfFreedom, s.SumOfSquares, s.SigmaSquared, s.MeanSquare, s.Aicc, s.Aic,
                             s.Bic});
                list back(100, 0.0);
                getters(zolv_GetMaxBackcastCount(handle));
                getters(zolv_GetTimeSeriesBackcast(handle, 20, back.data()));
                getters(back);
                zolv_GetGaussianNoiseBackcast(handle, 20, back.data());
                getters(back);
                std::uint32_t length = 0;
                const std::uint32_t history = zolv_GetIterationHistoryCount(handle, &length);
                std::vector<list> lines(history, list(length, 0.0));
                std::vector<double*> line_pointers;
                for (list& line : lines) line_pointers.push_back(line.data());
                zolv_GetIterationHistory(handle, line_pointers.data());
                for (const list& line : lines) getters(line);
                for (const int origin : {static_cast<int>(n), static_cast<int>(n) - 5, 3}) {
                    list lower(160, 0.0);
                    forecasts(zolv_GetForecast(handle, origin, 30, lower.data()));
                    forecasts(lower);
                    forecasts(zolv_GetForecastStandardError(handle, origin, 30, lower.data()));
                    forecasts(lower);
                    for (const double confidence : {0.95, 0.5, 1.0, 0.0, missing}) {
                        forecasts(zolv_GetForecastLimit(handle, confidence, origin, 30, lower.data(),
                                                        upper.data()));
                        forecasts(lower);
                        forecasts(upper);
                    }
                }
                zolv_DeleteArimaModelPtr(&handle);
            }
            constant = missing;
            model.Parameters = parameters.data();
            one_shot(zolv_QorArima(x.data(), n, &model));
            one_shot(parameters);
            one_shot(constant);
            likelihood(zolv_ArimaLogLikelihood(x.data(), static_cast<int>(n), &model));
            parameters[0] = sign_set;
            parameters[1] = missing;
            likelihood(zolv_ArimaLogLikelihood(x.data(), static_cast<int>(n), &model));
            handle = zolv_MakeArimaModelPtr(x.data(), n, &model, &code);
            handles(code);
            if (handle != nullptr) {
                list out(16, 0.0);
                zolv_GetEstimatedParameter(handle, 16, out.data());
                handles(out);
                zolv_DeleteArimaModelPtr(&handle);
            }
        }
    }
}

void search_series(digest& to, const list& series, const zolv_BestArimaAutoFindSetting& setting) {
    const zolv_BestArmaGroup group =
        zolv_AutoFindBestArma(series.data(), static_cast<int>(series.size()), &setting);
    for (int i = 0; i < group.count; ++i) {
        const zolv_BestArmaModel& m = group.models[i];
        to(list{static_cast<double>(group.order[i]), static_cast<double>(m.p), static_cast<double>(m.q),
                static_cast<double>(m.seasonalP), m.logLikelihood, m.aicc, m.aic, m.bic});
    }
    zolv_CleanUpAfterAutoFindBestArma(group);
}

void search() {
    digest to("AutoFindBestArma");
    zolv_BestArimaAutoFindSetting setting = zolv_CreateBestArimaAutoFindSetting();
    setting.maxAr = setting.maxMa = 2;
    for (int criterion = 0; criterion < 3; ++criterion) {
        for (const int d : {0, 1}) {
            setting.criterion = criterion;
            setting.regularDifference = d;
            setting.seasonalPeriod = 4 * d;
            setting.maxSeasonalAr = d;
            search_series(to, synthetic_series(60), setting);
        }
        for (const list& spoiled : spoiled_series()) search_series(to, spoiled, setting);
    }
}

void transforms() {
    const list lambdas = {0.0, -0.0, 1.0, 0.5, 2.0, 0.25, 1.0 / 3.0, -0.5, -1.0, -2.5, missing};
    const list x = reals;
    const auto n = static_cast<std::int32_t>(x.size());
    digest forward("QorPowerTransform"), inverse("InverseQorPowerTransform"),
        fit("InverseQorPowerTransformFit"), forecast("InverseQorPowerTransformForecast"),
        interval("InverseQorPowerTransformInterval");
    for (const double lambda : lambdas) {
        list out(x.size(), 0.0), high(x.size(), 0.0), errors(x.rbegin(), x.rend());
        zolv_QorPowerTransform(x.data(), n, lambda, out.data());
        forward(out);
        zolv_InverseQorPowerTransform(x.data(), n, lambda, out.data());
        inverse(out);
        zolv_InverseQorPowerTransformFit(x.data(), n, lambda, 0.37, out.data());
        fit(out);
        zolv_InverseQorPowerTransformForecast(x.data(), n, lambda, errors.data(), out.data());
        forecast(out);
        zolv_InverseQorPowerTransformInterval(x.data(), errors.data(), n, lambda, out.data(), high.data());
        interval(out);
        interval(high);
    }
    digest pairs("transforms of every special pair");
    for (const double lambda : lambdas) {
        for (const double second : special) {
            list out(x.size(), 0.0), high(x.size(), 0.0);
            const list errors(x.size(), second);
            zolv_InverseQorPowerTransformFit(x.data(), n, lambda, second, out.data());
            pairs(out);
            zolv_InverseQorPowerTransformForecast(x.data(), n, lambda, errors.data(), out.data());
            pairs(out);
            zolv_InverseQorPowerTransformInterval(x.data(), errors.data(), n, lambda, out.data(),
                                                  high.data());
            pairs(out);
            pairs(high);
        }
    }
    digest lambda("GetBoxCoxLambda");
    for (const int group : {0, 2, 4, 12, 80}) {
        double out = 0.0;
        const list series = synthetic_series(144);
        lambda(zolv_GetBoxCoxLambda(airline_passengers, 144, group, -1.0, 2.0, 1e-8, &out));
        lambda(out);
        lambda(zolv_GetBoxCoxLambda(series.data(), 144, group, -2.0, 2.0, 1e-4, &out));
        lambda(out);
        for (const list& spoiled : spoiled_series()) {
            lambda(zolv_GetBoxCoxLambda(spoiled.data(), 60, group, -2.0, 2.0, 1e-4, &out));
            lambda(out);
        }
    }
}

void unit_root() {
    digest to("AugmentedDickeyFuller");
    std::vector<list> series = {passengers(), synthetic_series(144), synthetic_series(30)};
    for (const list& spoiled : spoiled_series()) series.push_back(spoiled);
    for (const list& x : series) {
        for (const int lags : {-1, 0, 1, 4, 12}) {
            for (int method = 0; method < 4; ++method) {
                for (int regression = 0; regression < 4; ++regression) {
                    zolv_UnitRootTest test;
                    to(zolv_AugmentedDickeyFuller(x.data(), static_cast<int>(x.size()), lags, method,
                                                  regression, 0.1, &test));
                    to(list{test.statistic, test.pValue, test.critical1, test.critical5, test.critical10,
                            static_cast<double>(test.sampleSize), static_cast<double>(test.lagCount)});
                }
            }
        }
    }
}

// The provider is a binary of its own: only that the calls reach it alike is of interest here.
void everything_else() {
    digest to("every family");
    list results(families_capacity, 0.0);
    to(use_every_family(results.data()));
    to(results);
}

}  // namespace

int main() {
    normal();
    student_t();
    chi_square();
    beta();
    f();
    binomial();
    fits();
    search();
    transforms();
    unit_root();
    everything_else();
}
