#!/usr/bin/env python3
"""Writes arima_fit_bits.csv: full fits of seasonal ARIMA models to the series of data/, to the last bit.

A second writing of the method in plain Python floats, made from its description and not from the library's
source: preparation, residual recursion with backcasts, Marquardt search, covariance, forecasts. One row per
fit; list columns hold hexadecimal floats separated by blanks. Needs nothing but the standard library; the
logarithms of the series are those of the C library.

    python3 tests/reference/arima_fit_bits.py > tests/reference/arima_fit_bits.csv
"""
import csv
import math
import os
import sys

DATA = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..", "data")
BIG = 1.001e18
NAN = float("nan")


def load(name, transform):
    with open(os.path.join(DATA, name + ".csv")) as f:
        values = [float(row["value"]) for row in csv.DictReader(f)]
    if transform == "log":
        return [math.log(v) for v in values]
    if transform == "sqrt":
        return [math.sqrt(v) for v in values]
    if transform == "zero":
        return [0.0 for v in values]
    if transform == "growth":  # doubles from one value to the next
        return [math.ldexp(1.0, i - 32 - 59) for i in range(60)]
    if transform == "tiny":
        return [math.ldexp(v, -50) for v in values]
    return values


def div(a, b):
    """IEEE division."""
    if b == 0.0:
        if a == 0.0 or a != a or b != b:
            return NAN
        return math.copysign(math.inf, a) * math.copysign(1.0, b)
    return a / b


def root(x):
    return math.sqrt(x) if x >= 0.0 else NAN


class Overflow(Exception):
    pass


class Stop(Exception):
    def __init__(self, code):
        self.code = code


def guard(x):
    if abs(x) > BIG:
        raise Overflow()
    return x


def invert(m, last):
    """Gauss-Jordan in place, full pivoting; returns the last completed pivot."""
    n = last + 1
    rows, cols = [0] * n, [0] * n
    tolerance = 0.0
    for s in range(n):
        big, r, c = 0.0, s, s
        for i in range(s, n):
            for j in range(s, n):
                if abs(m[i][j]) > big:
                    big, r, c = abs(m[i][j]), i, j
        if s == 0:
            tolerance = 1e-8 * big
        if big <= tolerance:
            return s - 1
        rows[s], cols[s] = r, c
        m[s], m[r] = m[r], m[s]
        for row in m:
            row[s], row[c] = row[c], row[s]
        pivot = m[s][s]
        spare = [m[i][s] for i in range(n)]
        for i in range(n):
            m[i][s] = 1.0 if i == s else 0.0
        m[s] = [div(x, pivot) for x in m[s]]
        for i in range(n):
            if i != s:
                for j in range(n):
                    m[i][j] -= spare[i] * m[s][j]
    for s in range(n - 1, -1, -1):
        m[s], m[cols[s]] = m[cols[s]], m[s]
        for row in m:
            row[s], row[rows[s]] = row[rows[s]], row[s]
    return last


def terms(A, B, S, offset):
    """[(lag, first, second or None)]: plain terms, then a cross term for each pair."""
    out = [(i + 1, offset + i, None) for i in range(A)]
    out += [((j + 1) * S, offset + A + j, None) for j in range(B)]
    for i in range(A):
        for j in range(B):
            out.append((i + 1 + (j + 1) * S, offset + i, offset + A + j))
    return out


