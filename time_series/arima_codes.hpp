// time_series/arima_codes.hpp: the result codes under the names that the routines return them by.
//
// The list itself stands once, in zolv.h, where callers read it; this expands it for the library's own use.
// Below 30000 a result exists and the model may be asked for it; from 30000 upward there is none.
#pragma once

#include "zolv.h"

namespace zolv::time_series::code {

#define ZOLV_CODE_CONSTANT(value, name, provoked_by) inline constexpr int name = value;
ZOLV_RESULT_CODES(ZOLV_CODE_CONSTANT)
#undef ZOLV_CODE_CONSTANT

inline constexpr bool is_failure(int result) { return result >= solve_failed; }

}  // namespace zolv::time_series::code
