// tests/support/watchdog.hpp: ends a test program in which one call never comes back.
//
// It is no timing: the limit is a hundred times what the slowest call takes, and processor time, so that a
// busy machine does not matter. The call at hand is printed.
#pragma once

#include <signal.h>
#include <sys/time.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>

#include "support/printed_text.hpp"

namespace zolv_test {

class watchdog {
public:
    explicit watchdog(int seconds_per_call) {
        ticks_allowed = seconds_per_call / tick_seconds + 1;
        calls = 0;
        signal(SIGVTALRM, tick);
        itimerval interval{};
        interval.it_value.tv_sec = interval.it_interval.tv_sec = tick_seconds;
        setitimer(ITIMER_VIRTUAL, &interval, nullptr);
    }
    ~watchdog() {
        const itimerval off{};
        setitimer(ITIMER_VIRTUAL, &off, nullptr);
        signal(SIGVTALRM, SIG_DFL);
    }
    watchdog(const watchdog&) = delete;
    watchdog& operator=(const watchdog&) = delete;

    // To be called before each call that is watched. The arguments are kept to be printed.
    static void watch(const char* name, double a = 0.0, double b = 0.0, double c = 0.0, double d = 0.0,
                      int flag = 0) {
        at_hand = {name, {a, b, c, d}, flag};
        calls.store(calls.load(std::memory_order_relaxed) + 1, std::memory_order_relaxed);
    }

private:
    struct description {
        const char* name;
        double a[4];
        int flag;
    };
    static constexpr int tick_seconds = 10;
    inline static volatile sig_atomic_t ticks_allowed = 0, ticks = 0;
    inline static std::atomic<long> calls{0}, seen{-1};
    inline static description at_hand{};

    static void tick(int) {
        if (seen.exchange(calls.load()) != calls.load()) {
            ticks = 0;
            return;
        }
        ticks = ticks + 1;
        if (ticks < ticks_allowed) return;
        char text[256];
        const int length =
            std::snprintf(text, sizeof text, "no answer: %s (%.17g, %.17g, %.17g, %.17g; %d)\n", at_hand.name,
                          at_hand.a[0], at_hand.a[1], at_hand.a[2], at_hand.a[3], at_hand.flag);
        [[maybe_unused]] const ssize_t ignored = write(own_stderr, text, static_cast<std::size_t>(length));
        _exit(3);
    }
};

}  // namespace zolv_test
