#!/usr/bin/env python3
"""Bit-exact table for the Student t family: writes t_bits.csv beside itself.

Rows: routine, branch, x (or p), df, nc, tail, result, all doubles as hexadecimal floats.

A second, plain transcription of the density's four methods, the tails' two mixtures, the saddle-point tail, the
recurrence in half degrees of freedom and both quantiles in Python doubles (exp, log, pow and sqrt are the C
library's), on top of the kernels' transcriptions: every operation in the order that the method prints it, every
start and every remainder from scratch, nothing shared, nothing prepared. Run with the interpreter of the machine
whose C library the tests use; another one may round exp, log or pow differently in the last place.
"""
import math
import os
import random
import sys

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import discrete_bits as P  # noqa: E402
import kernel_bits_incomplete_beta as B  # noqa: E402
import quantile_bits as Q  # noqa: E402
from kernel_bits_central_t import t_cdf_central  # noqa: E402
from kernel_bits_log_gamma import log_gamma_pdf, log_gamma_remainder  # noqa: E402
from kernel_bits_normal import (INF, NAN, div, exp, log, normal_quantile, normal_upper_tail, power,  # noqa: E402
                                root)

LOG_DBL_MIN = log(2.2250738585072014e-308)
LOG_DBL_MAX = log(1.7976931348623157e308)
SENTINEL = 1.7976931348623157e308


class SignSetNan(Exception):
    """The method has no answer: the NaN with its sign bit set."""


def remainder0(x):
    return 0.0 if x == 0.0 else log_gamma_remainder(x)


# ---- density -----------------------------------------------------------------------------------------------


def log_t_pdf(df, x):
    h = df / 2.0
    g = (1.0 + df) / 2.0
    A = log(h / g / 3.141592653589793 * 0.5)
    r_g = remainder0(g)
    r_h = remainder0(h)
    b = B.log1p_small(div(0.5, h))
    c = B.log1p_small(div(0.5 * x * x, h))
    return 0.5 * A - 0.5 + r_g - r_h + h * b - g * c


def saddle(x, df, nc):
    """-> (density, log part, correction)"""
    h = df / 2.0
    E = 1.0 if h == 0.0 else exp(-log_gamma_remainder(h))
    K = 2.0 * h * E
    u = div(x, root(h))
    d = div(nc, root(h))
    s = (u * d + root(u * u * d * d + 16.0 + 8.0 * u * u)) / (2.0 * u * u + 4.0)
    if df < 1e8:
        gap = u * s - d
        X = s * s - 2.0 * log(s) + gap * gap / 2.0 - 1.0
    else:
        v = (x - nc) / nc
        D = d * d
        b4 = 4.0 + D
        first = D * D * (D * D * D * D * D - 172.0 * D * D * D - 1224.0 * D * D - 2176.0 * D + 1536.0)
        first = first * power(b4, -7.0) * v
        second = D * D * (2.0 * D * D + D * D * D - 64.0 * D - 256.0) * power(b4, -5.0)
        third = (2.0 * D + D * D - 16.0) * D * power(b4, -3.0)
        w = (((first - second) * v + third) * v - D / b4) * v
        gap = x - nc
        X = ((0.5 * w - 0.6666666666666666) * w + (4.0 + u * u) * 0.5) * w + x * (x - nc) / h
        X = X * w + gap * gap * 0.5 / h
    Y = div(2.0, s * s) + 2.0 + u * u
    R = div(1.0, root(h * Y))
    b = div(1.0, s) / root(Y)
    b3 = b * b * b
    b4 = b3 * b
    b5 = b4 * b
    b6 = b5 * b
    b7 = b6 * b
    b8 = b7 * b
    c3 = -(2.0 / 3.0) * b3
    c4 = b4 / 2.0
    c5 = -0.4 * b5
    c6 = b6 / 3.0
    c7 = -(2.0 / 7.0) * b7
    c3_2 = c3 * c3
    c3_3 = c3_2 * c3
    c3_4 = c3_3 * c3
    c3_6 = c3_4 * c3 * c3
    c4_2 = c4 * c4
    T1 = -3.0 * c4 + 7.5 * c3_2
    T2 = -15.0 * c6 + 52.5 * c4_2 + 105.0 * c3 * c5 - 472.5 * c3_2 * c4 + 433.125 * c3_4
    T3 = -105.0 * b8 / 4.0
    T3 = T3 + 472.5 * (c5 * c5)
    T3 = T3 + 945.0 * c4 * c6
    T3 = T3 + 945.0 * c3 * c7
    T3 = T3 - 1732.5 * (c4_2 * c4)
    T3 = T3 - 5197.5 * c3_2 * c6
    T3 = T3 - 10395.0 * c3 * c4 * c5
    T3 = T3 + 22522.5 * c3_3 * c5
    T3 = T3 + 33783.75 * c3_2 * c4_2
    T3 = T3 - 84459.375 * c3_4 * c4
    T3 = T3 + 47860.3125 * c3_6
    c = div(div(div(T3, h) + T2, h) + T1, h) + 1.0
    l = log(K * R) - X * h
    if log(c) + l < LOG_DBL_MIN:
        density = 0.0
    elif log(c) + l > LOG_DBL_MAX:
        density = INF
    else:
        density = K * c * R * exp(-X * h)
    return density, l, c


