#!/usr/bin/env python3
"""The power transforms and Guerrero's lambda once more, in plain Python floats, to the last bit.

    python3 tests/reference/transforms_bits.py       (from the root of the checkout)

Nothing here comes from the library: the formulas, the grouping, the minimiser and the rule for the ends of
the interval are written out a second time. exp, log and pow are those of the C library, which has two
versions of each, for processors with and without fused multiply-add; they differ in the last bit about once
in a thousand. The script therefore runs itself under both (GLIBC_TUNABLES) and writes both answers.

Cells: 'missing' is the missing value; 'nan' a NaN whose sign the mathematics library decides; 'unwritten' an
element that must not be written.
"""
import csv
import json
import math
import os
import random
import subprocess
import sys

HERE = os.path.dirname(os.path.abspath(__file__))
DATA = os.path.join(HERE, "..", "..", "data")
INF = math.inf
NAN = math.nan
MISSING = "missing"
UNWRITTEN = "unwritten"
MISSING_OBSERVATION = 1.23456e30


# ---- C semantics for what Python turns into exceptions ----------------------------------------------------


def power(x, y):
    try:
        return math.pow(x, y)
    except OverflowError:
        odd = y == math.floor(y) and math.fmod(y, 2.0) != 0.0
        return -INF if x < 0.0 and odd else INF
    except ValueError:
        if x == 0.0:  # y < 0
            odd = y == math.floor(y) and math.fmod(y, 2.0) != 0.0
            return math.copysign(INF, x) if odd else INF
        return NAN


def exponential(x):
    try:
        return math.exp(x)
    except OverflowError:
        return INF


def logarithm(x):
    if x == 0.0:
        return -INF
    return NAN if x < 0.0 else math.log(x)


def divide(a, b):
    if b != 0.0 or math.isnan(b):
        return a / b
    if a == 0.0 or math.isnan(a):
        return NAN
    return math.copysign(INF, a) * math.copysign(1.0, b)


def root(x):
    return math.sqrt(x) if x >= 0.0 else NAN


# ---- the five transforms, one element each ----------------------------------------------------------------


def forward(x, lam):
    if lam == 0.0:
        return logarithm(x)
    if lam == 1.0:
        return x
    if lam > 0.0:
        return power(x, lam)
    if lam < 0.0:
        return -power(x, lam)
    return UNWRITTEN


def inverse(x, lam):
    if lam == 0.0:
        return exponential(x)
    if lam == 1.0:
        return x
    if lam > 0.0:
        return power(x, 1.0 / lam)
    if lam < 0.0:
        return power(-x, 1.0 / lam)
    return UNWRITTEN


def fit(x, lam, v):
    if lam == 0.0:
        return exponential(x) * (0.5 * v + 1.0)
    if lam == 1.0:
        return x
    if math.isnan(lam):
        return UNWRITTEN
    c = (v * 0.5) * divide(1.0 - lam, lam * lam)
    base = x if lam > 0.0 else -x
    return power(base, 1.0 / lam) * (divide(c, x * x) + 1.0)


def forecast(x, lam, e):
    if lam == 0.0:
        return exponential(x) * (0.5 * (e * e) + 1.0)
    if lam == 1.0:
        return x
    if math.isnan(lam):
        return UNWRITTEN
    c = divide((1.0 - lam) * 0.5, lam * lam)
    base = x if lam > 0.0 else -x
    return power(base, 1.0 / lam) * (divide((e * e) * c, x * x) + 1.0)


def interval(lower, upper, lam):
    if lam == 0.0:
        return exponential(lower), exponential(upper)
    if lam > 0.0:
        if upper > 0.0 and upper > lower:
            return (power(lower, 1.0 / lam) if lower > 0.0 else 0.0), power(upper, 1.0 / lam)
        return MISSING, MISSING
    return tuple(power(-x, 1.0 / lam) if x < 0.0 else MISSING for x in (lower, upper))


# ---- Guerrero's lambda ------------------------------------------------------------------------------------


def welford(x):
    mean, m = x[0], 0.0
    for i in range(1, len(x)):
        delta = x[i] - mean
        step = delta / (i + 1)
        mean = mean + step
        m = m + (i * delta) * step
    return mean, root(m / (len(x) - 1))


