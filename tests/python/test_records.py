"""The records behave as dataclasses with the same fields would."""
import copy
import dataclasses
import gc
import json
import pathlib
import pickle
import weakref

import pytest

from treesitter import LanguageInfo, ParseResult, ReferenceInfo, Symbol, SymbolKind

SCHEMA = pathlib.Path(__file__).parents[2] / "doc/schema/answer.json"
REFERENCE = {"name": "g", "line": 4, "kind": "call"}
SYMBOL = {"id": None, "file_id": 3, "name": "A", "kind": SymbolKind.CLASS, "fqn": "pkg.a.A",
          "start_line": 1, "end_line": 4, "signature": "class A:", "is_export": True,
          "docstring": "Doc.", "body_digest": None}
RESULT = {"path": "pkg/a.py", "language": "python", "content_hash": "00" * 32,
          "symbols": [Symbol(**SYMBOL)], "references": [ReferenceInfo(**REFERENCE)],
          "errors": ["e"]}
LANGUAGE = {"name": "x", "grammar_package": "tree-sitter-x", "grammar_version": "1.0",
            "file_names": (), "suffixes": (".x",)}
OTHER = {None: "new", True: False, SymbolKind.CLASS: SymbolKind.ENUM}
RECORDS = pytest.mark.parametrize("record, values", [
    (ReferenceInfo, REFERENCE), (Symbol, SYMBOL), (ParseResult, RESULT), (LanguageInfo, LANGUAGE)])


def other_value(name, value):
    """Another value that the field takes."""
    if name == "id":
        return 7
    if isinstance(value, (list, tuple)):
        return type(value)(["more", *value])
    if isinstance(value, int) and not isinstance(value, bool):
        return value + 1 if name == "end_line" else 2
    return OTHER.get(value, "new\0")


@RECORDS
def test_built_by_keyword_without_defaults(record, values):
    assert [getattr(record(**values), name) for name in values] == list(values.values())
    assert record(*values.values()) == record(**values)
    for name in values:
        with pytest.raises(TypeError, match=f"missing required argument '{name}'"):
            record(**{other: values[other] for other in values if other != name})
    with pytest.raises(TypeError, match="unexpected keyword argument 'nothing'"):
        record(**values, nothing=1)
    with pytest.raises(TypeError, match="multiple values"):
        record("x", **values)
    with pytest.raises(TypeError, match="takes at most"):
        record(*values.values(), 1)


@RECORDS
def test_each_field_is_compared_and_can_be_set(record, values):
    whole = record(**values)
    assert whole == record(**values) and not whole != record(**values)
    for name, value in values.items():
        changed = record(**values)
        setattr(changed, name, other_value(name, value))
        assert changed != whole and not changed == whole, name
        with pytest.raises(TypeError):
            setattr(changed, name, object())
        with pytest.raises(TypeError):
            delattr(changed, name)
    assert whole != tuple(values.values())
    with pytest.raises(TypeError, match="unhashable"):
        hash(whole)
    with pytest.raises(TypeError):
        whole < whole
    with pytest.raises(AttributeError):
        whole.nothing = 1


@RECORDS
def test_as_a_dataclass(record, values):
    whole = record(**values)
    twin = dataclasses.make_dataclass(record.__name__, list(values))
    assert dataclasses.is_dataclass(record) and dataclasses.is_dataclass(whole)
    assert [field.name for field in dataclasses.fields(record)] == list(values)
    assert repr(whole) == repr(twin(**values))
    assert dataclasses.asdict(whole) == dataclasses.asdict(twin(**values))
    assert dataclasses.astuple(whole) == dataclasses.astuple(twin(**values))
    assert record.__match_args__ == twin.__match_args__
    for name, value in values.items():
        other = other_value(name, value)
        assert dataclasses.replace(whole, **{name: other}) == record(**{**values, name: other})
        assert whole.__replace__(**{name: other}) == record(**{**values, name: other})
    with pytest.raises(TypeError):
        whole.__replace__(nothing=1)


@RECORDS
def test_copied_and_pickled(record, values):
    whole = record(**values)
    for protocol in range(pickle.HIGHEST_PROTOCOL + 1):
        assert pickle.loads(pickle.dumps(whole, protocol)) == whole
    assert copy.copy(whole) == whole == copy.deepcopy(whole)
    assert copy.copy(whole) is not whole
    watch = weakref.ref(whole)
    assert watch() is whole
    del whole
    assert watch() is None


def test_asdict_reaches_the_records_inside():
    assert dataclasses.asdict(ParseResult(**RESULT)) == {
        **RESULT, "symbols": [SYMBOL], "references": [REFERENCE]}


def test_matched():
    match ParseResult(**RESULT):
        case ParseResult(path, "python", symbols=[Symbol(kind=SymbolKind.CLASS, name="A")],
                         references=[ReferenceInfo("g", 4)]):
            assert path == "pkg/a.py"
        case _:
            pytest.fail("no match")


@pytest.mark.parametrize("fields, text", [
    ({"kind": "klass"}, "unknown symbol kind 'klass'"), ({"start_line": 0}, "less than 1"),
    ({"start_line": 5}, "end_line is less than start_line"), ({"end_line": -1}, "line"),
    ({"end_line": 2 ** 32}, "end_line is too large"),
    ({"end_line": 2 ** 64}, "end_line is too large")])
def test_what_a_symbol_rejects(fields, text):
    with pytest.raises(ValueError, match=text):
        Symbol(**{**SYMBOL, **fields})
    symbol = Symbol(**SYMBOL)
    for name, value in fields.items():
        with pytest.raises(ValueError, match=text):
            setattr(symbol, name, value)
    assert symbol == Symbol(**SYMBOL)


def test_kinds():
    schema = json.loads(SCHEMA.read_text(encoding="utf-8"))
    assert [str(kind) for kind in SymbolKind] == schema["$defs"]["kind"]["enum"]
    for kind in SymbolKind:
        symbol = Symbol(**{**SYMBOL, "kind": str(kind)})
        assert symbol.kind is kind and symbol.kind == kind.value and kind.name == kind.upper()
        assert pickle.loads(pickle.dumps(kind)) is kind


class Marker:
    pass


def test_a_record_inside_itself():
    result = ParseResult(**{**RESULT, "symbols": [], "errors": []})
    result.symbols.append(result)
    assert "symbols=[ParseResult(...)]" in repr(result)
    watch = weakref.ref(marker := Marker())
    result.errors.append(marker)
    del result, marker
    gc.collect()
    assert watch() is None
