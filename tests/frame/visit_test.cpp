// At most 64 threads inside the provider at once; the next one waits until one leaves.
#include "frame/visit.hpp"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <thread>
#include <vector>

#include "support/sanitizers.hpp"

namespace {

using zolv::provider::visit;

constexpr int most = 64;

TEST(Visit, TheNextOneWaitsUntilOneLeaves) {
    std::vector<std::unique_ptr<visit>> inside;
    for (int i = 0; i < most; ++i) inside.push_back(std::make_unique<visit>());  // none of them waits
    std::atomic<int> late{0};
    std::vector<std::thread> threads;
    for (int i = 0; i < 3; ++i) {
        threads.emplace_back([&late] {
            const visit here;
            ++late;
        });
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(50));  // they may come to their wait
    EXPECT_EQ(late, 0);
    inside.pop_back();  // each that leaves lets the next one in
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(late, 3);
    inside.clear();
}

TEST(Visit, NoTurnIsLostBetweenThreads) {
    constexpr int threads_at_once = 100, visits = zolv_test::under_sanitizers ? 100 : 2000;
    std::atomic<int> now{0}, highest{0};
    std::vector<std::thread> threads;
    for (int i = 0; i < threads_at_once; ++i) {
        threads.emplace_back([&] {
            for (int n = 0; n < visits; ++n) {
                const visit here;
                const int inside = ++now;
                int seen = highest;
                while (inside > seen && !highest.compare_exchange_weak(seen, inside)) {}
                --now;
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(now, 0);
    EXPECT_LE(highest, most);
    // All turns are back: nobody waits.
    std::vector<std::unique_ptr<visit>> inside;
    for (int i = 0; i < most; ++i) inside.push_back(std::make_unique<visit>());
}

}  // namespace
