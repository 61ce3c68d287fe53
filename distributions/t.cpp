// distributions/t.cpp: Student's t family, central and noncentral.
#include <cmath>
#include <optional>

#include "distributions/central_tails.hpp"
#include "distributions/t_density.hpp"
#include "frame/nan.hpp"
#include "frame/parallel.hpp"
#include "kernels/incomplete_beta.hpp"
#include "quantiles/beta_quantile.hpp"
#include "quantiles/gamma_quantile.hpp"
#include "quantiles/noncentral_t.hpp"
#include "zolv.h"

namespace dru::impl {

namespace {

bool t_parameters_valid(double df, double nc) { return df > 0.0 && df < plus_infinity && is_finite(nc); }

// One tail at any x.
class t_tail {
public:
    t_tail(double df, double nc, unsigned char upper) : df_(df), upper_(upper) {
        if (nc != 0.0) noncentral_.emplace(df, nc);
    }

    // What depends on the parameters alone; worth its price from the second element on.
    void prepare() const {
        if (noncentral_) noncentral_->prepare();
    }

    double operator()(double x) const {
        if (!noncentral_) return t_cdf_central(x, df_, upper_);
        if (is_nan(x)) return sign_set_nan;
        if (is_infinite(x)) return (x > 0.0) == (upper_ != 0) ? 0.0 : 1.0;
        const tail_pair tails = noncentral_->tails(x);
        return upper_ != 0 ? tails.upper : tails.lower;
    }

private:
    double df_;
    unsigned char upper_;
    std::optional<t_nc_distribution> noncentral_;
};

// The quantile. A central one is that of a beta variate B of shapes 0.5 and df / 2: t^2 = df w / (1 - w)
// where w cuts off T = 2 min(p, 1 - p) above.
class t_quantile {
public:
    t_quantile(double df, double nc, unsigned char upper)
        : df_(df), nc_(nc), upper_(upper), h_(df / 2.0), spread_(0.5 * h_ / (0.5 + h_)) {
        if (nc == 0.0 && spread_ < 10000.0 && h_ < 1e9) upper_at_half_ = beta_tails(0.5, 0.5, h_).upper;
    }

    double operator()(double p) const {
        if (is_nan(p) || p < 0.0 || p > 1.0) return sign_set_nan;
        if (p == 0.0) return upper_ != 0 ? plus_infinity : -plus_infinity;
        if (p == 1.0) return upper_ != 0 ? -plus_infinity : plus_infinity;
        if (nc_ != 0.0) return t_nc_quantile(p, df_, nc_, upper_);
        if (p == 0.5) return 0.0;
        double sign = upper_ != 0 ? 1.0 : -1.0;
        if (p > 0.5) sign = -sign;
        const double w = beta_cut(2.0 * (1.0 - p < p ? 1.0 - p : p));
        if (w == 1.0) return sign * plus_infinity;
        return sign * std::sqrt(df_ * w / (1.0 - w));
    }

private:
    // w with P(B > w) = T.
    double beta_cut(double T) const {
        if (spread_ >= 10000.0) {
            const double w = beta_quantile_large(T, 0.5, h_, 1);
            return w > 0.5 ? 1.0 - beta_quantile_large(T, h_, 0.5, 0) : w;
        }
        if (h_ < 1e9) {
            return T >= upper_at_half_ ? beta_quantile_right(T, 0.5, h_)
                                       : 1.0 - beta_quantile_left(T, h_, 0.5);
        }
        return gamma_quantile_right(T, 0.5) / h_;
    }

    double df_, nc_;
    unsigned char upper_;
    double h_, spread_;
    double upper_at_half_ = 0.0;  // P(B > 0.5)
};

}  // namespace

}  // namespace dru::impl

using namespace dru::impl;

extern "C" double zolv_TPdf(double x, double df, double nc) {
    if (!t_parameters_valid(df, nc)) return missing_value;
    return t_density(df, nc)(x);
}

extern "C" double zolv_TCdf(double x, double df, double nc, unsigned char upper) {
    if (!t_parameters_valid(df, nc)) return missing_value;
    return t_tail(df, nc, upper)(x);
}

extern "C" double zolv_TInvCdf(double p, double df, double nc, unsigned char upper) {
    if (!t_parameters_valid(df, nc)) return missing_value;
    return t_quantile(df, nc, upper)(p);
}

extern "C" void zolv_ParallelTPdf(const double* x, uint64_t n, double df, double nc, double* out) {
    if (!t_parameters_valid(df, nc)) return fill_missing(out, n);
    const t_density density(df, nc);
    parallel_for(n, [&](uint64_t i) { out[i] = density(x[i]); });
}

extern "C" void zolv_ParallelTCdf(const double* x, uint64_t n, double df, double nc, unsigned char upper,
                                  double* out) {
    if (!t_parameters_valid(df, nc)) return fill_missing(out, n);
    const t_tail tail(df, nc, upper);
    if (n > 1) tail.prepare();
    parallel_for(n, [&](uint64_t i) { out[i] = tail(x[i]); });
}

extern "C" void zolv_ParallelTInvCdf(const double* p, uint64_t n, double df, double nc, unsigned char upper,
                                     double* out) {
    if (!t_parameters_valid(df, nc)) return fill_missing(out, n);
    const t_quantile quantile(df, nc, upper);
    parallel_for(n, [&](uint64_t i) { out[i] = quantile(p[i]); });
}
