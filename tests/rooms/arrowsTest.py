#!/usr/bin/env python3
"""Checks that the includes of the libraries and of the program follow the arrows between rooms.

    arrowsTest.py              checks this source tree
    arrowsTest.py --self-test  checks that forbidden includes in an example tree are reported
"""

import os
import re
import sys
import tempfile
from pathlib import Path

PROJECT = Path(__file__).resolve().parents[2]

# A room is a folder. It may include its own headers, those of the rooms listed for it, and those of
# the rooms listed for these in turn.
LIBRARY = {
    "platform/cansupport": [],
    "platform/statistics": [],
    "src/vantrel": [],
    "src/vantrel/values": ["src/vantrel", "platform/cansupport"],
    "src/vantrel/handlers": ["src/vantrel/values", "platform/statistics"],
    "src/vantrel/signal": ["src/vantrel/handlers"],
    "src/vantrel/library": ["src/vantrel/signal"],
}
MONITOR = {
    "monitor/can": [],
    "monitor/text": [],
    "monitor/sources": ["monitor/can", "monitor/text"],
    "monitor/sources/input": ["monitor/text"],
    "monitor/sources/recording": [
        "monitor/sources/input",
        "monitor/sources/recording/bytes",
        "monitor/sources/recording/lines",
    ],
    "monitor/sources/recording/bytes": ["monitor/sources"],
    "monitor/sources/recording/lines": ["monitor/sources"],
    "monitor/sources/recording/mf4": ["monitor/sources/recording/bytes"],
    "monitor/sources/bus": ["monitor/sources"],
    "monitor/catalogue": ["monitor/can", "monitor/text"],
    "monitor/catalogue/dbc": ["monitor/catalogue"],
    "monitor/catalogue/eds": ["monitor/catalogue"],
    "monitor/decoding": ["monitor/catalogue", "monitor/sources"],
    "monitor/engine": [
        "monitor/decoding",
        "monitor/engine/counts",
        "monitor/engine/outline",
        "monitor/engine/pipeline",
    ],
    "monitor/engine/counts": [],
    "monitor/engine/outline": [],
    "monitor/engine/pipeline": [],
    "monitor/engine/saving": ["monitor/engine"],
    "monitor/engine/summary": ["monitor/engine"],
    "monitor/views": ["monitor/engine"],
    "monitor/outputs": ["monitor/views", "monitor/engine/saving", "monitor/engine/summary"],
    "monitor/displays": ["monitor/views"],
    "monitor/displays/terminal": ["monitor/displays"],
    "monitor/displays/window": ["monitor/displays"],
    "monitor/publishers": ["monitor/engine"],
    "monitor/publishers/mqtt": ["monitor/publishers", "monitor/views"],
    "monitor/publishers/prometheus": ["monitor/publishers"],
    "monitor/app": ["monitor/app/arguments"],
    "monitor/app/arguments": [
        "monitor/outputs",
        "monitor/publishers/mqtt",
        "monitor/publishers/prometheus",
        "monitor/displays/terminal",
        "monitor/displays/window",
        "monitor/sources/recording",
        "monitor/sources/bus",
    ],
}
# Files with a table of the rooms inside their own may include those rooms too.
TABLES = {
    "monitor/sources/recording/formats.cpp": ["monitor/sources/recording/mf4"],
    "monitor/catalogue/readers.cpp": ["monitor/catalogue/dbc", "monitor/catalogue/eds"],
}
# Prefixes of other headers, and the only rooms that may include them.
OTHERS = {
    "vantrel/": ["monitor/engine", "monitor/engine/saving"],
    "statistics/": ["monitor/engine"],
    "sqlite3.h": ["monitor/engine/summary"],
    "QtCharts/": ["monitor/views", "monitor/outputs", "monitor/displays/window"],
    "QtWidgets/": ["monitor/outputs", "monitor/displays/window", "monitor/app"],
    "httplib.h": ["monitor/publishers/prometheus"],
    "mosquitto.h": ["monitor/publishers/mqtt"],
    "QtSerialBus/": ["monitor/sources/bus"],
}
LONGEST_ROOM = 2500  # lines; a larger room should be split

INCLUDE = re.compile(r'^\s*#\s*include\s*[<"]([^>"]+)[>"]', re.MULTILINE)


