// bench/plain_ratio_bench.cpp: the plain forms that judge the library in tests/plain/, timed beside the
// library on one thread: what preparing, sharing and looking ahead have gained. The digests of a question's
// three rows must be the same.
//
//   plain     a loop over the plain form, every step worked out where it stands
//   scalar    a loop over the scalar export
//   array     the array form on a team of one
#include <omp.h>

#include "plain/binomial.hpp"
#include "plain/t.hpp"
#include "support/library_answers.hpp"

namespace {

using namespace zolv_bench;
namespace plain = zolv_test::plain;

answer plain_answers(const question& q) {
    const double a = q.at->q[0], b = q.at->q[1], c = q.at->q[2];
    const unsigned char u = q.upper;
    const auto chosen = [&q](const auto& pdf, const auto& cdf, const auto& quantile) -> answer {
        switch (q.what) {
            case function::pdf:
                return loop(pdf);
            case function::cdf:
                return loop(cdf);
            case function::quantile:
                return loop(quantile);
        }
        return {};
    };
    switch (q.at->of) {
        case family::t:
            return chosen([=](double x) { return plain::t_pdf(x, a, b); },
                          [=](double x) { return plain::t_cdf(x, a, b, u); },
                          [=](double p) { return plain::t_inv_cdf(p, a, b, u); });
        case family::chi_square:
            return chosen([=](double x) { return plain::chi_square_pdf(x, a, b); },
                          [=](double x) { return plain::chi_square_cdf(x, a, b, u); },
                          [=](double p) { return plain::chi_square_inv_cdf(p, a, b, u); });
        case family::beta:
            return chosen([=](double x) { return plain::beta_pdf(x, a, b); },
                          [=](double x) { return plain::beta_cdf(x, a, b, u); },
                          [=](double p) { return plain::beta_inv_cdf(p, a, b, u); });
        case family::f:
            return chosen([=](double x) { return plain::f_pdf(x, a, b, c); },
                          [=](double x) { return plain::f_cdf(x, a, b, c, u); },
                          [=](double p) { return plain::f_inv_cdf(p, a, b, c, u); });
        case family::binomial:
            return chosen([=](double x) { return plain::binomial_pdf(x, a, b); },
                          [=](double x) { return plain::binomial_cdf(x, a, b, u); },
                          [=](double p) { return plain::binomial_inv_cdf(p, a, b, u); });
        case family::normal:  // its forms differ by one exponential of the quantile
            break;
    }
    return {};
}

const bool registered = [] {
    omp_set_num_threads(1);
    for (const question& q : questions()) {
        const answer plain = plain_answers(q);
        if (!plain) continue;
        add_row(q, "plain", plain);
        add_row(q, "scalar", scalar_exports(q));
        const answer array = array_forms(q);
        if (array) add_row(q, "array", array);
    }
    return true;
}();

}  // namespace
