// distributions/chi_square.cpp: the chi-square family, central and noncentral, as a gamma family in halves.
//
// The point and both parameters are halved on the way in, the density is halved and a quantile doubled on the
// way out. nc / 2 is the Poisson mean of the mixture.
#include <optional>

#include "distributions/central_tails.hpp"
#include "distributions/gamma_density.hpp"
#include "frame/nan.hpp"
#include "frame/parallel.hpp"
#include "kernels/incomplete_gamma.hpp"
#include "quantiles/gamma_quantile.hpp"
#include "quantiles/noncentral_gamma.hpp"
#include "zolv.h"

namespace dru::impl {

namespace {

// nc may be negative: it passes here, and the mixture answers for it.
bool chi_square_parameters_valid(double df, double nc) {
    return df > 0.0 && df < plus_infinity && is_finite(nc);
}

// One tail of the gamma, central or not, at any x; the kernels are asked only for 0 < x < infinity.
class gamma_tail {
public:
    gamma_tail(double a, double nc, unsigned char upper) : central_(nc == 0.0), upper_(upper != 0) {
        if (central_) {
            kernel_.emplace(a);
        } else {
            mixture_.emplace(a, nc);
        }
    }

    // What depends on the parameters alone; worth its price from the second element on.
    void prepare() const {
        if (!central_) mixture_->prepare();
    }

    double operator()(double x) const {
        if (is_nan(x)) return sign_set_nan;
        if (is_infinite(x)) return (x > 0.0) == upper_ ? 0.0 : 1.0;
        if (x <= 0.0) return upper_ ? 1.0 : 0.0;
        const tail_pair tails = central_ ? (*kernel_)(x) : (*mixture_)(x);
        return upper_ ? tails.upper : tails.lower;
    }

    // The same for n points twice as large; those of a mixture go in step with others on their side of it.
    void at_halves(const double* x, std::uint64_t n, double* out) const {
        lane_groups<2> groups;
        const auto run = [&](std::size_t, const lane_array& at, const lane_indices& index,
                             std::size_t count) {
            const tail_pairs tails = (*mixture_)(at);
            for (std::size_t l = 0; l < count; ++l) out[index[l]] = upper_ ? tails[l].upper : tails[l].lower;
        };
        const auto alone = [&](std::uint64_t i) { out[i] = (*this)(x[i] / 2.0); };
        for (std::uint64_t i = 0; i < n; ++i) {
            const double half = x[i] / 2.0;
            if (central_ || !(half > 0.0) || is_infinite(half)) {
                alone(i);
            } else {
                groups.add(half >= mixture_->shape() + mixture_->mean_weight() ? 1 : 0, half, i, run);
            }
        }
        groups.finish(run, alone);
    }

private:
    bool central_, upper_;
    std::optional<gamma_tail_kernel> kernel_;
    std::optional<gamma_nc_mixture> mixture_;
};

// The scalar form of the above; the central tail has a plain one that prepares nothing.
double gamma_cdf(double x, double a, double nc, unsigned char upper) {
    return nc == 0.0 ? gamma_cdf_central(x, a, upper) : gamma_tail(a, nc, upper)(x);
}

double gamma_quantile(double p, double a, double nc, unsigned char upper) {
    if (is_nan(p) || p < 0.0 || p > 1.0) return sign_set_nan;
    if (p == 0.0) return upper != 0 ? plus_infinity : 0.0;
    if (p == 1.0) return upper != 0 ? 0.0 : plus_infinity;
    if (nc != 0.0) return gamma_nc_quantile(p, a, nc, upper);
    return gamma_quantile_solver(a)(p, upper);
}

}  // namespace

}  // namespace dru::impl

using namespace dru::impl;

extern "C" double zolv_ChiSqPdf(double x, double df, double nc) {
    if (!chi_square_parameters_valid(df, nc)) return missing_value;
    return 0.5 * gamma_nc_pdf(x / 2.0, df / 2.0, nc / 2.0);
}

extern "C" double zolv_ChiSqCdf(double x, double df, double nc, unsigned char upper) {
    if (!chi_square_parameters_valid(df, nc)) return missing_value;
    return gamma_cdf(x / 2.0, df / 2.0, nc / 2.0, upper);
}

extern "C" double zolv_ChiSqInvCdf(double p, double df, double nc, unsigned char upper) {
    if (!chi_square_parameters_valid(df, nc)) return missing_value;
    return 2.0 * gamma_quantile(p, df / 2.0, nc / 2.0, upper);
}

extern "C" void zolv_ParallelChiSqPdf(const double* x, uint64_t n, double df, double nc, double* out) {
    if (!chi_square_parameters_valid(df, nc)) return fill_missing(out, n);
    const gamma_nc_density density(df / 2.0, nc / 2.0);
    parallel_blocks(
        n, [&](uint64_t first, uint64_t count) { density.at_halves(x + first, count, out + first); });
}

extern "C" void zolv_ParallelChiSqCdf(const double* x, uint64_t n, double df, double nc, unsigned char upper,
                                      double* out) {
    if (!chi_square_parameters_valid(df, nc)) return fill_missing(out, n);
    const gamma_tail tail(df / 2.0, nc / 2.0, upper);
    if (n > 1) tail.prepare();
    parallel_blocks(n,
                    [&](uint64_t first, uint64_t count) { tail.at_halves(x + first, count, out + first); });
}
