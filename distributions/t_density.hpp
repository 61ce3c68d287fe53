// distributions/t_density.hpp: density of Student's t, central and noncentral.
//
// Source: the noncentral density by four methods, chosen by the sign of the point, the degrees of freedom and
//         the noncentrality: a saddle-point expansion for many degrees of freedom and a recurrence that
//         carries it down to few (distributions/t_saddle.hpp), the series in powers of the noncentrality
//         (Johnson, Kotz & Balakrishnan 1995, chapter 31) summed outward from its largest term, and an
//         asymptotic expansion for a huge noncentrality.
// Range:  df > 0 and finite, nc finite.
#pragma once

#include <cstdint>
#include <vector>

#include "distributions/t_saddle.hpp"
#include "kernels/lanes.hpp"
#include "kernels/log_gamma.hpp"
#include "quantiles/prepared_once.hpp"

namespace dru::impl {

inline constexpr double huge_noncentrality = 2000.0;  // the asymptotic form serves from here below saddle_df

// ln of the central density, for one df and many points.
class t_log_density {
public:
    explicit t_log_density(double df);
    double operator()(double x) const;
    lane_array operator()(const lane_array& x) const;  // four points in step

private:
    double h_, g_;   // df / 2, (1 + df) / 2
    double prefix_;  // the finished sum before the last term
};

// The series for x >= 0, 0 < nc < 2000, df < 50, for one df and noncentrality and many points.
//
// A peak index that is a NaN or beyond 2^53, and a ratio of terms that is not finite, give the sign-set NaN.
class t_series_density {
public:
    t_series_density(double df, double nc);
    double operator()(double x) const;

    // Settles the ratios of the first terms, as many as `points` points are worth.
    void prepare(std::uint64_t points);

private:
    double peak_index(double c) const;
    double peak_term(double k, double c, double S) const;

    // Ratios of gamma values between neighbouring terms, upward from index j and downward from index i.
    double up(double j, half_step_gammas& gammas) const { return ratio(up_, j, df_ + j + 1.0, gammas); }
    double down(double i, half_step_gammas& gammas) const { return ratio(down_, i, df_ + i, gammas); }
    static double ratio(const std::vector<double>& prepared, double index, double twice_m,
                        half_step_gammas& gammas);

    double df_, nc_;
    double root_pi_df_;
    double half_ratio_;  // gamma_half_ratio(df / 2)
    double prefix_;      // 1 / Gamma(df / 2) / sqrt(pi df)
    std::vector<double> up_, down_;
};

// The expansion for x >= 0, nc >= 2000, df < 50, in 1 / nc^2.
class t_large_nc_density {
public:
    t_large_nc_density(double df, double nc);
    double operator()(double x) const;

private:
    double nc_, h_, z_;  // z = 1 / nc^2
    gamma_log_density log_density_;
    // Coefficients of the three correction polynomials, by the power of w = (nc / x)^2.
    double first_[3], second_[5], third_[7];
};

double t_nc_pdf_series(double x, double df, double nc);
double t_nc_pdf_large_nc(double x, double df, double nc);

// The density at any x. A NaN x gives the sign-set NaN, an infinite one 0.
class t_density {
public:
    t_density(double df, double nc) : df_(df), nc_(nc), magnitude_(nc < 0.0 ? -nc : nc) {}
    double operator()(double x) const;

    // The same for each of n points, once prepared for them.
    void operator()(const double* x, std::uint64_t n, double* out) const;

    // Settles what the points need: for several of them, and before several threads share the object.
    void prepare(const double* x, std::uint64_t n);

private:
    const t_log_density& central() const {
        return central_.get([this] { return t_log_density(df_); });
    }
    double negative(double x) const;
    double positive(double x) const;

    double df_, nc_, magnitude_;
    prepared_once<t_log_density> central_;
    prepared_once<t_saddle_form> saddle_;
    prepared_once<t_half_step_density> half_step_;
    prepared_once<t_series_density> series_;
    prepared_once<t_large_nc_density> large_nc_;
};

}  // namespace dru::impl
