#!/usr/bin/env python3
"""50-digit values of the chi-square family: writes chi_square_truth.csv and chi_square_quantile_truth.csv beside itself.

Direct sums of the Poisson mixture: the density, and both tails independently, each over every index that can
matter (16 standard deviations beyond the range between the weights' mean and the largest term). P(a + j, x) is
carried downward and Q(a + j, x) upward, so that both grow by positive terms; they start from the series of P,
Legendre's continued fraction of Q, or 1 less the other where that one is not small. mpmath gives ln Gamma, exp
and log, decimal does the long sums. Nothing of the library's own forms is used. The two tails must add up to 1.

Arguments are hexadecimal doubles, values decimal with 25 digits; below 1e-400 they are written as 0.
"""
import math
import os
import random
from decimal import Decimal, getcontext

import mpmath as mp

DIGITS = 70
mp.mp.dps = DIGITS
getcontext().prec = DIGITS
ONE = Decimal(1)
SMALL = Decimal(10) ** (5 - DIGITS)


def dec(x):
    return Decimal(mp.nstr(x, DIGITS))


def big(x):
    return mp.mpf(str(x))


def exponential_of(s, x):
    """x^s e^-x / Gamma(s + 1)"""
    s, x = big(s), big(x)
    return dec(mp.exp(s * mp.log(x) - x - mp.loggamma(s + 1)))


def start_lower(s, x):
    """The series of P(s, x)."""
    term = total = ONE
    k = 0
    while term > total * SMALL:
        k += 1
        term = term * x / (s + k)
        total += term
    return exponential_of(s, x) * total


def start_upper(s, x):
    """Legendre's continued fraction of Q(s, x), x > s + 1."""
    b = x + 1 - s
    c = Decimal(10) ** 2000
    d = 1 / b
    h = d
    i = 0
    while True:
        i += 1
        an = -i * (i - s)
        b += 2
        d = 1 / (an * d + b)
        c = b + an / c
        step = d * c
        h *= step
        if abs(step - 1) < SMALL:
            return exponential_of(s, x) * s * h


def tail_pair(s, x):
    if x < s + 1:
        p = start_lower(s, x)
        return p, ONE - p
    q = start_upper(s, x)
    return ONE - q, q


def truth(x, df, nc):
    """-> density, lower tail, upper tail of the chi-square variate at x > 0"""
    y, a, l = Decimal(x) / 2, Decimal(df) / 2, Decimal(nc) / 2
    if nc == 0.0:
        lower, upper = tail_pair(a, y)
        return exponential_of(a, y) * a / y / 2, lower, upper
    peak = -(1.0 + float(a)) / 2.0 + 0.5 * math.sqrt((float(a) - 1.0) ** 2 + 4.0 * float(l) * float(y))
    peak = max(peak, 0.0)
    low, high = min(peak, float(l)), max(peak, float(l))
    width = 16.0 * math.sqrt(high + 25.0) + 150.0
    first, last = max(0, math.floor(low - width)), math.ceil(high + width)

    weight = exponential_of(Decimal(first), l)
    gain = exponential_of(a + first, y)  # Q(a + j + 1) - Q(a + j), and a + j times it over y the density
    q = tail_pair(a + first, y)[1]
    density = upper = Decimal(0)
    for j in range(first, last + 1):
        upper += weight * q
        density += weight * gain * (a + j)
        q += gain
        gain = gain * y / (a + j + 1)
        weight = weight * l / (j + 1)
    weight = exponential_of(Decimal(last), l)
    gain = exponential_of(a + last, y)
    p = tail_pair(a + last, y)[0]
    lower = Decimal(0)
    for j in range(last, first - 1, -1):
        lower += weight * p
        gain = gain * (a + j) / y if j < last else gain * (a + j) / y  # now that of j - 1
        p += gain
        weight = weight * j / l
    assert abs(lower + upper - 1) < Decimal(10) ** -45, (x, df, nc, lower, upper)
    return density / y / 2, lower, upper


# ---- the points --------------------------------------------------------------------------------------------


def after(x):
    return math.nextafter(x, math.inf)


def before(x):
    return math.nextafter(x, -math.inf)


def log_uniform(rng, low, high):
    return math.exp(rng.uniform(math.log(low), math.log(high)))


def regime(df, nc):
    """By the forms that the two ratios of tail to density start from: shapes above 10000 have a normal one."""
    a, l = df / 2.0, nc / 2.0
    if nc == 0.0:
        return "central" if a <= 10000.0 else "central normal"
    first = max(0.0, l - 7.74 * math.sqrt(l) + 9.8)
    last = l + 7.74 * math.sqrt(l) + 9.8
    if a + first > 10000.0:
        return "normal"
    if a + last + 1.0 > 10000.0:
        return "either"
    return "df below 2" if df < 2.0 else "series"


