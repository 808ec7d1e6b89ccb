"""Paths of all types, and names that are no UTF-8."""
import os

import pytest

import treesitter
from conftest import SOURCE, run_python


class AsText(os.PathLike):
    def __init__(self, path):
        self.path = path

    def __fspath__(self):
        return self.path


ODD_NAMES = [b"plain", b"\xff", b"caf\xe9", "caf\u00e9".encode(), b"a\nb", b"a b", b"it's", b'"',
             b"\\", b"\x01", "\U0001F600".encode(), b"\xed\xa0\x80", b"\xc3", b"-", b"~", b"%s"]


def forms(path):
    """The path in each type that the module takes."""
    text = os.fsdecode(path)
    return [path, text, AsText(path), AsText(text)]


@pytest.mark.parametrize("name", ODD_NAMES)
def test_odd_names_survive(engine, tmp_path, name):
    folder = os.path.join(os.fsencode(tmp_path), b"in " + name)
    os.mkdir(folder)
    path = os.path.join(folder, name + b".py")
    with open(path, "w", encoding="utf-8") as file:
        file.write(SOURCE)
    text = os.fsdecode(path)
    prefix = text[1:-len(".py")].replace("\\", ".").replace("/", ".")
    for form in forms(path):
        result = engine.parse_file(form)
        assert result.path == text and result.errors == []
        assert [symbol.fqn for symbol in result.symbols] == [f"{prefix}.A", f"{prefix}.A.f"]
        assert engine.parse_content(SOURCE, "python", form) == result
        assert next(treesitter.parse_many([form])) == result
        assert next(treesitter.parse_many([(SOURCE, "python", form)])) == result


CONTENT_PATHS = {  # any text, even one that no file can have as its name
    "./src//a.py": "src.a.A", "nul\0.py": "nul\0.A", "\ud800.py": "\ud800.A",
    "\udbff/\udcff\udc41.py": "\udbff.\udcff\udc41.A", "\udced\udca0\udc80.py": "\udced\udca0\udc80.A",
    "é名\U0001F600.py": "é名\U0001F600.A"}


@pytest.mark.parametrize("path", CONTENT_PATHS, ids=ascii)
def test_the_path_of_a_content_is_as_given_and_the_prefix_normal(engine, path):
    for result in [engine.parse_content(SOURCE, "python", path),
                   engine.parse_bytes(SOURCE.encode(), "python", path),
                   next(engine.parse_many([(SOURCE, "python", path)]))]:
        assert (result.path, result.symbols[0].fqn) == (path, CONTENT_PATHS[path])


def test_the_locale_decides_about_files_only(tmp_path):
    (tmp_path / "é.py").write_text(SOURCE, encoding="utf-8")
    assert run_python("""
        import os, sys, treesitter
        engine = treesitter.TreeSitterEngine()
        path = os.fsdecode(b"\\xc3\\xa9.py")
        assert path == "\\udcc3\\udca9.py" and os.chdir(sys.argv[1]) is None
        for given in ("\\xe9.py", "\\ud800.py", path):
            result = engine.parse_content("class A: pass", "python", given)
            assert (result.path, result.symbols[0].fqn) == (given, given[:-3] + ".A")
            assert treesitter.detect_language(given) == "python"
        for given in (path, b"\\xc3\\xa9.py"):
            assert engine.parse_file(given).path == path and engine.parse_file(given).symbols
        try:
            engine.parse_file("\\xe9.py")
        except UnicodeEncodeError:
            print("refused")
    """, tmp_path, LC_ALL="C", PYTHONUTF8="0", PYTHONCOERCECLOCALE="0") == "refused\n"


def test_a_path_that_is_none(engine):
    class Odd(os.PathLike):
        def __fspath__(self):
            raise LookupError("odd")
    for call in (engine.parse_file, treesitter.detect_language):
        with pytest.raises(LookupError, match="odd"):
            call(Odd())


def test_unknown_languages_are_not_read(engine):
    assert engine.parse_file("/nowhere/a.unknown") is None
    assert engine.parse_file("") is None
