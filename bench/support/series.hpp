// bench/support/series.hpp: the series of the model benchmarks, the same doubles on every machine.
//
// Noise is the sum of twelve congruential fractions less six, so that nothing depends on the C library.
#pragma once

#include <fstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "support/questions.hpp"

namespace zolv_bench {

inline double noise(generator& random) {
    double sum = -6.0;
    for (int k = 0; k < 12; ++k) sum += random.fraction();
    return sum;
}

// Mean 5, AR 0.5 and 0.2, MA 1 + 0.4 B.
inline list arma_series(std::size_t n) {
    generator random;
    list x;
    double x1 = 0.0, x2 = 0.0, a1 = 0.0;
    for (std::size_t t = 0; t < n + 100; ++t) {
        const double a = noise(random);
        const double value = 0.5 * x1 + 0.2 * x2 + a + 0.4 * a1;
        x2 = x1;
        x1 = value;
        a1 = a;
        if (t >= 100) x.push_back(5.0 + value);
    }
    return x;
}

// A unit root whose differences are AR(2): 0.3 and 0.2.
inline list integrated_series(std::size_t n) {
    generator random;
    list x;
    double d1 = 0.0, d2 = 0.0, level = 100.0;
    for (std::size_t t = 0; t < n; ++t) {
        const double d = 0.3 * d1 + 0.2 * d2 + noise(random);
        d2 = d1;
        d1 = d;
        level += d;
        x.push_back(level);
    }
    return x;
}

// The last column of a committed series.
inline list committed_series(const std::string& file) {
    std::ifstream in(file);
    if (!in) throw std::runtime_error("no file " + file);
    list x;
    std::string line;
    std::getline(in, line);
    while (std::getline(in, line)) x.push_back(std::stod(line.substr(line.rfind(',') + 1)));
    return x;
}

}  // namespace zolv_bench
