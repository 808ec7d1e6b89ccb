"""What the tests of the module share. ctest sets PYTHONPATH to the module's folder."""
import contextlib
import os
import signal
import subprocess
import sys
import textwrap

import pytest

import treesitter

SOURCE = "class A:\n    '''Doc.'''\n    def f(self):\n        return g(self)\n"
SANITIZERS = os.environ.get("SANITIZERS", "")  # of the module's build
FORKS = "ignore:This process:DeprecationWarning"  # Python warns of forks in a process with threads
SLOW = '"' * 4_000_000  # as TypeScript: the time limit ends its parse after 19 seconds of processor time
NESTED_KEYS = '{"key":' * 9_000 + "1" + "}" * 9_000  # their qualified names exceed the limit of a result
TIMEOUT = 900  # seconds: only a hang takes so long, even on a slow machine with sanitizers

# A shell ignores SIGINT in a program that it starts in the background, and children would inherit that.
signal.signal(signal.SIGINT, signal.default_int_handler)


@contextlib.contextmanager
def cancelled_early():
    """The block, with its children, takes less processor time than one parse of SLOW does. Of wall time
    a busy machine may take any amount."""
    def used():
        return sum(os.times()[:4])
    begin = used()
    yield
    assert used() - begin < 15


@pytest.fixture
def engine():
    return treesitter.TreeSitterEngine()


@pytest.fixture
def source_file(tmp_path):
    path = tmp_path / "a.py"
    path.write_text(SOURCE, encoding="utf-8")
    return str(path)


def run_python(code, *arguments, expected=0, **environment):
    """The output of a new interpreter, which must end with this status and print no error."""
    done = subprocess.run([sys.executable, "-c", textwrap.dedent(code), *map(os.fspath, arguments)],
                          capture_output=True, text=True, timeout=TIMEOUT, check=False,
                          env={**os.environ, "PYTHONWARNINGS": FORKS, **environment})
    assert (done.returncode, done.stderr) == (expected, "")
    return done.stdout
