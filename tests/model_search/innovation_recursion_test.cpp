// tests/model_search/innovation_recursion_test.cpp: eight rows at once, judged by the recursion row by row.
#include "model_search/innovation_recursion.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "support/bits.hpp"
#include "support/series.hpp"

namespace {

using zolv::time_series::InnovationRecursion;
using zolv_test::generated_series;

// What a run leaves behind, with every prediction and innovation on its way.
struct outcome {
    std::vector<double> prediction, innovation;
    double determinant, quadratic_form;
};

// As the formulas are printed: one row after the other, theta packed by rows, one addition at a time.
outcome row_by_row(const std::vector<double>& kappa, const std::vector<double>& w) {
    const std::size_t n = w.size();
    const auto K = [&](std::size_t i, std::size_t j) { return kappa[i * (i + 1) / 2 + j]; };
    std::vector<double> theta(n * (n - 1) / 2);
    const auto T = [&](std::size_t i, std::size_t j) -> double& { return theta[i * (i - 1) / 2 + j]; };
    const double k0 = K(0, 0);
    std::vector<double> r(n, k0), e(w);
    outcome out{{}, {}, k0, w[0] * w[0] / k0};
    for (std::size_t i = 1; i < n; ++i) {
        T(i, 0) = K(i, 0) / k0;
        double A = e[0] * T(i, 0);
        double V = (T(i, 0) * T(i, 0)) * k0;
        for (std::size_t j = 1; j < i; ++j) {
            double sum = 0.0;
            for (std::size_t k = 0; k < j; ++k) sum += (T(j, k) * T(i, k)) * r[k];
            T(i, j) = (K(i, j) - sum) / r[j];
            A = A + T(i, j) * e[j];
            V = V + (T(i, j) * T(i, j)) * r[j];
        }
        e[i] = w[i] - A;
        out.prediction.push_back(A);
        out.innovation.push_back(e[i]);
        r[i] = K(i, i) - V;
        out.determinant = out.determinant * r[i];
        out.quadratic_form = out.quadratic_form + (e[i] * e[i]) / r[i];
    }
    return out;
}

outcome in_blocks(const std::vector<double>& kappa, const std::vector<double>& w,
                  InnovationRecursion::TileRoutine tile) {
    outcome out{};
    InnovationRecursion recursion(kappa, w, tile);
    recursion.Run([&](std::size_t i, double A) {
        EXPECT_EQ(i, out.innovation.size() + 1);  // every row but the first, in order
        out.prediction.push_back(A);
        out.innovation.push_back(w[i] - A);
        return out.innovation.back();
    });
    out.determinant = recursion.Determinant();
    out.quadratic_form = recursion.QuadraticForm();
    return out;
}

std::vector<InnovationRecursion::TileRoutine> tiles() {
    std::vector<InnovationRecursion::TileRoutine> all{InnovationRecursion::NarrowTile};
    const auto fastest = InnovationRecursion::FastestTile();  // the wide one, where the processor has it
    if (fastest != all[0]) all.push_back(fastest);
    return all;
}

void expect_same(const std::vector<double>& kappa, const std::vector<double>& w) {
    SCOPED_TRACE("n = " + std::to_string(w.size()));
    const outcome want = row_by_row(kappa, w);
    for (const auto tile : tiles()) {
        const outcome got = in_blocks(kappa, w, tile);
        ASSERT_EQ(got.innovation.size(), want.innovation.size());
        for (std::size_t i = 0; i < want.innovation.size(); ++i) {
            ASSERT_SAME_BITS(got.prediction[i], want.prediction[i]) << "row " << i + 1;
            ASSERT_SAME_BITS(got.innovation[i], want.innovation[i]) << "row " << i + 1;
        }
        EXPECT_SAME_BITS(got.determinant, want.determinant);
        EXPECT_SAME_BITS(got.quadratic_form, want.quadratic_form);
    }
}

// A full triangle of random covariances below a diagonal that may or may not dominate them.
std::vector<double> random_triangle(std::size_t n, double diagonal, std::mt19937_64& random) {
    std::vector<double> kappa = generated_series(random(), n * (n + 1) / 2);
    for (std::size_t i = 0; i < n; ++i) kappa[i * (i + 1) / 2 + i] = diagonal + 0.125 * double(i % 5);
    return kappa;
}

TEST(InnovationRecursion, EveryLengthAroundTheBlocks) {
    std::mt19937_64 random(41);
    for (std::size_t n = 1; n <= 70; ++n) {
        expect_same(random_triangle(n, 10.0 * double(n), random), generated_series(random(), n));
        expect_same(random_triangle(n, 4.0, random), generated_series(random(), n));  // indefinite
    }
}

TEST(InnovationRecursion, LongerSeries) {
    std::mt19937_64 random(42);
    for (const std::size_t n : {127u, 128u, 129u, 199u, 256u, 260u}) {
        expect_same(random_triangle(n, 10.0 * double(n), random), generated_series(random(), n));
    }
}

// Half of the entries are zeros of either sign, as behind the band of a moving average.
TEST(InnovationRecursion, SignedZeros) {
    std::mt19937_64 random(43);
    for (const std::size_t n : {3u, 8u, 9u, 16u, 23u, 40u}) {
        std::vector<double> kappa = random_triangle(n, 300.0, random);
        for (std::size_t i = 1; i < n; ++i) {
            for (std::size_t j = 0; j < i; ++j) {
                if (random() % 2 == 0) kappa[i * (i + 1) / 2 + j] = random() % 2 == 0 ? 0.0 : -0.0;
            }
        }
        std::vector<double> w = generated_series(random(), n);
        for (double& value : w) {
            if (random() % 3 == 0) value = random() % 2 == 0 ? 0.0 : -0.0;
        }
        expect_same(kappa, w);
        w.assign(n, -0.0);
        expect_same(kappa, w);
    }
}

// What leaves the range in one row must not touch the rows worked on beside it before it is their turn.
TEST(InnovationRecursion, InfiniteAndZeroVariances) {
    std::mt19937_64 random(44);
    const auto classes = [](const outcome& a, const outcome& b) {
        ASSERT_EQ(a.innovation.size(), b.innovation.size());
        for (std::size_t i = 0; i < a.innovation.size(); ++i) {
            if (std::isnan(b.innovation[i])) {
                EXPECT_TRUE(std::isnan(a.innovation[i])) << "row " << i + 1;
            } else {
                EXPECT_SAME_BITS(a.innovation[i], b.innovation[i]) << "row " << i + 1;
            }
        }
        EXPECT_EQ(std::isnan(a.determinant), std::isnan(b.determinant));
        EXPECT_EQ(std::isnan(a.quadratic_form), std::isnan(b.quadratic_form));
    };
    for (const std::size_t n : {5u, 8u, 13u, 30u}) {
        for (std::size_t row = 0; row < n; ++row) {
            for (const double bad : {0.0, std::numeric_limits<double>::infinity(), 1e300, std::nan("")}) {
                std::vector<double> kappa = random_triangle(n, 10.0 * double(n), random);
                kappa[row * (row + 1) / 2 + random() % (row + 1)] = bad;
                const std::vector<double> w = generated_series(random(), n);
                for (const auto tile : tiles()) classes(in_blocks(kappa, w, tile), row_by_row(kappa, w));
            }
        }
    }
}

}  // namespace
