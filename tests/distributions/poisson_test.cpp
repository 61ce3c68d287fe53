// Poisson tails and quantile: 50-digit values over every regime, both sides of each switch, laws.
#include "distributions/poisson.hpp"

#include <cmath>
#include <functional>
#include <random>

#include "kernels/log_gamma.hpp"
#include "support/bits.hpp"
#include "support/reference_table.hpp"
#include "support/regime_errors.hpp"

namespace {

using namespace dru::impl;

const double infinity = std::numeric_limits<double>::infinity();
const double nan_value = std::numeric_limits<double>::quiet_NaN();
double above(double x) { return std::nextafter(x, infinity); }

void expect_tails(const discrete_tails& t, double lower, double upper, double mass) {
    EXPECT_EQ(t.lower, lower);
    EXPECT_EQ(t.upper_tail, upper);
    EXPECT_EQ(t.mass, mass);
}

TEST(poisson_tails, agree_with_50_digits_in_every_regime) {
    const zolv_test::reference_table table("discrete_truth");
    zolv_test::regime_errors errors;
    for (std::size_t row = 0; row < table.size(); ++row) {
        if (table.text(row, "family") != "poisson") continue;
        const discrete_tails t = poisson_tails(table.number(row, "x"), table.number(row, "p"));
        errors.add(table.text(row, "regime"), {t.lower, t.upper_tail, t.mass},
                   {table.number(row, "lower"), table.number(row, "upper"), table.number(row, "mass")});
    }
    errors.expect_within({
        {"small", 4e-14, 4e-14, 8e-15},
        {"summed within 8 sd", 3e-12, 3e-12, 4e-14},
        {"summed beyond 8 sd", 3e-12, 3e-12, 1e-15},
        {"summed 1e4 to 1e8", 2e-10, 2e-10, 4e-13},
        {"normal within 8 sd", 2e-9, 2e-9, 4e-11},
        {"normal beyond 8 sd", 8e-9, 8e-9, 1e-15},
    });
}

TEST(poisson_tails, ends_of_the_support) {
    for (double mean : {0.0, 0.3, 2.5, 1e4, 1e6, 1e9}) {
        expect_tails(poisson_tails(-1.0, mean), 0.0, 1.0, 0.0);
        expect_tails(poisson_tails(-1e-300, mean), 0.0, 1.0, 0.0);
    }
    // x = 0 by way of the upper tail (mean < 1) and of the lower one: nothing lies below.
    EXPECT_EQ(poisson_tails(0.0, 0.3).lower, 0.0);
    EXPECT_EQ(poisson_tails(0.0, 1.0).lower, 0.0);
    EXPECT_EQ(poisson_tails(0.0, 30.0).lower, 0.0);
    expect_tails(poisson_tails(0.0, 0.0), 0.0, 0.0, 1.0);
    expect_tails(poisson_tails(1.0, 0.0), 1.0, 0.0, 0.0);
}

TEST(poisson_tails, small_means_end_at_14500) {
    expect_tails(poisson_tails(14500.0, 10000.0), 1.0, 0.0, 0.0);
    expect_tails(poisson_tails(14500.0, 0.5), 1.0, 0.0, 0.0);
    // The cut comes where the mass has underflowed already (the log mass is near -893 there), so the tails
    // are the same on its other side; only the log mass shows it.
    expect_tails(poisson_tails(14499.0, 10000.0), 1.0, 0.0, 0.0);
    expect_tails(poisson_tails(14500.0, above(10000.0)), 1.0, 0.0, 0.0);
    EXPECT_EQ(log_poisson_pmf(14500.0, 10000.0), -largest_double);
    EXPECT_NEAR(log_poisson_pmf(14499.0, 10000.0), log_poisson_pmf(14500.0, above(10000.0)), 0.5);
    // Without the cut a smaller mean would still be summed from there.
    EXPECT_GT(poisson_upper_ratio(14500.0, 10000.0), 0.0);
}

TEST(poisson_tails, the_two_forms_meet_at_a_mean_of_1e8) {
    for (double z : {-6.0, -1.0, -0.1, 0.0, 0.1, 1.0, 6.0}) {
        const double x = std::floor(1e8 + z * 1e4);
        const discrete_tails summed = poisson_tails(x, 1e8), normal = poisson_tails(x, above(1e8));
        EXPECT_TRUE(zolv_test::within_relative(normal.lower, summed.lower, 1e-9)) << z;
        EXPECT_TRUE(zolv_test::within_relative(normal.upper_tail, summed.upper_tail, 1e-9)) << z;
    }
}

TEST(poisson_tails, sum_to_one) {
    std::mt19937_64 engine(4);
    for (int i = 0; i < 20000; ++i) {
        const double mean = std::pow(10.0, std::uniform_real_distribution<double>(-3.0, 12.0)(engine));
        if (mean > 1e6 && mean <= 1e8) continue;  // long sums; the table has them
        const double z = std::uniform_real_distribution<double>(-9.0, 9.0)(engine);
        const double x = std::max(0.0, std::floor(mean + z * std::sqrt(mean)));
        const discrete_tails t = poisson_tails(x, mean);
        EXPECT_NEAR(t.lower + t.mass + t.upper_tail, 1.0, 4e-16) << x << " " << mean;
    }
}

TEST(poisson_tails, neighbours_share_their_probability) {
    for (double mean : {0.7, 5.0, 80.0, 5000.0, 3e5, 2e8, 1e11}) {
        const double sd = std::sqrt(mean);
        for (double z : {-3.0, -0.5, 0.5, 3.0}) {
            const double x = std::floor(mean + z * sd);
            if (x < 1.0) continue;
            const discrete_tails t = poisson_tails(x, mean), before = poisson_tails(x - 1.0, mean);
            EXPECT_TRUE(zolv_test::within_relative(t.lower, before.lower + before.mass, 2e-9)) << x;
            EXPECT_TRUE(zolv_test::within_relative(before.upper_tail, t.upper_tail + t.mass, 2e-9)) << x;
        }
    }
}

TEST(poisson_ratios, are_tail_over_mass) {
    for (double mean : {0.4, 3.0, 77.0, 9000.0, 5e8}) {
        const double x = std::floor(mean + std::sqrt(mean)) + 1.0;
        const discrete_tails t = poisson_tails(x, mean);
        EXPECT_SAME_BITS(poisson_upper_ratio(x, mean) * t.mass, t.upper_tail);
        const double y = std::floor(mean - 0.8 * std::sqrt(mean));
        if (y < 1.0 || y > mean - 1.0) continue;
        const discrete_tails u = poisson_tails(y, mean);
        EXPECT_SAME_BITS(poisson_lower_ratio(y, mean) * u.mass, u.lower);
    }
}

TEST(poisson_ratios, of_an_x_that_is_not_whole) {
    // The way back stops at the first index not below x: one term less than from the whole number below.
    EXPECT_EQ(poisson_upper_ratio(2.5, 1e-20), 0.0);  // the first term is below 2^-52: nothing is left to add
    EXPECT_GT(poisson_upper_ratio(2.0, 1e-20), 0.0);
    // (1 + (1 + ...) 1/5) 1/4 from index 3.5: terms 1/5, 1/6, ... only
    EXPECT_NEAR(poisson_upper_ratio(3.5, 1.0), 1.0 / 5 + 1.0 / 30 + 1.0 / 210 + 1.0 / 1680 + 1.0 / 15120,
                1e-5);
}

TEST(poisson_ratios, end_whatever_they_are_given) {
    EXPECT_EQ(poisson_upper_ratio(0.0, 1e8), infinity);  // e^(1e8): the running product overflows
    EXPECT_EQ(poisson_lower_ratio(1e6, 3.0), infinity);
    EXPECT_EQ(poisson_upper_ratio(infinity, 5e4), 0.0);
    EXPECT_GE(poisson_upper_ratio(1e300, 5e4), 0.0);
    EXPECT_GE(poisson_upper_ratio(1e17, 5e4), 0.0);
    EXPECT_EQ(poisson_lower_ratio(0.0, 5.0), 0.0);
    EXPECT_EQ(poisson_upper_ratio(nan_value, 5.0), 0.0);
    EXPECT_EQ(poisson_lower_ratio(nan_value, 5.0), 0.0);
    EXPECT_TRUE(std::isnan(poisson_upper_ratio(3.0, nan_value)));
    EXPECT_TRUE(std::isnan(poisson_tails(nan_value, 5.0).lower));
    EXPECT_TRUE(std::isnan(poisson_tails(3.0, nan_value).lower));
}

TEST(poisson_ratios, the_normal_form_loses_its_density_far_out) {
    // Up to the tail's cut at 38.4638 there is a ratio, from there to where the density underflows it is what
    // the polynomial leaves, beyond it is 0 / 0.
    EXPECT_TRUE(std::isfinite(poisson_upper_ratio(1e10 + 38.4e5, 1e10)));
    EXPECT_TRUE(std::isfinite(poisson_upper_ratio(1e10 + 38.47e5, 1e10)));
    EXPECT_TRUE(std::isnan(poisson_upper_ratio(1e10 + 39e5, 1e10)));
    EXPECT_TRUE(std::isnan(poisson_lower_ratio(1e10 - 39e5, 1e10)));
}

TEST(poisson_quantile, agrees_with_50_digits) {
    const zolv_test::reference_table table("discrete_truth");
    int rows = 0;
    for (std::size_t row = 0; row < table.size(); ++row) {
        if (table.text(row, "family") != "poisson_quantile") continue;
        const int mode = table.text(row, "regime") == "upper" ? 1 : 0;
        EXPECT_EQ(poisson_quantile(table.number(row, "x"), table.number(row, "p"), mode),
                  table.number(row, "lower"))
            << "p " << table.text(row, "x") << " mean " << table.text(row, "p") << " mode " << mode;
        ++rows;
    }
    EXPECT_EQ(rows, 60);
}

TEST(poisson_quantile, is_the_smallest_x_that_reaches_p) {
    std::mt19937_64 engine(11);
    for (int i = 0; i < 10000; ++i) {
        const double mean = std::pow(10.0, std::uniform_real_distribution<double>(-2.0, 5.0)(engine));
        const double tail = std::pow(10.0, std::uniform_real_distribution<double>(-14.0, -0.301)(engine));
        const double p = i % 2 ? tail : 1.0 - tail;
        const int mode = (i / 2) % 2;
        const double x = poisson_quantile(p, mean, mode);
        ASSERT_GE(x, 0.0);
        const poisson_distribution distribution(mean);
        const auto f = [&](double y) {
            const discrete_tails t = distribution.tails(y);
            return mode == 0 ? t.lower + t.mass : t.upper_tail;
        };
        if (f(x) == p) continue;  // an exact hit is returned, first or not
        if (mode == 0) {
            EXPECT_GT(f(x), p) << p << " " << mean;
            EXPECT_LT(f(x - 1.0), p) << p << " " << mean;
        } else {
            EXPECT_LT(f(x), p) << p << " " << mean;
            EXPECT_GT(f(x - 1.0), p) << p << " " << mean;
        }
    }
}

TEST(poisson_quantile, modes) {
    for (double p : {5e-15, 0.01, 0.5, 0.9}) {
        for (double mean : {0.4, 7.0, 300.0}) {
            EXPECT_EQ(poisson_quantile(p, mean, 3), poisson_quantile(p, mean, 0));
            EXPECT_EQ(poisson_quantile(p, mean, 2), poisson_quantile(p, mean, 1));
        }
    }
    for (int mode : {-1, 4, 5, 7, 8}) EXPECT_THROW(poisson_quantile(0.3, 5.0, mode), std::bad_function_call);
}

TEST(poisson_quantile, is_the_estimate_above_a_mean_of_1e12) {
    const double mean = above(1e12);
    const auto estimate = [&](double z) {
        return std::floor((z * z - 1.0) / 6.0 + std::sqrt(mean) * z + mean + 0.5);
    };
    EXPECT_EQ(poisson_quantile(0.01, mean, 0), estimate(normal_std_quantile(0.01)));
    EXPECT_EQ(poisson_quantile(0.01, mean, 1), estimate(-normal_std_quantile(0.01)));
    EXPECT_EQ(poisson_quantile(0.5, mean, 0), estimate(0.0));
    EXPECT_EQ(poisson_quantile(0.01, mean, 9), estimate(-normal_std_quantile(0.01)));  // no function is asked
    EXPECT_EQ(poisson_quantile(0.3, 1e12, 0), poisson_quantile(0.3, above(1e12), 0));
}

TEST(poisson_quantile, ends_on_a_nan) {
    EXPECT_SIGN_SET_NAN(poisson_quantile(nan_value, 5.0, 0));
    EXPECT_SIGN_SET_NAN(poisson_quantile(0.0, 5.0, 0));
    EXPECT_SIGN_SET_NAN(poisson_quantile(0.3, nan_value, 0));
}

}  // namespace
