// The order search: the same twice and on any team, an order that is a permutation, best scores first.
#include <algorithm>

#include "fuzz/series.hpp"

using namespace zolv_fuzz;

namespace {

struct group {
    zolv_BestArmaGroup of;
    group(const std::vector<double>& x, int count, const zolv_BestArimaAutoFindSetting& setting)
        : of(zolv_AutoFindBestArma(x.data(), count, &setting)) {}
    group(const group&) = delete;
    group& operator=(const group&) = delete;
    ~group() { zolv_CleanUpAfterAutoFindBestArma(of); }
};

void same_group(const zolv_BestArmaGroup& a, const zolv_BestArmaGroup& b, const char* law) {
    require(a.count == b.count && (a.models == nullptr) == (b.models == nullptr) &&
                (a.order == nullptr) == (b.order == nullptr),
            law, {double(a.count), double(b.count)});
    for (int i = 0; i < a.count; ++i) {
        const zolv_BestArmaModel &m = a.models[i], &k = b.models[i];
        require(m.p == k.p && m.q == k.q && m.seasonalP == k.seasonalP && m.seasonalQ == k.seasonalQ, law,
                {double(i), double(m.p), double(k.p)});
        require(same_bits(m.logLikelihood, k.logLikelihood) && same_bits(m.aicc, k.aicc) &&
                    same_bits(m.aic, k.aic) && same_bits(m.bic, k.bic),
                law, {double(i), m.logLikelihood, k.logLikelihood});
        if (a.order != nullptr) require(a.order[i] == b.order[i], law, {double(i)});
    }
}

double score(const zolv_BestArmaModel& m, int criterion) {
    return criterion == 0 ? m.aicc : criterion == 1 ? m.aic : m.bic;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    input in(data, size);
    const int n = in.from_to(-1, 36);
    zolv_BestArimaAutoFindSetting s = zolv_CreateBestArimaAutoFindSetting();
    s.regularDifference = in.below(3);
    s.minAr = in.from_to(-1, 1);
    s.maxAr = in.from_to(0, 2);
    s.minMa = in.from_to(-1, 1);
    s.maxMa = in.from_to(0, 2);
    s.includeConstant = in.below(3) - 1;
    s.criterion = in.byte() % 16 == 15 ? in.byte() - 128 : in.byte() % 3;
    if (in.byte() % 4 == 3) {
        s.seasonalDifference = in.below(2);
        s.maxSeasonalAr = in.below(2);
        s.maxSeasonalMa = in.below(2);
        s.seasonalPeriod = in.from_to(-1, 13);
    }
    if (in.byte() == 255) {
        std::int32_t* const fields[] = {&s.regularDifference,  &s.minAr,         &s.minMa,
                                        &s.seasonalDifference, &s.minSeasonalAr, &s.minSeasonalMa,
                                        &s.seasonalPeriod};
        const std::int32_t values[] = {5, 6, 2147483647, 100};
        *fields[in.byte() % std::size(fields)] = values[in.byte() % std::size(values)];
    }
    const std::vector<double> x = series(in, n < 0 ? 0 : n, in.byte() < 128);
    show("search",
         {double(s.regularDifference), double(s.minAr), double(s.maxAr), double(s.minMa), double(s.maxMa),
          double(s.seasonalDifference), double(s.maxSeasonalAr), double(s.maxSeasonalMa),
          double(s.seasonalPeriod), double(s.includeConstant), double(s.criterion)},
         x);

    const group found(x, n, s);
    {
        const team several(static_cast<std::uint8_t>(in.byte() < 64 ? 255 : 0));
        const std::vector<double> copy = x;
        const group again(copy, n, s);
        same_group(found.of, again.of, "the same search twice");
    }
    const zolv_BestArmaGroup& g = found.of;
    require(g.count >= 0, "a count", {double(g.count)});
    if (g.count == 0) return 0;
    if (s.criterion < 0 || s.criterion > 2) {
        require(g.order == nullptr, "no order without a criterion", {double(s.criterion)});
        return 0;
    }
    require(g.order != nullptr, "an order", {});
    std::vector<int> indices(g.order, g.order + g.count);
    std::sort(indices.begin(), indices.end());
    for (int i = 0; i < g.count; ++i)
        require(indices[static_cast<std::size_t>(i)] == i, "a permutation", {double(i)});
    // Minus infinity and a finite score each come before the other.
    for (int i = 0; i < g.count; ++i)
        if (score(g.models[i], s.criterion) == -HUGE_VAL) return 0;
    for (int i = 1; i < g.count; ++i) {
        const double better = score(g.models[g.order[i - 1]], s.criterion);
        const double worse = score(g.models[g.order[i]], s.criterion);
        if (std::isfinite(worse)) require(better <= worse, "best first", {double(i), better, worse});
    }
    return 0;
}
