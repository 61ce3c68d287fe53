// Householder QR with dependent columns left out.
#include "unit_root/householder.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>
#include <vector>

#include "support/bits.hpp"

using namespace zolv::unit_root;

namespace {

using column = std::vector<double>;
using indices = std::vector<std::size_t>;

AdfRegression Columns(std::vector<column> columns) {
    AdfRegression regression;
    regression.columns = std::move(columns);
    return regression;
}

double Product(const column& x, const column& y, std::size_t rows) {
    double sum = 0.0;
    for (std::size_t i = 0; i < rows; ++i) sum += x[i] * y[i];
    return sum;
}

}  // namespace

// sigma = 16, mu = 5. x0 = 3: u = -16 / 8, tau = 2 / (4 + 16). x0 = -3: u = -8, tau = 2 / (64 + 16).
TEST(Householder, OneColumnByHand) {
    AdfRegression up = Columns({{3.0, 4.0}, {5.0, 10.0}});
    HouseholderFactors factors = HouseholderColumns(up);
    EXPECT_EQ(factors.retained, indices{0});
    EXPECT_SAME_BITS(factors.diagonal[0], 5.0);
    EXPECT_SAME_BITS(factors.tau[0], 2.0 / 20.0);
    EXPECT_EQ(up.columns[0], (column{-2.0, 4.0}));
    EXPECT_NEAR(up.response()[0], 11.0, 1e-14);  // (3 * 5 + 4 * 10) / 5
    EXPECT_NEAR(up.response()[1], -2.0, 1e-14);

    AdfRegression down = Columns({{-3.0, 4.0}, {5.0, 10.0}});
    factors = HouseholderColumns(down);
    EXPECT_SAME_BITS(factors.diagonal[0], 5.0);
    EXPECT_SAME_BITS(factors.tau[0], 2.0 / 80.0);
    EXPECT_EQ(down.columns[0], (column{-8.0, 4.0}));
    EXPECT_NEAR(down.response()[0], 5.0, 1e-14);

    AdfRegression level = Columns({{0.0, 4.0}, {5.0, 10.0}});  // x0 = 0 takes the branch of x0 < 0
    factors = HouseholderColumns(level);
    EXPECT_SAME_BITS(factors.diagonal[0], 4.0);
    EXPECT_SAME_BITS(factors.tau[0], 2.0 / 32.0);
    EXPECT_EQ(level.columns[0], (column{-4.0, 4.0}));
}

TEST(Householder, NothingBelowTheDiagonal) {
    AdfRegression up = Columns({{3.0, 0.0}, {5.0, 10.0}});
    HouseholderFactors factors = HouseholderColumns(up);
    EXPECT_SAME_BITS(factors.diagonal[0], 3.0);
    EXPECT_SAME_BITS(factors.tau[0], 0.0);
    EXPECT_EQ(up.columns[0], (column{1.0, 0.0}));
    EXPECT_EQ(up.response(), (column{5.0, 10.0}));

    AdfRegression down = Columns({{-3.0, 0.0}, {5.0, 10.0}});
    factors = HouseholderColumns(down);
    EXPECT_SAME_BITS(factors.diagonal[0], 3.0);
    EXPECT_SAME_BITS(factors.tau[0], 2.0);
    EXPECT_EQ(down.columns[0], (column{1.0, 0.0}));
    EXPECT_EQ(down.response(), (column{-5.0, 10.0}));

    AdfRegression small = Columns({{0x1p-30, 0.0}, {5.0, 10.0}});  // a sign is no question of size
    factors = HouseholderColumns(small);
    EXPECT_SAME_BITS(factors.diagonal[0], 0x1p-30);
    EXPECT_SAME_BITS(factors.tau[0], 0.0);
    EXPECT_EQ(small.response(), (column{5.0, 10.0}));

    AdfRegression single = Columns({{-3.0}, {5.0}});  // at most one row is left: no sum at all
    factors = HouseholderColumns(single);
    EXPECT_SAME_BITS(factors.diagonal[0], 3.0);
    EXPECT_SAME_BITS(factors.tau[0], 2.0);
    EXPECT_EQ(single.response(), column{-5.0});
}

TEST(Householder, NormNotAboveTheLimitIsDropped) {
    const double limit = 1e-12, above = std::nextafter(limit, 1.0);
    for (const double sign : {1.0, -1.0}) {
        AdfRegression regression =
            Columns({{sign * limit, 0.0, 0.0}, {sign * above, 0.0, 0.0}, {1.0, 2.0, 3.0}});
        const HouseholderFactors factors = HouseholderColumns(regression);
        EXPECT_EQ(factors.retained, indices{1});
        EXPECT_MISSING(factors.tau[0]);
        EXPECT_SAME_BITS(factors.diagonal[0], 0.0);
        EXPECT_SAME_BITS(factors.diagonal[1], above);
    }
    AdfRegression below = Columns({{0.0, limit}, {0.0, 1.1e-12}, {1.0, 2.0}});
    EXPECT_EQ(HouseholderColumns(below).retained, indices{1});
}

