// The beta family: ends of the support, parameter checks, exact bits, 50-digit values, laws, array forms.
#include <algorithm>
#include <cmath>
#include <limits>
#include <random>
#include <vector>

#include "kernels/incomplete_beta.hpp"
#include "kernels/log_gamma.hpp"
#include "quantiles/beta_quantile.hpp"
#include "support/bits.hpp"
#include "support/quantile_bits.hpp"
#include "support/reference_table.hpp"
#include "support/threads.hpp"
#include "support/worst_errors.hpp"
#include "zolv.h"

namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double quiet_nan = std::numeric_limits<double>::quiet_NaN();
const double negative_nan = std::copysign(quiet_nan, -1.0);
constexpr unsigned char both_tails[] = {0, 1};
const double below_half = std::nextafter(0.5, 0.0);

TEST(BetaParameters, ABadShapeIsTheMissingValueWhateverTheVariate) {
    const double bad[] = {0.0, -0.0, -1.0, -infinity, infinity, quiet_nan, negative_nan, -5e-324};
    const double variates[] = {0.3, 0.0, 1.0, -1.0, 2.0, infinity, -infinity, quiet_nan, negative_nan, 0.5};
    for (const double shape : bad) {
        for (const double x : variates) {
            for (const bool first : {true, false}) {
                const double a = first ? shape : 2.0, b = first ? 2.0 : shape;
                EXPECT_MISSING(zolv_BetaPdf(x, a, b));
                for (const int upper : {0, 1, 255}) {
                    EXPECT_MISSING(zolv_BetaCdf(x, a, b, static_cast<unsigned char>(upper)));
                    EXPECT_MISSING(zolv_BetaInvCdf(x, a, b, static_cast<unsigned char>(upper)));
                }
            }
        }
        const std::vector<double> in{0.1, quiet_nan, 2.0};
        std::vector<double> pdf(3, 7.0), cdf(3, 7.0), inv(3, 7.0);
        zolv_ParallelBetaPdf(in.data(), 3, shape, 1.0, pdf.data());
        zolv_ParallelBetaCdf(in.data(), 3, 1.0, shape, 1, cdf.data());
        zolv_ParallelBetaInvCdf(in.data(), 3, shape, shape, 0, inv.data());
        for (std::size_t i = 0; i < 3; ++i) {
            EXPECT_MISSING(pdf[i]);
            EXPECT_MISSING(cdf[i]);
            EXPECT_MISSING(inv[i]);
        }
    }
    // The smallest and the largest double are shapes.
    EXPECT_FALSE(std::isnan(zolv_BetaCdf(0.25, 5e-324, 1.0, 0)));
    EXPECT_FALSE(std::isnan(zolv_BetaCdf(0.25, 1.0, std::numeric_limits<double>::max(), 0)));
}

TEST(BetaPdf, TheEndsOfTheSupport) {
    for (const double s : {0.3, 1.0, 2.5, 1e-300, 1e300}) {
        EXPECT_EQ(zolv_BetaPdf(0.0, 0.5, s), infinity);
        EXPECT_EQ(zolv_BetaPdf(0.0, std::nextafter(1.0, 0.0), s), infinity);
        EXPECT_SAME_BITS(zolv_BetaPdf(0.0, 1.0, s), s);
        EXPECT_SAME_BITS(zolv_BetaPdf(0.0, std::nextafter(1.0, 2.0), s), 0.0);
        EXPECT_SAME_BITS(zolv_BetaPdf(0.0, 2.0, s), 0.0);
        EXPECT_SAME_BITS(zolv_BetaPdf(-0.0, 1.0, s), s);
        EXPECT_EQ(zolv_BetaPdf(1.0, s, 0.5), infinity);
        EXPECT_SAME_BITS(zolv_BetaPdf(1.0, s, 1.0), s);
        EXPECT_SAME_BITS(zolv_BetaPdf(1.0, s, 2.0), 0.0);
        for (const double x : {-5e-324, -0.5, -infinity, std::nextafter(1.0, 2.0), 1.5, 1e300, infinity}) {
            EXPECT_SAME_BITS(zolv_BetaPdf(x, s, 0.5), 0.0);
        }
        EXPECT_SIGN_SET_NAN(zolv_BetaPdf(quiet_nan, s, 2.0));
        EXPECT_SIGN_SET_NAN(zolv_BetaPdf(negative_nan, s, 2.0));
    }
}

