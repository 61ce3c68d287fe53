#include "quantiles/noncentral_gamma.hpp"

#include <cmath>

#include "frame/nan.hpp"
#include "kernels/incomplete_gamma.hpp"
#include "kernels/log_gamma.hpp"
#include "quantiles/noncentral_sums.hpp"

namespace dru::impl {

namespace {

// T_j = w_j Q(a + j, x); R is the ratio of Q(a + j, x) to the gamma density of shape a + j at x.
double upper_sum(double x, double a, double ncp, double j0) {
    if (!(j0 <= largest_index)) return sign_set_nan;
    double i = j0;
    double k = 0.0;
    double R = gamma_upper_ratio(a + j0, x);
    double S = 0.0;
    while (i <= j0 + series_ceiling) {
        const double d = (i + a) * R / x;
        const double t = (i + 1.0) / ncp * d / (d + 1.0);  // T_i / T_(i+1)
        if (t > 1.0) {
            k = i;
            break;
        }
        R = d + 1.0;
        S = (S + 1.0) * t;
        i += 1.0;
    }
    const double log_peak = log_poisson_pmf(k, ncp) + log_gamma_pdf(a + k, x);
    if (log_peak < log_dbl_min) return 0.0;
    if (i - j0 >= series_ceiling) return 0.0;

    double T = std::exp(log_peak) * R;
    double total = (S + 1.0) * T;
    i = k;
    while (i <= k + series_ceiling) {
        const double d = (i + a) * R / x;
        i += 1.0;
        const double t = ncp / i * (1.0 / d + 1.0);  // T_i / T_(i-1)
        T = T * t;
        total = total + T;
        if (T / (1.0 - t) / total < series_tolerance) break;
        R = d + 1.0;
    }
    return total;
}

// T_j = w_j P(a + j, x); L is the ratio of P(a + j, x) to the density.
double lower_sum(double x, double a, double ncp, double j1) {
    if (!(j1 <= largest_index)) return sign_set_nan;
    const double limit = j1 - series_ceiling < 1.0 ? 0.0 : j1 - series_ceiling;
    double i = j1;
    double k = 0.0;
    double L = 0.0;
    double u = gamma_lower_ratio(a + j1 + 1.0, x) + 1.0;
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
    const double log_peak = log_poisson_pmf(k, ncp) + log_gamma_pdf(a + k, x);
    if (log_peak < log_dbl_min) return 0.0;
    if (j1 - i > series_ceiling - 1.0) return 0.0;

    double T = std::exp(log_peak) * L;
    double total = (S + 1.0) * T;
    i = k;
    while (i > 0.0) {
        const double t = i / ncp * (1.0 / L + 1.0);  // T_(i-1) / T_i
        T = T * t;
        total = total + T;
        if (T / (1.0 - t) / total < series_tolerance) break;
        L = (L + 1.0) * (x / (i + a - 1.0));
        i -= 1.0;
    }
    return total;
}

}  // namespace

// Each tail is summed directly when it is the smaller one by the mean; the complement is taken up to 0.9.
tail_pair gamma_nc_tails(double x, double a, const poisson_start_indices& weights) {
    const double ncp = weights.mean();
    if (!(ncp > 0.0)) return {sign_set_nan, sign_set_nan};
    tail_pair tails;
    if (x >= a + ncp) {
        tails.upper = upper_sum(x, a, ncp, weights.first());
        tails.lower = 1.0 - tails.upper;
        if (tails.upper > tail_switch) {
            tails.lower = lower_sum(x, a, ncp, weights.last());
            tails.upper = 1.0 - tails.lower;
        }
    } else {
        tails.lower = lower_sum(x, a, ncp, weights.last());
        tails.upper = 1.0 - tails.lower;
        if (tails.lower > tail_switch) {
            tails.upper = upper_sum(x, a, ncp, weights.first());
            tails.lower = 1.0 - tails.upper;
        }
    }
    if (is_nan(tails.lower) || is_nan(tails.upper)) return {sign_set_nan, sign_set_nan};
    return tails;
}

tail_pair gamma_nc_tails(double x, double a, double ncp) {
    return gamma_nc_tails(x, a, poisson_start_indices(ncp));
}

}  // namespace dru::impl
