// quantiles/noncentral_t_recurrence.hpp: the recurrence that carries a tail of the noncentral t below 0 down
// to few degrees of freedom.
//
// Source: the degrees of freedom are raised to 2 H, where the saddle-point tail is good. The tail at h is
//         that one less the terms of the density's recurrence (distributions/t_saddle.hpp), taken at every
//         second half step.
#pragma once

#include <array>
#include <cmath>
#include <cstddef>
#include <vector>

#include "distributions/t_saddle.hpp"
#include "quantiles/noncentral_t_large_df.hpp"
#include "quantiles/prepared_once.hpp"

namespace dru::impl {

// Half the degrees of freedom at which the saddle-point tail is good.
inline constexpr double large_h = 1000.0;
inline constexpr double root_large_h = 31.622776601683793;

// ln of about 1e-300: below it the start of a recurrence would underflow.
inline constexpr double smallest_log_start = -690.7755;

// Gamma(J + 0.5) / Gamma(J), J = H + 0.5, H, ...: what the half steps from H = m + h down to h multiply by.
//
// Exact: half steps down from H do not round. So those from a lower start are the last ones of these if these
// pass through it, which they do save where h is rounded to another binade's spacing when it joins its m.
class t_half_step_ratios {
public:
    t_half_step_ratios(double h, double m);

    const double* begin() const { return values_.data(); }
    const double* end() const { return values_.data() + values_.size(); }

    // The last 2 m of them, for an m no larger than theirs, or null where those from m + h are others.
    const double* last(double h, double m) const;

private:
    double H_, m_;
    std::vector<double> values_;
};

// What the recurrence from H at the point c starts from, c = x / sqrt(h).
class t_half_step_start {
public:
    t_half_step_start(double H, double ncp);

    struct values {
        double A0, older, newer, r, q, e;
    };
    values operator()(double c) const;
    double H() const { return H_; }

private:
    double ncp_, H_, root_H_, root_above_;
    t_large_df_tails tail_at_H_;
    t_saddle_form at_H_, above_;  // of 2 H and 2 H + 1 degrees of freedom
};

// The recurrence from H = m + h half degrees of freedom down to h.
class t_half_step_tail {
public:
    t_half_step_tail(double h, double m, double ncp);
    double operator()(double c) const;

    const t_half_step_start& start() const { return start_; }
    const t_half_step_ratios& ratios() const { return ratios_; }

private:
    t_half_step_start start_;
    t_half_step_ratios ratios_;
};

// Both tails from what the recurrence ends with.
tail_pair tails_of_recurrence(double t);

// ln of what the recurrence starts from at z half degrees of freedom, as the bisection for z asks for it: z
// is half of 1000, a quarter or three quarters, ... The first of them are kept, since they are the same at
// every point.
class t_start_logarithms {
public:
    explicit t_start_logarithms(double ncp) : ncp_(ncp) {}

    // log_c is ln(-0.5 c); place numbers the halvings from 1, those within the lower half of a place k being
    // 2 k and those within the upper one 2 k + 1.
    double operator()(double c, double log_c, double z, std::size_t place) {
        if (place >= kept) return logarithm(form(z, ncp_), c, log_c);
        return logarithm(kept_[place].get([&] { return form(z, ncp_); }), c, log_c);
    }
    static double at_full_H(const t_saddle_form& form, double c, double log_c) {
        return form.log_part(root_large_h * c) + log_c - 0.5 * std::log(large_h);
    }

    // The place after one whose lower or upper half has been chosen.
    static std::size_t next(std::size_t place, bool lower) {
        return place >= kept ? place : 2 * place + (lower ? 0 : 1);
    }

private:
    struct form {
        double root, half_log;
        t_saddle_form saddle;
        form(double z, double ncp) : root(std::sqrt(z)), half_log(0.5 * std::log(z)), saddle(2.0 * z, ncp) {}
    };
    static double logarithm(const form& at, double c, double log_c) {
        return at.saddle.log_part(at.root * c) + log_c - at.half_log;
    }

    static constexpr std::size_t kept = 64;
    double ncp_;
    std::array<prepared_once<form>, kept> kept_;
};

}  // namespace dru::impl
