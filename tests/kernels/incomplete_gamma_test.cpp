#include "kernels/incomplete_gamma.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <functional>
#include <limits>
#include <map>
#include <random>
#include <string>

#include "kernels/normal.hpp"
#include "support/bits.hpp"
#include "support/platform_bits.hpp"
#include "support/reference_table.hpp"

using namespace dru::impl;
using namespace zolv_test;

namespace {

constexpr double inf = std::numeric_limits<double>::infinity();
constexpr double epsilon = std::numeric_limits<double>::epsilon();
const double nan_value = std::numeric_limits<double>::quiet_NaN();

double above(double x) { return std::nextafter(x, inf); }
double below(double x) { return std::nextafter(x, -inf); }

double evaluate(const std::string& routine, double a, double x) {
    static const std::map<std::string, std::function<double(double, double)>> routines = {
        {"gamma_tails_lower", [](double a, double x) { return gamma_tails(x, a).lower; }},
        {"gamma_tails_upper", [](double a, double x) { return gamma_tails(x, a).upper; }},
        {"gamma_median_estimate", [](double a, double) { return gamma_median_estimate(a); }},
        {"gamma_lower_ratio", gamma_lower_ratio},
        {"gamma_upper_ratio", gamma_upper_ratio},
        {"gamma_upper_ratio_series", gamma_upper_ratio_series},
        {"gamma_upper_fraction", gamma_upper_fraction},
        {"gamma_lower_ratio_normal", gamma_lower_ratio_normal},
        {"gamma_upper_ratio_normal", gamma_upper_ratio_normal},
    };
    return routines.at(routine)(a, x);
}

TEST(IncompleteGamma, EveryBitOfTheIndependentTable) {
    const reference_table table("kernel_bits_incomplete_gamma");
    ASSERT_GT(table.size(), 1000u);
    for (std::size_t i = 0; i < table.size(); ++i) {
        const double a = table.number(i, "a"), x = table.number(i, "x");
        const std::string& routine = table.text(i, "routine");
        EXPECT_PLATFORM_BITS(evaluate(routine, a, x), table.number(i, "value"))
            << routine << ", " << table.text(i, "branch") << ": a " << show(a) << ", x " << show(x);
    }
}

struct regime {
    const char* routine_prefix;  // gamma_tails_ is followed by the tail that the table's row names
    double limit;                // relative; about 3 times what was measured
};

TEST(IncompleteGamma, AccuracyPerRegime) {
    const std::map<std::string, regime> regimes = {
        {"tail_shape_below_1", {"gamma_tails_", 8e-14}},
        {"tail_tiny_shape", {"gamma_tails_", 1.5e-13}},
        {"tail_whole_shape", {"gamma_tails_", 3e-14}},
        {"tail_shape_to_100", {"gamma_tails_", 3e-14}},
        {"tail_shape_to_10000", {"gamma_tails_", 3e-12}},
        {"tail_shape_above_10000", {"gamma_tails_", 3e-9}},
        {"far_shape_1e6", {"gamma_tails_", 1e-9}},
        {"lower_ratio", {"gamma_", 1.5e-15}},
        {"upper_ratio", {"gamma_", 1e-13}},
        {"upper_ratio_any_shape", {"gamma_upper_ratio_series", 2e-15}},
        {"fraction_series", {"gamma_upper_fraction", 1.5e-11}},
        {"fraction_series_Taylor", {"gamma_upper_fraction", 5e-10}},
        {"fraction_continued", {"gamma_upper_fraction", 4e-15}},
    };
    std::map<std::string, double> worst;
    const reference_table table("incomplete_gamma");
    for (std::size_t i = 0; i < table.size(); ++i) {
        const double a = table.number(i, "a"), x = table.number(i, "x");
        const std::string& name = table.text(i, "regime");
        std::string routine = regimes.at(name).routine_prefix;
        if (routine.ends_with("_")) routine += table.text(i, "what");
        const double want = table.number(i, "value");
        const double got = evaluate(routine, a, x);
        const double error = std::fabs(got - want) / want;
        EXPECT_LE(error, regimes.at(name).limit) << name << ": a " << show(a) << ", x " << show(x)
                                                 << "\ngot  " << show(got) << "\nwant " << show(want);
        worst[name] = std::fmax(worst[name], error);
    }
    EXPECT_EQ(worst.size(), regimes.size());
    for (const auto& [name, error] : worst) std::printf("%-24s worst error %.2e\n", name.c_str(), error);
}

// ---------------------------------------------------------------------------------------------------------
// The median estimate, and which tail is computed

TEST(GammaMedianEstimate, WhichFormBelongsToEachLimit) {
    EXPECT_SAME_BITS(gamma_median_estimate(above(4.5)), above(4.5) - 0.3333333333333333);
    volatile double a = 4.5;  // evaluated by the library's exp, not by the compiler's
    EXPECT_SAME_BITS(gamma_median_estimate(4.5), std::exp(-0.6931471805599453 / a - 0.5772156649015329));
    EXPECT_LT(gamma_median_estimate(4.5),
              0.5);  // far below the median: the exponential form is for small shapes

    EXPECT_SAME_BITS(gamma_median_estimate(0.0), 0.0);
    EXPECT_SAME_BITS(gamma_median_estimate(below(1e-100)), 0.0);
    EXPECT_SAME_BITS(gamma_median_estimate(1e-100), 5e-101);
    EXPECT_SAME_BITS(gamma_median_estimate(1e-50), 5e-101);

    volatile double floor_value = 5e-101;
    const double c = -0.6931471805599453 / (std::log(floor_value) + 0.5772156649015329);
    EXPECT_SAME_BITS(gamma_median_estimate(below(c)), 5e-101);
    volatile double at = c;
    EXPECT_SAME_BITS(gamma_median_estimate(c), std::exp(-0.6931471805599453 / at - 0.5772156649015329));
    EXPECT_NE(bits(gamma_median_estimate(c)), bits(5e-101));
    EXPECT_TRUE(within_relative(gamma_median_estimate(c), 5e-101, 1e-12));
}

TEST(GammaTails, TheMedianItselfTakesTheUpperBranch) {
    int told_apart = 0;
    for (const double a :
         {0.5, 1.0, 2.75, 4.5, above(4.5), 6.5, 77.25, 5000.0, 10000.0, above(10000.0), 3e5}) {
        const double m = gamma_median_estimate(a);
        for (const double x : {below(m), m, above(m)}) {
            const double f = std::exp(log_gamma_pdf(a, x));
            const double lower = f * gamma_lower_ratio(a, x);
            const double upper = f * gamma_upper_ratio(a, x);
            const tail_pair got = gamma_tails(x, a);
            if (x < m) {
                EXPECT_SAME_BITS(got.lower, lower);
                EXPECT_SAME_BITS(got.upper, 1.0 - lower);
            } else {
                EXPECT_SAME_BITS(got.upper, upper);
                EXPECT_SAME_BITS(got.lower, 1.0 - upper);
            }
            told_apart += bits(lower) != bits(1.0 - upper);
        }
    }
    EXPECT_GT(told_apart, 15);
}

// The product is clamped to 1, and a product that is no number counts as 1.
TEST(GammaTails, TheComputedTailIsClamped) {
    // For tiny shapes almost all lies below 5e-101, where the estimate of the median stops: there the lower
    // tail is computed although it is nearly 1, and the rounding of the density takes it over 1 at times.
    int clamped = 0;
    for (int i = 1; i < 2000; ++i) {
        const double a = std::pow(10.0, -100.0 + 0.045 * i), x = 4e-101 / i;
        const double product = std::exp(log_gamma_pdf(a, x)) * gamma_lower_ratio(a, x);
        ASSERT_LT(x, gamma_median_estimate(a));
        const tail_pair tails = gamma_tails(x, a);
        EXPECT_SAME_BITS(tails.lower, std::fmin(product, 1.0));
        EXPECT_SAME_BITS(tails.upper, 1.0 - tails.lower);
        clamped += product > 1.0;
    }
    EXPECT_GT(clamped, 0);
    // Density 0 times an infinite ratio: astronomically far out at a large shape the expansion overflows.
    const double x = 1e200, a = 20000.0;
    EXPECT_SAME_BITS(std::exp(log_gamma_pdf(a, x)), 0.0);
    EXPECT_TRUE(std::isnan(gamma_upper_ratio(a, x)));
    EXPECT_SAME_BITS(gamma_tails(x, a).upper, 1.0);
    EXPECT_SAME_BITS(gamma_tails(x, a).lower, 0.0);
    EXPECT_SAME_BITS(gamma_tails(nan_value, 2.0).upper, 1.0);
}

// There is no test for an underflow: the density gives 0 by itself.
TEST(GammaTails, UnderflowingDensityGivesExactEnds) {
    EXPECT_SAME_BITS(gamma_tails(800.0, 2.0).upper, 0.0);
    EXPECT_SAME_BITS(gamma_tails(800.0, 2.0).lower, 1.0);
    EXPECT_SAME_BITS(gamma_tails(1e-5, 100.0).lower, 0.0);
    EXPECT_SAME_BITS(gamma_tails(1e-5, 100.0).upper, 1.0);
    // Below the logarithm of the smallest normal number the tail is still a subnormal, not 0.
    const double deep = gamma_tails(740.0, 1.0).upper;
    EXPECT_GT(deep, 0.0);
    EXPECT_LT(deep, std::numeric_limits<double>::min());
}

// P(1, x) = 1 - e^-x; P(1/2, x^2/2) = 2 Phi(x) - 1, its 95 % point; Q(5, x) by its finite sum.
TEST(GammaTails, ClosedForms) {
    for (const double x : {0.05, 0.7, 1.0, 3.0, 30.0}) {
        EXPECT_TRUE(within_relative(gamma_tails(x, 1.0).upper, std::exp(-x), 4e-14));
        EXPECT_TRUE(within_relative(gamma_tails(x, 5.0).upper,
                                    std::exp(-x) * (1 + x * (1 + x / 2 * (1 + x / 3 * (1 + x / 4)))), 4e-14));
    }
    const double z = 1.959963984540054;
    EXPECT_NEAR(gamma_tails(z * z / 2, 0.5).lower, 0.95, 1e-14);
}

// ---------------------------------------------------------------------------------------------------------
// The lower ratio

TEST(GammaLowerRatio, ShapeTenThousandStillTakesTheSeries) {
    const double x = 9990.0;
    EXPECT_SAME_BITS(gamma_lower_ratio(above(10000.0), x), gamma_lower_ratio_normal(above(10000.0), x));
    EXPECT_NE(bits(gamma_lower_ratio(10000.0, x)), bits(gamma_lower_ratio_normal(10000.0, x)));
    EXPECT_TRUE(within_relative(gamma_lower_ratio(10000.0, x), gamma_lower_ratio_normal(10000.0, x), 1e-8));
    EXPECT_NE(bits(gamma_lower_ratio(below(10000.0), x)), bits(gamma_lower_ratio_normal(below(10000.0), x)));
}

TEST(GammaLowerRatio, FirstTermBelowEpsilonIsTheOnlyOne) {
    EXPECT_SAME_BITS(gamma_lower_ratio(1.0, below(epsilon)), below(epsilon));
    EXPECT_SAME_BITS(gamma_lower_ratio(2.0, 1e-300), 1e-300 / 2.0);
    // x / a = epsilon goes on for one more term: ((0 + 1) x / 2 + 1) x / 1.
    EXPECT_SAME_BITS(gamma_lower_ratio(1.0, epsilon), (epsilon / 2.0 + 1.0) * epsilon);
    EXPECT_SAME_BITS(gamma_lower_ratio(3.0, 0.0), 0.0);
}

// Far above the shape the terms overflow before they come down; the sum does, too.
TEST(GammaLowerRatio, OverflowAndNaNComeBack) {
    EXPECT_SAME_BITS(gamma_lower_ratio(1.0, 5000.0), inf);
    EXPECT_SAME_BITS(gamma_lower_ratio(1.0, 1e300), inf);
    EXPECT_SAME_BITS(gamma_lower_ratio(1e-300, 1e300), inf);
    EXPECT_SAME_BITS(gamma_lower_ratio(2.0, inf), inf);
    EXPECT_SAME_BITS(gamma_lower_ratio(0.0, 1.0), inf);
    EXPECT_TRUE(std::isfinite(gamma_lower_ratio(1.0, 700.0)));
    EXPECT_TRUE(std::isnan(gamma_lower_ratio(nan_value, 1.0)));
    EXPECT_TRUE(std::isnan(gamma_lower_ratio(2.0, nan_value)));
    EXPECT_TRUE(std::isnan(gamma_lower_ratio(inf, inf)));
}

// ---------------------------------------------------------------------------------------------------------
// The upper ratio

TEST(GammaUpperRatio, ShapeTenThousandStillTakesTheSeries) {
    const double x = 10010.0;
    EXPECT_SAME_BITS(gamma_upper_ratio(above(10000.0), x), gamma_upper_ratio_normal(above(10000.0), x));
    EXPECT_SAME_BITS(gamma_upper_ratio(10000.0, x), gamma_upper_ratio_series(10000.0, x));
    EXPECT_NE(bits(gamma_upper_ratio(10000.0, x)), bits(gamma_upper_ratio_normal(10000.0, x)));
    EXPECT_TRUE(within_relative(gamma_upper_ratio(10000.0, x), gamma_upper_ratio_normal(10000.0, x), 1e-8));
}

TEST(GammaUpperRatio, ShapeBelowOneIsTheFraction) {
    for (const double a : {0.0, 1e-300, 0.3, below(1.0)})
        for (const double x : {1e-10, 0.5, 1.0, above(1.0), 40.0})
            EXPECT_SAME_BITS(gamma_upper_ratio(a, x), gamma_upper_fraction(a, x));
}

// A whole shape ends the product with a factor of zero: no fraction is run, the sum is 1 + (a - 1)/x (...).
TEST(GammaUpperRatio, WholeShapeIsAFiniteSum) {
    for (int a = 1; a <= 40; ++a) {
        for (const double x : {0.25, 1.0, 3.0, 50.0}) {
            double sum = 1.0;
            for (int i = a - 1; i >= 1; --i) sum = 1.0 + (a - i) / x * sum;
            // At 50 the product may come down to epsilon before the zero: the sum then starts higher up.
            EXPECT_TRUE(within_ulps(gamma_upper_ratio(a, x), sum, x < 50.0 ? 0 : 2)) << a << " " << x;
        }
    }
}

// v <= epsilon leaves with the count as it stands, one step further than the last term that matters.
TEST(GammaUpperRatio, StopsAtAnExactEpsilonInclusive) {
    const double x = std::ldexp(1.0, 52);
    // (a - 1) / x = 2^-52 exactly for a = 2: left at k = 1, and at k = 2 the factor would have been 0.
    EXPECT_SAME_BITS(gamma_upper_ratio(2.0, x), 1.0);
    // With a = 3 the first factor is 2^-51 and the second product 2^-103.
    EXPECT_SAME_BITS(gamma_upper_ratio(3.0, x), 1.0 + std::ldexp(2.0, -52) * 1.0);
}

TEST(GammaUpperRatio, OverflowAndNaNComeBack) {
    EXPECT_SAME_BITS(gamma_upper_ratio(200.0, 1e-10), inf);
    EXPECT_SAME_BITS(gamma_upper_ratio(200.5, 1e-10), inf);
    EXPECT_SAME_BITS(gamma_upper_ratio(9999.5, 1e-3), inf);
    // The last factor may overflow the product while the sum stays finite: the fraction takes it back down.
    EXPECT_TRUE(
        within_relative(gamma_upper_ratio(2.5, 1e-160), 0.75 * std::sqrt(3.141592653589793) * 1e240, 1e-12));
    EXPECT_TRUE(std::isnan(gamma_upper_ratio(nan_value, 1.0)));
    EXPECT_TRUE(std::isnan(gamma_upper_ratio(2.5, nan_value)));
    EXPECT_TRUE(std::isnan(gamma_upper_ratio(0.5, nan_value)));
    EXPECT_SAME_BITS(gamma_upper_ratio(2.5, inf), 1.0);
    EXPECT_SAME_BITS(gamma_upper_ratio(0.5, inf), 1.0);
}

// The series without its turn to the normal form counts any shape and comes back from each.
TEST(GammaUpperRatioSeries, AnyShape) {
    for (const double a : {3e4, 1e6, 1e8, 1e10}) {
        for (const double t : {0.0, 1.0, 5.0}) {
            const double x = a + t * std::sqrt(a);
            EXPECT_TRUE(within_relative(gamma_upper_ratio_series(a, x), gamma_upper_ratio_normal(a, x), 1e-8))
                << a << " " << t;
        }
        EXPECT_SAME_BITS(gamma_upper_ratio_series(a, 0.5 * a), inf);
    }
    // A count beyond 32 bits.
    EXPECT_TRUE(within_relative(gamma_upper_ratio_series(5e9, 6e9), 6.0, 1e-8));
    for (const double a : {above(1e12), 1e300})
        EXPECT_SAME_BITS(gamma_upper_ratio_series(a, a), gamma_upper_ratio_normal(a, a));
    EXPECT_TRUE(std::isnan(gamma_upper_ratio_series(inf, inf)));
    EXPECT_TRUE(std::isnan(gamma_upper_ratio_series(nan_value, 1.0)));
}

// ---------------------------------------------------------------------------------------------------------
// The remainder of the upper series

double fraction_by_series(double a, double x) {
    double t = std::pow(x, a + 1.0) / (a + 1.0);
    double sum = t;
    for (int k = 2;; ++k) {
        t = -t * x * (a + k - 1.0) / k / (a + k);
        sum += t;
        if (std::fabs(t) < 1e-14) break;
    }
    const double log_x = std::log(x);
    return (-gamma_one_minus_ratio(a) - log_x * expm1_ratio(a * log_x) + sum) * std::pow(x, 1.0 - a) *
           std::exp(x);
}

TEST(GammaUpperFraction, OneTakesTheSeries) {
    int told_apart = 0;
    for (const double a : {0.0, 0.125, 0.25, 0.375, 0.5, 0.75, 0.9}) {
        EXPECT_SAME_BITS(gamma_upper_fraction(a, 1.0), fraction_by_series(a, 1.0));
        EXPECT_SAME_BITS(gamma_upper_fraction(a, below(1.0)), fraction_by_series(a, below(1.0)));
        told_apart += bits(gamma_upper_fraction(a, above(1.0))) != bits(fraction_by_series(a, above(1.0)));
        EXPECT_TRUE(
            within_relative(gamma_upper_fraction(a, above(1.0)), gamma_upper_fraction(a, 1.0), 1e-13));
    }
    EXPECT_GT(told_apart, 3);
}

// a = 0 is x e^x E1(x); E1(1) = 0.21938393439552028 (Abramowitz & Stegun, table 5.1), E1(2) =
// 0.04890051070806112.
TEST(GammaUpperFraction, ExponentialIntegral) {
    EXPECT_TRUE(within_relative(gamma_upper_fraction(0.0, 1.0), std::exp(1.0) * 0.21938393439552028, 1e-14));
    EXPECT_TRUE(
        within_relative(gamma_upper_fraction(0.0, 2.0), 2.0 * std::exp(2.0) * 0.04890051070806112, 1e-14));
}

// One of the rare arguments whose convergents never come close enough: the recurrence overflows at step 167,
// and c1 of step 166 is the answer. No library function is called on the way.
TEST(GammaUpperFraction, OverflowReturnsTheLastFiniteConvergent) {
    const double a = 0x1.c1ac7a298fb9dp-1, x = 0x1.001df28d84847p+0;
    EXPECT_SAME_BITS(gamma_upper_fraction(a, x), 0x1.dcc62afb4319ep-1);
    EXPECT_TRUE(within_ulps(gamma_upper_fraction(a, x), 0x1.dcc62afb43193p-1, 16));  // 50 digits, rounded
}

TEST(GammaUpperFraction, EndsAndNaNs) {
    EXPECT_SAME_BITS(gamma_upper_fraction(0.5, inf), 1.0);
    EXPECT_SAME_BITS(gamma_upper_fraction(0.5, 1e300), 1.0);
    EXPECT_TRUE(std::isnan(gamma_upper_fraction(nan_value, 5.0)));
    EXPECT_TRUE(std::isnan(gamma_upper_fraction(nan_value, 0.5)));
    EXPECT_TRUE(std::isnan(gamma_upper_fraction(0.5, nan_value)));
    EXPECT_TRUE(std::isnan(gamma_upper_fraction(0.5, -inf)));  // comes back, whatever it is
}

// ---------------------------------------------------------------------------------------------------------
// Large shapes

// At x = a the polynomials are C2 = 1/12, C3 = 0, D1 = 1/3, D3 = 48/1620, all exact in hand arithmetic.
TEST(GammaNormalForm, AtTheShapeItself) {
    const double a = 40000.0, e = 1.0 / 200.0;
    const double mills = std::sqrt(std::acos(-1.0) / 2.0);
    const double A = 1.0 + e * e / 12.0;
    const double B = e / 3.0 + e * e * e * 48.0 / 1620.0;
    EXPECT_TRUE(within_relative(gamma_upper_ratio_normal(a, a), (mills * A - B) * 200.0, 1e-14));
    EXPECT_TRUE(within_relative(gamma_lower_ratio_normal(a, a), (mills * A + B) * 200.0, 1e-14));
}

// The two share A and B, so their sum is (M(t) + M(-t)) A r = A r / phi(t).
TEST(GammaNormalForm, TheTwoRatiosShareTheirPolynomials) {
    for (const double t : {-3.0, -1.0, 0.25, 3.0}) {
        const double a = 1e6, r = 1e3, x = a + t * r;
        const double lower = gamma_lower_ratio_normal(a, x), upper = gamma_upper_ratio_normal(a, x);
        const double A = (lower + upper) / r / (normal_mills_ratio(t) + normal_mills_ratio(-t));
        EXPECT_NEAR(A, 1.0 - (t * t - 3.0) * t / 3.0 / r, 1e-4);
        EXPECT_TRUE(within_relative((upper + lower) * std::exp(log_gamma_pdf(a, x)), 1.0, 1e-8));
    }
}

TEST(GammaNormalForm, BothFormsOfTheMillsRatio) {
    // t = 25 and the next point above: quotient and asymptotic series, equal to the accuracy of AS 66.
    const double a = 1e6, r = 1e3;
    const double at = gamma_upper_ratio_normal(a, a + 25.0 * r);
    const double over = gamma_upper_ratio_normal(a, above(a + 25.0 * r));
    EXPECT_NE(bits(at), bits(over));
    EXPECT_TRUE(within_relative(over, at, 1e-7));
}

// ---------------------------------------------------------------------------------------------------------

TEST(IncompleteGammaLaws, PreparedEqualsPlain) {
    std::mt19937_64 random(5);
    std::uniform_real_distribution<double> exponent(-3.0, 6.0), unit(0.0, 1.0);
    const auto check = [&](double a) {
        const gamma_tail_kernel kernel(a);
        EXPECT_SAME_BITS(kernel.shape(), a);
        for (int i = 0; i < 12; ++i) {
            const double x = i % 3 == 0 ? std::pow(10.0, exponent(random))
                                        : std::fmax(1e-3, a + 12.0 * (unit(random) - 0.5) * std::sqrt(a));
            const tail_pair plain = gamma_tails(x, a), prepared = kernel(x);
            EXPECT_SAME_BITS(prepared.lower, plain.lower);
            EXPECT_SAME_BITS(prepared.upper, plain.upper);
            EXPECT_SAME_BITS(kernel.lower_ratio(x), gamma_lower_ratio(a, x));
            EXPECT_SAME_BITS(kernel.upper_ratio(x), gamma_upper_ratio(a, x));
            EXPECT_SAME_BITS(kernel.log_density(x), log_gamma_pdf(a, x));
        }
    };
    for (int set = 0; set < 250; ++set) check(std::pow(10.0, exponent(random)));
    for (const double a : {1.0, 2.0, 4.5, above(4.5), 10000.0, above(10000.0), 1e-120, 0.003, 0.0030087})
        check(a);
}

TEST(IncompleteGammaLaws, TailsFallAndAddUp) {
    for (const double a : {0.2, 1.0, 3.7, 60.0, 8000.0, 50000.0}) {
        double before = 1.0;
        for (int i = 1; i < 400; ++i) {
            const double x = a * 0.01 * i;
            const tail_pair tails = gamma_tails(x, a);
            EXPECT_NEAR(tails.lower + tails.upper, 1.0, 2e-16);
            EXPECT_LE(tails.upper, before * (1.0 + 1e-9) + 1e-300) << a << " " << x;
            before = tails.upper;
        }
    }
}

}  // namespace
