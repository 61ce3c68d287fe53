// time_series/residual_lanes_series.cpp: the working series as each lane of a run sees it.
//
// Order: a pass adds -c, and c again when it is over; so does the next one, to what that has left. With
//        rounding to nearest even a second pass with the same constant sees what it leaves to the third
//        (Knuth, TAOCP 2, 4.2.2, theorem D): all but the first see one series.
#include <algorithm>
#include <bit>

#include "time_series/residual_lanes.hpp"

namespace vek::time_series {

namespace {

using Index = std::ptrdiff_t;

// A series and constants within it stay far below the bound of the recursion through every shift.
constexpr double ordinary_bound = 1e16;

std::size_t Size(Index count) { return static_cast<std::size_t>(count); }

}  // namespace

bool ResidualLanes::Spread(const double* w, Index from) {
    const Index margin = frame_.margin, end = frame_.end;
    spreadFrom_ = from;
    if (hasLagZero_) return false;
    if (!frame_.hasConstant) {
        // The series itself is the same in every run.
        if (!seriesStands_) {
            largest_ = kernels_->largest(w + margin, end - margin);
            if (!(largest_ <= ordinary_bound)) return false;
            std::copy(w + margin, w + end, common_ + margin);
            for (Index t = margin; t < rowsEnd_; ++t) std::fill_n(Row(w_, t), stride_, w[t]);
            seriesStands_ = true;
        }
        for (Index t = from; t < margin; ++t) std::fill_n(Row(w_, t), stride_, w[t]);
        return true;
    }
    largest_ = kernels_->largest(w, end);
    if (!(largest_ <= ordinary_bound)) return false;
    if (!(kernels_->largest(shift_.data(), max_lanes) <= ordinary_bound)) return false;
    if (points_ == 1) {
        SpreadAlone(w);
    } else if (!SpreadShifted(w)) {
        return false;
    }
    for (Index t = margin; t < rowsEnd_; ++t) {
        std::fill_n(Row(w_, t), stride_, common_[t]);
        if (HasApart()) std::copy_n(apart_ + t * lanes_per_quad, lanes_per_quad, Row(w_, t));
    }
    SpreadBackcasts(w, from);
    return true;
}

// From the margin on. False when the passes are not as a search makes them, or do not see what they should.
bool ResidualLanes::SpreadShifted(const double* w) {
    const auto constant = [this](std::size_t pass) { return shift_[Size(order_[pass])]; };
    const auto differs = [](double a, double b) {
        return std::bit_cast<std::uint64_t>(a) != std::bit_cast<std::uint64_t>(b);
    };
    constexpr std::size_t behind = lanes_per_quad - 1;
    if (points_ < 2 + behind) return false;
    for (std::size_t p = 1; p < points_ - behind; ++p) {
        if (order_[p] < lanes_per_quad || differs(constant(p), constant(0))) return false;
    }
    LaneSpread spread;
    spread.w = w + frame_.margin;
    spread.count = frame_.end - frame_.margin;
    spread.constant = {constant(0), constant(points_ - 3), constant(points_ - 2), constant(points_ - 1)};
    spread.common = common_ + frame_.margin;
    spread.apart = apart_ + frame_.margin * lanes_per_quad;
    spread.drifted = drifted_ + frame_.margin;
    spread.swapped = order_[points_ - 3] > order_[points_ - 2];
    kernels_->spread(spread);
    return !spread.unsettled && (order_[0] == First() || !spread.uneven);
}

void ResidualLanes::SpreadAlone(const double* w) {
    const double c = shift_[Size(order_[0])];
    for (Index t = frame_.margin; t < frame_.end; ++t) {
        common_[t] = w[t] + -c;
        drifted_[t] = common_[t] + c;
    }
}

// In front of the margin lanes may see what they like.
void ResidualLanes::SpreadBackcasts(const double* w, Index from) {
    for (Index t = from; t < frame_.margin; ++t) {
        double value = w[t];
        for (std::size_t p = 0; p < points_; ++p) {
            const double c = shift_[Size(order_[p])];
            Row(w_, t)[order_[p]] = value + -c;
            value = Row(w_, t)[order_[p]] + c;
        }
        drifted_[t] = value;
    }
}

}  // namespace vek::time_series
