#!/usr/bin/env python3
"""Bit-exact tables for the root searches, the beta and gamma quantiles and the beta family.

Writes quantile_bits.csv beside itself: routine, branch, up to four arguments, tail, result, all doubles as
hexadecimal floats.

A second, plain transcription of the arithmetic in Python doubles (exp, log, pow and sqrt are the C library's)
on top of the kernels' transcriptions: every operation in the order that the method prints it, every tail and
every density from scratch, nothing shared, nothing prepared. Run with the interpreter of the machine whose C
library the tests use; another one may round exp, log or pow differently in the last place.
"""
import math
import os
import random
import sys

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import kernel_bits_incomplete_beta as B  # noqa: E402
import kernel_bits_incomplete_gamma as G  # noqa: E402
from kernel_bits_log_gamma import log_gamma_pdf  # noqa: E402
from kernel_bits_normal import INF, NAN, div, exp, log, normal_std_quantile, root  # noqa: E402

LOG_DBL_MIN = B.LOG_DBL_MIN


# ---- the searches ------------------------------------------------------------------------------------------


def solve_bracketed(a, fa, b, fb, f):
    """-> (x, failed)"""
    tol = 1e-12
    if fa * fb >= 0.0:
        return a, 1
    if abs(fa) < abs(fb):
        a, b = b, a
        fa, fb = fb, fa
    c, fc, d, m, k = a, fa, 0.0, True, 1
    while True:
        if fa == fc or fb == fc:
            s = b - div((b - a) * fb, fb - fa)
        else:
            one = div(a * fb * fc, (fa - fb) * (fa - fc))
            two = div(b * fa * fc, (fb - fa) * (fb - fc))
            three = div(c * fa * fb, (fa - fc) * (fb - fc))
            s = one + two + three
        e = 4.440892098500626e-16 * abs(b) + tol
        if s < (3.0 * a + b) / 4.0:
            replace = True
        elif s > b:
            replace = True
        elif m and abs(s - b) >= 0.5 * abs(b - s):
            replace = True
        elif not m and abs(s - b) >= 0.5 * abs(s - d):
            replace = True
        elif m and abs(b - s) < e:
            replace = True
        elif not m and abs(s - d) < e:
            replace = True
        else:
            replace = False
        if replace:
            s = (a + b) / 2.0
            m = True
        else:
            m = False
        fs = f(s)
        c, fc, d = b, fb, s
        if fa * fs < 0.0:
            b, fb = s, fs
        else:
            a, fa = s, fs
        if abs(fa) < abs(fb):
            a, b = b, a
            fa, fb = fb, fa
        if fb == 0.0 or 0.5 * abs(a + b) * tol >= abs(b - a):
            return b, 0
        k += 1
        if k > 251:
            return b, 1
        if k % 25 == 0 and tol < 1e-6:
            tol *= 10.0


def solve_newton(x0, f, df, limit):
    """-> (x, failed)"""
    i, x = 1, x0
    if limit <= 0:
        return x, 1
    while True:
        d = df(x)
        v = f(x)
        if d == 0.0:
            return x, 1
        if v == 0.0 or 0.5 * abs(x) * 1e-12 >= abs(div(v, d)):
            return x, 0
        i += 1
        x = x - div(v, d)
        if i > limit:
            return x, 1


def expand_bracket(x0, f0, f):
    """-> (x0, f0, x1, f1, overflow)"""
    sgn = -1.0 if f0 > 0.0 else 1.0
    step = sgn * abs(x0)
    x1 = x0 + step
    f1 = f(x1)
    while f0 * f1 > 0.0:
        x0 = x1
        step = sgn if step == 0.0 else 2.0 * step
        x1 = x1 + step
        f1 = f(x1)
        if abs(step) > 8.988465674311579e307:
            if x0 > x1:
                x0, x1 = x1, x0
            return x0, f0, x1, f1, 1
    return x0, f0, x1, f1, 0


