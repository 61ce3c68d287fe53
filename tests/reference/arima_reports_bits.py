#!/usr/bin/python3
"""The likelihood, the Ljung-Box table and the random walk once more, in plain Python floats, one addition at
a time; nothing is shared with the library.

Writes four tables of hexadecimal floats:
  arima_reports_bits_likelihood.csv   deviance and log likelihood; `exact` is 1 where the linear system has one
                                      unknown (no autoregressive side), so that every bit is determined
  arima_reports_bits_ljung_box.csv    statistic and degrees of freedom per lag; p to 50 digits, rounded once
  arima_reports_bits_random_walk.csv  drift, variance, summary and forecasts of the closed-form model
  arima_reports_bits_criteria.csv     AICc, AIC, BIC from parameter count, observations and -2 log L
Series are either files of data/ or the text of a generator: `lcg:SEED:COUNT`, see generated().
"""
import csv
import math
import os
from mpmath import mp, mpf, gammainc

mp.dps = 50
here = os.path.dirname(os.path.abspath(__file__))


def generated(seed, count):
    """64-bit congruential numbers, the top 53 bits as a fraction, less a half, times 8."""
    state, out = seed, []
    for _ in range(count):
        state = (state * 6364136223846793005 + 1442695040888963407) % 2 ** 64
        out.append(((state >> 11) * 2.0 ** -53 - 0.5) * 8.0)
    return out


def load(name):
    if name.startswith("lcg:"):
        _, seed, count = name.split(":")
        return generated(int(seed), int(count))
    with open(os.path.join(here, "..", "..", "data", name + ".csv")) as f:
        return [float(r["value"]) for r in csv.DictReader(line for line in f if not line.startswith("#"))]


def hexed(v):
    return "nan" if v != v else float(v).hex()


# ---- the likelihood ------------------------------------------------------------------------------------


def running_mean(x):
    mean, c = x[0], 0.0
    for i in range(1, len(x)):
        c = c + (x[i] - mean) / (i + 1)
        t = mean + c
        c = c - (t - mean)
        mean = t
    return mean


def difference_series(series, d, D, s, centre):
    n0 = len(series)
    n = n0 - (s * D + d)
    if n < 1:
        return []
    x = list(series)
    for _ in range(D):
        for i in range(0, n0 - s):
            x[i] = x[i + s] - x[i]
    for _ in range(d):
        for i in range(0, n0 - 1):
            x[i] = x[i + 1] - x[i]
    x = x[:n]
    if centre:
        mean = running_mean(x)
        x = [v - mean for v in x]
    return x


def expand(u, U, s):
    k, K = len(u), len(U)
    out = [0.0] * (k + s * K)
    out[:k] = u
    if s >= 1 and K >= 1:
        for i in range(K):
            out[i * s + s - 1] += U[i]
            for j in range(k):
                out[i * s + s + j] += u[j] * U[i]
    return out


def cross_covariance(ar, ma):
    pa, qa = len(ar), len(ma)
    psi = [0.0] * qa
    for i in range(qa):
        total = 0.0
        if i < min(pa, qa):
            for j in range(i):
                total += ar[j] * psi[i - 1 - j]
            psi[i] = (ar[i] - ma[i]) + total
        else:
            for j in range(pa):
                total += ar[j] * psi[i - 1 - j]
            psi[i] = total - ma[i]
    g = []
    total = 0.0
    for k in range(qa):
        total += ma[k] * psi[k]
    g.append(1.0 - total)
    for h in range(1, qa + 1):
        total = 0.0
        for k in range(h, qa):
            total += ma[k] * psi[k - h]
        g.append(-ma[h - 1] - total)
    return g


def solve(A, b):
    """Gaussian elimination with partial pivoting; a zero pivot is a failure."""
    n = len(b)
    A, b = [row[:] for row in A], b[:]
    for s in range(n):
        best = max(range(s, n), key=lambda r: abs(A[r][s]))
        if A[best][s] == 0.0:
            return None
        A[s], A[best], b[s], b[best] = A[best], A[s], b[best], b[s]
        for r in range(s + 1, n):
            f = A[r][s] / A[s][s]
            for c in range(s, n):
                A[r][c] -= f * A[s][c]
            b[r] -= f * b[s]
    for s in reversed(range(n)):
        for c in range(s + 1, n):
            b[s] -= A[s][c] * b[c]
        b[s] /= A[s][s]
    return b


