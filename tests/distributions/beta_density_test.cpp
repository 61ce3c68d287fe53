// The noncentral beta density: ends of the support, both halves, and where the mixture has no answer.
#include "distributions/beta_density.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "frame/nan.hpp"
#include "kernels/log_gamma.hpp"
#include "support/bits.hpp"

namespace {

using namespace dru::impl;

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double two_to_53 = 9007199254740992.0;
const double quiet_nan = std::numeric_limits<double>::quiet_NaN();
const double above_half = std::nextafter(0.5, 1.0);

// The mixture term by term, from the densities of the central distribution.
double direct(double y, double a, double b, double l) {
    double sum = 0.0;
    for (double j = 0.0; j < 400.0; j += 1.0) {
        sum += std::exp(log_poisson_pmf(j, l) + log_beta_pdf(a + j, b, y));
    }
    return sum;
}

TEST(NoncentralBetaDensity, TheEndsOfTheSupport) {
    EXPECT_SIGN_SET_NAN(beta_pdf(quiet_nan, 2.0, 3.0, 1.0));
    for (const double y : {-infinity, infinity, -1e-300, -1.0, 1.0000000000000002, 2.0}) {
        for (const double l : {0.0, 1.0, -1.0, quiet_nan}) EXPECT_EQ(beta_pdf(y, 0.5, 0.5, l), 0.0) << y;
    }
    for (const double l : {0.0, 2.0, -2.0, quiet_nan, infinity}) {
        EXPECT_EQ(beta_pdf(0.0, 0.5, 3.0, l), infinity);
        EXPECT_EQ(beta_pdf(0.0, 1.5, 3.0, l), 0.0);
        EXPECT_EQ(beta_pdf(1.0, 3.0, 0.5, l), infinity);
        EXPECT_EQ(beta_pdf(1.0, 3.0, 1.5, l), 0.0);
    }
    EXPECT_EQ(beta_pdf(0.0, 1.0, 3.0, 0.0), 3.0);
    EXPECT_SAME_BITS(beta_pdf(0.0, 1.0, 3.0, 0.7), std::exp(-0.7) * 3.0);
    EXPECT_EQ(beta_pdf(1.0, 3.0, 1.0, 0.0), 3.0);
    EXPECT_EQ(beta_pdf(1.0, 3.0, 1.0, 0.7), 3.7);
    // A noncentrality without a meaning is taken as it comes where no mixture starts.
    EXPECT_SAME_BITS(beta_pdf(0.0, 1.0, 3.0, -0.7), std::exp(0.7) * 3.0);
    EXPECT_EQ(beta_pdf(1.0, 3.0, 1.0, -5.0), -2.0);
    EXPECT_EQ(beta_pdf(0.0, 1.0, 3.0, infinity), 0.0);
    EXPECT_SIGN_SET_NAN(beta_pdf(1.0, 3.0, 1.0, quiet_nan));
}

TEST(NoncentralBetaDensity, WithoutNoncentralityEachHalfUsesItsOwnForm) {
    for (const double a : {0.5, 1.0, 3.0, 80.0}) {
        for (const double b : {0.5, 2.5, 40.0}) {
            const double below = std::nextafter(0.5, 0.0);
            EXPECT_SAME_BITS(beta_pdf(below, a, b, 0.0), std::exp(log_beta_pdf(a, b, below)));
            EXPECT_SAME_BITS(beta_pdf(0.5, a, b, 0.0), std::exp(log_beta_pdf(b, a, 0.5)));
            EXPECT_SAME_BITS(beta_pdf(0.9, a, b, -0.0), std::exp(log_beta_pdf(b, a, 1.0 - 0.9)));
        }
    }
}

TEST(NoncentralBetaDensity, IsTheMixtureOnBothSidesOfOneHalf) {
    for (const double a : {0.5, 1.5, 10.0, 60.0}) {
        for (const double b : {0.5, 5.0, 25.0}) {
            for (const double l : {1e-12, 0.3, 5.0, 30.0}) {
                for (const double y : {1e-6, 0.1, 0.4, 0.5, above_half, 0.8, 0.999999}) {
                    const double want = direct(y, a, b, l);
                    EXPECT_TRUE(zolv_test::within_relative(beta_pdf(y, a, b, l), want, 2e-13))
                        << y << " " << a << " " << b << " " << l;
                }
            }
        }
    }
}

// With a + b = 1 the ratio beyond the term at 0 has a zero in its denominator too, and is 0 by definition.
TEST(NoncentralBetaDensity, TheDownwardSumEndsAtIndexZeroWhateverTheShapes) {
    for (const double a : {0.5, 0.25, 1e-3, 1.0, 1e-9}) {
        const double b = a == 1.0 ? 2.0 : 1.0 - a;
        for (const double l : {3.0, 8.0, 20.0}) {
            const double got = beta_pdf(0.7, a, b, l);
            EXPECT_TRUE(zolv_test::within_relative(got, direct(0.7, a, b, l), 2e-13)) << a << " " << l;
        }
    }
}

// a + g = 1 with a b next to nothing: the radicand, a square on paper, comes out as a few ulps below 0.
TEST(NoncentralBetaDensity, ARadicandThatRoundsBelowZeroMeansAPeakAtZero) {
    int found = 0;
    for (double a = 0.0501; a < 0.95 && found < 20; a += 0.00173) {
        const double b = 1e-19, y = 0.5, l = (1.0 - a) / y, g = y * l;
        const double radicand = (a - 1.0) * (a - 1.0) + (g - 1.0) * (g - 1.0) + 2.0 * g * (2.0 * b + a) - 1.0;
        if (!(radicand < 0.0)) continue;
        ++found;
        EXPECT_TRUE(zolv_test::within_relative(beta_pdf(y, a, b, l), direct(y, a, b, l), 1e-12)) << a;
    }
    EXPECT_GE(found, 5);
}

TEST(NoncentralBetaDensity, ANoncentralityWithoutAMeaningHasNoMixture) {
    for (const double l : {-1e-300, -3.0, -infinity, infinity, quiet_nan, -quiet_nan}) {
        for (const double y : {1e-300, 0.3, 0.5, 0.9}) {
            const beta_nc_density density(2.0, 3.0, l);
            EXPECT_FALSE(density.at(y).defined);
            EXPECT_SIGN_SET_NAN(beta_pdf(y, 2.0, 3.0, l));
        }
    }
}

TEST(NoncentralBetaDensity, UnderflowIsToldBeforeAnIndexThatNoLongerMoves) {
    // The peak is far above 2^53 in each case.
    EXPECT_EQ(beta_pdf(0.3, 2.0, 3.0, 1e20), 0.0);
    EXPECT_EQ(beta_pdf(0.3, 2.0, 3.0, 1e300), 0.0);
    // At the mean of y the density is not small, but its terms cannot be told apart.
    const double l = 4.0 * two_to_53;
    const double b = l;  // y about one half
    const beta_nc_density density(10.0, b, l);
    EXPECT_FALSE(density.at(0.5).defined);
    EXPECT_SIGN_SET_NAN(beta_pdf(0.5, 10.0, b, l));
}

TEST(NoncentralBetaDensity, PreparedIsPlain) {
    for (const double l : {0.0, 0.4, 25.0, 1e4}) {
        const beta_nc_density prepared(1.5, 5.0, l);
        prepared.prepare();
        for (double y = 0.01; y < 1.0; y += 0.07) {
            EXPECT_SAME_BITS(prepared.at(y).density, beta_pdf(y, 1.5, 5.0, l));
        }
    }
}

}  // namespace
