"""Tests of benchmarks/report.py, which ./bench calls, with stand-ins for the benchmarks."""

import contextlib
import io
import json
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path
from unittest import mock

sys.dont_write_bytecode = True
PROJECT = Path(__file__).resolve().parents[2]
sys.path.insert(0, str(PROJECT / "benchmarks"))
# After this line, so that the module is found.
import report  # noqa: E402

CONDITIONS = {"date": "2026-01-02 03:04 UTC", "processor": "A(R) CPU @ 2.80GHz",
              "available processors": 2, "load before building": 0.5, "commit": "abc",
              "compiler": "g++", "Qt": 5}
IMPORT = "from report import print_row; "


def section(name, script):
    return report.Section(name, name.capitalize(), "As it is.", script, script)


def measured(*scripts, timeout=60):
    """Runs Python scripts as sections."""
    sections = [section(f"section {i}", script) for i, script in enumerate(scripts)]
    environment = mock.patch.dict("os.environ", PYTHONPATH=str(PROJECT / "benchmarks"),
                                  PYTHONDONTWRITEBYTECODE="1")
    with contextlib.redirect_stderr(io.StringIO()), environment:
        return report.measure(
            sections, lambda each: [sys.executable, "-c", IMPORT + each.command], timeout)


def data_of(sections, **conditions):
    return {"conditions": {**CONDITIONS, **conditions}, "screen": report.worst_rows(sections),
            "sections": sections}


