// bench/peers/write_series.cpp: writes the simulated series into a folder, for programs in other languages.
#include <cstdio>
#include <string>

#include "support/series.hpp"

int main(int argc, char** argv) {
    if (argc != 2) return std::fputs("usage: write_series FOLDER\n", stderr), 2;
    const auto write = [&](const std::string& name, const zolv_bench::list& x) {
        std::FILE* file = std::fopen((std::string(argv[1]) + "/" + name + ".csv").c_str(), "w");
        if (file == nullptr) return false;
        std::fputs("value\n", file);
        for (const double v : x) std::fprintf(file, "%.17g\n", v);
        return std::fclose(file) == 0;
    };
    bool done = true;
    for (const std::size_t n : {200, 500, 2000})
        done &= write("arma_" + std::to_string(n), zolv_bench::arma_series(n));
    for (const std::size_t n : {200, 2000, 20000}) {
        done &= write("integrated_" + std::to_string(n), zolv_bench::integrated_series(n));
    }
    return done ? 0 : 1;
}
