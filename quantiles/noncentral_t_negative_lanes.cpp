// quantiles/noncentral_t_negative_lanes.cpp: the recurrences of the noncentral t tails at four points in
// step.
//
// Those that start from fewer half degrees of freedom join when the others have come down to them, so that
// all end together.
#include <algorithm>
#include <cmath>

#include "quantiles/noncentral_t_negative.hpp"

namespace dru::impl {

namespace {

// One recurrence: its length in half steps, where it starts from and what its steps multiply by.
struct recurrence {
    int steps = 0;
    double H = 0.0;
    t_half_step_start::values from{};
    const double* half_ratios = nullptr;
};

lane_array run_in_step(const std::array<recurrence, lane_count>& of) {
    constexpr double nothing = 0.0;
    int left = 0;
    for (const recurrence& one : of) left = std::max(left, one.steps);
    lane_array A0_of, r_of, q_of, e_of, G_of;
    std::array<const double*, lane_count> half_ratio;
    std::array<int, lane_count> stride{};
    for (int l = 0; l < lane_count; ++l) {
        const auto at = static_cast<std::size_t>(l);
        const recurrence& one = of[at];
        A0_of[at] = one.from.A0;
        r_of[at] = one.from.r;
        q_of[at] = one.from.q;
        e_of[at] = one.from.e;
        G_of[at] = one.H + (left - one.steps) * 0.5;  // until it joins its values mean nothing
        half_ratio[at] = &nothing;
    }
    const lane_values A0 = values_of(A0_of), r = values_of(r_of), q = values_of(q_of), e = values_of(e_of);
    lane_values older(0.0), newer(0.0), G = values_of(G_of), sum(0.0);
    const auto step = [&] {
        const lane_values ratio = values_of({*half_ratio[0], *half_ratio[1], *half_ratio[2], *half_ratio[3]});
        for (std::size_t l = 0; l < lane_count; ++l) half_ratio[l] += stride[l];
        G = G - 0.5;
        const lane_values J = G + 1.0;
        const lane_values y = J * r / (2.0 * G + 1.0) * older - ratio * e * q * newer / (2.0 * G + 1.0);
        older = newer;
        newer = y;
    };
    while (left > 0) {
        int next = 0;
        for (int l = 0; l < lane_count; ++l) {
            const auto i = static_cast<std::size_t>(l);
            if (of[i].steps == left) {
                G.set(l, of[i].H);
                older.set(l, of[i].from.older);
                newer.set(l, of[i].from.newer);
                sum.set(l, 0.0);
                half_ratio[i] = of[i].half_ratios;
                stride[i] = 1;
            } else if (of[i].steps < left) {
                next = std::max(next, of[i].steps);
            }
        }
        for (; left > next; left -= 2) {
            step();
            step();
            sum = sum + newer;  // every second half step arrives at whole ones
        }
    }
    for (int l = 0; l < lane_count; ++l) {
        if (of[static_cast<std::size_t>(l)].steps == 0) sum.set(l, 0.0);
    }
    const lane_values t = A0 - sum;
    return {t[0], t[1], t[2], t[3]};
}

}  // namespace

// The ratios of starts that the full length does not pass through are worked out once for each binade.
class t_shared_ratios {
public:
    t_shared_ratios(double h, double full_m) : h_(h), full_m_(full_m) {}

    const double* last(double m) {
        double top = 1.0;
        std::size_t binade = 0;
        for (; top <= m + h_; top *= 2.0) ++binade;
        return of_binade_[binade]
            .get([&] {
                double most = full_m_;
                while (most + h_ >= top) most -= 1.0;
                return t_half_step_ratios(h_, most);
            })
            .last(h_, m);
    }

private:
    static constexpr std::size_t binades = 11;  // H < 2^10
    double h_, full_m_;
    std::array<prepared_once<t_half_step_ratios>, binades> of_binade_;
};

void t_nc_negative_tails::in_step(const double* x, std::size_t n, tail_pair* tails) const {
    struct waiting {
        double m, c;
        std::size_t index;
    };
    std::array<waiting, most_in_step> all;
    std::size_t count = 0;
    t_start_logarithms start(ncp_);
    for (std::size_t i = 0; i < n; ++i) {
        const double c = x[i] / std::sqrt(h_), log_c = std::log(-0.5 * c);
        const double full = t_start_logarithms::at_full_H(at_full_H(), c, log_c);
        const double m = full < smallest_log_start ? bisected_m(c, log_c, full, start) : full_m();
        if (h_ > m + h_) {
            tails[i] = {0.0, 1.0};
        } else {
            all[count++] = {m, c, i};
        }
    }
    if (count == 0) return;
    std::sort(all.begin(), all.begin() + count, [](const waiting& a, const waiting& b) { return a.m > b.m; });

    const t_half_step_tail& full = full_recurrence();
    t_shared_ratios others(h_, full_m());
    for (std::size_t from = 0; from < count; from += lane_count) {
        std::array<recurrence, lane_count> four;
        const std::size_t group = std::min<std::size_t>(count - from, lane_count);
        for (std::size_t l = 0; l < group; ++l) {
            const auto& [m, c, index] = all[from + l];
            recurrence& one = four[l];
            one.steps = 2 * static_cast<int>(m);
            one.H = m + h_;
            one.from = m == full_m() ? full.start()(c) : t_half_step_start(one.H, ncp_)(c);
            if (one.steps == 0) continue;
            one.half_ratios = full.ratios().last(h_, m);
            if (one.half_ratios == nullptr) one.half_ratios = others.last(m);
        }
        const lane_array t = run_in_step(four);
        for (std::size_t l = 0; l < group; ++l) tails[all[from + l].index] = tails_of_recurrence(t[l]);
    }
}

}  // namespace dru::impl
