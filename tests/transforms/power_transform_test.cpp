// The power transform and its four inverses.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <string>
#include <vector>

#include "support/bits.hpp"
#include "support/reference_table.hpp"
#include "zolv.h"

namespace {

using zolv_test::reference_table;

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double untouched = -987.25;

double Forward(double x, double lambda) {
    double out = untouched;
    zolv_QorPowerTransform(&x, 1, lambda, &out);
    return out;
}

double Inverse(double x, double lambda) {
    double out = untouched;
    zolv_InverseQorPowerTransform(&x, 1, lambda, &out);
    return out;
}

double Fit(double x, double lambda, double variance) {
    double out = untouched;
    zolv_InverseQorPowerTransformFit(&x, 1, lambda, variance, &out);
    return out;
}

double Forecast(double x, double lambda, double error) {
    double out = untouched;
    zolv_InverseQorPowerTransformForecast(&x, 1, lambda, &error, &out);
    return out;
}

struct Limits {
    double lower, upper;
};

Limits Interval(double lower, double upper, double lambda) {
    Limits out = {untouched, untouched};
    zolv_InverseQorPowerTransformInterval(&lower, &upper, 1, lambda, &out.lower, &out.upper);
    return out;
}

// A cell of the table: the value, the missing value, a NaN of either sign, or an element left alone.
testing::AssertionResult Matches(double got, const std::string& cell) {
    const auto failure = [&] {
        return testing::AssertionFailure() << "got " << zolv_test::show(got) << ", want " << cell;
    };
    if (cell == "missing") {
        return zolv_test::bits(got) == zolv_test::missing_bits ? testing::AssertionSuccess() : failure();
    }
    if (cell == "nan") return std::isnan(got) ? testing::AssertionSuccess() : failure();
    const double want = cell == "unwritten" ? untouched : std::strtod(cell.c_str(), nullptr);
    return zolv_test::bits(got) == zolv_test::bits(want) ? testing::AssertionSuccess() : failure();
}

}  // namespace

// transforms_bits.py is a second writing of the formulas, in plain Python floats.
TEST(PowerTransform, EveryFormHasTheBitsOfASecondWriting) {
    const reference_table table("transforms_bits_power");
    ASSERT_GT(table.size(), 4000u);
    for (std::size_t row = 0; row < table.size(); ++row) {
        const std::string& form = table.text(row, "form");
        const double lambda = table.number(row, "lambda"), x = table.number(row, "x"),
                     extra = table.number(row, "extra");
        Limits got = {untouched, untouched};
        if (form == "forward") {
            got.lower = Forward(x, lambda);
        } else if (form == "inverse") {
            got.lower = Inverse(x, lambda);
        } else if (form == "fit") {
            got.lower = Fit(x, lambda, extra);
        } else if (form == "forecast") {
            got.lower = Forecast(x, lambda, extra);
        } else {
            ASSERT_EQ(form, "interval");
            got = Interval(x, extra, lambda);
        }
        const auto agrees = [&](const char* lower, const char* upper) {
            const testing::AssertionResult first = Matches(got.lower, table.text(row, lower));
            return !first || form != "interval" ? first : Matches(got.upper, table.text(row, upper));
        };
        testing::AssertionResult result = agrees("fused", "fused_upper");
        if (!result && !table.text(row, "plain").empty()) result = agrees("plain", "plain_upper");
        EXPECT_TRUE(result) << form << " lambda " << zolv_test::show(lambda) << " x " << zolv_test::show(x)
                            << " extra " << zolv_test::show(extra);
    }
}

TEST(PowerTransform, KnownValues) {
    EXPECT_SAME_BITS(Forward(2.0, -1.0), -0.5);
    EXPECT_SAME_BITS(Inverse(-0.5, -1.0), 2.0);
    EXPECT_SAME_BITS(Forward(9.0, 0.5), 3.0);
    EXPECT_SAME_BITS(Inverse(3.0, 0.5), 9.0);
    EXPECT_SAME_BITS(Forward(1.0, 0.0), 0.0);
    EXPECT_SAME_BITS(Inverse(0.0, 0.0), 1.0);
    EXPECT_SAME_BITS(Forward(3.0, 2.0), 9.0);
    EXPECT_SAME_BITS(Forward(4.0, -0.5), -0.5);
    EXPECT_SAME_BITS(Inverse(-0.5, -0.5), 4.0);
}

