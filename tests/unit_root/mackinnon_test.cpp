// p-values and critical values of the Dickey-Fuller tau statistic.
#include "unit_root/mackinnon.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>

#include "kernels/normal.hpp"
#include "support/bits.hpp"
#include "support/reference_table.hpp"

namespace {

using zolv_test::reference_table;

constexpr double untouched = -987.25;
constexpr double infinity = std::numeric_limits<double>::infinity();

zolv_UnitRootTest Values(int regression, double statistic, int size) {
    zolv_UnitRootTest test;
    test.statistic = statistic;
    test.sampleSize = size;
    test.pValue = test.critical1 = test.critical5 = test.critical10 = untouched;
    zolv::unit_root::AdfCriticalValues(regression, test);
    EXPECT_SAME_BITS(test.statistic, statistic);
    EXPECT_EQ(test.sampleSize, size);
    EXPECT_EQ(test.lagCount, -1);
    return test;
}

double NormalLower(double x) { return dru::impl::normal_cdf(x, 0.0, 1.0, 0); }

struct Edges {
    int regression;
    double tau_min, tau_max, tau_star;
};
constexpr Edges edges[] = {{0, -18.83, 2.74, -1.61},
                           {1, -16.18, 0.7, -2.89},
                           {2, -17.17, 0.54, -3.21},
                           {3, -19.04, infinity, -1.04}};

}  // namespace

// Without deterministic terms there is no upper end: from 1.4e154 on, where the square overflows, the cubic
// is infinity less infinity.
TEST(MacKinnon, AStatisticWhoseSquareOverflowsHasNoProbability) {
    for (const double statistic : {3.0, 1e100, 1e154})
        EXPECT_NEAR(Values(3, statistic, 50).pValue, 1.0, 0.01);
    for (const double statistic : {1.4e154, 1.5111894554172981e+307})
        EXPECT_SIGN_SET_NAN(Values(3, statistic, 50).pValue);
    for (const int regression : {0, 1, 2}) EXPECT_EQ(Values(regression, 1.5e307, 50).pValue, 1.0);
}

// unit_root_bits.py is a second writing of the tables and formulas.
TEST(MacKinnon, HasTheBitsOfASecondWriting) {
    const reference_table table("unit_root_bits_values");
    ASSERT_GT(table.size(), 300u);
    const auto want = [&](std::size_t row, const char* column) {
        return table.text(row, column) == "unwritten" ? untouched : table.number(row, column);
    };
    for (std::size_t row = 0; row < table.size(); ++row) {
        const auto got = Values(static_cast<int>(table.number(row, "regression")),
                                table.number(row, "statistic"), static_cast<int>(table.number(row, "size")));
        SCOPED_TRACE("row " + std::to_string(row));
        if (table.text(row, "p") == "nan") {
            EXPECT_SIGN_SET_NAN(got.pValue);
        } else if (zolv_test::bits(got.pValue) != zolv_test::bits(want(row, "plain_p"))) {
            EXPECT_SAME_BITS(got.pValue, want(row, "p"));
        }
        EXPECT_SAME_BITS(got.critical1, want(row, "critical1"));
        EXPECT_SAME_BITS(got.critical5, want(row, "critical5"));
        EXPECT_SAME_BITS(got.critical10, want(row, "critical10"));
    }
}

TEST(MacKinnon, NonFiniteStatisticWritesNothing) {
    for (const double statistic : {std::nan(""), -std::nan(""), infinity, -infinity}) {
        for (int regression = 0; regression < 4; ++regression) {
            const auto got = Values(regression, statistic, 100);
            EXPECT_SAME_BITS(got.pValue, untouched);
            EXPECT_SAME_BITS(got.critical1, untouched);
            EXPECT_SAME_BITS(got.critical5, untouched);
            EXPECT_SAME_BITS(got.critical10, untouched);
        }
    }
}

TEST(MacKinnon, RegressionOutsideTheTablesWritesNothing) {
    for (const int regression : {-1, 4, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()}) {
        const auto got = Values(regression, -2.0, 100);
        EXPECT_SAME_BITS(got.pValue, untouched);
        EXPECT_SAME_BITS(got.critical1, untouched);
        EXPECT_SAME_BITS(got.critical5, untouched);
        EXPECT_SAME_BITS(got.critical10, untouched);
    }
}

