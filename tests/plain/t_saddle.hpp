// tests/plain/t_saddle.hpp: the saddle-point forms of the noncentral t's density and tail as their steps
// read.
#pragma once

#include <cmath>

#include "frame/nan.hpp"
#include "kernels/log_gamma.hpp"
#include "kernels/normal.hpp"
#include "kernels/tail_pair.hpp"

namespace zolv_test::plain {

struct saddle {
    double density, log_part, correction;
};

inline double saddle_remainder(double h) {
    return h == 0.0 ? 1.0 : std::exp(-dru::impl::log_gamma_remainder(h));
}

inline saddle t_nc_pdf_saddle(double x, double df, double nc) {
    const double h = df / 2.0, E = saddle_remainder(h), K = 2.0 * h * E;
    const double u = x / std::sqrt(h), d = nc / std::sqrt(h);
    const double s = (u * d + std::sqrt(u * u * d * d + 16.0 + 8.0 * u * u)) / (2.0 * u * u + 4.0);
    double X;
    if (df < 1e8) {
        X = s * s - 2.0 * std::log(s) + (u * s - d) * (u * s - d) / 2.0 - 1.0;
    } else {
        const double v = (x - nc) / nc, D = d * d, B = 4.0 + D;
        const double w =
            (((D * D * (D * D * D * D * D - 172.0 * D * D * D - 1224.0 * D * D - 2176.0 * D + 1536.0) *
                   std::pow(B, -7.0) * v -
               D * D * (2.0 * D * D + D * D * D - 64.0 * D - 256.0) * std::pow(B, -5.0)) *
                  v +
              (2.0 * D + D * D - 16.0) * D * std::pow(B, -3.0)) *
                 v -
             D / B) *
            v;
        X = (((0.5 * w - 0.6666666666666666) * w + (4.0 + u * u) * 0.5) * w + x * (x - nc) / h) * w +
            (x - nc) * (x - nc) * 0.5 / h;
    }
    const double Y = 2.0 / (s * s) + 2.0 + u * u, R = 1.0 / std::sqrt(h * Y), b = 1.0 / s / std::sqrt(Y);
    const auto whole = [](double base, int exponent) {
        double product = base;
        for (int n = 1; n < exponent; ++n) product = product * base;
        return product;
    };
    const double c3 = -(2.0 / 3.0) * whole(b, 3), c4 = whole(b, 4) / 2.0, c5 = -0.4 * whole(b, 5);
    const double c6 = whole(b, 6) / 3.0, c7 = -(2.0 / 7.0) * whole(b, 7);
    const double T1 = -3.0 * c4 + 7.5 * whole(c3, 2);
    const double T2 = -15.0 * c6 + 52.5 * whole(c4, 2) + 105.0 * c3 * c5 - 472.5 * whole(c3, 2) * c4 +
                      433.125 * whole(c3, 4);
    const double T3 = -105.0 * whole(b, 8) / 4.0 + 472.5 * whole(c5, 2) + 945.0 * c4 * c6 + 945.0 * c3 * c7 -
                      1732.5 * whole(c4, 3) - 5197.5 * whole(c3, 2) * c6 - 10395.0 * c3 * c4 * c5 +
                      22522.5 * whole(c3, 3) * c5 + 33783.75 * whole(c3, 2) * whole(c4, 2) -
                      84459.375 * whole(c3, 4) * c4 + 47860.3125 * whole(c3, 6);
    const double c = ((T3 / h + T2) / h + T1) / h + 1.0, l = std::log(K * R) - X * h;
    double density = K * c * R * std::exp(-X * h);
    if (std::log(c) + l < dru::impl::log_dbl_min) density = 0.0;
    if (std::log(c) + l > dru::impl::log_dbl_max) density = dru::impl::plus_infinity;
    return {density, l, c};
}

inline dru::impl::tail_pair t_nc_tails_large_df(double x, double D, double ncp) {
    const auto power = [](double base, double exponent) { return std::pow(base, exponent); };
    const double s = std::sqrt(D), u = x / s, dd = ncp / s, E = dd * dd + 4.0;
    const double b2 = std::sqrt(u * u * E + 4.0), b4 = 1.0 + u * u;
    const double sum = std::sqrt(dd * dd * u * u + 4.0 + 4.0 * u * u) + u * dd;
    const double g = sum * sum * power(2.0 * u * u + 2.0, -2.0), w = std::sqrt(g), b3 = dd - u * w;
    const double B = b3 * b3 + g - std::log(g) - 1.0, R = std::sqrt(B);
    const double f1 = u * E / b2 + dd, p = u * dd + b2, c3 = (3.0 * u * u - 1.0) * 0.5;
    const double w1 = 0.5 / b4 * f1 - u * p * power(b4, -2.0);
    const double w2 = p * c3 * power(b4, -3.0) - u * f1 * power(b4, -2.0) + power(b2, -3.0) * E / b4;
    const double w3 = -2.0 * u * (u * u - 1.0) * p * power(b4, -4.0) + f1 * c3 * power(b4, -3.0) -
                      2.0 * u * E * power(b2, -3.0) * power(b4, -2.0) - E * E * u * power(b2, -5.0) / b4;
    const double g1 = 2.0 * w * w1, a6 = u * w1 + w, g2 = w1 * w1 + 2.0 * w * w2;
    const double g3 = 2.0 * w * w3 + 2.0 * w1 * w2, a7 = -2.0 * b3 * a6 + g1 - g1 / g;
    const double a15 = w1 + u * w2, a16 = 2.0 * b3;
    const double a53 = a6 * a6 - a15 * a16 + g2 - g2 / g + 0.5 * (g1 * g1) * power(g, -2.0);
    const double a69 = (2.0 * a6 * a15 - a16 * (u * w3 + w2) + g3 - g3 / g + g1 * g2 * power(g, -2.0) -
                        g1 * g1 * g1 * power(g, -3.0) / 3.0) /
                       B;
    const double m1 = 0.5 * a7 / R, m2 = (0.5 * a53 / B - 0.125 * (a7 * a7) / B / B) * R, i1 = 1.0 / m1;
    const double a9 = u * dd * w + 2.0;
    const double K = 0.7071067811865476 * D * saddle_remainder(0.5 * D) * std::sqrt(2.0 * g / a9) / m1 *
                     std::sqrt(6.283185307179586 / D);
    const double zeta = R * s;
    const double n1 = -(power(m1, -3.0) * m2), n2 = dd * i1 * a6, n3 = a6 * n1 + i1 * i1 * a15;
    const double n4 = 0.5 * g1 * i1 / g - 0.5 * n2 / a9;
    const double n5 =
        (4.0 * g * g1 * n1 + 4.0 * g * g2 * i1 * i1 - g1 * g1 * i1 * i1) * power(g, -2.0) * 0.125 -
        0.25 * g1 * i1 * n2 / g / a9;
    const double n6 =
        3.0 *
        ((2.0 * m2 * m2 -
          m1 * (0.5 * a69 - 0.25 * a7 * a53 * power(B, -2.0) + 0.0625 * (a7 * a7 * a7) * power(B, -3.0)) *
              R) *
         power(m1, -5.0)) /
        i1;
    const double e1 = 2.0 * n1 / i1 + n4;
    const double e2 =
        n5 + 0.125 * (3.0 * n2 * n2 - 4.0 * a9 * dd * n3) * power(a9, -2.0) + 2.0 * n4 * n1 / i1 + n6;
    const double Qz = zeta >= 38.4638 ? 0.0 : dru::impl::normal_upper_tail(zeta);
    const double phi = std::exp(-0.5 * zeta * zeta) * 0.39894228040143265;
    const double T = Qz + e1 / s * (phi - Qz * zeta) + e2 / D * ((zeta * zeta + 1.0) * Qz - zeta * phi);
    const double a = w * u * dd;
    const double V = K * T * (1.0 - (9.0 * a + 8.0) * power(2.0 + a, -3.0) / 12.0 / D);
    if (dru::impl::is_nan(V)) return {dru::impl::sign_set_nan, dru::impl::sign_set_nan};
    if (ncp > x) return {-V, 1.0 + V};
    return {1.0 - V, V};
}

}  // namespace zolv_test::plain
