// distributions/hypergeometric.hpp: point mass, tails, tail ratios and quantile of the hypergeometric
// distribution: x marked items among n drawn without replacement from N, of which K are marked.
//
// No exported name reaches these. N, K and n are whole numbers held in doubles, 0 <= K <= N, 0 <= n <= N;
// the callers have checked that.
#pragma once

#include "distributions/binomial_kernels.hpp"
#include "distributions/discrete_tails.hpp"

namespace dru::impl {

// ln P(X = x) for one (N, K, n) and many x; x within the support.
struct hypergeometric_log_mass {
    double N, K, n;
    double low;         // n - N + K: no x below this
    double mean;        // n K / N
    double expected12;  // K (N - n) / N, and so on: the expected cells of the 2 x 2 table
    double expected21;
    double expected22;
    double remainders;  // g(K) + g(N - K) + g(n) + g(N - n) - g(N), g the log-gamma remainder

    hypergeometric_log_mass(double population, double marked, double draws);
    double operator()(double x) const;
};

// P(X > x) / P(X = x) and P(X < x) / P(X = x) for one (N, K, n) with a large variance.
struct hypergeometric_normal_ratio {
    double mean, s, h;
    double e, E, S;  // c g, (c g)^2, c^2 + g^2 with c = 1 - 2a, g = 1 - 2b

    hypergeometric_normal_ratio(double n, double a, double b, double variance);
    double upper(double x) const;
    double lower(double x) const;

private:
    lattice_expansion expand(double x, double side) const;
};

// One (N, K, n), many x. The plain functions below build one and ask it once, so both give the same bits.
class hypergeometric_distribution {
public:
    hypergeometric_distribution(double N, double K, double n);

    double log_pmf(double x) const { return log_mass_(x); }
    discrete_tails tails(double x) const;
    double upper_ratio(double x) const;
    double lower_ratio(double x) const;

private:
    double upper_ratio_summed(double x) const;
    double lower_ratio_summed(double x) const;

    hypergeometric_log_mass log_mass_;
    double a_;           // K / N
    double variance_;    // N a (1 - a) b (1 - b), b = n / N
    double mode_bound_;  // (1 + n) (1 + K) / (2 + N) - 1: above it the mass falls
    double lower_end_;   // n a -+ 25 s, where the tails are cut off when the variance is large
    double upper_end_;
    hypergeometric_normal_ratio normal_;
    binomial_distribution with_replacement_;  // what is left of it when N is beyond all bounds
};

double hypergeometric_log_pmf(double x, double N, double K, double n);
discrete_tails hypergeometric_tails(double x, double N, double K, double n);
double hypergeometric_upper_ratio(double x, double N, double K, double n);
double hypergeometric_lower_ratio(double x, double N, double K, double n);
double hypergeometric_upper_ratio_normal(double x, double N, double K, double n);
double hypergeometric_lower_ratio_normal(double x, double N, double K, double n);

// The eight functions that a quantile may search: P(X <= x) (forms 0 to 3) or P(X > x) (forms 4 to 7), each
// through one of the four reflections of the distribution. The three parameters are held in the order in
// which the form uses them:
//
//   form    c1     c2     c3       asks the tails at                      answers
//   0, 4    N      K      n        x; c1, c2, c3                          lower + mass; upper
//   1, 7    N - K  N      N - n    c1 - c2 + c3 + x; c2, c1, c3           lower + mass; upper
//   2, 5    n      N      N - K    c1 - x; c2, c3, c1                     upper + mass; lower
//   3, 6    K      N      N - n    c1 - x; c2, c1, c3                     upper + mass; lower
class hypergeometric_residual {
public:
    hypergeometric_residual(int form, double c1, double c2, double c3);
    double operator()(double x) const;

private:
    int form_;
    double c1_, c2_, c3_;
    hypergeometric_distribution reflected_;
};

// The smallest x with P(X <= x) >= p, or with upper set P(X > x) <= p. p = 0 and 1 give the ends of the
// support; a NaN p or one outside [0, 1] the sign-set NaN, as does a search of a million steps without an
// end. A variance above 1e12 gets the Cornish-Fisher estimate unrefined.
double hypergeometric_quantile(double p, double N, double K, double n, unsigned char upper);

}  // namespace dru::impl
