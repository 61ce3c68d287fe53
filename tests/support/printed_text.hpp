// tests/support/printed_text.hpp: catches what is written to the two standard descriptors, by whoever writes.
//
// Not under a sanitizer, whose reports take the same way: nothing is caught there.
#pragma once

#include <fcntl.h>
#include <signal.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <cstdio>
#include <string>

#include "support/sanitizers.hpp"

namespace zolv_test {

// Where a test itself may print at any time.
inline volatile sig_atomic_t own_stderr = STDERR_FILENO;

class printed_text {
public:
    printed_text() {
        if (under_sanitizers) return;
        std::fflush(nullptr);
        file_ = memfd_create("printed", MFD_CLOEXEC);
        // Out of the way of programs that close or count the low ones.
        out_ = fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 100);
        error_ = fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 100);
        if (file_ < 0 || out_ < 0 || error_ < 0) return;
        own_stderr = error_;
        dup2(file_, STDOUT_FILENO);
        dup2(file_, STDERR_FILENO);
    }
    ~printed_text() { stop(); }
    printed_text(const printed_text&) = delete;
    printed_text& operator=(const printed_text&) = delete;

    // Ends the catch: what has been written since it began. A failure of gtest's is among it.
    std::string stop() {
        std::string text;
        if (file_ < 0 || out_ < 0 || error_ < 0) return text;
        std::fflush(nullptr);
        own_stderr = STDERR_FILENO;
        dup2(out_, STDOUT_FILENO);
        dup2(error_, STDERR_FILENO);
        char block[4096];
        lseek(file_, 0, SEEK_SET);
        for (ssize_t n; (n = read(file_, block, sizeof block)) > 0;)
            text.append(block, static_cast<std::size_t>(n));
        for (int* descriptor : {&file_, &out_, &error_}) {
            close(*descriptor);
            *descriptor = -1;
        }
        return text;
    }

private:
    int file_ = -1, out_ = -1, error_ = -1;
};

}  // namespace zolv_test
