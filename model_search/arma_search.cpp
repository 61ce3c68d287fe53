#include "model_search/arma_search.hpp"

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>
#include <new>
#include <span>
#include <stdexcept>

#include "frame/nan.hpp"
#include "frame/parallel.hpp"
#include "model_search/arma_likelihood.hpp"
#include "model_search/tie_order_sort.hpp"

namespace zolv::time_series {

namespace {

using dru::impl::is_finite;
using dru::impl::missing_value;

constexpr std::int32_t highest_order = 5;  // the lag tables of a model have five rows

struct Bounds {
    std::int64_t low, high;
};

// The grid of orders with the limit on their sum. A candidate is admitted if its orders sum to less than the
// limit, so each level's upper bound is cut to what the lowest orders of the levels inside it leave: nothing
// is visited that the limit cannot admit, however wide the bounds are.
class Grid {
public:
    explicit Grid(const zolv_BestArimaAutoFindSetting& s)
        : limit_(EffectiveConstant(s) ? 10 : 11),
          p_{s.minAr, s.maxAr},
          q_{s.minMa, s.maxMa},
          P_{0, 0},
          Q_{0, 0} {
        if (s.seasonalPeriod >= 2) {
            P_ = {s.minSeasonalAr, s.maxSeasonalAr};
            Q_ = {s.minSeasonalMa, s.maxSeasonalMa};
        }
    }

    // Calls visit(Q, P, q, lowest p, highest p) for each non-empty run of p.
    template <class Visit>
    void ForEachRun(const Visit& visit) const {
        ForEachSeasonalPair([&](std::int64_t Q, std::int64_t P, std::int64_t rest) {
            for (std::int64_t q = q_.low; q <= std::min(q_.high, rest - p_.low); ++q) {
                visit(Q, P, q, p_.low, std::min(p_.high, rest - q));
            }
        });
    }

    // Each pair of Q and P admits at least one candidate, so that a grid which is too large is refused before
    // the loops reach its size.
    std::int64_t Count() const {
        if (Inverted()) return 0;
        RefuseBeyondMost(CountPairs(Q_, P_, limit_ - 1 - q_.low - p_.low));
        std::int64_t count = 0;
        ForEachSeasonalPair([&](std::int64_t, std::int64_t, std::int64_t rest) {
            count += CountPairs(q_, p_, rest);
            RefuseBeyondMost(count);
        });
        return count;
    }

private:
    static constexpr std::int64_t most_candidates = std::numeric_limits<std::int32_t>::max();

    bool Inverted() const {
        return p_.low > p_.high || q_.low > q_.high || P_.low > P_.high || Q_.low > Q_.high;
    }

    // Calls visit(Q, P, rest) for each pair that leaves room for the lowest q and p; their sum may be `rest`.
    template <class Visit>
    void ForEachSeasonalPair(const Visit& visit) const {
        const std::int64_t most = limit_ - 1;
        if (Inverted()) return;
        for (std::int64_t Q = Q_.low; Q <= std::min(Q_.high, most - P_.low - q_.low - p_.low); ++Q) {
            for (std::int64_t P = P_.low; P <= std::min(P_.high, most - Q - q_.low - p_.low); ++P) {
                visit(Q, P, most - Q - P);
            }
        }
    }

    static void RefuseBeyondMost(std::int64_t count) {
        if (count > most_candidates) throw std::length_error("too many candidates");
    }

    // Pairs within the bounds whose sum is at most `rest`; any number above most_candidates stands for more.
    static std::int64_t CountPairs(const Bounds& outer, const Bounds& inner, std::int64_t rest) {
        const std::int64_t rows = std::min(outer.high, rest - inner.low) - outer.low + 1;
        const std::int64_t longest = std::min(inner.high, rest - outer.low) - inner.low + 1;
        if (rows < 1 || longest < 1) return 0;
        if (rows > most_candidates || longest > most_candidates) return most_candidates + 1;
        // Rows before `rest` cuts them are all of the same length, behind that each is shorter by one.
        const std::int64_t whole = std::clamp<std::int64_t>(rest - inner.high - outer.low + 1, 0, rows);
        const std::int64_t cut = rows - whole;
        const std::int64_t first_cut = rest - (outer.low + whole) - inner.low + 1;
        return whole * longest + cut * (first_cut + (first_cut - cut + 1)) / 2;
    }