def pdf_negative(x, df, nc):
    if nc > 21.417:
        note("far")
        return 0.0
    if df >= 50.0:
        note("saddle")
        return saddle(x, df, nc)[0]
    h = df / 2.0
    m = math.ceil(25.0 - h)
    H = h + m
    u = div(x, root(h))
    r = u * u + 2.0
    q = root(r)
    e = nc * u / q
    N = 2 * m

    def step(H, older, newer):
        one = r * H / (2.0 * H + 1.0) * older
        two = e * H * B.gamma_value(H + 0.5) * q / (2.0 * H + 1.0) / B.gamma_value(H + 1.0) * newer
        return one - two

    _, l1, c1 = saddle(root(H + 0.5) * u, 2.0 * H + 1.0, nc)
    v = log(c1) + l1 + 0.5 * log(H + 0.5)
    C = 0.0
    _, l0, c0 = saddle(root(H) * u, 2.0 * H, nc)
    if v >= LOG_DBL_MIN:
        note("plain")
        older = exp(l1) * c1 * root(H + 0.5)
        D = 0.0
        newer = exp(l0) * c0 * root(H)
        for _ in range(N - 1):
            H = H - 0.5
            y = step(H, older, newer)
            older = newer
            newer = y
            if y > 1.7976931348623158e157:
                note("stopped")
                break
    else:
        note("shifted")
        D = LOG_DBL_MIN - v
        older = exp(v + D)
        newer = exp(l0 + log(c0) + 0.5 * log(H) + D)
        for _ in range(N - 1):
            H = H - 0.5
            y = step(H, older, newer)
            older = newer
            newer = y
            if y > 1.7976931348623158e157:
                note("rescaled")
                o = older
                C = C + LOG_DBL_MIN - log(o)
                newer = y / o * exp(LOG_DBL_MIN)
                older = exp(LOG_DBL_MIN)
    y = step(h, older, newer)
    L = log(y) - D - C - 0.5 * log(h)
    return 0.0 if L < LOG_DBL_MIN else exp(L)


def gamma_half_ratio(m):
    if m > 167.0:
        return root(m) * (((0.0048828125 / m + 0.0078125) / m - 0.125) / m + 1.0)
    return B.gamma_value(m + 0.5) / B.gamma_value(m)


def pdf_series(x, df, nc):
    S = x * x + df
    c = div(x * nc * 1.4142135623730951, root(S))
    place = root(8.0 * df * c * c + (c * c - 2.0) * (c * c - 2.0)) / 4.0 + c * c / 4.0 - 0.5
    if math.isnan(place) or place > 9007199254740992.0:
        raise SignSetNan
    k = max(0, math.floor(place))
    if k == 0:
        note("peak0")
        W = power(df / S, (1.0 + df) / 2.0) * gamma_half_ratio(df / 2.0) / root(3.141592653589793 * df)
        if log(W) - 0.5 * nc * nc < LOG_DBL_MIN:
            return 0.0
        T = W * exp(-0.5 * nc * nc)
    else:
        note("peak")
        A = df + k - 1.0
        Z = 1.0 / B.gamma_value(df / 2.0) / root(3.141592653589793 * df) * (df / S)
        Z = Z * power(df * A / (5.43656365691809 * S), (df - 1.0) / 2.0)
        r1 = remainder0(A / 2.0)
        r2 = log_gamma_remainder(float(k))
        Z2 = exp(r1 - r2) * Z
        l = log(A * c * c * 2.718281828459045 * power(float(k), -2.0) * 0.5)
        if log(Z2) + 0.5 * k * l - 0.5 * nc * nc < LOG_DBL_MIN:
            return 0.0
        T = exp(0.5 * k * l - 0.5 * nc * nc) * Z2
    v = 1.0
    j = k
    while True:
        v = v * gamma_half_ratio((df + j + 1.0) / 2.0) * c / (j + 1.0)
        if v < 1e-14:
            break
        if not math.isfinite(v):
            raise SignSetNan
        j += 1
    s = 0.0
    for i in range(j - 1, k - 1, -1):
        s = (s + 1.0) * gamma_half_ratio((df + i + 1.0) / 2.0) * c / (i + 1.0)
    v = 1.0
    last = 0
    for i in range(k, -1, -1):
        v = div(div(v * i, c), gamma_half_ratio((df + i) / 2.0))
        if v < 1e-14:
            last = i
            break
        if i > 0 and not math.isfinite(v):
            raise SignSetNan
    w = 0.0
    for i in range(last + 1, k + 1):
        w = (w + 1.0) * i / c / gamma_half_ratio((df + i) / 2.0)
    return T * (1.0 + s + w)


def pdf_large_nc(x, df, nc):
    r = x / nc
    h = df / 2.0
    g = exp(log_gamma_pdf(h, h * power(r, -2.0)))
    i = div(1.0, r)
    w = i * i
    z = power(nc, -2.0)
    h2 = h * h
    h3 = h * h * h
    h4 = h * h * h * h
    h5 = h * h * h * h * h
    h6 = h * h * h * h * h * h
    E1 = (2.0 * h * h * w - (1.0 + 4.0 * h) * h) * w + (2.0 * h - 1.0) * h
    E2 = 2.0 * h4 * w - 2.0 * h3 * (3.0 + 4.0 * h)
    E2 = E2 * w + 1.5 * h2 * (8.0 * h2 + 4.0 * h + 1.0)
    E2 = E2 * w - h2 * (8.0 * h2 - 6.0 * h + 1.0)
    E2 = E2 * w + 0.5 * h * (4.0 * h3 - 12.0 * h2 + 11.0 * h - 3.0)
    E3 = 1.3333333333333333 * h6 * w - 2.0 * h5 * (5.0 + 4.0 * h)
    E3 = E3 * w + 5.0 * h4 * (4.0 * h2 + 6.0 * h + 3.0)
    E3 = E3 * w - 0.8333333333333334 * h3 * (32.0 * h3 + 24.0 * h2 + 16.0 * h + 3.0)
    E3 = E3 * w + 2.5 * h3 * (8.0 * h3 - 8.0 * h2 + 4.0 * h - 1.0)
    E3 = E3 * w - 0.5 * h2 * (16.0 * h4 - 60.0 * h3 + 80.0 * h2 - 45.0 * h + 9.0)
    E3 = E3 * w + h * (8.0 * h5 - 60.0 * h4 + 170.0 * h3 - 225.0 * h2 + 137.0 * h - 30.0) / 6.0
    return w * (i * (2.0 * h) * g) * (((E3 * z + E2) * z + E1) * z + 1.0) / nc


