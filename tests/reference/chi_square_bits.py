#!/usr/bin/env python3
"""Bit-exact table for the chi-square family and the noncentral gamma: writes chi_square_bits.csv beside itself.

A second, plain transcription of the arithmetic in Python doubles (exp, log, pow and sqrt are the C library's)
on top of the kernels' transcriptions: every operation in the order that the method prints it, every start
index and every log density from scratch, nothing shared, nothing prepared; the index of a mixture is a whole
number of any size. Run with the interpreter of the machine whose C library the tests use; another one may
round exp, log or pow differently in the last place.

Columns: routine, branch, x (the probability for the quantile), df, nc, upper, value.
"""
import math
import os
import random
import struct
import sys

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import kernel_bits_incomplete_gamma as G  # noqa: E402
from kernel_bits_log_gamma import log_gamma_pdf, log_poisson_pmf  # noqa: E402
from kernel_bits_normal import INF, div, exp, normal_std_quantile, normal_upper_tail, power, root  # noqa: E402
from quantile_bits import gamma_quantile_large, gamma_quantile_left, gamma_quantile_right, \
    solve_bracketed  # noqa: E402
import quantile_bits  # noqa: E402

SIGN_SET_NAN = struct.unpack("<d", struct.pack("<Q", 0xFFF8000000000000))[0]
MISSING = struct.unpack("<d", struct.pack("<Q", 0x7FF8000000000000))[0]
LOG_DBL_MIN = math.log(2.2250738585072014e-308)
EPS = 2.220446049250313e-16
CEILING = 750000
LAST_INDEX = 2.0 ** 53  # above it the index of a mixture no longer moves by 1

path = []  # what the call at hand went through


def log_pmf(k, m):
    return log_poisson_pmf(float(k), m)


# ---- the Poisson quantile ----------------------------------------------------------------------------------


def poisson_normal(x, mean, upper):
    s = math.sqrt(mean)
    z = (x - mean) / s
    Z = z * z
    h = 0.5 / s
    u = z if upper else -z
    T = 0.0 if u >= 38.4638 else normal_upper_tail(u)
    M = T / (0.39894228040143265 * exp(z * (-0.5 * z)))
    a3 = -((((45.0 + 5.0 * Z) * Z - 81.0) * Z - 315.0) * Z + 270.0) * z / 810.0
    a2 = ((Z * Z - 9.0) * Z + 6.0) / 18.0
    a1 = -(Z - 3.0) * z / 3.0
    a = ((a3 * h + a2) * h + a1) * h + 1.0
    b3 = ((((5.0 * Z + 40.0) * Z - 111.0) * Z - 174.0) * Z + 192.0) / 810.0
    b2 = -((Z - 1.0) * Z - 6.0) * z / 18.0
    if upper:
        return s * (M * a + ((b3 * h + b2) * h + (Z - 4.0) / 3.0) * h)
    return s * (M * a - ((b3 * h + b2) * h + (2.0 + Z) / 3.0) * h)


def poisson_tails(x, mean):
    """-> P(X < x), P(X > x), P(X = x)"""
    if x < 0.0:
        return 0.0, 1.0, 0.0
    if mean <= 10000.0 and x >= 14500.0:
        return 1.0, 0.0, 0.0
    mass = exp(log_poisson_pmf(x, mean))
    if x > mean - 1.0:
        if mean > 1e8:
            ratio = poisson_normal(x, mean, True)
        else:
            i, t = int(x), 1.0
            while True:
                i += 1
                t = t * mean / i
                if t < EPS:
                    break
            j, ratio = i - 1, 0.0
            if j >= x:
                while j >= x:
                    j -= 1
                    w = mean / i
                    i -= 1
                    ratio = (ratio + 1.0) * w
        above = ratio * mass
        return (0.0 if x == 0.0 else 1.0 - above - mass), above, mass
    if mean > 1e8:
        ratio = poisson_normal(x, mean, False)
    else:
        i, t = int(x), 1.0
        while True:
            t = t * i / mean
            i -= 1
            if t < EPS:
                break
        i += 1
        j, ratio = i, 0.0
        while x >= j:
            w = j / mean
            j += 1
            ratio = (ratio + 1.0) * w
    below = ratio * mass
    return below, 1.0 - below - mass, mass


