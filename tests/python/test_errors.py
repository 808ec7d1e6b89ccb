"""The engine's errors are errors of Python: their types, and their texts."""
import os

import pytest

import treesitter
from conftest import NESTED_KEYS, SOURCE


@pytest.mark.parametrize("arguments", [
    (), ("", "python"), (b"", "python", "a.py"), (None, "python", "a.py"), ("", b"python", "a.py"),
    ("", None, "a.py"), ("", "python", None), ("", "python", 3), ("", "python", "a.py", "1"),
    ("", "python", "a.py", 1.0), ("", "python", "a.py", None), ("", "python", "a.py", 1, 2)])
def test_wrong_arguments_of_parse_content(engine, arguments):
    with pytest.raises(TypeError):
        engine.parse_content(*arguments)


@pytest.mark.parametrize("call", [
    lambda engine: engine.parse_file(),
    lambda engine: engine.parse_file(None),
    lambda engine: engine.parse_file(["a.py"]),
    lambda engine: engine.parse_file("a.py", "1"),
    lambda engine: engine.parse_file("a.py", path="b.py"),
    lambda engine: engine.parse_file("a.py", file_path="b.py"),
    lambda engine: engine.parse_file("a.py", 1, 2),
    lambda engine: engine.parse_file("a.py", 1, "python", 2),
    lambda engine: engine.parse_bytes("", "python", "a.py"),
    lambda engine: engine.parse_bytes(3, "python", "a.py"),
    lambda engine: treesitter.TreeSitterEngine(1),
    lambda engine: treesitter.TreeSitterEngine(threads=1),
    lambda engine: treesitter.detect_language(1),
    lambda engine: treesitter._truncate_docstring(b""),
    lambda engine: treesitter._strip_matching_quotes(None),
    lambda engine: treesitter.ParseMany(),
])
def test_wrong_arguments_elsewhere(engine, call):
    with pytest.raises(TypeError):
        call(engine)


@pytest.mark.parametrize("number", [2 ** 63, -2 ** 63 - 1])
def test_file_ids_have_64_bits(engine, number):
    with pytest.raises(OverflowError):
        engine.parse_content(SOURCE, "python", "a.py", number)
    inside = number - 1 if number > 0 else number + 1
    assert engine.parse_content(SOURCE, "python", "a.py", inside).symbols[0].file_id == inside


@pytest.mark.parametrize("path", ["", "/", "//"])
def test_an_empty_path_is_a_value_error(engine, path):
    with pytest.raises(ValueError, match="path has an empty last component"):
        engine.parse_content(SOURCE, "python", path)


def test_a_text_that_cannot_be_encoded(engine):
    with pytest.raises(UnicodeEncodeError) as raised:
        engine.parse_content("x = '\ud800'", "python", "a.py")
    with pytest.raises(UnicodeEncodeError) as expected:
        "x = '\ud800'".encode()
    assert raised.value.args == expected.value.args
    for path in ("\ud800.py", "a/\udbff.py"):
        with pytest.raises(UnicodeEncodeError):
            engine.parse_file(path)


@pytest.mark.parametrize("name", [b"\xff", b"a\xc3", b"\xe2\x82(", b"a\xed\xa0\x80b"])
def test_a_node_that_cannot_be_decoded(engine, tmp_path, name):
    path = tmp_path / "a.json"
    path.write_bytes(b'{"' + name + b'": 1}')
    with pytest.raises(UnicodeDecodeError) as raised:
        engine.parse_file(path)
    with pytest.raises(UnicodeDecodeError) as expected:
        raised.value.object.decode()
    assert raised.value.args == expected.value.args and name in raised.value.object


def test_a_record_out_of_proportion(engine):
    with pytest.raises(treesitter.ResultLimitError):
        engine.parse_content(NESTED_KEYS, "json", "a.json")
    assert issubclass(treesitter.ResultLimitError, RuntimeError)


def unreadable_files(folder):
    (folder / "folder.py").mkdir()
    (folder / "loop.py").symlink_to("loop.py")
    names = [b"missing.py", b"folder.py", b"loop.py", b"quote'.py", b"both'\".py", b"tab\t\n.py",
             b"\xff\xc3\xa9.py", b"back\\slash.py", "\N{NO-BREAK SPACE}é\u200b.py".encode(),
             b"folder.py/../../x/a.py", b"x" * 300 + b".py"]
    return [os.path.join(os.fsencode(folder), name) for name in names]


def test_read_failures_read_as_pythons_own(engine, tmp_path):
    for path in unreadable_files(tmp_path):
        result = engine.parse_file(path)
        with pytest.raises(OSError) as expected:
            open(os.fsdecode(path), encoding="utf-8")
        assert result == treesitter.ParseResult(
            path=os.fsdecode(path), language="python", content_hash="", symbols=[], references=[],
            errors=[f"Failed to read file: {expected.value}"])
