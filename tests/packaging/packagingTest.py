#!/usr/bin/env python3
"""Checks the installed manual pages, completion, desktop entry, metainfo and icon of the program.

    packagingTest.py PREFIX NAME [TEST]...

NAME is the name of the executable below PREFIX. The expected contents of the pages and of the
completion are read from the output of --help.
"""

import os
import pty
import re
import shutil
import signal
import socket
import subprocess
import sys
import tempfile
import unittest
import xml.etree.ElementTree as xml
from pathlib import Path

PROJECT = Path(__file__).resolve().parents[2]
HERE = Path(__file__).resolve().parent
SAMPLE = PROJECT / "monitor/sample"
PREFIX = Path(sys.argv[1]).resolve() if len(sys.argv) > 1 else Path()
NAME = sys.argv[2] if len(sys.argv) > 2 else ""
SHARE = PREFIX / "share"
LONGEST = 120  # seconds

ENVIRONMENT = dict(os.environ, LC_ALL="C.UTF-8", QT_QPA_PLATFORM="offscreen",
                   PATH=f"{PREFIX}/bin:{os.environ['PATH']}")


def run(*command, **options):
    """The result of a command; its input is empty."""
    options = {"env": ENVIRONMENT, "timeout": LONGEST, **options}
    return subprocess.run(command, text=True, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                          stderr=subprocess.PIPE, **options)


def spaced(text):
    """The words of the text, with the name that the program has in its own messages."""
    return " ".join(text.replace(NAME, "vantrel").split())


class Help:
    """The output of --help for the program or a command."""

    def __init__(self, command=""):
        text = run(NAME, *command.split(), "--help").stdout
        self.entries = []  # terms with their meanings, without the examples
        for term, meaning in re.findall(r"^  (\S.*)\n((?: {6}.*\n)+)", text, re.MULTILINE):
            if not term.startswith("vantrel "):
                self.entries.append((term, " ".join(meaning.split())))
        self.options = {word for term, _ in self.entries for word in re.findall(r"--[\w-]+", term)}
        example = re.compile(r"^  vantrel ((?:[^\\\n]|\\\n)*)\n", re.MULTILINE)
        self.examples = [match.replace("\\\n", "") for match in example.findall(text)]


def commands():
    return [term.split()[0] for term, _ in Help().entries if not term.startswith("-")]


def page_of(command):
    return SHARE / "man/man1" / f"{NAME}{'-' * bool(command)}{command}.1"


class ManualPages(unittest.TestCase):
    PAGES = ["", *commands()] if NAME else []

    def rendered(self, command, width=100):
        result = run("man", "-l", page_of(command), env=dict(ENVIRONMENT, MANWIDTH=str(width)))
        self.assertEqual(result.returncode, 0, result.stderr)
        return re.sub(r".\x08|\x1b\[[0-9;]*m", "", result.stdout)

    def test_there_are_no_other_pages(self):
        self.assertEqual(sorted(SHARE.glob("man/**/*.*")), sorted(map(page_of, self.PAGES)))

    def test_pages_say_what_help_says(self):
        for command in self.PAGES:
            page = spaced(self.rendered(command))
            entries = Help(command).entries
            self.assertGreater(len(entries), 2)
            for term, meaning in entries:
                self.assertIn(spaced(f"{term} {meaning}"), page)

    def test_pages_have_the_usual_sections(self):
        for command in self.PAGES:
            sections = re.findall(r"^[A-Z].*[A-Z]$", self.rendered(command), re.MULTILINE)
            expected = ["NAME", "SYNOPSIS", "DESCRIPTION", "OPTIONS", "EXIT STATUS", "EXAMPLES",
                        "SEE ALSO"]
            if not command:
                expected.insert(3, "COMMANDS")
            self.assertEqual(sections, expected)

    def test_exit_statuses_are_those_of_help(self):
        text = run(NAME, "--help").stdout
        statuses = re.search(r"Exit status: ((?:.|\n)*)", text)[1]
        for status, meaning in re.findall(r"(\d) ((?:[^0-9])*?)(?:, (?=\d)|\.\n)", statuses):
            sentence = f"{status} {meaning[0].upper()}{meaning[1:]}."
            for command in self.PAGES:
                self.assertIn(spaced(sentence), spaced(self.rendered(command)))

    def test_pages_are_rendered_without_warnings(self):
        for command in self.PAGES:
            result = run("man", "--warnings=w", "-E", "UTF-8", "-l", "-Tutf8", "-Z",
                         page_of(command), env=dict(ENVIRONMENT, MANWIDTH="80", MANROFFSEQ=""))
            self.assertEqual((result.returncode, result.stderr), (0, ""))

    def test_pages_can_be_indexed(self):
        for command in self.PAGES:
            page = page_of(command)
            result = run("lexgrog", page)
            self.assertRegex(result.stdout, rf'^{page}: "{page.stem} - [a-z].*[^.]"\n$')

    def test_pages_show_the_examples_of_help(self):
        for command in self.PAGES[1:]:
            page = spaced(self.rendered(command).replace("\\\n", ""))
            self.assertTrue(Help(command).examples, command)
            for example in Help(command).examples:
                self.assertIn(spaced(f"vantrel {example}"), page)

    def test_hyphens_of_options_can_be_copied(self):
        for command in self.PAGES:
            self.assertNotRegex(page_of(command).read_text(), r"(?<!\\)-")


