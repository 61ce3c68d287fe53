// time_series/arima_reports.hpp: what is reported about the estimates of an iterative fit.
#pragma once

#include "time_series/cm_cmnd_arima.hpp"
#include "zolv.h"

namespace vek::time_series {

// Rows in fit order; with a constant its row, and where nothing is differenced a row for the mean behind it,
// of which only coefficient and standard error are written. A null column is left out.
void FillParameterTable(const CmCmndArima& model, const zolv_ParameterTable& table);

// Correlations of the estimates, strict lower triangle row by row: k (k - 1) / 2 values.
void FillCorrelationMatrix(const CmCmndArima& model, double* out);

// Twice the upper tail of Student's t at |t|; the missing value unless df is positive and finite.
double TwoSidedPValue(double t, double df);

}  // namespace vek::time_series