def t_pdf(x, df, nc):
    if math.isnan(x):
        return NAN
    if math.isinf(x):
        return 0.0
    if nc == 0.0:
        note("central")
        return exp(log_t_pdf(df, x))
    if nc < 0.0:
        nc = -nc
        x = -x
    if x < 0.0:
        note("negative")
        return pdf_negative(x, df, nc)
    if df >= 50.0:
        note("saddle")
        return saddle(x, df, nc)[0]
    if nc >= 2000.0:
        note("large_nc")
        return pdf_large_nc(x, df, nc)
    note("series")
    return pdf_series(x, df, nc)


# ---- Poisson mixtures of incomplete betas ------------------------------------------------------------------


def peak_log(k, ncp, log_density):
    return P.log_poisson_pmf(float(k), ncp) + log_density


def left_upper_sum(x, a, b, ncp):
    c = a + b
    r = 1.0 - x
    j0 = int(P.poisson_quantile(5e-15, ncp, 0))
    i = j0
    R = B.upper_ratio(a + j0, b, x)
    S = 0.0
    k = 0
    while i <= j0 + 750000:
        d = (a + i) * R / x
        t = (i + 1.0) / ncp * d / (r + d)
        if t > 1.0:
            k = i
            break
        S = (S + 1.0) * t
        R = r / (i + c) + d / (i + c)
        i += 1
    if i - j0 >= 750000:
        return 0.0
    p = peak_log(k, ncp, B.log_beta_pdf(a + k, b, x))
    if p < LOG_DBL_MIN:
        return 0.0
    T = exp(p) * R
    total = (S + 1.0) * T
    i = k
    while i <= k + 750000:
        d = (a + i) * R / x
        t = ncp / (i + 1.0) * (r / d + 1.0)
        T = T * t
        total = total + T
        if total > 0.9 or T < total * 5e-15 * (1.0 - t):
            break
        R = r / (i + c) + d / (i + c)
        i += 1
    return 0.0 if i - k > 749999 else total


def left_lower_sum(x, a, b, ncp):
    c = a + b
    r = 1.0 - x
    j1 = int(P.poisson_quantile(5e-15, ncp, 1))
    i = j1
    L = B.lower_ratio(a + j1 + 1.0, b, x)
    S = 0.0
    m = max(0, j1 - 750000)
    k = None
    while i > m:
        e = c + i - 1.0
        L = (L * (c + i) + r) * (x / (a + i))
        t = ncp / i * e * L / (e * L + r)
        if t > 1.0:
            k = i
            break
        S = (S + 1.0) * t
        i -= 1
    if j1 - i >= 750000:
        return 0.0
    if k is None:
        k = 0
        L = (r + L * c) * (x / a)
    p = peak_log(k, ncp, B.log_beta_pdf(a + k, b, x))
    if p < LOG_DBL_MIN:
        return 0.0
    T = exp(p) * L
    total = (S + 1.0) * T
    i = k
    while i > 0:
        e = c + i - 1.0
        t = i / ncp * (r / e / L + 1.0)
        T = T * t
        total = total + T
        if total > 0.9 or T < total * 5e-15 * (1.0 - t):
            break
        L = (L * e + r) * (x / (i + a - 1.0))
        i -= 1
        if k - i >= 750000:
            break
    return 0.0 if k - i >= 750000 else total


def right_first_sum(y, p, q, ncp):
    c = p + q
    o = 1.0 - y
    j0 = int(P.poisson_quantile(5e-15, ncp, 0))
    i = j0
    R = B.lower_ratio(p, q + j0, y)
    S = 0.0
    k = 0
    while i <= j0 + 750000:
        d = (q + i) * R / o
        t = (i + 1.0) / ncp * d / (y + d)
        if t > 1.0:
            k = i
            break
        S = (S + 1.0) * t
        R = y / (i + c) + d / (i + c)
        i += 1
    if i - j0 >= 750000:
        return 0.0
    g = peak_log(k, ncp, B.log_beta_pdf(p, q + k, y))
    if g < LOG_DBL_MIN:
        return 0.0
    T = exp(g) * R
    total = (S + 1.0) * T
    i = k
    while i <= k + 750000:
        d = (q + i) * R / o
        t = ncp / (i + 1.0) * (y / d + 1.0)
        T = T * t
        total = total + T
        if total > 0.9 or T < total * 5e-15 * (1.0 - t):
            break
        R = y / (i + c) + d / (i + c)
        i += 1
    return 0.0 if i - k > 749999 else total


def right_second_sum(y, p, q, ncp):
    c = p + q
    o = 1.0 - y
    j1 = int(P.poisson_quantile(5e-15, ncp, 1))
    i = j1
    L = B.upper_ratio(p, q + j1 + 1.0, y)
    S = 0.0
    m = max(0, j1 - 750000)
    k = None
    while i > m:
        e = c + i - 1.0
        L = (L * (c + i) + y) * (o / (q + i))
        t = ncp / i * e * L / (e * L + y)
        if t > 1.0:
            k = i
            break
        S = (S + 1.0) * t
        i -= 1
    if j1 - i >= 750000:
        return 0.0
    if k is None:
        k = 0
        L = (y + L * c) * (o / q)
    g = peak_log(k, ncp, B.log_beta_pdf(p, q + k, y))
    if g < LOG_DBL_MIN:
        return 0.0
    T = exp(g) * L
    total = (S + 1.0) * T
    i = k
    while i > 0:
        e = c + i - 1.0
        t = i / ncp * (y / e / L + 1.0)
        T = T * t
        total = total + T
        if total > 0.9 or T < total * 5e-15 * (1.0 - t):
            break
        L = (L * e + y) * (o / (i + q - 1.0))
        i -= 1
        if k - i >= 750000:
            break
    return 0.0 if k - i >= 750000 else total


