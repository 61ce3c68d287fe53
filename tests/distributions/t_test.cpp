// The six exports of Student's t family: parameters, ends, central tails and quantile, array forms, and what
// any argument gets. The density's and the noncentral tails' own tests stand in t_density_test.cpp and
// quantiles/noncentral_t_test.cpp.
#include <gtest/gtest.h>
#include <sys/time.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <csignal>
#include <cstdio>
#include <limits>
#include <numbers>
#include <random>
#include <string>
#include <vector>

#include "distributions/central_tails.hpp"
#include "kernels/incomplete_beta.hpp"
#include "kernels/log_gamma.hpp"
#include "quantiles/beta_quantile.hpp"
#include "quantiles/gamma_quantile.hpp"
#include "support/bits.hpp"
#include "support/threads.hpp"
#include "zolv.h"

using namespace dru::impl;
using namespace zolv_test;

namespace {

constexpr double inf = std::numeric_limits<double>::infinity();
const double missing = from_bits(missing_bits);
const double sign_set = from_bits(sign_set_nan_bits);

double after(double x) { return std::nextafter(x, inf); }
double before(double x) { return std::nextafter(x, -inf); }

// ---- parameters

TEST(TParameters, BadOnesGiveTheMissingValue) {
    struct {
        double df, nc;
    } const bad[] = {{0.0, 0.0},      {-0.0, 1.0},        {-1.0, 0.0}, {inf, 0.0},  {-inf, 1.0},
                     {missing, 0.0},  {sign_set, 0.0},    {5.0, inf},  {5.0, -inf}, {5.0, missing},
                     {5.0, sign_set}, {missing, missing}, {0.0, inf}};
    for (const auto& [df, nc] : bad) {
        for (const double x : {0.3, -2.0, 0.0, 1.0, inf, sign_set}) {
            EXPECT_MISSING(zolv_TPdf(x, df, nc));
            for (const unsigned char upper : {0, 1}) {
                EXPECT_MISSING(zolv_TCdf(x, df, nc, upper));
                EXPECT_MISSING(zolv_TInvCdf(x, df, nc, upper));
            }
        }
        const double x[3] = {0.3, sign_set, 0.9};
        double out[3][4];
        for (auto& row : out) row[0] = row[1] = row[2] = row[3] = 7.0;
        zolv_ParallelTPdf(x, 3, df, nc, out[0]);
        zolv_ParallelTCdf(x, 3, df, nc, 1, out[1]);
        zolv_ParallelTInvCdf(x, 3, df, nc, 0, out[2]);
        for (const auto& row : out) {
            for (int i = 0; i < 3; ++i) EXPECT_MISSING(row[i]);
            EXPECT_SAME_BITS(row[3], 7.0);
        }
    }
}

TEST(TParameters, EndsOfTheDomain) {
    const double largest = std::numeric_limits<double>::max(),
                 smallest = std::numeric_limits<double>::denorm_min();
    for (const double df : {smallest, 1e-308, largest}) {
        EXPECT_SAME_BITS(zolv_TCdf(0.0, df, 0.0, 0), 0.5);
        EXPECT_SAME_BITS(zolv_TCdf(0.0, df, largest, 0), 0.0);
        EXPECT_SAME_BITS(zolv_TPdf(inf, df, largest), 0.0);
    }
}

TEST(TArray, NoElementsWritesNothing) {
    for (const double df : {5.0, -1.0}) {
        for (const double nc : {0.0, 2.0, inf}) {
            double out = 3.0;
            zolv_ParallelTPdf(nullptr, 0, df, nc, &out);
            zolv_ParallelTCdf(nullptr, 0, df, nc, 0, &out);
            zolv_ParallelTInvCdf(nullptr, 0, df, nc, 1, &out);
            EXPECT_SAME_BITS(out, 3.0);
        }
    }
}

// ---- distribution function

TEST(TCdf, CentreAndEnds) {
    for (const double df : {0.3, 1.0, 7.0, 1e9}) {
        for (const unsigned char upper : {0, 1, 2, 255}) {
            EXPECT_SAME_BITS(zolv_TCdf(0.0, df, 0.0, upper), 0.5);
            EXPECT_SAME_BITS(zolv_TCdf(-0.0, df, -0.0, upper), 0.5);
            for (const double nc : {0.0, 1.0, -30.0}) {
                EXPECT_SAME_BITS(zolv_TCdf(inf, df, nc, upper), upper ? 0.0 : 1.0);
                EXPECT_SAME_BITS(zolv_TCdf(-inf, df, nc, upper), upper ? 1.0 : 0.0);
                EXPECT_SIGN_SET_NAN(zolv_TCdf(missing, df, nc, upper));
                EXPECT_SIGN_SET_NAN(zolv_TCdf(sign_set, df, nc, upper));
            }
        }
    }
}

TEST(TCdf, CentralIsTheCentralTail) {
    for (const double df : {0.02, 1.0, 6.5, 1e4, 1e12}) {
        for (const double x : {-1e5, -3.0, -0.1, 1e-9, 0.7, 25.0}) {
            for (const unsigned char upper : {0, 1}) {
                EXPECT_SAME_BITS(zolv_TCdf(x, df, 0.0, upper), t_cdf_central(x, df, upper));
            }
        }
    }
}

// ---- quantile

TEST(TInvCdf, EndsAndOutside) {
    for (const double nc : {0.0, 3.0, -3.0}) {
        EXPECT_SAME_BITS(zolv_TInvCdf(0.0, 5.0, nc, 0), -inf);
        EXPECT_SAME_BITS(zolv_TInvCdf(0.0, 5.0, nc, 1), inf);
        EXPECT_SAME_BITS(zolv_TInvCdf(1.0, 5.0, nc, 0), inf);
        EXPECT_SAME_BITS(zolv_TInvCdf(1.0, 5.0, nc, 1), -inf);
        EXPECT_SAME_BITS(zolv_TInvCdf(-0.0, 5.0, nc, 0), -inf);
        for (const double p : {before(0.0), after(1.0), -0.5, 2.0, inf, -inf, missing, sign_set}) {
            EXPECT_SIGN_SET_NAN(zolv_TInvCdf(p, 5.0, nc, 0));
            EXPECT_SIGN_SET_NAN(zolv_TInvCdf(p, 5.0, nc, 1));
        }
    }
}

TEST(TInvCdf, MedianIsZero) {
    for (const double df : {5e-324, 0.5, 3.0, 2e9, 1e300}) {
        EXPECT_SAME_BITS(zolv_TInvCdf(0.5, df, 0.0, 0), 0.0);
        EXPECT_SAME_BITS(zolv_TInvCdf(0.5, df, 0.0, 1), 0.0);
    }
}

TEST(TInvCdf, ClosedForms) {
    for (const double p : {0.001, 0.01, 0.2, 0.4}) {
        const double cauchy = -1.0 / std::tan(std::numbers::pi * p);
        const double two = (2.0 * p - 1.0) / std::sqrt(2.0 * p * (1.0 - p));
        EXPECT_TRUE(within_relative(zolv_TInvCdf(p, 1.0, 0.0, 0), cauchy, 1e-11)) << p;
        EXPECT_TRUE(within_relative(zolv_TInvCdf(p, 1.0, 0.0, 1), -cauchy, 1e-11)) << p;
        EXPECT_TRUE(within_relative(zolv_TInvCdf(p, 2.0, 0.0, 0), two, 1e-11)) << p;
    }
    // Upper 2.5 % points of the published tables.
    const double points[][2] = {{1, 12.706}, {2, 4.303}, {5, 2.571}, {10, 2.228}, {30, 2.042}, {120, 1.980}};
    for (const auto& [df, x] : points) EXPECT_NEAR(zolv_TInvCdf(0.025, df, 0.0, 1), x, 6e-4) << df;
}

// Both probabilities, both tails: one cut and a sign.
TEST(TInvCdf, SignsFollowTailAndSide) {
    for (const double df : {0.7, 4.0, 60.0, 3e9}) {
        for (const double p : {0.25, 0.0625, 0.484375}) {  // 1 - p is exact
            const double x = zolv_TInvCdf(p, df, 0.0, 1);
            EXPECT_GT(x, 0.0);
            EXPECT_SAME_BITS(zolv_TInvCdf(p, df, 0.0, 0), -x);
            EXPECT_SAME_BITS(zolv_TInvCdf(1.0 - p, df, 0.0, 1), -x);
            EXPECT_SAME_BITS(zolv_TInvCdf(1.0 - p, df, 0.0, 0), x);
        }
    }
}

// A cut at the tail of one half itself is searched from the right, the double below from the left.
TEST(TInvCdf, BothSidesOfTheTailAtHalf) {
    for (const double df : {1.0, 4.0, 30.0}) {
        const double h = df / 2.0, M = beta_tails(0.5, 0.5, h).upper;
        const auto from = [df](double w) { return std::sqrt(df * w / (1.0 - w)); };
        EXPECT_SAME_BITS(zolv_TInvCdf(0.5 * M, df, 0.0, 1), from(beta_quantile_right(M, 0.5, h)));
        const double T = before(M);
        EXPECT_SAME_BITS(zolv_TInvCdf(0.5 * T, df, 0.0, 1), from(1.0 - beta_quantile_left(T, h, 0.5)));
        EXPECT_TRUE(
            within_relative(zolv_TInvCdf(0.5 * T, df, 0.0, 1), zolv_TInvCdf(0.5 * M, df, 0.0, 1), 1e-11));
    }
}

// From h = 1e9 on the beta variate is a gamma variate over h.
TEST(TInvCdf, GammaLimitFromTwoBillionDegreesOfFreedom) {
    for (const double p : {1e-10, 0.2, 0.45}) {
        const double at = zolv_TInvCdf(p, 2e9, 0.0, 1), below = zolv_TInvCdf(p, before(2e9), 0.0, 1);
        const double w = gamma_quantile_right(2.0 * p, 0.5) / 1e9;
        EXPECT_SAME_BITS(at, std::sqrt(2e9 * w / (1.0 - w)));
        EXPECT_TRUE(within_relative(at, below, 5e-8)) << p;
        EXPECT_TRUE(within_relative(zolv_TInvCdf(p, 1e300, 0.0, 1), zolv_NormalInvCdf(p, 0.0, 1.0, 1), 1e-9));
    }
}

// Far out 1 - w keeps few digits; once the cut has rounded to 1 the quantile is infinite. Pinned, not wanted.
TEST(TInvCdf, CutAtOneIsInfinite) {
    EXPECT_TRUE(within_relative(zolv_TInvCdf(1e-6, 1.0, 0.0, 1), 318309.88618274347, 1e-4));
    EXPECT_FALSE(within_relative(zolv_TInvCdf(1e-6, 1.0, 0.0, 1), 318309.88618274347, 1e-8));
    EXPECT_SAME_BITS(zolv_TInvCdf(1e-12, 1.0, 0.0, 1), inf);  // 3.2e11
    EXPECT_SAME_BITS(zolv_TInvCdf(1e-300, 0.5, 0.0, 1), inf);
    EXPECT_SAME_BITS(zolv_TInvCdf(1e-300, 0.5, 0.0, 0), -inf);
}

TEST(TInvCdf, InvertsTheCentralTails) {
    std::mt19937_64 random(32);
    std::uniform_real_distribution<double> uniform(0.0, 1.0);
    for (int i = 0; i < 2000; ++i) {
        const double df = std::pow(10.0, 8.0 * uniform(random) - 0.5);
        const double p = i % 2 == 0 ? uniform(random) : std::pow(10.0, -7.0 * uniform(random));
        const unsigned char upper = i % 3 == 0;
        const double x = zolv_TInvCdf(p, df, 0.0, upper);
        if (std::isinf(x)) {  // 1 - w has rounded to 0
            EXPECT_LT(std::min(p, 1.0 - p), 1e-3);
            continue;
        }
        // 1 - w = df / (df + x^2) is held to 1e-16 of 1 only; the tail is a power df / 2 of it.
        const double allowed = 1e-10 + 5e-16 * (df + x * x);
        EXPECT_TRUE(within_relative(zolv_TCdf(x, df, 0.0, upper), p, allowed)) << show(p) << " " << show(df);
    }
}

// ---- array forms

TEST(TArray, EveryTeamGivesTheScalarBits) {
    std::mt19937_64 random(33);
    std::uniform_real_distribution<double> uniform(0.0, 1.0);
    struct {
        double df, nc;
        std::size_t quantiles;
    } const cases[] = {{4.0, 0.0, 60},  {0.3, 0.0, 60},   {3e9, 0.0, 60},   {5e-324, 0.0, 10},
                       {5.0, 1.3, 30},  {49.0, -7.0, 20}, {0.4, 0.02, 20},  {1500.0, 4.0, 12},
                       {1e5, -2.0, 12}, {30.0, 45.0, 12}, {8.0, 2500.0, 3}, {12.0, 1e-17, 12},
                       {7.0, 1e300, 12}};
    for (const auto& parameters : cases) {
        const double df = parameters.df, nc = parameters.nc;
        const std::size_t quantiles = parameters.quantiles;
        std::vector<double> x = {0.0,    -0.0,    inf,   -inf,   sign_set, missing,
                                 1e-300, -1e-300, 1e200, -1e200, nc,       -nc};
        for (int i = 0; i < 60; ++i) x.push_back((nc == 0.0 ? 1.0 : nc) * (4.0 * uniform(random) - 1.5));
        std::vector<double> p = {0.0, 1.0, 0.5, -0.1, 1.1, sign_set, missing, 1e-12};
        for (std::size_t i = 0; i < quantiles; ++i) p.push_back(uniform(random));
        for (const int team : team_sizes) {
            std::vector<double> out(x.size()), inverse(p.size());
            with_threads(team, [&] { zolv_ParallelTPdf(x.data(), x.size(), df, nc, out.data()); });
            for (std::size_t i = 0; i < x.size(); ++i)
                EXPECT_SAME_BITS(out[i], zolv_TPdf(x[i], df, nc)) << x[i];
            for (const unsigned char upper : {0, 1}) {
                with_threads(team, [&] { zolv_ParallelTCdf(x.data(), x.size(), df, nc, upper, out.data()); });
                for (std::size_t i = 0; i < x.size(); ++i) {
                    EXPECT_SAME_BITS(out[i], zolv_TCdf(x[i], df, nc, upper))
                        << x[i] << " " << df << " " << nc;
                }
                with_threads(
                    team, [&] { zolv_ParallelTInvCdf(p.data(), p.size(), df, nc, upper, inverse.data()); });
                for (std::size_t i = 0; i < p.size(); ++i) {
                    EXPECT_SAME_BITS(inverse[i], zolv_TInvCdf(p[i], df, nc, upper))
                        << p[i] << " " << df << " " << nc;
                }
            }
        }
    }
}

TEST(TArray, InPlace) {
    std::vector<double> x = {-1.0, 0.5, 3.0};
    const std::vector<double> copy = x;
    zolv_ParallelTCdf(x.data(), x.size(), 6.0, 1.0, 1, x.data());
    for (std::size_t i = 0; i < x.size(); ++i) EXPECT_SAME_BITS(x[i], zolv_TCdf(copy[i], 6.0, 1.0, 1));
}

// ---- any argument

// A call that takes more than 10 s of the processor's time ends the program with its arguments.
char call_text[160];

void out_of_time(int) {
    const char head[] = "does not come back: ";
    [[maybe_unused]] const auto a = write(STDERR_FILENO, head, sizeof head - 1);
    [[maybe_unused]] const auto b = write(STDERR_FILENO, call_text, sizeof call_text);
    _exit(1);
}

template <class Call>
double within_ten_seconds(const char* name, double x, double df, double nc, int upper, const Call& call) {
    std::snprintf(call_text, sizeof call_text, "%s(%a, %a, %a, %d)\n", name, x, df, nc, upper);
    itimerval limit{};
    limit.it_value.tv_sec = 10;
    setitimer(ITIMER_VIRTUAL, &limit, nullptr);
    const double result = call();
    limit.it_value.tv_sec = 0;
    setitimer(ITIMER_VIRTUAL, &limit, nullptr);
    return result;
}

TEST(TAnyArgument, ComesBack) {
    std::signal(SIGVTALRM, out_of_time);
    struct {
        double x, df, nc;
    } const cases[] = {{1e5, 1e13, 5e-324},  {49.5, 1e15, 5e-324}, {3e4, 4e9, 1.0}, {59.0, 1e13, 21.3},
                       {1.0, 2.3e-308, 1e5}, {1e200, 3.0, 5.0},    {1.0, 5.0, 1e8}, {3000.0, 1e13, 2000.0}};
    for (const auto& arguments : cases) {
        const double x = arguments.x, df = arguments.df, nc = arguments.nc;
        for (const int upper : {0, 1}) {
            within_ten_seconds("zolv_TCdf", x, df, nc, upper,
                               [&] { return zolv_TCdf(x, df, nc, static_cast<unsigned char>(upper)); });
        }
        within_ten_seconds("zolv_TPdf", x, df, nc, 0, [&] { return zolv_TPdf(x, df, nc); });
    }
    std::signal(SIGVTALRM, SIG_DFL);
}

// Every combination of 24 values. What comes back is in the function's range, the NaN of its case, or, where
// the method itself leaves the range, counted here.
TEST(TAnyArgument, StaysInRange) {
    std::signal(SIGVTALRM, out_of_time);
    const double values[] = {missing,
                             sign_set,
                             inf,
                             -inf,
                             0.0,
                             -0.0,
                             5e-324,
                             -5e-324,
                             2.2250738585072009e-308,
                             2.2250738585072014e-308,
                             1.7976931348623157e308,
                             -1.7976931348623157e308,
                             1.0,
                             -1.0,
                             before(1.0),
                             after(1.0),
                             0.5,
                             1e-300,
                             1e300,
                             2147483648.0,
                             9007199254740992.0,
                             50.0,
                             21.3,
                             -38.4638};
    long undefined_density = 0, infinite_density = 0, undefined_tail = 0, tail_outside = 0,
         undefined_quantile = 0;
    for (const double df : values) {
        for (const double nc : values) {
            const bool valid = df > 0.0 && df < inf && std::isfinite(nc);
            for (const double x : values) {
                const double density =
                    within_ten_seconds("zolv_TPdf", x, df, nc, 0, [&] { return zolv_TPdf(x, df, nc); });
                double tail[2], quantile[2];
                for (const unsigned char upper : {0, 1}) {
                    tail[upper] = within_ten_seconds("zolv_TCdf", x, df, nc, upper,
                                                     [&] { return zolv_TCdf(x, df, nc, upper); });
                    quantile[upper] = within_ten_seconds("zolv_TInvCdf", x, df, nc, upper,
                                                         [&] { return zolv_TInvCdf(x, df, nc, upper); });
                }
                if (!valid) {
                    ASSERT_EQ(bits(density), missing_bits);
                    for (const int upper : {0, 1}) {
                        ASSERT_EQ(bits(tail[upper]), missing_bits);
                        ASSERT_EQ(bits(quantile[upper]), missing_bits);
                    }
                    continue;
                }
                if (std::isnan(density)) {
                    ASSERT_EQ(bits(density), sign_set_nan_bits);
                    undefined_density += !std::isnan(x);
                } else {
                    ASSERT_GE(density, 0.0) << show(x) << show(df) << show(nc);
                    infinite_density += std::isinf(density);
                }
                for (const int upper : {0, 1}) {
                    if (std::isnan(tail[upper])) {
                        ASSERT_EQ(bits(tail[upper]), sign_set_nan_bits);
                        undefined_tail += !std::isnan(x);
                    } else if (!(tail[upper] >= 0.0 && tail[upper] <= 1.0)) {
                        ++tail_outside;
                    }
                    if (std::isnan(quantile[upper])) {
                        ASSERT_EQ(bits(quantile[upper]), sign_set_nan_bits);
                        undefined_quantile += x >= 0.0 && x <= 1.0;
                    }
                }
            }
        }
    }
    std::signal(SIGVTALRM, SIG_DFL);
    // The expansion for a huge noncentrality overflows at the largest point with hardly any degrees of
    // freedom; a sum of 1 and a rounding error is all that is left of a tail far above a noncentrality of one
    // half.
    EXPECT_LE(infinite_density, 2);
    EXPECT_LE(tail_outside, 2);
    std::printf("density: %ld NaN, %ld infinite; tails: %ld NaN, %ld outside [0, 1]; quantiles: %ld NaN\n",
                undefined_density, infinite_density, undefined_tail, tail_outside, undefined_quantile);
}

}  // namespace
