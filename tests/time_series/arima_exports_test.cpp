// tests/time_series/arima_exports_test.cpp: the two fit calls: classes, parameter orders, every result code.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <thread>

#include "support/arima_model.hpp"
#include "support/bits.hpp"
#include "zolv.h"

namespace {

using zolv_test::arima_model;
using zolv_test::arima_orders;
using zolv_test::fitted;
using zolv_test::generated_series;
using zolv_test::logs_of;

constexpr double nan_value = std::numeric_limits<double>::quiet_NaN();
constexpr double infinity = std::numeric_limits<double>::infinity();

std::uint32_t length(const std::vector<double>& x) { return static_cast<std::uint32_t>(x.size()); }

std::vector<double> airline() { return logs_of(zolv_test::load_series("airline_passengers")); }

// The code of both fit calls, which have to agree; Parameters of `start`, or 0.1 throughout.
int code_of(const std::vector<double>& x, const arima_orders& o, bool constant = false,
            double start_constant = 1e10, std::vector<double> start = {}) {
    start.resize(21, 0.1);
    std::vector<double> parameters = start;
    double c = start_constant;
    zolv_ArimaModel model = arima_model(o, parameters.data(), constant ? &c : nullptr);
    const int shot = zolv_QorArima(x.data(), length(x), &model);

    c = start_constant;
    model.Parameters = start.data();
    std::uint32_t code = 1;
    zolv_ArimaHandle handle = zolv_MakeArimaModelPtr(x.data(), length(x), &model, &code);
    EXPECT_EQ(handle != nullptr, code < 30000);
    EXPECT_EQ(static_cast<int>(code), shot);
    zolv_DeleteArimaModelPtr(&handle);
    EXPECT_EQ(handle, nullptr);
    return shot;
}

// ---- result codes ----------------------------------------------------------------------------------------

TEST(ResultCode, Converged) {
    EXPECT_EQ(code_of(airline(), {0, 1, 1, 0, 1, 1, 12}), 10000);
    EXPECT_EQ(zolv_code_converged, 10000);
}

TEST(ResultCode, RandomWalkIsDone) {
    EXPECT_EQ(code_of(airline(), {0, 1, 0}), 0);
    EXPECT_EQ(code_of(airline(), {0, 1, 0}, true), 0);
}

TEST(ResultCode, ExactFit) {
    // 1.5^t, so small that what the steps leave over is below 1e-30, yet large enough for the derivative
    // scales.
    std::vector<double> x(40);
    for (int t = 0; t < 40; ++t) x[t] = std::ldexp(std::pow(1.5, t - 39), -33);
    EXPECT_EQ(code_of(x, {1, 0, 0}, false, 0.0, {1.46}), 0);
    double phi[2] = {1.46, -1.0};
    zolv_ArimaModel model = arima_model({1, 0, 0}, phi);
    ASSERT_EQ(zolv_QorArima(x.data(), length(x), &model), 0);
    EXPECT_NEAR(phi[0], 1.5, 1e-5);  // the estimates are kept
    EXPECT_LT(phi[1], 1e-30);
    EXPECT_GE(phi[1], 0.0);
}

TEST(ResultCode, NoBetterStep) {
    std::vector<double> x = airline();
    for (double& v : x) v *= 1e-12;  // the product of two derivative scales is below 1e-20
    EXPECT_EQ(code_of(x, {0, 1, 1, 0, 1, 1, 12}), 10005);
}

TEST(ResultCode, IterationsUsed) {
    std::vector<double> x(20);
    for (int t = 0; t < 20; ++t) x[t] = std::pow(6.0, t) * 1e-12 + 1e-14 * (t % 3);
    EXPECT_EQ(code_of(x, {1, 0, 0}), 20000);  // 25 steps of at most 0.15 do not reach 6
}

TEST(ResultCode, TooManyParameters) {
    const std::vector<double> x = generated_series(1, 300);
    EXPECT_EQ(code_of(x, {5, 0, 5}, true), 30018);
    EXPECT_EQ(code_of(x, {5, 0, 5, 1, 0, 0, 12}), 30018);
    EXPECT_EQ(code_of(x, {5, 0, 5, 5, 0, 5, 12}, true), 30018);
    EXPECT_NE(code_of(x, {5, 0, 5}), 30018);
    EXPECT_NE(code_of(x, {5, 0, 4}, true), 30018);
}

TEST(ResultCode, LagTooLong) {
    const std::vector<double> x = generated_series(2, 300);
    EXPECT_EQ(code_of(x, {0, 0, 0, 0, 0, 1, 101}), 30023);
    EXPECT_LT(code_of(x, {0, 0, 0, 0, 0, 1, 100}), 30000);
    EXPECT_EQ(code_of(x, {1, 0, 0, 1, 0, 0, 100}), 30023);  // the cross term is at 101
    EXPECT_EQ(code_of(generated_series(2, 600), {0, 0, 0, 0, 0, 5, 21}), 30023);
    EXPECT_EQ(code_of(x, {0, 0, 0, 0, 0, 1, std::numeric_limits<std::int32_t>::max()}), 30023);
    EXPECT_EQ(code_of(x, {0, 0, 0, 0, 0, 5, std::numeric_limits<std::int32_t>::max()}), 30023);
}

TEST(ResultCode, SeriesTooShort) {
    EXPECT_EQ(code_of(generated_series(3, 3), {0, 0, 1}), 30025);  // n <= d + D S + 3
    EXPECT_LT(code_of(generated_series(3, 4), {0, 0, 1}), 30025);
    EXPECT_EQ(code_of(generated_series(3, 5), {0, 2, 1}), 30025);
    EXPECT_EQ(code_of(generated_series(3, 15), {0, 0, 1, 0, 1, 0, 12}), 30025);
    EXPECT_EQ(code_of(generated_series(3, 5), {0, 0, 4}, true), 30025);  // 5 values, 5 parameters
    EXPECT_NE(code_of(generated_series(3, 6), {0, 0, 4}, true), 30025);
    EXPECT_EQ(code_of(generated_series(3, 1), {0, 1, 0}), 30025);  // random walk
    EXPECT_EQ(code_of(generated_series(3, 2), {0, 1, 0}), 0);
    EXPECT_EQ(code_of(generated_series(3, 2), {0, 1, 0}, true), 30025);
    EXPECT_EQ(code_of(generated_series(3, 3), {0, 1, 0}, true), 0);
    EXPECT_EQ(code_of({}, {0, 1, 0}), 30025);
    EXPECT_EQ(code_of({}, {1, 0, 0}), 30025);
    const std::int32_t most = std::numeric_limits<std::int32_t>::max();
    EXPECT_EQ(code_of(generated_series(3, 50), {1, most, 1}), 30025);
    EXPECT_EQ(code_of(generated_series(3, 50), {1, most, 1, 1, most, 1, most}), 30025);
}

TEST(ResultCode, NoTerms) {
    const std::vector<double> x = generated_series(4, 60);
    EXPECT_EQ(code_of(x, {0, 0, 0}), 30026);
    EXPECT_EQ(code_of(x, {0, 0, 0}, true), 30026);
    EXPECT_EQ(code_of(x, {0, 2, 0}), 30026);
    EXPECT_EQ(code_of(x, {0, 1, 0, 0, 1, 0, 12}), 30026);  // a seasonal difference: no random walk
    EXPECT_EQ(code_of(x, {0, 0, 0, 0, 1, 0, 12}), 30026);
    EXPECT_EQ(code_of({}, {0, 0, 0}), 30026);
}

TEST(ResultCode, OriginTooEarly) {
    EXPECT_EQ(code_of(generated_series(5, 6), {5, 0, 0}), 30027);  // n <= p + d + (P + D) S + 1
    EXPECT_NE(code_of(generated_series(5, 7), {5, 0, 0}), 30027);
    EXPECT_EQ(code_of(generated_series(5, 13), {0, 0, 0, 1, 0, 0, 12}), 30027);
    EXPECT_NE(code_of(generated_series(5, 14), {0, 0, 0, 1, 0, 0, 12}), 30027);
    EXPECT_EQ(code_of(generated_series(5, 25), {0, 0, 0, 1, 1, 0, 12}), 30027);
}

TEST(ResultCode, StartConstantUseless) {
    const std::vector<double> x = generated_series(6, 60);
    EXPECT_EQ(code_of(x, {1, 0, 0}, true, 2.0, {1.0}), 30028);
    EXPECT_EQ(code_of(x, {2, 0, 0}, true, 2.0, {0.75, 0.25}), 30028);
    EXPECT_NE(code_of(x, {1, 0, 0}, true, 1e10, {1.0}), 30028);  // no start constant
    EXPECT_NE(code_of(x, {1, 0, 0}, false, 2.0, {1.0}), 30028);
}

TEST(ResultCode, OrdersOutOfRange) {
    const std::vector<double> x = generated_series(7, 200);
    const std::int32_t most = std::numeric_limits<std::int32_t>::max();
    const std::int32_t least = std::numeric_limits<std::int32_t>::min();
    // What is announced is out of range and must not be read: Parameters is one value long.
    double one[1] = {0.1};
    const auto refused = [&](const arima_orders& o) {
        zolv_ArimaModel model = arima_model(o, one);
        std::uint32_t code = 1;
        EXPECT_EQ(zolv_MakeArimaModelPtr(x.data(), length(x), &model, &code), nullptr);
        EXPECT_EQ(code, 30029u);
        EXPECT_EQ(zolv_QorArima(x.data(), length(x), &model), 30029);
        EXPECT_EQ(one[0], 0.1);
    };
    for (const std::int32_t bad : {-1, 6, 100, least, most}) {
        refused({bad, 0, 0}), refused({0, 0, bad}), refused({0, 0, 0, bad, 0, 0, 4}),
            refused({0, 0, 0, 0, 0, bad, 4});
    }
    for (const std::int32_t bad : {-1, least}) {
        refused({1, bad, 0}), refused({0, 0, 0, 1, bad, 0, 4}), refused({1, 0, 0, 0, 0, 0, bad});
        refused({0, 1, 0, 0, 0, 0, bad});  // a random walk but for its period
    }
    refused({-1, 0, 2}), refused({1, 0, -1, 1, 0, -1, 4});  // sums that look harmless
}

TEST(ResultCode, RecursionOverflow) {
    std::vector<double> x = generated_series(8, 60);
    for (double& v : x) v *= 1e18;
    EXPECT_EQ(code_of(x, {1, 0, 0}), 30030);
    x = generated_series(8, 60);
    x[30] = infinity;
    EXPECT_EQ(code_of(x, {0, 0, 1}), 30030);
}

TEST(ResultCode, SingularCovariance) {
    EXPECT_EQ(code_of(std::vector<double>(60, 0.0), {1, 0, 0}), 30031);
    EXPECT_EQ(code_of(std::vector<double>(60, 3.0), {1, 0, 0}, true), 30031);  // nothing left once centred
}

TEST(ResultCode, PolynomialTooLong) {
    const fitted at_limit(generated_series(9, 400), {0, 0, 0, 1, 1, 0, 75});
    ASSERT_LT(at_limit.code, 30000u);
    double out[3] = {-1, -1, -1}, upper[3] = {-1, -1, -1};
    EXPECT_EQ(zolv_GetForecast(at_limit, 400, 3, out), 0);  // 75 + 75 + 1 = 151 terms
    const fitted beyond(generated_series(9, 400), {0, 0, 0, 1, 1, 0, 76});
    ASSERT_LT(beyond.code, 30000u);
    out[0] = out[1] = out[2] = -1;
    for (int i = 0; i < 2; ++i) {  // and it stays refused
        EXPECT_EQ(zolv_GetForecast(beyond, 400, 3, out), 30032);
        EXPECT_EQ(zolv_GetForecastStandardError(beyond, 400, 3, out), 30032);
        EXPECT_EQ(zolv_GetForecastLimit(beyond, 0.95, 400, 3, out, upper), 30032);
    }
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(out[i], -1);
        EXPECT_EQ(upper[i], -1);
    }
}

