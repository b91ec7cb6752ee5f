#!/usr/bin/env python3
"""Writes the sample recordings engine.log and drive.log and their descriptions engine.dbc and
drive.eds.

Half a minute of a simulated engine on a dynamometer, governed to 1500 rpm: it warms up, its speed
has a few outliers, its oil temperature sensor is not available for a while, its oil pressure
sensor reports an error now and then, and engine and cab controller both send the battery voltage.
In drive.log a CANopen drive, node 5, runs next to the engine for ten seconds.

    generateSample.py [DIRECTORY]        default: the directory of this script

The files are the same every time, because the seed of the noise is fixed.
"""

import random
import struct
import sys
from pathlib import Path
from typing import NamedTuple

SECOND = 1_000_000  # times are whole microseconds
DURATION = 30 * SECOND
START = 1_700_000_000 * SECOND
ENGINE, CAB_CONTROLLER = 0, 49  # J1939 source addresses
NULL_ADDRESS = 0xFE  # in a description: any sender


class Signal(NamedTuple):
    name: str
    start: int
    length: int
    factor: float = 1
    offset: float = 0
    unit: str = ""
    spn: int = 0
    layout: str = "1+"  # byte order 1 Intel, 0 Motorola; sign
    multiplex: str = ""

    def limits(self):
        lowest = -(1 << self.length - 1) if self.layout[1] == "-" else 0
        highest = lowest + (1 << self.length) - 1
        if self.spn and self.length >= 8:  # higher raw values are reserved
            highest = (0xFB << self.length - 8) - 1
        return [number(raw * self.factor + self.offset) for raw in (lowest, highest)]


class Message(NamedTuple):
    name: str
    pgn: int  # 0 for a message with an 11-bit id
    id: int
    size: int
    comment: str
    signals: list


def j1939(name, pgn, priority, comment, *signals):
    return Message(name, pgn, priority << 26 | pgn << 8, 8, comment, signals)


EEC1 = j1939(
    "EEC1", 61444, 3, "Electronic Engine Controller 1",
    Signal("EngineTorqueMode", 0, 4, spn=899),
    Signal("ActualEnginePercentTorque", 16, 8, 1, -125, "%", 513),
    Signal("EngineSpeed", 24, 16, 0.125, 0, "rpm", 190))
ET1 = j1939(
    "ET1", 65262, 6, "Engine Temperature 1",
    Signal("EngineCoolantTemperature", 0, 8, 1, -40, "°C", 110),
    Signal("EngineOilTemperature1", 16, 16, 0.03125, -273, "°C", 175))
EFL_P1 = j1939(
    "EFL_P1", 65263, 6, "Engine Fluid Level/Pressure 1",
    Signal("EngineOilPressure", 24, 8, 4, 0, "kPa", 100))
VEP1 = j1939(
    "VEP1", 65271, 6, "Vehicle Electrical Power 1\nfrom the engine and from the cab controller",
    Signal("BatteryPotential", 32, 16, 0.05, 0, "V", 168))
CCVS1 = j1939(
    "CCVS1", 65265, 6, "Cruise Control/Vehicle Speed 1",
    Signal("ParkingBrakeSwitch", 2, 2, spn=70))
DYNAMOMETER = Message(
    "Dynamometer", 0, 0x120, 3, "The load of the engine, with an 11-bit id",
    [Signal("Page", 0, 8, multiplex="M"),
     Signal("ShaftTorque", 15, 16, 0.1, 0, "Nm", layout="0-", multiplex="m0"),
     Signal("ShaftRevolutions", 15, 16, layout="0+", multiplex="m1")])
MESSAGES = [EEC1, ET1, EFL_P1, VEP1, CCVS1, DYNAMOMETER]


def number(value):
    return f"{value:.10f}".rstrip("0").rstrip(".")


def dbc_id(message):
    return 1 << 31 | message.id | NULL_ADDRESS if message.pgn else message.id


def dbc_signal(signal):
    name = f"{signal.name} {signal.multiplex}".rstrip()
    scaling = f"({number(signal.factor)},{number(signal.offset)})"
    limits = "[{}|{}]".format(*signal.limits())
    return (f' SG_ {name} : {signal.start}|{signal.length}@{signal.layout} {scaling} {limits}'
            f' "{signal.unit}" Vector__XXX')


