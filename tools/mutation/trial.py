"""Trees in which mutated libraries are built and tested: one for all mutants that can be built
together, and one for each of the others that is tried at a time."""

import os
import re
import signal
import subprocess
import time
from pathlib import Path
from typing import NamedTuple

from together import LINES, PRELUDE, together

LIBRARIES = ["vantrel", "vantrel-cansupport", "vantrel-statistics"]
TSAN = ("-O1 -fsanitize=thread -include ${sourceDir}/tests/threads/sharedCount.h"
        " -D_GLIBCXX_ASSERTIONS")
# Those of a source: a compiler that was killed, or a full disk, says nothing about a mutant.
ERROR = re.compile(r"\d: (?:fatal )?error: |undefined reference")


class Stage(NamedTuple):
    """A build of the project, or of one that contains it, and its tests, the most telling first."""
    name: str
    source: str
    options: list
    libraries: list
    tests: list  # paths of programs, the names of which are those of their targets
    files: tuple  # begin with one of these, those that it can tell something about
    filter: str = "*"  # without tests that take long and tell nothing that others do not


UNIT_TEST = ["-DCMAKE_CXX_FLAGS=-O1 -D_GLIBCXX_ASSERTIONS -fsanitize=float-cast-overflow"
             " -fno-sanitize-recover=all"]
STAGES = [
    Stage("statistics", ".", UNIT_TEST, ["vantrel-statistics"],
          ["tests/statistics/test_statistics"], ("platform/statistics/",)),
    Stage("cansupport", ".", UNIT_TEST, ["vantrel-cansupport"], ["tests/test_cansupport"],
          ("platform/cansupport/",)),
    Stage("unit", ".", UNIT_TEST, LIBRARIES,
          ["tests/test_library", "tests/test_values", "tests/test_cansupport",
           "tests/faults/test_faults", "tests/test_handlers", "tests/test_signal"],
          ("src/", "platform/"), "-Soak*:SignalUnder*:SignalFleet*"),
    Stage("arithmetic", ".", UNIT_TEST, ["test_arithmetic"], ["tests/test_arithmetic"],
          ("src/vantrel/handlers", "src/vantrel/signal")),
    Stage("standin", "tests/standin", UNIT_TEST, ["test_standin"], ["test_standin"], ("src/",)),
    Stage("threads", ".", [f"-DCMAKE_CXX_FLAGS={TSAN}"], LIBRARIES,
          ["tests/threads/test_threads", "tests/threads/test_statistics_threads"],
          ("src/vantrel/signal", "platform/statistics/StatisticCalculator",
           "platform/statistics/sequenceLock")),
]


def run(command, directory, timeout=None, log_file="log", number=0):
    """The exit code of the command, None where it took longer; its output goes to the log in the
    directory. Of mutants built together, that with the number is run."""
    environment = {**os.environ, "TSAN_OPTIONS": "halt_on_error=1", "LC_ALL": "C.UTF-8",
                   "MUTANT": str(number)}
    with open(directory / log_file, "wb") as log:
        process = subprocess.Popen(command, cwd=directory, env=environment, stdout=log,
                                   stderr=subprocess.STDOUT, start_new_session=True)
        try:
            return process.wait(timeout)
        except subprocess.TimeoutExpired:
            return None
        finally:
            if process.poll() is None:
                os.killpg(process.pid, signal.SIGKILL)
                process.wait()


