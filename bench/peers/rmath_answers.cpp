// bench/peers/rmath_answers.cpp: R's distribution functions, as the library that they make without R.
#define MATHLIB_STANDALONE
#include "peers/peers.hpp"
// Its header defines macros with short names, so it comes last.
#include <Rmath.h>

namespace zolv_bench {

namespace {

template <auto Density, auto Tail, auto Quantile, class... Parameters>
answer family_of(const question& q, Parameters... p) {
    const int lower = q.upper == 0 ? 1 : 0;
    switch (q.what) {
        case function::pdf:
            return loop([=](double x) { return Density(x, p..., 0); });
        case function::cdf:
            return loop([=](double x) { return Tail(x, p..., lower, 0); });
        case function::quantile:
            return loop([=](double x) { return Quantile(x, p..., lower, 0); });
    }
    return {};
}

}  // namespace

answer rmath_answer(const question& q) {
    const double a = q.at->q[0], b = q.at->q[1], c = q.at->q[2];
    switch (q.at->of) {
        case family::normal:
            return family_of<dnorm, pnorm, qnorm>(q, a, b);
        case family::t:
            return q.at->noncentral ? family_of<dnt, pnt, qnt>(q, a, b) : family_of<dt, pt, qt>(q, a);
        case family::chi_square:
            return q.at->noncentral ? family_of<dnchisq, pnchisq, qnchisq>(q, a, b)
                                    : family_of<dchisq, pchisq, qchisq>(q, a);
        case family::beta:
            return family_of<dbeta, pbeta, qbeta>(q, a, b);
        case family::f: {
            // Its noncentrality is that of the chi-square in the numerator: twice the Poisson mean.
            const double ncp = 2.0 * c;
            return q.at->noncentral ? family_of<dnf, pnf, qnf>(q, a, b, ncp) : family_of<df, pf, qf>(q, a, b);
        }
        case family::binomial:
            return family_of<dbinom, pbinom, qbinom>(q, a, b);
    }
    return {};
}

std::string rmath_version() { return "libRmath " R_VERSION_STRING; }

}  // namespace zolv_bench