TEST(MacKinnon, CutsLeaveOutTheirOwnPoint) {
    for (const auto& edge : edges) {
        const auto p = [&](double t) { return Values(edge.regression, t, 100).pValue; };
        EXPECT_SAME_BITS(p(std::nextafter(edge.tau_min, -infinity)), 0.0);
        EXPECT_GT(p(edge.tau_min), 0.0);  // far below 1e-12, but not cut
        EXPECT_LT(p(edge.tau_min), 1e-3);
        EXPECT_SAME_BITS(p(-1e308), 0.0);
        if (std::isfinite(edge.tau_max)) {
            EXPECT_SAME_BITS(p(std::nextafter(edge.tau_max, infinity)), 1.0);
            EXPECT_LT(p(edge.tau_max), 1.0);
            EXPECT_GT(p(edge.tau_max), 0.99);
            EXPECT_SAME_BITS(p(1e308), 1.0);
        }
    }
}

// tau-star itself takes the cubic; just below it the quadratic. With the regressions' own numbers, by hand.
TEST(MacKinnon, TauStarTakesTheCubic) {
    const double t = -1.61, below = std::nextafter(t, -infinity);
    EXPECT_SAME_BITS(Values(0, t, 100).pValue,
                     NormalLower(1.7339 + 0.93202 * t + -0.12745 * (t * t) + -0.010368 * (t * t * t)));
    EXPECT_SAME_BITS(Values(0, below, 100).pValue,
                     NormalLower(2.1659 + 1.4412 * below + 0.038269 * (below * below)));
    EXPECT_NE(Values(0, t, 100).pValue, Values(0, below, 100).pValue);
    // The two approximations meet there within their own error.
    for (const auto& edge : edges) {
        EXPECT_NEAR(Values(edge.regression, edge.tau_star, 100).pValue,
                    Values(edge.regression, std::nextafter(edge.tau_star, -infinity), 100).pValue, 5e-3);
    }
}

TEST(MacKinnon, WithoutATermThereIsNoUpperCut) {
    EXPECT_SAME_BITS(Values(3, 2.0, 100).pValue, NormalLower(0.4797 + 0.93557 * 2.0 + -0.06999 * (2.0 * 2.0) +
                                                             0.033066 * (2.0 * 2.0 * 2.0)));
    EXPECT_SAME_BITS(Values(3, 50.0, 100).pValue, 1.0);
    EXPECT_LT(Values(3, 3.0, 100).pValue, 1.0);
    EXPECT_SAME_BITS(Values(3, 1e100, 100).pValue, 1.0);
    EXPECT_SIGN_SET_NAN(
        Values(3, 1e200, 100).pValue);  // the square and the cube overflow with opposite signs
}

TEST(MacKinnon, KnownValues) {
    EXPECT_NEAR(Values(0, 0.0, 100).pValue, 0.9585, 5e-5);
    EXPECT_SAME_BITS(Values(0, 0.0, 100).pValue, NormalLower(1.7339));
    const double critical5 = -2.86154 - 0.028903 - 0.0004234 - 0.00004004;
    EXPECT_NEAR(Values(0, 0.0, 100).critical5, critical5, 1e-15);
    EXPECT_NEAR(Values(0, 0.0, 100).critical5, -2.8909, 5e-5);
    // At the critical values of a large sample the p-value is the level, within MacKinnon's two
    // approximations.
    for (int regression = 0; regression < 4; ++regression) {
        const auto limits = Values(regression, -1.0, 100000000);
        EXPECT_NEAR(Values(regression, limits.critical1, 100).pValue, 0.01, 4e-4);
        EXPECT_NEAR(Values(regression, limits.critical5, 100).pValue, 0.05, 1e-3);
        EXPECT_NEAR(Values(regression, limits.critical10, 100).pValue, 0.10, 1e-3);
    }
}

TEST(MacKinnon, PValuesRiseWithTheStatistic) {
    for (const auto& edge : edges) {
        double before = 0.0;
        for (double t = edge.tau_min; t < std::min(edge.tau_max, 3.0); t += 0.01) {
            const double p = Values(edge.regression, t, 100).pValue;
            if (std::fabs(t - edge.tau_star) > 0.02) {
                EXPECT_GE(p, before) << edge.regression << " " << t;
            }
            before = p;
        }
    }
}

TEST(MacKinnon, NoSample) {
    for (int regression = 0; regression < 4; ++regression) {
        const auto got = Values(regression, -2.0, 0);
        EXPECT_TRUE(std::isfinite(got.pValue));
        EXPECT_FALSE(std::isfinite(got.critical1));
        EXPECT_FALSE(std::isfinite(got.critical5));
        EXPECT_FALSE(std::isfinite(got.critical10));
    }
}
