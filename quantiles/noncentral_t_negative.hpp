// quantiles/noncentral_t_negative.hpp: tails of the noncentral t on the other side of 0 than its
// noncentrality.
//
// Source: at many degrees of freedom a saddle-point tail in Lugannani & Rice's manner, in the normal form
// with
//         two correction terms (Temme 1982); at fewer the degrees of freedom are raised until it is good, and
//         the tail is carried down by the recurrence of the density (distributions/t_saddle.hpp), summed over
//         every second half step.
// Range:  x < 0, ncp > 0. Members of a pair: P(T <= x), P(T > x).
// Oddity: tails below 1e-100 of the recurrence are 0; so is every tail at a point so close to 0 that its own
//         density times the point is below 1e-300.
#pragma once

#include <array>
#include <vector>

#include "distributions/t_saddle.hpp"
#include "kernels/tail_pair.hpp"
#include "quantiles/lanes.hpp"
#include "quantiles/prepared_once.hpp"

namespace dru::impl {

// The saddle-point tail for D degrees of freedom and many points.
class t_large_df_tails {
public:
    t_large_df_tails(double D, double ncp);
    tail_pair operator()(double x) const;

private:
    double D_, ncp_;
    double s_;   // sqrt(D)
    double dd_;  // ncp / s
    double E_;   // dd^2 + 4
    double K_;   // sqrt(1/2) D exp(-remainder of D / 2)
    double root_two_pi_over_D_;
};

// The recurrence from H = m + h half degrees of freedom down to h. c = x / sqrt(h).
class t_half_step_tail {
public:
    t_half_step_tail(double h, double m, double ncp);
    double operator()(double c) const;
    lane_array operator()(const lane_array& c) const;  // four points in step

private:
    struct start {
        double A0, older, newer, r, q, e;
    };
    start start_at(double c) const;

    double ncp_, H_;
    t_large_df_tails tail_at_H_;
    t_saddle_form at_H_, above_;       // of 2 H and 2 H + 1 degrees of freedom
    std::vector<double> half_ratios_;  // Gamma(J + 0.5) / Gamma(J), J = H + 0.5, H, ...: 2 m of them
};

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

private:
    double full_m() const;
    const t_large_df_tails& large_df() const;
    const t_saddle_form& at_full_H() const;
    const t_half_step_tail& full_recurrence() const;

    double df_, ncp_, h_;
    prepared_once<t_large_df_tails> large_df_;
    prepared_once<t_saddle_form> at_full_H_;
    prepared_once<t_half_step_tail> full_recurrence_;  // from 1000 half degrees of freedom
};

tail_pair t_nc_tails_negative(double x, double df, double ncp);
tail_pair t_nc_tails_large_df(double x, double D, double ncp);

}  // namespace dru::impl