def central_pair(x, a, b):
    m = B.split_point(a, b)
    L = B.log_beta_pdf(a, b, x)
    E = exp(L)
    if m < x:
        upper = B.upper_ratio(a, b, x) * E if L >= LOG_DBL_MIN else 0.0
        return 1.0 - upper, upper
    lower = B.lower_ratio(a, b, x) * E if L >= LOG_DBL_MIN else 0.0
    return lower, 1.0 - lower


def mixture_left(x, a, b, ncp):
    """-> (lower, upper)"""
    if x == 0.0:
        return 0.0, 1.0
    if ncp == 0.0:
        return central_pair(x, a, b)
    if x >= (a + ncp) / (ncp + (a + b)):
        upper = left_upper_sum(x, a, b, ncp)
        if upper <= 0.9:
            return 1.0 - upper, upper
        lower = left_lower_sum(x, a, b, ncp)
        return lower, 1.0 - lower
    lower = left_lower_sum(x, a, b, ncp)
    if lower <= 0.9:
        return lower, 1.0 - lower
    upper = left_upper_sum(x, a, b, ncp)
    return 1.0 - upper, upper


def mixture_right(y, p, q, ncp):
    """-> (first, second)"""
    if y == 0.0:
        return 0.0, 1.0
    if ncp == 0.0:
        return central_pair(y, p, q)
    if y < p / (ncp + p + q):
        first = right_first_sum(y, p, q, ncp)
        if first <= 0.9:
            return first, 1.0 - first
        second = right_second_sum(y, p, q, ncp)
        return 1.0 - second, second
    second = right_second_sum(y, p, q, ncp)
    if second <= 0.9:
        return 1.0 - second, second
    first = right_first_sum(y, p, q, ncp)
    return first, 1.0 - first


# ---- tails -------------------------------------------------------------------------------------------------


def tails_positive(x, df, ncp):
    """-> (first, second)"""
    X = x * x
    h = df / 2.0
    d = ncp * 0.5 * ncp
    W = 2.0 * normal_upper_tail(-ncp) - 1.0
    N = 0.0 if ncp >= 38.4638 else normal_upper_tail(ncp)
    if df >= X:
        note("near")
        u = X / (df + X)
        v = 1.0 - u
        A, upper = mixture_left(u, 0.5, h, d)

        def lower_start(a):
            return B.lower_ratio(a, h, u)

        def upper_start(a):
            return B.upper_ratio(a, h, u)

        def logb(a):
            return B.log_beta_pdf(a, h, u)
    else:
        note("far")
        v = df / (df + X)
        u = 1.0 - v
        upper, A = mixture_right(v, h, 0.5, d)

        def lower_start(a):
            return B.upper_ratio(h, a, v)

        def upper_start(a):
            return B.lower_ratio(h, a, v)

        def logb(a):
            return B.log_beta_pdf(h, a, v)

    def peak(k):
        return log_gamma_pdf(k + 1.5, d) - log(W) + logb(k + 1.0)

    def lower_sum():
        j1 = int(P.poisson_quantile(5e-15, d, 1))
        i = j1
        L = lower_start(j1 + 2.0)
        S = 0.0
        k = 0
        while i >= 0:
            L = (L * (h + 1.0 + i) + v) * (u / (i + 1.0))
            if i == 0:
                k = 0
                break
            e = (h + 1.0 + i) - 1.0
            t = d / (i + 0.5) * e * L / (e * L + v)
            if t > 1.0:
                k = i
                break
            i -= 1
            S = (S + 1.0) * t
            if j1 - i >= 750000:
                break
        if j1 - i >= 750000:
            note("ceiling")
            return SENTINEL
        p = peak(k)
        if p < LOG_DBL_MIN:
            return 0.0
        T = exp(p) * L
        total = (S + 1.0) * T
        i = k
        while i > 0:
            e = (h + 1.0 + i) - 1.0
            t = (i + 0.5) / d * (v / e / L + 1.0)
            T = T * t
            total = total + T
            if total > 0.9 or T < total * 5e-15 * (1.0 - t):
                break
            L = (L * e + v) * (u / i)
            i -= 1
            if k - i >= 750000:
                break
        if k - i >= 750000:
            note("ceiling")
            return SENTINEL
        return total * 0.5 * W

    def upper_sum():
        j0 = P.poisson_quantile(5e-15, d, 0)
        m = int(j0 - 1.0) if j0 > 0.0 else 0
        i = m
        U = upper_start(m + 1.0)
        S = 0.0
        while True:
            w = U * (i + 1.0)
            t = (i + 1.5) / d * (i + 1.0) * U / (u * v + w)
            if t > 1.0:
                k = i
                break
            U = v / (i + h + 1.0) + w / u / (i + h + 1.0)
            i += 1
            S = (S + 1.0) * t
            if not i - m < 750000:
                note("ceiling")
                return SENTINEL
        p = peak(k)
        if p < LOG_DBL_MIN:
            return 0.0
        T = exp(p) * U
        total = (S + 1.0) * T
        i = k
        while True:
            t = d / (i + 1.5) * (v * u / (i + 1.0) / U + 1.0)
            T = T * t
            total = total + T
            if total > 0.9 or T < total * 5e-15 * (1.0 - t):
                return total * 0.5 * W
            U = U * (i + 1.0) / u / (i + h + 1.0) + v / (i + h + 1.0)
            i += 1
            if i - k > 749999:
                note("ceiling")
                return SENTINEL

    if x <= ncp:
        note("lower")
        first = N + 0.5 * A + lower_sum()
        return first, 1.0 - first
    note("upper")
    second = upper_sum() + 0.5 * upper
    if second > 0.9:
        note("lower")
        first = N + 0.5 * A + lower_sum()
        return first, 1.0 - first
    return 1.0 - second, second


