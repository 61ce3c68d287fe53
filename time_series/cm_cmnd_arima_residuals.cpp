// time_series/cm_cmnd_arima_residuals.cpp: the residuals of a parameter vector, by a backward pass that
// continues the series in front of its start and a forward pass over both.
//
// Source: Box & Jenkins (1976), 7.1.4 and 7.1.5.
// Order:  each value is one running sum: the AR terms are taken off one by one, then the MA terms added, in
//         the order of the term list.
// Oddity: the constant is subtracted from w before the passes and added back behind them. What the two
//         roundings leave in w stays there, and the next pass starts from it.
#include <algorithm>
#include <cmath>

#include "time_series/cm_cmnd_arima.hpp"

namespace vek::time_series {

namespace {

// Beyond it a recursion has exploded: parameters far outside the stationary or invertible region.
constexpr double overflow_bound = 1.001e18;
constexpr double backcast_end = 0.001;  // a backcast this small ends the backward pass

bool TooLarge(double value) { return std::fabs(value) > overflow_bound; }

}  // namespace

bool CmCmndArima::ShiftWorkingSeries(double by) {
    double* const w = w_.data();
    const Index end = margin + count_;
    for (Index t = 0; t < end; ++t) {
        w[t] += by;
        if (TooLarge(w[t])) return false;
    }
    return true;
}

// Runs from the last value whose successors are all known down into the margin, where the series itself is
// expected to die away. No index leaves the arrays: backcastSpan_ keeps t + lag below margin + count_.
bool CmCmndArima::BackwardPass() {
    double* const w = w_.data();
    double* const a = a_.data();
    backcastDone_ = true;
    backcastExhausted_ = true;
    for (Index t = backcastSpan_ - 1; t >= 0; --t) {
        firstIndex_ = t;
        double v = t < margin ? preSample_ : w[t];
        for (std::size_t i = 0; i < static_cast<std::size_t>(arTerms_.count); ++i) {
            v -= arCoefficient_[i] * w[t + arTerms_.lag[i]];
        }
        for (std::size_t j = 0; j < static_cast<std::size_t>(maTerms_.count); ++j) {
            v += maCoefficient_[j] * a[t + maTerms_.lag[j]];
        }
        if (t >= margin) {
            a[t] = v;
            if (TooLarge(v)) return false;
        } else {
            w[t] = -v;
            if (TooLarge(v)) return false;
            if (std::fabs(v - preSample_) < backcast_end) {
                backcastExhausted_ = false;
                break;
            }
        }
    }
    std::fill_n(e_.begin(), firstIndex_, 0.0);
    std::fill_n(w_.begin(), firstIndex_, preSample_);
    firstIndex_ = std::max(maxLag_, firstIndex_);
    return true;
}

bool CmCmndArima::ForwardPass() {
    const double* const w = w_.data();
    double* const e = e_.data();
    const Index end = margin + count_;
    // A backward pass that overflowed has left firstIndex_ where it stopped, which may be too early.
    for (Index t = std::max(maxLag_, firstIndex_); t < end; ++t) {
        double v = w[t];
        for (std::size_t i = 0; i < static_cast<std::size_t>(arTerms_.count); ++i) {
            v -= arCoefficient_[i] * w[t - arTerms_.lag[i]];
        }
        for (std::size_t j = 0; j < static_cast<std::size_t>(maTerms_.count); ++j) {
            v += maCoefficient_[j] * e[t - maTerms_.lag[j]];
        }
        e[t] = v;
        if (TooLarge(v)) return false;
    }
    return true;
}

bool CmCmndArima::ComputeResiduals(const Parameters& theta) {
    arTerms_.Coefficients(theta.data(), arCoefficient_);
    maTerms_.Coefficients(theta.data(), maCoefficient_);
    const double c = hasConstant_ ? theta[static_cast<std::size_t>(lastParameter_)] : 0.0;
    if (hasConstant_ && !ShiftWorkingSeries(-c)) return false;
    if (!backcastDone_ && !BackwardPass()) return false;
    if (!ForwardPass()) return false;
    return !hasConstant_ || ShiftWorkingSeries(c);
}

bool CmCmndArima::FullPass(const Parameters& theta) {
    backcastDone_ = false;
    passed_ = ComputeResiduals(theta);
    return passed_;
}

// Backcast residuals included.
double CmCmndArima::CappedSumOfSquares() const {
    const double* const e = e_.data();
    double sum = 0.0;
    for (Index t = firstIndex_; t < margin + count_ && !(sum > sum_cap); ++t) sum += e[t] * e[t];
    return sum;
}

// The constant of the difference equation: process mean times both AR polynomials at 1.
double CmCmndArima::ConstantOf(const Parameters& theta) const {
    if (!hasConstant_) return 0.0;
    const auto sum = [&theta](int from, int terms) {
        double total = 0.0;
        for (int i = from; i < from + terms; ++i) total += theta[static_cast<std::size_t>(i)];
        return total;
    };
    return (theta[static_cast<std::size_t>(lastParameter_)] + mean_) * (1.0 - sum(0, orders_.p)) *
           (1.0 - sum(orders_.p, orders_.P));
}

}  // namespace vek::time_series
