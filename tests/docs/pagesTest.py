#!/usr/bin/env python3
"""Checks that the pages of the project are true. The pages are all .md files of its sources.

    pagesTest.py --program FILE --prefix DIRECTORY   checks all pages with that vantrel, and with
                                                     the package installed in the directory
    pagesTest.py --self-test                         checks that planted faults are reported

How to write a page:

- ```sh holds commands. Each must succeed. They run at the top of a copy of the project that belongs
  to the page, one after the other, so a command may use files that an earlier one has written. Each
  has a shell of its own, so write "cd build && ..." in one line.
- ```console holds a session: each line that begins with "$ " is a command, and the lines up to the
  next one are exactly what it prints on both outputs. A line "..." stands for any number of lines,
  "..." within a line for any text. If the next command is not "echo $?" and there is no output, the
  command must succeed.
- ```text, ```json or ```csv directly after an ```sh block or a program is exactly what that prints,
  with "..." as above. Elsewhere such a block is an illustration; JSON must be valid.
- <!-- file: NAME --> on the line before a block makes the block the content of that file. The
  commands that follow can use it. Blocks without fences are not allowed.
- ```cpp with a main() is a program, which is built against the installed package and run.
- ```cmake with find_package(Vantrel ...) can be configured against the installed package. A target
  called host is added if the block adds no executable.
- In a table whose first column is called warning, that column holds messages of the program in
  backticks, with "..." for their variable parts.
- Paths of the project in inline code must exist, as must its commands and their arguments. Inline
  code with a word in capitals, such as FILE, is a pattern, which is not checked.
- The targets of links and images must exist, and no page may be longer than LIMITS allows.
- A command that cannot run in a test has a row in NOT_RUN. Its program, options, presets and files
  must exist. build/release/bin/vantrel exists, but no other file that a build makes.
"""

import argparse
import difflib
import json
import os
import re
import shlex
import shutil
import signal
import subprocess
import sys
import tempfile
from pathlib import Path

sys.dont_write_bytecode = True
# After this line, so that nothing is written into the sources.
from pageParts import (  # noqa: E402
    Command, anchors_of, blocks_of, commands_of, indented_blocks_of, inline_code_of, links_of,
    warnings_of)

PROJECT = Path(__file__).resolve().parents[2]

# Commands by a pattern of their beginning, and why they do not run here.
NOT_RUN = {
    r"scripts/install-packages\b|apt install\b": "installs packages",
    r"scripts/packages\b": "builds the project, as another test does",
    r"cmake --(preset|build (--preset|build/(release|install))|install|workflow)\b|ctest\b":
        "configures, builds, installs or tests the project",
    r"(\./(bench|demo|test)|scripts/long-checks|tools/mutation/mutate)\b":
        "builds the project several times or takes hours",
    r"fleet/vantrel-fleet\b": "needs Dask; fleetTest.py runs it",
    r"build/(live-table|stream)/": "needs a bus or a second program, which other tests provide",
    r"vantrel (live|window|send) .*--plugin": "needs a bus, which other tests simulate",
}

# The greatest number of lines of a page, or of the pages in a folder; None: no limit.
LIMITS = {
    "README.md": 130,
    "CHANGELOG.md": None,
    "benchmarks/results": None,  # generated
    "docs/formats.md": 250,
    "docs/host-guide.md": 250,
    "docs/monitor.md": 300,
}
USUAL_LIMIT = 200

NOT_OURS = {".git", "build"}  # folders that do not belong to the sources
BUILT = "build/release/bin"

LANGUAGES = {"", "cmake", "console", "cpp", "csv", "json", "sh", "text"}
LONGEST_RUN = 120  # seconds
PLACEHOLDER = re.compile(r"(?<![\w=-])(NAME|[A-Z]{3,}(?![\w=]))|[*<{]|\.\.\.")
HOST = """find_package(Vantrel REQUIRED)
target_link_libraries(host PRIVATE Vantrel::Vantrel)
"""


