#!/usr/bin/python3
"""What a candidate of the order search scores once its fit has answered, in plain Python floats, one operation
at a time; nothing is shared with the library.

A row gives the series, the differences, the orders, whether the search asks for a constant, what the fit routine
answers (0, or 1: refitted without the constant) and which parameters it leaves: MA, seasonal MA, sigma squared.
There is no autoregressive side, so the linear system has one unknown and every bit of the deviance is determined.
The likelihood is written down for that case alone: W is the series itself, its covariances are those of a moving
average.

Writes arma_search_bits.csv; numbers that are compared for bits are hexadecimal floats.
"""
import csv
import math
import os

here = os.path.dirname(os.path.abspath(__file__))


def load(name):
    """A file of data/, or `lcg:SEED:COUNT`: 64-bit congruential numbers as fractions, less a half, times 8."""
    if name.startswith("lcg:"):
        state, count = map(int, name.split(":")[1:])
        out = []
        while len(out) < count:
            state = (state * 6364136223846793005 + 1442695040888963407) % 2 ** 64
            out.append(((state >> 11) * 2.0 ** -53 - 0.5) * 8.0)
        return out
    with open(os.path.join(here, "..", "..", "data", name + ".csv")) as f:
        return [float(r["value"]) for r in csv.DictReader(line for line in f if not line.startswith("#"))]


def differenced(x, d, D, s, centre):
    for _ in range(D):
        x = [b - a for a, b in zip(x, x[s:])]
    for _ in range(d):
        x = [b - a for a, b in zip(x, x[1:])]
    if not x or not centre:
        return x
    mean, c = x[0], 0.0
    for i, value in enumerate(x[1:], start=2):
        c = c + (value - mean) / i
        t = mean + c
        c = c - (t - mean)
        mean = t
    return [value - mean for value in x]


def multiplied_out(u, U, s):
    b = u + [0.0] * (s * len(U))
    if s >= 1:
        for i, seasonal in enumerate(U):
            b[(i + 1) * s - 1] += seasonal
            for j, regular in enumerate(u):
                b[(i + 1) * s + j] += regular * seasonal
    return b


def added(terms):
    total = 0.0
    for term in terms:
        total += term
    return total


def deviance(w, b, sigma2):
    n, qa = len(w), len(b)
    # Rows before m = qa come from the general solution (psi = -b here), the others from the moving average.
    psi = [0.0 - v for v in b]
    raw = [1.0 - added(b[k] * psi[k] for k in range(qa))]
    raw += [-b[h - 1] - added(b[k] * psi[k - h] for k in range(h, qa)) for h in range(1, qa + 1)]
    ma = [1.0 + added(v * v for v in b)]
    ma += [-b[h - 1] + added(b[h + j] * b[j] for j in range(qa - h)) for h in range(1, qa + 1)]

    def kappa(i, j):
        if i - j > qa:
            return 0.0
        return ma[i - j] if i >= qa and j >= qa else raw[i - j]

    rows, r, e = [], [], []
    determinant = quadratic = None
    for i in range(n):
        row, A, V = [], None, None
        for j in range(i):
            value = (kappa(i, j) - added(rows[j][k] * row[k] * r[k] for k in range(j))) / r[j]
            row.append(value)
            A = e[j] * value if A is None else A + value * e[j]
            V = value * value * r[j] if V is None else V + value * value * r[j]
        rows.append(row)
        e.append(w[i] if i == 0 else w[i] - A if i < qa else w[i] - (0.0 + A))
        r.append(kappa(i, i) if i == 0 else kappa(i, i) - V)
        determinant = r[i] if i == 0 else determinant * r[i]
        quadratic = w[0] * w[0] / r[0] if i == 0 else quadratic + e[i] * e[i] / r[i]
    if sigma2 <= 0.0:
        return math.nan
    return n * (math.log(sigma2) + 1.8378770664093456) + math.log(determinant) + quadratic / sigma2


def scores(series, constant, status, d, q, D, Q, s, v):
    period = 0 if D + Q < 1 else s
    active = constant if status == 0 else 0
    w = differenced(load(series), d, D, period, bool(active))
    if not w or not math.isfinite(v[0]):
        return len(w), None, [math.nan] * 4
    dev = deviance(w, multiplied_out(v[:q], v[q:q + Q], period), v[q + Q])
    N = float(len(w))
    k = float(q + Q + 2 if active else q + Q + 1)
    spare = N - (1.0 + k)
    penalty = 2.0 * k * N / spare if spare != 0.0 else math.inf
    return len(w), int(k), [-0.5 * dev, penalty + dev, 2.0 * k + dev, k * math.log(N) + dev]


