#include "quantiles/noncentral_t.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <map>
#include <random>
#include <string>

#include "distributions/central_tails.hpp"
#include "distributions/t_density.hpp"
#include "kernels/log_gamma.hpp"
#include "kernels/normal.hpp"
#include "support/platform_bits.hpp"
#include "support/reference_table.hpp"
#include "support/worst_errors.hpp"
#include "zolv.h"

using namespace dru::impl;
using namespace zolv_test;

namespace {

constexpr double inf = std::numeric_limits<double>::infinity();
const double nan_value = std::numeric_limits<double>::quiet_NaN();

double after(double x) { return std::nextafter(x, inf); }
double before(double x) { return std::nextafter(x, -inf); }

std::string place(double x, double df, double nc) {
    return "x " + show(x) + ", df " + show(df) + ", nc " + show(nc);
}

// Where the platform rounds otherwise, a tail far out and a quantile one bisection step apart differ by more.
testing::AssertionResult agrees(double got, double want) {
    if (std::isnan(want)) return same_bits("got", "want", got, from_bits(sign_set_nan_bits));
    if (platform_has_table_bits()) return same_bits("got", "want", got, want);
    if (std::fabs(got - want) < 1e-9) return testing::AssertionSuccess();
    return within_relative(got, want, 1e-6);
}

TEST(NoncentralTBits, EveryBranchMatchesThePlainTranscription) {
    const reference_table table("t_bits");
    std::map<std::string, int> rows;
    for (std::size_t i = 0; i < table.size(); ++i) {
        const std::string& routine = table.text(i, "routine");
        const double x = table.number(i, "x"), df = table.number(i, "df"), nc = table.number(i, "nc");
        const auto upper = static_cast<unsigned char>(table.number(i, "upper"));
        double got;
        if (routine == "cdf") {
            got = zolv_TCdf(x, df, nc, upper);
        } else if (routine == "inv") {
            got = zolv_TInvCdf(x, df, nc, upper);
        } else if (routine == "tail") {
            got = upper ? t_nc_sf(x, df, nc) : t_nc_cdf(x, df, nc);
        } else if (routine == "large_first") {
            got = t_nc_tails_large_df(x, df, nc).lower;
        } else if (routine == "large_second") {
            got = t_nc_tails_large_df(x, df, nc).upper;
        } else {
            continue;
        }
        ++rows[routine + " " + table.text(i, "branch")];
        EXPECT_TRUE(agrees(got, table.number(i, "result")))
            << routine << " (" << table.text(i, "branch") << ") at " << place(x, df, nc) << ", upper "
            << int{upper};
    }
    for (const char* branch : {"cdf central",
                               "cdf origin",
                               "cdf near-lower",
                               "cdf near-upper",
                               "cdf far-lower",
                               "cdf far-upper",
                               "cdf far-lower-ceiling",
                               "cdf near-upper-ceiling-lower",
                               "cdf beyond",
                               "cdf large",
                               "cdf recurrence",
                               "cdf tiny",
                               "cdf bisected-none",
                               "cdf bisected-recurrence",
                               "cdf bisected-tiny",
                               "cdf mirrored-origin",
                               "cdf mirrored-near-upper",
                               "inv left",
                               "inv right",
                               "inv gamma",
                               "inv median",
                               "inv near-upper",
                               "inv far-upper",
                               "inv recurrence"}) {
        EXPECT_GT(rows[branch], 0) << branch;
    }
}

// ---- against 50 digits

std::string tail_regime(double x, double df, double nc) {
    if (nc == 0.0) return "central";
    if (x == 0.0) return "origin";
    if (x < 0.0) return df >= 2000.0 ? "other side of 0, df from 2000" : "other side of 0, df below 2000";
    const std::string side = x <= nc ? "up to nc" : "above nc";
    if (df < 0.1) return side + ", df below 0.1";
    if (nc < 1.0) return side + ", nc below 1";
    if (nc >= 1000.0) return side + ", nc from 1000";
    if (df >= 1e6) return side + ", df from 1e6";
    return (df >= x * x ? "x^2 up to df, " : "x^2 above df, ") + side;
}

// The smaller tail, relative to itself, and the larger one. Limits are what was measured times about 2.
//
// Up to the noncentrality the sum stands beside P(Z < -nc), whose algorithm is good to 5e-11. Above it, below
// a noncentrality of 1 or 0.1 degrees of freedom, the upper sum's early end costs up to 1e-3 and 1e-1. On the
// other side of 0 the saddle-point tail at 2000 degrees of freedom is good to 1e-8.
TEST(NoncentralTTruth, WorstErrorPerRegime) {
    const reference_table table("t_truth");
    worst_errors smaller, larger;
    int points = 0;
    for (std::size_t i = 0; i < table.size(); ++i) {
        const double x = table.number(i, "x"), df = table.number(i, "df"), nc = table.number(i, "nc");
        const double want[] = {table.number(i, "lower"), table.number(i, "upper")};
        const double got[] = {zolv_TCdf(x, df, nc, 0), zolv_TCdf(x, df, nc, 1)};
        points += 2;
        if (x < 0.0 && want[0] < 1.01e-100 && (df < 2000.0 || nc > 21.274)) {
            EXPECT_SAME_BITS(got[0], 0.0);
            EXPECT_SAME_BITS(got[1], 1.0);
            continue;
        }
        for (const int upper : {0, 1}) {
            if (want[upper] < 1e-290) continue;
            worst_errors& errors = want[upper] < want[1 - upper] ? smaller : larger;
            errors.add(tail_regime(x, df, nc), got[upper], want[upper], place(x, df, nc));
        }
    }
    EXPECT_GT(points, 2500);
    smaller.expect_within("smaller tail", {{"central", 2e-14},
                                           {"origin", 8e-11},
                                           {"other side of 0, df below 2000", 2e-7},
                                           {"other side of 0, df from 2000", 1.6e-8},
                                           {"up to nc, nc below 1", 8e-11},
                                           {"above nc, nc below 1", 3e-3},
                                           {"above nc, df below 0.1", 0.25},
                                           {"up to nc, nc from 1000", 6e-12},
                                           {"above nc, nc from 1000", 4e-12},
                                           {"up to nc, df from 1e6", 8e-11},
                                           {"above nc, df from 1e6", 6e-14},
                                           {"x^2 up to df, up to nc", 8e-11},
                                           {"x^2 up to df, above nc", 1e-13},
                                           {"x^2 above df, up to nc", 5e-12},
                                           {"x^2 above df, above nc", 1.3e-13}});
    larger.expect_within("larger tail", {{"central", 7e-15},
                                         {"origin", 7e-13},
                                         {"other side of 0, df below 2000", 1.6e-7},
                                         {"other side of 0, df from 2000", 8e-9},
                                         {"up to nc, nc below 1", 1.5e-11},
                                         {"above nc, nc below 1", 3e-3},
                                         {"above nc, df below 0.1", 0.05},
                                         {"up to nc, nc from 1000", 3e-12},
                                         {"above nc, nc from 1000", 3e-12},
                                         {"up to nc, df from 1e6", 1e-11},
                                         {"above nc, df from 1e6", 4e-14},
                                         {"x^2 up to df, up to nc", 1.5e-11},
                                         {"x^2 up to df, above nc", 1e-13},
                                         {"x^2 above df, up to nc", 3e-12},
                                         {"x^2 above df, above nc", 1e-13}});
}

// ---- infinities, origin, centre

TEST(NoncentralT, NanAndInfinities) {
    for (const double nc : {0.0, 2.0, -2.0, 50.0, 1e10}) {
        EXPECT_SIGN_SET_NAN(t_nc_sf(nan_value, 5.0, nc));
        EXPECT_SIGN_SET_NAN(t_nc_cdf(-nan_value, 5.0, nc));
        EXPECT_SAME_BITS(t_nc_sf(inf, 5.0, nc), 0.0);
        EXPECT_SAME_BITS(t_nc_sf(-inf, 5.0, nc), 1.0);
        EXPECT_SAME_BITS(t_nc_cdf(inf, 5.0, nc), 1.0);
        EXPECT_SAME_BITS(t_nc_cdf(-inf, 5.0, nc), 0.0);
    }
}

TEST(NoncentralT, CentralTailsAreThoseOfTheBetaKernels) {
    EXPECT_SAME_BITS(t_nc_sf(0.0, 5.0, 0.0), 0.5);
    EXPECT_SAME_BITS(t_nc_cdf(0.0, 5.0, 0.0), 0.5);
    EXPECT_SAME_BITS(t_nc_cdf(1e-170, 5.0, 0.0), 0.5);  // its square is 0
    for (const double x : {-7.0, -0.2, 0.4, 2.0, 2.5, 1e9}) {
        const double h = 2.0, u = 0.5 * x * x / (h + 0.5 * x * x), v = h / (h + 0.5 * x * x);
        const double tail = (u < 0.5 ? beta_tails(u, 0.5, h).upper : beta_tails(v, h, 0.5).lower) * 0.5;
        EXPECT_SAME_BITS(t_nc_sf(x, 4.0, 0.0), x > 0.0 ? tail : 1.0 - tail);
        EXPECT_SAME_BITS(t_nc_cdf(x, 4.0, 0.0), x > 0.0 ? 1.0 - tail : tail);
        EXPECT_SAME_BITS(t_nc_cdf(x, 4.0, 0.0), t_cdf_central(x, 4.0, 0));
    }
}

// At 0 the tail is the normal one, whatever the degrees of freedom.
TEST(NoncentralT, OriginIsTheNormalTail) {
    for (const double df : {1e-300, 0.5, 4.0, 2000.0, 1e300}) {
        for (const double nc : {1e-300, 0.3, 5.0, 21.3, before(38.4638)}) {
            const double n = normal_upper_tail(nc);
            EXPECT_SAME_BITS(zolv_TCdf(0.0, df, nc, 0), n);
            EXPECT_SAME_BITS(zolv_TCdf(-0.0, df, nc, 1), 1.0 - n);
            EXPECT_SAME_BITS(zolv_TCdf(0.0, df, -nc, 1), n);
            EXPECT_SAME_BITS(zolv_TCdf(0.0, df, -nc, 0), 1.0 - n);
            EXPECT_SAME_BITS(t_nc_cdf(0.0, df, nc), n);
            EXPECT_SAME_BITS(t_nc_sf(0.0, df, nc), 1.0 - n);
            EXPECT_SAME_BITS(t_nc_sf(0.0, df, -nc), n);
        }
        for (const double nc : {38.4638, 100.0, 1e300}) {
            EXPECT_SAME_BITS(zolv_TCdf(0.0, df, nc, 0), 0.0);
            EXPECT_SAME_BITS(zolv_TCdf(0.0, df, nc, 1), 1.0);
            EXPECT_SAME_BITS(t_nc_cdf(0.0, df, -nc), 1.0);
        }
    }
    EXPECT_GT(zolv_TCdf(0.0, 3.0, before(38.4638), 0), 0.0);
}

// ---- points on the noncentrality's side of 0

// The coordinates change where x^2 passes df; both see the same distribution.
TEST(NoncentralTPositive, CoordinatesMeet) {
    for (const double nc : {0.7, 2.0, 2.5, 8.0}) {
        ASSERT_FALSE(t_mixture_point(3.0, 9.0).far);
        ASSERT_TRUE(t_mixture_point(after(3.0), 9.0).far);
        for (const unsigned char upper : {0, 1}) {
            const double near = zolv_TCdf(3.0, 9.0, nc, upper), far = zolv_TCdf(after(3.0), 9.0, nc, upper);
            EXPECT_TRUE(within_relative(far, near, 1e-13)) << nc;
        }
    }
    const t_mixture_point far(5.0, 9.0);
    EXPECT_SAME_BITS(far.v, 9.0 / 34.0);
    EXPECT_SAME_BITS(far.u, 1.0 - far.v);
    const t_mixture_point near(2.0, 9.0);
    EXPECT_SAME_BITS(near.u, 4.0 / 13.0);
    EXPECT_SAME_BITS(near.v, 1.0 - near.u);
}

// x = nc belongs to the lower sum, the next double to the upper one.
TEST(NoncentralTPositive, SumsMeetAtTheNoncentrality) {
    for (const double df : {2.0, 9.0, 300.0}) {
        for (const double nc : {3.0, 10.0, 40.0}) {
            const double at = zolv_TCdf(nc, df, nc, 0), above = zolv_TCdf(after(nc), df, nc, 0);
            EXPECT_TRUE(within_relative(at, above, 1e-11)) << df << " " << nc;
            EXPECT_SAME_BITS(zolv_TCdf(nc, df, nc, 1), 1.0 - at);
            EXPECT_SAME_BITS(above, 1.0 - zolv_TCdf(after(nc), df, nc, 1));
        }
    }
}

// The whole result in the order of its parts: ((N + A / 2) + sum), sum = (total / 2) W.
TEST(NoncentralTPositive, PartsInOrder) {
    const double x = 1.5, df = 5.0, nc = 2.0;
    const poisson_start_indices weights(nc * 0.5 * nc);
    const double W = 2.0 * normal_upper_tail(-nc) - 1.0;
    const t_odd_mixture odd(df, W, weights);
    const t_mixture_point at(x, df);
    const tail_pair even = beta_nc_tails_left(at.u, 0.5, df / 2.0, weights);
    EXPECT_SAME_BITS(zolv_TCdf(x, df, nc, 0), normal_upper_tail(nc) + 0.5 * even.lower + odd.lower_sum(at));
    const t_mixture_point above(2.1, df);
    const tail_pair even_above = beta_nc_tails_left(above.u, 0.5, df / 2.0, weights);
    EXPECT_SAME_BITS(zolv_TCdf(2.1, df, nc, 1), odd.upper_sum(above) + 0.5 * even_above.upper);
    const t_mixture_point far(6.0, df);
    const tail_pair even_far = beta_nc_tails_right(far.v, df / 2.0, 0.5, weights);
    EXPECT_SAME_BITS(zolv_TCdf(6.0, df, nc, 1), odd.upper_sum(far) + 0.5 * even_far.lower);
}

// An upper tail above 0.9 is summed from below; the sums' early end is at the same total.
TEST(NoncentralTPositive, UpperTailAboveTheSwitchIsSummedFromBelow) {
    int switched = 0;
    for (const double df : {1e-3, 0.01, 0.05}) {
        for (const double nc : {0.5, 2.0, 6.0}) {
            const double x = after(nc), upper = zolv_TCdf(x, df, nc, 1), lower = zolv_TCdf(x, df, nc, 0);
            if (upper <= 0.9) continue;
            ++switched;
            EXPECT_SAME_BITS(upper, 1.0 - lower);
            EXPECT_TRUE(within_relative(lower, zolv_TCdf(nc, df, nc, 0), 1e-10));
        }
    }
    EXPECT_GT(switched, 2);
}

// A small noncentrality weighs the upper sum little, but its early end at 0.9 comes before that weight.
TEST(NoncentralTPositive, EarlyEndCostsDigitsAtSmallNoncentralities) {
    const double want = 0.43838923850942302;  // 50-digit mixture sum
    const double got = zolv_TCdf(0.45806400018655441, 10.249460755460865, 0.29118007401004414, 1);
    EXPECT_TRUE(within_relative(got, want, 1.3e-4));
    EXPECT_FALSE(within_relative(got, want, 1e-4));
}

// P(|Z| < nc) rounds to 0 below about 1.4e-16, and the odd half is 0 / 0 times it.
TEST(NoncentralTPositive, NoncentralityBelowRoundingIsANaN) {
    for (const double nc : {5e-324, 1e-170, 1e-17}) {
        for (const double x : {0.1, 1.0, 30.0}) {
            EXPECT_SIGN_SET_NAN(zolv_TCdf(x, 5.0, nc, 0));
            EXPECT_SIGN_SET_NAN(zolv_TCdf(x, 5.0, nc, 1));
            EXPECT_SIGN_SET_NAN(zolv_TCdf(-x, 5.0, -nc, 0));
        }
        EXPECT_SAME_BITS(zolv_TCdf(0.0, 5.0, nc, 0), 0.5);
        EXPECT_SIGN_SET_NAN(zolv_TInvCdf(0.7, 5.0, nc, 0));
    }
    EXPECT_TRUE(within_relative(zolv_TCdf(1.0, 5.0, 3e-16, 0), zolv_TCdf(1.0, 5.0, 0.0, 0), 1e-14));
}

// Indices above 2^31: the mean is 5e9, and the tails are those of the chi variate alone.
TEST(NoncentralTPositive, IndicesBeyond32Bits) {
    const double df = 5.0, nc = 1e5;
    for (const double ratio : {0.8, 1.3}) {
        const double chi_square = df / (ratio * ratio);
        EXPECT_TRUE(
            within_relative(zolv_TCdf(ratio * nc, df, nc, 0), zolv_ChiSqCdf(chi_square, df, 0.0, 1), 1e-7));
        EXPECT_TRUE(
            within_relative(zolv_TCdf(ratio * nc, df, nc, 1), zolv_ChiSqCdf(chi_square, df, 0.0, 0), 1e-7));
    }
}

// A pass of 750000 terms without its peak makes the sum the largest double; no tail is brought back.
TEST(NoncentralTPositive, CeilingIsNotCorrected) {
    for (const double nc : {2e5, 1e6, 1e7}) {
        for (const double ratio : {0.5, 1.0, 1.5}) {
            EXPECT_SAME_BITS(zolv_TCdf(ratio * nc, 5.0, nc, 0), largest_double);
            EXPECT_SAME_BITS(zolv_TCdf(ratio * nc, 5.0, nc, 1), 1.0 - largest_double);
            EXPECT_SAME_BITS(zolv_TCdf(-ratio * nc, 5.0, -nc, 1), largest_double);
        }
    }
    // Where 1 no longer moves an index there is no mixture, and an infinite mean has no indices.
    for (const double nc : {1e9, 1e100, 1e154}) {
        EXPECT_SIGN_SET_NAN(zolv_TCdf(1.0, 5.0, nc, 0));
        EXPECT_SIGN_SET_NAN(zolv_TCdf(2.0 * nc, 5.0, nc, 0));
        EXPECT_SIGN_SET_NAN(zolv_TCdf(-1.0, 5.0, -nc, 0));
    }
    EXPECT_SIGN_SET_NAN(zolv_TCdf(1.0, 5.0, 1e155, 0));
    EXPECT_SIGN_SET_NAN(zolv_TCdf(-1.0, 5.0, -1.7e308, 1));
}

// ---- laws

TEST(NoncentralTLaws, MirroredAndComplementary) {
    std::mt19937_64 random(55);
    std::uniform_real_distribution<double> uniform(0.0, 1.0);
    for (int i = 0; i < 2000; ++i) {
        const double df = std::pow(10.0, 6.0 * uniform(random) - 1.0);
        const double nc = std::pow(10.0, 3.5 * uniform(random) - 2.0);
        const double x = nc * (3.5 * uniform(random) - 0.7);
        const double lower = zolv_TCdf(x, df, nc, 0), upper = zolv_TCdf(x, df, nc, 1);
        ASSERT_SAME_BITS(zolv_TCdf(-x, df, -nc, 1), lower) << place(x, df, nc);
        ASSERT_SAME_BITS(zolv_TCdf(-x, df, -nc, 0), upper) << place(x, df, nc);
        ASSERT_LE(std::fabs(lower + upper - 1.0), 1.2e-16) << place(x, df, nc);
        ASSERT_SAME_BITS(t_nc_cdf(x, df, nc), lower);
        ASSERT_SAME_BITS(t_nc_sf(x, df, nc), upper);
        if (x > 0.0) {
            ASSERT_SAME_BITS(t_nc_tails_positive(x, df, nc).lower, lower);
        }
        if (x < 0.0) {
            ASSERT_SAME_BITS(t_nc_tails_negative(x, df, nc).lower, lower);
        }
    }
}

TEST(NoncentralTLaws, RisesWithThePoint) {
    for (const double df : {0.7, 3.0, 10.0, 49.0, 500.0, 2000.0, 1e5}) {
        for (const double nc : {1.0, 2.5, 12.0, 38.0}) {
            double previous = 0.0;
            for (double x = nc - 12.0; x < nc + 25.0; x += 0.08) {
                const double lower = zolv_TCdf(x, df, nc, 0);
                ASSERT_GE(lower, previous * (1.0 - 1e-8)) << place(x, df, nc);
                previous = lower;
            }
            EXPECT_GT(previous, 0.4);
        }
    }
}

TEST(NoncentralTLaws, FallsWithTheNoncentrality) {
    for (const double df : {2.0, 30.0, 3000.0}) {
        for (const double x : {-1.5, 0.5, 4.0}) {
            double previous = 1.0;
            for (double nc = 1.0; nc < 15.0; nc += 0.25) {
                const double lower = zolv_TCdf(x, df, nc, 0);
                ASSERT_LE(lower, previous * (1.0 + 1e-8)) << place(x, df, nc);
                previous = lower;
            }
        }
    }
}

TEST(NoncentralTLaws, TendsToTheCentralOne) {
    for (const double df : {0.5, 4.0, 60.0, 1e4}) {
        for (const double x : {0.05, 0.9, 3.0, 20.0}) {
            for (const double nc : {1e-13, 1e-10, 1e-7}) {
                EXPECT_NEAR(zolv_TCdf(x, df, nc, 0), zolv_TCdf(x, df, 0.0, 0), nc) << place(x, df, nc);
                EXPECT_NEAR(zolv_TCdf(x, df, -nc, 1), zolv_TCdf(x, df, 0.0, 1), nc + 1e-6)
                    << place(x, df, nc);
            }
        }
    }
}

// (Z + nc)^2 / (W / df) is a noncentral F of 1 and df degrees of freedom.
TEST(NoncentralTLaws, SquareIsANoncentralF) {
    for (const double df : {2.0, 7.5, 40.0}) {
        for (const double nc : {1.5, 4.0, 10.0}) {
            for (const double x : {0.5, 3.0, 12.0}) {
                const double inside = zolv_TCdf(x, df, nc, 0) - zolv_TCdf(-x, df, nc, 0);
                EXPECT_NEAR(zolv_FCdf(x * x, 1.0, df, nc * nc / 2.0, 0), inside, 1e-10) << place(x, df, nc);
            }
        }
    }
}

// ---- quantile

TEST(NoncentralTQuantile, InvertsTheTails) {
    std::mt19937_64 random(56);
    std::uniform_real_distribution<double> uniform(0.0, 1.0);
    for (int i = 0; i < 300; ++i) {
        const double df = std::pow(10.0, 4.0 * uniform(random) - 0.3);
        const double nc = std::pow(10.0, 2.2 * uniform(random) - 0.2) * (i % 2 == 0 ? 1.0 : -1.0);
        const double p = std::pow(10.0, -6.0 * uniform(random));
        for (const unsigned char upper : {0, 1}) {
            const double x = zolv_TInvCdf(p, df, nc, upper);
            // A relative step of 1e-12 in x (1e-11 and more after 25 steps), as the density sees it, and what
            // the tails are good for.
            const double allowed = 1e-9 * std::fabs(x) * zolv_TPdf(x, df, nc) + 2e-8 * p;
            EXPECT_NEAR(zolv_TCdf(x, df, nc, upper), p, allowed) << place(p, df, nc) << ", x " << show(x);
        }
    }
}

// A start of exactly 0 has no size to step by: the bracket leaves it by 1.
TEST(NoncentralTQuantile, LeavesAZeroStart) {
    for (const double p : {0.05, 0.3, 0.8}) {
        const double nc = -normal_std_quantile(p);
        ASSERT_SAME_BITS(normal_quantile(p, nc, 1.0, 0), 0.0);
        for (const double df : {1.0, 2.0}) {
            const double x = zolv_TInvCdf(p, df, nc, 0);
            EXPECT_NEAR(x, 0.0, 1e-9);
            EXPECT_NEAR(zolv_TCdf(x, df, nc, 0), p, 2e-7);
        }
    }
}

// The scale of the start is that of the central t from above 2 degrees of freedom; the root does not mind.
TEST(NoncentralTQuantile, BothSidesOfTwoDegreesOfFreedom) {
    const double below = zolv_TInvCdf(0.8, 2.0, 3.0, 0), above = zolv_TInvCdf(0.8, after(2.0), 3.0, 0);
    EXPECT_TRUE(within_relative(above, below, 1e-10));
}

// Values as they come: at the ceiling every residual on the noncentrality's side has one sign, and the
// bisection ends at 0.
TEST(NoncentralTQuantile, CeilingLeavesNoRoot) {
    const double x = zolv_TInvCdf(0.3, 5.0, 1e7, 0);
    EXPECT_GE(x, 0.0);
    EXPECT_LT(x, 1e-60);
    EXPECT_SIGN_SET_NAN(zolv_TInvCdf(0.3, 5.0, 1e9, 0));
    EXPECT_SIGN_SET_NAN(zolv_TInvCdf(0.3, 5.0, 1e200, 0));  // no tail at the start
}

TEST(NoncentralTQuantile, PreparedEqualsPlain) {
    for (const double df : {0.4, 5.0, 80.0, 2500.0}) {
        for (const double nc : {-7.0, -0.4, 0.05, 2.0, 30.0}) {
            const t_nc_distribution prepared(df, nc);
            prepared.prepare(true, true);
            for (const double x : {-40.0, -3.0, -0.2, 0.0, 0.6, 5.0, 45.0, 1e8}) {
                for (const unsigned char upper : {0, 1}) {
                    EXPECT_SAME_BITS(prepared.tail(x, upper), zolv_TCdf(x, df, nc, upper))
                        << place(x, df, nc);
                }
            }
            for (const double p : {1e-5, 0.4, 0.97}) {
                EXPECT_SAME_BITS(prepared.quantile(p, 0), t_nc_quantile(p, df, nc, 0)) << place(p, df, nc);
                EXPECT_SAME_BITS(prepared.quantile(p, 1), t_nc_quantile(p, df, nc, 1)) << place(p, df, nc);
            }
        }
    }
}

}  // namespace
