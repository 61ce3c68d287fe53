// bench/support/answers.hpp: a row of Google Benchmark for one library's answers to one question.
#pragma once

#include <benchmark/benchmark.h>

#include <cmath>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "support/questions.hpp"

namespace zolv_bench {

// Fills out[] with the answers to x[]; called over and over.
using answer = std::function<void(const double* x, std::size_t n, double* out)>;

// The row's name is question/library; `element` is the processor time (for teams the elapsed time) per
// element. The label holds the digest of the output, or what `describe` makes of it.
inline void add_row(const question& q, const std::string& library, const answer& call, bool elapsed = false,
                    const std::function<std::string(const list&)>& describe = digest_label) {
    auto* const row = benchmark::RegisterBenchmark(
        (q.name() + "/" + library).c_str(), [q, call, describe](benchmark::State& state) {
            list out(q.x.size());
            for (auto unused : state) {
                (void)unused;
                call(q.x.data(), q.x.size(), out.data());
                benchmark::ClobberMemory();
            }
            using benchmark::Counter;
            state.counters["element"] = Counter(static_cast<double>(q.x.size()),
                                                Counter::kIsIterationInvariantRate | Counter::kInvert);
            state.SetLabel(describe(out));
        });
    if (elapsed) row->UseRealTime();
}

// A loop over a callable that the compiler can inline.
template <class Scalar>
answer loop(Scalar scalar) {
    return [scalar](const double* x, std::size_t n, double* out) {
        for (std::size_t i = 0; i < n; ++i) out[i] = scalar(x[i]);
    };
}

}  // namespace zolv_bench
