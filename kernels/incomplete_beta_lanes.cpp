// kernels/incomplete_beta_lanes.cpp: the tails and the series of their ratios at four points in step.
//
// Points that leave the ordinary course of a series (an overflow, a remainder that has not been prepared) are
// sent through the forms for one point, all four of them.
#include <array>
#include <cmath>

#include "frame/nan.hpp"
#include "kernels/incomplete_beta.hpp"
#include "kernels/log_gamma_lanes.hpp"

namespace dru::impl {

namespace {

template <class Scalar>
lane_array one_by_one(const lane_array& x, const Scalar& scalar) {
    return {scalar(x[0]), scalar(x[1]), scalar(x[2]), scalar(x[3])};
}

lane_bits finite(const lane_values& v) { return v - v == 0.0; }

// The fraction of beta_upper_fraction at four points.
lane_array upper_continued_fractions(double a, double b, const lane_array& points) {
    const lane_values x = values_of(points);
    const lane_values y = 1.0 - x;
    const lane_values r = y / x;
    lane_values P1(1.0), P0(0.0), Q1(1.0), Q0(1.0);
    lane_bits open = ~lane_bits{};
    lane_array result{};
    for (double j = 1.0;; j += 1.0) {
        const double m = 2.0 * j + b;
        const lane_values alpha = (j - a) * r * (b + j - 1.0) / ((m - 2.0) * (m - 1.0));
        P0 = P0 * alpha + P1;
        Q0 = Q1 + alpha * Q0;
        const lane_values beta = r * j * (j + b + a - 1.0) / ((m - 1.0) * m);
        P1 = P1 * beta + P0;
        Q1 = Q0 + beta * Q1;
        const lane_values later = P1 * Q0, sooner = P0 * Q1;
        const lane_bits apart = (later - sooner > beta_surely_apart * sooner) & finite(later);
        if (!any_lane(open & ~apart)) continue;
        for (int l = 0; l < lane_count; ++l) {
            if (!open[l] || apart[l]) continue;
            double answer = P1[l] / Q1[l];
            const double c0 = P0[l] / Q0[l];
            if (!is_finite(P1[l] + Q1[l])) {
                // GCOVR_EXCL_START: where b is not huge it converges long before its parts overflow.
                answer = beta_upper_fraction(a, b, points[static_cast<std::size_t>(l)]);
                // GCOVR_EXCL_STOP
            } else if (!(answer - c0 < beta_remainder_tolerance * c0)) {
                continue;
            }
            result[static_cast<std::size_t>(l)] = answer;
            open.set(l, false);
        }
        if (!any_lane(open)) return result;
    }
}

// How many factors of a finite part there are before it is small enough, and which lanes used up all n.
struct finite_part {
    lane_values k{};
    lane_bits complete{};
    bool overflowed = false;
};

// factor(k) is the k-th factor of each lane.
template <class Factor>
finite_part count_factors(double n, const Factor& factor) {
    finite_part part;
    lane_values v(1.0);
    lane_bits open = ~lane_bits{};
    for (double k = 1.0; k <= n; k += 1.0) {
        v = v * factor(k);
        const lane_bits small = ~(v > beta_series_epsilon);  // a NaN too, which is seen below
        if (!any_lane(open & (small | ~finite(v)))) continue;
        if (any_lane(open & ~finite(v))) {
            part.overflowed = true;
            return part;
        }
        part.k = choose(open & small, k, part.k);
        part.complete = part.complete | (open & small);
        open = open & ~small;
        if (!any_lane(open)) break;
    }
    part.k = choose(open, n, part.k);
    return part;
}

// From each lane's last factor back to the first.
template <class Factor>
lane_values sum_factors(const finite_part& part, lane_values s, const Factor& factor) {
    double last = 0.0;
    for (int l = 0; l < lane_count; ++l) last = part.k[l] > last ? part.k[l] : last;
    for (double i = last; i >= 1.0; i -= 1.0) {
        const lane_bits reached = ~(part.k < i);
        s = choose(reached, 1.0 + factor(i) * s, s);
    }
    return s;
}

}  // namespace

lane_array beta_small_remainder::scaled(const lane_array& points) const {
    const double a = a_, b = b_;
    const lane_values x = values_of(points), minus_x = 0.0 - x;
    lane_array log_bx, power, other_power;
    log1p_lanes log_y;
    for (std::size_t l = 0; l < lane_count; ++l) {
        const double bx = b * points[l];
        log_bx[l] = std::log(bx);
        power[l] = std::pow(bx, a);
        other_power[l] = 1.0 - a == a ? power[l] : std::pow(bx, 1.0 - a);
        log_y.log1p(l, -points[l], 1.0);
    }
    log_y.settle();

    lane_values t = values_of(power) * x * (b - 1.0) / (1.0 + a);
    lane_values sum = t;
    lane_values settled{};
    lane_bits open = ~lane_bits{};
    for (double k = 2.0; any_lane(open); k += 1.0) {
        t = (a + k - 1.0) * minus_x * (b - k) / k / (a + k) * t;
        sum = sum + t;
        const lane_bits small = (t > -beta_remainder_tolerance) & (t < beta_remainder_tolerance);
        const lane_bits goes_on = finite(t) & ~small;
        settled = choose(open & ~goes_on, sum, settled);
        open = open & goes_on;
    }
    lane_array result;
    const lane_array exponents = array_of(b * values_of(log_y.values()));
    for (std::size_t l = 0; l < lane_count; ++l) {
        const double e = expm1_ratio(a * log_bx[l]);
        const double remainder = prefix_ - log_bx[l] * e + settled[static_cast<int>(l)];
        result[l] = other_power[l] * remainder / std::exp(exponents[l]);
    }
    return result;
}

lane_array beta_ratio_kernel::lower(const lane_array& x) const {
    if (normal_ || large_b_) return one_by_one(x, [this](double at) { return lower(at); });
    return lower_series(x);
}

lane_array beta_ratio_kernel::upper(const lane_array& x) const {
    if (normal_ || large_b_) return one_by_one(x, [this](double at) { return upper(at); });
    return upper_series(x);
}

lane_array beta_ratio_kernel::lower_series(const lane_array& points) const {
    const double a = a_, b = b_, n = whole_b_;
    const lane_values x = values_of(points);
    const lane_values y = 1.0 - x;
    const auto factor = [&](double k) { return (b - k) * x / ((k + a) * y); };
    const finite_part part = count_factors(n, factor);
    if (part.overflowed) return one_by_one(points, [this](double at) { return lower_series(at); });

    lane_values s(1.0);
    if (any_lane(~part.complete)) {
        const double u = a + n;
        const double w = (b - n) + u;
        const auto step = [&](double i) { return (w + i - 1.0) * x / (u + i); };
        finite_part rest;
        lane_bits open = ~part.complete;
        lane_values v(1.0);
        for (double count = 1.0; any_lane(open); count += 1.0) {
            v = v * step(count);
            const lane_bits goes_on = ~(v < beta_remainder_tolerance) & finite(v);
            rest.k = choose(open & ~goes_on, count, rest.k);
            open = open & goes_on;
        }
        lane_values remainder = 1.0 / y;
        remainder = sum_factors(rest, remainder, step) * y;
        s = choose(part.complete, s, remainder);
    }
    s = sum_factors(part, s, factor);
    return array_of(s * x / a);
}

lane_array beta_ratio_kernel::upper_remainder(const lane_array& x) const {
    const double fraction = a_ - whole_a_;
    const double c = b_ + whole_a_;
    if (takes_small_remainder(x[0])) return small_->scaled(x);
    return upper_continued_fractions(fraction, c, x);
}

lane_array beta_ratio_kernel::upper_series(const lane_array& points) const {
    const double a = a_, b = b_, n = whole_a_;
    const lane_values x = values_of(points);
    const lane_values y = 1.0 - x;
    const auto factor = [&](double k) { return (a - k) * y / ((k + b) * x); };
    const finite_part part = count_factors(n, factor);
    const bool remains = any_lane(~part.complete);  // GCOVR_EXCL_LINE: counted with what is inlined
    const bool ordinary =
        !remains || (!any_lane(x * (b + n) == 0.0) && (small_ || !takes_small_remainder(points[0])));
    if (part.overflowed || !ordinary)
        return one_by_one(points, [this](double at) { return upper_series(at); });

    lane_values s(0.0);
    if (remains) s = choose(part.complete, s, values_of(upper_remainder(points)));
    s = sum_factors(part, s, factor);
    return array_of(s * y / b);
}

tail_pairs beta_tail_kernel::operator()(const lane_array& x) const {
    const lane_array L = log_densities_in_step(log_density_, x);
    for (const double log_density : L) {
        if (!(log_density >= log_dbl_min))
            return {(*this)(x[0]), (*this)(x[1]), (*this)(x[2]), (*this)(x[3])};
    }
    const lane_array ratios = x[0] <= split_point_ ? ratio_.lower(x) : ratio_.upper(x);
    tail_pairs result;
    for (std::size_t l = 0; l < lane_count; ++l) result[l] = tails(x[l], L[l], ratios[l]);
    return result;
}

}  // namespace dru::impl
