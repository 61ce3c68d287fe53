#!/usr/bin/env python3
"""Bit-exact table for the incomplete gamma kernels: writes kernel_bits_incomplete_gamma.csv beside itself.

A second, plain transcription of the arithmetic in Python doubles, on top of kernel_bits_log_gamma.py: every
operation in the order that the formulas print it, whole-number counts as integers, nothing shared, nothing
prepared. The table holds hexadecimal floats. Run with the interpreter of the machine whose C library the
tests use.
"""
import math
import os
import random
import sys

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
from kernel_bits_log_gamma import (after, around, before, expm1_ratio, exponential, gamma_one_minus_ratio,
                                   log_gamma_pdf, log_uniform, power)

EPS = 2.220446049250313e-16


def upper_tail(x):
    """Hill's AS 66."""
    if x <= -8.03:
        return 1.0
    t = abs(x)
    y = (t * 0.5) * t
    if t <= 1.28:
        d = y + 5.92885724438
        d = y + 2.62433121679 + 48.6959930692 / d
        d = y + 5.75885480458 - 29.8213557808 / d
        r = 0.5 - t * (0.398942280444 - 0.399903438504 * y / d)
    else:
        d = t + 3.99019417011
        d = t + 0.742380924027 + 30.789933034 / d
        d = t + 4.8385912808 - 15.1508972451 / d
        d = t - 0.151679116635 + 5.29330324926 / d
        d = t + 0.000398064794 + 1.98615381364 / d
        d = t - 3.8052e-8 + 1.00000615302 / d
        r = 0.398942280385 * math.exp(-y) / d
    return 1.0 - r if x < 0.0 else r


def mills(u):
    if u <= 25.0:
        density = math.exp(((-0.5) * u) * u) * 0.39894228040143265
        return upper_tail(u) / density
    w = math.pow(u, -2.0)
    p = -945.0 * w + 105.0
    p = p * w - 15.0
    p = p * w + 3.0
    p = p * w - 1.0
    p = p * w + 1.0
    return p / u


def polynomials(a, x):
    r = math.sqrt(a)
    t = (x - a) / r
    T = t * t
    e = 1.0 / r
    p = 10.0 * T + 45.0
    p = p * T - 81.0
    p = p * T + 45.0
    p = p * T - 135.0
    C3 = ((-p) * t) / 1620.0
    C2 = (((2.0 * T - 3.0) * T) * T + 3.0) / 36.0
    C1 = ((-(T - 3.0)) * t) / 3.0
    A = C3 * e + C2
    A = A * e + C1
    A = A * e + 1.0
    p = 10.0 * T + 35.0
    p = p * T - 96.0
    p = p * T + 111.0
    p = p * T - 48.0
    D3 = (-p) / 1620.0
    D2 = (((2.0 * T - 5.0) * T + 9.0) * t) / 36.0
    D1 = (-(T - 1.0)) / 3.0
    B = D3 * e + D2
    B = B * e + D1
    B = B * e
    return r, t, A, B


def gamma_lower_ratio_normal(a, x):
    r, t, A, B = polynomials(a, x)
    return (mills(-t) * A + B) * r


def gamma_upper_ratio_normal(a, x):
    r, t, A, B = polynomials(a, x)
    return (mills(t) * A - B) * r


def gamma_lower_ratio(a, x):
    if a > 10000.0:
        return gamma_lower_ratio_normal(a, x)
    t = x / a
    j = 1
    if t >= EPS:
        while True:
            t = t * (x / (j + a))
            j += 1
            if t < EPS:
                break
    s = 0.0
    for i in range(j - 1, -1, -1):
        s = ((s + 1.0) * x) / (i + a)
    return s


