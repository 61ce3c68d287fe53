// The beta family: array forms against scalar ones, tails of either side, quantiles that invert.
#include "fuzz/family.hpp"
#include "zolv.h"

using namespace zolv_fuzz;

namespace {

constexpr double shape_thresholds[] = {1.0, 2.0, 10000.0, 20000.0, 0.5, 10.0, 1e9, 1e23};
constexpr double variate_thresholds[] = {0.0, 0.5, 1.0};
constexpr argument variate{-12.0, 0.1, true, variate_thresholds};
constexpr argument shape{-2.0, 5.0, false, shape_thresholds};

struct parameters {
    double a, b;
    bool valid() const { return a > 0.0 && std::isfinite(a) && b > 0.0 && std::isfinite(b); }
    // Where a density leaves the range of a double, and where a unit in the last place of its logarithm is
    // no longer small: nothing clamps the tails there.
    bool extreme() const { return a < 1e-100 || b < 1e-100 || a > 1e13 || b > 1e13; }
    bool ordinary() const { return a >= 0.05 && a <= 1e5 && b >= 0.05 && b <= 1e5; }
};

void density(input& in, const parameters& of, const std::vector<double>& x) {
    const std::vector<double> said = array_is_scalar(
        in, x, "zolv_ParallelBetaPdf is zolv_BetaPdf", [&](double v) { return zolv_BetaPdf(v, of.a, of.b); },
        [&](const double* v, std::size_t n, double* out) { zolv_ParallelBetaPdf(v, n, of.a, of.b, out); });
    for (std::size_t i = 0; i < x.size(); ++i) {
        require_nan_rules(of.valid(), x[i], said[i], "NaNs of zolv_BetaPdf", {x[i], of.a, of.b, said[i]});
        if (!of.valid() || std::isnan(x[i])) continue;
        require(std::isnan(said[i]) || said[i] >= 0.0, "a density in its range", {x[i], of.a, of.b, said[i]});
        if (x[i] < 0.0 || x[i] > 1.0)
            require(said[i] == 0.0, "no density outside the support", {x[i], of.a, of.b, said[i]});
        else if (x[i] > 1e-300 && of.ordinary())
            require(!std::isnan(said[i]), "a density for ordinary shapes", {x[i], of.a, of.b, said[i]});
    }
}

void tails(input& in, const parameters& of, unsigned char upper, const std::vector<double>& x) {
    const std::vector<double> said = array_is_scalar(
        in, x, "zolv_ParallelBetaCdf is zolv_BetaCdf",
        [&](double v) { return zolv_BetaCdf(v, of.a, of.b, upper); },
        [&](const double* v, std::size_t n, double* out) {
            zolv_ParallelBetaCdf(v, n, of.a, of.b, upper, out);
        });
    for (std::size_t i = 0; i < x.size(); ++i) {
        require_nan_rules(of.valid(), x[i], said[i], "NaNs of zolv_BetaCdf", {x[i], of.a, of.b, said[i]});
        if (!of.valid() || std::isnan(said[i])) continue;
        // A tail is the density times a ratio and is not clamped; next to the ends of a double's range the
        // density itself is infinite.
        if (of.extreme() || (x[i] > 0.0 && x[i] < 1e-200)) continue;
        const double slack = of.ordinary() ? 1e-12 : 1e-6;
        require(said[i] >= -slack && said[i] <= 1.0 + slack, "a tail in [0, 1]", {x[i], of.a, of.b, said[i]});
        const double other = zolv_BetaCdf(x[i], of.a, of.b, upper != 0 ? 0 : 1);
        require(std::fabs(said[i] + other - 1.0) <= 2.3e-16, "tails that sum to one",
                {x[i], of.a, of.b, said[i], other});
    }
}

void quantiles(input& in, const parameters& of, unsigned char upper, const std::vector<double>& p) {
    const std::vector<double> said = array_is_scalar(
        in, p, "zolv_ParallelBetaInvCdf is zolv_BetaInvCdf",
        [&](double v) { return zolv_BetaInvCdf(v, of.a, of.b, upper); },
        [&](const double* v, std::size_t n, double* out) {
            zolv_ParallelBetaInvCdf(v, n, of.a, of.b, upper, out);
        });
    for (std::size_t i = 0; i < p.size(); ++i) {
        const double variate_or_nan = is_bad_probability(p[i]) ? NAN : p[i];
        require_nan_rules(of.valid(), variate_or_nan, said[i], "NaNs of zolv_BetaInvCdf",
                          {p[i], of.a, of.b, said[i]});
        if (!of.valid() || is_bad_probability(p[i]) || std::isnan(said[i])) continue;
        if (p[i] == 0.0 || p[i] == 1.0)
            require(said[i] == ((p[i] == 0.0) == (upper == 0) ? 0.0 : 1.0), "the quantile of an end",
                    {p[i], of.a, of.b, said[i]});
        if (!(of.a >= 0.1 && of.a <= 1e3 && of.b >= 0.1 && of.b <= 1e3 && p[i] > 1e-6 && p[i] < 1.0 - 1e-6))
            continue;
        require(said[i] >= 0.0 && said[i] <= 1.0, "a quantile in [0, 1]", {p[i], of.a, of.b, said[i]});
        const auto rising = [&](double x) {
            return upper != 0 ? -zolv_BetaCdf(x, of.a, of.b, 1) : zolv_BetaCdf(x, of.a, of.b, 0);
        };
        require(brackets(said[i], 1e-9, 1e-15, upper != 0 ? -p[i] : p[i], 1e-11 * p[i], rising),
                "the tail at the quantile", {p[i], of.a, of.b, said[i]});
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    input in(data, size);
    const std::uint8_t what = in.byte();
    parameters of;
    of.a = in.number(shape);
    of.b = in.number(shape);
    const unsigned char upper = in.byte();
    std::vector<double> x(static_cast<std::size_t>(what >> 4) % 5);
    for (double& value : x) value = what % 3 == 2 || (what & 8) != 0 ? in.probability() : in.number(variate);
    show(what % 3 == 0 ? "density" : what % 3 == 1 ? "tails" : "quantiles", {of.a, of.b, double(upper)}, x);
    if (what % 3 == 0) density(in, of, x);
    if (what % 3 == 1) tails(in, of, upper, x);
    if (what % 3 == 2) quantiles(in, of, upper, x);
    return 0;
}
