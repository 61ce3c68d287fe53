// tests/model_search/arma_search_allocation_test.cpp: every allocation of a search fails once.
//
// Without room for the results the answer is an empty group, without room for the ranking a group without it.
// Any other failure reaches the caller as the standard exception, behind the parallel loop when it happens
// inside. Nothing is leaked.
#include <gtest/gtest.h>

#include <cstring>

#include "model_search/arma_search.hpp"
#include "support/failing_allocation.hpp"
#include "support/series.hpp"
#include "support/threads.hpp"
#include "zolv.h"

namespace {

using zolv_test::allocation_outcome;
using zolv_test::live_blocks;
using zolv_test::with_failing_allocation;

struct tally {
    int exceptions = 0, empty = 0, unranked = 0;
};

tally fail_each_allocation(const std::vector<double>& series, const zolv_BestArimaAutoFindSetting& setting) {
    const int n = static_cast<int>(series.size());
    const zolv_BestArmaGroup want = zolv_AutoFindBestArma(series.data(), n, &setting);
    tally seen;
    for (long i = 0;; ++i) {
        zolv_BestArmaGroup group{};
        const long before = live_blocks;
        const auto outcome =
            with_failing_allocation(i, [&] { group = zolv_AutoFindBestArma(series.data(), n, &setting); });
        if (outcome == allocation_outcome::failed_with_exception) {
            EXPECT_EQ(group.models, nullptr);
            ++seen.exceptions;
        } else if (group.models == nullptr) {
            EXPECT_EQ(group.order, nullptr);
            EXPECT_EQ(group.count, 0);
            ++seen.empty;
        } else {
            EXPECT_EQ(group.count, want.count);
            for (std::int32_t row = 0; row < want.count; ++row) {
                EXPECT_EQ(std::memcmp(&group.models[row], &want.models[row], sizeof *want.models), 0);
            }
            if (outcome == allocation_outcome::failed_with_answer) {
                EXPECT_EQ(group.order, nullptr);
                ++seen.unranked;
            }
        }
        zolv_CleanUpAfterAutoFindBestArma(group);
        EXPECT_EQ(live_blocks, before) << "allocation " << i;
        if (outcome == allocation_outcome::succeeded) break;
    }
    zolv_CleanUpAfterAutoFindBestArma(want);
    return seen;
}

TEST(ArmaSearchAllocation, EachOnOneAndTwoThreads) {
    zolv_BestArimaAutoFindSetting setting = zolv_CreateBestArimaAutoFindSetting();
    setting.maxAr = setting.maxMa = 1;
    const std::vector<double> series = zolv_test::generated_series(3, 20);
    for (const int team : {1, 2}) {
        zolv_test::with_threads(team, [&] {
            const tally seen = fail_each_allocation(series, setting);
            EXPECT_EQ(seen.empty, 1) << team << " threads";
            EXPECT_EQ(seen.unranked, 1) << team << " threads";
            EXPECT_GE(seen.exceptions, 60) << team << " threads";  // the candidates, and each fit and score
        });
    }
}

TEST(ArmaSearchAllocation, EmptyGrid) {
    zolv_BestArimaAutoFindSetting setting = zolv_CreateBestArimaAutoFindSetting();
    setting.minAr = 3;
    setting.maxAr = 2;
    const tally seen = fail_each_allocation(zolv_test::generated_series(3, 20), setting);
    EXPECT_EQ(seen.empty, 1);
    EXPECT_EQ(seen.unranked, 1);
    EXPECT_EQ(seen.exceptions, 0);
}

// Every candidate's work throws at once, from every thread: one exception comes back, after all have ended.
std::atomic<int> calls{0};
int no_memory(const double*, std::uint32_t, zolv_ArimaModel*) {
    ++calls;
    throw std::bad_alloc();
}

TEST(ArmaSearchAllocation, EveryCandidateFailsAtOnce) {
    using namespace zolv::time_series;
    const std::vector<double> series = zolv_test::generated_series(3, 20);
    const std::vector<ArmaCandidate> candidates(40, ArmaCandidate{1, 1, 0, 0});
    for (const int team : zolv_test::team_sizes) {
        zolv_test::with_threads(team, [&] {
            calls = 0;
            const long before = live_blocks;
            EXPECT_THROW(RunArma(series.data(), 20, 0, 0, candidates, 0, true, no_memory), std::bad_alloc);
            EXPECT_EQ(live_blocks, before);
            EXPECT_EQ(calls, 40);
        });
    }
}

}  // namespace
