// tests/time_series/forecast_normal_quantile_test.cpp: the quantile behind the forecast limits.
#include "time_series/forecast_normal_quantile.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "support/bits.hpp"

namespace {

using zolv::time_series::forecast_normal_quantile;
constexpr double infinity = std::numeric_limits<double>::infinity();

TEST(ForecastNormalQuantile, EndsAreFinite) {
    for (const double u : {1.0, std::nextafter(1.0, 2.0), 2.0, 1e300, infinity}) {
        EXPECT_SAME_BITS(forecast_normal_quantile(u), 1e35);
    }
    for (const double u : {0.0, -0.0, -5e-324, -1.0, -infinity}) {
        EXPECT_SAME_BITS(forecast_normal_quantile(u), -1e35);
    }
    EXPECT_TRUE(std::isnan(forecast_normal_quantile(std::nan(""))));
}

TEST(ForecastNormalQuantile, AbramowitzStegun) {
    // Quantiles to ten digits from any table of the normal distribution; the approximation is good to 4.5e-4.
    const double table[][2] = {{0.5, 0.0},           {0.6, 0.2533471031},   {0.75, 0.6744897502},
                               {0.9, 1.281551566},   {0.95, 1.644853627},   {0.975, 1.959963985},
                               {0.995, 2.575829304}, {0.9995, 3.290526731}, {0.999999, 4.753424309}};
    double worst = 0.0;
    for (const auto& [u, z] : table) {
        worst = std::max(worst, std::abs(forecast_normal_quantile(u) - z));
        EXPECT_NEAR(forecast_normal_quantile(u), z, 4.5e-4);
        EXPECT_NEAR(forecast_normal_quantile(1.0 - u), -z, 4.5e-4);
    }
    std::printf("worst error %.3g\n", worst);
    EXPECT_GT(worst, 1e-5);  // it is not the exact quantile
}

TEST(ForecastNormalQuantile, EachHalf) {
    const auto size = [](double v) {  // t - r for a tail of v
        const double t2 = std::log(1.0 / (v * v));
        const double t = std::sqrt(t2);
        return t - ((2.515517 + 0.802853 * t) + 0.010328 * t2) /
                       (((1.0 + 1.432788 * t) + 0.189269 * t2) + (0.001308 * t) * t2);
    };
    for (const double u : {0.25, 0.03, 1e-9, 5.5e-17, std::nextafter(0.5, 0.0)}) {
        EXPECT_SAME_BITS(forecast_normal_quantile(u), -size(u));
    }
    for (const double u : {0.75, 0.975, std::nextafter(0.5, 1.0), std::nextafter(1.0, 0.0)}) {
        EXPECT_SAME_BITS(forecast_normal_quantile(u), size(1.0 - u));
    }
    // The middle belongs to the lower half's sign: u > 0.5 is asked.
    EXPECT_SAME_BITS(forecast_normal_quantile(0.5), -size(0.5));
    EXPECT_NE(forecast_normal_quantile(0.5), 0.0);
}

}  // namespace