TEST(BetaCdf, TheEndsOfTheSupport) {
    for (const double x : {-infinity, -1.0, -0.0, 0.0}) {
        EXPECT_SAME_BITS(zolv_BetaCdf(x, 0.4, 3.0, 0), 0.0);
        EXPECT_SAME_BITS(zolv_BetaCdf(x, 0.4, 3.0, 1), 1.0);
        EXPECT_SAME_BITS(zolv_BetaCdf(x, 0.4, 3.0, 200), 1.0);
    }
    for (const double x : {1.0, 1.5, infinity}) {
        EXPECT_SAME_BITS(zolv_BetaCdf(x, 0.4, 3.0, 0), 1.0);
        EXPECT_SAME_BITS(zolv_BetaCdf(x, 0.4, 3.0, 1), 0.0);
    }
    for (const double x : {quiet_nan, negative_nan}) {
        EXPECT_SIGN_SET_NAN(zolv_BetaCdf(x, 0.4, 3.0, 0));
        EXPECT_SIGN_SET_NAN(zolv_BetaCdf(x, 0.4, 3.0, 1));
    }
    EXPECT_NEAR(zolv_BetaCdf(1e-300, 0.01, 1.0, 0), 1e-3, 1e-14);
    EXPECT_NEAR(zolv_BetaCdf(std::nextafter(1.0, 0.0), 1.0, 0.01, 1), std::pow(0x1p-53, 0.01), 1e-13);
}

TEST(BetaInvCdf, TheEndsOfTheProbabilities) {
    EXPECT_SAME_BITS(zolv_BetaInvCdf(0.0, 2.0, 3.0, 0), 0.0);
    EXPECT_SAME_BITS(zolv_BetaInvCdf(-0.0, 2.0, 3.0, 0), 0.0);
    EXPECT_SAME_BITS(zolv_BetaInvCdf(0.0, 2.0, 3.0, 1), 1.0);
    EXPECT_SAME_BITS(zolv_BetaInvCdf(1.0, 2.0, 3.0, 0), 1.0);
    EXPECT_SAME_BITS(zolv_BetaInvCdf(1.0, 2.0, 3.0, 1), 0.0);
    for (const double p :
         {quiet_nan, negative_nan, -5e-324, -1.0, -infinity, std::nextafter(1.0, 2.0), 2.0, infinity}) {
        EXPECT_SIGN_SET_NAN(zolv_BetaInvCdf(p, 2.0, 3.0, 0));
        EXPECT_SIGN_SET_NAN(zolv_BetaInvCdf(p, 2.0, 3.0, 1));
    }
}

