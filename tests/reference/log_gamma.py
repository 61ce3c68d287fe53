#!/usr/bin/env python3
"""50-digit values for the log-gamma kernels: writes log_gamma.csv beside itself.

Every value is taken from its definition with mpmath at 50 digits beyond whatever cancels, for arguments that
are exact doubles. The arguments are hexadecimal, the values decimal with 25 digits.
"""
import math
import os
import random

import mpmath as mp

mp.mp.dps = 120


def log1p_small(u):
    return mp.log1p(u)


def expm1_ratio(u):
    return mp.mpf(1) if u == 0 else mp.expm1(u) / u


def log_gamma_remainder(x):
    return mp.loggamma(x + 1) - x * (mp.log(x) - 1)


def log_gamma_shift(z):
    return mp.loggamma(z)


def stirling_series(z):
    return mp.loggamma(z) - (z - 0.5) * mp.log(z) + z - mp.log(2 * mp.pi) / 2


def gamma_stirling(z):
    return mp.gamma(z)


def gamma_one_minus_ratio(x):
    return mp.euler if x == 0 else (1 - mp.gamma(1 + x)) / x


def log_poisson_pmf(k, m):
    return k * mp.log(m) - m - mp.loggamma(k + 1)


def log_gamma_pdf(a, y):
    return (a - 1) * mp.log(y) - y - mp.loggamma(a)


def log_beta_pdf(a, b, y):
    return mp.loggamma(a + b) - mp.loggamma(a) - mp.loggamma(b) + (a - 1) * mp.log(y) + (b - 1) * mp.log(1 - y)


def log_uniform(rng, low, high):
    return math.exp(rng.uniform(math.log(low), math.log(high)))


def around(x):
    return [math.nextafter(x, -math.inf), x, math.nextafter(x, math.inf)]


