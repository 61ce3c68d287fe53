// tests/surface/distribution_exports.hpp: every distribution export in one table, called by position, and the
// values that no caller should pass but some caller will.
#pragma once

#include <bit>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <vector>

#include "zolv.h"

namespace zolv_test {

inline constexpr int most_arguments = 4;

enum class export_kind { density, tail, quantile };

// Arguments by position: the variate or probability, then the parameters; the number of trials of the
// binomial family travels in a double.
struct distribution_export {
    const char* name;
    export_kind kind;
    int arguments;
    double lowest, highest;  // the range of the function
    double (*scalar)(const double* a, unsigned char upper);
    void (*array)(const double* x, std::uint64_t n, const double* a, unsigned char upper, double* out);
};

inline std::uint32_t trials(double n) { return static_cast<std::uint32_t>(n); }

inline constexpr double no_limit = std::numeric_limits<double>::infinity();

#define ZOLV_TEST_DENSITY(Name, arguments, lowest, highest, ...)                                    \
    {                                                                                               \
#Name "Pdf", export_kind::density, arguments, lowest, highest,                                    \
     [](const double* a, unsigned char) { return zolv_##Name##Pdf(a[0], __VA_ARGS__); },               \
     [](const double* x, std::uint64_t n, const double* a, unsigned char, double* out) {               \
         zolv_Parallel##Name##Pdf(x, n, __VA_ARGS__, out);                                             \
     } \
    }
#define ZOLV_TEST_SCALAR_WITH_TAILS(Name, Form, ...) \
    [](const double* a, unsigned char upper) { return zolv_##Name##Form(a[0], __VA_ARGS__, upper); }
#define ZOLV_TEST_WITH_TAILS(Name, Form, kind, arguments, lowest, highest, ...)           \
    {                                                                                     \
#        Name #        Form, export_kind::kind, arguments, lowest, highest,               \
            ZOLV_TEST_SCALAR_WITH_TAILS(Name, Form, __VA_ARGS__),                         \
            [](const double* x, std::uint64_t n, const double* a, unsigned char upper,    \
               double* out) { zolv_Parallel##Name##Form(x, n, __VA_ARGS__, upper, out); } \
    }

// clang-format off
inline const distribution_export distribution_exports[] = {
    ZOLV_TEST_DENSITY(Normal, 3, 0.0, 0.3989422804014327, a[1], a[2]),
    ZOLV_TEST_WITH_TAILS(Normal, Cdf, tail, 3, 0.0, 1.0, a[1], a[2]),
    ZOLV_TEST_WITH_TAILS(Normal, InvCdf, quantile, 3, -no_limit, no_limit, a[1], a[2]),
    ZOLV_TEST_DENSITY(T, 3, 0.0, no_limit, a[1], a[2]),
    ZOLV_TEST_WITH_TAILS(T, Cdf, tail, 3, 0.0, 1.0, a[1], a[2]),
    ZOLV_TEST_WITH_TAILS(T, InvCdf, quantile, 3, -no_limit, no_limit, a[1], a[2]),
    ZOLV_TEST_DENSITY(ChiSq, 3, 0.0, no_limit, a[1], a[2]),
    ZOLV_TEST_WITH_TAILS(ChiSq, Cdf, tail, 3, 0.0, 1.0, a[1], a[2]),
    {"ChiSqInvCdf", export_kind::quantile, 3, 0.0, no_limit,
     ZOLV_TEST_SCALAR_WITH_TAILS(ChiSq, InvCdf, a[1], a[2]), nullptr},
    ZOLV_TEST_DENSITY(Beta, 3, 0.0, no_limit, a[1], a[2]),
    ZOLV_TEST_WITH_TAILS(Beta, Cdf, tail, 3, 0.0, 1.0, a[1], a[2]),
    ZOLV_TEST_WITH_TAILS(Beta, InvCdf, quantile, 3, 0.0, 1.0, a[1], a[2]),
    ZOLV_TEST_DENSITY(F, 4, 0.0, no_limit, a[1], a[2], a[3]),
    ZOLV_TEST_WITH_TAILS(F, Cdf, tail, 4, 0.0, 1.0, a[1], a[2], a[3]),
    ZOLV_TEST_WITH_TAILS(F, InvCdf, quantile, 4, 0.0, no_limit, a[1], a[2], a[3]),
    ZOLV_TEST_DENSITY(Binomial, 3, 0.0, 1.0, trials(a[1]), a[2]),
    ZOLV_TEST_WITH_TAILS(Binomial, Cdf, tail, 3, 0.0, 1.0, trials(a[1]), a[2]),
    ZOLV_TEST_WITH_TAILS(Binomial, InvCdf, quantile, 3, 0.0, 4294967296.0, trials(a[1]), a[2]),
};

// Both NaNs and one with a payload, infinities, zeros, denormals, the ends of the range of a double, 1 and its
// neighbours, and the whole numbers where 32-bit integers, single steps and squares end.
inline const double hostile_values[] = {
    std::bit_cast<double>(std::uint64_t{0x7FF8000000000000}),
    std::bit_cast<double>(std::uint64_t{0xFFF8000000000000}),
    std::bit_cast<double>(std::uint64_t{0x7FF8000000000123}),
    no_limit, -no_limit, 0.0, -0.0, 5e-324, -5e-324, 1e-310, 2.225073858507201e-308, 2.2250738585072014e-308, 1e-300,
    1e-160, 1e-16, 0.5, 0x1.fffffffffffffp-1, 1.0, 0x1.0000000000001p+0, 2.0, 1e4, 2147483648.0, 4294967296.0,
    9007199254740992.0, 9007199254740994.0, 1e160, 1e300, 1.7976931348623157e308, -1.7976931348623157e308, -1.0,
    -0.5};

inline const double hostile_trials[] = {0.0, 1.0, 2.0, 3.0, 4.0, 5.0, 9.0, 10.0, 37.0, 99.0, 100.0, 1000.0, 22500.0,
    39999.0, 40000.0, 40001.0, 65535.0, 65536.0, 1e6, 2147483647.0, 2147483648.0, 2147483649.0, 4294967294.0,
    4294967295.0};
// clang-format on

inline char family(const distribution_export& of) { return of.name[0]; }  // N, T, C, F; B: see below
inline bool is_binomial(const distribution_export& of) { return of.name[0] == 'B' && of.name[1] == 'i'; }
inline bool has_tails(const distribution_export& of) { return of.kind != export_kind::density; }

// A noncentrality whose sums may take from tens of milliseconds to seconds: quantiles of t ask for a hundred
// tails of 1e5 terms each; tails of chi-square and F have up to 750000 terms each way, and those of F with
// large shapes are long below, too; densities reach out some 20 sqrt(nc). Beyond 2^53 tails end at once.
inline bool is_long_sum(const distribution_export& of, const double* a) {
    const double nc = a[of.arguments - 1];
    switch (is_binomial(of) ? 'B' : family(of)) {
        case 'T':
            return of.kind == export_kind::quantile && std::fabs(nc) > 100.0 && std::fabs(nc) < 1e9;
        case 'C':
        case 'F':
            if (of.kind == export_kind::density) return nc > 1e15 && nc < 1.8e16;
            return nc > (family(of) == 'C' ? 1e9 : of.kind == export_kind::tail ? 0.1 : 1e-200) && nc < 1e15;
        default:
            return false;
    }
}

inline std::vector<double> hostile_argument(const distribution_export& of, int position) {
    if (is_binomial(of) && position == 1) return {std::begin(hostile_trials), std::end(hostile_trials)};
    return {std::begin(hostile_values), std::end(hostile_values)};
}

}  // namespace zolv_test
