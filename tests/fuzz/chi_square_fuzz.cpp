// The chi-square family: array forms against scalar ones, the ranges of density, tails and quantiles.
#include "fuzz/family.hpp"
#include "zolv.h"

using namespace zolv_fuzz;

namespace {

constexpr double df_thresholds[] = {2.0, 20000.0, 40000.0, 1.0, 20.0, 1e-305, 4.0};
constexpr double nc_thresholds[] = {0.0, 0x1p54, 2e-308};
constexpr double variate_thresholds[] = {0.0, 1.0, 2.0, 20000.0, 5.6e-309};
constexpr argument variate{-5.0, 5.0, true, variate_thresholds};
constexpr argument freedom{-2.0, 5.0, false, df_thresholds};
constexpr argument noncentrality{-3.0, 3.0, true, nc_thresholds};

// The mixture has some 25 sqrt(nc) terms when it is summed near its mean and up to 750000 far from it; its
// density has them by nc x, a quantile some 60 tails. From 2^54 on the sums have no terms.
double affordable(double nc, double most) { return std::fabs(nc) < 0x1p55 ? folded(nc, most) : nc; }

struct parameters {
    double df, nc;
    bool valid() const { return df > 0.0 && std::isfinite(df) && std::isfinite(nc); }
};

void density(input& in, const parameters& of, const std::vector<double>& x) {
    const std::vector<double> said = array_is_scalar(
        in, x, "zolv_ParallelChiSqPdf is zolv_ChiSqPdf",
        [&](double v) { return zolv_ChiSqPdf(v, of.df, of.nc); },
        [&](const double* v, std::size_t n, double* out) { zolv_ParallelChiSqPdf(v, n, of.df, of.nc, out); });
    for (std::size_t i = 0; i < x.size(); ++i) {
        require_nan_rules(of.valid(), x[i], said[i], "NaNs of zolv_ChiSqPdf", {x[i], of.df, of.nc, said[i]});
        if (!of.valid() || std::isnan(said[i])) continue;
        // The sums of a negative nc are followed as they are.
        require(said[i] >= 0.0 || of.nc < 0.0, "a density in its range", {x[i], of.df, of.nc, said[i]});
        if (x[i] / 2.0 < 0.0 || std::isinf(x[i]))  // halving takes the smallest subnormal number to 0
            require(said[i] == 0.0, "no density outside the support", {x[i], of.df, of.nc, said[i]});
    }
}

void tails(input& in, const parameters& of, unsigned char upper, const std::vector<double>& x) {
    const std::vector<double> said = array_is_scalar(
        in, x, "zolv_ParallelChiSqCdf is zolv_ChiSqCdf",
        [&](double v) { return zolv_ChiSqCdf(v, of.df, of.nc, upper); },
        [&](const double* v, std::size_t n, double* out) {
            zolv_ParallelChiSqCdf(v, n, of.df, of.nc, upper, out);
        });
    for (std::size_t i = 0; i < x.size(); ++i) {
        require_nan_rules(of.valid(), x[i], said[i], "NaNs of zolv_ChiSqCdf", {x[i], of.df, of.nc, said[i]});
        if (!of.valid() || std::isnan(x[i])) continue;
        if (x[i] / 2.0 > 0.0 && x[i] < HUGE_VAL && of.nc / 2.0 < 0.0)
            require(is_sign_set_nan(said[i]), "no tail for a negative nc", {x[i], of.df, of.nc, said[i]});
        if (std::isnan(said[i])) continue;
        // The logarithm of the density overflows next to 0 for a shape up to 1, and a unit in its last place
        // is no longer small for a huge one: nothing clamps the tails there.
        if (of.df < 1e-100 || of.df > 1e13 || (x[i] > 0.0 && x[i] < 1e-200)) continue;
        require(said[i] >= -1e-13 && said[i] <= 1.0 + 1e-13, "a tail in [0, 1]",
                {x[i], of.df, of.nc, said[i]});
        const double other = zolv_ChiSqCdf(x[i], of.df, of.nc, upper != 0 ? 0 : 1);
        require(std::fabs(said[i] + other - 1.0) <= 2.3e-16, "tails that sum to one",
                {x[i], of.df, of.nc, said[i], other});
    }
}

void quantiles(const parameters& of, unsigned char upper, const std::vector<double>& p) {
    for (const double q : p) {
        const double x = zolv_ChiSqInvCdf(q, of.df, of.nc, upper);
        const double variate_or_nan = is_bad_probability(q) ? NAN : q;
        require_nan_rules(of.valid(), variate_or_nan, x, "NaNs of zolv_ChiSqInvCdf", {q, of.df, of.nc, x});
        require(same_bits(x, zolv_ChiSqInvCdf(q, of.df, of.nc, upper != 0 ? 1 : 0)), "any upper is upper",
                {q, of.df, of.nc, x});
        if (!of.valid() || is_bad_probability(q)) continue;
        if (q == 0.0 || q == 1.0) {
            require(x == ((q == 0.0) == (upper == 0) ? 0.0 : HUGE_VAL), "the quantile of an end",
                    {q, of.df, of.nc, x});
            continue;
        }
        if (of.nc / 2.0 < 0.0)
            require(is_sign_set_nan(x), "no quantile for a negative nc", {q, of.df, of.nc, x});
        // The Newton steps of the central one may leave the support, and nothing mends it.
        require(std::isnan(x) || x >= 0.0 || of.nc / 2.0 == 0.0, "a quantile in its range",
                {q, of.df, of.nc, x});
        if (!(of.nc >= 0.0 && of.nc <= 100.0 && of.df >= 0.5 && of.df < 1e4 && upper == 0 && q > 1e-6 &&
              q < 1.0 - 1e-6))
            continue;
        const auto rising = [&](double y) { return zolv_ChiSqCdf(y, of.df, of.nc, 0); };
        require(brackets(x, 1e-9, 0.0, q, 1e-11 * q, rising), "the tail at the quantile",
                {q, of.df, of.nc, x});
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
    of.nc = affordable(of.nc, what % 3 == 0 ? 1e5 : what % 3 == 1 ? 3000.0 : 300.0);
    // Next to 0 an infinite density keeps a sum from its end for 750000 terms.
    if (what % 3 == 2 && of.nc != 0.0 && of.df > 0.0 && of.df < 0.2) of.df += 0.2;
    if (what % 3 != 0 && of.nc != 0.0) of.df = folded(of.df, 1e9);
    std::vector<double> x(static_cast<std::size_t>(what >> 4) % (what % 3 == 2 ? 3 : 5));
    for (double& value : x) {
        value = what % 3 == 2 ? in.probability() : in.number(variate);
        // A failed central quantile, the start of the search, is then a million standard deviations away.
        if (what % 3 == 2 && of.nc != 0.0 && value > 0.0 && value < 1e-40) value += 1e-40;
        if (what % 3 == 2 || of.nc == 0.0) continue;
        value = folded(value, 1e6);
        if (what % 3 == 1 && value > 0.0 && value < 1e-305) value += 1e-305;
    }
    show(what % 3 == 0 ? "density" : what % 3 == 1 ? "tails" : "quantiles", {of.df, of.nc, double(upper)}, x);
    if (what % 3 == 0) density(in, of, x);
    if (what % 3 == 1) tails(in, of, upper, x);
    if (what % 3 == 2) quantiles(of, upper, x);
    return 0;
}
