// The parallel loop: each index once, one contiguous block per thread, exceptions handed to the caller.
#include "frame/parallel.hpp"

#include <new>
#include <stdexcept>
#include <vector>

#include "support/bits.hpp"
#include "support/threads.hpp"

namespace {

using dru::impl::parallel_for;
using zolv_test::team_sizes;
using zolv_test::with_threads;

TEST(ParallelFor, EachIndexOnce) {
    for (const int team : team_sizes) {
        for (const std::uint64_t n : {0, 1, 2, 6, 7, 8, 1000}) {
            std::vector<int> visits(n + 1);
            with_threads(team, [&] { parallel_for(n, [&](std::uint64_t i) { ++visits[i]; }); });
            for (std::uint64_t i = 0; i < n; ++i) EXPECT_EQ(visits[i], 1) << "index " << i << " of " << n;
            EXPECT_EQ(visits[n], 0);
        }
    }
}

TEST(ParallelFor, StaticScheduleGivesOneBlockPerThread) {
    for (const int team : team_sizes) {
        std::vector<int> owner(100);
        with_threads(team,
                     [&] { parallel_for(100, [&](std::uint64_t i) { owner[i] = omp_get_thread_num(); }); });
        for (std::size_t i = 1; i < owner.size(); ++i) EXPECT_LE(owner[i - 1], owner[i]);
        EXPECT_EQ(owner.back(), team - 1);
    }
}

TEST(ParallelFor, WorksInsideACallersRegion) {
    std::vector<int> visits(4 * 100);
#pragma omp parallel for num_threads(4)
    for (int k = 0; k < 4; ++k) {
        parallel_for(100, [&](std::uint64_t i) { ++visits[static_cast<std::size_t>(k) * 100 + i]; });
    }
    for (const int count : visits) EXPECT_EQ(count, 1);
}

TEST(ParallelFor, AnExceptionReachesTheCaller) {
    for (const int team : team_sizes) {
        with_threads(team, [&] {
            EXPECT_THROW(parallel_for(100,
                                      [](std::uint64_t i) {
                                          if (i % 10 == 3) throw std::bad_alloc();
                                      }),
                         std::bad_alloc);
            EXPECT_THROW(parallel_for(1, [](std::uint64_t) { throw std::runtime_error("one"); }),
                         std::runtime_error);
        });
    }
}

TEST(FillMissing, WritesExactlyN) {
    std::vector<double> out(4, 1.0);
    dru::impl::fill_missing(out.data(), 3);
    for (int i = 0; i < 3; ++i) EXPECT_MISSING(out[i]);
    EXPECT_EQ(out[3], 1.0);
    dru::impl::fill_missing(out.data() + 3, 0);
    EXPECT_EQ(out[3], 1.0);
}

}  // namespace
