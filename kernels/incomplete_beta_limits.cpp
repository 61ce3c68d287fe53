// kernels/incomplete_beta_limits.cpp: the ratios of tail to density for large shapes.
//
// Source: expansion of the beta density about the normal one in e = 1 / sqrt(a b / (a + b)), to e^3, divided
//         by the density at the point; and about the gamma density in 1 / b, to first order.
// Order:  powers of t, q and a + b are std::pow (an exponent of exactly 2 is a product); c = p p is a
// product.
#include <cmath>

#include "frame/nan.hpp"
#include "kernels/incomplete_beta.hpp"
#include "kernels/incomplete_gamma.hpp"
#include "kernels/normal.hpp"

namespace dru::impl {

namespace {

constexpr double series_epsilon = 2.220446049250313e-16;

}  // namespace

beta_normal_form::beta_normal_form(double a, double b) {
    const double p = a / (a + b);
    const double q = 1.0 - 2.0 * p;
    const double c = p * p;
    const double h = 1.0 - p + c;
    const double g = 2.0 + p - c;
    const double q2 = q * q;
    p_ = p;
    minus_q_ = -q;
    sigma_ = std::sqrt(a * b * std::pow(a + b, -3.0));
    e_ = 1.0 / std::sqrt(a * b / (a + b));

    t9_ = 10.0 * q2;
    t7_ = 45.0 * h;
    t5_ = 27.0 * (3.0 - p + c);
    t3_ = 45.0 * h;
    t1_ = 135.0 * h;

    u6_ = 2.0 * q2;
    u4_ = 3.0 * (1.0 - 7.0 * p + 7.0 * c);
    u2_ = 36.0 * p * (1.0 - p);
    u0_ = 3.0 * h;

    v8_ = 10.0 * q2;
    v6_ = 5.0 * (7.0 - p + c);
    v4_ = 48.0 * g;
    v2_ = 3.0 * (37.0 + 131.0 * p - 131.0 * c);
    v0_ = 24.0 * g;

    w5_ = 2.0 * q2;
    w3_ = 5.0 - 29.0 * p + 29.0 * c;
    w1_ = 9.0 * (1.0 - 5.0 * p + 5.0 * c);
}

beta_normal_form::expansion beta_normal_form::at(double t) const {
    const double t2 = t * t;
    const double t3 = std::pow(t, 3.0);
    const double t4 = std::pow(t, 4.0);
    const double t5 = std::pow(t, 5.0);
    const double t6 = std::pow(t, 6.0);
    const double t7 = std::pow(t, 7.0);
    const double t8 = std::pow(t, 8.0);
    const double t9 = std::pow(t, 9.0);

    const double C3 = minus_q_ * (t9_ * t9 + t7_ * t7 - t5_ * t5 + t3_ * t3 - t1_ * t) / 1620.0;
    const double C2 = (u6_ * t6 - u4_ * t4 - u2_ * t2 + u0_) / 36.0;
    const double C1 = minus_q_ * (t3 - 3.0 * t) / 3.0;
    const double D3 = minus_q_ * (v8_ * t8 + v6_ * t6 - v4_ * t4 + v2_ * t2 - v0_) / 1620.0;
    const double D2 = (w5_ * t5 - w3_ * t3 + w1_ * t) / 36.0;
    const double D1 = minus_q_ * (t2 - 1.0) / 3.0;
    return {((C3 * e_ + C2) * e_ + C1) * e_ + 1.0, ((D3 * e_ + D2) * e_ + D1) * e_};
}

double beta_normal_form::lower(double x) const {
    const double t = (x - p_) / sigma_;
    const auto [A, B] = at(t);
    return (normal_mills_ratio(-t) * A + B) * sigma_;
}

double beta_normal_form::upper(double x) const {
    const double t = (x - p_) / sigma_;
    const auto [A, B] = at(t);
    return (normal_mills_ratio(t) * A - B) * sigma_;
}

double beta_lower_ratio_normal(double a, double b, double x) { return beta_normal_form(a, b).lower(x); }

double beta_upper_ratio_normal(double a, double b, double x) { return beta_normal_form(a, b).upper(x); }

double beta_lower_ratio_large_b(double a, double b, double x) {
    const double l = x * b;
    const double e = 1.0 / b;
    double t = l / a;
    double j = 1.0;
    while (t >= series_epsilon) {
        if (is_infinite(t)) return t;  // no later factor brings it back
        t *= l / (a + j);
        j += 1.0;
    }
    double s = 0.0;
    for (double i = j - 1.0; i >= 0.0; i -= 1.0) s = (s + 1.0) * l / (i + a);
    return (s * ((l * l - 2.0 * l - (a - 1.0) * a) * 0.5 * e + 1.0) + e * (l + a - 1.0) * l * 0.5) / b;
}

double beta_upper_ratio_large_b(double a, double b, double x) {
    const double l = x * b;
    const double e = 1.0 / b;
    const double s = gamma_upper_ratio_series(a, l);
    return (s * ((l * l - 2.0 * l - (a - 1.0) * a) * 0.5 * e + 1.0) - e * (l + a - 1.0) * l * 0.5) / b;
}

}  // namespace dru::impl
