// The augmented Dickey-Fuller test: the same twice, counts within bounds, which fields a refusal leaves
// alone.
#include "fuzz/series.hpp"

using namespace zolv_fuzz;

namespace {

constexpr double mark = -0x1.9a5a5a5a5a5a5p+77;

zolv_UnitRootTest marked() {
    zolv_UnitRootTest test;
    test.statistic = test.pValue = test.critical1 = test.critical5 = test.critical10 = mark;
    test.sampleSize = test.lagCount = -77;
    return test;
}

bool same(const zolv_UnitRootTest& a, const zolv_UnitRootTest& b) {
    return same_bits(a.statistic, b.statistic) && same_bits(a.pValue, b.pValue) &&
           same_bits(a.critical1, b.critical1) && same_bits(a.critical5, b.critical5) &&
           same_bits(a.critical10, b.critical10) && a.sampleSize == b.sampleSize && a.lagCount == b.lagCount;
}

bool untouched(double x) { return same_bits(x, mark); }

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    input in(data, size);
    const int count = in.below(64);
    const int wishes[] = {-1, 0, 1, 2, 3, 5, 8, 12, count - 2, count - 1, count, 2147483647, -2147483647 - 1};
    const int lags = wishes[in.byte() % std::size(wishes)];
    const int method = in.byte() % 6 - 1, regression = in.byte() % 16 == 15 ? in.byte() - 128 : in.byte() % 4;
    const argument level{-4.0, 0.0, true, {}};
    const double significance = in.number(level);
    const std::vector<double> x = series(in, count);
    show("adf", {double(lags), double(method), double(regression), significance}, x);

    zolv_UnitRootTest first = marked(), second = marked();
    require(zolv_AugmentedDickeyFuller(x.data(), count, lags, method, regression, significance, &first) == 0,
            "always 0", {});
    const std::vector<double> copy = x;
    zolv_AugmentedDickeyFuller(copy.data(), count, lags, method, regression, significance, &second);
    require(same(first, second), "the same test twice",
            {first.statistic, second.statistic, first.pValue, second.pValue});

    if (std::isnan(first.statistic)) {
        require(is_missing(first.statistic), "a missing statistic", {first.statistic});
    }
    bool finite_series = true;
    for (const double v : x) finite_series = finite_series && std::isfinite(v);
    const bool refused = count < 2 || regression < 0 || regression > 3 || lags >= count - 1;
    if (refused) {
        require(is_missing(first.statistic) && first.sampleSize == -77 && first.lagCount == -77,
                "a refusal sets the statistic alone",
                {first.statistic, double(first.sampleSize), double(first.lagCount)});
    }
    if (!finite_series)
        require(is_missing(first.statistic), "no statistic of a broken series", {first.statistic});
    if (!std::isfinite(first.statistic)) {
        require(untouched(first.pValue) && untouched(first.critical1) && untouched(first.critical5) &&
                    untouched(first.critical10),
                "fields left alone", {first.pValue, first.critical1, first.critical5, first.critical10});
    } else {
        // The cubic of a statistic whose square overflows is infinity less infinity.
        require((first.pValue >= 0.0 && first.pValue <= 1.0) || (regression == 3 && first.statistic > 1e154),
                "a probability", {first.statistic, first.pValue});
        require(first.critical1 < first.critical5 && first.critical5 < first.critical10,
                "critical values in order", {first.critical1, first.critical5, first.critical10});
        // A choice among dropped columns may come out negative, which asks for the default.
        const int chosen_default = static_cast<int>(12.0 * std::pow(count / 100.0, 0.25));
        const int most = lags < 0                     ? chosen_default
                         : method >= 0 && method <= 2 ? std::max(lags, chosen_default)
                                                      : lags;
        require(first.sampleSize >= 1 && first.sampleSize < count && first.lagCount >= 0 &&
                    first.lagCount < count - 1 && first.lagCount <= most,
                "counts within bounds", {double(first.sampleSize), double(first.lagCount), double(count)});
    }
    return 0;
}
