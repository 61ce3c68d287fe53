#!/usr/bin/env python3
"""Bit-exact table for the central t tail: writes kernel_bits_central_t.csv beside itself.

The steps in plain Python doubles over the transcription of the incomplete beta kernels; see there.
"""
import math
import os
import random

from kernel_bits_incomplete_beta import beta_tails
from kernel_bits_normal import both_sides


def t_cdf_central(x, df, upper):
    b = df / 2.0
    h2 = x * x * 0.5
    w = h2 / (b + h2)
    if w == 0.0:
        return 0.5
    if w < 0.5:
        tail = beta_tails(w, 0.5, b)[1]
    else:
        v = b / (b + h2)
        tail = 0.0 if v == 0.0 else beta_tails(v, b, 0.5)[0]
    tail = tail * 0.5
    if x > 0.0:
        upper_tail, lower_tail = tail, 1.0 - tail
    else:
        lower_tail, upper_tail = tail, 1.0 - tail
    return upper_tail if upper else lower_tail


def main():
    rng = random.Random(36)
    points = [(x, 4.0) for x in both_sides(2.0) + both_sides(-2.0)]
    points += [(0.6, 1e10), (0.6, 4e15), (3.0, 1e100), (1e-160, 3.0), (-3.0, 30.0), (2.0, 1e300), (100.0, 1e8)]
    points += [(math.copysign(10.0 ** rng.uniform(-3.0, 2.0), rng.random() - 0.5), 10.0 ** rng.uniform(-2.0, 5.0))
               for _ in range(200)]
    points += [(rng.uniform(-8.0, 8.0), float(rng.randint(1, 200))) for _ in range(100)]
    points += [(rng.uniform(-8.0, 8.0), 10.0 ** rng.uniform(5.0, 30.0)) for _ in range(60)]
    path = os.path.join(os.path.dirname(os.path.abspath(__file__)), "kernel_bits_central_t.csv")
    with open(path, "w") as table:
        table.write("# Written by kernel_bits_central_t.py.\n")
        table.write("x,df,lower,upper\n")
        for x, df in points:
            values = (x, df, t_cdf_central(x, df, 0), t_cdf_central(x, df, 1))
            table.write(",".join(value.hex() for value in values) + "\n")


if __name__ == "__main__":
    main()