TEST(BetaFamily, OneHalfTakesTheMirroredBranch) {
    using dru::impl::beta_quantile;
    using dru::impl::beta_tails;
    using dru::impl::log_beta_pdf;
    int pdf_differs = 0, cdf_differs = 0;
    for (const auto& [a, b] : {std::pair{2.3, 7.1}, {0.3, 4.4}, {15.2, 3.3}, {900.5, 1100.25}, {6.6, 1.7}}) {
        EXPECT_SAME_BITS(zolv_BetaPdf(0.5, a, b), std::exp(log_beta_pdf(b, a, 0.5)));
        EXPECT_SAME_BITS(zolv_BetaPdf(below_half, a, b), std::exp(log_beta_pdf(a, b, below_half)));
        EXPECT_SAME_BITS(zolv_BetaCdf(0.5, a, b, 0), beta_tails(0.5, b, a).upper);
        EXPECT_SAME_BITS(zolv_BetaCdf(0.5, a, b, 1), beta_tails(0.5, b, a).lower);
        EXPECT_SAME_BITS(zolv_BetaCdf(below_half, a, b, 0), beta_tails(below_half, a, b).lower);
        pdf_differs += zolv_BetaPdf(0.5, a, b) != std::exp(log_beta_pdf(a, b, 0.5));
        cdf_differs += zolv_BetaCdf(0.5, a, b, 0) != beta_tails(0.5, a, b).lower;
        EXPECT_SAME_BITS(zolv_BetaInvCdf(0.5, a, b, 0), 1.0 - beta_quantile(0.5, b, a, 0));
        EXPECT_SAME_BITS(zolv_BetaInvCdf(0.5, a, b, 1), 1.0 - beta_quantile(0.5, b, a, 1));
        EXPECT_SAME_BITS(zolv_BetaInvCdf(below_half, a, b, 1), beta_quantile(below_half, a, b, 1));
    }
    EXPECT_GT(pdf_differs, 0);  // else the cases could not tell the branches apart
    EXPECT_GT(cdf_differs, 0);
    for (const double a : {0.01, 0.5, 1.0, 3.5, 77.0, 5e3, 1e6, 1e12}) {
        EXPECT_NEAR(zolv_BetaCdf(0.5, a, a, 0), 0.5, a < 1e4 ? 1e-13 : 1e-9) << a;
        EXPECT_NEAR(zolv_BetaCdf(0.5, a, a, 1), 0.5, a < 1e4 ? 1e-13 : 1e-9) << a;
        EXPECT_NEAR(zolv_BetaInvCdf(0.5, a, a, 0), 0.5, 1e-12) << a;
    }
}

TEST(BetaFamily, ExactBits) {
    using zolv_test::check_quantile_rows;
    using zolv_test::quantile_row;
    check_quantile_rows("pdf", [](const quantile_row& r) { return zolv_BetaPdf(r.x, r.y, r.z); });
    check_quantile_rows("cdf", [](const quantile_row& r) { return zolv_BetaCdf(r.x, r.y, r.z, r.upper); });
    check_quantile_rows("inv", [](const quantile_row& r) { return zolv_BetaInvCdf(r.x, r.y, r.z, r.upper); });
}

// Closed forms: beta(a, 1) has I_x = x^a, beta(1, b) has 1 - I_x = (1 - x)^b, and beta(1/2, 1/2) is the
// arcsine law.
TEST(BetaFamily, ClosedForms) {
    for (double x = 0.0625; x < 1.0; x += 0.0625) {
        for (const double s : {0.2, 1.0, 2.0, 7.5, 40.0}) {
            EXPECT_TRUE(zolv_test::within_relative(zolv_BetaCdf(x, s, 1.0, 0), std::pow(x, s), 2e-13));
            EXPECT_TRUE(zolv_test::within_relative(zolv_BetaCdf(x, 1.0, s, 1), std::pow(1.0 - x, s), 2e-13));
            EXPECT_TRUE(zolv_test::within_relative(zolv_BetaPdf(x, s, 1.0), s * std::pow(x, s - 1.0), 2e-13));
        }
        EXPECT_NEAR(zolv_BetaCdf(x, 0.5, 0.5, 0), 2.0 / M_PI * std::asin(std::sqrt(x)), 1e-14);
        EXPECT_NEAR(zolv_BetaPdf(x, 0.5, 0.5), 1.0 / (M_PI * std::sqrt(x * (1.0 - x))), 2e-13);
    }
    EXPECT_NEAR(zolv_BetaCdf(0.3, 2.0, 3.0, 0), 0.3483, 1e-15);  // 6 x^2 - 8 x^3 + 3 x^4 at 0.3
    EXPECT_TRUE(zolv_test::within_relative(zolv_BetaCdf(1e-10, 2.0, 1e10, 0), 0.264241117693903, 1e-13));
}

