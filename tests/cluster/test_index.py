"""Indexes made from a run's shards are the same as those that the engine makes from the files."""
import json
import pathlib
import shutil
import sqlite3
import subprocess
import sys

import pytest

from conftest import TIMEOUT, TOOL, write
from treesitter_cluster import parse

sys.path.append(str(pathlib.Path(__file__).resolve().parents[1]))
sys.argv.insert(1, TOOL)  # support.tool_case takes it from there
from support.index_case import dump  # noqa: E402

DATABASE = ".treesitter-engine/index.sqlite"


def tool(*arguments, statuses=(0,)):
    done = subprocess.run([TOOL, *map(str, arguments)], capture_output=True, check=False,
                          timeout=TIMEOUT)
    assert done.returncode in statuses, done.stderr.decode()
    return done.stderr.decode() if done.returncode == 2 else done.stdout


def run_over_folder(client, output):
    parse(client, output, paths=["."], program=TOOL, batch_bytes=20_000,
          options=["--rules", "navigation"])


@pytest.fixture
def output(client, folder, tmp_path):
    """The output of a run over the folder."""
    (folder / "top/.ignore").unlink()
    run_over_folder(client, tmp_path / "out")
    return tmp_path / "out"


def without_sizes(rows):
    """The rows without the sizes of files, and without binary files, of which a run has no records."""
    return sorted(str(row[:2] + row[3:] if row[0] == "file" else row) for row in map(eval, rows)
                  if row[0] != "file" or row[3] is not None)


def test_an_index_is_as_that_of_the_files(client, folder, output):
    tool("index", "--from-shards", output, statuses=[0, 1])
    made = dump(folder / DATABASE)
    tool("index", statuses=[0, 1])  # finds each file unchanged, by its hash
    continued = dump(folder / DATABASE)
    shutil.rmtree(folder / ".treesitter-engine")
    tool("index", statuses=[0, 1])
    fresh = dump(folder / DATABASE)
    assert continued == fresh
    assert without_sizes(made) == without_sizes(fresh)
    # An import replaces the index that is there.
    write(folder, "later.py", b"def later(): pass\n")
    tool("index", statuses=[0, 1])
    tool("index", "--from-shards", output, "--tags", "tags", statuses=[0, 1])
    assert dump(folder / DATABASE) == made
    # A shard that was lost and made again counts once, although the manifest has it twice.
    sorted((output / "shards").iterdir())[1].unlink()
    run_over_folder(client, output)
    tool("index", "--from-shards", output, statuses=[0, 1])
    assert dump(folder / DATABASE) == made


def rows_of(*arguments):
    rows = [json.loads(line) for line in tool(*arguments, "--format", "json", statuses=[0, 1]).splitlines()]
    for row in rows:
        row.pop("id", None)
    return rows


def test_a_catalogue_answers_as_one_index(client, folder, output, tmp_path):
    for name in ("a", "b", "c"):
        write(folder, f"{name}/x.py", b"def f9(): pass\nclass Parser:\n    def f1(self): pass\n")
    write(folder, "tests/test_x.py", b"def f9(): pass\ndef F1(): pass\n")
    parse(client, tmp_path / "more", paths=["a", "tests", "top", "b", "c", "a", "top/a.rb"],
          program=TOOL, batch_bytes=5_000)
    tool("index", "--from-shards", tmp_path / "more", statuses=[0, 1])
    tool("index", "--from-shards", tmp_path / "more", "--catalogue", tmp_path / "all", statuses=[0, 1])
    catalogue = tmp_path / "all/repositories"
    assert {path.name for path in catalogue.glob("*.sqlite")} == {
        f"{name}.sqlite" for name in ("a", "b", "c", "top", "tests")}
    for question in (["f9"], ["--prefix", "f"], ["--fuzzy", "pars"], ["--substring", "ars"],
                     ["f1", "--limit", "3"], ["f1", "--in", "top/d1"], ["no_such_name"]):
        expected = rows_of("find", *question)
        assert bool(expected) == (question != ["no_such_name"])
        assert rows_of("find", *question, "--catalogue", tmp_path / "all") == expected, question
    # An import replaces a catalogue too, with all its repositories.
    tool("index", "--from-shards", output, "--catalogue", tmp_path / "all", statuses=[0, 1])
    assert {path.name for path in catalogue.iterdir() if path.suffix == ".sqlite"} == {"top.sqlite"}
    with sqlite3.connect(catalogue / "top.sqlite") as connection:  # as a run that was killed leaves it
        connection.execute("UPDATE meta SET value = 0 WHERE key = 'complete'")
    done = subprocess.run([TOOL, "find", "f9", "--catalogue", tmp_path / "all"], capture_output=True)
    assert b"files may be missing" in done.stderr and done.returncode == 0
    (catalogue / "top.sqlite").write_bytes(b"x" * 5000)
    assert "top.sqlite" in tool("find", "f9", "--catalogue", tmp_path / "all", statuses=[2])


