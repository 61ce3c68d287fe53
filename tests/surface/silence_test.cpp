// No byte on the standard descriptors, whatever goes wrong: every result code, every argument that a routine
// refuses, null pointers where the header says what they get, matrices that cannot be factored or solved, and
// memory that cannot be had. surface.cmake runs it again for hosts that ask the provider to speak.
//
// hostile_calls_test.cpp and hostile_grid_test.cpp look for the same over whole grids of bad arguments,
// allocation_failures_test.cpp wherever an allocation fails (the code 30001 is among its answers).
#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <iostream>
#include <new>
#include <set>
#include <string>
#include <vector>

#include "support/arima_model.hpp"
#include "support/bits.hpp"
#include "support/printed_text.hpp"
#include "support/series.hpp"
#include "surface/distribution_exports.hpp"

namespace {

using zolv_test::arima_model;
using zolv_test::arima_orders;
using zolv_test::generated_series;
using zolv_test::printed_text;
using list = std::vector<double>;

constexpr double infinity = std::numeric_limits<double>::infinity();
const double bad_numbers[] = {
    zolv_GetMissingValue(), -zolv_GetMissingValue(), infinity, -infinity, -1.0, -0.0, 0.0, 1e300, -1e300};

template <class Calls>
void expect_silence(const std::string& what, const Calls& calls) {
    printed_text printed;
    calls();
    EXPECT_EQ(printed.stop(), "") << what;
}

TEST(Silence, TheCatchCatches) {
    if (zolv_test::under_sanitizers) GTEST_SKIP();
    printed_text printed;
    std::printf("a");
    std::fflush(stdout);
    std::fputs("b", stderr);
    std::cout << "c" << std::flush;
    std::cerr << "d";
    EXPECT_EQ(write(STDOUT_FILENO, "e", 1), 1);
    EXPECT_EQ(write(STDERR_FILENO, "f", 1), 1);
    EXPECT_EQ(printed.stop(), "abcdef");
    EXPECT_EQ(printed.stop(), "");
}

// ---- result codes ----------------------------------------------------------------------------------------

struct fit_case {
    int code;
    list series;
    arima_orders orders;
    bool constant = false;
    double start_constant = 0.0;
    list start = {};  // fit order, as long as there are terms; none: the defaults
};

list scaled(list x, double factor) {
    for (double& v : x) v *= factor;
    return x;
}

list geometric(double ratio, std::size_t n, double first, double ripple) {
    list x(n);
    for (std::size_t t = 0; t < n; ++t) x[t] = std::pow(ratio, double(t)) * first + ripple * double(t % 3);
    return x;
}

list with_value(list x, std::size_t at, double value) {
    x[at] = value;
    return x;
}

std::vector<fit_case> fit_cases() {
    const list airline = zolv_test::logs_of(zolv_test::load_series("airline_passengers"));
    return {
        {0, airline, {0, 1, 0}},
        {0, airline, {0, 1, 0}, true},
        {0, geometric(1.5, 40, std::ldexp(std::pow(1.5, -39.0), -33), 0.0), {1, 0, 0}, false, 0.0, {1.46}},
        {10000, generated_series(1, 200), {1, 0, 0}, true},
        {10005, scaled(airline, 1e-12), {0, 1, 1, 0, 1, 1, 12}},
        {20000, geometric(6.0, 20, 1e-12, 1e-14), {1, 0, 0}},
        {30018, generated_series(1, 300), {5, 0, 5}, true},
        {30023, generated_series(2, 300), {0, 0, 0, 0, 0, 1, 101}},
        {30025, generated_series(3, 3), {0, 0, 1}},
        {30025, {}, {1, 0, 0}},
        {30025, generated_series(3, 1), {0, 1, 0}},
        {30026, generated_series(4, 60), {0, 2, 0}},
        {30027, generated_series(5, 6), {5, 0, 0}},
        {30028, generated_series(6, 60), {1, 0, 0}, true, 2.0, {1.0}},
        {30029, generated_series(7, 60), {6, 0, 0}},
        {30029, generated_series(7, 60), {1, -1, 0}},
        {30030, with_value(generated_series(8, 60), 30, infinity), {0, 0, 1}},
        {30031, list(60, 0.0), {1, 0, 0}},
        {30031, list(60, 3.0), {1, 0, 0}, true},
    };
}

// Whatever there is to ask of a handle, by arguments good and bad; a null one among them.
void ask_everything(zolv_ArimaHandle handle) {
    list out(400);
    for (const int origin : {INT_MIN, -1, 0, 1, 5, 60, 144, 145, INT_MAX}) {
        for (const int count : {INT_MIN, -1, 0, 1, 24, 150}) {
            zolv_GetForecast(handle, origin, count, out.data());
            zolv_GetForecastStandardError(handle, origin, count, out.data());
            zolv_GetForecastLimit(handle, bad_numbers[0], origin, count, out.data(), nullptr);
            zolv_GetForecastLimit(handle, 7.0, origin, count, nullptr, out.data());
        }
    }
    for (const int count : {INT_MIN, -1, 0, 1, 100, 101, INT_MAX}) {
        zolv_GetEstimatedParameter(handle, count, nullptr);
        zolv_GetResidual(handle, count, nullptr);
        zolv_GetFit(handle, count, nullptr);
        zolv_GetTimeSeriesBackcast(handle, count, nullptr);
        zolv_GetGaussianNoiseBackcast(handle, count, nullptr);
    }
    zolv_ParameterTable table{nullptr, nullptr, nullptr, nullptr};
    zolv_GetParameterTable(handle, &table);
    zolv_GetParameterCorrelationMatrix(handle, nullptr);
    ArimaSummary summary;
    zolv_GetModelSummary(handle, &summary);
    double* rows[27] = {};
    zolv_QorLjungBoxTest(handle, rows);
    zolv_GetIterationHistory(handle, rows);
    zolv_GetIterationHistoryCount(handle, nullptr);
    zolv_GetSigmaSquared(handle);
    zolv_GetMaxResidualCount(handle);
    zolv_GetMaxBackcastCount(handle);
}

TEST(Silence, EveryResultCode) {
    std::set<std::int64_t> seen;
    for (const fit_case& c : fit_cases()) {
        const std::string name = std::to_string(c.code) + " expected";
        expect_silence(name, [&] {
            list start = c.start;
            double constant = c.start_constant;
            zolv_ArimaModel model = arima_model(c.orders, start.empty() ? nullptr : start.data(),
                                                c.constant ? &constant : nullptr);
            const auto n = static_cast<std::uint32_t>(c.series.size());
            std::uint32_t code = 1;
            zolv_ArimaHandle handle = zolv_MakeArimaModelPtr(c.series.data(), n, &model, &code);
            EXPECT_EQ(code, static_cast<std::uint32_t>(c.code));
            seen.insert(code);
            ask_everything(handle);
            zolv_DeleteArimaModelPtr(&handle);
            zolv_DeleteArimaModelPtr(&handle);

            list parameters(24, 0.1);
            model.Parameters = parameters.data();
            zolv_QorArima(c.series.data(), n, &model);
            zolv_ArimaLogLikelihood(c.series.data(), static_cast<int>(n), &model);
        });
    }
    expect_silence("a forecast of too many terms", [&] {
        const zolv_test::fitted beyond(generated_series(9, 400), {0, 0, 0, 1, 1, 0, 76});
        double out[3];
        for (int i = 0; i < 2; ++i) seen.insert(zolv_GetForecast(beyond, 400, 3, out));
        seen.insert(zolv_GetForecastStandardError(beyond, 400, 3, out));
        seen.insert(zolv_GetForecastLimit(beyond, 0.95, 400, 3, out, out));
    });
    expect_silence("matrices", [&] {
        double zeros[4] = {}, b[2] = {1.0, 1.0};
        seen.insert(zolv_SolveSquareSystem(zeros, b, 2));
        seen.insert(zolv_CholeskyFacUnpack(zeros, 2));
    });
#define CODE(value, name, provoked_by) value,
    std::set<std::int64_t> every = {ZOLV_RESULT_CODES(CODE)};
#undef CODE
    every.erase(zolv_code_no_memory);
    EXPECT_EQ(seen, every);
}

TEST(Silence, NullPointersAndImpossibleRecords) {
    expect_silence("time series", [] {
        const list x = generated_series(10, 60);
        ask_everything(nullptr);
        zolv_DeleteArimaModelPtr(nullptr);
        std::uint32_t code = 0;
        EXPECT_EQ(zolv_MakeArimaModelPtr(x.data(), 60, nullptr, &code), nullptr);
        EXPECT_EQ(zolv_MakeArimaModelPtr(x.data(), 60, nullptr, nullptr), nullptr);
        zolv_ArimaModel model = arima_model({1, 0, 0});
        EXPECT_EQ(zolv_MakeArimaModelPtr(nullptr, 60, &model, &code), nullptr);
        EXPECT_EQ(zolv_MakeArimaModelPtr(x.data(), 0xFFFFFFFFu, &model, nullptr), nullptr);
        EXPECT_EQ(zolv_QorArima(x.data(), 60, nullptr), 30029);
        EXPECT_EQ(zolv_QorArima(x.data(), 60, &model), 30029);
        double parameters[3] = {0.5, 1.0, 0.0};
        EXPECT_TRUE(std::isnan(zolv_ArimaLogLikelihood(x.data(), 60, nullptr)));
        EXPECT_TRUE(std::isnan(zolv_ArimaLogLikelihood(x.data(), 60, &model)));
        model.Parameters = parameters;
        EXPECT_TRUE(std::isnan(zolv_ArimaLogLikelihood(nullptr, 60, &model)));
        for (const int count : {INT_MIN, -1, 0})
            EXPECT_TRUE(std::isnan(zolv_ArimaLogLikelihood(x.data(), count, &model)));
        for (const double phi : bad_numbers) {
            parameters[0] = phi;
            zolv_ArimaLogLikelihood(x.data(), 60, &model);
            zolv_QorArima(x.data(), 60, &model);
        }
    });
    expect_silence("likelihood of impossible orders", [] {
        const list x = generated_series(10, 60);
        double parameters[25] = {0.1};
        for (const int order : {INT_MIN, -1, 5, 6, 100, INT_MAX}) {
            for (int field = 0; field < 7; ++field) {
                std::int32_t o[7] = {1, 0, 1, 0, 0, 0, 4};
                o[field] = order;
                const zolv_ArimaModel model =
                    arima_model({o[0], o[1], o[2], o[3], o[4], o[5], o[6]}, parameters);
                zolv_ArimaLogLikelihood(x.data(), 60, &model);
            }
        }
    });
    expect_silence("search", [] {
        const list x = generated_series(10, 60);
        zolv_CleanUpAfterAutoFindBestArma(zolv_AutoFindBestArma(x.data(), 60, nullptr));
        zolv_BestArimaAutoFindSetting small = zolv_CreateBestArimaAutoFindSetting();
        small.maxAr = small.maxMa = 1;
        const auto search = [&](const zolv_BestArimaAutoFindSetting& s, const double* series, int count) {
            zolv_CleanUpAfterAutoFindBestArma(zolv_AutoFindBestArma(series, count, &s));
        };
        search(small, nullptr, 60);
        for (const int count : {INT_MIN, -1, 0, 1, 2, 3, 5, 60}) search(small, x.data(), count);
        for (const double value : bad_numbers) search(small, list(60, value).data(), 60);
        auto s = small;
        s.criterion = 3, search(s, x.data(), 60);
        s = small, s.minAr = 3, search(s, x.data(), 60);
        s = small, s.minAr = -4, s.maxAr = -2, search(s, x.data(), 60);
        s = small, s.minAr = 6, s.maxAr = 8, search(s, x.data(), 60);
        s = small, s.regularDifference = -1, search(s, x.data(), 60);
        s = small, s.regularDifference = 61, search(s, x.data(), 60);
        s = small, s.seasonalPeriod = 40, s.seasonalDifference = 2, search(s, x.data(), 60);
        s = small, s.maxAr = s.maxMa = INT_MAX,
        search(s, x.data(), 60);  // more candidates than an array holds
    });
    expect_silence("transforms and unit root", [] {
        const list x = generated_series(10, 60);
        double out[60], two[60];
        for (const double number : bad_numbers) {
            zolv_QorPowerTransform(x.data(), 60, number, out);
            zolv_QorPowerTransform(nullptr, 60, number, out);
            zolv_QorPowerTransform(x.data(), 60, number, nullptr);
            zolv_InverseQorPowerTransform(nullptr, 60, number, out);
            zolv_InverseQorPowerTransformFit(x.data(), 60, number, number, out);
            zolv_InverseQorPowerTransformForecast(x.data(), 60, number, nullptr, out);
            zolv_InverseQorPowerTransformInterval(x.data(), nullptr, 60, number, out, two);
            zolv_InverseQorPowerTransformInterval(x.data(), x.data(), 60, number, nullptr, two);
            zolv_GetBoxCoxLambda(x.data(), 60, 4, number, 2.0, 1e-6, out);
            zolv_GetBoxCoxLambda(x.data(), 60, 4, -1.0, 2.0, number, nullptr);
            const list same(60, number);
            zolv_GetBoxCoxLambda(same.data(), 60, 4, -1.0, 2.0, 1e-6, out);
            for (int regression = -1; regression <= 4; ++regression) {
                for (int method = -1; method <= 3; ++method) {
                    zolv_UnitRootTest test;
                    zolv_AugmentedDickeyFuller(same.data(), 60, 4, method, regression, number, &test);
                    zolv_AugmentedDickeyFuller(with_value(x, 7, number).data(), 60, 4, method, regression,
                                               0.05, &test);
                }
            }
        }
        EXPECT_EQ(zolv_GetBoxCoxLambda(nullptr, 60, 4, -1.0, 2.0, 1e-6, out), 30025);
        zolv_UnitRootTest test;
        zolv_AugmentedDickeyFuller(nullptr, 60, 4, 0, 0, 0.05, &test);
        zolv_AugmentedDickeyFuller(x.data(), 60, 4, 0, 0, 0.05, nullptr);
        for (const int number : {INT_MIN, -1, 0, 1, 28, 29, 57, 58, 59, INT_MAX}) {
            zolv_AugmentedDickeyFuller(x.data(), number < 60 ? number : 60, 4, 0, 0, 0.05, &test);
            zolv_AugmentedDickeyFuller(x.data(), 60, number, 3, 0, 0.05, &test);
            zolv_AugmentedDickeyFuller(x.data(), 60, number, 0, 2, 0.05, &test);
        }
    });
}

// ---- distributions ---------------------------------------------------------------------------------------

TEST(Silence, BadParametersOfEveryDistribution) {
    for (const auto& of : zolv_test::distribution_exports) {
        expect_silence(of.name, [&] {
            for (int bad = 0; bad < of.arguments; ++bad) {
                for (const double number : bad_numbers) {
                    if (zolv_test::is_binomial(of) && bad == 1 && !(number >= 0.0 && number < 1e9)) continue;
                    if (std::fabs(number) == 1e300 && bad > 1)
                        continue;  // a noncentrality like this takes long
                    double a[zolv_test::most_arguments] = {0.3, 3.0, 0.5, 0.5};
                    a[bad] = number;
                    for (const unsigned char upper : {0, 1}) {
                        double x[3] = {a[0], a[0], a[0]}, out[3];
                        of.scalar(a, upper);
                        if (of.array == nullptr) continue;
                        of.array(x, 3, a, upper, out);
                        of.array(nullptr, 0, a, upper, nullptr);
                    }
                }
            }
        });
    }
}

// ---- matrices --------------------------------------------------------------------------------------------

struct matrix_kind {
    const char* name;
    double diagonal, off_diagonal;
};

// Small ones, and some that the provider factors in blocks by several threads.
TEST(Silence, MatricesThatCannotBeFactoredOrSolved) {
    const matrix_kind kinds[] = {{"zeros", 0.0, 0.0},
                                 {"ones", 1.0, 1.0},
                                 {"indefinite", 1.0, 2.0},
                                 {"negative", -1.0, 0.0},
                                 {"huge", 1e308, 1e308},
                                 {"infinite", infinity, 0.0},
                                 {"missing", zolv_GetMissingValue(), 0.0},
                                 {"definite", 2.0, 0.001}};
    for (const matrix_kind& kind : kinds) {
        for (const int n : {1, 2, 3, 40, 300}) {
            const auto size = static_cast<std::size_t>(n);
            list whole(size * size, kind.off_diagonal), packed;
            for (std::size_t i = 0; i < size; ++i) whole[i * size + i] = kind.diagonal;
            for (std::size_t i = 0; i < size; ++i) {
                packed.insert(packed.end(), i, kind.off_diagonal);
                packed.push_back(kind.diagonal);
            }
            expect_silence(kind.name + (" of order " + std::to_string(n)), [&] {
                list a = whole, b(size, 1.0), p = packed;
                zolv_SolveSquareSystem(a.data(), b.data(), n);
                a = whole;
                zolv_CholeskyFacUnpack(a.data(), n);
                a = whole;
                zolv_CholeskyInvUnpack(a.data(), n);
                zolv_CholeskyFacPack(p.data(), n);
                p = packed;
                zolv_CholeskyInvPack(p.data(), n);
                for (const int lower : {0, 1}) {
                    for (const int transpose : {0, 1}) {
                        b.assign(size, 1.0);
                        zolv_SolveTriangularSystem(packed.data(), b.data(), n, lower, transpose);
                        zolv_TriangularMatVecProduct(packed.data(), b.data(), n, lower, transpose);
                    }
                }
            });
        }
    }
}

// The provider reports a size that it refuses by a text of its own, which goes nowhere.
TEST(Silence, SizesThatTheProviderRefuses) {
    expect_silence("negative sizes", [] {
        double a[4] = {1.0, 0.5, 0.5, 2.0}, b[4] = {}, c[4] = {};
        for (const std::int64_t n : {INT64_MIN, INT64_MIN + 1, std::int64_t{INT_MIN}, std::int64_t{-1}}) {
            zolv_AXPlusY(2.0, a, b, n);
            zolv_CopyXIntoY(a, 1, b, 1, n);
            zolv_CopyXIntoY(a, -1, b, 2, n);
            zolv_DotProduct(a, b, n);
            zolv_ScaleX(2.0, a, n);
            zolv_SwapXAndY(a, 1, b, -1, n);
            zolv_IndexToMaxAbsValue(a, n);
            zolv_IndexToMinAbsValue(a, n);
            zolv_SymmetricMatVecProduct(1.0, a, b, 0.0, c, n);
            zolv_SymmetricMatRankOneUpdate(a, b, 1.0, n);
            zolv_PackTriangularMat(a, b, n);
            zolv_UnpackTriangularMat(a, b, n);
            zolv_SolveSquareSystem(a, b, n);
            zolv_CholeskyFacUnpack(a, n);
            zolv_CholeskyInvUnpack(a, n);
            zolv_CholeskyFacPack(a, n);
            zolv_CholeskyInvPack(a, n);
            for (const int flag : {0, 1}) {
                for (const int other : {0, 1}) {
                    zolv_TriangularMatVecProduct(a, b, n, flag, other);
                    zolv_SolveTriangularSystem(a, b, n, flag, other);
                    for (const std::int64_t m : {n, std::int64_t{2}, std::int64_t{0}}) {
                        zolv_ScaleTranspose(1.0, a, b, n, m, flag);
                        zolv_ScaleTransposeIP(1.0, a, m, n, flag);
                        zolv_MatrixVectorProduct(1.0, a, b, 0.0, c, n, m, flag);
                        zolv_MatrixVectorProduct(1.0, a, b, 0.0, c, m, n, flag);
                        zolv_MatrixMatrixProduct(1.0, a, b, 0.0, c, n, m, 2, flag, other);
                        zolv_MatrixMatrixProduct(1.0, a, b, 0.0, c, 2, m, n, flag, other);
                        zolv_MatMatTriangularProduct(1.0, a, b, 0.0, c, n, m, flag, other, flag);
                        zolv_MatMatTriangularProduct(1.0, a, b, 0.0, c, m, n, flag, other, other);
                        zolv_SymmetricMatMatProduct(1.0, a, b, 0.0, c, n, m, flag, other);
                        zolv_SymmetricMatMatProduct(1.0, a, b, 0.0, c, m, n, flag, other);
                    }
                }
            }
        }
    });
}

TEST(Silence, MemoryThatCannotBeHad) {
    if (zolv_test::under_sanitizers) GTEST_SKIP() << "an allocator of its own, which ends the program";
    expect_silence("2^60 bytes", [] {
        double a[1] = {1.0}, b[1] = {1.0};
        EXPECT_THROW(zolv_SolveSquareSystem(a, b, std::int64_t{1} << 57), std::bad_alloc);
        EXPECT_THROW(zolv_ScaleTransposeIP(2.0, a, std::int64_t{1} << 28, std::int64_t{1} << 29, 1),
                     std::bad_alloc);
    });
}

}  // namespace
