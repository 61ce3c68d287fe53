#!/usr/bin/env python3
"""Bit-exact table for the log-gamma kernels: writes kernel_bits_log_gamma.csv beside itself.

A second, plain transcription of the arithmetic in Python doubles (math.exp, math.log, math.pow and math.sqrt
are the C library's): every operation in the order that the formulas print it, nothing shared, nothing
prepared. The table holds hexadecimal floats and is what the tests compare bit for bit. Run with the
interpreter of the machine whose C library the tests use; another one may round exp, log or pow differently
in the last place.
"""
import math
import os
import random


def power(x, y):
    try:
        return math.pow(x, y)
    except OverflowError:
        return math.inf


def exponential(x):
    try:
        return math.exp(x)
    except OverflowError:
        return math.inf


def log1p_small(u):
    if abs(u) > 0.02:
        return math.log(u + 1.0)
    v = 0.0
    for n in range(20, 0, -1):
        v = u * (1.0 / n - v)
    return v


def expm1_ratio(u):
    if abs(u) > 0.03:
        return (exponential(u) - 1.0) / u
    v = 0.0
    for n in range(20, 1, -1):
        v = ((v * u) / n) + 1.0
    return v


def stirling_series(z):
    w = 1.0 / (z * z)
    p = 0.00641025641025641
    p = p * w + -0.0019175269175269176
    p = p * w + 0.0008417508417508417
    p = p * w + -0.0005952380952380953
    p = p * w + 0.0007936507936507937
    p = p * w + -0.002777777777777778
    p = p * w + 0.08333333333333333
    return p / z


def log_gamma_shift(z):
    f = 1.0
    while z < 10.0:
        f = f / z
        z = z + 1.0
    g = math.log(f)
    g = g + (z - 0.5) * math.log(z)
    g = g - z
    g = g + 0.5 * math.log(6.283185307179586)
    g = g + stirling_series(z)
    return g


def log_gamma_remainder(x):
    if x <= 0.0005:
        first = (-0.4006856343865313 * x + 0.8224670334241132) * x
        second = 0.42278433509846713 - math.log(x)
        return x * (first + second)
    if x > 9.0:
        return math.log(math.sqrt(x * 6.283185307179586)) + stirling_series(x)
    return log_gamma_shift(1.0 + x) - x * (math.log(x) - 1.0)


def zero_remainder(x):
    return 0.0 if x == 0.0 else log_gamma_remainder(x)


def opposite(u, v):
    return (u < 1.0 and v > 1.0) or (u > 1.0 and v < 1.0)


def log_poisson_pmf(k, m):
    if k == 0.0:
        return -m
    if m <= 10000.0 and k >= 14500.0:
        return -1.7976931348623157e308
    t = k - m
    if m < 1.0:
        L = math.log(m) - math.log(k)
    elif t >= 0.0:
        L = -log1p_small(t / m)
    else:
        L = log1p_small((-t) / k)
    r = t + k * L
    return r - log_gamma_remainder(k)


def log_gamma_pdf(a, y):
    d = a - y
    if opposite(y, a):
        L = math.log(y) - math.log(a)
    elif y >= a:
        L = log1p_small((y - a) / a)
    else:
        L = -log1p_small((a - y) / y)
    r = d + (a - 1.0) * L
    if a == 0.0:
        return r
    return r - log_gamma_remainder(a)


def log_beta_pdf(a, b, y):
    c = a + b
    p = c * y
    d = p - a
    if opposite(p, a):
        A = math.log(p) - math.log(a)
    elif d >= 0.0:
        A = log1p_small(d / a)
    else:
        A = -log1p_small(((-d) / c) / y)
    q = c * (1.0 - y)
    if opposite(q, b):
        B = math.log(q) - math.log(b)
    elif d >= 0.0:
        B = -log1p_small((d / c) / (1.0 - y))
    else:
        B = log1p_small((-d) / b)
    inner = zero_remainder(c) - zero_remainder(a)
    inner = inner - zero_remainder(b)
    inner = inner + a * A
    inner = inner + b * B
    inner = inner - A
    inner = inner - B
    return math.log(c) + inner


