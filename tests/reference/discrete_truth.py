"""Writes discrete_truth.csv: binomial and Poisson tails, masses and quantiles to 50 digits, rounded once.

The mass comes from log-gammas; a tail is either summed term by term or, where that is long, the integral of the
beta or gamma density that equals it: P(X > x) = I_p(x + 1, n - x) and P(X > x) = P(x + 1, m). Both ways are
checked against each other below. Arguments are doubles taken as they are.

Run: python3 discrete_truth.py > discrete_truth.csv        (mpmath; less than a minute)
"""
import math
import random
import sys

from mpmath import mp, mpf

mp.dps = 70
random.seed(20240611)


def log_choose(n, k):
    return mp.loggamma(n + 1) - mp.loggamma(k + 1) - mp.loggamma(n - k + 1)


class Binomial:
    def __init__(self, n, p):
        self.n, self.p = mpf(n), mpf(p)
        self.q = 1 - self.p
        self.mean = self.n * self.p
        self.sd = mp.sqrt(self.mean * self.q)

    def mass(self, x):
        x = mpf(x)
        return mp.exp(log_choose(self.n, x) + x * mp.log(self.p) + (self.n - x) * mp.log(self.q))

    def above(self, x, summed=None):  # P(X > x)
        x = mpf(x)
        if x >= self.n:
            return mpf(0)
        if summed is None:
            summed = self.sd < 150
        if summed:
            ratio, total, term, k = self.p / self.q, mpf(0), mpf(1), x
            while k < self.n:
                term = term * (self.n - k) / (k + 1) * ratio
                k += 1
                total += term
                if term < total * mpf(10) ** -60:
                    break
            return total * self.mass(x)
        # (integral over t from 0 to p of t^x (1-t)^(n-x-1)) / B(x + 1, n - x)
        return integral(lambda t: x * mp.log(t) + (self.n - x - 1) * mp.log1p(-t), self.p, -1,
                        mp.sqrt(self.p * self.q / self.n), mpf(0)) * mp.exp(
                            log_choose(self.n, x) + mp.log(self.n - x))

    def below(self, x, summed=None):  # P(X < x)
        x = mpf(x)
        if x <= 0:
            return mpf(0)
        if summed is None:
            summed = self.sd < 150
        if summed:
            ratio, total, term, k = self.q / self.p, mpf(0), mpf(1), x
            while k > 0:
                term = term * k / (self.n - k + 1) * ratio
                k -= 1
                total += term
                if term < total * mpf(10) ** -60:
                    break
            return total * self.mass(x)
        return integral(lambda t: (x - 1) * mp.log(t) + (self.n - x) * mp.log1p(-t), self.p, 1,
                        mp.sqrt(self.p * self.q / self.n), mpf(1)) * mp.exp(log_choose(self.n, x) + mp.log(x))


class Poisson:
    def __init__(self, mean):
        self.mean = mpf(mean)
        self.sd = mp.sqrt(self.mean)
        self.n = mp.inf

    def mass(self, x):
        x = mpf(x)
        return mp.exp(x * mp.log(self.mean) - self.mean - mp.loggamma(x + 1))

    def above(self, x, summed=None):
        x = mpf(x)
        if summed is None:
            summed = self.sd < 150
        if summed:
            total, term, k = mpf(0), mpf(1), x
            while True:
                k += 1
                term = term * self.mean / k
                total += term
                if term < total * mpf(10) ** -60:
                    break
            return total * self.mass(x)
        return integral(lambda t: x * mp.log(t) - t, self.mean, -1, self.sd, mpf(0)) / mp.exp(mp.loggamma(x + 1))

    def below(self, x, summed=None):
        x = mpf(x)
        if x <= 0:
            return mpf(0)
        if summed is None:
            summed = self.sd < 150
        if summed:
            total, term, k = mpf(0), mpf(1), x
            while k > 0:
                term = term * k / self.mean
                k -= 1
                total += term
                if term < total * mpf(10) ** -60:
                    break
            return total * self.mass(x)
        return integral(lambda t: (x - 1) * mp.log(t) - t, self.mean, 1, self.sd, mp.inf) / mp.exp(mp.loggamma(x))


