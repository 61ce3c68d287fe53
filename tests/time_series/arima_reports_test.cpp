// tests/time_series/arima_reports_test.cpp: parameter table, correlations, summary, criteria.
#include "time_series/arima_reports.hpp"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <limits>

#include "support/bits.hpp"
#include "support/series.hpp"
#include "time_series/information_criteria.hpp"
#include "time_series/ljung_box.hpp"
#include "time_series/parameter_order.hpp"
#include "zolv.h"

namespace {

using namespace vek::time_series;
using zolv::time_series::ArimaOrders;
using zolv_test::generated_series;
using zolv_test::within_relative;

constexpr double untouched = -77.5;

struct Columns {
    std::vector<double> coefficient = std::vector<double>(13, untouched), error = coefficient,
                        t = coefficient, p = coefficient;
    zolv_ParameterTable record{coefficient.data(), error.data(), t.data(), p.data()};
};

// A fitted model together with the series that it borrows.
struct Fit {
    Fit(std::vector<double> values, const ArimaOrders& o, bool constant)
        : series(std::move(values)),
          model(series.data(), static_cast<int>(series.size()), o, constant, nullptr) {
        code = model.Estimate();
        FillParameterTable(model, table.record);
    }
    std::vector<double> series;
    CmCmndArima model;
    int code = -1;
    Columns table;
};

std::vector<double> series_of(const std::string& name, bool logs) {
    std::vector<double> x = zolv_test::load_series(name);
    if (logs) {
        for (double& v : x) v = std::log(v);
    }
    return x;
}

TEST(ParameterOrder, BlocksInTheMiddleChangePlaces) {
    for (int p = 0; p <= 3; ++p) {
        for (int q = 0; q <= 3; ++q) {
            for (int P = 0; P <= 3; ++P) {
                for (int Q = 0; Q <= 3; ++Q) {
                    const ArimaOrders o{p, 0, q, P, 0, Q, 4};
                    std::vector<double> record, fit;
                    const auto block = [](std::vector<double>& to, double from, int count) {
                        for (int i = 0; i < count; ++i) to.push_back(from + i);
                    };
                    block(record, 10, p), block(record, 20, q), block(record, 30, P), block(record, 40, Q);
                    block(fit, 10, p), block(fit, 30, P), block(fit, 20, q), block(fit, 40, Q);
                    record.push_back(99), fit.push_back(99);  // what follows stays
                    std::vector<double> moved = record;
                    zolv::time_series::RecordToFitOrder(moved.data(), o);
                    EXPECT_EQ(moved, fit);
                    zolv::time_series::FitToRecordOrder(moved.data(), o);
                    EXPECT_EQ(moved, record);
                }
            }
        }
    }
}

TEST(InformationCriteria, BitsOfAnIndependentTranscription) {
    const zolv_test::reference_table table("arima_reports_bits_criteria");
    ASSERT_GE(table.size(), 60u);
    for (std::size_t row = 0; row < table.size(); ++row) {
        const auto got = zolv::time_series::ComputeCriteria(table.number(row, "m"), table.number(row, "x"),
                                                            table.number(row, "L"));
        EXPECT_SAME_BITS(got.aicc, table.number(row, "aicc")) << "row " << row;
        EXPECT_SAME_BITS(got.aic, table.number(row, "aic")) << "row " << row;
        EXPECT_SAME_BITS(got.bic, table.number(row, "bic")) << "row " << row;
    }
    EXPECT_EQ(zolv::time_series::ComputeCriteria(3, 4, 1.0).aicc, std::numeric_limits<double>::infinity());
    EXPECT_EQ(zolv::time_series::ComputeCriteria(4, 4, 1.0).aicc, 1.0 - 32.0);
}

TEST(TwoSidedPValue, AgainstFiftyDigits) {
    const zolv_test::reference_table table("arima_reports_p_values");
    ASSERT_GE(table.size(), 100u);
    double worst = 0.0;
    for (std::size_t row = 0; row < table.size(); ++row) {
        const double t = table.number(row, "t"), df = table.number(row, "df"), p = table.number(row, "p");
        EXPECT_TRUE(within_relative(TwoSidedPValue(t, df), p, 2e-13)) << "t " << t << " df " << df;
        EXPECT_SAME_BITS(TwoSidedPValue(-t, df), TwoSidedPValue(t, df));
        worst = std::max(worst, std::abs(TwoSidedPValue(t, df) - p) / p);
    }
    std::printf("p values: worst relative error %.3g\n", worst);
    EXPECT_MISSING(TwoSidedPValue(1.0, 0.0));
    EXPECT_MISSING(TwoSidedPValue(1.0, -2.0));
    EXPECT_MISSING(TwoSidedPValue(1.0, std::numeric_limits<double>::infinity()));
    EXPECT_MISSING(TwoSidedPValue(1.0, std::nan("")));
    EXPECT_SIGN_SET_NAN(TwoSidedPValue(std::nan(""), 5.0));
    EXPECT_SAME_BITS(TwoSidedPValue(std::numeric_limits<double>::infinity(), 5.0), 0.0);
    EXPECT_SAME_BITS(TwoSidedPValue(0.0, 5.0), 1.0);
}

// The peer inverts the observed information, this library the sum of squared derivatives: errors may differ
// by 40 % on series of a hundred values. The large-sample formulas below are the closer judge.
TEST(ParameterTable, ErrorsAndCorrelationsOfAPeer) {
    const zolv_test::reference_table table("arima_reports_r");
    double worst_estimate = 0.0, worst_error = 0.0, worst_correlation = 0.0;
    for (std::size_t row = 0; row < table.size(); ++row) {
        SCOPED_TRACE(table.text(row, "series"));
        const auto whole = [&](const char* column) { return static_cast<int>(table.number(row, column)); };
        const bool mean = whole("mean") != 0;
        const Fit fit(series_of(table.text(row, "series"), whole("logs") != 0),
                      {whole("p"), whole("d"), whole("q"), whole("P"), whole("D"), whole("Q"), whole("s")},
                      mean);
        ASSERT_LT(fit.code, 30000);
        const std::vector<double> estimates = zolv_test::number_list(table.text(row, "estimates"));
        const std::vector<double> errors = zolv_test::number_list(table.text(row, "errors"));
        const std::size_t k = estimates.size();
        ASSERT_EQ(fit.model.ParameterCount(), static_cast<int>(k));
        for (std::size_t i = 0; i < k; ++i) {
            const std::size_t at = mean && i + 1 == k ? k : i;  // the mean stands behind the constant
            const double off = std::abs(fit.table.coefficient[at] - estimates[i]) / errors[i];
            const double ratio = std::abs(fit.table.error[at] / errors[i] - 1.0);
            EXPECT_LT(off, 1.0) << "estimate " << i;
            EXPECT_LT(ratio, 0.45) << "error " << i;
            worst_estimate = std::max(worst_estimate, off);
            worst_error = std::max(worst_error, ratio);
        }
        const std::vector<double> want = zolv_test::number_list(table.text(row, "correlations"));
        std::vector<double> got(k * (k - 1) / 2 + 1, untouched);
        FillCorrelationMatrix(fit.model, got.data());
        ASSERT_EQ(want.size() + 1, got.size());
        EXPECT_EQ(got.back(), untouched);
        for (std::size_t i = 0; i < want.size(); ++i) {
            EXPECT_NEAR(got[i], want[i], 0.15);
            worst_correlation = std::max(worst_correlation, std::abs(got[i] - want[i]));
        }
    }
    std::printf("peer: estimates within %.3g standard errors, errors within %.3g, correlations within %.3g\n",
                worst_estimate, worst_error, worst_correlation);
}

TEST(ParameterTable, ErrorsOfLargeSamples) {
    // Box & Jenkins (1976), 7.2.6: AR(1) and MA(1) sqrt((1 - c^2) / n); AR(2) sqrt((1 - phi2^2) / n) twice
    // with correlation -phi1 / (1 - phi2). Simulated, 4000 values.
    const std::vector<double> a = generated_series(5, 4000);
    const double n = 4000;
    std::vector<double> ar1(a), ma1(a), ar2(a);
    for (std::size_t t = 2; t < a.size(); ++t) {
        ar1[t] += 0.7 * ar1[t - 1];
        ma1[t] -= 0.6 * a[t - 1];
        ar2[t] += 1.1 * ar2[t - 1] - 0.5 * ar2[t - 2];
    }
    const Fit first(ar1, {1, 0, 0, 0, 0, 0, 0}, false), moving(ma1, {0, 0, 1, 0, 0, 0, 0}, false),
        second(ar2, {2, 0, 0, 0, 0, 0, 0}, false);
    const auto expected = [&](double c) { return std::sqrt((1 - c * c) / n); };
    EXPECT_TRUE(within_relative(first.table.error[0], expected(0.7), 0.05));
    EXPECT_TRUE(within_relative(moving.table.error[0], expected(0.6), 0.05));
    EXPECT_TRUE(within_relative(second.table.error[0], expected(0.5), 0.05));
    EXPECT_TRUE(within_relative(second.table.error[1], expected(0.5), 0.05));
    double correlation = 0.0;
    FillCorrelationMatrix(second.model, &correlation);
    EXPECT_NEAR(correlation, -1.1 / 1.5, 0.03);
    EXPECT_NEAR(first.table.coefficient[0], 0.7, 4 * expected(0.7));
    EXPECT_NEAR(moving.table.coefficient[0], 0.6, 4 * expected(0.6));
}

TEST(ParameterTable, RowsWithoutAConstant) {
    const Fit fit(series_of("airline_passengers", true), {0, 1, 1, 0, 1, 1, 12}, false);
    ASSERT_EQ(fit.code, 10000);
    const double df = 131 - 2;
    const double sigma2 = fit.model.GetSigmaSquared();
    for (int i = 0; i < 2; ++i) {
        const double se = std::sqrt(fit.model.InverseMatrix(i, i) * sigma2);
        EXPECT_SAME_BITS(fit.table.coefficient[i], fit.model.Theta(i));
        EXPECT_SAME_BITS(fit.table.error[i], se);
        EXPECT_SAME_BITS(fit.table.t[i], fit.model.Theta(i) / se);
        EXPECT_SAME_BITS(fit.table.p[i], TwoSidedPValue(fit.table.t[i], df));
    }
    for (const auto* column : {&fit.table.coefficient, &fit.table.error, &fit.table.t, &fit.table.p}) {
        EXPECT_EQ((*column)[2], untouched);
    }
    EXPECT_NEAR(fit.table.coefficient[0], 0.396, 0.0005);
    EXPECT_NEAR(fit.table.coefficient[1], 0.614, 0.0005);
}

TEST(ParameterTable, ConstantAndMeanRows) {
    const Fit fit(series_of("lake_huron", false), {2, 0, 0, 0, 0, 0, 0}, true);
    ASSERT_EQ(fit.code, 10000);
    ASSERT_EQ(fit.model.ParameterCount(), 3);
    const double mu = fit.model.Theta(2) + fit.model.Mean();
    const double seMu = std::sqrt(fit.model.InverseMatrix(2, 2) * fit.model.GetSigmaSquared());
    EXPECT_SAME_BITS(fit.table.coefficient[2], fit.model.Constant());
    EXPECT_SAME_BITS(fit.table.error[2], fit.model.Constant() * seMu / mu);
    EXPECT_SAME_BITS(fit.table.t[2], mu / seMu);
    EXPECT_SAME_BITS(fit.table.p[2], TwoSidedPValue(mu / seMu, 98 - 3));
    EXPECT_SAME_BITS(fit.table.coefficient[3], mu);
    EXPECT_SAME_BITS(fit.table.error[3], seMu);
    EXPECT_EQ(fit.table.t[3], untouched);
    EXPECT_EQ(fit.table.p[3], untouched);
    EXPECT_EQ(fit.table.coefficient[4], untouched);
    EXPECT_TRUE(within_relative(fit.model.Constant(),
                                mu * (1.0 - (fit.table.coefficient[0] + fit.table.coefficient[1])), 1e-13));
}

TEST(ParameterTable, NoMeanRowBehindDifferences) {
    for (const ArimaOrders& o : {ArimaOrders{1, 1, 0, 0, 0, 0, 0}, ArimaOrders{1, 0, 0, 0, 1, 0, 4}}) {
        const Fit fit(series_of("uk_gas", true), o, true);
        ASSERT_LT(fit.code, 30000);
        EXPECT_NE(fit.table.coefficient[1], untouched);
        EXPECT_NE(fit.table.p[1], untouched);
        for (const auto* column : {&fit.table.coefficient, &fit.table.error, &fit.table.t, &fit.table.p}) {
            EXPECT_EQ((*column)[2], untouched);
        }
    }
}

TEST(ParameterTable, NegativeErrorOfAConstant) {
    // An explosive AR(1): 1 - phi is negative, so that constant and mean differ in sign.
    std::vector<double> x(30);
    const std::vector<double> noise = generated_series(3, x.size());
    for (std::size_t i = 0; i < x.size(); ++i) {
        x[i] = (i == 0 ? 0.01 : 1.02 * x[i - 1]) + 0.0001 * noise[i];
    }
    const Fit fit(x, {1, 0, 0, 0, 0, 0, 0}, true);
    ASSERT_LT(fit.code, 30000);
    ASSERT_GT(fit.table.coefficient[0], 1.0);
    const double mu = fit.table.coefficient[2];
    EXPECT_LT(fit.table.coefficient[1] * mu, 0.0);
    EXPECT_LT(fit.table.error[1], 0.0);
    EXPECT_GT(fit.table.error[2], 0.0);
}

TEST(ParameterTable, NullColumnsAreLeftOut) {
    const Fit fit(series_of("lake_huron", false), {1, 0, 0, 0, 0, 0, 0}, true);
    for (int skipped = 0; skipped < 4; ++skipped) {
        Columns some;
        zolv_ParameterTable record = some.record;
        (skipped == 0   ? record.Coefficient
         : skipped == 1 ? record.StandardError
         : skipped == 2 ? record.TValue
                        : record.PValue) = nullptr;
        FillParameterTable(fit.model, record);
        EXPECT_EQ(some.coefficient, skipped == 0 ? Columns().coefficient : fit.table.coefficient);
        EXPECT_EQ(some.error, skipped == 1 ? Columns().error : fit.table.error);
        EXPECT_EQ(some.t, skipped == 2 ? Columns().t : fit.table.t);
        EXPECT_EQ(some.p, skipped == 3 ? Columns().p : fit.table.p);
    }
}

TEST(CorrelationMatrix, StrictLowerTriangleRowByRow) {
    const Fit fit(series_of("lake_huron", false), {2, 0, 1, 0, 0, 0, 0}, true);
    ASSERT_LT(fit.code, 30000);
    std::vector<double> got(7, untouched);
    FillCorrelationMatrix(fit.model, got.data());
    const auto C = [&](int i, int j) { return fit.model.InverseMatrix(i, j); };
    std::size_t next = 0;
    for (int j = 1; j < 4; ++j) {
        for (int i = 0; i < j; ++i) EXPECT_SAME_BITS(got[next++], C(j, i) / std::sqrt(C(j, j) * C(i, i)));
    }
    EXPECT_EQ(got[6], untouched);
    const Fit single(series_of("lake_huron", false), {0, 1, 1, 0, 0, 0, 0}, false);
    FillCorrelationMatrix(single.model, got.data() + 6);
    EXPECT_EQ(got[6], untouched);
}

TEST(ModelSummary, CriteriaOfTheLikelihoodAtTheEstimates) {
    struct {
        const char* series;
        bool logs;
        ArimaOrders o;
        bool constant;
    } const cases[] = {
        {"airline_passengers", true, {0, 1, 1, 0, 1, 1, 12}, false},
        {"airline_passengers", true, {1, 0, 1, 1, 1, 1, 12}, true},
        {"lake_huron", false, {2, 0, 1, 0, 0, 0, 0}, true},
        {"johnson_johnson", true, {2, 0, 1, 1, 1, 1, 4}, true},
        {"us_accidental_deaths", false, {1, 0, 2, 1, 1, 0, 12}, false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.series);
        const Fit fit(series_of(c.series, c.logs), c.o, c.constant);
        ASSERT_LT(fit.code, 30000);
        const int k = fit.model.ParameterCount();
        const int count = fit.model.DifferencedCount();
        // Fit order to record order by hand: AR, seasonal AR, MA, seasonal MA becomes AR, MA, ...
        std::vector<double> v;
        const auto take = [&](int first, int number) {
            for (int i = first; i < first + number; ++i) v.push_back(fit.model.Theta(i));
        };
        take(0, c.o.p), take(c.o.p + c.o.P, c.o.q), take(c.o.p, c.o.P), take(c.o.p + c.o.P + c.o.q, c.o.Q);
        v.push_back(fit.model.GetSigmaSquared());
        double flag = 0.0;
        zolv_ArimaModel record{};
        record.ArOrder = c.o.p, record.Differencing = c.o.d, record.MaOrder = c.o.q;
        record.SeasonalArOrder = c.o.P, record.SeasonalDifferencing = c.o.D, record.SeasonalMaOrder = c.o.Q;
        record.SeasonalPeriod = c.o.S;
        record.Constant = c.constant ? &flag : nullptr;
        record.Parameters = v.data();
        const double L =
            -2.0 * zolv_ArimaLogLikelihood(fit.series.data(), static_cast<int>(fit.series.size()), &record);
        ASSERT_TRUE(std::isfinite(L));

        ArimaSummary summary;
        fit.model.GetModelSummary(&summary);
        const double m = k + 1, x = count;
        double squares = 0.0;
        for (int i = 0; i < count; ++i) squares += fit.model.GetResidual()[i] * fit.model.GetResidual()[i];
        EXPECT_SAME_BITS(summary.DegreesOfFreedom, count - k);
        EXPECT_SAME_BITS(summary.SumOfSquares, squares);
        EXPECT_SAME_BITS(summary.SigmaSquared, squares / (count - k));
        EXPECT_SAME_BITS(summary.MeanSquare, squares / x);
        EXPECT_SAME_BITS(summary.Aicc, ((2.0 * m) * x) / (x - (1.0 + m)) + L);
        EXPECT_SAME_BITS(summary.Aic, 2.0 * m + L);
        EXPECT_SAME_BITS(summary.Bic, m * std::log(x) + L);
    }
}

TEST(ModelSummary, LikelihoodOfAPeerAtNearbyEstimates) {
    // Conditional estimates are not the maximum, but close to it; R's value is the maximum. Series without a
    // mean (R estimates the mean by the likelihood, here it is the sample mean) and without cross terms.
    const zolv_test::reference_table table("arima_reports_r");
    int compared = 0;
    for (std::size_t row = 0; row < table.size(); ++row) {
        const auto whole = [&](const char* column) { return static_cast<int>(table.number(row, column)); };
        if (whole("mean") != 0 || (whole("q") > 0 && whole("Q") > 0)) continue;
        const Fit fit(series_of(table.text(row, "series"), whole("logs") != 0),
                      {whole("p"), whole("d"), whole("q"), whole("P"), whole("D"), whole("Q"), whole("s")},
                      false);
        ASSERT_LT(fit.code, 30000);
        ArimaSummary summary;
        fit.model.GetModelSummary(&summary);
        const double log_likelihood = 0.5 * (2.0 * (fit.model.ParameterCount() + 1) - summary.Aic);
        EXPECT_LE(log_likelihood, table.number(row, "loglik") + 1e-6);
        EXPECT_GT(log_likelihood, table.number(row, "loglik") - 0.05) << table.text(row, "series");
        ++compared;
    }
    EXPECT_GE(compared, 3);
}

TEST(LjungBoxOfAFit, CountsAllParameters) {
    const Fit fit(series_of("lake_huron", false), {2, 0, 1, 0, 0, 0, 0}, true);
    ASSERT_LT(fit.code, 30000);
    const int lags[] = {4, 5, 12, 97, 98};
    std::array<std::array<double, 3>, 5> got, want;
    double *got_rows[5], *want_rows[5];
    for (std::size_t i = 0; i < 5; ++i) {
        got[i].fill(untouched), want[i].fill(untouched);
        got_rows[i] = got[i].data(), want_rows[i] = want[i].data();
    }
    fit.model.LjungBoxTest(lags, 5, got_rows);
    zolv::time_series::LjungBoxTable(fit.model.GetResidual(), 98, 4, lags, 5, want_rows);
    EXPECT_EQ(got, want);
    EXPECT_EQ(got[0][1], untouched);  // four parameters leave nothing at lag 4
    EXPECT_EQ(got[1][1], 1.0);
    EXPECT_EQ(got[3][1], 93.0);
    EXPECT_EQ(got[4][1], untouched);
}

}  // namespace
