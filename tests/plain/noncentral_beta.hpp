// tests/plain/noncentral_beta.hpp: the noncentral beta sums, their quantile and the F family as their steps
// read. Every sum looks for its Poisson start and forms its start ratio anew.
#pragma once

#include "plain/beta.hpp"

namespace zolv_test::plain {

using dru::impl::log_poisson_pmf;
using dru::impl::poisson_quantile;

// The tails in one orientation. On the left the coordinate along which the index grows is x and the other
// 1 - x; on the right they are 1 - y and y.
struct beta_nc_sums {
    bool left;
    double at, a, b, ncp;  // x or y; the index is added to a
    double along() const { return left ? at : 1.0 - at; }
    double across() const { return left ? 1.0 - at : at; }
    double log_density(double shape) const {
        return left ? log_beta_pdf(shape, b, at) : log_beta_pdf(b, shape, at);
    }

    // The sum of the tails that fall away from the index.
    double rising() const {
        const double j0 = poisson_quantile(5e-15, ncp, 0), c = a + b;
        double R = left ? beta_upper_ratio(a + j0, b, at) : beta_lower_ratio(b, a + j0, at);
        double i = j0, S = 0.0, k = 0.0;
        while (i <= j0 + 750000.0) {
            if (!is_finite(R) || (R == 0.0 && across() == 0.0)) return 0.0;
            const double d = (a + i) * R / along();
            const double t = (i + 1.0) / ncp * d / (across() + d);
            if (t > 1.0) {
                k = i;
                break;
            }
            S = (S + 1.0) * t;
            R = across() / (i + c) + d / (i + c);
            i = i + 1.0;
        }
        if (i - j0 >= 750000.0) return 0.0;
        const double log_peak = log_poisson_pmf(k, ncp) + log_density(a + k);
        if (log_peak < log_dbl_min) return 0.0;
        double T = std::exp(log_peak) * R, total = (S + 1.0) * T;
        i = k;
        while (i <= k + 750000.0) {
            if (is_nan(total)) return 0.0;
            const double d = (a + i) * R / along();
            const double t = ncp / (i + 1.0) * (across() / d + 1.0);
            T = T * t;
            total = total + T;
            if (total > 0.9 || T < total * 5e-15 * (1.0 - t)) break;
            R = across() / (i + c) + d / (i + c);
            i = i + 1.0;
        }
        return i - k > 749999.0 ? 0.0 : total;
    }

