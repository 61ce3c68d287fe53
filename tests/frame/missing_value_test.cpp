// The missing value and the classification exports: bit patterns and every class of double.
#include "support/bits.hpp"
#include "zolv.h"

namespace {

const double plus_nan = zolv_test::from_bits(0x7FF8000000000000);
const double minus_nan = zolv_test::from_bits(0xFFF8000000000000);
const double signalling = zolv_test::from_bits(0x7FF0000000000001);
const double infinity = std::numeric_limits<double>::infinity();

TEST(missing_value, is_the_quiet_nan_with_a_clear_sign) { EXPECT_MISSING(zolv_GetMissingValue()); }

TEST(missing_value, equality_is_never_true) {
    EXPECT_EQ(zolv_IsMissingValue(zolv_GetMissingValue()), 0);
    for (double x : {plus_nan, minus_nan, 0.0, 1.0, infinity, -infinity})
        EXPECT_EQ(zolv_IsMissingValue(x), 0);
}

TEST(classification, nan_of_either_sign) {
    EXPECT_EQ(zolv_IsNaN(plus_nan), 1);
    EXPECT_EQ(zolv_IsNaN(minus_nan), 1);
    EXPECT_EQ(zolv_IsNaN(signalling), 1);
    for (double x : {0.0, -0.0, 5e-324, 1.7976931348623157e308, infinity, -infinity})
        EXPECT_EQ(zolv_IsNaN(x), 0);
}

TEST(classification, infinities_by_sign) {
    EXPECT_EQ(zolv_IsInfinity(infinity), 1);
    EXPECT_EQ(zolv_IsInfinity(-infinity), 1);
    EXPECT_EQ(zolv_IsPlusInfinity(infinity), 1);
    EXPECT_EQ(zolv_IsPlusInfinity(-infinity), 0);
    EXPECT_EQ(zolv_IsMinusInfinity(-infinity), 1);
    EXPECT_EQ(zolv_IsMinusInfinity(infinity), 0);
    for (double x : {plus_nan, minus_nan, 0.0, 1.7976931348623157e308, -1.7976931348623157e308}) {
        EXPECT_EQ(zolv_IsInfinity(x), 0);
        EXPECT_EQ(zolv_IsPlusInfinity(x), 0);
        EXPECT_EQ(zolv_IsMinusInfinity(x), 0);
    }
}

}  // namespace
