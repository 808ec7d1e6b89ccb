"""The C++ package, used by programs that have only the installed files."""
import re
import shutil
import subprocess
import sys

import pytest

from conftest import BUILD, CMAKE, COMPILER, NODE_MODULES, SOURCE, run

CONSUMER = SOURCE / "tests" / "consumer"


def expect_answers(program, sources):
    present, missing = sources
    assert run(program, present, missing).splitlines() == [
        "python",
        "function f",
        f"log Failed to read file {missing}: [Errno 2] No such file or directory: '{missing}'",
        f"Failed to read file: [Errno 2] No such file or directory: '{missing}'",
        "1",
        "1",
        "invalid start byte",
    ]


def test_found_by_cmake(prefix, sources, tmp_path):
    run(CMAKE, "-S", CONSUMER, "-B", tmp_path / "build", f"-DCMAKE_PREFIX_PATH={prefix}",
        f"-DCMAKE_CXX_COMPILER={COMPILER}")
    run(CMAKE, "--build", tmp_path / "build")
    expect_answers(tmp_path / "build" / "consumer", sources)


# This compiles the engine once more, without optimisation, and with ccache if the build uses it.
def test_added_to_a_host(prefix, sources, tmp_path):
    launchers = re.findall(r"^(CMAKE_C(?:XX)?_COMPILER_LAUNCHER:\w+=.+)$",
                           (BUILD / "CMakeCache.txt").read_text(), re.MULTILINE)
    flags = [f"-DENGINE_FOLDER={SOURCE}", f"-DENGINE_PREFIX={prefix}", f"-DCMAKE_CXX_COMPILER={COMPILER}",
             "-DTREESITTER_ENGINE_WERROR=ON", "-GNinja", *(f"-D{launcher}" for launcher in launchers)]
    run(CMAKE, "-S", CONSUMER / "host", "-B", tmp_path / "all", *flags,
        *(f"-DTREESITTER_ENGINE_{part}=ON" for part in ("BUILD_TOOL", "BUILD_TESTS", "INSTALL")))
    found_first = subprocess.run(
        [CMAKE, "-S", CONSUMER / "host", "-B", tmp_path / "twice", *flags, "-DFIND_FIRST=ON"],
        capture_output=True, text=True, check=False)
    assert found_first.returncode != 0 and "is there already" in found_first.stderr
    run(CMAKE, "-S", CONSUMER / "host", "-B", tmp_path / "build", *flags)
    run(CMAKE, "--build", tmp_path / "build")
    expect_answers(tmp_path / "build" / "consumer", sources)


@pytest.mark.parametrize("version, is_taken", [("0.1", True), ("0.2", False), ("1", False)])
def test_versions_that_are_taken(prefix, tmp_path, version, is_taken):
    (tmp_path / "CMakeLists.txt").write_text(
        "cmake_minimum_required(VERSION 3.25)\nproject(asks LANGUAGES CXX)\n"
        f"find_package(treesitter-engine {version} PATHS {prefix} NO_DEFAULT_PATH)\n"
        "message(STATUS \"found: ${treesitter-engine_FOUND}\")\n")
    answer = run(CMAKE, "-S", tmp_path, "-B", tmp_path / "build",
                 f"-DCMAKE_CXX_COMPILER={COMPILER}")
    assert f"-- found: {int(is_taken)}" in answer


@pytest.mark.parametrize("flags, reason", [
    (["-DCMAKE_CXX_COMPILER_VERSION=11.4", "-DCMAKE_CXX_COMPILER_ID=GNU"], "needs GCC 12"),
    (["-DCMAKE_C_COMPILER_VERSION=13", "-DCMAKE_C_COMPILER_ID=Clang"], "clang 14"),
    (["-DCMAKE_SIZEOF_VOID_P=4"], "64 bits"),
    (["-DCMAKE_CXX_BYTE_ORDER=BIG_ENDIAN"], "little-endian"),
    (["-DCMAKE_SYSTEM_NAME=FreeBSD"], "for Linux"),
])
def test_what_it_is_not_built_for(flags, reason):
    facts = ["-DCMAKE_SYSTEM_NAME=Linux", "-DCMAKE_SIZEOF_VOID_P=8",
             "-DCMAKE_CXX_BYTE_ORDER=LITTLE_ENDIAN",
             *(f"-DCMAKE_{language}_COMPILER_{fact}" for language in ("C", "CXX")
               for fact in ("ID=GNU", "VERSION=12.2"))]
    platform = SOURCE / "cmake" / "Platform.cmake"
    assert run(CMAKE, *facts, "-P", platform) == ""
    done = subprocess.run([CMAKE, *facts, *flags, "-P", str(platform)], capture_output=True,
                          text=True, check=False)
    assert done.returncode != 0 and reason in done.stderr


