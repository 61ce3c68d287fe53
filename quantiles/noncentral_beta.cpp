#include "quantiles/noncentral_beta.hpp"

#include <cmath>

#include "frame/nan.hpp"
#include "kernels/log_gamma.hpp"
#include "quantiles/subnormal_ratios.hpp"

namespace dru::impl {

namespace {

// Up to this mean the last index of any weight is far below 2^53 (eight standard deviations above the mean)
// and need not be found to see that.
constexpr double plain_index_mean = 1e12;

// One orientation of the mixture at one point. The index j is added to `shape`; `along` is the coordinate
// whose power grows with it and `across` its complement: x, 1 - x and a on the left, 1 - y, y and q on the
// right.
struct mixture_point {
    double ncp;
    double shape;
    double c;  // sum of both shapes at j = 0
    double along, across;
};

// A sum on its way. Ratios says how its numbers are kept; a pass that outgrows scaled ones returns and is
// taken up by plain ones.
struct mixture_pass {
    double i, ratio;
    double S = 0.0;  // of the terms before the peak, relative to it
    double T = 0.0, total = 0.0;
    bool ended = false;    // the peak is found, or the sum has stopped
    bool endless = false;  // nothing will end it but the ceiling
    bool is_going() const { return !ended && !endless; }
};

template <class Ratios>
void rise_to_peak(const mixture_point& m, double j0, mixture_pass& pass) {
    const double across = Ratios::scaled(m.across);
    double i = pass.i, R = Ratios::scaled(pass.ratio), S = pass.S;
    while (i <= j0 + series_ceiling && Ratios::fits(R)) {
        // Such a ratio stays what it is, and every t is a NaN up to the ceiling.
        if (!is_finite(R) || (R == 0.0 && across == 0.0)) {
            pass.endless = true;
            break;
        }
        const double d = Ratios::quotient(Ratios::product(R, m.shape + i), m.along);
        const double t = Ratios::product(d, (i + 1.0) / m.ncp) / (across + d);  // T_i / T_(i+1)
        if (t > 1.0) {
            pass.ended = true;
            break;
        }
        S = (S + 1.0) * t;
        R = Ratios::quotient(across, i + m.c) + Ratios::quotient(d, i + m.c);
        i += 1.0;
    }
    pass.i = i, pass.ratio = Ratios::unscaled(R), pass.S = S;
}

template <class Ratios>
void rise_from_peak(const mixture_point& m, double k, mixture_pass& pass) {
    const double across = Ratios::scaled(m.across);
    double i = pass.i, R = Ratios::scaled(pass.ratio), T = pass.T, total = pass.total;
    while (i <= k + series_ceiling && Ratios::fits(R)) {
        if (stop_rule_out_of_reach(T, total)) {
            pass.endless = true;
            break;
        }
        const double d = Ratios::quotient(Ratios::product(R, m.shape + i), m.along);
        const double t = m.ncp / (i + 1.0) * (across / d + 1.0);  // T_(i+1) / T_i
        T = T * t;
        total = total + T;
        if (total > tail_switch || T < total * series_tolerance * (1.0 - t)) {
            pass.ended = true;
            break;
        }
        R = Ratios::quotient(across, i + m.c) + Ratios::quotient(d, i + m.c);
        i += 1.0;
    }
    pass.i = i, pass.ratio = Ratios::unscaled(R), pass.T = T, pass.total = total;
}

// Sum over j of w_j times the tail that falls away from the index: T_j = w_j R_j density_j. R is the ratio at
// the first index j0 of any weight and is carried upward.
//
// Exact: indices are doubles; the caller has made sure that they stay below 2^53.
template <class LogDensity>
double rising_sum(const mixture_point& m, double j0, double R, const LogDensity& log_density) {
    if (rises_to_ceiling(j0, m.ncp)) return 0.0;
    const double largest_factor = m.c + (j0 + 2.0 * series_ceiling);
    mixture_pass pass{j0, R};
    if (worth_scaling(R, m.across, largest_factor)) rise_to_peak<scaled_ratios>(m, j0, pass);
    if (pass.is_going()) rise_to_peak<plain_ratios>(m, j0, pass);
    if (pass.endless || pass.i - j0 >= series_ceiling) return 0.0;
    const double k = pass.ended ? pass.i : 0.0;
    const double log_peak = log_poisson_pmf(k, m.ncp) + log_density(m.shape + k);
    if (log_peak < log_dbl_min) return 0.0;

    pass.T = std::exp(log_peak) * pass.ratio;
    pass.total = (pass.S + 1.0) * pass.T;
    pass.ended = false;
    if (worth_scaling(pass.ratio, m.across, largest_factor)) rise_from_peak<scaled_ratios>(m, k, pass);
    if (pass.is_going()) rise_from_peak<plain_ratios>(m, k, pass);
    return pass.endless || pass.i - k > series_ceiling - 1.0 ? 0.0 : pass.total;
}

template <class Ratios>
void fall_to_peak(const mixture_point& m, double j1, double limit, mixture_pass& pass) {
    const double across = Ratios::scaled(m.across);
    double i = pass.i, L = Ratios::scaled(pass.ratio), S = pass.S;
    while (i > limit && Ratios::fits(L)) {
        const double e = m.c + i - 1.0;
        L = Ratios::product(Ratios::product(L, m.c + i) + across, m.along / (m.shape + i));
        if (!is_finite(L) && j1 >= series_ceiling) {  // no t can be above 1 any more
            pass.endless = true;
            break;
        }
        // T_i / T_(i-1)
        const double t = Ratios::product(L, m.ncp / i * e) / (Ratios::product(L, e) + across);
        if (t > 1.0) {
            pass.ended = true;
            break;
        }
        S = (S + 1.0) * t;
        i -= 1.0;
    }
    pass.i = i, pass.ratio = Ratios::unscaled(L), pass.S = S;
}

template <class Ratios>
void fall_from_peak(const mixture_point& m, double k, mixture_pass& pass) {
    const double across = Ratios::scaled(m.across);
    double i = pass.i, L = Ratios::scaled(pass.ratio), T = pass.T, total = pass.total;
    while (i > 0.0 && k - i < series_ceiling && Ratios::fits(L)) {  // at the ceiling the outcome is settled
        const double e = m.c + i - 1.0;
        const double t = i / m.ncp * (Ratios::quotient(across, e) / L + 1.0);  // T_(i-1) / T_i
        T = T * t;
        total = total + T;
        pass.endless = is_nan(total);
        pass.ended = total > tail_switch || T < total * series_tolerance * (1.0 - t);
        if (pass.endless || pass.ended) break;
        L = Ratios::product(Ratios::product(L, e) + across, m.along / (i + m.shape - 1.0));
        i -= 1.0;
    }
    pass.i = i, pass.ratio = Ratios::unscaled(L), pass.T = T, pass.total = total;
}

// Sum over j of w_j times the other tail: T_j = w_j L_j density_j, from the last index j1 of any weight
// downward. L is the ratio at j1 + 1.
template <class LogDensity>
double falling_sum(const mixture_point& m, double j1, double L, const LogDensity& log_density) {
    if (falls_to_ceiling(j1, m.ncp)) return 0.0;
    const double limit = j1 - series_ceiling < 1.0 ? 0.0 : j1 - series_ceiling;
    mixture_pass pass{j1, L};
    if (worth_scaling(L, m.across, m.c + j1)) fall_to_peak<scaled_ratios>(m, j1, limit, pass);
    if (pass.is_going()) fall_to_peak<plain_ratios>(m, j1, limit, pass);
    if (pass.endless || j1 - pass.i >= series_ceiling) return 0.0;
    if (!pass.ended) pass.ratio = (m.across + pass.ratio * m.c) * (m.along / m.shape);
    const double k = pass.ended ? pass.i : 0.0;
    const double log_peak = log_poisson_pmf(k, m.ncp) + log_density(m.shape + k);
    if (log_peak < log_dbl_min) return 0.0;

    pass.T = std::exp(log_peak) * pass.ratio;
    pass.total = (pass.S + 1.0) * pass.T;
    pass.i = k;
    pass.ended = false;
    if (worth_scaling(pass.ratio, m.across, m.c + k)) fall_from_peak<scaled_ratios>(m, k, pass);
    if (pass.is_going()) fall_from_peak<plain_ratios>(m, k, pass);
    if (pass.endless) return k >= series_ceiling ? 0.0 : sign_set_nan;  // a NaN, and so to the end
    return k - pass.i >= series_ceiling ? 0.0 : pass.total;
}

// The tail that is summed first is accepted up to 0.9; above it the other is summed, and its complement
// taken.
template <class Sum, class OtherSum>
void sum_one_tail(double& tail, double& other, const Sum& sum, const OtherSum& other_sum) {
    tail = sum();
    other = 1.0 - tail;
    if (tail <= tail_switch) return;
    other = other_sum();
    tail = 1.0 - other;
}

tail_pair canonical(tail_pair tails) {
    if (is_nan(tails.lower) || is_nan(tails.upper)) return {sign_set_nan, sign_set_nan};
    return tails;
}

// The kernel of an upper ratio with the part that only small points need.
beta_ratio_kernel with_small_remainder(double a, double b) {
    beta_ratio_kernel ratio(a, b);
    if (ratio.small_remainder_reachable(0.0)) ratio.prepare_small_remainder();
    return ratio;
}

}  // namespace

bool beta_nc_mixture::defined() const {
    const double ncp = weights_.mean();
    if (!(ncp > 0.0) || is_infinite(ncp)) return false;
    return ncp <= plain_index_mean || weights_.last() <= largest_index;
}

// What many points share. Only the upper ratios have a remainder of their own.
void beta_nc_mixture::prepare() const {
    if (!defined()) return;
    left_first_.get([this] { return with_small_remainder(a_ + weights_.first(), b_); });
    right_last_.get([this] { return with_small_remainder(b_, a_ + weights_.last() + 1.0); });
    left_last();
    right_first();
    remainder_b();
}

double beta_nc_mixture::remainder_b() const {
    return remainder_b_.get([this] { return remainder_or_zero(b_); });
}

const beta_ratio_kernel& beta_nc_mixture::left_first() const {
    return left_first_.get([this] { return beta_ratio_kernel(a_ + weights_.first(), b_); });
}

const beta_ratio_kernel& beta_nc_mixture::left_last() const {
    return left_last_.get([this] { return beta_ratio_kernel(a_ + weights_.last() + 1.0, b_); });
}

const beta_ratio_kernel& beta_nc_mixture::right_first() const {
    return right_first_.get([this] { return beta_ratio_kernel(b_, a_ + weights_.first()); });
}

const beta_ratio_kernel& beta_nc_mixture::right_last() const {
    return right_last_.get([this] { return beta_ratio_kernel(b_, a_ + weights_.last() + 1.0); });
}

// log_beta_pdf(shape, b, x), the remainder of b taken once.
double beta_nc_mixture::left_log_density(double shape, double x) const {
    const double remainders = remainder_or_zero(shape + b_) - remainder_or_zero(shape) - remainder_b();
    return log_beta_pdf_from(
        shape, b_, x, std::log(shape + b_), remainders, [shape] { return std::log(shape); },
        [this] { return std::log(b_); });
}

// log_beta_pdf(b, shape, y).
double beta_nc_mixture::right_log_density(double shape, double y) const {
    const double remainders = remainder_or_zero(b_ + shape) - remainder_b() - remainder_or_zero(shape);
    return log_beta_pdf_from(
        b_, shape, y, std::log(b_ + shape), remainders, [this] { return std::log(b_); },
        [shape] { return std::log(shape); });
}

tail_pair beta_nc_mixture::left(double x) const {
    const double ncp = weights_.mean();
    if (x == 0.0) return {0.0, 1.0};
    if (ncp == 0.0) return beta_tails(x, a_, b_);
    if (!defined()) return {sign_set_nan, sign_set_nan};
    const mixture_point m{ncp, a_, c_, x, 1.0 - x};
    const auto log_density = [this, x](double shape) { return left_log_density(shape, x); };
    const auto upper_sum = [&] {
        return rising_sum(m, weights_.first(), left_first().upper(x), log_density);
    };
    const auto lower_sum = [&] { return falling_sum(m, weights_.last(), left_last().lower(x), log_density); };
    tail_pair tails;
    if (x >= (a_ + ncp) / (ncp + c_)) {
        sum_one_tail(tails.upper, tails.lower, upper_sum, lower_sum);
    } else {
        sum_one_tail(tails.lower, tails.upper, lower_sum, upper_sum);
    }
    return canonical(tails);
}

tail_pair beta_nc_mixture::right(double y) const {
    const double ncp = weights_.mean();
    if (y == 0.0) return {0.0, 1.0};
    if (ncp == 0.0) return beta_tails(y, b_, a_);
    if (!defined()) return {sign_set_nan, sign_set_nan};
    const mixture_point m{ncp, a_, c_, 1.0 - y, y};
    const auto log_density = [this, y](double shape) { return right_log_density(shape, y); };
    const auto first_sum = [&] {
        return rising_sum(m, weights_.first(), right_first().lower(y), log_density);
    };
    const auto second_sum = [&] {
        return falling_sum(m, weights_.last(), right_last().upper(y), log_density);
    };
    tail_pair tails;
    if (y < b_ / (ncp + b_ + a_)) {
        sum_one_tail(tails.lower, tails.upper, first_sum, second_sum);
    } else {
        sum_one_tail(tails.upper, tails.lower, second_sum, first_sum);
    }
    return canonical(tails);
}

tail_pair beta_nc_tails_left(double x, double a, double b, const poisson_start_indices& weights) {
    return beta_nc_mixture(a, b, weights).left(x);
}

tail_pair beta_nc_tails_left(double x, double a, double b, double ncp) {
    return beta_nc_tails_left(x, a, b, poisson_start_indices(ncp));
}

tail_pair beta_nc_tails_right(double y, double p, double q, const poisson_start_indices& weights) {
    return beta_nc_mixture(q, p, weights).right(y);
}

tail_pair beta_nc_tails_right(double y, double p, double q, double ncp) {
    return beta_nc_tails_right(y, p, q, poisson_start_indices(ncp));
}

}  // namespace dru::impl
