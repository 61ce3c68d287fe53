// The normal family against its plain forms, by bits. The tail has one form only, which all of them share.
#include <gtest/gtest.h>

#include <cmath>

#include "kernels/normal.hpp"
#include "plain/compare.hpp"
#include "zolv.h"

namespace {

using namespace zolv_test::plain;

double normal_pdf(double x, double mean, double sd) {
    const double z = (x - mean) / sd;
    return std::exp(-0.5 * z * z) * 0.39894228040143265;
}

// With the density and the tail each taking an exponential of its own.
double normal_std_quantile(double p) {
    if (p == 0.5) return 0.0;
    if (p > 0.5) return -normal_std_quantile(1.0 - p);
    double z = -dru::impl::normal_quantile_start(p);
    for (int step = 1; step <= 10; ++step) {
        const double f = std::exp(-0.5 * z * z) * 0.39894228040143265;
        if (f == 0.0) break;
        const double q = z >= 38.4638 ? 0.0 : dru::impl::normal_upper_tail(z);
        const double delta = (q - p) / f;
        z = z + delta;
        if (std::fabs(delta) < 1e-14) break;
    }
    return -z;
}

double normal_quantile(double p, double mean, double sd, unsigned char upper) {
    const double z = normal_std_quantile(p);
    return (upper != 0 ? -z : z) * sd + mean;
}

TEST(PlainNormal, DensityTailsAndQuantiles) {
    Random random(41);
    Comparison comparison;
    for (int n = 0; n < rounds(3000); ++n) {
        const double mean = random.between(-10.0, 10.0),
                     sd = random.chance(3) ? 1.0 : random.power(-3.0, 3.0);
        const unsigned char upper = n % 2;
        std::vector<double> x;
        for (int i = 0; i < 150; ++i) {
            double z = random.between(-10.0, 10.0);
            if (random.chance(6))
                z = random.next_to(random.one_of({0.0, 0.66291, 5.656854, -8.03, 25.0, 38.4638}));
            if (random.chance(20)) z = random.between(-40.0, 40.0);
            x.push_back(mean + sd * z);
        }
        compare(
            comparison, x, "density " + list(mean, sd), [&](double y) { return normal_pdf(y, mean, sd); },
            [&](double y) { return zolv_NormalPdf(y, mean, sd); },
            [&](const double* y, std::size_t m, double* out) {
                zolv_ParallelNormalPdf(y, m, mean, sd, out);
            });
        compare(
            comparison, x, "tail " + list(mean, sd),
            [&](double y) { return dru::impl::normal_cdf(y, mean, sd, upper); },
            [&](double y) { return zolv_NormalCdf(y, mean, sd, upper); },
            [&](const double* y, std::size_t m, double* out) {
                zolv_ParallelNormalCdf(y, m, mean, sd, upper, out);
            });
        compare(
            comparison, probabilities(random, 50), "quantile " + list(mean, sd),
            [&](double p) { return normal_quantile(p, mean, sd, upper); },
            [&](double p) { return zolv_NormalInvCdf(p, mean, sd, upper); },
            [&](const double* p, std::size_t m, double* out) {
                zolv_ParallelNormalInvCdf(p, m, mean, sd, upper, out);
            });
    }
}

}  // namespace
