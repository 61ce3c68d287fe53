#include "quantiles/noncentral_beta.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "support/platform_bits.hpp"
#include "support/reference_table.hpp"

namespace {

using namespace dru::impl;

testing::AssertionResult agrees(double got, double want) {
    if (std::isnan(want)) {
        return zolv_test::same_bits("got", "want", got, zolv_test::from_bits(zolv_test::sign_set_nan_bits));
    }
    if (zolv_test::platform_has_table_bits()) return zolv_test::same_bits("got", "want", got, want);
    return zolv_test::within_relative(got, want, 1e-10);
}

TEST(NoncentralBeta, MatchesThePlainTranscription) {
    const zolv_test::reference_table table("noncentral_beta_bits");
    int left = 0, right = 0, quantiles = 0;
    for (std::size_t i = 0; i < table.size(); ++i) {
        const std::string& routine = table.text(i, "routine");
        const double x = table.number(i, "x"), a = table.number(i, "a"), b = table.number(i, "b"),
                     nc = table.number(i, "nc");
        SCOPED_TRACE(routine + " " + table.text(i, "branch") + "(" + zolv_test::show(x) + ", " +
                     zolv_test::show(a) + ", " + zolv_test::show(b) + ", " + zolv_test::show(nc) + ")");
        const double one = table.number(i, "one"), other = table.number(i, "other");
        if (routine == "quantile") {
            ++quantiles;
            const auto upper = static_cast<unsigned char>(table.number(i, "upper"));
            EXPECT_TRUE(agrees(beta_nc_quantile(x, a, b, nc, upper), one));
            continue;
        }
        ++(routine == "left" ? left : right);
        const tail_pair tails =
            routine == "left" ? beta_nc_tails_left(x, a, b, nc) : beta_nc_tails_right(x, a, b, nc);
        EXPECT_TRUE(agrees(tails.lower, one));
        EXPECT_TRUE(agrees(tails.upper, other));
    }
    EXPECT_GT(left, 1000);
    EXPECT_GT(right, 1000);
    EXPECT_GE(quantiles, 64);
}

}  // namespace
