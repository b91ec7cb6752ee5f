#!/usr/bin/env python3
"""Tests of the Debian packages in a folder. Needs root or sudo, to install them into a clean root.

    packagesTest.py FOLDER [TEST...]
"""

import os
import re
import shutil
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

sys.dont_write_bytecode = True
from cleanRoot import CleanRoot  # noqa: E402

PROJECT = Path(__file__).resolve().parents[2]
SONAMES = {5: "libvantrel1", 6: "libvantrel-qt6-1"}
STEMS = {5: "vantrel", 6: "vantrel-qt6"}
EXAMPLES = {"minimal": [], "stream": ["Network"], "live-table": ["SerialBus", "Widgets"]}
# The packages that the examples need in addition.
OF_EXAMPLES = ["libqt5serialbus5-dev", "qt6-serialbus-dev"]
packages = {}  # files by the names of the packages


def output_of(*command, **options):
    return subprocess.run(command, text=True, stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                          timeout=300, check=False, **options).stdout


def field(package, name):
    return output_of("dpkg-deb", "--field", packages[package], name).strip()


def files_of(package):
    return [line.split(maxsplit=5)[5].split(" -> ")[0][1:] for line in
            output_of("dpkg-deb", "--contents", packages[package]).splitlines()]


def requirements_of(names, root):
    """The packages of this system that the given ones need."""
    found = set()
    for name in names:
        for group in field(name, "Depends").split(","):
            choices = [re.split(r"[\s(]", choice.strip())[0] for choice in group.split("|")]
            if not any(choice in packages for choice in choices):
                found.add(next((choice for choice in choices if choice in root.installed),
                               choices[0]))
    return found - {""}


class Packages(unittest.TestCase):
    def test_there_are_four_for_each_version_of_qt(self):
        self.assertEqual(set(packages), {
            "libvantrel1", "libvantrel-dev", "vantrel", "vantrel-doc",
            "libvantrel-qt6-1", "libvantrel-qt6-dev", "vantrel-qt6", "vantrel-qt6-doc"})

    def test_lintian_finds_no_error_or_warning(self):
        found = output_of("lintian", "--allow-root", "--tag-display-limit", "0",
                          "--display-level", ">=info", "--show-overrides", *packages.values())
        self.assertIn("\nO: ", found)
        self.assertEqual(re.findall("^(?:[EW]: |.*(?:unused|mismatched)-override).*", found,
                                    re.MULTILINE), [])

    def test_each_override_has_a_reason(self):
        for file in (PROJECT / "packaging/debian").glob("*.lintian-overrides"):
            lines = file.read_text(encoding="utf-8").splitlines()
            for before, line in zip(["", *lines], lines):
                self.assertTrue(line.startswith("# ") or before.startswith("# "), line)

    def test_the_versions_of_qt_have_no_file_in_common(self):
        files = {version: {file for package in packages if ("qt6" in package) == (version == 6)
                           for file in files_of(package) if not file.endswith("/")}
                 for version in SONAMES}
        self.assertTrue(files[5] and files[6])
        self.assertEqual(files[5] & files[6], set())

    def test_the_documentation_contains_the_reference(self):
        for stem in STEMS.values():
            self.assertIn(f"/usr/share/doc/{stem}-doc/html/index.html", files_of(f"{stem}-doc"))

    def test_fields(self):
        for package in packages:
            with self.subTest(package=package):
                documents = package.endswith("-doc")
                self.assertEqual(field(package, "Architecture") == "all", documents)
                self.assertRegex(field(package, "Maintainer"), "^[^<]+ <[^<>@]+@[^<>]+>$")
                self.assertGreater(field(package, "Description").count("\n"), 2)
                self.assertEqual(field(package, "Section"),
                                 "doc" if documents else "libdevel" if package.endswith("-dev")
                                 else "libs" if package.startswith("lib") else "utils")
                if package.endswith("-dev"):
                    library = SONAMES[6 if "qt6" in package else 5]
                    self.assertIn(f"{library} (= {field(library, 'Version')})",
                                  field(package, "Depends"))


class InRoot(unittest.TestCase):
    """Packages installed in a clean root."""

    @classmethod
    def prepare(cls, names, tools=()):
        folder = Path(tempfile.mkdtemp(prefix="clean-root-",
                                       dir=next(iter(packages.values())).parents[1]))
        cls.addClassCleanup(shutil.rmtree, folder)
        cls.root = CleanRoot(folder)
        cls.root.add({*requirements_of(names, cls.root), *tools})
        cls.names = names
        for name in names:
            shutil.copy(packages[name], folder / "tmp")
        for name in ("examples", "monitor/sample"):
            shutil.copytree(PROJECT / name, folder / "tmp" / name)
        cls.install()

    @classmethod
    def install(cls):
        cls.root.run("sh", "-c", "dpkg --install /tmp/*.deb")

    def check_removal(self):
        self.assertIn("/usr/share/doc/" + self.names[0], self.root.left_over())
        self.addCleanup(self.install)
        self.root.run("dpkg", "--purge", *self.names)
        self.assertEqual(self.root.left_over(), [])


