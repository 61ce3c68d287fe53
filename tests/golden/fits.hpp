// tests/golden/fits.hpp: fits of the committed series, and everything that a handle says.
#pragma once

#include <cmath>
#include <cstdint>
#include <string>
#include <vector>

#include "golden/table.hpp"
#include "support/arima_model.hpp"
#include "support/series.hpp"
#include "zolv.h"

namespace golden {

// Parameters in fit order, none: the library's own; a constant when `constant` is set, its start value
// beside.
struct fit {
    std::string series;
    zolv_test::arima_orders orders;
    bool constant = false;
    list starts = {};
    double start_constant = 0.0;
    bool roots = false;  // of the square roots, which every machine rounds alike
};

struct named_period {
    const char* series;
    int period;
};

inline const std::vector<named_period>& committed_series() {
    static const std::vector<named_period> all = {{"airline_passengers", 12},
                                                  {"bj_series_a", 0},
                                                  {"bj_series_b", 0},
                                                  {"bj_series_b2", 0},
                                                  {"bj_series_c", 0},
                                                  {"bj_series_d", 0},
                                                  {"bj_series_e", 0},
                                                  {"bj_series_f", 0},
                                                  {"bj_series_m_lead", 0},
                                                  {"bj_series_m_sales", 0},
                                                  {"co2_mauna_loa", 12},
                                                  {"johnson_johnson", 4},
                                                  {"lake_huron", 0},
                                                  {"lynx", 0},
                                                  {"nile", 0},
                                                  {"nottingham_temperature", 12},
                                                  {"sunspot_year", 0},
                                                  {"uk_driver_deaths", 12},
                                                  {"uk_gas", 4},
                                                  {"uk_lung_deaths", 12},
                                                  {"us_accidental_deaths", 12},
                                                  {"us_log_real_gnp", 4},
                                                  {"us_real_gdp", 4},
                                                  {"www_usage", 0}};
    return all;
}

// The values of a series, read once.
inline list values_of(const std::string& name, bool roots = false) {
    list x = zolv_test::load_series(name);
    if (roots) {
        for (double& v : x) v = std::sqrt(v);
    }
    return x;
}

inline std::vector<fit> all_fits() {
    std::vector<fit> out;
    for (const auto& [series, s] : committed_series()) {
        out.push_back({series, {0, 1, 1, 0, 0, 0, 0}});
        out.push_back({series, {2, 0, 1, 0, 0, 0, 0}, true});
        out.push_back({series, {1, 1, 1, 0, 0, 0, 0}, true, {0.3, -0.2}, 0.05});
        if (s == 0) continue;
        out.push_back({series, {0, 1, 1, 0, 1, 1, s}, false, {}, 0.0, true});
        // Terms at lags that are products of a regular and a seasonal coefficient, on both sides.
        out.push_back({series, {1, 0, 1, 1, 0, 1, s}, true});
        out.push_back({series, {2, 1, 0, 1, 0, 0, s}, false, {0.4, -0.1, 0.2}});
        out.push_back({series, {0, 0, 2, 2, 1, 0, s}, true, {0.2, 0.1, 0.3, 0.001}, 1.0});
    }
    for (const char* series : {"bj_series_a", "bj_series_c", "lake_huron", "www_usage"}) {
        out.push_back({series, {5, 0, 0, 0, 0, 0, 0}, true});
        out.push_back({series, {0, 2, 2, 0, 0, 0, 0}});
        out.push_back({series, {3, 0, 3, 0, 0, 0, 0}});
    }
    for (const char* series : {"bj_series_b", "bj_series_d", "us_log_real_gnp"}) {
        out.push_back({series, {0, 1, 0, 0, 0, 0, 0}});
        out.push_back({series, {0, 1, 0, 0, 0, 0, 0}, true});
    }
    // Refusals.
    out.push_back({"bj_series_f", {6, 0, 0, 0, 0, 0, 0}});
    out.push_back({"bj_series_f", {0, 0, 0, 0, 0, 0, 0}, true});
    out.push_back({"bj_series_f", {5, 0, 5, 0, 0, 0, 0}, true});
    out.push_back({"bj_series_f", {1, 0, 0, 1, 1, 0, 40}});
    return out;
}

inline std::string label_of(const fit& f) {
    const auto& o = f.orders;
    std::string text = f.series + (f.roots ? " roots" : "") + " (" + std::to_string(o.p) + " " +
                       std::to_string(o.d) + " " + std::to_string(o.q) + ")";
    if (o.S != 0) {
        text += "(" + std::to_string(o.P) + " " + std::to_string(o.D) + " " + std::to_string(o.Q) + ")" +
                std::to_string(o.S);
    }
    return text + (f.constant ? " constant" : "") + (f.starts.empty() ? "" : " starts");
}

// What the calls leave alone keeps this value.
inline constexpr double untouched = -77.25;

// The residual recursion, the search and the forecasts take + - * / and sqrt alone; p values and limits take
// exp and log, the criteria the exact likelihood and with it the provider.
inline void handle_rows(const std::string& label, zolv_ArimaHandle handle, int n, int parameters) {
    table& to = table::instance();
    const std::string group = "fits";
    const auto add = [&](const char* name, needs what, const auto& work) {
        to.add(group, name, label, what, work);
    };
    const auto rows_room = static_cast<std::size_t>(n > 160 ? n : 160);

    add("GetEstimatedParameter", needs::nothing, [&](digest& d) {
        list out(32, untouched);
        zolv_GetEstimatedParameter(handle, 16, out.data());
        d(out);
    });
    add("GetSigmaSquared", needs::nothing, [&](digest& d) { d(zolv_GetSigmaSquared(handle)); });
    add("GetResidual", needs::nothing, [&](digest& d) {
        list out(rows_room, untouched);
        d(zolv_GetMaxResidualCount(handle));
        zolv_GetResidual(handle, n, out.data());
        d(out);
    });
    add("GetFit", needs::nothing, [&](digest& d) {
        list out(rows_room, untouched);
        zolv_GetFit(handle, n, out.data());
        d(out);
    });
    add("GetTimeSeriesBackcast", needs::nothing, [&](digest& d) {
        for (const int count : {1, 20, 100}) {
            list out(128, untouched);
            d(zolv_GetMaxBackcastCount(handle));
            d(zolv_GetTimeSeriesBackcast(handle, count, out.data()));
            d(out);
        }
    });
    add("GetGaussianNoiseBackcast", needs::nothing, [&](digest& d) {
        list out(128, untouched);
        zolv_GetGaussianNoiseBackcast(handle, 100, out.data());
        d(out);
    });
    add("GetIterationHistory", needs::nothing, [&](digest& d) {
        std::uint32_t length = 0;
        const std::uint32_t count = zolv_GetIterationHistoryCount(handle, &length);
        std::vector<list> rows(count, list(length, untouched));
        std::vector<double*> pointers;
        for (list& row : rows) pointers.push_back(row.data());
        zolv_GetIterationHistory(handle, pointers.data());
        for (const list& row : rows) d(row);
    });
    add("GetParameterCorrelationMatrix", needs::nothing, [&](digest& d) {
        list out(128, untouched);
        zolv_GetParameterCorrelationMatrix(handle, out.data());
        d(out);
    });
    add("GetForecast", needs::nothing, [&](digest& d) {
        for (const int origin : {n, n - 7, n / 2, 2}) {
            list out(160, untouched);
            d(zolv_GetForecast(handle, origin, 40, out.data()));
            d(out);
        }
    });
    add("GetForecastStandardError", needs::nothing, [&](digest& d) {
        for (const int origin : {n, n - 7}) {
            list out(160, untouched);
            d(zolv_GetForecastStandardError(handle, origin, 150, out.data()));
            d(out);
        }
    });
    add("GetForecastLimit", needs::libm, [&](digest& d) {
        for (const double confidence : {0.95, 0.5, 0.0, 1.0, missing}) {
            list lower(64, untouched), upper(64, untouched);
            d(zolv_GetForecastLimit(handle, confidence, n, 24, lower.data(), upper.data()));
            d(lower);
            d(upper);
        }
    });
    const auto table_columns = [&](digest& d, bool p_values) {
        const auto rows = static_cast<std::size_t>(parameters + 2);
        std::vector<list> columns(4, list(rows, untouched));
        zolv_ParameterTable out = {columns[0].data(), columns[1].data(), columns[2].data(),
                                   columns[3].data()};
        zolv_GetParameterTable(handle, &out);
        if (p_values) return d(columns[3]);
        for (int i = 0; i < 3; ++i) d(columns[static_cast<std::size_t>(i)]);
    };
    add("GetParameterTable", needs::nothing, [&](digest& d) { table_columns(d, false); });
    add("GetParameterTable p values", needs::libm, [&](digest& d) { table_columns(d, true); });
    const auto tests = [&](digest& d, bool p_values) {
        std::vector<list> rows(4, list(3, untouched));
        double* pointers[] = {rows[0].data(), rows[1].data(), rows[2].data(), rows[3].data()};
        zolv_QorLjungBoxTest(handle, pointers);
        for (const list& row : rows) d(p_values ? list{row[2]} : list{row[0], row[1]});
    };
    add("QorLjungBoxTest", needs::nothing, [&](digest& d) { tests(d, false); });
    add("QorLjungBoxTest p values", needs::libm, [&](digest& d) { tests(d, true); });
    if (n > 400) return;  // the exact likelihood takes n^3 steps
    add("GetModelSummary", needs::blas, [&](digest& d) {
        ArimaSummary s = {};
        zolv_GetModelSummary(handle, &s);
        d(list{s.DegreesOfFreedom, s.SumOfSquares, s.SigmaSquared, s.MeanSquare, s.Aicc, s.Aic, s.Bic});
    });
}

inline void fit_rows() {
    table& to = table::instance();
    for (const fit& f : all_fits()) {
        const std::string label = label_of(f);
        const list x = values_of(f.series, f.roots);
        const auto n = static_cast<std::uint32_t>(x.size());
        list starts = f.starts;
        double constant = f.start_constant;
        zolv_ArimaModel model = zolv_test::arima_model(f.orders, starts.empty() ? nullptr : starts.data(),
                                                       f.constant ? &constant : nullptr);
        std::uint32_t code = 0;
        zolv_ArimaHandle handle = zolv_MakeArimaModelPtr(x.data(), n, &model, &code);
        to.add("fits", "MakeArimaModelPtr", label, needs::nothing, [&](digest& d) { d(code); });
        if (handle != nullptr) {
            handle_rows(label, handle, static_cast<int>(n), f.orders.terms() + (f.constant ? 1 : 0));
        }
        zolv_DeleteArimaModelPtr(&handle);
        to.add("fits", "QorArima", label, needs::nothing, [&](digest& d) {
            // Starts in record order here; a missing value asks for the library's own.
            list parameters(16, missing);
            for (std::size_t i = 0; i < f.starts.size(); ++i) parameters[i] = f.starts[i];
            double value = f.starts.empty() ? missing : f.start_constant;
            zolv_ArimaModel record =
                zolv_test::arima_model(f.orders, parameters.data(), f.constant ? &value : nullptr);
            d(zolv_QorArima(x.data(), n, &record));
            d(parameters);
            d(value);
        });
    }
    to.finish("fits");
}

}  // namespace golden
