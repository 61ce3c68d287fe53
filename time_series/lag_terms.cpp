#include "time_series/lag_terms.hpp"

#include <algorithm>

namespace zolv::time_series {

LagTerms BuildLagTerms(int A, int B, int S, int offset) {
    LagTerms terms;
    const auto add = [&terms](std::int64_t lag, int first, int second) {
        const auto at = static_cast<std::size_t>(terms.count++);
        terms.lag[at] = lag;
        terms.first[at] = first;
        terms.second[at] = second;
        terms.maxLag = std::max(terms.maxLag, lag);
    };
    const auto seasonal_lag = [S](int j) { return std::int64_t{S} * (j + 1); };

    for (int i = 0; i < A; ++i) add(i + 1, offset + i, 0);
    for (int j = 0; j < B; ++j) add(seasonal_lag(j), offset + A + j, 0);
    terms.plain = terms.count;
    for (int i = 0; i < A; ++i) {
        for (int j = 0; j < B; ++j) add(i + 1 + seasonal_lag(j), offset + i, offset + A + j);
    }
    return terms;
}

}  // namespace zolv::time_series
