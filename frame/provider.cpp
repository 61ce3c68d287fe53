// frame/provider.cpp: the extension calls that the provider lacks, and its silence.
#include "frame/provider.hpp"

#ifndef ZOLV_PROVIDER_MKL

#    include <algorithm>
#    include <cctype>
#    include <vector>

// The provider's three error reporters, all of which print by default. Defined here, hidden, they are found
// before the archives' own. A reported argument makes the reporting routine return without work, and LAPACKE
// hands its info code on; the callers' codes need nothing else.
extern "C" {
int xerbla_(const char* routine, blasint* info, blasint length);
void cblas_xerbla(blasint argument, char* routine, char* form, ...);
void LAPACKE_xerbla(const char* routine, lapack_int info);

int xerbla_(const char* /*routine*/, blasint* /*info*/, blasint /*length*/) { return 0; }
void cblas_xerbla(blasint /*argument*/, char* /*routine*/, char* /*form*/, ...) {}
void LAPACKE_xerbla(const char* /*routine*/, lapack_int /*info*/) {}
}

namespace zolv::provider {

static_assert(sizeof(blasint) == sizeof(integer));

namespace {

bool is_letter(char given, char wanted) { return std::toupper(static_cast<unsigned char>(given)) == wanted; }
bool transposes(char trans) { return is_letter(trans, 'T') || is_letter(trans, 'C'); }
bool keeps(char trans) { return is_letter(trans, 'N') || is_letter(trans, 'R'); }

// ---- cblas_dgemmt ------------------------------------------------------------------------------------

// Side of the diagonal blocks that are computed whole; their square buffer takes 8 KiB of stack.
constexpr integer diagonal_block = 32;

// op(A) op(B) with everything that does not change from block to block. Row-major.
struct triangular_product {
    bool upper;
    CBLAS_TRANSPOSE trans_a, trans_b;
    integer k;
    double alpha;
    const double* a;
    integer lda;
    const double* b;
    integer ldb;
    double beta;
    double* c;
    integer ldc;

    void product(integer row, integer rows, integer column, integer columns, double beta_here, double* out,
                 integer ld_out) const {
        const double* a_rows = a + (trans_a == CblasNoTrans ? row * lda : row);
        const double* b_columns = b + (trans_b == CblasNoTrans ? column : column * ldb);
        cblas_dgemm(CblasRowMajor, trans_a, trans_b, rows, columns, k, alpha, a_rows, lda, b_columns, ldb,
                    beta_here, out, ld_out);
    }

    // The diagonal block is formed apart, because half of it must not reach C.
    void diagonal(integer first, integer n) const {
        double whole[diagonal_block * diagonal_block];
        product(first, n, first, n, 0.0, whole, n);
        for (integer i = 0; i < n; ++i) {
            double* const row = c + (first + i) * ldc + first;
            for (integer j = upper ? i : 0; j < (upper ? n : i + 1); ++j) {
                row[j] = beta == 0.0 ? whole[i * n + j] : beta * row[j] + whole[i * n + j];
            }
        }
    }

    // Halving leaves a square of half the side to one ordinary product, so that nearly all work is there.
    void triangle(integer first, integer n) const {
        if (n <= diagonal_block) return diagonal(first, n);
        const integer half = n / 2;
        triangle(first, half);
        triangle(first + half, n - half);
        const integer row = upper ? first : first + half, rows = upper ? half : n - half;
        const integer column = upper ? first + half : first, columns = upper ? n - half : half;
        product(row, rows, column, columns, beta, c + row * ldc + column, ldc);
    }

