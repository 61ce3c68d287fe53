// kernels/incomplete_gamma.cpp: the ratios of tail to density, and the choice between the two tails.
//
// Order: a finite series is passed over twice. The first pass only counts, until the terms no longer matter;
//        the second sums backward by Horner's rule, from the smallest term upward, and stores none. Counts
//        are kept in doubles, exact up to 2^53: no shape is too large to be counted.
#include "kernels/incomplete_gamma.hpp"

#include <cmath>

#include "frame/nan.hpp"
#include "kernels/normal.hpp"

namespace dru::impl {
namespace {

// A term at or below this, relative to the first, is the last one; the fraction stops by it as well.
constexpr double series_epsilon = 2.220446049250313e-16;
// The remainder series stops by this one.
constexpr double remainder_epsilon = 1e-14;

constexpr double log_two = 0.6931471805599453;
constexpr double euler_constant = 0.5772156649015329;

// Below median_floor_shape = -ln 2 / (ln(5e-101) + Euler's constant) the estimate is held at 5e-101, the
// value that the exponential form has come down to there.
constexpr double median_floor = 5e-101;
constexpr double median_floor_shape = 0.003008785080964693;

// Oddity: a product that is a NaN (a density of 0 times an infinite ratio) counts as 1.
double clamped_tail(double product) { return product < 1.0 ? product : 1.0; }

double lower_series(double a, double x) {
    double t = x / a;
    double j = 1.0;
    while (t >= series_epsilon) {
        t *= x / (j + a);
        if (is_infinite(t)) return t;  // so does the sum overflow; t itself would never come down again
        j += 1.0;
    }
    double s = 0.0;
    for (double i = j - 1.0; i >= 0.0; i -= 1.0) s = (s + 1.0) * x / (i + a);
    return s;
}

// Legendre's continued fraction of the upper tail by forward recurrence, x > 1. The convergents c0 and c1
// close in from below and above; the difference is signed.
//
// It is neither rescaled nor capped. Just above x = 1 it takes some hundred steps, and once in some 2e8
// arguments the last bits of the convergents keep it going until the recurrence overflows, at step 167 or
// so: then the last finite convergent is the answer.
double upper_continued_fraction(double a, double x) {
    double p1 = 1.0, p0 = 0.0, q1 = 1.0, q0 = 1.0;
    double last = 1.0;
    for (double j = 1.0;; j += 1.0) {
        p0 = p0 * (j - a) / x + p1;
        q0 = q1 + (j - a) * q0 / x;
        p1 = p1 * j / x + p0;
        q1 = q0 + j * q1 / x;
        if (!is_finite(p0) || !is_finite(q0)) return is_nan(a) ? a : last;
        const double c0 = p0 / q0;
        if (!is_finite(p1) || !is_finite(q1)) return c0;
        const double c1 = p1 / q1;
        if (!(c1 - c0 >= c0 * series_epsilon)) return c1;
        last = c1;
    }
}

// gamma_upper_fraction, with gamma_one_minus_ratio(a) asked for only where it is needed.
template <class OneMinusRatio>
double upper_fraction(double a, double x, OneMinusRatio one_minus_ratio) {
    if (x > 1.0) return upper_continued_fraction(a, x);
    double t = std::pow(x, a + 1.0) / (a + 1.0);
    double sum = t;
    double k = 2.0;
    do {
        t = -t * x * (a + k - 1.0) / k / (a + k);
        sum += t;
        k += 1.0;
    } while (std::fabs(t) >= remainder_epsilon && is_finite(t));
    const double log_x = std::log(x);
    return (-one_minus_ratio() - log_x * expm1_ratio(a * log_x) + sum) * std::pow(x, 1.0 - a) * std::exp(x);
}

// The upper series for whole = floor(a). A negative or NaN shape runs neither pass beyond its first step.
template <class OneMinusRatio>
double upper_series(double a, double whole, double x, OneMinusRatio one_minus_ratio) {
    double v = 1.0;
    double k = 1.0;
    while (k <= whole) {
        v *= (a - k) / x;
        if (!(v > series_epsilon)) break;
        if (is_infinite(v) && k < whole) return v;  // v is a term of the sum, which overflows with it
        k += 1.0;
    }
    double s = 0.0;
    if (k == whole + 1.0) {
        k = whole;
        s = upper_fraction(a - whole, x, one_minus_ratio);
    }
    for (double i = k; i >= 1.0; i -= 1.0) s = 1.0 + (a - i) / x * s;
    return s;
}

// The expansion in e = 1 / sqrt(a) about the normal tail: the ratio is (M A +- B) sqrt(a), with the Mills
// ratio M at -t for the lower and at t for the upper tail. The polynomials are those of the incomplete beta
// function's large-shape form at p = 0.
struct normal_expansion {
    double root, t, A, B;