def tails_large_df(x, D, ncp):
    """-> (first, second)"""
    s = root(D)
    u = x / s
    dd = ncp / s
    E = dd * dd + 4.0
    b2 = root(u * u * E + 4.0)
    b4 = 1.0 + u * u
    base = root(dd * dd * u * u + 4.0 + 4.0 * u * u) + u * dd
    g = base * base * power(2.0 * u * u + 2.0, -2.0)
    w = root(g)
    b3 = dd - u * w
    Bq = b3 * b3 + g - log(g) - 1.0
    R = root(Bq)
    f1 = u * E / b2 + dd
    p = u * dd + b2
    c3 = (3.0 * u * u - 1.0) * 0.5
    w1 = 0.5 / b4 * f1 - u * p * power(b4, -2.0)
    w2 = p * c3 * power(b4, -3.0) - u * f1 * power(b4, -2.0) + power(b2, -3.0) * E / b4
    w3 = -2.0 * u * (u * u - 1.0) * p * power(b4, -4.0)
    w3 = w3 + f1 * c3 * power(b4, -3.0)
    w3 = w3 - 2.0 * u * E * power(b2, -3.0) * power(b4, -2.0)
    w3 = w3 - E * E * u * power(b2, -5.0) / b4
    g1 = 2.0 * w * w1
    a6 = u * w1 + w
    g2 = w1 * w1 + 2.0 * w * w2
    g3 = 2.0 * w * w3 + 2.0 * w1 * w2
    a7 = -2.0 * b3 * a6 + g1 - g1 / g
    a15 = w1 + u * w2
    a16 = 2.0 * b3
    a53 = a6 * a6 - a15 * a16 + g2 - g2 / g + 0.5 * (g1 * g1) * power(g, -2.0)
    a69 = 2.0 * a6 * a15 - a16 * (u * w3 + w2) + g3 - g3 / g
    a69 = a69 + g1 * g2 * power(g, -2.0)
    a69 = a69 - g1 * g1 * g1 * power(g, -3.0) / 3.0
    a69 = div(a69, Bq)
    m1 = div(0.5 * a7, R)
    m2 = (div(0.5 * a53, Bq) - div(div(0.125 * (a7 * a7), Bq), Bq)) * R
    i1 = div(1.0, m1)
    a9 = u * dd * w + 2.0
    G = 1.0 if 0.5 * D == 0.0 else exp(-log_gamma_remainder(0.5 * D))
    K = div(0.7071067811865476 * D * G * root(2.0 * g / a9), m1) * root(6.283185307179586 / D)
    zeta = R * s
    n1 = -(power(m1, -3.0) * m2)
    n2 = dd * i1 * a6
    n3 = a6 * n1 + i1 * i1 * a15
    n4 = 0.5 * g1 * i1 / g - 0.5 * n2 / a9
    n5 = 4.0 * g * g1 * n1 + 4.0 * g * g2 * i1 * i1 - g1 * g1 * i1 * i1
    n5 = n5 * power(g, -2.0) * 0.125 - 0.25 * g1 * i1 * n2 / g / a9
    inner = 0.5 * a69 - 0.25 * a7 * a53 * power(Bq, -2.0) + 0.0625 * (a7 * a7 * a7) * power(Bq, -3.0)
    n6 = div(3.0 * ((2.0 * m2 * m2 - m1 * inner * R) * power(m1, -5.0)), i1)
    e1 = div(2.0 * n1, i1) + n4
    e2 = n5 + 0.125 * (3.0 * n2 * n2 - 4.0 * a9 * dd * n3) * power(a9, -2.0) + div(2.0 * n4 * n1, i1) + n6
    Qz = 0.0 if zeta >= 38.4638 else normal_upper_tail(zeta)
    phi = exp(-0.5 * zeta * zeta) * 0.39894228040143265
    T = Qz + e1 / s * (phi - Qz * zeta) + e2 / D * ((zeta * zeta + 1.0) * Qz - zeta * phi)
    a = w * u * dd
    V = K * T * (1.0 - (9.0 * a + 8.0) * power(2.0 + a, -3.0) / 12.0 / D)
    if ncp > x:
        return -V, 1.0 + V
    return 1.0 - V, V


def tails_negative(x, df, ncp):
    """-> (first, second)"""
    if ncp > 21.274:
        note("beyond")
        return 0.0, 1.0
    h = df / 2.0
    if h >= 1000.0:
        note("large")
        return tails_large_df(x, df, ncp)
    c = div(x, root(h))

    def E(z):
        _, l, _ = saddle(root(z) * c, 2.0 * z, ncp)
        return l + log(-0.5 * c) - 0.5 * log(z)

    top = 1000.0
    previous = E(1000.0)
    if previous < -690.7755:
        note("bisected")
        lo, hi = 0.0, 1000.0
        while True:
            mid = (lo + hi) * 0.5
            e = E(mid)
            if e < -690.7755:
                hi = mid
            else:
                lo = mid
            if not abs(e - previous) > 0.1:
                break
            previous = e
        top = lo - 1.5
    m = math.ceil(top - h)
    H = m + h
    if h > H:
        note("none")
        return 0.0, 1.0
    A0 = tails_large_df(c * root(H), 2.0 * H, ncp)[0]
    _, l, g = saddle(c * root(H), 2.0 * H, ncp)
    b0 = exp(l) * g * 0.5 * c / root(H)
    _, l, g = saddle(c * root(H + 0.5), 2.0 * H + 1.0, ncp)
    b1 = exp(l) * g * 0.5 * c / root(H + 0.5)
    r = c * c + 2.0
    q = root(r)
    e = c * ncp / q
    older, newer, G, total = b1, b0, H, 0.0
    for i in range(1, 2 * m + 1):
        G = G - 0.5
        J = G + 1.0
        y = J * r / (2.0 * G + 1.0) * older - gamma_half_ratio(J) * e * q * newer / (2.0 * G + 1.0)
        if i % 2 == 0:
            total = total + y
        older = newer
        newer = y
    t = A0 - total
    if t < 1e-100:
        note("tiny")
        return 0.0, 1.0
    note("recurrence")
    return t, 1.0 - t