// Density and both tails against 50 digits. The limits are five times what was measured, and 5e-15 at least;
// the measured values are printed.
TEST(BetaReference, DensityAndTails) {
    const zolv_test::reference_table table("beta_reference");
    zolv_test::worst_errors density, smaller, larger;
    for (std::size_t i = 0; i < table.size(); ++i) {
        const std::string regime = table.text(i, "regime");
        const double x = table.number(i, "x"), a = table.number(i, "a"), b = table.number(i, "b");
        const double lower = table.number(i, "lower"), upper = table.number(i, "upper");
        const std::string where = zolv_test::show(x) + ", " + zolv_test::show(a) + ", " + zolv_test::show(b);
        density.add(regime, zolv_BetaPdf(x, a, b), table.number(i, "density"), where);
        (lower < upper ? smaller : larger).add(regime, zolv_BetaCdf(x, a, b, 0), lower, where);
        (upper <= lower ? smaller : larger).add(regime, zolv_BetaCdf(x, a, b, 1), upper, where);
    }
    density.expect_within("density", {{"a_below_1", 2e-13},      {"a_below_1_b_above_100", 2e-14},
                                      {"b_below_1", 4e-14},      {"beyond_1e23", 3e-13},
                                      {"both_above_ten", 4e-12}, {"both_below_1", 5e-14},
                                      {"gamma_limit_b", 9e-13},  {"huge_b", 2e-12},
                                      {"normal_form", 2e-11},    {"one_below_ten", 2e-13},
                                      {"one_to_ten", 5e-14},     {"switch_0.001", 2e-14},
                                      {"switch_0.5", 2e-13},     {"switch_0.6", 1e-14},
                                      {"switch_1", 1e-14},       {"switch_10", 2e-14},
                                      {"switch_100", 8e-15},     {"switch_1000", 7e-15},
                                      {"switch_1e15", 2e-14},    {"switch_1e23", 2e-14},
                                      {"switch_1e9", 1e-14},     {"switch_effective_10000", 4e-13},
                                      {"tiny_shape", 8e-14}});
    smaller.expect_within("smaller tail", {{"a_below_1", 3e-12},      {"a_below_1_b_above_100", 4e-13},
                                           {"b_below_1", 1e-12},      {"beyond_1e23", 3e-13},
                                           {"both_above_ten", 4e-12}, {"both_below_1", 3e-13},
                                           {"gamma_limit_b", 9e-13},  {"huge_b", 2e-12},
                                           {"normal_form", 9e-8},     {"one_below_ten", 2e-13},
                                           {"one_to_ten", 5e-14},     {"switch_0.001", 1e-11},
                                           {"switch_0.5", 2e-13},     {"switch_0.6", 7e-15},
                                           {"switch_1", 1e-14},       {"switch_10", 2e-14},
                                           {"switch_100", 5e-12},     {"switch_1000", 3e-14},
                                           {"switch_1e15", 2e-14},    {"switch_1e23", 2e-14},
                                           {"switch_1e9", 4e-14},     {"switch_effective_10000", 9e-10},
                                           {"tiny_shape", 1e-10}});
    larger.expect_within("larger tail", {{"a_below_1", 4e-14},      {"a_below_1_b_above_100", 3e-14},
                                         {"b_below_1", 5e-14},      {"beyond_1e23", 3e-14},
                                         {"both_above_ten", 2e-14}, {"both_below_1", 3e-14},
                                         {"gamma_limit_b", 2e-14},  {"huge_b", 8e-14},
                                         {"normal_form", 3e-10},    {"one_below_ten", 2e-14},
                                         {"one_to_ten", 6e-15},     {"switch_0.001", 3e-14},
                                         {"switch_0.5", 1e-14},     {"switch_0.6", 5e-15},
                                         {"switch_1", 7e-15},       {"switch_10", 1e-14},
                                         {"switch_100", 9e-13},     {"switch_1000", 8e-15},
                                         {"switch_1e15", 5e-15},    {"switch_1e23", 9e-15},
                                         {"switch_1e9", 9e-15},     {"switch_effective_10000", 3e-10},
                                         {"tiny_shape", 3e-13}});
}

