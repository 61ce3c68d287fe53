// The augmented Dickey-Fuller test as callers see it.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <limits>
#include <random>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "support/bits.hpp"
#include "support/reference_table.hpp"
#include "zolv.h"

namespace {

using zolv_test::load_series;
using zolv_test::reference_table;

constexpr double untouched = -987.25;
constexpr int untouched_count = -77;
constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr int as_given = 3;  // any lag method outside 0 to 2

zolv_UnitRootTest Marked() {
    zolv_UnitRootTest test;
    test.statistic = test.pValue = test.critical1 = test.critical5 = test.critical10 = untouched;
    test.sampleSize = test.lagCount = untouched_count;
    return test;
}

zolv_UnitRootTest Adf(const std::vector<double>& series, int lags, int method, int regression,
                      double significance = 0.05) {
    zolv_UnitRootTest test = Marked();
    EXPECT_EQ(zolv_AugmentedDickeyFuller(series.data(), static_cast<int>(series.size()), lags, method,
                                         regression, significance, &test),
              0);
    return test;
}

void ExpectUndefined(const zolv_UnitRootTest& test) {
    EXPECT_MISSING(test.statistic);
    EXPECT_SAME_BITS(test.pValue, untouched);
    EXPECT_SAME_BITS(test.critical1, untouched);
    EXPECT_SAME_BITS(test.critical5, untouched);
    EXPECT_SAME_BITS(test.critical10, untouched);
    EXPECT_EQ(test.sampleSize, untouched_count);
    EXPECT_EQ(test.lagCount, untouched_count);
}

// The statistic is NaN, but the regression was there: its counts are told.
void ExpectNoStatistic(const zolv_UnitRootTest& test) {
    EXPECT_MISSING(test.statistic);
    EXPECT_SAME_BITS(test.pValue, untouched);
    EXPECT_SAME_BITS(test.critical1, untouched);
    EXPECT_SAME_BITS(test.critical5, untouched);
    EXPECT_SAME_BITS(test.critical10, untouched);
    EXPECT_GT(test.sampleSize, 0);
    EXPECT_GE(test.lagCount, 0);
}

bool SameRecord(const zolv_UnitRootTest& a, const zolv_UnitRootTest& b) {
    using zolv_test::bits;
    return bits(a.statistic) == bits(b.statistic) && bits(a.pValue) == bits(b.pValue) &&
           bits(a.critical1) == bits(b.critical1) && bits(a.critical5) == bits(b.critical5) &&
           bits(a.critical10) == bits(b.critical10) && a.sampleSize == b.sampleSize &&
           a.lagCount == b.lagCount;
}

std::vector<double> RandomWalk(int n, unsigned seed) {
    std::mt19937 generator(seed);
    std::vector<double> series(n);
    double level = 0.0;
    for (double& x : series) {
        double sum = -6.0;
        for (int i = 0; i < 12; ++i) sum += generator() / 4294967296.0;
        x = level += sum;
    }
    return series;
}

}  // namespace

TEST(AugmentedDickeyFuller, AgreesWithStatsmodels) {
    const reference_table table("adf_statsmodels");
    ASSERT_GT(table.size(), 500u);
    double worst = 0.0, worst_peer = 0.0, worst_p = 0.0;
    for (std::size_t row = 0; row < table.size(); ++row) {
        SCOPED_TRACE("row " + std::to_string(row) + ", " + table.text(row, "series"));
        const auto got = Adf(
            load_series(table.text(row, "series")), static_cast<int>(table.number(row, "lags")),
            static_cast<int>(table.number(row, "method")), static_cast<int>(table.number(row, "regression")));
        EXPECT_EQ(got.lagCount, static_cast<int>(table.number(row, "lag")));
        EXPECT_EQ(got.sampleSize, static_cast<int>(table.number(row, "observations")));
        const double peer = table.number(row, "statistic"), exact = table.number(row, "exact");
        EXPECT_NEAR(got.statistic, peer, 1e-9);
        worst_peer = std::max(worst_peer, std::fabs(got.statistic - peer));
        worst = std::max(worst, std::fabs(got.statistic - exact) / std::fabs(exact));
        EXPECT_NEAR(got.pValue, table.number(row, "p"), 1e-9);
        worst_p = std::max(worst_p, std::fabs(got.pValue - table.number(row, "p")));
        EXPECT_NEAR(got.critical1, table.number(row, "critical1"), 1e-12);
        EXPECT_NEAR(got.critical5, table.number(row, "critical5"), 1e-12);
        EXPECT_NEAR(got.critical10, table.number(row, "critical10"), 1e-12);
    }
    std::printf("worst: statistic %.3g from the other program, %.3g relative from 60 digits; p-value %.3g\n",
                worst_peer, worst, worst_p);
    EXPECT_LT(worst, 1e-11);
}

