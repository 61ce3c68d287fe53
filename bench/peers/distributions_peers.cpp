// bench/peers/distributions_peers.cpp: the questions of support/questions.hpp, answered by zolv and by others
// in one process, so that one run can interleave them (--benchmark_enable_random_interleaving=true).
//
// The label of zolv's rows is the digest of the output; that of the others the largest relative difference
// from zolv's answers, which shows that the same question was asked.
#include <benchmark/benchmark.h>
#include <omp.h>

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "peers/peers.hpp"
#include "support/library_answers.hpp"

namespace {

using namespace zolv_bench;

std::string difference_label(const list& got, const list& reference) {
    double worst = 0.0;
    for (std::size_t i = 0; i < got.size(); ++i) {
        if (got[i] == reference[i]) continue;
        const double scale = std::fmax(std::fabs(reference[i]), 1e-300);
        const double difference = std::fabs(got[i] - reference[i]) / scale;
        worst = std::isnan(difference) ? 1e300 : std::fmax(worst, difference);
    }
    char text[48];
    std::snprintf(text, sizeof text, "differs by %.1e", worst);
    return text;
}

void add_rows(const question& q) {
    const answer scalar = scalar_exports(q);
    add_row(q, "zolv", scalar);
    if (const answer array = array_forms(q)) add_row(q, "zolv array", array);
    list reference(q.x.size());
    scalar(q.x.data(), q.x.size(), reference.data());
    const auto peer = [&](const char* name, const answer& call) {
        if (!call) return;
        add_row(q, name, call, false,
                [reference](const list& out) { return difference_label(out, reference); });
    };
    peer("libRmath", rmath_answer(q));
    peer("Boost.Math", boost_answer(q, true));
    peer("Boost.Math in double", boost_answer(q, false));
    peer("GSL", gsl_answer(q));
}

}  // namespace

int main(int argc, char** argv) {
    omp_set_num_threads(1);  // the array forms too: all others run on one
    for (const question& q : questions()) add_rows(q);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    benchmark::AddCustomContext("libRmath", rmath_version());
    benchmark::AddCustomContext("Boost.Math", boost_version());
    benchmark::AddCustomContext("GSL", gsl_version());
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