// Quantiles against 50 digits, relative to x. From p = 0.5 on x is one minus a mirrored quantile, and that
// subtraction's half an ulp of 1 is forgiven.
TEST(BetaReference, Quantiles) {
    const zolv_test::reference_table table("beta_quantile_reference");
    zolv_test::worst_errors errors;
    for (std::size_t i = 0; i < table.size(); ++i) {
        const double p = table.number(i, "p"), a = table.number(i, "a"), b = table.number(i, "b");
        const auto upper = static_cast<unsigned char>(table.number(i, "upper"));
        const double x = table.number(i, "x");
        const double got = zolv_BetaInvCdf(p, a, b, upper);
        // A gamma limit of a small shape answers 0 where its first-term estimate is at most 1e-100.
        if (p < 0.5 && upper == 0 && a < 1.0 && b >= 1e9 && x * b < 1e-100) {
            EXPECT_SAME_BITS(got, 0.0);
            continue;
        }
        const double excess = std::max(0.0, std::abs(got - x) - (p < 0.5 ? 0.0 : 1.2e-16));
        errors.add(table.text(i, "regime"), excess, 0.0, x,
                   zolv_test::show(p) + ", " + zolv_test::show(a) + ", " + zolv_test::show(b) + ", upper " +
                       std::to_string(upper) + ", x " + zolv_test::show(x) + " got " + zolv_test::show(got));
    }
    errors.expect_within("quantile", {{"a_below_1", 3e-12},      {"a_below_1_b_above_100", 3e-12},
                                      {"b_below_1", 2e-14},      {"beyond_1e23", 9e-13},
                                      {"both_above_ten", 7e-15}, {"both_below_1", 6e-12},
                                      {"gamma_limit_b", 2e-12},  {"huge_b", 3e-9},
                                      {"normal_form", 5e-10},    {"one_below_ten", 1e-12},
                                      {"one_to_ten", 3e-12},     {"switch_0.001", 5e-15},
                                      {"switch_0.5", 1e-13},     {"switch_0.6", 5e-14},
                                      {"switch_1", 4e-13},       {"switch_10", 7e-13},
                                      {"switch_100", 4e-12},     {"switch_1000", 3e-13},
                                      {"switch_1e15", 3e-12},    {"switch_1e23", 9e-13},
                                      {"switch_1e9", 3e-9},      {"switch_effective_10000", 3e-12},
                                      {"tiny_shape", 7e-10}});
}

double log_uniform(std::mt19937_64& random, double low, double high) {
    return std::exp(std::uniform_real_distribution<double>(std::log(low), std::log(high))(random));
}

TEST(BetaLaws, TailsSumToOneAndMirror) {
    std::mt19937_64 random(20);
    std::uniform_real_distribution<double> unit(0.0, 1.0);
    for (int i = 0; i < 3000; ++i) {
        const double a = log_uniform(random, 1e-3, 1e5), b = log_uniform(random, 1e-3, 1e5);
        const double x =
            i % 2 ? unit(random) : std::clamp(a / (a + b) * log_uniform(random, 0.7, 1.4), 0.0, 1.0);
        const double lower = zolv_BetaCdf(x, a, b, 0), upper = zolv_BetaCdf(x, a, b, 1);
        EXPECT_LE(std::abs(lower + upper - 1.0), 2.3e-16);
        EXPECT_GE(lower, 0.0);
        EXPECT_LE(lower, 1.0 + 1e-12);
        // I_x(a, b) = 1 - I_(1-x)(b, a), exact where 1 - x is: the same call below the half.
        const double mirror = 1.0 - x;
        if (1.0 - mirror == x && x != 0.5) {
            EXPECT_SAME_BITS(upper, zolv_BetaCdf(mirror, b, a, 0));
            EXPECT_SAME_BITS(lower, zolv_BetaCdf(mirror, b, a, 1));
            EXPECT_SAME_BITS(zolv_BetaPdf(x, a, b), zolv_BetaPdf(mirror, b, a));
        }
    }
}

TEST(BetaLaws, TheDistributionFunctionRises) {
    for (const auto& [a, b] : {std::pair{0.3, 0.2}, {2.0, 3.0}, {0.5, 40.0}, {30.0, 12.5}, {700.0, 900.0}}) {
        double before = 0.0;
        for (int i = 1; i < 1000; ++i) {
            const double here = zolv_BetaCdf(i / 1000.0, a, b, 0);
            EXPECT_GE(here, before - 3e-15) << i;
            before = here;
        }
    }
}

