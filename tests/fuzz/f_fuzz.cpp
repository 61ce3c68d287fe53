// The F family: array forms against scalar ones, its central tails against the beta family's, ranges.
#include "fuzz/family.hpp"
#include "kernels/incomplete_beta.hpp"
#include "zolv.h"

using namespace zolv_fuzz;

namespace {

constexpr double df_thresholds[] = {2.0, 1.0, 20000.0, 40000.0, 20.0, 0.02};
constexpr double nc_thresholds[] = {0.0, 0x1p53, 2e-308};
constexpr double variate_thresholds[] = {0.0, 1.0, 2.0};
constexpr argument variate{-6.0, 5.0, true, variate_thresholds};
constexpr argument freedom{-2.0, 5.0, false, df_thresholds};
constexpr argument noncentrality{-3.0, 2.0, true, nc_thresholds};

struct parameters {
    double d1, d2, nc;
    bool valid() const { return d1 > 0.0 && std::isfinite(d1) && d2 > 0.0 && std::isfinite(d2); }
    // Where a density leaves the range of a double, or a unit in the last place of its logarithm is no longer
    // small; and shapes whose sum is lost beside 1, which leaves a mixture's recurrence a 0 to divide by.
    bool extreme() const {
        return d1 < 1e-100 || d2 < 1e-100 || d1 > 1e13 || d2 > 1e13 || (nc != 0.0 && d1 + d2 < 1e-14);
    }
    bool has_mixture() const { return nc >= 0.0 && std::isfinite(nc); }
};

void density(input& in, const parameters& of, const std::vector<double>& x) {
    const std::vector<double> said = array_is_scalar(
        in, x, "zolv_ParallelFPdf is zolv_FPdf", [&](double v) { return zolv_FPdf(v, of.d1, of.d2, of.nc); },
        [&](const double* v, std::size_t n, double* out) {
            zolv_ParallelFPdf(v, n, of.d1, of.d2, of.nc, out);
        });
    for (std::size_t i = 0; i < x.size(); ++i) {
        require_nan_rules(of.valid(), x[i], said[i], "NaNs of zolv_FPdf",
                          {x[i], of.d1, of.d2, of.nc, said[i]});
        if (!of.valid() || std::isnan(said[i])) continue;
        require(said[i] >= 0.0, "a density in its range", {x[i], of.d1, of.d2, of.nc, said[i]});
        if (x[i] < 0.0 || std::isinf(x[i]))
            require(said[i] == 0.0, "no density outside the support", {x[i], of.d1, of.d2, of.nc, said[i]});
    }
}

void tails(input& in, const parameters& of, unsigned char upper, const std::vector<double>& x) {
    const std::vector<double> said = array_is_scalar(
        in, x, "zolv_ParallelFCdf is zolv_FCdf",
        [&](double v) { return zolv_FCdf(v, of.d1, of.d2, of.nc, upper); },
        [&](const double* v, std::size_t n, double* out) {
            zolv_ParallelFCdf(v, n, of.d1, of.d2, of.nc, upper, out);
        });
    for (std::size_t i = 0; i < x.size(); ++i) {
        require_nan_rules(of.valid(), x[i], said[i], "NaNs of zolv_FCdf",
                          {x[i], of.d1, of.d2, of.nc, said[i]});
        if (!of.valid() || std::isnan(x[i])) continue;
        const double t = x[i] * (of.d1 / 2.0), y = t / (of.d2 / 2.0 + t);
        if (x[i] > 0.0 && y > 0.0 && y < 1.0 && !of.has_mixture())
            require(is_sign_set_nan(said[i]), "no tail for a bad nc", {x[i], of.d1, of.d2, of.nc, said[i]});
        // As in the beta family, a density may be infinite next to the ends of a double's range.
        if (std::isnan(said[i]) || of.extreme() || y < 1e-200 || of.d2 / 2.0 / (of.d2 / 2.0 + t) < 1e-200)
            continue;
        require(said[i] >= -1e-6 && said[i] <= 1.0 + 1e-6, "a tail in [0, 1]",
                {x[i], of.d1, of.d2, of.nc, said[i]});
        const double other = zolv_FCdf(x[i], of.d1, of.d2, of.nc, upper != 0 ? 0 : 1);
        require(std::fabs(said[i] + other - 1.0) <= 2.3e-16, "tails that sum to one",
                {x[i], of.d1, of.d2, of.nc, said[i], other});
        // The central tail is that of the beta variate, on whichever side of one half it lies.
        if (of.nc == 0.0 && x[i] > 0.0 && x[i] < HUGE_VAL) {
            const double a = of.d1 / 2.0, b = of.d2 / 2.0;
            const dru::impl::tail_pair beta =
                y < 0.5 ? dru::impl::beta_tails(y, a, b) : dru::impl::beta_tails(b / (b + t), b, a);
            const double want = (upper != 0) == (y < 0.5) ? beta.upper : beta.lower;
            require(same_bits(said[i], want), "a central tail of the beta family",
                    {x[i], of.d1, of.d2, said[i], want});
        }
    }
}

void quantiles(input& in, const parameters& of, unsigned char upper, const std::vector<double>& p) {
    const std::vector<double> said = array_is_scalar(
        in, p, "zolv_ParallelFInvCdf is zolv_FInvCdf",
        [&](double v) { return zolv_FInvCdf(v, of.d1, of.d2, of.nc, upper); },
        [&](const double* v, std::size_t n, double* out) {
            zolv_ParallelFInvCdf(v, n, of.d1, of.d2, of.nc, upper, out);
        });
    for (std::size_t i = 0; i < p.size(); ++i) {
        const double variate_or_nan = is_bad_probability(p[i]) ? NAN : p[i];
        require_nan_rules(of.valid(), variate_or_nan, said[i], "NaNs of zolv_FInvCdf",
                          {p[i], of.d1, of.d2, of.nc, said[i]});
        if (!of.valid() || is_bad_probability(p[i])) continue;
        if (p[i] == 0.0 || p[i] == 1.0) {
            require(said[i] == ((p[i] == 0.0) == (upper == 0) ? 0.0 : HUGE_VAL), "the quantile of an end",
                    {p[i], of.d1, of.d2, of.nc, said[i]});
            continue;
        }
        if (!of.has_mixture())
            require(is_sign_set_nan(said[i]), "no quantile for a bad nc",
                    {p[i], of.d1, of.d2, of.nc, said[i]});
        if (std::isnan(said[i]) || !(p[i] > 1e-6 && p[i] < 1.0 - 1e-6)) continue;
        require(said[i] >= 0.0, "a quantile in its range", {p[i], of.d1, of.d2, of.nc, said[i]});
        if (!(of.nc <= 50.0 && of.d1 >= 0.5 && of.d1 <= 1e3 && of.d2 >= 2.0 && of.d2 <= 1e3)) continue;
        const double spread = said[i] * of.d1 / of.d2;
        if (spread > 1e5 || spread < 1e-5) continue;
        const auto rising = [&](double x) {
            return upper != 0 ? -zolv_FCdf(x, of.d1, of.d2, of.nc, 1) : zolv_FCdf(x, of.d1, of.d2, of.nc, 0);
        };
        // A relative error in y counts 1 + x d1 / d2 times in x; the noncentral sums are good to 1e-11.
        require(brackets(said[i], 1e-9 * (1.0 + spread), 0.0, upper != 0 ? -p[i] : p[i], 1e-10 * p[i] + 1e-15,
                         rising),
                "the tail at the quantile", {p[i], of.d1, of.d2, of.nc, said[i]});
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    input in(data, size);
    const std::uint8_t what = in.byte();
    parameters of;
    of.d1 = in.number(freedom);
    of.d2 = in.number(freedom);
    of.nc = (what & 8) != 0 ? 0.0 : in.number(noncentrality);
    const unsigned char upper = in.byte();
    // As for the chi-square family: what takes long is asked by the tests of special values. From 2^53 on the
    // sums have no terms.
    if (!(std::fabs(of.nc) > 0x1p54))
        of.nc = folded(of.nc, what % 3 == 0 ? 1e6 : what % 3 == 1 ? 1000.0 : 60.0);
    if (what % 3 == 2 || (what % 3 == 1 && of.nc != 0.0)) {
        of.d1 = folded(of.d1, 1e9);
        of.d2 = folded(of.d2, 1e9);
    }
    std::vector<double> x(static_cast<std::size_t>(what >> 4) % (what % 3 == 2 ? 3 : 5));
    for (double& value : x) value = what % 3 == 2 ? in.probability() : in.number(variate);
    show(what % 3 == 0   ? "density"
         : what % 3 == 1 ? "tails"
                         : "quantiles",
         {of.d1, of.d2, of.nc, double(upper)}, x);
    if (what % 3 == 0) density(in, of, x);
    if (what % 3 == 1) tails(in, of, upper, x);
    if (what % 3 == 2) quantiles(in, of, upper, x);
    return 0;
}
