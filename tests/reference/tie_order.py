"""Index orders of the ranking's introsort, worked out on plain lists from its description.

Writes tie_order.csv: one row per case with the keys and the order that comes out. A range is a pair (lo, hi) of
positions with hi exclusive; the list `order` holds indices into the keys.
"""
import math
import random
from pathlib import Path



def before(left, right):
    """The comparator on keys: does left come first?"""
    if math.isnan(right) or math.isinf(right):
        return math.isfinite(left) or left < right
    return left < right


class Sorter:
    def __init__(self, keys):
        self.keys = keys
        self.order = list(range(len(keys)))
        self.heap_sorted = 0

    def less(self, i, j):
        """Compares the elements that stand at positions i and j."""
        return before(self.keys[self.order[i]], self.keys[self.order[j]])

    def same(self, i, j):
        return not self.less(i, j) and not self.less(j, i)

    def swap(self, i, j):
        self.order[i], self.order[j] = self.order[j], self.order[i]

    def insertion(self, lo, hi):
        for position in range(lo + 1, hi):
            moving = self.order.pop(position)
            key = self.keys[moving]
            if before(key, self.keys[self.order[lo]]):
                self.order.insert(lo, moving)
                continue
            target = position
            while before(key, self.keys[self.order[target - 1]]):
                target -= 1
            self.order.insert(target, moving)

    def median3(self, a, b, c):
        if self.less(b, a):
            self.swap(a, b)
        if self.less(c, b):
            self.swap(b, c)
            if self.less(b, a):
                self.swap(a, b)

    def partition(self, lo, hi):
        last = hi - 1
        mid = lo + (hi - lo) // 2
        if last - lo <= 40:
            self.median3(lo, mid, last)
        else:
            step = (last - lo + 1) // 8
            self.median3(lo, lo + step, lo + 2 * step)
            self.median3(mid - step, mid, mid + step)
            self.median3(last - 2 * step, last - step, last)
            self.median3(lo + step, mid, last - step)
        start, stop = mid, mid + 1  # the equal range, stop exclusive
        while start > lo and self.same(start - 1, start):
            start -= 1
        while stop < hi and self.same(stop, start):
            stop += 1
        up, down = stop, start  # next of the upper scan; the lower scan looks at down - 1
        while True:
            while up < hi:
                if self.less(start, up):  # greater than the pivot
                    up += 1
                elif self.less(up, start):  # less: stopped
                    break
                else:
                    self.swap(stop, up)
                    stop += 1
                    up += 1
            while down > lo:
                if self.less(down - 1, start):
                    down -= 1
                elif self.less(start, down - 1):
                    break
                else:
                    self.swap(start - 1, down - 1)
                    start -= 1
                    down -= 1
            if up == hi and down == lo:
                return start, stop
            if down == lo:  # the equal range moves up by one
                if stop != up:
                    self.swap(start, stop)
                self.swap(start, up)
                start, stop, up = start + 1, stop + 1, up + 1
            elif up == hi:  # and down by one
                stopped = down - 1
                if stopped != start - 1:
                    self.swap(stopped, start - 1)
                self.swap(start - 1, stop - 1)
                start, stop, down = start - 1, stop - 1, down - 1
            else:
                self.swap(up, down - 1)
                up, down = up + 1, down - 1

    # The C++ standard library's heap: sift the hole to the bottom along the larger child, then push back up.
    def heap_sort(self, lo, hi):
        self.heap_sorted += 1
        part = self.order[lo:hi]

        def lt(x, y):
            return before(self.keys[x], self.keys[y])

        def adjust(hole, length, value):
            top = hole
            child = hole
            while child < (length - 1) // 2:
                child = 2 * (child + 1)
                if lt(part[child], part[child - 1]):
                    child -= 1
                part[hole] = part[child]
                hole = child
            if length % 2 == 0 and child == (length - 2) // 2:
                child = 2 * (child + 1)
                part[hole] = part[child - 1]
                hole = child - 1
            parent = (hole - 1) // 2
            while hole > top and lt(part[parent], value):
                part[hole] = part[parent]
                hole = parent
                parent = (hole - 1) // 2
            part[hole] = value

        n = len(part)
        for parent in range((n - 2) // 2, -1, -1):
            adjust(parent, n, part[parent])
        for end in range(n - 1, 0, -1):
            value = part[end]
            part[end] = part[0]
            adjust(0, end, value)
        self.order[lo:hi] = part

    def sort(self, lo, hi, budget):
        while hi - lo > 32:
            if budget < 1:
                self.heap_sort(lo, hi)
                return
            start, stop = self.partition(lo, hi)
            budget = budget // 2 + budget // 4
            if start - lo < hi - stop:
                self.sort(lo, start, budget)
                lo = stop
            else:
                self.sort(stop, hi, budget)
                hi = start
        self.insertion(lo, hi)


def killer(n):
    """Keys against which the ninther keeps choosing badly (McIlroy's adversary), to reach the heap."""
    gas = n * 2
    values = [gas] * n
    solid = 0
    candidate = 0

    class Adversary(Sorter):
        def __init__(self):
            self.order = list(range(n))
            self.heap_sorted = 0
            self.keys = values

        def compare(self, x, y):
            nonlocal solid, candidate
            if values[x] == gas and values[y] == gas:
                chosen = x if x == candidate else y
                values[chosen] = solid
                solid += 1
            if values[x] == gas:
                candidate = x
            elif values[y] == gas:
                candidate = y
            return values[x] < values[y]

        def less(self, i, j):
            return self.compare(self.order[i], self.order[j])

    adversary = Adversary()
    adversary.sort(0, n, n)
    return [float(v) for v in values]


def cases():
    rng = random.Random(20)
    special = [math.nan, math.inf, -math.inf]
    for n in (1, 2, 5, 32, 33, 35, 41, 42, 200, 1000):
        yield f"distinct {n}", [rng.uniform(-10, 10) for _ in range(n)]
        yield f"ties {n}", [float(rng.randrange(max(2, n // 6))) for _ in range(n)]
        yield f"two values {n}", [float(rng.randrange(2)) for _ in range(n)]
        yield f"all equal {n}", [1.5] * n
        yield f"rising {n}", [float(i) for i in range(n)]
        yield f"falling {n}", [float(-i) for i in range(n)]
        keys = [float(rng.randrange(max(2, n // 4))) for _ in range(n)]
        for i in range(n):
            if rng.random() < 0.3:
                keys[i] = rng.choice(special[:2])
        yield f"nan and infinity {n}", keys
        keys = [float(rng.randrange(max(2, n // 4))) for _ in range(n)]
        for i in range(n):
            if rng.random() < 0.3:
                keys[i] = rng.choice(special)
        yield f"minus infinity too {n}", keys
        yield f"all nan {n}", [math.nan] * n
    yield "adversary 1000", killer(1000)
    yield "adversary 200", killer(200)


def main():
    lines = ["# Made by tie_order.py: keys and the order in which their indices come out.", "name,keys,order"]
    heaps = 0
    for name, keys in cases():
        sorter = Sorter(keys)
        sorter.sort(0, len(keys), len(keys))
        assert sorted(sorter.order) == list(range(len(keys))), name
        heaps += sorter.heap_sorted
        lines.append(f"{name},{' '.join(repr(k) for k in keys)},{' '.join(map(str, sorter.order))}")
    assert heaps > 0, "no case reaches the heap"
    Path(__file__).with_suffix(".csv").write_text("\n".join(lines) + "\n")


main()
