#include "distributions/t_density.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <map>
#include <numbers>
#include <random>
#include <string>
#include <vector>

#include "kernels/log_gamma.hpp"
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

// The terms of the saddle-point form cancel where the density is far out, and so do the platforms' last bits.
testing::AssertionResult agrees(double got, double want) {
    if (std::isnan(want) && std::isnan(got)) return testing::AssertionSuccess();
    if (platform_has_table_bits()) return same_bits("got", "want", got, want);
    return within_relative(got, want, 1e-6);
}

TEST(TDensityBits, EveryBranchMatchesThePlainTranscription) {
    const reference_table table("t_bits");
    std::map<std::string, int> rows;
    for (std::size_t i = 0; i < table.size(); ++i) {
        const std::string& routine = table.text(i, "routine");
        const double x = table.number(i, "x"), df = table.number(i, "df"), nc = table.number(i, "nc");
        double got;
        if (routine == "pdf") {
            got = zolv_TPdf(x, df, nc);
            if (std::isnan(got)) {
                EXPECT_SIGN_SET_NAN(got);
            }
        } else if (routine == "saddle_density") {
            got = t_nc_pdf_saddle(x, df, nc).density;
        } else if (routine == "saddle_log") {
            got = t_nc_pdf_saddle(x, df, nc).log_part;
        } else if (routine == "saddle_correction") {
            got = t_nc_pdf_saddle(x, df, nc).correction;
        } else if (routine == "half_ratio") {
            got = gamma_half_ratio(x);
        } else {
            continue;
        }
        ++rows[routine + " " + table.text(i, "branch")];
        EXPECT_TRUE(agrees(got, table.number(i, "result")))
            << routine << " (" << table.text(i, "branch") << ") at " << place(x, df, nc);
    }
    for (const char* branch :
         {"pdf central", "pdf negative-far", "pdf negative-plain", "pdf negative-shifted",
          "pdf negative-shifted-rescaled", "pdf negative-saddle", "pdf saddle", "pdf series-peak0",
          "pdf series-peak", "pdf large_nc", "saddle_log ", "saddle_correction ", "half_ratio "}) {
        EXPECT_GT(rows[branch], 4) << branch;
    }
}

std::string density_regime(double x, double df, double nc) {
    if (nc == 0.0) return "central";
    if (x < 0.0 && df < 50.0) return "other side of 0, df below 50";
    if (x < 0.0) return "other side of 0, df from 50";
    if (df >= 1e8) return "saddle point, df from 1e8";
    if (df >= 1e6) return "saddle point, df from 1e6 to 1e8";
    if (df >= 50.0) return "saddle point";
    if (nc >= 2000.0) return "nc from 2000";
    return nc <= 60.0 ? "series" : "series, nc above 60";
}

// Limits are what was measured times about 2. The saddle-point form is good to about 3e-9 at 50 degrees of
// freedom; just below 1e8 its exponent, times df / 2, has lost eight digits. The largest term of the series
// loses as many as nc^2 / 2 has.
TEST(TDensityTruth, WorstErrorPerRegime) {
    const reference_table table("t_truth");
    worst_errors errors;
    for (std::size_t i = 0; i < table.size(); ++i) {
        const double x = table.number(i, "x"), df = table.number(i, "df"), nc = table.number(i, "nc");
        const double want = table.number(i, "density");
        if (x < 0.0 && nc > 21.417) {
            EXPECT_SAME_BITS(zolv_TPdf(x, df, nc), 0.0);
            EXPECT_LT(want, 1e-102);
        } else if (want > 1e-290) {
            errors.add(density_regime(x, df, nc), zolv_TPdf(x, df, nc), want, place(x, df, nc));
        }
    }
    errors.expect_within("density", {{"central", 7e-15},
                                     {"other side of 0, df below 50", 6e-9},
                                     {"other side of 0, df from 50", 6e-9},
                                     {"saddle point, df from 1e8", 3e-15},
                                     {"saddle point, df from 1e6 to 1e8", 2.5e-8},
                                     {"saddle point", 6e-9},
                                     {"nc from 2000", 5e-15},
                                     {"series", 8e-12},
                                     {"series, nc above 60", 1.5e-9}});
}

