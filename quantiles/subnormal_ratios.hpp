// quantiles/subnormal_ratios.hpp: the arithmetic of ratios below the smallest normal double, without its
// cost.
//
// Far out, with few degrees of freedom, the ratio of a tail to its density lies below 2.2e-308, and a
// processor takes a hundred times as long over each operation that meets such a number. Times 2^512 the same
// numbers are ordinary ones, and what is left to do is to round where a double would: below the smallest
// normal to a multiple of 2^-1074.
//
// Exact: every result has the bits of the operation that it stands for, scaled, in rounding to nearest. Sums
//        need nothing: of numbers on that grid they are on it.
// Range: numbers that are kept scaled are not negative and below `limit`; the other factor is at most 2^53.
#pragma once

#include <cmath>

namespace dru::impl {

// Numbers as they are.
struct plain_ratios {
    static double scaled(double x) { return x; }
    static double unscaled(double x) { return x; }
    static double product(double x, double y) { return x * y; }
    static double quotient(double x, double y) { return x / y; }
    static constexpr bool fits(double) { return true; }
};

struct scaled_ratios {
    static constexpr double scale = 0x1p512;
    static constexpr double smallest_normal = 0x1p-510;  // scaled, as all below
    static constexpr double unit = 0x1p-562;             // of the numbers below it
    static constexpr double limit = 1.0;

    static double scaled(double x) { return x * scale; }
    static double unscaled(double x) { return x * (1.0 / scale); }
    static bool fits(double x) { return x < limit; }

    // x scaled, y not; and the product scaled.
    static double product(double x, double y) {
        const double p = x * y;
        return p < smallest_normal ? on_grid(p, [=] { return std::fma(x, y, -p); }) : p;
    }
    // The same of the quotient; what is left of x has the sign of what the quotient is short of.
    static double quotient(double x, double y) {
        const double q = x / y;
        return q < smallest_normal ? on_grid(q, [=] { return std::fma(-q, y, x); }) : q;
    }

private:
    // p has been rounded once, to 53 bits. A second rounding goes wrong only where p lies halfway between two
    // multiples and the exact number beside it.
    template <class Rest>
    static double on_grid(double p, const Rest& rest) {
        const double r = (p + smallest_normal) - smallest_normal;  // a unit is the last place of the sum
        const double half = 0.5 * unit;
        if (p - r == half || r - p == half) {
            const double beside = rest();
            if (beside > 0.0) return p + half;
            if (beside < 0.0) return p - half;
        }
        return r;
    }
};

// Where scaling pays and is safe: v is the other number of the recurrence, at least 0, and factor what the
// ratio is multiplied by at most in a step.
inline bool worth_scaling(double ratio, double v, double factor) {
    return ratio > 0.0 && ratio < 0x1p-960 && v < 0x1p-960 && factor <= 0x1p53;
}

}  // namespace dru::impl