// unit_root_bits.py is a second writing with plain loops for the dot products.
TEST(AugmentedDickeyFuller, AgreesWithASecondWriting) {
    const reference_table table("unit_root_bits_test");
    ASSERT_GT(table.size(), 500u);
    double worst = 0.0;
    int compared = 0;
    for (std::size_t row = 0; row < table.size(); ++row) {
        SCOPED_TRACE("row " + std::to_string(row));
        std::vector<double> series;
        if (!table.text(row, "series").empty()) {
            series = load_series(table.text(row, "series"));
        } else {
            std::istringstream cells(table.text(row, "values"));
            for (double value; cells >> value;) series.push_back(value);
        }
        const auto got =
            Adf(series, static_cast<int>(table.number(row, "lags")),
                static_cast<int>(table.number(row, "method")),
                static_cast<int>(table.number(row, "regression")), table.number(row, "significance"));
        EXPECT_EQ(got.sampleSize, static_cast<int>(table.number(row, "size")));
        EXPECT_EQ(got.lagCount, static_cast<int>(table.number(row, "lag_count")));
        if (table.number(row, "stands") == 0.0) continue;
        ++compared;
        const double want = table.number(row, "statistic");
        worst = std::max(worst, std::fabs(got.statistic - want) / std::fabs(want));
        EXPECT_TRUE(zolv_test::within_relative(got.statistic, want, 1e-12));
    }
    std::printf("worst relative difference of %d statistics: %.3g\n", compared, worst);
    EXPECT_GE(compared, 500);
}

// adf_t_ratio.py fits every candidate separately and takes the quantile of t.
TEST(AugmentedDickeyFuller, BackwardEliminationAgreesWithSeparateFits) {
    const reference_table table("adf_t_ratio");
    ASSERT_GT(table.size(), 600u);
    int differs_from_peer = 0;
    for (std::size_t row = 0; row < table.size(); ++row) {
        auto series = load_series(table.text(row, "series"));
        series.resize(static_cast<std::size_t>(table.number(row, "count")));
        const int lag = static_cast<int>(table.number(row, "lag"));
        const auto got =
            Adf(series, static_cast<int>(table.number(row, "lags")), 2,
                static_cast<int>(table.number(row, "regression")), table.number(row, "significance"));
        EXPECT_EQ(got.lagCount, lag) << "row " << row << ", " << table.text(row, "series");
        EXPECT_EQ(got.sampleSize, static_cast<int>(series.size()) - 1 - lag);
        if (table.number(row, "significance") == 0.1 && lag != table.number(row, "peer")) ++differs_from_peer;
    }
    EXPECT_GE(differs_from_peer, 10);  // 1.645 for every sample is another rule, and the table shows it
}

TEST(AugmentedDickeyFuller, ChosenLagIsEstimatedOnAllItsRows) {
    const auto series = load_series("lynx");
    for (int method = 0; method < 3; ++method) {
        for (int regression = 0; regression < 4; ++regression) {
            const auto chosen = Adf(series, -1, method, regression);
            EXPECT_EQ(chosen.sampleSize, static_cast<int>(series.size()) - 1 - chosen.lagCount);
            EXPECT_TRUE(SameRecord(chosen, Adf(series, chosen.lagCount, as_given, regression)));
        }
    }
}

