// unit_root/adf_regression.hpp: the regression of the augmented Dickey-Fuller test as a list of columns.
//
// The first difference of a series on its lagged level, on deterministic terms and on L lagged differences.
// Time runs backwards in every column: entry 0 is the newest row. The columns therefore line up at the top
// although they have different lengths, lag i is the response without its first i entries, and a regression
// uses the first rows() rows of each; the oldest rows of the longer columns are simply not reached.
//
// Layout: level, deterministic columns, lag 1 ... lag L, response. With n observations x:
//     level          x[n-2-k]                k = 0 ... n-2
//     constant       1
//     trend          n - k                   (the oldest row has 2)
//     squared trend  (n - k)^2
//     response       x[n-1-k] - x[n-2-k]
//     lag i          response[i + k]         k = 0 ... n-2-i
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace zolv::unit_root {

// The deterministic terms, as callers number them.
enum : std::int32_t {
    regression_constant = 0,
    regression_trend = 1,
    regression_squared_trend = 2,
    regression_none = 3,
};

struct AdfRegression {
    std::vector<std::vector<double>> columns;
    int first_lag = 0;  // index of lag 1; 0 if there are no lags

    std::size_t regressors() const { return columns.size() - 1; }
    std::vector<double>& response() { return columns.back(); }
    const std::vector<double>& response() const { return columns.back(); }

    // Rows that every regressor has: the length of the last one.
    std::size_t rows() const { return columns[regressors() - 1].size(); }
};

// The number of lags that a request stands for: itself, or Schwert's (1989) rule 12 (n / 100)^(1/4),
// truncated, if it is negative.
std::int32_t ResolveLagRequest(std::int32_t n, std::int32_t lags);

// Whether the regression with this lag request has an answer: at least two observations, one of the four
// regression types, at least one row below the longest lag, and no more regressors than rows.
bool AdfRegressionIsDefined(std::int32_t n, std::int32_t lags, std::int32_t regression);

// The columns for a defined regression. A negative lag request stands for the default.
AdfRegression BuildAdfRegression(const double* series, std::int32_t n, std::int32_t lags,
                                 std::int32_t regression);

}  // namespace zolv::unit_root
