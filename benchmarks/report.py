#!/usr/bin/env python3
"""Builds and runs the benchmarks and shows their results.

    ./bench [--quick] [--qt 5|6] [SECTION]...
    ./bench --page

Every program in benchmarks/ prints one line of JSON for each row that it measures, by print_row()
or by report() in measuring.h. The screen shows the worst row of each group. All rows are written to
benchmarks/results/DATE-PROCESSOR.json and .md, both or neither of them, and those of the screen to
docs/performance.md. With --quick or with names of sections, no file is written. --page writes only
the page, from the newest results. The exit code is 1 if a section failed; a target that is missed
does not change it.
"""

import argparse
import datetime
import json
import math
import os
import re
import shlex
import signal
import subprocess
import sys
import tempfile
from pathlib import Path
from typing import NamedTuple

sys.dont_write_bytecode = True

PROJECT = Path(__file__).resolve().parent.parent
RESULTS = PROJECT / "benchmarks" / "results"
PAGE = PROJECT / "docs" / "performance.md"
PAGE_BEGIN, PAGE_END = "<!-- written by ./bench -->", "<!-- end -->"
LONGEST_RUN = 3600  # seconds of a section
WIDTH = 100  # of the screen, in columns
BUSY = 0.5  # load above which elapsed times are doubtful
PACKAGES = ("libgsl-dev", "libbenchmark-dev", "python3-can", "python3-canmatrix",
            "can-utils", "valgrind")
PACKAGES_FOR_QT = {5: ("libqt5serialbus5-plugins",),
                   6: ("qt6-base-dev", "qt6-charts-dev", "libqt6opengl6-dev", "qt6-serialbus-dev")}


class Section(NamedTuple):
    name: str
    title: str
    method: str  # how it is measured, in Markdown
    command: str  # with {build}, {program}, and {times} for Google Benchmark
    quick_command: str
    skipped: str = ""  # by --quick


SECTIONS = (
    Section("replay", "Replays", """\
Reading a log, recording its values and computing all statistics, in one process; the fastest of
five runs. *Loop over digits* maps the file, finds line ends with `memchr` and reads the digits of
time, id and data one by one. Reading is included unless the row says otherwise. Random 32-bit values
hardly ever repeat, so their counts take the most time and memory.""",
            "{build}/benchmarks/replay", "{build}/benchmarks/replay 300000"),
    Section("recordings", "Reading recordings", """\
The same 4,000,000 frames in each format; processor time of one thread, the fastest of five runs,
each in a process of its own. *Memory* is the growth of its peak. The plain loop reads the digits of
the mapped file one by one (candump, ASC), only reads the bytes and finds the line breaks (TRC,
CSV), only unpacks the same bytes (zlib, gzip, zstd), or only reads them.""",
            "{build}/benchmarks/recordings", "{build}/benchmarks/recordings 400000"),
    Section("programs", "Other programs", """\
Processor time of whole programs that read the same candump log, the fastest of several runs.
`vantrel replay` decodes the log and computes all statistics. `log2asc` of can-utils reads each
frame and writes it as a line of an ASC log to the null device; it decodes nothing. (`canplayer`
needs a CAN socket even for writing text, so it cannot run everywhere.) The script with python3-can
and python3-canmatrix computes the same statistics as `vantrel replay`; its imports are not
counted.""",
            "benchmarks/decoding {program}", "benchmarks/decoding {program}"),
    Section("live", "Live runs", """\
`vantrel live` on a bus simulated by virtualcan. The full bus has 1 Mbit/s, which is 9,009 frames of
8 bytes per second, each with four 16-bit signals. Processor times are in percent of one core. The
time to start ends when the first table is on the terminal; the time to end begins with SIGTERM.""",
            "benchmarks/liveLoad {program}", "benchmarks/liveLoad {program} --seconds 5"),
    Section("running", "Running calculators", """\
Nanoseconds per value. *Boost* is Boost.Accumulators. *Locked* holds a `std::mutex` once for adding
and reading together; *locked by call* holds it once for each of the three calls.""",
            "{times} --benchmark_filter='^add[, ]'", "{times} --benchmark_filter='^add[, ]'"),
    Section("lists", "Lists", """\
Nanoseconds per list, compared with a plain loop over a `std::vector` (mean and mean square), with
`std::nth_element`, and for all statistics with deviation, maximum, minimum and median one by
one.""",
            "{times} --benchmark_filter='^list'", "{times} --benchmark_filter='^list.*10.[3-6]'",
            "lists of 10^7 values"),
    Section("signals", "Signals", """\
Nanoseconds per value, record or call. *Floor* is the same unavoidable steps, written by hand with
the same Qt types. After a snapshot, storing a value copies all records (own) unless the snapshot is
replaced by reading one value (floor).""",
            "{times} --benchmark_filter='-^add[, ]|^list'",
            "{times} --benchmark_filter='-^add[, ]|^list|10000000'",
            "series of 10,000,000 records"),
    Section("instructions", "Instructions", """\
Instructions for storing one value in a signal, counted by callgrind. Unlike times, these numbers
are the same in every run.""",
            "benchmarks/instructions {build}", "benchmarks/instructions {build}"),
    Section("scale", "Updating in the background", """\
Signals that update in the background, compared with as many threads that only sleep for 100 ms at a
time. `vantrel` does not use this; hosts may.""",
            "{build}/benchmarks/scale", "{build}/benchmarks/scale 1000", "5,000 updating signals"),
)


