#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <limits>

#include "distributions/central_tails.hpp"
#include "frame/nan.hpp"
#include "kernels/incomplete_gamma.hpp"
#include "support/bits.hpp"
#include "support/reference_table.hpp"

using namespace dru::impl;
using namespace zolv_test;

namespace {

constexpr double inf = std::numeric_limits<double>::infinity();
constexpr unsigned char lower_tail = 0;
constexpr unsigned char upper_selectors[] = {1, 2, 128, 255};  // any byte but zero

TEST(GammaCdfCentral, NaNGivesTheSignSetNaN) {
    for (const double x : {missing_value, sign_set_nan, std::numeric_limits<double>::signaling_NaN()}) {
        EXPECT_SIGN_SET_NAN(gamma_cdf_central(x, 2.0, lower_tail));
        for (const unsigned char upper : upper_selectors)
            EXPECT_SIGN_SET_NAN(gamma_cdf_central(x, 2.0, upper));
    }
}

TEST(GammaCdfCentral, InfinitePointsAreTheEnds) {
    EXPECT_SAME_BITS(gamma_cdf_central(inf, 2.0, lower_tail), 1.0);
    EXPECT_SAME_BITS(gamma_cdf_central(-inf, 2.0, lower_tail), 0.0);
    for (const unsigned char upper : upper_selectors) {
        EXPECT_SAME_BITS(gamma_cdf_central(inf, 2.0, upper), 0.0);
        EXPECT_SAME_BITS(gamma_cdf_central(-inf, 2.0, upper), 1.0);
    }
}

TEST(GammaCdfCentral, NothingLiesAtOrBelowZero) {
    for (const double a : {1e-200, 0.5, 1.0, 7.5, 1e6}) {
        for (const double x : {0.0, -0.0, -5e-324, -1.0, -1e308}) {
            EXPECT_SAME_BITS(gamma_cdf_central(x, a, lower_tail), 0.0);
            for (const unsigned char upper : upper_selectors)
                EXPECT_SAME_BITS(gamma_cdf_central(x, a, upper), 1.0);
        }
    }
    // The smallest positive number is computed.
    EXPECT_GT(gamma_cdf_central(5e-324, 0.01, lower_tail), 5e-4);
}

TEST(GammaCdfCentral, IsTheTailOfTheKernel) {
    for (const double a : {1e-50, 0.3, 1.0, 4.5, 20.25, 12345.0}) {
        for (const double x : {5e-324, 1e-60, 0.4, 1.0, 4.5, 21.0, 12300.0, 1e100}) {
            const tail_pair tails = gamma_tails(x, a);
            EXPECT_SAME_BITS(gamma_cdf_central(x, a, lower_tail), tails.lower);
            for (const unsigned char upper : upper_selectors)
                EXPECT_SAME_BITS(gamma_cdf_central(x, a, upper), tails.upper);
        }
    }
}

// The limits are about 3 times what was measured; a tail that is not the smaller one is one minus it.
TEST(GammaCdfCentral, ChiSquareTails) {
    const reference_table table("central_gamma_tail");
    ASSERT_GT(table.size(), 200u);
    double worst = 0.0;
    for (std::size_t i = 0; i < table.size(); ++i) {
        const double x = table.number(i, "x"), a = table.number(i, "a");
        const double lower = table.number(i, "lower"), upper = table.number(i, "upper");
        EXPECT_NEAR(gamma_cdf_central(x, a, 0), lower, 2e-14) << show(x) << " " << a;
        EXPECT_NEAR(gamma_cdf_central(x, a, 1), upper, 2e-14) << show(x) << " " << a;
        const double small = std::fmin(lower, upper);
        const double error = std::fabs(gamma_cdf_central(x, a, upper < lower) - small) / small;
        EXPECT_LE(error, 3e-13) << show(x) << " " << a;
        worst = std::fmax(worst, error);
    }
    std::printf("chi-square tails: worst relative error of the smaller tail %.2e\n", worst);
}

// Published 5 % points of chi-square (Abramowitz & Stegun, table 26.8).
TEST(GammaCdfCentral, PublishedPoints) {
    EXPECT_NEAR(gamma_cdf_central(3.84146 / 2, 0.5, 1), 0.05, 1e-6);
    EXPECT_NEAR(gamma_cdf_central(18.3070 / 2, 5.0, 1), 0.05, 1e-6);
    EXPECT_NEAR(gamma_cdf_central(36.4151 / 2, 12.0, 1), 0.05, 2e-6);
    EXPECT_NEAR(gamma_cdf_central(124.342 / 2, 50.0, 1), 0.05, 2e-6);
}

}  // namespace
