#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "kernels/normal.hpp"
#include "support/bits.hpp"
#include "support/platform_bits.hpp"
#include "support/reference_table.hpp"
#include "support/threads.hpp"
#include "zolv.h"

using namespace zolv_test;

namespace {

constexpr double inf = std::numeric_limits<double>::infinity();
constexpr double largest = std::numeric_limits<double>::max();
const double nan_value = std::numeric_limits<double>::quiet_NaN();

// What a test of the array forms starts from: no result has this value.
constexpr double untouched = 123.5;

struct parameters {
    double mean, sd;
};

const parameters bad_parameters[] = {
    {0, 0},   {0, -0.0}, {0, -1},        {0, inf},        {0, -inf}, {0, nan_value},         {0, -nan_value},
    {inf, 1}, {-inf, 1}, {nan_value, 1}, {-nan_value, 1}, {inf, -1}, {nan_value, nan_value},
};

const parameters good_parameters[] = {
    {0, 1}, {3, 1}, {-2.5, 0.3}, {1e3, 250}, {largest, 5e-324}, {-largest, largest}};

const double special_variates[] = {0.0,    -0.0, 5e-324, -5e-324,   0.5,        1.0,
                                   -1.0,   1.28, -8.03,  38.4638,   -38.4638,   1e308,
                                   -1e308, inf,  -inf,   nan_value, -nan_value, 2.0};

TEST(NormalExports, BadParametersGiveTheMissingValueWhateverTheVariate) {
    for (const auto& [mean, sd] : bad_parameters) {
        for (const double x : special_variates) {
            EXPECT_MISSING(zolv_NormalPdf(x, mean, sd));
            for (const unsigned char upper : {0, 1}) {
                EXPECT_MISSING(zolv_NormalCdf(x, mean, sd, upper));
                EXPECT_MISSING(zolv_NormalInvCdf(x, mean, sd, upper));
            }
        }
    }
}

TEST(NormalExports, BadParametersFillTheArrays) {
    const std::vector<double> x(std::begin(special_variates), std::end(special_variates));
    for (const auto& [mean, sd] : bad_parameters) {
        std::vector<double> pdf(x.size(), untouched), cdf = pdf, quantile = pdf;
        zolv_ParallelNormalPdf(x.data(), x.size(), mean, sd, pdf.data());
        zolv_ParallelNormalCdf(x.data(), x.size(), mean, sd, 0, cdf.data());
        zolv_ParallelNormalInvCdf(x.data(), x.size(), mean, sd, 1, quantile.data());
        for (std::size_t i = 0; i < x.size(); ++i) {
            EXPECT_MISSING(pdf[i]);
            EXPECT_MISSING(cdf[i]);
            EXPECT_MISSING(quantile[i]);
        }
    }
}

TEST(NormalExports, NothingIsWrittenForNoElements) {
    double out = untouched;
    for (const double sd : {1.0, 0.0}) {
        zolv_ParallelNormalPdf(nullptr, 0, 0, sd, &out);
        zolv_ParallelNormalCdf(nullptr, 0, 0, sd, 0, &out);
        zolv_ParallelNormalInvCdf(nullptr, 0, 0, sd, 0, &out);
    }
    EXPECT_SAME_BITS(out, untouched);
}

TEST(NormalPdf, HeightAtTheMeanForEverySd) {
    for (const double sd : {5e-324, 1e-3, 1.0, 10.0, 1e300}) {
        for (const double mean : {0.0, -3.5, 1e300}) {
            EXPECT_SAME_BITS(zolv_NormalPdf(mean, mean, sd), 0.39894228040143265);
        }
    }
    EXPECT_SAME_BITS(zolv_NormalPdf(0, 0, 10), 0.39894228040143265);
    EXPECT_SAME_BITS(zolv_NormalPdf(13, 3, 10), zolv_NormalPdf(1, 0, 1));  // not divided by sd
}

TEST(NormalPdf, NanInfinityAndUnderflow) {
    for (const auto& [mean, sd] : good_parameters) {
        EXPECT_SIGN_SET_NAN(zolv_NormalPdf(nan_value, mean, sd));
        EXPECT_SIGN_SET_NAN(zolv_NormalPdf(-nan_value, mean, sd));
        EXPECT_SAME_BITS(zolv_NormalPdf(inf, mean, sd), 0.0);
        EXPECT_SAME_BITS(zolv_NormalPdf(-inf, mean, sd), 0.0);
    }
    EXPECT_SAME_BITS(zolv_NormalPdf(1e308, -1e308, 1e-3), 0.0);  // z overflows
    EXPECT_SAME_BITS(zolv_NormalPdf(40, 0, 1), 0.0);
    EXPECT_GT(zolv_NormalPdf(38.5, 0, 1), 0.0);
}

TEST(NormalPdf, AgainstClosedValues) {
    // exp(-1/2) / sqrt(2 pi) and exp(-2) / sqrt(2 pi), 20 digits.
    EXPECT_TRUE(within_ulps(zolv_NormalPdf(1, 0, 1), 0.24197072451914334980, 2));
    EXPECT_TRUE(within_ulps(zolv_NormalPdf(-2, 0, 1), 0.053990966513188051949, 2));
    EXPECT_TRUE(within_ulps(zolv_NormalPdf(7, 3, 2), 0.053990966513188051949, 2));
}

TEST(NormalCdf, InfinitiesAndNan) {
    for (const auto& [mean, sd] : good_parameters) {
        EXPECT_SAME_BITS(zolv_NormalCdf(inf, mean, sd, 0), 1.0);
        EXPECT_SAME_BITS(zolv_NormalCdf(inf, mean, sd, 1), 0.0);
        EXPECT_SAME_BITS(zolv_NormalCdf(-inf, mean, sd, 0), 0.0);
        EXPECT_SAME_BITS(zolv_NormalCdf(-inf, mean, sd, 1), 1.0);
        EXPECT_SIGN_SET_NAN(zolv_NormalCdf(nan_value, mean, sd, 0));
        EXPECT_SIGN_SET_NAN(zolv_NormalCdf(-nan_value, mean, sd, 1));
    }
}

TEST(NormalCdf, StandardValues) {
    // 25-digit values of the standard distribution; the kernel is AS 66, good to 5e-11 of a tail.
    EXPECT_TRUE(within_relative(zolv_NormalCdf(1, 0, 1, 1), 0.15865525393145705141, 5e-11));
    EXPECT_TRUE(within_relative(zolv_NormalCdf(-1, 0, 1, 0), 0.15865525393145705141, 5e-11));
    EXPECT_TRUE(within_relative(zolv_NormalCdf(1.959963984540054, 0, 1, 1), 0.025, 5e-11));
    EXPECT_TRUE(within_relative(zolv_NormalCdf(-10, 0, 1, 0), 7.6198530241605260660e-24, 5e-11));
    EXPECT_SAME_BITS(zolv_NormalCdf(38.4638, 0, 1, 1), 0.0);
    EXPECT_SAME_BITS(zolv_NormalCdf(-38.4638, 0, 1, 0), 0.0);
}

TEST(NormalCdf, AboveTheMeanTheRawVariateCounts) {
    EXPECT_SAME_BITS(zolv_NormalCdf(5, 3, 1, 0), 1.0 - dru::impl::normal_upper_tail(5.0));
    EXPECT_NE(bits(zolv_NormalCdf(5, 3, 1, 0)), bits(zolv_NormalCdf(2, 0, 1, 0)));
    EXPECT_SAME_BITS(zolv_NormalCdf(1, 3, 1, 0), zolv_NormalCdf(-2, 0, 1, 0));
    EXPECT_SAME_BITS(zolv_NormalCdf(-9, -20, 1, 1), 1.0);
}

TEST(NormalInvCdf, EndsCentreAndBadProbabilities) {
    for (const auto& [mean, sd] : good_parameters) {
        EXPECT_SAME_BITS(zolv_NormalInvCdf(0, mean, sd, 0), -inf);
        EXPECT_SAME_BITS(zolv_NormalInvCdf(0, mean, sd, 1), inf);
        EXPECT_SAME_BITS(zolv_NormalInvCdf(1, mean, sd, 0), inf);
        EXPECT_SAME_BITS(zolv_NormalInvCdf(1, mean, sd, 1), -inf);
        EXPECT_SAME_BITS(zolv_NormalInvCdf(0.5, mean, sd, 0), mean);
        EXPECT_SAME_BITS(zolv_NormalInvCdf(0.5, mean, sd, 1), mean);
        for (const double p :
             {-5e-324, -1.0, std::nextafter(1.0, 2.0), 2.0, inf, -inf, nan_value, -nan_value}) {
            EXPECT_SIGN_SET_NAN(zolv_NormalInvCdf(p, mean, sd, 0));
            EXPECT_SIGN_SET_NAN(zolv_NormalInvCdf(p, mean, sd, 1));
        }
    }
}

TEST(NormalInvCdf, PublishedPercentagePoints) {
    EXPECT_NEAR(zolv_NormalInvCdf(0.975, 0, 1, 0), 1.959963984540054, 3e-10);
    EXPECT_NEAR(zolv_NormalInvCdf(0.005, 0, 1, 1), 2.575829303548901, 3e-10);
    EXPECT_NEAR(zolv_NormalInvCdf(0.95, 100, 15, 0), 100 + 15 * 1.644853626951473, 5e-9);
}

TEST(NormalInvCdf, InvertsTheStandardCdf) {
    std::mt19937_64 random(11);
    std::uniform_real_distribution<double> uniform(0.0, 1.0);
    for (int i = 0; i < 5000; ++i) {
        const double p = i % 2 == 0 ? uniform(random) : std::pow(10.0, -300.0 * uniform(random));
        for (const unsigned char upper : {0, 1}) {
            ASSERT_TRUE(
                within_relative(zolv_NormalCdf(zolv_NormalInvCdf(p, 0, 1, upper), 0, 1, upper), p, 1e-10))
                << p;
        }
    }
}

TEST(NormalExports, EveryBitOfTheIndependentTable) {
    const reference_table table("kernel_bits_normal");
    int seen = 0;
    for (std::size_t i = 0; i < table.size(); ++i) {
        const std::string& routine = table.text(i, "routine");
        const double x = table.number(i, "x");
        const double mean = table.number(i, "mean");
        const double sd = table.number(i, "sd");
        const auto upper = static_cast<unsigned char>(table.number(i, "upper"));
        if (routine == "normal_cdf") {
            EXPECT_PLATFORM_BITS(zolv_NormalCdf(x, mean, sd, upper), table.number(i, "value")) << i;
            ++seen;
        }
        if (routine == "normal_quantile") {
            EXPECT_PLATFORM_BITS(zolv_NormalInvCdf(x, mean, sd, upper), table.number(i, "value")) << i;
            ++seen;
        }
    }
    EXPECT_GT(seen, 500);
}

TEST(NormalExports, ArraysEqualScalarsOnAnyTeam) {
    std::mt19937_64 random(12);
    std::normal_distribution<double> normal(0.0, 10.0);
    std::uniform_real_distribution<double> uniform(0.0, 1.0);
    std::vector<double> x(std::begin(special_variates), std::end(special_variates));
    std::vector<double> p = {0.0,       -0.0,       1.0, 0.5,  5e-324, -0.25, 1.5,
                             nan_value, -nan_value, inf, -inf, 0.08,   0.92};
    while (x.size() < 1001) x.push_back(normal(random));
    while (p.size() < 1001)
        p.push_back(p.size() % 2 == 0 ? uniform(random) : std::pow(10.0, -320.0 * uniform(random)));

    for (const parameters& good : good_parameters) {
        const double mean = good.mean, sd = good.sd;
        for (const int team : team_sizes) {
            with_threads(team, [&] {
                std::vector<double> out(x.size() + 1, untouched);
                zolv_ParallelNormalPdf(x.data(), x.size(), mean, sd, out.data());
                for (std::size_t i = 0; i < x.size(); ++i)
                    ASSERT_SAME_BITS(out[i], zolv_NormalPdf(x[i], mean, sd));
                for (const unsigned char upper : {0, 1, 2}) {
                    zolv_ParallelNormalCdf(x.data(), x.size(), mean, sd, upper, out.data());
                    for (std::size_t i = 0; i < x.size(); ++i) {
                        ASSERT_SAME_BITS(out[i], zolv_NormalCdf(x[i], mean, sd, upper));
                    }
                    zolv_ParallelNormalInvCdf(p.data(), p.size(), mean, sd, upper, out.data());
                    for (std::size_t i = 0; i < p.size(); ++i) {
                        ASSERT_SAME_BITS(out[i], zolv_NormalInvCdf(p[i], mean, sd, upper));
                    }
                }
                EXPECT_SAME_BITS(out.back(), untouched);
            });
        }
    }
}

TEST(NormalExports, ArraysWorkInPlaceAndInsideACallersRegion) {
    std::vector<double> want(64), shared(64);
    for (std::size_t i = 0; i < want.size(); ++i) {
        shared[i] = 0.1 * static_cast<double>(i) - 3.0;
        want[i] = zolv_NormalCdf(shared[i], 0, 1, 1);
    }
    std::vector<double> in_place = shared;
    zolv_ParallelNormalCdf(in_place.data(), in_place.size(), 0, 1, 1, in_place.data());
    EXPECT_EQ(in_place, want);

    std::vector<std::vector<double>> results(4, std::vector<double>(64, untouched));
#pragma omp parallel for num_threads(4)
    for (int t = 0; t < 4; ++t) {
        zolv_ParallelNormalCdf(shared.data(), shared.size(), 0, 1, 1,
                               results[static_cast<std::size_t>(t)].data());
    }
    for (const auto& result : results) EXPECT_EQ(result, want);
}

// A bad element spoils its own place only.
TEST(NormalExports, BadElementsStayAlone) {
    const double x[] = {1.0, nan_value, 2.0};
    const double p[] = {0.25, 1.5, 0.75};
    double out[3];
    zolv_ParallelNormalPdf(x, 3, 0, 1, out);
    EXPECT_SAME_BITS(out[0], zolv_NormalPdf(1.0, 0, 1));
    EXPECT_SIGN_SET_NAN(out[1]);
    EXPECT_SAME_BITS(out[2], zolv_NormalPdf(2.0, 0, 1));
    zolv_ParallelNormalInvCdf(p, 3, 0, 1, 0, out);
    EXPECT_SAME_BITS(out[0], -out[2]);
    EXPECT_SIGN_SET_NAN(out[1]);
}

}  // namespace
