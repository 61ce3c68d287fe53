// Guerrero's choice of the power.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <limits>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "support/bits.hpp"
#include "support/reference_table.hpp"
#include "zolv.h"

namespace {

using zolv_test::load_series;
using zolv_test::reference_table;

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double missing_observation = 1.23456e30;
constexpr int too_short = 30025;

struct Answer {
    int code;
    double lambda;
};

Answer Lambda(const std::vector<double>& series, int group_length, double lower, double upper,
              double tolerance) {
    Answer answer = {-1, -987.25};
    answer.code = zolv_GetBoxCoxLambda(series.data(), static_cast<int>(series.size()), group_length, lower,
                                       upper, tolerance, &answer.lambda);
    return answer;
}

// The objective with a two-pass mean and standard deviation, straight from its definition.
double Variation(const std::vector<double>& series, std::size_t length, double lambda) {
    const auto moments = [](const std::vector<double>& x) {
        double mean = 0.0, squares = 0.0;
        for (const double v : x) mean += v / x.size();
        for (const double v : x) squares += (v - mean) * (v - mean);
        return std::pair(mean, std::sqrt(squares / (x.size() - 1)));
    };
    std::vector<double> ratios;
    for (std::size_t start = series.size() % length; start < series.size(); start += length) {
        const auto [mean, sd] = moments({series.begin() + start, series.begin() + start + length});
        ratios.push_back(sd / std::pow(mean, 1.0 - lambda));
    }
    const auto [mean, sd] = moments(ratios);
    return sd / mean;
}

// Three groups of four whose standard deviations are k mean^(1 - lambda).
std::vector<double> SeriesOfLambda(double lambda) {
    std::vector<double> series;
    for (const double level : {10.0, 20.0, 45.0, 70.0}) {
        const double unit = 0.03 * std::pow(level, 1.0 - lambda);
        for (const double step : {-1.5, 0.5, 1.5, -0.5}) series.push_back(level + unit * step);
    }
    return series;
}

}  // namespace

// transforms_bits.py is a second writing of groups, objective, minimiser and end-point rule.
TEST(BoxCoxLambda, HasTheBitsOfASecondWriting) {
    const reference_table table("transforms_bits_lambda");
    ASSERT_GT(table.size(), 140u);
    for (std::size_t row = 0; row < table.size(); ++row) {
        std::vector<double> series;
        if (!table.text(row, "series").empty()) {
            series = load_series(table.text(row, "series"));
        } else {
            std::istringstream cells(table.text(row, "values"));
            for (std::string cell; cells >> cell;) series.push_back(std::strtod(cell.c_str(), nullptr));
        }
        const Answer got =
            Lambda(series, static_cast<int>(table.number(row, "group_length")), table.number(row, "lower"),
                   table.number(row, "upper"), table.number(row, "tolerance"));
        EXPECT_EQ(got.code, static_cast<int>(table.number(row, "code"))) << "row " << row;
        if (table.text(row, "fused") == "missing") {
            EXPECT_MISSING(got.lambda) << "row " << row;
        } else if (zolv_test::bits(got.lambda) != zolv_test::bits(table.number(row, "plain"))) {
            EXPECT_SAME_BITS(got.lambda, table.number(row, "fused")) << "row " << row;
        }
    }
}

