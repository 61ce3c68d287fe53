// The Marquardt search and what stands around it: steps by hand, every way to end, published fits.
//
// Tables: reference/arima_fits_uls.csv and arima_fits_ml.csv (least squares over the dense covariance by
// SciPy, maximum likelihood by R; scripts beside them); Box & Jenkins (1976), table 7.13, and chapter 9 for
// the airline model.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "support/bits.hpp"
#include "support/reference_table.hpp"
#include "time_series/arima_codes.hpp"
#include "time_series/cm_cmnd_arima_probe.hpp"
#include "time_series/simulated.hpp"

namespace {

namespace code = zolv::time_series::code;
using vek::time_series::CmCmndArima;
using vek::time_series::CmCmndArimaProbe;
using zolv::time_series::ArimaOrders;
using zolv_test::load_series;

constexpr ArimaOrders ar1{1, 0, 0, 0, 0, 0, 0}, airline_orders{0, 1, 1, 0, 1, 1, 12};

std::vector<double> log_passengers() {
    std::vector<double> z = load_series("airline_passengers");
    for (double& v : z) v = std::log(v);
    return z;
}

CmCmndArima make(const std::vector<double>& z, const ArimaOrders& orders, bool constant = false,
                 const std::vector<double>* start = nullptr) {
    return {z.data(), static_cast<int>(z.size()), orders, constant, start};
}

// ---- one step ------------------------------------------------------------------------------------------

TEST(MarquardtStep, OneParameterByHand) {
    const std::vector<double> z = zolv_test::white_noise(50, 1);
    CmCmndArima model = make(z, ar1);
    CmCmndArimaProbe probe{model};
    ASSERT_EQ(probe.Prepare(), 0);
    const auto step = probe.MarquardtStep({0.25}, {{1.0}}, {0.5}, {8.0}, 0.25, 0.5, 77.0);
    const double solved = 1.0 / 1.25 * 0.5;
    EXPECT_TRUE(step.passed);
    EXPECT_SAME_BITS(step.delta[0], solved / 8.0 * 0.5);
    EXPECT_SAME_BITS(step.candidate[0], 0.25 + 1.0 * step.delta[0]);
    EXPECT_SAME_BITS(step.damping, 0.5);
    EXPECT_SAME_BITS(step.angle, 0.0);  // along the gradient: 1 - x is 0
    ASSERT_TRUE(probe.FullPass({step.candidate[0]}));
    EXPECT_SAME_BITS(step.sum, probe.Squares());
}

// A move of 0.15 is allowed; a longer one is cut to 0.15 and takes the damping along, while delta stays.
TEST(MarquardtStep, NoParameterMovesFurtherThanLimit) {
    const std::vector<double> z = zolv_test::white_noise(50, 1);
    CmCmndArima model = make(z, ar1);
    CmCmndArimaProbe probe{model};
    ASSERT_EQ(probe.Prepare(), 0);
    const auto at = probe.MarquardtStep({0.0}, {{1.0}}, {0.15}, {1.0}, 0.0, 1.0, 0.0);
    EXPECT_SAME_BITS(at.delta[0], 0.15);
    EXPECT_SAME_BITS(at.candidate[0], 0.15);
    EXPECT_SAME_BITS(at.damping, 1.0);
    const double above = std::nextafter(0.15, 1.0);
    EXPECT_SAME_BITS(probe.MarquardtStep({0.0}, {{1.0}}, {above}, {1.0}, 0.0, 1.0, 0.0).damping,
                     0.15 / above);
    const auto far = probe.MarquardtStep({0.1}, {{1.0}}, {-0.6}, {1.0}, 0.0, 0.95, 0.0);
    const double delta = -0.6 * 0.95, r = 0.15 / 0.57;
    EXPECT_SAME_BITS(far.delta[0], delta);
    EXPECT_SAME_BITS(far.candidate[0], 0.1 + (0.15 / -delta) * delta);
    EXPECT_NEAR(far.candidate[0], -0.05, 1e-15);
    EXPECT_NEAR(far.damping, 0.95 * r, 1e-15);
}

TEST(MarquardtStep, TheConstantMayMoveAsFarAsItLikes) {
    const std::vector<double> z = zolv_test::white_noise(50, 1);
    CmCmndArima model = make(z, ar1, true);
    CmCmndArimaProbe probe{model};
    ASSERT_EQ(probe.Prepare(), 0);
    const auto step =
        probe.MarquardtStep({0.1, 0.0}, {{1.0}, {0.0, 1.0}}, {0.125, 40.0}, {1.0, 1.0}, 0.0, 1.0, 0.0);
    EXPECT_SAME_BITS(step.candidate[0], 0.225);
    EXPECT_SAME_BITS(step.candidate[1], 40.0);
    EXPECT_SAME_BITS(step.damping, 1.0);
}

// Cosines by a diagonal matrix: solved = gradient / (1 + lambda) points along the gradient; the off-diagonal
// element turns it.
TEST(MarquardtStep, TheAngleIsThatOfAbramowitzAndStegun) {
    const std::vector<double> z = zolv_test::white_noise(50, 1);
    CmCmndArima model = make(z, {2, 0, 0, 0, 0, 0, 0});
    CmCmndArimaProbe probe{model};
    ASSERT_EQ(probe.Prepare(), 0);
    // Inverse of {{1, r}, {r, 1}} times (1, 0): (1, -r) / (1 - r^2), at an angle whose cosine is
    // 1 / sqrt(1 + r^2).
    for (const double r : {0.25, 0.5, 0.9375}) {
        const auto step =
            probe.MarquardtStep({0.1, 0.1}, {{1.0}, {r, 1.0}}, {0.001, 0.0}, {1.0, 1.0}, 0.0, 1.0, 0.0);
        const double truth = std::acos(1 / std::sqrt(1 + r * r)) * 180 / std::acos(-1.0);
        EXPECT_NEAR(step.angle, truth, 0.005) << r;  // the published error is 6.7e-5 radians
    }
    // A gradient of zeros has no direction: cosine 0.
    const auto none =
        probe.MarquardtStep({0.1, 0.1}, {{1.0}, {0.0, 1.0}}, {0.0, 0.0}, {1.0, 1.0}, 0.0, 1.0, 7.0);
    EXPECT_SAME_BITS(none.angle, 1.5707288 * 57.2958);
}

// Beyond a right angle the printed 3.141596 is what the angle is taken from.
TEST(MarquardtStep, ObtuseAnglesAreTakenFrom3141596) {
    const std::vector<double> z = zolv_test::white_noise(50, 1);
    CmCmndArima model = make(z, ar1);
    CmCmndArimaProbe probe{model};
    ASSERT_EQ(probe.Prepare(), 0);
    // lambda + 1 = -1 turns the step round: cosine -1 exactly.
    const auto step = probe.MarquardtStep({0.1}, {{1.0}}, {0.5}, {8.0}, -2.0, 0.5, 0.0);
    EXPECT_SAME_BITS(step.angle, 3.141596 * 57.2958);
}

TEST(MarquardtStep, ASingularMatrixCostsALotAndLeavesTheRest) {
    const std::vector<double> z = zolv_test::white_noise(50, 1);
    CmCmndArima model = make(z, {2, 0, 0, 0, 0, 0, 0});
    CmCmndArimaProbe probe{model};
    ASSERT_EQ(probe.Prepare(), 0);
    const auto step =
        probe.MarquardtStep({0.1, 0.1}, {{1.0}, {1.0, 1.0}}, {1.0, 1.0}, {1.0, 1.0}, 0.0, 0.75, 33.0);
    EXPECT_TRUE(step.passed);
    EXPECT_SAME_BITS(step.sum, 1e35);
    EXPECT_SAME_BITS(step.damping, 0.75);
    EXPECT_SAME_BITS(step.angle, 33.0);
}

TEST(MarquardtStep, AnOverflowAtTheCandidateIsTold) {
    std::vector<double> z(50, 1.0);
    z[20] = 1e18;
    CmCmndArima model = make(z, ar1);
    CmCmndArimaProbe probe{model};
    ASSERT_EQ(probe.Prepare(), 0);
    EXPECT_FALSE(probe.MarquardtStep({1.0}, {{1.0}}, {0.125}, {1.0}, 0.0, 1.0, 0.0).passed);
}

// ---- derivatives that vanish ---------------------------------------------------------------------------

TEST(NormalEquations, AStepOfZeroIsAFailure) {
    const std::vector<double> z = zolv_test::white_noise(50, 1);
    CmCmndArima model = make(z, ar1);
    CmCmndArimaProbe probe{model};
    ASSERT_EQ(probe.Prepare(), 0);
    ASSERT_TRUE(probe.FullPass({0.1}));
    EXPECT_EQ(probe.FormNormalEquations({0.1}, {0.0}), code::singular_covariance);
    // |x| <= 1e-12 |x| + 1e-30: half of 1e-30 is the last step that counts as zero, near enough.
    EXPECT_EQ(probe.FormNormalEquations({0.1}, {0.5e-30}), code::singular_covariance);
    EXPECT_NE(probe.FormNormalEquations({0.1}, {0.51e-30}), code::singular_covariance);
}

TEST(FinalMatrix, AParameterOfZeroStopsTheInverse) {
    const std::vector<double> z = zolv_test::white_noise(60, 1);
    CmCmndArima model = make(z, {2, 0, 0, 0, 0, 0, 0});
    CmCmndArimaProbe probe{model};
    ASSERT_EQ(probe.Prepare(), 0);
    ASSERT_TRUE(probe.FullPass({0.3, 0.2}));
    EXPECT_EQ(probe.CovarianceRank({0.3, 0.2}), 1);
    EXPECT_EQ(probe.CovarianceRank({0.3, 0.0}), 0);
    EXPECT_EQ(probe.CovarianceRank({0.0, 0.0}), -1);
}

// For an AR(1) the residuals are linear in phi, so the matrix is the sum of squares of the lagged values.
TEST(FinalMatrix, IsTheCrossProductOfTheDerivatives) {
    const std::vector<double> z = zolv_test::arma_series(80, 0, 0.6, 0, 2);
    CmCmndArima model = make(z, ar1);
    CmCmndArimaProbe probe{model};
    ASSERT_EQ(probe.Prepare(), 0);
    ASSERT_TRUE(probe.FullPass({0.6}));
    ASSERT_EQ(probe.CovarianceRank({0.6}), 0);
    double sum = 0.0;
    for (int t = 99; t < 179; ++t) sum += probe.W(t) * probe.W(t);
    EXPECT_TRUE(zolv_test::within_relative(model.InverseMatrix(0, 0), 1.0 / sum, 1e-12));
}

// Values near the bound: 5 % to one side of phi the recursion exceeds it.
TEST(FinalMatrix, AnOverflowOnEitherSideIsTold) {
    std::vector<double> z(30, 1.0);
    z[10] = 9.6e17;
    CmCmndArima upper = make(z, ar1);
    CmCmndArimaProbe upper_probe{upper};
    ASSERT_EQ(upper_probe.Prepare(), 0);
    ASSERT_TRUE(upper_probe.FullPass({1.0}));
    EXPECT_EQ(upper_probe.CovarianceRank({1.0}), -2);
    z[10] = 1e18;
    z[11] = 1.5e18;
    z[12] = 1e18;
    CmCmndArima lower = make(z, ar1);
    CmCmndArimaProbe lower_probe{lower};
    ASSERT_EQ(lower_probe.Prepare(), 0);
    ASSERT_TRUE(lower_probe.FullPass({0.52}));
    EXPECT_EQ(lower_probe.CovarianceRank({0.52}), -2);
}

// ---- the airline model ---------------------------------------------------------------------------------

TEST(Estimation, AirlineModelOnTheLogarithms) {
    const std::vector<double> z = log_passengers();
    CmCmndArima model = make(z, airline_orders);
    model.RecordHistory(true);
    EXPECT_EQ(model.Estimate(), code::converged);
    EXPECT_NEAR(model.Theta(0), 0.396, 0.0005);
    EXPECT_NEAR(model.Theta(1), 0.614, 0.0005);
    EXPECT_NEAR(model.GetSigmaSquared(), 0.00133, 0.000005);
    EXPECT_EQ(model.History().size(), 8u);  // the start and 7 iterations
    EXPECT_EQ(model.GetMaxResidualCount(), 131);
    EXPECT_EQ(model.GetEstimatedParameter(), (std::vector<double>{model.Theta(0), model.Theta(1)}));
    EXPECT_SAME_BITS(model.GetSigmaSquared(), model.SumOfSquares() / 129);
    // Published standard errors: 0.08 and 0.07, from the large-sample formula.
    EXPECT_NEAR(std::sqrt(model.InverseMatrix(0, 0) * model.GetSigmaSquared()), 0.08, 0.006);
    EXPECT_NEAR(std::sqrt(model.InverseMatrix(1, 1) * model.GetSigmaSquared()), 0.07, 0.006);
}

TEST(Estimation, HistoryHoldsTheStartAndEachAcceptedStep) {
    const std::vector<double> z = log_passengers();
    for (const bool constant : {false, true}) {
        CmCmndArima model = make(z, airline_orders, constant);
        model.RecordHistory(true);
        ASSERT_LT(model.Estimate(), 30000);
        const auto& history = model.History();
        const std::size_t k = constant ? 3 : 2;
        for (std::size_t i = 0; i < history.size(); ++i) {
            ASSERT_EQ(history[i].size(), k + 1);
            if (i > 0) {
                EXPECT_LE(history[i][0], history[i - 1][0]);
            }
        }
        EXPECT_SAME_BITS(history[0][1], 0.1);
        EXPECT_SAME_BITS(history[0][2], 0.1);
        // A constant of 0 starts as 1e-4, which is too small and becomes 0.1: deviation from the mean.
        if (constant) {
            EXPECT_SAME_BITS(history[0][3], 0.1 + model.Mean());
        }
        const std::vector<double> estimate = model.GetEstimatedParameter();
        for (std::size_t i = 0; i < k; ++i) EXPECT_SAME_BITS(history.back()[i + 1], estimate[i]);
        EXPECT_SAME_BITS(estimate.back(), constant ? model.Constant() : model.Theta(1));
    }
    CmCmndArima silent = make(z, airline_orders);
    silent.Estimate();
    EXPECT_TRUE(silent.History().empty());
}

TEST(Estimation, RecordingChangesNothing) {
    const std::vector<double> z = log_passengers();
    CmCmndArima with = make(z, airline_orders, true), without = make(z, airline_orders, true);
    with.RecordHistory(true);
    EXPECT_EQ(with.Estimate(), without.Estimate());
    for (int i = 0; i < 3; ++i) EXPECT_SAME_BITS(with.Theta(i), without.Theta(i));
    EXPECT_SAME_BITS(with.GetSigmaSquared(), without.GetSigmaSquared());
}

TEST(Estimation, EightThreadsGetTheSameBits) {
    const std::vector<double> z = log_passengers();
    CmCmndArima alone = make(z, airline_orders, true);
    alone.Estimate();
    std::vector<std::vector<double>> estimates(8);
    std::vector<std::thread> threads;
    for (auto& estimate : estimates) {
        threads.emplace_back([&z, &estimate] {
            for (int repeat = 0; repeat < 3; ++repeat) {
                CmCmndArima model = make(z, airline_orders, true);
                model.Estimate();
                estimate = model.GetEstimatedParameter();
                estimate.push_back(model.GetSigmaSquared());
            }
        });
    }
    for (auto& thread : threads) thread.join();
    std::vector<double> wanted = alone.GetEstimatedParameter();
    wanted.push_back(alone.GetSigmaSquared());
    for (const auto& estimate : estimates) {
        ASSERT_EQ(estimate.size(), wanted.size());
        for (std::size_t i = 0; i < wanted.size(); ++i) EXPECT_SAME_BITS(estimate[i], wanted[i]);
    }
}

// ---- start values --------------------------------------------------------------------------------------

TEST(Estimation, StartsBelowFiveThousandthsBecomeATenth) {
    const std::vector<double> z = zolv_test::arma_series(100, 0, 0.4, 0, 3);
    const auto first = [&z](double start) {
        const std::vector<double> starts = {start};
        CmCmndArima model = make(z, ar1, false, &starts);
        model.RecordHistory(true);
        EXPECT_LT(model.Estimate(), 30000);
        return model.History().at(0).at(1);
    };
    EXPECT_SAME_BITS(first(0.001), 0.1);
    EXPECT_SAME_BITS(first(-0.001), 0.1);
    EXPECT_SAME_BITS(first(0.0), 0.1);
    EXPECT_SAME_BITS(first(std::nextafter(0.005, 0.0)), 0.1);
    EXPECT_SAME_BITS(first(0.005), 0.005);
    EXPECT_SAME_BITS(first(-0.005), -0.005);
}

TEST(Estimation, GoodStartsTakeFewerStepsToTheSameEnd) {
    const std::vector<double> z = log_passengers();
    const std::vector<double> start = {0.39, 0.61};
    CmCmndArima near = make(z, airline_orders, false, &start), far = make(z, airline_orders);
    near.RecordHistory(true);
    far.RecordHistory(true);
    EXPECT_EQ(near.Estimate(), code::converged);
    EXPECT_EQ(far.Estimate(), code::converged);
    EXPECT_LT(near.History().size(), far.History().size());
    EXPECT_NEAR(near.Theta(0), far.Theta(0), 0.001);
    EXPECT_NEAR(near.Theta(1), far.Theta(1), 0.001);
}

// ---- ways to end ---------------------------------------------------------------------------------------

// Doubling values from 2^-91 to 2^-32 are an AR(1) with phi = 2 to the last bit.
TEST(Estimation, AnExactFitEndsAtOnce) {
    std::vector<double> z;
    for (int i = 0; i < 60; ++i) z.push_back(std::ldexp(1.0, i - 91));
    const std::vector<double> start = {1.95};
    CmCmndArima model = make(z, ar1, false, &start);
    model.RecordHistory(true);
    EXPECT_EQ(model.Estimate(), code::done);
    EXPECT_LT(model.History().back()[0], 1e-30);
    EXPECT_NEAR(model.Theta(0), 2.0, 1e-5);
    EXPECT_GT(model.GetSigmaSquared(), 0.0);
}

// The same series a little larger: the fit is linear in phi, so the last sum grows by the square of the
// factor and crosses 1e-30.
TEST(Estimation, AnExactFitIsBelow1eMinus30) {
    const auto fitted = [](double factor, double& last) {
        std::vector<double> z;
        for (int i = 0; i < 60; ++i) z.push_back(factor * std::ldexp(1.0, i - 91));
        const std::vector<double> start = {1.95};
        CmCmndArima model = make(z, ar1, false, &start);
        model.RecordHistory(true);
        const int result = model.Estimate();
        last = model.History().back()[0];
        return result;
    };
    double below = 0, above = 0;
    EXPECT_EQ(fitted(1.1655, below), code::done);
    EXPECT_EQ(fitted(1.1660, above), code::converged);
    EXPECT_LT(below, 1e-30);
    EXPECT_GT(below, 0.998e-30);
    EXPECT_GE(above, 1e-30);
    EXPECT_LT(above, 1.002e-30);
}

TEST(Estimation, TwentyFiveIterationsAreTheMost) {
    const std::vector<double> z = load_series("airline_passengers");
    CmCmndArima model = make(z, {1, 1, 1, 1, 1, 1, 12}, true);
    model.RecordHistory(true);
    EXPECT_EQ(model.Estimate(), code::iterations_used);
    EXPECT_EQ(model.History().size(), 26u);
    EXPECT_GT(model.GetSigmaSquared(), 0.0);  // the statistics are there all the same
    EXPECT_GT(model.InverseMatrix(0, 0), 0.0);
    EXPECT_SAME_BITS(model.History().back().back(), model.Constant());
}

TEST(Estimation, SixteenTriesWithoutASmallerSum) {
    const std::vector<double> z = load_series("co2_mauna_loa");
    CmCmndArima model = make(z, {1, 1, 1, 0, 1, 1, 12});
    EXPECT_EQ(model.Estimate(), code::no_better_step);
    EXPECT_GT(model.GetSigmaSquared(), 0.0);
    EXPECT_GT(model.InverseMatrix(2, 2), 0.0);
}

TEST(Estimation, DerivativesTooSmallToScaleEndTheSearch) {
    std::vector<double> z = load_series("nile");
    for (double& v : z) v = std::ldexp(v, -50);
    CmCmndArima model = make(z, ar1);
    model.RecordHistory(true);
    EXPECT_EQ(model.Estimate(), code::no_better_step);
    EXPECT_EQ(model.History().size(), 1u);
    EXPECT_SAME_BITS(model.Theta(0), 0.1 + 0.02 * 0.1 - 2 * (0.02 * 0.1) + 0.02 * 0.1);  // walked, not moved
}

TEST(Estimation, ExplosiveStartsOverflow) {
    const std::vector<double> z = load_series("sunspot_year");
    const std::vector<double> start = {9.0};
    EXPECT_EQ(make(z, ar1, false, &start).Estimate(), code::recursion_overflow);
    const std::vector<double> moving = {-9.0};
    EXPECT_EQ(make(z, {0, 0, 1, 0, 0, 0, 0}, false, &moving).Estimate(), code::recursion_overflow);
}

TEST(Estimation, ASeriesOfZerosHasNoInverse) {
    const std::vector<double> z(40, 0.0);
    CmCmndArima plain = make(z, ar1);
    plain.RecordHistory(true);
    EXPECT_EQ(plain.Estimate(), code::singular_covariance);
    EXPECT_EQ(plain.History().size(), 1u);
    EXPECT_EQ(make(z, ar1, true).Estimate(), code::singular_covariance);
    const std::vector<double> level(40, 123.0);
    EXPECT_EQ(make(level, ar1, true).Estimate(), code::singular_covariance);
}

TEST(Estimation, ValuesThatAreNoNumbersEndWithACode) {
    const double nan = std::numeric_limits<double>::quiet_NaN(),
                 inf = std::numeric_limits<double>::infinity();
    for (const double bad : {nan, inf, -inf, 1e300, -1e300, 1.1e18}) {
        for (const std::size_t at : {std::size_t{0}, std::size_t{20}, std::size_t{59}}) {
            std::vector<double> z = zolv_test::arma_series(60, 5, 0.5, 0.2, 4);
            z[at] = bad;
            for (const bool constant : {false, true}) {
                for (const ArimaOrders& orders : {ar1, ArimaOrders{1, 1, 1, 1, 1, 1, 4}}) {
                    CmCmndArima model = make(z, orders, constant);
                    EXPECT_GE(model.Estimate(), 30000) << bad << " at " << at;
                }
            }
        }
    }
    const std::vector<double> z = zolv_test::arma_series(60, 5, 0.5, 0.2, 4);
    for (const double bad : {nan, inf, -inf, 1e300}) {
        const std::vector<double> start = {bad, 0.1, 5.0}, constant = {0.1, 0.1, bad};
        EXPECT_GE(make(z, {1, 0, 1, 0, 0, 0, 0}, false, &start).Estimate(), 30000) << bad;
        EXPECT_GE(make(z, {1, 0, 1, 0, 0, 0, 0}, true, &start).Estimate(), 30000) << bad;
        EXPECT_GE(make(z, {1, 0, 1, 0, 0, 0, 0}, true, &constant).Estimate(), 30000) << bad;
    }
}

TEST(Estimation, TheLongestLagOfAllUsesNoBackcasts) {
    std::vector<double> z = load_series("us_real_gdp");
    for (double& v : z) v = std::log(v);
    CmCmndArima model = make(z, {0, 1, 0, 0, 0, 5, 20});
    ASSERT_LT(model.Estimate(), 30000);
    EXPECT_EQ(model.GetMaxBackcastCount(), 0);
}

// ---- published fits ------------------------------------------------------------------------------------

// Box & Jenkins (1976), table 7.13: estimates as printed there, two decimals, and residual variances.
TEST(Estimation, SeriesAToFOfBoxAndJenkins) {
    struct Published {
        const char* series;
        ArimaOrders orders;
        bool constant;
        std::vector<double> estimates;  // fit order; a constant is left out
        double within;                  // of each estimate
        double variance;
    };
    const Published table[] = {
        {"bj_series_a", {1, 0, 1, 0, 0, 0, 0}, true, {0.92, 0.58}, 0.02, 0.097},
        {"bj_series_a", {0, 1, 1, 0, 0, 0, 0}, false, {0.70}, 0.01, 0.101},
        {"bj_series_b", {0, 1, 1, 0, 0, 0, 0}, false, {-0.09}, 0.01, 52.2},
        {"bj_series_c", {1, 1, 0, 0, 0, 0, 0}, false, {0.82}, 0.01, 0.018},
        {"bj_series_c", {0, 2, 2, 0, 0, 0, 0}, false, {0.13, 0.12}, 0.01, 0.019},
        {"bj_series_d", {1, 0, 0, 0, 0, 0, 0}, true, {0.87}, 0.01, 0.090},
        {"bj_series_d", {0, 1, 1, 0, 0, 0, 0}, false, {0.06}, 0.01, 0.096},
        {"bj_series_e", {2, 0, 0, 0, 0, 0, 0}, true, {1.42, -0.73}, 0.02, 228.0},
        {"bj_series_e", {3, 0, 0, 0, 0, 0, 0}, true, {1.57, -1.02, 0.21}, 0.02, 218.0},
        {"bj_series_f", {2, 0, 0, 0, 0, 0, 0}, true, {-0.34, 0.19}, 0.01, 113.0},
    };
    for (const Published& row : table) {
        const std::vector<double> z = load_series(row.series);
        CmCmndArima model = make(z, row.orders, row.constant);
        ASSERT_LT(model.Estimate(), 30000) << row.series;
        for (std::size_t i = 0; i < row.estimates.size(); ++i) {
            EXPECT_NEAR(model.Theta(static_cast<int>(i)), row.estimates[i], row.within)
                << row.series << " " << i;
        }
        const double variance = model.SumOfSquares() / model.DifferencedCount();
        EXPECT_NEAR(variance, row.variance, 0.035 * row.variance) << row.series;
    }
}

// A row of one of the fit tables, fitted.
struct FittedRow {
    std::string name;
    std::vector<double> z;
    std::vector<double> theta;  // the table's, the process mean last where there is one
    bool constant = false, seasonal = false;
    CmCmndArima model;
    int code = model.Estimate();

