// tests/model_search/arma_search_test.cpp: what is enumerated, how it is fitted and scored, how it is ranked.
#include "model_search/arma_search.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <set>
#include <sstream>

#include "support/arima_model.hpp"
#include "support/bits.hpp"
#include "support/platform_bits.hpp"
#include "support/series.hpp"
#include "support/threads.hpp"
#include "zolv.h"

namespace {

using namespace zolv::time_series;
using zolv_test::arima_model;
using zolv_test::generated_series;
using zolv_test::load_series;
using zolv_test::logs_of;

constexpr std::int32_t lowest = std::numeric_limits<std::int32_t>::min();
constexpr std::int32_t highest = std::numeric_limits<std::int32_t>::max();

// A group that ends by itself.
class found {
public:
    found(const std::vector<double>& series, const zolv_BestArimaAutoFindSetting& setting)
        : found(series.data(), static_cast<int>(series.size()), &setting) {}
    found(const double* series, int count, const zolv_BestArimaAutoFindSetting* setting)
        : group(zolv_AutoFindBestArma(series, count, setting)) {}
    found(const found&) = delete;
    found& operator=(const found&) = delete;
    ~found() { zolv_CleanUpAfterAutoFindBestArma(group); }

    std::vector<zolv_BestArmaModel> models() const { return {group.models, group.models + group.count}; }
    std::vector<std::int32_t> order() const { return {group.order, group.order + group.count}; }

