// The chi-square family against its plain forms, by bits. There is no array form of the quantile.
#include <gtest/gtest.h>

#include "plain/compare.hpp"
#include "plain/gamma.hpp"
#include "zolv.h"

namespace {

using namespace zolv_test::plain;
using zolv_test::show;

const std::vector<double> df_thresholds{2e-100, 0.001, 0.005, 0.006017570161929386, 1.0, 2.0, 4.0, 9.0, 18.0,
                                        20.0,   2e4,   1e5};

std::vector<double> points(Random& random, int n, double df, double nc) {
    const double mean = df + nc, sd = std::sqrt(2.0 * df + 4.0 * nc);
    const std::vector<double> switches{2.0, df, mean, df - 2.0 / 3.0, df * 1.02, df / 1.02, 2.0 * df};
    std::vector<double> x;
    while (static_cast<int>(x.size()) < n) {
        double at = mean + sd * random.between(-4.0, 6.0);
        if (random.chance(3)) at = mean * random.power(-2.0, 1.0);
        if (random.chance(6)) at = random.next_to(random.one_of(switches));
        if (random.chance(20)) at = random.power(-300.0, 5.0);
        if (at > 0.0) x.push_back(at);
    }
    return x;
}

TEST(PlainChiSquare, CentralDensityAndTails) {
    Random random(11);
    Comparison comparison;
    for (int n = 0; n < rounds(2000); ++n) {
        const double df = random.shape(-3.0, 6.0, df_thresholds);
        const std::vector<double> x = points(random, 250, df, 0.0);
        compare(
            comparison, x, "density " + list(df), [&](double y) { return chi_square_pdf(y, df, 0.0); },
            [&](double y) { return zolv_ChiSqPdf(y, df, 0.0); },
            [&](const double* y, std::size_t m, double* out) { zolv_ParallelChiSqPdf(y, m, df, 0.0, out); });
        const unsigned char upper = n % 2;
        compare(
            comparison, x, "tail " + list(df), [&](double y) { return chi_square_cdf(y, df, 0.0, upper); },
            [&](double y) { return zolv_ChiSqCdf(y, df, 0.0, upper); },
            [&](const double* y, std::size_t m, double* out) {
                zolv_ParallelChiSqCdf(y, m, df, 0.0, upper, out);
            });
    }
}

TEST(PlainChiSquare, NoncentralDensityAndTails) {
    Random random(12);
    Comparison comparison;
    for (int n = 0; n < rounds(3000); ++n) {
        const double df = random.shape(-2.0, 4.0, df_thresholds);
        const double nc = random.power(-6.0, random.chance(20) ? 5.0 : 2.5);
        const std::vector<double> x = points(random, 12, df, nc);
        compare(
            comparison, x, "density " + list(df, nc), [&](double y) { return chi_square_pdf(y, df, nc); },
            [&](double y) { return zolv_ChiSqPdf(y, df, nc); },
            [&](const double* y, std::size_t m, double* out) { zolv_ParallelChiSqPdf(y, m, df, nc, out); });
        const unsigned char upper = n % 2;
        compare(
            comparison, x, "tail " + list(df, nc), [&](double y) { return chi_square_cdf(y, df, nc, upper); },
            [&](double y) { return zolv_ChiSqCdf(y, df, nc, upper); },
            [&](const double* y, std::size_t m, double* out) {
                zolv_ParallelChiSqCdf(y, m, df, nc, upper, out);
            });
    }
}

// Arrays whose mixtures are summed four in step: many points about the mean, some of them far off.
TEST(PlainChiSquare, NoncentralDensityOfManyPoints) {
    Random random(14);
    Comparison comparison;
    for (int n = 0; n < rounds(2500); ++n) {
        const double df = random.shape(-2.0, 4.0, df_thresholds);
        const double nc = random.power(-3.0, random.chance(40) ? 5.0 : 2.0);
        std::vector<double> x = points(random, 50, df, nc);
        const double sd = std::sqrt(2.0 * df + 4.0 * nc);
        while (x.size() < 250) x.push_back(std::fabs(df + nc + sd * random.between(-6.0, 6.0)) + 1e-6);
        compare(
            comparison, x, "density " + list(df, nc), [&](double y) { return chi_square_pdf(y, df, nc); },
            [&](double y) { return zolv_ChiSqPdf(y, df, nc); },
            [&](const double* y, std::size_t m, double* out) { zolv_ParallelChiSqPdf(y, m, df, nc, out); });
    }
}

// Noncentralities whose sums reach their ceiling, some of them before the mean of the weights:
// from 1.87824e10 on.
TEST(PlainChiSquare, NoncentralTailsAtTheCeiling) {
    Random random(14);
    Comparison comparison;
    for (const double mean :
         {7e9, 9.3905e9, 9.3911e9, 9.3914e9, 9.3918e9, 9.3925e9, 2e10, 1e12, 4e15, 9e15}) {
        for (int n = 0; n < rounds(20) && (n == 0 || !sanitized); n += 10) {
            const double df = random.power(-1.0, 4.0), nc = 2.0 * mean;
            const double at = df + nc;
            const std::vector<double> x = {at * random.between(0.5, 1.0), at * random.between(0.9999, 1.0001),
                                           at * random.between(1.0, 2.0), 1.0, 1e100};
            const unsigned char upper = n % 20 == 0 ? 1 : 0;
            compare(
                comparison, x, "tail " + list(df, nc),
                [&](double y) { return chi_square_cdf(y, df, nc, upper); },
                [&](double y) { return zolv_ChiSqCdf(y, df, nc, upper); },
                [&](const double* y, std::size_t m, double* out) {
                    zolv_ParallelChiSqCdf(y, m, df, nc, upper, out);
                });
        }
    }
}

TEST(PlainChiSquare, Quantiles) {
    Random random(13);
    Comparison comparison;
    for (int n = 0; n < rounds(2500); ++n) {
        const double df = random.shape(-1.0, 4.6, df_thresholds);
        const double nc = n % 4 != 0 ? 0.0 : random.power(-3.0, random.chance(8) ? 4.0 : 2.0);
        const unsigned char upper = n % 2;
        if (nc != 0.0 && df < 0.01) continue;  // walks of its bracket take long
        for (const double p : probabilities(random, nc == 0.0 ? 20 : 6)) {
            comparison.one(zolv_ChiSqInvCdf(p, df, nc, upper), chi_square_inv_cdf(p, df, nc, upper),
                           [&] { return "quantile " + list(df, nc) + " at " + show(p); });
        }
    }
}

}  // namespace
