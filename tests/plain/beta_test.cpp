// The beta and F families against their plain forms, by bits.
#include <gtest/gtest.h>

#include "plain/beta.hpp"
#include "plain/compare.hpp"
#include "plain/noncentral_beta.hpp"
#include "zolv.h"

namespace {

using namespace zolv_test::plain;
using zolv_test::show;

const std::vector<double> shape_thresholds{0.0005, 0.001, 0.6, 1.0, 2.0, 9.0, 10.0,
                                           100.0,  500.0, 1e3, 1e4, 2e4, 1e5, 1e9};

// Points of the unit interval about the mean of beta(a, b), at the switches of its kernels, and anywhere.
std::vector<double> unit_points(Random& random, int n, double a, double b) {
    const double c = a + b, mean = a / c;
    const double sd = std::sqrt(mean * (1.0 - mean) / (c + 1.0));
    const std::vector<double> switches{0.5,
                                       mean,
                                       mean * 1.02,
                                       mean / 1.02,
                                       1.0 / c,
                                       1.0 - 1.0 / c,
                                       1.0 / b,
                                       1.0 - 1.0 / a,
                                       beta_split_point(a, b),
                                       1.0 - beta_split_point(b, a)};
    std::vector<double> x;
    while (static_cast<int>(x.size()) < n) {
        double at = random.between(0.0, 1.0);
        if (random.chance(2)) at = mean + sd * random.between(-5.0, 5.0);
        if (random.chance(6)) at = random.next_to(random.one_of(switches));
        if (random.chance(20)) at = random.power(-300.0, 0.0);
        if (random.chance(20)) at = 1.0 - random.power(-15.0, 0.0);
        if (at > 0.0 && at < 1.0) x.push_back(at);
    }
    return x;
}

TEST(PlainBeta, DensityAndTails) {
    Random random(1);
    Comparison comparison;
    for (int n = 0; n < rounds(2000); ++n) {
        const double a = random.shape(-3.0, 5.0, shape_thresholds);
        const double b = random.shape(-3.0, 5.0, shape_thresholds);
        const std::vector<double> x = unit_points(random, 250, a, b);
        const std::string at = list(a, b);
        compare(
            comparison, x, "density " + at, [&](double y) { return beta_pdf(y, a, b); },
            [&](double y) { return zolv_BetaPdf(y, a, b); },
            [&](const double* y, std::size_t m, double* out) { zolv_ParallelBetaPdf(y, m, a, b, out); });
        const unsigned char upper = n % 2;
        compare(
            comparison, x, "tail " + at, [&](double y) { return beta_cdf(y, a, b, upper); },
            [&](double y) { return zolv_BetaCdf(y, a, b, upper); },
            [&](const double* y, std::size_t m, double* out) {
                zolv_ParallelBetaCdf(y, m, a, b, upper, out);
            });
    }
}

TEST(PlainBeta, Quantiles) {
    Random random(2);
    Comparison comparison;
    for (int n = 0; n < rounds(3000); ++n) {
        const double a = random.shape(-2.0, 4.5, shape_thresholds);
        const double b = random.shape(-2.0, 4.5, shape_thresholds);
        const unsigned char upper = n % 2;
        compare(
            comparison, probabilities(random, 20), "quantile " + list(a, b),
            [&](double p) { return beta_inv_cdf(p, a, b, upper); },
            [&](double p) { return zolv_BetaInvCdf(p, a, b, upper); },
            [&](const double* p, std::size_t m, double* out) {
                zolv_ParallelBetaInvCdf(p, m, a, b, upper, out);
            });
    }
}

std::vector<double> f_points(Random& random, int n, double d1, double d2, double nc) {
    const double half = d2 / d1;  // where the beta variate is one half
    const double mean = (d1 + 2.0 * nc) / d1;
    std::vector<double> x;
    while (static_cast<int>(x.size()) < n) {
        double at = mean * random.power(-1.0, 1.0);
        if (random.chance(8)) at = random.next_to(random.chance(2) ? half : mean);
        if (random.chance(20)) at = random.power(-30.0, 30.0);
        x.push_back(at);
    }
    return x;
}

TEST(PlainF, CentralDensityAndTails) {
    Random random(3);
    Comparison comparison;
    for (int n = 0; n < rounds(2000); ++n) {
        const double d1 = random.shape(-2.0, 4.5, shape_thresholds);
        const double d2 = random.shape(-2.0, 4.5, shape_thresholds);
        const std::vector<double> x = f_points(random, 250, d1, d2, 0.0);
        compare(
            comparison, x, "density " + list(d1, d2), [&](double y) { return f_pdf(y, d1, d2, 0.0); },
            [&](double y) { return zolv_FPdf(y, d1, d2, 0.0); },
            [&](const double* y, std::size_t m, double* out) { zolv_ParallelFPdf(y, m, d1, d2, 0.0, out); });
        const unsigned char upper = n % 2;
        compare(
            comparison, x, "tail " + list(d1, d2), [&](double y) { return f_cdf(y, d1, d2, 0.0, upper); },
            [&](double y) { return zolv_FCdf(y, d1, d2, 0.0, upper); },
            [&](const double* y, std::size_t m, double* out) {
                zolv_ParallelFCdf(y, m, d1, d2, 0.0, upper, out);
            });
    }
}

TEST(PlainF, NoncentralDensityAndTails) {
    Random random(4);
    Comparison comparison;
    for (int n = 0; n < rounds(1500); ++n) {
        const double d1 = random.shape(-2.0, 3.5, shape_thresholds);
        const double d2 = random.shape(-2.0, 3.5, shape_thresholds);
        const double nc = random.power(-6.0, random.chance(20) ? 4.0 : 2.0);
        const std::vector<double> x = f_points(random, 12, d1, d2, nc);
        compare(
            comparison, x, "density " + list(d1, d2, nc), [&](double y) { return f_pdf(y, d1, d2, nc); },
            [&](double y) { return zolv_FPdf(y, d1, d2, nc); },
            [&](const double* y, std::size_t m, double* out) { zolv_ParallelFPdf(y, m, d1, d2, nc, out); });
        const unsigned char upper = n % 2;
        compare(
            comparison, x, "tail " + list(d1, d2, nc), [&](double y) { return f_cdf(y, d1, d2, nc, upper); },
            [&](double y) { return zolv_FCdf(y, d1, d2, nc, upper); },
            [&](const double* y, std::size_t m, double* out) {
                zolv_ParallelFCdf(y, m, d1, d2, nc, upper, out);
            });
    }
}

// Arrays whose mixtures are summed four in step.
TEST(PlainF, NoncentralDensityOfManyPoints) {
    Random random(8);
    Comparison comparison;
    for (int n = 0; n < rounds(2500); ++n) {
        const double d1 = random.shape(-1.0, 3.0, shape_thresholds);
        const double d2 = random.shape(-1.0, 3.0, shape_thresholds);
        const double nc = random.power(-3.0, random.chance(40) ? 4.5 : 2.0);
        std::vector<double> x = f_points(random, 50, d1, d2, nc);
        while (x.size() < 250) x.push_back((1.0 + 2.0 * nc / d1) * random.power(-1.0, 1.0));
        compare(
            comparison, x, "density " + list(d1, d2, nc), [&](double y) { return f_pdf(y, d1, d2, nc); },
            [&](double y) { return zolv_FPdf(y, d1, d2, nc); },
            [&](const double* y, std::size_t m, double* out) { zolv_ParallelFPdf(y, m, d1, d2, nc, out); });
    }
}

// So far out that the mixture's ratios are subnormal, and to both sides of where they become so.
TEST(PlainF, NoncentralTailsFarOut) {
    Random random(6);
    Comparison comparison;
    for (int n = 0; n < rounds(300); ++n) {
        const double d1 = random.shape(-2.0, 2.0, shape_thresholds);
        const double d2 = random.power(-8.0, random.chance(8) ? 3.0 : 0.5);
        const double nc = random.power(-4.0, random.chance(40) ? 4.0 : 2.0);
        std::vector<double> x;
        for (int i = 0; i < 12; ++i) {
            const double y = random.chance(4) ? random.next_to(random.one_of({0x1p-960, 0x1p-1022, 1e-280}))
                                              : random.power(-323.3, -270.0);
            x.push_back(std::min(d2 / d1 / y, 1.7e308));
        }
        const unsigned char upper = n % 2;
        compare(
            comparison, x, "tail " + list(d1, d2, nc), [&](double y) { return f_cdf(y, d1, d2, nc, upper); },
            [&](double y) { return zolv_FCdf(y, d1, d2, nc, upper); },
            [&](const double* y, std::size_t m, double* out) {
                zolv_ParallelFCdf(y, m, d1, d2, nc, upper, out);
            });
    }
}

// Noncentralities whose sums reach their ceiling, some of them before the mean of the weights: from 9.3912e9
// on.
TEST(PlainF, NoncentralTailsAtTheCeiling) {
    Random random(7);
    Comparison comparison;
    for (const double mean : {7e9, 9.3905e9, 9.3911e9, 9.3914e9, 9.3918e9, 9.3925e9, 2e10, 1e12, 4e15}) {
        for (int n = 0; n < rounds(20) && (n == 0 || !sanitized); n += 10) {
            const double d1 = random.power(-1.0, 3.0), d2 = random.power(-1.0, 3.0), nc = 2.0 * mean;
            const double at = (d1 + nc) / d1;
            const std::vector<double> x = {at * random.between(0.5, 1.0), at * random.between(0.999, 1.001),
                                           at * random.between(1.0, 2.0), 1.0, 1e100};
            const unsigned char upper = n % 20 == 0 ? 1 : 0;
            compare(
                comparison, x, "tail " + list(d1, d2, nc),
                [&](double y) { return f_cdf(y, d1, d2, nc, upper); },
                [&](double y) { return zolv_FCdf(y, d1, d2, nc, upper); },
                [&](const double* y, std::size_t m, double* out) {
                    zolv_ParallelFCdf(y, m, d1, d2, nc, upper, out);
                });
        }
    }
}

// A noncentral quantile is some fifty sums: fewer of them.
TEST(PlainF, Quantiles) {
    Random random(5);
    Comparison comparison;
    for (int n = 0; n < rounds(700); ++n) {
        const double d1 = random.shape(-1.0, 3.0, shape_thresholds);
        const double d2 = random.shape(-1.0, 3.0, shape_thresholds);
        const double nc = n % 3 != 0 ? 0.0 : random.power(-3.0, random.chance(8) ? 4.0 : 2.0);
        const unsigned char upper = n % 2;
        compare(
            comparison, probabilities(random, nc == 0.0 ? 20 : 8), "quantile " + list(d1, d2, nc),
            [&](double p) { return f_inv_cdf(p, d1, d2, nc, upper); },
            [&](double p) { return zolv_FInvCdf(p, d1, d2, nc, upper); },
            [&](const double* p, std::size_t m, double* out) {
                zolv_ParallelFInvCdf(p, m, d1, d2, nc, upper, out);
            });
    }
}

}  // namespace