def flip(path, place):
    data = bytearray(path.read_bytes())
    data[place] ^= 0xFF
    path.write_bytes(data)


def cut(path):
    data = path.read_bytes()
    path.write_bytes(data[:len(data) // 2])


def without_a_line(path):
    lines = path.read_bytes().splitlines(keepends=True)
    path.write_bytes(b"".join(lines[:-1]))


def with_other(path, old, new):
    data = path.read_bytes()
    assert old in data
    path.write_bytes(data.replace(old, new))


FAULTS = [
    (lambda out: without_a_line(out / "manifest.jsonl"), "not at its end"),
    (lambda out: cut(sorted((out / "shards").iterdir())[-1]), "cut off"),
    (lambda out: flip(sorted((out / "shards").iterdir())[0], -3), "damaged"),
    (lambda out: sorted((out / "shards").iterdir())[1].unlink(), "cannot be read: No such file"),
    (lambda out: with_other(out / "manifest.jsonl", b'"records": ', b'"records": 1'), "not the records"),
    (lambda out: with_other(out / "manifest.jsonl", b'"digest": "', b'"digest": "0'), "another engine"),
    (lambda out: (out / "plan.jsonl").write_bytes(b"{}\n"), "not of a cluster's run"),
    (lambda out: (out / "plan.jsonl").unlink(), "plan.jsonl': No such file"),
]


def test_what_is_no_whole_run_is_refused(folder, output, tmp_path):
    for number, (fault, text) in enumerate(FAULTS):
        broken = tmp_path / str(number)
        shutil.copytree(output, broken)
        fault(broken)
        assert text in tool("index", "--from-shards", broken, statuses=[2]), text
    (tmp_path / "away").mkdir()
    with_other(output / "plan.jsonl", b"--rules", b"--other")
    for arguments, text in [(("--rules", "standard"), "has its files and rules"),
                            (("--hidden",), "has its files and rules"),
                            (("--catalogue", "x", "--database", "y"), "excludes --database")]:
        assert text in tool("index", "--from-shards", output, *arguments, statuses=[2])
    assert "--catalogue needs" in tool("index", "--catalogue", "x", statuses=[2])
    assert "no catalogue" in tool("find", "x", "--catalogue", tmp_path / "away", statuses=[2])


def test_paths_that_do_not_lie_in_the_root(client, folder, tmp_path):
    parse(client, tmp_path / "out", paths=[str(folder / "top/a.rb"), "top/../top/empty.go"], program=TOOL)
    tool("index", "--from-shards", tmp_path / "out")
    assert [row["path"] for row in rows_of("find", "a")] == ["top/a.rb"]
    (tmp_path / "away").mkdir()
    message = tool("index", "--from-shards", tmp_path / "out", tmp_path / "away", statuses=[2])
    assert "top/a.rb' does not lie in" in message