TEST(AugmentedDickeyFuller, DefaultLags) {
    const struct {
        int n, lags;
    } cases[] = {{100, 12}, {50, 10}, {99, 11}, {200, 14}, {255, 15}, {1600, 24}, {25, 8}};
    for (const auto& c : cases) {
        const auto walk = RandomWalk(c.n, 5);
        for (const int request : {-1, -2, std::numeric_limits<int>::min()}) {
            const auto got = Adf(walk, request, as_given, 0);
            EXPECT_EQ(got.lagCount, c.lags) << c.n;
            EXPECT_EQ(got.sampleSize, c.n - 1 - c.lags);
            EXPECT_TRUE(SameRecord(got, Adf(walk, c.lags, as_given, 0)));
        }
        for (int method = 0; method < 3; ++method) {
            EXPECT_TRUE(SameRecord(Adf(walk, -1, method, 1), Adf(walk, c.lags, method, 1)));
        }
    }
}

TEST(AugmentedDickeyFuller, AnyOtherMethodTakesTheLagsAsGiven) {
    const auto series = load_series("nile");
    const auto want = Adf(series, 4, 3, 1);
    EXPECT_EQ(want.lagCount, 4);
    for (const int method : {-1, 4, 100, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()}) {
        EXPECT_TRUE(SameRecord(Adf(series, 4, method, 1), want));
    }
}

TEST(AugmentedDickeyFuller, ZeroLagsLeaveNothingToSelect) {
    const auto series = load_series("lake_huron");
    for (int regression = 0; regression < 4; ++regression) {
        const auto want = Adf(series, 0, as_given, regression);
        EXPECT_EQ(want.lagCount, 0);
        EXPECT_EQ(want.sampleSize, static_cast<int>(series.size()) - 1);
        for (int method = 0; method < 3; ++method) {
            EXPECT_TRUE(SameRecord(Adf(series, 0, method, regression), want));
        }
    }
}

TEST(AugmentedDickeyFuller, SignificanceOutsideTheUnitIntervalIsFivePercent) {
    for (const char* name : {"nile", "lynx", "lake_huron", "uk_gas"}) {
        const auto series = load_series(name);
        const auto want = Adf(series, -1, 2, 0, 0.05);
        for (const double level : {0.0, -0.0, 1.0, 1.5, -0.1, infinity, -infinity, std::nan("")}) {
            EXPECT_TRUE(SameRecord(Adf(series, -1, 2, 0, level), want));
        }
    }
    // And just inside it is itself: everything is significant at one, nothing at zero.
    const auto series = load_series("nile");
    EXPECT_EQ(Adf(series, 7, 2, 0, std::nextafter(1.0, 0.0)).lagCount, 7);
    EXPECT_EQ(Adf(series, 7, 2, 0, 5e-324).lagCount, 0);
}

// By hand: x = 0, 1, 3, 2, 4, no terms, no lags. Sum of squares of the level 0, 1, 3, 2 is 14, of level times
// difference (1, 2, -1, 2) it is 0 + 2 - 3 + 4 = 3, of the differences 10. b = 3/14, RSS = 10 - 9/14 = 131/14
// on 3 degrees of freedom; t = (3/14) / sqrt(131/(42 * 14)).
TEST(AugmentedDickeyFuller, SmallRegressionByHand) {
    const auto got = Adf({0.0, 1.0, 3.0, 2.0, 4.0}, 0, as_given, 3);
    EXPECT_TRUE(zolv_test::within_ulps(got.statistic, 3.0 / 14.0 / std::sqrt(131.0 / 588.0), 8));
    EXPECT_EQ(got.sampleSize, 4);
    EXPECT_EQ(got.lagCount, 0);
}

