#include "time_series/gaussian_random_walk.hpp"

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "time_series/arima_codes.hpp"
#include "time_series/information_criteria.hpp"
#include "time_series/ljung_box.hpp"
#include "time_series/running_mean.hpp"
#include "zolv.h"

namespace zolv::time_series {

int GaussianRandomWalk::Estimate() {
    if (n_ < (hasDrift_ != 0 ? 3 : 2)) return code::series_too_short;
    const std::size_t count = static_cast<std::size_t>(n_) - 1;
    residuals_.resize(count);
    for (std::size_t i = 0; i < count; ++i) residuals_[i] = series_[i + 1] - series_[i];
    if (hasDrift_ != 0) {
        drift_ = RunningMean(count, [&](std::size_t i) { return residuals_[i]; });
        for (double& residual : residuals_) residual -= drift_;
    }
    sigmaSquared_ = RunningMean(count, [&](std::size_t i) { return residuals_[i] * residuals_[i]; });
    if (hasDrift_ != 0) {
        sigmaSquared_ = sigmaSquared_ * static_cast<double>(n_ - 1) / static_cast<double>(n_ - 2);
    }
    return code::done;
}

std::vector<double> GaussianRandomWalk::GetEstimatedParameter() const {
    return hasDrift_ != 0 ? std::vector<double>{drift_} : std::vector<double>{};
}

int GaussianRandomWalk::MakeForecast(int origin, int leads) {
    leads = std::max(leads, 0);
    if (origin == origin_ && leads == leads_) return code::done;
    const bool observed = origin >= 1 && origin <= n_;
    const double level = observed ? series_[origin - 1] : dru::impl::missing_value;
    std::vector<double> forecasts(static_cast<std::size_t>(leads), level);
    if (hasDrift_ != 0 && observed) {
        for (std::size_t i = 0; i < forecasts.size(); ++i)
            forecasts[i] += static_cast<double>(i + 1) * drift_;
    }
    // The request is stored last: a failed allocation leaves the forecasts of the one before it.
    forecasts_.swap(forecasts);
    forecastSe_.clear();
    origin_ = origin;
    leads_ = leads;
    return code::done;
}

const std::vector<double>& GaussianRandomWalk::GetForecastStandardError() {
    forecastSe_.resize(static_cast<std::size_t>(leads_));
    for (std::size_t i = 0; i < forecastSe_.size(); ++i) {
        forecastSe_[i] = std::sqrt(static_cast<double>(i + 1) * sigmaSquared_);
    }
    return forecastSe_;
}

void GaussianRandomWalk::GetFit(int count, double* out) const {
    const std::size_t wanted = static_cast<std::size_t>(std::max(count, 0));
    for (std::size_t i = 0; i < std::min(wanted, residuals_.size()); ++i)
        out[i] = series_[i + 1] - residuals_[i];
}

// Oddity: the sum of squares is rebuilt from the degrees of freedom, not the sum that Estimate took.
void GaussianRandomWalk::GetModelSummary(ArimaSummary* out) const {
    double variance = sigmaSquared_;
    double drift = drift_;  // only its address counts
    zolv_ArimaModel model{};
    model.Differencing = 1;
    model.Constant = hasDrift_ != 0 ? &drift : nullptr;
    model.Parameters = &variance;
    const double L = -2.0 * zolv_ArimaLogLikelihood(series_, n_, &model);
    const double x = n_ - 1;
    const double m = hasDrift_ != 0 ? 2.0 : 1.0;
    const InformationCriteria criteria = ComputeCriteria(m, x, L);
    out->DegreesOfFreedom = x - m;
    out->SumOfSquares = sigmaSquared_ * (x - m);
    out->SigmaSquared = sigmaSquared_;
    out->MeanSquare = out->SumOfSquares / x;
    out->Aicc = criteria.aicc;
    out->Aic = criteria.aic;
    out->Bic = criteria.bic;
}

void GaussianRandomWalk::LjungBoxTest(const int* lags, int count, double** out) const {
    LjungBoxTable(residuals_.data(), n_ - 1, hasDrift_ != 0 ? 1 : 0, lags, count, out);
}

}  // namespace zolv::time_series
