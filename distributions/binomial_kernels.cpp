// distributions/binomial_kernels.cpp: binomial tails by the ratio of tail to mass.
//
// Source: the point mass is the deviance (saddle-point) form of Loader, "Fast and accurate computation of
//         binomial probabilities", 2000, with the remainders of log_gamma.hpp. The normal forms are the
//         lattice Edgeworth series of tail over mass to third order in 1 / sqrt(n p q): Stirling's series for
//         the mass, Euler and Maclaurin's for the sum over it. hypergeometric_expansion.py derives the
//         general case and finds these polynomials at its binomial end.
// Order:  sums run from the smallest term; products and polynomials associate as printed. Both are the
//         result.
#include "distributions/binomial_kernels.hpp"

#include <cmath>

#include "distributions/poisson.hpp"
#include "kernels/log_gamma.hpp"
#include "quantiles/root_search.hpp"

namespace dru::impl {

namespace {

constexpr double vanishing_mean = 1e-100;   // up to here the variate is 0 with certainty, whatever n
constexpr double large_variance = 10000.0;  // normal form from here on; tails cut off at 25 sd above it
constexpr double poisson_trials = 1e22;     // from here on a small variance makes it a Poisson variate
constexpr double many_trials = 1e15;        // from here on: the Poisson ratio and its first correction in 1/n
constexpr double small_variance_end = 22500.0;  // where the support counts as ended below large_variance
constexpr double unrefined_variance = 1e12;     // above: the quantile is its normal estimate

}  // namespace

binomial_log_mass::binomial_log_mass(double trials, double probability)
    : n(trials), p(probability), q(1.0 - p), mean(n * p), remainder(remainder_or_zero(n)) {}

// The deviance goes through ln(1 + u) of the relative distances from the mean, not through ln k and ln p:
// what cancels between its two parts is of the size of the distance d, not of k ln k.
double binomial_log_mass::operator()(double k) const {
    if (k == 0.0) return n * log1p_small(-p);
    if (k == n) return n * std::log(p);
    const double m = n - k;
    const double d = k - mean;
    const double t = d >= 0.0 ? m * log1p_small(d / m) - k * log1p_small(d / mean)
                              : k * log1p_small(-d / k) - m * log1p_small(-d / n / q);
    return t + remainder - remainder_or_zero(k) - remainder_or_zero(m);
}

binomial_normal_ratio::binomial_normal_ratio(double n, double p)
    : mean(n * p), s(std::sqrt((1.0 - p) * n * p)), c(1.0 - 2.0 * p), h(0.5 / s), C(c * c) {}

// side: -1 for the upper tail, 1 for the lower one.
lattice_expansion binomial_normal_ratio::expand(double x, double side) const {
    const double z = (x - mean) / s;
    const double Z = z * z;
    const double A = 2.0 * C * Z;
    const double B = 10.0 * C * Z;
    const double a1 = -(Z - 3.0) * c * z / 3.0;
    const double a2 = (((3.0 * (1.0 - C) + A) * Z - 18.0) * Z + 3.0 * (3.0 + C)) / 36.0;
    const double a3 =
        -c *
        ((((45.0 * (1.0 + C) + B) * Z - 81.0 * (1.0 + C)) * Z - 45.0 * (15.0 - C)) * Z + 135.0 * (5.0 - C)) *
        z / 1620.0;
    const double b1 = (Z - 1.0) * c / 3.0;
    const double b2 = -((A + (3.0 - 5.0 * C)) * Z - 3.0 * (7.0 - 3.0 * C)) * z / 36.0;
    const double b3 =
        c *
        ((((B + 5.0 * (7.0 * C + 9.0)) * Z - 6.0 * (16.0 * C + 21.0)) * Z - 3.0 * (153.0 - 37.0 * C)) * Z +
         48.0 * (9.0 - C)) /
        1620.0;
    return {z, ((a3 * h + a2) * h + a1) * h + 1.0, b1 + side, b2, b3};
}

double binomial_normal_ratio::upper(double x) const { return expand(x, -1.0).upper(s, h); }

double binomial_normal_ratio::lower(double x) const { return expand(x, 1.0).lower(s, h); }

binomial_distribution::binomial_distribution(double n, double p)
    : log_mass_(n, p),
      variance_(log_mass_.q * log_mass_.mean),
      mode_bound_((1.0 + n) * p - 1.0),
      normal_(n, p) {
    const double reach = 25.0 * std::sqrt(variance_);
    lower_end_ = log_mass_.mean - reach;
    upper_end_ = log_mass_.mean + reach;
}

// Oddity: with a variance up to 10000 an x of 22500 and more counts as above the whole support, also where p
// near 1 has its mass there. The callers work with the smaller of p and 1 - p.
discrete_tails binomial_distribution::tails(double x) const {
    const auto& [n, p, q, mean, remainder] = log_mass_;
    if (x < 0.0) return all_above;
    if (x > n) return all_below;
    if (mean <= vanishing_mean) return x == 0.0 ? all_at : all_below;
    if (variance_ <= large_variance) {
        if (n >= poisson_trials) return poisson_tails(x, mean);
        if (x >= small_variance_end) return all_below;
    }
    if (variance_ > large_variance) {
        if (x >= upper_end_) return all_below;
        if (lower_end_ >= x) return all_above;
    }
    return tails_from_ratio(*this, x, mode_bound_);
}

double binomial_distribution::upper_ratio(double x) const {
    if (variance_ >= large_variance) return normal_.upper(x);
    return log_mass_.n >= many_trials ? upper_ratio_many_trials(x) : upper_ratio_summed(x);
}

double binomial_distribution::lower_ratio(double x) const {
    if (variance_ >= large_variance) return normal_.lower(x);
    return log_mass_.n >= many_trials ? lower_ratio_many_trials(x) : lower_ratio_summed(x);
}

double binomial_distribution::upper_ratio_many_trials(double x) const {
    const double n = log_mass_.n, mean = log_mass_.mean;
    const double r = poisson_upper_ratio(x, mean);
    const double c = (x * x - (2.0 * mean + 1.0) * x + mean * mean) * 0.5 / n;
    return r * (c + 1.0) - 0.5 * mean * (x - mean) / n;
}

double binomial_distribution::lower_ratio_many_trials(double x) const {
    const double n = log_mass_.n, mean = log_mass_.mean;
    const double r = poisson_lower_ratio(x, mean);
    const double c = (x * x - (2.0 * mean + 1.0) * x + mean * mean) * 0.5 / n;
    return r * (c + 1.0) + 0.5 * x * (x - mean - 1.0) / n;
}

// P(X = i) / P(X = i - 1) = (n - i + 1) p / (i q).
double binomial_distribution::upper_ratio_summed(double x) const {
    const double n = log_mass_.n, p = log_mass_.p, q = log_mass_.q;
    return summed_upper_ratio(
        x, [=](double t, double j, double i) { return t * (n - j) * p / (i * q); },
        [=](double j, double i) { return (n - j) * p / (i * q); });
}

double binomial_distribution::lower_ratio_summed(double x) const {
    const double n = log_mass_.n, p = log_mass_.p, q = log_mass_.q;
    return summed_lower_ratio(
        x, [=](double t, double i) { return t * q * i / ((n - i + 1.0) * p); },
        [=](double i) { return q * i / ((n - i + 1.0) * p); });
}

double binomial_log_pmf(double k, double n, double p) { return binomial_log_mass(n, p)(k); }

discrete_tails binomial_tails(double x, double n, double p) { return binomial_distribution(n, p).tails(x); }

double binomial_upper_ratio(double x, double n, double p) {
    return binomial_distribution(n, p).upper_ratio(x);
}

double binomial_lower_ratio(double x, double n, double p) {
    return binomial_distribution(n, p).lower_ratio(x);
}

double binomial_upper_ratio_normal(double x, double n, double p) {
    return binomial_normal_ratio(n, p).upper(x);
}

double binomial_lower_ratio_normal(double x, double n, double p) {
    return binomial_normal_ratio(n, p).lower(x);
}

binomial_quantile_solver::binomial_quantile_solver(double n, double prob, unsigned char upper)
    : n_(n),
      prob_(prob),
      upper_(upper != 0),
      mean_(n * prob),
      variance_((1.0 - prob) * mean_),
      sd_(std::sqrt(variance_)),
      smaller_half_(n, prob > 0.5 ? 1.0 - prob : prob) {}

double binomial_quantile_solver::operator()(double p) const {
    const double z = p == 0.5 ? 0.0 : normal_std_quantile(p);
    // The Cornish-Fisher estimate with a continuity half.
    const double g = mean_ + 0.5 + (upper_ ? -sd_ : sd_) * z + (1.0 - 2.0 * prob_) * (z * z - 1.0) / 6.0;
    const double start = g < 0.0 ? 0.0 : g > n_ ? n_ : std::floor(g);
    if (variance_ > unrefined_variance) return start;

    // The start stays on the scale of X; the reflection to the failures happens inside the function.
    const int mode = (upper_ ? 1 : 0) + (prob_ > 0.5 ? 4 : 0);
    const auto tail = [this, mode](double x) {
        const discrete_tails t = smaller_half_.tails(mode < 4 ? x : n_ - x);
        switch (mode) {  // the eight modes of the discrete searches; this one asks for 0, 1, 4 and 5
            case 0:
            case 3:
                return t.lower + t.mass;
            case 1:
            case 2:
                return t.upper_tail;
            case 4:
            case 7:
                return t.upper_tail + t.mass;
            default:
                return t.lower;  // 5 and 6
        }
    };
    return search_discrete(p, start, tail, mode);
}

double binomial_quantile(double p, double n, double prob, unsigned char upper) {
    return binomial_quantile_solver(n, prob, upper)(p);
}

}  // namespace dru::impl
