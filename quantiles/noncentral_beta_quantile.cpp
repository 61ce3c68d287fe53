// quantiles/noncentral_beta_quantile.cpp: bisection on the noncentral beta tails.
#include "frame/nan.hpp"
#include "quantiles/beta_quantile.hpp"
#include "quantiles/look_ahead.hpp"
#include "quantiles/noncentral_beta.hpp"
#include "quantiles/root_search.hpp"

namespace dru::impl {

namespace {

// Tail at x minus p. Candidates at the ends of the support and beyond are answered by its limits.
struct beta_nc_residual {
    const beta_nc_mixture& mixture;
    double p;
    bool upper;

    double operator()(double x) const {
        if (is_nan(x)) return sign_set_nan - p;
        if (x <= 0.0) return upper ? 1.0 - p : -p;
        if (x >= 1.0) return upper ? -p : 1.0 - p;
        if (x < 0.5) {
            const tail_pair tails = mixture.left(x);
            return (upper ? tails.upper : tails.lower) - p;
        }
        const tail_pair mirrored = mixture.right(1.0 - x);
        return (upper ? mirrored.lower : mirrored.upper) - p;
    }

    // At four points inside the support, all of them on one side of 1/2.
    lane_array operator()(const lane_array& x) const {
        lane_array residuals, mirrored;
        for (std::size_t l = 0; l < lane_count; ++l) mirrored[l] = 1.0 - x[l];
        const bool left = x[0] < 0.5;
        const auto tails = left ? mixture.left(x) : mixture.right(mirrored);
        for (std::size_t l = 0; l < lane_count; ++l)
            residuals[l] = (upper == left ? tails[l].upper : tails[l].lower) - p;
        return residuals;
    }
};

}  // namespace

double beta_nc_mixture::quantile(double p, unsigned char upper) const {
    const bool is_upper = upper != 0;
    const double flo = is_upper ? 1.0 - p : -p;
    const double fhi = is_upper ? -p : 1.0 - p;
    if (flo == 0.0) return 0.0;
    if (fhi == 0.0) return 1.0;
    if (!defined()) return sign_set_nan;
    prepare();
    unsigned char failed = 0;
    const beta_nc_residual residual{*this, p, is_upper};
    double root;
    if (weights_.last() - weights_.first() >= worth_looking_ahead) {
        look_ahead f(residual, residual,
                     [](double y, double x) { return y > 0.0 && y < 1.0 && (y < 0.5) == (x < 0.5); });
        f.expect_bisection(0.0, flo, 1.0, fhi);
        root = solve_bracketed(
            0.0, flo, 1.0, fhi, [&f](double x) { return f(x); }, failed);
    } else {
        root = solve_bracketed(0.0, flo, 1.0, fhi, residual, failed);
    }
    return is_nan(root) ? sign_set_nan : root;
}

double beta_nc_quantile(double p, double a, double b, double ncp, unsigned char upper) {
    if (ncp == 0.0) return beta_quantile(p, a, b, upper);
    const poisson_start_indices weights(ncp);
    return beta_nc_mixture(a, b, weights).quantile(p, upper);
}

}  // namespace dru::impl
