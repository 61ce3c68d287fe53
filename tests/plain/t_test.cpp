// The t family against its plain forms, by bits.
#include <gtest/gtest.h>

#include "plain/compare.hpp"
#include "plain/t.hpp"
#include "zolv.h"

namespace {

using namespace zolv_test::plain;
using zolv_test::show;

const std::vector<double> df_thresholds{0.001, 0.01,  1.0,   2.0,    17.0,   18.0,    20.0, 49.0,
                                        50.0,  199.0, 200.0, 1998.0, 2000.0, 40000.0, 1e6,  2e9};

std::vector<double> points(Random& random, int n, double df, double nc) {
    const double root = std::sqrt(df);
    const std::vector<double> switches{root, -root, nc, -nc, root * 0.2, root * 10.0, 0.0};
    std::vector<double> x;
    while (static_cast<int>(x.size()) < n) {
        double at = nc + random.between(-4.0, 4.0);
        if (random.chance(3))
            at = (random.chance(2) ? 1.0 : -1.0) * (1.0 + std::fabs(nc)) * random.power(-2.0, 1.5);
        if (random.chance(8)) at = random.next_to(random.one_of(switches));
        if (random.chance(30)) at = (random.chance(2) ? 1.0 : -1.0) * random.power(-100.0, 100.0);
        x.push_back(at);
    }
    return x;
}

TEST(PlainT, CentralDensityAndTails) {
    Random random(21);
    Comparison comparison;
    for (int n = 0; n < rounds(2000); ++n) {
        const double df = random.shape(-3.0, 7.0, df_thresholds);
        const std::vector<double> x = points(random, 250, df, 0.0);
        compare(
            comparison, x, "density " + list(df), [&](double y) { return t_pdf(y, df, 0.0); },
            [&](double y) { return zolv_TPdf(y, df, 0.0); },
            [&](const double* y, std::size_t m, double* out) { zolv_ParallelTPdf(y, m, df, 0.0, out); });
        const unsigned char upper = n % 2;
        compare(
            comparison, x, "tail " + list(df), [&](double y) { return t_cdf(y, df, 0.0, upper); },
            [&](double y) { return zolv_TCdf(y, df, 0.0, upper); },
            [&](const double* y, std::size_t m, double* out) {
                zolv_ParallelTCdf(y, m, df, 0.0, upper, out);
            });
    }
}

TEST(PlainT, CentralQuantiles) {
    Random random(22);
    Comparison comparison;
    for (int n = 0; n < rounds(3000); ++n) {
        const double df = random.shape(-1.0, 6.0, df_thresholds);
        const unsigned char upper = n % 2;
        compare(
            comparison, probabilities(random, 20), "quantile " + list(df),
            [&](double p) { return t_inv_cdf(p, df, 0.0, upper); },
            [&](double p) { return zolv_TInvCdf(p, df, 0.0, upper); },
            [&](const double* p, std::size_t m, double* out) {
                zolv_ParallelTInvCdf(p, m, df, 0.0, upper, out);
            });
    }
}

TEST(PlainT, NoncentralDensity) {
    Random random(23);
    Comparison comparison;
    for (int n = 0; n < rounds(1500); ++n) {
        const double df = random.shape(-2.0, 2.0, df_thresholds);
        const double nc = (n % 2 != 0 ? 1.0 : -1.0) * random.power(-3.0, random.chance(20) ? 2.5 : 1.4);
        compare(
            comparison, points(random, 12, df, nc), "density " + list(df, nc),
            [&](double y) { return t_pdf(y, df, nc); }, [&](double y) { return zolv_TPdf(y, df, nc); },
            [&](const double* y, std::size_t m, double* out) { zolv_ParallelTPdf(y, m, df, nc, out); });
    }
}

// On the other side of 0 than the noncentrality a tail is a recurrence of 2000 steps: fewer of them.
TEST(PlainT, NoncentralTails) {
    Random random(24);
    Comparison comparison;
    for (int n = 0; n < rounds(2000); ++n) {
        const double df = random.shape(-2.0, 4.0, df_thresholds);
        const double nc = (n % 2 != 0 ? 1.0 : -1.0) * random.power(-3.0, random.chance(20) ? 2.5 : 1.4);
        std::vector<double> x = points(random, 12, df, nc);
        if (n % 8 != 0) {
            for (double& at : x) at = std::copysign(at, nc);
        }
        const unsigned char upper = n % 4 < 2 ? 1 : 0;
        compare(
            comparison, x, "tail " + list(df, nc), [&](double y) { return t_cdf(y, df, nc, upper); },
            [&](double y) { return zolv_TCdf(y, df, nc, upper); },
            [&](const double* y, std::size_t m, double* out) {
                zolv_ParallelTCdf(y, m, df, nc, upper, out);
            });
    }
}

// Many points on that other side at once: recurrences of every length go in step, from one table of ratios
// or, where the halved df is no short fraction, from one per binade.
TEST(PlainT, NoncentralTailsBeyondTheOrigin) {
    Random random(26);
    Comparison comparison;
    for (int n = 0; n < rounds(300); ++n) {
        const double df = random.shape(-2.0, 3.4, {1.0, 2.0, 254.0, 1022.0, 1024.0, 1998.0, 2000.0});
        const double nc = (n % 2 != 0 ? 1.0 : -1.0) * random.power(-3.0, random.chance(10) ? 1.4 : 0.8);
        std::vector<double> x;
        const int count = random.chance(3) ? random.whole(1, 150) : random.whole(1, 12);
        for (int i = 0; i < count; ++i) {
            double at = random.power(-1.0, random.chance(2) ? 1.5 : 4.0);
            if (random.chance(30)) at = random.power(-300.0, 300.0);
            if (random.chance(20)) at = -at;
            x.push_back(nc > 0.0 ? -at : at);
        }
        const unsigned char upper = n % 4 < 2 ? 1 : 0;
        compare(
            comparison, x, "tail " + list(df, nc), [&](double y) { return t_cdf(y, df, nc, upper); },
            [&](double y) { return zolv_TCdf(y, df, nc, upper); },
            [&](const double* y, std::size_t m, double* out) {
                zolv_ParallelTCdf(y, m, df, nc, upper, out);
            });
    }
}

// To both sides of where a recurrence from 1000 would start below the smallest doubles, and a shorter one
// serves.
TEST(PlainT, NoncentralTailsWhereTheRecurrenceGetsShorter) {
    Random random(28);
    Comparison comparison;
    const auto log_start = [](double x, double df, double nc) {
        const double c = x / std::sqrt(df / 2.0);
        return t_nc_pdf_saddle(31.622776601683793 * c, 2000.0, nc).log_part + std::log(-0.5 * c) -
               0.5 * std::log(1000.0);
    };
    for (int n = 0; n < rounds(100); ++n) {
        const double df = random.shape(-1.0, 3.0, {1.0, 2.0, 254.0, 1022.0}), nc = random.power(-2.0, 1.2);
        double near = -0.1 * std::sqrt(df), far = -1e3 * std::sqrt(df);
        for (double mid = 0.5 * (near + far); mid != near && mid != far; mid = 0.5 * (near + far))
            (log_start(mid, df, nc) < -690.7755 ? far : near) = mid;
        ASSERT_GE(log_start(near, df, nc), -690.7755) << list(df, nc);
        ASSERT_LT(log_start(far, df, nc), -690.7755) << list(df, nc);
        std::vector<double> x{near, far};
        for (int i = 0; i < 20; ++i)
            x.push_back(near * (1.0 + random.between(-1.0, 1.0) * random.power(-15.0, -4.5)));
        const unsigned char upper = n % 4 < 2 ? 1 : 0;
        compare(
            comparison, x, "tail " + list(df, nc), [&](double y) { return t_cdf(y, df, nc, upper); },
            [&](double y) { return zolv_TCdf(y, df, nc, upper); },
            [&](const double* y, std::size_t m, double* out) {
                zolv_ParallelTCdf(y, m, df, nc, upper, out);
            });
    }
}

// So far out that the mixture's ratios are subnormal, and to both sides of where they become so.
TEST(PlainT, NoncentralTailsFarOut) {
    Random random(26);
    Comparison comparison;
    for (int n = 0; n < rounds(300); ++n) {
        const double df = random.power(-8.0, random.chance(8) ? 3.0 : 0.5);
        const double nc = (n % 2 != 0 ? 1.0 : -1.0) * random.power(-2.0, random.chance(40) ? 2.5 : 1.2);
        std::vector<double> x;
        for (int i = 0; i < 12; ++i) {
            const double v = random.chance(4) ? random.next_to(random.one_of({0x1p-960, 0x1p-1022, 1e-280}))
                                              : random.power(-323.3, -270.0);
            x.push_back(std::copysign(std::sqrt(df) / std::sqrt(v), nc));
        }
        const unsigned char upper = n % 4 < 2 ? 1 : 0;
        compare(
            comparison, x, "tail " + list(df, nc), [&](double y) { return t_cdf(y, df, nc, upper); },
            [&](double y) { return zolv_TCdf(y, df, nc, upper); },
            [&](const double* y, std::size_t m, double* out) {
                zolv_ParallelTCdf(y, m, df, nc, upper, out);
            });
    }
}

// Noncentralities whose sums reach their ceiling, some of them before the mean of the weights: 137049 is
// where these begin. One set of parameters where each sum takes long.
TEST(PlainT, NoncentralTailsAtTheCeiling) {
    Random random(28);
    Comparison comparison;
    for (const double nc : {1.2e5, 1.35e5, 137048.0, 137050.0, 137054.0, 1.4e5, 1e6, -1e7, 1.2e8}) {
        for (int n = 0; n < rounds(20) && (n == 0 || !sanitized); n += 10) {
            const double df = random.power(-2.0, 4.0);
            const std::vector<double> x = {nc * random.between(0.3, 1.0), nc, nc * random.between(1.0, 1.5),
                                           nc * random.between(1.5, 5.0), nc * 1e100};
            const unsigned char upper = n % 20 == 0 ? 1 : 0;
            compare(
                comparison, x, "tail " + list(df, nc), [&](double y) { return t_cdf(y, df, nc, upper); },
                [&](double y) { return zolv_TCdf(y, df, nc, upper); },
                [&](const double* y, std::size_t m, double* out) {
                    zolv_ParallelTCdf(y, m, df, nc, upper, out);
                });
        }
    }
}

// Few degrees of freedom: a hundred doublings and more before the bisection.
TEST(PlainT, NoncentralQuantilesFarOut) {
    Random random(27);
    Comparison comparison;
    for (int n = 0; n < rounds(300); ++n) {
        const double df = random.power(-3.0, -0.5);
        const double nc = (n % 2 != 0 ? 1.0 : -1.0) * random.power(0.0, random.chance(20) ? 1.8 : 1.2);
        const unsigned char upper = n % 4 < 2 ? 1 : 0;
        compare(
            comparison, probabilities(random, 4), "quantile " + list(df, nc),
            [&](double p) { return t_inv_cdf(p, df, nc, upper); },
            [&](double p) { return zolv_TInvCdf(p, df, nc, upper); },
            [&](const double* p, std::size_t m, double* out) {
                zolv_ParallelTInvCdf(p, m, df, nc, upper, out);
            });
    }
}

// A quantile is some fifty tails: fewer again, and few of those that reach over 0.
TEST(PlainT, NoncentralQuantiles) {
    Random random(25);
    Comparison comparison;
    for (int n = 0; n < rounds(150); ++n) {
        const double df = random.shape(-0.5, 3.0, df_thresholds);
        const double nc =
            (n % 2 != 0 ? 1.0 : -1.0) * random.power(n % 30 == 0 ? -1.0 : 0.8, random.chance(20) ? 2.5 : 1.8);
        const unsigned char upper = n % 4 < 2 ? 1 : 0;
        compare(
            comparison, probabilities(random, n % 30 == 0 ? 4 : 8), "quantile " + list(df, nc),
            [&](double p) { return t_inv_cdf(p, df, nc, upper); },
            [&](double p) { return zolv_TInvCdf(p, df, nc, upper); },
            [&](const double* p, std::size_t m, double* out) {
                zolv_ParallelTInvCdf(p, m, df, nc, upper, out);
            });
    }
}

}  // namespace
