// frame/own_stack.hpp: work that needs more stack than the calling thread may have.
//
// Hosts call from threads of all kinds, some with 128 KiB of stack. What needs more is run, where it does not
// fit, on a thread made for the call: same arithmetic, same bits, some 50 microseconds later.
#pragma once

#include <pthread.h>
#include <signal.h>

#include <cstddef>
#include <cstdint>

namespace zolv::provider {

// Whether so many more bytes fit the calling thread's stack. Its bounds are asked for once in a thread; a
// stack that is not the thread's own (a fiber's, a signal handler's) counts as too small.
inline bool stack_holds(std::size_t bytes) {
    thread_local std::uintptr_t low = 0, high = 0;
    if (high == 0) {
        pthread_attr_t attributes;
        if (pthread_getattr_np(pthread_self(), &attributes) != 0) return false;
        void* address = nullptr;
        std::size_t size = 0;
        if (pthread_attr_getstack(&attributes, &address, &size) == 0) {
            low = reinterpret_cast<std::uintptr_t>(address);
            high = low + size;
        }
        pthread_attr_destroy(&attributes);
    }
    const auto here = reinterpret_cast<std::uintptr_t>(__builtin_frame_address(0));
    return here >= low && here < high && here - low >= bytes;
}

// Calls body, which must not throw, with at least so many bytes of stack. False: no thread could be made,
// and body was not called.
template <class Body>
bool run_with_stack(std::size_t bytes, const Body& body) {
    if (stack_holds(bytes)) {
        body();
        return true;
    }
    constexpr std::size_t for_the_thread_itself = 512 * 1024;  // its thread-local storage lies in it too
    const Body* argument = &body;
    const auto run = [](void* address) -> void* {
        (**static_cast<const Body**>(address))();
        return nullptr;
    };
    pthread_attr_t attributes;
    if (pthread_attr_init(&attributes) != 0) return false;
    pthread_t thread;
    sigset_t all, before;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before);  // the host's signals are not for this thread
    const bool started = pthread_attr_setstacksize(&attributes, bytes + for_the_thread_itself) == 0 &&
                         pthread_create(&thread, &attributes, run, &argument) == 0;
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    pthread_attr_destroy(&attributes);
    return started && pthread_join(thread, nullptr) == 0;
}

}  // namespace zolv::provider
