// quantiles/noncentral_gamma_lanes.cpp: the noncentral gamma mixture at four points in step.
#include <cmath>

#include "frame/nan.hpp"
#include "quantiles/noncentral_gamma.hpp"

namespace dru::impl {

namespace {

bool hands_over(double tail) { return tail > tail_switch; }

// Lanes where T / (1 - t) / total < series_tolerance is surely false, without the divisions.
//
// Exact: the products round by less than 1e-15, and so do the quotients, in a range where nothing underflows;
//        the factor of 1.01 is far more than both. Lanes below that range, or with a NaN, are not among them.
[[gnu::always_inline]] inline lane_bits far_from_end(const lane_values& T, const lane_values& t,
                                                     const lane_values& total) {
    const lane_values rest = 1.0 - t;
    return (rest > 0.0) & (total > 1e-280) & (T > total * (1.01 * series_tolerance) * rest);
}

}  // namespace

lane_array gamma_nc_mixture::upper_sums(const lane_array& points) const {
    const double a = a_, ncp = weights_.mean(), j0 = weights_.first();
    if (rises_to_ceiling(j0, ncp)) return {};
    lane_values x, R, S(0.0), peak_R(0.0), peak_S(0.0), k(0.0);
    for (int l = 0; l < lane_count; ++l) {
        x.set(l, points[static_cast<std::size_t>(l)]);
        R.set(l, first_kernel().upper_ratio(x[l]));
    }
    lane_outcomes outcomes;
    lane_bits searching = outcomes.open();
    for (double step = 0.0; any_lane(searching); step += 1.0) {
        if (step >= series_ceiling) {
            for (int l = 0; l < lane_count; ++l) {
                if (searching[l]) outcomes.settle(l, 0.0);
            }
            break;
        }
        const double i = j0 + step;
        const lane_values d = (i + a) * R / x;
        const double front = (i + 1.0) / ncp;
        const lane_values t = front * d / (d + 1.0);
        const lane_bits endless = ~((d - d) == 0.0);
        if (any_lane(searching & (endless | (t > 1.0)))) {
            for (int l = 0; l < lane_count; ++l) {
                if (!searching[l]) continue;
                if (t[l] > 1.0) {
                    k.set(l, i);
                    peak_R.set(l, R[l]);
                    peak_S.set(l, S[l]);
                } else if (endless[l]) {
                    outcomes.settle(l, 0.0);
                } else {
                    continue;
                }
                searching.set(l, false);
            }
        }
        R = d + 1.0;
        S = (S + 1.0) * t;
    }

    lane_values T(0.0), total(0.0);
    R = peak_R;
    for (int l = 0; l < lane_count; ++l) {
        if (!outcomes.is_open(l)) continue;
        const double log_peak = log_term(k[l], x[l]);
        T.set(l, std::exp(log_peak) * R[l]);
        total.set(l, (peak_S[l] + 1.0) * T[l]);
        if (log_peak < log_dbl_min) outcomes.settle(l, 0.0);
    }
    for (double step = 0.0; outcomes.any_open(); step += 1.0) {
        const lane_values d = (k + step + a) * R / x;
        const lane_values t = ncp / (k + (step + 1.0)) * (1.0 / d + 1.0);
        T = T * t;
        total = total + T;
        if (any_lane(outcomes.open() & ~far_from_end(T, t, total)) || step >= series_ceiling) {
            const lane_bits ended = (T / (1.0 - t) / total < series_tolerance) | ~(total == total);
            for (int l = 0; l < lane_count; ++l) {
                if (outcomes.is_open(l) && (ended[l] || step >= series_ceiling)) outcomes.settle(l, total[l]);
            }
        }
        R = d + 1.0;
    }
    return outcomes.sums();
}

lane_array gamma_nc_mixture::lower_sums(const lane_array& points) const {
    const double a = a_, ncp = weights_.mean(), j1 = weights_.last();
    if (falls_to_ceiling(j1, ncp)) return {};
    const double limit = j1 - series_ceiling < 1.0 ? 0.0 : j1 - series_ceiling;
    lane_values x, u, L(0.0), S(0.0), peak_L(0.0), peak_S(0.0), k(0.0);
    for (int l = 0; l < lane_count; ++l) {
        x.set(l, points[static_cast<std::size_t>(l)]);
        u.set(l, last_kernel().lower_ratio(x[l]) + 1.0);
    }
    lane_outcomes outcomes;
    lane_bits searching = outcomes.open();
    double i = j1;
    for (; i > limit && any_lane(searching); i -= 1.0) {
        L = x / (a + i) * u;
        u = L + 1.0;
        const lane_values t = ncp / i * L / u;
        if (any_lane(searching & (t > 1.0))) {
            for (int l = 0; l < lane_count; ++l) {
                if (!searching[l] || !(t[l] > 1.0)) continue;
                k.set(l, i);
                peak_L.set(l, L[l]);
                peak_S.set(l, S[l]);
                searching.set(l, false);
            }
        }
        S = (S + 1.0) * t;
    }
    if (any_lane(searching)) {
        L = x / a * u;
        for (int l = 0; l < lane_count; ++l) {
            if (!searching[l]) continue;
            if (j1 - i > series_ceiling - 1.0) outcomes.settle(l, 0.0);
            peak_L.set(l, L[l]);
            peak_S.set(l, S[l]);
        }
    }

    lane_values T(0.0), total(0.0), index = k;
    L = peak_L;
    for (int l = 0; l < lane_count; ++l) {
        if (!outcomes.is_open(l)) continue;
        const double log_peak = log_term(k[l], x[l]);
        T.set(l, std::exp(log_peak) * L[l]);
        total.set(l, (peak_S[l] + 1.0) * T[l]);
        if (log_peak < log_dbl_min) {
            outcomes.settle(l, 0.0);
        } else if (!(k[l] > 0.0)) {
            outcomes.settle(l, total[l]);
        }
    }
    while (outcomes.any_open()) {
        const lane_values t = index / ncp * (1.0 / L + 1.0);
        T = T * t;
        total = total + T;
        const lane_bits near = ~far_from_end(T, t, total);
        L = (L + 1.0) * (x / (index + a - 1.0));
        index = index - 1.0;
        if (any_lane(outcomes.open() & (near | ~(index > 0.0)))) {
            const lane_bits ended = (T / (1.0 - t) / total < series_tolerance) | ~(total == total);
            for (int l = 0; l < lane_count; ++l) {
                if (outcomes.is_open(l) && (ended[l] || !(index[l] > 0.0))) outcomes.settle(l, total[l]);
            }
        }
    }
    return outcomes.sums();
}

tail_pairs gamma_nc_mixture::operator()(const lane_array& x) const {
    const double ncp = weights_.mean();
    tail_pairs tails;
    if (!(ncp > 0.0) || !(weights_.last() + series_ceiling <= largest_index)) {
        for (std::size_t l = 0; l < lane_count; ++l) tails[l] = (*this)(x[l]);
        return tails;
    }
    constexpr lane_choice all = {true, true, true, true};
    lane_choice upper_first;
    for (std::size_t l = 0; l < lane_count; ++l) upper_first[l] = x[l] >= a_ + ncp;
    tails = sum_one_tail_each(
        all, upper_first, hands_over,
        [&](const lane_choice& chosen) { return lower_sums(chosen_only(x, chosen)); },
        [&](const lane_choice& chosen) { return upper_sums(chosen_only(x, chosen)); });
    for (tail_pair& pair : tails) {
        if (is_nan(pair.lower) || is_nan(pair.upper)) pair = {sign_set_nan, sign_set_nan};
    }
    return tails;
}

}  // namespace dru::impl
