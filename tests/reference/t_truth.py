#!/usr/bin/env python3
"""50-digit values of the noncentral t distribution: writes t_truth.csv beside itself.

Density and both tails, each summed on its own from its Poisson mixture in mpmath: for x > 0
    lower = P(Z < -nc) + sum of (p_j I_u(j + 1/2, h) + q_j I_u(j + 1, h)) / 2,
    upper = sum of (p_j (1 - I_u(j + 1/2, h)) + q_j (1 - I_u(j + 1, h))) / 2
with h = df / 2, u = x^2 / (df + x^2), p_j the Poisson weights of mean nc^2 / 2 and q_j those of half-integer
index; for x < 0 the terms in q_j change sign. The incomplete betas and their complements run by two recurrences of
their own. Noncentralities of 200 and more: the integral over the chi variate instead, by Gauss-Legendre
quadrature in pieces. A row is repeated with more digits when its smaller tail asks for them.

Nothing here is shared with the library. Columns: x, df, nc (hexadecimal), density, lower, upper.
"""
import math
import os
import random

from mpmath import mp, mpf

INF = math.inf


def start(a, h, u, v):
    """I_u(a, h), its complement and the step u^a v^h / (a B(a, h)) between neighbours in a."""
    log_step = a * mp.log(u) + h * mp.log(v) + mp.loggamma(a + h) - mp.loggamma(a + 1) - mp.loggamma(h)
    step = mp.exp(log_step)
    tiny = mpf(10) ** (-mp.dps - 5)
    if 2 * u <= 1:
        term = total = mpf(1)
        n = 1
        while True:
            term *= u * (a + h + n - 1) / (a + n)
            total += term
            n += 1
            if term < tiny * total and u * (a + h + n) < a + n:
                break
        lower = step * total
        return lower, 1 - lower, step
    term = total = mpf(1)
    n = 1
    while True:
        term *= v * (a + h + n - 1) / (h + n)
        total += term
        n += 1
        if term < tiny * total and v * (a + h + n) < h + n:
            break
    upper = step * a / h * total
    return 1 - upper, upper, step


def mixture_tails(x, df, nc):
    h = df / 2
    u = x * x / (df + x * x)
    v = df / (df + x * x)
    d = nc * nc / 2
    sign = 1 if x > 0 else -1
    p = mp.exp(-d)
    q = nc * mp.exp(-d) / mp.sqrt(2) / mp.gamma(mpf(3) / 2)
    I, C, s = start(mpf(1) / 2, h, u, v)
    J, D, r = start(mpf(1), h, u, v)
    lower_sum = upper_sum = mpf(0)
    tiny = mpf(10) ** (-mp.dps + 5)
    j = 0
    while True:
        lower_sum += p * I + sign * q * J
        upper_sum += p * C + sign * q * D
        a = mpf(j) + mpf(1) / 2
        I -= s
        C += s
        s *= u * (a + h) / (a + 1)
        J -= r
        D += r
        r *= u * (j + 1 + h) / (j + 2)
        j += 1
        p *= d / j
        q *= d / (j + mpf(1) / 2)
        if j > d and p < tiny and q < tiny:
            break
    at_zero = mp.erfc(nc / mp.sqrt(2)) / 2
    if x > 0:
        return at_zero + lower_sum / 2, upper_sum / 2
    return upper_sum / 2, (1 - at_zero) + lower_sum / 2


def series_density(x, df, nc):
    X = x * x
    c = x * nc * mp.sqrt(2) / mp.sqrt(df + X)
    log_front = -nc * nc / 2 + (df + 1) / 2 * mp.log(df / (df + X)) - mp.log(mp.pi * df) / 2 - mp.loggamma(df / 2)
    even = mp.exp(log_front + mp.loggamma((df + 1) / 2))
    odd = mp.exp(log_front + mp.loggamma((df + 2) / 2)) * c
    total = even + odd
    tiny = mpf(10) ** (-mp.dps)
    j = 0
    cc = c * c
    while True:
        even *= (df + j + 1) / 2 * cc / ((j + 1) * (j + 2))
        odd *= (df + j + 2) / 2 * cc / ((j + 2) * (j + 3))
        j += 2
        total += even + odd
        if j * j > cc * (df + j) and abs(even) < tiny * abs(total) and abs(odd) < tiny * abs(total):
            return total


