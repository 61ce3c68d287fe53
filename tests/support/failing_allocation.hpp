// tests/support/failing_allocation.hpp: makes the n-th allocation of a call fail, and counts what is alive.
//
// Replaces the program's operator new and delete: include it in one source of a test program only.
#pragma once

#include <atomic>
#include <cstdlib>
#include <new>

namespace zolv_test {

inline std::atomic<long> allocations_left{-1};  // below 0: none fails
inline std::atomic<long> live_blocks{0};

inline bool this_allocation_fails() {
    if (allocations_left.load() < 0) return false;
    return allocations_left.fetch_sub(1) == 0;
}

inline void* counted_allocation(std::size_t size) {
    if (this_allocation_fails()) return nullptr;
    void* const block = std::malloc(size == 0 ? 1 : size);
    if (block != nullptr) ++live_blocks;
    return block;
}

inline void counted_release(void* block) {
    if (block == nullptr) return;
    --live_blocks;
    std::free(block);
}

enum class allocation_outcome { succeeded, failed_with_exception, failed_with_answer };

// Runs the call with its n-th allocation (from 0) failing. `succeeded`: there was no n-th one.
template <class Call>
allocation_outcome with_failing_allocation(long n, const Call& call) {
    allocations_left = n;
    try {
        call();
    } catch (const std::bad_alloc&) {
        allocations_left = -1;
        return allocation_outcome::failed_with_exception;
    }
    const bool fired = allocations_left.load() < 0;
    allocations_left = -1;
    return fired ? allocation_outcome::failed_with_answer : allocation_outcome::succeeded;
}

}  // namespace zolv_test

void* operator new(std::size_t size) {
    if (void* const block = zolv_test::counted_allocation(size)) return block;
    throw std::bad_alloc();
}
void* operator new[](std::size_t size) {
    if (void* const block = zolv_test::counted_allocation(size)) return block;
    throw std::bad_alloc();
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return zolv_test::counted_allocation(size);
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
    return zolv_test::counted_allocation(size);
}
void operator delete(void* block) noexcept { zolv_test::counted_release(block); }
void operator delete[](void* block) noexcept { zolv_test::counted_release(block); }
void operator delete(void* block, std::size_t) noexcept { zolv_test::counted_release(block); }
void operator delete[](void* block, std::size_t) noexcept { zolv_test::counted_release(block); }
void operator delete(void* block, const std::nothrow_t&) noexcept { zolv_test::counted_release(block); }
void operator delete[](void* block, const std::nothrow_t&) noexcept { zolv_test::counted_release(block); }
