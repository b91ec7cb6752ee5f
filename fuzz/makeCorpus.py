#!/usr/bin/env python3
"""Writes the corpus of the targets of records, the transport protocol, BLF and MF4 files, captures
and packed recordings: a file for each case, corpus/<target>/<case>. The other targets have small
files written by hand, and inputs found by fuzzing."""

import gzip
import pathlib
import struct
import zlib

BIG_ENDIAN, LITTLE_ENDIAN = 0, 1
DOUBLE_PRECISION, SINGLE_PRECISION = 0, 2
QT_5_0, QT_5_15 = 0 << 2, 6 << 2
NEWEST = bytes([BIG_ENDIAN | DOUBLE_PRECISION | QT_5_15])

RECORD = struct.pack(">h", 1)
TAILS = {
    "canopenRecord": struct.pack(">bbddi", -2, 3, 1.0, -2.0, -5),
    "j1939Record": struct.pack(">i", -5),
}


def variant(type_id, content=b"", is_null=0):
    return struct.pack(">IB", type_id, is_null) + content


def text(content):
    encoded = content.encode("utf-16-be")
    return variant(10, struct.pack(">I", len(encoded)) + encoded)


def byte_array(content):
    return variant(12, struct.pack(">I", len(content)) + content)


INVALID = variant(0, is_null=1)
INT = variant(2, struct.pack(">i", 258))
DOUBLE = variant(6, struct.pack(">d", 0.5))

PLAIN_VALUES = {
    "invalid": INVALID,
    "bool": variant(1, b"\x01"),
    "bool-of-another-true": variant(1, b"\xfe"),
    "int": INT,
    "int-least": variant(2, struct.pack(">i", -(2**31))),
    "int-flagged-null": variant(2, struct.pack(">i", 7), is_null=1),
    "int-flagged-null-by-another-true": variant(2, struct.pack(">i", 7), is_null=0xFE),
    "uint": variant(3, struct.pack(">I", 2**32 - 1)),
    "long-long": variant(4, struct.pack(">q", -(2**63))),
    "unsigned-long-long": variant(5, struct.pack(">Q", 2**64 - 1)),
    "double": DOUBLE,
    "double-not-a-number": variant(6, struct.pack(">d", float("nan"))),
    "double-signalling": variant(6, bytes.fromhex("7ff0000000000001")),
    "double-infinite": variant(6, struct.pack(">d", float("inf"))),
    "float": variant(38, struct.pack(">d", 0.1)),
    "float-out-of-range": variant(38, struct.pack(">d", 1e300)),
    "float-not-a-number": variant(38, struct.pack(">d", float("nan"))),
    "long": variant(32, struct.pack(">q", -1)),
    "unsigned-long": variant(35, struct.pack(">Q", 2**63)),
    "short": variant(33, struct.pack(">h", -2)),
    "char": variant(34, b"\x80"),
    "unsigned-short": variant(36, struct.pack(">H", 65535)),
    "unsigned-char": variant(37, b"\xff"),
    "signed-char": variant(40, b"\x80"),
    "text": text("rpm"),
    "text-empty": text(""),
    "text-null": variant(10, struct.pack(">I", 2**32 - 1)),
    "text-lone-surrogate": variant(10, struct.pack(">IH", 2, 0xD800)),
    "bytes": byte_array(b"\x00\x01\xff"),
    "bytes-null": variant(12, struct.pack(">I", 2**32 - 1)),
}

REFUSED_VALUES = {
    "text-of-an-odd-length": variant(10, struct.pack(">I", 3) + b"\x00a\x00"),
    "text-longer-than-the-stream": variant(10, struct.pack(">I", 2000)),
    "text-of-a-huge-length": variant(10, struct.pack(">I", 2**32 - 2)),
    "bytes-of-a-huge-length": variant(12, struct.pack(">I", 2**31)),
    "list": variant(9, struct.pack(">I", 0)),
    "list-nested": variant(9, struct.pack(">I", 1)) * 40,
    "list-of-a-huge-length": variant(9, struct.pack(">I", 2**31 - 1)),
    "bit-array-of-a-huge-length": variant(13, struct.pack(">I", 2**32 - 1)),
    "map-of-itself": variant(8, struct.pack(">I", 1) + struct.pack(">I", 0)) * 9,
    "date-time-of-an-unknown-zone": variant(16, struct.pack(">qIBIH", 2440588, 0, 3, 2, ord("X"))),
    "easing-curve": variant(29, b"\x2d" + b"\xff" * 8),
    "pointer-to-an-object": variant(39, b"\xff" * 8),
    "type-by-name": variant(1024, struct.pack(">I", 4) + b"int\0" + struct.pack(">i", 1)),
    "type-number-unknown": variant(0x7FFFFFFF, b"\0" * 8),
    "type-number-of-a-widget": variant(121, b"\0" * 8),
}


