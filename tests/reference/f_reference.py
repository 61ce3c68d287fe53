#!/usr/bin/env python3
"""50-digit reference values of the F family: writes f_reference.csv beside itself.

Poisson mixtures summed term by term, sum of w_j I_y(a + j, b) for the lower tail, of w_j I_(1-y)(b, a + j) for the
upper one, neither from the other, and of w_j f(y; a + j, b) for the density, with a = d1/2, b = d2/2 and
y = x a / (b + x a) from the exact x. The incomplete beta function is carried from index to index by adding
positive terms, downward for the lower tail and upward for the upper one, from one series each at the far end.
"""
import math
import os
import random

import mpmath
from mpmath import mp, mpf

mp.dps = 60


def series(y, z, a, b, front):
    """I_y(a, b) = front sum of (a+b)(a+b+1)...(a+b+n-1) y^n / ((a+1)...(a+n)), front = y^a z^b / (a B(a, b))."""
    term = total = mpf(1)
    tiny = mpf(10) ** -(mp.dps + 2)
    n = 0
    while True:
        ratio = (a + b + n) / (a + 1 + n) * y
        term *= ratio
        total += term
        n += 1
        if ratio < 1 and term * ratio < tiny * total * (1 - ratio):
            return front * total


def front(y, z, a, b):
    """y^a z^b / (a B(a, b))"""
    with mp.workdps(mp.dps + 40):
        value = a * mpmath.log(y) + b * mpmath.log(z) + mpmath.loggamma(a + b) - mpmath.loggamma(a + 1) - mpmath.loggamma(b)
    return mpmath.exp(value)


def incomplete(y, z, a, b):
    """I_y(a, b) to 55 digits by the faster of the two series, the complement with as many digits as it loses."""
    if y <= mpf("0.7"):
        return series(y, z, a, b, front(y, z, a, b))
    digits = mp.dps
    while True:
        with mp.workdps(digits):
            other = series(z, y, b, a, front(z, y, b, a))
            value = 1 - other
            if value > 0 and digits + mpmath.log10(value) > 55:
                return value
        digits += 100
        if digits > 500:
            return series(y, z, a, b, front(y, z, a, b))


def f_values(x, d1, d2, nc):
    """-> density, lower tail, upper tail"""
    x, a, b, l = mpf(x), mpf(d1) / 2, mpf(d2) / 2, mpf(nc)
    with mp.workdps(600):  # a power as large as the shapes takes digits off
        t = x * a
        y, z = t / (b + t), b / (b + t)
    if l == 0:
        low = high = 0
    else:
        spread = (60 if l < 1e8 else 13) * mpmath.sqrt(l) + 150
        low, high = int(max(mpf(0), mpmath.floor(l - spread))), int(l + spread)
    # weights and t_j = I_y(a + j, b) - I_y(a + j + 1, b)
    w = mpmath.exp(low * mpmath.log(l) - l - mpmath.loggamma(low + 1)) if l != 0 else mpf(1)
    step = front(y, z, a + low, b)
    upper_j = incomplete(z, y, b, a + low)
    upper = density = mpf(0)
    stored = []
    for j in range(low, high + 1):
        upper += w * upper_j
        density += w * step * (a + j)
        stored.append((w, step))
        upper_j += step
        w *= l / (j + 1)
        step *= y * (a + j + b) / (a + j + 1)
    lower_j = incomplete(y, z, a + high, b)
    lower = mpf(0)
    for i in range(len(stored) - 1, -1, -1):
        w, step = stored[i]
        if i < len(stored) - 1:
            lower_j += step
        lower += w * lower_j
    # dy/dx = y z / x
    return density / x, lower, upper


def switch_points(a, b, nc):
    """The two doubles between which y passes (a + nc) / (nc + c), in the double arithmetic of either half."""
    x = (a + nc) / a

    def above(x):
        t = x * a
        y = t / (b + t)
        return y >= (a + nc) / (nc + (a + b)) if y < 0.5 else b / (b + t) < b / (nc + b + a)

    low, high = x * (1.0 - 1e-12), x * (1.0 + 1e-12)
    while math.nextafter(low, math.inf) < high:
        mid = (low + high) / 2.0
        low, high = (low, mid) if above(mid) else (mid, high)
    return [low, high]


