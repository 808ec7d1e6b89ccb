"""Parsing: both entry points, the same records as the tool's, many threads, and no leaks."""
import concurrent.futures
import dataclasses
import gc
import hashlib
import json
import logging
import os
import pathlib
import subprocess
import sys
import threading

import pytest

import treesitter
from conftest import NESTED_KEYS, SANITIZERS, SOURCE, run_python

EXAMPLES = pathlib.Path(__file__).parents[2] / "examples" / "sources"


def test_a_whole_result(engine):
    assert engine.parse_content(SOURCE, "python", "pkg/a.py", 3) == treesitter.ParseResult(
        path="pkg/a.py", language="python",
        content_hash=hashlib.sha256(SOURCE.encode()).hexdigest(),
        symbols=[
            treesitter.Symbol(
                id=None, file_id=3, name="A", kind="class", fqn="pkg.a.A", start_line=1, end_line=4,
                signature="class A:", is_export=True, docstring="Doc.", body_digest=None),
            treesitter.Symbol(
                id=None, file_id=3, name="f", kind="function", fqn="pkg.a.A.f", start_line=3,
                end_line=4, signature="def f(self):", is_export=True, docstring=None,
                body_digest="return g(self)")],
        references=[treesitter.ReferenceInfo(name="g", line=4, kind="call")], errors=[])


def test_file_content_and_bytes_agree(engine, source_file):
    expected = engine.parse_file(source_file, 3)
    given = {"language": "python", "file_path": source_file, "file_id": 3}
    assert engine.parse_content(content=SOURCE, **given) == expected
    for form in (bytes, bytearray, memoryview):
        assert engine.parse_bytes(content=form(SOURCE.encode()), **given) == expected
    assert engine.parse_file(**given) == expected and expected.symbols[0].file_id == 3
    assert engine.parse_file(source_file).symbols[0].file_id == 0


def test_the_caller_knows_the_language(engine, tmp_path):
    path = tmp_path / "a.unknown"
    path.write_bytes(b"def f():\n    'caf\xe9'\n")
    assert engine.parse_file(path) is engine.parse_file(path, 0, None) is None
    result = engine.parse_file(path, language="python")
    assert result.symbols[0].docstring == "caf\N{REPLACEMENT CHARACTER}"
    assert engine.parse_bytes(path.read_bytes(), "python", path) == result
    assert engine.parse_file(path, 0, "cobol").errors == ["No parser available for cobol"]


@pytest.mark.parametrize("size, depth", [(2 ** 20, 14_600), (45_000, 4_900)])
@pytest.mark.skipif("LD_PRELOAD" in os.environ, reason="a sanitizer takes memory of its own")
def test_texts_of_the_widest_letters_stay_within_the_bound(tmp_path, size, depth):
    # Python takes 4 bytes for each letter of a text with an emoji in it, the engine takes one.
    path = tmp_path / "a.json"
    nested = '{"\U0001F600":' + '{"k":' * depth + "1" + "}" * (depth + 1)
    path.write_text(nested.ljust(size), encoding="utf-8")
    peak, bound = run_python("""
        import os, sys, treesitter
        def kib(name):
            with open("/proc/self/status") as status:
                return int(next(line for line in status if line.startswith(name)).split()[1])
        engine = treesitter.TreeSitterEngine()
        with open("/proc/self/clear_refs", "w") as peak:
            peak.write("5")
        before = kib("VmRSS")
        os.chdir(sys.argv[1])
        result = engine.parse_file("a.json")
        assert len(result.symbols[-1].fqn) > 9000
        print(kib("VmHWM") - before, 64 * 1024 + os.path.getsize("a.json"))
    """, tmp_path).split()
    assert int(peak) < int(bound)


@pytest.mark.parametrize("text", ["é", "\U0001F600", "名前"])
def test_texts_of_every_width(engine, text):
    result = engine.parse_content(f'def f():\n    """{text}"""\n', "python", "a.py")
    assert result.symbols[0].docstring == text


@pytest.mark.parametrize("rules", ["standard", "navigation"])
def test_same_answers_as_the_tool(rules):
    engine = treesitter.TreeSitterEngine(rules=rules)
    assert engine.rules == rules
    tool = os.environ["TREESITTER_ENGINE"]
    paths = sorted(str(path) for path in EXAMPLES.iterdir())
    assert len(paths) == len(treesitter.language_names())
    output = subprocess.run([tool, "parse", "--rules", rules, "--format", "json", *paths], check=True,
                            capture_output=True, text=True).stdout
    assert [dataclasses.asdict(engine.parse_file(path)) for path in paths] == [
        json.loads(line) for line in output.splitlines()]


