#include "time_series/residual_lanes.hpp"

#include <algorithm>
#include <cmath>
#include <utility>

namespace vek::time_series {

namespace {

using Index = std::ptrdiff_t;

// Of values that add up to no more none is beyond near_bound.
constexpr double near_squares = near_bound * near_bound;

constexpr Index forward_block = 256;  // times whose rows are still at hand when they enter the products
constexpr Index cache_line = 8;       // doubles

Index InLines(Index count) { return (count + cache_line - 1) / cache_line * cache_line; }

std::size_t Size(Index count) { return static_cast<std::size_t>(count); }

}  // namespace

void ResidualLanes::Prepare(const PassFrame& frame, const LaneKernels& kernels) {
    frame_ = frame;
    kernels_ = &kernels;
    maxLag_ = static_cast<Index>(std::max(frame.ar->maxLag, frame.ma->maxLag));
    rowsEnd_ = std::min(frame.margin + static_cast<Index>(frame.ar->maxLag), frame.end);
    const auto looksAtItself = [](const zolv::time_series::LagTerms& terms) {
        const auto* const end = terms.lag.data() + terms.count;
        return std::find(terms.lag.data(), end, 0) != end;
    };
    hasLagZero_ = looksAtItself(*frame.ar) || looksAtItself(*frame.ma);
    seriesStands_ = false;
    const Index lanes = 2 * frame.parameters + (frame.hasConstant ? 3 : 2);
    stride_ = (lanes + lanes_per_quad - 1) / lanes_per_quad * lanes_per_quad;
    wZeroBelow_ = eZeroBelow_ = frame.margin;

    // Products read past the end of the last row, and the series is written in whole registers.
    const Index shifted = frame.hasConstant ? frame.end + lanes_per_quad : 0;
    const std::array<std::pair<double**, Index>, 7> arrays{{{&w_, rowsEnd_ * stride_},
                                                            {&e_, frame.end * stride_ + LaneProducts::width},
                                                            {&arCoefficient_, frame.ar->count * stride_},
                                                            {&maCoefficient_, frame.ma->count * stride_},
                                                            {&common_, frame.end + lanes_per_quad},
                                                            {&apart_, shifted * lanes_per_quad},
                                                            {&drifted_, shifted}}};
    Index size = cache_line;
    for (const auto& array : arrays) size += InLines(array.second);
    memory_.assign(Size(size), 0.0);
    constexpr std::uintptr_t line = cache_line * sizeof(double);
    double* next =
        memory_.data() + (line - reinterpret_cast<std::uintptr_t>(memory_.data()) % line) / sizeof(double);
    for (const auto& [array, count] : arrays) {
        *array = next;
        next += InLines(count);
    }
}

// Lanes without a point have no terms.
void ResidualLanes::Begin() {
    points_ = 0;
    shift_.fill(0.0);
    std::fill_n(arCoefficient_, frame_.ar->count * stride_, 0.0);
    std::fill_n(maCoefficient_, frame_.ma->count * stride_, 0.0);
    arSize_ = maSize_ = 0.0;
    hasNegative_.fill(false);
    hasPositive_.fill(false);
}

void ResidualLanes::Add(int lane, const double* theta) {
    std::array<double, zolv::time_series::max_terms> coefficient;
    const auto place = [&](const zolv::time_series::LagTerms& terms, double* rows, double& largest) {
        terms.Coefficients(theta, coefficient);
        double size = 0.0;
        for (Index i = 0; i < terms.count; ++i) {
            Row(rows, i)[lane] = coefficient[Size(i)];
            size += std::fabs(coefficient[Size(i)]);
        }
        if (!std::isnan(largest) && !(size <= largest)) largest = size;
    };
    place(*frame_.ar, arCoefficient_, arSize_);
    place(*frame_.ma, maCoefficient_, maSize_);
    for (std::size_t j = 0; j < Size(frame_.ma->count); ++j) {
        hasNegative_[j] |= coefficient[j] < 0.0;
        hasPositive_[j] |= coefficient[j] > 0.0;
    }
    if (frame_.hasConstant) shift_[Size(lane)] = theta[frame_.parameters - 1];
    order_[points_++] = lane;
}

LaneArrays ResidualLanes::Arrays() {
    LaneArrays arrays;
    arrays.rows = w_;
    arrays.rowsEnd = rowsEnd_;
    arrays.common = common_;
    arrays.apart = apart_;
    arrays.margin = frame_.margin;
    arrays.e = e_;
    arrays.stride = stride_;
    arrays.arCoefficient = arCoefficient_;
    arrays.maCoefficient = maCoefficient_;
    arrays.arLag = frame_.ar->lag.data();
    arrays.maLag = frame_.ma->lag.data();
    arrays.arCount = frame_.ar->count;
    arrays.maCount = frame_.ma->count;
    arrays.squares = squares_.data();
    return arrays;
}

// False for a NaN as well.
bool ResidualLanes::WithinBound() const {
    for (std::size_t p = 0; p < points_; ++p) {
        if (!(squares_[Size(order_[p])] <= near_squares)) return false;
    }
    return true;
}

// The backward passes, with their backcasts, and the forward passes behind them.
bool ResidualLanes::RunPasses(const double* w) {
    const Index margin = frame_.margin, span = frame_.backcastSpan;
    if (!Spread(w, margin)) return false;
    // What the backward pass may read without having written it: zeros, in w less the constant.
    const Index reached = std::min(span, margin);
    for (Index t = reached; t < margin; ++t) {
        for (std::size_t l = 0; l < Size(stride_); ++l) {
            Row(w_, t)[l] = frame_.hasConstant ? 0.0 + -shift_[l] : 0.0;
        }
    }
    ClearRows(e_, margin, eZeroBelow_);
    std::fill(Row(e_, std::max(span, margin)), Row(e_, frame_.end), 0.0);

    first_.fill(reached);
    squares_.fill(0.0);
    backwardFrom_ = CloseBackwardPasses();
    kernels_->backward[HasApart()][Quads()](Arrays(), backwardFrom_);
    const Index last = kernels_->backcast[Quads()](Arrays(), reached, first_.data());
    ClearRows(w_, last, wZeroBelow_);
    wZeroBelow_ = last;
    if (!WithinBound()) return false;
    for (std::int64_t& first : first_) first = std::max<std::int64_t>(maxLag_, first);
    return true;
}

bool ResidualLanes::RunFullPasses(const double* w) {
    if (!RunPasses(w)) return false;
    Index last = 1;
    for (int j = 0; j < frame_.parameters; ++j) {
        last = std::max({last, FirstIndex(Raised(j)), FirstIndex(Lowered(j))});
    }
    BeginProducts(std::max(last, FirstIndex(After())));
    return RunForward();
}

bool ResidualLanes::RunFrozenPasses(const double* w, Index first) {
    if (!Spread(w, 0)) return false;
    first_.fill(first);
    ClearRows(e_, first, eZeroBelow_);
    wZeroBelow_ = 0;
    BeginProducts(frame_.margin);
    return RunForward();
}

bool ResidualLanes::RunOnePass(const double* w, const double* theta) {
    Begin();
    Add(First(), theta);
    if (!RunPasses(w)) return false;
    BeginProducts(frame_.end);
    return RunForward();
}

bool ResidualLanes::RunForward() {
    eZeroBelow_ = *std::min_element(first_.begin(), first_.end());
    kernels_->start[Quads()](Arrays(), first_.data());
    for (Index t = rowsEnd_; t < frame_.end; t += forward_block) {
        const Index end = std::min(t + forward_block, frame_.end);
        kernels_->forward[HasApart()][Quads()](Arrays(), t, end);
        AddProducts(end);
    }
    AddProducts(frame_.end);
    return WithinBound();
}

void ResidualLanes::Put(int lane, const double* e) {
    for (Index t = 0; t < frame_.end; ++t) Row(e_, t)[lane] = e[t];
    productsFrom_ = -1;
    eZeroBelow_ = 0;
}

// Those below a time.
void ResidualLanes::ClearRows(double* rows, Index below, Index& zeroBelow) {
    if (zeroBelow >= below) return;
    std::fill(Row(rows, zeroBelow), Row(rows, below), 0.0);
    zeroBelow = below;
}

// A sum of squares never falls: one that ends within the cap has never been above it.
ResidualLanes::Squares ResidualLanes::SumSquares(double cap) const {
    const auto capped = [&](int lane) {
        if (squares_[Size(lane)] <= cap) return squares_[Size(lane)];
        double sum = 0.0;
        for (Index t = FirstIndex(lane); t < frame_.end && !(sum > cap); ++t) {
            sum += Row(e_, t)[lane] * Row(e_, t)[lane];
        }
        return sum;
    };
    return {capped(First()), capped(Second())};
}

const LaneProducts& ResidualLanes::SumProducts(Index from) {
    if (productsFrom_ != from) {
        BeginProducts(from);
        AddProducts(frame_.end);
    }
    return products_;
}

void ResidualLanes::BeginProducts(Index from) {
    const int last = frame_.parameters - 1;
    products_.gradient.fill(0.0);
    for (std::size_t j = 0; j < Size(last + 2); ++j) products_.matrix[j].fill(0.0);
    products_.minuend = e_ + Lowered(0);
    products_.subtrahend = e_ + Raised(0);
    products_.right = e_ + After();
    products_.lastMinuend = e_ + Lowered(last);
    products_.lastSubtrahend = e_ + Raised(last);
    products_.parameters = frame_.parameters;
    products_.stride = stride_;
    products_.from = productsFrom_ = from;
}

void ResidualLanes::AddProducts(Index end) {
    if (products_.from >= end) return;
    products_.end = end;
    kernels_->products[Size((frame_.parameters - 1) / 2)](products_);
    products_.from = end;
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
