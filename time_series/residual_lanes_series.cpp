// time_series/residual_lanes_series.cpp: the working series as each lane of a run sees it.
#include <algorithm>
#include <bit>

#include "time_series/residual_lanes.hpp"

namespace vek::time_series {

namespace {

using Index = std::ptrdiff_t;

// A series and constants within it stay far below the bound of the recursion through every shift.
constexpr double ordinary_bound = 1e16;

std::size_t Size(Index count) { return static_cast<std::size_t>(count); }

std::uint64_t BitsOf(double x) { return std::bit_cast<std::uint64_t>(x); }

}  // namespace

// Without a constant the series itself is the same in every run.
bool ResidualLanes::Spread(const double* w, Index from) {
    const Index margin = frame_.margin, end = frame_.end;
    spreadFrom_ = from;
    if (hasLagZero_) return false;
    if (!frame_.hasConstant) {
        if (!seriesStands_) {
            largest_ = kernels_->largest(w + margin, end - margin);
            if (!(largest_ <= ordinary_bound)) return false;
            std::copy(w + margin, w + end, common_ + margin);
            FillRows(margin, rowsEnd_ - margin, w + margin);
            seriesStands_ = true;
        }
        FillRows(from, margin - from, w + from);
        return true;
    }
    largest_ = kernels_->largest(w, end);
    if (!(largest_ <= ordinary_bound)) return false;
    if (!(kernels_->largest(shift_.data(), max_lanes) <= ordinary_bound)) return false;
    for (Index start = from; start < end;) {
        const Index count = std::min<Index>(shift_block, (start < margin ? margin : end) - start);
        if (!SpreadShifted(w, start, count)) return false;
        start += count;
    }
    return true;
}

// Order: a pass adds -c, and c again when it is over; so does the next one, to what that has left. A pass
// that has changed nothing is not repeated: with the same constant its follower finds and leaves the same.
// With rounding to nearest even the second pass never changes anything, Knuth, TAOCP 2, 4.2.2, theorem D: so
// most lanes see one series. False when a lane that is not apart does not, from the margin on.
bool ResidualLanes::SpreadShifted(const double* w, Index start, Index count) {
    std::array<ShiftBlock, max_lanes> shifted;
    std::array<const double*, max_lanes> seen{};
    const double* common = nullptr;
    ShiftBlock value{};
    std::copy_n(w + start, count, value.begin());
    bool settled = false, alike = true;
    for (std::size_t p = 0; p < points_; ++p) {
        const double c = shift_[Size(order_[p])];
        if (settled && BitsOf(c) == BitsOf(shift_[Size(order_[p - 1])])) {
            seen[p] = seen[p - 1];
        } else {
            seen[p] = shifted[p].data();
            settled = !kernels_->shift(c, value, shifted[p]);
        }
        if (order_[p] < lanes_per_quad) continue;
        if (common == nullptr) common = seen[p];
        alike &= seen[p] == common;
    }
    if (common == nullptr) common = seen[0];
    std::copy_n(value.begin(), count, drifted_ + start);

    if (start < rowsEnd_) {
        const Index rows = std::min(count, rowsEnd_ - start);
        FillRows(start, rows, common);
        for (std::size_t p = 0; p < points_; ++p) {
            double* const lane = Row(w_, start) + order_[p];
            for (Index i = 0; i < rows; ++i) lane[i * stride_] = seen[p][i];
        }
    }
    if (start < frame_.margin) return true;
    std::copy_n(common, count, common_ + start);
    std::array<const double*, lanes_per_quad> apart;
    apart.fill(common);
    for (std::size_t p = 0; p < points_; ++p) {
        if (order_[p] < lanes_per_quad) apart[Size(order_[p])] = seen[p];
    }
    double* row = apart_ + start * lanes_per_quad;
    for (Index i = 0; i < count; ++i, row += lanes_per_quad) {
        for (std::size_t l = 0; l < apart.size(); ++l) row[l] = apart[l][i];
    }
    return alike;
}

void ResidualLanes::FillRows(Index start, Index count, const double* value) {
    for (Index i = 0; i < count; ++i) std::fill_n(Row(w_, start + i), stride_, value[i]);
}

}  // namespace vek::time_series
