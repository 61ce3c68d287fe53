#include "distributions/t_density.hpp"

#include <cmath>

#include "frame/nan.hpp"
#include "kernels/log_gamma.hpp"
#include "quantiles/noncentral_sums.hpp"

namespace dru::impl {

namespace {

constexpr double pi = 3.141592653589793;
constexpr double e_number = 2.718281828459045;
constexpr double two_e = 5.43656365691809;
constexpr double count_tolerance = 1e-14;
constexpr double square_root_of_largest = 1.7976931348623158e157;  // beyond it the recurrence is rescaled

double nan_to_sign_set(double value) { return is_nan(value) ? sign_set_nan : value; }

}  // namespace

double gamma_half_ratio(double m) {
    if (m > 167.0) return std::sqrt(m) * (((0.0048828125 / m + 0.0078125) / m - 0.125) / m + 1.0);
    return gamma_stirling(m + 0.5) / gamma_stirling(m);
}

t_log_density::t_log_density(double df) : h_(df / 2.0), g_((1.0 + df) / 2.0) {
    const double A = std::log(h_ / g_ / pi * 0.5);
    const double B = log1p_small(0.5 / h_);
    prefix_ = 0.5 * A - 0.5 + remainder_or_zero(g_) - remainder_or_zero(h_) + h_ * B;
}

double t_log_density::operator()(double x) const {
    const double C = log1p_small(0.5 * x * x / h_);
    return prefix_ - g_ * C;
}

double t_density::operator()(double x) const {
    if (is_nan(x)) return sign_set_nan;
    if (is_infinite(x)) return 0.0;
    if (nc_ == 0.0) return std::exp(central_(x));
    double nc = nc_;
    if (nc < 0.0) {
        nc = -nc;
        x = -x;
    }
    if (x < 0.0) return nan_to_sign_set(t_nc_pdf_negative(x, df_, nc));
    if (df_ >= saddle_df) return nan_to_sign_set(t_nc_pdf_saddle(x, df_, nc).density);
    if (nc >= huge_noncentrality) return nan_to_sign_set(t_nc_pdf_large_nc(x, df_, nc));
    return nan_to_sign_set(t_nc_pdf_series(x, df_, nc));
}

// The exponent of the saddle-point form for df >= 1e8, where its closed form loses all digits: a series in
// v = (x - nc) / nc.
static double huge_df_exponent(double x, double nc, double h, double u, double d) {
    const double v = (x - nc) / nc;
    const double D = d * d;
    const double B = 4.0 + D;
    const double seventh = D * D *
                           (D * D * D * D * D - 172.0 * D * D * D - 1224.0 * D * D - 2176.0 * D + 1536.0) *
                           std::pow(B, -7.0) * v;
    const double fifth = D * D * (2.0 * D * D + D * D * D - 64.0 * D - 256.0) * std::pow(B, -5.0);
    const double third = (2.0 * D + D * D - 16.0) * D * std::pow(B, -3.0);
    const double w = (((seventh - fifth) * v + third) * v - D / B) * v;
    return (((0.5 * w - 0.6666666666666666) * w + (4.0 + u * u) * 0.5) * w + x * (x - nc) / h) * w +
           (x - nc) * (x - nc) * 0.5 / h;
}

t_saddle t_nc_pdf_saddle(double x, double df, double nc) {
    const double h = df / 2.0;
    const double E = h == 0.0 ? 1.0 : std::exp(-log_gamma_remainder(h));
    const double K = 2.0 * h * E;
    const double u = x / std::sqrt(h);
    const double d = nc / std::sqrt(h);
    const double s = (u * d + std::sqrt(u * u * d * d + 16.0 + 8.0 * u * u)) / (2.0 * u * u + 4.0);
    const double X = df < 1e8 ? s * s - 2.0 * std::log(s) + (u * s - d) * (u * s - d) / 2.0 - 1.0
                              : huge_df_exponent(x, nc, h, u, d);
    const double Y = 2.0 / (s * s) + 2.0 + u * u;
    const double R = 1.0 / std::sqrt(h * Y);
    const double b = 1.0 / s / std::sqrt(Y);

    // Derivatives of the exponent at the saddle point, over factorials.
    const double b2 = b * b, b3 = b2 * b, b4 = b3 * b, b5 = b4 * b, b6 = b5 * b, b7 = b6 * b, b8 = b7 * b;
    const double c3 = (-(2.0 / 3.0)) * b3;
    const double c4 = b4 / 2.0;
    const double c5 = -0.4 * b5;
    const double c6 = b6 / 3.0;
    const double c7 = (-(2.0 / 7.0)) * b7;
    const double c3_2 = c3 * c3, c3_3 = c3_2 * c3, c3_4 = c3_3 * c3, c3_5 = c3_4 * c3, c3_6 = c3_5 * c3;
    const double c4_2 = c4 * c4, c4_3 = c4_2 * c4;
    const double T1 = -3.0 * c4 + 7.5 * c3_2;
    const double T2 = -15.0 * c6 + 52.5 * c4_2 + 105.0 * c3 * c5 - 472.5 * c3_2 * c4 + 433.125 * c3_4;
    const double T3 = -105.0 * b8 / 4.0 + 472.5 * (c5 * c5) + 945.0 * c4 * c6 + 945.0 * c3 * c7 -
                      1732.5 * c4_3 - 5197.5 * c3_2 * c6 - 10395.0 * c3 * c4 * c5 + 22522.5 * c3_3 * c5 +
                      33783.75 * c3_2 * c4_2 - 84459.375 * c3_4 * c4 + 47860.3125 * c3_6;
    const double c = ((T3 / h + T2) / h + T1) / h + 1.0;
    const double l = std::log(K * R) - X * h;

    const double log_density = std::log(c) + l;
    double density;
    if (log_density < log_dbl_min) {
        density = 0.0;
    } else if (log_density > log_dbl_max) {
        density = plus_infinity;
    } else {
        density = K * c * R * std::exp(-X * h);
    }
    return {density, l, c};
}

namespace {

// One step of the recurrence on y(H) = sqrt(H) times the density at sqrt(H) u with 2 H degrees of freedom.
struct half_step_recurrence {
    double r, q, e;

