#!/usr/bin/env python3
"""Writes engine.expected and drive.expected: the statistics that the program must show for the
sample recordings.

They are computed here independently of the program, in exact fractions, so that a test can compare
the two. One line for each signal and source:

    name;source;count;newest;average;deviation;minimum;maximum;median;rating;lower;upper;deviators;
    not available;error

This script reads recordings and descriptions only as far as the sample needs it.
"""

import configparser
import math
import re
import statistics
import struct
import sys
from collections import defaultdict
from fractions import Fraction
from pathlib import Path

HERE = Path(__file__).parent
K = 3
NODE = 5  # of the drive
SIGNAL = re.compile(r' SG_ (\w+) (?:(M|m\d+) )?: (\d+)\|(\d+)@([01])([+-]) '
                    r'\(([^,]+),([^)]+)\) \[.*\] "(.*)" ')


def messages():
    """Maps the PGN or the 11-bit id, as text, to the signals."""
    found = {}
    for line in (HERE / "engine.dbc").read_text(encoding="utf-8").splitlines():
        if line.startswith("BO_ "):
            number = int(line.split()[1])
            key = f"{number & 0x3FFFF00:08X}"[:6] if number >> 31 else f"{number:03X}"
            found[key] = signals = []
        elif line.startswith(" SG_ "):
            signals.append(SIGNAL.match(line).groups())
    return found


def pdos():
    """Maps the 11-bit id, as text, to the objects of the drive: name, data type, bits."""
    eds = configparser.ConfigParser(delimiters="=", interpolation=None)
    eds.optionxform = str.lower
    eds.read_string((HERE / "drive.eds").read_text(encoding="utf-8").lower())
    names = dict(re.findall(r"\[(\w+)\]\nParameterName=(.*)",
                            (HERE / "drive.eds").read_text(encoding="utf-8")))
    found = {}
    for number in range(3):
        cob_id = eval(eds[f"{0x1800 + number:x}sub1"]["defaultvalue"].replace("$nodeid", str(NODE)))
        if cob_id >> 31:
            continue
        found[f"{cob_id & 0x7FF:03X}"] = objects = []
        for i in range(1, 65):
            if not eds.has_section(section := f"{0x1a00 + number:x}sub{i}"):
                break
            entry = int(eds[section]["defaultvalue"], 16)
            index = f"{entry >> 16:x}"
            is_dummy = not eds.has_section(index)
            datatype = 0 if is_dummy else int(eds[index]["datatype"], 16)
            objects.append((names.get(index), datatype, entry & 0xFF))
    return found


def objects_in(data, mapped):
    """Yields the name and value of each object in a PDO."""
    digits = "".join(f"{byte:08b}" for byte in data[::-1])
    for name, datatype, length in mapped:
        bits, digits = digits[-length:], digits[:-length]
        raw = int(bits, 2)
        if datatype in (2, 3, 4):
            raw -= 2 ** length if bits[0] == "1" else 0
        if datatype == 8:
            raw = Fraction(struct.unpack("<f", raw.to_bytes(4, "little"))[0])
        if datatype:
            yield name, Fraction(raw)


def raw_bits(data, start, length, order):
    """The bits of the field as a string of binary digits, highest bit first."""
    digits = "".join(f"{byte:08b}" for byte in (data if order == "0" else data[::-1]))
    if order == "0":
        first = start // 8 * 8 + 7 - start % 8
    else:
        first = len(digits) - start - length
    return digits[first:first + length]


def kind_of(bits, is_j1939):
    reserving = len(bits) >= 8 or len(bits) in (2, 4)
    top = bits[:8]
    if not is_j1939 or not reserving or "0" in top[:-1]:
        return "value"
    return "not available" if top[-1] == "1" else "error"


def collect(recording):
    """Maps (name, source) to the scaled values and to the counts of unavailable ones and errors."""
    series = defaultdict(lambda: ([], {"not available": 0, "error": 0}))
    known, known_pdos = messages(), pdos()
    for line in recording.splitlines():
        match = re.fullmatch(r"\(.+\) \w+ (\w+)#([0-9A-F]*)", line)
        if not match:
            continue  # a comment or a remote frame
        identifier, data = match[1], bytes.fromhex(match[2])
        is_j1939 = len(identifier) == 8
        for name, value in objects_in(data, known_pdos.get(identifier, [])):
            series[name, str(NODE)][0].append(value)
        key = f"{int(identifier, 16) & 0x3FFFF00:08X}"[:6] if is_j1939 else identifier
        source = str(int(identifier[6:], 16)) if is_j1939 else "-"
        for name, multiplex, start, length, order, sign, factor, offset, _ in known.get(key, []):
            if multiplex and multiplex != "M" and int(multiplex[1:]) != data[0]:
                continue
            bits = raw_bits(data, int(start), int(length), order)
            values, counts = series[name, source]
            kind = kind_of(bits, is_j1939)
            if kind != "value":
                counts[kind] += 1
                continue
            raw = int(bits, 2) - (2 ** len(bits) if sign == "-" and bits[0] == "1" else 0)
            values.append(raw * Fraction(factor) + Fraction(offset))
    return series


def rating(newest, lower, upper):
    """100 in the inner half of the band, falling to 0 at its ends, 0 outside."""
    if not lower <= newest <= upper:
        return 0
    if lower == upper:
        return 100
    distance = min(newest - lower, upper - newest)
    return min(100, math.floor(100 * distance / ((upper - lower) / 4) + Fraction(1, 2)))


def root(square):
    """The square root, to 30 decimal places."""
    scale = 10 ** 30
    return Fraction(math.isqrt(square.numerator * scale ** 2 // square.denominator), scale)


def statistics_of(values):
    average = statistics.mean(values)
    deviation = root(statistics.pvariance(values))
    lower, upper = average - K * deviation, average + K * deviation
    outside = sum(not lower <= value <= upper for value in values)
    return [values[-1], average, deviation, min(values), max(values), statistics.median(values),
            rating(values[-1], lower, upper), lower, upper, outside]


def main():
    directory = Path(sys.argv[1]) if len(sys.argv) > 1 else HERE
    for name in "engine", "drive":
        recording = (HERE / f"{name}.log").read_text(encoding="ascii")
        with open(directory / f"{name}.expected", "w", encoding="ascii", newline="\n") as output:
            for (signal, source), (values, counts) in sorted(collect(recording).items()):
                numbers = [f"{float(x):.15g}" for x in statistics_of(values)]
                cells = [signal, source, len(values), *numbers, counts["not available"],
                         counts["error"]]
                print(*cells, sep=";", file=output)


main()
