// The columns of the augmented Dickey-Fuller regression.
#include "unit_root/adf_regression.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

using namespace zolv::unit_root;

namespace {

constexpr std::int32_t lowest = std::numeric_limits<std::int32_t>::min();
constexpr std::int32_t highest = std::numeric_limits<std::int32_t>::max();

const double series[] = {1.0, 3.0, 2.0, 7.0, 4.0, 8.0};  // differences, newest first: 4, -3, 5, -1, 2
constexpr std::int32_t n = 6;
using column = std::vector<double>;
const column level = {4.0, 7.0, 2.0, 3.0, 1.0}, constant = {1.0, 1.0, 1.0, 1.0, 1.0},
             trend = {6.0, 5.0, 4.0, 3.0, 2.0}, squares = {36.0, 25.0, 16.0, 9.0, 4.0},
             response = {4.0, -3.0, 5.0, -1.0, 2.0}, lag1 = {-3.0, 5.0, -1.0, 2.0}, lag2 = {5.0, -1.0, 2.0};

}  // namespace

TEST(AdfRegression, ColumnsByHand) {
    const struct {
        std::int32_t regression, lags;
        int first_lag;
        std::vector<column> columns;
    } cases[] = {
        {0, 0, 0, {level, constant, response}},
        {1, 0, 0, {level, constant, trend, response}},
        {2, 0, 0, {level, constant, trend, squares, response}},
        {3, 0, 0, {level, response}},
        {0, 2, 2, {level, constant, lag1, lag2, response}},
        {1, 1, 3, {level, constant, trend, lag1, response}},
        {2, 2, 4, {level, constant, trend, squares, lag1, lag2, response}},
        {3, 2, 1, {level, lag1, lag2, response}},
    };
    for (const auto& c : cases) {
        const AdfRegression got = BuildAdfRegression(series, n, c.lags, c.regression);
        EXPECT_EQ(got.columns, c.columns) << c.regression << " " << c.lags;
        EXPECT_EQ(got.first_lag, c.first_lag);
        EXPECT_EQ(got.regressors(), c.columns.size() - 1);
        EXPECT_EQ(got.response(), response);
        EXPECT_EQ(got.rows(), static_cast<std::size_t>(n - 1 - c.lags));
    }
}

TEST(AdfRegression, NegativeLagsAskForTheDefault) {
    const struct {
        std::int32_t n, lags;
    } cases[] = {{100, 12}, {50, 10}, {2, 4}, {1, 3}, {1000000, 120}, {highest, 816}, {81, 11}, {1600, 24}};
    for (const auto& c : cases) {
        EXPECT_EQ(ResolveLagRequest(c.n, -1), c.lags) << c.n;
        EXPECT_EQ(ResolveLagRequest(c.n, lowest), c.lags) << c.n;
        EXPECT_EQ(ResolveLagRequest(c.n, 0), 0);
        EXPECT_EQ(ResolveLagRequest(c.n, highest), highest);
    }
    const std::vector<double> walk(100, 1.5);
    EXPECT_EQ(BuildAdfRegression(walk.data(), 100, -1, 3).regressors(), 13u);
}

TEST(AdfRegression, DefinedWhileThereIsARowForEachRegressor) {
    EXPECT_FALSE(AdfRegressionIsDefined(1, 0, 3));
    EXPECT_TRUE(AdfRegressionIsDefined(2, 0, 3));
    EXPECT_FALSE(AdfRegressionIsDefined(2, 1, 3));
    EXPECT_FALSE(AdfRegressionIsDefined(2, -1, 3));
    const std::int32_t before_lags[] = {2, 3, 4, 1};
    for (std::int32_t regression = 0; regression < 4; ++regression) {
        for (const std::int32_t lags : {0, 1, 7}) {
            const std::int32_t smallest = 1 + lags + before_lags[regression] + lags;
            EXPECT_TRUE(AdfRegressionIsDefined(smallest, lags, regression));
            EXPECT_FALSE(AdfRegressionIsDefined(smallest - 1, lags, regression));
        }
        for (const std::int32_t count : {0, -1, lowest})
            EXPECT_FALSE(AdfRegressionIsDefined(count, 0, regression));
        EXPECT_FALSE(AdfRegressionIsDefined(100, highest, regression));
        EXPECT_FALSE(AdfRegressionIsDefined(highest, highest, regression));
        EXPECT_TRUE(AdfRegressionIsDefined(highest, 0, regression));
        EXPECT_TRUE(AdfRegressionIsDefined(highest, lowest, regression));
    }
    for (const std::int32_t regression : {-1, 4, lowest, highest}) {
        EXPECT_FALSE(AdfRegressionIsDefined(100, 0, regression));
    }
}
