// bench/peers/boost_answers.cpp: Boost.Math, with its default policy and without promotion to long double.
//
// A distribution is constructed once per array, outside the loop. The quantile of the binomial is rounded up,
// which is the question that the other libraries answer.
#include <boost/math/distributions/beta.hpp>
#include <boost/math/distributions/binomial.hpp>
#include <boost/math/distributions/chi_squared.hpp>
#include <boost/math/distributions/fisher_f.hpp>
#include <boost/math/distributions/non_central_chi_squared.hpp>
#include <boost/math/distributions/non_central_f.hpp>
#include <boost/math/distributions/non_central_t.hpp>
#include <boost/math/distributions/normal.hpp>
#include <boost/math/distributions/students_t.hpp>
#include <boost/version.hpp>
#include <exception>
#include <string>

#include "peers/peers.hpp"

namespace zolv_bench {

namespace {

namespace bm = boost::math;
using rounding = bm::policies::discrete_quantile<bm::policies::integer_round_up>;
using promoting = bm::policies::policy<rounding>;
using plain = bm::policies::policy<rounding, bm::policies::promote_double<false>>;

template <class Distribution>
answer answer_of(const question& q, const Distribution& d) {
    const bool upper = q.upper != 0;
    switch (q.what) {
        case function::pdf:
            return loop([d](double x) { return bm::pdf(d, x); });
        case function::cdf:
            if (upper) return loop([d](double x) { return bm::cdf(bm::complement(d, x)); });
            return loop([d](double x) { return bm::cdf(d, x); });
        case function::quantile:
            if (upper) return loop([d](double p) { return bm::quantile(bm::complement(d, p)); });
            return loop([d](double p) { return bm::quantile(d, p); });
    }
    return {};
}

template <class Policy>
answer with_policy(const question& q) {
    const double a = q.at->q[0], b = q.at->q[1], c = q.at->q[2];
    const bool noncentral = q.at->noncentral;
    switch (q.at->of) {
        case family::normal:
            return answer_of(q, bm::normal_distribution<double, Policy>(a, b));
        case family::t:
            if (noncentral) return answer_of(q, bm::non_central_t_distribution<double, Policy>(a, b));
            return answer_of(q, bm::students_t_distribution<double, Policy>(a));
        case family::chi_square:
            if (noncentral)
                return answer_of(q, bm::non_central_chi_squared_distribution<double, Policy>(a, b));
            return answer_of(q, bm::chi_squared_distribution<double, Policy>(a));
        case family::beta:
            return answer_of(q, bm::beta_distribution<double, Policy>(a, b));
        case family::f:  // the noncentrality is twice the Poisson mean
            if (noncentral)
                return answer_of(q, bm::non_central_f_distribution<double, Policy>(a, b, 2.0 * c));
            return answer_of(q, bm::fisher_f_distribution<double, Policy>(a, b));
        case family::binomial:
            return answer_of(q, bm::binomial_distribution<double, Policy>(a, b));
    }
    return {};
}

}  // namespace

answer boost_answer(const question& q, bool promote) {
    const answer call = promote ? with_policy<promoting>(q) : with_policy<plain>(q);
    try {
        list out(q.x.size());
        call(q.x.data(), q.x.size(), out.data());
    } catch (const std::exception&) {
        return {};
    }
    return call;
}

std::string boost_version() {
    return "Boost.Math " + std::to_string(BOOST_VERSION / 100000) + "." +
           std::to_string(BOOST_VERSION / 100 % 1000) + "." + std::to_string(BOOST_VERSION % 100);
}

}  // namespace zolv_bench
