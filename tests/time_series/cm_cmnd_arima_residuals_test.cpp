// The residual recursion: hand arithmetic in binary fractions, each bound from both sides, and the sum of
// squares against the quadratic form of the dense covariance matrix.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

#include "support/bits.hpp"
#include "time_series/cm_cmnd_arima_probe.hpp"
#include "time_series/simulated.hpp"

namespace {

using vek::time_series::CmCmndArima;
using vek::time_series::CmCmndArimaProbe;
using zolv::time_series::ArimaOrders;

constexpr ArimaOrders ar1{1, 0, 0, 0, 0, 0, 0}, ma1{0, 0, 1, 0, 0, 0, 0};
constexpr double big = 1.001e18;

struct Prepared {
    std::vector<double> z;
    CmCmndArima model;
    CmCmndArimaProbe probe{model};
    Prepared(std::vector<double> series, const ArimaOrders& orders, bool constant = false)
        : z(std::move(series)), model(z.data(), static_cast<int>(z.size()), orders, constant, nullptr) {
        EXPECT_EQ(probe.Prepare(), 0);
    }
};

// phi = 1/2, first value 1: backcasts 1/2, 1/4, ... until 2^-10 is below 0.001.
TEST(ArimaResiduals, AutoregressiveBackcastsHalveUntilTheyAreSmall) {
    Prepared p({1, 2, -1, 0, 4, 3}, ar1);
    ASSERT_TRUE(p.probe.FullPass({0.5}));
    EXPECT_EQ(p.probe.FirstIndex(), 90);
    EXPECT_FALSE(p.probe.BackcastExhausted());
    for (int t = 90; t <= 100; ++t) EXPECT_SAME_BITS(p.probe.W(t), std::ldexp(1.0, t - 100));
    for (int t = 0; t < 90; ++t) EXPECT_EQ(p.probe.W(t), 0.0);
    EXPECT_SAME_BITS(p.probe.E(90), std::ldexp(1.0, -10));
    for (int t = 91; t <= 100; ++t) EXPECT_SAME_BITS(p.probe.E(t), 0.75 * std::ldexp(1.0, t - 100));
    const double e[] = {1.5, -2.0, 0.5, 4.0, 1.0};
    for (int i = 0; i < 5; ++i) EXPECT_SAME_BITS(p.probe.E(101 + i), e[i]);
    for (int t = 0; t < 90; ++t) EXPECT_EQ(p.probe.E(t), 0.0);
}

// theta = 1/2 on four values, by hand. Backward: a_103 = w_103, a_t = w_t + a_{t+1} / 2; from the margin on
// a is zero, so only one backcast, -a_100 / 2, is not. The last residual of the pass before is not read.
TEST(ArimaResiduals, MovingAverageBackcastsEndBehindTheirLag) {
    Prepared p({4, -2, 8, 2}, ma1);
    ASSERT_TRUE(p.probe.FullPass({0.5}));
    EXPECT_EQ(p.probe.BackcastSpan(), 103);
    // a_102 = 8, a_101 = -2 + 4 = 2, a_100 = 4 + 1 = 5
    EXPECT_SAME_BITS(p.probe.A(102), 8.0);
    EXPECT_SAME_BITS(p.probe.A(101), 2.0);
    EXPECT_SAME_BITS(p.probe.A(100), 5.0);
    EXPECT_SAME_BITS(p.probe.A(103), 0.0);
    EXPECT_SAME_BITS(p.probe.W(99), -2.5);
    EXPECT_EQ(p.probe.W(98), 0.0);
    EXPECT_EQ(p.probe.FirstIndex(), 98);
    // e_99 = -2.5, e_100 = 4 - 1.25, e_101 = -2 + 1.375, e_102 = 8 - 0.3125, e_103 = 2 + 3.84375
    const double e[] = {0.0, -2.5, 2.75, -0.625, 7.6875, 5.84375};
    for (int i = 0; i < 6; ++i) EXPECT_SAME_BITS(p.probe.E(98 + i), e[i]);
    EXPECT_SAME_BITS(p.probe.Squares(),
                     2.5 * 2.5 + 2.75 * 2.75 + 0.625 * 0.625 + 7.6875 * 7.6875 + 5.84375 * 5.84375);
}

// 0.001 itself does not end the pass; the double below it does.
TEST(ArimaResiduals, ABackcastBelowAThousandthEndsThePass) {
    Prepared at({0.002, 1, 1, 1, 1}, ar1);
    ASSERT_TRUE(at.probe.FullPass({0.5}));
    EXPECT_SAME_BITS(at.probe.W(99), 0.001);
    EXPECT_EQ(at.probe.FirstIndex(), 98);
    Prepared below({std::nextafter(0.002, 0.0), 1, 1, 1, 1}, ar1);
    ASSERT_TRUE(below.probe.FullPass({0.5}));
    EXPECT_EQ(below.probe.FirstIndex(), 99);
}

TEST(ArimaResiduals, BackcastsThatNeverDieFillTheMargin) {
    Prepared p({3, 1, 4, 1, 5, 9}, ar1);
    ASSERT_TRUE(p.probe.FullPass({1.0}));
    EXPECT_TRUE(p.probe.BackcastExhausted());
    EXPECT_EQ(p.probe.FirstIndex(), 1);  // the longest lag
    for (int t = 0; t < 100; ++t) EXPECT_SAME_BITS(p.probe.W(t), 3.0);
    for (int t = 1; t <= 100; ++t) EXPECT_SAME_BITS(p.probe.E(t), 0.0);
    EXPECT_SAME_BITS(p.probe.E(101), -2.0);
    ASSERT_TRUE(p.probe.FullPass({0.5}));
    EXPECT_FALSE(p.probe.BackcastExhausted());
}

TEST(ArimaResiduals, TheSumsStartNoEarlierThanTheLongestLag) {
    Prepared p(zolv_test::white_noise(150, 1), {0, 0, 0, 0, 0, 1, 100});
    ASSERT_TRUE(p.probe.FullPass({0.5}));
    EXPECT_EQ(p.probe.FirstIndex(), 100);
    for (int t = 0; t < 100; ++t) EXPECT_EQ(p.probe.E(t), 0.0);
}

// Clearing goes by where the pass stopped, not by the longest lag: what lies between stays backcast.
TEST(ArimaResiduals, BackcastsBelowTheLongestLagAreKept) {
    Prepared p(zolv_test::arma_series(120, 5, 0.5, 0, 2), {1, 0, 0, 0, 0, 1, 99});
    ASSERT_TRUE(p.probe.FullPass({1.0, 0.5}));
    EXPECT_EQ(p.probe.FirstIndex(), 99);
    EXPECT_TRUE(p.probe.BackcastExhausted());
    EXPECT_NE(p.probe.W(0), 0.0);
    EXPECT_NE(p.probe.W(98), 0.0);
}

// Order: one running value, AR terms off one by one, then MA terms on. Eleven terms whose sum depends on it.
TEST(ArimaResiduals, TermsAreTakenOneByOneInTheirOrder) {
    const std::vector<double> z = zolv_test::arma_series(60, 3, 0.4, 0.3, 3);
    Prepared p(z, {2, 0, 1, 1, 0, 1, 4});
    const std::vector<double> theta = {0.31, -0.17, 0.23, 0.41, -0.29};
    ASSERT_TRUE(p.probe.FullPass(theta));
    const double ar[] = {0.31, -0.17, 0.23, -0.31 * 0.23, 0.17 * 0.23}, ma[] = {0.41, -0.29, 0.41 * 0.29};
    const int ar_lag[] = {1, 2, 4, 5, 6}, ma_lag[] = {1, 4, 5};
    for (int t = p.probe.FirstIndex(); t < 160; ++t) {
        double v = p.probe.W(t);
        for (int i = 0; i < 5; ++i) v -= ar[i] * p.probe.W(t - ar_lag[i]);
        for (int j = 0; j < 3; ++j) v += ma[j] * p.probe.E(t - ma_lag[j]);
        EXPECT_SAME_BITS(p.probe.E(t), v) << t;
    }
}

// ---- the bound -----------------------------------------------------------------------------------------

TEST(ArimaResiduals, TheBoundItselfPassesAndTheNextDoubleFails) {
    for (const double sign : {1.0, -1.0}) {
        Prepared at({1, 1, sign * big, 1, 1}, ar1);
        EXPECT_TRUE(at.probe.FullPass({0.0}));
        Prepared above({1, 1, sign * std::nextafter(big, 1e19), 1, 1}, ar1);
        EXPECT_FALSE(above.probe.FullPass({0.0}));
    }
}

TEST(ArimaResiduals, EachPassTestsTheBound) {
    // Backward inside the series: a_100 = 1 + 2 * 0.9 big with theta = 2.
    Prepared inside({1, 0.9 * big, 1, 1, 1, 1}, ma1);
    EXPECT_FALSE(inside.probe.FullPass({2.0}));
    // Backward in the margin: the first backcast is 2 * 0.9 big.
    Prepared margin({0.9 * big, 1, 1, 1, 1, 1}, ar1);
    EXPECT_FALSE(margin.probe.FullPass({2.0}));
    EXPECT_EQ(margin.probe.FirstIndex(), 99);
    // Forward: the values before the last are small, the last residual is not.
    Prepared forward({0, 0, 0, 0, 0.9 * big, 0}, ar1);
    EXPECT_FALSE(forward.probe.FullPass({2.0}));
    // The shift by the constant, there and back.
    Prepared there({1, 2, 3, 4, 5, 6}, ar1, true);
    EXPECT_FALSE(there.probe.FullPass({0.0, 1.1e18}));
    Prepared smaller({1, 2, 3, 4, 5, 6}, ar1, true);
    EXPECT_TRUE(smaller.probe.FullPass({0.0, 0.9e18}));
}

TEST(ArimaResiduals, ANanPassesEveryTestAndEndsInASumOfNan) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    Prepared p({1, 2, nan, 4, 5, 6}, ar1);
    EXPECT_TRUE(p.probe.FullPass({0.5}));
    EXPECT_TRUE(std::isnan(p.probe.Squares()));
}

