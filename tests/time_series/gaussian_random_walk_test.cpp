// tests/time_series/gaussian_random_walk_test.cpp: the closed-form ARIMA(0,1,0).
#include "time_series/gaussian_random_walk.hpp"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <limits>
#include <memory>

#include "support/bits.hpp"
#include "support/series.hpp"
#include "time_series/ljung_box.hpp"
#include "time_series/running_mean.hpp"
#include "zolv.h"

namespace {

using zolv::time_series::GaussianRandomWalk;
using zolv_test::generated_series;
using zolv_test::within_relative;

int length(const std::vector<double>& series) { return static_cast<int>(series.size()); }

TEST(RunningMean, CarriesWhatTheMeanCouldNotTakeUp) {
    const auto mean = [](const std::vector<double>& y) {
        return zolv::time_series::RunningMean(y.size(), [&](std::size_t i) { return y[i]; });
    };
    EXPECT_SAME_BITS(mean({2.5}), 2.5);
    EXPECT_SAME_BITS(mean({2.0, 4.0}), 3.0);
    EXPECT_SAME_BITS(mean({1.0, 2.0, 6.0}), 3.0);
    // By hand: the second value moves the mean from 1e16 by -(1e16 - 1) / 2 = -5e15 (to even), the third by
    // (1 - 5e15) / 3.
    EXPECT_SAME_BITS(mean({1e16, 1.0}), 1e16 + (1.0 - 1e16) / 2.0);
    const double second = 1e16 + (1.0 - 1e16) / 2.0;
    const double carried = (1.0 - 1e16) / 2.0 - (second - 1e16);
    EXPECT_SAME_BITS(mean({1e16, 1.0, 1.0}), second + (carried + (1.0 - second) / 3.0));
}

TEST(GaussianRandomWalk, BitsOfAnIndependentTranscription) {
    const zolv_test::reference_table table("arima_reports_bits_random_walk");
    ASSERT_GE(table.size(), 16u);
    for (std::size_t row = 0; row < table.size(); ++row) {
        SCOPED_TRACE(table.text(row, "series"));
        const std::vector<double> series = zolv_test::named_series(table.text(row, "series"));
        const bool drifting = table.number(row, "drifting") != 0.0;
        GaussianRandomWalk walk(series.data(), length(series), drifting);
        EXPECT_MISSING(walk.GetSigmaSquared());
        ASSERT_EQ(walk.Estimate(), 0);
        EXPECT_SAME_BITS(walk.Drift(), table.number(row, "drift"));
        EXPECT_SAME_BITS(walk.GetSigmaSquared(), table.number(row, "sigma2"));
        ASSERT_EQ(walk.GetMaxResidualCount(), length(series) - 1);
        EXPECT_SAME_BITS(walk.GetResidual()[0], table.number(row, "first_residual"));
        EXPECT_SAME_BITS(walk.GetResidual()[series.size() - 2], table.number(row, "last_residual"));

        const std::vector<double> want = zolv_test::number_list(table.text(row, "summary"));
        ArimaSummary summary;
        walk.GetModelSummary(&summary);
        const double got[] = {summary.DegreesOfFreedom,
                              summary.SumOfSquares,
                              summary.SigmaSquared,
                              summary.MeanSquare,
                              summary.Aicc,
                              summary.Aic,
                              summary.Bic};
        for (std::size_t i = 0; i < 7; ++i) EXPECT_SAME_BITS(got[i], want[i]) << "summary " << i;

        const std::vector<double> forecasts = zolv_test::number_list(table.text(row, "forecasts"));
        const std::vector<double> errors = zolv_test::number_list(table.text(row, "errors"));
        ASSERT_EQ(walk.MakeForecast(static_cast<int>(table.number(row, "origin")), 7), 0);
        ASSERT_EQ(walk.GetForecast().size(), 7u);
        ASSERT_EQ(walk.GetForecastStandardError().size(), 7u);
        for (std::size_t i = 0; i < 7; ++i) {
            EXPECT_SAME_BITS(walk.GetForecast()[i], forecasts[i]);
            EXPECT_SAME_BITS(walk.GetForecastStandardError()[i], errors[i]);
        }
    }
}

TEST(GaussianRandomWalk, ShortestSeries) {
    const double x[] = {1.0, 4.0, 6.0};
    GaussianRandomWalk two(x, 2, false);
    ASSERT_EQ(two.Estimate(), 0);
    EXPECT_EQ(two.GetMaxResidualCount(), 1);
    EXPECT_SAME_BITS(two.GetResidual()[0], 3.0);
    EXPECT_SAME_BITS(two.GetSigmaSquared(), 9.0);
    EXPECT_TRUE(two.GetEstimatedParameter().empty());
    EXPECT_EQ(two.IsIterativeFit(), 0);

    EXPECT_EQ(GaussianRandomWalk(x, 1, false).Estimate(), 30025);
    EXPECT_EQ(GaussianRandomWalk(x, 0, false).Estimate(), 30025);
    EXPECT_EQ(GaussianRandomWalk(x, -4, false).Estimate(), 30025);
    EXPECT_EQ(GaussianRandomWalk(x, 2, true).Estimate(), 30025);
    EXPECT_EQ(GaussianRandomWalk(x, 0, true).Estimate(), 30025);
    EXPECT_EQ(GaussianRandomWalk(nullptr, 0, true).Estimate(), 30025);

    GaussianRandomWalk three(x, 3, true);
    ASSERT_EQ(three.Estimate(), 0);
    EXPECT_EQ(three.GetEstimatedParameter(), std::vector<double>{2.5});
    EXPECT_SAME_BITS(three.GetResidual()[0], 0.5);
    EXPECT_SAME_BITS(three.GetResidual()[1], -0.5);
    EXPECT_SAME_BITS(three.GetSigmaSquared(), 0.25 * 2.0 / 1.0);
}

TEST(GaussianRandomWalk, FitIsTheObservationLessTheResidual) {
    const std::vector<double> series = generated_series(8, 20);
    GaussianRandomWalk walk(series.data(), 20, true);
    ASSERT_EQ(walk.Estimate(), 0);
    std::vector<double> fit(25, -1.0);
    walk.GetFit(25, fit.data());
    for (std::size_t i = 0; i < 19; ++i) EXPECT_SAME_BITS(fit[i], series[i + 1] - walk.GetResidual()[i]);
    for (std::size_t i = 19; i < 25; ++i) EXPECT_EQ(fit[i], -1.0);  // there are only 19
    std::vector<double> few(3, -1.0);
    walk.GetFit(2, few.data());
    EXPECT_SAME_BITS(few[1], fit[1]);
    EXPECT_EQ(few[2], -1.0);
    walk.GetFit(-1, nullptr);
    walk.GetFit(0, nullptr);
}

TEST(GaussianRandomWalk, Forecasts) {
    const std::vector<double> series = generated_series(9, 30);
    GaussianRandomWalk walk(series.data(), 30, false);
    ASSERT_EQ(walk.Estimate(), 0);
    EXPECT_EQ(walk.MakeForecast(0, 0), 0);  // what is stored at the start
    EXPECT_TRUE(walk.GetForecast().empty());
    EXPECT_TRUE(walk.GetForecastStandardError().empty());

    ASSERT_EQ(walk.MakeForecast(30, 4), 0);
    const double sigma2 = walk.GetSigmaSquared();
    for (std::size_t i = 0; i < 4; ++i) {
        EXPECT_SAME_BITS(walk.GetForecast()[i], series[29]);
        EXPECT_SAME_BITS(walk.GetForecastStandardError()[i], std::sqrt(static_cast<double>(i + 1) * sigma2));
    }
    const double* const before = walk.GetForecast().data();
    ASSERT_EQ(walk.MakeForecast(30, 4), 0);  // the same request is no work
    EXPECT_EQ(walk.GetForecast().data(), before);
    ASSERT_EQ(walk.MakeForecast(1, 2), 0);
    EXPECT_EQ(walk.GetForecast(), (std::vector<double>{series[0], series[0]}));
    EXPECT_EQ(walk.GetForecastStandardError().size(), 2u);
    ASSERT_EQ(walk.MakeForecast(7, 0), 0);
    EXPECT_TRUE(walk.GetForecast().empty());
    ASSERT_EQ(walk.MakeForecast(7, -3), 0);
    EXPECT_TRUE(walk.GetForecast().empty());
    EXPECT_TRUE(walk.GetForecastStandardError().empty());
}

TEST(GaussianRandomWalk, OriginsThatAreNoObservation) {
    // Exactly as long as the series: a read beyond either end is caught.
    const std::unique_ptr<double[]> series(new double[5]{1.0, 2.0, 4.0, 3.0, 5.0});
    for (const bool drifting : {false, true}) {
        GaussianRandomWalk walk(series.get(), 5, drifting);
        ASSERT_EQ(walk.Estimate(), 0);
        for (const int origin :
             {0, -1, 6, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()}) {
            ASSERT_EQ(walk.MakeForecast(origin, 3), 0);
            ASSERT_EQ(walk.GetForecast().size(), 3u);
            for (const double forecast : walk.GetForecast()) EXPECT_MISSING(forecast);
            EXPECT_EQ(walk.GetForecastStandardError().size(), 3u);
        }
        ASSERT_EQ(walk.MakeForecast(1, 1), 0);
        EXPECT_SAME_BITS(walk.GetForecast()[0], drifting ? 1.0 + walk.Drift() : 1.0);
        ASSERT_EQ(walk.MakeForecast(5, 1), 0);
        EXPECT_SAME_BITS(walk.GetForecast()[0], drifting ? 5.0 + walk.Drift() : 5.0);
    }
}

TEST(GaussianRandomWalk, FirstForecastFromNoObservation) {
    const double x[] = {1.0, 4.0, 6.0};
    GaussianRandomWalk walk(x, 3, false);
    ASSERT_EQ(walk.Estimate(), 0);
    ASSERT_EQ(walk.MakeForecast(0, 1), 0);
    ASSERT_EQ(walk.GetForecast().size(), 1u);
    EXPECT_MISSING(walk.GetForecast()[0]);
}

TEST(GaussianRandomWalk, Summary) {
    const std::vector<double> series = zolv_test::load_series("lake_huron");
    const int n = length(series);
    for (const bool drifting : {false, true}) {
        GaussianRandomWalk walk(series.data(), n, drifting);
        ASSERT_EQ(walk.Estimate(), 0);
        ArimaSummary summary;
        walk.GetModelSummary(&summary);
        const double s2 = walk.GetSigmaSquared(), x = n - 1, m = drifting ? 2.0 : 1.0;
        double squares = 0.0;
        for (int i = 0; i < n - 1; ++i) squares += walk.GetResidual()[i] * walk.GetResidual()[i];
        const double L = x * std::log(2 * std::acos(-1.0) * s2) + squares / s2;  // of independent normals
        EXPECT_EQ(summary.DegreesOfFreedom, x - m);
        EXPECT_SAME_BITS(summary.SigmaSquared, s2);
        EXPECT_SAME_BITS(summary.SumOfSquares, s2 * (x - m));
        EXPECT_SAME_BITS(summary.MeanSquare, s2 * (x - m) / x);
        // The divisors differ: without drift the mean square is over x, the degrees of freedom are x - 1.
        EXPECT_TRUE(within_relative(squares, drifting ? s2 * (x - 1) : s2 * x, 1e-13));
        EXPECT_TRUE(within_relative(summary.Aic, 2 * m + L, 1e-13));
        EXPECT_TRUE(within_relative(summary.Aicc, 2 * m * x / (x - 1 - m) + L, 1e-13));
        EXPECT_TRUE(within_relative(summary.Bic, m * std::log(x) + L, 1e-13));
    }
    // A series that never moves has no likelihood.
    const std::vector<double> flat(10, 3.0);
    GaussianRandomWalk still(flat.data(), 10, false);
    ASSERT_EQ(still.Estimate(), 0);
    EXPECT_SAME_BITS(still.GetSigmaSquared(), 0.0);
    ArimaSummary summary;
    still.GetModelSummary(&summary);
    EXPECT_MISSING(summary.Aic);
    EXPECT_MISSING(summary.Aicc);
    EXPECT_MISSING(summary.Bic);
    EXPECT_SAME_BITS(summary.SumOfSquares, 0.0);
}

TEST(GaussianRandomWalk, LjungBoxCountsTheDrift) {
    const std::vector<double> series = generated_series(21, 41);  // 40 residuals
    const int lags[] = {1, 12, 24, 36, 40, 48};
    for (const bool drifting : {false, true}) {
        GaussianRandomWalk walk(series.data(), 41, drifting);
        ASSERT_EQ(walk.Estimate(), 0);
        std::array<std::array<double, 3>, 6> got, want;
        for (auto* table : {&got, &want}) {
            for (auto& row : *table) row.fill(-5.0);
        }
        double* rows[6];
        for (std::size_t i = 0; i < 6; ++i) rows[i] = got[i].data();
        walk.LjungBoxTest(lags, 6, rows);
        for (std::size_t i = 0; i < 6; ++i) rows[i] = want[i].data();
        zolv::time_series::LjungBoxTable(walk.GetResidual(), 40, drifting ? 1 : 0, lags, 6, rows);
        for (std::size_t i = 0; i < 6; ++i) EXPECT_EQ(got[i], want[i]);
        EXPECT_EQ(got[0][1], drifting ? -5.0 : 1.0);  // no degree of freedom left at lag 1
        EXPECT_EQ(got[1][1], drifting ? 11.0 : 12.0);
        EXPECT_EQ(got[3][1], drifting ? 35.0 : 36.0);
        EXPECT_EQ(got[4][0], -5.0);
        EXPECT_EQ(got[5][2], -5.0);
    }
}

}  // namespace
