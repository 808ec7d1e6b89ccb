#!/usr/bin/env python3
"""Drives the built tool as its users do: with arguments, pipes, odd files and closed descriptors.

    tool_test.py BUILD/treesitter-engine [options of unittest]

Uses nothing but Python's standard library. Each test works in an empty folder of its own.
"""
import hashlib
import json
import os
import pathlib
import pty
import shutil
import signal
import socket
import subprocess
import sys
import tempfile
import time
import unittest

TOOL = ""  # the program under test; set where this file is run
TIMEOUT = 120  # seconds; only a hang gets there, sanitizers included

LANGUAGES = ("python javascript typescript tsx java go rust csharp ruby php sql markdown xml json "
             "yaml toml").split()
RESULT_FIELDS = ["path", "language", "content_hash", "symbols", "references", "errors"]
SYMBOL_FIELDS = ["id", "file_id", "name", "kind", "fqn", "start_line", "end_line", "signature",
                 "is_export", "docstring", "body_digest"]

SOURCE = b'class Job:\n    """Runs."""\n\n    def run(self):\n        return go(1)\n'


def ignore_sigpipe():
    signal.signal(signal.SIGPIPE, signal.SIG_IGN)


def become_nobody():
    os.setgroups([])
    os.setgid(65534)
    os.setuid(65534)


class ToolTest(unittest.TestCase):
    def setUp(self):
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="tool_test_"))
        self.addCleanup(shutil.rmtree, self.folder)

    def write(self, path, content=SOURCE):
        path = os.path.join(os.fsencode(self.folder), os.fsencode(path))
        os.makedirs(os.path.dirname(path), exist_ok=True)
        with open(path, "wb") as file:
            file.write(content)

    def run_tool(self, *arguments, **options):
        options = {"input": b"", "stdout": subprocess.PIPE, **options}
        if "stdin" in options:
            del options["input"]
        return subprocess.run([TOOL, *arguments], stderr=subprocess.PIPE, cwd=self.folder,
                              timeout=TIMEOUT, check=False, **options)

    def parse(self, *arguments, status=0, **options):
        """The records of a run that must end with this status."""
        done = self.run_tool("parse", *arguments, **options)
        self.assertEqual(done.returncode, status, done.stderr)
        return self.records(done.stdout)

    def records(self, output):
        """Strict: every line is one whole object in UTF-8, the last one ended like the others."""
        lines = output.decode("utf-8").split("\n")
        self.assertEqual(lines.pop(), "")
        return [json.loads(line) for line in lines]

    def paths(self, *arguments, **options):
        return [record["path"] for record in self.parse(*arguments, **options)]

    def assert_messages(self, done, *parts):
        """As many messages as parts, each with the tool's name in front."""
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


class Records(ToolTest):
    def test_a_result_has_all_fields_in_their_order(self):
        self.write("pkg/job.py")
        [record] = self.parse("pkg/job.py")
        self.assertEqual(list(record), RESULT_FIELDS)
        self.assertEqual(record["path"], "pkg/job.py")
        self.assertEqual(record["language"], "python")
        self.assertEqual(record["content_hash"], hashlib.sha256(SOURCE).hexdigest())
        self.assertEqual(record["errors"], [])
        job, run = record["symbols"]
        self.assertEqual(list(job), SYMBOL_FIELDS)
        self.assertEqual(list(job.values()),
                         [None, 0, "Job", "class", "pkg.job.Job", 1, 5, "class Job:", True, "Runs.",
                          None])
        self.assertEqual(list(run.values()),
                         [None, 0, "run", "function", "pkg.job.Job.run", 4, 5, "def run(self):",
                          True, None, "return go(1)"])
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

    def test_text_is_the_golden_form(self):
        self.write("job.py")
        done = self.run_tool("parse", "--format", "text", "job.py", "LICENSE", "no.py")
        lines = done.stdout.decode().splitlines()
        self.assertEqual(lines[:9], [
            "file job.py  python",
            "  hash  " + hashlib.sha256(SOURCE).hexdigest(),
            "class     job.Job                                   1-5  export",
            "  sig   class Job:",
            "  doc   Runs.",
            "function  job.Job.run                               4-5  export",
            "  sig   def run(self):",
            "  body  return go(1)",
            "ref call 5 go"])
        self.assertEqual(lines[9:11], ["", "file LICENSE"])
        self.assertTrue(lines[11].startswith("error Failed to read file: "), lines[11])
        self.assertEqual(lines[13], "file no.py  python")


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


