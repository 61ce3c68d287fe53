#!/usr/bin/env python3
"""50-digit reference values of both beta tails: writes incomplete_beta_reference.csv beside itself.

I_x(a, b) by its series of positive terms, x^a (1-x)^b / (a B(a, b)) 2F1(a + b, 1; a + 1; x), whatever form the
library takes; the working precision is raised so that the complement keeps its 50 digits too. regime names the
library's form. The points lie at or below 1/2, where the kernels are asked: the callers mirror the others.
"""
import math
import os
import random

import mpmath
from mpmath import mp, mpf


def lower_tail(x, a, b):
    x, a, b = mpf(x), mpf(a), mpf(b)
    log_front = a * mpmath.log(x) + b * mpmath.log(1 - x) - mpmath.log(a)
    log_front -= mpmath.loggamma(a) + mpmath.loggamma(b) - mpmath.loggamma(a + b)
    term = total = mpf(1)
    n = 0
    tiny = mpf(10) ** -(mp.dps + 2)
    while True:
        term *= (a + b + n) / (a + 1 + n) * x
        total += term
        n += 1
        ratio = (a + b + n) / (a + 1 + n) * x
        if ratio < 1 and term * ratio / (1 - ratio) < tiny * total:
            break
        if n > 400000:
            raise ArithmeticError("series too long at %s %s %s" % (x, a, b))
    return mpmath.exp(log_front) * total


def tails(x, a, b):
    guard = 6 + max(0, int(math.log10(max(a, b)))) - int(math.log10(x))  # for ln Gamma of b and ln(1 - x)
    mp.dps = 60 + guard
    while True:
        lower = lower_tail(x, a, b)
        upper = 1 - lower
        lost = 0 if upper > 0 and upper > mpf(10) ** -1 else (mp.dps if upper <= 0 else int(-mpmath.log10(upper)) + 1)
        if mp.dps - guard - lost >= 52:
            return lower, upper
        mp.dps = max(mp.dps, lost) + 60
        if mp.dps > 700:
            return None


def main():
    rng = random.Random(6)
    rows = []

    def log_uniform(low, high):
        return 10.0 ** rng.uniform(low, high)

    def near(a, b, spread):
        mean, sd = a / (a + b), math.sqrt(a * b / (a + b + 1.0)) / (a + b)
        return mean + sd * rng.uniform(-spread, spread)

    def add(regime, x, a, b):
        if not 0.0 < x <= 0.5:
            return False
        pair = tails(x, a, b)
        if pair is None or pair[0] < mpf(10) ** -300 or pair[1] < mpf(10) ** -300:
            return False
        rows.append((regime, a, b, x) + pair)
        return True

    def fill(regime, count, draw):
        made = 0
        while made < count:
            made += add(regime, *draw())

    fill("both_below_1", 60, lambda: (rng.uniform(1e-3, 0.5), log_uniform(-3, 0), log_uniform(-3, 0)))
    fill("moderate", 150, lambda: (rng.uniform(1e-3, 0.5), log_uniform(-1, 2), log_uniform(-1, 2)))
    fill("whole_shapes", 60, lambda: (rng.uniform(1e-3, 0.5), float(rng.randint(1, 60)), float(rng.randint(1, 60))))
    fill("tiny_a", 60, lambda: (rng.uniform(1e-3, 0.5), log_uniform(-8, -1), log_uniform(-3, 2)))
    fill("tiny_b", 60, lambda: (rng.uniform(1e-3, 0.5), log_uniform(-3, 2), log_uniform(-8, -1)))
    fill("tiny_x", 60, lambda: (log_uniform(-100, -3), log_uniform(-3, 0.5), log_uniform(-2, 2)))

    def large():
        while True:
            a, b = log_uniform(0.5, 6), log_uniform(0.5, 6)
            if a * b / (a + b) < 1e4:
                return near(a, b, 5), a, b

    fill("large", 80, large)

    def normal():
        while True:
            a, b = sorted((log_uniform(4.1, 7), log_uniform(4.1, 7)))
            if a * b / (a + b) >= 1e4:
                return near(a, b, 8), a, b

    fill("normal_form", 80, normal)
    fill("normal_form_far", 30, lambda: (near(3e4, 9e4, 30), 3e4, 9e4))
    for x in (0.49, 0.495, 0.4999, 0.5):  # a b / (a + b) = 10000 from both sides
        for a, regime in ((20000.0, "normal_form"), (math.nextafter(20000.0, 0.0), "large"), (19999.0, "large")):
            add(regime, x, a, a)

    def huge_b(low, high):
        a, b = log_uniform(-2, 3), log_uniform(low, high)
        return a / b * rng.uniform(0.2, 2.5), a, b

    fill("huge_b", 60, lambda: huge_b(9, 15))
    fill("gamma_limit", 60, lambda: huge_b(15, 22))
    for x in (0.5e-15, 2e-15):  # b = 1e15 from both sides
        for b, regime in ((1e15, "gamma_limit"), (math.nextafter(1e15, 0.0), "huge_b")):
            add(regime, x, 1.7, b)

    path = os.path.join(os.path.dirname(os.path.abspath(__file__)), "incomplete_beta_reference.csv")
    with open(path, "w") as table:
        table.write("# Written by incomplete_beta_reference.py, mpmath %s.\n" % mpmath.__version__)
        table.write("regime,a,b,x,lower,upper\n")
        for regime, a, b, x, lower, upper in rows:
            table.write(f"{regime},{a.hex()},{b.hex()},{x.hex()},{mpmath.nstr(lower, 25)},{mpmath.nstr(upper, 25)}\n")


if __name__ == "__main__":
    main()