// I_p(k, n - k + 1) = P(X >= k) of a binomial variate: against the sum in long double for small n.
TEST(BetaLaws, MeetsTheBinomialSum) {
    for (const int n : {1, 2, 5, 12, 30}) {
        for (const double p : {0.01, 0.2, 0.5, 0.83}) {
            for (int k = 1; k <= n; ++k) {
                long double sum = 0.0L;
                for (int j = n; j >= k; --j) {
                    sum += std::exp(std::lgamma(n + 1.0L) - std::lgamma(j + 1.0L) -
                                    std::lgamma(n - j + 1.0L) + j * std::log(static_cast<long double>(p)) +
                                    (n - j) * std::log(1.0L - static_cast<long double>(p)));
                }
                EXPECT_TRUE(zolv_test::within_relative(zolv_BetaCdf(p, k, n - k + 1.0, 0),
                                                       static_cast<double>(sum), 1e-13));
            }
        }
    }
}

// Newton's last correction is below 5e-13 of x; the tail moves by x f / p times as much.
TEST(BetaLaws, QuantileThenCdfReturnsP) {
    std::mt19937_64 random(21);
    std::uniform_real_distribution<double> unit(0.0, 1.0);
    int checked = 0;
    for (int i = 0; i < 3000; ++i) {
        const double a = log_uniform(random, 0.05, 3e3), b = log_uniform(random, 0.05, 3e3);
        const double p = unit(random);
        const auto upper = static_cast<unsigned char>(i % 2);
        const double x = zolv_BetaInvCdf(p, a, b, upper);
        ASSERT_GE(x, 0.0);
        ASSERT_LE(x, 1.0);
        if (x < 1e-12 || x > 1.0 - 1e-9) continue;
        ++checked;
        const double slope = zolv_BetaPdf(x, a, b);
        const double tolerance = 1e-12 * slope * std::max(x, 1.0 - x) + 1e-12;
        EXPECT_NEAR(zolv_BetaCdf(x, a, b, upper), p, tolerance)
            << zolv_test::show(p) << " " << zolv_test::show(a) << " " << zolv_test::show(b);
    }
    EXPECT_GT(checked, 2000);
}

// Both tails ask for the same point.
TEST(BetaLaws, TheTwoTailsQuantilesAgree) {
    std::mt19937_64 random(22);
    for (int i = 0; i < 500; ++i) {
        const double a = log_uniform(random, 0.3, 1e3), b = log_uniform(random, 0.3, 1e3);
        const double p = std::ldexp(static_cast<double>(random() % 1023 + 1), -10);  // 1 - p is exact
        const double x = zolv_BetaInvCdf(p, a, b, 0);
        EXPECT_NEAR(zolv_BetaInvCdf(1.0 - p, a, b, 1), x, 2e-12);
        const double q = std::min(p, 1.0 - p);
        if (q == 0.5) continue;
        for (const unsigned char upper : both_tails) {
            EXPECT_SAME_BITS(zolv_BetaInvCdf(1.0 - q, a, b, upper), 1.0 - zolv_BetaInvCdf(q, b, a, upper));
        }
    }
}

// A shape for every form of the kernels and of the quantile.
const std::pair<double, double> array_shapes[] = {
    {2.0, 3.0},  {0.3, 0.4},   {1.0, 1.0},   {5.5, 200.0}, {200.0, 5.5},  {30.0, 40.0},       {0.5, 1e10},
    {1e10, 0.5}, {3.0, 2e15},  {2e15, 3.0},  {4.0, 1e24},  {1e24, 4.0},   {3e4, 5e4},         {1e-4, 2.0},
    {2.0, 1e-4}, {0.7, 500.0}, {1e-4, 1e-4}, {2e4, 1e30},  {5e-324, 1.0}, {1.7e308, 1.7e308}, {7.25, 0.03},
};

