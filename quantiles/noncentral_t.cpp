#include "quantiles/noncentral_t.hpp"

#include <cmath>

#include "distributions/central_tails.hpp"
#include "frame/nan.hpp"
#include "kernels/incomplete_beta.hpp"
#include "kernels/log_gamma.hpp"
#include "kernels/normal.hpp"
#include "quantiles/noncentral_beta.hpp"
#include "quantiles/root_search.hpp"

namespace dru::impl {

namespace {

// What a sum that reaches its ceiling gives.
constexpr double sentinel = largest_double;

double normal_tail_with_cut(double x) { return x >= normal_tail_cut ? 0.0 : normal_upper_tail(x); }

// The mixture at one point x > 0. The coordinates are chosen by the size of x^2 so that the smaller argument
// goes into the kernels: u = x^2 / (df + x^2) and v = 1 - u.
class lenth_mixture {
public:
    lenth_mixture(double x, double df, double d, double W, double log_W)
        : h_(df / 2.0), d_(d), W_(W), log_W_(log_W), mirrored_(df < x * x) {
        const double X = x * x;
        if (mirrored_) {
            v_ = df / (df + X);
            u_ = 1.0 - v_;
        } else {
            u_ = X / (df + X);
            v_ = 1.0 - u_;
        }
    }

    // The even half of the mixture, of index j + 1/2: lower tail, upper tail.
    tail_pair even_half(const poisson_start_indices& weights) const {
        if (!mirrored_) return beta_nc_tails_left(u_, 0.5, h_, weights);
        const tail_pair tails = beta_nc_tails_right(v_, h_, 0.5, weights);
        return {tails.upper, tails.lower};
    }

    double lower_sum(double j1) const;
    double upper_sum(double j0) const;

private:
    double lower_start(double a) const {
        return mirrored_ ? beta_upper_ratio(h_, a, v_) : beta_lower_ratio(a, h_, u_);
    }
    double upper_start(double a) const {
        return mirrored_ ? beta_lower_ratio(h_, a, v_) : beta_upper_ratio(a, h_, u_);
    }
    double log_beta(double a) const { return mirrored_ ? log_beta_pdf(h_, a, v_) : log_beta_pdf(a, h_, u_); }
    double log_peak(double k) const { return log_gamma_pdf(k + 1.5, d_) - log_W_ + log_beta(k + 1.0); }

