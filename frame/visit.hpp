// frame/visit.hpp: how many threads may be inside the provider at once.
//
// It has 256 buffers. From then on it makes more as it goes, and spoils the heap: with 256 threads of a host
// in cblas_dsymm a process crashed every other time. Below the limit nobody waits for a turn.
#pragma once

#include <atomic>

namespace zolv::provider {

class visit {
public:
    visit() {
        int now = inside.load();
        for (;;) {
            if (now >= most) {
                inside.wait(now);
                now = inside.load();
            } else if (inside.compare_exchange_weak(now, now + 1)) {
                return;
            }
        }
    }
    ~visit() {
        inside.fetch_sub(1);
        inside.notify_one();
    }
    visit(const visit&) = delete;
    visit& operator=(const visit&) = delete;

private:
    static constexpr int most = 64;  // a visit may take several buffers
    inline static std::atomic<int> inside{0};
};

}  // namespace zolv::provider