TEST(TDensity, InfinitePointsHaveNone) {
    for (const double nc : {0.0, 1.0, -3.0, 50.0, -5000.0}) {
        for (const double df : {0.5, 30.0, 49.9, 50.0, 1e9}) {
            EXPECT_SAME_BITS(zolv_TPdf(inf, df, nc), 0.0);
            EXPECT_SAME_BITS(zolv_TPdf(-inf, df, nc), 0.0);
            EXPECT_SIGN_SET_NAN(zolv_TPdf(nan_value, df, nc));
            EXPECT_SIGN_SET_NAN(zolv_TPdf(-nan_value, df, nc));
        }
    }
}

TEST(TDensity, MirroredNoncentralityMirrorsThePoint) {
    std::mt19937_64 random(5);
    std::uniform_real_distribution<double> uniform(0.0, 1.0);
    for (int i = 0; i < 2000; ++i) {
        const double df = std::pow(10.0, 10.0 * uniform(random) - 1.0);
        const double nc = std::pow(10.0, 5.0 * uniform(random) - 1.5);
        const double x = nc * (4.0 * uniform(random) - 1.0);
        ASSERT_SAME_BITS(zolv_TPdf(x, df, nc), zolv_TPdf(-x, df, -nc));
    }
}

TEST(TDensity, NothingOnTheOtherSideAboveTheCut) {
    for (const double df : {0.3, 7.0, 49.0, 50.0, 1e6}) {
        for (const double x : {-1e-300, -0.01, -5.0}) {
            EXPECT_GT(zolv_TPdf(x, df, 21.417), 0.0) << df;
            EXPECT_SAME_BITS(zolv_TPdf(x, df, after(21.417)), 0.0);
            EXPECT_SAME_BITS(zolv_TPdf(-x, df, -after(21.417)), 0.0);
            EXPECT_SAME_BITS(t_nc_pdf_negative(x, df, after(21.417)), 0.0);
        }
    }
}

// For one point as for many: below 50 degrees of freedom the half steps, from there the saddle-point form.
TEST(TDensity, OtherSideOfASinglePoint) {
    for (const double df : {0.3, 7.0, before(50.0), 50.0, 1e6}) {
        for (const double nc : {0.25, 21.417}) {
            for (const double x : {-0.01, -5.0}) {
                EXPECT_SAME_BITS(t_nc_pdf_negative(x, df, nc), zolv_TPdf(x, df, nc)) << df;
            }
        }
    }
}

// From 50 degrees of freedom the saddle-point form, whatever the noncentrality; just below the others.
TEST(TDensity, FiftyDegreesOfFreedomChooseTheForm) {
    const double below = before(50.0);
    for (const double nc : {0.5, 30.0, 1999.0, 2000.0, 1e5}) {
        const double x = nc * 1.05;
        EXPECT_SAME_BITS(zolv_TPdf(x, 50.0, nc), t_nc_pdf_saddle(x, 50.0, nc).density);
        EXPECT_SAME_BITS(zolv_TPdf(x, below, nc),
                         nc >= 2000.0 ? t_nc_pdf_large_nc(x, below, nc) : t_nc_pdf_series(x, below, nc));
        EXPECT_TRUE(within_relative(zolv_TPdf(x, below, nc), zolv_TPdf(x, 50.0, nc), 3e-9)) << nc;
    }
    EXPECT_SAME_BITS(zolv_TPdf(-1.0, 50.0, 2.0), t_nc_pdf_saddle(-1.0, 50.0, 2.0).density);
    EXPECT_NE(bits(zolv_TPdf(-1.0, below, 2.0)), bits(t_nc_pdf_saddle(-1.0, below, 2.0).density));
    EXPECT_TRUE(within_relative(zolv_TPdf(-1.0, below, 2.0), zolv_TPdf(-1.0, 50.0, 2.0), 3e-9));
}

