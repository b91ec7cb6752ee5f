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


def mutated_lines(kind):
    """The lines that mutants of this kind make, without the space around them."""
    results = []
    for mutant in mutants_of("count.cpp", SOURCE):
        if mutant.kind == kind:
            text = mutant.applied_to(SOURCE)
            changed = [new for new, old in zip(text.split("\n"), SOURCE.split("\n")) if new != old]
            results.append(changed[0].strip())
    return results


class Mutants(unittest.TestCase):
    def test_comparisons_are_swapped(self):
        self.assertEqual(mutated_lines("comparison"), ["if (step <= 10 && !open)",
                                                       "for (int i = 0; i <= step; ++i)"])

    def test_logic_and_arithmetic_are_swapped(self):
        self.assertEqual(mutated_lines("logic"), ["if (step < 10 || !open)"])
        self.assertEqual(mutated_lines("arithmetic"), ["total = total - step;"])

    def test_constants_are_changed_and_those_in_comments_and_texts_are_not(self):
        self.assertEqual(mutated_lines("constant"), ["if (step < 11 && !open)",
                                                     "for (int i = 1; i < step; ++i)"])

    def test_statements_are_dropped_but_no_declarations(self):
        self.assertEqual(mutated_lines("statement"), [";", ";"])

    def test_branches_are_skipped(self):
        self.assertEqual(mutated_lines("branch"), ["if (false && step < 10 && !open)"])

    def test_locks_are_removed(self):
        self.assertEqual(mutated_lines("lock"), ["const QReadLocker locker(nullptr);"])

    def test_factor_and_offset_are_swapped(self):
        self.assertEqual(mutated_lines("factor and offset"), [
            "int Count::next(int step, double offset, double factor)",
            "return scaled(step, offset, factor);"])

    def test_a_name_lasts_as_long_as_the_file_does(self):
        first = mutants_of("count.cpp", SOURCE)[0]
        self.assertEqual(first.name(SOURCE), mutants_of("count.cpp", SOURCE)[0].name(SOURCE))
        self.assertNotEqual(first.name(SOURCE), first.name(SOURCE + "\n"))


if __name__ == "__main__":
    unittest.main()
