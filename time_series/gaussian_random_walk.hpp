// time_series/gaussian_random_walk.hpp: ARIMA(0,1,0) in closed form, with or without drift.
//
// No search, no backcasts, no covariance matrix: IsIterativeFit is 0.
// What is valid when:
//   after Estimate      drift, sigma squared, residuals (sigma squared is NaN before);
//   after MakeForecast  the forecasts, until a call with another origin or count; the standard errors are
//   made
//                       anew by each GetForecastStandardError.
// Owns everything but the series, which is borrowed for life.
#pragma once

#include <vector>

#include "frame/nan.hpp"
#include "time_series/classic_arima.hpp"

namespace zolv::time_series {

class GaussianRandomWalk final : public ClassicArima {
public:
    GaussianRandomWalk(const double* series, int n, bool hasDrift)
        : series_(series), n_(n), hasDrift_(hasDrift ? 1 : 0) {}

    // 0, or series_too_short for fewer than 2 observations (3 with drift).
    int Estimate() override;
    std::vector<double> GetEstimatedParameter() const override;
    double GetSigmaSquared() const override { return sigmaSquared_; }
    // Always 0. An origin that is no observation, below 1 or above n, gives the missing value at every lead.
    int MakeForecast(int origin, int leads) override;
    const std::vector<double>& GetForecast() const override { return forecasts_; }
    const std::vector<double>& GetForecastStandardError() override;
    int GetMaxResidualCount() const override { return n_ - 1; }
    const double* GetResidual() const override { return residuals_.data(); }
    void GetFit(int count, double* out) const override;
    void GetModelSummary(ArimaSummary* out) const override;
    void LjungBoxTest(const int* lags, int count, double** out) const override;
    int IsIterativeFit() const override { return 0; }

    double Drift() const { return drift_; }  // 0 without one

private:
    const double* series_;
    int n_;
    int hasDrift_;
    double drift_ = 0.0;
    double sigmaSquared_ = dru::impl::missing_value;
    std::vector<double> residuals_;
    int origin_ = 0, leads_ = 0;
    std::vector<double> forecasts_, forecastSe_;
};

}  // namespace zolv::time_series
