// quantiles/quantile_starts.hpp: where the beta and gamma quantile searches start when a shape is small.
//
// The start is the first term of the lower tail's series at 0, solved for x. For a beta variate
//
//   I_x(a, b) ~ x^a Gamma(a + b) / (Gamma(1 + a) Gamma(b)),
//
// and everything about it is an accurate logarithm of that ratio of gamma functions.
#pragma once

namespace dru::impl {

// ln Gamma(1 + a) / a for a >= 0; -0.577... at 0.
double log_gamma1p_over(double a);

// The start for min(a, b) < 1 of a beta quantile search, one pair of shapes and many p; 0 <= start <= 1/2.
//
// Order: what is stored are whole terms of the sums below, not sums of them.
class beta_small_start {
public:
    beta_small_start(double a, double b);

    // upper = 0: for the lower tail p; otherwise for the upper tail p.
    double operator()(double p, unsigned char upper) const;

private:
    double log_estimate(double p, unsigned char upper) const;

    enum class form { gamma_values, large_b, small_a, small_b };
    double a_;
    form form_;
    double term_[6];
};

// The same for one p.
double beta_left_small_start(double p, double a, double b);
double beta_right_small_start(double p, double a, double b);

}  // namespace dru::impl
