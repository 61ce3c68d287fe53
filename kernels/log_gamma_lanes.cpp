#include "kernels/log_gamma_lanes.hpp"

#include <cmath>

namespace dru::impl {

namespace {

constexpr int series_terms = 20;

// log1p_small's series in place of its argument.
void near_series(lane_values& u) {
    lane_values v(0.0);
    for (int n = series_terms; n >= 1; --n) v = u * (1.0 / n - v);
    u = v;
}

// The same at two sets of arguments: neither waits for the other.
void near_series(lane_values& u, lane_values& w) {
    lane_values v(0.0), z(0.0);
    for (int n = series_terms; n >= 1; --n) {
        v = u * (1.0 / n - v);
        z = w * (1.0 / n - z);
    }
    u = v;
    w = z;
}

}  // namespace

void log1p_lanes::take(const lane_values& series) {
    for (std::size_t l = 0; l < lane_count; ++l) {
        if (sign_[l] != 0.0) value_[l] = sign_[l] * series[static_cast<int>(l)];
    }
}

void log1p_lanes::settle() {
    if (!any_near_) return;
    lane_values u = values_of(near_);
    near_series(u);
    take(u);
}

void settle(log1p_lanes& a, log1p_lanes& b) {
    if (!a.any_near_) return b.settle();
    if (!b.any_near_) return a.settle();
    lane_values u = values_of(a.near_), w = values_of(b.near_);
    near_series(u, w);
    a.take(u);
    b.take(w);
}

// In the order of log_beta_pdf_from.
lane_array log_densities_in_step(const beta_log_density& of, const lane_array& y) {
    const double a = of.a, b = of.b, c = a + b;
    log1p_lanes ratio_a, ratio_b;
    for (std::size_t l = 0; l < lane_count; ++l) {
        const double p = c * y[l], d = p - a, q = c * (1.0 - y[l]);
        if (opposite_sides_of_one(p, a)) {
            ratio_a.is(l, std::log(p) - of.log_a);
        } else if (d >= 0.0) {
            ratio_a.log1p(l, d / a, 1.0);
        } else {
            ratio_a.log1p(l, -d / c / y[l], -1.0);
        }
        if (opposite_sides_of_one(q, b)) {
            ratio_b.is(l, std::log(q) - of.log_b);
        } else if (d >= 0.0) {
            ratio_b.log1p(l, d / c / (1.0 - y[l]), -1.0);
        } else {
            ratio_b.log1p(l, -d / b, 1.0);
        }
    }
    settle(ratio_a, ratio_b);
    const lane_values log_a = values_of(ratio_a.values()), log_b = values_of(ratio_b.values());
    return array_of(of.log_c + (of.remainders + a * log_a + b * log_b - log_a - log_b));
}

// In the order of log_gamma_pdf_from.
lane_array log_densities_in_step(const gamma_log_density& of, const lane_array& y) {
    const double a = of.a;
    log1p_lanes ratio;
    for (std::size_t l = 0; l < lane_count; ++l) {
        if (opposite_sides_of_one(y[l], a)) {
            ratio.is(l, std::log(y[l]) - of.log_a);
        } else if (y[l] >= a) {
            ratio.log1p(l, (y[l] - a) / a, 1.0);
        } else {
            ratio.log1p(l, (a - y[l]) / y[l], -1.0);
        }
    }
    ratio.settle();
    const lane_values log_ratio = values_of(ratio.values());
    return array_of((a - values_of(y)) + (a - 1.0) * log_ratio - of.remainder);
}

}  // namespace dru::impl
