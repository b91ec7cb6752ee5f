#!/usr/bin/env python3
"""Writes the sample recording buses.mf4: the frames of drive.log in a file of ASAM MDF 4, with the
engine on channel 1 and the CANopen drive on channel 2.

    generateMf4.py [DIRECTORY]        default: the directory of this script

The file has two groups of records of a fixed length, one of data frames and one of remote frames.
"""

import re
import struct
import sys
from pathlib import Path

SECOND = 1_000_000_000  # times are whole nanoseconds
START = 1_700_000_000 * SECOND
DRIVE_IDS = {0x185, 0x285}
ENGINE_BUS, DRIVE_BUS = 1, 2

NUMBER, BYTES, MASTER = 0, 10, 2  # data types, and the type of a channel of times
DATA_FRAME = struct.Struct("<QBBBxI8s")
REMOTE_FRAME = struct.Struct("<QBBBxI")
# The name, data type, byte, first bit and number of bits of each part of a record after the time.
REMOTE_PARTS = [("BusChannel", NUMBER, 8, 0, 8), ("DLC", NUMBER, 9, 0, 4),
                ("IDE", NUMBER, 10, 0, 1), ("ID", NUMBER, 12, 0, 29)]
DATA_PARTS = [*REMOTE_PARTS, ("DataLength", NUMBER, 9, 0, 8), ("DataBytes", BYTES, 16, 0, 64)]


def frames_of(log):
    """The time since the start, the bus, the text of the id and that of the data of each frame."""
    for line in log.read_text(encoding="utf-8").splitlines():
        match = re.fullmatch(r"\((\d+)\.(\d{6})\) can0 ([0-9A-F]+)#(.*)", line)
        if match:
            time = int(match[1]) * SECOND + int(match[2]) * 1000 - START
            bus = DRIVE_BUS if int(match[3], 16) in DRIVE_IDS else ENGINE_BUS
            yield time, bus, match[3], match[4]


def data_record(time, bus, identifier, data):
    content = bytes.fromhex(data)
    return DATA_FRAME.pack(time, bus, len(content), len(identifier) == 8, int(identifier, 16),
                           content)


def remote_record(time, bus, identifier, data):
    length = int(data[1:] or "0")
    return REMOTE_FRAME.pack(time, bus, length, len(identifier) == 8, int(identifier, 16))


class File:
    """A file whose blocks are added one after the other. A block links to others by their
    positions, so it is added after those."""

    def __init__(self):
        self.content = bytearray(b"MDF     4.10    vantrel ")
        self.content += struct.pack("<4xH30xHH", 410, 0, 0)
        start = struct.pack("<QhhBBB5x2d", START, 0, 0, 0, 0, 0, 0, 0)
        self.header = self.add("HD", [0] * 6, start)

    def add(self, kind, links, body=b""):
        self.content += bytes(-len(self.content) % 8)
        position = len(self.content)
        length = 24 + 8 * len(links) + len(body)
        self.content += struct.pack("<4s4xQQ", b"##" + kind.encode(), length, len(links))
        self.content += struct.pack(f"<{len(links)}Q", *links) + body
        return position

    def set_first_group(self, group):
        struct.pack_into("<Q", self.content, self.header + 24, group)

    def text(self, text):
        return self.add("TX", [], text.encode() + b"\0")

    def channel(self, following, name, kind, data_type, byte, bit, bits, inner=0, conversion=0):
        is_time = kind == MASTER
        body = struct.pack("<BBBBIIII48x4x", kind, is_time, data_type, bit, byte, bits, 0, 0)
        return self.add("CN", [following, inner, self.text(name), 0, conversion, 0, 0, 0], body)

    def channels(self, event, parts, size):
        """The time, and the event that consists of these parts."""
        inner = 0
        for name, data_type, byte, bit, bits in reversed(parts):
            inner = self.channel(inner, f"{event}.{name}", 0, data_type, byte, bit, bits)
        whole = self.channel(0, event, 0, BYTES, 8, 0, 8 * (size - 8), inner)
        seconds = self.add("CC", [0] * 4, struct.pack("<BBHHHdddd", 1, 0, 0, 0, 2, 0, 0, 0, 1e-9))
        return self.channel(whole, "Timestamp", MASTER, NUMBER, 0, 0, 64, conversion=seconds)

    def group(self, following, event, parts, size, records):
        """A group of records that is alone in its stream of data."""
        first = self.channels(event, parts, size)
        bus_event = 0x6
        counts = struct.pack("<QQHHIII", 0, len(records), bus_event, ord("."), 0, size, 0)
        group = self.add("CG", [0, first, self.text(event), 0, 0, 0], counts)
        data = self.add("DT", [], b"".join(records))
        return self.add("DG", [following, group, data, 0], bytes(8))


def main():
    sample = Path(__file__).parent
    directory = Path(sys.argv[1]) if len(sys.argv) > 1 else sample
    frames = list(frames_of(sample / "drive.log"))
    data = [data_record(*frame) for frame in frames if not frame[3].startswith("R")]
    remote = [remote_record(*frame) for frame in frames if frame[3].startswith("R")]
    file = File()
    last = file.group(0, "CAN_RemoteFrame", REMOTE_PARTS, REMOTE_FRAME.size, remote)
    file.set_first_group(file.group(last, "CAN_DataFrame", DATA_PARTS, DATA_FRAME.size, data))
    (directory / "buses.mf4").write_bytes(file.content)


main()
