// kernels/incomplete_beta_remainder.cpp: what remains of the upper ratio once the whole steps of a are
// summed.
//
// Source: the continued fraction is the even-odd form for 1 - I_x with 0 <= a < 1 (the beta analogue of
//         Legendre's fraction); for b x < 1 the tail is Gamma(a)'s departure from its pole plus the power
//         series of x^a (1 - x)^(b - 1).
#include <cmath>

#include "frame/nan.hpp"
#include "kernels/incomplete_beta.hpp"
#include "kernels/polygamma.hpp"

namespace dru::impl {

namespace {

// Beyond this b the ratio of gammas is expanded in 1 / b.
constexpr double shift_expansion_b = 100.0;

// Below this a the ratio of gammas is expanded in a.
constexpr double shift_expansion_a = 0.001;

// Forward recurrence, neither rescaled nor capped. Numerators and denominators never shrink, so one that has
// overflowed ends the recurrence: the last convergent of finite parts is the answer.
//
// Oddity: the difference of the convergents is signed, a falling pair stops at once.
double upper_continued_fraction(double a, double b, double x) {
    const double y = 1.0 - x;
    const double r = y / x;
    double P1 = 1.0, P0 = 0.0, Q1 = 1.0, Q0 = 1.0;
    for (double j = 1.0;; j += 1.0) {
        const double before_P1 = P1, before_Q1 = Q1;
        const double m = 2.0 * j + b;
        const double alpha = (j - a) * r * (b + j - 1.0) / ((m - 2.0) * (m - 1.0));
        P0 = P0 * alpha + P1;
        Q0 = Q1 + alpha * Q0;
        const double beta = r * j * (j + b + a - 1.0) / ((m - 1.0) * m);
        P1 = P1 * beta + P0;
        Q1 = Q0 + beta * Q1;
        const double later = P1 * Q0, sooner = P0 * Q1;
        if (later - sooner > beta_surely_apart * sooner && later <= largest_double) continue;
        if (!is_finite(P0) || !is_finite(Q0)) return is_nan(a) ? a : before_P1 / before_Q1;
        const double c0 = P0 / Q0;
        if (!is_finite(P1) || !is_finite(Q1)) return c0;
        const double c1 = P1 / Q1;
        if (c1 - c0 < beta_remainder_tolerance * c0) return c1;
    }
}

}  // namespace

// Order: in the expansion for b > 100, a^2 (1 - a)^2 is (a a) ((1 - a) (1 - a)).
double gamma_shift_ratio(double a, double b) {
    if (b > shift_expansion_b) {
        const double e = 1.0 / b;
        const double c = a * (1.0 - a) * (1.0 - 2.0 * a);
        const double d = (a * a) * ((1.0 - a) * (1.0 - a)) / 12.0;
        const double v = (-(c * (1.0 + 3.0 * a - 3.0 * a * a) / 120.0 * e) - d) * e + c / 12.0;
        const double w = (v * e + 0.5 * a * (1.0 - a)) * e;
        return expm1_ratio(w) * w * gamma_stirling(a);
    }
    if (a >= shift_expansion_a) {
        return (std::pow(b, a) * gamma_stirling(b) / gamma_stirling(a + b) - 1.0) * gamma_stirling(a);
    }
    const double z = 1.0 + b;
    const double v = log1p_small(a / b) -
                     ((tetragamma(z) * a / 6.0 + 0.5 * trigamma(z)) * a + digamma(z) - std::log(b)) * a;
    return expm1_ratio(v) * v * gamma_stirling(a);
}

beta_small_remainder::beta_small_remainder(double a, double b)
    : a_(a), b_(b), prefix_(-gamma_one_minus_ratio(a) + gamma_shift_ratio(a, b)) {}

// The series has no cap: its terms fall like x^k, and a whole b ends it by a factor of zero.
double beta_small_remainder::operator()(double x) const {
    const double a = a_, b = b_;
    const double l = std::log(b * x);
    const double e = expm1_ratio(a * l);
    double t = std::pow(b * x, a) * x * (b - 1.0) / (1.0 + a);
    double sum = t;
    for (double k = 2.0;; k += 1.0) {
        t *= (a + k - 1.0) * -x * (b - k) / k / (a + k);
        sum += t;
        if (!(std::fabs(t) >= beta_remainder_tolerance) || is_infinite(t)) break;
    }
    return prefix_ - l * e + sum;
}

double beta_upper_small(double a, double b, double x) { return beta_small_remainder(a, b)(x); }

double beta_small_remainder::scaled(double x) const {
    return std::pow(b_ * x, 1.0 - a_) * (*this)(x) / std::exp(b_ * log1p_small(-x));
}

double beta_upper_fraction(double a, double b, double x) {
    if (b * x >= 1.0) return upper_continued_fraction(a, b, x);
    return beta_small_remainder(a, b).scaled(x);
}

}  // namespace dru::impl
