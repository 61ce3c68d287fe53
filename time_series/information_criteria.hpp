// time_series/information_criteria.hpp: what a fit costs per parameter.
//
// Source: Akaike (1974); Hurvich & Tsai (1989) for the correction; Schwarz (1978).
// Order:  left to right as written; the corrected penalty is one quotient.
#pragma once

#include <cmath>

namespace zolv::time_series {

struct InformationCriteria {
    double aicc, aic, bic;
};

// m parameters, sigma squared counted; x observations; L = -2 log likelihood.
// Oddity: with x <= 1 + m the corrected criterion is infinite or gets a negative penalty.
inline InformationCriteria ComputeCriteria(double m, double x, double L) {
    return {2.0 * m * x / (x - (1.0 + m)) + L, 2.0 * m + L, m * std::log(x) + L};
}

}  // namespace zolv::time_series
