// transforms/box_cox_lambda.cpp: the power that makes the spread of a series independent of its level.
//
// Source: Guerrero, Time-series analysis supported by power transformations, Journal of Forecasting 12
//         (1993). The series is cut into groups; lambda is right when sd / mean^(1 - lambda) is the same in
//         all of them, and the measure of "the same" is the coefficient of variation of these ratios.
// Order:  means and standard deviations are one-pass updates (Welford, Technometrics 4, 1962), and M grows
//         by (i delta) step.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <vector>

#include "frame/nan.hpp"
#include "transforms/brent_minimiser.hpp"
#include "zolv.h"

namespace zolv::transforms {

namespace {

// A missing observation, in the code of the files that callers bring along. Known to this routine alone.
constexpr double missing_observation = 1.23456e30;

struct Spread {
    double mean, standard_deviation;
};

// Of value(0) to value(count - 1), count >= 2; each is asked for once, in order.
template <class Value>
Spread WelfordSpread(std::int64_t count, const Value& value) {
    double mean = value(0);
    double m = 0.0;
    for (std::int64_t i = 1; i < count; ++i) {
        const double delta = value(i) - mean;
        const double step = delta / static_cast<double>(i + 1);
        mean = mean + step;
        m = m + static_cast<double>(i) * delta * step;
    }
    return {mean, std::sqrt(m / static_cast<double>(count - 1))};
}

// The groups are aligned to the end of the series; what is left over at the front belongs to none. A group
// with a missing or non-finite point is skipped whole.
std::vector<Spread> GroupSpreads(const double* series, std::int64_t count, std::int64_t group_length) {
    std::vector<Spread> groups;
    const std::int64_t length = std::max<std::int64_t>(group_length, 2);
    for (std::int64_t start = count % length; start + length <= count; start += length) {
        const double* const group = series + start;
        const bool usable = std::all_of(group, group + length, [](double x) {
            return x != missing_observation && dru::impl::is_finite(x);
        });
        if (usable) groups.push_back(WelfordSpread(length, [=](std::int64_t i) { return group[i]; }));
    }
    return groups;
}

}  // namespace

}  // namespace zolv::transforms

extern "C" int zolv_GetBoxCoxLambda(const double* series, int count, int groupLength, double lower,
                                    double upper, double tolerance, double* out) {
    using namespace zolv::transforms;

    const std::vector<Spread> groups =
        GroupSpreads(series, series == nullptr ? 0 : std::max(count, 0), groupLength);
    if (groups.size() < 2) {
        if (out != nullptr) *out = dru::impl::missing_value;
        return zolv_code_series_too_short;
    }
    if (out == nullptr) return zolv_code_done;

    const auto variation = [&groups](double lambda) {
        const Spread ratios =
            WelfordSpread(static_cast<std::int64_t>(groups.size()), [&groups, lambda](std::int64_t g) {
                const Spread& group = groups[static_cast<std::size_t>(g)];
                return group.standard_deviation / std::pow(group.mean, 1.0 - lambda);
            });
        return ratios.standard_deviation / ratios.mean;
    };
    const Minimum inside = BrentMinimum(variation, lower, upper, tolerance);

    // The search never stands on an end of the interval; they are tried here.
    // Oddity: the upper end competes only when the lower one is no worse than the point found. Required.
    const double at_lower = variation(lower), at_upper = variation(upper);
    if (at_lower > inside.fx) {
        *out = inside.x;
    } else {
        *out = at_lower < at_upper ? lower : upper;  // with a NaN: upper
    }
    return zolv_code_done;
}
