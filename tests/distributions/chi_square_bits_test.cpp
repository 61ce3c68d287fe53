// The chi-square family bit for bit against chi_square_bits.py, over every branch.
#include <gtest/gtest.h>

#include <map>
#include <string>

#include "support/platform_bits.hpp"
#include "support/reference_table.hpp"
#include "zolv.h"

namespace {

using zolv_test::bits;

// A quantile may stop one bisection step apart where the C library rounds otherwise.
testing::AssertionResult agrees(double got, double want, bool quantile) {
    if (std::isnan(want) || zolv_test::platform_has_table_bits()) {
        return zolv_test::same_bits("got", "want", got, want);
    }
    return zolv_test::within_relative(got, want, quantile ? 1e-10 : 1e-12);
}

TEST(ChiSquareBits, EveryBranchMatchesThePlainTranscription) {
    const zolv_test::reference_table table("chi_square_bits");
    std::map<std::string, int> rows;
    for (std::size_t i = 0; i < table.size(); ++i) {
        const std::string& routine = table.text(i, "routine");
        const double x = table.number(i, "x"), df = table.number(i, "df"), nc = table.number(i, "nc");
        const auto upper = static_cast<unsigned char>(table.number(i, "upper"));
        const double want = table.number(i, "value");
        const double got = routine == "pdf"   ? zolv_ChiSqPdf(x, df, nc)
                           : routine == "cdf" ? zolv_ChiSqCdf(x, df, nc, upper)
                                              : zolv_ChiSqInvCdf(x, df, nc, upper);
        EXPECT_TRUE(agrees(got, want, routine == "inv_cdf"))
            << routine << " (" << table.text(i, "branch") << ") at x " << zolv_test::show(x) << ", df "
            << zolv_test::show(df) << ", nc " << zolv_test::show(nc) << ", upper " << int{upper};
        ++rows[routine];
    }
    EXPECT_GT(rows["pdf"], 1500);
    EXPECT_GT(rows["cdf"], 3000);
    EXPECT_GT(rows["inv_cdf"], 1500);
}

}  // namespace
