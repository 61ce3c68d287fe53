// distributions/beta.cpp: the exports of the central beta family.
//
// Work is always done on the half of the interval below one half, by I_x(a, b) = 1 - I_(1-x)(b, a), so that
// small probabilities near 1 keep their digits; one half itself takes the mirrored form.
#include <cmath>
#include <cstdint>

#include "frame/nan.hpp"
#include "frame/parallel.hpp"
#include "kernels/incomplete_beta.hpp"
#include "kernels/log_gamma.hpp"
#include "kernels/log_gamma_lanes.hpp"
#include "quantiles/beta_quantile.hpp"
#include "zolv.h"

namespace dru::impl {

namespace {

// Ordered comparisons, so that a NaN fails. The variate plays no part.
bool beta_shapes_valid(double a, double b) {
    return a > 0.0 && a < plus_infinity && b > 0.0 && b < plus_infinity;
}

// Shapes at the ends of the range of a double can take the arithmetic to inf - inf. The sign of such a NaN is
// the compiler's choice of operands; here it is settled.
double with_settled_nan(double value) { return is_nan(value) ? sign_set_nan : value; }

// density and mirrored_density answer log_beta_pdf for (a, b) and for (b, a).
template <class Density, class MirroredDensity>
double beta_density_from(double x, double a, double b, const Density& density,
                         const MirroredDensity& mirrored_density) {
    if (!(x > 0.0 && x < 1.0)) return beta_density_at_end(x, a, b);
    return with_settled_nan(std::exp(x < 0.5 ? density(x) : mirrored_density(1.0 - x)));
}

// tails and mirrored_tails answer beta_tails for (a, b) and for (b, a).
template <class Tails, class MirroredTails>
double beta_tail_from(double x, unsigned char upper, const Tails& tails,
                      const MirroredTails& mirrored_tails) {
    if (is_nan(x)) return sign_set_nan;
    if (x <= 0.0) return upper != 0 ? 1.0 : 0.0;
    if (x >= 1.0) return upper != 0 ? 0.0 : 1.0;
    if (x < 0.5) {
        const tail_pair pair = tails(x);
        return with_settled_nan(upper != 0 ? pair.upper : pair.lower);
    }
    const tail_pair exchanged = mirrored_tails(1.0 - x);
    return with_settled_nan(upper != 0 ? exchanged.lower : exchanged.upper);
}

double beta_inverse(const beta_quantile_solver& quantile, double p, unsigned char upper) {
    if (is_nan(p) || p < 0.0 || p > 1.0) return sign_set_nan;
    if (p == 0.0) return upper != 0 ? 1.0 : 0.0;
    if (p == 1.0) return upper != 0 ? 0.0 : 1.0;
    return with_settled_nan(quantile.from_smaller(p, upper));
}

}  // namespace

}  // namespace dru::impl

using namespace dru::impl;

extern "C" {

double zolv_BetaPdf(double x, double a, double b) {
    if (!beta_shapes_valid(a, b)) return missing_value;
    return beta_density_from(
        x, a, b, [=](double y) { return log_beta_pdf(a, b, y); },
        [=](double y) { return log_beta_pdf(b, a, y); });
}

double zolv_BetaCdf(double x, double a, double b, unsigned char upper) {
    if (!beta_shapes_valid(a, b)) return missing_value;
    return beta_tail_from(
        x, upper, [=](double y) { return beta_tails(y, a, b); },
        [=](double y) { return beta_tails(y, b, a); });
}

double zolv_BetaInvCdf(double p, double a, double b, unsigned char upper) {
    if (!beta_shapes_valid(a, b)) return missing_value;
    return beta_inverse(beta_quantile_solver(a, b), p, upper);
}

void zolv_ParallelBetaPdf(const double* x, uint64_t n, double a, double b, double* out) {
    if (!beta_shapes_valid(a, b)) return fill_missing(out, n);
    const beta_log_density density(a, b), mirrored_density(b, a);
    parallel_blocks(n, [&](uint64_t first, uint64_t count) {
        const double* const at = x + first;
        double* const to = out + first;
        lane_groups<2> groups;
        const auto run = [&](std::size_t kind, const lane_array& y, const lane_indices& index,
                             std::size_t m) {
            const lane_array logs = log_densities_in_step(kind == 0 ? density : mirrored_density, y);
            for (std::size_t l = 0; l < m; ++l) to[index[l]] = with_settled_nan(std::exp(logs[l]));
        };
        const auto alone = [&](uint64_t i) {
            to[i] = beta_density_from(at[i], a, b, density, mirrored_density);
        };
        for (uint64_t i = 0; i < count; ++i) {
            if (!(at[i] > 0.0 && at[i] < 1.0)) {
                alone(i);
            } else if (at[i] < 0.5) {
                groups.add(0, at[i], i, run);
            } else {
                groups.add(1, 1.0 - at[i], i, run);
            }
        }
        groups.finish(run, alone);
    });
}

void zolv_ParallelBetaCdf(const double* x, uint64_t n, double a, double b, unsigned char upper, double* out) {
    if (!beta_shapes_valid(a, b)) return fill_missing(out, n);
    const beta_tail_kernel tails(a, b), mirrored_tails(b, a);
    if (!tails.gains_in_step()) {
        parallel_for(n, [&](uint64_t i) { out[i] = beta_tail_from(x[i], upper, tails, mirrored_tails); });
        return;
    }
    parallel_blocks(n, [&](uint64_t first, uint64_t count) {
        const double* const at = x + first;
        double* const to = out + first;
        const auto coordinate = [&](uint64_t i) {
            return at[i] < 0.5 ? beta_coordinate{at[i], false} : beta_coordinate{1.0 - at[i], true};
        };
        const auto put = [&](uint64_t i, bool mirrored, const tail_pair& pair) {
            to[i] = with_settled_nan((upper != 0) != mirrored ? pair.upper : pair.lower);
        };
        const auto alone = [&](uint64_t i) { to[i] = beta_tail_from(at[i], upper, tails, mirrored_tails); };
        beta_tails_in_step(tails, mirrored_tails, count, coordinate, put, alone);
    });
}

void zolv_ParallelBetaInvCdf(const double* p, uint64_t n, double a, double b, unsigned char upper,
                             double* out) {
    if (!beta_shapes_valid(a, b)) return fill_missing(out, n);
    beta_quantile_solver quantile(a, b);
    quantile.prepare();
    parallel_for(n, [&](uint64_t i) { out[i] = beta_inverse(quantile, p[i], upper); });
}

}  // extern "C"
