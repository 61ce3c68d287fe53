#include "quantiles/noncentral_t.hpp"

#include <cmath>

#include "distributions/central_tails.hpp"
#include "frame/nan.hpp"
#include "kernels/log_gamma.hpp"
#include "kernels/normal.hpp"

namespace dru::impl {

namespace {

double normal_tail_with_cut(double x) { return x >= normal_tail_cut ? 0.0 : normal_upper_tail(x); }

tail_pair exchanged(tail_pair tails) { return {tails.upper, tails.lower}; }

}  // namespace

t_nc_distribution::t_nc_distribution(double df, double ncp)
    : df_(df),
      ncp_(ncp),
      magnitude_(ncp < 0.0 ? -ncp : ncp),
      normal_tail_(normal_tail_with_cut(magnitude_)),
      weights_(magnitude_ * 0.5 * magnitude_),
      even_(0.5, df / 2.0, weights_),
      odd_(df, 2.0 * normal_upper_tail(-magnitude_) - 1.0, weights_),
      negative_(df, magnitude_) {}

void t_nc_distribution::prepare(bool same_side, bool other_side) const {
    if (same_side && !is_infinite(weights_.mean())) {
        weights_.prepare();
        if (weights_.last() <= largest_index) {
            even_.prepare();
            odd_.prepare();
        }
    }
    if (other_side) negative_.prepare();
}

// Oddity: a tail is not clamped. Neither half of the mixture is defined where 1 no longer moves an index.
tail_pair t_nc_distribution::tails_positive(double x) const {
    if (is_infinite(weights_.mean()) || !(weights_.last() <= largest_index))
        return {sign_set_nan, sign_set_nan};
    const t_mixture_point at(x, df_);
    const tail_pair even = at.far ? exchanged(even_.right(at.v)) : even_.left(at.u);
    if (!(x <= magnitude_)) {
        const double second = odd_.upper_sum(at) + 0.5 * even.upper;
        if (is_nan(second)) return {sign_set_nan, sign_set_nan};
        if (!(second > tail_switch)) return {1.0 - second, second};  // the sentinel does not pass here
    }
    const double first = normal_tail_ + 0.5 * even.lower + odd_.lower_sum(at);
    if (is_nan(first)) return {sign_set_nan, sign_set_nan};
    return {first, 1.0 - first};
}

tail_pair t_nc_distribution::tails(double x) const {
    const bool mirror = ncp_ < 0.0;
    if (mirror) x = -x;
    tail_pair tails;
    if (x == 0.0) {
        tails = {normal_tail_, 1.0 - normal_tail_};
    } else {
        tails = x < 0.0 ? negative_(x) : tails_positive(x);
    }
    return mirror ? exchanged(tails) : tails;
}

double t_nc_distribution::tail(double x, unsigned char upper) const {
    if (is_nan(x)) return sign_set_nan;
    if (is_infinite(x)) return (x > 0.0) == (upper != 0) ? 0.0 : 1.0;
    const tail_pair both = tails(x);
    return upper != 0 ? both.upper : both.lower;
}

tail_pair t_nc_tails_positive(double x, double df, double ncp) { return t_nc_distribution(df, ncp).tails(x); }

double t_nc_sf(double x, double df, double ncp) {
    if (ncp == 0.0) return t_cdf_central(x, df, 1);
    return t_nc_distribution(df, ncp).tail(x, 1);
}

double t_nc_cdf(double x, double df, double ncp) {
    if (ncp == 0.0) return t_cdf_central(x, df, 0);
    return t_nc_distribution(df, ncp).tail(x, 0);
}

}  // namespace dru::impl