TEST(Householder, DependentColumnsAreDroppedAndDoNotCountAsRows) {
    AdfRegression regression = Columns({{1.0, 2.0, 3.0, 4.0, 5.0},
                                        {2.0, 4.0, 6.0, 8.0, 10.0},  // twice the first
                                        {1.0, 1.0, 1.0, 1.0, 1.0},
                                        {2.0, 3.0, 4.0, 5.0, 6.0},  // first and third
                                        {1.0, 0.0, 2.0, 0.0, 3.0},
                                        {1.0, 4.0, 2.0, 8.0, 5.0}});
    const auto before = regression.columns;
    const HouseholderFactors factors = HouseholderColumns(regression);
    EXPECT_EQ(factors.retained, (indices{0, 2, 4}));
    for (const std::size_t dropped : {1u, 3u}) {
        EXPECT_MISSING(factors.tau[dropped]);
        EXPECT_SAME_BITS(factors.diagonal[dropped], 0.0);
    }
    EXPECT_NEAR(factors.diagonal[0], std::sqrt(55.0), 1e-14);
    EXPECT_NEAR(factors.diagonal[2], std::sqrt(50.0 / 55.0), 1e-14);  // sqrt of 5 - 15^2 / 55
    EXPECT_NEAR(Product(regression.response(), regression.response(), 5), Product(before[5], before[5], 5),
                1e-12);
}

TEST(Householder, NaNColumnsAreDropped) {
    const double nan = std::nan("");
    AdfRegression regression = Columns({{1.0, nan, 3.0}, {nan, 2.0, 3.0}, {1.0, 2.0, 2.0}, {1.0, 2.0, nan}});
    const HouseholderFactors factors = HouseholderColumns(regression);
    EXPECT_EQ(factors.retained, indices{2});
    EXPECT_SAME_BITS(factors.diagonal[2], 3.0);
    EXPECT_MISSING(factors.tau[0]);
    EXPECT_MISSING(factors.tau[1]);
    AdfRegression last_row = Columns({{nan}, {1.0}});  // no row below: the norm itself is a NaN
    EXPECT_TRUE(HouseholderColumns(last_row).retained.empty());
}

// R'R = A'A over the first rows() rows, R'(Q'y) = A'y, and the oldest rows of the longer columns are unread.
TEST(Householder, FactorsReproduceTheNormalEquations) {
    std::mt19937 generator(17);
    const auto draw = [&] { return generator() / 4294967296.0 - 0.5; };
    for (int trial = 0; trial < 30; ++trial) {
        const std::size_t regressors = 1 + generator() % 8, rows = regressors + generator() % 20;
        std::vector<column> columns;
        for (std::size_t j = 0; j <= regressors; ++j) {
            const bool last = j + 1 == regressors;
            column c(rows + (last ? 0 : 4));
            for (double& x : c) x = draw();
            for (std::size_t i = rows; i < c.size(); ++i) c[i] = 1e6;
            columns.push_back(c);
        }
        AdfRegression regression = Columns(columns);
        const HouseholderFactors factors = HouseholderColumns(regression);
        ASSERT_EQ(factors.retained.size(), regressors);
        const auto r = [&](std::size_t i, std::size_t j) {
            return i == j ? factors.diagonal[j] : i < j ? regression.columns[j][i] : 0.0;
        };
        for (std::size_t a = 0; a < regressors; ++a) {
            EXPECT_GT(factors.diagonal[a], 0.0);
            for (std::size_t b = 0; b < regressors; ++b) {
                double sum = 0.0;
                for (std::size_t i = 0; i <= std::min(a, b); ++i) sum += r(i, a) * r(i, b);
                EXPECT_NEAR(sum, Product(columns[a], columns[b], rows), 1e-14 * rows);
            }
            double sum = 0.0;
            for (std::size_t i = 0; i <= a; ++i) sum += r(i, a) * regression.response()[i];
            EXPECT_NEAR(sum, Product(columns[a], columns.back(), rows), 1e-14 * rows);
        }
        for (std::size_t i = rows; i < rows + 4; ++i) EXPECT_SAME_BITS(regression.response()[i], 1e6);
        for (std::size_t b = regressors; b-- > 0;) {  // and backwards: the response as it was
            Reflect(regression.columns[b], factors.tau[b], b, rows, regression.response());
        }
        for (std::size_t i = 0; i < rows; ++i)
            EXPECT_NEAR(regression.response()[i], columns.back()[i], 1e-14);
    }
}

TEST(Householder, AReflectionIsItsOwnInverse) {
    const column v = {-2.0, 4.0};
    column y = {5.0, 10.0};
    Reflect(v, 0.1, 0, 2, y);
    Reflect(v, 0.1, 0, 2, y);
    EXPECT_NEAR(y[0], 5.0, 1e-14);
    EXPECT_NEAR(y[1], 10.0, 1e-14);
    column untouched = {5.0, 10.0};
    Reflect(v, 0.1, 2, 2, untouched);
    EXPECT_EQ(untouched, (column{5.0, 10.0}));
}
