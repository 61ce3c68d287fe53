// What the quantile searches start from: derivatives of ln Gamma, ln Gamma(1 + a) / a, and the first-term
// estimates of a beta quantile.
#include "quantiles/quantile_starts.hpp"

#include <cmath>
#include <limits>

#include "kernels/log_gamma.hpp"
#include "kernels/polygamma.hpp"
#include "support/bits.hpp"
#include "support/quantile_bits.hpp"
#include "support/reference_table.hpp"
#include "support/worst_errors.hpp"

namespace {

using namespace dru::impl;
using zolv_test::check_quantile_rows;
using zolv_test::quantile_row;

TEST(QuantileStarts, ExactBits) {
    check_quantile_rows("log_gamma1p_over", [](const quantile_row& r) { return log_gamma1p_over(r.x); });
    check_quantile_rows("digamma", [](const quantile_row& r) { return digamma(r.x); });
    check_quantile_rows("trigamma", [](const quantile_row& r) { return trigamma(r.x); });
    check_quantile_rows("tetragamma", [](const quantile_row& r) { return tetragamma(r.x); });
    check_quantile_rows("beta_small_start", [](const quantile_row& r) {
        return r.upper != 0 ? beta_right_small_start(r.x, r.y, r.z) : beta_left_small_start(r.x, r.y, r.z);
    });
}

// Relative where the function has no zero nearby, otherwise absolute (psi near 1.46, ln Gamma near 1 and 2).
// The start is compared as x, whose relative error is the absolute one of its logarithm.
TEST(QuantileStarts, Reference) {
    const zolv_test::reference_table table("quantile_starts_reference");
    zolv_test::worst_errors errors;
    for (std::size_t i = 0; i < table.size(); ++i) {
        const std::string routine = table.text(i, "routine"), regime = table.text(i, "regime");
        const double x = table.number(i, "x"), a = table.number(i, "y"), b = table.number(i, "z");
        const double want = table.number(i, "value");
        const double scale = std::max(1.0, std::abs(want));
        const std::string where = zolv_test::show(x) + ", " + zolv_test::show(a) + ", " + zolv_test::show(b);
        if (routine == "log_gamma1p_over")
            errors.add(routine + "-" + regime, log_gamma1p_over(x), want, scale, where);
        if (routine == "digamma") errors.add(routine + "-" + regime, digamma(x), want, scale, where);
        if (routine == "trigamma") errors.add(routine + "-" + regime, trigamma(x), want, where);
        if (routine == "tetragamma") errors.add(routine + "-" + regime, tetragamma(x), want, where);
        if (routine != "start") continue;
        const double got = table.number(i, "upper") != 0.0 ? beta_right_small_start(x, a, b)
                                                           : beta_left_small_start(x, a, b);
        if (want < log_dbl_min) {
            EXPECT_SAME_BITS(got, 0.0) << where;
        } else if (want > std::log(0.5)) {
            EXPECT_SAME_BITS(got, 0.5) << where;
        } else {
            errors.add(routine + "-" + regime, got, std::exp(want), where);
        }
    }
    errors.expect_within("starts", {{"digamma-pole", 3e-12},
                                    {"digamma-series", 5e-15},
                                    {"log_gamma1p_over-above", 4e-12},
                                    {"log_gamma1p_over-below", 5e-11},
                                    {"start-gamma_values", 7e-12},
                                    {"start-large_b", 9e-11},
                                    {"start-small_a", 2e-9},
                                    {"start-small_b", 6e-10},
                                    {"tetragamma-pole", 6e-12},
                                    {"tetragamma-series", 5e-14},
                                    {"trigamma-pole", 8e-12},
                                    {"trigamma-series", 5e-15}});
}

TEST(QuantileStarts, ThePolesOfThePolygammas) {
    for (const double u : {1e-300, 1e-50, std::nextafter(1e-12, 0.0)}) EXPECT_SAME_BITS(digamma(u), -1.0 / u);
    EXPECT_NE(digamma(1e-12), -1.0 / 1e-12);
    for (const double u : {1e-100, 1e-9, std::nextafter(1e-6, 0.0)})
        EXPECT_SAME_BITS(trigamma(u), 1.0 / (u * u));
    for (const double u : {1e-80, 1e-9, std::nextafter(0.0001, 0.0)}) {
        EXPECT_SAME_BITS(tetragamma(u), -2.0 / (u * u * u));
    }
    EXPECT_NE(tetragamma(0.0001), -2.0 / (0.0001 * 0.0001 * 0.0001));
    EXPECT_NEAR(digamma(1.0), -0.5772156649015329, 1e-15);
    EXPECT_NEAR(trigamma(1.0), M_PI * M_PI / 6.0, 1e-15);
    EXPECT_NEAR(tetragamma(1.0), -2.0 * 1.2020569031595943, 1e-14);
}

TEST(QuantileStarts, TheEndsOfTheEstimate) {
    // I_x(1, 1) = x: the estimate of beta(a, 1) is p^(1/a) exactly.
    EXPECT_TRUE(zolv_test::within_relative(beta_left_small_start(0.01, 0.5, 1.0), 1e-4, 1e-13));
    EXPECT_SAME_BITS(beta_left_small_start(0.9, 0.5, 1.0), 0.5);     // 0.81: beyond one half
    EXPECT_SAME_BITS(beta_left_small_start(1e-200, 0.1, 1.0), 0.0);  // 1e-2000
    EXPECT_GT(beta_left_small_start(1e-30, 0.1, 1.0), 0.0);          // 1e-300
    EXPECT_SAME_BITS(beta_left_small_start(1e-31, 0.1, 1.0),
                     0.0);  // 1e-310: below the smallest normal double
    // The upper tail's estimate is that of the lower tail 1 - p.
    EXPECT_TRUE(zolv_test::within_relative(beta_right_small_start(0.99, 0.5, 1.0), 1e-4, 1e-12));
}

// Both shapes 1e-4: the expansion in a, which is asked about before the one in b.
TEST(QuantileStarts, TheFirstShapeIsAskedFirst) {
    const double a = 1e-4, p = 0.499;
    const double u = 1.0 + a;
    const double t = (std::log(p) + log1p_small(a / a)) / a + log_gamma1p_over(a) - digamma(u) -
                     0.5 * a * trigamma(u) - a * a * tetragamma(u) / 6.0;
    EXPECT_SAME_BITS(beta_left_small_start(p, a, a), t > -0.6931471805599453 ? 0.5 : std::exp(t));
    EXPECT_LT(t, -0.6931471805599453);
}

TEST(QuantileStarts, APreparedStartIsThePlainOne) {
    for (const auto& [a, b] : {std::pair{0.3, 0.7}, {0.2, 1e5}, {1e-5, 3.0}, {3.0, 1e-5}}) {
        const beta_small_start prepared(a, b);
        for (const double p : {1e-9, 0.01, 0.4, 0.97}) {
            EXPECT_SAME_BITS(prepared(p, 0), beta_left_small_start(p, a, b));
            EXPECT_SAME_BITS(prepared(p, 1), beta_right_small_start(p, a, b));
        }
    }
}

}  // namespace
