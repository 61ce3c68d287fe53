// bench/support/questions.hpp: what is asked of every library: families, regimes, and arguments drawn from
// the distributions themselves.
//
// Body: the distribution at probabilities from 0.01 to 0.99. Tails: 2^-k with k from 10 to 60, asked for as
// the lower tail below the median and as the upper one above it. The noncentral sums get fewer arguments,
// since each is a sum of hundreds of terms.
#pragma once

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include "zolv.h"

namespace zolv_bench {

using list = std::vector<double>;

enum class family { normal, t, chi_square, beta, f, binomial };
enum class function { pdf, cdf, quantile };

// The parameters in the order of the exports, the noncentrality included; normal: mean and sd.
struct regime {
    family of;
    const char* label;
    double q[3];
    bool noncentral;
};

inline const regime regimes[] = {
    {family::normal, "normal", {0, 1, 0}, false},
    {family::t, "t df 5", {5, 0, 0}, false},
    {family::t, "t df 2.5", {2.5, 0, 0}, false},
    {family::t, "t df 1000", {1000, 0, 0}, false},
    {family::t, "t df 1e5", {1e5, 0, 0}, false},
    {family::t, "t df 5 nc 0.5", {5, 0.5, 0}, true},
    {family::t, "t df 5 nc 2", {5, 2, 0}, true},
    {family::t, "t df 5 nc 20", {5, 20, 0}, true},
    {family::t, "t df 2.5 nc 2", {2.5, 2, 0}, true},
    {family::t, "t df 1000 nc 2", {1000, 2, 0}, true},
    {family::chi_square, "chi-square df 3", {3, 0, 0}, false},
    {family::chi_square, "chi-square df 50", {50, 0, 0}, false},
    {family::chi_square, "chi-square df 1e5", {1e5, 0, 0}, false},
    {family::chi_square, "chi-square df 3 nc 10", {3, 10, 0}, true},
    {family::chi_square, "chi-square df 50 nc 10", {50, 10, 0}, true},
    {family::chi_square, "chi-square df 3 nc 1000", {3, 1000, 0}, true},
    {family::chi_square, "chi-square df 50 nc 1000", {50, 1000, 0}, true},
    {family::beta, "beta 0.5 0.5", {0.5, 0.5, 0}, false},
    {family::beta, "beta 2 3", {2, 3, 0}, false},
    {family::beta, "beta 50 80", {50, 80, 0}, false},
    {family::beta, "beta 3e4 5e4", {3e4, 5e4, 0}, false},
    {family::f, "F 3 10", {3, 10, 0}, false},
    {family::f, "F 20 50", {20, 50, 0}, false},
    {family::f, "F 300 700", {300, 700, 0}, false},
    {family::f, "F 3 10 nc 5", {3, 10, 5}, true},
    {family::f, "F 3 10 nc 30", {3, 10, 30}, true},
    {family::f, "F 20 50 nc 5", {20, 50, 5}, true},
    {family::f, "F 300 700 nc 30", {300, 700, 30}, true},
    {family::binomial, "binomial n 20", {20, 0.3, 0}, false},
    {family::binomial, "binomial n 1000", {1000, 0.3, 0}, false},
    {family::binomial, "binomial n 1e6", {1e6, 0.3, 0}, false},
};

struct question {
    const regime* at;
    function what;
    bool tails;
    unsigned char upper;
    list x;
    std::string name() const {
        const char* const kind = what == function::pdf ? "pdf" : what == function::cdf ? "cdf" : "quantile";
        return std::string(at->label) + "/" + kind +
               (tails ? (upper != 0 ? "/upper tail" : "/lower tail") : "/body");
    }
};

inline double library_quantile(const regime& r, double p, unsigned char upper) {
    const double* const q = r.q;
    switch (r.of) {
        case family::normal:
            return zolv_NormalInvCdf(p, q[0], q[1], upper);
        case family::t:
            return zolv_TInvCdf(p, q[0], q[1], upper);
        case family::chi_square:
            return zolv_ChiSqInvCdf(p, q[0], q[1], upper);
        case family::beta:
            return zolv_BetaInvCdf(p, q[0], q[1], upper);
        case family::f:
            return zolv_FInvCdf(p, q[0], q[1], q[2], upper);
        case family::binomial:
            return zolv_BinomialInvCdf(p, static_cast<std::uint32_t>(q[0]), q[1], upper);
    }
    return 0.0;
}

class generator {
public:
    double fraction() {  // in [0, 1)
        state_ = state_ * 6364136223846793005u + 1442695040888963407u;
        return static_cast<double>(state_ >> 11) * 0x1p-53;
    }

private:
    std::uint64_t state_ = 20240501;
};

inline list probabilities(int n, bool tails) {
    generator random;
    list p;
    for (int i = 0; i < n; ++i) {
        const double u = random.fraction();
        p.push_back(tails ? std::ldexp(1.0 + u, -11 - i * 49 / n) : 0.01 + 0.98 * u);
    }
    return p;
}

inline std::vector<question> questions() {
    std::vector<question> out;
    for (const regime& r : regimes) {
        for (const function what : {function::pdf, function::cdf, function::quantile}) {
            for (const bool tails : {false, true}) {
                const int n = r.noncentral ? (what == function::quantile ? 8 : 32) : 256;
                if (tails && r.noncentral && what == function::quantile) continue;
                for (const unsigned char upper : {std::uint8_t{0}, std::uint8_t{1}}) {
                    if (upper != 0 && (!tails || what == function::pdf)) continue;
                    list x = probabilities(n, tails);
                    if (what != function::quantile) {
                        for (double& v : x) v = library_quantile(r, v, upper);
                    }
                    out.push_back({&r, what, tails, upper, x});
                }
            }
        }
    }
    return out;
}

// FNV-1a over the bits: a build with other numbers shows at once.
inline std::uint64_t digest(const list& values) {
    std::uint64_t hash = 0xCBF29CE484222325u;
    for (const double value : values) {
        std::uint64_t bits = 0;
        static_assert(sizeof bits == sizeof value);
        __builtin_memcpy(&bits, &value, sizeof bits);
        for (int byte = 0; byte < 8; ++byte, bits >>= 8) hash = (hash ^ (bits & 0xFF)) * 0x100000001B3u;
    }
    return hash;
}

inline std::string digest_label(const list& values) {
    char text[32];
    std::snprintf(text, sizeof text, "digest %016llx", static_cast<unsigned long long>(digest(values)));
    return text;
}

}  // namespace zolv_bench
