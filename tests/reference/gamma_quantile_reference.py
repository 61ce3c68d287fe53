#!/usr/bin/env python3
"""50-digit quantiles of the gamma distribution with unit rate: writes gamma_quantile_reference.csv beside
itself.

The lower tail is summed by x^a e^-x / Gamma(a + 1) times the series of positive terms, with working precision
raised until the complement has its digits too. A quantile is the root of ln tail = ln p by Newton's method in
50 digits, started from SciPy's inverse and checked by its residual.
"""
import math
import os
import random

import mpmath
import scipy.special
from mpmath import mp, mpf

mp.dps = 60
FOLDER = os.path.dirname(os.path.abspath(__file__))


def series(x, a):
    with mp.workdps(mp.dps + 60):
        log_front = a * mpmath.log(x) - x - mpmath.loggamma(a + 1)
    term = total = mpf(1)
    tiny = mpf(10) ** -(mp.dps + 2)
    n = 0
    while True:
        n += 1
        term *= x / (a + n)
        total += term
        ratio = x / (a + n + 1)
        if ratio < 1 and term * ratio / (1 - ratio) < tiny * total:
            return mpmath.exp(log_front) * total


def tails(x, a):
    x, a = mpf(x), mpf(a)
    digits = 60
    while True:
        with mp.workdps(digits):
            lower = series(x, a)
            upper = 1 - lower
            if upper > 0 and digits + mpmath.log10(upper) > 52:
                return +lower, +upper
        digits += 200
        if digits > 1000:
            return None


def quantile(p, a, upper):
    start = scipy.special.gammainccinv(a, p) if upper else scipy.special.gammaincinv(a, p)
    if not 0.0 < start < math.inf:
        return None
    x, target = mpf(float(start)), mpf(p)
    for _ in range(60):
        both = tails(x, a)
        if both is None:
            return None
        tail = both[upper]
        error = mpmath.log(tail / target)
        if abs(error) < mpf(10) ** -40:
            return x
        with mp.workdps(100):
            slope = mpmath.exp(mpf(a) * mpmath.log(x) - x - mpmath.loggamma(mpf(a))) / tail * (-1 if upper else 1)
        step = max(mpf(-1), min(mpf(1), -error / slope))
        if abs(step) < mpf(10) ** -38:
            return x
        x *= mpmath.exp(step)
    return None


def log_uniform(rng, low, high):
    return 10.0 ** rng.uniform(low, high)


def sides(x):
    return [math.nextafter(x, 0.0), x, math.nextafter(x, math.inf)]


def main():
    rng = random.Random(55)
    lines = []

    def add(regime, p, a, upper):
        x = quantile(p, a, upper)
        if x is None or x < mpf(10) ** -290:
            return False
        lines.append(",".join([regime, p.hex(), a.hex(), str(upper), mpmath.nstr(x, 25)]))
        return True

    draws = [
        ("below_0.0025", lambda: (log_uniform(rng, -3, math.log10(0.0025)), rng.uniform(0.8, 0.999))),
        ("below_1", lambda: (log_uniform(rng, -2.5, 0), rng.random())),
        ("below_1_tail", lambda: (log_uniform(rng, -1, 0), log_uniform(rng, -8, -1))),
        ("one_to_ten", lambda: (rng.uniform(1.0, 10.0), rng.uniform(0.02, 0.98))),
        ("one_to_ten_tail", lambda: (rng.uniform(1.0, 10.0), log_uniform(rng, -5, -1))),
        ("above_ten", lambda: (log_uniform(rng, 1, 4), rng.random())),
        ("above_ten_tail", lambda: (log_uniform(rng, 1, 4), log_uniform(rng, -14, -1))),
        ("above_100_tail", lambda: (log_uniform(rng, 2, 4), log_uniform(rng, -30, -1))),
        ("large", lambda: (log_uniform(rng, 4, 7), rng.random())),
        ("large_tail", lambda: (log_uniform(rng, 4, 7), log_uniform(rng, -30, -1))),
    ]
    for name, draw in draws:
        for upper in (0, 1):
            made = 0
            while made < 20:
                a, p = draw()
                made += add(name, p, a, upper)
    for switch in (0.0025, 1.0, 10.0, 10000.0):
        for a in sides(switch):
            for p in (0.05, 0.5, 0.9):
                for upper in (0, 1):
                    add("switch_%g" % switch, p, a, upper)
    with open(os.path.join(FOLDER, "gamma_quantile_reference.csv"), "w") as file:
        file.write("# Written by gamma_quantile_reference.py, mpmath %s, starts from SciPy %s.\n" %
                   (mpmath.__version__, scipy.__version__))
        file.write("regime,p,a,upper,x\n" + "\n".join(lines) + "\n")
    print(len(lines), "quantiles")


if __name__ == "__main__":
    main()
