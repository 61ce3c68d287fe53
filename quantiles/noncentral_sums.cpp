#include "quantiles/noncentral_sums.hpp"

#include "distributions/poisson.hpp"
#include "frame/nan.hpp"

namespace dru::impl {

double poisson_start_indices::first() const {
    return first_.get([this] { return poisson_quantile(series_start_tail, mean_, 0); });
}

double poisson_start_indices::last() const {
    return last_.get([this] { return poisson_quantile(series_start_tail, mean_, 1); });
}

void poisson_start_indices::prepare() const {
    if (!(mean_ > 0.0) || is_infinite(mean_)) return;
    first();
    last();
}

}  // namespace dru::impl
