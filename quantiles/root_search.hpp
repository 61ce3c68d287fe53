// quantiles/root_search.hpp: the five small searches behind every quantile that has no closed form.
//
// They know nothing of distributions. Each is handed a callable from double to double and a start, and
// walks. The callable is the residual, tail probability at x minus target, so that the root is the quantile;
// the discrete search alone gets the tail probability itself and the target beside it.
//
// Each routine is a template on the callable and takes it by value: a lambda over the caller's locals costs
// no indirect call, and a residual_function is copied in and destroyed on every way out. Calling an empty
// residual_function raises std::bad_function_call, and the exception leaves the routine.
//
// Failure is one byte that the routine always writes: 0 converged, 1 not converged. Whatever the callable
// answers, NaN included, each routine ends within a bound of its own: 251 steps, `limit` steps, a million
// steps, or the doublings that a double has room for.
#pragma once

#include <cmath>
#include <functional>

#include "frame/nan.hpp"

namespace dru::impl {

// A callable whose type is settled at run time.
using residual_function = std::function<double(double)>;

// Steps of solve_bracketed, each of which costs one evaluation.
inline constexpr int bracketed_step_limit = 251;

// Unit steps of search_discrete.
inline constexpr int discrete_step_limit = 1000000;

// The largest double divided by two: the step of expand_bracket can still be doubled once below it.
inline constexpr double expand_step_limit = 8.988465674311579e+307;

// The root between a and b, whose residuals are fa and fb.
//
// Source: shaped as Brent, Algorithms for Minimization without Derivatives, 1973, chapter 4.
// Oddity: the third test compares |s - b| with half of itself where Brent compares it with half of the step
//         before the last. The flag `bisected` starts set, so the interpolated point never survives and every
//         step is a bisection, unless the proposal is NaN: then no test holds, the flag is cleared and f(NaN)
//         is evaluated. That happens when the residuals are so small that their products vanish. Required;
//         the sequence of points is pinned by the tests.
// Order:  the residuals' product decides the sign test and may underflow to 0, which counts as "same sign".
//
// Residuals that do not straddle the root (a residual of 0 at an end included) give a back with failed = 1
// and no evaluation.
template <class Residual>
double solve_bracketed(double a, double fa, double b, double fb, Residual f, unsigned char& failed) {
    if (fa * fb >= 0.0) {
        failed = 1;
        return a;
    }
    const auto keep_better_end_in_b = [&] {
        if (std::fabs(fa) < std::fabs(fb)) {
            const double x = a, fx = fa;
            a = b, fa = fb;
            b = x, fb = fx;
        }
    };
    keep_better_end_in_b();

    double tol = 1e-12;
    double c = a, fc = fa;  // the better end one step ago
    double d = 0.0;         // the point evaluated one step ago
    bool bisected = true;
    for (int k = 1;;) {
        double s;
        if (fa == fc || fb == fc) {
            s = b - (b - a) * fb / (fb - fa);
        } else {
            s = a * fb * fc / ((fa - fb) * (fa - fc)) + b * fa * fc / ((fb - fa) * (fb - fc)) +
                c * fa * fb / ((fa - fc) * (fb - fc));
        }

        const double e = 4.440892098500626e-16 * std::fabs(b) + tol;
        if (s < (3.0 * a + b) / 4.0 || s > b ||                           //
            (bisected && std::fabs(s - b) >= 0.5 * std::fabs(b - s)) ||   //
            (!bisected && std::fabs(s - b) >= 0.5 * std::fabs(s - d)) ||  //
            (bisected && std::fabs(b - s) < e) ||                         //
            (!bisected && std::fabs(s - d) < e)) {
            s = (a + b) / 2.0;
            bisected = true;
        } else {
            bisected = false;
        }

        const double fs = f(s);
        c = b;
        fc = fb;
        d = s;
        if (fa * fs < 0.0) {
            b = s;
            fb = fs;
        } else {
            a = s;
            fa = fs;
        }
        keep_better_end_in_b();

        // Relative to the middle of the bracket: a root at 0 is found only by landing on it.
        if (fb == 0.0 || 0.5 * std::fabs(a + b) * tol >= std::fabs(b - a)) {
            failed = 0;
            return b;
        }
        ++k;
        if (k > bracketed_step_limit) {
            failed = 1;
            return b;
        }
        // Seven increases, at steps 25 to 175: repeated multiplication stands just below 1e-6 after the
        // sixth.
        if (k % 25 == 0 && tol < 1e-6) tol *= 10.0;
    }
}

// A residual and its derivative at one point.
struct residual_point {
    double value, derivative;
};

// Newton's method from x0, at most `limit` steps, for a callable that answers value and derivative together:
// the residuals of a distribution share the log density between the two.
//
// The last correction is not applied. Nothing keeps x inside the support of a variate: the residuals answer
// an excursion with the value at the end of the support.
template <class Point>
double solve_newton(double x0, Point point, int limit, unsigned char& failed) {
    double x = x0;
    for (int i = 1; i <= limit; ++i) {
        const residual_point at = point(x);
        if (at.derivative == 0.0) {
            failed = 1;
            return x;
        }
        if (at.value == 0.0 || 0.5 * std::fabs(x) * 1e-12 >= std::fabs(at.value / at.derivative)) {
            failed = 0;
            return x;
        }
        x = x - at.value / at.derivative;
    }
    failed = 1;
    return x;
}

// The same for value and derivative as two callables; the derivative is asked first.
template <class Residual, class Derivative>
double solve_newton(double x0, Residual f, Derivative df, int limit, unsigned char& failed) {
    const auto point = [&](double x) {
        const double derivative = df(x);
        return residual_point{f(x), derivative};
    };
    return solve_newton(x0, point, limit, failed);
}

// Which way a discrete search walks from a point with tail probability `value`: -1 or +1.
//
// Modes 0, 3, 4, 7 go with a tail that rises with x, modes 1, 2, 5, 6 with one that falls; any other mode
// answers 0.
inline int step_direction(int mode, double value, double target) {
    switch (mode) {
        case 0:
        case 3:
        case 4:
        case 7:
            return target < value ? -1 : 1;
        case 1:
        case 2:
        case 5:
        case 6:
            return target < value ? 1 : -1;
        default:
            return 0;
    }
}

// The whole number at which the tail probability f meets or crosses the target, by unit steps from a whole
// start. At a crossing the larger of the two whole numbers is the answer, in either direction.
//
// f answers 0 and 1 outside its support, which is what ends a walk there. The sign-set NaN comes back after a
// million steps without a crossing, and at once when f answers NaN: no step can cross from there.
template <class Tail>
double search_discrete(double target, double start, Tail f, int mode) {
    double v = f(start);
    if (v == target) return start;
    if (is_nan(v)) return sign_set_nan;

    const int direction = step_direction(mode, v, target);
    double x = start;
    for (int i = 1; i <= discrete_step_limit; ++i) {
        const double y = x + direction;
        const double w = f(y);
        if (w == target) return y;
        if (is_nan(w)) return sign_set_nan;
        if ((w < target && v > target) || (w > target && v < target)) return direction != -1 ? y : x;
        x = y;
        v = w;
    }
    return sign_set_nan;
}

// Doubles a step away from x0 until the residual changes sign; x0, f0 are the start on entry, and x0, x1 the
// bracket on return. The step is the size of the start value.
//
// overflow: 0 for a bracket; 1 when the step has grown beyond half the largest double (or is NaN, which a NaN
// start makes it): the ends are then in rising order.
// Oddity: f0 stays the residual of the very first point when x0 moves on. Its sign is right, which is all
//         that a bisection asks. On overflow the residuals are not swapped with the ends.
// Departure from plain doubling: a step of 0 (a start of 0) would never grow, so it becomes 1 in the stated
//         direction.
template <class Residual>
void expand_bracket(double& x0, double& f0, double& x1, double& f1, Residual f, unsigned char& overflow) {
    const double sign = f0 > 0.0 ? -1.0 : 1.0;
    double step = sign * std::fabs(x0);
    x1 = x0 + step;
    f1 = f(x1);
    while (f0 * f1 > 0.0) {
        x0 = x1;
        step = step == 0.0 ? sign : 2.0 * step;
        x1 = x1 + step;
        f1 = f(x1);
        if (!(std::fabs(step) <= expand_step_limit)) {
            overflow = 1;
            if (x0 > x1) {
                const double x = x0;
                x0 = x1;
                x1 = x;
            }
            return;
        }
    }
    overflow = 0;
}

// The type-erased forms are compiled once, in root_search.cpp.
extern template double solve_bracketed(double, double, double, double, residual_function, unsigned char&);
extern template double solve_newton(double, residual_function, residual_function, int, unsigned char&);
extern template double search_discrete(double, double, residual_function, int);
extern template void expand_bracket(double&, double&, double&, double&, residual_function, unsigned char&);

}  // namespace dru::impl
