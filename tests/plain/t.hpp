// tests/plain/t.hpp: the t family as its steps read: no gamma value, no Poisson start, no ratio is kept from
// one use to the next. The judge of the library's prepared objects.
#pragma once

#include "plain/noncentral_beta.hpp"
#include "plain/t_saddle.hpp"

namespace zolv_test::plain {

using dru::impl::largest_double;
using dru::impl::normal_quantile;
using dru::impl::normal_upper_tail;

inline double remainder_or_0(double x) { return x == 0.0 ? 0.0 : dru::impl::log_gamma_remainder(x); }

inline double half_ratio(double m) {
    if (m > 167.0) return std::sqrt(m) * (((0.0048828125 / m + 0.0078125) / m - 0.125) / m + 1.0);
    return gamma_stirling(m + 0.5) / gamma_stirling(m);
}

// ---- density
// -----------------------------------------------------------------------------------------------

inline double t_pdf_central(double x, double df) {
    const double h = df / 2.0, g = (1.0 + df) / 2.0;
    const double A = std::log(h / g / 3.141592653589793 * 0.5);
    const double B = log1p_small(0.5 / h), C = log1p_small(0.5 * x * x / h);
    return std::exp(0.5 * A - 0.5 + remainder_or_0(g) - remainder_or_0(h) + h * B - g * C);
}

inline double t_nc_pdf_series(double x, double df, double nc) {
    const double S = x * x + df, c = x * nc * 1.4142135623730951 / std::sqrt(S);
    const double peak =
        std::floor(std::sqrt(8.0 * df * c * c + (c * c - 2.0) * (c * c - 2.0)) / 4.0 + c * c / 4.0 - 0.5);
    const double k = peak < 0.0 ? 0.0 : peak;
    double T;
    if (k == 0.0) {
        const double W =
            std::pow(df / S, (1.0 + df) / 2.0) * half_ratio(df / 2.0) / std::sqrt(3.141592653589793 * df);
        if (std::log(W) - 0.5 * nc * nc < log_dbl_min) return 0.0;
        T = W * std::exp(-0.5 * nc * nc);
    } else {
        const double A = df + k - 1.0;
        const double Z = 1.0 / gamma_stirling(df / 2.0) / std::sqrt(3.141592653589793 * df) * (df / S) *
                         std::pow(df * A / (5.43656365691809 * S), (df - 1.0) / 2.0);
        const double Z2 = std::exp(remainder_or_0(A / 2.0) - dru::impl::log_gamma_remainder(k)) * Z;
        const double l = std::log(A * c * c * 2.718281828459045 * std::pow(k, -2.0) * 0.5);
        if (std::log(Z2) + 0.5 * k * l - 0.5 * nc * nc < log_dbl_min) return 0.0;
        T = std::exp(0.5 * k * l - 0.5 * nc * nc) * Z2;
    }
    double v = 1.0, j = k;
    for (;; j += 1.0) {
        v = v * half_ratio((df + j + 1.0) / 2.0) * c / (j + 1.0);
        if (!is_finite(v)) return sign_set_nan;
        if (v < 1e-14) break;
    }
    double s = 0.0;
    for (double i = j - 1.0; i >= k; i -= 1.0)
        s = (s + 1.0) * half_ratio((df + i + 1.0) / 2.0) * c / (i + 1.0);
    v = 1.0;
    double i = k;
    for (; i > 0.0; i -= 1.0) {
        v = v * i / c / half_ratio((df + i) / 2.0);
        if (!is_finite(v)) return sign_set_nan;
        if (v < 1e-14) break;
    }
    double w = 0.0;
    for (double n = i + 1.0; n <= k; n += 1.0) w = (w + 1.0) * n / c / half_ratio((df + n) / 2.0);
    return T * (1.0 + s + w);
}

// x < 0, 0 < nc <= 21.417, df < 50.
inline double t_nc_pdf_negative(double x, double df, double nc) {
    const double h = df / 2.0;
    const int m = static_cast<int>(std::ceil(25.0 - h));
    double H = h + m;
    const double u = x / std::sqrt(h), r = u * u + 2.0, q = std::sqrt(r), e = nc * u / q;
    const int N = 2 * m;
    const auto step = [&](double at, double older, double newer) {
        return r * at / (2.0 * at + 1.0) * older -
               e * at * gamma_stirling(at + 0.5) * q / (2.0 * at + 1.0) / gamma_stirling(at + 1.0) * newer;
    };
    const auto first = t_nc_pdf_saddle(std::sqrt(H + 0.5) * u, 2.0 * H + 1.0, nc);
    const auto second = t_nc_pdf_saddle(std::sqrt(H) * u, 2.0 * H, nc);
    const double v = std::log(first.correction) + first.log_part + 0.5 * std::log(H + 0.5);
    double C = 0.0, D = 0.0, older, newer;
    if (v >= log_dbl_min) {
        older = std::exp(first.log_part) * first.correction * std::sqrt(H + 0.5);
        newer = std::exp(second.log_part) * second.correction * std::sqrt(H);
        for (int n = 1; n <= N - 1; ++n) {
            H = H - 0.5;
            const double y = step(H, older, newer);
            older = newer;
            newer = y;
            if (y > 1.7976931348623158e157) break;
        }
    } else {
        D = log_dbl_min - v;
        older = std::exp(v + D);
        newer = std::exp(second.log_part + std::log(second.correction) + 0.5 * std::log(H) + D);
        for (int n = 1; n <= N - 1; ++n) {
            H = H - 0.5;
            const double y = step(H, older, newer);
            older = newer;
            newer = y;
            if (y > 1.7976931348623158e157) {
                const double o = older;
                C = C + log_dbl_min - std::log(o);
                newer = y / o * std::exp(log_dbl_min);
                older = std::exp(log_dbl_min);
            }
        }
    }
    const double y = step(h, older, newer);
    const double L = std::log(y) - D - C - 0.5 * std::log(h);
    return L < log_dbl_min ? 0.0 : std::exp(L);
}

// df > 0, finite x, nc below 2000 in size.
inline double t_pdf(double x, double df, double nc) {
    if (nc == 0.0) return settled(t_pdf_central(x, df));
    if (nc < 0.0) x = -x, nc = -nc;
    if (x < 0.0 && nc > 21.417) return 0.0;
    if (df >= 50.0) return settled(t_nc_pdf_saddle(x, df, nc).density);
    if (x < 0.0) return settled(t_nc_pdf_negative(x, df, nc));
    return settled(t_nc_pdf_series(x, df, nc));
}

// ---- tails
// -------------------------------------------------------------------------------------------------

inline double t_cdf_central(double x, double df, unsigned char upper) {
    const double b = df / 2.0, h2 = x * x * 0.5, w = h2 / (b + h2);
    if (w == 0.0) return 0.5;
    double tail;
    if (w < 0.5) {
        tail = beta_tails(w, 0.5, b).upper;
    } else {
        const double v = b / (b + h2);
        tail = v == 0.0 ? 0.0 : beta_tails(v, b, 0.5).lower;
    }
    tail = tail * 0.5;
    return (x > 0.0) == (upper != 0) ? tail : 1.0 - tail;
}

// x > 0, ncp > 0, indices below 2^53.
inline tail_pair t_nc_tails_positive(double x, double df, double ncp) {
    const double X = x * x, h = df / 2.0, d = ncp * 0.5 * ncp;
    const double Q = normal_upper_tail(-ncp), W = 2.0 * Q - 1.0;
    const double N = ncp >= 38.4638 ? 0.0 : normal_upper_tail(ncp);
    const bool far = df < X;
    double u, v;
    tail_pair AB;
    if (!far) {
        u = X / (df + X);
        v = 1.0 - u;
        AB = beta_nc_tails_left(u, 0.5, h, d);
    } else {
        v = df / (df + X);
        u = 1.0 - v;
        const tail_pair both = beta_nc_tails_right(v, h, 0.5, d);
        AB = {both.upper, both.lower};
    }
    const auto log_b = [&](double a) { return far ? log_beta_pdf(h, a, v) : log_beta_pdf(a, h, u); };
    const auto log_peak = [&](double k) { return log_gamma_pdf(k + 1.5, d) - std::log(W) + log_b(k + 1.0); };
    const auto lower_sum = [&] {
        const double j1 = poisson_quantile(5e-15, d, 1);
        double i = j1, S = 0.0, k = 0.0;
        double L = far ? beta_upper_ratio(h, j1 + 2.0, v) : beta_lower_ratio(j1 + 2.0, h, u);
        while (i >= 0.0 && j1 - i < 750000.0) {  // what comes after that many is settled
            L = (L * (h + 1.0 + i) + v) * (u / (i + 1.0));
            if (i == 0.0) break;
            const double e = h + 1.0 + i - 1.0;
            const double t = d / (i + 0.5) * e * L / (e * L + v);
            if (t > 1.0) {
                k = i;
                break;
            }
            i = i - 1.0;
            S = (S + 1.0) * t;
        }
        if (j1 - i >= 750000.0) return largest_double;
        const double P = log_peak(k);
        if (P < log_dbl_min) return 0.0;
        double T = std::exp(P) * L, total = (S + 1.0) * T;
        i = k;
        while (i > 0.0) {
            const double e = h + 1.0 + i - 1.0;
            const double t = (i + 0.5) / d * (v / e / L + 1.0);
            T = T * t;
            total = total + T;
            if (total > 0.9 || T < total * 5e-15 * (1.0 - t)) break;
            L = (L * e + v) * (u / i);
            i = i - 1.0;
        }
        return k - i >= 750000.0 ? largest_double : total * 0.5 * W;
    };
    const auto upper_sum = [&] {
        const double j0 = poisson_quantile(5e-15, d, 0), m = j0 > 0.0 ? j0 - 1.0 : 0.0;
        double i = m, S = 0.0;
        double U = far ? beta_lower_ratio(h, m + 1.0, v) : beta_upper_ratio(m + 1.0, h, u);
        for (;;) {
            if (!is_finite(U) || (U == 0.0 && v == 0.0)) return largest_double;
            const double w = U * (i + 1.0);
            const double t = (i + 1.5) / d * (i + 1.0) * U / (u * v + w);
            if (t > 1.0) break;
            U = v / (i + h + 1.0) + w / u / (i + h + 1.0);
            i = i + 1.0;
            S = (S + 1.0) * t;
            if (i - m >= 750000.0) return largest_double;
        }
        const double k = i, P = log_peak(k);
        if (P < log_dbl_min) return 0.0;
        double T = std::exp(P) * U, total = (S + 1.0) * T;
        for (;;) {
            if (is_nan(total)) return largest_double;
            const double t = d / (i + 1.5) * (v * u / (i + 1.0) / U + 1.0);
            T = T * t;
            total = total + T;
            if (total > 0.9 || T < total * 5e-15 * (1.0 - t)) return total * 0.5 * W;
            U = U * (i + 1.0) / u / (i + h + 1.0) + v / (i + h + 1.0);
            i = i + 1.0;
            if (i - k > 749999.0) return largest_double;
        }
    };
    if (!(x <= ncp)) {
        const double second = upper_sum() + 0.5 * AB.upper;
        if (!(second > 0.9)) return {1.0 - second, second};
    }
    const double first = N + 0.5 * AB.lower + lower_sum();
    return {first, 1.0 - first};
}

// x < 0, ncp > 0.
inline tail_pair t_nc_tails_negative(double x, double df, double ncp) {
    if (ncp > 21.274) return {0.0, 1.0};
    const double h = df / 2.0;
    if (h >= 1000.0) return t_nc_tails_large_df(x, df, ncp);
    const double c = x / std::sqrt(h);
    const auto E = [&](double z) {
        return t_nc_pdf_saddle(std::sqrt(z) * c, 2.0 * z, ncp).log_part + std::log(-0.5 * c) -
               0.5 * std::log(z);
    };
    double previous = t_nc_pdf_saddle(31.622776601683793 * c, 2000.0, ncp).log_part + std::log(-0.5 * c) -
                      0.5 * std::log(1000.0);
    double I = 1000.0;
    if (previous < -690.7755) {
        double lo = 0.0, hi = 1000.0;
        for (;;) {
            const double mid = (lo + hi) * 0.5, e = E(mid);
            (e < -690.7755 ? hi : lo) = mid;
            if (!(std::fabs(e - previous) > 0.1)) break;
            previous = e;
        }
        I = lo - 1.5;
    }
    const double m = std::ceil(I - h), H = m + h;
    if (h > H) return {0.0, 1.0};
    const double A0 = t_nc_tails_large_df(c * std::sqrt(H), 2.0 * H, ncp).lower;
    const auto at_H = t_nc_pdf_saddle(c * std::sqrt(H), 2.0 * H, ncp);
    const auto above = t_nc_pdf_saddle(c * std::sqrt(H + 0.5), 2.0 * H + 1.0, ncp);
    double newer = std::exp(at_H.log_part) * at_H.correction * 0.5 * c / std::sqrt(H);
    double older = std::exp(above.log_part) * above.correction * 0.5 * c / std::sqrt(H + 0.5);
    const double r = c * c + 2.0, q = std::sqrt(r), e = c * ncp / q;
    double G = H, sum = 0.0;
    for (int i = 1; i <= 2 * static_cast<int>(m); ++i) {
        G = G - 0.5;
        const double J = G + 1.0;
        const double y = J * r / (2.0 * G + 1.0) * older - half_ratio(J) * e * q * newer / (2.0 * G + 1.0);
        if (i % 2 == 0) sum = sum + y;
        older = newer;
        newer = y;
    }
    const double t = A0 - sum;
    if (t < 1e-100) return {0.0, 1.0};
    return {t, 1.0 - t};
}

inline double t_nc_tail(double x, double df, double ncp, unsigned char upper) {
    if (is_infinite(x)) return (x > 0.0) == (upper != 0) ? 0.0 : 1.0;
    const bool mirror = ncp < 0.0;
    if (mirror) x = -x, ncp = -ncp;
    tail_pair tails;
    if (x == 0.0) {
        const double n = ncp >= 38.4638 ? 0.0 : normal_upper_tail(ncp);
        tails = {n, 1.0 - n};
    } else {
        tails = x > 0.0 ? t_nc_tails_positive(x, df, ncp) : t_nc_tails_negative(x, df, ncp);
    }
    if (mirror) tails = {tails.upper, tails.lower};
    return settled(upper != 0 ? tails.upper : tails.lower);
}

inline double t_cdf(double x, double df, double nc, unsigned char upper) {
    return nc == 0.0 ? t_cdf_central(x, df, upper) : t_nc_tail(x, df, nc, upper);
}

// ---- quantile, 0 < p < 1
// -----------------------------------------------------------------------------------

inline double t_nc_quantile(double p, double df, double ncp, unsigned char upper) {
    const auto f = [=](double x) {
        return upper != 0 ? p - t_nc_tail(x, df, ncp, 1) : t_nc_tail(x, df, ncp, 0) - p;
    };
    const double sd = df > 2.0 ? std::sqrt(df / (df - 2.0)) : 1.0;
    double x0 = normal_quantile(p, ncp, sd, upper), f0 = f(x0), x1 = 0.0, f1 = 0.0;
    unsigned char overflow = 0, failed = 0;
    dru::impl::expand_bracket(x0, f0, x1, f1, f, overflow);
    return dru::impl::solve_bracketed(x0, f0, x1, f1, f, failed);
}

inline double t_inv_cdf(double p, double df, double nc, unsigned char upper) {
    if (nc != 0.0) return t_nc_quantile(p, df, nc, upper);
    if (p == 0.5) return 0.0;
    const double g = (upper != 0) != (p > 0.5) ? 1.0 : -1.0, h = df / 2.0;
    const double T = 2.0 * (1.0 - p < p ? 1.0 - p : p);
    double w;
    if (0.5 * h / (0.5 + h) >= 10000.0) {
        w = beta_quantile_large(T, 0.5, h, 1);
        if (w > 0.5) w = 1.0 - beta_quantile_large(T, h, 0.5, 0);
    } else if (h < 1e9) {
        const double M = beta_tails(0.5, 0.5, h).upper;
        w = T >= M ? beta_search(T, 0.5, h, 1) : 1.0 - beta_search(T, h, 0.5, 0);
    } else {
        w = gamma_quantile_right(T, 0.5) / h;
    }
    if (w == 1.0) return g * plus_infinity;
    return g * std::sqrt(df * w / (1.0 - w));
}

}  // namespace zolv_test::plain
