// distributions/f.cpp: the F family, central and noncentral, as a beta family.
//
// With a = d1 / 2, b = d2 / 2 and t = x a the variate is y = t / (b + t), and the work is done on whichever
// of y and 1 - y is below one half. Oddity: nc is itself the Poisson mean of the mixture; the chi-square
// family halves its nc first. It is not tested among the parameters.
#include <cmath>

#include "distributions/beta_density.hpp"
#include "frame/nan.hpp"
#include "frame/parallel.hpp"
#include "kernels/incomplete_beta.hpp"
#include "quantiles/beta_quantile.hpp"
#include "quantiles/noncentral_beta.hpp"
#include "zolv.h"

namespace dru::impl {

namespace {

bool f_parameters_valid(double d1, double d2) {
    return d1 > 0.0 && d1 < plus_infinity && d2 > 0.0 && d2 < plus_infinity;
}

// One tail of F at any x.
class f_tail {
public:
    f_tail(double d1, double d2, double nc, unsigned char upper)
        : a_(d1 / 2.0), b_(d2 / 2.0), upper_(upper), weights_(nc) {}

    // What depends on the noncentrality alone; worth its price from the second element on.
    void prepare() { weights_.prepare(); }

    double operator()(double x) const {
        if (is_nan(x)) return sign_set_nan;
        if (is_infinite(x)) return (x > 0.0) == (upper_ != 0) ? 0.0 : 1.0;
        if (x <= 0.0) return upper_ != 0 ? 1.0 : 0.0;
        const double t = x * a_;
        const double y = t / (b_ + t);
        if (y < 0.5) {
            const tail_pair tails =
                weights_.mean() == 0.0 ? beta_tails(y, a_, b_) : beta_nc_tails_left(y, a_, b_, weights_);
            return upper_ != 0 ? tails.upper : tails.lower;
        }
        const double w = b_ / (b_ + t);
        const tail_pair mirrored =
            weights_.mean() == 0.0 ? beta_tails(w, b_, a_) : beta_nc_tails_right(w, b_, a_, weights_);
        return upper_ != 0 ? mirrored.lower : mirrored.upper;
    }

private:
    double a_, b_;
    unsigned char upper_;
    poisson_start_indices weights_;
};

// Oddity: the central quantile is mirrored at one half, the noncentral one is not.
double f_beta_quantile(double p, double a, double b, double nc, unsigned char upper) {
    if (is_nan(p) || p < 0.0 || p > 1.0) return sign_set_nan;
    if (p == 0.0) return upper != 0 ? 1.0 : 0.0;
    if (p == 1.0) return upper != 0 ? 0.0 : 1.0;
    if (nc != 0.0) return beta_nc_quantile(p, a, b, nc, upper);
    return p < 0.5 ? beta_quantile(p, a, b, upper) : 1.0 - beta_quantile(1.0 - p, b, a, upper);
}

double f_quantile(double p, double a, double b, double scale, double nc, unsigned char upper) {
    if (p == 0.0) return upper != 0 ? plus_infinity : 0.0;
    if (p == 1.0) return upper != 0 ? 0.0 : plus_infinity;
    const double y = f_beta_quantile(p, a, b, nc, upper);
    if (is_nan(y)) return sign_set_nan;
    return scale * y / (1.0 - y);
}

}  // namespace

}  // namespace dru::impl

using namespace dru::impl;

extern "C" double zolv_FPdf(double x, double d1, double d2, double nc) {
    if (!f_parameters_valid(d1, d2)) return missing_value;
    return f_density(d1, d2, nc)(x);
}

extern "C" double zolv_FCdf(double x, double d1, double d2, double nc, unsigned char upper) {
    if (!f_parameters_valid(d1, d2)) return missing_value;
    return f_tail(d1, d2, nc, upper)(x);
}

extern "C" double zolv_FInvCdf(double p, double d1, double d2, double nc, unsigned char upper) {
    if (!f_parameters_valid(d1, d2)) return missing_value;
    const double a = d1 / 2.0, b = d2 / 2.0;
    return f_quantile(p, a, b, b / a, nc, upper);
}

extern "C" void zolv_ParallelFPdf(const double* x, uint64_t n, double d1, double d2, double nc, double* out) {
    if (!f_parameters_valid(d1, d2)) return fill_missing(out, n);
    const f_density density(d1, d2, nc);
    parallel_for(n, [&](uint64_t i) { out[i] = density(x[i]); });
}

extern "C" void zolv_ParallelFCdf(const double* x, uint64_t n, double d1, double d2, double nc,
                                  unsigned char upper, double* out) {
    if (!f_parameters_valid(d1, d2)) return fill_missing(out, n);
    f_tail tail(d1, d2, nc, upper);
    if (n > 1) tail.prepare();
    parallel_for(n, [&](uint64_t i) { out[i] = tail(x[i]); });
}

extern "C" void zolv_ParallelFInvCdf(const double* p, uint64_t n, double d1, double d2, double nc,
                                     unsigned char upper, double* out) {
    if (!f_parameters_valid(d1, d2)) return fill_missing(out, n);
    const double a = d1 / 2.0, b = d2 / 2.0;
    const double scale = b / a;
    parallel_for(n, [&](uint64_t i) { out[i] = f_quantile(p[i], a, b, scale, nc, upper); });
}
