// Forecasts and their standard errors: difference equations written out, closed forms, every refusal.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

#include "support/bits.hpp"
#include "support/reference_table.hpp"
#include "time_series/arima_codes.hpp"
#include "time_series/cm_cmnd_arima_probe.hpp"
#include "time_series/simulated.hpp"

namespace {

namespace code = zolv::time_series::code;
using vek::time_series::CmCmndArima;
using vek::time_series::CmCmndArimaProbe;
using zolv::time_series::ArimaOrders;
using zolv_test::within_relative;

constexpr int huge = 2147483647;

// A fitted model with the series it looks at.
struct Fitted {
    std::vector<double> z;
    int n;
    CmCmndArima model;
    int code;
    CmCmndArimaProbe probe{model};
    Fitted(std::vector<double> series, const ArimaOrders& orders, bool constant = false)
        : z(std::move(series)),
          n(static_cast<int>(z.size())),
          model(z.data(), n, orders, constant, nullptr),
          code(model.Estimate()) {
        EXPECT_LT(code, 30000);
    }
    double Residual(int t) const {
        return probe.E(100 + t);
    }  // of the differenced series, also in front of it
};

std::vector<double> walk(int n, std::uint64_t seed) {
    std::vector<double> z = zolv_test::arma_series(n, 0, 0, 0.4, seed);
    for (std::size_t i = 1; i < z.size(); ++i) z[i] += z[i - 1];
    for (double& v : z) v += 50;
    return z;
}

std::vector<double> seasonal_walk(int n, std::uint64_t seed, int period) {
    std::vector<double> z = walk(n, seed);
    for (std::size_t i = 0; i < z.size(); ++i) {
        z[i] += 3.0 * std::sin(6.283185307179586 * static_cast<double>(i) / period);
    }
    return z;
}

// ---- closed forms --------------------------------------------------------------------------------------

TEST(Forecast, ExponentialSmoothingIsFlatAndItsVarianceGrowsEvenly) {
    Fitted f(walk(120, 1), {0, 1, 1, 0, 0, 0, 0});
    ASSERT_EQ(f.model.MakeForecast(120, 30), 0);
    const std::vector<double> forecast = f.model.GetForecast(), se = f.model.GetForecastStandardError();
    ASSERT_EQ(forecast.size(), 30u);
    ASSERT_EQ(se.size(), 30u);
    const double theta = f.model.Theta(0), sigma2 = f.model.GetSigmaSquared();
    EXPECT_TRUE(within_relative(forecast[0], f.z[119] - theta * f.Residual(118), 1e-14));
    EXPECT_SAME_BITS(se[0], std::sqrt(sigma2));
    for (std::size_t l = 0; l < 30; ++l) {
        EXPECT_SAME_BITS(forecast[l], forecast[0]);
        const double variance = sigma2 * (1 + static_cast<double>(l) * (1 - theta) * (1 - theta));
        EXPECT_TRUE(within_relative(se[l], std::sqrt(variance), 1e-13)) << l;
    }
}

TEST(Forecast, AnAutoregressionFallsBackToItsMean) {
    Fitted f(zolv_test::arma_series(150, 20, 0.7, 0, 2), {1, 0, 0, 0, 0, 0, 0}, true);
    ASSERT_EQ(f.model.MakeForecast(150, 40), 0);
    const double mean = f.model.Theta(1) + f.model.Mean(), phi = f.model.Theta(0);
    const std::vector<double> se = f.model.GetForecastStandardError();
    double power = 1.0, sum = 0.0;
    for (std::size_t l = 0; l < 40; ++l) {
        sum += power * power;
        power *= phi;
        EXPECT_TRUE(within_relative(f.model.GetForecast()[l], mean + power * (f.z[149] - mean), 1e-13)) << l;
        EXPECT_TRUE(within_relative(se[l], std::sqrt(f.model.GetSigmaSquared() * sum), 1e-13)) << l;
    }
}

// z_t = z_{t-1} + z_{t-12} - z_{t-13} + a_t - q a_{t-1} - Q a_{t-12} + q Q a_{t-13}, written out.
TEST(Forecast, TheAirlineModelFollowsItsDifferenceEquation) {
    std::vector<double> passengers = zolv_test::load_series("airline_passengers");
    for (double& v : passengers) v = std::log(v);
    Fitted f(passengers, {0, 1, 1, 0, 1, 1, 12});
    for (const int origin : {144, 132, 101}) {
        ASSERT_EQ(f.model.MakeForecast(origin, 24), 0);
        std::vector<double> z(f.z.begin(), f.z.begin() + origin);
        const double q = f.model.Theta(0), Q = f.model.Theta(1);
        const auto a = [&](int t) { return t < origin ? f.Residual(t - 13) : 0.0; };
        const auto past = [&z](int t) { return z[static_cast<std::size_t>(t)]; };
        for (int l = 0; l < 24; ++l) {
            const int t = origin + l;
            z.push_back(past(t - 1) + past(t - 12) - past(t - 13) - q * a(t - 1) - Q * a(t - 12) +
                        q * Q * a(t - 13));
            EXPECT_TRUE(within_relative(f.model.GetForecast()[static_cast<std::size_t>(l)], z.back(), 1e-13));
        }
    }
}

TEST(Forecast, AConstantOfDifferencesIsADrift) {
    std::vector<double> z = walk(150, 3);
    for (std::size_t i = 0; i < z.size(); ++i) z[i] += 0.5 * static_cast<double>(i);
    Fitted f(z, {0, 1, 1, 0, 0, 0, 0}, true);
    ASSERT_EQ(f.model.MakeForecast(150, 5), 0);
    const std::vector<double>& forecast = f.model.GetForecast();
    for (std::size_t l = 1; l < 5; ++l) {
        EXPECT_TRUE(within_relative(forecast[l] - forecast[l - 1], f.model.Constant(), 1e-11));
    }
}

TEST(Forecast, PsiWeightsAreTheQuotientOfThePolynomials) {
    Fitted f(seasonal_walk(160, 4, 4), {1, 1, 1, 1, 0, 1, 4});
    ASSERT_EQ(f.model.MakeForecast(160, 30), 0);
    const double ar = f.model.Theta(0), sar = f.model.Theta(1), ma = f.model.Theta(2), sma = f.model.Theta(3);
    // (1 - ar B)(1 - sar B^4)(1 - B) psi = (1 - ma B)(1 - sma B^4), factor by factor.
    std::vector<double> left(32, 0.0), right(32, 0.0);
    left[0] = right[0] = 1.0;
    const auto times = [](std::vector<double>& p, double c, std::size_t lag) {
        for (std::size_t i = p.size(); i-- > lag;) p[i] -= c * p[i - lag];
    };
    times(left, ar, 1), times(left, sar, 4), times(left, 1.0, 1);
    times(right, ma, 1), times(right, sma, 4);
    std::vector<double> psi(31, 0.0);
    for (std::size_t i = 0; i < 31; ++i) {
        psi[i] = right[i];
        for (std::size_t j = 1; j <= i; ++j) psi[i] -= left[j] * psi[i - j];
        EXPECT_NEAR(f.probe.Psi()[i], psi[i], 1e-12) << i;
    }
    EXPECT_EQ(f.probe.Degree(), 6);
    for (std::size_t i = 1; i < 32; ++i) EXPECT_NEAR(f.probe.PolyAr()[i], -left[i], 1e-15) << i;
    for (std::size_t i = 1; i < 32; ++i) EXPECT_NEAR(f.probe.PolyMa()[i - 1], -right[i], 1e-15) << i;
    EXPECT_SAME_BITS(f.probe.PolyAr()[0], -1.0);
}

TEST(Forecast, TermsOfEqualLagAdd) {
    Fitted f(walk(100, 5), {0, 1, 1, 0, 0, 1, 1});
    ASSERT_EQ(f.model.MakeForecast(100, 3), 0);
    const double regular = f.model.Theta(0), seasonal = f.model.Theta(1);
    EXPECT_SAME_BITS(f.probe.PolyMa()[0], 0.0 + regular + seasonal);
    EXPECT_SAME_BITS(f.probe.PolyMa()[1], -regular * seasonal);
}

// ---- refusals ------------------------------------------------------------------------------------------

TEST(Forecast, TheOriginMustBePastTheLongestAutoregression) {
    Fitted f(seasonal_walk(120, 6, 12), {1, 1, 0, 1, 1, 0, 12});  // bound: 24 + 1 + 1 + 1 = 27
    EXPECT_EQ(f.model.MakeForecast(27, 3), code::origin_too_early);
    EXPECT_EQ(f.model.MakeForecast(28, 3), 0);
    EXPECT_EQ(f.model.MakeForecast(120, 3), 0);
    EXPECT_EQ(f.model.MakeForecast(121, 3), code::origin_too_early);  // nothing is known there
    EXPECT_EQ(f.model.MakeForecast(huge, 3), code::origin_too_early);
    EXPECT_EQ(f.model.MakeForecast(0, 3), code::origin_too_early);
    EXPECT_EQ(f.model.MakeForecast(-huge - 1, 3), code::origin_too_early);
}

TEST(Forecast, ARefusedRequestRepeatedIsDoneWithNothingToShow) {
    Fitted f(walk(80, 7), {0, 1, 1, 0, 0, 0, 0});
    ASSERT_EQ(f.model.MakeForecast(80, 4), 0);
    ASSERT_EQ(f.model.MakeForecast(2, 6), code::origin_too_early);
    ASSERT_EQ(f.model.MakeForecast(2, 6), 0);
    ASSERT_EQ(f.model.GetForecast().size(), 6u);
    for (const double v : f.model.GetForecast()) EXPECT_MISSING(v);
    ASSERT_EQ(f.model.GetForecastStandardError().size(), 6u);
    for (const double v : f.model.GetForecastStandardError()) EXPECT_MISSING(v);
    // A refusal with as many leads as the good request before it shows nothing of that one.
    ASSERT_EQ(f.model.MakeForecast(80, 4), 0);
    ASSERT_EQ(f.model.MakeForecast(2, 4), code::origin_too_early);
    ASSERT_EQ(f.model.MakeForecast(2, 4), 0);
    for (const double v : f.model.GetForecast()) EXPECT_MISSING(v);
    for (const double v : f.model.GetForecastStandardError()) EXPECT_MISSING(v);
    ASSERT_EQ(f.model.MakeForecast(80, 4), 0);
    for (const double v : f.model.GetForecast()) EXPECT_TRUE(std::isfinite(v));
    for (const double v : f.model.GetForecastStandardError()) EXPECT_TRUE(std::isfinite(v));
}

TEST(Forecast, ThePolynomialHolds151Terms) {
    const std::vector<double> z = zolv_test::load_series("co2_mauna_loa");
    Fitted fits(z, {0, 0, 1, 0, 1, 0, 150}, true);
    EXPECT_EQ(fits.model.MakeForecast(468, 12), 0);
    EXPECT_EQ(fits.probe.Degree(), 150);
    EXPECT_SAME_BITS(fits.probe.PolyAr()[150], 1.0);
    Fitted long_period(z, {0, 0, 1, 0, 1, 0, 151}, true);
    for (int repeat = 0; repeat < 2; ++repeat) {  // not remembered: refused each time
        EXPECT_EQ(long_period.model.MakeForecast(468, 12), code::polynomial_too_long);
        EXPECT_TRUE(long_period.model.GetForecast().empty());
        EXPECT_TRUE(long_period.model.GetForecastStandardError().empty());
    }
    Fitted with_ar(z, {2, 1, 0, 0, 1, 0, 147}, true);  // 147 + 1 + 2 + 1 = 151
    EXPECT_EQ(with_ar.model.MakeForecast(468, 12), 0);
    Fitted one_more(z, {2, 1, 0, 0, 1, 0, 148}, true);
    EXPECT_EQ(one_more.model.MakeForecast(468, 12), code::polynomial_too_long);
    Fitted seasonal(z, {0, 0, 1, 0, 2, 0, 75}, true);  // a double seasonal difference of 75
    EXPECT_EQ(seasonal.model.MakeForecast(468, 12), 0);
    EXPECT_SAME_BITS(seasonal.probe.PolyAr()[75], 2.0);
    EXPECT_SAME_BITS(seasonal.probe.PolyAr()[150], -1.0);
}

// ---- requests ------------------------------------------------------------------------------------------

TEST(Forecast, NoLeadsMeanNoForecast) {
    Fitted f(walk(80, 8), {0, 1, 1, 0, 0, 0, 0});
    EXPECT_EQ(f.model.MakeForecast(80, 0), 0);
    EXPECT_TRUE(f.model.GetForecast().empty());
    EXPECT_TRUE(f.model.GetForecastStandardError().empty());
    EXPECT_EQ(f.model.MakeForecast(80, -3), 0);
    EXPECT_TRUE(f.model.GetForecast().empty());
    EXPECT_EQ(f.model.MakeForecast(80, -huge - 1), 0);
    EXPECT_EQ(f.model.MakeForecast(2, 0), code::origin_too_early);
}

TEST(Forecast, ARepeatedRequestKeepsItsVectors) {
    Fitted f(walk(80, 9), {0, 1, 1, 0, 0, 0, 0});
    ASSERT_EQ(f.model.MakeForecast(80, 5), 0);
    const std::vector<double> first = f.model.GetForecast(), errors = f.model.GetForecastStandardError();
    f.z[79] += 1000;  // a request that computed anything would see it
    ASSERT_EQ(f.model.MakeForecast(80, 5), 0);
    EXPECT_EQ(f.model.GetForecast(), first);
    EXPECT_EQ(f.model.GetForecastStandardError(), errors);
    ASSERT_EQ(f.model.MakeForecast(80, 6), 0);
    EXPECT_NEAR(f.model.GetForecast()[0], first[0] + 1000, 1e-9);
}

TEST(Forecast, FewerLeadsAreTheStartOfMore) {
    Fitted f(seasonal_walk(120, 10, 12), {1, 1, 1, 0, 1, 1, 12});
    ASSERT_EQ(f.model.MakeForecast(110, 40), 0);
    const std::vector<double> more = f.model.GetForecast(), more_errors = f.model.GetForecastStandardError();
    ASSERT_EQ(f.model.MakeForecast(110, 7), 0);
    for (std::size_t l = 0; l < 7; ++l) {
        EXPECT_SAME_BITS(f.model.GetForecast()[l], more[l]);
        EXPECT_SAME_BITS(f.model.GetForecastStandardError()[l], more_errors[l]);
    }
}

TEST(Forecast, LeadsPastTheTablesGoOn) {
    Fitted f(zolv_test::arma_series(150, 20, 0.9, 0.5, 11), {1, 0, 1, 0, 0, 0, 0}, true);
    ASSERT_EQ(f.model.MakeForecast(150, 1000), 0);
    const std::vector<double>& forecast = f.model.GetForecast();
    const std::vector<double>& se = f.model.GetForecastStandardError();
    ASSERT_EQ(forecast.size(), 1000u);
    const double phi = f.model.Theta(0), theta = f.model.Theta(1), mean = f.model.Theta(2) + f.model.Mean();
    for (std::size_t l = 1; l < 1000; ++l) {
        EXPECT_TRUE(within_relative(forecast[l] - mean, phi * (forecast[l - 1] - mean), 1e-6) ||
                    std::fabs(forecast[l] - mean) < 1e-7);
        EXPECT_GE(se[l], se[l - 1]);
    }
    const double variance = f.model.GetSigmaSquared() * (1 + (phi - theta) * (phi - theta) / (1 - phi * phi));
    EXPECT_TRUE(within_relative(se[999], std::sqrt(variance), 1e-12));
}

// Degree 140 + 3 from the earliest origin: lags reach 38 places in front of the residuals, where no MA term
// does.
TEST(Forecast, LongDifferencesReachInFrontOfTheResiduals) {
    const std::vector<double> z = zolv_test::arma_series(500, 20, 0.8, -0.9, 15);
    Fitted f(z, {3, 0, 1, 0, 1, 0, 140});
    ASSERT_EQ(f.model.MakeForecast(145, 5), 0);
    const double theta = f.model.Theta(3);
    std::vector<double> seen(z.begin(), z.begin() + 145);
    for (int l = 0; l < 5; ++l) {
        const auto w = [&](int t) {
            return seen[static_cast<std::size_t>(t)] -
                   (t >= 140 ? seen[static_cast<std::size_t>(t - 140)] : 0.0);
        };
        const int t = 145 + l;
        double next = seen[static_cast<std::size_t>(t - 140)];
        for (int i = 1; i <= 3; ++i) next += f.model.Theta(i - 1) * w(t - i);
        if (l == 0) next -= theta * f.Residual(144 - 140);
        seen.push_back(next);
        EXPECT_TRUE(within_relative(f.model.GetForecast()[static_cast<std::size_t>(l)], next, 1e-12)) << l;
    }
}

// A lag of 0 has no place in the tables; the call must come back and stay inside.
TEST(Forecast, APeriodOfZeroIsHarmless) {
    const std::vector<double> z = zolv_test::arma_series(80, 5, 0.5, 0.2, 12);
    for (const ArimaOrders& orders :
         {ArimaOrders{1, 0, 1, 0, 0, 1, 0}, ArimaOrders{1, 0, 0, 1, 0, 0, 0},
          ArimaOrders{1, 1, 1, 1, 0, 1, 0}, ArimaOrders{0, 0, 0, 0, huge, 1, 0}}) {
        CmCmndArima model(z.data(), 80, orders, true, nullptr);
        model.Estimate();
        model.MakeForecast(80, 10);
        model.GetForecastStandardError();
    }
}

// Backcasts of the residuals enter where the MA lag reaches in front of the series.
TEST(Forecast, EarlyOriginsUseTheResidualsInFrontOfTheSeries) {
    Fitted f(zolv_test::arma_series(90, 0, 0, -0.6, 13), {0, 0, 0, 0, 0, 1, 12});
    ASSERT_EQ(f.model.MakeForecast(5, 3), 0);
    for (int l = 0; l < 3; ++l) {
        EXPECT_SAME_BITS(f.model.GetForecast()[static_cast<std::size_t>(l)],
                         0.0 - f.model.Theta(0) * f.Residual(5 + l - 12));
    }
}

TEST(Forecast, ForecastsLeaveBackcastsAndResidualsAlone) {
    Fitted f(seasonal_walk(100, 14, 4), {1, 1, 1, 0, 0, 1, 4}, true);
    const int available = f.model.GetMaxBackcastCount();
    std::vector<double> before(100), after(100);
    f.model.GetTimeSeriesBackcast(100, before.data());
    const std::vector<double> residuals(f.model.GetResidual(),
                                        f.model.GetResidual() + f.model.GetMaxResidualCount());
    ASSERT_EQ(f.model.MakeForecast(100, 10), 0);
    f.model.GetTimeSeriesBackcast(100, after.data());
    EXPECT_EQ(before, after);
    EXPECT_EQ(f.model.GetMaxBackcastCount(), available);
    for (std::size_t i = 0; i < residuals.size(); ++i)
        EXPECT_SAME_BITS(f.model.GetResidual()[i], residuals[i]);
}

}  // namespace
