// quantiles/beta_quantile.hpp: quantiles of the central beta distribution.
//
// Source: Newton's method on the tail from beta_tails with the density as its derivative, and bisection where
//         it fails; the start for shapes of 10 and more, which is the answer itself for the largest, is the
//         Cornish-Fisher expansion to the third order in sqrt(1/a + 1/b) (Abramowitz & Stegun 26.2.49).
//
// Tail and orientation are chosen so that the root of each search lies at or below one half, where x carries
// its full precision; a root above is one minus that of the mirrored variate, shapes exchanged and the tail
// kept by name.
// Oddity: with p below 1e-155 the product of two residuals underflows to 0, and a bisection that follows a
//         failed Newton run may keep the wrong half or refuse; the result is then far off.
#pragma once

#include "frame/nan.hpp"
#include "kernels/incomplete_beta.hpp"
#include "kernels/tail_pair.hpp"
#include "quantiles/gamma_quantile.hpp"
#include "quantiles/prepared_once.hpp"
#include "quantiles/quantile_starts.hpp"
#include "quantiles/root_search.hpp"

namespace dru::impl {

// The density of a beta variate where it needs no logarithm: for x NaN or outside the open interval (0, 1).
inline double beta_density_at_end(double x, double a, double b) {
    if (is_nan(x)) return sign_set_nan;
    if (x == 0.0) return a < 1.0 ? plus_infinity : a == 1.0 ? b : 0.0;
    if (x == 1.0) return b < 1.0 ? plus_infinity : b == 1.0 ? a : 0.0;
    return 0.0;
}

// Density and tails of a beta(a, b) variate at 0 < x < 1 from one log density: the bits of
// exp(log_beta_pdf(a, b, x)) and beta_tails(x, a, b). For x below one half; the mirrored variate is asked for
// the others.
class beta_variate {
public:
    struct point {
        double density;
        tail_pair tails;
    };

    beta_variate(double a, double b);
    point operator()(double x) const;

private:
    double split_point_;
    beta_log_density log_density_;
    beta_ratio_kernel ratio_;
};

// The expansion of the quantile in z, the normal quantile of the lower tail.
//
// Order: each member is a finished prefix or factor of its term.
class beta_cornish_fisher {
public:
    beta_cornish_fisher(double a, double b);
    double operator()(double z) const;

private:
    double m_, v_, s_;
    double third_, third_z4_, third_z2_, third_z0_;
    double second_, second_z3_, second_z1_;
    double first_;
};

// One orientation of a pair of shapes: its part in the searches, and what they need, each part settled at its
// first use.
class beta_quantile_side {
public:
    beta_quantile_side(double a, double b) : a_(a), b_(b) {}

    // x with the lower tail, or the upper one, equal to p, for a root at or below one half. `mirrored` is the
    // side with the shapes exchanged.
    double search(double p, unsigned char upper, const beta_quantile_side& mirrored) const;

    // b so large that b x has a gamma distribution.
    bool gamma_limit() const;

    const beta_cornish_fisher& expansion() const;
    const tail_pair& tails_at_half() const;
    double gamma_limit_quantile(double p, unsigned char upper) const;

    // Settles what searches on this side or excursions to it can need.
    void prepare();

private:
    residual_point at(double x, double p, unsigned char upper, const beta_quantile_side& mirrored) const;
    double start(double p, unsigned char upper) const;
    const beta_variate& variate() const;
    const beta_small_start& small_start() const;

    double a_, b_;
    prepared_once<beta_variate> variate_;
    prepared_once<beta_small_start> small_start_;
    prepared_once<beta_cornish_fisher> expansion_;
    prepared_once<tail_pair> tails_at_half_;
    prepared_once<gamma_quantile_solver> gamma_;
};

// beta_quantile for one pair of shapes and many p, 0 < p < 1: the same bits, what depends on the shapes alone
// taken once.
class beta_quantile_solver {
public:
    beta_quantile_solver(double a, double b);

    // Settles every part now: for many p, and before several threads share the object.
    void prepare();

    // beta_quantile(p, a, b, upper) and beta_quantile(p, b, a, upper).
    double operator()(double p, unsigned char upper) const { return solve(p, upper, forward_, mirrored_); }
    double mirrored(double p, unsigned char upper) const { return solve(p, upper, mirrored_, forward_); }

    // x with the chosen tail of beta(a, b) equal to p, by whichever of p and 1 - p is below one half; one
    // half itself takes the mirrored form.
    double from_smaller(double p, unsigned char upper) const {
        return p < 0.5 ? (*this)(p, upper) : 1.0 - mirrored(1.0 - p, upper);
    }

private:
    double solve(double p, unsigned char upper, const beta_quantile_side& side,
                 const beta_quantile_side& other) const;

    bool large_;
    beta_quantile_side forward_, mirrored_;
};

// x with the chosen tail equal to p, 0 < p < 1.
double beta_quantile(double p, double a, double b, unsigned char upper);

// x with I_x(a, b) = p, and x with 1 - I_x(a, b) = p, by search, for a root at or below one half.
double beta_quantile_left(double p, double a, double b);
double beta_quantile_right(double p, double a, double b);

// The expansion alone.
double beta_quantile_large(double p, double a, double b, unsigned char upper);

}  // namespace dru::impl