class Model:
    def __init__(self, series, orders, has_constant, start):
        self.series, self.n = series, len(series)
        self.p, self.d, self.q, self.P, self.D, self.Q, self.S = orders
        self.has_constant, self.start = has_constant, start
        self.constant = 0.0
        self.history = []

    # ---- preparation ----
    def prepare(self):
        n, p, d, q, P, D, Q, S = self.n, self.p, self.d, self.q, self.P, self.D, self.Q, self.S
        k = p + q + P + Q
        if k == 0:
            raise Stop(30026)
        parameters = k + 1 if self.has_constant else k
        if parameters > 10:
            raise Stop(30018)
        if n <= d + 3 + D * S:
            raise Stop(30025)
        if n <= p + S * P + d + 1 + D * S:
            raise Stop(30027)

        def slots(offset):
            if self.start is None:
                return [0.1] * 5
            return [self.start[offset + i] if offset + i < len(self.start) else 1.23456e30 for i in range(5)]

        ar, sar, ma, sma = slots(0), slots(p), slots(p + P), slots(p + P + q)
        start_constant = 1e10
        if self.start is not None and self.has_constant and len(self.start) >= parameters:
            start_constant = self.start[parameters - 1]

        self.e, self.a, self.w = [0.0] * (n + 100), [0.0] * (n + 100), [0.0] * (n + 100)
        data = list(self.series)
        count = n
        for _ in range(D):
            count -= S
            data = [data[t + S] - data[t] for t in range(count)]
        for _ in range(d):
            count -= 1
            data = [data[t + 1] - data[t] for t in range(count)]
        self.w[100:100 + count] = data
        self.count, self.loss = count, d + D * S
        if count <= parameters:
            raise Stop(30025)
        total = 0.0
        for x in data:
            total += x
        self.mean = total / count
        squares = 0.0
        for x in data:
            squares += (x - self.mean) * (x - self.mean)
        self.sd = math.sqrt(squares / (count - 1))

        self.theta = ar[:p] + sar[:P] + ma[:q] + sma[:Q]
        if self.has_constant:
            for t in range(100, 100 + count):
                self.w[t] -= self.mean
            if start_constant == 1e10:
                self.theta.append(0.0)
            else:
                sa = 0.0
                for x in self.theta[:p]:
                    sa += x
                if p >= 1 and 1.0 - sa == 0.0:
                    raise Stop(30028)
                sb = 0.0
                for x in self.theta[p:p + P]:
                    sb += x
                self.theta.append(div(start_constant, (1.0 - sa) * (1.0 - sb)) - self.mean)
        self.k = len(self.theta)
        self.ar_terms, self.ma_terms = terms(p, P, S, 0), terms(q, Q, S, p + P)
        ma_max = max([t[0] for t in self.ma_terms], default=0)
        self.max_lag = max([t[0] for t in self.ar_terms + self.ma_terms])
        if self.max_lag > 100:
            raise Stop(30023)
        self.first = 0
        self.span = min(n - ma_max + 100, count - self.max_lag + 100)

    # ---- residuals ----
    def residuals(self, theta, frozen=False):
        e, a, w = self.e, self.a, self.w

        def values(which):
            return [(lag, theta[f] if s is None else -theta[f] * theta[s]) for lag, f, s in which]

        self.ar_values, self.ma_values = ar, ma = values(self.ar_terms), values(self.ma_terms)
        end = self.count + 100
        c = theta[-1]
        if self.has_constant:
            for t in range(end):
                w[t] = guard(w[t] - c)
        if not frozen:
            for t in range(self.span - 1, -1, -1):
                self.first = t
                v = 0.0 if t < 100 else w[t]
                for lag, x in ar:
                    v -= x * w[t + lag]
                for lag, x in ma:
                    v += x * a[t + lag]
                if t >= 100:
                    a[t] = guard(v)
                else:
                    w[t] = guard(-v)
                    if abs(v - 0.0) < 0.001:
                        break
            for i in range(self.first):
                e[i] = 0.0
                w[i] = 0.0
            self.first = max(self.max_lag, self.first)
        for t in range(self.first, end):
            v = w[t]
            for lag, x in ar:
                v -= x * w[t - lag]
            for lag, x in ma:
                v += x * e[t - lag]
            e[t] = guard(v)
        if self.has_constant:
            for t in range(end):
                w[t] = guard(w[t] + c)

    def squares(self):
        s = 0.0
        for t in range(self.first, self.count + 100):
            if s > 1e20:
                break
            s += self.e[t] * self.e[t]
        return s

    def constant_of(self, theta):
        if not self.has_constant:
            return 0.0
        sa = 0.0
        for x in theta[:self.p]:
            sa += x
        sb = 0.0
        for x in theta[self.p:self.p + self.P]:
            sb += x
        return (theta[-1] + self.mean) * (1.0 - sa) * (1.0 - sb)

    def record(self, s):
        last = self.constant_of(self.theta) if self.has_constant else self.theta[-1]
        self.history.append([s] + self.theta[:-1] + [last])

    # ---- search ----
    def step(self, lam):
        k = self.k
        work = [[self.normal[max(i, j)][min(i, j)] if i != j else lam + 1.0 for j in range(k)] for i in range(k)]
        if invert(work, k - 1) < k - 1:
            self.candidate_s = 1e35
            return
        self.solved, self.delta = [0.0] * k, [0.0] * k
        m = 0.0
        for i in range(k):
            s = 0.0
            for j in range(k):
                s += work[i][j] * self.gradient[j]
            self.solved[i] = s
            self.delta[i] = div(s, self.scale[i]) * self.f
            if not (self.has_constant and i == k - 1):
                m = abs(self.delta[i]) if abs(self.delta[i]) > m else m
        r = 0.15 / m if m > 0.15 else 1.0
        self.candidate = [self.theta[i] + r * self.delta[i] for i in range(k)]
        self.f *= r
        self.residuals(self.candidate)
        self.candidate_s = self.squares()
        dot = ss = gg = 0.0
        for i in range(k):
            dot += self.gradient[i] * self.solved[i]
            ss += self.solved[i] * self.solved[i]
            gg += self.gradient[i] * self.gradient[i]
        c = div(dot, root(ss) * root(gg)) if ss != 0.0 and gg != 0.0 else 0.0
        x = abs(c)
        A = 0.0
        if x <= 1.0:
            A = math.sqrt(1.0 - x) * (((0.074261 - 0.0187293 * x) * x - 0.2121144) * x + 1.5707288)
        self.angle = (3.141596 - A) * 57.2958 if c < 0.0 else A * 57.2958

    def search(self):
        k, theta, end = self.k, self.theta, self.count + 100
        X = [[0.0] * k for _ in range(self.n + 100)]
        for i in range(k):
            if abs(theta[i]) < 0.005:
                theta[i] = 0.1
        lam = 0.01
        self.angle = 0.0
        self.candidate = [0.0] * k
        self.residuals(theta)
        s = self.squares()
        self.record(s)
        iteration = 0
        while True:
            iteration += 1
            if iteration > 25:
                self.constant = self.constant_of(theta)
                return 20000
            self.f = 0.95
            h = [0.0] * k
            start = 1
            for j in range(k):
                h[j] = 0.02 * theta[j]
                theta[j] += h[j]
                self.residuals(theta)
                start = max(self.first, start)
                for t in range(start, end):
                    X[t][j] = self.e[t]
                theta[j] -= 2.0 * h[j]
                self.residuals(theta)
                start = max(self.first, start)
                theta[j] += h[j]
                for t in range(start, end):
                    X[t][j] = self.e[t] - X[t][j]
            self.residuals(theta)
            self.first = max(start, self.first)
            self.gradient = [0.0] * k
            for j in range(k):
                g = 0.0
                for t in range(self.first, end):
                    g += X[t][j] * self.e[t]
                width = 2.0 * h[j]
                if abs(width) <= 1e-12 * abs(width) + 1e-30:
                    return 30031
                self.gradient[j] = g / width
            self.normal = [[0.0] * k for _ in range(k)]
            self.scale = [0.0] * k
            for j in range(k):
                for i in range(j + 1):
                    g = 0.0
                    for t in range(self.first, end):
                        g += X[t][j] * X[t][i]
                    self.normal[j][i] = div(g, (2.0 * h[j]) * (2.0 * h[i]))
                x = self.normal[j][j]
                self.scale[j] = math.sqrt(x) if x > 0.0 else 0.0
            for j in range(k):
                for i in range(j + 1):
                    product = self.scale[j] * self.scale[i]
                    if product < 1e-20:
                        return 10005
                    self.normal[j][i] = self.normal[j][i] / product
                self.gradient[j] = self.gradient[j] / self.scale[j]
            found = False
            if lam >= 1e-5:
                self.step(lam / 10)
                if not self.candidate_s > s:
                    lam /= 10
                    found = True
            tries = 0
            while not found:
                tries += 1
                if tries == 17:
                    self.constant = self.constant_of(theta)
                    return 10005
                self.step(lam)
                if s >= self.candidate_s:
                    found = True
                elif self.angle >= 30:
                    lam *= 10
                    self.f = 0.95
                else:
                    self.f *= 0.5
            theta[:] = self.candidate
            self.residuals(theta)
            s = self.squares()
            self.constant = self.constant_of(theta)
            self.record(s)
            if s < 1e-30:
                return 0
            met = True
            for i in range(k):
                level = theta[i] + self.mean if self.has_constant and i == k - 1 else theta[i]
                met = met and abs(self.delta[i]) < 0.001 * abs(level) + 1e-5
            if met:
                self.constant = self.constant_of(theta)
                return 10000

    def covariance(self):
        k, theta, end = self.k, self.theta, self.count + 100
        saved = list(theta)
        X = [[0.0] * k for _ in range(self.count)]
        h = [0.05 * x for x in saved]
        for j in range(k):
            theta[j] = saved[j] - h[j]
            self.residuals(theta, frozen=True)
            for t in range(self.count):
                X[t][j] = self.e[100 + t]
            theta[j] = saved[j] + h[j]
            self.residuals(theta, frozen=True)
            for t in range(self.count):
                X[t][j] = X[t][j] - self.e[100 + t]
            theta[j] = saved[j]
        self.residuals(theta, frozen=True)
        self.inverse = [[0.0] * k for _ in range(k)]
        for j in range(k):
            for i in range(j + 1):
                g = 0.0
                for t in range(self.count):
                    g += X[t][j] * X[t][i]
                self.inverse[j][i] = self.inverse[i][j] = div(g, 4.0 * h[j] * h[i])

    def estimate(self):
        try:
            self.prepare()
            if self.has_constant and self.theta[-1] == 0.0:
                self.theta[-1] = 1e-4
            code = self.search()
            if code == 30031:
                return code
            self.residuals(self.theta)
            self.covariance()
            s = 0.0
            for t in range(self.count):
                s += self.e[100 + t] * self.e[100 + t]
            self.sum_of_squares = s
            self.sigma_squared = s / (self.count - self.k)
            if invert(self.inverse, self.k - 1) < self.k - 1:
                return 30031
            return code
        except Stop as stop:
            return stop.code
        except Overflow:
            return 30030

    # ---- forecasts ----
    def forecast(self, origin, leads):
        if origin <= (self.P + self.D) * self.S + self.p + self.d + 1:
            return 30027, [], []
        ma, ar = [0.0] * 150, [0.0] * 151
        for lag, x in self.ar_values:
            ar[lag] += x
        for lag, x in self.ma_values:
            ma[lag - 1] += x
        degree_ar = self.ar_values[-1][0] if self.ar_values else 0
        degree_ma = self.ma_values[-1][0] if self.ma_values else 0
        ar[0] = -1.0
        if (self.d or self.D) and self.D * self.S + self.d + degree_ar + 1 > 151:
            return 30032, [], []
        for lag in [self.S] * self.D + [1] * self.d:
            new = list(ar)
            for i in range(1, degree_ar + lag + 1):
                if i < lag:
                    new[i] = ar[i]
                elif i <= degree_ar:
                    new[i] = ar[i] - ar[i - lag]
                else:
                    new[i] = -ar[i - lag]
            ar = new
            degree_ar += lag
        w = self.w[:100] + list(self.series)
        psi = [1.0] + [0.0] * leads
        for i in range(leads):
            s = 0.0
            for j in range(1, i + 2):
                s += ar[j] * psi[i + 1 - j]
            psi[i + 1] = -ma[i] + s
        out = []
        for l in range(leads):
            f = self.constant
            for m in range(1, max(degree_ar, degree_ma) + 1):
                f += ar[m] * (out[l - m] if l >= m else w[100 + origin + l - m])
                at = 100 + origin - self.loss + l - m
                f -= ma[m - 1] * (0.0 if l >= m or at < 0 else self.e[at])
            out.append(f)
        se, v = [], self.sigma_squared
        for l in range(leads):
            se.append(math.sqrt(v))
            v = max(0.0, v + self.sigma_squared * (psi[l + 1] * psi[l + 1]))
        return 0, out, se


