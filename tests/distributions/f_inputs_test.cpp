// The F family on any input: every call comes back, with a value in the function's range or a NaN.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/time.h>
#include <unistd.h>

#include <cmath>
#include <cstdio>
#include <limits>

#include "support/bits.hpp"
#include "zolv.h"

namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();
const double quiet_nan = std::numeric_limits<double>::quiet_NaN();

char call_at_hand[200];

void too_long(int) {
    [[maybe_unused]] const ssize_t ignored = write(STDERR_FILENO, call_at_hand, sizeof call_at_hand);
    _exit(3);
}

// Ends the program if the call takes more than ten seconds of processor time.
template <class Call>
double in_time(const char* name, double x, double d1, double d2, double nc, const Call& call) {
    std::snprintf(call_at_hand, sizeof call_at_hand, "no answer in time: %s %.17g %.17g %.17g %.17g\n", name,
                  x, d1, d2, nc);
    itimerval limit{};
    limit.it_value.tv_sec = 10;
    setitimer(ITIMER_VIRTUAL, &limit, nullptr);
    const double value = call();
    limit.it_value.tv_sec = 0;
    setitimer(ITIMER_VIRTUAL, &limit, nullptr);
    return value;
}

TEST(FAnyInput, EveryCallComesBackWithAValueInRange) {
    signal(SIGVTALRM, too_long);
    const double values[] = {quiet_nan, infinity, -infinity, 0.0,  5e-324, 2.2250738585072014e-308,
                             1.0,       0.5,      1e300,     -1.0, 1e-300, 1e4};
    int tails_out_of_range = 0, values_out_of_range = 0;
    for (const double x : values) {
        for (const double d1 : values) {
            for (const double d2 : values) {
                for (const double nc : values) {
                    const double pdf =
                        in_time("pdf", x, d1, d2, nc, [=] { return zolv_FPdf(x, d1, d2, nc); });
                    if (!(std::isnan(pdf) || pdf >= 0.0)) ++values_out_of_range;
                    for (const unsigned char upper : {0, 1}) {
                        const double cdf =
                            in_time("cdf", x, d1, d2, nc, [=] { return zolv_FCdf(x, d1, d2, nc, upper); });
                        if (!(std::isnan(cdf) || (cdf >= 0.0 && cdf <= 1.0))) {
                            ++tails_out_of_range;
                            std::printf("cdf %g at (%g, %g, %g, %g, %d)\n", cdf, x, d1, d2, nc, upper);
                        }
                        const double inv =
                            in_time("inv", x, d1, d2, nc, [=] { return zolv_FInvCdf(x, d1, d2, nc, upper); });
                        if (!(std::isnan(inv) || inv >= 0.0)) {
                            ++values_out_of_range;
                            std::printf("inv %g at (%g, %g, %g, %g, %d)\n", inv, x, d1, d2, nc, upper);
                        }
                    }
                }
            }
        }
    }
    EXPECT_EQ(values_out_of_range, 0);
    EXPECT_EQ(tails_out_of_range, 0);
    signal(SIGVTALRM, SIG_DFL);
}

// Arguments that make many terms, or that once made a sum or a search run on.
TEST(FAnyInput, TheSlowOnesComeBack) {
    signal(SIGVTALRM, too_long);
    const double least = 5e-324, normal = 2.2250738585072014e-308, huge = 1.7976931348623157e308;
    struct {
        double x, d1, d2, nc;
    } const cases[] = {{1.0, normal, 1.0, 2147483648.0},
                       {1.0, 0.5, normal, 2147483648.0},
                       {0.5, 1e15, normal, 2147483648.0},
                       {1.0, huge, 1.0, normal},
                       {0.5, huge, 1.0, 1.0},
                       {least, least, normal, least},
                       {least, least, normal, normal},
                       {59.0 * 59.0, 1.0, 1e13, 226.845},
                       {1e-300, 1e4, 10.0, 1e15},
                       {0.5, 20.0, 50.0, 9007198000000000.0},
                       {0.5, 3.0, 10.0, 9e9},
                       {1.0, 2147483648.0, 2147483648.0, 2147483648.0}};
    for (const auto& c : cases) {
        for (const unsigned char upper : {0, 1}) {
            const double cdf = in_time("cdf", c.x, c.d1, c.d2, c.nc,
                                       [&] { return zolv_FCdf(c.x, c.d1, c.d2, c.nc, upper); });
            EXPECT_TRUE(std::isnan(cdf) || (cdf >= 0.0 && cdf <= 1.0)) << cdf;
            if (c.nc > 1e9 && upper != 0) continue;  // a second or so each
            const double inv = in_time("inv", c.x, c.d1, c.d2, c.nc,
                                       [&] { return zolv_FInvCdf(c.x, c.d1, c.d2, c.nc, upper); });
            EXPECT_TRUE(std::isnan(inv) || inv >= 0.0) << inv;
        }
        in_time("pdf", c.x, c.d1, c.d2, c.nc, [&] { return zolv_FPdf(c.x, c.d1, c.d2, c.nc); });
    }
    signal(SIGVTALRM, SIG_DFL);
}

}  // namespace
