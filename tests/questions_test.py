#!/usr/bin/env python3
"""The questions to an index: what is found, in which order, as text and as JSON.

    questions_test.py BUILD/treesitter-engine [options of unittest]
"""
import fcntl
import json
import os
import pathlib
import pty
import re
import shutil
import sqlite3
import struct
import subprocess
import termios
import unicodedata
import unittest

import jsonschema

from support.tool_case import TIMEOUT, TOOL, ToolTest  # takes the first argument

SCHEMA = pathlib.Path(__file__).parent.parent / "doc/schema/answer.json"
VALIDATOR = jsonschema.Draft202012Validator(json.loads(SCHEMA.read_text()))


def columns(text):
    """How many columns of a terminal the text takes."""
    return sum(0 if unicodedata.category(c) in ("Mn", "Me", "Cf") else
               2 if unicodedata.east_asian_width(c) in "FW" else 1 for c in text)


FILES = {
    "src/books.py": '''\
class Catalogue:
    """All titles of the library."""

    def search(self, words):
        return load(words)

    def _searchDeep(self):
        pass


def load(path):
    def inner():
        return open_it(path)
    return inner()
''',
    "src/app.py": '''\
from books import Catalogue, load
import shelf.store


def main():
    load("x")
    put(1)


top = search("y")
''',
    "src/shelf/store.py": 'def put(x):\n    """Puts onto a shelf."""\n',
    "other/put.py": "def put(x):\n    pass\n",
    "other/beside.py": "def far():\n    put(2)\n    load()\n",
    "web/util.ts": "export function load(a: string) { return a }\nfunction Search() {}\n",
    "web/main.ts": "import {load} from './util'\nexport const x = () => load('z')\n",
    "tests/test_books.py": "from books import load\ndef search():\n    load(1)\n",
    "go/find.go": "package find\n// Search tells.\nfunc Search() {}\nfunc parseHTTPHeader() {}\n",
}


class QuestionsTest(ToolTest):
    def setUp(self):
        super().setUp()
        os.mkdir(self.folder / ".git")
        for path, text in FILES.items():
            self.write(path, text.encode())

    def index(self):
        done = self.run_tool("index")
        self.assertEqual(done.returncode, 0, done.stderr)

    def ask(self, *arguments, status=0, **options):
        """The rows of an answer in JSON. Each must match the published schema."""
        done = self.run_tool(*arguments, "--format", "json", **options)
        self.assertEqual(done.returncode, status, done.stderr)
        rows = self.records(done.stdout)
        for row in rows:
            VALIDATOR.validate(row)
        return rows

    def text(self, *arguments, status=0, **options):
        done = self.run_tool(*arguments, **options)
        self.assertEqual(done.returncode, status, done.stderr)
        return done.stdout.decode()

    def places(self, *arguments, status=None):
        rows = self.ask(*arguments, status=0 if status is None else status)
        return [f"{row['path']}:{row['line']}" for row in rows if "path" in row]


