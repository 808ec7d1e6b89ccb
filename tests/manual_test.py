#!/usr/bin/env python3
"""The manual pages and the shells' completions, compared with the tool's help.

    manual_test.py BUILD/treesitter-engine [options of unittest]

The test types letters and a tabulator into shells on a terminal, as a user does. Shells that are not
installed are left out.
"""
import os
import pathlib
import pty
import re
import shutil
import subprocess
import sys
import tempfile
import time
import unittest

TOOL = pathlib.Path(sys.argv.pop(1)).resolve()
MANUAL = TOOL.parent / "manual"

# What is typed after the tool's name, and what it becomes. The folder has `folder/` and `file one.py`.
COMPLETED = [
    ("pars", "parse"),
    ("--vers", "--version"),
    ("help outl", "help outline"),
    ("parse --no-ig", "parse --no-ignore"),
    ("parse --format cta", "parse --format ctags"),
    ("parse -l pyth", "parse -l python"),
    ("parse --rules=nav", "parse --rules=navigation"),
    ("parse --type rub", "parse --type ruby"),
    ("parse fil", "parse file one.py"),
    ("parse --hidden fol", "parse --hidden folder/"),
    ("find --kind cla", "find --kind class"),
    ("stats --repository f", "stats --repository folder/"),
    ("index --database fil", "index --database file one.py"),
    # Nothing completes names and numbers.
    ("find fil", "find fil"),
    ("parse --jobs fil", "parse --jobs fil"),
]

SHELLS = {
    "bash": (["bash", "--norc", "--noprofile", "-i"], "source {manual}/bash"),
    "zsh": (["zsh", "-f", "-i"], "fpath=({folder}/functions $fpath); autoload -U compinit; "
                                 "compinit -D -u; bindkey -e; unsetopt auto_remove_slash"),
}
TIMEOUT = 900  # seconds: only a hang takes so long


class Terminal:
    """A shell on a new terminal. It writes what a line has become into a file."""

    def __init__(self, shell, folder):
        command, set_up = SHELLS[shell]
        self.notes = folder / "notes"
        self.notes.write_text("")
        self.pid, self.terminal = pty.fork()
        if self.pid == 0:
            os.chdir(folder / "work")
            os.execvpe(command[0], command, dict(os.environ, TERM="vt100", INPUTRC="/dev/null"))
        self.type(set_up.format(manual=MANUAL, folder=folder) + "\n")
        self.type(f"note() {{ echo \"$*\" >>{self.notes}; }}\n")
        self.count = 0
        self.ask("", "ready")

    def type(self, text):
        os.write(self.terminal, text.encode())

    def ask(self, tabulator, line):
        """Types the line and the tabulator. Gives what the line has become."""
        self.type(line + tabulator + "\x01note \n")
        end = time.monotonic() + TIMEOUT
        os.set_blocking(self.terminal, False)
        while len(lines := self.notes.read_text().splitlines()) == self.count:
            try:
                os.read(self.terminal, 65536)  # a full terminal would stop the shell
            except BlockingIOError:
                time.sleep(0.01)
            if time.monotonic() > end:
                raise AssertionError(f"no answer to {line!r}")
        self.count += 1
        return lines[-1].strip()

    def close(self):
        os.close(self.terminal)
        os.waitpid(self.pid, 0)


class Completion(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name).resolve()
        (self.folder / "work/folder").mkdir(parents=True)
        (self.folder / "work/file one.py").touch()
        (self.folder / "functions").mkdir()
        shutil.copy(MANUAL / "zsh", self.folder / "functions/_treesitter-engine")

    def test_on_a_terminal(self):
        for shell in filter(shutil.which, SHELLS):
            terminal = Terminal(shell, self.folder)
            self.addCleanup(terminal.close)
            for typed, expected in COMPLETED:
                with self.subTest(shell=shell, typed=typed):
                    self.assertEqual(terminal.ask("\t", "treesitter-engine " + typed),
                                     "treesitter-engine " + expected)

    @unittest.skipUnless(shutil.which("fish"), "fish is not installed")
    def test_fish(self):
        """fish has a command that prints the completions of a line."""
        for typed, expected in COMPLETED:
            with self.subTest(typed=typed):
                done = subprocess.run(
                    ["fish", "--no-config", "-c", f"source {MANUAL}/fish; complete -C "
                     f"'treesitter-engine {typed}'"], cwd=self.folder / "work", text=True,
                    env=dict(os.environ, HOME=str(self.folder)), check=True, capture_output=True)
                offered = [line.split("\t")[0].replace("\\", "") for line in
                           done.stdout.splitlines()]
                beginning = typed[:typed.rfind(" ") + 1]
                self.assertEqual((done.stderr, [beginning + word for word in offered]),
                                 ("", [expected] if expected != typed else []))


class Pages(unittest.TestCase):
    def help(self, *command):
        return subprocess.run([TOOL, *command, "--help"], text=True, check=True,
                              capture_output=True).stdout

    def test_every_command_and_option_is_there(self):
        commands = re.findall(r"^  (\w+) ", self.help().partition("Subcommands:\n")[2], re.M)
        self.assertEqual({page.name for page in (MANUAL / "man1").iterdir()},
                         {"treesitter-engine.1", *(f"treesitter-engine-{name}.1"
                                                   for name in commands)})
        commands.remove("help")  # `help --help` prints the help of the tool
        for name in commands:
            page = (MANUAL / f"man1/treesitter-engine-{name}.1").read_text()
            options = re.findall(r"^  (-\S+)", self.help(name), re.M)
            self.assertIn("-h,--help", options)
            for option in options:
                title = ", ".join(rf"\fB{word}\fR" for word in option.split(","))
                self.assertIn(title.replace("-", r"\-"), page)

    @unittest.skipUnless(shutil.which("man"), "man is not installed")
    def test_the_formatter_takes_them(self):
        for page in (MANUAL / "man1").iterdir():
            done = subprocess.run(["man", "--warnings", "--local-file", "--encoding=UTF-8", page],
                                  text=True, check=True, capture_output=True,
                                  env=dict(os.environ, MANWIDTH="80", LC_ALL="C.UTF-8"))
            self.assertEqual(done.stderr, "")
            self.assertIn("SEE ALSO", done.stdout)


if __name__ == "__main__":
    unittest.main()