def integral(log_density, end, direction, unit, limit):
    """exp(log_density) from `end` in `direction`, where it falls at least as fast as a normal density of sd `unit`."""
    top = log_density(end)
    slope = abs(mp.diff(log_density, end, h=unit * mpf(10) ** -20)) * unit   # decay per unit at the end
    reach = min(mpf(19), 130 / max(slope, mpf("1e-9")))                       # exp(-130) of the end's height
    points = [end + direction * unit * reach * mpf(j) / 6 for j in range(7)]
    if limit != mp.inf:
        points = [pt if (limit - pt) * direction > 0 else limit for pt in points]
        points = [pt for i, pt in enumerate(points) if i == 0 or pt != points[i - 1]]
    value, error = mp.quad(lambda t: mp.exp(log_density(t) - top), sorted(points), error=True, maxdegree=9)
    assert error < abs(value) * mpf(10) ** -25, (end, direction, value, error)
    return value * mp.exp(top)


def check_ways():
    for d in (Binomial(4000, 0.25), Poisson(1000.25)):
        for x in (1030, 1300, 1001):
            assert abs(d.above(x, True) / d.above(x, False) - 1) < mpf(10) ** -25
        for x in (970, 700, 1000):
            assert abs(d.below(x, True) / d.below(x, False) - 1) < mpf(10) ** -25
    for n, p, x in ((60, mpf("0.3"), 21), (400, mpf("0.5"), 230), (1000, mpf("0.01"), 14)):
        assert abs(Binomial(n, p).above(x) / mp.betainc(x + 1, n - x, 0, p, regularized=True) - 1) < mpf(10) ** -40
        assert abs(Poisson(n * p).above(x) / mp.gammainc(x + 1, 0, n * p, regularized=True) - 1) < mpf(10) ** -40


def tails(d, x):
    mass = d.mass(x)
    if x > d.mean:
        upper = d.above(x)
        return 1 - upper - mass, upper, mass
    lower = d.below(x)
    return lower, 1 - lower - mass, mass


def text(v):
    v = float(v)
    return str(int(v)) if v == math.floor(v) and abs(v) < 2.0 ** 53 else v.hex()


def put(family, regime, x, n, p, results):
    print(",".join([family, regime] + [text(v) for v in [x, n, p] + list(results)]))
    sys.stdout.flush()


def up(x):
    return math.nextafter(x, math.inf)


def down(x):
    return math.nextafter(x, -math.inf)


def at(d, z):
    x = mp.floor(d.mean + z * d.sd + mpf(1) / 2)
    return float(min(max(x, 0), d.n))


def spread(family, regime, d, n, p, reach, count, start=0.0, smallest=1e-290, highest=math.inf):
    """`count` whole x between start and reach standard deviations on either side of the mean, both sides."""
    seen = set()
    for i in range(count):
        z = start + (reach - start) * (i + random.random()) / count
        for s in (z, -z):
            x = at(d, s)
            if x in seen or x >= highest:
                continue
            seen.add(x)
            r = tails(d, x)
            if r[2] > smallest and (min(r[:2]) > smallest or min(r[:2]) == 0):
                put(family, regime, x, n, p, r)


def binomial(regime, n, p, reach, count, **kw):
    spread("binomial", regime, Binomial(n, p), n, p, reach, count, **kw)


def poisson(regime, mean, reach, count, **kw):
    spread("poisson", regime, Poisson(mean), 0.0, mean, reach, count, **kw)


def quantile(family, d, p, n, prob, upper):
    """The smallest x with P(X <= x) >= p, or P(X > x) <= p. Ties do not occur for random p."""
    z = mp.sqrt(2) * mp.erfinv(1 - 2 * mpf(p)) * (1 if upper else -1)
    x = max(mp.floor(d.mean + z * d.sd), mpf(0))
    x = min(x, d.n)
    below, above, mass = tails(d, float(x))

    def reached(lower_plus_mass, above):
        return above <= p if upper else lower_plus_mass >= p

    if reached(below + mass, above):
        while x > 0:
            lower_plus_mass, above = below, above + mass   # of x - 1
            if not reached(lower_plus_mass, above):
                break
            x -= 1
            mass = d.mass(x)
            below -= mass
    else:
        while not reached(below + mass, above):
            below += mass
            x += 1
            mass = d.mass(x)
            above -= mass
    put(family, "upper" if upper else "lower", p, n, prob, [x, 0, 0])


