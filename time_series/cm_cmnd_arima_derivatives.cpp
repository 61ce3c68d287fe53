// time_series/cm_cmnd_arima_derivatives.cpp: the passes around a point of the search, and the gradient and
// the normal matrix that come from them.
//
// One after another, an iteration makes: the pass that tries a candidate, the pass at it once it is taken,
// two passes for each derivative, and one where theta then stands. A candidate is mostly taken, and by then
// all these points are known: the passes are run in step when it is tried, and entered into the working
// series as the search comes to them. A candidate that is not taken has cost the passes behind its own; after
// one, the next is tried with a pass of its own. Where the lanes decline, everything goes one after another.
// Oddity: theta walks +h, -2h, +h through its derivatives and keeps what the roundings leave.
#include <algorithm>
#include <cmath>

#include "time_series/arima_codes.hpp"
#include "time_series/cm_cmnd_arima.hpp"

namespace vek::time_series {

namespace code = zolv::time_series::code;

namespace {

constexpr double smallest_scale_product = 1e-20;

bool NearZero(double x) { return std::fabs(x) <= 1e-12 * std::fabs(x) + 1e-30; }

// Zero for a NaN too.
double AtLeastZero(double x) { return x > 0.0 ? x : 0.0; }

double StepAt(double parameter) { return 0.02 * parameter; }

}  // namespace

// The sum of squares at candidate_; false when its pass overflows.
bool CmCmndArima::TryCandidate(double& sum) {
    if (lastTryHeld_ && !lastIteration_ && !Converged(candidate_) && RunAhead(candidate_, true)) {
        ahead_ = Ahead::from_trial;
        sum = aheadSum_.first;
        return true;
    }
    return RunAlone(candidate_, sum);
}

void CmCmndArima::RejectCandidate() {
    if (ahead_ == Ahead::from_trial) lanes_.LeaveFirst(w_.data());
    ahead_ = Ahead::nothing;
    lastTryHeld_ = false;
}

// The pass at theta_, which the search has come to, and its sum of squares; false when it overflows.
bool CmCmndArima::Visit(bool derivativesFollow, double& sum) {
    lastTryHeld_ = true;
    if (ahead_ == Ahead::nothing && derivativesFollow && RunAhead(theta_, false)) ahead_ = Ahead::from_visit;
    if (ahead_ != Ahead::nothing) {
        sum = ahead_ == Ahead::from_trial ? aheadSum_.second : aheadSum_.first;
        if (!(sum < exact_fit)) return true;
        // No derivatives after all.
        if (ahead_ == Ahead::from_trial) lanes_.LeaveFirst(w_.data());
        ahead_ = Ahead::nothing;
    }
    return RunAlone(theta_, sum);
}

// A full pass and its sum of squares; false when it overflows. The residuals themselves are left where they
// are made: nobody reads them before the next pass.
bool CmCmndArima::RunAlone(const Parameters& point, double& sum) {
    if (lanes_.RunOnePass(w_.data(), point.data())) {
        lanes_.LeaveAll(w_.data());
        firstIndex_ = lanes_.FirstIndex(lanes_.First());
        backcastDone_ = passed_ = true;
        sum = lanes_.SumSquares(sum_cap).first;
        return true;
    }
    if (!FullPass(point)) return false;
    sum = CappedSumOfSquares();
    return true;
}

bool CmCmndArima::RunAhead(const Parameters& point, bool tried) {
    WalkAround(point);
    lanes_.Begin();
    lanes_.Add(lanes_.First(), point.data());
    if (tried && hasConstant_) lanes_.Add(lanes_.Second(), point.data());
    auto next = around_.begin();
    for (int j = 0; j < ParameterCount(); ++j) {
        lanes_.Add(lanes_.Raised(j), (next++)->data());
        lanes_.Add(lanes_.Lowered(j), (next++)->data());
    }
    lanes_.Add(lanes_.After(), next->data());
    if (!lanes_.RunFullPasses(w_.data())) return false;
    aheadSum_ = lanes_.SumSquares(sum_cap);
    return true;
}

void CmCmndArima::WalkAround(const Parameters& point) {
    Parameters theta = point;
    auto next = around_.begin();
    for (std::size_t j = 0; j < static_cast<std::size_t>(ParameterCount()); ++j) {
        const double h = StepAt(theta[j]);
        theta[j] += h;
        *next++ = theta;
        theta[j] -= 2.0 * h;
        *next++ = theta;
        theta[j] += h;
    }
    *next = theta;
}

// Residuals at theta_j + h and at theta_j - h for each j, and where theta then stands. A time counts once
// every pass has a residual there.
bool CmCmndArima::TakeDerivatives() {
    Index rowStart = 1;
    const auto count_from = [&](Index first) { rowStart = std::max(rowStart, first); };
    if (ahead_ == Ahead::nothing) WalkAround(theta_);
    auto next = around_.begin();
    const auto pass = [&](int lane) {
        if (ahead_ != Ahead::nothing) {
            count_from(lanes_.FirstIndex(lane));
            return true;
        }
        if (!FullPass(*next++)) return false;
        count_from(firstIndex_);
        lanes_.Put(lane, e_.data());
        return true;
    };
    for (int j = 0; j < ParameterCount(); ++j) {
        derivativeStep_[static_cast<std::size_t>(j)] = StepAt(theta_[static_cast<std::size_t>(j)]);
        if (!pass(lanes_.Raised(j)) || !pass(lanes_.Lowered(j))) return false;
    }
    if (!pass(lanes_.After())) return false;
    if (ahead_ != Ahead::nothing) lanes_.LeaveAll(w_.data());
    ahead_ = Ahead::nothing;
    theta_ = around_[2 * static_cast<std::size_t>(ParameterCount())];
    firstIndex_ = rowStart;
    return true;
}

// Gradient and normal matrix, scaled to a unit diagonal; of the matrix the lower triangle is what counts.
// Returns done to go on.
int CmCmndArima::FormNormalEquations() {
    const auto k = static_cast<std::size_t>(ParameterCount());
    const LaneProducts& sums = lanes_.SumProducts(firstIndex_);
    for (std::size_t j = 0; j < k; ++j) {
        const double width = 2.0 * derivativeStep_[j];
        if (NearZero(width)) return code::singular_covariance;
        gradient_[j] = sums.gradient[j] / width;
    }
    for (std::size_t j = 0; j < k; ++j) {
        for (std::size_t i = 0; i <= j; ++i) {
            normal_[j][i] = sums.matrix[j][i] / ((2.0 * derivativeStep_[j]) * (2.0 * derivativeStep_[i]));
        }
        scale_[j] = std::sqrt(AtLeastZero(normal_[j][j]));
    }
    for (std::size_t j = 0; j < k; ++j) {
        for (std::size_t i = 0; i <= j; ++i) {
            const double scales = scale_[j] * scale_[i];
            if (scales < smallest_scale_product) return code::no_better_step;
            normal_[j][i] /= scales;
        }
        gradient_[j] /= scale_[j];
    }
    return code::done;
}

}  // namespace vek::time_series