// ---- class and period ------------------------------------------------------------------------------------

TEST(ArimaFit, WhichModelsAreRandomWalks) {
    const std::vector<double> x = generated_series(10, 80);
    const auto is_walk = [&](const arima_orders& o) {
        const fitted fit(x, o);
        return fit.code < 30000 && zolv_GetMaxBackcastCount(fit) == 0 &&
               zolv_GetIterationHistoryCount(fit, nullptr) == 0;
    };
    EXPECT_TRUE(is_walk({0, 1, 0}));
    EXPECT_TRUE(is_walk({0, 1, 0, 0, 0, 0, 12}));  // nothing uses the period
    EXPECT_FALSE(is_walk({0, 1, 0, 1, 0, 0, 12}));
    EXPECT_FALSE(is_walk({0, 1, 0, 0, 0, 1, 12}));
    EXPECT_FALSE(is_walk({1, 1, 0}));
    EXPECT_FALSE(is_walk({0, 1, 1}));
}

TEST(ArimaFit, UnusedPeriodCountsAsZero) {
    const std::vector<double> x = generated_series(11, 60);
    for (const std::int32_t period : {0, 12, 101, std::numeric_limits<std::int32_t>::max()}) {
        double plain[2] = {0.1, 0.0}, with[2] = {0.1, 0.0};
        zolv_ArimaModel a = arima_model({1, 0, 0}, plain), b = arima_model({1, 0, 0, 0, 0, 0, period}, with);
        ASSERT_EQ(zolv_QorArima(x.data(), 60, &a), 10000);
        ASSERT_EQ(zolv_QorArima(x.data(), 60, &b), 10000);
        EXPECT_SAME_BITS(plain[0], with[0]);
        EXPECT_SAME_BITS(plain[1], with[1]);
    }
}

