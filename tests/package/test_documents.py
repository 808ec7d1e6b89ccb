"""The examples of README.md and the pages of doc/, as they stand there, with the installed package.

What the fences of a page say:

    console   what a shell prints: a command behind "$ ", its further lines behind "> ", then all of its
              output and errors. One shell runs those of a page, so that `cd` and variables last.
    pycon     what Python's prompt prints. The blocks of a page share their names.
    others    whose first line is the name of a file as a comment, such as "// main.cpp", are written
              there; those without are not run
    sh        is not run either: it installs things, and stands below the heading Installing alone

In what is printed "..." in a line is any text, and a line of its own is any lines. Each page is read in
a git repository with our examples, as in a checkout.
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
LONGEST = 1800  # seconds for a page, against examples that wait for ever

# Each block comes as one line; its report, empty when all is as in the page, ends with a NUL.
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
    """(line, kind, text, heading) of each fenced block."""
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
    """(command, what is printed) of a console block."""
    found = re.findall(r"^\$ (.*\n(?:> .*\n)*)((?:(?!\$ ).*\n)*)", text, re.M)
    assert sum(2 + len(command) + len(printed) for command, printed in found) == len(text), text
    return [(command.replace("\n> ", "\n"), printed) for command, printed in found]


def is_as_printed(printed, expected):
    lines = [r"(?:.*\n)*?" if line == "...\n" else re.escape(line).replace(r"\.\.\.", ".*")
             for line in expected.splitlines(keepends=True)]
    return re.fullmatch("".join(lines), printed) is not None


class Process:
    """One that answers what it is told with a text and a NUL."""

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
    """Somebody who does what a page shows."""

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
