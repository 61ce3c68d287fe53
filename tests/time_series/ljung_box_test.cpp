// tests/time_series/ljung_box_test.cpp: pairwise sums, residual autocorrelations, the Ljung-Box table.
#include "time_series/ljung_box.hpp"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <limits>

#include "support/bits.hpp"
#include "support/series.hpp"
#include "zolv.h"

namespace {

using namespace zolv::time_series;
using zolv_test::generated_series;
using zolv_test::within_relative;

constexpr double untouched = -77.5;

struct Table {
    explicit Table(std::size_t rows) : values(rows, {untouched, untouched, untouched}), pointers(rows) {
        for (std::size_t i = 0; i < rows; ++i) pointers[i] = values[i].data();
    }
    bool Untouched(std::size_t row) const {
        return values[row] == std::array<double, 3>{untouched, untouched, untouched};
    }
    std::vector<std::array<double, 3>> values;
    std::vector<double*> pointers;
};

Table table_of(const std::vector<double>& residuals, int k, const std::vector<int>& lags) {
    Table table(lags.size());
    LjungBoxTable(residuals.data(), static_cast<int>(residuals.size()), k, lags.data(),
                  static_cast<int>(lags.size()), table.pointers.data());
    return table;
}

double pairwise(const std::vector<double>& x) {
    return PairwiseSum(0, x.size(), [&](std::size_t i) { return x[i]; });
}

TEST(PairwiseSum, TwoAtATimeFromLeftToRight) {
    EXPECT_SAME_BITS(pairwise({}), 0.0);
    EXPECT_SAME_BITS(pairwise({0.1}), 0.1);
    EXPECT_SAME_BITS(pairwise({0.1, 0.2, 0.3}), (0.1 + 0.2) + 0.3);
    EXPECT_SAME_BITS(pairwise({0.1, 0.2, 0.3, 0.4}), (0.1 + 0.2) + (0.3 + 0.4));
    // 1 is lost against 1e16 alone, but not as 1 + 1.
    EXPECT_SAME_BITS(pairwise({1e16, 0.0, 1.0, 1.0}), 1e16 + 2.0);
    EXPECT_SAME_BITS(pairwise({1e16, 1.0, 1.0}), 1e16);
    const std::vector<double> x = generated_series(1, 9);
    EXPECT_SAME_BITS(PairwiseSum(3, 3, [&](std::size_t i) { return x[i]; }), (x[3] + x[4]) + x[5]);
}

TEST(PairwiseSum, HalvesFrom128Upward) {
    const auto run = [](const std::vector<double>& x, std::size_t first, std::size_t count) {
        double sum = 0.0;
        for (std::size_t i = 0; i + 1 < count; i += 2) sum += x[first + i] + x[first + i + 1];
        return count % 2 == 1 ? sum + x[first + count - 1] : sum;
    };
    for (const std::size_t n : {126u, 127u, 128u, 129u, 254u, 255u, 256u, 257u, 513u}) {
        const std::vector<double> x = generated_series(n, n);
        const std::size_t h = n / 2;
        const double want = n < 128                  ? run(x, 0, n)
                            : h < 128 && n - h < 128 ? run(x, 0, h) + run(x, h, n - h)
                                                     : std::nan("");
        if (!std::isnan(want)) {
            EXPECT_SAME_BITS(pairwise(x), want) << n;
        }
    }
    const std::vector<double> x = generated_series(257, 257);  // 128 + 129, and these halved once more
    EXPECT_SAME_BITS(pairwise(x), (run(x, 0, 64) + run(x, 64, 64)) + (run(x, 128, 64) + run(x, 192, 65)));
    // The threshold is seen: 127 and 128 values do not sum the same way.
    const std::vector<double> y = generated_series(4, 128);
    EXPECT_NE(zolv_test::bits(pairwise(y)), zolv_test::bits(run(y, 0, 128)));
}

TEST(LjungBox, BitsOfAnIndependentTranscription) {
    const zolv_test::reference_table reference("arima_reports_bits_ljung_box");
    ASSERT_GE(reference.size(), 45u);
    double worst = 0.0;
    for (std::size_t row = 0; row < reference.size(); ++row) {
        std::vector<int> lags;
        for (const double lag : zolv_test::number_list(reference.text(row, "lags")))
            lags.push_back(static_cast<int>(lag));
        const Table table = table_of(zolv_test::named_series(reference.text(row, "series")),
                                     static_cast<int>(reference.number(row, "k")), lags);
        std::size_t i = 0;
        while (lags[i] != static_cast<int>(reference.number(row, "lag"))) ++i;
        EXPECT_SAME_BITS(table.values[i][0], reference.number(row, "statistic")) << "row " << row;
        EXPECT_SAME_BITS(table.values[i][1], reference.number(row, "df")) << "row " << row;
        const double p = reference.number(row, "p");
        EXPECT_TRUE(within_relative(table.values[i][2], p, 1e-14)) << "row " << row;
        worst = std::max(worst, std::abs(table.values[i][2] - p) / p);
    }
    std::printf("p values: worst relative error %.3g\n", worst);
}

TEST(LjungBox, PeerOnRealSeries) {
    const zolv_test::reference_table reference("ljung_box_r");
    ASSERT_GE(reference.size(), 100u);
    double worst = 0.0, worst_p = 0.0;
    for (std::size_t row = 0; row < reference.size(); ++row) {
        const std::vector<double> x = zolv_test::load_series(reference.text(row, "series"));
        std::vector<double> difference(x.size() - 1);
        for (std::size_t i = 0; i < difference.size(); ++i) difference[i] = x[i + 1] - x[i];
        const int lag = static_cast<int>(reference.number(row, "lag"));
        const int k = static_cast<int>(reference.number(row, "k"));
        const Table table = table_of(difference, k, {12, 24, 36, 48});
        const std::array<double, 3>& got = table.values[static_cast<std::size_t>(lag / 12 - 1)];
        const double statistic = reference.number(row, "statistic"), p = reference.number(row, "p");
        EXPECT_TRUE(within_relative(got[0], statistic, 1e-13)) << "row " << row;
        EXPECT_EQ(got[1], lag - k);
        EXPECT_NEAR(got[2], p, 1e-13) << "row " << row;
        worst = std::max(worst, std::abs(got[0] - statistic) / statistic);
        worst_p = std::max(worst_p, std::abs(got[2] - p));
    }
    std::printf("peer: statistic %.3g relative, p %.3g absolute\n", worst, worst_p);
}

TEST(LjungBox, WhichRowsAreWritten) {
    const std::vector<int> lags{12, 24, 36, 48};
    const auto written = [&](std::size_t n, int k) {
        const Table table = table_of(generated_series(n, n), k, lags);
        int mask = 0;
        for (std::size_t i = 0; i < 4; ++i) mask |= table.Untouched(i) ? 0 : 1 << i;
        return mask;
    };
    EXPECT_EQ(written(40, 2), 0b0111);
    EXPECT_EQ(written(12, 0), 0b0000);  // a lag has to be below the count
    EXPECT_EQ(written(13, 0), 0b0001);
    EXPECT_EQ(written(48, 0), 0b0111);
    EXPECT_EQ(written(49, 10), 0b1111);  // with at most ten parameters lag 12 always has a row
    EXPECT_EQ(written(49, 11), 0b1111);
    EXPECT_EQ(written(49, 12), 0b1110);
    EXPECT_EQ(written(1, 0), 0b0000);

    Table table(4);
    const std::vector<double> residuals = generated_series(9, 60);
    table.pointers[1] = nullptr;
    LjungBoxTable(residuals.data(), 60, 0, lags.data(), 4, table.pointers.data());
    EXPECT_TRUE(table.Untouched(1));
    EXPECT_FALSE(table.Untouched(2));
    // The rows behind a skipped one carry the whole sum.
    EXPECT_EQ(table.values[2], table_of(residuals, 0, lags).values[2]);
}

TEST(LjungBox, NothingToTest) {
    Table table(2);
    const std::vector<double> residuals = generated_series(9, 10);
    const int lags[] = {3, 4};
    LjungBoxTable(residuals.data(), 10, 0, lags, 0, table.pointers.data());
    LjungBoxTable(residuals.data(), 10, 0, lags, -1, table.pointers.data());
    LjungBoxTable(nullptr, 0, 0, lags, 2, table.pointers.data());
    LjungBoxTable(nullptr, -5, 0, lags, 2, table.pointers.data());
    const int senseless[] = {-3, 0};
    LjungBoxTable(residuals.data(), 10, 0, senseless, 2, table.pointers.data());
    EXPECT_TRUE(table.Untouched(0));
    EXPECT_TRUE(table.Untouched(1));
    // Lags out of order stay inside the memory of the largest one that is looked at.
    const int falling[] = {8, 2};
    LjungBoxTable(residuals.data(), 10, 0, falling, 2, table.pointers.data());
    EXPECT_EQ(table.values[0][1], 8.0);
}

TEST(LjungBox, ResidualsThatDoNotVary) {
    for (const double level : {0.0, 2.0, -0.5}) {
        const Table table = table_of(std::vector<double>(60, level), 2, {12, 24, 36, 48});
        for (const auto& row : table.values) {
            EXPECT_MISSING(row[0]);
            EXPECT_SAME_BITS(row[1], &row == &table.values[0] ? 10.0 : row[1]);
            EXPECT_SIGN_SET_NAN(row[2]);
        }
    }
    std::vector<double> gap = generated_series(3, 60);
    gap[5] = -std::numeric_limits<double>::quiet_NaN();
    EXPECT_MISSING(table_of(gap, 0, {12}).values[0][0]);
    EXPECT_SIGN_SET_NAN(table_of(gap, 0, {12}).values[0][2]);
}

TEST(LjungBox, PValue) {
    EXPECT_MISSING(ChiSquarePValue(3.0, 0.0));
    EXPECT_MISSING(ChiSquarePValue(3.0, -1.0));
    EXPECT_MISSING(ChiSquarePValue(3.0, std::numeric_limits<double>::infinity()));
    EXPECT_MISSING(ChiSquarePValue(3.0, std::nan("")));
    EXPECT_SIGN_SET_NAN(ChiSquarePValue(std::nan(""), 3.0));
    EXPECT_SAME_BITS(ChiSquarePValue(0.0, 3.0), 1.0);
    EXPECT_TRUE(within_relative(ChiSquarePValue(3.0, 2.0), std::exp(-1.5), 1e-14));
}

TEST(ResidualAutocorrelations, HandWorked) {
    const double e[] = {1.0, 2.0, 3.0, 6.0};  // mean 3, deviations -2 -1 0 3, squares 14
    const std::vector<double> r = ResidualAutocorrelations(e, 4, 5);
    ASSERT_EQ(r.size(), 5u);
    EXPECT_SAME_BITS(r[0], 2.0 / 14.0);
    EXPECT_SAME_BITS(r[1], -3.0 / 14.0);
    EXPECT_SAME_BITS(r[2], -6.0 / 14.0);
    EXPECT_MISSING(r[3]);  // no pair of residuals is that far apart
    EXPECT_MISSING(r[4]);
    EXPECT_TRUE(ResidualAutocorrelations(e, 4, 0).empty());
    EXPECT_TRUE(ResidualAutocorrelations(e, 4, -2).empty());
    for (const double v : ResidualAutocorrelations(e, 0, 2)) EXPECT_MISSING(v);
    for (const double v : ResidualAutocorrelations(e, 1, 2)) EXPECT_MISSING(v);
}

}  // namespace
