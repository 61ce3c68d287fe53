// bench/matrix_product_bench.cpp: zolv_MatrixMatrixProduct against the provider called directly.
//
// The library carries its own copy of the provider; this program links a second one and calls cblas_dgemm in
// it, with the same number of threads. The ratio of a size should lie within 10 % of 1 from 256 upward; below
// that the call itself shows. GFLOP/s is 2 n^3 over the best time.
//   matrix_product_bench                        all processors
//   OPENBLAS_NUM_THREADS=1 matrix_product_bench
#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstring>
#include <vector>

#include "frame/provider.hpp"
#include "zolv.h"

namespace {

struct matrices {
    std::int64_t n;
    std::vector<double> a, b, c;
    explicit matrices(std::int64_t order) : n(order), a(size()), b(size()), c(size()) {
        std::uint64_t state = 1;
        for (std::vector<double>* m : {&a, &b}) {
            for (double& v : *m) {
                state = state * 6364136223846793005u + 1442695040888963407u;
                v = static_cast<double>(state >> 11) * 0x1p-53 - 0.5;
            }
        }
    }
    std::size_t size() const { return static_cast<std::size_t>(n * n); }
    // FNV-1a over the product: a build with other numbers shows at once.
    double digest() const {
        std::uint32_t hash = 0x811C9DC5u;
        const auto* bytes = reinterpret_cast<const unsigned char*>(c.data());
        for (std::size_t i = 0; i < c.size() * sizeof(double); ++i) hash = (hash ^ bytes[i]) * 0x01000193u;
        return hash;
    }
};

double seconds(const auto& call) {
    const auto start = std::chrono::steady_clock::now();
    call();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

void library_product(matrices& m) {
    zolv_MatrixMatrixProduct(1.0, m.a.data(), m.b.data(), 0.0, m.c.data(), m.n, m.n, m.n, 0, 0);
}

void provider_product(matrices& m) {
    cblas_dgemm(CblasRowMajor, CblasNoTrans, CblasNoTrans, m.n, m.n, m.n, 1.0, m.a.data(), m.n, m.b.data(),
                m.n, 0.0, m.c.data(), m.n);
}

void report(benchmark::State& state, const matrices& m, double best) {
    const auto n = static_cast<double>(m.n);
    state.counters["best_ms"] = 1e3 * best;
    state.counters["best_GFLOPs"] = 2e-9 * n * n * n / best;
    state.counters["digest"] = m.digest();
}

template <class Product>
void measure(benchmark::State& state, const Product& product) {
    matrices m(state.range(0));
    double best = 1e300;
    for (auto unused : state) {
        (void)unused;
        best = std::min(best, seconds([&] { product(m); }));
        benchmark::ClobberMemory();
    }
    report(state, m, best);
}

void library(benchmark::State& state) { measure(state, library_product); }
void provider(benchmark::State& state) { measure(state, provider_product); }

// The comparison itself: both in turn, so that a busy machine hits both alike. The figure is the quotient of
// the best times.
void library_over_provider(benchmark::State& state) {
    matrices m(state.range(0));
    double best_library = 1e300, best_provider = 1e300;
    for (auto unused : state) {
        (void)unused;
        best_library = std::min(best_library, seconds([&] { library_product(m); }));
        best_provider = std::min(best_provider, seconds([&] { provider_product(m); }));
        benchmark::ClobberMemory();
    }
    report(state, m, best_library);
    state.counters["ratio"] = best_library / best_provider;
}

// A triangular product of the same operands does half the work; the ratio shows what is left of that.
void library_triangular(benchmark::State& state) {
    measure(state, [](matrices& m) {
        zolv_MatMatTriangularProduct(1.0, m.a.data(), m.a.data(), 0.0, m.c.data(), m.n, m.n, 0, 1, 0);
    });
}

void sizes(benchmark::internal::Benchmark* benchmark) {
    benchmark->Arg(64)
        ->Arg(256)
        ->Arg(512)
        ->Arg(1024)
        ->Arg(1500)
        ->Unit(benchmark::kMillisecond)
        ->UseRealTime();
}

BENCHMARK(library_over_provider)->Apply(sizes)->MinTime(2.0);
BENCHMARK(library)->Apply(sizes);
BENCHMARK(provider)->Apply(sizes);
BENCHMARK(library_triangular)->Apply(sizes);

}  // namespace
