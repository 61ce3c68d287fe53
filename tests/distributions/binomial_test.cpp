// The binomial exports: 50-digit values, the edge cases, laws between them, array forms.
#include <cmath>
#include <random>
#include <vector>

#include "support/bits.hpp"
#include "support/reference_table.hpp"
#include "support/threads.hpp"
#include "zolv.h"

namespace {

const double infinity = std::numeric_limits<double>::infinity();
const double nan_value = std::numeric_limits<double>::quiet_NaN();
const std::vector<double> bad_probabilities = {-infinity, -1.0,     -5e-324,  std::nextafter(1.0, 2.0),
                                               2.0,       infinity, nan_value};
constexpr uint32_t most_trials = 4294967295u;
constexpr unsigned char both_tails[] = {0, 1};

double above(double x) { return std::nextafter(x, infinity); }
double below(double x) { return std::nextafter(x, -infinity); }

// ---- against 50 digits
// -------------------------------------------------------------------------------------

TEST(binomial, agrees_with_50_digits) {
    const zolv_test::reference_table table("discrete_truth");
    double worst_mass = 0.0, worst_lower = 0.0, worst_far = 0.0;
    int rows = 0;
    for (std::size_t row = 0; row < table.size(); ++row) {
        const double x = table.number(row, "x"), n = table.number(row, "n"), p = table.number(row, "p");
        if (table.text(row, "family") != "binomial" || n > most_trials) continue;
        ++rows;
        const auto trials = static_cast<uint32_t>(n);
        const bool far = table.text(row, "regime").find("25 sd") != std::string::npos;
        const double lower = table.number(row, "lower"), upper = table.number(row, "upper"),
                     mass = table.number(row, "mass");
        worst_mass = std::max(worst_mass, std::abs(zolv_BinomialPdf(x, trials, p) - mass) / mass);
        double& worst = far ? worst_far : worst_lower;
        worst =
            std::max(worst, std::abs(zolv_BinomialCdf(x, trials, p, 0) - (lower + mass)) / (lower + mass));
        // The upper tail works on n - X with 1 - prob, which is off by up to 2^-54; so is prob when it is
        // taken back from there, and the tail by |x - n prob| / prob times that.
        const double reflected = 0x1p-54 * (std::abs(x - n * p) + 1.0) / p;
        EXPECT_TRUE(zolv_test::within_relative(zolv_BinomialCdf(x, trials, p, 1), upper,
                                               2.0 * reflected + (far ? 2e-7 : 2e-9)))
            << x << " " << n << " " << p;
    }
    EXPECT_GT(rows, 500);
    std::printf("worst relative error: mass %.2g, lower tail %.2g, beyond 16 sd %.2g\n", worst_mass,
                worst_lower, worst_far);
    EXPECT_LE(worst_mass, 6e-10);  // measured, times about 2
    EXPECT_LE(worst_lower, 2e-9);
    EXPECT_LE(worst_far, 2e-7);
}

TEST(binomial, quantile_agrees_with_50_digits) {
    const zolv_test::reference_table table("discrete_truth");
    int rows = 0;
    for (std::size_t row = 0; row < table.size(); ++row) {
        if (table.text(row, "family") != "binomial_quantile") continue;
        const unsigned char upper = table.text(row, "regime") == "upper";
        EXPECT_EQ(zolv_BinomialInvCdf(table.number(row, "x"), static_cast<uint32_t>(table.number(row, "n")),
                                      table.number(row, "p"), upper),
                  table.number(row, "lower"))
            << "row " << row;
        ++rows;
    }
    EXPECT_EQ(rows, 96);
}

TEST(binomial, hand_values) {
    // n = 10, prob = 0.5: the counts 1 10 45 120 210 252 210 120 45 10 1 over 1024
    const double count[] = {1, 10, 45, 120, 210, 252, 210, 120, 45, 10, 1};
    double total = 0.0;
    for (int k = 0; k <= 10; ++k) {
        total += count[k];
        EXPECT_NEAR(zolv_BinomialPdf(k, 10, 0.5), count[k] / 1024.0, 2e-15);
        EXPECT_NEAR(zolv_BinomialCdf(k, 10, 0.5, 0), total / 1024.0, 2e-15);
        EXPECT_NEAR(zolv_BinomialCdf(k, 10, 0.5, 1), 1.0 - total / 1024.0, 2e-15);
    }
    EXPECT_EQ(zolv_BinomialInvCdf(0.3, 10, 0.5, 0), 4.0);
    EXPECT_EQ(zolv_BinomialInvCdf(0.3, 10, 0.5, 1), 6.0);
}

// ---- edge cases
// --------------------------------------------------------------------------------------------

TEST(binomial_pdf, edges) {
    EXPECT_SAME_BITS(zolv_BinomialPdf(2.5, 10, 0.5), 0.0);
    EXPECT_SAME_BITS(zolv_BinomialPdf(0.0, 0, 0.3), 1.0);
    EXPECT_SAME_BITS(zolv_BinomialPdf(1.0, 0, 0.3), 0.0);
    for (double x : {-1.0, -5e-324, 11.0, above(10.0), below(10.0), above(3.0), infinity, -infinity, 1e300}) {
        EXPECT_SAME_BITS(zolv_BinomialPdf(x, 10, 0.3), 0.0);
    }
    EXPECT_SAME_BITS(zolv_BinomialPdf(-0.0, 10, 0.3), zolv_BinomialPdf(0.0, 10, 0.3));
    EXPECT_SIGN_SET_NAN(zolv_BinomialPdf(nan_value, 10, 0.3));
    EXPECT_SIGN_SET_NAN(zolv_BinomialPdf(nan_value, 0, 0.3));
    EXPECT_SAME_BITS(zolv_BinomialPdf(0.0, 10, 0.0), 1.0);
    EXPECT_SAME_BITS(zolv_BinomialPdf(3.0, 10, 0.0), 0.0);
    EXPECT_SAME_BITS(zolv_BinomialPdf(10.0, 10, 0.0), 0.0);
    EXPECT_SAME_BITS(zolv_BinomialPdf(10.0, 10, 1.0), 1.0);
    EXPECT_SAME_BITS(zolv_BinomialPdf(0.0, 10, 1.0), 0.0);
    EXPECT_SAME_BITS(zolv_BinomialPdf(4.0, 10, 1.0), 0.0);
    // The density knows no cut at 22500.
    EXPECT_GT(zolv_BinomialPdf(30000.0, 60000, 0.5), 0.0);
    EXPECT_GT(zolv_BinomialPdf(25000.0, 30000, 0.8), 0.0);
}

TEST(binomial_pdf, above_one_half_counts_the_failures) {
    for (double x = 0.0; x <= 20.0; x += 1.0) {
        EXPECT_SAME_BITS(zolv_BinomialPdf(x, 20, 0.75), zolv_BinomialPdf(20.0 - x, 20, 0.25));
    }
}

TEST(binomial_cdf, ends_of_the_support) {
    for (uint32_t n : {0u, 1u, 10u, 40000u, most_trials}) {
        for (double prob : {0.0, 1e-9, 0.3, 0.5, above(0.5), 0.97, 1.0}) {
            for (double x : {double(n), double(n) + 1.0, 1e300, infinity}) {
                EXPECT_SAME_BITS(zolv_BinomialCdf(x, n, prob, 0), 1.0);
                EXPECT_SAME_BITS(zolv_BinomialCdf(x, n, prob, 1), 0.0);
            }
            for (double x : {-1.0, -2.5, -1e300, -infinity}) {
                EXPECT_SAME_BITS(zolv_BinomialCdf(x, n, prob, 0), 0.0);
                EXPECT_SAME_BITS(zolv_BinomialCdf(x, n, prob, 1), 1.0);
            }
            EXPECT_SIGN_SET_NAN(zolv_BinomialCdf(nan_value, n, prob, 0));
            EXPECT_SIGN_SET_NAN(zolv_BinomialCdf(nan_value, n, prob, 1));
        }
    }
}

TEST(binomial_cdf, an_x_that_is_not_whole) {
    EXPECT_SAME_BITS(zolv_BinomialCdf(2.5, 10, 0.5, 0), zolv_BinomialCdf(2.0, 10, 0.5, 0));
    EXPECT_SAME_BITS(zolv_BinomialCdf(-0.5, 10, 0.5, 0), 0.0);
    // The upper tail is P(n - X <= floor(n - (x + 1))): at 2.5 that floor is 6, so it is P(X >= 4).
    EXPECT_SAME_BITS(zolv_BinomialCdf(2.5, 10, 0.3, 1), zolv_BinomialCdf(6.0, 10, 0.7, 0));
    EXPECT_SAME_BITS(zolv_BinomialCdf(2.5, 10, 0.3, 1), zolv_BinomialCdf(3.0, 10, 0.3, 1));
    EXPECT_NEAR(zolv_BinomialCdf(2.5, 10, 0.5, 1), 848.0 / 1024.0, 1e-15);
    // At -0.5 it is floor(9.5) = 9: P(X >= 1), not 1.
    EXPECT_SAME_BITS(zolv_BinomialCdf(-0.5, 10, 0.5, 1), zolv_BinomialCdf(0.0, 10, 0.5, 1));
    EXPECT_NEAR(zolv_BinomialCdf(-0.5, 10, 0.5, 1), 1023.0 / 1024.0, 1e-15);
    EXPECT_SAME_BITS(zolv_BinomialCdf(9.5, 10, 0.5, 1), 0.0);
}

TEST(binomial_cdf, certain_success_and_failure) {
    for (double x = 0.0; x < 10.0; x += 1.0) {
        EXPECT_SAME_BITS(zolv_BinomialCdf(x, 10, 0.0, 0), 1.0);
        EXPECT_SAME_BITS(zolv_BinomialCdf(x, 10, 0.0, 1), 0.0);
        EXPECT_SAME_BITS(zolv_BinomialCdf(x, 10, 1.0, 0), 0.0);
        EXPECT_SAME_BITS(zolv_BinomialCdf(x, 10, 1.0, 1), 1.0);
    }
}

TEST(binomial_cdf, cuts_far_tails_to_zero) {
    EXPECT_SAME_BITS(zolv_BinomialCdf(487500.0, 1000000, 0.5, 0), 0.0);  // 25 sd
    EXPECT_GT(zolv_BinomialCdf(487501.0, 1000000, 0.5, 0), 0.0);
    // A variance of 10000 exactly has the expansion without the cut: 0/0 beyond 38.6 sd.
    EXPECT_TRUE(std::isnan(zolv_BinomialCdf(0.0, 40000, 0.5, 0)));
    EXPECT_SAME_BITS(zolv_BinomialCdf(0.0, 40001, 0.5, 0), 0.0);
    // There alone a quantile can start where the tail is a NaN, which ends the search.
    EXPECT_SIGN_SET_NAN(zolv_BinomialInvCdf(5e-324, 62500, 0.2, 1));
    EXPECT_TRUE(std::isfinite(zolv_BinomialInvCdf(1e-300, 62500, 0.2, 1)));
    EXPECT_TRUE(std::isfinite(zolv_BinomialInvCdf(5e-324, 62501, 0.2, 1)));
}

TEST(binomial_inverse, ends) {
    for (uint32_t n : {0u, 1u, 10u, most_trials}) {
        for (double prob : {0.0, 0.3, 0.5, 0.9, 1.0}) {
            EXPECT_SAME_BITS(zolv_BinomialInvCdf(0.0, n, prob, 0), 0.0);
            EXPECT_SAME_BITS(zolv_BinomialInvCdf(0.0, n, prob, 1), double(n));
            EXPECT_SAME_BITS(zolv_BinomialInvCdf(1.0, n, prob, 0), double(n));
            EXPECT_SAME_BITS(zolv_BinomialInvCdf(1.0, n, prob, 1), 0.0);
            for (double p : bad_probabilities) {
                for (unsigned char upper : both_tails)
                    EXPECT_SIGN_SET_NAN(zolv_BinomialInvCdf(p, n, prob, upper));
            }
        }
    }
    for (unsigned char upper : both_tails) {
        for (double p : {5e-324, 0.3, 0.5, below(1.0)}) {
            EXPECT_SAME_BITS(zolv_BinomialInvCdf(p, 0, 0.3, upper), 0.0);
            EXPECT_SAME_BITS(zolv_BinomialInvCdf(p, 10, 0.0, upper), 0.0);
            EXPECT_SAME_BITS(zolv_BinomialInvCdf(p, 10, 1.0, upper), 10.0);
        }
    }
}

TEST(binomial_inverse, an_exact_hit_is_returned) {
    for (double prob : {0.1, 0.37, 0.5, 0.8}) {
        for (double k = 0.0; k < 20.0; k += 1.0) {
            if (zolv_BinomialPdf(k, 20, prob) < 1e-9 || zolv_BinomialPdf(k + 1.0, 20, prob) < 1e-9) continue;
            EXPECT_EQ(zolv_BinomialInvCdf(zolv_BinomialCdf(k, 20, prob, 0), 20, prob, 0), k) << prob;
        }
    }
}

TEST(binomial_inverse, one_ulp_below_one_may_run_past_n) {
    // P(X <= n) comes out as 1 - 2^-52 here, so that the walk to 1 - 2^-53 goes one further. A matter of the
    // last bit of exp and log, which the C library settles by the processor.
    if (__builtin_cpu_supports("fma")) {
        EXPECT_EQ(zolv_BinomialInvCdf(below(1.0), 2, 0.70883078316097992, 0), 3.0);
    }
    EXPECT_EQ(zolv_BinomialInvCdf(below(1.0), 2, 0.7, 0), 2.0);
}

TEST(binomial_inverse, the_smallest_p) {
    // Below the cut at 25 sd no p is told apart: the answer is the first x beyond it.
    const double x = zolv_BinomialInvCdf(5e-324, 1000000, 0.5, 0);
    EXPECT_EQ(x, 487501.0);
    EXPECT_EQ(zolv_BinomialInvCdf(1e-200, 1000000, 0.5, 0), x);
    EXPECT_EQ(zolv_BinomialInvCdf(5e-324, 10, 0.5, 0), 0.0);
    EXPECT_TRUE(std::isfinite(zolv_BinomialInvCdf(1e-300, most_trials, 0.5, 0)));  // 400000 steps
    EXPECT_TRUE(std::isfinite(zolv_BinomialInvCdf(1e-300, most_trials, 0.5, 1)));
}

TEST(binomial, a_bad_probability_of_success_comes_first) {
    for (double prob : bad_probabilities) {
        for (double x : {0.0, 3.0, nan_value, infinity}) {
            EXPECT_MISSING(zolv_BinomialPdf(x, 10, prob));
            for (unsigned char upper : both_tails) {
                EXPECT_MISSING(zolv_BinomialCdf(x, 10, prob, upper));
                EXPECT_MISSING(zolv_BinomialInvCdf(x, 10, prob, upper));
            }
        }
    }
}

// ---- laws
// --------------------------------------------------------------------------------------------------

TEST(binomial, tails_sum_to_one_and_rise) {
    std::mt19937_64 engine(5);
    for (int i = 0; i < 4000; ++i) {
        const auto n =
            static_cast<uint32_t>(std::pow(2.0, std::uniform_real_distribution<double>(0.0, 32.0)(engine)));
        const double prob = std::uniform_real_distribution<double>(0.0, 1.0)(engine);
        const double sd = std::sqrt(n * prob * (1.0 - prob));
        const double x = std::floor(n * prob + std::normal_distribution<double>(0.0, 3.0)(engine) * sd);
        const double lower = zolv_BinomialCdf(x, n, prob, 0), upper = zolv_BinomialCdf(x, n, prob, 1);
        EXPECT_NEAR(lower + upper, 1.0, 2e-10) << x << " " << n << " " << prob;
        EXPECT_GE(zolv_BinomialCdf(x + 1.0, n, prob, 0), lower * (1.0 - 1e-8));
        EXPECT_LE(zolv_BinomialCdf(x + 1.0, n, prob, 1), upper * (1.0 + 1e-8));
    }
}

TEST(binomial, quantile_then_distribution) {
    std::mt19937_64 engine(6);
    for (int i = 0; i < 10000; ++i) {
        const auto n =
            static_cast<uint32_t>(std::pow(2.0, std::uniform_real_distribution<double>(0.0, 20.0)(engine)));
        const double prob = std::uniform_real_distribution<double>(0.001, 0.999)(engine);
        const double p = std::uniform_real_distribution<double>(1e-6, 1.0 - 1e-6)(engine);
        const double x = zolv_BinomialInvCdf(p, n, prob, 0);
        EXPECT_GE(zolv_BinomialCdf(x, n, prob, 0), p);
        EXPECT_LT(zolv_BinomialCdf(x - 1.0, n, prob, 0), p);
        const double y = zolv_BinomialInvCdf(p, n, prob, 1);
        EXPECT_LE(zolv_BinomialCdf(y, n, prob, 1), p * (1.0 + 1e-9));
        EXPECT_GT(zolv_BinomialCdf(y - 1.0, n, prob, 1), p * (1.0 - 1e-9));
    }
}

// ---- array forms
// -------------------------------------------------------------------------------------------

struct parameters {
    uint32_t n;
    double prob;
};
const parameters arrays[] = {{0, 0.3},           {1, 0.5},         {10, 0.4},        {1000, 0.93},
                             {40000, 0.5},       {1000000, 0.001}, {123456789, 0.3}, {2147483648u, 1e-7},
                             {2147483648u, 0.5}, {10, 0.0},        {10, 1.0}};

std::vector<double> variates(const parameters& q, bool whole) {
    std::vector<double> x = {nan_value,         infinity,    -infinity,         -1.0,  -0.0,  0.0, 1.0,
                             double(q.n) - 1.0, double(q.n), double(q.n) + 1.0, 1e300, -1e300};
    if (!whole) x.insert(x.end(), {-0.5, 2.5, 0.25, q.n - 0.5, above(3.0), below(3.0)});
    std::mt19937_64 engine(7);
    const double mean = q.n * q.prob, sd = std::sqrt(mean * (1.0 - q.prob));
    for (int i = 0; i < 300; ++i)
        x.push_back(std::floor(mean + std::normal_distribution<double>(0.0, 5.0)(engine) * (sd + 1.0)));
    return x;
}

TEST(binomial_arrays, have_the_bits_of_the_scalars) {
    for (const parameters& q : arrays) {
        const std::vector<double> x = variates(q, false), whole = variates(q, true);
        std::vector<double> p = {nan_value, 0.0, 1.0, -0.1, 1.1, 0.5, 5e-324, below(1.0)};
        std::mt19937_64 engine(8);
        for (int i = 0; i < 100; ++i) p.push_back(std::uniform_real_distribution<double>(0.0, 1.0)(engine));
        for (int team : zolv_test::team_sizes) {
            zolv_test::with_threads(team, [&] {
                std::vector<double> out(x.size(), -7.0);
                zolv_ParallelBinomialPdf(x.data(), x.size(), q.n, q.prob, out.data());
                for (std::size_t i = 0; i < x.size(); ++i)
                    EXPECT_SAME_BITS(out[i], zolv_BinomialPdf(x[i], q.n, q.prob));
                zolv_ParallelBinomialCdf(x.data(), x.size(), q.n, q.prob, 0, out.data());
                for (std::size_t i = 0; i < x.size(); ++i)
                    EXPECT_SAME_BITS(out[i], zolv_BinomialCdf(x[i], q.n, q.prob, 0));
                zolv_ParallelBinomialCdf(whole.data(), whole.size(), q.n, q.prob, 9, out.data());
                for (std::size_t i = 0; i < whole.size(); ++i)
                    EXPECT_SAME_BITS(out[i], zolv_BinomialCdf(whole[i], q.n, q.prob, 9));
                for (unsigned char upper : both_tails) {
                    zolv_ParallelBinomialInvCdf(p.data(), p.size(), q.n, q.prob, upper, out.data());
                    for (std::size_t i = 0; i < p.size(); ++i)
                        EXPECT_SAME_BITS(out[i], zolv_BinomialInvCdf(p[i], q.n, q.prob, upper));
                }
            });
        }
    }
}

TEST(binomial_arrays, upper_tail_takes_n_minus_one_as_a_signed_32_bit_integer) {
    const std::vector<double> x = {0.0, 1.0, 2147483647.0, 4e9, -1.0, -5.0, -infinity, nan_value};
    std::vector<double> out(x.size());
    // 4294967295 - 1 is -2: floor(-2 - x) reaches 0 from x = -2 down.
    zolv_ParallelBinomialCdf(x.data(), x.size(), most_trials, 1.0 - 0x1p-30, 1, out.data());
    for (int i : {0, 1, 2, 3, 4}) EXPECT_SAME_BITS(out[i], 0.0);
    EXPECT_SAME_BITS(out[5], zolv_BinomialCdf(3.0, most_trials, 0x1p-30, 0));
    EXPECT_GT(out[5], 0.0);
    EXPECT_SAME_BITS(out[6], 1.0);
    EXPECT_SIGN_SET_NAN(out[7]);
    // 2147483649 - 1 is the most negative integer; 2147483648 - 1 still fits.
    const double one = 1.0;
    zolv_ParallelBinomialCdf(&one, 1, 2147483649u, 0.5, 1, out.data());
    EXPECT_SAME_BITS(out[0], 0.0);
    zolv_ParallelBinomialCdf(&one, 1, 2147483648u, 1e-9, 1, out.data());
    EXPECT_SAME_BITS(out[0], zolv_BinomialCdf(1.0, 2147483648u, 1e-9, 1));
    EXPECT_GT(out[0], 0.1);
}

TEST(binomial_arrays, upper_tail_may_round_to_the_other_side_next_to_a_whole_x) {
    const double x = above(1.0);
    double out = -7.0;
    zolv_ParallelBinomialCdf(&x, 1, 2, 0.5, 1, &out);
    EXPECT_SAME_BITS(out, 0.0);                                // floor((2 - 1) - x) = -1
    EXPECT_NEAR(zolv_BinomialCdf(x, 2, 0.5, 1), 0.25, 1e-15);  // x + 1 has rounded to 2: floor(0) = 0
    const std::vector<double> ordinary = {0.25, 0.5, 2.5, 7.75, -0.5, -3.25};
    std::vector<double> many(ordinary.size());
    zolv_ParallelBinomialCdf(ordinary.data(), ordinary.size(), 10, 0.4, 1, many.data());
    for (std::size_t i = 0; i < many.size(); ++i)
        EXPECT_SAME_BITS(many[i], zolv_BinomialCdf(ordinary[i], 10, 0.4, 1));
}

TEST(binomial_arrays, bad_prob_fills_with_the_missing_value) {
    for (double prob : bad_probabilities) {
        std::vector<double> out(50, -7.0);
        zolv_ParallelBinomialPdf(nullptr, out.size(), 10, prob, out.data());  // x is not looked at
        for (double v : out) EXPECT_MISSING(v);
        for (unsigned char upper : both_tails) {
            out.assign(50, -7.0);
            zolv_ParallelBinomialCdf(nullptr, out.size(), 10, prob, upper, out.data());
            for (double v : out) EXPECT_MISSING(v);
            out.assign(50, -7.0);
            zolv_ParallelBinomialInvCdf(nullptr, out.size(), 10, prob, upper, out.data());
            for (double v : out) EXPECT_MISSING(v);
        }
    }
}

TEST(binomial_arrays, a_count_of_zero_writes_nothing) {
    const double x = 3.0;
    for (double prob : {0.3, nan_value}) {
        double out = -7.0;
        zolv_ParallelBinomialPdf(&x, 0, 10, prob, &out);
        zolv_ParallelBinomialCdf(&x, 0, 10, prob, 0, &out);
        zolv_ParallelBinomialCdf(&x, 0, 10, prob, 1, &out);
        zolv_ParallelBinomialInvCdf(&x, 0, 10, prob, 0, &out);
        zolv_ParallelBinomialInvCdf(nullptr, 0, 10, prob, 1, nullptr);
        EXPECT_EQ(out, -7.0);
    }
}

TEST(binomial_arrays, in_place) {
    std::vector<double> values = {0.0, 3.0, 4.0, 10.0};
    const std::vector<double> x = values;
    zolv_ParallelBinomialCdf(values.data(), values.size(), 10, 0.4, 1, values.data());
    for (std::size_t i = 0; i < x.size(); ++i)
        EXPECT_SAME_BITS(values[i], zolv_BinomialCdf(x[i], 10, 0.4, 1));
}

}  // namespace
