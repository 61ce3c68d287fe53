// kernels/log_gamma.hpp: what is left of ln Gamma once its large terms are taken out analytically, and the
// log densities that stand on it.
//
// Source: Stirling's series is Abramowitz & Stegun 6.1.40, the expansions about 0 are those of A&S 6.1.33;
//         the log densities are saddle-point forms (Loader 2000, "Fast and accurate computation of binomial
//         probabilities"): the terms of size x ln x cancel on paper, so only small ones are added here.
// Range:  positive arguments. The callers settle 0, infinities and NaNs; a NaN comes out as a NaN.
// Order:  every sum is taken left to right as written; that grouping is the result.
#pragma once

#include <cmath>

namespace dru::impl {

// Logarithms of the smallest normal and of the largest double. A log density below the first counts as an
// underflow to exactly 0. Constants rather than load-time calls: nothing that runs at load can see them
// unset.
inline constexpr double log_dbl_min = -708.3964185322641;
inline constexpr double log_dbl_max = 709.782712893384;

inline constexpr double two_pi = 6.283185307179586;
inline constexpr double half_log_two_pi = 0.9189385332046727;  // 0.5 ln(two_pi)
inline constexpr double largest_double = 1.7976931348623157e308;

// ---------------------------------------------------------------------------------------------------------
// Logarithms and exponentials near 1

// |u| up to which log1p_small sums its series: ln(u + 1) would lose more than the six bits that 1 + u drops.
inline constexpr double log1p_series_limit = 0.02;

// ln(1 + u). The series is cut after u^20 / 20: 0.02^21 / 21 is far below an ulp of u.
inline double log1p_small(double u) {
    if (std::fabs(u) > log1p_series_limit) return std::log(u + 1.0);
    double v = 0.0;
    for (int n = 20; n >= 1; --n) v = u * (1.0 / n - v);
    return v;
}

// |u| up to which expm1_ratio sums its series; not the limit of log1p_small.
inline constexpr double expm1_series_limit = 0.03;

// (exp(u) - 1) / u, and 1 at u = 0: sum of u^(n-1) / n! by Horner's rule. The loop ends at n = 2.
inline double expm1_ratio(double u) {
    if (std::fabs(u) > expm1_series_limit) return (std::exp(u) - 1.0) / u;
    double v = 0.0;
    for (int n = 20; n >= 2; --n) v = v * u / n + 1.0;
    return v;
}

// ---------------------------------------------------------------------------------------------------------
// Stirling's series and what it gives

inline constexpr double stirling_coefficient[] = {
    0.00641025641025641,     //     1/156     z^-13
    -0.0019175269175269176,  //  -691/360360  z^-11
    0.0008417508417508417,   //     1/1188    z^-9
    -0.0005952380952380953,  //    -1/1680    z^-7
    0.0007936507936507937,   //     1/1260    z^-5
    -0.002777777777777778,   //    -1/360     z^-3
    0.08333333333333333,     //     1/12      z^-1
};

// S(z) = ln Gamma(z) - (z - 1/2) ln z + z - ln(2 pi) / 2, for z > 9: the first omitted term,
// 3617/122400 z^-15, is then below 1.5e-16. Horner from the highest power down, then one division by z.
inline double stirling_series(double z) {
    const double w = 1.0 / (z * z);
    double sum = 0.0;
    for (const double coefficient : stirling_coefficient) sum = sum * w + coefficient;
    return sum / z;
}

// The series is good from here; smaller arguments are shifted up to it by Gamma(z) = Gamma(z + 1) / z.
inline constexpr double stirling_shift_limit = 10.0;

// ln Gamma(z), z > 0, by the product of the reciprocals of z, z + 1, ... below 10.
inline double log_gamma_shift(double z) {
    double f = 1.0;
    while (z < stirling_shift_limit) {
        f = f / z;
        z = z + 1.0;
    }
    return std::log(f) + (z - 0.5) * std::log(z) - z + half_log_two_pi + stirling_series(z);
}

// Gamma(z), z > 0, by the same shift; 1 / z where the next term of Gamma(z) = 1/z - 0.577... is lost anyway.
inline double gamma_stirling(double z) {
    if (z < 2.220446049250313e-16) return 1.0 / z;
    double f = 1.0;
    while (z < stirling_shift_limit) {
        f = f / z;
        z = z + 1.0;
    }
    return std::pow(z / 2.718281828459045, z) * std::sqrt(two_pi / z) * std::exp(stirling_series(z)) * f;
}

// (1 - Gamma(1 + x)) / x for x >= 0; near 0 the Taylor series, Euler's constant leading.
inline double gamma_one_minus_ratio(double x) {
    if (x <= 0.0025) {
        return ((-23.561474084025605 * x / 24.0 + 0.9074790760808863) * x - 0.9890559953279725) * x +
               0.5772156649015329;
    }
    return (1.0 - gamma_stirling(1.0 + x)) / x;
}

// Limits of the three forms of log_gamma_remainder: the first belongs to the expansion about 0, the second
// still to the shift.
inline constexpr double remainder_expansion_limit = 0.0005;
inline constexpr double remainder_shift_limit = 9.0;

// ln Gamma(x + 1) - x (ln x - 1) for x > 0; a NaN at 0, where remainder_or_zero is to be asked.
//
// The constants of the first form are -zeta(3)/3, pi^2/12 and 1 - Euler's constant.
inline double log_gamma_remainder(double x) {
    if (x <= remainder_expansion_limit) {
        return x * ((-0.4006856343865313 * x + 0.8224670334241132) * x + (0.42278433509846713 - std::log(x)));
    }
    if (x > remainder_shift_limit) return std::log(std::sqrt(x * two_pi)) + stirling_series(x);
    return log_gamma_shift(1.0 + x) - x * (std::log(x) - 1.0);
}

// The remainder with its limit at 0, for the callers whose argument may be exactly 0.
inline double remainder_or_zero(double x) { return x == 0.0 ? 0.0 : log_gamma_remainder(x); }

// ---------------------------------------------------------------------------------------------------------
// Log densities

// One strictly below 1 and the other strictly above: their ratio is far from 1 or not worth care, and the
// two logarithms have opposite signs, so that their difference does not cancel.
inline bool opposite_sides_of_one(double u, double v) { return (u < 1.0 && v > 1.0) || (u > 1.0 && v < 1.0); }

// k ln m - m - ln Gamma(k + 1): the log of the Poisson mass at real k >= 0 with mean m.
//
// Oddity: for means up to 10000, k >= 14500 is cut short with the most negative double, which every caller
// sees as an underflow. No other combination is.
inline double log_poisson_pmf(double k, double m) {
    if (k == 0.0) return -m;
    if (m <= 10000.0 && k >= 14500.0) return -largest_double;
    const double t = k - m;
    double log_ratio;  // ln(m / k)
    if (m < 1.0) {
        log_ratio = std::log(m) - std::log(k);
    } else if (t >= 0.0) {
        log_ratio = -log1p_small(t / m);
    } else {
        log_ratio = log1p_small(-t / k);
    }
    return t + k * log_ratio - log_gamma_remainder(k);
}

// (a - 1) ln y - y - ln Gamma(a), the log density of a gamma variate of shape a and scale 1, from the two
// terms that depend on the shape alone. log_shape is called for ln a only where ln a is needed.
template <class LogShape>
double log_gamma_pdf_from(double a, double y, double remainder, LogShape log_shape) {
    double log_ratio;  // ln(y / a)
    if (opposite_sides_of_one(y, a)) {
        log_ratio = std::log(y) - log_shape();
    } else if (y >= a) {
        log_ratio = log1p_small((y - a) / a);
    } else {
        log_ratio = -log1p_small((a - y) / y);
    }
    return (a - y) + (a - 1.0) * log_ratio - remainder;
}

inline double log_gamma_pdf(double a, double y) {
    return log_gamma_pdf_from(a, y, remainder_or_zero(a), [a] { return std::log(a); });
}

// log_gamma_pdf for one shape and many points: the same bits, the shape's logarithms taken once.
struct gamma_log_density {
    double a;          // the shape
    double log_a;      // ln a
    double remainder;  // log_gamma_remainder(a), 0 at a = 0

