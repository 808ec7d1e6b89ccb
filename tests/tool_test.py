#!/usr/bin/env python3
"""What the tool prints: records, which paths it takes, contents from streams, help and versions.

    tool_test.py BUILD/treesitter-engine [options of unittest]
"""
import hashlib
import json
import os
import pathlib
import subprocess
import unittest

from support.tool_case import (LANGUAGES, RESULT_FIELDS, SOURCE, SYMBOL_FIELDS, TIMEOUT, TOOL,
                               ToolTest)


class Records(ToolTest):
    def test_a_result_has_all_fields_in_their_order(self):
        self.write("pkg/job.py")
        [record] = self.parse("pkg/job.py")
        self.assertEqual(list(record), RESULT_FIELDS)
        self.assertEqual(record["path"], "pkg/job.py")
        self.assertEqual(record["language"], "python")
        self.assertEqual(record["content_hash"], hashlib.sha256(SOURCE).hexdigest())
        self.assertEqual(record["errors"], [])
        job, _ = record["symbols"]
        self.assertEqual(list(job), SYMBOL_FIELDS)
        self.assertEqual((job["fqn"], job["docstring"], job["id"]), ("pkg.job.Job", "Runs.", None))
        [reference] = record["references"]
        self.assertEqual(list(reference.items()), [("name", "go"), ("line", 5), ("kind", "call")])

    def test_a_named_file_of_unknown_language_is_answered_and_no_failure(self):
        self.write("LICENSE")
        self.assertEqual(self.parse("LICENSE"), [{"path": "LICENSE", "language": None}])

    def test_an_error_that_reaches_the_caller_takes_the_files_place(self):
        self.write("a.py")
        self.write("bad.py", b"def \xff\xfe(): pass\nx = \"\xff\"\nf\xff()\n")
        self.write("bad.java", b'class A { String s = "\xff"; }\n')
        self.write("z.py")
        done = self.run_tool("parse", "a.py", "bad.java", "z.py")
        self.assertEqual(done.returncode, 1)
        records = self.records(done.stdout)
        self.assertEqual([record["path"] for record in records], ["a.py", "bad.java", "z.py"])
        self.assertEqual(list(records[1]), ["path", "raised"])
        self.assertIn("0xff", records[1]["raised"])
        self.assert_messages(done, "bad.java: " + records[1]["raised"])

    def test_line_ends_and_control_characters_in_names_survive(self):
        name = "a\u0085b\u2028c\x1cd\x7fe\r\nf\\g"
        self.write(name + ".py", b"def f(a='\xc2\x85\xe2\x80\xa8\x1c'): pass\n")
        [record] = self.parse(name + ".py")
        self.assertEqual(record["path"], name + ".py")
        self.assertEqual(record["symbols"][0]["signature"], "def f(a='\u0085\u2028\x1c'): pass")


