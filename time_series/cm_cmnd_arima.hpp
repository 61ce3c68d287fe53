// time_series/cm_cmnd_arima.hpp: the seasonal ARIMA model fitted by conditional least squares.
//
// Method: the residual recursion of a multiplicative model with backcasts of the series before its start
//         (Box & Jenkins 1976, 7.1.4 and 7.1.5 with 6.4), minimised by a Marquardt search with numerical
//         derivatives (Marquardt 1963; Box & Jenkins, program 7.2).
//
// Time t of the differenced series stands at index 100 + t of e, a, w and in row 100 + t of the lanes: the
// margin of 100 in front is the room for backcasts, and no term may look further back.
//
// What is valid when:
//   after Estimate below 30000   estimates, sigma squared, residuals, inverse matrix, backcasts, history;
//   after MakeForecast           forecasts and weights, until a call with another origin or count. The first
//                                one that gets as far as a forecast puts the raw series into w behind the
//                                margin; backcasts stay;
//   before and after a failed Estimate   nothing; the getters stay within their arrays, no more.
// Estimate is called once.
// Owns everything but the series (borrowed for life) and the start values (borrowed until Estimate returns).
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "time_series/arima_orders.hpp"
#include "time_series/classic_arima.hpp"
#include "time_series/full_pivot_inverse.hpp"
#include "time_series/lag_terms.hpp"
#include "time_series/residual_lanes.hpp"

namespace vek::time_series {

class CmCmndArima final : public zolv::time_series::ClassicArima {
public:
    // startValues: in fit order, the constant last if there is one; null for none. The series must outlive
    // the model.
    CmCmndArima(const double* series, int n, const zolv::time_series::ArimaOrders& orders, bool hasConstant,
                const std::vector<double>* startValues);

    // ---- ClassicArima ------------------------------------------------------------------------------------
    int Estimate() override;
    std::vector<double> GetEstimatedParameter() const override;
    double GetSigmaSquared() const override { return sigmaSquared_; }
    int MakeForecast(int origin, int leads) override;
    const std::vector<double>& GetForecast() const override { return forecasts_; }
    const std::vector<double>& GetForecastStandardError() override;
    int GetMaxResidualCount() const override { return count_; }
    const double* GetResidual() const override;
    void GetFit(int count, double* out) const override;
    void GetModelSummary(ArimaSummary* out) const override;
    void LjungBoxTest(const int* lags, int count, double** out) const override;
    int IsIterativeFit() const override { return 1; }

    // ---- what only an iterative fit has ------------------------------------------------------------------
    // To be set before Estimate: keep a row per accepted step.
    void RecordHistory(bool record) { recordHistory_ = record; }
    // Row 0 is the start. A row: sum of squares, theta without its last, then the constant, or the last theta
    // of a model without one.
    const std::vector<std::vector<double>>& History() const { return history_; }

    // 100 less the first index of the last pass; 0 without a fit.
    int GetMaxBackcastCount() const;
    // The `count` backcasts nearest the start, oldest first, with the mean added back if the model has a
    // constant; at most the margin of 100. Returns 1 if the oldest one, before that, is below 0.001 in
    // magnitude, else 0; 0 for a count of 0.
    int GetTimeSeriesBackcast(int count, double* out) const;
    // The `count` residuals just before the start, oldest first; at most the margin of 100.
    void GetGaussianNoiseBackcast(int count, double* out) const;

    // ---- what the reports are made of --------------------------------------------------------------------
    const double* Series() const { return series_; }
    int SeriesLength() const { return n_; }
    const zolv::time_series::ArimaOrders& Orders() const { return orders_; }
    bool HasConstant() const { return hasConstant_; }
    int ParameterCount() const { return lastParameter_ + 1; }  // k, the constant counted
    int DifferencedCount() const { return count_; }
    // The estimates as the search holds them, 0..k-1 in fit order; with a constant the last one is the
    // deviation of the process mean from Mean().
    double Theta(int i) const { return theta_[static_cast<std::size_t>(i)]; }
    double Mean() const { return mean_; }                            // of the differenced series
    double StandardDeviation() const { return standardDeviation_; }  // likewise
    double Constant() const { return constant_; }                    // back-transformed; 0 without one
    double SumOfSquares() const { return sumOfSquares_; }            // backcast residuals excluded
    // The inverted matrix, i, j in 0..k-1: the covariance of the estimates short of sigma squared.
    double InverseMatrix(int i, int j) const {
        return normal_[static_cast<std::size_t>(i)][static_cast<std::size_t>(j)];
    }

private:
    friend struct CmCmndArimaProbe;  // the tests look at the prepared state through it

    using Index = std::ptrdiff_t;
    static constexpr Index margin = 100;  // backcast room in front of the series
    static constexpr int max_parameters = 10;
    static constexpr double sum_cap = 1e20;     // a sum of squares above it is only called large
    static constexpr double exact_fit = 1e-30;  // a sum below it ends the search
    static constexpr Index ma_room = 150;       // lag m of the forecast's MA side stands at m - 1,
    static constexpr Index ar_room = 151;       // and of its AR side at m
    using Parameters = std::array<double, max_parameters>;
    using Lags = std::array<std::int64_t, zolv::time_series::max_order>;
    using StartSlots = std::array<double, zolv::time_series::max_order>;
    using TermCoefficients = std::array<double, zolv::time_series::max_terms>;

