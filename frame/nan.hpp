// frame/nan.hpp: the two NaN patterns of the library and the classification of doubles.
//
// The missing value answers a bad parameter; the sign-set NaN answers a NaN variate or a probability
// outside [0, 1]. Callers tell the two apart by their bits, so both are built from bits.
#pragma once

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>

namespace dru::impl {

inline constexpr double missing_value = std::bit_cast<double>(std::uint64_t{0x7FF8000000000000});
inline constexpr double sign_set_nan = std::bit_cast<double>(std::uint64_t{0xFFF8000000000000});
inline constexpr double plus_infinity = std::numeric_limits<double>::infinity();

// By classification, never by comparison: a NaN equals nothing, itself included.
inline bool is_nan(double x) { return std::isnan(x); }
inline bool is_infinite(double x) { return std::isinf(x); }
inline bool is_finite(double x) { return std::isfinite(x); }

}  // namespace dru::impl
