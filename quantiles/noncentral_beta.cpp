#include "quantiles/noncentral_beta.hpp"

#include <cmath>

#include "frame/nan.hpp"
#include "kernels/incomplete_beta.hpp"
#include "kernels/log_gamma.hpp"
#include "quantiles/beta_quantile.hpp"
#include "quantiles/noncentral_sums.hpp"
#include "quantiles/root_search.hpp"

namespace dru::impl {

namespace {

bool mixture_defined(double ncp) { return ncp > 0.0 && !is_infinite(ncp); }

// One orientation of the mixture at one point. The index j is added to `shape`; `along` is the coordinate
// whose power grows with it and `across` its complement: x, 1 - x and a on the left, 1 - y, y and q on the
// right.
struct mixture_point {
    double ncp;
    double shape;
    double c;  // sum of both shapes at j = 0
    double along, across;
};

// Sum over j of w_j times the tail that falls away from the index: T_j = w_j R_j density_j. The ratio starts
// at the first index of any weight and is carried upward.
template <class StartRatio, class LogDensity>
double rising_sum(const mixture_point& m, double j0, const StartRatio& start_ratio,
                  const LogDensity& log_density) {
    if (!(j0 <= largest_index)) return sign_set_nan;
    double i = j0;
    double k = 0.0;
    double R = start_ratio(m.shape + j0);
    double S = 0.0;
    while (i <= j0 + series_ceiling) {
        const double d = (m.shape + i) * R / m.along;
        const double t = (i + 1.0) / m.ncp * d / (m.across + d);  // T_i / T_(i+1)
        if (t > 1.0) {
            k = i;
            break;
        }
        S = (S + 1.0) * t;
        R = m.across / (i + m.c) + d / (i + m.c);
        i += 1.0;
    }
    if (i - j0 >= series_ceiling) return 0.0;
    const double log_peak = log_poisson_pmf(k, m.ncp) + log_density(m.shape + k);
    if (log_peak < log_dbl_min) return 0.0;

    double T = std::exp(log_peak) * R;
    double total = (S + 1.0) * T;
    i = k;
    while (i <= k + series_ceiling) {
        const double d = (m.shape + i) * R / m.along;
        const double t = m.ncp / (i + 1.0) * (m.across / d + 1.0);  // T_(i+1) / T_i
        T = T * t;
        total = total + T;
        if (total > tail_switch || T < total * series_tolerance * (1.0 - t)) break;
        R = m.across / (i + m.c) + d / (i + m.c);
        i += 1.0;
    }
    return i - k > series_ceiling - 1.0 ? 0.0 : total;
}

// Sum over j of w_j times the other tail: T_j = w_j L_j density_j, from the last index of any weight
// downward.
template <class StartRatio, class LogDensity>
double falling_sum(const mixture_point& m, double j1, const StartRatio& start_ratio,
                   const LogDensity& log_density) {
    if (!(j1 <= largest_index)) return sign_set_nan;
    const double limit = j1 - series_ceiling < 1.0 ? 0.0 : j1 - series_ceiling;
    double i = j1;
    double k = 0.0;
    double L = start_ratio(m.shape + j1 + 1.0);
    double S = 0.0;
    bool peak_found = false;
    while (i > limit) {
        const double e = m.c + i - 1.0;
        L = (L * (m.c + i) + m.across) * (m.along / (m.shape + i));
        const double t = m.ncp / i * e * L / (e * L + m.across);  // T_i / T_(i-1)
        if (t > 1.0) {
            k = i;
            peak_found = true;
            break;
        }
        S = (S + 1.0) * t;
        i -= 1.0;
    }
    if (j1 - i >= series_ceiling) return 0.0;
    if (!peak_found) L = (m.across + L * m.c) * (m.along / m.shape);
    const double log_peak = log_poisson_pmf(k, m.ncp) + log_density(m.shape + k);
    if (log_peak < log_dbl_min) return 0.0;

    double T = std::exp(log_peak) * L;
    double total = (S + 1.0) * T;
    i = k;
    while (i > 0.0 && k - i < series_ceiling) {  // the outcome is settled where the ceiling is reached
        const double e = m.c + i - 1.0;
        const double t = i / m.ncp * (m.across / e / L + 1.0);  // T_(i-1) / T_i
        T = T * t;
        total = total + T;
        if (total > tail_switch || T < total * series_tolerance * (1.0 - t)) break;
        L = (L * e + m.across) * (m.along / (i + m.shape - 1.0));
        i -= 1.0;
    }
    return k - i >= series_ceiling ? 0.0 : total;
}

tail_pair canonical(tail_pair tails) {
    if (is_nan(tails.lower) || is_nan(tails.upper)) return {sign_set_nan, sign_set_nan};
    return tails;
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

}  // namespace

tail_pair beta_nc_tails_left(double x, double a, double b, const poisson_start_indices& weights) {
    const double ncp = weights.mean();
    if (x == 0.0) return {0.0, 1.0};
    if (ncp == 0.0) return beta_tails(x, a, b);
    if (!mixture_defined(ncp)) return {sign_set_nan, sign_set_nan};
    const mixture_point m{ncp, a, a + b, x, 1.0 - x};
    const auto log_density = [b, x](double shape) { return log_beta_pdf(shape, b, x); };
    const auto upper_sum = [&] {
        return rising_sum(
            m, weights.first(), [b, x](double shape) { return beta_upper_ratio(shape, b, x); }, log_density);
    };
    const auto lower_sum = [&] {
        return falling_sum(
            m, weights.last(), [b, x](double shape) { return beta_lower_ratio(shape, b, x); }, log_density);
    };
    tail_pair tails;
    if (x >= (a + ncp) / (ncp + m.c)) {
        sum_one_tail(tails.upper, tails.lower, upper_sum, lower_sum);
    } else {
        sum_one_tail(tails.lower, tails.upper, lower_sum, upper_sum);
    }
    return canonical(tails);
}

tail_pair beta_nc_tails_right(double y, double p, double q, const poisson_start_indices& weights) {
    const double ncp = weights.mean();
    if (y == 0.0) return {0.0, 1.0};
    if (ncp == 0.0) return beta_tails(y, p, q);
    if (!mixture_defined(ncp)) return {sign_set_nan, sign_set_nan};
    const mixture_point m{ncp, q, p + q, 1.0 - y, y};
    const auto log_density = [p, y](double shape) { return log_beta_pdf(p, shape, y); };
    const auto first_sum = [&] {
        return rising_sum(
            m, weights.first(), [p, y](double shape) { return beta_lower_ratio(p, shape, y); }, log_density);
    };
    const auto second_sum = [&] {
        return falling_sum(
            m, weights.last(), [p, y](double shape) { return beta_upper_ratio(p, shape, y); }, log_density);
    };
    tail_pair tails;
    if (y < p / (ncp + p + q)) {
        sum_one_tail(tails.lower, tails.upper, first_sum, second_sum);
    } else {
        sum_one_tail(tails.upper, tails.lower, second_sum, first_sum);
    }
    return canonical(tails);
}

namespace {

// Tail at x minus p. Candidates at the ends of the support and beyond are answered by its limits.
class beta_nc_residual {
public:
    beta_nc_residual(double p, double a, double b, double ncp, bool upper)
        : p_(p), a_(a), b_(b), weights_(ncp), upper_(upper) {}

