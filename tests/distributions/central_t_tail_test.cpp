#include "distributions/central_t_tail.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <map>
#include <numbers>
#include <random>
#include <string>
#include <vector>

#include "distributions/central_tails.hpp"
#include "frame/parallel.hpp"
#include "support/bits.hpp"
#include "support/platform_bits.hpp"
#include "support/reference_table.hpp"
#include "support/threads.hpp"

using namespace dru::impl;
using namespace zolv_test;

namespace {

constexpr double inf = std::numeric_limits<double>::infinity();
const double nan_value = std::numeric_limits<double>::quiet_NaN();

// Limits are what was measured times about 3.
TEST(CentralT, AccuracyPerRegime) {
    const std::map<std::string, double> limit = {
        {"near_small_df", 2e-14}, {"near", 2e-13}, {"near_large_df", 5e-13},
        {"near_huge_df", 8e-14},  {"far", 4e-13},
    };
    std::map<std::string, double> worst;
    const reference_table table("central_t_reference");
    for (std::size_t i = 0; i < table.size(); ++i) {
        const std::string& regime = table.text(i, "regime");
        const double x = table.number(i, "x");
        const double df = table.number(i, "df");
        const double want = table.number(i, "upper");
        const double error = std::fabs(t_cdf_central(x, df, 1) - want) / want;
        EXPECT_LE(error, limit.at(regime)) << regime << " x " << show(x) << " df " << show(df);
        worst[regime] = std::fmax(worst[regime], error);
    }
    EXPECT_EQ(worst.size(), limit.size());
    for (const auto& [regime, error] : worst)
        std::printf("%-14s worst relative error %.2e\n", regime.c_str(), error);
}

TEST(CentralT, EveryBitOfTheIndependentTable) {
    const reference_table table("kernel_bits_central_t");
    ASSERT_GT(table.size(), 300u);
    for (std::size_t i = 0; i < table.size(); ++i) {
        const double x = table.number(i, "x");
        const double df = table.number(i, "df");
        EXPECT_PLATFORM_BITS(t_cdf_central(x, df, 0), table.number(i, "lower"))
            << show(x) << " df " << show(df);
        EXPECT_PLATFORM_BITS(t_cdf_central(x, df, 1), table.number(i, "upper"))
            << show(x) << " df " << show(df);
    }
}

TEST(CentralT, CentreIsHalf) {
    for (const double df : {5e-324, 1e-300, 0.1, 1.0, 30.0, 1e10, 1e300}) {
        for (const unsigned char upper : {0, 1}) {
            EXPECT_SAME_BITS(t_cdf_central(0.0, df, upper), 0.5);
            EXPECT_SAME_BITS(t_cdf_central(-0.0, df, upper), 0.5);
        }
    }
    EXPECT_SAME_BITS(t_cdf_central(1e-170, 3.0, 1), 0.5);  // its square is 0
}

TEST(CentralT, NanAndInfinities) {
    for (const unsigned char upper : {0, 1, 255}) {
        EXPECT_SIGN_SET_NAN(t_cdf_central(nan_value, 5.0, upper));
        EXPECT_SIGN_SET_NAN(t_cdf_central(-nan_value, 5.0, upper));
        EXPECT_SAME_BITS(t_cdf_central(inf, 5.0, upper), upper ? 0.0 : 1.0);
        EXPECT_SAME_BITS(t_cdf_central(-inf, 5.0, upper), upper ? 1.0 : 0.0);
        EXPECT_SIGN_SET_NAN(central_t_tail(5.0)(nan_value, upper));
        EXPECT_SAME_BITS(central_t_tail(5.0)(-inf, upper), upper ? 1.0 : 0.0);
    }
}

// df = 4: x = 2 is where x^2 / (df + x^2) reaches 1/2 and the far coordinate takes over.
TEST(CentralT, CoordinatesMeetAtHalf) {
    EXPECT_SAME_BITS(t_cdf_central(2.0, 4.0, 1), beta_tails(0.5, 2.0, 0.5).lower * 0.5);
    const double x = std::nextafter(2.0, 0.0);
    const double h2 = x * x * 0.5;
    const double w = h2 / (2.0 + h2);
    ASSERT_LT(w, 0.5);
    EXPECT_SAME_BITS(t_cdf_central(x, 4.0, 1), beta_tails(w, 0.5, 2.0).upper * 0.5);
    EXPECT_TRUE(within_relative(t_cdf_central(x, 4.0, 1), t_cdf_central(2.0, 4.0, 1), 1e-14));
}

TEST(CentralT, FarEnds) {
    EXPECT_SAME_BITS(t_cdf_central(1e200, 1.0, 1), 0.0);  // the square overflows: the far coordinate is 0
    EXPECT_SAME_BITS(t_cdf_central(1e200, 1.0, 0), 1.0);
    EXPECT_SAME_BITS(t_cdf_central(-1e200, 1.0, 0), 0.0);
    EXPECT_SAME_BITS(t_cdf_central(0.6, 5e-324, 1), 0.0);  // half the df is 0
    EXPECT_SAME_BITS(t_cdf_central(100.0, 1e8, 1), 0.0);   // the density is below the smallest normal double
}

TEST(CentralT, ClosedForms) {
    for (const double x : {1e-6, 0.3, 0.99, 1.0, 2.5, 40.0, 1e5}) {
        EXPECT_TRUE(within_relative(t_cdf_central(x, 1.0, 1), std::atan(1.0 / x) / std::numbers::pi, 1e-13))
            << x;
        const double root = std::sqrt(2.0 + x * x);
        EXPECT_TRUE(within_relative(t_cdf_central(x, 2.0, 1), 1.0 / (root * (root + x)), 1e-13)) << x;
    }
    // So many degrees of freedom that it is the normal tail; more of them than a 32-bit count holds.
    EXPECT_TRUE(
        within_relative(t_cdf_central(0.6, 1e10, 1), 0.5 * std::erfc(0.6 * std::numbers::sqrt2 / 2), 1e-10));
    EXPECT_NEAR(t_cdf_central(0.6, 1e10, 1), 0.274253, 5e-7);
    EXPECT_TRUE(
        within_relative(t_cdf_central(3.0, 1e100, 1), 0.5 * std::erfc(3.0 * std::numbers::sqrt2 / 2), 1e-12));
}

// Upper 2.5 % points of the published tables, to their three decimals.
TEST(CentralT, PublishedPercentagePoints) {
    const double points[][2] = {{1, 12.706}, {2, 4.303}, {5, 2.571}, {10, 2.228}, {30, 2.042}, {120, 1.980}};
    for (const auto& [df, x] : points) {
        EXPECT_GT(t_cdf_central(x - 0.0006, df, 1), 0.025) << df;
        EXPECT_LT(t_cdf_central(x + 0.0006, df, 1), 0.025) << df;
    }
}

TEST(CentralT, TailsMirrorAndAddUp) {
    std::mt19937_64 random(7);
    std::uniform_real_distribution<double> uniform(0.0, 1.0);
    for (int i = 0; i < 3000; ++i) {
        const double x = std::pow(10.0, 5.0 * uniform(random) - 3.0);
        const double df = std::pow(10.0, 12.0 * uniform(random) - 2.0);
        const double upper = t_cdf_central(x, df, 1);
        ASSERT_SAME_BITS(t_cdf_central(-x, df, 0), upper);
        ASSERT_SAME_BITS(t_cdf_central(x, df, 0), 1.0 - upper);
        ASSERT_SAME_BITS(t_cdf_central(-x, df, 1), 1.0 - upper);
    }
}

TEST(CentralT, PreparedEqualsPlainOnAnyTeam) {
    std::mt19937_64 random(8);
    std::uniform_real_distribution<double> uniform(0.0, 1.0);
    for (const double df : {5e-324, 0.02, 0.7, 1.0, 4.0, 17.5, 300.0, 1e5, 3e10, 4e15, 1e100}) {
        const central_t_tail prepared(df);
        std::vector<double> x(300), want(300), got(300);
        for (std::size_t i = 0; i < x.size(); ++i) {
            x[i] = std::pow(10.0, 6.0 * uniform(random) - 4.0) * (i % 2 == 0 ? 1.0 : -1.0);
            if (i == 0) x[i] = 0.0;
            if (i == 1) x[i] = 1e200;
            want[i] = t_cdf_central(x[i], df, i % 3 == 0);
        }
        for (const int team : team_sizes) {
            with_threads(team, [&] {
                parallel_for(x.size(), [&](std::uint64_t i) { got[i] = prepared(x[i], i % 3 == 0); });
            });
            for (std::size_t i = 0; i < x.size(); ++i) ASSERT_SAME_BITS(got[i], want[i]) << df << " " << x[i];
        }
    }
}

}  // namespace
