#!/usr/bin/env python3
"""Lags of the augmented Dickey-Fuller test by backward elimination, from separate least-squares fits.

    python3 tests/reference/adf_t_ratio.py       (from the root of the checkout; needs numpy, scipy)

For the rows of the longest regression, L = maximum, maximum - 1, ..., 0 lags are fitted one after the other by
numpy.linalg.lstsq; the first whose last column has a two-sided p-value below the significance ends it. (The
last fit, without lags, tests a deterministic column or the level and ends at 0 either way.) statsmodels'
autolag="t-stat" is another rule: it compares |t| with 1.6448536269514722 whatever the sample, and it does not
test the fit without lags. Its lag is given beside, as peer. margin is the distance of the nearest tail
probability from the half level: cases below 1e-6 are not written.
"""
import csv
import os
import warnings

import numpy as np
from scipy import stats
from statsmodels.tsa.stattools import adfuller

warnings.simplefilter("ignore")
HERE = os.path.dirname(os.path.abspath(__file__))
DATA = os.path.join(HERE, "..", "..", "data")
SERIES = ["airline_passengers", "bj_series_a", "bj_series_c", "bj_series_d", "bj_series_e", "bj_series_f", "johnson_johnson",
          "lake_huron", "lynx", "nile", "nottingham_temperature", "sunspot_year", "uk_gas", "us_log_real_gnp",
          "us_real_gdp", "www_usage"]


def load(name):
    with open(os.path.join(DATA, name + ".csv")) as f:
        return np.array([float(row["value"]) for row in csv.DictReader(f)])


def columns(x, lags, regression, rows):
    d = np.diff(x)
    n = len(d)
    y = d[n - rows:]
    t = np.arange(n - rows, n, dtype=float)
    t = (t - t.mean()) / t.std()
    parts = [x[n - rows:n]]
    parts += {0: [np.ones(rows)], 1: [np.ones(rows), t], 2: [np.ones(rows), t, t * t], 3: []}[regression]
    parts += [d[n - rows - i:n - i] for i in range(1, lags + 1)]
    return np.column_stack(parts), y


def select(x, maximum, regression, significance):
    half = 0.5 * significance if 0 < significance < 1 else 0.025
    rows = len(x) - 1 - maximum
    margin = 1.0
    for lags in range(maximum, -1, -1):
        a, y = columns(x, lags, regression, rows)
        scale = np.linalg.norm(a, axis=0)
        b, _, rank, _ = np.linalg.lstsq(a / scale, y, rcond=None)
        assert rank == a.shape[1]
        residuals = y - (a / scale) @ b
        df = rows - a.shape[1]
        inverse = np.linalg.inv(np.linalg.qr(a / scale)[1])
        t = b[-1] / np.sqrt(residuals @ residuals / df * (inverse[-1] @ inverse[-1]))
        tail = stats.t.sf(abs(t), df)
        if lags > 0:
            margin = min(margin, abs(tail - half))
        if half > tail:
            return lags, margin
    return 0, margin


def cases():
    for name in SERIES:
        x = load(name)
        default = int(12 * (len(x) / 100) ** 0.25)
        for regression in range(4):
            for maximum, significance in ((default, 0.05), (default, 0.1), (default, 0.01), (6, 0.05), (3, 0.3),
                                          (default, 1e-9), (1, 0.05)):
                yield name, len(x), regression, maximum, significance
    # Short stretches at the level that the normal 1.645 stands for: here the quantile of t matters.
    for name in SERIES:
        for count in (14, 16, 18, 20):
            for regression in range(4):
                yield name, count, regression, 3, 0.1


with open(os.path.join(HERE, "adf_t_ratio.csv"), "w") as out:
    out.write("# Made by adf_t_ratio.py. The first count observations of the series.\n")
    out.write("series,count,regression,lags,significance,lag,margin,peer\n")
    for name, count, regression, maximum, significance in cases():
        x = load(name)[:count]
        lag, margin = select(x, maximum, regression, significance)
        if margin < 1e-6 and significance > 1e-6:
            continue
        peer = adfuller(x, maxlag=maximum, regression=("c", "ct", "ctt", "n")[regression], autolag="t-stat")[2]
        out.write("%s,%d,%d,%d,%r,%d,%.3g,%d\n" % (name, count, regression, maximum, significance, lag, margin, peer))
