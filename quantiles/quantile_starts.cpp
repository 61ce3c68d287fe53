#include "quantiles/quantile_starts.hpp"

#include <cmath>

#include "kernels/log_gamma.hpp"

namespace dru::impl {

namespace {

// From here on the asymptotic series of the polygammas hold; smaller arguments are shifted up.
constexpr double polygamma_shift_limit = 10.0;

// Below this shape ln Gamma(1 + a) / a is a Taylor polynomial: the quotient would cancel.
constexpr double taylor_limit = 0.0025;

// Smallest shape and largest b for which three gamma values are multiplied out.
constexpr double gamma_values_shape = 0.001;
constexpr double gamma_values_b = 100.0;

constexpr double minus_ln_2 = -0.6931471805599453;

}  // namespace

// The Taylor constants are pi^4/15 (over 24), -zeta(3)/3, pi^2/12 and minus Euler's constant.
double log_gamma1p_over(double a) {
    if (a <= taylor_limit) {
        return ((6.493939402266829 * a / 24.0 + -0.4006856343865313) * a + 0.822467033424113) * a +
               -0.5772156649015329;
    }
    return log_gamma_shift(1.0 + a) / a;
}

// Source: Abramowitz & Stegun 6.3.18, by the recurrence 6.3.5; the coefficients are B_2m / (2m).
double digamma(double u) {
    if (u < 1e-12) return -1.0 / u;
    double y = u;
    double t = 0.0;
    for (; y < polygamma_shift_limit; y += 1.0) t += 1.0 / y;
    const double w = 1.0 / (y * y);
    return std::log(y) - 0.5 / y -
           ((((((0.08333333333333334 * w - 0.02109279609279609) * w + 0.007575757575757576) * w -
               0.004166666666666667) *
                  w +
              0.003968253968253968) *
                 w -
             0.008333333333333333) *
                w +
            0.08333333333333333) *
               w -
           t;
}

// Source: Abramowitz & Stegun 6.4.12, by the recurrence 6.4.6; the coefficients are the Bernoulli numbers.
double trigamma(double u) {
    if (u < 1e-6) return 1.0 / (u * u);
    double y = u;
    double t = 0.0;
    for (; y < polygamma_shift_limit; y += 1.0) t += 1.0 / (y * y);
    const double w = 1.0 / (y * y);
    return 1.0 / y + 0.5 / (y * y) +
           ((((((1.1666666666666667 * w - 0.2531135531135531) * w + 0.07575757575757576) * w -
               0.03333333333333333) *
                  w +
              0.023809523809523808) *
                 w -
             0.03333333333333333) *
                w +
            0.16666666666666666) *
               w / y +
           t;
}

// Source: Abramowitz & Stegun 6.4.13, by the recurrence 6.4.6; the coefficients are (2m + 1) B_2m.
double tetragamma(double u) {
    if (u < 0.0001) return -2.0 / (u * u * u);
    double y = u;
    double t = 0.0;
    for (; y < polygamma_shift_limit; y += 1.0) t += 2.0 / (y * y * y);
    const double w = 1.0 / (y * y);
    return -1.0 / (y * y) - 1.0 / (y * y * y) -
           ((((((17.5 * w - 3.2904761904761903) * w + 0.8333333333333334) * w - 0.3) * w +
              0.16666666666666666) *
                 w -
             0.16666666666666666) *
                w +
            0.5) *
               w * w -
           t;
}

// gamma_values: three gamma functions.
// large_b:      the ratio of gammas expanded in 1 / b.
// small_a:      expanded in a about b + 1; ln(1 + a / b) takes it there from b.
// small_b:      expanded in b about a + 1; ln(1 + b / a) takes it there from a.
beta_small_start::beta_small_start(double a, double b) : a_(a), term_{} {
    const double smaller = b < a ? b : a;
    if (smaller >= gamma_values_shape && b <= gamma_values_b) {
        form_ = form::gamma_values;
        term_[0] = gamma_stirling(1.0 + a);
        term_[1] = gamma_stirling(b);
        term_[2] = gamma_stirling(a + b);
    } else if (b > gamma_values_b) {
        form_ = form::large_b;
        const double w = 1.0 / b;
        const double c = 1.0 - a;
        term_[0] = ((-(c * c * a) / 12.0 * w + (1.0 - 2.0 * a) * c / 12.0) * w + 0.5 * c) * w;
        term_[1] = log_gamma1p_over(a);
        term_[2] = std::log(b);
    } else if (a < gamma_values_shape) {
        form_ = form::small_a;
        const double u = b + 1.0;
        term_[0] = log1p_small(a / b);
        term_[1] = log_gamma1p_over(a);
        term_[2] = digamma(u);
        term_[3] = 0.5 * a * trigamma(u);
        term_[4] = a * a * tetragamma(u) / 6.0;
    } else {
        form_ = form::small_b;
        const double u = a + 1.0;
        term_[0] = std::log(a / b);
        term_[1] = log1p_small(b / a);
        term_[2] = b * log_gamma1p_over(b);
        term_[3] = b * digamma(u);
        term_[4] = 0.5 * b * b * trigamma(u);
        term_[5] = b * b * b * tetragamma(u) / 6.0;
    }
}

// The logarithm of the quantile by the first term of the series.
//
// Oddity: 1 - p stands in the product of gamma values as it is, everywhere else ln(1 - p) is taken without
// forming it.
double beta_small_start::log_estimate(double p, unsigned char upper) const {
    if (form_ == form::gamma_values) {
        return std::log((upper != 0 ? 1.0 - p : p) * term_[0] * term_[1] / term_[2]) / a_;
    }
    const double log_p = upper != 0 ? log1p_small(-p) : std::log(p);
    if (form_ == form::large_b) return term_[0] + log_p / a_ + term_[1] - term_[2];
    if (form_ == form::small_a) return (log_p + term_[0]) / a_ + term_[1] - term_[2] - term_[3] - term_[4];
    return (log_p + term_[0] + term_[1] + term_[2] - term_[3] - term_[4] - term_[5]) / a_;
}

double beta_small_start::operator()(double p, unsigned char upper) const {
    const double t = log_estimate(p, upper);
    if (t < log_dbl_min) return 0.0;
    if (t > minus_ln_2) return 0.5;
    return std::exp(t);
}

double beta_left_small_start(double p, double a, double b) { return beta_small_start(a, b)(p, 0); }
double beta_right_small_start(double p, double a, double b) { return beta_small_start(a, b)(p, 1); }

}  // namespace dru::impl
