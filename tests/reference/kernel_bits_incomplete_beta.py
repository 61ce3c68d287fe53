#!/usr/bin/env python3
"""Bit-exact table for the incomplete beta kernels: writes kernel_bits_incomplete_beta.csv beside itself.

A second, plain transcription of the arithmetic in Python doubles (the C library's exp, log, pow and sqrt), every
operation in the order that the formulas print it: nothing shared between calls, nothing prepared, whole counts
as Python integers. The table holds hexadecimal floats. Run with the interpreter of the machine whose C library
the tests use; other C libraries may round exp, log and pow differently in the last place.
"""
import math
import os
import random
import sys

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
from kernel_bits_normal import INF, NAN, both_sides, div, exp, log, mills_ratio, power, root  # noqa: E402

EPS = 2.220446049250313e-16
LOG_DBL_MIN = log(2.2250738585072014e-308)
TWO_PI = 6.283185307179586


class Overflowed(Exception):
    """A counting product has passed the largest double."""


# ---- what remains of ln Gamma ------------------------------------------------------------------------------


def stirling(z):
    w = 1.0 / (z * z)
    s = 0.00641025641025641
    s = s * w + -0.0019175269175269176
    s = s * w + 0.0008417508417508417
    s = s * w + -0.0005952380952380953
    s = s * w + 0.0007936507936507937
    s = s * w + -0.002777777777777778
    s = s * w + 0.08333333333333333
    return s / z


def shifted_log_gamma(z):
    f = 1.0
    while z < 10.0:
        f = div(f, z)
        z += 1.0
    return log(f) + (z - 0.5) * log(z) - z + 0.5 * log(TWO_PI) + stirling(z)


def remainder(x):
    if x <= 0.0005:
        return x * ((-0.4006856343865313 * x + 0.8224670334241132) * x + (0.42278433509846713 - log(x)))
    if x > 9.0:
        return log(root(x * TWO_PI)) + stirling(x)
    return shifted_log_gamma(1.0 + x) - x * (log(x) - 1.0)


def log1p_small(u):
    if abs(u) > 0.02:
        return log(u + 1.0)
    v = 0.0
    for n in range(20, 0, -1):
        v = u * (1.0 / n - v)
    return v


def expm1_ratio(u):
    if abs(u) > 0.03:
        return (exp(u) - 1.0) / u
    v = 0.0
    for n in range(20, 1, -1):
        v = v * u / n + 1.0
    return v


def gamma_value(z):
    if z < EPS:
        return div(1.0, z)
    f = 1.0
    while z < 10.0:
        f = f / z
        z += 1.0
    return power(z / 2.718281828459045, z) * root(TWO_PI / z) * exp(stirling(z)) * f


def gamma_one_minus_ratio(x):
    if x <= 0.0025:
        return ((-23.561474084025605 * x / 24.0 + 0.9074790760808863) * x - 0.9890559953279725) * x + 0.5772156649015329
    return (1.0 - gamma_value(1.0 + x)) / x


def log_beta_pdf(a, b, y):
    c = a + b
    p = c * y
    d = p - a
    if (p < 1.0 < a) or (a < 1.0 < p):
        A = log(p) - log(a)
    elif d >= 0.0:
        A = log1p_small(d / a)
    else:
        A = -log1p_small(-d / c / y)
    q = c * (1.0 - y)
    if (q < 1.0 < b) or (b < 1.0 < q):
        B = log(q) - log(b)
    elif d >= 0.0:
        B = -log1p_small(d / c / (1.0 - y))
    else:
        B = log1p_small(-d / b)
    gc = 0.0 if c == 0.0 else remainder(c)
    ga = 0.0 if a == 0.0 else remainder(a)
    gb = 0.0 if b == 0.0 else remainder(b)
    return log(c) + (((((gc - ga) - gb) + a * A) + b * B) - A - B)


# ---- the tails ---------------------------------------------------------------------------------------------


def beta_tails(x, a, b):
    if x == 0.0:
        return 0.0, 1.0
    m = split_point(a, b)
    L = log_beta_pdf(a, b, x)
    f = exp(L)
    if x <= m:
        lower = 0.0
        if L >= LOG_DBL_MIN:
            lower = lower_ratio(a, b, x) * f
        return lower, 1.0 - lower
    upper = 0.0
    if L >= LOG_DBL_MIN:
        upper = upper_ratio(a, b, x) * f
    return 1.0 - upper, upper