def gamma_stirling(z):
    if z < 2.220446049250313e-16:
        return 1.0 / z
    f = 1.0
    while z < 10.0:
        f = f / z
        z = z + 1.0
    r = power(z / 2.718281828459045, z)
    r = r * math.sqrt(6.283185307179586 / z)
    r = r * math.exp(stirling_series(z))
    return r * f


def gamma_one_minus_ratio(x):
    if x <= 0.0025:
        p = (-23.561474084025605 * x) / 24.0 + 0.9074790760808863
        p = p * x - 0.9890559953279725
        return p * x + 0.5772156649015329
    return (1.0 - gamma_stirling(1.0 + x)) / x


# ----------------------------------------------------------------------------------------------------------


def after(x):
    return math.nextafter(x, math.inf)


def before(x):
    return math.nextafter(x, -math.inf)


def around(x):
    return [before(x), x, after(x)]


def log_uniform(rng, low, high):
    return math.exp(rng.uniform(math.log(low), math.log(high)))


def rows():
    rng = random.Random(20240611)
    out = []

    def put(branch, routine, *arguments):
        value = routine(*arguments)
        assert not math.isnan(value), (routine.__name__, arguments)
        padded = list(arguments) + [0.0] * (3 - len(arguments))
        out.append((routine.__name__, branch, *padded, value))

    for u in around(0.02) + around(-0.02) + [0.0, -0.0, 5e-324, 1e-300, -1e-17, before(-0.0)]:
        put("threshold", log1p_small, u)
    for u in around(0.03) + around(-0.03) + [0.0, -0.0, 5e-324, 1e-300, -1e-17, before(-0.0)]:
        put("threshold", expm1_ratio, u)
    for _ in range(25):
        put("series", log1p_small, rng.uniform(-0.02, 0.02))
        put("logarithm", log1p_small, rng.uniform(-0.98, 0.98))
        put("logarithm", log1p_small, log_uniform(rng, 1.0, 1e300))
        put("series", expm1_ratio, rng.uniform(-0.03, 0.03))
        put("exponential", expm1_ratio, rng.uniform(-2.0, 2.0))
        put("exponential", expm1_ratio, rng.uniform(-800.0, 700.0))
    put("overflow", expm1_ratio, 720.0)

    for x in around(0.0005) + around(9.0) + [5e-324, 1e-300, 1.0, 2.0, 8.0, 1e300, 1e308]:
        put("threshold", log_gamma_remainder, x)
    for _ in range(30):
        put("expansion", log_gamma_remainder, log_uniform(rng, 1e-30, 0.0005))
        put("shift", log_gamma_remainder, rng.uniform(0.0005, 9.0))
        put("series", log_gamma_remainder, log_uniform(rng, 9.0, 1e12))
        put("shift", log_gamma_shift, log_uniform(rng, 1e-3, 10.0))
        put("no shift", log_gamma_shift, log_uniform(rng, 10.0, 1e6))
        put("series", stirling_series, log_uniform(rng, 9.0, 1e9))
    for z in around(9.0) + around(10.0) + [1.0, 2.0, 171.0]:
        put("threshold", log_gamma_shift, z)
        put("threshold", gamma_stirling, z)
    for z in around(2.220446049250313e-16) + [1e-300]:
        put("threshold", gamma_stirling, z)
    for x in around(0.0025) + [0.0]:
        put("threshold", gamma_one_minus_ratio, x)
    for _ in range(25):
        put("shift", gamma_stirling, log_uniform(rng, 1e-15, 10.0))
        put("no shift", gamma_stirling, rng.uniform(10.0, 171.0))
        put("reciprocal", gamma_stirling, log_uniform(rng, 1e-300, 2e-16))
        put("Taylor", gamma_one_minus_ratio, rng.uniform(0.0, 0.0025))
        put("quotient", gamma_one_minus_ratio, rng.uniform(0.0025, 1.0))

    for m in [0.0, 1.0, 0.3, 12345.0]:
        put("zero count", log_poisson_pmf, 0.0, m)
    for k, m in [(14500.0, 10000.0), (14500.0, 10001.0), (14500.0, after(10000.0)), (before(14500.0), 10000.0),
                 (14500.0, 3.0), (1e9, 0.5), (5.0, 1.0), (5.0, before(1.0)), (0.4, 1.0), (0.4, before(1.0)),
                 (7.0, 7.0), (7.0, after(7.0)), (7.0, before(7.0)), (0.5, 0.5)]:
        put("threshold", log_poisson_pmf, k, m)
    for _ in range(25):
        put("mean below 1", log_poisson_pmf, log_uniform(rng, 1e-6, 100.0), log_uniform(rng, 1e-12, 1.0))
        m = log_uniform(rng, 1.0, 1e6)
        put("above the mean", log_poisson_pmf, m * (1.0 + rng.uniform(0.0, 0.02)), m)
        put("above the mean", log_poisson_pmf, min(14499.0, m * rng.uniform(1.02, 5.0)) if m <= 1e4 else m * 1.1, m)
        put("below the mean", log_poisson_pmf, m * (1.0 - rng.uniform(0.0, 0.02)), m)
        put("below the mean", log_poisson_pmf, m * rng.uniform(0.001, 0.98), m)

    for a, y in [(1.0, 1.0), (1.0, 0.5), (1.0, 2.0), (2.0, 1.0), (2.0, before(1.0)),
                 (0.5, 1.0), (0.5, after(1.0)), (3.0, 3.0), (3.0, after(3.0)), (3.0, before(3.0)),
                 (1e6, 1e6), (1e6, 1e6 + 1), (1e-100, 1e-200), (1e5, 1e-300), (1e-5, 700.0)]:
        put("threshold", log_gamma_pdf, a, y)
    for _ in range(25):
        a = log_uniform(rng, 1.0, 1e6)
        y = log_uniform(rng, 1e-6, 1.0)
        put("opposite", log_gamma_pdf, a, y)
        put("opposite", log_gamma_pdf, y, log_uniform(rng, 1.0, 700.0))
        put("above", log_gamma_pdf, a, a * (1.0 + rng.uniform(0.0, 0.02)))
        put("above", log_gamma_pdf, a, a * rng.uniform(1.02, 30.0))
        put("below", log_gamma_pdf, a + 1.0, 1.0 + a * (1.0 - rng.uniform(0.0, 0.02)))
        put("below", log_gamma_pdf, a + 1.0, 1.0 + a * rng.uniform(0.0, 0.98))
        put("both below 1", log_gamma_pdf, y, log_uniform(rng, 1e-6, 1.0))

    for a, b, y in [(1.0, 1.0, 0.25), (1.0, 1.0, 0.5), (1.0, 1.0, 0.999), (2.0, 2.0, 0.5), (0.5, 0.5, 0.5),
                    (0.5, 0.5, 1e-300), (2.0, 3.0, 0.2), (2.0, 3.0, 0.4), (2.0, 3.0, after(0.4)),
                    (2.0, 3.0, before(0.4)), (0.5, 1.5, 0.5),
                    (1e6, 1e6, 0.5), (1e10, 3.0, 0.999999999), (1e-10, 1e10, 1e-8)]:
        put("threshold", log_beta_pdf, a, b, y)
    for _ in range(30):
        a = log_uniform(rng, 1e-3, 1e5)
        b = log_uniform(rng, 1e-3, 1e5)
        put("anywhere", log_beta_pdf, a, b, rng.random())
        put("anywhere", log_beta_pdf, a, b, log_uniform(rng, 1e-12, 1.0))
        mode = a / (a + b)
        put("near the mean", log_beta_pdf, a, b, mode * (1.0 - 0.01 * rng.random()))
        put("near the mean", log_beta_pdf, a, b, 1.0 - (1.0 - mode) * (1.0 - 0.01 * rng.random()))
        put("small shapes", log_beta_pdf, rng.random(), rng.random(), rng.random())
        put("both above 1", log_beta_pdf, 1.0 + a, 1.0 + b, rng.random())
    return out


def main():
    path = os.path.splitext(os.path.abspath(__file__))[0] + ".csv"
    with open(path, "w", encoding="ascii") as table:
        table.write("# Written by kernel_bits_log_gamma.py; unused arguments are 0.\n")
        table.write("routine,branch,x,y,z,value\n")
        for row in rows():
            table.write(",".join(list(row[:2]) + [number.hex() for number in row[2:]]) + "\n")


if __name__ == "__main__":
    main()