TEST(PowerTransform, SquareRootAndBackIsTheInput) {
    for (const double x : {0.0, 1.0, 4.0, 6.25, 1e4, 1024.0, 144.0})
        EXPECT_SAME_BITS(Inverse(Forward(x, 0.5), 0.5), x);
    for (double x = 0.1; x < 1000.0; x *= 1.37)
        EXPECT_TRUE(zolv_test::within_ulps(Inverse(Forward(x, 0.5), 0.5), x, 2));
}

TEST(PowerTransform, ForwardAndBackOverPowersOfBothSigns) {
    for (const double lambda : {-2.0, -1.0, -0.4, -0.1, 0.0, 0.1, 0.3, 0.9, 1.0, 1.5, 3.0}) {
        for (double x = 0.02; x < 500.0; x *= 1.7) {
            EXPECT_TRUE(zolv_test::within_relative(Inverse(Forward(x, lambda), lambda), x, 4e-15)) << lambda;
        }
    }
}

TEST(PowerTransform, KeepsOrderForEveryPower) {
    for (const double lambda : {-2.0, -0.3, 0.0, 0.3, 1.0, 2.0}) {
        EXPECT_LT(Forward(2.0, lambda), Forward(3.0, lambda)) << lambda;
    }
}

TEST(PowerTransform, MinusZeroIsTheLogarithm) {
    EXPECT_SAME_BITS(Forward(5.0, -0.0), std::log(5.0));
    EXPECT_SAME_BITS(Inverse(0.3, -0.0), std::exp(0.3));
    EXPECT_SAME_BITS(Fit(0.3, -0.0, 0.0), std::exp(0.3));
    EXPECT_SAME_BITS(Forecast(0.3, -0.0, 0.0), std::exp(0.3));
    EXPECT_SAME_BITS(Interval(0.1, 0.3, -0.0).upper, std::exp(0.3));
}

TEST(PowerTransform, LambdaOneIsACopyOfTheBits) {
    const double odd_nan = zolv_test::from_bits(0xFFF8000000000123);
    for (const double x : {-3.5, 0.0, -0.0, 5e-324, 1e308, infinity, odd_nan, 1.23456e30}) {
        EXPECT_SAME_BITS(Forward(x, 1.0), x);
        EXPECT_SAME_BITS(Inverse(x, 1.0), x);
        EXPECT_SAME_BITS(Fit(x, 1.0, 2.0), x);
        EXPECT_SAME_BITS(Fit(x, 1.0, std::nan("")), x);
        EXPECT_SAME_BITS(Forecast(x, 1.0, 2.0), x);
    }
}

// On both sides of 1 the power is taken: the neighbours are no copies.
TEST(PowerTransform, OnlyOneItselfIsACopy) {
    const double below = std::nextafter(1.0, 0.0), above = std::nextafter(1.0, 2.0);
    EXPECT_TRUE(std::isnan(Forward(-3.5, below)));
    EXPECT_TRUE(std::isnan(Forward(-3.5, above)));
    EXPECT_NE(Forward(1e300, below), 1e300);
    EXPECT_NE(Forward(1e300, above), 1e300);
}

// And on both sides of 0: lambda = 5e-324 is a power, not the logarithm.
TEST(PowerTransform, OnlyZeroItselfIsTheLogarithm) {
    EXPECT_SAME_BITS(Forward(5.0, 5e-324), 1.0);
    EXPECT_SAME_BITS(Forward(5.0, -5e-324), -1.0);
    EXPECT_SAME_BITS(Inverse(1.0, 5e-324), 1.0);  // 1^inf
    EXPECT_SAME_BITS(Inverse(2.0, 5e-324), infinity);
}