class Paths(ToolTest):
    def test_folders_are_walked_in_the_order_of_their_paths(self):
        names = ["b.py", "a/x.py", "a.py", "a/c/y.py", "a/B.py", "a-b.py", "ab/z.py", "é.py"]
        for name in names:
            self.write("top/" + name)
        expected = sorted("top/" + name for name in names)
        self.assertEqual(self.paths("top"), expected)
        self.assertEqual(self.paths("top/"), expected)
        self.assertEqual(self.paths("./top"), ["./" + path for path in expected])
        self.assertEqual(self.paths("."), ["./" + path for path in expected])
        self.assertEqual(self.paths("top/b.py", "top/a"),
                         ["top/b.py", "top/a/B.py", "top/a/c/y.py", "top/a/x.py"])

    def test_hidden_entries_and_unknown_languages_in_folders_are_left_out(self):
        for name in ["top/.git/a.py", "top/.b.py", "top/README", "top/c.py", "top/.babelrc"]:
            self.write(name)
        self.assertEqual(self.paths("top"), ["top/c.py"])
        self.assertEqual(self.paths("top/.git", "top/.b.py"), ["top/.git/a.py", "top/.b.py"])

    def test_links_are_followed_only_where_they_are_named(self):
        self.write("top/a.py")
        (self.folder / "top/file_link.py").symlink_to("a.py")
        (self.folder / "top/loop").symlink_to("..")
        (self.folder / "dangling.py").symlink_to("nowhere.py")
        (self.folder / "link").symlink_to("top")
        self.assertEqual(self.paths("top"), ["top/a.py"])
        self.assertEqual(self.paths("link"), ["link/a.py"])
        self.assertEqual(self.paths("top/file_link.py"), ["top/file_link.py"])
        [record] = self.parse("dangling.py", status=1)
        self.assert_unreadable(record, "dangling.py", "python", "No such file")

    def test_links_to_folders_are_left_out_in_lists(self):
        self.write("top/a.py")
        (self.folder / "link").symlink_to("top")
        (self.folder / "link.py").symlink_to("top/a.py")
        done = self.run_tool("parse", "-v", "--files-from", "-", input=b"link\nlink.py\nlink/\ntop")
        self.assertEqual([record["path"] for record in self.records(done.stdout)],
                         ["link.py", "link/a.py", "top/a.py"])
        self.assert_messages(done, "3 files, 1 skipped (1 linked)")

    def test_what_folders_are_walked_for(self):
        for name in ["a.py", "b.rb", "c.js", "[d]/a.py", ".h/a.py", ".git/a.py", "LICENSE"]:
            self.write("r/" + name)
        self.write("r/.gitignore", b"*.rb\n")
        self.write("r/.ignore", b"[[]d]/\n")
        for options, taken in [
                ([], "a.py c.js"),
                (["--hidden"], ".h/a.py a.py c.js"),
                (["--no-ignore"], "[d]/a.py a.py b.rb c.js"),
                (["--type", "PY", "--type=golang"], "a.py"),
                (["--exclude", "[ab].*", "--exclude=[!r]*.js"], ""),
                (["--exclude=[c]", "--exclude", "{}", "--exclude", "!b.rb"], "a.py b.rb c.js"),
                (["--no-ignore", "--hidden", "--exclude", "/*.py"], ".h/a.py [d]/a.py b.rb c.js")]:
            self.assertEqual(self.paths(*options, "r"), ["r/" + path for path in taken.split()])
        self.assertEqual(self.paths("--type", "go", "--exclude", "*", "r/b.rb", "r"), ["r/b.rb"])
        done = self.run_tool("parse", "--type", "pyton", "r")
        self.assertEqual((done.returncode, done.stdout), (2, b""))
        self.assertIn(b"'python'", done.stderr)

    def test_ignore_rules_that_cannot_be_read_are_said(self):
        self.write("r/a.py")
        os.mkfifo(self.folder / "r/.ignore")
        rules, file = self.parse("r", status=1)
        self.assert_unreadable(rules, "r/.ignore", None, "rules: [Errno 22] Not a regular file")
        self.assertEqual(file["path"], "r/a.py")

    def test_names_that_are_no_utf8_stand_beside_their_exact_bytes(self):
        path = b"top/\xff\xe2\x82 \xc3\xa9.py"
        self.write(path)
        for arguments in (["top"], [path]):
            [record] = self.parse(*arguments)
            self.assertEqual(list(record), ["path", "path_bytes", *RESULT_FIELDS[1:]])
            self.assertEqual(record["path"], "top/\ufffd\ufffd é.py")
            self.assertEqual(bytes.fromhex(record["path_bytes"]), path)
            self.assertEqual(record["path_bytes"], path.hex())
            self.assertEqual(record["symbols"][0]["fqn"], "top.\ufffd\ufffd é.Job")

    def test_names_with_line_feeds_and_terminal_commands_reach_no_terminal(self):
        path = "a\nb\x1b[2J\\.py"
        self.write(path)
        [record] = self.parse(path)
        self.assertEqual(record["path"], path)
        done = self.run_tool("parse", "--format", "text", path)
        self.assertEqual(done.stdout.splitlines()[0], rb"file a\nb\x1b[2J\\.py  python")
        done = self.run_tool("parse", "no" + path)
        self.assert_messages(done, r"noa\nb\x1b[2J\\.py: Failed")

    def test_names_that_look_like_something_else(self):
        names = ["[id]", "[a,b]", "{}", "++", "%%", "-x", "--jobs", "--", "parse", "languages"]
        for name in names:
            self.write(name + "/q.py")
        self.assertEqual(self.paths("--", *names), [name + "/q.py" for name in names])
        self.assertEqual(self.paths("[id]", "parse", "{}", "languages", "++", "[a,b]"),
                         ["[id]/q.py", "parse/q.py", "{}/q.py", "languages/q.py", "++/q.py",
                          "[a,b]/q.py"])

    def test_files_whose_path_is_too_long_for_the_system_are_parsed(self):
        name = "n" * 200
        folder = os.open(self.folder, os.O_RDONLY)
        self.addCleanup(subprocess.run, ["rm", "-rf", self.folder / name], check=True)
        for _ in range(25):
            os.mkdir(name, dir_fd=folder)
            inner = os.open(name, os.O_RDONLY, dir_fd=folder)
            os.close(folder)
            folder = inner

        def write(name, content):
            with os.fdopen(os.open(name, os.O_WRONLY | os.O_CREAT, dir_fd=folder), "wb") as file:
                file.write(content)
        write("a.py", SOURCE)
        write("b.py", b"\0")
        write("c.py", b"#" * 300)
        os.mkfifo("d.py", dir_fd=folder)
        os.close(folder)
        prefix = "/".join([name] * 25) + "/"
        first, large, fifo = self.parse("--max-filesize", "200", name, status=1)
        self.assertEqual((first["path"], first["content_hash"]),
                         (prefix + "a.py", hashlib.sha256(SOURCE).hexdigest()))
        self.assert_unreadable(large, prefix + "c.py", "python", "--max-filesize")
        self.assert_unreadable(fifo, prefix + "d.py", "python", "Not a regular file")


