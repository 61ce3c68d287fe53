// time_series/cm_cmnd_arima_reports.cpp: parameter table, correlations, summary and Ljung-Box table of an
// iterative fit.
#include <cmath>
#include <cstddef>
#include <vector>

#include "distributions/central_tails.hpp"
#include "frame/nan.hpp"
#include "time_series/arima_reports.hpp"
#include "time_series/information_criteria.hpp"
#include "time_series/ljung_box.hpp"
#include "time_series/parameter_order.hpp"

namespace vek::time_series {

namespace {

// A variance that rounding has left below 0, or a NaN, counts as 0.
double NonNegative(double x) { return x > 0.0 ? x : 0.0; }

double StandardErrorOfTheta(const CmCmndArima& model, int i) {
    return std::sqrt(NonNegative(model.InverseMatrix(i, i)) * model.GetSigmaSquared());
}

void Put(double* column, int row, double value) {
    if (column != nullptr) column[row] = value;
}

}  // namespace

double TwoSidedPValue(double t, double df) {
    if (!(df > 0.0 && dru::impl::is_finite(df))) return dru::impl::missing_value;
    return 2.0 * dru::impl::t_cdf_central(std::abs(t), df, 1);
}

void FillParameterTable(const CmCmndArima& model, const zolv_ParameterTable& table) {
    const int k = model.ParameterCount();
    const double df = model.DifferencedCount() - k;
    const int plain = model.HasConstant() ? k - 1 : k;
    const auto test = [&](int row, double t) {
        Put(table.TValue, row, t);
        Put(table.PValue, row, TwoSidedPValue(t, df));
    };
    for (int i = 0; i < plain; ++i) {
        const double se = StandardErrorOfTheta(model, i);
        Put(table.Coefficient, i, model.Theta(i));
        Put(table.StandardError, i, se);
        test(i, model.Theta(i) / se);
    }
    if (!model.HasConstant()) return;

    // The search has estimated the mean; the constant is a multiple of it and shares its t.
    // Oddity: the constant's standard error has its sign where the mean's has the other one.
    const double mu = model.Theta(plain) + model.Mean();
    const double seMu = StandardErrorOfTheta(model, plain);
    Put(table.Coefficient, plain, model.Constant());
    Put(table.StandardError, plain, model.Constant() * seMu / mu);
    test(plain, mu / seMu);
    if (model.Orders().d + std::int64_t{model.Orders().D} == 0) {
        Put(table.Coefficient, plain + 1, mu);
        Put(table.StandardError, plain + 1, seMu);
    }
}

void FillCorrelationMatrix(const CmCmndArima& model, double* out) {
    for (int j = 1; j < model.ParameterCount(); ++j) {
        for (int i = 0; i < j; ++i) {
            const double variances = model.InverseMatrix(j, j) * model.InverseMatrix(i, i);
            *out++ = model.InverseMatrix(j, i) / std::sqrt(NonNegative(variances));
        }
    }
}

void CmCmndArima::GetModelSummary(ArimaSummary* out) const {
    const int k = ParameterCount();
    std::vector<double> parameters(static_cast<std::size_t>(hasConstant_ ? k - 1 : k));
    for (std::size_t i = 0; i < parameters.size(); ++i) parameters[i] = theta_[i];
    zolv::time_series::FitToRecordOrder(parameters.data(), orders_);
    parameters.push_back(sigmaSquared_);

    double constant = constant_;  // only its address counts
    zolv_ArimaModel model{};
    model.ArOrder = orders_.p;
    model.Differencing = orders_.d;
    model.MaOrder = orders_.q;
    model.SeasonalArOrder = orders_.P;
    model.SeasonalDifferencing = orders_.D;
    model.SeasonalMaOrder = orders_.Q;
    model.SeasonalPeriod = orders_.S;
    model.Constant = hasConstant_ ? &constant : nullptr;
    model.Parameters = parameters.data();
    const double L = -2.0 * zolv_ArimaLogLikelihood(series_, n_, &model);
    const double x = count_;
    const auto criteria = zolv::time_series::ComputeCriteria(k + 1, x, L);
    out->DegreesOfFreedom = count_ - k;
    out->SumOfSquares = sumOfSquares_;
    out->SigmaSquared = sigmaSquared_;
    out->MeanSquare = sumOfSquares_ / x;
    out->Aicc = criteria.aicc;
    out->Aic = criteria.aic;
    out->Bic = criteria.bic;
}

void CmCmndArima::LjungBoxTest(const int* lags, int count, double** out) const {
    zolv::time_series::LjungBoxTable(GetResidual(), count_, ParameterCount(), lags, count, out);
}

}  // namespace vek::time_series
