// bench/linear_algebra_bench.cpp: the vector and matrix exports at order 100, with the digest of the results.
// Products against the provider called directly: matrix_product_bench.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <functional>
#include <string>

#include "support/answers.hpp"
#include "zolv.h"

namespace {

using namespace zolv_bench;

constexpr std::int64_t n = 100;

struct operands {
    list a, b, c, x, y, packed, positive;
    operands() : a(n * n), b(n * n), c(n * n), x(n), y(n), packed(n * (n + 1) / 2), positive(n * n) {
        generator random;
        for (list* each : {&a, &b, &x, &y, &packed, &positive}) {
            for (double& v : *each) v = random.fraction() - 0.5;
        }
        for (std::int64_t i = 0; i < n; ++i) {
            positive[static_cast<std::size_t>(i * n + i)] = 50.0;
            packed[static_cast<std::size_t>(i * (i + 1) / 2 + i)] = 50.0;
        }
    }
};

// Calls that overwrite their operand get a fresh copy each time, which is part of the figure.
void add(const char* name, list operands::*result, const std::function<void(operands&)>& work) {
    benchmark::RegisterBenchmark(name, [=](benchmark::State& state) {
        const operands fresh;
        operands m;
        for (auto unused : state) {
            (void)unused;
            m.*result = fresh.*result;
            work(m);
            benchmark::ClobberMemory();
        }
        state.SetLabel(digest_label(m.*result));
    });
}

const bool registered = [] {
    add("AXPlusY", &operands::b, [](operands& m) { zolv_AXPlusY(0.3, m.a.data(), m.b.data(), n * n); });
    add("CopyXIntoY", &operands::b,
        [](operands& m) { zolv_CopyXIntoY(m.a.data(), 1, m.b.data(), 1, n * n); });
    add("DotProduct", &operands::y,
        [](operands& m) { m.y[0] = zolv_DotProduct(m.a.data(), m.b.data(), n * n); });
    add("ScaleX", &operands::a, [](operands& m) { zolv_ScaleX(0.7, m.a.data(), n * n); });
    add("SwapXAndY", &operands::a, [](operands& m) { zolv_SwapXAndY(m.a.data(), 1, m.b.data(), 1, n * n); });
    add("IndexToMaxAbsValue", &operands::y,
        [](operands& m) { m.y[0] = static_cast<double>(zolv_IndexToMaxAbsValue(m.a.data(), n * n)); });
    add("IndexToMinAbsValue", &operands::y,
        [](operands& m) { m.y[0] = static_cast<double>(zolv_IndexToMinAbsValue(m.a.data(), n * n)); });
    add("ScaleTranspose", &operands::c,
        [](operands& m) { zolv_ScaleTranspose(1.1, m.a.data(), m.c.data(), n, n, 1); });
    add("ScaleTransposeIP", &operands::a,
        [](operands& m) { zolv_ScaleTransposeIP(1.1, m.a.data(), n, n, 1); });
    add("MatrixVectorProduct", &operands::y,
        [](operands& m) { zolv_MatrixVectorProduct(0.7, m.a.data(), m.x.data(), 0.2, m.y.data(), n, n, 0); });
    add("SymmetricMatVecProduct", &operands::y, [](operands& m) {
        zolv_SymmetricMatVecProduct(0.7, m.packed.data(), m.x.data(), 0.2, m.y.data(), n);
    });
    add("SymmetricMatRankOneUpdate", &operands::packed,
        [](operands& m) { zolv_SymmetricMatRankOneUpdate(m.packed.data(), m.x.data(), 0.9, n); });
    add("TriangularMatVecProduct", &operands::x,
        [](operands& m) { zolv_TriangularMatVecProduct(m.packed.data(), m.x.data(), n, 1, 0); });
    add("SolveTriangularSystem", &operands::x,
        [](operands& m) { zolv_SolveTriangularSystem(m.packed.data(), m.x.data(), n, 1, 0); });
    add("MatrixMatrixProduct", &operands::c, [](operands& m) {
        zolv_MatrixMatrixProduct(0.7, m.a.data(), m.b.data(), 0.0, m.c.data(), n, n, n, 0, 0);
    });
    add("MatMatTriangularProduct", &operands::c, [](operands& m) {
        zolv_MatMatTriangularProduct(0.7, m.a.data(), m.a.data(), 0.0, m.c.data(), n, n, 0, 1, 0);
    });
    add("SymmetricMatMatProduct", &operands::c, [](operands& m) {
        zolv_SymmetricMatMatProduct(0.7, m.a.data(), m.b.data(), 0.0, m.c.data(), n, n, 0, 0);
    });
    add("CholeskyFacUnpack", &operands::positive,
        [](operands& m) { zolv_CholeskyFacUnpack(m.positive.data(), n); });
    add("CholeskyInvUnpack", &operands::positive,
        [](operands& m) { zolv_CholeskyInvUnpack(m.positive.data(), n); });
    add("CholeskyFacPack", &operands::packed, [](operands& m) { zolv_CholeskyFacPack(m.packed.data(), n); });
    add("CholeskyInvPack", &operands::packed, [](operands& m) { zolv_CholeskyInvPack(m.packed.data(), n); });
    add("PackTriangularMat", &operands::packed,
        [](operands& m) { zolv_PackTriangularMat(m.a.data(), m.packed.data(), n); });
    add("UnpackTriangularMat", &operands::c,
        [](operands& m) { zolv_UnpackTriangularMat(m.packed.data(), m.c.data(), n); });
    add("SolveSquareSystem", &operands::positive,
        [](operands& m) { zolv_SolveSquareSystem(m.positive.data(), m.y.data(), n); });
    return true;
}();

}  // namespace
