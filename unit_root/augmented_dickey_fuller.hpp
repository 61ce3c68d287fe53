// unit_root/augmented_dickey_fuller.hpp: the unit-root test over checked arguments.
#pragma once

#include <cstdint>

#include "zolv.h"

namespace zolv::unit_root {

// The lag rules, as callers number them. Any other number: the lag as given.
enum : std::int32_t {
    lag_method_aic = 0,
    lag_method_bic = 1,
    lag_method_t_ratio = 2,
};

// Fills the record, or only sets the statistic to the missing value if the test is not defined.
void AugmentedDickeyFuller(const double* series, std::int32_t n, std::int32_t lags, std::int32_t lag_method,
                           std::int32_t regression, double significance, zolv_UnitRootTest& result);

}  // namespace zolv::unit_root