def autocovariance(ar, ma, L):
    pa = len(ar)
    g = cross_covariance(ar, ma)
    rhs = [0.0] * max(pa + 1, L + 1)
    for i in range(min(len(g), len(rhs))):
        rhs[i] = g[i]
    A = [[0.0] * (pa + 1) for _ in range(pa + 1)]
    A[0] = [1.0] + [-v for v in ar]
    for r in range(1, pa + 1):
        for k in range(0, pa - r + 1):
            A[r][k] = A[0][r + k]
        for k in range(1, r + 1):
            A[r][k] += A[0][r - k]
    head = solve(A, rhs[:pa + 1])
    if head is None:
        return []
    gamma = head + rhs[pa + 1:]
    if L + 1 < pa + 1:
        return gamma[:L + 1]
    for k in range(pa + 1, L + 1):
        total = 0.0
        for j in range(1, pa + 1):
            total += ar[j - 1] * gamma[k - j]
        gamma[k] = rhs[k] + total
    return gamma


def innovation_covariance(ar, ma, n):
    pa, qa = len(ar), len(ma)
    m = max(pa, qa)
    L = min(m, n)
    gamma = autocovariance(ar, ma, L)
    if not gamma:
        return []
    kappa = [[0.0] * (i + 1) for i in range(n)]
    for i in range(L):
        for j in range(i + 1):
            kappa[i][j] = gamma[i - j]
    for i in range(m, min(2 * m, n)):
        for h in range(qa, -1, -1):
            total = 0.0
            for k in range(1, pa + 1):
                total += ar[k - 1] * gamma[abs(h - k)]
            kappa[i][i - h] = gamma[h] - total
    c = [0.0] * (qa + 1)
    total = 0.0
    for k in range(qa):
        total += ma[k] * ma[k]
    c[0] = 1.0 + total
    for h in range(1, qa + 1):
        total = 0.0
        for j in range(0, qa - h):
            total += ma[h + j] * ma[j]
        c[h] = -ma[h - 1] + total
    for i in range(m, n):
        for j in range(max(m, i - qa), i + 1):
            kappa[i][j] = c[i - j]
    return kappa


def logarithm(x):
    if x != x or x < 0.0:
        return math.nan
    return -math.inf if x == 0.0 else math.log(x)


def deviance(w, ar, ma, sigma2):
    n = len(w)
    kappa = innovation_covariance(ar, ma, n)
    if not kappa:
        return math.nan
    k0 = kappa[0][0]
    P = k0
    S = w[0] * w[0] / k0
    e = list(w)
    r = [k0] * n
    pa, qa = len(ar), len(ma)
    m = max(pa, qa)
    M = max(1, min(m, n))
    theta = [[0.0] * i for i in range(n)]
    for i in range(1, n):
        B = 0.0
        if i >= M:
            for k in range(1, pa + 1):
                B += ar[k - 1] * w[i - k]
        theta[i][0] = kappa[i][0] / k0
        A = e[0] * theta[i][0]
        V = theta[i][0] * theta[i][0] * k0
        for j in range(1, i):
            total = 0.0
            for k in range(j):
                total += theta[j][k] * theta[i][k] * r[k]
            theta[i][j] = (kappa[i][j] - total) / r[j]
            A = A + theta[i][j] * e[j]
            V = V + theta[i][j] * theta[i][j] * r[j]
        e[i] = w[i] - A if i < M else w[i] - (B + A)
        r[i] = kappa[i][i] - V
        P = P * r[i]
        S = S + e[i] * e[i] / r[i]
    return n * (logarithm(sigma2) + 1.8378770664093456) + logarithm(P) + S / sigma2


