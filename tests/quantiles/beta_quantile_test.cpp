// Beta quantiles: the dispatcher's choices, the searches' starts and second stage, exact bits, prepared
// against plain. Their accuracy is measured through the exports, in the test of the beta family.
#include "quantiles/beta_quantile.hpp"

#include <cmath>
#include <limits>
#include <random>
#include <vector>

#include "frame/parallel.hpp"
#include "kernels/incomplete_beta.hpp"
#include "kernels/log_gamma.hpp"
#include "kernels/normal.hpp"
#include "support/bits.hpp"
#include "support/quantile_bits.hpp"
#include "support/threads.hpp"

namespace {

using namespace dru::impl;
using zolv_test::check_quantile_rows;
using zolv_test::quantile_row;

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double nan_value = std::numeric_limits<double>::quiet_NaN();
constexpr unsigned char both_tails[] = {0, 1};
const double above_one = std::nextafter(1.0, 2.0);

TEST(BetaQuantile, ExactBits) {
    check_quantile_rows("beta_quantile",
                        [](const quantile_row& r) { return beta_quantile(r.x, r.y, r.z, r.upper); });
    check_quantile_rows("beta_quantile_left",
                        [](const quantile_row& r) { return beta_quantile_left(r.x, r.y, r.z); });
    check_quantile_rows("beta_quantile_right",
                        [](const quantile_row& r) { return beta_quantile_right(r.x, r.y, r.z); });
    check_quantile_rows("beta_quantile_large",
                        [](const quantile_row& r) { return beta_quantile_large(r.x, r.y, r.z, r.upper); });
}

// Shapes of 20000 each have a b / (a + b) = 10000: the expansion, on the side below one half.
TEST(BetaQuantile, LargeShapesTakeTheExpansionBelowOneHalf) {
    for (const auto& [a, b] :
         {std::pair{20000.0, 20000.0}, {3e4, 1e6}, {1e6, 3e4}, {1e9, 1e9}, {1e300, 2e300}}) {
        for (const double p : {1e-9, 0.2, 0.5, 0.7, 0.999}) {
            for (const unsigned char upper : both_tails) {
                const double r = beta_quantile_large(p, a, b, upper);
                const unsigned char other = upper == 0 ? 1 : 0;
                EXPECT_SAME_BITS(beta_quantile(p, a, b, upper),
                                 r > 0.5 ? 1.0 - beta_quantile_large(p, b, a, other) : r);
            }
        }
    }
    // One ulp below the limit it is a search, which agrees with the tail to its own tolerance and not to the
    // expansion's.
    const double a = std::nextafter(20000.0, 0.0);
    const double x = beta_quantile(1e-6, a, 20000.0, 0);
    EXPECT_TRUE(zolv_test::within_relative(beta_tails(x, a, 20000.0).lower, 1e-6, 2e-10));
    EXPECT_NE(x, beta_quantile_large(1e-6, a, 20000.0, 0));
}

TEST(BetaQuantile, TheExpansionIsSymmetric) {
    for (const double p : {1e-7, 0.03, 0.4, 0.5}) {
        for (const auto& [a, b] : {std::pair{2e4, 3e5}, {1e5, 1e5}, {50.0, 70.0}}) {
            EXPECT_NEAR(beta_quantile_large(p, a, b, 0) + beta_quantile_large(p, b, a, 1), 1.0, 3e-16);
        }
    }
    // z = 0 at p = 1/2: what is left of the polynomial, by hand for equal shapes (d = 0): exactly one half.
    EXPECT_SAME_BITS(beta_quantile_large(0.5, 3e4, 3e4, 0), 0.5);
    EXPECT_SAME_BITS(beta_quantile_large(0.5, 3e4, 3e4, 1), 0.5);
}

TEST(BetaQuantile, TheGammaLimit) {
    const double p = 0.3;
    for (const unsigned char upper : both_tails) {
        const auto gamma = [&](double a) {
            return upper != 0 ? gamma_quantile_right(p, a) : gamma_quantile_left(p, a);
        };
        EXPECT_SAME_BITS(beta_quantile(p, 0.5, 1e9, upper), gamma(0.5) / 1e9);
        EXPECT_SAME_BITS(beta_quantile(p, 1.0, 1e23, upper), gamma(1.0) / 1e23);
        EXPECT_SAME_BITS(beta_quantile(p, 7.0, 1e24, upper), gamma(7.0) / 1e24);
        EXPECT_SAME_BITS(beta_quantile(p, 9999.0, 1e25, upper), gamma(9999.0) / 1e25);
        // One ulp below the limits it is a search.
        const double below_1e9 = std::nextafter(1e9, 0.0), below_1e23 = std::nextafter(1e23, 0.0);
        EXPECT_NE(beta_quantile(p, 0.5, below_1e9, upper), gamma(0.5) / below_1e9);
        EXPECT_TRUE(zolv_test::within_relative(beta_quantile(p, 0.5, below_1e9, upper),
                                               gamma(0.5) / below_1e9, 1e-8));
        EXPECT_TRUE(zolv_test::within_relative(beta_quantile(p, 1.0, below_1e23, upper),
                                               gamma(1.0) / below_1e23, 1e-11));
        // A first shape of 1 has the limit only from 1e23 on.
        EXPECT_NE(beta_quantile(p, 1.0, 1e9, upper), gamma(1.0) / 1e9);
        // Shapes whose sum overflows: a b / (a + b) is a NaN, which is not large.
        EXPECT_SAME_BITS(beta_quantile(p, 1.7e308, 1.7e308, upper),
                         gamma_quantile_large(p, 1.7e308, upper) / 1.7e308);
    }
}

// A p equal to the tail at one half is searched for directly, never as one minus the mirrored search.
TEST(BetaQuantile, ATailOfOneHalfItselfIsSearchedDirectly) {
    int told_apart = 0;
    for (const auto& [a, b] :
         {std::pair{2.0, 2.0}, {0.7, 0.7}, {3.0, 4.5}, {4.5, 3.0}, {12.0, 14.0}, {1.0, 1.0}}) {
        const tail_pair half = beta_tails(0.5, a, b);
        EXPECT_SAME_BITS(beta_quantile(half.lower, a, b, 0), beta_quantile_left(half.lower, a, b));
        EXPECT_SAME_BITS(beta_quantile(half.upper, a, b, 1), beta_quantile_right(half.upper, a, b));
        EXPECT_NEAR(beta_quantile(half.lower, a, b, 0), 0.5, 1e-12);
        const double above = std::nextafter(half.lower, 1.0), below = std::nextafter(half.upper, 0.0);
        EXPECT_SAME_BITS(beta_quantile(above, a, b, 0), 1.0 - beta_quantile_right(above, b, a));
        EXPECT_SAME_BITS(beta_quantile(below, a, b, 1), 1.0 - beta_quantile_left(below, b, a));
        told_apart += beta_quantile_left(half.lower, a, b) != 1.0 - beta_quantile_right(half.lower, b, a);
    }
    EXPECT_GT(told_apart, 0);
}

// With p equal to the tail at the start, Newton's method stops at once and the start comes back.
TEST(BetaQuantile, TheStarts) {
    // Both shapes from 1, the smaller below 10, a < b: the mode.
    for (const auto& [a, b] :
         {std::pair{2.0, 5.0}, {1.5, 1000.0}, {std::nextafter(10.0, 0.0), 40.0}, {4.0, 4.5}}) {
        const double mode = (a - 1.0) / (a + b - 2.0);
        EXPECT_SAME_BITS(beta_quantile_left(beta_tails(mode, a, b).lower, a, b), mode);
        EXPECT_SAME_BITS(beta_quantile_right(beta_tails(mode, a, b).upper, a, b), mode);
    }
    // a >= b: one half, which is the mirrored variate's point already.
    for (const auto& [a, b] : {std::pair{5.0, 2.0}, {5.0, 5.0}, {1.0, 1.0}, {30.0, 9.0}}) {
        EXPECT_SAME_BITS(beta_quantile_left(beta_tails(0.5, b, a).upper, a, b), 0.5);
        EXPECT_SAME_BITS(beta_quantile_right(beta_tails(0.5, b, a).lower, a, b), 0.5);
    }
    // From 10 on: the expansion. At the median of equal shapes it is one half.
    EXPECT_SAME_BITS(beta_quantile_left(0.5, 10.0, 10.0), 0.5);
    // A mode of 0 is raised to 1e-25: with a = 1, p = 1e-25 b (the tail there) it comes back.
    const double tail = beta_tails(1e-25, 1.0, 3.0).lower;
    EXPECT_SAME_BITS(beta_quantile_left(tail, 1.0, 3.0), 1e-25);
    // Shapes of 1 and the next double: the mode is 0 / 0 and counts as 0.
    for (const double p : {1e-9, 0.2, 0.45}) {
        EXPECT_TRUE(zolv_test::within_relative(beta_quantile_left(p, 1.0, above_one), p, 1e-13));
        EXPECT_TRUE(zolv_test::within_relative(beta_quantile_right(1.0 - p, 1.0, above_one), p, 1e-6));
    }
    // Below 1: the first term of the series; an estimate that underflows is the answer, 0.
    EXPECT_SAME_BITS(beta_quantile_left(1e-200, 0.1, 3.0), 0.0);
    EXPECT_TRUE(zolv_test::within_relative(beta_quantile_left(1e-20, 0.1, 1.0), 1e-200, 1e-11));
}

// Where Newton's method leaves the interval for good, bisection between its last point and the end beyond the
// root takes over.
TEST(BetaQuantile, BisectionTakesOver) {
    // beta(5, 5) at 1e-30: the tail is near 126 x^5, the root near (1e-30 / 126)^(1/5).
    const double x = beta_quantile(1e-30, 5.0, 5.0, 0);
    EXPECT_TRUE(zolv_test::within_relative(x, std::pow(1e-30 / 126.0, 0.2), 1e-5));
    EXPECT_TRUE(zolv_test::within_relative(beta_tails(x, 5.0, 5.0).lower, 1e-30, 1e-9));
    for (const auto& [a, b] : {std::pair{1.2, 400.0}, {9.0, 9.5}, {2.0, 1e5}, {15.0, 15.0}}) {
        for (const double p : {1e-30, 1e-80}) {
            const double y = beta_quantile(p, a, b, 0);
            ASSERT_GT(y, 0.0);
            EXPECT_TRUE(zolv_test::within_relative(beta_tails(y, a, b).lower, p, 1e-4))
                << a << " " << b << " " << p;
        }
    }
}

// Below 1e-155 the products of residuals underflow: whatever comes back, it comes back (its bits are in the
// table).
TEST(BetaQuantile, TheSmallestProbabilitiesComeBack) {
    for (const double a : {0.3, 1.0, 5.0, 12.0, 1e4}) {
        for (const double b : {0.3, 1.0, 5.0, 12.0, 1e4, 1e12}) {
            for (const double p : {1e-154, 1e-160, 1e-250, 1e-308, 5e-324, 1.0 - 1e-16}) {
                for (const unsigned char upper : both_tails) beta_quantile(p, a, b, upper);
            }
        }
    }
}

TEST(BetaQuantile, TheDensityAtTheEnds) {
    EXPECT_SIGN_SET_NAN(beta_density_at_end(nan_value, 2.0, 3.0));
    EXPECT_SIGN_SET_NAN(beta_density_at_end(-nan_value, 2.0, 3.0));
    for (const double x : {-infinity, -1.0, -5e-324, above_one, 2.0, infinity}) {
        EXPECT_SAME_BITS(beta_density_at_end(x, 0.5, 0.5), 0.0);
        EXPECT_SAME_BITS(beta_density_at_end(x, 1.0, 1.0), 0.0);
    }
    EXPECT_EQ(beta_density_at_end(0.0, 0.5, 3.0), infinity);
    EXPECT_EQ(beta_density_at_end(0.0, 1.0, 3.0), 3.0);
    EXPECT_SAME_BITS(beta_density_at_end(-0.0, 2.0, 3.0), 0.0);
    EXPECT_EQ(beta_density_at_end(1.0, 3.0, 0.5), infinity);
    EXPECT_EQ(beta_density_at_end(1.0, 3.0, 1.0), 3.0);
    EXPECT_SAME_BITS(beta_density_at_end(1.0, 3.0, 2.0), 0.0);
}

TEST(BetaQuantileLaws, DensityAndTailsShareTheirLogarithm) {
    std::mt19937_64 random(41);
    const auto shape = [&random] {
        return std::exp(std::uniform_real_distribution<double>(std::log(1e-3), std::log(1e6))(random));
    };
    for (int i = 0; i < 2000; ++i) {
        const double a = shape(), b = shape();
        const double mean = a / (a + b);
        const double x =
            std::min(0.5, i % 2 ? mean : std::uniform_real_distribution<double>(1e-9, 0.5)(random));
        if (!(x > 0.0)) continue;
        const beta_variate::point point = beta_variate(a, b)(x);
        const tail_pair tails = beta_tails(x, a, b);
        ASSERT_SAME_BITS(point.density, std::exp(log_beta_pdf(a, b, x)));
        ASSERT_SAME_BITS(point.tails.lower, tails.lower);
        ASSERT_SAME_BITS(point.tails.upper, tails.upper);
    }
}

TEST(BetaQuantileLaws, APreparedSolverIsThePlainRoutineOnAnyTeam) {
    std::vector<double> p;
    for (int i = 1; i < 30; ++i) p.push_back(i / 30.0);
    p.insert(p.end(), {5e-324, 1e-200, 1e-30, 1e-8, 0.5, std::nextafter(0.5, 0.0), 1.0 - 1e-12});
    const std::pair<double, double> shapes[] = {
        {0.3, 0.4}, {2.0, 7.0},  {7.0, 2.0},  {1.0, 1.0},  {15.0, 40.0}, {1e-4, 3.0}, {3.0, 1e-4}, {0.2, 1e5},
        {2e4, 3e4}, {0.5, 1e10}, {1e10, 0.5}, {4.0, 1e24}, {1e24, 4.0},  {3.0, 1e16}, {2e4, 1e30}};
    for (const auto& [a, b] : shapes) {
        beta_quantile_solver prepared(a, b);
        const beta_quantile_solver lazy(a, b);
        prepared.prepare();
        for (const unsigned char upper : both_tails) {
            for (const int threads : zolv_test::team_sizes) {
                zolv_test::with_threads(threads, [&, &a = a, &b = b] {
                    std::vector<double> forward(p.size()), mirrored(p.size()), smaller(p.size());
                    parallel_for(p.size(), [&](std::uint64_t i) {
                        forward[i] = prepared(p[i], upper);
                        mirrored[i] = prepared.mirrored(p[i], upper);
                        smaller[i] = prepared.from_smaller(p[i], upper);
                    });
                    for (std::size_t i = 0; i < p.size(); ++i) {
                        ASSERT_SAME_BITS(forward[i], beta_quantile(p[i], a, b, upper))
                            << a << " " << b << " " << p[i];
                        ASSERT_SAME_BITS(mirrored[i], beta_quantile(p[i], b, a, upper));
                        ASSERT_SAME_BITS(smaller[i], p[i] < 0.5
                                                         ? forward[i]
                                                         : 1.0 - beta_quantile(1.0 - p[i], b, a, upper));
                        ASSERT_SAME_BITS(lazy(p[i], upper), forward[i]);
                    }
                });
            }
        }
    }
}

}  // namespace
