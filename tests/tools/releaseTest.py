"""Tests of scripts/release in a small repository with stand-ins for ./test and scripts/packages."""

import datetime
import os
import shutil
import subprocess
import tarfile
import tempfile
import unittest
from pathlib import Path

PROJECT = Path(__file__).resolve().parents[2]

BUILD = "cmake_minimum_required(VERSION 3.25)\nproject(Vantrel VERSION 1.1.0 LANGUAGES CXX)\n"
CHANGELOG = "# Changelog\n\n## Unreleased\n\n- A change.\n\n## 1.0.0\n\n- The first release.\n"
CHECKS = "#!/bin/sh\necho checked >>../checks\n"
PACKAGES = "#!/bin/sh\nmkdir -p build/packages && head -n 3 CHANGELOG.md >build/packages/heading\n"


class Release(unittest.TestCase):
    def setUp(self):
        temporary = tempfile.TemporaryDirectory()
        self.addCleanup(temporary.cleanup)
        self.project = Path(temporary.name) / "project"
        (self.project / "scripts").mkdir(parents=True)
        shutil.copy(PROJECT / "scripts" / "release", self.project / "scripts")
        self.environment = {
            **{name: value for name, value in os.environ.items() if not name.startswith("GIT_")},
            "HOME": temporary.name, "GIT_CONFIG_NOSYSTEM": "1", "LC_ALL": "C",
            "GIT_AUTHOR_NAME": "A", "GIT_AUTHOR_EMAIL": "a@localhost",
            "GIT_COMMITTER_NAME": "A", "GIT_COMMITTER_EMAIL": "a@localhost"}
        self.git("init", "--quiet", "--initial-branch", "main")
        self.write("CMakeLists.txt", BUILD)
        self.write("CHANGELOG.md", CHANGELOG)
        self.write(".gitignore", "/build/\n")
        for name, text in (("test", CHECKS), ("scripts/packages", PACKAGES)):
            self.write(name, text)
            (self.project / name).chmod(0o755)
        self.commit()

    def run_in_project(self, *command):
        return subprocess.run(command, cwd=self.project, env=self.environment, text=True,
                              stdout=subprocess.PIPE, stderr=subprocess.PIPE, timeout=60)

    def git(self, *arguments):
        result = self.run_in_project("git", *arguments)
        self.assertEqual(result.returncode, 0, result.stderr)
        return result.stdout.strip()

    def write(self, name, text):
        (self.project / name).write_text(text, encoding="utf-8")

    def commit(self):
        self.git("add", "--all")
        self.git("commit", "--quiet", "--allow-empty", "--message", "A state")

    def release(self, *arguments):
        return self.run_in_project("scripts/release", *arguments)

    def checks_run(self):
        return (self.project.parent / "checks").exists()

    def assert_refused(self, message, *arguments):
        before = self.git("rev-parse", "HEAD"), self.git("tag")
        result = self.release(*arguments)
        self.assertEqual(result.returncode, 1, result.stdout)
        self.assertIn(message, result.stderr)
        self.assertEqual((self.git("rev-parse", "HEAD"), self.git("tag")), before)

    def test_a_release_is_checked_dated_committed_and_tagged(self):
        begin = datetime.date.today()
        result = self.release("1.1.0")
        self.assertEqual(result.returncode, 0, result.stderr)
        self.assertTrue(self.checks_run())
        days = {begin, datetime.date.today()}  # two if it is midnight
        self.assertIn((self.project / "CHANGELOG.md").read_text(encoding="utf-8"),
                      [CHANGELOG.replace("Unreleased", f"1.1.0 ({day})") for day in days])
        self.assertEqual(self.git("log", "-1", "--format=%s"), "release: version 1.1.0")
        self.assertEqual(self.git("describe"), "v1.1.0")
        self.assertEqual(self.git("status", "--porcelain"), "")

    def test_a_release_has_packages_and_a_source_tarball_of_the_tag(self):
        self.assertEqual(self.release("1.1.0").returncode, 0)
        packages = self.project / "build" / "packages"
        self.assertIn("## 1.1.0 (", (packages / "heading").read_text(encoding="utf-8"))
        with tarfile.open(packages / "vantrel-1.1.0.tar.gz") as tarball:
            self.assertEqual({name for name in tarball.getnames() if name.count("/") == 1}, {
                "vantrel-1.1.0/" + name
                for name in (".gitignore", "CHANGELOG.md", "CMakeLists.txt", "scripts", "test")})
            self.assertEqual(tarball.extractfile("vantrel-1.1.0/CHANGELOG.md").read(),
                             (self.project / "CHANGELOG.md").read_bytes())

    def test_nothing_is_committed_if_the_packages_cannot_be_built(self):
        self.write("scripts/packages", "#!/bin/sh\nexit 1\n")
        self.commit()
        self.assert_refused("The packages cannot be built.", "1.1.0")
        self.assertEqual(self.git("status", "--porcelain"), "")

    def test_a_dry_run_prints_the_steps_and_changes_nothing(self):
        before = self.git("rev-parse", "HEAD")
        result = self.release("--dry-run", "1.1.0")
        self.assertEqual(result.returncode, 0, result.stderr)
        self.assertEqual([line.split()[2] for line in result.stdout.splitlines()],
                         ["./test", "sed", "scripts/packages", "git", "git", "git"])
        self.assertFalse(self.checks_run())
        self.assertEqual((self.git("rev-parse", "HEAD"), self.git("tag")), (before, ""))
        self.assertEqual(self.git("status", "--porcelain"), "")

    def test_a_dry_run_checks_the_state_too(self):
        self.write("CHANGELOG.md", CHANGELOG + "- More.\n")
        self.assert_refused("The working tree has changes.", "--dry-run", "1.1.0")

    def test_uncommitted_changes_and_untracked_files_are_refused(self):
        self.write("CMakeLists.txt", BUILD + "# later\n")
        self.write("new", "")
        self.assert_refused(" M CMakeLists.txt\n?? new", "1.1.0")

    def test_a_version_that_differs_from_the_build_is_refused(self):
        self.assert_refused("CMakeLists.txt has version 1.1.0, not 1.2.0.", "1.2.0")

    def test_a_changelog_without_an_unreleased_section_is_refused(self):
        self.write("CHANGELOG.md", CHANGELOG.replace("## Unreleased", "## 1.1.0"))
        self.commit()
        self.assert_refused('does not begin with the section "Unreleased"', "1.1.0")

    def test_an_empty_unreleased_section_is_refused(self):
        self.write("CHANGELOG.md", CHANGELOG.replace("- A change.\n", ""))
        self.commit()
        self.assert_refused('lists no changes under "Unreleased"', "1.1.0")

    def test_a_version_that_does_not_follow_the_last_release_is_refused(self):
        for released in ("1.1.0 (2026-01-01)", "1.10.0"):
            self.write("CHANGELOG.md", CHANGELOG.replace("1.0.0", released))
            self.commit()
            self.assert_refused(f"lists {released.split()[0]} as released", "1.1.0")

    def test_a_first_release_needs_no_earlier_one(self):
        self.write("CHANGELOG.md", CHANGELOG[:CHANGELOG.index("## 1.0.0")])
        self.commit()
        self.assertEqual(self.release("1.1.0").returncode, 0)

    def test_an_existing_tag_is_refused(self):
        self.git("tag", "v1.1.0")
        self.assert_refused("The tag v1.1.0 already exists.", "1.1.0")

    def test_nothing_is_tagged_if_the_checks_fail(self):
        self.write("test", "#!/bin/sh\nexit 1\n")
        self.commit()
        self.assert_refused("", "1.1.0")
        self.assertEqual(self.git("status", "--porcelain"), "")

    def test_usage_errors_end_with_2(self):
        for arguments in ((), ("1.1",), ("v1.1.0",), ("1.1.0", "1.2.0"), ("--dry", "1.1.0")):
            result = self.release(*arguments)
            self.assertEqual((result.returncode, result.stderr[:6]), (2, "usage:"), arguments)


if __name__ == "__main__":
    unittest.main()