# name, series, transform, (p, d, q, P, D, Q, S), constant, start values in fit order or None
CASES = [
    ("airline model on log passengers", "airline_passengers", "log", (0, 1, 1, 0, 1, 1, 12), 0, None),
    ("the same with a constant, raw", "airline_passengers", "", (0, 1, 1, 0, 1, 1, 12), 1, None),
    ("series A, ARMA(1,1)", "bj_series_a", "", (1, 0, 1, 0, 0, 0, 0), 1, None),
    ("series A, IMA(1,1)", "bj_series_a", "", (0, 1, 1, 0, 0, 0, 0), 0, None),
    ("series B, IMA(1,1) with drift", "bj_series_b", "", (0, 1, 1, 0, 0, 0, 0), 1, None),
    ("series C, ARI(1,1)", "bj_series_c", "", (1, 1, 0, 0, 0, 0, 0), 0, None),
    ("series C, IMA(2,2)", "bj_series_c", "", (0, 2, 2, 0, 0, 0, 0), 0, None),
    ("series D, AR(1)", "bj_series_d", "", (1, 0, 0, 0, 0, 0, 0), 1, None),
    ("series E, AR(3)", "bj_series_e", "", (3, 0, 0, 0, 0, 0, 0), 1, None),
    ("series F, AR(2)", "bj_series_f", "", (2, 0, 0, 0, 0, 0, 0), 1, None),
    ("AR and MA cross terms", "uk_gas", "", (2, 1, 1, 1, 0, 1, 4), 1, None),
    ("no convergence, then no full inverse", "uk_gas", "log", (1, 1, 1, 1, 0, 1, 4), 1, None),
    ("no convergence", "airline_passengers", "", (1, 1, 1, 1, 1, 1, 12), 1, None),
    ("no convergence without a constant", "lake_huron", "", (1, 0, 1, 0, 0, 0, 0), 0, None),
    ("an exact fit", "nile", "growth", (1, 0, 0, 0, 0, 0, 0), 0, [1.95]),
    ("derivatives too small", "nile", "tiny", (1, 0, 0, 0, 0, 0, 0), 0, None),
    ("AR and MA cross terms, no constant", "uk_driver_deaths", "sqrt", (1, 1, 1, 1, 0, 1, 12), 0, None),
    ("two seasonal AR terms", "nottingham_temperature", "", (1, 0, 0, 2, 1, 0, 12), 1, None),
    ("many cross terms", "johnson_johnson", "log", (2, 1, 2, 1, 1, 2, 4), 0, None),
    ("long series", "co2_mauna_loa", "", (1, 1, 1, 0, 1, 1, 12), 0, None),
    ("two seasonal differences", "co2_mauna_loa", "", (0, 0, 1, 0, 2, 1, 12), 1, None),
    ("start values and start constant", "lynx", "log", (2, 0, 1, 0, 0, 0, 0), 1, [1.2, -0.6, -0.2, 2.7]),
    ("start values without the constant's", "lynx", "log", (2, 0, 0, 0, 0, 0, 0), 1, [1.2, -0.6]),
    ("a start value of 0.001", "lake_huron", "", (1, 0, 1, 0, 0, 0, 0), 1, [0.001, -0.3, 100.0]),
    ("start constant 1e10 is none", "lake_huron", "", (1, 0, 1, 0, 0, 0, 0), 1, [0.7, -0.3, 1e10]),
    ("ten parameters", "sunspot_year", "", (5, 0, 4, 0, 0, 0, 0), 1, None),
    ("eleven parameters", "sunspot_year", "", (5, 0, 5, 0, 0, 0, 0), 1, None),
    ("an explosive start", "sunspot_year", "", (1, 0, 0, 0, 0, 0, 0), 0, [9.0]),
    ("AR start values sum to 1", "nile", "", (2, 0, 0, 0, 0, 0, 0), 1, [0.5, 0.5, 900.0]),
    ("a series of zeros", "nile", "zero", (1, 0, 0, 0, 0, 0, 0), 0, None),
    ("a series of zeros and a constant", "nile", "zero", (1, 0, 1, 0, 0, 0, 0), 1, None),
    ("uncentred level", "nile", "", (1, 0, 1, 0, 0, 0, 0), 0, None),
    ("short seasonal series", "us_accidental_deaths", "", (0, 1, 1, 0, 1, 1, 12), 0, None),
    ("seasonal terms alone", "uk_lung_deaths", "sqrt", (0, 0, 0, 1, 0, 1, 12), 1, None),
    ("longest lag of all", "us_real_gdp", "log", (0, 1, 0, 0, 0, 5, 20), 0, None),
    ("longest AR lag of all", "sunspot_year", "sqrt", (0, 0, 0, 5, 0, 0, 20), 1, None),
    ("a lag of 101", "us_real_gdp", "log", (0, 1, 1, 0, 0, 5, 20), 0, None),
    ("polynomial too long to forecast", "co2_mauna_loa", "", (0, 0, 1, 0, 1, 0, 151), 1, None),
    ("polynomial just short enough", "co2_mauna_loa", "", (0, 0, 1, 0, 1, 0, 150), 1, None),
    ("mixed model", "www_usage", "", (1, 1, 1, 0, 0, 0, 0), 0, None),
    ("period one", "www_usage", "", (1, 0, 0, 0, 1, 1, 1), 0, None),
    ("overdifferenced", "us_log_real_gnp", "", (1, 2, 2, 0, 0, 0, 0), 1, None),
    ("no term", "nile", "", (0, 0, 0, 0, 1, 0, 4), 0, None),
]