def gamma_upper_fraction(a, x):
    if x > 1.0:
        P1, P0, Q1, Q0 = 1.0, 0.0, 1.0, 1.0
        j = 1
        finite = []
        while True:
            P0 = (P0 * (j - a)) / x + P1
            Q0 = Q1 + ((j - a) * Q0) / x
            P1 = (P1 * j) / x + P0
            Q1 = Q0 + (j * Q1) / x
            c0 = P0 / Q0
            c1 = P1 / Q1
            if math.isnan(c0) or math.isnan(c1):
                return ([c for c in finite + [c0] if not math.isnan(c)])[-1]
            finite = [c0, c1]
            if c1 - c0 >= c0 * EPS:
                j += 1
                continue
            return c1
    t = power(x, a + 1.0) / (a + 1.0)
    total = t
    k = 2
    while True:
        t = (((-t * x) * (a + k - 1.0)) / k) / (a + k)
        total = total + t
        if abs(t) < 1e-14:
            break
        k += 1
    l = math.log(x)
    bracket = -gamma_one_minus_ratio(a) - l * expm1_ratio(a * l) + total
    return bracket * power(x, 1.0 - a) * math.exp(x)


def gamma_upper_ratio_series(a, x):
    n = math.floor(a)
    v = 1.0
    k = 1
    while k <= n:
        v = v * ((a - k) / x)
        if v <= EPS:
            break
        k += 1
    s = 0.0
    if k == n + 1:
        k = n
        s = gamma_upper_fraction(a - n, x)
    for i in range(k, 0, -1):
        s = 1.0 + ((a - i) / x) * s
    return s


def gamma_upper_ratio(a, x):
    if a > 10000.0:
        return gamma_upper_ratio_normal(a, x)
    return gamma_upper_ratio_series(a, x)


def gamma_median_estimate(a):
    c = -0.6931471805599453 / (math.log(5e-101) + 0.5772156649015329)
    if a > 4.5:
        return a - 0.3333333333333333
    if a < 1e-100:
        return 0.0
    if a >= c:
        return math.exp(-0.6931471805599453 / a - 0.5772156649015329)
    return 5e-101


def gamma_tails(x, a):
    f = exponential(log_gamma_pdf(a, x))
    m = gamma_median_estimate(a)
    if x < m:
        product = f * gamma_lower_ratio(a, x)
        lower = product if product < 1.0 else 1.0
        return lower, 1.0 - lower
    product = f * gamma_upper_ratio(a, x)
    upper = product if product < 1.0 else 1.0
    return 1.0 - upper, upper


def gamma_tails_lower(a, x):
    return gamma_tails(x, a)[0]


def gamma_tails_upper(a, x):
    return gamma_tails(x, a)[1]


# ----------------------------------------------------------------------------------------------------------


