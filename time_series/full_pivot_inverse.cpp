#include "time_series/full_pivot_inverse.hpp"

#include <cmath>
#include <cstddef>
#include <utility>

namespace vek::time_series {

namespace {

constexpr double pivot_ratio = 1e-8;

struct Pivot {
    double magnitude = 0.0;  // 0: the block holds nothing but zeros and NaN
    std::size_t row = 0, column = 0;
};

// Rows outer, columns inner, the first of equals: ties decide the order of elimination and so the last bits.
Pivot LargestInTrailingBlock(const SmallMatrix& m, std::size_t start, std::size_t size) {
    Pivot best;
    for (std::size_t i = start; i < size; ++i) {
        for (std::size_t j = start; j < size; ++j) {
            const double magnitude = std::fabs(m[i][j]);
            if (magnitude > best.magnitude) best = {magnitude, i, j};
        }
    }
    return best;
}

void SwapRows(SmallMatrix& m, std::size_t i, std::size_t j, std::size_t size) {
    for (std::size_t column = 0; column < size; ++column) std::swap(m[i][column], m[j][column]);
}

void SwapColumns(SmallMatrix& m, std::size_t i, std::size_t j, std::size_t size) {
    for (std::size_t row = 0; row < size; ++row) std::swap(m[row][i], m[row][j]);
}

// The pivot stands at (s, s). Its column is kept in the spare one and becomes a unit column, so that the
// inverse grows where the matrix was.
void Eliminate(SmallMatrix& m, std::size_t s, std::size_t size) {
    const std::size_t spare = size;
    for (std::size_t i = 0; i < size; ++i) {
        m[i][spare] = m[i][s];
        m[i][s] = i == s ? 1.0 : 0.0;
    }
    const double pivot = m[s][spare];
    for (std::size_t j = 0; j < size; ++j) m[s][j] /= pivot;
    for (std::size_t i = 0; i < size; ++i) {
        if (i == s) continue;
        for (std::size_t j = 0; j < size; ++j) m[i][j] -= m[i][spare] * m[s][j];
    }
}

}  // namespace

int InvertMatrix(SmallMatrix& matrix, int last) {
    const auto size = static_cast<std::size_t>(last + 1);
    std::array<std::size_t, matrix_rank> pivotRow{}, pivotColumn{};
    double tolerance = 0.0;
    for (std::size_t s = 0; s < size; ++s) {
        const Pivot pivot = LargestInTrailingBlock(matrix, s, size);
        if (s == 0) tolerance = pivot_ratio * pivot.magnitude;
        if (pivot.magnitude <= tolerance) return static_cast<int>(s) - 1;
        pivotRow[s] = pivot.row;
        pivotColumn[s] = pivot.column;
        SwapRows(matrix, s, pivot.row, size);
        SwapColumns(matrix, s, pivot.column, size);
        Eliminate(matrix, s, size);
    }
    for (std::size_t s = size; s-- > 0;) {
        SwapRows(matrix, s, pivotColumn[s], size);
        SwapColumns(matrix, s, pivotRow[s], size);
    }
    return last;
}

}  // namespace vek::time_series
