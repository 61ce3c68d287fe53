// Work that needs more stack than a thread has: where it runs, and that a solve has the same bits there.
#include "frame/own_stack.hpp"

#include <cfenv>
#include <cstring>
#include <functional>
#include <vector>

#include "support/bits.hpp"
#include "zolv.h"

namespace {

using zolv::provider::run_with_stack;
using zolv::provider::stack_holds;

constexpr std::size_t kib = 1024;

void on_thread(std::size_t stack, std::function<void()> body) {
    pthread_attr_t attributes;
    pthread_t thread;
    ASSERT_EQ(pthread_attr_init(&attributes), 0);
    ASSERT_EQ(pthread_attr_setstacksize(&attributes, stack), 0);
    const auto run = [](void* argument) -> void* {
        (*static_cast<std::function<void()>*>(argument))();
        return nullptr;
    };
    ASSERT_EQ(pthread_create(&thread, &attributes, run, &body), 0);
    pthread_join(thread, nullptr);
    pthread_attr_destroy(&attributes);
}

TEST(OwnStack, TellsWhatFits) {
    on_thread(1024 * kib, [] {
        EXPECT_TRUE(stack_holds(256 * kib));
        EXPECT_FALSE(stack_holds(1024 * kib));
        EXPECT_FALSE(stack_holds(4096 * kib));
    });
    on_thread(8192 * kib, [] { EXPECT_TRUE(stack_holds(4096 * kib)); });
}

TEST(OwnStack, RunsOnAnotherThreadOnlyWhereItMust) {
    on_thread(1024 * kib, [] {
        const pthread_t caller = pthread_self();
        bool here = false;
        const auto body = [&] { here = pthread_equal(caller, pthread_self()) != 0; };
        EXPECT_TRUE(run_with_stack(64 * kib, body));
        EXPECT_TRUE(here);
        EXPECT_TRUE(run_with_stack(2048 * kib, body));
        EXPECT_FALSE(here);
    });
}

// Not inlined: the room is to be taken when this is called, not when its caller is.
[[gnu::noinline]] double fill_room() {
    volatile char room[4096 * kib];
    for (std::size_t i = 0; i < sizeof room; i += kib) room[i] = 1;
    return room[4095 * kib];
}

TEST(OwnStack, TheOtherThreadHasTheRoomAndTheRoundingOfTheCaller) {
    on_thread(256 * kib, [] {
        std::fesetround(FE_UPWARD);
        int rounding = FE_TONEAREST;
        double last = 0.0;
        const auto body = [&] {
            last = fill_room();
            rounding = std::fegetround();
        };
        EXPECT_TRUE(run_with_stack(4096 * kib + 64 * kib, body));
        EXPECT_EQ(rounding, FE_UPWARD);
        EXPECT_EQ(last, 1.0);
        EXPECT_EQ(std::fegetround(), FE_UPWARD);
    });
}

TEST(OwnStack, NoThreadIsAFailureAndNothingRuns) {
    bool called = false;
    const auto body = [&] { called = true; };
    EXPECT_FALSE(run_with_stack(std::size_t{1} << 56, body));  // more than there is of addresses
    EXPECT_FALSE(called);
}

// Orders with one, some and all of the factorisation's nested frames.
TEST(OwnStack, ASolveHasTheSameBitsOnAnyStack) {
    for (const int64_t n : {1, 4, 60, 300}) {
        std::vector<double> matrix(n * n), side(n, 1.0);
        for (int64_t i = 0; i < n * n; ++i) matrix[i] = static_cast<double>(i * i % 101) / 7.0;
        for (int64_t i = 0; i < n; ++i) matrix[i * n + i] += 50.0;
        std::vector<double> solutions[2];
        const std::size_t stacks[] = {16384 * kib, 192 * kib};
        for (int k = 0; k < 2; ++k) {
            on_thread(stacks[k], [&] {
                std::vector<double> a = matrix, b = side;
                EXPECT_EQ(zolv_SolveSquareSystem(a.data(), b.data(), n), 0);
                solutions[k] = b;
            });
        }
        EXPECT_EQ(std::memcmp(solutions[0].data(), solutions[1].data(), n * sizeof(double)), 0)
            << "n = " << n;
    }
}

}  // namespace
