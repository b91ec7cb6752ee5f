#!/usr/bin/env python3
"""Checks docs/qt-versions.md against the library, and compares the builds with Qt 5 and Qt 6.

compareTest.py --page PAGE --qt5 FOLDER --qt6 FOLDER, where each folder contains the programs
`readings` and `records`, built with that version of Qt. One of the two options may be omitted.

The tables of the page list a difference, an example and the result with each version. Every example
must have that result. With both folders, every result that differs must also belong to a row of the
page, each version must read the records that the other has written, and both must write the same
bytes. --self-test checks that a wrong page is reported.
"""

import argparse
import math
import pathlib
import re
import subprocess
import sys

READ = r"(scaled|maximum of series|median|fed)\|"
INTEGER = r"\|(unsigned |signed )?(char|short|int|long long)\|"
FLOATING = r"(marked null )?(double|float)\b[^|]*"
WHOLE = r"(marked null )?(u?int|q?u?longlong|u?long|u?short|u?char|signed char)\b[^|]*"
UNSIGNED = r"(marked null )?(uint|qulonglong|ulong|ushort|uchar)\b[^|]*"
SMALL = r"(u?short|u?char|signed char)"
NUMBER = rf"({FLOATING}|{WHOLE})"
BOOL = r"(marked null )?bool[^|]*"
STRING = r"(marked null )?QString\b[^|]*"
BYTES = r"(marked null )?QByteArray\b[^|]*"
UNICODE = r'QString "(\\u(00a0|0085|2009|3000)[^"]*|\d\\u(00a0|2009))"'
UNUSUAL = r'\t\d|INF|\dE\d|-0|\+\d| \d |0\d+|\d\.|\.\d|-?\de\d+|\\u[^"]+|\d\\u[^"]+'
BEYOND_FLOAT = r'"-?(1e39|1e300|3\.4028235e38|3\.4028236e38)"'
NULL = r"(nullptr|QUrl empty|Q(String|ByteArray|Uuid) null|Q(Date|Time|DateTime) invalid)"
CONTAINER = "(QVariantMap|QVariantHash|QVariantList|QStringList)"


def equal(first, second, results):
    """The expression for two raw values in this order, and the results with Qt 5 and Qt 6."""
    return rf"equal\|{first}\|{second}\|{results}$"


def either(first, second, results):
    """The expressions for two raw values in both orders."""
    return [equal(first, second, results), equal(second, first, results)]


# The type of QVariant(nullptr) in a stream, at version 5.0 or later of QDataStream and before.
NULL_POINTER = bytes.fromhex("00000033"), bytes.fromhex("00000094")
EQUAL_IN_5, EQUAL_IN_6 = r"1\|0", r"0\|1"

