// distributions/hypergeometric.cpp: hypergeometric tails by the ratio of tail to mass.
//
// Source: built as the binomial ones (binomial_kernels.cpp). The normal forms are lattice Edgeworth series of
//         tail over mass to third order in 1/s; hypergeometric_expansion.py beside the reference tables
//         derives them. Symmetric in marked and drawn, and the binomial forms at b = 0.
// Order:  sums run from the smallest term; products and polynomials associate left to right.
#include "distributions/hypergeometric.hpp"

#include <cmath>

#include "kernels/log_gamma.hpp"
#include "quantiles/root_search.hpp"

namespace dru::impl {

namespace {

constexpr double cut_variance = 1000.0;         // up to here ...
constexpr double small_variance_end = 42500.0;  // ... the support counts as ended; above it, 25 s away
constexpr double large_variance = 100000.0;     // normal form from here on
constexpr double unbounded_population = 1e30;   // from here on, up to large_variance, draws are independent
constexpr double unrefined_variance = 1e12;     // above: the quantile is its normal estimate

// cell ln(1 + u); an empty cell has no part in the deviance, whatever u.
double deviance_part(double cell, double u) { return cell == 0.0 ? 0.0 : cell * log1p_small(u); }

double population_variance(double N, double a, double b) { return N * a * (1.0 - a) * b * (1.0 - b); }

}  // namespace

hypergeometric_log_mass::hypergeometric_log_mass(double population, double marked, double draws)
    : N(population),
      K(marked),
      n(draws),
      low(n - N + K),
      mean(n * K / N),
      expected12(K * (N - n) / N),
      expected21(n * (N - K) / N),
      expected22((N - K) * (N - n) / N),
      remainders(remainder_or_zero(K) + remainder_or_zero(N - K) + remainder_or_zero(n) +
                 remainder_or_zero(N - n) - remainder_or_zero(N)) {}

// With y ln y - y taken out of the nine ln Gamma(y + 1), what is left is the deviance of the table from
// independence, minus the sum of cell ln(cell / expected), and the remainders. Each cell lies d off its
// expectation; the parts go through ln(1 + u) of the relative distance, u > 0, so that what cancels between
// them is of the size of d.
double hypergeometric_log_mass::operator()(double x) const {
    const double k12 = K - x;  // marked, left behind
    const double k21 = n - x;  // drawn, not marked
    const double k22 = x - low;
    const double d = x - mean;
    const double t = d >= 0.0 ? deviance_part(k12, d / k12) + deviance_part(k21, d / k21) -
                                    deviance_part(x, d / mean) - deviance_part(k22, d / expected22)
                              : deviance_part(x, -d / x) + deviance_part(k22, -d / k22) -
                                    deviance_part(k12, -d / expected12) - deviance_part(k21, -d / expected21);
    return t + remainders - remainder_or_zero(x) - remainder_or_zero(k12) - remainder_or_zero(k21) -
           remainder_or_zero(k22);
}

hypergeometric_normal_ratio::hypergeometric_normal_ratio(double n, double a, double b, double variance)
    : mean(n * a), s(std::sqrt(variance)), h(0.5 / s) {
    const double c = 1.0 - 2.0 * a;
    const double g = 1.0 - 2.0 * b;
    e = c * g;
    E = e * e;
    S = c * c + g * g;
}

// side: -1 for the upper tail, 1 for the lower one.
lattice_expansion hypergeometric_normal_ratio::expand(double x, double side) const {
    const double z = (x - mean) / s;
    const double Z = z * z;
    const double A = 2.0 * E * Z;
    const double B = 10.0 * E * Z;
    const double a1 = -(Z - 3.0) * e * z / 3.0;
    const double a2 = (((A + 0.75 * (1.0 + 3.0 * S - 7.0 * E)) * Z - 9.0 * (1.0 + S - E)) * Z +
                       0.75 * (9.0 + 3.0 * S + E)) /
                      36.0;
    const double a3 = -e *
                      ((((B + 11.25 * (1.0 + 3.0 * S + E)) * Z - 6.75 * (1.0 + 11.0 * S + E)) * Z -
                        11.25 * (63.0 - 3.0 * S - E)) *
                           Z +
                       33.75 * (23.0 - 3.0 * S - E)) *
                      z / 1620.0;
    const double b1 = (Z - 1.0) * e / 3.0;
    const double b2 =
        -((A + 0.25 * (3.0 + 9.0 * S - 29.0 * E)) * Z - 0.75 * (25.0 + 3.0 * S - 15.0 * E)) * z / 36.0;
    const double b3 = e *
                      ((((B + 1.25 * (9.0 + 27.0 * S + E)) * Z - 6.0 * (3.0 + 18.0 * S - 2.0 * E)) * Z -
                        0.75 * (891.0 - 279.0 * S + 131.0 * E)) *
                           Z +
                       6.0 * (81.0 - 9.0 * S + E)) /
                      1620.0;
    return {z, ((a3 * h + a2) * h + a1) * h + 1.0, b1 + side, b2, b3};
}

double hypergeometric_normal_ratio::upper(double x) const { return expand(x, -1.0).upper(s, h); }

double hypergeometric_normal_ratio::lower(double x) const { return expand(x, 1.0).lower(s, h); }

hypergeometric_distribution::hypergeometric_distribution(double N, double K, double n)
    : log_mass_(N, K, n),
      a_(K / N),
      variance_(population_variance(N, a_, n / N)),
      mode_bound_((1.0 + n) * ((1.0 + K) / (2.0 + N)) - 1.0),
      normal_(n, a_, n / N, variance_),
      with_replacement_(n, a_) {
    const double reach = 25.0 * std::sqrt(variance_);
    lower_end_ = n * a_ - reach;
    upper_end_ = n * a_ + reach;
}

discrete_tails hypergeometric_distribution::tails(double x) const {
    if (x < 0.0 || x < log_mass_.low) return all_above;
    if (x > log_mass_.K || x > log_mass_.n) return all_below;
    if (variance_ <= cut_variance && x >= small_variance_end) return all_below;
    if (variance_ > cut_variance) {
        if (x >= upper_end_) return all_below;
        if (lower_end_ >= x) return all_above;
    }
    if (variance_ <= large_variance && log_mass_.N >= unbounded_population) return with_replacement_.tails(x);
    return tails_from_ratio(*this, x, mode_bound_);
}

// Unlike the binomial ratios these need no third form for a large population: a factor of a term is a
// difference of two counts, rounded once, and loses nothing however large N is.
double hypergeometric_distribution::upper_ratio(double x) const {
    return variance_ >= large_variance ? normal_.upper(x) : upper_ratio_summed(x);
}

double hypergeometric_distribution::lower_ratio(double x) const {
    return variance_ >= large_variance ? normal_.lower(x) : lower_ratio_summed(x);
}

// P(X = i) / P(X = i - 1) = (K - i + 1) (n - i + 1) / (i (i - low)).
double hypergeometric_distribution::upper_ratio_summed(double x) const {
    const double K = log_mass_.K, n = log_mass_.n, low = log_mass_.low;
    return summed_upper_ratio(
        x, [=](double t, double j, double i) { return t * (K - j) * (n - j) / (i * (i - low)); },
        [=](double j, double i) { return (K - j) * (n - j) / (i * (i - low)); });
}

double hypergeometric_distribution::lower_ratio_summed(double x) const {
    const double K = log_mass_.K, n = log_mass_.n, low = log_mass_.low;
    return summed_lower_ratio(
        x, [=](double t, double i) { return t * i * (i - low) / ((K - i + 1.0) * (n - i + 1.0)); },
        [=](double i) { return i * (i - low) / ((K - i + 1.0) * (n - i + 1.0)); });
}

double hypergeometric_log_pmf(double x, double N, double K, double n) {
    return hypergeometric_log_mass(N, K, n)(x);
}

discrete_tails hypergeometric_tails(double x, double N, double K, double n) {
    return hypergeometric_distribution(N, K, n).tails(x);
}

double hypergeometric_upper_ratio(double x, double N, double K, double n) {
    return hypergeometric_distribution(N, K, n).upper_ratio(x);
}

double hypergeometric_lower_ratio(double x, double N, double K, double n) {
    return hypergeometric_distribution(N, K, n).lower_ratio(x);
}

double hypergeometric_upper_ratio_normal(double x, double N, double K, double n) {
    return hypergeometric_normal_ratio(n, K / N, n / N, population_variance(N, K / N, n / N)).upper(x);
}

double hypergeometric_lower_ratio_normal(double x, double N, double K, double n) {
    return hypergeometric_normal_ratio(n, K / N, n / N, population_variance(N, K / N, n / N)).lower(x);
}

namespace {

// The distribution that a form asks, from the form's own order of the parameters.
hypergeometric_distribution distribution_of_form(int form, double c1, double c2, double c3) {
    switch (form) {
        case 0:
        case 4:
            return {c1, c2, c3};
        case 2:
        case 5:
            return {c2, c3, c1};
        default:
            return {c2, c1, c3};  // 1, 3, 6, 7
    }
}

}  // namespace

hypergeometric_residual::hypergeometric_residual(int form, double c1, double c2, double c3)
    : form_(form), c1_(c1), c2_(c2), c3_(c3), reflected_(distribution_of_form(form, c1, c2, c3)) {}

double hypergeometric_residual::operator()(double x) const {
    const bool plain = form_ == 0 || form_ == 4;
    const bool shifted = form_ == 1 || form_ == 7;
    const discrete_tails t = reflected_.tails(plain ? x : shifted ? c1_ - c2_ + c3_ + x : c1_ - x);
    switch (form_) {
        case 0:
        case 1:
            return t.lower + t.mass;
        case 2:
        case 3:
            return t.upper_tail + t.mass;
        case 4:
        case 7:
            return t.upper_tail;
        default:
            return t.lower;  // 5, 6
    }
}

double hypergeometric_quantile(double p, double N, double K, double n, unsigned char upper) {
    if (!(p >= 0.0 && p <= 1.0)) return sign_set_nan;
    const double low = n - N + K > 0.0 ? n - N + K : 0.0;
    const double high = K < n ? K : n;
    if (p == 0.0) return upper != 0 ? high : low;
    if (p == 1.0) return upper != 0 ? low : high;
    if (low == high) return low;

    const double a = K / N, b = n / N;
    const double mean = n * a;
    const double variance = population_variance(N, a, b);
    const double sd = std::sqrt(variance);
    const double z = p == 0.5 ? 0.0 : normal_std_quantile(p);
    const double g =
        mean + 0.5 + (upper != 0 ? -sd : sd) * z + (1.0 - 2.0 * a) * (1.0 - 2.0 * b) * (z * z - 1.0) / 6.0;
    const double start = g < low ? low : g > high ? high : std::floor(g);
    if (variance > unrefined_variance) return start;

    // Reflected so that at most half of the population is marked and at most half of it drawn: the sums are
    // then short and the cut-off at 42500 out of reach. The form says which function is searched, the mode
    // whether it rises with x: 0, 3, 4 and 7 are the rising modes, 1, 2, 5 and 6 the falling ones.
    const bool marked = a > 0.5, drawn = b > 0.5;
    if (marked && drawn) {
        const hypergeometric_residual tail(upper != 0 ? 7 : 1, N - K, N, N - n);
        return search_discrete(p, start, tail, upper != 0 ? 2 : 3);
    }
    if (marked) {
        const hypergeometric_residual tail(upper != 0 ? 5 : 2, n, N, N - K);
        return search_discrete(p, start, tail, upper != 0 ? 5 : 4);
    }
    if (drawn) {
        const hypergeometric_residual tail(upper != 0 ? 6 : 3, K, N, N - n);
        return search_discrete(p, start, tail, upper != 0 ? 6 : 7);
    }
    const hypergeometric_residual tail(upper != 0 ? 4 : 0, N, K, n);
    return search_discrete(p, start, tail, upper != 0 ? 1 : 0);
}

}  // namespace dru::impl