    int SearchAndConclude();

    // cm_cmnd_arima_preparation.cpp
    int PrepareSeries();
    int PrepareParameters();
    void FillStartSlots();
    void DifferenceInPlace();
    bool TakeBlock(int order, const Lags& lags, const StartSlots& start);

    // cm_cmnd_arima_residuals.cpp
    bool ComputeResiduals(const Parameters& theta);
    bool FullPass(const Parameters& theta);  // the same with fresh backcasts
    bool ShiftWorkingSeries(double c);
    bool BackwardPass();
    bool ForwardPass();
    double CappedSumOfSquares() const;
    double ConstantOf(const Parameters& theta) const;

    // cm_cmnd_arima_search.cpp
    struct Step {              // what one Marquardt step reports
        double damping = 0.0;  // f: the fraction of the full step taken, reduced by the step itself
        double sum = 0.0;      // S at the candidate
        double angle = 0.0;    // degrees between the step and the gradient
    };
    int MarquardtSearch();
    int FindBetterStep(double sum, Step& step);
    bool MarquardtStep(double lambda, Step& step);
    bool Converged(const Parameters& theta) const;
    void RecordRow(double sum);

    // cm_cmnd_arima_derivatives.cpp
    bool TryCandidate(double& sum);
    void RejectCandidate();
    bool Visit(bool derivativesFollow, double& sum);
    bool RunAhead(const Parameters& point, bool tried);
    bool RunAlone(const Parameters& point, double& sum);
    void WalkAround(const Parameters& point);
    bool TakeDerivatives();
    int FormNormalEquations();

    // cm_cmnd_arima_covariance.cpp
    bool ComputeCovariance();
    bool TakeFrozenDerivatives();

    // cm_cmnd_arima_forecast.cpp
    int BuildForecastPolynomials();
    void MultiplyByDifference(Index lag, Index& degree);

    // ---- the question
    const double* series_;
    int n_;
    zolv::time_series::ArimaOrders orders_;
    bool hasConstant_;
    bool hasStartValues_;
    bool recordHistory_ = false;
    const std::vector<double>* startValues_;

    // ---- preparation
    Index arrayLength_ = 0;   // n + 100
    int lastParameter_ = -1;  // k - 1
    int count_ = 0;           // values left after differencing
    std::int64_t differenceLoss_ = 0;
    Index maxLag_ = 0;        // over all terms of both sides
    Index backcastSpan_ = 0;  // the backward pass starts below it
    double startConstant_ = 0.0;
    double preSample_ = 0.0;  // what the series is taken for before its backcasts
    double mean_ = 0.0;
    double standardDeviation_ = 0.0;
    std::array<std::int64_t, max_parameters> lagOf_{};
    Lags arLags_{}, maLags_{}, seasonalArLags_{}, seasonalMaLags_{};
    StartSlots arStart_{}, seasonalArStart_{}, maStart_{}, seasonalMaStart_{};
    zolv::time_series::LagTerms arTerms_, maTerms_;

    // ---- residual recursion
    bool passed_ = false;  // the last full pass has got through
    bool backcastDone_ = false;
    bool backcastExhausted_ = false;
    Index firstIndex_ = margin;  // the first index that enters the sums
    TermCoefficients arCoefficient_{}, maCoefficient_{};
    std::vector<double> e_, a_, w_;  // residuals, backward residuals, working series

    // ---- search
    double lambda_ = 1.0;
    Parameters theta_{}, candidate_{}, delta_{}, scaledStep_{}, solved_{}, gradient_{}, scale_{};
    Parameters derivativeStep_{};
    SmallMatrix work_{}, normal_{};
    bool lastIteration_ = false;
    std::vector<std::vector<double>> history_;
    std::size_t historyRows_ = 0;  // rows written while the search runs

    // ---- derivatives
    ResidualLanes lanes_;                                      // residuals at the points around theta
    std::array<Parameters, 2 * max_parameters + 1> around_{};  // these points; theta ends at the last one
    // Passes run in step before their turn: they are in lanes_, not yet in e_ and w_.
    enum class Ahead { nothing, from_visit, from_trial };
    Ahead ahead_ = Ahead::nothing;
    ResidualLanes::Squares aheadSum_{};
    bool lastTryHeld_ = true;  // the search went to the candidate before

    // ---- results
    bool fitted_ = false;  // Estimate has ended below 30000
    double sigmaSquared_ = 0.0;
    double sumOfSquares_ = 0.0;
    double constant_ = 0.0;

    // ---- forecasts
    bool forecastReady_ = false;
    int leads_ = 0, origin_ = 0;
    std::vector<double> forecasts_, forecastSe_, psi_;
    std::array<double, ma_room> polyMa_{};
    std::array<double, ar_room> polyAr_{}, polyWork_{};
    Index degree_ = 0;  // the larger of the two degrees
};

}  // namespace vek::time_series