TEST(PowerTransform, BadInputFlowsThroughTheArithmetic) {
    EXPECT_TRUE(std::isnan(Forward(-2.0, 0.5)));
    EXPECT_TRUE(std::isnan(Forward(-2.0, 0.0)));
    EXPECT_SAME_BITS(Forward(0.0, 0.0), -infinity);
    EXPECT_SAME_BITS(Forward(0.0, -1.0), -infinity);
    EXPECT_SAME_BITS(Forward(-2.0, 2.0), 4.0);
    EXPECT_SAME_BITS(Forward(-2.0, -1.0), 0.5);
    EXPECT_SAME_BITS(Forward(1.23456e30, 0.5), std::pow(1.23456e30, 0.5));  // no code is special here
    EXPECT_TRUE(std::isnan(Forward(zolv_GetMissingValue(), 0.5)));
    EXPECT_SAME_BITS(Inverse(1000.0, 0.0), infinity);
}

TEST(PowerTransform, FitCorrection) {
    EXPECT_SAME_BITS(Fit(0.7, 0.0, 0.0), std::exp(0.7));
    EXPECT_SAME_BITS(Fit(0.0, 0.0, 0.5), 1.25);
    // lambda 0.5: c = 0.5 v (0.5 / 0.25) = v; x^2 (v / x^2 + 1) = v + x^2.
    EXPECT_SAME_BITS(Fit(2.0, 0.5, 1.0), 5.0);
    // lambda -1: c = 0.5 v (2 / 1) = v; (1 / 0.5) (v / 0.25 + 1).
    EXPECT_SAME_BITS(Fit(-0.5, -1.0, 0.25), 4.0);
    EXPECT_TRUE(std::isnan(Fit(0.0, 0.5, 1.0)));  // 0 (c / 0 + 1)
    EXPECT_TRUE(std::isnan(Fit(0.0, 0.5, 0.0)));  // 0 (0 / 0 + 1)
}

TEST(PowerTransform, ForecastSquaresItsErrors) {
    EXPECT_SAME_BITS(Forecast(0.0, 0.0, 2.0), 3.0);
    EXPECT_SAME_BITS(Forecast(2.0, 0.5, 3.0), 13.0);
    EXPECT_SAME_BITS(Forecast(2.0, 0.5, -3.0), 13.0);
    EXPECT_SAME_BITS(Forecast(-0.5, -1.0, 0.5), 4.0);
    EXPECT_TRUE(std::isnan(Forecast(0.0, 0.5, 1.0)));
    const double values[] = {2.0, 2.0, 2.0}, errors[] = {0.0, 1.0, 2.0};
    double out[3];
    zolv_InverseQorPowerTransformForecast(values, 3, 0.5, errors, out);
    EXPECT_SAME_BITS(out[0], 4.0);
    EXPECT_SAME_BITS(out[1], 5.0);
    EXPECT_SAME_BITS(out[2], 8.0);
}

TEST(PowerTransform, LimitsOfAPositivePower) {
    Limits got = Interval(-1.0, 4.0, 2.0);
    EXPECT_SAME_BITS(got.lower, 0.0);
    EXPECT_SAME_BITS(got.upper, 2.0);
    got = Interval(5.0, 4.0, 2.0);
    EXPECT_MISSING(got.lower);
    EXPECT_MISSING(got.upper);
    got = Interval(4.0, 4.0, 2.0);  // not above
    EXPECT_MISSING(got.lower);
    EXPECT_MISSING(got.upper);
    got = Interval(4.0, std::nextafter(4.0, 5.0), 2.0);
    EXPECT_SAME_BITS(got.lower, 2.0);
    EXPECT_SAME_BITS(got.upper, std::pow(std::nextafter(4.0, 5.0), 0.5));
    got = Interval(-2.0, 0.0, 2.0);
    EXPECT_MISSING(got.lower);
    EXPECT_MISSING(got.upper);
    got = Interval(-0.0, 5e-324, 1.0);
    EXPECT_SAME_BITS(got.lower, 0.0);
    EXPECT_SAME_BITS(got.upper, 5e-324);
    for (const auto& bad : {Limits{std::nan(""), 4.0}, Limits{1.0, std::nan("")}}) {
        got = Interval(bad.lower, bad.upper, 2.0);
        EXPECT_MISSING(got.lower);
        EXPECT_MISSING(got.upper);
    }
}