def fmin(f, lower, upper, tolerance):
    a, b = lower, upper
    c, eps, tol3 = 0.38196601125010515, 1.4901161193847656e-08, tolerance / 3
    v = w = x = a + c * (b - a)
    fv = fw = fx = f(x)
    d = e = 0.0
    if not all(map(math.isfinite, (lower, upper, tolerance))) or tolerance < 0.0:
        return x, fx
    for _ in range(10000):
        tol1 = eps * abs(x) + tol3
        t2 = 2 * tol1
        xm = (a + b) / 2
        if t2 - (b - a) / 2 >= abs(x - xm):
            break
        p = q = r = 0.0
        if abs(e) > tol1:
            r = (x - w) * (fx - fv)
            q = (x - v) * (fx - fw)
            p = (x - v) * q - (x - w) * r
            q = 2 * (q - r)
            if q > 0:
                p = -p
            else:
                q = -q
            r = e
            e = d
        if abs(p) >= abs((0.5 * q) * r) or p <= (a - x) * q or p >= (b - x) * q:
            e = (b - x) if x < xm else (a - x)
            d = c * e
        else:
            d = divide(p, q)
            u = x + d
            if u - a < t2 or b - u < t2:
                d = tol1 if x < xm else -tol1
        if abs(d) >= tol1:
            u = x + d
        elif d > 0:
            u = x + tol1
        else:
            u = x - tol1
        fu = f(u)
        if fu <= fx:
            if u < x:
                b = x
            else:
                a = x
            v, fv, w, fw, x, fx = w, fw, x, fx, u, fu
        else:
            if u < x:
                a = u
            else:
                b = u
            if fu <= fw or w == x:
                v, fv, w, fw = w, fw, u, fu
            elif fu <= fv or v == x or v == w:
                v, fv = u, fu
    return x, fx


def best_lambda(series, group_length, lower, upper, tolerance):
    length = max(group_length, 2)
    number = len(series) // length
    means, sds = [], []
    for g in range(number):
        start = len(series) - length * number + g * length
        group = series[start:start + length]
        if any(x == MISSING_OBSERVATION or not math.isfinite(x) for x in group):
            continue
        mean, sd = welford(group)
        means.append(mean)
        sds.append(sd)
    if len(means) < 2:
        return 30025, MISSING

    def f(lam):
        mean, sd = welford([divide(s, power(m, 1.0 - lam)) for m, s in zip(means, sds)])
        return divide(sd, mean)

    x, fx = fmin(f, lower, upper, tolerance)
    fl, fh = f(lower), f(upper)
    if fl > fx:
        return 0, x
    if fh > fl:
        return 0, lower
    return 0, upper


# ---- cases ------------------------------------------------------------------------------------------------


def load(name):
    with open(os.path.join(DATA, name + ".csv")) as f:
        return [float(row["value"]) for row in csv.DictReader(f)]


def transform_rows():
    rng = random.Random(20240611)
    lambdas = [0.0, -0.0, 1.0, 0.5, 2.0, 3.0, -1.0, -0.5, -2.0, 1 / 3, 0.1, 1e-3, -1e-3, 3.7, -0.25, 1e-200, 40.0,
               INF, -INF, NAN]
    lambdas += [rng.uniform(-3, 3) for _ in range(10)]
    xs = [0.0, -0.0, 1.0, -1.0, 2.0, -2.0, 0.5, 1e-300, 1e300, -1e300, 5e-324, INF, -INF, NAN, MISSING_OBSERVATION]
    xs += [rng.uniform(0, 10) for _ in range(8)] + [rng.uniform(-10, 0) for _ in range(4)]
    xs += [math.exp(rng.uniform(-8, 8)) for _ in range(4)]
    extras = [0.0, 1.0, 0.01, -1.0, INF, NAN, 1e200]
    for lam in lambdas:
        for x in xs:
            e = rng.choice(extras) if rng.random() < 0.3 else rng.uniform(0, 3)
            yield "forward", lam, x, 0.0, [forward(x, lam)]
            yield "inverse", lam, x, 0.0, [inverse(x, lam)]
            yield "fit", lam, x, e, [fit(x, lam, e)]
            yield "forecast", lam, x, e, [forecast(x, lam, e)]
            other = x + rng.uniform(-1, 5) if rng.random() < 0.8 else rng.choice(xs)
            yield "interval", lam, x, other, list(interval(x, other, lam))