# ---- starts ------------------------------------------------------------------------------------------------


def stirling_polynomial(u):
    """The seven coefficients in powers of 1/u^2, before the division by u."""
    w = 1.0 / (u * u)
    s = 1.0 / 156.0
    for c in (-691.0 / 360360.0, 1.0 / 1188.0, -1.0 / 1680.0, 1.0 / 1260.0, -1.0 / 360.0, 1.0 / 12.0):
        s = s * w + c
    return s


def log_gamma1p_over(a):
    if a <= 0.0025:
        return ((6.493939402266829 * a / 24.0 + -0.4006856343865313) * a + 0.822467033424113) * a + \
            -0.5772156649015329
    u = 1.0 + a
    c = 1.0
    while u < 10.0:
        c = c / u
        u = u + 1.0
    return (log(c) + (u - 0.5) * log(u) - u + 0.5 * log(6.283185307179586) + stirling_polynomial(u) / u) / a


def shifted(u, term):
    total = 0.0
    while u < 10.0:
        total = total + term(u)
        u = u + 1.0
    return u, total


def horner(w, coefficients):
    s = coefficients[0]
    for c in coefficients[1:]:
        s = s * w + c
    return s


def psi(u):
    if u < 1e-12:
        return -1.0 / u
    y, t = shifted(u, lambda y: 1.0 / y)
    w = 1.0 / (y * y)
    s = horner(w, [0.08333333333333334, -0.02109279609279609, 0.007575757575757576, -0.004166666666666667,
                   0.003968253968253968, -0.008333333333333333, 0.08333333333333333]) * w
    return log(y) - 0.5 / y - s - t


def psi1(u):
    if u < 1e-6:
        return 1.0 / (u * u)
    y, t = shifted(u, lambda y: 1.0 / (y * y))
    w = 1.0 / (y * y)
    s = horner(w, [1.1666666666666667, -0.2531135531135531, 0.07575757575757576, -0.03333333333333333,
                   0.023809523809523808, -0.03333333333333333, 0.16666666666666666]) * w / y
    return 1.0 / y + 0.5 / (y * y) + s + t


def psi2(u):
    if u < 0.0001:
        return -2.0 / (u * u * u)
    y, t = shifted(u, lambda y: 2.0 / (y * y * y))
    w = 1.0 / (y * y)
    s = horner(w, [17.5, -3.2904761904761903, 0.8333333333333334, -0.3, 0.16666666666666666,
                   -0.16666666666666666, 0.5]) * w * w
    return -1.0 / (y * y) - 1.0 / (y * y * y) - s - t


def beta_small_start(p, a, b, upper):
    lp = B.log1p_small(-p) if upper else log(p)
    if min(a, b) >= 0.001 and b <= 100.0:
        q = 1.0 - p if upper else p
        t = log(q * B.gamma_value(1.0 + a) * B.gamma_value(b) / B.gamma_value(a + b)) / a
    elif b > 100.0:
        w = 1.0 / b
        c = 1.0 - a
        t = (((-(c * c * a)) / 12.0 * w + (1.0 - 2.0 * a) * c / 12.0) * w + 0.5 * c) * w + lp / a + \
            log_gamma1p_over(a) - log(b)
    elif a < 0.001:
        u = b + 1.0
        L = B.log1p_small(a / b)
        t = (lp + L) / a + log_gamma1p_over(a) - psi(u) - 0.5 * a * psi1(u) - a * a * psi2(u) / 6.0
    else:
        u = a + 1.0
        L = B.log1p_small(b / a)
        t = (lp + log(a / b) + L + b * log_gamma1p_over(b) - b * psi(u) - 0.5 * b * b * psi1(u) -
             b * b * b * psi2(u) / 6.0) / a
    if t < LOG_DBL_MIN:
        return 0.0
    if t > -0.6931471805599453:
        return 0.5
    return exp(t)


# ---- beta --------------------------------------------------------------------------------------------------