def link_problem(tree, page, target):
    if re.match(r"https?://|mailto:", target):
        return None
    name, _, anchor = target.partition("#")
    file = Path(os.path.normpath(tree / Path(page).parent / name)) if name else tree / page
    if not file.is_relative_to(tree) or not file.exists():
        return f"{target} does not exist"
    if anchor and (file.suffix != ".md" or anchor not in anchors_of(file.read_text())):
        return f"{target}: no such heading"
    return None


def messages_of(tree):
    """The sources of the program, with string literals split over several lines joined."""
    sources = "".join(path.read_text(encoding="utf-8") for path in tree.glob("monitor/**/*.cpp"))
    return re.sub(r'"\s*\n\s*"', "", sources).replace('\\"', '"')


def matches(expected, printed):
    """Whether the output is the shown one, in which "..." stands for any lines or any text."""
    pattern = ""
    for line in expected.splitlines():
        if line.strip() == "...":
            pattern += r"(?:.*\n)*"
        else:
            pattern += ".*".join(map(re.escape, line.rstrip().split("..."))) + r"\n"
    return re.fullmatch(pattern, printed) is not None


def normalized(output):
    return "".join(line.rstrip() + "\n" for line in output.splitlines())


def kill_group(leader):
    try:
        os.killpg(leader, signal.SIGKILL)
    except ProcessLookupError:
        pass


