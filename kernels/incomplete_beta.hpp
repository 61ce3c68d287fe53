// kernels/incomplete_beta.hpp: both tails of a beta variate, and the ratios of tail to density they stand on.
//
// A tail is the density at the point times a ratio of tail to density. The density, taken from its logarithm,
// carries all the underflow; the ratio is a well-scaled number. Only the tail that a cheap estimate of the
// median calls the smaller one is computed, the other is one minus it.
//
// The ratios have three forms each:
//   a b / (a + b) >= 10000   Edgeworth-like expansion about the normal Mills ratio, three terms;
//   b >= 1e15                expansion about the gamma limit, first order in 1 / b;
//   otherwise                a finite series in whole steps of one shape plus a remainder, summed in two
//                            passes: one that counts, one that adds from the smallest term up (Horner).
//
// Domain: a, b > 0, 0 <= x < 1. Callers settle x = 1, and ask for the mirrored variate (1 - x, b, a) from 1/2
// up: near 1 the point has lost digits, and the remainder of the lower series, whose terms fall like x^j,
// takes about 32 / (1 - x) of them.
//
// Overflow: the noncentral sums ask for ratios far from the median, where a ratio may exceed the largest
// double. A counting product that has overflowed cannot come back below its stopping value, so the ratio is
// plus infinity there and then.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>

#include "kernels/lanes.hpp"
#include "kernels/log_gamma.hpp"
#include "kernels/tail_pair.hpp"

namespace dru::impl {

// Where the finite parts of the series stop, this value included: 2^-52.
inline constexpr double beta_series_epsilon = 2.220446049250313e-16;

// Where the remainders stop: terms of the lower one, relative steps and terms of the upper one.
inline constexpr double beta_remainder_tolerance = 1e-14;

// Two convergents P0 / Q0 and P1 / Q1 whose products P0 Q1 and P1 Q0 are apart by more than this, relative to
// the first, are apart by more than the tolerance themselves, whatever the rounding of products and
// quotients: most steps of the fraction need no quotients.
inline constexpr double beta_surely_apart = 2e-14;

// I_x(a, b) and 1 - I_x(a, b). Neither is clamped to 1.
tail_pair beta_tails(double x, double a, double b);

// A cheap estimate of the median of the beta distribution.
double beta_split_point(double a, double b);

// I_x(a, b) / f and (1 - I_x(a, b)) / f, f being the density at x.
double beta_lower_ratio(double a, double b, double x);
double beta_upper_ratio(double a, double b, double x);

// The same for large shapes, whatever the thresholds say.
double beta_lower_ratio_normal(double a, double b, double x);
double beta_upper_ratio_normal(double a, double b, double x);

// The same for a huge b.
double beta_lower_ratio_large_b(double a, double b, double x);
double beta_upper_ratio_large_b(double a, double b, double x);

// Remainder of the upper series, 0 <= a < 1 and b x not 0: (1 - I_x(a, b)) / f times b / (1 - x).
double beta_upper_fraction(double a, double b, double x);

// The series form of that remainder for b x < 1, before its factor of powers.
double beta_upper_small(double a, double b, double x);

// Gamma(a) (b^a Gamma(b) / Gamma(a + b) - 1), 0 <= a < 1.
double gamma_shift_ratio(double a, double b);

// The large-shape expansions of one pair of shapes.
//
// Order: each coefficient stored is a finished left-to-right prefix of its term, so storing it moves the work
// and not the rounding.
class beta_normal_form {
public:
    beta_normal_form(double a, double b);
    double lower(double x) const;
    double upper(double x) const;

private:
    struct expansion {
        double A, B;  // multiplies the Mills ratio; stands beside it
    };
    expansion at(double t) const;

    double p_, minus_q_, e_, sigma_;
    // Coefficients of the four polynomials, numbered by the power of t that they multiply.
    double t9_, t7_, t5_, t3_, t1_;  // C3
    double u6_, u4_, u2_, u0_;       // C2
    double v8_, v6_, v4_, v2_, v0_;  // D3
    double w5_, w3_, w1_;            // D2
};

// beta_upper_small for one pair of shapes: all but the series and the power of b x are settled once.
class beta_small_remainder {
public:
    beta_small_remainder(double a, double b);
    double operator()(double x) const;

