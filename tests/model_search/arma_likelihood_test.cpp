// tests/model_search/arma_likelihood_test.cpp: the exact likelihood and its steps.
#include "model_search/arma_likelihood.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>
#include <thread>

#include "support/bits.hpp"
#include "support/series.hpp"
#include "zolv.h"

namespace {

using namespace zolv::time_series;
using zolv_test::generated_series;
using zolv_test::within_relative;

constexpr double log_two_pi = 1.8378770664093456;
constexpr double infinity = std::numeric_limits<double>::infinity();

struct orders {
    int p = 0, d = 0, q = 0, P = 0, D = 0, Q = 0, s = 0;
};

zolv_ArimaModel model_of(const orders& o, std::vector<double>& parameters, double* constant = nullptr) {
    zolv_ArimaModel model;
    model.ArOrder = o.p;
    model.Differencing = o.d;
    model.MaOrder = o.q;
    model.SeasonalArOrder = o.P;
    model.SeasonalDifferencing = o.D;
    model.SeasonalMaOrder = o.Q;
    model.SeasonalPeriod = o.s;
    model.Reserved = 0;
    model.Constant = constant;
    model.Parameters = parameters.data();
    model.Reserved2 = 0;
    return model;
}

double log_likelihood(const std::vector<double>& series, const orders& o, std::vector<double> parameters,
                      bool constant = false) {
    double unread = std::numeric_limits<double>::quiet_NaN();
    const zolv_ArimaModel model = model_of(o, parameters, constant ? &unread : nullptr);
    return zolv_ArimaLogLikelihood(series.data(), static_cast<int>(series.size()), &model);
}

orders orders_of(const zolv_test::reference_table& table, std::size_t row) {
    const auto whole = [&](const char* column) { return static_cast<int>(table.number(row, column)); };
    return {whole("p"), whole("d"), whole("q"), whole("P"), whole("D"), whole("Q"), whole("s")};
}

// The recursion row by row, theta packed by rows: what the library's form is judged by.
double plain_deviance(const std::vector<double>& w, const std::vector<double>& ar,
                      const std::vector<double>& ma, double sigma2) {
    const int n = static_cast<int>(w.size());
    const int pa = static_cast<int>(ar.size());
    const int m = std::max(pa, static_cast<int>(ma.size()));
    const std::vector<double> kappa = ArmaInnovationCovariance(ar, ma, n);
    if (kappa.empty()) return zolv_GetMissingValue();
    const auto K = [&](int i, int j) { return kappa[std::size_t(i) * (i + 1) / 2 + j]; };
    std::vector<double> theta(std::size_t(n) * (n - 1) / 2);
    const auto T = [&](int i, int j) -> double& { return theta[std::size_t(i) * (i - 1) / 2 + j]; };
    const double k0 = K(0, 0);
    std::vector<double> r(n, k0), e(w);
    double P = k0, S = w[0] * w[0] / k0;
    const int M = std::max(1, std::min(m, n));
    for (int i = 1; i < n; ++i) {
        double B = 0.0;
        if (i >= M) {
            for (int k = 1; k <= pa; ++k) B += ar[k - 1] * w[i - k];
        }
        T(i, 0) = K(i, 0) / k0;
        double A = e[0] * T(i, 0);
        double V = (T(i, 0) * T(i, 0)) * k0;
        for (int j = 1; j <= i - 1; ++j) {
            double sum = 0.0;
            for (int k = 0; k < j; ++k) sum += (T(j, k) * T(i, k)) * r[k];
            T(i, j) = (K(i, j) - sum) / r[j];
            A = A + T(i, j) * e[j];
            V = V + (T(i, j) * T(i, j)) * r[j];
        }
        e[i] = i < M ? w[i] - A : w[i] - (B + A);
        r[i] = K(i, i) - V;
        P = P * r[i];
        S = S + (e[i] * e[i]) / r[i];
    }
    const double result = n * (std::log(sigma2) + log_two_pi) + std::log(P) + S / sigma2;
    return std::isnan(result) ? zolv_GetMissingValue() : result;
}

// ---- against the truth and a peer --------------------------------------------------------------------

TEST(ArmaLikelihood, DenseGaussianCovariance) {
    const zolv_test::reference_table table("arma_likelihood_dense");
    ASSERT_GE(table.size(), 30u);
    double worst = 0.0;
    for (std::size_t row = 0; row < table.size(); ++row) {
        std::vector<double> series = zolv_test::load_series(table.text(row, "series"));
        series.resize(static_cast<std::size_t>(table.number(row, "count")));
        for (double& value : series) value -= table.number(row, "shift");
        const double got = log_likelihood(series, orders_of(table, row),
                                          zolv_test::number_list(table.text(row, "parameters")),
                                          table.number(row, "constant") != 0.0);
        const double want = table.number(row, "log_likelihood");
        EXPECT_TRUE(within_relative(got, want, 1e-12)) << "row " << row << " " << table.text(row, "series");
        worst = std::max(worst, std::abs(got - want) / std::abs(want));
    }
    std::printf("dense covariance: worst relative error %.3g over %zu models\n", worst, table.size());
}

TEST(ArmaLikelihood, PeerWithFixedCoefficients) {
    const zolv_test::reference_table table("arma_likelihood_r");
    double worst = 0.0;
    for (std::size_t row = 0; row < table.size(); ++row) {
        std::vector<double> series = zolv_test::load_series(table.text(row, "series"));
        for (double& value : series) value -= table.number(row, "shift");
        orders o;
        o.p = static_cast<int>(table.number(row, "p"));
        o.q = static_cast<int>(table.number(row, "q"));
        o.P = static_cast<int>(table.number(row, "P"));
        o.Q = static_cast<int>(table.number(row, "Q"));
        o.s = static_cast<int>(table.number(row, "s"));
        std::vector<double> parameters = zolv_test::number_list(table.text(row, "coefficients"));
        parameters.push_back(table.number(row, "sigma2"));
        const double got = log_likelihood(series, o, parameters);
        const double want = table.number(row, "log_likelihood");
        EXPECT_TRUE(within_relative(got, want, 1e-10)) << "row " << row << " " << table.text(row, "series");
        worst = std::max(worst, std::abs(got - want) / std::abs(want));
    }
    std::printf("peer: worst relative difference %.3g over %zu models\n", worst, table.size());
}

// ---- exact bits ------------------------------------------------------------------------------------------

TEST(ArmaLikelihood, BitsOfAnIndependentTranscription) {
    const zolv_test::reference_table table("arima_reports_bits_likelihood");
    ASSERT_GE(table.size(), 25u);
    for (std::size_t row = 0; row < table.size(); ++row) {
        const std::vector<double> series = zolv_test::named_series(table.text(row, "series"));
        const orders o = orders_of(table, row);
        const std::vector<double> v = zolv_test::number_list(table.text(row, "parameters"));
        const bool constant = table.number(row, "constant") != 0.0;
        const auto part = [&](int first, int count) {
            return std::span(v.data() + first, std::size_t(count));
        };
        const double deviance = ArmaDeviance(
            DifferenceSeries(series.data(), static_cast<int>(series.size()), o.d, o.D, o.s, constant),
            ExpandSeasonalPolynomial(part(0, o.p), part(o.p + o.q, o.P), o.s),
            ExpandSeasonalPolynomial(part(o.p, o.q), part(o.p + o.q + o.P, o.Q), o.s),
            v[o.p + o.q + o.P + o.Q]);
        const double value = log_likelihood(series, o, v, constant);
        if (table.number(row, "exact") != 0.0) {
            EXPECT_SAME_BITS(deviance, table.number(row, "deviance")) << "row " << row;
            EXPECT_SAME_BITS(value, table.number(row, "log_likelihood")) << "row " << row;
        } else {
            EXPECT_TRUE(within_relative(deviance, table.number(row, "deviance"), 1e-12)) << "row " << row;
            EXPECT_TRUE(within_relative(value, table.number(row, "log_likelihood"), 1e-12)) << "row " << row;
        }
    }
}

TEST(ArmaLikelihood, BlockFormHasTheBitsOfTheRowForm) {
    std::mt19937_64 random(7);
    std::uniform_real_distribution<double> coefficient(-0.6, 0.6);
    for (int trial = 0; trial < 400; ++trial) {
        const std::size_t n = 1 + random() % 90;
        std::vector<double> ar(random() % 7), ma(random() % 9);
        for (double& a : ar) a = coefficient(random);
        for (double& b : ma) b = 2.0 * coefficient(random);
        if (trial % 50 == 0) {  // beyond the range of the determinant, not invertible
            ar.assign(1, 0.5);
            ma.assign(2, 40.0);
        }
        const std::vector<double> w = generated_series(random(), n);
        const double sigma2 = trial % 5 == 4 ? 1.0 : 5.0;
        EXPECT_SAME_BITS(ArmaDeviance(w, ar, ma, sigma2), plain_deviance(w, ar, ma, sigma2))
            << "n " << n << " pa " << ar.size() << " qa " << ma.size();
    }
    const std::vector<double> ar{0.4, 0.0, 0.0, 0.3, -0.12}, ma{0.3, 0.2};
    for (std::size_t n = 1; n <= 75; ++n) {  // every remainder of a block, some of them short of the raw part
        const std::vector<double> w = generated_series(n, n);
        EXPECT_SAME_BITS(ArmaDeviance(w, ar, ma, 5.0), plain_deviance(w, ar, ma, 5.0)) << "n " << n;
        EXPECT_SAME_BITS(ArmaDeviance(w, ma, ar, 5.0), plain_deviance(w, ma, ar, 5.0)) << "n " << n;
    }
    for (const std::size_t n : {255u, 256u, 257u, 600u}) {
        const std::vector<double> w = generated_series(5, n);
        EXPECT_SAME_BITS(ArmaDeviance(w, ar, ma, 5.0), plain_deviance(w, ar, ma, 5.0)) << "n " << n;
    }
}

TEST(ArmaLikelihood, SameBitsFromManyThreads) {
    const std::vector<double> series = generated_series(3, 120);
    const orders o{1, 1, 1, 1, 0, 1, 4};
    const std::vector<double> parameters{0.5, 0.3, 0.2, 0.4, 6.0};
    const double alone = log_likelihood(series, o, parameters, true);
    std::vector<double> results(8);
    std::vector<std::thread> threads;
    for (double& result : results) {
        threads.emplace_back([&] { result = log_likelihood(series, o, parameters, true); });
    }
    for (std::thread& thread : threads) thread.join();
    for (const double result : results) EXPECT_SAME_BITS(result, alone);
}

// ---- the steps -------------------------------------------------------------------------------------------

TEST(DifferenceSeries, SeasonalPassesFirst) {
    const std::vector<double> x{1, 4, 9, 16, 25, 36, 49, 64};
    const auto difference = [&](int d, int D, int s) {
        return DifferenceSeries(x.data(), static_cast<int>(x.size()), d, D, s, false);
    };
    EXPECT_EQ(difference(0, 0, 0), x);
    EXPECT_EQ(difference(1, 0, 0), (std::vector<double>{3, 5, 7, 9, 11, 13, 15}));
    EXPECT_EQ(difference(2, 0, 0), (std::vector<double>{2, 2, 2, 2, 2, 2}));
    EXPECT_EQ(difference(0, 1, 3), (std::vector<double>{15, 21, 27, 33, 39}));
    EXPECT_EQ(difference(1, 1, 3), (std::vector<double>{6, 6, 6, 6}));
    EXPECT_EQ(difference(0, 2, 3), (std::vector<double>{18, 18}));
    EXPECT_EQ(difference(0, 2, 0), (std::vector<double>(8, 0.0)));  // 1 - B^0 leaves zeros

    // The order shows in the last bits.
    const std::vector<double> y{0.1, 0.7, 1e16, 3.3, -0.2};
    const std::vector<double> got = DifferenceSeries(y.data(), 5, 1, 1, 2, false);
    ASSERT_EQ(got.size(), 2u);
    EXPECT_SAME_BITS(got[0], (y[3] - y[1]) - (y[2] - y[0]));
    EXPECT_SAME_BITS(got[1], (y[4] - y[2]) - (y[3] - y[1]));
}

TEST(DifferenceSeries, EmptyWhenNothingRemains) {
    const std::vector<double> x{1, 2, 3, 4, 5};
    EXPECT_EQ(DifferenceSeries(x.data(), 5, 1, 1, 3, false).size(), 1u);
    EXPECT_TRUE(DifferenceSeries(x.data(), 5, 2, 1, 3, false).empty());
    EXPECT_TRUE(DifferenceSeries(x.data(), 5, 5, 0, 0, false).empty());
    EXPECT_TRUE(DifferenceSeries(x.data(), 0, 0, 0, 0, false).empty());
    EXPECT_TRUE(DifferenceSeries(nullptr, 0, 0, 0, 0, true).empty());
    EXPECT_TRUE(DifferenceSeries(x.data(), -3, 0, 0, 0, false).empty());
    const int most = std::numeric_limits<int>::max();
    EXPECT_TRUE(DifferenceSeries(x.data(), 5, most, most, most, false).empty());
    EXPECT_EQ(DifferenceSeries(x.data(), 5, 0, most, 0, false), std::vector<double>(5, 0.0));  // and at once
    EXPECT_TRUE(DifferenceSeries(x.data(), 5, -1, 0, 0, false).empty());
    EXPECT_TRUE(DifferenceSeries(x.data(), 5, 0, -1, 12, false).empty());
    EXPECT_TRUE(DifferenceSeries(x.data(), 5, 0, 0, -1, false).empty());
}

TEST(DifferenceSeries, CentresByTheCompensatedRunningMean) {
    const std::vector<double> x{3.0, 5.0, 10.0};
    EXPECT_EQ(DifferenceSeries(x.data(), 3, 0, 0, 0, true), (std::vector<double>{-3, -1, 4}));
    EXPECT_EQ(DifferenceSeries(x.data(), 3, 2, 0, 0, true), std::vector<double>{0.0});

    // 1e16 + 1 is no double: a plain sum gives another mean than the running one with its correction.
    const std::vector<double> y{1e16, 1.0, 1.0, 1.0};
    double mean = y[0], c = 0.0;
    for (int i = 1; i < 4; ++i) {
        c = c + (y[i] - mean) / (i + 1);
        const double t = mean + c;
        c = c - (t - mean);
        mean = t;
    }
    const std::vector<double> got = DifferenceSeries(y.data(), 4, 0, 0, 0, true);
    for (std::size_t i = 0; i < 4; ++i) EXPECT_SAME_BITS(got[i], y[i] - mean);
}

TEST(ExpandSeasonalPolynomial, CrossTermsArePlus) {
    const std::vector<double> u{0.5, -0.25}, U{0.75, 0.125}, none;
    EXPECT_EQ(ExpandSeasonalPolynomial(u, U, 4),
              (std::vector<double>{0.5, -0.25, 0, 0.75, 0.375, -0.1875, 0, 0.125, 0.0625, -0.03125}));
    EXPECT_EQ(ExpandSeasonalPolynomial(u, none, 4), u);
    EXPECT_EQ(ExpandSeasonalPolynomial(none, U, 2), (std::vector<double>{0, 0.75, 0, 0.125}));
    EXPECT_EQ(ExpandSeasonalPolynomial(u, U, 0), u);  // no period, no seasonal side
    EXPECT_EQ(ExpandSeasonalPolynomial(none, U, 0), none);
    // Period 1: everything lands on top of the regular coefficients, added in index order.
    EXPECT_EQ(ExpandSeasonalPolynomial(u, std::vector<double>{0.75}, 1),
              (std::vector<double>{1.25, 0.125, -0.1875}));
}

TEST(ArmaCrossCovariance, HandWorked) {
    EXPECT_EQ(ArmaCrossCovariance({}, {}), std::vector<double>{1.0});
    EXPECT_EQ(ArmaCrossCovariance({0.5, 0.25}, {}), std::vector<double>{1.0});
    // MA(2): psi = -b, g(0) = 1 + b1^2 + b2^2, g(1) = -b1 + b1 b2, g(2) = -b2.
    EXPECT_EQ(ArmaCrossCovariance({}, {0.5, 0.25}), (std::vector<double>{1.3125, -0.375, -0.25}));
    // ARMA(1,1): psi_1 = a - b, g(0) = 1 - b (a - b), g(1) = -b.
    EXPECT_EQ(ArmaCrossCovariance({0.75}, {0.5}), (std::vector<double>{0.875, -0.5}));
    // ARMA(2,3): psi = (0.25, 0.25, 0.25) for these, by 0.5 - 0.25, 0.25 - 0.125 + 0.125,
    // 0.125 + 0.0625 - (-0.0625).
    EXPECT_EQ(ArmaCrossCovariance({0.5, 0.25}, {0.25, 0.125, -0.0625}),
              (std::vector<double>{1.0 - 0.25 * (0.25 + 0.125 - 0.0625), -0.25 - 0.25 * (0.125 - 0.0625),
                                   -0.125 + 0.0625 * 0.25, 0.0625}));
}

TEST(ArmaAutocovariance, ClosedFormsCutAndExtension) {
    // White noise at any lag.
    EXPECT_EQ(ArmaAutocovariance({}, {}, 0), std::vector<double>{1.0});
    EXPECT_EQ(ArmaAutocovariance({}, {}, 3), (std::vector<double>{1, 0, 0, 0}));
    // MA(1): right-hand side beyond the solve is copied as it stands.
    EXPECT_EQ(ArmaAutocovariance({}, {0.5}, 3), (std::vector<double>{1.25, -0.5, 0, 0}));
    EXPECT_EQ(ArmaAutocovariance({}, {0.5, 0.25}, 1), (std::vector<double>{1.3125, -0.375}));
    // AR(1): gamma(h) = a^h / (1 - a^2); asked for 0, 1 and 6 lags.
    const double a = 0.6;
    for (const int L : {0, 1, 6}) {
        const std::vector<double> gamma = ArmaAutocovariance({a}, {}, L);
        ASSERT_EQ(gamma.size(), std::size_t(L + 1));
        for (int h = 0; h <= L; ++h) {
            EXPECT_TRUE(within_relative(gamma[h], std::pow(a, h) / (1 - a * a), 1e-15 * (h + 4)));
        }
    }
    // AR(2): rho(1) = a1 / (1 - a2).
    const std::vector<double> second = ArmaAutocovariance({0.5, 0.3}, {}, 2);
    EXPECT_TRUE(within_relative(second[1] / second[0], 0.5 / 0.7, 1e-14));
    // ARMA(1,2): gamma(h) = a gamma(h - 1) behind the moving-average lags.
    const std::vector<double> mixed = ArmaAutocovariance({a}, {0.3, 0.2}, 5);
    EXPECT_TRUE(within_relative(mixed[3], a * mixed[2], 1e-15));
    EXPECT_TRUE(within_relative(mixed[2], a * mixed[1] - 0.2, 1e-15));
    // A unit root makes the system singular.
    EXPECT_TRUE(ArmaAutocovariance({1.0}, {}, 1).empty());
    EXPECT_TRUE(ArmaAutocovariance({0.0, 1.0}, {0.5}, 2).empty());
}

TEST(ArmaInnovationCovariance, Blocks) {
    const auto at = [](const std::vector<double>& kappa, int i, int j) { return kappa[i * (i + 1) / 2 + j]; };
    // White noise: the identity.
    const std::vector<double> identity = ArmaInnovationCovariance({}, {}, 4);
    for (int i = 0; i < 4; ++i) {
        for (int j = 0; j <= i; ++j) EXPECT_SAME_BITS(at(identity, i, j), i == j ? 1.0 : 0.0);
    }
    // ARMA(1,1), m = 1: row 0 the series, row 1 crosses, rows behind it a pure MA(1).
    const double a = 0.75, b = 0.5;
    const std::vector<double> gamma = ArmaAutocovariance({a}, {b}, 1);
    const std::vector<double> kappa = ArmaInnovationCovariance({a}, {b}, 4);
    EXPECT_SAME_BITS(at(kappa, 0, 0), gamma[0]);
    EXPECT_SAME_BITS(at(kappa, 1, 0), gamma[1] - (0.0 + a * gamma[0]));
    EXPECT_TRUE(within_relative(at(kappa, 1, 0), -b, 1e-15));  // E[(a_t - b a_{t-1}) x_{t-1}]
    for (int i = 1; i < 4; ++i) EXPECT_SAME_BITS(at(kappa, i, i), 1.25);
    EXPECT_SAME_BITS(at(kappa, 2, 1), -0.5);
    EXPECT_SAME_BITS(at(kappa, 3, 2), -0.5);
    EXPECT_SAME_BITS(at(kappa, 2, 0), 0.0);
    EXPECT_SAME_BITS(at(kappa, 3, 0), 0.0);
    EXPECT_SAME_BITS(at(kappa, 3, 1), 0.0);
    // MA(3) on AR(1), m = 3: a filtered row against the raw part is the covariance with the MA side.
    const std::vector<double> wide = ArmaInnovationCovariance({a}, {0.3, 0.2, 0.1}, 7);
    const std::vector<double> g = ArmaCrossCovariance({a}, {0.3, 0.2, 0.1});
    EXPECT_TRUE(within_relative(at(wide, 3, 2), g[1], 1e-14));
    EXPECT_TRUE(within_relative(at(wide, 3, 0), g[3], 1e-14));
    EXPECT_TRUE(within_relative(at(wide, 4, 2), g[2], 1e-14));
    EXPECT_SAME_BITS(at(wide, 4, 0), 0.0);
    EXPECT_SAME_BITS(at(wide, 6, 3), -0.1);
    // m > n: the raw block only.
    const std::vector<double> raw = ArmaInnovationCovariance({a}, {0.3, 0.2, 0.1}, 2);
    const std::vector<double> lags = ArmaAutocovariance({a}, {0.3, 0.2, 0.1}, 2);
    EXPECT_EQ(raw, (std::vector<double>{lags[0], lags[1], lags[0]}));
    EXPECT_TRUE(ArmaInnovationCovariance({1.0}, {}, 5).empty());
}

// ---- edge cases of the export ---------------------------------------------------------------------------

TEST(ArimaLogLikelihood, WhiteNoise) {
    const std::vector<double> series = generated_series(11, 50);
    double squares = 0.0;
    for (const double x : series) squares += x * x;
    const double sigma2 = 4.75;
    EXPECT_SAME_BITS(log_likelihood(series, {}, {sigma2}),
                     -0.5 * (50.0 * (std::log(sigma2) + log_two_pi) + squares / sigma2));
}

TEST(ArimaLogLikelihood, OnePointRemains) {
    const std::vector<double> series = generated_series(12, 14);  // s D + d + 1
    const double difference = (series[13] - series[1]) - (series[12] - series[0]);
    const double sigma2 = 3.0;
    EXPECT_SAME_BITS(log_likelihood(series, {0, 1, 0, 0, 1, 0, 12}, {sigma2}),
                     -0.5 * (std::log(sigma2) + log_two_pi + difference * difference / sigma2));
    EXPECT_SAME_BITS(log_likelihood(series, {0, 1, 0, 0, 1, 0, 12}, {sigma2}, true),
                     -0.5 * (std::log(sigma2) + log_two_pi));
    EXPECT_TRUE(
        std::isfinite(log_likelihood(series, {2, 1, 1, 1, 1, 1, 12}, {0.1, 0.2, 0.3, 0.4, 0.5, sigma2})));
}

TEST(ArimaLogLikelihood, NothingRemains) {
    EXPECT_MISSING(log_likelihood(generated_series(12, 13), {0, 1, 1, 0, 1, 0, 12}, {0.5, 3.0}));
    EXPECT_MISSING(log_likelihood(generated_series(12, 5), {0, 1, 1, 0, 1, 0, 12}, {0.5, 3.0}));
    EXPECT_MISSING(log_likelihood(generated_series(12, 1), {0, 1, 1, 0, 0, 0, 0}, {0.5, 3.0}));
}

TEST(ArimaLogLikelihood, PeriodZeroDropsTheSeasonalSide) {
    const std::vector<double> series = generated_series(13, 40);
    EXPECT_SAME_BITS(log_likelihood(series, {1, 0, 0, 1, 0, 0, 0}, {0.5, 0.9, 5.0}),
                     log_likelihood(series, {1, 0, 0, 0, 0, 0, 0}, {0.5, 5.0}));
    EXPECT_SAME_BITS(log_likelihood(series, {0, 0, 1, 0, 0, 2, 0}, {0.5, 0.9, 0.8, 5.0}),
                     log_likelihood(series, {0, 0, 1, 0, 0, 0, 0}, {0.5, 5.0}));
}

TEST(ArimaLogLikelihood, CrossTermIsPlus) {
    const std::vector<double> series = generated_series(14, 60);
    // (1)(1)_4 on either side is the fifth-order model with +phi Phi at lag 5, and not with -phi Phi.
    for (const bool moving_average : {false, true}) {
        const auto whole = [&](double cross) {
            return log_likelihood(series, moving_average ? orders{0, 0, 5} : orders{5, 0, 0},
                                  {0.5, 0.0, 0.0, 0.25, cross, 5.0});
        };
        const double seasonal =
            log_likelihood(series, moving_average ? orders{0, 0, 1, 0, 0, 1, 4} : orders{1, 0, 0, 1, 0, 0, 4},
                           {0.5, 0.25, 5.0});
        EXPECT_SAME_BITS(seasonal, whole(0.125));
        EXPECT_GT(std::abs(seasonal - whole(-0.125)), 1e-3);
    }
}

TEST(ArimaLogLikelihood, LongLagsOnShortSeries) {
    // m > n, and a solve that is larger than the lags asked for: the dense density of n = 3 by hand.
    const double a = 0.5, sigma2 = 2.0;
    const std::vector<double> x{1.0, -0.5, 2.0};
    // AR at lag 4 alone: three points are uncorrelated with variance sigma2 / (1 - a^2).
    const double variance = sigma2 / (1 - a * a);
    const double want = -0.5 * (3 * (std::log(variance) + log_two_pi) + (1.0 + 0.25 + 4.0) / variance);
    EXPECT_TRUE(within_relative(log_likelihood(x, {0, 0, 0, 1, 0, 0, 4}, {a, sigma2}), want, 1e-14));
    EXPECT_TRUE(within_relative(log_likelihood({2.0}, {0, 0, 0, 1, 0, 0, 4}, {a, sigma2}),
                                -0.5 * (std::log(variance) + log_two_pi + 4.0 / variance), 1e-14));
    EXPECT_TRUE(std::isfinite(log_likelihood(x, {1, 0, 0, 5, 0, 5, 60}, std::vector<double>(12, 0.1))));
}

TEST(ArimaLogLikelihood, WhatItDoesNotTest) {
    const std::vector<double> series = generated_series(15, 30);
    EXPECT_MISSING(log_likelihood(series, {1, 0, 0}, {1.0, 5.0}));   // unit root: no solution
    EXPECT_MISSING(log_likelihood(series, {1, 0, 0}, {2.0, 5.0}));   // negative determinant
    EXPECT_MISSING(log_likelihood(series, {0, 0, 1}, {0.5, -5.0}));  // negative variance
    EXPECT_MISSING(log_likelihood(series, {0, 0, 1}, {0.5, 0.0}));   // -infinity + infinity
    EXPECT_MISSING(log_likelihood(series, {1, 0, 1}, {std::nan(""), 0.5, 5.0}));
    EXPECT_MISSING(log_likelihood(series, {0, 0, 1}, {std::nan(""), 5.0}));
    EXPECT_MISSING(log_likelihood(series, {0, 0, 1}, {0.5, -std::nan("")}));
    EXPECT_SAME_BITS(log_likelihood(std::vector<double>(30, 0.0), {}, {0.0}), zolv_GetMissingValue());
    std::vector<double> gap = series;
    gap[7] = -std::nan("");
    EXPECT_MISSING(log_likelihood(gap, {0, 0, 1}, {0.5, 5.0}));
    EXPECT_MISSING(log_likelihood(gap, {0, 0, 1}, {0.5, 5.0}, true));
    gap[7] = infinity;
    EXPECT_MISSING(log_likelihood(gap, {0, 0, 1}, {0.5, 5.0}, true));
    EXPECT_MISSING(log_likelihood(gap, {}, {5.0}));  // the zeros of theta times an infinite innovation
    gap = series;
    gap.back() = infinity;
    EXPECT_SAME_BITS(log_likelihood(gap, {}, {5.0}), -infinity);
    EXPECT_SAME_BITS(log_likelihood(series, {}, {infinity}), -infinity);
    // The determinant is one product: 2^(2 600) leaves the range, and its logarithm with it.
    EXPECT_SAME_BITS(log_likelihood(generated_series(15, 600), {0, 0, 1}, {2.0, 5.0}), -infinity);
    EXPECT_TRUE(std::isfinite(log_likelihood(generated_series(15, 400), {0, 0, 1}, {2.0, 5.0})));
}

TEST(ArimaLogLikelihood, TheConstantIsAFlagAndNothingChanges) {
    std::vector<double> series = generated_series(16, 40);
    const std::vector<double> before = series;
    std::vector<double> parameters{0.4, 0.3, 5.0, 1e300};  // what stands behind sigma^2 is not read
    const std::vector<double> parameters_before = parameters;
    double one = 1.0, huge = 1e300;
    zolv_ArimaModel model = model_of({1, 0, 1}, parameters, &one);
    const double value = zolv_ArimaLogLikelihood(series.data(), 40, &model);
    model.Constant = &huge;
    EXPECT_SAME_BITS(zolv_ArimaLogLikelihood(series.data(), 40, &model), value);
    EXPECT_EQ(one, 1.0);
    EXPECT_EQ(huge, 1e300);
    EXPECT_EQ(series, before);
    EXPECT_EQ(parameters, parameters_before);
    // With it the mean of the differenced series is taken off: a shift of the series is unseen.
    std::vector<double> shifted = series;
    for (double& x : shifted) x += 1024.0;
    EXPECT_TRUE(within_relative(log_likelihood(shifted, {1, 0, 1}, parameters, true), value, 1e-12));
}

TEST(ArimaLogLikelihood, BadInputIsMissing) {
    const std::vector<double> series = generated_series(17, 40);
    std::vector<double> parameters(21, 0.1);
    zolv_ArimaModel model = model_of({1, 0, 1}, parameters);
    EXPECT_MISSING(zolv_ArimaLogLikelihood(nullptr, 40, &model));
    EXPECT_MISSING(zolv_ArimaLogLikelihood(series.data(), 40, nullptr));
    EXPECT_MISSING(zolv_ArimaLogLikelihood(series.data(), 0, &model));
    EXPECT_MISSING(zolv_ArimaLogLikelihood(series.data(), -1, &model));
    EXPECT_MISSING(zolv_ArimaLogLikelihood(series.data(), std::numeric_limits<int>::min(), &model));
    model.Parameters = nullptr;
    EXPECT_MISSING(zolv_ArimaLogLikelihood(series.data(), 40, &model));

    std::int32_t zolv_ArimaModel::*const orders_to_five[] = {
        &zolv_ArimaModel::ArOrder, &zolv_ArimaModel::MaOrder, &zolv_ArimaModel::SeasonalArOrder,
        &zolv_ArimaModel::SeasonalMaOrder};
    for (const auto field : orders_to_five) {
        for (const std::int32_t bad :
             {-1, 6, std::numeric_limits<std::int32_t>::min(), std::numeric_limits<std::int32_t>::max()}) {
            model = model_of({0, 0, 0, 0, 0, 0, 2}, parameters);
            model.*field = bad;
            EXPECT_MISSING(zolv_ArimaLogLikelihood(series.data(), 40, &model));
        }
        model = model_of({0, 0, 0, 0, 0, 0, 2}, parameters);
        model.*field = 5;
        EXPECT_TRUE(std::isfinite(zolv_ArimaLogLikelihood(series.data(), 40, &model)));
    }
    std::int32_t zolv_ArimaModel::*const never_negative[] = {&zolv_ArimaModel::Differencing,
                                                             &zolv_ArimaModel::SeasonalDifferencing,
                                                             &zolv_ArimaModel::SeasonalPeriod};
    for (const auto field : never_negative) {
        model = model_of({1, 0, 0, 1, 0, 0, 2}, parameters);
        model.*field = -1;
        EXPECT_MISSING(zolv_ArimaLogLikelihood(series.data(), 40, &model));
    }
    // A seasonal side that no memory could hold; without one the period is not looked at.
    model = model_of({1, 0, 0, 1, 0, 0, std::numeric_limits<std::int32_t>::max()}, parameters);
    EXPECT_MISSING(zolv_ArimaLogLikelihood(series.data(), 40, &model));
    model = model_of({1, 0, 0, 0, 0, 0, std::numeric_limits<std::int32_t>::max()}, parameters);
    EXPECT_TRUE(std::isfinite(zolv_ArimaLogLikelihood(series.data(), 40, &model)));
}

TEST(ArmaDeviance, OfNothingIsTheMissingValue) {
    EXPECT_MISSING(ArmaDeviance({}, {0.5}, {}, 1.0));
    EXPECT_MISSING(ArmaDeviance({}, {}, {}, 1.0));
}

}  // namespace