class Checker:
    def __init__(self, tree, program, prefix, not_run, limits):
        self.tree = tree
        self.program = program
        self.prefix = prefix
        self.not_run = not_run
        self.limits = limits
        self.messages = messages_of(tree)
        self.used = set()  # rows of not_run
        self.problems = []

    def report(self, page, line, text):
        self.problems.append(f"{page}:{line}: {text}")

    def check(self):
        for path in sorted(self.tree.rglob("*.md")):
            page = path.relative_to(self.tree)
            if not any(part in NOT_OURS for part in page.parts):
                self.check_page(str(page), path.read_text(encoding="utf-8"))
        for pattern in self.not_run:
            if pattern not in self.used:
                self.problems.append(f"NOT_RUN: no page has a command that matches {pattern}")

    def check_page(self, page, text):
        length = text.count("\n")
        limit = self.limits.get(page, self.limits.get(str(Path(page).parent), USUAL_LIMIT))
        if limit and length > limit:
            self.report(page, length, f"longer than {limit} lines")
        for number, target in links_of(text):
            problem = link_problem(self.tree, page, target)
            if problem:
                self.report(page, number, problem)
        for number in indented_blocks_of(text):
            self.report(page, number, "indented blocks are not checked; use fences instead")
        if page != "CHANGELOG.md":  # which names files that no longer exist
            for number, code in inline_code_of(text):
                for problem in self.code_problems(code):
                    self.report(page, number, problem)
        for number, message in warnings_of(text):
            if not all(part in self.messages for part in message.split("...")):
                self.report(page, number, f"the program has no such message: {message}")
        blocks = blocks_of(text)
        for block in blocks:
            self.check_block(page, block)
        if any(block.language in ("sh", "console") or block.is_program() for block in blocks):
            with tempfile.TemporaryDirectory() as folder:
                self.run_page(page, blocks, self.copy_into(folder))

    def check_block(self, page, block):
        if block.language not in LANGUAGES:
            self.report(page, block.line, f"blocks of {block.language} are not checked; "
                                          f"use {', '.join(sorted(LANGUAGES - {''}))}")
        if block.language == "json" and "..." not in block.text:
            try:
                json.loads(block.text)
            except ValueError as error:
                self.report(page, block.line, f"not JSON: {error}")
        if block.language == "cmake" and "find_package(Vantrel" in block.text:
            with tempfile.TemporaryDirectory() as folder:
                self.configure(page, block, block.text, "int main() {}", folder)

    def configure(self, page, block, statements, program, folder):
        """Returns whether a project of these statements and this program can be configured."""
        host = "" if "add_executable" in statements else "add_executable(host main.cpp)\n"
        Path(folder, "CMakeLists.txt").write_text(
            f"cmake_minimum_required(VERSION 3.18)\nproject(page CXX)\n{host}{statements}")
        Path(folder, "main.cpp").write_text(program, encoding="utf-8")
        return self.succeeds(page, block, "cmake", "-S", folder, "-B", f"{folder}/build", "-G",
                             "Ninja", f"-DVantrel_ROOT={self.prefix}", "-DCMAKE_CXX_STANDARD=17")

    def succeeds(self, page, block, *arguments):
        result = subprocess.run(arguments, stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                                text=True, timeout=LONGEST_RUN)
        if result.returncode != 0:
            self.report(page, block.line, f"{' '.join(arguments)} fails:\n{result.stdout}")
        return result.returncode == 0

    def copy_into(self, folder):
        copy = Path(folder, "copy")
        shutil.copytree(self.tree, copy, symlinks=True,
                        ignore=lambda _, names: NOT_OURS.intersection(names))
        built = copy / BUILT  # with the name in the pages, whatever the version of Qt
        built.mkdir(parents=True)
        (built / "vantrel").symlink_to(self.program)
        return copy

    def run_page(self, page, blocks, copy):
        printed = None  # by the ```sh block or the program before
        for block in blocks:
            if block.file:
                file = copy / block.file
                file.parent.mkdir(parents=True, exist_ok=True)
                file.write_text(block.text, encoding="utf-8")
            elif block.language == "sh":
                printed = self.run_commands(page, block, copy)
            elif block.is_program():
                printed = self.run_program(page, block, copy)
            elif block.language == "console":
                self.run_session(page, block, copy)
            elif block.is_output and printed is not None:
                self.compare(page, block.line, block.text, printed)

    def run_commands(self, page, block, copy):
        """Returns what the commands print, or None if one of them does not run."""
        printed = ""
        for command in commands_of(block):
            if re.match(r"(cd|export)\s+[^&|;]*$", command.text):
                self.report(page, command.line, "has no effect on the next command, which runs in "
                                                "its own shell")
                continue
            status, output = self.run(page, command, copy, 0)
            if status is None:
                printed = None
            elif printed is not None:
                printed += output
            if status not in (None, 0):
                self.report_failure(page, command, status, output)
        return printed

    def run_program(self, page, block, copy):
        """Returns what the program prints, or None if it cannot be built or fails."""
        with tempfile.TemporaryDirectory() as folder:
            if not self.configure(page, block, HOST, block.text, folder) or \
                    not self.succeeds(page, block, "cmake", "--build", f"{folder}/build"):
                return None
            command = Command(block.line, f"{folder}/build/host", None)
            status, output = self.run(page, command, copy, 0)
        if status != 0:
            self.report_failure(page, command, status, output)
        return output

    def run_session(self, page, block, copy):
        commands = list(commands_of(block))
        status = 0
        for number, command in enumerate(commands):
            status, output = self.run(page, command, copy, status or 0)
            if status is None:
                continue
            is_asked = any(after.text == "echo $?" for after in commands[number + 1:number + 2])
            if status != 0 and not is_asked and not command.output:
                self.report_failure(page, command, status, output)
            else:
                self.compare(page, command.line, command.output, output)

    def run(self, page, command, copy, status_before):
        """Returns the exit code and the output; None if the command is one that does not run."""
        for pattern in self.not_run:
            if re.match(pattern, command.text):
                self.used.add(pattern)
                for problem in self.name_problems(command.text, copy):
                    self.report(page, command.line, problem)
                return None, ""
        environment = {name: value for name, value in os.environ.items()
                       if name not in ("DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM")}
        temporary = copy.parent / "tmp"
        temporary.mkdir(exist_ok=True)
        environment |= {"LC_ALL": "C.UTF-8", "HOME": str(copy), "TMPDIR": str(temporary),
                        "TERM": "dumb", "PATH": f"{copy / BUILT}:{os.environ['PATH']}",
                        "CMAKE_PREFIX_PATH": str(self.prefix), "CMAKE_GENERATOR": "Ninja"}
        text = f"(exit {status_before})\n{command.text}"
        with subprocess.Popen(["bash", "-o", "pipefail", "-c", text], cwd=copy, env=environment,
                              stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                              stderr=subprocess.STDOUT, start_new_session=True) as process:
            try:
                output = process.communicate(timeout=LONGEST_RUN)[0]
            except subprocess.TimeoutExpired:
                kill_group(process.pid)
                output = process.communicate()[0] + b"timed out\n"
        kill_group(process.pid)  # processes that the command left in the background
        return process.returncode, normalized(output.decode("utf-8", "replace"))

    def report_failure(self, page, command, status, output):
        last = "".join(output.splitlines(keepends=True)[-5:])
        self.report(page, command.line, f"exit code {status}: {command.text}\n{last}")

    def compare(self, page, line, expected, printed):
        if matches(expected, printed):
            return
        difference = difflib.unified_diff(normalized(expected).splitlines(), printed.splitlines(),
                                          "shown", "printed", n=1, lineterm="")
        self.report(page, line, "\n".join(["different output:", *difference]))

    def code_problems(self, code):
        """Yields a problem for each missing name in inline code, if that is a command or a path."""
        first = code.partition(" ")[0]
        is_path = "/" in first and (self.tree / first.partition("/")[0]).is_dir()
        is_command = " " in code and first in ("vantrel", "cmake", "ctest")
        if not (is_path or is_command) or PLACEHOLDER.search(code):
            return
        if " " in code or first.startswith("./"):
            yield from self.name_problems(code, self.tree)
        elif not (self.tree / first).exists() and not first.startswith("build/"):
            yield f"{first} does not exist"

    def name_problems(self, text, copy):
        """Yields a problem for each missing name in a command that is not run."""
        text = re.sub(r"[0-9]?>+ *\S+", "", text)
        lexer = shlex.shlex(text, posix=True, punctuation_chars=True)
        lexer.whitespace_split = True
        words = []
        for word in [*lexer, ";"]:
            if not re.fullmatch(r"[;&|<>()]+", word):
                words.append(word)
                continue
            while words and re.match(r"[A-Z_]+=|sudo$", words[0]):
                words.pop(0)
            if words:
                yield from self.argument_problems(words[0], words[1:], copy)
            words = []

    def argument_problems(self, program, arguments, copy):
        file = copy / program
        if program == "vantrel" or program.endswith("bin/vantrel"):
            yield from self.option_problems(arguments)
        elif program in ("cmake", "ctest"):
            yield from cmake_problems(program, arguments, copy)
        elif program.startswith("build/"):
            target = re.compile(rf"\b{re.escape(Path(program).name)}\b")
            if not any(target.search(path.read_text()) for path in copy.rglob("CMakeLists.txt")):
                yield f"{program}: no such target"
        elif "/" in program:
            if not file.is_file() or not os.access(file, os.X_OK):
                yield f"{program} is not a program of the project"
                return
            script = file.read_text()
            for argument in [] if '"$@"' in script else arguments:
                name = argument.partition("=")[0]
                is_known = re.search(rf"(?<![\w-]){re.escape(name)}(?![\w-])", script)
                if re.match(r"-|[a-z]+$", name) and not is_known and not (copy / name).exists():
                    yield f"{program} does not accept {name}"
        elif not shutil.which(program):
            yield f"{program} is not installed"
        for argument in arguments:
            top = argument.removeprefix("./").partition("/")[0]
            is_project_path = "/" in argument and top != "build" and (copy / top).is_dir()
            if is_project_path and not (copy / argument).exists():
                yield f"{argument} does not exist"

    def option_problems(self, arguments):
        command = next((word for word in arguments if not word.startswith("-")), "")
        result = subprocess.run([self.program, *command.split(), "--help"], text=True,
                                stdout=subprocess.PIPE, stderr=subprocess.DEVNULL,
                                timeout=LONGEST_RUN)
        if result.returncode != 0:
            yield f"vantrel has no command {command}"
            return
        for argument in arguments:
            option = argument.partition("=")[0]
            if option.startswith("--") and \
                    not re.search(rf"\n  (-\w, )?{option}[ \n]", result.stdout):
                yield f"vantrel {command} has no option {option}"


