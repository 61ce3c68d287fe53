// distributions/normal.cpp: the exports of the normal family: check the parameters, then ask the kernel.
#include <cstdint>

#include "frame/nan.hpp"
#include "frame/parallel.hpp"
#include "kernels/normal.hpp"
#include "zolv.h"

namespace dru::impl {

namespace {

// Ordered comparisons, so that a NaN fails. The variate plays no part.
bool normal_parameters_valid(double mean, double sd) {
    return mean > -plus_infinity && mean < plus_infinity && sd > 0.0 && sd < plus_infinity;
}

// Oddity: the standard density at the standardised value; not divided by sd. Required.
double normal_density(double x, double mean, double sd) {
    if (is_nan(x)) return sign_set_nan;
    if (is_infinite(x)) return 0.0;
    return standard_normal_density((x - mean) / sd);
}

}  // namespace

}  // namespace dru::impl

using namespace dru::impl;

extern "C" {

double zolv_NormalPdf(double x, double mean, double sd) {
    if (!normal_parameters_valid(mean, sd)) return missing_value;
    return normal_density(x, mean, sd);
}

double zolv_NormalCdf(double x, double mean, double sd, unsigned char upper) {
    if (!normal_parameters_valid(mean, sd)) return missing_value;
    return normal_cdf(x, mean, sd, upper);
}

double zolv_NormalInvCdf(double p, double mean, double sd, unsigned char upper) {
    if (!normal_parameters_valid(mean, sd)) return missing_value;
    return normal_quantile(p, mean, sd, upper);
}

void zolv_ParallelNormalPdf(const double* x, uint64_t n, double mean, double sd, double* out) {
    if (!normal_parameters_valid(mean, sd)) return fill_missing(out, n);
    parallel_for(n, [&](uint64_t i) { out[i] = normal_density(x[i], mean, sd); });
}

void zolv_ParallelNormalCdf(const double* x, uint64_t n, double mean, double sd, unsigned char upper,
                            double* out) {
    if (!normal_parameters_valid(mean, sd)) return fill_missing(out, n);
    parallel_for(n, [&](uint64_t i) { out[i] = normal_cdf(x[i], mean, sd, upper); });
}

void zolv_ParallelNormalInvCdf(const double* p, uint64_t n, double mean, double sd, unsigned char upper,
                               double* out) {
    if (!normal_parameters_valid(mean, sd)) return fill_missing(out, n);
    parallel_for(n, [&](uint64_t i) { out[i] = normal_quantile(p[i], mean, sd, upper); });
}

}  // extern "C"
