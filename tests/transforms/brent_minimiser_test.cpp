// The minimiser alone, on functions whose minimum is known.
#include "transforms/brent_minimiser.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "support/bits.hpp"

using zolv::transforms::BrentMinimum;
using zolv::transforms::Minimum;

namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();
const double nan_value = std::nan("");

}  // namespace

TEST(BrentMinimiser, FindsTheVertexOfAParabola) {
    for (const double vertex : {-0.9, -0.3, 0.0, 0.1, 1.0, 1.9}) {
        const auto f = [=](double x) { return (x - vertex) * (x - vertex); };
        const Minimum found = BrentMinimum(f, -1.0, 2.0, 1e-9);
        EXPECT_NEAR(found.x, vertex, 3e-8) << vertex;
        EXPECT_SAME_BITS(found.fx, f(found.x));
    }
}

TEST(BrentMinimiser, FindsTheMinimaOfOtherFunctions) {
    EXPECT_NEAR(BrentMinimum([](double x) { return x * std::log(x); }, 0.01, 3.0, 1e-9).x, std::exp(-1.0),
                3e-8);
    EXPECT_NEAR(BrentMinimum([](double x) { return std::fabs(x - 0.7); }, -1.0, 2.0, 1e-9).x, 0.7, 3e-8);
    EXPECT_NEAR(BrentMinimum([](double x) { return std::cosh(x - 1.0); }, -1.0, 2.0, 1e-9).x, 1.0, 3e-8);
}

// With a linear function the points close in on the end without reaching it: the loop stops at a distance of
// at most 2 (eps |x| + tolerance / 3).
TEST(BrentMinimiser, StopsShortOfAnEnd) {
    for (const double tolerance : {1e-2, 1e-4, 1e-6}) {
        const double low = BrentMinimum([](double x) { return x; }, -1.0, 2.0, tolerance).x;
        EXPECT_GT(low, -1.0);
        EXPECT_LT(low, -1.0 + 2.0 * (tolerance / 3 + 3e-8) * 1.01);
        const double high = BrentMinimum([](double x) { return -x; }, -1.0, 2.0, tolerance).x;
        EXPECT_LT(high, 2.0);
        EXPECT_GT(high, 2.0 - 2.0 * (tolerance / 3 + 3e-8) * 1.01);
    }
}

TEST(BrentMinimiser, FirstPointIsTheGoldenSection) {
    double first = 0.0;
    int calls = 0;
    BrentMinimum(
        [&](double x) {
            if (calls++ == 0) first = x;
            return x * x;
        },
        -1.0, 2.0, 1e-4);
    EXPECT_SAME_BITS(first, -1.0 + 0.38196601125010515 * 3.0);
}

// fu <= fx moves to the newer point: on a constant function every golden step is taken as an improvement.
TEST(BrentMinimiser, EqualValuesMoveOn) {
    int calls = 0;
    const Minimum found = BrentMinimum([&](double) { return ++calls, 1.0; }, 0.0, 1.0, 1e-3);
    EXPECT_LT(calls, 30);
    EXPECT_GT(found.x, 0.9);  // up and up: u > x, so a = x each time
}

TEST(BrentMinimiser, WideIntervalWithZeroToleranceConvergesFarFromTheLimit) {
    int calls = 0;
    const Minimum found = BrentMinimum([&](double x) { return ++calls, std::fabs(x); }, -1e307, 1e308, 0.0);
    EXPECT_LT(std::fabs(found.x), 1e-300);
    EXPECT_LT(calls, zolv::transforms::brent_pass_limit);
}

TEST(BrentMinimiser, NaNFunctionEnds) {
    int calls = 0;
    BrentMinimum([&](double) { return ++calls, nan_value; }, -1.0, 2.0, 1e-6);
    EXPECT_LT(calls, 300);
    calls = 0;
    BrentMinimum([&](double x) { return ++calls, x < 0.3 ? nan_value : x; }, -1.0, 2.0, 0.0);
    EXPECT_LT(calls, 2000);
    calls = 0;
    BrentMinimum([&](double x) { return ++calls, x < 0.3 ? infinity : -infinity; }, -1.0, 2.0, 0.0);
    EXPECT_LT(calls, 2000);
}

TEST(BrentMinimiser, SenselessIntervalsAndTolerancesAreNotSearched) {
    const struct {
        double lower, upper, tolerance;
    } cases[] = {{nan_value, 2.0, 1e-6}, {-1.0, nan_value, 1e-6}, {-infinity, 2.0, 1e-6},
                 {-1.0, infinity, 1e-6}, {-1.0, 2.0, nan_value},  {-1.0, 2.0, infinity},
                 {-1.0, 2.0, -infinity}, {-1.0, 2.0, -1e-300}};
    for (const auto& c : cases) {
        int calls = 0;
        BrentMinimum([&](double x) { return ++calls, x * x; }, c.lower, c.upper, c.tolerance);
        EXPECT_EQ(calls, 1) << c.lower << " " << c.upper << " " << c.tolerance;
    }
    int calls = 0;  // -0 is not negative
    BrentMinimum([&](double x) { return ++calls, x * x; }, -1.0, 2.0, -0.0);
    EXPECT_GT(calls, 5);
}

// The ends are finite, their distance is not: only the limit on the passes ends this.
TEST(BrentMinimiser, OverflowingIntervalEnds) {
    int calls = 0;
    BrentMinimum([&](double x) { return ++calls, x * x; }, -1.7e308, 1.7e308, 1e-6);
    EXPECT_LE(calls, 1 + zolv::transforms::brent_pass_limit);
}

// Reversed ends: the stopping test is met at once.
TEST(BrentMinimiser, ReversedIntervalStopsAtTheFirstPoint) {
    int calls = 0;
    const Minimum found = BrentMinimum([&](double x) { return ++calls, x * x; }, 2.0, -1.0, 1e-6);
    EXPECT_EQ(calls, 1);
    EXPECT_SAME_BITS(found.x, 2.0 + 0.38196601125010515 * -3.0);
}

TEST(BrentMinimiser, EmptyIntervalIsItsPoint) {
    const Minimum found = BrentMinimum([](double x) { return x; }, 0.5, 0.5, 1e-6);
    EXPECT_SAME_BITS(found.x, 0.5);
    EXPECT_SAME_BITS(found.fx, 0.5);
}
