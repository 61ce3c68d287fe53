// The exported vector and matrix operations against hand arithmetic and plain loops over small whole numbers,
// where every order of summation gives the same double.
#include <algorithm>
#include <cmath>
#include <limits>
#include <random>
#include <vector>

#include "support/bits.hpp"
#include "zolv.h"

namespace {

using vec = std::vector<double>;

constexpr double nan_value = std::numeric_limits<double>::quiet_NaN();
constexpr double infinity = std::numeric_limits<double>::infinity();

vec whole_numbers(std::size_t n, unsigned seed) {
    std::mt19937 generator(seed);
    vec values(n);
    for (double& v : values) v = static_cast<double>(static_cast<int>(generator() % 19)) - 9.0;
    return values;
}

// Element (i, j) of op(M); M is stored row by row with the given number of columns.
double at(const vec& m, int64_t columns, bool transposed, int64_t i, int64_t j) {
    return m[static_cast<std::size_t>(transposed ? j * columns + i : i * columns + j)];
}

std::size_t packed(int64_t i, int64_t j) { return static_cast<std::size_t>(i * (i + 1) / 2 + j); }

// L L' of a whole-numbered lower triangle with ones and twos on the diagonal: its Cholesky factor is exact.
struct exact_factor {
    int64_t n;
    vec lower, product;
    explicit exact_factor(int64_t order)
        : n(order), lower(whole_numbers(order * order, 5)), product(order * order) {
        for (int64_t i = 0; i < n; ++i) {
            for (int64_t j = i + 1; j < n; ++j) lower[i * n + j] = 0.0;
            lower[i * n + i] = i % 2 == 0 ? 1.0 : 2.0;
        }
        for (int64_t i = 0; i < n; ++i) {
            for (int64_t j = 0; j < n; ++j) {
                for (int64_t k = 0; k < n; ++k) product[i * n + j] += lower[i * n + k] * lower[j * n + k];
            }
        }
    }
};

TEST(Vectors, AXPlusY) {
    const vec x = {1, 2, 3};
    vec y = {10, 20, 30};
    zolv_AXPlusY(2.0, x.data(), y.data(), 3);
    EXPECT_EQ(y, (vec{12, 24, 36}));
    zolv_AXPlusY(2.0, x.data(), y.data(), 0);
    zolv_AXPlusY(2.0, x.data(), y.data(), -3);
    EXPECT_EQ(y, (vec{12, 24, 36}));
}

TEST(Vectors, CopyWithStridesLeavesTheGaps) {
    const vec x = {1, 2, 3, 4, 5};
    vec y = {-1, -1, -1, -1, -1, -1, -1};
    zolv_CopyXIntoY(x.data(), 2, y.data(), 3, 3);
    EXPECT_EQ(y, (vec{1, -1, -1, 3, -1, -1, 5}));
}

TEST(Vectors, NegativeStrideRunsFromTheEnd) {
    const vec x = {1, 2, 3};
    vec y(3);
    zolv_CopyXIntoY(x.data(), -1, y.data(), 1, 3);
    EXPECT_EQ(y, (vec{3, 2, 1}));
}

TEST(Vectors, DotProduct) {
    const vec x = {1, 2, 3}, y = {4, -5, 6};
    EXPECT_EQ(zolv_DotProduct(x.data(), y.data(), 3), 12.0);
    EXPECT_EQ(zolv_DotProduct(x.data(), x.data(), 3), 14.0);
    EXPECT_SAME_BITS(zolv_DotProduct(x.data(), y.data(), 0), 0.0);
    EXPECT_SAME_BITS(zolv_DotProduct(x.data(), y.data(), -1), 0.0);
}

TEST(Vectors, ScaleX) {
    vec x = {1, -2, 3};
    zolv_ScaleX(-2.0, x.data(), 3);
    EXPECT_EQ(x, (vec{-2, 4, -6}));
    zolv_ScaleX(0.0, x.data(), 3);
    EXPECT_EQ(x, (vec{0, 0, 0}));
}

TEST(Vectors, SwapWithStrides) {
    vec x = {1, 2, 3}, y = {4, 5, 6, 7, 8};
    zolv_SwapXAndY(x.data(), 1, y.data(), 2, 3);
    EXPECT_EQ(x, (vec{4, 6, 8}));
    EXPECT_EQ(y, (vec{1, 5, 2, 7, 3}));
}

TEST(Vectors, IndicesCountFromZeroAndTakeTheFirst) {
    const vec x = {-1, 5, -5, 0.5, -0.5};
    EXPECT_EQ(zolv_IndexToMaxAbsValue(x.data(), 5), 1);
    EXPECT_EQ(zolv_IndexToMinAbsValue(x.data(), 5), 3);
    EXPECT_EQ(zolv_IndexToMaxAbsValue(x.data(), 1), 0);
    EXPECT_EQ(zolv_IndexToMaxAbsValue(x.data(), 0), 0);
    EXPECT_EQ(zolv_IndexToMinAbsValue(x.data(), 0), 0);
    EXPECT_EQ(zolv_IndexToMaxAbsValue(x.data(), -4), 0);
    EXPECT_EQ(zolv_IndexToMinAbsValue(x.data(), -4), 0);
}

TEST(ScaleTranspose, BothShapesAndStrides) {
    const vec a = {1, 2, 3, 4, 5, 6};  // 2 by 3
    vec b(6);
    zolv_ScaleTranspose(2.0, a.data(), b.data(), 2, 3, 0);
    EXPECT_EQ(b, (vec{2, 4, 6, 8, 10, 12}));
    zolv_ScaleTranspose(-1.0, a.data(), b.data(), 2, 3, 1);
    EXPECT_EQ(b, (vec{-1, -4, -2, -5, -3, -6}));
    zolv_ScaleTranspose(1.0, a.data(), b.data(), 2, 3, -7);  // any flag but 0
    EXPECT_EQ(b, (vec{1, 4, 2, 5, 3, 6}));
}

TEST(ScaleTranspose, ZeroFactorMultiplies) {
    const vec a = {1, -1, nan_value, infinity};
    vec b(4);
    zolv_ScaleTranspose(0.0, a.data(), b.data(), 2, 2, 0);
    EXPECT_SAME_BITS(b[0], 0.0);
    EXPECT_SAME_BITS(b[1], -0.0);
    EXPECT_TRUE(std::isnan(b[2]));
    EXPECT_TRUE(std::isnan(b[3]));
}

TEST(ScaleTranspose, InPlaceEqualsOutOfPlace) {
    const int64_t sizes[][2] = {{1, 1},   {1, 7},   {7, 1},   {2, 3},  {5, 5},
                                {33, 33}, {64, 64}, {65, 33}, {40, 97}};
    for (const auto& [rows, cols] : sizes) {
        for (const int transpose : {0, 1}) {
            const vec a = whole_numbers(rows * cols, 3);
            vec in_place = a, out(rows * cols);
            zolv_ScaleTranspose(3.0, a.data(), out.data(), rows, cols, transpose);
            zolv_ScaleTransposeIP(3.0, in_place.data(), rows, cols, transpose);
            EXPECT_EQ(in_place, out) << rows << " by " << cols << ", transpose " << transpose;
            for (int64_t i = 0; i < rows; ++i) {
                for (int64_t j = 0; j < cols; ++j) {
                    ASSERT_EQ(out[transpose ? j * rows + i : i * cols + j], 3.0 * a[i * cols + j]);
                }
            }
        }
    }
}

TEST(ScaleTranspose, EmptyAndNegativeSizesTouchNothing) {
    const vec a = {1, 2};
    for (const auto& [rows, cols] : {std::pair<int64_t, int64_t>{0, 2}, {2, 0}, {-1, 2}, {2, -1}, {-1, -1}}) {
        for (const int transpose : {0, 1}) {
            vec b = {7, 7};
            zolv_ScaleTranspose(2.0, a.data(), b.data(), rows, cols, transpose);
            zolv_ScaleTransposeIP(2.0, b.data(), rows, cols, transpose);
            EXPECT_EQ(b, (vec{7, 7}));
        }
    }
}

TEST(MatrixVectorProduct, BothOrientations) {
    const vec a = {1, 2, 3, 4, 5, 6}, x3 = {1, 0, -1}, x2 = {1, -1};
    vec y2 = {10, 20}, y3 = {1, 1, 1};
    zolv_MatrixVectorProduct(1.0, a.data(), x3.data(), 2.0, y2.data(), 2, 3, 0);
    EXPECT_EQ(y2, (vec{18, 38}));
    zolv_MatrixVectorProduct(2.0, a.data(), x2.data(), 1.0, y3.data(), 2, 3, 1);
    EXPECT_EQ(y3, (vec{-5, -5, -5}));
    vec unread = {nan_value, nan_value};
    zolv_MatrixVectorProduct(1.0, a.data(), x3.data(), 0.0, unread.data(), 2, 3, 0);
    EXPECT_EQ(unread, (vec{-2, -2}));
}

TEST(MatrixVectorProduct, EmptyShapesLeaveY) {
    const vec a = {1, 2}, x = {1, 2};
    for (const auto& [rows, cols] : {std::pair<int64_t, int64_t>{0, 2}, {2, 0}, {-1, 2}, {2, -1}}) {
        vec y = {5, 6};
        zolv_MatrixVectorProduct(1.0, a.data(), x.data(), 3.0, y.data(), rows, cols, 0);
        zolv_MatrixVectorProduct(1.0, a.data(), x.data(), 3.0, y.data(), rows, cols, 1);
        EXPECT_EQ(y, (vec{5, 6})) << rows << " by " << cols;
    }
}

TEST(Packed, SymmetricProductAndUpdate) {
    // | 1 2 4 |
    // | 2 3 5 |
    // | 4 5 6 |
    vec ap = {1, 2, 3, 4, 5, 6};
    const vec x = {1, 1, -1};
    vec y = {1, 1, 1};
    zolv_SymmetricMatVecProduct(1.0, ap.data(), x.data(), 10.0, y.data(), 3);
    EXPECT_EQ(y, (vec{9, 10, 13}));
    zolv_SymmetricMatRankOneUpdate(ap.data(), x.data(), 2.0, 3);
    EXPECT_EQ(ap, (vec{3, 4, 5, 2, 3, 8}));
    zolv_SymmetricMatRankOneUpdate(ap.data(), x.data(), 2.0, -3);
    zolv_SymmetricMatVecProduct(1.0, ap.data(), x.data(), 10.0, y.data(), -3);
    EXPECT_EQ(ap, (vec{3, 4, 5, 2, 3, 8}));
    EXPECT_EQ(y, (vec{9, 10, 13}));
}

TEST(Packed, TriangularFlagMeansLower) {
    // As lower triangle        as upper triangle
    // | 1 0 0 |                | 1 2 4 |
    // | 2 4 0 |                | 0 4 5 |     elements in storage order: 1 2 4 4 5 8
    // | 4 5 8 |                | 0 0 8 |
    const vec ap = {1, 2, 4, 4, 5, 8}, x = {1, 2, 3};
    const auto apply = [&](int lower, int transpose) {
        vec y = x;
        zolv_TriangularMatVecProduct(ap.data(), y.data(), 3, lower, transpose);
        vec back = y;
        zolv_SolveTriangularSystem(ap.data(), back.data(), 3, lower, transpose);
        EXPECT_EQ(back, x) << "lower " << lower << ", transpose " << transpose;
        return y;
    };
    EXPECT_EQ(apply(1, 0), (vec{1, 10, 38}));
    EXPECT_EQ(apply(1, 1), (vec{17, 23, 24}));
    EXPECT_EQ(apply(0, 0), (vec{17, 23, 24}));
    EXPECT_EQ(apply(0, 1), (vec{1, 10, 38}));
    EXPECT_EQ(apply(2, 0), (vec{1, 10, 38}));  // any flag but 0
}

TEST(Packed, SingularTriangleDividesByZero) {
    const vec ap = {0, 1, 1};
    vec x = {1, 1};
    zolv_SolveTriangularSystem(ap.data(), x.data(), 2, 1, 0);
    EXPECT_EQ(x[0], infinity);
}

TEST(MatrixMatrixProduct, AllOrientationsAgainstPlainLoops) {
    const int64_t m = 13, n = 7, k = 29;
    const vec a = whole_numbers(m * k, 1), b = whole_numbers(k * n, 2), c0 = whole_numbers(m * n, 3);
    for (const int ta : {0, 1}) {
        for (const int tb : {0, 1}) {
            vec c = c0;
            zolv_MatrixMatrixProduct(2.0, a.data(), b.data(), -3.0, c.data(), m, n, k, ta, tb);
            for (int64_t i = 0; i < m; ++i) {
                for (int64_t j = 0; j < n; ++j) {
                    double sum = 0.0;
                    for (int64_t l = 0; l < k; ++l)
                        sum += at(a, ta ? m : k, ta, i, l) * at(b, tb ? k : n, tb, l, j);
                    ASSERT_EQ(c[i * n + j], 2.0 * sum - 3.0 * c0[i * n + j])
                        << ta << tb << " " << i << " " << j;
                }
            }
        }
    }
}

TEST(MatrixMatrixProduct, EmptyInnerSizeDoesNotApplyBeta) {
    const vec a = {1, 2}, b = {3, 4};
    vec c = {5, 6, 7, 8};
    zolv_MatrixMatrixProduct(1.0, a.data(), b.data(), 0.0, c.data(), 2, 2, 0, 0, 0);
    zolv_MatrixMatrixProduct(1.0, a.data(), b.data(), 0.0, c.data(), 0, 2, 1, 0, 0);
    zolv_MatrixMatrixProduct(1.0, a.data(), b.data(), 0.0, c.data(), 2, 0, 1, 0, 0);
    for (const int flag : {0, 1}) {
        zolv_MatrixMatrixProduct(1.0, a.data(), b.data(), 0.0, c.data(), -2, 2, 1, flag, flag);
        zolv_MatrixMatrixProduct(1.0, a.data(), b.data(), 0.0, c.data(), 2, -2, 1, flag, flag);
        zolv_MatrixMatrixProduct(1.0, a.data(), b.data(), 0.0, c.data(), 2, 2, -1, flag, flag);
    }
    EXPECT_EQ(c, (vec{5, 6, 7, 8}));
}

TEST(MatrixMatrixProduct, BetaZeroDoesNotReadC) {
    const vec a = {1, 2}, b = {3, 4};
    vec c = {nan_value, nan_value, nan_value, nan_value};
    zolv_MatrixMatrixProduct(1.0, a.data(), b.data(), 0.0, c.data(), 2, 2, 1, 0, 0);
    EXPECT_EQ(c, (vec{3, 4, 6, 8}));
}

// Orders on both sides of the block of the triangular product and of its halves.
TEST(MatMatTriangularProduct, OneTriangleAgainstPlainLoops) {
    for (const int64_t n : {1, 2, 31, 32, 33, 64, 65, 100}) {
        const int64_t k = 17;
        const vec a = whole_numbers(n * k, 1), b = whole_numbers(k * n, 2), c0 = whole_numbers(n * n, 3);
        for (int flags = 0; flags < 8; ++flags) {
            const int ta = flags & 1, tb = flags >> 1 & 1, upper = flags >> 2;
            for (const double beta : {0.0, 1.0, -3.0}) {
                vec c = c0;
                for (int64_t i = 0; i < n * n; ++i) {
                    const bool named = upper ? i / n <= i % n : i / n >= i % n;
                    if (named == (beta == 0.0)) c[i] = nan_value;  // what must not be read
                    if (named && beta != 0.0) c[i] = c0[i];
                }
                zolv_MatMatTriangularProduct(2.0, a.data(), b.data(), beta, c.data(), n, k, ta, tb, upper);
                for (int64_t i = 0; i < n; ++i) {
                    for (int64_t j = 0; j < n; ++j) {
                        if (upper ? i > j : i < j) {
                            const double kept = c[i * n + j];
                            ASSERT_TRUE(beta == 0.0 ? kept == c0[i * n + j] : std::isnan(kept))
                                << "other triangle";
                            continue;
                        }
                        double sum = 0.0;
                        for (int64_t l = 0; l < k; ++l) {
                            sum += at(a, ta ? n : k, ta, i, l) * at(b, tb ? k : n, tb, l, j);
                        }
                        const double want = beta == 0.0 ? 2.0 * sum : 2.0 * sum + beta * c0[i * n + j];
                        ASSERT_EQ(c[i * n + j], want) << "n " << n << " flags " << flags << " beta " << beta;
                    }
                }
            }
        }
    }
}

TEST(MatMatTriangularProduct, EmptyInnerSizeScalesTheTriangle) {
    const vec none = {nan_value, nan_value, nan_value, nan_value};
    vec c = {1, 2, 3, 4};
    zolv_MatMatTriangularProduct(1.0, none.data(), none.data(), 2.0, c.data(), 2, 0, 0, 0, 0);
    EXPECT_EQ(c, (vec{2, 2, 6, 8}));
    zolv_MatMatTriangularProduct(1.0, none.data(), none.data(), 1.0, c.data(), 2, 0, 0, 0, 1);
    EXPECT_EQ(c, (vec{2, 2, 6, 8}));
    zolv_MatMatTriangularProduct(0.0, none.data(), none.data(), 0.5, c.data(), 2, 2, 0, 0, 1);
    EXPECT_EQ(c, (vec{1, 1, 6, 4}));
    c = {nan_value, 2, nan_value, nan_value};
    zolv_MatMatTriangularProduct(1.0, none.data(), none.data(), 0.0, c.data(), 2, 0, 0, 0, 0);
    EXPECT_EQ(c, (vec{0, 2, 0, 0}));
    zolv_MatMatTriangularProduct(1.0, none.data(), none.data(), 5.0, c.data(), 0, 2, 0, 0, 0);
    zolv_MatMatTriangularProduct(1.0, none.data(), none.data(), 5.0, c.data(), -2, 2, 0, 0, 0);
    zolv_MatMatTriangularProduct(1.0, none.data(), none.data(), 5.0, c.data(), 2, -2, 0, 0, 0);
    EXPECT_EQ(c, (vec{0, 2, 0, 0}));
}

TEST(SymmetricMatMatProduct, SidesAndTriangles) {
    const int64_t m = 9, n = 6;
    for (const int right : {0, 1}) {
        for (const int upper : {0, 1}) {
            const int64_t order = right ? n : m;
            vec symmetric = whole_numbers(order * order, 4), stored;
            for (int64_t i = 0; i < order; ++i) {
                for (int64_t j = 0; j < i; ++j) symmetric[j * order + i] = symmetric[i * order + j];
            }
            stored = symmetric;
            for (int64_t i = 0; i < order; ++i) {
                for (int64_t j = 0; j < order; ++j) {
                    if (upper ? j < i : j > i) stored[i * order + j] = nan_value;
                }
            }
            const vec b = whole_numbers(m * n, 5), c0 = whole_numbers(m * n, 6);
            vec c = c0;
            zolv_SymmetricMatMatProduct(2.0, stored.data(), b.data(), 3.0, c.data(), m, n, right, upper);
            for (int64_t i = 0; i < m; ++i) {
                for (int64_t j = 0; j < n; ++j) {
                    double sum = 0.0;
                    for (int64_t l = 0; l < order; ++l) {
                        sum += right ? b[i * n + l] * symmetric[l * order + j]
                                     : symmetric[i * order + l] * b[l * n + j];
                    }
                    ASSERT_EQ(c[i * n + j], 2.0 * sum + 3.0 * c0[i * n + j]) << right << upper;
                }
            }
        }
    }
    vec c = {1, 2};
    const vec one = {1, 1, 1, 1};
    zolv_SymmetricMatMatProduct(1.0, one.data(), one.data(), 0.0, c.data(), 0, 2, 0, 0);
    zolv_SymmetricMatMatProduct(1.0, one.data(), one.data(), 0.0, c.data(), 2, 0, 0, 0);
    zolv_SymmetricMatMatProduct(1.0, one.data(), one.data(), 0.0, c.data(), -2, 1, 0, 0);
    zolv_SymmetricMatMatProduct(1.0, one.data(), one.data(), 0.0, c.data(), 2, -1, 1, 1);
    EXPECT_EQ(c, (vec{1, 2}));
}

TEST(Cholesky, FactorIsExactOnWholeNumbers) {
    for (const int64_t n : {1, 2, 5, 20}) {
        const exact_factor exact(n);
        vec a = exact.product, ap(n * (n + 1) / 2);
        for (int64_t i = 0; i < n; ++i) {
            for (int64_t j = i + 1; j < n; ++j) a[i * n + j] = nan_value;  // the upper triangle is not read
        }
        zolv_PackTriangularMat(a.data(), ap.data(), n);
        ASSERT_EQ(zolv_CholeskyFacUnpack(a.data(), n), 0);
        ASSERT_EQ(zolv_CholeskyFacPack(ap.data(), n), 0);
        for (int64_t i = 0; i < n; ++i) {
            for (int64_t j = 0; j < n; ++j) {
                if (j > i) {
                    EXPECT_TRUE(std::isnan(a[i * n + j]));
                } else {
                    EXPECT_EQ(a[i * n + j], exact.lower[i * n + j]);
                    EXPECT_EQ(ap[packed(i, j)], exact.lower[i * n + j]);
                }
            }
        }
    }
}

// A A^-1 = I. The factor has a unit-and-two diagonal, so the inverse is a dyadic number of small height.
TEST(Cholesky, InverseTimesMatrixIsIdentity) {
    const int64_t n = 5;
    const exact_factor exact(n);
    vec a = exact.product, ap(n * (n + 1) / 2), full(n * n);
    zolv_PackTriangularMat(a.data(), ap.data(), n);
    ASSERT_EQ(zolv_CholeskyInvUnpack(a.data(), n), 0);
    ASSERT_EQ(zolv_CholeskyInvPack(ap.data(), n), 0);
    for (int64_t i = 0; i < n; ++i) {
        for (int64_t j = 0; j <= i; ++j) {
            full[i * n + j] = full[j * n + i] = a[i * n + j];
            EXPECT_TRUE(zolv_test::within_relative(ap[packed(i, j)], a[i * n + j], 1e-12));
        }
    }
    for (int64_t i = 0; i < n; ++i) {
        for (int64_t j = 0; j < n; ++j) {
            double sum = 0.0, scale = 0.0;
            for (int64_t k = 0; k < n; ++k) {
                sum += exact.product[i * n + k] * full[k * n + j];
                scale += std::abs(exact.product[i * n + k] * full[k * n + j]);
            }
            EXPECT_NEAR(sum, i == j ? 1.0 : 0.0, 1e-13 * scale);
        }
    }
}

TEST(Cholesky, FailureSkipsTheInversion) {
    const vec indefinite = {1, 2, 2, 1};
    vec factored = indefinite, inverted = indefinite;
    EXPECT_EQ(zolv_CholeskyFacUnpack(factored.data(), 2), 30007);
    EXPECT_EQ(zolv_CholeskyInvUnpack(inverted.data(), 2), 30007);
    EXPECT_EQ(inverted, factored);  // what the factorisation left, untouched by an inversion
    vec packed_factored = {1, 2, 1}, packed_inverted = packed_factored;
    EXPECT_EQ(zolv_CholeskyFacPack(packed_factored.data(), 2), 30007);
    EXPECT_EQ(zolv_CholeskyInvPack(packed_inverted.data(), 2), 30007);
    EXPECT_EQ(packed_inverted, packed_factored);
}

TEST(Cholesky, NanAndSizes) {
    const auto factorisations = {zolv_CholeskyFacUnpack, zolv_CholeskyInvUnpack, zolv_CholeskyFacPack,
                                 zolv_CholeskyInvPack};
    for (const auto call : factorisations) {
        vec a = {4, nan_value, nan_value, 4};
        EXPECT_EQ(call(a.data(), 2), 30007);
        EXPECT_EQ(a[0], 4.0);  // refused before any work
        vec untouched = {4, 4, 4, 4};
        EXPECT_EQ(call(untouched.data(), 0), 0);
        EXPECT_EQ(call(untouched.data(), -1), 30007);
        EXPECT_EQ(untouched, (vec{4, 4, 4, 4}));
    }
}

TEST(Packing, CopiesTheLowerTriangleOnly) {
    const double sign_set = zolv_test::from_bits(zolv_test::sign_set_nan_bits);
    const double signalling = zolv_test::from_bits(0x7FF0000000000001);
    const vec a = {1, 99, 99, 2, sign_set, 99, 4, signalling, 6};
    vec ap(7, -1.0);
    zolv_PackTriangularMat(a.data(), ap.data(), 3);
    const std::uint64_t want[] = {zolv_test::bits(1.0), zolv_test::bits(2.0), zolv_test::sign_set_nan_bits,
                                  zolv_test::bits(4.0), 0x7FF0000000000001,   zolv_test::bits(6.0),
                                  zolv_test::bits(-1.0)};
    for (int i = 0; i < 7; ++i) EXPECT_EQ(zolv_test::bits(ap[i]), want[i]) << i;
    vec back(9, -5.0);
    zolv_UnpackTriangularMat(ap.data(), back.data(), 3);
    for (int i = 0; i < 3; ++i) {
        for (int j = 0; j < 3; ++j) {
            EXPECT_EQ(zolv_test::bits(back[i * 3 + j]), j > i ? zolv_test::bits(-5.0) : want[packed(i, j)]);
        }
    }
    zolv_PackTriangularMat(a.data(), ap.data(), 0);
    zolv_PackTriangularMat(a.data(), ap.data(), -2);
    zolv_UnpackTriangularMat(ap.data(), back.data(), -2);
    EXPECT_EQ(ap[0], 1.0);
}

TEST(SolveSquareSystem, HandExampleWithFactors) {
    // x + y = 3, 2 x + 4 y = 10. The second row is the pivot: l = 1/2, u22 = 1 - 4/2 = -1.
    vec a = {1, 1, 2, 4}, b = {3, 10};
    EXPECT_EQ(zolv_SolveSquareSystem(a.data(), b.data(), 2), 0);
    EXPECT_EQ(b, (vec{1, 2}));
    EXPECT_EQ(a, (vec{2, 4, 0.5, -1}));
}

TEST(SolveSquareSystem, FailuresLeaveB) {
    vec singular = {1, 2, 2, 4}, b = {1, 1};
    EXPECT_EQ(zolv_SolveSquareSystem(singular.data(), b.data(), 2), 30000);
    EXPECT_EQ(b, (vec{1, 1}));
    vec with_nan = {1, 2, nan_value, 4};
    EXPECT_EQ(zolv_SolveSquareSystem(with_nan.data(), b.data(), 2), 30000);
    EXPECT_EQ(b, (vec{1, 1}));
    EXPECT_EQ(with_nan[0], 1.0);
    vec regular = {1, 2, 3, 4}, nan_side = {1, nan_value};
    EXPECT_EQ(zolv_SolveSquareSystem(regular.data(), nan_side.data(), 2), 30000);
    EXPECT_EQ(regular, (vec{1, 2, 3, 4}));
    EXPECT_EQ(nan_side[0], 1.0);
    EXPECT_EQ(zolv_SolveSquareSystem(regular.data(), b.data(), -1), 30000);
    EXPECT_EQ(zolv_SolveSquareSystem(regular.data(), b.data(), std::numeric_limits<int64_t>::min()), 30000);
    EXPECT_EQ(zolv_SolveSquareSystem(regular.data(), b.data(), 0), 0);
    EXPECT_EQ(regular, (vec{1, 2, 3, 4}));
    EXPECT_EQ(b, (vec{1, 1}));
}

TEST(SolveSquareSystem, LargeSystemHasASmallResidual) {
    const int64_t n = 300;  // large enough for the provider's own threads
    std::mt19937_64 generator(11);
    std::normal_distribution<double> normal;
    vec a(n * n), x(n), b(n);
    for (double& v : a) v = normal(generator);
    for (double& v : x) v = normal(generator);
    for (int64_t i = 0; i < n; ++i) {
        for (int64_t j = 0; j < n; ++j) b[i] += a[i * n + j] * x[j];
    }
    ASSERT_EQ(zolv_SolveSquareSystem(a.data(), b.data(), n), 0);
    double worst = 0.0;
    for (int64_t i = 0; i < n; ++i) worst = std::max(worst, std::abs(b[i] - x[i]));
    RecordProperty("worst", testing::PrintToString(worst));
    EXPECT_LT(worst, 1e-9);  // 4e-12 measured
}

// x + (the sum of x) in every row; more columns than the provider's widest panel.
TEST(SolveSquareSystem, WiderThanTheWidestPanel) {
    const int64_t n = 1030;
    vec a(n * n, 1.0), b(n);
    double sum = 0.0;
    for (int64_t i = 0; i < n; ++i) sum += static_cast<double>(i % 7);
    for (int64_t i = 0; i < n; ++i) {
        a[i * n + i] = 2.0;
        b[i] = static_cast<double>(i % 7) + sum;
    }
    ASSERT_EQ(zolv_SolveSquareSystem(a.data(), b.data(), n), 0);
    for (int64_t i = 0; i < n; ++i) ASSERT_NEAR(b[i], static_cast<double>(i % 7), 1e-9);
}

TEST(Reproducibility, ReturnsTheProvidersStatusEachTime) {
    EXPECT_EQ(zolv_SetMKLReproducibility(), 0);
    EXPECT_EQ(zolv_SetMKLReproducibility(), 0);
}

// The scan for NaNs used to read n (n + 1) / 2 elements, a positive number, before n was looked at.
TEST(Cholesky, ANegativeOrderReadsNothing) {
    for (const int64_t n :
         {int64_t{-1}, int64_t{-2}, int64_t{-2147483648}, std::numeric_limits<int64_t>::min()}) {
        double a = 4.0;
        EXPECT_EQ(zolv_CholeskyFacPack(&a, n), 30007);
        EXPECT_EQ(zolv_CholeskyInvPack(&a, n), 30007);
        EXPECT_EQ(zolv_CholeskyFacUnpack(&a, n), 30007);
        EXPECT_EQ(zolv_CholeskyInvUnpack(&a, n), 30007);
        EXPECT_EQ(a, 4.0);
    }
}

}  // namespace
