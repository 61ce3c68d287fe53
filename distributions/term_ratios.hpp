// distributions/term_ratios.hpp: the ratios of neighbouring terms of a mixture, on one side of its largest
// term.
//
// A side is counted first, by the product of its ratios, and then summed from its smallest term. The ratios
// are worked out in blocks, which the divider takes side by side, and the first of them are kept from the
// count for the sum.
#pragma once

#include <cstddef>

#include "kernels/lanes.hpp"
#include "kernels/log_gamma.hpp"

namespace dru::impl {

// ratio(i) is the i-th term from the largest one over the one before.
template <class Ratio>
class term_ratios {
public:
    static constexpr int block_size = 8;

    explicit term_ratios(const Ratio& ratio) : ratio_(ratio) {}

    // Those from `first` on, a whole number of blocks.
    const double* block(double first) {
        double* const to = values_ + (first < kept ? static_cast<std::size_t>(first) : kept);
        for (int j = 0; j < block_size; ++j) to[j] = ratio_(first + static_cast<double>(j));
        return to;
    }

    // One whose block has been asked for.
    double operator[](double i) const {
        return i < static_cast<double>(kept) ? values_[static_cast<std::size_t>(i)] : ratio_(i);
    }

private:
    static constexpr std::size_t kept = 256;
    Ratio ratio_;
    double values_[kept + block_size];
};

// Counts the terms on one side by the product of their ratios: the first to take it below the tolerance is
// the last that counts. A product that has overflowed, or a NaN, would never come back below and ends the
// count too.
struct term_count {
    static constexpr double tolerance = 1e-14;
    double product = 1.0;
    double last = 0.0;  // index of the last ratio
    bool running = true;

    void take(double ratio) {
        if (!running) return;
        product *= ratio;
        running = product >= tolerance && product <= largest_double;
        if (running) last += 1.0;
    }
    bool ended() const { return product < tolerance; }
};

// Counts both sides hand in hand, where each alone would wait for its own last product.
template <class Rise, class Fall>
void count_terms(term_ratios<Rise>& rises, term_count& up, term_ratios<Fall>& falls, term_count& down) {
    constexpr int block_size = term_ratios<Rise>::block_size;
    while (up.running && down.running) {
        const double* const rise = rises.block(up.last);
        const double* const fall = falls.block(down.last);
        for (int n = 0; n < block_size; ++n) {
            up.take(rise[n]);
            down.take(fall[n]);
        }
    }
    while (up.running) {
        const double* const rise = rises.block(up.last);
        for (int n = 0; n < block_size; ++n) up.take(rise[n]);
    }
    while (down.running) {
        const double* const fall = falls.block(down.last);
        for (int n = 0; n < block_size; ++n) down.take(fall[n]);
    }
}

// What the terms above and below the largest one add to it, relative to it, each side from its smallest term;
// a `last` below 0 for a side that has none.
struct side_sums {
    double above = 0.0, below = 0.0;
};

template <class Rise, class Fall>
side_sums sum_terms(const term_ratios<Rise>& rises, double last_up, const term_ratios<Fall>& falls,
                    double last_down) {
    double s = 0.0, w = 0.0;
    double i = last_up, j = last_down;
    for (; i > j; i -= 1.0) s = (s + 1.0) * rises[i];
    for (; j > i; j -= 1.0) w = (w + 1.0) * falls[j];
    for (; i >= 0.0; i -= 1.0) {
        s = (s + 1.0) * rises[i];
        w = (w + 1.0) * falls[i];
    }
    return {s, w};
}

// The upper sum where the last index, `top` = largest index of a term plus `last`, has been rounded, beyond
// 2^53: it steps down from there, and need not come by what was counted. rise_at takes the index itself.
template <class RiseAt>
double sum_from_rounded(const RiseAt& rise_at, double top, double last) {
    double s = 0.0;
    for (double j = 0.0; j <= last; j += 1.0) s = (s + 1.0) * rise_at(top - j);
    return s;
}

// Up to this index of the largest term, the number of terms, some 23 times its root, is a short one.
inline constexpr double most_in_step = 1e12;

// One side of four mixtures in step; ratio(i) is the i-th ratio of each. False where a count does not end
// below the tolerance.
template <class Ratio>
bool sum_side_in_step(const Ratio& ratio, lane_values& sum) {
    constexpr int kept = 256;
    lane_values values[kept];
    lane_values product(1.0), last{};
    lane_bits open = ~lane_bits{};
    int i = 0;
    for (;; ++i) {
        const lane_values next = ratio(static_cast<double>(i));
        if (i < kept) values[i] = next;
        product = product * next;
        const lane_bits small = product < term_count::tolerance;
        const lane_bits goes_on = ~small & (product - product == 0.0);
        const lane_bits closing = open & ~goes_on;
        if (!any_lane(closing)) continue;
        if (any_lane(closing & ~small)) return false;  // GCOVR_EXCL_LINE: no peak is so far off
        last = choose(closing, static_cast<double>(i), last);
        open = open & goes_on;
        if (!any_lane(open)) break;
    }
    lane_values s(0.0);
    for (; i >= 0; --i) {
        const lane_values next = i < kept ? values[i] : ratio(static_cast<double>(i));
        s = choose(~(last < static_cast<double>(i)), (s + 1.0) * next, s);
    }
    sum = s;
    return true;
}

}  // namespace dru::impl
