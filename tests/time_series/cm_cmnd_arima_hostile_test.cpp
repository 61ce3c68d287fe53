// Whatever is asked, an answer comes back and memory stays whole. What these tests are for shows under the
// address sanitizer; elsewhere they see that the codes are codes and the counts are kept.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <set>
#include <vector>

#include "time_series/arima_codes.hpp"
#include "time_series/cm_cmnd_arima.hpp"
#include "time_series/simulated.hpp"

namespace {

using vek::time_series::CmCmndArima;
using zolv::time_series::ArimaOrders;

constexpr int huge = 2147483647;

struct Dice {
    std::uint64_t state;
    std::size_t below(std::size_t n) {
        state = state * 6364136223846793005u + 1442695040888963407u;
        return static_cast<std::size_t>(state >> 33) % n;
    }
    template <class T, std::size_t N>
    T pick(const T (&from)[N]) {
        return from[below(N)];
    }
};

std::vector<double> some_series(Dice& dice, int n) {
    const double specials[] = {0.0,    -0.0,         1e300,    -1e300,    1e18,   1.001e18,
                               5e-324, std::nan(""), HUGE_VAL, -HUGE_VAL, 1e-160, 3.0};
    std::vector<double> z;
    switch (dice.below(6)) {
        case 0:
            z.assign(static_cast<std::size_t>(n), dice.pick(specials));
            break;
        case 1:
            z = zolv_test::white_noise(n, dice.below(1000));
            break;
        case 2:
            z = zolv_test::arma_series(n, 1e6, 0.99, 0.5, dice.below(1000));
            break;
        case 3:
            z = zolv_test::arma_series(n, 0, 0.5, -0.5, dice.below(1000));
            for (double& v : z) v *= 1e17;
            break;
        case 4:
            z = zolv_test::white_noise(n, dice.below(1000));
            for (double& v : z) {
                if (dice.below(8) == 0) v = dice.pick(specials);
            }
            break;
        default:
            z = zolv_test::white_noise(n, dice.below(1000));
            for (std::size_t i = 1; i < z.size(); ++i) z[i] += 1.2 * z[i - 1];
    }
    z.shrink_to_fit();  // so that the sanitizer sees its end
    return z;
}

void ask_everything(CmCmndArima& model, Dice& dice, int n) {
    const int leads[] = {-huge - 1, -1, 0, 1, 2, 24, 149, 150, 151, 300};
    const int origins[] = {-huge - 1, -1, 0, 1, n / 2, n - 1, n, n + 1, huge};
    for (int repeat = 0; repeat < 4; ++repeat) {
        const int asked = dice.pick(leads), origin = dice.pick(origins);
        const int code = model.MakeForecast(origin, asked);
        const std::size_t forecasts = model.GetForecast().size();
        const std::size_t errors = model.GetForecastStandardError().size();
        if (code == 0) {
            EXPECT_EQ(forecasts, static_cast<std::size_t>(std::max(asked, 0)));
            EXPECT_EQ(errors, forecasts);
        }
    }
    const int counts[] = {-huge - 1, -1, 0, 1, 99, 100, 101, huge};
    std::vector<double> out(static_cast<std::size_t>(std::max(n, 100)) + 1, 0.0);
    for (int repeat = 0; repeat < 3; ++repeat) {
        model.GetTimeSeriesBackcast(dice.pick(counts), out.data());
        model.GetGaussianNoiseBackcast(dice.pick(counts), out.data());
        model.GetFit(dice.pick(counts), out.data());
    }
    model.GetEstimatedParameter();
    const int backcasts = model.GetMaxBackcastCount();
    EXPECT_GE(backcasts, 0);
    EXPECT_LE(backcasts, 100);
}

std::set<int> all_codes() {
#define CODE(value, name, provoked_by) value,
    return {ZOLV_RESULT_CODES(CODE)};
#undef CODE
}

TEST(ArimaHostile, AnyOrdersOnAnyShortSeries) {
    const std::set<int> codes = all_codes();
    Dice dice{20260101};
    const int periods[] = {0, 1, 2, 3, 4, 12, 20, 99, 100, 101, 1 << 30, huge, -1};
    const int seasonal_differences[] = {0, 0, 0, 1, 1, 2, 3, huge};
    const int differences[] = {0, 0, 0, 1, 1, 2, 5, 40, huge};
    std::set<int> seen;
    for (int round = 0; round < 8000; ++round) {
        const int n = static_cast<int>(round % 3 == 0 ? dice.below(12) : dice.below(160));
        const std::vector<double> z = some_series(dice, n);
        const auto order = [&dice] { return static_cast<int>(dice.below(2) == 0 ? 0 : dice.below(6)); };
        const ArimaOrders orders{order(),           dice.pick(differences),          order(),
                                 order(),           dice.pick(seasonal_differences), order(),
                                 dice.pick(periods)};
        std::vector<double> start;
        const double starts[] = {0.0, 0.1, 0.5, 1.0, -1.0, 3.0, 1e10, std::nan(""), HUGE_VAL, 1e300, 5e-324};
        const std::size_t length = dice.below(12);
        for (std::size_t i = 0; i < length; ++i) start.push_back(dice.pick(starts));
        start.shrink_to_fit();
        CmCmndArima model(z.data(), n, orders, dice.below(2) == 0, dice.below(3) == 0 ? &start : nullptr);
        model.RecordHistory(dice.below(2) == 0);
        const int code = model.Estimate();
        ASSERT_TRUE(codes.contains(code)) << code;
        seen.insert(code);
        ask_everything(model, dice, n);
    }
    // The grid is wide enough to meet every code of a fit but the exact one.
    for (const int code :
         {10000, 10005, 20000, 30018, 30023, 30025, 30026, 30027, 30028, 30029, 30030, 30031}) {
        EXPECT_TRUE(seen.contains(code)) << code;
    }
}

// Lengths just above each refusal, where every index stands at an end of its array.
TEST(ArimaHostile, TheShortestSeriesThatAreFitted) {
    Dice dice{7};
    for (const int period : {1, 2, 12, 19}) {
        for (int p = 0; p <= 5; p += 5) {
            for (int P = 0; P <= 4; P += 2) {
                for (int q = 0; q <= 2; ++q) {
                    for (int Q = 0; Q <= 5; Q += 5) {
                        if (p + q + P + Q == 0) continue;
                        for (int D = 0; D <= 2; ++D) {
                            const ArimaOrders orders{p, 1, q, P, D, Q, period};
                            const int least = static_cast<int>(
                                std::max(orders.DifferenceLoss() + 3, orders.ShortestOrigin()));
                            for (const int n : {least, least + 1, least + 2, least + 11}) {
                                std::vector<double> z = zolv_test::white_noise(n, 5);
                                z.shrink_to_fit();
                                CmCmndArima model(z.data(), n, orders, n % 2 == 0, nullptr);
                                const int code = model.Estimate();
                                if (n == least) {
                                    EXPECT_GE(code, 30000);
                                }
                                ask_everything(model, dice, n);
                            }
                        }
                    }
                }
            }
        }
    }
}

}  // namespace
