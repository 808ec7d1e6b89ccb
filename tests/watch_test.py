#!/usr/bin/env python3
"""The command `watch`: soon after any change the index is what a fresh one would be.

    watch_test.py BUILD/treesitter-engine [--rounds N] [options of unittest]
"""
import fcntl
import os
import shutil
import signal
import subprocess
import sys
import time
import unittest

ROUNDS = 12
if "--rounds" in sys.argv:
    place = sys.argv.index("--rounds")
    ROUNDS = int(sys.argv[place + 1])
    del sys.argv[place:place + 2]

from support.tool_case import TIMEOUT, TOOL  # noqa: E402  takes the first argument
from support.index_case import ChangingTest, dump, source  # noqa: E402


def limited(setting, value):
    """A command that runs a program with this setting of inotify's limits, or None where that is impossible."""
    command = ["unshare", "-Ur", "sh", "-c", f'echo {value} > /proc/sys/user/{setting} && exec "$@"',
               "sh"]
    try:
        done = subprocess.run([*command, "true"], check=False, stderr=subprocess.DEVNULL)
    except FileNotFoundError:
        return None
    return command if done.returncode == 0 else None


class WatchTest(ChangingTest):
    def watch(self, *arguments, prefix=(), **options):
        options = {"cwd": self.folder, "stderr": subprocess.PIPE, **options}
        run = subprocess.Popen([*prefix, TOOL, "watch", "--verbose", *arguments], **options)
        self.addCleanup(run.stderr.close)
        self.addCleanup(run.wait)
        self.addCleanup(run.kill)
        return run

    def begin(self, *arguments, **options):
        """Starts a run, and waits until it watches."""
        run = self.watch(*arguments, **options)
        for line in run.stderr:
            if b": watching " in line:
                return run
        self.fail(f"it has ended with {run.wait()}")

    def settle(self, *arguments, status=0):
        """Waits until the index is what a fresh one is."""
        expected = self.fresh_dump(*arguments, status=status)
        end = time.monotonic() + TIMEOUT
        while (found := dump(self.database)) != expected and time.monotonic() < end:
            time.sleep(0.02)
        self.assertEqual(found, expected)

    def end(self, run, number=signal.SIGTERM, statuses=(0,)):
        """Ends the run by the signal, or waits for its end. Gives its messages."""
        if number:
            run.send_signal(number)
        text = run.communicate(timeout=TIMEOUT)[1].decode()
        self.assertIn(run.returncode, statuses, text)
        return text

    def save_by_rename(self, path):
        self.write(path + "~", source(self.random))
        os.rename(self.folder / (path + "~"), self.folder / path)


