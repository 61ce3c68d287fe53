// distributions/poisson.hpp: tails, tail ratios and quantile of the Poisson distribution.
//
// No exported name reaches these. The quantile tells the noncentral sums where their Poisson weights start
// and end; the ratios serve the binomial tails when there are very many trials.
#pragma once

#include "distributions/discrete_tails.hpp"

namespace dru::impl {

// One mean, many x. The plain functions below build one and ask it once, so both give the same bits.
class poisson_distribution {
public:
    explicit poisson_distribution(double mean);

    double log_pmf(double x) const;
    discrete_tails tails(double x) const;
    double upper_ratio(double x) const;  // P(X > x) / P(X = x)
    double lower_ratio(double x) const;  // P(X < x) / P(X = x)

private:
    lattice_expansion expand(double x, double h) const;
    double upper_ratio_summed(double x) const;
    double lower_ratio_summed(double x) const;
    double upper_ratio_normal(double x) const;
    double lower_ratio_normal(double x) const;

    double mean_;
    double sd_;  // sqrt(mean)
};

discrete_tails poisson_tails(double x, double mean);
double poisson_upper_ratio(double x, double mean);
double poisson_lower_ratio(double x, double mean);

// The smallest x with P(X <= x) >= p (mode 0 or 3), or with P(X > x) <= p (mode 1 or 2). 0 < p < 1; any other
// p gives the sign-set NaN, as does a search that has not ended after a million steps. A mean above 1e12 gets
// the normal estimate unrefined. Any other mode throws std::bad_function_call.
double poisson_quantile(double p, double mean, int mode);

}  // namespace dru::impl
