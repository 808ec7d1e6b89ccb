"""The example host: an indexer with a pool of threads and a database."""
import importlib.util
import os
import pathlib
import subprocess
import sys
import sysconfig

import pytest

SCRIPT = pathlib.Path(__file__).parents[2] / "examples" / "indexer" / "indexer.py"
STANDARD_LIBRARY = sysconfig.get_path("stdlib")


@pytest.fixture(scope="module")
def indexer():
    spec = importlib.util.spec_from_file_location("indexer", SCRIPT)
    module = importlib.util.module_from_spec(spec)
    spec.loader.exec_module(module)
    return module


@pytest.fixture
def tree(tmp_path):
    folder = tmp_path / "tree"
    (folder / "pkg").mkdir(parents=True)
    (folder / "pkg" / "a.py").write_text("def helper():\n    return 1\n")
    (folder / "pkg" / "b.py").write_text("class B:\n    def use(self):\n        return helper()\n")
    (folder / "c.js").write_text("helper()\n")
    (folder / "notes.unknown").write_text("helper()\n")
    return folder


@pytest.fixture
def index(indexer, tree, tmp_path):
    database = indexer.open_database(tmp_path / "index.db")

    def run():
        return dict(indexer.index(database, [str(tree)], 2))
    run.database = database
    return run


def test_where_defined_and_who_calls(indexer, index, tree):
    assert index() == {"parsed": 3}
    prefix = str(tree)[1:].replace("/", ".")
    assert list(indexer.find(index.database, "helper")) == [
        f"defined  {tree}/pkg/a.py:1  function {prefix}.pkg.a.helper  def helper():",
        f"called   {tree}/c.js:1  by the file itself",
        f"called   {tree}/pkg/b.py:3  by {prefix}.pkg.b.B.use",
    ]
    assert list(indexer.find(index.database, "nobody")) == []


def test_only_what_changed_is_parsed(indexer, index, tree):
    index()
    assert index() == {"unchanged": 3}
    (tree / "pkg" / "a.py").write_text("def helper2():\n    return 1\n")
    (tree / "c.js").unlink()
    assert index() == {"parsed": 1, "unchanged": 1, "removed": 1}
    assert len(list(indexer.find(index.database, "helper"))) == 1  # the call in b.py
    assert len(list(indexer.find(index.database, "helper2"))) == 1


def test_a_file_keeps_its_id(index, tree):
    index()
    ids = index.database.execute("SELECT path, id FROM files ORDER BY path").fetchall()
    (tree / "pkg" / "a.py").write_text("x = 1\n")
    index()
    assert index.database.execute("SELECT path, id FROM files ORDER BY path").fetchall() == ids


def test_odd_files_are_indexed_too(indexer, index, tree):
    with open(os.fsencode(tree) + b"/caf\xe9.py", "w", encoding="utf-8") as file:
        file.write("def odd(): pass\n")
    (tree / "bad.json").write_bytes(b'{"\xff": 1}')
    (tree / "gone.py").symlink_to(tree / "nowhere")
    assert index() == {"parsed": 4, "failed": 2}
    (line,) = indexer.find(index.database, "odd")
    assert line.startswith(f"defined  {tree}/caf\udce9.py:1  function ")
    errors = index.database.execute("SELECT errors FROM files WHERE errors != ''").fetchall()
    assert sorted(error.split(":")[0] for error, in errors) == [
        "'utf-8' codec can't decode byte 0xff in position 1", "Failed to read file"]


def test_a_real_source_tree(tmp_path):
    def run(*arguments):
        done = subprocess.run([sys.executable, SCRIPT, tmp_path / "index.db", *arguments],
                              capture_output=True, text=True, check=False)
        assert done.stderr == ""
        return done.stdout
    folders = [os.path.join(STANDARD_LIBRARY, name) for name in ("json", "logging", "email")]
    count = int(run("index", *folders).removesuffix(" parsed\n"))
    assert count > 20
    assert run("index", *folders) == f"{count} unchanged\n"
    found = run("find", "JSONDecodeError").splitlines()
    assert sum(line.startswith("defined  ") and "/json/decoder.py:" in line for line in found) == 1
    assert any("by" in line and ".JSONDecoder.raw_decode" in line for line in found)
