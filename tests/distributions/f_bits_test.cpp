// The F family bit for bit against f_bits.py, over every branch, both tails and both sides of each switch.
#include <gtest/gtest.h>

#include <cmath>
#include <map>
#include <string>

#include "support/platform_bits.hpp"
#include "support/reference_table.hpp"
#include "zolv.h"

namespace {

// A quantile may stop one bisection step apart where the C library rounds otherwise.
testing::AssertionResult agrees(double got, double want, bool quantile) {
    if (std::isnan(want)) {
        return zolv_test::same_bits("got", "want", got, zolv_test::from_bits(zolv_test::sign_set_nan_bits));
    }
    if (zolv_test::platform_has_table_bits()) return zolv_test::same_bits("got", "want", got, want);
    return zolv_test::within_relative(got, want, quantile ? 1e-10 : 1e-12);
}

TEST(FBits, EveryBranchMatchesThePlainTranscription) {
    const zolv_test::reference_table table("f_bits");
    std::map<std::string, int> rows;
    for (std::size_t i = 0; i < table.size(); ++i) {
        const std::string& routine = table.text(i, "routine");
        const double x = table.number(i, "x"), d1 = table.number(i, "d1"), d2 = table.number(i, "d2"),
                     nc = table.number(i, "nc");
        const auto upper = static_cast<unsigned char>(table.number(i, "upper"));
        const double got = routine == "pdf"   ? zolv_FPdf(x, d1, d2, nc)
                           : routine == "cdf" ? zolv_FCdf(x, d1, d2, nc, upper)
                                              : zolv_FInvCdf(x, d1, d2, nc, upper);
        EXPECT_TRUE(agrees(got, table.number(i, "result"), routine == "inv"))
            << routine << " (" << table.text(i, "branch") << ") at x " << zolv_test::show(x) << ", d1 "
            << zolv_test::show(d1) << ", d2 " << zolv_test::show(d2) << ", nc " << zolv_test::show(nc)
            << ", upper " << int{upper};
        ++rows[routine];
    }
    EXPECT_GT(rows["pdf"], 1000);
    EXPECT_GT(rows["cdf"], 2000);
    EXPECT_GT(rows["inv"], 500);
}

}  // namespace
