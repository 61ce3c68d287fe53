// transforms/brent_minimiser.hpp: a minimum of a function of one variable, without derivatives.
//
// Source: Brent, Algorithms for Minimization without Derivatives (1973), chapter 5, the procedure localmin
//         in the form known as fmin: golden section with parabolic interpolation.
// Order:  every comparison (< or <=, and the form of its negation) is part of the result: with a NaN it
//         decides where the next point falls.
// Departures: the published loop has no bound. Here it ends after brent_pass_limit passes, and before the
//         first one when an end or the tolerance is NaN or infinite, or the tolerance is negative. A finite
//         interval with a tolerance of 0 or more converges long before that.
#pragma once

#include <cmath>

#include "frame/nan.hpp"

namespace zolv::transforms {

inline constexpr double golden_fraction = 0.38196601125010515;  // (3 - sqrt 5) / 2
inline constexpr double brent_epsilon =
    1.4901161193847656e-08;  // 2^-26: the relative step never goes below it
inline constexpr int brent_pass_limit = 10000;

struct Minimum {
    double x;   // where the least value was met
    double fx;  // the function there
};

template <class Objective>
Minimum BrentMinimum(const Objective& f, double lower, double upper, double tolerance) {
    double a = lower, b = upper;
    const double tol3 = tolerance / 3.0;

    double x = a + golden_fraction * (b - a), v = x, w = x;  // best, third best and second best point
    double fx = f(x), fv = fx, fw = fx;
    double d = 0.0, e = 0.0;  // the step of this pass, and of the one before the last

    const bool searchable = dru::impl::is_finite(lower) && dru::impl::is_finite(upper) &&
                            dru::impl::is_finite(tolerance) && !(tolerance < 0.0);

    for (int pass = 0; searchable && pass < brent_pass_limit; ++pass) {
        const double tol1 = brent_epsilon * std::fabs(x) + tol3;
        const double t2 = 2.0 * tol1;
        const double xm = (a + b) / 2.0;
        if (t2 - (b - a) / 2.0 >= std::fabs(x - xm)) break;

        // The parabola through v, w and x.
        double p = 0.0, q = 0.0, r = 0.0;
        if (std::fabs(e) > tol1) {
            r = (x - w) * (fx - fv);
            q = (x - v) * (fx - fw);
            p = (x - v) * q - (x - w) * r;
            q = 2.0 * (q - r);
            if (q > 0.0) {
                p = -p;
            } else {
                q = -q;
            }
            r = e;
            e = d;
        }

        if (std::fabs(p) >= std::fabs(0.5 * q * r) || p <= (a - x) * q || p >= (b - x) * q) {
            e = x < xm ? b - x : a - x;
            d = golden_fraction * e;
        } else {
            d = p / q;
            const double u = x + d;
            if (u - a < t2 || b - u < t2) d = x < xm ? tol1 : -tol1;  // not too close to an end
        }

        // Not too close to x either.
        double u;
        if (std::fabs(d) >= tol1) {
            u = x + d;
        } else if (d > 0.0) {
            u = x + tol1;
        } else {
            u = x - tol1;
        }
        const double fu = f(u);

        if (fu <= fx) {
            (u < x ? b : a) = x;
            v = w;
            fv = fw;
            w = x;
            fw = fx;
            x = u;
            fx = fu;
        } else {
            (u < x ? a : b) = u;
            if (fu <= fw || w == x) {
                v = w;
                fv = fw;
                w = u;
                fw = fu;
            } else if (fu <= fv || v == x || v == w) {
                v = u;
                fv = fu;
            }
        }
    }
    return {x, fx};
}

}  // namespace zolv::transforms
