#!/usr/bin/env python3
"""Writes arima_fits_uls.csv: unconditional least squares fits of ARIMA models to series of data/.

The sum of squares of the unconditional method is w' V^-1 w, V the covariance of the differenced series for unit
shocks (Box & Jenkins 1976, 7.1). Here V is dense, from statsmodels' autocovariances, and the minimum is
found by SciPy: nothing of backcasting or of numerical derivatives of residuals is in it. Columns theta: AR,
seasonal AR, MA, seasonal MA in the 1 - b B convention, then the process mean of a model that has one.

    python3 tests/reference/arima_fits_uls.py > tests/reference/arima_fits_uls.csv
"""
import csv
import os

import numpy as np
from scipy.linalg import cho_factor, cho_solve, toeplitz
from scipy.optimize import minimize
from statsmodels.tsa.arima_process import arma_acovf

DATA = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..", "data")

CASES = [
    ("airline_passengers", "log", (0, 1, 1, 0, 1, 1, 12), 0),
    ("bj_series_a", "", (1, 0, 1, 0, 0, 0, 0), 1),
    ("bj_series_a", "", (0, 1, 1, 0, 0, 0, 0), 0),
    ("bj_series_b", "", (0, 1, 1, 0, 0, 0, 0), 0),
    ("bj_series_c", "", (1, 1, 0, 0, 0, 0, 0), 0),
    ("bj_series_c", "", (0, 2, 2, 0, 0, 0, 0), 0),
    ("bj_series_d", "", (1, 0, 0, 0, 0, 0, 0), 1),
    ("bj_series_e", "", (2, 0, 0, 0, 0, 0, 0), 1),
    ("bj_series_e", "", (3, 0, 0, 0, 0, 0, 0), 1),
    ("bj_series_f", "", (2, 0, 0, 0, 0, 0, 0), 1),
    ("lake_huron", "", (1, 0, 1, 0, 0, 0, 0), 1),
    ("lynx", "log", (2, 0, 0, 0, 0, 0, 0), 1),
    ("sunspot_year", "sqrt", (2, 0, 0, 0, 0, 0, 0), 1),
    ("www_usage", "", (1, 1, 1, 0, 0, 0, 0), 0),
    ("nile", "", (1, 0, 1, 0, 0, 0, 0), 1),
    ("us_accidental_deaths", "", (1, 1, 0, 1, 1, 0, 12), 0),
    ("uk_driver_deaths", "log", (0, 1, 1, 1, 1, 0, 12), 0),
    ("nottingham_temperature", "", (1, 0, 0, 2, 1, 0, 12), 0),
    ("johnson_johnson", "log", (0, 1, 1, 1, 1, 0, 4), 0),
    ("us_real_gdp", "log", (1, 1, 0, 1, 0, 0, 4), 1),
    ("us_real_gdp", "log", (2, 1, 1, 0, 0, 0, 0), 1),
]


def polynomials(theta, orders):
    p, _, q, P, _, Q, S = orders

    def side(regular, seasonal):
        a = np.concatenate([[1.0], -np.asarray(regular)])
        b = np.zeros(len(seasonal) * S + 1)
        b[0] = 1.0
        for i, value in enumerate(seasonal):
            b[(i + 1) * S] = -value
        return np.convolve(a, b)

    return (side(theta[:p], theta[p:p + P]), side(theta[p + P:p + P + q], theta[p + P + q:p + P + q + Q]))


def main():
    print("# Made by arima_fits_uls.py; do not edit. squares: w' V^-1 w at the minimum.")
    print("series,transform,orders,constant,theta,squares")
    for series, transform, orders, constant in CASES:
        with open(os.path.join(DATA, series + ".csv")) as f:
            z = np.array([float(row["value"]) for row in csv.DictReader(f)])
        if transform:
            z = getattr(np, transform)(z)
        for _ in range(orders[4]):
            z = z[orders[6]:] - z[:-orders[6]]
        for _ in range(orders[1]):
            z = z[1:] - z[:-1]
        k = orders[0] + orders[2] + orders[3] + orders[5]
        sd = z.std()

        def squares(theta):
            ar, ma = polynomials(theta, orders)
            if any(len(side) > 1 and np.abs(np.roots(side)).max() >= 1.0 for side in (ar, ma)):
                return 1e10 * sd * sd * len(z)  # not stationary or not invertible
            factor = cho_factor(toeplitz(arma_acovf(ar, ma, len(z))), lower=True)
            if constant:  # the mean by generalised least squares
                one = cho_solve(factor, np.ones(len(z)))
                squares.mean = one @ z / one.sum()
                w = z - squares.mean
            else:
                w = z
            return w @ cho_solve(factor, w)

        best = minimize(squares, np.full(k, 0.1), method="Nelder-Mead",
                        options=dict(xatol=1e-9, fatol=1e-12 * sd * sd * len(z), maxiter=20000, maxfev=20000))
        best = minimize(squares, best.x, method="Nelder-Mead",
                        options=dict(xatol=1e-10, fatol=1e-13 * sd * sd * len(z), maxiter=20000, maxfev=20000))
        value = squares(best.x)
        theta = list(best.x) + ([squares.mean] if constant else [])
        print(series, transform, " ".join(map(str, orders)), constant, " ".join(f"{x:.9g}" for x in theta),
              f"{value:.9g}", sep=",", flush=True)


if __name__ == "__main__":
    main()
