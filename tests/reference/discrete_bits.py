"""Writes discrete_bits.csv: the binomial and Poisson routines once more, in plain Python floats.

A second hand at the same formulas: nothing here is shared with the library or made from its source. Python's
floats are IEEE doubles and its exp and log are those of the C library, so every result must agree in its last
bit where the C library picks the same variants of exp and log (on x86-64, those for processors with FMA).

Run: python3 discrete_bits.py > discrete_bits.csv
"""
import math
import struct

NAN_SIGN_SET = struct.unpack("<d", struct.pack("<Q", 0xFFF8000000000000))[0]
MISSING = struct.unpack("<d", struct.pack("<Q", 0x7FF8000000000000))[0]
ANY_NAN = struct.unpack("<d", struct.pack("<Q", 0x7FF8000000000001))[0]  # 0/0: no pattern of its own
INF = math.inf
E = 2.220446049250313e-16
MOST_NEGATIVE = -1.7976931348623157e308


# -- the C library's behaviour at the ends, where Python raises -------------------------------------------------
def exp(x):
    try:
        return math.exp(x)
    except OverflowError:
        return INF


def log(x):
    if x == 0.0:
        return -INF
    if x < 0.0 or x != x:
        return ANY_NAN
    return math.log(x)


def div(a, b):
    if b == 0.0:
        if a == 0.0 or a != a:
            return ANY_NAN
        return math.copysign(INF, a) * math.copysign(1.0, b)
    return a / b


def floor(x):
    return x if x != x or math.isinf(x) else float(math.floor(x))


# -- Stirling pieces ---------------------------------------------------------------------------------------------
def stirling(z):
    w = 1.0 / (z * z)
    s = 0.00641025641025641
    s = s * w + -0.0019175269175269176
    s = s * w + 0.0008417508417508417
    s = s * w + -0.0005952380952380953
    s = s * w + 0.0007936507936507937
    s = s * w + -0.002777777777777778
    s = s * w + 0.08333333333333333
    return s / z


def remainder(x):
    if x <= 0.0005:
        return x * ((-0.4006856343865313 * x + 0.8224670334241132) * x + (0.42278433509846713 - log(x)))
    if x > 9:
        return log(math.sqrt(x * 6.283185307179586)) + stirling(x)
    f = 1.0
    z = 1 + x
    while z < 10:
        f = f / z
        z = z + 1
    g = log(f) + (z - 0.5) * log(z) - z + 0.5 * log(6.283185307179586) + stirling(z)
    return g - x * (log(x) - 1)


def remainder0(x):
    return 0.0 if x == 0 else remainder(x)


def log1p_small(u):
    if abs(u) > 0.02:
        return log(u + 1)
    v = 0.0
    for n in range(20, 0, -1):
        v = u * (1.0 / n - v)
    return v


def log_poisson_pmf(k, m):
    if k == 0:
        return -m
    if m <= 10000 and k >= 14500:
        return MOST_NEGATIVE
    t = k - m
    if m < 1:
        ratio = log(m) - log(k)
    elif t >= 0:
        ratio = -log1p_small(t / m)
    else:
        ratio = log1p_small(-t / k)
    return t + k * ratio - remainder(k)


# -- normal pieces -----------------------------------------------------------------------------------------------
def normal_upper_tail(x):
    if x <= -8.03:
        return 1.0
    t = abs(x)
    y = (t * 0.5) * t
    if t <= 1.28:
        r = 0.5 - t * (0.398942280444 - 0.399903438504 * y / (
            y + 5.75885480458 - 29.8213557808 / (y + 2.62433121679 + 48.6959930692 / (y + 5.92885724438))))
    else:
        r = 0.398942280385 * exp(-y) / (t - 3.8052e-8 + 1.00000615302 / (
            t + 0.000398064794 + 1.98615381364 / (t - 0.151679116635 + 5.29330324926 / (
                t + 4.8385912808 - 15.1508972451 / (t + 0.742380924027 + 30.789933034 / (t + 3.99019417011))))))
    return 1 - r if x < 0 else r


