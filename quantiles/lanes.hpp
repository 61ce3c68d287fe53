// quantiles/lanes.hpp: four points of a mixture side by side.
//
// A mixture sum is a recursion: what a processor waits for is the division before. The sums at different
// points are independent, so four of them take little longer than one. No lane meets another, and each makes
// the operations of the sum for one point, in their order: the bits are the same.
#pragma once

#include <array>
#include <cstdint>

#include "kernels/tail_pair.hpp"

namespace dru::impl {

inline constexpr int lane_count = 4;

using lane_array = std::array<double, lane_count>;

// All bits of a lane, or none.
struct lane_bits {
    using pair [[gnu::vector_size(16)]] = std::int64_t;
    pair low{}, high{};

    bool operator[](int l) const { return (l < 2 ? low[l] : high[l - 2]) != 0; }
    void set(int l, bool value) { (l < 2 ? low : high)[l & 1] = value ? -1 : 0; }
};
[[gnu::always_inline]] inline lane_bits operator&(const lane_bits& a, const lane_bits& b) {
    return {a.low & b.low, a.high & b.high};
}
[[gnu::always_inline]] inline lane_bits operator|(const lane_bits& a, const lane_bits& b) {
    return {a.low | b.low, a.high | b.high};
}
[[gnu::always_inline]] inline lane_bits operator~(const lane_bits& a) { return {~a.low, ~a.high}; }
[[gnu::always_inline]] inline bool any_lane(const lane_bits& bits) {
    const lane_bits::pair either = bits.low | bits.high;
#if defined(__SSE2__)
    using doubles [[gnu::vector_size(16)]] = double;
    return __builtin_ia32_movmskpd(reinterpret_cast<doubles>(either)) != 0;
#else
    return (either[0] | either[1]) != 0;
#endif
}

// In pairs, the registers of every processor of the kind; wider ones divide no faster.
struct lane_values {
    using pair [[gnu::vector_size(16)]] = double;
    pair low{}, high{};

    lane_values() = default;
    lane_values(double all) : low{all, all}, high{all, all} {}
    lane_values(const pair& l, const pair& h) : low(l), high(h) {}

    double operator[](int l) const { return l < 2 ? low[l] : high[l - 2]; }
    void set(int l, double value) { (l < 2 ? low : high)[l & 1] = value; }
};
#define ZOLV_LANE_OPERATION(op)                                                                         \
    [[gnu::always_inline]] inline lane_values operator op(const lane_values& a, const lane_values& b) { \
        return {a.low op b.low, a.high op b.high};                                                      \
    }
#define ZOLV_LANE_COMPARISON(op)                                                                      \
    [[gnu::always_inline]] inline lane_bits operator op(const lane_values& a, const lane_values& b) { \
        return {a.low op b.low, a.high op b.high};                                                    \
    }
ZOLV_LANE_OPERATION(+)
ZOLV_LANE_OPERATION(-)
ZOLV_LANE_OPERATION(*)
ZOLV_LANE_OPERATION(/)
ZOLV_LANE_COMPARISON(<)
ZOLV_LANE_COMPARISON(>)
ZOLV_LANE_COMPARISON(==)
#undef ZOLV_LANE_OPERATION
#undef ZOLV_LANE_COMPARISON

// Which lanes are asked for; the others hold copies of points that are, and their sums mean nothing.
using lane_choice = std::array<bool, lane_count>;

inline bool any_chosen(const lane_choice& chosen) { return chosen[0] || chosen[1] || chosen[2] || chosen[3]; }

// `points` with the first chosen one in place of those not chosen: they cost nothing then.
template <class Points>
Points chosen_only(const Points& points, const lane_choice& chosen) {
    std::size_t first = 0;
    while (!chosen[first]) ++first;
    Points result = points;
    for (std::size_t l = 0; l < lane_count; ++l) {
        if (!chosen[l]) result[l] = points[first];
    }
    return result;
}

// Points that wait for others of their kind, until four can run in step.
using lane_indices = std::array<std::uint64_t, lane_count>;

template <std::size_t kinds>
class lane_groups {
public:
    // run(kind, points, indices, count) for a full group; the first `count` of the points count.
    template <class Run>
    void add(std::size_t kind, double x, std::uint64_t index, const Run& run) {
        group& g = groups_[kind];
        g.x[g.count] = x;
        g.index[g.count] = index;
        if (++g.count < lane_count) return;
        run(kind, g.x, g.index, g.count);
        g.count = 0;
    }
    // The groups that are left; alone(index) for one by itself.
    template <class Run, class Alone>
    void finish(const Run& run, const Alone& alone) {
        for (std::size_t kind = 0; kind < kinds; ++kind) {
            group& g = groups_[kind];
            if (g.count == 1) alone(g.index[0]);
            if (g.count < 2) continue;
            for (std::size_t l = g.count; l < lane_count; ++l) g.x[l] = g.x[0];
            run(kind, g.x, g.index, g.count);
        }
    }

private:
    struct group {
        lane_array x{};
        lane_indices index{};
        std::size_t count = 0;
    };
    std::array<group, kinds> groups_;
};

// The sums of four lanes while they are being settled.
class lane_outcomes {
public:
    const lane_bits& open() const { return open_; }
    bool is_open(int l) const { return open_[l]; }
    bool any_open() const { return any_lane(open_); }

    void settle(int l, double sum) {
        sum_[static_cast<std::size_t>(l)] = sum;
        open_.set(l, false);
    }
    void settle_open(double sum) {
        for (int l = 0; l < lane_count; ++l) {
            if (is_open(l)) settle(l, sum);
        }
    }
    const lane_array& sums() const { return sum_; }

private:
    lane_bits open_ = ~lane_bits{};
    lane_array sum_{};
};

using tail_pairs = std::array<tail_pair, lane_count>;

// Both tails of each lane asked for from the sum of one: of the upper tail where upper_first says so. Where
// hands_over(sum) holds the other is summed in its place. One call of a sum serves all lanes that ask for it.
template <class HandsOver, class LowerSums, class UpperSums>
tail_pairs sum_one_tail_each(const lane_choice& asked, const lane_choice& upper_first,
                             const HandsOver& hands_over, const LowerSums& lower_sums,
                             const UpperSums& upper_sums) {
    tail_pairs tails{};
    lane_choice lower_now{}, upper_now{};
    for (std::size_t l = 0; l < lane_count; ++l) {
        upper_now[l] = asked[l] && upper_first[l];
        lower_now[l] = asked[l] && !upper_first[l];
    }
    const auto run = [&](const auto& sums, const lane_choice& now, double tail_pair::*tail,
                         double tail_pair::*other) {
        if (!any_chosen(now)) return;
        const lane_array answers = sums(now);
        for (std::size_t l = 0; l < lane_count; ++l) {
            if (!now[l]) continue;
            tails[l].*tail = answers[l];
            tails[l].*other = 1.0 - answers[l];
        }
    };
    run(upper_sums, upper_now, &tail_pair::upper, &tail_pair::lower);
    run(lower_sums, lower_now, &tail_pair::lower, &tail_pair::upper);
    lane_choice upper_then{}, lower_then{};
    for (std::size_t l = 0; l < lane_count; ++l) {
        upper_then[l] = lower_now[l] && hands_over(tails[l].lower);
        lower_then[l] = upper_now[l] && hands_over(tails[l].upper);
    }
    run(upper_sums, upper_then, &tail_pair::upper, &tail_pair::lower);
    run(lower_sums, lower_then, &tail_pair::lower, &tail_pair::upper);
    return tails;
}

}  // namespace dru::impl
