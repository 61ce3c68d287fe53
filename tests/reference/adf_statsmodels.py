#!/usr/bin/env python3
"""The augmented Dickey-Fuller test by statsmodels.tsa.stattools.adfuller, and its statistic in 60 digits.

    python3 tests/reference/adf_statsmodels.py       (from the root of the checkout; needs statsmodels, mpmath)

Like the library, adfuller compares all lags on the rows of the longest regression and then estimates the one
it chose on all the rows that one has. It counts one parameter less in AIC and BIC, a constant that cannot
move the minimum. Its trend starts at 1 instead of 2, which spans the same columns.
'exact' is the t ratio of the same regression from 60-digit normal equations: adfuller solves by a
pseudo-inverse, which loses digits when a level and a squared trend are nearly dependent.
"""
import csv
import math
import os
import warnings

import mpmath as mp
import numpy as np
import statsmodels
from statsmodels.tsa.stattools import adfuller

warnings.simplefilter("ignore")
mp.mp.dps = 60
HERE = os.path.dirname(os.path.abspath(__file__))
DATA = os.path.join(HERE, "..", "..", "data")
SERIES = ["airline_passengers", "bj_series_a", "bj_series_b", "bj_series_c", "bj_series_d", "bj_series_e",
          "bj_series_f", "co2_mauna_loa", "johnson_johnson", "lake_huron", "lynx", "nile",
          "nottingham_temperature", "sunspot_year", "uk_gas", "us_log_real_gnp", "us_real_gdp", "www_usage"]
REGRESSIONS = ["c", "ct", "ctt", "n"]  # in the library's numbering


def load(name):
    with open(os.path.join(DATA, name + ".csv")) as f:
        return np.array([float(row["value"]) for row in csv.DictReader(f)])


def exact_statistic(x, lags, regression):
    x = [mp.mpf(float(v)) for v in x]
    d = [b - a for a, b in zip(x, x[1:])]
    rows = []
    for t in range(lags, len(d)):
        row = [x[t]]
        row += {"n": [], "c": [mp.mpf(1)], "ct": [mp.mpf(1), mp.mpf(t)],
                "ctt": [mp.mpf(1), mp.mpf(t), mp.mpf(t) ** 2]}[regression]
        rows.append(row + [d[t - i] for i in range(1, lags + 1)] + [d[t]])
    m = len(rows[0]) - 1
    gram = [[mp.fsum(r[i] * r[j] for r in rows) if j >= i else None for j in range(m + 1)] for i in range(m + 1)]
    a = mp.matrix(m, m)
    for i in range(m):
        for j in range(m):
            a[i, j] = gram[min(i, j)][max(i, j)]
    right = mp.matrix([gram[i][m] for i in range(m)])
    b = mp.lu_solve(a, right)
    unit = mp.matrix([1] + [0] * (m - 1))
    first = mp.lu_solve(a, unit)[0]
    rss = gram[m][m] - mp.fsum(b[i] * right[i] for i in range(m))
    return b[0] / mp.sqrt(rss / (len(rows) - m) * first)


with open(os.path.join(HERE, "adf_statsmodels.csv"), "w") as out:
    out.write("# Made by adf_statsmodels.py (statsmodels %s). method 3: the lag as given.\n" % statsmodels.__version__)
    out.write("series,regression,method,lags,statistic,exact,p,lag,observations,critical1,critical5,critical10\n")
    for name in SERIES:
        x = load(name)
        default = int(12 * (len(x) / 100) ** 0.25)
        for number, regression in enumerate(REGRESSIONS):
            for method, lags in ((0, default), (1, default), (0, 4), (1, 4), (3, 0), (3, 1), (3, 5), (3, default)):
                autolag = {0: "AIC", 1: "BIC", 3: None}[method]
                r = adfuller(x, maxlag=lags, regression=regression, autolag=autolag)
                exact = exact_statistic(x, r[2], regression)
                critical = [r[4][level] for level in ("1%", "5%", "10%")]
                out.write(",".join([name, str(number), str(method), str(lags), repr(float(r[0])), mp.nstr(exact, 20),
                                    repr(float(r[1])), str(r[2]), str(r[3])] + [repr(float(c)) for c in critical]) + "\n")
