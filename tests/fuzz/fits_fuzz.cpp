// Fits: two fresh handles say the same in every getter, to the bit; no getter writes beyond its array; the
// call that keeps nothing finds the same estimates.
#include <memory>

#include "fuzz/series.hpp"

using namespace zolv_fuzz;

namespace {

// Everything a handle says without being asked for a forecast.
std::vector<double> everything(zolv_ArimaHandle handle, const orders& o, bool constant, int n) {
    std::vector<double> said;
    const auto keep = [&said](const guarded& g, const char* call) {
        g.check(call);
        said.insert(said.end(), g.data(), g.data() + g.size());
    };
    const std::size_t k = static_cast<std::size_t>(o.terms()) + (constant ? 1 : 0);
    said.push_back(zolv_GetSigmaSquared(handle));
    guarded estimates(k + 3);
    zolv_GetEstimatedParameter(handle, static_cast<int>(k) + 3, estimates.data());
    keep(estimates, "zolv_GetEstimatedParameter");

    const int residual_count = zolv_GetMaxResidualCount(handle);
    require(residual_count >= 0 && residual_count <= n, "a residual count",
            {double(residual_count), double(n)});
    guarded residuals(static_cast<std::size_t>(residual_count)),
        fitted(static_cast<std::size_t>(residual_count));
    zolv_GetResidual(handle, 2147483647, residuals.data());
    zolv_GetFit(handle, 2147483647, fitted.data());
    keep(residuals, "zolv_GetResidual");
    keep(fitted, "zolv_GetFit");

    guarded coefficient(k + 1), error(k + 1), t(k + 1), p(k + 1);
    zolv_ParameterTable table{coefficient.data(), error.data(), t.data(), p.data()};
    zolv_GetParameterTable(handle, &table);
    for (const guarded* g : {&coefficient, &error, &t, &p}) keep(*g, "zolv_GetParameterTable");
    guarded correlations(k * (k > 0 ? k - 1 : 0) / 2);
    zolv_GetParameterCorrelationMatrix(handle, correlations.data());
    keep(correlations, "zolv_GetParameterCorrelationMatrix");

    ArimaSummary summary{-7.25, -7.25, -7.25, -7.25, -7.25, -7.25, -7.25};
    zolv_GetModelSummary(handle, &summary);
    said.insert(said.end(), {summary.DegreesOfFreedom, summary.SumOfSquares, summary.SigmaSquared,
                             summary.MeanSquare, summary.Aicc, summary.Aic, summary.Bic});

    guarded rows[4] = {guarded(3), guarded(3), guarded(3), guarded(3)};
    double* row_data[4] = {rows[0].data(), rows[1].data(), rows[2].data(), rows[3].data()};
    zolv_QorLjungBoxTest(handle, row_data);
    for (const guarded& row : rows) keep(row, "zolv_QorLjungBoxTest");

    const int backcasts = zolv_GetMaxBackcastCount(handle);
    require(backcasts >= 0 && backcasts <= 100, "a backcast count", {double(backcasts)});
    said.push_back(backcasts);
    guarded before(100), noise_before(100);
    said.push_back(zolv_GetTimeSeriesBackcast(handle, 2147483647, before.data()));
    zolv_GetGaussianNoiseBackcast(handle, 2147483647, noise_before.data());
    keep(before, "zolv_GetTimeSeriesBackcast");
    keep(noise_before, "zolv_GetGaussianNoiseBackcast");

    std::uint32_t length = 77;
    const std::uint32_t count = zolv_GetIterationHistoryCount(handle, &length);
    require(count <= 26 && length <= k + 2, "a history", {double(count), double(length)});
    std::vector<guarded> history(count, guarded(length));
    std::vector<double*> history_rows;
    for (guarded& row : history) history_rows.push_back(row.data());
    zolv_GetIterationHistory(handle, history_rows.data());
    for (const guarded& row : history) keep(row, "zolv_GetIterationHistory");
    return said;
}

// zolv_QorArima keeps the record order: AR, MA, seasonal AR, seasonal MA; a fit AR, seasonal AR, MA, seasonal
// MA.
std::vector<double> in_fit_order(const std::vector<double>& x, const orders& o) {
    std::vector<double> out;
    const auto take = [&](int from, int count) {
        out.insert(out.end(), x.begin() + from, x.begin() + from + count);
    };
    take(0, o.p);
    take(o.p + o.q, o.P);
    take(o.p, o.q);
    take(o.p + o.q + o.P, o.Q);
    return out;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    input in(data, size);
    const int n = in.below(80);
    const orders o = some_orders(in, 13);
    const bool constant = in.flag(), has_start = in.byte() < 64;
    const argument coefficient{-3.0, 0.3, true, {}};
    const double level = in.byte() < 192 ? in.between(-2.0, 2.0) : in.number(coefficient);
    std::vector<double> start(static_cast<std::size_t>(o.in_range() ? o.terms() : 20));
    for (double& v : start) v = in.byte() < 192 ? in.between(-0.9, 0.9) : in.number(coefficient);
    const std::vector<double> x = series(in, n);
    show_model("fit", o, x);
    show("start", {double(has_start), double(constant), level}, start);

    const std::vector<double> copy = x;
    const fit first(x, o, has_start ? &start : nullptr, constant ? &level : nullptr);
    const fit second(copy, o, has_start ? &start : nullptr, constant ? &level : nullptr);
    require(first.code == second.code, "the same code twice", {double(first.code), double(second.code)});

    // The call that keeps nothing replaces a NaN by the 0.1 that a fit without start values begins from.
    std::vector<double> record(start.size() + 1, std::nan(""));
    double estimated_constant = std::nan("");
    if (!has_start) {
        zolv_ArimaModel model = model_of(o, record.data(), constant ? &estimated_constant : nullptr);
        const int code = zolv_QorArima(x.data(), static_cast<std::uint32_t>(n), &model);
        require(code == static_cast<int>(first.code), "the code of the fit that keeps nothing",
                {double(code), double(first.code)});
    }
    if (first.code >= 30000) {
        for (const double v : record) require(std::isnan(v), "a failure writes nothing", {v});
        return 0;
    }
    require(o.in_range(), "no fit of what is no model", {});
    const std::vector<double> a = everything(first, o, constant, n), b = everything(second, o, constant, n);
    require(a.size() == b.size(), "as much from either handle", {double(a.size()), double(b.size())});
    for (std::size_t i = 0; i < a.size(); ++i)
        require(same_bits(a[i], b[i]), "the same from either handle", {double(i), a[i], b[i]});

    const bool random_walk = o.terms() == 0;
    if (!has_start && !random_walk) {
        const std::vector<double> estimates = in_fit_order(record, o);
        for (std::size_t i = 0; i < estimates.size(); ++i)
            require(same_bits(estimates[i], a[1 + i]), "the estimates of the fit that keeps nothing",
                    {double(i), estimates[i], a[1 + i]});
        require(same_bits(record[estimates.size()], a[0]), "its sigma squared",
                {record[estimates.size()], a[0]});
        if (constant)
            require(same_bits(estimated_constant, a[1 + estimates.size()]), "its constant",
                    {estimated_constant, a[1 + estimates.size()]});
    }
    for (std::size_t i = 0; i < x.size(); ++i)
        require(same_bits(x[i], copy[i]), "the series is read only", {double(i), x[i], copy[i]});
    return 0;
}