def tails_nonzero(x, df, ncp):
    """Both tails at a finite x for an ncp > 0."""
    if x == 0.0:
        note("origin")
        n = 0.0 if ncp >= 38.4638 else normal_upper_tail(ncp)
        return n, 1.0 - n
    if x > 0.0:
        return tails_positive(x, df, ncp)
    return tails_negative(x, df, ncp)


def t_cdf(x, df, nc, upper):
    if math.isnan(x):
        return NAN
    if math.isinf(x):
        return (0.0 if x > 0.0 else 1.0) if upper else (1.0 if x > 0.0 else 0.0)
    if nc == 0.0:
        note("central")
        return t_cdf_central(x, df, upper)
    if nc > 0.0:
        lower, above = tails_nonzero(x, df, nc)
    else:
        note("mirrored")
        above, lower = tails_nonzero(-x, df, -nc)
    return above if upper else lower


# ---- quantiles ---------------------------------------------------------------------------------------------


def t_nc_tail(x, df, ncp, upper):
    """P(T > x) or P(T <= x) as the residuals ask for them."""
    if math.isnan(x):
        return NAN
    if math.isinf(x):
        return (0.0 if x > 0.0 else 1.0) if upper else (1.0 if x > 0.0 else 0.0)
    if ncp == 0.0:
        h = df / 2.0
        s = h + x * x / 2.0
        u = x * x / 2.0 / s
        if u == 0.0:
            return 0.5
        if u < 0.5:
            tail = B.beta_tails(u, 0.5, h)[1]
        else:
            v = h / s
            tail = 0.0 if v == 0.0 else B.beta_tails(v, h, 0.5)[0]
        tail = tail * 0.5
        above = x > 0.0
        return (tail if above else 1.0 - tail) if upper else (1.0 - tail if above else tail)
    if ncp > 0.0:
        lower, above = tails_nonzero(x, df, ncp)
    else:
        above, lower = tails_nonzero(-x, df, -ncp)
    return above if upper else lower


def t_nc_quantile(p, df, ncp, upper):
    def f(x):
        if upper:
            return p - t_nc_tail(x, df, ncp, 1)
        return t_nc_tail(x, df, ncp, 0) - p

    sd = root(df / (df - 2.0)) if df > 2.0 else 1.0
    x0 = normal_quantile(p, ncp, sd, upper)
    f0 = f(x0)
    x0, f0, x1, f1, _ = Q.expand_bracket(x0, f0, f)
    return Q.solve_bracketed(x0, f0, x1, f1, f)[0]


def t_quantile(p, df, nc, upper):
    if math.isnan(p) or p < 0.0 or p > 1.0:
        return NAN
    if p == 0.0:
        return INF if upper else -INF
    if p == 1.0:
        return -INF if upper else INF
    if nc != 0.0:
        return t_nc_quantile(p, df, nc, upper)
    if p == 0.5:
        note("median")
        return 0.0
    g = 1.0 if upper else -1.0
    if p > 0.5:
        g = -g
    h = df / 2.0
    T = 2.0 * min(p, 1.0 - p)
    if 0.5 * h / (0.5 + h) >= 10000.0:
        w = Q.beta_quantile_large(T, 0.5, h, True)
        if w > 0.5:
            w = 1.0 - Q.beta_quantile_large(T, h, 0.5, False)
    elif h < 1e9:
        M = B.beta_tails(0.5, 0.5, h)[1]
        if T >= M:
            note("right")
            w = Q.beta_search(T, 0.5, h, True)
        else:
            note("left")
            w = 1.0 - Q.beta_search(T, h, 0.5, False)
    else:
        note("gamma")
        w = Q.gamma_quantile_right(T, 0.5) / h
    if w == 1.0:
        return g * INF
    return g * root(df * w / (1.0 - w))


# ---- the table ---------------------------------------------------------------------------------------------


steps = []


def note(step):
    if step not in steps:
        steps.append(step)


def sides(x):
    return [math.nextafter(x, -INF), x, math.nextafter(x, INF)]


def log_uniform(rng, low, high):
    return math.exp(rng.uniform(math.log(low), math.log(high)))


def text(x):
    return "nan" if math.isnan(x) else ("inf" if x > 0.0 else "-inf") if math.isinf(x) else float(x).hex()


class table:
    def __init__(self):
        self.lines = []
        self.skipped = []
        self.counts = {}

    def put(self, routine, x, df, nc, upper, function):
        steps.clear()
        try:
            result = function()
        except SignSetNan:
            note("no_answer")
            result = NAN
        except (ZeroDivisionError, ValueError, OverflowError) as problem:
            # Python raises where C would carry an infinity on; such a row would judge this script's arithmetic.
            self.skipped.append((routine, x, df, nc, upper, repr(problem)))
            return
        branch = "-".join(steps)
        self.counts[routine, branch] = self.counts.get((routine, branch), 0) + 1
        cells = [text(value) for value in (x, df, nc)]
        self.lines.append(",".join([routine, branch] + cells + [str(int(upper)), text(result)]))

    def pdf(self, x, df, nc):
        self.put("pdf", x, df, nc, 0, lambda: t_pdf(x, df, nc))

    def cdf(self, x, df, nc):
        for upper in (0, 1):
            self.put("cdf", x, df, nc, upper, lambda: t_cdf(x, df, nc, upper))

    def inv(self, p, df, nc):
        for upper in (0, 1):
            self.put("inv", p, df, nc, upper, lambda: t_quantile(p, df, nc, upper))