TEST(AugmentedDickeyFuller, ShiftAndScaleOfTheSeries) {
    const auto series = load_series("bj_series_c");
    for (int regression = 0; regression < 4; ++regression) {
        const double want = Adf(series, 3, as_given, regression).statistic;
        auto other = series;
        for (double& x : other) x *= 1024.0;
        EXPECT_TRUE(zolv_test::within_relative(Adf(other, 3, as_given, regression).statistic, want, 1e-12));
        if (regression == 3) continue;  // without a constant the origin matters
        for (double& x : other) x += 4096.0;
        EXPECT_TRUE(zolv_test::within_relative(Adf(other, 3, as_given, regression).statistic, want, 1e-10));
    }
}

// A linear trend in the series is what types 1 and 2 take out, a quadratic one type 2 alone.
TEST(AugmentedDickeyFuller, TrendsAreTakenOut) {
    const auto walk = RandomWalk(80, 11);
    auto linear = walk, quadratic = walk;
    for (int i = 0; i < 80; ++i) {
        linear[i] += 0.75 * i;
        quadratic[i] += 0.75 * i + 0.125 * i * i;
    }
    EXPECT_TRUE(zolv_test::within_relative(Adf(linear, 2, as_given, 1).statistic,
                                           Adf(walk, 2, as_given, 1).statistic, 1e-10));
    EXPECT_TRUE(zolv_test::within_relative(Adf(quadratic, 2, as_given, 2).statistic,
                                           Adf(walk, 2, as_given, 2).statistic, 1e-10));
    EXPECT_GT(std::fabs(Adf(quadratic, 2, as_given, 1).statistic - Adf(walk, 2, as_given, 1).statistic), 0.1);
}

TEST(AugmentedDickeyFuller, ConstantSeries) {
    for (const double value : {5.0, 0.1, -3.0, 1e10}) {
        const std::vector<double> series(30, value);
        for (int regression = 0; regression < 4; ++regression) {
            for (int method = 0; method < 4; ++method) ExpectNoStatistic(Adf(series, 2, method, regression));
        }
    }
}

// All columns vanish: nothing is retained.
TEST(AugmentedDickeyFuller, SeriesOfZeros) {
    const std::vector<double> zeros(30, 0.0);
    for (int method = 0; method < 4; ++method) ExpectUndefined(Adf(zeros, 2, method, 3));
    // With a constant column that one is retained, and the level, dropped, has no ratio.
    for (int regression = 0; regression < 3; ++regression) {
        for (int method = 0; method < 4; ++method) ExpectNoStatistic(Adf(zeros, 2, method, regression));
    }
}

// The limit of 1e-12 is absolute: the same series in another unit loses its columns.
TEST(AugmentedDickeyFuller, TinyUnitsAreDependentColumns) {
    auto series = RandomWalk(40, 3);
    EXPECT_TRUE(std::isfinite(Adf(series, 1, as_given, 3).statistic));
    for (double& x : series) x *= 1e-15;
    ExpectUndefined(Adf(series, 1, as_given, 3));
}

TEST(AugmentedDickeyFuller, StraightLineDropsItsLagsAndItsTrend) {
    std::vector<double> line(24);
    for (int i = 0; i < 24; ++i) line[i] = 3.0 + 2.0 * i;
    // Constant differences: every lag depends on the constant.
    const auto got = Adf(line, 4, as_given, 0);
    EXPECT_EQ(got.lagCount, 0);
    EXPECT_EQ(got.sampleSize, 23);
    // Without a constant the first lag is one; the response is it, so that the others depend on it.
    EXPECT_EQ(Adf(line, 4, as_given, 3).lagCount, 1);
    EXPECT_EQ(Adf(line, 4, as_given, 3).sampleSize, 22);
}