TEST(TDensity, NoncentralityOf2000ChoosesTheForm) {
    for (const double df : {0.6, 5.0, 40.0}) {
        const double x = 2100.0;
        EXPECT_SAME_BITS(zolv_TPdf(x, df, 2000.0), t_nc_pdf_large_nc(x, df, 2000.0));
        EXPECT_SAME_BITS(zolv_TPdf(x, df, before(2000.0)), t_nc_pdf_series(x, df, before(2000.0)));
        EXPECT_TRUE(within_relative(zolv_TPdf(x, df, 2000.0), zolv_TPdf(x, df, before(2000.0)), 2e-9));
    }
}

// From 1e8 degrees of freedom the exponent is a series: eight digits are back.
TEST(TDensity, HugeDegreesOfFreedomMeetTheNormalDensity) {
    const auto normal = [](double z) { return std::exp(-0.5 * z * z) / std::sqrt(2.0 * std::numbers::pi); };
    for (const double nc : {0.5, 4.0, 30.0}) {
        for (const double z : {-2.0, -0.3, 0.0, 1.7}) {
            EXPECT_TRUE(within_relative(zolv_TPdf(nc + z, 1e14, nc), normal(z), 1e-10)) << nc << " " << z;
            EXPECT_TRUE(
                within_relative(zolv_TPdf(nc + z, before(1e8), nc), zolv_TPdf(nc + z, 1e8, nc), 1e-7));
        }
    }
}

TEST(TDensity, OriginInClosedForm) {
    for (const double df : {0.1, 1.0, 6.0, 33.0}) {
        const double h = df / 2.0;
        const double front =
            std::exp(std::lgamma(h + 0.5) - std::lgamma(h)) / std::sqrt(std::numbers::pi * df);
        for (const double nc : {0.0, 1e-5, 0.7, 6.0, 20.0, 35.0}) {
            EXPECT_TRUE(within_relative(zolv_TPdf(0.0, df, nc), front * std::exp(-0.5 * nc * nc), 1e-12))
                << df << " " << nc;
        }
        EXPECT_SAME_BITS(zolv_TPdf(0.0, df, 40.0), 0.0);  // exp(-800)
    }
}

// The expansion for a huge noncentrality divides by x / nc; the density there is far below any double.
TEST(TDensity, OriginOfTheLargeNoncentralityFormIsANaN) {
    EXPECT_SIGN_SET_NAN(zolv_TPdf(0.0, 5.0, 2000.0));
    EXPECT_SIGN_SET_NAN(zolv_TPdf(-0.0, 5.0, -1e10));
    EXPECT_SAME_BITS(zolv_TPdf(0.0, 5.0, before(2000.0)), 0.0);
}

TEST(TDensity, CentralClosedForms) {
    for (const double x : {0.0, 1e-160, 0.3, -1.0, 4.0, -1e4, 1e150}) {
        EXPECT_TRUE(within_relative(zolv_TPdf(x, 1.0, 0.0), 1.0 / (std::numbers::pi * (1.0 + x * x)), 1e-13))
            << x;
        EXPECT_TRUE(within_relative(zolv_TPdf(x, 2.0, 0.0), std::pow(2.0 + x * x, -1.5), 1e-13)) << x;
    }
    EXPECT_TRUE(within_relative(zolv_TPdf(1.3, 1e300, 0.0),
                                std::exp(-0.845) / std::sqrt(2.0 * std::numbers::pi), 5e-14));
}

TEST(TDensity, NoncentralTendsToCentral) {
    for (const double df : {0.4, 3.0, 49.0, 51.0, 1e4}) {
        for (const double x : {-4.0, -0.3, 0.2, 5.0}) {
            EXPECT_TRUE(within_relative(zolv_TPdf(x, df, 1e-11), zolv_TPdf(x, df, 0.0), 5e-9))
                << df << " " << x;
        }
    }
}