// The other program runs the same minimiser with the tolerance 2^-13 and has no rule for the ends.
TEST(BoxCoxLambda, AgreesWithForecast) {
    const reference_table table("guerrero_lambda");
    const double tolerance = 0x1p-13;
    double worst = 0.0;
    int inside = 0, at_an_end = 0;
    for (std::size_t row = 0; row < table.size(); ++row) {
        const auto series = load_series(table.text(row, "series"));
        const int length = static_cast<int>(table.number(row, "group_length"));
        const double lower = table.number(row, "lower"), upper = table.number(row, "upper");
        const double peer = table.number(row, "lambda"), least = table.number(row, "objective");
        const Answer got = Lambda(series, length, lower, upper, tolerance);
        EXPECT_EQ(got.code, 0);
        SCOPED_TRACE(table.text(row, "series") + " from " + table.text(row, "lower"));

        EXPECT_TRUE(zolv_test::within_relative(Variation(series, length, peer), least, 1e-11));
        if (table.number(row, "objective_lower") <= least) {
            EXPECT_SAME_BITS(got.lambda, lower);
            EXPECT_NEAR(peer, lower, tolerance);
            ++at_an_end;
        } else {
            // The same points up to rounding, so the same answer; also where the upper end is better.
            worst = std::max(worst, std::fabs(got.lambda - peer));
            EXPECT_NEAR(got.lambda, peer, 1e-6);
            ++inside;
        }
    }
    std::printf("worst difference from the other program: %.3g in %d searches, %d at the lower end\n", worst,
                inside, at_an_end);
    EXPECT_GE(inside, 40);
    EXPECT_GE(at_an_end, 8);
}

// With a fine tolerance the answer is the minimum to about the square root of the rounding of the objective.
TEST(BoxCoxLambda, FindsTheMinimumInFortyDigits) {
    const reference_table table("guerrero_minimum");
    double worst = 0.0;
    for (std::size_t row = 0; row < table.size(); ++row) {
        const auto series = load_series(table.text(row, "series"));
        const double lower = table.number(row, "lower"), upper = table.number(row, "upper");
        const Answer got =
            Lambda(series, static_cast<int>(table.number(row, "group_length")), lower, upper, 1e-9);
        SCOPED_TRACE(table.text(row, "series") + " from " + table.text(row, "lower"));
        ASSERT_EQ(table.number(row, "minima"), 1.0);
        if (table.text(row, "where") == "lower") {
            EXPECT_SAME_BITS(got.lambda, lower);
        } else if (table.text(row, "where") == "inside") {
            worst = std::max(worst, std::fabs(got.lambda - table.number(row, "lambda")));
            EXPECT_NEAR(got.lambda, table.number(row, "lambda"), 1e-6);
        } else {
            // The asymmetry: the lower end is worse, so the point near the upper end stands.
            EXPECT_LT(got.lambda, upper);
            EXPECT_NEAR(got.lambda, upper, 1e-7);
        }
    }
    std::printf("worst difference from the 40-digit minimum: %.3g\n", worst);
}

TEST(BoxCoxLambda, GroupsAreAlignedToTheEnd) {
    // Ten points in groups of four: points 0 and 1 are unused, whatever they are.
    const std::vector<double> series = {1.0, 2.0, 10.0, 11.0, 12.0, 13.0, 20.0, 22.0, 25.0, 21.0};
    const Answer want = Lambda(series, 4, -1.0, 2.0, 1e-8);
    EXPECT_EQ(want.code, 0);
    for (const double unused : {0.0, -5.0, 1e300, infinity, std::nan(""), missing_observation}) {
        std::vector<double> other = series;
        other[0] = other[1] = unused;
        EXPECT_SAME_BITS(Lambda(other, 4, -1.0, 2.0, 1e-8).lambda, want.lambda);
        EXPECT_SAME_BITS(Lambda({other.begin() + 2, other.end()}, 4, -1.0, 2.0, 1e-8).lambda, want.lambda);
        other = series;
        other[2] = unused;  // the first point that is used
        const Answer got = Lambda(other, 4, -1.0, 2.0, 1e-8);
        if (unused == 0.0 || unused == -5.0 || unused == 1e300) {
            EXPECT_EQ(got.code, 0);
        } else {
            EXPECT_EQ(got.code, too_short);
            EXPECT_MISSING(got.lambda);
        }
    }
}

TEST(BoxCoxLambda, ShortGroupLengthsCountAsTwo) {
    const auto series = load_series("nile");
    const double want = Lambda(series, 2, -1.0, 2.0, 1e-6).lambda;
    for (const int length : {1, 0, -1, -1000, std::numeric_limits<int>::min()}) {
        EXPECT_SAME_BITS(Lambda(series, length, -1.0, 2.0, 1e-6).lambda, want);
    }
}