def test_rules_are_chosen_by_name():
    source = "class A:\n    def f(self): return self.g()\n"
    found = {}
    for rules in ["standard", "navigation"]:
        result = treesitter.TreeSitterEngine(rules).parse_content(source, "python", "a.py")
        found[rules] = [(symbol.kind, symbol.name) for symbol in result.symbols]
    assert treesitter.TreeSitterEngine().rules == "standard"
    assert found == {"standard": [("class", "A"), ("function", "f")],
                     "navigation": [("class", "A"), ("method", "f")]}
    for rules, error in [("other", ValueError), ("", ValueError), (1, TypeError)]:
        with pytest.raises(error, match="rules"):
            treesitter.TreeSitterEngine(rules=rules)


def test_one_engine_serves_all_threads(engine):
    paths = sorted(EXAMPLES.iterdir())
    expected = [engine.parse_file(path) for path in paths]
    start = threading.Barrier(8)

    def work(_):
        start.wait()
        return [[engine.parse_file(path) for path in paths] for _ in range(5)]
    with concurrent.futures.ThreadPoolExecutor(8) as pool:
        for rounds in pool.map(work, range(8)):
            assert rounds == [expected] * 5


def test_engines_come_and_go_with_threads(source_file):
    expected = treesitter.TreeSitterEngine().parse_file(source_file)

    def work(engine):
        assert (engine or treesitter.TreeSitterEngine()).parse_file(source_file) == expected
    for i in range(200):
        shared = treesitter.TreeSitterEngine() if i % 2 else None
        thread = threading.Thread(target=work, args=[shared])
        thread.start()
        thread.join()


def test_other_threads_run_meanwhile(engine, tmp_path):
    path = tmp_path / "large.py"
    # Long enough that this thread is not kept waiting for a processor until the parse has ended.
    path.write_text(SOURCE * (40_000 if SANITIZERS else 160_000), encoding="utf-8")
    begun = threading.Event()
    ended = []

    def parse():
        begun.set()
        engine.parse_file(path)
        ended.append(True)
    interval = sys.getswitchinterval()
    thread = threading.Thread(target=parse)
    try:
        sys.setswitchinterval(600)  # seconds: a thread runs only when another one releases the lock
        thread.start()
        begun.wait()
        assert not ended
    finally:
        sys.setswitchinterval(interval)
        thread.join()
    assert ended


def resident_kib():
    pages = int(pathlib.Path("/proc/self/statm").read_text(encoding="ascii").split()[1])
    return pages * os.sysconf("SC_PAGE_SIZE") // 1024


@pytest.fixture
def quiet_log(monkeypatch):
    """Log records are made and dropped. pytest would keep them all."""
    logger = logging.getLogger("engines.treesitter")
    monkeypatch.setattr(logger, "propagate", False)
    handler = logging.NullHandler()
    logger.addHandler(handler)
    yield
    logger.removeHandler(handler)


@pytest.mark.skipif(bool(SANITIZERS), reason="a sanitizer's own memory grows")
@pytest.mark.usefixtures("quiet_log")
def test_no_leak_over_100_000_parses(engine, tmp_path):
    unreadable = str(tmp_path / "missing.py")
    undecodable = tmp_path / "a.json"
    undecodable.write_bytes(b'{"\xff": 1}')

    def parse(times):
        for i in range(times):
            engine.parse_content(SOURCE, "python", "a.py", i)
            engine.parse_content("function été() { f() }", "javascript", "a.js")
            engine.parse_content("x", "cobol", "a.cob")
            if i % 10 == 0:
                engine.parse_file(unreadable)
                with pytest.raises(UnicodeDecodeError):
                    engine.parse_file(undecodable)
            if i % 10_000 == 0:
                with pytest.raises(treesitter.ResultLimitError):
                    engine.parse_content(NESTED_KEYS, "json", "a.json")
                list(treesitter.parse_many([undecodable] * 40, threads=2))
    parse(3_000)
    gc.collect()
    blocks, memory = sys.getallocatedblocks(), resident_kib()
    parse(34_000)
    gc.collect()
    assert sys.getallocatedblocks() - blocks < 1_000
    assert resident_kib() - memory < 2_000
