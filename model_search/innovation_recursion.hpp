// model_search/innovation_recursion.hpp: the unit lower triangle theta and the diagonal r of the covariance
// of W, and with them the innovations, the determinant and the quadratic form.
//
// Source: the innovations algorithm, Brockwell & Davis, Time Series: Theory and Methods, 5.2.
// Order:  row i, column j:  theta(i,j) = (kappa(i,j) - sum over k < j of (theta(j,k) theta(i,k)) r_k) / r_j,
//         each sum from 0 in rising k, one addition at a time. Eight rows are worked on at once and four of
//         their columns together. That changes which sums are under way side by side, and none of the sums:
//         they lie in different lanes of a register, and a register holds lanes, not partial sums.
// Every row runs over all earlier columns: the zeros that the band of kappa makes are computed like the rest.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <utility>
#include <vector>

namespace zolv::time_series {

class InnovationRecursion {
public:
    static constexpr std::size_t block_rows = 8;
    static constexpr std::size_t tile_columns = 4;
    static_assert(block_rows % tile_columns == 0, "the columns of earlier blocks come in whole tiles");

    // sum[c][l] = sum over k < count of (row[c][k] x[k][l]) r[k], for c < tile_columns and l < block_rows.
    using TileRoutine = void (*)(const double* const* row, const double* x, const double* r,
                                 std::size_t count, double* sum);

    // The same additions in registers of two or of four doubles, so the same bits.
    static void NarrowTile(const double* const* row, const double* x, const double* r, std::size_t count,
                           double* sum) {
        Tile<TwoLanes>(row, x, r, count, sum);
    }
#if defined(__x86_64__)
    [[gnu::target("avx2")]] static void WideTile(const double* const* row, const double* x, const double* r,
                                                 std::size_t count, double* sum) {
        Tile<FourLanes>(row, x, r, count, sum);
    }
    // GCOVR_EXCL_BR_START: only a processor without AVX2 takes the narrow one.
    static TileRoutine FastestTile() { return __builtin_cpu_supports("avx2") ? WideTile : NarrowTile; }
    // GCOVR_EXCL_BR_STOP
#else
    static TileRoutine FastestTile() { return NarrowTile; }
#endif

    // kappa: the packed lower triangle, element (i, j) at i (i + 1) / 2 + j. w: the series, not empty.
    InnovationRecursion(std::vector<double> kappa, const std::vector<double>& w,
                        TileRoutine tile = FastestTile())
        : n_(w.size()),
          tile_(tile),
          kappa_(std::move(kappa)),
          theta_(n_ * (n_ - 1) / 2),
          lanes_(n_ * block_rows + block_rows),
          x_(AlignedToCacheLine(lanes_.data())),
          r_(n_, kappa_[0]),
          e_(w),
          determinant_(kappa_[0]),
          quadratic_form_(w[0] * w[0] / kappa_[0]) {}

    InnovationRecursion(const InnovationRecursion&) = delete;
    InnovationRecursion& operator=(const InnovationRecursion&) = delete;

    // To be called once. For every row but the first, in order, innovation(i, A) returns e_i; A is the
    // prediction of W_i from the innovations before it.
    template <class Innovation>
    void Run(const Innovation& innovation) {
        for (std::size_t first = 0; first < n_; first += block_rows) RunBlock(first, innovation);
    }

    double Determinant() const { return determinant_; }
    double QuadraticForm() const { return quadratic_form_; }

private:
    using TwoLanes [[gnu::vector_size(16)]] = double;
    using FourLanes [[gnu::vector_size(32)]] = double;

    // Two registers per column in one sweep: with four columns that is what sixteen registers hold.
    template <class Lanes>
    [[gnu::always_inline]] static inline void Tile(const double* const* row, const double* x, const double* r,
                                                   std::size_t count, double* sum) {
        constexpr std::size_t width = sizeof(Lanes) / sizeof(double);
        for (std::size_t l = 0; l < block_rows; l += 2 * width) {
            Lanes low[tile_columns]{}, high[tile_columns]{};
            for (std::size_t k = 0; k < count; ++k) {
                Lanes x_low, x_high;
                std::memcpy(&x_low, x + k * block_rows + l, sizeof x_low);
                std::memcpy(&x_high, x + k * block_rows + l + width, sizeof x_high);
#pragma GCC unroll 4
                for (std::size_t c = 0; c < tile_columns; ++c) {
                    low[c] += row[c][k] * x_low * r[k];
                    high[c] += row[c][k] * x_high * r[k];
                }
            }
#pragma GCC unroll 4
            for (std::size_t c = 0; c < tile_columns; ++c) {
                std::memcpy(sum + c * block_rows + l, &low[c], sizeof low[c]);
                std::memcpy(sum + c * block_rows + l + width, &high[c], sizeof high[c]);
            }
        }
    }

