#include "distributions/gamma_density.hpp"

#include <cmath>

#include "frame/nan.hpp"
#include "kernels/log_gamma_lanes.hpp"
#include "quantiles/noncentral_sums.hpp"

namespace dru::impl {

namespace {

constexpr double count_tolerance = 1e-14;

}  // namespace

double gamma_nc_density::operator()(double x) const {
    if (is_nan(x)) return sign_set_nan;
    if (is_infinite(x) || x < 0.0) return 0.0;
    if (x == 0.0) {
        if (a_ < 1.0) return plus_infinity;
        return a_ == 1.0 ? std::exp(-l_) : 0.0;
    }
    if (l_ != 0.0) return mixture(x);
    const double density = std::exp(central_(x));
    return is_nan(density) ? sign_set_nan : density;  // shape 1 at a subnormal x
}

void gamma_nc_density::at_halves(const double* x, std::uint64_t n, double* out) const {
    const auto inside = [](double y) { return y > 0.0 && y <= largest_double; };
    std::uint64_t i = 0;
    for (; l_ == 0.0 && i + lane_count <= n; i += lane_count) {
        const lane_array y{x[i] / 2.0, x[i + 1] / 2.0, x[i + 2] / 2.0, x[i + 3] / 2.0};
        const lane_array logs = log_densities_in_step(central_, y);
        for (std::size_t l = 0; l < lane_count; ++l) {
            const double density = inside(y[l]) ? std::exp(logs[l]) : (*this)(y[l]);
            out[i + l] = 0.5 * (is_nan(density) ? sign_set_nan : density);
        }
    }
    for (; i < n; ++i) out[i] = 0.5 * (*this)(x[i] / 2.0);
}

double gamma_nc_density::mixture(double x) const {
    const double a = a_, l = l_;
    const double root = std::sqrt(square_ + 4.0 * l * x);
    const double peak = std::ceil(-(1.0 + a) / 2.0 + 0.5 * root);
    if (is_nan(peak)) return sign_set_nan;
    const double k = peak > 0.0 ? peak : 0.0;
    const double P = log_poisson_pmf(k, l);
    const double G = k == 0.0 ? central_(x) : log_gamma_pdf(a + k, x);
    if (P + G < log_dbl_min) return 0.0;
    if (!(k <= largest_index)) return sign_set_nan;
    const double T = std::exp(P + G);
    if (is_nan(T)) return sign_set_nan;

    // Upward: term m + 1 over term m.
    const auto rise = [a, l, x](double m) { return l * x / (1.0 + m) / (a + m); };
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

    // Downward: term m - 1 over term m. The product order differs between the count and the sum.
    v = 1.0;
    for (I = 0.0;; I += 1.0) {
        M = k - I;
        v *= (a + M - 1.0) * M / l / x;
        if (!(v >= count_tolerance)) break;
    }
    double w = 0.0;
    for (double j = 0.0; j <= I; j += 1.0) {
        const double m = j + M;
        w = (w + 1.0) * (m * (a + m - 1.0) / l / x);
    }
    return T * (s + 1.0 + w);
}

double gamma_nc_pdf(double x, double a, double l) { return gamma_nc_density(a, l)(x); }

}  // namespace dru::impl
