// tests/support/arima_model.hpp: models described in one line, and handles that end by themselves.
#pragma once

#include <cmath>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "support/series.hpp"
#include "zolv.h"

namespace zolv_test {

struct arima_orders {
    std::int32_t p = 0, d = 0, q = 0, P = 0, D = 0, Q = 0, S = 0;
    int terms() const { return p + q + P + Q; }
};

inline zolv_ArimaModel arima_model(const arima_orders& o, double* parameters = nullptr,
                                   double* constant = nullptr) {
    zolv_ArimaModel model;
    model.ArOrder = o.p;
    model.Differencing = o.d;
    model.MaOrder = o.q;
    model.SeasonalArOrder = o.P;
    model.SeasonalDifferencing = o.D;
    model.SeasonalMaOrder = o.Q;
    model.SeasonalPeriod = o.S;
    model.Reserved = 0;
    model.Constant = constant;
    model.Parameters = parameters;
    model.Reserved2 = 0;
    return model;
}

inline std::vector<double> logs_of(std::vector<double> x) {
    for (double& v : x) v = std::log(v);
    return x;
}

// A handle on a fit without start values, together with the series it borrows.
class fitted {
public:
    fitted(std::vector<double> series, const arima_orders& o, bool constant = false)
        : series_(std::move(series)) {
        double unread = 0.0;
        zolv_ArimaModel model = arima_model(o, nullptr, constant ? &unread : nullptr);
        handle_ =
            zolv_MakeArimaModelPtr(series_.data(), static_cast<std::uint32_t>(series_.size()), &model, &code);
    }
    fitted(const fitted&) = delete;
    fitted& operator=(const fitted&) = delete;
    ~fitted() { zolv_DeleteArimaModelPtr(&handle_); }

    operator zolv_ArimaHandle() const { return handle_; }
    const std::vector<double>& series() const { return series_; }
    int n() const { return static_cast<int>(series_.size()); }

    std::uint32_t code = 1;

private:
    std::vector<double> series_;
    zolv_ArimaHandle handle_ = nullptr;
};

}  // namespace zolv_test
