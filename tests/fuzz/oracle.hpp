// tests/fuzz/oracle.hpp: how a target says that something is wrong, and buffers that notice a stray write.
#pragma once

#include <omp.h>

#include <bit>
#include <cinttypes>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <initializer_list>
#include <vector>

// The runtime keeps what it allocates for a region inside a caller's region; the leak checker need not say
// so.
extern "C" __attribute__((used, weak, visibility("default"))) const char* __lsan_default_suppressions() {
    return "leak:libomp.so";
}

namespace zolv_fuzz {

inline constexpr std::uint64_t missing_bits = 0x7FF8000000000000;
inline constexpr std::uint64_t sign_set_nan_bits = 0xFFF8000000000000;

inline std::uint64_t bits(double x) { return std::bit_cast<std::uint64_t>(x); }
inline bool same_bits(double a, double b) { return bits(a) == bits(b); }
inline bool is_missing(double x) { return bits(x) == missing_bits; }
inline bool is_sign_set_nan(double x) { return bits(x) == sign_set_nan_bits; }
inline bool is_known_nan(double x) { return is_missing(x) || is_sign_set_nan(x); }

// Ends the program with what was expected and the numbers at hand; the fuzzer keeps the input.
[[noreturn]] inline void fail(const char* law, std::initializer_list<double> numbers) {
    std::fprintf(stderr, "broken: %s\n", law);
    for (const double x : numbers) std::fprintf(stderr, "  %.17g (%a, 0x%016" PRIX64 ")\n", x, x, bits(x));
    std::abort();
}

inline void require(bool holds, const char* law, std::initializer_list<double> numbers) {
    if (!holds) fail(law, numbers);
}

// With ZOLV_FUZZ_SHOW set a run tells what its input stands for.
inline void show(const char* what, std::initializer_list<double> parameters,
                 const std::vector<double>& x = {}) {
    static const bool wanted = std::getenv("ZOLV_FUZZ_SHOW") != nullptr;
    if (!wanted) return;
    std::fprintf(stderr, "%s:", what);
    for (const double v : parameters) std::fprintf(stderr, " %.17g", v);
    std::fprintf(stderr, " at");
    for (const double v : x) std::fprintf(stderr, " %.17g", v);
    std::fprintf(stderr, "\n");
}

// [count] doubles for a call to write, with four marked ones on either side.
class guarded {
public:
    explicit guarded(std::size_t count, double fill = -7.25) : values_(count + 2 * margin, fill) {
        for (std::size_t i = 0; i < margin; ++i) values_[i] = values_[values_.size() - 1 - i] = mark;
    }
    guarded(const std::vector<double>& values) : guarded(values.size()) {
        std::copy(values.begin(), values.end(), data());
    }

    double* data() { return values_.data() + margin; }
    const double* data() const { return values_.data() + margin; }
    std::size_t size() const { return values_.size() - 2 * margin; }
    double operator[](std::size_t i) const { return data()[i]; }
    double& operator[](std::size_t i) { return data()[i]; }

    void check(const char* call) const {
        for (std::size_t i = 0; i < margin; ++i) {
            require(same_bits(values_[i], mark) && same_bits(values_[values_.size() - 1 - i], mark), call,
                    {values_[i], values_[values_.size() - 1 - i]});
        }
    }

private:
    static constexpr std::size_t margin = 4;
    static constexpr double mark = -0x1.9a5a5a5a5a5a5p+77;
    std::vector<double> values_;
};

inline void require_same(const guarded& a, const guarded& b, const char* law) {
    require(a.size() == b.size(), law, {double(a.size()), double(b.size())});
    for (std::size_t i = 0; i < a.size(); ++i) require(same_bits(a[i], b[i]), law, {double(i), a[i], b[i]});
}

// A team for the calls of one scope. Most inputs ask for one thread: forming a team for each would be most of
// the time.
class team {
public:
    explicit team(std::uint8_t wish) { omp_set_num_threads(wish < 248 ? 1 : wish < 252 ? 2 : 3); }
    ~team() { omp_set_num_threads(1); }
    team(const team&) = delete;
    team& operator=(const team&) = delete;
};

// Waiting threads sleep at once instead of taking a core from the other program.
inline int initialise() {
    setenv("KMP_BLOCKTIME", "0", 1);
    setenv("OPENBLAS_NUM_THREADS", "1", 1);
    omp_set_num_threads(1);
    return 0;
}

}  // namespace zolv_fuzz

extern "C" __attribute__((used, weak, visibility("default"))) int LLVMFuzzerInitialize(int*, char***) {
    return zolv_fuzz::initialise();
}
