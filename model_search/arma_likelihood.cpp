#include "model_search/arma_likelihood.hpp"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <new>
#include <utility>

#include "frame/nan.hpp"
#include "frame/solve.hpp"
#include "model_search/innovation_recursion.hpp"
#include "time_series/running_mean.hpp"
#include "zolv.h"

namespace zolv::time_series {

namespace {

constexpr double log_two_pi = 1.8378770664093456;

// One pass of 1 - B^lag in place over the whole array. The tail it leaves stale is never read by a later
// pass into the part that survives.
void Difference(std::vector<double>& x, std::size_t lag) {
    for (std::size_t i = 0; i + lag < x.size(); ++i) x[i] = x[i + lag] - x[i];
}

// psi_1 .. psi_qa, the weights of the series on its innovations.
std::vector<double> InnovationWeights(const std::vector<double>& ar, const std::vector<double>& ma) {
    const std::size_t pa = ar.size();
    const std::size_t qa = ma.size();
    const std::size_t both = std::min(pa, qa);
    std::vector<double> psi(qa);
    for (std::size_t i = 0; i < both; ++i) {
        double sum = 0.0;
        for (std::size_t j = 0; j < i; ++j) sum += ar[j] * psi[i - 1 - j];
        psi[i] = ar[i] - ma[i] + sum;
    }
    for (std::size_t i = both; i < qa; ++i) {
        double sum = 0.0;
        for (std::size_t j = 0; j < pa; ++j) sum += ar[j] * psi[i - 1 - j];
        psi[i] = sum - ma[i];
    }
    return psi;
}

// c(0) .. c(qa), the autocovariances of the moving-average part alone.
std::vector<double> MovingAverageCovariance(const std::vector<double>& ma) {
    const std::size_t qa = ma.size();
    std::vector<double> c(qa + 1);
    double squares = 0.0;
    for (const double b : ma) squares += b * b;
    c[0] = 1.0 + squares;
    for (std::size_t h = 1; h <= qa; ++h) {
        double sum = 0.0;
        for (std::size_t j = 0; j + h < qa; ++j) sum += ma[h + j] * ma[j];
        c[h] = -ma[h - 1] + sum;
    }
    return c;
}

}  // namespace

std::vector<double> DifferenceSeries(const double* series, int count, int d, int D, int s, bool centre) {
    if (d < 0 || D < 0 || s < 0) return {};
    const std::int64_t left = count - (std::int64_t{s} * D + d);
    if (left < 1) return {};
    std::vector<double> x(series, series + count);
    // Exact: with a lag of 0 the first pass leaves only 0 or NaN, which further passes repeat.
    const int seasonal_passes = s == 0 ? std::min(D, 1) : D;
    for (int pass = 0; pass < seasonal_passes; ++pass) Difference(x, static_cast<std::size_t>(s));
    for (int pass = 0; pass < d; ++pass) Difference(x, 1);
    x.resize(static_cast<std::size_t>(left));
    if (centre) {
        const double mean = RunningMean(x.size(), [&](std::size_t i) { return x[i]; });
        for (double& value : x) value -= mean;
    }
    return x;
}

std::vector<double> ExpandSeasonalPolynomial(std::span<const double> regular,
                                             std::span<const double> seasonal, int s) {
    const std::size_t k = regular.size();
    const std::size_t K = seasonal.size();
    std::vector<double> result(regular.begin(), regular.end());
    if (s < 1 || K < 1) return result;
    const std::size_t period = static_cast<std::size_t>(s);
    result.resize(k + period * K);
    for (std::size_t i = 0; i < K; ++i) {
        result[i * period + period - 1] += seasonal[i];
        for (std::size_t j = 0; j < k; ++j) result[i * period + period + j] += regular[j] * seasonal[i];
    }
    return result;
}

std::vector<double> ArmaCrossCovariance(const std::vector<double>& ar, const std::vector<double>& ma) {
    const std::vector<double> psi = InnovationWeights(ar, ma);
    const std::size_t qa = ma.size();
    std::vector<double> g(qa + 1);
    double sum = 0.0;
    for (std::size_t k = 0; k < qa; ++k) sum += ma[k] * psi[k];
    g[0] = 1.0 - sum;
    for (std::size_t h = 1; h <= qa; ++h) {
        sum = 0.0;
        for (std::size_t k = h; k < qa; ++k) sum += ma[k] * psi[k - h];
        g[h] = -ma[h - 1] - sum;
    }
    return g;
}

std::vector<double> ArmaAutocovariance(const std::vector<double>& ar, const std::vector<double>& ma,
                                       int highest_lag) {
    const std::size_t pa = ar.size();
    const std::size_t size = pa + 1;
    const std::size_t lags = static_cast<std::size_t>(highest_lag) + 1;
    const std::vector<double> g = ArmaCrossCovariance(ar, ma);
    std::vector<double> gamma(std::max(size, lags));
    std::copy_n(g.begin(), std::min(g.size(), gamma.size()), gamma.begin());

    // The Yule-Walker equations in gamma(0) .. gamma(pa). gamma(-k) = gamma(k) folds the terms left of the
    // diagonal back onto the columns 1 .. r.
    std::vector<double> A(size * size);
    A[0] = 1.0;
    for (std::size_t k = 1; k <= pa; ++k) A[k] = -ar[k - 1];
    for (std::size_t r = 1; r <= pa; ++r) {
        double* const row = &A[r * size];
        for (std::size_t k = 0; k <= pa - r; ++k) row[k] = A[r + k];
        for (std::size_t k = 1; k <= r; ++k) row[k] += A[r - k];
    }
    using provider::solve_outcome;
    const auto outcome = provider::SolveSquareSystem(A.data(), gamma.data(), static_cast<std::int64_t>(size));
    if (outcome == solve_outcome::no_memory) throw std::bad_alloc();
    if (outcome != solve_outcome::solved) return {};

    gamma.resize(lags);
    for (std::size_t k = size; k < lags; ++k) {
        double sum = 0.0;
        for (std::size_t j = 1; j <= pa; ++j) sum += ar[j - 1] * gamma[k - j];
        gamma[k] = gamma[k] + sum;
    }
    return gamma;
}

std::vector<double> ArmaInnovationCovariance(const std::vector<double>& ar, const std::vector<double>& ma,
                                             int n) {
    const std::size_t points = static_cast<std::size_t>(n);
    const std::size_t pa = ar.size();
    const std::size_t qa = ma.size();
    const std::size_t m = std::max(pa, qa);
    const std::size_t L = std::min(m, points);
    const std::vector<double> gamma = ArmaAutocovariance(ar, ma, static_cast<int>(L));
    if (gamma.empty()) return {};

    std::vector<double> kappa(points * (points + 1) / 2);
    const auto at = [&](std::size_t i, std::size_t j) -> double& { return kappa[i * (i + 1) / 2 + j]; };

    // Both times in the raw part: the autocovariances of the series.
    for (std::size_t i = 0; i < L; ++i) {
        for (std::size_t j = 0; j <= i; ++j) at(i, j) = gamma[i - j];
    }
    // A filtered row against the raw part. The columns that are filtered too are overwritten below.
    for (std::size_t i = m; i < std::min(2 * m, points); ++i) {
        for (std::size_t h = qa + 1; h-- > 0;) {
            double sum = 0.0;
            for (std::size_t k = 1; k <= pa; ++k) sum += ar[k - 1] * gamma[h > k ? h - k : k - h];
            at(i, i - h) = gamma[h] - sum;
        }
    }
    // Both times in the filtered part: a pure moving average.
    const std::vector<double> c = MovingAverageCovariance(ma);
    for (std::size_t i = m; i < points; ++i) {
        for (std::size_t j = std::max(m, i < qa ? 0 : i - qa); j <= i; ++j) at(i, j) = c[i - j];
    }
    return kappa;
}

double ArmaDeviance(const std::vector<double>& w, const std::vector<double>& ar,
                    const std::vector<double>& ma, double sigma2) {
    if (w.empty()) return dru::impl::missing_value;
    const std::size_t n = w.size();
    std::vector<double> kappa = ArmaInnovationCovariance(ar, ma, static_cast<int>(n));
    if (kappa.empty()) return dru::impl::missing_value;

    InnovationRecursion recursion(std::move(kappa), w);
    const std::size_t pa = ar.size();
    const std::size_t first_filtered = std::max<std::size_t>(1, std::min(std::max(pa, ma.size()), n));
    recursion.Run([&](std::size_t i, double A) {
        if (i < first_filtered) return w[i] - A;
        double B = 0.0;
        for (std::size_t k = 1; k <= pa; ++k) B += ar[k - 1] * w[i - k];
        return w[i] - (B + A);
    });
    // The determinant is one running product and its logarithm is taken once: it may leave the range.
    const double deviance = static_cast<double>(n) * (std::log(sigma2) + log_two_pi) +
                            std::log(recursion.Determinant()) + recursion.QuadraticForm() / sigma2;
    return dru::impl::is_nan(deviance) ? dru::impl::missing_value : deviance;
}

}  // namespace zolv::time_series

