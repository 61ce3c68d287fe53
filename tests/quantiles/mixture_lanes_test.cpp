// Mixture sums at four points in step against the same sums one by one, by their bits: random parameters,
// points about the distribution, in its tails and at the ends of its support, ceilings and NaNs.
#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <random>

#include "quantiles/noncentral_beta.hpp"
#include "quantiles/noncentral_gamma.hpp"
#include "quantiles/noncentral_t.hpp"
#include "support/bits.hpp"

using namespace dru::impl;
using namespace zolv_test;

namespace {

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool sanitized = true;
#elif defined(__has_feature)
constexpr bool sanitized = __has_feature(address_sanitizer) || __has_feature(thread_sanitizer);
#else
constexpr bool sanitized = false;
#endif
constexpr int rounds = sanitized ? 200 : 5000;

class Random {
public:
    explicit Random(unsigned seed) : engine_(seed) {}
    double between(double lo, double hi) { return std::uniform_real_distribution<double>(lo, hi)(engine_); }
    double power(double lo, double hi) { return std::pow(10.0, between(lo, hi)); }
    bool chance(int one_in) { return std::uniform_int_distribution<int>(1, one_in)(engine_) == 1; }

private:
    std::mt19937_64 engine_;
};

bool same(const tail_pair& a, const tail_pair& b) {
    return std::bit_cast<std::uint64_t>(a.lower) == std::bit_cast<std::uint64_t>(b.lower) &&
           std::bit_cast<std::uint64_t>(a.upper) == std::bit_cast<std::uint64_t>(b.upper);
}

TEST(MixtureLanes, BetaTailsAreThoseOfEachPoint) {
    Random random(11);
    for (int n = 0; n < rounds; ++n) {
        const double a = random.power(-3.0, 4.0), b = random.power(-3.0, 4.0);
        const double ncp = random.chance(500) ? random.power(5.0, 13.0) : random.power(-6.0, 3.0);
        const double centre = (a + ncp) / (a + b + ncp);
        const bool together = random.chance(2);
        lane_array x, y;
        for (std::size_t l = 0; l < lane_count; ++l) {
            double at = together ? centre * random.between(0.97, 1.03) : random.between(0.0, 1.0);
            if (random.chance(40)) at = 0.0;
            if (random.chance(20)) at = random.power(-320.0, -1.0);
            x[l] = at < 0.9 ? at : 0.9;  // nearer to 1 the mirrored coordinate is the one to ask in
            y[l] = 1.0 - at < 0.9 ? 1.0 - at : 0.9;
        }
        const poisson_start_indices weights(ncp);
        const beta_nc_mixture mixture(a, b, weights);
        const auto left = mixture.left(x), right = mixture.right(y);
        for (std::size_t l = 0; l < lane_count; ++l) {
            ASSERT_TRUE(same(left[l], mixture.left(x[l]))) << x[l] << " " << a << " " << b << " " << ncp;
            ASSERT_TRUE(same(right[l], mixture.right(y[l]))) << y[l] << " " << a << " " << b << " " << ncp;
        }
    }
}

TEST(MixtureLanes, GammaTailsAreThoseOfEachPoint) {
    Random random(13);
    for (int n = 0; n < rounds; ++n) {
        const double a = random.power(-3.0, 5.0);
        const double ncp = random.chance(500) ? random.power(5.0, 16.0) : random.power(-6.0, 3.0);
        const double sd = std::sqrt(a + 2.0 * ncp);
        const bool together = random.chance(2);
        lane_array x;
        for (double& at : x) {
            at = a + ncp + sd * (together ? random.between(-0.2, 0.2) : random.between(-6.0, 9.0));
            if (!(at > 0.0) || random.chance(20)) at = random.power(-30.0, 5.0);
        }
        const gamma_nc_mixture mixture(a, ncp);
        const auto tails = mixture(x);
        for (std::size_t l = 0; l < lane_count; ++l)
            ASSERT_TRUE(same(tails[l], mixture(x[l]))) << x[l] << " " << a << " " << ncp;
    }
    for (const double ncp : {-1.0, 0.0, 2e9, 1e17}) {
        const gamma_nc_mixture mixture(2.0, ncp);
        const lane_array x{1e-3, 0.9 * ncp + 1.0, ncp + 2.0, 1.1 * ncp + 5.0};
        const auto tails = mixture(x);
        for (std::size_t l = 0; l < lane_count; ++l)
            EXPECT_TRUE(same(tails[l], mixture(x[l]))) << x[l] << " " << ncp;
    }
}

TEST(MixtureLanes, TTailsAreThoseOfEachPoint) {
    Random random(12);
    for (int n = 0; n < rounds; ++n) {
        const double df = random.chance(20) ? random.power(-300.0, -3.0) : random.power(-3.0, 5.0);
        double ncp = random.chance(1000) ? random.power(4.5, 9.0) : random.power(-5.0, 2.0);
        const bool mirror = random.chance(2);
        const bool together = random.chance(2);
        lane_array x;
        for (std::size_t l = 0; l < lane_count; ++l) {
            x[l] = together ? ncp * random.between(0.9, 1.3) : ncp * random.power(-2.0, 2.0);
            if (random.chance(40)) x[l] = random.power(-300.0, 300.0);
            if (mirror) x[l] = -x[l];
            if (n % 16 == 0) x[l] = -x[l];  // the other side of 0: a recurrence of up to 2000 steps
        }
        if (mirror) ncp = -ncp;
        const t_nc_distribution distribution(df, ncp);
        const auto tails = distribution.tails(x);
        for (std::size_t l = 0; l < lane_count; ++l)
            ASSERT_TRUE(same(tails[l], distribution.tails(x[l]))) << x[l] << " " << df << " " << ncp;
    }
}

// Passes that end at their ceiling, by one that begins beyond the peak and by one that never meets its stop.
TEST(MixtureLanes, CeilingsAndUndefinedSums) {
    for (const double ncp : {1.2e5, 1e7, 1e200}) {
        for (const double df : {1e-5, 3.0}) {
            if (sanitized && ncp < 1e6) continue;
            const t_nc_distribution distribution(df, ncp);
            const lane_array x{ncp, ncp * 1.001, ncp * 0.5, 1e130};
            const auto tails = distribution.tails(x);
            for (std::size_t l = 0; l < lane_count; ++l)
                EXPECT_TRUE(same(tails[l], distribution.tails(x[l]))) << x[l] << " " << df << " " << ncp;
        }
    }
    for (const double ncp : {0.0, -1.0, 1e10, 1e12, 1e33, double{missing_value}}) {
        const poisson_start_indices weights(ncp);
        const beta_nc_mixture mixture(2.0, 3.0, weights);
        const lane_array x{0.1, 0.5, 0.9, 1e-9};
        const auto left = mixture.left(x), right = mixture.right(x);
        for (std::size_t l = 0; l < lane_count; ++l) {
            EXPECT_TRUE(same(left[l], mixture.left(x[l]))) << x[l] << " " << ncp;
            EXPECT_TRUE(same(right[l], mixture.right(x[l]))) << x[l] << " " << ncp;
        }
    }
}

// The weights of a mean of about 9.388e9 begin just less than 750000 indices before it, and a sum of equal
// factors ends just more than 750000 indices behind: only there is a way back the one that meets its ceiling.
// At the other mean it ends at its very last step.
TEST(MixtureLanes, CeilingsOfTheSecondPass) {
    if (sanitized) GTEST_SKIP() << "millions of terms";
    for (const double ncp : {9388000000.0, 9386050500.0}) {
        const poisson_start_indices weights(ncp);
        const beta_nc_mixture mixture(2.0, 0.5, weights);
        const lane_array y{5.0e-11, 5.2e-11, 5.5e-11, 6e-11};  // lower tails first, and upper ones
        const auto right = mixture.right(y);
        for (std::size_t l = 0; l < lane_count; ++l)
            EXPECT_TRUE(same(right[l], mixture.right(y[l]))) << y[l] << " " << ncp;
        EXPECT_EQ(right[0].lower, 0.0);
        EXPECT_EQ(right[0].upper, 1.0);
    }
    constexpr double largest = 1.7976931348623157e308;
    const t_nc_distribution distribution(1.0, 137026.0);                             // of mean 137026^2 / 2
    for (const lane_array& x : {lane_array{137026.5, 137027.0, 137030.0, 137040.0},  // upper tails
                                lane_array{137025.0, 137020.0, 137010.0, 137000.0},  // lower tails
                                lane_array{137026.5, 400000.0, 1e6, 137025.0}}) {    // both, some beyond
        const auto tails = distribution.tails(x);
        for (std::size_t l = 0; l < lane_count; ++l)
            EXPECT_TRUE(same(tails[l], distribution.tails(x[l]))) << x[l];
        EXPECT_EQ(tails[0].lower, largest);  // what such a sum answers
    }
}

// Just below those means the weights begin near enough, but factors that rise move the peak beyond the
// ceiling.
TEST(MixtureLanes, CeilingsOfTheFirstPassBeyondTheMean) {
    if (sanitized) GTEST_SKIP() << "millions of terms";
    const double ncp = 9380000000.0;
    const poisson_start_indices weights(ncp);
    const double b = 1e5;
    const beta_nc_mixture mixture(2.0, b, weights);
    const double at = b / ncp;
    for (const lane_array& y : {lane_array{0.97 * at, 0.98 * at, 0.99 * at, 0.95 * at},
                                lane_array{1.03 * at, 1.02 * at, 1.01 * at, 1.05 * at}}) {
        const auto right = mixture.right(y);
        for (std::size_t l = 0; l < lane_count; ++l) EXPECT_TRUE(same(right[l], mixture.right(y[l]))) << y[l];
    }
    const t_nc_distribution distribution(1e5, 136967.0);  // of mean 136967^2 / 2
    for (const double factor : {1.03, 0.97}) {
        const double x = 136967.0 * factor;
        const lane_array near{x, 1.001 * x, 1.002 * x, 0.999 * x};
        const auto tails = distribution.tails(near);
        for (std::size_t l = 0; l < lane_count; ++l)
            EXPECT_TRUE(same(tails[l], distribution.tails(near[l]))) << near[l];
    }
    const gamma_nc_mixture gamma(0.5, ncp);
    const double sd = std::sqrt(2.0 * ncp);
    for (const lane_array& x : {lane_array{ncp + sd, ncp + 2.0 * sd, ncp + 4.0 * sd, ncp + 6.0 * sd},
                                lane_array{ncp - sd, ncp - 2.0 * sd, ncp - 4.0 * sd, ncp - 6.0 * sd}}) {
        const auto tails = gamma(x);
        for (std::size_t l = 0; l < lane_count; ++l) EXPECT_TRUE(same(tails[l], gamma(x[l]))) << x[l];
    }
}

// A shape so large that the ratio overflows on its way, and an infinite sum of the shapes.
TEST(MixtureLanes, RatiosThatOverflow) {
    const poisson_start_indices long_pass(1e6), short_pass(100.0);
    const beta_nc_mixture overflowing(2.0, 1e308, long_pass);
    const lane_array x{5e-303, 4e-303, 6e-303, 1e-303};
    const auto left = overflowing.left(x);
    for (std::size_t l = 0; l < lane_count; ++l) {
        EXPECT_TRUE(same(left[l], overflowing.left(x[l]))) << x[l];
        EXPECT_EQ(left[l].lower, 0.0);
    }
    for (const double a : {2.0, 1.7e308}) {
        for (const double b : {2.0, 1.7e308}) {
            const beta_nc_mixture large(a, b, short_pass);
            for (const lane_array& at :
                 {lane_array{0.1, 0.2, 0.3, 0.4}, lane_array{1e-323, 1e-310, 1e-307, 0.5}}) {
                const auto tails = large.left(at), mirrored = large.right(at);
                for (std::size_t l = 0; l < lane_count; ++l) {
                    EXPECT_TRUE(same(tails[l], large.left(at[l]))) << at[l] << " " << a << " " << b;
                    EXPECT_TRUE(same(mirrored[l], large.right(at[l]))) << at[l] << " " << a << " " << b;
                }
            }
        }
    }
    // Points whose complement underflows: the first term of the odd half is then undefined, within a short
    // pass and within a long one.
    for (const double ncp : {3.0, 1300.0}) {
        for (const double df : {0.5, 1e-5, 2.0, 3.0}) {
            const t_nc_distribution distribution(df, ncp);
            const lane_array far{1e160, 1e200, 1e250, 1e300};
            const auto tails = distribution.tails(far);
            for (std::size_t l = 0; l < lane_count; ++l)
                EXPECT_TRUE(same(tails[l], distribution.tails(far[l]))) << far[l] << " " << df << " " << ncp;
        }
    }
}

}  // namespace
