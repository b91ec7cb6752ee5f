#!/usr/bin/env python3
"""Writes reference.txt: the exact mean and population deviation of the data sets of dataSets.h.

The script generates the same sets, value by value, and computes with integers of any length. It
writes each result as two doubles, the nearest one and the rest.
Usage: reference.py > reference.txt
"""

import math
import pathlib
import struct
import sys
from fractions import Fraction

INTEGERS = {"signed char": (8, True), "short": (16, True), "int": (32, True),
            "long long": (64, True), "unsigned char": (8, False), "unsigned short": (16, False),
            "unsigned int": (32, False), "unsigned long long": (64, False)}
TYPES = list(INTEGERS) + ["float", "double"]
MASK = (1 << 64) - 1
MILLION = 1000000


class Random:
    """SplitMix64."""

    def __init__(self, seed):
        self.state = seed

    def next(self):
        self.state = (self.state + 0x9E3779B97F4A7C15) & MASK
        z = self.state
        z = ((z ^ (z >> 30)) * 0xBF58476D1CE4E5B9) & MASK
        z = ((z ^ (z >> 27)) * 0x94D049BB133111EB) & MASK
        return z ^ (z >> 31)

    def below(self, limit):
        return self.next() % limit

    def uniform(self):
        return (self.next() >> 11) * 2.0 ** -53


def is_integer(kind):
    return kind in INTEGERS


def lowest(kind):
    bits, signed = INTEGERS[kind]
    return -(1 << (bits - 1)) if signed else 0


def highest(kind):
    bits, signed = INTEGERS[kind]
    return (1 << (bits - (1 if signed else 0))) - 1


def wrap(value, kind):
    bits, _ = INTEGERS[kind]
    return (value - lowest(kind)) % (1 << bits) + lowest(kind)


def number(value, kind):
    """A double rounded to a floating-point type."""
    return struct.unpack("f", struct.pack("f", value))[0] if kind == "float" else value


def random_values(kind, random, count):
    if is_integer(kind):
        return [wrap(random.next(), kind) for _ in range(count)]
    return [number(random.uniform(), kind) for _ in range(count)]


def offset(kind, random):
    if is_integer(kind):
        return [1000000000 + random.below(1000) for _ in range(MILLION)]
    return [number(1e9 + random.uniform(), kind) for _ in range(MILLION)]


def drift(kind):
    if is_integer(kind):
        return [10000000 + i for i in range(MILLION)]
    return [number(1e7 + i / 1000.0, kind) for i in range(MILLION)]


def outlier(kind, random, position):
    if is_integer(kind):
        values = [random.below(100) for _ in range(1001)]
        values[position] = 10 ** 15
    else:
        values = [number(100 * random.uniform(), kind) for _ in range(1001)]
        values[position] = number(1e15, kind)
    return values


def signed_power(kind, random, low, high):
    mantissa = 1 + random.uniform()
    exponent = low + random.below(high - low + 1)
    magnitude = number(math.ldexp(mantissa, exponent), kind)
    return -magnitude if random.below(2) else magnitude


def magnitudes(kind, random, low, high):
    return [signed_power(kind, random, low, high) for _ in range(10000)]


def cancelling(kind, random):
    reach = 60 if kind == "float" else 400
    half = [signed_power(kind, random, -reach, reach) for _ in range(100)]
    rest = [signed_power(kind, random, -reach, -reach) for _ in range(3)]
    return half + rest + [-value for value in half]


def neighbours(kind, base, other):
    values = [number(base, kind)] * 1001
    values[700] = number(other, kind)
    return values


def small(kind, random):
    count = 1 + random.below(300)
    if is_integer(kind):
        bits, _ = INTEGERS[kind]
        base = wrap(random.next(), kind) >> random.below(bits)
        shift = random.below(bits)
        return [wrap(base + (wrap(random.next(), kind) >> shift), kind) for _ in range(count)]
    reach = 50 if kind == "float" else 300
    low = random.below(2 * reach + 1) - reach
    high = low + random.below(61)
    base = signed_power(kind, random, low, high + 20)
    if random.below(2):
        base = 0.0
    return [number(base + signed_power(kind, random, low, high), kind) for _ in range(count)]


