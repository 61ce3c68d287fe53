// bench/models_bench.cpp: whole calls of the time-series side, elapsed time, with the digest of what came
// back.
//
// The series: the logarithms of the airline passengers, and those of support/series.hpp. The row names are
// those of the scripts in peers/. Only the order search starts a team; its second row has the machine's,
// elapsed time.
#include <benchmark/benchmark.h>
#include <omp.h>

#include <cmath>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "support/answers.hpp"
#include "support/series.hpp"
#include "zolv.h"

namespace {

using namespace zolv_bench;

// `work` returns what the digest is taken of.
void add(const std::string& name, const std::function<list()>& work,
         benchmark::TimeUnit unit = benchmark::kMicrosecond, int team = 1) {
    auto* const row = benchmark::RegisterBenchmark((name + "/zolv").c_str(), [work](benchmark::State& state) {
        list out;
        for (auto unused : state) {
            (void)unused;
            out = work();
            benchmark::DoNotOptimize(out.data());
        }
        state.SetLabel(digest_label(out));
    });
    row->Unit(unit);
    if (team > 1) row->UseRealTime();
}

struct orders {
    int p, d, q, P, D, Q, S;
};

zolv_ArimaModel model_of(const orders& o, double* parameters, double* constant) {
    zolv_ArimaModel m = {};
    m.ArOrder = o.p;
    m.Differencing = o.d;
    m.MaOrder = o.q;
    m.SeasonalArOrder = o.P;
    m.SeasonalDifferencing = o.D;
    m.SeasonalMaOrder = o.Q;
    m.SeasonalPeriod = o.S;
    m.Parameters = parameters;
    m.Constant = constant;
    return m;
}

const double missing = zolv_GetMissingValue();

void add_fit(const std::string& name, const list& x, const orders& o, bool constant) {
    add(name, [=] {
        list parameters(16, missing);
        double value = missing;
        zolv_ArimaModel m = model_of(o, parameters.data(), constant ? &value : nullptr);
        const int code = zolv_QorArima(x.data(), static_cast<std::uint32_t>(x.size()), &m);
        parameters.push_back(value);
        parameters.push_back(code);
        return parameters;
    });
}

// A handle that lives as long as the program.
zolv_ArimaHandle kept_fit(const list& x, const orders& o) {
    static std::vector<list> series;
    series.reserve(8);
    series.push_back(x);
    zolv_ArimaModel m = model_of(o, nullptr, nullptr);
    return zolv_MakeArimaModelPtr(series.back().data(), static_cast<std::uint32_t>(x.size()), &m, nullptr);
}

void add_likelihood(const std::string& name, const list& x) {
    add(name, [=] {
        list parameters = {0.5, 0.2, -0.4, 1.0};
        double flag = 0.0;
        const zolv_ArimaModel m = model_of({2, 0, 1, 0, 0, 0, 0}, parameters.data(), &flag);
        return list{zolv_ArimaLogLikelihood(x.data(), static_cast<int>(x.size()), &m)};
    });
}

void add_search(const std::string& name, const list& x, int team) {
    add(
        name,
        [=] {
            const zolv_BestArimaAutoFindSetting setting = zolv_CreateBestArimaAutoFindSetting();
            const zolv_BestArmaGroup group =
                zolv_AutoFindBestArma(x.data(), static_cast<int>(x.size()), &setting);
            list out;
            for (int i = 0; i < group.count; ++i) {
                out.push_back(group.order[i]);
                out.push_back(group.models[i].aicc);
            }
            zolv_CleanUpAfterAutoFindBestArma(group);
            return out;
        },
        benchmark::kMillisecond, team);
}

void add_unit_root(const std::string& name, const list& x) {
    add(name, [=] {
        zolv_UnitRootTest test;
        zolv_AugmentedDickeyFuller(x.data(), static_cast<int>(x.size()), -1, 0, 0, 0.05, &test);
        return list{test.statistic, test.pValue, static_cast<double>(test.lagCount)};
    });
}

// One row per call on the handle of the airline model.
void add_getters(zolv_ArimaHandle handle, int n) {
    const auto airline = [&](const char* name, const std::function<void(double*)>& call) {
        add(std::string(name) + " airline", [=] {
            list out(512, 0.0);
            call(out.data());
            return out;
        });
    };
    airline("forecast 24", [=](double* out) { zolv_GetForecast(handle, n, 24, out); });
    airline("forecast errors 24", [=](double* out) { zolv_GetForecastStandardError(handle, n, 24, out); });
    airline("forecast limits 24",
            [=](double* out) { zolv_GetForecastLimit(handle, 0.95, n, 24, out, out + 24); });
    airline("parameter table", [=](double* out) {
        zolv_ParameterTable table = {out, out + 8, out + 16, out + 24};
        zolv_GetParameterTable(handle, &table);
    });
    airline("model summary", [=](double* out) {
        ArimaSummary s = {};
        zolv_GetModelSummary(handle, &s);
        out[0] = s.Aicc;
        out[1] = s.SumOfSquares;
    });
    airline("Ljung-Box", [=](double* out) {
        double* rows[] = {out, out + 3, out + 6, out + 9};
        zolv_QorLjungBoxTest(handle, rows);
    });
    airline("residuals", [=](double* out) { zolv_GetResidual(handle, n, out); });
    airline("fits", [=](double* out) { zolv_GetFit(handle, n, out); });
    airline("backcasts", [=](double* out) {
        zolv_GetTimeSeriesBackcast(handle, 100, out);
        zolv_GetGaussianNoiseBackcast(handle, 100, out + 100);
    });
    airline("estimates and correlations", [=](double* out) {
        zolv_GetEstimatedParameter(handle, 2, out);
        zolv_GetParameterCorrelationMatrix(handle, out + 2);
        out[3] = zolv_GetSigmaSquared(handle);
    });
    airline("history", [=](double* out) {
        double* rows[26];
        for (int i = 0; i < 26; ++i) rows[i] = out + 4 * i;
        std::uint32_t length = 0;
        out[511] = zolv_GetIterationHistoryCount(handle, &length);
        zolv_GetIterationHistory(handle, rows);
    });
}

void add_transforms(const list& x) {
    const list errors(x.size(), 0.1);
    const auto n = static_cast<std::int32_t>(x.size());
    for (const double lambda : {0.0, 0.25, -0.5}) {
        const std::string tail = " lambda " +
                                 std::to_string(lambda).substr(0, lambda < 0.0 ? 4 : 3 + (lambda > 0.0)) +
                                 " n=" + std::to_string(n);
        add("power transform" + tail, [=] {
            list out(x.size());
            zolv_QorPowerTransform(x.data(), n, lambda, out.data());
            return out;
        });
        add("power inverses" + tail, [=] {
            list out(x.size()), upper(x.size());
            zolv_InverseQorPowerTransform(x.data(), n, lambda, out.data());
            zolv_InverseQorPowerTransformFit(x.data(), n, lambda, 0.3, out.data());
            zolv_InverseQorPowerTransformForecast(x.data(), n, lambda, errors.data(), out.data());
            zolv_InverseQorPowerTransformInterval(x.data(), x.data(), n, lambda, out.data(), upper.data());
            return out;
        });
    }
}

const bool registered = [] {
    const list passengers = committed_series(ZOLV_BENCH_DATA "/airline_passengers.csv");
    list logs = passengers;
    for (double& v : logs) v = std::log(v);
    const orders airline = {0, 1, 1, 0, 1, 1, 12};
    add_fit("fit airline", logs, airline, false);
    add("handle made and deleted airline", [=] {
        zolv_ArimaModel m = model_of(airline, nullptr, nullptr);
        std::uint32_t code = 0;
        zolv_ArimaHandle handle = zolv_MakeArimaModelPtr(logs.data(), 144, &m, &code);
        const double variance = zolv_GetSigmaSquared(handle);
        zolv_DeleteArimaModelPtr(&handle);
        return list{variance, static_cast<double>(code)};
    });
    add_fit("fit (2,0,1)+c n=200", arma_series(200), {2, 0, 1, 0, 0, 0, 0}, true);
    add_fit("fit (2,0,1)+c n=2000", arma_series(2000), {2, 0, 1, 0, 0, 0, 0}, true);
    for (const std::size_t n : {500, 2000})
        add_likelihood("likelihood n=" + std::to_string(n), arma_series(n));
    add_search("order search n=200", arma_series(200), 1);
    add_search("order search n=200 on the team", arma_series(200), omp_get_num_procs());
    for (const std::size_t n : {200, 2000, 20000})
        add_unit_root("ADF n=" + std::to_string(n), integrated_series(n));
    add("Guerrero lambda airline", [passengers] {
        double out = 0.0;
        zolv_GetBoxCoxLambda(passengers.data(), static_cast<int>(passengers.size()), 12, -1.0, 2.0, 1e-6,
                             &out);
        return list{out};
    });
    add_getters(kept_fit(logs, airline), 144);
    add_transforms(arma_series(2000));
    return true;
}();

}  // namespace
