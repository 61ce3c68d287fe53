// What becomes of work that needs a thread of its own when the thread cannot be had, or the bounds of the
// calling one cannot be told: the thread library's calls fail here one by one.
//
// Not under a sanitizer, which has these calls itself.
#include <gtest/gtest.h>

#include "support/sanitizers.hpp"

#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
#    if defined(__has_feature)
#        if !__has_feature(address_sanitizer) && !__has_feature(thread_sanitizer)
#            define ZOLV_TEST_THREAD_CALLS_FAIL
#        endif
#    else
#        define ZOLV_TEST_THREAD_CALLS_FAIL
#    endif
#endif

#ifdef ZOLV_TEST_THREAD_CALLS_FAIL

#    include <dlfcn.h>
#    include <pthread.h>

#    include <cerrno>
#    include <cstdint>
#    include <limits>
#    include <new>
#    include <thread>
#    include <vector>

#    include "frame/own_stack.hpp"
#    include "frame/provider.hpp"
#    include "frame/solve.hpp"
#    include "model_search/arma_likelihood.hpp"
#    include "zolv.h"

namespace {

// Which call fails, on the thread that says so.
enum class failing { nothing, getattr, getstack, init, create, join };
thread_local failing fails = failing::nothing;
thread_local bool elsewhere = false;  // the bounds told are those of some other stack

template <class Call>
Call* the_real(const char* name) {
    return reinterpret_cast<Call*>(dlsym(RTLD_NEXT, name));
}

}  // namespace

extern "C" {
int pthread_getattr_np(pthread_t thread, pthread_attr_t* attributes) noexcept {
    if (fails == failing::getattr) return ENOMEM;
    return the_real<int(pthread_t, pthread_attr_t*)>("pthread_getattr_np")(thread, attributes);
}
int pthread_attr_getstack(const pthread_attr_t* attributes, void** address, std::size_t* size) noexcept {
    if (fails == failing::getstack) return EINVAL;
    const int result = the_real<int(const pthread_attr_t*, void**, std::size_t*)>("pthread_attr_getstack")(
        attributes, address, size);
    if (elsewhere) *size = 1;  // far below
    return result;
}
int pthread_attr_init(pthread_attr_t* attributes) noexcept {
    if (fails == failing::init) return ENOMEM;
    return the_real<int(pthread_attr_t*)>("pthread_attr_init")(attributes);
}
int pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*run)(void*),
                   void* argument) noexcept {
    if (fails == failing::create) return EAGAIN;
    return the_real<int(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*)>("pthread_create")(
        thread, attributes, run, argument);
}
int pthread_join(pthread_t thread, void** answer) {
    const int result = the_real<int(pthread_t, void**)>("pthread_join")(thread, answer);
    return fails == failing::join ? EINVAL : result;
}
}

namespace {

using zolv::provider::run_with_stack;
using zolv::provider::stack_holds;

constexpr std::size_t mib = 1024 * 1024;

// Bounds are asked for once in a thread: each case is a thread of its own.
template <class Body>
void on_new_thread(const Body& body) {
    std::thread(body).join();
}

TEST(OwnStackFailures, BoundsThatCannotBeToldHoldNothing) {
    for (const failing call : {failing::getattr, failing::getstack}) {
        on_new_thread([call] {
            fails = call;
            EXPECT_FALSE(stack_holds(1));
            fails = failing::nothing;
            EXPECT_TRUE(stack_holds(1));  // asked again
        });
    }
    on_new_thread([] {
        elsewhere = true;
        EXPECT_FALSE(stack_holds(1));
    });
}

TEST(OwnStackFailures, NothingRunsWithoutAThread) {
    for (const failing call : {failing::init, failing::create}) {
        on_new_thread([call] {
            bool ran = false;
            const auto body = [&ran] { ran = true; };
            fails = call;
            EXPECT_FALSE(run_with_stack(64 * mib, body));
            EXPECT_FALSE(ran);
            EXPECT_TRUE(run_with_stack(1024, body));  // here it fits
            EXPECT_TRUE(ran);
        });
    }
    // A size that wraps around is none that a thread may have.
    bool ran = false;
    EXPECT_FALSE(
        run_with_stack(std::numeric_limits<std::size_t>::max() - 512 * 1024 + 1, [&ran] { ran = true; }));
    EXPECT_FALSE(ran);
}

TEST(OwnStackFailures, AThreadThatCannotBeWaitedForIsAFailure) {
    on_new_thread([] {
        fails = failing::join;
        EXPECT_FALSE(run_with_stack(64 * mib, [] {}));
    });
}

TEST(OwnStackFailures, ASolveAndALikelihoodSayThatMemoryIsLacking) {
    on_new_thread([] {
        fails = failing::getattr;  // whatever there is of stack does not count
        double a[4] = {2.0, 1.0, 1.0, 3.0}, b[2] = {1.0, 2.0};
        using zolv::provider::solve_outcome;
        EXPECT_EQ(zolv::provider::SolveSquareSystem(a, b, 2), solve_outcome::solved);  // on another thread
        EXPECT_NEAR(b[0], 0.2, 1e-15);
        EXPECT_NEAR(b[1], 0.6, 1e-15);
    });
    on_new_thread([] {
        elsewhere = true;
        fails = failing::create;
        double a[4] = {2.0, 1.0, 1.0, 3.0}, b[2] = {1.0, 2.0};
        using zolv::provider::solve_outcome;
        EXPECT_EQ(zolv::provider::SolveSquareSystem(a, b, 2), solve_outcome::no_memory);
        EXPECT_EQ(zolv_SolveSquareSystem(a, b, 2), 30000);
        EXPECT_EQ(a[0], 2.0);
        EXPECT_EQ(b[0], 1.0);
        EXPECT_THROW(zolv::time_series::ArmaAutocovariance({0.5}, {}, 3), std::bad_alloc);
        elsewhere = false;
    });
}

// LAPACKE's copy of a matrix of 128 TiB cannot be had, whatever the machine. It looks for NaNs first, and is
// told not to.
TEST(OwnStackFailures, ScratchMemoryThatCannotBeHad) {
#    ifndef ZOLV_PROVIDER_MKL
    LAPACKE_set_nancheck(0);
    double a[1] = {2.0}, b[1] = {1.0};
    EXPECT_EQ(zolv::provider::SolveSquareSystem(a, b, std::int64_t{1} << 22),
              zolv::provider::solve_outcome::no_memory);
    LAPACKE_set_nancheck(1);
    EXPECT_EQ(a[0], 2.0);
    EXPECT_EQ(b[0], 1.0);
#    endif
}

}  // namespace

#else

TEST(OwnStackFailures, NotUnderASanitizer) { GTEST_SKIP(); }

#endif
