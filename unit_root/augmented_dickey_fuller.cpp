// unit_root/augmented_dickey_fuller.cpp: the augmented Dickey-Fuller test.
//
// Source: Dickey & Fuller, JASA 74 (1979); Said & Dickey, Biometrika 71 (1984).
#include "unit_root/augmented_dickey_fuller.hpp"

#include <algorithm>

#include "frame/nan.hpp"
#include "unit_root/adf_regression.hpp"
#include "unit_root/adf_statistic.hpp"
#include "unit_root/householder.hpp"
#include "unit_root/lag_selection.hpp"
#include "unit_root/mackinnon.hpp"

namespace zolv::unit_root {

namespace {

std::int32_t ResolveLag(const double* series, std::int32_t n, std::int32_t lags, std::int32_t lag_method,
                        std::int32_t regression, double significance) {
    switch (lag_method) {
        case lag_method_aic:
            return SelectLagByCriterion(series, n, regression, lags, LagPenalty::aic);
        case lag_method_bic:
            return SelectLagByCriterion(series, n, regression, lags, LagPenalty::bic);
        case lag_method_t_ratio:
            return SelectLagBySignificance(series, n, regression, lags, significance);
        default:
            return lags;
    }
}

}  // namespace

void AugmentedDickeyFuller(const double* series, std::int32_t n, std::int32_t lags, std::int32_t lag_method,
                           std::int32_t regression, double significance, zolv_UnitRootTest& result) {
    const auto undefined = [&result] { result.statistic = dru::impl::missing_value; };
    if (series == nullptr || !AdfRegressionIsDefined(n, lags, regression)) return undefined();

    const std::int32_t lag = ResolveLag(series, n, lags, lag_method, regression, significance);
    if (!AdfRegressionIsDefined(n, lag, regression)) return undefined();  // a negative lag is the default

    AdfRegression design = BuildAdfRegression(series, n, lag, regression);
    const HouseholderFactors factors = HouseholderColumns(design);
    if (factors.retained.empty()) return undefined();

    const std::size_t last = factors.retained.back();
    const std::size_t observations = std::min(design.columns[last].size(), static_cast<std::size_t>(n) - 1);
    const int last_column = static_cast<int>(last);
    const double statistic = AdfStatistic(design, factors, observations);  // the last that may throw
    result.sampleSize = static_cast<std::int32_t>(observations);
    result.lagCount =
        design.first_lag == 0 || last_column < design.first_lag ? 0 : last_column - design.first_lag + 1;
    result.statistic = statistic;

    // A NaN among the oldest observations only spoils lag columns, which are then dropped; but a series
    // with a hole in it has no statistic.
    const bool complete = std::all_of(series, series + n, dru::impl::is_finite);
    if (!complete || dru::impl::is_nan(result.statistic)) result.statistic = dru::impl::missing_value;

    AdfCriticalValues(regression, result);
}

}  // namespace zolv::unit_root

extern "C" int zolv_AugmentedDickeyFuller(const double* series, int count, int lags, int lagMethod,
                                          int regression, double significance, zolv_UnitRootTest* out) {
    if (out != nullptr) {
        zolv::unit_root::AugmentedDickeyFuller(series, count, lags, lagMethod, regression, significance,
                                               *out);
    }
    return zolv_code_done;
}