// The level is constant on the rows of the longest regression, so the constant column depends on it and is
// dropped. Minimum AIC and BIC take out both lags; the last column in is then the level, column 0, and
// 0 - 2 + 1 = -1 asks for the default: 12 (24 / 100)^(1/4) = 8. The backward elimination ends at 0.
TEST(AugmentedDickeyFuller, NegativeSelectedLagIsTheDefault) {
    std::vector<double> series(24, 50.0);
    series[0] = 48.0;
    series[1] = 53.0;
    series[23] = 57.0;
    const auto by_default = Adf(series, -1, as_given, 0);
    EXPECT_EQ(by_default.lagCount, 8);
    EXPECT_EQ(by_default.sampleSize, 15);
    EXPECT_TRUE(SameRecord(Adf(series, 2, 0, 0), by_default));
    EXPECT_TRUE(SameRecord(Adf(series, 2, 1, 0), by_default));
    EXPECT_TRUE(SameRecord(Adf(series, 2, 2, 0), Adf(series, 0, as_given, 0)));
    // With 14 observations the default, 7, has more regressors than rows: there is no test.
    std::vector<double> fewer(14, 50.0);
    fewer[0] = 48.0;
    fewer[1] = 53.0;
    fewer[13] = 57.0;
    EXPECT_TRUE(std::isfinite(Adf(fewer, 2, as_given, 0).statistic));
    ExpectUndefined(Adf(fewer, 2, 0, 0));
    ExpectUndefined(Adf(fewer, 2, 1, 0));
}

TEST(AugmentedDickeyFuller, TooFewObservations) {
    const std::vector<double> series = {1.0, 3.0};
    zolv_UnitRootTest test = Marked();
    for (const int count : {1, 0, -1, std::numeric_limits<int>::min()}) {
        for (int method = 0; method < 4; ++method) {
            for (const int lags : {-1, 0, 1}) {
                EXPECT_EQ(zolv_AugmentedDickeyFuller(series.data(), count, lags, method, 0, 0.05, &test), 0);
                ExpectUndefined(test);
                test = Marked();
            }
        }
    }
    // Two observations: one row, one column without terms, no degree of freedom.
    ExpectNoStatistic(Adf(series, 0, as_given, 3));
    ExpectUndefined(Adf(series, 0, as_given, 0));
    ExpectUndefined(Adf(series, 1, as_given, 3));
    ExpectUndefined(Adf(series, -1, as_given, 3));
}

TEST(AugmentedDickeyFuller, LagsBeyondTheRows) {
    const auto series = RandomWalk(20, 9);
    for (const int lags : {18, 19, 20, 21, 1000, std::numeric_limits<int>::max()}) {
        for (int method = 0; method < 4; ++method) {
            for (int regression = 0; regression < 4; ++regression)
                ExpectUndefined(Adf(series, lags, method, regression));
        }
    }
}

// n - 1 - L rows; 2, 3, 4 or 1 columns and L lags. With as many regressors as rows there is a regression
// without degrees of freedom; with one more there is none.
TEST(AugmentedDickeyFuller, AsManyRegressorsAsRowsAndOneMore) {
    for (int regression = 0; regression < 4; ++regression) {
        const int before_lags = regression == 3 ? 1 : regression + 2;
        const int lags = 5, n = 1 + lags + before_lags + lags;
        const auto exact = RandomWalk(n, 21);
        const auto got = Adf(exact, lags, as_given, regression);
        ExpectNoStatistic(got);
        EXPECT_EQ(got.lagCount, lags);
        EXPECT_EQ(got.sampleSize, n - 1 - lags);
        for (int method = 0; method < 2; ++method)
            ExpectNoStatistic(Adf(exact, lags, method, regression));  // RSS 0
        const std::vector<double> fewer(exact.begin() + 1, exact.end());
        for (int method = 0; method < 4; ++method) ExpectUndefined(Adf(fewer, lags, method, regression));
        const auto more = RandomWalk(n + 1, 21);
        EXPECT_TRUE(std::isfinite(Adf(more, lags, as_given, regression).statistic));
    }
}

TEST(AugmentedDickeyFuller, RegressionTypeOutsideTheFour) {
    const auto series = load_series("nile");
    for (const int regression :
         {-1, 4, 5, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()}) {
        for (int method = 0; method < 4; ++method) ExpectUndefined(Adf(series, 3, method, regression));
    }
}