def print_row(group, name, value, unit, target=None, raw=()):
    """Reports a row whose value should be at most the target. The raw figures, pairs of a name and
    a value, are those from which the value was computed."""
    print(json.dumps({"group": group, "name": name, "value": value, "unit": unit, "target": target,
                      "isTargetMinimum": False, "raw": list(raw)}), flush=True)


# Running

def prepare(qt):
    """Builds the benchmarks and the program, and returns the build directory."""
    build = PROJECT / "build" / ("bench" if qt == 5 else f"bench-qt{qt}")
    for command in (
            ["scripts/install-packages", *PACKAGES, *PACKAGES_FOR_QT[qt]],
            ["cmake", "--preset", "bench", "-B", build, f"-DQT_DEFAULT_MAJOR_VERSION={qt}"],
            ["cmake", "--build", build, "--target", "benchmarks/all", "vantrel-program"]):
        if subprocess.run(command, cwd=PROJECT, stdout=sys.stderr).returncode != 0:
            sys.exit(f"{command[0]} failed; nothing was measured")
    return build


def command_of(section, build, quick):
    repetitions, seconds = ("3", "0.005") if quick else ("9", "0.02")
    times = (f"{{build}}/benchmarks/benchmarks --benchmark_repetitions={repetitions}"
             f" --benchmark_min_time={seconds} --benchmark_enable_random_interleaving=true")
    template = section.quick_command if quick else section.command
    program, = (build / "bin").glob("vantrel*")
    return [word.format(build=build, program=program)
            for word in shlex.split(template.replace("{times}", times))]


def checked(line):
    """A row from a line of JSON, and whether it meets its target."""
    row = json.loads(line)
    figures = [row["value"], *(value for _, value in row["raw"])]
    if not all(isinstance(value, (int, float)) and math.isfinite(value) for value in figures):
        raise ValueError(f"{row['group']}, {row['name']}: not a number")
    value, target = row["value"], row["target"]
    row["met"] = (None if target is None else
                  value >= target if row["isTargetMinimum"] else value <= target)
    return row