// ---- parameter orders and start values -------------------------------------------------------------------

TEST(QorArima, RecordOrderInAndOut) {
    const std::vector<double> x = zolv_test::load_series("lake_huron");
    double c = nan_value;  // no start constant
    std::vector<double> v{0.1, 0.2, 0.3, -1.0, -77.5};
    zolv_ArimaModel model = arima_model({2, 0, 1}, v.data(), &c);
    ASSERT_EQ(zolv_QorArima(x.data(), length(x), &model), 10000);

    double start[] = {0.1, 0.2, 0.3}, start_constant = 1e10;
    zolv_ArimaModel kept = arima_model({2, 0, 1}, start, &start_constant);
    std::uint32_t code = 0;
    zolv_ArimaHandle handle = zolv_MakeArimaModelPtr(x.data(), length(x), &kept, &code);
    ASSERT_EQ(code, 10000u);
    double estimates[4];
    zolv_GetEstimatedParameter(handle, 4, estimates);
    for (int i = 0; i < 3; ++i) EXPECT_SAME_BITS(v[i], estimates[i]);  // AR1, AR2, MA1
    EXPECT_SAME_BITS(v[3], zolv_GetSigmaSquared(handle));
    EXPECT_EQ(v[4], -77.5);
    EXPECT_SAME_BITS(c, estimates[3]);
    EXPECT_EQ(start[0], 0.1);  // the handle's call writes nothing
    EXPECT_EQ(start_constant, 1e10);
    zolv_DeleteArimaModelPtr(&handle);
}

