// quantiles/noncentral_beta.hpp: both tails and the quantile of the noncentral beta distribution, the Poisson
// mixture F(x) = sum over j of w_j I_x(a + j, b) with weights of mean ncp.
//
// Source: summed outward from the largest term through recurrences for the ratio of tail to density (Benton &
//         Krishnamoorthy 2003; DiDonato & Morris 1992 for the ratios), so that the incomplete beta is
//         evaluated once for each tail and not once for each term.
// Range:  0 <= x < 1, shapes > 0. Where the mixture would start, an ncp that is negative, infinite or NaN
//         gives the sign-set NaN, as does one whose weights reach beyond 2^53, where an index no longer moves
//         when 1 is added to it.
// Oddity: a sum ends early once its total is above 0.9; the first sum then hands over to the other tail, the
//         second stands as it is and may be a little short.
// Oddity: a sum that has not met its peak, or its stopping rule, within 750000 terms is 0, as is one whose
//         peak term underflows; the other tail is then 1. From an ncp of about 1e10 on that is the rule.
#pragma once

#include <array>

#include "kernels/incomplete_beta.hpp"
#include "kernels/tail_pair.hpp"
#include "quantiles/lanes.hpp"
#include "quantiles/noncentral_sums.hpp"
#include "quantiles/prepared_once.hpp"

namespace dru::impl {

// The mixture for one set of parameters and many points. Each part that depends on the parameters alone is
// settled at its first use; prepare() settles all of them, for many points and before several threads share
// the object. The weights are the caller's and outlive it.
class beta_nc_mixture {
public:
    beta_nc_mixture(double a, double b, const poisson_start_indices& weights)
        : a_(a), b_(b), c_(a + b), weights_(weights) {}
    void prepare() const;

    // lower = sum of w_j I_x(a + j, b), upper = 1 - lower, the smaller of them summed.
    tail_pair left(double x) const;

    // The same in reflected coordinates, y = 1 - x, p = b, q = a: the lower member is `first` = sum of
    // w_j I_y(p, q + j), the upper member `second` = 1 - first.
    tail_pair right(double y) const;

    // The same at four points; noncentral_beta_lanes.cpp.
    std::array<tail_pair, lane_count> left(const lane_array& x) const;
    std::array<tail_pair, lane_count> right(const lane_array& y) const;

    // The quantile for 0 <= p <= 1 and an ncp other than 0, by bisection on (0, 1).
    double quantile(double p, unsigned char upper) const;

private:
    bool defined() const;
    double remainder_b() const;
    double left_log_density(double shape, double x) const;
    double right_log_density(double shape, double y) const;

    // The ratio at the first index of any weight, where a tail that falls away from the index starts, and at
    // the one after the last, where the other tail starts.
    const beta_ratio_kernel& left_first() const;
    const beta_ratio_kernel& left_last() const;
    const beta_ratio_kernel& right_first() const;
    const beta_ratio_kernel& right_last() const;

    double a_, b_, c_;
    const poisson_start_indices& weights_;
    prepared_once<double> remainder_b_;
    prepared_once<beta_ratio_kernel> left_first_, left_last_, right_first_, right_last_;
};

tail_pair beta_nc_tails_left(double x, double a, double b, const poisson_start_indices& weights);
tail_pair beta_nc_tails_left(double x, double a, double b, double ncp);

tail_pair beta_nc_tails_right(double y, double p, double q, const poisson_start_indices& weights);
tail_pair beta_nc_tails_right(double y, double p, double q, double ncp);

// The quantile for 0 <= p <= 1; that of the central distribution when ncp is 0.
double beta_nc_quantile(double p, double a, double b, double ncp, unsigned char upper);

}  // namespace dru::impl
