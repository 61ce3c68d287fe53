// kernels/tail_pair.hpp: both tails of a continuous variate at one point.
#pragma once

namespace dru::impl {

// Only the tail that is the smaller one by a cheap estimate of the median is computed; the other is one
// minus it, so the two always add up to 1 within a rounding.
struct tail_pair {
    double lower;  // P(X <= x)
    double upper;  // P(X > x)
};

}  // namespace dru::impl
