// quantiles/gamma_quantile.hpp: quantiles of the central gamma distribution with unit rate.
//
// Source: Newton's method on the tail from gamma_tails, with the density as its derivative; the start for
//         large shapes, which is the answer itself from 10000 on, is the Cornish-Fisher expansion to the
//         third order in 1 / sqrt(a) (Abramowitz & Stegun 26.2.49).
// Oddity: a Newton run that fails after its 50 steps is not repeated by another method, and its last iterate
//         is the answer, wherever it lies. The lower tail starts at the mode for 1 < a <= 10, from where an
//         extreme p can throw Newton out of the support for good; the result may then be negative or far off.
#pragma once

#include "frame/nan.hpp"
#include "kernels/incomplete_gamma.hpp"
#include "quantiles/prepared_once.hpp"
#include "quantiles/root_search.hpp"

namespace dru::impl {

// From this shape on the expansion is the answer. The callers make the choice.
inline constexpr double gamma_expansion_shape = 10000.0;

// The density of a gamma variate where it needs no logarithm: for x NaN, infinite or at most 0.
inline double gamma_density_at_end(double x, double a) {
    if (is_nan(x)) return sign_set_nan;
    if (x != 0.0) return 0.0;
    return a < 1.0 ? plus_infinity : a == 1.0 ? 1.0 : 0.0;
}

// The expansion in z, the normal quantile of the lower tail.
double gamma_cornish_fisher(double a, double z);

// The expansion alone, 0 < p < 1.
double gamma_quantile_large(double p, double a, unsigned char upper);

// x with P(a, x) = p and x with 1 - P(a, x) = p, 0 < p < 1.
double gamma_quantile_left(double p, double a);
double gamma_quantile_right(double p, double a);

// The three above for one shape and many p: the same bits, what depends on the shape alone taken once.
class gamma_quantile_solver {
public:
    explicit gamma_quantile_solver(double a) : a_(a) {}

    // Settles every part now: for many p, and before several threads share the object.
    void prepare();

    double left(double p) const;
    double right(double p) const;

    // The expansion for shapes that have it for an answer, otherwise the search in the tail asked for.
    double operator()(double p, unsigned char upper) const;

private:
    // The residual of one tail and its derivative.
    residual_point at(double x, double p, unsigned char upper) const;
    double newton(double start, double p, unsigned char upper) const;

    struct tail_kernel {
        gamma_tail_kernel kernel;
        double median;
        explicit tail_kernel(double a) : kernel(a), median(gamma_median_estimate(a)) {}
    };
    const tail_kernel& tails() const {
        return tails_.get([this] { return tail_kernel(a_); });
    }
    double log_gamma1p_over_a() const;

    double a_;
    prepared_once<tail_kernel> tails_;
    prepared_once<double> log_gamma1p_over_a_;
};

}  // namespace dru::impl
