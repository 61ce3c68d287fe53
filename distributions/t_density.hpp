// distributions/t_density.hpp: density of Student's t, central and noncentral.
//
// Source: the noncentral density by four methods: a saddle-point expansion in 1/df for many degrees of
// freedom
//         (Daniels 1987; Broda & Paolella 2007), a three-term recurrence in the degrees of freedom that
//         carries it down to few, the series in powers of the noncentrality summed from its largest term, and
//         an asymptotic expansion for a huge noncentrality.
// Range:  df > 0, nc finite.
#pragma once

namespace dru::impl {

inline constexpr double saddle_df = 50.0;             // the saddle-point form serves from here
inline constexpr double huge_noncentrality = 2000.0;  // the asymptotic form serves from here below saddle_df
inline constexpr double negative_density_cut = 21.417;  // for x < 0 the density is 0 above this noncentrality

// Gamma(m + 0.5) / Gamma(m); asymptotic above 167, where the gamma values would overflow.
double gamma_half_ratio(double m);

// ln of the central density, for one df and many points.
class t_log_density {
public:
    explicit t_log_density(double df);
    double operator()(double x) const;

private:
    double h_, g_;   // df / 2, (1 + df) / 2
    double prefix_;  // the finished sum before the last term
};

// The saddle-point form and its two parts, which the recurrence in df needs apart.
struct t_saddle {
    double density;
    double log_part;    // ln of the density less ln of the correction
    double correction;  // 1 + terms in 1/h, 1/h^2, 1/h^3
};
t_saddle t_nc_pdf_saddle(double x, double df, double nc);

double t_nc_pdf_negative(double x, double df, double nc);  // x < 0, nc > 0
double t_nc_pdf_series(double x, double df, double nc);    // x >= 0, 0 < nc < 2000, df < 50
double t_nc_pdf_large_nc(double x, double df, double nc);  // x >= 0, nc >= 2000, df < 50

// The density at any x. A NaN x gives the sign-set NaN, an infinite one 0.
class t_density {
public:
    t_density(double df, double nc) : df_(df), nc_(nc), central_(df) {}
    double operator()(double x) const;

private:
    double df_, nc_;
    t_log_density central_;
};

}  // namespace dru::impl
