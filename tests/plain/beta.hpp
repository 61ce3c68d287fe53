// tests/plain/beta.hpp: the beta family as its steps read, one call after another: nothing is prepared, kept
// or shared, every ratio is worked out where it stands. The judge of the library's prepared objects.
//
// What ends a loop that would not end is here too: a product that has overflowed or is a NaN.
#pragma once

#include <cmath>

#include "frame/nan.hpp"
#include "kernels/incomplete_beta.hpp"
#include "kernels/log_gamma.hpp"
#include "kernels/normal.hpp"
#include "kernels/polygamma.hpp"
#include "kernels/tail_pair.hpp"
#include "plain/gamma.hpp"
#include "quantiles/root_search.hpp"

namespace zolv_test::plain {

using dru::impl::beta_split_point;  // has no other form
using dru::impl::expm1_ratio;
using dru::impl::gamma_one_minus_ratio;
using dru::impl::gamma_stirling;
using dru::impl::is_finite;
using dru::impl::is_infinite;
using dru::impl::is_nan;
using dru::impl::log1p_small;
using dru::impl::log_dbl_min;
using dru::impl::missing_value;
using dru::impl::normal_mills_ratio;
using dru::impl::normal_std_quantile;
using dru::impl::plus_infinity;
using dru::impl::sign_set_nan;
using dru::impl::tail_pair;

inline double settled(double value) { return is_nan(value) ? sign_set_nan : value; }

// ln of the beta density, with every term taken on the spot.
inline double log_beta_pdf(double a, double b, double y) {
    const double c = a + b;
    const double p = c * y, d = p - a, q = c * (1.0 - y);
    const auto apart = [](double u, double v) { return (u < 1.0 && v > 1.0) || (u > 1.0 && v < 1.0); };
    const auto remainder = [](double x) { return x == 0.0 ? 0.0 : dru::impl::log_gamma_remainder(x); };
    const double A = apart(p, a) ? std::log(p) - std::log(a)
                     : d >= 0.0  ? log1p_small(d / a)
                                 : -log1p_small(-d / c / y);
    const double B = apart(q, b) ? std::log(q) - std::log(b)
                     : d >= 0.0  ? -log1p_small(d / c / (1.0 - y))
                                 : log1p_small(-d / b);
    return std::log(c) + (remainder(c) - remainder(a) - remainder(b) + a * A + b * B - A - B);
}

// A and B of the large-shape expansion, and its scale.
struct large_shape_terms {
    double A, B, t, sigma;

