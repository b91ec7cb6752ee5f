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
import pathlib
import re
import subprocess
import sys

READ = r"(scaled|maximum of series|median|fed)\|"
INTEGER = r"\|(unsigned |signed )?(char|short|int|long long)$"
NUMBER = r"(marked null )?(double|float|u?int|q?u?longlong|u?long|u?short|u?char|signed char)\b[^|]*"
WHOLE = r"(u?int|q?u?longlong|u?long)\b[^|]*"

# Regular expressions for the readings, without results, that each row of the page covers.
COVERS = {
    "A negative number halfway between two integers is rounded up by Qt 5, down by Qt 6":
        [READ + r"(double|float) -(\d+\.5|0\.49999999999999994|9007199254740991)" + INTEGER],
    "NaN read as a 64-bit integer": [READ + r"(double|float) nan\|(unsigned )?long long$"],
    "A number below -2^63 read as an integer": [READ + r"(double|float) -(inf|\d\S*e\+\d+)" + INTEGER],
    "A `quint8` by `QVariant::fromValue()`":
        [READ + r"uchar \d+\|(double|float|unsigned short)$"],
    "A `long` or `unsigned long`":
        [READ + r"u?long -?\d+\|(double|float|unsigned char|unsigned short)$"],
    "An enumeration": [READ + r"OwnEnum\|(double|float)$", r"deviators\|OwnEnum\|"],
    "A string beyond the range of float": [READ + r'(QString|QByteArray) "-?\d[^"]*"\|float$'],
    "A byte array beyond the range of double": [r'deviators\|QByteArray "-?1e400"\|'],
    "A string with a null character": [READ + r'QString "5\\0"' + INTEGER],
    "A JSON number with a fraction": [READ + r"QJsonValue -2.5" + INTEGER],
    "A value that is null for its own type, such as a null string or an invalid date":
        [r"isNull\|(QString|QByteArray|QUuid|QJsonValue) null\||isNull\|QChar 0\|"
         r"|isNull\|(QDate|QTime|QDateTime) invalid\|"],
    "A string that a stream has marked as null": [r"isNull\|marked null (QString|QByteArray)\|"],
    "Two floating-point numbers that are almost equal":
        [r"equal\|(double|float) \S+\|(double|float) \S+$"],
    "A floating-point number and an integer that is almost equal":
        [rf"equal\|(double|float) [^|]*\|{WHOLE}$", rf"equal\|{WHOLE}\|(double|float) \S+$"],
    "A byte array and a string": [r"equal\|[^|]*QByteArray[^|]*\|[^|]*QString",
                                  r"equal\|[^|]*QString[^|]*\|[^|]*QByteArray"],
    "A byte array and a number": [rf"equal\|[^|]*QByteArray[^|]*\|{NUMBER}$",
                                  rf"equal\|{NUMBER}\|[^|]*QByteArray"],
    "Some pairs of a string and a number, such as a negative and an unsigned one":
        [rf"equal\|[^|]*QString[^|]*\|{NUMBER}$", rf"equal\|{NUMBER}\|[^|]*QString"],
    "A string or byte array, and a bool":
        [r"equal\|[^|]*(QString|QByteArray)[^|]*\|[^|]*bool",
         r"equal\|[^|]*bool[^|]*\|[^|]*(QString|QByteArray)"],
    "A character and a number": [rf"equal\|QChar \S+\|({NUMBER}|[^|]*bool.*)$",
                                 rf"equal\|({NUMBER}|[^|]*bool[^|]*)\|QChar"],
    "A string or byte array, and an enumeration, or a null, empty or invalid value":
        [r"equal\|[^|]*(QString|QByteArray)[^|]*\|(nullptr|QUrl|QUuid|Q\w+ (null|invalid)|OwnEnum)",
         r"equal\|(nullptr|QUrl|QUuid|Q\w+ (null|invalid)|OwnEnum)[^|]*\|[^|]*(QString|QByteArray)"],
    "Containers of different types": [r"equal\|(QVariantMap|QVariantHash|QVariantList|QStringList"
                                      r"|QJsonArray)\|(QVariantMap|QVariantHash|QVariantList"
                                      r"|QStringList|QJsonArray)$"],
    "A JSON value and any other value": [r"equal\|QJsonValue", r"equal\|[^|]*\|QJsonValue"],
    "Points, dates and times of different types":
        [r"equal\|(QPointF?|QDateTime|QTime)\|(QPointF?|QDateTime|QTime)$"],
    "A value that is marked as null":
        [rf"equal\|[^|]*marked null [^|]*\|", r"equal\|[^|]*\|marked null"],
    "Copies of a host's own type without a registered comparison":
        [r"equal\|OwnType\|OwnType$"],
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


def check_page(rows, readings):
    """Compares the rows with the results of each version of Qt, one of which may be missing."""
    problems = []
    for difference, example, results in rows:
        key = "|".join((example.split(", ") + [""])[:3])
        for version, expected, found in zip((5, 6), results, readings):
            if found is not None and found.get(key) != expected:
                problems.append(f"Qt {version}: {example} gives {found.get(key)}, not {expected}")
        if difference not in COVERS:
            problems.append(f"not in COVERS of {__file__}: {difference}")
    named = {difference for difference, _, _ in rows}
    problems += [f"not on the page: {difference}" for difference in COVERS if difference not in named]
    return problems


def check_completeness(readings):
    """Every result that differs must belong to a row, and every row must have such a result."""
    old, new = readings
    if old.keys() != new.keys():
        return ["the versions of Qt print different readings"]
    different = [key for key in old if old[key] != new[key]]
    problems, used = [], set()
    for key in different:
        covering = [difference for difference, expressions in COVERS.items()
                    if any(re.match(expression, key) for expression in expressions)]
        used.update(covering)
        if not covering:
            problems.append(f"not on the page: {key} gives {old[key]} with Qt 5, {new[key]} with Qt 6")
    problems += [f"no result differs for: {difference}"
                 for difference in COVERS if difference not in used]
    print(f"{len(old)} readings, {len(different)} of them different")
    return problems


def check_records(folders):
    """Each version must read what the other writes, at three versions of the stream format."""
    problems = []
    for name, version in (("5.15", 19), ("5.0", 13), ("4.8", 12)):
        written = [subprocess.run([folder / "records", "write", str(version)], check=True, timeout=60,
                                  stdout=subprocess.PIPE).stdout for folder in folders]
        differing = sum(a != b for a, b in zip(*written))
        # The null flag of QVariant(nullptr), in a record of either type.
        if len(written[0]) != len(written[1]) or differing != 2:
            problems.append(f"stream version {name}: {differing} bytes differ")
        for folder, records in zip(reversed(folders), written):
            read = subprocess.run([folder / "records", "read", str(version)], input=records, timeout=60,
                                  stdout=subprocess.PIPE, stderr=subprocess.STDOUT, check=False)
            print(f"stream version {name}: {read.stdout.decode().strip()}")
            if read.returncode != 0:
                problems.append(f"stream version {name}: {folder} cannot read the other's records")
    return problems


def self_test(rows, readings):
    """A page with a wrong result, a missing row or an extra row must be reported."""
    assert rows and not check_page(rows, readings), "the page is wrong"
    difference, example, results = rows[0]
    wrong = [(difference, example, ["1", "1"])] + rows[1:]
    assert check_page(wrong, readings), "a wrong result was not reported"
    without = [row for row in rows if row[0] != difference]
    assert check_page(without, readings), "a missing row was not reported"
    extra = rows + [("Other", example, results)]
    assert check_page(extra, readings), "an extra row was not reported"
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
        problems = self_test(rows, readings)
    else:
        problems = check_page(rows, readings)
        if all(folders):
            problems += check_completeness(readings)
            problems += check_records([folder.resolve() for folder in folders])
    for problem in problems[:50]:
        print(problem, file=sys.stderr)
    sys.exit(1 if problems else 0)


if __name__ == "__main__":
    main()
