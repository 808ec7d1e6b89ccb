#!/usr/bin/env python3
"""The index of a repository: whatever happens to the files or to a run, it becomes what a fresh one is.

    index_command_test.py BUILD/treesitter-engine [--rounds N] [--kills N] [--readers N]
        [--seed N] [options of unittest]
"""
import concurrent.futures
import json
import math
import os
import resource
import shutil
import signal
import sqlite3
import subprocess
import sys
import time
import unittest


def taken(option, default):
    """The number after an option of this script. Both are removed from the arguments."""
    if option not in sys.argv:
        return default
    place = sys.argv.index(option)
    value = int(sys.argv[place + 1])
    del sys.argv[place:place + 2]
    return value


ROUNDS = taken("--rounds", 25)
KILLS = taken("--kills", 24)
READERS = taken("--readers", 8)
SEED = taken("--seed", 0)

from support.tool_case import TIMEOUT, TOOL  # noqa: E402  takes the first argument
from support.index_case import FOLDER, ChangingTest, IndexTest, dump, source  # noqa: E402

IndexTest.seed = SEED


def time_of_children():
    """The seconds of processor time that all children so far have taken."""
    used = resource.getrusage(resource.RUSAGE_CHILDREN)
    return used.ru_utime + used.ru_stime


class Changes(ChangingTest):
    def test_any_changes_end_in_what_a_fresh_index_is(self):
        self.write_some(40)
        self.assertEqual(self.git("init", "--quiet"), 0)
        for _ in range(ROUNDS):
            for _ in range(self.random.randrange(1, 6)):
                self.change()
            self.index()
            self.assert_fresh()

    def test_which_files_an_index_takes(self):
        """The options of a run hold for later runs without options. Each result is that of a fresh index."""
        for path in ("a.py", "b.js", "sub/c.py", ".h/d.py", "ignored/e.py", "sub/f.min.js"):
            self.write(path, source(self.random))
        self.write(".ignore", b"ignored\n")
        self.write("large.json", b"[" + b"1," * 600 + b"1]")
        self.write("binary.py", b"\0" * 1500)
        usual = ["a.py", "b.js", "large.json", "sub/c.py", "sub/f.min.js"]
        self.index()
        for options, expected, skipped, status in [
                ((), usual, ["3 hidden", "1 ignored, 1 binary"], 0),
                (("--exclude", "*.min.js", "--exclude", "/a*"), ["b.js", "large.json", "sub/c.py"],
                 ["2 excluded, 1 ignored"], 0),
                (("--type", ".py", "--no-ignore"), ["a.py", "ignored/e.py", "sub/c.py"],
                 ["3 of another type"], 0),
                (("--max-filesize", "1K"), usual + ["binary.py"], ["3 hidden", "1 ignored)"], 1),
                (("--max-filesize", "1300"), usual + ["binary.py"], ["3 hidden", "1 ignored)"], 1),
                (("--hidden",), [".h/d.py", *usual], ["1 ignored, 1 binary"], 0),
                (("--default-files",), usual, ["3 hidden", "1 ignored, 1 binary"], 0)]:
            with self.subTest(options):
                if options:
                    self.assertEqual(self.run_tool("changed").returncode, 1)
                self.index(*options, status=status)
                self.assert_fresh(*options, status=status)
                text = self.index(status=status)
                self.assertIn("0 changed", text)
                for part in skipped:
                    self.assertIn(part, text)
                self.assertEqual(self.run_tool("changed").stdout, b"")
                with sqlite3.connect(self.database) as connection:
                    taken = connection.execute(
                        "SELECT path FROM file WHERE language IS NOT NULL ORDER BY path")
                    self.assertEqual([os.fsdecode(path) for (path,) in taken], sorted(expected))
                    of_parse = [option for option in options if option != "--default-files"]
                    errors = [text for (text,) in connection.execute("SELECT text FROM error")]
                self.assertEqual(errors, [record["errors"][0] for record in
                                          self.parse(*of_parse, ".", status=None)
                                          if record["errors"]])
        self.index("--exclude", "a.py")
        self.assertIn("made anew", self.index("--rules", "standard"))
        self.assertEqual(self.counts("--rules", "standard"), (0, 4, 0))
        for arguments, part in [(("--type", "cobol"), "cobol"), (("--max-filesize", "x"), "'x'"),
                                (("--hidden", "--default-files"), "stands alone")]:
            done = self.run_tool("index", *arguments)
            self.assertEqual(done.returncode, 2)
            self.assertIn(part, done.stderr.decode())

    def test_what_is_not_looked_at_again(self):
        self.write_some(10)
        time.sleep(0.05)
        self.assertEqual(self.counts(), (10, 0, 0))
        modified = self.database.stat().st_mtime_ns
        self.assertEqual(self.counts(), (0, 10, 0))
        self.assertEqual(self.database.stat().st_mtime_ns, modified)
        path = self.folder / "d1/f1.py"
        for change, expected in [
                (lambda: os.utime(path), (0, 10, 0)),                       # the hash tells
                (lambda: path.write_bytes(path.read_bytes() + b"#"), (1, 9, 0)),
                (lambda: path.rename(self.folder / "d1/g.py"), (1, 9, 1)),
                (lambda: (self.folder / "d2/f2.py").unlink(), (0, 9, 1))]:
            change()
            self.assertEqual(self.counts(), expected)
        self.assert_fresh()

    def test_times_that_prove_nothing_are_not_kept(self):
        """A file whose time is not before the run may be written again within the same time."""
        self.write("a.py", b"a = f()\n")
        path = self.folder / "a.py"
        time.sleep(0.05)
        for after, is_kept in (3600, False), (-3600, True):
            when = time.time_ns() + after * 10**9
            os.utime(path, ns=(when, when))
            time.sleep(0.05)
            self.index()
            with sqlite3.connect(self.database) as connection:
                self.assertEqual(connection.execute("SELECT mtime FROM file").fetchone(),
                                 (when if is_kept else -1,))
        before = path.stat()
        path.write_bytes(b"b = f()\n")
        os.utime(path, ns=(before.st_atime_ns, before.st_mtime_ns))
        self.assertEqual(self.counts(), (1, 0, 0))
        self.assert_fresh()

    def test_paths_and_names_of_any_kind(self):
        self.write(b"caf\xe9\n.py", b"def f(): pass\n")
        self.write("b.md", "# A.b\n\n## c.\n\n## .d\n\n# e\n".encode())
        self.write("c.json", b'{"a.b": {"": {".": {"x": 1}}}, "nul\\u0000": {"y": 2}}')
        self.index()
        records = {record["path"]: record for record in self.parse("--rules", "navigation", ".")}
        with sqlite3.connect(self.database) as connection:
            paths = [path for (path,) in connection.execute("SELECT path FROM file ORDER BY path")]
        self.assertEqual(paths, [b"b.md", b"c.json", b"caf\xe9\n.py"])
        fqns = [row.split(", ")[4] for row in dump(self.database) if row.startswith("('symbol', 'b")]
        self.assertEqual(sorted(fqns), sorted(repr(symbol["fqn"]) for symbol in
                                              records["./b.md"]["symbols"]))

    def test_where_it_lies_and_whose_it_is(self):
        self.write("top/.git/config", b"")
        self.write("top/sub/deep/a.py")
        self.write("other/b.py")
        self.index("top/sub/deep")
        self.assertEqual((self.folder / "top" / FOLDER / ".gitignore").read_text(), "*\n")
        self.assertFalse((self.folder / "top/sub" / FOLDER).exists())
        self.index("other")
        self.write("other/x/c.py")
        self.assertEqual(self.counts("other/x"), (1, 1, 0))
        self.index("other", "--database", "o.sqlite")
        text = self.index("top", "--database", "o.sqlite", status=2)
        self.assertIn("is the index of", text)
        self.assertIn("made anew", self.index("other", "--rules", "standard"))
        self.assertEqual(self.counts("other", "--rules", "standard"), (0, 2, 0))
        # An index by a build of other sources is made anew, even if all versions are the same.
        digest = json.loads(self.run_tool("--version", "--json").stdout)["digest"]
        with sqlite3.connect(self.folder / "other" / FOLDER / "index.sqlite") as connection:
            done = connection.execute("UPDATE meta SET value = replace(value, ?, ?) WHERE value "
                                      "LIKE ?", (digest, "0" * 64, f"%{digest}%"))
            self.assertEqual(done.rowcount, 1)
        self.assertIn("made anew", self.index("other", "--rules", "standard"))