def integral(x, df, nc):
    """Density and tails from the integral over s = sqrt(chi^2 / df), for x > 0 and a large nc."""
    log_front = mp.log(2) + df / 2 * mp.log(df / 2) - mp.loggamma(df / 2)

    def chi(s):
        return mp.exp(log_front + (df - 1) * mp.log(s) - df * s * s / 2)

    def window(weight):
        # Pieces of half a width on both sides of s = nc / x, the width being the smaller of 1 / x and the
        # chi variate's own.
        centre = nc / x
        reach = 26 / x
        low, high = max(centre - reach, mpf(0)), centre + reach
        width = min(2 / x, 1 / mp.sqrt(df + 1))
        pieces = int(mp.ceil((high - low) / width))
        points = [low + (high - low) * k / pieces for k in range(pieces + 1)]
        if low == 0:
            points[0] = points[1] * mpf(10) ** -60
        return mp.quad(weight, points), low, high

    density, low, high = window(lambda s: s * mp.npdf(x * s - nc) * chi(s))
    inner_lower, _, _ = window(lambda s: mp.ncdf(x * s - nc) * chi(s))
    inner_upper, _, _ = window(lambda s: mp.ncdf(nc - x * s) * chi(s))
    lower = inner_lower + mp.gammainc(df / 2, df * high * high / 2, mp.inf, regularized=True)
    upper = inner_upper + (mp.gammainc(df / 2, 0, df * low * low / 2, regularized=True) if low > 0 else 0)
    return density, lower, upper


def truth(x, df, nc):
    if abs(nc) >= 200.0:
        mp.dps = 40
        return integral(mpf(x), mpf(df), mpf(nc))
    for digits in (110, 450):
        mp.dps = digits
        X, F, N = mpf(x), mpf(df), mpf(nc)
        if nc == 0.0 or x == 0.0:
            h = F / 2
            front = mp.loggamma(h + mpf(1) / 2) - mp.loggamma(h) - mp.log(mp.pi * F) / 2
            density = mp.exp(front - (F + 1) / 2 * mp.log(1 + X * X / F) - N * N / 2)
            if x == 0.0:
                lower = mp.erfc(N / mp.sqrt(2)) / 2
                return density, lower, 1 - lower
            I, C, _ = start(mpf(1) / 2, h, X * X / (F + X * X), F / (F + X * X))
            lower, upper = ((1 + I) / 2, C / 2) if x > 0.0 else (C / 2, (1 + I) / 2)
        else:
            density = series_density(X, F, N)
            lower, upper = mixture_tails(X, F, N)
        if min(lower, upper) > mpf(10) ** -60 and density > mpf(10) ** -60:
            break
    return density, lower, upper


def sides(x):
    return [math.nextafter(x, -INF), x, math.nextafter(x, INF)]


def log_uniform(rng, low, high):
    return math.exp(rng.uniform(math.log(low), math.log(high)))


def deviation(df, nc):
    return math.sqrt((1.0 + nc * nc / (2.0 * df)) * (df / (df - 2.0) if df > 4.0 else 2.0))