TEST(PowerTransform, LimitsAreClippedAtLambdaOne) {
    Limits got = Interval(-3.0, 5.0, 1.0);
    EXPECT_SAME_BITS(got.lower, 0.0);
    EXPECT_SAME_BITS(got.upper, 5.0);
    got = Interval(-3.0, -1.0, 1.0);
    EXPECT_MISSING(got.lower);
    EXPECT_MISSING(got.upper);
}

TEST(PowerTransform, LimitsOfANegativePowerAreIndependent) {
    Limits got = Interval(-4.0, 1.0, -1.0);
    EXPECT_SAME_BITS(got.lower, 0.25);
    EXPECT_MISSING(got.upper);
    got = Interval(0.0, -0.0, -1.0);
    EXPECT_MISSING(got.lower);
    EXPECT_MISSING(got.upper);
    got = Interval(-0.25, -4.0, -1.0);  // the wrong way round: not swapped
    EXPECT_SAME_BITS(got.lower, 4.0);
    EXPECT_SAME_BITS(got.upper, 0.25);
    got = Interval(-5e-324, -0.5, -1.0);
    EXPECT_SAME_BITS(got.lower, infinity);
    EXPECT_SAME_BITS(got.upper, 2.0);
}

TEST(PowerTransform, LimitsOfTheLogarithm) {
    const Limits got = Interval(0.5, -0.5, 0.0);
    EXPECT_SAME_BITS(got.lower, std::exp(0.5));
    EXPECT_SAME_BITS(got.upper, std::exp(-0.5));
}

TEST(PowerTransform, NaNLambdaWritesNothingButForLimits) {
    const double nan = std::nan("");
    EXPECT_SAME_BITS(Forward(2.0, nan), untouched);
    EXPECT_SAME_BITS(Inverse(2.0, nan), untouched);
    EXPECT_SAME_BITS(Fit(2.0, nan, 1.0), untouched);
    EXPECT_SAME_BITS(Forecast(2.0, nan, 1.0), untouched);
    const Limits got = Interval(-2.0, 2.0, nan);
    EXPECT_TRUE(std::isnan(got.lower));                      // (-x)^(1/NaN)
    EXPECT_MISSING(got.upper);                               // not negative
    EXPECT_SAME_BITS(Interval(-1.0, -2.0, nan).lower, 1.0);  // 1 to any power
}

TEST(PowerTransform, NoCountNoOutput) {
    for (const std::int32_t count : {0, -1, std::numeric_limits<std::int32_t>::min()}) {
        for (const double lambda : {0.0, 1.0, 0.5, -0.5, std::nan("")}) {
            const double x = 2.0;
            double a = untouched, b = untouched;
            zolv_QorPowerTransform(&x, count, lambda, &a);
            zolv_InverseQorPowerTransform(&x, count, lambda, &a);
            zolv_InverseQorPowerTransformFit(&x, count, lambda, 1.0, &a);
            zolv_InverseQorPowerTransformForecast(&x, count, lambda, &x, &a);
            zolv_InverseQorPowerTransformInterval(&x, &x, count, lambda, &a, &b);
            EXPECT_SAME_BITS(a, untouched);
            EXPECT_SAME_BITS(b, untouched);
        }
    }
}

TEST(PowerTransform, NullArraysAreLeftAlone) {
    const double x = 2.0;
    double a = untouched;
    for (const double lambda : {0.0, 1.0, 0.5, -0.5}) {
        zolv_QorPowerTransform(nullptr, 1, lambda, &a);
        zolv_QorPowerTransform(&x, 1, lambda, nullptr);
        zolv_InverseQorPowerTransform(nullptr, 1, lambda, &a);
        zolv_InverseQorPowerTransform(&x, 1, lambda, nullptr);
        zolv_InverseQorPowerTransformFit(nullptr, 1, lambda, 1.0, &a);
        zolv_InverseQorPowerTransformFit(&x, 1, lambda, 1.0, nullptr);
        zolv_InverseQorPowerTransformForecast(nullptr, 1, lambda, &x, &a);
        zolv_InverseQorPowerTransformForecast(&x, 1, lambda, nullptr, &a);
        zolv_InverseQorPowerTransformForecast(&x, 1, lambda, &x, nullptr);
        zolv_InverseQorPowerTransformInterval(nullptr, &x, 1, lambda, &a, &a);
        zolv_InverseQorPowerTransformInterval(&x, nullptr, 1, lambda, &a, &a);
        zolv_InverseQorPowerTransformInterval(&x, &x, 1, lambda, nullptr, &a);
        zolv_InverseQorPowerTransformInterval(&x, &x, 1, lambda, &a, nullptr);
    }
    EXPECT_SAME_BITS(a, untouched);
}

