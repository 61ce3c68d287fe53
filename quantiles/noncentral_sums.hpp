// quantiles/noncentral_sums.hpp: what the noncentral mixture sums share: their constants and the Poisson
// indices at which they start.
#pragma once

#include "frame/nan.hpp"
#include "quantiles/prepared_once.hpp"

namespace dru::impl {

inline constexpr double series_start_tail = 5e-15;  // Poisson tail probability at which a sum starts
inline constexpr double series_tolerance = 5e-15;   // bound on the remainder relative to the total
inline constexpr double series_ceiling = 750000.0;  // terms in each direction
inline constexpr double tail_switch = 0.9;          // a tail above it is summed from the other side

// Beyond 2^53 an index no longer moves when 1 is added to it.
inline constexpr double largest_index = 9007199254740992.0;

// Whether a pass from index `first` upward, or from `last` downward, is at its ceiling before it comes to the
// mean of the weights. It then meets no peak: the quotient of two neighbouring terms that it looks for, above
// 1, is there (i + 1) / mean or mean / i, at most 1, times a number and divided by that number plus another,
// and rounding keeps that order.
inline bool rises_to_ceiling(double first, double mean) { return first + (series_ceiling + 8.0) <= mean; }
inline bool falls_to_ceiling(double last, double mean) { return last - (series_ceiling + 8.0) >= mean; }

// Whether the stop rule, total > tail_switch or T < total * series_tolerance * (1 - t), is out of reach for
// the rest of a pass: a NaN answers no comparison and stays a NaN, and a term that has become 0 before the
// total was large enough for a tolerance stays 0. Such a pass runs to its ceiling.
inline bool stop_rule_out_of_reach(double T, double total) {
    return is_nan(total) || (T == 0.0 && total * series_tolerance == 0.0);
}

// The two indices at which the mixture sums of a given mean start. They depend on the mean alone and cost as
// much as the rest of a sum, so each is found at its first use and kept. An object that several threads share
// is prepared before they start.
class poisson_start_indices {
public:
    explicit poisson_start_indices(double mean) : mean_(mean) {}
    void prepare() const;

    double mean() const { return mean_; }
    double first() const;  // first index of any weight
    double last() const;   // last index of any weight

private:
    double mean_;
    prepared_once<double> first_, last_;
};

}  // namespace dru::impl
