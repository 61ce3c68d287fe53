// The three rules for the number of lags.
#include "unit_root/lag_selection.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <vector>

#include "support/reference_table.hpp"
#include "unit_root/adf_regression.hpp"

using namespace zolv::unit_root;

namespace {

using zolv_test::load_series;

// The residual sum of squares of lags = 0 ... maximum on the rows of the longest regression, by modified
// Gram-Schmidt in long double: another algorithm, another precision.
std::vector<double> ResidualSums(const std::vector<double>& series, std::int32_t maximum,
                                 std::int32_t regression, std::size_t& rows) {
    AdfRegression design =
        BuildAdfRegression(series.data(), static_cast<std::int32_t>(series.size()), maximum, regression);
    rows = design.rows();
    std::vector<std::vector<long double>> basis;
    std::vector<long double> y(design.response().begin(),
                               design.response().begin() + static_cast<long>(rows));
    std::vector<double> sums;
    const std::size_t before_lags = design.regressors() - static_cast<std::size_t>(maximum);
    for (std::size_t j = 0; j < design.regressors(); ++j) {
        std::vector<long double> c(design.columns[j].begin(),
                                   design.columns[j].begin() + static_cast<long>(rows));
        const auto remove = [&](std::vector<long double>& from, const std::vector<long double>& unit) {
            long double dot = 0.0L;
            for (std::size_t i = 0; i < rows; ++i) dot += from[i] * unit[i];
            for (std::size_t i = 0; i < rows; ++i) from[i] -= dot * unit[i];
        };
        for (int pass = 0; pass < 2; ++pass) {
            for (const auto& unit : basis) remove(c, unit);
        }
        long double norm = 0.0L;
        for (const long double v : c) norm += v * v;
        for (long double& v : c) v /= std::sqrt(norm);
        remove(y, c);
        basis.push_back(c);
        if (j + 1 >= before_lags) {
            long double sum = 0.0L;
            for (const long double v : y) sum += v * v;
            sums.push_back(static_cast<double>(sum));
        }
    }
    return sums;
}

std::int32_t count(const std::vector<double>& series) { return static_cast<std::int32_t>(series.size()); }

}  // namespace

TEST(LagSelection, LeastCriterionOverSeparateFits) {
    for (const char* name : {"airline_passengers", "bj_series_a", "bj_series_f", "lake_huron", "lynx", "nile",
                             "uk_gas", "sunspot_year", "us_real_gdp"}) {
        const auto series = load_series(name);
        for (std::int32_t regression = 0; regression < 4; ++regression) {
            for (const std::int32_t maximum : {1, 4, 12}) {
                std::size_t rows = 0;
                const auto sums = ResidualSums(series, maximum, regression, rows);
                const int columns = regression == 3 ? 1 : regression + 2;
                for (const LagPenalty penalty : {LagPenalty::aic, LagPenalty::bic}) {
                    const double n = static_cast<double>(rows);
                    std::int32_t want = maximum;
                    double best = 0.0;
                    for (std::int32_t lag = maximum; lag >= 0; --lag) {
                        const double charge =
                            (penalty == LagPenalty::aic ? 2.0 : std::log(n)) * (columns + lag + 1);
                        const double value = n * std::log(sums[static_cast<std::size_t>(lag)] / n) + charge;
                        if (lag == maximum || value < best) {
                            best = value;
                            want = lag;
                        }
                    }
                    EXPECT_EQ(
                        SelectLagByCriterion(series.data(), count(series), regression, maximum, penalty),
                        want)
                        << name << " " << regression << " " << maximum;
                }
            }
        }
    }
}

// Responses that are all zero: every residual sum of squares is 0, every criterion minus infinity.
TEST(LagSelection, TiesGoToMoreLags) {
    std::vector<double> series(30, 4.0);
    series[0] = 1.0;
    series[1] = 7.0;
    series[2] = 3.0;
    for (const std::int32_t lags : {1, 2, 3}) {
        const std::vector<double> tail(series.begin() + (3 - lags), series.end());
        for (const LagPenalty penalty : {LagPenalty::aic, LagPenalty::bic}) {
            EXPECT_EQ(SelectLagByCriterion(tail.data(), count(tail), 3, lags, penalty), lags);
        }
    }
}

// Differences that are a first-order autoregression with coefficient 0.9.
TEST(LagSelection, OneStrongLagIsFound) {
    std::vector<double> series = {0.0, 1.0};
    unsigned state = 1;
    double slope = 1.0;
    for (int i = 2; i < 120; ++i) {
        state = state * 1664525u + 1013904223u;
        slope = 0.9 * slope + (state / 4294967296.0 - 0.5);
        series.push_back(series.back() + slope);
    }
    for (std::int32_t regression = 0; regression < 4; ++regression) {
        EXPECT_GE(SelectLagByCriterion(series.data(), count(series), regression, 5, LagPenalty::aic), 1);
        EXPECT_EQ(SelectLagByCriterion(series.data(), count(series), regression, 5, LagPenalty::bic), 1);
        EXPECT_EQ(SelectLagBySignificance(series.data(), count(series), regression, 5, 1e-4), 1);
    }
}

TEST(LagSelection, NothingToSelectIsZero) {
    const auto series = load_series("nile");
    for (std::int32_t regression = 0; regression < 4; ++regression) {
        EXPECT_EQ(SelectLagByCriterion(series.data(), count(series), regression, 0, LagPenalty::aic), 0);
        EXPECT_EQ(SelectLagBySignificance(series.data(), count(series), regression, 0, 0.05), 0);
    }
    // All lags dropped: a straight line and its constant.
    std::vector<double> line;
    for (int i = 0; i < 30; ++i) line.push_back(2.0 * i);
    EXPECT_EQ(SelectLagByCriterion(line.data(), count(line), 0, 4, LagPenalty::aic), 0);
    EXPECT_EQ(SelectLagBySignificance(line.data(), count(line), 0, 4, 0.05), 0);
    // The level dropped, and nothing before the lags: zeros but for the newest value.
    std::vector<double> zeros(30, 0.0);
    zeros.back() = 1.0;
    EXPECT_EQ(SelectLagByCriterion(zeros.data(), count(zeros), 3, 4, LagPenalty::aic), 0);
    EXPECT_EQ(SelectLagBySignificance(zeros.data(), count(zeros), 3, 4, 0.05), 0);
}

// The level of significance where the longest lag's p-value lies, from both sides.
TEST(LagSelection, SignificanceIsTwoSided) {
    const auto series = load_series("lake_huron");
    // With one lag and a constant the lag's |t| has a two-sided p-value; find it by bisection on the rule.
    double low = 1e-12, high = 0.999;
    for (int i = 0; i < 80; ++i) {
        const double middle = 0.5 * (low + high);
        (SelectLagBySignificance(series.data(), count(series), 0, 1, middle) == 1 ? high : low) = middle;
    }
    // R: x <- read.csv("data/lake_huron.csv")$value; d <- diff(x); n <- length(d)
    //    summary(lm(d[2:n] ~ x[2:n] + d[1:(n-1)]))$coefficients[3, 4]
    EXPECT_NEAR(high, 0.01633687472130891, 1e-9);
}
