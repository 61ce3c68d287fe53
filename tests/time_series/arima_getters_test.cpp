// tests/time_series/arima_getters_test.cpp: what a handle answers, and what it leaves alone.
#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>
#include <memory>

#include "support/arima_model.hpp"
#include "support/bits.hpp"
#include "time_series/arima_handle.hpp"
#include "time_series/cm_cmnd_arima.hpp"
#include "time_series/forecast_normal_quantile.hpp"
#include "zolv.h"

namespace {

using zolv_test::arima_orders;
using zolv_test::fitted;
using zolv_test::generated_series;
using zolv_test::logs_of;
using zolv_test::within_relative;

constexpr double untouched = -77.5;
constexpr int least = std::numeric_limits<int>::min();

std::vector<double> airline() { return logs_of(zolv_test::load_series("airline_passengers")); }

// What `get(count, out)` writes into an array with room to spare behind the count.
using getter = std::function<void(int, double*)>;
std::vector<double> written(const getter& get, int count, std::size_t room) {
    const std::unique_ptr<double[]> exact(new double[room]);  // a write behind it is caught
    for (std::size_t i = 0; i < room; ++i) exact[i] = untouched;
    get(count, exact.get());
    return {exact.get(), exact.get() + room};
}

// The same values for every count, never more than `available`, nothing for 0 and below, nothing to null.
void expect_copies(const getter& get, int available) {
    const std::size_t room = static_cast<std::size_t>(available) + 5;
    const std::vector<double> all = written(get, available, room);
    for (int i = 0; i < available; ++i) EXPECT_NE(all[i], untouched);
    for (std::size_t i = static_cast<std::size_t>(available); i < room; ++i) EXPECT_EQ(all[i], untouched);
    for (const int count :
         {0, 1, available - 1, available + 1, available + 5, std::numeric_limits<int>::max()}) {
        const int expected = std::max(0, std::min(count, available));
        const std::vector<double> some = written(get, count, room);
        for (std::size_t i = 0; i < room; ++i) {
            EXPECT_SAME_BITS(some[i], static_cast<int>(i) < expected ? all[i] : untouched);
        }
    }
    for (const int count : {-1, least}) {
        for (const double value : written(get, count, room)) EXPECT_EQ(value, untouched);
    }
    get(3, nullptr);
    get(0, nullptr);
    get(-1, nullptr);
}

// ---- estimates, residuals, fitted values ---------------------------------------------------------------

TEST(Getters, Estimates) {
    const fitted fit(zolv_test::load_series("lake_huron"), {2, 0, 1}, true), walk(airline(), {0, 1, 0}),
        drifting(airline(), {0, 1, 0}, true);
    expect_copies([&](int n, double* out) { zolv_GetEstimatedParameter(fit, n, out); }, 4);
    expect_copies([&](int n, double* out) { zolv_GetEstimatedParameter(walk, n, out); }, 0);
    expect_copies([&](int n, double* out) { zolv_GetEstimatedParameter(drifting, n, out); }, 1);
    EXPECT_GT(zolv_GetSigmaSquared(fit), 0.0);
    EXPECT_GT(zolv_GetSigmaSquared(walk), 0.0);
    // The constant last, back-transformed: the table has it in the same row.
    double estimates[4], coefficient[5], error[5], t[5], p[5];
    zolv_GetEstimatedParameter(fit, 4, estimates);
    zolv_ParameterTable table{coefficient, error, t, p};
    zolv_GetParameterTable(fit, &table);
    for (int i = 0; i < 4; ++i) EXPECT_SAME_BITS(estimates[i], coefficient[i]);
}

TEST(Getters, ResidualsAndFit) {
    const fitted fit(airline(), {0, 1, 1, 0, 1, 1, 12}), walk(airline(), {0, 1, 0}, true);
    ASSERT_EQ(zolv_GetMaxResidualCount(fit), 131);
    ASSERT_EQ(zolv_GetMaxResidualCount(walk), 143);
    expect_copies([&](int n, double* out) { zolv_GetResidual(fit, n, out); }, 131);
    expect_copies([&](int n, double* out) { zolv_GetFit(fit, n, out); }, 131);
    expect_copies([&](int n, double* out) { zolv_GetResidual(walk, n, out); }, 143);
    expect_copies([&](int n, double* out) { zolv_GetFit(walk, n, out); }, 143);
    for (const fitted* model : {&fit, &walk}) {
        const int count = zolv_GetMaxResidualCount(*model);
        std::vector<double> residuals(count), values(count);
        zolv_GetResidual(*model, count, residuals.data());
        zolv_GetFit(*model, count, values.data());
        for (int i = 0; i < count; ++i) {
            EXPECT_SAME_BITS(values[i], model->series()[model->n() - count + i] - residuals[i]);
        }
    }
}

// ---- forecasts -------------------------------------------------------------------------------------------

TEST(Getters, ForecastsOfBothClasses) {
    const fitted fit(airline(), {0, 1, 1, 0, 1, 1, 12}), walk(airline(), {0, 1, 0}, true);
    for (const fitted* model : {&fit, &walk}) {
        for (const auto call : {zolv_GetForecast, zolv_GetForecastStandardError}) {
            for (const int count : {0, 1, 24, 150, 300}) {
                const std::vector<double> got =
                    written([&](int n, double* out) { EXPECT_EQ(call(*model, 144, n, out), 0); }, count,
                            std::size_t(count) + 3);
                for (int i = 0; i < count; ++i) EXPECT_TRUE(std::isfinite(got[i]));
                for (int i = count; i < count + 3; ++i) EXPECT_EQ(got[i], untouched);
            }
            for (const int count : {-1, least}) {
                for (const double v :
                     written([&](int n, double*out) { EXPECT_EQ(call(*model, 144, n, out), 0); }, count, 3)) {
                    EXPECT_EQ(v, untouched);
                }
            }
            EXPECT_EQ(call(*model, 144, 0, nullptr), 0);
            EXPECT_EQ(call(*model, 144, 5, nullptr), 0);
        }
    }
    // A later origin sees more of the series; going back gives the first answer again.
    double first[3], second[3], again[3];
    ASSERT_EQ(zolv_GetForecast(fit, 144, 3, first), 0);
    ASSERT_EQ(zolv_GetForecast(fit, 132, 3, second), 0);
    ASSERT_EQ(zolv_GetForecast(fit, 144, 3, again), 0);
    EXPECT_NE(first[0], second[0]);
    for (int i = 0; i < 3; ++i) EXPECT_SAME_BITS(first[i], again[i]);
}

TEST(Getters, Limits) {
    const fitted fit(airline(), {0, 1, 1, 0, 1, 1, 12}), walk(airline(), {0, 1, 0}, true);
    for (const fitted* model : {&fit, &walk}) {
        double f[24], se[24], lower[25], upper[25];
        lower[24] = upper[24] = untouched;
        ASSERT_EQ(zolv_GetForecast(*model, 144, 24, f), 0);
        ASSERT_EQ(zolv_GetForecastStandardError(*model, 144, 24, se), 0);
        for (const double confidence : {0.95, 0.5, 0.0, 1.0, -1.0, 2.0}) {
            const double z = zolv::time_series::forecast_normal_quantile((confidence + 1.0) * 0.5);
            ASSERT_EQ(zolv_GetForecastLimit(*model, confidence, 144, 24, lower, upper), 0);
            for (int i = 0; i < 24; ++i) {
                EXPECT_SAME_BITS(lower[i], f[i] - se[i] * z);
                EXPECT_SAME_BITS(upper[i], f[i] + se[i] * z);
            }
            EXPECT_EQ(lower[24], untouched);
            EXPECT_EQ(upper[24], untouched);
        }
        ASSERT_EQ(zolv_GetForecastLimit(*model, 1.0, 144, 24, lower, upper), 0);
        EXPECT_TRUE(within_relative(upper[0], se[0] * 1e35, 1e-15));
        ASSERT_EQ(zolv_GetForecastLimit(*model, -1.0, 144, 24, lower, upper), 0);
        EXPECT_TRUE(within_relative(upper[0], -se[0] * 1e35, 1e-15));
        ASSERT_EQ(zolv_GetForecastLimit(*model, std::nan(""), 144, 24, lower, upper), 0);
        for (int i = 0; i < 24; ++i) {
            EXPECT_MISSING(lower[i]);
            EXPECT_MISSING(upper[i]);
        }
        ASSERT_EQ(zolv_GetForecastLimit(*model, 0.95, 144, 24, nullptr, upper), 0);
        EXPECT_GT(upper[0], f[0]);
        ASSERT_EQ(zolv_GetForecastLimit(*model, 0.95, 144, 24, lower, nullptr), 0);
        EXPECT_LT(lower[0], f[0]);
        lower[0] = upper[0] = untouched;
        for (const int count : {0, -1, least}) {
            ASSERT_EQ(zolv_GetForecastLimit(*model, 0.95, 144, count, lower, upper), 0);
            EXPECT_EQ(lower[0], untouched);
            EXPECT_EQ(upper[0], untouched);
            ASSERT_EQ(zolv_GetForecastLimit(*model, 0.95, 144, count, nullptr, nullptr), 0);
        }
    }
}

TEST(Getters, ForecastOfAnExponentialSmoother) {
    // (0,1,1): one level for all leads, and a variance that grows by (1 - theta)^2 sigma^2 per lead.
    const fitted fit(zolv_test::load_series("nile"), {0, 1, 1});
    double theta, f[6], se[6];
    zolv_GetEstimatedParameter(fit, 1, &theta);
    ASSERT_EQ(zolv_GetForecast(fit, 100, 6, f), 0);
    ASSERT_EQ(zolv_GetForecastStandardError(fit, 100, 6, se), 0);
    const double s2 = zolv_GetSigmaSquared(fit);
    for (int i = 0; i < 6; ++i) {
        EXPECT_SAME_BITS(f[i], f[0]);
        EXPECT_TRUE(within_relative(se[i] * se[i], s2 * (1 + i * (1 - theta) * (1 - theta)), 1e-12));
    }
}

TEST(Getters, RefusedForecasts) {
    const fitted fit(airline(), {0, 1, 1, 0, 1, 1, 12});
    double out[3], lower[3], upper[3];
    const auto reset = [&] {
        for (int i = 0; i < 3; ++i) out[i] = lower[i] = upper[i] = untouched;
    };
    for (const int origin : {14, 1, 0, -1, least, 145, std::numeric_limits<int>::max()}) {  // 15 is the first
        reset();
        ASSERT_EQ(zolv_GetForecast(fit, 144, 3, out), 0);  // so that something stale could be there
        reset();
        EXPECT_EQ(zolv_GetForecast(fit, origin, 3, out), 30027);
        EXPECT_EQ(out[0], untouched);
        // The same once more is no work, and answers 0; there is nothing to show.
        EXPECT_EQ(zolv_GetForecast(fit, origin, 3, out), 0);
        for (const double v : out) EXPECT_MISSING(v);
        reset();
        EXPECT_EQ(zolv_GetForecastStandardError(fit, origin, 3, out), 0);
        for (const double v : out) EXPECT_MISSING(v);
        EXPECT_EQ(zolv_GetForecastLimit(fit, 0.95, origin, 3, lower, upper), 0);
        for (int i = 0; i < 3; ++i) {
            EXPECT_MISSING(lower[i]);
            EXPECT_MISSING(upper[i]);
        }
    }
    reset();
    EXPECT_EQ(zolv_GetForecastStandardError(fit, 10, 3, out), 30027);
    EXPECT_EQ(zolv_GetForecastLimit(fit, 0.95, 11, 3, lower, upper), 30027);
    EXPECT_EQ(zolv_GetForecastLimit(fit, 0.95, 12, -3, lower, upper), 30027);
    EXPECT_EQ(out[0], untouched);
    EXPECT_EQ(lower[0], untouched);
    EXPECT_EQ(upper[0], untouched);
    EXPECT_EQ(zolv_GetForecast(fit, 15, 3, out), 0);  // and the handle is as good as before
    EXPECT_TRUE(std::isfinite(out[2]));
}

TEST(Getters, RandomWalkForecastsFromOriginsThatAreNoObservation) {
    const fitted walk(airline(), {0, 1, 0}, true);
    for (const int origin : {0, -1, least, 145, std::numeric_limits<int>::max()}) {
        double out[2] = {untouched, untouched}, lower[2], upper[2];
        EXPECT_EQ(zolv_GetForecast(walk, origin, 2, out), 0);
        EXPECT_EQ(zolv_GetForecastLimit(walk, 0.95, origin, 2, lower, upper), 0);
        for (int i = 0; i < 2; ++i) {
            EXPECT_MISSING(out[i]);
            EXPECT_MISSING(lower[i]);
            EXPECT_MISSING(upper[i]);
        }
    }
    double none = untouched;
    EXPECT_EQ(zolv_GetForecast(walk, 0, 0, &none), 0);
    EXPECT_EQ(none, untouched);
}

// ---- reports ---------------------------------------------------------------------------------------------

TEST(Getters, Reports) {
    const fitted fit(zolv_test::load_series("lake_huron"), {2, 0, 0}, true), walk(airline(), {0, 1, 0}, true);
    double c[5], se[5], t[5], p[5], r[4];
    const auto reset = [&] {
        for (auto* column : {c, se, t, p}) std::fill_n(column, 5, untouched);
        std::fill_n(r, 4, untouched);
    };
    reset();
    zolv_ParameterTable table{c, se, t, p};
    zolv_GetParameterTable(walk, &table);
    zolv_GetParameterCorrelationMatrix(walk, r);
    for (const auto* column : {c, se, t, p}) EXPECT_EQ(column[0], untouched);
    EXPECT_EQ(r[0], untouched);

    zolv_GetParameterTable(fit, &table);
    zolv_GetParameterCorrelationMatrix(fit, r);
    for (const auto* column : {c, se, t, p}) {
        for (int i = 0; i < 3; ++i) EXPECT_NE(column[i], untouched);
        EXPECT_EQ(column[4], untouched);
    }
    EXPECT_NE(c[3], untouched);  // d + D = 0: the mean
    EXPECT_EQ(t[3], untouched);
    EXPECT_NEAR(c[3], 579.05, 0.01);
    EXPECT_LT(r[0], -0.7);
    EXPECT_NE(r[2], untouched);
    EXPECT_EQ(r[3], untouched);
    zolv_GetParameterTable(fit, nullptr);
    zolv_ParameterTable nothing{nullptr, nullptr, nullptr, nullptr};
    zolv_GetParameterTable(fit, &nothing);
    zolv_GetParameterCorrelationMatrix(fit, nullptr);
    zolv_GetModelSummary(fit, nullptr);

    ArimaSummary summary;
    for (const fitted* model : {&fit, &walk}) {
        zolv_GetModelSummary(*model, &summary);
        EXPECT_SAME_BITS(summary.SigmaSquared, zolv_GetSigmaSquared(*model));
        EXPECT_GT(summary.Aicc, summary.Aic);
        EXPECT_GT(summary.Bic, summary.Aic);
    }
    EXPECT_EQ(summary.DegreesOfFreedom, 141.0);
}

TEST(Getters, LjungBox) {
    // 40 residuals: rows for 12, 24 and 36.
    std::vector<double> series = generated_series(5, 40);
    const fitted fit(series, {1, 0, 0}), walk(generated_series(5, 41), {0, 1, 0}, true);
    for (const fitted* model : {&fit, &walk}) {
        double values[4][3];
        double* rows[4];
        for (int i = 0; i < 4; ++i) {
            rows[i] = values[i];
            for (double& v : values[i]) v = untouched;
        }
        zolv_QorLjungBoxTest(*model, rows);
        for (int i = 0; i < 3; ++i) {
            EXPECT_EQ(values[i][1], 12 * (i + 1) - 1);
            EXPECT_GT(values[i][0], 0.0);
            EXPECT_GE(values[i][2], 0.0);
            EXPECT_LE(values[i][2], 1.0);
        }
        for (const double v : values[3]) EXPECT_EQ(v, untouched);
        rows[1] = nullptr;
        zolv_QorLjungBoxTest(*model, rows);
        zolv_QorLjungBoxTest(*model, nullptr);
    }
}

// ---- backcasts and history -------------------------------------------------------------------------------

TEST(Getters, BackcastsAreCountedFromTheStart) {
    const fitted fit(zolv_test::load_series("lake_huron"), {1, 0, 1}, true);
    const int most = zolv_GetMaxBackcastCount(fit);
    std::vector<double> all(105, untouched), noise(105, untouched);
    zolv_GetTimeSeriesBackcast(fit, 100, all.data());
    zolv_GetGaussianNoiseBackcast(fit, 100, noise.data());
    for (int i = 100; i < 105; ++i) {
        EXPECT_EQ(all[i], untouched);
        EXPECT_EQ(noise[i], untouched);
    }
    double mean = 0.0;
    for (const double x : fit.series()) mean += x;
    mean /= 98;
    // Before the first backcast stands the estimated mean of the process.
    double c[4], se[4], t[4], p[4];
    zolv_ParameterTable table{c, se, t, p};
    zolv_GetParameterTable(fit, &table);
    EXPECT_TRUE(within_relative(all[99 - most], c[3], 1e-13));
    EXPECT_EQ(noise[99 - most], 0.0);
    EXPECT_GT(std::abs(all[99] - mean), 0.01);
    for (const int count : {1, 2, 7, 100, 101, 1000}) {
        std::vector<double> some(105, untouched), shocks(105, untouched);
        const int copied = std::min(count, 100);
        const int small = zolv_GetTimeSeriesBackcast(fit, count, some.data());
        zolv_GetGaussianNoiseBackcast(fit, count, shocks.data());
        for (int i = 0; i < copied; ++i) {
            EXPECT_SAME_BITS(some[i], all[100 - copied + i]);
            EXPECT_SAME_BITS(shocks[i], noise[100 - copied + i]);
        }
        for (std::size_t i = static_cast<std::size_t>(copied); i < 105; ++i) {
            EXPECT_EQ(some[i], untouched);
            EXPECT_EQ(shocks[i], untouched);
        }
        EXPECT_EQ(small, std::abs(some[0] - mean) < 0.001 ? 1 : 0) << count;
    }
    for (const int count : {0, -1, least}) {
        double one = untouched;
        EXPECT_EQ(zolv_GetTimeSeriesBackcast(fit, count, &one), 0);
        zolv_GetGaussianNoiseBackcast(fit, count, &one);
        EXPECT_EQ(one, untouched);
    }
    EXPECT_EQ(zolv_GetTimeSeriesBackcast(fit, 5, nullptr), 0);
    zolv_GetGaussianNoiseBackcast(fit, 5, nullptr);
    // Forecasts put the raw series behind the margin, and leave what is in front of it.
    double f[3];
    ASSERT_EQ(zolv_GetForecast(fit, 98, 3, f), 0);
    std::vector<double> after(100);
    zolv_GetTimeSeriesBackcast(fit, 100, after.data());
    for (int i = 0; i < 100; ++i) EXPECT_SAME_BITS(after[i], all[i]);

    const fitted walk(airline(), {0, 1, 0});
    double one = untouched;
    EXPECT_EQ(zolv_GetMaxBackcastCount(walk), 0);
    EXPECT_EQ(zolv_GetTimeSeriesBackcast(walk, 1, &one), 0);
    zolv_GetGaussianNoiseBackcast(walk, 1, &one);
    EXPECT_EQ(one, untouched);
}

TEST(Getters, BackcastsWithoutAConstantCarryNoMean) {
    std::vector<double> x = zolv_test::load_series("lake_huron");
    for (double& v : x) v -= 579.0;
    const fitted fit(x, {1, 0, 1});
    const int most = zolv_GetMaxBackcastCount(fit);
    ASSERT_GT(most, 1);
    ASSERT_LT(most, 100);
    double all[100], last = 0.0;
    EXPECT_EQ(zolv_GetTimeSeriesBackcast(fit, 100, all), 1);  // the oldest has died away
    EXPECT_SAME_BITS(all[0], 0.0);
    EXPECT_SAME_BITS(all[99 - most], 0.0);
    EXPECT_EQ(zolv_GetTimeSeriesBackcast(fit, most, all), std::abs(all[0]) < 0.001 ? 1 : 0);
    EXPECT_NE(all[0], 0.0);
    EXPECT_EQ(zolv_GetTimeSeriesBackcast(fit, 1, &last), 0);  // the nearest has not
    EXPECT_GT(std::abs(last), 0.001);
}

TEST(Getters, History) {
    const fitted fit(airline(), {0, 1, 1, 0, 1, 1, 12});
    std::uint32_t row_length = 99;
    const std::uint32_t rows = zolv_GetIterationHistoryCount(fit, &row_length);
    EXPECT_EQ(rows, 8u);
    EXPECT_EQ(row_length, 3u);
    EXPECT_EQ(zolv_GetIterationHistoryCount(fit, nullptr), 8u);
    std::vector<std::vector<double>> values(rows, std::vector<double>(row_length + 1, untouched));
    std::vector<double*> pointers;
    for (auto& row : values) pointers.push_back(row.data());
    zolv_GetIterationHistory(fit, pointers.data());
    for (std::uint32_t i = 0; i < rows; ++i) {
        EXPECT_NE(values[i][2], untouched);
        EXPECT_EQ(values[i][3], untouched);
        if (i > 0) {
            EXPECT_LE(values[i][0], values[i - 1][0]);  // the sum of squares never rises
        }
    }
    EXPECT_EQ(values[0][1], 0.1);
    double estimates[2];
    zolv_GetEstimatedParameter(fit, 2, estimates);
    EXPECT_SAME_BITS(values[7][1], estimates[0]);
    EXPECT_SAME_BITS(values[7][2], estimates[1]);
    pointers[3] = nullptr;
    zolv_GetIterationHistory(fit, pointers.data());
    zolv_GetIterationHistory(fit, nullptr);

    const fitted walk(airline(), {0, 1, 0});
    EXPECT_EQ(zolv_GetIterationHistoryCount(walk, &row_length), 0u);
    EXPECT_EQ(row_length, 0u);
    double one = untouched;
    double* row = &one;
    zolv_GetIterationHistory(walk, &row);
    EXPECT_EQ(one, untouched);
}

// A fit that nobody has asked to keep its history.
TEST(Getters, NoHistory) {
    const std::vector<double> x = airline();
    zolv::time_series::ArimaOrders orders;
    orders.q = 1;
    orders.d = 1;
    auto* const fit =
        new vek::time_series::CmCmndArima(x.data(), static_cast<int>(x.size()), orders, false, nullptr);
    EXPECT_LT(fit->Estimate(), 30000);
    zolv_ArimaHandle handle = zolv::time_series::HandleOf(fit);
    std::uint32_t row_length = 99;
    EXPECT_EQ(zolv_GetIterationHistoryCount(handle, &row_length), 0u);
    EXPECT_EQ(row_length, 0u);
    EXPECT_EQ(zolv_GetIterationHistoryCount(handle, nullptr), 0u);
    double one = untouched;
    double* row = &one;
    zolv_GetIterationHistory(handle, &row);
    EXPECT_EQ(one, untouched);
    zolv_DeleteArimaModelPtr(&handle);
}

// ---- null handles ----------------------------------------------------------------------------------------

TEST(Getters, NullHandle) {
    const zolv_ArimaHandle none = nullptr;
    double a = untouched, b = untouched;
    double* row = &a;
    ArimaSummary summary;
    summary.Aic = untouched;
    zolv_ParameterTable table{&a, &a, &a, &a};
    std::uint32_t row_length = 5;
    zolv_GetEstimatedParameter(none, 1, &a);
    EXPECT_MISSING(zolv_GetSigmaSquared(none));
    EXPECT_EQ(zolv_GetForecast(none, 10, 1, &a), 0);
    EXPECT_EQ(zolv_GetForecastStandardError(none, 10, 1, &a), 0);
    EXPECT_EQ(zolv_GetForecastLimit(none, 0.95, 10, 1, &a, &b), 0);
    EXPECT_EQ(zolv_GetMaxResidualCount(none), 0);
    zolv_GetResidual(none, 1, &a);
    zolv_GetFit(none, 1, &a);
    zolv_GetParameterTable(none, &table);
    zolv_GetParameterCorrelationMatrix(none, &a);
    zolv_GetModelSummary(none, &summary);
    zolv_QorLjungBoxTest(none, &row);
    EXPECT_EQ(zolv_GetMaxBackcastCount(none), 0);
    EXPECT_EQ(zolv_GetTimeSeriesBackcast(none, 1, &a), 0);
    zolv_GetGaussianNoiseBackcast(none, 1, &a);
    EXPECT_EQ(zolv_GetIterationHistoryCount(none, &row_length), 0u);
    EXPECT_EQ(row_length, 0u);
    EXPECT_EQ(zolv_GetIterationHistoryCount(none, nullptr), 0u);
    zolv_GetIterationHistory(none, &row);
    EXPECT_EQ(a, untouched);
    EXPECT_EQ(b, untouched);
    EXPECT_EQ(summary.Aic, untouched);
}

}  // namespace
