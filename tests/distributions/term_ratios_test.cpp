// Sums of a mixture's terms whose indices are rounded.
#include "distributions/term_ratios.hpp"

#include <gtest/gtest.h>

#include <limits>
#include <vector>

namespace {

using dru::impl::count_terms;
using dru::impl::sum_from_rounded;
using dru::impl::term_count;
using dru::impl::term_ratios;

constexpr double largest = 9007199254740992.0;  // 2^53

// Which indices a sum comes by.
std::vector<double> indices(double top, double last) {
    std::vector<double> seen;
    sum_from_rounded(
        [&](double m) {
            seen.push_back(m - (largest - 10.0));
            return 1.0;
        },
        top, last);
    return seen;
}

// By hand: 2^53 + 1 is no double and ties to 2^53; from there on down every whole number is one.
TEST(TermRatios, StepDownFromARoundedIndex) {
    EXPECT_EQ(indices(largest, 4.0), (std::vector<double>{10.0, 9.0, 8.0, 7.0, 6.0}));
    EXPECT_EQ(indices(largest - 3.0 + 4.0, 4.0), (std::vector<double>{10.0, 9.0, 8.0, 7.0, 6.0}));
    // Above 2^53 the doubles are the even numbers: 2^53 + 3 ties to 2^53 + 4.
    EXPECT_EQ(indices(largest + 4.0, 5.0), (std::vector<double>{14.0, 14.0, 12.0, 10.0, 10.0, 9.0}));
}

// ((0 + 1) 2 + 1) 3 = 9, and once more ((9) + 1) 4 = 40.
TEST(TermRatios, AddUpFromTheSmallestTerm) {
    const auto rise_at = [](double m) { return 5.0 - m; };
    EXPECT_EQ(sum_from_rounded(rise_at, 3.0, 2.0), 40.0);
}

// The two last indices where every ratio of a side is the same.
std::vector<double> last_of(double rise, double fall) {
    const auto rise_at = [&](double) { return rise; };
    const auto fall_at = [&](double) { return fall; };
    term_ratios rises(rise_at);
    term_ratios falls(fall_at);
    term_count up, down;
    count_terms(rises, up, falls, down);
    EXPECT_FALSE(up.running || down.running);
    return {up.last, down.last};
}

// 2^-47 and 16^-12 = 2^-48 are the first powers below 1e-14 = 2^-46.5.
TEST(TermRatios, EachSideEndsByItself) {
    EXPECT_EQ(last_of(0.5, 0.5), (std::vector<double>{46.0, 46.0}));
    EXPECT_EQ(last_of(0.5, 0.0625), (std::vector<double>{46.0, 11.0}));
    EXPECT_EQ(last_of(0.0625, 0.5), (std::vector<double>{11.0, 46.0}));
    EXPECT_EQ(last_of(0.0, 0.5), (std::vector<double>{0.0, 46.0}));
    EXPECT_EQ(last_of(std::numeric_limits<double>::quiet_NaN(), 0.5), (std::vector<double>{0.0, 46.0}));
    EXPECT_EQ(last_of(1e200, 0.5), (std::vector<double>{1.0, 46.0}));
}

}  // namespace