class Input(ToolTest):
    def test_standard_input(self):
        [record] = self.parse("--language", "python", "-", input=SOURCE)
        self.assertEqual(record["path"], "-")
        self.assertEqual(record["content_hash"], hashlib.sha256(SOURCE).hexdigest())
        self.assertEqual([symbol["fqn"] for symbol in record["symbols"]], ["-.Job", "-.Job.run"])

    def test_standard_input_that_is_empty_closed_or_a_folder(self):
        [record] = self.parse("--language", "python", "-", input=b"")
        self.assertEqual((record["symbols"], record["errors"]), ([], []))
        done = self.run_tool("parse", "--language", "go", "-", stdin=None,
                             preexec_fn=lambda: os.close(0))
        self.assertEqual(done.returncode, 1)
        self.assert_unreadable(self.records(done.stdout)[0], "-", "go", "Bad file descriptor")
        folder = os.open(self.folder, os.O_RDONLY)
        self.addCleanup(os.close, folder)
        [record] = self.parse("--language", "go", "-", status=1, stdin=folder)
        self.assert_unreadable(record, "-", "go", "directory")

    def test_standard_input_has_a_path_and_its_language_where_they_are_told(self):
        [record] = self.parse("--stdin-path", "pkg/job.py", "-", input=SOURCE)
        self.write("pkg/job.py")
        self.assertEqual([record], self.parse("pkg/job.py"))
        [record] = self.parse("--stdin-path", "[x]/.q", "-l", "python", "-", input=SOURCE)
        self.assertEqual((record["path"], record["language"]), ("[x]/.q", "python"))

    def test_standard_input_must_be_utf8(self):
        [record] = self.parse("--language", "python", "-", input=b"\xff", status=1)
        self.assertEqual(list(record), ["path", "raised"])
        self.assertIn("position 0", record["raised"])

    def test_a_forced_language_holds_for_files(self):
        self.write("a.txt", b"def f; end\n")
        self.write("top/b.py")
        self.write("list", b"a.txt\ntop\n")
        records = self.parse("--language", "ruby", "a.txt", "top/b.py", "no.py", "--files-from",
                             "list", status=1)
        self.assertEqual([record["language"] for record in records], ["ruby"] * 4 + [None])
        self.assertEqual(records[0]["symbols"][0]["fqn"], "a.f")
        self.assertEqual(records[3], records[0])
        self.assert_unreadable(records[4], "top", None, "is a folder")

    def test_languages_have_their_usual_names_too(self):
        self.write("a", b"")
        for name, language in [("JavaScript", "javascript"), ("js", "javascript"),
                               ("TS", "typescript"), ("tsx", "tsx"), ("py", "python"),
                               ("golang", "go"), ("rb", "ruby"), ("cs", "csharp"),
                               ("C#", "csharp"), ("rs", "rust"), ("yml", "yaml"),
                               ("md", "markdown")]:
            self.assertEqual(self.parse("-l", name, "a")[0]["language"], language)

    def test_a_forced_language_that_is_detected_anyway_changes_nothing(self):
        self.write("a.py", SOURCE + b"x = '\xff'\n")
        self.assertEqual(self.parse("a.py"), self.parse("--language", "python", "a.py"))

    def test_files_that_are_too_large_are_refused_unread(self):
        self.write("fits.py", b"#" * 1024)
        self.write("large.py", b"#" * 1025)
        self.write("huge.py", b"")
        os.truncate(self.folder / "huge.py", 1 << 42)
        huge, large = self.parse("-j2", "huge.py", "large.py", status=1)
        self.assert_unreadable(huge, "huge.py", "python", "--max-filesize")
        self.assertIn(str(1 << 42), huge["errors"][0])
        self.assertEqual(large["errors"], [])
        fits, large = self.parse("--max-filesize", "1k", "fits.py", "large.py", status=1)
        self.assertEqual(fits["errors"], [])
        self.assert_unreadable(large, "large.py", "python", "--max-filesize")
        self.assertEqual(self.parse("--max-filesize", "0", "large.py")[0]["errors"], [])
        for size, status in [(3, 0), (4, 1)]:
            [record] = self.parse("-l", "python", "--max-filesize", "3", "-", input=b"#" * size,
                                  status=status)
            self.assertEqual("--max-filesize" in str(record["errors"]), status == 1)

    def test_binary_files_are_left_out_in_folders_only(self):
        self.write("top/a.py")
        self.write("top/late.py", b"#" * 8192 + b"\0")
        for path, content in [("top/binary.py", b"x = 1\n\0"),
                              ("top/utf16.py", "x = 1\n".encode("utf-16"))]:
            self.write(path, content)
        self.assertEqual(self.paths("top"), ["top/a.py", "top/late.py"])
        self.assertEqual(self.paths("top/binary.py", "top/utf16.py", status=None),
                         ["top/binary.py", "top/utf16.py"])

    def test_lists_of_paths(self):
        names = ["a.py", " b .py", "[c].py", "d/e.py", "LICENSE"]
        for name in names:
            self.write(name)
        self.write("list", "\n".join(["a.py", "", " b .py", "[c].py", "d", "LICENSE"]).encode())
        expected = ["a.py", " b .py", "[c].py", "d/e.py", "LICENSE"]
        self.assertEqual(self.paths("--files-from", "list"), expected)
        content = (self.folder / "list").read_bytes()
        self.assertEqual(self.paths("--files-from", "-", input=content), expected)
        self.assertEqual(self.paths("--files-from", "list", "d"), ["d/e.py", *expected])
        self.assertEqual(self.paths("--files-from", "-", input=b""), [])

    def test_lists_separated_by_nul(self):
        self.write("a\nb.py")
        self.assertEqual(self.paths("-0", "--files-from", "-", input=b"a\nb.py\0a\nb.py"),
                         ["a\nb.py"] * 2)
        done = self.run_tool("parse", "--files-from", "-", input=b"a\0b.py\n")
        self.assertEqual((done.returncode, done.stdout), (2, b""))
        self.assert_messages(done, "--null")
        done = self.run_tool("parse", "-0", "--files-from", "-", input=b"a.py\n" * (1 << 18))
        self.assertEqual((done.returncode, done.stdout), (2, b""))
        self.assert_messages(done, "more than a MiB")

    def test_a_list_that_is_still_being_written_is_parsed_meanwhile(self):
        self.write("a.py")
        with subprocess.Popen([TOOL, "parse", "--jobs", "2", "--files-from", "-"],
                              stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                              cwd=self.folder) as process:
            for _ in range(3):
                process.stdin.write(b"a.py\n")
                process.stdin.flush()
                self.assertEqual(json.loads(process.stdout.readline())["path"], "a.py")
            process.stdin.close()
            self.assertEqual(process.wait(TIMEOUT), 0)


