// distributions/binomial.cpp: the six exports of the binomial distribution.
//
// A bad success probability is answered before anything else: with the missing value, and in the array forms
// for every element. The kernels always work with a probability of at most one half.
#include <array>
#include <atomic>
#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>

#include "distributions/binomial_kernels.hpp"
#include "frame/nan.hpp"
#include "frame/parallel.hpp"
#include "zolv.h"

namespace {

using namespace dru::impl;

bool is_probability(double p) { return p >= 0.0 && p <= 1.0; }

// P(X = x) for one (n, prob) and many x.
class binomial_mass {
public:
    binomial_mass(double n, double prob)
        : n_(n), failures_(prob > 0.5), log_mass_(n, failures_ ? 1.0 - prob : prob) {}

    double operator()(double x) const {
        if (is_nan(x)) return sign_set_nan;
        if (std::floor(x) != x || x < 0.0 || x > n_) return 0.0;
        if (n_ == 0.0) return 1.0;
        return std::exp(log_mass_(failures_ ? n_ - x : x));
    }

private:
    double n_;
    bool failures_;  // counts the failures instead
    binomial_log_mass log_mass_;
};

// P(Y <= y) of a variate with n trials and success probability q, for whole y; the upper tail of X is the
// lower tail of the reflected variate n - X, which has q = 1 - prob.
class binomial_lower_tail {
public:
    binomial_lower_tail(double n, double q)
        : n_(n), failures_(q > 0.5), distribution_(n, failures_ ? 1.0 - q : q) {}

    double operator()(double y) const {
        if (is_nan(y)) return sign_set_nan;
        if (y < 0.0) return 0.0;
        if (y >= n_) return 1.0;
        if (failures_) {
            const discrete_tails t = distribution_.tails(n_ - y);
            return t.upper_tail + t.mass;
        }
        const discrete_tails t = distribution_.tails(y);
        return t.lower + t.mass;
    }

private:
    double n_;
    bool failures_;
    binomial_distribution distribution_;
};

// What an array has asked for at whole numbers 0 to n, kept for its repeats. Whichever thread comes first
// works a value out; two that come together store the same bits.
class asked_values {
public:
    asked_values(double n, std::uint64_t count)
        : size_(n < longest && n < worth * static_cast<double>(count) ? static_cast<std::size_t>(n) + 1 : 0) {
        for (std::size_t k = 0; k < size_; ++k) values_[k].store(not_asked, std::memory_order_relaxed);
    }

    template <class Value>
    double operator()(double k, const Value& value) {
        if (!(k < static_cast<double>(size_)) || std::signbit(k) || std::floor(k) != k) return value(k);
        std::atomic<std::uint64_t>& kept = values_[static_cast<std::size_t>(k)];
        const std::uint64_t bits = kept.load(std::memory_order_relaxed);
        if (bits != not_asked) return std::bit_cast<double>(bits);
        const double answer = value(k);
        kept.store(std::bit_cast<std::uint64_t>(answer), std::memory_order_relaxed);
        return answer;
    }

private:
    static constexpr double longest = 1024.0;
    static constexpr double worth = 4.0;  // entries per element: clearing one costs far less than a value
    static constexpr std::uint64_t not_asked = 0x7FF4000000000001;  // a NaN that no routine gives

    std::size_t size_;
    std::array<std::atomic<std::uint64_t>, 1024> values_;  // the first size_ of them
};

// The quantile for one (n, prob, tail) and many p, with the ends of the ranges settled.
class binomial_inverse {
public:
    binomial_inverse(double n, double prob, unsigned char upper)
        : n_(n), prob_(prob), upper_(upper != 0), solver_(n, prob, upper) {}

    double operator()(double p) const {
        if (!is_probability(p)) return sign_set_nan;
        if (p == 0.0) return upper_ ? n_ : 0.0;
        if (p == 1.0) return upper_ ? 0.0 : n_;
        if (n_ == 0.0) return 0.0;
        if (prob_ == 0.0) return 0.0;
        if (prob_ == 1.0) return n_;
        return solver_(p);
    }

private:
    double n_, prob_;
    bool upper_;
    binomial_quantile_solver solver_;
};

}  // namespace

extern "C" double zolv_BinomialPdf(double x, uint32_t n, double prob) {
    if (!is_probability(prob)) return missing_value;
    return binomial_mass(n, prob)(x);
}

extern "C" double zolv_BinomialCdf(double x, uint32_t n, double prob, unsigned char upper) {
    if (!is_probability(prob)) return missing_value;
    const double trials = n;
    return upper != 0 ? binomial_lower_tail(trials, 1.0 - prob)(std::floor(trials - (x + 1.0)))
                      : binomial_lower_tail(trials, prob)(std::floor(x));
}

extern "C" double zolv_BinomialInvCdf(double p, uint32_t n, double prob, unsigned char upper) {
    if (!is_probability(prob)) return missing_value;
    return binomial_inverse(n, prob, upper)(p);
}

extern "C" void zolv_ParallelBinomialPdf(const double* x, uint64_t count, uint32_t n, double prob,
                                         double* out) {
    if (!is_probability(prob)) return fill_missing(out, count);
    const binomial_mass mass(n, prob);
    asked_values asked(n, count);
    parallel_for(count, [&](uint64_t i) { out[i] = asked(x[i], mass); });
}

// Oddity: the upper tail takes floor((n - 1) - x) with n - 1 a signed 32-bit integer, the scalar form
// floor(n - (x + 1)). They meet at whole x for n up to 2^31. Above, n - 1 has wrapped to a negative number
// and every x from 0 on has the tail 0; next to a whole x the two may round to either side of it. Required.
extern "C" void zolv_ParallelBinomialCdf(const double* x, uint64_t count, uint32_t n, double prob,
                                         unsigned char upper, double* out) {
    if (!is_probability(prob)) return fill_missing(out, count);
    asked_values asked(n, count);
    if (upper != 0) {
        const binomial_lower_tail tail(n, 1.0 - prob);
        const double last = static_cast<int32_t>(n - 1u);  // modulo 2^32, like the unsigned difference
        parallel_for(count, [&](uint64_t i) { out[i] = asked(std::floor(last - x[i]), tail); });
    } else {
        const binomial_lower_tail tail(n, prob);
        parallel_for(count, [&](uint64_t i) { out[i] = asked(std::floor(x[i]), tail); });
    }
}

extern "C" void zolv_ParallelBinomialInvCdf(const double* p, uint64_t count, uint32_t n, double prob,
                                            unsigned char upper, double* out) {
    if (!is_probability(prob)) return fill_missing(out, count);
    const binomial_inverse inverse(n, prob, upper);
    parallel_for(count, [&](uint64_t i) { out[i] = inverse(p[i]); });
}