def poisson_quantile(p, mean, mode):
    """Modes 0 (lower tail) and 1 (upper tail)."""
    z = 0.0 if p == 0.5 else normal_std_quantile(p)
    if mode == 1:
        z = -z
    g = (z * z - 1.0) / 6.0 + math.sqrt(mean) * z + mean + 0.5
    start = 0.0 if g < 0.0 else float(math.floor(g))
    if mean > 1e12:
        return start

    def f(x):
        below, above, mass = poisson_tails(x, mean)
        return below + mass if mode == 0 else above

    v = f(start)
    if v == p:
        return start
    if mode == 0:
        s = -1.0 if p < v else 1.0
    else:
        s = 1.0 if p < v else -1.0
    x = start
    for _ in range(1000000):
        y = x + s
        w = f(y)
        if w == p:
            return y
        if (w < p and v > p) or (w > p and v < p):
            return y if s != -1.0 else x
        x, v = y, w
    return SIGN_SET_NAN


starts = {}  # the only thing remembered: a start index depends on the mean alone


def start_index(mean, mode):
    if (mean, mode) not in starts:
        starts[mean, mode] = poisson_quantile(5e-15, mean, mode)
    return starts[mean, mode]


# ---- density -----------------------------------------------------------------------------------------------


def gamma_nc_pdf(x, a, l):
    if math.isnan(x):
        return SIGN_SET_NAN
    if math.isinf(x) or x < 0.0:
        return 0.0
    if x == 0.0:
        path.append("origin")
        return INF if a < 1.0 else exp(-l) if a == 1.0 else 0.0
    if l == 0.0:
        path.append("central")
        return exp(log_gamma_pdf(a, x))
    peak = -(1.0 + a) / 2.0 + 0.5 * root((a - 1.0) * (a - 1.0) + 4.0 * l * x)
    if math.isnan(peak):
        path.append("no peak")
        return SIGN_SET_NAN
    k = peak if math.isinf(peak) else max(0.0, float(math.ceil(peak)))
    logarithm = log_pmf(k, l) + log_gamma_pdf(a + k, x)
    if logarithm < LOG_DBL_MIN:
        path.append("underflow")
        return 0.0
    if not k <= LAST_INDEX:
        path.append("beyond 2^53")
        return SIGN_SET_NAN
    path.append("peak 0" if k == 0.0 else "peak")
    T = exp(logarithm)
    v, i = 1.0, 0
    while True:
        m = i + k
        v = v * (l * x / (1.0 + m) / (a + m))
        if v < 1e-14:
            break
        i += 1
    s = 0.0
    for j in range(0, i + 1):
        mj = m - j
        s = (s + 1.0) * (l * x / (1.0 + mj) / (a + mj))
    v, i = 1.0, 0
    while True:
        m = k - i
        v = v * ((a + m - 1.0) * m / l / x)
        if v < 1e-14:
            break
        i += 1
    w = 0.0
    for j in range(0, i + 1):
        mj = j + m
        w = (w + 1.0) * (mj * (a + mj - 1.0) / l / x)
    return T * (s + 1.0 + w)


# ---- tails -------------------------------------------------------------------------------------------------


def underflows(k, x, a, ncp):
    return log_pmf(k, ncp) + log_gamma_pdf(a + k, x) < LOG_DBL_MIN


def peak_term(k, x, a, ncp):
    return exp(log_pmf(k, ncp) + log_gamma_pdf(a + k, x))


