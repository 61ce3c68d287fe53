// Incomplete beta tails and ratios at four points in step against the same one by one, by their bits.
#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <random>

#include "kernels/incomplete_beta.hpp"
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
constexpr int rounds = sanitized ? 4000 : 150000;

class Random {
public:
    explicit Random(unsigned seed) : engine_(seed) {}
    double between(double lo, double hi) { return std::uniform_real_distribution<double>(lo, hi)(engine_); }
    double power(double lo, double hi) { return std::pow(10.0, between(lo, hi)); }
    bool chance(int one_in) { return std::uniform_int_distribution<int>(1, one_in)(engine_) == 1; }
    double shape(double lo, double hi) {
        if (chance(3)) return std::ceil(between(0.0, 60.0)) / 2.0;
        if (chance(50)) return power(12.0, 16.0);
        return power(lo, hi);
    }
    double next_to(double x) { return std::nextafter(x, chance(2) ? 0.0 : 1.0); }

private:
    std::mt19937_64 engine_;
};

bool same(double a, double b) { return std::bit_cast<std::uint64_t>(a) == std::bit_cast<std::uint64_t>(b); }

TEST(BetaLanes, TailsAreThoseOfEachPoint) {
    Random random(31);
    long compared = 0;
    for (int n = 0; n < rounds; ++n) {
        const double a = random.shape(-4.0, 5.0), b = random.shape(-4.0, 5.0);
        const beta_tail_kernel tails(a, b);
        const double mean = a / (a + b), sd = std::sqrt(mean * (1.0 - mean) / (a + b + 1.0));
        lane_array x{};
        std::size_t count = 0;
        for (int tries = 0; tries < 40 && count < lane_count; ++tries) {
            double at = random.chance(2) ? mean + sd * random.between(-6.0, 6.0) : random.between(0.0, 0.6);
            if (random.chance(6)) at = random.next_to(tails.split_point());
            if (random.chance(6)) at = random.next_to(1.0 / (b + std::floor(a)));
            if (random.chance(30)) at = random.power(-320.0, -1.0);
            if (!(at > 0.0 && at < 0.9) || (count > 0 && tails.kind(at) != tails.kind(x[0]))) continue;
            x[count++] = at;
        }
        if (count < lane_count) continue;
        const tail_pairs in_step = tails(x);
        for (std::size_t l = 0; l < lane_count; ++l) {
            const tail_pair alone = tails(x[l]);
            ASSERT_TRUE(same(in_step[l].lower, alone.lower) && same(in_step[l].upper, alone.upper))
                << show(x[l]) << " " << show(a) << " " << show(b);
        }
        compared += lane_count;
    }
    RecordProperty("arguments", std::to_string(compared));
}

// On either side of the median, where a product may overflow and a lane may be over long before another.
TEST(BetaLanes, RatiosAreThoseOfEachPoint) {
    Random random(32);
    for (int n = 0; n < rounds; ++n) {
        const double a = random.shape(-4.0, 4.0), b = random.shape(-4.0, 4.0);
        beta_ratio_kernel ratio(a, b);
        const bool together = random.chance(2);
        const double about = random.between(0.0, 0.8);
        lane_array x;
        for (double& at : x) {
            at = together ? about * random.between(0.9, 1.1) : random.between(1e-3, 0.85);
            if (random.chance(10)) at = random.power(-320.0, -1.0);
            if (n % 2 != 0 && ratio.takes_small_remainder(at) != ratio.takes_small_remainder(x[0])) at = x[0];
        }
        const lane_array lower = ratio.lower(x);
        for (std::size_t l = 0; l < lane_count; ++l)
            ASSERT_TRUE(same(lower[l], ratio.lower(x[l]))) << show(x[l]) << " " << show(a) << " " << show(b);
        if (n % 2 == 0) continue;
        if (n % 4 == 1) ratio.prepare_small_remainder();
        const lane_array upper = ratio.upper(x);
        for (std::size_t l = 0; l < lane_count; ++l)
            ASSERT_TRUE(same(upper[l], ratio.upper(x[l]))) << show(x[l]) << " " << show(a) << " " << show(b);
    }
}

// A product b x that underflows leaves no remainder to scale.
TEST(BetaLanes, PointsBelowTheSmallestProductGoByThemselves) {
    beta_ratio_kernel ratio(0.5, 0.25);
    ratio.prepare_small_remainder();
    const lane_array x{5e-324, 1e-3, 1e-5, 5e-324}, upper = ratio.upper(x);
    for (std::size_t l = 0; l < lane_count; ++l) EXPECT_SAME_BITS(upper[l], ratio.upper(x[l]));
    EXPECT_SAME_BITS(upper[0], 0.0);
}

TEST(BetaLanes, OverflowsGoByThemselves) {
    const beta_ratio_kernel lower(2.0, 5e12), upper(7000.5, 3.5);
    const lane_array x{1e-3, 1e-20, 2e-3, 1e-15}, y{1e-5, 0.5, 0.9, 1e-3};
    for (std::size_t l = 0; l < lane_count; ++l) {
        EXPECT_SAME_BITS(lower.lower(x)[l], lower.lower(x[l]));
        EXPECT_SAME_BITS(upper.upper(y)[l], upper.upper(y[l]));
    }
}

// A density that underflows answers 0 for its lane alone.
TEST(BetaLanes, UnderflowsAreThoseOfTheirLane) {
    const beta_tail_kernel tails(300.0, 700.0);
    const lane_array x{0.01, 0.2, 0.29, 1e-4};
    const tail_pairs in_step = tails(x);
    for (std::size_t l = 0; l < lane_count; ++l) EXPECT_SAME_BITS(in_step[l].lower, tails(x[l]).lower);
    EXPECT_SAME_BITS(in_step[3].lower, 0.0);
    EXPECT_GT(in_step[1].lower, 0.0);
}

}  // namespace