class Contents(ToolTest):
    def test_contents_get_the_records_of_files_of_these_bytes(self):
        files = {"a.py": SOURCE, "d/ b\"\u00e9\n\\.rb": b"def f; end", "empty.go": b"", "LICENSE": b"x",
                 "bad.java": b'class A { String s = "\xff"; }\n', "nul.py": b"x = 1\0", "\u00fc.py": b"\n\n",
                 "large.py": b"#" * 70001, "large": b"#" * 70001, "last.py": SOURCE * 3000}
        for path, content in files.items():
            self.write(path, content)
        subprocess.run(["git", "init", "-q", "."], cwd=self.folder, check=True)
        subprocess.run(["git", "add", "."], cwd=self.folder, check=True)
        # Git quotes the paths in its list, and `cat-file` hands them on as they are.
        names = subprocess.run(["git", "-c", "core.quotePath=true", "ls-files", "-s"], cwd=self.folder,
                               check=True, stdout=subprocess.PIPE).stdout.splitlines()
        wanted = b"".join(line.split(b" ")[1] + b" " + line.split(b"\t")[1] + b"\n" for line in names)
        stream = subprocess.run(["git", "cat-file", "--batch=%(objectsize) %(rest)"], input=wanted,
                                cwd=self.folder, check=True, stdout=subprocess.PIPE).stdout
        paths = "\0".join(sorted(files)).encode()
        for options in (["-j1"], ["-j2"], ["--max-filesize", "70000"], ["--skip-binary"],
                        ["--language", "python"], ["--format", "text", "--rules", "navigation"]):
            listed = self.run_tool("parse", *options, "-0", "--files-from", "-", input=paths)
            batch = self.run_tool("parse", *options, "--batch", input=stream)
            self.assertEqual(batch.stdout.splitlines(), listed.stdout.splitlines())
            self.assertEqual((batch.returncode, batch.stderr), (listed.returncode, listed.stderr))
            self.assertEqual(b"nul.py" in batch.stdout, "--skip-binary" not in options)

    def test_a_torn_stream_ends_the_run_behind_what_was_whole(self):
        whole = b"%d a.py\n%s\n" % (len(SOURCE), SOURCE)
        self.assertEqual(self.parse("--batch", input=b""), [])
        self.assertEqual(len(self.parse("--batch", input=whole * 2)), 2)
        for torn, part in [(whole[:-1], "within the content"), (whole[:9], "within the content"),
                           (whole[:3], "within a line"), (whole[:-1] + b"x", "no line feed"),
                           (b"abc missing\n", "size and a path"), (b"-1 a.py\n", "size and a path"),
                           (b"99999999999999999999 a.py\n", "size and a path"),
                           (b"7\n", "size and a path"), (b"7 \n1234567\n", "no path"),
                           (b'0 "a\\400.py"\n\n', "quotes"), (b'0 "a\n\n', "quotes"),
                           (b'0 "a\\"\n\n', "quotes"), (b'0 "a\\000.py"\n\n', "NUL"),
                           (b"1 " + b"a" * (1 << 20) + b"\n", "MiB"),
                           (b"%d a.py\n" % (1 << 62), "within the content")]:
            with self.subTest(torn=torn[:40]):
                done = self.run_tool("parse", "--batch", input=whole + torn)
                self.assertEqual(done.returncode, 2)
                self.assertEqual(len(self.records(done.stdout)), 1)
                self.assert_messages(done, part)
                self.assertIn(b"content 2: ", done.stderr)

    def test_a_list_tells_what_a_run_would_parse(self):
        for path in ("top/a.py", "top/README", "b.py"):
            self.write(path)
        self.write("top/x.py", b"\0")
        os.mkfifo(self.folder / "top/.ignore")
        size = len(SOURCE)
        records = self.parse("--list", "no.py", "top", "b.py", status=1)
        rules = records.pop(1)
        self.assert_unreadable(rules, "top/.ignore", None, "rules: [Errno 22]")
        self.assertEqual(records, [{"path": "no.py", "size": 0},
                                   {"path": "top/a.py", "size": size, "found": True},
                                   {"path": "top/x.py", "size": 1, "found": True},
                                   {"path": "b.py", "size": size}])
        # From a list of paths, without the files, the same ones as from a walk.
        paths = ["a.py", "no", "build/a.py", "build/kept.js", "d/build/a.rb", "d/build.py", ".a.py", ".git/a.py",
                 "d/.h/a.py", "a b\\n.py", "kept.js"]
        for path in paths:
            self.write("all/" + path)
        for options in ([], ["--hidden"], ["--exclude", "/build/", "--type", "py"],
                        ["--exclude", "build", "--exclude", "*.js", "--exclude", "!kept.js"]):
            walked = [record["path"].removeprefix("all/") for record in self.parse("--list", *options, "all")]
            listed = self.run_tool("parse", "--list", "--batch", "-0", *options,
                                   input="\0".join(sorted(paths)).encode())
            self.assertEqual(listed.stdout.decode().split("\0")[:-1], walked)


