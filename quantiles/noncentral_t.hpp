// quantiles/noncentral_t.hpp: both tails and the quantile of the noncentral t distribution, (Z + ncp) over
// sqrt(W / df).
//
// Source: for x > 0 two mixtures of incomplete betas (Lenth 1989, AS 243), of index j + 1/2 and j + 1, each
//         summed outward from its largest term; below 0 see noncentral_t_negative.hpp. A negative
//         noncentrality is mirrored.
// Range:  df > 0 and finite, ncp finite and not 0. On the noncentrality's side of 0 a noncentrality above
//         about 1.3e8, whose mixture indices 1 no longer moves, gives the sign-set NaN.
// Oddity: the upper sum ends early at a total above 0.9 although it is still to be multiplied: below a
//         noncentrality of 1 digits are lost there, with df below 0.1 nearly all of them. A sum that reaches
//         its ceiling of 750000 terms is the largest double, which leaves tails outside [0, 1]; between
//         noncentralities of about 1.3e5 and 1.3e8 every sum does. Below 1.4e-16 the weight of the odd half
//         rounds to 0 and the tails are NaNs.
#pragma once

#include <array>
#include <cstdint>

#include "kernels/incomplete_beta.hpp"
#include "kernels/tail_pair.hpp"
#include "quantiles/lanes.hpp"
#include "quantiles/noncentral_beta.hpp"
#include "quantiles/noncentral_sums.hpp"
#include "quantiles/noncentral_t_negative.hpp"
#include "quantiles/prepared_once.hpp"

namespace dru::impl {

// A point x > 0 in the coordinates u = x^2 / (df + x^2) and v = 1 - u: the smaller of them is formed without
// the subtraction and goes into the kernels.
struct t_mixture_point {
    bool far;  // df < x^2: v is the smaller one
    double u, v;

    t_mixture_point(double x, double df) : far(df < x * x) {
        const double X = x * x;
        if (far) {
            v = df / (df + X);
            u = 1.0 - v;
        } else {
            u = X / (df + X);
            v = 1.0 - u;
        }
    }
};

// The odd half of the mixture, of index j + 1: its weights are those of half-integer Poisson indices.
class t_odd_mixture {
public:
    t_odd_mixture(double df, double weight, const poisson_start_indices& weights);
    void prepare() const;

    double lower_sum(const t_mixture_point& at) const;
    double upper_sum(const t_mixture_point& at) const;

    // The same at four points, all of them near or all of them far; noncentral_t_lanes.cpp.
    lane_array lower_sums(const std::array<t_mixture_point, lane_count>& at) const;
    lane_array upper_sums(const std::array<t_mixture_point, lane_count>& at) const;

private:
    // A sum on its way. Ratios says how its numbers are kept; a pass that outgrows scaled ones is taken up by
    // plain ones.
    struct mixture_pass {
        double i, ratio;
        double S = 0.0;  // of the terms before the peak, relative to it
        double T = 0.0, total = 0.0;
        bool ended = false;  // the peak is found, or the sum has stopped
        bool at_ceiling = false;
        bool is_going() const { return !ended && !at_ceiling; }
    };
    template <class Ratios>
    void fall_to_peak(const t_mixture_point& at, mixture_pass& pass) const;
    template <class Ratios>
    void fall_from_peak(const t_mixture_point& at, double k, mixture_pass& pass) const;
    template <class Ratios>
    void rise_to_peak(const t_mixture_point& at, double m, mixture_pass& pass) const;
    template <class Ratios>
    void rise_from_peak(const t_mixture_point& at, double k, mixture_pass& pass) const;

    double lower_start(const t_mixture_point& at) const;
    double upper_start(const t_mixture_point& at) const;
    double log_peak(const t_mixture_point& at, double k) const;

    // Where the passes start: one before the first index of any weight, two after the last.
    double first_index() const;
    const beta_ratio_kernel& near_last() const;
    const beta_ratio_kernel& near_first() const;
    const beta_ratio_kernel& far_last() const;
    const beta_ratio_kernel& far_first() const;

    double h_, log_h_, remainder_h_;
    double weight_;  // P(|Z| < ncp): what this half weighs
    double log_weight_;
    const poisson_start_indices& weights_;
    prepared_once<beta_ratio_kernel> near_last_, near_first_, far_last_, far_first_;
};

// The distribution of given df and noncentrality. What depends on them alone is settled at its first use; a
// team that shares the object is preceded by prepare().
class t_nc_distribution {
public:
    t_nc_distribution(double df, double ncp);
    t_nc_distribution(const t_nc_distribution&) = delete;
    t_nc_distribution& operator=(const t_nc_distribution&) = delete;

    // Settles what points on the noncentrality's side of 0 need, and what those on the other side do.
    void prepare(bool same_side, bool other_side) const;

    // Both tails at a finite x.
    tail_pair tails(double x) const;

    // Both tails at four points strictly on one side of 0.
    std::array<tail_pair, lane_count> tails(const lane_array& x) const;

    // P(T > x) or P(T <= x) at any x.
    double tail(double x, unsigned char upper) const;

    // The same for each of n points, most of them in step.
    void tails_of(const double* x, std::uint64_t n, unsigned char upper, double* out) const;

    // The quantile for 0 < p < 1.
    double quantile(double p, unsigned char upper) const;

private:
    tail_pair tails_positive(double x) const;
    bool many_terms() const;
    // Further out the ratios of the mixture are subnormal; one by one they are scaled (subnormal_ratios.hpp).
    bool worth_steps(double size) const { return df_ >= 1e-280 * size * size; }

    double df_, ncp_;                // the noncentrality as given
    double magnitude_;               // and without its sign
    double normal_tail_;             // P(Z > |ncp|), 0 from the cut on
    poisson_start_indices weights_;  // of mean ncp^2 / 2
    beta_nc_mixture even_;
    t_odd_mixture odd_;
    t_nc_negative_tails negative_;
};

tail_pair t_nc_tails_positive(double x, double df, double ncp);  // x > 0, ncp > 0

// P(T > x) and P(T <= x) at any x, for any finite ncp.
double t_nc_sf(double x, double df, double ncp);
double t_nc_cdf(double x, double df, double ncp);

// The quantile for 0 < p < 1.
double t_nc_quantile(double p, double df, double ncp, unsigned char upper);

}  // namespace dru::impl
