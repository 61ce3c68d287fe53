// distributions/poisson.cpp: Poisson tails by the ratio of tail to mass.
//
// Source: the normal forms are the binomial expansion (binomial_kernels.cpp) in the limit of a success
//         probability of 0, where the skewness coefficient 1 - 2p is 1.
// Order:  sums run from the smallest term; polynomials are Horner forms as printed. Both are the result.
#include "distributions/poisson.hpp"

#include <cmath>

#include "kernels/log_gamma.hpp"
#include "quantiles/root_search.hpp"

namespace dru::impl {

namespace {

constexpr double normal_form_mean = 1e8;    // above: the expansion in 1 / sqrt(mean) instead of a sum
constexpr double small_mean = 10000.0;      // up to here ...
constexpr double small_mean_end = 14500.0;  // ... the support counts as ended: 45 standard deviations up
constexpr double unrefined_mean = 1e12;     // above: the quantile is its normal estimate

}  // namespace

poisson_distribution::poisson_distribution(double mean) : mean_(mean), sd_(std::sqrt(mean)) {}

discrete_tails poisson_distribution::tails(double x) const {
    if (x < 0.0) return all_above;
    if (mean_ <= small_mean && x >= small_mean_end) return all_below;
    return tails_from_ratio(*this, x, mean_ - 1.0);
}

double poisson_distribution::upper_ratio(double x) const {
    return mean_ > normal_form_mean ? upper_ratio_normal(x) : upper_ratio_summed(x);
}

double poisson_distribution::lower_ratio(double x) const {
    return mean_ > normal_form_mean ? lower_ratio_normal(x) : lower_ratio_summed(x);
}

// P(X = i) / P(X = i - 1) = mean / i.
double poisson_distribution::upper_ratio_summed(double x) const {
    const double mean = mean_;
    return summed_upper_ratio(
        x, [=](double t, double, double i) { return t * mean / i; },
        [=](double, double i) { return mean / i; });
}

double poisson_distribution::lower_ratio_summed(double x) const {
    const double mean = mean_;
    return summed_lower_ratio(
        x, [=](double t, double i) { return t * i / mean; }, [=](double i) { return i / mean; });
}

double poisson_distribution::log_pmf(double x) const { return log_poisson_pmf(x, mean_); }

// All but b1, which differs by more than a side here.
lattice_expansion poisson_distribution::expand(double x, double h) const {
    const double z = (x - mean_) / sd_;
    const double Z = z * z;
    const double a1 = -(Z - 3.0) * z / 3.0;
    const double a2 = ((Z * Z - 9.0) * Z + 6.0) / 18.0;
    const double a3 = -((((45.0 + 5.0 * Z) * Z - 81.0) * Z - 315.0) * Z + 270.0) * z / 810.0;
    const double b2 = -((Z - 1.0) * Z - 6.0) * z / 18.0;
    const double b3 = ((((5.0 * Z + 40.0) * Z - 111.0) * Z - 174.0) * Z + 192.0) / 810.0;
    return {z, ((a3 * h + a2) * h + a1) * h + 1.0, 0.0, b2, b3};
}

double poisson_distribution::upper_ratio_normal(double x) const {
    const double h = 0.5 / sd_;
    lattice_expansion expansion = expand(x, h);
    expansion.b1 = (expansion.z * expansion.z - 4.0) / 3.0;
    return expansion.upper(sd_, h);
}

double poisson_distribution::lower_ratio_normal(double x) const {
    const double h = 0.5 / sd_;
    lattice_expansion expansion = expand(x, h);
    expansion.b1 = (2.0 + expansion.z * expansion.z) / 3.0;
    return expansion.lower(sd_, h);
}

discrete_tails poisson_tails(double x, double mean) { return poisson_distribution(mean).tails(x); }

double poisson_upper_ratio(double x, double mean) { return poisson_distribution(mean).upper_ratio(x); }

double poisson_lower_ratio(double x, double mean) { return poisson_distribution(mean).lower_ratio(x); }

double poisson_quantile(double p, double mean, int mode) {
    double z = p == 0.5 ? 0.0 : normal_std_quantile(p);
    if (mode % 2 != 0) z = -z;
    // The Cornish-Fisher estimate with a continuity half.
    const double estimate = (z * z - 1.0) / 6.0 + std::sqrt(mean) * z + mean + 0.5;
    const double start = estimate < 0.0 ? 0.0 : std::floor(estimate);
    if (mean > unrefined_mean) return start;

    const poisson_distribution distribution(mean);
    residual_function tail;  // stays empty for a mode that means nothing, and then fails on first use
    if (mode == 0 || mode == 3) {
        tail = [&distribution](double x) {
            const discrete_tails t = distribution.tails(x);
            return t.lower + t.mass;
        };
    } else if (mode == 1 || mode == 2) {
        tail = [&distribution](double x) { return distribution.tails(x).upper_tail; };
    }
    return search_discrete(p, start, tail, mode);
}

}  // namespace dru::impl
