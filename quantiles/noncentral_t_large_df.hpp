// quantiles/noncentral_t_large_df.hpp: tails of the noncentral t with many degrees of freedom.
//
// Source: a saddle-point tail in Lugannani & Rice's manner, in the normal form, with two correction terms
//         (Temme 1982).
#pragma once

#include "kernels/tail_pair.hpp"

namespace dru::impl {

// The saddle-point tail for D degrees of freedom and many points.
class t_large_df_tails {
public:
    t_large_df_tails(double D, double ncp);
    tail_pair operator()(double x) const;

private:
    double D_, ncp_;
    double s_;   // sqrt(D)
    double dd_;  // ncp / s
    double E_;   // dd^2 + 4
    double K_;   // sqrt(1/2) D exp(-remainder of D / 2)
    double root_two_pi_over_D_;
};

tail_pair t_nc_tails_large_df(double x, double D, double ncp);

}  // namespace dru::impl
