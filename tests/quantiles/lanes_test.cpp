// What the sums of four points in step share, apart from any sum.
#include "quantiles/lanes.hpp"

#include <gtest/gtest.h>

namespace {

using dru::impl::chosen_only;
using dru::impl::lane_array;
using dru::impl::lane_choice;

TEST(Lanes, WhatIsNotChosenIsTheFirstThatIs) {
    const lane_array points{1.0, 2.0, 3.0, 4.0};
    EXPECT_EQ(chosen_only(points, lane_choice{true, true, true, true}), points);
    EXPECT_EQ(chosen_only(points, lane_choice{true, false, false, false}), (lane_array{1.0, 1.0, 1.0, 1.0}));
    EXPECT_EQ(chosen_only(points, lane_choice{true, false, true, false}), (lane_array{1.0, 1.0, 3.0, 1.0}));
    EXPECT_EQ(chosen_only(points, lane_choice{false, true, false, true}), (lane_array{2.0, 2.0, 2.0, 4.0}));
    EXPECT_EQ(chosen_only(points, lane_choice{false, false, false, true}), (lane_array{4.0, 4.0, 4.0, 4.0}));
}

}  // namespace