# Regular expressions for the readings, each followed by its results with Qt 5 and Qt 6, that each
# row of the page covers.
COVERS = {
    "A negative number halfway between two integers is rounded up by Qt 5, down by Qt 6":
        [READ + r"(double|float) -\d+\.5" + INTEGER],
    "The `double` next to -0.5 is rounded to 0 by Qt 5, to -1 by Qt 6":
        [READ + r"double -0\.49999999999999994" + INTEGER],
    "An odd number between -2^53 and -2^52 is exact with Qt 5, one too low with Qt 6":
        [READ + r"double -(9007199254740991|4503599627370497)" + INTEGER],
    "NaN read as a 64-bit integer": [READ + r"(double|float) nan\|(unsigned )?long long\|"],
    "A number below -2^63 read as an integer":
        [READ + r"(double|float) -(inf|9\.9\d+e\+18|\S+e\+(19|[2-9]\d|\d{3}))" + INTEGER],
    "A `quint8` by `QVariant::fromValue()`":
        [READ + r"uchar \d+\|(double|float|unsigned short)\|"],
    "A `long` or `unsigned long`":
        [READ + r"u?long -?\d+\|(double|float|unsigned char|unsigned short)\|"],
    "An enumeration": [READ + r"Own\w*Enum \d\|(double|float)\|", r"deviators\|Own\w*Enum \d\|"],
    "A string beyond the range of float":
        [READ + rf"(QString|QByteArray) {BEYOND_FLOAT}\|float\|"],
    "A byte array beyond the range of double": [r'deviators\|QByteArray "-?1e400"\|'],
    "A string with a null character": [READ + r'QString "5\\0"' + INTEGER],
    "A string with whitespace outside ASCII, such as U+00A0": [READ + UNICODE + INTEGER],
    "A string with the minus sign U+2212": [READ + r'QString "\\u22125"' + INTEGER],
    "A JSON number with a fraction": [READ + r"QJsonValue -?2\.5" + INTEGER],
    "A JSON number beyond the range of a 64-bit integer":
        [READ + r"QJsonValue -?(1e19|1e20)\|(unsigned )?long long\|"],
    "A JSON integer beyond 2^53, read as at most 32 bits":
        [READ + r"QJsonValue 9007199254740993\|(unsigned |signed )?(char|short|int)\|"],
    "A CBOR integer read as a floating-point number":
        [READ + r"QCborValue -?5\|(double|float)\|", r"deviators\|QCborValue -?5\|"],
    "A CBOR number beyond the range of `long long`":
        [READ + r"QCborValue 1e20\|unsigned long long\|"],
    "A value that is null for its own type, such as a null string or an invalid date":
        [r"isNull\|Q(String|ByteArray|Uuid|JsonValue|CborValue) null\||isNull\|QChar 0\|"
         r"|isNull\|(QDate|QTime|QDateTime) invalid\|"],
    "A string that a stream has marked as null": [r"isNull\|marked null (QString|QByteArray)\|"],
    "Two floating-point numbers that are almost equal":
        [equal(r"(double|float) -?\d\S*", r"(double|float) -?\d\S*", EQUAL_IN_5)],
    "A floating-point number and an integer that is almost equal":
        either(r"(double|float) -?\d\S*", r"(q?u?longlong|u?long) -?\d+", EQUAL_IN_5),
    "Lists or maps with numbers that are almost equal":
        [equal(rf"{of} double -?\d\S*", rf"{of} double -?\d\S*", EQUAL_IN_5)
         for of in ("QVariantList of", "QVariantMap of")],
    "A byte array and a string": either(BYTES, STRING, EQUAL_IN_5),
    "A byte array and a number": either(BYTES, NUMBER, EQUAL_IN_5),
    "A byte array and a bool": either(BYTES, BOOL, EQUAL_IN_5),
    "A negative string and an unsigned number": either(r'QString "-\d+"', UNSIGNED, EQUAL_IN_6),
    "A string that Qt would write differently, and then the same number":
        [equal(rf'QString "({UNUSUAL})"', NUMBER, EQUAL_IN_6),
         equal(r'QString "-?\d{19,}"', FLOATING, EQUAL_IN_6)],
    "A string, and then a `char` or `signed char`":
        [equal(r'QString "-?\d+"', r"(signed )?char -?\d+", EQUAL_IN_6)],
    "A string with a null character, and an integer": either(r'QString "5\\0"', WHOLE, EQUAL_IN_6),
    "A string with whitespace or a minus sign outside ASCII, and an integer":
        either(rf'({UNICODE}|QString "\\u22125")', WHOLE, EQUAL_IN_5),
    "A string beyond the range of `long long` or of a smaller type, and an integer of this type":
        [equal(r'QString "(?P<same>[1-9]\d{2,9})"', rf"(?![\w ]+ (?P=same)\|){SMALL} [^|]*", EQUAL_IN_5),
         equal(rf"{SMALL} (?P<same>\S+)", r'(?!QString "(?P=same)")QString "[1-9]\d{2,9}"', EQUAL_IN_5)] +
        either(r'QString "\d{19,}"', WHOLE, EQUAL_IN_5),
    "A string beyond 32 bits, and then an integer of at most 32 bits":
        [equal(r'QString "4294967296"', rf"(u?int|{SMALL}) \w+", EQUAL_IN_6)],
    'The string "nan", and then NaN': [equal(r'QString "nan"', r"(double|float) nan", EQUAL_IN_5)],
    "A string, and then a bool": [equal(STRING, BOOL, EQUAL_IN_6)],
    "A bool, and then a string": [equal(BOOL, STRING, EQUAL_IN_5)],
    'A bool, and then a string that means zero, but is not "0"':
        [equal(BOOL, r'QString "(-0|00)"', EQUAL_IN_6)],
    "A string and a number or bool, one of which is marked as null":
        either(r"marked null QString", rf"({NUMBER}|{BOOL})", EQUAL_IN_6) +
        either(r'QString "[^|]*"', r"(marked null \w+|[\w ]+ null)", EQUAL_IN_6),
    "A character and a number or bool": either(r"QChar \d", rf"({NUMBER}|{BOOL})", EQUAL_IN_5),
    "A string or byte array, and a null, empty or invalid value":
        either(rf"({STRING}|{BYTES})", NULL, EQUAL_IN_5),
    "A string and a character, string list, URL, UUID, date or time":
        either(STRING, r"Q(Char|StringList|Url|Uuid|Date|DateTime|Time)\b[^|]*", EQUAL_IN_5),
    "A byte array and a UUID": either(BYTES, r"QUuid\b[^|]*", EQUAL_IN_5),
    "An enumeration and a value of another type":
        [equal(r"(?P<type>Own\w*Enum) \d", r"(?!(?P=type)\b)[^|]*", EQUAL_IN_5),
         equal(r"(?P<type>\w+)[^|]*", r"(?!(?P=type)\b)Own\w*Enum \d", EQUAL_IN_5)],
    "Lists or maps of different types":
        [equal(rf"(?P<type>{CONTAINER})\b[^|]*", rf"(?!(?P=type)\b){CONTAINER}[^|]*", EQUAL_IN_5)],
    "A JSON or CBOR value and a value of another type":
        [equal(r"(?P<type>Q(Json|Cbor)\w+)[^|]*", r"(?!(?P=type)\b)[^|]*", EQUAL_IN_5),
         equal(r"(?P<type>\w+)[^|]*", r"(?!(?P=type)\b)Q(Json|Cbor)[^|]*", EQUAL_IN_5)],
    "Points, sizes, lines or rectangles of `int` and of `double`":
        [expression for shape in ("QPoint", "QSize", "QLine", "QRect")
         for expression in either(shape, shape + "F", EQUAL_IN_5)],
    "A `QDateTime`, and a `QDate` or `QTime`":
        either("QDateTime[^|]*", "(QDate|QTime)", EQUAL_IN_5),
    "Copies of a host's own type without a registered comparison":
        [equal("OwnType", "OwnType", EQUAL_IN_5)],
    "A null pointer in a stream": [r"streamed\|nullptr\|"],
    "`char16_t`, `char32_t` and `qfloat16` in a stream":
        [r"streamed\|(char16_t|char32_t|qfloat16) "],
}


