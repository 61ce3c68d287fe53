// quantiles/noncentral_t_negative.hpp: tails of the noncentral t on the other side of 0 than its
// noncentrality.
//
// Source: at many degrees of freedom a saddle-point tail (noncentral_t_large_df.hpp), at fewer a recurrence
//         down from there (noncentral_t_recurrence.hpp).
// Range:  x < 0, ncp > 0. Members of a pair: P(T <= x), P(T > x).
// Oddity: tails below 1e-100 of the recurrence are 0; so is every tail at a point so close to 0 that its own
//         density times the point is below 1e-300.
#pragma once

#include <array>
#include <cstddef>

#include "distributions/t_saddle.hpp"
#include "kernels/tail_pair.hpp"
#include "quantiles/lanes.hpp"
#include "quantiles/noncentral_t_large_df.hpp"
#include "quantiles/noncentral_t_recurrence.hpp"
#include "quantiles/prepared_once.hpp"

namespace dru::impl {

// Both tails for one df and noncentrality and many points. A team that shares the object is preceded by
// prepare().
class t_nc_negative_tails {
public:
    t_nc_negative_tails(double df, double ncp);
    void prepare() const;
    tail_pair operator()(double x) const;
    std::array<tail_pair, lane_count> operator()(const lane_array& x) const;  // x < 0

    // Whether points take the recurrence, and gain by going in step.
    bool by_recurrence() const;

    // The same at n points, by_recurrence() presumed: four of about the same length go in step.
    static constexpr std::size_t most_in_step = 64;
    void in_step(const double* x, std::size_t n, tail_pair* tails) const;

private:
    double full_m() const;
    double bisected_m(double c, double log_c, double previous, t_start_logarithms& at) const;
    const t_large_df_tails& large_df() const;
    const t_saddle_form& at_full_H() const;
    const t_half_step_tail& full_recurrence() const;

    double df_, ncp_, h_;
    prepared_once<t_large_df_tails> large_df_;
    prepared_once<t_saddle_form> at_full_H_;
    prepared_once<t_half_step_tail> full_recurrence_;  // from 1000 half degrees of freedom
};

tail_pair t_nc_tails_negative(double x, double df, double ncp);

}  // namespace dru::impl
