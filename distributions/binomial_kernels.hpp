// distributions/binomial_kernels.hpp: point mass, tails, tail ratios and quantile of the binomial
// distribution, for real n.
#pragma once

#include "distributions/discrete_tails.hpp"

namespace dru::impl {

// ln P(X = k) for one (n, p) and many k.
//
// Order: the remainder of n is added to the deviance before those of k and n - k are taken away, so it can be
// stored, but not joined with them. n p and 1 - p are finished values wherever the form uses them.
struct binomial_log_mass {
    double n, p;
    double q;          // 1 - p
    double mean;       // n p
    double remainder;  // log_gamma_remainder(n)

    binomial_log_mass(double trials, double probability);
    double operator()(double k) const;
};

// P(X > x) / P(X = x) and P(X < x) / P(X = x) for one (n, p) with a large variance.
struct binomial_normal_ratio {
    double mean;
    double s, c, h, C;  // sqrt(q n p), 1 - 2p, 0.5 / s, c c

    binomial_normal_ratio(double n, double p);
    double upper(double x) const;
    double lower(double x) const;

private:
    lattice_expansion expand(double x, double side) const;
};

// One (n, p), many x: everything that depends on the parameters alone is formed once. The plain functions
// below build one of these and ask it once, so both give the same bits.
class binomial_distribution {
public:
    binomial_distribution(double n, double p);

    double log_pmf(double k) const { return log_mass_(k); }
    discrete_tails tails(double x) const;
    double upper_ratio(double x) const;
    double lower_ratio(double x) const;

private:
    double upper_ratio_many_trials(double x) const;
    double lower_ratio_many_trials(double x) const;
    double upper_ratio_summed(double x) const;
    double lower_ratio_summed(double x) const;

    binomial_log_mass log_mass_;
    double variance_;    // (1 - p) n p
    double mode_bound_;  // (1 + n) p - 1: above it the mass falls
    double lower_end_;   // mean -+ 25 sd, where the tails are cut off when the variance is large
    double upper_end_;
    binomial_normal_ratio normal_;
};

double binomial_log_pmf(double k, double n, double p);
discrete_tails binomial_tails(double x, double n, double p);
double binomial_upper_ratio(double x, double n, double p);
double binomial_lower_ratio(double x, double n, double p);
double binomial_upper_ratio_normal(double x, double n, double p);
double binomial_lower_ratio_normal(double x, double n, double p);

// One (n, prob, tail), many p.
class binomial_quantile_solver {
public:
    binomial_quantile_solver(double n, double prob, unsigned char upper);

    // The smallest x with P(X <= x) >= p, or for the upper tail with P(X > x) <= p. The callers have settled
    // the ends: 0 < p < 1, 0 < prob < 1. A variance above 1e12 gets the Cornish-Fisher estimate unrefined; a
    // search of a million steps without an end gives the sign-set NaN.
    double operator()(double p) const;

private:
    double n_, prob_;
    bool upper_;
    double mean_, variance_, sd_;
    binomial_distribution smaller_half_;  // for prob, or for 1 - prob and the failures if prob is above 0.5
};

double binomial_quantile(double p, double n, double prob, unsigned char upper);

}  // namespace dru::impl