class Changes(WatchTest):
    def test_each_kind_of_change(self):
        at = self.folder
        self.assertEqual(self.git("init", "--quiet"), 0)
        self.write_some(30)
        self.write(".gitignore", b"ignored/\n")
        self.write("ignored/a.py", b"def ignored(): pass\n")
        self.switch()
        self.git("checkout", "--quiet", "-b", "other")
        shutil.rmtree(at / "d2")
        for number in range(300):
            self.write(f"d{number % 3}/other{number}.py", source(self.random))
        self.write(".gitignore", b"ignored/\nd4\n")
        self.git("add", "--all")
        self.git("commit", "--quiet", "--message", "y")
        self.git("checkout", "--quiet", "-")
        outside = at.parent / (at.name + "_outside")
        self.addCleanup(shutil.rmtree, outside, ignore_errors=True)
        run = self.begin()
        for what, change in [
                ("save", lambda: self.write("d1/f1.py", source(self.random))),
                ("save by renaming", lambda: self.save_by_rename("d1/f1.py")),
                ("remove", lambda: (at / "d1/f8.py").unlink()),
                ("link", lambda: os.link(at / "d1/f1.py", at / "d3/link.py")),
                ("a link in the place of a file", lambda: (
                    (at / "d3/link.py").unlink(), os.symlink("f3.py", at / "d3/link.py"))),
                ("new folders with files", lambda: [
                    self.write(f"new/{name}/x/a.py", source(self.random)) for name in "abcdef"]),
                ("in a new folder", lambda: self.write("new/a/x/b.py", source(self.random))),
                ("rename a folder", lambda: (at / "new").rename(at / "d1/moved")),
                ("in the renamed folder", lambda: self.write("d1/moved/a/x/b.py")),
                ("move a folder out", lambda: (at / "d1/moved").rename(outside)),
                ("in the folder outside", lambda: (outside / "a/x/c.py").write_bytes(b"")),
                ("move it in", lambda: outside.rename(at / "d1.py")),
                ("remove it", lambda: shutil.rmtree(at / "d1.py")),
                ("a file in its place", lambda: self.write("d1.py", source(self.random))),
                ("another branch", lambda: self.git("checkout", "--quiet", "other")),
                ("back again", lambda: self.git("checkout", "--quiet", "-")),
                ("ignore", lambda: self.write("d3/.gitignore", b"f3.py\n")),
                ("otherwise", lambda: self.save_by_rename("d3/.ignore")),
                ("ignore a folder", lambda: self.write(".gitignore", b"d4\n")),
                ("in the ignored folder", lambda: self.write("d4/new.py")),
                ("ignore nothing", lambda: (at / ".gitignore").unlink()),
                ("in what was ignored", lambda: self.write("ignored/sub/new.py")),
                ("exclude", lambda: (at / ".git/info/exclude").write_bytes(b"d5\n")),
                ("no longer", lambda: (at / ".git/info/exclude").unlink()),
                ("another repository", lambda: self.git("init", "--quiet", "d5")),
                ("its rules", lambda: (at / "d5/.git/info/exclude").write_bytes(b"f5.py\n")),
                ("hidden", lambda: self.write(".hidden/a.py")),
                ("binary", lambda: self.write("d1/f1.py", b"\0")),
                ("touch", lambda: os.utime(at / "d3/f3.py")),
                ("bytes", lambda: self.write(b"\xff\n/\xff.py"))]:
            with self.subTest(what):
                change()
                self.settle()
        text = self.end(run)
        self.assertRegex(text, r"1 changed, 0 unchanged, 0 removed, \d+ ms\n")

    def test_any_changes(self):
        self.write_some(40)
        self.assertEqual(self.git("init", "--quiet"), 0)
        run = self.begin()
        for _ in range(ROUNDS):
            for _ in range(self.random.randrange(1, 9)):
                self.change()
                time.sleep(self.random.choice([0, 0, 0.01, 0.05]))
            self.settle()
        self.end(run)

    def test_more_events_than_the_system_keeps(self):
        self.write_some(20)
        run = self.begin()
        run.send_signal(signal.SIGSTOP)
        with open("/proc/sys/fs/inotify/max_queued_events") as setting:
            most = int(setting.read())
        for number in range(most // 2):
            (self.folder / f"d1/{number}.txt").touch()
            (self.folder / f"d1/{number}.txt").unlink()
        self.write("d2/late/late.py")
        (self.folder / "d3/f3.py").unlink()
        run.send_signal(signal.SIGCONT)
        self.settle()
        self.write("d2/late/later.py")  # in a folder that is new, and watched by now
        self.settle()
        self.end(run)

    def test_options_about_files_and_other_writers(self):
        self.write_some(20)
        run = self.begin("--exclude", "f3.py", "--max-filesize", "10K", "--tags", "tags")
        self.write("large.json", b"[" + b"1," * 9999 + b"1]")
        self.settle("--exclude", "f3.py", "--max-filesize", "10K", status=1)
        (self.folder / "large.json").unlink()
        self.settle("--exclude", "f3.py", "--max-filesize", "10K")
        self.index("--hidden", "--exclude", "f4.py")
        self.write("d0/a.py")
        self.settle("--hidden", "--exclude", "f4.py")
        self.write(".hidden/b.py", b"def in_hidden(): pass\n")
        self.settle("--hidden", "--exclude", "f4.py")
        with open(f"{self.database}-lock", "rb") as lock:
            fcntl.flock(lock, fcntl.LOCK_EX)
            before = dump(self.database)
            self.write("d0/a.py", b"def waits(): pass\n")
            time.sleep(0.5)
            self.assertEqual(dump(self.database), before)
        self.settle("--hidden", "--exclude", "f4.py")
        # The tags are written after the index.
        self.wait_until(lambda: b"waits\t" in (self.folder / "tags").read_bytes())
        text = self.end(run, signal.SIGINT)
        self.assertIn("large.json: Failed to read file: it has 20001 bytes, and --max-filesize", text)
        tags = (self.folder / "tags").read_bytes()
        self.assertIn(b"waits\t./d0/a.py\t1;", tags)
        self.index("--tags", "tags")
        self.assertEqual((self.folder / "tags").read_bytes(), tags)
        self.assertEqual([name for name in os.listdir(self.folder) if name.startswith(".tags")], [])


class Ends(WatchTest):
    def test_signals_end_it_at_any_time(self):
        self.write_some(1500)
        for delay in (0.05, 0.2, 0.5):
            run = self.watch()
            time.sleep(delay)
            # A signal that comes before the tool catches signals ends it in the default way.
            self.end(run, signal.SIGINT, [0, -signal.SIGINT])
        self.index()
        self.assert_fresh()

    def test_without_its_repository_or_its_index(self):
        for name, path, moved in [("root", "root", "gone"), ("index", "here", "here")]:
            with self.subTest(name):
                database = self.folder / f"{name}.sqlite"
                self.write(f"{path}/a.py")
                run = self.begin(path, "--database", database)
                before = dump(database)
                if name == "root":
                    (self.folder / path).rename(self.folder / moved)
                    self.assertIn("root' is gone", self.end(run, None, [2]))
                    self.assertEqual(dump(database), before)
                else:
                    database.unlink()
                    self.write(f"{path}/a.py")
                    self.assertIn("cannot find", self.end(run, None, [2]))
                    self.assertFalse(database.exists())

    def test_limits_of_the_system_are_told(self):
        self.write_some(20)
        for setting, value, parts in [
                ("max_inotify_watches", 5, ["it takes 8 watches", "fs.inotify.max_user_watches=16"]),
                ("max_inotify_instances", 0, ["too many are watching", "max_user_instances"])]:
            prefix = limited(setting, value)
            if prefix is None:
                self.skipTest("a user cannot be limited here")
            run = self.watch(prefix=prefix)
            text = self.end(run, None, [2])
            for part in parts:
                self.assertIn(part, text)
        self.assert_fresh()


if __name__ == "__main__":
    unittest.main()
