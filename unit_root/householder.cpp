// unit_root/householder.cpp: Householder QR of a list of columns, without those that depend on earlier ones.
#include "unit_root/householder.hpp"

#include <algorithm>
#include <cmath>

#include "frame/nan.hpp"

namespace zolv::unit_root {

namespace {

// Columns that meet a reflector while it is in the cache. Each has the reflectors in their order, as if it
// were alone: a block changes when a dot product is taken, not what it adds.
constexpr std::size_t columns_at_once = 8;

[[gnu::always_inline]] inline void subtract_multiple(const double* v, double factor, double* y,
                                                     std::size_t n) {
    for (std::size_t i = 0; i < n; ++i) y[i] = y[i] - factor * v[i];
}

#if defined(__x86_64__)
// Without "fma": nothing may be fused, whatever the flags.
[[gnu::target("avx2")]] void wide_subtract_multiple(const double* v, double factor, double* y,
                                                    std::size_t n) {
    subtract_multiple(v, factor, y, n);
}
#endif

}  // namespace

void NarrowSubtractMultiple(const double* v, double factor, double* y, std::size_t n) {
    subtract_multiple(v, factor, y, n);
}

void SubtractMultiple(const double* v, double factor, double* y, std::size_t n) {
    // GCOVR_EXCL_BR_START: only a processor without AVX2 goes on.
#if defined(__x86_64__)
    if (__builtin_cpu_supports("avx2")) return wide_subtract_multiple(v, factor, y, n);
#endif
    // GCOVR_EXCL_BR_STOP
    subtract_multiple(v, factor, y, n);  // GCOVR_EXCL_LINE: only a processor without AVX2 comes here
}

void Reflect(const std::vector<double>& v, double tau, std::size_t first, std::size_t last,
             std::vector<double>& y) {
    const double scaled = tau * RowDot(v, y, first, last);
    if (first < last) SubtractMultiple(v.data() + first, scaled, y.data() + first, last - first);
}

HouseholderFactors HouseholderColumns(AdfRegression& regression) {
    const std::size_t regressors = regression.regressors(), rows = regression.rows();
    HouseholderFactors factors;
    factors.tau.assign(regressors, dru::impl::missing_value);
    factors.diagonal.assign(regressors, 0.0);
    auto& retained = factors.retained;

    std::size_t reflected = 0;  // reflectors that the block of column j has had
    for (std::size_t j = 0; j < regressors; ++j) {
        if (j % columns_at_once == 0) {
            const std::size_t block_end = std::min(j + columns_at_once, regressors);
            for (std::size_t b = 0; b < retained.size(); ++b) {
                const std::size_t a = retained[b];
                for (std::size_t i = j; i < block_end; ++i) {
                    Reflect(regression.columns[a], factors.tau[a], b, rows, regression.columns[i]);
                }
            }
            reflected = retained.size();
        }
        std::vector<double>& c = regression.columns[j];
        for (std::size_t b = reflected; b < retained.size(); ++b) {
            const std::size_t a = retained[b];
            Reflect(regression.columns[a], factors.tau[a], b, rows, c);
        }

        const std::size_t k = retained.size();
        const double x0 = c[k];
        const double sigma = RowDot(c, c, k + 1, rows);
        double mu, tau;
        if (sigma > 0.0) {
            mu = std::sqrt(x0 * x0 + sigma);
            const double u = x0 > 0.0 ? -sigma / (x0 + mu) : x0 - mu;
            c[k] = u;
            tau = 2.0 / (u * u + sigma);
        } else if (sigma == 0.0) {
            mu = std::fabs(x0);
            c[k] = 1.0;
            tau = x0 < 0.0 ? 2.0 : 0.0;  // the norm is there already: at most its sign changes
        } else {
            continue;  // a NaN in the column
        }
        if (!(mu > dependent_column_norm)) continue;  // a NaN norm as well

        factors.tau[j] = tau;
        factors.diagonal[j] = mu;
        retained.push_back(j);
        Reflect(c, tau, k, rows, regression.response());
    }
    return factors;
}

}  // namespace zolv::unit_root
