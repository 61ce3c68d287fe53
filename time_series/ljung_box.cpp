#include "time_series/ljung_box.hpp"

#include <algorithm>

#include "distributions/central_tails.hpp"
#include "frame/nan.hpp"

namespace zolv::time_series {

using dru::impl::missing_value;

std::vector<double> ResidualAutocorrelations(const double* residuals, int count, int max_lag) {
    std::vector<double> r(static_cast<std::size_t>(std::max(max_lag, 0)), missing_value);
    if (count < 1) return r;
    const std::size_t N = static_cast<std::size_t>(count);
    const double mean =
        PairwiseSum(0, N, [&](std::size_t t) { return residuals[t]; }) / static_cast<double>(N);
    std::vector<double> deviation(residuals, residuals + N);
    for (double& d : deviation) d -= mean;
    const double squares = PairwiseSum(0, N, [&](std::size_t t) { return deviation[t] * deviation[t]; });
    if (squares == 0.0) return r;
    const std::size_t last = std::min(r.size(), N - 1);
    for (std::size_t k = 1; k <= last; ++k) {
        r[k - 1] =
            PairwiseSum(0, N - k, [&](std::size_t t) { return deviation[t] * deviation[t + k]; }) / squares;
    }
    return r;
}

double ChiSquarePValue(double statistic, double df) {
    if (!(df > 0.0 && dru::impl::is_finite(df))) return missing_value;
    return dru::impl::gamma_cdf_central(statistic * 0.5, df * 0.5, 1);
}

void LjungBoxTable(const double* residuals, int residual_count, int parameter_count, const int* lags,
                   int lag_count, double** out) {
    int used = 0;
    while (used < lag_count && lags[used] < residual_count) ++used;
    if (used == 0) return;
    const std::vector<double> r = ResidualAutocorrelations(residuals, residual_count, lags[used - 1]);
    const int last = static_cast<int>(r.size());

    const double N = residual_count;
    double sum = 0.0;
    int j = 1;
    for (int i = 0; i < used; ++i) {
        for (; j <= std::min(lags[i], last); ++j) {
            const double rj = r[static_cast<std::size_t>(j - 1)];
            sum += rj * rj / (N - j);
        }
        const int df = lags[i] - parameter_count;
        if (df <= 0 || out[i] == nullptr) continue;
        const double statistic = N * (N + 2.0) * sum;
        out[i][0] = dru::impl::is_nan(statistic) ? missing_value : statistic;
        out[i][1] = df;
        out[i][2] = ChiSquarePValue(statistic, df);
    }
}

}  // namespace zolv::time_series
