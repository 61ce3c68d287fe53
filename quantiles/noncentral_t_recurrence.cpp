#include "quantiles/noncentral_t_recurrence.hpp"

#include <algorithm>
#include <cmath>

#include "frame/nan.hpp"

namespace dru::impl {

namespace {

constexpr double smallest_tail = 1e-100;

}  // namespace

t_half_step_ratios::t_half_step_ratios(double h, double m) : H_(m + h), m_(m) {
    const int steps = 2 * static_cast<int>(m);
    if (steps <= 0) return;
    values_.resize(static_cast<std::size_t>(steps));
    double G = H_;
    for (double& J : values_) {
        G = G - 0.5;
        J = G + 1.0;
    }
    const auto small =
        std::partition_point(values_.begin(), values_.end(), [](double J) { return J > half_ratio_limit; });
    asymptotic_half_ratios(values_.data(), static_cast<std::size_t>(small - values_.begin()));
    half_step_gammas gammas;
    for (auto J = small; J != values_.end(); ++J) *J = gammas.half_ratio(*J);
}

const double* t_half_step_ratios::last(double h, double m) const {
    const double down = m_ - m;
    if (H_ - down != m + h) return nullptr;
    return values_.data() + 2 * static_cast<int>(down);
}

t_half_step_start::t_half_step_start(double H, double ncp)
    : ncp_(ncp),
      H_(H),
      root_H_(std::sqrt(H)),
      root_above_(std::sqrt(H + 0.5)),
      tail_at_H_(2.0 * H, ncp),
      at_H_(2.0 * H, ncp),
      above_(2.0 * H + 1.0, ncp) {}

t_half_step_start::values t_half_step_start::operator()(double c) const {
    values s;
    s.A0 = tail_at_H_(c * root_H_).lower;
    const t_saddle_parts at_H = at_H_.parts(c * root_H_);
    const t_saddle_parts above = above_.parts(c * root_above_);
    s.r = c * c + 2.0;
    s.q = std::sqrt(s.r);
    s.e = c * ncp_ / s.q;
    s.older = std::exp(above.log_part) * above.correction * 0.5 * c / root_above_;
    s.newer = std::exp(at_H.log_part) * at_H.correction * 0.5 * c / root_H_;
    return s;
}

t_half_step_tail::t_half_step_tail(double h, double m, double ncp) : start_(m + h, ncp), ratios_(h, m) {}

double t_half_step_tail::operator()(double c) const {
    const t_half_step_start::values s = start_(c);
    double older = s.older, newer = s.newer;
    double G = start_.H();
    double sum = 0.0;
    bool second = false;  // every second half step arrives at whole ones
    for (const double half_ratio : ratios_) {
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

tail_pair tails_of_recurrence(double t) {
    if (is_nan(t)) return {sign_set_nan, sign_set_nan};
    if (t < smallest_tail) return {0.0, 1.0};
    return {t, 1.0 - t};
}

}  // namespace dru::impl