TEST(QorArima, MiddleBlocksChangePlaces) {
    const std::vector<double> x = logs_of(zolv_test::load_series("johnson_johnson"));
    const arima_orders o{1, 0, 2, 1, 1, 1, 4};
    double c = 0.2;
    std::vector<double> v{0.4, 0.15, -0.1, 0.3, 0.25, 0.0};  // AR, MA, MA, SAR, SMA
    zolv_ArimaModel model = arima_model(o, v.data(), &c);
    const int code = zolv_QorArima(x.data(), length(x), &model);
    ASSERT_LT(code, 30000);

    double start[] = {0.4, 0.3, 0.15, -0.1, 0.25}, start_constant = 0.2;  // AR, SAR, MA, MA, SMA
    zolv_ArimaModel kept = arima_model(o, start, &start_constant);
    std::uint32_t kept_code = 0;
    zolv_ArimaHandle handle = zolv_MakeArimaModelPtr(x.data(), length(x), &kept, &kept_code);
    ASSERT_EQ(static_cast<int>(kept_code), code);
    double e[6];
    zolv_GetEstimatedParameter(handle, 6, e);
    const double want[] = {e[0], e[2], e[3], e[1], e[4], zolv_GetSigmaSquared(handle)};
    for (int i = 0; i < 6; ++i) EXPECT_SAME_BITS(v[i], want[i]);
    EXPECT_SAME_BITS(c, e[5]);
    // The likelihood reads what QorArima has written: the same record, straight on.
    ArimaSummary summary;
    zolv_GetModelSummary(handle, &summary);
    EXPECT_SAME_BITS(summary.Aic, 2.0 * 7.0 + -2.0 * zolv_ArimaLogLikelihood(x.data(), 84, &model));
    zolv_DeleteArimaModelPtr(&handle);
}

