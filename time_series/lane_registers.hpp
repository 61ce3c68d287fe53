// time_series/lane_registers.hpp: a row of lanes in registers.
//
// Everything is forced inline: a function of its own would be compiled for the narrowest registers.
#pragma once

#include <cstddef>
#include <cstdint>

#include "time_series/lane_kernels.hpp"

namespace vek::time_series {

struct TwoLanes {
    using Values [[gnu::vector_size(16)]] = double;
    using Bits [[gnu::vector_size(16)]] = std::int64_t;
};
struct FourLanes {
    using Values [[gnu::vector_size(32)]] = double;
    using Bits [[gnu::vector_size(32)]] = std::int64_t;
};

template <class Lanes, std::size_t registers>
struct Row {
    using Values = typename Lanes::Values;
    using Bits = typename Lanes::Bits;
    static constexpr std::size_t count = registers;
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
    template <class Register, class Element>
    [[gnu::always_inline]] static void LoadRow(Register (&to)[count], const Element* from) {
#pragma GCC unroll 12
        for (std::size_t n = 0; n < count; ++n) Load(to[n], from, n);
    }
    template <class Register, class Element>
    [[gnu::always_inline]] static void StoreRow(Element* to, const Register (&from)[count]) {
#pragma GCC unroll 12
        for (std::size_t n = 0; n < count; ++n) Store(to, n, from[n]);
    }
    [[gnu::always_inline]] static void Spread(Values& to, double value) {
        Values spread{};
        for (std::size_t l = 0; l < width; ++l) spread[l] = value;
        to = spread;
    }
    [[gnu::always_inline]] static bool Any(const Bits& bits) {
        std::int64_t any = 0;
        for (std::size_t l = 0; l < width; ++l) any |= bits[l];
        return any != 0;
    }

    // Where a series is: in a row of its own for each time, or one value for most lanes.
    struct InRows {
        [[gnu::always_inline]] static void Load(Values& to, const LaneArrays& lanes, std::ptrdiff_t t,
                                                std::size_t n) {
            Row::Load(to, lanes.rows + t * lanes.stride, n);
        }
    };
    template <bool hasApart>
    struct InCommon {
        [[gnu::always_inline]] static void Load(Values& to, const LaneArrays& lanes, std::ptrdiff_t t,
                                                std::size_t n) {
            if (hasApart && n * width < lanes_per_quad) {
                Row::Load(to, lanes.apart + t * lanes_per_quad, n);
            } else {
                Spread(to, lanes.common[t]);
            }
        }
    };
    struct InResiduals {
        [[gnu::always_inline]] static void Load(Values& to, const LaneArrays& lanes, std::ptrdiff_t t,
                                                std::size_t n) {
            Row::Load(to, lanes.e + t * lanes.stride, n);
        }
    };

    // A term of `coefficients`, which looks at the time `at`, off v, or on.
    template <class Series, int sign>
    [[gnu::always_inline]] static void AddTerm(const LaneArrays& lanes, const double* coefficients,
                                               std::ptrdiff_t at, Values (&v)[count]) {
#pragma GCC unroll 12
        for (std::size_t n = 0; n < count; ++n) {
            Values coefficient, value;
            Load(coefficient, coefficients, n);
            Series::Load(value, lanes, at, n);
            if (sign < 0) {
                v[n] -= coefficient * value;
            } else {
                v[n] += coefficient * value;
            }
        }
    }
    // Those of the list in their order, against the direction of `step`.
    template <class Series>
    [[gnu::always_inline]] static void TakeOffAr(const LaneArrays& lanes, std::ptrdiff_t t, int step,
                                                 Values (&v)[count]) {
        for (int i = 0; i < lanes.arCount; ++i) {
            AddTerm<Series, -1>(lanes, lanes.arCoefficient + i * lanes.stride, t - step * lanes.arLag[i], v);
        }
    }
    // An MA term of lag 1 comes first in its list, and waits for nothing but the row just finished,
    // `previous`.
    [[gnu::always_inline]] static void AddMa(const LaneArrays& lanes, std::ptrdiff_t t, int step,
                                             const Values (&previous)[count], Values (&v)[count]) {
        int j = 0;
        if (lanes.maCount > 0 && lanes.maLag[0] == 1) {
            j = 1;
#pragma GCC unroll 12
            for (std::size_t n = 0; n < count; ++n) {
                Values coefficient;
                Load(coefficient, lanes.maCoefficient, n);
                v[n] += coefficient * previous[n];
            }
        }
        for (; j < lanes.maCount; ++j) {
            AddTerm<InResiduals, 1>(lanes, lanes.maCoefficient + j * lanes.stride, t - step * lanes.maLag[j],
                                    v);
        }
    }
};

}  // namespace vek::time_series
