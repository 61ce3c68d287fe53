#!/usr/bin/env python3
"""50-digit reference values of the beta family: writes beta_reference.csv (density and tails) and
beta_quantile_reference.csv beside itself.

Tails are summed by the series of positive terms, x^a (1-x)^b / (a B(a, b)) 2F1(a + b, 1; a + 1; x), of the
variate or of its mirror image, whatever form the library takes; the working precision is raised until the
complement has its digits too. A quantile is the root of ln tail = ln p by Newton's method in 50 digits, started
from SciPy's inverse and checked by its residual. regime names the library's form for these shapes.
"""
import math
import os
import random

import mpmath
import scipy.special
from mpmath import mp, mpf

mp.dps = 60
FOLDER = os.path.dirname(os.path.abspath(__file__))


def log_density(x, a, b):
    """ln of x^(a-1) (1-x)^(b-1) / B(a, b), good to 60 digits absolutely: x, a, b exact."""
    with mp.workdps(170):
        return ((a - 1) * mpmath.log(x) + (b - 1) * mpmath.log(1 - x) + mpmath.loggamma(a + b) - mpmath.loggamma(a) -
                mpmath.loggamma(b))


def series(x, a, b):
    """I_x(a, b), or None if it takes too long."""
    with mp.workdps(mp.dps + 120):
        log_front = a * mpmath.log(x) + b * mpmath.log(1 - x) - mpmath.log(a) - (
            mpmath.loggamma(a) + mpmath.loggamma(b) - mpmath.loggamma(a + b))
    term = total = mpf(1)
    tiny = mpf(10) ** -(mp.dps + 2)
    n = 0
    while True:
        term *= (a + b + n) / (a + 1 + n) * x
        total += term
        n += 1
        ratio = (a + b + n) / (a + 1 + n) * x
        if ratio < 1 and term * ratio / (1 - ratio) < tiny * total:
            return mpmath.exp(log_front) * total
        if n > 100000:
            return None


def tails(x, a, b):
    """Both tails to 50 digits; None if one is out of reach."""
    x, a, b = mpf(x), mpf(a), mpf(b)
    forward = x <= a / (a + b) or x < 0.3
    if forward and 1 - x < mpf(10) ** -20:
        forward = False
    digits = 60
    while True:
        with mp.workdps(digits):
            one = series(x, a, b) if forward else series(1 - x, b, a)
            if one is None:
                return None
            other = 1 - one
            if other > 0 and digits + mpmath.log10(other) > 52:
                return (+one, +other) if forward else (+other, +one)
        digits += 200
        if digits > 800:
            return None


def quantile(p, a, b, upper):
    """x with the chosen tail equal to p, or None."""
    inverse = scipy.special.betaincinv
    start = 1.0 - inverse(b, a, p) if upper else inverse(a, b, p)
    if upper and start < 1e-3:
        start = scipy.special.betainccinv(a, b, p) if hasattr(scipy.special, "betainccinv") else start
    if not 0.0 < start < 1.0:
        return None
    x, target = mpf(start), mpf(p)
    for _ in range(60):
        both = tails(x, a, b)
        if both is None:
            return None
        tail = both[1 if upper else 0]
        error = mpmath.log(tail / target)
        if abs(error) < mpf(10) ** -40:
            return x
        slope = mpmath.exp(log_density(x, mpf(a), mpf(b))) * x / tail * (-1 if upper else 1)
        step = -error / slope
        step = max(mpf(-1), min(mpf(1), step))
        if abs(step) < mpf(10) ** -38:
            return x
        moved = x * mpmath.exp(step)
        x = moved if moved < 1 else (x + 1) / 2
    return None


def log_uniform(rng, low, high):
    return 10.0 ** rng.uniform(low, high)


def sides(x):
    return [math.nextafter(x, 0.0), x, math.nextafter(x, math.inf)]


def effective(a, b):
    return a * b / (a + b)


def regimes(rng):
    """(name, draw) where draw gives shapes"""

    def both_large():
        while True:
            a, b = log_uniform(rng, 1, 5.5), log_uniform(rng, 1, 5.5)
            if effective(a, b) < 1e4:
                return a, b

    def normal():
        while True:
            a, b = log_uniform(rng, 4.05, 6.5), log_uniform(rng, 4.05, 6.5)
            if effective(a, b) >= 1e4:
                return a, b

    return [
        ("both_below_1", lambda: (log_uniform(rng, -2, 0), log_uniform(rng, -2, 0))),
        ("a_below_1", lambda: (log_uniform(rng, -2, 0), log_uniform(rng, 0, 2))),
        ("b_below_1", lambda: (log_uniform(rng, 0, 2), log_uniform(rng, -2, 0))),
        ("a_below_1_b_above_100", lambda: (log_uniform(rng, -2, 0), log_uniform(rng, 2, 8))),
        ("tiny_shape", lambda: rng.choice([(log_uniform(rng, -3.5, -2.5), log_uniform(rng, -1, 1.5)),
                                           (log_uniform(rng, -1, 1.5), log_uniform(rng, -3.5, -2.5))])),
        ("one_to_ten", lambda: (rng.uniform(1.0, 10.0), rng.uniform(1.0, 10.0))),
        ("one_below_ten", lambda: rng.choice([(rng.uniform(1.0, 10.0), log_uniform(rng, 1, 6)),
                                              (log_uniform(rng, 1, 6), rng.uniform(1.0, 10.0))])),
        ("both_above_ten", both_large),
        ("normal_form", normal),
        ("huge_b", lambda: (log_uniform(rng, -1.5, 3.5), log_uniform(rng, 9, 15))),
        ("gamma_limit_b", lambda: (log_uniform(rng, -1.5, 3.5), log_uniform(rng, 15, 23))),
        ("beyond_1e23", lambda: (log_uniform(rng, 0, 3.5), log_uniform(rng, 23, 26))),
    ]