TEST(BoxCoxLambda, AGroupWithAMissingPointIsSkippedWhole) {
    const auto series = load_series("airline_passengers");
    const std::vector<double> without_last(series.begin(), series.end() - 12);
    const double want = Lambda(without_last, 12, -1.0, 2.0, 1e-8).lambda;
    for (const double hole : {missing_observation, std::nan(""), -std::nan(""), infinity, -infinity}) {
        for (const int position : {132, 138, 143}) {
            std::vector<double> holed = series;
            holed[position] = hole;
            EXPECT_SAME_BITS(Lambda(holed, 12, -1.0, 2.0, 1e-8).lambda, want);
        }
    }
    // Its neighbours among the doubles, and its negative, are data.
    for (const double value : {std::nextafter(missing_observation, 0.0),
                               std::nextafter(missing_observation, infinity), -missing_observation}) {
        std::vector<double> other = series;
        other[138] = value;
        const double lambda = Lambda(other, 12, -1.0, 2.0, 1e-8).lambda;
        EXPECT_NE(zolv_test::bits(lambda), zolv_test::bits(want));
    }
    // A group in the middle: as if it had never been.
    std::vector<double> holed = series, cut(series.begin(), series.begin() + 24);
    holed[30] = missing_observation;
    cut.insert(cut.end(), series.begin() + 36, series.end());
    EXPECT_SAME_BITS(Lambda(holed, 12, -1.0, 2.0, 1e-8).lambda, Lambda(cut, 12, -1.0, 2.0, 1e-8).lambda);
}

TEST(BoxCoxLambda, FewerThanTwoUsableGroupsFail) {
    std::vector<double> series = {10.0, 11.0, 12.0, 13.0, 20.0, 22.0, 25.0, 21.0};
    EXPECT_EQ(Lambda(series, 4, -1.0, 2.0, 1e-6).code, 0);
    for (const double hole : {missing_observation, std::nan(""), infinity}) {
        std::vector<double> holed = series;
        holed[6] = hole;
        const Answer got = Lambda(holed, 4, -1.0, 2.0, 1e-6);
        EXPECT_EQ(got.code, too_short);
        EXPECT_MISSING(got.lambda);
    }
    for (const auto& [count, length] :
         std::vector<std::pair<int, int>>{{0, 4},
                                          {-1, 4},
                                          {std::numeric_limits<int>::min(), 2},
                                          {7, 4},
                                          {3, 2},
                                          {8, 5},
                                          {8, std::numeric_limits<int>::max()}}) {
        double lambda = 0.0;
        EXPECT_EQ(zolv_GetBoxCoxLambda(series.data(), count, length, -1.0, 2.0, 1e-6, &lambda), too_short);
        EXPECT_MISSING(lambda);
    }
    EXPECT_EQ(Lambda({series.begin(), series.begin() + 4}, 2, -1.0, 2.0, 1e-6).code,
              0);  // four points: two groups
}

TEST(BoxCoxLambda, NullPointers) {
    const std::vector<double> series = {10.0, 11.0, 12.0, 13.0, 20.0, 22.0, 25.0, 21.0};
    double lambda = 0.0;
    EXPECT_EQ(zolv_GetBoxCoxLambda(nullptr, 8, 4, -1.0, 2.0, 1e-6, &lambda), too_short);
    EXPECT_MISSING(lambda);
    EXPECT_EQ(zolv_GetBoxCoxLambda(series.data(), 8, 4, -1.0, 2.0, 1e-6, nullptr), 0);
    EXPECT_EQ(zolv_GetBoxCoxLambda(series.data(), 3, 4, -1.0, 2.0, 1e-6, nullptr), too_short);
}

