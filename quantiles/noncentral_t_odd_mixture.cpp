// quantiles/noncentral_t_odd_mixture.cpp: the sums of the noncentral t's odd half at one point.
#include <cmath>

#include "frame/nan.hpp"
#include "kernels/log_gamma.hpp"
#include "quantiles/noncentral_t.hpp"
#include "quantiles/subnormal_ratios.hpp"

namespace dru::impl {

namespace {

constexpr double sentinel = largest_double;  // what a sum that reaches its ceiling gives

}  // namespace

t_odd_mixture::t_odd_mixture(double df, double weight, const poisson_start_indices& weights)
    : h_(df / 2.0),
      log_h_(std::log(h_)),
      remainder_h_(remainder_or_zero(h_)),
      weight_(weight),
      log_weight_(std::log(weight)),
      weights_(weights) {}

double t_odd_mixture::first_index() const {
    const double j0 = weights_.first();
    return j0 > 0.0 ? j0 - 1.0 : 0.0;
}

const beta_ratio_kernel& t_odd_mixture::near_last() const {
    return near_last_.get([this] { return beta_ratio_kernel(weights_.last() + 2.0, h_); });
}

const beta_ratio_kernel& t_odd_mixture::near_first() const {
    return near_first_.get([this] { return beta_ratio_kernel(first_index() + 1.0, h_); });
}

const beta_ratio_kernel& t_odd_mixture::far_last() const {
    return far_last_.get([this] { return beta_ratio_kernel(h_, weights_.last() + 2.0); });
}

const beta_ratio_kernel& t_odd_mixture::far_first() const {
    return far_first_.get([this] { return beta_ratio_kernel(h_, first_index() + 1.0); });
}

void t_odd_mixture::prepare() const {
    near_last();
    near_first();
    far_first();
    // Only this one has a fractional shape on the side of its upper ratio's remainder.
    far_last_.get([this] {
        beta_ratio_kernel ratio(h_, weights_.last() + 2.0);
        if (ratio.small_remainder_reachable(0.0)) ratio.prepare_small_remainder();
        return ratio;
    });
}

double t_odd_mixture::lower_start(const t_mixture_point& at) const {
    return at.far ? far_last().upper(at.v) : near_last().lower(at.u);
}

double t_odd_mixture::upper_start(const t_mixture_point& at) const {
    return at.far ? far_first().lower(at.v) : near_first().upper(at.u);
}

// The normalising logarithms of h are taken once: log_beta_pdf(k + 1, h, u) or log_beta_pdf(h, k + 1, v), bit
// for bit.
double t_odd_mixture::log_peak(const t_mixture_point& at, double k) const {
    const double a = k + 1.0;
    const auto log_a = [a] { return std::log(a); };
    const auto log_h = [this] { return log_h_; };
    double log_beta;
    if (at.far) {
        const double remainders = remainder_or_zero(h_ + a) - remainder_h_ - remainder_or_zero(a);
        log_beta = log_beta_pdf_from(h_, a, at.v, std::log(h_ + a), remainders, log_h, log_a);
    } else {
        const double remainders = remainder_or_zero(a + h_) - remainder_or_zero(a) - remainder_h_;
        log_beta = log_beta_pdf_from(a, h_, at.u, std::log(a + h_), remainders, log_a, log_h);
    }
    return log_gamma_pdf(k + 1.5, weights_.mean()) - log_weight_ + log_beta;
}

// From the last index of any weight downward. A pass longer than the ceiling ends where the ceiling is
// reached: its outcome is settled there, and so it is where a term is a NaN.
double t_odd_mixture::lower_sum(const t_mixture_point& at) const {
    const double j1 = weights_.last();
    if (falls_to_ceiling(j1, weights_.mean())) return sentinel;
    mixture_pass pass{j1, lower_start(at)};
    if (worth_scaling(pass.ratio, at.v, h_ + 1.0 + j1)) fall_to_peak<scaled_ratios>(at, pass);
    if (pass.is_going()) fall_to_peak<plain_ratios>(at, pass);
    if (pass.at_ceiling) return sentinel;
    const double k = pass.i;
    const double P = log_peak(at, k);
    if (P < log_dbl_min) return 0.0;

    pass.T = std::exp(P) * pass.ratio;
    pass.total = (pass.S + 1.0) * pass.T;
    pass.ended = false;
    if (worth_scaling(pass.ratio, at.v, h_ + 1.0 + k)) fall_from_peak<scaled_ratios>(at, k, pass);
    if (pass.is_going()) fall_from_peak<plain_ratios>(at, k, pass);
    if (pass.at_ceiling) return sentinel;
    if (is_nan(pass.total)) return k >= series_ceiling ? sentinel : sign_set_nan;
    return pass.total * 0.5 * weight_;
}

template <class Ratios>
void t_odd_mixture::fall_to_peak(const t_mixture_point& at, mixture_pass& pass) const {
    const double u = at.u, v = Ratios::scaled(at.v), d = weights_.mean(), j1 = weights_.last();
    double i = pass.i, L = Ratios::scaled(pass.ratio), S = pass.S;
    while (Ratios::fits(L)) {
        L = Ratios::product(Ratios::product(L, h_ + 1.0 + i) + v, u / (i + 1.0));
        if (!is_finite(L) && j1 >= series_ceiling) {  // no t can be above 1 any more
            pass.at_ceiling = true;
            break;
        }
        const double e = h_ + 1.0 + i - 1.0;
        const double t = Ratios::product(L, d / (i + 0.5) * e) / (Ratios::product(L, e) + v);
        if (i == 0.0 || t > 1.0) {
            pass.ended = true;
            break;
        }
        i -= 1.0;
        S = (S + 1.0) * t;
        if (j1 - i >= series_ceiling) {
            pass.at_ceiling = true;
            break;
        }
    }
    pass.i = i, pass.ratio = Ratios::unscaled(L), pass.S = S;
}

template <class Ratios>
void t_odd_mixture::fall_from_peak(const t_mixture_point& at, double k, mixture_pass& pass) const {
    const double u = at.u, v = Ratios::scaled(at.v), d = weights_.mean();
    double i = pass.i, L = Ratios::scaled(pass.ratio), T = pass.T, total = pass.total;
    pass.ended = is_nan(total);
    while (i > 0.0 && !pass.ended && Ratios::fits(L)) {
        const double e = h_ + 1.0 + i - 1.0;
        const double t = (i + 0.5) / d * (Ratios::quotient(v, e) / L + 1.0);
        T = T * t;
        total = total + T;
        pass.ended = is_nan(total) || total > tail_switch || T < total * series_tolerance * (1.0 - t);
        if (pass.ended) break;
        L = Ratios::product(Ratios::product(L, e) + v, u / i);
        i -= 1.0;
        if (k - i >= series_ceiling) {
            pass.at_ceiling = true;
            break;
        }
    }
    pass.i = i, pass.ratio = Ratios::unscaled(L), pass.T = T, pass.total = total;
}

// From the first index of any weight upward. A ratio that is not finite, or 0 with nothing to add, stays what
// it is and makes every t a NaN; a term that is a NaN, or 0 in an empty total, cannot meet the stop rule:
// both run to the ceiling.
double t_odd_mixture::upper_sum(const t_mixture_point& at) const {
    const double m = first_index(), largest_factor = m + 2.0 * series_ceiling + h_ + 1.0;
    if (rises_to_ceiling(m, weights_.mean())) return sentinel;
    mixture_pass pass{m, upper_start(at)};
    if (worth_scaling(pass.ratio, at.v, largest_factor)) rise_to_peak<scaled_ratios>(at, m, pass);
    if (pass.is_going()) rise_to_peak<plain_ratios>(at, m, pass);
    if (pass.at_ceiling) return sentinel;
    const double k = pass.i;
    const double P = log_peak(at, k);
    if (P < log_dbl_min) return 0.0;

    pass.T = std::exp(P) * pass.ratio;
    pass.total = (pass.S + 1.0) * pass.T;
    pass.ended = false;
    if (worth_scaling(pass.ratio, at.v, largest_factor)) rise_from_peak<scaled_ratios>(at, k, pass);
    if (pass.is_going()) rise_from_peak<plain_ratios>(at, k, pass);
    return pass.at_ceiling ? sentinel : pass.total * 0.5 * weight_;
}

template <class Ratios>
void t_odd_mixture::rise_to_peak(const t_mixture_point& at, double m, mixture_pass& pass) const {
    const double u = at.u, v = Ratios::scaled(at.v), d = weights_.mean();
    double i = pass.i, U = Ratios::scaled(pass.ratio), S = pass.S;
    while (Ratios::fits(U)) {
        if (!is_finite(U) || (U == 0.0 && v == 0.0)) {
            pass.at_ceiling = true;
            break;
        }
        const double w = Ratios::product(U, i + 1.0);
        const double t = Ratios::product(U, (i + 1.5) / d * (i + 1.0)) / (Ratios::product(v, u) + w);
        if (t > 1.0) {
            pass.ended = true;
            break;
        }
        U = Ratios::quotient(v, i + h_ + 1.0) + Ratios::quotient(Ratios::quotient(w, u), i + h_ + 1.0);
        i += 1.0;
        S = (S + 1.0) * t;
        if (!(i - m < series_ceiling)) {
            pass.at_ceiling = true;
            break;
        }
    }
    pass.i = i, pass.ratio = Ratios::unscaled(U), pass.S = S;
}

template <class Ratios>
void t_odd_mixture::rise_from_peak(const t_mixture_point& at, double k, mixture_pass& pass) const {
    const double u = at.u, v = Ratios::scaled(at.v), d = weights_.mean();
    double i = pass.i, U = Ratios::scaled(pass.ratio), T = pass.T, total = pass.total;
    while (Ratios::fits(U)) {
        if (stop_rule_out_of_reach(T, total)) {
            pass.at_ceiling = true;
            break;
        }
        const double t = d / (i + 1.5) * (Ratios::quotient(Ratios::product(v, u), i + 1.0) / U + 1.0);
        T = T * t;
        total = total + T;
        if (total > tail_switch || T < total * series_tolerance * (1.0 - t)) {
            pass.ended = true;
            break;
        }
        const double w = Ratios::product(U, i + 1.0);
        U = Ratios::quotient(Ratios::quotient(w, u), i + h_ + 1.0) + Ratios::quotient(v, i + h_ + 1.0);
        i += 1.0;
        if (i - k > series_ceiling - 1.0) {
            pass.at_ceiling = true;
            break;
        }
    }
    pass.i = i, pass.ratio = Ratios::unscaled(U), pass.T = T, pass.total = total;
}

}  // namespace dru::impl
