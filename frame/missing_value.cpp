// frame/missing_value.cpp: the exported missing value and the classification of doubles.
#include "frame/nan.hpp"
#include "zolv.h"

extern "C" double zolv_GetMissingValue(void) { return dru::impl::missing_value; }

// Oddity: the equality is the contract, and a NaN equals nothing.
extern "C" int zolv_IsMissingValue(double x) { return x == dru::impl::missing_value ? 1 : 0; }

extern "C" int zolv_IsNaN(double x) { return dru::impl::is_nan(x) ? 1 : 0; }

extern "C" int zolv_IsInfinity(double x) { return dru::impl::is_infinite(x) ? 1 : 0; }

extern "C" int zolv_IsPlusInfinity(double x) { return dru::impl::is_infinite(x) && !std::signbit(x) ? 1 : 0; }

extern "C" int zolv_IsMinusInfinity(double x) { return dru::impl::is_infinite(x) && std::signbit(x) ? 1 : 0; }
