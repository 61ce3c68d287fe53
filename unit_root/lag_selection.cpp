// unit_root/lag_selection.cpp: how many lagged differences the augmented Dickey-Fuller regression needs.
#include "unit_root/lag_selection.hpp"

#include <cmath>
#include <cstddef>

#include "distributions/central_tails.hpp"
#include "frame/nan.hpp"
#include "unit_root/adf_regression.hpp"
#include "unit_root/householder.hpp"

namespace zolv::unit_root {

namespace {

constexpr double log_two_pi = 1.8378770664093456;

// The factored longest regression, from which regressors are taken out from the end.
struct Elimination {
    AdfRegression regression;
    HouseholderFactors factors;
    std::size_t rows;
    std::size_t before_lags = 0;  // retained columns that are not lags
    std::size_t lags = 0;         // retained columns that are
    std::size_t in;               // regressors still in

    Elimination(const double* series, std::int32_t n, std::int32_t lag_request, std::int32_t type)
        : regression(BuildAdfRegression(series, n, lag_request, type)),
          factors(HouseholderColumns(regression)),
          rows(regression.rows()),
          in(factors.retained.size()) {
        for (const std::size_t column : factors.retained) {
            if (column < static_cast<std::size_t>(regression.first_lag)) ++before_lags;
        }
        lags = in - before_lags;
    }

    bool has_choice() const { return before_lags != 0 && lags != 0; }

    void TakeOutLast() {
        --in;
        const std::size_t column = factors.retained[in];
        Reflect(regression.columns[column], factors.tau[column], in, rows, regression.response());
    }

    double ResidualSumOfSquares() const {
        return RowDot(regression.response(), regression.response(), in, rows);
    }

    // The lag of the last one of the first count regressors.
    std::int32_t LagOfLast(std::size_t count) const {
        return static_cast<std::int32_t>(factors.retained[count - 1]) - regression.first_lag + 1;
    }
};

// Minus twice the Gaussian log likelihood plus the penalty. The variance counts as a parameter.
double Criterion(const Elimination& model, LagPenalty penalty) {
    const auto n = static_cast<double>(model.rows);
    const auto parameters = static_cast<double>(model.in + 1);
    const double charge = (penalty == LagPenalty::aic ? 2.0 : std::log(n)) * parameters;
    return n * std::log(model.ResidualSumOfSquares() / n) + charge + n + n * log_two_pi;
}

// The upper-tail probability of |t| of the last regressor; NaN without degrees of freedom. The last entry of
// Q'y over the residual standard deviation is that t ratio, up to its sign.
double LastRegressorTail(const Elimination& model) {
    if (model.rows <= model.in) return dru::impl::missing_value;
    const auto df = static_cast<double>(model.rows - model.in);
    const double s = std::sqrt(model.ResidualSumOfSquares() / df);
    const double t = std::fabs(model.regression.response()[model.in - 1]) / s;
    return dru::impl::t_cdf_central(t, df, 1);
}

}  // namespace

std::int32_t SelectLagByCriterion(const double* series, std::int32_t n, std::int32_t regression,
                                  std::int32_t lags, LagPenalty penalty) {
    Elimination model(series, n, lags, regression);
    if (!model.has_choice()) return 0;

    double best = Criterion(model, penalty);
    std::size_t best_in = model.in;
    for (std::size_t i = 1; i <= model.lags; ++i) {
        model.TakeOutLast();
        const double criterion = Criterion(model, penalty);
        if (criterion < best) {
            best = criterion;
            best_in = model.in;
        }
    }
    return model.LagOfLast(best_in);
}

// Oddity: the last pass tests the column before the first lag. If that one succeeds the answer is 0, as when
// nothing does, as long as no column before the lags was dropped.
std::int32_t SelectLagBySignificance(const double* series, std::int32_t n, std::int32_t regression,
                                     std::int32_t lags, double significance) {
    const double half_level = significance > 0.0 && significance < 1.0 ? 0.5 * significance : 0.025;
    Elimination model(series, n, lags, regression);
    if (!model.has_choice()) return 0;

    if (half_level > LastRegressorTail(model)) return model.LagOfLast(model.in);
    for (std::size_t i = 1; i <= model.lags; ++i) {
        model.TakeOutLast();
        if (half_level > LastRegressorTail(model)) return model.LagOfLast(model.in);
    }
    return 0;
}

}  // namespace zolv::unit_root
