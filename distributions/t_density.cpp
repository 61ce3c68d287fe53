#include "distributions/t_density.hpp"

#include <array>
#include <cmath>

#include "frame/nan.hpp"
#include "kernels/log_gamma_lanes.hpp"
#include "quantiles/noncentral_sums.hpp"

namespace dru::impl {

namespace {

constexpr double pi = 3.141592653589793;
constexpr double e_number = 2.718281828459045;
constexpr double two_e = 5.43656365691809;
constexpr double count_tolerance = 1e-14;

// What a prepared series keeps: more terms than any noncentrality up to about 60 asks for.
constexpr double most_prepared_terms = 4096.0;
// Ratios that a point keeps in each direction: all of them up to a noncentrality of about 60.
constexpr std::size_t kept_ratios = 512;
constexpr double most_kept = kept_ratios;
// A point sums at least this many terms, so a table this many times as long as the points pays.
constexpr double terms_per_point = 32.0;

double nan_to_sign_set(double value) { return is_nan(value) ? sign_set_nan : value; }

}  // namespace

t_log_density::t_log_density(double df) : h_(df / 2.0), g_((1.0 + df) / 2.0) {
    const double A = std::log(h_ / g_ / pi * 0.5);
    const double B = log1p_small(0.5 / h_);
    prefix_ = 0.5 * A - 0.5 + remainder_or_zero(g_) - remainder_or_zero(h_) + h_ * B;
}

double t_log_density::operator()(double x) const {
    const double C = log1p_small(0.5 * x * x / h_);
    return prefix_ - g_ * C;
}

lane_array t_log_density::operator()(const lane_array& x) const {
    log1p_lanes C;
    for (std::size_t l = 0; l < lane_count; ++l) C.log1p(l, 0.5 * x[l] * x[l] / h_, 1.0);
    C.settle();
    return array_of(prefix_ - g_ * values_of(C.values()));
}

t_series_density::t_series_density(double df, double nc)
    : df_(df),
      nc_(nc),
      root_pi_df_(std::sqrt(pi * df)),
      half_ratio_(gamma_half_ratio(df / 2.0)),
      prefix_(1.0 / gamma_stirling(df / 2.0) / root_pi_df_) {}

double t_series_density::ratio(const std::vector<double>& prepared, double index, double twice_m,
                               half_step_gammas& gammas) {
    if (index < static_cast<double>(prepared.size())) return prepared[static_cast<std::size_t>(index)];
    return gammas.half_ratio(twice_m / 2.0);
}

double t_series_density::peak_index(double c) const {
    return std::floor(std::sqrt(8.0 * df_ * c * c + (c * c - 2.0) * (c * c - 2.0)) / 4.0 + c * c / 4.0 - 0.5);
}

void t_series_density::prepare(std::uint64_t points) {
    // The farthest peak and, to its right, about eight of its standard deviations.
    const double c = nc_ * 1.4142135623730951;
    double terms = peak_index(c) + 12.0 * nc_ + 40.0;
    if (!(terms < most_prepared_terms)) terms = most_prepared_terms;
    const double worth = terms_per_point * static_cast<double>(points);
    if (worth < terms) terms = worth;
    std::vector<double> ups, downs;
    half_step_gammas for_ups, for_downs;
    for (double j = 0.0; j < terms; j += 1.0) {
        ups.push_back(up(j, for_ups));
        downs.push_back(down(j, for_downs));
    }
    up_ = ups;
    down_ = downs;
}

// The term of index k, 0 for one that underflows.
double t_series_density::peak_term(double k, double c, double S) const {
    if (k == 0.0) {
        const double W = std::pow(df_ / S, (1.0 + df_) / 2.0) * half_ratio_ / root_pi_df_;
        if (std::log(W) - 0.5 * nc_ * nc_ < log_dbl_min) return 0.0;
        return W * std::exp(-0.5 * nc_ * nc_);
    }
    const double A = df_ + k - 1.0;
    const double Z = prefix_ * (df_ / S) * std::pow(df_ * A / (two_e * S), (df_ - 1.0) / 2.0);
    const double Z2 = std::exp(remainder_or_zero(A / 2.0) - log_gamma_remainder(k)) * Z;
    const double l = std::log(A * c * c * e_number * std::pow(k, -2.0) * 0.5);
    if (std::log(Z2) + 0.5 * k * l - 0.5 * nc_ * nc_ < log_dbl_min) return 0.0;
    return std::exp(0.5 * k * l - 0.5 * nc_ * nc_) * Z2;
}

double t_series_density::operator()(double x) const {
    const double S = x * x + df_;
    const double c = x * nc_ * 1.4142135623730951 / std::sqrt(S);
    const double peak = peak_index(c);
    if (!(peak <= largest_index)) return sign_set_nan;
    const double k = peak < 0.0 ? 0.0 : peak;
    const double T = peak_term(k, c, S);
    if (T == 0.0) return 0.0;

    // Counted first, then summed from the smallest term, with the ratios of the terms about the peak kept.
    std::array<double, kept_ratios> kept;
    half_step_gammas gammas;
    double v = 1.0;
    double j = k;
    for (;; j += 1.0) {
        const double ratio = up(j, gammas);
        if (j - k < most_kept) kept[static_cast<std::size_t>(j - k)] = ratio;
        v = v * ratio * c / (j + 1.0);
        if (!is_finite(v)) return sign_set_nan;
        if (v < count_tolerance) break;
    }
    double s = 0.0;
    for (j -= 1.0; j >= k; j -= 1.0) {
        const double ratio = j - k < most_kept ? kept[static_cast<std::size_t>(j - k)] : up(j, gammas);
        s = (s + 1.0) * ratio * c / (j + 1.0);
    }

    // At index 0 the factor is 0, or 0/0 with c = 0: the count ends there either way.
    v = 1.0;
    double i = k;
    for (; i > 0.0; i -= 1.0) {
        const double ratio = down(i, gammas);
        if (k - i < most_kept) kept[static_cast<std::size_t>(k - i)] = ratio;
        v = v * i / c / ratio;
        if (!is_finite(v)) return sign_set_nan;
        if (v < count_tolerance) break;
    }
    double w = 0.0;
    for (i += 1.0; i <= k; i += 1.0) {
        const double ratio = k - i < most_kept ? kept[static_cast<std::size_t>(k - i)] : down(i, gammas);
        w = (w + 1.0) * i / c / ratio;
    }
    return T * (1.0 + s + w);
}

t_large_nc_density::t_large_nc_density(double df, double nc)
    : nc_(nc), h_(df / 2.0), z_(std::pow(nc, -2.0)), log_density_(h_) {
    const double h = h_;
    const double h2 = h * h, h3 = h2 * h, h4 = h3 * h, h5 = h4 * h, h6 = h5 * h;
    first_[2] = 2.0 * h * h;
    first_[1] = (1.0 + 4.0 * h) * h;
    first_[0] = (2.0 * h - 1.0) * h;
    second_[4] = 2.0 * h4;
    second_[3] = 2.0 * h3 * (3.0 + 4.0 * h);
    second_[2] = 1.5 * h2 * (8.0 * h2 + 4.0 * h + 1.0);
    second_[1] = h2 * (8.0 * h2 - 6.0 * h + 1.0);
    second_[0] = 0.5 * h * (4.0 * h3 - 12.0 * h2 + 11.0 * h - 3.0);
    third_[6] = 1.3333333333333333 * h6;
    third_[5] = 2.0 * h5 * (5.0 + 4.0 * h);
    third_[4] = 5.0 * h4 * (4.0 * h2 + 6.0 * h + 3.0);
    third_[3] = 0.8333333333333334 * h3 * (32.0 * h3 + 24.0 * h2 + 16.0 * h + 3.0);
    third_[2] = 2.5 * h3 * (8.0 * h3 - 8.0 * h2 + 4.0 * h - 1.0);
    third_[1] = 0.5 * h2 * (16.0 * h4 - 60.0 * h3 + 80.0 * h2 - 45.0 * h + 9.0);
    third_[0] = h * (8.0 * h5 - 60.0 * h4 + 170.0 * h3 - 225.0 * h2 + 137.0 * h - 30.0) / 6.0;
}

// Oddity: at x = 0 it is infinity times 0, a NaN; the density there is far below the smallest double.
double t_large_nc_density::operator()(double x) const {
    const double r = x / nc_;
    const double g = std::exp(log_density_(h_ * std::pow(r, -2.0)));
    const double i = 1.0 / r;
    const double w = i * i;
    const double E1 = (first_[2] * w - first_[1]) * w + first_[0];
    const double E2 = (((second_[4] * w - second_[3]) * w + second_[2]) * w - second_[1]) * w + second_[0];
    const double E3 =
        (((((third_[6] * w - third_[5]) * w + third_[4]) * w - third_[3]) * w + third_[2]) * w - third_[1]) *
            w +
        third_[0];
    return w * (i * (2.0 * h_) * g) * (((E3 * z_ + E2) * z_ + E1) * z_ + 1.0) / nc_;
}

double t_nc_pdf_series(double x, double df, double nc) { return t_series_density(df, nc)(x); }

double t_nc_pdf_large_nc(double x, double df, double nc) { return t_large_nc_density(df, nc)(x); }

double t_density::negative(double x) const {
    if (magnitude_ > negative_density_cut) return 0.0;
    if (df_ >= saddle_df) return positive(x);
    return half_step_.get([this] { return t_half_step_density(df_, magnitude_); })(x);
}

double t_density::positive(double x) const {
    if (df_ >= saddle_df) {
        return saddle_.get([this] { return t_saddle_form(df_, magnitude_); })(x).density;
    }
    if (magnitude_ >= huge_noncentrality) {
        return large_nc_.get([this] { return t_large_nc_density(df_, magnitude_); })(x);
    }
    return series_.get([this] { return t_series_density(df_, magnitude_); })(x);
}

double t_density::operator()(double x) const {
    if (is_nan(x)) return sign_set_nan;
    if (is_infinite(x)) return 0.0;
    if (nc_ == 0.0) {
        return nan_to_sign_set(std::exp(central()(x)));
    }
    if (nc_ < 0.0) x = -x;
    return nan_to_sign_set(x < 0.0 ? negative(x) : positive(x));
}

void t_density::operator()(const double* x, std::uint64_t n, double* out) const {
    std::uint64_t i = 0;
    for (; nc_ == 0.0 && i + lane_count <= n; i += lane_count) {
        const lane_array logs = central()(lane_array{x[i], x[i + 1], x[i + 2], x[i + 3]});
        for (std::size_t l = 0; l < lane_count; ++l) {
            const double at = x[i + l];
            out[i + l] = is_finite(at) ? nan_to_sign_set(std::exp(logs[l])) : (*this)(at);
        }
    }
    for (; i < n; ++i) out[i] = (*this)(x[i]);
}

void t_density::prepare(const double* x, std::uint64_t n) {
    bool below = false;
    std::uint64_t above = 0;
    for (std::uint64_t i = 0; i < n; ++i) {
        if (nc_ < 0.0 ? x[i] > 0.0 : x[i] < 0.0) {
            below = true;
        } else {
            ++above;
        }
    }
    // Any point of a side settles what that side needs.
    if (nc_ == 0.0) {
        (*this)(0.0);
        return;
    }
    if (below) negative(-1.0);
    if (above == 0) return;
    if (df_ < saddle_df && magnitude_ < huge_noncentrality) {
        series_.get([this, above] {
            t_series_density series(df_, magnitude_);
            series.prepare(above);
            return series;
        });  // GCOVR_EXCL_LINE: holds nothing but the way out of an exception
    } else {
        positive(1.0);
    }
}

}  // namespace dru::impl