def beta_expansion(a, b, z):
    m = a / (a + b)
    v = 1.0 / root(a * b / (a + b))
    s = (1.0 - m) * m
    d = 1.0 - 2.0 * m
    z2 = z * z
    z3 = z * z * z
    z4 = z * z * z * z
    x = -s / 810.0 * d * (3.0 * (23.0 * s + 1.0) * z4 + (7.0 - 379.0 * s) * z2 - 4.0 * (4.0 - 43.0 * s)) * v
    x = x + s / 36.0 * ((1.0 - 13.0 * s) * z3 - (7.0 - 37.0 * s) * z)
    x = x * v + s / 3.0 * d * (z2 - 1.0)
    x = x * v + z * s
    return x * v + m


def beta_quantile_large(p, a, b, upper):
    z = 0.0 if p == 0.5 else normal_std_quantile(p)
    return beta_expansion(a, b, -z if upper else z)


def beta_density(x, a, b):
    if math.isnan(x):
        return NAN
    if math.isinf(x) or x < 0.0 or x > 1.0:
        return 0.0
    if x == 0.0:
        return INF if a < 1.0 else b if a == 1.0 else 0.0
    if x == 1.0:
        return INF if b < 1.0 else a if b == 1.0 else 0.0
    if x < 0.5:
        return exp(B.log_beta_pdf(a, b, x))
    return exp(B.log_beta_pdf(b, a, 1.0 - x))


def beta_both_tails(x, a, b):
    if x < 0.5:
        return B.beta_tails(x, a, b)
    upper, lower = B.beta_tails(1.0 - x, b, a)
    return lower, upper


def beta_residual(x, p, a, b, upper):
    if math.isnan(x):
        return NAN
    if x <= 0.0:
        return 1.0 - p if upper else -p
    if x >= 1.0:
        return -p if upper else 1.0 - p
    lower, above = beta_both_tails(x, a, b)
    return above - p if upper else lower - p


note = {}


def beta_search(p, a, b, upper):
    def f(x):
        return beta_residual(x, p, a, b, upper)

    def df(x):
        density = beta_density(x, a, b)
        return -density if upper else density

    if min(a, b) < 1.0:
        x0 = beta_small_start(p, a, b, upper)
    else:
        z = 0.0 if p == 0.5 else normal_std_quantile(p)
        if upper:
            z = -z
        if min(a, b) >= 10.0:
            x0 = beta_expansion(a, b, z)
        elif a < b:
            x0 = (a - 1.0) / (a + b - 2.0)
            if x0 <= 1e-25:
                x0 = 1e-25
        else:
            x0 = 0.5
    x, failed = solve_newton(x0, f, df, 35)
    note["search"] = "newton" if not failed else "bisection"
    if not failed:
        return x
    v = f(x)
    if upper:
        other = 0.0 if v <= 0.0 else 1.0
    else:
        other = 0.0 if v > 0.0 else 1.0
    return solve_bracketed(x, v, other, f(other), f)[0]


def beta_quantile(p, a, b, upper):
    note.clear()
    if a * b / (a + b) >= 10000.0:
        r = beta_quantile_large(p, a, b, upper)
        if r > 0.5:
            return 1.0 - beta_quantile_large(p, b, a, not upper)
        return r
    if (a >= 1.0 and b >= 1e23) or (a < 1.0 and b >= 1e9):
        if a >= 10000.0:
            g = gamma_quantile_large(p, a, upper)
        elif upper:
            g = gamma_quantile_right(p, a)
        else:
            g = gamma_quantile_left(p, a)
        return g / b
    m = B.split_point(a, b)
    L = B.log_beta_pdf(a, b, 0.5)
    E = exp(L)
    if m >= 0.5:
        lo = B.lower_ratio(a, b, 0.5) * E if L >= LOG_DBL_MIN else 0.0
        up = 1.0 - lo
    else:
        up = B.upper_ratio(a, b, 0.5) * E if L >= LOG_DBL_MIN else 0.0
        lo = 1.0 - up
    if upper:
        if p >= up:
            return beta_search(p, a, b, True)
        return 1.0 - beta_search(p, b, a, False)
    if lo >= p:
        return beta_search(p, a, b, False)
    return 1.0 - beta_search(p, b, a, True)


