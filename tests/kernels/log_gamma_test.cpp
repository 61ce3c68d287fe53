#include "kernels/log_gamma.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <functional>
#include <limits>
#include <map>
#include <random>
#include <string>

#include "kernels/log_gamma_lanes.hpp"
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

// The routine of a table's row, at its arguments.
double evaluate(const std::string& routine, double x, double y, double z) {
    static const std::map<std::string, std::function<double(double, double, double)>> routines = {
        {"log1p_small", [](double u, double, double) { return log1p_small(u); }},
        {"expm1_ratio", [](double u, double, double) { return expm1_ratio(u); }},
        {"stirling_series", [](double u, double, double) { return stirling_series(u); }},
        {"log_gamma_shift", [](double u, double, double) { return log_gamma_shift(u); }},
        {"gamma_stirling", [](double u, double, double) { return gamma_stirling(u); }},
        {"gamma_one_minus_ratio", [](double u, double, double) { return gamma_one_minus_ratio(u); }},
        {"log_gamma_remainder", [](double u, double, double) { return log_gamma_remainder(u); }},
        {"log_poisson_pmf", [](double k, double m, double) { return log_poisson_pmf(k, m); }},
        {"log_gamma_pdf", [](double a, double u, double) { return log_gamma_pdf(a, u); }},
        {"log_beta_pdf", [](double a, double b, double u) { return log_beta_pdf(a, b, u); }},
    };
    return routines.at(routine)(x, y, z);
}

TEST(LogGamma, EveryBitOfTheIndependentTable) {
    const reference_table table("kernel_bits_log_gamma");
    ASSERT_GT(table.size(), 1000u);
    for (std::size_t i = 0; i < table.size(); ++i) {
        const double x = table.number(i, "x"), y = table.number(i, "y"), z = table.number(i, "z");
        const std::string& routine = table.text(i, "routine");
        EXPECT_PLATFORM_BITS(evaluate(routine, x, y, z), table.number(i, "value"))
            << routine << ", " << table.text(i, "branch") << ": " << show(x) << ", " << show(y) << ", "
            << show(z);
    }
}

// Errors are relative to max(|value|, floor). A log density or a log gamma is judged with floor 1, that is by
// its absolute error where it is small: this is the relative error of what its exponential gives.
struct regime_limit {
    double limit;  // about 3 times what was measured
    double floor;
};

TEST(LogGamma, AccuracyPerRegime) {
    const std::map<std::string, regime_limit> limits = {
        {"log1p_series", {1e-15, 0.0}},
        {"log1p_logarithm", {3e-15, 0.0}},
        {"expm1_series", {1e-15, 0.0}},
        {"expm1_exponential", {8e-15, 0.0}},
        {"remainder_expansion", {1.3e-11, 0.0}},
        {"remainder_shift", {1.5e-12, 0.0}},
        {"remainder_series", {7e-16, 0.0}},
        {"stirling_series", {6e-16, 0.0}},
        {"log_gamma_shift", {9e-15, 1.0}},
        {"log_gamma_no_shift", {7e-16, 1.0}},
        {"gamma_reciprocal", {7e-16, 0.0}},
        {"gamma_shift", {1e-14, 0.0}},
        {"gamma_no_shift", {5e-14, 0.0}},
        {"one_minus_Taylor", {2e-10, 0.0}},
        {"one_minus_quotient", {4e-12, 0.0}},
        {"poisson_mean_below_1", {1.7e-14, 1.0}},
        {"poisson_near_the_mean", {2.2e-13, 1.0}},
        {"poisson_far", {1.5e-14, 1.0}},
        {"gamma_near_the_mode", {8e-13, 1.0}},
        {"gamma_far", {7e-15, 1.0}},
        {"gamma_opposite", {7e-16, 1.0}},
        {"gamma_both_below_1", {7e-15, 1.0}},
        {"beta_near_the_mode", {6e-12, 1.0}},
        {"beta_moderate", {2.5e-14, 1.0}},
        {"beta_small_point", {7e-16, 1.0}},
        {"beta_uniform", {6e-15, 1.0}},
    };
    std::map<std::string, double> worst;
    const reference_table table("log_gamma");
    for (std::size_t i = 0; i < table.size(); ++i) {
        const double x = table.number(i, "x"), y = table.number(i, "y"), z = table.number(i, "z");
        const std::string& regime = table.text(i, "regime");
        const double want = table.number(i, "value");
        const double got = evaluate(table.text(i, "routine"), x, y, z);
        const double size = std::fmax(std::fabs(want), limits.at(regime).floor);
        const double error = std::fabs(got - want) / size;
        EXPECT_LE(error, limits.at(regime).limit)
            << regime << ": " << show(x) << ", " << show(y) << ", " << show(z) << "\ngot " << show(got)
            << "\nwant " << show(want);
        worst[regime] = std::fmax(worst[regime], error);
    }
    EXPECT_EQ(worst.size(), limits.size());
    for (const auto& [regime, error] : worst) std::printf("%-24s worst error %.2e\n", regime.c_str(), error);
}

