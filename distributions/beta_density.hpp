// distributions/beta_density.hpp: density of the noncentral beta distribution, the Poisson mixture of beta
// densities with weights of mean l, and of the F variate on top of it.
//
// Source: the mixture is summed outward from its largest term; the peak index is the root of the quadratic
//         for the ratio of consecutive terms, in its cancellation-free form. Each direction is counted first
//         and then summed from its smallest term, so that no terms are stored.
#pragma once

#include <array>
#include <cstdint>

#include "kernels/lanes.hpp"
#include "kernels/log_gamma.hpp"
#include "quantiles/prepared_once.hpp"

namespace dru::impl {

// Density of a beta(a, b) variate with noncentrality l at y; l = 0 is the central density. Beyond the ends of
// the support it is 0.
//
// What depends on the parameters alone is settled at its first use; prepare() settles all of it, for many
// points and before several threads share the object.
class beta_nc_density {
public:
    beta_nc_density(double a, double b, double l) : a_(a), b_(b), c_(a + b), l_(l) {}
    void prepare() const;

    // Undefined where the mixture would start with an l that is negative, infinite or NaN, where its peak
    // lies above 2^53, beyond which neighbouring indices are the same double, and where the factors of a
    // count have overflowed.
    struct value {
        double density;
        bool defined;
    };
    value at(double y) const;
    std::array<value, lane_count> at(const lane_array& y) const;  // four points 0 < y < 1 with l not 0

    // The density of the central beta(a, b) at y and of beta(b, a) at y, 0 < y < 1.
    double central(double y) const;
    double mirrored(double y) const;

    const beta_log_density& log_density(bool mirrored) const;

private:
    // The largest term T of the mixture at y and its index, or an answer that needs no sums.
    struct start {
        double k, T;
        bool settled;
        value answer;
    };
    start start_at(double y) const;
    value sum_from(const start& at, double y) const;
    double log_term(double shape, double y) const;

    double a_, b_, c_, l_;
    prepared_once<beta_log_density> central_, mirrored_;
    prepared_once<double> remainder_b_;
};

// The sign-set NaN where the density is undefined or NaN.
double beta_pdf(double y, double a, double b, double nc);

// Density of an F(d1, d2) variate; nc is the Poisson mean of the mixture itself, not its double.
class f_density {
public:
    f_density(double d1, double d2, double nc);
    void prepare() const { beta_.prepare(); }
    double operator()(double x) const;

    // The same for each of n points.
    void operator()(const double* x, std::uint64_t n, double* out) const;

private:
    double mirrored_density(double w) const;
    void central(const double* x, std::uint64_t n, double* out) const;
    void noncentral(const double* x, std::uint64_t n, double* out) const;

    double a_, b_, nc_;
    double log_scale_;  // ln(a / b)
    beta_nc_density beta_;
};

}  // namespace dru::impl
