#include "time_series/forecast_normal_quantile.hpp"

#include <cmath>

namespace zolv::time_series {

double forecast_normal_quantile(double u) {
    if (u >= 1.0) return 1e35;
    if (u <= 0.0) return -1e35;
    const double v = u >= 0.5 ? 1.0 - u : u;
    const double t2 = std::log(1.0 / (v * v));
    const double t = std::sqrt(t2);
    const double r =
        (2.515517 + 0.802853 * t + 0.010328 * t2) / (1.0 + 1.432788 * t + 0.189269 * t2 + 0.001308 * t * t2);
    return u > 0.5 ? t - r : -(t - r);
}

}  // namespace zolv::time_series