def upper_sum(x, a, ncp):
    j0 = start_index(ncp, 0)
    if j0 > LAST_INDEX:
        path.append("upper beyond 2^53")
        return SIGN_SET_NAN
    i = int(j0)
    R = G.gamma_upper_ratio(a + j0, x)
    S = 0.0
    k = 0
    while i <= j0 + CEILING:
        d = (i + a) * R / x
        t = ((i + 1) / ncp) * d / (d + 1.0)
        if t > 1.0:
            k = i
            break
        R = d + 1.0
        S = (S + 1.0) * t
        i += 1
    if underflows(k, x, a, ncp):
        path.append("upper underflow")
        return 0.0
    if k > LAST_INDEX:
        path.append("upper beyond 2^53")
        return SIGN_SET_NAN
    if i - j0 >= CEILING:
        path.append("upper ceiling")
        return 0.0
    path.append("upper start" if k == j0 else "upper")
    T = peak_term(k, x, a, ncp) * R
    total = (S + 1.0) * T
    i = k
    while i <= k + CEILING:
        d = (i + a) * R / x
        i += 1
        t = (ncp / i) * (div(1.0, d) + 1.0)
        T = T * t
        total = total + T
        if div(div(T, 1.0 - t), total) < 5e-15:
            break
        R = d + 1.0
    return total


def lower_sum(x, a, ncp):
    j1 = int(start_index(ncp, 1))
    if j1 > LAST_INDEX:
        path.append("lower beyond 2^53")
        return SIGN_SET_NAN
    u = G.gamma_lower_ratio(a + j1 + 1.0, x) + 1.0
    S = 0.0
    m = j1 - CEILING
    if m < 1:
        m = 0
    i = j1
    k = None
    while i > m:
        L = (x / (a + i)) * u
        u = L + 1.0
        t = (ncp / i) * L / u
        if t > 1.0 and i != 0:
            k = i
            break
        S = (S + 1.0) * t
        i -= 1
    peak = k is not None
    if not peak:
        k = 0
        L = (x / a) * u
    if underflows(k, x, a, ncp):
        path.append("lower underflow")
        return 0.0
    if k > LAST_INDEX:
        path.append("lower beyond 2^53")
        return SIGN_SET_NAN
    if j1 - i > 749999:
        path.append("lower ceiling")
        return 0.0
    path.append("lower" if peak else "lower to 0")
    T = peak_term(k, x, a, ncp) * L
    total = (S + 1.0) * T
    i = k
    while i > 0:
        t = (i / ncp) * (div(1.0, L) + 1.0)
        T = T * t
        total = total + T
        if div(div(T, 1.0 - t), total) < 5e-15:
            break
        L = (L + 1.0) * (x / (i + a - 1.0))
        i -= 1
    return total


def gamma_nc_tails(x, a, ncp):
    """-> lower, upper"""
    if x >= a + ncp:
        upper = upper_sum(x, a, ncp)
        lower = 1.0 - upper
        if upper > 0.9:
            lower = lower_sum(x, a, ncp)
            upper = 1.0 - lower
    else:
        lower = lower_sum(x, a, ncp)
        upper = 1.0 - lower
        if lower > 0.9:
            upper = upper_sum(x, a, ncp)
            lower = 1.0 - upper
    return lower, upper


def gamma_cdf(x, a, nc, upper):
    if math.isnan(x):
        return SIGN_SET_NAN
    if math.isinf(x):
        return float((x < 0.0) == bool(upper))
    if x <= 0.0:
        return 1.0 if upper else 0.0
    if nc == 0.0:
        path.append("central")
        lower, above = G.gamma_tails(x, a)
    elif nc < 0.0:
        path.append("negative")
        return SIGN_SET_NAN
    else:
        lower, above = gamma_nc_tails(x, a, nc)
    return above if upper else lower


# ---- quantile ----------------------------------------------------------------------------------------------


class no_quantile(Exception):
    """A walk that cannot end: it stands still or has lost its residual."""


def residual(x, p, a, ncp, upper):
    if math.isnan(x):
        return SIGN_SET_NAN
    if x == INF:
        return -p if upper else 1.0 - p
    if x <= 0.0:
        return 1.0 - p if upper else -p
    lower, above = gamma_nc_tails(x, a, ncp)
    if not upper:
        return lower - p
    return 1.0 - p if above < 0.0 else above - p


