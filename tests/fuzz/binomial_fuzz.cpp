// The binomial family: array forms against scalar ones, tails that sum to one, quantiles that are the
// smallest.
#include "fuzz/family.hpp"
#include "zolv.h"

using namespace zolv_fuzz;

namespace {

constexpr double probability_thresholds[] = {0.5, 0.0, 1.0, 0.25};

struct parameters {
    std::uint32_t n;
    double prob;
    bool valid() const { return prob >= 0.0 && prob <= 1.0; }
    double variance() const { return n * prob * (1.0 - prob); }
};

void density(input& in, const parameters& of, const std::vector<double>& x) {
    const std::vector<double> said = array_is_scalar(
        in, x, "zolv_ParallelBinomialPdf is zolv_BinomialPdf",
        [&](double v) { return zolv_BinomialPdf(v, of.n, of.prob); },
        [&](const double* v, std::size_t n, double* out) {
            zolv_ParallelBinomialPdf(v, n, of.n, of.prob, out);
        });
    for (std::size_t i = 0; i < x.size(); ++i) {
        require_nan_rules(of.valid(), x[i], said[i], "NaNs of zolv_BinomialPdf",
                          {x[i], double(of.n), of.prob, said[i]});
        if (!of.valid() || std::isnan(x[i])) continue;
        // A prob of -0.0 makes distances from the mean that have no logarithm.
        if (std::isnan(said[i]) && bits(of.prob) == bits(-0.0)) continue;
        require(said[i] >= 0.0 && said[i] <= 1.0 + 1e-12, "a mass in [0, 1]",
                {x[i], double(of.n), of.prob, said[i]});
        if (std::floor(x[i]) != x[i] || x[i] < 0.0 || x[i] > of.n)
            require(said[i] == 0.0, "no mass outside the support", {x[i], double(of.n), of.prob, said[i]});
    }
}

// Both forms of the upper tail round n - 1 - x, each in its own way.
bool forms_agree(const parameters& of, double x, unsigned char upper) {
    if (upper == 0 || std::isnan(x)) return true;
    if (of.n > 0x80000000u) return false;
    const double trials = of.n, last = trials - 1.0;
    return std::floor(last - x) == std::floor(trials - (x + 1.0));
}

void tails(input& in, const parameters& of, unsigned char upper, std::vector<double> x) {
    if (of.valid()) {
        const auto differs = [&](double v) { return !forms_agree(of, v, upper); };
        if (upper != 0 && of.n > 0x80000000u) {
            for (const double v : x) {
                double out = -1.0;
                zolv_ParallelBinomialCdf(&v, 1, of.n, of.prob, upper, &out);
                if (v >= 0.0)
                    require(out == 0.0, "the array form's wrapped n", {v, double(of.n), of.prob, out});
            }
        }
        std::erase_if(x, differs);
    }
    const std::vector<double> said = array_is_scalar(
        in, x, "zolv_ParallelBinomialCdf is zolv_BinomialCdf",
        [&](double v) { return zolv_BinomialCdf(v, of.n, of.prob, upper); },
        [&](const double* v, std::size_t n, double* out) {
            zolv_ParallelBinomialCdf(v, n, of.n, of.prob, upper, out);
        });
    for (std::size_t i = 0; i < x.size(); ++i) {
        require_nan_rules(of.valid(), x[i], said[i], "NaNs of zolv_BinomialCdf",
                          {x[i], double(of.n), of.prob, said[i]});
        if (!of.valid() || std::isnan(said[i])) continue;
        require(said[i] >= -1e-12 && said[i] <= 1.0 + 1e-8, "a tail in [0, 1]",
                {x[i], double(of.n), of.prob, said[i]});
        if (std::floor(x[i]) != x[i] || std::fabs(x[i]) > 1e15) continue;
        const double other = zolv_BinomialCdf(x[i], of.n, of.prob, upper != 0 ? 0 : 1);
        // 1 - prob is rounded, which moves the mean by 6e-17 n at most.
        require(std::isnan(other) || std::fabs(said[i] + other - 1.0) <= 1e-8 + 1.2e-16 * of.n,
                "tails that sum to one", {x[i], double(of.n), of.prob, said[i], other});
    }
}

void quantiles(input& in, const parameters& of, unsigned char upper, const std::vector<double>& p) {
    const std::vector<double> said = array_is_scalar(
        in, p, "zolv_ParallelBinomialInvCdf is zolv_BinomialInvCdf",
        [&](double v) { return zolv_BinomialInvCdf(v, of.n, of.prob, upper); },
        [&](const double* v, std::size_t n, double* out) {
            zolv_ParallelBinomialInvCdf(v, n, of.n, of.prob, upper, out);
        });
    for (std::size_t i = 0; i < p.size(); ++i) {
        const double variate_or_nan = is_bad_probability(p[i]) ? NAN : p[i];
        require_nan_rules(of.valid(), variate_or_nan, said[i], "NaNs of zolv_BinomialInvCdf",
                          {p[i], double(of.n), of.prob, said[i]});
        if (!of.valid() || is_bad_probability(p[i]) || std::isnan(said[i])) continue;
        require(said[i] >= 0.0 && said[i] <= of.n + 1.0 && std::floor(said[i]) == said[i],
                "a quantile that is a count", {p[i], double(of.n), of.prob, said[i]});
        if (!(of.n > 0 && of.n <= (1u << 20) && of.prob >= 0.001 && of.prob <= 0.999 && p[i] > 1e-6 &&
              p[i] < 1.0 - 1e-6))
            continue;
        const double x = said[i];
        const double at = zolv_BinomialCdf(x, of.n, of.prob, upper);
        const double before = zolv_BinomialCdf(x - 1.0, of.n, of.prob, upper);
        if (upper == 0)
            require(at >= p[i] && before < p[i], "the smallest lower quantile",
                    {p[i], double(of.n), of.prob, x, at, before});
        else
            require(at <= p[i] * (1.0 + 1e-9) && before > p[i] * (1.0 - 1e-9), "the smallest upper quantile",
                    {p[i], double(of.n), of.prob, x, at, before});
    }
}

std::uint32_t trials(input& in) {
    switch (in.byte() % 8) {
        default:
            return in.byte();
        case 3:
        case 4:
            return static_cast<std::uint32_t>(in.word(2));
        case 5:
            return static_cast<std::uint32_t>(in.word(4));
        case 6:
            return 40000u + static_cast<std::uint32_t>(in.byte());
        case 7: {
            const std::uint32_t around[] = {0u,          0x7FFFFFFFu, 0x80000000u, 0x80000001u,
                                            0xFFFFFFFFu, 40000u,      22500u};
            return around[in.byte() % std::size(around)];
        }
    }
}

double count(input& in, const parameters& of) {
    const double mean = of.n * of.prob, sd = std::sqrt(of.variance());
    const double thresholds[] = {0.0, double(of.n), of.n - 1.0, mean, of.n / 2.0};
    const argument any{-1.0, 6.0, true, thresholds};
    if (in.flag() && std::isfinite(mean)) {
        const double x = mean + in.between(-10.0, 10.0) * (sd + 1.0);
        return in.byte() < 224 ? std::floor(x) : x;
    }
    return in.number(any);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    input in(data, size);
    const std::uint8_t what = in.byte();
    const argument success{-4.0, 0.0, false, probability_thresholds};
    parameters of;
    of.n = trials(in);
    of.prob = in.flag() ? in.number(success) : in.probability();
    const unsigned char upper = in.byte();
    std::vector<double> x(static_cast<std::size_t>(what >> 4) % 4);
    for (double& value : x) value = what % 3 == 2 ? in.probability() : count(in, of);
    show(what % 3 == 0   ? "density"
         : what % 3 == 1 ? "tails"
                         : "quantiles",
         {double(of.n), of.prob, double(upper)}, x);
    if (what % 3 == 0) density(in, of, x);
    if (what % 3 == 1) tails(in, of, upper, x);
    if (what % 3 == 2) quantiles(in, of, upper, x);
    return 0;
}