    double operator()(double H, double older, double newer) const {
        return r * H / (2.0 * H + 1.0) * older -
               e * H * gamma_stirling(H + 0.5) * q / (2.0 * H + 1.0) / gamma_stirling(H + 1.0) * newer;
    }
};

}  // namespace

double t_nc_pdf_negative(double x, double df, double nc) {
    if (nc > negative_density_cut) return 0.0;
    if (df >= saddle_df) return t_nc_pdf_saddle(x, df, nc).density;

    // The degrees of freedom are raised to 2 H >= 50 and carried back down in half steps.
    const double h = df / 2.0;
    const double m = std::ceil(25.0 - h);
    double H = h + m;
    const double u = x / std::sqrt(h);
    const double r = u * u + 2.0;
    const double q = std::sqrt(r);
    const double e = nc * u / q;
    const half_step_recurrence step{r, q, e};
    const int N = 2 * static_cast<int>(m);

    const t_saddle first = t_nc_pdf_saddle(std::sqrt(H + 0.5) * u, 2.0 * H + 1.0, nc);
    const t_saddle second = t_nc_pdf_saddle(std::sqrt(H) * u, 2.0 * H, nc);
    const double v = std::log(first.correction) + first.log_part + 0.5 * std::log(H + 0.5);
    double C = 0.0, D = 0.0, older, newer;
    if (v >= log_dbl_min) {
        older = std::exp(first.log_part) * first.correction * std::sqrt(H + 0.5);
        newer = std::exp(second.log_part) * second.correction * std::sqrt(H);
        for (int n = 1; n < N; ++n) {
            H -= 0.5;
            const double y = step(H, older, newer);
            older = newer;
            newer = y;
            if (y > square_root_of_largest) break;
        }
    } else {
        // The start underflows: it is lifted to the smallest normal, and the pair is pulled back whenever it
        // grows too far.
        D = log_dbl_min - v;
        older = std::exp(v + D);
        newer = std::exp(second.log_part + std::log(second.correction) + 0.5 * std::log(H) + D);
        for (int n = 1; n < N; ++n) {
            H -= 0.5;
            const double y = step(H, older, newer);
            older = newer;
            newer = y;
            if (y > square_root_of_largest) {
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

double t_nc_pdf_series(double x, double df, double nc) {
    const double S = x * x + df;
    const double c = x * nc * 1.4142135623730951 / std::sqrt(S);
    const double peak =
        std::floor(std::sqrt(8.0 * df * c * c + (c * c - 2.0) * (c * c - 2.0)) / 4.0 + c * c / 4.0 - 0.5);
    if (!(peak <= largest_index)) return sign_set_nan;
    const double k = peak < 0.0 ? 0.0 : peak;

    double T;
    if (k == 0.0) {
        const double W = std::pow(df / S, (1.0 + df) / 2.0) * gamma_half_ratio(df / 2.0) / std::sqrt(pi * df);
        if (std::log(W) - 0.5 * nc * nc < log_dbl_min) return 0.0;
        T = W * std::exp(-0.5 * nc * nc);
    } else {
        const double A = df + k - 1.0;
        const double Z = 1.0 / gamma_stirling(df / 2.0) / std::sqrt(pi * df) * (df / S) *
                         std::pow(df * A / (two_e * S), (df - 1.0) / 2.0);
        const double Z2 = std::exp(remainder_or_zero(A / 2.0) - log_gamma_remainder(k)) * Z;
        const double l = std::log(A * c * c * e_number * std::pow(k, -2.0) * 0.5);
        if (std::log(Z2) + 0.5 * k * l - 0.5 * nc * nc < log_dbl_min) return 0.0;
        T = std::exp(0.5 * k * l - 0.5 * nc * nc) * Z2;
    }

    // Counted first, then summed from the smallest term; the ratios of neighbouring terms are not stored.
    const auto up = [df](double j) { return gamma_half_ratio((df + j + 1.0) / 2.0); };
    const auto down = [df](double i) { return gamma_half_ratio((df + i) / 2.0); };
    double v = 1.0;
    double j = k;
    for (;; j += 1.0) {
        v = v * up(j) * c / (j + 1.0);
        if (!is_finite(v)) return sign_set_nan;
        if (v < count_tolerance) break;
    }
    double s = 0.0;
    for (j -= 1.0; j >= k; j -= 1.0) s = (s + 1.0) * up(j) * c / (j + 1.0);

    v = 1.0;
    double i = k;
    for (; i > 0.0;
         i -= 1.0) {  // at i = 0 the factor is 0, or 0/0 with c = 0: the count ends there either way
        v = v * i / c / down(i);
        if (!is_finite(v)) return sign_set_nan;
        if (v < count_tolerance) break;
    }
    double w = 0.0;
    for (i += 1.0; i <= k; i += 1.0) w = (w + 1.0) * i / c / down(i);
    return T * (1.0 + s + w);
}

double t_nc_pdf_large_nc(double x, double df, double nc) {
    const double r = x / nc;
    const double h = df / 2.0;
    const double g = std::exp(log_gamma_pdf(h, h * std::pow(r, -2.0)));
    const double i = 1.0 / r;
    const double w = i * i;
    const double z = std::pow(nc, -2.0);
    const double h2 = h * h, h3 = h2 * h, h4 = h3 * h, h5 = h4 * h, h6 = h5 * h;
    const double E1 = (2.0 * h * h * w - (1.0 + 4.0 * h) * h) * w + (2.0 * h - 1.0) * h;
    const double E2 =
        (((2.0 * h4 * w - 2.0 * h3 * (3.0 + 4.0 * h)) * w + 1.5 * h2 * (8.0 * h2 + 4.0 * h + 1.0)) * w -
         h2 * (8.0 * h2 - 6.0 * h + 1.0)) *
            w +
        0.5 * h * (4.0 * h3 - 12.0 * h2 + 11.0 * h - 3.0);
    const double E3 = (((((1.3333333333333333 * h6 * w - 2.0 * h5 * (5.0 + 4.0 * h)) * w +
                          5.0 * h4 * (4.0 * h2 + 6.0 * h + 3.0)) *
                             w -
                         0.8333333333333334 * h3 * (32.0 * h3 + 24.0 * h2 + 16.0 * h + 3.0)) *
                            w +
                        2.5 * h3 * (8.0 * h3 - 8.0 * h2 + 4.0 * h - 1.0)) *
                           w -
                       0.5 * h2 * (16.0 * h4 - 60.0 * h3 + 80.0 * h2 - 45.0 * h + 9.0)) *
                          w +
                      h * (8.0 * h5 - 60.0 * h4 + 170.0 * h3 - 225.0 * h2 + 137.0 * h - 30.0) / 6.0;
    return w * (i * (2.0 * h) * g) * (((E3 * z + E2) * z + E1) * z + 1.0) / nc;
}

}  // namespace dru::impl
