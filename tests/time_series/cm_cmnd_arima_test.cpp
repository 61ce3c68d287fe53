// Preparation: every code that ends a fit before its search, and what the search starts from.
#include "time_series/cm_cmnd_arima.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <numeric>
#include <vector>

#include "support/bits.hpp"
#include "time_series/arima_codes.hpp"
#include "time_series/cm_cmnd_arima_probe.hpp"
#include "time_series/simulated.hpp"

namespace {

namespace code = zolv::time_series::code;
using vek::time_series::CmCmndArima;
using vek::time_series::CmCmndArimaProbe;
using zolv::time_series::ArimaOrders;

constexpr int huge = 2147483647;

int prepare(const std::vector<double>& series, const ArimaOrders& orders, bool constant = false,
            const std::vector<double>* start = nullptr) {
    CmCmndArima model(series.data(), static_cast<int>(series.size()), orders, constant, start);
    return CmCmndArimaProbe{model}.Prepare();
}

int estimate(const std::vector<double>& series, const ArimaOrders& orders, bool constant = false,
             const std::vector<double>* start = nullptr) {
    CmCmndArima model(series.data(), static_cast<int>(series.size()), orders, constant, start);
    return model.Estimate();
}

std::vector<double> counting(int n) {
    std::vector<double> values(static_cast<std::size_t>(n));
    std::iota(values.begin(), values.end(), 1.0);
    return values;
}

// ---- codes ---------------------------------------------------------------------------------------------

TEST(ArimaPreparation, WithoutTermsThereIsNoFit) {
    EXPECT_EQ(estimate(counting(50), {0, 0, 0, 0, 0, 0, 0}), code::no_terms);
    EXPECT_EQ(estimate(counting(50), {0, 1, 0, 0, 1, 0, 12}, true), code::no_terms);
    EXPECT_EQ(estimate({}, {0, 0, 0, 0, 0, 0, 0}), code::no_terms);  // told before the length
}

TEST(ArimaPreparation, TenParametersAtMostTheConstantCounted) {
    const std::vector<double> z = zolv_test::white_noise(80, 1);
    EXPECT_EQ(prepare(z, {5, 0, 5, 0, 0, 0, 0}), code::done);
    EXPECT_EQ(prepare(z, {5, 0, 5, 0, 0, 0, 0}, true), code::too_many_parameters);
    EXPECT_EQ(prepare(z, {5, 0, 4, 0, 0, 0, 0}, true), code::done);
    EXPECT_EQ(prepare(z, {5, 0, 5, 1, 0, 0, 4}), code::too_many_parameters);
    EXPECT_EQ(estimate({}, {5, 0, 5, 5, 0, 5, 4}), code::too_many_parameters);  // before the length
}

TEST(ArimaPreparation, ThreeValuesMoreThanDifferencingTakes) {
    for (const bool constant : {false, true}) {
        EXPECT_EQ(prepare(counting(3), {0, 0, 1, 0, 0, 0, 0}, constant), code::series_too_short);
        EXPECT_EQ(prepare(counting(4), {0, 0, 1, 0, 0, 0, 0}, constant), code::done);
        EXPECT_EQ(prepare(counting(17), {0, 2, 1, 0, 1, 0, 12}, constant), code::series_too_short);
        EXPECT_EQ(prepare(counting(18), {0, 2, 1, 0, 1, 0, 12}, constant), code::done);
    }
    EXPECT_EQ(prepare({}, {0, 0, 1, 0, 0, 0, 0}), code::series_too_short);
}

TEST(ArimaPreparation, MoreValuesThanTheLongestAutoregressionReachesBack) {
    EXPECT_EQ(prepare(counting(25), {0, 0, 0, 2, 0, 0, 12}), code::origin_too_early);
    EXPECT_EQ(prepare(counting(26), {0, 0, 0, 2, 0, 0, 12}), code::done);
    EXPECT_EQ(prepare(counting(42), {3, 1, 0, 2, 1, 0, 12}), code::done);
    EXPECT_EQ(prepare(counting(41), {3, 1, 0, 2, 1, 0, 12}), code::origin_too_early);
}

TEST(ArimaPreparation, MoreDifferencedValuesThanParameters) {
    EXPECT_EQ(prepare(counting(5), {0, 0, 5, 0, 0, 0, 0}), code::series_too_short);
    EXPECT_EQ(prepare(counting(6), {0, 0, 5, 0, 0, 0, 0}), code::done);
    EXPECT_EQ(prepare(counting(6), {0, 0, 5, 0, 0, 0, 0}, true), code::series_too_short);
    EXPECT_EQ(prepare(counting(7), {0, 0, 5, 0, 0, 0, 0}, true), code::done);
}

TEST(ArimaPreparation, OrdersOutsideTheTablesAreRefusedBeforeAnythingElse) {
    const std::vector<double> z = zolv_test::white_noise(300, 2);
    for (int i = 0; i < 7; ++i) {
        int o[] = {1, 1, 1, 1, 1, 1, 4};
        for (const int bad : {-1, -huge - 1}) {
            o[i] = bad;
            EXPECT_EQ(estimate(z, {o[0], o[1], o[2], o[3], o[4], o[5], o[6]}), code::orders_out_of_range)
                << i;
        }
        if (i == 0 || i == 2 || i == 3 || i == 5) {
            for (const int bad : {6, huge}) {
                o[i] = bad;
                EXPECT_EQ(estimate(z, {o[0], o[1], o[2], o[3], o[4], o[5], o[6]}), code::orders_out_of_range);
            }
        }
    }
    EXPECT_EQ(estimate(z, {-1, 0, 1, 0, 0, 0, 0}), code::orders_out_of_range);  // a sum of 0 does not hide it
}

// The check of the count makes this unreachable from outside; the vector's own check stands behind it.
TEST(ArimaPreparation, TheParameterVectorKeepsItsRoom) {
    const std::vector<double> z = zolv_test::white_noise(50, 3);
    CmCmndArima eleven(z.data(), 50, {5, 0, 5, 1, 0, 0, 4}, false, nullptr);
    EXPECT_EQ(CmCmndArimaProbe{eleven}.PrepareParameters(), code::orders_out_of_range);
    CmCmndArima constant(z.data(), 50, {5, 0, 5, 0, 0, 0, 0}, true, nullptr);
    EXPECT_EQ(CmCmndArimaProbe{constant}.PrepareParameters(), code::orders_out_of_range);
}

TEST(ArimaPreparation, LagsReachAHundred) {
    const std::vector<double> z = zolv_test::white_noise(400, 4);
    EXPECT_EQ(prepare(z, {0, 0, 0, 0, 0, 1, 100}), code::done);
    EXPECT_EQ(prepare(z, {0, 0, 0, 0, 0, 1, 101}), code::lag_too_long);
    EXPECT_EQ(prepare(z, {0, 0, 1, 0, 0, 1, 99}), code::done);
    EXPECT_EQ(prepare(z, {0, 0, 1, 0, 0, 1, 100}), code::lag_too_long);  // the cross term
    EXPECT_EQ(prepare(z, {1, 0, 0, 5, 0, 0, 20}), code::lag_too_long);
    EXPECT_EQ(prepare(z, {1, 0, 0, 0, 1, 0, 101}), code::done);  // a long difference is no lag
}

TEST(ArimaPreparation, HugePeriodsAndDifferencesMeetTheLengthIn64Bits) {
    const std::vector<double> z = zolv_test::white_noise(60, 5);
    EXPECT_EQ(estimate(z, {0, 0, 1, 0, huge, 0, huge}), code::series_too_short);
    EXPECT_EQ(estimate(z, {0, 0, 1, 0, 2, 0, huge}), code::series_too_short);     // 2 S is -2 in 32 bits
    EXPECT_EQ(estimate(z, {0, 0, 1, 0, 4, 0, 1 << 30}), code::series_too_short);  // 4 S is 0 in 32 bits
    EXPECT_EQ(estimate(z, {0, huge, 1, 0, 0, 0, 0}), code::series_too_short);
    EXPECT_EQ(estimate(z, {1, 0, 0, 5, 0, 0, huge}), code::origin_too_early);
    EXPECT_EQ(estimate(z, {1, 0, 0, 4, 0, 0, 1 << 30}), code::origin_too_early);
    EXPECT_EQ(estimate(z, {1, 0, 0, 0, 0, 5, huge}), code::lag_too_long);
    EXPECT_EQ(estimate(z, {1, 0, 0, 0, 0, 4, 1 << 30}), code::lag_too_long);
}

// S = 0 takes every value from itself, so the first pass leaves zeros and the others change nothing.
TEST(ArimaPreparation, APeriodOfZeroEndsWhateverD) {
    const std::vector<double> z = zolv_test::white_noise(60, 6);
    CmCmndArima model(z.data(), 60, {1, 0, 0, 0, huge, 0, 0}, true, nullptr);
    CmCmndArimaProbe probe{model};
    EXPECT_EQ(probe.Prepare(), code::done);
    EXPECT_EQ(probe.Count(), 60);
    for (int t = 100; t < 160; ++t) EXPECT_EQ(probe.W(t), 0.0);
    EXPECT_EQ(model.StandardDeviation(), 0.0);
}

TEST(ArimaPreparation, NoSeriesIsAnEmptySeries) {
    CmCmndArima null(nullptr, 100, {1, 0, 0, 0, 0, 0, 0}, false, nullptr);
    EXPECT_EQ(null.Estimate(), code::series_too_short);
    CmCmndArima negative(counting(5).data(), -5, {1, 0, 0, 0, 0, 0, 0}, false, nullptr);
    EXPECT_EQ(negative.Estimate(), code::series_too_short);
}

TEST(ArimaPreparation, StartValuesThatSumToOneLeaveNoConstant) {
    const std::vector<double> z = zolv_test::white_noise(60, 7);
    const std::vector<double> one = {0.5, 0.5, 3.0}, near = {0.5, 0.4375, 3.0}, none = {0.5, 0.5, 1e10},
                              seasonal = {1.0, 3.0};
    EXPECT_EQ(prepare(z, {2, 0, 0, 0, 0, 0, 0}, true, &one), code::start_constant_useless);
    EXPECT_EQ(prepare(z, {2, 0, 0, 0, 0, 0, 0}, true, &near), code::done);
    EXPECT_EQ(prepare(z, {2, 0, 0, 0, 0, 0, 0}, true, &none), code::done);  // no start constant, no division
    EXPECT_EQ(prepare(z, {2, 0, 0, 0, 0, 0, 0}, false, &one), code::done);
    // Only the regular values are asked; the seasonal ones give an infinite deviation, and the passes
    // overflow.
    EXPECT_EQ(prepare(z, {0, 0, 0, 1, 0, 0, 4}, true, &seasonal), code::done);
    EXPECT_EQ(estimate(z, {0, 0, 0, 1, 0, 0, 4}, true, &seasonal), code::recursion_overflow);
}

// ---- the prepared series -------------------------------------------------------------------------------

TEST(ArimaPreparation, TwoSeasonalDifferencesOfTwelveRunFirstAndLose24) {
    const std::vector<double> z = zolv_test::arma_series(70, 0.1, 0.7, 0.3, 8);
    CmCmndArima model(z.data(), 70, {0, 1, 1, 0, 2, 0, 12}, false, nullptr);
    CmCmndArimaProbe probe{model};
    ASSERT_EQ(probe.Prepare(), code::done);
    EXPECT_EQ(probe.Count(), 70 - 24 - 1);
    EXPECT_EQ(model.DifferencedCount(), 45);
    EXPECT_EQ(model.GetMaxResidualCount(), 45);
    const auto once = [&z](int t) {
        return z[static_cast<std::size_t>(t + 12)] - z[static_cast<std::size_t>(t)];
    };
    const auto twice = [&once](int t) { return once(t + 12) - once(t); };
    for (int t = 0; t < 45; ++t) EXPECT_SAME_BITS(probe.W(100 + t), twice(t + 1) - twice(t));
    for (int t = 0; t < 100; ++t) EXPECT_SAME_BITS(probe.W(t), 0.0);
}

TEST(ArimaPreparation, MeanAndDeviationAreThoseOfTheDifferencedSeries) {
    std::vector<double> z = {2, 4, 4, 4, 5, 5, 7, 9};
    CmCmndArima plain(z.data(), 8, {1, 0, 0, 0, 0, 0, 0}, false, nullptr);
    CmCmndArimaProbe probe{plain};
    ASSERT_EQ(probe.Prepare(), code::done);
    EXPECT_SAME_BITS(plain.Mean(), 5.0);
    EXPECT_SAME_BITS(plain.StandardDeviation(), std::sqrt(32.0 / 7));
    for (int t = 0; t < 8; ++t) EXPECT_SAME_BITS(probe.W(100 + t), z[static_cast<std::size_t>(t)]);

    CmCmndArima centred(z.data(), 8, {1, 0, 0, 0, 0, 0, 0}, true, nullptr);
    CmCmndArimaProbe centred_probe{centred};
    ASSERT_EQ(centred_probe.Prepare(), code::done);
    for (int t = 0; t < 8; ++t)
        EXPECT_SAME_BITS(centred_probe.W(100 + t), z[static_cast<std::size_t>(t)] - 5.0);
}

TEST(ArimaPreparation, AConstantSeriesWithAConstantPasses) {
    const std::vector<double> z(30, 4.25);
    CmCmndArima model(z.data(), 30, {1, 0, 0, 0, 0, 0, 0}, true, nullptr);
    EXPECT_EQ(CmCmndArimaProbe{model}.Prepare(), code::done);
    EXPECT_SAME_BITS(model.StandardDeviation(), 0.0);
    EXPECT_SAME_BITS(model.Mean(), 4.25);
}

// ---- parameters and terms ------------------------------------------------------------------------------

TEST(ArimaPreparation, ParametersStandInFitOrderWithTheirLags) {
    const std::vector<double> z = zolv_test::white_noise(100, 9);
    const std::vector<double> start = {.11, .12, .21, .22, .31, .41, 7.0};
    CmCmndArima model(z.data(), 100, {2, 0, 1, 2, 0, 1, 4}, true, &start);
    CmCmndArimaProbe probe{model};
    ASSERT_EQ(probe.Prepare(), code::done);
    ASSERT_EQ(model.ParameterCount(), 7);
    const long lags[] = {1, 2, 4, 8, 1, 4};
    for (int i = 0; i < 6; ++i) {
        EXPECT_SAME_BITS(model.Theta(i), start[static_cast<std::size_t>(i)]);
        EXPECT_EQ(probe.LagOf(i), lags[i]);
    }
    const double regular = 1.0 - (0.0 + .11 + .12), seasonal = 1.0 - (0.0 + .21 + .22);
    EXPECT_SAME_BITS(model.Theta(6), 7.0 / (regular * seasonal) - model.Mean());
    EXPECT_EQ(probe.LagOf(6), 0);
    EXPECT_EQ(probe.MaxLag(), 10);  // 2 + 8 on the AR side, 1 + 4 on the other
    EXPECT_EQ(probe.BackcastSpan(), 100 - 10 + 100);
    EXPECT_EQ(probe.FirstIndex(), 0);
}

TEST(ArimaPreparation, StartSlotsPastTheVectorHoldTheFiller) {
    const std::vector<double> z = zolv_test::white_noise(100, 9);
    const std::vector<double> start = {.1, .2, .3, .4};
    CmCmndArima model(z.data(), 100, {1, 0, 1, 1, 0, 1, 4}, false, &start);
    CmCmndArimaProbe probe{model};
    ASSERT_EQ(probe.Prepare(), code::done);
    const double filler = 1.23456e30;
    const double wanted[4][5] = {{.1, .2, .3, .4, filler},
                                 {.2, .3, .4, filler, filler},
                                 {.3, .4, filler, filler, filler},
                                 {.4, filler, filler, filler, filler}};
    for (int block = 0; block < 4; ++block) {
        for (std::size_t i = 0; i < 5; ++i) EXPECT_SAME_BITS(probe.StartSlots(block)[i], wanted[block][i]);
    }
    // An empty vector is a vector: the filler reaches the parameters, and the recursion overflows.
    const std::vector<double> empty;
    EXPECT_EQ(estimate(z, {1, 0, 0, 0, 0, 0, 0}, false, &empty), code::recursion_overflow);
}

TEST(ArimaPreparation, WithoutStartValuesEverySlotIsATenth) {
    const std::vector<double> z = zolv_test::white_noise(100, 9);
    CmCmndArima model(z.data(), 100, {1, 0, 1, 1, 0, 1, 4}, true, nullptr);
    CmCmndArimaProbe probe{model};
    ASSERT_EQ(probe.Prepare(), code::done);
    for (int block = 0; block < 4; ++block) {
        for (const double slot : probe.StartSlots(block)) EXPECT_SAME_BITS(slot, 0.1);
    }
    for (int i = 0; i < 4; ++i) EXPECT_SAME_BITS(model.Theta(i), 0.1);
    EXPECT_SAME_BITS(model.Theta(4), 0.0);
    EXPECT_SAME_BITS(probe.StartConstant(), 1e10);
    EXPECT_SAME_BITS(probe.Lambda(), 1.0);
}

TEST(ArimaPreparation, TheStartConstantNeedsACompleteVectorAndAModelWithOne) {
    const std::vector<double> z = zolv_test::white_noise(100, 9);
    const auto start_constant = [&z](const std::vector<double>& start, bool constant) {
        CmCmndArima model(z.data(), 100, {1, 0, 1, 0, 0, 0, 0}, constant, &start);
        CmCmndArimaProbe probe{model};
        EXPECT_EQ(probe.Prepare(), code::done);
        return probe.StartConstant();
    };
    EXPECT_SAME_BITS(start_constant({.1, .2}, true), 1e10);
    EXPECT_SAME_BITS(start_constant({.1, .2, 5.0}, true), 5.0);
    EXPECT_SAME_BITS(start_constant({.1, .2, 5.0, 6.0}, true), 5.0);
    EXPECT_SAME_BITS(start_constant({.1, .2, 5.0}, false), 1e10);
}

TEST(ArimaPreparation, TheSpanOfTheBackwardPassLeavesRoomForTheLongestLag) {
    const std::vector<double> z = zolv_test::white_noise(150, 10);
    const auto span = [&z](const ArimaOrders& orders) {
        CmCmndArima model(z.data(), 150, orders, false, nullptr);
        CmCmndArimaProbe probe{model};
        EXPECT_EQ(probe.Prepare(), code::done);
        return probe.BackcastSpan();
    };
    EXPECT_EQ(span({1, 0, 0, 0, 0, 0, 0}), 249);
    EXPECT_EQ(span({0, 0, 0, 0, 0, 1, 100}), 150);
    EXPECT_EQ(span({0, 0, 1, 0, 1, 0, 50}), 199);
    EXPECT_EQ(span({0, 0, 0, 0, 1, 1, 100}), 50);  // fewer values than the lag: it starts in the margin
}

// ---- getters before and after -------------------------------------------------------------------------

TEST(ArimaGetters, AnUnfittedModelHasNothingToShow) {
    const std::vector<double> z = zolv_test::white_noise(30, 11);
    CmCmndArima model(z.data(), 30, {1, 0, 0, 0, 0, 0, 0}, true, nullptr);
    double out[3] = {7, 7, 7};
    EXPECT_TRUE(model.GetEstimatedParameter().empty());
    EXPECT_EQ(model.GetResidual(), nullptr);
    EXPECT_EQ(model.GetMaxBackcastCount(), 0);
    EXPECT_EQ(model.GetTimeSeriesBackcast(3, out), 0);
    model.GetGaussianNoiseBackcast(3, out);
    model.GetFit(3, out);
    EXPECT_EQ(model.MakeForecast(30, 3), code::origin_too_early);
    for (const double v : out) EXPECT_EQ(v, 7.0);
    EXPECT_TRUE(model.History().empty());
    EXPECT_EQ(model.IsIterativeFit(), 1);
}

TEST(ArimaGetters, FitsAreObservationsLessResiduals) {
    const std::vector<double> z = zolv_test::arma_series(60, 10, 0.6, 0.2, 12);
    CmCmndArima model(z.data(), 60, {1, 1, 0, 0, 0, 0, 0}, false, nullptr);
    ASSERT_LT(model.Estimate(), 30000);
    ASSERT_EQ(model.GetMaxResidualCount(), 59);
    std::vector<double> fit(61, -1.0);
    model.GetFit(61, fit.data());  // more than there are
    for (std::size_t i = 0; i < 59; ++i) EXPECT_SAME_BITS(fit[i], z[i + 1] - model.GetResidual()[i]);
    EXPECT_EQ(fit[59], -1.0);
    EXPECT_EQ(fit[60], -1.0);
    fit.assign(61, -1.0);
    model.GetFit(1, fit.data());
    EXPECT_NE(fit[0], -1.0);
    EXPECT_EQ(fit[1], -1.0);
    model.GetFit(-1, nullptr);
}

TEST(ArimaGetters, BackcastsAreTheValuesJustBeforeTheStart) {
    const std::vector<double> z = zolv_test::arma_series(80, 10, 0.6, 0.2, 13);
    CmCmndArima model(z.data(), 80, {1, 0, 1, 0, 0, 0, 0}, true, nullptr);
    ASSERT_LT(model.Estimate(), 30000);
    CmCmndArimaProbe probe{model};
    const int available = model.GetMaxBackcastCount();
    ASSERT_EQ(available, 100 - probe.FirstIndex());
    ASSERT_GT(available, 2);
    std::vector<double> out(104, -1.0);
    for (const int count : {1, 2, available, 100}) {
        out.assign(104, -1.0);
        const int small = model.GetTimeSeriesBackcast(count, out.data());
        EXPECT_EQ(small, std::fabs(probe.W(100 - count)) < 0.001 ? 1 : 0);
        for (int i = 0; i < count; ++i) {
            EXPECT_SAME_BITS(out[static_cast<std::size_t>(i)], probe.W(100 - count + i) + model.Mean());
        }
        EXPECT_EQ(out[static_cast<std::size_t>(count)], -1.0);
        model.GetGaussianNoiseBackcast(count, out.data());
        for (int i = 0; i < count; ++i)
            EXPECT_SAME_BITS(out[static_cast<std::size_t>(i)], probe.E(100 - count + i));
        EXPECT_EQ(out[static_cast<std::size_t>(count)], -1.0);
    }
    // The margin holds a hundred.
    out.assign(104, -1.0);
    model.GetTimeSeriesBackcast(huge, out.data());
    EXPECT_EQ(out[100], -1.0);
    model.GetGaussianNoiseBackcast(huge, out.data());
    EXPECT_EQ(out[100], -1.0);
    EXPECT_EQ(model.GetTimeSeriesBackcast(0, nullptr), 0);
    EXPECT_EQ(model.GetTimeSeriesBackcast(-4, nullptr), 0);
    model.GetGaussianNoiseBackcast(-4, nullptr);
}

TEST(ArimaGetters, WithoutAConstantNoMeanIsAdded) {
    const std::vector<double> z = zolv_test::arma_series(80, 1, 0.6, 0.2, 13);
    CmCmndArima model(z.data(), 80, {1, 0, 0, 0, 0, 0, 0}, false, nullptr);
    ASSERT_LT(model.Estimate(), 30000);
    CmCmndArimaProbe probe{model};
    double out[2];
    model.GetTimeSeriesBackcast(2, out);
    EXPECT_SAME_BITS(out[0], probe.W(98));
    EXPECT_SAME_BITS(out[1], probe.W(99));
}

}  // namespace