    std::int64_t limit_;
    Bounds p_, q_, P_, Q_;
};

bool OrdersCanBeFitted(const ArmaCandidate& c) {
    const auto inside = [](std::int32_t order) { return order >= 0 && order <= highest_order; };
    return inside(c.p) && inside(c.q) && inside(c.P) && inside(c.Q);
}

zolv_BestArmaModel Unscored(const ArmaCandidate& c) {
    zolv_BestArmaModel result;
    result.p = c.p;
    result.q = c.q;
    result.seasonalP = c.P;
    result.seasonalQ = c.Q;
    result.logLikelihood = result.aicc = result.aic = result.bic = missing_value;
    return result;
}

zolv_BestArmaModel FitAndScore(const double* series, int count, int d, int D, const ArmaCandidate& c, int s,
                               bool constant, FitRoutine fit) {
    zolv_BestArmaModel result = Unscored(c);
    if (!OrdersCanBeFitted(c)) return result;
    const std::size_t p = static_cast<std::size_t>(c.p), q = static_cast<std::size_t>(c.q),
                      P = static_cast<std::size_t>(c.P), Q = static_cast<std::size_t>(c.Q);
    const std::size_t terms = p + q + P + Q;
    std::vector<double> parameters(terms + (constant ? 2 : 1), missing_value);

    const std::int64_t seasonal = std::int64_t{D} + c.P + c.Q;
    const int period = seasonal < 1 ? 0 : s;
    zolv_ArimaModel model{};
    model.ArOrder = c.p;
    model.Differencing = d;
    model.MaOrder = c.q;
    model.SeasonalArOrder = c.P;
    model.SeasonalDifferencing = D;
    model.SeasonalMaOrder = c.Q;
    model.SeasonalPeriod = period;
    model.Constant = constant ? &parameters.back() : nullptr;
    model.Parameters = parameters.data();
    const int status = fit(series, static_cast<std::uint32_t>(count), &model);
    if (status != 0) result.p += 10000;
    const bool active = status == 0 && constant;

    const std::vector<double> w = DifferenceSeries(series, count, d, D, period, active);
    if (!is_finite(parameters[0]) || w.empty()) return result;
    const std::span<const double> all(parameters);
    const std::vector<double> ar = ExpandSeasonalPolynomial(all.subspan(0, p), all.subspan(p + q, P), period);
    const std::vector<double> ma =
        ExpandSeasonalPolynomial(all.subspan(p, q), all.subspan(p + q + P, Q), period);
    const double deviance = ArmaDeviance(w, ar, ma, parameters[terms]);

    // k counts sigma squared, and the constant when the model kept it.
    const double N = static_cast<double>(w.size());
    const double k = static_cast<double>(terms + (active ? 2 : 1));
    result.logLikelihood = -0.5 * deviance;
    result.aicc = 2.0 * k * N / (N - (1.0 + k)) + deviance;
    result.aic = 2.0 * k + deviance;
    result.bic = k * std::log(N) + deviance;
    return result;
}

}  // namespace

int FitCandidate(const double* series, std::uint32_t count, zolv_ArimaModel* model) {
    zolv_QorArima(series, count, model);
    return 0;
}

int FitCandidateWithConstant(const double* series, std::uint32_t count, zolv_ArimaModel* model) {
    zolv_QorArima(series, count, model);
    if (is_finite(model->Parameters[0])) return 0;
    model->Constant = nullptr;
    zolv_QorArima(series, count, model);
    return 1;
}

bool EffectiveConstant(const zolv_BestArimaAutoFindSetting& setting) {
    const std::int64_t differences = std::int64_t{setting.regularDifference} + setting.seasonalDifference;
    return differences <= 1 && setting.includeConstant != 0;
}

std::vector<ArmaCandidate> EnumerateCandidates(const zolv_BestArimaAutoFindSetting& setting) {
    const Grid grid(setting);
    std::vector<ArmaCandidate> candidates;
    candidates.reserve(static_cast<std::size_t>(grid.Count()));
    grid.ForEachRun([&](std::int64_t Q, std::int64_t P, std::int64_t q, std::int64_t low, std::int64_t high) {
        for (std::int64_t p = low; p <= high; ++p) {
            candidates.push_back({static_cast<std::int32_t>(p), static_cast<std::int32_t>(q),
                                  static_cast<std::int32_t>(P), static_cast<std::int32_t>(Q)});
        }
    });
    return candidates;
}

zolv_BestArmaModel* RunArma(const double* series, int count, int d, int D,
                            const std::vector<ArmaCandidate>& candidates, int s, bool constant,
                            FitRoutine fit) {
    std::unique_ptr<zolv_BestArmaModel[]> models(new (std::nothrow) zolv_BestArmaModel[candidates.size()]);
    if (models == nullptr) return nullptr;
    dru::impl::parallel_for(candidates.size(), [&](std::uint64_t i) {
        models[i] = FitAndScore(series, count, d, D, candidates[i], s, constant, fit);
    });
    return models.release();
}

std::int32_t* RankCandidates(const zolv_BestArmaModel* models, std::int32_t count, std::int32_t criterion) {
    double zolv_BestArmaModel::*key = nullptr;
    switch (criterion) {
        case 0:
            key = &zolv_BestArmaModel::aicc;
            break;
        case 1:
            key = &zolv_BestArmaModel::aic;
            break;
        case 2:
            key = &zolv_BestArmaModel::bic;
            break;
        default:
            return nullptr;
    }
    std::int32_t* const order = new (std::nothrow) std::int32_t[static_cast<std::size_t>(count)];
    if (order == nullptr) return nullptr;
    for (std::int32_t i = 0; i < count; ++i) order[i] = i;
    // Oddity: taken literally, minus infinity and a finite value each come before the other. The sort is
    // bounded by its ranges, so a permutation comes out all the same.
    dru::impl::tie_order_sort(order, order + count, count, [&](std::int32_t a, std::int32_t b) {
        const double l = models[a].*key, r = models[b].*key;
        if (!is_finite(r)) return is_finite(l) || l < r;
        return l < r;
    });
    return order;
}

}  // namespace zolv::time_series

