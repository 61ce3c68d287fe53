// The provider's malloc and free: refused like any other, save the blocks of bookkeeping whose refusal would
// end the process.
#ifndef ZOLV_PROVIDER_MKL

#    include <gtest/gtest.h>

#    include <atomic>
#    include <cstddef>
#    include <cstdint>
#    include <cstring>
#    include <set>
#    include <thread>
#    include <vector>

#    include "support/failing_allocation.hpp"

extern "C" {
void* __wrap_malloc(std::size_t size);
void __wrap_free(void* block);
}

namespace {

constexpr std::size_t bookkeeping = 512 * 1024;
constexpr std::size_t reserved_blocks = 8;

void* refused_malloc(std::size_t size) {
    zolv_test::allocations_left = 0;
    void* const block = __wrap_malloc(size);
    zolv_test::allocations_left = -1;
    return block;
}

TEST(ProviderMemory, IsThatOfOperatorNew) {
    const long before = zolv_test::live_blocks;
    void* const block = __wrap_malloc(1000);
    ASSERT_NE(block, nullptr);
    std::memset(block, 1, 1000);
    EXPECT_EQ(zolv_test::live_blocks, before + 1);
    void* const large = __wrap_malloc(bookkeeping);
    ASSERT_NE(large, nullptr);
    EXPECT_EQ(zolv_test::live_blocks, before + 2);
    __wrap_free(large);
    __wrap_free(block);
    __wrap_free(nullptr);
    EXPECT_EQ(zolv_test::live_blocks, before);
}

TEST(ProviderMemory, AnyOtherSizeIsRefused) {
    for (const std::size_t size : {std::size_t{1}, std::size_t{1000}, bookkeeping - 1, bookkeeping + 1})
        EXPECT_EQ(refused_malloc(size), nullptr) << size;
}

TEST(ProviderMemory, RefusedBookkeepingComesFromTheReserve) {
    const long before = zolv_test::live_blocks;
    std::vector<void*> blocks;
    blocks.reserve(reserved_blocks);
    for (std::size_t i = 0; i < reserved_blocks; ++i) blocks.push_back(refused_malloc(bookkeeping));
    const std::set<void*> different(blocks.begin(), blocks.end());
    EXPECT_EQ(different.size(), reserved_blocks);
    for (void* const block : blocks) {
        ASSERT_NE(block, nullptr);
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(block) % 64, 0u);
        std::memset(block, 1, bookkeeping);
    }
    // One given back is the next one given out.
    __wrap_free(blocks[3]);
    EXPECT_EQ(refused_malloc(bookkeeping), blocks[3]);
    for (void* const block : blocks) __wrap_free(block);
    EXPECT_GE(zolv_test::live_blocks.load(), before);
}

TEST(ProviderMemory, AnEmptyReserveIsWaitedFor) {
    std::vector<void*> blocks;
    blocks.reserve(reserved_blocks);
    for (std::size_t i = 0; i < reserved_blocks; ++i) blocks.push_back(refused_malloc(bookkeeping));
    std::atomic<void*> late{nullptr};
    std::atomic<bool> asking{false};
    std::thread waiting([&] {
        zolv_test::allocations_left = 0;
        asking = true;
        late = __wrap_malloc(bookkeeping);
    });
    while (!asking) std::this_thread::yield();
    for (int i = 0; i < 100; ++i) std::this_thread::yield();
    EXPECT_EQ(late.load(), nullptr);
    __wrap_free(blocks[5]);
    waiting.join();
    zolv_test::allocations_left = -1;
    EXPECT_EQ(late.load(), blocks[5]);
    for (void* const block : blocks) __wrap_free(block);
}

}  // namespace

#endif
