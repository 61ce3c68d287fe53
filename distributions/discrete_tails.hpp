// distributions/discrete_tails.hpp: what the tails of the discrete families have in common.
//
// A tail is the point mass times the ratio of tail to mass. The ratio is summed backwards, smallest term
// first, from the term that no longer counts; where the variance is so large that this would be long, it is a
// normal expansion. Only the tail away from the mode is formed so; the other is 1 less that tail less the
// mass.
#pragma once

#include <cmath>
#include <cstdint>

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

// The tails at an x inside the support, from the law's log_pmf, upper_ratio and lower_ratio. Above mode_bound
// the mass falls with x.
template <class Law>
discrete_tails tails_from_ratio(const Law& law, double x, double mode_bound) {
    const double mass = std::exp(law.log_pmf(x));
    if (x > mode_bound) {
        const double upper_tail = law.upper_ratio(x) * mass;
        return {x == 0.0 ? 0.0 : 1.0 - upper_tail - mass, upper_tail, mass};
    }
    const double lower = law.lower_ratio(x) * mass;
    return {lower, 1.0 - lower - mass, mass};
}

// sum over k > x of the products of P(X = i) / P(X = i - 1) from i = x + 1 to k: next_term(t, i - 1, i)
// multiplies the product by one such factor on the way up, factor(i - 1, i) is the factor on the way back.
// The two may round differently.
//
// Indices are doubles: exact to 2^53, and no x is too large for one. The count ends the way back also where
// j - 1 would no longer differ from j.
template <class Term, class Factor>
double summed_upper_ratio(double x, const Term& next_term, const Factor& factor) {
    double i = std::trunc(x);
    double t = 1.0;
    std::int64_t terms = 0;
    do {
        const double before = i;
        i += 1.0;
        t = next_term(t, before, i);
        ++terms;
    } while (t >= last_term && t <= largest_double);
    if (t > largest_double) return plus_infinity;

    double r = 0.0;
    for (double j = i - 1.0; j >= x && terms > 0; j -= 1.0, i -= 1.0, --terms) r = (r + 1.0) * factor(j, i);
    return r;
}

// sum over k < x of the products of P(X = i - 1) / P(X = i) from i = x down to k + 1: next_term(t, i) and
// factor(i) as above.
template <class Term, class Factor>
double summed_lower_ratio(double x, const Term& next_term, const Factor& factor) {
    double i = std::trunc(x);
    double t = 1.0;
    std::int64_t terms = 0;
    do {
        t = next_term(t, i);
        i -= 1.0;
        ++terms;
    } while (t >= last_term && t <= largest_double);
    if (t > largest_double) return plus_infinity;

    double r = 0.0;
    for (double j = i + 1.0; x >= j && terms > 0; j += 1.0, --terms) r = (r + 1.0) * factor(j);
    return r;
}

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

// A lattice expansion of the ratio of tail to mass at one x, to third order in h = 1 / (2 sd). b1 is that of
// the upper tail or of the lower one.
struct lattice_expansion {
    double z;           // (x - mean) / sd
    double head;        // the polynomial that multiplies the Mills ratio
    double b1, b2, b3;  // those that stand beside it

    double upper(double sd, double h) const {
        return sd * (lattice_mills_ratio(z) * head + ((b3 * h + b2) * h + b1) * h);
    }
    double lower(double sd, double h) const {
        return sd * (lattice_mills_ratio(-z) * head - ((b3 * h + b2) * h + b1) * h);
    }
};

}  // namespace dru::impl
