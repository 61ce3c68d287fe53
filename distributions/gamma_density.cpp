#include "distributions/gamma_density.hpp"

#include <array>
#include <cmath>

#include "distributions/term_ratios.hpp"
#include "frame/nan.hpp"
#include "kernels/log_gamma_lanes.hpp"
#include "quantiles/noncentral_sums.hpp"

namespace dru::impl {

namespace {

// Of shape 1 at a subnormal x.
double settled_nan(double density) { return is_nan(density) ? sign_set_nan : density; }

}  // namespace

double gamma_nc_density::operator()(double x) const {
    if (is_nan(x)) return sign_set_nan;
    if (is_infinite(x) || x < 0.0) return 0.0;
    if (x == 0.0) {
        if (a_ < 1.0) return plus_infinity;
        return a_ == 1.0 ? std::exp(-l_) : 0.0;
    }
    if (l_ != 0.0) return sum_from(start_at(x), x);
    return settled_nan(std::exp(central_(x)));
}

// Four points 0 < x < infinity in step, where all of them have terms on both sides of their largest one.
lane_array gamma_nc_density::mixture(const lane_array& points) const {
    std::array<start, lane_count> at;
    bool in_step = true;
    lane_values k, T;
    for (std::size_t l = 0; l < lane_count; ++l) {
        at[l] = start_at(points[l]);
        in_step = in_step && at[l].k > 0.0 && at[l].k < most_in_step;
        k.set(static_cast<int>(l), at[l].k);
        T.set(static_cast<int>(l), at[l].T);
    }
    const double a = a_, mean = l_;
    const lane_values x = values_of(points), mean_x = mean * x;
    const auto rise = [&](double i) {
        const lane_values m = i + k;
        return mean_x / (1.0 + m) / (a + m);
    };
    const auto fall = [&](double i) {
        const lane_values m = k - i;
        return (a + m - 1.0) * m / mean / x;
    };
    lane_values s, w;
    if (in_step && sum_side_in_step(rise, s) && sum_side_in_step(fall, w)) return array_of(T * (s + 1.0 + w));
    lane_array result;
    for (std::size_t l = 0; l < lane_count; ++l) result[l] = sum_from(at[l], points[l]);
    return result;
}

void gamma_nc_density::at_halves(const double* x, std::uint64_t n, double* out) const {
    std::uint64_t i = 0;
    for (; i + lane_count <= n; i += lane_count) {
        const lane_array y{x[i] / 2.0, x[i + 1] / 2.0, x[i + 2] / 2.0, x[i + 3] / 2.0};
        bool inside = true;
        for (const double at : y) inside = inside && at > 0.0 && at <= largest_double;
        if (!inside) {
            for (std::size_t l = 0; l < lane_count; ++l) out[i + l] = 0.5 * (*this)(y[l]);
            continue;
        }
        lane_array density;
        if (l_ == 0.0) {
            density = log_densities_in_step(central_, y);
            for (double& at : density) at = settled_nan(std::exp(at));
        } else {
            density = mixture(y);
        }
        for (std::size_t l = 0; l < lane_count; ++l) out[i + l] = 0.5 * density[l];
    }
    for (; i < n; ++i) out[i] = 0.5 * (*this)(x[i] / 2.0);
}

gamma_nc_density::start gamma_nc_density::start_at(double x) const {
    const auto settled = [](double answer) { return start{0.0, 0.0, true, answer}; };
    const double a = a_, l = l_;
    const double root = std::sqrt(square_ + 4.0 * l * x);
    const double peak = std::ceil(-(1.0 + a) / 2.0 + 0.5 * root);
    if (is_nan(peak)) return settled(sign_set_nan);
    const double k = peak > 0.0 ? peak : 0.0;
    const double P = log_poisson_pmf(k, l);
    const double G = k == 0.0 ? central_(x) : log_gamma_pdf(a + k, x);
    if (P + G < log_dbl_min) return settled(0.0);
    if (!(k <= largest_index)) return settled(sign_set_nan);
    const double T = std::exp(P + G);
    if (is_nan(T)) return settled(sign_set_nan);
    return {k, T, false, 0.0};
}

double gamma_nc_density::sum_from(const start& at, double x) const {
    if (at.settled) return at.answer;
    const double a = a_, l = l_, k = at.k, T = at.T;

    // Term m + 1 over term m upward, term m - 1 over term m downward.
    const auto rise_at = [a, l, x](double m) { return l * x / (1.0 + m) / (a + m); };
    const auto rise = [rise_at, k](double i) { return rise_at(i + k); };
    const auto fall = [a, l, x, k](double i) {
        const double m = k - i;
        return (a + m - 1.0) * m / l / x;
    };
    term_ratios rises(rise);
    term_ratios falls(fall);
    term_count up, down;
    down.running = k > 0.0;  // at 0 its first ratio is 0
    count_terms(rises, up, falls, down);
    auto [s, w] = sum_terms(rises, up.last, falls, k > 0.0 ? down.last : -1.0);
    const double M = up.last + k;
    if (M >= largest_index) s = sum_from_rounded(rise_at, M, up.last);  // GCOVR_EXCL_LINE: takes seconds
    return T * (s + 1.0 + w);
}

double gamma_nc_pdf(double x, double a, double l) { return gamma_nc_density(a, l)(x); }

}  // namespace dru::impl
