// bench/distributions_bench.cpp: nanoseconds per element of every distribution export over the regimes of
// support/questions.hpp, with the digest of the output bits in each row.
//
//   scalar         a loop over the scalar export; processor time
//   array          the array form on a team of one; processor time
//   array 64k      the array form on the machine's team, 65536 elements; elapsed time
//
// Rows are picked with --benchmark_filter, say 't df 5/.*scalar'.
#include <omp.h>

#include "support/library_answers.hpp"

namespace {

using namespace zolv_bench;

answer on_one_thread(const answer& call) {
    return [call](const double* x, std::size_t n, double* out) {
        const int before = omp_get_max_threads();
        omp_set_num_threads(1);
        call(x, n, out);
        omp_set_num_threads(before);
    };
}

question repeated(question q, std::size_t n) {
    const list once = q.x;
    while (q.x.size() < n) q.x.insert(q.x.end(), once.begin(), once.end());
    return q;
}

const bool registered = [] {
    for (const question& q : questions()) {
        add_row(q, "scalar", scalar_exports(q));
        const answer array = array_forms(q);
        if (!array) continue;
        add_row(q, "array", on_one_thread(array));
        // Long arrays only where an element is cheap.
        if (!q.at->noncentral && q.what != function::quantile) {
            add_row(repeated(q, 65536), "array 64k", array, true);
        }
    }
    return true;
}();

}  // namespace
