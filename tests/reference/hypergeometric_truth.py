"""Writes hypergeometric_truth.csv: hypergeometric tails and masses, each rounded once to a double.

Rows "exact" are rational arithmetic over every x of a population of at most 60; the others are summed term by
term in 60 digits, the mass from log-gammas.

Run: python3 hypergeometric_truth.py > hypergeometric_truth.csv        (mpmath; a few minutes)
"""
import math
import random
import sys
from fractions import Fraction

from mpmath import mp, mpf

mp.dps = 90
random.seed(7)


def text(v):
    v = float(v)
    return str(int(v)) if v == math.floor(v) and abs(v) < 2.0 ** 53 else v.hex()


def put(regime, x, N, K, n, results):
    print(",".join([regime] + [text(v) for v in [x, N, K, n] + list(results)]))
    sys.stdout.flush()


def exact(N, K, n):
    low, high = max(0, n - N + K), min(K, n)
    weight = {x: math.comb(K, x) * math.comb(N - K, n - x) for x in range(low, high + 1)}
    total = sum(weight.values())
    below = 0
    for x in range(low, high + 1):
        yield x, [Fraction(v, total) for v in (below, total - below - weight[x], weight[x])]
        below += weight[x]


def log_choose(n, k):
    return mp.loggamma(n + 1) - mp.loggamma(k + 1) - mp.loggamma(n - k + 1)


def summed(x, N, K, n):
    x, N, K, n = (mpf(v) for v in (x, N, K, n))
    mass = mp.exp(log_choose(K, x) + log_choose(N - K, n - x) - log_choose(N, n))
    total, term, k = mpf(0), mpf(1), x
    if x > n * K / N:
        while k < min(K, n):
            term = term * ((K - k) * (n - k)) / ((k + 1) * (N - K - n + k + 1))
            k += 1
            total += term
            if term < total * mpf(10) ** -22:
                break
        upper = total * mass
        return [1 - upper - mass, upper, mass]
    while k > max(0, n - N + K):
        term = term * (k * (N - K - n + k)) / ((K - k + 1) * (n - k + 1))
        k -= 1
        total += term
        if term < total * mpf(10) ** -22:
            break
    lower = total * mass
    return [lower, 1 - lower - mass, mass]


def spread(regime, N, K, n, start, reach, count, highest=math.inf):
    N, K, n = (mpf(v) for v in (N, K, n))
    mean = n * K / N
    s = mp.sqrt(N * (K / N) * (1 - K / N) * (n / N) * (1 - n / N))
    seen = set()
    for i in range(count):
        z = start + (reach - start) * (i + random.random()) / count
        for sign in (1, -1):
            x = mp.floor(mean + sign * z * s + mpf(1) / 2)
            if x in seen or x < max(0, n - N + K) or x > min(K, n) or x >= highest:
                continue
            seen.add(x)
            r = summed(x, N, K, n)
            if r[2] > mpf(10) ** -290 and (min(r) > mpf(10) ** -290):
                put(regime, x, N, K, n, r)


def main():
    print("# Made by hypergeometric_truth.py.")
    print("regime,x,N,K,n,lower,upper,mass")
    for N in range(1, 6):
        for K in range(N + 1):
            for n in range(N + 1):
                for x, r in exact(N, K, n):
                    put("exact", x, N, K, n, r)
    for N in range(6, 61):
        K, n = random.randint(1, N - 1), random.randint(1, N - 1)
        for x, r in exact(N, K, n):
            put("exact", x, N, K, n, r)

    for N, K, n in ((1000, 300, 200), (12345, 6000, 7000), (1e6, 1000, 500), (1e6, 12, 999990), (15000, 7500, 7000),
                    (1e9, 5e5, 3e5), (1e14, 1e8, 4e8)):
        spread("variance up to 1000", N, K, n, 0, 8, 8, 42500)
        spread("variance up to 1000", N, K, n, 8, 24, 4, 42500)
    # up to 100000; the last two lie on either side of it
    for N, K, n in ((20000, 10000, 9000), (1e6, 3e5, 2e5), (1e12, 5e7, 1.5e9), (1e15, 7e9, 1e10), (1e29, 4e15, 2e18),
                    (1599999, 800000, 800000), (1600000, 800000, 799999)):
        spread("variance 1e3 to 1e5 within 8 s", N, K, n, 0, 8, 5)
        spread("variance 1e3 to 1e5 to 25 s", N, K, n, 8, 24.9, 3)
    for N, K, n in ((1600000, 800000, 800000), (1600001, 800000, 800000), (5e6, 3e5, 1e6), (1e7, 1e6, 9e6), (1e9, 2e8, 1e6),
                    (1e12, 5e11, 5e5), (1e15, 1.2e10, 1e10)):
        spread("normal 1e5 within 4 s", N, K, n, 0, 4, 4)
        spread("normal 1e5 to 8 s", N, K, n, 4, 8, 3)
        spread("normal 1e5 to 16 s", N, K, n, 8, 16, 3)
        spread("normal 1e5 to 25 s", N, K, n, 16, 24.9, 3)
    for N, K, n in ((1e8, 3e7, 2e7), (1e9, 3e8, 5e8), (1e15, 1e14, 1e8)):
        spread("normal 1e6 up within 8 s", N, K, n, 0, 8, 3)
        spread("normal 1e6 up to 25 s", N, K, n, 8, 24.9, 2)
    for N, K, n in ((1e30, 3e29, 40), (2e30, 1e15, 4e18)):
        spread("unbounded population", N, K, n, 0, 8, 6)


main()