def run(command, timeout):
    """The rows that a command prints, and why it failed, or None."""
    try:
        process = subprocess.Popen(command, cwd=PROJECT, stdout=subprocess.PIPE,
                                   stderr=subprocess.PIPE, text=True, start_new_session=True)
    except OSError as error:
        return [], f"cannot be run: {error}"
    with process:
        try:
            output, errors = process.communicate(timeout=timeout)
        except subprocess.TimeoutExpired:
            os.killpg(process.pid, signal.SIGKILL)
            output, errors = process.communicate()
            errors += f"not finished after {timeout} s"
        except BaseException:
            os.killpg(process.pid, signal.SIGKILL)
            raise
    rows = []
    try:
        for line in output.splitlines():
            rows.append(checked(line))
    except (ValueError, KeyError, TypeError) as error:
        return rows, f"wrong row: {error}"
    if process.returncode != 0:
        last = errors.strip().rpartition("\n")[2] or "no message"
        return rows, f"exit code {process.returncode}: {last}"
    return rows, None if rows else "no rows"


def measure(sections, command_of_section, timeout=LONGEST_RUN):
    """Runs all sections. A section that fails keeps the rows that it has measured."""
    measured = []
    for section in sections:
        print(f"== {section.title}", file=sys.stderr, flush=True)
        rows, failure = run(command_of_section(section), timeout)
        measured.append({"name": section.name, "title": section.title, "method": section.method,
                         "failure": failure, "rows": rows})
    return measured


def describe(build, qt, load):
    """What the figures depend on."""
    def output_of(*command):
        result = subprocess.run(command, cwd=PROJECT, stdout=subprocess.PIPE,
                                stderr=subprocess.DEVNULL, text=True)
        return result.stdout.partition("\n")[0] or "unknown"

    processors = re.findall(r"^model name\s*: (.*)$", Path("/proc/cpuinfo").read_text(), re.M)
    compiler = re.search(r"^CMAKE_CXX_COMPILER:\w+=(.*)$", (build / "CMakeCache.txt").read_text(),
                         re.M)[1]
    now = datetime.datetime.now(datetime.timezone.utc)
    return {"date": now.strftime("%Y-%m-%d %H:%M UTC"),
            "processor": processors[0].strip() if processors else os.uname().machine,
            "available processors": len(os.sched_getaffinity(0)),
            "load before building": round(load, 1),
            "commit": output_of("git", "describe", "--always", "--dirty", "--abbrev=12"),
            "compiler": output_of(compiler, "--version"),
            "Qt": qt}


# Showing

def figure(value, target=None):
    """The value as text, with enough digits to tell it from a target that it differs from."""
    digits = 3 if abs(value) < 0.1 else 2 if abs(value) < 10 else 1 if abs(value) < 100 else 0
    if value == int(value):
        digits = 0
    while target is not None and value != target and round(value, digits) == target:
        digits += 1
    return f"{value:,.{digits}f}"


def shown_value(row):
    return f"{figure(row['value'], row['target'])} {row['unit']}"


def shown_target(row):
    if row["target"] is None:
        return "-"
    return f"{'>=' if row['isTargetMinimum'] else '<='} {figure(row['target'])}"


def shown_met(row, missed="no"):
    return {None: "-", True: "yes", False: missed}[row["met"]]


def badness(row):
    """Grows with the value, or decreases with it if the target is a minimum."""
    if not row["target"]:
        return row["value"]
    ratio = row["value"] / row["target"]
    return -ratio if row["isTargetMinimum"] else ratio


def groups_of(rows):
    groups = {}
    for row in rows:
        groups.setdefault(row["group"], []).append(row)
    return groups


def worst_rows(sections):
    """The worst row of each group, with the number of rows in it."""
    return [{**max(rows, key=badness), "rows": len(rows)}
            for section in sections for rows in groups_of(section["rows"]).values()]


def failures_of(sections):
    return [f"{section['title']}: failed: {section['failure']}"
            for section in sections if section["failure"]]


def totals(rows):
    missed = sum(row["met"] is False for row in rows)
    return f"Targets met: {sum(row['met'] is True for row in rows)}, missed: {missed}."


