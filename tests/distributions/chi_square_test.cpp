// The chi-square family: parameter checks, ends of the support, 50-digit values, laws, array forms, any
// input. Exact bits over every branch are in chi_square_bits_test.cpp.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "distributions/poisson.hpp"
#include "support/bits.hpp"
#include "support/reference_table.hpp"
#include "support/threads.hpp"
#include "support/watchdog.hpp"
#include "support/worst_errors.hpp"
#include "zolv.h"

namespace {

using zolv_test::within_relative;

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double quiet_nan = std::numeric_limits<double>::quiet_NaN();
const double negative_nan = std::copysign(quiet_nan, -1.0);
constexpr unsigned char both_tails[] = {0, 1};

double after(double x) { return std::nextafter(x, infinity); }
double before(double x) { return std::nextafter(x, -infinity); }
double spread(double df, double nc) { return std::sqrt(2.0 * df + 4.0 * nc); }

TEST(ChiSquareParameters, ABadOneIsTheMissingValueWhateverTheVariate) {
    const std::vector<std::pair<double, double>> bad{{0.0, 1.0},       {-0.0, 1.0},        {-1.0, 1.0},
                                                     {-5e-324, 0.0},   {infinity, 1.0},    {-infinity, 1.0},
                                                     {quiet_nan, 1.0}, {3.0, infinity},    {3.0, -infinity},
                                                     {3.0, quiet_nan}, {3.0, negative_nan}};
    const double variates[] = {0.3, 0.0, 1.0, -1.0, 2.0, infinity, -infinity, quiet_nan, negative_nan};
    for (const auto& [df, nc] : bad) {
        for (const double x : variates) {
            EXPECT_MISSING(zolv_ChiSqPdf(x, df, nc));
            for (const int upper : {0, 1, 255}) {
                EXPECT_MISSING(zolv_ChiSqCdf(x, df, nc, static_cast<unsigned char>(upper)));
                EXPECT_MISSING(zolv_ChiSqInvCdf(x, df, nc, static_cast<unsigned char>(upper)));
            }
        }
        const std::vector<double> in{0.1, quiet_nan, 2.0};
        std::vector<double> pdf(3, 7.0), cdf(3, 7.0);
        zolv_ParallelChiSqPdf(in.data(), 3, df, nc, pdf.data());
        zolv_ParallelChiSqCdf(in.data(), 3, df, nc, 1, cdf.data());
        for (std::size_t i = 0; i < 3; ++i) {
            EXPECT_MISSING(pdf[i]);
            EXPECT_MISSING(cdf[i]);
        }
        zolv_ParallelChiSqPdf(nullptr, 0, df, nc, nullptr);
        zolv_ParallelChiSqCdf(nullptr, 0, df, nc, 0, nullptr);
    }
    // The smallest and the largest double are degrees of freedom; half of the smallest is 0.
    for (const double df : {5e-324, std::numeric_limits<double>::min(), std::numeric_limits<double>::max()}) {
        EXPECT_LT(zolv_ChiSqPdf(2.0, df, 0.0), 1e-300);
        for (const double nc : {0.0, 3.0}) {
            const double lower = zolv_ChiSqCdf(2.0, df, nc, 0);
            EXPECT_TRUE(lower >= 0.0 && lower <= 1.0) << lower;
        }
    }
    // Below 1e-305 the density of index 0 is subnormal and takes the lower tail with it; e^-1.5 is the mass
    // near 0.
    EXPECT_GT(zolv_ChiSqCdf(2.0, 1e-300, 3.0, 0), std::exp(-1.5));
    EXPECT_EQ(zolv_ChiSqCdf(2.0, 1e-307, 3.0, 0), 0.0);
    // The square in the radicand of the peak index overflows: an index above 2^53.
    EXPECT_EQ(zolv_ChiSqPdf(2.0, 1e154, 3.0), 0.0);
    EXPECT_SIGN_SET_NAN(zolv_ChiSqPdf(2.0, 1e155, 3.0));
}

TEST(ChiSquarePdf, TheEndsOfTheSupport) {
    for (const double nc : {0.0, -0.0, 1.0, 40.0, -2.0}) {
        for (const double x : {0.0, -0.0}) {
            for (const double df : {1e-300, 1.0, before(2.0)}) EXPECT_EQ(zolv_ChiSqPdf(x, df, nc), infinity);
            EXPECT_SAME_BITS(zolv_ChiSqPdf(x, 2.0, nc), 0.5 * std::exp(-nc / 2.0));
            for (const double df : {after(2.0), 3.0, 1e300}) EXPECT_SAME_BITS(zolv_ChiSqPdf(x, df, nc), 0.0);
        }
        for (const double df : {0.5, 2.0, 30.0}) {
            for (const double x : {-1e-300, -1.0, infinity, -infinity}) {
                EXPECT_SAME_BITS(zolv_ChiSqPdf(x, df, nc), 0.0);
            }
            EXPECT_SIGN_SET_NAN(zolv_ChiSqPdf(quiet_nan, df, nc));
            EXPECT_SIGN_SET_NAN(zolv_ChiSqPdf(negative_nan, df, nc));
        }
    }
    // Half of the smallest double rounds to 0, in the point and in the noncentrality.
    EXPECT_EQ(zolv_ChiSqPdf(5e-324, 1.0, 3.0), infinity);
    EXPECT_SAME_BITS(zolv_ChiSqPdf(3.0, 4.0, 5e-324), zolv_ChiSqPdf(3.0, 4.0, 0.0));
}

TEST(ChiSquareCdf, TheEndsOfTheSupport) {
    for (const double nc : {0.0, -0.0, 1.0, -2.0, 1e300}) {
        for (const double df : {0.5, 2.0, 1e300}) {
            for (const double x : {0.0, -0.0, -5e-324, -3.0, -infinity}) {
                EXPECT_SAME_BITS(zolv_ChiSqCdf(x, df, nc, 0), 0.0);
                EXPECT_SAME_BITS(zolv_ChiSqCdf(x, df, nc, 1), 1.0);
            }
            EXPECT_SAME_BITS(zolv_ChiSqCdf(infinity, df, nc, 0), 1.0);
            EXPECT_SAME_BITS(zolv_ChiSqCdf(infinity, df, nc, 1), 0.0);
            for (const double x : {quiet_nan, negative_nan}) {
                EXPECT_SIGN_SET_NAN(zolv_ChiSqCdf(x, df, nc, 0));
                EXPECT_SIGN_SET_NAN(zolv_ChiSqCdf(x, df, nc, 1));
            }
        }
    }
    EXPECT_SAME_BITS(zolv_ChiSqCdf(3.0, 2.0, 1.0, 255), zolv_ChiSqCdf(3.0, 2.0, 1.0, 1));
    EXPECT_SAME_BITS(zolv_ChiSqCdf(3.0, 2.0, -0.0, 1), zolv_ChiSqCdf(3.0, 2.0, 0.0, 1));
}

TEST(ChiSquareInvCdf, TheEndsAndBadProbabilities) {
    for (const double nc : {0.0, -0.0, 1.0, -2.0, 1e300}) {
        for (const double df : {0.5, 2.0, 3e4, 1e300}) {
            for (const double zero : {0.0, -0.0}) {
                EXPECT_SAME_BITS(zolv_ChiSqInvCdf(zero, df, nc, 0), 0.0);
                EXPECT_SAME_BITS(zolv_ChiSqInvCdf(zero, df, nc, 1), infinity);
            }
            EXPECT_SAME_BITS(zolv_ChiSqInvCdf(1.0, df, nc, 0), infinity);
            EXPECT_SAME_BITS(zolv_ChiSqInvCdf(1.0, df, nc, 1), 0.0);
            for (const double p :
                 {quiet_nan, negative_nan, -5e-324, -1.0, after(1.0), 2.0, infinity, -infinity}) {
                EXPECT_SIGN_SET_NAN(zolv_ChiSqInvCdf(p, df, nc, 0));
                EXPECT_SIGN_SET_NAN(zolv_ChiSqInvCdf(p, df, nc, 1));
            }
        }
    }
}

// A negative noncentrality passes the check; what needs no mixture is answered as ever, the rest is the
// sign-set NaN, except a density whose first term can be found.
TEST(ChiSquare, ANegativeNoncentralityIsAnsweredUpToTheMixture) {
    for (const double nc : {-1e-300, -0.5, -1000.0, -1e300}) {
        for (const double df : {0.5, 2.0, 50.0}) {
            for (const unsigned char upper : both_tails) {
                for (const double x : {5e-300, 0.3, 50.0, 1e300})
                    EXPECT_SIGN_SET_NAN(zolv_ChiSqCdf(x, df, nc, upper));
                for (const double p : {5e-324, 0.3, before(1.0)}) {
                    EXPECT_SIGN_SET_NAN(zolv_ChiSqInvCdf(p, df, nc, upper));
                }
            }
        }
    }
    // Radicand (df / 2 - 1)^2 + nc x of 1 - 1, of 1 - 2, and of 0 - something.
    EXPECT_FALSE(std::isnan(zolv_ChiSqPdf(0.5, 4.0, -2.0)));
    EXPECT_SIGN_SET_NAN(zolv_ChiSqPdf(after(0.5), 4.0, -2.0));
    EXPECT_SIGN_SET_NAN(zolv_ChiSqPdf(1.0, 4.0, -2.0));
    EXPECT_SIGN_SET_NAN(zolv_ChiSqPdf(1e-9, 2.0, -2.0));
    // 0.5 e^(1 - 1/4) (1/4) (1 + (-1)(1/4) / 2), term by term.
    EXPECT_TRUE(within_relative(zolv_ChiSqPdf(0.5, 4.0, -2.0), 0.125 * std::exp(0.75) * 0.875, 1e-14));
}

TEST(ChiSquare, HugeNoncentralities) {
    // The largest term of the density underflows: 0, before its index is looked at.
    EXPECT_EQ(zolv_ChiSqPdf(1.0, 3.0, 1e300), 0.0);
    EXPECT_EQ(zolv_ChiSqPdf(1e29, 3.0, 1e30), 0.0);
    EXPECT_SIGN_SET_NAN(zolv_ChiSqPdf(1e30, 3.0, 1e30));
    for (const unsigned char upper : both_tails) {
        EXPECT_SIGN_SET_NAN(zolv_ChiSqCdf(1e30, 3.0, 1e30, upper));
        EXPECT_SIGN_SET_NAN(zolv_ChiSqInvCdf(0.5, 3.0, 1e30, upper));
        // From some 1.7e10 on no sum reaches its largest term: a step at the mean, and so the quantile's
        // answer.
        EXPECT_EQ(zolv_ChiSqCdf(1e14 + 3.0, 3.0, 1e14, upper), upper != 0 ? 0.0 : 1.0);
        EXPECT_EQ(zolv_ChiSqCdf(before(1e14 + 3.0), 3.0, 1e14, upper), upper != 0 ? 1.0 : 0.0);
        EXPECT_TRUE(within_relative(zolv_ChiSqInvCdf(0.3, 3.0, 1e14, upper), 1e14 + 3.0, 1e-10));
    }
}

TEST(ChiSquareTruth, DensityAndBothTails) {
    const zolv_test::reference_table table("chi_square_truth");
    zolv_test::worst_errors pdf, smaller, larger;
    for (std::size_t i = 0; i < table.size(); ++i) {
        const double x = table.number(i, "x"), df = table.number(i, "df"), nc = table.number(i, "nc");
        const double density = table.number(i, "pdf");
        const double tails[] = {table.number(i, "lower"), table.number(i, "upper")};
        const std::string where =
            "x " + zolv_test::show(x) + ", df " + zolv_test::show(df) + ", nc " + zolv_test::show(nc);
        const std::string& regime = table.text(i, "regime");
        const bool normal = regime != "central" && regime != "series" && regime != "df below 2";
        // A largest term below 2.2e-308 makes the whole 0.
        if (density > 1e-290) {
            pdf.add(regime, zolv_ChiSqPdf(x, df, nc), density, where);
        } else {
            EXPECT_LT(zolv_ChiSqPdf(x, df, nc), 1e-289) << where;
        }
        const unsigned char small = tails[1] < tails[0];
        if (tails[small] > 1e-290) {
            const bool far = normal && tails[small] < 1e-16;
            smaller.add(regime + (far ? ", below 1e-16" : ""), zolv_ChiSqCdf(x, df, nc, small), tails[small],
                        where);
        } else {
            EXPECT_LT(zolv_ChiSqCdf(x, df, nc, small), 1e-289) << where;
        }
        larger.add(regime, zolv_ChiSqCdf(x, df, nc, !small), tails[!small], where);
    }
    // Twice what was measured. The regimes: both sums start at shapes up to 10000 (and df below 2 or not),
    // one of them does, none does; above 10000 the ratio is an expansion about the normal tail of AS 66.
    pdf.expect_within("density", {{"central", 2.2e-12},
                                  {"central normal", 8e-12},
                                  {"df below 2", 1.4e-12},
                                  {"series", 2.2e-12},
                                  {"either", 2.6e-12},
                                  {"normal", 1e-10}});
    smaller.expect_within("smaller tail", {{"central", 2.2e-12},
                                           {"central normal", 2.4e-9},
                                           {"central normal, below 1e-16", 3.2e-7},
                                           {"df below 2", 1.5e-12},
                                           {"series", 2.4e-12},
                                           {"either", 1.4e-9},
                                           {"either, below 1e-16", 9e-9},
                                           {"normal", 2.2e-9},
                                           {"normal, below 1e-16", 2e-7}});
    larger.expect_within("larger tail", {{"central", 8.4e-15},
                                         {"central normal", 1.2e-10},
                                         {"df below 2", 8.8e-14},
                                         {"series", 3.6e-14},
                                         {"either", 1.4e-10},
                                         {"normal", 2.2e-10}});
}

TEST(ChiSquareLaws, EvenDegreesOfFreedomCountPoissonEvents) {
    for (const int k : {1, 2, 3, 10, 75, 1000}) {
        for (const double x : {0.02, 1.0, 7.0, 60.0, 160.0, 1900.0, 2100.0}) {
            const dru::impl::discrete_tails count = dru::impl::poisson_tails(k, x / 2.0);
            const double upper = zolv_ChiSqCdf(x, 2.0 * k, 0.0, 1), lower = zolv_ChiSqCdf(x, 2.0 * k, 0.0, 0);
            EXPECT_LE(std::abs(upper - count.lower), 1e-12 * count.lower + 1e-15) << k << " " << x;
            EXPECT_LE(std::abs(lower - (count.upper_tail + count.mass)),
                      1e-12 * (count.upper_tail + count.mass) + 1e-15)
                << k << " " << x;
        }
    }
}

TEST(ChiSquareLaws, ASmallNoncentralityApproachesTheCentralFamily) {
    for (const double df : {0.5, 1.0, 2.0, 3.0, 50.0, 1e4, 3e4}) {
        for (const double z : {-0.9, 0.0, 2.0, 6.0}) {
            const double x = df + z * (z < 0.0 ? df : spread(df, 0.0));
            for (const double nc : {1e-300, 1e-20, 1e-9}) {
                const double slack = 3e-12 + 40.0 * nc + (df > 2e4 ? 2e-11 : 0.0);
                EXPECT_TRUE(within_relative(zolv_ChiSqPdf(x, df, nc), zolv_ChiSqPdf(x, df, 0.0), slack));
                for (const unsigned char upper : both_tails) {
                    const double want = zolv_ChiSqCdf(x, df, 0.0, upper);
                    EXPECT_NEAR(zolv_ChiSqCdf(x, df, nc, upper), want, slack * want + 3e-16)
                        << df << " " << x;
                }
            }
        }
        for (const double p : {0.001, 0.4, 0.95}) {
            for (const unsigned char upper : both_tails) {
                const double want = zolv_ChiSqInvCdf(p, df, 0.0, upper);
                EXPECT_TRUE(within_relative(zolv_ChiSqInvCdf(p, df, 1e-20, upper), want, 1e-9))
                    << df << " " << p;
            }
        }
    }
}

// F(x; df, nc) - F(x; df + 2, nc) = 2 f(x; df + 2, nc), term by term of the mixture.
TEST(ChiSquareLaws, TwoMoreDegreesOfFreedomTakeTwiceTheDensity) {
    std::mt19937_64 random(8);
    std::uniform_real_distribution<double> exponent(-1.0, 3.5), normal(-4.0, 4.0);
    for (int i = 0; i < 400; ++i) {
        const double df = std::pow(10.0, exponent(random)),
                     nc = i % 4 == 0 ? 0.0 : std::pow(10.0, exponent(random));
        const double x = std::abs(df + nc + normal(random) * spread(df, nc)) + 0.01;
        const double step = zolv_ChiSqCdf(x, df, nc, 0) - zolv_ChiSqCdf(x, df + 2.0, nc, 0);
        EXPECT_NEAR(step, 2.0 * zolv_ChiSqPdf(x, df + 2.0, nc), 1e-12) << x << " " << df << " " << nc;
    }
}

TEST(ChiSquareLaws, TailsSumToOneAndRunMonotonically) {
    for (const double df : {0.1, 1.0, 3.0, 50.0, 1e5}) {
        for (const double nc : {0.0, 0.5, 20.0, 3e4, 1e6}) {
            double lower_before = 0.0, upper_before = 1.0;
            const double seam = df + nc > 1e4 ? 3e-9 : 3e-12;  // AS 66 is not quite continuous
            for (int i = 1; i <= 200; ++i) {
                const double x = std::max(df + nc - 8.0 * spread(df, nc), 0.0) + 0.08 * i * spread(df, nc);
                const double lower = zolv_ChiSqCdf(x, df, nc, 0), upper = zolv_ChiSqCdf(x, df, nc, 1);
                EXPECT_NEAR(lower + upper, 1.0, 1.2e-16);
                EXPECT_GE(lower, lower_before * (1.0 - seam)) << x << " " << df << " " << nc;
                EXPECT_LE(upper, upper_before * (1.0 + seam)) << x << " " << df << " " << nc;
                lower_before = lower;
                upper_before = upper;
            }
        }
    }
}

TEST(ChiSquareLaws, TheTailAtTheQuantileIsTheProbability) {
    std::mt19937_64 random(9);
    std::uniform_real_distribution<double> unit(0.0, 1.0);
    for (int i = 0; i < 400; ++i) {
        const double df = std::pow(10.0, -0.5 + 4.0 * unit(random));
        const double nc = i % 3 == 0 ? 0.0 : std::pow(10.0, -1.0 + 5.0 * unit(random));
        const double p = i % 2 == 0 ? unit(random) : std::pow(10.0, -12.0 * unit(random));
        const double x = zolv_ChiSqInvCdf(p, df, nc, 0);
        // A relative error e of x changes the tail by e x f(x). The widths that the searches leave: 1e-12 and
        // 1e-10.
        const double tolerance = (nc == 0.0 ? 2e-12 : 2e-10) * x * zolv_ChiSqPdf(x, df, nc) + 1e-12 * p;
        EXPECT_NEAR(zolv_ChiSqCdf(x, df, nc, 0), p, tolerance) << p << " " << df << " " << nc;
        const double y = zolv_ChiSqInvCdf(p, df, nc, 1);
        if (nc == 0.0 && y < 0.0) continue;  // a Newton run that left the support
        const double other = (nc == 0.0 ? 2e-12 : 2e-10) * y * zolv_ChiSqPdf(y, df, nc) + 1e-12 * p + 1e-15;
        EXPECT_NEAR(zolv_ChiSqCdf(y, df, nc, 1), p, other) << p << " " << df << " " << nc;
    }
}

// Pinned: what a Newton run that fails leaves. The lower tail has the answer, near 4.4e-4.
TEST(ChiSquareInvCdf, AFailedNewtonRunIsNotMended) {
    EXPECT_LT(zolv_ChiSqInvCdf(1.0 - 1e-5, 2.5, 0.0, 1), 0.0);
    EXPECT_TRUE(
        within_relative(zolv_ChiSqCdf(zolv_ChiSqInvCdf(1e-5, 2.5, 0.0, 0), 2.5, 0.0, 0), 1e-5, 1e-11));
}

TEST(ChiSquareArrays, EqualTheScalarFormsForAnyNumberOfThreads) {
    std::mt19937_64 random(10);
    std::uniform_real_distribution<double> unit(0.0, 1.0);
    const double sets[][2] = {{0.3, 0.0},  {3.0, 0.0},  {50.0, -0.0},  {3e4, 0.0},   {1.0, 0.7},
                              {3.0, 40.0}, {50.0, 3e4}, {1e5, 5.0},    {2.5, 1e6},   {0.02, 0.19},
                              {3.0, -2.0}, {3.0, 1e17}, {5e-324, 1.0}, {2.0, 1e-310}};
    for (const auto& set : sets) {
        const double df = set[0], nc = set[1];
        std::vector<double> x{quiet_nan, negative_nan, infinity, -infinity, 0.0,    -0.0,
                              -1.0,      5e-324,       1e-300,   1e300,     df + nc};
        while (x.size() < 150)
            x.push_back(std::abs(df + nc + (12.0 * unit(random) - 6.0) * spread(df, std::abs(nc))));
        for (const int threads : zolv_test::team_sizes) {
            std::vector<double> pdf(x.size(), 7.0), lower = pdf, upper = x;
            zolv_test::with_threads(threads, [&] {
                zolv_ParallelChiSqPdf(x.data(), x.size(), df, nc, pdf.data());
                zolv_ParallelChiSqCdf(x.data(), x.size(), df, nc, 0, lower.data());
                zolv_ParallelChiSqCdf(upper.data(), x.size(), df, nc, 9, upper.data());  // in place
            });
            for (std::size_t i = 0; i < x.size(); ++i) {
                EXPECT_SAME_BITS(pdf[i], zolv_ChiSqPdf(x[i], df, nc));
                EXPECT_SAME_BITS(lower[i], zolv_ChiSqCdf(x[i], df, nc, 0));
                EXPECT_SAME_BITS(upper[i], zolv_ChiSqCdf(x[i], df, nc, 1));
            }
        }
    }
}

TEST(ChiSquareArrays, NoElementsNothingWritten) {
    const double x = 1.0;
    double out = 7.0;
    for (const double nc : {0.0, 5.0, quiet_nan, 1e9}) {
        zolv_ParallelChiSqPdf(&x, 0, 3.0, nc, &out);
        zolv_ParallelChiSqCdf(&x, 0, 3.0, nc, 1, &out);
    }
    EXPECT_EQ(out, 7.0);
    zolv_ParallelChiSqCdf(&x, 1, 3.0, 5.0, 1, &out);
    EXPECT_SAME_BITS(out, zolv_ChiSqCdf(1.0, 3.0, 5.0, 1));
}

// ---- any input
// ---------------------------------------------------------------------------------------------

// Every combination of special values is asked in tests/surface/hostile_grid_test.cpp.
TEST(ChiSquareAnyInput, TheSlowOnesComeBack) {
    using zolv_test::watchdog;
    const watchdog dog(120);
    // Slow to the eye of the sums: next to 2^53, and where an estimate lies 1e12 standard deviations off.
    watchdog::watch("ChiSqInvCdf", 0.5, 3.0, 2147483648.0);
    zolv_ChiSqInvCdf(0.5, 3.0, 2147483648.0, 0);
    watchdog::watch("ChiSqInvCdf", 1e-99, 154.0, 0.5);
    zolv_ChiSqInvCdf(1e-99, 154.0, 0.5, 0);
    for (const double nc : {1.8014398509481984e16, 1.8014399971e16, 1.80144e16}) {
        watchdog::watch("ChiSqCdf", 4e16, 3.0, nc);
        zolv_ChiSqCdf(4e16, 3.0, nc, 0);
    }
}

}  // namespace
