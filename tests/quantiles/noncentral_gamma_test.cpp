// Tails and quantile of the noncentral gamma distribution: which sum answers, where the sums end, what the
// bracket does with each kind of start.
#include "quantiles/noncentral_gamma.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>
#include <string>

#include "distributions/poisson.hpp"
#include "kernels/incomplete_gamma.hpp"
#include "quantiles/gamma_quantile.hpp"
#include "support/platform_bits.hpp"
#include "support/reference_table.hpp"
#include "support/worst_errors.hpp"

namespace {

using dru::impl::gamma_nc_mixture;
using dru::impl::gamma_nc_quantile;
using dru::impl::gamma_nc_tails;
using dru::impl::tail_pair;
using zolv_test::within_relative;

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr unsigned char both_tails[] = {0, 1};

double after(double x) { return std::nextafter(x, infinity); }
double before(double x) { return std::nextafter(x, -infinity); }
double tail(const tail_pair& tails, unsigned char upper) { return upper != 0 ? tails.upper : tails.lower; }

// P(a, x) for a = n + 1/2 in closed form is erf(sqrt x) less n terms; at a = 1/2 the mixture is the
// distribution of half the square of a normal variate with mean sqrt(2 l).
TEST(NoncentralGammaTails, ShapeOneHalfIsASquaredNormal) {
    for (const double l : {0.02, 0.5, 3.0, 60.0}) {
        for (const double x : {0.01, 0.4, 2.0, 35.0, 130.0}) {
            const double root = std::sqrt(x), mean = std::sqrt(l);
            const double lower = 0.5 * (std::erfc(mean - root) - std::erfc(mean + root));
            const double upper = 0.5 * (std::erfc(root - mean) + std::erfc(root + mean));
            const tail_pair tails = gamma_nc_tails(x, 0.5, l);
            EXPECT_LE(std::abs(tails.lower - lower), 2e-13 * lower + 2e-16) << x << " " << l;
            EXPECT_LE(std::abs(tails.upper - upper), 2e-13 * upper + 2e-16) << x << " " << l;
        }
    }
}

// At x = a + ncp the upper sum comes first, below it the lower one; the other tail is one minus it.
TEST(NoncentralGammaTails, TheMeanDecidesWhichTailIsSummed) {
    for (const double a : {0.5, 2.0, 25.0, 3000.0}) {
        for (const double l : {0.25, 4.0, 500.0}) {
            const double mean = a + l;
            for (const double x : {mean, after(mean), mean * 1.5}) {
                const tail_pair tails = gamma_nc_tails(x, a, l);
                EXPECT_LT(tails.upper, 0.5 + 0.1);
                EXPECT_SAME_BITS(tails.lower, 1.0 - tails.upper);
            }
            const tail_pair tails = gamma_nc_tails(before(mean), a, l);
            EXPECT_SAME_BITS(tails.upper, 1.0 - tails.lower);
            EXPECT_TRUE(within_relative(tails.lower, gamma_nc_tails(mean, a, l).lower, 1e-12));
        }
    }
    // Far below and far above the mean the summed tail keeps its digits where the complement has none.
    EXPECT_TRUE(within_relative(gamma_nc_tails(1e-40, 2.0, 3.0).lower, 0.5e-80 * std::exp(-3.0), 1e-12));
}

// A small shape has most of its mass next to 0, so that the lower sum passes 0.9 below the mean. Then the
// upper one is summed and the lower is its complement.
TEST(NoncentralGammaTails, AFirstSumAboveNineTenthsAsksForTheOther) {
    const double a = 0.01, l = 0.095;
    double below = 1e-290, above = before(a + l);
    while (above / below > 1.0 + 1e-9) {
        const double middle = std::sqrt(below) * std::sqrt(above);
        (gamma_nc_tails(middle, a, l).lower < 0.9 ? below : above) = middle;
    }
    for (const double x : {below * 0.5, below * (1.0 - 1e-6)}) {
        const tail_pair tails = gamma_nc_tails(x, a, l);
        EXPECT_LT(tails.lower, 0.9);
        EXPECT_SAME_BITS(tails.upper, 1.0 - tails.lower);
    }
    for (const double x : {above * (1.0 + 1e-6), above * 2.0}) {
        const tail_pair tails = gamma_nc_tails(x, a, l);
        EXPECT_GT(tails.lower, 0.9);
        EXPECT_SAME_BITS(tails.lower, 1.0 - tails.upper);
    }
    EXPECT_LE(std::abs(gamma_nc_tails(below, a, l).upper - gamma_nc_tails(above, a, l).upper), 1e-9);
    // Further up the upper tail is good to more digits than 1 minus a lower one could be.
    const tail_pair far = gamma_nc_tails(0.1, 1e-6, 1e-6);
    EXPECT_GT(far.lower, 0.99999);
    // l e^-x + a E1(x) to first order, E1(0.1) = 1.8229239584193906
    EXPECT_TRUE(within_relative(far.upper, 1e-6 * std::exp(-0.1) + 1e-6 * 1.8229239584193906, 1e-5));
}

// ln of the largest term below the logarithm of the smallest normal double.
TEST(NoncentralGammaTails, AnUnderflowOfTheLargestTermIsExactlyZero) {
    for (const bool high : {false, true}) {
        double inside = 30.0, outside = high ? 1e5 : 1e-200;
        while (inside < outside ? after(inside) < outside : after(outside) < inside) {
            const double middle =
                inside < 1.0 ? std::sqrt(inside) * std::sqrt(outside) : inside + (outside - inside) / 2.0;
            if (middle == inside || middle == outside) break;
            const tail_pair tails = gamma_nc_tails(middle, 20.0, 10.0);
            ((high ? tails.upper : tails.lower) > 0.0 ? inside : outside) = middle;
        }
        const tail_pair kept = gamma_nc_tails(inside, 20.0, 10.0), gone = gamma_nc_tails(outside, 20.0, 10.0);
        EXPECT_GT(high ? kept.upper : kept.lower,
                  high ? 1e-308 : 0.0);  // the lower ratio is far below 1 there
        EXPECT_EQ(high ? gone.upper : gone.lower, 0.0);
        EXPECT_EQ(high ? gone.lower : gone.upper, 1.0);
    }
}

// A sum that takes more than 750000 terms from its start to its largest term is 0: pinned as what the sums
// do, not as what the distribution is.
TEST(NoncentralGammaTails, ASumThatDoesNotReachItsLargestTermIsZero) {
    for (const double l : {1e10, 1e12, 1e15}) {
        const double mean = 1.5 + l;
        EXPECT_EQ(gamma_nc_tails(mean, 1.5, l).upper, 0.0);
        EXPECT_EQ(gamma_nc_tails(mean, 1.5, l).lower, 1.0);
        EXPECT_EQ(gamma_nc_tails(before(mean), 1.5, l).lower, 0.0);
        EXPECT_EQ(gamma_nc_tails(before(mean), 1.5, l).upper, 1.0);
    }
    // Still reached from the centre.
    EXPECT_NEAR(gamma_nc_tails(5e9 + 1.5, 1.5, 5e9).upper, 0.5, 1e-4);
    EXPECT_NEAR(gamma_nc_tails(5e9 + 1.4, 1.5, 5e9).lower, 0.5, 1e-4);
}

// From the mean on the sums would start above 2^53; the start lies 7.7 standard deviations of the weights off
// it.
TEST(NoncentralGammaTails, AStartBeyondTheCountableIndicesIsTheSignSetNan) {
    const double last = 9007199254740992.0;  // 2^53
    const double offset = 7.7 * std::sqrt(last);
    for (const double x : {1.0, last, 2.0 * last, 1e300}) {
        for (const double l : {1.1 * last, 1e20, 1e300}) {
            const tail_pair tails = gamma_nc_tails(x, 1.5, l);
            EXPECT_SIGN_SET_NAN(tails.lower);
            EXPECT_SIGN_SET_NAN(tails.upper);
        }
    }
    // The lower sum's start is above its mean, the upper sum's below.
    EXPECT_SIGN_SET_NAN(gamma_nc_tails(1.0, 1.5, last).lower);
    EXPECT_EQ(gamma_nc_tails(2.0 * last, 1.5, last).upper, 0.0);
    EXPECT_EQ(gamma_nc_tails(1.0, 1.5, last - 2.0 * offset).lower, 0.0);
    // A start next to 2^53: the index stands still at times, the pass does not.
    for (const double l :
         {last + 0.9 * offset, last + 0.99999 * offset, last + offset, last + 1.001 * offset}) {
        const double upper = gamma_nc_tails(2.0 * last, 1.5, l).upper;
        EXPECT_TRUE(upper == 0.0 || std::isnan(upper)) << upper;
    }
}

TEST(NoncentralGammaTails, ANegativeOrNanMeanIsTheSignSetNan) {
    for (const double l : {-1e-300, -1.0, -1e300, std::nan("")}) {
        EXPECT_SIGN_SET_NAN(gamma_nc_tails(2.0, 1.5, l).lower);
        EXPECT_SIGN_SET_NAN(gamma_nc_tails(2.0, 1.5, l).upper);
        const gamma_nc_mixture mixture(1.5, l);
        mixture.prepare();
        EXPECT_SIGN_SET_NAN(mixture(2.0).upper);
    }
}

TEST(NoncentralGammaTails, OneObjectServesManyPointsWithTheSameBits) {
    std::mt19937_64 random(4);
    std::uniform_real_distribution<double> exponent(-2.0, 4.5);
    for (int set = 0; set < 40; ++set) {
        const double a = std::pow(10.0, exponent(random)), l = std::pow(10.0, exponent(random));
        const gamma_nc_mixture prepared(a, l), lazy(a, l);
        prepared.prepare();
        for (int i = 0; i < 12; ++i) {
            const double x = i == 0 ? a + l : (a + l) * std::pow(10.0, 0.1 * (i - 6));
            const tail_pair want = gamma_nc_tails(x, a, l);
            for (const tail_pair& got : {prepared(x), lazy(x)}) {
                EXPECT_SAME_BITS(got.lower, want.lower);
                EXPECT_SAME_BITS(got.upper, want.upper);
            }
        }
    }
}

// ---- quantile
// ----------------------------------------------------------------------------------------------

// Every search starts at 1: where the tail there is p itself, 1 is the answer, without a search.
TEST(NoncentralGammaQuantile, AnExactHitAtOneReturnsOne) {
    for (const double a : {0.1, 0.5, 2.0, 7.0}) {
        for (const double l : {0.05, 0.5, 2.0, 9.0}) {
            for (const unsigned char upper : both_tails) {
                EXPECT_SAME_BITS(gamma_nc_quantile(tail(gamma_nc_tails(1.0, a, l), upper), a, l, upper), 1.0);
            }
        }
    }
}

// The kinds of start: a walk down from 1 for a root below it; doubling, square root, scaled central and cube
// root for one above. The 50-digit roots are of these kinds.
TEST(NoncentralGammaQuantile, EveryStartLeadsToTheRoot) {
    const zolv_test::reference_table table("chi_square_quantile_truth");
    zolv_test::worst_errors errors;
    for (std::size_t i = 0; i < table.size(); ++i) {
        const double p = table.number(i, "p"), a = table.number(i, "df") / 2.0,
                     l = table.number(i, "nc") / 2.0;
        const auto upper = static_cast<unsigned char>(table.number(i, "upper"));
        const double want = table.number(i, "x") / 2.0;
        const double got = gamma_nc_quantile(p, a, l, upper);
        errors.add(want < 1.0 ? "down from 1" : table.text(i, "estimate"), got, want,
                   "p " + zolv_test::show(p) + ", a " + zolv_test::show(a) + ", l " + zolv_test::show(l));
    }
    // Twice what was measured: the width that the bisection leaves, which grows with the steps it takes.
    errors.expect_within(
        "quantile",
        {{"down from 1", 4e-10}, {"double", 6e-12}, {"square", 1e-11}, {"scaled", 1e-11}, {"cube", 1e-11}});
}

// Shapes and means next to 1, where one kind of start gives way to another.
TEST(NoncentralGammaQuantile, TheKindsOfStartMeet) {
    for (const double p : {0.3, 0.9, 0.9999}) {
        for (const unsigned char upper : both_tails) {
            const double q = upper != 0 ? 1.0 - p : p;
            const double want = gamma_nc_quantile(q, 1.0, 1.0, upper);
            for (const double a : {before(1.0), 1.0, after(1.0)}) {
                for (const double l : {before(1.0), 1.0, after(1.0)}) {
                    EXPECT_TRUE(within_relative(gamma_nc_quantile(q, a, l, upper), want, 1e-9));
                }
            }
        }
    }
    // 10000 and above: the expansion instead of a search is scaled.
    EXPECT_TRUE(within_relative(gamma_nc_quantile(0.3, before(10000.0), 0.5, 0),
                                gamma_nc_quantile(0.3, 10000.0, 0.5, 0), 1e-9));
}

TEST(NoncentralGammaQuantile, TheTailAtTheQuantileIsTheProbability) {
    std::mt19937_64 random(5);
    std::uniform_real_distribution<double> exponent(-1.5, 3.0), unit(0.0, 1.0);
    for (int i = 0; i < 300; ++i) {
        const double a = std::pow(10.0, exponent(random)), l = std::pow(10.0, exponent(random));
        const double p = unit(random);
        for (const unsigned char upper : both_tails) {
            const double x = gamma_nc_quantile(p, a, l, upper);
            // The tail moves by less than (a + l) / x standard widths times the relative width of the
            // bracket.
            EXPECT_NEAR(tail(gamma_nc_tails(x, a, l), upper), p, 2e-9) << a << " " << l << " " << p;
        }
    }
}

// The residuals also know the central gamma, to which no caller sends them.
TEST(NoncentralGammaQuantile, AZeroMeanIsTheCentralQuantile) {
    for (const double a : {0.5, 3.0, 200.0}) {
        for (const double p : {0.01, 0.5, 0.97}) {
            EXPECT_TRUE(
                within_relative(gamma_nc_quantile(p, a, 0.0, 0), dru::impl::gamma_quantile_left(p, a), 1e-9));
            EXPECT_TRUE(within_relative(gamma_nc_quantile(p, a, 0.0, 1),
                                        dru::impl::gamma_quantile_right(p, a), 1e-9));
        }
    }
}

// A root below every double: the walk down from 1 underflows to 0, where the residual changes its sign.
TEST(NoncentralGammaQuantile, ARootBelowTheDoublesComesOutTiny) {
    for (const double x :
         {gamma_nc_quantile(1e-9, 0.005, 0.1, 0), gamma_nc_quantile(1.0 - 1e-9, 0.005, 0.1, 1)}) {
        EXPECT_GE(x, 0.0);
        EXPECT_LT(x, 1e-300);
    }
}

// No point has an upper tail above 1. The descent by 1e-5, 1e-10, ... arrives at 0 in eleven of its twenty
// steps, and a bracket without a change of sign is answered by its lower end.
TEST(NoncentralGammaQuantile, AProbabilityAboveOneEndsTheDescentAtZero) {
    for (const double a : {0.5, 3.0}) {
        for (const double l : {0.25, 4.0}) EXPECT_SAME_BITS(gamma_nc_quantile(1.5, a, l, 1), 0.0);
    }
}

TEST(NoncentralGammaQuantile, AWalkThatCannotMoveIsTheSignSetNan) {
    for (const unsigned char upper : both_tails) {
        // The residual is a NaN.
        for (const double l : {-1.0, -1e300, 2e16, 1e300})
            EXPECT_SIGN_SET_NAN(gamma_nc_quantile(0.3, 1.5, l, upper));
        for (const double l : {-0.5, -1e-300}) EXPECT_SIGN_SET_NAN(gamma_nc_quantile(0.3, 0.5, l, upper));
        // A standard deviation is less than the spacing of the doubles.
        EXPECT_SIGN_SET_NAN(gamma_nc_quantile(0.3, 1e40, 2.0, upper));
        EXPECT_SIGN_SET_NAN(gamma_nc_quantile(0.3, 1e300, 0.5, upper));
    }
}

// A central search that failed puts the estimate up to 1e16 standard deviations above the root. What lies
// between is not visited; the bracket and so the result are those of the plain walk.
TEST(NoncentralGammaQuantile, AFarEstimateIsWalkedBackFrom) {
    for (const double p : {1e-60, 1e-99, 1e-131, 1e-150}) {
        for (const double a : {30.0, 77.0, 108.0, 200.0}) {
            const double x = gamma_nc_quantile(p, a, 0.25, 0);
            if (p == 1e-150 && a == 108.0) {
                EXPECT_GT(dru::impl::gamma_quantile_left(p, a), 1e50);  // strides no longer move
                EXPECT_SIGN_SET_NAN(x);
            } else {
                EXPECT_TRUE(within_relative(gamma_nc_tails(x, a, 0.25).lower, p, 1e-6)) << p << " " << a;
            }
        }
    }
    // Pinned: what ten million plain strides came to.
    EXPECT_PLATFORM_BITS(
        gamma_nc_quantile(0x1.0f814d9a4c723p-866, 0x1.ddf3234eb375dp+7, 0x1.910bc213e69aap-29, 0),
        0x1.1b4481a1e36bfp+4);
}

// Below 1e-155 the products of two residuals underflow: the bracket is taken for one at once. Pinned as what
// comes out, which is no quantile.
TEST(NoncentralGammaQuantile, ProbabilitiesWhoseProductsUnderflowAreNotResolved) {
    const double x = gamma_nc_quantile(1e-200, 25.0, 1.0, 1);
    EXPECT_TRUE(std::isfinite(x));
    EXPECT_FALSE(within_relative(gamma_nc_tails(x, 25.0, 1.0).upper, 1e-200, 0.5));
}

}  // namespace
