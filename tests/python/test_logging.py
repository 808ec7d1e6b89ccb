"""The log records that logging.getLogger("engines.treesitter") gets."""
import logging
import threading
import traceback

import pytest

import treesitter
from conftest import SOURCE, TIMEOUT

LOGGER = logging.getLogger("engines.treesitter")
BAD_RUBY = "x = <<{0}\n{0}\n".format("A" * 300)  # its grammar gives up


class Handler(logging.Handler):
    def __init__(self, work):
        super().__init__()
        self.work = work

    def emit(self, record):
        self.work(record)


@pytest.fixture
def handle():
    """Gives each record to a function, until the test ends."""
    handlers = []

    def add(work):
        handlers.append(Handler(work))
        LOGGER.addHandler(handlers[-1])
    LOGGER.setLevel(logging.DEBUG)
    yield add
    LOGGER.setLevel(logging.NOTSET)
    for handler in handlers:
        LOGGER.removeHandler(handler)


@pytest.fixture
def records(handle):
    made = []
    handle(made.append)
    return made


def facts(record):
    return (record.levelname, record.msg, record.args, record.exc_info and type(record.exc_info[1]))


def test_a_missing_file(engine, records, tmp_path):
    path = str(tmp_path / "missing '\udcff.py")
    engine.parse_file(path)
    detail = f"[Errno 2] No such file or directory: {path!r}"
    assert [facts(record) for record in records] == [
        ("WARNING", "Failed to read file %s: %s", (path, detail), FileNotFoundError)]
    error = records[0].exc_info[1]
    assert (error.errno, error.filename, str(error)) == (2, path, detail)
    assert records[0].getMessage() == f"Failed to read file {path}: {detail}"
    frames = traceback.extract_tb(records[0].exc_info[2])
    assert [(frame.name, frame.line) for frame in frames] == [
        ("test_a_missing_file", "engine.parse_file(path)")]
    assert error.__traceback__ is records[0].exc_info[2]


def test_a_missing_grammar_each_time(engine, records):
    for _ in range(2):
        engine.parse_content(SOURCE, "cobol", "a/b.cob")
    assert [facts(record) for record in records] == 2 * [
        ("DEBUG", "No tree-sitter grammar available for language=%s", ("cobol",), None),
        ("DEBUG", "No parser available for language=%s path=%s", ("cobol", "a/b.cob"), None)]


@pytest.mark.parametrize("named", ["path", "file"])
def test_a_parse_that_fails(engine, records, tmp_path, named):
    path = str(tmp_path / "a.rb")
    with open(path, "w", encoding="utf-8") as file:
        file.write(BAD_RUBY)
    if named == "file":
        engine.parse_file(path)
    else:
        engine.parse_content(BAD_RUBY, "ruby", path)
    detail = "assertion of the grammar failed (608 bytes)"
    assert [facts(record) for record in records] == [
        ("WARNING", f"Tree-sitter parse error for {named}=%s language=%s: %s",
         (path, "ruby", detail), treesitter.ParseError)]
    assert str(records[0].exc_info[1]) == detail


def test_the_logger_is_asked_for_its_level_first(engine, monkeypatch, tmp_path):
    asked = []
    monkeypatch.setattr(LOGGER, "isEnabledFor", lambda level: asked.append(level))
    monkeypatch.setattr(LOGGER, "log", lambda *arguments, **named: pytest.fail("logged"))
    engine.parse_content(SOURCE, "cobol", "a.cob")
    engine.parse_file(tmp_path / "missing.py")
    assert asked == [logging.DEBUG, logging.DEBUG, logging.WARNING]


def test_a_handler_may_use_the_engine(engine, handle, tmp_path, source_file):
    parsed = []

    def parse(_):
        # On another thread, which would wait for ever for any lock that this one holds.
        thread = threading.Thread(target=lambda: parsed.append(engine.parse_file(source_file)))
        thread.start()
        thread.join(TIMEOUT)
        parsed.append(engine.parse_file(source_file))
    handle(parse)
    assert engine.parse_file(tmp_path / "missing.py").errors
    assert len(parsed) == 2 and parsed[0] == parsed[1]


def test_what_a_handler_raises_reaches_the_caller(engine, handle, tmp_path):
    def fail(_):
        raise LookupError("handler")
    handle(fail)
    with pytest.raises(LookupError, match="handler"):
        engine.parse_file(tmp_path / "missing.py")
    assert engine.parse_content(SOURCE, "python", "a.py").symbols


def test_parse_many_logs_in_order_on_the_callers_thread(records, tmp_path):
    paths = [str(tmp_path / f"missing{i}.py") for i in range(100)]
    list(treesitter.parse_many(paths, threads=4))
    assert [record.args[0] for record in records] == paths
    assert {record.thread for record in records} == {threading.get_ident()}
