// tests/fuzz/input.hpp: turns the fuzzer's bytes into arguments.
//
// Each number is led by a tag byte that says where it comes from: an ordinary value of the argument's range,
// a small whole number or half, a raw 64-bit pattern, one of the special values, a neighbour of one of the
// argument's thresholds, or the number before. A mutation of one byte is then a small step within a kind or a
// change of kind, and every double can be reached. Bytes that are not there read as 0.
#pragma once

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <span>
#include <vector>

namespace zolv_fuzz {

inline constexpr double special_values[] = {
    std::bit_cast<double>(std::uint64_t{0x7FF8000000000000}),  // the missing value
    std::bit_cast<double>(std::uint64_t{0xFFF8000000000000}),  // the sign-set NaN
    std::bit_cast<double>(std::uint64_t{0x7FF0000000000001}),  // a signalling NaN
    std::numeric_limits<double>::infinity(),
    -std::numeric_limits<double>::infinity(),
    0.0,
    -0.0,
    5e-324,
    -5e-324,
    0x0.fffffffffffffp-1022,  // the largest subnormal number
    0x1p-1022,                // the smallest normal one
    0x1.fffffffffffffp+1023,  // the largest of all
    -0x1.fffffffffffffp+1023,
    1.0,
    -1.0,
    0x1.fffffffffffffp-1,  // 1 and its neighbours
    0x1.0000000000001p+0,
    0.5,
    2.0,
    1e-300,
    1e300,
    1e-160,
    1e-16,
    1e16,
    0x1p31,
    0x1p32,
    0x1p53,
    0x1p63,
};

// What an argument ordinarily is: 10^low to 10^high, of either sign if wanted, and where its routine
// branches.
struct argument {
    double low, high;
    bool either_sign;
    std::span<const double> thresholds;
};

// A finite value beyond `most` in magnitude comes down to below it: for arguments that would make one call
// take a tenth of a second. Such calls are made by the tests of special values; a fuzzer wants many.
inline double folded(double value, double most) {
    return std::fabs(value) > most && std::isfinite(value) ? std::copysign(std::fmod(value, most), value)
                                                           : value;
}

class input {
public:
    input(const std::uint8_t* data, std::size_t size) : at_(data), end_(data + size) {}

    bool empty() const { return at_ == end_; }

    std::uint8_t byte() { return at_ == end_ ? std::uint8_t{0} : *at_++; }

    std::uint64_t word(int bytes) {
        std::uint64_t value = 0;
        for (int i = 0; i < bytes; ++i) value |= std::uint64_t{byte()} << (8 * i);
        return value;
    }

    bool flag() { return (byte() & 1) != 0; }

    // 0 .. count - 1
    int below(int count) {
        return static_cast<int>(word(count > 256 ? 4 : 1) % static_cast<unsigned>(count));
    }

    int from_to(int low, int high) { return low + below(high - low + 1); }

    // 0 .. 1, the upper end excluded
    double fraction() { return static_cast<double>(word(2)) * 0x1p-16; }

    double between(double low, double high) { return low + (high - low) * fraction(); }

    // 10^low .. 10^high, evenly on the logarithmic scale
    double decades(double low, double high) { return std::pow(10.0, between(low, high)); }

    double raw() { return std::bit_cast<double>(word(8)); }

    double special() { return special_values[byte() % std::size(special_values)]; }

    // The last number or a threshold, up to four doubles away from it.
    double neighbour(double value) {
        const int steps = byte() % 9 - 4;
        const double toward = steps < 0 ? -HUGE_VAL : HUGE_VAL;
        for (int i = 0; i < std::abs(steps); ++i) value = std::nextafter(value, toward);
        return value;
    }

    double number(const argument& kind) {
        const std::uint8_t tag = byte();
        double value = 0.0;
        switch (tag % 16) {
            default:
                value = decades(kind.low, kind.high);
                break;
            case 5:
            case 6:
                value = byte();
                break;
            case 7:
                value = byte() * 0.5;
                break;
            case 8:
                return last_ = raw();
            case 9:
            case 10:
                return last_ = special();
            case 11:
            case 12:
                value = kind.thresholds.empty() ? 1.0 : kind.thresholds[byte() % kind.thresholds.size()];
                value = neighbour(value);
                break;
            case 13:
                return last_ = neighbour(last_);
            case 14:
                return last_ = -last_;
            case 15:
                return last_ = last_ * fraction();
        }
        if (kind.either_sign && (tag & 16) != 0) value = -value;
        return last_ = value;
    }

    double probability() {
        switch (byte() % 16) {
            default:
                return last_ = fraction();
            case 8:
                return last_ = raw();
            case 9:
            case 10:
                return last_ = special();
            case 11:
                return last_ = decades(-20.0, 0.0);
            case 12:
                return last_ = 1.0 - decades(-16.0, 0.0);
            case 13:
                return last_ = decades(-323.0, 0.0);
            case 14:
                return last_ = neighbour(last_);
            case 15:
                return last_ = 1.0 - last_;
        }
    }

private:
    const std::uint8_t *at_, *end_;
    double last_ = 1.0;
};

}  // namespace zolv_fuzz
