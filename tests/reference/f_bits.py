#!/usr/bin/env python3
"""Bit-exact table for the F family: writes f_bits.csv beside itself.

Density, tails and quantile once more in plain Python doubles on top of the transcriptions of the kernels and of
the noncentral beta distribution: every operation in the order that the method prints it, nothing prepared.
Where the mixture has no meaning the result is nan. The remarks of noncentral_beta_bits.py hold here.
"""
import functools
import math
import os
import random
import sys

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import kernel_bits_incomplete_beta as B  # noqa: E402
from kernel_bits_normal import INF, NAN, div, exp, log, root  # noqa: E402
from noncentral_beta_bits import (LOG_DBL_MIN, TWO_TO_53, NoMixture, beta_nc_quantile, beta_nc_tails_left,  # noqa: E402
                                  beta_nc_tails_right, log_poisson_pmf, log_uniform, note, sides, table)
from quantile_bits import beta_quantile  # noqa: E402


# ---- the mixture of densities ------------------------------------------------------------------------------


def beta_nc_pdf(y, a, b, l):
    c = a + b
    if l == 0.0:
        return exp(B.log_beta_pdf(b, a, 1.0 - y)) if y > 0.5 else exp(B.log_beta_pdf(a, b, y))
    if y == 0.0:
        return 0.0 if a > 1.0 else exp(-l) * b if a == 1.0 else INF
    if y == 1.0:
        return 0.0 if b > 1.0 else a + l if b == 1.0 else INF
    if not 0.0 < l < INF:
        raise NoMixture
    g = y * l
    R = root((a - 1.0) * (a - 1.0) + (g - 1.0) * (g - 1.0) + 2.0 * g * (2.0 * b + a) - 1.0)
    peak = ((g - 2.0) * a + (4.0 * b + g - 2.0) * 0.5 * g) / (1.0 + a + R) + 0.5 * g
    if not peak > 0.0:
        k = 0.0
    else:
        k = peak if peak >= TWO_TO_53 else float(math.ceil(peak))
    note["peak"] = k
    P = log_poisson_pmf(k, l)
    Q = B.log_beta_pdf(a + k, b, y) if y <= 0.5 else B.log_beta_pdf(b, a + k, 1.0 - y)
    if Q + P < LOG_DBL_MIN:
        note["peak"] = "underflow"
        return 0.0
    if k > TWO_TO_53:
        raise NoMixture
    T = exp(Q + P)
    if math.isnan(T):
        return T
    v = 1.0
    i = 0
    while True:
        m = i + k
        v = v * ((c + m) * g / (1.0 + m) / (a + m))
        if v < 1e-14:
            break
        if not v < INF:
            raise NoMixture
        i += 1
    M, last = m, i
    s = 0.0
    for j in range(last + 1):
        m = M - j
        s = (s + 1.0) * ((c + m) * g / (1.0 + m) / (a + m))
    if k == 0.0:
        return T * (s + 1.0)
    v = 1.0
    i = 0
    while True:
        m = k - i
        f = 0.0 if c + m == 1.0 else (a + m - 1.0) * m / g / (c + m - 1.0)
        v = v * f
        if v < 1e-14:
            break
        if not v < INF:
            raise NoMixture
        i += 1
    M2, last = m, i
    w = 0.0
    for j in range(last + 1):
        m = j + M2
        f = 0.0 if c + m == 1.0 else m * (a + m - 1.0) / g / (c + m - 1.0)
        w = (w + 1.0) * f
    return T * (s + 1.0 + w)


def beta_pdf(y, a, b, nc):
    if math.isnan(y):
        return NAN
    if math.isinf(y) or y < 0.0:
        return 0.0
    if y == 0.0:
        if a < 1.0:
            return INF
        if a == 1.0 and nc == 0.0:
            return b
        if nc == 0.0:
            return 0.0
    if y == 1.0:
        if b < 1.0:
            return INF
        if b == 1.0 and nc == 0.0:
            return a
        if nc == 0.0:
            return 0.0
    if y > 1.0:
        return 0.0
    if nc == 0.0:
        return exp(B.log_beta_pdf(a, b, y)) if y < 0.5 else exp(B.log_beta_pdf(b, a, 1.0 - y))
    return beta_nc_pdf(y, a, b, nc)


# ---- the family --------------------------------------------------------------------------------------------


def f_pdf(x, d1, d2, nc):
    if math.isnan(x):
        return NAN
    if math.isinf(x) or x < 0.0:
        return 0.0
    a, b = d1 / 2.0, d2 / 2.0
    t = x * a
    y = div(t, b + t)
    if y >= 0.5 and nc <= 0.0:
        w = div(b, b + t)
        if w == 0.0:
            D = INF if b < 1.0 else a if b == 1.0 else 0.0
        elif w == 1.0:
            D = INF if a < 1.0 else b if a == 1.0 else 0.0
        elif w < 0.5:
            D = exp(B.log_beta_pdf(b, a, w))
        else:
            D = exp(B.log_beta_pdf(a, b, 1.0 - w))
    else:
        try:
            D = beta_pdf(y, a, b, nc)
        except NoMixture:
            return NAN
    if not D > 0.0:
        return 0.0
    e = div(t, b)
    return exp(log(D) + log(div(a, b)) - 2.0 * B.log1p_small(e))


