#include "time_series/residual_lanes.hpp"

#include <algorithm>
#include <bit>
#include <cmath>

namespace vek::time_series {

namespace {

using Index = std::ptrdiff_t;

// A series and constants within it stay below near_bound through every shift and its roundings.
constexpr double ordinary_bound = 1e16;

constexpr Index spread_block = 32;

std::size_t Size(Index count) { return static_cast<std::size_t>(count); }

std::uint64_t BitsOf(double x) { return std::bit_cast<std::uint64_t>(x); }

}  // namespace

void ResidualLanes::Prepare(const PassFrame& frame, const LaneKernels& kernels) {
    frame_ = frame;
    kernels_ = &kernels;
    maxLag_ = static_cast<Index>(std::max(frame.ar->maxLag, frame.ma->maxLag));
    hasLagZero_ = seriesStands_ = false;
    const int lanes = 2 * frame.parameters + (frame.hasConstant ? 3 : 2);
    stride_ = (lanes + lanes_per_quad - 1) / lanes_per_quad * lanes_per_quad;

    const Index rows = frame.end * stride_, drifted = frame.hasConstant ? frame.end : 0;
    const Index arRows = frame.ar->count * stride_, maRows = frame.ma->count * stride_;
    memory_.assign(Size(2 * rows + LaneProducts::width + arRows + maRows + drifted), 0.0);
    w_ = memory_.data();
    e_ = w_ + rows;
    arCoefficient_ = e_ + rows + LaneProducts::width;  // products read past the end of the last row
    maCoefficient_ = arCoefficient_ + arRows;
    drifted_ = maCoefficient_ + maRows;

    const auto measure = [this](const zolv::time_series::LagTerms& terms, auto& distance) {
        for (std::size_t i = 0; i < Size(terms.count); ++i) {
            hasLagZero_ |= terms.lag[i] == 0;
            distance[i] = static_cast<Index>(terms.lag[i]) * stride_;
        }
    };
    measure(*frame.ar, arDistance_);
    measure(*frame.ma, maDistance_);
}

// Lanes without a point have no terms.
void ResidualLanes::Begin() {
    points_ = 0;
    shift_.fill(0.0);
    std::fill_n(arCoefficient_, frame_.ar->count * stride_, 0.0);
    std::fill_n(maCoefficient_, frame_.ma->count * stride_, 0.0);
}

void ResidualLanes::Add(int lane, const double* theta) {
    const auto place = [&](const zolv::time_series::LagTerms& terms, double* rows) {
        std::array<double, zolv::time_series::max_terms> coefficient;
        terms.Coefficients(theta, coefficient);
        for (Index i = 0; i < terms.count; ++i) Row(rows, i)[lane] = coefficient[Size(i)];
    };
    place(*frame_.ar, arCoefficient_);
    place(*frame_.ma, maCoefficient_);
    if (frame_.hasConstant) shift_[Size(lane)] = theta[frame_.parameters - 1];
    order_[points_++] = lane;
}

// Without a constant the series itself is the same in every run.
bool ResidualLanes::Spread(const double* w, Index from) {
    spreadFrom_ = from;
    if (hasLagZero_) return false;
    const auto ordinary = [](const double* value, Index count) {
        return std::all_of(value, value + count, [](double v) { return std::fabs(v) <= ordinary_bound; });
    };
    if (!frame_.hasConstant) {
        if (!seriesStands_) {
            if (!ordinary(w + frame_.margin, frame_.end - frame_.margin)) return false;
            FillRows(frame_.margin, frame_.end - frame_.margin, w + frame_.margin);
            seriesStands_ = true;
        }
        FillRows(from, frame_.margin - from, w + from);
        return true;
    }
    if (!ordinary(w, frame_.end) || !ordinary(shift_.data(), max_lanes)) return false;
    for (Index start = from; start < frame_.end; start += spread_block) {
        SpreadShifted(w, start, std::min(spread_block, frame_.end - start));
    }
    return true;
}

// Order: a pass adds -c, and c again when it is over; so does the next one, to what that has left. A pass
// that has changed nothing is not repeated: with the same constant its follower finds and leaves the same.
// (With rounding to nearest even the second pass never changes anything, Knuth, TAOCP 2, 4.2.2, theorem D.)
void ResidualLanes::SpreadShifted(const double* w, Index start, Index count) {
    std::array<std::array<double, spread_block>, max_lanes> shifted;
    std::array<std::size_t, max_lanes> source;
    std::array<double, spread_block> value{};
    std::copy_n(w + start, count, value.begin());
    std::size_t common = 0;
    bool settled = false;
    for (std::size_t p = 0; p < points_; ++p) {
        const double c = shift_[Size(order_[p])];
        if (settled && BitsOf(c) == BitsOf(shift_[Size(order_[p - 1])])) {
            source[p] = common = source[p - 1];
            continue;
        }
        source[p] = p;
        std::uint64_t moved = 0;
        for (std::size_t i = 0; i < Size(spread_block); ++i) {
            shifted[p][i] = value[i] + -c;
            const double back = shifted[p][i] + c;
            moved |= BitsOf(back) ^ BitsOf(value[i]);
            value[i] = back;
        }
        settled = moved == 0;
    }
    std::copy_n(value.begin(), count, drifted_ + start);

    FillRows(start, count, shifted[common].data());
    for (std::size_t p = 0; p < points_; ++p) {
        if (source[p] == common) continue;
        double* const lane = Row(w_, start) + order_[p];
        for (Index i = 0; i < count; ++i) lane[i * stride_] = shifted[source[p]][Size(i)];
    }
}

void ResidualLanes::FillRows(Index start, Index count, const double* value) {
    double* lane = Row(w_, start);
    for (Index i = 0; i < count; ++i) {
        for (Index quad = 0; quad < stride_; quad += lanes_per_quad, lane += lanes_per_quad) {
            for (int l = 0; l < lanes_per_quad; ++l) lane[l] = value[i];
        }
    }
}

LaneArrays ResidualLanes::Arrays() {
    LaneArrays arrays;
    arrays.w = w_;
    arrays.e = e_;
    arrays.stride = stride_;
    arrays.arCoefficient = arCoefficient_;
    arrays.maCoefficient = maCoefficient_;
    arrays.arDistance = arDistance_.data();
    arrays.maDistance = maDistance_.data();
    arrays.arCount = frame_.ar->count;
    arrays.maCount = frame_.ma->count;
    return arrays;
}

bool ResidualLanes::RunFullPasses(const double* w) {
    const Index margin = frame_.margin, span = frame_.backcastSpan;
    if (!Spread(w, margin)) return false;
    // What the backward pass may read without having written it: zeros, in w less the constant.
    const Index reached = std::min(span, margin);
    for (Index t = reached; t < margin; ++t) {
        for (std::size_t l = 0; l < Size(stride_); ++l) {
            Row(w_, t)[l] = frame_.hasConstant ? 0.0 + -shift_[l] : 0.0;
        }
    }
    std::fill_n(e_, margin * stride_, 0.0);
    std::fill(Row(e_, std::max(span, margin)), Row(e_, frame_.end), 0.0);

    first_.fill(reached);
    if (!kernels_->backward[KernelIndex()](Arrays(), span, margin, first_.data())) return false;
    for (std::int64_t& first : first_) first = std::max<std::int64_t>(maxLag_, first);
    return kernels_->forward[KernelIndex()](Arrays(), frame_.end, first_.data());
}

bool ResidualLanes::RunFrozenPasses(const double* w, Index first) {
    if (!Spread(w, 0)) return false;
    first_.fill(first);
    std::fill_n(e_, first * stride_, 0.0);
    return kernels_->forward[KernelIndex()](Arrays(), frame_.end, first_.data());
}

void ResidualLanes::Put(int lane, const double* e) {
    for (Index t = 0; t < frame_.end; ++t) Row(e_, t)[lane] = e[t];
}

// What lies before the first time of a lane is 0 and adds nothing. A sum of squares never falls: one that
// ends within the cap has never been above it.
ResidualLanes::Squares ResidualLanes::SumSquares(double cap) const {
    const Index from = std::min(FirstIndex(Tried()), FirstIndex(Before()));
    double tried = 0.0, before = 0.0;
    for (Index t = from; t < frame_.end; ++t) {
        const double u = Row(e_, t)[Tried()], v = Row(e_, t)[Before()];
        tried += u * u;
        before += v * v;
    }
    const auto capped = [&](int lane) {
        double sum = 0.0;
        for (Index t = from; t < frame_.end && !(sum > cap); ++t) sum += Row(e_, t)[lane] * Row(e_, t)[lane];
        return sum;
    };
    return {tried > cap ? capped(Tried()) : tried, before > cap ? capped(Before()) : before};
}

const LaneProducts& ResidualLanes::SumProducts(Index from) {
    products_.minuend = e_ + Lowered(0);
    products_.subtrahend = e_ + Raised(0);
    products_.right = e_ + After();
    products_.stride = stride_;
    products_.from = from;
    products_.end = frame_.end;
    kernels_->products[Size((frame_.parameters - 1) / 2)](products_);
    return products_;
}

void ResidualLanes::LeaveBackcasts(int lane, double* w) const {
    const double c = shift_[Size(lane)];
    for (Index t = 0; t < spreadFrom_; ++t)
        w[t] = frame_.hasConstant ? Row(w_, t)[lane] + c : Row(w_, t)[lane];
}

void ResidualLanes::LeaveFirst(double* w) const {
    const int lane = order_.front();
    LeaveBackcasts(lane, w);
    if (!frame_.hasConstant) return;
    const double c = shift_[Size(lane)];
    for (Index t = spreadFrom_; t < frame_.end; ++t) w[t] = (w[t] + -c) + c;
}

void ResidualLanes::LeaveAll(double* w) const {
    LeaveBackcasts(order_[points_ - 1], w);
    if (frame_.hasConstant) std::copy(drifted_ + spreadFrom_, drifted_ + frame_.end, w + spreadFrom_);
}

void ResidualLanes::LeaveResiduals(double* e) const {
    for (Index t = 0; t < frame_.end; ++t) e[t] = Row(e_, t)[order_[points_ - 1]];
}

}  // namespace vek::time_series
