"""Tests of the mutation testing in tools/mutation."""

import os
import subprocess
import sys
import tempfile
import time
import unittest
from pathlib import Path
from unittest import mock

sys.dont_write_bytecode = True
sys.path.insert(0, str(Path(__file__).resolve().parents[2] / "tools" / "mutation"))

from mutants import Mutant, empty_enumerators, mutants_of, spread  # noqa: E402
from together import PRELUDE, together  # noqa: E402
from trial import Stage, TestRun, TogetherTree, Tree, run  # noqa: E402
from verdict import Part, stale, verdict  # noqa: E402

SOURCE = """\
#include <limits> // a < b + 1
/// Keeps 2 * 3 values.
template <typename N = 5>
int Count::next(int step, double factor, double offset)
{
    const QReadLocker locker(&lock);
    if (step < 10 && !open)
        return scaled(step, factor, offset);
    total = total + step;
    for (int i = 0; i < step; ++i)
        feed("a + 1", i);
    return total;
}
"""


def changes(source=SOURCE):
    return [mutant.description.split(": ", 1)[1] for mutant in mutants_of("count.cpp", source)]


def changes_in(statement):
    return changes(f"void f()\n{{\n    {statement}\n}}\n")


class Mutants(unittest.TestCase):
    def assert_changed(self, *expected):
        for change in expected:
            self.assertIn(change, changes())

    def test_comparisons_are_swapped(self):
        self.assert_changed("if (step [< -> <=] 10 && !open)", "if (step [< -> >] 10 && !open)",
                            "for (int i = 0; i [< -> <=] step; ++i)")
        self.assertIn("if (a [!= -> ==] b)", changes_in("if (a != b)\n        c();"))

    def test_logic_and_arithmetic_are_swapped(self):
        self.assert_changed("if (step < 10 [&& -> ||] !open)", "total = total [+ -> -] step;")

    def test_products_become_quotients_and_sums(self):
        self.assertEqual(changes_in("N a = b * c;"), ["N a = b [* -> +] c;", "N a = b [* -> /] c;"])

    def test_constants_are_changed(self):
        self.assert_changed("if (step < [10 -> 11] && !open)",
                            "for (int i = [0 -> 1]; i < step; ++i)")

    def test_constants_next_to_operators_are_also_lowered(self):
        self.assert_changed("if (step < [10 -> 9] && !open)")
        self.assertIn("N a = [0x10 -> 15] * b;", changes_in("N a = 0x10 * b;"))
        self.assertEqual(changes_in("N a = b - 0;"), ["N a = b [- -> +] 0;", "N a = b - [0 -> 1];"])
        self.assertEqual(changes_in("N a = 7;"), ["N a = [7 -> 8];"])

    def test_quotation_marks_in_raw_strings_do_not_end_them(self):
        self.assertEqual(changes_in('N a = R"X(a " b + 1 " c)X" + 0;'),
                         ['N a = R"X(a " b + 1 " c)X" [+ -> -] 0;',
                          'N a = R"X(a " b + 1 " c)X" + [0 -> 1];'])

    def test_statements_are_removed_but_declarations_are_not(self):
        self.assert_changed("[total = total + step; -> ;]", '[feed("a + 1", i); -> ;]')

    def test_branches_are_skipped(self):
        self.assert_changed("if ([ -> false && ]step < 10 && !open)")

    def test_branches_with_or_conditions_are_skipped_as_a_whole(self):
        self.assertIn("if ([open || shut -> false && (open || shut)])",
                      changes_in("if (open || shut)\n        open = shut;"))
        self.assertIn("while ([a(b) || c -> false && (a(b) || c)])",
                      changes_in("while (a(b) ||\n           c)\n        d();"))
        self.assertIn("if ([ -> false && ]open && (here || there))",
                      changes_in("if (open && (here || there))\n        open = shut;"))

    def test_names_fit_on_one_line(self):
        source = "void f()\n{\n    if (a ||\n        b)\n        c();\n}\n"
        self.assertFalse([m for m in mutants_of("count.cpp", source) if "\n" in m.name(source)])

    def test_return_values_are_emptied(self):
        self.assert_changed("return [scaled(step, factor, offset) -> {}];", "return [total -> {}];")
        self.assertIn("return [call(a), true -> {}];", changes_in("return call(a), true;"))
        self.assertIn("return [{a, b} -> {}];", changes_in("return {a, b};"))
        self.assertIn("return [a + f([] { return b; }) -> {}];",
                      changes_in("return a +\n           f([] { return b; });"))

    def test_empty_and_constant_return_values_are_not_emptied(self):
        for value in ("0", "0.0", "N(0)", "{}", "nullptr", "false", "true", "std::nullopt",
                      "QString()"):
            self.assertNotIn(f"return [{value} -> {{}}];", changes_in(f"return {value};"))
        self.assertIn("return [count() -> {}];", changes_in("return count();"))

    def test_enumerators_of_value_0_count_as_empty(self):
        empty = empty_enumerators(["enum class Kind : quint8 { Data, Error };",
                                   "enum class Code {\n    Success = 0, ///< all\n    Wrong\n};",
                                   "enum class Side { Left = 1 };"])
        self.assertEqual(empty, {"Kind::Data", "Code::Success"})
        source = "Kind f() { return Kind::Data; }\nKind g() { return Kind::Error; }\n"
        self.assertEqual([mutant.description for mutant in mutants_of("f.cpp", source, empty)],
                         ["f.cpp: Kind g() { return [Kind::Error -> {}]; }"])

    def test_returns_without_a_value_are_removed_unless_their_branch_is_skipped(self):
        self.assertEqual(changes_in("return;"), ["[return; -> ;]"])
        self.assertEqual(changes_in("if (done)\n        return;"), ["if ([ -> false && ]done)"])

    def test_negations_and_unary_minus_are_removed(self):
        self.assert_changed("if (step < 10 && [! -> ]open)")
        self.assertIn("N a = [- -> ]b;", changes_in("N a = -b;"))
        self.assertIn("N a{b, [- -> ](b + c)};", changes_in("N a{b, -(b + c)};"))

    def test_binary_and_doubled_operators_are_not_removed(self):
        for statement in ("N a = b - c;", "N a = b != c;", "N a = b->c;", "N a = --b;"):
            self.assertFalse([change for change in changes_in(statement) if " -> ]" in change])

    def test_locks_are_removed(self):
        self.assert_changed("const QReadLocker locker([&lock -> nullptr]);")

    def test_factor_and_offset_are_swapped(self):
        self.assert_changed(
            "int Count::next(int step, double [factor, double offset -> offset, double factor])",
            "return scaled(step, [factor, offset -> offset, factor]);")

    def test_comments_texts_and_declarations_are_not_changed(self):
        self.assertEqual(len(changes()), 18)

    def test_identical_changes_are_numbered(self):
        twice = mutants_of("twice.cpp", "void f()\n{\n    reset(x);\n    reset(x);\n}\n")
        self.assertEqual([mutant.description for mutant in twice],
                         ["twice.cpp: [reset(x); -> ;]", "twice.cpp: [reset(x); -> ;] (2)"])

    def test_a_mutant_is_the_source_with_one_change(self):
        mutant = mutants_of("one.cpp", "int f() { return 1; }\n")[0]
        self.assertEqual(mutant.applied_to("int f() { return 1; }\n"), "int f() { return 2; }\n")

    def test_a_name_stays_the_same_as_long_as_the_file_does(self):
        first = mutants_of("count.cpp", SOURCE)[0]
        self.assertEqual(first.name(SOURCE), mutants_of("count.cpp", SOURCE)[0].name(SOURCE))
        self.assertNotEqual(first.name(SOURCE), first.name(SOURCE + "\n"))


