// time_series/full_pivot_inverse.hpp: the small matrices of the fit and their inverse in place.
#pragma once

#include <array>

namespace vek::time_series {

inline constexpr int matrix_rank = 11;  // 10 parameters and one spare column

using SmallMatrix = std::array<std::array<double, matrix_rank>, matrix_rank>;

// Gauss-Jordan with full pivoting over rows and columns 0..last (last <= 9). Returns the index of the last
// completed pivot: `last` for a full inverse; anything less leaves the matrix half reduced, and -1 means
// that not even the first pivot could be used. Column last + 1 is scratch.
//
// A stage ends the reduction when its pivot is not above 1e-8 times the first one, which for a matrix scaled
// to a unit diagonal is where the inverse stops meaning anything. A NaN is never picked as a pivot.
int InvertMatrix(SmallMatrix& matrix, int last);

}  // namespace vek::time_series
