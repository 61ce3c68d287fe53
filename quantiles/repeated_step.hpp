// quantiles/repeated_step.hpp: many equal steps down at once, with the rounding of each.
#pragma once

#include <bit>
#include <cmath>
#include <cstdint>

namespace dru::impl {

// The double that `for (; count > 0; --count) w -= step;` ends with, for w > 0 finite and step > 0; the
// number of operations is of the order of the number of binades passed. Stops early where a step no longer
// moves w or would leave the positive numbers.
//
// Exact: inside a binade the doubles are a grid, and every step rounds to the same whole number of its
// spacings,
//        save that a tie goes to the even neighbour; from the first even one on that is the same number
//        again. A whole number of such steps is then a difference of two grid points of the binade, which is
//        a double.
inline double step_down_repeatedly(double w, double step, double count) {
    const auto one_step = [&] {
        const double next = w - step;
        const bool moves = next < w && next > 0.0;
        if (moves) {
            w = next;
            count -= 1.0;
        }
        return moves;
    };
    while (count >= 1.0) {
        if (!one_step() || count < 1.0) return w;
        const double spacings = w - (w - step);
        const double binade = std::bit_cast<double>(std::bit_cast<std::uint64_t>(w) & 0x7FF0000000000000);
        const double room = std::floor((w - binade) / spacings) - 2.0;  // steps that surely stay inside
        if (!(room >= 1.0)) continue;
        const double steps = room < count ? room : count;
        w = w - steps * spacings;
        count -= steps;
    }
    return w;
}

}  // namespace dru::impl
