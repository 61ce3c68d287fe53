// quantiles/noncentral_t_negative.cpp: tails of the noncentral t below 0, by a saddle-point tail at many
// degrees of freedom and a recurrence in half steps down to the ones asked for.
//
// Source: Lugannani & Rice's saddle-point tail in the normal form with two correction terms; the recurrence
// is
//         the one of the density (distributions/t_density.hpp), summed over every second step.
#include <cmath>

#include "distributions/t_density.hpp"
#include "frame/nan.hpp"
#include "kernels/log_gamma.hpp"
#include "kernels/normal.hpp"
#include "quantiles/noncentral_t.hpp"

namespace dru::impl {

namespace {

constexpr double negative_tail_cut = 21.274;  // above this noncentrality nothing is left below 0
constexpr double large_h = 1000.0;  // half the degrees of freedom at which the saddle-point tail is good
constexpr double smallest_log = -690.7755;  // ln of about 1e-300: below it the start would underflow

}  // namespace

tail_pair t_nc_tails_negative(double x, double df, double ncp) {
    if (ncp > negative_tail_cut) return {0.0, 1.0};
    const double h = df / 2.0;
    if (h >= large_h) return t_nc_tails_large_df(x, df, ncp);

    const double c = x / std::sqrt(h);
    const auto log_term = [&](double root, double z) {
        return t_nc_pdf_saddle(root * c, 2.0 * z, ncp).log_part + std::log(-0.5 * c) - 0.5 * std::log(z);
    };
    double I = large_h;
    double previous = log_term(31.622776601683793, large_h);
    if (previous < smallest_log) {
        double lo = 0.0, hi = large_h;
        for (;;) {
            const double mid = (lo + hi) * 0.5;
            const double e = log_term(std::sqrt(mid), mid);
            if (e < smallest_log) {
                hi = mid;
            } else {
                lo = mid;
            }
            if (!(std::fabs(e - previous) > 0.1)) break;
            previous = e;
        }
        I = lo - 1.5;
    }
    const double m = std::ceil(I - h);
    const double H = m + h;
    if (h > H) return {0.0, 1.0};

    const double A0 = t_nc_tails_large_df(c * std::sqrt(H), 2.0 * H, ncp).lower;
    const t_saddle at_H = t_nc_pdf_saddle(c * std::sqrt(H), 2.0 * H, ncp);
    const t_saddle above = t_nc_pdf_saddle(c * std::sqrt(H + 0.5), 2.0 * H + 1.0, ncp);
    const double r = c * c + 2.0;
    const double q = std::sqrt(r);
    const double e = c * ncp / q;
    double older = std::exp(above.log_part) * above.correction * 0.5 * c / std::sqrt(H + 0.5);
    double newer = std::exp(at_H.log_part) * at_H.correction * 0.5 * c / std::sqrt(H);
    double G = H;
    double sum = 0.0;
    const int steps = 2 * static_cast<int>(m);
    for (int i = 1; i <= steps; ++i) {
        G = G - 0.5;
        const double J = G + 1.0;
        const double y =
            J * r / (2.0 * G + 1.0) * older - gamma_half_ratio(J) * e * q * newer / (2.0 * G + 1.0);
        if (i % 2 == 0) sum = sum + y;
        older = newer;
        newer = y;
    }
    const double t = A0 - sum;
    if (is_nan(t)) return {sign_set_nan, sign_set_nan};
    if (t < 1e-100) return {0.0, 1.0};
    return {t, 1.0 - t};
}

tail_pair t_nc_tails_large_df(double x, double D, double ncp) {
    const double s = std::sqrt(D);
    const double u = x / s;
    const double dd = ncp / s;
    const double E = dd * dd + 4.0;
    const double b2 = std::sqrt(u * u * E + 4.0);
    const double b4 = 1.0 + u * u;

    // The squared saddle point g, its root w and the derivatives of w in u.
    const double root = std::sqrt(dd * dd * u * u + 4.0 + 4.0 * u * u) + u * dd;
    const double g = root * root * std::pow(2.0 * u * u + 2.0, -2.0);
    const double w = std::sqrt(g);
    const double b3 = dd - u * w;
    const double B = b3 * b3 + g - std::log(g) - 1.0;
    const double R = std::sqrt(B);
    const double f1 = u * E / b2 + dd;
    const double p = u * dd + b2;
    const double c3 = (3.0 * u * u - 1.0) * 0.5;
    const double w1 = 0.5 / b4 * f1 - u * p * std::pow(b4, -2.0);
    const double w2 = p * c3 * std::pow(b4, -3.0) - u * f1 * std::pow(b4, -2.0) + std::pow(b2, -3.0) * E / b4;
    const double w3 = -2.0 * u * (u * u - 1.0) * p * std::pow(b4, -4.0) + f1 * c3 * std::pow(b4, -3.0) -
                      2.0 * u * E * std::pow(b2, -3.0) * std::pow(b4, -2.0) -
                      E * E * u * std::pow(b2, -5.0) / b4;

    // Derivatives of the exponent B along u.
    const double g1 = 2.0 * w * w1;
    const double a6 = u * w1 + w;
    const double g2 = w1 * w1 + 2.0 * w * w2;
    const double g3 = 2.0 * w * w3 + 2.0 * w1 * w2;
    const double a7 = -2.0 * b3 * a6 + g1 - g1 / g;
    const double a15 = w1 + u * w2;
    const double a16 = 2.0 * b3;
    const double a53 = a6 * a6 - a15 * a16 + g2 - g2 / g + 0.5 * (g1 * g1) * std::pow(g, -2.0);
    const double a69 = (2.0 * a6 * a15 - a16 * (u * w3 + w2) + g3 - g3 / g + g1 * g2 * std::pow(g, -2.0) -
                        g1 * g1 * g1 * std::pow(g, -3.0) / 3.0) /
                       B;
    const double m1 = 0.5 * a7 / R;
    const double m2 = (0.5 * a53 / B - 0.125 * (a7 * a7) / B / B) * R;
    const double i1 = 1.0 / m1;
    const double a9 = u * dd * w + 2.0;

    const double half_D = 0.5 * D;
    const double G = half_D == 0.0 ? 1.0 : std::exp(-log_gamma_remainder(half_D));
    const double K = 0.7071067811865476 * D * G * std::sqrt(2.0 * g / a9) / m1 * std::sqrt(two_pi / D);
    const double zeta = R * s;

    // The two corrections of the normal form.
    const double n1 = -(std::pow(m1, -3.0) * m2);
    const double n2 = dd * i1 * a6;
    const double n3 = a6 * n1 + i1 * i1 * a15;
    const double n4 = 0.5 * g1 * i1 / g - 0.5 * n2 / a9;
    const double n5 =
        (4.0 * g * g1 * n1 + 4.0 * g * g2 * i1 * i1 - g1 * g1 * i1 * i1) * std::pow(g, -2.0) * 0.125 -
        0.25 * g1 * i1 * n2 / g / a9;
    const double third =
        0.5 * a69 - 0.25 * a7 * a53 * std::pow(B, -2.0) + 0.0625 * (a7 * a7 * a7) * std::pow(B, -3.0);
    const double n6 = 3.0 * ((2.0 * m2 * m2 - m1 * third * R) * std::pow(m1, -5.0)) / i1;
    const double e1 = 2.0 * n1 / i1 + n4;
    const double e2 =
        n5 + 0.125 * (3.0 * n2 * n2 - 4.0 * a9 * dd * n3) * std::pow(a9, -2.0) + 2.0 * n4 * n1 / i1 + n6;
    const double Qz = zeta >= normal_tail_cut ? 0.0 : normal_upper_tail(zeta);
    const double phi = std::exp(-0.5 * zeta * zeta) * standard_normal_height;
    const double T = Qz + e1 / s * (phi - Qz * zeta) + e2 / D * ((zeta * zeta + 1.0) * Qz - zeta * phi);
    const double a = w * u * dd;
    const double V = K * T * (1.0 - (9.0 * a + 8.0) * std::pow(2.0 + a, -3.0) / 12.0 / D);
    if (is_nan(V)) return {sign_set_nan, sign_set_nan};
    if (ncp > x) return {-V, 1.0 + V};
    return {1.0 - V, V};
}

}  // namespace dru::impl
