"""Tests which package hosts find, and which errors they get.

    findPackageTest.py PREFIX VERSION...   the packages for these versions of Qt are in the prefix
"""

import shutil
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

HOST = """cmake_minimum_required(VERSION 3.16)
project(host LANGUAGES CXX)
{lines}
get_target_property(libraries Vantrel::Vantrel INTERFACE_LINK_LIBRARIES)
message(STATUS "FOUND ${{Vantrel_VERSION}} ${{libraries}}")
"""
OTHER = {5: 6, 6: 5}
prefix = Path()
installed = []


class FindPackage(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folder = Path(tempfile.mkdtemp())
        cls.addClassCleanup(shutil.rmtree, cls.folder)
        (cls.folder / "main.cpp").write_text("int main() {}\n")

    def configure(self, *lines, variables=()):
        (self.folder / "CMakeLists.txt").write_text(HOST.format(lines="\n".join(lines)))
        # One folder for all hosts, so that the compiler is examined once. -U forgets packages.
        result = subprocess.run(
            ["cmake", "-G", "Ninja", "-S", self.folder, "-B", self.folder / "build", "-U*antrel*",
             "-UQT_*", "-UQt*", f"-DVantrel_ROOT={prefix}",
             *(f"-D{variable}" for variable in variables)],
            text=True, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, timeout=60)
        return result.returncode, " ".join(result.stdout.split())

    def assert_found(self, version, *lines, variables=()):
        code, output = self.configure(*lines, variables=variables)
        self.assertEqual(code, 0, output)
        self.assertRegex(output, rf"FOUND 1\.[0-9.]+ \S*Qt{version}::Core")

    def assert_refused(self, message, *lines, variables=()):
        code, output = self.configure(*lines, variables=variables)
        self.assertNotEqual(code, 0, output)
        self.assertIn(message, output)

    def folder_of(self, version):
        name = {5: "Vantrel", 6: "VantrelQt6"}[version]
        return next(prefix.glob(f"lib/**/cmake/{name}"))

    def ways_to_choose(self, version):
        """Lines and variables by which a host chooses a version of Qt."""
        yield (), (f"QT_DEFAULT_MAJOR_VERSION={version}",)
        yield (f"find_package(QT NAMES Qt{version} REQUIRED COMPONENTS Core)",), ()
        yield (f"find_package(Qt{version} REQUIRED COMPONENTS Core)",), ()

    def test_a_host_gets_the_package_for_its_qt(self):
        for version in installed:
            for lines, variables in self.ways_to_choose(version):
                for wanted in ("REQUIRED", "1.0 REQUIRED", "1.0 REQUIRED COMPONENTS Statistics"):
                    with self.subTest(lines=lines, variables=variables, wanted=wanted):
                        self.assert_found(version, *lines, f"find_package(Vantrel {wanted})",
                                          variables=variables)

    def test_a_host_that_chooses_no_qt_gets_qt_5_or_the_only_package(self):
        self.assert_found(min(installed), "find_package(Vantrel REQUIRED)")
        self.assert_found(min(installed), "find_package(Vantrel 1.0 REQUIRED)")

    def test_a_missing_version_of_qt_is_an_error_that_names_both_versions(self):
        for version in installed:
            if OTHER[version] in installed:
                continue
            message = f"for Qt {version}, but this project uses Qt {OTHER[version]}"
            for lines, variables in self.ways_to_choose(OTHER[version]):
                for wanted in ("REQUIRED", "1.0 REQUIRED"):
                    with self.subTest(lines=lines, variables=variables, wanted=wanted):
                        self.assert_refused(message, *lines, f"find_package(Vantrel {wanted})",
                                            variables=variables)

    def test_a_chosen_folder_for_the_wrong_qt_is_an_error(self):
        for version in installed:
            if OTHER[version] in installed:
                continue
            for wanted in ("REQUIRED", "1.0 REQUIRED"):
                self.assert_refused(
                    f"for Qt {version}, but this project uses Qt {OTHER[version]}",
                    f"find_package(Vantrel {wanted})",
                    variables=(f"QT_DEFAULT_MAJOR_VERSION={OTHER[version]}",
                               f"Vantrel_DIR={self.folder_of(version)}"))

    def test_an_optional_package_for_the_wrong_qt_is_not_found(self):
        for version in installed:
            if OTHER[version] in installed:
                continue
            for wanted in ("QUIET", "1.0 QUIET"):
                self.assert_refused(
                    "Found: 0 .",
                    f"find_package(Vantrel {wanted})",
                    'message(FATAL_ERROR "Found: ${Vantrel_FOUND} .")',
                    variables=(f"QT_DEFAULT_MAJOR_VERSION={OTHER[version]}",))

    def test_a_target_that_links_both_versions_of_qt_is_an_error(self):
        for version in installed:
            self.assert_refused(
                "INTERFACE_QT_MAJOR_VERSION",
                f"set(QT_DEFAULT_MAJOR_VERSION {version})",
                "set(QT_NO_CREATE_VERSIONLESS_TARGETS ON)", # Qt defines them once
                "find_package(Vantrel REQUIRED)",
                f"find_package(Qt{OTHER[version]} REQUIRED COMPONENTS Core)",
                "add_executable(host main.cpp)",
                f"target_link_libraries(host Vantrel::Vantrel Qt{OTHER[version]}::Core)")

    def test_a_host_that_finds_its_qt_too_late_sees_which_package_it_got(self):
        code, output = self.configure(
            "find_package(Vantrel REQUIRED)",
            f"find_package(Qt{OTHER[min(installed)]} REQUIRED COMPONENTS Core)")
        self.assertRegex(output, rf"Found Vantrel 1\.[0-9.]+ for Qt {min(installed)}: ")
        if str(min(installed)) == "5":  # Qt 6 cannot follow Qt 5
            self.assertNotEqual(code, 0, output)

    def test_components_are_found(self):
        for component in ("Vantrel", "CanSupport", "Statistics"):
            self.assert_found(min(installed), f"find_package(Vantrel 1.0 REQUIRED {component})",
                              f"if(NOT Vantrel_{component}_FOUND)",
                              '  message(FATAL_ERROR "not found")', "endif()")

    def test_an_unknown_component_is_an_error_that_names_the_components(self):
        self.assert_refused(
            "Unknown component Statistic (available: Vantrel, CanSupport, Statistics).",
            "find_package(Vantrel REQUIRED COMPONENTS CanSupport Statistic)")

    def test_an_unknown_optional_component_is_not_found(self):
        self.assert_found(min(installed),
                          "find_package(Vantrel REQUIRED OPTIONAL_COMPONENTS Statistic)",
                          "if(Vantrel_Statistic_FOUND)",
                          '  message(FATAL_ERROR "found")', "endif()")

    def test_version_2_is_not_found(self):
        self.assert_refused('compatible with requested version "2"',
                            "find_package(Vantrel 2 REQUIRED)")


if __name__ == "__main__":
    prefix = Path(sys.argv[1]).resolve()
    installed = [int(version) for version in sys.argv[2:]]
    unittest.main(argv=sys.argv[:1])