def fitted(text, width):
    return text if len(text) <= width else text[:width - 4] + "...)"


def screen(data, rows):
    """The lines to print."""
    lines = [("measured (rows: the worst of them)", "result", "target", "met")]
    for row in rows:
        number = f"{row['rows']}: " if row.get("rows", 1) > 1 else ""  # absent if all are shown
        lines.append((f"{row['group']} ({number}{row['name']})", shown_value(row),
                      shown_target(row), shown_met(row)))
    widths = [max(len(line[column]) for line in lines) for column in range(1, 4)]
    rest = WIDTH - sum(widths) - 2 * len(widths)
    conditions = data["conditions"]
    return [f"{conditions['processor']}, {conditions['available processors']} available, "
            f"load {conditions['load before building']}, Qt {conditions['Qt']}, "
            f"commit {conditions['commit']}",
            *("  ".join(text.ljust(width) for text, width in
                        zip((fitted(line[0], rest), *line[1:]), (rest, *widths))).rstrip()
              for line in lines),
            *failures_of(data["sections"]), totals(rows),
            *(["The machine was busy, so elapsed times may be too long."]
              if conditions["load before building"] > BUSY else [])]


def table(heading, rows):
    """A table in Markdown."""
    return ["| " + " | ".join(cells) + " |"
            for cells in (heading, ["---"] * len(heading), *rows)]


def summary(data):
    """The failures and the worst row of each group."""
    failures = [f"- {failure}" for failure in failures_of(data["sections"])]
    return failures + [""] * bool(failures) + table(
        ("measured", "rows", "worst of them", "result", "target", "met"),
        [(row["group"], str(row["rows"]), row["name"], shown_value(row), shown_target(row),
          shown_met(row, "**no**")) for row in data["screen"]])


def page_of(section):
    lines = ["", f"## {section['title']}", "", section["method"]]
    if section["failure"]:
        lines += ["", f"**Failed:** {section['failure']}"]
    for group, rows in groups_of(section["rows"]).items():
        names = [name for name, _ in rows[0]["raw"]]
        lines += ["", f"### {group[0].upper()}{group[1:]}", "",
                  *table(("", *names, "result", "target", "met"),
                         [(row["name"], *(figure(value) for _, value in row["raw"]),
                           shown_value(row), shown_target(row),
                           shown_met(row, "**no**")) for row in rows])]
    return lines


def markdown(data):
    conditions = data["conditions"]
    lines = [f"# Benchmark results: {conditions['processor']}, {conditions['date']}", "",
             "Written by `./bench`. Do not edit this file; run `./bench` again instead.",
             "[performance.md](../../docs/performance.md) describes what is compared and how.", "",
             *(f"- {name[0].upper()}{name[1:]}: {value}" for name, value in conditions.items()), "",
             "## Summary", "", "The worst row of each group.", "", *summary(data)]
    for section in data["sections"]:
        lines += page_of(section)
    return "\n".join(lines) + "\n"


# Writing

def write_files(folder, texts):
    """Writes all files, texts by name, or none of them."""
    with tempfile.TemporaryDirectory(dir=folder) as directory:
        for name, text in texts.items():
            (Path(directory) / name).write_text(text, encoding="utf-8")
        for name in texts:
            (Path(directory) / name).replace(folder / name)


def write_results(folder, data):
    conditions = data["conditions"]
    # "Intel(R) Xeon(R) CPU @ 2.80GHz" becomes "intel-xeon-cpu-2-80ghz".
    processor = re.sub(r"\((r|tm)\)", "", conditions["processor"].lower())
    name = "-".join([conditions["date"][:len("2000-01-01")], *re.findall(r"[a-z0-9]+", processor),
                     *(["qt6"] if conditions["Qt"] == 6 else [])])
    folder.mkdir(exist_ok=True)
    write_files(folder, {f"{name}.json": json.dumps(data, indent=1) + "\n",
                         f"{name}.md": markdown(data)})
    return folder / f"{name}.json"