def normal_std_quantile(p):
    if p == 0.5:
        return 0.0
    if p > 0.5:
        return -normal_std_quantile(1 - p)
    d = p - 0.5
    if abs(d) <= 0.42:
        r = d * d
        x = d * (((-25.44106049637 * r + 41.39119773534) * r - 18.61500062529) * r + 2.50662823884) / (
            (((3.13082909833 * r - 21.06224101826) * r + 23.08336743743) * r - 8.4735109309) * r + 1)
    else:
        s = math.sqrt(-log(p))
        c = (((2.32121276858 * s + 4.85014127135) * s - 2.29796479134) * s - 2.78718931138) / (
            (1.63706781897 * s + 3.54388924762) * s + 1)
        x = -c
    z = -x
    counter = 1
    while counter <= 10:
        f = exp(-0.5 * z * z) * 0.39894228040143265
        if f == 0:
            break
        if z >= 38.4638:
            q = 0.0
        elif z <= -8.03:
            q = 1.0
        else:
            q = normal_upper_tail(z)
        delta = (q - p) / f
        z = z + delta
        if abs(delta) < 1e-14:
            break
        counter += 1
    return -z


# -- Poisson -----------------------------------------------------------------------------------------------------
def poisson_normal(x, mean, upper):
    s = math.sqrt(mean)
    z = (x - mean) / s
    Z = z * z
    h = 0.5 / s
    u = z if upper else -z
    T = 0.0 if u >= 38.4638 else normal_upper_tail(u)
    M = div(T, 0.39894228040143265 * exp(z * (-0.5 * z)))
    a = ((-((((45 + 5 * Z) * Z - 81) * Z - 315) * Z + 270) * z / 810 * h + ((Z * Z - 9) * Z + 6) / 18) * h
         + -(Z - 3) * z / 3) * h + 1
    b3 = ((((5 * Z + 40) * Z - 111) * Z - 174) * Z + 192) / 810
    b2 = -((Z - 1) * Z - 6) * z / 18
    if upper:
        return s * (M * a + ((b3 * h + b2) * h + (Z - 4) / 3) * h)
    return s * (M * a - ((b3 * h + b2) * h + (2 + Z) / 3) * h)


def poisson_upper_ratio(x, mean):
    if mean > 1e8:
        return poisson_normal(x, mean, True)
    i = int(x)
    t = 1.0
    while True:
        i = i + 1
        t = t * mean / i
        if t < E:
            break
    j = i - 1
    r = 0.0
    if j < x:
        return 0.0
    while j >= x:
        j = j - 1
        w = mean / i
        i = i - 1
        r = (r + 1) * w
    return r


def poisson_lower_ratio(x, mean):
    if mean > 1e8:
        return poisson_normal(x, mean, False)
    i = int(x)
    t = 1.0
    while True:
        t = t * i / mean
        i = i - 1
        if t < E:
            break
    i = i + 1
    j = i
    r = 0.0
    while x >= j:
        w = j / mean
        j = j + 1
        r = (r + 1) * w
    return r


def poisson_tails(x, mean):
    if x < 0:
        return 0.0, 1.0, 0.0
    if mean <= 10000 and x >= 14500:
        return 1.0, 0.0, 0.0
    mass = exp(log_poisson_pmf(x, mean))
    if x > mean - 1:
        upper = poisson_upper_ratio(x, mean) * mass
        lower = 0.0 if x == 0 else 1 - upper - mass
    else:
        lower = poisson_lower_ratio(x, mean) * mass
        upper = 1 - lower - mass
    return lower, upper, mass


def step_direction(mode, value, target):
    if mode in (0, 3, 4, 7):
        return -1 if target < value else 1
    if mode in (1, 2, 5, 6):
        return 1 if target < value else -1
    return 0


def search_discrete(target, start, f, mode):
    v = f(start)
    if v == target:
        return start
    if v != v:
        return NAN_SIGN_SET
    s = step_direction(mode, v, target)
    i = 1
    x = start
    while i <= 1000000:
        y = x + s
        w = f(y)
        if w == target:
            return y
        if w != w:
            return NAN_SIGN_SET
        if (w < target and v > target) or (w > target and v < target):
            return y if s != -1 else x
        i = i + 1
        x = y
        v = w
    return NAN_SIGN_SET