class Tree:
    """A copy of the project, its builds, and the times that its tests take unmutated."""

    def __init__(self, project, root):
        self.project, self.source, self.root = project, root / "source", root
        self.durations = {}

    def prepare(self):
        self.copy_sources()
        for stage in STAGES:
            build = self.build_directory(stage)
            build.mkdir(parents=True, exist_ok=True)
            options = [option.replace("${sourceDir}", str(self.source)) for option in stage.options]
            self.require(["cmake", "-G", "Ninja", "-S", self.source / stage.source, "-B", build,
                          "-DCMAKE_BUILD_TYPE=Debug", f"-DCMAKE_CXX_FLAGS_DEBUG={self.flags()}",
                          *options], build)
            self.build(stage)
            for test in stage.tests:
                begin = time.monotonic()
                self.require(self.test_command(stage, test), build)
                self.durations[stage.name, test] = time.monotonic() - begin

    def flags(self):
        return ""

    def build(self, stage):
        self.require(self.build_command(self.targets(stage)), self.build_directory(stage))

    def copy_sources(self):
        names = subprocess.run(["git", "ls-files", "--cached", "--others", "--exclude-standard"],
                               cwd=self.project, check=True, stdout=subprocess.PIPE,
                               text=True).stdout.split("\n")
        for name in filter(None, names):
            text, copy = (self.project / name).read_bytes(), self.source / name
            if not copy.exists() or copy.read_bytes() != text:
                copy.parent.mkdir(parents=True, exist_ok=True)
                copy.write_bytes(text)

    def require(self, command, build):
        if run(command, build) != 0:
            raise RuntimeError(f"Without a mutation this failed: {' '.join(map(str, command))}\n"
                               + self.log(build)[-3000:])

    def try_mutant(self, mutant, text):
        """What noticed the mutant: a test, the compiler, or nothing."""
        noticed = ""
        for stage in [stage for stage in STAGES if mutant.path.startswith(stage.files)]:
            self.write(mutant.path, mutant.applied_to(text))
            noticed = self.try_stage(stage, stage.libraries, mutant)
            if not noticed and self.tests_include_it(stage):
                noticed = self.try_stage(stage, self.targets(stage), mutant)
                self.write(mutant.path, text)
                self.require(self.build_command(self.targets(stage)), self.build_directory(stage))
            if noticed:
                break
        self.write(mutant.path, text)
        return noticed

    def tests_include_it(self, stage):
        """Whether more is to be compiled once the libraries are built."""
        build = self.build_directory(stage)
        self.require([*self.build_command(self.targets(stage)), "-n"], build)
        return "Building CXX object" in self.log(build)

    def try_stage(self, stage, targets, mutant):
        build = self.build_directory(stage)
        if run(self.build_command(targets), build, 600) != 0:
            if not ERROR.search(self.log(build)):
                raise RuntimeError(f"No error in the source, but this could not be built:"
                                   f" {mutant.description}\n{self.log(build)[-3000:]}")
            return "compiler"
        return self.test_stage(stage, mutant)

    def test_stage(self, stage, mutant, number=0):
        """The test that notices the mutant, or nothing."""
        own = Path(mutant.path).parts[-2]
        for test in sorted(stage.tests, key=lambda test: own not in test):
            timeout = 10 + 3 * self.durations[stage.name, test]
            build = self.build_directory(stage)
            trial = self.test_command(stage, test), build, timeout, os.devnull, number
            code = run(*trial)
            if code is None:  # perhaps as the machine was busy
                code = run(*trial)
            if code != 0:
                return f"{stage.name}: {Path(test).name}" + (" (too long)" if code is None else "")
        return ""

    @staticmethod
    def log(build):
        return (build / "log").read_text(errors="replace")

    def build_directory(self, stage):
        return self.root / ("unit" if stage.options == UNIT_TEST and stage.source == "."
                            else stage.name)

    @staticmethod
    def targets(stage):
        return list(dict.fromkeys(stage.libraries + [Path(test).name for test in stage.tests]))

    @staticmethod
    def build_command(targets):
        return ["ninja", "-j1", *targets]

    def test_command(self, stage, test):
        return [self.build_directory(stage) / test, "--gtest_fail_fast", "--gtest_brief=1",
                f"--gtest_filter={stage.filter}"]

    def write(self, path, text):
        (self.source / path).write_text(text)


class TogetherTree(Tree):
    """A tree with many mutants in it, of which several may be tried at a time. Those that do not
    compile and those of types and of constants are left to other trees."""

    def __init__(self, project, root, mutants, texts):
        super().__init__(project, root)
        self.texts, self.left = texts, set()
        self.numbers = {mutant: number for number, mutant in enumerate(mutants, 1)}

    def flags(self):
        prelude = self.root / "mutantNumber.h"
        prelude.write_text(PRELUDE)
        return f"-w -include {prelude}"

    def copy_sources(self):
        super().copy_sources()
        self.write_mutants()

    def write_mutants(self):
        tried = [mutant for mutant in self.numbers if mutant not in self.left]
        within = set()
        for path, text in self.texts.items():
            own = [mutant for mutant in tried if mutant.path == path]
            written, those = together(text, own, self.numbers)
            within.update(those)
            if (self.source / path).read_text() != written:
                self.write(path, written)
        self.left.update(set(tried) - within)

    def build(self, stage):
        build = self.build_directory(stage)
        while run(["ninja", "-k0", *self.targets(stage)], build) != 0:
            lines = re.findall(rf"{re.escape(str(self.source))}/\S+?:(\d+):\d+: .*(?:error|required)",
                               self.log(build))
            wrong = {int(line) // LINES for line in lines} - {0}
            found = {mutant for mutant, number in self.numbers.items() if number in wrong}
            if not found - self.left:
                raise RuntimeError(f"The mutants could not be built:\n{self.log(build)[-3000:]}")
            self.left |= found
            self.write_mutants()

    def try_mutant(self, mutant, _):
        for stage in [stage for stage in STAGES if mutant.path.startswith(stage.files)]:
            if noticed := self.test_stage(stage, mutant, self.numbers[mutant]):
                return noticed
        return ""
