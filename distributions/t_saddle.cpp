#include "distributions/t_saddle.hpp"

#include <cmath>

#include "frame/nan.hpp"
#include "kernels/log_gamma.hpp"

namespace dru::impl {

namespace {

constexpr double huge_df = 1e8;  // from here the exponent's closed form has lost all its digits
constexpr double square_root_of_largest = 1.7976931348623158e157;  // beyond it the recurrence is rescaled
constexpr double raised_h = 25.0;                                  // half of saddle_df

}  // namespace

namespace {

double half_ratio_polynomial(double m) { return ((0.0048828125 / m + 0.0078125) / m - 0.125) / m + 1.0; }

}  // namespace

void asymptotic_half_ratios(double* m, std::size_t n) {
    constexpr std::size_t block = 64;
    std::array<double, block> polynomial;  // apart from the roots, so that it takes registers of several
    for (std::size_t from = 0; from < n; from += block) {
        const std::size_t count = n - from < block ? n - from : block;
        for (std::size_t i = 0; i < count; ++i) polynomial[i] = half_ratio_polynomial(m[from + i]);
        for (std::size_t i = 0; i < count; ++i) m[from + i] = std::sqrt(m[from + i]) * polynomial[i];
    }
}

double gamma_half_ratio(double m) {
    if (m > half_ratio_limit) return std::sqrt(m) * half_ratio_polynomial(m);
    return gamma_stirling(m + 0.5) / gamma_stirling(m);
}

t_saddle_form::t_saddle_form(double df, double nc)
    : df_(df), nc_(nc), h_(df / 2.0), root_h_(std::sqrt(h_)), d_(nc / root_h_) {
    const double E = h_ == 0.0 ? 1.0 : std::exp(-log_gamma_remainder(h_));
    K_ = 2.0 * h_ * E;
    if (df < huge_df) return;
    const double D = d_ * d_;
    const double B = 4.0 + D;
    seventh_ = D * D * (D * D * D * D * D - 172.0 * D * D * D - 1224.0 * D * D - 2176.0 * D + 1536.0) *
               std::pow(B, -7.0);
    fifth_ = D * D * (2.0 * D * D + D * D * D - 64.0 * D - 256.0) * std::pow(B, -5.0);
    third_ = (2.0 * D + D * D - 16.0) * D * std::pow(B, -3.0);
    first_ = D / B;
}

// For a huge df a series in v = (x - nc) / nc.
double t_saddle_form::exponent(double x, double u, double s) const {
    if (df_ < huge_df) {
        const double gap = u * s - d_;
        return s * s - 2.0 * std::log(s) + gap * gap / 2.0 - 1.0;
    }
    const double gap = x - nc_;
    const double v = gap / nc_;
    const double w = (((seventh_ * v - fifth_) * v + third_) * v - first_) * v;
    return (((0.5 * w - 0.6666666666666666) * w + (4.0 + u * u) * 0.5) * w + x * gap / h_) * w +
           gap * gap * 0.5 / h_;
}

t_saddle_form::peak t_saddle_form::peak_at(double x) const {
    const double u = x / root_h_;
    const double s = (u * d_ + std::sqrt(u * u * d_ * d_ + 16.0 + 8.0 * u * u)) / (2.0 * u * u + 4.0);
    const double X = exponent(x, u, s);
    const double Y = 2.0 / (s * s) + 2.0 + u * u;
    const double R = 1.0 / std::sqrt(h_ * Y);
    return {s, X, Y, R, std::log(K_ * R) - X * h_};
}

double t_saddle_form::correction(const peak& at) const {
    const double b = 1.0 / at.s / std::sqrt(at.Y);

    // Derivatives of the exponent at the saddle point, over factorials.
    const double b2 = b * b, b3 = b2 * b, b4 = b3 * b, b5 = b4 * b, b6 = b5 * b, b7 = b6 * b, b8 = b7 * b;
    const double c3 = (-(2.0 / 3.0)) * b3;
    const double c4 = b4 / 2.0;
    const double c5 = -0.4 * b5;
    const double c6 = b6 / 3.0;
    const double c7 = (-(2.0 / 7.0)) * b7;
    const double c3_2 = c3 * c3, c3_3 = c3_2 * c3, c3_4 = c3_3 * c3, c3_5 = c3_4 * c3, c3_6 = c3_5 * c3;
    const double c4_2 = c4 * c4, c4_3 = c4_2 * c4;
    const double T1 = -3.0 * c4 + 7.5 * c3_2;
    const double T2 = -15.0 * c6 + 52.5 * c4_2 + 105.0 * c3 * c5 - 472.5 * c3_2 * c4 + 433.125 * c3_4;
    const double T3 = -105.0 * b8 / 4.0 + 472.5 * (c5 * c5) + 945.0 * c4 * c6 + 945.0 * c3 * c7 -
                      1732.5 * c4_3 - 5197.5 * c3_2 * c6 - 10395.0 * c3 * c4 * c5 + 22522.5 * c3_3 * c5 +
                      33783.75 * c3_2 * c4_2 - 84459.375 * c3_4 * c4 + 47860.3125 * c3_6;
    return ((T3 / h_ + T2) / h_ + T1) / h_ + 1.0;
}

double t_saddle_form::log_part(double x) const { return peak_at(x).log_part; }

t_saddle_parts t_saddle_form::parts(double x) const {
    const peak at = peak_at(x);
    return {at.log_part, correction(at)};
}

t_saddle t_saddle_form::operator()(double x) const {
    const peak at = peak_at(x);
    const double c = correction(at), l = at.log_part;
    const double log_density = std::log(c) + l;
    double density;
    if (log_density < log_dbl_min) {
        density = 0.0;
    } else if (log_density > log_dbl_max) {
        density = plus_infinity;
    } else {
        density = K_ * c * at.R * std::exp(-at.X * h_);
    }
    return {density, l, c};
}

t_saddle t_nc_pdf_saddle(double x, double df, double nc) { return t_saddle_form(df, nc)(x); }

t_half_step_density::t_half_step_density(double df, double nc)
    : nc_(nc),
      h_(df / 2.0),
      root_h_(std::sqrt(h_)),
      steps_(2 * static_cast<int>(std::ceil(raised_h - h_))),
      H_(h_ + std::ceil(raised_h - h_)),
      above_(2.0 * H_ + 1.0, nc),
      at_H_(2.0 * H_, nc) {
    half_step_gammas gammas;
    double H = H_;
    for (int n = 1; n < steps_; ++n) {
        H -= 0.5;
        gamma_one_[static_cast<std::size_t>(n)] = gammas.gamma(H + 1.0);
        gamma_half_[static_cast<std::size_t>(n)] = gammas.gamma(H + 0.5);
    }
    // The last step is taken at h itself, not where the half steps arrive.
    gamma_one_[0] = gammas.gamma(h_ + 1.0);
    gamma_half_[0] = gammas.gamma(h_ + 0.5);
}

// One step of the recurrence on y(H) = sqrt(H) times the density at sqrt(H) u with 2 H degrees of freedom.
double t_half_step_density::step(const point& at, double H, double gamma_H_half, double gamma_H_one,
                                 double older, double newer) const {
    return at.r * H / (2.0 * H + 1.0) * older -
           at.e * H * gamma_H_half * at.q / (2.0 * H + 1.0) / gamma_H_one * newer;
}

double t_half_step_density::operator()(double x) const {
    const double u = x / root_h_;
    const double r = u * u + 2.0;
    const double q = std::sqrt(r);
    const point at{r, q, nc_ * u / q};

    double H = H_;
    const t_saddle_parts first = above_.parts(std::sqrt(H + 0.5) * u);
    const t_saddle_parts second = at_H_.parts(std::sqrt(H) * u);
    const double v = std::log(first.correction) + first.log_part + 0.5 * std::log(H + 0.5);
    const bool lifted = !(v >= log_dbl_min);
    double C = 0.0, D = 0.0, older, newer;
    if (!lifted) {
        older = std::exp(first.log_part) * first.correction * std::sqrt(H + 0.5);
        newer = std::exp(second.log_part) * second.correction * std::sqrt(H);
    } else {
        // The start underflows: it is lifted to the smallest normal, and the pair is pulled back whenever it
        // grows too far.
        D = log_dbl_min - v;
        older = std::exp(v + D);
        newer = std::exp(second.log_part + std::log(second.correction) + 0.5 * std::log(H) + D);
    }
    for (int n = 1; n < steps_; ++n) {
        H -= 0.5;
        const auto index = static_cast<std::size_t>(n);
        const double y = step(at, H, gamma_half_[index], gamma_one_[index], older, newer);
        older = newer;
        newer = y;
        if (y > square_root_of_largest) {
            if (!lifted) break;
            const double o = older;
            C = C + log_dbl_min - std::log(o);
            newer = y / o * std::exp(log_dbl_min);
            older = std::exp(log_dbl_min);
        }
    }
    const double y = step(at, h_, gamma_half_[0], gamma_one_[0], older, newer);
    const double L = std::log(y) - D - C - 0.5 * std::log(h_);
    return L < log_dbl_min ? 0.0 : std::exp(L);
}

double t_nc_pdf_negative(double x, double df, double nc) {
    if (nc > negative_density_cut) return 0.0;
    if (df >= saddle_df) return t_nc_pdf_saddle(x, df, nc).density;
    return t_half_step_density(df, nc)(x);
}

}  // namespace dru::impl
