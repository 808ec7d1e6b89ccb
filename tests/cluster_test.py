#!/usr/bin/env python3
"""Runs tests/cluster with a Python that has Dask: cluster_test.py ENGINE [ARGUMENT OF PYTEST...]

Debian's Dask belongs to the system's Python, and another Python may stand before that in the PATH, so both
are tried. Where none has it this prints why and ends with status 77.
"""
import os
import pathlib
import subprocess
import sys

NEEDED = {"distributed": "python3-distributed", "zstandard": "python3-zstandard",
          "pytest": "python3-pytest"}


def missing(python):
    """The Debian packages that this Python lacks, or None if there is no such Python."""
    code = f"from importlib.util import find_spec as f; print(*(n for n in {[*NEEDED]} if not f(n)))"
    try:
        done = subprocess.run([python, "-c", code], capture_output=True, text=True, check=True)
    except (OSError, subprocess.CalledProcessError):
        return None
    return [NEEDED[name] for name in done.stdout.split()]


def main():
    engine, *arguments = sys.argv[1:]
    packages = None
    for python in ("/usr/bin/python3", sys.executable):
        packages = missing(python)
        if packages == []:
            break
    else:
        print("skipped, since these are missing:", *(packages or NEEDED.values()))
        sys.exit(77)
    environment = {**os.environ, "TREESITTER_ENGINE": os.path.abspath(engine)}
    command = [python, "-m", "pytest", "-q", "-p", "no:cacheprovider", *arguments,
               pathlib.Path(__file__).resolve().parent / "cluster"]
    os.execve(python, list(map(str, command)), environment)


if __name__ == "__main__":
    main()