    double operator()(double x) const {
        if (is_nan(x)) return sign_set_nan - p_;
        if (x <= 0.0) return upper_ ? 1.0 - p_ : -p_;
        if (x >= 1.0) return upper_ ? -p_ : 1.0 - p_;
        if (x < 0.5) {
            const tail_pair tails = beta_nc_tails_left(x, a_, b_, weights_);
            return (upper_ ? tails.upper : tails.lower) - p_;
        }
        const tail_pair tails = beta_nc_tails_right(1.0 - x, b_, a_, weights_);
        return (upper_ ? tails.lower : tails.upper) - p_;
    }

private:
    double p_, a_, b_;
    poisson_start_indices weights_;
    bool upper_;
};

}  // namespace

tail_pair beta_nc_tails_left(double x, double a, double b, double ncp) {
    return beta_nc_tails_left(x, a, b, poisson_start_indices(ncp));
}

tail_pair beta_nc_tails_right(double y, double p, double q, double ncp) {
    return beta_nc_tails_right(y, p, q, poisson_start_indices(ncp));
}

double beta_nc_quantile(double p, double a, double b, double ncp, unsigned char upper) {
    if (ncp == 0.0) return beta_quantile(p, a, b, upper);
    const bool is_upper = upper != 0;
    const double flo = is_upper ? 1.0 - p : -p;
    const double fhi = is_upper ? -p : 1.0 - p;
    if (flo == 0.0) return 0.0;
    if (fhi == 0.0) return 1.0;
    if (!mixture_defined(ncp)) return sign_set_nan;
    unsigned char failed = 0;
    const double root = solve_bracketed(0.0, flo, 1.0, fhi, beta_nc_residual(p, a, b, ncp, is_upper), failed);
    return is_nan(root) ? sign_set_nan : root;
}

}  // namespace dru::impl
