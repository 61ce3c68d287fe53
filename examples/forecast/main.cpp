// The whole of a forecast: transform, unit-root test, order search, fit, diagnostics, forecast, picture.
#include <cmath>
#include <cstdio>
#include <exception>
#include <iostream>

#include "chart.hpp"
#include "options.hpp"
#include "report.hpp"
#include "series_file.hpp"
#include "zolv.h"

namespace {

std::vector<double> difference(std::vector<double> values, int lag) {
    const std::size_t step = static_cast<std::size_t>(lag);
    if (values.size() <= step) return {};
    for (std::size_t i = 0; i + step < values.size(); ++i) values[i] = values[i + step] - values[i];
    values.resize(values.size() - step);
    return values;
}

// The power in use. Guerrero's is reported either way, so that a reader can compare.
double choose_lambda(const series& data, const forecast_options& options) {
    print_heading("Power transform");
    double guerrero = NAN;
    const int code =
        zolv_GetBoxCoxLambda(data.values.data(), static_cast<int>(data.values.size()),
                             options.period > 1 ? options.period : 2, -1.0, 2.0, 1e-8, &guerrero);
    if (code == 0) {
        std::printf("Guerrero's lambda in [-1, 2]: %.4f\n", guerrero);
    } else {
        std::printf("Guerrero's lambda: too few whole groups (code %d)\n", code);
    }
    if (!options.lambda && code != 0) throw std::runtime_error("the series is too short to choose a lambda");
    const double lambda = options.lambda.value_or(guerrero);
    std::printf("in use: %g%s\n", lambda, lambda == 0.0 ? " (logarithms)" : "");
    return lambda;
}

model_orders choose_orders(const std::vector<double>& transformed, const forecast_options& options) {
    const bool seasonal = options.period > 1;
    zolv_BestArimaAutoFindSetting setting = zolv_CreateBestArimaAutoFindSetting();
    setting.regularDifference = options.orders ? options.orders->d : 1;
    setting.seasonalDifference = options.orders ? options.orders->D : (seasonal ? 1 : 0);
    setting.maxAr = setting.maxMa = 2;
    setting.maxSeasonalAr = setting.maxSeasonalMa = seasonal ? 1 : 0;
    setting.seasonalPeriod = options.period;
    print_heading("Order search, d = " + std::to_string(setting.regularDifference) +
                  ", D = " + std::to_string(setting.seasonalDifference));
    const zolv_BestArmaGroup group =
        zolv_AutoFindBestArma(transformed.data(), static_cast<int>(transformed.size()), &setting);
    print_candidates(group, 10);
    model_orders best = options.orders.value_or(model_orders{});
    if (!options.orders && group.count > 0 && group.order != nullptr) {
        // The white-noise candidate has nothing to fit; the best of the others is taken.
        for (int i = 0; i < group.count; ++i) {
            const zolv_BestArmaModel& m = group.models[group.order[i]];
            best = {m.p % 10000, setting.regularDifference,  m.q,
                    m.seasonalP, setting.seasonalDifference, m.seasonalQ};
            if (best.p + best.q + best.P + best.Q > 0) break;
        }
    }
    zolv_CleanUpAfterAutoFindBestArma(group);
    return best;
}

std::vector<double> residual_autocorrelations(zolv_ArimaHandle fit, int lags, double& limit) {
    std::vector<double> e(static_cast<std::size_t>(zolv_GetMaxResidualCount(fit)));
    zolv_GetResidual(fit, static_cast<int>(e.size()), e.data());
    double mean = 0.0, square = 0.0;
    for (const double x : e) mean += x / static_cast<double>(e.size());
    for (const double x : e) square += (x - mean) * (x - mean);
    std::vector<double> result;
    for (std::size_t k = 1; k <= static_cast<std::size_t>(lags) && k < e.size(); ++k) {
        double sum = 0.0;
        for (std::size_t t = 0; t + k < e.size(); ++t) sum += (e[t] - mean) * (e[t + k] - mean);
        result.push_back(sum / square);
    }
    limit = 1.96 / std::sqrt(static_cast<double>(e.size()));
    return result;
}

void run(const forecast_options& options) {
    const std::string file = options.file.empty() ? ZOLV_EXAMPLE_SERIES : options.file;
    const series data = read_series(file);
    const int n = static_cast<int>(data.values.size());
    std::printf("%d values from %s to %s, period %d\n", n, data.labels.front().c_str(),
                data.labels.back().c_str(), options.period);

    const double lambda = choose_lambda(data, options);
    std::vector<double> transformed(data.values.size());
    zolv_QorPowerTransform(data.values.data(), n, lambda, transformed.data());
    for (const double x : transformed) {
        if (!std::isfinite(x))
            throw std::runtime_error("the series does not bear this transform; choose another --lambda");
    }

    print_heading("Unit-root tests (constant, lags by AIC)");
    print_unit_root("series", transformed);
    print_unit_root("difference", difference(transformed, 1));

    const model_orders orders = choose_orders(transformed, options);
    const int period = orders.P + orders.D + orders.Q > 0 ? options.period : 0;
    const bool has_constant = orders.d + orders.D == 0;
    double constant = NAN;
    zolv_ArimaModel model{};
    model.ArOrder = orders.p;
    model.Differencing = orders.d;
    model.MaOrder = orders.q;
    model.SeasonalArOrder = orders.P;
    model.SeasonalDifferencing = orders.D;
    model.SeasonalMaOrder = orders.Q;
    model.SeasonalPeriod = period;
    model.Constant = has_constant ? &constant : nullptr;
    uint32_t code = 0;
    print_heading("Model " + describe(orders, period) + (has_constant ? " with a constant" : ""));
    zolv_ArimaHandle fit =
        zolv_MakeArimaModelPtr(transformed.data(), static_cast<uint32_t>(n), &model, &code);
    if (fit == nullptr)
        throw std::runtime_error("the model could not be fitted (code " + std::to_string(code) + ")");
    const uint32_t rows = zolv_GetIterationHistoryCount(fit, nullptr);
    std::printf("code %u after %u iterations\n\n", code, rows > 0 ? rows - 1 : 0);
    print_parameters(fit, orders, period, has_constant);
    print_heading("Summary");
    print_summary(fit);
    print_heading("Ljung-Box tests of the residuals");
    print_ljung_box(fit);
    print_heading("Iterations");
    print_history(fit);

    const std::size_t leads = static_cast<std::size_t>(options.leads);
    std::vector<double> forecast(leads), error(leads), lower(leads), upper(leads);
    int status = zolv_GetForecast(fit, n, options.leads, forecast.data());
    if (status == 0) status = zolv_GetForecastStandardError(fit, n, options.leads, error.data());
    if (status == 0) {
        status = zolv_GetForecastLimit(fit, options.confidence, n, options.leads, lower.data(), upper.data());
    }
    forecast_chart chart;
    chart.autocorrelations = residual_autocorrelations(fit, 36, chart.autocorrelation_limit);
    zolv_DeleteArimaModelPtr(&fit);
    if (status != 0) throw std::runtime_error("no forecast (code " + std::to_string(status) + ")");

    std::vector<double> mean(leads), low(leads), high(leads);
    zolv_InverseQorPowerTransformForecast(forecast.data(), options.leads, lambda, error.data(), mean.data());
    zolv_InverseQorPowerTransformInterval(lower.data(), upper.data(), options.leads, lambda, low.data(),
                                          high.data());
    char heading[96];
    std::snprintf(heading, sizeof heading, "Forecasts with %g%% limits, bias-corrected",
                  100.0 * options.confidence);
    print_heading(heading);
    std::printf("lead        forecast           lower           upper    (transformed   std. error)\n");
    for (std::size_t i = 0; i < leads; ++i) {
        std::printf("%4zu %15.4f %15.4f %15.4f    (%11.6f %12.6f)\n", i + 1, mean[i], low[i], high[i],
                    forecast[i], error[i]);
    }

    if (options.picture.empty()) return;
    chart.title = file.substr(file.find_last_of('/') + 1) + ", " + describe(orders, period);
    chart.history = data.values;
    chart.forecast = mean;
    chart.lower = low;
    chart.upper = high;
    chart.confidence = options.confidence;
    if (!draw(chart, options.picture)) throw std::runtime_error("gnuplot could not draw " + options.picture);
    std::printf("\npicture: %s\n", options.picture.c_str());
}

}  // namespace

int main(int argc, char** argv) {
    forecast_options options;
    const int exit_code = parse_options(argc, argv, options);
    if (exit_code >= 0) return exit_code;
    try {
        run(options);
    } catch (const std::exception& error) {
        std::cout.flush();
        std::cerr << "forecast: " << error.what() << "\n";
        return 2;
    }
    return 0;
}
