#include "time_series/lane_kernels.hpp"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

#include "time_series/lane_passes.hpp"

namespace vek::time_series {

namespace {

// Each sum has a lane to itself. Of the matrix whole registers are kept: what lies right of the diagonal is
// left over. The differences go through memory, from where a processor spreads them at no cost, some rows
// ahead, so that they have arrived there.
template <class Lanes, std::size_t parameters>
[[gnu::always_inline]] inline void RunProducts(LaneProducts& sums) {
    constexpr std::size_t width = Row<Lanes, 1>::width;
    constexpr std::size_t count = (parameters + width - 1) / width;
    constexpr std::ptrdiff_t block = 16;
    using R = Row<Lanes, count>;
    typename R::Values gradient[count], matrix[parameters][count];
    R::LoadRow(gradient, sums.gradient.data());
#pragma GCC unroll 12
    for (std::size_t j = 0; j < parameters; ++j) R::LoadRow(matrix[j], sums.matrix[j].data());
    double differences[static_cast<std::size_t>(block)][count * width];
    const int last = sums.parameters - 1;
    const std::ptrdiff_t stride = sums.stride;
    for (std::ptrdiff_t from = sums.from; from < sums.end; from += block) {
        const std::ptrdiff_t rows = std::min(block, sums.end - from);
        for (std::ptrdiff_t t = 0; t < rows; ++t) {
            const std::ptrdiff_t row = (from + t) * stride;
            typename R::Values minuend[count], subtrahend[count];
            R::LoadRow(minuend, sums.minuend + row);
            R::LoadRow(subtrahend, sums.subtrahend + row);
#pragma GCC unroll 12
            for (std::size_t n = 0; n < count; ++n) minuend[n] -= subtrahend[n];
            R::StoreRow(differences[t], minuend);
            differences[t][last] = sums.lastMinuend[row] - sums.lastSubtrahend[row];
        }
        for (std::ptrdiff_t t = 0; t < rows; ++t) {
            typename R::Values x[count], other;
            R::LoadRow(x, differences[t]);
            R::Spread(other, sums.right[(from + t) * stride]);
#pragma GCC unroll 12
            for (std::size_t n = 0; n < count; ++n) gradient[n] += x[n] * other;
#pragma GCC unroll 12
            for (std::size_t j = 0; j < parameters; ++j) {
                R::Spread(other, differences[t][j]);
#pragma GCC unroll 12
                for (std::size_t n = 0; n < count; ++n) {
                    if (n * width <= j) matrix[j][n] += x[n] * other;
                }
            }
        }
    }
    R::StoreRow(sums.gradient.data(), gradient);
#pragma GCC unroll 12
    for (std::size_t j = 0; j < parameters; ++j) R::StoreRow(sums.matrix[j].data(), matrix[j]);
}

// Rows of four from four columns.
template <class R>
[[gnu::always_inline]] inline void StoreRows(double* rows,
                                             const typename R::Values (&column)[lanes_per_quad]) {
    const auto& [a, b, c, d] = column;
    if constexpr (R::width == 2) {
        R::Store(rows, 0, __builtin_shufflevector(a, b, 0, 2));
        R::Store(rows, 1, __builtin_shufflevector(c, d, 0, 2));
        R::Store(rows, 2, __builtin_shufflevector(a, b, 1, 3));
        R::Store(rows, 3, __builtin_shufflevector(c, d, 1, 3));
    } else {
        const typename R::Values ab = __builtin_shufflevector(a, b, 0, 4, 2, 6),
                                 cd = __builtin_shufflevector(c, d, 0, 4, 2, 6),
                                 AB = __builtin_shufflevector(a, b, 1, 5, 3, 7),
                                 CD = __builtin_shufflevector(c, d, 1, 5, 3, 7);
        R::Store(rows, 0, __builtin_shufflevector(ab, cd, 0, 1, 4, 5));
        R::Store(rows, 1, __builtin_shufflevector(AB, CD, 0, 1, 4, 5));
        R::Store(rows, 2, __builtin_shufflevector(ab, cd, 2, 3, 6, 7));
        R::Store(rows, 3, __builtin_shufflevector(AB, CD, 2, 3, 6, 7));
    }
}

template <class Lanes>
[[gnu::always_inline]] inline void RunSpread(LaneSpread& spread) {
    using R = Row<Lanes, 1>;
    using Values = typename R::Values;
    constexpr auto width = static_cast<std::ptrdiff_t>(R::width);
    Values c[lanes_per_quad];
    for (std::size_t i = 0; i < lanes_per_quad; ++i) R::Spread(c[i], spread.constant[i]);
    typename R::Bits uneven{}, unsettled{};
    for (std::ptrdiff_t t = 0; t < spread.count; t += width) {
        Values w{}, column[lanes_per_quad];
        if (t + width <= spread.count) {
            R::Load(w, spread.w + t, 0);
        } else {
            for (std::ptrdiff_t l = 0; l < spread.count - t; ++l) w[l] = spread.w[t + l];
        }
        column[0] = w + -c[0];
        const Values found = column[0] + c[0], common = found + -c[0];
        w = common + c[0];
        uneven |= reinterpret_cast<typename R::Bits>(common) ^ reinterpret_cast<typename R::Bits>(column[0]);
        unsettled |= reinterpret_cast<typename R::Bits>(w) ^ reinterpret_cast<typename R::Bits>(found);
#pragma GCC unroll 3
        for (std::size_t i = 1; i < lanes_per_quad; ++i) {
            column[i] = w + -c[i];
            w = column[i] + c[i];
        }
        if (spread.swapped) std::swap(column[1], column[2]);
        StoreRows<R>(spread.apart + t * lanes_per_quad, column);
        R::Store(spread.common + t, 0, common);
        R::Store(spread.drifted + t, 0, w);
    }
    spread.uneven = R::Any(uneven);
    spread.unsettled = R::Any(unsettled);
}

template <class Lanes>
[[gnu::always_inline]] inline double RunLargest(const double* value, std::ptrdiff_t count) {
    using R = Row<Lanes, 1>;
    constexpr auto width = static_cast<std::ptrdiff_t>(R::width);
    constexpr std::int64_t magnitude = 0x7FFFFFFFFFFFFFFF;
    typename R::Values largest{};
    typename R::Bits unordered{};
    std::ptrdiff_t t = 0;
    for (; t + width <= count; t += width) {
        typename R::Bits bits;
        R::Load(bits, value + t, 0);
        const auto size = reinterpret_cast<typename R::Values>(bits & magnitude);
        largest = size > largest ? size : largest;
        unordered |= size != size;
    }
    double found = 0.0;
    bool isNan = R::Any(unordered);
    for (std::size_t l = 0; l < R::width; ++l) found = std::max(found, largest[l]);
    for (; t < count; ++t) {
        found = std::max(found, std::fabs(value[t]));
        isNan |= value[t] != value[t];
    }
    return isNan ? std::numeric_limits<double>::infinity() : found;
}

// ---- a function per width and row ------------------------------------------------------------------------

template <std::size_t quads>
using NarrowRow = Row<TwoLanes, 2 * quads>;
template <std::size_t quads>
using WideRow = Row<FourLanes, quads>;

// Without "fma": nothing may be fused, whatever the flags.
#define ZOLV_LANE_FUNCTIONS(NAME, LANES, TARGET)                                                  \
    template <std::size_t quads, bool hasApart>                                                   \
    TARGET void NAME##Backward(const LaneArrays& lanes, std::ptrdiff_t from) {                    \
        RunBackward<NAME##Row<quads>, hasApart>(lanes, from);                                     \
    }                                                                                             \
    template <std::size_t quads, bool hasApart>                                                   \
    TARGET std::ptrdiff_t NAME##Close(const LaneArrays& lanes, const LaneBracket& bracket) {      \
        return RunClose<NAME##Row<quads>, hasApart>(lanes, bracket);                              \
    }                                                                                             \
    template <std::size_t quads>                                                                  \
    TARGET std::ptrdiff_t NAME##Backcast(const LaneArrays& lanes, std::ptrdiff_t from,            \
                                         std::int64_t* first) {                                   \
        return RunBackcast<NAME##Row<quads>>(lanes, from, first);                                 \
    }                                                                                             \
    template <std::size_t quads>                                                                  \
    TARGET void NAME##Start(const LaneArrays& lanes, const std::int64_t* first) {                 \
        RunStart<NAME##Row<quads>>(lanes, first);                                                 \
    }                                                                                             \
    template <std::size_t quads, bool hasApart>                                                   \
    TARGET void NAME##Forward(const LaneArrays& lanes, std::ptrdiff_t from, std::ptrdiff_t end) { \
        RunForward<NAME##Row<quads>, hasApart>(lanes, from, end);                                 \
    }                                                                                             \
    template <std::size_t pairs>                                                                  \
    TARGET void NAME##Products(LaneProducts& sums) {                                              \
        RunProducts<LANES, 2 * pairs>(sums);                                                      \
    }                                                                                             \
    TARGET void NAME##Spread(LaneSpread& spread) { RunSpread<LANES>(spread); }                    \
    TARGET double NAME##Largest(const double* value, std::ptrdiff_t count) {                      \
        return RunLargest<LANES>(value, count);                                                   \
    }                                                                                             \
    template <std::size_t... i, std::size_t... pair>                                              \
    constexpr LaneKernels Make##NAME(std::index_sequence<i...>, std::index_sequence<pair...>) {   \
        return {{{{NAME##Backward<i + 1, false>...}, {NAME##Backward<i + 1, true>...}}},          \
                {{{NAME##Close<i + 1, false>...}, {NAME##Close<i + 1, true>...}}},                \
                {NAME##Backcast<i + 1>...},                                                       \
                {NAME##Start<i + 1>...},                                                          \
                {{{NAME##Forward<i + 1, false>...}, {NAME##Forward<i + 1, true>...}}},            \
                {NAME##Products<pair + 1>...},                                                    \
                NAME##Spread,                                                                     \
                NAME##Largest};                                                                   \
    }                                                                                             \
    constexpr LaneKernels NAME##_kernels =                                                        \
        Make##NAME(std::make_index_sequence<max_quads>(), std::make_index_sequence<5>());

ZOLV_LANE_FUNCTIONS(Narrow, TwoLanes, )
#if defined(__x86_64__)
ZOLV_LANE_FUNCTIONS(Wide, FourLanes, [[gnu::target("avx2")]])
#endif

}  // namespace

const LaneKernels& NarrowLaneKernels() { return Narrow_kernels; }

const LaneKernels& FastestLaneKernels() {
#if defined(__x86_64__)
    if (__builtin_cpu_supports("avx2")) return Wide_kernels;  // GCOVR_EXCL_BR_LINE: false without AVX2 only
#endif
    return Narrow_kernels;  // GCOVR_EXCL_LINE: only a processor without AVX2 comes here
}

}  // namespace vek::time_series
