// kernels/incomplete_beta.cpp: the tails, the split point and the series forms of the two ratios.
#include "kernels/incomplete_beta.hpp"

#include <cmath>

#include "frame/nan.hpp"

namespace dru::impl {

namespace {

constexpr double ln_2 = 0.6931471805599453;

// From here on a b / (a + b) is large enough for the normal expansion: its first omitted term is of the order
// (a b / (a + b))^-2.
constexpr double normal_shape_limit = 10000.0;

// From here on b is so large that x b has the gamma limit to first order in 1 / b.
constexpr double gamma_limit_b = 1e15;

// A NaN counts as one.
bool underflows(double log_density) { return !(log_density >= log_dbl_min); }

}  // namespace

// For moderate shapes the median lies about a third of the way from the mean to the mode; for a small a it
// solves x^a / (a B(a, b)) = 1/2, the first term of the series at 0, in logarithms.
//
// Order: the difference of the two log gammas is formed before it joins L.
double beta_split_point(double a, double b) {
    if (a >= b) return 0.5;
    if (b >= 1.0 && a >= 0.6) return a / (a + b) - (b - a) * std::pow(a + b, -2.0) / 3.0;
    double L = log_gamma_shift(1.0 + a) - ln_2;
    if (b <= 1000.0) {
        L += log_gamma_shift(b) - log_gamma_shift(a + b);
    } else {
        L -= a * std::log(b);
    }
    if (L > -ln_2 * a) return 0.5;
    if (log_dbl_min * a > L) return 0.0;
    return std::exp(L / a);
}

beta_ratio_kernel::beta_ratio_kernel(double a, double b)
    : a_(a), b_(b), whole_a_(std::floor(a)), whole_b_(std::floor(b)), large_b_(b >= gamma_limit_b) {
    if (a * b / (a + b) >= normal_shape_limit) normal_.emplace(a, b);
}

double beta_ratio_kernel::lower(double x) const {
    if (normal_) return normal_->lower(x);
    if (large_b_) return beta_lower_ratio_large_b(a_, b_, x);
    return lower_series(x);
}

double beta_ratio_kernel::upper(double x) const {
    if (normal_) return normal_->upper(x);
    if (large_b_) return beta_upper_ratio_large_b(a_, b_, x);
    return upper_series(x);
}

// Counters are doubles: a shape of 1e10 has more whole steps than 32 bits hold, and doubles count exactly as
// far as any of these loops can run.
double beta_ratio_kernel::lower_series(double x) const {
    const double a = a_, b = b_, n = whole_b_;
    const double y = 1.0 - x;

    double k = 1.0;
    double v = 1.0;
    bool complete = false;
    while (k <= n) {
        v *= (b - k) * x / ((k + a) * y);
        if (v <= beta_series_epsilon) {
            complete = true;
            break;
        }
        if (!is_finite(v)) return v;  // overflowed, or a NaN point: no later factor brings it back
        k += 1.0;
    }

    double s = 1.0;
    if (!complete) {
        // b has been used up to its fraction b - n; the rest is the series in whole steps of a.
        const double u = a + n;
        const double w = (b - n) + u;
        double count = 0.0;
        v = 1.0;
        do {
            count += 1.0;
            v *= (w + count - 1.0) * x / (u + count);
        } while (v >= beta_remainder_tolerance && is_finite(v));
        s = 1.0 / y;
        for (double i = count; i >= 1.0; i -= 1.0) s = 1.0 + (w + i - 1.0) * x / (u + i) * s;
        s *= y;
        k = n;
    }
    for (double i = k; i >= 1.0; i -= 1.0) s = 1.0 + (b - i) * x / ((i + a) * y) * s;
    return s * x / a;
}

void beta_ratio_kernel::prepare_small_remainder() { small_.emplace(a_ - whole_a_, b_ + whole_a_); }

bool beta_ratio_kernel::small_remainder_reachable(double x_min) const {
    return !normal_ && !large_b_ && whole_a_ != a_ && !((b_ + whole_a_) * x_min >= 1.0);
}

// What the whole steps of a leave over: the shapes are then its fraction and b plus those steps.
double beta_ratio_kernel::upper_remainder(double x) const {
    const double fraction = a_ - whole_a_;
    const double c = b_ + whole_a_;
    if (x * c == 0.0) return 0.0;
    if (small_ && takes_small_remainder(x)) return small_->scaled(x);
    return beta_upper_fraction(fraction, c, x);
}

double beta_ratio_kernel::upper_series(double x) const {
    const double a = a_, b = b_, n = whole_a_;
    const double y = 1.0 - x;

    double k = 1.0;
    double v = 1.0;
    bool complete = false;
    while (k <= n) {
        v *= (a - k) * y / ((k + b) * x);
        if (v <= beta_series_epsilon) {
            complete = true;
            break;
        }
        if (!is_finite(v) && k < n) return v;  // at k = n the remainder, which may be small, is still to come
        k += 1.0;
    }

    double s = 0.0;
    if (!complete) {
        k = n;
        s = upper_remainder(x);
    }
    for (double i = k; i >= 1.0; i -= 1.0) s = 1.0 + (a - i) * y / ((b + i) * x) * s;
    return s * y / b;
}

double beta_lower_ratio(double a, double b, double x) { return beta_ratio_kernel(a, b).lower(x); }

double beta_upper_ratio(double a, double b, double x) { return beta_ratio_kernel(a, b).upper(x); }

beta_tail_kernel::beta_tail_kernel(double a, double b, single_point)
    : split_point_(beta_split_point(a, b)), log_density_(a, b), ratio_(a, b) {}

beta_tail_kernel::beta_tail_kernel(double a, double b) : beta_tail_kernel(a, b, single_point{}) {
    if (ratio_.small_remainder_reachable(split_point_)) ratio_.prepare_small_remainder();
}

// Oddity: x at the split point itself belongs to the lower tail, the reverse of the gamma kernels.
//
// Shapes so large that their variance underflows leave a NaN, with a sign that is each compiler's own.
tail_pair beta_tail_kernel::tails(double x, double L, double ratio) const {
    constexpr tail_pair undefined = {sign_set_nan, sign_set_nan};
    const double tail = underflows(L) ? 0.0 : ratio * std::exp(L);
    if (is_nan(tail)) return undefined;
    if (x <= split_point_) return {tail, 1.0 - tail};
    return {1.0 - tail, tail};
}

tail_pair beta_tail_kernel::operator()(double x) const {
    if (x == 0.0) return {0.0, 1.0};
    const double L = log_density_(x);
    if (underflows(L)) return tails(x, L, 0.0);
    return tails(x, L, x <= split_point_ ? ratio_.lower(x) : ratio_.upper(x));
}

tail_pair beta_tails(double x, double a, double b) {
    if (x == 0.0) return {0.0, 1.0};
    return beta_tail_kernel(a, b, beta_tail_kernel::single_point{})(x);
}

}  // namespace dru::impl
