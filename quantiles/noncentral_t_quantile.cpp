// quantiles/noncentral_t_quantile.cpp: the quantile of the noncentral t, by bisection in a bracket that
// doubles away from the normal quantile.
#include <cmath>

#include "frame/nan.hpp"
#include "kernels/log_gamma.hpp"
#include "kernels/normal.hpp"
#include "quantiles/look_ahead.hpp"
#include "quantiles/noncentral_t.hpp"
#include "quantiles/root_search.hpp"

namespace dru::impl {

bool t_nc_distribution::many_terms() const {
    if (is_infinite(weights_.mean()) || !(weights_.last() <= largest_index)) return false;
    return weights_.last() - weights_.first() >= worth_looking_ahead;
}

// Oddity: target minus tail in the upper form, the reverse of every other residual; both forms rise with x.
double t_nc_distribution::quantile(double p, unsigned char upper) const {
    const double sd = df_ > 2.0 ? std::sqrt(df_ / (df_ - 2.0)) : 1.0;
    double x0 = normal_quantile(p, ncp_, sd, upper);
    const bool mixture_in_step = many_terms(), recurrence_in_step = negative_.by_recurrence();
    const auto usable = [&](double y, double x) {
        const double side = ncp_ < 0.0 ? -x : x, at = ncp_ < 0.0 ? -y : y;
        if (side > 0.0) return mixture_in_step && at > 0.0 && worth_steps(at);
        return recurrence_in_step && side < 0.0 && at < 0.0 && at >= -largest_double;
    };
    look_ahead f([&](double x) { return upper != 0 ? p - tail(x, 1) : tail(x, 0) - p; },
                 [&](const lane_array& x) {
                     const auto both = tails(x);
                     lane_array residuals;
                     for (std::size_t l = 0; l < lane_count; ++l)
                         residuals[l] = upper != 0 ? p - both[l].upper : both[l].lower - p;
                     return residuals;
                 },
                 usable);
    const auto residual = [&f](double x) { return f(x); };
    double f0 = f(x0);
    if (is_nan(f0)) return sign_set_nan;
    double x1 = 0.0, f1 = 0.0;
    unsigned char overflow = 0, failed = 0;
    f.expect_doubling(x0, f0);
    expand_bracket(x0, f0, x1, f1, residual, overflow);
    f.expect_bisection(x0, f0, x1, f1);
    const double root = solve_bracketed(x0, f0, x1, f1, residual, failed);
    return is_nan(root) ? sign_set_nan : root;
}

double t_nc_quantile(double p, double df, double ncp, unsigned char upper) {
    const t_nc_distribution distribution(df, ncp);
    distribution.prepare(true, false);
    return distribution.quantile(p, upper);
}

}  // namespace dru::impl
