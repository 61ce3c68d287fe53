// time_series/classic_arima.hpp: what the handle interface asks of a model, iterative or closed-form.
//
// The operations stand in the order of the table of virtual functions. A model borrows the caller's series
// for as long as it lives and owns everything else; one model serves one thread at a time, because forecasts
// rewrite its buffers.
#pragma once

#include <vector>

#include "zolv.h"

namespace zolv::time_series {

class ClassicArima {
public:
    ClassicArima() = default;
    ClassicArima(const ClassicArima&) = delete;
    ClassicArima& operator=(const ClassicArima&) = delete;

    virtual ~ClassicArima() = default;

    // Fits. Returns a result code (arima_codes.hpp); below 30000 everything that follows may be called.
    virtual int Estimate() = 0;

    // The estimates in fit order: AR, seasonal AR, MA, seasonal MA, constant.
    virtual std::vector<double> GetEstimatedParameter() const = 0;
    virtual double GetSigmaSquared() const = 0;

    // Forecasts and their weights for `leads` values behind series[origin - 1]; a negative count is 0.
    // Returns a result code. Invalidates what the two functions below returned before.
    virtual int MakeForecast(int origin, int leads) = 0;
    virtual const std::vector<double>& GetForecast() const = 0;
    virtual const std::vector<double>& GetForecastStandardError() = 0;

    virtual int GetMaxResidualCount() const = 0;
    // The first of GetMaxResidualCount() residuals; valid until the next Estimate.
    virtual const double* GetResidual() const = 0;
    // out[i] = observation less residual, for the first min(count, GetMaxResidualCount()) residuals.
    virtual void GetFit(int count, double* out) const = 0;

    virtual void GetModelSummary(ArimaSummary* out) const = 0;
    // out[i]: {statistic, degrees of freedom, p value} for ascending lags[i]; rows without a test stay as
    // they are.
    virtual void LjungBoxTest(const int* lags, int count, double** out) const = 0;

    // 1 for a model that has a search, backcasts and a covariance matrix to show, else 0.
    virtual int IsIterativeFit() const = 0;
};

}  // namespace zolv::time_series
