"""The stub says what the module is: mypy compares both.

Dataclasses have __replace__ for type checkers, which know the fields.
"""
import os
import subprocess
import sys

import pytest

import treesitter


def test_stub_and_module_agree(tmp_path):
    pytest.importorskip("mypy")  # Debian's is for Debian's Python alone
    folder = os.path.dirname(treesitter.__file__)
    (tmp_path / "known").write_text(r"treesitter\.\w+\.__replace__", encoding="utf-8")
    done = subprocess.run(
        [sys.executable, "-m", "mypy.stubtest", "treesitter", "--allowlist", "known"], cwd=tmp_path, capture_output=True,
        text=True, check=False, env={**os.environ, "MYPYPATH": folder})
    assert done.returncode == 0, done.stdout + done.stderr
    assert "no issues found in 1 module" in done.stdout
