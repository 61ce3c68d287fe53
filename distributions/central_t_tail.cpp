// distributions/central_t_tail.cpp: the tail of Student's t, as the parameter tables, the unit-root lag rule
// and the t family use it.
//
// Source: P(|T| > x) = 1 - I_w(1/2, df/2) with w = x^2 / (df + x^2), or I_v(df/2, 1/2) with v = 1 - w formed
//         without the subtraction; the coordinate below 1/2 goes into the kernel. (A&S 26.7.1, 26.5.2)
#include "distributions/central_t_tail.hpp"

#include "distributions/central_tails.hpp"
#include "frame/nan.hpp"
#include "kernels/incomplete_beta.hpp"

namespace dru::impl {

namespace {

// Where a finite x goes: w, or v from one half on.
//
// A df so small or an x so large that w is a NaN (0 / 0, infinity / infinity) takes the far coordinate; with
// v = 0 the tail is then 0.
beta_coordinate coordinate(double x, double b) {
    const double h2 = x * x * 0.5;
    const double w = h2 / (b + h2);
    if (w < 0.5) return {w, false};
    return {b / (b + h2), true};
}

// The side asked for from the tail of |T|, both sides.
double side(double both, double x, unsigned char upper) {
    const double tail = both * 0.5;
    const bool beyond = (x > 0.0) == (upper != 0);  // the side asked for does not hold the centre
    return beyond ? tail : 1.0 - tail;
}

// near(w) and far(v) are both tails of beta(1/2, b) at w and of beta(b, 1/2) at v.
template <class Near, class Far>
double t_tail(double x, double b, unsigned char upper, Near near, Far far) {
    if (is_nan(x)) return sign_set_nan;
    if (is_infinite(x)) return (x > 0.0) == (upper != 0) ? 0.0 : 1.0;
    const auto [at, is_far] = coordinate(x, b);
    if (!is_far) return at == 0.0 ? 0.5 : side(near(at).upper, x, upper);
    return side(at == 0.0 ? 0.0 : far(at).lower, x, upper);
}

}  // namespace

double t_cdf_central(double x, double df, unsigned char upper) {
    const double b = df / 2.0;
    return t_tail(
        x, b, upper, [b](double w) { return beta_tails(w, 0.5, b); },
        [b](double v) { return beta_tails(v, b, 0.5); });
}

double central_t_tail::operator()(double x, unsigned char upper) const {
    return t_tail(x, half_df_, upper, near_, far_);
}

void central_t_tail::operator()(const double* x, std::uint64_t n, unsigned char upper, double* out) const {
    const auto at = [&](std::uint64_t i) {
        return is_finite(x[i]) ? coordinate(x[i], half_df_) : beta_coordinate{0.0, false};
    };
    const auto put = [&](std::uint64_t i, bool far, const tail_pair& both) {
        out[i] = side(far ? both.lower : both.upper, x[i], upper);
    };
    const auto alone = [&](std::uint64_t i) { out[i] = (*this)(x[i], upper); };
    beta_tails_in_step(near_, far_, n, at, put, alone);
}

}  // namespace dru::impl
