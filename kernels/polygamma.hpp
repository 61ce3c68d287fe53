// kernels/polygamma.hpp: psi, psi' and psi''.
#pragma once

namespace dru::impl {

// At u > 0: shifted up to 10, then the asymptotic series in Bernoulli numbers; close to 0 the pole alone.
double digamma(double u);
double trigamma(double u);
double tetragamma(double u);

}  // namespace dru::impl
