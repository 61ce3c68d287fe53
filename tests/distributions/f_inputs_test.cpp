// The F family on any input: every call comes back, with a value in the function's range or a NaN.
#include <gtest/gtest.h>

#include <cmath>

#include "support/bits.hpp"
#include "support/watchdog.hpp"
#include "zolv.h"

namespace {

using zolv_test::watchdog;

// Every combination of special values is asked in tests/surface/hostile_grid_test.cpp.

// Arguments that make many terms, or that once made a sum or a search run on.
TEST(FAnyInput, TheSlowOnesComeBack) {
    const watchdog dog(120);
    const double least = 5e-324, normal = 2.2250738585072014e-308, huge = 1.7976931348623157e308;
    struct {
        double x, d1, d2, nc;
    } const cases[] = {{1.0, normal, 1.0, 2147483648.0},
                       {1.0, 0.5, normal, 2147483648.0},
                       {0.5, 1e15, normal, 2147483648.0},
                       {1.0, huge, 1.0, normal},
                       {0.5, huge, 1.0, 1.0},
                       {least, least, normal, least},
                       {least, least, normal, normal},
                       {59.0 * 59.0, 1.0, 1e13, 226.845},
                       {1e-300, 1e4, 10.0, 1e15},
                       {0.5, 20.0, 50.0, 9007198000000000.0},
                       {0.5, 3.0, 10.0, 9e9},
                       {1.0, 2147483648.0, 2147483648.0, 2147483648.0}};
    for (const auto& c : cases) {
        for (const unsigned char upper : {0, 1}) {
            watchdog::watch("FCdf", c.x, c.d1, c.d2, c.nc, upper);
            const double cdf = zolv_FCdf(c.x, c.d1, c.d2, c.nc, upper);
            EXPECT_TRUE(std::isnan(cdf) || (cdf >= 0.0 && cdf <= 1.0)) << cdf;
            if (c.nc > 1e9 && upper != 0) continue;  // a second or so each
            watchdog::watch("FInvCdf", c.x, c.d1, c.d2, c.nc, upper);
            const double inv = zolv_FInvCdf(c.x, c.d1, c.d2, c.nc, upper);
            EXPECT_TRUE(std::isnan(inv) || inv >= 0.0) << inv;
        }
        watchdog::watch("FPdf", c.x, c.d1, c.d2, c.nc);
        const double pdf = zolv_FPdf(c.x, c.d1, c.d2, c.nc);
        EXPECT_TRUE(std::isnan(pdf) || pdf >= 0.0) << pdf;
    }
}

// The normal form of shapes whose variance underflows: 0 / 0, which one compiler and the other used to negate
// at other places on its way to the caller.
TEST(FAnyInput, AnUndefinedTailIsTheSignSetNaN) {
    for (const double x : {0x1.fffffffffffffp-1, 1.0, 0x1.0000000000001p+0}) {
        for (const unsigned char upper : {0, 1}) {
            EXPECT_SIGN_SET_NAN(zolv_FCdf(x, 1e160, 2147483648.0, 0.0, upper)) << x;
            EXPECT_SIGN_SET_NAN(zolv_FCdf(x, 2147483648.0, 1e160, 0.0, upper)) << x;
            EXPECT_SIGN_SET_NAN(zolv_FCdf(x, 1e300, 9007199254740992.0, 0.0, upper)) << x;
        }
    }
}

}  // namespace
