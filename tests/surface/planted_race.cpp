// planted_race.cpp own|library: races that the thread sanitizer must report; the tests that run this pass
// only if it does. `own`: the threads of an OpenMP region add to one variable. `library`: two threads of the
// host have an array form write to one buffer, which is the host's mistake, and is seen only if the library
// is instrumented.
#include <cstdio>
#include <cstring>
#include <thread>
#include <vector>

#include "zolv.h"

namespace {

double race_of_a_region() {
    double sum = 0.0;
#pragma omp parallel for schedule(static) num_threads(4)
    for (int i = 0; i < 100000; ++i) sum += i;
    return sum;
}

double race_in_the_library() {
    const std::vector<double> x(100000, 0.5);
    std::vector<double> out(x.size());
    const auto write = [&] { zolv_ParallelNormalPdf(x.data(), x.size(), 0.0, 1.0, out.data()); };
    std::thread other(write);
    write();
    other.join();
    return out[0];
}

}  // namespace

int main(int argc, char** argv) {
    const bool own = argc > 1 && std::strcmp(argv[1], "own") == 0;
    std::printf("%g\n", own ? race_of_a_region() : race_in_the_library());
    return 0;
}