    large_shape_terms(double a, double b, double x) {
        const double p = a / (a + b);
        const double q = 1.0 - 2.0 * p;
        const double c = p * p;
        sigma = std::sqrt(a * b * std::pow(a + b, -3.0));
        const double e = 1.0 / std::sqrt(a * b / (a + b));
        t = (x - p) / sigma;
        const double h = 1.0 - p + c;
        const double g = 2.0 + p - c;
        const auto power = [this](double exponent) { return std::pow(t, exponent); };
        const double C3 = -q *
                          (10.0 * (q * q) * power(9.0) + 45.0 * h * power(7.0) -
                           27.0 * (3.0 - p + c) * power(5.0) + 45.0 * h * power(3.0) - 135.0 * h * t) /
                          1620.0;
        const double C2 = (2.0 * (q * q) * power(6.0) - 3.0 * (1.0 - 7.0 * p + 7.0 * c) * power(4.0) -
                           36.0 * p * (1.0 - p) * (t * t) + 3.0 * h) /
                          36.0;
        const double C1 = -q * (power(3.0) - 3.0 * t) / 3.0;
        A = ((C3 * e + C2) * e + C1) * e + 1.0;
        const double D3 =
            -q *
            (10.0 * (q * q) * power(8.0) + 5.0 * (7.0 - p + c) * power(6.0) - 48.0 * g * power(4.0) +
             3.0 * (37.0 + 131.0 * p - 131.0 * c) * (t * t) - 24.0 * g) /
            1620.0;
        const double D2 = (2.0 * (q * q) * power(5.0) - (5.0 - 29.0 * p + 29.0 * c) * power(3.0) +
                           9.0 * (1.0 - 5.0 * p + 5.0 * c) * t) /
                          36.0;
        const double D1 = -q * (t * t - 1.0) / 3.0;
        B = ((D3 * e + D2) * e + D1) * e;
    }
};

inline double beta_lower_ratio(double a, double b, double x) {
    if (a * b / (a + b) >= 10000.0) {
        const large_shape_terms terms(a, b, x);
        return (normal_mills_ratio(-terms.t) * terms.A + terms.B) * terms.sigma;
    }
    if (b >= 1e15) return dru::impl::beta_lower_ratio_large_b(a, b, x);
    const double y = 1.0 - x, n = std::floor(b);
    double v = 1.0, k = 1.0;
    bool left_early = false;
    while (k <= n) {
        v = v * ((b - k) * x / ((k + a) * y));
        if (v <= 2.220446049250313e-16) {
            left_early = true;
            break;
        }
        if (!is_finite(v)) return v;
        k = k + 1.0;
    }
    double s = 1.0;
    if (!left_early) {
        const double u = a + n, w = (b - n) + u;
        double j = 1.0;
        v = 1.0;
        do {
            v = v * ((w + j - 1.0) * x / (u + j));
            j = j + 1.0;
        } while (!(v < 1e-14) && is_finite(v));
        s = 1.0 / y;
        for (double i = j - 1.0; i >= 1.0; i -= 1.0) s = 1.0 + (w + i - 1.0) * x / (u + i) * s;
        s = s * y;
        k = n;
    }
    for (double i = k; i >= 1.0; i -= 1.0) s = 1.0 + (b - i) * x / ((i + a) * y) * s;
    return s * x / a;
}

inline double gamma_shift_ratio(double a, double b) {
    if (b > 100.0) {
        const double e = 1.0 / b, c = a * (1.0 - a) * (1.0 - 2.0 * a);
        const double d = (a * a) * ((1.0 - a) * (1.0 - a)) / 12.0;
        const double v = (-(c * (1.0 + 3.0 * a - 3.0 * a * a) / 120.0 * e) - d) * e + c / 12.0;
        const double w = (v * e + 0.5 * a * (1.0 - a)) * e;
        return expm1_ratio(w) * w * gamma_stirling(a);
    }
    if (a >= 0.001) {
        return (std::pow(b, a) * gamma_stirling(b) / gamma_stirling(a + b) - 1.0) * gamma_stirling(a);
    }
    const double z = 1.0 + b;
    const double d2 = dru::impl::tetragamma(z), d1 = dru::impl::trigamma(z), d0 = dru::impl::digamma(z);
    const double v = log1p_small(a / b) - ((d2 * a / 6.0 + 0.5 * d1) * a + d0 - std::log(b)) * a;
    return expm1_ratio(v) * v * gamma_stirling(a);
}

inline double beta_upper_small(double a, double b, double x) {
    const double g = gamma_one_minus_ratio(a), h = gamma_shift_ratio(a, b);
    const double l = std::log(b * x), e = expm1_ratio(a * l);
    double t = std::pow(b * x, a) * x * (b - 1.0) / (1.0 + a);
    double sum = t;
    double k = 2.0;
    do {
        t = t * ((a + k - 1.0) * -x * (b - k) / k / (a + k));
        sum = sum + t;
        k = k + 1.0;
    } while (std::fabs(t) >= 1e-14 && is_finite(t));
    return -g + h - l * e + sum;
}

// Every convergent by its two divisions.
inline double beta_continued_fraction(double a, double b, double x) {
    const double r = (1.0 - x) / x;
    double P1 = 1.0, P0 = 0.0, Q1 = 1.0, Q0 = 1.0, last = 1.0;
    for (double j = 1.0;; j = j + 1.0) {
        const double m = 2.0 * j + b;
        const double alpha = (j - a) * r * (b + j - 1.0) / ((m - 2.0) * (m - 1.0));
        P0 = P0 * alpha + P1;
        Q0 = Q1 + alpha * Q0;
        const double beta = r * j * (j + b + a - 1.0) / ((m - 1.0) * m);
        P1 = P1 * beta + P0;
        Q1 = Q0 + beta * Q1;
        if (!is_finite(P0) || !is_finite(Q0)) return is_nan(a) ? a : last;
        const double c0 = P0 / Q0;
        if (!is_finite(P1) || !is_finite(Q1)) return c0;
        const double c1 = P1 / Q1;
        if (c1 - c0 < 1e-14 * c0) return c1;
        last = c1;
    }
}

inline double beta_upper_fraction(double a, double b, double x) {
    if (b * x >= 1.0) return beta_continued_fraction(a, b, x);
    return std::pow(b * x, 1.0 - a) * beta_upper_small(a, b, x) / std::exp(b * log1p_small(-x));
}

inline double beta_upper_ratio(double a, double b, double x) {
    if (a * b / (a + b) >= 10000.0) {
        const large_shape_terms terms(a, b, x);
        return (normal_mills_ratio(terms.t) * terms.A - terms.B) * terms.sigma;
    }
    if (b >= 1e15) return dru::impl::beta_upper_ratio_large_b(a, b, x);
    const double y = 1.0 - x, n = std::floor(a);
    double v = 1.0, k = 1.0;
    bool left_early = false;
    while (k <= n) {
        v = v * ((a - k) * y / ((k + b) * x));
        if (v <= 2.220446049250313e-16) {
            left_early = true;
            break;
        }
        if (!is_finite(v) && k < n) return v;
        k = k + 1.0;
    }
    double s = 0.0;
    if (!left_early) {
        k = n;
        const double c = b + n;
        if (x * c != 0.0) s = beta_upper_fraction(a - n, c, x);
    }
    for (double i = k; i >= 1.0; i -= 1.0) s = 1.0 + (a - i) * y / ((b + i) * x) * s;
    return s * y / b;
}

inline tail_pair beta_tails(double x, double a, double b) {
    if (x == 0.0) return {0.0, 1.0};
    const double m = beta_split_point(a, b), L = log_beta_pdf(a, b, x), f = std::exp(L);
    if (x <= m) {
        const double lower = L >= log_dbl_min ? beta_lower_ratio(a, b, x) * f : 0.0;
        return {lower, 1.0 - lower};
    }
    const double upper = L >= log_dbl_min ? beta_upper_ratio(a, b, x) * f : 0.0;
    return {1.0 - upper, upper};
}

// Density of a beta variate, its ends included.
inline double beta_density(double x, double a, double b) {
    if (is_nan(x)) return sign_set_nan;
    if (is_infinite(x) || x < 0.0) return 0.0;
    if (x == 0.0) return a < 1.0 ? plus_infinity : a == 1.0 ? b : 0.0;
    if (x == 1.0) return b < 1.0 ? plus_infinity : b == 1.0 ? a : 0.0;
    if (x > 1.0) return 0.0;
    return std::exp(x < 0.5 ? log_beta_pdf(a, b, x) : log_beta_pdf(b, a, 1.0 - x));
}

inline double beta_pdf(double x, double a, double b) { return settled(beta_density(x, a, b)); }

inline double beta_cdf(double x, double a, double b, unsigned char upper) {
    if (is_nan(x)) return sign_set_nan;
    if (x <= 0.0) return upper != 0 ? 1.0 : 0.0;
    if (x >= 1.0) return upper != 0 ? 0.0 : 1.0;
    if (x < 0.5) {
        const tail_pair tails = beta_tails(x, a, b);
        return settled(upper != 0 ? tails.upper : tails.lower);
    }
    const tail_pair tails = beta_tails(1.0 - x, b, a);
    return settled(upper != 0 ? tails.lower : tails.upper);
}

// ---- the quantile --------------------------------------------------------------------------------------

inline double beta_cornish_fisher(double z, double a, double b) {
    const double m = a / (a + b), v = 1.0 / std::sqrt(a * b / (a + b)), s = (1.0 - m) * m, d = 1.0 - 2.0 * m;
    return (((-s / 810.0 * d *
                  (3.0 * (23.0 * s + 1.0) * (z * z * z * z) + (7.0 - 379.0 * s) * (z * z) -
                   4.0 * (4.0 - 43.0 * s)) *
                  v +
              s / 36.0 * ((1.0 - 13.0 * s) * (z * z * z) - (7.0 - 37.0 * s) * z)) *
                 v +
             s / 3.0 * d * (z * z - 1.0)) *
                v +
            z * s) *
               v +
           m;
}

inline double beta_quantile_large(double p, double a, double b, unsigned char upper) {
    const double z = normal_std_quantile(p);
    return beta_cornish_fisher(upper != 0 ? -z : z, a, b);
}

inline double beta_small_start(double p, double a, double b, unsigned char upper) {
    const double lp = upper != 0 ? log1p_small(-p) : std::log(p);
    const double smaller = b < a ? b : a;
    double t;
    if (smaller >= 0.001 && b <= 100.0) {
        const double q = upper != 0 ? 1.0 - p : p;
        t = std::log(q * gamma_stirling(1.0 + a) * gamma_stirling(b) / gamma_stirling(a + b)) / a;
    } else if (b > 100.0) {
        const double w = 1.0 / b, c = 1.0 - a;
        t = ((-(c * c * a) / 12.0 * w + (1.0 - 2.0 * a) * c / 12.0) * w + 0.5 * c) * w + lp / a +
            log_gamma1p_over(a) - std::log(b);
    } else if (a < 0.001) {
        const double u = b + 1.0, L = log1p_small(a / b);
        t = (lp + L) / a + log_gamma1p_over(a) - dru::impl::digamma(u) - 0.5 * a * dru::impl::trigamma(u) -
            a * a * dru::impl::tetragamma(u) / 6.0;
    } else {
        const double u = a + 1.0, L = log1p_small(b / a);
        t = (lp + std::log(a / b) + L + b * log_gamma1p_over(b) - b * dru::impl::digamma(u) -
             0.5 * b * b * dru::impl::trigamma(u) - b * b * b * dru::impl::tetragamma(u) / 6.0) /
            a;
    }
    if (t < log_dbl_min) return 0.0;
    return t > -0.6931471805599453 ? 0.5 : std::exp(t);
}

inline double beta_search(double p, double a, double b, unsigned char upper) {
    const auto f = [=](double x) {
        if (is_nan(x)) return sign_set_nan - p;
        double lower, above;
        if (x <= 0.0) {
            lower = 0.0, above = 1.0;
        } else if (x >= 1.0) {
            lower = 1.0, above = 0.0;
        } else if (x < 0.5) {
            const tail_pair tails = beta_tails(x, a, b);
            lower = tails.lower, above = tails.upper;
        } else {
            const tail_pair tails = beta_tails(1.0 - x, b, a);
            lower = tails.upper, above = tails.lower;
        }
        return upper != 0 ? above - p : lower - p;
    };
    const auto df = [=](double x) { return upper != 0 ? -beta_density(x, a, b) : beta_density(x, a, b); };
    const double smaller = b < a ? b : a;
    double x0 = 0.5;
    if (smaller < 1.0) {
        x0 = beta_small_start(p, a, b, upper);
    } else if (smaller >= 10.0) {
        x0 = beta_quantile_large(p, a, b, upper);
    } else if (a < b) {
        const double mode = (a - 1.0) / (a + b - 2.0);
        x0 = mode > 1e-25 ? mode : 1e-25;
    }
    unsigned char failed = 0;
    const double x = dru::impl::solve_newton(x0, f, df, 35, failed);
    if (failed == 0) return x;
    const double v = f(x);
    const double other = upper != 0 ? (v <= 0.0 ? 0.0 : 1.0) : (v > 0.0 ? 0.0 : 1.0);
    return dru::impl::solve_bracketed(x, v, other, f(other), f, failed);
}

// The tails at one half that decide which way a search is posed.
inline tail_pair beta_tails_at_half(double a, double b) {
    const double m = beta_split_point(a, b), L = log_beta_pdf(a, b, 0.5), E = std::exp(L);
    if (m >= 0.5) {
        const double lower = L >= log_dbl_min ? beta_lower_ratio(a, b, 0.5) * E : 0.0;
        return {lower, 1.0 - lower};
    }
    const double upper = L >= log_dbl_min ? beta_upper_ratio(a, b, 0.5) * E : 0.0;
    return {1.0 - upper, upper};
}

inline double beta_quantile(double p, double a, double b, unsigned char upper) {
    if (a * b / (a + b) >= 10000.0) {
        const double r = beta_quantile_large(p, a, b, upper);
        return r > 0.5 ? 1.0 - beta_quantile_large(p, b, a, upper == 0) : r;
    }
    if ((a >= 1.0 && b >= 1e23) || (a < 1.0 && b >= 1e9)) {
        if (a >= 10000.0) return gamma_quantile_large(p, a, upper) / b;
        return (upper != 0 ? gamma_quantile_right(p, a) : gamma_quantile_left(p, a)) / b;
    }
    const tail_pair half = beta_tails_at_half(a, b);
    if (upper != 0) return p >= half.upper ? beta_search(p, a, b, 1) : 1.0 - beta_search(p, b, a, 0);
    return half.lower >= p ? beta_search(p, a, b, 0) : 1.0 - beta_search(p, b, a, 1);
}

inline double beta_inv_cdf(double p, double a, double b, unsigned char upper) {
    if (is_nan(p) || p < 0.0 || p > 1.0) return sign_set_nan;
    if (p == 0.0) return upper != 0 ? 1.0 : 0.0;
    if (p == 1.0) return upper != 0 ? 0.0 : 1.0;
    return settled(p < 0.5 ? beta_quantile(p, a, b, upper) : 1.0 - beta_quantile(1.0 - p, b, a, upper));
}

}  // namespace zolv_test::plain
