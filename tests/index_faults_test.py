#!/usr/bin/env python3
"""Runs of the index in which a write fails or which are killed at a write.

    index_faults_test.py BUILD/treesitter-engine BUILD/.../fault_shim.so [--faults all] [options of unittest]

The library of tests/support/fault_shim.c makes the calls of the tool and of SQLite fail. A run with a fault
must end with status 2 and a text that says what is wrong, unless the fault does not matter or kills it. The
next run, without a fault, must make the index what a fresh one is. The test takes a sample of all calls and
faults; `--faults all` takes all of them, in ten minutes.
"""
import collections
import os
import pathlib
import re
import shutil
import signal
import subprocess
import sys
import tempfile
import unittest

SHIM = os.path.abspath(sys.argv.pop(2))
ALL = "--faults" in sys.argv
if ALL:
    place = sys.argv.index("--faults")
    assert sys.argv[place + 1] == "all", sys.argv
    del sys.argv[place:place + 2]

from support.tool_case import TIMEOUT, TOOL  # noqa: E402  takes the first argument
from support.index_case import FOLDER, IndexTest, dump, source  # noqa: E402

# In memory where possible, which is faster.
if os.access("/dev/shm", os.W_OK):
    tempfile.tempdir = "/dev/shm"

KILLS = ("before", "after", "torn")

# The faults of each call. A rename is not interrupted, and only a write can be short.
WHATS = {"write": ["ENOSPC", "EIO", "EINTR", "short", *KILLS],
         "sync": ["EIO", "ENOSPC", "EINTR", "before", "after"],
         "truncate": ["EIO", "EINTR", "before", "after"],
         "rename": ["ENOSPC", "EIO", "before", "after"],
         "unlink": ["EIO", "before", "after"]}

# The texts that say which file cannot be written, or what is wrong with the index.
CLEAR = re.compile(r"^treesitter-engine: (cannot \w+ '[^']*': (?!Success)\w.*"
                   r"|there is no room to write the index '[^']*' \(.*\)"
                   r"|the index '[^']*' (cannot be (used|written)|is damaged).* \(.*\))$")


class Faults(IndexTest):
    def setUp(self):
        super().setUp()
        self.parent = pathlib.Path(tempfile.mkdtemp(prefix="faults_"))
        self.addCleanup(shutil.rmtree, self.parent)
        self.write_some(8)
        self.write("data.bin.json", b"\0" * 9)
        self.states = {"first": self.saved("first")}
        self.index()
        (self.folder / "d1/f1.py").unlink()
        (self.folder / "d2/f2.py").rename(self.folder / "d2/moved.py")
        (self.folder / "d3/f3.py").write_bytes(source(self.random))
        self.write("new/f9.py", source(self.random))
        self.states["again"] = self.saved("again")
        for number in range(250):
            self.write(f"d1/f{number}.py", source(self.random))
        self.index()
        (self.folder / "d1/f2.py").unlink()
        self.index()
        (self.folder / "d1/f1.py").write_bytes(source(self.random))
        self.assertTrue(self.database.with_name("index.sqlite-wal").exists())
        self.states["with a log"] = self.saved("with a log")
        self.expected = {}

    def saved(self, name):
        shutil.copytree(self.folder, self.parent / name)
        return self.parent / name

    def faulty(self, state, faults, log=None):
        """Runs the index with faults in a copy of that state. Gives the status and the messages."""
        shutil.rmtree(self.folder)
        shutil.copytree(self.states[state], self.folder)
        environment = {**os.environ, "LD_PRELOAD": SHIM, "FAULTS": faults}
        if log:
            environment["FAULTS_LOG"] = str(log)
        done = subprocess.run([TOOL, "index", "--jobs", "1"], cwd=self.folder, env=environment,
                              capture_output=True, timeout=TIMEOUT, check=False)
        return done.returncode, done.stderr.decode()

    def calls(self, state):
        """Counts the calls of a run without a fault. Gives their numbers, and the files of each function."""
        log = self.parent / "log"
        self.assertEqual(self.faulty(state, "all:0:EIO", log)[0], 0)
        self.expected[state] = dump(self.database)
        counts = collections.Counter()
        files = collections.defaultdict(set)
        for line in log.read_text().splitlines():
            call, function, path, _ = line.split(" ")
            counts[call] += 1
            files[function].add(os.path.basename(path))
        log.unlink()
        return counts, files

    def check(self, state, faults):
        """One run with faults, and one without after it. Gives the status of the first."""
        what = faults.rpartition(":")[2]
        status, text = self.faulty(state, faults)
        lines = text.splitlines()
        if what in KILLS:
            self.assertIn(status, (-signal.SIGKILL, 0), text)
        elif what == "short" or (what == "EINTR" and not faults.startswith("sync")):
            self.assertEqual(status, 0, text)  # these are no errors of the disk
        else:
            self.assertIn(status, (0, 2), text)
        if status == 2:
            self.assertEqual(len(lines), 1, lines)
            self.assertRegex(lines[0], CLEAR)
        if status == 0:
            self.assertEqual(dump(self.database), self.expected[state])
        asked = self.run_tool("stats")
        self.assertIn(asked.returncode, (0, 2), asked.stderr)
        self.index()
        self.assertEqual(dump(self.database), self.expected[state])
        return status

    def points(self, counts):
        """Yields CALLS:WHEN:WHAT: all, or a sample with some of each kind."""
        for call, whats in WHATS.items():
            for what in whats:
                single = [f"{call}:{number}:{what}" for number in range(1, counts[call] + 1)]
                lasting = [] if what in KILLS or what == "EINTR" else [
                    f"{call}:{number}+:{what}" for number in range(1, counts[call] + 1)]
                regular = [] if what in KILLS else [
                    f"{call}:/{number}:{what}" for number in range(2, 10)]
                if not ALL:
                    yield from single[:1]
                for row in single[0 if ALL else 1:], lasting, regular:
                    yield from row if ALL else self.random.sample(row, min(1, len(row)))

    def test_it_stands_between_sqlite_and_the_system(self):
        _, files = self.calls("first")
        self.assertLessEqual({"index.sqlite", "index.sqlite-wal", "index.sqlite-shm"},
                             files["pwrite64"])
        self.assertLessEqual({"index.sqlite", "index.sqlite-wal", FOLDER}, files["fdatasync"])
        self.assertIn("index.sqlite-running", files["pwrite"])
        self.assertIn(".gitignore", files["write"])
        for what, part in ("ENOSPC", "No space left"), ("EIO", "Input/output error"):
            status, text = self.faulty("first", f"all:1:{what}")
            self.assertEqual(status, 2)
            self.assertIn(part, text)
        self.assertEqual(self.faulty("first", "write:20:before")[0], -signal.SIGKILL)

    def test_any_fault_is_told_and_forgotten(self):
        statuses = collections.Counter()
        for state in self.states:
            counts, _ = self.calls(state)
            for faults in self.points(counts):
                with self.subTest(state=state, faults=faults):
                    statuses[self.check(state, faults)] += 1
        if ALL:
            print(dict(statuses), file=sys.stderr)
        self.assertEqual(set(statuses), {0, 2, -signal.SIGKILL})


if __name__ == "__main__":
    unittest.main()
