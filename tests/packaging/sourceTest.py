"""Tests that the source tarball is complete, and can be built, tested and packaged.

    sourceTest.py BUILD   the folder of a configured build

The library is built with one of its tests. Of the program, only the build files are generated.
"""

import os
import shutil
import subprocess
import sys
import tarfile
import tempfile
import unittest
from pathlib import Path

PROJECT = Path(__file__).resolve().parents[2]
build = Path()


def run(*command, **options):
    result = subprocess.run(command, text=True, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                            stderr=subprocess.STDOUT, timeout=300, **options)
    if result.returncode:
        raise AssertionError(f"{command}: exit code {result.returncode}\n{result.stdout}")
    return result.stdout


class SourceTarball(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folder = Path(tempfile.mkdtemp(dir=build))
        cls.addClassCleanup(shutil.rmtree, cls.folder)
        run("cpack", "--config", build / "CPackSourceConfig.cmake", "-B", cls.folder, cwd=build)
        (cls.tarball,) = cls.folder.glob("*.tar.gz")
        with tarfile.open(cls.tarball) as archive:
            archive.extractall(cls.folder)
            cls.names = [member.name for member in archive if not member.isdir()]
        cls.sources = cls.folder / cls.tarball.name[:-len(".tar.gz")]

    @unittest.skipUnless((PROJECT / ".git").exists(), "the project is not a repository")
    def test_it_contains_the_files_of_the_repository(self):
        listed = run("git", "ls-files", "--cached", "--others", "--exclude-standard",
                     cwd=PROJECT).splitlines()
        existing = {name for name in listed if os.path.lexists(PROJECT / name)}
        self.assertEqual({name.partition("/")[2] for name in self.names}, existing)

    def test_it_can_be_built_tested_and_packaged(self):
        output = self.folder / "build"
        run("cmake", "--preset", "release", "-B", output, "-DCMAKE_CXX_FLAGS_RELEASE=-O0",
            cwd=self.sources)
        run("cmake", "-DVANTREL_MONITOR=OFF", output)
        run("cmake", "--build", output, "--target", "packaged", "test_library")
        tests = "^(LibVantrel|rooms_follow_the_arrows$|exported_symbols_)"
        run("ctest", "--no-tests=error", "--output-on-failure", "-R", tests, cwd=output)
        run("cpack", "-G", "DEB", cwd=output)
        self.assertEqual(len(list(output.glob("*.deb"))), 3)

    def test_it_is_small(self):
        self.assertLess(self.tarball.stat().st_size, 10e6)


if __name__ == "__main__":
    build = Path(sys.argv[1]).resolve()
    unittest.main(argv=sys.argv[:1])