    FittedRow(const zolv_test::reference_table& table, std::size_t row)
        : name(table.text(row, "series") + " " + table.text(row, "orders")),
          z(transformed(table, row)),
          theta(numbers(table.text(row, "theta"))),
          constant(table.number(row, "constant") != 0.0),
          seasonal(orders(table, row).S != 0),
          model(z.data(), static_cast<int>(z.size()), orders(table, row), constant, nullptr) {}

    double Estimate(std::size_t i) const {
        const double value = model.Theta(static_cast<int>(i));
        return constant && i + 1 == theta.size() ? value + model.Mean() : value;
    }
    double Error(std::size_t i) const {
        const int I = static_cast<int>(i);
        return std::sqrt(model.InverseMatrix(I, I) * model.GetSigmaSquared());
    }

    static std::vector<double> numbers(const std::string& cell) {
        std::vector<double> values;
        std::istringstream stream(cell);
        for (double v = 0; stream >> v;) values.push_back(v);
        return values;
    }
    static ArimaOrders orders(const zolv_test::reference_table& table, std::size_t row) {
        const std::vector<double> o = numbers(table.text(row, "orders"));
        const auto order = [&o](std::size_t i) { return static_cast<int>(o[i]); };
        return {order(0), order(1), order(2), order(3), order(4), order(5), order(6)};
    }
    static std::vector<double> transformed(const zolv_test::reference_table& table, std::size_t row) {
        std::vector<double> values = load_series(table.text(row, "series"));
        for (double& v : values) {
            if (table.text(row, "transform") == "log") v = std::log(v);
            if (table.text(row, "transform") == "sqrt") v = std::sqrt(v);
        }
        return values;
    }
};

// The minimum that the search is after, found without backcasts, and the sum of squares there. What is left
// is where the search stops: at a step of a thousandth of the parameter.
TEST(Estimation, FindsTheMinimumOfTheUnconditionalSumOfSquares) {
    const zolv_test::reference_table table("arima_fits_uls");
    ASSERT_GE(table.size(), 12u);
    for (std::size_t row = 0; row < table.size(); ++row) {
        FittedRow fit(table, row);
        ASSERT_LT(fit.code, 30000) << fit.name;
        double worst = 0.0;
        for (std::size_t i = 0; i < fit.theta.size(); ++i) {
            worst = std::max(worst, std::fabs(fit.Estimate(i) - fit.theta[i]) / fit.Error(i));
        }
        CmCmndArimaProbe probe{fit.model};
        const double squares = probe.Squares() / table.number(row, "squares") - 1;
        std::printf("%-40s %.4f of a standard error, sum of squares %+.1e\n", fit.name.c_str(), worst,
                    squares);
        EXPECT_LT(worst, 0.05) << fit.name;
        EXPECT_LT(std::fabs(squares), 1e-3) << fit.name;
    }
}

// Least squares and maximum likelihood part by the determinant of the covariance: little without seasonal
// terms, a standard error or so with a seasonal moving average on a short series.
TEST(Estimation, IsNearMaximumLikelihood) {
    const zolv_test::reference_table table("arima_fits_ml");
    ASSERT_GE(table.size(), 12u);
    for (std::size_t row = 0; row < table.size(); ++row) {
        FittedRow fit(table, row);
        ASSERT_LT(fit.code, 30000) << fit.name;
        const std::vector<double> se = FittedRow::numbers(table.text(row, "se"));
        ASSERT_EQ(se.size(), static_cast<std::size_t>(fit.model.ParameterCount()));
        double worst = 0.0, error = 0.0;
        for (std::size_t i = 0; i < se.size(); ++i) {
            worst = std::max(worst, std::fabs(fit.Estimate(i) - fit.theta[i]) / se[i]);
            error = std::max(error, std::fabs(std::log(fit.Error(i) / se[i])));
        }
        const double variance =
            fit.model.SumOfSquares() / fit.model.DifferencedCount() / table.number(row, "sigma2") - 1;
        std::printf("%-40s %.3f of a standard error; errors differ by e^%.3f, variances by %+.3f\n",
                    fit.name.c_str(), worst, error, variance);
        EXPECT_LT(worst, fit.seasonal ? 1.5 : 0.25) << fit.name;
        EXPECT_LT(error, fit.seasonal ? 0.5 : 0.35) << fit.name;
        EXPECT_LT(std::fabs(variance), fit.seasonal ? 0.3 : 0.03) << fit.name;
    }
}

}  // namespace