def beta_pdf(x, a, b):
    if math.isnan(x):
        return NAN
    if math.isinf(x) or x < 0.0:
        return 0.0
    if x == 0.0:
        return INF if a < 1.0 else b if a == 1.0 else 0.0
    if x == 1.0:
        return INF if b < 1.0 else a if b == 1.0 else 0.0
    if x > 1.0:
        return 0.0
    if x < 0.5:
        return exp(B.log_beta_pdf(a, b, x))
    return exp(B.log_beta_pdf(b, a, 1.0 - x))


def beta_cdf(x, a, b, upper):
    if x <= 0.0:
        return 1.0 if upper else 0.0
    if x >= 1.0:
        return 0.0 if upper else 1.0
    lower, above = beta_both_tails(x, a, b)
    return above if upper else lower


def beta_inv_cdf(p, a, b, upper):
    if p == 0.0:
        return 1.0 if upper else 0.0
    if p == 1.0:
        return 0.0 if upper else 1.0
    if p < 0.5:
        return beta_quantile(p, a, b, upper)
    return 1.0 - beta_quantile(1.0 - p, b, a, upper)


# ---- gamma -------------------------------------------------------------------------------------------------


def gamma_expansion(a, z):
    v = 1.0 / root(a)
    z2 = z * z
    z3 = z * z * z
    z4 = z * z * z * z
    x = -(3.0 * z4 + 7.0 * z2 - 16.0) / 810.0 * v
    x = x + (z3 - 7.0 * z) / 36.0
    x = x * v + (z2 - 1.0) / 3.0
    x = x * v + z
    x = x * v + 1.0
    return a * x


def gamma_quantile_large(p, a, upper):
    z = 0.0 if p == 0.5 else normal_std_quantile(p)
    return gamma_expansion(a, -z if upper else z)


def gamma_residual(x, p, a, upper):
    if math.isnan(x):
        return NAN
    if x <= 0.0:
        return 1.0 - p if upper else -p
    if x == INF:
        return -p if upper else 1.0 - p
    lower, above = G.gamma_tails(x, a)
    return above - p if upper else lower - p


def gamma_derivative(x, a, upper):
    if math.isnan(x):
        return NAN
    if math.isinf(x) or x < 0.0:
        density = 0.0
    elif x == 0.0:
        density = INF if a < 1.0 else 1.0 if a == 1.0 else 0.0
    else:
        density = exp(log_gamma_pdf(a, x))
    return -density if upper else density


def gamma_newton(x0, p, a, upper):
    x, failed = solve_newton(x0, lambda x: gamma_residual(x, p, a, upper), lambda x: gamma_derivative(x, a, upper), 50)
    note["search"] = "failed" if failed else "newton"
    return x


def gamma_quantile_left(p, a):
    if a <= 1.0:
        w = exp(log_gamma1p_over(a) + log(p) / a)
        if w <= 1e-100:
            note["search"] = "zero"
            return 0.0
        return gamma_newton(w, p, a, False)
    if a <= 10.0:
        return gamma_newton(a - 1.0, p, a, False)
    return gamma_newton(gamma_expansion(a, 0.0 if p == 0.5 else normal_std_quantile(p)), p, a, False)


def gamma_quantile_right(p, a):
    if a <= 1.0:
        return gamma_newton(exp(log_gamma1p_over(a) + B.log1p_small(-p) / a), p, a, True)
    return gamma_newton(gamma_expansion(a, -(0.0 if p == 0.5 else normal_std_quantile(p))), p, a, True)


# ---- the table ---------------------------------------------------------------------------------------------


