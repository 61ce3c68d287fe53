// time_series/lane_passes.hpp: the residual recursion over a row of lanes.
//
// What a processor waits for is the chain of MA terms. The AR terms of a few times are taken off ahead of it,
// so that they run while it waits.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "time_series/lane_registers.hpp"

namespace vek::time_series {

inline constexpr double backcast_end = 0.001;  // a backcast this small ends the backward pass of its lane

// Residuals from t on in the direction of `step`, up to but without `to`. Loops over few AR terms, or over an
// MA term of lag 1 alone, are written out: arTerms of them, or -1 for as many as there are.
template <class R, class Series, int step, int arTerms, bool onlyLagOne>
[[gnu::always_inline]] inline void RunTimes(const LaneArrays& lanes, std::ptrdiff_t t, std::ptrdiff_t to) {
    typename R::Values previous[R::count], squares[R::count];
    R::LoadRow(previous, lanes.e + (t - step) * lanes.stride);
    R::LoadRow(squares, lanes.squares);
    std::ptrdiff_t back[3]{};  // lags that no store of the loop can be taken to change
    for (int i = 0; i < arTerms; ++i) back[i] = step * lanes.arLag[i];
    for (; t != to; t += step) {
        typename R::Values v[R::count];
#pragma GCC unroll 12
        for (std::size_t n = 0; n < R::count; ++n) Series::Load(v[n], lanes, t, n);
        if (arTerms < 0) {
            R::template TakeOffAr<Series>(lanes, t, step, v);
        } else {
#pragma GCC unroll 3
            for (int i = 0; i < arTerms; ++i) {
                R::template AddTerm<Series, -1>(lanes, lanes.arCoefficient + i * lanes.stride, t - back[i],
                                                v);
            }
        }
        if (onlyLagOne) {
#pragma GCC unroll 12
            for (std::size_t n = 0; n < R::count; ++n) {
                typename R::Values coefficient;
                R::Load(coefficient, lanes.maCoefficient, n);
                v[n] += coefficient * previous[n];
            }
        } else {
            R::AddMa(lanes, t, step, previous, v);
        }
#pragma GCC unroll 12
        for (std::size_t n = 0; n < R::count; ++n) {
            squares[n] += v[n] * v[n];
            previous[n] = v[n];
        }
        R::StoreRow(lanes.e + t * lanes.stride, v);
    }
    R::StoreRow(lanes.squares, squares);
}

template <class R, bool hasApart>
[[gnu::always_inline]] inline void RunBackward(const LaneArrays lanes, std::ptrdiff_t from) {
    RunTimes<R, typename R::template InCommon<hasApart>, -1, -1, false>(lanes, from - 1, lanes.margin - 1);
}

template <class R, bool hasApart>
[[gnu::always_inline]] inline void RunForward(const LaneArrays lanes, std::ptrdiff_t from,
                                              std::ptrdiff_t end) {
    using Series = typename R::template InCommon<hasApart>;
    constexpr std::size_t most_lanes = 16;  // those of a model with three AR terms, an MA term and a constant
    if (R::count * R::width > most_lanes || lanes.maCount != 1 || lanes.maLag[0] != 1 || lanes.arCount > 3) {
        RunTimes<R, Series, 1, -1, false>(lanes, from, end);
    } else if (lanes.arCount == 0) {
        RunTimes<R, Series, 1, 0, true>(lanes, from, end);
    } else if (lanes.arCount == 1) {
        RunTimes<R, Series, 1, 1, true>(lanes, from, end);
    } else if (lanes.arCount == 2) {
        RunTimes<R, Series, 1, 2, true>(lanes, from, end);
    } else {
        RunTimes<R, Series, 1, 3, true>(lanes, from, end);
    }
}

// Order: a product and a sum, once rounded, never fall when a factor that is not negative, or a term, grows.
//        What is between two values before a step is therefore between what the step makes of them, and once
//        these are one number, it is that number; and with its sign, where it is not 0.
template <class R, bool hasApart>
[[gnu::always_inline]] inline std::ptrdiff_t RunClose(const LaneArrays lanes, const LaneBracket bracket) {
    using Series = typename R::template InCommon<hasApart>;
    std::ptrdiff_t same = 0;
    for (std::ptrdiff_t t = bracket.from - 1; t >= lanes.margin; --t) {
        typename R::Values lower[R::count], upper[R::count];
#pragma GCC unroll 12
        for (std::size_t n = 0; n < R::count; ++n) Series::Load(lower[n], lanes, t, n);
        R::template TakeOffAr<Series>(lanes, t, -1, lower);
#pragma GCC unroll 12
        for (std::size_t n = 0; n < R::count; ++n) upper[n] = lower[n];
        for (int j = 0; j < lanes.maCount; ++j) {
            const double* const theta = lanes.maCoefficient + j * lanes.stride;
            const std::ptrdiff_t at = (t + lanes.maLag[j]) * lanes.stride;
            const double* const forLower = (bracket.negative[j] ? bracket.upper : lanes.e) + at;
            const double* const forUpper = (bracket.negative[j] ? lanes.e : bracket.upper) + at;
#pragma GCC unroll 12
            for (std::size_t n = 0; n < R::count; ++n) {
                typename R::Values coefficient, value;
                R::Load(coefficient, theta, n);
                R::Load(value, forLower, n);
                lower[n] += coefficient * value;
                R::Load(value, forUpper, n);
                upper[n] += coefficient * value;
            }
        }
        R::StoreRow(lanes.e + t * lanes.stride, lower);
        R::StoreRow(bracket.upper + t * lanes.stride, upper);
        typename R::Bits open{};
#pragma GCC unroll 12
        for (std::size_t n = 0; n < R::count; ++n) open |= ~((lower[n] == upper[n]) & (lower[n] != 0.0));
        same = R::Any(open) ? 0 : same + 1;
        if (same == bracket.rows) return t;
    }
    return -1;
}

// A lane that has made its last backcast goes on for nothing: its zeros are what the pass leaves below.
template <class R>
[[gnu::always_inline]] inline std::ptrdiff_t RunBackcast(const LaneArrays lanes, std::ptrdiff_t from,
                                                         std::int64_t* first) {
    typename R::Values previous[R::count], squares[R::count];
    typename R::Bits going[R::count];
    R::LoadRow(previous, lanes.e + from * lanes.stride);
    R::LoadRow(squares, lanes.squares);
#pragma GCC unroll 12
    for (std::size_t n = 0; n < R::count; ++n) going[n] = ~typename R::Bits{};
    std::ptrdiff_t t = from - 1;
    for (bool any = true; any && t >= 0; --t) {
        typename R::Values v[R::count]{};
        R::template TakeOffAr<typename R::InRows>(lanes, t, -1, v);
        R::AddMa(lanes, t, -1, previous, v);
        typename R::Bits left{};
#pragma GCC unroll 12
        for (std::size_t n = 0; n < R::count; ++n) {
            previous[n] = typename R::Values{};  // no backward residuals in the margin
            typename R::Bits reached;
            R::Load(reached, first, n);
            R::Store(first, n, reached + going[n]);  // less 1
            squares[n] += v[n] * v[n];
            R::Store(lanes.rows + t * lanes.stride, n, reinterpret_cast<typename R::Bits>(-v[n]) & going[n]);
            going[n] &= ~((v[n] < backcast_end) & (v[n] > -backcast_end));
            left |= going[n];
        }
        any = R::Any(left);
    }
    R::StoreRow(lanes.squares, squares);
    return t + 1;
}

template <class R>
[[gnu::always_inline]] inline void RunStart(const LaneArrays lanes, const std::int64_t* first) {
    typename R::Values previous[R::count]{}, squares[R::count]{};
    for (std::ptrdiff_t t = *std::min_element(first, first + lanes.stride); t < lanes.rowsEnd; ++t) {
        typename R::Values v[R::count];
        R::LoadRow(v, lanes.rows + t * lanes.stride);
        R::template TakeOffAr<typename R::InRows>(lanes, t, 1, v);
        R::AddMa(lanes, t, 1, previous, v);
#pragma GCC unroll 12
        for (std::size_t n = 0; n < R::count; ++n) {
            typename R::Bits start;
            R::Load(start, first, n);
            previous[n] =
                reinterpret_cast<typename R::Values>(reinterpret_cast<typename R::Bits>(v[n]) & (start <= t));
            squares[n] += previous[n] * previous[n];
        }
        R::StoreRow(lanes.e + t * lanes.stride, previous);
    }
    R::StoreRow(lanes.squares, squares);
}

}  // namespace vek::time_series
