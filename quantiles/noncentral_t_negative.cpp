#include "quantiles/noncentral_t_negative.hpp"

#include <cmath>

namespace dru::impl {

namespace {

constexpr double negative_tail_cut = 21.274;  // above this noncentrality nothing is left below 0

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

// The recurrence would underflow at its full length: to where it just does not.
double t_nc_negative_tails::bisected_m(double c, double log_c, double previous,
                                       t_start_logarithms& start) const {
    double lo = 0.0, hi = large_h;
    for (std::size_t place = 1;;) {
        const double mid = (lo + hi) * 0.5;
        const double e = start(c, log_c, mid, place);
        const bool lower = e < smallest_log_start;
        (lower ? hi : lo) = mid;
        if (!(std::fabs(e - previous) > 0.1)) break;
        previous = e;
        place = t_start_logarithms::next(place, lower);
    }
    return std::ceil(lo - 1.5 - h_);
}

tail_pair t_nc_negative_tails::operator()(double x) const {
    if (ncp_ > negative_tail_cut) return {0.0, 1.0};
    if (h_ >= large_h) return large_df()(x);

    const double c = x / std::sqrt(h_), log_c = std::log(-0.5 * c);
    const double full = t_start_logarithms::at_full_H(at_full_H(), c, log_c);
    if (!(full < smallest_log_start)) return tails_of_recurrence(full_recurrence()(c));
    t_start_logarithms start(ncp_);
    const double m = bisected_m(c, log_c, full, start);
    if (h_ > m + h_) return {0.0, 1.0};
    return tails_of_recurrence(t_half_step_tail(h_, m, ncp_)(c));
}

std::array<tail_pair, lane_count> t_nc_negative_tails::operator()(const lane_array& x) const {
    std::array<tail_pair, lane_count> tails;
    if (by_recurrence()) {
        in_step(x.data(), lane_count, tails.data());
    } else {
        for (std::size_t l = 0; l < lane_count; ++l) tails[l] = (*this)(x[l]);
    }
    return tails;
}

bool t_nc_negative_tails::by_recurrence() const { return ncp_ <= negative_tail_cut && h_ < large_h; }

tail_pair t_nc_tails_negative(double x, double df, double ncp) { return t_nc_negative_tails(df, ncp)(x); }

}  // namespace dru::impl
