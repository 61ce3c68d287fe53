// Many steps at once against the plain loop, bit for bit.
#include "quantiles/repeated_step.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

#include "support/bits.hpp"

namespace {

using dru::impl::step_down_repeatedly;

double plainly(double w, double step, long count) {
    for (; count > 0; --count) {
        const double next = w - step;
        if (!(next < w && next > 0.0)) break;
        w = next;
    }
    return w;
}

TEST(RepeatedStep, EqualsThePlainLoop) {
    std::mt19937_64 random(1);
    std::uniform_real_distribution<double> unit(0.0, 1.0);
    for (int k = 0; k < 3000; ++k) {
        const double w = std::exp(40.0 * unit(random));
        // Every third step is a whole or half number of spacings: ties.
        const double step = k % 3 == 0 ? std::ldexp(static_cast<double>(random() % 64 + 1),
                                                    std::ilogb(w) - 54 + static_cast<int>(random() % 8))
                                       : w * std::pow(10.0, -17.0 * unit(random));
        const long count = static_cast<long>(std::pow(10.0, 4.0 * unit(random)));
        EXPECT_SAME_BITS(step_down_repeatedly(w, step, static_cast<double>(count)), plainly(w, step, count))
            << w << " " << step << " " << count;
    }
}

TEST(RepeatedStep, PassesManyBinades) {
    EXPECT_SAME_BITS(step_down_repeatedly(3e6, 0.7, 4000000.0), plainly(3e6, 0.7, 4000000));
    EXPECT_SAME_BITS(step_down_repeatedly(1e15, 0.3, 1000000.0), plainly(1e15, 0.3, 1000000));
    // Whole numbers do not round: the result is known.
    EXPECT_EQ(step_down_repeatedly(9007199254740992.0, 3.0, 3002399751580330.0), 2.0);
}

TEST(RepeatedStep, StopsWhereAStepNoLongerMoves) {
    const double infinity = std::numeric_limits<double>::infinity();
    EXPECT_EQ(step_down_repeatedly(1e300, 1.0, 1e6), 1e300);
    EXPECT_EQ(step_down_repeatedly(infinity, 1.0, 5.0), infinity);
    EXPECT_EQ(step_down_repeatedly(5.0, 2.0, 1e9), 1.0);
    EXPECT_EQ(step_down_repeatedly(5.0, 2.0, 0.0), 5.0);
}

}  // namespace
