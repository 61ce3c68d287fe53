// tests/time_series/arima_allocation_test.cpp: every allocation of the ARIMA calls fails once.
//
// The standard exception reaches the caller, or for the model object code 30001; nothing is leaked, nothing
// of the caller's is written, and a handle answers the next call as if nothing had happened.
#include <gtest/gtest.h>

#include <functional>

#include "support/arima_model.hpp"
#include "support/bits.hpp"
#include "support/failing_allocation.hpp"
#include "zolv.h"

namespace {

using zolv_test::allocation_outcome;
using zolv_test::arima_model;
using zolv_test::arima_orders;
using zolv_test::live_blocks;
using zolv_test::with_failing_allocation;

struct Case {
    arima_orders orders;
    bool constant, start;
};
const Case cases[] = {{{0, 1, 1, 0, 1, 1, 12}, false, false},
                      {{1, 1, 1, 0, 0, 0, 0}, true, true},
                      {{0, 1, 0, 0, 0, 0, 0}, false, false},
                      {{0, 1, 0, 0, 0, 0, 0}, true, true},
                      {{0, 0, 0, 0, 0, 1, 101}, true, true}};  // the last one is refused on its way (30023)

std::vector<double> airline() { return zolv_test::logs_of(zolv_test::load_series("airline_passengers")); }

TEST(Allocation, MakeArimaModelPtr) {
    const std::vector<double> x = airline();
    for (const Case& c : cases) {
        int exceptions = 0, no_memory = 0;
        for (long n = 0;; ++n) {
            ASSERT_LT(n, 1000);
            double start[8] = {0.1, 0.1, 0.1, 0.1, 0.1, 0.1, 0.1, 0.1}, constant = 1e10;
            zolv_ArimaModel model =
                arima_model(c.orders, c.start ? start : nullptr, c.constant ? &constant : nullptr);
            std::uint32_t code = 1;
            zolv_ArimaHandle handle = nullptr;
            const long before = live_blocks;
            const auto outcome = with_failing_allocation(
                n, [&] { handle = zolv_MakeArimaModelPtr(x.data(), 144, &model, &code); });
            if (outcome == allocation_outcome::succeeded) {
                EXPECT_TRUE(handle != nullptr ? code < 30000 : code == 30023)
                    << code << " for period " << c.orders.S;
                zolv_DeleteArimaModelPtr(&handle);
                EXPECT_EQ(live_blocks, before);
                break;
            }
            EXPECT_EQ(handle, nullptr);
            EXPECT_EQ(live_blocks, before) << "allocation " << n;
            if (outcome == allocation_outcome::failed_with_answer) {
                EXPECT_EQ(code, 30001u);
                ++no_memory;
            } else {
                EXPECT_EQ(code, 1u);
                ++exceptions;
            }
        }
        EXPECT_EQ(no_memory, 1);
        EXPECT_GE(exceptions, 1);
    }
}

TEST(Allocation, QorArima) {
    const std::vector<double> x = airline();
    for (const Case& c : cases) {
        int exceptions = 0;
        for (long n = 0;; ++n) {
            ASSERT_LT(n, 1000);
            double v[8] = {0.1, 0.1, 0.1, 0.1, 0.1, 0.1, 0.1, 0.1}, constant = 1e10;
            zolv_ArimaModel model = arima_model(c.orders, v, c.constant ? &constant : nullptr);
            const long before = live_blocks;
            const auto outcome = with_failing_allocation(n, [&] { zolv_QorArima(x.data(), 144, &model); });
            EXPECT_EQ(live_blocks, before) << "allocation " << n;
            if (outcome == allocation_outcome::succeeded) break;
            EXPECT_EQ(outcome, allocation_outcome::failed_with_exception);
            for (const double value : v) EXPECT_EQ(value, 0.1);
            EXPECT_EQ(constant, 1e10);
            ++exceptions;
        }
        EXPECT_GE(exceptions, 1);
    }
}

TEST(Allocation, LogLikelihood) {
    const std::vector<double> x = airline();
    double v[] = {0.3, 0.2, 0.4, 0.001};
    for (const bool seasonal : {false, true}) {
        const zolv_ArimaModel model =
            arima_model(seasonal ? arima_orders{0, 1, 1, 1, 0, 1, 12} : arima_orders{2, 1, 1, 0, 0, 0, 0}, v);
        const double want = zolv_ArimaLogLikelihood(x.data(), 144, &model);
        long n = 0;
        for (;; ++n) {
            ASSERT_LT(n, 100);
            double got = 0.0;
            const long before = live_blocks;
            const auto outcome =
                with_failing_allocation(n, [&] { got = zolv_ArimaLogLikelihood(x.data(), 144, &model); });
            EXPECT_EQ(live_blocks, before) << "allocation " << n;
            if (outcome == allocation_outcome::succeeded) {
                EXPECT_SAME_BITS(got, want);
                break;
            }
            EXPECT_EQ(outcome, allocation_outcome::failed_with_exception);
        }
        EXPECT_GE(n, 8);
    }
}

// What each call writes, in one vector; every call asks for something another one does not.
using call = std::function<void(zolv_ArimaHandle, std::vector<double>&)>;
const call calls[] = {
    [](zolv_ArimaHandle h, std::vector<double>& out) { zolv_GetEstimatedParameter(h, 3, out.data()); },
    [](zolv_ArimaHandle h, std::vector<double>& out) { zolv_GetForecast(h, 144, 24, out.data()); },
    [](zolv_ArimaHandle h, std::vector<double>& out) { zolv_GetForecast(h, 100, 30, out.data()); },
    [](zolv_ArimaHandle h, std::vector<double>& out) {
        zolv_GetForecastStandardError(h, 140, 40, out.data());
    },
    [](zolv_ArimaHandle h, std::vector<double>& out) {
        zolv_GetForecastLimit(h, 0.9, 130, 20, out.data(), out.data() + 20);
    },
    [](zolv_ArimaHandle h, std::vector<double>& out) { zolv_GetForecast(h, 3, 24, out.data()); },
    [](zolv_ArimaHandle h, std::vector<double>& out) {
        ArimaSummary s;
        zolv_GetModelSummary(h, &s);
        out[0] = s.Aicc, out[1] = s.Bic, out[2] = s.SumOfSquares;
    },
    [](zolv_ArimaHandle h, std::vector<double>& out) {
        double* rows[] = {&out[0], &out[3], &out[6], &out[9]};
        zolv_QorLjungBoxTest(h, rows);
    },
    [](zolv_ArimaHandle h, std::vector<double>& out) { zolv_GetResidual(h, 50, out.data()); },
    [](zolv_ArimaHandle h, std::vector<double>& out) { zolv_GetFit(h, 50, out.data()); },
    [](zolv_ArimaHandle h, std::vector<double>& out) {
        zolv_ParameterTable table{&out[0], &out[5], &out[10], &out[15]};
        zolv_GetParameterTable(h, &table);
        zolv_GetParameterCorrelationMatrix(h, &out[20]);
    },
    [](zolv_ArimaHandle h, std::vector<double>& out) {
        out[0] = zolv_GetTimeSeriesBackcast(h, 10, &out[1]);
        zolv_GetGaussianNoiseBackcast(h, 10, &out[20]);
    },
};

TEST(Allocation, HandleStaysUsable) {
    const std::vector<double> x = airline();
    for (const Case& c : cases) {
        double constant = 0.0;
        zolv_ArimaModel model = arima_model(c.orders, nullptr, c.constant ? &constant : nullptr);
        std::uint32_t code = 1;
        const long before = live_blocks;
        zolv_ArimaHandle handle = zolv_MakeArimaModelPtr(x.data(), 144, &model, &code);
        if (handle == nullptr) continue;
        zolv_ArimaHandle fresh = zolv_MakeArimaModelPtr(x.data(), 144, &model, &code);
        int fired = 0;
        for (std::size_t i = 0; i < std::size(calls); ++i) {
            for (long n = 0;; ++n) {
                ASSERT_LT(n, 1000);
                // A forecast of another origin first, so that the request is never a repeated one.
                double other;
                zolv_GetForecast(handle, 120, 1, &other);
                std::vector<double> got(60, -1.0), want(60, -1.0);
                const auto outcome = with_failing_allocation(n, [&] { calls[i](handle, got); });
                if (outcome == allocation_outcome::succeeded) break;
                ++fired;
                EXPECT_EQ(outcome, allocation_outcome::failed_with_exception);
                for (const double value : got) EXPECT_EQ(value, -1.0) << "call " << i << " allocation " << n;
                calls[i](handle, got);
                zolv_GetForecast(fresh, 120, 1, &other);
                calls[i](fresh, want);
                for (std::size_t k = 0; k < got.size(); ++k) {
                    EXPECT_SAME_BITS(got[k], want[k])
                        << "call " << i << " allocation " << n << " value " << k;
                }
            }
        }
        EXPECT_GE(fired, 5);
        zolv_DeleteArimaModelPtr(&handle);
        zolv_DeleteArimaModelPtr(&fresh);
        EXPECT_EQ(live_blocks, before);
    }
}

TEST(Allocation, AHostThatFitsAllDayDoesNotGrow) {
    const std::vector<double> x = airline(), flat(144, 0.0);
    const long before = live_blocks;
    for (int day = 0; day < 20; ++day) {
        for (const Case& c : cases) {
            for (const auto* series : {&x, &flat}) {  // most fits of the flat one fail
                zolv_ArimaModel model = arima_model(c.orders);
                std::uint32_t code = 1;
                zolv_ArimaHandle handle = zolv_MakeArimaModelPtr(series->data(), 144, &model, &code);
                EXPECT_EQ(handle == nullptr, code >= 30000);
                zolv_DeleteArimaModelPtr(&handle);
            }
        }
    }
    EXPECT_EQ(live_blocks, before);
}

}  // namespace
