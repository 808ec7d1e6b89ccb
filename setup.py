"""Builds the Python module for pip: CMake makes it, setuptools packs it.

    pip install .                          # or: pip wheel ., python3 -m build
    CMAKE_ARGS="-D..." pip install .       # with options for CMake

The module is self-contained: whatever it uses besides the C library, and the unwinder that this has
for itself, is linked into it. Where a
library has no static form, CMAKE_ARGS=-DTREESITTER_ENGINE_STATIC_LIBRARIES=OFF takes the system's
shared ones; the wheel is then for this machine alone, and its tag says so.

The build folder is build/wheel for every Python: only the binding is compiled anew for the next one.
A source distribution holds what the module is made of, the tree-sitter sources included, so that
nobody who installs it needs npm.

Refused: scikit-build, which would wrap the same three calls of CMake and needs packages of its own;
Python's stable interface, which before 3.13 cannot tell whether the interpreter is ending.

Tested by tests/package/test_wheel.py.
"""
import os
import pathlib
import re
import shlex
import shutil
import subprocess
import sys

from setuptools import Extension, setup
from setuptools.command.build_ext import build_ext
from setuptools.command.sdist import sdist

try:
    from setuptools.command.bdist_wheel import bdist_wheel  # from 70.1 on
except ImportError:
    from wheel.bdist_wheel import bdist_wheel

SOURCE = pathlib.Path(__file__).resolve().parent
BUILD = SOURCE / "build" / "wheel"
# What a module may need at run time and still run on any Linux of some age.
C_LIBRARY = re.compile(r"lib(c|m|dl|rt|pthread|gcc_s)\.so\.\d+|ld-linux.*\.so\.\d+")


def run(*command):
    subprocess.run([os.fspath(part) for part in command], check=True, cwd=SOURCE)


# ---- What it is made of ----

def text_of(path):
    return (SOURCE / path).read_text(encoding="utf-8")


def version():
    return re.search(r"^project\(.* VERSION (\S+)", text_of("CMakeLists.txt"), re.M)[1]


def grammars():
    """(package, folder in it) of each grammar, as CMake has them."""
    rows = re.findall(r"^_grammar\(\w+ ([^\s)]+)(?: ([a-z][^\s)]*))?", text_of("cmake/Grammars.cmake"), re.M)
    return [(pathlib.Path("node_modules") / package, folder) for package, folder in rows]


CORE = pathlib.Path("node_modules/tree-sitter")


def third_party_sources():
    """What CMake compiles or reads of the tree-sitter packages, and their licences."""
    trees = [CORE / "vendor/tree-sitter/lib/src", CORE / "vendor/tree-sitter/lib/include"]
    files = set()
    for package, folder in [(CORE, ""), *grammars()]:
        files |= {package / "package.json", package / "LICENSE"}
        trees += [package / folder / "src", package / "common"] if package != CORE else []
    for tree in trees:
        files |= {path.relative_to(SOURCE) for path in (SOURCE / tree).rglob("*")
                  if path.suffix in (".c", ".h") or path.name == "LICENSE"}
    return sorted(map(os.fspath, files))


def licences():
    """The notices of all that a wheel holds, by the names that they have there."""
    packages = {package for package, _ in grammars()} | {CORE}
    found = {package.name: package / "LICENSE" for package in packages}
    found["tree-sitter-unicode"] = CORE / "vendor/tree-sitter/lib/src/unicode/LICENSE"
    found |= {path.name: path for path in (SOURCE / "licences").glob("*")}
    return {name: SOURCE / path for name, path in found.items()}


# ---- The steps ----

class Build(build_ext):
    """The extension module, and beside it the stubs, in setuptools' folder of what is built."""

    def run(self):
        if shutil.which("cmake") is None or shutil.which("ninja") is None:
            sys.exit("treesitter-engine is built by CMake with Ninja: install cmake and ninja "
                     "(Debian: cmake ninja-build), and see CONTRIBUTING.md for the libraries")
        if shutil.which("ccache") is not None:
            os.environ.setdefault("CMAKE_C_COMPILER_LAUNCHER", "ccache")
            os.environ.setdefault("CMAKE_CXX_COMPILER_LAUNCHER", "ccache")
        # Another Python than the last time is looked for anew.
        run("cmake", "--preset", "release", "-B", BUILD, "-U", "*Python3_*",
            f"-DPython3_EXECUTABLE={sys.executable}", "-DTREESITTER_ENGINE_PYTHON_FOLDER=.",
            "-DTREESITTER_ENGINE_STATIC_LIBRARIES=ON", "-DTREESITTER_ENGINE_WERROR=OFF",
            "-DTREESITTER_ENGINE_BUILD_TOOL=OFF", "-DTREESITTER_ENGINE_BUILD_TESTS=OFF",
            "-DTREESITTER_ENGINE_INSTALL=OFF",
            *shlex.split(os.environ.get("CMAKE_ARGS", "")))
        run("cmake", "--build", BUILD, "--target", "treesitter_engine_python")
        target = pathlib.Path(self.build_lib).resolve()
        shutil.rmtree(target, ignore_errors=True)
        run("cmake", "--install", BUILD, "--prefix", target, "--component", "python", "--strip")


class Wheel(bdist_wheel):
    """A wheel whose tag says which systems it runs on, with all notices among its metadata."""

    def get_tag(self):
        python, abi, platform = super().get_tag()
        (module,) = pathlib.Path(self.get_finalized_command("build").build_lib).glob("*.so")
        needs = subprocess.run(["readelf", "--wide", "--dynamic", "--version-info", module],
                               capture_output=True, text=True, check=True).stdout
        libraries = re.findall(r"\(NEEDED\).*\[(.+)\]", needs)
        versions = [(int(major), int(minor))
                    for major, minor in re.findall(r"Name: GLIBC_(\d+)\.(\d+)", needs)]
        if versions and all(map(C_LIBRARY.fullmatch, libraries)):
            oldest = "_".join(map(str, max(versions)))
            platform = platform.replace("linux_", f"manylinux_{oldest}_")
        return python, abi, platform

    def egg2dist(self, egginfo_path, distinfo_path):
        super().egg2dist(egginfo_path, distinfo_path)
        target = pathlib.Path(distinfo_path) / "licenses"
        target.mkdir(exist_ok=True)
        for name, path in licences().items():
            shutil.copyfile(path, target / name)


class SourceDistribution(sdist):
    """MANIFEST.in names what is ours."""

    def make_release_tree(self, base_dir, files):
        super().make_release_tree(base_dir, [*files, *third_party_sources()])


setup(
    version=version(),
    ext_modules=[Extension("treesitter", [])],
    cmdclass={"build_ext": Build, "bdist_wheel": Wheel, "sdist": SourceDistribution},
)
