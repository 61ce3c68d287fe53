// kernels/normal.hpp: upper tail, distribution function and quantile of the normal distribution.
//
// Source: the upper tail is AS 66 (Hill, Applied Statistics 22, 1973) with its constants as published and
//         two cut-offs of its own; the quantile starts from AS 111 (Beasley & Springer, Applied Statistics
//         26, 1977) and is polished by Newton steps on that tail; the Mills ratio beyond 25 is the
//         asymptotic series of Abramowitz & Stegun 26.2.12.
// Order:  every expression is evaluated left to right as printed in those sources; that order is the result.
#pragma once

#include <cmath>

#include "frame/nan.hpp"

namespace dru::impl {

// At or above this abscissa the upper tail counts as exactly 0: it is where the tail comes down to the
// smallest subnormal double. normal_upper_tail itself has no upper cut; its callers apply this one.
inline constexpr double normal_tail_cut = 38.4638;

// At or below this abscissa the upper tail is exactly 1: the complement is 4.9e-16 there, a few ulps of 1.
inline constexpr double normal_lower_cut = -8.03;

// 1 / sqrt(2 pi): the standard normal density at 0.
inline constexpr double standard_normal_height = 0.39894228040143265;

// AS 66 changes from its central to its tail form beyond this abscissa.
inline constexpr double normal_central_limit = 1.28;

// exp(-z^2 / 2).
//
// Exact: (-0.5 z) z and -((0.5 |z|) |z|) are the same double, so the exponential of the density is also the
// one of AS 66's tail form, and a routine that needs both takes one.
inline double normal_exponential(double z) { return std::exp(-0.5 * z * z); }

// The standard normal density at z.
inline double standard_normal_density(double z) { return normal_exponential(z) * standard_normal_height; }

// AS 66 for 0 <= t <= 1.28; y = (t 0.5) t. No exponential.
inline double normal_tail_central(double t, double y) {
    return 0.5 - t * (0.398942280444 -
                      0.399903438504 * y /
                          (y + 5.75885480458 -
                           29.8213557808 / (y + 2.62433121679 + 48.6959930692 / (y + 5.92885724438))));
}

// AS 66 for t > 1.28; exponential = exp(-y).
inline double normal_tail_outer(double t, double exponential) {
    return 0.398942280385 * exponential /
           (t - 3.8052e-8 +
            1.00000615302 /
                (t + 0.000398064794 +
                 1.98615381364 / (t - 0.151679116635 +
                                  5.29330324926 / (t + 4.8385912808 -
                                                   15.1508972451 / (t + 0.742380924027 +
                                                                    30.789933034 / (t + 3.99019417011))))));
}

// Q(x) = P(Z > x). A NaN gives a NaN; beyond normal_tail_cut it goes on until exp underflows.
inline double normal_upper_tail(double x) {
    if (x <= normal_lower_cut) return 1.0;
    const double t = std::fabs(x);
    const double y = t * 0.5 * t;
    const double r =
        t <= normal_central_limit ? normal_tail_central(t, y) : normal_tail_outer(t, std::exp(-y));
    return x < 0.0 ? 1.0 - r : r;
}

// normal_upper_tail(x) for a caller that has exp(-x^2 / 2) already: the same bits without a second one.
inline double normal_upper_tail(double x, double exponential) {
    if (x <= normal_lower_cut) return 1.0;
    const double t = std::fabs(x);
    const double r =
        t <= normal_central_limit ? normal_tail_central(t, t * 0.5 * t) : normal_tail_outer(t, exponential);
    return x < 0.0 ? 1.0 - r : r;
}

// The lower (upper = 0) or upper tail of a normal variate. The caller has checked mean and sd.
//
// Oddity: the sign of the standardised value picks the branch, but on the positive side both the cut and the
// tail take the raw x. With mean 0 and sd 1 the two agree; otherwise the positive side is not a shifted and
// scaled copy of the negative one, and for a raw x at or below normal_lower_cut there the tail is 1.
// Required.
inline double normal_cdf(double x, double mean, double sd, unsigned char upper) {
    if (is_nan(x)) return sign_set_nan;
    if (is_infinite(x)) return (x > 0.0) == (upper != 0) ? 0.0 : 1.0;
    const double z = (x - mean) / sd;
    if (z <= 0.0) {
        const double u = -z >= normal_tail_cut ? 0.0 : normal_upper_tail(-z);
        return upper != 0 ? 1.0 - u : u;
    }
    const double u = x >= normal_tail_cut ? 0.0 : normal_upper_tail(x);
    return upper != 0 ? u : 1.0 - u;
}

// AS 111: the abscissa whose lower tail is about p, for 0 < p < 0.5.
inline double normal_quantile_start(double p) {
    const double d = p - 0.5;
    if (std::fabs(d) <= 0.42) {
        const double r = d * d;
        return d * (((-25.44106049637 * r + 41.39119773534) * r - 18.61500062529) * r + 2.50662823884) /
               ((((3.13082909833 * r - 21.06224101826) * r + 23.08336743743) * r - 8.4735109309) * r + 1.0);
    }
    const double s = std::sqrt(-std::log(p));
    const double c = (((2.32121276858 * s + 4.85014127135) * s - 2.29796479134) * s - 2.78718931138) /
                     ((1.63706781897 * s + 3.54388924762) * s + 1.0);
    return -c;
}

// z with P(Z <= z) = p, for 0 < p < 1. Not for p = 0 or 1: the callers decide those two; here they and every
// p outside [0, 1] give a NaN after the ten steps.
inline double normal_std_quantile(double p) {
    if (p == 0.5) return 0.0;
    if (p > 0.5) return -normal_std_quantile(1.0 - p);

    double z = -normal_quantile_start(p);  // the positive abscissa whose upper tail is p
    for (int step = 1; step <= 10; ++step) {
        const double exponential = normal_exponential(z);
        const double f = exponential * standard_normal_height;
        if (f == 0.0) break;  // too far out to improve: AS 111's value stands
        const double q = z >= normal_tail_cut ? 0.0 : normal_upper_tail(z, exponential);
        const double delta = (q - p) / f;
        z += delta;
        if (std::fabs(delta) < 1e-14) break;
    }
    return -z;
}

// The lower-tail (upper = 0) or upper-tail quantile. The caller has checked mean and sd.
inline double normal_quantile(double p, double mean, double sd, unsigned char upper) {
    if (is_nan(p) || p < 0.0 || p > 1.0) return sign_set_nan;
    if (p == 0.0) return upper != 0 ? plus_infinity : -plus_infinity;
    if (p == 1.0) return upper != 0 ? -plus_infinity : plus_infinity;
    const double z = normal_std_quantile(p);
    return (upper != 0 ? -z : z) * sd + mean;
}

// M(u) = Q(u) / phi(u), the normal Mills ratio, as the large-shape expansions of the incomplete beta and
// gamma functions use it: the quotient of tail and density up to 25, six terms of the asymptotic series above
// (whose first omitted term is then below 2e-13 of the sum).
inline double normal_mills_ratio(double u) {
    if (u <= 25.0) {
        const double exponential = normal_exponential(u);
        return normal_upper_tail(u, exponential) / (exponential * standard_normal_height);
    }
    const double w = std::pow(u, -2.0);
    return (((((-945.0 * w + 105.0) * w - 15.0) * w + 3.0) * w - 1.0) * w + 1.0) / u;
}

}  // namespace dru::impl
