// unit_root/adf_statistic.cpp: the t ratio of the level's coefficient from a factored regression.
//
// With R b = Q'y, the variance of b[0] is s^2 times the first diagonal element of (R'R)^-1, which is the sum
// of squares of the first row of R^-1. That row is solved for alone.
#include "unit_root/adf_statistic.hpp"

#include <cmath>
#include <vector>

#include "frame/nan.hpp"

namespace zolv::unit_root {

double AdfStatistic(const AdfRegression& regression, const HouseholderFactors& factors,
                    std::size_t observations) {
    const auto& retained = factors.retained;
    const auto& diagonal = factors.diagonal;
    const std::size_t k = retained.size();
    const std::vector<double>& y = regression.response();
    const auto r = [&](std::size_t i, std::size_t j) { return regression.columns[retained[j]][i]; };

    std::vector<double> b(regression.regressors(), dru::impl::missing_value);  // by column
    for (std::size_t i = k; i-- > 0;) {
        double sum = 0.0;
        for (std::size_t j = i + 1; j < k; ++j) sum += r(i, j) * b[retained[j]];
        b[retained[i]] = (y[i] - sum) / diagonal[retained[i]];
    }

    const double residual_sum_of_squares = RowDot(y, y, k, observations);
    const double df = static_cast<double>(observations) - static_cast<double>(k);

    std::vector<double> u(k);  // the first row of the inverse of R
    u[0] = 1.0 / diagonal[0];
    double squares = u[0] * u[0];
    for (std::size_t i = 1; i < k; ++i) {
        double sum = 0.0;
        for (std::size_t j = 0; j < i; ++j) sum += u[j] * r(j, i);
        u[i] = -sum / diagonal[retained[i]];
        squares += u[i] * u[i];
    }

    return b[0] / std::sqrt(squares * (residual_sum_of_squares / df));
}

}  // namespace zolv::unit_root
