// The noncentral gamma density: its peak index, the guards around it, and densities in closed form.
#include "distributions/gamma_density.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

#include "kernels/log_gamma.hpp"
#include "support/bits.hpp"

namespace {

using dru::impl::gamma_nc_density;
using dru::impl::gamma_nc_pdf;
using zolv_test::within_relative;

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double quiet_nan = std::numeric_limits<double>::quiet_NaN();

double after(double x) { return std::nextafter(x, infinity); }
double before(double x) { return std::nextafter(x, -infinity); }

TEST(GammaDensity, TheEndsNeedNoMixture) {
    for (const double l : {0.0, -0.0, 1.5, -1.5, 1e300}) {
        for (const double a : {1e-300, 0.5, before(1.0), 1.0, after(1.0), 25.0, 1e300}) {
            EXPECT_SIGN_SET_NAN(gamma_nc_pdf(quiet_nan, a, l));
            EXPECT_SIGN_SET_NAN(gamma_nc_pdf(-quiet_nan, a, l));
            for (const double x : {infinity, -infinity, -1.0, -5e-324}) EXPECT_EQ(gamma_nc_pdf(x, a, l), 0.0);
            for (const double x : {0.0, -0.0}) {
                const double want = a < 1.0 ? infinity : a == 1.0 ? std::exp(-l) : 0.0;
                EXPECT_SAME_BITS(gamma_nc_pdf(x, a, l), want);
            }
        }
    }
}

TEST(GammaDensity, NoWeightsMeansTheCentralDensityForEitherZero) {
    for (const double a : {0.3, 1.0, 2.0, 77.5, 2e4}) {
        for (const double x : {1e-200, 0.4, 1.0, 3.0, 80.0, 2e4}) {
            const double want = std::exp(dru::impl::log_gamma_pdf(a, x));
            EXPECT_SAME_BITS(gamma_nc_pdf(x, a, 0.0), want);
            EXPECT_SAME_BITS(gamma_nc_pdf(x, a, -0.0), want);
        }
    }
    // A central density runs out through the subnormal numbers.
    EXPECT_GT(gamma_nc_pdf(740.0, 1.0, 0.0), 0.0);
    EXPECT_LT(gamma_nc_pdf(740.0, 1.0, 0.0), std::numeric_limits<double>::min());
}

// Around l x = a the largest term moves from index 0 to index 1; the sum is the same function on both sides.
TEST(GammaDensity, TheLargestTermLeavesIndexZeroAtTheProductOfMeanAndPoint) {
    for (const double a : {0.25, 1.0, 2.5, 40.0}) {
        for (const double l : {0.01, 0.5, 3.0, 40.0}) {
            const double x = a / l;
            const double at = gamma_nc_pdf(x, a, l);
            EXPECT_TRUE(within_relative(gamma_nc_pdf(x * (1.0 - 1e-13), a, l), at, 1e-10));
            EXPECT_TRUE(within_relative(gamma_nc_pdf(x * (1.0 + 1e-13), a, l), at, 1e-10));
        }
    }
}

// Shapes 1/2 and 3/2 have elementary densities: with c = sqrt(l x),
// exp(-x - l) cosh(2 c) / sqrt(pi x) and exp(-x - l) sinh(2 c) / sqrt(pi l).
TEST(GammaDensity, HalfShapesAreElementary) {
    const double pi = 3.141592653589793;
    for (const double l : {0.25, 1.0, 7.5, 90.0}) {
        for (const double x : {1e-6, 0.3, 2.0, 30.0, 120.0}) {
            const double c = 2.0 * std::sqrt(l * x);
            const double half = (std::exp(c - x - l) + std::exp(-c - x - l)) / 2.0 / std::sqrt(pi * x);
            const double odd = std::exp(-x - l) * std::sinh(c) / std::sqrt(pi * l);
            EXPECT_TRUE(within_relative(gamma_nc_pdf(x, 0.5, l), half, 1e-12)) << x << " " << l;
            EXPECT_TRUE(within_relative(gamma_nc_pdf(x, 1.5, l), odd, 1e-12)) << x << " " << l;
        }
    }
}

// ln of the largest term below the logarithm of the smallest normal double: exactly 0, not a subnormal
// number.
TEST(GammaDensity, AnUnderflowOfTheLargestTermIsExactlyZero) {
    for (const double a : {0.25, 1.0, 30.0}) {
        double inside = 100.0, outside = 1e5;
        while (after(inside) < outside) {
            const double middle = inside + (outside - inside) / 2.0;
            (gamma_nc_pdf(middle, a, 5.0) > 0.0 ? inside : outside) = middle;
        }
        EXPECT_GE(gamma_nc_pdf(inside, a, 5.0), std::numeric_limits<double>::min());
        EXPECT_EQ(gamma_nc_pdf(outside, a, 5.0), 0.0);
    }
    // It comes before the guard on the index: this one's peak is at 5e27.
    EXPECT_EQ(gamma_nc_pdf(1e26, 3.0, 1e30), 0.0);
}

// A negative mean of the weights: with a real radicand the largest term has index 0, and both passes stop at
// their first factor, l x / a and 0.
TEST(GammaDensity, ANegativeMeanIsFollowedWhereTheRadicandIsReal) {
    for (const double a : {0.25, 0.5, 1.5, 3.0, 20.0}) {
        for (const double l : {-1e-6, -0.2, -2.0, -30.0}) {
            const double edge = (a - 1.0) * (a - 1.0) / (-4.0 * l);
            for (const double x : {edge * 1e-6, edge * 0.5, edge * (1.0 - 1e-12)}) {
                const double log_T = -l + dru::impl::log_gamma_pdf(a, x);
                const double sum = l * x / 1.0 / a + 1.0 + 0.0;
                EXPECT_SAME_BITS(gamma_nc_pdf(x, a, l),
                                 log_T < dru::impl::log_dbl_min ? 0.0 : std::exp(log_T) * sum);
            }
            for (const double x : {edge * (1.0 + 1e-12), edge * 2.0, edge * 1e6}) {
                EXPECT_SIGN_SET_NAN(gamma_nc_pdf(x, a, l));
            }
        }
    }
    // The last double with a radicand of 0 and the first below: 4 l x is exactly -(a - 1)^2 at x = 0.25.
    EXPECT_FALSE(std::isnan(gamma_nc_pdf(0.25, 2.0, -1.0)));
    EXPECT_SIGN_SET_NAN(gamma_nc_pdf(after(0.25), 2.0, -1.0));
    // A shape of 1 has no room at all.
    EXPECT_SIGN_SET_NAN(gamma_nc_pdf(1e-300, 1.0, -1e-3));
}

TEST(GammaDensity, APeakBeyondTheCountableIndicesIsTheSignSetNan) {
    const double last = 9007199254740992.0;  // 2^53
    // With a = 1 the peak is sqrt(l x) - 1 rounded up: at x = l + 3 it is l + 1. (At l it would take
    // seconds.)
    EXPECT_SIGN_SET_NAN(gamma_nc_pdf(last + 8.0, 1.0, last + 8.0));
    EXPECT_SIGN_SET_NAN(gamma_nc_pdf(1e20, 3.0, 1e20));
    EXPECT_SIGN_SET_NAN(gamma_nc_pdf(1e300, 3.0, 1e300));  // the product overflows: an infinite index
    EXPECT_EQ(gamma_nc_pdf(1.0, 3.0, 1e300), 0.0);
    EXPECT_EQ(gamma_nc_pdf(1e300, 3.0, 1.0), 0.0);
    // 1e12 is counted.
    EXPECT_TRUE(within_relative(gamma_nc_pdf(1e12, 0.5, 1e12), 0.5 / std::sqrt(3.141592653589793e12), 1e-9));
}

// ln((1 - y) / y) overflows for a subnormal y.
TEST(GammaDensity, SubnormalPointsOverflowUpToShapeOne) {
    EXPECT_EQ(gamma_nc_pdf(1e-310, 0.5, 0.0), infinity);
    EXPECT_EQ(gamma_nc_pdf(1e-310, 0.5, 2.0), infinity);
    EXPECT_SIGN_SET_NAN(gamma_nc_pdf(1e-310, 1.0, 0.0));
    EXPECT_SIGN_SET_NAN(gamma_nc_pdf(1e-310, 1.0, 2.0));
    EXPECT_LT(gamma_nc_pdf(1e-310, after(1.0), 0.0), 1.0);
}

TEST(GammaDensity, OneObjectServesManyPointsWithTheSameBits) {
    std::mt19937_64 random(3);
    std::uniform_real_distribution<double> exponent(-2.0, 4.0);
    for (int set = 0; set < 40; ++set) {
        const double a = std::pow(10.0, exponent(random)),
                     l = set % 5 == 0 ? 0.0 : std::pow(10.0, exponent(random));
        const gamma_nc_density density(a, l);
        for (int i = 0; i < 20; ++i) {
            const double x = i < 4 ? std::pow(10.0, exponent(random)) : (a + l) * (0.7 + 0.03 * i);
            EXPECT_SAME_BITS(density(x), gamma_nc_pdf(x, a, l));
        }
    }
}

}  // namespace