namespace {

// The expansion of a longer lag would need a linear system of more than 8 TB.
constexpr std::int64_t longest_expansion = std::int64_t{1} << 20;

bool ModelCanBeEvaluated(const zolv_ArimaModel& model) {
    const auto coefficients_valid = [](std::int32_t order) { return order >= 0 && order <= 5; };
    const std::int64_t seasonal = std::max(model.SeasonalArOrder, model.SeasonalMaOrder);
    return coefficients_valid(model.ArOrder) && coefficients_valid(model.MaOrder) &&
           coefficients_valid(model.SeasonalArOrder) && coefficients_valid(model.SeasonalMaOrder) &&
           model.Differencing >= 0 && model.SeasonalDifferencing >= 0 && model.SeasonalPeriod >= 0 &&
           seasonal * model.SeasonalPeriod <= longest_expansion && model.Parameters != nullptr;
}

}  // namespace

extern "C" double zolv_ArimaLogLikelihood(const double* series, int count, const zolv_ArimaModel* model) {
    using namespace zolv::time_series;
    if (series == nullptr || model == nullptr || count <= 0 || !ModelCanBeEvaluated(*model)) {
        return dru::impl::missing_value;
    }
    const std::vector<double> w =
        DifferenceSeries(series, count, model->Differencing, model->SeasonalDifferencing,
                         model->SeasonalPeriod, model->Constant != nullptr);
    if (w.empty()) return dru::impl::missing_value;

    // Record order: AR, MA, seasonal AR, seasonal MA, innovation variance.
    const double* const ar = model->Parameters;
    const double* const ma = ar + model->ArOrder;
    const double* const seasonal_ar = ma + model->MaOrder;
    const double* const seasonal_ma = seasonal_ar + model->SeasonalArOrder;
    const double sigma2 = seasonal_ma[model->SeasonalMaOrder];
    const double deviance =
        ArmaDeviance(w, ExpandSeasonalPolynomial({ar, ma}, {seasonal_ar, seasonal_ma}, model->SeasonalPeriod),
                     ExpandSeasonalPolynomial({ma, seasonal_ar},
                                              {seasonal_ma, static_cast<std::size_t>(model->SeasonalMaOrder)},
                                              model->SeasonalPeriod),
                     sigma2);
    return dru::impl::is_nan(deviance) ? dru::impl::missing_value : -0.5 * deviance;
}
