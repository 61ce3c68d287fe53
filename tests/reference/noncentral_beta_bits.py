#!/usr/bin/env python3
"""Bit-exact table for the noncentral beta distribution: writes noncentral_beta_bits.csv beside itself.

A second, plain transcription of the arithmetic in Python doubles (exp, log, pow and sqrt are the C library's)
on top of the kernels' transcriptions: every operation in the order that the method prints it, both orientations
written out, nothing prepared. Doubles are hexadecimal floats. Where the mixture has no meaning (a noncentrality
that is negative, infinite or NaN, or so large that an index no longer moves) the result is nan. Run with the
interpreter of the machine whose C library the tests use; another one may round exp, log or pow differently in
the last place.
"""
import functools
import math
import os
import random
import sys

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import kernel_bits_incomplete_beta as B  # noqa: E402
from kernel_bits_normal import INF, NAN, div, exp, log, normal_std_quantile, normal_upper_tail, root  # noqa: E402
from quantile_bits import beta_quantile, solve_bracketed  # noqa: E402

LOG_DBL_MIN = B.LOG_DBL_MIN
EPS = 2.220446049250313e-16
TWO_TO_53 = 9007199254740992.0
CEILING = 750000


class NoMixture(Exception):
    """The mixture cannot be summed: the answer is the sign-set NaN."""


note = {}  # which way the last call went


# ---- Poisson -----------------------------------------------------------------------------------------------


def log_poisson_pmf(k, m):
    if k == 0.0:
        return -m
    if m <= 10000.0 and k >= 14500.0:
        return -1.7976931348623157e308
    t = k - m
    if m < 1.0:
        L = log(m) - log(k)
    elif t >= 0.0:
        L = -B.log1p_small(t / m)
    else:
        L = B.log1p_small(-t / k)
    return t + k * L - B.remainder(k)


def poisson_normal_ratio(x, mean, upper):
    s = root(mean)
    z = (x - mean) / s
    Z = z * z
    h = 0.5 / s
    u = z if upper else -z
    T = 0.0 if u >= 38.4638 else normal_upper_tail(u)
    M = div(T, 0.39894228040143265 * exp(z * (-0.5 * z)))
    a3 = -((((45.0 + 5.0 * Z) * Z - 81.0) * Z - 315.0) * Z + 270.0) * z / 810.0
    a2 = ((Z * Z - 9.0) * Z + 6.0) / 18.0
    a1 = -(Z - 3.0) * z / 3.0
    a = ((a3 * h + a2) * h + a1) * h + 1.0
    b3 = ((((5.0 * Z + 40.0) * Z - 111.0) * Z - 174.0) * Z + 192.0) / 810.0
    b2 = -((Z - 1.0) * Z - 6.0) * z / 18.0
    if upper:
        return s * (M * a + ((b3 * h + b2) * h + (Z - 4.0) / 3.0) * h)
    return s * (M * a - ((b3 * h + b2) * h + (2.0 + Z) / 3.0) * h)


def poisson_upper_ratio(x, mean):
    if mean > 1e8:
        return poisson_normal_ratio(x, mean, True)
    i = math.trunc(x)
    t = 1.0
    while True:
        i += 1
        t = t * mean / i
        if t < EPS:
            break
    j = i - 1
    r = 0.0
    while j >= x:
        j -= 1
        w = mean / i
        i -= 1
        r = (r + 1.0) * w
    return r


def poisson_lower_ratio(x, mean):
    if mean > 1e8:
        return poisson_normal_ratio(x, mean, False)
    i = math.trunc(x)
    t = 1.0
    while True:
        t = t * i / mean
        i -= 1
        if t < EPS:
            break
    j = i + 1
    r = 0.0
    while x >= j:
        w = j / mean
        j += 1
        r = (r + 1.0) * w
    return r


def poisson_tails(x, mean):
    """-> lower, upper tail, mass"""
    if x < 0.0:
        return 0.0, 1.0, 0.0
    if mean <= 10000.0 and x >= 14500.0:
        return 1.0, 0.0, 0.0
    mass = exp(log_poisson_pmf(x, mean))
    if x > mean - 1.0:
        upper = poisson_upper_ratio(x, mean) * mass
        return (0.0 if x == 0.0 else 1.0 - upper - mass), upper, mass
    lower = poisson_lower_ratio(x, mean) * mass
    return lower, 1.0 - lower - mass, mass


