"""The module as a host meets it. Run by ctest with PYTHONPATH set to the module's folder."""
import dataclasses
import logging
import os
import pickle
import threading

import pytest

import treesitter

SOURCE = "class A:\n    '''Doc.'''\n    def f(self):\n        return g(self)\n"


@pytest.fixture
def engine():
    return treesitter.TreeSitterEngine()


@pytest.fixture
def result(engine):
    return engine.parse_content(SOURCE, "python", "pkg/a.py", 3)


def test_records_are_plain_values(result):
    symbol = result.symbols[0]
    assert (symbol.name, symbol.fqn, symbol.file_id, symbol.docstring) == ("A", "pkg.a.A", 3, "Doc.")
    assert symbol.kind == "class" and symbol.kind is treesitter.SymbolKind("class")
    assert result.references == [treesitter.ReferenceInfo(name="g", line=4, kind="call")]
    assert pickle.loads(pickle.dumps(result, 5)) == result
    assert dataclasses.asdict(result)["references"] == [{"name": "g", "line": 4, "kind": "call"}]
    assert repr(result.references[0]) == "ReferenceInfo(name='g', line=4, kind='call')"
    match symbol:
        case treesitter.Symbol(name="A", is_export=True):
            pass
        case _:
            pytest.fail("no match")
    with pytest.raises(TypeError):
        treesitter.ReferenceInfo(name="g", line=4)


def test_file_and_content_agree(engine, tmp_path):
    path = tmp_path / "a.py"
    path.write_text(SOURCE)
    from_file = engine.parse_file(path)
    assert from_file == engine.parse_content(SOURCE, "python", str(path))
    assert from_file == engine.parse_file(os.fsencode(path))
    assert engine.parse_file("a.unknown") is None


def test_odd_paths_survive(engine, tmp_path):
    path = os.fsdecode(os.fsencode(tmp_path) + b"/\xff.py")
    with open(path, "w") as file:
        file.write(SOURCE)
    result = engine.parse_file(path)
    assert result.path == path
    assert result.symbols[0].fqn.endswith(".\udcff.A")


def test_errors_are_pythons(engine):
    with pytest.raises(UnicodeEncodeError):
        engine.parse_content("\ud800", "python", "a.py")
    with pytest.raises(ValueError):
        engine.parse_content(SOURCE, "python", "")
    with pytest.raises(TypeError):
        engine.parse_content(SOURCE, 3, "a.py")


def test_undecodable_name(engine, tmp_path):
    path = tmp_path / "a.json"
    path.write_bytes(b'{"\xff": 1}')
    with pytest.raises(UnicodeDecodeError):
        engine.parse_file(path)


def test_read_failure_reads_and_logs_as_oserror(engine, tmp_path, caplog):
    path = str(tmp_path / "missing 'é'.py")
    with caplog.at_level(logging.DEBUG, "engines.treesitter"):
        result = engine.parse_file(path)
    with pytest.raises(OSError) as error:
        open(path)
    assert result.errors == [f"Failed to read file: {error.value}"]
    (record,) = caplog.records
    assert record.levelno == logging.WARNING and record.args[0] == path
    assert isinstance(record.exc_info[1], FileNotFoundError)


def test_parse_many_keeps_the_order_and_never_raises(tmp_path):
    paths = []
    for i in range(50):
        path = tmp_path / f"m{i}.py"
        if i % 7:
            path.write_text(f"def f{i}(): pass\n")
        paths.append(str(path))
    for threads in (1, 4):
        results = list(treesitter.parse_many(iter(paths), threads=threads))
        assert [result.path for result in results] == paths
        assert [bool(result.errors) for result in results] == [i % 7 == 0 for i in range(50)]


def test_one_engine_serves_all_threads(engine, result):
    results = []
    parse = lambda: results.extend(engine.parse_content(SOURCE, "python", "pkg/a.py", 3)
                                   for _ in range(50))
    threads = [threading.Thread(target=parse) for _ in range(8)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    assert len(results) == 400 and all(each == result for each in results)


def test_engine_pickles():
    engine = pickle.loads(pickle.dumps(treesitter.TreeSitterEngine()))
    assert engine.parse_content(SOURCE, "python", "a.py").symbols
