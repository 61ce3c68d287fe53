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

// near(w) and far(v) are both tails of beta(1/2, b) at w and of beta(b, 1/2) at v.
//
// A df so small or an x so large that w is a NaN (0 / 0, infinity / infinity) takes the far coordinate; with
// v = 0 the tail is then 0.
template <class Near, class Far>
double t_tail(double x, double b, unsigned char upper, Near near, Far far) {
    if (is_nan(x)) return sign_set_nan;
    if (is_infinite(x)) return (x > 0.0) == (upper != 0) ? 0.0 : 1.0;
    const double h2 = x * x * 0.5;
    const double w = h2 / (b + h2);
    if (w == 0.0) return 0.5;
    double tail;  // of |T|, both sides
    if (w < 0.5) {
        tail = near(w).upper;
    } else {
        const double v = b / (b + h2);
        tail = v == 0.0 ? 0.0 : far(v).lower;
    }
    tail *= 0.5;
    const bool beyond = (x > 0.0) == (upper != 0);  // the side asked for does not hold the centre
    return beyond ? tail : 1.0 - tail;
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

}  // namespace dru::impl