def main():
    rng = random.Random(350)
    rows = []

    def add(regime, x, d1, d2, nc):
        values = f_values(x, d1, d2, nc)
        assert abs(values[1] + values[2] - 1) < mpf(10) ** -30
        if min(values) < mpf(10) ** -290:
            return
        rows.append(",".join([regime, x.hex(), d1.hex(), d2.hex(), nc.hex()] + [mpmath.nstr(v, 25) for v in values]))

    def spread(d1, d2, nc, count):
        a, b = d1 / 2.0, d2 / 2.0
        middle = (a + nc) / a
        width = math.sqrt((a + 2.0 * nc) / (a * a) + middle * middle / b)
        xs = [middle * math.exp(width / middle * rng.uniform(-4.0, 4.0)) for _ in range(count)]
        return xs + [middle * 1e-3, middle * 20.0]

    shapes = [(3.0, 10.0), (20.0, 50.0), (300.0, 700.0), (1.0, 1.0)]
    for d1, d2 in shapes:
        a, b = d1 / 2.0, d2 / 2.0
        for nc in (0.0, 0.25, 5.0, 30.0, 500.0):
            half = b / a
            for x in (math.nextafter(half, 0.0), half, math.nextafter(half, math.inf)):
                add("half", x, d1, d2, nc)
            if nc > 0.0:
                for x in switch_points(a, b, nc):
                    add("switch", x, d1, d2, nc)
            for x in spread(d1, d2, nc, 8):
                add("central" if nc == 0.0 else "moderate", x, d1, d2, nc)
        for nc in (1e-300, 1e-12, 1e-4):
            for x in spread(d1, d2, nc, 3):
                add("tiny", x, d1, d2, nc)
    for _ in range(180):
        d1, d2 = math.exp(rng.uniform(-2.0, 6.0)), math.exp(rng.uniform(-1.0, 7.0))
        nc = math.exp(rng.uniform(-5.0, 6.0))
        add("random", rng.choice(spread(d1, d2, nc, 3)), d1, d2, nc)
    for d1, d2 in ((0.02, 3.0), (3.0, 0.02), (0.01, 0.01), (1e-3, 40.0)):
        for nc in (0.0, 0.5, 20.0):
            for x in (1e-20, 0.01, 1.0, 30.0, 1e10):
                add("small-shapes", x, d1, d2, nc)
    for d1, d2 in shapes:
        for x in switch_points(d1 / 2.0, d2 / 2.0, 1e4) + spread(d1, d2, 1e4, 4):
            add("1e4", x, d1, d2, 1e4)
    for d1, d2 in ((3.0, 10.0), (300.0, 700.0)):
        for x in switch_points(d1 / 2.0, d2 / 2.0, 1e6) + spread(d1, d2, 1e6, 3)[:3]:
            add("1e6", x, d1, d2, 1e6)
    for d1, d2 in ((3.0, 10.0), (20.0, 50.0), (1.0, 1.0)):
        for nc in (0.0, 5.0, 30.0):
            for x in (1e-60, 1e-12, 1e6, 1e30):
                add("far", x, d1, d2, nc)
    for d1, d2 in ((5e4, 9e4), (1e6, 1e6), (39999.0, 39999.0), (40000.0, 40000.0)):
        for nc in (0.0, 5.0, 300.0):
            for x in spread(d1, d2, nc, 4)[:4]:
                add("normal-form", x, d1, d2, nc)
    for d1, d2 in ((3.0, 4e15), (20.0, 2e16), (300.0, 1e18)):
        for nc in (0.0, 5.0, 30.0):
            for x in spread(d1, d2, nc, 4)[:4]:
                add("gamma-limit", x, d1, d2, nc)
    for d1, d2 in ((4.0, 1e9), (1e7, 3.0), (2e3, 5e5)):
        for nc in (0.0, 5.0, 20.0) if d2 == 1e9 else (0.0, 5.0, 200.0):
            for x in spread(d1, d2, nc, 4)[:4]:
                add("lopsided", x, d1, d2, nc)

    for x in (4e8, 6e8):  # near the mean: 13 standard deviations of the weights leave 35 digits
        add("index-above-2^32", x, 20.0, 50.0, 5e9)

    path = os.path.join(os.path.dirname(os.path.abspath(__file__)), "f_reference.csv")
    with open(path, "w") as file:
        file.write("# Made by f_reference.py: Poisson mixtures in 60 digits.\n")
        file.write("regime,x,d1,d2,nc,pdf,lower,upper\n" + "\n".join(rows) + "\n")
    print(len(rows), "rows")


if __name__ == "__main__":
    main()
