#include "quantiles/noncentral_beta.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <tuple>
#include <utility>

#include "kernels/incomplete_beta.hpp"
#include "kernels/log_gamma.hpp"
#include "quantiles/beta_quantile.hpp"
#include "support/platform_bits.hpp"
#include "support/reference_table.hpp"

namespace {

using namespace dru::impl;

testing::AssertionResult agrees(double got, double want) {
    if (std::isnan(want)) {
        return zolv_test::same_bits("got", "want", got, zolv_test::from_bits(zolv_test::sign_set_nan_bits));
    }
    if (zolv_test::platform_has_table_bits()) return zolv_test::same_bits("got", "want", got, want);
    return zolv_test::within_relative(got, want, 1e-10);
}

TEST(NoncentralBeta, MatchesThePlainTranscription) {
    const zolv_test::reference_table table("noncentral_beta_bits");
    int left = 0, right = 0, quantiles = 0;
    for (std::size_t i = 0; i < table.size(); ++i) {
        const std::string& routine = table.text(i, "routine");
        const double x = table.number(i, "x"), a = table.number(i, "a"), b = table.number(i, "b"),
                     nc = table.number(i, "nc");
        SCOPED_TRACE(routine + " " + table.text(i, "branch") + "(" + zolv_test::show(x) + ", " +
                     zolv_test::show(a) + ", " + zolv_test::show(b) + ", " + zolv_test::show(nc) + ")");
        const double one = table.number(i, "one"), other = table.number(i, "other");
        if (routine == "quantile") {
            ++quantiles;
            const auto upper = static_cast<unsigned char>(table.number(i, "upper"));
            EXPECT_TRUE(agrees(beta_nc_quantile(x, a, b, nc, upper), one));
            continue;
        }
        ++(routine == "left" ? left : right);
        const tail_pair tails =
            routine == "left" ? beta_nc_tails_left(x, a, b, nc) : beta_nc_tails_right(x, a, b, nc);
        EXPECT_TRUE(agrees(tails.lower, one));
        EXPECT_TRUE(agrees(tails.upper, other));
    }
    EXPECT_GT(left, 1000);
    EXPECT_GT(right, 1000);
    EXPECT_GE(quantiles, 64);
}

// ---- conventions
// -------------------------------------------------------------------------------------------

// The mixture term by term from the central tails; T(j) answers the tail of index j.
template <class Tail>
double direct(double ncp, const Tail& tail) {
    double sum = 0.0;
    for (double j = 0.0; j < 300.0; j += 1.0) sum += std::exp(log_poisson_pmf(j, ncp)) * tail(j);
    return sum;
}

TEST(NoncentralBeta, LowerAndUpperAreTheMixturesOfTheirTails) {
    for (const auto& [a, b] : {std::pair{1.5, 5.0}, {10.0, 25.0}, {0.5, 0.5}, {4.0, 1.0}}) {
        for (const double ncp : {0.3, 5.0, 30.0}) {
            for (const double x : {0.02, 0.2, 0.45, 0.499}) {
                const tail_pair left = beta_nc_tails_left(x, a, b, ncp);
                const double lower =
                    direct(ncp, [x, a = a, b = b](double j) { return beta_tails(x, a + j, b).lower; });
                const double upper =
                    direct(ncp, [x, a = a, b = b](double j) { return beta_tails(x, a + j, b).upper; });
                EXPECT_TRUE(zolv_test::within_relative(left.lower, lower, 1e-12))
                    << a << " " << ncp << " " << x;
                EXPECT_TRUE(zolv_test::within_relative(left.upper, upper, 1e-12))
                    << a << " " << ncp << " " << x;
            }
        }
    }
}

// `first` goes with I_y(p, q + j), `second` with its complement: the index is added to the second shape.
TEST(NoncentralBeta, FirstAndSecondAreTheMixturesOfTheReflectedTails) {
    for (const auto& [p, q] : {std::pair{5.0, 1.5}, {25.0, 10.0}, {0.5, 0.5}, {1.0, 4.0}}) {
        for (const double ncp : {0.3, 5.0, 30.0}) {
            for (const double y : {0.02, 0.2, 0.45, 0.5}) {
                const tail_pair right = beta_nc_tails_right(y, p, q, ncp);
                const double first =
                    direct(ncp, [y, p = p, q = q](double j) { return beta_tails(y, p, q + j).lower; });
                const double second =
                    direct(ncp, [y, p = p, q = q](double j) { return beta_tails(y, p, q + j).upper; });
                EXPECT_TRUE(zolv_test::within_relative(right.lower, first, 1e-12))
                    << p << " " << ncp << " " << y;
                EXPECT_TRUE(zolv_test::within_relative(right.upper, second, 1e-12))
                    << p << " " << ncp << " " << y;
            }
        }
    }
}

TEST(NoncentralBeta, TheEndIsAnsweredAtOnceWhateverTheNoncentrality) {
    for (const double ncp : {0.0, 5.0, -5.0, 1e300, std::nan(""), HUGE_VAL}) {
        const tail_pair left = beta_nc_tails_left(0.0, 2.0, 3.0, ncp),
                        right = beta_nc_tails_right(0.0, 2.0, 3.0, ncp);
        EXPECT_EQ(zolv_test::bits(left.lower), zolv_test::bits(0.0));
        EXPECT_EQ(left.upper, 1.0);
        EXPECT_EQ(zolv_test::bits(right.lower), zolv_test::bits(0.0));
        EXPECT_EQ(right.upper, 1.0);
    }
}

TEST(NoncentralBeta, WithoutNoncentralityEverythingIsCentral) {
    for (const double x : {1e-300, 0.1, 0.3, 0.49}) {
        for (const auto& [a, b] : {std::pair{1.5, 5.0}, {20.0, 3.0}, {0.2, 0.3}}) {
            const tail_pair central = beta_tails(x, a, b);
            for (const tail_pair& got :
                 {beta_nc_tails_left(x, a, b, 0.0), beta_nc_tails_right(x, a, b, -0.0)}) {
                EXPECT_SAME_BITS(got.lower, central.lower);
                EXPECT_SAME_BITS(got.upper, central.upper);
            }
            for (const unsigned char upper : {0, 1}) {
                EXPECT_SAME_BITS(beta_nc_quantile(x, a, b, 0.0, upper), beta_quantile(x, a, b, upper));
            }
        }
    }
}

TEST(NoncentralBeta, AMeanThatIsNegativeInfiniteOrNanHasNoMixture) {
    for (const double ncp : {-5e-324, -1.0, -HUGE_VAL, HUGE_VAL, std::nan(""), -std::nan("")}) {
        for (const tail_pair& got :
             {beta_nc_tails_left(0.3, 2.0, 3.0, ncp), beta_nc_tails_right(0.3, 2.0, 3.0, ncp)}) {
            EXPECT_SIGN_SET_NAN(got.lower);
            EXPECT_SIGN_SET_NAN(got.upper);
        }
        EXPECT_SIGN_SET_NAN(beta_nc_quantile(0.3, 2.0, 3.0, ncp, 0));
    }
}

TEST(NoncentralBeta, TheQuantileAtTheEndsOfTheProbabilitiesComesFromTheBracket) {
    for (const double ncp : {5.0, -5.0, HUGE_VAL}) {
        EXPECT_EQ(beta_nc_quantile(0.0, 2.0, 3.0, ncp, 0), 0.0);
        EXPECT_EQ(beta_nc_quantile(0.0, 2.0, 3.0, ncp, 1), 1.0);
        EXPECT_EQ(beta_nc_quantile(1.0, 2.0, 3.0, ncp, 0), 1.0);
        EXPECT_EQ(beta_nc_quantile(1.0, 2.0, 3.0, ncp, 1), 0.0);
    }
}

// A tail that comes out above 0.9 gives way to the other one, and becomes its complement.
TEST(NoncentralBeta, AFirstSumAboveTheSwitchHandsOver) {
    // With a next to nothing most of the distribution lies below the mean, where the lower tail comes first.
    const double a = 0.001, b = 1.0, ncp = 0.01;
    for (const double x : {3e-4, 1e-3, 4e-3, 0.01}) {
        ASSERT_LT(x, (a + ncp) / (ncp + (a + b)));
        const tail_pair tails = beta_nc_tails_left(x, a, b, ncp);
        EXPECT_GT(tails.lower, 0.9);
        EXPECT_SAME_BITS(tails.lower, 1.0 - tails.upper);
        const double upper = direct(ncp, [=](double j) { return beta_tails(x, a + j, b).upper; });
        EXPECT_TRUE(zolv_test::within_relative(tails.upper, upper, 1e-12)) << x;
    }
}

// Where a sum needs more than 750000 terms to meet its peak it is 0, and the other tail 1. An index beyond 32
// bits is one like any other: just below, a sum of that size is still good.
TEST(NoncentralBeta, TheCeilingOnTheTermsMakesASumZero) {
    for (const double ncp : {1e11, 1e13, 1e15}) {
        const double x = 0.4;  // y below and above the middle (a + ncp) / (a + b + ncp) by the choice of b
        const tail_pair below = beta_nc_tails_left(x, 3.0, ncp, ncp),
                        above = beta_nc_tails_left(x, 3.0, 4.0 * ncp, ncp);
        EXPECT_EQ(below.lower, 0.0);
        EXPECT_EQ(below.upper, 1.0);
        EXPECT_EQ(above.lower, 1.0);
        EXPECT_EQ(above.upper, 0.0);
    }
    const tail_pair wide = beta_nc_tails_left(0.49999, 10.0, 5e9, 5e9);
    EXPECT_GT(wide.lower, 0.0);
    EXPECT_LT(wide.lower, 1.0);
}

// The stop rule fires at the 749999th term beyond the peak for the first mean and at the 750000th for the
// second, by a count in the plain transcription. The index does not move when it fires, so the first sum
// still stands.
TEST(NoncentralBeta, TheStopRuleOnTheLastTermStillCounts) {
    const double p = 5.0, q = 3.0, y = 2.5e-10;
    EXPECT_TRUE(zolv_test::within_relative(beta_nc_tails_right(y, p, q, 9386053862.0).lower,
                                           0.08928129179747087, 1e-9));
    EXPECT_EQ(beta_nc_tails_right(y, p, q, 9386053863.0).lower, 0.0);
}

TEST(NoncentralBeta, WeightsBeyondTheWholeNumbersOfADoubleHaveNoMixture) {
    const double edge = 9007199254740992.0;
    for (const double ncp : {edge, 2.0 * edge, 1e300, 1.7e308}) {
        EXPECT_SIGN_SET_NAN(beta_nc_tails_left(0.3, 2.0, 3.0, ncp).lower);
        EXPECT_SIGN_SET_NAN(beta_nc_tails_right(0.3, 2.0, 3.0, ncp).upper);
        EXPECT_SIGN_SET_NAN(beta_nc_quantile(0.3, 2.0, 3.0, ncp, 1));
    }
    // The last index of any weight decides, eight standard deviations above the mean.
    EXPECT_EQ(beta_nc_tails_left(0.3, 2.0, 3.0, edge - 8e8).lower, 0.0);
    EXPECT_SIGN_SET_NAN(beta_nc_tails_left(0.3, 2.0, 3.0, edge - 7e8).lower);
}

// A start ratio that overflows makes no term comparable with the next one: the sum is 0.
TEST(NoncentralBeta, AnInfiniteStartRatioIsAZeroSum) {
    const double x = 1e-5, a = 2.0, b = 8.0, ncp = 4e4;
    const double first = poisson_start_indices(ncp).first();
    ASSERT_TRUE(std::isinf(beta_upper_ratio(a + first, b, x)));
    const tail_pair tails = beta_nc_tails_left(x, a, b, ncp);
    EXPECT_GE(tails.lower, 0.0);
    EXPECT_LE(tails.upper, 1.0);
}

TEST(NoncentralBeta, TheResidualsOfTheSearchBracketTheRoot) {
    for (const unsigned char upper : {0, 1}) {
        for (const double p : {1e-8, 0.2, 0.5, 0.9}) {
            const double x = beta_nc_quantile(p, 3.0, 4.0, 6.0, upper);
            const auto tail = [upper](double at) {
                const tail_pair pair = at < 0.5 ? beta_nc_tails_left(at, 3.0, 4.0, 6.0)
                                                : beta_nc_tails_right(1.0 - at, 4.0, 3.0, 6.0);
                return (upper != 0) == (at < 0.5) ? pair.upper : pair.lower;
            };
            const double below = tail(x * (1.0 - 3e-12)) - p, above = tail(x * (1.0 + 3e-12)) - p;
            EXPECT_LE(below * above, 0.0) << p;
        }
    }
}

TEST(NoncentralBeta, PreparedIsPlain) {
    for (const double ncp : {0.3, 25.0, 1e4}) {
        const poisson_start_indices weights(ncp), shared(ncp);
        const beta_nc_mixture prepared(1.5, 5.25, weights);
        prepared.prepare();
        shared.prepare();
        for (double x = 0.005; x < 0.5; x += 0.03) {
            EXPECT_SAME_BITS(prepared.left(x).lower, beta_nc_tails_left(x, 1.5, 5.25, ncp).lower);
            EXPECT_SAME_BITS(prepared.left(x).upper, beta_nc_tails_left(x, 1.5, 5.25, shared).upper);
            EXPECT_SAME_BITS(prepared.right(x).lower, beta_nc_tails_right(x, 5.25, 1.5, ncp).lower);
            EXPECT_SAME_BITS(prepared.right(x).upper, beta_nc_tails_right(x, 5.25, 1.5, shared).upper);
        }
    }
}

}  // namespace