def hexes(values):
    return " ".join(float(v).hex() for v in values)


def main():
    out = csv.writer(sys.stdout, lineterminator="\n")
    print("# Made by arima_fit_bits.py; do not edit. Lists are blank-separated hexadecimal floats.")
    print("# back_*: the 5 backcasts before the start (less the mean) and their residuals; early_*: forecasts from")
    print("# origin n - 7. A failed fit has its code alone.")
    out.writerow(["case", "series", "transform", "orders", "constant", "start", "code", "rows", "theta", "estimate",
                  "squares_sigma", "inverse", "first_row", "last_row", "backcasts", "back_values",
                  "back_noise", "residual_ends", "forecast_code", "forecast", "error", "early_forecast", "mean_sd"])
    for name, series, transform, orders, constant, start in CASES:
        m = Model(load(series, transform), orders, bool(constant), start)
        code = m.estimate()
        row = [name.replace(",", ";"), series, transform, " ".join(map(str, orders)), constant, "" if start is None else hexes(start),
               code]
        if code >= 30000:
            row += [""] * 16
        else:
            failure, f, se = m.forecast(m.n, 24)
            early = m.forecast(m.n - 7, 12)[1]
            estimate = m.theta[:-1] + ([m.constant] if m.has_constant else m.theta[-1:])
            row += [len(m.history), hexes(m.theta), hexes(estimate),
                    hexes([m.sum_of_squares, m.sigma_squared]), hexes([x for r in m.inverse for x in r]),
                    hexes(m.history[0]), hexes(m.history[-1]), 100 - m.first, hexes(m.w[95:100]),
                    hexes(m.e[95:100]), hexes([m.e[100], m.e[99 + m.count]]), failure, hexes(f), hexes(se),
                    hexes(early), hexes([m.mean, m.sd])]
        out.writerow(row)
        print(f"{code:6d} {len(m.history):3d} rows  {name}", file=sys.stderr)


if __name__ == "__main__":
    main()
