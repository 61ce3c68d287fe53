// The binomial family against its plain forms, by bits.
#include <gtest/gtest.h>

#include <cstdint>

#include "plain/binomial.hpp"
#include "plain/compare.hpp"
#include "zolv.h"

namespace {

using namespace zolv_test::plain;
using zolv_test::show;

// Small numbers, numbers on both sides of the variance of 10000 and of the support's end at 22500, large
// ones.
double trials(Random& random) {
    if (random.chance(4)) return random.whole(1, 30);
    if (random.chance(4)) return random.whole(39990, 48000);
    return std::floor(random.power(0.0, 8.0));
}

double success(Random& random, double n) {
    if (random.chance(6)) return random.next_to(random.one_of({0.25, 0.5, 0.75}));
    if (random.chance(6)) return random.power(-12.0, 0.0);
    if (random.chance(8)) return 10000.0 / n < 0.2 ? random.next_to(10000.0 / n) : 0.5;
    return random.between(0.0, 1.0);
}

std::vector<double> points(Random& random, int count, double n, double prob) {
    const double mean = n * prob, sd = std::sqrt(mean * (1.0 - prob));
    std::vector<double> x;
    while (static_cast<int>(x.size()) < count) {
        double at = std::floor(mean + sd * random.between(-6.0, 6.0));
        if (random.chance(8))
            at = random.one_of({-1.0, -0.0, 0.0, 1.0, n - 1.0, n, n + 1.0, 22499.0, 22500.0});
        if (random.chance(8)) at = std::floor(random.between(0.0, n));
        if (random.chance(20)) at = std::floor(mean + 25.0 * sd * (random.chance(2) ? 1.0 : -1.0));
        if (random.chance(20)) at = at + 0.5;
        x.push_back(at);
    }
    return x;
}

TEST(PlainBinomial, DensityAndTails) {
    Random random(31);
    Comparison comparison;
    for (int round = 0; round < rounds(3000); ++round) {
        const double n = trials(random), prob = success(random, n);
        const auto m = static_cast<std::uint32_t>(n);
        const std::vector<double> x = points(random, 330, n, prob);
        compare(
            comparison, x, "density " + list(n, prob), [&](double y) { return binomial_pdf(y, n, prob); },
            [&](double y) { return zolv_BinomialPdf(y, m, prob); },
            [&](const double* y, std::size_t count, double* out) {
                zolv_ParallelBinomialPdf(y, count, m, prob, out);
            });
        const unsigned char upper = round % 2;
        const std::vector<double> some(x.begin(), x.begin() + 25);  // sums of up to thousands of terms
        compare(
            comparison, some, "tail " + list(n, prob),
            [&](double y) { return binomial_cdf(y, n, prob, upper); },
            [&](double y) { return zolv_BinomialCdf(y, m, prob, upper); },
            [&](const double* y, std::size_t count, double* out) {
                zolv_ParallelBinomialCdf(y, count, m, prob, upper, out);
            });
    }
}

TEST(PlainBinomial, Quantiles) {
    Random random(32);
    Comparison comparison;
    for (int round = 0; round < rounds(800); ++round) {
        const double n = trials(random), prob = success(random, n);
        if (!(prob > 0.0 && prob < 1.0)) continue;
        const auto m = static_cast<std::uint32_t>(n);
        const unsigned char upper = round % 2;
        compare(
            comparison, probabilities(random, 20), "quantile " + list(n, prob),
            [&](double p) { return binomial_inv_cdf(p, n, prob, upper); },
            [&](double p) { return zolv_BinomialInvCdf(p, m, prob, upper); },
            [&](const double* p, std::size_t count, double* out) {
                zolv_ParallelBinomialInvCdf(p, count, m, prob, upper, out);
            });
    }
}

}  // namespace
