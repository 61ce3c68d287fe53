// time_series/lane_kernels.hpp: the inner loops of residual passes in step, for registers of two and of four
// doubles.
//
// A register holds lanes, and no lane meets another: both widths make the same operations in each lane, in
// the same order, and so give the same bits. (Registers of eight were slower: most models have eleven lanes
// or fewer, and a processor adds and multiplies in fewer of them at a time.)
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace vek::time_series {

inline constexpr std::ptrdiff_t lanes_per_quad = 4;  // a row of lanes is padded to whole quads
inline constexpr std::size_t max_quads = 6;
inline constexpr std::size_t max_lanes = 24;

struct LaneArrays {
    // The working series as each lane sees it, for times below rowsEnd: row t begins at rows + t * stride.
    double* rows = nullptr;
    std::ptrdiff_t rowsEnd = 0;
    // The same from the margin on: lanes see common[t], but those of the first quad, where `apart` is not
    // null, what begins at apart + t * lanes_per_quad.
    const double *common = nullptr, *apart = nullptr;
    std::ptrdiff_t margin = 0;

    double* e = nullptr;        // rows of residuals; of the backward ones while the backward pass runs
    std::ptrdiff_t stride = 0;  // lanes in a row
    // A row of coefficients per term, and the lags.
    const double *arCoefficient = nullptr, *maCoefficient = nullptr;
    const std::int64_t *arLag = nullptr, *maLag = nullptr;
    int arCount = 0, maCount = 0;
    double* squares = nullptr;  // by lane, what the squares of the residuals add up to, in time
};

// Two sequences that hold the residuals of the backward pass between them, the lower one in e.
struct LaneBracket {
    std::ptrdiff_t from = 0;         // they are given at this time and as far behind it as an MA term looks
    double* upper = nullptr;         // rows as those of e
    const bool* negative = nullptr;  // by MA term: its coefficients are negative, or 0
    std::ptrdiff_t rows = 0;         // so many that are the same, one after another, settle all before them
};

// Sums over t = from .. end - 1, x_j being minuend[j] - subtrahend[j] in row t, but for the last parameter
// lastMinuend[0] - lastSubtrahend[0]: added to gradient[j] is x_j right[0], and to matrix[j][i] x_j x_i for
// i <= j. Whole registers are read from the first two pointers, up to `width` doubles.
struct LaneProducts {
    static constexpr int width = 12;  // ten parameters in whole quads
    const double *minuend = nullptr, *subtrahend = nullptr, *right = nullptr;  // in row 0
    const double *lastMinuend = nullptr, *lastSubtrahend = nullptr;
    int parameters = 0;
    std::ptrdiff_t stride = 0;
    std::ptrdiff_t from = 0, end = 0;
    std::array<double, width> gradient{};
    std::array<std::array<double, width>, width> matrix{};
};

// What the passes of a run make of the working series, each of which takes its constant off and puts it back.
// The first two have the same, and so may any number behind them; then come three with others.
struct LaneSpread {
    const double* w = nullptr;
    std::ptrdiff_t count = 0;
    std::array<double, lanes_per_quad> constant{};
    double* common = nullptr;   // as the second pass sees it
    double* apart = nullptr;    // a row per time: as the first, and as the three behind see it,
    bool swapped = false;       // the first two of these in the places of each other
    double* drifted = nullptr;  // behind the last pass; like the other two with room for whole registers
    bool uneven = false;        // found: the second pass does not see what the first has seen,
    bool unsettled = false;     // and has left something else than it found
};

struct LaneKernels {
    // The residuals of the backward pass from t = from - 1 down to the margin, into e.
    using Backward = void (*)(const LaneArrays& lanes, std::ptrdiff_t from);
    // Both sequences down to where they are one, or to the margin. The time from which on `bracket.rows` rows
    // are the same in both, and not 0; or -1.
    using Close = std::ptrdiff_t (*)(const LaneArrays& lanes, const LaneBracket& bracket);
    // From `from` - 1, in the margin, on down, into rows: each lane ends with its own last backcast and holds
    // zeros below. first[lane] is counted down by one for each of its times. The time below which no lane
    // has a backcast: there rows stay as they are.
    using Backcast = std::ptrdiff_t (*)(const LaneArrays& lanes, std::ptrdiff_t from, std::int64_t* first);
    // The residuals up to rowsEnd, each lane from its own first time on.
    using Start = void (*)(const LaneArrays& lanes, const std::int64_t* first);
    // Those from `from`, at rowsEnd or behind it, up to `end`.
    using Forward = void (*)(const LaneArrays& lanes, std::ptrdiff_t from, std::ptrdiff_t end);
    using Products = void (*)(LaneProducts& sums);
    using Spread = void (*)(LaneSpread& spread);
    // The largest magnitude; infinity where there is a NaN.
    using Largest = double (*)(const double* value, std::ptrdiff_t count);

    template <class Function>
    using ByQuads = std::array<Function, max_quads>;  // in a row, less 1
    std::array<ByQuads<Backward>, 2> backward;        // the second ones are for arrays with `apart`
    std::array<ByQuads<Close>, 2> close;
    ByQuads<Backcast> backcast;
    ByQuads<Start> start;
    std::array<ByQuads<Forward>, 2> forward;
    std::array<Products, 5> products;  // by pairs of parameters, less 1
    Spread spread;
    Largest largest;
};

const LaneKernels& NarrowLaneKernels();
// With the widest registers of this processor.
const LaneKernels& FastestLaneKernels();

}  // namespace vek::time_series