// A pass that overflows backward leaves its stopping place behind; a frozen pass from there must not look
// in front of the arrays.
TEST(ArimaResiduals, AFrozenPassAfterAnOverflowStaysInside) {
    Prepared p({1e17, 1, 1, 1, 1, 1, 1, 1, 1, 1}, {1, 0, 0, 0, 0, 1, 3});
    ASSERT_FALSE(p.probe.FullPass({1.03, 0.0}));
    EXPECT_LT(p.probe.FirstIndex(), 60);
    p.probe.FrozenPass({0.5, 0.0});
    Prepared longest(std::vector<double>(120, 9e17), {1, 0, 0, 0, 0, 1, 99});
    ASSERT_FALSE(longest.probe.FullPass({1.03, 0.0}));
    EXPECT_EQ(longest.probe.FirstIndex(), 96);  // three short of the longest lag
    longest.probe.FrozenPass({0.5, 0.0});
    EXPECT_GE(longest.probe.Squares(), 0.0);
}

// ---- the sum of squares --------------------------------------------------------------------------------

TEST(ArimaResiduals, AddingStopsOnceTheSumIsAbove1e20) {
    Prepared at({1e10, 1e10, 1e10, 1, 1, 1}, ar1);
    ASSERT_TRUE(at.probe.FullPass({0.0}));
    EXPECT_SAME_BITS(at.probe.Squares(), 2e20);  // 1e20 is not above, 2e20 is
    Prepared above({1e10, 1e6, 1e10, 1, 1, 1}, ar1);
    ASSERT_TRUE(above.probe.FullPass({0.0}));
    EXPECT_SAME_BITS(above.probe.Squares(), 1e20 + 1e12);
}

