// unit_root/householder.cpp: Householder QR of a list of columns, without those that depend on earlier ones.
#include "unit_root/householder.hpp"

#include <cmath>

#include "frame/nan.hpp"

namespace zolv::unit_root {

void Reflect(const std::vector<double>& v, double tau, std::size_t first, std::size_t last,
             std::vector<double>& y) {
    const double scaled = tau * RowDot(v, y, first, last);
    for (std::size_t i = first; i < last; ++i) y[i] = y[i] - scaled * v[i];
}

HouseholderFactors HouseholderColumns(AdfRegression& regression) {
    const std::size_t regressors = regression.regressors(), rows = regression.rows();
    HouseholderFactors factors{
        {}, std::vector<double>(regressors, dru::impl::missing_value), std::vector<double>(regressors, 0.0)};
    auto& retained = factors.retained;

    for (std::size_t j = 0; j < regressors; ++j) {
        std::vector<double>& c = regression.columns[j];
        for (std::size_t b = 0; b < retained.size(); ++b) {
            const std::size_t a = retained[b];
            Reflect(regression.columns[a], factors.tau[a], b, rows, c);
        }

        const std::size_t k = retained.size();
        const double x0 = c[k];
        const double sigma = RowDot(c, c, k + 1, rows);
        double mu, tau;
        if (sigma > 0.0) {
            mu = std::sqrt(x0 * x0 + sigma);
            const double u = x0 > 0.0 ? -sigma / (x0 + mu) : x0 - mu;
            c[k] = u;
            tau = 2.0 / (u * u + sigma);
        } else if (sigma == 0.0) {
            mu = std::fabs(x0);
            c[k] = 1.0;
            tau = x0 < 0.0 ? 2.0 : 0.0;  // the norm is there already: at most its sign changes
        } else {
            continue;  // a NaN in the column
        }
        if (!(mu > dependent_column_norm)) continue;  // a NaN norm as well

        factors.tau[j] = tau;
        factors.diagonal[j] = mu;
        retained.push_back(j);
        Reflect(c, tau, k, rows, regression.response());
    }
    return factors;
}

}  // namespace zolv::unit_root
