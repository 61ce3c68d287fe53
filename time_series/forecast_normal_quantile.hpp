// time_series/forecast_normal_quantile.hpp: the normal quantile of the forecast limits.
#pragma once

namespace zolv::time_series {

// Source: Abramowitz & Stegun 26.2.23, error below 4.5e-4. Forecast limits are defined by it; it is not the
//         library's normal quantile.
// Oddity: u >= 1 gives 1e35 and u <= 0 gives -1e35, never an infinity. A NaN gives a NaN.
double forecast_normal_quantile(double u);

}  // namespace zolv::time_series