def write(folder, name, content):
    (folder / name).write_bytes(content)


def write_target(folder, tail):
    folder.mkdir(parents=True, exist_ok=True)
    whole = RECORD + INT + DOUBLE + tail
    for name, value in PLAIN_VALUES.items():
        write(folder, f"raw-{name}", NEWEST + RECORD + value + INVALID + tail)
    for name, value in REFUSED_VALUES.items():
        write(folder, f"refused-raw-{name}", NEWEST + RECORD + value + INVALID + tail)
    write(folder, "refused-scaled-list", NEWEST + RECORD + INT + REFUSED_VALUES["list"] + tail)
    write(folder, "scaled-text", NEWEST + RECORD + INVALID + text("rpm") + tail)
    write(folder, "records-in-a-row", NEWEST + whole * 3)
    write(folder, "record-before-another-version", NEWEST + whole + b"\x00\x02" + INT)
    write(folder, "empty", b"")
    write(folder, "settings-alone", NEWEST)
    write(folder, "version-cut", NEWEST + RECORD[:1])
    write(folder, "version-alone", NEWEST + RECORD)
    write(folder, "version-negative", NEWEST + b"\xff\xff" + INT + DOUBLE + tail)
    write(folder, "raw-cut", NEWEST + RECORD + INT[:-1])
    write(folder, "scaled-cut", NEWEST + RECORD + INT + DOUBLE[:-1])
    write(folder, "tail-cut", NEWEST + whole[:-1])
    write(folder, "version-of-another-byte-order", bytes([NEWEST[0] | LITTLE_ENDIAN]) + whole)
    write(folder, "oldest-stream-version", bytes([QT_5_0]) + whole)
    little = struct.pack("<hIBiIBf", 1, 2, 0, 258, 6, 0, 0.5) + bytes(len(tail))
    write(folder, "little-endian-single-precision",
          bytes([LITTLE_ENDIAN | SINGLE_PRECISION | QT_5_15]) + little)


EVERYBODY, SENDER, RECEIVER = 255, 3, 7


def control(source, destination, *content):
    return bytes([source << 1, destination, *content, 0xE3, 0xFE, 0])


