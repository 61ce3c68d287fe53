// time_series/residual_lanes_closing.cpp: how much of the backward passes of a run is to be made.
//
// What remains of a backward pass is its last residuals, in front of the margin, and there they no longer
// depend on those that it began with, to the bit. So it begins a while before with bounds of the residuals,
// from below and from above. Where the two sequences have become one, it is the residuals (lane_passes.hpp
// says why), and the pass goes on from there.
//
// The bound: let U be that of the series less its AR terms, and r the sum of the magnitudes of the MA
// coefficients, r < 1. Residuals within A = 2 U / (1 - r) are followed by one within U + r A = A - U: there
// is room for the roundings. By the same bound nothing that is left out was near the bound of the recursion.
#include <algorithm>
#include <cmath>

#include "time_series/residual_lanes.hpp"

namespace vek::time_series {

namespace {

using Index = std::ptrdiff_t;

// Above it the two sequences are too long in meeting.
constexpr double slowest = 0.97;
// Below it roundings are no longer small against what they round.
constexpr double smallest = 1e-200;
// The bounds come as near to each other as e^-46 = 2^-66 of themselves; then it is a matter of luck when two
// neighbours are rounded to one.
constexpr double closing = 46.0;
constexpr Index luck = 12;

std::size_t Size(Index count) { return static_cast<std::size_t>(count); }

}  // namespace

// Returns the time from which on the residuals stand in e_: without a meeting the end of the pass.
std::ptrdiff_t ResidualLanes::CloseBackwardPasses() {
    const Index span = std::max(frame_.backcastSpan, frame_.margin);
    const auto reach = static_cast<Index>(frame_.ma->maxLag);
    double constant = 0.0;
    for (const double c : shift_) constant = std::max(constant, std::fabs(c));
    const double bound = 2.0 * (largest_ + constant) * (1.0 + arSize_) / (1.0 - maSize_);
    if (!(maSize_ <= slowest && bound >= smallest && bound <= near_bound)) return span;
    if (reach == 0) return frame_.margin;

    for (std::size_t j = 0; j < Size(frame_.ma->count); ++j) {
        if (hasNegative_[j] && hasPositive_[j]) return span;
    }
    const Index steps = reach * (static_cast<Index>(closing / -std::log(maSize_)) + luck);
    const Index from = frame_.margin + steps, offset = steps + reach;
    if (from + reach + offset > span) return span;
    LaneBracket bracket;
    bracket.from = from;
    bracket.upper = Row(e_, offset);
    bracket.negative = hasNegative_.data();
    bracket.rows = reach;
    std::fill_n(Row(e_, from), reach * stride_, -bound);
    std::fill_n(Row(bracket.upper, from), reach * stride_, bound);
    const Index met = kernels_->close[HasApart()][Quads()](Arrays(), bracket);
    return met < 0 ? span : met;
}

}  // namespace vek::time_series