TEST(QorArima, WhatIsNotFiniteIsReplaced) {
    const std::vector<double> x = zolv_test::load_series("lake_huron");
    for (const double bad : {nan_value, -nan_value, infinity, -infinity}) {
        double v[] = {bad, 0.2, bad, -1.0}, w[] = {0.1, 0.2, 0.1, -1.0}, c = bad, e = 1e10;
        zolv_ArimaModel a = arima_model({2, 0, 1}, v, &c), b = arima_model({2, 0, 1}, w, &e);
        ASSERT_EQ(zolv_QorArima(x.data(), length(x), &a), 10000);
        ASSERT_EQ(zolv_QorArima(x.data(), length(x), &b), 10000);
        for (int i = 0; i < 4; ++i) EXPECT_SAME_BITS(v[i], w[i]);
        EXPECT_SAME_BITS(c, e);
    }
}

TEST(MakeArimaModelPtr, WhatIsNotFinitePassesUntouched) {
    const std::vector<double> x = zolv_test::load_series("lake_huron");
    double v[] = {nan_value, 0.2, 0.1};
    zolv_ArimaModel model = arima_model({2, 0, 1}, v);
    std::uint32_t code = 1;
    zolv_ArimaHandle handle = zolv_MakeArimaModelPtr(x.data(), length(x), &model, &code);
    EXPECT_NE(code, 10000u);  // nothing converges from a NaN
    zolv_DeleteArimaModelPtr(&handle);

    double one[] = {0.5}, c = 580.0 * 0.5;  // a start constant is used, and stays a start
    zolv_ArimaModel with = arima_model({1, 0, 0}, one, &c);
    handle = zolv_MakeArimaModelPtr(x.data(), length(x), &with, &code);
    ASSERT_LT(code, 30000u);
    double rows[26][3];
    double* pointers[26];
    for (int i = 0; i < 26; ++i) pointers[i] = rows[i];
    zolv_GetIterationHistory(handle, pointers);
    EXPECT_NEAR(rows[0][1], 0.5, 0.0);
    EXPECT_NEAR(rows[0][2], 290.0, 1e-9);  // the row shows the constant
    EXPECT_EQ(c, 290.0);
    zolv_DeleteArimaModelPtr(&handle);
}

TEST(MakeArimaModelPtr, WithoutParametersTheConstantIsNoStart) {
    const std::vector<double> x = zolv_test::load_series("lake_huron");
    std::vector<double> estimates[2];
    double constants[] = {0.0, nan_value};  // neither is read
    for (int i = 0; i < 2; ++i) {
        zolv_ArimaModel model = arima_model({1, 0, 0}, nullptr, &constants[i]);
        std::uint32_t code = 1;
        zolv_ArimaHandle handle = zolv_MakeArimaModelPtr(x.data(), length(x), &model, &code);
        ASSERT_EQ(code, 10000u);
        estimates[i].resize(2);
        zolv_GetEstimatedParameter(handle, 2, estimates[i].data());
        zolv_DeleteArimaModelPtr(&handle);
    }
    EXPECT_EQ(estimates[0], estimates[1]);
    EXPECT_EQ(constants[0], 0.0);
}

TEST(QorArima, RandomWalkWritesVarianceAndDrift) {
    const std::vector<double> x = zolv_test::load_series("nile");
    double v[] = {nan_value, -7.0}, c = nan_value;
    zolv_ArimaModel model = arima_model({0, 1, 0}, v);
    ASSERT_EQ(zolv_QorArima(x.data(), length(x), &model), 0);
    const fitted walk(x, {0, 1, 0});
    EXPECT_SAME_BITS(v[0], zolv_GetSigmaSquared(walk));
    EXPECT_EQ(v[1], -7.0);
    model.Constant = &c;
    ASSERT_EQ(zolv_QorArima(x.data(), length(x), &model), 0);
    const fitted drifting(x, {0, 1, 0}, true);
    double drift = 0.0;
    zolv_GetEstimatedParameter(drifting, 1, &drift);
    EXPECT_SAME_BITS(v[0], zolv_GetSigmaSquared(drifting));
    EXPECT_SAME_BITS(c, drift);

    v[0] = -3.0, c = -4.0;
    EXPECT_EQ(zolv_QorArima(x.data(), 2, &model), 30025);
    EXPECT_EQ(v[0], -3.0);
    EXPECT_EQ(c, -4.0);
}

