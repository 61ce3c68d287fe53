// distributions/t_saddle.hpp: saddle-point form of the noncentral t density, and the recurrence that carries
// it down to few degrees of freedom.
//
// Source: Laplace's method on the integral over the chi variate to the third order in 1/h, h = df / 2 (as in
//         Broda & Paolella 2007 for the doubly noncentral t); the recurrence in half steps of h follows from
//         integrating the same integral by parts.
// Range:  the form serves from 50 degrees of freedom on, the recurrence below, for points on the other side
// of
//         0 than the noncentrality, where it does not cancel.
#pragma once

#include <array>
#include <cstddef>

#include "kernels/log_gamma.hpp"

namespace dru::impl {

inline constexpr double saddle_df = 50.0;               // the saddle-point form serves from here
inline constexpr double negative_density_cut = 21.417;  // for x < 0 the density is 0 above this noncentrality

// From here Gamma(m + 0.5) / Gamma(m) is asymptotic: the gamma values would overflow.
inline constexpr double half_ratio_limit = 167.0;

// Gamma(m + 0.5) / Gamma(m)
double gamma_half_ratio(double m);

// The same in place of each of n arguments above that limit.
void asymptotic_half_ratios(double* m, std::size_t n);

// gamma_half_ratio and gamma_stirling at arguments that move by halves: the values that an answer rests on
// are kept, since the next one mostly asks for one of them again.
//
// Exact: a value is kept with its argument, and serves that very double alone.
class half_step_gammas {
public:
    double gamma(double z) {
        for (std::size_t i = 0; i < kept; ++i) {
            if (z == at_[i]) return value_[i];
        }
        last_ = last_ + 1 < kept ? last_ + 1 : 0;
        at_[last_] = z;
        return value_[last_] = gamma_stirling(z);
    }
    double half_ratio(double m) {
        if (m > half_ratio_limit) return gamma_half_ratio(m);
        const double numerator = gamma(m + 0.5);
        return numerator / gamma(m);
    }

private:
    static constexpr std::size_t kept = 3;  // one more than an answer rests on
    double at_[kept] = {-1.0, -1.0, -1.0}, value_[kept];
    std::size_t last_ = 0;
};

struct t_saddle {
    double density;
    double log_part;    // ln of the density less ln of the correction
    double correction;  // 1 + terms in 1/h, 1/h^2, 1/h^3
};

// The same without the density.
struct t_saddle_parts {
    double log_part, correction;
};

// The form for one df and noncentrality and many points.
//
// Order: what is stored are finished prefixes and factors of the terms at a point.
class t_saddle_form {
public:
    t_saddle_form(double df, double nc);
    t_saddle operator()(double x) const;
    t_saddle_parts parts(double x) const;
    double log_part(double x) const;

private:
    // The saddle point s, the exponent there and its curvature Y; R = 1 / sqrt(h Y).
    struct peak {
        double s, X, Y, R, log_part;
    };
    peak peak_at(double x) const;
    double exponent(double x, double u, double s) const;
    double correction(const peak& at) const;

    double df_, nc_;
    double h_, root_h_;
    double K_;  // 2 h exp(-remainder of h)
    double d_;  // nc / sqrt(h)
    // Of the exponent's series for huge df, by the power of 4 + d^2 that they are divided by.
    double seventh_ = 0.0, fifth_ = 0.0, third_ = 0.0, first_ = 0.0;
};

t_saddle t_nc_pdf_saddle(double x, double df, double nc);

// The density for x < 0, 0 < nc <= 21.417 and df < 50: the degrees of freedom are raised to 2 H >= 50, where
// the saddle-point form holds, and carried back down in half steps of H.
class t_half_step_density {
public:
    t_half_step_density(double df, double nc);
    double operator()(double x) const;

private:
    static constexpr int most_steps = 50;

    struct point {
        double r, q, e;  // u^2 + 2, its root, nc u / q; u = x / sqrt(h)
    };
    double step(const point& at, double H, double gamma_H_half, double gamma_H_one, double older,
                double newer) const;

    double nc_;
    double h_, root_h_;
    int steps_;  // 2 (H - h), at most 50
    double H_;
    t_saddle_form above_, at_H_;                                 // of 2 H + 1 and 2 H degrees of freedom
    std::array<double, most_steps + 1> gamma_half_, gamma_one_;  // Gamma(H + 0.5), Gamma(H + 1) at each step
};

double t_nc_pdf_negative(double x, double df, double nc);  // x < 0, nc > 0

}  // namespace dru::impl
