// Student's t family: array forms against scalar ones, mirrored arguments, the ranges of the tails.
#include "fuzz/family.hpp"
#include "zolv.h"

using namespace zolv_fuzz;

namespace {

constexpr double df_thresholds[] = {50.0, 1e8, 2000.0, 2.0, 1.0, 2e4, 4e4, 2e9, 0.1, 1e307, 2e-307};
constexpr double nc_thresholds[] = {0.0, 2000.0, 21.417, 21.274, 38.4638, 0.6, 2e-16, 1200.0, 1.3e5, 1.3e8};
constexpr double variate_thresholds[] = {0.0, 1.0, 1.28, 38.4638, 1e8};
constexpr argument variate{-5.0, 4.0, true, variate_thresholds};
constexpr argument freedom{-2.0, 5.0, false, df_thresholds};
constexpr argument noncentrality{-3.0, 2.0, true, nc_thresholds};

struct parameters {
    double df, nc;
    bool valid() const { return df > 0.0 && std::isfinite(df) && std::isfinite(nc); }
};

void density(input& in, const parameters& of, const std::vector<double>& x) {
    const std::vector<double> said = array_is_scalar(
        in, x, "zolv_ParallelTPdf is zolv_TPdf", [&](double v) { return zolv_TPdf(v, of.df, of.nc); },
        [&](const double* v, std::size_t n, double* out) { zolv_ParallelTPdf(v, n, of.df, of.nc, out); });
    for (std::size_t i = 0; i < x.size(); ++i) {
        require_nan_rules(of.valid(), x[i], said[i], "NaNs of zolv_TPdf", {x[i], of.df, of.nc, said[i]});
        require(std::isnan(said[i]) || said[i] >= 0.0, "a density in its range",
                {x[i], of.df, of.nc, said[i]});
        const double mirrored = zolv_TPdf(-x[i], of.df, -of.nc);
        if (of.nc == 0.0 || std::isnan(said[i])) continue;
        require(same_bits(said[i], mirrored), "a mirrored density", {x[i], of.df, of.nc, said[i], mirrored});
    }
}

// Where the header says that a tail is good to a thousandth or better: elsewhere nothing clamps it.
bool tails_are_sound(const parameters& of, double x) {
    if (of.nc == 0.0) return of.df > 1e-100 && of.df < 1e13;  // the density may be infinite
    const double nc = std::fabs(of.nc), df = of.df;
    const bool same_side = of.nc > 0.0 ? x >= 0.0 : x <= 0.0;
    // A lower ratio overflows where the upper tail is next to the end of a double's range.
    if (same_side && !(zolv_TPdf(x, df, of.nc) > 1e-280)) return false;
    if (same_side) return nc > 1e-12 && nc <= 40.0 && df >= 0.1 && df <= 1e9;
    return df <= 1e5 && nc > 1e-12 && nc < 21.0 && (df < 2000.0 || nc + std::fabs(x) > 0.5) &&
           std::fabs(x) * std::sqrt(2000.0 / df) + nc > 0.5;
}

void tails(input& in, const parameters& of, unsigned char upper, const std::vector<double>& x) {
    const std::vector<double> said = array_is_scalar(
        in, x, "zolv_ParallelTCdf is zolv_TCdf", [&](double v) { return zolv_TCdf(v, of.df, of.nc, upper); },
        [&](const double* v, std::size_t n, double* out) {
            zolv_ParallelTCdf(v, n, of.df, of.nc, upper, out);
        });
    for (std::size_t i = 0; i < x.size(); ++i) {
        require_nan_rules(of.valid(), x[i], said[i], "NaNs of zolv_TCdf", {x[i], of.df, of.nc, said[i]});
        if (std::isnan(said[i])) continue;
        const unsigned char opposite = upper != 0 ? 0 : 1;
        const double other = zolv_TCdf(x[i], of.df, of.nc, opposite);
        const double tolerance = of.nc == 0.0 ? 1e-15 : 3e-16 * (1.0 + std::fabs(said[i]));
        require(std::fabs(said[i] + other - 1.0) <= tolerance || std::fabs(said[i]) > 1e16,
                "tails that sum to one", {x[i], of.df, of.nc, said[i], other});
        if (tails_are_sound(of, x[i])) {
            const double slack = of.nc == 0.0 ? 1e-13 : 1e-3;
            require(said[i] >= -slack && said[i] <= 1.0 + slack, "a tail in [0, 1]",
                    {x[i], of.df, of.nc, said[i]});
        }
        if (of.nc == 0.0) continue;
        const double mirrored = zolv_TCdf(-x[i], of.df, -of.nc, opposite);
        require(same_bits(said[i], mirrored), "a mirrored tail", {x[i], of.df, of.nc, said[i], mirrored});
    }
}

void quantiles(input& in, const parameters& of, unsigned char upper, const std::vector<double>& p) {
    const std::vector<double> said = array_is_scalar(
        in, p, "zolv_ParallelTInvCdf is zolv_TInvCdf",
        [&](double v) { return zolv_TInvCdf(v, of.df, of.nc, upper); },
        [&](const double* v, std::size_t n, double* out) {
            zolv_ParallelTInvCdf(v, n, of.df, of.nc, upper, out);
        });
    for (std::size_t i = 0; i < p.size(); ++i) {
        const double variate_or_nan = is_bad_probability(p[i]) ? NAN : p[i];
        require_nan_rules(of.valid(), variate_or_nan, said[i], "NaNs of zolv_TInvCdf",
                          {p[i], of.df, of.nc, said[i]});
        if (!of.valid() || is_bad_probability(p[i])) continue;
        if (p[i] == 0.0 || p[i] == 1.0)
            require(std::isinf(said[i]) && (said[i] > 0.0) == ((p[i] == 1.0) == (upper == 0)),
                    "the quantile of an end", {p[i], of.df, of.nc, said[i]});
        if (of.df < 1.0 || of.df > 1e4 || !(p[i] > 1e-6 && p[i] < 1.0 - 1e-6)) continue;
        const auto rising = [&](double x) {
            return upper != 0 ? -zolv_TCdf(x, of.df, of.nc, 1) : zolv_TCdf(x, of.df, of.nc, 0);
        };
        const double target = upper != 0 ? -p[i] : p[i];
        if (of.nc == 0.0) {
            // 1 - w is formed by subtraction: an error of 1e-16 x^2 / df.
            const double relative = 1e-9 + 1e-14 * said[i] * said[i] / of.df;
            require(brackets(said[i], relative, 1e-9, target, 1e-11 * p[i], rising),
                    "the tail at the quantile", {p[i], of.df, said[i]});
        } else if (std::fabs(of.nc) >= 1.0 && std::fabs(of.nc) <= 15.0 && of.df <= 500.0) {
            // The tails of the two sides of 0 and of nc meet to a few digits less.
            require(brackets(said[i], 1e-6, 1e-6, target, 1e-6, rising),
                    "the noncentral tail at the quantile", {p[i], of.df, of.nc, double(upper), said[i]});
        }
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    input in(data, size);
    const std::uint8_t what = in.byte();
    parameters of;
    of.df = in.number(freedom);
    of.nc = (what & 8) != 0 ? 0.0 : in.number(noncentrality);
    const unsigned char upper = in.byte();
    // A sum takes some 15 |nc| terms, and 750000 if it does not reach its end; a quantile takes some 60
    // tails.
    if (what % 3 == 1) of.nc = folded(of.nc, 200.0);
    if (what % 3 == 2) of.nc = folded(of.nc, 20.0);
    if (what % 3 != 0 && of.nc != 0.0) of.df = folded(of.df, 1e7);
    std::vector<double> x(static_cast<std::size_t>(what >> 4) % (what % 3 == 2 ? 3 : 5));
    for (double& value : x) {
        value = what % 3 == 2 ? in.probability() : in.number(variate);
        if (what % 3 == 1 && of.nc != 0.0) value = folded(value, 1e6);
    }
    show(what % 3 == 0 ? "density" : what % 3 == 1 ? "tails" : "quantiles", {of.df, of.nc, double(upper)}, x);
    if (what % 3 == 0) density(in, of, x);
    if (what % 3 == 1) tails(in, of, upper, x);
    if (what % 3 == 2) quantiles(in, of, upper, x);
    return 0;
}
