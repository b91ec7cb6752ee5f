#!/usr/bin/env python3
"""Reads and writes saved runs by the description in docs/saved-runs.md alone, and compares the results
with those of the program.

    savedRunTest.py --program FILE
"""

import argparse
import hashlib
import json
import math
import statistics
import struct
import subprocess
import sys
import tempfile
from pathlib import Path

SAMPLE = Path(__file__).resolve().parents[2] / "monitor/sample"
UNKNOWN_TIME = -(1 << 63)


class Reader:
    def __init__(self, content):
        self.content = content
        self.place = 0

    def bytes(self, length):
        self.place += length
        assert self.place <= len(self.content), "too short"
        return self.content[self.place - length:self.place]

    def numbers(self, layout):
        return struct.unpack(">" + layout, self.bytes(struct.calcsize(">" + layout)))

    def number(self, layout):
        return self.numbers(layout)[0]

    def text(self):
        return self.bytes(self.number("I")).decode("utf-8")

    def varint(self):
        number, shift = 0, 0
        while True:
            byte = self.number("B")
            number |= (byte & 0x7F) << shift
            if byte < 0x80:
                return number
            shift += 7

    def blocks(self):
        blocks = []
        while size := self.number("I"):
            assert size <= 65536, size
            blocks.append(Reader(self.bytes(size)))
        return blocks

    def texts(self):
        comment, bus = self.text(), self.text()
        meanings = [(self.number("Q"), self.text()) for _ in range(self.number("I"))]
        assert meanings == sorted(meanings)
        return {"comment": comment, "bus": bus, "meanings": dict(meanings)}

    def signal(self):
        is_j1939, source = self.numbers("Bh")
        name, unit = self.text(), self.text()
        length, is_signed, is_float, is_passed_through = self.numbers("BBBB")
        factor, offset = self.numbers("dd")
        has_type, _ = self.numbers("BI")
        has_limits, lower, upper = self.numbers("Bdd")
        texts = self.texts()
        unavailable, errors, number, count = self.numbers("qqIq")
        assert 1 <= length <= 64 and {is_j1939, is_signed, is_float, has_type, has_limits} <= {0, 1}
        return {"name": name, "unit": unit, "kind": "j1939" if is_j1939 else "canopen",
                "source": None if source == -1 else source, "count": count, "error": errors,
                "notAvailable": unavailable, "factor": factor, "offset": offset,
                "limits": (lower, upper) if has_limits else None, "records": [],
                "number": number, "length": length, "isSigned": is_signed, "isFloat": is_float,
                "isPassedThrough": is_passed_through, **texts}

    def undecoded(self):
        bus, (is_extended, number, frames) = self.text(), self.numbers("BIq")
        return {"bus": bus or None, "id": f"{number:0{8 if is_extended else 3}X}", "frames": frames}

    def run(self):
        assert self.bytes(8) == b"VANTREL\n" and self.number("I") == 3
        blocks = self.blocks()
        place = self.place
        run = {"k": self.number("d"), "counts": self.numbers("9q"), "time": self.numbers("Bq")}
        run["signals"] = [self.signal() for _ in range(self.number("I"))]
        run["complete"] = self.number("B")
        run["undecodedIds"] = [self.undecoded() for _ in range(self.number("I"))]
        assert self.number("q") == place
        assert self.bytes(32) == hashlib.sha256(self.content[:-32]).digest()
        assert self.place == len(self.content), "too long"
        read_values(blocks, {signal["number"]: signal for signal in run["signals"]})
        return run


def raw_value(signal, raw):
    bits = int.from_bytes(raw, "big")
    assert bits < 1 << signal["length"]
    if signal["isFloat"]:
        return struct.unpack(">f" if len(raw) == 4 else ">d", raw)[0]
    is_negative = signal["isSigned"] and bits >> (signal["length"] - 1)
    return bits - (1 << signal["length"]) if is_negative else bits