def f_cdf(x, d1, d2, nc, upper):
    if math.isnan(x):
        return NAN
    if math.isinf(x):
        return (0.0 if x > 0.0 else 1.0) if upper else (0.0 if x < 0.0 else 1.0)
    if x <= 0.0:
        return 1.0 if upper else 0.0
    try:
        lower, above, note["order"] = f_tails(x, d1 / 2.0, d2 / 2.0, nc)
    except NoMixture:
        return NAN
    return above if upper else lower


@functools.lru_cache(maxsize=4)  # the table asks for both tails
def f_tails(x, a, b, nc):
    t = x * a
    y = div(t, b + t)
    note["order"] = "central"
    if nc == 0.0:
        if y < 0.5:
            lower, above = B.beta_tails(y, a, b)
        else:
            above, lower = B.beta_tails(div(b, b + t), b, a)
    elif y < 0.5:
        note["order"] = "end"
        lower, above = beta_nc_tails_left(y, a, b, nc)
    else:
        note["order"] = "end"
        above, lower = beta_nc_tails_right(div(b, b + t), b, a, nc)
    return lower, above, note["order"]


def f_inv(p, d1, d2, nc, upper):
    if p == 0.0:
        return INF if upper else 0.0
    if p == 1.0:
        return 0.0 if upper else INF
    a, b = d1 / 2.0, d2 / 2.0
    y = f_beta_quantile(p, a, b, nc, upper)
    return div(div(b, a) * y, 1.0 - y)


def f_beta_quantile(p, a, b, nc, upper):
    if not 0.0 <= p <= 1.0:
        return NAN
    if p == 0.0:
        return 1.0 if upper else 0.0
    if p == 1.0:
        return 0.0 if upper else 1.0
    if nc == 0.0:
        return beta_quantile(p, a, b, upper) if p < 0.5 else 1.0 - beta_quantile(1.0 - p, b, a, upper)
    try:
        return beta_nc_quantile(p, a, b, nc, upper)
    except NoMixture:
        return NAN


# ---- the table ---------------------------------------------------------------------------------------------


SMALL_NC = [1e-300, 1e-10, 0.003, 0.5, 1.0, 5.0, 30.0]
LARGE_NC = [500.0, 1e4, 1e6]
SHAPES = [(3.0, 10.0), (20.0, 50.0), (300.0, 700.0), (1.0, 1.0), (2.0, 2.0), (4.0, 6.0), (10.0, 3.0), (2.0, 3.0),
          (0.02, 0.02), (1e-3, 2.0), (2.0, 1e-3), (0.7, 50.0), (50.0, 0.7), (5.0, 1e12), (1e12, 5.0), (3.0, 4e15),
          (4e15, 3.0), (5e4, 9e4), (1e8, 1e8), (7.3, 2222.2)]


def points(rng, a, b, nc):
    """Variates below, around and above the middle of the distribution, and the switch of the two sums."""
    middle = (a + max(nc, 0.0)) / a
    width = math.sqrt((a + 2.0 * abs(nc)) / (a * a) + middle * middle / b)
    return [middle * v for v in (0.003, 0.3, 1.0, 4.0)] + \
        [max(middle + width * rng.uniform(-4.0, 6.0), middle * rng.random()) for _ in range(2)]


def switch_points(a, b, nc):
    """The two doubles between which y = t / (b + t) passes (a + nc) / (nc + c), or b / (b + t) its mirror."""
    x = (a + nc) / a

    def above(x):
        t = x * a
        y = t / (b + t)
        if y < 0.5:
            return y >= (a + nc) / (nc + (a + b))
        return b / (b + t) < b / (nc + b + a)

    low, high = x * (1.0 - 1e-12), x * (1.0 + 1e-12)
    while math.nextafter(low, INF) < high:
        mid = (low + high) / 2.0
        if above(mid):
            high = mid
        else:
            low = mid
    return [low, high]


