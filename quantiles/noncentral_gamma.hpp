// quantiles/noncentral_gamma.hpp: both tails and the quantile of the noncentral gamma distribution, the
// Poisson mixture F(x) = sum over j of w_j P(a + j, x) with weights of mean ncp.
//
// Source: the mixture is summed outward from its largest term, each tail through a recurrence for the ratio
// of
//         tail to density (Benton & Krishnamoorthy 2003), so that the incomplete gamma is evaluated once for
//         each tail and not once for each term. Bracket estimates: Wilson & Hilferty (1931); Fisher's square
//         root.
// Range:  x > 0, a > 0, ncp > 0. A negative ncp has no mixture and gives the sign-set NaN, as does one so
// large
//         that neighbouring indices are the same double.
// Oddity: a sum walks at most 750000 terms from its first index to its largest term and is 0 if it has not
// met
//         it by then. The first index lies some 7.7 standard deviations of the weights from their mean, so
//         that from a mean of about 1e10 on both tails jump from 0 to 1 at x = a + ncp.
#pragma once

#include "kernels/incomplete_gamma.hpp"
#include "kernels/log_gamma.hpp"
#include "kernels/tail_pair.hpp"
#include "quantiles/lanes.hpp"
#include "quantiles/noncentral_sums.hpp"
#include "quantiles/prepared_once.hpp"

namespace dru::impl {

// The mixture of given parameters: both tails at any 0 < x < infinity. What depends on the parameters alone
// is worked out at its first use and kept; an object that several threads share is prepared before they
// start.
class gamma_nc_mixture {
public:
    gamma_nc_mixture(double a, double ncp) : a_(a), weights_(ncp), first_term_(a) {}
    void prepare() const;

    tail_pair operator()(double x) const;
    tail_pairs operator()(const lane_array& x) const;  // four points in step; noncentral_gamma_lanes.cpp

    // Whether the weights reach over so many indices that sums in step pay.
    bool many_terms(double count) const { return weights_.last() - weights_.first() >= count; }

    double shape() const { return a_; }
    double mean_weight() const { return weights_.mean(); }

private:
    lane_array upper_sums(const lane_array& x) const;
    lane_array lower_sums(const lane_array& x) const;
    double upper_sum(double x) const;
    double lower_sum(double x) const;
    double log_term(double k, double x) const;
    const gamma_tail_kernel& first_kernel() const;
    const gamma_tail_kernel& last_kernel() const;

    double a_;
    poisson_start_indices weights_;
    gamma_log_density first_term_;                                 // the density that index 0 weighs
    prepared_once<gamma_tail_kernel> first_kernel_, last_kernel_;  // where the two sums start
};

tail_pair gamma_nc_tails(double x, double a, double ncp);

// The quantile of the mixture for 0 < p < 1, or of the central gamma when ncp is 0.
double gamma_nc_quantile(double p, double a, double ncp, unsigned char upper);

}  // namespace dru::impl