    const zolv_BestArmaGroup group;
};

zolv_BestArimaAutoFindSetting defaults() { return zolv_CreateBestArimaAutoFindSetting(); }

// p and q from 0 to the given bounds.
zolv_BestArimaAutoFindSetting grid(std::int32_t max_p, std::int32_t max_q, std::int32_t d = 0) {
    zolv_BestArimaAutoFindSetting setting = defaults();
    setting.maxAr = max_p;
    setting.maxMa = max_q;
    setting.regularDifference = d;
    return setting;
}

zolv_BestArimaAutoFindSetting seasonal_grid(std::int32_t max_p, std::int32_t max_q, std::int32_t max_P,
                                            std::int32_t max_Q, std::int32_t d, std::int32_t D,
                                            std::int32_t s) {
    zolv_BestArimaAutoFindSetting setting = grid(max_p, max_q, d);
    setting.maxSeasonalAr = max_P;
    setting.maxSeasonalMa = max_Q;
    setting.seasonalDifference = D;
    setting.seasonalPeriod = s;
    return setting;
}

std::vector<double> keys_of(const std::vector<zolv_BestArmaModel>& models, int criterion) {
    std::vector<double> keys;
    for (const auto& m : models) keys.push_back(criterion == 0 ? m.aicc : criterion == 1 ? m.aic : m.bic);
    return keys;
}

void expect_permutation(std::vector<std::int32_t> order) {
    std::sort(order.begin(), order.end());
    for (std::size_t i = 0; i < order.size(); ++i) EXPECT_EQ(order[i], static_cast<std::int32_t>(i));
}

// Finite keys ascend and precede the others.
void expect_ranked(const std::vector<std::int32_t>& order, const std::vector<double>& keys) {
    expect_permutation(order);
    for (std::size_t i = 1; i < order.size(); ++i) {
        const double before = keys[order[i - 1]], after = keys[order[i]];
        EXPECT_TRUE(std::isfinite(before) ? !std::isfinite(after) || before <= after : !std::isfinite(after));
    }
}

void expect_nan_scores(const zolv_BestArmaModel& m) {
    EXPECT_MISSING(m.logLikelihood);
    EXPECT_MISSING(m.aicc);
    EXPECT_MISSING(m.aic);
    EXPECT_MISSING(m.bic);
}

bool same_model(const zolv_BestArmaModel& a, const zolv_BestArmaModel& b) {
    return std::memcmp(&a, &b, sizeof a) == 0;
}

// ---- the list of candidates ------------------------------------------------------------------------------

using four = std::vector<std::int32_t>;  // p, q, P, Q

std::vector<four> listed(const zolv_BestArimaAutoFindSetting& setting) {
    std::vector<four> out;
    for (const ArmaCandidate& c : EnumerateCandidates(setting)) out.push_back({c.p, c.q, c.P, c.Q});
    return out;
}

// The nested loops as they are described.
std::vector<four> nested_loops(const zolv_BestArimaAutoFindSetting& s) {
    const bool constant = s.regularDifference + s.seasonalDifference > 1 ? false : s.includeConstant != 0;
    const int limit = constant ? 10 : 11;
    std::vector<four> out;
    if (s.seasonalPeriod >= 2) {
        for (int Q = s.minSeasonalMa; Q <= s.maxSeasonalMa; ++Q)
            for (int P = s.minSeasonalAr; P <= s.maxSeasonalAr; ++P)
                for (int q = s.minMa; q <= s.maxMa; ++q)
                    for (int p = s.minAr; p <= s.maxAr; ++p)
                        if (p + q + P + Q < limit) out.push_back({p, q, P, Q});
    } else {
        for (int q = s.minMa; q <= s.maxMa; ++q)
            for (int p = s.minAr; p <= s.maxAr; ++p)
                if (p + q < limit) out.push_back({p, q, 0, 0});
    }
    return out;
}

TEST(EnumerateCandidates, DefaultSettings) {
    const zolv_BestArimaAutoFindSetting s = defaults();
    const std::int32_t fields[] = {
        s.regularDifference,  s.minAr,           s.maxAr,         s.minMa,         s.maxMa,
        s.seasonalDifference, s.minSeasonalAr,   s.maxSeasonalAr, s.minSeasonalMa, s.maxSeasonalMa,
        s.seasonalPeriod,     s.includeConstant, s.criterion};
    const std::int32_t want[] = {0, 0, 5, 0, 5, 0, 0, 0, 0, 0, 0, 1, 0};
    EXPECT_TRUE(std::equal(std::begin(fields), std::end(fields), want));

    const std::vector<four> all = listed(s);
    ASSERT_EQ(all.size(), 35u);
    EXPECT_EQ(all[0], (four{0, 0, 0, 0}));
    EXPECT_EQ(all[1], (four{1, 0, 0, 0}));  // p fastest
    EXPECT_EQ(all[6], (four{0, 1, 0, 0}));
    EXPECT_EQ(all[34], (four{4, 5, 0, 0}));  // (5, 5) has ten terms and no room for the constant
}

TEST(EnumerateCandidates, SameAsNestedLoops) {
    std::mt19937_64 random(20);
    const auto pick = [&](int low, int high) {
        return low + static_cast<int>(random() % static_cast<std::uint64_t>(high - low + 1));
    };
    for (int trial = 0; trial < 3000; ++trial) {
        zolv_BestArimaAutoFindSetting s = defaults();
        s.regularDifference = pick(0, 2);
        s.seasonalDifference = pick(0, 2);
        s.seasonalPeriod = pick(-1, 4);
        s.includeConstant = pick(-1, 1);
        const int low = trial % 3 == 0 ? -6 : 0;
        for (const auto& [min, max] : {std::pair{&s.minAr, &s.maxAr},
                                       {&s.minMa, &s.maxMa},
                                       {&s.minSeasonalAr, &s.maxSeasonalAr},
                                       {&s.minSeasonalMa, &s.maxSeasonalMa}}) {
            *min = pick(low, 4);
            *max = *min + pick(trial % 7 == 0 ? -2 : 0, 6);
        }
        const std::vector<four> want = nested_loops(s);
        ASSERT_EQ(listed(s), want) << "trial " << trial;
        ASSERT_EQ(EnumerateCandidates(s).capacity(), want.size());  // reserved exactly
    }
}

TEST(EnumerateCandidates, TwoDifferencesLeaveNoConstant) {
    for (const auto& [d, D, constant] :
         {std::tuple{0, 0, true}, {1, 0, true}, {0, 1, true}, {1, 1, false}, {2, 0, false}, {0, 2, false}}) {
        zolv_BestArimaAutoFindSetting s = defaults();
        s.regularDifference = d;
        s.seasonalDifference = D;
        EXPECT_EQ(EffectiveConstant(s), constant);
        const std::vector<four> all = listed(s);
        EXPECT_EQ(all.size(), constant ? 35u : 36u);
        EXPECT_EQ(std::count(all.begin(), all.end(), four{5, 5, 0, 0}), constant ? 0 : 1);
        s.includeConstant = 0;
        EXPECT_FALSE(EffectiveConstant(s));
        EXPECT_EQ(listed(s).size(), 36u);
        s.includeConstant = -7;
        EXPECT_EQ(EffectiveConstant(s), constant);
    }
    zolv_BestArimaAutoFindSetting s = defaults();
    s.regularDifference = s.seasonalDifference = highest;  // their sum needs more than 32 bits
    EXPECT_FALSE(EffectiveConstant(s));
    s.seasonalDifference = lowest;
    EXPECT_TRUE(EffectiveConstant(s));
}

TEST(EnumerateCandidates, SeasonalBoundsCountFromPeriodTwo) {
    for (const std::int32_t period : {lowest, -1, 0, 1, 2, 12, highest}) {
        const auto s = seasonal_grid(1, 1, 2, 3, 0, 0, period);
        EXPECT_EQ(listed(s).size(), period >= 2 ? 48u : 4u) << period;
    }
    zolv_BestArimaAutoFindSetting s = seasonal_grid(1, 1, 0, 0, 0, 0, 1);
    s.minSeasonalAr = s.minSeasonalMa = 3;  // inverted, and ignored
    EXPECT_EQ(listed(s).size(), 4u);
}

TEST(EnumerateCandidates, InvertedBounds) {
    using S = zolv_BestArimaAutoFindSetting;
    for (const auto& [min, max] : {std::pair{&S::minAr, &S::maxAr},
                                   {&S::minMa, &S::maxMa},
                                   {&S::minSeasonalAr, &S::maxSeasonalAr},
                                   {&S::minSeasonalMa, &S::maxSeasonalMa}}) {
        for (const auto& [low, high] : {std::pair{2, 1}, {highest, lowest}, {highest, 0}, {0, lowest}}) {
            // The other bounds leave room for all that 32 bits can say.
            for (const bool wide : {false, true}) {
                S s = seasonal_grid(1, 1, 1, 1, 0, 0, 12);
                if (wide) {
                    s.minAr = s.minMa = s.minSeasonalAr = s.minSeasonalMa = lowest;
                    s.maxAr = s.maxMa = s.maxSeasonalAr = s.maxSeasonalMa = highest;
                }
                s.*min = low;
                s.*max = high;
                EXPECT_TRUE(EnumerateCandidates(s).empty());
            }
        }
    }
}

TEST(EnumerateCandidates, EnormousBoundsAreCutToTheLimit) {
    zolv_BestArimaAutoFindSetting s = defaults();
    s.maxAr = s.maxMa = highest;
    EXPECT_EQ(listed(s).size(), 55u);  // pairs of sum 0..9
    s.includeConstant = 0;
    EXPECT_EQ(listed(s).size(), 66u);
    s.seasonalPeriod = 4;
    s.maxSeasonalAr = s.maxSeasonalMa = highest;
    EXPECT_EQ(listed(s).size(), 1001u);  // 14 over 4: quadruples of sum 0..10
    s.minSeasonalMa = 10;
    EXPECT_EQ(listed(s), (std::vector<four>{{0, 0, 0, 10}}));
    s.minSeasonalMa = highest;
    EXPECT_TRUE(listed(s).empty());

    // Two orders may balance each other: (9 - m, m) for every m would be more than can be counted.
    s = defaults();
    s.minAr = s.maxAr = lowest;
    s.minMa = highest - 1;
    s.maxMa = highest;
    EXPECT_EQ(listed(s), (std::vector<four>{{lowest, highest - 1, 0, 0}, {lowest, highest, 0, 0}}));
    for (std::int32_t zolv_BestArimaAutoFindSetting::*const min :
         {&zolv_BestArimaAutoFindSetting::minAr, &zolv_BestArimaAutoFindSetting::minMa,
          &zolv_BestArimaAutoFindSetting::minSeasonalAr, &zolv_BestArimaAutoFindSetting::minSeasonalMa}) {
        s = seasonal_grid(1, 1, 1, 1, 0, 0, 12);
        s.*min = lowest;
        EXPECT_THROW(EnumerateCandidates(s), std::length_error);
        s.minAr = s.minMa = s.minSeasonalAr = s.minSeasonalMa = -100000;
        EXPECT_THROW(EnumerateCandidates(s), std::length_error);
    }
}

// ---- one candidate: what the fit routine is given
// ----------------------------------------------------------

struct seen_fit {
    zolv_ArimaModel model;
    const double* series;
    std::uint32_t count;
    std::vector<double> parameters;
};
std::vector<seen_fit> seen_fits;
std::vector<double> left_parameters;  // what the routine leaves at Parameters
int left_status = 0;

int scripted_fit(const double* series, std::uint32_t count, zolv_ArimaModel* model) {
    const int terms = model->ArOrder + model->MaOrder + model->SeasonalArOrder + model->SeasonalMaOrder;
    const int length = terms + (model->Constant != nullptr ? 2 : 1);
    seen_fits.push_back({*model, series, count, {model->Parameters, model->Parameters + length}});
    std::copy(left_parameters.begin(), left_parameters.end(), model->Parameters);
    return left_status;
}

std::vector<zolv_BestArmaModel> run_scripted(const std::vector<double>& series, int d, int D,
                                             const std::vector<ArmaCandidate>& candidates, int s,
                                             bool constant) {
    seen_fits.clear();
    std::vector<zolv_BestArmaModel> out;
    zolv_test::with_threads(1, [&] {
        zolv_BestArmaModel* const models = RunArma(series.data(), static_cast<int>(series.size()), d, D,
                                                   candidates, s, constant, scripted_fit);
        out.assign(models, models + candidates.size());
        delete[] models;
    });
    return out;
}

TEST(RunArma, WhatTheFitRoutineIsGiven) {
    const std::vector<double> series = generated_series(1, 40);
    left_parameters.clear();
    left_status = 0;
    const std::vector<ArmaCandidate> candidates{{0, 0, 0, 0}, {2, 1, 0, 0}, {1, 0, 2, 0}, {0, 3, 0, 1}};
    for (const bool constant : {false, true}) {
        for (const int D : {0, 1}) {
            const auto models = run_scripted(series, 1, D, candidates, 12, constant);
            ASSERT_EQ(seen_fits.size(), 4u);
            for (std::size_t i = 0; i < 4; ++i) {
                const ArmaCandidate& c = candidates[i];
                const zolv_ArimaModel& m = seen_fits[i].model;
                const int terms = c.p + c.q + c.P + c.Q;
                EXPECT_EQ(seen_fits[i].series, series.data());
                EXPECT_EQ(seen_fits[i].count, 40u);
                EXPECT_EQ((four{m.ArOrder, m.MaOrder, m.SeasonalArOrder, m.SeasonalMaOrder}),
                          (four{c.p, c.q, c.P, c.Q}));
                EXPECT_EQ(m.Differencing, 1);
                EXPECT_EQ(m.SeasonalDifferencing, D);
                EXPECT_EQ(m.SeasonalPeriod, D + c.P + c.Q < 1 ? 0 : 12);  // no period without a seasonal side
                EXPECT_EQ(m.Reserved, 0);
                EXPECT_EQ(m.Reserved2, 0);
                EXPECT_EQ(m.Constant, constant ? m.Parameters + terms + 1 : nullptr);
                ASSERT_EQ(seen_fits[i].parameters.size(), std::size_t(terms + (constant ? 2 : 1)));
                for (const double v : seen_fits[i].parameters) EXPECT_MISSING(v);
                expect_nan_scores(models[i]);  // the routine has left the first parameter as it was
                EXPECT_EQ(models[i].p, c.p);
            }
        }
    }
}

TEST(RunArma, NoPeriodWithoutASeasonalSideInAWholeSearch) {
    const auto s = seasonal_grid(1, 1, 1, 1, 0, 0, 12);
    std::vector<int> periods;
    run_scripted(generated_series(1, 40), 0, 0, EnumerateCandidates(s), 12, true);
    for (const auto& fit : seen_fits) periods.push_back(fit.model.SeasonalPeriod);
    EXPECT_EQ(periods, (std::vector<int>{0, 0, 0, 0, 12, 12, 12, 12, 12, 12, 12, 12, 12, 12, 12, 12}));
}

TEST(RunArma, OrdersBeyondTheLagTablesAreNeverFitted) {
    left_parameters.assign(20, 0.1);
    left_status = 1;
    std::vector<ArmaCandidate> candidates;
    for (const std::int32_t bad : {-1, 6, lowest, highest}) {
        candidates.push_back({bad, 0, 0, 0});
        candidates.push_back({0, bad, 0, 0});
        candidates.push_back({0, 0, bad, 0});
        candidates.push_back({0, 0, 0, bad});
    }
    const auto models = run_scripted(generated_series(1, 60), 0, 0, candidates, 12, true);
    EXPECT_TRUE(seen_fits.empty());
    for (std::size_t i = 0; i < models.size(); ++i) {
        const zolv_BestArmaModel& m = models[i];
        EXPECT_EQ((four{m.p, m.q, m.seasonalP, m.seasonalQ}),
                  (four{candidates[i].p, candidates[i].q, candidates[i].P, candidates[i].Q}));
        expect_nan_scores(m);
    }
    run_scripted(generated_series(1, 60), 0, 0, {{5, 5, 5, 5}}, 12, true);
    EXPECT_EQ(seen_fits.size(), 1u);
}

TEST(RunArma, NothingToFit) {
    const std::vector<double> series = generated_series(1, 10);
    zolv_BestArmaModel* const models = RunArma(series.data(), 10, 0, 0, {}, 0, true, FitCandidate);
    EXPECT_NE(models, nullptr);
    delete[] models;
}

// ---- one candidate: its score
// --------------------------------------------------------------------------------

TEST(RunArma, ScoresOfAnIndependentTranscription) {
    const zolv_test::reference_table table("arma_search_bits");
    ASSERT_GE(table.size(), 25u);
    for (std::size_t row = 0; row < table.size(); ++row) {
        SCOPED_TRACE("row " + std::to_string(row));
        const auto whole = [&](const char* column) { return static_cast<int>(table.number(row, column)); };
        left_parameters = zolv_test::number_list(table.text(row, "parameters"));
        left_status = whole("status");
        const auto models =
            run_scripted(zolv_test::named_series(table.text(row, "series")), whole("d"), whole("D"),
                         {{0, whole("q"), 0, whole("Q")}}, whole("s"), whole("constant") != 0);
        EXPECT_EQ(models[0].p, left_status == 0 ? 0 : 10000);
        EXPECT_EQ(models[0].q, whole("q"));
        EXPECT_EQ(models[0].seasonalP, 0);
        EXPECT_EQ(models[0].seasonalQ, whole("Q"));
        EXPECT_PLATFORM_BITS(models[0].logLikelihood, table.number(row, "log_likelihood"));
        EXPECT_PLATFORM_BITS(models[0].aicc, table.number(row, "aicc"));
        EXPECT_PLATFORM_BITS(models[0].aic, table.number(row, "aic"));
        EXPECT_PLATFORM_BITS(models[0].bic, table.number(row, "bic"));
    }
}

// A separate fit, scored by hand from the exported likelihood.
zolv_BestArmaModel fitted_by_hand(const std::vector<double>& series, const zolv_BestArimaAutoFindSetting& s,
                                  const four& c, bool constant) {
    const int n = static_cast<int>(series.size());
    const int terms = c[0] + c[1] + c[2] + c[3];
    const int period = s.seasonalDifference + c[2] + c[3] < 1 ? 0 : s.seasonalPeriod;
    std::vector<double> v(std::size_t(terms + 1), std::nan(""));
    double level = std::nan("");
    zolv_ArimaModel model =
        arima_model({c[0], s.regularDifference, c[1], c[2], s.seasonalDifference, c[3], period}, v.data());
    if (constant) model.Constant = &level;
    zolv_QorArima(series.data(), std::uint32_t(n), &model);
    const bool refitted = constant && !std::isfinite(v[0]);
    if (refitted) {
        model.Constant = nullptr;
        zolv_QorArima(series.data(), std::uint32_t(n), &model);
    }
    zolv_BestArmaModel out;
    out.p = refitted ? c[0] + 10000 : c[0];
    out.q = c[1];
    out.seasonalP = c[2];
    out.seasonalQ = c[3];
    out.logLikelihood = out.aicc = out.aic = out.bic = zolv_GetMissingValue();
    if (!std::isfinite(v[0])) return out;
    out.logLikelihood = zolv_ArimaLogLikelihood(series.data(), n, &model);
    const double deviance = -2.0 * out.logLikelihood;  // Exact: a halving undone
    const double N = n - (s.regularDifference + period * s.seasonalDifference);
    const double k = terms + (model.Constant != nullptr ? 2 : 1);
    out.aicc = 2.0 * k * N / (N - (1.0 + k)) + deviance;
    out.aic = 2.0 * k + deviance;
    out.bic = k * std::log(N) + deviance;
    return out;
}

void expect_separate_fits(const std::string& name, const std::vector<double>& series,
                          const zolv_BestArimaAutoFindSetting& setting, std::size_t least_scored) {
    SCOPED_TRACE(name);
    const found result(series, setting);
    const std::vector<four> candidates = nested_loops(setting);
    ASSERT_EQ(std::size_t(result.group.count), candidates.size());
    std::size_t scored = 0;
    for (std::size_t i = 0; i < candidates.size(); ++i) {
        const zolv_BestArmaModel want =
            fitted_by_hand(series, setting, candidates[i], EffectiveConstant(setting));
        const zolv_BestArmaModel& got = result.group.models[i];
        EXPECT_TRUE(same_model(got, want))
            << "row " << i << ": " << got.p << " " << got.q << " " << got.seasonalP << " " << got.seasonalQ
            << ", AICc " << zolv_test::show(got.aicc) << ", by hand " << zolv_test::show(want.aicc);
        scored += std::isfinite(got.aicc);
    }
    EXPECT_GE(scored, least_scored);
    expect_ranked(result.order(), keys_of(result.models(), setting.criterion));
}

TEST(AutoFindBestArma, EveryRowIsASeparateFit) {
    expect_separate_fits("lake_huron", load_series("lake_huron"), grid(3, 2), 11);
    expect_separate_fits("bj_series_a", load_series("bj_series_a"), grid(2, 2), 7);
    expect_separate_fits("bj_series_c", load_series("bj_series_c"), grid(2, 2, 1), 9);
    expect_separate_fits("sunspot_year", load_series("sunspot_year"), grid(3, 1), 7);
    expect_separate_fits("nile", load_series("nile"), grid(2, 3, 1), 12);
    expect_separate_fits("www_usage", load_series("www_usage"), grid(3, 2, 2), 11);
    zolv_BestArimaAutoFindSetting plain = grid(2, 2);
    plain.includeConstant = 0;
    expect_separate_fits("lynx", logs_of(load_series("lynx")), plain, 8);
    expect_separate_fits("airline_passengers", logs_of(load_series("airline_passengers")),
                         seasonal_grid(1, 1, 1, 1, 1, 1, 12), 15);
    expect_separate_fits("us_accidental_deaths", load_series("us_accidental_deaths"),
                         seasonal_grid(1, 1, 1, 1, 0, 1, 12), 15);
    expect_separate_fits("uk_gas", logs_of(load_series("uk_gas")), seasonal_grid(1, 1, 1, 1, 0, 0, 4), 11);
}

TEST(AutoFindBestArma, PeriodOneKeepsItsSeasonalDifference) {
    // 1 - B once as the seasonal difference of lag 1, once as the regular one: the same models.
    const std::vector<double> series = load_series("nile");
    zolv_BestArimaAutoFindSetting seasonal = seasonal_grid(1, 2, 3, 3, 0, 1, 1);
    seasonal.minSeasonalAr = 2;
    const found by_period(series, seasonal);
    ASSERT_EQ(by_period.group.count, 6);
    expect_separate_fits("nile", series, seasonal, 5);
    for (const zolv_BestArmaModel& m : by_period.models()) {
        EXPECT_EQ(m.seasonalP, 0);
        EXPECT_EQ(m.seasonalQ, 0);
    }
}

// Six values carry five coefficients, and no sixth for a constant: the fit answers 30025 and is repeated.
TEST(AutoFindBestArma, RefittedWithoutItsConstant) {
    const std::vector<double> series{1.0, -0.5, 0.75, 2.0, -1.25, 0.5};
    const zolv_BestArimaAutoFindSetting setting = grid(2, 5);
    expect_separate_fits("six values", series, setting, 1);
    const found result(series, setting);
    int refitted_and_scored = 0;
    for (const zolv_BestArmaModel& m : result.models()) {
        const int p = m.p >= 10000 ? m.p - 10000 : m.p;
        EXPECT_TRUE(p >= 0 && p <= 2);
        if (m.p < 10000) {
            EXPECT_TRUE(std::isfinite(m.logLikelihood));
        } else {
            refitted_and_scored += std::isfinite(m.logLikelihood);
        }
    }
    EXPECT_GE(refitted_and_scored, 1);
    // N is not above 1 + k for the largest of them: a penalty below zero, which ranks first.
    EXPECT_LT(result.group.models[result.group.order[0]].aicc,
              result.group.models[result.group.order[0]].aic);
}

// Without differences (0, 0) has nothing to estimate; with one it is the random walk.
TEST(AutoFindBestArma, NoTerms) {
    const std::vector<double> series = load_series("nile");
    for (const std::int32_t constant : {0, 1}) {
        zolv_BestArimaAutoFindSetting setting = grid(0, 0);
        setting.includeConstant = constant;
        const found none(series, setting);
        ASSERT_EQ(none.group.count, 1);
        EXPECT_EQ(none.group.models[0].p, constant ? 10000 : 0);
        expect_nan_scores(none.group.models[0]);
        setting.regularDifference = 1;
        const found walk(series, setting);
        EXPECT_EQ(walk.group.models[0].p, 0);
        EXPECT_TRUE(std::isfinite(walk.group.models[0].bic));
    }
}

// ---- the ranking
// ---------------------------------------------------------------------------------------------

TEST(RankCandidates, TheNamedCriterionAlone) {
    std::vector<zolv_BestArmaModel> models(40);
    std::mt19937_64 random(3);
    for (zolv_BestArmaModel& m : models) {
        m.p = m.q = m.seasonalP = m.seasonalQ = 0;
        m.logLikelihood = double(random() % 1000);
        m.aicc = double(random() % 1000);
        m.aic = double(random() % 1000);
        m.bic = double(random() % 1000);
    }
    for (const int criterion : {0, 1, 2}) {
        std::int32_t* const order = RankCandidates(models.data(), 40, criterion);
        expect_ranked({order, order + 40}, keys_of(models, criterion));
        delete[] order;
    }
    for (const int criterion : {-1, 3, lowest, highest}) {
        EXPECT_EQ(RankCandidates(models.data(), 40, criterion), nullptr);
    }
}

// The comparator and the sort together, for each criterion, on the orders of a separate script.
TEST(RankCandidates, OrdersOfTheTieTable) {
    const zolv_test::reference_table table("tie_order");
    double zolv_BestArmaModel::*const fields[] = {&zolv_BestArmaModel::aicc, &zolv_BestArmaModel::aic,
                                                  &zolv_BestArmaModel::bic};
    for (std::size_t row = 0; row < table.size(); ++row) {
        std::stringstream keys(table.text(row, "keys")), wanted(table.text(row, "order"));
        std::vector<zolv_BestArmaModel> models;
        std::vector<std::int32_t> want;
        for (std::string key; keys >> key;) {
            zolv_BestArmaModel m;
            std::memset(static_cast<void*>(&m), 0, sizeof m);
            for (const auto field : fields) m.*field = std::strtod(key.c_str(), nullptr);
            models.push_back(m);
        }
        for (std::int32_t index; wanted >> index;) want.push_back(index);
        const std::int32_t n = static_cast<std::int32_t>(models.size());
        for (const int criterion : {0, 1, 2}) {
            std::int32_t* const order = RankCandidates(models.data(), n, criterion);
            EXPECT_EQ(std::vector<std::int32_t>(order, order + n), want) << table.text(row, "name");
            delete[] order;
        }
    }
}

TEST(AutoFindBestArma, ThreeCriteria) {
    const std::vector<double> series = load_series("bj_series_f");
    std::vector<zolv_BestArmaModel> first;
    for (const int criterion : {0, 1, 2}) {
        zolv_BestArimaAutoFindSetting setting = grid(3, 3);
        setting.criterion = criterion;
        const found result(series, setting);
        ASSERT_EQ(result.group.count, 16);
        expect_ranked(result.order(), keys_of(result.models(), criterion));
        if (first.empty()) first = result.models();
        for (std::size_t i = 0; i < 16; ++i) EXPECT_TRUE(same_model(result.group.models[i], first[i]));
    }
    for (const int criterion : {-1, 3, lowest, highest}) {
        zolv_BestArimaAutoFindSetting setting = grid(3, 3);
        setting.criterion = criterion;
        const found result(series, setting);
        ASSERT_EQ(result.group.count, 16);
        EXPECT_EQ(result.group.order, nullptr);
        for (std::size_t i = 0; i < 16; ++i) EXPECT_TRUE(same_model(result.group.models[i], first[i]));
    }
}

// ---- the whole search
// ----------------------------------------------------------------------------------------

TEST(AutoFindBestArma, DefaultsGiveThirtyFive) {
    const std::vector<double> series = load_series("lake_huron");
    const found result(series, defaults());
    ASSERT_EQ(result.group.count, 35);
    expect_ranked(result.order(), keys_of(result.models(), 0));
    const std::vector<four> want = nested_loops(defaults());
    int scored = 0;
    for (std::size_t i = 0; i < 35; ++i) {
        const zolv_BestArmaModel& m = result.group.models[i];
        EXPECT_EQ((four{m.p % 10000, m.q, m.seasonalP, m.seasonalQ}), want[i]);
        scored += std::isfinite(m.aicc);
    }
    EXPECT_GE(scored, 32);  // not (0, 0), nor two whose fits or likelihood break
}

TEST(AutoFindBestArma, TwoDifferencesAdmitFiveFive) {
    zolv_BestArimaAutoFindSetting setting = defaults();
    setting.minAr = setting.minMa = 4;
    setting.regularDifference = 2;
    const found result(load_series("www_usage"), setting);
    ASSERT_EQ(result.group.count, 4);
    const zolv_BestArmaModel& last = result.group.models[3];
    EXPECT_EQ(last.p, 5);  // not refitted: there was no constant to do without
    EXPECT_EQ(last.q, 5);
    // k = 10 + 1 for sigma squared alone
    EXPECT_NEAR(last.aic + 2.0 * last.logLikelihood, 22.0, 1e-9);
    setting.regularDifference = 1;
    EXPECT_EQ(found(load_series("www_usage"), setting).group.count, 3);
}

TEST(AutoFindBestArma, InvertedBoundsGiveEmptyArrays) {
    zolv_BestArimaAutoFindSetting setting = defaults();
    setting.minAr = 6;
    const found result(generated_series(1, 50), setting);
    EXPECT_EQ(result.group.count, 0);
    EXPECT_NE(result.group.models, nullptr);  // arrays of length 0
    EXPECT_NE(result.group.order, nullptr);
}

TEST(AutoFindBestArma, TooShortAfterDifferencing) {
    const std::vector<double> series = generated_series(2, 13);
    for (const int count : {lowest, -1, 0, 1, 2, 12, 13}) {
        const auto setting = seasonal_grid(1, 1, 1, 1, 1, 1, 12);
        const found result(series.data(), count, &setting);
        ASSERT_EQ(result.group.count, 16);
        for (const zolv_BestArmaModel& m : result.models()) {
            expect_nan_scores(m);
            EXPECT_LT(m.p, 10000);  // d + D = 2: there is no constant to do without
        }
        for (std::int32_t i = 0; i < 16; ++i) EXPECT_EQ(result.group.order[i], i);
    }
    for (const int count : {lowest, -1, 0, 1, 2}) {  // 30 candidates, with a constant and a retry each
        const auto setting = grid(4, 5);
        const found result(series.data(), count, &setting);
        ASSERT_EQ(result.group.count, 30);
        for (const zolv_BestArmaModel& m : result.models()) {
            expect_nan_scores(m);
            EXPECT_GE(m.p, 10000);
        }
        for (std::int32_t i = 0; i < 30; ++i) EXPECT_EQ(result.group.order[i], i);
    }
    // 35 equal keys go through one partition, which finds them all equal to the pivot.
    const auto setting = defaults();
    const found result(series.data(), 2, &setting);
    ASSERT_EQ(result.group.count, 35);
    for (const zolv_BestArmaModel& m : result.models()) expect_nan_scores(m);
    expect_permutation(result.order());
    const zolv_test::reference_table table("tie_order");
    for (std::size_t row = 0; row < table.size(); ++row) {
        if (table.text(row, "name") != "all nan 35") continue;
        std::stringstream want(table.text(row, "order"));
        for (std::int32_t i = 0; i < 35; ++i) {
            std::int32_t index = -1;
            want >> index;
            EXPECT_EQ(result.group.order[i], index);
        }
    }
}

TEST(AutoFindBestArma, OrdersOutsideTheLagTablesStayInTheList) {
    zolv_BestArimaAutoFindSetting setting = grid(7, 1);
    setting.minMa = -1;
    const found result(load_series("lake_huron"), setting);
    ASSERT_EQ(result.group.count, 24);
    std::size_t i = 0;
    for (int q = -1; q <= 1; ++q) {
        for (int p = 0; p <= 7; ++p, ++i) {
            const zolv_BestArmaModel& m = result.group.models[i];
            if (q < 0 || p > 5) {
                EXPECT_EQ(m.p, p);
                EXPECT_EQ(m.q, q);
                expect_nan_scores(m);
            } else if (p + q > 0) {
                EXPECT_TRUE(std::isfinite(m.aicc)) << p << " " << q;
            }
        }
    }
    expect_ranked(result.order(), keys_of(result.models(), 0));
}

TEST(AutoFindBestArma, NonsenseInEveryField) {
    using S = zolv_BestArimaAutoFindSetting;
    std::int32_t S::*const fields[] = {
        &S::regularDifference,  &S::minAr,           &S::maxAr,         &S::minMa,         &S::maxMa,
        &S::seasonalDifference, &S::minSeasonalAr,   &S::maxSeasonalAr, &S::minSeasonalMa, &S::maxSeasonalMa,
        &S::seasonalPeriod,     &S::includeConstant, &S::criterion};
    const std::vector<double> series = generated_series(4, 9);
    const auto check = [&](const S& s) {
        const found result(series, s);
        ASSERT_TRUE(result.group.count >= 0 && result.group.count < 2000);
        if (result.group.models == nullptr) {
            EXPECT_EQ(result.group.count, 0);
            EXPECT_EQ(result.group.order, nullptr);
        } else if (s.criterion >= 0 && s.criterion <= 2) {
            expect_permutation(result.order());
        } else {
            EXPECT_EQ(result.group.order, nullptr);
        }
    };
    for (const auto field : fields) {
        for (const std::int32_t value : {lowest, lowest + 1, -1, 6, 1 << 20, highest - 1, highest}) {
            for (const bool seasonal : {false, true}) {
                S s = seasonal ? seasonal_grid(1, 1, 1, 1, 0, 1, 2) : grid(2, 2);
                s.*field = value;
                check(s);
            }
        }
    }
    S s = defaults();
    for (const std::int32_t value : {lowest, highest, -1, 0, 1}) {
        for (const auto field : fields) s.*field = value;
        check(s);
    }
    for (const std::int32_t period : {lowest, highest}) {  // the widest grid there is
        s = defaults();
        s.minAr = s.minMa = s.minSeasonalAr = s.minSeasonalMa = lowest;
        s.maxAr = s.maxMa = s.maxSeasonalAr = s.maxSeasonalMa = highest;
        s.seasonalPeriod = period;
        const found result(series, s);
        EXPECT_EQ(result.group.models, nullptr);
        EXPECT_EQ(result.group.order, nullptr);
        EXPECT_EQ(result.group.count, 0);
    }
}

TEST(AutoFindBestArma, NullArguments) {
    const std::vector<double> series = generated_series(5, 30);
    const auto setting = grid(1, 1);
    for (const auto& [x, s] : {std::pair{static_cast<const double*>(nullptr), &setting},
                               {series.data(), static_cast<decltype(&setting)>(nullptr)}}) {
        const found result(x, 30, s);
        EXPECT_EQ(result.group.models, nullptr);
        EXPECT_EQ(result.group.order, nullptr);
        EXPECT_EQ(result.group.count, 0);
    }
    zolv_CleanUpAfterAutoFindBestArma(zolv_BestArmaGroup{});
}

TEST(AutoFindBestArma, SeriesThatCannotBeFitted) {
    std::vector<double> series = generated_series(6, 60);
    series[20] = std::nan("");
    const found gap(series, grid(2, 2));
    for (const zolv_BestArmaModel& m : gap.models()) EXPECT_FALSE(std::isfinite(m.aicc));
    for (std::int32_t i = 0; i < 9; ++i) EXPECT_EQ(gap.group.order[i], i);
    series[20] = std::numeric_limits<double>::infinity();
    const found infinite(series, grid(2, 2));
    expect_permutation(infinite.order());
    const found flat(std::vector<double>(60, 3.0), grid(2, 2));
    expect_permutation(flat.order());
}

TEST(AutoFindBestArma, SameBitsForAnyNumberOfThreads) {
    struct {
        std::vector<double> series;
        zolv_BestArimaAutoFindSetting setting;
    } const cases[] = {{load_series("lake_huron"), defaults()},
                       {load_series("us_accidental_deaths"), seasonal_grid(1, 1, 1, 1, 1, 1, 12)}};
    for (const auto& c : cases) {
        std::vector<zolv_BestArmaModel> models;
        std::vector<std::int32_t> order;
        for (const int team : zolv_test::team_sizes) {
            zolv_test::with_threads(team, [&] {
                const found result(c.series, c.setting);
                if (models.empty()) {
                    models = result.models();
                    order = result.order();
                }
                ASSERT_EQ(std::size_t(result.group.count), models.size());
                EXPECT_EQ(result.order(), order);
                for (std::size_t i = 0; i < models.size(); ++i) {
                    EXPECT_TRUE(same_model(result.group.models[i], models[i]))
                        << team << " threads, row " << i;
                }
            });
        }
    }
}

// Records travel by value in both directions.
zolv_BestArmaGroup handed_on(zolv_BestArmaGroup group) { return group; }
zolv_BestArimaAutoFindSetting narrowed(zolv_BestArimaAutoFindSetting setting) {
    setting.maxAr = setting.maxMa = 1;
    return setting;
}

TEST(AutoFindBestArma, RecordsPassByValue) {
    const zolv_BestArimaAutoFindSetting wide = defaults(), narrow = narrowed(wide);
    EXPECT_EQ(wide.maxAr, 5);
    const std::vector<double> series = load_series("lake_huron");
    const zolv_BestArmaGroup group = zolv_AutoFindBestArma(series.data(), 98, &narrow);
    const zolv_BestArmaGroup copy = handed_on(group);
    EXPECT_EQ(copy.models, group.models);
    EXPECT_EQ(copy.order, group.order);
    EXPECT_EQ(copy.count, 4);
    const zolv_BestArmaModel best = copy.models[copy.order[0]];
    EXPECT_TRUE(same_model(best, group.models[group.order[0]]));
    zolv_CleanUpAfterAutoFindBestArma(copy);  // by any copy, once
}

// ---- does it find what is there
// ------------------------------------------------------------------------------

// Uniform numbers from the top 53 bits, twelve of them less 6: the same doubles on every machine.
std::vector<double> simulated(const std::vector<double>& phi, const std::vector<double>& theta, int n,
                              std::mt19937_64& random) {
    const int warm_up = 100;
    std::vector<double> z(std::size_t(n + warm_up)), a(z.size());
    for (std::size_t t = 0; t < z.size(); ++t) {
        double sum = -6.0;
        for (int i = 0; i < 12; ++i) sum += static_cast<double>(random() >> 11) * 0x1p-53;
        a[t] = z[t] = sum;
        for (std::size_t i = 0; i < std::min(phi.size(), t); ++i) z[t] += phi[i] * z[t - 1 - i];
        for (std::size_t i = 0; i < std::min(theta.size(), t); ++i) z[t] -= theta[i] * a[t - 1 - i];
    }
    z.erase(z.begin(), z.begin() + warm_up);
    for (double& value : z) value += 10.0;
    return z;
}

TEST(AutoFindBestArma, FindsTheTrueOrderInMostRuns) {
    const struct {
        std::vector<double> phi, theta;
    } processes[] = {
        {{0.8}, {}}, {{}, {0.7}}, {{1.2, -0.6}, {}}, {{}, {1.1, -0.6}}, {{0.7}, {-0.6}},
    };
    int right = 0, runs = 0;
    for (const auto& process : processes) {
        int right_here = 0;
        for (std::uint64_t seed = 1; seed <= 10; ++seed, ++runs) {
            std::mt19937_64 random(seed);
            const found result(simulated(process.phi, process.theta, 300, random), grid(2, 2));
            const zolv_BestArmaModel& best = result.group.models[result.group.order[0]];
            right_here += best.p == int(process.phi.size()) && best.q == int(process.theta.size());
        }
        std::printf("ARMA(%zu,%zu): the true order ranks first in %d of 10 runs\n", process.phi.size(),
                    process.theta.size(), right_here);
        right += right_here;
    }
    std::printf("together: %d of %d\n", right, runs);
    EXPECT_EQ(runs, 50);
    EXPECT_GE(right, 40);  // 44 measured
}

}  // namespace
