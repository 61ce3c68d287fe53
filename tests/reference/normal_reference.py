#!/usr/bin/env python3
"""50-digit reference values for the normal kernels: writes normal_reference.csv beside itself.

regime names the branch that the library takes; the value is the true one, by mpmath.
"""
import math
import os
import random

import mpmath

mpmath.mp.dps = 50


def tail(x):
    return mpmath.erfc(mpmath.mpf(x) / mpmath.sqrt(2)) / 2


def density(x):
    return mpmath.exp(-mpmath.mpf(x) ** 2 / 2) / mpmath.sqrt(2 * mpmath.pi)


def quantile(p):
    """z with P(Z <= z) = p, p taken as the exact double."""
    p = mpmath.mpf(p)
    if p == mpmath.mpf(1) / 2:
        return mpmath.mpf(0)
    side = min(p, 1 - p)
    z = mpmath.sqrt(-2 * mpmath.log(side)) if side < 0.02 else abs(mpmath.erfinv(1 - 2 * side)) * mpmath.sqrt(2)
    for _ in range(60):  # Newton on the logarithm of the tail, which is nearly a parabola
        q = mpmath.erfc(z / mpmath.sqrt(2)) / 2
        step = mpmath.log(q / side) * q / density(z)
        z += step
        if abs(step) < mpmath.mpf(10) ** -45 * (1 + abs(z)):
            break
    else:
        raise ArithmeticError("no quantile for %s" % p)
    return -z if p < 0.5 else z


def main():
    rng = random.Random(2)
    rows = []
    for x in [rng.uniform(0.0, 1.28) for _ in range(60)] + [1.28, 0.0, 1e-10]:
        rows.append(("tail_central", x, tail(x)))
    for x in [rng.uniform(1.28, 8.0) for _ in range(60)] + [math.nextafter(1.28, 2.0), 8.03]:
        rows.append(("tail_outer", x, tail(x)))
    for x in [rng.uniform(8.0, 37.5) for _ in range(60)]:
        rows.append(("tail_far", x, tail(x)))
    for x in [rng.uniform(-8.0, 0.0) for _ in range(60)]:
        rows.append(("tail_negative", x, tail(x)))

    for p in [rng.uniform(0.08, 0.5) for _ in range(60)]:
        rows.append(("quantile_central", p, quantile(p)))
    for p in [rng.uniform(0.5, 0.92) for _ in range(30)]:
        rows.append(("quantile_above_half", p, quantile(p)))
    for p in [10.0 ** rng.uniform(-16.0, -1.2) for _ in range(60)]:
        rows.append(("quantile_outer", p, quantile(p)))
    for p in [10.0 ** rng.uniform(-300.0, -16.0) for _ in range(60)]:
        rows.append(("quantile_far", p, quantile(p)))

    for u in [rng.uniform(-8.0, 0.0) for _ in range(30)]:
        rows.append(("mills_negative", u, tail(u) / density(u)))
    for u in [rng.uniform(0.0, 25.0) for _ in range(60)] + [25.0]:
        rows.append(("mills_quotient", u, tail(u) / density(u)))
    for u in [math.nextafter(25.0, 30.0), 26.0, 40.0, 1e4, 1e10] + [rng.uniform(25.0, 200.0) for _ in range(40)]:
        rows.append(("mills_series", u, tail(u) / density(u)))

    path = os.path.join(os.path.dirname(os.path.abspath(__file__)), "normal_reference.csv")
    with open(path, "w") as table:
        table.write("# Written by normal_reference.py, mpmath %s at 50 digits.\n" % mpmath.__version__)
        table.write("regime,x,value\n")
        for regime, x, value in rows:
            table.write(f"{regime},{x.hex()},{mpmath.nstr(value, 25)}\n")


if __name__ == "__main__":
    main()
