// frame/provider_memory.cpp: memory for the provider that does not run out.
//
// Each of its threaded products asks malloc for a block of bookkeeping, always of one size, while it holds a
// lock; refused, it ends the process. The shared library is linked with --wrap for malloc and free, so that
// the static provider's references lead here: a block of that size that cannot be had comes from a reserve.
// Everything else, LAPACKE's scratch memory for one, is refused like any other, and the calls say so.
#ifndef ZOLV_PROVIDER_MKL

#    include <sched.h>

#    include <atomic>
#    include <cstddef>
#    include <new>

namespace {

constexpr std::size_t bookkeeping = 512 * 1024;
constexpr int blocks =
    8;  // products of different kinds at once; no page of it is touched before it is needed

alignas(64) unsigned char reserve[blocks][bookkeeping];
std::atomic<bool> taken[blocks];

void* reserved() {
    // Whoever holds one is in the middle of a product and gives it back.
    for (;; sched_yield()) {
        for (int i = 0; i < blocks; ++i) {
            if (!taken[i].exchange(true)) return reserve[i];
        }
    }
}

}  // namespace

extern "C" {

void* __wrap_malloc(std::size_t size);
void __wrap_free(void* block);

void* __wrap_malloc(std::size_t size) {
    void* const block = ::operator new(size, std::nothrow);
    return block == nullptr && size == bookkeeping ? reserved() : block;
}

void __wrap_free(void* block) {
    for (int i = 0; i < blocks; ++i) {
        if (block == reserve[i]) {
            taken[i] = false;
            return;
        }
    }
    ::operator delete(block);
}
}

#endif
