#!/usr/bin/env python3
"""Bit-exact table for the normal kernels: writes kernel_bits_normal.csv beside itself.

A second, plain transcription of the arithmetic in Python doubles (math.exp, math.log, math.pow and math.sqrt
are the C library's): every operation in the order that the algorithm prints it, nothing shared, nothing
prepared. The table holds hexadecimal floats. Run with the interpreter of the machine whose C library the
tests use; other C libraries may round exp, log and pow differently in the last place.
"""
import math
import os
import random

INF = math.inf
NAN = math.nan


# C semantics for the four library calls.
def exp(x):
    try:
        return math.exp(x)
    except OverflowError:
        return INF


def log(x):
    if math.isnan(x) or x < 0.0:
        return NAN
    return -INF if x == 0.0 else math.log(x)


def power(x, y):
    try:
        return math.pow(x, y)
    except OverflowError:
        return INF
    except ValueError:
        return INF if x == 0.0 else NAN


def root(x):
    return NAN if math.isnan(x) or x < 0.0 else math.sqrt(x)


def div(x, y):
    if y != 0.0 or math.isnan(y):
        return x / y
    if x == 0.0 or math.isnan(x):
        return NAN
    return math.copysign(INF, x) * math.copysign(1.0, y)


def normal_upper_tail(x):
    if x <= -8.03:
        return 1.0
    t = abs(x)
    y = (t * 0.5) * t
    if t <= 1.28:
        inner = 48.6959930692 / (y + 5.92885724438)
        middle = 29.8213557808 / ((y + 2.62433121679) + inner)
        outer = (0.399903438504 * y) / ((y + 5.75885480458) - middle)
        r = 0.5 - t * (0.398942280444 - outer)
    else:
        f5 = 30.789933034 / (t + 3.99019417011)
        f4 = 15.1508972451 / ((t + 0.742380924027) + f5)
        f3 = 5.29330324926 / ((t + 4.8385912808) - f4)
        f2 = 1.98615381364 / ((t - 0.151679116635) + f3)
        f1 = 1.00000615302 / ((t + 0.000398064794) + f2)
        r = (0.398942280385 * exp(-y)) / ((t - 3.8052e-8) + f1)
    if x < 0.0:
        return 1.0 - r
    return r


def normal_cdf(x, mean, sd, upper):
    if math.isinf(x):
        if upper:
            return 0.0 if x > 0.0 else 1.0
        return 1.0 if x > 0.0 else 0.0
    z = (x - mean) / sd
    if z <= 0.0:
        u = 0.0 if -z >= 38.4638 else normal_upper_tail(-z)
        lower_tail, upper_tail = u, 1.0 - u
    else:
        u = 0.0 if x >= 38.4638 else normal_upper_tail(x)
        upper_tail, lower_tail = u, 1.0 - u
    return upper_tail if upper else lower_tail


def normal_std_quantile(p):
    if p == 0.5:
        return 0.0
    if p > 0.5:
        return -normal_std_quantile(1.0 - p)
    d = p - 0.5
    if abs(d) <= 0.42:
        r = d * d
        top = ((-25.44106049637 * r + 41.39119773534) * r - 18.61500062529) * r + 2.50662823884
        bottom = (((3.13082909833 * r - 21.06224101826) * r + 23.08336743743) * r - 8.4735109309) * r + 1.0
        x = (d * top) / bottom
    else:
        s = root(-log(p))
        top = ((2.32121276858 * s + 4.85014127135) * s - 2.29796479134) * s - 2.78718931138
        bottom = (1.63706781897 * s + 3.54388924762) * s + 1.0
        x = -div(top, bottom)
    z = -x
    counter = 1
    while counter <= 10:
        f = exp((-0.5 * z) * z) * 0.39894228040143265
        if f == 0.0:
            break
        if z >= 38.4638:
            q = 0.0
        elif z <= -8.03:
            q = 1.0
        else:
            q = normal_upper_tail(abs(z))
            if z < 0.0:
                q = 1.0 - q
        delta = (q - p) / f
        z = z + delta
        if abs(delta) < 1e-14:
            break
        counter += 1
    return -z