likelihood_cases = [  # series, constant, orders, parameters in record order with sigma^2
    ("lcg:1:40", 0, (0, 0, 0, 0, 0, 0, 0), [1.75]),
    ("lcg:2:41", 1, (0, 0, 0, 0, 0, 0, 0), [5.5]),
    ("lcg:3:60", 0, (0, 0, 1, 0, 0, 0, 0), [0.4, 4.0]),
    ("lcg:4:60", 1, (0, 0, 1, 0, 0, 0, 0), [-0.7, 4.5]),
    ("lcg:5:80", 0, (0, 1, 2, 0, 0, 0, 0), [1.1, -0.35, 6.0]),
    ("lcg:6:80", 1, (0, 2, 2, 0, 0, 0, 0), [1.3, -0.5, 6.25]),
    ("lcg:7:90", 0, (0, 0, 5, 0, 0, 0, 0), [0.3, -0.2, 0.15, 0.1, -0.25, 5.0]),
    ("lcg:8:4", 0, (0, 0, 5, 0, 0, 0, 0), [0.3, -0.2, 0.15, 0.1, -0.25, 5.0]),
    ("lcg:9:1", 0, (0, 0, 3, 0, 0, 0, 0), [0.3, -0.2, 0.15, 2.0]),
    ("lcg:10:5", 0, (0, 0, 5, 0, 0, 0, 0), [0.3, -0.2, 0.15, 0.1, -0.25, 5.0]),
    ("lcg:11:6", 1, (0, 0, 5, 0, 0, 0, 0), [0.3, -0.2, 0.15, 0.1, -0.25, 5.0]),
    ("lcg:12:100", 0, (0, 1, 1, 0, 1, 1, 12), [0.4, 0.6, 7.0]),
    ("airline_passengers", 0, (0, 1, 1, 0, 1, 1, 12), [0.3, 0.1, 137.0]),
    ("airline_passengers", 1, (0, 1, 2, 0, 1, 2, 12), [0.3, 0.05, 0.1, -0.2, 137.0]),
    ("lcg:13:50", 1, (0, 0, 1, 0, 2, 1, 4), [0.5, 0.5, 9.0]),
    ("lcg:14:70", 0, (0, 0, 2, 0, 0, 3, 3), [0.5, -0.1, 0.3, 0.2, -0.1, 4.0]),
    ("lcg:15:30", 0, (0, 0, 1, 0, 0, 1, 0), [0.5, 0.5, 4.0]),
    ("lcg:16:33", 0, (0, 1, 0, 0, 0, 0, 0), [8.0]),
    ("lcg:17:34", 1, (0, 1, 0, 0, 0, 0, 0), [8.5]),
    ("lcg:18:90", 0, (0, 0, 1, 0, 0, 0, 0), [1.6, 4.0]),
    ("lcg:19:60", 1, (1, 0, 0, 0, 0, 0, 0), [0.6, 5.0]),
    ("lcg:20:60", 0, (2, 0, 1, 0, 0, 0, 0), [0.6, -0.3, 0.2, 5.0]),
    ("lcg:21:70", 0, (1, 1, 1, 1, 1, 1, 4), [0.4, 0.3, 0.2, 0.5, 6.0]),
    ("lcg:22:70", 1, (5, 0, 5, 0, 0, 0, 0), [0.2, 0.1, -0.1, 0.05, -0.2, 0.3, 0.1, -0.1, 0.1, 0.1, 5.0]),
    ("lcg:23:70", 0, (2, 0, 1, 2, 0, 1, 12), [0.4, -0.2, 0.3, 0.3, 0.2, 0.4, 5.0]),
    ("lcg:24:5", 0, (2, 0, 1, 2, 0, 1, 12), [0.4, -0.2, 0.3, 0.3, 0.2, 0.4, 5.0]),
    ("lcg:25:40", 0, (1, 0, 0, 1, 0, 0, 0), [0.4, 0.9, 5.0]),
    ("lcg:26:50", 0, (1, 0, 3, 0, 0, 0, 0), [0.7, 0.2, 0.3, -0.2, 5.0]),
    ("lcg:27:50", 0, (3, 0, 1, 0, 0, 0, 0), [0.7, 0.2, -0.3, -0.2, 5.0]),
]

with open(os.path.join(here, "arima_reports_bits_likelihood.csv"), "w") as out:
    out.write("# made by arima_reports_bits.py\n")
    out.write("series,constant,p,d,q,P,D,Q,s,parameters,exact,deviance,log_likelihood\n")
    for name, constant, (p, d, q, P, D, Q, s), v in likelihood_cases:
        w = difference_series(load(name), d, D, s, bool(constant))
        ar = expand(v[:p], v[p + q:p + q + P], s)
        ma = expand(v[p:p + q], v[p + q + P:p + q + P + Q], s)
        dev = deviance(w, ar, ma, v[p + q + P + Q])
        out.write(f"{name},{constant},{p},{d},{q},{P},{D},{Q},{s},{';'.join(map(repr, v))},{int(not ar)},"
                  f"{hexed(dev)},{hexed(-0.5 * dev)}\n")

# ---- information criteria ------------------------------------------------------------------------------


def criteria(m, x, L):
    denominator = x - (1 + m)
    aicc = 2.0 * m * x / denominator + L if denominator != 0.0 else math.inf
    return aicc, 2.0 * m + L, m * math.log(x) + L


with open(os.path.join(here, "arima_reports_bits_criteria.csv"), "w") as out:
    out.write("# made by arima_reports_bits.py\nm,x,L,aicc,aic,bic\n")
    values = generated(77, 60)
    for i in range(60):
        m, x, L = float(1 + i % 11), float(2 + (i * 37) % 400), values[i] * 217.3
        out.write(",".join([hexed(v) for v in (m, x, L, *criteria(m, x, L))]) + "\n")

# ---- Ljung-Box -----------------------------------------------------------------------------------------


