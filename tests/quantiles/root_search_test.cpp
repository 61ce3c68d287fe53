// The five searches on plain functions: the exact points they visit, their flags, bounds and edge cases.
#include "quantiles/root_search.hpp"

#include <cmath>
#include <functional>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "support/bits.hpp"
#include "support/quantile_bits.hpp"

namespace {

using dru::impl::expand_bracket;
using dru::impl::residual_function;
using dru::impl::search_discrete;
using dru::impl::solve_bracketed;
using dru::impl::solve_newton;
using dru::impl::step_direction;

constexpr double nan_value = std::numeric_limits<double>::quiet_NaN();
constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double largest = std::numeric_limits<double>::max();

// A callable that keeps the points it was asked for.
template <class Function>
struct recorder {
    Function function;
    std::vector<double>* points;
    double operator()(double x) const {
        points->push_back(x);
        return function(x);
    }
};
template <class Function>
recorder<Function> record(std::vector<double>& points, Function function) {
    return {function, &points};
}

// The plain bisection that the bracketed search amounts to, as its judge: written from the rule "midpoint,
// keep the side whose product with the residual at a is negative, better end last", without any proposal.
struct bisection {
    std::vector<double> points, tolerances;
    double root = 0.0;
    bool failed = true;
};
template <class Function>
bisection bisect(double a, double fa, double b, double fb, Function f) {
    bisection out;
    double tolerance = 1e-12;
    if (std::abs(fa) < std::abs(fb)) std::swap(a, b), std::swap(fa, fb);
    for (int step = 1; step <= 251; ++step) {
        if (step > 1 && step % 25 == 0 && tolerance < 1e-6) tolerance *= 10.0;
        out.tolerances.push_back(tolerance);
        const double s = (a + b) / 2.0, fs = f(s);
        out.points.push_back(s);
        if (fa * fs < 0.0) {
            b = s, fb = fs;
        } else {
            a = s, fa = fs;
        }
        if (std::abs(fa) < std::abs(fb)) std::swap(a, b), std::swap(fa, fb);
        out.root = b;
        if (fb == 0.0 || 0.5 * std::abs(a + b) * tolerance >= std::abs(b - a)) {
            out.failed = false;
            return out;
        }
    }
    return out;
}

TEST(SolveBracketed, VisitsTheMidpointsAndNothingElse) {
    std::vector<double> points;
    unsigned char failed = 9;
    const double root =
        solve_bracketed(0.0, -0.3, 1.0, 0.7, record(points, [](double x) { return x - 0.3; }), failed);
    const double first[] = {0.5, 0.25, 0.375, 0.3125, 0.28125, 0.296875, 0.3046875, 0.30078125, 0.298828125};
    ASSERT_GE(points.size(), std::size(first));
    for (std::size_t i = 0; i < std::size(first); ++i) EXPECT_SAME_BITS(points[i], first[i]);
    EXPECT_EQ(failed, 0);
    EXPECT_NEAR(root, 0.3, 1e-12);

    // Halving the unit interval: width 2^-k after k steps. The test |b - a| <= 0.3e-12 first holds at
    // k = 42 with tolerance 1e-12, but from step 25 on the tolerance is 1e-11: k = 39 (2^-39 = 1.8e-12).
    EXPECT_EQ(points.size(), 39u);
}

TEST(SolveBracketed, InverseQuadraticProposalsAreBisectedToo) {
    // A cubic makes three distinct residuals from the second step on.
    std::vector<double> points;
    unsigned char failed = 9;
    const auto cubic = [](double x) { return x * x * x - 0.2; };
    const double root = solve_bracketed(0.0, -0.2, 1.0, 0.8, record(points, cubic), failed);
    EXPECT_EQ(failed, 0);
    EXPECT_NEAR(root, std::cbrt(0.2), 2e-11);
    const double first[] = {0.5, 0.75, 0.625, 0.5625, 0.59375, 0.578125, 0.5859375};
    for (std::size_t i = 0; i < std::size(first); ++i) EXPECT_SAME_BITS(points[i], first[i]);
    const bisection judge = bisect(0.0, -0.2, 1.0, 0.8, cubic);
    ASSERT_EQ(points.size(), judge.points.size());
    for (std::size_t i = 0; i < points.size(); ++i) EXPECT_SAME_BITS(points[i], judge.points[i]);
    EXPECT_SAME_BITS(root, judge.root);
}

TEST(SolveBracketed, TheOrderOfTheEndsIsFree) {
    for (const double target : {0.3, 0.7, 0.123456789, 1e-7, 0.999999}) {
        const auto f = [target](double x) { return std::sqrt(x) - target; };
        const auto falling = [target](double x) { return target - std::sqrt(x); };
        for (const bool exchanged : {false, true}) {
            const double a = exchanged ? 1.0 : 0.0, b = exchanged ? 0.0 : 1.0;
            std::vector<double> points;
            unsigned char failed = 9;
            const double root = solve_bracketed(a, f(a), b, f(b), record(points, f), failed);
            const bisection judge = bisect(a, f(a), b, f(b), f);
            ASSERT_EQ(points, judge.points);
            EXPECT_SAME_BITS(root, judge.root);
            EXPECT_EQ(failed != 0, judge.failed);

            std::vector<double> falling_points;
            solve_bracketed(a, falling(a), b, falling(b), record(falling_points, falling), failed);
            EXPECT_EQ(falling_points, points);
        }
    }
}

TEST(SolveBracketed, EndsThatDoNotStraddleComeBackUnasked) {
    int calls = 0;
    const auto f = [&calls](double) { return ++calls, 0.0; };
    struct end_case {
        double a, fa, b, fb;
    };
    const end_case cases[] = {
        {2.0, 1.0, 3.0, 4.0},         // same sign
        {2.0, -1.0, 3.0, -4.0},       // same sign, negative
        {2.0, 0.0, 3.0, -4.0},        // a residual of 0 at a
        {2.0, 5.0, 3.0, 0.0},         // a residual of 0 at b: still a comes back
        {2.0, 1e-170, 3.0, -1e-170},  // the product underflows
        {2.0, 1.0, 3.0, 1e-300},      // a is not swapped for the better end first
    };
    for (const end_case& c : cases) {
        unsigned char failed = 9;
        EXPECT_SAME_BITS(solve_bracketed(c.a, c.fa, c.b, c.fb, f, failed), c.a);
        EXPECT_EQ(failed, 1);
    }
    EXPECT_EQ(calls, 0);
}

TEST(SolveBracketed, ARootAtAnEvaluatedPointEndsTheSearch) {
    std::vector<double> points;
    unsigned char failed = 9;
    EXPECT_EQ(
        solve_bracketed(0.0, -0.375, 1.0, 0.625, record(points, [](double x) { return x - 0.375; }), failed),
        0.375);
    EXPECT_EQ(failed, 0);
    EXPECT_EQ(points, (std::vector<double>{0.5, 0.25, 0.375}));
}

TEST(SolveBracketed, ARootAtZeroIsFoundOnlyByLandingOnIt) {
    std::vector<double> points;
    unsigned char failed = 9;
    EXPECT_EQ(solve_bracketed(-1.0, -1.0, 1.0, 1.0, record(points, [](double x) { return x; }), failed), 0.0);
    EXPECT_EQ(failed, 0);
    EXPECT_EQ(points, (std::vector<double>{0.0}));

    // A step function that changes sign at 0 but is never 0: each midpoint halves the distance, and 251
    // halvings of a bracket around 0 end at the ceiling.
    points.clear();
    const auto jump = [](double x) { return x > 0.0 ? 1.0 : -1.0; };
    const double root = solve_bracketed(-1.0, -1.0, 3.0, 1.0, record(points, jump), failed);
    EXPECT_EQ(failed, 1);
    EXPECT_EQ(points.size(), 251u);
    EXPECT_LT(std::abs(root), 1e-70);
}

// The points at which the tolerance grows, seen from outside: a bracket that shrinks so slowly relative to
// its size that each tolerance decides once. The judge's tolerances are compared through the stopping step.
TEST(SolveBracketed, TheToleranceGrowsAtSteps25To175) {
    // The root of x - 2^-j from the bracket (0, 1): |b - a| = 2^-k against 2^-j tol, so the stopping step is
    // the first k with 2^(j - k) <= tol(k), up to a step for which end is the better one.
    const auto stopping_step = [](int j) {
        for (int k = 1;; ++k) {
            // growths at 25, 50, ..., 175 and none after
            const int growths = std::min(k / 25, 7);
            if (std::ldexp(1.0, j - k) <= 1e-12 * std::pow(10.0, growths)) return k;
        }
    };
    for (int j = 1; j <= 215; ++j) {
        const double target = std::ldexp(1.0 / 0.75, -j);  // never a midpoint
        const auto f = [target](double x) { return x - target; };
        std::vector<double> points;
        unsigned char failed = 9;
        const double root = solve_bracketed(0.0, f(0.0), 1.0, f(1.0), record(points, f), failed);
        EXPECT_EQ(failed, 0);
        EXPECT_LE(std::abs(static_cast<int>(points.size()) - stopping_step(j)), 1) << "j = " << j;
        EXPECT_TRUE(zolv_test::within_relative(root, target, 1.1e-5));
        const bisection judge = bisect(0.0, f(0.0), 1.0, f(1.0), f);
        ASSERT_EQ(points, judge.points);
        EXPECT_SAME_BITS(root, judge.root);
    }
}

TEST(SolveBracketed, SevenIncreasesLeaveTheToleranceNear1e5) {
    double tolerance = 1e-12;
    for (int step = 25; step <= 150; step += 25) tolerance *= 10.0;
    EXPECT_EQ(tolerance, 9.999999999999997e-07);  // below 1e-6: step 175 multiplies once more
    const auto jump = [](double x) { return x > 0x1p-240 ? 1.0 : -1.0; };
    const bisection judge = bisect(0.0, -1.0, 1.0, 1.0, jump);
    const auto tolerance_at = [&](int step) {
        return judge.tolerances.at(static_cast<std::size_t>(step - 1));
    };
    EXPECT_EQ(tolerance_at(24), 1e-12);
    EXPECT_EQ(tolerance_at(25), 1e-12 * 10.0);
    EXPECT_EQ(tolerance_at(174), 9.999999999999997e-07);
    EXPECT_EQ(tolerance_at(175), 9.999999999999997e-07 * 10.0);
    EXPECT_EQ(tolerance_at(251), 9.999999999999997e-07 * 10.0);

    // And the routine itself stops where that judge does, under each of the eight tolerances: the bracket
    // (1, 1 + w) is narrower than the tolerance only after the growth.
    std::vector<double> points;
    unsigned char failed = 9;
    const double root = solve_bracketed(0.0, -1.0, 1.0, 1.0, record(points, jump), failed);
    EXPECT_EQ(points, judge.points);
    EXPECT_SAME_BITS(root, judge.root);
    EXPECT_EQ(failed != 0, judge.failed);
}

TEST(SolveBracketed, TheStoppingProductIsFormedLeftToRight) {
    // |b - a| against (0.5 |a + b|) tol at the boundary: a wide tolerance reached at once.
    int calls = 0;
    const double a = 1.0, b = 1.0 + 0x1.2p-40;  // 1.02e-12: above tol times 1, so the first step is taken
    unsigned char failed = 9;
    const auto f = [&calls](double x) { return ++calls, x > 1.0 ? 1.0 : -1.0; };
    const double root = solve_bracketed(a, -1.0, b, 1.0, f, failed);
    EXPECT_EQ(failed, 0);
    EXPECT_EQ(calls, 1);  // even a bracket within the tolerance is halved once
    EXPECT_SAME_BITS(root, (a + b) / 2.0);
}

TEST(SolveBracketed, AProposalOfNaNIsEvaluatedAsIs) {
    // fb - fc = 5e-171 after the first step, so both denominators with that factor vanish, with opposite
    // signs, under numerators that do not: the quadratic proposal is inf - inf. No test holds for it, the
    // flag is cleared, NaN is evaluated; the NaN end then makes every later proposal NaN.
    std::vector<double> points;
    unsigned char failed = 9;
    const auto f = [](double x) {
        if (std::isnan(x)) return nan_value;
        return x < 0.3 ? -2e-160 : 1e-160 * (1.0 + (1.0 - x) * 1e-10);
    };
    const double root = solve_bracketed(0.0, f(0.0), 1.0, f(1.0), record(points, f), failed);
    ASSERT_EQ(points.size(), 251u);
    EXPECT_EQ(points[0], 0.5);
    for (std::size_t i = 1; i < points.size(); ++i) EXPECT_TRUE(std::isnan(points[i])) << i;
    EXPECT_EQ(failed, 1);
    EXPECT_EQ(root, 0.5);  // b is never replaced by the NaN

    // If f answers NaN with a number, the flag's being clear shows: the point after it is s - d away from d.
    points.clear();
    const auto answers_nan = [&f](double x) { return std::isnan(x) ? 1e-160 : f(x); };
    solve_bracketed(0.0, f(0.0), 1.0, f(1.0), record(points, answers_nan), failed);
    ASSERT_EQ(points.size(), 251u);
    for (std::size_t i = 1; i < points.size(); ++i) EXPECT_TRUE(std::isnan(points[i])) << i;
}

TEST(SolveBracketed, NaNResidualsEndAtTheCeiling) {
    unsigned char failed = 9;
    int calls = 0;
    const auto all_nan = [&calls](double) { return ++calls, nan_value; };
    EXPECT_EQ(solve_bracketed(1.0, nan_value, 2.0, 3.0, all_nan, failed), 2.0);
    EXPECT_EQ(failed, 1);
    EXPECT_EQ(calls, 251);
    solve_bracketed(nan_value, nan_value, nan_value, nan_value, all_nan, failed);
    EXPECT_EQ(failed, 1);
    EXPECT_EQ(calls, 502);
}

TEST(SolveNewton, ConvergesAndLeavesTheLastCorrectionOut) {
    std::vector<double> values, slopes;
    unsigned char failed = 9;
    const double root = solve_newton(1.0, record(values, [](double x) { return x * x - 2.0; }),
                                     record(slopes, [](double x) { return 2.0 * x; }), 35, failed);
    EXPECT_EQ(failed, 0);
    // x - (x^2 - 2) / (2x) by hand: 1, 1.5, 17/12, 577/408, ...
    ASSERT_GE(values.size(), 5u);
    ASSERT_LE(values.size(), 6u);
    EXPECT_EQ(values, slopes);
    EXPECT_EQ(values[1], 1.5);
    EXPECT_EQ(values[2], 1.5 - 0.25 / 3.0);
    EXPECT_SAME_BITS(root, values.back());
    EXPECT_NEAR(root, std::sqrt(2.0), 4e-16);
}

TEST(SolveNewton, AsksTheDerivativeFirst) {
    std::string order;
    unsigned char failed = 9;
    solve_newton(
        1.0, [&order](double) { return order += 'f', 0.0; }, [&order](double) { return order += 'd', 1.0; },
        5, failed);
    EXPECT_EQ(order, "df");
    EXPECT_EQ(failed, 0);
}

TEST(SolveNewton, ALimitOfZeroOrBelowEvaluatesNothing) {
    for (const int limit : {0, -1, -1000}) {
        int calls = 0;
        unsigned char failed = 9;
        const auto f = [&calls](double) { return ++calls, 0.0; };
        EXPECT_EQ(solve_newton(0.75, f, f, limit, failed), 0.75);
        EXPECT_EQ(failed, 1);
        EXPECT_EQ(calls, 0);
    }
}

TEST(SolveNewton, AZeroDerivativeFailsWhereItStands) {
    int values = 0;
    unsigned char failed = 9;
    const auto value = [&values](double) { return ++values, 0.0; };
    EXPECT_EQ(solve_newton(
                  4.0, value, [](double) { return -0.0; }, 35, failed),
              4.0);
    EXPECT_EQ(failed, 1);  // before the test of a zero value
    EXPECT_EQ(values, 1);  // the value has been asked all the same
}

TEST(SolveNewton, StopsAtTheLimitAfterTheLastCorrection) {
    std::vector<double> points;
    unsigned char failed = 9;
    // v / d = 1 throughout: 3 evaluations, and x has moved after the third.
    const double x = solve_newton(
        10.0, record(points, [](double) { return 2.0; }), [](double) { return 2.0; }, 3, failed);
    EXPECT_EQ(failed, 1);
    EXPECT_EQ(points, (std::vector<double>{10.0, 9.0, 8.0}));
    EXPECT_EQ(x, 7.0);
}

TEST(SolveNewton, TheToleranceIsRelativeToX) {
    // Converged if (0.5 |x|) 1e-12 >= |v / d|, both sides of the boundary.
    const double x = 3.0, bound = 0.5 * x * 1e-12;
    unsigned char failed = 9;
    EXPECT_EQ(solve_newton(
                  x, [&](double) { return bound; }, [](double) { return 1.0; }, 1, failed),
              x);
    EXPECT_EQ(failed, 0);
    EXPECT_EQ(solve_newton(
                  -x, [&](double) { return -bound; }, [](double) { return 1.0; }, 1, failed),
              -x);
    EXPECT_EQ(failed, 0);
    const double above = std::nextafter(bound, 1.0);
    EXPECT_EQ(solve_newton(
                  x, [&](double) { return above; }, [](double) { return 1.0; }, 1, failed),
              x - above);
    EXPECT_EQ(failed, 1);
    // An infinite slope is a correction of 0: converged, at 0 too.
    EXPECT_EQ(solve_newton(
                  0.0, [](double) { return -0.25; }, [](double) { return infinity; }, 35, failed),
              0.0);
    EXPECT_EQ(failed, 0);
}

TEST(SolveNewton, NaNRunsToTheLimitAndNoFurther) {
    int calls = 0;
    unsigned char failed = 9;
    const auto f = [&calls](double) { return ++calls, nan_value; };
    EXPECT_TRUE(std::isnan(solve_newton(
        1.0, f, [](double) { return 1.0; }, 35, failed)));
    EXPECT_EQ(calls, 35);
    EXPECT_EQ(failed, 1);
}

TEST(SolveNewton, ThePairedFormIsTheSameSearch) {
    for (const double target : {0.1, 2.0, 30.0, 0.9, -1.0}) {
        const auto f = [target](double x) { return std::exp(x) - target; };
        const auto df = [](double x) { return std::exp(x); };
        unsigned char failed_pair = 9, failed_two = 8, failed_erased = 7;
        const double pair = solve_newton(
            0.5,
            [&](double x) {
                return dru::impl::residual_point{f(x), df(x)};
            },
            35, failed_pair);
        EXPECT_SAME_BITS(pair, solve_newton(0.5, f, df, 35, failed_two));
        EXPECT_SAME_BITS(pair,
                         solve_newton(0.5, residual_function(f), residual_function(df), 35, failed_erased));
        EXPECT_EQ(failed_pair, failed_two);
        EXPECT_EQ(failed_pair, failed_erased);
        EXPECT_EQ(failed_pair, target > 0.0 ? 0 : 1);
    }
}

TEST(StepDirection, TheTable) {
    for (const int mode : {0, 3, 4, 7}) {
        EXPECT_EQ(step_direction(mode, 0.6, 0.5), -1);
        EXPECT_EQ(step_direction(mode, 0.4, 0.5), 1);
        EXPECT_EQ(step_direction(mode, 0.5, 0.5), 1);
        EXPECT_EQ(step_direction(mode, nan_value, 0.5), 1);
    }
    for (const int mode : {1, 2, 5, 6}) {
        EXPECT_EQ(step_direction(mode, 0.6, 0.5), 1);
        EXPECT_EQ(step_direction(mode, 0.4, 0.5), -1);
        EXPECT_EQ(step_direction(mode, 0.5, 0.5), -1);
    }
    for (const int mode : {-1, 8, 1000, std::numeric_limits<int>::min()}) {
        EXPECT_EQ(step_direction(mode, 0.6, 0.5), 0);
        EXPECT_EQ(step_direction(mode, 0.4, 0.5), 0);
    }
}

// P(X <= x) of a variate uniform on 1..10, and its upper tail.
double uniform_lower(double x) { return x < 1.0 ? 0.0 : x >= 10.0 ? 1.0 : std::floor(x) / 10.0; }
double uniform_upper(double x) { return x < 1.0 ? 1.0 : x >= 10.0 ? 0.0 : (10.0 - std::floor(x)) / 10.0; }

TEST(SearchDiscrete, AnExactHitReturnsAtOnce) {
    std::vector<double> points;
    EXPECT_EQ(search_discrete(0.5, 5.0, record(points, uniform_lower), 0), 5.0);
    EXPECT_EQ(points, (std::vector<double>{5.0}));
    points.clear();
    EXPECT_EQ(search_discrete(0.5, 7.0, record(points, uniform_lower), 0), 5.0);
    EXPECT_EQ(points, (std::vector<double>{7.0, 6.0, 5.0}));
    points.clear();
    EXPECT_EQ(search_discrete(0.5, 3.0, record(points, uniform_lower), 0), 5.0);
    EXPECT_EQ(points, (std::vector<double>{3.0, 4.0, 5.0}));
}

TEST(SearchDiscrete, TheLargerOfTheTwoAtACrossing) {
    // Rising: the smallest x whose tail reaches the target, from either side.
    std::vector<double> points;
    EXPECT_EQ(search_discrete(0.55, 3.0, record(points, uniform_lower), 0), 6.0);
    EXPECT_EQ(points, (std::vector<double>{3.0, 4.0, 5.0, 6.0}));
    points.clear();
    EXPECT_EQ(search_discrete(0.55, 8.0, record(points, uniform_lower), 4), 6.0);
    EXPECT_EQ(points, (std::vector<double>{8.0, 7.0, 6.0, 5.0}));
    // Falling: likewise.
    EXPECT_EQ(search_discrete(0.55, 2.0, uniform_upper, 1), 5.0);
    EXPECT_EQ(search_discrete(0.55, 9.0, uniform_upper, 5), 5.0);
    EXPECT_EQ(search_discrete(0.55, 9.0, residual_function(uniform_upper), 5), 5.0);
}

TEST(SearchDiscrete, TheEndsOfTheSupportEndTheWalk) {
    // The tail function answers 0 and 1 outside the support; the search itself has no limits.
    EXPECT_EQ(search_discrete(0.01, 5.0, uniform_lower, 0), 1.0);   // crosses between 0 and 1
    EXPECT_EQ(search_discrete(0.99, 5.0, uniform_lower, 0), 10.0);  // crosses between 9 and 10
    EXPECT_EQ(search_discrete(1.0, 5.0, uniform_lower, 0), 10.0);
    EXPECT_EQ(search_discrete(0.0, 5.0, uniform_lower, 0), 0.0);
}

TEST(SearchDiscrete, AMillionStepsGiveTheSignSetNaN) {
    long calls = 0;
    const auto flat = [&calls](double) { return ++calls, 0.25; };
    EXPECT_SIGN_SET_NAN(search_discrete(0.5, 0.0, flat, 0));
    EXPECT_EQ(calls, 1000001);
    // The last of the million steps may still find it.
    const auto at_the_end = [](double x) { return x < 1e6 ? 0.25 : 0.75; };
    EXPECT_EQ(search_discrete(0.5, 0.0, at_the_end, 0), 1e6);
    EXPECT_SIGN_SET_NAN(search_discrete(0.5, -1.0, at_the_end, 0));
}

TEST(SearchDiscrete, AModeOutsideTheTableStaysWhereItIs) {
    double last = 7.0;
    const auto f = [&last](double x) { return last = x, 0.25; };
    EXPECT_SIGN_SET_NAN(search_discrete(0.5, 7.0, f, 8));
    EXPECT_EQ(last, 7.0);
    EXPECT_EQ(search_discrete(0.25, 7.0, f, 8), 7.0);
}

TEST(SearchDiscrete, NaNEndsTheSearch) {
    int calls = 0;
    EXPECT_SIGN_SET_NAN(search_discrete(
        0.5, 0.0, [&calls](double) { return ++calls, nan_value; }, 0));
    EXPECT_EQ(calls, 1);
    EXPECT_SIGN_SET_NAN(search_discrete(
        0.5, 0.0, [&calls](double x) { return ++calls, x < 3.0 ? 0.25 : nan_value; }, 0));
    EXPECT_EQ(calls, 5);
}

struct bracket {
    double x0, f0, x1 = -99.0, f1 = -99.0;
    unsigned char overflow = 9;
};
template <class Function>
bracket expand(double start, Function f) {
    bracket b{start, f(start)};
    expand_bracket(b.x0, b.f0, b.x1, b.f1, f, b.overflow);
    return b;
}

TEST(ExpandBracket, DoublesTheStepAndLetsF0Stand) {
    std::vector<double> points;
    const auto f = [](double x) { return x - 100.0; };
    bracket b{3.0, f(3.0)};
    expand_bracket(b.x0, b.f0, b.x1, b.f1, record(points, f), b.overflow);
    // steps 3, 6, 12, 24, 48, 96
    EXPECT_EQ(points, (std::vector<double>{6.0, 12.0, 24.0, 48.0, 96.0, 192.0}));
    EXPECT_EQ(b.x0, 96.0);
    EXPECT_EQ(b.x1, 192.0);
    EXPECT_EQ(b.f0, -97.0);  // of the very first point
    EXPECT_EQ(b.f1, 92.0);
    EXPECT_EQ(b.overflow, 0);
}

TEST(ExpandBracket, TheSignOfTheResidualSetsTheDirection) {
    const bracket down = expand(3.0, [](double x) { return x + 5.0; });  // positive: to the left
    EXPECT_EQ(down.x0, -6.0 + 6.0 - 0.0);
    EXPECT_EQ(down.x1, -6.0);
    EXPECT_EQ(down.f0, 8.0);
    EXPECT_EQ(down.f1, -1.0);
    const bracket negative_start = expand(-3.0, [](double x) { return x - 1.0; });  // |x0| is the step
    EXPECT_EQ(negative_start.x0, 0.0);
    EXPECT_EQ(negative_start.x1, 6.0);
    EXPECT_EQ(negative_start.f0, -4.0);
    EXPECT_EQ(negative_start.f1, 5.0);
    const bracket at_once = expand(2.0, [](double x) { return x - 3.0; });
    EXPECT_EQ(at_once.x0, 2.0);
    EXPECT_EQ(at_once.x1, 4.0);
}

TEST(ExpandBracket, AZeroResidualNeedsNoLoop) {
    int calls = 0;
    const bracket b = expand(0.0, [&calls](double) { return ++calls, 0.0; });
    EXPECT_EQ(calls, 2);  // the test's own and the one at x1 = x0 + 0
    EXPECT_EQ(b.x1, 0.0);
    EXPECT_EQ(b.overflow, 0);
}

TEST(ExpandBracket, AZeroStartLeavesByAStepOfOne) {
    std::vector<double> points;
    const auto rising = [](double x) { return x - 10.0; };
    bracket b{0.0, -10.0};
    expand_bracket(b.x0, b.f0, b.x1, b.f1, record(points, rising), b.overflow);
    EXPECT_EQ(points, (std::vector<double>{0.0, 1.0, 3.0, 7.0, 15.0}));
    EXPECT_EQ(b.x0, 7.0);
    EXPECT_EQ(b.x1, 15.0);
    EXPECT_EQ(b.overflow, 0);

    points.clear();
    bracket c{-0.0, 10.0};
    expand_bracket(c.x0, c.f0, c.x1, c.f1, record(points, [](double x) { return x + 10.0; }), c.overflow);
    EXPECT_EQ(points, (std::vector<double>{0.0, -1.0, -3.0, -7.0, -15.0}));
}

TEST(ExpandBracket, OverflowPutsTheEndsInRisingOrder) {
    int calls = 0;
    const bracket up = expand(1.0, [&calls](double) { return ++calls, -1.0; });
    EXPECT_EQ(up.overflow, 1);
    EXPECT_LT(up.x0, up.x1);
    EXPECT_LE(calls, 1030);
    // steps 2^k up to 2^1023 > largest / 2; x after it: 2^1024 is infinite
    EXPECT_EQ(up.x0, 0x1p1023);
    EXPECT_EQ(up.x1, infinity);

    bracket down{1.0, 1.0};
    double tag = 100.0;
    expand_bracket(
        down.x0, down.f0, down.x1, down.f1, [&tag](double) { return ++tag; }, down.overflow);
    EXPECT_EQ(down.overflow, 1);
    EXPECT_LT(down.x0, down.x1);  // exchanged: the walk went left
    EXPECT_EQ(down.f0, 1.0);      // the residuals stay where they are
    EXPECT_EQ(down.f1, tag);
}

TEST(ExpandBracket, TheStepLimitIsTheHalfOfTheLargestDouble) {
    EXPECT_EQ(dru::impl::expand_step_limit, largest / 2.0);
    // A start of half the limit doubles once onto the limit itself, which is not beyond it.
    int calls = 0;
    const bracket b = expand(largest / 4.0, [&calls](double) { return ++calls, -1.0; });
    EXPECT_EQ(b.overflow, 1);
    EXPECT_EQ(calls, 4);  // own, x0 + step, the step at the limit, the one beyond it
}

TEST(ExpandBracket, NaNAndInfiniteStartsEnd) {
    const bracket from_nan = expand(nan_value, [](double) { return nan_value; });
    EXPECT_EQ(from_nan.overflow, 0);  // NaN residuals have no common sign
    const bracket constant = expand(nan_value, [](double) { return -1.0; });
    EXPECT_EQ(constant.overflow, 1);
    const bracket from_infinity = expand(infinity, [](double) { return -1.0; });
    EXPECT_EQ(from_infinity.overflow, 1);
    // The smallest start: some 2100 doublings, then overflow.
    int calls = 0;
    const bracket tiny = expand(5e-324, [&calls](double) { return ++calls, -1.0; });
    EXPECT_EQ(tiny.overflow, 1);
    EXPECT_EQ(calls, 2 + 1074 + 1023);
}

TEST(ResidualFunction, AnEmptyOneRaisesTheStandardFailure) {
    unsigned char flag = 9;
    EXPECT_THROW(solve_bracketed(0.0, -1.0, 1.0, 1.0, residual_function(), flag), std::bad_function_call);
    EXPECT_THROW(solve_newton(0.0, residual_function(), residual_function(), 5, flag),
                 std::bad_function_call);
    EXPECT_THROW(search_discrete(0.5, 0.0, residual_function(), 0), std::bad_function_call);
    bracket b{1.0, 1.0};
    EXPECT_THROW(expand_bracket(b.x0, b.f0, b.x1, b.f1, residual_function(), b.overflow),
                 std::bad_function_call);
    // Not asked where nothing is evaluated.
    EXPECT_EQ(solve_bracketed(4.0, 1.0, 5.0, 1.0, residual_function(), flag), 4.0);
    EXPECT_EQ(solve_newton(4.0, residual_function(), residual_function(), 0, flag), 4.0);
}

TEST(ResidualFunction, TheRoutinesOwnAndReleaseTheirCopy) {
    const auto token = std::make_shared<double>(0.3);
    const residual_function f = [token](double x) { return x - *token; };
    const residual_function one = [token](double) { return 1.0; };
    const long before = token.use_count();
    unsigned char flag = 9;
    solve_bracketed(0.0, -0.3, 1.0, 0.7, f, flag);
    solve_bracketed(0.0, 0.3, 1.0, 0.7, f, flag);
    solve_newton(0.0, f, one, 35, flag);
    solve_newton(0.0, f, one, 0, flag);
    search_discrete(0.3, 0.0, f, 0);
    bracket b{1.0, 0.7};
    expand_bracket(b.x0, b.f0, b.x1, b.f1, f, b.overflow);
    EXPECT_EQ(token.use_count(), before);
    EXPECT_EQ(f(0.3), 0.0);  // the caller's own is untouched
}

TEST(ResidualFunction, SameBitsAsThePlainCallable) {
    for (int i = 1; i < 50; ++i) {
        const double target = i / 50.0;
        const auto f = [target](double x) { return x * x - target; };
        unsigned char failed_plain = 9, failed_erased = 8;
        EXPECT_SAME_BITS(solve_bracketed(0.0, f(0.0), 1.0, f(1.0), f, failed_plain),
                         solve_bracketed(0.0, f(0.0), 1.0, f(1.0), residual_function(f), failed_erased));
        EXPECT_EQ(failed_plain, failed_erased);
    }
}

// A second transcription of the three continuous searches, on (x - r)^3 + (x - r).
TEST(RootSearch, ExactBits) {
    using zolv_test::check_quantile_rows;
    using zolv_test::quantile_row;
    const auto cubic = [](double r) {
        return [r](double x) { return (x - r) * (x - r) * (x - r) + (x - r); };
    };
    check_quantile_rows("bracketed", [&](const quantile_row& row) {
        const auto f = cubic(row.x);
        unsigned char failed = 9;
        return solve_bracketed(row.y, f(row.y), row.z, f(row.z), f, failed);
    });
    check_quantile_rows("newton", [&](const quantile_row& row) {
        const double r = row.x;
        unsigned char failed = 9;
        return solve_newton(
            row.y, cubic(r), [r](double x) { return 3.0 * ((x - r) * (x - r)) + 1.0; }, 35, failed);
    });
    check_quantile_rows("expand", [&](const quantile_row& row) { return expand(row.y, cubic(row.x)).x1; });
}

}  // namespace
