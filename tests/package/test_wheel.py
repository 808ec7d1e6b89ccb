"""What pip makes of the checkout: a self-contained wheel, and a source distribution that builds one.

WHEEL_PYTHON is the interpreter that the wheel is for, by default the system's. WHEEL_TESTS names the tests of
the module to run with it. With WHEEL_OF_SDIST a wheel is compiled from the source distribution too.
scripts/check_wheels sets all three. Nothing here needs a network.
"""
import importlib.util
import os
import pathlib
import re
import tarfile
import zipfile

import pytest

from conftest import BUILD, SOURCE, run

PYTHON = os.environ.get("WHEEL_PYTHON", "/usr/bin/python3")
TESTS = os.environ.get("WHEEL_TESTS", "test_records.py test_module.py").split()
# The system's packages that building and testing need; all are pure Python.
TOOLS = ("setuptools", "_distutils_hack", "pkg_resources", "wheel", "pytest", "_pytest", "py",
         "pluggy", "iniconfig", "packaging", "attr", "attrs")
# Debian's setuptools expects these attributes of distutils, which only Debian's Python has.
SHIM = """
import setuptools.command.install
install = setuptools.command.install.orig.install
for name in ("install_layout", "prefix_option"):
    if not hasattr(install, name):
        setattr(install, name, None)
"""


@pytest.fixture(scope="module")
def python(tmp_path_factory):
    """The interpreter of a fresh environment with these tools and no other packages."""
    folder = tmp_path_factory.mktemp("python")
    shim, tools = folder / "shim", folder / "tools"
    shim.mkdir()
    tools.mkdir()
    (shim / "sitecustomize.py").write_text(SHIM)
    for name in TOOLS:
        package = pathlib.Path(importlib.util.find_spec(name).origin).parent
        if package.name == "dist-packages":  # the package is a single file
            package = package / f"{name}.py"
        for found in [package, *package.parent.glob(f"{name}-*info")]:
            (tools / found.name).symlink_to(found)
    run(PYTHON, "-m", "venv", folder / "env")
    os.environ["PYTHONPATH"] = f"{tools}:{shim}"
    yield folder / "env" / "bin" / "python"
    del os.environ["PYTHONPATH"]


@pytest.fixture(scope="module")
def wheel(python, tmp_path_factory):
    folder = tmp_path_factory.mktemp("wheel")
    run(python, "-m", "pip", "wheel", "--no-build-isolation", "--no-deps", "--no-index",
        "--no-cache-dir", "--wheel-dir", folder, SOURCE, cwd=folder)
    (made,) = folder.iterdir()
    return made


@pytest.fixture(scope="module")
def installed(python, wheel):
    run(python, "-m", "pip", "install", "--no-index", "--no-deps", wheel)
    return python


@pytest.fixture(scope="module")
def sdist(python, tmp_path_factory):
    folder = tmp_path_factory.mktemp("sdist")
    run(python, "-c", "import sys, setuptools.build_meta as b; b.build_sdist(sys.argv[1])", folder,
        cwd=SOURCE)
    (made,) = folder.iterdir()
    return made


def test_what_a_wheel_holds(wheel):
    names = zipfile.ZipFile(wheel).namelist()
    about = {name.partition(".dist-info/")[2] for name in names if ".dist-info/" in name}
    others = sorted(name for name in names if ".dist-info/" not in name)
    assert others[:2] == ["treesitter-stubs/__init__.pyi", "treesitter-stubs/py.typed"]
    assert len(others) == 3 and re.fullmatch(r"treesitter\.cpython-3.*\.so", others[2])
    packages = {path.parent.name for path in (SOURCE / "node_modules").glob("**/tree-sitter*/LICENSE")
                if path.parts.count("node_modules") == 1 + SOURCE.parts.count("node_modules")}
    ours = {path.name for path in (SOURCE / "licences").glob("*")}
    assert {f"licenses/{name}" for name in packages | ours | {"tree-sitter-unicode"}} <= about


