// tests/golden/distribution_rows.hpp: density, distribution function and quantile of one family over its
// regimes, scalar and array forms.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "golden/digest.hpp"
#include "golden/table.hpp"

namespace golden {

// One export in both its forms; `array` is empty where there is none. The parameters come as doubles.
struct member {
    std::string suffix;
    bool tails, quantile;
    std::function<double(double x, const list& q, unsigned char upper)> scalar;
    std::function<void(const double* x, std::uint64_t n, const list& q, unsigned char upper, double* out)>
        array;
};

struct family {
    std::string name;
    std::vector<member> members;
};

// Parameter sets that share a row, and what they are asked.
struct regime {
    std::string label;
    std::vector<list> sets;
    list variates, probabilities;
};

// Special values, both sides of the switches, a bulk between low and high, and every magnitude.
inline list variates(const std::string& name, const list& switches, double low, double high, int n) {
    stream random("variates of " + name);
    list out = special_values() + both_sides(switches) + random.between(low, high, n);
    for (const double size : random.magnitudes(-70, 70, n / 8)) out = out + list{size, -size};
    return out;
}

// Bulk and both tails.
inline list probabilities(const std::string& name, int n) {
    stream random("probabilities of " + name);
    return special_probabilities() + random.between(0.0, 1.0, n) + random.magnitudes(-60, -5, n / 4);
}

// Few, for the quantiles whose every evaluation is a sum.
inline list few_probabilities(const std::string& name, int n) {
    stream random("probabilities of " + name);
    return list{missing, -0.1, 0.0, 1e-10, 1e-4, 0.5, 0.9999, 1.0, 1.1} + random.between(0.0, 1.0, n);
}

inline void distribution_rows(const std::string& group, const family& f, const std::vector<regime>& regimes) {
    table& to = table::instance();
    for (const member& m : f.members) {
        const int tails = m.tails ? 2 : 1;
        for (const regime& r : regimes) {
            const list& x = m.quantile ? r.probabilities : r.variates;
            if (x.empty()) continue;
            const auto each_call = [&](const auto& call) {
                for (const list& q : r.sets) {
                    for (int upper = 0; upper < tails; ++upper) call(q, static_cast<unsigned char>(upper));
                }
            };
            to.add(group, f.name + m.suffix, r.label, needs::libm, [&](digest& d) {
                each_call([&](const list& q, unsigned char upper) {
                    for (const double v : x) d(m.scalar(v, q, upper));
                });
            });
            if (!m.array) continue;
            to.add_for_teams(group, "Parallel" + f.name + m.suffix, r.label, needs::libm, [&](digest& d) {
                each_call([&](const list& q, unsigned char upper) {
                    list out(x.size());
                    m.array(x.data(), x.size(), q, upper, out.data());
                    d(out);
                });
            });
        }
    }
    to.finish(group);
}

}  // namespace golden
