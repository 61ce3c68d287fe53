// time_series/lag_terms.hpp: one side of a multiplicative seasonal model as a plain list of lags.
//
// (1 - sum phi_i B^i)(1 - sum Phi_j B^jS) is carried as its terms: the non-seasonal ones, the seasonal ones,
// then a cross term for each pair, whose coefficient is minus the product of its two parameters. Box &
// Jenkins (1976), 9.2.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace zolv::time_series {

inline constexpr int max_order = 5;                                              // rows of a lag table
inline constexpr int max_terms = max_order + max_order + max_order * max_order;  // 35

struct LagTerms {
    std::array<std::int64_t, max_terms> lag{};  // 64 bits: five periods may exceed 32
    std::array<int, max_terms> first{};         // index of the parameter; of a cross term its first factor
    std::array<int, max_terms> second{};        // of a cross term its second factor
    int plain = 0;                              // terms before the first cross term
    int count = 0;                              // all terms
    std::int64_t maxLag = 0;                    // 0 without terms

    bool Absent() const { return count == 0; }
    bool HasCross() const { return count > plain; }
    // The coefficients at `theta`, in the order of the terms; as many as there are terms are written.
    void Coefficients(const double* theta, std::array<double, max_terms>& out) const {
        for (std::size_t i = 0; i < static_cast<std::size_t>(count); ++i) {
            const double u = theta[first[i]];
            out[i] = i < static_cast<std::size_t>(plain) ? u : -u * theta[second[i]];
        }
    }
};

// A non-seasonal and B seasonal terms, both 0..5; `offset` is the index of the first parameter, the seasonal
// ones follow the others.
LagTerms BuildLagTerms(int A, int B, int S, int offset);

}  // namespace zolv::time_series