def nist(kind, path):
    lines = [line for line in path.read_text().split("\n") if line and not line.startswith("#")]
    if not is_integer(kind):
        return [number(float(line), kind) for line in lines]
    values = [Fraction(line.strip()) for line in lines]
    if any(v.denominator != 1 or not lowest(kind) <= v <= highest(kind) for v in values):
        return None
    return [int(v) for v in values]


def sets(kind):
    yield "ramp", [i if is_integer(kind) else float(i) for i in range(100)]
    yield "random", random_values(kind, Random(1), MILLION)
    for i in range(40):
        yield f"small{i}", small(kind, Random(1000 + i))
    if is_integer(kind):
        low, high = lowest(kind), highest(kind)
        yield "constant", [high] * MILLION
        yield "top", [high, high - 1, high - 2]
        yield "spread", [low, (low + high + 1) // 2, high]
    else:
        reach = 120 if kind == "float" else 1020
        squares = 60 if kind == "float" else 500
        yield "constant", [number(0.1, kind)] * MILLION
        yield "magnitudes", magnitudes(kind, Random(2), -reach, reach)
        yield "magnitudesOfSquares", magnitudes(kind, Random(3), -squares, squares)
        yield "magnitudes200", magnitudes(kind, Random(4), -min(reach, 664), min(reach, 664))
        yield "greatest", magnitudes(kind, Random(5), reach, reach)
        yield "smallest", magnitudes(kind, Random(6), -reach - 20, -reach - 20)
        yield "cancelling", cancelling(kind, Random(7))
        yield "neighbours", neighbours(kind, 1.0, 1 + 2.0 ** (-23 if kind == "float" else -52))
        yield "eighths", neighbours(kind, 1e15, 1e15 + 0.125)
    if kind not in INTEGERS or INTEGERS[kind][0] >= 32:
        yield "offset", offset(kind, Random(8))
        yield "drift", drift(kind)
    if kind not in INTEGERS or INTEGERS[kind][0] >= 64:
        for name, position in ("First", 0), ("Middle", 500), ("Last", 1000):
            yield f"outlier{name}", outlier(kind, Random(9), position)
    for path in sorted(pathlib.Path(__file__).parent.parent.glob("nist/*.dat")):
        values = nist(kind, path)
        if values:
            yield path.stem, values


def two_doubles(value):
    """The nearest double to a fraction, and the rest."""
    nearest = value.numerator / value.denominator
    return nearest, float(value - Fraction(nearest))


def root(value):
    """The square root of a fraction, to 200 bits."""
    if value == 0:
        return Fraction(0)
    exponent = 400 - value.numerator.bit_length() + value.denominator.bit_length()
    exponent += exponent % 2
    scaled = value * (Fraction(2) ** exponent)
    whole = math.isqrt(scaled.numerator // scaled.denominator)
    return Fraction(whole) / Fraction(2) ** (exponent // 2)


def moments(values):
    """Mean and deviation as fractions. All values are integer multiples of one power of two."""
    if isinstance(values[0], int):
        unit, numbers = Fraction(1), values
    else:
        ratios = [value.as_integer_ratio() for value in values]
        greatest = max(denominator for _, denominator in ratios)
        unit = Fraction(1, greatest)
        numbers = [numerator * (greatest // denominator) for numerator, denominator in ratios]
    count, total = len(numbers), sum(numbers)
    squares = sum(value * value for value in numbers)
    variance = Fraction(count * squares - total * total, count * count)
    return Fraction(total, count) * unit, root(variance) * unit


def main():
    print("# type;set;count;mean;its rest;deviation;its rest, written by reference.py")
    for kind in TYPES:
        for name, values in sets(kind):
            results = [float(x).hex() for moment in moments(values) for x in two_doubles(moment)]
            print(kind, name, len(values), *results, sep=";")
            print(kind, name, file=sys.stderr)


if __name__ == "__main__":
    main()
