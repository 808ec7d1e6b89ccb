"""What the tests of the module share. ctest sets PYTHONPATH to the module's folder."""
import os
import signal
import subprocess
import sys
import textwrap

import pytest

import treesitter

SOURCE = "class A:\n    '''Doc.'''\n    def f(self):\n        return g(self)\n"
SANITIZERS = os.environ.get("SANITIZERS", "")  # of the module's build
FORKS = "ignore:This process:DeprecationWarning"  # Python's word on forks beside threads
SLOW = '"' * 4_000_000  # as TypeScript: its parse takes 20 seconds, then its time limit ends it
NESTED_KEYS = '{"key":' * 9_000 + "1" + "}" * 9_000  # whose qualified names are out of proportion

# A shell that starts us in the background has it ignored, and children would ignore it too.
signal.signal(signal.SIGINT, signal.default_int_handler)


@pytest.fixture
def engine():
    return treesitter.TreeSitterEngine()


@pytest.fixture
def source_file(tmp_path):
    path = tmp_path / "a.py"
    path.write_text(SOURCE, encoding="utf-8")
    return str(path)


def run_python(code, *arguments, expected=0, **environment):
    """The output of an interpreter of its own, which must end in order and say nothing else."""
    done = subprocess.run([sys.executable, "-c", textwrap.dedent(code), *map(os.fspath, arguments)],
                          capture_output=True, text=True, timeout=120, check=False,
                          env={**os.environ, "PYTHONWARNINGS": FORKS, **environment})
    assert (done.returncode, done.stderr) == (expected, "")
    return done.stdout