// ---- constant ------------------------------------------------------------------------------------------

TEST(ArimaResiduals, TheShiftByTheConstantLeavesItsRoundings) {
    const std::vector<double> z = zolv_test::arma_series(50, 7, 0.5, 0, 4);
    Prepared p(z, ar1, true);
    std::vector<double> w(50);
    for (int t = 0; t < 50; ++t) w[static_cast<std::size_t>(t)] = p.probe.W(100 + t);
    int moved = 0;
    for (const double c : {0.1, 1.0 / 3, 12345.678}) {
        ASSERT_TRUE(p.probe.FullPass({0.4, c}));
        for (int t = 0; t < 50; ++t) {
            double& value = w[static_cast<std::size_t>(t)];
            const double back = (value - c) + c;
            moved += back != value;
            value = back;
            EXPECT_SAME_BITS(p.probe.W(100 + t), value);
        }
        for (int t = 0; t < p.probe.FirstIndex(); ++t) EXPECT_SAME_BITS(p.probe.W(t), c);
    }
    EXPECT_GT(moved, 50);
}

TEST(ArimaResiduals, TheConstantIsTheMeanTimesBothPolynomialsAtOne) {
    Prepared p(zolv_test::arma_series(60, 7, 0.5, 0, 4), {2, 0, 1, 1, 0, 0, 4}, true);
    const double mean = p.model.Mean();
    EXPECT_SAME_BITS(p.probe.ConstantOf({0.3, 0.2, 0.4, 0.9, 0.25}),
                     (0.25 + mean) * (1.0 - (0.3 + 0.2)) * (1.0 - 0.4));
    Prepared none(zolv_test::arma_series(60, 7, 0.5, 0, 4), {2, 0, 1, 1, 0, 0, 4});
    EXPECT_SAME_BITS(none.probe.ConstantOf({0.3, 0.2, 0.4, 0.9}), 0.0);
}

// ---- frozen backcasts ----------------------------------------------------------------------------------

