// model_search/arma_search.hpp: fits every admissible combination of ARMA orders and ranks the results.
//
// Nothing is pruned by earlier results: the whole grid is always fitted, each candidate on its own, so the
// result does not depend on the number of threads.
#pragma once

#include <cstdint>
#include <vector>

#include "zolv.h"

namespace zolv::time_series {

struct ArmaCandidate {
    std::int32_t p, q, P, Q;
};

// What a candidate is fitted with; returns 0, or 1 when it had to be refitted without its constant.
using FitRoutine = int (*)(const double* series, std::uint32_t count, zolv_ArimaModel* model);

int FitCandidate(const double* series, std::uint32_t count, zolv_ArimaModel* model);
int FitCandidateWithConstant(const double* series, std::uint32_t count, zolv_ArimaModel* model);

// The constant in effect: more than one difference leaves none.
bool EffectiveConstant(const zolv_BestArimaAutoFindSetting& setting);

// The admissible candidates in order of enumeration: Q outermost, then P, q, and p fastest.
// Throws std::length_error for more than 2^31 - 1 of them.
std::vector<ArmaCandidate> EnumerateCandidates(const zolv_BestArimaAutoFindSetting& setting);

// The scored candidates in a new array (release it with delete[]), or null if it cannot be allocated.
// Whatever a fit throws is rethrown after the parallel loop.
zolv_BestArmaModel* RunArma(const double* series, int count, int d, int D,
                            const std::vector<ArmaCandidate>& candidates, int s, bool constant,
                            FitRoutine fit);

// Indices into models, best first, in a new array (release it with delete[]); null if it cannot be allocated
// or the criterion is none of 0 (AICc), 1 (AIC), 2 (BIC).
std::int32_t* RankCandidates(const zolv_BestArmaModel* models, std::int32_t count, std::int32_t criterion);

}  // namespace zolv::time_series
