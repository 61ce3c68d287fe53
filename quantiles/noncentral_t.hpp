// quantiles/noncentral_t.hpp: both tails and the quantile of the noncentral t distribution, (Z + ncp) over
// sqrt(W / df).
//
// Source: for x > 0 the mixture of incomplete betas of Lenth (1989, AS 243), summed outward from its largest
//         term; for x < 0 a saddle-point tail at many degrees of freedom, carried down by a recurrence in
//         half steps.
// Range:  df > 0 and finite, ncp finite and not 0. A noncentrality so large that neighbouring mixture indices
//         are the same double gives the sign-set NaN.
// Oddity: the upper sum ends early at a total above 0.9 although it is still to be multiplied: small
//         noncentralities lose digits there. A sum that reaches its ceiling leaves tails outside [0, 1].
#pragma once

#include "kernels/tail_pair.hpp"
#include "quantiles/noncentral_sums.hpp"

namespace dru::impl {

// The distribution of given df and noncentrality; what depends on them alone is taken once. A team that
// shares the object is preceded by prepare().
class t_nc_distribution {
public:
    t_nc_distribution(double df, double ncp);
    void prepare() const { weights_.prepare(); }

    // Both tails at a finite x.
    tail_pair tails(double x) const;

private:
    double df_, ncp_;     // the noncentrality as given
    double magnitude_;    // and without its sign
    double normal_tail_;  // P(Z > |ncp|), 0 from the cut on
    double weight_;       // P(|Z| < |ncp|): what the odd half of the mixture weighs
    double log_weight_;
    poisson_start_indices weights_;  // of mean ncp^2 / 2
};

tail_pair t_nc_tails_positive(double x, double df, double ncp);  // x > 0, ncp > 0
tail_pair t_nc_tails_negative(double x, double df, double ncp);  // x < 0, ncp > 0
tail_pair t_nc_tails_large_df(double x, double D, double ncp);

// P(T > x) and P(T <= x) at any x, for any finite ncp.
double t_nc_sf(double x, double df, double ncp);
double t_nc_cdf(double x, double df, double ncp);

// The quantile for 0 < p < 1.
double t_nc_quantile(double p, double df, double ncp, unsigned char upper);

}  // namespace dru::impl
