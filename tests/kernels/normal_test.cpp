#include "kernels/normal.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <map>
#include <random>
#include <string>

#include "support/bits.hpp"
#include "support/platform_bits.hpp"
#include "support/reference_table.hpp"

using namespace dru::impl;
using namespace zolv_test;

namespace {

constexpr double inf = std::numeric_limits<double>::infinity();
const double nan_value = std::numeric_limits<double>::quiet_NaN();

double above(double x) { return std::nextafter(x, inf); }
double below(double x) { return std::nextafter(x, -inf); }

TEST(NormalKernels, EveryBitOfTheIndependentTable) {
    const reference_table table("kernel_bits_normal");
    ASSERT_GT(table.size(), 1000u);
    for (std::size_t i = 0; i < table.size(); ++i) {
        const std::string& routine = table.text(i, "routine");
        const double x = table.number(i, "x");
        const double mean = table.number(i, "mean");
        const double sd = table.number(i, "sd");
        const auto upper = static_cast<unsigned char>(table.number(i, "upper"));
        double got = nan_value;
        if (routine == "normal_upper_tail") got = normal_upper_tail(x);
        if (routine == "normal_mills_ratio") got = normal_mills_ratio(x);
        if (routine == "normal_cdf") got = normal_cdf(x, mean, sd, upper);
        if (routine == "normal_std_quantile") got = normal_std_quantile(x);
        if (routine == "normal_quantile") got = normal_quantile(x, mean, sd, upper);
        EXPECT_PLATFORM_BITS(got, table.number(i, "value")) << routine << " row " << i << " x " << show(x);
    }
}

// Limits are what was measured times about 3; the tail's own error is that of AS 66's rational forms.
TEST(NormalKernels, AccuracyPerRegime) {
    const std::map<std::string, double> limit = {
        {"tail_central", 1.2e-10},   {"tail_outer", 1.2e-10},     {"tail_far", 1.2e-10},
        {"tail_negative", 2.5e-11},  {"quantile_central", 3e-10}, {"quantile_above_half", 3e-10},
        {"quantile_outer", 2.5e-11}, {"quantile_far", 1e-11},     {"mills_negative", 2e-11},
        {"mills_quotient", 1.2e-10}, {"mills_series", 5e-13},
    };
    std::map<std::string, double> worst;
    const reference_table table("normal_reference");
    for (std::size_t i = 0; i < table.size(); ++i) {
        const std::string& regime = table.text(i, "regime");
        const double x = table.number(i, "x");
        const double want = table.number(i, "value");
        const double got = regime.starts_with("tail")       ? normal_upper_tail(x)
                           : regime.starts_with("quantile") ? normal_std_quantile(x)
                                                            : normal_mills_ratio(x);
        const double error = std::fabs(got - want) / std::fabs(want);
        EXPECT_LE(error, limit.at(regime)) << regime << " at " << show(x);
        worst[regime] = std::fmax(worst[regime], error);
    }
    EXPECT_EQ(worst.size(), limit.size());
    for (const auto& [regime, error] : worst)
        std::printf("%-20s worst relative error %.2e\n", regime.c_str(), error);
}

TEST(NormalUpperTail, LowerCutBelongsToTheConstant) {
    EXPECT_SAME_BITS(normal_upper_tail(-8.03), 1.0);
    EXPECT_SAME_BITS(normal_upper_tail(below(-8.03)), 1.0);
    EXPECT_SAME_BITS(normal_upper_tail(-9.0), 1.0);
    EXPECT_SAME_BITS(normal_upper_tail(-inf), 1.0);
    EXPECT_LT(normal_upper_tail(above(-8.03)), 1.0);
    EXPECT_GT(normal_upper_tail(above(-8.03)), 1.0 - 1e-15);
}

TEST(NormalUpperTail, FormsMeetAt128) {
    const double y = 1.28 * 0.5 * 1.28;
    EXPECT_SAME_BITS(normal_upper_tail(1.28), normal_tail_central(1.28, y));
    const double next = above(1.28);
    EXPECT_SAME_BITS(normal_upper_tail(next), normal_tail_outer(next, std::exp(-(next * 0.5 * next))));
    EXPECT_NE(bits(normal_tail_central(1.28, y)), bits(normal_tail_outer(1.28, std::exp(-y))));
    EXPECT_SAME_BITS(normal_upper_tail(-1.28), 1.0 - normal_tail_central(1.28, y));
}

TEST(NormalUpperTail, ZeroNanAndFarOut) {
    EXPECT_SAME_BITS(normal_upper_tail(0.0), 0.5);
    EXPECT_SAME_BITS(normal_upper_tail(-0.0), 0.5);
    EXPECT_TRUE(std::isnan(normal_upper_tail(nan_value)));
    EXPECT_TRUE(std::isnan(normal_upper_tail(-nan_value)));
    EXPECT_SAME_BITS(normal_upper_tail(inf), 0.0);
    EXPECT_GT(normal_upper_tail(normal_tail_cut), 0.0);  // no cut of its own
    EXPECT_SAME_BITS(normal_upper_tail(39.0), 0.0);
    EXPECT_SAME_BITS(normal_upper_tail(1e300), 0.0);
}

TEST(NormalUpperTail, SharedExponentialGivesTheSameBits) {
    std::mt19937_64 random(1);
    std::uniform_real_distribution<double> uniform(-40.0, 40.0);
    for (int i = 0; i < 20000; ++i) {
        const double x = uniform(random);
        ASSERT_SAME_BITS(normal_upper_tail(x, normal_exponential(x)), normal_upper_tail(x));
        if (x <= 25.0) {
            ASSERT_SAME_BITS(normal_mills_ratio(x), normal_upper_tail(x) / standard_normal_density(x));
        }
    }
    EXPECT_SAME_BITS(normal_upper_tail(5e-324, normal_exponential(5e-324)), normal_upper_tail(5e-324));
}

TEST(NormalCdf, Cuts) {
    EXPECT_SAME_BITS(normal_cdf(38.4638, 0, 1, 1), 0.0);
    EXPECT_SAME_BITS(normal_cdf(38.4638, 0, 1, 0), 1.0);
    EXPECT_SAME_BITS(normal_cdf(-38.4638, 0, 1, 0), 0.0);
    EXPECT_SAME_BITS(normal_cdf(-38.4638, 0, 1, 1), 1.0);
    EXPECT_GT(normal_cdf(below(38.4638), 0, 1, 1), 0.0);
    EXPECT_GT(normal_cdf(above(-38.4638), 0, 1, 0), 0.0);
}

TEST(NormalCdf, NanAndInfinities) {
    for (const unsigned char upper : {0, 1, 2, 255}) {
        EXPECT_SIGN_SET_NAN(normal_cdf(nan_value, 0, 1, upper));
        EXPECT_SIGN_SET_NAN(normal_cdf(-nan_value, 0, 1, upper));
        EXPECT_SAME_BITS(normal_cdf(inf, 0, 1, upper), upper ? 0.0 : 1.0);
        EXPECT_SAME_BITS(normal_cdf(-inf, 0, 1, upper), upper ? 1.0 : 0.0);
    }
}

TEST(NormalCdf, AboveTheMeanTheRawVariateCounts) {
    EXPECT_SAME_BITS(normal_cdf(5, 3, 1, 0), 1.0 - normal_upper_tail(5.0));
    EXPECT_SAME_BITS(normal_cdf(5, 3, 1, 1), normal_upper_tail(5.0));
    EXPECT_SAME_BITS(normal_cdf(1, 3, 2, 0), normal_upper_tail(1.0));  // below the mean: z = -1
    EXPECT_SAME_BITS(normal_cdf(-9, -20, 1, 1), 1.0);                  // raw x at or below -8.03
    EXPECT_SAME_BITS(normal_cdf(-9, -20, 1, 0), 0.0);
    EXPECT_SAME_BITS(normal_cdf(50, 45, 10, 1), 0.0);           // raw x beyond the cut, half a deviation out
    EXPECT_SAME_BITS(normal_cdf(3, 3, 1, 1), 0.5);              // z = 0 belongs to the negative side
    EXPECT_SAME_BITS(normal_cdf(1e308, -1e308, 1e-3, 1), 0.0);  // z overflows
    EXPECT_SAME_BITS(normal_cdf(-1e308, 1e308, 1e-3, 0), 0.0);
}

TEST(NormalStdQuantile, CentreAndSymmetry) {
    EXPECT_SAME_BITS(normal_std_quantile(0.5), 0.0);
    for (const double p : {0.6, 0.75, 0.9, 0.95, 0.999, 1.0 - 1e-12}) {
        EXPECT_SAME_BITS(normal_std_quantile(p), -normal_std_quantile(1.0 - p));
    }
}

TEST(NormalStdQuantile, OutsideTheOpenIntervalIsNan) {
    for (const double p : {0.0, -0.0, 1.0, -0.1, 1.1, -inf, inf, nan_value}) {
        EXPECT_TRUE(std::isnan(normal_std_quantile(p))) << p;
    }
}

// The density at AS 111's start is positive for every p that a double can hold, the smallest included, so
// the early stop of the loop guards and never acts; the answer there is the tail cut's neighbourhood.
TEST(NormalStdQuantile, SmallestProbabilities) {
    EXPECT_GT(standard_normal_density(normal_quantile_start(5e-324)), 0.0);
    EXPECT_NEAR(normal_std_quantile(5e-324), -38.46, 0.01);
    EXPECT_SAME_BITS(normal_std_quantile(above(0.0)), normal_std_quantile(5e-324));
}

// A probability inside the jump of AS 66 at 1.28 has no root: the steps go to and fro across it, and the
// tenth is the last.
TEST(NormalStdQuantile, TenStepsAndNoMore) {
    const double at = normal_upper_tail(1.28);
    const double after = normal_upper_tail(above(1.28));
    ASSERT_GT(at, after);
    const double p = (at + after) / 2;

    double z = -normal_quantile_start(p);
    double delta = 0.0;
    for (int step = 0; step < 10; ++step) {
        delta = (normal_upper_tail(z) - p) / standard_normal_density(z);
        EXPECT_GE(std::fabs(delta), 1e-14);
        z += delta;
    }
    EXPECT_SAME_BITS(normal_std_quantile(p), -z);
}

TEST(NormalStdQuantile, InvertsTheTail) {
    std::mt19937_64 random(2);
    std::uniform_real_distribution<double> uniform(0.0, 1.0);
    for (int i = 0; i < 5000; ++i) {
        const double p = uniform(random);
        ASSERT_TRUE(within_relative(normal_upper_tail(-normal_std_quantile(p)), p, 1e-11)) << p;
    }
    for (int i = 0; i < 5000; ++i) {
        const double p = std::pow(10.0, -300.0 * uniform(random));
        ASSERT_TRUE(within_relative(normal_upper_tail(-normal_std_quantile(p)), p, 1e-10)) << p;
    }
}

TEST(NormalQuantile, EndsAndBadProbabilities) {
    EXPECT_SAME_BITS(normal_quantile(0, 3, 2, 0), -inf);
    EXPECT_SAME_BITS(normal_quantile(0, 3, 2, 1), inf);
    EXPECT_SAME_BITS(normal_quantile(-0.0, 3, 2, 0), -inf);
    EXPECT_SAME_BITS(normal_quantile(1, 3, 2, 0), inf);
    EXPECT_SAME_BITS(normal_quantile(1, 3, 2, 1), -inf);
    for (const unsigned char upper : {0, 1}) {
        for (const double p : {nan_value, -nan_value, -5e-324, -1.0, above(1.0), 2.0, inf, -inf}) {
            EXPECT_SIGN_SET_NAN(normal_quantile(p, 3, 2, upper));
        }
    }
}

TEST(NormalQuantile, HalfIsTheMeanAndTailsMirror) {
    for (const double sd : {1e-300, 1.0, 1e300, std::numeric_limits<double>::max()}) {
        EXPECT_SAME_BITS(normal_quantile(0.5, 3.7, sd, 0), 3.7);
        EXPECT_SAME_BITS(normal_quantile(0.5, 3.7, sd, 1), 3.7);
    }
    for (const double p : {1e-20, 0.01, 0.3, 0.7, 0.99}) {
        const double z = normal_std_quantile(p);
        EXPECT_SAME_BITS(normal_quantile(p, 10, 3, 0), z * 3.0 + 10.0);
        EXPECT_SAME_BITS(normal_quantile(p, 10, 3, 1), -z * 3.0 + 10.0);
    }
}

TEST(NormalMillsRatio, FormsMeetAt25) {
    EXPECT_SAME_BITS(normal_mills_ratio(25.0), normal_upper_tail(25.0) / standard_normal_density(25.0));
    EXPECT_NE(bits(normal_mills_ratio(above(25.0))),
              bits(normal_upper_tail(above(25.0)) / standard_normal_density(above(25.0))));
    EXPECT_SAME_BITS(normal_mills_ratio(-40.0), inf);  // the density has underflowed, the tail is 1
    EXPECT_TRUE(std::isnan(normal_mills_ratio(nan_value)));
    EXPECT_SAME_BITS(normal_mills_ratio(inf), 0.0);
}

}  // namespace