TEST(LogGamma, LoadTimeConstantsAreTheLibraryLogarithms) {
    volatile double smallest = std::numeric_limits<double>::min();
    volatile double largest = std::numeric_limits<double>::max();
    volatile double circle = 6.283185307179586;
    EXPECT_PLATFORM_BITS(log_dbl_min, std::log(smallest));
    EXPECT_PLATFORM_BITS(log_dbl_max, std::log(largest));
    EXPECT_PLATFORM_BITS(half_log_two_pi, 0.5 * std::log(circle));
    EXPECT_SAME_BITS(largest_double, largest);
}

// The coefficients are B_2m / (2m (2m - 1)), B_2m = 1/6, -1/30, 1/42, -1/30, 5/66, -691/2730, 7/6.
TEST(LogGamma, StirlingCoefficientsAreTheirFractions) {
    const double fraction[] = {1.0 / 156,    -691.0 / 360360, 1.0 / 1188, -1.0 / 1680,
                               1.0 / 1260.0, -1.0 / 360,      1.0 / 12};
    for (int i = 0; i < 7; ++i) EXPECT_SAME_BITS(stirling_coefficient[i], fraction[i]);
}

// ---------------------------------------------------------------------------------------------------------

double log1p_by_series(double u) {
    double v = 0.0;
    for (int n = 20; n > 0; n--) v = u * (1.0 / static_cast<double>(n) - v);
    return v;
}

double expm1_by_series(double u) {
    double v = 0.0;
    for (int n = 20; n > 1; n--) v = v * u / static_cast<double>(n) + 1.0;
    return v;
}

TEST(Log1pSmall, TheLimitItselfTakesTheSeries) {
    for (const double sign : {1.0, -1.0}) {
        const double u = sign * 0.02;
        const double outside = std::nextafter(u, sign * inf);
        const double inside = std::nextafter(u, 0.0);
        EXPECT_SAME_BITS(log1p_small(u), log1p_by_series(u));
        EXPECT_SAME_BITS(log1p_small(inside), log1p_by_series(inside));
        EXPECT_SAME_BITS(log1p_small(outside), std::log(outside + 1.0));
        EXPECT_NE(bits(log1p_by_series(outside)), bits(std::log(outside + 1.0)))
            << "the two forms must differ for this to show which one ran";
    }
}

TEST(Log1pSmall, LanesAreThoseOfEachArgument) {
    for (const double sign : {1.0, -1.0}) {
        const lane_array arguments{0.02, std::nextafter(0.02, inf), std::nextafter(0.02, 0.0), 0.7};
        log1p_lanes one, other;
        for (std::size_t l = 0; l < lane_count; ++l) {
            one.log1p(l, sign * arguments[l], 1.0);
            other.log1p(l, sign * arguments[lane_count - 1 - l], -1.0);
        }
        settle(one, other);
        for (std::size_t l = 0; l < lane_count; ++l) {
            EXPECT_SAME_BITS(one.values()[l], log1p_small(sign * arguments[l]));
            EXPECT_SAME_BITS(other.values()[l], -log1p_small(sign * arguments[lane_count - 1 - l]));
        }
    }
}

