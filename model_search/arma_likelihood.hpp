// model_search/arma_likelihood.hpp: the exact Gaussian likelihood of a seasonal ARIMA model with known
// parameters, by the innovations recursion on a transformed process.
//
// Source: Ansley (1979), Biometrika 66; Brockwell & Davis, Time Series: Theory and Methods, 5.2 and 5.3.
//         W_t is the series itself for the first m = max(pa, qa) points and the series less its
//         autoregressive part behind them, so the covariance of W is banded behind row m. It is factored
//         as a unit lower triangle theta times the diagonal r; the quadratic form and the determinant come
//         out of the same sweep.
// Signs:  both polynomials are written 1 - c1 B - c2 B^2 ...; the vectors hold c1, c2, ... without the 1.
// Memory: quadratic, time: cubic in the number of points. Each call owns its work; nothing is shared.
#pragma once

#include <span>
#include <vector>

namespace zolv::time_series {

// (1 - B^s)^D, then (1 - B)^d; with `centre` less the mean of what remains. Empty when no point remains or
// d, D or s is negative.
std::vector<double> DifferenceSeries(const double* series, int count, int d, int D, int s, bool centre);

// The coefficients of the regular and the seasonal polynomial multiplied out, length k + s K.
//
// Oddity: the cross terms u_j U_i enter with a plus sign. The product of the two 1 - sum forms would give
// them a minus; the plus is how this system defines the likelihood's model.
std::vector<double> ExpandSeasonalPolynomial(std::span<const double> regular,
                                             std::span<const double> seasonal, int s);

// Minus twice the log likelihood of w under ar, ma and the innovation variance sigma2. The missing value
// when w is empty, when the autocovariances cannot be solved for, and for any other NaN.
double ArmaDeviance(const std::vector<double>& w, const std::vector<double>& ar,
                    const std::vector<double>& ma, double sigma2);

// Covariance of W over n points for unit innovation variance: packed lower triangle, element (i, j) at
// i (i + 1) / 2 + j. Empty on failure.
std::vector<double> ArmaInnovationCovariance(const std::vector<double>& ar, const std::vector<double>& ma,
                                             int n);

// Autocovariances at lags 0 .. highest_lag for unit innovation variance. Empty on failure (a singular
// system: an autoregressive polynomial with a unit root).
std::vector<double> ArmaAutocovariance(const std::vector<double>& ar, const std::vector<double>& ma,
                                       int highest_lag);

// g(0) .. g(qa): covariance of the moving-average part at time t with the series at time t - h.
std::vector<double> ArmaCrossCovariance(const std::vector<double>& ar, const std::vector<double>& ma);

}  // namespace zolv::time_series
