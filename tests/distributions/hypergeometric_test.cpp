// The hypergeometric kernels: exact rational values, 50 digits and another program for large populations,
// both sides of each switch, the eight residual forms, quantile, laws.
#include "distributions/hypergeometric.hpp"

#include <array>
#include <cmath>
#include <cstdint>
#include <random>
#include <vector>

#include "support/bits.hpp"
#include "support/reference_table.hpp"
#include "support/regime_errors.hpp"

namespace {

using namespace dru::impl;

const double infinity = std::numeric_limits<double>::infinity();
const double nan_value = std::numeric_limits<double>::quiet_NaN();

void expect_tails(const discrete_tails& t, double lower, double upper, double mass) {
    EXPECT_EQ(t.lower, lower);
    EXPECT_EQ(t.upper_tail, upper);
    EXPECT_EQ(t.mass, mass);
}

// ---- references
// --------------------------------------------------------------------------------------------

// At x above the mode the lower tail is what the others leave, also where it is the smaller one or, at the
// low end of the support, nothing: its error is absolute.
TEST(hypergeometric_tails, agree_with_exact_fractions) {
    const zolv_test::reference_table table("hypergeometric_truth");
    double worst_mass = 0.0, worst_tail = 0.0;
    int rows = 0;
    for (std::size_t row = 0; row < table.size(); ++row) {
        if (table.text(row, "regime") != "exact") continue;
        const discrete_tails t = hypergeometric_tails(table.number(row, "x"), table.number(row, "N"),
                                                      table.number(row, "K"), table.number(row, "n"));
        const double mass = table.number(row, "mass");
        worst_mass = std::max(worst_mass, std::abs(t.mass - mass) / mass);
        worst_tail = std::max({worst_tail, std::abs(t.lower - table.number(row, "lower")),
                               std::abs(t.upper_tail - table.number(row, "upper"))});
        ++rows;
    }
    std::printf("%d rows, N up to 60: worst relative error of the mass %.2g, absolute of the tails %.2g\n",
                rows, worst_mass, worst_tail);
    EXPECT_GT(rows, 400);
    EXPECT_LE(worst_mass, 3e-14);  // measured, times about 2
    EXPECT_LE(worst_tail, 2e-14);
}

// The same in whole-number arithmetic for every N, K, n and x: C(60, 30) has 57 bits.
TEST(hypergeometric_tails, agree_with_exact_counts_for_every_population_up_to_60) {
    std::vector<std::vector<std::uint64_t>> choose(61, std::vector<std::uint64_t>(61, 0));
    for (std::size_t i = 0; i <= 60; ++i) {
        choose[i][0] = 1;
        for (std::size_t j = 1; j <= i; ++j) choose[i][j] = choose[i - 1][j - 1] + choose[i - 1][j];
    }
    double worst_mass = 0.0, worst_tail = 0.0;
    int rows = 0;
    for (std::size_t N = 1; N <= 60; N += N < 20 ? 1 : 4) {
        for (std::size_t K = 0; K <= N; ++K) {
            for (std::size_t n = 0; n <= N; ++n) {
                const hypergeometric_distribution distribution(static_cast<double>(N), static_cast<double>(K),
                                                               static_cast<double>(n));
                const auto total = static_cast<long double>(choose[N][n]);
                std::uint64_t below = 0;
                for (std::size_t x = n + K > N ? n + K - N : 0; x <= std::min(K, n); ++x) {
                    const std::uint64_t weight = choose[K][x] * choose[N - K][n - x];
                    const auto mass = static_cast<double>(static_cast<long double>(weight) / total);
                    const auto lower = static_cast<double>(static_cast<long double>(below) / total);
                    const auto upper =
                        static_cast<double>(static_cast<long double>(choose[N][n] - below - weight) / total);
                    const discrete_tails t = distribution.tails(static_cast<double>(x));
                    worst_mass = std::max(worst_mass, std::abs(t.mass - mass) / mass);
                    worst_tail =
                        std::max({worst_tail, std::abs(t.lower - lower), std::abs(t.upper_tail - upper)});
                    below += weight;
                    ++rows;
                }
            }
        }
    }
    std::printf("%d points: worst relative error of the mass %.2g, absolute of the tails %.2g\n", rows,
                worst_mass, worst_tail);
    EXPECT_GT(rows, 100000);
    EXPECT_LE(worst_mass, 5e-14);  // measured, times about 2
    EXPECT_LE(worst_tail, 3e-14);
}

TEST(hypergeometric_tails, agree_with_60_digits_in_every_regime) {
    const zolv_test::reference_table table("hypergeometric_truth");
    zolv_test::regime_errors errors;
    for (std::size_t row = 0; row < table.size(); ++row) {
        if (table.text(row, "regime") == "exact") continue;
        const discrete_tails t = hypergeometric_tails(table.number(row, "x"), table.number(row, "N"),
                                                      table.number(row, "K"), table.number(row, "n"));
        errors.add(table.text(row, "regime"), {t.lower, t.upper_tail, t.mass},
                   {table.number(row, "lower"), table.number(row, "upper"), table.number(row, "mass")});
    }
    errors.expect_within({
        {"variance up to 1000", 2e-12, 2e-12, 4e-14},
        {"variance 1e3 to 1e5 within 8 s", 2e-11, 2e-11, 3e-14},
        {"variance 1e3 to 1e5 to 25 s", 3e-11, 3e-11, 1e-15},
        {"normal 1e5 within 4 s", 2e-12, 8e-11, 1e-11},
        {"normal 1e5 to 8 s", 6e-12, 1.2e-10, 2e-15},
        {"normal 1e5 to 16 s", 4e-11, 2e-10, 1e-15},
        {"normal 1e5 to 25 s", 8e-11, 5e-9, 1e-15},
        {"normal 1e6 up within 8 s", 2e-11, 9e-11, 1e-11},
        {"normal 1e6 up to 25 s", 8e-11, 1.5e-10, 1e-15},
        {"unbounded population", 1.3e-10, 1.3e-10, 5e-13},
    });
}

TEST(hypergeometric_tails, agree_with_another_program_for_large_populations) {
    const zolv_test::reference_table table("hypergeometric_peer");
    zolv_test::regime_errors errors;
    for (std::size_t row = 0; row < table.size(); ++row) {
        const discrete_tails t = hypergeometric_tails(table.number(row, "x"), table.number(row, "N"),
                                                      table.number(row, "K"), table.number(row, "n"));
        errors.add("N from 1e4 to 1e9", {t.lower, t.upper_tail, t.mass},
                   {table.number(row, "lower"), table.number(row, "upper"), table.number(row, "mass")});
    }
    errors.expect_within({{"N from 1e4 to 1e9", 8e-12, 1e-10, 1.3e-11}});
}

// ---- edges and switches
// ------------------------------------------------------------------------------------

TEST(hypergeometric_tails, outside_the_support) {
    // N = 10, K = 6, n = 7: x from 3 to 6
    expect_tails(hypergeometric_tails(-1.0, 10.0, 6.0, 7.0), 0.0, 1.0, 0.0);
    expect_tails(hypergeometric_tails(2.0, 10.0, 6.0, 7.0), 0.0, 1.0, 0.0);
    expect_tails(hypergeometric_tails(7.0, 10.0, 6.0, 7.0), 1.0, 0.0, 0.0);  // above K
    expect_tails(hypergeometric_tails(7.0, 10.0, 7.0, 6.0), 1.0, 0.0, 0.0);  // above n
    EXPECT_NEAR(hypergeometric_tails(3.0, 10.0, 6.0, 7.0).mass, 20.0 / 120.0, 1e-15);
    EXPECT_NEAR(hypergeometric_tails(6.0, 10.0, 6.0, 7.0).mass, 4.0 / 120.0, 1e-15);
    EXPECT_EQ(hypergeometric_tails(6.0, 10.0, 6.0, 7.0).upper_tail, 0.0);
}

TEST(hypergeometric_tails, certain_outcomes) {
    for (const auto& [K, n] : {std::array{0.0, 4.0}, {4.0, 0.0}, {0.0, 0.0}}) {
        const discrete_tails t = hypergeometric_tails(0.0, 10.0, K, n);
        EXPECT_NEAR(t.mass, 1.0, 1e-14);
        EXPECT_EQ(t.lower, 0.0);
        EXPECT_NEAR(t.upper_tail, 0.0, 1e-14);
    }
    expect_tails(hypergeometric_tails(0.0, 0.0, 0.0, 0.0), 0.0, 0.0, 1.0);
    for (const auto& [N, K, n] : {std::array{10.0, 10.0, 4.0}, {10.0, 4.0, 10.0}, {1.0, 1.0, 1.0}}) {
        const discrete_tails t = hypergeometric_tails(std::min(K, n), N, K, n);
        EXPECT_NEAR(t.mass, 1.0, 1e-14);
        EXPECT_EQ(t.upper_tail, 0.0);
        EXPECT_NEAR(t.lower, 0.0, 1e-14);
    }
}

TEST(hypergeometric_tails, a_small_variance_ends_at_42500) {
    // N = 10^6, n = 43000, K = N - 500: the mean is 42978.5, the variance near 20
    expect_tails(hypergeometric_tails(42980.0, 1e6, 1e6 - 500.0, 43000.0), 1.0, 0.0, 0.0);
    expect_tails(hypergeometric_tails(42500.0, 1e6, 1e6 - 500.0, 43000.0), 1.0, 0.0, 0.0);
    EXPECT_EQ(hypergeometric_tails(42500.0, 1e6, 1e6 - 500.0, 43000.0).lower, 1.0);
    // one below is computed: it lies at the low end of the support
    EXPECT_NEAR(hypergeometric_tails(42499.0, 1e6, 1e6 - 501.0, 43000.0).upper_tail, 1.0, 1e-12);
}

TEST(hypergeometric_tails, above_a_variance_of_1000_they_end_at_25_s) {
    // N = 10^6, K = n = 5 10^5: v = 62500, s = 250, mean 250000
    expect_tails(hypergeometric_tails(256250.0, 1e6, 5e5, 5e5), 1.0, 0.0, 0.0);
    expect_tails(hypergeometric_tails(243750.0, 1e6, 5e5, 5e5), 0.0, 1.0, 0.0);
    EXPECT_GT(hypergeometric_tails(256249.0, 1e6, 5e5, 5e5).mass, 0.0);
    EXPECT_GT(hypergeometric_tails(243751.0, 1e6, 5e5, 5e5).lower, 0.0);
    // v = 1000 exactly (N = 16000): still summed to the end
    EXPECT_GT(hypergeometric_tails(4800.0, 16000.0, 8000.0, 8000.0).mass, 0.0);
    EXPECT_EQ(hypergeometric_tails(4800.0, 16016.0, 8008.0, 8008.0).lower, 1.0);
}

TEST(hypergeometric_ratios, forms_meet_at_a_variance_of_1e5) {
    // v = N/16 with half marked and half drawn
    for (double x : {398000.0, 399500.0, 399999.0, 400000.0, 400200.0, 402000.0}) {
        const double N = 1600000.0, n = N / 2.0;
        EXPECT_SAME_BITS(hypergeometric_upper_ratio(x, N, n, n),
                         hypergeometric_upper_ratio_normal(x, N, n, n));
        EXPECT_SAME_BITS(hypergeometric_lower_ratio(x, N, n, n),
                         hypergeometric_lower_ratio_normal(x, N, n, n));
        const double m = n - 1.0;  // v just below 10^5
        if (x >= 400000.0) {
            EXPECT_TRUE(zolv_test::within_relative(hypergeometric_upper_ratio_normal(x, N, n, m),
                                                   hypergeometric_upper_ratio(x, N, n, m), 2e-10));
        } else {
            EXPECT_TRUE(zolv_test::within_relative(hypergeometric_lower_ratio_normal(x, N, n, m),
                                                   hypergeometric_lower_ratio(x, N, n, m), 2e-10));
        }
    }
}

// With next to nothing drawn (b near 0) the polynomials are the binomial ones.
TEST(hypergeometric_ratios, normal_form_ends_in_the_binomial_one) {
    const double N = 1e40, n = 1e9, K = 3e39;
    for (double x : {2.9995e8, 2.9999e8, 3e8, 3.0001e8, 3.0006e8}) {
        EXPECT_TRUE(zolv_test::within_relative(hypergeometric_upper_ratio_normal(x, N, K, n),
                                               binomial_upper_ratio_normal(x, n, 0.3), 1e-10));
        EXPECT_TRUE(zolv_test::within_relative(hypergeometric_lower_ratio_normal(x, N, K, n),
                                               binomial_lower_ratio_normal(x, n, 0.3), 1e-10));
    }
}

TEST(hypergeometric_tails, from_1e30_on_draws_are_independent) {
    for (double x : {0.0, 9.0, 12.0, 20.0, 40.0}) {
        const discrete_tails t = hypergeometric_tails(x, 1e30, 3e29, 40.0),
                             u = binomial_tails(x, 40.0, 3e29 / 1e30);
        EXPECT_SAME_BITS(t.lower, u.lower);
        EXPECT_SAME_BITS(t.upper_tail, u.upper_tail);
        EXPECT_SAME_BITS(t.mass, u.mass);
        const discrete_tails fewer = hypergeometric_tails(x, std::nextafter(1e30, 0.0), 3e29, 40.0);
        EXPECT_TRUE(zolv_test::within_relative(fewer.upper_tail, u.upper_tail, 1e-11));
        EXPECT_TRUE(zolv_test::within_relative(fewer.mass, u.mass, 1e-11));
    }
}

TEST(hypergeometric_ratios, end_whatever_they_are_given) {
    EXPECT_EQ(hypergeometric_upper_ratio(0.0, 1e9, 1e6, 1e6), infinity);
    EXPECT_EQ(hypergeometric_upper_ratio(nan_value, 10.0, 4.0, 5.0), 0.0);
    EXPECT_EQ(hypergeometric_lower_ratio(nan_value, 10.0, 4.0, 5.0), 0.0);
    EXPECT_TRUE(std::isnan(hypergeometric_upper_ratio(1e300, 10.0, 4.0, 5.0)));  // the factors overflow
    EXPECT_TRUE(std::isnan(hypergeometric_tails(nan_value, 10.0, 4.0, 5.0).mass));
    EXPECT_TRUE(std::isnan(hypergeometric_tails(3.0, nan_value, 4.0, 5.0).mass));
}

// ---- laws
// --------------------------------------------------------------------------------------------------

struct population {
    double N, K, n;
};

population random_population(std::mt19937_64& engine, double most) {
    const double N = std::floor(std::pow(10.0, std::uniform_real_distribution<double>(0.4, most)(engine)));
    std::uniform_real_distribution<double> share(0.0, 1.0);
    return {N, std::floor(share(engine) * (N + 1.0)), std::floor(share(engine) * (N + 1.0))};
}

TEST(hypergeometric_tails, sum_to_one) {
    std::mt19937_64 engine(1);
    for (int i = 0; i < 10000; ++i) {
        const auto [N, K, n] = random_population(engine, 9.0);
        const double sd = std::sqrt(n * (K / N) * (1.0 - K / N) * (1.0 - n / N));
        double x = std::floor(n * (K / N) + std::uniform_real_distribution<double>(-8.0, 8.0)(engine) * sd);
        x = std::min(std::min(K, n), std::max({x, 0.0, n - N + K}));
        const discrete_tails t = hypergeometric_tails(x, N, K, n);
        EXPECT_NEAR(t.lower + t.mass + t.upper_tail, 1.0, x == 0.0 ? 1e-14 : 4e-16)
            << x << " " << N << " " << K << " " << n;
    }
}

TEST(hypergeometric_tails, are_symmetric_in_marked_and_drawn) {
    std::mt19937_64 engine(2);
    for (int i = 0; i < 3000; ++i) {
        const auto [N, K, n] = random_population(engine, 8.0);
        const double sd = std::sqrt(n * (K / N) * (1.0 - K / N) * (1.0 - n / N));
        double x = std::floor(n * (K / N) + std::uniform_real_distribution<double>(-4.0, 4.0)(engine) * sd);
        x = std::min(std::min(K, n), std::max({x, 0.0, n - N + K}));
        const discrete_tails t = hypergeometric_tails(x, N, K, n), u = hypergeometric_tails(x, N, n, K);
        EXPECT_NEAR(t.mass, u.mass, 2e-11 * t.mass);
        EXPECT_NEAR(t.lower, u.lower, 1e-10 * t.lower + 4e-15);
        EXPECT_NEAR(t.upper_tail, u.upper_tail, 1e-10 * t.upper_tail + 4e-15);
    }
}

// ---- the eight residual forms
// ------------------------------------------------------------------------------

TEST(hypergeometric_residual, every_form_gives_its_tail) {
    std::mt19937_64 engine(3);
    for (int i = 0; i < 2000; ++i) {
        const auto [N, K, n] = random_population(engine, 4.0);
        const double low = std::max(0.0, n - N + K), high = std::min(K, n);
        const double x =
            low + std::floor(std::uniform_real_distribution<double>(0.0, 1.0)(engine) * (high - low + 1.0));
        const discrete_tails t = hypergeometric_tails(x, N, K, n);
        const double at_most = t.lower + t.mass, more = t.upper_tail;
        const struct {
            int form;
            double c1, c2, c3, want;
        } cases[] = {{0, N, K, n, at_most},     {1, N - K, N, N - n, at_most},
                     {2, n, N, N - K, at_most}, {3, K, N, N - n, at_most},
                     {4, N, K, n, more},        {5, n, N, N - K, more},
                     {6, K, N, N - n, more},    {7, N - K, N, N - n, more}};
        for (const auto& c : cases) {
            EXPECT_NEAR(hypergeometric_residual(c.form, c.c1, c.c2, c.c3)(x), c.want, 1e-11 * c.want + 4e-14)
                << "form " << c.form << " at " << x << " of " << N << " " << K << " " << n;
        }
    }
}

// The forms are nothing but the tails at other arguments.
TEST(hypergeometric_residual, forms_as_tabled) {
    const double x = 3.0, c1 = 9.0, c2 = 20.0, c3 = 13.0;
    const auto at_most = [](const discrete_tails& t) { return t.lower + t.mass; };
    const auto at_least = [](const discrete_tails& t) { return t.upper_tail + t.mass; };
    EXPECT_SAME_BITS(hypergeometric_residual(0, c2, c1, c3)(x), at_most(hypergeometric_tails(x, c2, c1, c3)));
    EXPECT_SAME_BITS(hypergeometric_residual(1, c1, c2, c3)(x),
                     at_most(hypergeometric_tails(c1 - c2 + c3 + x, c2, c1, c3)));
    EXPECT_SAME_BITS(hypergeometric_residual(2, c1, c2, c3)(x),
                     at_least(hypergeometric_tails(c1 - x, c2, c3, c1)));
    EXPECT_SAME_BITS(hypergeometric_residual(3, c1, c2, c3)(x),
                     at_least(hypergeometric_tails(c1 - x, c2, c1, c3)));
    EXPECT_SAME_BITS(hypergeometric_residual(4, c2, c1, c3)(x),
                     hypergeometric_tails(x, c2, c1, c3).upper_tail);
    EXPECT_SAME_BITS(hypergeometric_residual(5, c1, c2, c3)(x),
                     hypergeometric_tails(c1 - x, c2, c3, c1).lower);
    EXPECT_SAME_BITS(hypergeometric_residual(6, c1, c2, c3)(x),
                     hypergeometric_tails(c1 - x, c2, c1, c3).lower);
    EXPECT_SAME_BITS(hypergeometric_residual(7, c1, c2, c3)(x),
                     hypergeometric_tails(c1 - c2 + c3 + x, c2, c1, c3).upper_tail);
}

// ---- quantile
// ----------------------------------------------------------------------------------------------

TEST(hypergeometric_quantile, by_exact_fractions) {
    const zolv_test::reference_table table("hypergeometric_truth");
    int asked = 0;
    for (std::size_t row = 0; row < table.size(); ++row) {
        if (table.text(row, "regime") != "exact") continue;
        const double x = table.number(row, "x"), N = table.number(row, "N"), K = table.number(row, "K"),
                     n = table.number(row, "n"), below = table.number(row, "lower"),
                     mass = table.number(row, "mass"), upper = table.number(row, "upper");
        if (mass < 1e-9) continue;
        // Anything strictly between P(X < x) and P(X <= x) leads to x, in either tail.
        for (double share : {0.001, 0.5, 0.999}) {
            EXPECT_EQ(hypergeometric_quantile(below + share * mass, N, K, n, 0), x)
                << N << " " << K << " " << n;
            EXPECT_EQ(hypergeometric_quantile(upper + share * mass, N, K, n, 1), x)
                << N << " " << K << " " << n;
            ++asked;
        }
    }
    EXPECT_GT(asked, 1000);
}

// P(X <= x) or P(X > x) with at most half marked and half drawn, and marked and drawn exchanged: not the very
// function that the quantile searches, hence the tolerance there.
double tail_of(const population& q, double x, bool upper) {
    if (q.K > q.N / 2.0) return tail_of({q.N, q.N - q.K, q.n}, q.n - x - 1.0, !upper);
    if (q.n > q.N / 2.0) return tail_of({q.N, q.K, q.N - q.n}, q.K - x - 1.0, !upper);
    const discrete_tails t = hypergeometric_tails(x, q.N, q.n, q.K);
    return upper ? t.upper_tail : t.lower + t.mass;
}

TEST(hypergeometric_quantile, is_the_smallest_x_that_reaches_p) {
    std::mt19937_64 engine(4);
    for (int i = 0; i < 10000; ++i) {
        const auto [N, K, n] = random_population(engine, 10.0);
        const double tail = std::pow(10.0, std::uniform_real_distribution<double>(-9.0, -0.301)(engine));
        const double p = i % 2 ? tail : 1.0 - tail;
        const unsigned char upper = (i / 2) % 2;
        const double x = hypergeometric_quantile(p, N, K, n, upper);
        const double low = std::max(0.0, n - N + K), high = std::min(K, n);
        ASSERT_TRUE(x >= low && x <= high) << x << " " << N << " " << K << " " << n << " " << p;
        const double slack = 2e-9 * p;
        if (upper) {
            EXPECT_LE(tail_of({N, K, n}, x, upper), p + slack);
            EXPECT_GE(tail_of({N, K, n}, x - 1.0, upper), p - slack);
        } else {
            EXPECT_GE(tail_of({N, K, n}, x, upper), p - slack);
            EXPECT_LE(tail_of({N, K, n}, x - 1.0, upper), p + slack);
        }
    }
}

TEST(hypergeometric_quantile, ends) {
    // N = 10, K = 6, n = 7: x from 3 to 6
    EXPECT_EQ(hypergeometric_quantile(0.0, 10.0, 6.0, 7.0, 0), 3.0);
    EXPECT_EQ(hypergeometric_quantile(0.0, 10.0, 6.0, 7.0, 1), 6.0);
    EXPECT_EQ(hypergeometric_quantile(1.0, 10.0, 6.0, 7.0, 0), 6.0);
    EXPECT_EQ(hypergeometric_quantile(1.0, 10.0, 6.0, 7.0, 1), 3.0);
    for (double p : {-0.1, 1.1, nan_value})
        EXPECT_SIGN_SET_NAN(hypergeometric_quantile(p, 10.0, 6.0, 7.0, 0));
    EXPECT_EQ(hypergeometric_quantile(0.3, 10.0, 0.0, 7.0, 0), 0.0);
    EXPECT_EQ(hypergeometric_quantile(0.3, 10.0, 10.0, 7.0, 1), 7.0);
    EXPECT_EQ(hypergeometric_quantile(0.3, 10.0, 4.0, 10.0, 1), 4.0);
}

TEST(hypergeometric_quantile, above_a_variance_of_1e12_is_the_estimate) {
    const double N = 1e14, half = 5e13;  // v = N/16 = 6.25e12
    EXPECT_EQ(hypergeometric_quantile(0.5, N, half, half, 0), 2.5e13);
    EXPECT_EQ(hypergeometric_quantile(0.1, N, half, half, 0),
              std::floor(2.5e13 + 0.5 + 2.5e6 * normal_std_quantile(0.1)));
    EXPECT_EQ(hypergeometric_quantile(0.1, N, half, half, 1),
              std::floor(2.5e13 + 0.5 - 2.5e6 * normal_std_quantile(0.1)));
}

TEST(hypergeometric_prepared, gives_the_bits_of_the_plain_functions) {
    for (const population& q :
         {population{60.0, 20.0, 30.0}, {1e6, 5e5, 3e5}, {1e9, 3e8, 5e8}, {1e31, 1e30, 90.0}}) {
        const hypergeometric_distribution distribution(q.N, q.K, q.n);
        const double mean = std::floor(q.n * (q.K / q.N));
        for (double x : {0.0, mean - 3.0, mean, mean + 4.0, mean * 1.001 + 2.0}) {
            const discrete_tails t = distribution.tails(std::floor(x)),
                                 u = hypergeometric_tails(std::floor(x), q.N, q.K, q.n);
            EXPECT_SAME_BITS(t.lower, u.lower);
            EXPECT_SAME_BITS(t.upper_tail, u.upper_tail);
            EXPECT_SAME_BITS(t.mass, u.mass);
        }
        EXPECT_SAME_BITS(distribution.log_pmf(mean), hypergeometric_log_pmf(mean, q.N, q.K, q.n));
    }
}

}  // namespace
