// unit_root/householder.hpp: Householder QR of a list of columns, without those that depend on earlier ones.
//
// Reflector number b (counted over the retained columns) is H = I - tau v v' and acts on the rows from b
// downward. v takes the place of its column's rows b, b + 1, ...; the rows above hold that column of R.
// The sign is chosen so that the diagonal of R is positive: it is the norm mu, kept apart.
//
// Source: Householder, J. ACM 5 (1958); v[0] = -sigma / (x0 + mu) for x0 > 0 is Parlett's form (Golub & Van
//         Loan, Matrix Computations, algorithm 5.1.1), which does not cancel.
// Order:  dot products, sums of squares included, are the provider's cblas_ddot over the rows named;
//         tau dot v[i] is (tau dot) v[i].
#pragma once

#include <cstddef>
#include <vector>

#include "frame/provider.hpp"
#include "unit_root/adf_regression.hpp"

namespace zolv::unit_root {

// A column whose norm below the retained rows is not above this counts as dependent on the earlier ones.
// Absolute, whatever the unit of the series: a series in units of 1e-13 loses all its columns.
inline constexpr double dependent_column_norm = 1e-12;

struct HouseholderFactors {
    std::vector<std::size_t> retained;  // indices of the columns kept, ascending
    std::vector<double> tau;            // by column; NaN for a dropped one
    std::vector<double> diagonal;       // of R, by column; 0 for a dropped one
};

// The sum of x[i] y[i] for rows first to last - 1; 0 for none.
inline double RowDot(const std::vector<double>& x, const std::vector<double>& y, std::size_t first,
                     std::size_t last) {
    if (first >= last) return 0.0;
    return cblas_ddot(static_cast<zolv::provider::integer>(last - first), x.data() + first, 1,
                      y.data() + first, 1);
}

// y[i] := y[i] - factor v[i], with the widest registers of this processor; and with the narrow ones.
void SubtractMultiple(const double* v, double factor, double* y, std::size_t n);
void NarrowSubtractMultiple(const double* v, double factor, double* y, std::size_t n);

// y := (I - tau v v') y over rows first to last - 1. A reflection is its own inverse.
void Reflect(const std::vector<double>& v, double tau, std::size_t first, std::size_t last,
             std::vector<double>& y);

// Factors the regressors and reflects the response along. There are no more regressors than rows.
HouseholderFactors HouseholderColumns(AdfRegression& regression);

}  // namespace zolv::unit_root
