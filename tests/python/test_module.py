"""The module: its import, constants, helpers, languages and build information."""
import inspect
import json
import os
import pathlib
import re
import subprocess
import sys
import types

import pytest

import treesitter
from conftest import run_python

LOCK_FILE = pathlib.Path(__file__).parents[2] / "package-lock.json"


def test_import_is_light():
    assert run_python("""
        import os, sys
        open_files = os.listdir("/proc/self/fd")
        before = set(sys.modules)
        import treesitter
        heavy = {"threading", "logging", "dataclasses", "re", "inspect"}
        print(sorted((set(sys.modules) - before) & heavy))
        print(len(os.listdir("/proc/self/task")), os.listdir("/proc/self/fd") == open_files)
    """) == "[]\n1 True\n"


def test_imported_twice_and_in_another_interpreter():
    assert run_python("""
        import sys
        try:
            import _interpreters
        except ImportError:
            import _xxsubinterpreters as _interpreters
        import treesitter as first
        del sys.modules["treesitter"]
        import treesitter as second
        made = first.TreeSitterEngine().parse_content("def f(): pass", "python", "a.py")
        print(isinstance(made, first.ParseResult), first is not second)
        other = _interpreters.create()
        _interpreters.run_string(other, '''if True:
            import treesitter
            made = treesitter.TreeSitterEngine().parse_content("def f(): pass", "python", "a.py")
            print(made.symbols[0].name, flush=True)''')
        _interpreters.destroy(other)
        made = second.TreeSitterEngine().parse_content("def x(): pass", "python", "a.py")
        print(made.symbols[0].name)
    """) == "True True\nf\nx\n"


@pytest.mark.skipif(sys.version_info < (3, 12), reason="all interpreters share one lock")
def test_interpreters_with_locks_of_their_own():
    assert run_python("""
        import threading
        try:
            import _interpreters
        except ImportError:
            import _xxsubinterpreters as _interpreters
        code = '''if True:
            import os, treesitter
            items = [(f"def f{i}(): pass", "python", "a.py") for i in range(300)]
            names = [made.symbols[0].name for made in treesitter.parse_many(items, threads=2)]
            os.write(1, b"well " if names == [f"f{i}" for i in range(300)] else b"ill ")'''
        def work():
            one = _interpreters.create()
            _interpreters.run_string(one, code)
            _interpreters.destroy(one)
        threads = [threading.Thread(target=work) for _ in range(4)]
        for thread in threads:
            thread.start()
        for thread in threads:
            thread.join()
    """) == "well " * 4


def test_constants():
    assert (treesitter.MAX_DOCSTRING_LENGTH, treesitter.TRUNCATION_SUFFIX,
            treesitter.MAX_BODY_DIGEST_LENGTH, treesitter.IMPORT_MODULE_KIND) == (
                500, "...", 800, "import_module")


@pytest.mark.parametrize("line, end", [
    ("x = 1", None), ("if x:", 2), ("f (x)", 3), ("été(x)", 4), ("iffy", None),
    ("\N{NKO DIGIT ONE}(", 2),
    ("a if b", 4), ("@go:", 3), ("_(", 2)])
def test_body_digest_expression(line, end):
    assert isinstance(treesitter._BODY_DIGEST_RE, re.Pattern)
    assert treesitter._BODY_DIGEST_RE is treesitter._BODY_DIGEST_RE
    found = treesitter._BODY_DIGEST_RE.search(line)
    assert (found and found.end()) == end


@pytest.mark.parametrize("length", [0, 500, 501])
@pytest.mark.parametrize("letter", ["a", "é", "\U0001F600", "\ud800", "\udcff"], ids=ascii)
def test_truncate_docstring(length, letter):
    assert treesitter._truncate_docstring(None) == (None, False)
    text = letter * length
    cut = (letter * 497 + "...", True)
    assert treesitter._truncate_docstring(text) == (cut if length > 500 else (text, False))


@pytest.mark.parametrize("text, stripped", [
    ("'é'", "é"), ("'\ud800'", "\ud800"), ("\udcff", "\udcff"), ("''", ""), ("'a\"", "'a\""), ("", "")], ids=ascii)
def test_strip_matching_quotes(text, stripped):
    assert treesitter._strip_matching_quotes(text) == stripped


def test_node_text():
    node = types.SimpleNamespace
    assert treesitter._node_text(node(text=None)) is None
    assert treesitter._node_text(node(text=b"")) is None
    assert treesitter._node_text(node(text=b"\xc3\xa9")) == "é"
    with pytest.raises(UnicodeDecodeError):
        treesitter._node_text(node(text=b"\xe9"))
    with pytest.raises(TypeError):
        treesitter._node_text(node(text="é"))
    with pytest.raises(AttributeError):
        treesitter._node_text(b"a")


def test_languages():
    infos = treesitter.language_infos()
    assert "python" in treesitter.language_names()
    assert [info.name for info in infos] == list(treesitter.language_names())
    packages = json.loads(LOCK_FILE.read_text(encoding="utf-8"))["packages"]
    for info in infos:
        assert packages[f"node_modules/{info.grammar_package}"]["version"] == info.grammar_version
        assert treesitter.detect_language(f"src/a{info.suffixes[0]}") == info.name
    assert packages["node_modules/tree-sitter"]["version"] == treesitter.core_version()
    assert treesitter.detect_language("a.unknown") is None
    assert treesitter.detect_language(b"\xff.rb") == "ruby"


def test_build_info_is_the_tools():
    done = subprocess.run([os.environ["TREESITTER_ENGINE"], "--version", "--json"],
                          capture_output=True, check=True)
    info = treesitter.build_info()
    assert info == json.loads(done.stdout)
    assert info["engine"]["version"] == treesitter.__version__
    assert info["core"]["version"] == treesitter.core_version()
    assert [(name, grammar["version"], grammar["package"])
            for name, grammar in info["grammars"].items()] == [
        (language.name, language.grammar_version, language.grammar_package)
        for language in treesitter.language_infos()]
    for rules in info["rules"]:
        treesitter.TreeSitterEngine(rules=rules)
    parts = [info, info["engine"], info["core"], *info["grammars"].values()]
    assert len({part["digest"] for part in parts}) == len(parts)
    assert all(re.fullmatch("[0-9a-f]{64}", part["digest"]) for part in parts)
    info.clear()  # each has its own
    assert treesitter.build_info()["guards"]["memory_per_byte"] > 0


def test_help():
    for name in treesitter.__all__:
        made = getattr(treesitter, name)
        if inspect.isroutine(made) or inspect.isclass(made):
            assert inspect.getdoc(made), name
    engine = treesitter.TreeSitterEngine
    for function in [treesitter.parse_many, treesitter.detect_language, engine.parse_file,
                     engine.parse_content]:
        assert inspect.getdoc(function) and inspect.signature(function).parameters
    assert str(inspect.signature(engine.parse_content)) == (
        "(self, /, content, language, file_path, file_id=0)")
    assert set(treesitter.__all__) == {name for name in dir(treesitter) if name[0] != "_"}
    with pytest.raises(AttributeError, match="module 'treesitter' has no attribute 'nothing'"):
        treesitter.nothing
