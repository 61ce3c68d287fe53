// tests/time_series/plain_estimation.hpp: a whole fit, step after step as the method is described, with a
// pass for every point: what the estimation with passes in step is judged by.
#pragma once

#include <array>
#include <cmath>
#include <vector>

#include "time_series/arima_codes.hpp"
#include "time_series/cm_cmnd_arima_probe.hpp"
#include "time_series/plain_passes.hpp"

namespace zolv_test {

class PlainEstimation {
public:
    // From a model whose series and parameters are prepared and no more.
    PlainEstimation(vek::time_series::CmCmndArima& prepared, const zolv::time_series::ArimaOrders& o,
                    bool constant, int n)
        : orders_(o),
          k_(prepared.ParameterCount()),
          mean_(prepared.Mean()),
          pass_(zolv::time_series::BuildLagTerms(o.p, o.P, o.S, 0),
                zolv::time_series::BuildLagTerms(o.q, o.Q, o.S, o.p + o.P), k_, constant, Series(prepared),
                n) {
        for (int i = 0; i < k_; ++i) theta[at(i)] = prepared.Theta(i);
        x_.assign(at(k_), std::vector<double>(pass_.e.size(), 0.0));
    }

    int Estimate() {
        namespace code = zolv::time_series::code;
        if (pass_.constant && theta[at(k_ - 1)] == 0.0) theta[at(k_ - 1)] = 1e-4;
        const int result = Search();
        if (result == code::recursion_overflow || result == code::singular_covariance) return result;
        squares = pass_.Full(theta.data()) ? pass_.Squares() : 0.0;
        pass_.frozen = true;
        if (!Covariance()) return code::recursion_overflow;
        const Index count = pass_.end - PlainPasses::margin;
        double sum = 0.0;
        for (Index t = PlainPasses::margin; t < pass_.end; ++t) sum += pass_.E(t) * pass_.E(t);
        squares = sum;
        sigma = squares / static_cast<double>(count - k_);
        if (vek::time_series::InvertMatrix(inverse, k_ - 1) < k_ - 1) return code::singular_covariance;
        return result;
    }

    std::array<double, 10> theta{};
    double squares = 0.0, sigma = 0.0, constant = 0.0;
    vek::time_series::SmallMatrix inverse{};
    std::vector<std::vector<double>> history;
    int tries = 0, tries_held = 0;
    const PlainPasses& passes() const { return pass_; }

private:
    using Index = std::ptrdiff_t;
    static std::size_t at(Index i) { return static_cast<std::size_t>(i); }
    static std::vector<double> Series(vek::time_series::CmCmndArima& prepared) {
        std::vector<double> w;
        vek::time_series::CmCmndArimaProbe probe{prepared};
        for (int t = 0; t < prepared.DifferencedCount(); ++t) w.push_back(probe.W(100 + t));
        return w;
    }
    static bool NearZero(double x) { return std::fabs(x) <= 1e-12 * std::fabs(x) + 1e-30; }

    double ConstantOf() const {
        if (!pass_.constant) return 0.0;
        double ar = 0.0, seasonal = 0.0;
        for (int i = 0; i < orders_.p; ++i) ar += theta[at(i)];
        for (int i = orders_.p; i < orders_.p + orders_.P; ++i) seasonal += theta[at(i)];
        return (theta[at(k_ - 1)] + mean_) * (1.0 - ar) * (1.0 - seasonal);
    }
    void Record(double sum) {
        std::vector<double> row{sum};
        row.insert(row.end(), theta.begin(), theta.begin() + k_);
        if (pass_.constant) row.back() = ConstantOf();
        history.push_back(row);
    }
    double Product(const std::vector<double>& x, const std::vector<double>& y, Index from) const {
        double sum = 0.0;
        for (Index t = from; t < pass_.end; ++t) sum += x[at(t)] * y[at(t)];
        return sum;
    }

    int Search() {
        for (int i = 0; i < k_; ++i) {
            if (std::fabs(theta[at(i)]) < 0.005) theta[at(i)] = 0.1;
        }
        double lambda = 0.01, trial = 0.0, angle = 0.0;
        if (!pass_.Full(theta.data())) return 30030;
        double sum = pass_.Squares();
        Record(sum);
        for (int iteration = 1; iteration <= 25; ++iteration) {
            if (!Derivatives()) return 30030;
            if (const int ended = NormalEquations(); ended != 0) return ended;
            double f = 0.95;
            bool better = false;
            if (lambda >= 1e-5) {
                if (!Step(lambda / 10.0, f, trial, angle)) return 30030;
                better = !(trial > sum);
                if (better) lambda /= 10.0;
            }
            for (int tries_left = 16; !better; --tries_left) {
                if (tries_left == 0) {
                    constant = ConstantOf();
                    return 10005;
                }
                if (!Step(lambda, f, trial, angle)) return 30030;
                better = sum >= trial;
                if (better) break;
                if (angle >= 30.0) {
                    lambda *= 10.0;
                    f = 0.95;
                } else {
                    f *= 0.5;
                }
            }
            ++tries_held;
            theta = candidate_;
            if (!pass_.Full(theta.data())) return 30030;
            sum = pass_.Squares();
            constant = ConstantOf();
            Record(sum);
            if (sum < 1e-30) return 0;
            if (Converged()) return 10000;
        }
        constant = ConstantOf();
        return 20000;
    }

