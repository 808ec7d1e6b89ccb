"""parse_many: results come in order, few are made ahead, and no file raises an error."""
import collections
import hashlib
import itertools
import os
import signal
import subprocess
import sys
import time

import pytest

import treesitter
from conftest import NESTED_KEYS, SOURCE, TIMEOUT

MOST_AHEAD = 16  # for each thread


def thread_count():
    return len(os.listdir("/proc/self/task"))


def threads_become(count):
    """Whether there are soon so many threads. The system lists a thread for a moment after it is joined."""
    end = time.monotonic() + TIMEOUT
    while thread_count() != count and time.monotonic() < end:
        time.sleep(0.01)
    return thread_count() == count


@pytest.mark.parametrize("threads", [1, 2, 5, None])
def test_in_the_order_of_the_input(engine, tmp_path, threads):
    paths = []
    for i in range(200):
        path = tmp_path / f"m{i}.py"
        if i % 7:  # the others are missing
            path.write_text(SOURCE * (1 + i % 5 * 40), encoding="utf-8")
        paths.append(str(path) if i % 11 else str(path) + ".unknown")
    expected = [engine.parse_file(path) for path in paths]
    assert list(treesitter.parse_many(paths, threads)) == expected
    assert list(engine.parse_many(iter(paths), threads=threads)) == expected
    assert list(treesitter.parse_many([], threads)) == []


def test_errors_of_files_are_data(tmp_path):
    (tmp_path / "bad.json").write_bytes(b'{"\xff": 1}')
    (tmp_path / "nested.json").write_text(NESTED_KEYS, encoding="utf-8")
    (tmp_path / "good.json").write_text('{"a": 1}', encoding="utf-8")
    names = ["bad.json", "missing.json", "nested.json", "\ud800.json", "good.json"]
    paths = [f"{tmp_path}/{name}" for name in names]
    results = list(treesitter.parse_many(paths, threads=2))
    assert [result.path for result in results] == paths
    assert [result.errors and result.errors[0].partition(":")[0] for result in results] == [
        "UnicodeDecodeError", "Failed to read file", "ResultLimitError",
        "UnicodeEncodeError", []]
    assert [result.language for result in results] == ["json", "json", "json", "", "json"]
    for name, result in zip(names, results):
        assert result.content_hash == ("" if name in (names[1], names[3]) else hashlib.sha256(
            (tmp_path / name).read_bytes()).hexdigest())
    assert results[4].symbols[0].name == "a"


def test_every_form_of_item(engine, source_file):
    data = SOURCE.encode()
    expected = {0: engine.parse_file(source_file), 7: engine.parse_file(source_file, 7)}
    items = [(source_file, 0), (source_file, 7), (os.fsencode(source_file), 7), source_file,
             (SOURCE, "python", source_file, 7), (SOURCE, "python", os.fsencode(source_file)),
             (data, "python", source_file, 7), (bytearray(data), "python", source_file),
             (memoryview(data), "python", source_file, 7)]
    with engine.parse_many(items, threads=2) as results:
        for item, result in zip(items, results):
            assert result == expected[7 if item[-1] == 7 else 0]
    odd = [("a\ud800", "python", "\ud800.py"), ("", "", "a.py"), ("", "python", "")]
    assert [(result.path, result.errors[0].partition(":")[0]) for result in
            engine.parse_many(odd)] == [
        ("\ud800.py", "UnicodeEncodeError"), ("a.py", "No parser available for "),
        ("", "ValueError")]


@pytest.mark.parametrize("threads", [1, 3])
def test_paths_are_read_as_results_are_taken(source_file, tmp_path, threads):
    read = []
    large = tmp_path / "large.py"  # keeps its thread busy while the others run ahead
    large.write_text(SOURCE * 20_000, encoding="utf-8")

    def paths():
        for i in itertools.count():
            read.append(i)
            yield source_file if i else large
    results = treesitter.parse_many(paths(), threads)
    assert read == []
    for taken in range(1, 100):
        next(results)
        assert taken <= len(read) <= taken + MOST_AHEAD * threads
    results.close()
    assert list(results) == []


def test_what_paths_raises_comes_at_its_place(source_file):
    def paths():
        yield from [source_file] * 3
        raise LookupError("no more")
    results = treesitter.parse_many(paths(), threads=2)
    assert [next(results).errors for _ in range(3)] == [[], [], []]
    with pytest.raises(LookupError, match="no more"):
        next(results)
    assert list(results) == []
    for wrong, error in [(3, TypeError), ((), TypeError), ((source_file,), TypeError),
                         ((source_file, "3"), TypeError), ((3, "python", "a.py"), TypeError),
                         (("", None, "a.py"), TypeError), (("", "python", "a.py", 1, 2), TypeError),
                         ((source_file, 2 ** 63), OverflowError)]:
        results = treesitter.parse_many([source_file, wrong, source_file])
        assert next(results).symbols
        with pytest.raises(error):
            next(results)
        assert list(results) == []


@pytest.mark.parametrize("arguments, error", [
    ((), TypeError), ((3,), TypeError), (("a.py",), TypeError), ((b"a.py",), TypeError),
    (([], "2"), TypeError), (([], 2.0), TypeError), (([], 0), ValueError), (([], -1), ValueError),
    (([], 10 ** 30), ValueError)])
def test_wrong_arguments(arguments, error):
    with pytest.raises(error):
        treesitter.parse_many(*arguments)


@pytest.mark.parametrize("end", ["exhausted", "closed", "left", "dropped"])
def test_threads_end_with_the_iteration(source_file, end):
    before = thread_count()
    results = treesitter.parse_many([source_file] * 500, threads=4)
    next(results)
    assert thread_count() > before
    if end == "exhausted":
        collections.deque(results, maxlen=0)
    elif end == "closed":
        results.close()
        results.close()
    elif end == "left":
        with pytest.raises(LookupError), results as entered:
            assert entered is results
            raise LookupError
    else:
        del results
    assert threads_become(before)


def test_not_from_within_itself(source_file):
    def paths():
        yield source_file
        for attempt in (results.close, results.__next__):
            with pytest.raises(ValueError, match="already executing"):
                attempt()
        yield source_file
    results = treesitter.parse_many(paths(), threads=1)
    assert len(list(results)) == 2


@pytest.mark.parametrize("name", ["a.unknown", "a.py"])
def test_ctrl_c_comes_between_files(tmp_path, name):
    (tmp_path / name).write_text(SOURCE, encoding="utf-8")
    # A deque of length 0 takes results for ever, and no Python code runs between them.
    child = subprocess.Popen(
        [sys.executable, "-c",
         "import collections, itertools, sys, treesitter\n"
         "def first():\n"
         "    yield sys.argv[1]\n"
         "    print('ready', flush=True)\n"
         "paths = itertools.chain(first(), itertools.repeat(sys.argv[1]))\n"
         "try:\n"
         "    collections.deque(treesitter.parse_many(paths), maxlen=0)\n"
         "except KeyboardInterrupt:\n"
         "    print('interrupted')\n", tmp_path / name],
        stdout=subprocess.PIPE, text=True)
    with child:
        assert child.stdout.readline() == "ready\n"
        child.send_signal(signal.SIGINT)
        assert child.communicate(timeout=TIMEOUT)[0] == "interrupted\n"
    assert child.returncode == 0