class Examples(unittest.TestCase):
    """The examples run in the folder of the sample. Those for a bus run together."""

    BUS = "127.0.0.1:35600"

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = Path(folder.name) / "sample"
        shutil.copytree(SAMPLE, self.folder)
        with socket.socket() as free:
            free.bind(("127.0.0.1", 0))
            self.bus = f"127.0.0.1:{free.getsockname()[1]}"
        self.examples = [example for command in commands() for example in Help(command).examples]

    def test_examples_for_recordings_succeed(self):
        offline = [example for example in self.examples
                   if self.BUS not in example and "--choose" not in example]
        self.assertGreater(len(offline), 3)
        for example in offline:
            result = run("sh", "-c", f"{NAME} {example}", cwd=self.folder)
            self.assertEqual((result.returncode, result.stderr), (0, ""), example)

    def test_examples_for_a_bus_succeed(self):
        live = [example.replace(self.BUS, self.bus).split() for example in self.examples
                if self.BUS in example]
        senders = [words for words in live if words[0] == "send"]
        watchers = [words for words in live if words[0] != "send"]
        self.assertTrue(senders and watchers)
        running = []
        for words in watchers:  # the first one serves the others
            process = subprocess.Popen([NAME, *words], cwd=self.folder, env=ENVIRONMENT, text=True,
                                       stdout=subprocess.PIPE, stderr=subprocess.PIPE)
            running.append(process)
            self.addCleanup(process.communicate)
            self.addCleanup(process.kill)
            self.assertIn(": connected", process.stderr.readline())
        for words in senders:
            result = run(NAME, *words, cwd=self.folder)
            self.assertEqual(result.returncode, 0, result.stderr)
        for process in reversed(running):
            process.send_signal(signal.SIGTERM)
            output, _ = process.communicate(timeout=LONGEST)
            self.assertEqual(process.returncode, 0, process.args)
            self.assertIn("0CF00400" if "ids" in process.args else "EngineSpeed", output)


class Completion(unittest.TestCase):
    """The shells complete lines in a copy of the sample."""

    @classmethod
    def setUpClass(cls):
        folder = tempfile.TemporaryDirectory()
        cls.addClassCleanup(folder.cleanup)
        cls.home = Path(folder.name)
        cls.folder = cls.home / "sample"
        shutil.copytree(SAMPLE, cls.folder)
        (cls.folder / "plots").mkdir()
        (cls.folder / "notes.txt").touch()
        shutil.copy(HERE / "completing.zsh", cls.home / ".zshrc")
        cls.environment = dict(ENVIRONMENT, HOME=folder.name, XDG_CONFIG_HOME=folder.name,
                               XDG_DATA_HOME=folder.name)

    def bash(self, line):
        script = SHARE / "bash-completion/completions" / NAME
        words = re.findall(r"=|[^\s=]+", line) + ([""] if line.endswith((" ", "=")) else [])
        result = run("bash", "--norc", HERE / "complete.bash", script, line, *words, cwd=self.folder,
                     env=self.environment)
        self.assertEqual(result.stderr, "")
        return result.stdout.splitlines()

    def fish(self, line):
        script = SHARE / "fish/vendor_completions.d" / f"{NAME}.fish"
        result = run("fish", "--no-config", "-c", f"source '{script}'; complete -C $argv", line,
                     cwd=self.folder, env=self.environment)
        self.assertEqual(result.stderr, "")
        start = re.search(r"(\S*=)?\S*$", line)[1] or ""  # is part of each match
        matches = [match.split("\t")[0] for match in result.stdout.splitlines()]
        return [match[len(start):] for match in matches if match.startswith(start)]

    def zsh(self, line):
        matches = self.home / "matches"
        matches.write_text("")
        script, = SHARE.glob(f"zsh/*/_{NAME}")
        environment = dict(self.environment, ZDOTDIR=str(self.home), LINE_TO_COMPLETE=line,
                           COMPLETIONS=str(script.parent), MATCHES=str(matches), TERM="dumb")
        terminal, shell_end = pty.openpty()
        shell = subprocess.Popen(["zsh", "-o", "NO_GLOBAL_RCS", "-i"], stdin=shell_end,
                                 stdout=shell_end, stderr=shell_end, cwd=self.folder,
                                 env=environment, start_new_session=True)
        os.close(shell_end)
        printed = b""
        try:
            while chunk := os.read(terminal, 4096):
                printed += chunk
        except OSError:  # all ends of the terminal are closed
            pass
        finally:
            os.close(terminal)
        self.assertEqual(shell.wait(LONGEST), 0, printed.decode(errors="replace"))
        return [match.rstrip("=") for match in matches.read_text().splitlines()]

    def expect(self, line, expected):
        for shell in (self.bash, self.fish, self.zsh):
            with self.subTest(shell=shell.__name__, line=line):
                found = [match.rstrip("/ ") for match in shell(f"{NAME} {line}")]
                self.assertEqual(sorted(set(found) - {"-h", ""}), sorted(expected))

    def test_commands_are_completed(self):
        self.expect("", commands())
        self.expect("rep", ["replay"])

    def test_each_command_is_completed_with_its_options(self):
        for command in commands():
            self.expect(f"{command} --", Help(command).options)

    def test_descriptions_are_completed(self):
        self.expect("replay --dbc e", ["engine.dbc"])
        self.expect("replay --j1939=e", ["engine.dbc"])
        self.expect("window --eds d", ["drive.eds"])

    def test_description_is_completed_after_a_bus(self):
        for line in ("replay --dbc can0=e", "replay --dbc=can0=e"):
            for shell in (self.bash, self.fish, self.zsh):
                with self.subTest(shell=shell.__name__, line=line):
                    self.assertEqual(shell(f"{NAME} {line}"), ["engine.dbc"])

    def test_recordings_are_completed(self):
        self.expect("replay e", ["engine.log"])
        self.expect("send engine.log b", ["buses.mf4"])
        self.expect("ids li", ["live"])

    def test_other_files_are_completed_if_no_file_has_a_usual_extension(self):
        self.expect("replay no", ["notes.txt"])

    def test_saved_run_may_be_any_file(self):
        self.expect("show engine.", ["engine.dbc", "engine.expected", "engine.log"])

    def test_folder_for_plots_is_completed(self):
        self.expect("replay engine.log --plot ", ["plots"])

    def test_choices_are_completed(self):
        self.expect("replay --format ", ["table", "json", "csv"])
        self.expect("replay --format=j", ["json"])
        self.expect("live --display ", ["terminal", "window"])
        self.expect("send --speed m", ["max"])
        self.expect("live --plugin s", ["socketcan"])