TEST(Log1pSmall, Ends) {
    EXPECT_SAME_BITS(log1p_small(0.0), 0.0);
    EXPECT_SAME_BITS(log1p_small(1e-300), 1e-300);
    EXPECT_SAME_BITS(log1p_small(-1.0), -inf);
    EXPECT_SAME_BITS(log1p_small(inf), inf);
    EXPECT_TRUE(std::isnan(log1p_small(-1.5)));
    EXPECT_TRUE(std::isnan(log1p_small(nan_value)));
}

TEST(Expm1Ratio, TheLimitItselfTakesTheSeries) {
    for (const double sign : {1.0, -1.0}) {
        const double u = sign * 0.03;
        const double outside = std::nextafter(u, sign * inf);
        const double inside = std::nextafter(u, 0.0);
        EXPECT_SAME_BITS(expm1_ratio(u), expm1_by_series(u));
        EXPECT_SAME_BITS(expm1_ratio(inside), expm1_by_series(inside));
        EXPECT_SAME_BITS(expm1_ratio(outside), (std::exp(outside) - 1.0) / outside);
        EXPECT_NE(bits(expm1_by_series(outside)), bits((std::exp(outside) - 1.0) / outside));
    }
}

TEST(Expm1Ratio, Ends) {
    EXPECT_SAME_BITS(expm1_ratio(0.0), 1.0);
    EXPECT_SAME_BITS(expm1_ratio(-0.0), 1.0);
    EXPECT_SAME_BITS(expm1_ratio(1000.0), inf);
    EXPECT_SAME_BITS(expm1_ratio(-1000.0), 0.001);
    EXPECT_SAME_BITS(expm1_ratio(-inf), 0.0);
    EXPECT_TRUE(std::isnan(expm1_ratio(nan_value)));
}

// ---------------------------------------------------------------------------------------------------------

double remainder_by_expansion(double x) {
    return x * ((-0.4006856343865313 * x + 0.8224670334241132) * x + (0.42278433509846713 - std::log(x)));
}

double remainder_by_series(double x) {
    return std::log(std::sqrt(x * 6.283185307179586)) + stirling_series(x);
}

double remainder_by_shift(double x) { return log_gamma_shift(1.0 + x) - x * (std::log(x) - 1.0); }

TEST(LogGammaRemainder, WhichFormBelongsToEachLimit) {
    for (const double x : {below(0.0005), 0.0005})
        EXPECT_SAME_BITS(log_gamma_remainder(x), remainder_by_expansion(x));
    for (const double x : {above(0.0005), below(9.0), 9.0})
        EXPECT_SAME_BITS(log_gamma_remainder(x), remainder_by_shift(x));
    EXPECT_SAME_BITS(log_gamma_remainder(above(9.0)), remainder_by_series(above(9.0)));
    EXPECT_NE(bits(remainder_by_expansion(0.0005)), bits(remainder_by_shift(0.0005)));
    EXPECT_NE(bits(remainder_by_expansion(above(0.0005))), bits(remainder_by_shift(above(0.0005))));
    EXPECT_NE(bits(remainder_by_series(9.0)), bits(remainder_by_shift(9.0)));
    EXPECT_NE(bits(remainder_by_series(above(9.0))), bits(remainder_by_shift(above(9.0))));
}

TEST(LogGammaRemainder, NoGuardAtZeroButOneForTheCallers) {
    EXPECT_TRUE(std::isnan(log_gamma_remainder(0.0)));
    EXPECT_TRUE(std::isnan(log_gamma_remainder(-1.0)));
    EXPECT_TRUE(std::isnan(log_gamma_remainder(nan_value)));
    EXPECT_SAME_BITS(remainder_or_zero(0.0), 0.0);
    EXPECT_SAME_BITS(remainder_or_zero(-0.0), 0.0);
    EXPECT_TRUE(std::isnan(remainder_or_zero(nan_value)));
    for (const double x : {1e-300, 0.25, 3.0, 40.0})
        EXPECT_SAME_BITS(remainder_or_zero(x), log_gamma_remainder(x));
    EXPECT_GT(log_gamma_remainder(1e-300), 0.0);
}

