// unit_root/adf_regression.cpp: the columns of the augmented Dickey-Fuller regression.
#include "unit_root/adf_regression.hpp"

#include <cmath>
#include <utility>

namespace zolv::unit_root {

namespace {

// Level and deterministic columns. The types 0, 1, 2 have 2, 3, 4 of them; type 3 has the level alone.
std::int32_t ColumnsBeforeLags(std::int32_t regression) {
    return regression == regression_none ? 1 : regression + 2;
}

}  // namespace

std::int32_t ResolveLagRequest(std::int32_t n, std::int32_t lags) {
    if (lags >= 0) return lags;
    return static_cast<std::int32_t>(12.0 * std::pow(n / 100.0, 0.25));  // 816 at most
}

bool AdfRegressionIsDefined(std::int32_t n, std::int32_t lags, std::int32_t regression) {
    if (n < 2) return false;
    if (regression < regression_constant || regression > regression_none) return false;
    const std::int64_t lag_columns = ResolveLagRequest(n, lags);
    const std::int64_t rows = std::int64_t{n} - 1 - lag_columns;
    return rows > 0 && ColumnsBeforeLags(regression) + lag_columns <= rows;
}

AdfRegression BuildAdfRegression(const double* series, std::int32_t n, std::int32_t lags,
                                 std::int32_t regression) {
    const std::int32_t lag_columns = ResolveLagRequest(n, lags);
    const auto length = static_cast<std::size_t>(n) - 1;

    std::vector<double> level(length), response(length), trend(length), squared_trend(length);
    for (std::size_t k = 0; k < length; ++k) {
        const double newer = series[length - k], older = series[length - k - 1];
        level[k] = older;
        response[k] = newer - older;
        trend[k] = static_cast<double>(length + 1 - k);
        squared_trend[k] = trend[k] * trend[k];
    }

    AdfRegression result;
    auto& columns = result.columns;
    columns.push_back(std::move(level));
    if (regression != regression_none) columns.emplace_back(length, 1.0);
    if (regression == regression_trend || regression == regression_squared_trend) {
        columns.push_back(std::move(trend));
    }
    if (regression == regression_squared_trend) columns.push_back(std::move(squared_trend));
    if (lag_columns > 0) result.first_lag = static_cast<int>(columns.size());
    for (std::int32_t i = 1; i <= lag_columns; ++i)
        columns.emplace_back(response.begin() + i, response.end());
    columns.push_back(std::move(response));
    return result;
}

}  // namespace zolv::unit_root