def pairwise(x):
    n = len(x)
    if n >= 128:
        half = math.floor(n * 0.5)
        return pairwise(x[:half]) + pairwise(x[half:])
    s = 0.0
    for i in range(0, n - 1, 2):
        s += x[i] + x[i + 1]
    if n % 2:
        s += x[n - 1]
    return s


def ljung_box(e, k, lags):
    N = len(e)
    use = [lag for lag in lags if lag < N]
    if not use:
        return []
    largest = use[-1]
    r = [math.nan] * largest
    mean = pairwise(e) / N
    squares = pairwise([(v - mean) * (v - mean) for v in e])
    if squares != 0.0:
        for lag in range(1, min(largest, N - 1) + 1):
            r[lag - 1] = pairwise([(e[t] - mean) * (e[t + lag] - mean) for t in range(N - lag)]) / squares
    rows, total, j = [], 0.0, 1
    for lag in use:
        while j <= lag:
            total += r[j - 1] * r[j - 1] / (N - j)
            j += 1
        df = lag - k
        if df > 0:
            statistic = float(N) * (float(N) + 2.0) * total
            p = math.nan if statistic != statistic else float(
                gammainc(mpf(df) / 2, mpf(statistic) / 2, mp.inf, regularized=True))
            rows.append((lag, statistic, float(df), p))
    return rows


ljung_cases = [  # residuals, parameter count, lags
    (f"lcg:{100 + i}:{n}", k, lags)
    for i, (n, k, lags) in enumerate([
        (13, 0, (12, 24, 36, 48)), (40, 2, (12, 24, 36, 48)), (49, 10, (12, 24, 36, 48)),
        (48, 1, (12, 24, 36, 48)), (127, 3, (12, 24, 36, 48)), (128, 3, (12, 24, 36, 48)),
        (129, 1, (12, 24, 36, 48)), (150, 0, (12, 24, 36, 48)), (255, 4, (12, 24, 36, 48)),
        (256, 4, (12, 24, 36, 48)), (257, 5, (12, 24, 36, 48)), (1000, 2, (12, 24, 36, 48)),
        (3001, 2, (12, 24, 36, 48)), (30, 1, (1, 2, 3, 10)), (20, 3, (3, 5, 19, 20)), (2, 0, (1, 2))])
]
with open(os.path.join(here, "arima_reports_bits_ljung_box.csv"), "w") as out:
    out.write("# made by arima_reports_bits.py\nseries,k,lags,lag,statistic,df,p\n")
    for name, k, lags in ljung_cases:
        for lag, statistic, df, p in ljung_box(load(name), k, lags):
            out.write(f"{name},{k},{';'.join(map(str, lags))},{lag},{hexed(statistic)},{hexed(df)},{hexed(p)}\n")

# ---- the random walk -----------------------------------------------------------------------------------


def random_walk(series, has_drift):
    n = len(series)
    residuals = [series[i + 1] - series[i] for i in range(n - 1)]
    drift = 0.0
    if has_drift:
        drift = running_mean(residuals)
        residuals = [v - drift for v in residuals]
    sigma2 = running_mean([v * v for v in residuals])
    if has_drift:
        sigma2 = sigma2 * (n - 1) / (n - 2)
    w = difference_series(series, 1, 0, 0, has_drift)
    L = -2.0 * (-0.5 * deviance(w, [], [], sigma2))
    x, m = float(n - 1), 2.0 if has_drift else 1.0
    squares = sigma2 * (x - m)
    return drift, sigma2, residuals, [x - m, squares, sigma2, squares / x, *criteria(m, x, L)]


with open(os.path.join(here, "arima_reports_bits_random_walk.csv"), "w") as out:
    out.write("# made by arima_reports_bits.py\n")
    out.write("series,drifting,drift,sigma2,first_residual,last_residual,summary,origin,forecasts,errors\n")
    for name in ("nile", "lake_huron", "airline_passengers", "www_usage", "lcg:201:3", "lcg:202:4",
                 "lcg:203:100", "lcg:204:731"):
        for has_drift in (0, 1):
            series = load(name)
            drift, sigma2, residuals, summary = random_walk(series, has_drift)
            origin = (2 * len(series)) // 3 + 1
            forecasts, errors = [], []
            for i in range(7):
                f = series[origin - 1]
                if has_drift:
                    f += (i + 1) * drift
                forecasts.append(f)
                errors.append(math.sqrt((i + 1) * sigma2))
            out.write(",".join([name, str(has_drift), hexed(drift), hexed(sigma2), hexed(residuals[0]),
                                hexed(residuals[-1]), ";".join(map(hexed, summary)), str(origin),
                                ";".join(map(hexed, forecasts)), ";".join(map(hexed, errors))]) + "\n")