// Its meaning, ln k! = remainder + k (ln k - 1), at factorials that are exact doubles.
TEST(LogGammaRemainder, GivesTheFactorials) {
    double factorial = 1.0;
    for (int k = 1; k <= 18; ++k) {
        factorial *= k;
        EXPECT_TRUE(
            within_relative(log_gamma_remainder(k) + k * (std::log(k) - 1.0), std::log(factorial), 1e-14) ||
            k == 1)
            << k;
    }
    EXPECT_NEAR(log_gamma_remainder(1.0), 1.0, 1e-14);
}

TEST(GammaStirling, OneIsOneUpToRounding) {
    EXPECT_TRUE(within_ulps(gamma_stirling(1.0), 1.0, 16));
    // Nine divisions: by 1, 2, ..., 9, the next argument being 10.
    double f = 1.0;
    for (int z = 1; z <= 9; ++z) f = f / z;
    const double at_ten = std::pow(10.0 / 2.718281828459045, 10.0) * std::sqrt(6.283185307179586 / 10.0) *
                          std::exp(stirling_series(10.0)) * f;
    EXPECT_SAME_BITS(gamma_stirling(1.0), at_ten);
}

TEST(GammaStirling, ReciprocalBelowEpsilon) {
    const double epsilon = std::numeric_limits<double>::epsilon();
    EXPECT_SAME_BITS(gamma_stirling(below(epsilon)), 1.0 / below(epsilon));
    EXPECT_TRUE(within_relative(gamma_stirling(epsilon), 1.0 / epsilon, 1e-14));
    EXPECT_NE(bits(gamma_stirling(epsilon)), bits(1.0 / epsilon));
    EXPECT_SAME_BITS(gamma_stirling(0.0), inf);
    EXPECT_SAME_BITS(gamma_stirling(-0.0), -inf);
    EXPECT_SAME_BITS(gamma_stirling(-2.0), -0.5);  // the reciprocal has no lower limit
    EXPECT_SAME_BITS(gamma_stirling(200.0), inf);
    EXPECT_TRUE(std::isnan(gamma_stirling(nan_value)));
}

TEST(GammaOneMinusRatio, TheLimitItselfTakesTheTaylorSeries) {
    EXPECT_SAME_BITS(gamma_one_minus_ratio(0.0), 0.5772156649015329);
    for (const double x : {below(0.0025), 0.0025}) {
        const double taylor =
            ((-23.561474084025605 * x / 24.0 + 0.9074790760808863) * x - 0.9890559953279725) * x +
            0.5772156649015329;
        EXPECT_SAME_BITS(gamma_one_minus_ratio(x), taylor);
        EXPECT_NE(bits(taylor), bits((1.0 - gamma_stirling(1.0 + x)) / x));
    }
    const double x = above(0.0025);
    EXPECT_SAME_BITS(gamma_one_minus_ratio(x), (1.0 - gamma_stirling(1.0 + x)) / x);
}

// ---------------------------------------------------------------------------------------------------------

TEST(LogPoissonPmf, ZeroCountIsMinusTheMean) {
    for (const double m : {0.0, 1e-300, 0.5, 3.0, 10000.0, 1e300}) {
        EXPECT_SAME_BITS(log_poisson_pmf(0.0, m), -m);
        EXPECT_SAME_BITS(log_poisson_pmf(-0.0, m), -m);
    }
}

TEST(LogPoissonPmf, UnderflowGuardIsOneCornerOnly) {
    const double lowest = std::numeric_limits<double>::lowest();
    EXPECT_SAME_BITS(log_poisson_pmf(14500.0, 10000.0), lowest);
    EXPECT_SAME_BITS(log_poisson_pmf(1e12, 0.5), lowest);
    EXPECT_SAME_BITS(log_poisson_pmf(inf, 1.0), lowest);
    for (const auto& [k, m] : {std::pair{14500.0, 10001.0}, std::pair{14500.0, above(10000.0)},
                               std::pair{below(14500.0), 10000.0}}) {
        EXPECT_GT(log_poisson_pmf(k, m), -1000.0);
        EXPECT_LT(log_poisson_pmf(k, m), log_dbl_min);
    }
}

