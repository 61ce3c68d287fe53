// distributions/f.cpp: the F family, central and noncentral, as a beta family.
//
// With a = d1 / 2, b = d2 / 2 and t = x a the variate is y = t / (b + t), and the work is done on whichever
// of y and 1 - y is below one half. Oddity: nc is itself the Poisson mean of the mixture; the chi-square
// family halves its nc first. It is not tested among the parameters.
#include <cstdint>
#include <optional>

#include "distributions/beta_density.hpp"
#include "frame/nan.hpp"
#include "frame/parallel.hpp"
#include "kernels/incomplete_beta.hpp"
#include "quantiles/beta_quantile.hpp"
#include "quantiles/noncentral_beta.hpp"
#include "zolv.h"

namespace dru::impl {

namespace {

bool f_parameters_valid(double d1, double d2) {
    return d1 > 0.0 && d1 < plus_infinity && d2 > 0.0 && d2 < plus_infinity;
}

// One tail of F at any x. Each part that depends on the parameters alone is settled at its first use;
// prepare() settles all of them.
class f_tail {
public:
    f_tail(double d1, double d2, double nc, unsigned char upper)
        : a_(d1 / 2.0), b_(d2 / 2.0), upper_(upper), weights_(nc), mixture_(a_, b_, weights_) {}
    f_tail(const f_tail&) = delete;
    f_tail& operator=(const f_tail&) = delete;

    void prepare() {
        if (weights_.mean() == 0.0) {
            central_.emplace(a_, b_);
            mirrored_.emplace(b_, a_);
        } else {
            mixture_.prepare();
        }
    }

    double operator()(double x) const {
        if (is_nan(x)) return sign_set_nan;
        if (is_infinite(x)) return (x > 0.0) == (upper_ != 0) ? 0.0 : 1.0;
        if (x <= 0.0) return upper_ != 0 ? 1.0 : 0.0;
        const double t = x * a_;
        const double y = t / (b_ + t);
        if (y < 0.5) {
            const tail_pair tails = weights_.mean() == 0.0 ? central(y) : mixture_.left(y);
            return upper_ != 0 ? tails.upper : tails.lower;
        }
        const double w = b_ / (b_ + t);
        const tail_pair mirrored = weights_.mean() == 0.0 ? central_mirrored(w) : mixture_.right(w);
        return upper_ != 0 ? mirrored.lower : mirrored.upper;
    }

    // The same for n points, most of them in step.
    void operator()(const double* x, std::uint64_t n, double* out) const {
        if (weights_.mean() != 0.0) {
            mixture_tails(x, n, out);
        } else if (central_ && central_->gains_in_step()) {
            central_tails(x, n, out);
        } else {
            for (std::uint64_t i = 0; i < n; ++i) out[i] = (*this)(x[i]);
        }
    }

private:
    void central_tails(const double* x, std::uint64_t n, double* out) const {
        const auto coordinate = [&](std::uint64_t i) {
            if (!(x[i] > 0.0) || is_infinite(x[i])) return beta_coordinate{0.0, false};
            const double t = x[i] * a_;
            const double y = t / (b_ + t);
            return y < 0.5 ? beta_coordinate{y, false} : beta_coordinate{b_ / (b_ + t), true};
        };
        const auto put = [&](std::uint64_t i, bool mirrored, const tail_pair& tails) {
            out[i] = (upper_ != 0) != mirrored ? tails.upper : tails.lower;
        };
        const auto alone = [&](std::uint64_t i) { out[i] = (*this)(x[i]); };
        beta_tails_in_step(*central_, *mirrored_, n, coordinate, put, alone);
    }

    // Points on the same side of the mixture's mean and of one half go together.
    void mixture_tails(const double* x, std::uint64_t n, double* out) const {
        lane_groups<4> groups;
        const auto run = [&](std::size_t kind, const lane_array& at, const lane_indices& index,
                             std::size_t count) {
            const bool left = kind < 2;
            const auto tails = left ? mixture_.left(at) : mixture_.right(at);
            for (std::size_t l = 0; l < count; ++l)
                out[index[l]] = (upper_ != 0) == left ? tails[l].upper : tails[l].lower;
        };
        const auto alone = [&](std::uint64_t i) { out[i] = (*this)(x[i]); };
        const double ncp = weights_.mean(), mean = (a_ + ncp) / (ncp + (a_ + b_));
        for (std::uint64_t i = 0; i < n; ++i) {
            if (!(x[i] > 0.0) || is_infinite(x[i])) {
                alone(i);
                continue;
            }
            const double t = x[i] * a_;
            const double y = t / (b_ + t);
            const std::size_t above = y >= mean ? 1 : 0;
            if (y < 0.5) {
                groups.add(above, y, i, run);
            } else {
                groups.add(2 + above, b_ / (b_ + t), i, run);
            }
        }
        groups.finish(run, alone);
    }