    explicit gamma_log_density(double shape)
        : a(shape), log_a(std::log(shape)), remainder(remainder_or_zero(shape)) {}

    double operator()(double y) const {
        return log_gamma_pdf_from(a, y, remainder, [this] { return log_a; });
    }
};

// ln c + (g_c - g_a - g_b + a A + b B - A - B), c = a + b, the log density of a beta(a, b) variate at
// 0 < y < 1, from ln c and remainders = g_c - g_a - g_b, a finished prefix of the sum. A = ln(c y / a) and
// B = ln(c (1 - y) / b).
//
// Order: not to be regrouped, not even (a - 1) A for a A - A. Nor can the prefix serve beta(b, a): there it
// is (g_c - g_b) - g_a, another double about half the time.
template <class LogShapeA, class LogShapeB>
double log_beta_pdf_from(double a, double b, double y, double log_c, double remainders, LogShapeA log_shape_a,
                         LogShapeB log_shape_b) {
    const double c = a + b;
    const double p = c * y;
    const double d = p - a;
    double log_ratio_a;
    if (opposite_sides_of_one(p, a)) {
        log_ratio_a = std::log(p) - log_shape_a();
    } else if (d >= 0.0) {
        log_ratio_a = log1p_small(d / a);
    } else {
        log_ratio_a = -log1p_small(-d / c / y);
    }
    const double q = c * (1.0 - y);
    double log_ratio_b;
    if (opposite_sides_of_one(q, b)) {
        log_ratio_b = std::log(q) - log_shape_b();
    } else if (d >= 0.0) {
        log_ratio_b = -log1p_small(d / c / (1.0 - y));
    } else {
        log_ratio_b = log1p_small(-d / b);
    }
    return log_c + (remainders + a * log_ratio_a + b * log_ratio_b - log_ratio_a - log_ratio_b);
}

// g_c - g_a - g_b of log_beta_pdf.
inline double beta_remainders(double a, double b) {
    return remainder_or_zero(a + b) - remainder_or_zero(a) - remainder_or_zero(b);
}

inline double log_beta_pdf(double a, double b, double y) {
    return log_beta_pdf_from(
        a, b, y, std::log(a + b), beta_remainders(a, b), [a] { return std::log(a); },
        [b] { return std::log(b); });
}

// log_beta_pdf for one pair of shapes and many points: the same bits, what depends on the shapes taken once.
struct beta_log_density {
    double a, b;          // the shapes
    double log_a, log_b;  // ln a, ln b
    double log_c;         // ln(a + b)
    double remainders;    // (g_c - g_a) - g_b

    beta_log_density(double shape_a, double shape_b)
        : a(shape_a),
          b(shape_b),
          log_a(std::log(shape_a)),
          log_b(std::log(shape_b)),
          log_c(std::log(shape_a + shape_b)),
          remainders(beta_remainders(shape_a, shape_b)) {}

    // 0 < y < 1: the caller has settled the ends of the support.
    double operator()(double y) const {
        return log_beta_pdf_from(
            a, b, y, log_c, remainders, [this] { return log_a; }, [this] { return log_b; });
    }
};

}  // namespace dru::impl