TEST(LogPoissonPmf, WhichLogarithmIsTaken) {
    const auto with = [](double k, double m, double log_ratio) {
        return (k - m) + k * log_ratio - log_gamma_remainder(k);
    };
    EXPECT_SAME_BITS(log_poisson_pmf(3.0, below(1.0)),
                     with(3.0, below(1.0), std::log(below(1.0)) - std::log(3.0)));
    EXPECT_SAME_BITS(log_poisson_pmf(3.0, 1.0), with(3.0, 1.0, -log1p_small(2.0)));
    EXPECT_SAME_BITS(log_poisson_pmf(3.0, 3.0), with(3.0, 3.0, -log1p_small(0.0)));
    EXPECT_SAME_BITS(log_poisson_pmf(3.0, 4.0), with(3.0, 4.0, log1p_small(1.0 / 3.0)));
    EXPECT_TRUE(std::isnan(log_poisson_pmf(nan_value, 3.0)));
    EXPECT_TRUE(std::isnan(log_poisson_pmf(3.0, nan_value)));
}

TEST(LogGammaPdf, WhichLogarithmIsTaken) {
    const auto with = [](double a, double y, double log_ratio) {
        return (a - y) + (a - 1.0) * log_ratio - log_gamma_remainder(a);
    };
    const double over = above(1.0), under = below(1.0);
    EXPECT_SAME_BITS(log_gamma_pdf(3.0, under), with(3.0, under, std::log(under) - std::log(3.0)));
    EXPECT_SAME_BITS(log_gamma_pdf(3.0, 1.0), with(3.0, 1.0, -log1p_small(2.0)));
    EXPECT_SAME_BITS(log_gamma_pdf(0.5, over), with(0.5, over, std::log(over) - std::log(0.5)));
    EXPECT_SAME_BITS(log_gamma_pdf(0.5, 1.0), with(0.5, 1.0, log1p_small(1.0)));
    EXPECT_SAME_BITS(log_gamma_pdf(over, 0.5), with(over, 0.5, std::log(0.5) - std::log(over)));
    EXPECT_SAME_BITS(log_gamma_pdf(3.0, 3.0), with(3.0, 3.0, 0.0));
    EXPECT_SAME_BITS(log_gamma_pdf(3.0, 4.0), with(3.0, 4.0, log1p_small(1.0 / 3.0)));
    EXPECT_SAME_BITS(log_gamma_pdf(4.0, 3.0), with(4.0, 3.0, -log1p_small(1.0 / 3.0)));
    // One itself is on neither side: near it the series differs from the logarithms, for these shapes to the
    // end.
    EXPECT_SAME_BITS(log_gamma_pdf(1.017278, 1.0), with(1.017278, 1.0, -log1p_small(1.017278 - 1.0)));
    EXPECT_SAME_BITS(log_gamma_pdf(0.980152, 1.0),
                     with(0.980152, 1.0, log1p_small((1.0 - 0.980152) / 0.980152)));
    // Shape 0: no remainder is taken, and the limit of the density is 0.
    EXPECT_SAME_BITS(log_gamma_pdf(0.0, 0.5), -inf);
    EXPECT_SAME_BITS(log_gamma_pdf(0.0, 2.0), -inf);
    // Shape 1 is exp(-y) up to the rounding of (1 - y) and of the remainder.
    for (const double y : {0.1, 0.9, 1.0, 5.0, 100.0})
        EXPECT_NEAR(log_gamma_pdf(1.0, y), -y, 1e-14 * (1.0 + y));
    EXPECT_TRUE(std::isnan(log_gamma_pdf(nan_value, 1.0)));
    EXPECT_TRUE(std::isnan(log_gamma_pdf(1.0, nan_value)));
}

TEST(LogBetaPdf, UniformIsZeroUpToRounding) {
    for (int i = 1; i < 1000; ++i) EXPECT_NEAR(log_beta_pdf(1.0, 1.0, i / 1000.0), 0.0, 5e-15) << i;
    for (const double y : {1e-300, 1e-16, below(0.5), 0.5, above(0.5), below(1.0)})
        EXPECT_NEAR(log_beta_pdf(1.0, 1.0, y), 0.0, 5e-16 * (10.0 - std::log(y))) << y;
}

