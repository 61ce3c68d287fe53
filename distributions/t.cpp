// distributions/t.cpp: Student's t family, central and noncentral.
#include <cmath>
#include <cstdint>
#include <optional>

#include "distributions/central_t_tail.hpp"
#include "distributions/central_tails.hpp"
#include "distributions/t_density.hpp"
#include "frame/nan.hpp"
#include "frame/parallel.hpp"
#include "kernels/normal.hpp"
#include "quantiles/beta_quantile.hpp"
#include "quantiles/gamma_quantile.hpp"
#include "quantiles/noncentral_t.hpp"
#include "zolv.h"

namespace dru::impl {

namespace {

// Ordered comparisons, so that a NaN fails. The variate plays no part.
bool t_parameters_valid(double df, double nc) { return df > 0.0 && df < plus_infinity && is_finite(nc); }

// From this a b / (a + b) on the beta quantile's expansion is the answer. With shapes 0.5 and df / 2 it is
// below one half for every df; the choice is made as for any pair of shapes.
constexpr double expansion_limit = 10000.0;

constexpr double gamma_limit_h = 1e9;  // from here the beta variate is a gamma variate over df / 2

// The central quantile: t^2 = df w / (1 - w), where w cuts off T = 2 min(p, 1 - p) above for a beta variate
// with shapes 0.5 and df / 2.
class t_central_quantile {
public:
    explicit t_central_quantile(double df)
        : df_(df),
          h_(df / 2.0),
          large_(0.5 * h_ / (0.5 + h_) >= expansion_limit),
          near_(0.5, h_),
          far_(h_, 0.5),
          gamma_(0.5) {}

    // Settles every part now: for many p, and before several threads share the object.
    void prepare() {
        if (large_) {  // GCOVR_EXCL_START: see expansion_limit
            near_.expansion();
            far_.expansion();
            // GCOVR_EXCL_STOP
        } else if (h_ < gamma_limit_h) {
            near_.prepare();
            far_.prepare();
        } else {
            gamma_.prepare();
        }
    }

    // 0 < p < 1
    double operator()(double p, unsigned char upper) const {
        if (p == 0.5) return 0.0;
        double sign = upper != 0 ? 1.0 : -1.0;
        if (p > 0.5) sign = -sign;
        const double w = beta_cut(2.0 * (1.0 - p < p ? 1.0 - p : p));
        if (w == 1.0) return sign * plus_infinity;
        return sign * std::sqrt(df_ * w / (1.0 - w));
    }

private:
    double beta_cut(double T) const {
        if (large_) {  // GCOVR_EXCL_START: see expansion_limit
            const double z = normal_std_quantile(T);
            const double w = near_.expansion()(-z);
            return w > 0.5 ? 1.0 - far_.expansion()(z) : w;
        }  // GCOVR_EXCL_STOP
        if (!(h_ < gamma_limit_h)) return gamma_.right(T) / h_;
        if (T >= near_.tails_at_half().upper) return near_.search(T, 1, far_);
        return 1.0 - far_.search(T, 0, near_);
    }

    double df_, h_;
    bool large_;
    beta_quantile_side near_, far_;  // of shapes (0.5, h) and (h, 0.5)
    gamma_quantile_solver gamma_;
};

// Which sides of 0 the points lie on, seen from the noncentrality.
struct sides {
    bool same = false, other = false;

    sides(const double* x, std::uint64_t n, double nc) {
        for (std::uint64_t i = 0; i < n && !(same && other); ++i) {
            if (x[i] > 0.0) (nc > 0.0 ? same : other) = true;
            if (x[i] < 0.0) (nc > 0.0 ? other : same) = true;
        }
    }
};

// A quantile by `search` for a p that has one inside the support.
template <class Search>
double t_inverse(double p, unsigned char upper, const Search& search) {
    if (is_nan(p) || p < 0.0 || p > 1.0) return sign_set_nan;
    if (p == 0.0) return upper != 0 ? plus_infinity : -plus_infinity;
    if (p == 1.0) return upper != 0 ? -plus_infinity : plus_infinity;
    return search(p);
}

}  // namespace

}  // namespace dru::impl

using namespace dru::impl;

extern "C" {

double zolv_TPdf(double x, double df, double nc) {
    if (!t_parameters_valid(df, nc)) return missing_value;
    return t_density(df, nc)(x);
}

double zolv_TCdf(double x, double df, double nc, unsigned char upper) {
    if (!t_parameters_valid(df, nc)) return missing_value;
    if (nc == 0.0) return t_cdf_central(x, df, upper);
    return t_nc_distribution(df, nc).tail(x, upper);
}

double zolv_TInvCdf(double p, double df, double nc, unsigned char upper) {
    if (!t_parameters_valid(df, nc)) return missing_value;
    return t_inverse(p, upper, [=](double q) {
        return nc == 0.0 ? t_central_quantile(df)(q, upper) : t_nc_quantile(q, df, nc, upper);
    });
}

void zolv_ParallelTPdf(const double* x, uint64_t n, double df, double nc, double* out) {
    if (!t_parameters_valid(df, nc)) return fill_missing(out, n);
    t_density density(df, nc);
    density.prepare(x, n);
    parallel_blocks(n, [&](uint64_t first, uint64_t count) { density(x + first, count, out + first); });
}

void zolv_ParallelTCdf(const double* x, uint64_t n, double df, double nc, unsigned char upper, double* out) {
    if (!t_parameters_valid(df, nc)) return fill_missing(out, n);
    if (nc == 0.0) {
        const central_t_tail tail(df);
        parallel_blocks(n,
                        [&](uint64_t first, uint64_t count) { tail(x + first, count, upper, out + first); });
    } else {
        const t_nc_distribution distribution(df, nc);
        const sides needed(x, n, nc);
        distribution.prepare(needed.same, needed.other);
        parallel_blocks(n, [&](uint64_t first, uint64_t count) {
            distribution.tails_of(x + first, count, upper, out + first);
        });
    }
}

void zolv_ParallelTInvCdf(const double* p, uint64_t n, double df, double nc, unsigned char upper,
                          double* out) {
    if (!t_parameters_valid(df, nc)) return fill_missing(out, n);
    if (nc == 0.0) {
        t_central_quantile quantile(df);
        if (n > 0) quantile.prepare();
        parallel_for(n, [&](uint64_t i) {
            out[i] = t_inverse(p[i], upper, [&](double q) { return quantile(q, upper); });
        });
    } else {
        const t_nc_distribution distribution(df, nc);
        if (n > 0) distribution.prepare(true, true);
        parallel_for(n, [&](uint64_t i) {
            out[i] = t_inverse(p[i], upper, [&](double q) { return distribution.quantile(q, upper); });
        });
    }
}

}  // extern "C"
