"""Trees in which mutants are built and tested: one for all mutants that can be built together, and
one per job for the others."""

import json
import os
import re
import signal
import subprocess
import time
from pathlib import Path, PurePath
from typing import NamedTuple

from together import LINES, PRELUDE, together

LIBRARIES = ["vantrel", "vantrel-cansupport", "vantrel-statistics"]
CHECKED = "-D_GLIBCXX_ASSERTIONS -fsanitize=float-cast-overflow -fno-sanitize-recover=all"
# Builds by name: the folder of the project to build, which may be one that contains this one, and
# the compiler options.
BUILDS = {
    "unit": (".", f"-O1 {CHECKED}"),
    "standin": ("tests/standin", f"-O1 {CHECKED}"),
    "threads": (".", "-O1 -fsanitize=thread -D_GLIBCXX_ASSERTIONS"
                     " -include ${sourceDir}/tests/threads/sharedCount.h"),
    "program": (".", f"-O0 {CHECKED}"),
}
MEMORY = str(8 << 30)  # room for the stacks of a thousand threads
# An error in a source. A killed compiler or a full disk says nothing about the mutant.
ERROR = re.compile(r"\d: (?:fatal )?error: |undefined reference")


class Stage(NamedTuple):
    """Tests of one build, the quickest first."""
    name: str
    build: str
    libraries: list  # built first, so that tests are not built for a mutant that does not compile
    tests: list  # paths of programs, the names of which are those of their targets
    files: tuple  # the tested sources, by the beginnings of their paths
    filter: str = "*"  # excludes slow tests that notice nothing more than the others
    own_first: bool = False  # run the tests in the folder of the mutant before the others
    repeats: bool = False  # a failure counts only if it happens again: such tests depend on timing
    memory: str = "unlimited"  # address space in bytes: mutants may append without end


class TestRun(NamedTuple):
    program: str
    filter: str


STAGES = [
    Stage("statistics", "unit", ["vantrel-statistics"], ["tests/statistics/test_statistics"],
          ("platform/statistics/",)),
    Stage("cansupport", "unit", ["vantrel-cansupport"], ["tests/test_cansupport"],
          ("platform/cansupport/",)),
    Stage("unit", "unit", LIBRARIES,
          ["tests/test_library", "tests/test_values", "tests/test_cansupport",
           "tests/faults/test_faults", "tests/test_handlers", "tests/test_signal"],
          ("src/", "platform/"), "-Soak*:SignalUnder*:SignalFleet*"),
    Stage("arithmetic", "unit", ["test_arithmetic"], ["tests/test_arithmetic"],
          ("src/vantrel/handlers", "src/vantrel/signal")),
    Stage("standin", "standin", ["test_standin"], ["test_standin"], ("src/",)),
    Stage("threads", "threads", LIBRARIES,
          ["tests/threads/test_threads", "tests/threads/test_statistics_threads"],
          ("src/vantrel/signal", "platform/statistics/StatisticCalculator",
           "platform/statistics/sequenceLock")),
    Stage("program", "program", ["test_monitor"], ["tests/monitor/test_monitor"], ("monitor/",),
          own_first=True, memory=MEMORY),
    Stage("whole program", "program", ["vantrel-program"],
          ["tests/monitor/test_monitor_program", "tests/monitor/test_monitor_live",
           "tests/monitor/test_monitor_window"], ("monitor/",), repeats=True, memory=MEMORY),
]


def run(command, directory, timeout=None, log_file="log", number=0):
    """The exit code of the command, or None if it timed out. Its output goes to the log file in the
    directory. Of mutants built together, the one with the number is active."""
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
            end_group(process)


def end_group(process):
    """Ends the process and all processes that it started."""
    try:
        os.killpg(process.pid, signal.SIGKILL)
    except ProcessLookupError:
        pass
    process.wait()


