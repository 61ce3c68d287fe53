#!/usr/bin/python3
"""Exact Gaussian log likelihoods from the dense covariance matrix, to 60 digits.

Writes arma_likelihood_dense.csv. The autocovariances are the sums of products of the psi weights, carried
until the weights are below 1e-70; the density is log det and quadratic form of the Cholesky factor of the
whole n x n covariance matrix. Neither the Yule-Walker system nor an innovations recursion is used.

Signs are 1 - sum on both sides. Only models without a product of a regular and a seasonal coefficient on the
same side. `parameters` is in record order with sigma^2 last; `series` names a file of data/ of which the first
`count` values are used, `shift` is subtracted from each value first (in double arithmetic).
"""
import csv
import os
from mpmath import mp, mpf, matrix, log, pi, nstr

mp.dps = 60
here = os.path.dirname(os.path.abspath(__file__))


def load(name, count, shift):
    with open(os.path.join(here, "..", "..", "data", name + ".csv")) as f:
        rows = list(csv.DictReader(line for line in f if not line.startswith("#")))
    return [mpf(float(r["value"]) - shift) for r in rows[:count]]


def difference(x, lag):
    return [x[i + lag] - x[i] for i in range(len(x) - lag)]


def polynomial(regular, seasonal, s):
    """Lag -> coefficient of 1 - sum; no cross terms allowed."""
    assert not (regular and seasonal)
    out = {i + 1: mpf(v) for i, v in enumerate(regular)}
    out.update({(i + 1) * s: mpf(v) for i, v in enumerate(seasonal)})
    return out


def autocovariances(ar, ma, lags):
    psi = [mpf(1)]
    span = max(list(ar) + list(ma) + [1])
    quiet = 0
    while quiet <= span:
        t = len(psi)
        v = -ma.get(t, mpf(0)) + sum(a * psi[t - lag] for lag, a in ar.items() if lag <= t)
        psi.append(v)
        quiet = quiet + 1 if abs(v) < mpf(10) ** -70 else 0
        assert t < 20000
    return [mp.fsum(psi[j] * psi[j + h] for j in range(len(psi) - h)) if h < len(psi) else mpf(0)
            for h in range(lags)]


def log_likelihood(w, ar, ma, sigma2):
    n = len(w)
    g = autocovariances(ar, ma, n)
    L = [[mpf(0)] * n for _ in range(n)]
    z = []
    logdet = mpf(0)
    for i in range(n):
        for j in range(i + 1):
            v = g[i - j] - mp.fdot(L[i][:j], L[j][:j])
            L[i][j] = mp.sqrt(v) if i == j else v / L[j][j]
        z.append((w[i] - mp.fdot(L[i][:i], z)) / L[i][i])
        logdet += 2 * log(L[i][i])
    quadratic = mp.fdot(z, z)
    return -(n * log(2 * pi * sigma2) + logdet + quadratic / sigma2) / 2


