// tests/support/threads.hpp: runs a callable under OpenMP teams of 1, 2 and 7 threads.
#pragma once

#include <omp.h>

// The runtime keeps what it allocates for a region inside a caller's region; the leak checker need not say
// so.
extern "C" __attribute__((used, weak, visibility("default"))) const char* __lsan_default_suppressions() {
    return "leak:libomp.so";
}

namespace zolv_test {

inline constexpr int team_sizes[] = {1, 2, 7};

template <class Callable>
void with_threads(int count, Callable&& callable) {
    const int before = omp_get_max_threads();
    omp_set_num_threads(count);
    callable();
    omp_set_num_threads(before);
}

}  // namespace zolv_test