def sides(x):
    return [math.nextafter(x, -INF), x, math.nextafter(x, INF)]


def log_uniform(rng, low, high):
    return math.exp(rng.uniform(math.log(low), math.log(high)))


def text(x):
    return "nan" if math.isnan(x) else ("inf" if x > 0.0 else "-inf") if math.isinf(x) else x.hex()


class table:
    def __init__(self):
        self.lines = []
        self.skipped = []
        self.counts = {}

    def put(self, routine, branch, arguments, upper, function):
        note.clear()
        try:
            result = function()
        except (ZeroDivisionError, ValueError, OverflowError) as problem:
            # Python raises where C would carry an infinity on; such a row would judge this script's arithmetic.
            self.skipped.append((routine, arguments, upper, problem))
            return
        branch = branch + ("-" + note["search"] if "search" in note else "")
        self.counts[routine, branch] = self.counts.get((routine, branch), 0) + 1
        cells = [text(x) for x in arguments] + [""] * (3 - len(arguments))
        self.lines.append(",".join([routine, branch] + cells + [str(int(upper)), text(result)]))


def beta_branch(a, b):
    if a * b / (a + b) >= 10000.0:
        return "large"
    if (a >= 1.0 and b >= 1e23) or (a < 1.0 and b >= 1e9):
        return "gamma"
    small = min(a, b)
    if small < 1.0:
        if small >= 0.001 and b <= 100.0:
            return "small1"
        return "small2" if b > 100.0 else "small3" if a < 0.001 else "small4"
    return "fisher" if small >= 10.0 else "mode" if a < b else "half"


