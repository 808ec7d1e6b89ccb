"""The stub says what the module is: mypy compares both."""
import os
import subprocess
import sys

import treesitter


def test_stub_and_module_agree(tmp_path):
    folder = os.path.dirname(treesitter.__file__)
    done = subprocess.run(
        [sys.executable, "-m", "mypy.stubtest", "treesitter"], cwd=tmp_path, capture_output=True,
        text=True, check=False, env={**os.environ, "MYPYPATH": folder})
    assert done.returncode == 0, done.stdout + done.stderr
    assert "no issues found in 1 module" in done.stdout
