// tests/support/platform_bits.hpp: compares with a table of exact bits made on a machine with fused
// multiply-add.
//
// The C library picks its exp, log and pow by the processor, and the variants may differ in the last place.
// Where it picks the same ones as for the tables, every bit must agree; elsewhere a few ulps are allowed.
#pragma once

#include "support/bits.hpp"

namespace zolv_test {

inline bool platform_has_table_bits() {
#if defined(__x86_64__)
    return __builtin_cpu_supports("fma") != 0;
#else
    return false;
#endif
}

inline testing::AssertionResult platform_bits(const char* got_text, const char* want_text, double got,
                                              double want) {
    if (std::isnan(got) && std::isnan(want)) return testing::AssertionSuccess();
    if (platform_has_table_bits()) return same_bits(got_text, want_text, got, want);
    return within_ulps(got, want, 64);
}

}  // namespace zolv_test

#define EXPECT_PLATFORM_BITS(got, want) EXPECT_PRED_FORMAT2(zolv_test::platform_bits, got, want)