extern "C" zolv_BestArimaAutoFindSetting zolv_CreateBestArimaAutoFindSetting(void) {
    zolv_BestArimaAutoFindSetting setting{};
    setting.maxAr = 5;
    setting.maxMa = 5;
    setting.includeConstant = 1;
    return setting;
}

extern "C" zolv_BestArmaGroup zolv_AutoFindBestArma(const double* series, int count,
                                                    const zolv_BestArimaAutoFindSetting* setting) {
    using namespace zolv::time_series;
    zolv_BestArmaGroup group{};
    if (series == nullptr || setting == nullptr) return group;
    std::vector<ArmaCandidate> candidates;
    try {
        candidates = EnumerateCandidates(*setting);
    } catch (const std::length_error&) {
        return group;  // no array of models could hold them
    }
    const bool constant = EffectiveConstant(*setting);
    group.models = RunArma(series, std::max(count, 0), setting->regularDifference,
                           setting->seasonalDifference, candidates, setting->seasonalPeriod, constant,
                           constant ? FitCandidateWithConstant : FitCandidate);
    if (group.models == nullptr) return group;
    group.count = static_cast<std::int32_t>(candidates.size());
    group.order = RankCandidates(group.models, group.count, setting->criterion);
    return group;
}

extern "C" void zolv_CleanUpAfterAutoFindBestArma(zolv_BestArmaGroup group) {
    delete[] group.order;
    delete[] group.models;
}
