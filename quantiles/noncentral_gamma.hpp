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
#pragma once

#include "kernels/tail_pair.hpp"
#include "quantiles/noncentral_sums.hpp"

namespace dru::impl {

// 0 < x < infinity.
tail_pair gamma_nc_tails(double x, double a, const poisson_start_indices& weights);
tail_pair gamma_nc_tails(double x, double a, double ncp);

// The quantile of the mixture for 0 < p < 1, or of the central gamma when ncp is 0.
double gamma_nc_quantile(double p, double a, double ncp, unsigned char upper);

}  // namespace dru::impl
