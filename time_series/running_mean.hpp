// time_series/running_mean.hpp: the mean as a running value with a carried correction.
//
// Order: the correction c collects (y - mean) / i; what of it the mean could not take up stays in c for the
//        next value. A plain sum over count gives other last bits.
#pragma once

#include <cstddef>

namespace zolv::time_series {

// Mean of value(0) .. value(count - 1), count >= 1.
template <class Value>
double RunningMean(std::size_t count, const Value& value) {
    double mean = value(0);
    double correction = 0.0;
    for (std::size_t i = 1; i < count; ++i) {
        correction += (value(i) - mean) / static_cast<double>(i + 1);
        const double moved = mean + correction;
        correction -= moved - mean;
        mean = moved;
    }
    return mean;
}

}  // namespace zolv::time_series
