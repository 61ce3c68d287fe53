// time_series/arima_handle.hpp: what stands behind the handle that callers hold.
#pragma once

#include "time_series/arima_reports.hpp"
#include "time_series/classic_arima.hpp"
#include "zolv.h"

namespace zolv::time_series {

inline ClassicArima* ModelOf(zolv_ArimaHandle handle) { return reinterpret_cast<ClassicArima*>(handle); }
inline zolv_ArimaHandle HandleOf(ClassicArima* model) { return reinterpret_cast<zolv_ArimaHandle>(model); }

// The model if it is an iterative fit, else null: what only such a fit has is asked through this.
inline const vek::time_series::CmCmndArima* IterativeModelOf(zolv_ArimaHandle handle) {
    const ClassicArima* const model = ModelOf(handle);
    if (model == nullptr || model->IsIterativeFit() != 1) return nullptr;
    return static_cast<const vek::time_series::CmCmndArima*>(model);
}

}  // namespace zolv::time_series
