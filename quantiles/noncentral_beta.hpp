// quantiles/noncentral_beta.hpp: both tails and the quantile of the noncentral beta distribution, the Poisson
// mixture F(x) = sum over j of w_j I_x(a + j, b) with weights of mean ncp.
//
// Source: summed outward from the largest term through recurrences for the ratio of tail to density (Benton &
//         Krishnamoorthy 2003; DiDonato & Morris 1992 for the ratios), so that the incomplete beta is
//         evaluated once for each tail and not once for each term.
// Range:  0 <= x < 1, shapes > 0. A negative, infinite or NaN ncp has no mixture and gives the sign-set NaN,
// as
//         does one so large that neighbouring indices are the same double.
// Oddity: a sum ends early once its total is above 0.9; the first sum then hands over to the other tail, the
//         second stands as it is and may be a little short.
#pragma once

#include "kernels/tail_pair.hpp"
#include "quantiles/noncentral_sums.hpp"

namespace dru::impl {

// lower = sum of w_j I_x(a + j, b), upper = 1 - lower, the smaller of them summed.
tail_pair beta_nc_tails_left(double x, double a, double b, const poisson_start_indices& weights);
tail_pair beta_nc_tails_left(double x, double a, double b, double ncp);

// The same in reflected coordinates, y = 1 - x, p = b, q = a: the lower member is `first` = sum of
// w_j I_y(p, q + j), the upper member `second` = 1 - first.
tail_pair beta_nc_tails_right(double y, double p, double q, const poisson_start_indices& weights);
tail_pair beta_nc_tails_right(double y, double p, double q, double ncp);

// The quantile for 0 <= p <= 1; by bisection on (0, 1) when ncp is not 0.
double beta_nc_quantile(double p, double a, double b, double ncp, unsigned char upper);

}  // namespace dru::impl