def poisson_quantile(p, mean, mode):
    z = 0.0 if p == 0.5 else normal_std_quantile(p)
    if mode % 2:
        z = -z
    g = (z * z - 1) / 6 + math.sqrt(mean) * z + mean + 0.5
    start = 0.0 if g < 0 else floor(g)
    if mean > 1e12:
        return start

    def f(x):
        lower, upper, mass = poisson_tails(x, mean)
        return lower + mass if mode in (0, 3) else upper

    return search_discrete(p, start, f, mode)


# -- binomial ----------------------------------------------------------------------------------------------------
def binomial_log_pmf(k, n, p):
    m = n - k
    d = k - n * p
    if k == 0:
        return n * log1p_small(-p)
    if k == n:
        return n * log(p)
    if d >= 0:
        t = m * log1p_small(d / m) - k * log1p_small(div(d, n * p))
    else:
        t = k * log1p_small(-d / k) - m * log1p_small((-d / n) / (1 - p))
    return t + remainder0(n) - remainder0(k) - remainder0(m)


def binomial_normal(x, n, p, upper):
    q = 1 - p
    s = math.sqrt(q * n * p)
    c = 1 - 2 * p
    z = (x - n * p) / s
    h = 0.5 / s
    C = c * c
    Z = z * z
    A = 2 * C * Z
    B = 10 * C * Z
    a1 = -(Z - 3) * c * z / 3
    a2 = (((3 * (1 - C) + A) * Z - 18) * Z + 3 * (3 + C)) / 36
    a3 = -c * ((((45 * (1 + C) + B) * Z - 81 * (1 + C)) * Z - 45 * (15 - C)) * Z + 135 * (5 - C)) * z / 1620
    b1 = (Z - 1) * c / 3 - 1 if upper else (Z - 1) * c / 3 + 1
    b2 = -((A + (3 - 5 * C)) * Z - 3 * (7 - 3 * C)) * z / 36
    b3 = c * ((((B + 5 * (7 * C + 9)) * Z - 6 * (16 * C + 21)) * Z - 3 * (153 - 37 * C)) * Z + 48 * (9 - C)) / 1620
    if upper:
        T = 0.0 if z >= 38.4638 else normal_upper_tail(z)
    else:
        T = 0.0 if -z >= 38.4638 else normal_upper_tail(-z)
    M = div(T, 0.39894228040143265 * exp(z * (-0.5 * z)))
    if upper:
        return s * (M * (((a3 * h + a2) * h + a1) * h + 1) + ((b3 * h + b2) * h + b1) * h)
    return s * (M * (((a3 * h + a2) * h + a1) * h + 1) - ((b3 * h + b2) * h + b1) * h)


def binomial_upper_ratio(x, n, p):
    q = 1 - p
    mean = n * p
    if q * mean >= 10000:
        return binomial_normal(x, n, p, True)
    if n >= 1e15:
        r = poisson_upper_ratio(x, mean)
        c = (x * x - (2 * mean + 1) * x + mean * mean) * 0.5 / n
        return r * (c + 1) - 0.5 * mean * (x - mean) / n
    i = int(x)
    t = 1.0
    while True:
        f = i
        i = i + 1
        t = t * (n - f) * p / (i * q)
        if t < E:
            break
    j = i - 1
    r = 0.0
    while j >= x:
        w = (n - j) * p / (i * q)
        j = j - 1
        i = i - 1
        r = (r + 1) * w
    return r


def binomial_lower_ratio(x, n, p):
    q = 1 - p
    mean = n * p
    if q * mean >= 10000:
        return binomial_normal(x, n, p, False)
    if n >= 1e15:
        r = poisson_lower_ratio(x, mean)
        c = (x * x - (2 * mean + 1) * x + mean * mean) * 0.5 / n
        return r * (c + 1) + 0.5 * x * (x - mean - 1) / n
    i = int(x)
    t = 1.0
    while True:
        f = i
        i = i - 1
        t = t * q * f / ((n - f + 1) * p)
        if t < E:
            break
    j = i + 1
    r = 0.0
    while x >= j:
        w = q * j / ((n - j + 1) * p)
        j = j + 1
        r = (r + 1) * w
    return r