    void scale(integer n) const {
        for (integer i = 0; i < n; ++i) {
            for (integer j = upper ? i : 0; j < (upper ? n : i + 1); ++j) {
                c[i * ldc + j] = beta == 0.0 ? 0.0 : beta * c[i * ldc + j];
            }
        }
    }
};

// ---- copies ------------------------------------------------------------------------------------------

constexpr std::size_t copy_block = 32;  // two blocks of doubles fit the first-level cache together

void copy_rows(std::size_t rows, std::size_t cols, double alpha, const double* a, std::size_t lda, double* b,
               std::size_t ldb) {
    for (std::size_t i = 0; i < rows; ++i) {
        for (std::size_t j = 0; j < cols; ++j) b[i * ldb + j] = alpha * a[i * lda + j];
    }
}

void copy_transposed(std::size_t rows, std::size_t cols, double alpha, const double* a, std::size_t lda,
                     double* b, std::size_t ldb) {
    for (std::size_t i0 = 0; i0 < rows; i0 += copy_block) {
        for (std::size_t j0 = 0; j0 < cols; j0 += copy_block) {
            const std::size_t i1 = std::min(rows, i0 + copy_block), j1 = std::min(cols, j0 + copy_block);
            for (std::size_t j = j0; j < j1; ++j) {
                for (std::size_t i = i0; i < i1; ++i) b[j * ldb + i] = alpha * a[i * lda + j];
            }
        }
    }
}

void transpose_square(std::size_t n, double alpha, double* a, std::size_t lda) {
    for (std::size_t i0 = 0; i0 < n; i0 += copy_block) {
        for (std::size_t j0 = 0; j0 <= i0; j0 += copy_block) {
            for (std::size_t i = i0; i < std::min(n, i0 + copy_block); ++i) {
                for (std::size_t j = j0; j < std::min(i + 1, j0 + copy_block); ++j) {
                    const double below = a[i * lda + j], above = a[j * lda + i];
                    a[i * lda + j] = alpha * above;
                    a[j * lda + i] = alpha * below;
                }
            }
        }
    }
}

// A column-major matrix is the row-major one of its transpose, so only rows and cols change places.
bool row_major_shape(char ordering, char trans, std::size_t& rows, std::size_t& cols) {
    if (is_letter(ordering, 'C')) std::swap(rows, cols);
    return (is_letter(ordering, 'R') || is_letter(ordering, 'C')) && (transposes(trans) || keeps(trans));
}

// ---- packed triangles --------------------------------------------------------------------------------

// Calls visit(packed index, dense index) for each element that the block and the triangle share.
template <class Visit>
void visit_packed(const char* uplo, const char* trans, const char* diag, integer n, integer i, integer j,
                  integer rows, integer cols, integer lda, integer* info, const Visit& visit) {
    const bool upper = is_letter(*uplo, 'U'), unit = is_letter(*diag, 'U'), transposed = transposes(*trans);
    *info = !upper && !is_letter(*uplo, 'L')                       ? -1
            : !transposed && !keeps(*trans)                        ? -2
            : !unit && !is_letter(*diag, 'N')                      ? -3
            : n < 0                                                ? -4
            : i < 1 || i > std::max<integer>(n, 1)                 ? -6
            : j < 1 || j > std::max<integer>(n, 1)                 ? -7
            : rows < 0 || rows > n - i + 1                         ? -8
            : cols < 0 || cols > n - j + 1                         ? -9
            : lda < std::max<integer>(1, transposed ? cols : rows) ? -11
                                                                   : 0;
    if (*info != 0) return;
    for (integer y = 0; y < cols; ++y) {
        for (integer x = 0; x < rows; ++x) {
            const integer row = i - 1 + x, column = j - 1 + y;
            if (upper ? row > column : row < column) continue;
            if (unit && row == column) continue;
            const integer packed =
                upper ? row + column * (column + 1) / 2 : row + column * (2 * n - column - 1) / 2;
            visit(packed, transposed ? y + x * lda : x + y * lda);
        }
    }
}

}  // namespace

void cblas_dgemmt(CBLAS_ORDER layout, CBLAS_UPLO uplo, CBLAS_TRANSPOSE trans_a, CBLAS_TRANSPOSE trans_b,
                  integer n, integer k, double alpha, const double* a, integer lda, const double* b,
                  integer ldb, double beta, double* c, integer ldc) {
    if (n <= 0 || k < 0) return;
    triangular_product task{uplo == CblasUpper, trans_a, trans_b, k, alpha, a, lda, b, ldb, beta, c, ldc};
    if (layout == CblasColMajor) {  // read by rows, this is C' = op(B)' op(A)'
        std::swap(task.trans_a, task.trans_b);
        std::swap(task.a, task.b);
        std::swap(task.lda, task.ldb);
        task.upper = !task.upper;
    }
    if (k > 0 && alpha != 0.0) return task.triangle(0, n);
    if (beta != 1.0) task.scale(n);
}

void MKL_Domatcopy(char ordering, char trans, std::size_t rows, std::size_t cols, double alpha,
                   const double* a, std::size_t lda, double* b, std::size_t ldb) {
    if (!row_major_shape(ordering, trans, rows, cols)) return;
    if (transposes(trans)) return copy_transposed(rows, cols, alpha, a, lda, b, ldb);
    copy_rows(rows, cols, alpha, a, lda, b, ldb);
}

void MKL_Dimatcopy(char ordering, char trans, std::size_t rows, std::size_t cols, double alpha, double* ab,
                   std::size_t lda, std::size_t ldb) {
    if (!row_major_shape(ordering, trans, rows, cols)) return;
    if (lda == ldb) {
        if (!transposes(trans)) return copy_rows(rows, cols, alpha, ab, lda, ab, lda);
        if (rows == cols) return transpose_square(rows, alpha, ab, lda);
    }
    std::vector<double> spare(rows * cols);
    if (transposes(trans)) {
        copy_transposed(rows, cols, alpha, ab, lda, spare.data(), rows);
        std::swap(rows, cols);
    } else {
        copy_rows(rows, cols, alpha, ab, lda, spare.data(), cols);
    }
    for (std::size_t i = 0; i < rows; ++i) std::copy_n(spare.data() + i * cols, cols, ab + i * ldb);
}

void mkl_dtppack(const char* uplo, const char* trans, const char* diag, const integer* n, double* ap,
                 const integer* i, const integer* j, const integer* rows, const integer* cols,
                 const double* a, const integer* lda, integer* info) {
    visit_packed(uplo, trans, diag, *n, *i, *j, *rows, *cols, *lda, info,
                 [&](integer packed, integer dense) { ap[packed] = a[dense]; });
}

void mkl_dtpunpack(const char* uplo, const char* trans, const char* diag, const integer* n, const double* ap,
                   const integer* i, const integer* j, const integer* rows, const integer* cols, double* a,
                   const integer* lda, integer* info) {
    visit_packed(uplo, trans, diag, *n, *i, *j, *rows, *cols, *lda, info,
                 [&](integer packed, integer dense) { a[dense] = ap[packed]; });
}

int MKL_CBWR_Set(int setting) {
    constexpr int compatible = 3, success = 0, invalid_input = -2;
    if (setting != compatible) return invalid_input;
    openblas_set_num_threads(1);
    return success;
}

}  // namespace zolv::provider

#endif
