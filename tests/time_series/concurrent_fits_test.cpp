// Fits share nothing: the same fit from eight threads at once, twice each, gives the same bits everywhere.
#include <array>
#include <thread>
#include <vector>

#include "support/bits.hpp"
#include "support/reference_table.hpp"
#include "zolv.h"

namespace {

// Everything a caller can read of one airline fit, as one list of numbers.
std::vector<double> everything_of_a_fit(const std::vector<double>& series) {
    zolv_ArimaModel model{};
    model.Differencing = 1;
    model.MaOrder = 1;
    model.SeasonalDifferencing = 1;
    model.SeasonalMaOrder = 1;
    model.SeasonalPeriod = 12;
    std::uint32_t code = 0;
    const int n = static_cast<int>(series.size());
    zolv_ArimaHandle fit =
        zolv_MakeArimaModelPtr(series.data(), static_cast<std::uint32_t>(n), &model, &code);
    std::vector<double> all{static_cast<double>(code)};
    if (fit == nullptr) return all;
    std::array<double, 24> values{}, lower{}, upper{};
    zolv_GetEstimatedParameter(fit, 2, values.data());
    all.insert(all.end(), {values[0], values[1], zolv_GetSigmaSquared(fit)});
    all.push_back(zolv_GetForecastLimit(fit, 0.9, n, 24, lower.data(), upper.data()));
    all.insert(all.end(), lower.begin(), lower.end());
    all.insert(all.end(), upper.begin(), upper.end());
    ArimaSummary summary{};
    zolv_GetModelSummary(fit, &summary);
    all.insert(all.end(), {summary.SumOfSquares, summary.Aicc, summary.Aic, summary.Bic});
    std::vector<double> residuals(static_cast<std::size_t>(zolv_GetMaxResidualCount(fit)));
    zolv_GetResidual(fit, static_cast<int>(residuals.size()), residuals.data());
    all.insert(all.end(), residuals.begin(), residuals.end());
    zolv_DeleteArimaModelPtr(&fit);

    std::array<double, 3> parameters{0.2, 0.2, 0.0};
    model.Parameters = parameters.data();
    all.push_back(zolv_QorArima(series.data(), static_cast<std::uint32_t>(n), &model));
    all.insert(all.end(), parameters.begin(), parameters.end());
    return all;
}

TEST(ConcurrentFits, EightThreadsGetTheBitsOfOne) {
    std::vector<double> series = zolv_test::load_series("airline_passengers");
    for (double& x : series) x = std::log(x);
    const std::vector<double> want = everything_of_a_fit(series);
    ASSERT_GT(want.size(), 150u);

    constexpr std::size_t thread_count = 8, repeats = 2;
    std::array<std::array<std::vector<double>, repeats>, thread_count> got;
    std::vector<std::thread> threads;
    for (std::size_t t = 0; t < thread_count; ++t) {
        threads.emplace_back([&, t] {
            for (auto& result : got[t]) result = everything_of_a_fit(series);
        });
    }
    for (std::thread& thread : threads) thread.join();
    for (const auto& of_thread : got) {
        for (const auto& result : of_thread) {
            ASSERT_EQ(result.size(), want.size());
            for (std::size_t i = 0; i < want.size(); ++i) ASSERT_SAME_BITS(result[i], want[i]);
        }
    }
}

}  // namespace
