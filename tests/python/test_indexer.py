"""examples/indexer: it indexes, finds, and loses nothing."""
import collections
import contextlib
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
        counts = collections.Counter()
        indexer.index(database, [str(tree)], 2, counts)
        return dict(counts)
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
    os.mkfifo(tree / "pipe.py")
    assert index() == {"parsed": 4, "failed": 3}
    (line,) = indexer.find(index.database, "odd")
    assert line.startswith(f"defined  {tree}/caf\udce9.py:1  function ")
    errors = index.database.execute("SELECT errors FROM files WHERE errors != ''").fetchall()
    assert sorted(error.split(":")[0] for error, in errors) == [
        "Failed to read file", "Failed to read file", "UnicodeDecodeError"]
    (tree / "c.js").unlink()
    os.mkfifo(tree / "c.js")  # to open it would wait for a writer
    assert index() == {"unchanged": 4, "failed": 3}  # a file that failed is unchanged if its bytes are


@pytest.fixture
def run(indexer, tree, tmp_path, monkeypatch, capsys):
    """Calls the indexer's main. Gives its status, its output and its messages."""
    monkeypatch.chdir(tree.parent)

    def main(*arguments):
        status = indexer.main([str(tmp_path / "index.db"), *map(str, arguments)])
        return (status, *capsys.readouterr())
    return main


def test_a_file_has_one_name(run, tree):
    (tree.parent / "link").symlink_to(tree)
    assert run("index", "tree") == (0, "3 parsed\n", "")
    for spelling in ["./tree", "tree/", "tree/../tree", "link", "link/../tree", tree]:
        assert run("index", spelling) == (0, "3 unchanged\n", "")
    assert run("index", tree, "tree", "tree/pkg") == (0, "3 unchanged\n", "")


def test_a_folder_that_cannot_be_listed_keeps_its_files(indexer, run, tree, monkeypatch):
    run("index", "tree")
    (tree / "c.js").unlink()
    scandir = os.scandir

    def failing(path):
        if path.endswith("pkg"):
            raise PermissionError(13, "Permission denied", path)
        return scandir(path)
    with monkeypatch.context() as patch:
        patch.setattr(indexer.os, "scandir", failing)
        status, output, error = run("index", "tree")
    assert (status, output) == (1, "1 unlisted\n")
    assert error.startswith(f"[Errno 13] Permission denied: '{tree}/pkg'")
    tree.rename(tree.parent / "elsewhere")
    for mistyped in ["tree", "elsewhere/pkg/a.py"]:
        assert run("index", mistyped)[:2] == (1, "1 unlisted\n")
    (tree.parent / "elsewhere").rename(tree)
    assert run("index", "tree") == (0, "1 removed, 2 unchanged\n", "")


def test_what_is_known_of_a_file_stays_while_it_cannot_be_read(indexer, index, tree):
    index()
    path = tree / "pkg" / "a.py"
    path.rename(tree / "elsewhere")
    path.symlink_to(tree / "nowhere")
    assert index() == {"unchanged": 2, "failed": 1}
    assert len(list(indexer.find(index.database, "helper"))) == 3
    path.unlink()
    (tree / "elsewhere").rename(path)
    assert index() == {"unchanged": 2, "parsed": 1}


def test_folders_may_be_deep(index, tree):
    folder = str(tree)
    for _ in range(1_500):
        folder += "/d"
        os.mkdir(folder)
    pathlib.Path(folder, "deep.py").write_text("def deep(): pass\n", encoding="utf-8")
    assert index() == {"parsed": 4}
    subprocess.run(["rm", "-rf", tree / "d"], check=True)  # shutil.rmtree would fail so deep


def interrupt():
    raise KeyboardInterrupt


@pytest.mark.parametrize("end, status", [(interrupt, 130), (lambda: os._exit(9), 9)])
def test_an_end_keeps_what_was_done(indexer, run, monkeypatch, end, status):
    store = indexer.store

    def ending(database, result):
        store(database, result)
        if result.path.endswith("b.py"):  # the last one, whose transaction is still open
            end()
    with monkeypatch.context() as patch:
        patch.setattr(indexer, "SECONDS_PER_COMMIT", 0)
        patch.setattr(indexer, "store", ending)
        child = os.fork()
        if child == 0:
            code, output, error = run("index", "tree")
            os._exit(code if (output, error.split(";")[0]) == ("2 parsed\n", "interrupted") else 1)
        assert os.waitstatus_to_exitcode(os.waitpid(child, 0)[1]) == status
    assert run("index", "tree") == (0, "1 parsed, 2 unchanged\n", "")


def test_there_is_one_writer(indexer, run, tmp_path):
    run("index", "tree")
    with contextlib.closing(indexer.lock_for_writing(tmp_path / "index.db")):
        assert run("index", "tree") == (
            2, "", f"{tmp_path}/index.db: database is locked: another indexer is writing to it\n")
        assert run("find", "helper")[0] == 0
    assert run("index", "tree")[0] == 0
    (tmp_path / "index.db").write_text("no database" * 100)
    assert run("find", "helper") == (2, "", f"{tmp_path}/index.db: file is not a database\n")
    (tmp_path / "index.db").unlink()
    assert run("find", "helper")[0] == 2 and not (tmp_path / "index.db").exists()


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
