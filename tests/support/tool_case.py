"""What the tests of the tool share: running it in an empty folder, and reading its output.

The first argument of a test's file is the program under test, the others are options of unittest.
"""
import json
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import time
import unittest

TOOL = os.path.abspath(sys.argv.pop(1))
TIMEOUT = 900  # seconds: only a hang takes so long, even on a slow machine with sanitizers

# In the order of languages::language_names(), as languages_test.cpp checks.
LANGUAGES = re.search(r"\nLanguages: ([^.]+)\.",
                      (pathlib.Path(__file__).parents[2] / "README.md").read_text(encoding="utf-8")
                      )[1].replace(",", " ").split()
RESULT_FIELDS = ["path", "language", "content_hash", "symbols", "references", "errors"]
SYMBOL_FIELDS = ["id", "file_id", "name", "kind", "fqn", "start_line", "end_line", "signature",
                 "is_export", "docstring", "body_digest"]

SOURCE = b'class Job:\n    """Runs."""\n\n    def run(self):\n        return go(1)\n'


class ToolTest(unittest.TestCase):
    def setUp(self):
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="tool_test_"))
        self.addCleanup(shutil.rmtree, self.folder)

    def write(self, path, content=SOURCE):
        path = os.path.join(os.fsencode(self.folder), os.fsencode(path))
        os.makedirs(os.path.dirname(path), exist_ok=True)
        with open(path, "wb") as file:
            file.write(content)

    def wait_until(self, holds):
        """Waits until holds() is true."""
        end = time.monotonic() + TIMEOUT
        while not holds():
            self.assertLess(time.monotonic(), end)
            time.sleep(0.002)

    def run_tool(self, *arguments, **options):
        options = {"input": b"", "stdout": subprocess.PIPE, "cwd": self.folder, **options}
        if "stdin" in options:
            del options["input"]
        return subprocess.run([TOOL, *arguments], stderr=subprocess.PIPE, timeout=TIMEOUT,
                              check=False, **options)

    def parse(self, *arguments, status=0, **options):
        """The records of a run of `parse`, which must end with this status, or with 0 or 1 for None."""
        done = self.run_tool("parse", *arguments, **options)
        self.assertIn(done.returncode, (0, 1) if status is None else (status,), done.stderr)
        return self.records(done.stdout)

    def records(self, output):
        """The records in the output. Each line must be one object in UTF-8 and end with a line feed."""
        lines = output.decode("utf-8").split("\n")
        self.assertEqual(lines.pop(), "")
        return [json.loads(line) for line in lines]

    def paths(self, *arguments, **options):
        return [record["path"] for record in self.parse(*arguments, **options)]

    def assert_messages(self, done, *parts):
        """There must be one message for each part, which begins with the tool's name and holds the part."""
        lines = done.stderr.decode().splitlines()
        self.assertEqual(len(lines), len(parts), lines)
        for line, part in zip(lines, parts):
            self.assertTrue(line.startswith("treesitter-engine: "), line)
            self.assertIn(part, line)

    def assert_unreadable(self, record, path, language, text):
        self.assertEqual(list(record), RESULT_FIELDS)
        self.assertEqual(record["path"], path)
        self.assertEqual(record["language"], language)
        self.assertEqual((record["content_hash"], record["symbols"], record["references"]),
                         ("", [], []))
        self.assertEqual(len(record["errors"]), 1)
        self.assertTrue(record["errors"][0].startswith("Failed to read "), record["errors"])
        self.assertIn(text, record["errors"][0])