    normal_expansion(double a, double x) : root(std::sqrt(a)), t((x - a) / root) {
        const double T = t * t;
        const double e = 1.0 / root;
        const double C3 = -((((10.0 * T + 45.0) * T - 81.0) * T + 45.0) * T - 135.0) * t / 1620.0;
        const double C2 = ((2.0 * T - 3.0) * T * T + 3.0) / 36.0;
        const double C1 = -(T - 3.0) * t / 3.0;
        A = ((C3 * e + C2) * e + C1) * e + 1.0;
        const double D3 = -((((10.0 * T + 35.0) * T - 96.0) * T + 111.0) * T - 48.0) / 1620.0;
        const double D2 = ((2.0 * T - 5.0) * T + 9.0) * t / 36.0;
        const double D1 = -(T - 1.0) / 3.0;
        B = ((D3 * e + D2) * e + D1) * e;
    }
};

// Which tail is computed: x at the median estimate takes the upper one.
template <class LowerRatio, class UpperRatio>
tail_pair tails_from(double x, double median, double log_density, LowerRatio lower_ratio,
                     UpperRatio upper_ratio) {
    const double f = std::exp(log_density);
    if (x < median) {
        const double lower = clamped_tail(f * lower_ratio());
        return {lower, 1.0 - lower};
    }
    const double upper = clamped_tail(f * upper_ratio());
    return {1.0 - upper, upper};
}

}  // namespace

double gamma_median_estimate(double a) {
    if (a > 4.5) return a - 0.3333333333333333;
    if (a < 1e-100) return 0.0;
    if (a >= median_floor_shape) return std::exp(-log_two / a - euler_constant);
    return median_floor;
}

double gamma_lower_ratio_normal(double a, double x) {
    const normal_expansion n(a, x);
    return (normal_mills_ratio(-n.t) * n.A + n.B) * n.root;
}

double gamma_upper_ratio_normal(double a, double x) {
    const normal_expansion n(a, x);
    return (normal_mills_ratio(n.t) * n.A - n.B) * n.root;
}

double gamma_lower_ratio(double a, double x) {
    return a > gamma_normal_shape ? gamma_lower_ratio_normal(a, x) : lower_series(a, x);
}

double gamma_upper_fraction(double a, double x) {
    return upper_fraction(a, x, [a] { return gamma_one_minus_ratio(a); });
}

double gamma_upper_ratio_series(double a, double x) {
    if (a > gamma_series_shape) return gamma_upper_ratio_normal(a, x);
    const double whole = std::floor(a);
    return upper_series(a, whole, x, [a, whole] { return gamma_one_minus_ratio(a - whole); });
}

double gamma_upper_ratio(double a, double x) {
    return a > gamma_normal_shape ? gamma_upper_ratio_normal(a, x) : gamma_upper_ratio_series(a, x);
}

tail_pair gamma_tails(double x, double a) {
    return tails_from(
        x, gamma_median_estimate(a), log_gamma_pdf(a, x), [&] { return gamma_lower_ratio(a, x); },
        [&] { return gamma_upper_ratio(a, x); });
}

gamma_tail_kernel::gamma_tail_kernel(double a)
    : log_density_(a),
      median_(gamma_median_estimate(a)),
      whole_(std::floor(a)),
      fraction_(a - whole_),
      one_minus_ratio_(gamma_one_minus_ratio(fraction_)) {}

double gamma_tail_kernel::lower_ratio(double x) const { return gamma_lower_ratio(shape(), x); }

double gamma_tail_kernel::upper_ratio(double x) const {
    const double a = shape();
    if (a > gamma_normal_shape) return gamma_upper_ratio_normal(a, x);
    return upper_series(a, whole_, x, [this] { return one_minus_ratio_; });
}

tail_pair gamma_tail_kernel::operator()(double x) const {
    return tails_from(
        x, median_, log_density_(x), [&] { return lower_ratio(x); }, [&] { return upper_ratio(x); });
}

}  // namespace dru::impl