// Standard deviations proportional to mean^(1 - lambda): the objective is 0 there.
TEST(BoxCoxLambda, RecoversThePowerOfAConstructedSeries) {
    for (const double lambda : {-0.5, 0.0, 0.25, 0.5, 1.0, 1.5}) {
        const Answer got = Lambda(SeriesOfLambda(lambda), 4, -1.0, 2.0, 1e-10);
        EXPECT_EQ(got.code, 0);
        EXPECT_NEAR(got.lambda, lambda, 1e-7);
    }
    // Powers of two: the ratios of the groups are equal to the last bit at lambda 0.
    const std::vector<double> doubling = {3.0, 5.0, 4.0, 6.0, 10.0, 8.0, 12.0, 20.0, 16.0, 24.0, 40.0, 32.0};
    EXPECT_EQ(Variation(doubling, 3, 0.0), 0.0);
    EXPECT_NEAR(Lambda(doubling, 3, -1.0, 2.0, 1e-10).lambda, 0.0, 1e-8);
}

// The best power of SeriesOfLambda(2.5) is above the interval, that of SeriesOfLambda(-1.5) below it.
TEST(BoxCoxLambda, AnObjectiveFallingTowardTheLowerEndGivesThatEnd) {
    for (const double tolerance : {1e-2, 1e-4, 1e-8, 0.0}) {
        EXPECT_SAME_BITS(Lambda(SeriesOfLambda(-1.5), 4, -1.0, 2.0, tolerance).lambda, -1.0);
        EXPECT_SAME_BITS(Lambda(SeriesOfLambda(-1.5), 4, 0.3, 0.9, tolerance).lambda, 0.3);
    }
}

TEST(BoxCoxLambda, AnObjectiveFallingTowardTheUpperEndStopsShortOfIt) {
    for (const double tolerance : {1e-2, 1e-4, 1e-8}) {
        const auto series = SeriesOfLambda(2.5);
        const double lambda = Lambda(series, 4, -1.0, 2.0, tolerance).lambda;
        EXPECT_LT(lambda, 2.0);
        EXPECT_GT(lambda, 2.0 - tolerance - 1e-7);
        EXPECT_LT(Variation(series, 4, 2.0), Variation(series, 4, lambda));  // a better end, passed over
    }
}

// A negative tolerance is not searched: the point found is the first of the golden section.
TEST(BoxCoxLambda, TheEndsCompeteWithThePointFound) {
    const auto series = SeriesOfLambda(1.0);
    const auto first = [](double a, double b) { return a + 0.38196601125010515 * (b - a); };
    EXPECT_SAME_BITS(Lambda(series, 4, 1.0, 3.0, -1.0).lambda, 1.0);  // lower end best
    EXPECT_SAME_BITS(Lambda(series, 4, 0.5, 1.2, -1.0).lambda, first(0.5, 1.2));
    // The upper end has the least value of the three, but the lower one is worse than the point.
    EXPECT_LT(Variation(series, 4, 1.0), Variation(series, 4, first(1.4, 1.0)));
    EXPECT_LT(Variation(series, 4, first(1.4, 1.0)), Variation(series, 4, 1.4));
    EXPECT_SAME_BITS(Lambda(series, 4, 1.4, 1.0, -1.0).lambda, first(1.4, 1.0));
}

// Negative means have whole powers alone: the objective is a NaN at the point found and finite at the ends,
// 0.47 for lambda -1 and -0.85 for lambda 2.
TEST(BoxCoxLambda, WithNoValueInsideTheBetterEndWins) {
    const std::vector<double> series = {-1.0, -3.0, -2.0, -6.0};
    EXPECT_NEAR(Variation(series, 2, -1.0), std::sqrt(2.0) / 3, 1e-15);
    EXPECT_NEAR(Variation(series, 2, 2.0), -0.6 * std::sqrt(2.0), 1e-15);
    EXPECT_SAME_BITS(Lambda(series, 2, -1.0, 2.0, 1e-6).lambda, 2.0);  // fh <= fl
    EXPECT_SAME_BITS(Lambda(series, 2, 2.0, -1.0, 1e-6).lambda, 2.0);  // fh > fl: the end called lower
    EXPECT_SAME_BITS(Lambda(series, 2, -1.0, 2.5, 1e-6).lambda, 2.5);  // a NaN at upper: upper
    EXPECT_SAME_BITS(Lambda(series, 2, -1.5, 2.0, 1e-6).lambda, 2.0);  // a NaN at lower: upper
    EXPECT_SAME_BITS(Lambda(series, 2, -1.5, 2.5, 1e-6).lambda, 2.5);
}