def binomial_tails(x, n, p):
    mean = n * p
    var = (1 - p) * mean
    if x < 0:
        return 0.0, 1.0, 0.0
    if x > n:
        return 1.0, 0.0, 0.0
    if mean <= 1e-100:
        return (0.0, 0.0, 1.0) if x == 0 else (1.0, 0.0, 0.0)
    if var <= 10000 and n >= 1e22:
        return poisson_tails(x, mean)
    if var <= 10000 and x >= 22500:
        return 1.0, 0.0, 0.0
    if var > 10000:
        w = 25 * math.sqrt(var)
        if x >= mean + w:
            return 1.0, 0.0, 0.0
        if mean - w >= x:
            return 0.0, 1.0, 0.0
    mass = exp(binomial_log_pmf(x, n, p))
    if x > (1 + n) * p - 1:
        upper = binomial_upper_ratio(x, n, p) * mass
        lower = 0.0 if x == 0 else 1 - upper - mass
    else:
        lower = binomial_lower_ratio(x, n, p) * mass
        upper = 1 - lower - mass
    return lower, upper, mass


def binomial_quantile(p, n, prob, upper):
    mean = n * prob
    var = (1 - prob) * mean
    sd = math.sqrt(var)
    z = 0.0 if p == 0.5 else normal_std_quantile(p)
    if upper:
        g = mean + 0.5 + -sd * z + (1 - 2 * prob) * (z * z - 1) / 6
    else:
        g = mean + 0.5 + sd * z + (1 - 2 * prob) * (z * z - 1) / 6
    if g < 0:
        start = 0.0
    elif g > n:
        start = n
    else:
        start = floor(g)
    if var > 1e12:
        return start
    mode = 1 if upper else 0
    if prob > 0.5:
        mode += 4
        prob = 1 - prob

    def f(x):
        if mode == 0:
            lower, _, mass = binomial_tails(x, n, prob)
            return lower + mass
        if mode == 1:
            return binomial_tails(x, n, prob)[1]
        lower, tail, mass = binomial_tails(n - x, n, prob)
        return tail + mass if mode == 4 else lower

    return search_discrete(p, start, f, mode)


# -- the exported functions --------------------------------------------------------------------------------------
def bad(prob):
    return prob != prob or prob < 0 or prob > 1


def pdf(x, n, prob):
    if bad(prob):
        return MISSING
    if x != x:
        return NAN_SIGN_SET
    if floor(x) != x or x < 0 or x > n:
        return 0.0
    if n == 0:
        return 1.0
    if prob > 0.5:
        return exp(binomial_log_pmf(n - x, n, 1 - prob))
    return exp(binomial_log_pmf(x, n, prob))


def cdf(x, n, prob, upper):
    if bad(prob):
        return MISSING
    if upper:
        y = floor(n - (x + 1))
        q = 1 - prob
    else:
        y = floor(x)
        q = prob
    if y != y:
        return NAN_SIGN_SET
    if y < 0:
        return 0.0
    if y >= n:
        return 1.0
    if q > 0.5:
        _, tail, mass = binomial_tails(n - y, n, 1 - q)
        return tail + mass
    lower, _, mass = binomial_tails(y, n, q)
    return lower + mass


def inv(p, n, prob, upper):
    if bad(prob):
        return MISSING
    if p != p or p < 0 or p > 1:
        return NAN_SIGN_SET
    if p == 0:
        return n if upper else 0.0
    if p == 1:
        return 0.0 if upper else n
    if n == 0:
        return 0.0
    if prob == 0:
        return 0.0
    if prob == 1:
        return n
    return binomial_quantile(p, n, prob, upper)


# -- the table ---------------------------------------------------------------------------------------------------
def text(v):
    if v != v:
        bits = struct.unpack("<Q", struct.pack("<d", v))[0]
        return {0x7FF8000000000000: "nan", 0xFFF8000000000000: "-nan"}.get(bits, "nan(1)")
    if math.isinf(v):
        return "inf" if v > 0 else "-inf"
    if v == math.floor(v) and abs(v) < 2.0 ** 53 and math.copysign(1.0, v) * v >= 0 and (v or math.copysign(1.0, v) > 0):
        return str(int(v))
    return v.hex()


def row(routine, arguments, results):
    arguments = list(arguments) + [0.0] * (4 - len(arguments))
    results = list(results) + [0.0] * (3 - len(results))
    print(",".join([routine] + [text(float(v)) for v in arguments + results]))