def rows():
    rng = random.Random(20240612)
    out = []

    def put(branch, routine, a, x):
        value = routine(a, x)
        assert not math.isnan(value), (routine.__name__, a, x)
        out.append((routine.__name__, branch, a, x, value))

    def both(branch, a, x):
        put(branch, gamma_tails_lower, a, x)
        put(branch, gamma_tails_upper, a, x)

    c = -0.6931471805599453 / (math.log(5e-101) + 0.5772156649015329)
    for a in around(4.5) + around(1e-100) + around(c) + [1e-300, 0.0, 1e-50, 0.5, 1.0, 2.0, 100.0, 1e12]:
        out.append(("gamma_median_estimate", "median", a, 0.0, gamma_median_estimate(a)))

    # Around the median estimate, where the two tails change places.
    for a in (4.5, after(4.5), 0.5, 1.0, 3.25, 7.0, 250.5, 9999.5, 10000.0, after(10000.0), 1e6, c, before(c), 1e-60):
        for x in around(gamma_median_estimate(a)):
            both("at the median", a, x)

    for _ in range(30):
        a = log_uniform(rng, 0.05, 1e4)
        both("series", a, a * rng.uniform(0.3, 1.0))
        both("series", a, a * rng.uniform(1.0, 2.5))
        both("series", a, max(0.01, a + rng.uniform(-5.0, 5.0) * math.sqrt(a)))
        a = float(rng.randint(1, 200))
        both("whole shape", a, max(0.01, a + rng.uniform(-4.0, 6.0) * math.sqrt(a)))
        both("shape below 1", rng.random(), log_uniform(rng, 1e-6, 30.0))
        both("tiny shape", log_uniform(rng, 1e-120, 1e-2), log_uniform(rng, 1e-120, 50.0))
        a = log_uniform(rng, 10000.0, 1e12)
        both("large shape", a, a + rng.uniform(-6.0, 6.0) * math.sqrt(a))
    for a in (20000.0, 1e7):
        for t in (-40.0, -37.0, -26.0, 26.0, 37.0, 45.0):
            both("far at a large shape", a, a + t * math.sqrt(a))

    for x in (9000.0, 9990.0, 10000.0, 10010.0, 11000.0):
        for a in around(10000.0):
            put("shape threshold", gamma_lower_ratio, a, x)
            put("shape threshold", gamma_upper_ratio, a, x)
    for a, x in [(1.0, EPS), (1.0, before(EPS)), (2.0, 1e-300), (1e-3, 1e-10)]:
        put("one term", gamma_lower_ratio, a, x)
    for _ in range(30):
        a = log_uniform(rng, 1e-3, 1e4)
        put("series", gamma_lower_ratio, a, a * rng.uniform(0.01, 1.0))
        put("series", gamma_lower_ratio, a, a + 3.0 * rng.random() * math.sqrt(a))
        put("ran out", gamma_upper_ratio, rng.uniform(0.0, 12.0), rng.uniform(0.05, 12.0))
        put("left early", gamma_upper_ratio, rng.uniform(20.0, 5000.0), 6000.0)
        put("below the shape", gamma_upper_ratio, rng.uniform(20.0, 300.0), rng.uniform(5.0, 20.0))
        a = log_uniform(rng, 1e4, 2e5)
        put("any shape", gamma_upper_ratio_series, a, a + rng.uniform(-8.0, 20.0) * math.sqrt(a))
        put("lower normal", gamma_lower_ratio_normal, a, a + rng.uniform(-30.0, 8.0) * math.sqrt(a))
        put("upper normal", gamma_upper_ratio_normal, a, a + rng.uniform(-8.0, 30.0) * math.sqrt(a))
    for a, x in [(2.5, 1e-160), (2.5, 1e-200), (3.0, 1e-150), (120.25, 1e-3), (3.0, 1.0), (3.0, after(1.0)),
                 (1.0, 0.5), (1.0, 5.0), (0.25, 0.5), (0.25, 5.0), (0.0, 0.5), (0.0, 5.0)]:
        put("edge", gamma_upper_ratio, a, x)

    for a in (0.0, 1e-10, 0.0025, after(0.0025), 0.3, 0.5, 0.9, before(1.0)):
        for x in around(1.0) + [1e-300, 1e-20, 0.03, 0.4, 1.5, 10.0, 1e3, 1e300]:
            put("fraction", gamma_upper_fraction, a, x)
    put("fraction that overflows", gamma_upper_fraction, float.fromhex("0x1.c1ac7a298fb9dp-1"),
        float.fromhex("0x1.001df28d84847p+0"))
    for _ in range(40):
        put("series of the fraction", gamma_upper_fraction, rng.random(), rng.random())
        put("continued fraction", gamma_upper_fraction, rng.random(), 1.0 + rng.random())
        put("continued fraction", gamma_upper_fraction, rng.random(), log_uniform(rng, 1.0, 1000.0))
    return out


def main():
    path = os.path.splitext(os.path.abspath(__file__))[0] + ".csv"
    with open(path, "w", encoding="ascii") as table:
        table.write("# Written by kernel_bits_incomplete_gamma.py; an unused x is 0.\n")
        table.write("routine,branch,a,x,value\n")
        for row in rows():
            table.write(",".join(list(row[:2]) + [float(number).hex() for number in row[2:]]) + "\n")


if __name__ == "__main__":
    main()
