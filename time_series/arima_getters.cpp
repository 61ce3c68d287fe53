// time_series/arima_getters.cpp: what a caller reads from a handle.
//
// One rule for all: a null handle answers 0 or the missing value and touches nothing, a negative count is 0,
// and no more is copied than there is.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "frame/nan.hpp"
#include "time_series/arima_codes.hpp"
#include "time_series/arima_handle.hpp"
#include "time_series/forecast_normal_quantile.hpp"

namespace {

using namespace zolv::time_series;
using dru::impl::missing_value;

// The first `count` of what is at `values`, or as many as there are.
void Copy(const double* values, std::size_t available, int count, double* out) {
    if (out == nullptr) return;
    const std::size_t wanted = static_cast<std::size_t>(std::max(count, 0));
    std::copy_n(values, std::min(available, wanted), out);
}

double OrMissing(double value) { return dru::impl::is_nan(value) ? missing_value : value; }

}  // namespace

extern "C" {

void zolv_GetEstimatedParameter(zolv_ArimaHandle handle, int count, double* out) {
    const ClassicArima* const model = ModelOf(handle);
    if (model == nullptr) return;
    const std::vector<double> estimates = model->GetEstimatedParameter();
    Copy(estimates.data(), estimates.size(), count, out);
}

double zolv_GetSigmaSquared(zolv_ArimaHandle handle) {
    const ClassicArima* const model = ModelOf(handle);
    return model != nullptr ? model->GetSigmaSquared() : missing_value;
}

int zolv_GetForecast(zolv_ArimaHandle handle, int origin, int count, double* out) {
    ClassicArima* const model = ModelOf(handle);
    if (model == nullptr) return 0;
    if (const int failure = model->MakeForecast(origin, std::max(count, 0)); failure != code::done)
        return failure;
    const std::vector<double>& forecasts = model->GetForecast();
    Copy(forecasts.data(), forecasts.size(), count, out);
    return 0;
}

int zolv_GetForecastStandardError(zolv_ArimaHandle handle, int origin, int count, double* out) {
    ClassicArima* const model = ModelOf(handle);
    if (model == nullptr) return 0;
    if (const int failure = model->MakeForecast(origin, std::max(count, 0)); failure != code::done)
        return failure;
    const std::vector<double>& errors = model->GetForecastStandardError();
    Copy(errors.data(), errors.size(), count, out);
    return 0;
}

int zolv_GetForecastLimit(zolv_ArimaHandle handle, double confidence, int origin, int count, double* lower,
                          double* upper) {
    ClassicArima* const model = ModelOf(handle);
    if (model == nullptr) return 0;
    if (const int failure = model->MakeForecast(origin, std::max(count, 0)); failure != code::done)
        return failure;
    const double z = forecast_normal_quantile((confidence + 1.0) * 0.5);
    const std::vector<double>& errors = model->GetForecastStandardError();
    const std::vector<double>& forecasts = model->GetForecast();
    for (std::size_t i = 0; i < forecasts.size(); ++i) {
        if (lower != nullptr) lower[i] = OrMissing(forecasts[i] - errors[i] * z);
        if (upper != nullptr) upper[i] = OrMissing(forecasts[i] + errors[i] * z);
    }
    return 0;
}

int zolv_GetMaxResidualCount(zolv_ArimaHandle handle) {
    const ClassicArima* const model = ModelOf(handle);
    return model != nullptr ? model->GetMaxResidualCount() : 0;
}

void zolv_GetResidual(zolv_ArimaHandle handle, int count, double* out) {
    const ClassicArima* const model = ModelOf(handle);
    if (model == nullptr) return;
    Copy(model->GetResidual(), static_cast<std::size_t>(model->GetMaxResidualCount()), count, out);
}

void zolv_GetFit(zolv_ArimaHandle handle, int count, double* out) {
    const ClassicArima* const model = ModelOf(handle);
    if (model != nullptr && out != nullptr) model->GetFit(std::max(count, 0), out);
}

void zolv_GetParameterTable(zolv_ArimaHandle handle, zolv_ParameterTable* table) {
    const auto* const model = IterativeModelOf(handle);
    if (model != nullptr && table != nullptr) vek::time_series::FillParameterTable(*model, *table);
}

void zolv_GetParameterCorrelationMatrix(zolv_ArimaHandle handle, double* out) {
    const auto* const model = IterativeModelOf(handle);
    if (model != nullptr && out != nullptr) vek::time_series::FillCorrelationMatrix(*model, out);
}

void zolv_GetModelSummary(zolv_ArimaHandle handle, ArimaSummary* out) {
    const ClassicArima* const model = ModelOf(handle);
    if (model != nullptr && out != nullptr) model->GetModelSummary(out);
}

void zolv_QorLjungBoxTest(zolv_ArimaHandle handle, double** out) {
    static constexpr int lags[] = {12, 24, 36, 48};
    const ClassicArima* const model = ModelOf(handle);
    if (model != nullptr && out != nullptr) model->LjungBoxTest(lags, 4, out);
}

int zolv_GetMaxBackcastCount(zolv_ArimaHandle handle) {
    const auto* const model = IterativeModelOf(handle);
    return model != nullptr ? model->GetMaxBackcastCount() : 0;
}

int zolv_GetTimeSeriesBackcast(zolv_ArimaHandle handle, int count, double* out) {
    const auto* const model = IterativeModelOf(handle);
    return model != nullptr && out != nullptr ? model->GetTimeSeriesBackcast(count, out) : 0;
}

void zolv_GetGaussianNoiseBackcast(zolv_ArimaHandle handle, int count, double* out) {
    const auto* const model = IterativeModelOf(handle);
    if (model != nullptr && out != nullptr) model->GetGaussianNoiseBackcast(count, out);
}

uint32_t zolv_GetIterationHistoryCount(zolv_ArimaHandle handle, uint32_t* rowLength) {
    const auto* const model = IterativeModelOf(handle);
    const bool any = model != nullptr && !model->History().empty();
    if (rowLength != nullptr) *rowLength = any ? static_cast<uint32_t>(model->History().front().size()) : 0;
    return any ? static_cast<uint32_t>(model->History().size()) : 0;
}

void zolv_GetIterationHistory(zolv_ArimaHandle handle, double** rows) {
    const auto* const model = IterativeModelOf(handle);
    if (model == nullptr || rows == nullptr) return;
    for (std::size_t i = 0; i < model->History().size(); ++i) {
        const std::vector<double>& row = model->History()[i];
        if (rows[i] != nullptr) std::copy(row.begin(), row.end(), rows[i]);
    }
}

}  // extern "C"
