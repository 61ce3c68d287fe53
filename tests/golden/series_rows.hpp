// tests/golden/series_rows.hpp: the exact likelihood, the order search, the transforms and the unit-root
// test.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "golden/fits.hpp"
#include "golden/table.hpp"
#include "zolv.h"

namespace golden {

inline void likelihood_rows() {
    struct known_model {
        zolv_test::arima_orders orders;
        list parameters;  // record order, the variance last
    };
    const std::vector<known_model> models = {
        {{1, 0, 0, 0, 0, 0, 0}, {0.6, 1.5}},
        {{0, 1, 1, 0, 0, 0, 0}, {0.4, 2.0}},
        {{2, 0, 1, 0, 0, 0, 0}, {0.5, -0.3, 0.2, 1.0}},
        {{5, 0, 5, 0, 0, 0, 0}, {0.2, 0.1, -0.1, 0.05, 0.1, 0.3, -0.2, 0.1, 0.05, -0.1, 1.0}},
        {{0, 1, 1, 0, 1, 1, 12}, {0.4, 0.6, 1.0}},
        {{1, 0, 1, 1, 0, 1, 4}, {0.7, 0.3, 0.2, -0.4, 10.0}},
        {{1, 0, 0, 0, 0, 0, 0}, {1.0, 1.0}},   // a unit root
        {{0, 0, 1, 0, 0, 0, 0}, {1.5, 1.0}},   // not invertible
        {{1, 0, 0, 0, 0, 0, 0}, {0.5, -1.0}},  // no variance
        {{1, 0, 0, 0, 0, 0, 0}, {missing, 1.0}},
    };
    table& to = table::instance();
    for (const char* series :
         {"airline_passengers", "bj_series_f", "johnson_johnson", "lynx", "uk_lung_deaths"}) {
        const list x = values_of(series);
        to.add("likelihood", "ArimaLogLikelihood", series, needs::blas, [&](digest& d) {
            for (const known_model& m : models) {
                for (const bool constant : {false, true}) {
                    list parameters = m.parameters;
                    double flag = 0.0;
                    const zolv_ArimaModel model =
                        zolv_test::arima_model(m.orders, parameters.data(), constant ? &flag : nullptr);
                    for (const int count : {static_cast<int>(x.size()), 30, 14, 2, 1, 0}) {
                        d(zolv_ArimaLogLikelihood(x.data(), count, &model));
                    }
                }
            }
        });
    }
    to.finish("likelihood");
}

inline void search_rows() {
    struct grid {
        const char* series;
        int d, D, s, highest, seasonal;
    };
    table& to = table::instance();
    for (const grid& g : {grid{"lake_huron", 0, 0, 0, 3, 0},
                          {"bj_series_f", 0, 0, 0, 5, 0},
                          {"nile", 1, 0, 0, 2, 0},
                          {"johnson_johnson", 1, 1, 4, 1, 1},
                          {"www_usage", 2, 0, 0, 2, 0}}) {
        const list x = values_of(g.series);
        for (int criterion = 0; criterion < 3; ++criterion) {
            if (criterion > 0 && g.highest == 5) continue;
            const std::string label = std::string(g.series) + " criterion=" + std::to_string(criterion);
            to.add_for_teams("search", "AutoFindBestArma", label, needs::blas, [&](digest& to_row) {
                zolv_BestArimaAutoFindSetting setting = zolv_CreateBestArimaAutoFindSetting();
                setting.regularDifference = g.d;
                setting.seasonalDifference = g.D;
                setting.seasonalPeriod = g.s;
                setting.maxAr = setting.maxMa = g.highest;
                setting.maxSeasonalAr = setting.maxSeasonalMa = g.seasonal;
                setting.criterion = criterion;
                const zolv_BestArmaGroup group =
                    zolv_AutoFindBestArma(x.data(), static_cast<int>(x.size()), &setting);
                for (int i = 0; i < group.count; ++i) {
                    const zolv_BestArmaModel& m = group.models[i];
                    to_row(list{static_cast<double>(group.order[i]), static_cast<double>(m.p),
                                static_cast<double>(m.q), static_cast<double>(m.seasonalP),
                                static_cast<double>(m.seasonalQ), m.logLikelihood, m.aicc, m.aic, m.bic});
                }
                zolv_CleanUpAfterAutoFindBestArma(group);
            });
        }
    }
    to.add("search", "CreateBestArimaAutoFindSetting", "defaults", needs::nothing, [](digest& d) {
        const zolv_BestArimaAutoFindSetting s = zolv_CreateBestArimaAutoFindSetting();
        for (const std::int32_t field :
             {s.regularDifference, s.minAr, s.maxAr, s.minMa, s.maxMa, s.seasonalDifference, s.minSeasonalAr,
              s.maxSeasonalAr, s.minSeasonalMa, s.maxSeasonalMa, s.seasonalPeriod, s.includeConstant,
              s.criterion}) {
            d(field);
        }
    });
    to.finish("search");
}

inline void transform_rows() {
    stream random("transforms");
    const list x = special_values() + random.between(-5, 5, 200) + random.between(0, 700, 200) +
                   random.magnitudes(-60, 60, 200);
    const list errors = random.magnitudes(-6, 3, static_cast<int>(x.size()));
    const auto n = static_cast<std::int32_t>(x.size());
    table& to = table::instance();
    for (const double lambda :
         {0.0, -0.0, 1.0, 0.5, 2.0, 0.25, 1.0 / 3.0, -0.5, -1.0, -2.5, missing, infinity}) {
        const std::string label =
            "lambda=" + std::string(std::signbit(lambda) && lambda == 0.0 ? "-" : "") +
            std::to_string(std::fabs(lambda) * (lambda < 0.0 ? -1.0 : 1.0)).substr(0, 6);
        const auto add = [&](const char* name, const auto& work) {
            to.add("transforms", name, label, needs::libm, [&](digest& d) {
                list out(x.size(), untouched);
                work(out.data());
                d(out);
            });
        };
        add("QorPowerTransform", [&](double* out) { zolv_QorPowerTransform(x.data(), n, lambda, out); });
        add("InverseQorPowerTransform",
            [&](double* out) { zolv_InverseQorPowerTransform(x.data(), n, lambda, out); });
        add("InverseQorPowerTransformFit",
            [&](double* out) { zolv_InverseQorPowerTransformFit(x.data(), n, lambda, 0.37, out); });
        add("InverseQorPowerTransformForecast", [&](double* out) {
            zolv_InverseQorPowerTransformForecast(x.data(), n, lambda, errors.data(), out);
        });
        to.add("transforms", "InverseQorPowerTransformInterval", label, needs::libm, [&](digest& d) {
            const list high(x.rbegin(), x.rend());
            list lower(x.size(), untouched), upper(x.size(), untouched);
            zolv_InverseQorPowerTransformInterval(x.data(), high.data(), n, lambda, lower.data(),
                                                  upper.data());
            d(lower);
            d(upper);
        });
    }
    to.finish("transforms");
}

inline void lambda_rows() {
    table& to = table::instance();
    for (const auto& [series, period] : committed_series()) {
        list x = values_of(series);
        to.add("lambda", "GetBoxCoxLambda", series, needs::libm, [&](digest& d) {
            for (const int group : {0, 2, 4, 12, 50}) {
                for (const list& range : {list{-1.0, 2.0, 1e-6}, {-2.0, 2.0, 1e-10}, {0.3, 0.4, 0.0}}) {
                    double out = untouched;
                    d(zolv_GetBoxCoxLambda(x.data(), static_cast<int>(x.size()), group, range[0], range[1],
                                           range[2], &out));
                    d(out);
                }
            }
        });
    }
    to.finish("lambda");
}

inline void unit_root_rows() {
    table& to = table::instance();
    for (const auto& [series, period] : committed_series()) {
        const list x = values_of(series);
        for (int regression = 0; regression < 4; ++regression) {
            const std::string label = std::string(series) + " regression=" + std::to_string(regression);
            to.add("unit root", "AugmentedDickeyFuller", label, needs::blas, [&](digest& d) {
                for (const int lags : {-1, 0, 1, 6}) {
                    for (int method = 0; method < 4; ++method) {
                        zolv_UnitRootTest test;
                        d(zolv_AugmentedDickeyFuller(x.data(), static_cast<int>(x.size()), lags, method,
                                                     regression, 0.1, &test));
                        d(list{test.statistic, test.pValue, test.critical1, test.critical5, test.critical10,
                               static_cast<double>(test.sampleSize), static_cast<double>(test.lagCount)});
                    }
                }
            });
        }
    }
    to.finish("unit root");
}

}  // namespace golden
