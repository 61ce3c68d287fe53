// tests/plain/gamma.hpp: the gamma and chi-square family as its steps read, one call after another: nothing
// is prepared, kept or shared. The judge of the library's prepared objects.
#pragma once

#include <cmath>

#include "distributions/poisson.hpp"
#include "frame/nan.hpp"
#include "kernels/incomplete_gamma.hpp"
#include "kernels/log_gamma.hpp"
#include "kernels/normal.hpp"
#include "kernels/tail_pair.hpp"
#include "quantiles/quantile_starts.hpp"
#include "quantiles/root_search.hpp"

namespace zolv_test::plain {

using dru::impl::gamma_lower_ratio;
using dru::impl::gamma_upper_ratio;
using dru::impl::log_gamma1p_over;  // these have no other form

inline double log_gamma_pdf(double a, double y) {
    const bool apart = (y < 1.0 && a > 1.0) || (y > 1.0 && a < 1.0);
    const double B = apart    ? std::log(y) - std::log(a)
                     : y >= a ? dru::impl::log1p_small((y - a) / a)
                              : -dru::impl::log1p_small((a - y) / y);
    return (a - y) + (a - 1.0) * B - (a == 0.0 ? 0.0 : dru::impl::log_gamma_remainder(a));
}

inline dru::impl::tail_pair gamma_tails(double x, double a) {
    const double f = std::exp(log_gamma_pdf(a, x));
    const double m = dru::impl::gamma_median_estimate(a);
    const auto clamped = [](double product) { return product < 1.0 ? product : 1.0; };
    if (x < m) {
        const double lower = clamped(f * gamma_lower_ratio(a, x));
        return {lower, 1.0 - lower};
    }
    const double upper = clamped(f * gamma_upper_ratio(a, x));
    return {1.0 - upper, upper};
}

inline double gamma_density(double x, double a) {
    if (dru::impl::is_nan(x)) return dru::impl::sign_set_nan;
    if (dru::impl::is_infinite(x) || x < 0.0) return 0.0;
    if (x == 0.0) return a < 1.0 ? dru::impl::plus_infinity : a == 1.0 ? 1.0 : 0.0;
    return std::exp(log_gamma_pdf(a, x));
}

inline double gamma_cornish_fisher(double z, double a) {
    const double v = 1.0 / std::sqrt(a);
    return a *
           ((((-(3.0 * (z * z * z * z) + 7.0 * (z * z) - 16.0) / 810.0 * v + (z * z * z - 7.0 * z) / 36.0) *
                  v +
              (z * z - 1.0) / 3.0) *
                 v +
             z) *
                v +
            1.0);
}

inline double gamma_quantile_large(double p, double a, unsigned char upper) {
    const double z = dru::impl::normal_std_quantile(p);
    return gamma_cornish_fisher(upper != 0 ? -z : z, a);
}

inline double gamma_newton(double x0, double p, double a, unsigned char upper) {
    const auto f = [=](double x) {
        if (dru::impl::is_nan(x)) return dru::impl::sign_set_nan - p;
        if (x <= 0.0) return upper != 0 ? 1.0 - p : -p;
        if (dru::impl::is_infinite(x)) return upper != 0 ? -p : 1.0 - p;
        const dru::impl::tail_pair tails = gamma_tails(x, a);
        return (upper != 0 ? tails.upper : tails.lower) - p;
    };
    const auto df = [=](double x) { return upper != 0 ? -gamma_density(x, a) : gamma_density(x, a); };
    unsigned char failed = 0;
    return dru::impl::solve_newton(x0, f, df, 50, failed);
}

inline double gamma_quantile_left(double p, double a) {
    if (a <= 1.0) {
        const double w = std::exp(log_gamma1p_over(a) + std::log(p) / a);
        return w <= 1e-100 ? 0.0 : gamma_newton(w, p, a, 0);
    }
    if (a <= 10.0) return gamma_newton(a - 1.0, p, a, 0);
    return gamma_newton(gamma_cornish_fisher(dru::impl::normal_std_quantile(p), a), p, a, 0);
}

inline double gamma_quantile_right(double p, double a) {
    if (a <= 1.0) {
        return gamma_newton(std::exp(log_gamma1p_over(a) + dru::impl::log1p_small(-p) / a), p, a, 1);
    }
    return gamma_newton(gamma_cornish_fisher(-dru::impl::normal_std_quantile(p), a), p, a, 1);
}

// ---- noncentral, 0 < ncp within the ceilings -------------------------------------------------------------

inline double gamma_nc_upper_sum(double x, double a, double ncp) {
    const double j0 = dru::impl::poisson_quantile(5e-15, ncp, 0);
    double i = j0, R = gamma_upper_ratio(a + j0, x), S = 0.0, k = 0.0;
    while (i <= j0 + 750000.0) {
        const double d = (i + a) * R / x;
        const double t = (i + 1.0) / ncp * d / (d + 1.0);
        if (t > 1.0) {
            k = i;
            break;
        }
        R = d + 1.0;
        S = (S + 1.0) * t;
        i = i + 1.0;
    }
    const double log_peak = dru::impl::log_poisson_pmf(k, ncp) + log_gamma_pdf(a + k, x);
    if (log_peak < dru::impl::log_dbl_min || i - j0 >= 750000.0) return 0.0;
    double T = std::exp(log_peak) * R, total = (S + 1.0) * T;
    i = k;
    while (i <= k + 750000.0) {
        const double d = (i + a) * R / x;
        i = i + 1.0;
        const double t = ncp / i * (1.0 / d + 1.0);
        T = T * t;
        total = total + T;
        if (T / (1.0 - t) / total < 5e-15) break;
        R = d + 1.0;
    }
    return total;
}

inline double gamma_nc_lower_sum(double x, double a, double ncp) {
    const double j1 = dru::impl::poisson_quantile(5e-15, ncp, 1);
    const double m = j1 - 750000.0 < 1.0 ? 0.0 : j1 - 750000.0;
    double i = j1, u = gamma_lower_ratio(a + j1 + 1.0, x) + 1.0, L = 0.0, S = 0.0, k = 0.0;
    bool peak = false;
    while (i > m) {
        L = x / (a + i) * u;
        u = L + 1.0;
        const double t = ncp / i * L / u;
        if (t > 1.0) {
            k = i;
            peak = true;
            break;
        }
        S = (S + 1.0) * t;
        i = i - 1.0;
    }
    if (!peak) L = x / a * u;
    const double log_peak = dru::impl::log_poisson_pmf(k, ncp) + log_gamma_pdf(a + k, x);
    if (log_peak < dru::impl::log_dbl_min || j1 - i > 749999.0) return 0.0;
    double T = std::exp(log_peak) * L, total = (S + 1.0) * T;
    i = k;
    while (i > 0.0) {
        const double t = i / ncp * (1.0 / L + 1.0);
        T = T * t;
        total = total + T;
        if (T / (1.0 - t) / total < 5e-15) break;
        L = (L + 1.0) * (x / (i + a - 1.0));
        i = i - 1.0;
    }
    return total;
}

inline dru::impl::tail_pair gamma_nc_tails(double x, double a, double ncp) {
    double lower, upper;
    if (x >= a + ncp) {
        upper = gamma_nc_upper_sum(x, a, ncp);
        lower = 1.0 - upper;
        if (upper > 0.9) {
            lower = gamma_nc_lower_sum(x, a, ncp);
            upper = 1.0 - lower;
        }
    } else {
        lower = gamma_nc_lower_sum(x, a, ncp);
        upper = 1.0 - lower;
        if (lower > 0.9) {
            upper = gamma_nc_upper_sum(x, a, ncp);
            lower = 1.0 - upper;
        }
    }
    return {lower, upper};
}

inline double gamma_nc_quantile(double p, double a, double ncp, unsigned char upper) {
    const auto f = [=](double x) {
        if (dru::impl::is_nan(x)) return dru::impl::sign_set_nan - p;
        if (x <= 0.0) return upper != 0 ? 1.0 - p : -p;
        if (dru::impl::is_infinite(x)) return upper != 0 ? -p : 1.0 - p;
        const dru::impl::tail_pair tails = gamma_nc_tails(x, a, ncp);
        if (upper != 0) return tails.upper < 0.0 ? 1.0 - p : tails.upper - p;
        return tails.lower - p;
    };
    double lo = 1.0, flo = f(1.0), hi = 0.0, fhi = 0.0;
    if (flo == 0.0) return lo;
    const auto found = [&] { return flo * fhi <= 0.0; };
    if (upper != 0 ? flo < 0.0 : flo > 0.0) {
        double s = 1e-5;
        for (int n = 1; n < 21; ++n) {
            hi = lo * s;
            fhi = f(hi);
            if (found()) break;
            lo = hi, flo = fhi, s = s * 1e-5;
        }
    } else if (a < 1.0 && ncp < 1.0) {
        for (;;) {
            hi = 2.0 * lo;
            fhi = f(hi);
            if (found()) break;
            lo = hi, flo = fhi;
        }
    } else {
        const double m = a + ncp, v = 2.0 * ncp + a, sd = std::sqrt(v);
        double z = p == 0.5 ? 0.0 : dru::impl::normal_std_quantile(p);
        if (upper != 0) z = -z;
        double e;
        if (a >= 1.0 && ncp >= 1.0) {
            const double c = std::pow(m, -2.0);
            const double root = z * std::sqrt(c * v / 9.0) + 1.0 - v * c / 9.0;
            e = m * (root * root * root);
        } else if (a < 1.0) {
            const double root = z + std::sqrt(4.0 * (m * m) / v - 1.0);
            e = root * root * (0.25 * v / m);
        } else {
            const double g = a >= 10000.0 ? gamma_quantile_large(p, a, upper)
                             : upper != 0 ? gamma_quantile_right(p, a)
                                          : gamma_quantile_left(p, a);
            e = g * (v / (ncp + a));
        }
        lo = e >= 1.0 ? e : 1.0;
        flo = f(lo);
        const double direction = (upper == 0 && flo <= 0.0) || (upper != 0 && flo > 0.0) ? 1.0 : -1.0;
        double w = lo;
        for (;;) {
            w = w + direction * sd;
            hi = w >= 1.0 ? w : 1.0;
            fhi = f(hi);
            if (found()) break;
            lo = hi, flo = fhi, w = lo;
        }
    }
    if (flo == 0.0) return lo;
    if (fhi == 0.0) return hi;
    unsigned char failed = 0;
    return dru::impl::solve_bracketed(lo, flo, hi, fhi, f, failed);
}

// ---- the exports ------------------------------------------------------------------------------------------

inline double gamma_nc_pdf(double x, double a, double l) {
    const double root = std::sqrt((a - 1.0) * (a - 1.0) + 4.0 * l * x);
    const double peak = std::ceil(-(1.0 + a) / 2.0 + 0.5 * root);
    const double k = peak > 0.0 ? peak : 0.0;
    const double P = dru::impl::log_poisson_pmf(k, l), G = log_gamma_pdf(a + k, x);
    if (P + G < dru::impl::log_dbl_min) return 0.0;
    const double T = std::exp(P + G);
    double v = 1.0, M = k, I = 0.0;
    for (;; I += 1.0) {
        M = I + k;
        v = v * (l * x / (1.0 + M) / (a + M));
        if (v < 1e-14) break;
    }
    double s = 0.0;
    for (double j = 0.0; j <= I; j += 1.0) {
        const double m = M - j;
        s = (s + 1.0) * (l * x / (1.0 + m) / (a + m));
    }
    v = 1.0;
    for (I = 0.0;; I += 1.0) {
        M = k - I;
        v = v * ((a + M - 1.0) * M / l / x);
        if (v < 1e-14) break;
    }
    double w = 0.0;
    for (double j = 0.0; j <= I; j += 1.0) {
        const double m = j + M;
        w = (w + 1.0) * (m * (a + m - 1.0) / l / x);
    }
    return T * (s + 1.0 + w);
}

// 0 < x < infinity and valid parameters.
inline double chi_square_pdf(double x, double df, double nc) {
    const double g = nc == 0.0 ? gamma_density(x / 2.0, df / 2.0) : gamma_nc_pdf(x / 2.0, df / 2.0, nc / 2.0);
    return 0.5 * g;
}

inline double chi_square_cdf(double x, double df, double nc, unsigned char upper) {
    const dru::impl::tail_pair tails =
        nc == 0.0 ? gamma_tails(x / 2.0, df / 2.0) : gamma_nc_tails(x / 2.0, df / 2.0, nc / 2.0);
    return upper != 0 ? tails.upper : tails.lower;
}

inline double chi_square_inv_cdf(double p, double df, double nc, unsigned char upper) {
    const double a = df / 2.0;
    if (nc != 0.0) return 2.0 * gamma_nc_quantile(p, a, nc / 2.0, upper);
    if (a >= 10000.0) return 2.0 * gamma_quantile_large(p, a, upper);
    return 2.0 * (upper != 0 ? gamma_quantile_right(p, a) : gamma_quantile_left(p, a));
}

}  // namespace zolv_test::plain
