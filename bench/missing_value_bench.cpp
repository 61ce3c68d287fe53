// bench/missing_value_bench.cpp: the classification of doubles, nanoseconds per element, with the digest of
// the answers.
#include <cstddef>
#include <limits>
#include <string>

#include "support/answers.hpp"
#include "zolv.h"

namespace {

using namespace zolv_bench;

const bool registered = [] {
    generator random;
    list x(1024);
    for (std::size_t i = 0; i < x.size(); ++i) {
        x[i] = i % 8 == 0 ? zolv_GetMissingValue() : random.fraction();
        if (i % 16 == 1) x[i] = std::numeric_limits<double>::infinity();
    }
    const auto add = [&](const char* name, const answer& call) {
        benchmark::RegisterBenchmark(name, [=](benchmark::State& state) {
            list out(x.size());
            for (auto unused : state) {
                (void)unused;
                call(x.data(), x.size(), out.data());
                benchmark::ClobberMemory();
            }
            using benchmark::Counter;
            state.counters["element"] =
                Counter(static_cast<double>(x.size()), Counter::kIsIterationInvariantRate | Counter::kInvert);
            state.SetLabel(digest_label(out));
        });
    };
    add("GetMissingValue", loop([](double) { return zolv_GetMissingValue(); }));
    add("IsMissingValue", loop(zolv_IsMissingValue));
    add("IsNaN", loop(zolv_IsNaN));
    add("IsInfinity", loop(zolv_IsInfinity));
    add("IsPlusInfinity", loop(zolv_IsPlusInfinity));
    add("IsMinusInfinity", loop(zolv_IsMinusInfinity));
    return true;
}();

}  // namespace
