// The F family: parameter checks, ends, noncentralities without a meaning, laws, array forms.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <limits>
#include <random>
#include <vector>

#include "kernels/incomplete_beta.hpp"
#include "quantiles/noncentral_beta.hpp"
#include "support/bits.hpp"
#include "support/threads.hpp"
#include "zolv.h"

namespace {

using zolv_test::bits;
using zolv_test::within_relative;

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double largest = std::numeric_limits<double>::max();
constexpr double two_to_53 = 9007199254740992.0;
const double quiet_nan = std::numeric_limits<double>::quiet_NaN();
constexpr unsigned char both_tails[] = {0, 1};

struct shape {
    double d1, d2;
};
constexpr shape shapes[] = {{3, 10}, {20, 50}, {300, 700}, {1, 1}, {2, 2}, {0.3, 7}};

TEST(FParameters, BadDegreesOfFreedomAreTheMissingValueWhateverTheRest) {
    const double bad[] = {0.0, -0.0, -1.0, -infinity, infinity, quiet_nan, -quiet_nan, -5e-324};
    const double variates[] = {0.3, 0.0, 1.0, -1.0, 2.0, infinity, -infinity, quiet_nan};
    for (const double df : bad) {
        for (const double x : variates) {
            for (const double nc : {0.0, 5.0, -1.0, quiet_nan, infinity}) {
                for (const bool first : {true, false}) {
                    const double d1 = first ? df : 2.0, d2 = first ? 2.0 : df;
                    EXPECT_MISSING(zolv_FPdf(x, d1, d2, nc));
                    for (const unsigned char upper : {0, 1, 255}) {
                        EXPECT_MISSING(zolv_FCdf(x, d1, d2, nc, upper));
                        EXPECT_MISSING(zolv_FInvCdf(x, d1, d2, nc, upper));
                    }
                }
            }
        }
        const std::vector<double> in{0.1, quiet_nan, 2.0};
        std::vector<double> pdf(3, 7.0), cdf(3, 7.0), inv(3, 7.0);
        zolv_ParallelFPdf(in.data(), 3, df, 1.0, 5.0, pdf.data());
        zolv_ParallelFCdf(in.data(), 3, 1.0, df, 0.0, 1, cdf.data());
        zolv_ParallelFInvCdf(in.data(), 3, df, df, -1.0, 0, inv.data());
        for (std::size_t i = 0; i < 3; ++i) {
            EXPECT_MISSING(pdf[i]);
            EXPECT_MISSING(cdf[i]);
            EXPECT_MISSING(inv[i]);
        }
    }
}

TEST(FPdf, TheEndsOfTheSupport) {
    for (const double nc : {0.0, 5.0, -2.0, quiet_nan, infinity}) {
        for (const double x : {-infinity, -1.0, -5e-324, infinity}) {
            EXPECT_EQ(bits(zolv_FPdf(x, 3, 10, nc)), bits(0.0)) << x << " " << nc;
        }
        EXPECT_SIGN_SET_NAN(zolv_FPdf(quiet_nan, 3, 10, nc));
        EXPECT_SIGN_SET_NAN(zolv_FPdf(-quiet_nan, 3, 10, nc));
        // x = 0: plus infinity, finite or 0 by the numerator's degrees of freedom.
        EXPECT_EQ(zolv_FPdf(0.0, 1, 10, nc), infinity);
        EXPECT_EQ(zolv_FPdf(-0.0, 1.999999, 10, nc), infinity);
        EXPECT_EQ(zolv_FPdf(0.0, 4, 10, nc), 0.0);
    }
    for (const double d2 : {0.5, 2.0, 10.0, 1e6}) {
        EXPECT_TRUE(within_relative(zolv_FPdf(0.0, 2, d2, 0.0), 1.0, 2e-15)) << d2;
        EXPECT_TRUE(within_relative(zolv_FPdf(0.0, 2, d2, 0.7), std::exp(-0.7), 2e-15)) << d2;
    }
}

TEST(FCdf, TheEndsOfTheSupport) {
    for (const double nc : {0.0, 5.0, -2.0, quiet_nan, infinity}) {
        for (const double x : {0.0, -0.0, -1.0, -5e-324, -infinity}) {
            EXPECT_EQ(bits(zolv_FCdf(x, 3, 10, nc, 0)), bits(0.0));
            EXPECT_EQ(zolv_FCdf(x, 3, 10, nc, 1), 1.0);
            EXPECT_EQ(zolv_FCdf(x, 3, 10, nc, 255), 1.0);
        }
        EXPECT_EQ(zolv_FCdf(infinity, 3, 10, nc, 0), 1.0);
        EXPECT_EQ(bits(zolv_FCdf(infinity, 3, 10, nc, 1)), bits(0.0));
        for (const unsigned char upper : both_tails)
            EXPECT_SIGN_SET_NAN(zolv_FCdf(quiet_nan, 3, 10, nc, upper));
    }
    // So far out that y or 1 - y is 0: nothing is left of one tail.
    EXPECT_EQ(zolv_FCdf(5e-324, 1, 1e300, 5.0, 0), 0.0);
    EXPECT_EQ(zolv_FCdf(largest, 1e10, 1.0, 5.0, 1), 0.0);
    EXPECT_EQ(zolv_FCdf(largest, 1e10, 1.0, 0.0, 0), 1.0);
}

TEST(FInvCdf, TheEndsOfTheProbabilities) {
    for (const double nc : {0.0, 5.0, -2.0, quiet_nan, infinity}) {
        EXPECT_EQ(bits(zolv_FInvCdf(0.0, 3, 10, nc, 0)), bits(0.0));
        EXPECT_EQ(zolv_FInvCdf(0.0, 3, 10, nc, 1), infinity);
        EXPECT_EQ(zolv_FInvCdf(1.0, 3, 10, nc, 0), infinity);
        EXPECT_EQ(bits(zolv_FInvCdf(1.0, 3, 10, nc, 255)), bits(0.0));
        for (const double p :
             {-1e-300, -1.0, std::nextafter(1.0, 2.0), 2.0, infinity, -infinity, quiet_nan, -quiet_nan}) {
            for (const unsigned char upper : both_tails)
                EXPECT_SIGN_SET_NAN(zolv_FInvCdf(p, 3, 10, nc, upper));
        }
    }
}

// One half itself belongs to the mirrored half.
TEST(FCdf, OneHalfTakesTheMirroredCall) {
    int differ = 0;
    for (double d1 = 1.0; d1 < 40.0; d1 += 1.0) {
        for (double d2 = 1.0; d2 < 40.0; d2 += 3.0) {
            const double a = d1 / 2.0, b = d2 / 2.0, x = b / a;
            if (x * a != b) continue;
            const dru::impl::tail_pair mirrored = dru::impl::beta_tails(0.5, b, a);
            const dru::impl::tail_pair plain = dru::impl::beta_tails(0.5, a, b);
            EXPECT_SAME_BITS(zolv_FCdf(x, d1, d2, 0.0, 0), mirrored.upper);
            EXPECT_SAME_BITS(zolv_FCdf(x, d1, d2, 0.0, 1), mirrored.lower);
            if (bits(mirrored.upper) != bits(plain.lower)) ++differ;
            const dru::impl::tail_pair reflected = dru::impl::beta_nc_tails_right(0.5, b, a, 4.0);
            EXPECT_SAME_BITS(zolv_FCdf(x, d1, d2, 4.0, 0), reflected.upper);
            EXPECT_SAME_BITS(zolv_FCdf(x, d1, d2, 4.0, 1), reflected.lower);
        }
    }
    EXPECT_GT(differ, 0);
}

TEST(FNegativeNoncentrality, IsDroppedByTheDensityFromOneHalfOn) {
    for (const shape& s : shapes) {
        const double half = (s.d2 / 2.0) / (s.d1 / 2.0);
        for (const double nc : {-1e-300, -5.0, -1e300, -infinity}) {
            for (const double x : {half * 1.0000001, half * 2.0, half * 1e3, 1e300}) {
                EXPECT_SAME_BITS(zolv_FPdf(x, s.d1, s.d2, nc), zolv_FPdf(x, s.d1, s.d2, 0.0));
            }
            for (const double x : {half * 0.9999999, half * 0.1, 1e-3}) {
                EXPECT_SIGN_SET_NAN(zolv_FPdf(x, s.d1, s.d2, nc));
            }
        }
    }
}

TEST(FNegativeNoncentrality, HasNoTailsAndNoQuantiles) {
    for (const double nc : {-1e-300, -5.0, -infinity, infinity, quiet_nan, -quiet_nan}) {
        for (const unsigned char upper : both_tails) {
            for (const double x : {1e-3, 1.0, 1e3}) EXPECT_SIGN_SET_NAN(zolv_FCdf(x, 3, 10, nc, upper));
            for (const double p : {1e-10, 0.3, 0.5, 0.9})
                EXPECT_SIGN_SET_NAN(zolv_FInvCdf(p, 3, 10, nc, upper));
        }
    }
}

TEST(FNoncentralityWithoutAMeaning, IsTheSignSetNanInTheDensityAndNotZero) {
    for (const double nc : {quiet_nan, -quiet_nan, infinity}) {
        for (const double x : {1e-3, 1.0, 10.0 / 3.0, 1e3, 1e15})
            EXPECT_SIGN_SET_NAN(zolv_FPdf(x, 3, 10, nc));
        // y = 1: no mixture.
        EXPECT_EQ(zolv_FPdf(1e300, 3, 1, nc), infinity);
        EXPECT_EQ(zolv_FPdf(1e300, 3, 10, nc), 0.0);
    }
    // y = 0 with a = 1: exp(-nc) b.
    EXPECT_EQ(zolv_FPdf(0.0, 2, 10, infinity), 0.0);
    EXPECT_EQ(zolv_FPdf(0.0, 2, 10, quiet_nan), 0.0);
    EXPECT_TRUE(within_relative(zolv_FPdf(0.0, 2, 10, -0.7), std::exp(0.7), 2e-15));
}

// Arithmetic that gives a NaN counts as no density where the mixture has a meaning.
TEST(FPdf, ShapesNextToTheLargestDoubleHaveNoDensity) {
    EXPECT_EQ(zolv_FPdf(1.0, 1e308, 1e308, 0.0), 0.0);
    EXPECT_EQ(zolv_FPdf(0.5, 1e308, 1e308, 0.0), 0.0);
    EXPECT_EQ(zolv_FPdf(largest, 1e10, 3.0, 2.0), 0.0);  // t overflows
}

TEST(FHugeNoncentrality, StepsFromZeroToOneWhereTheSumsReachTheirCeiling) {
    for (const double nc : {1e11, 1e13, 1e15}) {
        const double middle = (10.0 + nc) / 10.0;  // of F(20, 50): where y is (a + nc) / (a + b + nc)
        EXPECT_EQ(zolv_FCdf(0.01 * middle, 20, 50, nc, 0), 0.0);
        EXPECT_EQ(zolv_FCdf(0.01 * middle, 20, 50, nc, 1), 1.0);
        EXPECT_EQ(zolv_FCdf(100.0 * middle, 20, 50, nc, 0), 1.0);
        EXPECT_EQ(zolv_FCdf(100.0 * middle, 20, 50, nc, 1), 0.0);
    }
}

TEST(FHugeNoncentrality, HasNoTailsWhereAnIndexNoLongerMoves) {
    for (const double nc : {two_to_53, 1e17, 1e100, 1e300, largest}) {
        for (const unsigned char upper : both_tails) {
            EXPECT_SIGN_SET_NAN(zolv_FCdf(1.0, 20, 50, nc, upper));
            EXPECT_SIGN_SET_NAN(zolv_FInvCdf(0.3, 20, 50, nc, upper));
        }
        EXPECT_EQ(zolv_FPdf(1.0, 20, 50, nc), 0.0);  // underflow comes first
    }
    EXPECT_FALSE(std::isnan(zolv_FCdf(1.0, 20, 50, 9e15, 0)));
}

// Squared, a noncentral t variate with mean 21.3 is an F variate with Poisson mean 21.3^2 / 2. The start
// ratios of the sums overflow on the way.
TEST(FStartRatio, AnOverflowComesBack) {
    const double lower = zolv_FCdf(59.0 * 59.0, 1, 1e13, 0.5 * 21.3 * 21.3, 0);
    const double upper = zolv_FCdf(59.0 * 59.0, 1, 1e13, 0.5 * 21.3 * 21.3, 1);
    EXPECT_EQ(lower, 1.0);
    EXPECT_LT(upper, 1e-300);
    for (const double x : {1e-200, 1e-10, 1.0, 1e4, 1e8}) {
        for (const double d1 : {1e-5, 3.0, 1e4, 1e9}) {
            for (const double d2 : {1e-5, 3.0, 1e4, 1e13}) {
                const double tail = zolv_FCdf(x, d1, d2, 3e4, 0);
                EXPECT_TRUE(tail >= 0.0 && tail <= 1.0 + 1e-8) << x << " " << d1 << " " << d2;
            }
        }
    }
}

// ---- laws
// --------------------------------------------------------------------------------------------------

TEST(FLaws, CentralTailsAreThoseOfTheBetaFamily) {
    for (const shape& s : shapes) {
        const double a = s.d1 / 2.0, b = s.d2 / 2.0;
        for (double x = 0.01; x < 50.0; x *= 1.31) {
            const double t = x * a, y = t / (b + t);
            for (const unsigned char upper : both_tails) {
                const double f = zolv_FCdf(x, s.d1, s.d2, 0.0, upper), beta = zolv_BetaCdf(y, a, b, upper);
                if (y < 0.5) {
                    EXPECT_SAME_BITS(f, beta);
                } else {
                    EXPECT_TRUE(within_relative(f, beta, 1e-12)) << x;
                }
            }
            // One over an F variate is one with the degrees of freedom exchanged.
            EXPECT_TRUE(within_relative(zolv_FCdf(x, s.d1, s.d2, 0.0, 0),
                                        zolv_FCdf(1.0 / x, s.d2, s.d1, 0.0, 1), 1e-12));
            // dy/dx = (a / b) (1 - y)^2
            const double slope = a / b * (b / (b + t)) * (b / (b + t));
            EXPECT_TRUE(within_relative(zolv_FPdf(x, s.d1, s.d2, 0.0), zolv_BetaPdf(y, a, b) * slope, 1e-11))
                << x;
        }
    }
}

TEST(FLaws, ANoncentralityThatGoesToZeroIsNone) {
    for (const shape& s : shapes) {
        for (double x = 0.05; x < 20.0; x *= 1.7) {
            for (const double nc : {5e-324, 1e-300, 1e-20}) {
                EXPECT_TRUE(
                    within_relative(zolv_FPdf(x, s.d1, s.d2, nc), zolv_FPdf(x, s.d1, s.d2, 0.0), 2e-13));
                for (const unsigned char upper : both_tails) {
                    EXPECT_TRUE(within_relative(zolv_FCdf(x, s.d1, s.d2, nc, upper),
                                                zolv_FCdf(x, s.d1, s.d2, 0.0, upper), 1e-13))
                        << x << " " << s.d1;
                }
            }
        }
    }
}

TEST(FLaws, TailsSumToOneAndAreMonotone) {
    for (const shape& s : shapes) {
        for (const double nc : {0.0, 0.4, 5.0, 30.0, 400.0}) {
            double before = 0.0;
            for (double x = 0.003; x < 1e4; x *= 1.11) {
                const double lower = zolv_FCdf(x, s.d1, s.d2, nc, 0), upper = zolv_FCdf(x, s.d1, s.d2, nc, 1);
                EXPECT_NEAR(lower + upper, 1.0, 2.3e-16);
                EXPECT_GE(lower, before * (1.0 - 1e-12)) << x << " " << s.d1 << " " << nc;
                before = lower;
            }
        }
        for (const double x : {0.3, 2.0, 11.0}) {
            double before = 1.0;
            for (const double nc : {0.0, 1e-8, 0.01, 0.3, 2.0, 10.0, 60.0}) {
                const double lower = zolv_FCdf(x, s.d1, s.d2, nc, 0);
                EXPECT_LE(lower, before);
                before = lower;
            }
        }
    }
}

// The bisection for y on (0, 1) ends at a relative width of 1e-12 that is multiplied by 10 every 25 steps,
// and a small y takes log2(1 / y) of them to be bracketed. The central quantile is good to a few ulps of y or
// of 1 - y.
TEST(FLaws, QuantileThenTail) {
    double worst = 0.0;
    for (const shape& s : shapes) {
        const double a = s.d1 / 2.0, b = s.d2 / 2.0;
        for (const double nc : {0.0, 0.4, 5.0, 30.0, 400.0}) {
            for (const double p : {1e-9, 1e-4, 0.03, 0.3, 0.5, 0.77, 0.99}) {
                for (const unsigned char upper : both_tails) {
                    const double x = zolv_FInvCdf(p, s.d1, s.d2, nc, upper);
                    const double back = zolv_FCdf(x, s.d1, s.d2, nc, upper);
                    const double y = x * a / (b + x * a);
                    const double steps = std::floor((40.0 - std::log2(y)) / 25.0);
                    const double width = std::min(1e-12 * std::pow(10.0, steps), 1e-5);
                    const double y_error = nc == 0.0 ? 1e-12 * y + 2e-16 : width * y;
                    const double slope = zolv_FPdf(x, s.d1, s.d2, nc) * x * (1.0 + x * a / b) / y;  // dp/dy
                    worst = std::max(worst, std::abs(back - p) / (slope * y_error + 1e-13 * p));
                }
            }
        }
    }
    std::printf("quantile then tail, in units of the search's width: %.2g\n", worst);
    EXPECT_LT(worst, 1.0);
}

// ---- array forms
// -------------------------------------------------------------------------------------------

std::vector<double> elements() {
    std::vector<double> x{quiet_nan, infinity, -infinity, 0.0, -0.0, -1.0, 5e-324, largest, 1.0, 0.5};
    std::mt19937_64 rng(77);
    std::uniform_real_distribution<double> unit(0.0, 1.0);
    for (int i = 0; i < 40; ++i) x.push_back(unit(rng));
    for (int i = 0; i < 40; ++i) x.push_back(std::exp(8.0 * unit(rng) - 3.0));
    return x;
}

TEST(FArrays, HaveTheBitsOfTheScalarFormOnAnyTeam) {
    const std::vector<double> x = elements();
    const auto n = static_cast<std::uint64_t>(x.size());
    for (const shape& s : {shape{3, 10}, shape{300, 700}, shape{0.3, 7}, shape{5e4, 9e4}, shape{2, 3e5}}) {
        for (const double nc : {0.0, 0.4, 30.0, 1e4, -5.0, quiet_nan, 1e300}) {
            for (const int team : zolv_test::team_sizes) {
                std::vector<double> pdf(n), cdf(n), inv(n);
                for (const unsigned char upper : both_tails) {
                    zolv_test::with_threads(team, [&] {
                        zolv_ParallelFPdf(x.data(), n, s.d1, s.d2, nc, pdf.data());
                        zolv_ParallelFCdf(x.data(), n, s.d1, s.d2, nc, upper, cdf.data());
                        if (nc < 100.0) zolv_ParallelFInvCdf(x.data(), n, s.d1, s.d2, nc, upper, inv.data());
                    });
                    for (std::size_t i = 0; i < n; ++i) {
                        EXPECT_SAME_BITS(pdf[i], zolv_FPdf(x[i], s.d1, s.d2, nc)) << x[i];
                        EXPECT_SAME_BITS(cdf[i], zolv_FCdf(x[i], s.d1, s.d2, nc, upper)) << x[i];
                        if (nc < 100.0 && (team == 2 || i % 8 == 0)) {
                            EXPECT_SAME_BITS(inv[i], zolv_FInvCdf(x[i], s.d1, s.d2, nc, upper)) << x[i];
                        }
                    }
                }
            }
        }
    }
}

TEST(FArrays, WriteNothingForNoElementsAndWorkInPlace) {
    double out[1] = {123.5};
    for (const double d1 : {3.0, -3.0}) {
        zolv_ParallelFPdf(nullptr, 0, d1, 10, 5, out);
        zolv_ParallelFCdf(nullptr, 0, d1, 10, 5, 0, out);
        zolv_ParallelFInvCdf(nullptr, 0, d1, 10, 5, 1, out);
        EXPECT_EQ(out[0], 123.5);
    }
    for (const double nc : {0.0, 5.0}) {
        std::vector<double> x{0.2, 0.9, quiet_nan}, y = x, z = x;
        zolv_ParallelFPdf(x.data(), 3, 3, 10, nc, x.data());
        zolv_ParallelFCdf(y.data(), 3, 3, 10, nc, 1, y.data());
        zolv_ParallelFInvCdf(z.data(), 3, 3, 10, nc, 0, z.data());
        EXPECT_SAME_BITS(x[1], zolv_FPdf(0.9, 3, 10, nc));
        EXPECT_SAME_BITS(y[1], zolv_FCdf(0.9, 3, 10, nc, 1));
        EXPECT_SAME_BITS(z[1], zolv_FInvCdf(0.9, 3, 10, nc, 0));
        EXPECT_SIGN_SET_NAN(x[2]);
        // A single element takes the unprepared way.
        double one = 0.0;
        const double at = 0.9;
        zolv_ParallelFCdf(&at, 1, 3, 10, nc, 1, &one);
        EXPECT_SAME_BITS(one, y[1]);
    }
}

}  // namespace
