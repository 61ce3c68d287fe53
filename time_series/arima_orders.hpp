// time_series/arima_orders.hpp: the seven numbers that name a seasonal ARIMA model.
#pragma once

#include <cstdint>

namespace zolv::time_series {

// (p, d, q)(P, D, Q) with period S.
struct ArimaOrders {
    int p = 0, d = 0, q = 0;
    int P = 0, D = 0, Q = 0;
    int S = 0;

    // The lag tables have five rows, so each term order is 0..5; differences and the period only have to be
    // counts. Whoever allocates by these numbers asks here first.
    bool Valid() const {
        const auto order_valid = [](int order) { return order >= 0 && order <= 5; };
        return order_valid(p) && order_valid(q) && order_valid(P) && order_valid(Q) && d >= 0 && D >= 0 &&
               S >= 0;
    }

    int TermCount() const { return p + q + P + Q; }

    // In 64 bits: the caller may ask for any D and S, and they meet the length of the series only here.
    std::int64_t DifferenceLoss() const { return std::int64_t{D} * S + d; }

    // Observations at or below which there is no fit, and at or below which no forecast can start.
    std::int64_t ShortestOrigin() const { return (std::int64_t{P} + D) * S + p + d + 1; }
};

}  // namespace zolv::time_series