def rows_of(page):
    """The rows of the tables with two columns for the versions of Qt."""
    rows, in_table = [], False
    for line in page.splitlines():
        cells = [cell.strip() for cell in line.strip().strip("|").split(" | ")]
        if not line.startswith("|"):
            in_table = False
        elif cells[-2:] == ["Qt 5.15", "Qt 6.4"]:
            in_table = True
        elif in_table and not set(line) <= set("|-"):
            difference, example, *results = cells
            rows.append((difference, example.strip("`"), [cell.strip("`") for cell in results]))
    return rows


def readings_of(folder):
    output = subprocess.run([folder / "readings"], check=True, timeout=120, text=True,
                            stdout=subprocess.PIPE, stderr=subprocess.DEVNULL).stdout
    return dict(line.rsplit("|", 1) for line in output.splitlines())


def key_of(example):
    return "|".join((example.split(", ") + [""])[:3])


def check_page(rows, readings):
    """Compares the rows with the results of each version of Qt, one of which may be missing."""
    problems = []
    for difference, example, results in rows:
        key = key_of(example)
        for version, expected, found in zip((5, 6), results, readings):
            if found is not None and found.get(key) != expected:
                problems.append(f"Qt {version}: {example} gives {found.get(key)}, not {expected}")
        if difference not in COVERS:
            problems.append(f"not in COVERS of {__file__}: {difference}")
    named = {difference for difference, _, _ in rows}
    problems += [f"not on the page: {difference}" for difference in COVERS if difference not in named]
    return problems


def covering_rows(reading):
    rows = [difference for difference, expressions in COVERS.items()
            if any(re.match(expression, reading) for expression in expressions)]
    return [row for row in rows if not row.endswith("almost equal") or
            math.isclose(*map(float, re.findall(r" (-?\d\S*?)\|", reading)), rel_tol=1e-12)]


def check_completeness(readings):
    """Every result that differs must belong to a row, and every row must have such a result."""
    old, new = readings
    if old.keys() != new.keys():
        return ["the versions of Qt print different readings"]
    different = [key for key in old if old[key] != new[key]]
    problems, used = [], set()
    for key in different:
        covering = covering_rows(f"{key}|{old[key]}|{new[key]}")
        used.update(covering)
        if not covering:
            problems.append(f"not on the page: {key} gives {old[key]} with Qt 5, {new[key]} with Qt 6")
    problems += [f"no result differs for: {difference}"
                 for difference in COVERS if difference not in used]
    return problems


def records_of(folder, version):
    return subprocess.run([folder / "records", "write", str(version)], check=True, timeout=60,
                          stdout=subprocess.PIPE).stdout