class Killed(IndexTest):
    def test_a_killed_run_is_continued(self):
        self.write_some(1500)
        start = time.monotonic()
        self.index("--database", "whole.sqlite")
        whole = time.monotonic() - start
        for number in range(KILLS):
            run = self.child()
            time.sleep(self.random.uniform(0, whole * 1.1))
            run.kill()
            run.communicate()
            for _ in range(self.random.randrange(3)):
                self.write(f"d1/k{self.random.randrange(50)}.py", source(self.random))
            if number % 6 == 5:
                self.index()
                self.assert_fresh()
                shutil.rmtree(self.folder / FOLDER)

    def test_a_file_that_kills_the_run_is_left_out(self):
        self.write_some(3)
        before = time_of_children()
        self.index("--database", "small.sqlite")
        seconds = max(1, math.ceil(3 * (time_of_children() - before)))  # enough for all but the killer
        self.write("killer.json", b"[" * 30_000_000)
        limit = {"preexec_fn": lambda: resource.setrlimit(resource.RLIMIT_CPU, (seconds, seconds))}
        run = self.child("--jobs", "1", **limit)
        run.communicate(timeout=TIMEOUT)
        if run.returncode >= 0:
            self.skipTest("the file was parsed in time")
        text = self.index("--jobs", "1", status=1, **limit)
        self.assertIn("killer.json: Parse error: the process that parsed it was ended", text)
        self.assertEqual(self.counts(status=1), (0, 4, 0))
        self.write("killer.json", b"[1]")
        self.assertEqual(self.counts(), (1, 3, 0))
        self.assert_fresh()

    def test_a_file_that_was_merely_under_way_is_parsed(self):
        self.write_some(3)
        os.mkdir(self.folder / FOLDER)
        (self.folder / FOLDER / "index.sqlite-running").write_bytes(
            b"d0/f0.py\0".ljust(8192, b"\0") + b"gone.py\0")
        self.assertEqual(self.counts(), (3, 0, 0))
        self.assertFalse((self.folder / FOLDER / "index.sqlite-running").exists())
        self.assert_fresh()