def switches():
    """Shapes on both sides of every switch."""
    out = []
    for s in sides(0.6):
        out += [("switch_0.6", s, 3.0), ("switch_0.6", 3.0, s)]
    for s in sides(1.0):
        out += [("switch_1", s, 3.0), ("switch_1", 3.0, s), ("switch_1", s, s)]
    for s in sides(10.0):
        out += [("switch_10", s, 17.0), ("switch_10", 17.0, s)]
    for s in sides(100.0):
        out += [("switch_100", 0.4, s), ("switch_100", s, 0.4)]
    for s in sides(1000.0):
        out += [("switch_1000", 0.4, s), ("switch_1000", 0.4, s)]
    for s in sides(20000.0):
        out += [("switch_effective_10000", s, 20000.0)]
    for s in sides(0.001):
        out += [("switch_0.001", s, 2.0), ("switch_0.001", 2.0, s)]
    for s in sides(1e9):
        out += [("switch_1e9", 0.7, s)]
    for s in sides(1e15):
        out += [("switch_1e15", 0.7, s), ("switch_1e15", 6.0, s)]
    for s in sides(1e23):
        out += [("switch_1e23", 6.0, s), ("switch_1e23", 1.0, s)]
    return out


def point_near(rng, a, b, spread):
    mean = a / (a + b)
    sd = math.sqrt(a * b / (a + b + 1.0)) / (a + b)
    return mean + sd * rng.uniform(-spread, spread)


def main():
    rng = random.Random(34)
    digits = 25
    lines = []

    def add(regime, x, a, b):
        if not 0.0 < x < 1.0:
            return False
        both = tails(x, a, b)
        if both is None or min(both) < mpf(10) ** -290:
            return False
        density = mpmath.exp(log_density(mpf(x), mpf(a), mpf(b)))
        if not mpf(10) ** -290 < density < mpf(10) ** 290:
            return False
        values = [mpmath.nstr(v, digits) for v in (density,) + both]
        lines.append(",".join([regime, x.hex(), a.hex(), b.hex()] + values))
        return True

    for name, draw in regimes(rng):
        made = 0
        while made < 30:
            a, b = draw()
            if min(a, b) < 1.0 or made % 3 == 0:
                x = rng.random() if max(a, b) < 50.0 else point_near(rng, a, b, 3.0)
            else:
                x = point_near(rng, a, b, 8.0)
            made += add(name, x, a, b)
    for name, a, b in switches():
        for _ in range(20):
            if add(name, point_near(rng, a, b, 2.0), a, b):
                break
    for a, b in ((0.4, 0.7), (1.0, 3.0), (6.0, 4.0), (15.0, 14.0), (900.0, 1100.0), (15000.0, 30000.0)):
        for x in sides(0.5):
            add("switch_0.5", x, a, b)
    with open(os.path.join(FOLDER, "beta_reference.csv"), "w") as file:
        file.write("# Written by beta_reference.py, mpmath %s.\n" % mpmath.__version__)
        file.write("regime,x,a,b,density,lower,upper\n" + "\n".join(lines) + "\n")
    print(len(lines), "points")

    lines.clear()
    dropped = 0

    def add_quantile(regime, p, a, b, upper):
        x = quantile(p, a, b, upper)
        if x is None or x < mpf(10) ** -290:
            return False
        lines.append(",".join([regime, p.hex(), a.hex(), b.hex(), str(upper), mpmath.nstr(x, digits),
                               mpmath.nstr(1 - x, digits)]))
        return True

    for name, draw in regimes(rng):
        made = 0
        while made < 24:
            a, b = draw()
            p = rng.random() if made % 2 else log_uniform(rng, -12, -1)
            done = add_quantile(name, p, a, b, rng.randint(0, 1))
            made += done
            dropped += not done
    for name, a, b in switches():
        for p, upper in ((0.03, 0), (0.2, 1), (0.9, 0)):
            dropped += not add_quantile(name, p, a, b, upper)
    for a, b in ((0.4, 0.7), (1.0, 3.0), (6.0, 4.0), (15.0, 14.0), (900.0, 1100.0)):
        for p in sides(0.5):
            for upper in (0, 1):
                add_quantile("switch_0.5", p, a, b, upper)
    with open(os.path.join(FOLDER, "beta_quantile_reference.csv"), "w") as file:
        file.write("# Written by beta_reference.py, mpmath %s, starts from SciPy %s.\n" %
                   (mpmath.__version__, scipy.__version__))
        file.write("regime,p,a,b,upper,x,complement\n" + "\n".join(lines) + "\n")
    print(len(lines), "quantiles;", dropped, "draws dropped")


if __name__ == "__main__":
    main()
