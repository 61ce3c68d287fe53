// time_series/parameter_order.hpp: the two orders in which the coefficients of a model travel.
//
// Record order: AR, MA, seasonal AR, seasonal MA: zolv_QorArima and the likelihood.
// Fit order:    AR, seasonal AR, MA, seasonal MA: start values of zolv_MakeArimaModelPtr and every getter.
// Only the two blocks in the middle change places; what follows the coefficients stays where it is.
#pragma once

#include <algorithm>

#include "time_series/arima_orders.hpp"

namespace zolv::time_series {

inline void RecordToFitOrder(double* values, const ArimaOrders& orders) {
    double* const ma = values + orders.p;
    double* const seasonal_ar = ma + orders.q;
    std::rotate(ma, seasonal_ar, seasonal_ar + orders.P);
}

inline void FitToRecordOrder(double* values, const ArimaOrders& orders) {
    double* const seasonal_ar = values + orders.p;
    double* const ma = seasonal_ar + orders.P;
    std::rotate(seasonal_ar, ma, ma + orders.q);
}

}  // namespace zolv::time_series