class Refused(IndexTest):
    def test_what_cannot_be_read_removes_nothing(self):
        self.write_some(14)
        self.index()
        before = dump(self.database)
        self.assertIn("No such file", self.index("missing", status=2))
        self.assertIn("is no folder", self.index("d1/f1.py", status=2))
        self.assertEqual(dump(self.database), before)

    @unittest.skipIf(os.geteuid() != 0, "becomes somebody else")
    def test_folders_without_permission(self):
        self.write_some(14)
        program = self.folder / "tool"
        shutil.copy(TOOL, program)
        subprocess.run(["chown", "-R", "nobody", self.folder], check=True)

        def become_nobody():
            os.setgroups([])
            os.setgid(65534)
            os.setuid(65534)
        options = {"preexec_fn": become_nobody, "executable": program}
        self.index(**options)
        before = dump(self.database)
        os.chmod(self.folder / "d1", 0)
        (self.folder / "d2/f2.py").unlink()
        self.assertIn("d1: Failed to read folder: ", self.index(status=1, **options))
        after = dump(self.database)
        self.assertEqual([row for row in before if "d1/" in row and "'d1/f" in row],
                         [row for row in after if "d1/" in row and "'d1/f" in row])
        self.assertFalse([row for row in after if "d2/f2.py" in row])
        os.chmod(self.folder / "d1", 0o755)
        os.chmod(self.folder / "d3/f3.py", 0)
        os.utime(self.folder / "d3/f3.py")
        self.assertIn("d3/f3.py: Failed to read file: ", self.index(status=1, **options))
        self.assertTrue([row for row in dump(self.database) if row.startswith("('symbol', 'd3/f3")
                         or row.startswith("('reference', 'd3/f3")])
        os.chmod(self.folder / "d3/f3.py", 0o644)
        self.index(**options)
        before = dump(self.database)
        os.chmod(self.folder, 0o311)
        self.assertIn("cannot read", self.index(status=2, **options))
        self.assertEqual(dump(self.database), before)
        shutil.rmtree(self.folder / FOLDER)
        os.chmod(self.folder, 0o555)
        self.assertIn("cannot make", self.index(status=2, **options))

    def test_what_is_no_index_is_left_as_it_is(self):
        self.write_some(3)
        with sqlite3.connect(self.folder / "other.sqlite") as connection:
            connection.execute("CREATE TABLE t(x)")
        self.write("text.sqlite", b"no database at all, but longer than a header " * 9)
        self.write("short.sqlite", b"x")
        for name, part in [("other.sqlite", "of something else"), ("text.sqlite", "no index"),
                           ("short.sqlite", "no index"), ("d1", "no regular file")]:
            path = self.folder / name
            before = path.read_bytes() if path.is_file() else None
            self.assertIn(part, self.index("--database", name, status=2))
            self.assertEqual(path.read_bytes() if path.is_file() else None, before)

    def test_a_damaged_index(self):
        self.write_some(300)
        self.index()
        content = bytearray(self.database.read_bytes())
        for start in range(4096, len(content), 8192):
            content[start:start + 4096] = self.random.randbytes(4096)
        self.database.write_bytes(content)
        self.write_some(300)
        self.assertIn("is damaged", self.index(status=2))

    def test_a_full_disk(self):
        self.write_some(300)
        # Not 0: the thread sanitizer writes a file when the program starts.
        for size in 1, 1000, 50_000, 200_000:
            limit = {"preexec_fn":
                     lambda: resource.setrlimit(resource.RLIMIT_FSIZE, (size, size))}
            text = self.index(status=2, **limit)
            self.assertTrue("cannot write" in text or "index" in text, text)
        self.index()
        self.assert_fresh()

    def wait_for_writer(self):
        """Until the first run of all has the lock of the index."""
        lock = self.folder / FOLDER / "index.sqlite-lock"
        self.wait_until(lambda: lock.exists() and lock.read_text())

    def test_one_writer_at_a_time_and_readers_who_never_wait(self):
        self.write_some(1500)
        first = self.child()
        self.wait_for_writer()
        first.send_signal(signal.SIGSTOP)
        self.assertIn(f"is being written by process {first.pid} on ", self.index(status=2))
        first.send_signal(signal.SIGCONT)
        first.communicate(timeout=TIMEOUT)
        self.assertEqual(first.returncode, 0)
        with sqlite3.connect(self.database) as connection:
            connection.execute("BEGIN")
            before = connection.execute("SELECT count(*) FROM symbol").fetchone()
            shutil.rmtree(self.folder / "d1")
            self.index()
            self.assertEqual(connection.execute("SELECT count(*) FROM symbol").fetchone(), before)
        self.assert_fresh()

    def test_readers_see_whole_files(self):
        """All functions of a file are of one version, so they must be so in each answer too."""
        def write(version):
            for number in range(files):
                self.write(f"m{number}.py", b"".join(
                    b"def v%d_%d():\n    hub()\n" % (version, i) for i in range(5 + version)))

        def ask():
            is_last = False
            while not is_last:
                is_last = run.poll() is not None
                for question in ["outline", "m77.py"], ["callers", "hub", "--limit", "0"]:
                    done = self.run_tool(*question, "--format", "json")
                    self.assertEqual(done.returncode, 0, done.stderr)
                    found = {}
                    for row in self.records(done.stdout):
                        symbol = row.get("within", row)
                        found.setdefault(row["path"], []).append(symbol["name"])
                    for path, names in found.items():
                        version = names[0][1:].partition("_")[0]
                        self.assertEqual(names, [f"v{version}_{i}" for i in
                                                 range(5 + int(version))], path)
                    answers.append(len(found))

        files = 100 + 15 * READERS
        answers = []
        write(0)
        self.index()
        for version in 1, 2:
            write(version)
            run = self.child()
            with concurrent.futures.ThreadPoolExecutor(READERS) as pool:
                for future in [pool.submit(ask) for _ in range(READERS)]:
                    future.result()
            run.communicate(timeout=TIMEOUT)
            self.assertEqual(run.returncode, 0)
        self.assertEqual(set(answers), {1, files})
        self.assert_fresh()

    def test_a_run_that_is_interrupted_ends_by_the_signal(self):
        self.write_some(1500)
        run = self.child()
        self.wait_for_writer()
        run.send_signal(signal.SIGINT)
        run.communicate(timeout=TIMEOUT)
        self.assertIn(run.returncode, (-signal.SIGINT, 0))
        self.index()
        self.assert_fresh()


if __name__ == "__main__":
    unittest.main()
