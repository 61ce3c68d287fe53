// unit_root/adf_statistic.hpp: the t ratio of the level's coefficient from a factored regression.
#pragma once

#include <cstddef>

#include "unit_root/adf_regression.hpp"
#include "unit_root/householder.hpp"

namespace zolv::unit_root {

// observations is the length of the last retained column. If trailing lags were dropped it is more than the
// rows that were factored: the residual sum of squares then takes in rows of the response that no reflection
// has reached. Required. At least one column is retained; NaN if the level is not the first of them.
double AdfStatistic(const AdfRegression& regression, const HouseholderFactors& factors,
                    std::size_t observations);

}  // namespace zolv::unit_root
