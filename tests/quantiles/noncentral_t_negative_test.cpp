// Tails of the noncentral t on the other side of 0; their bits and their accuracy per regime stand in
// noncentral_t_test.cpp.
#include "quantiles/noncentral_t_negative.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "kernels/normal.hpp"
#include "support/bits.hpp"
#include "zolv.h"

using namespace dru::impl;
using namespace zolv_test;

namespace {

constexpr double inf = std::numeric_limits<double>::infinity();

double after(double x) { return std::nextafter(x, inf); }
double before(double x) { return std::nextafter(x, -inf); }

TEST(NoncentralTNegative, AllTheMassIsAboveBeyondTheCut) {
    for (const double df : {0.5, 30.0, 1999.0, 2000.0, 1e9}) {
        for (const double x : {-1e-300, -0.1, -50.0}) {
            EXPECT_SAME_BITS(zolv_TCdf(x, df, after(21.274), 0), 0.0);
            EXPECT_SAME_BITS(zolv_TCdf(x, df, after(21.274), 1), 1.0);
            EXPECT_SAME_BITS(zolv_TCdf(-x, df, -30.0, 1), 0.0);
        }
    }
    // At the cut the saddle-point tail still answers; the recurrence stops at 1e-100.
    const double x = -0.1;
    EXPECT_GT(zolv_TCdf(x, 2000.0, 21.274, 0), 0.0);
    EXPECT_LT(zolv_TCdf(x, 2000.0, 21.274, 0), 1e-99);
    EXPECT_SAME_BITS(zolv_TCdf(x, before(2000.0), 21.274, 0), 0.0);
}

TEST(NoncentralTNegative, SaddlePointTailFrom2000DegreesOfFreedom) {
    for (const double nc : {0.4, 3.0, 10.0}) {
        for (const double x : {-0.1, -2.0}) {
            const tail_pair large = t_nc_tails_large_df(x, 2000.0, nc);
            EXPECT_SAME_BITS(zolv_TCdf(x, 2000.0, nc, 0), large.lower);
            EXPECT_SAME_BITS(zolv_TCdf(x, 2000.0, nc, 1), large.upper);
            const double below = zolv_TCdf(x, before(2000.0), nc, 0);
            EXPECT_TRUE(within_relative(below, large.lower, 2e-8)) << nc << " " << x;
        }
    }
}

// The saddle-point tail names its members by the side of the noncentrality that the point is on.
TEST(NoncentralTNegative, SaddlePointTailAboveTheNoncentrality) {
    for (const double nc : {0.5, 4.0}) {
        const double x = nc + 1.5, df = 4000.0;
        const tail_pair tails = t_nc_tails_large_df(x, df, nc);
        EXPECT_SAME_BITS(tails.lower, 1.0 - tails.upper);
        EXPECT_TRUE(within_relative(tails.upper, zolv_TCdf(x, df, nc, 1), 1e-8));
        const tail_pair below = t_nc_tails_large_df(nc - 0.3, df, nc);
        EXPECT_SAME_BITS(below.upper, 1.0 + -below.lower);
        EXPECT_TRUE(within_relative(below.lower, zolv_TCdf(nc - 0.3, df, nc, 0), 1e-7));
    }
}

// Below 1e-100 a tail of the recurrence counts as 0.
TEST(NoncentralTNegative, TinyTailsAreZero) {
    const double df = 20.0, nc = 14.0;
    double x = -0.01;
    while (zolv_TCdf(x, df, nc, 0) > 0.0) x *= 1.01;
    EXPECT_SAME_BITS(zolv_TCdf(x, df, nc, 1), 1.0);
    EXPECT_GT(zolv_TCdf(x / 1.01, df, nc, 0), 1e-100);
    EXPECT_LT(zolv_TCdf(x / 1.01, df, nc, 0), 1e-98);
}

// The start of the recurrence would underflow: it starts from fewer degrees of freedom, or there is nothing.
TEST(NoncentralTNegative, BisectedStart) {
    // df = 1, nc = 0 + : the tail of a Cauchy variate far out, up to the noncentrality's slope.
    for (const double x : {-1e3, -1e6, -1e9}) {
        const double cauchy = 0.31830988618379067 * std::atan(-1.0 / x);
        EXPECT_TRUE(within_relative(zolv_TCdf(x, 1.0, 1e-3, 0), cauchy, 2e-3)) << x;
    }
    // So close to 0 that density times point is below 1e-300: the tail is 0 although it is the normal one.
    EXPECT_SAME_BITS(zolv_TCdf(-1e-300, 5.0, 2.0, 0), 0.0);
    EXPECT_TRUE(within_relative(zolv_TCdf(-1e-290, 5.0, 2.0, 0), normal_upper_tail(2.0), 1e-7));
}

// Where the point and the noncentrality are both within about 0.01 of 0, on different sides, the squared
// saddle point is 1 up to rounding, and nothing is left of the tail. Pinned, not wanted.
TEST(NoncentralTNegative, NothingIsRightNextToTheOrigin) {
    EXPECT_FALSE(within_relative(zolv_TCdf(-1e-6, 2000.0, 1e-6, 0), 0.5, 1.0));
    EXPECT_TRUE(within_relative(zolv_TCdf(-0.05, 2000.0, 0.05, 0), 0.4601, 1e-3));
    EXPECT_SIGN_SET_NAN(zolv_TCdf(-1e-6, 1e10, 1e-6, 0));
    EXPECT_SIGN_SET_NAN(zolv_TCdf(-1.0, 1e20, 1.0, 0));  // so many degrees of freedom do the same everywhere
}

}  // namespace