    // The sum of the other ones.
    double falling() const {
        const double j1 = poisson_quantile(5e-15, ncp, 1), c = a + b;
        const double m = j1 - 750000.0 < 1.0 ? 0.0 : j1 - 750000.0;
        double L = left ? beta_lower_ratio(a + j1 + 1.0, b, at) : beta_upper_ratio(b, a + j1 + 1.0, at);
        double i = j1, S = 0.0, k = 0.0;
        bool peak = false;
        while (i > m) {
            const double e = c + i - 1.0;
            L = (L * (c + i) + across()) * (along() / (a + i));
            const double t = ncp / i * e * L / (e * L + across());
            if (t > 1.0) {
                k = i;
                peak = true;
                break;
            }
            S = (S + 1.0) * t;
            i = i - 1.0;
        }
        if (j1 - i >= 750000.0) return 0.0;
        if (!peak) L = (across() + L * c) * (along() / a);
        const double log_peak = log_poisson_pmf(k, ncp) + log_density(a + k);
        if (log_peak < log_dbl_min) return 0.0;
        double T = std::exp(log_peak) * L, total = (S + 1.0) * T;
        i = k;
        while (i > 0.0) {
            const double e = c + i - 1.0;
            const double t = i / ncp * (across() / e / L + 1.0);
            T = T * t;
            total = total + T;
            if (total > 0.9 || T < total * 5e-15 * (1.0 - t)) break;
            L = (L * e + across()) * (along() / (i + a - 1.0));
            i = i - 1.0;
        }
        return k - i >= 750000.0 ? 0.0 : total;
    }
};

inline tail_pair beta_nc_tails_left(double x, double a, double b, double ncp) {
    if (x == 0.0) return {0.0, 1.0};
    const beta_nc_sums sums{true, x, a, b, ncp};
    double lower, upper;
    if (x >= (a + ncp) / (ncp + (a + b))) {
        upper = sums.rising();
        lower = 1.0 - upper;
        if (!(upper <= 0.9)) {
            lower = sums.falling();
            upper = 1.0 - lower;
        }
    } else {
        lower = sums.falling();
        upper = 1.0 - lower;
        if (!(lower <= 0.9)) {
            upper = sums.rising();
            lower = 1.0 - upper;
        }
    }
    return {lower, upper};
}

// `first` is the pair's lower member, `second` its upper one.
inline tail_pair beta_nc_tails_right(double y, double p, double q, double ncp) {
    if (y == 0.0) return {0.0, 1.0};
    const beta_nc_sums sums{false, y, q, p, ncp};
    double first, second;
    if (y < p / (ncp + p + q)) {
        first = sums.rising();
        second = 1.0 - first;
        if (!(first <= 0.9)) {
            second = sums.falling();
            first = 1.0 - second;
        }
    } else {
        second = sums.falling();
        first = 1.0 - second;
        if (!(second <= 0.9)) {
            first = sums.rising();
            second = 1.0 - first;
        }
    }
    return {first, second};
}

inline double beta_nc_quantile(double p, double a, double b, double ncp, unsigned char upper) {
    const auto f = [=](double x) {
        if (is_nan(x)) return sign_set_nan - p;
        if (x <= 0.0) return upper != 0 ? 1.0 - p : -p;
        if (x >= 1.0) return upper != 0 ? -p : 1.0 - p;
        if (x < 0.5) {
            const tail_pair tails = beta_nc_tails_left(x, a, b, ncp);
            return (upper != 0 ? tails.upper : tails.lower) - p;
        }
        const tail_pair tails = beta_nc_tails_right(1.0 - x, b, a, ncp);
        return (upper != 0 ? tails.lower : tails.upper) - p;
    };
    const double flo = upper != 0 ? 1.0 - p : -p, fhi = upper != 0 ? -p : 1.0 - p;
    if (flo == 0.0) return 0.0;
    if (fhi == 0.0) return 1.0;
    unsigned char failed = 0;
    return dru::impl::solve_bracketed(0.0, flo, 1.0, fhi, f, failed);
}

// ---- the F family at 0 < x < infinity, 0 < p < 1, nc >= 0
// ---------------------------------------------------

inline double beta_nc_pdf(double y, double a, double b, double l) {
    const double c = a + b, g = y * l;
    const double R = std::sqrt((a - 1.0) * (a - 1.0) + (g - 1.0) * (g - 1.0) + 2.0 * g * (2.0 * b + a) - 1.0);
    const double peak = std::ceil(((g - 2.0) * a + (4.0 * b + g - 2.0) * 0.5 * g) / (1.0 + a + R) + 0.5 * g);
    const double k = peak > 0.0 ? peak : 0.0;
    const double P = log_poisson_pmf(k, l);
    const double Q = y <= 0.5 ? log_beta_pdf(a + k, b, y) : log_beta_pdf(b, a + k, 1.0 - y);
    if (Q + P < log_dbl_min) return 0.0;
    const double T = std::exp(Q + P);
    double v = 1.0, M = k, I = 0.0;
    for (;; I += 1.0) {
        M = I + k;
        v = v * ((c + M) * g / (1.0 + M) / (a + M));
        if (v < 1e-14) break;
    }
    double s = 0.0;
    for (double j = 0.0; j <= I; j += 1.0) {
        const double m = M - j;
        s = (s + 1.0) * ((c + m) * g / (1.0 + m) / (a + m));
    }
    if (k == 0.0) return T * (s + 1.0);
    const auto fall = [=](double m) { return c + m == 1.0 ? 0.0 : m * (a + m - 1.0) / g / (c + m - 1.0); };
    v = 1.0;
    for (I = 0.0;; I += 1.0) {
        M = k - I;
        v = v * (c + M == 1.0 ? 0.0 : (a + M - 1.0) * M / g / (c + M - 1.0));
        if (v < 1e-14) break;
    }
    double w = 0.0;
    for (double j = 0.0; j <= I; j += 1.0) w = (w + 1.0) * fall(j + M);
    return T * (s + 1.0 + w);
}

inline double f_pdf(double x, double d1, double d2, double nc) {
    const double a = d1 / 2.0, b = d2 / 2.0, t = x * a, y = t / (b + t);
    double D;
    if (y >= 0.5 && nc <= 0.0) {
        D = beta_density(b / (b + t), b, a);
    } else if (nc != 0.0 && y == 0.0 && a == 1.0) {
        D = std::exp(-nc) * b;
    } else if (nc != 0.0 && y == 1.0 && b == 1.0) {
        D = a + nc;
    } else if (nc == 0.0 || !(y > 0.0 && y < 1.0)) {
        D = beta_density(y, a, b);
    } else {
        D = beta_nc_pdf(y, a, b, nc);
    }
    if (!(D > 0.0)) return 0.0;
    const double e = t / b;
    return std::exp(std::log(D) + std::log(a / b) - 2.0 * log1p_small(e));
}

inline double f_cdf(double x, double d1, double d2, double nc, unsigned char upper) {
    const double a = d1 / 2.0, b = d2 / 2.0, t = x * a, y = t / (b + t);
    if (y < 0.5) {
        const tail_pair tails = nc == 0.0 ? beta_tails(y, a, b) : beta_nc_tails_left(y, a, b, nc);
        return upper != 0 ? tails.upper : tails.lower;
    }
    const double w = b / (b + t);
    const tail_pair tails = nc == 0.0 ? beta_tails(w, b, a) : beta_nc_tails_right(w, b, a, nc);
    return upper != 0 ? tails.lower : tails.upper;
}

inline double f_inv_cdf(double p, double d1, double d2, double nc, unsigned char upper) {
    const double a = d1 / 2.0, b = d2 / 2.0;
    double y;
    if (nc != 0.0) {
        y = beta_nc_quantile(p, a, b, nc, upper);
    } else {
        y = p < 0.5 ? beta_quantile(p, a, b, upper) : 1.0 - beta_quantile(1.0 - p, b, a, upper);
    }
    return settled(b / a * y / (1.0 - y));
}

}  // namespace zolv_test::plain