class Found(QuestionsTest):
    def test_symbols(self):
        self.index()
        # Questions, and the places of the answers in their order.
        for question, expected in {
                "find search": "src/books.py:4 tests/test_books.py:2 go/find.go:3 web/util.ts:2",
                "find Search": "go/find.go:3 web/util.ts:2 src/books.py:4 tests/test_books.py:2",
                "find search --kind method": "src/books.py:4",
                "find search --language ts": "web/util.ts:2",
                "find search --in web": "web/util.ts:2",
                "find search --in *.go": "go/find.go:3",
                "find search --in /src/*.py": "src/books.py:4",
                "find search --in s": "",
                "find load": "src/books.py:11 web/util.ts:1",
                "find se --prefix --in src": "src/books.py:4",
                "find arc --substring --in src": "src/books.py:4 src/books.py:7",
                "find hde --substring": "src/books.py:7",
                "find de --substring": "src/books.py:7",
                "find nothing --substring": "",
                "find a%c --substring": "",
                'find "a" --substring': "",
                "find parHead --fuzzy": "go/find.go:4",
                "find deep_sear --fuzzy": "src/books.py:7",
                "find http --fuzzy": "go/find.go:4",
                "find pars_x --fuzzy": "",
                "search library TITLES": "src/books.py:1",
                "search shelf": "src/shelf/store.py:1",
                "search parseHTTPHeader": "go/find.go:4",
                "search shelf library": "",
                "outline src/books.py":
                    "src/books.py:1 src/books.py:4 src/books.py:7 src/books.py:11 src/books.py:12",
                "outline src/none.py": "",
        }.items():
            with self.subTest(question):
                self.assertEqual(self.places(*question.split(), status=0 if expected else 1),
                                 expected.split())
        row, = self.ask("find", "Catalogue")
        self.assertEqual(row, {
            "answer": "definition", "path": "src/books.py", "line": 1, "last_line": 8,
            "kind": "class", "name": "Catalogue", "fqn": "src.books.Catalogue",
            "language": "python", "is_export": True, "is_test": False,
            "signature": "class Catalogue:", "docstring": "All titles of the library."})
        self.assertEqual([row["fqn"] for row in self.ask("find", "inner")],
                         ["src.books.load.inner"])

    def test_uses(self):
        self.index()
        # Questions, and for each use its place, the symbol around it, and the candidates with their evidence.
        here, named, module = "declared in this file", "imported here", "its module is imported here"
        py_load, ts_load = "src/books.py:11", "web/util.ts:1"
        for question, expected in {
                "callers load": [
                    ("other/beside.py:3", "far", [(py_load, "same language")]),
                    ("src/app.py:6", "main", [(py_load, named)]),
                    ("src/books.py:5", "search", [(py_load, here)]),
                    ("web/main.ts:2", "x", [(ts_load, named)]),
                    ("tests/test_books.py:3", "search", [(py_load, named)])],
                "callers load --language typescript": [("web/main.ts:2", "x", [(ts_load, named)])],
                "callers put": [
                    ("other/beside.py:2", "far", [("other/put.py:1", "same folder, same language")]),
                    ("src/app.py:7", "main", [("src/shelf/store.py:1", module)])],
                "callers search": [
                    ("src/app.py:10", "top", [("src/books.py:4", module)])],
                "callers open_it": [("src/books.py:13", "inner", [])],
                "callees main": [
                    ("src/app.py:6", "main", [(py_load, named)]),
                    ("src/app.py:7", "main", [("src/shelf/store.py:1", module)])],
                "callees books.Catalogue.search": [("src/books.py:5", "search", [(py_load, here)])],
                "callees src.books.load.inner": [("src/books.py:13", "inner", [])],
                "callees nobody": [],
                "callers nobody": [],
                "callers inn": [],
        }.items():
            with self.subTest(question):
                rows = self.ask(*question.split(), status=0 if expected else 1)
                self.assertEqual(
                    [(f"{row['path']}:{row['line']}", row["within"]["name"],
                      [(f"{one['path']}:{one['line']}", ", ".join(one["evidence"]))
                       for one in row["candidates"]]) for row in rows], expected)

    def test_references_and_importers(self):
        self.index()
        self.assertEqual([(row["path"], row["line"], row["kind"])
                          for row in self.ask("references", "load", "--in", "src")],
                         [("src/app.py", 1, "import"), ("src/app.py", 6, "call"),
                          ("src/books.py", 5, "call")])
        for module, expected in {
                "books": "src/app.py:1 tests/test_books.py:1",
                "src/books.py": "src/app.py:1 tests/test_books.py:1",
                "shelf.store": "src/app.py:2",
                "store": "src/app.py:2",
                "shelf": "",
                "web/util.ts": "web/main.ts:1",
                "./util": "web/main.ts:1",
                "util": "web/main.ts:1",
        }.items():
            with self.subTest(module):
                self.assertEqual(self.places("importers", module, status=0 if expected else 1),
                                 expected.split())

    def test_paths_and_names_of_any_kind(self):
        self.write(b"caf\xe9.py", b"def odd(): pass\nodd()\n")
        self.write("\x1b[2J.py", b"def control(): pass\n")
        self.write("notes.md", "# A b.c\n\n## it's \"größe\" %_\n".encode())
        self.index()
        row, = self.ask("callers", "odd")
        self.assertEqual((row["path_bytes"], row["candidates"][0]["path_bytes"]),
                         ("636166e92e7079",) * 2)
        self.assertEqual(self.text("find", "control").split()[0], "\\x1b[2J.py:1")
        for arguments in ['it\'s "größe" %_'], ['"größe" %', "--substring"], ["größ", "--fuzzy"]:
            self.assertEqual(self.places("find", *arguments), ["notes.md:3"])
        self.assertEqual(self.text("outline", "notes.md").count("notes.md:"), 2)

    def test_several_definitions_are_never_one(self):
        for number in range(9):
            self.write(f"many/m{number}.py", b"def many(): pass\n")
        self.write("many/use.py", b"many()\n")
        self.index()
        row, = self.ask("callers", "many")
        self.assertEqual((len(row["candidates"]), row["candidate_count"], row["within"]),
                         (5, 9, None))
        self.assertIn("and 4 more", self.text("callers", "many"))

    def test_a_limit_is_said(self):
        for number in range(150):
            self.write(f"many/m{number}.py", b"def many(): pass\nmany()\n")
        self.index()
        for command in "find", "callers", "references":
            done = self.run_tool(command, "many", "--format", "json")
            rows = self.records(done.stdout)
            self.assertEqual((len(rows), rows[-1]), (101, {"answer": "cut", "shown": 100}))
            self.assert_messages(done, "--limit 0 shows all")
            self.assertEqual(len(self.ask(command, "many", "--limit", "0")), 150)
            self.assertEqual(len(self.ask(command, "many", "--limit", "7")), 8)

    def test_changed(self):
        self.index()
        self.assertEqual(self.ask("changed", status=1), [])
        self.write("new.py")
        self.write("binary.py", b"\0")
        os.utime(self.folder / "src/app.py")
        self.write("src/books.py", b"x = 1\n")
        os.remove(self.folder / "go/find.go")
        before = (self.folder / ".treesitter-engine/index.sqlite").read_bytes()
        self.assertEqual([(row["change"], row["path"]) for row in self.ask("changed")],
                         [("removed", "go/find.go"), ("added", "new.py"),
                          ("changed", "src/books.py")])
        self.assertEqual((self.folder / ".treesitter-engine/index.sqlite").read_bytes(), before)
        self.index()
        self.assertEqual(self.ask("changed", status=1), [])

    def test_stats(self):
        self.index()
        row, = self.ask("stats")
        self.assertEqual(row["languages"], [
            {"language": "go", "files": 1, "symbols": 3},
            {"language": "python", "files": 6, "symbols": 11},
            {"language": "typescript", "files": 2, "symbols": 3}])
        self.assertTrue(row["is_complete"])
        self.write("src/books.py", b"def one(): pass\n")
        self.index()
        self.assertEqual(self.ask("stats")[0]["languages"][1]["symbols"], 7)


