// distributions/central_gamma_tail.cpp: the tail of a central gamma variate, as the Ljung-Box test uses it.
#include "distributions/central_tails.hpp"
#include "frame/nan.hpp"
#include "kernels/incomplete_gamma.hpp"

namespace dru::impl {

double gamma_cdf_central(double x, double a, unsigned char upper) {
    if (is_nan(x)) return sign_set_nan;
    if (is_infinite(x)) return (x > 0.0) == (upper != 0) ? 0.0 : 1.0;
    if (x <= 0.0) return upper != 0 ? 1.0 : 0.0;
    const tail_pair tails = gamma_tails(x, a);
    return upper != 0 ? tails.upper : tails.lower;
}

}  // namespace dru::impl
