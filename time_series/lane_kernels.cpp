#include "time_series/lane_kernels.hpp"

#include <algorithm>

namespace vek::time_series {

namespace {

constexpr double backcast_end = 0.001;  // a backcast this small ends the backward pass of its lane

struct TwoLanes {
    using Values [[gnu::vector_size(16)]] = double;
    using Bits [[gnu::vector_size(16)]] = std::int64_t;
};
struct FourLanes {
    using Values [[gnu::vector_size(32)]] = double;
    using Bits [[gnu::vector_size(32)]] = std::int64_t;
};

// A row of lanes in `count` registers.
template <class Lanes, std::size_t count>
struct Row {
    using Values = typename Lanes::Values;
    using Bits = typename Lanes::Bits;
    static constexpr std::size_t width = sizeof(Values) / sizeof(double);

    // The builtin: under its checked replacement the registers would live in memory.
    template <class Register, class Element>
    [[gnu::always_inline]] static void Load(Register& to, const Element* from, std::size_t n) {
        __builtin_memcpy(&to, from + n * width, sizeof to);
    }
    template <class Register, class Element>
    [[gnu::always_inline]] static void Store(Element* to, std::size_t n, const Register& from) {
        __builtin_memcpy(to + n * width, &from, sizeof from);
    }
    [[gnu::always_inline]] static bool Any(const Bits& bits) {
        std::int64_t any = 0;
        for (std::size_t l = 0; l < width; ++l) any |= bits[l];
        return any != 0;
    }
    // All bits of the lanes that are not below the bound, a NaN among them.
    [[gnu::always_inline]] static void Near(Bits& found, const Values& v) {
        constexpr std::int64_t magnitude = 0x7FFFFFFFFFFFFFFF;
        found |= ~(reinterpret_cast<Values>(reinterpret_cast<Bits>(v) & magnitude) <= near_bound);
    }
    // AR terms off, then MA terms on, in the order of the list; their rows lie `sign` times the lag away. An
    // MA term of lag 1 comes first in its list, and waits for nothing but the row just finished, `previous`.
    [[gnu::always_inline]] static void AddTerms(const LaneArrays& lanes, std::ptrdiff_t row, int sign,
                                                const Values (&previous)[count], Values (&v)[count]) {
        for (int i = 0; i < lanes.arCount; ++i) {
            const double* const phi = lanes.arCoefficient + i * lanes.stride;
            const double* const w = lanes.w + row + sign * lanes.arDistance[i];
#pragma GCC unroll 12
            for (std::size_t n = 0; n < count; ++n) {
                Values coefficient, value;
                Load(coefficient, phi, n);
                Load(value, w, n);
                v[n] -= coefficient * value;
            }
        }
        int j = 0;
        if (lanes.maCount > 0 && lanes.maDistance[0] == lanes.stride) {
            j = 1;
#pragma GCC unroll 12
            for (std::size_t n = 0; n < count; ++n) {
                Values coefficient;
                Load(coefficient, lanes.maCoefficient, n);
                v[n] += coefficient * previous[n];
            }
        }
        for (; j < lanes.maCount; ++j) {
            const double* const theta = lanes.maCoefficient + j * lanes.stride;
            const double* const e = lanes.e + row + sign * lanes.maDistance[j];
#pragma GCC unroll 12
            for (std::size_t n = 0; n < count; ++n) {
                Values coefficient, value;
                Load(coefficient, theta, n);
                Load(value, e, n);
                v[n] += coefficient * value;
            }
        }
    }
};

// A lane that has made its last backcast goes on for nothing: its zeros are what the pass leaves below.
template <class Lanes, std::size_t count>
[[gnu::always_inline]] inline bool RunBackward(const LaneArrays lanes, std::ptrdiff_t span,
                                               std::ptrdiff_t margin, std::int64_t* first) {
    using R = Row<Lanes, count>;
    typename R::Bits near{};
    typename R::Values previous[count]{};
    std::ptrdiff_t t = span - 1;
    for (; t >= margin; --t) {
        const std::ptrdiff_t row = t * lanes.stride;
        typename R::Values v[count];
#pragma GCC unroll 12
        for (std::size_t n = 0; n < count; ++n) R::Load(v[n], lanes.w + row, n);
        R::AddTerms(lanes, row, 1, previous, v);
#pragma GCC unroll 12
        for (std::size_t n = 0; n < count; ++n) {
            R::Near(near, v[n]);
            R::Store(lanes.e + row, n, v[n]);
            previous[n] = v[n];
        }
    }

    typename R::Bits going[count];
#pragma GCC unroll 12
    for (std::size_t n = 0; n < count; ++n) going[n] = ~typename R::Bits{};
    for (bool any = true; any && t >= 0; --t) {
        const std::ptrdiff_t row = t * lanes.stride;
        typename R::Values v[count]{};
        R::AddTerms(lanes, row, 1, previous, v);
        typename R::Bits left{};
#pragma GCC unroll 12
        for (std::size_t n = 0; n < count; ++n) {
            previous[n] = typename R::Values{};  // no backward residuals in the margin
            typename R::Bits reached;
            R::Load(reached, first, n);
            R::Store(first, n, reached + going[n]);  // less 1
            R::Near(near, v[n]);
            R::Store(lanes.w + row, n, reinterpret_cast<typename R::Bits>(-v[n]) & going[n]);
            going[n] &= ~((v[n] < backcast_end) & (v[n] > -backcast_end));
            left |= going[n];
        }
        any = R::Any(left);
    }
    std::fill_n(lanes.w, (t + 1) * lanes.stride, 0.0);
    return !R::Any(near);
}

template <class Lanes, std::size_t count>
[[gnu::always_inline]] inline bool RunForward(const LaneArrays lanes, std::ptrdiff_t end,
                                              const std::int64_t* first) {
    using R = Row<Lanes, count>;
    const auto [earliest, latest] = std::minmax_element(first, first + count * R::width);
    typename R::Bits near{};
    typename R::Values previous[count]{};
    std::ptrdiff_t t = *earliest;
    for (; t < *latest; ++t) {
        const std::ptrdiff_t row = t * lanes.stride;
        typename R::Values v[count];
#pragma GCC unroll 12
        for (std::size_t n = 0; n < count; ++n) R::Load(v[n], lanes.w + row, n);
        R::AddTerms(lanes, row, -1, previous, v);
#pragma GCC unroll 12
        for (std::size_t n = 0; n < count; ++n) {
            R::Near(near, v[n]);
            typename R::Bits start;
            R::Load(start, first, n);
            previous[n] =
                reinterpret_cast<typename R::Values>(reinterpret_cast<typename R::Bits>(v[n]) & (start <= t));
            R::Store(lanes.e + row, n, previous[n]);
        }
    }
    for (; t < end; ++t) {
        const std::ptrdiff_t row = t * lanes.stride;
        typename R::Values v[count];
#pragma GCC unroll 12
        for (std::size_t n = 0; n < count; ++n) R::Load(v[n], lanes.w + row, n);
        R::AddTerms(lanes, row, -1, previous, v);
#pragma GCC unroll 12
        for (std::size_t n = 0; n < count; ++n) {
            R::Near(near, v[n]);
            R::Store(lanes.e + row, n, v[n]);
            previous[n] = v[n];
        }
    }
    return !R::Any(near);
}

// Each sum has a lane to itself. Of the matrix whole registers are kept: what lies right of the diagonal is
// left over.
template <class Lanes, std::size_t parameters>
[[gnu::always_inline]] inline void RunProducts(LaneProducts& sums) {
    constexpr std::size_t width = Row<Lanes, 1>::width;
    constexpr std::size_t count = (parameters + width - 1) / width;
    using R = Row<Lanes, count>;
    typename R::Values gradient[count]{}, matrix[parameters][count]{};
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
#pragma GCC unroll 12
    for (std::size_t n = 0; n < count; ++n) R::Store(sums.gradient.data(), n, gradient[n]);
#pragma GCC unroll 12
    for (std::size_t j = 0; j < parameters; ++j) {
#pragma GCC unroll 12
        for (std::size_t n = 0; n < count; ++n) R::Store(sums.matrix[j].data(), n, matrix[j][n]);
    }
}

// ---- a function per width and row ------------------------------------------------------------------------

template <std::size_t quads>
bool NarrowBackward(const LaneArrays& lanes, std::ptrdiff_t span, std::ptrdiff_t margin,
                    std::int64_t* first) {
    return RunBackward<TwoLanes, 2 * quads>(lanes, span, margin, first);
}
template <std::size_t quads>
bool NarrowForward(const LaneArrays& lanes, std::ptrdiff_t end, const std::int64_t* first) {
    return RunForward<TwoLanes, 2 * quads>(lanes, end, first);
}
template <std::size_t parameters>
void NarrowProducts(LaneProducts& sums) {
    RunProducts<TwoLanes, parameters>(sums);
}
constexpr LaneKernels narrow_kernels = {
    {NarrowBackward<1>, NarrowBackward<2>, NarrowBackward<3>, NarrowBackward<4>, NarrowBackward<5>,
     NarrowBackward<6>},
    {NarrowForward<1>, NarrowForward<2>, NarrowForward<3>, NarrowForward<4>, NarrowForward<5>,
     NarrowForward<6>},
    {NarrowProducts<2>, NarrowProducts<4>, NarrowProducts<6>, NarrowProducts<8>, NarrowProducts<10>}};

#if defined(__x86_64__)
// Without "fma": nothing may be fused, whatever the flags.
template <std::size_t quads>
[[gnu::target("avx2")]] bool WideBackward(const LaneArrays& lanes, std::ptrdiff_t span, std::ptrdiff_t margin,
                                          std::int64_t* first) {
    return RunBackward<FourLanes, quads>(lanes, span, margin, first);
}
template <std::size_t quads>
[[gnu::target("avx2")]] bool WideForward(const LaneArrays& lanes, std::ptrdiff_t end,
                                         const std::int64_t* first) {
    return RunForward<FourLanes, quads>(lanes, end, first);
}
template <std::size_t parameters>
[[gnu::target("avx2")]] void WideProducts(LaneProducts& sums) {
    RunProducts<FourLanes, parameters>(sums);
}
constexpr LaneKernels wide_kernels = {
    {WideBackward<1>, WideBackward<2>, WideBackward<3>, WideBackward<4>, WideBackward<5>, WideBackward<6>},
    {WideForward<1>, WideForward<2>, WideForward<3>, WideForward<4>, WideForward<5>, WideForward<6>},
    {WideProducts<2>, WideProducts<4>, WideProducts<6>, WideProducts<8>, WideProducts<10>}};
#endif

}  // namespace

const LaneKernels& NarrowLaneKernels() { return narrow_kernels; }

const LaneKernels& FastestLaneKernels() {
#if defined(__x86_64__)
    if (__builtin_cpu_supports("avx2")) return wide_kernels;
#endif
    return narrow_kernels;  // GCOVR_EXCL_LINE: only a processor without AVX2 comes here
}

}  // namespace vek::time_series