    tail_pair central(double y) const { return central_ ? (*central_)(y) : beta_tails(y, a_, b_); }
    tail_pair central_mirrored(double w) const { return mirrored_ ? (*mirrored_)(w) : beta_tails(w, b_, a_); }

    double a_, b_;
    unsigned char upper_;
    std::optional<beta_tail_kernel> central_, mirrored_;
    poisson_start_indices weights_;
    beta_nc_mixture mixture_;
};

// One quantile of F at any p.
//
// Oddity: the central quantile is mirrored at one half, the noncentral one is not.
class f_quantile {
public:
    f_quantile(double d1, double d2, double nc, unsigned char upper)
        : a_(d1 / 2.0),
          b_(d2 / 2.0),
          scale_(b_ / a_),
          upper_(upper),
          weights_(nc),
          central_(a_, b_),
          mixture_(a_, b_, weights_) {}
    f_quantile(const f_quantile&) = delete;
    f_quantile& operator=(const f_quantile&) = delete;

    void prepare() {
        if (weights_.mean() == 0.0) {
            central_.prepare();
        } else {
            mixture_.prepare();
        }
    }

    double operator()(double p) const {
        if (is_nan(p) || p < 0.0 || p > 1.0) return sign_set_nan;
        if (p == 0.0) return upper_ != 0 ? plus_infinity : 0.0;
        if (p == 1.0) return upper_ != 0 ? 0.0 : plus_infinity;
        const double y =
            weights_.mean() == 0.0 ? central_.from_smaller(p, upper_) : mixture_.quantile(p, upper_);
        if (is_nan(y)) return sign_set_nan;
        return scale_ * y / (1.0 - y);
    }

private:
    double a_, b_, scale_;
    unsigned char upper_;
    poisson_start_indices weights_;
    beta_quantile_solver central_;
    beta_nc_mixture mixture_;
};

}  // namespace

}  // namespace dru::impl

using namespace dru::impl;

extern "C" double zolv_FPdf(double x, double d1, double d2, double nc) {
    if (!f_parameters_valid(d1, d2)) return missing_value;
    return f_density(d1, d2, nc)(x);
}

extern "C" double zolv_FCdf(double x, double d1, double d2, double nc, unsigned char upper) {
    if (!f_parameters_valid(d1, d2)) return missing_value;
    return f_tail(d1, d2, nc, upper)(x);
}

extern "C" double zolv_FInvCdf(double p, double d1, double d2, double nc, unsigned char upper) {
    if (!f_parameters_valid(d1, d2)) return missing_value;
    return f_quantile(d1, d2, nc, upper)(p);
}

extern "C" void zolv_ParallelFPdf(const double* x, uint64_t n, double d1, double d2, double nc, double* out) {
    if (!f_parameters_valid(d1, d2)) return fill_missing(out, n);
    const f_density density(d1, d2, nc);
    if (n > 1) density.prepare();
    parallel_blocks(n, [&](uint64_t first, uint64_t count) { density(x + first, count, out + first); });
}

extern "C" void zolv_ParallelFCdf(const double* x, uint64_t n, double d1, double d2, double nc,
                                  unsigned char upper, double* out) {
    if (!f_parameters_valid(d1, d2)) return fill_missing(out, n);
    f_tail tail(d1, d2, nc, upper);
    if (n > 1) tail.prepare();
    parallel_blocks(n, [&](uint64_t first, uint64_t count) { tail(x + first, count, out + first); });
}

extern "C" void zolv_ParallelFInvCdf(const double* p, uint64_t n, double d1, double d2, double nc,
                                     unsigned char upper, double* out) {
    if (!f_parameters_valid(d1, d2)) return fill_missing(out, n);
    f_quantile quantile(d1, d2, nc, upper);
    if (n > 1) quantile.prepare();
    parallel_for(n, [&](uint64_t i) { out[i] = quantile(p[i]); });
}
