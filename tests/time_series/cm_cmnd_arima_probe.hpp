// tests/time_series/cm_cmnd_arima_probe.hpp: the prepared and working state of the iterative model, which no
// caller sees.
#pragma once

#include <span>
#include <vector>

#include "time_series/cm_cmnd_arima.hpp"

namespace vek::time_series {

struct CmCmndArimaProbe {
    CmCmndArima& m;

    int PrepareSeries() { return m.PrepareSeries(); }
    int PrepareParameters() { return m.PrepareParameters(); }
    int Prepare() {
        const int failure = PrepareSeries();
        return failure != 0 ? failure : PrepareParameters();
    }

    // A pass with fresh backcasts, or with those of the last one.
    bool FullPass(const std::vector<double>& theta) { return m.FullPass(Parameters(theta)); }
    bool FrozenPass(const std::vector<double>& theta) {
        m.backcastDone_ = true;
        return m.ComputeResiduals(Parameters(theta));
    }
    double Squares() { return m.CappedSumOfSquares(); }
    double ConstantOf(const std::vector<double>& theta) { return m.ConstantOf(Parameters(theta)); }

    int FormNormalEquations(const std::vector<double>& theta, const std::vector<double>& steps) {
        m.theta_ = Parameters(theta);
        m.derivativeStep_ = Parameters(steps);
        return m.FormNormalEquations();
    }
    // The final matrix and its inverse at theta; the last completed pivot, or -2 after an overflow.
    int CovarianceRank(const std::vector<double>& theta) {
        m.theta_ = Parameters(theta);
        m.backcastDone_ = true;
        return m.ComputeCovariance() ? InvertMatrix(m.normal_, m.lastParameter_) : -2;
    }
    // A Marquardt step from theta with the given lower triangle and gradient, both already scaled.
    struct StepResult {
        bool passed;
        double sum, damping, angle;
        std::vector<double> candidate, delta;
    };
    StepResult MarquardtStep(const std::vector<double>& theta, const std::vector<std::vector<double>>& lower,
                             const std::vector<double>& gradient, const std::vector<double>& scale,
                             double lambda, double damping, double angle) {
        m.theta_ = Parameters(theta);
        for (std::size_t j = 0; j < lower.size(); ++j) {
            for (std::size_t i = 0; i <= j; ++i) m.normal_[j][i] = lower[j][i];
        }
        m.gradient_ = Parameters(gradient);
        m.scale_ = Parameters(scale);
        CmCmndArima::Step step;
        step.damping = damping;
        step.angle = angle;
        const bool passed = m.MarquardtStep(lambda, step);
        const auto taken = [&](const CmCmndArima::Parameters& p) {
            return std::vector<double>(p.begin(), p.begin() + static_cast<std::ptrdiff_t>(theta.size()));
        };
        return {passed, step.sum, step.damping, step.angle, taken(m.candidate_), taken(m.delta_)};
    }

    int Count() const { return m.count_; }
    double W(int index) const { return m.w_[static_cast<std::size_t>(index)]; }
    double E(int index) const { return m.e_[static_cast<std::size_t>(index)]; }
    double A(int index) const { return m.a_[static_cast<std::size_t>(index)]; }
    int FirstIndex() const { return static_cast<int>(m.firstIndex_); }
    int BackcastSpan() const { return static_cast<int>(m.backcastSpan_); }
    int MaxLag() const { return static_cast<int>(m.maxLag_); }
    bool BackcastExhausted() const { return m.backcastExhausted_; }
    double StartConstant() const { return m.startConstant_; }
    double Lambda() const { return m.lambda_; }
    long LagOf(int i) const { return m.lagOf_[static_cast<std::size_t>(i)]; }
    std::span<const double> StartSlots(int block) const {
        const auto& slots = block == 0   ? m.arStart_
                            : block == 1 ? m.seasonalArStart_
                            : block == 2 ? m.maStart_
                                         : m.seasonalMaStart_;
        return slots;
    }
    std::span<const double> PolyAr() const { return m.polyAr_; }
    std::span<const double> PolyMa() const { return m.polyMa_; }
    int Degree() const { return static_cast<int>(m.degree_); }
    const std::vector<double>& Psi() const { return m.psi_; }

private:
    static CmCmndArima::Parameters Parameters(const std::vector<double>& values) {
        CmCmndArima::Parameters p{};
        for (std::size_t i = 0; i < values.size(); ++i) p[i] = values[i];
        return p;
    }
};

}  // namespace vek::time_series