class Text(QuestionsTest):
    def test_lines(self):
        self.index()
        self.assertEqual(self.text("find", "search", "--language", "python"), (
            "src/books.py:4         method         Catalogue.search  def search(self, words):\n"
            "tests/test_books.py:2  function       search            def search():\n"))
        self.assertEqual(self.text("callers", "put", "--in", "src"), (
            "src/app.py:7  call           put  in main\n"
            "    may be src/shelf/store.py:1  function put  (its module is imported here)\n"))
        self.assertEqual(self.text("find", "put", "--in", "other", cwd=self.folder / "src")
                         .split()[0], "../other/put.py:1")
        self.assertIn("books.py:11  function       load           def load(path):\n"
                      "books.py:12  function         inner        def inner():\n",
                      self.text("outline", "books.py", cwd=self.folder / "src"))

    def on_terminal(self, width, *arguments, **environment):
        master, slave = pty.openpty()
        fcntl.ioctl(slave, termios.TIOCSWINSZ, struct.pack("HHHH", 24, width, 0, 0))
        child = subprocess.Popen([TOOL, *arguments], stdout=slave, cwd=self.folder,
                                 env={"TERM": "xterm", **environment})
        os.close(slave)
        output = b""
        try:
            while piece := os.read(master, 65536):
                output += piece
        except OSError:  # the other end is closed
            pass
        os.close(master)
        child.wait(timeout=TIMEOUT)
        return output.decode().replace("\r\n", "\n")

    def test_terminals(self):
        self.write("src/wide.py", "def wide(a='表示する文字列' * 9, b='e\u0301' * 30): pass\n".encode())
        self.index()
        for width in 30, 40, 60, 80, 200:
            for question in (["find", "load"], ["callers", "put"], ["outline", "src/books.py"],
                             ["find", "wide"]):
                text = self.on_terminal(width, *question, NO_COLOR="1")
                self.assertNotIn("\x1b", text)
                self.assertLessEqual(max(map(columns, text.splitlines())), width, text)
        self.assertIn("\x1b[1mload\x1b[0m", self.on_terminal(80, "find", "load"))
        self.assertNotIn("\x1b", self.on_terminal(80, "find", "load", TERM="dumb"))
        self.assertNotIn("\x1b", self.text("find", "load"))


