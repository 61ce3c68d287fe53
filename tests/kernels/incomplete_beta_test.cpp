#include "kernels/incomplete_beta.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <map>
#include <numbers>
#include <random>
#include <string>
#include <vector>

#include "frame/parallel.hpp"
#include "kernels/incomplete_gamma.hpp"
#include "kernels/normal.hpp"
#include "support/bits.hpp"
#include "support/platform_bits.hpp"
#include "support/reference_table.hpp"
#include "support/threads.hpp"

using namespace dru::impl;
using namespace zolv_test;

namespace {

constexpr double inf = std::numeric_limits<double>::infinity();
const double nan_value = std::numeric_limits<double>::quiet_NaN();

double above(double x) { return std::nextafter(x, inf); }
double below(double x) { return std::nextafter(x, -inf); }

TEST(BetaKernels, EveryBitOfTheIndependentTable) {
    const reference_table table("kernel_bits_incomplete_beta");
    ASSERT_GT(table.size(), 1000u);
    std::map<std::string, int> seen;
    for (std::size_t i = 0; i < table.size(); ++i) {
        const std::string& routine = table.text(i, "routine");
        const double a = table.number(i, "a");
        const double b = table.number(i, "b");
        const double x = table.number(i, "x");
        double got = nan_value;
        if (routine == "split_point") got = beta_split_point(a, b);
        if (routine == "shift_ratio") got = gamma_shift_ratio(a, b);
        if (routine == "upper_fraction") got = beta_upper_fraction(a, b, x);
        if (routine == "upper_small") got = beta_upper_small(a, b, x);
        if (routine == "lower_ratio") got = beta_lower_ratio(a, b, x);
        if (routine == "upper_ratio") got = beta_upper_ratio(a, b, x);
        if (routine == "lower_tail") got = beta_tails(x, a, b).lower;
        if (routine == "upper_tail") got = beta_tails(x, a, b).upper;
        EXPECT_PLATFORM_BITS(got, table.number(i, "value"))
            << routine << " row " << i << " a " << show(a) << " b " << show(b) << " x " << show(x);
        ++seen[routine];
    }
    EXPECT_EQ(seen.size(), 8u);
}

// Limits are what was measured times about 3.
TEST(BetaKernels, AccuracyPerRegime) {
    const std::map<std::string, double> limit = {
        {"both_below_1", 6e-11},     {"moderate", 1e-13}, {"whole_shapes", 6e-14}, {"tiny_a", 3e-12},
        {"tiny_b", 2e-12},           {"tiny_x", 6e-13},   {"large", 3e-12},        {"normal_form", 3.5e-8},
        {"normal_form_far", 2.5e-7}, {"huge_b", 1e-12},   {"gamma_limit", 5e-13},
    };
    std::map<std::string, double> worst;
    const reference_table table("incomplete_beta_reference");
    for (std::size_t i = 0; i < table.size(); ++i) {
        const std::string& regime = table.text(i, "regime");
        const double a = table.number(i, "a");
        const double b = table.number(i, "b");
        const double x = table.number(i, "x");
        const double lower = table.number(i, "lower");
        const double upper = table.number(i, "upper");
        const tail_pair got = beta_tails(x, a, b);
        const double error =
            std::fmax(std::fabs(got.lower - lower) / lower, std::fabs(got.upper - upper) / upper);
        EXPECT_LE(error, limit.at(regime))
            << regime << " a " << show(a) << " b " << show(b) << " x " << show(x);
        worst[regime] = std::fmax(worst[regime], error);
    }
    EXPECT_EQ(worst.size(), limit.size());
    for (const auto& [regime, error] : worst)
        std::printf("%-16s worst relative error %.2e\n", regime.c_str(), error);
}

// ---- the split point
// -----------------------------------------------------------------------------------------

TEST(BetaSplitPoint, Examples) {
    EXPECT_SAME_BITS(beta_split_point(2, 2), 0.5);
    EXPECT_SAME_BITS(beta_split_point(3, 2), 0.5);
    EXPECT_TRUE(within_ulps(beta_split_point(1, 2), 1.0 / 3 - 1.0 / 27, 2));
    // x^a / (a B(a, b)) = 1/2: B(1/2, 2) is 4/3, so x is 1/9.
    EXPECT_TRUE(within_relative(beta_split_point(0.5, 2), 1.0 / 9, 1e-14));
}

TEST(BetaSplitPoint, BothSidesOfEachThreshold) {
    const auto two_thirds = [](double a, double b) {
        return a / (a + b) - (b - a) * std::pow(a + b, -2.0) / 3.0;
    };
    EXPECT_SAME_BITS(beta_split_point(below(2.0), 2.0), two_thirds(below(2.0), 2.0));  // a >= b is 0.5
    EXPECT_SAME_BITS(beta_split_point(0.6, 2.0), two_thirds(0.6, 2.0));
    EXPECT_GT(std::fabs(beta_split_point(below(0.6), 2.0) - two_thirds(0.6, 2.0)), 1e-3);
    EXPECT_SAME_BITS(beta_split_point(0.9, 1.0), two_thirds(0.9, 1.0));
    EXPECT_NE(bits(beta_split_point(0.9, below(1.0))), bits(two_thirds(0.9, below(1.0))));

    // b = 1000 still takes the two log gammas, the next one their difference's leading term a ln b.
    const double a = 0.3;
    const double L = log_gamma_shift(1.0 + a) - 0.6931471805599453;
    const double gammas = L + (log_gamma_shift(1000.0) - log_gamma_shift(a + 1000.0));
    EXPECT_SAME_BITS(beta_split_point(a, 1000.0), std::exp(gammas / a));
    const double b = above(1000.0);
    EXPECT_SAME_BITS(beta_split_point(a, b), std::exp((L - a * std::log(b)) / a));
    EXPECT_NE(bits(beta_split_point(a, 1000.0)), bits(beta_split_point(a, b)));
}

TEST(BetaSplitPoint, MedianBeyondTheRange) {
    EXPECT_SAME_BITS(beta_split_point(0.59, 0.595), 0.5);  // the first term alone would put it above 1/2
    EXPECT_SAME_BITS(beta_split_point(1e-5, 5.0), 0.0);    // below the smallest normal double
    EXPECT_SAME_BITS(beta_split_point(1e-300, 1.0), 0.0);
    EXPECT_GT(beta_split_point(1e-3, 5.0), 0.0);
}

// By symmetry, however close to 0 the shapes are: there the three log gammas leave nothing but rounding.
TEST(BetaSplitPoint, EqualShapesHaveTheirMedianInTheMiddle) {
    for (double a = 0.5; a > 1e-307; a /= 7.0) EXPECT_SAME_BITS(beta_split_point(a, a), 0.5) << a;
}

// ---- the tails
// -----------------------------------------------------------------------------------------------

TEST(BetaTails, ZeroIsAnsweredAtOnce) {
    for (const double shape : {5e-324, 0.5, 1.0, 1e6, 1e300, nan_value}) {
        const tail_pair tails = beta_tails(0.0, shape, 2.0);
        EXPECT_SAME_BITS(tails.lower, 0.0);
        EXPECT_SAME_BITS(tails.upper, 1.0);
        EXPECT_SAME_BITS(beta_tails(-0.0, 2.0, shape).upper, 1.0);
        EXPECT_SAME_BITS(beta_tail_kernel(2.0, shape)(0.0).lower, 0.0);
    }
}

TEST(BetaTails, TheSplitPointItselfTakesTheLowerTail) {
    const double a = 1.5, b = 4.0;
    const double m = beta_split_point(a, b);
    const tail_pair at = beta_tails(m, a, b);
    EXPECT_SAME_BITS(at.lower, beta_lower_ratio(a, b, m) * std::exp(log_beta_pdf(a, b, m)));
    EXPECT_SAME_BITS(at.upper, 1.0 - at.lower);
    const double x = above(m);
    const tail_pair beyond = beta_tails(x, a, b);
    EXPECT_SAME_BITS(beyond.upper, beta_upper_ratio(a, b, x) * std::exp(log_beta_pdf(a, b, x)));
    EXPECT_SAME_BITS(beyond.lower, 1.0 - beyond.upper);
}

TEST(BetaTails, UnderflowingDensityGivesExactTails) {
    ASSERT_LT(log_beta_pdf(1e6, 1e6, 0.1), log_dbl_min);
    EXPECT_SAME_BITS(beta_tails(0.1, 1e6, 1e6).lower, 0.0);
    EXPECT_SAME_BITS(beta_tails(0.1, 1e6, 1e6).upper, 1.0);
    EXPECT_SAME_BITS(beta_tails(0.9, 1e6, 1e6).lower, 1.0);
    EXPECT_SAME_BITS(beta_tails(0.9, 1e6, 1e6).upper, 0.0);
    // The test is on the density, at the smallest normal double.
    double x = 0.5;
    while (log_beta_pdf(300, 300, x) >= log_dbl_min) x *= 0.9999;
    EXPECT_SAME_BITS(beta_tails(x, 300, 300).lower, 0.0);
    EXPECT_SAME_BITS(beta_tails(x, 300, 300).upper, 1.0);
    EXPECT_GT(beta_tails(x / 0.9999, 300, 300).lower, 0.0);
}

// 1 - (1 + c) e^-c with c = 1: more whole steps than a 32-bit count holds.
TEST(BetaTails, ShapesBeyond32Bits) {
    EXPECT_TRUE(within_relative(beta_tails(1e-10, 2, 1e10).lower, 0.264241117693903, 1e-14));
    EXPECT_SAME_BITS(beta_tails(1e-10, 2, 1e14).upper, 0.0);
    EXPECT_SAME_BITS(beta_tails(0.3, 3e9, 5.0).lower, 0.0);
}

TEST(BetaTails, Mirror) {
    std::mt19937_64 random(3);
    std::uniform_real_distribution<double> uniform(0.0, 1.0);
    for (int i = 0; i < 2000; ++i) {
        const double a = std::pow(10.0, 4.0 * uniform(random) - 2.0);
        const double b = std::pow(10.0, 4.0 * uniform(random) - 2.0);
        const double x = 0.35 + 0.3 * uniform(random);
        const tail_pair here = beta_tails(x, a, b);
        const tail_pair there = beta_tails(1.0 - x, b, a);
        ASSERT_NEAR(here.lower, there.upper, 2e-13) << a << " " << b << " " << x;
        ASSERT_NEAR(here.lower + here.upper, 1.0, 3e-16);
    }
}

TEST(BetaTails, ClosedForms) {
    for (const double x : {1e-9, 0.01, 0.2, 0.4, 0.5}) {
        const double y = 1.0 - x;
        EXPECT_TRUE(within_relative(beta_tails(x, 1, 1).lower, x, 1e-14));
        EXPECT_TRUE(within_relative(beta_tails(x, 3, 1).lower, x * x * x, 1e-14));
        EXPECT_TRUE(within_relative(beta_tails(x, 3, 2).lower, x * x * x * (4 - 3 * x), 1e-14));
        EXPECT_TRUE(within_relative(beta_tails(x, 1, 5).upper, y * y * y * y * y, 1e-14));
        EXPECT_NEAR(beta_tails(x, 0.5, 0.5).lower, 2 / std::numbers::pi * std::asin(std::sqrt(x)), 1e-14);
    }
}

// ---- the ratios
// ----------------------------------------------------------------------------------------------

TEST(BetaRatios, NormalFormFrom10000) {
    for (const double x : {0.4, 0.499, 0.5, 0.502}) {
        EXPECT_SAME_BITS(beta_lower_ratio(20000, 20000, x), beta_lower_ratio_normal(20000, 20000, x));
        EXPECT_SAME_BITS(beta_upper_ratio(20000, 20000, x), beta_upper_ratio_normal(20000, 20000, x));
    }
    const double less = below(20000);
    for (const double a : {19999.0, less}) {
        EXPECT_NE(bits(beta_lower_ratio(a, less, 0.499)), bits(beta_lower_ratio_normal(a, less, 0.499)));
        EXPECT_NE(bits(beta_upper_ratio(a, less, 0.502)), bits(beta_upper_ratio_normal(a, less, 0.502)));
        EXPECT_TRUE(
            within_relative(beta_lower_ratio(a, less, 0.499), beta_lower_ratio_normal(a, less, 0.499), 1e-8));
        EXPECT_TRUE(
            within_relative(beta_upper_ratio(a, less, 0.502), beta_upper_ratio_normal(a, less, 0.502), 1e-8));
    }
}

TEST(BetaRatios, GammaLimitFrom1e15) {
    const double x = 2e-15;
    EXPECT_SAME_BITS(beta_lower_ratio(1.7, 1e15, x), beta_lower_ratio_large_b(1.7, 1e15, x));
    EXPECT_SAME_BITS(beta_upper_ratio(1.7, 1e15, x), beta_upper_ratio_large_b(1.7, 1e15, x));
    const double b = below(1e15);
    EXPECT_NE(bits(beta_upper_ratio(1.7, b, x)), bits(beta_upper_ratio_large_b(1.7, b, x)));
    EXPECT_TRUE(within_relative(beta_lower_ratio(1.7, b, x), beta_lower_ratio_large_b(1.7, b, x), 1e-14));
    EXPECT_TRUE(within_relative(beta_upper_ratio(1.7, b, x), beta_upper_ratio_large_b(1.7, b, x), 1e-12));
    // The normal form is asked first, whatever b is.
    EXPECT_SAME_BITS(beta_lower_ratio(2e4, 1e15, 2e-11), beta_lower_ratio_normal(2e4, 1e15, 2e-11));
}

// With no whole step in b the ratio is x / a times 1 + sum of prod (a + b + j - 1) x / (a + j), times 1 - x.
TEST(BetaRatios, LowerWithBBelow1IsTheRemainderAlone) {
    for (const double b : {1e-8, 0.3, 0.5, below(1.0)}) {
        const double a = 1.25, x = 0.375;
        double term = 1.0, sum = 1.0;
        for (int j = 1; j < 80; ++j) {
            term *= (a + b + j - 1) * x / (a + j);
            sum += term;
        }
        EXPECT_TRUE(within_relative(beta_lower_ratio(a, b, x), sum * (1 - x) * x / a, 1e-13)) << b;
    }
}

// 1 - I_x(3, 2) = 1 - 4 x^3 + 3 x^4 and the density is 12 x^2 (1 - x): at 1/2, 0.6875 / 1.5. The factor
// a - k = 0 ends the counting pass, and no remainder is asked for.
TEST(BetaRatios, UpperWithWholeAIsFinite) {
    EXPECT_TRUE(within_relative(beta_upper_ratio(3, 2, 0.5), 0.6875 / 1.5, 1e-15));
    const double x = 0.5, y = 0.5, b = 2;
    const double last = 1.0 + 0.0 * y / ((b + 3) * x) * 0.0;
    EXPECT_SAME_BITS(last, 1.0);
    const double second = 1.0 + 1.0 * y / ((b + 2) * x) * last;
    const double first = 1.0 + 2.0 * y / ((b + 1) * x) * second;
    EXPECT_SAME_BITS(beta_upper_ratio(3, 2, 0.5), first * y / b);
    // So does a product that has come down to 2^-52 on the way, long before the 4e9th factor.
    const double near_one = 1.0 - 1e-9;
    EXPECT_TRUE(within_relative(
        beta_upper_ratio(4e9, 1, near_one) * 4e9 * std::exp((4e9 - 1) * std::log1p(near_one - 1.0)),
        -std::expm1(4e9 * std::log1p(near_one - 1.0)), 1e-12));
}

// Far from the median, where the noncentral sums ask, a counting product passes the largest double.
TEST(BetaRatios, OverflowIsInfinityAtOnce) {
    EXPECT_SAME_BITS(beta_lower_ratio(2, 5e12, 1e-3), inf);
    EXPECT_SAME_BITS(beta_lower_ratio(2, 9.9e14, 0.5), inf);
    EXPECT_SAME_BITS(beta_lower_ratio(1.5, 4e18, 2e-14), inf);
    EXPECT_SAME_BITS(beta_lower_ratio_large_b(5e-324, 1e18, 0.5), inf);
    EXPECT_SAME_BITS(beta_upper_ratio(7000.5, 3.5, 1e-5), inf);
    EXPECT_SAME_BITS(beta_upper_ratio(1e18, 3.5, 0.3), inf);
    EXPECT_SAME_BITS(beta_upper_ratio(12.0, 3.5, 5e-324), inf);
}

// No combination keeps a loop running. Away from the subnormal corner, where 1 / a or the density passes the
// largest double and the unclamped product with it, what is not a NaN is a probability.
TEST(BetaTails, ExtremeShapesEnd) {
    const double shapes[] = {5e-324, 1e-308, 1e-100, 1e-17, 1e-9, 0.3,   1.0,   2.5,     1000.0,
                             9999.5, 2e4,    3e9,    1e15,  1e18, 1e154, 1e300, 1.7e308, nan_value};
    const double points[] = {5e-324, 1e-308, 1e-200, 1e-30, 1e-17, 1e-9, 1e-3, 0.3, 0.5, nan_value};
    for (const double a : shapes) {
        for (const double b : shapes) {
            const beta_tail_kernel kernel(a, b);
            for (const double x : points) {
                const tail_pair tails = beta_tails(x, a, b);
                const tail_pair again = kernel(x);
                EXPECT_TRUE(bits(tails.lower) == bits(again.lower) ||
                            (std::isnan(tails.lower) && std::isnan(again.lower)));
                if (!std::isnan(tails.lower) && a >= 1e-100 && x >= 1e-200) {
                    EXPECT_GE(tails.lower, -1e-9) << a << " " << b << " " << x;
                    EXPECT_LE(tails.lower, 1 + 1e-9) << a << " " << b << " " << x;
                }
                static_cast<void>(beta_lower_ratio(a, b, x));
                static_cast<void>(beta_upper_ratio(a, b, x));
            }
        }
    }
}

// ---- the remainder of the upper series
// -----------------------------------------------------------------------

TEST(BetaUpperFraction, FormsMeetAtBxOf1) {
    const double a = 0.4, b = 8.0;
    EXPECT_SAME_BITS(beta_upper_fraction(a, b, below(0.125)), std::pow(b * below(0.125), 1.0 - a) *
                                                                  beta_upper_small(a, b, below(0.125)) /
                                                                  std::exp(b * log1p_small(-below(0.125))));
    const double series =
        std::pow(1.0, 1.0 - a) * beta_upper_small(a, b, 0.125) / std::exp(b * log1p_small(-0.125));
    EXPECT_NE(bits(beta_upper_fraction(a, b, 0.125)), bits(series));
    EXPECT_TRUE(within_relative(beta_upper_fraction(a, b, 0.125), series, 1e-12));
}

// A recurrence that cannot go on in finite numbers answers with its last finite convergent, here the first:
// the next one differs from it by about 1e-50.
TEST(BetaUpperFraction, OverflowReturnsTheLastFiniteConvergent) {
    EXPECT_SAME_BITS(beta_upper_fraction(0.5, 1e200, 1e-150), 1.0);
    EXPECT_TRUE(std::isnan(beta_upper_fraction(nan_value, 10.0, 0.5)));
    EXPECT_TRUE(std::isnan(beta_upper_fraction(0.5, nan_value, 0.5)));
    EXPECT_TRUE(std::isnan(beta_upper_fraction(0.5, 10.0, nan_value)));
}

// A whole b ends the series by a factor of zero after b - 1 terms.
TEST(BetaUpperSmall, WholeBEndsTheSeries) {
    const double a = 0.35, x = 0.2;
    const auto front = [&](double b) {
        return -gamma_one_minus_ratio(a) + gamma_shift_ratio(a, b) -
               std::log(b * x) * expm1_ratio(a * std::log(b * x));
    };
    EXPECT_SAME_BITS(beta_upper_small(a, 1, x), front(1) + 0.0);
    const double b = 3;
    const double t1 = std::pow(b * x, a) * x * (b - 1) / (1 + a);
    const double t2 = t1 * ((a + 2 - 1) * -x * (b - 2) / 2.0 / (a + 2));
    EXPECT_SAME_BITS(beta_upper_small(a, b, x), front(3) + (t1 + t2));
}

TEST(GammaShiftRatio, BothSidesOfEachThreshold) {
    // b = 100 by the gammas, the next one by the expansion in 1 / b; a = 0.001 by the gammas, below by that
    // in a.
    EXPECT_TRUE(within_relative(gamma_shift_ratio(0.4, 100.0), gamma_shift_ratio(0.4, above(100.0)), 1e-9));
    EXPECT_NE(bits(gamma_shift_ratio(0.4, 100.0)), bits(gamma_shift_ratio(0.4, above(100.0))));
    for (const double b : {0.2, 1.0, 7.5, 80.0}) {
        EXPECT_TRUE(within_relative(gamma_shift_ratio(0.001, b), gamma_shift_ratio(below(0.001), b), 2e-8))
            << b;
    }
    // Gamma(a) (b^a Gamma(b) / Gamma(a + b) - 1) at a = 1/2, b = 1: sqrt(pi) (2 / sqrt(pi) - 1).
    EXPECT_TRUE(within_relative(gamma_shift_ratio(0.5, 1.0), 2.0 - std::sqrt(std::numbers::pi), 1e-13));
    // As a goes to 0: ln b - psi(b); psi(1) is minus Euler's constant.
    EXPECT_TRUE(within_relative(gamma_shift_ratio(1e-12, 1.0), 0.57721566490153286, 1e-11));
}

// ---- prepared equals plain
// -----------------------------------------------------------------------------------

TEST(BetaTailKernel, SameBitsAsTheFreeFunctionOnAnyTeam) {
    std::mt19937_64 random(4);
    std::uniform_real_distribution<double> uniform(0.0, 1.0);
    for (int pair = 0; pair < 300; ++pair) {
        double a = std::pow(10.0, 8.0 * uniform(random) - 3.0);
        double b = std::pow(10.0, 8.0 * uniform(random) - 3.0);
        if (pair % 5 == 0) a = std::ceil(a);
        if (pair % 7 == 0) b = std::pow(10.0, 9.0 + 10.0 * uniform(random));
        const beta_tail_kernel kernel(a, b);
        EXPECT_SAME_BITS(kernel.split_point(), beta_split_point(a, b));
        std::vector<double> x(40), want(40), got(40);
        const double mean = a / (a + b), sd = std::sqrt(a * b / (a + b + 1)) / (a + b);
        for (std::size_t i = 0; i < x.size(); ++i) {
            const double near_mean = mean + sd * (8.0 * uniform(random) - 4.0);
            x[i] =
                near_mean > 0 && near_mean < 0.7 ? near_mean : std::pow(10.0, -8.0 * uniform(random)) * 0.7;
            want[i] = beta_tails(x[i], a, b).upper;
            ASSERT_SAME_BITS(kernel(x[i]).lower, beta_tails(x[i], a, b).lower);
        }
        for (const int team : team_sizes) {
            with_threads(
                team, [&] { parallel_for(x.size(), [&](std::uint64_t i) { got[i] = kernel(x[i]).upper; }); });
            for (std::size_t i = 0; i < x.size(); ++i) ASSERT_SAME_BITS(got[i], want[i]);
        }
    }
}

}  // namespace
