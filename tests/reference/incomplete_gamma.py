#!/usr/bin/env python3
"""50-digit values for the incomplete gamma kernels: writes incomplete_gamma.csv beside itself.

P(a, x) is summed from its series of positive terms; Q(a, x) is 1 - P with as many more digits as that loses,
and is checked against Legendre's continued fraction by Lentz's method where that converges soon. Nothing of
the kernels' own forms is used. Arguments are hexadecimal doubles, values decimal with 25 digits.
"""
import math
import os
import random

import mpmath as mp


def lower(a, x):
    term = total = mp.mpf(1)
    k = 0
    while term > total * mp.eps:
        k += 1
        term = term * x / (a + k)
        total += term
    return mp.exp(a * mp.log(x) - x - mp.loggamma(a + 1)) * total


def upper_by_fraction(a, x):
    tiny = mp.mpf(10) ** -1000
    b = x + 1 - a
    c = 1 / tiny
    d = 1 / b
    h = d
    for i in range(1, 20000):
        an = -i * (i - a)
        b += 2
        d = 1 / (an * d + b or tiny)
        c = b + an / c or tiny
        h *= d * c
        if abs(d * c - 1) < mp.eps:
            return mp.exp(a * mp.log(x) - x - mp.loggamma(a)) * h
    return None


def upper(a, x):
    digits = mp.mp.dps
    # A first look at the size of Q says how many digits 1 - P loses.
    loss = 0
    if x > a:
        t = (x - a) / mp.sqrt(a)
        loss = int(min(t * t / 4.6, x - a) / 2.3 * 2.4) + 10
    mp.mp.dps = digits + loss + (320 if a < 0.01 else 0)
    q = 1 - lower(a, x)
    mp.mp.dps = digits
    q = +q
    if x > 1 and x > a:
        other = upper_by_fraction(a, x)
        if other is not None:
            assert abs(other - q) < mp.mpf(10) ** -40 * abs(q), (a, x, other, q)
    assert q > 0
    return q


def density(a, x):
    return mp.exp((a - 1) * mp.log(x) - x - mp.loggamma(a))


def log_uniform(rng, low, high):
    return math.exp(rng.uniform(math.log(low), math.log(high)))


def around(x):
    return [math.nextafter(x, -math.inf), x, math.nextafter(x, math.inf)]


def rows():
    mp.mp.dps = 60
    rng = random.Random(1813)
    out = []

    def put(regime, what, a, x):
        A, X = mp.mpf(a), mp.mpf(x)
        value = {
            "lower": lambda: lower(A, X),
            "upper": lambda: upper(A, X),
            "lower_ratio": lambda: lower(A, X) / density(A, X),
            "upper_ratio": lambda: upper(A, X) / density(A, X),
        }[what]()
        out.append([regime, what, float(a).hex(), float(x).hex(), mp.nstr(value, 25)])

    def tail(regime, a, x):
        put(regime, "lower" if x < a else "upper", a, x)

    for _ in range(50):
        a = log_uniform(rng, 1.0, 100.0)
        tail("tail_shape_to_100", a, max(0.05, a + rng.uniform(-4.0, 6.0) * math.sqrt(a)))
        a = log_uniform(rng, 100.0, 1e4)
        tail("tail_shape_to_10000", a, a + rng.uniform(-6.0, 6.0) * math.sqrt(a))
        a = log_uniform(rng, 1e4, 1e7)
        tail("tail_shape_above_10000", a, a + rng.uniform(-5.0, 5.0) * math.sqrt(a))
        a = log_uniform(rng, 0.1, 1.0)
        put("tail_shape_below_1", "upper", a, log_uniform(rng, 0.5 * a, 60.0))
        put("tail_shape_below_1", "lower", a, log_uniform(rng, 1e-6, 0.1) * math.exp(-0.7 / a - 0.58))
        put("tail_tiny_shape", "upper", log_uniform(rng, 1e-100, 0.002), log_uniform(rng, 1e-60, 30.0))
        put("tail_tiny_shape", "lower", log_uniform(rng, 0.004, 0.1), log_uniform(rng, 1e-110, 1e-103))
        a = float(rng.randint(1, 60))
        put("tail_whole_shape", "upper", a, a + rng.uniform(0.0, 8.0) * math.sqrt(a))
    for a in (1e8, 1e9):
        for t in (-3.0, 0.5, 4.0):
            tail("tail_shape_above_10000", a, a + t * math.sqrt(a))
    for a in around(4.5) + [9999.0] + around(10000.0):
        regime = "tail_shape_to_100" if a < 100 else "tail_shape_to_10000" if a <= 10000 else "tail_shape_above_10000"
        for shift in (-2.0, 0.0, 2.0):
            tail(regime, a, a + shift * math.sqrt(a))
    # Far out the expansion about the normal tail still holds for the largest shapes only.
    for t in (-26.0, -20.0, 20.0, 26.0):
        tail("far_shape_1e6", 1e6, 1e6 + t * 1e3)

    for _ in range(40):
        a = log_uniform(rng, 0.05, 1e4)
        put("lower_ratio", "lower_ratio", a, a * rng.uniform(0.05, 1.0))
        put("upper_ratio", "upper_ratio", a, a * rng.uniform(1.0, 1.5) + 3.0 * math.sqrt(a))
        put("fraction_series", "upper_ratio", rng.uniform(0.01, 0.99), rng.uniform(0.01, 1.0))
        put("fraction_series", "upper_ratio", rng.uniform(0.01, 0.99), log_uniform(rng, 1e-12, 0.01))
        put("fraction_continued", "upper_ratio", rng.uniform(0.01, 0.99), log_uniform(rng, 1.0, 60.0))
        put("upper_ratio_any_shape", "upper_ratio", a * 1.0 + 10000.0, 10000.0 + a + rng.uniform(0.0, 6.0) * 120.0)
    for a in (1e-9, 0.002, 0.0025, 0.0026, 0.5, 0.999):
        for x in around(1.0):
            series = "fraction_series_Taylor" if a <= 0.0025 else "fraction_series"
            put(series if x <= 1.0 else "fraction_continued", "upper_ratio", a, x)
    return out


def main():
    path = os.path.splitext(os.path.abspath(__file__))[0] + ".csv"
    with open(path, "w", encoding="ascii") as table:
        table.write("# Written by incomplete_gamma.py, mpmath %s.\n" % mp.__version__)
        table.write("regime,what,a,x,value\n")
        for row in rows():
            table.write(",".join(row) + "\n")


if __name__ == "__main__":
    main()