def gamma_nc_bracket(p, a, ncp, upper, f):
    """-> lo, flo, hi, fhi"""
    lo = 1.0
    flo = f(lo)
    if flo == 0.0:
        branches.append("hit")
        return lo, flo, None, None
    if flo < 0.0 if upper else flo > 0.0:
        branches.append("down")
        s, n = 1e-5, 1
        while True:
            hi = lo * s
            fhi = f(hi)
            if flo * fhi <= 0.0:
                return lo, flo, hi, fhi
            n += 1
            lo, flo = hi, fhi
            s = s * 1e-5
            if n == 21:
                branches.append("no bracket")
                return lo, flo, hi, fhi
    if a < 1.0 and ncp < 1.0:
        branches.append("double")
        while True:
            hi = 2.0 * lo
            fhi = f(hi)
            if flo * fhi <= 0.0:
                return lo, flo, hi, fhi
            if hi == lo or math.isnan(flo) or math.isnan(fhi):
                raise no_quantile
            lo, flo = hi, fhi
    m = a + ncp
    v = 2.0 * ncp + a
    sd = root(v)
    z = 0.0 if p == 0.5 else normal_std_quantile(p)
    if upper:
        z = -z
    if a >= 1.0 and ncp >= 1.0:
        branches.append("cube")
        q = z * root(power(m, -2.0) * v / 9.0) + 1.0 - v * power(m, -2.0) / 9.0
        e = m * (q * q * q)
    elif a < 1.0 and ncp >= 1.0:
        branches.append("square")
        q = z + root(4.0 * (m * m) / v - 1.0)
        e = (q * q) * (0.25 * v / m)
    else:
        if a >= 10000.0:
            branches.append("scaled expansion")
            g = gamma_quantile_large(p, a, upper)
        elif upper:
            branches.append("scaled right")
            g = gamma_quantile_right(p, a)
        else:
            branches.append("scaled left")
            g = gamma_quantile_left(p, a)
        e = g * (v / (ncp + a))
    lo = e if e >= 1.0 else 1.0
    flo = f(lo)
    if (flo <= 0.0 and not upper) or (flo > 0.0 and upper):
        direction = 1.0
    else:
        direction = -1.0
    branches.append("up" if direction > 0.0 else "back")
    w = lo
    while True:
        w = w + direction * sd
        hi = w if w >= 1.0 else 1.0
        fhi = f(hi)
        if flo * fhi <= 0.0:
            return lo, flo, hi, fhi
        if hi == lo or math.isnan(flo) or math.isnan(fhi):
            raise no_quantile
        lo, flo = hi, fhi
        w = lo


branches = []


def gamma_nc_quantile(p, a, ncp, upper):
    def f(x):
        return residual(x, p, a, ncp, upper)

    try:
        lo, flo, hi, fhi = gamma_nc_bracket(p, a, ncp, upper, f)
    except no_quantile:
        branches.append("stalled")
        return SIGN_SET_NAN
    if flo == 0.0:
        return lo
    if fhi == 0.0:
        return hi
    return solve_bracketed(lo, flo, hi, fhi, f)[0]


def gamma_quantile(p, a, nc, upper):
    if math.isnan(p) or p < 0.0 or p > 1.0:
        return SIGN_SET_NAN
    if p == 0.0:
        return INF if upper else 0.0
    if p == 1.0:
        return 0.0 if upper else INF
    if nc != 0.0:
        if nc < 0.0:
            branches.append("negative")
            return SIGN_SET_NAN
        return gamma_nc_quantile(p, a, nc, upper)
    if a >= 10000.0:
        branches.append("central expansion")
        return gamma_quantile_large(p, a, upper)
    branches.append("central")
    return gamma_quantile_right(p, a) if upper else gamma_quantile_left(p, a)


# ---- the exported functions --------------------------------------------------------------------------------


def accepted(df, nc):
    return df > 0.0 and df < INF and math.isfinite(nc)


