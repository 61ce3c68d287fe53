// time_series/cm_cmnd_arima_covariance.cpp: the normal matrix at the estimates, whose inverse times sigma
// squared is their covariance (Box & Jenkins 1976, 7.2.2).
//
// The backcasts stay those of the estimates while the parameters move, and the sums leave them out.
#include "time_series/cm_cmnd_arima.hpp"

namespace vek::time_series {

bool CmCmndArima::ComputeCovariance() {
    if (!TakeFrozenDerivatives()) return false;
    const LaneProducts& sums = lanes_.SumProducts(margin);
    for (std::size_t j = 0; j < static_cast<std::size_t>(ParameterCount()); ++j) {
        for (std::size_t i = 0; i <= j; ++i) {
            normal_[j][i] = normal_[i][j] =
                sums.matrix[j][i] / (4.0 * derivativeStep_[j] * derivativeStep_[i]);
        }
    }
    return true;
}

// Residuals at theta_j - h and at theta_j + h for each j, then those of the estimates again.
bool CmCmndArima::TakeFrozenDerivatives() {
    const int k = ParameterCount();
    auto next = around_.begin();
    lanes_.Begin();
    const auto add = [&](int lane, const Parameters& theta) {
        lanes_.Add(lane, theta.data());
        *next++ = theta;
    };
    Parameters theta = theta_;
    for (int j = 0; j < k; ++j) {
        const auto J = static_cast<std::size_t>(j);
        const double h = 0.05 * theta_[J];
        derivativeStep_[J] = h;
        theta[J] = theta_[J] - h;
        add(lanes_.Lowered(j), theta);
        theta[J] = theta_[J] + h;
        add(lanes_.Raised(j), theta);
        theta[J] = theta_[J];
    }
    add(lanes_.After(), theta_);

    // A full pass that has failed has left more behind than the lanes know of.
    if (passed_ && lanes_.RunFrozenPasses(w_.data(), firstIndex_)) {
        lanes_.LeaveAll(w_.data());
        lanes_.LeaveResiduals(e_.data());
        return true;
    }
    next = around_.begin();
    const auto pass = [&](int lane) {
        if (!ComputeResiduals(*next++)) return false;
        lanes_.Put(lane, e_.data());
        return true;
    };
    for (int j = 0; j < k; ++j) {
        if (!pass(lanes_.Lowered(j)) || !pass(lanes_.Raised(j))) return false;
    }
    return pass(lanes_.After());
}

}  // namespace vek::time_series
