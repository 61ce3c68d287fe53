// Gamma quantiles: exact bits, 50-digit values, the branches' edges, laws, prepared against plain.
#include "quantiles/gamma_quantile.hpp"

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>
#include <vector>

#include "frame/parallel.hpp"
#include "kernels/log_gamma.hpp"
#include "kernels/normal.hpp"
#include "quantiles/quantile_starts.hpp"
#include "support/bits.hpp"
#include "support/quantile_bits.hpp"
#include "support/reference_table.hpp"
#include "support/threads.hpp"
#include "support/worst_errors.hpp"

namespace {

using namespace dru::impl;
using zolv_test::check_quantile_rows;
using zolv_test::quantile_row;

constexpr double infinity = std::numeric_limits<double>::infinity();

double gamma_quantile_tail(double p, double a, unsigned char upper) {
    if (a >= gamma_expansion_shape) return gamma_quantile_large(p, a, upper);
    return upper != 0 ? gamma_quantile_right(p, a) : gamma_quantile_left(p, a);
}

TEST(GammaQuantile, ExactBits) {
    check_quantile_rows("gamma_quantile_left",
                        [](const quantile_row& r) { return gamma_quantile_left(r.x, r.y); });
    check_quantile_rows("gamma_quantile_right",
                        [](const quantile_row& r) { return gamma_quantile_right(r.x, r.y); });
    check_quantile_rows("gamma_quantile_large",
                        [](const quantile_row& r) { return gamma_quantile_large(r.x, r.y, r.upper); });
}

// The limits are five times what was measured. The expansion's error is its first omitted term: it grows with
// the tail.
TEST(GammaQuantile, Reference) {
    const zolv_test::reference_table table("gamma_quantile_reference");
    zolv_test::worst_errors errors;
    for (std::size_t i = 0; i < table.size(); ++i) {
        const double p = table.number(i, "p"), a = table.number(i, "a"), x = table.number(i, "x");
        const auto upper = static_cast<unsigned char>(table.number(i, "upper"));
        const double got = gamma_quantile_tail(p, a, upper);
        const std::string where =
            zolv_test::show(p) + ", " + zolv_test::show(a) + ", upper " + std::to_string(upper);
        if (a <= 1.0 && upper == 0 && x < 1e-100) {
            EXPECT_SAME_BITS(got, 0.0) << where;
            continue;
        }
        errors.add(table.text(i, "regime") + (upper != 0 ? "-upper" : "-lower"), got, x, where);
    }
    errors.expect_within(
        "gamma quantile",
        {{"above_100_tail-lower", 7e-13},  {"above_100_tail-upper", 2e-12},  {"above_ten-lower", 5e-13},
         {"above_ten-upper", 7e-14},       {"above_ten_tail-lower", 3e-12},  {"above_ten_tail-upper", 8e-13},
         {"below_0.0025-lower", 2e-10},    {"below_0.0025-upper", 3e-10},    {"below_1-lower", 2e-11},
         {"below_1-upper", 6e-12},         {"below_1_tail-lower", 3e-13},    {"below_1_tail-upper", 3e-12},
         {"large-lower", 4e-12},           {"large-upper", 5e-13},           {"large_tail-lower", 1e-8},
         {"large_tail-upper", 5e-9},       {"one_to_ten-lower", 2e-12},      {"one_to_ten-upper", 5e-13},
         {"one_to_ten_tail-lower", 2e-12}, {"one_to_ten_tail-upper", 2e-14}, {"switch_0.0025-lower", 3e-10},
         {"switch_0.0025-upper", 2e-10},   {"switch_1-lower", 2e-14},        {"switch_1-upper", 2e-14},
         {"switch_10-lower", 7e-14},       {"switch_10-upper", 5e-15},       {"switch_10000-lower", 8e-12},
         {"switch_10000-upper", 8e-12}});
}

TEST(GammaQuantile, ClosedFormAtShapeOne) {
    for (const double p : {1e-12, 1e-5, 0.01, 0.3, 0.5, 0.9, 0.999}) {
        EXPECT_TRUE(zolv_test::within_relative(gamma_quantile_left(p, 1.0), -std::log1p(-p), 2e-12));
        EXPECT_TRUE(zolv_test::within_relative(gamma_quantile_right(p, 1.0), -std::log(p), 2e-12));
    }
}

// An estimate at or below 1e-100 is answered with 0, in the lower tail only.
TEST(GammaQuantile, TheFloorOfTheLowerTail) {
    const double a = 0.01;
    const auto estimate = [a](double p) { return std::exp(log_gamma1p_over(a) + std::log(p) / a); };
    double low = 0.05, high = 0.5;  // 0.1 is near 1e-100
    ASSERT_LT(estimate(low), 1e-100);
    ASSERT_GT(estimate(high), 1e-100);
    while (std::nextafter(low, 1.0) < high) {
        const double middle = low + (high - low) / 2.0;
        (estimate(middle) <= 1e-100 ? low : high) = middle;
    }
    EXPECT_SAME_BITS(gamma_quantile_left(low, a), 0.0);
    EXPECT_GT(gamma_quantile_left(high, a), 0.9e-100);
    EXPECT_SAME_BITS(gamma_quantile_left(1e-300, 0.5), 0.0);
    const double same_point = gamma_quantile_right(1.0 - low * 0.5, a);
    EXPECT_GT(same_point, 0.0);
    EXPECT_LT(same_point, 1e-120);
    // An estimate that underflows starts the upper search at 0, where the density is infinite: 0 it is.
    EXPECT_SAME_BITS(gamma_quantile_right(std::nextafter(1.0, 0.0), 0.01), 0.0);
}

// One Newton step from the start, by hand, tells which start was taken: with p equal to the tail at the
// start, the start itself comes back.
TEST(GammaQuantile, TheStarts) {
    // 1 < a <= 10, lower: the mode.
    for (const double a : {std::nextafter(1.0, 2.0), 1.5, 4.0, 10.0}) {
        const double mode = a - 1.0;
        EXPECT_SAME_BITS(gamma_quantile_left(gamma_tails(mode, a).lower, a), mode) << a;
    }
    // Above 10, lower, and above 1, upper: the expansion, with the sign of z turned for the upper tail.
    for (const double a : {std::nextafter(10.0, 20.0), 12.0, 800.0}) {
        for (const double p : {0.2, 0.5}) {
            const double x = gamma_quantile_left(p, a);
            EXPECT_TRUE(zolv_test::within_relative(x, gamma_cornish_fisher(a, normal_std_quantile(p)), 0.01));
            EXPECT_TRUE(zolv_test::within_relative(gamma_quantile_right(p, a),
                                                   gamma_cornish_fisher(a, -normal_std_quantile(p)), 0.01));
        }
    }
    EXPECT_SAME_BITS(gamma_quantile_large(0.3, 5e4, 0), gamma_cornish_fisher(5e4, normal_std_quantile(0.3)));
    EXPECT_SAME_BITS(gamma_quantile_large(0.3, 5e4, 1), gamma_cornish_fisher(5e4, -normal_std_quantile(0.3)));
    // At the median the expansion is a (1 - v^2 / 3 + 16 v^4 / 810), v^2 = 1 / a.
    EXPECT_NEAR(gamma_quantile_large(0.5, 1e4, 0), 1e4 - 1.0 / 3.0 + 16.0 / 810.0 / 1e4, 4e-12);
}

TEST(GammaQuantile, TheDensityAtTheEnds) {
    const double nan_value = std::numeric_limits<double>::quiet_NaN();
    EXPECT_SIGN_SET_NAN(gamma_density_at_end(nan_value, 2.0));
    EXPECT_SIGN_SET_NAN(gamma_density_at_end(-nan_value, 2.0));
    for (const double x : {-1.0, -5e-324, -infinity, infinity}) {
        for (const double a : {0.5, 1.0, 2.0}) EXPECT_SAME_BITS(gamma_density_at_end(x, a), 0.0);
    }
    EXPECT_EQ(gamma_density_at_end(0.0, std::nextafter(1.0, 0.0)), infinity);
    EXPECT_SAME_BITS(gamma_density_at_end(-0.0, 1.0), 1.0);
    EXPECT_SAME_BITS(gamma_density_at_end(0.0, std::nextafter(1.0, 2.0)), 0.0);
}

// There is no second stage: the last iterate of a failed run is the answer, right or wrong.
TEST(GammaQuantile, AFailedRunReturnsItsLastIterate) {
    // From the mode 8 each step takes at most a ninth of x away while the tail is still like x^9: fifty steps
    // end near 8 (8/9)^50 = 0.022, short of the root (1e-30 9!)^(1/9) = 0.0019.
    const double x = gamma_quantile_left(1e-30, 9.0);
    EXPECT_GT(x, 0.004);
    EXPECT_LT(x, 0.022);
    // An expansion that starts outside the support has a density of 0 there: the start itself comes back.
    const double p = 1.0 - 1e-12;
    const double start = gamma_cornish_fisher(1.5, -normal_std_quantile(p));
    EXPECT_LT(start, -4.0);
    EXPECT_SAME_BITS(gamma_quantile_right(p, 1.5), start);
    // Extreme lower tails from 1e-18 on at a shape of 11.
    EXPECT_GT(gamma_quantile_left(1e-18, 11.0), 1.0);
}

// Every residual is then a NaN, and so is every step: the search ends by its limit.
TEST(GammaQuantile, ANaNProbabilityEndsAsANaN) {
    const double nan_value = std::numeric_limits<double>::quiet_NaN();
    for (const double a : {0.02, 0.9, 2.5, 400.0}) {
        EXPECT_TRUE(std::isnan(gamma_quantile_left(nan_value, a))) << a;
        EXPECT_TRUE(std::isnan(gamma_quantile_right(nan_value, a))) << a;
    }
}

TEST(GammaQuantileLaws, QuantileThenTailReturnsP) {
    std::mt19937_64 random(31);
    std::uniform_real_distribution<double> unit(0.01, 0.99);
    for (int i = 0; i < 2000; ++i) {
        const double a =
            std::exp(std::uniform_real_distribution<double>(std::log(0.05), std::log(9e3))(random));
        const double p = unit(random);
        for (const unsigned char upper : {static_cast<unsigned char>(0), static_cast<unsigned char>(1)}) {
            const double x = gamma_quantile_tail(p, a, upper);
            if (x == 0.0) continue;
            const tail_pair tails = gamma_tails(x, a);
            const double slope = std::exp(log_gamma_pdf(a, x)) * x;
            EXPECT_NEAR(upper != 0 ? tails.upper : tails.lower, p, 1e-12 * slope + 1e-13) << a << " " << p;
        }
    }
}

TEST(GammaQuantileLaws, APreparedSolverIsThePlainRoutineOnAnyTeam) {
    std::vector<double> p;
    for (int i = 1; i < 60; ++i) p.push_back(i / 60.0);
    p.insert(p.end(), {1e-300, 1e-30, 1e-8, 1.0 - 1e-12, std::nextafter(1.0, 0.0)});
    for (const double a : {1e-5, 0.002, 0.3, 1.0, 1.5, 10.0, 33.3, 5000.0, 1e4, 1e9}) {
        gamma_quantile_solver prepared(a);
        const gamma_quantile_solver lazy(a);
        prepared.prepare();
        for (const unsigned char upper : {static_cast<unsigned char>(0), static_cast<unsigned char>(1)}) {
            for (const int threads : zolv_test::team_sizes) {
                zolv_test::with_threads(threads, [&] {
                    std::vector<double> out(p.size());
                    parallel_for(p.size(), [&](std::uint64_t i) { out[i] = prepared(p[i], upper); });
                    for (std::size_t i = 0; i < p.size(); ++i) {
                        ASSERT_SAME_BITS(out[i], gamma_quantile_tail(p[i], a, upper)) << a << " " << p[i];
                        ASSERT_SAME_BITS(out[i], lazy(p[i], upper));
                    }
                });
            }
        }
    }
}

}  // namespace
