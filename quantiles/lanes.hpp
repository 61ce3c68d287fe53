// quantiles/lanes.hpp: four points of a mixture side by side (kernels/lanes.hpp): which of them are asked
// for, which sum each needs, and when each is settled.
#pragma once

#include <array>
#include <cstddef>

#include "kernels/lanes.hpp"
#include "kernels/tail_pair.hpp"

namespace dru::impl {

// Which lanes are asked for; the others hold copies of points that are, and their sums mean nothing.
using lane_choice = std::array<bool, lane_count>;

inline bool any_chosen(const lane_choice& chosen) { return chosen[0] || chosen[1] || chosen[2] || chosen[3]; }

// `points` with the first chosen one in place of those not chosen: they cost nothing then.
template <class Points>
Points chosen_only(const Points& points, const lane_choice& chosen) {
    std::size_t first = 0;
    while (!chosen[first]) ++first;
    Points result = points;
    for (std::size_t l = 0; l < lane_count; ++l) {
        if (!chosen[l]) result[l] = points[first];
    }
    return result;
}

// The sums of four lanes while they are being settled.
class lane_outcomes {
public:
    const lane_bits& open() const { return open_; }
    bool is_open(int l) const { return open_[l]; }
    bool any_open() const { return any_lane(open_); }

    void settle(int l, double sum) {
        sum_[static_cast<std::size_t>(l)] = sum;
        open_.set(l, false);
    }
    void settle_open(double sum) {
        for (int l = 0; l < lane_count; ++l) {
            if (is_open(l)) settle(l, sum);
        }
    }
    const lane_array& sums() const { return sum_; }

private:
    lane_bits open_ = ~lane_bits{};
    lane_array sum_{};
};

// Both tails of each lane asked for from the sum of one: of the upper tail where upper_first says so. Where
// hands_over(sum) holds the other is summed in its place. One call of a sum serves all lanes that ask for it.
template <class HandsOver, class LowerSums, class UpperSums>
tail_pairs sum_one_tail_each(const lane_choice& asked, const lane_choice& upper_first,
                             const HandsOver& hands_over, const LowerSums& lower_sums,
                             const UpperSums& upper_sums) {
    tail_pairs tails{};
    lane_choice lower_now{}, upper_now{};
    for (std::size_t l = 0; l < lane_count; ++l) {
        upper_now[l] = asked[l] && upper_first[l];
        lower_now[l] = asked[l] && !upper_first[l];
    }
    const auto run = [&](const auto& sums, const lane_choice& now, double tail_pair::*tail,
                         double tail_pair::*other) {
        if (!any_chosen(now)) return;
        const lane_array answers = sums(now);
        for (std::size_t l = 0; l < lane_count; ++l) {
            if (!now[l]) continue;
            tails[l].*tail = answers[l];
            tails[l].*other = 1.0 - answers[l];
        }
    };
    run(upper_sums, upper_now, &tail_pair::upper, &tail_pair::lower);
    run(lower_sums, lower_now, &tail_pair::lower, &tail_pair::upper);
    lane_choice upper_then{}, lower_then{};
    for (std::size_t l = 0; l < lane_count; ++l) {
        upper_then[l] = lower_now[l] && hands_over(tails[l].lower);
        lower_then[l] = upper_now[l] && hands_over(tails[l].upper);
    }
    run(upper_sums, upper_then, &tail_pair::upper, &tail_pair::lower);
    run(lower_sums, lower_then, &tail_pair::lower, &tail_pair::upper);
    return tails;
}

}  // namespace dru::impl