def rows():
    rng = random.Random(19650802)
    out = []

    def put(regime, routine, *arguments):
        value = routine(*[mp.mpf(v) for v in arguments])
        padded = list(arguments) + [0.0] * (3 - len(arguments))
        out.append([regime, routine.__name__] + [float(v).hex() for v in padded] + [mp.nstr(value, 25)])

    def several(count, regime, routine, draw):
        for _ in range(count):
            put(regime, routine, *draw())

    for sign in (1.0, -1.0):
        for u in around(sign * 0.02):
            put("log1p_series" if abs(u) <= 0.02 else "log1p_logarithm", log1p_small, u)
        for u in around(sign * 0.03):
            put("expm1_series" if abs(u) <= 0.03 else "expm1_exponential", expm1_ratio, u)
    put("log1p_series", log1p_small, 1e-300)
    put("expm1_series", expm1_ratio, 0.0)
    several(25, "log1p_series", log1p_small, lambda: [rng.uniform(-0.02, 0.02)])
    several(25, "log1p_logarithm", log1p_small, lambda: [rng.choice([-1, 1]) * rng.uniform(0.02, 0.99)])
    several(15, "log1p_logarithm", log1p_small, lambda: [log_uniform(rng, 1.0, 1e300)])
    several(25, "expm1_series", expm1_ratio, lambda: [rng.uniform(-0.03, 0.03)])
    several(25, "expm1_exponential", expm1_ratio, lambda: [rng.choice([-1, 1]) * rng.uniform(0.03, 3.0)])
    several(15, "expm1_exponential", expm1_ratio, lambda: [rng.uniform(-600.0, 700.0)])

    for x in around(0.0005):
        put("remainder_expansion" if x <= 0.0005 else "remainder_shift", log_gamma_remainder, x)
    for x in around(9.0):
        put("remainder_series" if x > 9.0 else "remainder_shift", log_gamma_remainder, x)
    for x in (1.0, 2.0, 3.0, 8.0):
        put("remainder_shift", log_gamma_remainder, x)
    several(25, "remainder_expansion", log_gamma_remainder, lambda: [log_uniform(rng, 1e-30, 0.0005)])
    several(40, "remainder_shift", log_gamma_remainder, lambda: [rng.uniform(0.0005, 9.0)])
    several(15, "remainder_shift", log_gamma_remainder, lambda: [log_uniform(rng, 0.0005, 0.05)])
    several(30, "remainder_series", log_gamma_remainder, lambda: [log_uniform(rng, 9.0, 1e12)])
    several(25, "stirling_series", stirling_series, lambda: [log_uniform(rng, 9.0, 1e9)])
    several(30, "log_gamma_shift", log_gamma_shift, lambda: [log_uniform(rng, 1e-5, 10.0)])
    several(15, "log_gamma_no_shift", log_gamma_shift, lambda: [log_uniform(rng, 10.0, 1e6)])

    for z in around(2.220446049250313e-16):
        put("gamma_reciprocal" if z < 2.220446049250313e-16 else "gamma_shift", gamma_stirling, z)
    for z in around(10.0):
        put("gamma_shift" if z < 10.0 else "gamma_no_shift", gamma_stirling, z)
    for n in range(1, 20):
        put("gamma_shift" if n < 10 else "gamma_no_shift", gamma_stirling, float(n))
    several(20, "gamma_reciprocal", gamma_stirling, lambda: [log_uniform(rng, 1e-307, 2.2e-16)])
    several(30, "gamma_shift", gamma_stirling, lambda: [log_uniform(rng, 1e-15, 10.0)])
    several(30, "gamma_no_shift", gamma_stirling, lambda: [rng.uniform(10.0, 171.5)])

    for x in around(0.0025):
        put("one_minus_Taylor" if x <= 0.0025 else "one_minus_quotient", gamma_one_minus_ratio, x)
    put("one_minus_Taylor", gamma_one_minus_ratio, 0.0)
    several(20, "one_minus_Taylor", gamma_one_minus_ratio, lambda: [rng.uniform(0.0, 0.0025)])
    several(30, "one_minus_quotient", gamma_one_minus_ratio, lambda: [log_uniform(rng, 0.0025, 0.05)])
    several(20, "one_minus_quotient", gamma_one_minus_ratio, lambda: [rng.uniform(0.05, 0.95)])

    def poisson(low, high, spread):
        def draw():
            m = log_uniform(rng, low, high)
            k = m + rng.uniform(-spread, spread) * math.sqrt(m)
            return [max(k, 1e-3 * m), m]
        return draw
    put("poisson_far", log_poisson_pmf, 14500.0, 10001.0)
    put("poisson_far", log_poisson_pmf, math.nextafter(14500.0, 0.0), 10000.0)
    several(30, "poisson_mean_below_1", log_poisson_pmf,
            lambda: [log_uniform(rng, 1e-4, 100.0), log_uniform(rng, 1e-12, 1.0)])
    several(40, "poisson_near_the_mean", log_poisson_pmf, poisson(1.0, 1e8, 4.0))
    several(30, "poisson_far", log_poisson_pmf, lambda: [rng.uniform(0.5, 300.0), rng.uniform(1.0, 300.0)])

    def gamma_near():
        a = log_uniform(rng, 1.5, 1e8)
        return [a, max(a + rng.uniform(-4.0, 4.0) * math.sqrt(a), 1.0)]
    several(40, "gamma_near_the_mode", log_gamma_pdf, gamma_near)
    several(30, "gamma_far", log_gamma_pdf, lambda: [rng.uniform(1.0, 300.0), rng.uniform(1.0, 700.0)])
    several(20, "gamma_opposite", log_gamma_pdf, lambda: [rng.uniform(1.0, 300.0), log_uniform(rng, 1e-9, 1.0)])
    several(20, "gamma_opposite", log_gamma_pdf, lambda: [log_uniform(rng, 1e-9, 1.0), rng.uniform(1.0, 700.0)])
    several(20, "gamma_both_below_1", log_gamma_pdf,
            lambda: [log_uniform(rng, 1e-9, 1.0), log_uniform(rng, 1e-9, 1.0)])

    def beta_near():
        a, b = log_uniform(rng, 2.0, 1e7), log_uniform(rng, 2.0, 1e7)
        mean = a / (a + b)
        y = mean + rng.uniform(-4.0, 4.0) * math.sqrt(mean * (1.0 - mean) / (a + b))
        return [a, b, y if 0.0 < y < 1.0 else mean]
    several(40, "beta_near_the_mode", log_beta_pdf, beta_near)
    several(30, "beta_moderate", log_beta_pdf,
            lambda: [log_uniform(rng, 0.01, 100.0), log_uniform(rng, 0.01, 100.0), rng.uniform(0.001, 0.999)])
    several(20, "beta_small_point", log_beta_pdf,
            lambda: [log_uniform(rng, 0.01, 100.0), log_uniform(rng, 0.01, 100.0), log_uniform(rng, 1e-200, 1e-3)])
    for _ in range(8):
        put("beta_uniform", log_beta_pdf, 1.0, 1.0, rng.random())
    return out


def main():
    path = os.path.splitext(os.path.abspath(__file__))[0] + ".csv"
    with open(path, "w", encoding="ascii") as table:
        table.write("# Written by log_gamma.py, mpmath %s; unused arguments are 0.\n" % mp.__version__)
        table.write("regime,routine,x,y,z,value\n")
        for row in rows():
            table.write(",".join(row) + "\n")


if __name__ == "__main__":
    main()
