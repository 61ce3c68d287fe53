// Sums of a mixture's terms whose indices are rounded.
#include "distributions/term_ratios.hpp"

#include <gtest/gtest.h>

#include <vector>

namespace {

using dru::impl::sum_from_rounded;

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

}  // namespace
