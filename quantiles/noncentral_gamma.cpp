#include "quantiles/noncentral_gamma.hpp"

#include <cmath>

#include "frame/nan.hpp"

namespace dru::impl {

namespace {

bool index_moves(double i) { return i <= largest_index; }

}  // namespace

const gamma_tail_kernel& gamma_nc_mixture::first_kernel() const {
    return first_kernel_.get([this] { return gamma_tail_kernel(a_ + weights_.first()); });
}

const gamma_tail_kernel& gamma_nc_mixture::last_kernel() const {
    return last_kernel_.get([this] { return gamma_tail_kernel(a_ + weights_.last() + 1.0); });
}

void gamma_nc_mixture::prepare() const {
    if (!(weights_.mean() > 0.0)) return;
    weights_.prepare();
    first_kernel();
    last_kernel();
}

// Logarithm of the weight of index k times the density that it weighs.
double gamma_nc_mixture::log_term(double k, double x) const {
    const double ncp = weights_.mean();
    if (k == 0.0) return -ncp + first_term_(x);
    return log_poisson_pmf(k, ncp) + log_gamma_pdf(a_ + k, x);
}

// T_j = w_j Q(a + j, x); R is the ratio of Q(a + j, x) to the gamma density of shape a + j at x.
// Both passes count their steps: an index close to 2^53 need not move when 1 is added to it.
double gamma_nc_mixture::upper_sum(double x) const {
    const double a = a_, ncp = weights_.mean(), j0 = weights_.first();
    if (!index_moves(j0)) return sign_set_nan;
    if (rises_to_ceiling(j0, ncp)) return 0.0;
    double k = 0.0;
    double R = first_kernel().upper_ratio(x);
    double S = 0.0;
    double step = 0.0;
    for (; step <= series_ceiling; step += 1.0) {
        const double i = j0 + step;
        const double d = (i + a) * R / x;
        const double t = (i + 1.0) / ncp * d / (d + 1.0);  // T_i / T_(i+1)
        if (t > 1.0) {
            k = i;
            break;
        }
        if (!is_finite(d)) {  // neither it nor the ratio comes back: the pass ends by its limit
            step = series_ceiling + 1.0;
            break;
        }
        R = d + 1.0;
        S = (S + 1.0) * t;
    }
    const double log_peak = log_term(k, x);
    if (log_peak < log_dbl_min) return 0.0;
    if (!index_moves(k)) return sign_set_nan;
    if (step >= series_ceiling) return 0.0;

    double T = std::exp(log_peak) * R;
    double total = (S + 1.0) * T;
    for (step = 0.0; step <= series_ceiling; step += 1.0) {
        const double d = (k + step + a) * R / x;
        const double t = ncp / (k + (step + 1.0)) * (1.0 / d + 1.0);  // T_i / T_(i-1), i = k + step + 1
        T = T * t;
        total = total + T;
        if (T / (1.0 - t) / total < series_tolerance || is_nan(total)) break;
        R = d + 1.0;
    }
    return total;
}

// T_j = w_j P(a + j, x); L is the ratio of P(a + j, x) to the density.
double gamma_nc_mixture::lower_sum(double x) const {
    const double a = a_, ncp = weights_.mean(), j1 = weights_.last();
    if (!index_moves(j1)) return sign_set_nan;
    if (falls_to_ceiling(j1, ncp)) return 0.0;
    const double limit = j1 - series_ceiling < 1.0 ? 0.0 : j1 - series_ceiling;
    double i = j1;
    double k = 0.0;
    double L = 0.0;
    double u = last_kernel().lower_ratio(x) + 1.0;
    double S = 0.0;
    bool peak_found = false;
    while (i > limit) {
        L = x / (a + i) * u;
        u = L + 1.0;
        const double t = ncp / i * L / u;  // T_i / T_(i-1)
        if (t > 1.0) {
            k = i;
            peak_found = true;
            break;
        }
        S = (S + 1.0) * t;
        i -= 1.0;
    }
    if (!peak_found) L = x / a * u;
    const double log_peak = log_term(k, x);
    if (log_peak < log_dbl_min) return 0.0;
    if (j1 - i > series_ceiling - 1.0) return 0.0;

    double T = std::exp(log_peak) * L;
    double total = (S + 1.0) * T;
    i = k;
    while (i > 0.0) {
        const double t = i / ncp * (1.0 / L + 1.0);  // T_(i-1) / T_i
        T = T * t;
        total = total + T;
        if (T / (1.0 - t) / total < series_tolerance || is_nan(total)) break;
        L = (L + 1.0) * (x / (i + a - 1.0));
        i -= 1.0;
    }
    return total;
}

// The tail on its side of the mean is summed; above 0.9 the other is summed, and its complement taken.
tail_pair gamma_nc_mixture::operator()(double x) const {
    const double ncp = weights_.mean();
    if (!(ncp > 0.0)) return {sign_set_nan, sign_set_nan};
    tail_pair tails;
    if (x >= a_ + ncp) {
        tails.upper = upper_sum(x);
        tails.lower = 1.0 - tails.upper;
        // GCOVR_EXCL_START: from the mean up the upper tail of so skew a variate stays below one half or so.
        if (tails.upper > tail_switch) {
            tails.lower = lower_sum(x);
            tails.upper = 1.0 - tails.lower;
        }
        // GCOVR_EXCL_STOP
    } else {
        tails.lower = lower_sum(x);
        tails.upper = 1.0 - tails.lower;
        if (tails.lower > tail_switch) {
            tails.upper = upper_sum(x);
            tails.lower = 1.0 - tails.upper;
        }
    }
    if (is_nan(tails.lower) || is_nan(tails.upper)) return {sign_set_nan, sign_set_nan};
    return tails;
}

tail_pair gamma_nc_tails(double x, double a, double ncp) { return gamma_nc_mixture(a, ncp)(x); }

}  // namespace dru::impl
