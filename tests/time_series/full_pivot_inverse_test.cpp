#include "time_series/full_pivot_inverse.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

#include "support/bits.hpp"

namespace {

using vek::time_series::InvertMatrix;
using vek::time_series::SmallMatrix;

constexpr double nan = std::numeric_limits<double>::quiet_NaN();

TEST(FullPivotInverse, OneByOneIsTheReciprocal) {
    SmallMatrix m{};
    m[0][0] = -3.0;
    EXPECT_EQ(InvertMatrix(m, 0), 0);
    EXPECT_SAME_BITS(m[0][0], 1.0 / -3.0);
}

// The largest element stands off the diagonal, so that rows and columns both move and are moved back.
TEST(FullPivotInverse, PermutationsAreUndone) {
    SmallMatrix m{};
    const double a[3][3] = {{0, 0, 2}, {4, 0, 0}, {0, 8, 0}};
    for (int i = 0; i < 3; ++i) {
        for (int j = 0; j < 3; ++j) m[i][j] = a[i][j];
    }
    ASSERT_EQ(InvertMatrix(m, 2), 2);
    const double inverse[3][3] = {{0, 0.25, 0}, {0, 0, 0.125}, {0.5, 0, 0}};
    for (int i = 0; i < 3; ++i) {
        for (int j = 0; j < 3; ++j) EXPECT_EQ(m[i][j], inverse[i][j]) << i << j;
    }
}

TEST(FullPivotInverse, TimesTheMatrixIsTheUnitMatrix) {
    std::mt19937_64 random(11);
    std::uniform_real_distribution<double> uniform(-1.0, 1.0);
    double worst = 0.0;
    for (int last = 0; last < 10; ++last) {
        for (int repeat = 0; repeat < 100; ++repeat) {
            SmallMatrix m{};
            for (int i = 0; i <= last; ++i) {
                for (int j = 0; j <= last; ++j) m[i][j] = uniform(random) + (i == j ? 3.0 : 0.0);
            }
            const SmallMatrix before = m;
            ASSERT_EQ(InvertMatrix(m, last), last);
            for (int i = 0; i <= last; ++i) {
                for (int j = 0; j <= last; ++j) {
                    double sum = 0.0;
                    for (int l = 0; l <= last; ++l) sum += before[i][l] * m[l][j];
                    worst = std::max(worst, std::fabs(sum - (i == j ? 1.0 : 0.0)));
                }
            }
        }
    }
    std::printf("worst element of M M^-1 - I: %.2g\n", worst);
    EXPECT_LT(worst, 1e-12);
}

// 1e-8 itself stops the reduction; the double above it does not.
TEST(FullPivotInverse, APivotAtTheToleranceStops) {
    SmallMatrix m{};
    m[0][0] = 1.0;
    m[1][1] = 1e-8;
    EXPECT_EQ(InvertMatrix(m, 1), 0);
    m = {};
    m[0][0] = 1.0;
    m[1][1] = std::nextafter(1e-8, 1.0);
    EXPECT_EQ(InvertMatrix(m, 1), 1);
    EXPECT_SAME_BITS(m[1][1], 1.0 / std::nextafter(1e-8, 1.0));
}

TEST(FullPivotInverse, NothingToPickAtAll) {
    SmallMatrix m{};
    EXPECT_EQ(InvertMatrix(m, 3), -1);
    for (int i = 0; i <= 3; ++i) {
        for (int j = 0; j <= 3; ++j) m[i][j] = nan;
    }
    EXPECT_EQ(InvertMatrix(m, 3), -1);
}

TEST(FullPivotInverse, ANanIsNeverPicked) {
    SmallMatrix m{};
    m[0][0] = nan;
    m[1][1] = 2.0;
    EXPECT_EQ(InvertMatrix(m, 1), 0);  // the 2 first, then only NaN is left
}

TEST(FullPivotInverse, AnInfinitePivotIsNotAboveItsOwnTolerance) {
    SmallMatrix m{};
    m[0][0] = std::numeric_limits<double>::infinity();
    m[1][1] = 2.0;
    EXPECT_EQ(InvertMatrix(m, 1), -1);
}

// Hand arithmetic: the ties go to the first element in row order. Starting from the last instead would
// divide by 3 in the other order and leave other last bits.
TEST(FullPivotInverse, TiesKeepTheFirst) {
    SmallMatrix m{};
    const double a[2][2] = {{3, 1}, {1, 3}};
    for (int i = 0; i < 2; ++i) {
        for (int j = 0; j < 2; ++j) m[i][j] = a[i][j];
    }
    ASSERT_EQ(InvertMatrix(m, 1), 1);
    const double third = 1.0 / 3.0;
    const double pivot = 3.0 - 1.0 * third;  // of the second stage
    EXPECT_SAME_BITS(m[1][1], 1.0 / pivot);
    EXPECT_SAME_BITS(m[1][0], (0.0 - 1.0 * third) / pivot);
    EXPECT_SAME_BITS(m[0][1], 0.0 - third * (1.0 / pivot));
    EXPECT_SAME_BITS(m[0][0], third - third * ((0.0 - 1.0 * third) / pivot));
}

TEST(FullPivotInverse, TheSpareColumnIsTheOnlyOtherElementTouched) {
    SmallMatrix m{};
    for (auto& row : m) row.fill(7.0);
    m[0][0] = 2.0;
    m[0][1] = 1.0;
    m[1][0] = 1.0;
    m[1][1] = 5.0;
    ASSERT_EQ(InvertMatrix(m, 1), 1);
    for (std::size_t i = 0; i < m.size(); ++i) {
        for (std::size_t j = 0; j < m.size(); ++j) {
            if (i < 2 && j < 3) continue;
            EXPECT_EQ(m[i][j], 7.0) << i << " " << j;
        }
    }
}

}  // namespace