TEST(ArimaResiduals, FrozenPassesKeepBackcastsAndFirstIndex) {
    Prepared p(zolv_test::arma_series(50, 2, 0.6, 0, 5), ar1);
    ASSERT_TRUE(p.probe.FullPass({0.6}));
    const int first = p.probe.FirstIndex();
    std::vector<double> backcasts;
    for (int t = 0; t < 100; ++t) backcasts.push_back(p.probe.W(t));
    ASSERT_TRUE(p.probe.FrozenPass({0.3}));
    EXPECT_EQ(p.probe.FirstIndex(), first);
    for (int t = 0; t < 100; ++t) EXPECT_SAME_BITS(p.probe.W(t), backcasts[static_cast<std::size_t>(t)]);
    for (int t = first; t < 150; ++t) EXPECT_SAME_BITS(p.probe.E(t), p.probe.W(t) - 0.3 * p.probe.W(t - 1));
}

// A seasonal term of period 0 has lag 0 and meets the value that the array held before.
TEST(ArimaResiduals, APeriodOfZeroStaysInside) {
    Prepared p(zolv_test::white_noise(30, 6), {1, 0, 1, 1, 0, 1, 0});
    for (int repeat = 0; repeat < 3; ++repeat) ASSERT_TRUE(p.probe.FullPass({0.1, 0.1, 0.1, 0.1}));
    EXPECT_TRUE(std::isfinite(p.probe.Squares()));
}

// ---- law -----------------------------------------------------------------------------------------------

// Solves A x = b for a symmetric positive definite A by Cholesky and returns b'x.
double quadratic_form(std::vector<std::vector<double>> a, std::vector<double> b) {
    const std::size_t n = b.size();
    double sum = 0.0;
    for (std::size_t i = 0; i < n; ++i) {
        for (std::size_t j = 0; j <= i; ++j) {
            double v = a[i][j];
            for (std::size_t l = 0; l < j; ++l) v -= a[i][l] * a[j][l];
            a[i][j] = i == j ? std::sqrt(v) : v / a[j][j];
        }
        for (std::size_t l = 0; l < i; ++l) b[i] -= a[i][l] * b[l];
        b[i] /= a[i][i];
        sum += b[i] * b[i];
    }
    return sum;
}

// Backcasting gives the sum of squares of the unconditional method, w' V^-1 w with V the covariance for unit
// shocks (Box & Jenkins 1976, A7.4), up to the cut of the backcasts at 0.001 and the start of the backward
// pass, which a root of 0.6 has forgotten after 200 values.
TEST(ArimaResiduals, TheSumOfSquaresIsTheQuadraticFormOfTheDenseCovariance) {
    struct Case {
        ArimaOrders orders;
        std::vector<double> theta, ar, ma;  // ar, ma: the polynomials multiplied out, 1 - c1 B - ...
    };
    const Case cases[] = {
        {ar1, {0.6}, {0.6}, {}},
        {ma1, {0.6}, {}, {0.6}},
        {{1, 0, 1, 0, 0, 0, 0}, {0.5, -0.4}, {0.5}, {-0.4}},
        {{2, 0, 1, 0, 0, 0, 0}, {0.5, -0.3, 0.4}, {0.5, -0.3}, {0.4}},
        {{1, 0, 0, 1, 0, 0, 4}, {0.5, 0.4}, {0.5, 0, 0, 0.4, -0.2}, {}},
        {{0, 0, 1, 0, 0, 1, 4}, {0.5, 0.4}, {}, {0.5, 0, 0, 0.4, -0.2}},
    };
    double worst = 0.0;
    for (const Case& c : cases) {
        constexpr int n = 200, reach = 400;
        const std::vector<double> z = zolv_test::arma_series(n, 0, 0.3, -0.3, 7);
        std::vector<double> psi(reach, 0.0), gamma(n, 0.0);
        for (std::size_t i = 0; i < reach; ++i) {
            psi[i] = i == 0 ? 1.0 : (i <= c.ma.size() ? -c.ma[i - 1] : 0.0);
            for (std::size_t j = 1; j <= std::min(i, c.ar.size()); ++j) psi[i] += c.ar[j - 1] * psi[i - j];
        }
        for (std::size_t lag = 0; lag < n; ++lag) {
            for (std::size_t i = lag; i < reach; ++i) gamma[lag] += psi[i] * psi[i - lag];
        }
        std::vector<std::vector<double>> v(n, std::vector<double>(n));
        for (std::size_t i = 0; i < n; ++i) {
            for (std::size_t j = 0; j < n; ++j) v[i][j] = gamma[i > j ? i - j : j - i];
        }
        Prepared p(z, c.orders);
        ASSERT_TRUE(p.probe.FullPass(c.theta));
        const double dense = quadratic_form(v, z);
        worst = std::max(worst, std::fabs(p.probe.Squares() - dense) / dense);
    }
    std::printf("worst relative distance from the dense form: %.2g\n", worst);
    EXPECT_LT(worst, 1e-7);
}

}  // namespace
