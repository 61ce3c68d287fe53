#include "quantiles/gamma_quantile.hpp"

#include <cmath>

#include "kernels/log_gamma.hpp"
#include "kernels/normal.hpp"
#include "quantiles/quantile_starts.hpp"

namespace dru::impl {

namespace {

constexpr int newton_limit = 50;

// Up to this shape the lower tail's search starts at the mode.
constexpr double mode_start_shape = 10.0;

// A lower-tail estimate from the series' first term at or below this one is answered with 0.
constexpr double smallest_start = 1e-100;

// As gamma_tails has it: a product that is a NaN counts as 1.
double at_most_one(double product) { return product < 1.0 ? product : 1.0; }

}  // namespace

double gamma_cornish_fisher(double a, double z) {
    const double v = 1.0 / std::sqrt(a);
    const double z2 = z * z;
    const double z3 = z * z * z;
    const double z4 = z * z * z * z;
    return a *
           ((((-(3.0 * z4 + 7.0 * z2 - 16.0) / 810.0 * v + (z3 - 7.0 * z) / 36.0) * v + (z2 - 1.0) / 3.0) *
                 v +
             z) *
                v +
            1.0);
}

double gamma_quantile_large(double p, double a, unsigned char upper) {
    const double z = normal_std_quantile(p);
    return gamma_cornish_fisher(a, upper != 0 ? -z : z);
}

void gamma_quantile_solver::prepare() {
    if (a_ >= gamma_expansion_shape) return;
    tails();
    if (a_ <= 1.0) log_gamma1p_over_a();
}

double gamma_quantile_solver::log_gamma1p_over_a() const {
    return log_gamma1p_over_a_.get([this] { return log_gamma1p_over(a_); });
}

// Tail minus p, and the density (negative for the upper tail): the steps of gamma_tails with its density
// kept, so that both come from one log density. Outside the support the tail is that of the nearer end, which
// is how an excursion of Newton's method is answered.
residual_point gamma_quantile_solver::at(double x, double p, unsigned char upper) const {
    double density, lower, above;
    if (is_nan(x)) {
        density = lower = above = sign_set_nan;
    } else if (x <= 0.0 || is_infinite(x)) {
        density = gamma_density_at_end(x, a_);
        lower = x > 0.0 ? 1.0 : 0.0;
        above = 1.0 - lower;
    } else {
        const tail_kernel& t = tails();
        density = std::exp(t.kernel.log_density(x));
        if (x < t.median) {
            lower = at_most_one(density * t.kernel.lower_ratio(x));
            above = 1.0 - lower;
        } else {
            above = at_most_one(density * t.kernel.upper_ratio(x));
            lower = 1.0 - above;
        }
    }
    return upper != 0 ? residual_point{above - p, -density} : residual_point{lower - p, density};
}

double gamma_quantile_solver::newton(double start, double p, unsigned char upper) const {
    unsigned char failed;
    return solve_newton(
        start, [&](double x) { return at(x, p, upper); }, newton_limit, failed);
}

// Up to 1 from the series' first term, x^a / Gamma(1 + a) = p; up to 10 from the mode.
double gamma_quantile_solver::left(double p) const {
    if (a_ <= 1.0) {
        const double start = std::exp(log_gamma1p_over_a() + std::log(p) / a_);
        return start <= smallest_start ? 0.0 : newton(start, p, 0);
    }
    if (a_ <= mode_start_shape) return newton(a_ - 1.0, p, 0);
    return newton(gamma_cornish_fisher(a_, normal_std_quantile(p)), p, 0);
}

// Oddity: not the branches of the lower tail. The mode is never a start and no start is too small.
double gamma_quantile_solver::right(double p) const {
    if (a_ <= 1.0) return newton(std::exp(log_gamma1p_over_a() + log1p_small(-p) / a_), p, 1);
    return newton(gamma_cornish_fisher(a_, -normal_std_quantile(p)), p, 1);
}

double gamma_quantile_solver::operator()(double p, unsigned char upper) const {
    if (a_ >= gamma_expansion_shape) return gamma_quantile_large(p, a_, upper);
    return upper != 0 ? right(p) : left(p);
}

double gamma_quantile_left(double p, double a) { return gamma_quantile_solver(a).left(p); }
double gamma_quantile_right(double p, double a) { return gamma_quantile_solver(a).right(p); }

}  // namespace dru::impl