    // beta_upper_fraction for b x < 1: the remainder times its factor of powers.
    double scaled(double x) const;
    lane_array scaled(const lane_array& x) const;

private:
    double a_, b_;
    double prefix_;  // -g + h
};

// Both ratios for one pair of shapes: the choice of form and what the form needs.
class beta_ratio_kernel {
public:
    beta_ratio_kernel(double a, double b);
    double lower(double x) const;
    double upper(double x) const;

    // Settles the remainder for b x < 1 now rather than at each point that needs it.
    void prepare_small_remainder();

    // Whether a point above x_min can ask for that remainder.
    bool small_remainder_reachable(double x_min) const;

    // Whether the upper ratio at x asks for it.
    bool takes_small_remainder(double x) const {
        const double c = b_ + whole_a_;
        return !(c * x >= 1.0);
    }

    // The same at four points in step. The upper ratio asks for points that take the same remainder, and for
    // the small one to be prepared.
    lane_array lower(const lane_array& x) const;
    lane_array upper(const lane_array& x) const;

    // Whether the finite parts are long enough for that to pay.
    bool gains_in_step() const { return !normal_ && !large_b_ && whole_a_ + whole_b_ >= 6.0; }

private:
    double lower_series(double x) const;
    double upper_series(double x) const;
    double upper_remainder(double x) const;
    lane_array lower_series(const lane_array& x) const;
    lane_array upper_series(const lane_array& x) const;
    lane_array upper_remainder(const lane_array& x) const;

    double a_, b_;
    double whole_a_, whole_b_;  // floor of the shapes
    bool large_b_;
    std::optional<beta_normal_form> normal_;
    std::optional<beta_small_remainder> small_;
};

// beta_tails for one pair of shapes and many points: the same bits as the free function.
class beta_tail_kernel {
public:
    beta_tail_kernel(double a, double b);
    tail_pair operator()(double x) const;

    // Four points of one kind, 0 < x < 1, in step: the same bits again.
    static constexpr std::size_t kinds = 3;
    std::size_t kind(double x) const {
        return x <= split_point_ ? 0u : ratio_.takes_small_remainder(x) ? 1u : 2u;
    }
    tail_pairs operator()(const lane_array& x) const;

    // Whether that pays: short series are over before four of them have met.
    bool gains_in_step() const { return ratio_.gains_in_step(); }

    double split_point() const { return split_point_; }

private:
    tail_pair tails(double x, double L, double ratio) const;
    friend tail_pair beta_tails(double x, double a, double b);
    struct single_point {};
    beta_tail_kernel(double a, double b, single_point);

    double split_point_;
    beta_log_density log_density_;
    beta_ratio_kernel ratio_;
};

// A point of (0, 1) and which of two kernels it goes to; any other number for a point that goes to neither.
struct beta_coordinate {
    double at;
    bool far;
};

// Tails at many points from two kernels: coordinate(i) says where point i goes, put(i, far, tails) takes what
// comes of it, alone(i) settles one that goes nowhere or has no company. Points whose ratios take the same
// course go in step.
template <class Coordinate, class Put, class Alone>
void beta_tails_in_step(const beta_tail_kernel& near, const beta_tail_kernel& far, std::uint64_t n,
                        const Coordinate& coordinate, const Put& put, const Alone& alone) {
    constexpr std::size_t kinds = beta_tail_kernel::kinds;
    lane_groups<2 * kinds> groups;
    const auto run = [&](std::size_t kind, const lane_array& at, const lane_indices& index,
                         std::size_t count) {
        const bool is_far = kind >= kinds;
        const tail_pairs tails = is_far ? far(at) : near(at);
        for (std::size_t l = 0; l < count; ++l) put(index[l], is_far, tails[l]);
    };
    for (std::uint64_t i = 0; i < n; ++i) {
        const beta_coordinate c = coordinate(i);
        if (c.at > 0.0 && c.at < 1.0) {
            groups.add(c.far ? kinds + far.kind(c.at) : near.kind(c.at), c.at, i, run);
        } else {
            alone(i);
        }
    }
    groups.finish(run, alone);
}

}  // namespace dru::impl