def placed(path, number):
    return Mutant(path, number, 0, 0, "", f"{path}: change {number}")


class Samples(unittest.TestCase):
    mutants = [placed(f"monitor/{folder}/{name}.cpp", i) for folder, count in
               (("can", 20), ("engine/deep", 200), ("text", 80)) for name in "ab"
               for i in range(count // 2)]

    def counts(self, count):
        folders = [mutant.path.rsplit("/", 1)[0] for mutant in spread(self.mutants)[:count]]
        return [folders.count(f"monitor/{name}") for name in ("can", "engine/deep", "text")]

    def test_every_folder_has_its_share(self):
        self.assertEqual(self.counts(300), [20, 200, 80])
        self.assertEqual(self.counts(150), [10, 100, 40])
        self.assertEqual(self.counts(15), [1, 10, 4])

    def test_a_sample_hardly_changes_if_one_mutant_is_gone(self):
        sample = spread(self.mutants)[:30]
        for gone in sample:
            others = set(spread([m for m in self.mutants if m != gone])[:30])
            self.assertGreaterEqual(len(others & set(sample)), 28)


def wait_for_end_of(process):
    """Waits until the process has ended, reaped or not, and then raises ProcessLookupError."""
    for _ in range(1000):
        state = Path(f"/proc/{process}/stat")
        if not state.exists() or state.read_text().rsplit(")")[1].split()[0] == "Z":
            raise ProcessLookupError
        time.sleep(0.01)


class Trials(unittest.TestCase):
    def outcome(self, codes, log="", repeats=False):
        """The outcome for a mutant whose build, and then its tests, end with these exit codes."""
        mutant = Mutant("src/count.cpp", 1, 0, 0, "", "a change")
        stage = Stage("unit", "unit", [], ["test_count"], ("src/",), repeats=repeats)
        with tempfile.TemporaryDirectory() as root, \
                mock.patch("trial.run", side_effect=codes):
            tree = Tree(Path(root), Path(root), [mutant])
            tree.durations["unit", TestRun("test_count", "*")] = 1
            tree.build_directory(stage).mkdir()
            (tree.build_directory(stage) / "log").write_text(log)
            return tree.try_stage(stage, [], mutant)

    def test_a_failing_test_notices_the_mutant(self):
        self.assertEqual(self.outcome([0, 1]), "unit: test_count")
        self.assertEqual(self.outcome([0, 0]), "")

    def test_a_test_that_takes_too_long_twice_notices_the_mutant(self):
        self.assertEqual(self.outcome([0, None, None]), "unit: test_count (too long)")
        self.assertEqual(self.outcome([0, None, 1]), "unit: test_count")
        self.assertEqual(self.outcome([0, None, 0]), "")

    def test_a_failure_that_may_depend_on_timing_counts_only_if_repeated(self):
        self.assertEqual(self.outcome([0, 1, 0], repeats=True), "")
        self.assertEqual(self.outcome([0, 1, 1], repeats=True), "unit: test_count")

    def test_the_tests_in_the_folder_of_the_mutant_come_first(self):
        stage = Stage("unit", "unit", [], ["test_all"], ("monitor/",), own_first=True)
        tree = Tree(Path(), Path(), [])
        tree.listed["test_all"] = [("../tests/monitor/can/FrameTest.cpp", "Frame.Fits"),
                                   ("../tests/monitor/can/deep/IdTest.cpp", "Id/0.Fits"),
                                   ("../tests/monitor/text/LineTest.cpp", "Line.Ends")]
        self.assertEqual([test_run.filter for test_run in tree.test_runs(stage, "monitor/can")],
                         ["Frame.Fits:Id/0.Fits", "-Frame.Fits:Id/0.Fits"])
        self.assertEqual([test_run.filter for test_run in tree.test_runs(stage, "monitor/app")],
                         ["*"])

    def test_processes_started_by_a_test_do_not_outlive_it(self):
        with tempfile.TemporaryDirectory() as folder:
            log = Path(folder) / "log"
            for command, code in (("sleep 60 & echo $!", 0), ("sleep 60 & echo $!; wait", None)):
                self.assertEqual(run(["sh", "-c", command], Path(folder), 1), code)
                with self.assertRaises(ProcessLookupError):
                    wait_for_end_of(int(log.read_text()))

    def test_an_error_in_the_source_is_noticed_by_the_compiler(self):
        for log in ("a.cpp:1:2: error: no", "a.cpp:(.text+0x5): undefined reference to `f'"):
            self.assertEqual(self.outcome([1], log), "compiler")

    def test_a_build_that_fails_for_another_reason_is_an_error(self):
        for log in ("", "ninja: error: no", "g++: fatal error: Killed signal terminated program"):
            with self.assertRaises(RuntimeError):
                self.outcome([1], log)


PROGRAM = """\
#include <array>
#include <cstdio>
constexpr int twice(int i) { return 2 * i; }
struct Pair {
    explicit Pair(int i) : a(i), b(0) { b = a + 1; }
    int a, b, c = 1;
    std::array<int, sizeof(int) == 4 ? 2 : 3> room;
};
template <typename N>
N larger(N a, N b)
{
    if (a > b)
        return a;
    return b;
}
struct Shape {
    virtual ~Shape() = default;
    virtual int sides() const { return 0 + 1; }
    virtual void grow() { ++size; }
    int size = 1;
};
struct Square : Shape {
    int sides() const override { return 2 * 2; }
    void grow() override { size += 3; }
};
const auto grown = [](Shape& shape) { shape.grow(); };
const auto area = [](const Shape& shape) {
    return shape.sides() * shape.size;
};
void print(int i)
{
    if (i == 7)
        return;
    std::printf("%d", i); // visible to the test
}
int main()
{
    print(larger(twice(3), 5) + Pair(4).b + Pair(4).c);
    print(larger(1, 7));
    Shape shape;
    Square square;
    grown(shape);
    grown(square);
    print(area(shape) + area(square));
    return 0;
}
"""


class MutantsBuiltTogether(unittest.TestCase):
    def compiled(self, name, text):
        source = self.folder / f"{name}.cpp"
        source.write_text(PRELUDE.replace("#pragma once", "") + text)
        command = ["c++", "-std=c++17", "-w", source, "-o", self.folder / name]
        return subprocess.run(command, stderr=subprocess.DEVNULL, check=False).returncode == 0

    def output(self, name, number=0):
        return subprocess.run([self.folder / name], env={**os.environ, "MUTANT": str(number)},
                              stdout=subprocess.PIPE, check=False).stdout

    def test_each_behaves_as_if_built_alone(self):
        with tempfile.TemporaryDirectory() as folder:
            self.folder = Path(folder)
            numbers = {mutant: number for number, mutant in
                       enumerate(mutants_of("program.cpp", PROGRAM), 1)
                       if self.compiled(f"alone{number}", mutant.applied_to(PROGRAM))}
            text, *mutants = together(PROGRAM, list(numbers), numbers)
            within = sum(mutants, [])
            self.assertEqual({mutant.line for mutant in numbers} - {m.line for m in within}, {3, 7})
            self.assertGreater(len(within), 10)
            self.assertTrue(self.compiled("together", text))
            self.assertEqual(self.output("together"), b"1218")
            for mutant in within:
                self.assertEqual(self.output("together", numbers[mutant]),
                                 self.output(f"alone{numbers[mutant]}"), mutant.description)


class MutantsThatDoNotCompile(unittest.TestCase):
    text = "struct Size {\n    int size = 1;\n};\nint f()\n{\n    return 2;\n}\n"
    mutants = mutants_of("a.h", text)
    initial = ["a.h: int size = [1 -> 2];"]

    def left_after(self, log):
        with tempfile.TemporaryDirectory() as root:
            tree = TogetherTree(Path(root), Path(root), self.mutants, {"a.h": self.text}, 1)
            tree.source.mkdir()
            (tree.source / "a.h").write_text(self.text)
            tree.write_mutants()
            return [mutant.description for mutant in tree.not_compiled(log)]

    def test_are_found_by_their_line_numbers_in_errors(self):
        self.assertEqual(self.left_after("../source/a.h:1000:5: error: no"), self.initial)
        self.assertEqual(self.left_after("/x/source/a.h:2001:5: error: no"),
                         ["a.h: return [2 -> 3];"])
        self.assertEqual(self.left_after("/x/source/a.h:2001:5: note: here"), [])

    def test_can_be_initial_values_needed_by_constant_expressions(self):
        self.assertEqual(self.left_after("../source/a.h:2:5: error: no"), self.initial)
        self.assertEqual(self.left_after("../source/b.h:2:5: error: no"), [])


class Verdicts(unittest.TestCase):
    part = Part("library", ("src/",), None, 95)

    def verdict(self, noticed, reasons=(), whole=True):
        """The verdict on mutants described as "0", "1" and so on."""
        outcomes = [(Mutant("count.cpp", 7, 0, 0, "", str(i)), by) for i, by in enumerate(noticed)]
        (*wrong, self.summary), passed = verdict(self.part, outcomes, set(reasons), whole)
        self.assertEqual(passed, not wrong and None not in noticed)
        return wrong

    def test_the_verdict_is_good_if_all_mutants_are_noticed(self):
        self.assertEqual(self.verdict(["unit: a", "compiler", "unit: b (too long)"]), [])
        self.assertEqual(self.summary, "library: 3 mutants, 0 not tried, 1 do not compile; tests"
                         " noticed 2 of the other 2 (100.0 %), 1 of them by taking too long;"
                         " 0 survivors have a reason")

    def test_a_mutant_that_was_not_tried_fails_the_verdict(self):
        self.assertEqual(self.verdict(["unit: a", None]), [])
        self.assertIn(" 1 not tried", self.summary)

    def test_survivors_need_a_reason(self):
        self.assertEqual(self.verdict(["unit: a"] * 99 + [""]),
                         ["survived without a reason: line 7 of 99"])
        self.assertEqual(self.verdict(["unit: a"] * 99 + [""], ["99"]), [])
        self.assertIn(" 1 survivors have a reason", self.summary)

    def test_reasons_need_a_survivor(self):
        self.assertEqual(self.verdict(["unit: a"], ["0"]), ["noticed despite its reason: 0"])

    def test_reasons_need_a_mutant(self):
        mutants = [Mutant("count.cpp", 7, 0, 0, "", "0")]
        self.assertEqual(stale({"0", "x"}, mutants), ["a reason without a mutant: x"])

    def test_tests_must_notice_enough_of_the_mutants_that_compile(self):
        enough = ["unit: a"] * 95 + [""] * 5
        survivors = [str(i) for i in range(95, 101)]
        self.assertEqual(self.verdict(enough, survivors[:-1]), [])
        self.assertEqual(self.verdict([*enough, "compiler"], survivors[:-1]), [])
        too_few = [*enough, ""]
        self.assertEqual(self.verdict(too_few, survivors),
                         ["library: tests must notice 95 % of the mutants that compile"])
        self.assertEqual(self.verdict(too_few, survivors, whole=False), [])


if __name__ == "__main__":
    unittest.main()