def normal_quantile(p, mean, sd, upper):
    if p == 0.0:
        return INF if upper else -INF
    if p == 1.0:
        return -INF if upper else INF
    z = normal_std_quantile(p)
    if upper:
        z = -z
    return z * sd + mean


def mills_ratio(u):
    if u <= 25.0:
        return div(normal_upper_tail(u), exp((-0.5 * u) * u) * 0.39894228040143265)
    w = power(u, -2.0)
    return (((((-945.0 * w + 105.0) * w - 15.0) * w + 3.0) * w - 1.0) * w + 1.0) / u


def both_sides(x):
    return [math.nextafter(x, -INF), x, math.nextafter(x, INF)]


def main():
    rng = random.Random(66)
    rows = []

    abscissae = [0.0, -0.0, 5e-324, 1e-300, 1e-8, -1e-8, 0.5, -0.5, 1.0, -1.0, 2.0, 5.0, -5.0, 8.0, -8.0, 37.5, 38.6,
                 40.0, 1e3, 1e200, INF, -INF, -9.0]
    for cut in (1.28, -1.28, -8.03, 8.03, 38.4638, 25.0):
        abscissae += both_sides(cut)
    abscissae += [rng.uniform(-1.3, 1.3) for _ in range(60)]
    abscissae += [rng.uniform(1.28, 9.0) for _ in range(60)]
    abscissae += [rng.uniform(-8.1, -1.28) for _ in range(60)]
    abscissae += [rng.uniform(9.0, 39.0) for _ in range(60)]
    for x in abscissae:
        rows.append(("normal_upper_tail", x, 0.0, 0.0, 0, normal_upper_tail(x)))

    for u in both_sides(25.0) + both_sides(1.28) + [-38.0, -10.0, 0.0, 26.0, 100.0, 1e5, 1e160] + [
            rng.uniform(-30.0, 60.0) for _ in range(120)]:
        rows.append(("normal_mills_ratio", u, 0.0, 0.0, 0, mills_ratio(u)))

    for x in abscissae[:60] + [rng.uniform(-40.0, 40.0) for _ in range(60)]:
        for mean, sd in ((0.0, 1.0), (3.0, 1.0), (-2.5, 0.3), (1e3, 250.0)):
            for upper in (0, 1):
                rows.append(("normal_cdf", x, mean, sd, upper, normal_cdf(x, mean, sd, upper)))

    probabilities = [5e-324, 1e-320, 1e-310, 1e-300, 1e-200, 1e-100, 1e-20, 1e-10, 0.01, 0.25, 0.5, 0.75, 0.975, 0.999]
    probabilities += both_sides(0.08) + both_sides(0.92) + both_sides(0.5) + [math.nextafter(1.0, 0.0), 1.0 - 1e-10]
    # Newton is still moving after ten steps: the tail's jump at 1.28, and subnormal tails.
    probabilities += [0.10027256795143387, 0.10027256795115866, 3.273918e-317, 1.77424e-318, 1.018557215953e-311]
    probabilities += [rng.random() for _ in range(120)]
    probabilities += [10.0 ** rng.uniform(-323.0, -1.0) for _ in range(120)]
    for p in probabilities:
        rows.append(("normal_std_quantile", p, 0.0, 0.0, 0, normal_std_quantile(p)))
    for p in [0.0, 1.0] + probabilities[:60]:
        for mean, sd in ((0.0, 1.0), (3.25, 17.0), (-2.5, 1e300)):
            for upper in (0, 1):
                rows.append(("normal_quantile", p, mean, sd, upper, normal_quantile(p, mean, sd, upper)))

    path = os.path.join(os.path.dirname(os.path.abspath(__file__)), "kernel_bits_normal.csv")
    with open(path, "w") as table:
        table.write("# Written by kernel_bits_normal.py: x is the first argument (x, u or p).\n")
        table.write("routine,x,mean,sd,upper,value\n")
        for name, x, mean, sd, upper, value in rows:
            table.write(f"{name},{x.hex()},{mean.hex()},{sd.hex()},{upper},{value.hex()}\n")


if __name__ == "__main__":
    main()