class Refused(QuestionsTest):
    def refused(self, part, *arguments):
        done = self.run_tool(*arguments)
        self.assertEqual((done.returncode, done.stdout), (2, b""), done.stderr)
        self.assertIn(part, done.stderr.decode())

    def test_without_an_index(self):
        for command in ["find", "x"], ["callees", "x"], ["changed"], ["stats"]:
            self.refused("`treesitter-engine index` makes one", *command)
        self.assertFalse((self.folder / ".treesitter-engine").exists())
        self.write("empty.sqlite", b"")
        self.refused("is empty", "find", "x", "--database", "empty.sqlite")
        self.write("text.sqlite", b"no database" * 99)
        self.refused("is no index", "find", "x", "--database", "text.sqlite")
        self.refused("No such file", "find", "x", "--repository", "none")

    def test_of_another_version_or_damaged(self):
        self.index()
        database = self.folder / ".treesitter-engine/index.sqlite"
        shutil.copy(database, self.folder / "damaged.sqlite")
        with sqlite3.connect(database) as connection:
            connection.execute("UPDATE meta SET value = 'schema 1, ' || value "
                               "WHERE key = 'made_by'")
        self.refused("another version", "find", "load")
        with sqlite3.connect(database) as connection:
            connection.execute("UPDATE meta SET value = replace(substr(value, 11), 'engine ', "
                               "'engine 9') WHERE key = 'made_by'")
        self.assertEqual(self.places("find", "put"), ["other/put.py:1", "src/shelf/store.py:1"])
        done = self.run_tool("changed")
        self.assertEqual((done.returncode, done.stdout), (0, b""))
        self.assert_messages(done, "would be made anew")
        content = bytearray((self.folder / "damaged.sqlite").read_bytes())
        content[4096:] = os.urandom(len(content) - 4096)
        (self.folder / "damaged.sqlite").write_bytes(content)
        self.refused("damaged", "find", "load", "--database", "damaged.sqlite")

    def test_wrong_use(self):
        self.index()
        for arguments, part in [
                (["find"], "no NAME is given"), (["find", ""], "no NAME is given"),
                (["find", "a", "b"], "unexpected argument 'b'"),
                (["find", "a", "--kind", "klass"], "--kind"),
                (["find", "a", "--language", "pyhton"], "pyhton"),
                (["find", "a", "--prefix", "--fuzzy"], "exclude each other"),
                (["search", "+", "-"], "'+ -' has no word"), (["find", "a", "--limit", "-1"], "-1"),
                (["outline", "--prefix", "x"], "unknown option '--prefix'"),
                (["stats", "x"], "unexpected argument 'x'")]:
            with self.subTest(arguments):
                self.refused(part, *arguments)

    def test_while_it_is_written(self):
        self.index()
        for number in range(800):
            self.write(f"many/m{number}.py", FILES["src/books.py"].encode())
        run = subprocess.Popen([TOOL, "index"], cwd=self.folder, stderr=subprocess.PIPE)
        asked = 0
        while run.poll() is None or asked == 0:
            self.assertEqual(self.places("find", "put"), ["other/put.py:1", "src/shelf/store.py:1"])
            asked += 1
        run.communicate(timeout=TIMEOUT)
        self.assertEqual(run.returncode, 0)
        self.assertEqual(len(self.ask("find", "Catalogue", "--limit", "0")), 801)


class Plans(QuestionsTest):
    def test_no_question_reads_all(self):
        """No statement of the questions makes SQLite scan a whole table, by its own plan."""
        self.index()
        folder = pathlib.Path(__file__).parent.parent / "index"
        asked = []
        for path in folder.glob("*.cpp"):
            if path.stem in ("reader", "name_search", "symbol_questions", "use_questions"):
                text = re.sub(r'"\s*"', "", path.read_text())
                text = re.sub(r'"\)\s*\+\s*IN_FILE', 'id >= ?1 << 24 AND id < (?1 + 1) << 24"', text)
                asked += re.findall(r'"(SELECT [^"]*)"', text)
        self.assertGreater(len(asked), 18, asked)
        with sqlite3.connect(self.folder / ".treesitter-engine/index.sqlite") as connection:
            for question in asked:
                count = len(set(re.findall(r"\?\d", question))) or question.count("?")
                plan = connection.execute("EXPLAIN QUERY PLAN " + question, ["x"] * count)
                # A search in a virtual table's index is called a scan too.
                self.assertFalse([row for row in plan.fetchall() if row[3].startswith("SCAN") and
                                  "VIRTUAL TABLE INDEX 0:M" not in row[3]], question)


if __name__ == "__main__":
    unittest.main()