def split_point(a, b):
    if a >= b:
        return 0.5
    if b >= 1.0 and a >= 0.6:
        return a / (a + b) - (b - a) * power(a + b, -2.0) / 3.0
    L = shifted_log_gamma(1.0 + a) - log(2.0)
    if b <= 1000.0:
        difference = shifted_log_gamma(b) - shifted_log_gamma(a + b)
        L = L + difference
    else:
        L = L - a * log(b)
    if L > -0.6931471805599453 * a:
        return 0.5
    if LOG_DBL_MIN * a > L:
        return 0.0
    return exp(L / a)


def lower_ratio(a, b, x):
    if a * b / (a + b) >= 10000.0:
        return lower_ratio_normal(a, b, x)
    try:
        if b >= 1e15:
            return lower_ratio_large_b(a, b, x)
        return lower_ratio_series(a, b, x)
    except Overflowed:
        return INF


def lower_ratio_series(a, b, x):
    y = 1.0 - x
    n = math.floor(b)
    v = 1.0
    k = 1
    while k <= n:
        v = v * ((b - k) * x / ((k + a) * y))
        if v <= EPS:
            break
        if v == INF:
            raise Overflowed
        k += 1
    if k == n + 1:
        u = a + n
        w = (b - n) + u
        v = 1.0
        j = 1
        while True:
            v = v * ((w + j - 1.0) * x / (u + j))
            j += 1
            if v < 1e-14:
                break
        J = j - 1
        s = 1.0 / y
        for i in range(J, 0, -1):
            s = 1.0 + ((w + i - 1.0) * x / (u + i)) * s
        s = s * y
        k = n
    else:
        s = 1.0
    for i in range(k, 0, -1):
        s = 1.0 + ((b - i) * x / ((i + a) * y)) * s
    return s * x / a


def upper_ratio(a, b, x):
    if a * b / (a + b) >= 10000.0:
        return upper_ratio_normal(a, b, x)
    try:
        if b >= 1e15:
            return upper_ratio_large_b(a, b, x)
        return upper_ratio_series(a, b, x)
    except Overflowed:
        return INF


def upper_ratio_series(a, b, x):
    y = 1.0 - x
    n = math.floor(a)
    v = 1.0
    k = 1
    while k <= n:
        v = v * ((a - k) * y / ((k + b) * x))
        if v <= EPS:
            break
        if v == INF and k < n:
            raise Overflowed
        k += 1
    s = 0.0
    if k == n + 1:
        k = n
        c = b + n
        if x * c != 0.0:
            s = upper_fraction(a - n, c, x)
    for i in range(k, 0, -1):
        s = 1.0 + ((a - i) * y / ((b + i) * x)) * s
    return s * y / b


def upper_fraction(a, b, x):
    if b * x >= 1.0:
        r = (1.0 - x) / x
        P1, P0, Q1, Q0 = 1.0, 0.0, 1.0, 1.0
        j = 0
        while True:
            j += 1
            m = 2.0 * j + b
            alpha = (j - a) * r * (b + j - 1.0) / ((m - 2.0) * (m - 1.0))
            P0 = P0 * alpha + P1
            Q0 = Q1 + alpha * Q0
            beta = r * j * (j + b + a - 1.0) / ((m - 1.0) * m)
            P1 = P1 * beta + P0
            Q1 = Q0 + beta * Q1
            c0 = P0 / Q0
            c1 = P1 / Q1
            if c1 - c0 < 1e-14 * c0:
                return c1
    return power(b * x, 1.0 - a) * upper_small(a, b, x) / exp(b * log1p_small(-x))


def upper_small(a, b, x):
    g = gamma_one_minus_ratio(a)
    h = shift_ratio(a, b)
    l = log(b * x)
    e = expm1_ratio(a * l)
    t = power(b * x, a) * x * (b - 1.0) / (1.0 + a)
    total = t
    k = 2
    while True:
        factor = (a + k - 1.0) * (-x) * (b - k) / k / (a + k)
        t = t * factor
        total = total + t
        if abs(t) < 1e-14:
            break
        k += 1
    return ((-g + h) - l * e) + total


