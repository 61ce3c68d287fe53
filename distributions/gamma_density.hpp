// distributions/gamma_density.hpp: density of the noncentral gamma distribution of shape a and unit scale,
// the Poisson mixture of gamma densities with weights of mean l.
//
// Source: the mixture is summed outward from its largest term; the peak index is the root of the quadratic
// for
//         the ratio of consecutive terms. Each direction is counted first and then summed from its smallest
//         term, so that no terms are stored. At a peak index k that takes some 23 sqrt(k) steps: seconds next
//         to 2^53.
#pragma once

#include <cstdint>

#include "kernels/lanes.hpp"
#include "kernels/log_gamma.hpp"

namespace dru::impl {

// a > 0 and finite, l finite. A NaN x gives the sign-set NaN. A negative l has no distribution: where the
// peak index is a number the sums are followed, otherwise the sign-set NaN is given, as for a peak above
// 2^53, beyond which neighbouring indices are the same double.
class gamma_nc_density {
public:
    gamma_nc_density(double a, double l) : a_(a), l_(l), square_((a - 1.0) * (a - 1.0)), central_(a) {}
    double operator()(double x) const;

    // Half the density at half of each of n points.
    void at_halves(const double* x, std::uint64_t n, double* out) const;

private:
    // The largest term T of the mixture at x and its index, or an answer that needs no sums.
    struct start {
        double k, T;
        bool settled;
        double answer;
    };
    start start_at(double x) const;
    double sum_from(const start& at, double x) const;
    lane_array mixture(const lane_array& x) const;

    double a_, l_;
    double square_;              // (a - 1)^2, of the radicand
    gamma_log_density central_;  // the density that index 0 weighs, and the whole one at l = 0
};

double gamma_nc_pdf(double x, double a, double l);

}  // namespace dru::impl
