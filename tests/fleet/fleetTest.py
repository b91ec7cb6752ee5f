#!/usr/bin/env python3
"""Tests of fleet/vantrel-fleet on a real Dask cluster on this machine.

    fleetTest.py PROGRAM   where PROGRAM is the vantrel to test with
"""

import contextlib
import json
import os
import random
import subprocess
import sys
import tempfile
import time
import unittest
from pathlib import Path

from distributed import Client

PROJECT = Path(__file__).resolve().parents[2]
SAMPLE = PROJECT / "monitor" / "sample"
FLEET = PROJECT / "fleet" / "vantrel-fleet"
DESCRIPTIONS = ["--dbc", str(SAMPLE / "engine.dbc"), "--eds", str(SAMPLE / "drive.eds"),
                "--node", "5"]
LONGEST = 120  # seconds that anything may take
program = ""


def fleet(*arguments, **options):
    return subprocess.run([sys.executable, str(FLEET), "--vantrel", program, *map(str, arguments)],
                          capture_output=True, encoding="utf-8", timeout=LONGEST, **options)


def vantrel(*arguments):
    done = subprocess.run([program, *map(str, arguments)], capture_output=True, encoding="utf-8",
                          timeout=LONGEST)
    if done.returncode != 0:
        raise AssertionError(done.stderr)
    return done.stdout


def wait_until(condition):
    end = time.monotonic() + LONGEST
    while not condition():
        if time.monotonic() > end:
            raise AssertionError("waited too long")
        time.sleep(0.02)


@contextlib.contextmanager
def started(*command):
    """A process that ends with the block."""
    process = subprocess.Popen(command, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    try:
        yield process
    finally:
        process.kill()
        process.wait()


class Cluster:
    """A scheduler and workers."""

    def __init__(self, stack, folder):
        self.stack = stack
        self.folder = folder
        file = folder / "scheduler.json"
        stack.enter_context(started("dask-scheduler", "--host", "127.0.0.1", "--port", "0",
                                    "--no-dashboard", "--scheduler-file", str(file)))
        wait_until(lambda: file.exists() and file.read_text().rstrip().endswith("}"))
        self.address = json.loads(file.read_text())["address"]
        self.client = stack.enter_context(Client(self.address))
        self.workers = [self.worker(), self.worker()]
        self.client.wait_for_workers(2, timeout=LONGEST)

    def worker(self):
        return self.stack.enter_context(started(
            "dask-worker", self.address, "--host", "127.0.0.1", "--nthreads", "1", "--no-nanny",
            "--no-dashboard", "--local-directory", str(self.folder)))

    def finished(self):
        """How many tasks are in memory or have been."""
        return self.client.run_on_scheduler(
            lambda dask_scheduler: sum(prefix.state_counts["memory"]
                                       for prefix in dask_scheduler.task_prefixes.values()
                                       if prefix.name == "replay"))


class Fleet(unittest.TestCase):
    def setUp(self):
        self.stack = contextlib.ExitStack()
        self.addCleanup(self.stack.close)
        self.folder = Path(self.stack.enter_context(tempfile.TemporaryDirectory()))

    def write_recordings(self, number):
        """Parts of the sample, cut at random lines."""
        lines = (SAMPLE / "drive.log").read_text().splitlines(keepends=True)
        generator = random.Random(number)
        files = []
        for i in range(number):
            first = generator.randrange(len(lines) - 10)
            last = generator.randrange(first + 10, len(lines) + 1)
            file = self.folder / "logs" / f"truck{i % 7}" / f"{i:03}.log"
            file.parent.mkdir(parents=True, exist_ok=True)
            file.write_text("".join(lines[first:last]))
            files.append(file)
        return files

    def merge_one_by_one(self, files, *options):
        """The summary of a merge in one process."""
        parts = []
        for file in files:
            part = self.folder / "parts" / (file.stem + ".summary")
            part.parent.mkdir(exist_ok=True)
            vantrel("replay", file, *DESCRIPTIONS, "--label", f"vehicle={file.parent.name[5:]}",
                    "--summary", part)
            parts.append(part)
        merged = self.folder / "expected.summary"
        output = vantrel("merge", *parts, "--summary", merged, *options)
        return merged.read_bytes(), output

    def test_the_result_is_that_of_one_process_although_a_worker_is_killed_and_a_file_is_damaged(
            self):
        files = self.write_recordings(200)
        damaged = self.folder / "logs" / "truck3" / "damaged.mf4"
        damaged.write_bytes(b"MDF     4.10    " + bytes(100))
        cluster = Cluster(self.stack, self.folder)
        result = self.folder / "all.summary"
        running = self.stack.enter_context(subprocess.Popen(
            [sys.executable, str(FLEET), str(self.folder / "logs" / "**" / "*.*"), *DESCRIPTIONS,
             "--vantrel", program, "--scheduler", cluster.address,
             "--path-labels", r"truck(?P<vehicle>\d)", "--summary", str(result)],
            stdout=subprocess.PIPE, stderr=subprocess.PIPE, encoding="utf-8"))
        self.stack.callback(running.kill)
        wait_until(lambda: running.poll() is not None or cluster.finished() >= 40)
        self.assertLess(cluster.finished(), 200, "the worker must be killed before the end")
        cluster.workers[0].kill()
        output, messages = running.communicate(timeout=LONGEST)
        self.assertEqual(running.returncode, 2, messages)
        self.assertIn(f"{damaged}: ", messages)
        self.assertIn("left out 1 of 201 recordings\n", messages)
        expected, expected_output = self.merge_one_by_one(files)
        self.assertEqual(result.read_bytes(), expected)
        self.assertEqual(output, expected_output)

    def test_groups_of_labels_are_kept_apart_on_a_cluster_of_its_own(self):
        files = self.write_recordings(20)
        result = self.folder / "all.summary"
        done = fleet(self.folder / "logs" / "*" / "*.log", *DESCRIPTIONS, "--workers", "2",
                     "--path-labels", r"truck(?P<vehicle>\d)", "--by", "vehicle", "--format", "csv",
                     "--summary", result)
        self.assertEqual(done.returncode, 0, done.stderr)
        expected, expected_output = self.merge_one_by_one(files, "--by", "vehicle",
                                                          "--format", "csv")
        self.assertEqual(result.read_bytes(), expected)
        self.assertEqual(done.stdout, expected_output)

    def test_wrong_use_is_reported(self):
        summary = ["--summary", self.folder / "all.summary"]
        cases = [
            ([self.folder / "*.log", *DESCRIPTIONS, *summary],
             f"{self.folder}/*.log: no such file"),
            ([SAMPLE / "drive.log", "--dbc", "missing.dbc", *summary],
             "--dbc missing.dbc: No such file or directory"),
            ([SAMPLE / "drive.log", *DESCRIPTIONS, *summary, "--workers", "1",
              "--path-labels", "(?P<day>MONDAY)"],
             f"{SAMPLE}/drive.log: --path-labels does not match this path"),
            ([SAMPLE / "drive.log", *DESCRIPTIONS, *summary, "--workers", "1",
              "--vantrel", "missing-program"], "No such file or directory: 'missing-program'"),
        ]
        for arguments, message in cases:
            done = fleet(*arguments)
            self.assertEqual(done.returncode, 2, arguments)
            self.assertIn(message, done.stderr)
            self.assertNotIn("Traceback", done.stderr)
            self.assertFalse(os.path.exists(summary[1]))


if __name__ == "__main__":
    program = sys.argv.pop(1)
    unittest.main()
