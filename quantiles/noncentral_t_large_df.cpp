#include "quantiles/noncentral_t_large_df.hpp"

#include <cmath>

#include "frame/nan.hpp"
#include "kernels/log_gamma.hpp"
#include "kernels/normal.hpp"

namespace dru::impl {

t_large_df_tails::t_large_df_tails(double D, double ncp)
    : D_(D),
      ncp_(ncp),
      s_(std::sqrt(D)),
      dd_(ncp / s_),
      E_(dd_ * dd_ + 4.0),
      root_two_pi_over_D_(std::sqrt(two_pi / D)) {
    const double half_D = 0.5 * D;
    const double G = half_D == 0.0 ? 1.0 : std::exp(-log_gamma_remainder(half_D));
    K_ = 0.7071067811865476 * D * G;
}

tail_pair t_large_df_tails::operator()(double x) const {
    const double s = s_, dd = dd_, E = E_, D = D_;
    const double u = x / s;
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

    const double K = K_ * std::sqrt(2.0 * g / a9) / m1 * root_two_pi_over_D_;
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
    if (ncp_ > x) return {-V, 1.0 + V};
    return {1.0 - V, V};
}

tail_pair t_nc_tails_large_df(double x, double D, double ncp) { return t_large_df_tails(D, ncp)(x); }

}  // namespace dru::impl
