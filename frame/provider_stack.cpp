// frame/provider_stack.cpp: a solve on a thread with a small stack.
//
// The provider's threaded LU factorisation keeps 528 KiB of bookkeeping on the caller's stack, whatever the
// size of the matrix: a host thread of 512 KiB or less would crash on a system of two equations. All else
// that the library calls stays below 32 KiB. The shared library is linked with --wrap=dgetrf_parallel, so the
// provider's call arrives here; where the stack is too small, the factorisation runs on a thread made for it,
// and the result has the same bits as everywhere else.
#ifndef ZOLV_PROVIDER_MKL

#    include <pthread.h>

#    include <cstddef>
#    include <cstdint>

#    include "frame/provider.hpp"

extern "C" {
// Arguments of the provider's internal interface; only handed on.
using lu_routine = blasint(void* task, std::int64_t* rows, std::int64_t* columns, double* buffer_a,
                           double* buffer_b, std::int64_t position);
lu_routine __real_dgetrf_parallel;
lu_routine __wrap_dgetrf_parallel;
lu_routine dgetrf_single;
}

namespace {

constexpr std::size_t stack_needed = 768 * 1024;

// Whether the calling thread's stack holds so many more bytes. The bounds are asked for once in a thread; a
// stack that is not the thread's own (a fiber's, a signal handler's) counts as too small.
bool stack_holds(std::size_t bytes) {
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

struct lu_call {
    void* task;
    std::int64_t *rows, *columns;
    double *buffer_a, *buffer_b;
    std::int64_t position;
    blasint info;
};

void* run(void* argument) {
    auto& call = *static_cast<lu_call*>(argument);
    call.info = __real_dgetrf_parallel(call.task, call.rows, call.columns, call.buffer_a, call.buffer_b,
                                       call.position);
    return nullptr;
}

bool run_on_own_thread(lu_call& call) {
    pthread_attr_t attributes;
    pthread_t thread;
    if (pthread_attr_init(&attributes) != 0) return false;
    const bool started = pthread_attr_setstacksize(&attributes, 2 * stack_needed) == 0 &&
                         pthread_create(&thread, &attributes, run, &call) == 0;
    pthread_attr_destroy(&attributes);
    return started && pthread_join(thread, nullptr) == 0;
}

}  // namespace

extern "C" blasint __wrap_dgetrf_parallel(void* task, std::int64_t* rows, std::int64_t* columns,
                                          double* buffer_a, double* buffer_b, std::int64_t position) {
    lu_call call{task, rows, columns, buffer_a, buffer_b, position, 0};
    if (stack_holds(stack_needed)) {
        run(&call);
    } else if (!run_on_own_thread(call)) {  // no thread to be had: the unthreaded form needs little stack
        call.info = dgetrf_single(task, rows, columns, buffer_a, buffer_b, position);
    }
    return call.info;
}

#endif