TEST(BoxCoxLambda, FlatObjectives) {
    // A constant series: all ratios are 0, the objective is 0 / 0 everywhere, and a NaN chooses upper.
    const std::vector<double> flat(12, 7.0);
    EXPECT_SAME_BITS(Lambda(flat, 3, -1.0, 2.0, 1e-6).lambda, 2.0);
    // Equal groups: exactly 0 everywhere. Neither end is worse: fl > fx is false, fh <= fl is true.
    const std::vector<double> equal = {1.0, 2.0, 1.0, 2.0, 1.0, 2.0};
    EXPECT_SAME_BITS(Lambda(equal, 2, -1.0, 2.0, 1e-6).lambda, 2.0);
}

TEST(BoxCoxLambda, GroupMeansOfZeroOrBelowEndAndAnswer) {
    for (const double shift : {-11.5, -30.0, -1000.0}) {
        std::vector<double> series = {10.0, 11.0, 12.0, 13.0, 20.0, 22.0, 25.0, 21.0};
        for (double& x : series) x += shift;
        const Answer got = Lambda(series, 4, -1.0, 2.0, 1e-8);
        EXPECT_EQ(got.code, 0);
        EXPECT_GE(got.lambda, -1.0);
        EXPECT_LE(got.lambda, 2.0);
    }
}

TEST(BoxCoxLambda, SenselessIntervalsAndTolerancesAnswerByTheEnds) {
    const auto series = load_series("nile");
    const double nan = std::nan("");
    const auto first = [](double a, double b) { return a + 0.38196601125010515 * (b - a); };
    // Not searched: f(-1) is above f(first point).
    for (const double tolerance : {nan, infinity, -infinity, -1e-9}) {
        EXPECT_SAME_BITS(Lambda(series, 2, -1.0, 2.0, tolerance).lambda, first(-1.0, 2.0));
    }
    Answer got = Lambda(series, 2, nan, 2.0, 1e-6);
    EXPECT_EQ(got.code, 0);
    EXPECT_SAME_BITS(got.lambda, 2.0);
    got = Lambda(series, 2, -1.0, nan, 1e-6);
    EXPECT_EQ(got.code, 0);
    EXPECT_TRUE(std::isnan(got.lambda));  // upper
    got = Lambda(series, 2, -1.0, infinity, 1e-6);
    EXPECT_EQ(got.code, 0);
    EXPECT_SAME_BITS(got.lambda, infinity);  // all ratios infinite there: a NaN
    got = Lambda(series, 2, -infinity, 2.0, 1e-6);
    EXPECT_EQ(got.code, 0);
    EXPECT_SAME_BITS(got.lambda, 2.0);
    // Reversed: stops at its first point.
    EXPECT_SAME_BITS(Lambda(series, 2, 2.0, -1.0, 1e-6).lambda, first(2.0, -1.0));
    EXPECT_EQ(Lambda(series, 2, -1.7e308, 1.7e308, 1e-6).code, 0);
    EXPECT_EQ(Lambda(series, 2, -1e300, 1e300, 0.0).code, 0);
}

TEST(BoxCoxLambda, SameBitsFromSeveralThreadsAtOnce) {
    const auto series = load_series("uk_driver_deaths");
    const double want = Lambda(series, 12, -1.0, 2.0, 1e-9).lambda;
    std::vector<double> got(8);
    std::vector<std::thread> threads;
    for (double& lambda : got)
        threads.emplace_back([&] { lambda = Lambda(series, 12, -1.0, 2.0, 1e-9).lambda; });
    for (std::thread& thread : threads) thread.join();
    for (const double lambda : got) EXPECT_SAME_BITS(lambda, want);
}
