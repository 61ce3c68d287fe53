// kernels/log_gamma_lanes.hpp: the log densities of log_gamma.hpp at four points in step.
//
// The logarithms are taken one by one; the short series for those near 1, twenty steps that wait for each
// other, run for all four points together.
#pragma once

#include "kernels/lanes.hpp"
#include "kernels/log_gamma.hpp"

namespace dru::impl {

// A logarithm for each lane: as it is given, or log1p_small(u) with a sign of 1 or -1.
class log1p_lanes {
public:
    void is(std::size_t l, double value) { value_[l] = value; }
    void log1p(std::size_t l, double u, double sign) {
        if (std::fabs(u) > log1p_series_limit) {
            value_[l] = sign * std::log(u + 1.0);
        } else {
            near_[l] = u;
            sign_[l] = sign;
            any_near_ = true;
        }
    }

    // Finishes the lanes whose series are still to come; the second form those of two sets side by side.
    void settle();
    friend void settle(log1p_lanes& a, log1p_lanes& b);

    const lane_array& values() const { return value_; }

private:
    void take(const lane_values& series);

    lane_array value_{}, near_{}, sign_{};  // a sign of 0 for those that have their value
    bool any_near_ = false;
};

// beta_log_density and gamma_log_density, 0 < y < 1 and y > 0.
lane_array log_densities_in_step(const beta_log_density& of, const lane_array& y);
lane_array log_densities_in_step(const gamma_log_density& of, const lane_array& y);

}  // namespace dru::impl