TEST(LogBetaPdf, WhichLogarithmsAreTaken) {
    const auto with = [](double a, double b, double A, double B) {
        const double c = a + b;
        return std::log(c) + (log_gamma_remainder(c) - log_gamma_remainder(a) - log_gamma_remainder(b) +
                              a * A + b * B - A - B);
    };
    // c y = 2 and c (1 - y) = 3 exactly: d = 0 takes the first of the two series in both.
    EXPECT_SAME_BITS(log_beta_pdf(2.5, 1.5, 0.625), with(2.5, 1.5, log1p_small(0.0), -log1p_small(0.0)));
    // d > 0, d < 0, both points above 1.
    EXPECT_SAME_BITS(log_beta_pdf(2.0, 6.0, 0.5),
                     with(2.0, 6.0, log1p_small(2.0 / 2.0), -log1p_small(2.0 / 8.0 / 0.5)));
    EXPECT_SAME_BITS(log_beta_pdf(6.0, 2.0, 0.5),
                     with(6.0, 2.0, -log1p_small(2.0 / 8.0 / 0.5), log1p_small(2.0 / 2.0)));
    // c y < 1 < a: two logarithms for A, while B is judged by itself; and the mirror image.
    EXPECT_SAME_BITS(log_beta_pdf(6.0, 2.0, 0.0625),
                     with(6.0, 2.0, std::log(0.5) - std::log(6.0), log1p_small(5.5 / 2.0)));
    EXPECT_SAME_BITS(log_beta_pdf(2.0, 6.0, 0.9375),
                     with(2.0, 6.0, log1p_small(5.5 / 2.0), std::log(0.5) - std::log(6.0)));
    // c y = 1 exactly is on neither side.
    EXPECT_SAME_BITS(log_beta_pdf(6.0, 2.0, 0.125),
                     with(6.0, 2.0, -log1p_small(5.0 / 8.0 / 0.125), log1p_small(5.0 / 2.0)));
    EXPECT_TRUE(std::isnan(log_beta_pdf(2.0, nan_value, 0.5)));
    EXPECT_TRUE(std::isnan(log_beta_pdf(2.0, 2.0, nan_value)));
}

// ---------------------------------------------------------------------------------------------------------

TEST(LogGammaLaws, PreparedEqualsPlain) {
    std::mt19937_64 random(7);
    std::uniform_real_distribution<double> unit(0.0, 1.0), exponent(-8.0, 8.0);
    for (int set = 0; set < 300; ++set) {
        const double a = std::pow(10.0, exponent(random)), b = std::pow(10.0, exponent(random));
        const gamma_log_density gamma(a);
        const beta_log_density beta(a, b);
        for (int i = 0; i < 20; ++i) {
            const double y = unit(random);
            const double x = i % 2 ? a * (1.0 + 0.1 * (y - 0.5)) : std::pow(10.0, exponent(random));
            EXPECT_SAME_BITS(gamma(x), log_gamma_pdf(a, x));
            EXPECT_SAME_BITS(beta(y), log_beta_pdf(a, b, y));
        }
    }
    EXPECT_SAME_BITS(gamma_log_density(0.0)(2.0), log_gamma_pdf(0.0, 2.0));
}

// k! m^-k e^m is the same number at counts and at shapes one higher: the two densities meet.
TEST(LogGammaLaws, PoissonMeetsGamma) {
    std::mt19937_64 random(11);
    std::uniform_real_distribution<double> count(0.0, 500.0), mean(0.1, 500.0);
    for (int i = 0; i < 2000; ++i) {
        const double k = std::floor(count(random)), m = mean(random);
        const double mass = log_poisson_pmf(k, m);
        EXPECT_NEAR(mass, log_gamma_pdf(k + 1.0, m), 2e-13 * (1.0 + std::fabs(mass))) << k << " " << m;
    }
}

}  // namespace