def shift_ratio(a, b):
    if b > 100.0:
        e = 1.0 / b
        c = a * (1.0 - a) * (1.0 - 2.0 * a)
        d = (a * a) * ((1.0 - a) * (1.0 - a)) / 12.0
        v = (-(c * (1.0 + 3.0 * a - 3.0 * a * a) / 120.0 * e) - d) * e + c / 12.0
        w = (v * e + 0.5 * a * (1.0 - a)) * e
        return expm1_ratio(w) * w * gamma_value(a)
    if a >= 0.001:
        return (power(b, a) * gamma_value(b) / gamma_value(a + b) - 1.0) * gamma_value(a)
    z = 1.0 + b
    # tetragamma
    y, t = z, 0.0
    while y < 10.0:
        t += 2.0 / (y * y * y)
        y += 1.0
    w = 1.0 / (y * y)
    series = 17.5 * w - 3.2904761904761903
    series = series * w + 0.8333333333333334
    series = series * w - 0.3
    series = series * w + 0.16666666666666666
    series = series * w - 0.16666666666666666
    series = series * w + 0.5
    d2 = ((-1.0 / (y * y) - 1.0 / (y * y * y)) - series * w * w) - t
    # trigamma
    y, t = z, 0.0
    while y < 10.0:
        t += 1.0 / (y * y)
        y += 1.0
    w = 1.0 / (y * y)
    series = 1.1666666666666667 * w - 0.2531135531135531
    series = series * w + 0.07575757575757576
    series = series * w - 0.03333333333333333
    series = series * w + 0.023809523809523808
    series = series * w - 0.03333333333333333
    series = series * w + 0.16666666666666666
    d1 = ((1.0 / y + 0.5 / (y * y)) + series * w / y) + t
    # digamma
    y, t = z, 0.0
    while y < 10.0:
        t += 1.0 / y
        y += 1.0
    w = 1.0 / (y * y)
    series = 0.08333333333333334 * w - 0.02109279609279609
    series = series * w + 0.007575757575757576
    series = series * w - 0.004166666666666667
    series = series * w + 0.003968253968253968
    series = series * w - 0.008333333333333333
    series = series * w + 0.08333333333333333
    d0 = ((log(y) - 0.5 / y) - series * w) - t
    v = log1p_small(a / b) - (((d2 * a / 6.0 + 0.5 * d1) * a + d0) - log(b)) * a
    return expm1_ratio(v) * v * gamma_value(a)


# ---- limits ------------------------------------------------------------------------------------------------


def lower_ratio_large_b(a, b, x):
    l = x * b
    e = 1.0 / b
    t = l / a
    j = 1
    if t >= EPS:
        while True:
            t = t * (l / (a + j))
            j += 1
            if t == INF:
                raise Overflowed
            if t < EPS:
                break
    s = 0.0
    for i in range(j - 1, -1, -1):
        s = (s + 1.0) * l / (i + a)
    return (s * ((l * l - 2.0 * l - (a - 1.0) * a) * 0.5 * e + 1.0) + e * (l + a - 1.0) * l * 0.5) / b


def upper_ratio_large_b(a, b, x):
    l = x * b
    e = 1.0 / b
    s = gamma_upper_series(a, l)
    return (s * ((l * l - 2.0 * l - (a - 1.0) * a) * 0.5 * e + 1.0) - e * (l + a - 1.0) * l * 0.5) / b


def gamma_upper_series(a, x):
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


def gamma_upper_fraction(a, x):
    if x > 1.0:
        P1, P0, Q1, Q0 = 1.0, 0.0, 1.0, 1.0
        j = 0
        while True:
            j += 1
            P0 = P0 * (j - a) / x + P1
            Q0 = Q1 + (j - a) * Q0 / x
            P1 = P1 * j / x + P0
            Q1 = Q0 + j * Q1 / x
            c0 = P0 / Q0
            c1 = P1 / Q1
            if not c1 - c0 >= c0 * EPS:
                return c1
    t = power(x, a + 1.0) / (a + 1.0)
    total = t
    k = 2
    while True:
        t = (-t * x) * (a + k - 1.0) / k / (a + k)
        total += t
        if abs(t) < 1e-14:
            break
        k += 1
    l = log(x)
    return ((-gamma_one_minus_ratio(a) - l * expm1_ratio(a * l)) + total) * power(x, 1.0 - a) * exp(x)


