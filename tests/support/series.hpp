// tests/support/series.hpp: series and parameter lists as the reference tables name them.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <sstream>
#include <string>
#include <vector>

#include "support/reference_table.hpp"

namespace zolv_test {

// 64-bit congruential numbers, the top 53 bits as a fraction, less a half, times 8: the same doubles on every
// machine and in every language.
inline std::vector<double> generated_series(std::uint64_t seed, std::size_t count) {
    std::vector<double> out(count);
    std::uint64_t state = seed;
    for (double& value : out) {
        state = state * 6364136223846793005u + 1442695040888963407u;
        value = (static_cast<double>(state >> 11) * 0x1p-53 - 0.5) * 8.0;
    }
    return out;
}

// A file of data/, or `lcg:SEED:COUNT`.
inline std::vector<double> named_series(const std::string& name) {
    if (name.rfind("lcg:", 0) != 0) return load_series(name);
    const std::size_t colon = name.find(':', 4);
    return generated_series(std::strtoull(name.c_str() + 4, nullptr, 10),
                            std::strtoull(name.c_str() + colon + 1, nullptr, 10));
}

// Numbers separated by semicolons within one cell.
inline std::vector<double> number_list(const std::string& text) {
    std::vector<double> out;
    std::stringstream stream(text);
    for (std::string cell; std::getline(stream, cell, ';');)
        out.push_back(std::strtod(cell.c_str(), nullptr));
    return out;
}

}  // namespace zolv_test
