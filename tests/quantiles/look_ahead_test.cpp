// Residuals worked out ahead: a search gets the same answers as without, and asks for fewer runs.
#include "quantiles/look_ahead.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>
#include <vector>

#include "quantiles/root_search.hpp"
#include "support/bits.hpp"

namespace {

using namespace dru::impl;
using curve = std::function<double(double)>;

struct outcome {
    std::vector<double> asked;  // the points of the search
    double root;
    int runs = 0;  // evaluations of one point or of four
};

const auto always = [](double, double) { return true; };

outcome plain_bisection(const curve& f, double a, double b) {
    outcome result;
    unsigned char failed = 0;
    const auto residual = [&](double x) {
        result.asked.push_back(x);
        ++result.runs;
        return f(x);
    };
    result.root = solve_bracketed(a, f(a), b, f(b), residual, failed);
    return result;
}

template <class Usable>
outcome bisection_ahead(const curve& f, double a, double b, double fa, double fb, const Usable& usable) {
    outcome result;
    unsigned char failed = 0;
    look_ahead ahead(
        [&](double x) {
            ++result.runs;
            return f(x);
        },
        [&](const lane_array& x) {
            ++result.runs;
            return lane_array{f(x[0]), f(x[1]), f(x[2]), f(x[3])};
        },
        usable);
    ahead.expect_bisection(a, fa, b, fb);
    const auto residual = [&](double x) {
        result.asked.push_back(x);
        return ahead(x);
    };
    result.root = solve_bracketed(a, f(a), b, f(b), residual, failed);
    return result;
}

void expect_same(const outcome& a, const outcome& b) {
    EXPECT_SAME_BITS(a.root, b.root);
    ASSERT_EQ(a.asked.size(), b.asked.size());
    for (std::size_t i = 0; i < a.asked.size(); ++i) EXPECT_SAME_BITS(a.asked[i], b.asked[i]);
}

const curve straight = [](double x) { return x - 0.3141592653589793; };
const curve bent = [](double x) { return std::exp(3.0 * x) - 2.5; };
const curve falling = [](double x) { return 0.7 - std::sqrt(x); };
const curve jump = [](double x) { return x < 0.6180339887 ? -1e-3 : 1.7e308; };
const curve flat_end = [](double x) { return std::pow(x - 0.2, 9.0); };

TEST(LookAhead, LeavesABisectionAsItIs) {
    for (const curve& f : {straight, bent, falling, jump, flat_end}) {
        const outcome plain = plain_bisection(f, 0.0, 1.0);
        expect_same(bisection_ahead(f, 0.0, 1.0, f(0.0), f(1.0), always), plain);
        expect_same(bisection_ahead(f, 1.0, 0.0, f(1.0), f(0.0), always), plain_bisection(f, 1.0, 0.0));
        // The value at an end may be another one of its sign.
        expect_same(bisection_ahead(f, 0.0, 1.0, f(0.0) < 0.0 ? -1e-9 : 1e9, f(1.0), always), plain);
    }
}

TEST(LookAhead, FollowsTheChordOfASmoothCurve) {
    for (const curve& f : {straight, bent, falling}) {
        const outcome plain = plain_bisection(f, 0.0, 1.0);
        const outcome ahead = bisection_ahead(f, 0.0, 1.0, f(0.0), f(1.0), always);
        EXPECT_LE(ahead.runs, plain.runs * 2 / 5) << plain.runs;
    }
}

// Two steps out of one run at least, whatever the curve: the middles of both halves are among the guesses.
// The last run may be for one.
TEST(LookAhead, MakesTwoStepsOfARunWhereTheChordIsWrong) {
    const outcome plain = plain_bisection(jump, 0.0, 1.0);
    const outcome ahead = bisection_ahead(jump, 0.0, 1.0, jump(0.0), jump(1.0), always);
    EXPECT_LE(ahead.runs, plain.runs * 3 / 4) << plain.runs;
}

TEST(LookAhead, AsksForNothingOutsideOfWhatIsUsable) {
    std::vector<double> seen;
    const curve f = [&](double x) {
        seen.push_back(x);
        return bent(x);
    };
    const auto upper_part = [](double y, double x) { return y > 0.25 && x > 0.25; };
    unsigned char failed = 0;
    look_ahead ahead(
        bent,
        [&](const lane_array& x) {
            return lane_array{f(x[0]), f(x[1]), f(x[2]), f(x[3])};
        },
        upper_part);
    ahead.expect_bisection(0.0, bent(0.0), 1.0, bent(1.0));
    const double root = solve_bracketed(
        0.0, bent(0.0), 1.0, bent(1.0), [&](double x) { return ahead(x); }, failed);
    EXPECT_SAME_BITS(root, plain_bisection(bent, 0.0, 1.0).root);
    EXPECT_FALSE(seen.empty());
    for (const double x : seen) EXPECT_GT(x, 0.25);
}

TEST(LookAhead, AnswersAResidualThatIsANaN) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const curve hole = [&](double x) { return x > 0.4 && x < 0.6 ? nan : x - 0.3; };
    expect_same(bisection_ahead(hole, 0.0, 1.0, hole(0.0), hole(1.0), always),
                plain_bisection(hole, 0.0, 1.0));
}

struct doubling {
    std::vector<double> asked;
    double x0, f0, x1, f1;
    unsigned char overflow;
    int runs = 0;
};

doubling doublings(const curve& f, double start, bool ahead_of_time) {
    doubling result;
    look_ahead ahead(
        [&](double x) {
            ++result.runs;
            return f(x);
        },
        [&](const lane_array& x) {
            ++result.runs;
            return lane_array{f(x[0]), f(x[1]), f(x[2]), f(x[3])};
        },
        always);
    result.x0 = start;
    result.f0 = f(start);
    if (ahead_of_time) ahead.expect_doubling(result.x0, result.f0);
    const auto residual = [&](double x) {
        result.asked.push_back(x);
        return ahead(x);
    };
    expand_bracket(result.x0, result.f0, result.x1, result.f1, residual, result.overflow);
    return result;
}

// Away from either side of 0, from 0 itself, and to where the doubles end.
TEST(LookAhead, MakesFourDoublingsOfARun) {
    const curve far_up = [](double x) { return x < 1e30 ? -1.0 : 1.0; };
    const curve far_down = [](double x) { return x > -1e30 ? 1.0 : -1.0; };
    const curve never = [](double) { return -1.0; };
    for (const curve& f : {far_up, far_down, never}) {
        for (const double start : {1.25, -0.75, 0.0, 3e5}) {
            const doubling plain = doublings(f, start, false), ahead = doublings(f, start, true);
            EXPECT_EQ(plain.asked, ahead.asked);
            EXPECT_SAME_BITS(plain.x0, ahead.x0);
            EXPECT_SAME_BITS(plain.x1, ahead.x1);
            EXPECT_SAME_BITS(plain.f1, ahead.f1);
            EXPECT_EQ(plain.overflow, ahead.overflow);
            EXPECT_LE(ahead.runs, 4 + static_cast<int>(plain.asked.size()) / 4) << start;
        }
    }
}

}  // namespace
