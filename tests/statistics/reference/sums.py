#!/usr/bin/env python3
"""Writes sums.txt: exact results for series that are too long for tests to add up.

Each row describes a series of up to 2^41 numbers with at most two different values: its sums as
words, and its mean and population deviation in the format of reference.py. Some means lie halfway
between two doubles, others next to powers of two.
Usage: sums.py > sums.txt
"""

from fractions import Fraction
from random import Random

from reference import INTEGERS, highest, lowest, root, two_doubles


def words(value, count):
    return [f"{(value >> (64 * i)) & ((1 << 64) - 1):x}" for i in range(count)]


def row(kind, first, other, count, other_count):
    """Prints the row of count values: other_count of them are other, the rest are first."""
    anchor = first if INTEGERS[kind][0] == 64 else 0
    total = (count - other_count) * (first - anchor) + other_count * (other - anchor)
    squares = (count - other_count) * (first - anchor) ** 2 + other_count * (other - anchor) ** 2
    mean = Fraction(total, count) + anchor
    deviation = root(Fraction(count * squares - total * total, count * count))
    fields = words(count, 1) + words(anchor, 1) + words(total, 2) + words(squares, 3)
    results = [float(x).hex() for moment in (mean, deviation) for x in two_doubles(moment)]
    print(kind, *fields, *results, sep=";")


def main():
    random = Random(1)
    print("# type;count;anchor;sum, 2 words;squares, 3 words;mean;its rest;deviation;its rest")
    for kind in "int", "unsigned int", "long long", "unsigned long long":
        low, high = lowest(kind), highest(kind)
        bits = INTEGERS[kind][0]
        for exponent in range(1, 41):
            count = 1 << exponent
            row(kind, low, high, count, count // 2)
            row(kind, high, high - 1, count, 1)
            row(kind, high, low, count, 1)
            row(kind, low, low + 1, count, 1)
            row(kind, high // 2 + 1, high // 2, count, random.randrange(1, count))
            for _ in range(5):
                count = random.randrange((1 << exponent) - 1, 2 << exponent)
                first, other = (random.randint(low, high) >> random.randrange(bits - 1)
                                 for _ in range(2))
                row(kind, first, other, count, random.randrange(count))


if __name__ == "__main__":
    main()