    bool Derivatives() {
        Index from = 1;
        for (int j = 0; j < k_; ++j) {
            double& parameter = theta[at(j)];
            std::vector<double>& x = x_[at(j)];
            const double h = 0.02 * parameter;
            h_[at(j)] = h;
            parameter += h;
            if (!pass_.Full(theta.data())) return false;
            from = std::max(from, pass_.first);
            for (Index t = from; t < pass_.end; ++t) x[at(t)] = pass_.E(t);
            parameter -= 2.0 * h;
            if (!pass_.Full(theta.data())) return false;
            from = std::max(from, pass_.first);
            parameter += h;
            for (Index t = from; t < pass_.end; ++t) x[at(t)] = pass_.E(t) - x[at(t)];
        }
        if (!pass_.Full(theta.data())) return false;
        pass_.first = std::max(from, pass_.first);
        return true;
    }

    int NormalEquations() {
        for (int j = 0; j < k_; ++j) {
            const double g = Product(x_[at(j)], pass_.e, pass_.first);
            if (NearZero(2.0 * h_[at(j)])) return 30031;
            gradient_[at(j)] = g / (2.0 * h_[at(j)]);
        }
        for (int j = 0; j < k_; ++j) {
            for (int i = 0; i <= j; ++i) {
                normal_[at(j)][at(i)] =
                    Product(x_[at(j)], x_[at(i)], pass_.first) / ((2.0 * h_[at(j)]) * (2.0 * h_[at(i)]));
            }
            scale_[at(j)] = std::sqrt(normal_[at(j)][at(j)] > 0.0 ? normal_[at(j)][at(j)] : 0.0);
        }
        for (int j = 0; j < k_; ++j) {
            for (int i = 0; i <= j; ++i) {
                if (scale_[at(j)] * scale_[at(i)] < 1e-20) return 10005;
                normal_[at(j)][at(i)] /= scale_[at(j)] * scale_[at(i)];
            }
            gradient_[at(j)] /= scale_[at(j)];
        }
        return 0;
    }

    bool Step(double lambda, double& f, double& trial, double& angle) {
        vek::time_series::SmallMatrix work{};
        for (int j = 0; j < k_; ++j) {
            for (int i = 0; i < j; ++i) work[at(j)][at(i)] = work[at(i)][at(j)] = normal_[at(j)][at(i)];
            work[at(j)][at(j)] = lambda + 1.0;
        }
        ++tries;
        if (vek::time_series::InvertMatrix(work, k_ - 1) < k_ - 1) {
            trial = 1e35;
            return true;
        }
        std::array<double, 10> solved{};
        double longest = 0.0;
        for (int i = 0; i < k_; ++i) {
            for (int j = 0; j < k_; ++j) solved[at(i)] += work[at(i)][at(j)] * gradient_[at(j)];
            delta_[at(i)] = solved[at(i)] / scale_[at(i)] * f;
            const bool plain = !(pass_.constant && i + 1 == k_);
            if (plain && std::fabs(delta_[at(i)]) > longest) longest = std::fabs(delta_[at(i)]);
        }
        const double r = longest > 0.15 ? 0.15 / longest : 1.0;
        for (int i = 0; i < k_; ++i) candidate_[at(i)] = theta[at(i)] + r * delta_[at(i)];
        f *= r;
        if (!pass_.Full(candidate_.data())) return false;
        trial = pass_.Squares();
        double dot = 0.0, s = 0.0, g = 0.0;
        for (int i = 0; i < k_; ++i) {
            dot += gradient_[at(i)] * solved[at(i)];
            s += solved[at(i)] * solved[at(i)];
            g += gradient_[at(i)] * gradient_[at(i)];
        }
        const double c = s != 0.0 && g != 0.0 ? dot / (std::sqrt(s) * std::sqrt(g)) : 0.0;
        const double x = std::fabs(c);
        double A = 0.0;
        if (x <= 1.0) A = std::sqrt(1.0 - x) * (((0.074261 - 0.0187293 * x) * x - 0.2121144) * x + 1.5707288);
        angle = (c < 0.0 ? 3.141596 - A : A) * 57.2958;
        return true;
    }

    bool Converged() const {
        for (int i = 0; i < k_; ++i) {
            const double level = theta[at(i)] + (pass_.constant && i + 1 == k_ ? mean_ : 0.0);
            if (!(std::fabs(delta_[at(i)]) < 0.001 * std::fabs(level) + 1e-5)) return false;
        }
        return true;
    }

    bool Covariance() {
        const std::array<double, 10> saved = theta;
        for (int j = 0; j < k_; ++j) {
            const double h = 0.05 * saved[at(j)];
            h_[at(j)] = h;
            theta[at(j)] = saved[at(j)] - h;
            if (!pass_.Pass(theta.data())) return false;
            x_[at(j)] = pass_.e;
            theta[at(j)] = saved[at(j)] + h;
            if (!pass_.Pass(theta.data())) return false;
            for (std::size_t t = 0; t < pass_.e.size(); ++t) x_[at(j)][t] -= pass_.e[t];
            theta[at(j)] = saved[at(j)];
        }
        if (!pass_.Pass(theta.data())) return false;
        for (int j = 0; j < k_; ++j) {
            for (int i = 0; i <= j; ++i) {
                inverse[at(j)][at(i)] = inverse[at(i)][at(j)] =
                    Product(x_[at(j)], x_[at(i)], PlainPasses::margin) / (4.0 * h_[at(j)] * h_[at(i)]);
            }
        }
        return true;
    }

    zolv::time_series::ArimaOrders orders_;
    int k_;
    double mean_;
    PlainPasses pass_;
    std::vector<std::vector<double>> x_;
    std::array<double, 10> h_{}, gradient_{}, scale_{}, delta_{}, candidate_{};
    vek::time_series::SmallMatrix normal_{};
};

}  // namespace zolv_test