@functools.lru_cache(maxsize=None)
def poisson_quantile(p, mean, mode):
    """mode 0: the lower tail with its mass; mode 1: the upper tail."""
    z = 0.0 if p == 0.5 else normal_std_quantile(p)
    if mode == 1:
        z = -z
    g = (z * z - 1.0) / 6.0 + root(mean) * z + mean + 0.5
    x = 0.0 if g < 0.0 else g if g >= TWO_TO_53 else float(math.floor(g))
    if mean > 1e12:
        return x

    def f(at):
        lower, upper, mass = poisson_tails(at, mean)
        return lower + mass if mode == 0 else upper

    v = f(x)
    if v == p:
        return x
    if mode == 0:
        s = -1.0 if p < v else 1.0
    else:
        s = 1.0 if p < v else -1.0
    for _ in range(1000000):
        y = x + s
        w = f(y)
        if w == p:
            return y
        if (w < p < v) or (v < p < w):
            return x if s == -1.0 else y
        x, v = y, w
    return NAN


# ---- the mixture of tails ----------------------------------------------------------------------------------


def check_mixture(ncp):
    if not 0.0 < ncp < INF or poisson_quantile(5e-15, ncp, 1) > TWO_TO_53:
        raise NoMixture


def beta_nc_tails_left(x, a, b, ncp):
    """-> lower, upper: sums of w_j I_x(a + j, b) and w_j (1 - I_x(a + j, b))."""
    c = a + b
    if x == 0.0:
        return 0.0, 1.0
    if ncp == 0.0:
        m = B.split_point(a, b)
        L = B.log_beta_pdf(a, b, x)
        E = exp(L)
        if m < x:
            upper = 0.0 if L < LOG_DBL_MIN else B.upper_ratio(a, b, x) * E
            return 1.0 - upper, upper
        lower = 0.0 if L < LOG_DBL_MIN else B.lower_ratio(a, b, x) * E
        return lower, 1.0 - lower
    check_mixture(ncp)
    if x >= (a + ncp) / (ncp + c):
        upper = left_upper_sum(x, a, b, ncp)
        note["order"] = "upper"
        if upper <= 0.9:
            return 1.0 - upper, upper
        note["order"] = "upper-lower"
        lower = left_lower_sum(x, a, b, ncp)
        return lower, 1.0 - lower
    lower = left_lower_sum(x, a, b, ncp)
    note["order"] = "lower"
    if lower <= 0.9:
        return lower, 1.0 - lower
    note["order"] = "lower-upper"
    upper = left_upper_sum(x, a, b, ncp)
    return 1.0 - upper, upper


def left_upper_sum(x, a, b, ncp):
    c = a + b
    r = 1.0 - x
    j0 = math.trunc(poisson_quantile(5e-15, ncp, 0))
    i = j0
    R = B.upper_ratio(a + j0, b, x)
    S = 0.0
    k = None
    if R == INF:
        return 0.0  # every t is a NaN: the ceiling
    while i <= j0 + CEILING:
        d = (a + i) * R / x
        t = ((i + 1) / ncp) * d / (r + d)
        if t > 1.0:
            k = i
            break
        S = (S + 1.0) * t
        R = r / (i + c) + d / (i + c)
        i += 1
    if i - j0 >= CEILING:
        return 0.0
    log_term = log_poisson_pmf(float(k), ncp) + B.log_beta_pdf(a + k, b, x)
    if log_term < LOG_DBL_MIN:
        return 0.0
    T = exp(log_term) * R
    total = (S + 1.0) * T
    i = k
    while i <= k + CEILING:
        d = (a + i) * R / x
        t = (ncp / (i + 1)) * (div(r, d) + 1.0)
        T = T * t
        total = total + T
        if total > 0.9 or T < total * 5e-15 * (1.0 - t):
            break
        R = r / (i + c) + d / (i + c)
        i += 1
    if i - k > 749999:
        return 0.0
    return total


def left_lower_sum(x, a, b, ncp):
    c = a + b
    r = 1.0 - x
    j1 = math.trunc(poisson_quantile(5e-15, ncp, 1))
    i = j1
    L = B.lower_ratio(a + j1 + 1.0, b, x)
    S = 0.0
    m = j1 - CEILING
    if m < 1:
        m = 0
    k = None
    while i > m:
        e = c + i - 1.0
        L = (L * (c + i) + r) * (x / (a + i))
        t = (ncp / i) * e * L / (e * L + r)
        if t > 1.0:
            k = i
            break
        S = (S + 1.0) * t
        i -= 1
    if j1 - i >= CEILING:
        return 0.0
    if k is None:
        k = 0
        L = (r + L * c) * (x / a)
    log_term = log_poisson_pmf(float(k), ncp) + B.log_beta_pdf(a + k, b, x)
    if log_term < LOG_DBL_MIN:
        return 0.0
    T = exp(log_term) * L
    total = (S + 1.0) * T
    i = k
    while i > 0:
        e = c + i - 1.0
        t = (i / ncp) * (div(div(r, e), L) + 1.0)
        T = T * t
        total = total + T
        if total > 0.9 or T < total * 5e-15 * (1.0 - t):
            break
        L = (L * e + r) * (x / (i + a - 1.0))
        i -= 1
        if k - i >= CEILING:
            return 0.0
    if k - i >= CEILING:
        return 0.0
    return total