class Information(ToolTest):
    def test_help(self):
        for arguments in (["--help"], ["-h"], ["parse", "--help"], ["languages", "-h"], ["help"],
                          ["help", "languages"]):
            done = self.run_tool(*arguments)
            self.assertEqual((done.returncode, done.stderr), (0, b""))
            self.assertIn(b"Usage: treesitter-engine", done.stdout)
        text = self.run_tool("parse", "--help").stdout.decode()
        for option in ("--language", "--jobs", "--format", "--files-from", "--null", "--stdin-path",
                       "--max-filesize", "--hidden", "--no-ignore", "--exclude", "--type",
                       "--verbose", "PATH"):
            self.assertIn(option, text)
        self.assertEqual(self.run_tool("help", "parse").stdout.decode(), text)

    def test_version(self):
        done = self.run_tool("--version")
        self.assertEqual((done.returncode, done.stderr), (0, b""))
        self.assertEqual(self.run_tool("-V").stdout, done.stdout)
        lines = done.stdout.decode().splitlines()
        self.assertRegex(lines[0], r"\Atreesitter-engine \d+\.\d+\.\d+\Z")
        self.assertRegex(lines[1], r"\Atree-sitter \d+\.\d+\.\d+\Z")
        self.assertEqual([line.split()[0] for line in lines[2:]], LANGUAGES)
        for line in lines[2:]:
            self.assertRegex(line, r"\A\w+ \d+\.\d+\.\d+ \(@?[\w/-]+\)\Z")

        self.assertEqual(self.run_tool("--json", "-V").stdout,
                         self.run_tool("--version", "--json").stdout)
        for wrong in (["--json"], ["--json", "languages"]):
            done = self.run_tool(*wrong)
            self.assertEqual((done.returncode, done.stdout), (2, b""))
            self.assertIn(b"--json needs --version", done.stderr)

    def test_languages(self):
        done = self.run_tool("languages")
        self.assertEqual((done.returncode, done.stderr), (0, b""))
        lines = done.stdout.decode().splitlines()
        self.assertEqual([line.split()[0] for line in lines if line[0] != " "], LANGUAGES)
        words = done.stdout.decode().split()
        for word in (".py", ".pyi", "Rakefile", ".tsx", ".yml"):
            self.assertIn(word, words)
        # Everything listed is detected.
        suffixes = [word for word in words if word not in LANGUAGES]
        names = [word if word[0] != "." else "x" + word for word in suffixes]
        for record in self.parse(*names, status=1):
            self.assertTrue(record["language"] or record["path"][1:].startswith("."), record)


class Examples(ToolTest):
    def test_the_sources_for_newcomers_are_whole_and_in_all_languages(self):
        folder = pathlib.Path(__file__).resolve().parent.parent / "examples/sources"
        records = self.parse(folder)
        self.assertEqual(sorted(record["language"] for record in records), sorted(LANGUAGES))
        for record in records:
            self.assertTrue(record["symbols"], record["path"])


if __name__ == "__main__":
    unittest.main()
