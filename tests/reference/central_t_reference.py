#!/usr/bin/env python3
"""50-digit reference values of the central t tail: writes central_t_reference.csv beside itself.

P(T > x) for x > 0 by the series of 1 - I_w(1/2, df/2), w = x^2 / (df + x^2), or of I_v(df/2, 1/2), v = 1 - w,
in as many digits as the tail needs. regime names the coordinate that the library takes.
"""
import math
import os
import random

import mpmath
from mpmath import mp, mpf

from incomplete_beta_reference import lower_tail


def upper_tail(x, df):
    guard = 6 + abs(int(math.log10(df))) + 2 * abs(int(math.log10(x)))  # for ln Gamma of df / 2 and ln(1 - w)
    mp.dps = 60 + guard
    x, df = mpf(x), mpf(df)
    w = x * x / (df + x * x)
    if w >= 0.5:
        return lower_tail(df / (df + x * x), df / 2, mpf(1) / 2) / 2
    mp.dps = 60 + guard + int(min(1e3, 0.25 * float(x) ** 2 + 10))
    x, df = mpf(x), mpf(df)
    return (1 - lower_tail(x * x / (df + x * x), mpf(1) / 2, df / 2)) / 2


def main():
    rng = random.Random(36)
    rows = []
    for regime, count, draw in (
        ("near_small_df", 60, lambda: (rng.random(), 10.0 ** rng.uniform(-3, 0.7))),
        ("near", 80, lambda: (10.0 ** rng.uniform(-3, 1), 10.0 ** rng.uniform(0, 4))),
        ("near_large_df", 60, lambda: (rng.uniform(0.001, 30.0), 10.0 ** rng.uniform(4, 15))),
        ("near_huge_df", 40, lambda: (rng.uniform(0.001, 12.0), 10.0 ** rng.uniform(15.4, 100))),
        ("far", 120, lambda: (10.0 ** rng.uniform(0, 8), 10.0 ** rng.uniform(-2, 2))),
    ):
        made = 0
        while made < count:
            x, df = draw()
            if (x * x < df) != regime.startswith("near"):
                continue
            value = upper_tail(x, df)
            if value < mpf(10) ** -300:
                continue
            rows.append((regime, x, df, value))
            made += 1

    path = os.path.join(os.path.dirname(os.path.abspath(__file__)), "central_t_reference.csv")
    with open(path, "w") as table:
        table.write("# Written by central_t_reference.py, mpmath %s.\n" % mpmath.__version__)
        table.write("regime,x,df,upper\n")
        for regime, x, df, value in rows:
            table.write(f"{regime},{x.hex()},{df.hex()},{mpmath.nstr(value, 25)}\n")


if __name__ == "__main__":
    main()