def beta_nc_tails_right(y, p, q, ncp):
    """-> first, second: sums of w_j I_y(p, q + j) and w_j (1 - I_y(p, q + j))."""
    c = p + q
    if y == 0.0:
        return 0.0, 1.0
    if ncp == 0.0:
        m = B.split_point(p, q)
        L = B.log_beta_pdf(p, q, y)
        E = exp(L)
        if m < y:
            second = 0.0 if L < LOG_DBL_MIN else B.upper_ratio(p, q, y) * E
            return 1.0 - second, second
        first = 0.0 if L < LOG_DBL_MIN else B.lower_ratio(p, q, y) * E
        return first, 1.0 - first
    check_mixture(ncp)
    if y < p / (ncp + p + q):
        first = right_first_sum(y, p, q, ncp)
        note["order"] = "first"
        if first <= 0.9:
            return first, 1.0 - first
        note["order"] = "first-second"
        second = right_second_sum(y, p, q, ncp)
        return 1.0 - second, second
    second = right_second_sum(y, p, q, ncp)
    note["order"] = "second"
    if second <= 0.9:
        return 1.0 - second, second
    note["order"] = "second-first"
    first = right_first_sum(y, p, q, ncp)
    return first, 1.0 - first


def right_first_sum(y, p, q, ncp):
    c = p + q
    j0 = math.trunc(poisson_quantile(5e-15, ncp, 0))
    i = j0
    R = B.lower_ratio(p, q + j0, y)
    S = 0.0
    k = None
    if R == INF:
        return 0.0
    while i <= j0 + CEILING:
        d = (q + i) * R / (1.0 - y)
        t = ((i + 1) / ncp) * d / (y + d)
        if t > 1.0:
            k = i
            break
        S = (S + 1.0) * t
        R = y / (i + c) + d / (i + c)
        i += 1
    if i - j0 >= CEILING:
        return 0.0
    log_term = log_poisson_pmf(float(k), ncp) + B.log_beta_pdf(p, q + k, y)
    if log_term < LOG_DBL_MIN:
        return 0.0
    T = exp(log_term) * R
    total = (S + 1.0) * T
    i = k
    while i <= k + CEILING:
        d = (q + i) * R / (1.0 - y)
        t = (ncp / (i + 1)) * (div(y, d) + 1.0)
        T = T * t
        total = total + T
        if total > 0.9 or T < total * 5e-15 * (1.0 - t):
            break
        R = y / (i + c) + d / (i + c)
        i += 1
    if i - k > 749999:
        return 0.0
    return total


def right_second_sum(y, p, q, ncp):
    c = p + q
    j1 = math.trunc(poisson_quantile(5e-15, ncp, 1))
    i = j1
    L = B.upper_ratio(p, q + j1 + 1.0, y)
    S = 0.0
    m = j1 - CEILING
    if m < 1:
        m = 0
    k = None
    while i > m:
        e = c + i - 1.0
        L = (L * (c + i) + y) * ((1.0 - y) / (q + i))
        t = (ncp / i) * e * L / (e * L + y)
        if t > 1.0:
            k = i
            break
        S = (S + 1.0) * t
        i -= 1
    if j1 - i >= CEILING:
        return 0.0
    if k is None:
        k = 0
        L = (y + L * c) * ((1.0 - y) / q)
    log_term = log_poisson_pmf(float(k), ncp) + B.log_beta_pdf(p, q + k, y)
    if log_term < LOG_DBL_MIN:
        return 0.0
    T = exp(log_term) * L
    total = (S + 1.0) * T
    i = k
    while i > 0:
        e = c + i - 1.0
        t = (i / ncp) * (div(div(y, e), L) + 1.0)
        T = T * t
        total = total + T
        if total > 0.9 or T < total * 5e-15 * (1.0 - t):
            break
        L = (L * e + y) * ((1.0 - y) / (i + q - 1.0))
        i -= 1
        if k - i >= CEILING:
            return 0.0
    if k - i >= CEILING:
        return 0.0
    return total


def beta_nc_residual(x, p, a, b, ncp, upper):
    if math.isnan(x):
        return NAN
    if x <= 0.0:
        return 1.0 - p if upper else -p
    if x >= 1.0:
        return -p if upper else 1.0 - p
    if x < 0.5:
        lower, above = beta_nc_tails_left(x, a, b, ncp)
    else:
        above, lower = beta_nc_tails_right(1.0 - x, b, a, ncp)
    return above - p if upper else lower - p


