// distributions/discrete_tails.hpp: what the tails of the discrete families have in common.
//
// A tail is the point mass times the ratio of tail to mass. The ratio is summed backwards, smallest term
// first, from the term that no longer counts; where the variance is so large that this would be long, it is a
// normal expansion. Only the tail away from the mode is formed so; the other is 1 less that tail less the
// mass.
#pragma once

#include "kernels/log_gamma.hpp"
#include "kernels/normal.hpp"

namespace dru::impl {

// The three add up to 1 up to rounding: one tail is what the other and the mass leave.
struct discrete_tails {
    double lower;       // P(X < x)
    double upper_tail;  // P(X > x)
    double mass;        // P(X = x)
};

// x lies above the support (or so far up that it counts so), is all there is, or lies below the support.
inline constexpr discrete_tails all_below{1.0, 0.0, 0.0};
inline constexpr discrete_tails all_at{0.0, 0.0, 1.0};
inline constexpr discrete_tails all_above{0.0, 1.0, 0.0};

// 2^-52: the forward pass of a ratio ends at the first term below it. The passes are written so that a NaN
// ends them as well, and a term that has overflowed makes the ratio plus infinity at once: it can only grow.
inline constexpr double last_term = 2.220446049250313e-16;

// The Mills ratio of the lattice expansions.
//
// Oddity: beyond the cut the tail counts as 0 but the density is still divided by, and above 38.6 that has
// underflowed too: the ratio is a NaN there. Families that can be asked so far out cut off at 25 standard
// deviations first; the Poisson tails for a mean above 1e8 do not.
inline double lattice_mills_ratio(double u) {
    const double exponential = normal_exponential(u);
    const double tail = u >= normal_tail_cut ? 0.0 : normal_upper_tail(u, exponential);
    return tail / (standard_normal_height * exponential);
}

}  // namespace dru::impl