def pdf(x, df, nc, upper=0):
    if not accepted(df, nc):
        return MISSING
    return 0.5 * gamma_nc_pdf(x / 2.0, df / 2.0, nc / 2.0)


def cdf(x, df, nc, upper):
    if not accepted(df, nc):
        return MISSING
    return gamma_cdf(x / 2.0, df / 2.0, nc / 2.0, upper)


def inv_cdf(p, df, nc, upper):
    if not accepted(df, nc):
        return MISSING
    return 2.0 * gamma_quantile(p, df / 2.0, nc / 2.0, upper)


# ---- the table ---------------------------------------------------------------------------------------------


def after(x):
    return math.nextafter(x, INF)


def before(x):
    return math.nextafter(x, -INF)


def around(x):
    return [before(x), x, after(x)]


def log_uniform(rng, low, high):
    return math.exp(rng.uniform(math.log(low), math.log(high)))


def text(x):
    if math.isnan(x):
        return "-nan" if math.copysign(1.0, x) < 0.0 else "nan"
    return ("inf" if x > 0.0 else "-inf") if math.isinf(x) else x.hex()


class table:
    def __init__(self):
        self.lines = {}
        self.skipped = []
        self.counts = {}

    def put(self, routine, x, df, nc, upper=0):
        path.clear()
        branches.clear()
        key = (routine.__name__, float(x).hex(), float(df).hex(), float(nc).hex(), upper)
        if key in self.lines:
            return
        try:
            value = routine(x, df, nc, upper)
        except (ZeroDivisionError, ValueError, OverflowError) as problem:
            # Python raises where C would carry an infinity on; such a row would judge this script's arithmetic.
            self.skipped.append((routine.__name__, x, df, nc, upper, repr(problem)))
            return
        branch = " ".join(branches if routine is inv_cdf else path) or "ends"
        self.counts[routine.__name__, branch] = self.counts.get((routine.__name__, branch), 0) + 1
        cells = [routine.__name__, branch, text(x), text(df), text(nc), str(upper), text(value)]
        self.lines[key] = ",".join(cells)

    def both(self, routine, x, df, nc):
        self.put(routine, x, df, nc, 0)
        self.put(routine, x, df, nc, 1)


def fill_ends(out):
    nan = math.nan
    for df in (0.5, before(2.0), 2.0, after(2.0), 50.0):
        for nc in (0.0, -0.0, 5.0, -3.0):
            for x in (0.0, -0.0, -1.0, INF, -INF, nan, 5e-324):
                out.put(pdf, x, df, nc)
                out.both(cdf, x, df, nc)
            for p in (0.0, -0.0, 1.0, nan, after(1.0), -INF, -5e-324):
                out.both(inv_cdf, p, df, nc)
    for df, nc in ((0.0, 1.0), (-0.0, 1.0), (-1.0, 1.0), (INF, 1.0), (nan, 1.0), (3.0, INF), (3.0, -INF), (3.0, nan)):
        for x in (1.0, nan, 0.0):
            out.put(pdf, x, df, nc)
            out.both(cdf, x, df, nc)
            out.both(inv_cdf, x, df, nc)


