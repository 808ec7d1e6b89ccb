"""The stub describes the module: mypy compares both.

The stub leaves out __replace__, which type checkers know of dataclasses.
"""
import os
import subprocess
import sys

import pytest

import treesitter


def test_stub_and_module_agree(tmp_path):
    pytest.importorskip("mypy")  # other Pythons than Debian's need not have it
    folder = os.path.dirname(treesitter.__file__)
    (tmp_path / "known").write_text(r"treesitter\.\w+\.__replace__", encoding="utf-8")
    done = subprocess.run(
        [sys.executable, "-m", "mypy.stubtest", "treesitter", "--allowlist", "known"], cwd=tmp_path,
        capture_output=True, text=True, check=False, env={**os.environ, "MYPYPATH": folder})
    assert done.returncode == 0, done.stdout + done.stderr
    assert "no issues found in 1 module" in done.stdout
