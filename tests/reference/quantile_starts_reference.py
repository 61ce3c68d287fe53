#!/usr/bin/env python3
"""50-digit values of what the quantile starts stand on: writes quantile_starts_reference.csv beside itself.

ln Gamma(1 + a) / a, psi, psi', psi'' from mpmath, and the logarithm of the first-term estimate of a beta
quantile, ln(p a B(a, b)) / a, for the lower tail p (upper 0) and for the lower tail 1 - p (upper 1).
"""
import math
import os
import random

import mpmath
from mpmath import mp, mpf

mp.dps = 60


def sides(x):
    return [math.nextafter(x, 0.0), x, math.nextafter(x, math.inf)]


def log_uniform(rng, low, high):
    return 10.0 ** rng.uniform(low, high)


def main():
    rng = random.Random(7)
    lines = []

    def put(routine, regime, x, y, z, upper, value):
        cells = ["" if v is None else v.hex() for v in (x, y, z)]
        lines.append(",".join([routine, regime] + cells + [str(upper), mpmath.nstr(value, 25)]))

    for a in sides(0.0025) + [1e-300, 1e-8, 1e-4, 0.5, 1.0, 8.9, 9.0, 20.0, 1e5] + [log_uniform(rng, -6, 3)
                                                                                  for _ in range(30)]:
        with mp.workdps(400):
            value = mpmath.loggamma(1 + mpf(a)) / mpf(a)
        put("log_gamma1p_over", "below" if a <= 0.0025 else "above", a, None, None, 0, value)
    for order, name, switch in ((0, "digamma", 1e-12), (1, "trigamma", 1e-6), (2, "tetragamma", 1e-4)):
        for u in sides(switch) + sides(10.0) + [1.0, 1.5, 2.0] + [log_uniform(rng, -3, 3) for _ in range(30)]:
            put(name, "pole" if u < switch else "series", u, None, None, 0, mpmath.psi(order, mpf(u)))

    def start(regime, a, b, p):
        for upper in (0, 1):
            q = 1 - mpf(p) if upper else mpf(p)
            t = (mpmath.log(q) + mpmath.loggamma(1 + mpf(a)) + mpmath.loggamma(mpf(b)) -
                 mpmath.loggamma(mpf(a) + mpf(b))) / mpf(a)
            put("start", regime, p, a, b, upper, t)

    draws = [
        ("gamma_values", lambda: (log_uniform(rng, -3, 0), log_uniform(rng, -3, 2))),
        ("gamma_values", lambda: (log_uniform(rng, 0, 2), log_uniform(rng, -3, 0))),
        ("large_b", lambda: (log_uniform(rng, -3, 0), log_uniform(rng, 2.01, 8))),
        ("small_a", lambda: (log_uniform(rng, -6, -3.01), log_uniform(rng, -5, 2))),
        ("small_b", lambda: (log_uniform(rng, -2.9, 3), log_uniform(rng, -8, -3.01))),
    ]
    for regime, draw in draws:
        made = 0
        while made < 25:
            # p such that the estimate is a number: neither too small for a double nor beyond one half.
            a, b = draw()
            log_front = mpmath.loggamma(1 + mpf(a)) + mpmath.loggamma(mpf(b)) - mpmath.loggamma(mpf(a) + mpf(b))
            p = float(mpmath.exp(mpf(a) * rng.choice([rng.uniform(-600.0, -1.0), rng.uniform(-20.0, -0.8)]) -
                                 log_front))
            if 1e-300 < p < 1.0:
                start(regime, a, b, p if rng.random() < 0.5 else 1.0 - p)
                made += 1
    for s in sides(0.001):
        start("small_a" if s < 0.001 else "gamma_values", s, 2.0, 0.3)
        start("small_b" if s < 0.001 else "gamma_values", 2.0, s, 0.3)
    for s in sides(100.0):
        start("large_b" if s > 100.0 else "gamma_values", 0.4, s, 0.3)
    start("small_a", 1e-4, 1e-4, 0.6)

    path = os.path.join(os.path.dirname(os.path.abspath(__file__)), "quantile_starts_reference.csv")
    with open(path, "w") as file:
        file.write("# Written by quantile_starts_reference.py, mpmath %s.\n" % mpmath.__version__)
        file.write("routine,regime,x,y,z,upper,value\n" + "\n".join(lines) + "\n")


if __name__ == "__main__":
    main()
