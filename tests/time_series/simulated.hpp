// tests/time_series/simulated.hpp: series that are the same on every machine.
#pragma once

#include <cstdint>
#include <random>
#include <vector>

namespace zolv_test {

// The engine's numbers are the same everywhere; those of the standard distributions are not.
class Random {
public:
    explicit Random(std::uint64_t seed) : engine_(seed) {}
    int whole(int low, int high) {
        return low + static_cast<int>(engine_() % static_cast<std::uint64_t>(high - low + 1));
    }
    double real(double low, double high) {
        return low + (high - low) * (static_cast<double>(engine_() >> 11) * 0x1p-53);
    }
    bool chance(int in) { return whole(1, in) == 1; }

private:
    std::mt19937_64 engine_;
};

// Sums of four uniform numbers less their mean: near normal, exact arithmetic, no library distribution.
inline std::vector<double> white_noise(int n, std::uint64_t seed) {
    std::vector<double> values;
    std::uint64_t state = seed * 2862933555777941757u + 3037000493u;
    for (int i = 0; i < n; ++i) {
        double sum = -2.0;
        for (int j = 0; j < 4; ++j) {
            state = state * 6364136223846793005u + 1442695040888963407u;
            sum += static_cast<double>(state >> 40) * 0x1p-24;
        }
        values.push_back(sum * 1.7320508);
    }
    return values;
}

// z_t = level + phi (z_{t-1} - level) + a_t - theta a_{t-1}, from rest.
inline std::vector<double> arma_series(int n, double level, double phi, double theta, std::uint64_t seed) {
    const std::vector<double> a = white_noise(n, seed);
    std::vector<double> z;
    double deviation = 0.0, before = 0.0;
    for (const double shock : a) {
        deviation = phi * deviation + shock - theta * before;
        before = shock;
        z.push_back(level + deviation);
    }
    return z;
}

}  // namespace zolv_test