TEST(AugmentedDickeyFuller, NullPointers) {
    const auto series = load_series("nile");
    EXPECT_EQ(zolv_AugmentedDickeyFuller(series.data(), 100, 3, 3, 0, 0.05, nullptr), 0);
    zolv_UnitRootTest test = Marked();
    EXPECT_EQ(zolv_AugmentedDickeyFuller(nullptr, 100, 3, 3, 0, 0.05, &test), 0);
    ExpectUndefined(test);
}

TEST(AugmentedDickeyFuller, AHoleInTheSeriesHasNoStatistic) {
    const auto series = load_series("nile");
    for (const double hole : {std::nan(""), -std::nan(""), infinity, -infinity, zolv_GetMissingValue()}) {
        for (const std::size_t position : {0u, 1u, 2u, 3u, 7u, 50u, 98u, 99u}) {
            auto holed = series;
            holed[position] = hole;
            for (int method = 0; method < 4; ++method) {
                for (int regression = 0; regression < 4; ++regression) {
                    for (const int lags : {0, 3, -1}) {
                        const auto got = Adf(holed, lags, method, regression);
                        EXPECT_MISSING(got.statistic) << hole << " at " << position;
                        EXPECT_SAME_BITS(got.pValue, untouched);
                        EXPECT_SAME_BITS(got.critical1, untouched);
                        EXPECT_SAME_BITS(got.critical5, untouched);
                        EXPECT_SAME_BITS(got.critical10, untouched);
                    }
                }
            }
        }
    }
}

TEST(AugmentedDickeyFuller, HugeAndTinyValuesEnd) {
    for (const double unit : {1e150, 1e200, 1e300, 1e-150, 1e-300, 5e-324}) {
        auto series = RandomWalk(40, 13);
        for (double& x : series) x *= unit;
        for (int method = 0; method < 4; ++method) {
            for (int regression = 0; regression < 4; ++regression) Adf(series, -1, method, regression);
        }
    }
}

TEST(AugmentedDickeyFuller, DefaultRecord) {
    const zolv_UnitRootTest test;
    EXPECT_MISSING(test.statistic);
    EXPECT_MISSING(test.pValue);
    EXPECT_MISSING(test.critical1);
    EXPECT_MISSING(test.critical5);
    EXPECT_MISSING(test.critical10);
    EXPECT_EQ(test.sampleSize, -1);
    EXPECT_EQ(test.lagCount, -1);
}

// Under the null hypothesis the test at 5 % rejects about 5 % of random walks; a stationary series is found.
TEST(AugmentedDickeyFuller, LevelAndPower) {
    int rejected_walks = 0, rejected_noise = 0;
    for (unsigned seed = 0; seed < 400; ++seed) {
        auto walk = RandomWalk(120, seed);
        const auto null = Adf(walk, 1, as_given, 0);
        EXPECT_EQ(null.statistic < null.critical5, null.statistic < null.critical5 && null.pValue < 0.06);
        if (null.statistic < null.critical5) ++rejected_walks;
        for (std::size_t i = walk.size() - 1; i > 0; --i) walk[i] -= 0.5 * walk[i - 1];
        for (std::size_t i = walk.size() - 1; i > 0; --i) walk[i] -= walk[i - 1];
        if (Adf(walk, 1, as_given, 0).statistic < null.critical5) ++rejected_noise;
    }
    EXPECT_NEAR(rejected_walks, 20, 13);  // three standard deviations of a binomial count
    EXPECT_GE(rejected_noise, 398);
}

TEST(AugmentedDickeyFuller, SameBitsFromSeveralThreadsAtOnce) {
    const auto series = load_series("uk_driver_deaths");
    const auto want = Adf(series, -1, 0, 2);
    std::vector<zolv_UnitRootTest> got(8);
    std::vector<std::thread> threads;
    for (auto& test : got) threads.emplace_back([&] { test = Adf(series, -1, 0, 2); });
    for (auto& thread : threads) thread.join();
    for (const auto& test : got) EXPECT_TRUE(SameRecord(test, want));
}
