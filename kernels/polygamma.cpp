// kernels/polygamma.cpp: digamma, trigamma and tetragamma.
#include "kernels/polygamma.hpp"

#include <cmath>

namespace dru::impl {

namespace {

// From here on the asymptotic series hold; smaller arguments are shifted up.
constexpr double polygamma_shift_limit = 10.0;

}  // namespace

// Source: Abramowitz & Stegun 6.3.18, by the recurrence 6.3.5; the coefficients are B_2m / (2m).
double digamma(double u) {
    if (u < 1e-12) return -1.0 / u;
    double y = u;
    double t = 0.0;
    for (; y < polygamma_shift_limit; y += 1.0) t += 1.0 / y;
    const double w = 1.0 / (y * y);
    return std::log(y) - 0.5 / y -
           ((((((0.08333333333333334 * w - 0.02109279609279609) * w + 0.007575757575757576) * w -
               0.004166666666666667) *
                  w +
              0.003968253968253968) *
                 w -
             0.008333333333333333) *
                w +
            0.08333333333333333) *
               w -
           t;
}

// Source: Abramowitz & Stegun 6.4.12, by the recurrence 6.4.6; the coefficients are the Bernoulli numbers.
double trigamma(double u) {
    if (u < 1e-6) return 1.0 / (u * u);
    double y = u;
    double t = 0.0;
    for (; y < polygamma_shift_limit; y += 1.0) t += 1.0 / (y * y);
    const double w = 1.0 / (y * y);
    return 1.0 / y + 0.5 / (y * y) +
           ((((((1.1666666666666667 * w - 0.2531135531135531) * w + 0.07575757575757576) * w -
               0.03333333333333333) *
                  w +
              0.023809523809523808) *
                 w -
             0.03333333333333333) *
                w +
            0.16666666666666666) *
               w / y +
           t;
}

// Source: Abramowitz & Stegun 6.4.13, by the recurrence 6.4.6; the coefficients are (2m + 1) B_2m.
double tetragamma(double u) {
    if (u < 0.0001) return -2.0 / (u * u * u);
    double y = u;
    double t = 0.0;
    for (; y < polygamma_shift_limit; y += 1.0) t += 2.0 / (y * y * y);
    const double w = 1.0 / (y * y);
    return -1.0 / (y * y) - 1.0 / (y * y * y) -
           ((((((17.5 * w - 3.2904761904761903) * w + 0.8333333333333334) * w - 0.3) * w +
              0.16666666666666666) *
                 w -
             0.16666666666666666) *
                w +
            0.5) *
               w * w -
           t;
}

}  // namespace dru::impl