    static double* AlignedToCacheLine(double* start) {
        constexpr std::size_t line = block_rows * sizeof(double);
        const std::size_t beyond = reinterpret_cast<std::uintptr_t>(start) % line;
        return beyond == 0 ? start : start + (line - beyond) / sizeof(double);
    }

    double* ThetaRow(std::size_t i) { return theta_.data() + (i == 0 ? 0 : i * (i - 1) / 2); }

    template <class Innovation>
    void RunBlock(std::size_t first, const Innovation& innovation) {
        const std::size_t rows = std::min(block_rows, n_ - first);
        for (std::size_t l = 0; l < block_rows; ++l) {
            const std::size_t i = first + std::min(l, rows - 1);  // lanes without a row repeat the last one
            kappa_row_[l] = &kappa_[i * (i + 1) / 2];
            A_[l] = V_[l] = -0.0;  // Exact: -0.0 + x is x, whatever the sign of a zero x
        }
        RunEarlierColumns(first);
        for (std::size_t l = 0; l < rows; ++l) {
            double* const theta = ThetaRow(first + l);
            for (std::size_t k = 0; k < first; ++k) theta[k] = x_[k * block_rows + l];
        }
        RunOwnColumns(first, rows, innovation);
    }

    // The columns of all rows before the block.
    void RunEarlierColumns(std::size_t first) {
        double sum[tile_columns * block_rows];
        for (std::size_t j = 0; j < first; j += tile_columns) {
            SumTile(j, j, sum);
            for (std::size_t c = 0; c < tile_columns; ++c) {
                FinishColumn(j + c, sum + c * block_rows, 0, block_rows);
                for (std::size_t d = c + 1; d < tile_columns; ++d) {
                    AddColumn(j + c, ThetaRow(j + d)[j + c], sum + d * block_rows, 0, block_rows);
                }
            }
        }
    }

    // The triangle within the block: row j is complete, and with it e_j and r_j, once the columns before j
    // are; only then can column j of the rows behind it be finished.
    template <class Innovation>
    void RunOwnColumns(std::size_t first, std::size_t rows, const Innovation& innovation) {
        double sum[block_rows * block_rows];
        for (std::size_t c = 0; c + 1 < rows; c += tile_columns) {
            SumTile(first + c, first, sum + c * block_rows);
        }
        for (std::size_t c = 0; c < rows; ++c) {
            const std::size_t j = first + c;
            if (j > 0) SetInnovation(j, kappa_row_[c][j] - V_[c], innovation(j, A_[c]));
            FinishColumn(j, sum + c * block_rows, c + 1, rows);
            for (std::size_t l = c + 1; l < rows; ++l) ThetaRow(first + l)[j] = x_[j * block_rows + l];
            for (std::size_t d = c + 1; d < rows; ++d) {
                AddColumn(j, x_[j * block_rows + d], sum + d * block_rows, d + 1, rows);
            }
        }
    }

    // The sums of the columns j .. j + 3 of the block's rows, over k < count.
    void SumTile(std::size_t j, std::size_t count, double* sum) {
        const double* row[tile_columns];
        for (std::size_t c = 0; c < tile_columns; ++c) row[c] = ThetaRow(std::min(j + c, n_ - 1));
        tile_(row, x_, r_.data(), count, sum);
    }

    void FinishColumn(std::size_t j, const double* sum, std::size_t begin, std::size_t end) {
        double* const x = x_ + j * block_rows;
        const double e = e_[j], r = r_[j];
        for (std::size_t l = begin; l < end; ++l) {
            const double theta = (kappa_row_[l][j] - sum[l]) / r;
            x[l] = theta;
            A_[l] = A_[l] + theta * e;
            V_[l] = V_[l] + theta * theta * r;
        }
    }

    // The term k of the sums of a column whose row has the given theta there.
    void AddColumn(std::size_t k, double theta, double* sum, std::size_t begin, std::size_t end) const {
        const double* const x = x_ + k * block_rows;
        const double r = r_[k];
        for (std::size_t l = begin; l < end; ++l) sum[l] += theta * x[l] * r;
    }

    void SetInnovation(std::size_t i, double r, double e) {
        e_[i] = e;
        r_[i] = r;
        determinant_ = determinant_ * r;
        quadratic_form_ = quadratic_form_ + e * e / r;
    }

    std::size_t n_;
    TileRoutine tile_;
    std::vector<double> kappa_;
    std::vector<double> theta_;  // packed strict lower triangle by rows
    std::vector<double> lanes_;
    double* x_;  // within lanes_: x_[k block_rows + l] is theta(first + l, k) of the block at work
    std::vector<double> r_;
    std::vector<double> e_;
    const double* kappa_row_[block_rows];
    double A_[block_rows], V_[block_rows];  // prediction and its variance, of each row of the block
    double determinant_;
    double quadratic_form_;
};

}  // namespace zolv::time_series
