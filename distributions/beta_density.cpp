#include "distributions/beta_density.hpp"

#include <cmath>

#include "frame/nan.hpp"
#include "quantiles/noncentral_sums.hpp"

namespace dru::impl {

namespace {

constexpr double count_tolerance = 1e-14;

}  // namespace

double beta_nc_density::operator()(double y) const {
    if (is_nan(y)) return sign_set_nan;
    if (is_infinite(y) || y < 0.0) return 0.0;
    if (y == 0.0) {
        if (a_ < 1.0) return plus_infinity;
        if (a_ == 1.0) return l_ == 0.0 ? b_ : std::exp(-l_) * b_;
        return 0.0;
    }
    if (y == 1.0) {
        if (b_ < 1.0) return plus_infinity;
        if (b_ == 1.0) return l_ == 0.0 ? a_ : a_ + l_;
        return 0.0;
    }
    if (y > 1.0) return 0.0;
    if (l_ == 0.0) return std::exp(y < 0.5 ? central_(y) : mirrored_(1.0 - y));
    return mixture(y);
}

double beta_nc_density::mixture(double y) const {
    if (!(l_ > 0.0) || is_infinite(l_)) return sign_set_nan;
    const double a = a_, b = b_, c = c_;
    const double g = y * l_;
    const double R = std::sqrt((a - 1.0) * (a - 1.0) + (g - 1.0) * (g - 1.0) + 2.0 * g * (2.0 * b + a) - 1.0);
    const double peak = std::ceil(((g - 2.0) * a + (4.0 * b + g - 2.0) * 0.5 * g) / (1.0 + a + R) + 0.5 * g);
    const double k =
        peak > 0.0 ? peak : 0.0;  // a radicand that rounds below 0 gives a NaN, which counts as 0
    const double P = log_poisson_pmf(k, l_);
    const double Q = y <= 0.5 ? log_beta_pdf(a + k, b, y) : log_beta_pdf(b, a + k, 1.0 - y);
    if (Q + P < log_dbl_min) return 0.0;
    if (!(k <= largest_index)) return sign_set_nan;
    const double T = std::exp(Q + P);
    if (is_nan(T)) return sign_set_nan;

    // Upward: term m + 1 over term m.
    const auto rise = [a, c, g](double m) { return (c + m) * g / (1.0 + m) / (a + m); };
    double v = 1.0;
    double M = k;
    double I = 0.0;
    for (;; I += 1.0) {
        M = I + k;
        v *= rise(M);
        if (!(v >= count_tolerance)) break;
    }
    double s = 0.0;
    for (double j = 0.0; j <= I; j += 1.0) s = (s + 1.0) * rise(M - j);
    if (k == 0.0) return T * (s + 1.0);

    // Downward: term m - 1 over term m. The product order differs between the count and the sum.
    v = 1.0;
    for (I = 0.0;; I += 1.0) {
        M = k - I;
        v *= c + M == 1.0 ? 0.0 : (a + M - 1.0) * M / g / (c + M - 1.0);
        if (!(v >= count_tolerance)) break;
    }
    double w = 0.0;
    for (double j = 0.0; j <= I; j += 1.0) {
        const double m = j + M;
        w = (w + 1.0) * (c + m == 1.0 ? 0.0 : m * (a + m - 1.0) / g / (c + m - 1.0));
    }
    return T * (s + 1.0 + w);
}

double beta_pdf(double y, double a, double b, double nc) { return beta_nc_density(a, b, nc)(y); }

f_density::f_density(double d1, double d2, double nc)
    : a_(d1 / 2.0),
      b_(d2 / 2.0),
      nc_(nc),
      log_scale_(std::log(a_ / b_)),
      beta_(a_, b_, nc),
      central_(a_, b_),
      mirrored_(b_, a_) {}

// On the mirror w = 1 - y the noncentrality plays no part.
double f_density::mirrored_density(double w) const {
    if (w == 0.0) {
        if (b_ < 1.0) return plus_infinity;
        return b_ == 1.0 ? a_ : 0.0;
    }
    if (w == 1.0) {
        if (a_ < 1.0) return plus_infinity;
        return a_ == 1.0 ? b_ : 0.0;
    }
    return std::exp(w < 0.5 ? mirrored_(w) : central_(1.0 - w));
}

double f_density::operator()(double x) const {
    if (is_nan(x)) return sign_set_nan;
    if (is_infinite(x) || x < 0.0) return 0.0;
    const double t = x * a_;
    const double y = t / (b_ + t);
    // Oddity: a negative noncentrality is dropped on the mirrored half and honoured on the other.
    const bool mirror = y >= 0.5 && nc_ <= 0.0;
    const double D = mirror ? mirrored_density(b_ / (b_ + t)) : beta_(y);
    if (is_nan(D) && y > 0.0 && y < 1.0) return sign_set_nan;
    if (!(D > 0.0)) return 0.0;
    const double e = t / b_;
    return std::exp(std::log(D) + log_scale_ - 2.0 * log1p_small(e));
}

}  // namespace dru::impl
