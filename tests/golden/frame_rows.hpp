// tests/golden/frame_rows.hpp: the missing value, and the vector and matrix exports at small sizes.
//
// The sizes stay below those at which the provider starts threads of its own. zolv_SetMKLReproducibility is
// not called: it is for the whole process and for good.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "golden/table.hpp"
#include "zolv.h"

namespace golden {

inline constexpr int matrix_sizes[] = {1, 2, 3, 4, 5, 7, 8, 9, 13, 16, 17, 31};

// Work on one size, with numbers of its own.
struct operands {
    std::int64_t n;
    list square, other, vector, second, packed, positive, result;
    operands(const char* name, int size) : n(size) {
        stream random(std::string(name) + std::to_string(size));
        square = random.between(-1, 1, size * size);
        other = random.between(-1, 1, size * size);
        vector = random.between(-1, 1, size);
        second = random.between(-1, 1, size);
        packed = random.between(0.5, 1.5, size * (size + 1) / 2);
        positive = random.between(-0.1, 0.1, size * size);
        for (std::size_t i = 0; i < vector.size(); ++i) positive[i * vector.size() + i] += 4.0;
        result = other;
    }
    list packed_positive() const {
        list out(packed.size());
        zolv_PackTriangularMat(positive.data(), out.data(), n);
        return out;
    }
};

inline void missing_value_rows() {
    stream random("missing value");
    const list x = special_values() + random.magnitudes(-1000, 1000, 400);
    table& to = table::instance();
    to.add("frame", "GetMissingValue", "-", needs::nothing, [](digest& d) { d(zolv_GetMissingValue()); });
    const auto add = [&](const char* name, int (*call)(double)) {
        to.add("frame", name, "-", needs::nothing, [&](digest& d) {
            for (const double v : x) d(list{static_cast<double>(call(v)), static_cast<double>(call(-v))});
        });
    };
    add("IsMissingValue", zolv_IsMissingValue);
    add("IsNaN", zolv_IsNaN);
    add("IsInfinity", zolv_IsInfinity);
    add("IsPlusInfinity", zolv_IsPlusInfinity);
    add("IsMinusInfinity", zolv_IsMinusInfinity);
    to.finish("frame");
}

inline void linear_algebra_rows() {
    table& to = table::instance();
    const auto add = [&](const char* name, needs what, const auto& work) {
        to.add("linear algebra", name, "sizes 1 to 31", what, [&](digest& d) {
            for (const int size : matrix_sizes) {
                operands m(name, size);
                work(d, m);
            }
        });
    };
    add("AXPlusY", needs::blas, [](digest& d, operands& m) {
        zolv_AXPlusY(0.3, m.square.data(), m.other.data(), m.n * m.n);
        d(m.other);
    });
    add("CopyXIntoY", needs::nothing, [](digest& d, operands& m) {
        zolv_CopyXIntoY(m.square.data(), m.n, m.vector.data(), -1, m.n);
        d(m.vector);
    });
    add("DotProduct", needs::blas,
        [](digest& d, operands& m) { d(zolv_DotProduct(m.square.data(), m.other.data(), m.n * m.n)); });
    add("ScaleX", needs::blas, [](digest& d, operands& m) {
        zolv_ScaleX(0.7, m.square.data(), m.n * m.n);
        d(m.square);
    });
    add("SwapXAndY", needs::nothing, [](digest& d, operands& m) {
        zolv_SwapXAndY(m.square.data(), m.n, m.vector.data(), -1, m.n);
        d(m.square);
        d(m.vector);
    });
    add("IndexToMaxAbsValue", needs::nothing, [](digest& d, operands& m) {
        d(static_cast<double>(zolv_IndexToMaxAbsValue(m.square.data(), m.n * m.n)));
    });
    add("IndexToMinAbsValue", needs::nothing, [](digest& d, operands& m) {
        d(static_cast<double>(zolv_IndexToMinAbsValue(m.square.data(), m.n * m.n)));
    });
    add("ScaleTranspose", needs::nothing, [](digest& d, operands& m) {
        for (const int flag : {0, 1}) {
            zolv_ScaleTranspose(1.7, m.square.data(), m.other.data(), m.n, m.n, flag);
            d(m.other);
        }
    });
    add("ScaleTransposeIP", needs::nothing, [](digest& d, operands& m) {
        zolv_ScaleTransposeIP(-0.3, m.square.data(), m.n, m.n, 1);
        zolv_ScaleTransposeIP(1.1, m.square.data(), 1, m.n * m.n, 0);
        d(m.square);
    });
    add("MatrixVectorProduct", needs::blas, [](digest& d, operands& m) {
        for (const int flag : {0, 1}) {
            zolv_MatrixVectorProduct(0.7, m.square.data(), m.vector.data(), 0.2, m.second.data(), m.n, m.n,
                                     flag);
            d(m.second);
        }
    });
    add("SymmetricMatVecProduct", needs::blas, [](digest& d, operands& m) {
        zolv_SymmetricMatVecProduct(0.7, m.packed.data(), m.vector.data(), 0.2, m.second.data(), m.n);
        d(m.second);
    });
    add("SymmetricMatRankOneUpdate", needs::blas, [](digest& d, operands& m) {
        zolv_SymmetricMatRankOneUpdate(m.packed.data(), m.vector.data(), 0.9, m.n);
        d(m.packed);
    });
    const auto triangular = [&](const char* name, auto call) {
        add(name, needs::blas, [call](digest& d, operands& m) {
            for (const int lower : {0, 1}) {
                for (const int flag : {0, 1}) {
                    list x = m.vector;
                    call(m.packed.data(), x.data(), m.n, lower, flag);
                    d(x);
                }
            }
        });
    };
    triangular("TriangularMatVecProduct", zolv_TriangularMatVecProduct);
    triangular("SolveTriangularSystem", zolv_SolveTriangularSystem);
    add("MatrixMatrixProduct", needs::blas, [](digest& d, operands& m) {
        for (const int a : {0, 1}) {
            for (const int b : {0, 1}) {
                zolv_MatrixMatrixProduct(0.7, m.square.data(), m.other.data(), 0.2, m.result.data(), m.n, m.n,
                                         m.n, a, b);
                d(m.result);
            }
        }
    });
    add("MatMatTriangularProduct", needs::blas, [](digest& d, operands& m) {
        for (const int upper : {0, 1}) {
            zolv_MatMatTriangularProduct(0.7, m.square.data(), m.square.data(), 0.2, m.result.data(), m.n,
                                         m.n, 0, 1, upper);
            d(m.result);
        }
    });
    add("SymmetricMatMatProduct", needs::blas, [](digest& d, operands& m) {
        for (const int right : {0, 1}) {
            for (const int upper : {0, 1}) {
                zolv_SymmetricMatMatProduct(0.7, m.square.data(), m.other.data(), 0.2, m.result.data(), m.n,
                                            m.n, right, upper);
                d(m.result);
            }
        }
    });
    const auto cholesky = [&](const char* name, auto call, bool packed) {
        add(name, needs::blas, [=](digest& d, operands& m) {
            list good = packed ? m.packed_positive() : m.positive, bad = good;
            bad.back() = -1.0;
            d(call(good.data(), m.n));
            d(good);
            d(call(bad.data(), m.n));
            d(bad);
        });
    };
    cholesky("CholeskyFacUnpack", zolv_CholeskyFacUnpack, false);
    cholesky("CholeskyInvUnpack", zolv_CholeskyInvUnpack, false);
    cholesky("CholeskyFacPack", zolv_CholeskyFacPack, true);
    cholesky("CholeskyInvPack", zolv_CholeskyInvPack, true);
    add("PackTriangularMat", needs::nothing, [](digest& d, operands& m) {
        zolv_PackTriangularMat(m.square.data(), m.packed.data(), m.n);
        d(m.packed);
    });
    add("UnpackTriangularMat", needs::nothing, [](digest& d, operands& m) {
        zolv_UnpackTriangularMat(m.packed.data(), m.square.data(), m.n);
        d(m.square);
    });
    add("SolveSquareSystem", needs::blas, [](digest& d, operands& m) {
        d(zolv_SolveSquareSystem(m.square.data(), m.vector.data(), m.n));
        d(m.square);
        d(m.vector);
        list zeros(m.square.size(), 0.0);
        d(zolv_SolveSquareSystem(zeros.data(), m.vector.data(), m.n));
        d(m.vector);
    });
    to.finish("linear algebra");
}

}  // namespace golden
