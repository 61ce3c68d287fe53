// Scaled ratios against the processor's own arithmetic on subnormals, by bits.
#include "quantiles/subnormal_ratios.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

#include "support/bits.hpp"

namespace {

using dru::impl::plain_ratios;
using dru::impl::scaled_ratios;
using dru::impl::worth_scaling;

constexpr double unit = 0x1p-1074;
constexpr double smallest_normal = 0x1p-1022;

void expect_same_product(double x, double y) {
    const double scaled = scaled_ratios::product(scaled_ratios::scaled(x), y);
    EXPECT_SAME_BITS(scaled_ratios::unscaled(scaled), plain_ratios::product(x, y)) << x << " * " << y;
}

void expect_same_quotient(double x, double y) {
    const double scaled = scaled_ratios::quotient(scaled_ratios::scaled(x), y);
    EXPECT_SAME_BITS(scaled_ratios::unscaled(scaled), plain_ratios::quotient(x, y)) << x << " / " << y;
}

TEST(ScaledRatios, AreTheSameNumbersThereAndBack) {
    for (const double x :
         {0.0, unit, 3.0 * unit, std::nextafter(smallest_normal, 0.0), smallest_normal, 0x1.8p-961}) {
        EXPECT_SAME_BITS(scaled_ratios::unscaled(scaled_ratios::scaled(x)), x);
        EXPECT_SAME_BITS(plain_ratios::unscaled(plain_ratios::scaled(x)), x);
    }
}

TEST(ScaledRatios, RoundProductsAndQuotientsWhereADoubleWould) {
    std::mt19937_64 random(41);
    const auto power = [&](double lo, double hi) {
        return std::exp2(std::uniform_real_distribution<double>(lo, hi)(random));
    };
    for (int n = 0; n < 1000000; ++n) {
        const double x = power(-1074.0, -962.0), y = power(-60.0, 53.0);
        expect_same_product(x, y);
        expect_same_quotient(x, y);
    }
}

// Few units, and factors that leave the exact number on a tie or so near to one that 53 bits cannot tell.
TEST(ScaledRatios, BreakTiesAsADoubleWould) {
    const double inf = std::numeric_limits<double>::infinity();
    for (int units = 0; units < 200; ++units) {
        for (int halves = 0; halves < 40; ++halves) {
            for (const double y :
                 {0.5 * halves, std::nextafter(0.5 * halves, 0.0), std::nextafter(0.5 * halves, inf),
                  std::nextafter(std::nextafter(0.5 * halves, inf), inf)}) {
                expect_same_product(units * unit, y);
                if (y > 0.0) expect_same_quotient(units * unit, y);
            }
        }
        // The exact product is a tie and less than half of its last place beside it.
        expect_same_product((2 * units + 1) * 0x1p-1050, std::nextafter(0x1p-25, 0.0));
        expect_same_product((2 * units + 1) * 0x1p-1050, std::nextafter(0x1p-25, 1.0));
    }
}

// x y is within its own last place of a tie, on either side, so that 53 bits often show the tie itself.
TEST(ScaledRatios, BreakTiesThatTheFirstRoundingMade) {
    std::mt19937_64 random(42);
    for (int n = 0; n < 200000; ++n) {
        const double half_units = (2.0 * static_cast<double>(random() % 4096) + 1.0) * 0x1p-1010;
        const double y = 1.0 + static_cast<double>(random() % 0xFFFFFFFF) * 0x1p-32;
        expect_same_product(half_units / y, y * 0x1p-65);
        expect_same_quotient(half_units / y, 0x1p65 / y);
        expect_same_quotient(half_units * y, y * 0x1p65);
    }
}

TEST(ScaledRatios, AreWorthItForSmallRatiosAlone) {
    const double limit = 0x1p-960, below = std::nextafter(limit, 0.0);
    EXPECT_TRUE(worth_scaling(below, below, 0x1p53));
    EXPECT_FALSE(worth_scaling(limit, below, 0x1p53));
    EXPECT_FALSE(worth_scaling(below, limit, 0x1p53));
    EXPECT_FALSE(worth_scaling(below, below, std::nextafter(0x1p53, 0x1p60)));
    EXPECT_FALSE(worth_scaling(0.0, below, 1.0));
    EXPECT_FALSE(worth_scaling(std::nan(""), below, 1.0));
}

TEST(ScaledRatios, FitWhileTheyAreSmall) {
    EXPECT_TRUE(scaled_ratios::fits(std::nextafter(1.0, 0.0)));
    EXPECT_FALSE(scaled_ratios::fits(1.0));
    EXPECT_FALSE(scaled_ratios::fits(std::nan("")));
    EXPECT_TRUE(plain_ratios::fits(std::nan("")));
}

}  // namespace
