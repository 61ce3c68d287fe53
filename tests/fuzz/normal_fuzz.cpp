// The normal family: array forms against scalar ones, tails in [0, 1] that sum to one, quantiles that invert.
#include "fuzz/family.hpp"
#include "zolv.h"

using namespace zolv_fuzz;

namespace {

constexpr double variate_thresholds[] = {1.28, -1.28, 8.03, -8.03, 38.4638, -38.4638, 25.0};
constexpr double parameter_thresholds[] = {1.0, 0.0, 38.4638};
constexpr argument variate{-6.0, 3.0, true, variate_thresholds};
constexpr argument location{-3.0, 3.0, true, parameter_thresholds};
constexpr argument scale{-3.0, 3.0, false, parameter_thresholds};

void density(input& in, double mean, double sd, bool valid, const std::vector<double>& x) {
    const std::vector<double> said = array_is_scalar(
        in, x, "zolv_ParallelNormalPdf is zolv_NormalPdf",
        [&](double v) { return zolv_NormalPdf(v, mean, sd); },
        [&](const double* v, std::size_t n, double* out) { zolv_ParallelNormalPdf(v, n, mean, sd, out); });
    for (std::size_t i = 0; i < x.size(); ++i) {
        require_nan_rules(valid, x[i], said[i], "NaNs of zolv_NormalPdf", {x[i], mean, sd, said[i]});
        if (!valid || std::isnan(x[i])) continue;
        require(said[i] >= 0.0 && said[i] <= 0.39894228040143265, "a density in its range",
                {x[i], mean, sd, said[i]});
    }
}

void tails(input& in, double mean, double sd, bool valid, unsigned char upper, const std::vector<double>& x) {
    const std::vector<double> said = array_is_scalar(
        in, x, "zolv_ParallelNormalCdf is zolv_NormalCdf",
        [&](double v) { return zolv_NormalCdf(v, mean, sd, upper); },
        [&](const double* v, std::size_t n, double* out) {
            zolv_ParallelNormalCdf(v, n, mean, sd, upper, out);
        });
    for (std::size_t i = 0; i < x.size(); ++i) {
        require_nan_rules(valid, x[i], said[i], "NaNs of zolv_NormalCdf", {x[i], mean, sd, said[i]});
        if (!valid || std::isnan(x[i])) continue;
        require(said[i] >= 0.0 && said[i] <= 1.0, "a tail in [0, 1]", {x[i], mean, sd, said[i]});
        const double other = zolv_NormalCdf(x[i], mean, sd, upper != 0 ? 0 : 1);
        require(std::fabs(said[i] + other - 1.0) <= 0x1p-53, "tails that sum to one",
                {x[i], mean, sd, said[i], other});
    }
}

void quantiles(input& in, double mean, double sd, bool valid, unsigned char upper,
               const std::vector<double>& p) {
    const std::vector<double> said = array_is_scalar(
        in, p, "zolv_ParallelNormalInvCdf is zolv_NormalInvCdf",
        [&](double v) { return zolv_NormalInvCdf(v, mean, sd, upper); },
        [&](const double* v, std::size_t n, double* out) {
            zolv_ParallelNormalInvCdf(v, n, mean, sd, upper, out);
        });
    for (std::size_t i = 0; i < p.size(); ++i) {
        const double variate_or_nan = is_bad_probability(p[i]) ? NAN : p[i];
        require_nan_rules(valid, variate_or_nan, said[i], "NaNs of zolv_NormalInvCdf",
                          {p[i], mean, sd, said[i]});
        // AS 66 has a seam at 1.28, where ten steps need not settle.
        if (!valid || mean != 0.0 || sd != 1.0 || !(p[i] > 1e-300 && p[i] < 1.0)) continue;
        const double back = zolv_NormalCdf(said[i], 0.0, 1.0, upper);
        require(std::fabs(back - p[i]) <= 1e-9 * p[i] + 2e-15, "the tail at the quantile",
                {p[i], said[i], back});
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    input in(data, size);
    const std::uint8_t what = in.byte();
    const bool standard = (what & 8) != 0;
    const double mean = standard ? 0.0 : in.number(location), sd = standard ? 1.0 : in.number(scale);
    const bool valid = std::isfinite(mean) && sd > 0.0 && std::isfinite(sd);
    const unsigned char upper = in.byte();
    std::vector<double> x(static_cast<std::size_t>(what >> 4) % 6);
    for (double& value : x) value = what % 3 == 2 ? in.probability() : in.number(variate);
    show(what % 3 == 0 ? "density" : what % 3 == 1 ? "tails" : "quantiles", {mean, sd, double(upper)}, x);
    if (what % 3 == 0) density(in, mean, sd, valid, x);
    if (what % 3 == 1) tails(in, mean, sd, valid, upper, x);
    if (what % 3 == 2) quantiles(in, mean, sd, valid, upper, x);
    return 0;
}