def beta_nc_quantile(p, a, b, ncp, upper):
    if ncp == 0.0:
        return beta_quantile(p, a, b, upper)
    if upper:
        lo, flo, hi, fhi = 0.0, 1.0 - p, 1.0, -p
    else:
        lo, flo, hi, fhi = 0.0, -p, 1.0, 1.0 - p
    if flo == 0.0:
        return lo
    if fhi == 0.0:
        return hi
    return solve_bracketed(lo, flo, hi, fhi, lambda x: beta_nc_residual(x, p, a, b, ncp, upper))[0]


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
        except NoMixture:
            result = NAN
        except (ZeroDivisionError, ValueError, OverflowError) as problem:
            # Python raises where C would carry an infinity on; such a row would judge this script's arithmetic.
            self.skipped.append((routine, branch, arguments, upper, problem))
            return
        if "order" in note and not routine.endswith(("inv", "quantile")):
            branch = branch + "-" + note["order"]
        if not isinstance(result, tuple):
            result = (result,)
        self.counts[routine, branch] = self.counts.get((routine, branch), 0) + 1
        self.lines.append(",".join([routine, branch] + [text(v) for v in arguments] + [str(int(upper))] +
                                   [text(v) for v in result]))

    def save(self, script, columns):
        name = os.path.splitext(os.path.basename(script))[0]
        with open(os.path.join(os.path.dirname(os.path.abspath(script)), name + ".csv"), "w") as file:
            file.write(f"# Made by {name}.py: a plain transcription of the arithmetic in doubles.\n")
            file.write(columns + "\n" + "\n".join(self.lines) + "\n")
        for key, count in sorted(self.counts.items()):
            print(*key, count)
        print(name, len(self.lines), "rows;", len(self.skipped), "skipped")
        for row in self.skipped:
            print("skipped", *row)


def main():
    rng = random.Random(53)
    out = table()

    def both(branch, x, a, b, nc):
        out.put("left", branch, [x, a, b, nc], 0, lambda: beta_nc_tails_left(x, a, b, nc))
        out.put("right", branch, [x, a, b, nc], 0, lambda: beta_nc_tails_right(x, a, b, nc))

    shapes = [(1.5, 5.0), (10.0, 25.0), (150.0, 350.0), (0.5, 0.5), (1.0, 1.0), (2.0, 3.0), (0.01, 0.02), (1.0, 1e-3),
              (1e-3, 1.0), (30.0, 0.4), (0.4, 30.0), (1e5, 2e5), (3.0, 2e15), (400.0, 5.0)]
    for a, b in shapes:
        for nc in (0.0, 1e-300, 0.01, 1.0, 5.0, 30.0, 500.0, 1e4):
            left = (a + nc) / (nc + (a + b))
            right = a / (nc + a + b)
            for x in (0.0, 0.01, 0.3, 0.49, left * rng.random(), right * rng.random(), rng.random() / 2.0):
                if x < 1.0:
                    both("plain", x, a, b, nc)
            for x in sides(left):
                if x < 0.999:
                    out.put("left", "switch", [x, a, b, nc], 0, lambda: beta_nc_tails_left(x, a, b, nc))
            for x in sides(right):
                if x < 0.999:
                    out.put("right", "switch", [x, a, b, nc], 0, lambda: beta_nc_tails_right(x, a, b, nc))
    for _ in range(150):
        a, b, nc = log_uniform(rng, 0.01, 3e3), log_uniform(rng, 0.01, 3e3), log_uniform(rng, 1e-3, 2e3)
        both("random", rng.random() / 2.0, a, b, nc)
    for nc in (-1.0, NAN, INF, -INF):
        both("no-mixture", 0.0, 2.0, 3.0, nc)
        both("no-mixture", 0.3, 2.0, 3.0, nc)
    for p in (0.0, 1e-300, 1e-10, 0.2, 0.5, 0.8, 1.0 - 1e-9, 1.0):
        for a, b, nc in ((1.5, 5.0, 5.0), (10.0, 25.0, 30.0), (1.5, 5.0, 0.0), (0.5, 0.5, 1.0)):
            for upper in (0, 1):
                out.put("quantile", "plain", [p, a, b, nc], upper, lambda: (beta_nc_quantile(p, a, b, nc, upper), NAN))
    out.lines = [line if line.count(",") == 8 else line + ",nan" for line in out.lines]
    out.save(__file__, "routine,branch,x,a,b,nc,upper,one,other")


if __name__ == "__main__":
    main()