# .ci/run installs the second compiler; ./test needs only the first.
@pytest.mark.parametrize("compiler", filter(shutil.which, ["g++", "clang++"]))
def test_found_by_pkg_config(compiler, pkg_config, sources, tmp_path):
    run(compiler, "-std=c++20", "-Wall", "-Wextra", "-Wpedantic", "-Werror",
        CONSUMER / "consumer.cpp", *pkg_config("--cflags", "--libs"), "-o", tmp_path / "consumer")
    expect_answers(tmp_path / "consumer", sources)


def test_an_installation_can_be_moved(prefix, sources, tmp_path):
    moved = tmp_path / "elsewhere"
    run("cp", "-r", prefix, moved)
    run(CMAKE, "-S", CONSUMER, "-B", tmp_path / "build", f"-DCMAKE_PREFIX_PATH={moved}",
        f"-DCMAKE_CXX_COMPILER={COMPILER}")
    run(CMAKE, "--build", tmp_path / "build")
    expect_answers(tmp_path / "build" / "consumer", sources)


def test_headers_need_only_themselves(prefix, pkg_config, tmp_path):
    folder = prefix / "include" / "treesitter-engine"
    headers = sorted(folder.rglob("*.h"))
    assert folder / "engines" / "treesitter" / "treesitter.h" in headers
    for header in headers:
        text = header.read_text()
        assert not re.search(r"^\s*#\s*(define|if|ifdef|ifndef)\b", text, re.MULTILINE), header
        assert "tree_sitter/" not in text, header
        source = tmp_path / "alone.cpp"
        source.write_text(f'#include "{header.relative_to(folder)}"\n')
        run(COMPILER, "-std=c++20", "-Wall", "-Wextra", "-Wpedantic", "-Werror", "-fsyntax-only",
            f"-I{folder}", source)


def test_names_of_c_are_local(prefix):
    # Weak symbols come from the compiler, such as the pointer to the handler of exceptions.
    symbols = run("nm", "--defined-only", "--extern-only", "--format=posix",
                  prefix / "lib" / "libtreesitter-engine.a")
    names = [line.split()[:2] for line in symbols.splitlines() if len(line.split()) > 2]
    assert names
    assert [name for name, kind in names if kind in "TDBRC" and not name.startswith("_Z")] == []


@pytest.fixture(scope="module")
def other_core(tmp_path_factory):
    """Another build of the tree-sitter library, such as a host may load: all its names are visible."""
    folder = tmp_path_factory.mktemp("core")
    core = NODE_MODULES / "tree-sitter" / "vendor" / "tree-sitter" / "lib"
    grammar = NODE_MODULES / "tree-sitter-json" / "src"
    run("gcc", "-shared", "-fPIC", "-O1", "-w", "-D_GNU_SOURCE", f"-I{core}/include",
        f"-I{core}/src", f"-I{grammar}", core / "src" / "lib.c", grammar / "parser.c", "-o",
        folder / "libtree-sitter.so")
    return folder / "libtree-sitter.so"


@pytest.mark.parametrize("order", ["ours first", "other first"])
def test_two_cores_in_one_program(order, other_core, pkg_config, tmp_path):
    libraries = [*pkg_config("--libs"), str(other_core), f"-Wl,-rpath,{other_core.parent}"]
    if order == "other first":
        libraries = libraries[-2:] + libraries[:-2]
    run("g++", "-std=c++20", "-O1", *pkg_config("--cflags"), CONSUMER / "two_cores.cpp", *libraries,
        "-o", tmp_path / "two_cores")
    assert run(tmp_path / "two_cores") == "both\n"


def test_two_cores_in_one_interpreter(other_core, site):
    # RTLD_GLOBAL makes the other core's names visible to all libraries that are loaded later.
    run(sys.executable, "-c", f"""
import ctypes, sys
other = ctypes.CDLL({str(other_core)!r}, mode=ctypes.RTLD_GLOBAL)
sys.path.insert(0, {str(site)!r})
import treesitter

@ctypes.CFUNCTYPE(ctypes.c_void_p, ctypes.c_size_t)
def malloc(size):
    raise SystemExit("the other core's memory was asked for")

other.ts_set_allocator(malloc, None, None, None)
engine = treesitter.TreeSitterEngine()
assert engine.parse_content('{{"a": 1}}', "json", "a.json").symbols[0].name == "a"
other.ts_set_allocator(None, None, None, None)
other.ts_parser_new.restype = ctypes.c_void_p
other.ts_parser_delete.argtypes = [ctypes.c_void_p]
other.ts_parser_delete(other.ts_parser_new())
""")
