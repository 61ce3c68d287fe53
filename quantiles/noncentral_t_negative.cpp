#include "quantiles/noncentral_t_negative.hpp"

#include <algorithm>
#include <cmath>

#include "frame/nan.hpp"
#include "kernels/log_gamma.hpp"
#include "kernels/normal.hpp"

namespace dru::impl {

namespace {

constexpr double negative_tail_cut = 21.274;  // above this noncentrality nothing is left below 0
constexpr double large_h = 1000.0;  // half the degrees of freedom at which the saddle-point tail is good
constexpr double root_large_h = 31.622776601683793;
constexpr double smallest_log = -690.7755;  // ln of about 1e-300: below it the start would underflow
constexpr double smallest_tail = 1e-100;

// ln of the recurrence's start at z half degrees of freedom; root is that of z.
double log_start(double c, const t_saddle_form& form, double root, double z) {
    return form(root * c).log_part + std::log(-0.5 * c) - 0.5 * std::log(z);
}

tail_pair from_recurrence(double t) {
    if (is_nan(t)) return {sign_set_nan, sign_set_nan};
    if (t < smallest_tail) return {0.0, 1.0};
    return {t, 1.0 - t};
}

}  // namespace

t_nc_negative_tails::t_nc_negative_tails(double df, double ncp) : df_(df), ncp_(ncp), h_(df / 2.0) {}

double t_nc_negative_tails::full_m() const { return std::ceil(large_h - h_); }

const t_large_df_tails& t_nc_negative_tails::large_df() const {
    return large_df_.get([this] { return t_large_df_tails(df_, ncp_); });
}

const t_saddle_form& t_nc_negative_tails::at_full_H() const {
    return at_full_H_.get([this] { return t_saddle_form(2.0 * large_h, ncp_); });
}

const t_half_step_tail& t_nc_negative_tails::full_recurrence() const {
    return full_recurrence_.get([this] { return t_half_step_tail(h_, full_m(), ncp_); });
}

void t_nc_negative_tails::prepare() const {
    if (ncp_ > negative_tail_cut) return;
    if (h_ >= large_h) {
        large_df();
    } else {
        at_full_H();
        full_recurrence();
    }
}

tail_pair t_nc_negative_tails::operator()(double x) const {
    if (ncp_ > negative_tail_cut) return {0.0, 1.0};
    if (h_ >= large_h) return large_df()(x);

    const double c = x / std::sqrt(h_);
    double previous = log_start(c, at_full_H(), root_large_h, large_h);
    double t;
    if (!(previous < smallest_log)) {
        t = full_recurrence()(c);
    } else {
        // It would underflow: fewer half degrees of freedom, where it just does not.
        double lo = 0.0, hi = large_h;
        for (;;) {
            const double mid = (lo + hi) * 0.5;
            const double e = log_start(c, t_saddle_form(2.0 * mid, ncp_), std::sqrt(mid), mid);
            if (e < smallest_log) {
                hi = mid;
            } else {
                lo = mid;
            }
            if (!(std::fabs(e - previous) > 0.1)) break;
            previous = e;
        }
        const double m = std::ceil(lo - 1.5 - h_);
        if (h_ > m + h_) return {0.0, 1.0};
        t = t_half_step_tail(h_, m, ncp_)(c);
    }
    return from_recurrence(t);
}

// Points whose recurrence would underflow at its full length go by themselves, and all four with one of them.
std::array<tail_pair, lane_count> t_nc_negative_tails::operator()(const lane_array& x) const {
    std::array<tail_pair, lane_count> tails;
    lane_array c{};
    bool in_step = by_recurrence();
    for (std::size_t l = 0; l < lane_count && in_step; ++l) {
        c[l] = x[l] / std::sqrt(h_);
        in_step = !(log_start(c[l], at_full_H(), root_large_h, large_h) < smallest_log);
    }
    if (in_step) {
        const lane_array t = full_recurrence()(c);
        for (std::size_t l = 0; l < lane_count; ++l) tails[l] = from_recurrence(t[l]);
    } else {
        for (std::size_t l = 0; l < lane_count; ++l) tails[l] = (*this)(x[l]);
    }
    return tails;
}

bool t_nc_negative_tails::by_recurrence() const { return ncp_ <= negative_tail_cut && h_ < large_h; }

t_half_step_tail::t_half_step_tail(double h, double m, double ncp)
    : ncp_(ncp), H_(m + h), tail_at_H_(2.0 * H_, ncp), at_H_(2.0 * H_, ncp), above_(2.0 * H_ + 1.0, ncp) {
    const int steps = 2 * static_cast<int>(m);
    if (steps <= 0) return;
    half_ratios_.resize(static_cast<std::size_t>(steps));
    double G = H_;
    for (double& J : half_ratios_) {
        G = G - 0.5;
        J = G + 1.0;
    }
    const auto small = std::partition_point(half_ratios_.begin(), half_ratios_.end(),
                                            [](double J) { return J > half_ratio_limit; });
    asymptotic_half_ratios(half_ratios_.data(), static_cast<std::size_t>(small - half_ratios_.begin()));
    half_step_gammas gammas;
    for (auto J = small; J != half_ratios_.end(); ++J) *J = gammas.half_ratio(*J);
}

t_half_step_tail::start t_half_step_tail::start_at(double c) const {
    const double root_H = std::sqrt(H_), root_above = std::sqrt(H_ + 0.5);
    start s;
    s.A0 = tail_at_H_(c * root_H).lower;
    const t_saddle at_H = at_H_(c * root_H);
    const t_saddle above = above_(c * root_above);
    s.r = c * c + 2.0;
    s.q = std::sqrt(s.r);
    s.e = c * ncp_ / s.q;
    s.older = std::exp(above.log_part) * above.correction * 0.5 * c / root_above;
    s.newer = std::exp(at_H.log_part) * at_H.correction * 0.5 * c / root_H;
    return s;
}

double t_half_step_tail::operator()(double c) const {
    const start s = start_at(c);
    double older = s.older, newer = s.newer;
    double G = H_;
    double sum = 0.0;
    bool second = false;  // every second half step arrives at whole ones
    for (const double half_ratio : half_ratios_) {
        G = G - 0.5;
        const double J = G + 1.0;
        const double y = J * s.r / (2.0 * G + 1.0) * older - half_ratio * s.e * s.q * newer / (2.0 * G + 1.0);
        if (second) sum = sum + y;
        second = !second;
        older = newer;
        newer = y;
    }
    return s.A0 - sum;
}

lane_array t_half_step_tail::operator()(const lane_array& c) const {
    lane_values A0, older, newer, r, q, e;
    for (int l = 0; l < lane_count; ++l) {
        const start s = start_at(c[static_cast<std::size_t>(l)]);
        A0.set(l, s.A0);
        older.set(l, s.older);
        newer.set(l, s.newer);
        r.set(l, s.r);
        q.set(l, s.q);
        e.set(l, s.e);
    }
    double G = H_;
    lane_values sum(0.0);
    bool second = false;
    for (const double half_ratio : half_ratios_) {
        G = G - 0.5;
        const double J = G + 1.0;
        const lane_values y = J * r / (2.0 * G + 1.0) * older - half_ratio * e * q * newer / (2.0 * G + 1.0);
        if (second) sum = sum + y;
        second = !second;
        older = newer;
        newer = y;
    }
    const lane_values t = A0 - sum;
    return {t[0], t[1], t[2], t[3]};
}

t_large_df_tails::t_large_df_tails(double D, double ncp)
    : D_(D),
      ncp_(ncp),
      s_(std::sqrt(D)),
      dd_(ncp / s_),
      E_(dd_ * dd_ + 4.0),
      root_two_pi_over_D_(std::sqrt(two_pi / D)) {
    const double half_D = 0.5 * D;
    const double G = half_D == 0.0 ? 1.0 : std::exp(-log_gamma_remainder(half_D));
    K_ = 0.7071067811865476 * D * G;
}

tail_pair t_large_df_tails::operator()(double x) const {
    const double s = s_, dd = dd_, E = E_, D = D_;
    const double u = x / s;
    const double b2 = std::sqrt(u * u * E + 4.0);
    const double b4 = 1.0 + u * u;

    // The squared saddle point g, its root w and the derivatives of w in u.
    const double root = std::sqrt(dd * dd * u * u + 4.0 + 4.0 * u * u) + u * dd;
    const double g = root * root * std::pow(2.0 * u * u + 2.0, -2.0);
    const double w = std::sqrt(g);
    const double b3 = dd - u * w;
    const double B = b3 * b3 + g - std::log(g) - 1.0;
    const double R = std::sqrt(B);
    const double f1 = u * E / b2 + dd;
    const double p = u * dd + b2;
    const double c3 = (3.0 * u * u - 1.0) * 0.5;
    const double w1 = 0.5 / b4 * f1 - u * p * std::pow(b4, -2.0);
    const double w2 = p * c3 * std::pow(b4, -3.0) - u * f1 * std::pow(b4, -2.0) + std::pow(b2, -3.0) * E / b4;
    const double w3 = -2.0 * u * (u * u - 1.0) * p * std::pow(b4, -4.0) + f1 * c3 * std::pow(b4, -3.0) -
                      2.0 * u * E * std::pow(b2, -3.0) * std::pow(b4, -2.0) -
                      E * E * u * std::pow(b2, -5.0) / b4;

    // Derivatives of the exponent B along u.
    const double g1 = 2.0 * w * w1;
    const double a6 = u * w1 + w;
    const double g2 = w1 * w1 + 2.0 * w * w2;
    const double g3 = 2.0 * w * w3 + 2.0 * w1 * w2;
    const double a7 = -2.0 * b3 * a6 + g1 - g1 / g;
    const double a15 = w1 + u * w2;
    const double a16 = 2.0 * b3;
    const double a53 = a6 * a6 - a15 * a16 + g2 - g2 / g + 0.5 * (g1 * g1) * std::pow(g, -2.0);
    const double a69 = (2.0 * a6 * a15 - a16 * (u * w3 + w2) + g3 - g3 / g + g1 * g2 * std::pow(g, -2.0) -
                        g1 * g1 * g1 * std::pow(g, -3.0) / 3.0) /
                       B;
    const double m1 = 0.5 * a7 / R;
    const double m2 = (0.5 * a53 / B - 0.125 * (a7 * a7) / B / B) * R;
    const double i1 = 1.0 / m1;
    const double a9 = u * dd * w + 2.0;

    const double K = K_ * std::sqrt(2.0 * g / a9) / m1 * root_two_pi_over_D_;
    const double zeta = R * s;

    // The two corrections of the normal form.
    const double n1 = -(std::pow(m1, -3.0) * m2);
    const double n2 = dd * i1 * a6;
    const double n3 = a6 * n1 + i1 * i1 * a15;
    const double n4 = 0.5 * g1 * i1 / g - 0.5 * n2 / a9;
    const double n5 =
        (4.0 * g * g1 * n1 + 4.0 * g * g2 * i1 * i1 - g1 * g1 * i1 * i1) * std::pow(g, -2.0) * 0.125 -
        0.25 * g1 * i1 * n2 / g / a9;
    const double third =
        0.5 * a69 - 0.25 * a7 * a53 * std::pow(B, -2.0) + 0.0625 * (a7 * a7 * a7) * std::pow(B, -3.0);
    const double n6 = 3.0 * ((2.0 * m2 * m2 - m1 * third * R) * std::pow(m1, -5.0)) / i1;
    const double e1 = 2.0 * n1 / i1 + n4;
    const double e2 =
        n5 + 0.125 * (3.0 * n2 * n2 - 4.0 * a9 * dd * n3) * std::pow(a9, -2.0) + 2.0 * n4 * n1 / i1 + n6;
    const double Qz = zeta >= normal_tail_cut ? 0.0 : normal_upper_tail(zeta);
    const double phi = std::exp(-0.5 * zeta * zeta) * standard_normal_height;
    const double T = Qz + e1 / s * (phi - Qz * zeta) + e2 / D * ((zeta * zeta + 1.0) * Qz - zeta * phi);
    const double a = w * u * dd;
    const double V = K * T * (1.0 - (9.0 * a + 8.0) * std::pow(2.0 + a, -3.0) / 12.0 / D);
    if (is_nan(V)) return {sign_set_nan, sign_set_nan};
    if (ncp_ > x) return {-V, 1.0 + V};
    return {1.0 - V, V};
}

tail_pair t_nc_tails_negative(double x, double df, double ncp) { return t_nc_negative_tails(df, ncp)(x); }

tail_pair t_nc_tails_large_df(double x, double D, double ncp) { return t_large_df_tails(D, ncp)(x); }

}  // namespace dru::impl
