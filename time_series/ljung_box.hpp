// time_series/ljung_box.hpp: residual autocorrelations and the Ljung-Box table made of them.
//
// Source: Ljung & Box (1978), Biometrika 65.
// Order:  every sum over the residuals is a pairwise one: spans below 128 from left to right, two values at a
//         time, longer spans as the sum of their two halves.
#pragma once

#include <cstddef>
#include <vector>

namespace zolv::time_series {

// value(first) + .. + value(first + count - 1); 0 for a count of 0.
template <class Value>
double PairwiseSum(std::size_t first, std::size_t count, const Value& value) {
    constexpr std::size_t longest_run = 128;
    if (count >= longest_run) {
        const std::size_t half = count / 2;
        return PairwiseSum(first, half, value) + PairwiseSum(first + half, count - half, value);
    }
    double sum = 0.0;
    const std::size_t end = first + count;
    std::size_t i = first;
    for (; i + 1 < end; i += 2) sum += value(i) + value(i + 1);
    if (i < end) sum += value(i);
    return sum;
}

// r[k - 1] is the autocorrelation at lag k, k = 1 .. max_lag. What there are no residuals for, and everything
// when they do not vary, is the missing value.
std::vector<double> ResidualAutocorrelations(const double* residuals, int count, int max_lag);

// One row {statistic, degrees of freedom, p value} per lag. Lags are taken as ascending; those that are not
// below the residual count, and those not above parameter_count, leave their row as it was.
void LjungBoxTable(const double* residuals, int residual_count, int parameter_count, const int* lags,
                   int lag_count, double** out);

// Upper tail of chi-square at the statistic; the missing value unless df is positive and finite.
double ChiSquarePValue(double statistic, double df);

}  // namespace zolv::time_series