def lambda_rows():
    rng = random.Random(19931993)
    names = ["airline_passengers", "bj_series_a", "bj_series_c", "bj_series_f", "co2_mauna_loa", "johnson_johnson",
             "lynx", "nile", "uk_driver_deaths", "uk_gas", "us_accidental_deaths", "us_real_gdp", "www_usage",
             "sunspot_year", "bj_series_m_sales"]
    for name in names:
        series = load(name)
        for length, lower, upper, tolerance in [(12, -1.0, 2.0, 1e-4), (2, -1.0, 2.0, 1e-8), (4, -2.0, 3.0, 0.0),
                                                (7, 0.0, 1.0, 1e-6), (1, -5.0, -1.0, 1e-5), (10, 2.0, -1.0, 1e-6)]:
            yield name, None, length, lower, upper, tolerance, best_lambda(series, length, lower, upper, tolerance)
    for case in range(60):
        length = rng.choice([-3, 0, 1, 2, 3, 4, 5])
        n = rng.choice([3, 4, 7, 10, 13, 24, 30])
        power_of_level = rng.uniform(-1, 2)
        series = []
        for i in range(n):
            level = 10 * math.exp(0.05 * i)
            series.append(level + 0.3 * level ** power_of_level * rng.gauss(0, 1))
        if case % 4 == 1:
            series[rng.randrange(n)] = rng.choice([MISSING_OBSERVATION, NAN, INF, -INF])
        if case % 4 == 2:
            series = [x - 12 for x in series]  # negative group means
        lower = rng.choice([-1.0, -2.0, 0.0])
        upper = rng.choice([1.0, 2.0, 3.0])
        tolerance = rng.choice([0.0, 1e-9, 1e-4, 0.1])
        if case % 10 == 7:
            lower, upper, tolerance = rng.choice([(NAN, 2.0, 1e-6), (-1.0, INF, 1e-6), (-INF, 2.0, 1e-6),
                                                  (-1.0, 2.0, NAN), (-1.0, 2.0, INF), (-1.0, 2.0, -1e-6)])
        yield "", series, length, lower, upper, tolerance, best_lambda(series, length, lower, upper, tolerance)


def text(v):
    if isinstance(v, str):
        return v
    if math.isnan(v):
        return "nan"
    return ("-inf" if v < 0 else "inf") if math.isinf(v) else v.hex()


def compute():
    transforms = [(form, text(lam), text(x), text(e), [text(v) for v in out]) for form, lam, x, e, out in transform_rows()]
    lambdas = [(name, " ".join(text(x) for x in series or []), length, text(lower), text(upper), text(tolerance), code,
                text(lam)) for name, series, length, lower, upper, tolerance, (code, lam) in lambda_rows()]
    return {"transforms": transforms, "lambdas": lambdas}


def run(tunables):
    environment = dict(os.environ, GLIBC_TUNABLES=tunables)
    return json.loads(subprocess.run([sys.executable, __file__, "--compute"], env=environment, check=True,
                                     stdout=subprocess.PIPE).stdout)


if "--compute" in sys.argv:
    json.dump(compute(), sys.stdout)
    sys.exit()

fused = run("")
plain = run("glibc.cpu.hwcaps=-FMA,-FMA4,-AVX2,-AVX2_Usable")
with open(os.path.join(HERE, "transforms_bits_power.csv"), "w") as out:
    out.write("# Made by transforms_bits.py. extra: the variance, the standard error, the upper limit.\n")
    out.write("# fused: with the C library's exp, log, pow for processors with fused multiply-add; plain: without,\n")
    out.write("# where that is another double.\n")
    out.write("form,lambda,x,extra,fused,fused_upper,plain,plain_upper,\n")
    for a, b in zip(fused["transforms"], plain["transforms"]):
        assert a[:4] == b[:4]
        other = b[4] if b[4] != a[4] else []
        out.write(",".join(a[:4] + (a[4] + [""])[:2] + (other + ["", ""])[:2]) + ",\n")
with open(os.path.join(HERE, "transforms_bits_lambda.csv"), "w") as out:
    out.write("# Made by transforms_bits.py. series: a file of data/, or else values.\n")
    out.write("series,values,group_length,lower,upper,tolerance,code,fused,plain\n")
    for a, b in zip(fused["lambdas"], plain["lambdas"]):
        assert a[:7] == b[:7]
        out.write(",".join(str(v) for v in a + b[7:]) + "\n")