def figures_for_page(folder):
    """The part of performance.md that shows the newest results in the folder."""
    results = [(json.loads(path.read_text(encoding="utf-8")), path)
               for path in folder.glob("*.json")]
    if not results:
        return f"{PAGE_BEGIN}\n\nNot measured yet: run `./bench`.\n\n{PAGE_END}"
    data, path = max(results, key=lambda result: result[0]["conditions"]["date"])
    conditions = data["conditions"]
    return "\n".join([
        PAGE_BEGIN, "", f"From [{path.stem}.md](../benchmarks/results/{path.stem}.md):",
        f"{conditions['processor']}, {conditions['available processors']} available, load "
        f"{conditions['load before building']} before building, Qt {conditions['Qt']}.",
        "", *summary(data), "", PAGE_END])


def write_page(page, folder):
    text = page.read_text(encoding="utf-8")
    before, begin, rest = text.partition(PAGE_BEGIN)
    _, end, after = rest.partition(PAGE_END)
    if not begin or not end:
        sys.exit(f"{page}: the table belongs between {PAGE_BEGIN} and {PAGE_END}; add these lines, "
                 "then run ./bench --page")
    write_files(page.parent, {page.name: before + figures_for_page(folder) + after})

def arguments(sections):
    names = [section.name for section in sections]
    parser = argparse.ArgumentParser(
        prog="./bench", formatter_class=argparse.RawDescriptionHelpFormatter,
        description="Builds and runs the benchmarks, prints one screen of results, and writes\n"
        "them to benchmarks/results and docs/performance.md.",
        epilog="sections:\n" + "\n".join(f"  {section.name:14}{section.title}"
                                         for section in sections))
    parser.add_argument("sections", nargs="*", metavar="SECTION",
                        help="run only these sections, print all their rows, and write no file")
    parser.add_argument("--quick", action="store_true",
                        help="take about two minutes, be less exact, and write no file")
    parser.add_argument("--qt", type=int, choices=(5, 6), default=5, help="version of Qt")
    parser.add_argument("--page", action="store_true",
                        help="only write the newest results to docs/performance.md")
    options = parser.parse_args()
    for name in options.sections:
        if name not in names:
            parser.error(f"unknown section {name} (available: {', '.join(names)})")
    return options


def show(data, quick=(), is_part=False, folder=None, page=None):
    """Prints the rows, writes them to the folder and the page unless these are None, and returns
    the exit code. The quick sections are those that were measured less exactly."""
    rows = ([row for section in data["sections"]
             for group in groups_of(section["rows"]).values() for row in group]
            if is_part else data["screen"])
    print("\n".join(screen(data, rows)))
    if quick:
        left_out = ", ".join(section.skipped for section in quick if section.skipped) or "nothing"
        print(f"Quick: less exact than a whole run. Left out: {left_out}.")
    if folder:
        print(f"All rows: {os.path.relpath(write_results(folder, data))} and .md")
    if page:
        write_page(page, folder)
    return 1 if failures_of(data["sections"]) else 0


def main():
    options = arguments(SECTIONS)
    if options.page:
        write_page(PAGE, RESULTS)
        return 0
    load = os.getloadavg()[0]
    build = prepare(options.qt)
    chosen = [section for section in SECTIONS
              if not options.sections or section.name in options.sections]
    conditions = describe(build, options.qt, load)
    measured = measure(chosen, lambda section: command_of(section, build, options.quick))
    data = {"conditions": conditions, "screen": worst_rows(measured), "sections": measured}
    if options.quick or options.sections:
        return show(data, quick=chosen if options.quick else (), is_part=bool(options.sections))
    return show(data, folder=RESULTS, page=PAGE)


if __name__ == "__main__":
    sys.exit(main())