cases = [  # series, constant, status, d, q, D, Q, s, parameters
    ("lcg:1:40", 0, 0, 0, 1, 0, 0, 0, [0.4, 5.25]),
    ("lcg:2:40", 1, 0, 0, 1, 0, 0, 0, [0.4, 5.25]),
    ("lcg:2:40", 1, 1, 0, 1, 0, 0, 0, [0.4, 5.25]),
    ("lcg:3:61", 1, 0, 1, 2, 0, 0, 0, [1.1, -0.35, 6.0]),
    ("lcg:3:61", 1, 1, 1, 2, 0, 0, 0, [1.1, -0.35, 6.0]),
    ("lcg:4:50", 0, 0, 2, 2, 0, 0, 12, [1.3, -0.5, 6.25]),
    ("lcg:5:33", 1, 0, 1, 0, 0, 0, 0, [9.5]),
    ("lcg:5:33", 0, 0, 1, 0, 0, 0, 0, [9.5]),
    ("lcg:5:33", 1, 1, 1, 0, 0, 0, 0, [9.5]),
    ("lcg:6:72", 0, 0, 1, 1, 1, 1, 12, [0.4, 0.6, 7.0]),
    ("lcg:6:72", 1, 0, 0, 1, 1, 1, 12, [0.4, 0.6, 7.0]),
    ("lcg:7:60", 1, 0, 0, 2, 0, 2, 4, [0.3, 0.1, 0.5, -0.2, 5.0]),
    ("lcg:7:60", 1, 1, 0, 2, 0, 2, 4, [0.3, 0.1, 0.5, -0.2, 5.0]),
    ("lcg:8:45", 0, 0, 0, 1, 1, 0, 1, [0.9, 8.0]),
    ("airline_passengers", 0, 0, 1, 1, 1, 1, 12, [0.3, 0.1, 137.0]),
    ("nile", 1, 0, 1, 1, 0, 0, 0, [0.73, 20600.0]),
    ("lcg:9:7", 1, 0, 0, 4, 0, 0, 0, [0.3, -0.2, 0.15, 0.1, 5.0]),  # N = 1 + k: an infinite AICc
    ("lcg:9:6", 1, 0, 0, 4, 0, 0, 0, [0.3, -0.2, 0.15, 0.1, 5.0]),  # N = k: a negative penalty
    ("lcg:9:6", 0, 0, 0, 5, 0, 0, 0, [0.3, -0.2, 0.15, 0.1, -0.1, 5.0]),
    ("lcg:9:2", 1, 0, 1, 0, 0, 0, 0, [5.0]),  # one point, centred
    ("lcg:9:30", 1, 0, 0, 1, 0, 0, 0, [0.5, -5.0]),  # no logarithm of a negative variance
    ("lcg:9:30", 1, 1, 0, 1, 0, 0, 0, [math.inf, 5.0]),  # the first parameter tells that the fit broke
    ("lcg:9:30", 0, 0, 0, 1, 0, 0, 0, [math.nan, 5.0]),
    ("lcg:9:12", 0, 0, 0, 1, 1, 0, 12, [0.5, 5.0]),  # nothing remains
    ("lcg:10:90", 0, 0, 0, 5, 0, 5, 2,
     [0.1, -0.1, 0.05, 0.2, -0.1, 0.3, 0.1, 0.05, -0.05, 0.1, 5.5]),
]


def hexed(v):
    return "nan" if v != v else float(v).hex()


def main():
    with open(os.path.join(here, "arma_search_bits.csv"), "w") as out:
        out.write("# made by arma_search_bits.py\n")
        out.write("series,constant,status,d,q,D,Q,s,parameters,N,k,log_likelihood,aicc,aic,bic\n")
        for series, constant, status, d, q, D, Q, s, v in cases:
            N, k, numbers = scores(series, constant, status, d, q, D, Q, s, v)
            out.write(f"{series},{constant},{status},{d},{q},{D},{Q},{s},{';'.join(map(repr, v))},"
                      f"{N},{k or 0},{','.join(map(hexed, numbers))}\n")


main()