def dbc_lines():
    yield from ['VERSION ""', "", "BS_:", "", "BU_:", ""]
    for message in MESSAGES:
        yield f"BO_ {dbc_id(message)} {message.name}: {message.size} Vector__XXX"
        yield from map(dbc_signal, message.signals)
        yield ""
    for message in MESSAGES:
        yield f'CM_ BO_ {dbc_id(message)} "{message.comment}";'
    yield 'BA_DEF_ BO_ "VFrameFormat" ENUM "StandardCAN","ExtendedCAN","reserved","J1939PG";'
    yield 'BA_DEF_ SG_ "SPN" INT 0 524287;'
    yield 'BA_DEF_DEF_ "VFrameFormat" "J1939PG";'
    yield 'BA_DEF_DEF_ "SPN" 0;'
    for message in MESSAGES:
        for signal in message.signals:
            if signal.spn:
                yield f'BA_ "SPN" SG_ {dbc_id(message)} {signal.name} {signal.spn};'


def packed(message, values):
    """The data of a message; bits without a signal are 1 in J1939 messages, otherwise 0."""
    data = bytearray([0xFF if message.pgn else 0] * message.size)
    for signal in message.signals:
        if signal.name in values:
            put(data, signal, values[signal.name])
    return data


def put(data, signal, raw):
    if signal.layout[0] == "1":
        places = range(signal.start, signal.start + signal.length)
    else:  # from the highest bit of a byte down to its lowest, then on to the next byte
        first = signal.start // 8 * 8 + 7 - signal.start % 8
        places = [bit // 8 * 8 + 7 - bit % 8 for bit in range(first, first + signal.length)][::-1]
    for weight, place in enumerate(places):
        data[place // 8] &= ~(1 << place % 8)
        data[place // 8] |= (raw >> weight & 1) << place % 8


class Engine:
    """The simulated engine: the values that its controllers send at a time."""

    speed_outliers = {210: 340, 433: -280, 434: -265, 790: 410, 1111: 295, 1360: -330}

    def __init__(self):
        self.random = random.Random(1500)
        self.speed_frames = 0

    def noise(self, width):
        """Roughly normally distributed, between -2 and 2 widths."""
        return width * (sum(self.random.random() for _ in range(4)) - 2)

    def raw(self, signal, value):
        return round((value - signal.offset) / signal.factor)

    def eec1(self, time):
        phase = time % (4 * SECOND) / SECOND
        hunting = 3 * (abs(phase - 2) - 1)  # the governor swings slowly
        speed = 1500 + hunting + self.noise(2.5) + self.speed_outliers.get(self.speed_frames, 0)
        self.speed_frames += 1
        mode, torque, speed_signal = EEC1.signals
        return {mode.name: 1, torque.name: self.raw(torque, 42 + self.noise(2)),
                speed_signal.name: self.raw(speed_signal, speed)}

    def et1(self, time):
        coolant, oil = ET1.signals
        oil_temperature = self.raw(oil, 71.5 + time / SECOND * 0.35 + self.noise(0.2))
        sensor_gone = 9 * SECOND <= time < 14 * SECOND
        return {coolant.name: self.raw(coolant, 62 + time / SECOND * 0.7 + self.noise(0.5)),
                oil.name: 0xFFFF if sensor_gone else oil_temperature}

    def efl_p1(self, time):
        (pressure,) = EFL_P1.signals
        in_error = self.random.random() < 0.06
        return {pressure.name: 0xFE if in_error else self.raw(pressure, 420 + self.noise(8))}

    def vep1(self, drop):
        (potential,) = VEP1.signals
        return {potential.name: self.raw(potential, 28.2 - drop + self.noise(0.1))}

    def ccvs1(self, time):
        starting, released = time < SECOND, time > 4 * SECOND
        state = 3 if starting else 0 if released else 1
        return {"ParkingBrakeSwitch": 2 if self.random.random() < 0.01 else state}

    def dynamometer(self, time):
        page = time // (100_000) % 2
        torque = DYNAMOMETER.signals[1]
        if page == 1:
            return {"Page": 1, "ShaftRevolutions": time // 40_000}
        return {"Page": 0, torque.name: self.raw(torque, self.noise(60) - 25) & 0xFFFF}


class Drive:
    """The simulated CANopen drive, as its description drive.eds says."""

    NODE = 5
    # index, name, data type, bits mapped
    OBJECTS = [(0x6041, "Statusword", 6, 16), (0x606C, "Velocity actual value", 4, 32),
               (0x6078, "Current actual value", 3, 16), (0x2100, "Motor temperature", 8, 32),
               (0x2101, "Operating mode", 5, 4), (0x2102, "Brake released", 1, 1)]
    DUMMY = 0x0005_00_08  # padding of eight bits
    # COB-ID, announced number of entries, entries
    PDOS = [("$NODEID+0x40000180", 8, [0x6041_00_10, 0x606C_00_20]),
            ("640+$nodeid", 4, [0x6078_00_10, 0x2100_00_20, DUMMY, 0x2101_00_04]),
            ("$NODEID+0xC0000380", 1, [0x6041_00_10])]

    def __init__(self):
        self.random = random.Random(402)

    def noise(self, width):
        return round(width * (sum(self.random.random() for _ in range(4)) - 2))

    def velocity(self, time):
        stalled = 6 * SECOND <= time < 6 * SECOND + 60_000
        velocity = 250 if stalled else -1200 + self.noise(8)
        return struct.pack("<Hi", 0x1637 if stalled else 0x1237, velocity)

    def load(self, time):
        temperature = 40 + time / SECOND / 4
        return struct.pack("<hfBB", 310 + self.noise(12), temperature, 0xA5, 3)

    def description(self):
        yield from ["; A simulated drive", "[DeviceInfo]", "ProductName=Drive, simulated", ""]
        for index, name, datatype, _ in self.OBJECTS:
            yield from [f"[{index:x}]", f"ParameterName={name}", "ObjectType=0x7",
                        f"DataType=0x{datatype:04X}", "PDOMapping=1", ""]
        for number, (cob_id, count, entries) in enumerate(self.PDOS):
            yield from [f"[{0x1800 + number:X}sub1]", "ParameterName=COB-ID",
                        f"DefaultValue={cob_id}", ""]
            yield from [f"[{0x1A00 + number:X}sub0]", "ParameterName=Number of entries",
                        f"DefaultValue={count}", ""]
            for i, entry in enumerate(entries, 1):
                yield from [f"[{0x1A00 + number:X}Sub{i}]", f"ParameterName=Entry {i}",
                            f"DefaultValue=0x{entry:08X}", ""]

    def frames(self, duration):
        for time in range(2_220, duration, 20_000):
            yield time, f"{0x180 + self.NODE:03X}", self.velocity(time).hex().upper()
        for time in range(3_330, duration, 100_000):
            yield time, f"{0x280 + self.NODE:03X}", self.load(time).hex().upper()
        for time in range(4_440, duration, SECOND):
            yield time, f"{0x280 + self.NODE:03X}", "R8"  # a remote request for the load


def frames(duration):
    """Everything on the bus of the engine as (time, id text, data text), unsorted."""
    engine = Engine()

    def cyclic(message, source, period, phase, values):
        identifier = f"{message.id | source:08X}" if message.pgn else f"{message.id:03X}"
        for time in range(phase, duration, period):
            yield time, identifier, packed(message, values(time)).hex().upper()

    yield from cyclic(EEC1, ENGINE, 20_000, 1_150, engine.eec1)
    yield from cyclic(ET1, ENGINE, SECOND, 5_310, engine.et1)
    yield from cyclic(EFL_P1, ENGINE, 500_000, 6_420, engine.efl_p1)
    yield from cyclic(VEP1, ENGINE, SECOND, 7_530, lambda _: engine.vep1(0))
    yield from cyclic(VEP1, CAB_CONTROLLER, SECOND, 303_640, lambda _: engine.vep1(0.4))
    yield from cyclic(CCVS1, CAB_CONTROLLER, 100_000, 8_750, engine.ccvs1)
    yield from cyclic(DYNAMOMETER, 0, 100_000, 9_860, engine.dynamometer)
    yield 9_000, f"{DYNAMOMETER.id:03X}", "R"  # one remote request
    for time in range(12_000, duration, SECOND):
        yield time, "701", "05"  # heartbeat of a device without a description


def log_lines(title, recorded):
    yield f"# {title}"
    for time, identifier, data in sorted(recorded):
        seconds, microseconds = divmod(START + time, SECOND)
        yield f"({seconds}.{microseconds:06}) can0 {identifier}#{data}"


def main():
    directory = Path(sys.argv[1]) if len(sys.argv) > 1 else Path(__file__).parent
    drive = Drive()
    both = [*frames(10 * SECOND), *drive.frames(10 * SECOND)]
    for name, lines in (("engine.dbc", dbc_lines()), ("drive.eds", drive.description()),
                        ("engine.log", log_lines("A simulated engine, 30 s", frames(DURATION))),
                        ("drive.log", log_lines("An engine and a CANopen drive, 10 s", both))):
        (directory / name).write_text("\n".join(lines) + "\n", encoding="utf-8", newline="\n")


main()
