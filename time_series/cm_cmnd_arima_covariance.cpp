// time_series/cm_cmnd_arima_covariance.cpp: the normal matrix at the estimates, whose inverse times sigma
// squared is their covariance (Box & Jenkins 1976, 7.2.2).
//
// The backcasts stay those of the estimates while the parameters move, and the sums leave them out.
#include "time_series/cm_cmnd_arima.hpp"

namespace vek::time_series {

bool CmCmndArima::ComputeCovariance() {
    const int k = ParameterCount();
    const Index end = margin + count_;
    const Parameters saved = theta_;
    for (int j = 0; j < k; ++j) {
        const auto J = static_cast<std::size_t>(j);
        double* const x = Column(j);
        const double h = 0.05 * saved[J];
        derivativeStep_[J] = h;

        theta_[J] = saved[J] - h;
        if (!ComputeResiduals(theta_)) return false;
        for (Index t = margin; t < end; ++t) x[t] = e_[static_cast<std::size_t>(t)];

        theta_[J] = saved[J] + h;
        if (!ComputeResiduals(theta_)) return false;
        for (Index t = margin; t < end; ++t) x[t] -= e_[static_cast<std::size_t>(t)];
        theta_[J] = saved[J];
    }
    if (!ComputeResiduals(theta_)) return false;

    for (int j = 0; j < k; ++j) {
        const auto J = static_cast<std::size_t>(j);
        for (int i = 0; i <= j; ++i) {
            const auto I = static_cast<std::size_t>(i);
            double sum = 0.0;
            for (Index t = margin; t < end; ++t) sum += Column(j)[t] * Column(i)[t];
            normal_[J][I] = normal_[I][J] = sum / (4.0 * derivativeStep_[J] * derivativeStep_[I]);
        }
    }
    return true;
}

}  // namespace vek::time_series