def main():
    check_ways()
    print("# Made by discrete_truth.py. Poisson rows have the mean in p. Quantile rows: x is the probability, lower")
    print("# the quantile, regime the tail.")
    print("family,regime,x,n,p,lower,upper,mass")

    # every x of a few small ones
    for n, p in ((1, 0.5), (5, 0.3), (12, 0.01), (20, 0.5), (9, 1e-9)):
        d = Binomial(n, p)
        for x in range(n + 1):
            put("binomial", "small", x, n, p, tails(d, x))
    # summed, up to the variance of 10000
    for n, p in ((170, 0.37), (1000, 0.5), (5000, 0.02), (39999, 0.5), (1e6, 0.01), (1e6, down(0.0101)), (4294967295, 2.3e-6),
                 (20001, 0.499), (1e9, 3e-8), (1e13, 9e-10), (down(1e15), 2e-12), (down(1e15), 9.9e-12)):
        binomial("summed within 8 sd", n, p, 8, 8, highest=22500)
        binomial("summed beyond 8 sd", n, p, 24, 8, start=8, highest=22500)
    # 10^15 trials and more
    for n, p in ((1e15, 2e-12), (up(1e15), 9.9e-12), (1e15, 1e-17), (1e18, 5e-15), (1e21, 7e-18), (down(1e22), 9e-19)):
        binomial("many trials", n, p, 12, 12, highest=22500)
    for n, p in ((1e22, 3e-20), (up(1e22), 9e-19), (1e30, 5e-29)):
        binomial("poisson limit", n, p, 12, 12, highest=14500)
    # normal forms from the variance of 10000 on
    for n, p in ((40000, 0.5), (40001, 0.5), (1e6, 0.0102), (62500, 0.2), (4294967295, 2.4e-6), (20000000, 0.001),
                 (1e15, 1.1e-11), (1e22, 1.5e-18)):
        binomial("normal 1e4 within 4 sd", n, p, 4, 7)
        binomial("normal 1e4 to 8 sd", n, p, 8, 5, start=4)
        binomial("normal 1e4 to 16 sd", n, p, 16, 4, start=8)
        binomial("normal 1e4 to 25 sd", n, p, 24.9, 4, start=16)
    for n, p in ((4294967295, 0.5), (4294967295, 0.3), (4294967295, 0.001), (3e8, 0.1), (4e12, 0.49), (1e20, 1e-8)):
        binomial("normal 1e5 up within 8 sd", n, p, 8, 7)
        binomial("normal 1e5 up to 25 sd", n, p, 24.9, 5, start=8)

    for mean in (1e-300, 1e-5, 0.3, down(1.0), 1.0, 2.5, 10.0):
        d = Poisson(mean)
        for x in range(13):
            r = tails(d, x)
            if r[2] > 1e-290 and r[1] > 1e-290:
                put("poisson", "small", x, 0.0, mean, r)
    for mean in (30.0, 100.0, 1234.5, 9999.0, 10000.0):
        poisson("summed within 8 sd", mean, 8, 8, highest=14500)
        poisson("summed beyond 8 sd", mean, 30, 8, start=8, highest=14500)
    for mean in (up(10000.0), 15000.0, 1e6, 1e8):
        poisson("summed 1e4 to 1e8", mean, 24, 6)
    for mean in (up(1e8), 1.5e8, 1e10, 1e12):
        poisson("normal within 8 sd", mean, 8, 7)
        poisson("normal beyond 8 sd", mean, 24.9, 5, start=8)

    for n, prob in ((1, 0.5), (20, 0.3), (1000, 0.37), (1000, 0.93), (1e5, 0.001), (1e6, 0.5), (1e6, 0.75), (4294967295, 1e-7)):
        d = Binomial(n, prob)
        for _ in range(6):
            p = random.choice([random.random(), 10 ** -random.uniform(0, 12), 1 - 10 ** -random.uniform(0, 8)])
            for upper in (False, True):
                quantile("binomial_quantile", d, p, n, prob, upper)
    for mean in (0.7, 12.5, 900.0, 12345.6, 1e6):
        d = Poisson(mean)
        for _ in range(6):
            p = random.choice([random.random(), 10 ** -random.uniform(0, 12), 1 - 10 ** -random.uniform(0, 8)])
            for upper in (False, True):
                quantile("poisson_quantile", d, p, 0.0, mean, upper)


main()