def fill_density(out, rng):
    for df in (1e-3, 0.5, 1.0, 2.0, 3.0, 50.0, 1e5, 19999.0, 1e9):
        a = df / 2.0
        for nc in (0.0, -0.0, 1e-300, 1e-8, 0.5, 1.0, 2.0, 20.0, 300.0, 1e4, 1e6):
            l = nc / 2.0
            mean, sd = df + nc, math.sqrt(2.0 * df + 4.0 * nc)
            points = [mean, mean * 1e-3, mean * 3.0, 1e-300, 1e-10]
            points += [abs(mean + z * sd) for z in (-20.0, -5.0, -1.0, 1.0, 5.0, 20.0, 37.0)]
            if l > 0.0 and a / l < 1e100:
                points += [2.0 * x for x in around(a / l)]  # where the peak leaves 0
            for x in points:
                if x > 0.0:
                    out.put(pdf, x, df, nc)
    # both sides of the underflow: bisect the point where the density ends
    for df, nc in ((3.0, 0.5), (50.0, 20.0), (1e5, 300.0), (0.5, 1e4), (2.0, 1e6), (1e5, 1e6)):
        for far in (1e-300, 1e9):
            near = df + nc
            for _ in range(200):
                middle = (near + far) / 2.0
                if middle in (near, far):
                    break
                if pdf(middle, df, nc) > 0.0:
                    near = middle
                else:
                    far = middle
            out.put(pdf, near, df, nc)
            out.put(pdf, far, df, nc)
    # a negative noncentrality: a real radicand is followed, the others have no peak
    for df in (0.5, 1.0, 2.0, 3.0, 50.0):
        a = df / 2.0
        for nc in (-1e-300, -1e-3, -0.5, -4.0, -100.0, -1000.0, -1500.0):
            edge = (a - 1.0) * (a - 1.0) / (4.0 * (-nc / 2.0)) * 2.0
            for x in around(edge) + [1e-8, 0.5, 3.0, 50.0, 700.0]:
                if 0.0 < x < 1e300:
                    out.put(pdf, x, df, nc)
    for nc in (1e8, 1e10):
        for z in (-3.0, 0.0, 3.0):
            out.put(pdf, nc + 7.0 + z * math.sqrt(4.0 * nc), 7.0, nc)
    for nc in (1e17, 1e20, 1e300):
        for x in (0.25 * nc, nc, 4.0 * nc, 1.0):
            out.put(pdf, x, 3.0, nc)
    for _ in range(250):
        df, nc = log_uniform(rng, 0.05, 1e5), log_uniform(rng, 1e-3, 1e6)
        out.put(pdf, abs(df + nc + rng.uniform(-8.0, 8.0) * math.sqrt(2.0 * df + 4.0 * nc)), df, nc)


def fill_tails(out, rng):
    for df in (1e-3, 0.5, 1.0, 2.0, 3.0, 50.0, 1e5, 20000.0, after(20000.0), 19000.0, 1e9):
        for nc in (0.0, -0.0, 1e-300, 1e-8, 0.5, 1.0, 2.0, 20.0, 300.0, 1e4, 1e6):
            mean, sd = df + nc, math.sqrt(2.0 * df + 4.0 * nc)
            points = around(mean) + [mean * 1e-3, mean * 3.0, 1e-300, 1e-10]
            points += [abs(mean + z * sd) for z in (-38.0, -20.0, -5.0, -1.28, -1.0, 1.0, 1.3, 5.0, 20.0, 45.0)]
            for x in points:
                if x > 0.0:
                    out.both(cdf, x, df, nc)
    # Both sides of the point where a first sum above 0.9 asks for the second. The mean is never far enough down
    # for the upper sum to come first and pass 0.9; the lower sum does at small df, where most of the mass is at 0.
    for df, nc in ((0.02, 0.19), (1e-3, 0.2), (0.05, 0.1), (1e-6, 0.21)):
        near, far = 1e-290, before(df + nc)
        for _ in range(300):
            middle = math.sqrt(near) * math.sqrt(far)
            if middle in (near, far):
                break
            path.clear()
            gamma_nc_tails(middle / 2.0, df / 2.0, nc / 2.0)
            near, far = (middle, far) if len(path) == 1 else (near, middle)
        for x in (before(near), near, after(near), far, after(far), before(df + nc), df + nc):
            out.both(cdf, x, df, nc)
    # underflow of the peak term
    for df, nc in ((3.0, 0.5), (50.0, 20.0), (1e5, 300.0), (0.5, 1e4), (2.0, 1e6)):
        for far in (1e-300, 1e9):
            near = df + nc
            for _ in range(200):
                middle = (near + far) / 2.0
                if middle in (near, far):
                    break
                path.clear()
                gamma_nc_tails(middle / 2.0, df / 2.0, nc / 2.0)
                near, far = (near, middle) if "underflow" in path[0] else (middle, far)
            out.both(cdf, near, df, nc)
            out.both(cdf, far, df, nc)
    for nc in (2e8, after(2e8), 3e8, 1e9, 1.5e10, 1.8e10, 2e10, 1e11, 1.9e12, 2.1e12, 2.0 ** 54, 2.0 ** 60, 1e300):
        for z in (-5.0, 0.0, 5.0) if nc < 1e9 else (-1.0, 1.0):
            x = nc + 3.0 + z * math.sqrt(4.0 * nc)
            if nc < 2e10:
                out.put(cdf, x, 3.0, nc, int(z >= 0.0))
            else:
                out.both(cdf, x, 3.0, nc)
    for df in (0.5, 3.0):
        for nc in (-1e-300, -1.0, -1e300):
            out.both(cdf, 2.0, df, nc)
    for _ in range(250):
        df, nc = log_uniform(rng, 0.05, 1e5), log_uniform(rng, 1e-3, 1e6)
        x = abs(df + nc + rng.uniform(-8.0, 8.0) * math.sqrt(2.0 * df + 4.0 * nc))
        out.both(cdf, x, df, nc)