class Failures(ToolTest):
    def test_missing_files(self):
        self.write("a.py")
        done = self.run_tool("parse", "no.py", "a.py", "no_folder", "a.py/x", "")
        self.assertEqual(done.returncode, 1)
        records = self.records(done.stdout)
        self.assert_unreadable(records[0], "no.py", "python", "No such file")
        self.assertEqual(records[1]["errors"], [])
        self.assert_unreadable(records[2], "no_folder", None, "No such file")
        self.assert_unreadable(records[3], "a.py/x", None, "Not a directory")
        self.assert_unreadable(records[4], "", None, "No such file")
        self.assert_messages(done, "no.py: ", "no_folder: ", "a.py/x: ", ": Failed")

    def test_fifos_sockets_and_devices_are_refused_without_waiting(self):
        os.mkfifo(self.folder / "fifo.py")
        with socket.socket(socket.AF_UNIX) as bound:
            bound.bind(os.path.relpath(self.folder / "socket.py"))
            (self.folder / "null.py").symlink_to("/dev/null")
            names = ["fifo.py", "null.py", "socket.py"]
            records = self.parse(*names, status=1)
            for record, name in zip(records, names, strict=True):
                self.assert_unreadable(record, name, "python", name)
            for record, name in zip(self.parse("--language", "go", *names, status=1), names):
                self.assert_unreadable(record, name, "go", name)
            self.assertEqual(self.paths(".", status=1), ["./fifo.py", "./socket.py"])

    def test_folders_without_permission(self):
        self.write("top/a.py")
        self.write("top/closed/b.py")
        self.write("top/d.py")
        os.chmod(self.folder / "top/closed", 0)
        os.chmod(self.folder, 0o755)
        self.addCleanup(os.chmod, self.folder / "top/closed", 0o755)
        options = {}
        if os.geteuid() == 0:  # permissions do not bind the superuser
            program = self.folder / "tool"  # nobody may be unable to reach the build folder
            shutil.copy(TOOL, program)
            done = subprocess.run([program, "--version"], preexec_fn=become_nobody, check=False,
                                  stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
            if done.returncode != 0:
                self.skipTest("runs as root, and cannot become somebody else")
            options = {"preexec_fn": become_nobody, "executable": program}
        records = self.parse("top", "top/closed", status=1, **options)
        self.assertEqual([record["path"] for record in records],
                         ["top/a.py", "top/closed", "top/d.py", "top/closed"])
        self.assert_unreadable(records[1], "top/closed", None, "Permission denied")
        self.assertIn("Failed to read folder: ", records[3]["errors"][0])

    def test_paths_too_long(self):
        long = "/".join(["x" * 250] * 20) + ".py"
        self.assert_unreadable(self.parse(long, status=1)[0], long, "python", "too long")
        self.assert_unreadable(self.parse("y" * 300, status=1)[0], "y" * 300, None, "too long")

    def test_wrong_use_ends_with_status_2_and_prints_no_record(self):
        self.write("a.py")
        for arguments, part in [
                ([], "subcommand"),
                (["bogus"], "subcommand"),
                (["parse"], "no PATH"),
                (["parse", "--bogus", "a.py"], "--bogus"),
                (["parse", "--jobs", "0", "a.py"], "--jobs"),
                (["parse", "--jobs", "many", "a.py"], "--jobs"),
                (["parse", "--jobs", "99999", "a.py"], "--jobs"),
                (["parse", "--format", "xml", "a.py"], "--format"),
                (["parse", "--language", "klingon", "a.py"], "klingon"),
                (["parse", "--language", "Python", "a.py"], "Python"),
                (["parse", "--language", "", "a.py"], "unknown language"),
                (["parse", "-"], "--language"),
                (["parse", "--language", "go", "-", "-"], "once"),
                (["parse", "--language", "go", "-", "--files-from", "-"], "once"),
                (["parse", "--null", "a.py"], "--files-from"),
                (["parse", "--files-from", "no\x1blist"], r"no\x1blist"),
                (["parse", "--files-from", "."], "directory"),
                (["languages", "a.py"], "a.py"),
        ]:
            with self.subTest(arguments=arguments):
                done = self.run_tool(*arguments)
                self.assertEqual((done.returncode, done.stdout), (2, b""))
                self.assertIn(part, done.stderr.decode().splitlines()[0])
                for line in done.stderr.decode().splitlines():
                    self.assertTrue(line.startswith("treesitter-engine: "), line)


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

    def test_content_that_is_no_utf8_is_refused_where_its_language_is_forced(self):
        self.write("x", b"x = 1\xff")
        [record, other] = self.parse("--language", "python", "-", "x", input=b"\xff", status=1)
        self.assertEqual(list(record), ["path", "raised"])
        self.assertIn("position 0", record["raised"])
        self.assertIn("position 5", other["raised"])

    def test_a_forced_language_holds_for_named_files_only(self):
        self.write("a.txt", b"def f; end\n")
        self.write("top/b.py")
        records = self.parse("--language", "ruby", "a.txt", "top", "top/b.py", "no.py", status=1)
        self.assertEqual([record["language"] for record in records],
                         ["ruby", "python", "ruby", "ruby"])
        self.assertEqual(records[0]["symbols"][0]["fqn"], "a.f")

    def test_a_forced_language_that_is_detected_anyway_changes_nothing(self):
        self.write("a.py")
        self.assertEqual(self.parse("a.py"), self.parse("--language", "python", "a.py"))

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


class Runs(ToolTest):
    def write_many(self, count):
        for number in range(count):
            # The first is much the slowest, so that the others have to wait for it.
            methods = 1500 if number == 0 else number % 7
            source = b"class A:\n" + b"".join(b"  def m%d(self): return f(%d)\n" % (i, i)
                                              for i in range(methods))
            self.write(f"top/{number:04}.py", source)
        self.write("top/0100_bad.java", b'class A { String s = "\xff"; }\n')
        os.mkfifo(self.folder / "top/0200_fifo.py")

    def test_the_output_is_the_same_for_any_number_of_jobs(self):
        self.write_many(400)
        for output_format in ("json", "text"):
            arguments = ["parse", "--format", output_format, "top", "no.py", "top"]
            done = self.run_tool(*arguments, "--jobs", "1")
            self.assertEqual(done.returncode, 1)
            self.assertEqual(len(done.stderr.splitlines()), 5)
            for jobs in ("2", "16"):
                other = self.run_tool(*arguments, "--jobs", jobs)
                self.assertEqual((other.returncode, other.stderr), (1, done.stderr))
                self.assertEqual(other.stdout, done.stdout)

    def test_a_closed_pipe_ends_it_quietly(self):
        self.write_many(700)
        for prepare in (None, ignore_sigpipe):  # Python's subprocesses have the default otherwise
            with subprocess.Popen([TOOL, "parse", "top", "top", "top"], stdout=subprocess.PIPE,
                                  stderr=subprocess.PIPE, cwd=self.folder,
                                  preexec_fn=prepare) as process:
                self.assertEqual(process.stdout.read(1), b"{")
                process.stdout.close()
                self.assertEqual(process.wait(TIMEOUT), 0)
                self.assertEqual(process.stderr.read(), b"")

    def test_output_that_cannot_be_written_ends_with_status_2(self):
        self.write("a.py")
        with open("/dev/full", "wb") as full:
            for arguments in (["parse", "a.py"], ["languages"], ["--help"], ["--version"]):
                done = self.run_tool(*arguments, stdout=full)
                self.assertEqual(done.returncode, 2)
                self.assert_messages(done, "standard output: No space left")
        done = self.run_tool("parse", "a.py", stdout=None, preexec_fn=lambda: os.close(1))
        self.assertEqual(done.returncode, 2)
        self.assert_messages(done, "standard output: Bad file descriptor")
        self.assertEqual((self.folder / "a.py").read_bytes(), SOURCE)

    def test_all_standard_descriptors_may_be_closed(self):
        self.write("a.py")
        done = self.run_tool("parse", "a.py", stdin=None, stdout=None,
                             preexec_fn=lambda: os.closerange(0, 3))
        self.assertEqual(done.returncode, 2)
        self.assertEqual((self.folder / "a.py").read_bytes(), SOURCE)

    def test_a_pipe_that_does_not_block_is_waited_for(self):
        self.write_many(50)
        expected = self.run_tool("parse", "top").stdout
        reader, writer = os.pipe()
        os.set_blocking(writer, False)
        with subprocess.Popen([TOOL, "parse", "top"], stdout=writer, stderr=subprocess.DEVNULL,
                              cwd=self.folder) as process, os.fdopen(reader, "rb") as output:
            os.close(writer)
            time.sleep(0.2)  # until the pipe is full
            self.assertEqual(output.read(), expected)
            self.assertEqual(process.wait(TIMEOUT), 1)

    def test_what_waits_for_a_slow_record_is_bounded(self):
        # Nothing can be written before standard input ends; how far the other thread has gone on
        # until then shows in what it has read.
        # One long line: each of its keys has a signature of 200 characters.
        wide = b"{" + b",".join(b'"k%d":1' % i for i in range(2000)) + b"}"
        for name, source, count, at_most in [("many", SOURCE + b"#" * 16000, 1000, 300),
                                             ("large", wide, 200, 150)]:
            for number in range(count):
                self.write(f"{name}/{number:04}." + ("json" if name == "large" else "py"), source)
            with self.subTest(name), subprocess.Popen(
                    [TOOL, "parse", "--jobs", "2", "--language", "python", "-", name],
                    stdin=subprocess.PIPE, stdout=subprocess.PIPE, cwd=self.folder) as process:
                self.assertLess(self.settled_reading(process.pid) / len(source), at_most)
                process.stdin.close()
                self.assertEqual(process.stdout.read().count(b"\n"), count + 1)
                self.assertEqual(process.wait(TIMEOUT), 0)

    def settled_reading(self, pid):
        """The bytes that the process has read, once it reads no more."""
        seen = [-1, 0]
        while seen[-1] != seen[-2]:
            time.sleep(1)
            fields = pathlib.Path(f"/proc/{pid}/io").read_text("ascii").split()
            seen.append(int(fields[fields.index("rchar:") + 1]))
        return seen[-1]


class Terminal(ToolTest):
    def run_on_terminal(self, arguments, descriptors, stdin=subprocess.DEVNULL):
        """The status, and what a terminal that stands at these descriptors shows."""
        controller, terminal = pty.openpty()
        streams = {1: "stdout", 2: "stderr"}
        options = {name: terminal if number in descriptors else subprocess.DEVNULL
                   for number, name in streams.items()}
        with subprocess.Popen([TOOL, *arguments], stdin=stdin, cwd=self.folder,
                              **options) as process:
            os.close(terminal)
            shown = b""
            try:
                while part := os.read(controller, 65536):
                    shown += part
            except OSError:  # the terminal's last user is gone
                pass
            os.close(controller)
            return process.wait(TIMEOUT), shown.replace(b"\r\n", b"\n").decode()

    def test_text_is_the_default_on_a_terminal(self):
        self.write("a.py")
        status, shown = self.run_on_terminal(["parse", "a.py"], [1, 2])
        self.assertEqual(status, 0)
        self.assertTrue(shown.startswith("file a.py  python\n"), shown)
        status, shown = self.run_on_terminal(["parse", "--format", "json", "a.py"], [1, 2])
        self.assertEqual(json.loads(shown)["path"], "a.py")

    def test_an_error_is_told_once_on_a_terminal(self):
        _, shown = self.run_on_terminal(["parse", "no.py"], [1, 2])
        self.assertEqual(shown.count("No such file"), 1)
        _, shown = self.run_on_terminal(["parse", "no.py"], [2])
        self.assertEqual(shown.count("No such file"), 1)

    def test_long_runs_show_progress_and_wipe_it(self):
        self.write("a.py")
        feeder = subprocess.Popen([sys.executable, "-c", "import time\nfor i in range(50):"
                                   " print('a.py', flush=True); time.sleep(0.05)"],
                                  stdout=subprocess.PIPE)
        with feeder:
            status, shown = self.run_on_terminal(["parse", "--files-from", "-"], [2],
                                                 stdin=feeder.stdout)
        self.assertEqual(status, 0)
        self.assertRegex(shown, r"\A(\r\x1b\[K[0-9]+ files, a\.py)+\r\x1b\[K\Z")
        _, shown = self.run_on_terminal(["parse", "a.py"], [2])
        self.assertEqual(shown, "")


class Information(ToolTest):
    def test_help(self):
        for arguments in (["--help"], ["-h"], ["parse", "--help"], ["languages", "--help"]):
            done = self.run_tool(*arguments)
            self.assertEqual((done.returncode, done.stderr), (0, b""))
            self.assertIn(b"Usage: treesitter-engine", done.stdout)
        text = self.run_tool("parse", "--help").stdout.decode()
        for option in ("--language", "--jobs", "--format", "--files-from", "--null", "PATH"):
            self.assertIn(option, text)

    def test_version(self):
        done = self.run_tool("--version")
        self.assertEqual((done.returncode, done.stderr), (0, b""))
        lines = done.stdout.decode().splitlines()
        self.assertRegex(lines[0], r"\Atreesitter-engine \d+\.\d+\.\d+\Z")
        self.assertRegex(lines[1], r"\Atree-sitter \d+\.\d+\.\d+\Z")
        self.assertEqual([line.split()[0] for line in lines[2:]], LANGUAGES)
        for line in lines[2:]:
            self.assertRegex(line, r"\A\w+ \d+\.\d+\.\d+ \(@?[\w/-]+\)\Z")

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
    TOOL = os.path.abspath(sys.argv.pop(1))
    unittest.main()