class Report(unittest.TestCase):
    def setUp(self):
        temporary = tempfile.TemporaryDirectory()
        self.addCleanup(temporary.cleanup)
        self.folder = Path(temporary.name)

    def show(self, *scripts, timeout=60, **options):
        """The exit code and the lines of the screen."""
        return self.shown(data_of(measured(*scripts, timeout=timeout)),
                          **(options or {"folder": self.folder}))

    def shown(self, data, **options):
        output = io.StringIO()
        with contextlib.redirect_stdout(output):
            code = report.show(data, **options)
        return code, output.getvalue().splitlines()

    def line_of(self, lines, start):
        found = [line for line in lines if line.startswith(start)]
        self.assertEqual(len(found), 1, lines)
        return found[0]

    def test_a_row_that_misses_its_target_is_shown_as_missed_and_is_not_a_failure(self):
        code, lines = self.show("print_row('slow', 'x', 3, 'ns', 2);"
                                "print_row('fast', 'y', 2, 'ns', 2);"
                                "print_row('free', 'z', 9, 'ns')")
        self.assertEqual(code, 0)
        for start, end in (("slow (x)", "3 ns <= 2 no"), ("fast (y)", "2 ns <= 2 yes"),
                           ("free (z)", "9 ns - -")):
            self.assertEqual(self.line_of(lines, start).split()[2:], end.split())
        self.assertIn("Targets met: 1, missed: 1.", lines)

    def test_a_group_is_shown_by_its_worst_row_relative_to_the_target(self):
        _, lines = self.show("print_row('group', 'a', 3, 'ns', 4);"
                             "print_row('group', 'b', 2, 'ns', 1);"
                             "print_row('group', 'c', 5, 'ns', 9)")
        self.assertEqual(self.line_of(lines, "group").split()[:3], ["group", "(3:", "b)"])

    def test_a_target_may_be_a_minimum(self):
        minimum = ("import json;"
                   "print(json.dumps(dict(group='rate', name='%s', value=%d, unit='MB/s',"
                   " target=200, isTargetMinimum=True, raw=[])));")
        for slow in 199, 0:
            _, lines = self.show(minimum % ("quick", 900) + minimum % ("slow", slow))
            self.assertEqual(self.line_of(lines, "rate (2: slow)").split()[-5:],
                             [str(slow), "MB/s", ">=", "200", "no"])

    def test_a_missed_target_never_looks_met_by_rounding(self):
        _, lines = self.show("print_row('close', 'x', 1.0004, 'ns', 1)")
        self.assertIn(" 1.0004 ns ", self.line_of(lines, "close"))

    def test_a_failed_section_is_shown_and_the_others_are_kept(self):
        code, lines = self.show(
            "print_row('early', 'x', 1, 'ns'); import sys; sys.exit('cannot connect')",
            "print_row('later', 'y', 1, 'ns')")
        self.assertEqual(code, 1)
        self.assertIn("Section 0: failed: exit code 1: cannot connect", lines)
        self.line_of(lines, "early")
        self.line_of(lines, "later")
        data = json.loads(next(self.folder.glob("*.json")).read_text())
        self.assertEqual([each["failure"] for each in data["sections"]],
                         ["exit code 1: cannot connect", None])
        self.assertIn("**Failed:** exit code 1: cannot connect",
                      next(self.folder.glob("*.md")).read_text())

    def test_a_section_that_prints_no_or_wrong_rows_or_does_not_start_or_end_fails(self):
        for script, reason in (("", "no rows"), ("print('text')", "wrong row"),
                               ("print_row('g', 'n', float('nan'), 'ns')", "g, n: not a number"),
                               ("print('{}')", "wrong row")):
            code, lines = self.show(script)
            self.assertEqual(code, 1, script)
            self.assertIn(reason, self.line_of(lines, "Section 0: failed: "))
        code, lines = self.show("import threading; threading.Event().wait()", timeout=0.1)
        self.assertEqual(code, 1)
        self.assertIn("not finished after 0.1 s", self.line_of(lines, "Section 0: failed: "))
        missing = str(self.folder / "missing")
        with contextlib.redirect_stderr(io.StringIO()):
            sections = report.measure([section("gone", "")], lambda _: [missing])
        self.assertIn(missing, sections[0]["failure"])

    def test_the_files_have_all_rows_with_their_raw_figures(self):
        _, lines = self.show("print_row('g', 'a', 1, 'ns', 2, [('raw', 41.5)]);"
                             "print_row('g', 'b', 3, 'ns', 2)")
        name = "2026-01-02-a-cpu-2-80ghz"
        self.assertEqual(sorted(path.name for path in self.folder.iterdir()),
                         [name + ".json", name + ".md"])
        data = json.loads((self.folder / (name + ".json")).read_text())
        self.assertEqual([(row["name"], row["met"]) for row in data["sections"][0]["rows"]],
                         [("a", True), ("b", False)])
        self.assertEqual(data["sections"][0]["rows"][0]["raw"], [["raw", 41.5]])
        self.assertEqual([row["name"] for row in data["screen"]], ["b"])
        self.assertEqual(data["conditions"], CONDITIONS)
        self.assertIn("| a | 41.5 | 1 ns | <= 2 | yes |",
                      (self.folder / (name + ".md")).read_text())
        self.assertIn(name, lines[-1])

    def test_the_files_are_written_both_or_neither(self):
        page = self.folder / "page"
        page.write_text(f"{report.PAGE_BEGIN}\n{report.PAGE_END}")
        self.show("print_row('g', 'old', 1, 'ns')", folder=self.folder, page=page)
        before = {path: path.read_bytes() for path in self.folder.iterdir()}
        with mock.patch.object(report, "markdown", side_effect=OSError("full")), \
                self.assertRaises(OSError):
            self.show("print_row('g', 'new', 1, 'ns')", folder=self.folder, page=page)
        real = Path.write_text

        def full_disk(path, text, **options):
            real(path, text[:1], **options)
            if path.suffix == ".md":
                raise OSError("full")

        with mock.patch.object(Path, "write_text", full_disk), self.assertRaises(OSError):
            self.show("print_row('g', 'new', 1, 'ns')", folder=self.folder, page=page)
        self.assertEqual({path: path.read_bytes() for path in self.folder.iterdir()}, before)

    def test_a_quick_run_says_that_it_is_less_exact_and_what_it_leaves_out(self):
        sections = [section("first", ""), section("second", "")._replace(skipped="long series")]
        _, lines = self.show("print_row('g', 'n', 1, 'ns')", quick=sections)
        self.assertIn("less exact", lines[-1])
        self.assertIn("Left out: long series.", lines[-1])

    def test_a_busy_machine_is_pointed_out(self):
        sections = measured("print_row('g', 'n', 1, 'ns')")
        for load, is_busy in ((0.5, False), (0.6, True)):
            _, lines = self.shown(data_of(sections, **{"load before building": load}))
            self.assertEqual("The machine was busy, so elapsed times may be too long." in lines,
                             is_busy)

    def test_a_run_of_named_sections_shows_all_rows(self):
        _, lines = self.show("print_row('g', 'a', 1, 'ns', 2); print_row('g', 'b', 3, 'ns', 2)",
                             is_part=True)
        self.line_of(lines, "g (a)")
        self.line_of(lines, "g (b)")
        self.assertIn("Targets met: 1, missed: 1.", lines)

    def test_no_line_is_wider_than_the_screen(self):
        _, lines = self.show(f"print_row('{'g' * 60}', '{'n' * 60}', 123456, 'x locked Boost', 1)")
        self.assertLessEqual(max(map(len, lines[:-1])), report.WIDTH)  # the last is a file name
        self.assertIn("...)", self.line_of(lines, "ggg"))

    def test_an_unknown_section_is_a_usage_error(self):
        result = subprocess.run([sys.executable, PROJECT / "benchmarks" / "report.py", "engine"],
                                stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
        self.assertEqual((result.returncode, result.stdout), (2, ""))
        self.assertIn("unknown section engine (available: replay, ", result.stderr)

    def test_a_whole_run_replaces_the_table_of_the_page(self):
        page = self.folder / "page"
        page.write_text(f"before\n{report.PAGE_BEGIN}\nold\n{report.PAGE_END}\nafter\n")
        self.show("print_row('g', 'n', 3, 'ns', 2)", "print_row('h', 'm', 1, 'ns'); exit(1)",
                  folder=self.folder, page=page)
        lines = page.read_text().splitlines()
        self.assertEqual((lines[0], lines[-1]), ("before", "after"))
        self.assertNotIn("old", lines)
        self.assertIn("| g | 1 | n | 3 ns | <= 2 | **no** |", lines)
        self.assertIn("- Section 1: failed: exit code 1: no message", lines)

    def test_the_page_shows_the_newest_results(self):
        self.assertIn("Not measured yet", report.figures_for_page(self.folder))
        for date, name in (("2026-01-02 03:04 UTC", "first"), ("2026-02-01 03:04 UTC", "newest"),
                           ("2026-01-31 03:04 UTC", "second")):
            sections = measured(f"print_row('g', '{name}', 1, 'ns')")
            self.shown(data_of(sections, date=date), folder=self.folder)
        self.assertIn("| g | 1 | newest |", report.figures_for_page(self.folder))

    def test_a_page_without_marks_is_an_error_that_names_them(self):
        page = self.folder / "page"
        page.write_text("text")
        with self.assertRaisesRegex(SystemExit, f"{report.PAGE_BEGIN} and {report.PAGE_END}"):
            report.write_page(page, self.folder)
        self.assertEqual(page.read_text(), "text")

    def test_the_table_in_performance_md_is_that_of_the_newest_results(self):
        _, begin, rest = report.PAGE.read_text(encoding="utf-8").partition(report.PAGE_BEGIN)
        shown, end, _ = rest.partition(report.PAGE_END)
        self.assertEqual(begin + shown + end, report.figures_for_page(report.RESULTS),
                         "run ./bench --page")


if __name__ == "__main__":
    unittest.main()
