// bench/support/library_answers.hpp: zolv's answers, by its scalar exports and by its array forms.
#pragma once

#include <cstddef>
#include <cstdint>

#include "support/answers.hpp"
#include "zolv.h"

namespace zolv_bench {

template <auto Pdf, auto Cdf, auto InvCdf, class... Parameters>
answer scalar_family(const question& q, Parameters... p) {
    const unsigned char u = q.upper;
    switch (q.what) {
        case function::pdf:
            return loop([=](double x) { return Pdf(x, p...); });
        case function::cdf:
            return loop([=](double x) { return Cdf(x, p..., u); });
        case function::quantile:
            return loop([=](double x) { return InvCdf(x, p..., u); });
    }
    return {};
}

// InvCdf is null where there is no array form; the answer is then empty.
template <auto Pdf, auto Cdf, auto InvCdf, class... Parameters>
answer array_family(const question& q, Parameters... p) {
    const unsigned char u = q.upper;
    switch (q.what) {
        case function::pdf:
            return [=](const double* x, std::size_t n, double* out) { Pdf(x, n, p..., out); };
        case function::cdf:
            return [=](const double* x, std::size_t n, double* out) { Cdf(x, n, p..., u, out); };
        case function::quantile:
            if constexpr (InvCdf != nullptr) {
                return [=](const double* x, std::size_t n, double* out) { InvCdf(x, n, p..., u, out); };
            }
    }
    return {};
}

inline answer scalar_exports(const question& q) {
    const double a = q.at->q[0], b = q.at->q[1], c = q.at->q[2];
    const auto n = static_cast<std::uint32_t>(a);
    switch (q.at->of) {
        case family::normal:
            return scalar_family<zolv_NormalPdf, zolv_NormalCdf, zolv_NormalInvCdf>(q, a, b);
        case family::t:
            return scalar_family<zolv_TPdf, zolv_TCdf, zolv_TInvCdf>(q, a, b);
        case family::chi_square:
            return scalar_family<zolv_ChiSqPdf, zolv_ChiSqCdf, zolv_ChiSqInvCdf>(q, a, b);
        case family::beta:
            return scalar_family<zolv_BetaPdf, zolv_BetaCdf, zolv_BetaInvCdf>(q, a, b);
        case family::f:
            return scalar_family<zolv_FPdf, zolv_FCdf, zolv_FInvCdf>(q, a, b, c);
        case family::binomial:
            return scalar_family<zolv_BinomialPdf, zolv_BinomialCdf, zolv_BinomialInvCdf>(q, n, b);
    }
    return {};
}

inline answer array_forms(const question& q) {
    const double a = q.at->q[0], b = q.at->q[1], c = q.at->q[2];
    const auto n = static_cast<std::uint32_t>(a);
    switch (q.at->of) {
        case family::normal:
            return array_family<zolv_ParallelNormalPdf, zolv_ParallelNormalCdf, zolv_ParallelNormalInvCdf>(
                q, a, b);
        case family::t:
            return array_family<zolv_ParallelTPdf, zolv_ParallelTCdf, zolv_ParallelTInvCdf>(q, a, b);
        case family::chi_square:
            return array_family<zolv_ParallelChiSqPdf, zolv_ParallelChiSqCdf, nullptr>(q, a, b);
        case family::beta:
            return array_family<zolv_ParallelBetaPdf, zolv_ParallelBetaCdf, zolv_ParallelBetaInvCdf>(q, a, b);
        case family::f:
            return array_family<zolv_ParallelFPdf, zolv_ParallelFCdf, zolv_ParallelFInvCdf>(q, a, b, c);
        case family::binomial:
            return array_family<zolv_ParallelBinomialPdf, zolv_ParallelBinomialCdf,
                                zolv_ParallelBinomialInvCdf>(q, n, b);
    }
    return {};
}

}  // namespace zolv_bench