def test_a_module_needs_the_c_library_alone(wheel, tmp_path):
    zipfile.ZipFile(wheel).extractall(tmp_path)
    (module,) = tmp_path.glob("*.so")
    needed = re.findall(r"\(NEEDED\).*\[(.*?)\.so", run("readelf", "--wide", "--dynamic", module))
    # libgcc_s has the unwinder, which the C library itself loads when a thread ends.
    assert {name for name in needed if not name.startswith("ld-linux")} == {"libc", "libm", "libgcc_s"}
    exported = run("nm", "--dynamic", "--defined-only", "--format=posix", module)
    assert [line.split()[0] for line in exported.splitlines()] == ["PyInit_treesitter"]
    versions = {tuple(map(int, found)) for found in re.findall(
        r"@GLIBC_(\d+)\.(\d+)", run("nm", "--dynamic", "--undefined-only", module))}
    assert "manylinux_{}_{}_".format(*max(versions)) in wheel.name
    assert module.stat().st_size < 30_000_000  # ICU's data alone has as much


@pytest.mark.parametrize("order", ["treesitter, ssl, sqlite3", "ssl, sqlite3, treesitter"])
def test_other_copies_of_its_libraries_are_beside_it(installed, order, tmp_path):
    assert run(installed, "-c", f"""if True:
        import {order}
        import hashlib, importlib.metadata
        assert importlib.metadata.version("treesitter-engine") == treesitter.__version__
        ssl.create_default_context()
        made = treesitter.TreeSitterEngine().parse_content("def été(): pass", "python", "a.py")
        assert made.content_hash == hashlib.sha256("def été(): pass".encode()).hexdigest()
        with sqlite3.connect("a.db") as database:
            print(made.symbols[0].name, database.execute("SELECT upper('a')").fetchone())
    """, cwd=tmp_path) == "été ('A',)\n"


def test_the_modules_own_tests(installed):
    folder = SOURCE / "tests" / "python"
    # Without the shim: subinterpreters with their own locks would run it, and cannot import what it does.
    environment = {**os.environ, "PYTHONPATH": os.environ["PYTHONPATH"].partition(":")[0],
                   "PYTHONDONTWRITEBYTECODE": "1",
                   "TREESITTER_ENGINE": str(BUILD / "treesitter-engine")}
    assert " passed" in run(installed, "-m", "pytest", "-q", "-p", "no:cacheprovider", "-W", "ignore",
                            *(folder / name for name in TESTS), env=environment)


@pytest.mark.usefixtures("wheel")
def test_a_source_distribution_is_complete_and_no_more(sdist, tmp_path):
    with tarfile.open(sdist) as archive:
        archive.extractall(tmp_path)
    (root,) = tmp_path.iterdir()
    held = {str(path.relative_to(root)) for path in root.rglob("*") if path.is_file()}
    ninja = ["ninja", "-C", SOURCE / "build" / "wheel", "-t"]
    words = re.split(r"\s+", run(*ninja, "deps") + run(*ninja, "inputs", "bindings/python/all"))
    read = {os.path.relpath(os.path.join(SOURCE, "build", "wheel", word), SOURCE)
            for word in words if word.endswith((".c", ".cpp", ".h"))}
    ours = {name for name in read if not name.startswith(("..", "build/", "/"))}
    assert len(ours) > 300 and ours <= held
    foreign = {name for name in held if name.startswith("node_modules/")}
    assert {os.path.splitext(name)[1] for name in foreign} == {".c", ".h", ".json", ""}
    run("cmake", "--preset", "release", "-B", tmp_path / "build", "-DTREESITTER_ENGINE_BUILD_TESTS=OFF",
        "-DTREESITTER_ENGINE_BUILD_TOOL=OFF", "-DTREESITTER_ENGINE_INSTALL=OFF", cwd=root)


@pytest.mark.skipif("WHEEL_OF_SDIST" not in os.environ, reason="compiles everything anew")
def test_a_source_distribution_compiles_by_itself(python, sdist, wheel, tmp_path):
    """In a temporary folder, and without a network."""
    run("unshare", "--map-root-user", "--net", python, "-m", "pip", "wheel", "--no-build-isolation",
        "--no-deps", "--no-index", "--no-cache-dir", "--wheel-dir", tmp_path, sdist, cwd=tmp_path)
    (made,) = tmp_path.glob("*.whl")
    assert made.name == wheel.name
    assert set(zipfile.ZipFile(made).namelist()) == set(zipfile.ZipFile(wheel).namelist())
