// tests/plain/binomial.hpp: the binomial family as its steps read, for the trials that the exports take:
// every logarithm, remainder and expansion is worked out anew at each point. The judge of the prepared
// objects.
#pragma once

#include <cmath>

#include "frame/nan.hpp"
#include "kernels/log_gamma.hpp"
#include "kernels/normal.hpp"
#include "quantiles/root_search.hpp"

namespace zolv_test::plain {

using dru::impl::log1p_small;
using dru::impl::normal_std_quantile;
using dru::impl::normal_tail_cut;
using dru::impl::normal_upper_tail;
using dru::impl::sign_set_nan;

struct binomial_tails {
    double lower, upper_tail, mass;
};

inline double binomial_log_pmf(double k, double n, double p) {
    const auto remainder = [](double x) { return x == 0.0 ? 0.0 : dru::impl::log_gamma_remainder(x); };
    if (k == 0.0) return n * log1p_small(-p);
    if (k == n) return n * std::log(p);
    const double m = n - k, d = k - n * p;
    const double t = d >= 0.0 ? m * log1p_small(d / m) - k * log1p_small(d / (n * p))
                              : k * log1p_small(-d / k) - m * log1p_small(-d / n / (1.0 - p));
    return t + remainder(n) - remainder(k) - remainder(m);
}

// side: 1 for the upper ratio, -1 for the lower one.
inline double binomial_ratio_normal(double x, double n, double p, double side) {
    const double s = std::sqrt((1.0 - p) * n * p), c = 1.0 - 2.0 * p, z = (x - n * p) / s, h = 0.5 / s;
    const double C = c * c, Z = z * z, A = 2.0 * C * Z, B = 10.0 * C * Z;
    const double a1 = -(Z - 3.0) * c * z / 3.0;
    const double a2 = (((3.0 * (1.0 - C) + A) * Z - 18.0) * Z + 3.0 * (3.0 + C)) / 36.0;
    const double a3 =
        -c *
        ((((45.0 * (1.0 + C) + B) * Z - 81.0 * (1.0 + C)) * Z - 45.0 * (15.0 - C)) * Z + 135.0 * (5.0 - C)) *
        z / 1620.0;
    const double b1 = (Z - 1.0) * c / 3.0 - side;
    const double b2 = -((A + (3.0 - 5.0 * C)) * Z - 3.0 * (7.0 - 3.0 * C)) * z / 36.0;
    const double b3 =
        c *
        ((((B + 5.0 * (7.0 * C + 9.0)) * Z - 6.0 * (16.0 * C + 21.0)) * Z - 3.0 * (153.0 - 37.0 * C)) * Z +
         48.0 * (9.0 - C)) /
        1620.0;
    const double T = side * z >= normal_tail_cut ? 0.0 : normal_upper_tail(side * z);
    const double M = T / (0.39894228040143265 * std::exp(z * (-0.5 * z)));
    const double head = M * (((a3 * h + a2) * h + a1) * h + 1.0), tail = ((b3 * h + b2) * h + b1) * h;
    return side > 0.0 ? s * (head + tail) : s * (head - tail);
}

inline double binomial_upper_ratio(double x, double n, double p) {
    const double q = 1.0 - p, mean = n * p;
    if (q * mean >= 10000.0) return binomial_ratio_normal(x, n, p, 1.0);
    double i = std::trunc(x), t = 1.0;
    do {
        const double f = i;
        i = i + 1.0;
        t = t * (n - f) * p / (i * q);
    } while (t >= 2.220446049250313e-16);
    double r = 0.0;
    for (double j = i - 1.0; j >= x; j -= 1.0, i -= 1.0) r = (r + 1.0) * ((n - j) * p / (i * q));
    return r;
}

inline double binomial_lower_ratio(double x, double n, double p) {
    const double q = 1.0 - p, mean = n * p;
    if (q * mean >= 10000.0) return binomial_ratio_normal(x, n, p, -1.0);
    double i = std::trunc(x), t = 1.0;
    do {
        const double f = i;
        i = i - 1.0;
        t = t * q * f / ((n - f + 1.0) * p);
    } while (t >= 2.220446049250313e-16);
    double r = 0.0;
    for (double j = i + 1.0; x >= j; j += 1.0) r = (r + 1.0) * (q * j / ((n - j + 1.0) * p));
    return r;
}

inline binomial_tails binomial_tails_at(double x, double n, double p) {
    const double mean = n * p, var = (1.0 - p) * mean;
    if (x < 0.0) return {0.0, 1.0, 0.0};
    if (x > n) return {1.0, 0.0, 0.0};
    if (mean <= 1e-100) return x == 0.0 ? binomial_tails{0.0, 0.0, 1.0} : binomial_tails{1.0, 0.0, 0.0};
    if (var <= 10000.0 && x >= 22500.0) return {1.0, 0.0, 0.0};
    if (var > 10000.0) {
        const double w = 25.0 * std::sqrt(var);
        if (x >= mean + w) return {1.0, 0.0, 0.0};
        if (mean - w >= x) return {0.0, 1.0, 0.0};
    }
    const double mass = std::exp(binomial_log_pmf(x, n, p));
    if (x > (1.0 + n) * p - 1.0) {
        const double upper_tail = binomial_upper_ratio(x, n, p) * mass;
        return {x == 0.0 ? 0.0 : 1.0 - upper_tail - mass, upper_tail, mass};
    }
    const double lower = binomial_lower_ratio(x, n, p) * mass;
    return {lower, 1.0 - lower - mass, mass};
}

// Valid parameters and finite points from here on.

inline double binomial_pdf(double x, double n, double prob) {
    if (std::floor(x) != x || x < 0.0 || x > n) return 0.0;
    if (n == 0.0) return 1.0;
    return std::exp(prob > 0.5 ? binomial_log_pmf(n - x, n, 1.0 - prob) : binomial_log_pmf(x, n, prob));
}

inline double binomial_cdf(double x, double n, double prob, unsigned char upper) {
    const double y = upper != 0 ? std::floor(n - (x + 1.0)) : std::floor(x);
    const double q = upper != 0 ? 1.0 - prob : prob;
    if (y < 0.0) return 0.0;
    if (y >= n) return 1.0;
    if (q > 0.5) {
        const binomial_tails t = binomial_tails_at(n - y, n, 1.0 - q);
        return t.upper_tail + t.mass;
    }
    const binomial_tails t = binomial_tails_at(y, n, q);
    return t.lower + t.mass;
}

// 0 < p < 1, n > 0, 0 < prob < 1.
inline double binomial_inv_cdf(double p, double n, double prob, unsigned char upper) {
    const double mean = n * prob, var = (1.0 - prob) * mean, sd = std::sqrt(var);
    const double z = p == 0.5 ? 0.0 : normal_std_quantile(p);
    const double g = mean + 0.5 + (upper != 0 ? -sd * z : sd * z) + (1.0 - 2.0 * prob) * (z * z - 1.0) / 6.0;
    const double start = g < 0.0 ? 0.0 : g > n ? n : std::floor(g);
    if (var > 1e12) return start;
    const bool failures = prob > 0.5;
    const auto f = [=](double x) {
        const binomial_tails t =
            failures ? binomial_tails_at(n - x, n, 1.0 - prob) : binomial_tails_at(x, n, prob);
        if (failures) return upper != 0 ? t.lower : t.upper_tail + t.mass;
        return upper != 0 ? t.upper_tail : t.lower + t.mass;
    };
    return dru::impl::search_discrete(p, start, f, (upper != 0 ? 1 : 0) + (failures ? 4 : 0));
}

}  // namespace zolv_test::plain