def up(x):
    return math.nextafter(x, INF)


def down(x):
    return math.nextafter(x, -INF)


def around(mean, sd, high, steps=(-24.9, -12.0, -6.0, -3.0, -1.5, -0.5, 0.0, 0.5, 1.5, 3.0, 6.0, 12.0, 24.9)):
    xs = sorted({floor(min(max(mean + s * sd, 0.0), high)) for s in steps})
    return xs


def main():
    print("# Made by discrete_bits.py. Unused arguments and results are 0.")
    print("routine,a1,a2,a3,a4,r1,r2,r3")

    # (n, p) over every branch of the tails, both sides of each switch
    pairs = [(1.0, 0.5), (2.0, 0.25), (10.0, 0.3), (20.0, 0.5), (100.0, 0.01), (1000.0, 0.37), (1000.0, 0.5),
             (1e6, 1e-6), (1e6, 0.001), (12345.0, 0.49), (39999.0, 0.5), (40000.0, 0.5), (40001.0, 0.5),
             (20002.0, 0.499), (1e6, 0.0101), (1e6, 0.01), (1e6, 0.0102), (4294967295.0, 2.3e-6),
             (4294967295.0, 2.4e-6), (4294967295.0, 0.5), (4294967295.0, 0.001), (1e9, 1e-9), (50.0, 1e-101),
             (50.0, 2e-102), (1e14, 3e-11), (down(1e15), 2e-12), (1e15, 2e-12), (1e15, 9.9e-12), (1e15, 1.1e-11),
             (1e18, 5e-15), (down(1e22), 3e-20), (1e22, 3e-20), (1e22, 1e-18), (1e22, 1.5e-18), (1e24, 4e-23),
             (1e13, 0.2), (100.0, 0.9), (30.0, 1.0)]
    for n, p in pairs:
        mean = n * p
        var = (1 - p) * mean
        sd = math.sqrt(var)
        xs = around(mean, sd, n)
        if var > 10000:
            w = 25 * sd
            for end in (mean + w, mean - w):
                for x in (floor(end) - 1, floor(end), floor(end) + 1):
                    if 0 <= x <= n:
                        xs.append(x)
        elif n >= 22500:
            xs += [x for x in (22499.0, 22500.0, 22501.0) if x <= n]
        xs += [0.0, 1.0, min(n, 7.0)]
        if n < 2.0 ** 53:
            xs += [n]
        for x in sorted(set(xs)):
            if (n, p) == (30.0, 1.0) and x < n:
                continue
            row("binomial_tails", (x, n, p), binomial_tails(x, n, p))
            if 0 <= x <= n and p < 1:
                row("binomial_log_pmf", (x, n, p), (binomial_log_pmf(x, n, p),))
        row("binomial_tails", (-1.0, n, p), binomial_tails(-1.0, n, p))
        row("binomial_tails", (n * 2 + 1, n, p), binomial_tails(n * 2 + 1, n, p))

    # the two ratios on their own, also at an x that is not whole
    for n, p, x in [(10.0, 0.3, 2.5), (10.0, 0.3, 7.25), (1000.0, 0.37, 400.5), (1e15, 2e-12, 1990.5),
                    (1e6, 0.3, 300100.5), (100.0, 0.5, 99.5)]:
        row("binomial_upper_ratio", (x, n, p), (binomial_upper_ratio(x, n, p),))
        row("binomial_lower_ratio", (x, n, p), (binomial_lower_ratio(x, n, p),))

    for mean in (1e-300, 1e-5, 0.3, down(1.0), 1.0, up(1.0), 2.5, 10.0, 100.0, 1234.5, 9999.0, 10000.0, up(10000.0),
                 15000.0, 1e6, down(1e8), 1e8, up(1e8), 1.5e8, 1e10, 1e12, 1e15):
        sd = math.sqrt(mean)
        xs = around(mean, sd, INF) + [0.0, 1.0, 2.0, 9.0, 10.0]
        if 9000 < mean < 20000:
            xs += [14499.0, 14500.0, 14501.0]
        if mean > 1e8:
            xs += [floor(mean + 37.5 * sd), floor(mean - 37.5 * sd), floor(mean + 38.5 * sd), floor(mean - 38.5 * sd)]
        for x in sorted(set(xs)):
            if mean == 1e8 and abs(x - mean) > 7 * sd and x > 20:
                continue
            row("poisson_tails", (x, mean), poisson_tails(x, mean))
            if mean <= 1e6 or mean > 1e8:
                if x > mean - 1:
                    row("poisson_upper_ratio", (x, mean), (poisson_upper_ratio(x, mean),))
                elif x <= mean:
                    row("poisson_lower_ratio", (x, mean), (poisson_lower_ratio(x, mean),))
        row("poisson_tails", (-1.0, mean), poisson_tails(-1.0, mean))
        for p in (5e-15, 1e-6, 0.025, 0.3, 0.5, 0.6, 0.975, 1 - 1e-9):
            if mean in (1e8, down(1e8)) and p != 0.3:
                continue
            # Modes 2 and 3 start on the wrong side of the mean and walk across it.
            for mode in (0, 1, 2, 3) if mean <= 1234.5 else (0, 1):
                row("poisson_quantile", (p, mean, mode), (poisson_quantile(p, mean, mode),))
    row("poisson_quantile", (0.01, up(1e12), 0), (poisson_quantile(0.01, up(1e12), 0),))
    row("poisson_quantile", (0.01, up(1e12), 1), (poisson_quantile(0.01, up(1e12), 1),))

    # the exported functions
    probs = [0.0, 1e-105, 1e-9, 0.001, 0.3, 0.5, up(0.5), 0.7, 1 - 1e-12, 1.0, -1e-300, up(1.0), math.nan]
    for n in (0.0, 1.0, 10.0, 170.0, 40000.0, 123456.0, 2147483648.0, 4294967295.0):
        for prob in probs:
            if bad(prob):
                row("pdf", (1.0, n, prob), (pdf(1.0, n, prob),))
                row("cdf", (1.0, n, prob, 0), (cdf(1.0, n, prob, False),))
                row("inv", (0.5, n, prob, 1), (inv(0.5, n, prob, True),))
                continue
            mean = n * prob
            sd = math.sqrt(mean * (1 - prob))
            xs = {floor(mean), min(floor(mean + 2 * sd), n), max(floor(mean - 3 * sd), 0.0), 0.0, n}
            for x in sorted(xs):
                row("pdf", (x, n, prob), (pdf(x, n, prob),))
                for upper in (0, 1):
                    row("cdf", (x, n, prob, upper), (cdf(x, n, prob, upper),))
            for upper in (0, 1):
                row("cdf", (floor(mean) + 0.5, n, prob, upper), (cdf(floor(mean) + 0.5, n, prob, upper),))
                for p in (1e-12, 0.05, 0.5, 1 - 1e-10):
                    row("inv", (p, n, prob, upper), (inv(p, n, prob, upper),))
    for x in (2.5, -0.5, -1.0, -0.0, INF, -INF, math.nan, 9.5, 10.0, 11.0, down(3.0), up(3.0)):
        row("pdf", (x, 10.0, 0.4), (pdf(x, 10.0, 0.4),))
        for upper in (0, 1):
            row("cdf", (x, 10.0, 0.4, upper), (cdf(x, 10.0, 0.4, upper),))
    for p in (0.0, 1.0, -1e-300, up(1.0), math.nan, 5e-324, down(1.0), 1e-300, 1e-100):
        for upper in (0, 1):
            for prob in (0.4, 0.6):
                row("inv", (p, 10.0, prob, upper), (inv(p, 10.0, prob, upper),))
    for p in (1e-300, 1e-30, 0.001, 0.5, 0.9999):
        for prob in (0.5, 0.3, 0.75, 2.3e-6):
            row("binomial_quantile", (p, 3e9, prob, 0), (binomial_quantile(p, 3e9, prob, False),))
            row("binomial_quantile", (p, 3e9, prob, 1), (binomial_quantile(p, 3e9, prob, True),))
    for n in (4e12, up(4e12), 4.1e12, 1e16):
        row("binomial_quantile", (0.3, n, 0.5, 0), (binomial_quantile(0.3, n, 0.5, False),))
        row("binomial_quantile", (0.3, n, 0.5, 1), (binomial_quantile(0.3, n, 0.5, True),))


main()