TEST(BetaArrays, EqualTheScalarsOnAnyTeam) {
    std::mt19937_64 random(23);
    std::uniform_real_distribution<double> unit(0.0, 1.0);
    for (const auto& [a, b] : array_shapes) {
        std::vector<double> x{0.0,       -0.0,  1.0,  0.5,    below_half, quiet_nan, negative_nan, infinity,
                              -infinity, -0.25, 1.25, 5e-324, 1e-300,     1e-20,     1.0 - 1e-16};
        for (int i = 0; i < 40; ++i) x.push_back(unit(random));
        const double mean = a / (a + b);
        for (const double factor : {0.5, 0.9, 1.0, 1.1, 2.0}) x.push_back(mean * factor);
        const std::size_t n = x.size();
        for (const unsigned char upper : both_tails) {
            std::vector<double> pdf(n), cdf(n), inv(n);
            for (std::size_t i = 0; i < n; ++i) {
                pdf[i] = zolv_BetaPdf(x[i], a, b);
                cdf[i] = zolv_BetaCdf(x[i], a, b, upper);
                inv[i] = zolv_BetaInvCdf(x[i], a, b, upper);
            }
            for (const int threads : zolv_test::team_sizes) {
                zolv_test::with_threads(threads, [&, &a = a, &b = b] {
                    std::vector<double> out(n + 1, 99.0);
                    zolv_ParallelBetaPdf(x.data(), n, a, b, out.data());
                    for (std::size_t i = 0; i < n; ++i) ASSERT_SAME_BITS(out[i], pdf[i]) << x[i];
                    zolv_ParallelBetaCdf(x.data(), n, a, b, upper, out.data());
                    for (std::size_t i = 0; i < n; ++i) ASSERT_SAME_BITS(out[i], cdf[i]) << x[i];
                    zolv_ParallelBetaInvCdf(x.data(), n, a, b, upper, out.data());
                    for (std::size_t i = 0; i < n; ++i) ASSERT_SAME_BITS(out[i], inv[i]) << x[i];
                    EXPECT_EQ(out[n], 99.0);
                    std::vector<double> in_place = x;
                    zolv_ParallelBetaInvCdf(in_place.data(), n, a, b, upper, in_place.data());
                    for (std::size_t i = 0; i < n; ++i) ASSERT_SAME_BITS(in_place[i], inv[i]) << x[i];
                });
            }
        }
    }
}

TEST(BetaArrays, ACountOfZeroWritesNothing) {
    double out = 5.0;
    for (const double shape : {2.0, -1.0}) {
        zolv_ParallelBetaPdf(&out, 0, shape, 1.0, &out);
        zolv_ParallelBetaCdf(nullptr, 0, shape, 1.0, 0, &out);
        zolv_ParallelBetaInvCdf(nullptr, 0, shape, 1.0, 1, nullptr);
    }
    EXPECT_EQ(out, 5.0);
}

// No argument makes a call run on: every combination of special values comes back, and a NaN is one of the
// two patterns: the missing value for a bad shape, otherwise the sign-set one.
TEST(BetaFamily, SpecialValuesComeBack) {
    const double special[] = {0.0,
                              -0.0,
                              -1.0,
                              5e-324,
                              2.2250738585072014e-308,
                              1e-300,
                              1e-100,
                              1e-16,
                              1e-5,
                              0.001,
                              0.3,
                              0.5,
                              std::nextafter(1.0, 0.0),
                              1.0,
                              std::nextafter(1.0, 2.0),
                              2.5,
                              10.0,
                              1e4,
                              1e9,
                              1e15,
                              1e23,
                              1e100,
                              1.7e308,
                              infinity,
                              quiet_nan};
    const auto expect_known = [](double value, bool bad) {
        if (bad) {
            EXPECT_MISSING(value);
        } else if (std::isnan(value)) {
            EXPECT_SIGN_SET_NAN(value);
        }
    };
    for (const double a : special) {
        for (const double b : special) {
            const bool bad = !(a > 0.0 && a < infinity && b > 0.0 && b < infinity);
            for (const double x : special) {
                expect_known(zolv_BetaPdf(x, a, b), bad);
                for (const unsigned char upper : both_tails) {
                    expect_known(zolv_BetaCdf(x, a, b, upper), bad);
                    expect_known(zolv_BetaInvCdf(x, a, b, upper), bad);
                }
            }
        }
    }
    // Shapes this small leave nothing of the saddle-point form.
    EXPECT_SIGN_SET_NAN(zolv_BetaPdf(0.25, 5e-324, 1.0));
}

}  // namespace