TEST(PowerTransform, EveryFormWorksInPlace) {
    constexpr std::int32_t n = 7;
    const std::vector<double> values = {0.5, 1.5, 2.5, -3.5, -0.25, 0.0, 7.0};
    const std::vector<double> others = {0.75, 1.0, 4.0, -1.5, 2.0, 3.0, 9.0};
    for (const double lambda : {0.0, 1.0, 0.5, 2.0, -0.5, -2.0}) {
        std::vector<double> out(n), second(n), x, y;

        zolv_QorPowerTransform(values.data(), n, lambda, out.data());
        x = values;
        zolv_QorPowerTransform(x.data(), n, lambda, x.data());
        EXPECT_EQ(std::memcmp(x.data(), out.data(), n * sizeof(double)), 0);

        zolv_InverseQorPowerTransform(values.data(), n, lambda, out.data());
        x = values;
        zolv_InverseQorPowerTransform(x.data(), n, lambda, x.data());
        EXPECT_EQ(std::memcmp(x.data(), out.data(), n * sizeof(double)), 0);

        zolv_InverseQorPowerTransformFit(values.data(), n, lambda, 0.3, out.data());
        x = values;
        zolv_InverseQorPowerTransformFit(x.data(), n, lambda, 0.3, x.data());
        EXPECT_EQ(std::memcmp(x.data(), out.data(), n * sizeof(double)), 0);

        zolv_InverseQorPowerTransformForecast(values.data(), n, lambda, others.data(), out.data());
        x = values;
        zolv_InverseQorPowerTransformForecast(x.data(), n, lambda, others.data(), x.data());
        EXPECT_EQ(std::memcmp(x.data(), out.data(), n * sizeof(double)), 0);
        x = others;
        zolv_InverseQorPowerTransformForecast(values.data(), n, lambda, x.data(), x.data());
        EXPECT_EQ(std::memcmp(x.data(), out.data(), n * sizeof(double)), 0);

        // Straight, and crossed: the lower limits go where the upper ones were.
        zolv_InverseQorPowerTransformInterval(values.data(), others.data(), n, lambda, out.data(),
                                              second.data());
        x = values;
        y = others;
        zolv_InverseQorPowerTransformInterval(x.data(), y.data(), n, lambda, x.data(), y.data());
        EXPECT_EQ(std::memcmp(x.data(), out.data(), n * sizeof(double)), 0);
        EXPECT_EQ(std::memcmp(y.data(), second.data(), n * sizeof(double)), 0);
        x = values;
        y = others;
        zolv_InverseQorPowerTransformInterval(x.data(), y.data(), n, lambda, y.data(), x.data());
        EXPECT_EQ(std::memcmp(y.data(), out.data(), n * sizeof(double)), 0);
        EXPECT_EQ(std::memcmp(x.data(), second.data(), n * sizeof(double)), 0);
    }
}

// The correction is the second-order one: for a log-normal variate the mean is exp(m + v / 2), and
// exp(m) (1 + v / 2) is below it by about v^2 / 8 of it.
TEST(PowerTransform, CorrectionEstimatesTheMean) {
    const double v = 0.04;
    const double mean = std::exp(1.0 + v / 2);
    EXPECT_NEAR(Fit(1.0, 0.0, v), mean, mean * v * v / 7);
    // The square of a normal variate (lambda 0.5) has the mean m^2 + v exactly.
    EXPECT_TRUE(zolv_test::within_ulps(Fit(3.0, 0.5, v), 9.04, 2));
    EXPECT_TRUE(zolv_test::within_ulps(Forecast(3.0, 0.5, 0.2), 9.04, 2));
}
