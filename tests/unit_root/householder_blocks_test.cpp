// The blocked factorisation against its plain form, one column after another, by bits: over a million values.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>
#include <vector>

#include "frame/nan.hpp"
#include "support/bits.hpp"
#include "unit_root/householder.hpp"

using namespace zolv::unit_root;

namespace {

using column = std::vector<double>;

void PlainReflect(const column& v, double tau, std::size_t first, std::size_t last, column& y) {
    const double scaled = tau * RowDot(v, y, first, last);
    for (std::size_t i = first; i < last; ++i) y[i] = y[i] - scaled * v[i];
}

HouseholderFactors PlainColumns(AdfRegression& regression) {
    const std::size_t regressors = regression.regressors(), rows = regression.rows();
    HouseholderFactors factors{{}, column(regressors, dru::impl::missing_value), column(regressors, 0.0)};
    for (std::size_t j = 0; j < regressors; ++j) {
        column& c = regression.columns[j];
        std::size_t k = 0;
        for (const std::size_t a : factors.retained) {
            PlainReflect(regression.columns[a], factors.tau[a], k++, rows, c);
        }
        const double x0 = c[k], sigma = RowDot(c, c, k + 1, rows);
        double mu, tau;
        if (sigma > 0.0) {
            mu = std::sqrt(x0 * x0 + sigma);
            const double u = x0 > 0.0 ? -sigma / (x0 + mu) : x0 - mu;
            c[k] = u;
            tau = 2.0 / (u * u + sigma);
        } else if (sigma == 0.0) {
            mu = std::fabs(x0);
            c[k] = 1.0;
            tau = x0 < 0.0 ? 2.0 : 0.0;
        } else {
            continue;
        }
        if (!(mu > dependent_column_norm)) continue;
        factors.tau[j] = tau;
        factors.diagonal[j] = mu;
        factors.retained.push_back(j);
        PlainReflect(c, tau, k, rows, regression.response());
    }
    return factors;
}

bool Same(const column& a, const column& b) {
    if (a.size() != b.size()) return false;
    for (std::size_t i = 0; i < a.size(); ++i) {
        if (zolv_test::bits(a[i]) != zolv_test::bits(b[i])) return false;
    }
    return true;
}

// Lagged copies of a walk, a trend, and columns that depend on others, are tiny, zero or undefined.
TEST(HouseholderBlocks, AreThePlainFormToTheBit) {
    std::mt19937_64 engine(5);
    std::normal_distribution<double> shock;
    const auto whole = [&](int lo, int hi) { return std::uniform_int_distribution<int>(lo, hi)(engine); };
    std::size_t values = 0;
    for (int n = 0; values < 1200000; ++n) {
        const auto regressors = static_cast<std::size_t>(whole(1, 30));
        const auto rows = regressors + static_cast<std::size_t>(whole(0, n % 10 == 0 ? 3000 : 80));
        AdfRegression regression;
        for (std::size_t j = 0; j <= regressors; ++j) {
            column c(rows);
            double level = 0.0;
            const int kind = whole(1, 12);
            for (std::size_t i = 0; i < rows; ++i) {
                level += shock(engine);
                c[i] = kind < 4    ? level
                       : kind == 4 ? static_cast<double>(i)
                       : kind == 5 ? 0.0
                       : kind == 6 ? 1e-13 * level
                                   : shock(engine);
            }
            if (kind == 7 && j > 0) c = regression.columns[j - 1];
            if (kind == 8 && whole(1, 20) == 1) c[rows / 2] = std::numeric_limits<double>::quiet_NaN();
            regression.columns.push_back(c);
        }
        AdfRegression plain = regression;
        const HouseholderFactors got = HouseholderColumns(regression), want = PlainColumns(plain);
        ASSERT_EQ(got.retained, want.retained);
        ASSERT_TRUE(Same(got.tau, want.tau) && Same(got.diagonal, want.diagonal)) << n;
        for (std::size_t j = 0; j <= regressors; ++j) {
            // A NaN's sign is the operands' order; none stays in a column that was kept.
            if (std::isnan(plain.columns[j][0]) || std::isnan(plain.columns[j][rows - 1])) continue;
            bool undefined = false;
            for (const double value : plain.columns[j]) undefined = undefined || std::isnan(value);
            if (undefined) continue;
            ASSERT_TRUE(Same(regression.columns[j], plain.columns[j])) << n << ", column " << j;
        }
        values += rows * (regressors + 1);
    }
}

TEST(HouseholderBlocks, EveryWidthOfRegistersGivesTheSameBits) {
    std::mt19937_64 engine(6);
    std::normal_distribution<double> shock;
    for (std::size_t n = 0; n < 1500; ++n) {
        column v(n), y(n);
        for (std::size_t i = 0; i < n; ++i) {
            v[i] = shock(engine);
            y[i] = shock(engine);
        }
        const double factor = shock(engine);
        column narrow = y, wide = y;
        NarrowSubtractMultiple(v.data(), factor, narrow.data(), n);
        SubtractMultiple(v.data(), factor, wide.data(), n);
        for (std::size_t i = 0; i < n; ++i) y[i] = y[i] - factor * v[i];
        ASSERT_TRUE(Same(narrow, y) && Same(wide, y)) << n;
    }
}

}  // namespace