def read_values(blocks, by_number):
    """Adds all values to the records of their signals."""
    time = 0
    for block in blocks:
        while block.place < len(block.content):
            key = block.varint()
            if key & 1:
                zigzag = block.varint()
                time += zigzag >> 1 if zigzag % 2 == 0 else -(zigzag + 1 >> 1)
            signal = by_number[key >> 1]
            raw = raw_value(signal, block.bytes((signal["length"] + 7) // 8))
            signal["records"].append((time if key & 1 else UNKNOWN_TIME, raw))
    assert sorted(by_number) == list(range(len(by_number)))
    for signal in by_number.values():
        assert len(signal["records"]) == signal["count"], signal["name"]


def text(content):
    return struct.pack(">I", len(content.encode("utf-8"))) + content.encode("utf-8")


def varint(number):
    groups = []
    while number >= 0x80:
        groups.append(number & 0x7F | 0x80)
        number >>= 7
    return bytes(groups + [number])


def written_blocks(raw_values):
    """One block for each value. The first value has no time."""
    content = b""
    for number, raw in enumerate(raw_values):
        value = varint(1) + varint(2000) if number else varint(0) # 1000 microseconds later
        value += struct.pack(">h", raw)
        content += struct.pack(">I", len(value)) + value
    return content + struct.pack(">I", 0)


def written_records(raw_values):
    content = struct.pack(">I", len(raw_values))
    for number, raw in enumerate(raw_values):
        content += struct.pack(">qh", 1000 * number if number else UNKNOWN_TIME, 1)
        content += struct.pack(">IBi", 2, 0, raw) + struct.pack(">IB", 0, 1) + struct.pack(">i", 0)
    return content


def written_run(version, raw_values, meanings):
    """A run with one signal, whose values are raw value x 0.5 + 10; one time is unknown."""
    content = b"VANTREL\n" + struct.pack(">I", version)
    if version >= 3:
        content += written_blocks(raw_values)
    place = len(content)
    content += struct.pack(">d9q", 2.0, 9, 7, 5, 4, 3, 2, 1, 0, 0)
    content += struct.pack(">BqI", 1, 1000, 1)
    content += struct.pack(">Bh", 1, 33) + text("Größe") + text("mm")
    content += struct.pack(">BBBBddBIBdd", 16, 1, 0, 0, 0.5, 10, 0, 0, 1, -20, 20)
    if version >= 2:
        content += text("of the part") + text("can0") + struct.pack(">I", len(meanings))
        for raw, meaning in sorted((raw & 0xFFFF, meaning) for raw, meaning in meanings.items()):
            content += struct.pack(">Q", raw) + text(meaning)
    content += struct.pack(">qq", 6, 8)
    content += struct.pack(">Iq", 0, len(raw_values)) if version >= 3 else written_records(raw_values)
    if version >= 2:
        content += struct.pack(">BI", 0, 1) + text("can1") + struct.pack(">BIq", 0, 0x701, 2)
    if version >= 3:
        content += struct.pack(">q", place)
    return content + hashlib.sha256(content).digest()


def same(first, second):
    return math.isclose(first, second, rel_tol=1e-12, abs_tol=1e-9)


def check_signal(saved, shown):
    for member in ("name", "unit", "kind", "source", "count", "error", "notAvailable"):
        assert saved[member] == shown[member], (saved["name"], member)
    values = [raw * saved["factor"] + saved["offset"] for _, raw in saved["records"]
              if not saved["isPassedThrough"]]
    if values:
        assert same(statistics.fmean(values), shown["average"]), saved["name"]
        assert same(values[-1], shown["newest"]), saved["name"]
    times = [time for time, _ in saved["records"]]
    assert times == sorted(times) and UNKNOWN_TIME not in times, saved["name"]


def check_reading(vantrel, folder):
    file = folder / "run"
    dbc = folder / "engine.dbc"
    dbc.write_bytes((SAMPLE / "engine.dbc").read_bytes() + b"""
VAL_ 2364540158 EngineSpeed 65535 "\xc3\xbc" 3 "three" ;
CM_ SG_ 2364540158 EngineSpeed "of the
crankshaft";
""")
    shown, _ = vantrel("replay", SAMPLE / "drive.log", "--dbc", dbc, "--eds",
                       SAMPLE / "drive.eds", "--node", "5", "--k", "2.5", "--save", file,
                       "--limits", "EngineSpeed=1:2")
    run = Reader(file.read_bytes()).run()
    frames = shown["frames"]
    assert run["k"] == 2.5
    assert run["counts"] == (frames["total"], frames["decoded"], frames["dropped"],
                             frames["errors"], 0, 0, 0, 0, 0)
    assert run["time"] == (1, min(signal["records"][0][0] for signal in run["signals"]))
    assert len(run["signals"]) == len(shown["signals"])
    for saved, found in zip(run["signals"], shown["signals"]):
        check_signal(saved, found)
    assert [signal["name"] for signal in run["signals"] if signal["limits"]] == ["EngineSpeed"]
    assert {signal["name"]: signal["meanings"] for signal in run["signals"]
            if signal["meanings"]} == {"EngineSpeed": {3: "three", 0xFFFF: "ü"}}
    assert {signal["name"]: signal["comment"] for signal in run["signals"]
            if signal["comment"]} == {"EngineSpeed": "of the\ncrankshaft"}
    assert run["complete"] == shown["complete"] == 1
    assert run["undecodedIds"] == shown["undecodedIds"] != []
    assert {signal["bus"] for signal in run["signals"]} == {""}


def check_writing(vantrel, folder, version, meaning, complete, undecoded_ids):
    raw_values = [-40, 8, 16, 100]
    meanings = {-40: "Überlauf", 100: "jammed", 0: ""}
    (folder / "written").write_bytes(written_run(version, raw_values, meanings))
    shown, notes = vantrel("show", folder / "written")
    assert "2 message(s), 0 interrupted; packets: 1 lost, 0 out of order" in notes, notes
    values = [raw * 0.5 + 10 for raw in raw_values]
    assert shown["frames"] == {"total": 9, "decoded": 7, "undecoded": 2, "dropped": 5, "errors": 4}
    (signal,) = shown["signals"]
    average, deviation = statistics.fmean(values), statistics.pstdev(values)
    expected = {"name": "Größe", "kind": "j1939", "source": 33, "count": 4, "notAvailable": 6,
                "error": 8, "unit": "mm", "newest": 60, "newestText": meaning, "minimum": -10, "maximum": 60,
                "median": 16, "rating": 0, "deviators": 0}
    assert (shown["complete"], shown["undecodedIds"]) == (complete, undecoded_ids)
    for member, value in expected.items():
        assert signal[member] == value, (member, signal[member])
    assert same(signal["average"], average) and same(signal["deviation"], deviation)
    assert same(signal["upperThreshold"], average + 2 * deviation)


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--program", type=Path, required=True)
    program = parser.parse_args().program.resolve()

    def vantrel(*arguments):
        result = subprocess.run([program, *arguments, "--format", "json"], stdout=subprocess.PIPE,
                                stderr=subprocess.PIPE, text=True, timeout=120, check=True)
        return json.loads(result.stdout), result.stderr

    with tempfile.TemporaryDirectory() as folder:
        check_reading(vantrel, Path(folder))
        check_writing(vantrel, Path(folder), 1, None, True, [])
        for version in (2, 3):
            check_writing(vantrel, Path(folder), version, "jammed", False,
                          [{"bus": "can1", "id": "701", "frames": 2}])


if __name__ == "__main__":
    sys.exit(main())
