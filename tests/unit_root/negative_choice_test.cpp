// A choice of lags that comes out negative: the level of a steep straight line is lost in its trend, so that
// the retained lags stand before the place where lags are looked for.
#include <gtest/gtest.h>

#include <vector>

#include "zolv.h"

namespace {

TEST(NegativeChoice, AsksForTheDefaultNumberOfLags) {
    // The line that the fuzzer found: slope and start are two-byte fractions, scaled to 1e17.
    std::vector<double> line(54);
    const double start = -20.0 + 40.0 * 43855.0 / 65536.0, slope = -1.0 + 2.0 * 65297.0 / 65536.0;
    for (std::size_t i = 0; i < line.size(); ++i) {
        line[i] = start + slope * static_cast<double>(i);
        line[i] *= 1e17;
    }
    zolv_UnitRootTest chosen, asked;
    zolv_AugmentedDickeyFuller(line.data(), 54, 5, 1, 1, 0.05, &chosen);
    zolv_AugmentedDickeyFuller(line.data(), 54, -1, 3, 1, 0.05, &asked);
    EXPECT_EQ(chosen.lagCount, 10);  // above the 5 that were offered
    EXPECT_EQ(chosen.sampleSize, 43);
    EXPECT_EQ(asked.lagCount, 10);
    EXPECT_EQ(asked.sampleSize, 43);
    EXPECT_EQ(chosen.statistic, asked.statistic);
}

}  // namespace
