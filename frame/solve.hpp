// frame/solve.hpp: the solution of a square system, for callers that must tell a singular matrix from a lack
// of memory.
#pragma once

#include <cstdint>

namespace zolv::provider {

enum class solve_outcome { solved, refused, no_memory };

// zolv_SolveSquareSystem; `refused` is a singular matrix, a NaN or a negative n.
solve_outcome SolveSquareSystem(double* A, double* b, std::int64_t n);

}  // namespace zolv::provider
