// time_series/cm_cmnd_arima.cpp: construction, the road of a fit, and what is read from it afterwards.
#include "time_series/cm_cmnd_arima.hpp"

#include <algorithm>
#include <cmath>

#include "time_series/arima_codes.hpp"

namespace vek::time_series {

namespace code = zolv::time_series::code;

namespace {

constexpr double unknown_constant = 1e-4;  // in place of a start at exactly the sample mean
constexpr double smallest_backcast = 0.001;

}  // namespace

CmCmndArima::CmCmndArima(const double* series, int n, const zolv::time_series::ArimaOrders& orders,
                         bool hasConstant, const std::vector<double>* startValues)
    : series_(series),
      n_(series != nullptr ? n : 0),
      orders_(orders),
      hasConstant_(hasConstant),
      hasStartValues_(startValues != nullptr),
      startValues_(startValues) {}

int CmCmndArima::Estimate() {
    if (!orders_.Valid()) return code::orders_out_of_range;
    if (const int failure = PrepareSeries(); failure != code::done) return failure;
    if (const int failure = PrepareParameters(); failure != code::done) return failure;
    const int result = SearchAndConclude();
    lanes_.Release();
    return result;
}

int CmCmndArima::SearchAndConclude() {
    if (hasConstant_ && theta_[static_cast<std::size_t>(lastParameter_)] == 0.0) {
        theta_[static_cast<std::size_t>(lastParameter_)] = unknown_constant;
    }
    const double lambda = lambda_;
    const int result = MarquardtSearch();
    history_.resize(historyRows_);
    if (result == code::recursion_overflow || result == code::singular_covariance) return result;
    lambda_ = lambda;

    sumOfSquares_ = FullPass(theta_) ? CappedSumOfSquares() : 0.0;
    backcastDone_ = true;  // the backcasts of the estimates from here on
    if (!ComputeCovariance()) return code::recursion_overflow;

    double sum = 0.0;
    for (Index t = margin; t < margin + count_; ++t) {
        const double residual = e_[static_cast<std::size_t>(t)];
        sum += residual * residual;
    }
    sumOfSquares_ = sum;
    sigmaSquared_ = sumOfSquares_ / (count_ - ParameterCount());
    if (InvertMatrix(normal_, lastParameter_) < lastParameter_) return code::singular_covariance;
    fitted_ = true;
    return result;
}

std::vector<double> CmCmndArima::GetEstimatedParameter() const {
    std::vector<double> estimates(theta_.begin(), theta_.begin() + ParameterCount());
    if (hasConstant_ && !estimates.empty()) estimates.back() = constant_;
    return estimates;
}

const double* CmCmndArima::GetResidual() const { return e_.empty() ? nullptr : e_.data() + margin; }

void CmCmndArima::GetFit(int count, double* out) const {
    const double* const residual = GetResidual();
    if (residual == nullptr) return;
    const double* const observation = series_ + (n_ - count_);
    for (Index i = 0; i < std::min(count, count_); ++i) out[i] = observation[i] - residual[i];
}

int CmCmndArima::GetMaxBackcastCount() const { return fitted_ ? static_cast<int>(margin - firstIndex_) : 0; }

int CmCmndArima::GetTimeSeriesBackcast(int count, double* out) const {
    const Index used = std::clamp<Index>(count, 0, margin);
    if (used == 0 || w_.empty()) return 0;
    const double* const backcast = w_.data() + (margin - used);
    for (Index i = 0; i < used; ++i) out[i] = hasConstant_ ? backcast[i] + mean_ : backcast[i];
    return std::fabs(backcast[0]) < smallest_backcast ? 1 : 0;
}

void CmCmndArima::GetGaussianNoiseBackcast(int count, double* out) const {
    const Index used = std::clamp<Index>(count, 0, margin);
    if (e_.empty()) return;
    std::copy_n(e_.data() + (margin - used), used, out);
}

}  // namespace vek::time_series
