#!/usr/bin/env python3
"""Writes sums.txt: exact answers for sums that no test has the time to add up.

Every row is a series of two different values, each repeated up to 2^40 times: its sums as words,
and its mean and population deviation as reference.py writes them. Among them are means that lie
half-way between two doubles and just beside powers of two.
Usage: sums.py > sums.txt
"""

from fractions import Fraction
from random import Random

from reference import INTEGERS, highest, lowest, root, two_doubles


def words(value, count):
    return [f"{(value >> (64 * i)) & ((1 << 64) - 1):x}" for i in range(count)]


def row(kind, first, others, count, times):
    """\a times the value \a others, and \a first for the rest of \a count."""
    anchor = first if INTEGERS[kind][0] == 64 else 0
    total = (count - times) * (first - anchor) + times * (others - anchor)
    squares = (count - times) * (first - anchor) ** 2 + times * (others - anchor) ** 2
    mean = Fraction(total, count) + anchor
    deviation = root(Fraction(count * squares - total * total, count * count))
    fields = words(count, 1) + words(anchor, 1) + words(total, 2) + words(squares, 3)
    answers = [float(x).hex() for moment in (mean, deviation) for x in two_doubles(moment)]
    print(kind, *fields, *answers, sep=";")


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
                first, others = (random.randint(low, high) >> random.randrange(bits - 1)
                                 for _ in "ab")
                row(kind, first, others, count, random.randrange(count))


if __name__ == "__main__":
    main()
