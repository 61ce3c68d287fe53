// bench/peers/gsl_answers.cpp: the GNU Scientific Library. It has no noncentral families and no binomial
// quantile.
#include <gsl/gsl_cdf.h>
#include <gsl/gsl_errno.h>
#include <gsl/gsl_randist.h>
#include <gsl/gsl_version.h>

#include "peers/peers.hpp"

namespace zolv_bench {

namespace {

template <auto Density, auto P, auto Q, auto PInverse, auto QInverse, class... Parameters>
answer family_of(const question& q, Parameters... p) {
    const bool upper = q.upper != 0;
    switch (q.what) {
        case function::pdf:
            return loop([=](double x) { return Density(x, p...); });
        case function::cdf:
            if (upper) return loop([=](double x) { return Q(x, p...); });
            return loop([=](double x) { return P(x, p...); });
        case function::quantile:
            if (upper) return loop([=](double x) { return QInverse(x, p...); });
            return loop([=](double x) { return PInverse(x, p...); });
    }
    return {};
}

answer binomial(const question& q) {
    const auto n = static_cast<unsigned>(q.at->q[0]);
    const double chance = q.at->q[1];
    const auto whole = [](double x) { return static_cast<unsigned>(x); };
    if (q.what == function::quantile) return {};
    if (q.what == function::pdf) {
        return loop([=](double x) { return gsl_ran_binomial_pdf(whole(x), chance, n); });
    }
    if (q.upper != 0) return loop([=](double x) { return gsl_cdf_binomial_Q(whole(x), chance, n); });
    return loop([=](double x) { return gsl_cdf_binomial_P(whole(x), chance, n); });
}

}  // namespace

answer gsl_answer(const question& q) {
    [[maybe_unused]] static const auto before = gsl_set_error_handler_off();
    if (q.at->noncentral) return {};
    const double a = q.at->q[0], b = q.at->q[1];
    switch (q.at->of) {
        case family::normal:
            return family_of<gsl_ran_gaussian_pdf, gsl_cdf_gaussian_P, gsl_cdf_gaussian_Q,
                             gsl_cdf_gaussian_Pinv, gsl_cdf_gaussian_Qinv>(q, b);
        case family::t:
            return family_of<gsl_ran_tdist_pdf, gsl_cdf_tdist_P, gsl_cdf_tdist_Q, gsl_cdf_tdist_Pinv,
                             gsl_cdf_tdist_Qinv>(q, a);
        case family::chi_square:
            return family_of<gsl_ran_chisq_pdf, gsl_cdf_chisq_P, gsl_cdf_chisq_Q, gsl_cdf_chisq_Pinv,
                             gsl_cdf_chisq_Qinv>(q, a);
        case family::beta:
            return family_of<gsl_ran_beta_pdf, gsl_cdf_beta_P, gsl_cdf_beta_Q, gsl_cdf_beta_Pinv,
                             gsl_cdf_beta_Qinv>(q, a, b);
        case family::f:
            return family_of<gsl_ran_fdist_pdf, gsl_cdf_fdist_P, gsl_cdf_fdist_Q, gsl_cdf_fdist_Pinv,
                             gsl_cdf_fdist_Qinv>(q, a, b);
        case family::binomial:
            return binomial(q);
    }
    return {};
}

std::string gsl_version() { return "GSL " GSL_VERSION; }

}  // namespace zolv_bench