def cmake_problems(program, arguments, copy):
    """Yields a problem for each missing preset, variable or target in a command."""
    kind = "test" if program == "ctest" else "configure"
    for option in ("build", "workflow"):
        if "--" + option in arguments:
            kind = option
    presets = json.loads((copy / "CMakePresets.json").read_text())[kind + "Presets"]
    names = [preset["name"] for preset in presets if not preset.get("hidden")]
    lists = "".join(path.read_text() for path in copy.rglob("CMakeLists.txt"))
    for argument, value in zip(arguments, [*arguments[1:], ""]):
        if argument == "--preset" and value not in names:
            yield f"there is no {kind} preset {value}"
        if argument in ("--target", "-t") and not re.search(rf"\b{re.escape(value)}\b", lists):
            yield f"there is no target {value}"
        variable = re.match(r"-D(\w+)", argument)
        if variable and not re.match(r"CMAKE_|BUILD_TESTING$", variable[1]) and \
                not re.search(rf"\b{variable[1]}\b", lists):
            yield f"there is no variable {variable[1]}"


def self_test():
    """Each faulty page has one fault, in the given line; the good page has none."""
    good = """# A page

## Two words, and `code`

- `vantrel live --frames 4` and `vantrel FILE` in `docs/other.md`, not `docs/NAME.md`

      code in a list

[up](#two-words-and-code) [down](docs/other.md#other-1) ![image](image.png) `[no](link)`

<!-- file: settings/a.json -->
```json
{"a": 1}
```

```sh
# a comment
cat settings/a.json && \\
    touch made
test -e made
```

```json
{"a": ...}
```

```console
$ vantrel replay
one
...
four ... six
$ echo $?
3
$ vantrel live --plugin x --frames=4
not compared
```

```cpp
#include <cstdio>
int main() { std::puts("1"); }
```

```text
1
```

```cmake
find_package(Vantrel 1.0 REQUIRED)
target_link_libraries(host PRIVATE Vantrel::Vantrel)
```

| warning | meaning |
|---|---|
| `one of ... is too long` | `more` |

```sh
cmake --preset dev -DOWN=ON -DCMAKE_BUILD_TYPE=Debug
cmake --build --preset dev --target host
sudo ./tool quick --fast=2 docs/other.md | sort
```
"""
    faults = {
        "link.md": ("[a](missing.md)\n", 1),
        "outside.md": ("[a](../other.md)\n", 1),
        "anchor.md": ("\n[a\nb](other.md#missing)\n", 3),
        "image.md": ("![a](missing.png)\n", 1),
        "long.md": ("\n" * 11, 11),
        "fails.md": ("```sh\ntrue\nfalse\n```\n", 3),
        "change.md": ("```sh\ncd docs\n```\n", 2),
        "output.md": ("```sh\necho one\n```\n```text\ntwo\n```\n", 5),
        "missing-line.md": ("```console\n$ printf '1\\n2\\n3\\n'\n1\n3\n```\n", 2),
        "additional-line.md": ("```console\n$ echo 1\n1\n...\n2\n```\n", 2),
        "silent.md": ("```console\n$ false\n```\n", 2),
        "no-output.md": ("```console\n$ echo 1\n```\n", 2),
        "language.md": ("```bash\nfalse\n```\n", 2),
        "program.md": ("```cpp\nint main() { return one; }\n```\n", 2),
        "run.md": ("```cpp\nint main() { return 1; }\n```\n", 2),
        "prints.md": ("```cpp\nint main() {}\n```\n\n```text\n1\n```\n", 6),
        "package.md": ("```cmake\nfind_package(Vantrel 2.0 REQUIRED)\n```\n", 2),
        "data.md": ("```json\n{\n```\n", 2),
        "indented.md": ("Such as\n\n    false\n", 3),
        "path.md": ("As in `docs/missing.md`.\n", 1),
        "named-option.md": ("`vantrel live\n--frame 4`\n", 1),
        "warning.md": ("| warning |\n|---|\n| `too long`, `too short` |\n", 3),
        "option.md": ("```sh\nvantrel live --plugin x --frame=4\n```\n", 2),
        "command.md": ("```sh\nvantrel life --plugin x\n```\n", 2),
        "preset.md": ("```sh\ncmake --preset own\n```\n", 2),
        "build-preset.md": ("```sh\ncmake --build --preset hidden\n```\n", 2),
        "variable.md": ("```sh\ncmake --preset dev -DOTHER=ON\n```\n", 2),
        "target.md": ("```sh\ncmake --build --preset dev --target other\n```\n", 2),
        "script.md": ("```sh\n./tools\n```\n", 2),
        "word.md": ("```sh\n./tool slow\n```\n", 2),
        "flag.md": ("```sh\n./tool --fas\n```\n", 2),
        "file.md": ("```sh\n./tool docs/missing.md\n```\n", 2),
    }
    program = """#!/bin/sh
case "$*" in
    "live --help") printf 'Options:\\n  --plugin X\\n  --frames N\\n' ;;
    replay) printf 'one\\ntwo\\nthree\\nfour five six\\n'; exit 3 ;;
    *) exit 2 ;;
esac
"""
    presets = {"configurePresets": [{"name": "dev"}],
               "buildPresets": [{"name": "dev"}, {"name": "hidden", "hidden": True}]}
    files = {"page.md": good, "docs/other.md": "# Other\n```\n# Code\n```\n# Other\n",
             "image.png": "", "bin/vantrel": program, "docs/results/long.md": "\n" * 300,
             "lib/cmake/Vantrel/VantrelConfig.cmake":
                 "add_library(Vantrel::Vantrel INTERFACE IMPORTED)\n",
             "lib/cmake/Vantrel/VantrelConfigVersion.cmake":
                 "if(PACKAGE_FIND_VERSION VERSION_LESS 2)\n  set(PACKAGE_VERSION_COMPATIBLE TRUE)\n"
                 "endif()\n",
             "tool": "#!/bin/sh\n# quick --fast\n", "CMakePresets.json": json.dumps(presets),
             "monitor/text/a.cpp": 'f("one of %1 is "\n  "too long");',
             "CMakeLists.txt": "option(OWN)\nadd_executable(host)\n",
             ".git/page.md": "[a](missing)", "build/page.md": "[a](missing)"}
    files |= {f"docs/{name}": text for name, (text, _) in faults.items()}
    not_run = {"vantrel live|vantrel life|cmake|sudo|./tool": "", "never": ""}
    expected = sorted([*(f"docs/{name}:{line}" for name, (_, line) in faults.items()), "NOT_RUN"])
    with tempfile.TemporaryDirectory() as folder:
        tree = Path(folder).resolve()
        for name, text in files.items():
            path = tree / name
            path.parent.mkdir(parents=True, exist_ok=True)
            path.write_text(text)
            path.chmod(0o755)
        checker = Checker(tree, tree / "bin/vantrel", tree, not_run,
                          {"docs/long.md": 10, "docs/results": None})
        checker.check()
    found = sorted(problem.split(": ")[0] for problem in checker.problems)
    if found != expected:
        sys.exit("reported:\n{}\nexpected:\n{}".format("\n".join(checker.problems),
                                                       "\n".join(expected)))


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--self-test", action="store_true")
    parser.add_argument("--program", type=Path)
    parser.add_argument("--prefix", type=Path)
    options = parser.parse_args()
    if options.self_test:
        return self_test()
    if not options.program or not options.prefix:
        parser.error("--program and --prefix are required")
    checker = Checker(PROJECT, options.program.resolve(), options.prefix.resolve(), NOT_RUN, LIMITS)
    checker.check()
    if checker.problems:
        sys.exit("\n".join(checker.problems))


if __name__ == "__main__":
    main()
