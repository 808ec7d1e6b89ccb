"""The installed Python module, and what else is installed."""
import os
import re
import sys

from conftest import run

PYTHON = sys.executable  # ctest runs the Python that the module is for


def test_module_is_found_in_its_folder(site, sources):
    environment = {**os.environ, "PYTHONPATH": str(site)}
    assert run(PYTHON, "-c", "import treesitter, sys; e = treesitter.TreeSitterEngine();"
               "print(e.parse_file(sys.argv[1]).symbols[0].name)", sources[0],
               env=environment) == "f\n"


def test_module_exports_its_entry_only(site):
    (module,) = site.glob("treesitter.*.so")
    symbols = run("nm", "--dynamic", "--defined-only", "--format=posix", module)
    assert [line.split()[0] for line in symbols.splitlines()] == ["PyInit_treesitter"]


def test_type_checkers_find_the_stub(site, tmp_path):
    # Type checkers ask a Python for its folder of packages, so there is one with nothing but ours.
    run(PYTHON, "-m", "venv", "--without-pip", tmp_path / "env")
    (packages,) = (tmp_path / "env").glob("lib/python3*/site-packages")
    run("cp", "-r", f"{site}/.", packages)
    program = tmp_path / "host.py"
    program.write_text(
        "import treesitter\n"
        "result = treesitter.TreeSitterEngine().parse_file('a.py')\n"
        "reveal_type(result)\n"
        "if result is not None:\n"
        "    result.symbols[0].name + 1\n")
    answer = run("sh", "-c", f"{PYTHON} -m mypy --cache-dir=/dev/null --python-executable "
                 f"{tmp_path}/env/bin/python {program} || true")
    assert 'Revealed type is "Union[treesitter.ParseResult, None]"' in answer
    assert len(re.findall(r"^.*: error:", answer, re.MULTILINE)) == 1  # str + int


def test_no_library_but_ours(prefix):
    libraries = {path.name.split(".")[0] for path in prefix.rglob("*.*")
                 if path.suffix in (".so", ".a")}
    assert libraries == {"libtreesitter-engine", "treesitter"}


def test_tool_runs(prefix, sources):
    assert "function" in run(prefix / "bin" / "treesitter-engine", "parse", "--format", "text",
                             sources[0])
