#!/usr/bin/env python3
"""Tags files: their content, and whether readtags and vim can use them.

    ctags_test.py BUILD/treesitter-engine [options of unittest]

readtags is the reader of universal-ctags. The tests that need it or vim are skipped where it is missing.
"""
import os
import shutil
import subprocess
import tempfile
import unittest

from support.tool_case import SOURCE, TIMEOUT, ToolTest

# By path: a source, and the lines that it gives under the navigation rules.
TABLE = {
    "pkg/job.py": (SOURCE, [
        'Job\tpkg/job.py\t1;"\tclass\tline:1\tlanguage:python\taccess:public\tend:5',
        'run\tpkg/job.py\t4;"\tmethod\tline:4\tlanguage:python\tclass:Job\taccess:public\tend:5']),
    # Scopes that are declared in another file or further below, a scope of several names, and the nearest
    # of two declarations of a scope.
    "a.go": (b"package p\nfunc (t *T) M() {}\ntype T struct{}\nfunc (u *U) N() {}\n", [
        'M\ta.go\t2;"\tmethod\tline:2\tlanguage:go\tclass:T\taccess:public\tend:2',
        'N\ta.go\t4;"\tmethod\tline:4\tlanguage:go\tunknown:U\taccess:public\tend:4',
        'T\ta.go\t3;"\tclass\tline:3\tlanguage:go\taccess:public\tend:3',
        'p\ta.go\t1;"\tmodule\tline:1\tlanguage:go\taccess:public\tend:1']),
    "a.cs": (b"namespace A.B { class X { void M() {} } }", [
        'A.B\ta.cs\t1;"\tmodule\tline:1\tlanguage:csharp\taccess:public\tend:1',
        'M\ta.cs\t1;"\tmethod\tline:1\tlanguage:csharp\tclass:A.B.X\tend:1',
        'X\ta.cs\t1;"\tclass\tline:1\tlanguage:csharp\tmodule:A.B\tend:1']),
    "a.ts": (b"class A { x() {} }\nnamespace A { function y() {} }\n", [
        'A\ta.ts\t1;"\tclass\tline:1\tlanguage:typescript\tend:1',
        'A\ta.ts\t2;"\tmodule\tline:2\tlanguage:typescript\tend:2',
        'x\ta.ts\t1;"\tmethod\tline:1\tlanguage:typescript\tclass:A\tend:1',
        'y\ta.ts\t2;"\tfunction\tline:2\tlanguage:typescript\tmodule:A\tend:2']),
    "a.php": (b"<?php\nnamespace A\\B;\nclass C {}\n", [
        'A\\\\B\ta.php\t2;"\tmodule\tline:2\tlanguage:php\taccess:public\tend:2',
        'C\ta.php\t3;"\tclass\tline:3\tlanguage:php\tmodule:A.B\taccess:public\tend:3']),
    # Names, scopes and paths with characters that the format must escape.
    "t\t n\n\\\x7f.json": (b'{" lead": 1, "!bang\x01": {"\xc3\xa9": 1}, "": 2}', [
        '\\x20lead\tt\\t n\\n\\\\\\x7F.json\t1;"\tvariable\tline:1\tlanguage:json\tend:1',
        '\\x21bang\\x01\tt\\t n\\n\\\\\\x7F.json\t1;"\tvariable\tline:1\tlanguage:json\tend:1',
        'é\tt\\t n\\n\\\\\\x7F.json\t1;"\tvariable\tline:1\tlanguage:json'
        '\tvariable:!bang\\x01\tend:1']),
}


