// tests/support/bits.hpp: exact comparison of doubles, and distances in units in the last place.
#pragma once

#include <gtest/gtest.h>

#include <bit>
#include <cinttypes>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <limits>
#include <string>

namespace zolv_test {

inline std::uint64_t bits(double x) { return std::bit_cast<std::uint64_t>(x); }
inline double from_bits(std::uint64_t b) { return std::bit_cast<double>(b); }

inline constexpr std::uint64_t missing_bits = 0x7FF8000000000000;
inline constexpr std::uint64_t sign_set_nan_bits = 0xFFF8000000000000;

// Number of doubles between the two; 0 for equal values (0 and -0 included), the largest count if either is
// NaN and the other is not.
inline std::uint64_t ulp_distance(double a, double b) {
    if (std::isnan(a) || std::isnan(b)) return std::isnan(a) && std::isnan(b) ? 0 : ~std::uint64_t{0};
    const auto ordered = [](double x) {
        const auto i = std::bit_cast<std::int64_t>(x);
        return i < 0 ? std::numeric_limits<std::int64_t>::min() - i : i;
    };
    const std::int64_t i = ordered(a), j = ordered(b);
    return i > j ? static_cast<std::uint64_t>(i) - static_cast<std::uint64_t>(j)
                 : static_cast<std::uint64_t>(j) - static_cast<std::uint64_t>(i);
}

inline std::string show(double x) {
    char text[96];
    std::snprintf(text, sizeof text, "%.17g (%a, 0x%016" PRIX64 ")", x, x, bits(x));
    return text;
}

inline testing::AssertionResult same_bits(const char* a_text, const char* b_text, double a, double b) {
    if (bits(a) == bits(b)) return testing::AssertionSuccess();
    return testing::AssertionFailure() << a_text << " = " << show(a) << "\n"
                                       << b_text << " = " << show(b) << "\n"
                                       << ulp_distance(a, b) << " ulps apart";
}

inline testing::AssertionResult within_ulps(double got, double want, std::uint64_t limit) {
    const std::uint64_t distance = ulp_distance(got, want);
    if (distance <= limit) return testing::AssertionSuccess();
    return testing::AssertionFailure() << "got  " << show(got) << "\nwant " << show(want) << "\n"
                                       << distance << " ulps apart, " << limit << " allowed";
}

// |got - want| <= tolerance |want|, with NaN equal to NaN and equal infinities equal.
inline testing::AssertionResult within_relative(double got, double want, double tolerance) {
    if (bits(got) == bits(want) || (std::isnan(got) && std::isnan(want)) || got == want) {
        return testing::AssertionSuccess();
    }
    if (std::abs(got - want) <= tolerance * std::abs(want)) return testing::AssertionSuccess();
    return testing::AssertionFailure()
           << "got  " << show(got) << "\nwant " << show(want) << "\nrelative "
           << std::abs(got - want) / std::abs(want) << ", " << tolerance << " allowed";
}

}  // namespace zolv_test

#define EXPECT_SAME_BITS(a, b) EXPECT_PRED_FORMAT2(zolv_test::same_bits, a, b)
#define ASSERT_SAME_BITS(a, b) ASSERT_PRED_FORMAT2(zolv_test::same_bits, a, b)
#define EXPECT_MISSING(x) EXPECT_EQ(zolv_test::bits(x), zolv_test::missing_bits)
#define EXPECT_SIGN_SET_NAN(x) EXPECT_EQ(zolv_test::bits(x), zolv_test::sign_set_nan_bits)