def points():
    rng = random.Random(2024)
    out = []
    # Anywhere on the noncentrality's side: few and many degrees of freedom.
    for _ in range(420):
        df = log_uniform(rng, 0.3, 5000.0)
        nc = log_uniform(rng, 0.02, 60.0)
        out.append((abs(nc + deviation(df, nc) * rng.gauss(0.0, 2.5)), df, nc))
    # Far out in either tail.
    for _ in range(80):
        df = log_uniform(rng, 1.0, 300.0)
        nc = log_uniform(rng, 0.1, 30.0)
        out.append((nc * log_uniform(rng, 2.0, 50.0), df, nc))
        out.append((nc * log_uniform(rng, 0.001, 0.5), df, nc))
    # Small noncentralities, and very many degrees of freedom.
    for _ in range(60):
        nc = log_uniform(rng, 1e-12, 0.02)
        out.append((log_uniform(rng, 0.01, 20.0), log_uniform(rng, 0.5, 1000.0), nc))
        df = log_uniform(rng, 5e3, 1e7)
        nc = log_uniform(rng, 0.1, 40.0)
        out.append((abs(nc + deviation(df, nc) * rng.uniform(-5.0, 5.0)), df, nc))
        df = log_uniform(rng, 1e7, 1e13)
        nc = log_uniform(rng, 0.5, 30.0)
        out.append((abs(nc + rng.uniform(-4.0, 4.0)), df, nc))
    # Both sides of the switches: the density's method, x = nc, x^2 = df.
    for df in sides(50.0):
        for nc in (0.3, 4.0, 30.0):
            for z in (-2.0, 0.0, 3.0):
                out.append((nc + z * deviation(df, nc), df, nc))
    for df in sides(1e8):
        for nc in (0.7, 5.0, 20.0):
            out += [(nc + z, df, nc) for z in (-0.5, 0.1, 2.5)]
    for df, nc in ((3.0, 2.0), (9.0, 3.0), (9.0, 2.0), (100.0, 12.0), (0.8, 0.5)):
        out += [(x, df, nc) for x in sides(nc) + sides(math.sqrt(df))]
    # Points on the other side of 0.
    for _ in range(200):
        df = log_uniform(rng, 0.3, 1999.0)
        nc = log_uniform(rng, 0.02, 20.0)
        out.append((-log_uniform(rng, 1e-3, 4.0) * deviation(df, nc), df, nc))
    for _ in range(60):
        df = log_uniform(rng, 2000.0, 1e6)
        nc = log_uniform(rng, 0.3, 15.0)
        out.append((-log_uniform(rng, 0.01, 5.0), df, nc))
    for df in sides(50.0) + sides(2000.0):
        for nc in (0.4, 3.0, 12.0):
            out += [(x, df, nc) for x in (-0.05, -1.0, -3.0)]
    for nc in sides(21.274) + sides(21.417):
        out += [(-0.5, df, nc) for df in (3.0, 70.0, 2500.0)]
    # The origin, and the central density.
    for nc in sides(38.4638) + [1e-5, 0.3, 5.0, 20.0, 37.0]:
        out.append((0.0, 7.0, nc))
    for _ in range(60):
        df = log_uniform(rng, 0.05, 1e9)
        out.append((rng.choice((-1.0, 1.0)) * log_uniform(rng, 0.01, 8.0), df, 0.0))
    # Large noncentralities.
    for nc in [1000.0, 1500.0] + sides(2000.0) + [2500.0, 5000.0]:
        for df in [0.6, 3.0, 20.0] + sides(50.0)[:2] + [400.0]:
            for z in (-0.6, 0.0, 1.5):
                out.append((nc * math.exp(z / math.sqrt(2.0 * df + 2.0)), df, nc))
    # Just above a small noncentrality, and hardly any degrees of freedom.
    for _ in range(60):
        nc = log_uniform(rng, 0.1, 0.6)
        out.append((nc * (1.0 + 0.3 * rng.random() ** 2), log_uniform(rng, 0.1, 1e4), nc))
        nc = log_uniform(rng, 0.3, 2.5)
        out.append((nc * (1.0 + 0.3 * rng.random() ** 2), log_uniform(rng, 0.02, 0.1), nc))
    return out


def main():
    path = os.path.splitext(os.path.abspath(__file__))[0] + ".csv"
    with open(path, "w", encoding="ascii") as table:
        table.write("# Made by t_truth.py: mixture sums in at least 50 digits, rounded to 25.\n")
        table.write("x,df,nc,density,lower,upper\n")
        for x, df, nc in points():
            values = truth(x, df, nc)
            table.write(",".join([x.hex(), df.hex(), nc.hex()] + [mp.nstr(value, 25) for value in values]) + "\n")
            table.flush()


if __name__ == "__main__":
    main()