def spread(df):
    return math.sqrt(df / (df - 2.0)) if df > 3.0 else 2.0


def density_rows(out, rng):
    # Central, from hardly any degrees of freedom to very many.
    for df in [5e-324, 1e-5, 0.5, 1.0, 2.0, 3.5, 30.0, 1e3, 1e8, 1e15, 1e300] + [log_uniform(rng, 0.01, 1e6)
                                                                                 for _ in range(15)]:
        for x in (0.0, 1e-300, rng.uniform(-5.0, 5.0), log_uniform(rng, 1e-3, 1e4), -1e160):
            out.pdf(x, df, 0.0)
    # The series: peak at 0 and beyond, few and nearly 50 degrees of freedom, to the largest noncentrality.
    for df in [1e-300, 0.003, 0.5, 1.0, 2.5, 10.0, 30.0] + sides(50.0) + [rng.uniform(0.1, 50.0) for _ in range(12)]:
        for nc in (5e-324, 1e-20, 0.1, 2.0, 15.0, 37.0, 40.0, log_uniform(rng, 0.01, 300.0)):
            for x in (0.0, 1e-5, nc * rng.uniform(0.3, 2.0), nc + spread(df) * rng.uniform(-3.0, 6.0), 1e3 * nc):
                if x >= 0.0:
                    out.pdf(x, df, nc)
    for nc in sides(2000.0) + [1500.0, 2500.0, 1e5, 1e12]:
        for df in [0.7, 5.0, 25.0] + sides(50.0):
            for x in (nc, nc * rng.uniform(0.5, 2.0), nc * 0.1, nc * 30.0, 1.0):
                out.pdf(x, df, nc)
                if nc < 2000.0:
                    out.pdf(-x, df, -nc)
    # The saddle-point form and its two exponents.
    for df in [50.0, 77.0, 500.0, 2000.0, 1e5, 1e7] + sides(1e8) + [1e9, 1e15, 1e100]:
        for nc in (1e-10, 0.3, 4.0, 37.0, 300.0, 5000.0, log_uniform(rng, 0.1, 1e4)):
            wide = math.sqrt(1.0 + nc * nc / (2.0 * df))
            for z in (0.0, rng.uniform(-3.0, 3.0), rng.uniform(-30.0, 30.0)):
                out.pdf(nc + wide * z, df, nc)
            out.pdf(nc * 0.999, df, nc)
            out.pdf(-1.0, df, nc)
    # Points and noncentralities of opposite sign.
    for df in [0.01, 0.9, 1.0, 2.0, 5.0, 12.3, 33.0, 48.9, 49.0] + sides(50.0) + [51.0, 300.0]:
        for nc in [1e-12, 0.05, 1.0, 3.0, 8.0, 14.0, 19.0] + sides(21.417) + [30.0]:
            for x in (-1e-8, -0.3, -2.0, -rng.uniform(0.5, 9.0), -60.0, -1e4):
                out.pdf(x, df, nc)
    for x, df, nc in ((-1e12, 49.0, 0.5), (-1e6, 30.0, 2.0), (-3e5, 40.0, 10.0), (-1e60, 3.0, 1.0), (-1e150, 1.0, 5.0),
                      (-100.0, 0.5, 21.0), (-5.0, 0.5, 21.4), (-1e-5, 0.5, 21.4), (-1e100, 2.0, 0.1)):
        out.pdf(x, df, nc)
        out.pdf(-x, df, -nc)
    for x in (INF, -INF, NAN):
        out.pdf(x, 3.0, 1.0)
        out.pdf(x, 300.0, -1.0)


