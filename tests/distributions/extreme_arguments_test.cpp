// Arguments at the ends of a double's range that the fuzzers came upon. What the formulas leave there is
// kept, and pinned: the headers of the exports tell it.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "support/bits.hpp"
#include "zolv.h"

namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double largest = std::numeric_limits<double>::max();
constexpr double least = 5e-324;

// k / (n prob) is minus infinity, and 1 plus it has no logarithm.
TEST(ExtremeArguments, ABinomialProbabilityOfMinusZeroHasNoMassBetweenTheEnds) {
    EXPECT_EQ(zolv_BinomialPdf(0.0, 90, -0.0), 1.0);
    EXPECT_TRUE(std::isnan(zolv_BinomialPdf(9.0, 90, -0.0)));
    EXPECT_EQ(zolv_BinomialPdf(90.0, 90, -0.0), 0.0);
    EXPECT_EQ(zolv_BinomialPdf(9.0, 90, 0.0), 0.0);
    EXPECT_EQ(zolv_BinomialCdf(9.0, 90, -0.0, 0), 1.0);
    EXPECT_EQ(zolv_BinomialInvCdf(0.5, 90, -0.0, 1), 0.0);
}

// c + 1 - 1 is 0 for c = (d1 + d2) / 2 below the spacing of the doubles next to 1: the recurrence divides by
// it.
TEST(ExtremeArguments, NoncentralFTailsOfShapesLostBesideOneAreInfinite) {
    const double nc = 25.804615227743717;
    for (const double x : {1.6055547208668622e+41, 3.1282249082983705e+295}) {
        EXPECT_EQ(zolv_FCdf(x, 1e-16, 1e-16, nc, 0), infinity);
        EXPECT_EQ(zolv_FCdf(x, 1e-16, 1e-16, nc, 1), -infinity);
        EXPECT_GT(zolv_FCdf(x, 1e-14, 1e-14, nc, 0), 0.0);
        EXPECT_LT(zolv_FCdf(x, 1e-14, 1e-14, nc, 0), 1.0);
    }
}

// The logarithm of the density is a difference of terms of the shapes' size: beyond 1e13 its rounding is no
// longer small, and the tails, which are the density times a ratio, leave [0, 1].
TEST(ExtremeArguments, TailsOfShapesBeyondTheDigitsAreNotClamped) {
    const double x = std::nextafter(1.0, 2.0), d1 = 3.5525934213941878e+59, d2 = 1.0587960007731823e+59;
    EXPECT_LT(zolv_FCdf(x, d1, d2, 0.0, 0), 0.0);
    EXPECT_GT(zolv_FCdf(x, d1, d2, 0.0, 1), 1.0);
    EXPECT_NEAR(zolv_FCdf(x, 3.5e12, 1e12, 0.0, 0), 0.5, 1e-6);  // the middle, but for a sd of 1e-10
}

// Half of the smallest number is 0, on either side.
TEST(ExtremeArguments, TheChiSquarePointNextToZeroIsZero) {
    for (const double x : {least, -least}) {
        EXPECT_EQ(zolv_ChiSqPdf(x, 0.25, 0.0), infinity);
        EXPECT_EQ(zolv_ChiSqPdf(x, 2.0, 0.0), 0.5);
        EXPECT_EQ(zolv_ChiSqPdf(x, 3.0, 1.0), 0.0);
        EXPECT_EQ(zolv_ChiSqCdf(x, 0.25, 1.0, 0), 0.0);
    }
    EXPECT_EQ(zolv_ChiSqPdf(-2.0 * least, 0.25, 0.0), 0.0);
    // A noncentrality of it is none: the Newton steps may leave the support as they do without one.
    const double p = std::nextafter(1.0, 0.0);
    EXPECT_SAME_BITS(zolv_ChiSqInvCdf(p, 4.0, -least, 1), zolv_ChiSqInvCdf(p, 4.0, 0.0, 1));
}

TEST(ExtremeArguments, AnFPointWhoseBetaPointUnderflowsIsNotAskedForItsNoncentrality) {
    for (const double nc : {-1.0, infinity, std::nan(""), -largest}) {
        EXPECT_EQ(zolv_FCdf(1e-6, 2.2e-308, largest, nc, 0), 0.0);
        EXPECT_EQ(zolv_FCdf(1e-6, 2.2e-308, largest, nc, 1), 1.0);
        EXPECT_SIGN_SET_NAN(zolv_FCdf(1e-6, 3.0, 5.0, nc, 0));
    }
}

TEST(ExtremeArguments, ADensityThatOverflowsMakesTheTailsInfinite) {
    EXPECT_EQ(zolv_BetaCdf(1e-12, 1.6e-319, 0.01, 0), -infinity);
    EXPECT_EQ(zolv_BetaCdf(1e-12, 1.6e-319, 0.01, 1), infinity);
    EXPECT_EQ(zolv_BetaCdf(1e-315, 0.01, 0x1p53, 0), infinity);
    EXPECT_GT(zolv_BetaCdf(1e-305, 0.01, 0x1p53, 0), 0.0);
    EXPECT_LT(zolv_BetaCdf(1e-305, 0.01, 0x1p53, 0), 1.0);
    EXPECT_EQ(zolv_TCdf(1e-5, 5.4e-322, 0.0, 0), infinity);
    EXPECT_EQ(zolv_TCdf(1e-5, 1e306, 0.0, 0), infinity);
    EXPECT_EQ(zolv_TCdf(1e-160, 1e10, 0.0, 0), 0.5);
    // An upper tail of 1e-308 is left to the lower sum, where the ratio of tail to density is beyond a
    // double.
    EXPECT_EQ(zolv_TCdf(38.0, 99975.408761978018, 0.0055601520730180114, 0), infinity);
    EXPECT_EQ(zolv_TCdf(38.0, 99975.408761978018, 0.0055601520730180114, 1), -infinity);
    EXPECT_EQ(zolv_FCdf(1e-6, 7e-317, 0.01, 0.0, 0), -infinity);
}

// Half of such degrees of freedom is 0.
TEST(ExtremeArguments, TheLeastDegreesOfFreedomHaveTheSameTInAnArray) {
    const double x[] = {-1e300, -2.0, -1e-300, 0.0, 1e-300, 0.5, 2.0, 1e300};
    for (const double nc : {-3.0, 1.0, 40.0}) {
        double out[std::size(x)];
        zolv_ParallelTPdf(x, std::size(x), least, nc, out);
        for (std::size_t i = 0; i < std::size(x); ++i)
            EXPECT_SAME_BITS(out[i], zolv_TPdf(x[i], least, nc)) << x[i];
        for (const unsigned char upper : {0, 1}) {
            zolv_ParallelTCdf(x, std::size(x), least, nc, upper, out);
            for (std::size_t i = 0; i < std::size(x); ++i)
                EXPECT_SAME_BITS(out[i], zolv_TCdf(x[i], least, nc, upper)) << x[i];
        }
    }
}

}  // namespace
