#!/usr/bin/env python3
"""The command `check`: what it says of one file, as text and as JSON.

    check_test.py BUILD/treesitter-engine [options of unittest]
"""
import collections
import hashlib
import json
import re
import unittest

from support.tool_case import SOURCE, ToolTest

FIELDS = ["path", "language", "detected_by", "detected_text", "rules", "bytes", "encoding",
          "ill_formed_at", "nodes", "depth", "error_nodes", "error_bytes", "missing_nodes",
          "first_error_line", "operations", "memory_bytes", "processor_seconds", "seconds",
          "content_hash", "symbols", "references", "errors"]
STEPS = ["read", "hash", "parse", "symbols", "references"]


class Check(ToolTest):
    def check(self, *arguments, status=0):
        done = self.run_tool("check", *arguments)
        self.assertEqual((done.returncode, done.stderr), (status, b""))
        return done.stdout

    def report(self, *arguments, status=0):
        [report] = self.records(self.check(*arguments, status=status))
        self.assertEqual(list(report), FIELDS)
        self.assertEqual(list(report["seconds"]), STEPS)
        return report

    def test_it_finds_what_parse_finds(self):
        self.write("pkg/job.py", SOURCE * 3 + b"import a\nx = (\n")
        content = SOURCE * 3 + b"import a\nx = (\n"
        for rules in ("standard", "navigation"):
            report = self.report("--rules", rules, "pkg/job.py")
            [record] = self.parse("--rules", rules, "pkg/job.py")
            for field in ("symbols", "references"):
                self.assertEqual(report[field],
                                 collections.Counter(entry["kind"] for entry in record[field]))
            self.assertEqual((report["content_hash"], report["rules"]),
                             (hashlib.sha256(content).hexdigest(), rules))
            self.assertEqual((report["bytes"], report["errors"]), (len(content), []))
            self.assertGreater(report["error_nodes"] + report["missing_nodes"], 0)
            self.assertEqual(report["first_error_line"], 17)
            for budget in ("operations", "memory_bytes", "processor_seconds"):
                self.assertLessEqual(report[budget]["used"], report[budget]["allowed"])
                self.assertGreater(report[budget]["allowed"], 0)
            self.assertTrue(all(report["seconds"][step] > 0 for step in STEPS))

    def test_what_told_the_language(self):
        for path, options, language, by, text in [
                ("a.D.TS", [], "typescript", "suffix", ".ts"), ("Rakefile", [], "ruby", "file_name",
                                                                "Rakefile"),
                (".json", [], "json", "suffix", ".json"), ("a.py", ["-l", "rb"], "ruby", "told",
                                                           None),
                ("LICENSE", [], None, None, None)]:
            self.write(path, b"")
            report = self.report(*options, path)
            self.assertEqual((report["language"], report["detected_by"], report["detected_text"]),
                             (language, by, text))

    def test_what_fails_is_told_as_far_as_it_came(self):
        self.write("loop.tsx", b"<a {{b:>c:d(e f)")
        self.write("bad.java", b'class A { String s = "\xff"; }\n')
        missing = self.report("no.py", status=1)
        self.assertIn("No such file", missing["errors"][0])
        self.assertEqual((missing["bytes"], missing["operations"], missing["content_hash"]),
                         (None, None, None))
        loop = self.report("loop.tsx", status=1)
        # A sanitized build reaches the limit of time before that of operations.
        self.assertRegex(loop["errors"][0], "operation budget|time limit")
        spent = loop["operations" if "budget" in loop["errors"][0] else "processor_seconds"]
        self.assertGreaterEqual(spent["used"], spent["allowed"])
        self.assertEqual((loop["nodes"], loop["seconds"]["symbols"]), (0, None))
        bad = self.report("bad.java", status=1)
        self.assertEqual((bad["encoding"], bad["ill_formed_at"]), ("ill_formed", 22))
        self.assertIn("0xff", bad["errors"][0])
        self.assertEqual((len(bad["content_hash"]), bad["seconds"]["references"]), (64, None))

    def test_text_is_a_line_for_each_fact(self):
        self.write("a\n.json", b'{"a": [1, 2}')
        text = self.check("--format", "text", "a\n.json").decode()
        number = r"\d+\.\d{3} ms"
        for line in [
                r"file        a\\n\.json", r"language    json, by the suffix \.json",
                r"rules       standard", r"bytes       12", r"encoding    UTF-8",
                r"sha256      [0-9a-f]{64}", r"nodes       \d+, depth \d+",
                r"syntax      \d+ error nodes \(\d+\.\d\d %\) around \d+ bytes \(\d+\.\d\d %\), "
                r"\d+ missing nodes, first in line 1",
                r"operations  \d+ of \d+ \(\d+\.\d\d %\)",
                r"memory      \d+ of \d+ bytes \(\d+\.\d\d %\)",
                rf"processor   {number} of {number}",
                rf"time        read {number}, hash {number}, parse {number}, symbols {number}, "
                rf"references {number}",
                r"symbols     1: 1 variable", r"references  0"]:
            self.assertRegex(text, re.compile(f"^{line}$", re.M))
        self.assertEqual(text.count("\n"), 14)
        text = self.check("--format", "text", "no.py", status=1).decode()
        self.assertRegex(text.splitlines()[-1], r"\Aerror       Failed to read file: ")


if __name__ == "__main__":
    unittest.main()
