// tests/golden/digest.hpp: a hash over the bits of many results, and the fixed arguments they are asked for.
//
// Nothing of the standard library's distributions is used: their numbers differ between implementations,
// those of the engine do not.
#pragma once

#include <bit>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <limits>
#include <memory>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "support/bits.hpp"

namespace golden {

using list = std::vector<double>;

inline list operator+(list a, const list& b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

// FNV-1a, 64 bits.
inline constexpr std::uint64_t hash_start = 0xCBF29CE484222325u;
inline constexpr std::uint64_t hash_factor = 0x100000001B3u;

// Takes doubles; integers and codes come as the doubles they equal. With a file, each value is written to it
// as well, one line of hexadecimal bits each.
class digest {
public:
    explicit digest(const std::string& dump_to = {}) {
        if (!dump_to.empty()) file_.reset(std::fopen(dump_to.c_str(), "w"));
    }
    void operator()(double value) {
        auto bits = std::bit_cast<std::uint64_t>(value);
        if (file_) std::fprintf(file_.get(), "%016llx %.17g\n", static_cast<unsigned long long>(bits), value);
        for (int byte = 0; byte < 8; ++byte, bits >>= 8) hash_ = (hash_ ^ (bits & 0xFF)) * hash_factor;
        ++count_;
    }
    void operator()(const list& values) {
        for (const double value : values) (*this)(value);
    }
    std::uint64_t count() const { return count_; }
    std::uint64_t hash() const { return hash_; }

private:
    struct close_file {
        void operator()(std::FILE* file) const { std::fclose(file); }
    };
    std::unique_ptr<std::FILE, close_file> file_;
    std::uint64_t hash_ = hash_start, count_ = 0;
};

// Numbers that belong to a name, so that a new row leaves those of the others alone.
class stream {
public:
    explicit stream(std::string_view name) : engine_(seed(name)) {}

    double fraction() { return static_cast<double>(engine_() >> 11) * 0x1p-53; }  // in [0, 1)
    list between(double low, double high, int n) {
        list out;
        for (int i = 0; i < n; ++i) out.push_back(low + (high - low) * fraction());
        return out;
    }
    // Of every magnitude: a fraction in [1, 2) times a power of two, exactly.
    list magnitudes(int lowest, int highest, int n) {
        list out;
        const auto powers = static_cast<std::uint64_t>(highest - lowest + 1);
        for (int i = 0; i < n; ++i) {
            const double mantissa = 1.0 + fraction();
            out.push_back(std::ldexp(mantissa, lowest + static_cast<int>(engine_() % powers)));
        }
        return out;
    }

private:
    static std::uint64_t seed(std::string_view name) {
        std::uint64_t hash = hash_start;
        for (const char c : name) hash = (hash ^ static_cast<unsigned char>(c)) * hash_factor;
        return hash;
    }
    std::mt19937_64 engine_;
};

inline constexpr double infinity = std::numeric_limits<double>::infinity();
inline const double missing = zolv_test::from_bits(zolv_test::missing_bits);
inline const double sign_set = zolv_test::from_bits(zolv_test::sign_set_nan_bits);

inline double below(double c) { return std::nextafter(c, -infinity); }
inline double above(double c) { return std::nextafter(c, infinity); }

// Each value with its two neighbours.
inline list both_sides(const list& values) {
    list out;
    for (const double c : values) out = out + list{below(c), c, above(c)};
    return out;
}

inline const list& special_values() {
    static const list values = {missing,
                                sign_set,
                                infinity,
                                -infinity,
                                0.0,
                                -0.0,
                                5e-324,
                                -5e-324,
                                0x1p-1022,
                                -0x1p-1022,
                                1e-300,
                                -1e-300,
                                1e-30,
                                1e-10,
                                -1e-10,
                                0.5,
                                -0.5,
                                1.0,
                                -1.0,
                                below(1.0),
                                above(1.0),
                                2.0,
                                5.0,
                                1e5,
                                -1e5,
                                2147483648.0,
                                0x1p53,
                                1e155,
                                1e300,
                                -1e300,
                                0x1.fffffffffffffp+1023};
    return values;
}

// Ends, outsiders, and both sides of where the starting formulas of the quantiles change.
inline const list& special_probabilities() {
    static const list values = list{missing, sign_set, -0.1,       -5e-324, -0.0,       0.0,  5e-324,  1e-300,
                                    1e-160,  1e-100,   1e-20,      1e-10,   1e-5,       0.01, 0.25,    0.75,
                                    0.99,    0.99999,  below(1.0), 1.0,     above(1.0), 1.1,  infinity} +
                               both_sides({0.08, 0.5, 0.92});
    return values;
}

}  // namespace golden
