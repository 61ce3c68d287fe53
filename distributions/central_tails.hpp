// distributions/central_tails.hpp: tails of the central t and gamma distributions.
//
// All that the time-series routines need from the distribution side for their p-values. The parameters have
// been checked by the caller. upper: 0 selects the lower tail P(X <= x), any other value the upper one. A NaN
// x gives the sign-set NaN, an infinite one 0 or 1.
#pragma once

namespace dru::impl {

// Student's t with df degrees of freedom.
double t_cdf_central(double x, double df, unsigned char upper);

// A gamma variate of shape a and scale 1.
double gamma_cdf_central(double x, double a, unsigned char upper);

}  // namespace dru::impl