def points(rng):
    out = {}

    def put(x, df, nc):
        if x > 0.0:
            out[x, df, nc] = None

    dfs = (1e-3, 0.5, 1.0, before(2.0), 2.0, 3.0, 50.0, 1e3, 19990.0, 20000.0, after(20000.0), 1e5)
    for df in dfs:
        for nc in (0.0, 1e-8, 0.5, 2.0, 20.0, 300.0, 1e4, 1e6):
            mean, sd = df + nc, math.sqrt(2.0 * df + 4.0 * nc)
            for x in (before(mean), mean, mean * 1e-3):
                put(x, df, nc)
            for z in (-20.0, -8.0, -3.0, -1.3, -0.3, 0.4, 1.2, 3.0, 8.0, 20.0, 36.0):
                if mean + z * sd > mean * 1e-4:
                    put(mean + z * sd, df, nc)
    # a first sum on both sides of 0.9
    for df, nc in ((0.02, 0.19), (1e-3, 0.2), (0.05, 0.1)):
        for e in range(-40, 0, 3):
            put(10.0 ** e, df, nc)
    # where the weights' start crosses the turn to the normal form
    for df, nc in ((3.0, 18000.0), (3.0, 21700.0), (3.0, 22000.0), (3.0, 22300.0), (50.0, 18400.0), (18000.0, 1500.0)):
        mean, sd = df + nc, math.sqrt(2.0 * df + 4.0 * nc)
        for z in (-6.0, -2.0, -0.5, 0.0, 0.7, 2.5, 6.0):
            put(mean + z * sd, df, nc)
    for nc in (1e8, after(2e8), 1e9):
        for z in (-4.0, -0.5, 0.5, 4.0):
            put(3.0 + nc + z * math.sqrt(4.0 * nc), 3.0, nc)
    for _ in range(200):
        df, nc = log_uniform(rng, 0.05, 1e5), log_uniform(rng, 0.5, 1e6)
        put(df + nc + rng.uniform(-8.0, 12.0) * math.sqrt(2.0 * df + 4.0 * nc), df, nc)
    return list(out)


def quantile(p, upper, df, nc, guess):
    """Bisection in the logarithm of x on the exact tails, then regula falsi; good to 25 digits."""
    index = 2 if upper else 1
    target = Decimal(p)

    def f(x):
        return truth_at(x, df, nc)[index] - target

    low, high = guess * (1 - Decimal("1e-3")), guess * (1 + Decimal("1e-3"))
    flow, fhigh = f(low), f(high)
    while flow * fhigh > 0:
        low, high = low / 2, high * 2
        flow, fhigh = f(low), f(high)
    x, y = low, high
    fx, fy = flow, fhigh
    for _ in range(60):
        z = y - fy * (y - x) / (fy - fx)
        if not low < z < high:
            z = (low + high) / 2
        fz = f(z)
        if fz * flow > 0:
            low, flow = z, fz
        else:
            high, fhigh = z, fz
        if abs(z - y) < y * Decimal("1e-30"):
            return z
        x, fx, y, fy = y, fy, z, fz
    raise AssertionError((p, upper, df, nc))


def truth_at(x, df, nc):
    return truth(x, df, nc)  # x may be a Decimal


def quantile_points():
    for df, nc, group in ((0.5, 0.5, "double"), (1.0, 1.5, "double"), (0.5, 4.0, "square"), (1.0, 30.0, "square"),
                          (4.0, 1.0, "scaled"), (50.0, 0.5, "scaled"), (20000.0, 1.0, "scaled"),
                          (4.0, 4.0, "cube"), (3.0, 100.0, "cube"), (50.0, 300.0, "cube"), (3.0, 1e4, "cube")):
        for p in (1e-30, 1e-9, 1e-3, 0.05, 0.5, 0.8, 0.95, 0.999):
            for upper in (0, 1):
                yield p, df, nc, upper, group


def text(value):
    return "0" if abs(value) < Decimal("1e-400") else f"{value:.25e}"


def main():
    here = os.path.dirname(os.path.abspath(__file__))
    rng = random.Random(50)
    with open(os.path.join(here, "chi_square_truth.csv"), "w", encoding="ascii") as table:
        table.write("# Written by chi_square_truth.py: direct mixture sums to 50 digits.\n")
        table.write("regime,x,df,nc,pdf,lower,upper\n")
        for x, df, nc in points(rng):
            values = truth(x, df, nc)
            table.write(",".join([regime(df, nc), x.hex(), df.hex(), nc.hex()] + [text(v) for v in values]) + "\n")
            table.flush()
    from scipy.stats import ncx2
    with open(os.path.join(here, "chi_square_quantile_truth.csv"), "w", encoding="ascii") as table:
        table.write("# Written by chi_square_truth.py: roots of the exact tails.\n")
        table.write("estimate,p,df,nc,upper,x\n")
        for p, df, nc, upper, group in quantile_points():
            guess = float(ncx2.isf(p, df, nc) if upper else ncx2.ppf(p, df, nc))
            if not 0.0 < guess < math.inf:
                guess = 1e-30
            x = quantile(p, upper, df, nc, Decimal(guess))
            table.write(",".join([group, p.hex(), df.hex(), nc.hex(), str(upper), text(x)]) + "\n")
            table.flush()


if __name__ == "__main__":
    main()
