// quantiles/noncentral_gamma_quantile.cpp: bracket and bisection on the noncentral gamma tails.
#include <cmath>

#include "frame/nan.hpp"
#include "kernels/incomplete_gamma.hpp"
#include "kernels/normal.hpp"
#include "quantiles/gamma_quantile.hpp"
#include "quantiles/look_ahead.hpp"
#include "quantiles/noncentral_gamma.hpp"
#include "quantiles/repeated_step.hpp"
#include "quantiles/root_search.hpp"

namespace dru::impl {

namespace {

// Strides that a walk down may take before it looks for a way to skip some.
constexpr int longest_plain_walk = 20;

// Tail at x minus p. Oddity: the upper form alone answers a negative tail, which the complement of a sum
// slightly above 1 is, with 1 - p.
class gamma_nc_residual {
public:
    gamma_nc_residual(double p, const gamma_nc_mixture& mixture, bool upper)
        : p_(p), mixture_(mixture), upper_(upper) {}

    double operator()(double x) const {
        if (is_nan(x)) return sign_set_nan - p_;
        if (x <= 0.0) return upper_ ? 1.0 - p_ : -p_;
        if (is_infinite(x)) return upper_ ? -p_ : 1.0 - p_;
        const tail_pair tails =
            mixture_.mean_weight() == 0.0 ? gamma_tails(x, mixture_.shape()) : mixture_(x);
        return from(tails);
    }

    // At four points 0 < x < infinity.
    lane_array operator()(const lane_array& x) const {
        const tail_pairs tails = mixture_(x);
        lane_array residuals;
        for (std::size_t l = 0; l < lane_count; ++l) residuals[l] = from(tails[l]);
        return residuals;
    }

private:
    double from(const tail_pair& tails) const {
        if (!upper_) return tails.lower - p_;
        return tails.upper < 0.0 ? 1.0 - p_ : tails.upper - p_;
    }

    double p_;
    const gamma_nc_mixture& mixture_;
    bool upper_;
};

struct bracket {
    double lo, flo, hi, fhi;
    bool stuck;  // a walk that cannot go on: the quantile is the sign-set NaN
};

// A start near the quantile: Wilson-Hilferty's cube root for a large mixture, Fisher's square root for a
// small shape, and a central quantile scaled to the mean for a small noncentrality.
double quantile_estimate(double p, double a, double ncp, unsigned char upper) {
    const double m = a + ncp;
    const double v = 2.0 * ncp + a;
    double z = p == 0.5 ? 0.0 : normal_std_quantile(p);
    if (upper != 0) z = -z;
    if (a >= 1.0 && ncp >= 1.0) {
        const double c = std::pow(m, -2.0);
        const double root = z * std::sqrt(c * v / 9.0) + 1.0 - v * c / 9.0;
        return m * (root * root * root);
    }
    if (a < 1.0 && ncp >= 1.0) {
        const double root = z + std::sqrt(4.0 * (m * m) / v - 1.0);
        return root * root * (0.25 * v / m);
    }
    const double g = a >= 10000.0 ? gamma_quantile_large(p, a, upper)
                     : upper != 0 ? gamma_quantile_right(p, a)
                                  : gamma_quantile_left(p, a);
    return g * (v / (ncp + a));
}

// Takes the walk down to the root past the stretch where the residual stands still, without visiting its
// points. A central quantile whose Newton run has failed can put the estimate so far above the root that the
// strides of one standard deviation would take hours. Only points are skipped whose residual is within a
// quarter of its value at infinity: the residual is monotone, so no product of two neighbours among them is 0
// or negative.
void skip_plateau(bracket& b, double sd, double plateau, const gamma_nc_residual& f) {
    if (!(0.5 * plateau * plateau > 0.0)) return;  // their product underflows
    for (double count = 64.0; count >= 1.0;) {
        const double x = step_down_repeatedly(b.lo, sd, count);
        const double fx = x > 1.0 && x < b.lo ? f(x) : 0.0;
        if (fx * b.flo > 0.0 && std::fabs(fx) >= 0.75 * plateau) {
            b.lo = x;
            b.flo = fx;
            count *= 2.0;
        } else {
            count = std::floor(0.5 * count);
        }
    }
}

bracket gamma_nc_bracket(double p, double a, double ncp, unsigned char upper, const gamma_nc_residual& f) {
    bracket b{1.0, f(1.0), 0.0, 0.0, false};
    if (b.flo == 0.0) return b;

    if (upper != 0 ? b.flo < 0.0 : b.flo > 0.0) {  // the root lies below 1: down by a growing factor
        double s = 1e-5;
        for (int n = 1; n < 21;) {
            b.hi = b.lo * s;
            b.fhi = f(b.hi);
            if (b.flo * b.fhi <= 0.0) return b;
            n += 1;
            b.lo = b.hi;
            b.flo = b.fhi;
            s = s * 1e-5;
        }
        return b;
    }

    const auto cannot_go_on = [&b] { return is_nan(b.flo) || is_nan(b.fhi) || b.lo == b.hi; };
    if (a < 1.0 && ncp < 1.0) {
        for (;;) {
            b.hi = 2.0 * b.lo;
            b.fhi = f(b.hi);
            if (b.flo * b.fhi <= 0.0) return b;
            if ((b.stuck = cannot_go_on())) return b;
            b.lo = b.hi;
            b.flo = b.fhi;
        }
    }

    const double estimate = quantile_estimate(p, a, ncp, upper);
    const double sd = std::sqrt(2.0 * ncp + a);
    b.lo = estimate >= 1.0 ? estimate : 1.0;
    b.flo = f(b.lo);
    const bool rising = upper != 0 ? b.flo > 0.0 : b.flo <= 0.0;
    const double direction = rising ? 1.0 : -1.0;
    const double plateau = upper != 0 ? p : 1.0 - p;
    double w = b.lo;
    for (long stride = 0;; ++stride) {
        if (stride == longest_plain_walk && !rising && ncp < 1.0 && a < gamma_expansion_shape) {
            skip_plateau(b, sd, plateau, f);
            w = b.lo;
        }
        w = w + direction * sd;
        b.hi = w >= 1.0 ? w : 1.0;
        b.fhi = f(b.hi);
        if (b.flo * b.fhi <= 0.0) return b;
        if ((b.stuck = cannot_go_on())) return b;
        b.lo = b.hi;
        b.flo = b.fhi;
        w = b.lo;
    }
}

}  // namespace

double gamma_nc_quantile(double p, double a, double ncp, unsigned char upper) {
    const gamma_nc_mixture mixture(a, ncp);
    const gamma_nc_residual f(p, mixture, upper != 0);
    const bracket b = gamma_nc_bracket(p, a, ncp, upper, f);
    if (b.stuck) return sign_set_nan;
    if (b.flo == 0.0) return b.lo;
    if (b.fhi == 0.0) return b.hi;
    unsigned char failed = 0;
    if (!(mixture.mean_weight() > 0.0) || !mixture.many_terms(worth_looking_ahead))
        return solve_bracketed(b.lo, b.flo, b.hi, b.fhi, f, failed);
    look_ahead ahead(f, f, [](double y, double) { return y > 0.0 && y <= largest_double; });
    ahead.expect_bisection(b.lo, b.flo, b.hi, b.fhi);
    return solve_bracketed(
        b.lo, b.flo, b.hi, b.fhi, [&ahead](double x) { return ahead(x); }, failed);
}

}  // namespace dru::impl