class Program(InRoot):
    @classmethod
    def setUpClass(cls):
        cls.prepare([name for name in packages if not name.endswith("-dev")])

    def test_it_prints_its_version(self):
        version = re.search(r"^project\(Vantrel VERSION ([0-9.]+)",
                            (PROJECT / "CMakeLists.txt").read_text(), re.MULTILINE)[1]
        for stem in STEMS.values():
            self.assertEqual(self.root.run(stem, "--version"), f"vantrel {version}\n")

    def test_it_replays_a_recording(self):
        for stem in STEMS.values():
            table = self.root.run(stem, "replay", "engine.log", "--dbc", "engine.dbc",
                                  cwd="/tmp/monitor/sample")
            self.assertRegex(table, r"EngineSpeed +0 +1500 ")

    def test_the_plugins_for_buses_are_installed(self):
        for stem in STEMS.values():
            message = self.root.run(stem, "live", "--plugin", "unknown", "--interface", "can0",
                                    "--dbc", "engine.dbc", cwd="/tmp/monitor/sample", check=False)
            self.assertRegex(message, r"available: .*socketcan, .*virtualcan")

    def test_removed_packages_leave_nothing_behind(self):
        self.check_removal()


class Libraries(InRoot):
    @classmethod
    def setUpClass(cls):
        cls.prepare([name for name in packages if name.startswith("lib")],
                    ["cmake", "dpkg-dev", "g++", "ninja-build", "pkg-config"])

    def build(self, example, modules, version):
        """Builds an example with CMake and with pkg-config, and returns the two programs."""
        sources = f"/tmp/examples/{example}"
        folder = f"/tmp/{example}-{version}"
        self.root.run("cmake", "-G", "Ninja", "-S", sources, "-B", folder,
                      f"-DQT_DEFAULT_MAJOR_VERSION={version}", "-DCMAKE_CXX_COMPILER=g++")
        self.root.run("cmake", "--build", folder)
        names = [STEMS[version], *(f"Qt{version}{module}" for module in modules)]
        self.root.run("sh", "-c", f"g++ main.cpp $(pkg-config --cflags --libs {' '.join(names)})"
                      f" -o {folder}/by-pkg-config", cwd=sources)
        return f"{folder}/{example}", f"{folder}/by-pkg-config"

    def test_examples_are_built_and_run_with_cmake_and_pkg_config(self):
        for version in STEMS:
            for program in self.build("minimal", [], version):
                self.assertEqual(self.root.run(program),
                                 "662.5 rpm, deviation 21.6622\nrating 100 of 100\n")
                libraries = self.root.run("ldd", program)
                self.assertRegex(libraries, rf"/lib{STEMS[version]}\.so\.1 ")
                self.assertRegex(libraries, rf"/libQt{version}Core")
        self.root.add(OF_EXAMPLES)
        for version in STEMS:
            for example in ("stream", "live-table"):
                for program in self.build(example, EXAMPLES[example], version):
                    self.assertNotIn("not found", self.root.run("ldd", program))

    def test_a_dependent_package_gets_the_right_dependency(self):
        for version, library in SONAMES.items():
            folder = f"/tmp/dependent-{version}"
            self.root.run("mkdir", "-p", f"{folder}/debian")
            self.root.run("touch", f"{folder}/debian/control")
            self.root.run("sh", "-c", "g++ main.cpp $(pkg-config --cflags --libs "
                          f"{STEMS[version]}) -o {folder}/program", cwd="/tmp/examples/minimal")
            depends = self.root.run("dpkg-shlibdeps", "-O", "program", cwd=folder)
            self.assertRegex(depends, rf"[=,] ?{re.escape(library)} \(>= 1\.0\.0\)")

    def test_hosts_find_the_package_for_their_qt(self):
        test = PROJECT / "tests/package/findPackageTest.py"
        result = subprocess.run([sys.executable, test, self.root.folder / "usr", "5", "6"],
                                stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True,
                                timeout=300)
        self.assertEqual(result.returncode, 0, result.stdout)

    def test_removed_packages_leave_nothing_behind(self):
        self.check_removal()


if __name__ == "__main__":
    if os.geteuid() != 0:
        os.execvp("sudo", ["sudo", sys.executable, *sys.argv])
    for package in Path(sys.argv.pop(1)).resolve().glob("*.deb"):
        packages[package.name.split("_")[0]] = package
    unittest.main()