def announcement(destination, size):
    kind = 32 if destination == EVERYBODY else 16
    return control(SENDER, destination, kind, size % 256, size // 256, (size + 6) // 7, 255)


def packets(destination, *numbers):
    return b"".join(bytes([SENDER << 1 | 1, destination, n]) + b"packet." for n in numbers)


def write_frames(folder):
    folder.mkdir(parents=True, exist_ok=True)
    to_one = announcement(RECEIVER, 20)
    second = control(RECEIVER, SENDER, 17, 1, 2, 255, 255) + packets(RECEIVER, 2)
    abort = control(RECEIVER, SENDER, 255, 1, 255, 255, 255)
    write(folder, "to-all", announcement(EVERYBODY, 20) + packets(EVERYBODY, 1, 2, 3))
    write(folder, "to-all-with-a-gap", announcement(EVERYBODY, 20) + packets(EVERYBODY, 1, 3, 2))
    write(folder, "longest", announcement(RECEIVER, 1785) + packets(RECEIVER, *range(1, 256)))
    write(folder, "asked-for-again", to_one + packets(RECEIVER, 1, 3) + second)
    write(folder, "behind-the-last", to_one + packets(RECEIVER, 3, 4, 5))
    write(folder, "packet-zero", to_one + packets(RECEIVER, 1, 0))
    write(folder, "aborted", to_one + packets(RECEIVER, 1) + abort + packets(RECEIVER, 2))
    write(folder, "announced-again", to_one * 2 + packets(RECEIVER, 1, 2, 3))
    write(folder, "not-announced", packets(RECEIVER, 1))
    write(folder, "impossible-size", announcement(RECEIVER, 8))


SOCKET_CAN, SLL, SLL2, ETHERNET = 227, 113, 276, 1
FRAMES = [
    struct.pack(">IBBBB", 0x123, 3, 0, 0, 0) + b"abc",
    struct.pack(">IBBBB", 0x98F00E00, 8, 0, 0, 0) + b"abcdefgh",
    struct.pack(">IBBBB", 0x124, 12, 5, 0, 0) + b"abcdefghijkl",
    struct.pack(">IBBBB", 0x125, 10, 0, 0, 0) + bytes(64),
    struct.pack(">IBBBB", 0x40000126, 4, 0, 0, 0),
    struct.pack(">IBBBB", 0x20000004, 8, 0, 0, 0) + bytes(8),
    struct.pack(">IBBBB", 0x127, 0x81, 0, 0, 0) + bytes(16),
    struct.pack(">IBBBB", 0x128, 8, 0, 0, 0) + b"cut",
    struct.pack(">IBBBB", 0x12345, 8, 0, 0, 0) + bytes(8),
]


def captured(order, link_type, frame):
    if link_type in (SLL, SLL2) and order == "<":
        frame = frame[3::-1] + frame[4:]
    if link_type == SLL:
        return struct.pack(">HHHQH", 4, 280, 0, 0, 0x000C) + frame
    if link_type == SLL2:
        return struct.pack(">HHIHBBQ", 0x000D, 0, 7, 280, 0, 0, 0) + frame
    return frame


def pcap(order, magic, link_type):
    content = struct.pack(order + "IHHiIII", magic, 2, 4, 0, 0, 65535, link_type)
    for second, frame in enumerate(FRAMES):
        packet = captured(order, link_type, frame)
        content += struct.pack(order + "IIII", second, 5, len(packet), len(packet)) + packet
    return content


def block(order, kind, body):
    body += bytes(-len(body) % 4)
    size = struct.pack(order + "I", len(body) + 12)
    return struct.pack(order + "I", kind) + size + body + size


def section(order):
    return block(order, 0x0A0D0D0A, struct.pack(order + "IHHq", 0x1A2B3C4D, 1, 0, -1))


def option(order, code, value):
    return struct.pack(order + "HH", code, len(value)) + value + bytes(-len(value) % 4)


def interface(order, link_type, *options):
    return block(order, 1, struct.pack(order + "HHI", link_type, 0, 65535) + b"".join(options))


def pcapng(order, link_type, *options):
    content = section(order) + interface(order, link_type, *options) * 2 + block(order, 4, b"names")
    for number, frame in enumerate(FRAMES):
        packet = captured(order, link_type, frame)
        size = len(packet)
        times = struct.pack(order + "II", 1, number)
        lengths = struct.pack(order + "II", size, size)
        content += block(order, 6, struct.pack(order + "I", number % 3) + times + lengths + packet)
        content += block(order, 3, struct.pack(order + "I", size) + packet)
        content += block(order, 2, struct.pack(order + "HH", 1, 0) + times + lengths + packet)
    return content


def write_captures(folder):
    folder.mkdir(parents=True, exist_ok=True)
    whole = pcap("<", 0xA1B2C3D4, SOCKET_CAN)
    write(folder, "pcap", whole)
    write(folder, "pcap-cut", whole[:-5])
    write(folder, "pcap-too-long-a-packet", whole[:32] + b"\xff" * 4 + whole[36:])
    write(folder, "pcap-big-endian", pcap(">", 0xA1B23C4D, SLL))
    write(folder, "pcap-nanoseconds", pcap("<", 0xA1B23C4D, SLL2))
    write(folder, "pcap-other-link-type", pcap("<", 0xA1B2C3D4, ETHERNET))
    for order, name in (("<", "little"), (">", "big")):
        write(folder, f"pcapng-{name}-endian", pcapng(order, SOCKET_CAN, option(order, 2, b"can0")))
        write(folder, f"pcapng-{name}-endian-cooked", pcapng(order, SLL))
        write(folder, f"pcapng-{name}-endian-binary-times",
              pcapng(order, SLL2, option(order, 9, b"\xa8"), option(order, 14, bytes(8)), bytes(4)))
    whole = pcapng("<", SOCKET_CAN, option("<", 9, b"\x0c"))
    write(folder, "pcapng-sections", whole + pcapng(">", SOCKET_CAN))
    write(folder, "pcapng-cut", whole[:-5])
    write(folder, "pcapng-other-trailer", whole[:24] + b"\xff" * 4 + whole[28:])
    write(folder, "pcapng-odd-block", section("<") + struct.pack("<II", 1, 21) + bytes(13))
    write(folder, "pcapng-empty-block", section("<") + bytes(12))
    write(folder, "pcapng-huge-block", section("<") + struct.pack("<II", 9, 0xFFFFFFFC) + bytes(12))
def blf_object(kind, body, version=1, extension=b""):
    header = 32 + len(extension)
    size = header + len(body)
    return struct.pack("<4sHHIIIHHQ", b"LOBJ", header, version, size, kind, 2, 0, 0, 5000) + \
        extension + body + bytes(size % 4)
def blf_container(content, method=0):
    packed = zlib.compress(content) if method == 2 else content
    size = 32 + len(packed)
    return struct.pack("<4sHHIIH6xI4x", b"LOBJ", 16, 1, size, 10, method, len(content)) + packed + \
        bytes(size % 4)
def blf_file(content):
    start = struct.pack("<8H", 2021, 10, 1, 25, 19, 0, 55, 20)
    return struct.pack("<4sI32x", b"LOGG", 144) + start + bytes(88) + content
def write_blf(folder):
    data = bytes(range(1, 65))
    classic = blf_object(1, struct.pack("<HBBI", 1, 0, 8, 0x98FEF100) + data[:8])
    timed = blf_object(86, struct.pack("<HBBI", 2, 0, 3, 0x123) + data[:8] + bytes(8), 2, bytes(8))
    remote = blf_object(1, struct.pack("<HBBI", 1, 0x80, 8, 0x181) + bytes(8))
    flexible = blf_object(100, struct.pack("<HBBIIBBB5x", 1, 0, 9, 0x123, 0, 0, 3, 12) + data)
    shorter = blf_object(
        101, struct.pack("<BBBBIII", 1, 15, 64, 0, 0x123, 0, 0x3000) + bytes(24) + data[:48])
    errors = blf_object(2, bytes(8)) + blf_object(73, bytes(32)) + blf_object(104, bytes(44))
    lost = blf_object(126, struct.pack("<IQI", 1, 0, 12))
    others = blf_object(115, bytes(43)) + blf_object(65, bytes(100))
    objects = classic + timed + remote + flexible + shorter + errors + lost + others + classic
    whole_file, cut_in_half = bytes([0, 255]), bytes([0, 128])
    write(folder, "stored", whole_file + blf_file(blf_container(objects)))
    write(folder, "packed", whole_file + blf_file(blf_container(objects, 2)))
    write(folder, "packed-cut", cut_in_half + blf_file(blf_container(objects, 2)))
    write(folder, "without-containers", cut_in_half + blf_file(objects))
    write(folder, "split-and-mixed", cut_in_half + blf_file(
        blf_container(objects[:51]) + blf_container(objects[51:250], 2) + classic
        + blf_container(objects[250:])))
    write(folder, "unknown-method", whole_file + blf_file(
        blf_container(objects[:100]) + blf_container(objects[100:], 99)))
    write(folder, "damaged", whole_file + blf_file(
        blf_container(objects, 2)[:-40] + bytes(40) + blf_container(objects)))
    write(folder, "in-containers-of-50-bytes", bytes([50, 200]) + objects)
    write(folder, "impossible-sizes", bytes([255, 255]) + b"".join(
        classic + struct.pack("<4sHHII", b"LOBJ", 16, 1, size, kind) + bytes(40)
        for size in (0, 15, 5000, 2**32 - 1) for kind in (1, 10, 65)) + classic)
    write(folder, "garbage-between", bytes([200, 255]) + b"LOBJECT".join([classic] * 3))
    write(folder, "empty", whole_file)
    write(folder, "header-cut", whole_file + b"LOGG\x90\0")
class Mf4:
    """An MDF 4 file whose blocks are added one by one."""
    def __init__(self, unfinished=None):
        start = b"UnFinMF " if unfinished is not None else b"MDF     "
        self.content = bytearray(start + b"4.11    corpus  " + bytes(4) + struct.pack("<H", 411))
        self.content += bytes(30) + struct.pack("<HH", unfinished or 0, 0)
        self.header = self.add("HD", [0] * 6, struct.pack("<QhhBBBB2d", 10**18, 0, 0, 0, 0, 0, 0, 0, 0))
    def add(self, kind, links, body=b"", length=None):
        self.content += bytes(-len(self.content) % 8)
        offset = len(self.content)
        length = 24 + 8 * len(links) + len(body) if length is None else length
        self.content += b"##" + kind.encode() + struct.pack("<IQQ", 0, length, len(links))
        self.content += struct.pack(f"<{len(links)}Q", *links) + body
        return offset
    def link(self, block, number, target):
        struct.pack_into("<Q", self.content, block + 24 + 8 * number, target)
    def text(self, content):
        return self.add("TX", [], content.encode() + b"\0")
    def conversion(self, kind, *values):
        body = struct.pack("<BBHHHdd", kind, 0, 0, 0, len(values), 0, 0)
        return self.add("CC", [0] * 4, body + struct.pack(f"<{len(values)}d", *values))
    def channels(self, rows):
        """Rows of name, type, synchronisation, data type, byte, bit, bits, conversion, data."""
        following = 0
        for name, kind, sync, data_type, byte, bit, bits, conversion, data in reversed(rows):
            body = struct.pack("<BBBBIIII", kind, sync, data_type, bit, byte, bits, 0, 0) + bytes(52)
            following = self.add(
                "CN", [following, 0, self.text(name), 0, conversion, data, 0, 0], body)
        return following
    def group(self, following, first, record_id, size, flags=6):
        body = struct.pack("<QQHHIII", record_id, 0, flags, 46, 0, size, 0)
        return self.add("CG", [following, first, 0, 0, 0, 0], body)
    def data_group(self, first, id_size, data=0):
        group = self.add("DG", [0, first, data, 0], bytes([id_size]) + bytes(7))
        self.link(self.header, 0, group)
        return group
def mf4_unsorted():
    file = Mf4(unfinished=0x25)
    seconds = file.conversion(1, 0, 1e-9)
    bytes_group = file.group(0, 0, 2, 0, 1)
    master = ("Timestamp", 2, 1, 4, 0, 0, 64, seconds, 0)
    error = file.group(bytes_group, file.channels([master, (
        "CAN_ErrorFrame.BusChannel", 0, 0, 0, 8, 0, 2, 0, 0)]), 3, 9)
    remote = file.group(error, file.channels([master, (
        "CAN_RemoteFrame.ID", 0, 0, 0, 8, 3, 29, 0, 0)]), 4, 14)
    frames = file.group(remote, file.channels([
        master, ("CAN_DataFrame.BusChannel", 0, 0, 0, 8, 1, 2, 0, 0),
        ("CAN_DataFrame.ID", 0, 0, 0, 8, 3, 29, 0, 0), ("CAN_DataFrame.IDE", 0, 0, 0, 8, 0, 1, 0, 0),
        ("CAN_DataFrame.DataLength", 0, 0, 0, 12, 1, 7, 0, 0),
        ("CAN_DataFrame.DataBytes", 1, 0, 10, 14, 0, 64, 0, bytes_group),
        ("CAN_DataFrame.EDL", 0, 0, 0, 13, 0, 1, 0, 0)]), 1, 22)
    group = file.data_group(frames, 1)
    file.link(group, 2, file.add("DT", [], length=24))
    for i in range(3):
        first = (0x123 + i) << 3 | 2
        file.content += struct.pack("<BdIBBQ", 1, 5e6 * i, first, 8 << 1, 8 << 4, 12 * i)
        file.content += struct.pack("<BI8s", 2, 8, b"databyte")
    file.content += struct.pack("<BdB", 3, 2e7, 1) + struct.pack("<BdI2x", 4, 3e7, 0x123 << 3)
    return file
def mf4_sorted(compressed):
    file = Mf4()
    bytes_of = [struct.pack("<I", n) + b"D" * n for n in (8, 64, 3)]
    stream = file.add("SD", [], b"".join(bytes_of))
    frames = file.group(0, file.channels([
        ("t", 2, 1, 0, 0, 0, 48, file.conversion(1, 0, 1e-6), 0),
        ("CAN_DataFrame.BusChannel", 6, 0, 0, 0, 0, 0, file.conversion(1, 9, 0), 0),
        ("CAN_DataFrame.ID", 0, 0, 1, 6, 0, 32, 0, 0),
        ("CAN_DataFrame.DLC", 0, 0, 0, 10, 0, 4, 0, 0),
        ("CAN_DataFrame.DataLength", 0, 0, 0, 10, 0, 4, file.conversion(
            5, *(x for pair in enumerate((0, 1, 2, 3, 4, 5, 6, 7, 8, 12, 16, 20, 24, 32, 48, 64))
                 for x in pair)), 0),
        ("CAN_DataFrame.EDL", 0, 0, 0, 10, 7, 1, file.conversion(6, 0, 0, 0, 1), 0),
        ("CAN_DataFrame.DataBytes", 1, 0, 10, 11, 0, 32, 0, stream)]), 0, 15)
    records = b"".join(struct.pack("<IHIBI", 1000 * i, 0, 0x23010000, code, position)
                       for i, (code, position) in enumerate(((8, 0), (0x8F, 12), (3, 80))))
    half = len(records) // 2 + 3
    links = []
    for part in (records[:half], records[half:]):
        if not compressed:
            links.append(file.add("DT", [], part))
            continue
        rows = len(part) // 5
        columns = bytes(part[r * 5 + c] for c in range(5) for r in range(rows)) + part[rows * 5:]
        packed = zlib.compress(columns)
        links.append(file.add("DZ", [], struct.pack(
            "<2sBBIQQ", b"DT", 1, 0, 5, len(part), len(packed)) + packed))
    second = file.add("DL", [0, links[1]], struct.pack("<BxxxIQ", 1, 1, half))
    first = file.add("DL", [second, links[0]], struct.pack("<BxxxIQ", 1, 1, half))
    file.data_group(frames, 0, file.add("HL", [first], struct.pack("<HB5x", 1, 1)))
    return file
def write_mf4(folder):
    unsorted = bytes(mf4_unsorted().content)
    write(folder, "unsorted-unfinished", unsorted)
    write(folder, "unsorted-cut", unsorted[:-40])
    write(folder, "sorted", bytes(mf4_sorted(False).content))
    write(folder, "sorted-transposed", bytes(mf4_sorted(True).content))
    write(folder, "header-alone", unsorted[:64])
    circular = mf4_unsorted()
    circular.link(circular.header, 0, 64)
    write(folder, "circular", bytes(circular.content))
def zstd(content, is_last=True):
    """A frame of one block, which is not compressed, without a checksum."""
    single_segment = 0x20
    block = struct.pack("<I", len(content) << 3 | is_last)[:3]
    return b"\x28\xb5\x2f\xfd" + bytes([single_segment, len(content)]) + block + content
def write_packed(folder):
    log = b"(1.0) can0 123#1122\n(1.1) can0 00000456##1112233\n"
    packed = gzip.compress(log, mtime=0)
    skippable = b"\x50\x2a\x4d\x18" + struct.pack("<I", 3) + b"abc"
    write(folder, "gzip", packed)
    write(folder, "gzip-twice", gzip.compress(packed, mtime=0))
    write(folder, "gzip-several", packed + bytes(5) + packed)
    write(folder, "gzip-wrong-checksum", packed[:-8] + b"cksm" + packed[-4:])
    write(folder, "gzip-other-bytes", packed + b"hello")
    write(folder, "gzip-cut", packed[:-20])
    write(folder, "gzip-of-much", gzip.compress(log * 2000 + bytes(2**21), mtime=0))
    write(folder, "zstd", zstd(log))
    write(folder, "zstd-skippable", skippable + zstd(log) + skippable)
    write(folder, "zstd-open-block", zstd(log, is_last=False))
    write(folder, "zstd-of-gzip", zstd(packed) + gzip.compress(log, mtime=0))
    write(folder, "zstd-large-window", b"\x28\xb5\x2f\xfd\x00\x88" + zstd(log)[6:])
    write(folder, "refused-three-layers", gzip.compress(zstd(packed), mtime=0))
    write(folder, "refused-zip", b"PK\x03\x04")
    write(folder, "refused-text", b"hello\n")
    write(folder, "plain-with-mark", b"\xef\xbb\xbf" + log)
    write(folder, "empty", b"")


CORPUS = pathlib.Path(__file__).parent / "corpus"
for target, tail_bytes in TAILS.items():
    write_target(CORPUS / target, tail_bytes)
write_frames(CORPUS / "transportFrames")
write_captures(CORPUS / "pcapFile")
write_blf(CORPUS / "blfFile")
write_mf4(CORPUS / "mf4File")
write_packed(CORPUS / "packedRecording")
