// unit_root/lag_selection.hpp: how many lagged differences the augmented Dickey-Fuller regression needs.
//
// The longest regression is factored once. A reflection is its own inverse, so that applying the last
// retained column's reflector to the response a second time takes the column out of the regression: each
// shorter candidate costs one reflection and one sum of squares. All candidates are compared on the rows of
// the longest one.
#pragma once

#include <cstdint>

namespace zolv::unit_root {

enum class LagPenalty { aic, bic };

// The lag with the least criterion; the larger lag on a tie. lags is the maximum, negative for the default.
// Both selectors ask for a regression that is defined with the maximum, and can return a negative lag if the
// level or a deterministic column was dependent: BuildAdfRegression reads it as a request for the default.
std::int32_t SelectLagByCriterion(const double* series, std::int32_t n, std::int32_t regression,
                                  std::int32_t lags, LagPenalty penalty);

// Backward elimination: the largest lag whose t ratio is significant, two-sided, when it is the last one in;
// 0 if none is. significance outside (0, 1) counts as 0.05.
std::int32_t SelectLagBySignificance(const double* series, std::int32_t n, std::int32_t regression,
                                     std::int32_t lags, double significance);

}  // namespace zolv::unit_root