def tail_rows(out, rng):
    for df in (0.5, 1.0, 4.0, 30.0, 1e3, 1e10):
        for x in (0.0, -1.5, 3.0, rng.uniform(-8.0, 8.0), INF, -INF, NAN):
            out.cdf(x, df, 0.0)
            out.cdf(x, df, 1.5)
            out.cdf(x, df, -40.0)
    for nc in sides(38.4638) + [1e-300, 0.5, 3.0, 37.0, 100.0]:
        out.cdf(0.0, 7.0, nc)
        out.cdf(-0.0, 7.0, -nc)
    # The mixtures, around the noncentrality and around x^2 = df.
    for df in (0.3, 1.0, 2.0, 3.5, 9.0, 16.0, 47.0, 250.0, 3e3, 1e5):
        for nc in (1e-3, 0.2, 1.0, 3.0, 6.5, 12.0, 30.0, 38.0, 39.0, 75.0):
            wide = spread(df) * math.sqrt(1.0 + nc * nc / (2.0 * df))
            points = sides(nc) if nc < 10.0 and df < 20.0 else [nc]
            points += sides(math.sqrt(df)) if nc in (1.0, 6.5) else [math.sqrt(df)]
            points += [nc + wide * rng.uniform(-3.0, 3.0), nc + wide * rng.uniform(-8.0, 8.0), 0.01]
            for x in points:
                if x > 0.0:
                    out.cdf(x, df, nc)
    for _ in range(120):
        df = log_uniform(rng, 0.05, 1e4)
        nc = log_uniform(rng, 1e-12, 60.0)
        x = nc * log_uniform(rng, 0.3, 4.0) + abs(rng.gauss(0.0, 1.0))
        out.cdf(x, df, nc)
        if rng.random() < 0.3:
            out.cdf(-x, df, -nc)
    for x, df, nc in ((1e4, 3.0, 1.0), (1e8, 1.0, 2.0), (1e-8, 5.0, 3.0), (300.0, 1e3, 300.0), (1e3, 50.0, 1e3),
                      (900.0, 10.0, 800.0), (1100.0, 30.0, 1100.0), (2.0, 1e7, 1.0), (5.0, 1e9, 4.0), (3.0, 1e12, 2.5),
                      (700.0, 20.0, 900.0), (1e5, 2.0, 3e4), (3e4, 0.5, 5e4), (1e155, 2.0, 1.0), (5.0, 3.0, 2e5),
                      (3e5, 3.0, 2e5), (4.0, 1e16, 3.0), (1e-3, 1e10, 0.5), (3e4, 4e9, 1.0), (59.0, 1e13, 21.3), (1.2e5, 5.0, 1e5), (9e4, 5.0, 1e5)):
        out.cdf(x, df, nc)
    # Points and noncentralities of opposite sign.
    for df in [0.2, 1.0, 2.0, 5.5, 30.0, 200.0, 999.0] + sides(2000.0) + [2500.0, 1e5, 1e9]:
        for nc in [1e-9, 0.1, 1.0, 2.5, 6.0, 12.0, 18.0] + sides(21.274):
            for x in (-1e-4, -0.7, -rng.uniform(0.5, 6.0), -12.0, -300.0):
                out.cdf(x, df, nc)
    for x, df, nc in ((-1e6, 0.7, 15.0), (-1e3, 1.0, 21.0), (-1e100, 0.3, 3.0), (-1e-100, 3.0, 1.0),
                      (-40.0, 1990.0, 0.5), (-38.0, 1800.0, 5.0), (-25.0, 1500.0, 14.0), (-1e10, 12.0, 1.0)):
        out.cdf(x, df, nc)
        out.cdf(-x, df, -nc)


def quantile_rows(out, rng):
    for df in [0.05, 0.5, 1.0, 2.0, 3.7, 11.0, 40.0, 1e3, 1e6] + sides(2e9) + [1e12, 1e300]:
        for p in [0.0, 1e-300, 1e-12, 0.003, 0.2, 0.5, math.nextafter(0.5, 1.0), rng.random(), 0.99,
                  math.nextafter(1.0, 0.0), 1.0]:
            out.inv(p, df, 0.0)
    for df in (1.0, 2.0, 4.0, 25.0):
        half = B.beta_tails(0.5, 0.5, df / 2.0)[1] / 2.0
        for p in sides(half) + sides(1.0 - half):
            out.inv(p, df, 0.0)
    for p in (-1e-300, -0.5, 1.5, NAN, INF, -INF):
        out.inv(p, 3.0, 0.0)
        out.inv(p, 3.0, 1.0)
    for df in [0.8] + sides(2.0) + [3.0, 9.0, 45.0, 600.0]:
        for nc in (0.02, 1.0, -2.5, 7.0):
            for p in (1e-6, 0.1, 0.5, rng.random(), 0.999):
                out.inv(p, df, nc)
    for p, df, nc in ((0.5, 5.0, 30.0), (0.01, 5.0, 30.0), (0.3, 2500.0, 3.0), (0.001, 2500.0, 3.0), (1e-15, 6.0, 2.0),
                      (1e-30, 6.0, 0.5), (0.2, 50.0, 25.0), (1e-4, 10.0, -25.0), (0.0, 10.0, -25.0), (1.0, 10.0, 25.0)):
        out.inv(p, df, nc)


def internal_rows(out, rng):
    for df in [1e-300, 0.5, 50.0, 300.0, 2001.0] + sides(1e8) + [1e12]:
        for nc in (0.1, 3.0, 20.0, 500.0):
            for x in (nc * 0.9, nc + 1.0, -1.0, 0.0):
                for index, name in enumerate(("saddle_density", "saddle_log", "saddle_correction")):
                    out.put(name, x, df, nc, 0, lambda: saddle(x, df, nc)[index])
    for df in (2000.0, 5000.0, 1e6, 1e10):
        for nc in (0.1, 3.0, 20.0):
            for x in (nc + 2.0, nc + 0.3, nc * 0.5, -0.5, -6.0):
                for index, name in enumerate(("large_first", "large_second")):
                    out.put(name, x, df, nc, 0, lambda: tails_large_df(x, df, nc)[index])
    for m in sides(167.0) + [5e-324, 1e-20, 0.25, 0.5, 1.0, 9.5, 10.0, 100.0, 1e3, 1e300]:
        out.put("half_ratio", m, 0.0, 0.0, 0, lambda: gamma_half_ratio(m))
    for x in (0.0, 1e-160, 0.4, -1.3, 2.0, -9.0, INF, -INF, NAN):
        for nc in (0.0, 1.2, -1.2, -40.0):
            for upper in (0, 1):
                out.put("tail", x, 4.0, nc, upper, lambda: t_nc_tail(x, 4.0, nc, upper))


def main():
    out = table()
    density_rows(out, random.Random(32))
    tail_rows(out, random.Random(55))
    quantile_rows(out, random.Random(52))
    internal_rows(out, random.Random(53))
    path = os.path.join(os.path.dirname(os.path.abspath(__file__)), "t_bits.csv")
    with open(path, "w") as file:
        file.write("# Made by t_bits.py: a plain transcription of the arithmetic in doubles.\n")
        file.write("routine,branch,x,df,nc,upper,result\n")
        file.write("\n".join(out.lines) + "\n")
    for key, count in sorted(out.counts.items()):
        print(*key, count)
    print(len(out.lines), "rows;", len(out.skipped), "skipped")
    for row in out.skipped:
        print("skipped", *row)


if __name__ == "__main__":
    main()
