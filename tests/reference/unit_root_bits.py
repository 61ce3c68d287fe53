#!/usr/bin/env python3
"""The augmented Dickey-Fuller test once more, in plain Python floats.

    python3 tests/reference/unit_root_bits.py       (from the root of the checkout; needs scipy for one tail of t)

Nothing here comes from the library. Dot products are plain loops, the library's come from its BLAS, so that a
statistic may differ by rounding; columns, lags, sample sizes, critical values and p-values from a given
statistic do not depend on a dot product. The p-value needs exp, of which the C library has a version for
processors with fused multiply-add and one without: both answers are written.
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
NAN = math.nan
INF = math.inf


def divide(a, b):
    if b != 0.0 or math.isnan(b):
        return a / b
    if a == 0.0 or math.isnan(a):
        return NAN
    return math.copysign(INF, a) * math.copysign(1.0, b)


def root(x):
    return math.sqrt(x) if x >= 0.0 else NAN


def dot(x, y, first, last):
    s = 0.0
    for i in range(first, last):
        s += x[i] * y[i]
    return s


# ---- p-value and critical values --------------------------------------------------------------------------


def normal_upper_tail(x):
    if x <= -8.03:
        return 1.0
    t = abs(x)
    y = (t * 0.5) * t
    if t <= 1.28:
        r = 0.5 - t * (0.398942280444 - 0.399903438504 * y / (
            y + 5.75885480458 - 29.8213557808 / (y + 2.62433121679 + 48.6959930692 / (y + 5.92885724438))))
    else:
        r = 0.398942280385 * math.exp(-y) / (t - 3.8052e-8 + 1.00000615302 / (
            t + 0.000398064794 + 1.98615381364 / (t - 0.151679116635 + 5.29330324926 / (
                t + 4.8385912808 - 15.1508972451 / (t + 0.742380924027 + 30.789933034 / (t + 3.99019417011))))))
    return 1.0 - r if x < 0.0 else r


def normal_lower(x):
    if math.isnan(x):
        return NAN
    if math.isinf(x):
        return 1.0 if x > 0.0 else 0.0
    if x <= 0.0:
        return 0.0 if -x >= 38.4638 else normal_upper_tail(-x)
    return 1.0 - (0.0 if x >= 38.4638 else normal_upper_tail(x))


P_VALUES = {  # tau-min, tau-max, tau-star, b0 b1 b2, c0 c1 c2 c3
    0: (-18.83, 2.74, -1.61, (2.1659, 1.4412, 0.038269), (1.7339, 0.93202, -0.12745, -0.010368)),
    1: (-16.18, 0.7, -2.89, (3.2512, 1.6047, 0.049588), (2.5261, 0.61654, -0.37956, -0.060285)),
    2: (-17.17, 0.54, -3.21, (4.0003, 1.658, 0.048288), (3.0778, 0.49529, -0.41477, -0.059359)),
    3: (-19.04, INF, -1.04, (0.6344, 1.2378, 0.032496), (0.4797, 0.93557, -0.06999, 0.033066)),
}
CRITICAL = {
    0: ((-3.43035, -6.5393, -16.786, -79.433), (-2.86154, -2.8903, -4.234, -40.04), (-2.56677, -1.5384, -2.809, 0.0)),
    1: ((-3.95877, -9.0531, -28.428, -134.155), (-3.41049, -4.3904, -9.036, -45.374),
        (-3.12705, -2.5856, -3.925, -22.38)),
    2: ((-4.37113, -11.5882, -35.819, -334.047), (-3.83239, -5.9057, -12.49, -118.284),
        (-3.55326, -3.6596, -5.293, -63.559)),
    3: ((-2.56574, -2.2358, -3.627, 0.0), (-1.941, -0.2686, -3.365, 31.223), (-1.61682, 0.2656, -2.714, 25.364)),
}


def p_and_critical(regression, t, size):
    """None: nothing is written."""
    if not math.isfinite(t) or regression not in P_VALUES:
        return None
    low, high, star, b, c = P_VALUES[regression]
    if t < low:
        p = 0.0
    elif t > high:
        p = 1.0
    elif t < star:
        p = normal_lower(b[0] + b[1] * t + b[2] * (t * t))
    else:
        p = normal_lower(c[0] + c[1] * t + c[2] * (t * t) + c[3] * ((t * t) * t))
    u = divide(1.0, float(size))
    return [p] + [k[0] + k[1] * u + k[2] * (u * u) + k[3] * ((u * u) * u) for k in CRITICAL[regression]]


# ---- the test ---------------------------------------------------------------------------------------------


def build(x, lags, regression):
    n = len(x)
    if lags < 0:
        lags = int(12 * math.pow(n / 100.0, 0.25))
    response = [x[n - 1 - k] - x[n - 2 - k] for k in range(n - 1)]
    columns = [[x[n - 2 - k] for k in range(n - 1)]]
    if regression in (0, 1, 2):
        columns.append([1.0] * (n - 1))
    if regression in (1, 2):
        columns.append([float(n - k) for k in range(n - 1)])
    if regression == 2:
        columns.append([float(n - k) * float(n - k) for k in range(n - 1)])
    first = len(columns) if lags > 0 else 0
    for i in range(1, lags + 1):
        columns.append(response[i:])
    columns.append(response)
    return columns, first


def reflect(v, tau, first, last, y):
    scale = tau * dot(v, y, first, last)
    for i in range(first, last):
        y[i] = y[i] - scale * v[i]


def factor(columns):
    regressors, response = columns[:-1], columns[-1]
    rows = len(regressors[-1])
    tau, diagonal, retained, k = [NAN] * len(regressors), [0.0] * len(regressors), [], 0
    for j, c in enumerate(regressors):
        for b, a in enumerate(retained):
            reflect(regressors[a], tau[a], b, rows, c)
        x0 = c[k]
        sigma = dot(c, c, k + 1, rows)
        mu, tf = NAN, NAN
        if sigma > 0.0:
            mu = math.sqrt(x0 * x0 + sigma)
            u = -sigma / (x0 + mu) if x0 > 0.0 else x0 - mu
            c[k] = u
            tf = 2 / (u * u + sigma)
        elif sigma == 0.0:
            c[k] = 1.0
            tf = 2.0 if x0 < 0.0 else 0.0
            mu = abs(x0)
        if not mu > 1e-12:
            continue
        tau[j], diagonal[j] = tf, mu
        retained.append(j)
        reflect(c, tf, k, rows, response)
        k += 1
    return retained, tau, diagonal


def select_by_criterion(x, regression, lags, penalty):
    columns, first = build(x, lags, regression)
    retained, tau, _ = factor(columns)
    y, k, rows = columns[-1], len(retained), len(columns[-2])
    n = float(rows)
    a = sum(1 for c in retained if c < first)
    b = k - a
    if a == 0 or b == 0:
        return 0

    def criterion(m):
        rss = dot(y, y, m, rows)
        charge = (2.0 if penalty == "aic" else math.log(n)) * (m + 1)
        logarithm = math.log(rss / n) if rss > 0.0 else (-INF if rss == 0.0 else NAN)
        return ((n * logarithm + charge) + n) + n * 1.8378770664093456

    best, best_index = criterion(k), 0
    for i in range(1, b + 1):
        r = k - i
        reflect(columns[retained[r]], tau[retained[r]], r, rows, y)
        c = criterion(r)
        if c < best:
            best, best_index = c, i
    return retained[k - best_index - 1] - first + 1


def select_by_significance(x, regression, lags, significance):
    from scipy.stats import t as student
    h = 0.5 * significance if 0 < significance < 1 else 0.025
    columns, first = build(x, lags, regression)
    retained, tau, _ = factor(columns)
    y, k, rows = columns[-1], len(retained), len(columns[-2])
    a = sum(1 for c in retained if c < first)
    b = k - a
    if a == 0 or b == 0:
        return 0

    def succeeds():
        df = rows - k
        if df <= 0:
            return False
        s = root(dot(y, y, k, rows) / df)
        return h > student.sf(divide(abs(y[k - 1]), s), df)

    if succeeds():
        return retained[k - 1] - first + 1
    for _ in range(b):
        k -= 1
        reflect(columns[retained[k]], tau[retained[k]], k, rows, y)
        if succeeds():
            return retained[k - 1] - first + 1
    return 0


def adf(x, lags, method, regression, significance):
    if method in (0, 1):
        lags = select_by_criterion(x, regression, lags, ("aic", "bic")[method])
    elif method == 2:
        lags = select_by_significance(x, regression, lags, significance)
    columns, first = build(x, lags, regression)
    retained, _, diagonal = factor(columns)
    last = retained[-1]
    size = min(len(columns[last]), len(x) - 1)
    lag_count = 0 if first == 0 or last < first else last - first + 1

    k, y = len(retained), columns[-1]
    df = size - k
    b = [NAN] * (len(columns) - 1)
    for i in range(k - 1, -1, -1):
        s = 0.0
        for j in range(i + 1, k):
            s += columns[retained[j]][i] * b[retained[j]]
        b[retained[i]] = (y[i] - s) / diagonal[retained[i]]
    rss = dot(y, y, k, k + df)
    u = [divide(1.0, diagonal[0])]
    for i in range(1, k):
        s = 0.0
        for j in range(i):
            s += u[j] * columns[retained[i]][j]
        u.append(-s / diagonal[retained[i]])
    squares = 0.0
    for value in u:
        squares += value * value
    statistic = divide(b[0], root(squares * divide(rss, float(df))))
    total = dot(y, y, 0, k + df)
    stands = math.isfinite(statistic) and rss > 1e-20 * total and abs(statistic) > 1e-9
    return statistic, size, lag_count, stands


# ---- cases ------------------------------------------------------------------------------------------------


def load(name):
    with open(os.path.join(DATA, name + ".csv")) as f:
        return [float(row["value"]) for row in csv.DictReader(f)]


def value_rows():
    rng = random.Random(19942010)
    for regression in (-1, 0, 1, 2, 3, 4):
        ts = [NAN, INF, -INF, 0.0, -0.0, 1e200, -1e200, 50.0, 1e3, -25.0]
        if regression in P_VALUES:
            for edge in P_VALUES[regression][:3]:
                if math.isfinite(edge):
                    ts += [edge, math.nextafter(edge, -INF), math.nextafter(edge, INF)]
        ts += [rng.uniform(-20, 4) for _ in range(25)] + [rng.uniform(-4, 1) for _ in range(25)]
        for t in ts:
            size = rng.choice([1, 2, 9, 25, 50, 100, 137, 250, 1000, 2 ** 31 - 1, rng.randrange(10, 2000)])
            yield regression, t, size, p_and_critical(regression, t, size)


def integrated(rng, n, unit):
    level, x = 0.0, []
    for _ in range(n):
        level = level + rng.randrange(-9, 10) * unit
        x.append(level)
    return x


def test_rows():
    for name in ["airline_passengers", "bj_series_a", "bj_series_c", "bj_series_f", "johnson_johnson", "lake_huron", "lynx",
                 "nile", "sunspot_year", "uk_gas", "us_real_gdp", "www_usage"]:
        for regression in range(4):
            for method, lags, significance in ((0, -1, 0.0), (1, -1, 0.0), (2, -1, 0.05), (2, 5, 0.2), (3, 0, 0.0),
                                               (7, 3, 0.0), (-1, -1, 0.0), (2, -1, 1.5)):
                yield name, None, lags, method, regression, significance
    rng = random.Random(7)
    for case in range(80):
        n = rng.choice([8, 10, 12, 15, 20, 33, 50])
        x = integrated(rng, n, 1.0)
        yield "", x, rng.randrange(0, 3), rng.randrange(0, 4), case % 4, rng.choice([0.05, 0.1, 0.0, -1.0, 1.0, 0.5])
    # Columns that depend on earlier ones: a straight line, a parabola, powers of two, period-two series.
    n = 24
    line = [3.0 + 2.0 * i for i in range(n)]
    saw = [float((i % 2) * 3 + 1) for i in range(n)]
    step = [1.0] * 12 + [4.0] * 12
    late = [0.0] * 20 + [1.0, 3.0, 2.0, 5.0]
    early = [1.0, 3.0, 2.0, 5.0] + [0.0] * 20
    impulse = [0.0] * 10 + [7.0] + [0.0] * 13
    for x in (line, saw, step, late, early, impulse):
        for regression in range(4):
            for method, lags in ((3, 0), (3, 2), (3, 4), (0, 4), (1, 3), (2, 4)):
                if method == 3 or x is step or x is early or x is impulse:  # the others: an exact fit
                    yield "", x, lags, method, regression, 0.05


    # Differences of period 3 but for the newest three: lag 6 is lag 3, is dropped, and the sum of squares then
    # takes in a row that no reflection has reached.
    for newest in ([2.0, -1.0, 9.0], [7.0, 7.0, -6.0]):
        level, x = 5.0, [5.0]
        for d in [2.0, -1.0, 4.0] * 9 + newest:
            level = level + d
            x.append(level)
        for regression in range(4):
            for method in range(4):
                yield "", x, 6, method, regression, 0.4
    # As many regressors as rows: the first test has no degree of freedom.
    for regression in range(4):
        n = 1 + 5 + (1 if regression == 3 else regression + 2) + 5
        for _ in range(3):
            yield "", integrated(rng, n, 1.0), 5, 2, regression, 0.3


def text(v):
    if v is None:
        return "unwritten"
    if math.isnan(v):
        return "nan"
    return ("-inf" if v < 0 else "inf") if math.isinf(v) else float(v).hex()


def compute():
    values = [(regression, text(t), size, [text(v) for v in (out or [None] * 4)])
              for regression, t, size, out in value_rows()]
    return {"values": values}


def run(tunables):
    environment = dict(os.environ, GLIBC_TUNABLES=tunables)
    return json.loads(subprocess.run([sys.executable, __file__, "--compute"], env=environment, check=True,
                                     stdout=subprocess.PIPE).stdout)


if "--compute" in sys.argv:
    json.dump(compute(), sys.stdout)
    sys.exit()

fused = run("")
plain = run("glibc.cpu.hwcaps=-FMA,-FMA4,-AVX2,-AVX2_Usable")
with open(os.path.join(HERE, "unit_root_bits_values.csv"), "w") as out:
    out.write("# Made by unit_root_bits.py. p and plain_p: with the C library's two versions of exp.\n")
    out.write("regression,statistic,size,p,plain_p,critical1,critical5,critical10\n")
    for a, b in zip(fused["values"], plain["values"]):
        assert a[:3] == b[:3] and a[3][1:] == b[3][1:]
        out.write(",".join(str(v) for v in a[:3] + [a[3][0], b[3][0]] + a[3][1:]) + "\n")
with open(os.path.join(HERE, "unit_root_bits_test.csv"), "w") as out:
    out.write("# Made by unit_root_bits.py. series: a file of data/, or else values. stands is 0 for an exact fit, whose\n")
    out.write("# statistic is made of rounding.\n")
    out.write("series,values,lags,method,regression,significance,statistic,size,lag_count,stands\n")
    for name, series, lags, method, regression, significance in test_rows():
        x = series or load(name)
        result = adf(x, lags, method, regression, significance)
        out.write(",".join([name, " ".join("%g" % v for v in series or []), str(lags), str(method), str(regression),
                            repr(significance), text(result[0]), str(result[1]), str(result[2]),
                            str(int(result[3]))]) + "\n")
