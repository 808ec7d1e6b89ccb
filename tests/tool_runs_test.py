#!/usr/bin/env python3
"""How the tool runs: files that fail, wrong options, closed descriptors, pipes, signals, terminals.

    tool_runs_test.py BUILD/treesitter-engine [options of unittest]
"""
import fcntl
import json
import os
import pathlib
import pty
import resource
import shutil
import signal
import socket
import struct
import subprocess
import sys
import termios
import time
import unittest

from support.tool_case import SOURCE, TIMEOUT, TOOL, ToolTest


def ignore_sigpipe():
    signal.signal(signal.SIGPIPE, signal.SIG_IGN)


def bytes_read(pid):
    """How many bytes the process has read so far."""
    fields = pathlib.Path(f"/proc/{pid}/io").read_text("ascii").split()
    return int(fields[fields.index("rchar:") + 1])


def become_nobody():
    os.setgroups([])
    os.setgid(65534)
    os.setuid(65534)


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
        self.write("top/listed/e.py")
        self.write("top/listed/sub/f.py")
        os.chmod(self.folder, 0o755)
        for name, mode in [("top/closed", 0), ("top/listed", 0o444)]:
            os.chmod(self.folder / name, mode)
            self.addCleanup(os.chmod, self.folder / name, 0o755)
        options = {}
        if os.geteuid() == 0:  # permissions do not bind the superuser
            program = self.folder / "tool"  # the user nobody may have no access to the build folder
            shutil.copy(TOOL, program)
            done = subprocess.run([program, "--version"], preexec_fn=become_nobody, check=False,
                                  stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
            if done.returncode != 0:
                self.skipTest("runs as root, and cannot become somebody else")
            options = {"preexec_fn": become_nobody, "executable": program}
        records = self.parse("top", "top/closed", status=1, **options)
        self.assertEqual([record["path"] for record in records],
                         ["top/a.py", "top/closed", "top/d.py", "top/listed/e.py",
                          "top/listed/sub", "top/closed"])
        self.assert_unreadable(records[1], "top/closed", None, "Permission denied")
        self.assert_unreadable(records[3], "top/listed/e.py", "python", "Permission denied")
        self.assert_unreadable(records[4], "top/listed/sub", None, "Permission denied")
        self.assertIn("Failed to read folder: ", records[5]["errors"][0])

    def test_wrong_use_ends_with_status_2_and_prints_no_record(self):
        self.write("a.py")
        for arguments, part in [
                ([], "command"),
                (["bogus"], "bogus"),
                (["prase", "a.py"], "did you mean 'parse'?"),
                (["version"], "did you mean '--version'?"),
                (["lang"], "did you mean 'languages'?"),
                (["a.py"], "did you mean `parse a.py`?"),
                (["--verison"], "did you mean '--version'?"),
                (["help", "prase"], "did you mean 'parse'?"),
                (["parse"], "no PATH"),
                (["parse", "--bogus", "a.py"], "--bogus"),
                (["parse", "--langauge=python", "a.py"], "did you mean '--language'?"),
                (["parse", "--jobs", "0", "a.py"], "--jobs"),
                (["parse", "-jmany", "a.py"], "--jobs"),
                (["parse", "--jobs", "99999", "a.py"], "--jobs"),
                (["parse", "--format", "xml", "a.py"], "--format"),
                (["parse", "--language", "klingon", "a.py"], "klingon"),
                (["parse", "-l", "pyton", "a.py"], "did you mean 'python'?"),
                (["parse", "--language", "", "a.py"], "unknown language"),
                (["parse", "--language", "go", "a.py", "."], ". is a folder"),
                (["parse", "--max-filesize", "1X", "a.py"], "1X"),
                (["parse", "--max-filesize", "K", "a.py"], "K"),
                (["parse", "--max-filesize", "99999999999G", "a.py"], "99999999999G"),
                (["parse", "-"], "--language"),
                (["parse", "--stdin-path", "LICENSE", "-"], "LICENSE"),
                (["parse", "--stdin-path", "x.py", "a.py"], "--stdin-path"),
                (["parse", "--language", "go", "-", "-"], "once"),
                (["parse", "--language", "go", "-", "--files-from", "-"], "once"),
                (["parse", "--null", "a.py"], "--files-from"),
                (["parse", "--files-from", "no\x1blist"], r"no\x1blist"),
                (["parse", "--files-from", "."], "directory"),
                (["parse", "--batch", "a.py"], "--batch"),
                (["parse", "--batch", "--files-from", "a.py"], "--batch"),
                (["parse", "--batch", "--null"], "--null"),
                (["parse", "--list", "-l", "go", "-"], "--list"),
                (["languages", "a.py"], "a.py"),
                (["check"], "one FILE"),
                (["check", "a.py", "a.py"], "one FILE"),
                (["check", "-"], "standard input"),
                (["check", "."], ". is a folder"),
                (["check", "--format", "ctags", "a.py"], "--format"),
                (["check", "--jobs", "2", "a.py"], "--jobs"),
        ]:
            with self.subTest(arguments=arguments):
                done = self.run_tool(*arguments)
                self.assertEqual((done.returncode, done.stdout), (2, b""))
                self.assertIn(part, done.stderr.decode().splitlines()[0])
                for line in done.stderr.decode().splitlines():
                    self.assertTrue(line.startswith("treesitter-engine: "), line)


class Runs(ToolTest):
    def write_many(self, count):
        for number in range(count):
            # The first takes much longer than the others, whose records have to wait for it.
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
        for prepare in (None, ignore_sigpipe):
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
        with open(self.folder / "output", "wb") as output:
            done = self.run_tool("parse", "a.py", stdout=output, preexec_fn=lambda:
                                 resource.setrlimit(resource.RLIMIT_FSIZE, (100, 100)))
        self.assertEqual(done.returncode, 2)
        self.assert_messages(done, "standard output: File too large")
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
            self.wait_for_full(output)
            self.assertEqual(output.read(), expected)
            self.assertEqual(process.wait(TIMEOUT), 1)

    def test_what_waits_for_a_slow_reader_is_bounded(self):
        # One long line: each of its keys has a signature of 200 characters.
        wide = b"{" + b",".join(b'"k%d":1' % i for i in range(2000)) + b"}"
        for number in range(200):
            self.write(f"top/{number:03}.json", wide)
        with subprocess.Popen([TOOL, "parse", "--jobs", "2", "top"], stdout=subprocess.PIPE,
                              cwd=self.folder) as process:
            self.wait_for_full(process.stdout)
            self.assertLess(self.settled_reading(process.pid) / len(wide), 100)
            self.assertEqual(process.stdout.read().count(b"\n"), 200)
            self.assertEqual(process.wait(TIMEOUT), 0)

    def test_signals_end_it_behind_a_whole_record_and_the_second_at_once(self):
        self.write_many(50)
        with subprocess.Popen([TOOL, "parse", "top", "top"], stdout=subprocess.PIPE,
                              stderr=subprocess.DEVNULL, cwd=self.folder) as process:
            self.wait_for_full(process.stdout)
            process.send_signal(signal.SIGINT)
            records = self.records(process.stdout.read())
            self.assertEqual(process.wait(TIMEOUT), -signal.SIGINT)
        self.assertEqual([record["path"] for record in records],
                         [f"top/{number:04}.py" for number in range(len(records))])
        if b"__tsan_init" in pathlib.Path(TOOL).read_bytes():
            self.skipTest("that sanitizer keeps signals back as long as a write waits")
        with subprocess.Popen([TOOL, "parse", "top", "top"], stdout=subprocess.PIPE,
                              stderr=subprocess.DEVNULL, cwd=self.folder) as process:
            self.wait_for_full(process.stdout)
            process.send_signal(signal.SIGTERM)
            self.wait_until(lambda: not self.pending_signals(process.pid))
            with self.assertRaises(subprocess.TimeoutExpired):
                process.wait(0.3)
            process.send_signal(signal.SIGINT)
            self.assertEqual(process.wait(TIMEOUT), -signal.SIGINT)

    def test_signals_end_it_while_it_waits_for_a_list(self):
        self.write("a.py")
        with subprocess.Popen([TOOL, "parse", "--files-from", "-"], stdin=subprocess.PIPE,
                              stdout=subprocess.PIPE, cwd=self.folder) as process:
            process.stdin.write(b"a.py\n")
            process.stdin.flush()
            self.assertEqual(json.loads(process.stdout.readline())["path"], "a.py")
            process.send_signal(signal.SIGTERM)
            self.assertEqual(process.wait(TIMEOUT), -signal.SIGTERM)
            self.assertEqual(process.stdout.read(), b"")
        # nohup, and shells for programs in the background, ignore SIGINT.
        with subprocess.Popen([TOOL, "parse", "--files-from", "-"], stdin=subprocess.PIPE,
                              stdout=subprocess.DEVNULL, preexec_fn=lambda:
                              signal.signal(signal.SIGINT, signal.SIG_IGN)) as process:
            process.send_signal(signal.SIGINT)
            process.stdin.close()
            self.assertEqual(process.wait(TIMEOUT), 0)

    def test_want_of_memory_ends_no_run_by_a_signal(self):
        self.write("top/a.json", b"[" * 40000 + b"]" * 40000)
        self.write("top/b.yaml", b"".join(b" " * i + b"k:\n" for i in range(600)))
        self.write("top/c.py", SOURCE * 20000)
        for kib in (90000, 120000, 160000):
            def limit(size=kib * 1024):
                resource.setrlimit(resource.RLIMIT_AS, (size, size))
            if self.run_tool("--version", preexec_fn=limit).returncode != 0:
                self.skipTest("a sanitizer's shadow has no room")
            for output_format in ("json", "text", "ctags"):
                done = self.run_tool("parse", "-j", "3", "-f", output_format, "top",
                                     preexec_fn=limit)
                with self.subTest(kib=kib, format=output_format):
                    self.assertIn(done.returncode, (0, 1, 2), done.stderr[-500:])
                    self.assertEqual(done.returncode == 0, done.stderr == b"")

    def test_idle_threads_take_no_memory_from_the_file_that_needs_it(self):
        self.write("top/a.py", b"f(" * 500000)
        self.write_many(20)
        limit = 700 << 20

        def prepare():
            resource.setrlimit(resource.RLIMIT_AS, (limit, limit))
        if self.run_tool("--version", preexec_fn=prepare).returncode != 0:
            self.skipTest("a sanitizer's shadow has no room")
        alone, among_many = (self.parse("-j", jobs, "top", status=1, preexec_fn=prepare)
                             for jobs in ("1", "16"))
        self.assertEqual(among_many, alone)

    def test_standard_input_that_never_ends_is_refused(self):
        limit = 1 << 30

        def prepare():
            resource.setrlimit(resource.RLIMIT_AS, (limit, limit))
        if self.run_tool("--version", preexec_fn=prepare).returncode != 0:
            self.skipTest("a sanitizer's shadow has no room")
        with subprocess.Popen(["yes"], stdout=subprocess.PIPE) as endless:
            [record] = self.parse("-l", "python", "--max-filesize", "0", "-", status=1,
                                  stdin=endless.stdout, preexec_fn=prepare)
            endless.stdout.close()
        allowed = limit // 4 * 3 // 8 * 5 // 4
        self.assert_unreadable(record, "-", "python", f"more than the {allowed} bytes that")

    def test_the_longest_record_takes_no_more_memory_than_promised(self):
        # The names take 600 times as much as the file, and six times as much again with each byte escaped.
        keys = b'{"\x01":' * 4500 + b"1" + b"}" * 4500
        self.write("a.json", keys)
        if b"__asan_init" in pathlib.Path(TOOL).read_bytes() or \
                b"__tsan_init" in pathlib.Path(TOOL).read_bytes():
            self.skipTest("sanitizers take memory of their own")
        for output_format in ("json", "text"):
            with subprocess.Popen([TOOL, "parse", "--format", output_format, "a.json"],
                                  stdout=subprocess.DEVNULL, cwd=self.folder) as process:
                _, status, usage = os.wait4(process.pid, 0)
                process.returncode = os.waitstatus_to_exitcode(status)
            with self.subTest(format=output_format):
                self.assertEqual(process.returncode, 0)
                self.assertLess(usage.ru_maxrss * 1024, (64 << 20) + 1024 * len(keys))

    def wait_for_full(self, pipe):
        """Waits until the pipe is full, so that the process at its other end waits."""
        size = fcntl.fcntl(pipe, fcntl.F_GETPIPE_SZ)

        def held():
            return struct.unpack("i", fcntl.ioctl(pipe, termios.FIONREAD, bytes(4)))[0]
        self.wait_until(lambda: held() > size - 4096)

    def pending_signals(self, pid):
        """The signals that were sent to the process and are not delivered yet, as bits."""
        status = pathlib.Path(f"/proc/{pid}/status").read_text("ascii").splitlines()
        return sum(int(line.split()[1], 16) for line in status if line[3:].startswith("Pnd:"))

    def settled_reading(self, pid):
        """Waits until the process reads no more. Gives how many bytes it has read."""
        seen = [-1, 0]
        while seen[-1] != seen[-2]:
            time.sleep(1)
            seen.append(bytes_read(pid))
        return seen[-1]


class Terminal(ToolTest):
    def run_on_terminal(self, arguments, descriptors, stdin=subprocess.DEVNULL,
                        meanwhile=lambda process: None):
        """Runs the tool with a terminal at these descriptors. Gives the status and what it shows."""
        controller, terminal = pty.openpty()
        streams = {1: "stdout", 2: "stderr"}
        options = {name: terminal if number in descriptors else subprocess.DEVNULL
                   for number, name in streams.items()}
        with subprocess.Popen([TOOL, *arguments], stdin=stdin, cwd=self.folder,
                              **options) as process:
            os.close(terminal)
            meanwhile(process)
            shown = b""
            try:
                while part := os.read(controller, 65536):
                    shown += part
            except OSError:  # the last process that had the terminal has ended
                pass
            os.close(controller)
            return process.wait(TIMEOUT), shown.replace(b"\r\n", b"\n").decode()

    def test_text_is_the_default_on_a_terminal(self):
        self.write("a.py")
        status, shown = self.run_on_terminal(["parse", "a.py"], [1, 2])
        self.assertEqual(status, 0)
        self.assertTrue(shown.startswith("file a.py  python\n"), shown)
        status, shown = self.run_on_terminal(["parse", "--format", "json", "a.py"], [1, 2])
        self.assertEqual(json.loads(shown.splitlines()[0])["path"], "a.py")

    def test_an_error_is_told_once_on_a_terminal(self):
        _, shown = self.run_on_terminal(["parse", "no.py"], [1, 2])
        self.assertEqual(shown.count("No such file"), 1)
        _, shown = self.run_on_terminal(["parse", "--format", "ctags", "no.py"], [1, 2])
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
        self.assertRegex(shown, r"\A(\r\x1b\[K[0-9]+ files?(, ([0-9.]+ s on )?a\.py)?)+\r\x1b\[K"
                                r"treesitter-engine: 50 files, \d+\.\d s\n\Z")

    def test_progress_names_the_file_that_takes_long_and_the_total_when_known(self):
        size = 8 * 500_000
        self.write("a.py")
        self.write("slow.py", b"f(a, b)\n" * (size // 8))

        def hold_up(process):
            """Makes slow.py take long on a fast machine too: stops the parse for longer than the tool
            waits before it shows progress."""
            self.wait_until(lambda: bytes_read(process.pid) >= size)
            process.send_signal(signal.SIGSTOP)
            time.sleep(0.5)
            process.send_signal(signal.SIGCONT)
        _, shown = self.run_on_terminal(["parse", "-j", "1", "a.py", "slow.py", "a.py"], [2],
                                        meanwhile=hold_up)
        self.assertRegex(shown, r"\r\x1b\[K1 of 3 files, ([0-9.]+ s on )?slow\.py\r\x1b\[K")

    def test_a_summary_tells_what_was_left_out(self):
        for name in ("top/a.py", "top/.git/a.py", "top/README", "top/b.py", "top/x.py", "top/y.py",
                     "top/z.js"):
            self.write(name)
        self.write("top/.gitignore", b"b.py")
        self.write("top/large.py", b"#" * 1025)
        self.write("top/utf16.py", "x = 1\n".encode("utf-16"))
        (self.folder / "top/link.py").symlink_to("a.py")
        done = self.run_tool("parse", "-v", "--exclude", "[xy]*", "--type", "python",
                             "--max-filesize", "1k", "top", "LICENSE", "no.py", "top/README")
        self.assertRegex(done.stderr.decode().splitlines()[-1],
                         r"treesitter-engine: 4 files, 3 failed \(1 too large\), 10 skipped "
                         r"\(2 hidden, 1 linked, 2 of unknown language, 1 of another type, "
                         r"2 excluded, 1 ignored, 1 binary\), \d+\.\d s")


if __name__ == "__main__":
    unittest.main()