def normal_pieces(a, b, x):
    p = a / (a + b)
    q = 1.0 - 2.0 * p
    c = p * p
    sigma = root(a * b * power(a + b, -3.0))
    e = 1.0 / root(a * b / (a + b))
    t = (x - p) / sigma
    h = 1.0 - p + c
    g = 2.0 + p - c

    def tp(k):
        return power(t, float(k))

    C3 = -q * (10.0 * (q * q) * tp(9) + 45.0 * h * tp(7) - 27.0 * (3.0 - p + c) * tp(5) + 45.0 * h * tp(3) -
               135.0 * h * t) / 1620.0
    C2 = (2.0 * (q * q) * tp(6) - 3.0 * (1.0 - 7.0 * p + 7.0 * c) * tp(4) - 36.0 * p * (1.0 - p) * (t * t) +
          3.0 * h) / 36.0
    C1 = -q * (tp(3) - 3.0 * t) / 3.0
    A = ((C3 * e + C2) * e + C1) * e + 1.0
    D3 = -q * (10.0 * (q * q) * tp(8) + 5.0 * (7.0 - p + c) * tp(6) - 48.0 * g * tp(4) +
               3.0 * (37.0 + 131.0 * p - 131.0 * c) * (t * t) - 24.0 * g) / 1620.0
    D2 = (2.0 * (q * q) * tp(5) - (5.0 - 29.0 * p + 29.0 * c) * tp(3) + 9.0 * (1.0 - 5.0 * p + 5.0 * c) * t) / 36.0
    D1 = -q * (t * t - 1.0) / 3.0
    B = ((D3 * e + D2) * e + D1) * e
    return t, A, B, sigma


def lower_ratio_normal(a, b, x):
    t, A, B, sigma = normal_pieces(a, b, x)
    return (mills_ratio(-t) * A + B) * sigma


def upper_ratio_normal(a, b, x):
    t, A, B, sigma = normal_pieces(a, b, x)
    return (mills_ratio(t) * A - B) * sigma


# ---- the table ---------------------------------------------------------------------------------------------


