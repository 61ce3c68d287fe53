#include "quantiles/noncentral_sums.hpp"

#include "distributions/poisson.hpp"
#include "frame/nan.hpp"

namespace dru::impl {

double poisson_start_indices::first() const {
    return first_ ? *first_ : poisson_quantile(series_start_tail, mean_, 0);
}

double poisson_start_indices::last() const {
    return last_ ? *last_ : poisson_quantile(series_start_tail, mean_, 1);
}

double poisson_start_indices::remember_first() {
    if (!first_) first_ = first();
    return *first_;
}

double poisson_start_indices::remember_last() {
    if (!last_) last_ = last();
    return *last_;
}

void poisson_start_indices::prepare() {
    if (!(mean_ > 0.0) || is_infinite(mean_)) return;
    remember_first();
    remember_last();
}

}  // namespace dru::impl
