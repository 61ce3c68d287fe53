// tests/plain/compare.hpp: random parameters and points, and points next to thresholds, for the comparison of
// exports with their plain forms; every difference is one of bits.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "support/bits.hpp"
#include "support/threads.hpp"

namespace zolv_test::plain {

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
inline constexpr bool sanitized = true;
#elif defined(__has_feature)
inline constexpr bool sanitized = __has_feature(address_sanitizer) || __has_feature(thread_sanitizer);
#else
inline constexpr bool sanitized = false;
#endif

// Fewer rounds where each costs many times as much.
inline constexpr int rounds(int n) { return sanitized ? std::max(n / 20, 1) : n; }

class Random {
public:
    explicit Random(std::uint64_t seed) : engine_(seed) {}
    double between(double lo, double hi) { return std::uniform_real_distribution<double>(lo, hi)(engine_); }
    double power(double lo, double hi) { return std::pow(10.0, between(lo, hi)); }
    int whole(int lo, int hi) { return std::uniform_int_distribution<int>(lo, hi)(engine_); }
    bool chance(int one_in) { return whole(1, one_in) == 1; }

    // The value or a double next to it.
    double next_to(double x) {
        const int side = whole(-1, 1);
        return side == 0 ? x : std::nextafter(x, side * std::numeric_limits<double>::infinity());
    }
    double one_of(const std::vector<double>& values) {
        return values[static_cast<std::size_t>(whole(0, static_cast<int>(values.size()) - 1))];
    }
    // A shape: of any size, whole or half, or next to a threshold.
    double shape(double lo, double hi, const std::vector<double>& thresholds) {
        if (chance(4)) return next_to(one_of(thresholds));
        if (chance(4)) return whole(1, 80) / 2.0;
        return power(lo, hi);
    }

private:
    std::mt19937_64 engine_;
};

// What was compared and the first difference.
class Comparison {
public:
    template <class Place>
    void one(double got, double want, const Place& place) {
        ++count_;
        if (bits(got) == bits(want)) return;
        if (different_++ == 0) first_ = place() + ": got " + show(got) + ", plain " + show(want);
    }
    ~Comparison() {
        EXPECT_EQ(different_, 0) << "of " << count_ << "; first at " << first_;
        testing::Test::RecordProperty("arguments", std::to_string(count_));
    }
    long count() const { return count_; }

private:
    long count_ = 0, different_ = 0;
    std::string first_;
};

// One set of parameters: the scalar export and the array form at every point.
template <class Plain, class Scalar, class Array>
void compare(Comparison& comparison, const std::vector<double>& x, const std::string& parameters,
             const Plain& plain, const Scalar& scalar, const Array& array) {
    std::vector<double> out(x.size());
    // Other team sizes have their tests; a fork for each of so many short arrays is what would take the time.
    with_threads(1, [&] { array(x.data(), x.size(), out.data()); });
    for (std::size_t i = 0; i < x.size(); ++i) {
        const double want = plain(x[i]);
        comparison.one(scalar(x[i]), want, [&] { return parameters + " at " + show(x[i]); });
        comparison.one(out[i], want, [&] { return parameters + ", array form, at " + show(x[i]); });
    }
}

template <class... Values>
std::string list(const Values&... values) {
    std::string text;
    ((text += (text.empty() ? "" : ", ") + show(values)), ...);
    return text;
}

// Probabilities: in the body, in both tails, next to one half and to the ends.
inline std::vector<double> probabilities(Random& random, int n) {
    std::vector<double> p{std::nextafter(0.5, 0.0), 0.5, std::nextafter(0.5, 1.0), std::nextafter(1.0, 0.0)};
    while (static_cast<int>(p.size()) < n) {
        p.push_back(random.chance(3) ? random.power(-14.0, -1.0) : random.between(0.0, 1.0));
    }
    p.resize(static_cast<std::size_t>(n));
    return p;
}

}  // namespace zolv_test::plain
