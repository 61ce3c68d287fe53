#!/usr/bin/env python3
"""50-digit tails of the chi-square distribution as the Ljung-Box test asks for them: writes
central_gamma_tail.csv beside itself.

P(X > q) with df degrees of freedom is the upper tail of a gamma variate of shape df / 2 at q / 2. For a whole
df it is a finite sum: of exp(-x) x^k / k! for an even df, of erfc(sqrt(x)) and exp(-x) x^(k + 1/2) /
Gamma(k + 3/2) for an odd one. Arguments are hexadecimal doubles, values decimal with 25 digits.
"""
import os
import random

import mpmath as mp

mp.mp.dps = 60


def upper(df, x):
    if df % 2 == 0:
        return mp.exp(-x) * mp.fsum(x**k / mp.factorial(k) for k in range(df // 2))
    odd = mp.fsum(x ** (k + mp.mpf(1) / 2) / mp.gamma(k + mp.mpf(3) / 2) for k in range(df // 2))
    return mp.erfc(mp.sqrt(x)) + mp.exp(-x) * odd


def main():
    rng = random.Random(1978)
    path = os.path.splitext(os.path.abspath(__file__))[0] + ".csv"
    with open(path, "w", encoding="ascii") as table:
        table.write("# Written by central_gamma_tail.py, mpmath %s.\n" % mp.__version__)
        table.write("x,a,lower,upper\n")
        for df in list(range(1, 50)) + [100, 101, 400, 2001]:
            for _ in range(4):
                x = max(0.01, 0.5 * (df + rng.uniform(-3.0, 6.0) * (2.0 * df) ** 0.5))
                q = upper(df, mp.mpf(x))
                table.write(",".join([x.hex(), (df / 2.0).hex(), mp.nstr(1 - q, 25), mp.nstr(q, 25)]) + "\n")


if __name__ == "__main__":
    main()
