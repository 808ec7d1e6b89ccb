"""What the tests of the index share: a repository with an index, and the content of an index by `dump`.

Whatever has happened to the files, to a run or to the disk, after the next run an index has the same rows
as a fresh one.
"""
import os
import random
import re
import shutil
import sqlite3
import subprocess

from support.tool_case import TIMEOUT, TOOL, ToolTest

FOLDER = ".treesitter-engine"
REFERENCE_KINDS = ["call", "import", "import_module", "type"]
SYMBOL_KINDS = "class function method interface type enum variable module constant".split()


def varints(blob):
    number = shift = last = 0
    for byte in blob:
        number |= (byte & 127) << shift
        shift += 7
        if byte < 128:
            last += number
            yield last
            number = shift = 0


def prefix_of(path):
    """The beginning of FQNs, for the plain names of files in these tests."""
    return os.path.splitext(path)[0].replace("/", ".")


class Content:
    """Reads all rows of an open index, and checks that they fit together."""

    def __init__(self, ask):
        self._ask = ask
        self._names = dict(ask("SELECT id, text FROM name"))
        self._scopes = {id: (parent, name) for id, parent, name in ask("SELECT * FROM scope")}
        self._paths = {id: os.fsdecode(path) for id, path in ask("SELECT id, path FROM file")}
        self._used_names = set()

    def rows(self):
        rows = [("file", os.fsdecode(path), *rest) for path, *rest in
                self._ask("SELECT path, size, language, hash FROM file")]
        rows += [("error", self._paths[file], number, text) for file, number, text in
                 self._ask("SELECT * FROM error")]
        rows += [*self._symbols(), *self._references(), *self._search_terms()]
        assert self._used_names == set(self._names), "names that nobody uses, or that are missing"
        return sorted(map(repr, rows))

    def _name(self, id):
        self._used_names.add(id)
        return self._names[id]

    def _scope_text(self, scope):
        parts = []
        while scope:
            scope, name = self._scopes[scope]
            parts.append(self._name(name))
        return ".".join(reversed(parts))

    def _symbols(self):
        used = {0}
        for id, name, scope, kind, *rest in self._ask("SELECT * FROM symbol"):
            parts = [prefix_of(self._paths[id >> 24])]
            parts += [self._scope_text(abs(scope))] if scope else []
            parts += [self._names[name]] if scope >= 0 else []
            yield ("symbol", self._paths[id >> 24], id & 0xFFFFFF, self._name(name), ".".join(parts),
                   SYMBOL_KINDS[kind], *rest)
            while abs(scope) not in used:
                used.add(abs(scope))
                scope = self._scopes[abs(scope)][0]
        assert used - {0} == set(self._scopes), "scopes that nobody uses"

    def _references(self):
        uses = {}
        for name, kind, file, lines in self._ask("SELECT * FROM reference"):
            uses.setdefault(file, []).append(name << 2 | kind)
            yield ("reference", self._paths[file], self._name(name), REFERENCE_KINDS[kind],
                   *varints(lines))
        assert {file: sorted(of) for file, of in uses.items()} == {
            file: list(varints(blob)) for file, blob in self._ask("SELECT * FROM file_use")}

    def _search_terms(self):
        for table in "name_trigram", "name_words", "symbol_words":
            self._ask(f"CREATE VIRTUAL TABLE temp.{table}_terms "
                      f"USING fts5vocab(main, {table}, instance)")
            for term, id in self._ask(f"SELECT term, doc FROM temp.{table}_terms"):
                yield (table, term, self._names[id] if table != "symbol_words" else
                       (self._paths[id >> 24], id & 0xFFFFFF))


def dump(database):
    """All rows of the index, with names in the place of ids, and the terms of its search tables."""
    with sqlite3.connect(f"file:{database}?mode=ro", TIMEOUT, uri=True) as connection:
        connection.execute("BEGIN")  # so that all is of one state, even while the index is written
        assert connection.execute("PRAGMA integrity_check").fetchall() == [("ok",)]
        return Content(connection.execute).rows()


def source(random_):
    """A random module of Python, with names that other modules have too."""
    lines = [f"import word{random_.randrange(9)}"]
    for _ in range(random_.randrange(6)):
        name = random_.choice(["value", "oneWord", "two_words", "Word2", "größe"])
        lines += [f"class C{random_.randrange(5)}:",
                  f"    def {name}{random_.randrange(30)}(self):",
                  f'        """Says {name} {random_.randrange(5)}."""',
                  f"        return call{random_.randrange(40)}(self.{name}())"]
    return "\n".join(lines + [""]).encode()


class IndexTest(ToolTest):
    seed = 0

    def setUp(self):
        super().setUp()
        self.database = self.folder / FOLDER / "index.sqlite"
        self.random = random.Random(f"{self.id()} {self.seed}")

    def index(self, *arguments, status=0, **options):
        done = self.run_tool("index", "--verbose", *arguments, **options)
        self.assertEqual(done.returncode, status, done.stderr)
        self.assertEqual(done.stdout, b"")
        return done.stderr.decode("utf-8", "replace")

    def counts(self, *arguments, **options):
        """Runs the index, and gives how many files were (changed, unchanged, removed)."""
        text = self.index(*arguments, **options)
        return tuple(map(int, re.search(r"(\d+) changed, (\d+) unchanged, (\d+) removed",
                                        text).groups()))

    def fresh_dump(self, *arguments, status=0):
        fresh = self.folder / "fresh.sqlite"
        self.index("--database", fresh, *arguments, status=status)
        rows = dump(fresh)
        for path in self.folder.glob("fresh.sqlite*"):
            path.unlink()
        return rows

    def assert_fresh(self, *arguments, status=0):
        self.assertEqual(dump(self.database), self.fresh_dump(*arguments, status=status))

    def write_some(self, count):
        for number in range(count):
            self.write(f"d{number % 7}/f{number}.py", source(self.random))

    def child(self, *arguments, **options):
        return subprocess.Popen([TOOL, "index", *arguments], cwd=self.folder,
                                stderr=subprocess.PIPE, **options)


class ChangingTest(IndexTest):
    def git(self, *arguments):
        return subprocess.run(["git", "-c", "user.name=a", "-c", "user.email=a@b", *arguments],
                              cwd=self.folder, check=False, capture_output=True).returncode

    def switch(self):
        """Commits everything, and checks out another branch."""
        branch = f"branch{self.random.randrange(4)}"
        self.git("add", "--all")
        self.git("commit", "--quiet", "--message", "x")
        if self.git("checkout", "--quiet", branch) != 0:
            self.assertEqual(self.git("checkout", "--quiet", "-b", branch), 0)

    def change(self):
        """Makes a random change to the files of `write_some`."""
        if len(list(self.folder.glob("d*/*.py"))) < 20:
            self.write_some(40)
        paths = sorted(self.folder.glob("d*/*.py"))
        path = self.random.choice(paths)
        match self.random.randrange(9):
            case 0:
                path.unlink()
            case 1:
                path.rename(path.with_name(f"moved{self.random.randrange(99)}.py"))
            case 2:
                shutil.rmtree(path.parent)
            case 3:
                path.parent.rename(self.folder / f"d{self.random.randrange(1000, 9999)}")
            case 4:
                os.utime(path)
            case 5:
                path.write_bytes(b"\0" * 9)
            case 6:
                self.switch()
            case _:
                self.write(f"d{self.random.randrange(7)}/n{self.random.randrange(40)}.py",
                           source(self.random))
                if path.exists():
                    path.write_bytes(source(self.random))
