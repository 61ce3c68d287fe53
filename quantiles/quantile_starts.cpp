#include "quantiles/quantile_starts.hpp"

#include <cmath>

#include "kernels/log_gamma.hpp"
#include "kernels/polygamma.hpp"

namespace dru::impl {

namespace {

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
