// distributions/central_t_tail.hpp: t_cdf_central for one df and many points.
#pragma once

#include <cstdint>

#include "kernels/incomplete_beta.hpp"

namespace dru::impl {

// The same bits as t_cdf_central(x, df, upper). df has been checked by the caller.
class central_t_tail {
public:
    explicit central_t_tail(double df) : half_df_(df / 2.0), near_(0.5, half_df_), far_(half_df_, 0.5) {}
    double operator()(double x, unsigned char upper) const;

    // The same for each of n points, most of them in step.
    void operator()(const double* x, std::uint64_t n, unsigned char upper, double* out) const;

private:
    double half_df_;
    beta_tail_kernel near_;  // of x^2 / (df + x^2), below 1/2
    beta_tail_kernel far_;   // of df / (df + x^2)
};

}  // namespace dru::impl
