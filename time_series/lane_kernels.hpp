// time_series/lane_kernels.hpp: the inner loops of residual passes in step, for registers of two and of four
// doubles.
//
// A register holds lanes, and no lane meets another: both widths make the same operations in each lane, in
// the same order, and so give the same bits.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace vek::time_series {

inline constexpr int lanes_per_quad = 4;  // a row of lanes is padded to whole quads
inline constexpr int max_quads = 6;
inline constexpr int max_lanes = max_quads * lanes_per_quad;

// Far enough below the bound of the recursion, 1.001e18, that no shift by a constant reaches it from there.
inline constexpr double near_bound = 1e17;

struct LaneArrays {
    double* w = nullptr;        // working series: row t, of all lanes, begins at t * stride
    double* e = nullptr;        // residuals; the backward ones while the backward pass runs
    std::ptrdiff_t stride = 0;  // whole quads
    // A row of coefficients per term, and the distance between a row and that of its lag.
    const double *arCoefficient = nullptr, *maCoefficient = nullptr;
    const std::ptrdiff_t *arDistance = nullptr, *maDistance = nullptr;
    int arCount = 0, maCount = 0;
};

// Sums over t = from .. end - 1, x_j being minuend[j] - subtrahend[j] in row t: gradient[j] of x_j right[0],
// and matrix[j][i] of x_j x_i for i <= j. Whole registers are read from each pointer, up to `width` doubles.
struct LaneProducts {
    static constexpr int width = 12;  // ten parameters in whole quads
    const double *minuend = nullptr, *subtrahend = nullptr, *right = nullptr;  // in row 0
    std::ptrdiff_t stride = 0;
    std::ptrdiff_t from = 0, end = 0;
    std::array<double, width> gradient{};
    std::array<std::array<double, width>, width> matrix{};
};

struct LaneKernels {
    // From below `span` down: times from `margin` on into e, the others into w, where each lane ends with its
    // own last backcast and holds zeros below it. first[lane] is counted down by one for each of its times in
    // the margin. False if a value came near the bound.
    using Backward = bool (*)(const LaneArrays& lanes, std::ptrdiff_t span, std::ptrdiff_t margin,
                              std::int64_t* first);
    // Up to `end`, each lane from its own first time on. False if a value came near the bound.
    using Forward = bool (*)(const LaneArrays& lanes, std::ptrdiff_t end, const std::int64_t* first);
    using Products = void (*)(LaneProducts& sums);

    std::array<Backward, max_quads> backward;  // by quads in a row, less 1
    std::array<Forward, max_quads> forward;
    std::array<Products, 5> products;  // by pairs of parameters, less 1
};

const LaneKernels& NarrowLaneKernels();
// With the widest registers of this processor.
const LaneKernels& FastestLaneKernels();

}  // namespace vek::time_series