TEST(ArimaFit, AFailedFitWritesNothing) {
    const std::vector<double> flat(60, 0.0), x = generated_series(3, 60);
    const struct {
        const std::vector<double>& series;
        arima_orders orders;
    } failures[] = {{flat, {1, 0, 1}}, {x, {0, 0, 0}}, {x, {1, 0, 0, 0, 0, 1, 101}}, {x, {0, 57, 1}}};
    for (const auto& failure : failures) {
        std::vector<double> v(12, nan_value);
        double c = nan_value;
        zolv_ArimaModel model = arima_model(failure.orders, v.data(), &c);
        EXPECT_GE(zolv_QorArima(failure.series.data(), 60, &model), 30000);
        std::uint32_t code = 0;
        EXPECT_EQ(zolv_MakeArimaModelPtr(failure.series.data(), 60, &model, &code), nullptr);
        EXPECT_GE(code, 30000u);
        for (const double value : v) EXPECT_SAME_BITS(value, nan_value);
        EXPECT_SAME_BITS(c, nan_value);
    }
}

// ---- bad input -------------------------------------------------------------------------------------------

TEST(ArimaFit, NullPointers) {
    const std::vector<double> x = generated_series(12, 60);
    double v[3] = {0.1, -5.0, -5.0};
    zolv_ArimaModel model = arima_model({1, 0, 0}, v);
    std::uint32_t code = 1;
    EXPECT_EQ(zolv_MakeArimaModelPtr(x.data(), 60, nullptr, &code), nullptr);
    EXPECT_EQ(code, 30029u);
    EXPECT_EQ(zolv_MakeArimaModelPtr(x.data(), 60, nullptr, nullptr), nullptr);
    EXPECT_EQ(zolv_MakeArimaModelPtr(nullptr, 60, &model, &code), nullptr);
    EXPECT_EQ(code, 30025u);
    zolv_ArimaHandle handle = zolv_MakeArimaModelPtr(x.data(), 60, &model, nullptr);
    EXPECT_NE(handle, nullptr);
    zolv_DeleteArimaModelPtr(&handle);
    EXPECT_EQ(handle, nullptr);
    zolv_DeleteArimaModelPtr(&handle);  // twice is harmless
    zolv_DeleteArimaModelPtr(nullptr);

    EXPECT_EQ(zolv_QorArima(x.data(), 60, nullptr), 30029);
    EXPECT_EQ(zolv_QorArima(nullptr, 60, &model), 30025);
    model.Parameters = nullptr;
    EXPECT_EQ(zolv_QorArima(x.data(), 60, &model), 30029);
    model = arima_model({0, 1, 0});
    EXPECT_EQ(zolv_QorArima(x.data(), 60, &model), 30029);
    EXPECT_EQ(zolv_QorArima(nullptr, 60, &model), 30029);
    EXPECT_EQ(zolv_MakeArimaModelPtr(nullptr, 60, &model, &code), nullptr);
    EXPECT_EQ(code, 30025u);
}

TEST(ArimaFit, CountsThatNoSeriesHas) {
    const std::vector<double> x = generated_series(13, 60);
    double v[2] = {0.1, -5.0};
    // A negative number that a caller has converted, and what would not fit with the margin.
    for (const std::uint32_t n : {0xFFFFFFFFu, 0x80000000u, 0x7FFFFFFFu, 0x7FFFFFFFu - 99u}) {
        for (const arima_orders& o : {arima_orders{1, 0, 0}, arima_orders{0, 1, 0}}) {
            zolv_ArimaModel model = arima_model(o, v);
            std::uint32_t code = 1;
            EXPECT_EQ(zolv_QorArima(x.data(), n, &model), 30025);
            EXPECT_EQ(zolv_MakeArimaModelPtr(x.data(), n, &model, &code), nullptr);
            EXPECT_EQ(code, 30025u);
            EXPECT_EQ(v[1], -5.0);
        }
    }
}

TEST(ArimaFit, SameBitsFromEightThreads) {
    const std::vector<double> x = airline();
    const auto fit = [&](std::vector<double>& v) {
        v = {0.1, 0.1, 0.1, -1.0};
        zolv_ArimaModel model = arima_model({1, 1, 1, 0, 1, 1, 12}, v.data());
        EXPECT_LT(zolv_QorArima(x.data(), length(x), &model), 30000);
    };
    std::vector<double> alone;
    fit(alone);
    std::vector<std::vector<double>> results(8);
    std::vector<std::thread> threads;
    for (auto& result : results) threads.emplace_back([&] { fit(result); });
    for (std::thread& thread : threads) thread.join();
    for (const auto& result : results) {
        for (std::size_t i = 0; i < 4; ++i) EXPECT_SAME_BITS(result[i], alone[i]);
    }
}

}  // namespace
