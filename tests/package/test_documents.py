"""Runs the examples in README.md and in the pages of doc/ with the installed package.

The fences of a page:

    console   a command after "$ ", its further lines after "> ", then all that it prints. One shell runs
              the commands of a page, so that `cd` and variables last.
    pycon     Python's prompt and what it prints. The blocks of a page share their variables.
    others    A block whose first line is a comment with the name of a file, such as "// main.cpp", is
              written into that file. Blocks without such a line are ignored.
    sh        Not run, since it installs things. Allowed only under the heading Installing.

In printed text "..." stands for any text in a line; alone in a line it stands for any lines. The examples
of a page run in a git repository that holds the project's examples.
"""
import difflib
import os
import pathlib
import re
import shutil
import subprocess
import sys
import threading

import pytest

from conftest import SOURCE, run

PAGES = [str(path.relative_to(SOURCE))
         for path in [SOURCE / "README.md", *sorted(SOURCE.glob("doc/*.md"))]
         if re.search("^```(console|pycon)$", path.read_text(encoding="utf-8"), re.M)]
LONGEST = 1800  # seconds for a page; only an example that hangs takes so long

# Reads each block as one line. Prints a report, which is empty if all is as in the page, and a NUL.
PROMPT = r"""
import doctest, sys
names = {"__name__": "__main__"}
for block in iter(lambda: sys.stdin.readline().encode().decode("unicode_escape"), ""):
    test = doctest.DocTestParser().get_doctest(block, names, "page", None, 0)
    doctest.DocTestRunner(optionflags=doctest.ELLIPSIS).run(test, clear_globs=False)
    names.update(test.globs)
    print("", end="\0", flush=True)
"""


def blocks(page):
    """Yields (line, kind, text, heading) of each fenced block."""
    heading = kind = ""
    for number, line in enumerate((SOURCE / page).read_text(encoding="utf-8").splitlines(), 1):
        if line.startswith("```"):
            if kind:
                yield start, kind, "".join(text), heading
            kind, start, text = (line[3:] or "text") if not kind else "", number, []
        elif kind:
            text.append(line + "\n")
        elif line.startswith("#"):
            heading = line.strip("# ")
    assert not kind, f"{page}:{start}: the block does not end"


def commands(text):
    """The pairs of command and expected output in a console block."""
    found = re.findall(r"^\$ (.*\n(?:> .*\n)*)((?:(?!\$ ).*\n)*)", text, re.M)
    assert sum(2 + len(command) + len(printed) for command, printed in found) == len(text), text
    return [(command.replace("\n> ", "\n"), printed) for command, printed in found]


def is_as_printed(printed, expected):
    lines = [r"(?:.*\n)*?" if line == "...\n" else re.escape(line).replace(r"\.\.\.", ".*")
             for line in expected.splitlines(keepends=True)]
    return re.fullmatch("".join(lines), printed) is not None


class Process:
    """A child process that answers each text with a text and a NUL."""

    def __init__(self, *command, **options):
        self._process = subprocess.Popen(command, stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                                         stderr=subprocess.STDOUT, **options)
        self._timer = threading.Timer(LONGEST, self._process.kill)
        self._timer.start()

    def ask(self, text):
        self._process.stdin.write(text.encode())
        self._process.stdin.flush()
        answer = bytearray()
        while (byte := self._process.stdout.read(1)) != b"\0":
            assert byte, f"it has ended, and printed:\n{answer.decode()}"
            answer += byte
        return answer.decode()

    def close(self):
        self._process.stdin.close()
        self._process.stdout.close()
        self._process.wait()
        self._timer.cancel()


class Reader:
    """Runs the examples of one page."""

    def __init__(self, folder, environment):
        self._environment = environment
        self._shell = Process("bash", cwd=folder, env=environment)
        self._prompt = None

    def do(self, page, line, kind, text):
        place = f"{page}:{line}"
        name = re.match(r"(?://|#) ([\w.-]+\.\w+)\n", text)
        if kind == "console":
            for command, expected in commands(text):
                printed = self._run(command)
                assert is_as_printed(printed, expected), f"{place}: {command}" + "".join(
                    difflib.unified_diff(expected.splitlines(True), printed.splitlines(True),
                                         "in the page", "printed"))
        elif kind == "pycon":
            self._prompt = self._prompt or Process(sys.executable, "-c", PROMPT, cwd=self._folder(),
                                                   env=self._environment)
            report = self._prompt.ask(text.encode("unicode_escape").decode() + "\n")
            assert not report, f"{place}: {report}"
        elif name:
            (self._folder() / name[1]).write_text(text, encoding="utf-8")

    def _run(self, command):
        quoted = "'" + command.replace("'", r"'\''") + "'"
        return self._shell.ask(f"eval {quoted} </dev/null 2>&1; "
                               "status=$?; printf '\\0'; (exit $status)\n")

    def _folder(self):
        return pathlib.Path(self._run("pwd").rstrip("\n"))

    def close(self):
        self._shell.close()
        if self._prompt:
            self._prompt.close()


@pytest.fixture
def reader(prefix, site, tmp_path):
    checkout = tmp_path / "treesitter-engine"
    shutil.copytree(SOURCE / "examples", checkout / "examples")
    run("git", "init", "--quiet", checkout)
    programs = tmp_path / "bin"
    programs.mkdir()
    python = programs / "python3"  # the one that the module is for
    python.write_text(f'#!/bin/sh\nexec "{sys.executable}" "$@"\n')
    python.chmod(0o755)
    path = os.pathsep.join(map(str, (programs, prefix / "bin", os.environ["PATH"])))
    someone = Reader(checkout, {
        **os.environ, "PATH": path, "PYTHONPATH": str(site), "LC_ALL": "C.UTF-8",
        "HOME": str(tmp_path), "TMPDIR": str(tmp_path), "GIT_CONFIG_NOSYSTEM": "1",
        "CMAKE_PREFIX_PATH": str(prefix), "PKG_CONFIG_PATH": str(prefix / "lib" / "pkgconfig")})
    yield someone
    someone.close()


@pytest.mark.parametrize("page", PAGES)
def test_examples(page, reader):
    for line, kind, text, heading in blocks(page):
        assert kind != "sh" or heading == "Installing", f"{page}:{line}: is not run"
        reader.do(page, line, kind, text)
