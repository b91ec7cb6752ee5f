"""Tests of the mutants that scripts/mutate tries."""

import sys
import unittest
from pathlib import Path

sys.dont_write_bytecode = True
sys.path.insert(0, str(Path(__file__).resolve().parents[2] / "scripts"))

from mutation.mutants import mutants_of  # noqa: E402

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


def changes():
    return [mutant.description.split(": ", 1)[1] for mutant in mutants_of("count.cpp", SOURCE)]


class Mutants(unittest.TestCase):
    def assert_changed(self, *expected):
        for change in expected:
            self.assertIn(change, changes())

    def test_comparisons_are_swapped(self):
        self.assert_changed("if (step [< -> <=] 10 && !open)",
                            "for (int i = 0; i [< -> <=] step; ++i)")

    def test_logic_and_arithmetic_are_swapped(self):
        self.assert_changed("if (step < 10 [&& -> ||] !open)", "total = total [+ -> -] step;")

    def test_constants_are_changed(self):
        self.assert_changed("if (step < [10 -> 11] && !open)",
                            "for (int i = [0 -> 1]; i < step; ++i)")

    def test_statements_are_dropped_but_no_declarations(self):
        self.assert_changed("[total = total + step; -> ;]", '[feed("a + 1", i); -> ;]')

    def test_branches_are_skipped(self):
        self.assert_changed("if ([ -> false && ]step < 10 && !open)")

    def test_locks_are_removed(self):
        self.assert_changed("const QReadLocker locker([&lock -> nullptr]);")

    def test_factor_and_offset_are_swapped(self):
        self.assert_changed(
            "int Count::next(int step, double [factor, double offset -> offset, double factor])",
            "return scaled(step, [factor, offset -> offset, factor]);")

    def test_nothing_else_is_changed_as_in_comments_texts_and_declarations(self):
        self.assertEqual(len(changes()), 12)

    def test_changes_of_the_same_code_are_numbered(self):
        twice = mutants_of("twice.cpp", "void f()\n{\n    reset(x);\n    reset(x);\n}\n")
        self.assertEqual([mutant.description for mutant in twice],
                         ["twice.cpp: [reset(x); -> ;]", "twice.cpp: [reset(x); -> ;] (2)"])

    def test_a_mutant_is_the_source_with_the_change_in_it(self):
        mutant = mutants_of("one.cpp", "int f() { return 1; }\n")[0]
        self.assertEqual(mutant.applied_to("int f() { return 1; }\n"), "int f() { return 2; }\n")

    def test_a_name_lasts_as_long_as_the_file_does(self):
        first = mutants_of("count.cpp", SOURCE)[0]
        self.assertEqual(first.name(SOURCE), mutants_of("count.cpp", SOURCE)[0].name(SOURCE))
        self.assertNotEqual(first.name(SOURCE), first.name(SOURCE + "\n"))


if __name__ == "__main__":
    unittest.main()