class Tags(ToolTest):
    def tags(self, *arguments, status=0, **options):
        """The lines after the head of the tags file, which must be sorted. The file is left as `tags`."""
        done = self.run_tool("parse", "--format", "ctags", *arguments, **options)
        self.assertEqual(done.returncode, status, done.stderr)
        self.write("tags", done.stdout)
        lines = done.stdout.split(b"\n")
        self.assertEqual(lines.pop(), b"")
        self.assertEqual(lines, sorted(lines))
        head = [line for line in lines if line.startswith(b"!_TAG_")]
        self.assertIn(b"!_TAG_FILE_FORMAT\t2\t/extended format/", head)
        self.assertIn(b"!_TAG_FILE_SORTED\t1\t/0=unsorted, 1=sorted, 2=foldcase/", head)
        return lines[len(head):]

    def write_table(self):
        for path, (content, _) in TABLE.items():
            self.write(path, content)

    def need(self, program):
        if not shutil.which(program):
            self.skipTest(program + " is missing")

    def test_every_symbol_has_a_line_that_says_where_it_stands(self):
        self.write_table()
        for path, (_, expected) in TABLE.items():
            with self.subTest(path):
                lines = [line.decode() for line in self.tags("--rules", "navigation", path)]
                self.assertEqual(lines, expected)
        expected = sorted(line.encode() for _, lines in TABLE.values() for line in lines)
        for jobs in ("1", "3"):
            self.assertEqual(self.tags("-j", jobs, "--rules", "navigation", *TABLE), expected)

    def test_paths_keep_their_bytes(self):
        self.write(b"\xff.py")
        self.assertEqual(self.tags(b"\xff.py")[0].split(b"\t")[1], b"\xff.py")

    def test_files_that_fail_are_told_and_lose_nothing_else(self):
        self.write("bad.java", b'class A { String s = "\xff"; }\n')
        self.write("z.py")
        options = ("--format", "ctags", "no.py", "bad.java", "z.py", "LICENSE")
        done = self.run_tool("parse", *options)
        self.assertEqual((done.returncode, done.stdout.count(b"\tz.py\t")), (1, 2))
        self.assert_messages(done, "no.py: Failed to read", "bad.java: ", "LICENSE: Failed to read")
        # After a fatal error nothing is printed: an incomplete tags file would look complete.
        done = self.run_tool("parse", "--format", "ctags", "z.py", "--files-from", "no_list")
        self.assertEqual((done.returncode, done.stdout), (2, b""))

    def test_a_line_that_no_reader_takes_is_left_out_and_told(self):
        self.write("a.json", b'{"' + b"k" * 70000 + b'": {"scope_too": 1}, "b": 2}')
        done = self.run_tool("parse", "--format", "ctags", "a.json")
        self.assertEqual(done.returncode, 1)
        self.assertEqual([line.split(b"\t")[0] for line in done.stdout.splitlines()
                          if not line.startswith(b"!_TAG_")], [b"b"])
        self.assert_messages(done, "a.json: Tags left out, since their lines are longer than 64 "
                             "KiB: 2")

    def test_more_tags_than_are_held_in_memory(self):
        folder = "/".join(["n" * 200] * 19)
        keys = b",".join(b'"%d":1' % i for i in range(3000))
        for name in "abcd":
            self.write(f"{folder}/{name}.json", b"{" + keys + b"}")
        lines = self.tags("n" * 200)
        self.assertGreater(sum(map(len, lines)), 40 << 20)
        self.assertEqual([line.split(b"\t")[0] for line in lines],
                         sorted(b"%d" % i for i in range(3000) for _ in range(4)))
        done = self.run_tool("parse", "--format", "ctags", "n" * 200,
                             env={**os.environ, "TMPDIR": str(self.folder / "none")})
        self.assertEqual((done.returncode, done.stdout), (2, b""))
        self.assert_messages(done, "temporary file: No such file")
        self.assertEqual(sorted(os.listdir(self.folder)), ["n" * 200, "tags"])

    def test_the_tags_of_an_index_are_those_of_a_parse(self):
        self.write_table()
        self.write("long.json", b'{"' + b"k" * 70000 + b'": {"scope_too": 1}, "b": 2}')
        self.write(b"deep/er/\xff.py")
        self.write(".git/config", b"")
        other = tempfile.mkdtemp(prefix="tags_test_")
        self.addCleanup(shutil.rmtree, other)
        for rules in "navigation", "standard":
            for place, way in [(".", "."), ("deep/er", "../.."), (".git", ".."),
                               (other, str(self.folder))]:
                with self.subTest((rules, place)):
                    file = os.path.join(self.folder, place, "tags")
                    done = self.run_tool("index", "--rules", rules, "--tags", f"{place}/tags",
                                         "--exclude", "a.ts")
                    self.assertEqual(done.returncode, 1)
                    self.assertIn(b"long.json: Tags left out, since their lines", done.stderr)
                    parsed = self.run_tool("parse", "--rules", rules, "--format", "ctags",
                                           "--exclude", "a.ts", way,
                                           cwd=os.path.join(self.folder, place))
                    with open(file, "rb") as tags:
                        self.assertEqual(tags.read(), parsed.stdout)
                    self.assertEqual([name for name in os.listdir(os.path.dirname(file))
                                      if "tags" in name], ["tags"])
                    self.assertEqual(os.stat(file).st_mode & 0o777, 0o644 & ~os.umask(0o22))
        for file, part in [("none/tags", "No such file"), ("deep", "Is a directory")]:
            done = self.run_tool("index", "--tags", file)
            self.assertEqual(done.returncode, 2)
            self.assertIn(part, done.stderr.decode())
        self.assertEqual(os.listdir(self.folder / "deep"), ["er"])

    def readtags(self, *arguments, file="tags"):
        done = subprocess.run(["readtags", "-en", "-t", file, *arguments], check=True,
                              cwd=self.folder, stdout=subprocess.PIPE, timeout=TIMEOUT)
        return done.stdout.decode().splitlines()

    def test_readtags_finds_and_lists_the_tags(self):
        self.need("readtags")
        self.write_table()
        lines = self.tags("--rules", "navigation", *TABLE)
        done = self.run_tool("index", "--tags", "tags.of_index")
        self.assertEqual(done.returncode, 0, done.stderr)
        self.assertEqual(self.readtags("-", "run", file="tags.of_index"), [
            'run\t./pkg/job.py\t4;"\tkind:method\tline:4\tlanguage:python\tclass:Job'
            '\taccess:public\tend:5'])
        self.assertEqual(self.readtags("-", "run"), [
            'run\tpkg/job.py\t4;"\tkind:method\tline:4\tlanguage:python\tclass:Job'
            '\taccess:public\tend:5'])
        for name in ("A\\B", "M", "é"):
            self.assertTrue(self.readtags("-", name), name)
        listed = self.readtags("-l")
        self.assertEqual(len(listed), len(lines))
        for start in (" lead\t", "!bang\x01\t", 'A\\B\ta.php\t2;"\tkind:module\tline:2'):
            self.assertTrue(any(line.startswith(start) for line in listed), start)

    def test_vim_goes_to_the_tag(self):
        self.need("vim")
        for name in "abc":
            self.write(f"src/{name} {name}.py", SOURCE.replace(b"run", b"run_" + name.encode()))
        self.tags("src")
        self.run_tool("index", "--tags", "src/tags")
        for name, tags in [("run_b", "tags"), ("run_c", "tags"), ("run_a", "src/tags")]:
            subprocess.run(
                ["vim", "-Nes", "-u", "NONE", "-i", "NONE", "-c", "set tags=" + tags, "-c",
                 "tag " + name, "-c", "call writefile([expand('%'), line('.')], 'place')",
                 "-c", "qall!"], cwd=self.folder, timeout=TIMEOUT, check=False,
                stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
            letter = name[-1]
            self.assertEqual((self.folder / "place").read_text("utf-8"),
                             f"src/{letter} {letter}.py\n4\n")


if __name__ == "__main__":
    unittest.main()
