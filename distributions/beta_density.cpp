#include "distributions/beta_density.hpp"

#include <cmath>

#include "distributions/term_ratios.hpp"
#include "frame/nan.hpp"
#include "kernels/log_gamma_lanes.hpp"
#include "quantiles/beta_quantile.hpp"
#include "quantiles/noncentral_sums.hpp"

namespace dru::impl {

const beta_log_density& beta_nc_density::log_density(bool mirrored) const {
    if (mirrored) return mirrored_.get([this] { return beta_log_density(b_, a_); });
    return central_.get([this] { return beta_log_density(a_, b_); });
}

double beta_nc_density::central(double y) const { return std::exp(log_density(false)(y)); }

double beta_nc_density::mirrored(double y) const { return std::exp(log_density(true)(y)); }

void beta_nc_density::prepare() const {
    central(0.5);
    mirrored(0.5);
    remainder_b_.get([this] { return remainder_or_zero(b_); });
}

beta_nc_density::value beta_nc_density::at(double y) const {
    if (is_nan(y)) return {sign_set_nan, true};
    if (!(y > 0.0 && y < 1.0)) {
        // At an end with shape 1 one term of the mixture is left, exp(-l) b at 0, and all of them at 1.
        if (y == 0.0 && a_ == 1.0 && l_ != 0.0) return {std::exp(-l_) * b_, true};
        if (y == 1.0 && b_ == 1.0 && l_ != 0.0) return {a_ + l_, true};
        return {beta_density_at_end(y, a_, b_), true};
    }
    if (l_ == 0.0) return {y < 0.5 ? central(y) : mirrored(1.0 - y), true};
    return sum_from(start_at(y), y);
}

// The log density at y of beta(shape, b), shape = a + k: taken on the mirror above one half.
double beta_nc_density::log_term(double shape, double y) const {
    const double c = shape + b_;
    const double remainder_b = remainder_b_.get([this] { return remainder_or_zero(b_); });
    const auto log_shape = [shape] { return std::log(shape); };
    const auto log_b = [this] { return std::log(b_); };
    const double remainder_c = remainder_or_zero(c), remainder_shape = remainder_or_zero(shape);
    if (y <= 0.5) {
        return log_beta_pdf_from(shape, b_, y, std::log(c), remainder_c - remainder_shape - remainder_b,
                                 log_shape, log_b);
    }
    return log_beta_pdf_from(b_, shape, 1.0 - y, std::log(c), remainder_c - remainder_b - remainder_shape,
                             log_b, log_shape);
}

beta_nc_density::start beta_nc_density::start_at(double y) const {
    const auto settled = [](double density, bool defined) {
        return start{0.0, 0.0, true, {density, defined}};
    };
    if (!(l_ > 0.0) || is_infinite(l_)) return settled(sign_set_nan, false);
    const double a = a_, b = b_;
    const double g = y * l_;
    const double R = std::sqrt((a - 1.0) * (a - 1.0) + (g - 1.0) * (g - 1.0) + 2.0 * g * (2.0 * b + a) - 1.0);
    const double peak = std::ceil(((g - 2.0) * a + (4.0 * b + g - 2.0) * 0.5 * g) / (1.0 + a + R) + 0.5 * g);
    // A radicand that rounds below 0 gives a NaN, which counts as 0.
    const double k = peak > 0.0 ? peak : 0.0;
    const double P = log_poisson_pmf(k, l_);
    const double Q = log_term(a + k, y);
    if (Q + P < log_dbl_min) return settled(0.0, true);
    if (!(k <= largest_index)) return settled(sign_set_nan, false);
    const double T = std::exp(Q + P);
    if (is_nan(T)) return settled(sign_set_nan, true);  // and so would be any multiple of it
    return {k, T, false, {}};
}

beta_nc_density::value beta_nc_density::sum_from(const start& at, double y) const {
    if (at.settled) return at.answer;
    const double a = a_, c = c_, g = y * l_, k = at.k, T = at.T;

    // Term i above the peak over the one below it, and term i below the peak over the one above it.
    const auto rise_at = [a, c, g](double m) { return (c + m) * g / (1.0 + m) / (a + m); };
    const auto rise = [rise_at, k](double i) { return rise_at(i + k); };
    const auto fall = [a, c, g, k](double i) {
        const double m = k - i;
        return c + m == 1.0 ? 0.0 : m * (a + m - 1.0) / g / (c + m - 1.0);
    };

    const bool one_sided = k == 0.0;
    term_ratios rises(rise);
    term_ratios falls(fall);
    term_count up, down;
    down.running = !one_sided;
    count_terms(rises, up, falls, down);
    if (!up.ended() || !(down.ended() || one_sided)) return {sign_set_nan, false};
    auto [s, w] = sum_terms(rises, up.last, falls, one_sided ? -1.0 : down.last);
    const double M = up.last + k;
    if (M >= largest_index) s = sum_from_rounded(rise_at, M, up.last);  // GCOVR_EXCL_LINE: takes seconds
    return {one_sided ? T * (s + 1.0) : T * (s + 1.0 + w), true};
}

std::array<beta_nc_density::value, lane_count> beta_nc_density::at(const lane_array& y) const {
    std::array<start, lane_count> at;
    bool in_step = true;
    lane_values k, T;
    for (std::size_t l = 0; l < lane_count; ++l) {
        at[l] = start_at(y[l]);
        in_step = in_step && at[l].k > 0.0 && at[l].k < most_in_step;
        k.set(static_cast<int>(l), at[l].k);
        T.set(static_cast<int>(l), at[l].T);
    }
    const double a = a_, c = c_;
    const lane_values g = values_of(y) * l_;
    const auto rise = [&](double i) {
        const lane_values m = i + k;
        return (c + m) * g / (1.0 + m) / (a + m);
    };
    const auto fall = [&](double i) {
        const lane_values m = k - i;
        return choose(c + m == 1.0, 0.0, m * (a + m - 1.0) / g / (c + m - 1.0));
    };
    std::array<value, lane_count> result;
    lane_values s, w;
    if (in_step && sum_side_in_step(rise, s) && sum_side_in_step(fall, w)) {
        const lane_array densities = array_of(T * (s + 1.0 + w));
        for (std::size_t l = 0; l < lane_count; ++l) result[l] = {densities[l], true};
    } else {
        for (std::size_t l = 0; l < lane_count; ++l) result[l] = sum_from(at[l], y[l]);
    }
    return result;
}

double beta_pdf(double y, double a, double b, double nc) {
    const double density = beta_nc_density(a, b, nc).at(y).density;
    return is_nan(density) ? sign_set_nan : density;
}

f_density::f_density(double d1, double d2, double nc)
    : a_(d1 / 2.0), b_(d2 / 2.0), nc_(nc), log_scale_(std::log(a_ / b_)), beta_(a_, b_, nc) {}

// On the mirror w = 1 - y the noncentrality plays no part.
double f_density::mirrored_density(double w) const {
    if (!(w > 0.0 && w < 1.0)) return beta_density_at_end(w, b_, a_);
    return w < 0.5 ? beta_.mirrored(w) : beta_.central(1.0 - w);
}

// A NaN that comes out of the arithmetic counts as no density at all.
double f_density::operator()(double x) const {
    if (is_nan(x)) return sign_set_nan;
    if (is_infinite(x) || x < 0.0) return 0.0;
    const double t = x * a_;
    const double y = t / (b_ + t);
    double D;
    if (y >= 0.5 && nc_ <= 0.0) {
        // Oddity: a negative noncentrality is dropped on this half and has no mixture on the other.
        D = mirrored_density(b_ / (b_ + t));
    } else {
        const beta_nc_density::value value = beta_.at(y);
        if (!value.defined) return sign_set_nan;
        D = value.density;
    }
    if (!(D > 0.0)) return 0.0;
    const double e = t / b_;
    return std::exp(std::log(D) + log_scale_ - 2.0 * log1p_small(e));
}

// The central density where its own is positive, four points with the same half of the support in step.
void f_density::central(const double* x, std::uint64_t n, double* out) const {
    lane_groups<2> groups;
    const auto run = [&](std::size_t kind, const lane_array& y, const lane_indices& index,
                         std::size_t count) {
        const lane_array logs = log_densities_in_step(beta_.log_density(kind == 1), y);
        log1p_lanes scale;
        for (std::size_t l = 0; l < lane_count; ++l)
            scale.log1p(l, x[index[l < count ? l : 0]] * a_ / b_, 1.0);
        scale.settle();
        for (std::size_t l = 0; l < count; ++l) {
            const double D = std::exp(logs[l]);
            out[index[l]] = D > 0.0 ? std::exp(std::log(D) + log_scale_ - 2.0 * scale.values()[l]) : 0.0;
        }
    };
    const auto alone = [&](std::uint64_t i) { out[i] = (*this)(x[i]); };
    for (std::uint64_t i = 0; i < n; ++i) {
        const double t = x[i] * a_;
        const double y = t / (b_ + t), w = b_ / (b_ + t);
        if (y > 0.0 && y < 0.5) {
            groups.add(0, y, i, run);
        } else if (y >= 0.5 && w > 0.0 && w < 0.5) {
            groups.add(1, w, i, run);
        } else {
            alone(i);
        }
    }
    groups.finish(run, alone);
}

void f_density::operator()(const double* x, std::uint64_t n, double* out) const {
    if (nc_ == 0.0) {
        central(x, n, out);
    } else if (nc_ > 0.0) {
        noncentral(x, n, out);
    } else {
        for (std::uint64_t i = 0; i < n; ++i) out[i] = (*this)(x[i]);
    }
}

void f_density::noncentral(const double* x, std::uint64_t n, double* out) const {
    lane_groups<1> groups;
    const auto run = [&](std::size_t, const lane_array& y, const lane_indices& index, std::size_t count) {
        const auto values = beta_.at(y);
        log1p_lanes scale;
        for (std::size_t l = 0; l < lane_count; ++l)
            scale.log1p(l, x[index[l < count ? l : 0]] * a_ / b_, 1.0);
        scale.settle();
        for (std::size_t l = 0; l < count; ++l) {
            const auto& [D, defined] = values[l];
            double density = 0.0;
            if (D > 0.0) density = std::exp(std::log(D) + log_scale_ - 2.0 * scale.values()[l]);
            out[index[l]] = defined ? density : sign_set_nan;
        }
    };
    const auto alone = [&](std::uint64_t i) { out[i] = (*this)(x[i]); };
    for (std::uint64_t i = 0; i < n; ++i) {
        const double t = x[i] * a_;
        const double y = t / (b_ + t);
        if (x[i] > 0.0 && y > 0.0 && y < 1.0) {
            groups.add(0, y, i, run);
        } else {
            alone(i);
        }
    }
    groups.finish(run, alone);
}

}  // namespace dru::impl
