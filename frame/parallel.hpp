// frame/parallel.hpp: the one parallel region of the array forms.
//
// Static schedule, no chunk: one contiguous block of indices per thread. Each element depends on its own
// input alone and is written at its own index, so the team's size cannot change a result. There is no size
// threshold and no thread count is asked for: whether to fork is the OpenMP runtime's decision.
#pragma once

#include <cstdint>

#include "frame/nan.hpp"

namespace dru::impl {

template <class Body>
void parallel_for(std::uint64_t n, const Body& body) {
#pragma omp parallel for schedule(static)
    for (std::uint64_t i = 0; i < n; ++i) body(i);
}

// What a failed parameter check writes; no team is started for it.
inline void fill_missing(double* out, std::uint64_t n) {
    for (std::uint64_t i = 0; i < n; ++i) out[i] = missing_value;
}

}  // namespace dru::impl
