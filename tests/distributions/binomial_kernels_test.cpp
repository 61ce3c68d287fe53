// The binomial kernels: 50-digit values over every regime, both sides of each switch, quantile, laws.
#include "distributions/binomial_kernels.hpp"

#include <cmath>
#include <random>

#include "distributions/poisson.hpp"
#include "kernels/incomplete_beta.hpp"
#include "support/bits.hpp"
#include "support/reference_table.hpp"
#include "support/regime_errors.hpp"

namespace {

using namespace dru::impl;

const double infinity = std::numeric_limits<double>::infinity();
const double nan_value = std::numeric_limits<double>::quiet_NaN();
double above(double x) { return std::nextafter(x, infinity); }
double below(double x) { return std::nextafter(x, -infinity); }

void expect_tails(const discrete_tails& t, double lower, double upper, double mass) {
    EXPECT_EQ(t.lower, lower);
    EXPECT_EQ(t.upper_tail, upper);
    EXPECT_EQ(t.mass, mass);
}

TEST(binomial_tails, agree_with_50_digits_in_every_regime) {
    const zolv_test::reference_table table("discrete_truth");
    zolv_test::regime_errors errors;
    for (std::size_t row = 0; row < table.size(); ++row) {
        if (table.text(row, "family") != "binomial") continue;
        const discrete_tails t =
            binomial_tails(table.number(row, "x"), table.number(row, "n"), table.number(row, "p"));
        errors.add(table.text(row, "regime"), {t.lower, t.upper_tail, t.mass},
                   {table.number(row, "lower"), table.number(row, "upper"), table.number(row, "mass")});
    }
    // The summed and limiting forms carry the error of the log mass; the normal forms also that of AS 66
    // (1e-10) and, far out, that of a series in z / sd broken off.
    errors.expect_within({
        {"small", 5e-14, 5e-14, 6e-15},
        {"summed within 8 sd", 6e-12, 6e-12, 2e-14},
        {"summed beyond 8 sd", 7e-12, 7e-12, 1e-15},
        {"many trials", 2e-12, 2e-12, 6e-14},
        {"poisson limit", 2e-12, 2e-12, 2e-14},
        {"normal 1e4 within 4 sd", 4e-12, 2e-10, 5e-11},
        {"normal 1e4 to 8 sd", 7e-12, 2e-10, 2e-15},
        {"normal 1e4 to 16 sd", 8e-12, 2e-9, 1e-15},
        {"normal 1e4 to 25 sd", 1.1e-11, 2e-7, 1e-15},
        {"normal 1e5 up within 8 sd", 5e-9, 5e-9, 7e-11},
        {"normal 1e5 up to 25 sd", 1e-8, 1e-8, 1e-15},
    });
}

// ---- switches
// ----------------------------------------------------------------------------------------------

TEST(binomial_tails, outside_the_support) {
    for (double n : {0.0, 1.0, 10.0, 4e4, 1e15, 1e23}) {
        for (double p : {0.0, 1e-200, 0.3, 0.5}) {
            expect_tails(binomial_tails(-1.0, n, p), 0.0, 1.0, 0.0);
            expect_tails(binomial_tails(-5e-324, n, p), 0.0, 1.0, 0.0);
            expect_tails(binomial_tails(n * 2.0 + 1.0, n, p), 1.0, 0.0, 0.0);
            expect_tails(binomial_tails(infinity, n, p), 1.0, 0.0, 0.0);
        }
    }
}

TEST(binomial_tails, a_vanishing_mean_is_a_unit_mass_at_zero) {
    const double p = 1e-100 / 64.0;  // exact: the mean of 64 trials is 1e-100
    expect_tails(binomial_tails(0.0, 64.0, p), 0.0, 0.0, 1.0);
    expect_tails(binomial_tails(1.0, 64.0, p), 1.0, 0.0, 0.0);
    expect_tails(binomial_tails(0.0, 1e30, 0.0), 0.0, 0.0, 1.0);
    expect_tails(binomial_tails(50.0, 50.0, 1e-300), 1.0, 0.0, 0.0);
    EXPECT_NEAR(binomial_tails(1.0, 64.0, above(p)).mass * 1e100, 1.0, 1e-12);
    EXPECT_EQ(binomial_tails(0.0, 64.0, above(p)).lower, 0.0);
    EXPECT_GT(binomial_tails(0.0, 64.0, above(p)).upper_tail, 0.0);
}

TEST(binomial_tails, from_1e22_trials_on_are_poisson_tails) {
    for (double x : {0.0, 250.0, 300.0, 350.0, 400.0}) {
        const discrete_tails t = binomial_tails(x, 1e22, 3e-20), u = poisson_tails(x, 1e22 * 3e-20);
        EXPECT_SAME_BITS(t.lower, u.lower);
        EXPECT_SAME_BITS(t.upper_tail, u.upper_tail);
        EXPECT_SAME_BITS(t.mass, u.mass);
        const discrete_tails fewer = binomial_tails(x, below(1e22), 3e-20);
        EXPECT_TRUE(zolv_test::within_relative(fewer.lower, u.lower, 1e-12));
        EXPECT_TRUE(zolv_test::within_relative(fewer.upper_tail, u.upper_tail, 1e-12));
    }
    // Only with a small variance: above 10000 it is the normal form, whatever n. The Poisson cut at 14500
    // with a mean of 10000 and that at 22500 show which is asked.
    EXPECT_EQ(binomial_tails(14500.0, 1e22, 1e-18).lower, 1.0);
    EXPECT_EQ(binomial_tails(22500.0, 1e22, 2e-18).lower + binomial_tails(22500.0, 1e22, 2e-18).mass, 1.0);
    EXPECT_GT(binomial_tails(20500.0, 1e22, 2e-18).upper_tail, 0.0);
}

TEST(binomial_tails, forms_meet_at_1e15_trials) {
    for (double x : {1800.0, 1950.0, 1999.0, 2000.0, 2050.0, 2300.0}) {
        const discrete_tails t = binomial_tails(x, below(1e15), 2e-12), u = binomial_tails(x, 1e15, 2e-12);
        EXPECT_TRUE(zolv_test::within_relative(t.lower, u.lower, 1e-12));
        EXPECT_TRUE(zolv_test::within_relative(t.upper_tail, u.upper_tail, 1e-12));
    }
    // From 10^15 trials on the ratio is the Poisson one with its first correction.
    const double x = 2050.0, n = 1e15, mean = 1e15 * 2e-12;
    const double c = (x * x - (2.0 * mean + 1.0) * x + mean * mean) * 0.5 / n;
    EXPECT_SAME_BITS(binomial_upper_ratio(x, n, 2e-12),
                     poisson_upper_ratio(x, mean) * (c + 1.0) - 0.5 * mean * (x - mean) / n);
}

TEST(binomial_tails, a_small_variance_ends_at_22500) {
    // n = 40000, p = 0.5 has a variance of 10000 exactly, 40001 one above.
    expect_tails(binomial_tails(22500.0, 40000.0, 0.5), 1.0, 0.0, 0.0);
    EXPECT_GT(binomial_tails(22499.0, 40000.0, 0.5).mass, 0.0);
    EXPECT_GT(binomial_tails(22500.0, 40001.0, 0.5).mass, 0.0);
    EXPECT_GT(binomial_tails(22500.0, 40001.0, 0.5).upper_tail, 0.0);
    // Also where the mass lies up there: callers pass the smaller of p and 1 - p.
    expect_tails(binomial_tails(29000.0, 30000.0, 0.97), 1.0, 0.0, 0.0);
}

TEST(binomial_tails, a_large_variance_ends_at_25_standard_deviations) {
    // mean 500000, sd 500
    expect_tails(binomial_tails(512500.0, 1e6, 0.5), 1.0, 0.0, 0.0);
    expect_tails(binomial_tails(487500.0, 1e6, 0.5), 0.0, 1.0, 0.0);
    EXPECT_GT(binomial_tails(512499.0, 1e6, 0.5).mass, 0.0);
    EXPECT_GT(binomial_tails(512499.0, 1e6, 0.5).upper_tail, 0.0);
    EXPECT_GT(binomial_tails(487501.0, 1e6, 0.5).mass, 0.0);
    EXPECT_GT(binomial_tails(487501.0, 1e6, 0.5).lower, 0.0);
}

TEST(binomial_tails, forms_meet_at_a_variance_of_10000) {
    for (double x : {19400.0, 19800.0, 19900.0, 19999.0, 20000.0, 20100.0, 20300.0, 20700.0}) {
        // 39999 trials have a variance just below: their sum and the expansion in its place.
        const double upper = binomial_upper_ratio(x, 39999.0, 0.5),
                     lower = binomial_lower_ratio(x, 39999.0, 0.5);
        if (x > 19999.0) {
            EXPECT_NE(upper, binomial_upper_ratio_normal(x, 39999.0, 0.5));
            EXPECT_TRUE(
                zolv_test::within_relative(binomial_upper_ratio_normal(x, 39999.0, 0.5), upper, 2e-10))
                << x;
        } else {
            EXPECT_NE(lower, binomial_lower_ratio_normal(x, 39999.0, 0.5));
            EXPECT_TRUE(
                zolv_test::within_relative(binomial_lower_ratio_normal(x, 39999.0, 0.5), lower, 2e-10))
                << x;
        }
        // At 10000 exactly it is the expansion.
        EXPECT_SAME_BITS(binomial_upper_ratio(x, 40000.0, 0.5), binomial_upper_ratio_normal(x, 40000.0, 0.5));
        EXPECT_SAME_BITS(binomial_lower_ratio(x, 40000.0, 0.5), binomial_lower_ratio_normal(x, 40000.0, 0.5));
    }
}

// The normal form begins at a variance of 10000, the cut at 25 sd above it: in between, at 10000 exactly,
// tail and density have both vanished 38.6 sd out, and their quotient is 0/0.
TEST(binomial_tails, at_a_variance_of_10000_exactly_nothing_cuts_the_lower_tail) {
    EXPECT_TRUE(std::isnan(binomial_tails(16139.0, 40000.0, 0.5).lower));
    EXPECT_EQ(binomial_tails(16160.0, 40000.0, 0.5).lower, 0.0);  // 38.4 sd: the mass has vanished
    EXPECT_EQ(binomial_tails(16160.0, 40000.0, 0.5).upper_tail, 1.0);
}

TEST(binomial_log_pmf, closed_forms_and_both_sides_of_the_mean) {
    EXPECT_SAME_BITS(binomial_log_pmf(0.0, 10.0, 0.3), 10.0 * std::log(-0.3 + 1.0));
    EXPECT_SAME_BITS(binomial_log_pmf(10.0, 10.0, 0.3), 10.0 * std::log(0.3));
    EXPECT_EQ(binomial_log_pmf(0.0, 0.0, 0.3), 0.0);
    EXPECT_EQ(binomial_log_pmf(0.0, 10.0, 0.0), 0.0);
    EXPECT_EQ(binomial_log_pmf(3.0, 10.0, 0.0), -infinity);
    EXPECT_EQ(binomial_log_pmf(10.0, 10.0, 0.0), -infinity);
    EXPECT_NEAR(binomial_log_pmf(3.0, 10.0, 0.3), std::log(120.0) + 3.0 * std::log(0.3) + 7.0 * std::log(0.7),
                1e-14);
    EXPECT_NEAR(binomial_log_pmf(2.0, 10.0, 0.3), std::log(45.0) + 2.0 * std::log(0.3) + 8.0 * std::log(0.7),
                1e-14);
    EXPECT_NEAR(binomial_log_pmf(5.0, 10.0, 0.5), std::log(252.0 / 1024.0), 1e-14);  // d = 0
}

// ---- nothing runs on
// ---------------------------------------------------------------------------------------

TEST(binomial_ratios, end_whatever_they_are_given) {
    EXPECT_EQ(binomial_upper_ratio(0.0, 1e14, 3e-11), infinity);  // e^3000: the running product overflows
    EXPECT_EQ(binomial_lower_ratio(9e5, 1e6, 1e-6), infinity);
    EXPECT_TRUE(std::isfinite(binomial_upper_ratio(1e300, 10.0, 0.3)));
    EXPECT_TRUE(std::isfinite(binomial_lower_ratio(1e300, 10.0, 0.3)));
    EXPECT_EQ(binomial_upper_ratio(nan_value, 10.0, 0.3), 0.0);
    EXPECT_EQ(binomial_lower_ratio(nan_value, 10.0, 0.3), 0.0);
    EXPECT_TRUE(std::isnan(binomial_upper_ratio(3.0, 10.0, nan_value)));
    EXPECT_TRUE(std::isnan(binomial_lower_ratio(3.0, nan_value, 0.3)));
    const discrete_tails t = binomial_tails(nan_value, 10.0, 0.3);
    EXPECT_TRUE(std::isnan(t.lower) && std::isnan(t.upper_tail) && std::isnan(t.mass));
}

TEST(binomial_ratios, integer_parts_beyond_32_bits) {
    // x near 9e9 and 9e13: the number of failures, 10000 on average, seen from the other side.
    for (double n : {9e9, 9e13}) {
        const double p = 5000.0 / n, q = 1.0 - p;
        for (double failures : {4900.0, 5000.0, 5100.0}) {
            const double from_above = binomial_lower_ratio(n - failures, n, q);
            const double from_below = binomial_upper_ratio(failures, n, 1.0 - q);
            EXPECT_TRUE(zolv_test::within_relative(from_above, from_below, 1e-11)) << failures << " " << n;
        }
    }
}

// ---- laws
// --------------------------------------------------------------------------------------------------

TEST(binomial_tails, sum_to_one) {
    std::mt19937_64 engine(1);
    for (int i = 0; i < 20000; ++i) {
        const double n =
            std::floor(std::pow(10.0, std::uniform_real_distribution<double>(0.0, 17.0)(engine)));
        const double p =
            0.5 * std::pow(std::uniform_real_distribution<double>(0.0, 1.0)(engine), i % 5 + 1.0);
        const double z = std::uniform_real_distribution<double>(-9.0, 9.0)(engine);
        const double x = std::min(n, std::max(0.0, std::floor(n * p + z * std::sqrt(n * p * (1.0 - p)))));
        const discrete_tails t = binomial_tails(x, n, p);
        // At x = 0 above the mode the upper tail is formed and the lower is 0: nothing is left to the others.
        const double tolerance = x == 0.0 && x > (1.0 + n) * p - 1.0 ? 4e-15 : 4e-16;
        EXPECT_NEAR(t.lower + t.mass + t.upper_tail, 1.0, tolerance) << x << " " << n << " " << p;
    }
}

TEST(binomial_tails, the_masses_sum_to_one) {
    for (double n : {1.0, 7.0, 100.0, 2000.0}) {
        for (double p : {1e-5, 0.1, 0.37, 0.5}) {
            double total = 0.0;
            for (double k = 0.0; k <= n; k += 1.0) total += std::exp(binomial_log_pmf(k, n, p));
            EXPECT_NEAR(total, 1.0, 2e-13) << n << " " << p;
        }
    }
}

// P(X > x) = I_p(x + 1, n - x) and P(X < x) = I_q(n - x + 1, x).
TEST(binomial_tails, meet_the_incomplete_beta_function) {
    std::mt19937_64 engine(2);
    double worst = 0.0;
    for (int i = 0; i < 3000; ++i) {
        const double n = std::floor(std::pow(10.0, std::uniform_real_distribution<double>(0.3, 4.5)(engine)));
        const double p = std::uniform_real_distribution<double>(0.001, 0.5)(engine);
        const double z = std::uniform_real_distribution<double>(-6.0, 6.0)(engine);
        const double x =
            std::min(n - 1.0, std::max(1.0, std::floor(n * p + z * std::sqrt(n * p * (1.0 - p)))));
        const discrete_tails t = binomial_tails(x, n, p);
        const double upper = beta_tails(p, x + 1.0, n - x).lower;
        const double lower = beta_tails(p, x, n - x + 1.0).upper;
        worst = std::max({worst, std::abs(t.upper_tail - upper) / upper, std::abs(t.lower - lower) / lower});
    }
    std::printf("binomial against incomplete beta: %.2g\n", worst);
    EXPECT_LE(worst, 4e-10);
}

// ---- quantile
// ----------------------------------------------------------------------------------------------

// The function that the quantile searches, straight from what its four modes mean.
double searched(double x, double n, double prob, bool upper) {
    if (prob > 0.5) {
        const discrete_tails t = binomial_tails(n - x, n, 1.0 - prob);
        return upper ? t.lower : t.upper_tail + t.mass;
    }
    const discrete_tails t = binomial_tails(x, n, prob);
    return upper ? t.upper_tail : t.lower + t.mass;
}

TEST(binomial_quantile, is_the_smallest_x_that_reaches_p) {
    std::mt19937_64 engine(3);
    int exact_hits = 0;
    for (int i = 0; i < 12000; ++i) {
        const double n = std::floor(std::pow(10.0, std::uniform_real_distribution<double>(0.0, 9.6)(engine)));
        double prob = std::pow(10.0, std::uniform_real_distribution<double>(-6.0, -0.302)(engine));
        if (i % 2) prob = 1.0 - prob;
        const double tail = std::pow(10.0, std::uniform_real_distribution<double>(-14.0, -0.301)(engine));
        const double p = (i / 2) % 2 ? tail : 1.0 - tail;
        const bool upper = (i / 4) % 2;
        const double x = binomial_quantile(p, n, prob, upper);
        ASSERT_TRUE(x >= 0.0 && x <= n) << x << " " << n << " " << prob << " " << p;
        const double at = searched(x, n, prob, upper), before = searched(x - 1.0, n, prob, upper);
        if (at == p) {
            ++exact_hits;  // an exact hit is returned, first or not
        } else if (upper) {
            EXPECT_TRUE(at < p && before > p) << x << " " << n << " " << prob << " " << p;
        } else {
            EXPECT_TRUE(at > p && before < p) << x << " " << n << " " << prob << " " << p;
        }
    }
    EXPECT_LT(exact_hits, 200);  // near p = 1 doubles are coarse, and a few hit
}

TEST(binomial_quantile, above_a_variance_of_1e12_is_the_estimate) {
    const double n = 4.1e12, mean = n * 0.5, sd = std::sqrt(0.5 * mean), z = normal_std_quantile(0.3);
    EXPECT_EQ(binomial_quantile(0.3, n, 0.5, 0), std::floor(mean + 0.5 + sd * z + 0.0));
    EXPECT_EQ(binomial_quantile(0.3, n, 0.5, 1), std::floor(mean + 0.5 + -sd * z + 0.0));
    EXPECT_EQ(binomial_quantile(0.5, n, 0.5, 0), mean);
    EXPECT_EQ(binomial_quantile(1e-300, 1e13, 0.5, 0),
              std::floor(5e12 + 0.5 + std::sqrt(2.5e12) * normal_std_quantile(1e-300)));
    // 10^12 itself is still searched; the estimate is right to about one there.
    EXPECT_NEAR(binomial_quantile(0.3, 4e12, 0.5, 0), std::floor(2e12 + 0.5 + 1e6 * z), 2.0);
}

TEST(binomial_quantile, a_search_that_does_not_end_gives_the_sign_set_nan) {
    // sd 10^6, and p far below the tail's cut at 25 sd: the estimate, 37 sd out, is 12 million steps away.
    EXPECT_SIGN_SET_NAN(binomial_quantile(1e-300, 4e12, 0.5, 0));
    EXPECT_SIGN_SET_NAN(binomial_quantile(nan_value, 10.0, 0.3, 0));
    EXPECT_SIGN_SET_NAN(binomial_quantile(0.3, 10.0, nan_value, 1));
}

TEST(binomial_quantile, any_upper_byte_other_than_zero_means_upper) {
    for (unsigned char upper : {1, 2, 128, 255})
        EXPECT_EQ(binomial_quantile(0.2, 100.0, 0.3, upper), binomial_quantile(0.2, 100.0, 0.3, 1));
    EXPECT_NE(binomial_quantile(0.2, 100.0, 0.3, 1), binomial_quantile(0.2, 100.0, 0.3, 0));
}

TEST(binomial_prepared, gives_the_bits_of_the_plain_functions) {
    for (double n : {20.0, 1e6, 4e9, 1e15, 1e22}) {
        for (double p : {1e-9, 0.01, 0.5}) {
            const binomial_distribution distribution(n, p);
            for (double z : {-30.0, -3.0, 0.0, 2.0, 20.0, 30.0}) {
                const double x = std::floor(n * p + z * std::sqrt(n * p * (1.0 - p)));
                const discrete_tails t = distribution.tails(x), u = binomial_tails(x, n, p);
                EXPECT_SAME_BITS(t.lower, u.lower);
                EXPECT_SAME_BITS(t.upper_tail, u.upper_tail);
                EXPECT_SAME_BITS(t.mass, u.mass);
                if (x < 0.0 || x > n) continue;
                EXPECT_SAME_BITS(distribution.log_pmf(x), binomial_log_pmf(x, n, p));
            }
        }
    }
}

}  // namespace