# series, count, shift, constant, (p, d, q, P, D, Q, s), parameters in record order and sigma2
cases = [
    ("lake_huron", 98, 579.0, 0, (1, 0, 0, 0, 0, 0, 0), [0.84, 0.51]),
    ("lake_huron", 98, 579.0, 0, (2, 0, 0, 0, 0, 0, 0), [1.05, -0.26, 0.47]),
    ("lake_huron", 98, 0.0, 1, (2, 0, 0, 0, 0, 0, 0), [1.05, -0.26, 0.47]),
    ("lake_huron", 98, 0.0, 1, (1, 0, 1, 0, 0, 0, 0), [0.74, -0.32, 0.48]),
    ("lake_huron", 98, 0.0, 0, (0, 1, 1, 0, 0, 0, 0), [0.2, 0.55]),
    ("lake_huron", 98, 0.0, 1, (5, 0, 5, 0, 0, 0, 0),
     [0.4, 0.2, -0.1, 0.05, 0.02, 0.3, -0.1, 0.05, 0.02, -0.01, 0.6]),
    ("nile", 100, 919.0, 0, (0, 0, 1, 0, 0, 0, 0), [-0.4, 23000.0]),
    ("nile", 100, 0.0, 0, (0, 1, 1, 0, 0, 0, 0), [0.73, 20600.0]),
    ("nile", 100, 0.0, 0, (0, 1, 2, 0, 0, 0, 0), [0.6, 0.1, 20600.0]),
    ("nile", 100, 0.0, 1, (1, 1, 1, 0, 0, 0, 0), [0.25, 0.87, 19800.0]),
    ("nile", 60, 0.0, 0, (0, 2, 2, 0, 0, 0, 0), [1.2, -0.3, 25000.0]),
    ("nile", 40, 0.0, 0, (3, 1, 0, 0, 0, 0, 0), [-0.4, -0.2, -0.1, 20000.0]),
    ("lynx", 100, 1500.0, 0, (4, 0, 0, 0, 0, 0, 0), [1.1, -0.7, 0.15, -0.2, 750000.0]),
    ("lynx", 90, 0.0, 1, (2, 0, 3, 0, 0, 0, 0), [1.3, -0.7, 0.1, -0.2, 0.3, 740000.0]),
    ("lynx", 3, 1500.0, 0, (4, 0, 0, 0, 0, 0, 0), [1.1, -0.7, 0.15, -0.2, 750000.0]),
    ("lynx", 1, 1500.0, 0, (2, 0, 1, 0, 0, 0, 0), [1.1, -0.7, 0.15, 750000.0]),
    ("lynx", 2, 1500.0, 0, (1, 0, 4, 0, 0, 0, 0), [0.6, 0.3, 0.2, -0.1, 0.1, 750000.0]),
    ("lynx", 6, 1500.0, 0, (5, 0, 1, 0, 0, 0, 0), [0.5, 0.1, 0.05, -0.1, 0.1, 0.3, 750000.0]),
    ("www_usage", 100, 0.0, 0, (3, 1, 0, 0, 0, 0, 0), [1.15, -0.66, 0.34, 9.4]),
    ("www_usage", 100, 0.0, 0, (1, 1, 1, 0, 0, 0, 0), [0.65, -0.53, 9.8]),
    ("us_accidental_deaths", 72, 0.0, 0, (0, 1, 0, 0, 1, 1, 12), [0.55, 100000.0]),
    ("us_accidental_deaths", 72, 0.0, 0, (0, 1, 1, 0, 1, 0, 12), [0.43, 100000.0]),
    ("us_accidental_deaths", 72, 0.0, 1, (2, 0, 0, 0, 1, 1, 12), [0.5, 0.2, 0.5, 90000.0]),
    ("us_accidental_deaths", 72, 0.0, 0, (0, 0, 2, 1, 1, 0, 12), [-0.5, -0.2, -0.4, 90000.0]),
    ("us_accidental_deaths", 72, 0.0, 1, (0, 0, 1, 2, 0, 0, 12), [-0.4, 0.5, 0.2, 300000.0]),
    ("us_accidental_deaths", 20, 8700.0, 0, (0, 0, 0, 1, 0, 1, 12), [0.6, 0.2, 900000.0]),
    ("us_accidental_deaths", 72, 8700.0, 0, (0, 0, 0, 2, 0, 1, 4), [0.4, -0.3, 0.2, 900000.0]),
    ("us_accidental_deaths", 50, 8700.0, 0, (3, 0, 0, 0, 0, 2, 6), [0.6, -0.1, 0.1, 0.3, 0.2, 900000.0]),
    ("johnson_johnson", 84, 0.0, 0, (0, 1, 0, 1, 1, 0, 4), [-0.3, 0.17]),
    ("johnson_johnson", 84, 0.0, 0, (1, 1, 0, 0, 1, 0, 4), [-0.6, 0.2]),
    ("johnson_johnson", 84, 0.0, 0, (0, 1, 3, 1, 1, 0, 4), [0.6, 0.1, -0.2, -0.3, 0.17]),
    ("airline_passengers", 60, 0.0, 0, (0, 1, 0, 0, 1, 1, 12), [0.4, 100.0]),
    ("airline_passengers", 45, 0.0, 0, (0, 1, 0, 0, 2, 1, 12), [0.4, 100.0]),
    ("sunspot_year", 100, 0.0, 1, (2, 0, 0, 0, 0, 0, 0), [1.34, -0.65, 240.0]),
    ("sunspot_year", 100, 47.0, 0, (0, 0, 5, 0, 0, 0, 0), [-1.1, -0.8, -0.4, -0.1, 0.1, 400.0]),
    ("sunspot_year", 60, 47.0, 0, (2, 0, 0, 0, 0, 1, 11), [1.2, -0.5, -0.3, 300.0]),
]

with open(os.path.join(here, "arma_likelihood_dense.csv"), "w") as out:
    out.write("# exact log likelihoods from the dense covariance; made by arma_likelihood_dense.py\n")
    out.write("series,count,shift,constant,p,d,q,P,D,Q,s,parameters,log_likelihood\n")
    for name, count, shift, constant, (p, d, q, P, D, Q, s), parameters in cases:
        w = load(name, count, shift)
        for _ in range(D):
            w = difference(w, s)
        for _ in range(d):
            w = difference(w, 1)
        if constant:
            mean = mp.fsum(w) / len(w)
            w = [v - mean for v in w]
        ar = polynomial(parameters[:p], parameters[p + q:p + q + P], s)
        ma = polynomial(parameters[p:p + q], parameters[p + q + P:p + q + P + Q], s)
        L = log_likelihood(w, ar, ma, mpf(parameters[-1]))
        text = ";".join(repr(v) for v in parameters)
        out.write(f"{name},{count},{shift!r},{constant},{p},{d},{q},{P},{D},{Q},{s},{text},{float(L).hex()}\n")
        print(name, (p, d, q, P, D, Q, s), nstr(L, 20))
