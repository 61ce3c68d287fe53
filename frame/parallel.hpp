// frame/parallel.hpp: the one parallel region of the array forms.
//
// Static schedule, no chunk: one contiguous block of indices per thread. Each element depends on its own
// input alone and is written at its own index, so the team's size cannot change a result. There is no size
// threshold and no thread count is asked for: whether to fork is the OpenMP runtime's decision.
#pragma once

#include <atomic>
#include <cstdint>
#include <exception>

#include "frame/nan.hpp"

// LLVM's OpenMP runtime, which both compilers' regions run on; its header would be the compiler's own.
extern "C" void kmp_set_warnings_off(void);

namespace dru::impl {

// Calls body(0) ... body(n - 1). An exception may not leave a region: the first one caught is thrown again on
// the caller's thread after the last element, so that a failed allocation reaches the caller like any other.
template <class Body>
void parallel_for(std::uint64_t n, const Body& body) {
    kmp_set_warnings_off();  // "Cannot form a team with ..." and the like; the smaller team does the work
    std::atomic<bool> failed{false};
    std::exception_ptr failure;
#pragma omp parallel for schedule(static)
    for (std::uint64_t i = 0; i < n; ++i) {
        try {
            body(i);
        } catch (...) {
            if (!failed.exchange(true)) failure = std::current_exception();
        }
    }
    if (failed) std::rethrow_exception(failure);
}

// Calls body(first, count) for consecutive blocks of the indices 0 to n - 1: for elements that are worked out
// faster several at a time.
template <class Body>
void parallel_blocks(std::uint64_t n, const Body& body) {
    constexpr std::uint64_t block = 64;
    parallel_for(n / block + (n % block != 0 ? 1 : 0), [&](std::uint64_t b) {
        const std::uint64_t first = b * block;
        body(first, n - first < block ? n - first : block);
    });
}

// What a failed parameter check writes; no team is started for it.
inline void fill_missing(double* out, std::uint64_t n) {
    for (std::uint64_t i = 0; i < n; ++i) out[i] = missing_value;
}

}  // namespace dru::impl