def main():
    rng = random.Random(35)
    out = table()

    def density(branch, x, d1, d2, nc):
        out.put("pdf", branch, [x, d1, d2, nc], 0, lambda: f_pdf(x, d1, d2, nc))

    def tails(branch, x, d1, d2, nc):
        for upper in (0, 1):
            out.put("cdf", branch, [x, d1, d2, nc], upper, lambda: f_cdf(x, d1, d2, nc, upper))

    def quantile(branch, p, d1, d2, nc):
        for upper in (0, 1):
            out.put("inv", branch, [p, d1, d2, nc], upper, lambda: f_inv(p, d1, d2, nc, upper))

    # Every kind of shape against every size of noncentrality.
    for index, (d1, d2) in enumerate(SHAPES):
        a, b = d1 / 2.0, d2 / 2.0
        huge = a * b / (a + b) >= 10000.0 or max(a, b) >= 1e12
        for nc in [0.0] + SMALL_NC + LARGE_NC:
            index += 1
            kind = "central" if nc == 0.0 else "small" if nc < 100.0 else "large"
            xs = points(rng, a, b, nc) + sides(b / a)
            for x in xs[index % 2::2]:
                density(kind, x, d1, d2, nc)
            if nc >= 1e6:
                if huge:
                    continue
                xs = xs[2:4]
            for x in xs[index // 2 % 2::2]:
                tails(kind, x, d1, d2, nc)
            if nc > 0.0:
                for x in switch_points(a, b, nc):
                    tails(kind + "-switch", x, d1, d2, nc)
            ps = [0.5, rng.random()] if nc == 0.0 else [rng.random()]
            if nc < 1e4 and not (huge and nc not in (0.0, 5.0)):
                for p in ps:
                    if max(a, b) < 1e12 or nc == 0.0:
                        quantile(kind, p, d1, d2, nc)

    # Random parameters.
    for _ in range(250):
        d1, d2 = log_uniform(rng, 0.01, 1e4), log_uniform(rng, 0.05, 1e4)
        nc = log_uniform(rng, 1e-3, 3e3)
        x = rng.choice(points(rng, d1 / 2.0, d2 / 2.0, nc))
        density("random", x, d1, d2, nc)
        tails("random", x, d1, d2, nc)
    for _ in range(30):
        d1, d2 = log_uniform(rng, 0.2, 300.0), log_uniform(rng, 1.0, 1e3)
        quantile("random", rng.choice([rng.random(), log_uniform(rng, 1e-12, 1e-2)]), d1, d2,
                 log_uniform(rng, 1e-2, 200.0))
    for p in (5e-324, 1e-300, 1e-30, 1.0 - 2.0 ** -53, 0.0, 1.0, -1e-300, math.nextafter(1.0, INF), NAN, INF, -INF):
        for d1, d2, nc in ((3.0, 10.0, 0.0), (3.0, 10.0, 5.0), (20.0, 50.0, 30.0)):
            quantile("p", p, d1, d2, nc)
    quantile("large", 0.3, 20.0, 50.0, 1e4)
    quantile("large", 0.9, 3.0, 10.0, 1e6)

    # Where terms are cut: mass of the Poisson law, its normal form, 750000 terms, indices that no longer move.
    for nc in (9000.0, *sides(10000.0), 14000.0, 14499.0, 14501.0, 2e4):
        for x in (0.2, 1.0, 1.5):
            density("poisson-cut", x * (nc + 10.0) / 10.0, 20.0, 50.0, nc)
            tails("poisson-cut", x * (nc + 10.0) / 10.0, 20.0, 50.0, nc)
    for nc in (99999999.0, math.nextafter(1e8, INF), 1e10, 1e12, math.nextafter(1e12, INF), 1e14):
        tails("ceiling", (nc + 10.0) / 10.0, 20.0, 50.0, nc)
    for nc in (*sides(TWO_TO_53), 2e16, 1e18, 1e100, 1e300, 1.7e308):
        for x in (1e-300, 1.0, 0.5 * nc, nc, 3.0 * nc):
            density("huge", x, 20.0, 50.0, nc)
    for nc in (1e15, 9e15, TWO_TO_53, 1e18, 1e300):
        for x in (1e-300, nc):
            tails("huge", x, 20.0, 50.0, nc)
    for nc in (1e8,):
        density("huge", 1.01 * (nc + 10.0) / 10.0, 20.0, 50.0, nc)
    for x in (1e-310, 1e-20, 1e-3, 1e20, 1e300):
        for d1, d2 in ((3.0, 10.0), (20.0, 50.0), (1.0, 1.0), (2.0, 2.0)):
            for nc in (0.0, 5.0, 1e4):
                density("far", x, d1, d2, nc)
                tails("far", x, d1, d2, nc)

    # No mixture: noncentralities without a meaning, on every path.
    for nc in (-5.0, -1e-300, -1e300, NAN, INF, -INF):
        for d1, d2 in ((1.0, 1.0), (2.0, 2.0), (4.0, 6.0)):
            for x in (0.0, -0.0, 0.1, 1.0, 7.0, 1e-320, 1e300, INF, -INF, -1.0, NAN):
                density("no-mixture", x, d1, d2, nc)
                tails("no-mixture", x, d1, d2, nc)
            for p in (0.0, 0.3, 1.0, 2.0, NAN):
                quantile("no-mixture", p, d1, d2, nc)

    # The ends.
    for d1, d2 in ((1.0, 5.0), (2.0, 5.0), (4.0, 5.0), (1.0, 1.0), (2.0, 2.0), (4.0, 1.0)):
        for nc in (0.0, 0.7, 40.0):
            for x in (0.0, -0.0, -1.0, INF, -INF, NAN, 1e308, 1.7e308, 5e-324):
                density("end", x, d1, d2, nc)
                tails("end", x, d1, d2, nc)
    out.save(__file__, "routine,branch,x,d1,d2,nc,upper,result")


if __name__ == "__main__":
    main()