    double h_, d_, W_, log_W_;
    bool mirrored_;
    double u_, v_;
};

// The odd half, of index j + 1, from the last index of any weight downward. A pass longer than the ceiling
// ends where the ceiling is reached: its outcome is settled there.
double lenth_mixture::lower_sum(double j1) const {
    if (!(j1 <= largest_index)) return sign_set_nan;
    double i = j1;
    double k = 0.0;
    double L = lower_start(j1 + 2.0);
    double S = 0.0;
    while (i >= 0.0) {
        L = (L * (h_ + 1.0 + i) + v_) * (u_ / (i + 1.0));
        if (i == 0.0) break;
        const double e = h_ + 1.0 + i - 1.0;
        const double t = d_ / (i + 0.5) * e * L / (e * L + v_);
        if (t > 1.0) {
            k = i;
            break;
        }
        i -= 1.0;
        S = (S + 1.0) * t;
        if (j1 - i >= series_ceiling) break;
    }
    if (j1 - i >= series_ceiling) return sentinel;
    const double P = log_peak(k);
    if (P < log_dbl_min) return 0.0;

    double T = std::exp(P) * L;
    double total = (S + 1.0) * T;
    i = k;
    while (i > 0.0 && k - i < series_ceiling) {
        const double e = h_ + 1.0 + i - 1.0;
        const double t = (i + 0.5) / d_ * (v_ / e / L + 1.0);
        T = T * t;
        total = total + T;
        if (total > tail_switch || T < total * series_tolerance * (1.0 - t)) break;
        L = (L * e + v_) * (u_ / i);
        i -= 1.0;
    }
    return k - i >= series_ceiling ? sentinel : total * 0.5 * W_;
}

// The odd half from the first index of any weight upward.
double lenth_mixture::upper_sum(double j0) const {
    if (!(j0 <= largest_index)) return sign_set_nan;
    const double m = j0 > 0.0 ? j0 - 1.0 : 0.0;
    double i = m;
    double U = upper_start(m + 1.0);
    double S = 0.0;
    for (;;) {
        const double w = U * (i + 1.0);
        const double t = (i + 1.5) / d_ * (i + 1.0) * U / (u_ * v_ + w);
        if (t > 1.0) break;
        U = v_ / (i + h_ + 1.0) + w / u_ / (i + h_ + 1.0);
        i += 1.0;
        S = (S + 1.0) * t;
        if (!(i - m < series_ceiling)) return sentinel;
    }
    const double k = i;
    const double P = log_peak(k);
    if (P < log_dbl_min) return 0.0;

    double T = std::exp(P) * U;
    double total = (S + 1.0) * T;
    for (;;) {
        const double t = d_ / (i + 1.5) * (v_ * u_ / (i + 1.0) / U + 1.0);
        T = T * t;
        total = total + T;
        if (total > tail_switch || T < total * series_tolerance * (1.0 - t)) return total * 0.5 * W_;
        U = U * (i + 1.0) / u_ / (i + h_ + 1.0) + v_ / (i + h_ + 1.0);
        i += 1.0;
        if (i - k > series_ceiling - 1.0) return sentinel;
    }
}

tail_pair canonical(tail_pair tails) {
    if (is_nan(tails.lower) || is_nan(tails.upper)) return {sign_set_nan, sign_set_nan};
    return tails;
}

tail_pair exchanged(tail_pair tails) { return {tails.upper, tails.lower}; }

}  // namespace

t_nc_distribution::t_nc_distribution(double df, double ncp)
    : df_(df),
      ncp_(ncp),
      magnitude_(ncp < 0.0 ? -ncp : ncp),
      normal_tail_(normal_tail_with_cut(magnitude_)),
      weight_(2.0 * normal_upper_tail(-magnitude_) - 1.0),
      log_weight_(std::log(weight_)),
      weights_(magnitude_ * 0.5 * magnitude_) {}

tail_pair t_nc_distribution::tails(double x) const {
    const bool mirror = ncp_ < 0.0;
    if (mirror) x = -x;
    tail_pair tails;
    if (x == 0.0) {
        tails = {normal_tail_, 1.0 - normal_tail_};
    } else if (x < 0.0) {
        tails = t_nc_tails_negative(x, df_, magnitude_);
    } else if (!(weights_.mean() <= largest_index)) {
        tails = {sign_set_nan, sign_set_nan};
    } else {
        const lenth_mixture mixture(x, df_, weights_.mean(), weight_, log_weight_);
        const tail_pair even = mixture.even_half(weights_);
        const auto lower = [&] {
            return normal_tail_ + 0.5 * even.lower + mixture.lower_sum(weights_.last());
        };
        if (x <= magnitude_) {
            tails.lower = lower();
            tails.upper = 1.0 - tails.lower;
        } else {
            tails.upper = mixture.upper_sum(weights_.first()) + 0.5 * even.upper;
            tails.lower = 1.0 - tails.upper;
            if (tails.upper > tail_switch) {  // the sentinel lands here too
                tails.lower = lower();
                tails.upper = 1.0 - tails.lower;
            }
        }
        tails = canonical(tails);
    }
    return mirror ? exchanged(tails) : tails;
}

tail_pair t_nc_tails_positive(double x, double df, double ncp) { return t_nc_distribution(df, ncp).tails(x); }

double t_nc_sf(double x, double df, double ncp) {
    if (is_nan(x)) return sign_set_nan;
    if (is_infinite(x)) return x > 0.0 ? 0.0 : 1.0;
    if (ncp == 0.0) return t_cdf_central(x, df, 1);
    return t_nc_distribution(df, ncp).tails(x).upper;
}

double t_nc_cdf(double x, double df, double ncp) {
    if (is_nan(x)) return sign_set_nan;
    if (is_infinite(x)) return x > 0.0 ? 1.0 : 0.0;
    if (ncp == 0.0) return t_cdf_central(x, df, 0);
    return t_nc_distribution(df, ncp).tails(x).lower;
}

double t_nc_quantile(double p, double df, double ncp, unsigned char upper) {
    const t_nc_distribution distribution(df, ncp);
    // Oddity: target minus tail in the upper form, the reverse of every other residual; both forms rise with
    // x.
    const auto f = [&](double x) {
        if (upper != 0) {
            if (is_nan(x)) return p - sign_set_nan;
            if (is_infinite(x)) return p - (x > 0.0 ? 0.0 : 1.0);
            return p - distribution.tails(x).upper;
        }
        if (is_nan(x)) return sign_set_nan - p;
        if (is_infinite(x)) return (x > 0.0 ? 1.0 : 0.0) - p;
        return distribution.tails(x).lower - p;
    };
    const double sd = df > 2.0 ? std::sqrt(df / (df - 2.0)) : 1.0;
    double x0 = normal_quantile(p, ncp, sd, upper);
    double f0 = f(x0);
    if (is_nan(f0)) return sign_set_nan;
    double x1 = 0.0, f1 = 0.0;
    unsigned char overflow = 0, failed = 0;
    expand_bracket(x0, f0, x1, f1, f, overflow);
    const double root = solve_bracketed(x0, f0, x1, f1, f, failed);
    return is_nan(root) ? sign_set_nan : root;
}

}  // namespace dru::impl
