// The power transforms and Guerrero's lambda: in place as apart, ways back that return, the forms that meet.
#include "fuzz/series.hpp"

using namespace zolv_fuzz;

namespace {

constexpr double lambda_thresholds[] = {0.0, 1.0, 2.0, 0.5, -1.0};
constexpr argument power{-2.0, 0.5, true, lambda_thresholds};

// One of the element-wise forms, apart and over its input; nothing is written for a count below 1.
template <class Form>
guarded apply(const std::vector<double>& x, const char* law, const Form& form) {
    const auto count = static_cast<std::int32_t>(x.size());
    guarded apart(x.size());
    form(x.data(), count, apart.data());
    apart.check(law);
    guarded over(x);
    form(over.data(), count, over.data());
    over.check(law);
    guarded untouched(x.size()), same(x.size());
    form(x.data(), 0, untouched.data());
    form(x.data(), -1, untouched.data());
    require_same(untouched, same, "a count below 1 writes nothing");
    return apart;
}

void there_and_back(input& in) {
    const double lambda = in.number(power);
    const std::vector<double> x = series(in, in.below(12));
    show("transform", {lambda}, x);
    if (std::isnan(lambda)) {
        guarded out(x.size());
        const guarded before = out;
        zolv_QorPowerTransform(x.data(), static_cast<std::int32_t>(x.size()), lambda, out.data());
        require_same(out, before, "a NaN lambda writes nothing");
        return;
    }
    const guarded there = apply(x, "transform", [&](const double* v, std::int32_t n, double* out) {
        zolv_QorPowerTransform(v, n, lambda, out);
    });
    const std::vector<double> moved(there.data(), there.data() + there.size());
    const guarded back = apply(moved, "inverse", [&](const double* v, std::int32_t n, double* out) {
        zolv_InverseQorPowerTransform(v, n, lambda, out);
    });
    for (std::size_t i = 0; i < x.size(); ++i) {
        if (lambda == 1.0) {
            require(same_bits(there[i], x[i]) && same_bits(back[i], x[i]), "copied bit for bit",
                    {x[i], there[i], back[i]});
            continue;
        }
        if (!(x[i] >= 1e-3 && x[i] <= 1e3) || (lambda != 0.0 && std::fabs(lambda) < 0.01) ||
            std::fabs(lambda) > 20.0)
            continue;
        const double steps = lambda == 0.0 ? 1.0 : 1.0 / std::fabs(lambda);
        const double tolerance = 1e-15 * (steps + std::fabs(std::log(x[i])) + 2.0);
        require(std::fabs(back[i] - x[i]) <= tolerance * x[i], "the inverse of the transform",
                {lambda, x[i], there[i], back[i]});
    }
}

void corrected(input& in) {
    const double lambda = in.number(power);
    const double error = in.number(power);
    const std::vector<double> x = series(in, in.below(12));
    show("corrected", {lambda, error}, x);
    const double variance = error * error;
    const guarded fitted = apply(x, "for fitted values", [&](const double* v, std::int32_t n, double* out) {
        zolv_InverseQorPowerTransformFit(v, n, lambda, variance, out);
    });
    std::vector<double> errors(x.size(), error);
    const guarded forecast = apply(x, "for forecasts", [&](const double* v, std::int32_t n, double* out) {
        zolv_InverseQorPowerTransformForecast(v, n, lambda, errors.data(), out);
    });
    // The halves stand in different places, which is exact as long as nothing underflows.
    const bool exact_halves = (variance == 0.0 || (variance > 1e-100 && variance < 1e100)) &&
                              (lambda == 0.0 || (std::fabs(lambda) > 1e-60 && std::fabs(lambda) < 1e60));
    for (std::size_t i = 0; i < x.size(); ++i) {
        require(!exact_halves || same_bits(fitted[i], forecast[i]) ||
                    (std::isnan(fitted[i]) && std::isnan(forecast[i])),
                "forecasts with one error are fitted values with its square",
                {lambda, error, x[i], fitted[i], forecast[i]});
    }
    guarded over(errors);  // over the errors, too
    const auto count = static_cast<std::int32_t>(x.size());
    zolv_InverseQorPowerTransformForecast(x.data(), count, lambda, over.data(), over.data());
    over.check("over the errors");
    if (!std::isnan(lambda)) require_same(over, forecast, "written over the errors");

    const guarded plain = apply(x, "inverse", [&](const double* v, std::int32_t n, double* out) {
        zolv_InverseQorPowerTransform(v, n, lambda, out);
    });
    const guarded exact = apply(x, "for fitted values", [&](const double* v, std::int32_t n, double* out) {
        zolv_InverseQorPowerTransformFit(v, n, lambda, 0.0, out);
    });
    if (!(lambda == 0.0 || (std::fabs(lambda) > 1e-100 && std::fabs(lambda) < 1e100))) return;
    for (std::size_t i = 0; i < x.size(); ++i) {
        if (!(std::fabs(x[i]) > 1e-100 && std::fabs(x[i]) < 1e100)) continue;
        require(same_bits(exact[i], plain[i]) || (std::isnan(exact[i]) && std::isnan(plain[i])),
                "no variance, no correction", {lambda, x[i], exact[i], plain[i]});
    }
}

void limits(input& in) {
    const double lambda = in.number(power);
    const int count = in.below(8);
    const std::vector<double> a = series(in, count), b = series(in, count);
    show("limits", {lambda}, a);
    guarded lower(a.size()), upper(a.size()), lower_over(a), upper_over(b);
    zolv_InverseQorPowerTransformInterval(a.data(), b.data(), count, lambda, lower.data(), upper.data());
    zolv_InverseQorPowerTransformInterval(lower_over.data(), upper_over.data(), count, lambda,
                                          lower_over.data(), upper_over.data());
    for (const guarded* g : {&lower, &upper, &lower_over, &upper_over}) g->check("limits");
    require_same(lower, lower_over, "lower limits in place");
    require_same(upper, upper_over, "upper limits in place");
    for (std::size_t i = 0; i < a.size(); ++i) {
        if (lambda > 0.0) {
            if (!(b[i] > 0.0 && b[i] > a[i])) {
                require(is_missing(lower[i]) && is_missing(upper[i]), "no limits", {lambda, a[i], b[i]});
            } else if (a[i] <= 0.0) {
                require(lower[i] == 0.0, "a lower limit of 0", {lambda, a[i], b[i], lower[i]});
            } else if (!std::isnan(a[i])) {
                require(lower[i] <= upper[i], "limits in order", {lambda, a[i], b[i], lower[i], upper[i]});
            }
        } else if (lambda < 0.0) {
            if (!(a[i] < 0.0)) require(is_missing(lower[i]), "no lower limit", {lambda, a[i], lower[i]});
            if (!(b[i] < 0.0)) require(is_missing(upper[i]), "no upper limit", {lambda, b[i], upper[i]});
        }
    }
}

void guerrero(input& in) {
    const argument end{-1.0, 0.5, true, lambda_thresholds};
    const argument width{-12.0, 0.0, false, {}};
    const double low = in.number(end), high = in.number(end), tolerance = in.number(width);
    const int lengths[] = {2, 3, 4, 6, 12, 0, -1, 2147483647};
    const int length = lengths[in.byte() % std::size(lengths)];
    std::vector<double> x = series(in, in.below(40));
    if (in.byte() < 200) {
        for (double& v : x) v = std::fabs(v) + 0.5;
    }
    if (!x.empty() && in.byte() < 16) x[in.byte() % x.size()] = 1.23456e30;
    show("lambda", {low, high, tolerance, double(length)}, x);
    double first = -1.0, second = -2.0;
    const int count = static_cast<int>(x.size());
    const int code = zolv_GetBoxCoxLambda(x.data(), count, length, low, high, tolerance, &first);
    const std::vector<double> copy = x;
    require(code == zolv_GetBoxCoxLambda(copy.data(), count, length, low, high, tolerance, &second),
            "the same code twice", {double(code)});
    require(same_bits(first, second), "the same lambda twice", {first, second});
    require(code == 0 || code == 30025, "a code of the call", {double(code)});
    if (code != 0) require(is_missing(first), "no lambda without groups", {first});
    if (code == 0 && std::isfinite(low) && std::isfinite(high) && low < high && !std::isinf(high - low))
        require(first >= low && first <= high, "a lambda inside the interval", {low, high, first});
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    input in(data, size);
    switch (in.byte() % 4) {
        case 0:
            there_and_back(in);
            break;
        case 1:
            corrected(in);
            break;
        case 2:
            limits(in);
            break;
        case 3:
            guerrero(in);
            break;
    }
    return 0;
}
