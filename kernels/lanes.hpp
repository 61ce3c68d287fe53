// kernels/lanes.hpp: four points side by side.
//
// A series or a continued fraction is a recursion: what a processor waits for is the step before. Those at
// different points are independent, so four of them take little longer than one. No lane meets another, and
// each makes the operations for its point, in their order: the bits are the same.
#pragma once

#include <array>
#include <cstddef>
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
    void set(int l, bool value) { (l < 2 ? low : high)[l & 1] = -std::int64_t{value}; }
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
    // GCOVR_EXCL_BR_START: no choice is made; inlined, the line has an edge that nothing takes.
    return __builtin_ia32_movmskpd(reinterpret_cast<doubles>(either)) != 0;
    // GCOVR_EXCL_BR_STOP
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
    void set(int l, double value) {
        if (l < 2) {
            low[l] = value;
        } else {
            high[l - 2] = value;
        }
    }
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

// The first where the bits are set, the second elsewhere.
[[gnu::always_inline]] inline lane_values choose(const lane_bits& bits, const lane_values& set,
                                                 const lane_values& clear) {
    const auto half = [](lane_bits::pair b, lane_values::pair s, lane_values::pair c) {
        return reinterpret_cast<lane_values::pair>((b & reinterpret_cast<lane_bits::pair>(s)) |
                                                   (~b & reinterpret_cast<lane_bits::pair>(c)));
    };
    return {half(bits.low, set.low, clear.low), half(bits.high, set.high, clear.high)};
}

inline lane_values values_of(const lane_array& x) {
    return {lane_values::pair{x[0], x[1]}, lane_values::pair{x[2], x[3]}};
}

inline lane_array array_of(const lane_values& v) { return {v[0], v[1], v[2], v[3]}; }

using tail_pairs = std::array<tail_pair, lane_count>;

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

}  // namespace dru::impl
