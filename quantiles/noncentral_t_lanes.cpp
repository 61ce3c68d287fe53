// quantiles/noncentral_t_lanes.cpp: the mixture of the noncentral t at four points in step.
#include <cmath>

#include "frame/nan.hpp"
#include "kernels/log_gamma.hpp"
#include "quantiles/noncentral_t.hpp"

namespace dru::impl {

namespace {

constexpr double sentinel = largest_double;  // what a sum that reaches its ceiling gives

using points = std::array<t_mixture_point, lane_count>;

// Where the peak of a lane is, and its ratio and sum there.
struct lane_peaks {
    lane_values k{}, ratio{}, S{};
    void note(int l, double index, const lane_values& at_ratio, const lane_values& at_S) {
        k.set(l, index);
        ratio.set(l, at_ratio[l]);
        S.set(l, at_S[l]);
    }
};

}  // namespace

lane_array t_odd_mixture::lower_sums(const points& at) const {
    const double d = weights_.mean(), j1 = weights_.last();
    if (falls_to_ceiling(j1, d)) return {sentinel, sentinel, sentinel, sentinel};
    lane_values u, v, L, S{};
    for (int l = 0; l < lane_count; ++l) {
        const t_mixture_point& point = at[static_cast<std::size_t>(l)];
        u.set(l, point.u);
        v.set(l, point.v);
        L.set(l, lower_start(point));
    }

    lane_outcomes outcomes;
    lane_bits searching = outcomes.open();
    lane_peaks peaks;
    const bool long_pass = j1 >= series_ceiling;
    for (double i = j1; any_lane(searching); i -= 1.0) {
        if (j1 - i >= series_ceiling) {
            for (int l = 0; l < lane_count; ++l) {
                if (searching[l]) outcomes.settle(l, sentinel);
            }
            break;
        }
        const double sum = h_ + 1.0 + i;
        L = (L * sum + v) * (u / (i + 1.0));
        const double e = sum - 1.0;
        const double front = d / (i + 0.5) * e;
        const lane_values t = front * L / (e * L + v);
        const lane_bits endless = long_pass ? ~((L - L) == 0.0) : lane_bits{};
        if (any_lane(searching & (endless | (t > 1.0))) || i == 0.0) {
            for (int l = 0; l < lane_count; ++l) {
                if (!searching[l]) continue;
                if (endless[l]) {
                    outcomes.settle(l, sentinel);
                } else if (i == 0.0 || t[l] > 1.0) {
                    peaks.note(l, i, L, S);
                } else {
                    continue;
                }
                searching.set(l, false);
            }
        }
        S = (S + 1.0) * t;
    }

    lane_values T{}, total{}, i = peaks.k;
    L = peaks.ratio;
    for (int l = 0; l < lane_count; ++l) {
        if (!outcomes.is_open(l)) continue;
        const double P = log_peak(at[static_cast<std::size_t>(l)], i[l]);
        T.set(l, std::exp(P) * L[l]);
        total.set(l, (peaks.S[l] + 1.0) * T[l]);
        if (P < log_dbl_min) {
            outcomes.settle(l, 0.0);
        } else if (is_nan(total[l])) {
            outcomes.settle(l, i[l] >= series_ceiling ? sentinel : sign_set_nan);
        } else if (!(i[l] > 0.0)) {
            outcomes.settle(l, total[l] * 0.5 * weight_);
        }
    }
    for (double steps = 1.0; outcomes.any_open(); steps += 1.0) {
        const lane_values e = h_ + 1.0 + i - 1.0;
        const lane_values t = (i + 0.5) / d * (v / e / L + 1.0);
        T = T * t;
        total = total + T;
        const lane_bits undefined = ~(total == total);
        const lane_bits ended = (total > tail_switch) | (T < total * series_tolerance * (1.0 - t));
        L = (L * e + v) * (u / i);
        i = i - 1.0;
        if (any_lane(outcomes.open() & (undefined | ended | ~(i > 0.0)))) {
            for (int l = 0; l < lane_count; ++l) {
                if (!outcomes.is_open(l)) continue;
                // GCOVR_EXCL_START: below a peak the ratio is above 0 and grows, so that no step is infinite.
                if (undefined[l]) {
                    outcomes.settle(l, peaks.k[l] >= series_ceiling ? sentinel : sign_set_nan);
                    continue;
                }
                // GCOVR_EXCL_STOP
                if (ended[l]) {
                    outcomes.settle(l, total[l] * 0.5 * weight_);
                } else if (!(i[l] > 0.0)) {
                    outcomes.settle(l, steps >= series_ceiling ? sentinel : total[l] * 0.5 * weight_);
                }
            }
        }
        if (steps >= series_ceiling) outcomes.settle_open(sentinel);
    }
    return outcomes.sums();
}

lane_array t_odd_mixture::upper_sums(const points& at) const {
    const double d = weights_.mean(), m = first_index();
    if (rises_to_ceiling(m, d)) return {sentinel, sentinel, sentinel, sentinel};
    lane_values u, v, U, S{};
    for (int l = 0; l < lane_count; ++l) {
        const t_mixture_point& point = at[static_cast<std::size_t>(l)];
        u.set(l, point.u);
        v.set(l, point.v);
        U.set(l, upper_start(point));
    }

    lane_outcomes outcomes;
    lane_bits searching = outcomes.open();
    lane_peaks peaks;
    const lane_values uv = u * v;
    for (double i = m; any_lane(searching); i += 1.0) {
        if (!(i - m < series_ceiling)) {
            for (int l = 0; l < lane_count; ++l) {
                if (searching[l]) outcomes.settle(l, sentinel);
            }
            break;
        }
        const lane_bits endless = ~((U - U) == 0.0) | ((U == 0.0) & (v == 0.0));
        const lane_values w = U * (i + 1.0);
        const double front = (i + 1.5) / d * (i + 1.0);
        const lane_values t = front * U / (uv + w);
        if (any_lane(searching & (endless | (t > 1.0)))) {
            for (int l = 0; l < lane_count; ++l) {
                if (!searching[l]) continue;
                if (endless[l]) {
                    outcomes.settle(l, sentinel);
                } else if (t[l] > 1.0) {
                    peaks.note(l, i, U, S);
                } else {
                    continue;
                }
                searching.set(l, false);
            }
        }
        const double sum = i + h_ + 1.0;
        U = v / sum + w / u / sum;
        S = (S + 1.0) * t;
    }

    lane_values T{}, total{}, i = peaks.k;
    U = peaks.ratio;
    for (int l = 0; l < lane_count; ++l) {
        if (!outcomes.is_open(l)) continue;
        const double P = log_peak(at[static_cast<std::size_t>(l)], i[l]);
        T.set(l, std::exp(P) * U[l]);
        total.set(l, (peaks.S[l] + 1.0) * T[l]);
        if (P < log_dbl_min) outcomes.settle(l, 0.0);
    }
    const lane_values vu = v * u;
    for (double steps = 0.0; outcomes.any_open(); steps += 1.0) {
        if (steps > series_ceiling - 1.0) {
            outcomes.settle_open(sentinel);
            break;
        }
        const lane_bits endless = (~(total == total)) | ((T == 0.0) & (total * series_tolerance == 0.0));
        const lane_values t = d / (i + 1.5) * (vu / (i + 1.0) / U + 1.0);
        T = T * t;
        total = total + T;
        const lane_bits ended = (total > tail_switch) | (T < total * series_tolerance * (1.0 - t));
        if (any_lane(outcomes.open() & (endless | ended))) {
            for (int l = 0; l < lane_count; ++l) {
                if (!outcomes.is_open(l)) continue;
                if (endless[l]) {
                    outcomes.settle(l, sentinel);
                } else if (ended[l]) {
                    outcomes.settle(l, total[l] * 0.5 * weight_);
                }
            }
        }
        const lane_values sum = i + h_ + 1.0;
        U = U * (i + 1.0) / u / sum + v / sum;
        i = i + 1.0;
    }
    return outcomes.sums();
}

// Points with the same coordinates and the same sums to run go together, and those that take the recurrence.
void t_nc_distribution::tails_of(const double* x, std::uint64_t n, unsigned char upper, double* out) const {
    lane_groups<4> groups;
    const auto run = [&](std::size_t, const lane_array& at, const lane_indices& index, std::size_t count) {
        const std::array<tail_pair, lane_count> both = tails(at);
        for (std::size_t l = 0; l < count; ++l) out[index[l]] = upper != 0 ? both[l].upper : both[l].lower;
    };
    const auto alone = [&](std::uint64_t i) { out[i] = tail(x[i], upper); };

    constexpr std::size_t most = t_nc_negative_tails::most_in_step;
    const bool recurrence = negative_.by_recurrence();
    std::array<double, most> below;
    std::array<std::uint64_t, most> below_index;
    std::size_t below_count = 0;
    const auto run_below = [&] {
        std::array<tail_pair, most> both;
        negative_.in_step(below.data(), below_count, both.data());
        const bool first =
            (upper != 0) == (ncp_ < 0.0);  // the tail asked for is P(T <= x) of the mirror image
        for (std::size_t k = 0; k < below_count; ++k)
            out[below_index[k]] = first ? both[k].lower : both[k].upper;
        below_count = 0;
    };
    for (std::uint64_t i = 0; i < n; ++i) {
        const double size = ncp_ < 0.0 ? -x[i] : x[i];
        if (size > 0.0 && worth_steps(size)) {
            groups.add((df_ < size * size ? 2u : 0u) + (size > magnitude_ ? 1u : 0u), x[i], i, run);
        } else if (recurrence && size < 0.0 && size >= -largest_double) {
            below[below_count] = size;
            below_index[below_count] = i;
            if (++below_count == most) run_below();
        } else {
            alone(i);
        }
    }
    groups.finish(run, alone);
    if (below_count > 0) run_below();
}

// The one-point form lane by lane: each sum runs for the lanes that ask for it.
std::array<tail_pair, lane_count> t_nc_distribution::tails(const lane_array& x) const {
    std::array<tail_pair, lane_count> result;
    const auto one_by_one = [&] {
        for (std::size_t l = 0; l < lane_count; ++l) result[l] = tails(x[l]);
        return result;
    };
    const auto mirrored = [&] {
        if (ncp_ < 0.0) {
            for (tail_pair& tails : result) tails = {tails.upper, tails.lower};
        }
        return result;
    };
    lane_array magnitude = x;
    if (ncp_ < 0.0) {
        for (double& m : magnitude) m = -m;
    }
    if (magnitude[0] < 0.0) {
        result = negative_(magnitude);
        return mirrored();
    }
    if (is_infinite(weights_.mean()) || !(weights_.last() <= largest_index)) return one_by_one();
    const points at = {t_mixture_point(magnitude[0], df_), t_mixture_point(magnitude[1], df_),
                       t_mixture_point(magnitude[2], df_), t_mixture_point(magnitude[3], df_)};
    for (std::size_t l = 0; l < lane_count; ++l) {
        if (at[l].far != at[0].far) return one_by_one();
    }
    lane_array along;
    for (std::size_t l = 0; l < lane_count; ++l) along[l] = at[l].far ? at[l].v : at[l].u;
    const std::array<tail_pair, lane_count> even = at[0].far ? even_.right(along) : even_.left(along);
    const auto even_lower = [&](std::size_t l) { return at[0].far ? even[l].upper : even[l].lower; };
    const auto even_upper = [&](std::size_t l) { return at[0].far ? even[l].lower : even[l].upper; };

    lane_choice above{}, from_below{};
    for (std::size_t l = 0; l < lane_count; ++l) {
        above[l] = !(magnitude[l] <= magnitude_);
        from_below[l] = !above[l];
    }
    if (any_chosen(above)) {
        const lane_array sums = odd_.upper_sums(chosen_only(at, above));
        for (std::size_t l = 0; l < lane_count; ++l) {
            if (!above[l]) continue;
            const double second = sums[l] + 0.5 * even_upper(l);
            if (is_nan(second)) {
                result[l] = {sign_set_nan, sign_set_nan};
            } else if (!(second > tail_switch)) {
                result[l] = {1.0 - second, second};
            } else {
                from_below[l] = true;
            }
        }
    }
    if (any_chosen(from_below)) {
        const lane_array sums = odd_.lower_sums(chosen_only(at, from_below));
        for (std::size_t l = 0; l < lane_count; ++l) {
            if (!from_below[l]) continue;
            const double first = normal_tail_ + 0.5 * even_lower(l) + sums[l];
            result[l] = is_nan(first) ? tail_pair{sign_set_nan, sign_set_nan} : tail_pair{first, 1.0 - first};
        }
    }
    return mirrored();
}

}  // namespace dru::impl
