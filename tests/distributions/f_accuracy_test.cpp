// The F family against Poisson mixtures in 60 digits, regime by regime. Limits are what was measured times
// about 2.
#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "support/reference_table.hpp"
#include "support/worst_errors.hpp"
#include "zolv.h"

namespace {

TEST(FAccuracy, DensityAndTailsAgainstMixturesInSixtyDigits) {
    const zolv_test::reference_table table("f_reference");
    zolv_test::worst_errors density, smaller, larger;
    int beyond_one = 0;
    for (std::size_t i = 0; i < table.size(); ++i) {
        const std::string& regime = table.text(i, "regime");
        const double x = table.number(i, "x"), d1 = table.number(i, "d1"), d2 = table.number(i, "d2"),
                     nc = table.number(i, "nc"), lower = table.number(i, "lower"),
                     upper = table.number(i, "upper");
        const std::string where = table.text(i, "x") + ", " + table.text(i, "d1") + ", " +
                                  table.text(i, "d2") + ", " + table.text(i, "nc");
        const unsigned char which = lower < upper ? 0 : 1, other = lower < upper ? 1 : 0;
        smaller.add(regime, zolv_FCdf(x, d1, d2, nc, which), lower < upper ? lower : upper, where);
        larger.add(regime, zolv_FCdf(x, d1, d2, nc, other), lower < upper ? upper : lower, where);

        const double got = zolv_FPdf(x, d1, d2, nc), want = table.number(i, "pdf");
        const double odds = x * d1 / d2;  // y / (1 - y)
        if (nc == 0.0 || odds <= 1.0) {
            density.add(regime, got, want, where);
        } else if (odds < 0x1p53) {
            // Oddity: the noncentral density takes 1 - y by subtraction: it has an error of an ulp of 1, and
            // the density is its power d2 / 2 - 1.
            density.add(regime + ", y above 1/2", got, want, want * (1.0 + std::abs(d2 / 2.0 - 1.0) * odds),
                        where);
        } else {
            // Oddity: y is 1 there.
            ++beyond_one;
            EXPECT_EQ(got, d2 < 2.0 ? HUGE_VAL : 0.0) << where;
        }
    }
    EXPECT_GE(3 * table.size(), 2000u);
    EXPECT_GT(beyond_one, 0);
    density.expect_within("density", {{"1e4, y above 1/2", 3e-14},
                                      {"1e6, y above 1/2", 1e-15},
                                      {"central", 8e-14},
                                      {"far", 2e-13},
                                      {"far, y above 1/2", 1e-15},
                                      {"gamma-limit", 6e-14},
                                      {"half", 1e-13},
                                      {"half, y above 1/2", 3e-14},
                                      {"index-above-2^32, y above 1/2", 1e-15},
                                      {"lopsided", 3e-13},
                                      {"lopsided, y above 1/2", 1e-15},
                                      {"moderate", 1e-13},
                                      {"moderate, y above 1/2", 8e-14},
                                      {"normal-form", 4e-13},
                                      {"normal-form, y above 1/2", 1e-15},
                                      {"random", 2e-13},
                                      {"random, y above 1/2", 3e-14},
                                      {"small-shapes", 8e-14},
                                      {"small-shapes, y above 1/2", 3e-15},
                                      {"switch", 2e-15},
                                      {"switch, y above 1/2", 6e-15},
                                      {"tiny", 8e-14},
                                      {"tiny, y above 1/2", 6e-15}});
    smaller.expect_within("smaller tail", {{"1e4", 5e-13},
                                           {"1e6", 2e-12},
                                           {"central", 8e-14},
                                           {"far", 1e-13},
                                           {"gamma-limit", 7e-14},
                                           {"half", 1e-13},
                                           {"index-above-2^32", 4e-11},
                                           {"lopsided", 3e-13},
                                           {"moderate", 4e-13},
                                           {"normal-form", 1e-08},
                                           {"random", 2e-13},
                                           {"small-shapes", 4e-12},
                                           {"switch", 2e-14},
                                           {"tiny", 2e-13}});
    larger.expect_within("larger tail", {{"1e4", 6e-14},
                                         {"1e6", 1e-12},
                                         {"central", 5e-15},
                                         {"far", 1e-15},
                                         {"gamma-limit", 2e-14},
                                         {"half", 1e-14},
                                         {"index-above-2^32", 9e-12},
                                         {"lopsided", 5e-14},
                                         {"moderate", 2e-14},
                                         {"normal-form", 2e-10},
                                         {"random", 2e-14},
                                         {"small-shapes", 7e-14},
                                         {"switch", 1e-14},
                                         {"tiny", 8e-15}});
}

}  // namespace
