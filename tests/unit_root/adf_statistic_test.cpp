// The t ratio of the level from factored columns.
#include "unit_root/adf_statistic.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "support/bits.hpp"

using namespace zolv::unit_root;

namespace {

AdfRegression Columns(std::vector<std::vector<double>> columns) {
    AdfRegression regression;
    regression.columns = std::move(columns);
    return regression;
}

constexpr double unread = 1e300;  // below the diagonal, and where the diagonal itself would be

}  // namespace

// b = 4 / 2, RSS = 9 + 1 + 25 on 3 degrees of freedom, u = 1 / 2.
TEST(AdfStatistic, OneColumnByHand) {
    const auto regression = Columns({{unread, unread}, {4.0, 3.0, 1.0, 5.0}});
    const HouseholderFactors factors = {{0}, {0.5}, {2.0}};
    EXPECT_SAME_BITS(AdfStatistic(regression, factors, 4), 2.0 / std::sqrt(0.25 * (35.0 / 3.0)));
    EXPECT_SAME_BITS(AdfStatistic(regression, factors, 3), 2.0 / std::sqrt(0.25 * (10.0 / 2.0)));
}

// R = (2 1 3; 0 4 5; 0 0 8), y = (9, 13, 16, 2, 1): b2 = 2, b1 = (13 - 10) / 4, b0 = (9 - (0.75 + 6)) / 2.
// First row of the inverse: 1/2, -(1/2 1) / 4 = -1/8, -(1/2 3 - 1/8 5) / 8 = -7/64. RSS = 5 on 2.
TEST(AdfStatistic, ThreeColumnsByHand) {
    const double squares = 0.25 + 0.015625 + 49.0 / 4096.0;
    const double want = 1.125 / std::sqrt(squares * 2.5);
    const auto regression = Columns(
        {{unread, unread, unread}, {1.0, unread, unread}, {3.0, 5.0, unread}, {9.0, 13.0, 16.0, 2.0, 1.0}});
    EXPECT_SAME_BITS(AdfStatistic(regression, {{0, 1, 2}, {1, 1, 1}, {2.0, 4.0, 8.0}}, 5), want);

    // A dropped column between them changes nothing.
    const auto spaced = Columns({{unread, unread, unread},
                                 {unread, unread, unread},
                                 {1.0, unread, unread},
                                 {3.0, 5.0, unread},
                                 {9.0, 13.0, 16.0, 2.0, 1.0}});
    EXPECT_SAME_BITS(AdfStatistic(spaced, {{0, 2, 3}, {1, 1, 1, 1}, {2.0, 0.0, 4.0, 8.0}}, 5), want);
}

TEST(AdfStatistic, WithoutTheLevelThereIsNone) {
    const auto regression = Columns({{unread, unread}, {unread, unread}, {4.0, 3.0, 1.0}});
    EXPECT_TRUE(std::isnan(AdfStatistic(regression, {{1}, {1, 1}, {0.0, 2.0}}, 3)));
}

TEST(AdfStatistic, WithoutDegreesOfFreedomThereIsNone) {
    const auto regression = Columns({{unread}, {4.0, 3.0}});
    EXPECT_TRUE(std::isnan(AdfStatistic(regression, {{0}, {1}, {2.0}}, 1)));
}

TEST(AdfStatistic, ExactFitIsInfinite) {
    const auto regression = Columns({{unread, unread}, {-4.0, 0.0, 0.0}});
    EXPECT_EQ(AdfStatistic(regression, {{0}, {1}, {2.0}}, 3), -std::numeric_limits<double>::infinity());
}
