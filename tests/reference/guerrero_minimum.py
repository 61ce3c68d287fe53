#!/usr/bin/env python3
"""Guerrero's objective and its least value in 40 digits.

    python3 tests/reference/guerrero_minimum.py      (from the root of the checkout; needs mpmath)

The objective is scanned at 301 points of the interval, then the cells beside the lowest are narrowed by golden
section.
'where' says whether the least value is inside or at an end; 'minima' counts the local minima of the scan.
"""
import csv
import math
import os

import mpmath as mp

mp.mp.dps = 40
HERE = os.path.dirname(os.path.abspath(__file__))
DATA = os.path.join(HERE, "..", "..", "data")
CASES = [
    ("airline_passengers", 12), ("bj_series_a", 2), ("bj_series_b", 5), ("bj_series_c", 2), ("bj_series_d", 10),
    ("bj_series_f", 7), ("bj_series_m_sales", 3), ("co2_mauna_loa", 12), ("johnson_johnson", 4), ("lake_huron", 2),
    ("lynx", 10), ("nile", 2), ("nottingham_temperature", 12), ("uk_driver_deaths", 12), ("uk_gas", 4),
    ("uk_lung_deaths", 12), ("us_accidental_deaths", 12), ("us_log_real_gnp", 4), ("us_real_gdp", 4),
    ("www_usage", 2),
]


def load(name):
    with open(os.path.join(DATA, name + ".csv")) as f:
        return [mp.mpf(float(row["value"])) for row in csv.DictReader(f)]


def mean_and_sd(values):
    mean = mp.fsum(values) / len(values)
    return mean, mp.sqrt(mp.fsum((v - mean) ** 2 for v in values) / (len(values) - 1))


def objective(x, length):
    first = len(x) % length
    groups = [mean_and_sd(x[i:i + length]) for i in range(first, len(x), length)]
    logs = [(mp.log(m), s) for m, s in groups]

    def f(lam):
        mean, sd = mean_and_sd([s * mp.exp((lam - 1) * log_mean) for log_mean, s in logs])
        return sd / mean

    return f


def golden(f, a, b):
    g = (mp.sqrt(5) - 1) / 2
    c, d = b - g * (b - a), a + g * (b - a)
    fc, fd = f(c), f(d)
    while b - a > mp.mpf(10) ** -18:
        if fc < fd:
            b, d, fd = d, c, fc
            c = b - g * (b - a)
            fc = f(c)
        else:
            a, c, fc = c, d, fd
            d = a + g * (b - a)
            fd = f(d)
    return (a + b) / 2


with open(os.path.join(HERE, "guerrero_minimum.csv"), "w") as out:
    out.write("# Made by guerrero_minimum.py (mpmath %s, 40 digits).\n" % mp.__version__)
    out.write("series,group_length,lower,upper,where,minima,lambda,objective,objective_lower,objective_upper\n")
    for name, length in CASES:
        f = objective(load(name), length)
        for lower, upper in ((-1, 2), (-2, 3), (0, 1)):
            step = mp.mpf(upper - lower) / 300
            scan = [f(lower + i * step) for i in range(301)]
            minima = sum(1 for i in range(301)
                         if (i == 0 or scan[i] < scan[i - 1]) and (i == 300 or scan[i] < scan[i + 1]))
            best = min(range(301), key=lambda i: scan[i])
            lam = golden(f, lower + max(best - 1, 0) * step, lower + min(best + 1, 300) * step)
            where = "inside"
            for end, value in (("lower", lower), ("upper", upper)):
                if abs(lam - value) < mp.mpf(10) ** -15:
                    where, lam = end, mp.mpf(value)
            out.write(",".join([name, str(length), str(lower), str(upper), where, str(minima)] +
                               [mp.nstr(v, 20) for v in (lam, f(lam), scan[0], scan[300])]) + "\n")
