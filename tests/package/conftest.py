"""The installed package, made once for all tests by cmake --install into a temporary folder.

ctest sets BUILD_FOLDER, SOURCE_FOLDER, NODE_MODULES, CMAKE_COMMAND and COMPILER.
"""
import os
import pathlib
import re
import subprocess

import pytest

BUILD = pathlib.Path(os.environ["BUILD_FOLDER"])
SOURCE = pathlib.Path(os.environ["SOURCE_FOLDER"])
NODE_MODULES = pathlib.Path(os.environ["NODE_MODULES"])
CMAKE = os.environ["CMAKE_COMMAND"]
COMPILER = os.environ["COMPILER"]


def run(*command, timeout=7200, **options):
    """The output of a command that must succeed; if it fails, the error shows the output."""
    done = subprocess.run([str(part) for part in command], stdout=subprocess.PIPE,
                          stderr=subprocess.STDOUT, text=True, timeout=timeout, check=False, **options)
    assert done.returncode == 0, f"{command} gave {done.returncode}:\n{done.stdout}"
    return done.stdout


needs_ninja = pytest.mark.skipif(not (BUILD / "build.ninja").exists(),
                                 reason="asks Ninja what was compiled")


def ninja(*arguments):
    return run("ninja", "-C", BUILD, "-t", *arguments, env={**os.environ, "NINJA_STATUS": ""})


def files_in_products():
    """The files that tool, module and library were made from, headers included, as Ninja lists them."""
    (module,) = BUILD.glob("python/treesitter.*.so")
    products = ["treesitter-engine", module.relative_to(BUILD), "package/libtreesitter-engine.a"]
    # Some versions of Ninja quote names for the shell, such as those with an @.
    inputs = {line.strip().strip("'") for line in ninja("inputs", *products).splitlines()}
    found = {name for name in inputs if name.endswith((".a", ".c", ".cpp"))
             or name.endswith(".o") and not (BUILD / name).is_relative_to(BUILD)}
    # A block has a line for an object, then an indented line for each dependency.
    for block in re.split(r"\n\n+", ninja("deps")):
        head, *dependencies = block.splitlines() or [""]
        if head.partition(": #deps")[0] in inputs:
            found.update(line.strip() for line in dependencies)
    return {pathlib.Path(os.path.realpath(BUILD / name)) for name in found}


@pytest.fixture(scope="session")
def prefix(tmp_path_factory):
    folder = tmp_path_factory.mktemp("prefix") / "opt"
    run(CMAKE, "--install", BUILD, "--prefix", folder)
    return folder


@pytest.fixture(scope="session")
def site(prefix):
    """The folder of the installed module."""
    (module,) = prefix.glob("lib/python3*/*-packages/treesitter.*.so")
    return module.parent


@pytest.fixture(scope="session")
def pkg_config(prefix):
    environment = {**os.environ, "PKG_CONFIG_PATH": str(prefix / "lib" / "pkgconfig")}

    def flags(*options):
        return run("pkg-config", *options, "treesitter-engine", env=environment).split()
    return flags


@pytest.fixture
def sources(tmp_path):
    """A file that parses, and one that is not there."""
    (tmp_path / "a.py").write_text("def f(): pass\n")
    return [tmp_path / "a.py", tmp_path / "missing.py"]
