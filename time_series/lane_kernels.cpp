#include "time_series/lane_kernels.hpp"

#include <cmath>
#include <limits>
#include <utility>

#include "time_series/lane_passes.hpp"

namespace vek::time_series {

namespace {

// Each sum has a lane to itself. Of the matrix whole registers are kept: what lies right of the diagonal is
// left over.
template <class Lanes, std::size_t parameters>
[[gnu::always_inline]] inline void RunProducts(LaneProducts& sums) {
    constexpr std::size_t width = Row<Lanes, 1>::width;
    constexpr std::size_t count = (parameters + width - 1) / width;
    using R = Row<Lanes, count>;
    typename R::Values gradient[count], matrix[parameters][count];
    R::LoadRow(gradient, sums.gradient.data());
#pragma GCC unroll 12
    for (std::size_t j = 0; j < parameters; ++j) R::LoadRow(matrix[j], sums.matrix[j].data());
    typename R::Bits last{};  // all bits of the last parameter, which is in the last register
    last[(static_cast<std::size_t>(sums.parameters) - 1) % width] = -1;
    for (std::ptrdiff_t t = sums.from; t < sums.end; ++t) {
        const std::ptrdiff_t row = t * sums.stride;
        const double right = sums.right[row];
        typename R::Values x[count];
#pragma GCC unroll 12
        for (std::size_t n = 0; n < count; ++n) {
            typename R::Values minuend, subtrahend;
            R::Load(minuend, sums.minuend + row, n);
            R::Load(subtrahend, sums.subtrahend + row, n);
            x[n] = minuend - subtrahend;
            if (n + 1 == count) {
                R::Spread(minuend, sums.lastMinuend[row] - sums.lastSubtrahend[row]);
                x[n] = last ? minuend : x[n];
            }
            gradient[n] += x[n] * right;
        }
#pragma GCC unroll 12
        for (std::size_t j = 0; j < parameters; ++j) {
#pragma GCC unroll 12
            for (std::size_t n = 0; n < count; ++n) {
                if (n * width <= j) matrix[j][n] += x[n] * x[j / width][j % width];
            }
        }
    }
    R::StoreRow(sums.gradient.data(), gradient);
#pragma GCC unroll 12
    for (std::size_t j = 0; j < parameters; ++j) R::StoreRow(sums.matrix[j].data(), matrix[j]);
}

template <class Lanes>
[[gnu::always_inline]] inline bool RunShift(double c, ShiftBlock& value, ShiftBlock& shifted) {
    using R = Row<Lanes, 1>;
    typename R::Bits moved{};
    for (std::size_t n = 0; n < shift_block / R::width; ++n) {
        typename R::Values before;
        R::Load(before, value.data(), n);
        const typename R::Values less = before + -c, back = less + c;
        moved |= reinterpret_cast<typename R::Bits>(back) ^ reinterpret_cast<typename R::Bits>(before);
        R::Store(shifted.data(), n, less);
        R::Store(value.data(), n, back);
    }
    return R::Any(moved);
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
#define ZOLV_LANE_FUNCTIONS(NAME, LANES, TARGET)                                                    \
    template <std::size_t quads, bool hasApart>                                                     \
    TARGET void NAME##Backward(const LaneArrays& lanes, std::ptrdiff_t from) {                      \
        RunBackward<NAME##Row<quads>, hasApart>(lanes, from);                                       \
    }                                                                                               \
    template <std::size_t quads, bool hasApart>                                                     \
    TARGET std::ptrdiff_t NAME##Close(const LaneArrays& lanes, const LaneBracket& bracket) {        \
        return RunClose<NAME##Row<quads>, hasApart>(lanes, bracket);                                \
    }                                                                                               \
    template <std::size_t quads>                                                                    \
    TARGET void NAME##Backcast(const LaneArrays& lanes, std::ptrdiff_t from, std::int64_t* first) { \
        RunBackcast<NAME##Row<quads>>(lanes, from, first);                                          \
    }                                                                                               \
    template <std::size_t quads>                                                                    \
    TARGET void NAME##Start(const LaneArrays& lanes, const std::int64_t* first) {                   \
        RunStart<NAME##Row<quads>>(lanes, first);                                                   \
    }                                                                                               \
    template <std::size_t quads, bool hasApart>                                                     \
    TARGET void NAME##Forward(const LaneArrays& lanes, std::ptrdiff_t from, std::ptrdiff_t end) {   \
        RunForward<NAME##Row<quads>, hasApart>(lanes, from, end);                                   \
    }                                                                                               \
    template <std::size_t pairs>                                                                    \
    TARGET void NAME##Products(LaneProducts& sums) {                                                \
        RunProducts<LANES, 2 * pairs>(sums);                                                        \
    }                                                                                               \
    TARGET bool NAME##Shift(double c, ShiftBlock& value, ShiftBlock& shifted) {                     \
        return RunShift<LANES>(c, value, shifted);                                                  \
    }                                                                                               \
    TARGET double NAME##Largest(const double* value, std::ptrdiff_t count) {                        \
        return RunLargest<LANES>(value, count);                                                     \
    }                                                                                               \
    template <std::size_t... i, std::size_t... pair>                                                \
    constexpr LaneKernels Make##NAME(std::index_sequence<i...>, std::index_sequence<pair...>) {     \
        return {{{{NAME##Backward<i + 1, false>...}, {NAME##Backward<i + 1, true>...}}},            \
                {{{NAME##Close<i + 1, false>...}, {NAME##Close<i + 1, true>...}}},                  \
                {NAME##Backcast<i + 1>...},                                                         \
                {NAME##Start<i + 1>...},                                                            \
                {{{NAME##Forward<i + 1, false>...}, {NAME##Forward<i + 1, true>...}}},              \
                {NAME##Products<pair + 1>...},                                                      \
                NAME##Shift,                                                                        \
                NAME##Largest};                                                                     \
    }                                                                                               \
    constexpr LaneKernels NAME##_kernels =                                                          \
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