def main():
    rng = random.Random(26)
    rows = []

    def log_uniform(low, high):
        return 10.0 ** rng.uniform(low, high)

    def add_tails(x, a, b):
        lower, upper = beta_tails(x, a, b)
        rows.append(("lower_tail", a, b, x, lower))
        rows.append(("upper_tail", a, b, x, upper))

    # The split point: its seven exits and both sides of each threshold.
    shapes = [(2.0, 2.0), (3.0, 2.0), (1.0, 2.0), (0.5, 2.0), (0.6, 2.0), (0.6, 1.0), (0.1, 1000.0), (1e-3, 1e10),
              (1e-5, 5.0), (1e-300, 1.0), (0.59, 0.595), (0.3, 1e15), (1e-8, 1e-7), (0.2, 0.3)]
    shapes += [(v, 2.0) for v in both_sides(0.6)] + [(0.9, v) for v in both_sides(1.0)]
    shapes += [(0.3, v) for v in both_sides(1000.0)]
    shapes += [(log_uniform(-6.0, 0.5), log_uniform(-4.0, 6.0)) for _ in range(120)]
    for a, b in shapes:
        rows.append(("split_point", a, b, 0.0, split_point(a, b)))

    # The ratio of gammas: large b, a from 0.001 up, the expansion below.
    pairs = [(a, b) for a in both_sides(0.001) for b in (0.01, 0.5, 3.0, 9.5, 60.0)]
    pairs += [(a, b) for a in (1e-5, 0.3, 0.999) for b in both_sides(100.0)]
    pairs += [(rng.random(), log_uniform(-3.0, 2.0)) for _ in range(60)]
    pairs += [(rng.random(), log_uniform(2.0, 14.0)) for _ in range(40)]
    pairs += [(log_uniform(-12.0, -3.0), log_uniform(-3.0, 2.0)) for _ in range(60)]
    for a, b in pairs:
        rows.append(("shift_ratio", a, b, 0.0, shift_ratio(a, b)))

    # The remainder of the upper series, both forms and both sides of b x = 1.
    points = [(a, b, x) for a in (1e-4, 0.25, 0.9) for b in (2.0, 8.0, 1024.0) for x in both_sides(1.0 / b)]
    points += [(rng.random(), log_uniform(-2.0, 1.0), rng.uniform(0.001, 0.6)) for _ in range(60)]
    points += [(rng.random(), log_uniform(1.0, 12.0), 10.0 ** rng.uniform(-12.0, -0.3)) for _ in range(80)]
    points += [(0.5, 3.0, 0.1), (0.5, 1.0, 0.3), (0.001, 2.0, 0.2), (1e-5, 5.0, 0.05)]
    for a, b, x in points:
        rows.append(("upper_fraction", a, b, x, upper_fraction(a, b, x)))
        if b * x < 1.0:
            rows.append(("upper_small", a, b, x, upper_small(a, b, x)))

    # Tails and ratios: small, moderate, lopsided, huge b, normal form and its threshold.
    cases = [(rng.uniform(0.001, 0.7), log_uniform(-1.5, 2.0), log_uniform(-1.5, 2.0)) for _ in range(150)]
    cases += [(rng.uniform(0.001, 0.6), float(rng.randint(1, 40)), float(rng.randint(1, 40))) for _ in range(60)]
    cases += [(rng.uniform(0.001, 0.5), log_uniform(-8.0, -1.0), log_uniform(-3.0, 1.0)) for _ in range(40)]
    for _ in range(150):  # near the mean, where both tails count
        a, b = log_uniform(-1.0, 6.5), log_uniform(-1.0, 6.5)
        mean, sd = a / (a + b), math.sqrt(a * b / (a + b + 1.0)) / (a + b)
        x = mean + sd * rng.uniform(-4.0, 4.0)
        if 0.0 < x < 0.7:
            cases.append((x, a, b))
    for _ in range(60):  # b from 1e9 up, through the gamma limit
        a, b = log_uniform(-2.0, 3.5), log_uniform(9.0, 20.0)
        x = a / b * rng.uniform(0.2, 2.5)
        cases.append((x, a, b))
    for b in both_sides(1e15):
        cases += [(2e-15, 1.7, b), (0.5e-15, 1.7, b), (2e-15, 0.3, b)]
    for _ in range(60):  # normal form
        a, b = log_uniform(4.4, 9.0), log_uniform(4.4, 9.0)
        x = a / (a + b) + math.sqrt(a * b / (a + b)) / (a + b) * rng.uniform(-39.0, 39.0)
        if 0.0 < x < 0.9:
            cases.append((x, a, b))
    for a in both_sides(20000.0) + [19999.0]:
        cases += [(x, a, a) for x in (0.49, 0.5, 0.505)]
    cases += [(1e-10, 2.0, 1e10), (3.6e-11, 0.5, 5e9), (0.3, 1e5, 10.0), (1e-300, 2.0, 3.0), (0.001, 300.0, 2.0)]
    for x, a, b in cases:
        add_tails(x, a, b)
    for x, a, b in cases[:200]:
        rows.append(("lower_ratio", a, b, x, lower_ratio(a, b, x)))
        rows.append(("upper_ratio", a, b, x, upper_ratio(a, b, x)))
    # Far from the median, as the noncentral sums ask; some of them overflow.
    far = [(log_uniform(-1.0, 2.0), log_uniform(1.0, 4.0), rng.uniform(0.01, 0.5)) for _ in range(60)]
    far += [(2.0, 5e12, 1e-3), (50.0, 5e12, 3e-10), (1.5, 4e18, 2e-16), (1.5, 4e18, 2e-14), (7000.5, 3.5, 1e-5),
            (2.5, 1.0, 1e-200), (7000.5, 2.0, 0.3)]
    for a, b, x in far:
        rows.append(("lower_ratio", a, b, x, lower_ratio(a, b, x)))
        rows.append(("upper_ratio", a, b, x, upper_ratio(a, b, x)))

    path = os.path.join(os.path.dirname(os.path.abspath(__file__)), "kernel_bits_incomplete_beta.csv")
    with open(path, "w") as table:
        table.write("# Written by kernel_bits_incomplete_beta.py.\n")
        table.write("routine,a,b,x,value\n")
        for name, a, b, x, value in rows:
            table.write(f"{name},{a.hex()},{b.hex()},{x.hex()},{value.hex()}\n")


if __name__ == "__main__":
    main()
