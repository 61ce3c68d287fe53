// tests/time_series/plain_passes.hpp: the residual passes of a parameter vector one after another, each value
// in its place in memory: what passes in step are judged by.
#pragma once

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <vector>

#include "time_series/lag_terms.hpp"

namespace zolv_test {

struct PlainPasses {
    using Index = std::ptrdiff_t;
    static constexpr Index margin = 100;
    static constexpr double bound = 1.001e18;

    zolv::time_series::LagTerms ar, ma;
    int k = 0;  // parameters, the constant last
    bool constant = false;
    Index end = 0, span = 0, maxLag = 0;
    std::vector<double> e, a, w;
    bool frozen = false;
    bool exhausted = false;
    Index first = 0;
    double largest = 0.0;  // of all values that were held against the bound

    // The differenced, centred series; `n` is the length before differencing.
    PlainPasses(const zolv::time_series::LagTerms& arTerms, const zolv::time_series::LagTerms& maTerms,
                int parameters, bool hasConstant, const std::vector<double>& series, int n)
        : ar(arTerms), ma(maTerms), k(parameters), constant(hasConstant) {
        const auto count = static_cast<Index>(series.size());
        end = margin + count;
        maxLag = static_cast<Index>(std::max(ar.maxLag, ma.maxLag));
        span = std::min(n - static_cast<Index>(ma.maxLag) + margin, count - maxLag + margin);
        e.assign(static_cast<std::size_t>(n + margin), 0.0);
        a = w = e;
        std::copy(series.begin(), series.end(), w.begin() + margin);
    }

    bool Full(const double* theta) {
        frozen = false;
        return Pass(theta);
    }

    bool Pass(const double* theta) {
        std::array<double, zolv::time_series::max_terms> phi, psi;
        ar.Coefficients(theta, phi);
        ma.Coefficients(theta, psi);
        const double c = constant ? theta[k - 1] : 0.0;
        if (constant && !Shift(-c)) return false;
        if (!frozen && !Backward(phi.data(), psi.data())) return false;
        if (!Forward(phi.data(), psi.data())) return false;
        return !constant || Shift(c);
    }

    double Squares() const {
        double sum = 0.0;
        for (Index t = first; t < end && !(sum > 1e20); ++t) sum += E(t) * E(t);
        return sum;
    }

    double E(Index t) const { return e[static_cast<std::size_t>(t)]; }
    double W(Index t) const { return w[static_cast<std::size_t>(t)]; }

private:
    bool TooLarge(double v) {
        if (!(std::fabs(v) <= largest)) largest = std::fabs(v);
        return std::fabs(v) > bound;
    }

    bool Shift(double by) {
        for (Index t = 0; t < end; ++t) {
            double& value = w[static_cast<std::size_t>(t)];
            value += by;
            if (TooLarge(value)) return false;
        }
        return true;
    }

    bool Backward(const double* phi, const double* psi) {
        frozen = true;
        exhausted = true;
        for (Index t = span - 1; t >= 0; --t) {
            first = t;
            double v = t < margin ? 0.0 : W(t);
            for (int i = 0; i < ar.count; ++i) v -= phi[i] * W(t + ar.lag[static_cast<std::size_t>(i)]);
            for (int j = 0; j < ma.count; ++j) {
                v += psi[j] * a[static_cast<std::size_t>(t + ma.lag[static_cast<std::size_t>(j)])];
            }
            (t >= margin ? a : w)[static_cast<std::size_t>(t)] = t >= margin ? v : -v;
            if (TooLarge(v)) return false;
            if (t < margin && std::fabs(v - 0.0) < 0.001) {
                exhausted = false;
                break;
            }
        }
        std::fill_n(e.begin(), first, 0.0);
        std::fill_n(w.begin(), first, 0.0);
        first = std::max(maxLag, first);
        return true;
    }

    bool Forward(const double* phi, const double* psi) {
        for (Index t = std::max(maxLag, first); t < end; ++t) {
            double v = W(t);
            for (int i = 0; i < ar.count; ++i) v -= phi[i] * W(t - ar.lag[static_cast<std::size_t>(i)]);
            for (int j = 0; j < ma.count; ++j) v += psi[j] * E(t - ma.lag[static_cast<std::size_t>(j)]);
            e[static_cast<std::size_t>(t)] = v;
            if (TooLarge(v)) return false;
        }
        return true;
    }
};

}  // namespace zolv_test