class Desktop(unittest.TestCase):
    ENTRY = SHARE / "applications" / f"{NAME}.desktop"
    METAINFO = next(SHARE.glob("metainfo/*.metainfo.xml"), Path())

    def value(self, key):
        return re.search(rf"^{key}=(.*)$", self.ENTRY.read_text(), re.MULTILINE)[1]

    def test_entry_is_valid(self):
        result = run("desktop-file-validate", self.ENTRY)
        self.assertEqual((result.returncode, result.stdout), (0, ""))

    def test_entry_starts_the_program_with_arguments_that_it_accepts(self):
        words = self.value("Exec").split()
        self.assertEqual(words[0], NAME)
        self.assertTrue((PREFIX / "bin" / words[0]).is_file())
        self.assertLessEqual(set(words[2:]), Help(words[1]).options)
        # The arguments are read before the display is opened.
        result = run(*words, env=dict(ENVIRONMENT, QT_QPA_PLATFORM="xcb", DISPLAY=""))
        self.assertIn("no display available", result.stderr)

    def test_icon_exists_and_is_square(self):
        icon = SHARE / "icons/hicolor/scalable/apps" / f"{self.value('Icon')}.svg"
        root = xml.parse(icon).getroot()
        self.assertEqual(root.get("width"), root.get("height"))

    def test_metainfo_is_valid(self):
        result = run("appstreamcli", "validate", "--no-net", self.METAINFO)
        self.assertEqual(result.returncode, 0, result.stdout)

    def test_metainfo_with_a_screenshot_is_valid(self):
        text = (PROJECT / "packaging/metainfo.xml.in").read_text()
        values = {"STEM": NAME, "TITLE": "Vantrel", "COMPONENT": self.METAINFO.stem[:-9],
                  "SCREENSHOT_URL": "https://example.org/window.png",
                  "RELEASES": '<release version="1.0" date="2026-01-01"/>'}
        for name, value in values.items():
            text = text.replace(f"@VANTREL_{name}@", value)
        with tempfile.TemporaryDirectory() as folder:
            file = Path(folder, self.METAINFO.name)
            file.write_text(text)
            result = run("appstreamcli", "validate", "--no-net", file)
            self.assertEqual(result.returncode, 0, result.stdout)

    def test_metainfo_belongs_to_the_entry(self):
        root = xml.parse(self.METAINFO).getroot()
        self.assertEqual(self.METAINFO.name, root.findtext("id") + ".metainfo.xml")
        self.assertEqual(root.findtext("launchable"), self.ENTRY.name)
        self.assertEqual(root.findtext("provides/binary"), NAME)
        self.assertEqual(root.findtext("name"), self.value("Name"))
        self.assertEqual(root.findtext("summary"), self.value("Comment"))

    def test_metainfo_lists_the_dated_releases_of_the_change_log(self):
        headings = re.findall(r"^## (\d\S*) \((\S+)\)$", (PROJECT / "CHANGELOG.md").read_text(),
                              re.MULTILINE)
        releases = xml.parse(self.METAINFO).getroot().findall("releases/release")
        self.assertEqual([(release.get("version"), release.get("date")) for release in releases],
                         headings)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1] + sys.argv[3:], verbosity=2)