// The density is the slope of the distribution function.
TEST(TDensity, SlopeOfTheTail) {
    for (const double df : {1.5, 20.0, 300.0}) {
        for (const double nc : {1.0, 5.0, 15.0}) {
            for (const double z : {0.7, 1.0, 1.4}) {
                const double x = z * nc, step = 1e-4 * x;
                const double slope =
                    (zolv_TCdf(x + step, df, nc, 0) - zolv_TCdf(x - step, df, nc, 0)) / (2.0 * step);
                EXPECT_NEAR(zolv_TPdf(x, df, nc), slope, 2e-6) << df << " " << nc << " " << z;
            }
        }
    }
}

// A peak index that is a NaN, infinite or beyond 2^53 has no series around it. The exports do not get there:
// the noncentrality that it takes belongs to the other expansion.
TEST(TSeriesDensity, PeakWithoutAnIndex) {
    EXPECT_SIGN_SET_NAN(t_nc_pdf_series(1.0, 5.0, 1e9));     // about 1e17
    EXPECT_SIGN_SET_NAN(t_nc_pdf_series(1.0, 5.0, 1e200));   // infinite
    EXPECT_SIGN_SET_NAN(t_nc_pdf_series(1e300, 5.0, 1e10));  // infinity over infinity
    EXPECT_SIGN_SET_NAN(t_nc_pdf_series(1.0, nan_value, 1.0));
}

// c tiny or 0 leaves the peak at index 0; the factor 0/0 of the downward count ends it.
TEST(TSeriesDensity, PeakAtZero) {
    const double c_is_zero = t_nc_pdf_series(0.0, 5.0, 1.0);
    EXPECT_TRUE(within_relative(c_is_zero, zolv_TPdf(0.0, 5.0, 0.0) * std::exp(-0.5), 1e-14));
    EXPECT_TRUE(within_relative(t_nc_pdf_series(5e-324, 5.0, 1.0), c_is_zero, 1e-14));
}

TEST(GammaHalfRatio, BothSidesOfTheAsymptoticForm) {
    EXPECT_TRUE(within_relative(gamma_half_ratio(167.0), gamma_half_ratio(after(167.0)), 1e-12));
    for (const double m : {0.5, 1.0, 3.0, 20.0, 167.0, 168.0, 1e4, 1e8}) {
        const double want = m < 100.0 ? std::tgamma(m + 0.5) / std::tgamma(m)
                                      : std::sqrt(m) * std::exp(-1.0 / (8.0 * m) + 1.0 / (192.0 * m * m * m));
        EXPECT_TRUE(within_relative(gamma_half_ratio(m), want, 1e-12)) << m;
    }
    EXPECT_SAME_BITS(gamma_half_ratio(0.0), 0.0);
}

// What a prepared density keeps moves no bit.
TEST(TDensity, PreparedEqualsPlain) {
    for (const double df : {1e-300, 0.3, 4.0, 25.0, before(50.0), 50.0, 700.0, 2e8}) {
        for (const double nc : {0.0, 1e-5, 0.8, -3.0, 21.4, 60.0, -300.0, 2000.0}) {
            std::vector<double> x;
            for (const double z : {-30.0, -2.0, -0.4, -1e-3, 0.0, 0.01, 0.5, 1.0, 1.3, 8.0, 1e5}) {
                x.push_back(nc == 0.0 ? z : nc * z);
            }
            t_density prepared(df, nc);
            prepared.prepare(x.data(), x.size());
            for (const double point : x) {
                const double plain = zolv_TPdf(point, df, nc);
                EXPECT_SAME_BITS(prepared(point), plain) << place(point, df, nc);
            }
        }
    }
    // A long table of ratios, and points whose terms lie beyond it.
    t_series_density table(7.3, 70.0);
    table.prepare(10000);
    for (const double x : {1.0, 30.0, 70.0, 90.0, 1e4}) {
        EXPECT_SAME_BITS(table(x), t_nc_pdf_series(x, 7.3, 70.0)) << x;
    }
}

}  // namespace
