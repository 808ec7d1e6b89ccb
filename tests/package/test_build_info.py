"""The digests of a build: the same in any folder, and different when a source has changed."""
import os
import pathlib
import re

import pytest

from conftest import (BUILD, CMAKE, COMPILER, NODE_MODULES, SOURCE, files_in_products, needs_ninja,
                      run)

XML = "@tree-sitter-grammars/tree-sitter-xml"


@pytest.fixture
def copy(tmp_path):
    """A copy of the sources in another folder; npm's are links, since they are large."""
    for name in ("CMakeLists.txt", "cmake", "engines", "models", "bench"):
        run("cp", "-r", SOURCE / name, tmp_path)
    run("cp", "-rs", NODE_MODULES.resolve(), tmp_path / "node_modules")
    return tmp_path


def digests(build):
    """The digests of a configured build, as {grammar or "core": digest}."""
    text = (build / "generated/engines/languages/versions.h").read_text(encoding="utf-8")
    found = dict(re.findall(r'\{"(\w+)", "[^"]+",\s+"([0-9a-f]{64})"\}', text))
    found["core"] = re.search(r'CORE_DIGEST =\s+"([0-9a-f]{64})"', text)[1]
    assert found.keys() > {"core", "python", "tsx"}
    return found


def change(path):
    text = path.read_bytes()
    path.unlink()  # a link's target stays as it is
    path.write_bytes(text + b"\n")


def test_of_core_and_grammars(copy):
    build = copy / "build"

    def configured():
        run(CMAKE, "-S", copy, "-B", build, f"-DCMAKE_CXX_COMPILER={COMPILER}",
            *(f"-DTREESITTER_ENGINE_{part}=OFF"
              for part in ("BUILD_TOOL", "BUILD_PYTHON", "BUILD_TESTS", "INSTALL")))
        return digests(build)

    def changed(*paths):
        before = digests(build)
        for path in paths:
            change(copy / path)
        after = configured()
        return {name for name in after if after[name] != before[name]}

    assert configured() == digests(BUILD)
    grammars = set(digests(build)) - {"core"}
    assert changed(f"node_modules/{XML}/common/scanner.h") == {"xml"}
    assert changed("node_modules/tree-sitter/vendor/tree-sitter/lib/src/subtree.c") == {"core"}
    assert changed("cmake/core_stack.h") == {"core"}  # it has functions that replace those of the core
    assert changed("cmake/scanner_prelude.h") == grammars
    assert changed(f"node_modules/{XML}/dtd/src/parser.c", f"node_modules/{XML}/package.json",
                   "engines/languages/language.h") == set()


@needs_ninja
def test_of_all_that_is_compiled():
    """Of the core's files some are compiled as copies with replaced functions, which Ninja lists instead."""
    listed = (BUILD / "generated/digested_files").read_text(encoding="utf-8").splitlines()
    npm = NODE_MODULES.resolve()
    compiled = {path for path in files_in_products() if path.is_relative_to(npm)}
    digested = {pathlib.Path(line).resolve() for line in listed}
    copied = {npm / "tree-sitter/vendor/tree-sitter/lib/src" / copy.name
              for copy in (BUILD / "generated/core").glob("*.c")}
    assert digested == compiled | copied


def test_of_our_own(copy):
    header = copy / "engine_digest.h"

    def digested():
        run(CMAKE, f"-DSOURCE_FOLDER={copy}", f"-DOUTPUT={header}", "-P",
            SOURCE / "cmake" / "EngineDigest.cmake")
        return header.read_bytes()

    published = digested()
    assert published == (BUILD / "generated/engines/treesitter/engine_digest.h").read_bytes()
    change(copy / "models" / "symbol.h")
    assert digested() != published
    os.rename(copy / "models" / "symbol.cpp", copy / "models" / "moved.cpp")
    once = digested()
    change(copy / "cmake" / "core_stack.h")
    assert digested() == once
