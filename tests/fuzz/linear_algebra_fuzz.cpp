// Vectors and matrices: against naive loops within a rounding bound, what must stay as it is, any values at
// all.
#include "fuzz/input.hpp"
#include "fuzz/oracle.hpp"
#include "zolv.h"

using namespace zolv_fuzz;

namespace {

// Where the numbers come from: moderate ones have results to compare with; of any others it is asked that the
// call comes back and stays in its arrays.
class source {
public:
    explicit source(input& in) : in_(in), moderate_(in.byte() < 176) {}

    bool moderate() const { return moderate_; }

    double value() {
        const argument any{-3.0, 3.0, true, {}};
        return moderate_ ? in_.between(-4.0, 4.0) : in_.number(any);
    }

    double factor() {
        const double usual[] = {0.0, 1.0, -1.0, 0.5};
        const std::uint8_t tag = in_.byte();
        return tag < 128 ? usual[tag % 4] : value();
    }

    guarded values(std::int64_t count) {
        guarded out(static_cast<std::size_t>(count));
        for (std::size_t i = 0; i < out.size(); ++i) out[i] = value();
        return out;
    }

private:
    input& in_;
    bool moderate_;
};

using index = std::int64_t;

std::size_t at(index i) { return static_cast<std::size_t>(i); }
index packed(index i, index j) { return i * (i + 1) / 2 + j; }
index packed_size(index n) { return n * (n + 1) / 2; }

// A sum with the magnitudes that went into it, for the rounding bound.
struct summed {
    double value = 0.0, magnitude = 0.0;
    void add(double a, double b = 1.0, double c = 1.0) {
        value += a * b * c;
        magnitude += std::fabs(a * b * c);
    }
};

void close(double got, const summed& want, const char* law) {
    require(std::fabs(got - want.value) <= 1e-14 * want.magnitude, law, {got, want.value, want.magnitude});
}

void vectors(input& in, source& from) {
    const index n = in.below(9);
    const double a = from.factor();
    guarded x = from.values(n), y = from.values(n);
    const guarded x0 = x, y0 = y;
    const double dot = zolv_DotProduct(x.data(), y.data(), n);
    summed want;
    for (index i = 0; i < n; ++i) want.add(x[at(i)], y[at(i)]);
    if (from.moderate()) close(dot, want, "dot product");
    const index largest = zolv_IndexToMaxAbsValue(x.data(), n), least = zolv_IndexToMinAbsValue(x.data(), n);
    require(largest >= 0 && largest <= std::max<index>(n - 1, 0) && least >= 0 &&
                least <= std::max<index>(n - 1, 0),
            "an index of the array", {double(largest), double(least)});
    if (from.moderate()) {
        for (index i = 0; i < n; ++i) {
            const double v = std::fabs(x[at(i)]), high = std::fabs(x[at(largest)]),
                         low = std::fabs(x[at(least)]);
            require(i < largest ? v < high : v <= high, "first largest", {double(i), v, high});
            require(i < least ? v > low : v >= low, "first smallest", {double(i), v, low});
        }
    }
    require_same(x, x0, "operands are read only");
    require_same(y, y0, "operands are read only");
    zolv_AXPlusY(a, x.data(), y.data(), n);
    for (index i = 0; i < n && from.moderate(); ++i) {
        summed sum;
        sum.add(a, x0[at(i)]);
        sum.add(y0[at(i)]);
        close(y[at(i)], sum, "a x + y");
    }
    zolv_ScaleX(a, x.data(), n);
    for (index i = 0; i < n && from.moderate(); ++i)
        require(x[at(i)] == a * x0[at(i)], "a x", {a, x0[at(i)], x[at(i)]});
    x.check("vectors");
    y.check("vectors");
    for (const index none : {index{0}, index{-1}, index{-9223372036854775807} - 1}) {
        const guarded before = x, y_before = y;
        zolv_AXPlusY(a, x.data(), y.data(), none);
        zolv_ScaleX(a, x.data(), none);
        zolv_CopyXIntoY(x.data(), 1, y.data(), 1, none);
        zolv_SwapXAndY(x.data(), 1, y.data(), 1, none);
        require(zolv_DotProduct(x.data(), y.data(), none) == 0.0, "an empty sum", {double(none)});
        require_same(x, before, "no elements");
        require_same(y, y_before, "no elements");
    }
}

void strides(input& in, source& from) {
    const index n = in.below(6);
    index incx = in.from_to(-3, 3), incy = in.from_to(-3, 3);
    if (incx == 0) incx = 1;
    if (incy == 0) incy = 2;
    const auto room = [n](index inc) { return n == 0 ? 0 : 1 + (n - 1) * std::abs(inc); };
    const auto place = [n](index inc, index i) { return at(inc > 0 ? i * inc : (i - (n - 1)) * inc); };
    guarded x = from.values(room(incx)), y = from.values(room(incy));
    const guarded x0 = x, y0 = y;
    const bool swap = in.flag();
    if (swap)
        zolv_SwapXAndY(x.data(), incx, y.data(), incy, n);
    else
        zolv_CopyXIntoY(x.data(), incx, y.data(), incy, n);
    guarded x_want = x0, y_want = y0;
    for (index i = 0; i < n; ++i) {
        y_want[place(incy, i)] = x0[place(incx, i)];
        if (swap) x_want[place(incx, i)] = y0[place(incy, i)];
    }
    x.check("strides");
    y.check("strides");
    require_same(x, x_want, swap ? "exchanged" : "read only");
    require_same(y, y_want, swap ? "exchanged" : "copied");
}

void transposed(input& in, source& from) {
    const index rows = in.below(7), cols = in.below(7);
    const int transpose = in.flag() ? in.byte() : 0;
    const double alpha = from.factor();
    const guarded A = from.values(rows * cols);
    guarded B(A.size()), over = A;
    zolv_ScaleTranspose(alpha, A.data(), B.data(), rows, cols, transpose);
    zolv_ScaleTransposeIP(alpha, over.data(), rows, cols, transpose);
    B.check("scaled transpose");
    over.check("scaled transpose in place");
    for (index i = 0; i < rows; ++i) {
        for (index j = 0; j < cols; ++j) {
            const double want = alpha * A[at(i * cols + j)];
            const std::size_t k = at(transpose != 0 ? j * rows + i : i * cols + j);
            const bool both_nan = std::isnan(want) && std::isnan(B[k]) && std::isnan(over[k]);
            require(both_nan || (same_bits(B[k], want) && same_bits(over[k], want)), "alpha op(A)",
                    {alpha, A[at(i * cols + j)], B[k], over[k]});
        }
    }
}

// y := alpha op(A) x + beta y for a matrix given by its elements.
template <class Element>
void product_is(const source& from, const guarded& y, const guarded& y0, const guarded& x, index n, index k,
                double alpha, double beta, const Element& element, const char* law) {
    y.check(law);
    for (index i = 0; i < n && from.moderate(); ++i) {
        summed want;
        for (index j = 0; j < k; ++j) want.add(alpha, element(i, j), x[at(j)]);
        if (beta != 0.0) want.add(beta, y0[at(i)]);
        close(y[at(i)], want, law);
    }
}

void matrix_vector(input& in, source& from) {
    const index rows = in.below(6), cols = in.below(6);
    const int transpose = in.flag() ? in.byte() : 0;
    const double alpha = from.factor(), beta = from.factor();
    const bool t = transpose != 0;
    const guarded A = from.values(rows * cols), x = from.values(t ? rows : cols);
    guarded y = from.values(t ? cols : rows);
    const guarded y0 = y;
    zolv_MatrixVectorProduct(alpha, A.data(), x.data(), beta, y.data(), rows, cols, transpose);
    if (rows == 0 || cols == 0) return require_same(y, y0, "an empty matrix");
    product_is(
        from, y, y0, x, t ? cols : rows, t ? rows : cols, alpha, beta,
        [&](index i, index j) { return t ? A[at(j * cols + i)] : A[at(i * cols + j)]; }, "A x");
}

void symmetric(input& in, source& from) {
    const index n = in.below(7);
    const double alpha = from.factor(), beta = from.factor();
    guarded Ap = from.values(packed_size(n)), y = from.values(n);
    const guarded x = from.values(n), y0 = y, Ap0 = Ap;
    const auto element = [&](index i, index j) { return Ap0[at(i >= j ? packed(i, j) : packed(j, i))]; };
    zolv_SymmetricMatVecProduct(alpha, Ap.data(), x.data(), beta, y.data(), n);
    require_same(Ap, Ap0, "operands are read only");
    product_is(from, y, y0, x, n, n, alpha, beta, element, "symmetric A x");
    zolv_SymmetricMatRankOneUpdate(Ap.data(), x.data(), alpha, n);
    Ap.check("rank one");
    for (index i = 0; i < n && from.moderate(); ++i) {
        for (index j = 0; j <= i; ++j) {
            summed want;
            want.add(Ap0[at(packed(i, j))]);
            want.add(alpha, x[at(i)], x[at(j)]);
            close(Ap[at(packed(i, j))], want, "rank one");
        }
    }
}

void triangular(input& in, source& from) {
    const index n = in.below(7);
    const int lower = in.flag() ? in.byte() : 0, transpose = in.flag() ? in.byte() : 0;
    const guarded Ap = from.values(packed_size(n));
    guarded x = from.values(n);
    const guarded x0 = x;
    const auto element = [&](index i, index j) {
        if (transpose != 0) std::swap(i, j);
        if (lower != 0) return i >= j ? Ap[at(packed(i, j))] : 0.0;
        return i <= j ? Ap[at(i * n - i * (i - 1) / 2 + (j - i))] : 0.0;
    };
    if (in.flag()) {
        zolv_TriangularMatVecProduct(Ap.data(), x.data(), n, lower, transpose);
        return product_is(from, x, x0, x0, n, n, 1.0, 0.0, element, "triangular A x");
    }
    zolv_SolveTriangularSystem(Ap.data(), x.data(), n, lower, transpose);
    x.check("triangular solve");
    for (index i = 0; i < n && from.moderate(); ++i) {
        summed back;
        for (index j = 0; j < n; ++j) {
            if (element(i, j) != 0.0) back.add(element(i, j), x[at(j)]);
        }
        // A zero on the diagonal, and what grows from a small one, is not finite.
        if (!std::isfinite(back.magnitude)) continue;
        bool regular = true;
        for (index k = 0; k < n; ++k) regular = regular && element(k, k) != 0.0;
        if (!regular) continue;
        require(std::fabs(back.value - x0[at(i)]) <= 1e-13 * (back.magnitude + std::fabs(x0[at(i)])),
                "A times the solution", {double(i), back.value, x0[at(i)], back.magnitude});
    }
}

void matrix_matrix(input& in, source& from) {
    const index m = in.below(5), n = in.below(5), k = in.below(5);
    const int transA = in.flag() ? in.byte() : 0, transB = in.flag() ? in.byte() : 0;
    const double alpha = from.factor(), beta = from.factor();
    const guarded A = from.values(m * k), B = from.values(k * n);
    guarded C = from.values(m * n);
    const guarded C0 = C;
    const auto a = [&](index i, index j) { return A[at(transA != 0 ? j * m + i : i * k + j)]; };
    const auto b = [&](index i, index j) { return B[at(transB != 0 ? j * k + i : i * n + j)]; };
    zolv_MatrixMatrixProduct(alpha, A.data(), B.data(), beta, C.data(), m, n, k, transA, transB);
    C.check("matrix product");
    if (k == 0) return require_same(C, C0, "nothing happens without inner length");
    for (index i = 0; i < m && from.moderate(); ++i) {
        for (index j = 0; j < n; ++j) {
            summed want;
            for (index l = 0; l < k; ++l) want.add(alpha, a(i, l), b(l, j));
            if (beta != 0.0) want.add(beta, C0[at(i * n + j)]);
            close(C[at(i * n + j)], want, "matrix product");
        }
    }
}

void one_triangle(input& in, source& from) {
    const index n = in.below(5), k = in.below(5);
    const int transA = in.flag() ? in.byte() : 0, transB = in.flag() ? in.byte() : 0;
    const int upper = in.flag() ? in.byte() : 0;
    const double alpha = from.factor(), beta = from.factor();
    const guarded A = from.values(n * k), B = from.values(k * n);
    guarded C = from.values(n * n);
    const guarded C0 = C;
    const auto a = [&](index i, index j) { return A[at(transA != 0 ? j * n + i : i * k + j)]; };
    const auto b = [&](index i, index j) { return B[at(transB != 0 ? j * k + i : i * n + j)]; };
    zolv_MatMatTriangularProduct(alpha, A.data(), B.data(), beta, C.data(), n, k, transA, transB, upper);
    C.check("triangle of a product");
    for (index i = 0; i < n; ++i) {
        for (index j = 0; j < n; ++j) {
            const std::size_t at_ij = at(i * n + j);
            if (upper != 0 ? i > j : i < j) {
                require(same_bits(C[at_ij], C0[at_ij]), "the other triangle", {double(i), double(j)});
            } else if (from.moderate()) {
                summed want;
                for (index l = 0; l < k; ++l) want.add(alpha, a(i, l), b(l, j));
                if (beta != 0.0) want.add(beta, C0[at_ij]);
                close(C[at_ij], want, "triangle of a product");
            }
        }
    }
}

void symmetric_matrix(input& in, source& from) {
    const index m = in.below(5), n = in.below(5);
    const int right = in.flag() ? in.byte() : 0, upper = in.flag() ? in.byte() : 0;
    const double alpha = from.factor(), beta = from.factor();
    const index order = right != 0 ? n : m;
    const guarded A = from.values(order * order), B = from.values(m * n);
    guarded C = from.values(m * n);
    const guarded C0 = C;
    const auto a = [&](index i, index j) {
        if (upper != 0 ? i > j : i < j) std::swap(i, j);
        return A[at(i * order + j)];
    };
    zolv_SymmetricMatMatProduct(alpha, A.data(), B.data(), beta, C.data(), m, n, right, upper);
    C.check("symmetric product");
    for (index i = 0; i < m && from.moderate(); ++i) {
        for (index j = 0; j < n; ++j) {
            summed want;
            for (index l = 0; l < order; ++l) {
                if (right != 0)
                    want.add(alpha, B[at(i * n + l)], a(l, j));
                else
                    want.add(alpha, a(i, l), B[at(l * n + j)]);
            }
            if (beta != 0.0) want.add(beta, C0[at(i * n + j)]);
            close(C[at(i * n + j)], want, "symmetric product");
        }
    }
}

void cholesky(input& in, source& from) {
    const index n = in.below(6);
    const bool invert = in.flag(), make_definite = in.flag();
    guarded A = from.values(n * n);
    if (make_definite && from.moderate()) {
        const guarded root = A;
        for (index i = 0; i < n; ++i) {
            for (index j = 0; j <= i; ++j) {
                double sum = i == j ? 1.0 : 0.0;
                for (index l = 0; l < n; ++l) sum += root[at(i * n + l)] * root[at(j * n + l)];
                A[at(i * n + j)] = sum;
            }
        }
    }
    const guarded A0 = A;
    guarded Ap(at(packed_size(n)));
    zolv_PackTriangularMat(A.data(), Ap.data(), n);
    Ap.check("packed");
    bool has_nan = false;
    for (index i = 0; i < n; ++i) {
        for (index j = 0; j <= i; ++j) {
            require(same_bits(Ap[at(packed(i, j))], A[at(i * n + j)]), "packed", {double(i), double(j)});
            has_nan = has_nan || std::isnan(A[at(i * n + j)]);
        }
    }
    const int code = invert ? zolv_CholeskyInvUnpack(A.data(), n) : zolv_CholeskyFacUnpack(A.data(), n);
    const int packed_code = invert ? zolv_CholeskyInvPack(Ap.data(), n) : zolv_CholeskyFacPack(Ap.data(), n);
    A.check("Cholesky");
    Ap.check("packed Cholesky");
    require((code == 0 || code == 30007) && (packed_code == 0 || packed_code == 30007), "a code of the call",
            {double(code), double(packed_code)});
    require(!has_nan || code == 30007, "no factor of a NaN", {double(code)});
    if (has_nan) require_same(A, A0, "a matrix with a NaN is unchanged");
    for (index i = 0; i < n; ++i) {
        for (index j = i + 1; j < n; ++j)
            require(same_bits(A[at(i * n + j)], A0[at(i * n + j)]), "the strict upper triangle",
                    {double(i), double(j)});
    }
    if (make_definite && from.moderate())
        require(code == 0 && packed_code == 0, "a definite matrix", {double(code), double(packed_code)});
    guarded unpacked = A0;
    zolv_UnpackTriangularMat(Ap.data(), unpacked.data(), n);
    unpacked.check("unpacked");
    if (code != 0 || packed_code != 0 || !make_definite || !from.moderate()) return;
    for (const guarded* result : {&A, &unpacked}) {
        const auto L = [&](index i, index j) { return (*result)[at(i * n + j)]; };
        for (index i = 0; i < n; ++i) {
            for (index j = 0; j <= i; ++j) {
                summed back;
                if (invert) {
                    for (index l = 0; l < n; ++l) {
                        const double a = A0[at(i >= l ? i * n + l : l * n + i)];
                        back.add(a, l >= j ? L(l, j) : L(j, l));
                    }
                    // The smallest eigenvalue is 1 or more, the largest below 2000.
                    require(std::fabs(back.value - (i == j ? 1.0 : 0.0)) <= 1e-10 * (1.0 + back.magnitude),
                            "A times its inverse", {double(i), double(j), back.value});
                } else {
                    for (index l = 0; l <= j; ++l) back.add(L(i, l), L(j, l));
                    require(std::fabs(back.value - A0[at(i * n + j)]) <= 1e-13 * (1.0 + back.magnitude),
                            "L L'", {double(i), double(j), back.value, A0[at(i * n + j)]});
                }
            }
        }
    }
}

void square_system(input& in, source& from) {
    const index n = in.below(10);
    guarded A = from.values(n * n), b = from.values(n);
    const guarded A0 = A, b0 = b;
    const int code = zolv_SolveSquareSystem(A.data(), b.data(), n);
    A.check("square system");
    b.check("square system");
    require(code == 0 || code == 30000, "a code of the call", {double(code)});
    bool has_nan = false;
    for (std::size_t i = 0; i < A0.size(); ++i) has_nan = has_nan || std::isnan(A0[i]);
    for (std::size_t i = 0; i < b0.size(); ++i) has_nan = has_nan || std::isnan(b0[i]);
    if (has_nan && n > 0) {
        require(code == 30000, "no solution with a NaN", {double(code)});
        require_same(A, A0, "unchanged with a NaN");
    }
    if (code != 0) return require_same(b, b0, "no solution, b unchanged");
    for (index i = 0; i < n && from.moderate(); ++i) {
        summed back;
        for (index j = 0; j < n; ++j) back.add(A0[at(i * n + j)], b[at(j)]);
        if (!std::isfinite(back.magnitude)) continue;
        double largest = 0.0;  // the error of a row is bounded by the whole of the solution
        for (index j = 0; j < n; ++j) largest = std::max(largest, std::fabs(b[at(j)]));
        require(
            std::fabs(back.value - b0[at(i)]) <= 1e-11 * (4.0 * double(n) * largest + std::fabs(b0[at(i)])),
            "A times the solution", {double(i), back.value, b0[at(i)], largest});
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    input in(data, size);
    const std::uint8_t what = in.byte();
    source from(in);
    void (*const parts[])(input&, source&) = {vectors,          strides,    transposed,    matrix_vector,
                                              symmetric,        triangular, matrix_matrix, one_triangle,
                                              symmetric_matrix, cholesky,   square_system};
    parts[what % std::size(parts)](in, from);
    return 0;
}