def main():
    rng = random.Random(52)
    out = table()

    # The starts' own pieces, over and on both sides of their switches.
    points = [1e-300, 1e-20, 1e-5, 0.001, 0.3, 1.0, 3.7, 9.0, 10.0, 55.5, 1e4, 1e10]
    for a in points + sides(0.0025) + [log_uniform(rng, 1e-6, 100.0) for _ in range(15)]:
        out.put("log_gamma1p_over", "", [a], 0, lambda: log_gamma1p_over(a))
    for name, function, switch in (("digamma", psi, 1e-12), ("trigamma", psi1, 1e-6), ("tetragamma", psi2, 0.0001)):
        for u in points[2:] + sides(switch) + sides(10.0) + [log_uniform(rng, 1e-4, 50.0) for _ in range(10)]:
            out.put(name, "", [u], 0, lambda: function(u))

    small_shapes = [(0.3, 0.7), (0.3, 5.0), (5.0, 0.3), (0.05, 99.0), (40.0, 0.01), (0.3, 150.0), (0.0004, 1e6),
                    (1e-5, 2.0), (1e-5, 1e-5), (1e-4, 1e-4), (1e-4, 0.5), (0.5, 1e-4), (2.0, 1e-6), (300.0, 1e-5),
                    (1e-7, 100.0)]
    for s in sides(0.001):
        small_shapes += [(s, 3.0), (3.0, s), (s, s)]
    for s in sides(100.0):
        small_shapes += [(0.4, s), (s, 0.4), (5e-4, s)]
    for _ in range(25):
        small_shapes.append((log_uniform(rng, 1e-4, 1.0), log_uniform(rng, 1e-5, 1e3)))
        small_shapes.append((log_uniform(rng, 1e-4, 1e3), log_uniform(rng, 1e-5, 1.0)))
    for a, b in small_shapes:
        for upper in (0, 1):
            for p in (1e-12, rng.random(), 0.999):
                out.put("beta_small_start", beta_branch(a, b), [p, a, b], upper,
                        lambda: beta_small_start(p, a, b, upper))

    # The beta quantile in every branch and on both sides of every switch.
    shapes = [(1.0, 1.0), (1.0, 2.0), (2.0, 1.0), (2.0, 2.0), (2.0, 5.0), (5.0, 2.0), (0.5, 0.5), (3.3, 7.7),
              (15.0, 40.0), (40.0, 15.0), (12.5, 3000.0), (3000.0, 12.5), (1.5, 1e6), (1e6, 1.5), (200.0, 200.0),
              (9000.0, 1e6), (0.2, 1e12), (1e12, 0.2), (5.0, 1e24), (1e24, 5.0), (20.0, 1e23), (3.0, 1e16),
              (0.7, 900.0), (700.0, 0.02), (9999.5, 1e23), (9999.5, 1e26), (1e5, 1e5), (1e4, 1e30), (1e6, 1.5e4),
              (0.0005, 0.0005), (1e-4, 30.0), (30.0, 1e-4)]
    for s in sides(1.0):
        shapes += [(s, 2.0), (2.0, s), (s, s), (s, 1e9)]
    for s in sides(0.6):
        shapes += [(s, 2.0), (2.0, s)]
    for s in sides(10.0):
        shapes += [(s, 12.0), (12.0, s), (s, 1e4)]
    for s in sides(20000.0):
        shapes.append((s, 20000.0))
    for s in sides(1e9):
        shapes += [(0.5, s), (s, 0.5)]
    for s in sides(1e15) + sides(1e23):
        shapes += [(2.5, s), (s, 2.5)]
    for _ in range(30):
        shapes.append((log_uniform(rng, 0.01, 1e5), log_uniform(rng, 0.01, 1e5)))
    for index, (a, b) in enumerate(shapes):
        for upper in (0, 1):
            for p in (1e-20, 1e-3, 0.2, rng.random() / 2.0, 0.75)[index % 2::2] + (rng.random(),):
                out.put("beta_quantile", beta_branch(a, b), [p, a, b], upper, lambda: beta_quantile(p, a, b, upper))
    # Exactly the tail at one half, and its neighbours.
    for a, b in ((2.0, 2.0), (0.5, 0.5), (3.0, 4.5), (12.0, 14.0)):
        for upper in (0, 1):
            for p in sides(beta_cdf(0.5, b, a, 1 - upper)) + sides(B.beta_tails(0.5, a, b)[upper]):
                out.put("beta_quantile", "half-" + beta_branch(a, b), [p, a, b], upper,
                        lambda: beta_quantile(p, a, b, upper))
    # Where Newton's method fails: extreme tails from the mode or the middle.
    for a, b in ((1.2, 400.0), (5.0, 5.0), (9.0, 9.5), (2.0, 1e5), (8.0, 2.0), (1.0, 50.0), (0.9, 0.9), (0.3, 80.0),
                 (15.0, 15.0), (3.0, 1e10)):
        for p in (1e-9, 1e-30, 1e-80, 1e-140, 1e-154, 1e-170, 1e-250, 1e-300, 5e-324):
            for upper in (0, 1):
                out.put("beta_quantile", "extreme-" + beta_branch(a, b), [p, a, b], upper,
                        lambda: beta_quantile(p, a, b, upper))
    for a, b in ((2.0, 5.0), (0.4, 9.0), (20.0, 30.0), (9.0, 3.0)):
        for p in (0.001, 0.1, 0.3):
            out.put("beta_quantile_left", "", [p, a, b], 0, lambda: beta_search(p, a, b, False))
            out.put("beta_quantile_right", "", [1.0 - p, a, b], 1, lambda: beta_search(1.0 - p, a, b, True))
    # Roots above one half, whose iterates pass the end at 1 by a little.
    for p, a, b in ((7.0026305501001315e-81, 2.2402057107852231, 1.5025084955647456),
                    (1.9594278580213584e-12, 0.45750163785431913, 0.80875839850212516),
                    (3.0452969195750164e-07, 0.0028647900617168385, 0.86419582261798988)):
        out.put("beta_quantile_right", "beyond", [p, a, b], 1, lambda: beta_search(p, a, b, True))
    for a, b in ((1e4, 2e4), (3.0, 4.0), (1e5, 300.0), (1e300, 2.0), (50.0, 50.0)):
        for p in (1e-200, 0.01, 0.5, 0.8):
            for upper in (0, 1):
                out.put("beta_quantile_large", "", [p, a, b], upper, lambda: beta_quantile_large(p, a, b, upper))

    # The gamma quantile: shapes up to 1, up to 10, beyond.
    gamma_shapes = [1e-4, 0.002, 0.01, 0.1, 0.5, 0.9, 1.5, 3.0, 4.5, 9.0, 12.0, 55.5, 300.0, 5000.0, 2e4]
    for s in (0.0025, 1.0, 10.0, 10000.0):
        gamma_shapes += sides(s)
    gamma_shapes += [log_uniform(rng, 0.05, 2e4) for _ in range(20)]
    for a in gamma_shapes:
        for p in (1e-200, 1e-30, 0.01, 0.5, 0.9999, rng.random(), math.nextafter(1.0, 0.0)):
            out.put("gamma_quantile_left", "", [p, a], 0, lambda: gamma_quantile_left(p, a))
            out.put("gamma_quantile_right", "", [p, a], 1, lambda: gamma_quantile_right(p, a))
    for a in (10000.0, 12345.0, 1e10, 1e300, 3.0):
        for p in (1e-300, 0.01, 0.5, 0.9):
            for upper in (0, 1):
                out.put("gamma_quantile_large", "", [p, a], upper, lambda: gamma_quantile_large(p, a, upper))

    # The family.
    for index, (a, b) in enumerate(shapes):
        xs = [a / (a + b), rng.random()] + (sides(0.5) if index % 8 == 0 else [])
        if index % 5 == 0:
            xs += [0.0, 1.0, -0.5, 1.5, INF, -INF, 5e-324, math.nextafter(1.0, 0.0)]
        for x in xs:
            out.put("pdf", "", [x, a, b], 0, lambda: beta_pdf(x, a, b))
            for upper in (0, 1):
                out.put("cdf", "", [x, a, b], upper, lambda: beta_cdf(x, a, b, upper))
        for upper in (0, 1):
            for p in (0.0, 1.0, 0.5, rng.random(), 1.0 - 1e-9)[index % 3:]:
                out.put("inv", beta_branch(a, b), [p, a, b], upper, lambda: beta_inv_cdf(p, a, b, upper))

    # The searches on cubics: (x - r)^3 + (x - r) between the ends.
    for _ in range(40):
        r = rng.uniform(-1.0, 1.0)
        ends = [rng.uniform(-3.0, r), rng.uniform(r, 3.0)]
        if rng.random() < 0.5:
            ends.reverse()

        def cubic(x):
            return (x - r) * (x - r) * (x - r) + (x - r)

        out.put("bracketed", "", [r] + ends, 0,
                lambda: solve_bracketed(ends[0], cubic(ends[0]), ends[1], cubic(ends[1]), cubic)[0])
        out.put("newton", "", [r, ends[0]], 0,
                lambda: solve_newton(ends[0], cubic, lambda x: 3.0 * ((x - r) * (x - r)) + 1.0, 35)[0])
        start = ends[0] * 0.01
        out.put("expand", "", [r, start], 0, lambda: expand_bracket(start, cubic(start), cubic)[2])

    path = os.path.join(os.path.dirname(os.path.abspath(__file__)), "quantile_bits.csv")
    with open(path, "w") as file:
        file.write("# Made by quantile_bits.py: a plain transcription of the arithmetic in doubles.\n")
        file.write("routine,branch,x,y,z,upper,result\n")
        file.write("\n".join(out.lines) + "\n")
    for key, count in sorted(out.counts.items()):
        print(*key, count)
    print(len(out.lines), "rows;", len(out.skipped), "skipped")
    for row in out.skipped:
        print("skipped", *row)


if __name__ == "__main__":
    main()