def fill_quantiles(out, rng):
    ps = [5e-324, 1e-300, 1e-160, 1e-20, 1e-6, 0.025, 0.3, 0.5, after(0.5), 0.8, 0.99, 1.0 - 1e-9, before(1.0)]
    for df in (0.01, 0.5, 1.0, before(2.0), 2.0, 3.0, 50.0, 1e5, 19999.0, 20000.0):
        for nc in (0.0, -0.0, 1e-300, 0.01, 0.5, before(2.0), 2.0, 4.0, 60.0, 1e4):
            for p in ps:
                if nc > 1000.0 and p not in (1e-160, 1e-6, 0.5, 0.8, 1.0 - 1e-9):
                    continue
                out.both(inv_cdf, p, df, nc)
    # the exact hit: the tail at 1 itself
    for df, nc in ((1.0, 1.0), (1.0, 4.0), (4.0, 1.0), (4.0, 4.0), (0.2, 0.1)):
        for upper in (0, 1):
            p = cdf(2.0, df, nc, upper)
            for q in around(p):
                if 0.0 < q < 1.0:
                    out.put(inv_cdf, q, df, nc, upper)
    for nc in (-1e-300, -1.0, -1e300):
        out.both(inv_cdf, 0.3, 3.0, nc)
    for p in (1e-9, 0.5, 0.9):
        out.both(inv_cdf, p, 3.0, 1e6)
    for p in (1e-30, 0.2):
        out.both(inv_cdf, p, 1e5, 1e6)
    for nc in (2.0 ** 54, 1e20, 1e300):
        out.both(inv_cdf, 0.3, 3.0, nc)
    for _ in range(120):
        df, nc = log_uniform(rng, 0.05, 1e3), log_uniform(rng, 1e-3, 1e3)
        out.both(inv_cdf, rng.random(), df, nc)


def main():
    import time
    rng = random.Random(54)
    out = table()
    for fill in (lambda o, r: fill_ends(o), fill_density, fill_tails, fill_quantiles):
        begun = time.time()
        fill(out, rng)
        print(f"{time.time() - begun:.1f} s, {len(out.lines)} rows", file=sys.stderr)
    with open(os.path.splitext(os.path.abspath(__file__))[0] + ".csv", "w", encoding="ascii") as file:
        file.write("# Written by chi_square_bits.py. x is p for inv_cdf; nan is the missing value, -nan the sign-set one.\n")
        file.write("routine,branch,x,df,nc,upper,value\n")
        file.writelines(line + "\n" for line in out.lines.values())
    if "-v" in sys.argv:
        for key, count in sorted(out.counts.items()):
            print(count, *key, file=sys.stderr)
        for row in out.skipped:
            print("skipped", *row, file=sys.stderr)


if __name__ == "__main__":
    main()
