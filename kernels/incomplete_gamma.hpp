// kernels/incomplete_gamma.hpp: both tails of a gamma variate of shape a and scale 1.
//
// A tail is the density at the point times a ratio of tail to density. The ratio is a well-scaled number
// summed by backward Horner recurrences; the density carries all the underflow.
// Source: series of Abramowitz & Stegun 6.5.29, Legendre's continued fraction (A&S 6.5.31), and for shapes
//         above 10000 an Edgeworth-type expansion about the normal tail.
// Range:  a >= 0, x > 0, both finite, unless said otherwise; a NaN comes out as a NaN from the ratios.
#pragma once

#include "kernels/log_gamma.hpp"
#include "kernels/tail_pair.hpp"

namespace dru::impl {

// Shapes above this one take the normal form; this one itself still takes the series.
inline constexpr double gamma_normal_shape = 10000.0;

// The lower and the upper tail at x. The tail that is computed is clamped to 1, a NaN product included.
tail_pair gamma_tails(double x, double a);

// P(a, x) / f and Q(a, x) / f, f the density at x.
double gamma_lower_ratio(double a, double x);
double gamma_upper_ratio(double a, double x);

// gamma_upper_ratio without its turn to the normal form above gamma_normal_shape: the limit form of the
// incomplete beta function for a huge second shape sums it at shapes beyond that one too. The sum takes some
// 60 sqrt(a) steps at most; above gamma_series_shape the normal form stands in for it after all, where its
// error, of the order a^-2, is out of sight.
inline constexpr double gamma_series_shape = 1e12;
double gamma_upper_ratio_series(double a, double x);

// Q(a, x) / f for 0 <= a < 1: what remains of the upper series.
double gamma_upper_fraction(double a, double x);

// The two ratios for large shapes.
double gamma_lower_ratio_normal(double a, double x);
double gamma_upper_ratio_normal(double a, double x);

// Estimate of the median that decides which tail is computed.
double gamma_median_estimate(double a);

// gamma_tails and the two ratios for one shape and many points: the same bits, what depends on the shape
// alone taken once.
class gamma_tail_kernel {
public:
    explicit gamma_tail_kernel(double a);

    tail_pair operator()(double x) const;
    double lower_ratio(double x) const;
    double upper_ratio(double x) const;
    double log_density(double x) const { return log_density_(x); }
    double shape() const { return log_density_.a; }

private:
    gamma_log_density log_density_;
    double median_;           // gamma_median_estimate(a)
    double whole_;            // floor(a): how many steps the finite part of the upper series may take
    double fraction_;         // a - floor(a)
    double one_minus_ratio_;  // gamma_one_minus_ratio(fraction_)
};

}  // namespace dru::impl
