#include "quantiles/beta_quantile.hpp"

#include <cmath>

#include "kernels/log_gamma.hpp"
#include "kernels/normal.hpp"

namespace dru::impl {

namespace {

constexpr int newton_limit = 35;

// From this a b / (a + b) on the expansion is the answer.
constexpr double expansion_limit = 10000.0;

// From these b on the variate is a gamma variate divided by b. A shape a below 1 needs less: the quantile
// then lies nearer to 0 than 1 / b.
constexpr double gamma_limit_b = 1e23;
constexpr double gamma_limit_b_small_a = 1e9;

// From this smaller shape on the expansion starts the search.
constexpr double expansion_start_shape = 10.0;

// A mode at or below this one is too near to the end of the support to start from.
constexpr double smallest_mode_start = 1e-25;

double smaller_of(double a, double b) { return b < a ? b : a; }

}  // namespace

beta_variate::beta_variate(double a, double b)
    : split_point_(beta_split_point(a, b)), log_density_(a, b), ratio_(a, b) {
    if (ratio_.small_remainder_reachable(split_point_)) ratio_.prepare_small_remainder();
}

beta_variate::point beta_variate::operator()(double x) const {
    const double L = log_density_(x);
    const double density = std::exp(L);
    const bool underflow = !(L >= log_dbl_min);
    if (x <= split_point_) {
        const double lower = underflow ? 0.0 : ratio_.lower(x) * density;
        return {density, {lower, 1.0 - lower}};
    }
    const double upper = underflow ? 0.0 : ratio_.upper(x) * density;
    return {density, {1.0 - upper, upper}};
}

beta_cornish_fisher::beta_cornish_fisher(double a, double b)
    : m_(a / (a + b)), v_(1.0 / std::sqrt(a * b / (a + b))), s_((1.0 - m_) * m_) {
    const double d = 1.0 - 2.0 * m_;
    third_ = -s_ / 810.0 * d;
    third_z4_ = 3.0 * (23.0 * s_ + 1.0);
    third_z2_ = 7.0 - 379.0 * s_;
    third_z0_ = 4.0 * (4.0 - 43.0 * s_);
    second_ = s_ / 36.0;
    second_z3_ = 1.0 - 13.0 * s_;
    second_z1_ = 7.0 - 37.0 * s_;
    first_ = s_ / 3.0 * d;
}

double beta_cornish_fisher::operator()(double z) const {
    const double z2 = z * z;
    const double z3 = z * z * z;
    const double z4 = z * z * z * z;
    const double third = third_ * (third_z4_ * z4 + third_z2_ * z2 - third_z0_);
    const double second = second_ * (second_z3_ * z3 - second_z1_ * z);
    return (((third * v_ + second) * v_ + first_ * (z2 - 1.0)) * v_ + z * s_) * v_ + m_;
}

const beta_variate& beta_quantile_side::variate() const {
    return variate_.get([this] { return beta_variate(a_, b_); });
}

const beta_small_start& beta_quantile_side::small_start() const {
    return small_start_.get([this] { return beta_small_start(a_, b_); });
}

const beta_cornish_fisher& beta_quantile_side::expansion() const {
    return expansion_.get([this] { return beta_cornish_fisher(a_, b_); });
}

const tail_pair& beta_quantile_side::tails_at_half() const {
    return tails_at_half_.get([this] { return variate()(0.5).tails; });
}

bool beta_quantile_side::gamma_limit() const {
    return (a_ >= 1.0 && b_ >= gamma_limit_b) || (a_ < 1.0 && b_ >= gamma_limit_b_small_a);
}

double beta_quantile_side::gamma_limit_quantile(double p, unsigned char upper) const {
    return gamma_.get([this] { return gamma_quantile_solver(a_); })(p, upper) / b_;
}

// Tail minus p, and the density (negative for the upper tail). Outside the open interval the tail is that of
// the nearer end, which is how an excursion of Newton's method is answered; from one half on the mirrored
// variate is asked and its tails exchanged.
residual_point beta_quantile_side::at(double x, double p, unsigned char upper,
                                      const beta_quantile_side& mirrored) const {
    double density, lower, above;
    if (is_nan(x)) {
        density = lower = above = sign_set_nan;
    } else if (x <= 0.0 || x >= 1.0) {
        density = beta_density_at_end(x, a_, b_);
        lower = x <= 0.0 ? 0.0 : 1.0;
        above = 1.0 - lower;
    } else if (x < 0.5) {
        const beta_variate::point point = variate()(x);
        density = point.density;
        lower = point.tails.lower;
        above = point.tails.upper;
    } else {
        const beta_variate::point point = mirrored.variate()(1.0 - x);
        density = point.density;
        lower = point.tails.upper;
        above = point.tails.lower;
    }
    return upper != 0 ? residual_point{above - p, -density} : residual_point{lower - p, density};
}

// A mode that is a NaN (shapes of 1 and the next double: 0 / 0) counts as one too small.
double beta_quantile_side::start(double p, unsigned char upper) const {
    const double smaller = smaller_of(a_, b_);
    if (smaller < 1.0) return small_start()(p, upper);
    if (smaller >= expansion_start_shape) {
        const double z = normal_std_quantile(p);
        return expansion()(upper != 0 ? -z : z);
    }
    if (a_ >= b_) return 0.5;
    const double mode = (a_ - 1.0) / (a_ + b_ - 2.0);
    return mode > smallest_mode_start ? mode : smallest_mode_start;
}

// Bisection between the point where Newton's method ended and the end of the support on the other side of the
// root: the tail there is too large for its side. A NaN residual takes the end at 1.
double beta_quantile_side::search(double p, unsigned char upper, const beta_quantile_side& mirrored) const {
    const auto point = [&](double x) { return at(x, p, upper, mirrored); };
    unsigned char failed;
    const double x = solve_newton(start(p, upper), point, newton_limit, failed);
    if (failed == 0) return x;

    const double v = point(x).value;
    const bool root_below = upper != 0 ? v <= 0.0 : v > 0.0;
    const double other = root_below ? 0.0 : 1.0;
    const auto residual = [&](double y) { return point(y).value; };
    return solve_bracketed(x, v, other, residual(other), residual, failed);
}

void beta_quantile_side::prepare() {
    if (gamma_limit()) {
        gamma_.get([this] {
            gamma_quantile_solver solver(a_);
            solver.prepare();
            return solver;
        });
    } else {
        tails_at_half();
    }
    variate();
    const double smaller = smaller_of(a_, b_);
    if (smaller < 1.0) small_start();
    if (smaller >= expansion_start_shape) expansion();
}

beta_quantile_solver::beta_quantile_solver(double a, double b)
    : large_(a * b / (a + b) >= expansion_limit), forward_(a, b), mirrored_(b, a) {}

void beta_quantile_solver::prepare() {
    if (large_) {
        forward_.expansion();
        mirrored_.expansion();
    } else {
        forward_.prepare();
        mirrored_.prepare();
    }
}

double beta_quantile_solver::solve(double p, unsigned char upper, const beta_quantile_side& side,
                                   const beta_quantile_side& other) const {
    if (large_) {
        const double z = normal_std_quantile(p);
        const double lower_z = upper != 0 ? -z : z;
        const double r = side.expansion()(lower_z);
        return r > 0.5 ? 1.0 - other.expansion()(-lower_z) : r;
    }
    if (side.gamma_limit()) return side.gamma_limit_quantile(p, upper);
    const tail_pair& half = side.tails_at_half();
    if (upper != 0) return p >= half.upper ? side.search(p, 1, other) : 1.0 - other.search(p, 0, side);
    return half.lower >= p ? side.search(p, 0, other) : 1.0 - other.search(p, 1, side);
}

double beta_quantile(double p, double a, double b, unsigned char upper) {
    return beta_quantile_solver(a, b)(p, upper);
}

double beta_quantile_left(double p, double a, double b) {
    return beta_quantile_side(a, b).search(p, 0, beta_quantile_side(b, a));
}

double beta_quantile_right(double p, double a, double b) {
    return beta_quantile_side(a, b).search(p, 1, beta_quantile_side(b, a));
}

double beta_quantile_large(double p, double a, double b, unsigned char upper) {
    const double z = normal_std_quantile(p);
    return beta_cornish_fisher(a, b)(upper != 0 ? -z : z);
}

}  // namespace dru::impl