def reachable(room, arrows):
    rooms = {room}
    for other in arrows[room]:
        rooms |= reachable(other, arrows)
    return rooms


def room_of(path, arrows):
    """The innermost room that contains the file, or None."""
    for folder in Path(path).parents:
        if str(folder) in arrows:
            return str(folder)
    return None


def sources(tree, arrows):
    tops = {room.split("/")[0] for room in arrows}
    return sorted(str(path.relative_to(tree)) for top in tops
                  for path in (tree / top).rglob("*") if path.suffix in (".h", ".cpp"))


def included_file(tree, path, name):
    """The file of this tree that the include refers to, or None."""
    roots = [Path(path).parent, Path("monitor"), Path("src"), Path("platform/cansupport/include"),
             Path("platform/statistics/include")]
    for root in roots:
        candidate = os.path.normpath(root / name)
        if (tree / candidate).is_file():
            return candidate
    return None


def check_include(tree, arrows, path, name):
    room = room_of(path, arrows)
    found = included_file(tree, path, name)
    if path.startswith("monitor/"):
        for start, allowed in OTHERS.items():
            if name.startswith(start) and room not in allowed:
                return f"only {', '.join(allowed)} may include <{start}...>"
        if found and not found.startswith("monitor/"):
            return None
    if not found:
        return None
    rooms = reachable(room, arrows)
    for part in TABLES.get(path, []):
        rooms |= reachable(part, arrows)
    other = room_of(found, arrows)
    if other in rooms:
        return None
    return f"{room} must not include headers of {other}"


def problems(tree, arrows):
    lines_of = {}
    for path in sources(tree, arrows):
        text = (tree / path).read_text()
        room = room_of(path, arrows)
        if room is None:
            yield f"{path}: not in any room"
            continue
        lines_of[room] = lines_of.get(room, 0) + text.count("\n")
        for match in INCLUDE.finditer(text):
            problem = check_include(tree, arrows, path, match.group(1))
            if problem:
                line = text.count("\n", 0, match.start(1)) + 1
                yield f"{path}:{line}: #include \"{match.group(1)}\": {problem}"
    for room in arrows:
        if room not in lines_of:
            yield f"{room}: missing or empty room"
        elif lines_of[room] > LONGEST_ROOM:
            yield f"{room}: has {lines_of[room]} lines; split it (maximum: {LONGEST_ROOM})"


def self_test():
    """Compares the problems in an example tree with the expected ones."""
    arrows = {"monitor/can": [], "monitor/text": [], "monitor/app": ["monitor/can"]}
    files = {
        "monitor/can/Frame.h": "#include <QtCore/QString>\n",
        "monitor/can/up.cpp": '#include "app/Options.h"\n',
        "monitor/can/bus.cpp": "#include <QtSerialBus/QCanBus>\n",
        "monitor/can/library.cpp": "\n#include <vantrel/values/J1939Value.h>\n",
        "monitor/text/Lines.h": "",
        "monitor/text/sideways.cpp": '#include "../can/Frame.h"\n',
        "monitor/text/long.cpp": "\n" * (LONGEST_ROOM + 1),
        "monitor/app/Options.h": '#include "can/Frame.h"\n',
        "monitor/app/unnamed.cpp": '#include "text/Lines.h"\n#include "Options.h"\n',
        "monitor/loose.cpp": "",
    }
    expected = ["monitor/app/unnamed.cpp:1:", "monitor/can/bus.cpp:1:",
                "monitor/can/library.cpp:2:", "monitor/can/up.cpp:1:", "monitor/loose.cpp:",
                "monitor/text/sideways.cpp:1:", "monitor/text:"]
    with tempfile.TemporaryDirectory() as folder:
        for name, text in files.items():
            path = Path(folder, name)
            path.parent.mkdir(parents=True, exist_ok=True)
            path.write_text(text)
        found = sorted(problem.split(" ")[0] for problem in problems(Path(folder), arrows))
    if found != expected:
        sys.exit(f"reported: {found}\nexpected: {expected}")


def main():
    if sys.argv[1:] == ["--self-test"]:
        return self_test()
    found = list(problems(PROJECT, LIBRARY | MONITOR))
    if found:
        sys.exit("\n".join(found))


if __name__ == "__main__":
    main()