class Tree:
    """A copy of the project, its builds, and the durations of its tests without a mutation."""

    def __init__(self, project, root, mutants):
        self.project, self.source, self.root = project, root / "source", root
        self.folders = sorted({str(PurePath(mutant.path).parent) for mutant in mutants})
        self.stages = [stage for stage in STAGES
                       if any(mutant.path.startswith(stage.files) for mutant in mutants)]
        self.durations = {}
        self.listed = {}

    def prepare(self):
        self.copy_sources()
        for stage in self.stages:
            build = self.build_directory(stage)
            build.mkdir(parents=True, exist_ok=True)
            folder, options = BUILDS[stage.build]
            options = options.replace("${sourceDir}", str(self.source))
            self.require(["cmake", "-G", "Ninja", "-S", self.source / folder, "-B", build,
                          "-DCMAKE_BUILD_TYPE=Debug", f"-DCMAKE_CXX_FLAGS={options}",
                          f"-DCMAKE_CXX_FLAGS_DEBUG={self.flags()}"], build)
            self.build(stage)
            for test in stage.tests:
                self.measure(stage, TestRun(test, stage.filter))
            for folder in self.folders if stage.own_first else ():
                if folder.startswith(stage.files):
                    self.measure(stage, next(self.test_runs(stage, folder)))

    def measure(self, stage, test_run):
        begin = time.monotonic()
        self.require(self.test_command(stage, test_run), self.build_directory(stage))
        self.durations[stage.name, test_run] = time.monotonic() - begin

    def duration(self, stage, test_run):
        """For tests that were not measured separately, the duration of all tests of the program."""
        whole = TestRun(test_run.program, stage.filter)
        return self.durations.get((stage.name, test_run), self.durations[stage.name, whole])

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
            raise RuntimeError(f"Failed without a mutation: {' '.join(map(str, command))}\n"
                               + self.log(build)[-3000:])

    def stages_of(self, mutant):
        return [stage for stage in self.stages if mutant.path.startswith(stage.files)]

    def try_mutant(self, mutant, text):
        """Who noticed the mutant: the name of a test, "compiler", or an empty string."""
        noticed = ""
        for stage in self.stages_of(mutant):
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
        """Whether tests have to be compiled again after the libraries."""
        build = self.build_directory(stage)
        self.require([*self.build_command(self.targets(stage)), "-n"], build)
        return "Building CXX object" in self.log(build)

    def try_stage(self, stage, targets, mutant):
        build = self.build_directory(stage)
        if run(self.build_command(targets), build, 600) != 0:
            if not ERROR.search(self.log(build)):
                raise RuntimeError(f"The build failed without an error in the source:"
                                   f" {mutant.description}\n{self.log(build)[-3000:]}")
            return "compiler"
        return self.test_stage(stage, mutant)

    def test_stage(self, stage, mutant, number=0):
        """The test program that notices the mutant, or an empty string."""
        build = self.build_directory(stage)
        for test_run in self.test_runs(stage, str(PurePath(mutant.path).parent)):
            trial = (self.test_command(stage, test_run), build,
                     10 + 3 * self.duration(stage, test_run), os.devnull, number)
            code = run(*trial)
            if code is None or (code != 0 and stage.repeats):  # perhaps the machine was busy
                code = run(*trial)
            if code != 0:
                too_long = " (too long)" if code is None else ""
                return f"{stage.name}: {Path(test_run.program).name}{too_long}"
        return ""

    def test_runs(self, stage, folder):
        """The tests to run for a mutant in the folder, those most likely to notice it first."""
        near = PurePath(folder).name
        for program in sorted(stage.tests, key=lambda program: near not in program):
            own = self.tests_in(stage, program, f"tests/{folder}/") if stage.own_first else []
            if own:
                yield TestRun(program, ":".join(own))
            yield TestRun(program, "-" + ":".join(own) if own else stage.filter)

    def tests_in(self, stage, program, folder):
        """The names of the program's tests that are defined in the folder."""
        if program not in self.listed:
            build = self.build_directory(stage)
            self.require([build / program, "--gtest_list_tests", "--gtest_output=json:tests.json"],
                         build)
            suites = json.loads((build / "tests.json").read_text())["testsuites"]
            self.listed[program] = [(test["file"], f"{suite['name']}.{test['name']}")
                                    for suite in suites for test in suite["testsuite"]]
        return [name for file, name in self.listed[program] if folder in file]

    @staticmethod
    def log(build):
        return (build / "log").read_text(errors="replace")

    def build_directory(self, stage):
        return self.root / stage.build

    @staticmethod
    def targets(stage):
        return list(dict.fromkeys(stage.libraries + [Path(test).name for test in stage.tests]))

    @staticmethod
    def build_command(targets):
        return ["ninja", "-j1", *targets]

    def test_command(self, stage, test_run):
        """Resets the signals that a shell ignores in the background, because tests send some."""
        return ["env", "--default-signal=HUP,INT,QUIT", "prlimit", f"--as={stage.memory}:",
                self.build_directory(stage) / test_run.program, "--gtest_fail_fast",
                "--gtest_brief=1", f"--gtest_filter={test_run.filter}"]

    def write(self, path, text):
        file = self.source / path
        if file.read_text() != text:  # or it would be built again
            file.write_text(text)


class TogetherTree(Tree):
    """A tree that contains many mutants, of which several may be tried at a time. Mutants that do
    not compile, and those of types and constants, are left to other trees."""

    def __init__(self, project, root, mutants, texts, jobs):
        super().__init__(project, root, mutants)
        self.jobs = jobs
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
        self.initial = []
        self.left.update(tried)
        for path, text in self.texts.items():
            own = [mutant for mutant in tried if mutant.path == path]
            written, within, initial = together(text, own, self.numbers)
            self.left.difference_update(within, initial)
            self.initial += initial
            self.write(path, written)

    def build(self, stage):
        build = self.build_directory(stage)
        while run(["ninja", "-k0", f"-j{self.jobs}", *self.targets(stage)], build) != 0:
            wrong = self.not_compiled(self.log(build)) - self.left
            if not wrong:
                raise RuntimeError(f"The mutants could not be built; see {build / 'log'}")
            self.left |= wrong
            self.write_mutants()

    def not_compiled(self, log):
        """The mutants that the errors in the log belong to."""
        errors = re.findall(rf"\b{self.source.name}/(\S+?):(\d+):\d+: .*(?:error|required)", log)
        wrong = {int(line) // LINES for _, line in errors}
        found = {mutant for mutant, number in self.numbers.items() if number in wrong}
        if found:
            return found
        # Perhaps a constant expression depends on an initial value.
        files = {file for file, _ in errors}
        return {mutant for mutant in self.initial if mutant.path in files}

    def try_mutant(self, mutant, _):
        for stage in self.stages_of(mutant):
            if noticed := self.test_stage(stage, mutant, self.numbers[mutant]):
                return noticed
        return ""