def check_bytes(written):
    """Only the null flag of QVariant(nullptr) may differ, in a record of either type."""
    old, new = written
    differing = [i for i, (a, b) in enumerate(zip(old, new)) if a != b]
    flags = [i for i in differing
             if old[i - 4:i] in NULL_POINTER and (old[i], new[i]) == (0, 1)]
    if len(old) == len(new) and differing == flags and len(flags) == 2:
        return []
    return [f"{len(old)} and {len(new)} bytes, {len(differing)} of them different"]


def check_records(folders):
    """Each version must read what the other writes, at three versions of the stream format."""
    problems = []
    for name, version in (("5.15", 19), ("5.0", 13), ("4.8", 12)):
        written = [records_of(folder, version) for folder in folders]
        problems += [f"stream version {name}: {problem}" for problem in check_bytes(written)]
        for folder, records in zip(reversed(folders), written):
            read = subprocess.run([folder / "records", "read", str(version)], input=records, timeout=60,
                                  stdout=subprocess.PIPE, stderr=subprocess.STDOUT, check=False)
            print(f"stream version {name}: {read.stdout.decode().strip()}")
            if read.returncode != 0:
                problems.append(f"stream version {name}: {folder} cannot read the other's records")
    return problems


def self_test(rows, readings, folder):
    """A page with a wrong result, a missing row or an extra row must be reported, and so must an
    undocumented difference and a byte that differs."""
    assert rows and not check_page(rows, readings), "the page is wrong"
    difference, example, results = rows[0]
    wrong = [(difference, example, ["1", "1"])] + rows[1:]
    assert check_page(wrong, readings), "a wrong result was not reported"
    without = [row for row in rows if row[0] != difference]
    assert check_page(without, readings), "a missing row was not reported"
    extra = rows + [("Other", example, results)]
    assert check_page(extra, readings), "an extra row was not reported"
    # The examples of the page are readings of both versions, with one difference in each row.
    both = [{key_of(example): results[version] for _, example, results in rows} for version in (0, 1)]
    assert not check_completeness(both), "a row does not cover its own example"
    assert check_completeness([{**readings, key_of(example): ""} for readings in both]) == [
        f"no result differs for: {difference}"], "an obsolete row was not reported"
    for reading in ("scaled|int 7|int", "equal|int 7|int 7", "equal|double 0.5|double 0.25",
                    'equal|QString "7"|int 7', "isNull|int 7|", "streamed|int 7|"):
        assert check_completeness([{**both[0], reading: "1"}, {**both[1], reading: "0"}]) == [
            f"not on the page: {reading} gives 1 with Qt 5, 0 with Qt 6"], reading
    old, new = (re.sub(b"(" + NULL_POINTER[1] + b")[\\0\\1]", rb"\g<1>" + flag, records_of(folder, 12))
                for flag in (b"\0", b"\1"))
    assert not check_bytes([old, new]), "the null flags were reported"
    flags = [i for i in range(len(old)) if old[i] != new[i]]
    for i in [*range(0, len(new), 50), *flags]:
        flipped = new[:i] + bytes([new[i] ^ 2]) + new[i + 1:]
        assert check_bytes([old, flipped]), f"a flipped byte at {i} was not reported"
    moved = bytearray(old)
    moved[flags[0] + 1] = moved[flags[1] + 1] = 1
    assert check_bytes([old, moved]), "two other bytes were not reported"
    assert check_bytes([old, new + b"\0"]), "an additional byte was not reported"
    assert check_bytes([old, old]), "an obsolete exception was not reported"
    return []


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--page", type=pathlib.Path, required=True)
    parser.add_argument("--qt5", type=pathlib.Path)
    parser.add_argument("--qt6", type=pathlib.Path)
    parser.add_argument("--self-test", action="store_true")
    arguments = parser.parse_args()
    folders = [arguments.qt5, arguments.qt6]
    readings = [folder and readings_of(folder.resolve()) for folder in folders]
    rows = rows_of(arguments.page.read_text(encoding="utf-8"))
    if arguments.self_test:
        problems = self_test(rows, readings, next(filter(None, folders)).resolve())
    else:
        problems = check_page(rows, readings)
        if all(folders):
            different = len(readings[0].items() - readings[1].items())
            print(f"{len(readings[0])} readings, {different} of them different")
            problems += check_completeness(readings)
            problems += check_records([folder.resolve() for folder in folders])
    for problem in problems[:50]:
        print(problem, file=sys.stderr)
    sys.exit(1 if problems else 0)


if __name__ == "__main__":
    main()
