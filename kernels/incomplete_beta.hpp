// kernels/incomplete_beta.hpp: both tails of a beta variate, and the ratios of tail to density they stand on.
//
// A tail is the density at the point times a ratio of tail to density. The density, taken from its logarithm,
// carries all the underflow; the ratio is a well-scaled number. Only the tail that a cheap estimate of the
// median calls the smaller one is computed, the other is one minus it.
//
// The ratios have three forms each:
//   a b / (a + b) >= 10000   Edgeworth-like expansion about the normal Mills ratio, three terms;
//   b >= 1e15                expansion about the gamma limit, first order in 1 / b;
//   otherwise                a finite series in whole steps of one shape plus a remainder, summed in two
//                            passes: one that counts, one that adds from the smallest term up (Horner).
//
// Domain: a, b > 0, 0 <= x < 1. Callers settle x = 1, and ask for the mirrored variate (1 - x, b, a) from 1/2
// up: near 1 the point has lost digits, and the remainder of the lower series, whose terms fall like x^j,
// takes about 32 / (1 - x) of them.
//
// Overflow: the noncentral sums ask for ratios far from the median, where a ratio may exceed the largest
// double. A counting product that has overflowed cannot come back below its stopping value, so the ratio is
// plus infinity there and then.
#pragma once

#include <optional>

#include "kernels/log_gamma.hpp"
#include "kernels/tail_pair.hpp"

namespace dru::impl {

// I_x(a, b) and 1 - I_x(a, b). Neither is clamped to 1.
tail_pair beta_tails(double x, double a, double b);

// A cheap estimate of the median of the beta distribution.
double beta_split_point(double a, double b);

// I_x(a, b) / f and (1 - I_x(a, b)) / f, f being the density at x.
double beta_lower_ratio(double a, double b, double x);
double beta_upper_ratio(double a, double b, double x);

// The same for large shapes, whatever the thresholds say.
double beta_lower_ratio_normal(double a, double b, double x);
double beta_upper_ratio_normal(double a, double b, double x);

// The same for a huge b.
double beta_lower_ratio_large_b(double a, double b, double x);
double beta_upper_ratio_large_b(double a, double b, double x);

// Remainder of the upper series, 0 <= a < 1 and b x not 0: (1 - I_x(a, b)) / f times b / (1 - x).
double beta_upper_fraction(double a, double b, double x);

// The series form of that remainder for b x < 1, before its factor of powers.
double beta_upper_small(double a, double b, double x);

// Gamma(a) (b^a Gamma(b) / Gamma(a + b) - 1), 0 <= a < 1.
double gamma_shift_ratio(double a, double b);

// The large-shape expansions of one pair of shapes.
//
// Order: each coefficient stored is a finished left-to-right prefix of its term, so storing it moves the work
// and not the rounding.
class beta_normal_form {
public:
    beta_normal_form(double a, double b);
    double lower(double x) const;
    double upper(double x) const;

private:
    struct expansion {
        double A, B;  // multiplies the Mills ratio; stands beside it
    };
    expansion at(double t) const;

    double p_, minus_q_, e_, sigma_;
    // Coefficients of the four polynomials, numbered by the power of t that they multiply.
    double t9_, t7_, t5_, t3_, t1_;  // C3
    double u6_, u4_, u2_, u0_;       // C2
    double v8_, v6_, v4_, v2_, v0_;  // D3
    double w5_, w3_, w1_;            // D2
};

// beta_upper_small for one pair of shapes: all but the series and the power of b x are settled once.
class beta_small_remainder {
public:
    beta_small_remainder(double a, double b);
    double operator()(double x) const;

private:
    double a_, b_;
    double prefix_;  // -g + h
};

// beta_upper_fraction for b x < 1: the prepared remainder times its factor of powers.
double beta_upper_small_scaled(double a, double b, double x, const beta_small_remainder& remainder);

// Both ratios for one pair of shapes: the choice of form and what the form needs.
class beta_ratio_kernel {
public:
    beta_ratio_kernel(double a, double b);
    double lower(double x) const;
    double upper(double x) const;

    // Settles the remainder for b x < 1 now rather than at each point that needs it.
    void prepare_small_remainder();

    // Whether a point above x_min can ask for that remainder.
    bool small_remainder_reachable(double x_min) const;

private:
    double lower_series(double x) const;
    double upper_series(double x) const;
    double upper_remainder(double x) const;

    double a_, b_;
    double whole_a_, whole_b_;  // floor of the shapes
    bool large_b_;
    std::optional<beta_normal_form> normal_;
    std::optional<beta_small_remainder> small_;
};

// beta_tails for one pair of shapes and many points: the same bits as the free function.
class beta_tail_kernel {
public:
    beta_tail_kernel(double a, double b);
    tail_pair operator()(double x) const;

    double split_point() const { return split_point_; }

private:
    friend tail_pair beta_tails(double x, double a, double b);
    struct single_point {};
    beta_tail_kernel(double a, double b, single_point);

    double split_point_;
    beta_log_density log_density_;
    beta_ratio_kernel ratio_;
};

}  // namespace dru::impl
