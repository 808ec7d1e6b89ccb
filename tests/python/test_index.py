"""treesitter.Index: the same answers as the tool's, from threads and forked children, at any time."""
import dataclasses
import json
import os
import pathlib
import pickle
import shutil
import signal
import sqlite3
import subprocess
import threading
import time
import weakref

import pytest

import treesitter
from conftest import SANITIZERS, TIMEOUT, run_python
from test_processes import in_child, not_sanitized
from test_signals import Stop, alarms

TOOL = os.environ["TREESITTER_ENGINE"]
FOLDER = ".treesitter-engine"
FILES = {
    b"src/books.py": b'class Book:\n    """A title."""\n\n    def load(self, path):\n'
                     b"        return open_it(path) + load(path)\n\n\ndef load(path):\n    pass\n",
    b"src/app.py": b"from books import Book, load\nimport shelf.store\n\n\ndef main(book: Book):\n"
                   b"    load('x')\n    put(1)\n",
    b"src/shelf/store.py": b'def put(x):\n    """Puts onto a shelf."""\n',
    b"tests/test_books.py": b"from books import load\ndef test_load():\n    load(1)\n",
    b"web/util.ts": b"export function load(a: string) { return a }\n",
    b"web/\xff\xc3\xa9.ts": b"function Search() { load('\xc3\xa9') }\n",
}


def run_tool(*arguments, statuses=(0,)):
    done = subprocess.run([TOOL, *arguments], capture_output=True, check=False, timeout=TIMEOUT)
    assert done.returncode in statuses, done.stderr
    return done.stdout


def make(folder):
    for path, content in FILES.items():
        path = os.path.join(os.fsencode(folder), path)
        os.makedirs(os.path.dirname(path), exist_ok=True)
        with open(path, "wb") as file:
            file.write(content)
    os.mkdir(folder / ".git")
    run_tool("index", folder)
    return folder


@pytest.fixture(scope="module")
def repository(tmp_path_factory):
    """A repository with an index, for tests that do not change it."""
    return make(tmp_path_factory.mktemp("repository"))


@pytest.fixture
def own(tmp_path):
    return make(tmp_path / "own")


@pytest.fixture(scope="module")
def slow(tmp_path_factory):
    """A repository with an index in which slow_question() takes long."""
    folder = make(tmp_path_factory.mktemp("slow"))
    with sqlite3.connect(folder / FOLDER / "index.sqlite") as connection:
        connection.execute("""
            WITH RECURSIVE number(n) AS (SELECT 100 UNION ALL SELECT n + 1 FROM number
                                         WHERE n < 300000)
            INSERT INTO symbol SELECT symbol.id + n, name, scope, kind, first, lines, export,
              signature, doc FROM symbol, number WHERE symbol.id =
                (SELECT min(symbol.id) FROM symbol JOIN name ON symbol.name = name.id
                 WHERE text = 'put')""")
    connection.close()
    return folder


def slow_question(index):
    return len(index.find("put", limit=None))


# ---- As the tool ----

def said(text):
    return os.fsencode(text).decode("utf-8", "replace")


def path_fields(path):
    raw = os.fsencode(path)
    return {"path": said(path), **({} if said(path) == path else {"path_bytes": raw.hex()})}


def identity(found):
    return {**path_fields(found.path), "line": found.line, "last_line": found.last_line,
            "kind": found.kind, "name": found.name, "fqn": said(found.fqn)}


def as_json(row):
    """The record as the tool prints it."""
    rest = {field.name: getattr(row, field.name) for field in dataclasses.fields(row)}
    if isinstance(row, treesitter.Definition):
        return {"answer": "definition", **{**rest, **identity(row)}}
    if isinstance(row, treesitter.Use):
        rest["within"] = row.within and identity(row.within)
        rest["candidates"] = [{**identity(each.definition), "evidence": list(each.evidence)}
                              for each in row.candidates]
        return {"answer": "use", **rest, **path_fields(row.path)}
    if isinstance(row, treesitter.Change):
        if row.error is None:
            del rest["error"]
        return {"answer": "change", **rest, **path_fields(row.path)}
    return {"answer": "statistics", **rest,
            "languages": [dataclasses.asdict(each) for each in row.languages]}


def assert_like_tool(folder, answer, question):
    printed = run_tool(*question, "--repository", folder, "--format", "json", statuses=(0, 1))
    if isinstance(answer, treesitter.Statistics):
        answer = [answer]
    rows = [as_json(row) for row in answer or ()]
    if getattr(answer, "is_cut", False):
        rows.append({"answer": "cut", "shown": len(rows)})
    assert rows == [json.loads(line) for line in printed.splitlines()]
    return len(rows)


@pytest.mark.parametrize("name, arguments, options, count", [
    ("find", ["load"], {}, 3),
    ("find", ["LOAD"], {"kind": treesitter.SymbolKind.METHOD}, 1),
    ("find", ["lo"], {"match": "prefix", "within": "src"}, 2),
    ("find", ["oad"], {"match": "substring", "limit": 1}, 2),
    ("find", ["teLo"], {"match": "fuzzy", "language": "python"}, 1),
    ("find", ["Search"], {"language": "typescript"}, 1),
    ("find", ["\udcff"], {}, 0),
    ("search", ["title"], {}, 1),
    ("search", ["shelf puts"], {"within": pathlib.Path("src/shelf/"), "limit": None}, 1),
    ("callers", ["load"], {}, 4),
    ("callers", ["load"], {"limit": 2}, 3),
    ("callers", ["load"], {"within": b"web/\xff*"}, 1),
    ("callees", ["Book.load"], {}, 2),
    ("callees", ["web.\udcff\xe9.Search"], {}, 1),
    ("callees", ["nothing"], {}, 0),
    ("references", ["Book"], {}, 2),
    ("importers", ["shelf.store"], {"limit": 2**70}, 1),
    ("importers", ["books"], {}, 2),
    ("outline", ["src/books.py"], {}, 3),
    ("outline", [b"./web/../web/\xff\xc3\xa9.ts"], {}, 1),
    ("outline", ["src/none.py"], {}, 0),
    ("stats", [], {}, 1),
    ("changed", [], {}, 0),
])
def test_answers_are_the_tools(repository, name, arguments, options, count):
    names = {"match": "--", "kind": "--kind", "language": "--language", "within": "--in",
             "limit": "--limit"}
    question = [name]
    for option, value in options.items():
        if option == "match":
            question.append(f"--{value}")
        else:
            value = {None: 0, 2**70: 0}.get(value, value) if option == "limit" else value
            value = value if isinstance(value, bytes) else str(value)
            question += [names[option], value]
    with treesitter.Index(repository / "src" / "shelf") as index:
        assert index.root == str(repository)
        answer = getattr(index, name)(*arguments, **options)
        if name == "outline":
            path = os.fsdecode(os.path.normpath(arguments[0]))
            assert answer == index.outline(os.path.join(repository, path))
            arguments = [path]
        assert assert_like_tool(repository, answer, question + arguments) == count


def test_what_has_changed(own):
    with treesitter.Index(own) as index, treesitter.Index(own) as second:
        assert index.changed() == () and index.is_complete() and not index.is_outdated()
        (own / "new.py").write_text("x = 1\n")
        (own / "src" / "app.py").write_text("y = 1\n")
        (own / "web" / "util.ts").unlink()
        assert assert_like_tool(own, index.changed(), ["changed"]) == 3
        assert index.find("main")
        for name in ["first", "then"]:  # neither connection drops the locks of the other
            (own / "new.py").write_text(f"def {name}(): pass\n")
            run_tool("index", own)
            assert index.changed() == () and index.find(name) == second.find(name)
            assert len(index.find(name)) == 1 and not index.find("main")
    other = own / "other.sqlite"
    shutil.copy(own / FOLDER / "index.sqlite", other)
    shutil.rmtree(own / FOLDER)
    with treesitter.Index(own, database=other) as index:
        assert (index.root, index.database) == (str(own), str(other))
        assert [row.path for row in index.find("put")] == ["src/shelf/store.py"]


# ---- Records ----

def test_records(repository):
    with treesitter.Index(repository) as index:
        answers = [index.find("load"), index.callers("load"), index.stats()]
        again = [index.find("load"), index.callers("load"), index.stats()]
    assert answers == again and len({*answers, *again}) == 3
    assert pickle.loads(pickle.dumps(answers)) == answers
    found, uses, statistics = answers
    assert found != index and found[0] in found and list(found) == list(found.rows)
    assert found[-1:] == found.rows[-1:] and not treesitter.Answer((), False)
    assert repr(uses).startswith("Answer(rows=(Use(path='src/app.py', line=6, kind='call', ")
    match found[0]:
        case treesitter.Definition(path, line):
            assert (path, line) == (found[0].path, found[0].line)
    for record in [found, found[0], uses[0], uses[0].candidates[0], statistics,
                   statistics.languages[0], treesitter.Change("a", "added", None)]:
        assert weakref.ref(record)() is record and record.__dataclass_params__.frozen
        assert dataclasses.replace(record) == record is not dataclasses.replace(record)
        name = dataclasses.fields(record)[0].name
        with pytest.raises(AttributeError):
            setattr(record, name, getattr(record, name))
        with pytest.raises(AttributeError):
            record.other = 1
    assert treesitter.Answer[treesitter.Use].__origin__ is treesitter.Answer
    for wrong in [{"rows": [found[0]]}, {"rows": (1,)}, {"is_cut": 0}]:
        with pytest.raises(TypeError):
            dataclasses.replace(found, **wrong)


# ---- What cannot be asked ----

@pytest.mark.parametrize("error, ask", [
    (ValueError, lambda index: index.find("a", match="regex")),
    (TypeError, lambda index: index.find("a", match=None)),
    (ValueError, lambda index: index.find("a", kind="verb")),
    (ValueError, lambda index: index.find("a", language="cobol")),
    (ValueError, lambda index: index.find("a", limit=0)),
    (ValueError, lambda index: index.find("a", limit=-2**70)),
    (TypeError, lambda index: index.find("a", limit="1")),
    (TypeError, lambda index: index.find("a", "prefix")),
    (TypeError, lambda index: index.find(b"a")),
    (TypeError, lambda index: index.callers("a", kind="class")),
    (TypeError, lambda index: index.callers("a", within=1)),
    (UnicodeEncodeError, lambda index: index.find("\ud800")),
    (ValueError, lambda index: index.search(" . ")),
    (TypeError, lambda index: index.outline(1)),
    (TypeError, pickle.dumps),
    (TypeError, lambda index: pickle.dumps(index, 0)),
    (ValueError, lambda index: treesitter.Index("a\0b")),
    (TypeError, lambda index: treesitter.Index(".", "b")),
    (treesitter.RepositoryIndexError, lambda index: treesitter.Index(index.root + "/none")),
    (treesitter.RepositoryIndexError, lambda index: treesitter.Index(index.root + "/src/app.py")),
])
def test_wrong_questions(repository, error, ask):
    with treesitter.Index(repository) as index:
        with pytest.raises(error):
            ask(index)
        assert index.find("load")


def test_closed(repository):
    index = treesitter.Index(repository)
    with index as same:
        assert same is index and weakref.ref(index)() is index
    index.close()
    assert (index.root, repr(index)) == (str(repository), f"<treesitter.Index of '{repository}'>")
    for ask in [lambda: index.find("load"), index.changed, index.is_outdated]:
        with pytest.raises(ValueError, match="closed"):
            ask()


def damage(file):
    with open(file, "r+b") as opened:
        opened.seek(100)
        opened.write(b"\xff" * (os.path.getsize(file) - 100))


def change_schema(file):
    """Changes the version in the open index, as a run of another version does."""
    connection = sqlite3.connect(file)
    with connection:
        connection.execute("UPDATE meta SET value = 'schema 999, x' WHERE key = 'made_by'")
    connection.close()


def empty(file):
    connection = sqlite3.connect(file)
    with connection:
        connection.execute("DROP TABLE meta")
    connection.close()


@pytest.mark.parametrize("spoil, text", [
    (os.unlink, "`treesitter-engine index` makes one"),
    (lambda file: pathlib.Path(file).write_bytes(b"x" * 200), "is no index|is damaged"),
    (lambda file: (os.unlink(file), sqlite3.connect(file).execute("CREATE TABLE a(b)")),
     "database of something else"),
    (change_schema, "another version of the tool"),
    (empty, "meta|is empty"),
    (damage, "damaged"),
], ids=["removed", "no database", "not ours", "schema", "empty", "damaged"])
def test_what_is_no_index(own, spoil, text):
    database = own / FOLDER / "index.sqlite"
    opened = treesitter.Index(own)
    spoil(database)
    for ask in [lambda: treesitter.Index(own), lambda: opened.find("load"),
                lambda: opened.find("load"), opened.changed]:
        with pytest.raises(treesitter.RepositoryIndexError, match=text):
            ask()
    for file in (own / FOLDER).glob("index.sqlite*"):
        file.unlink()
    (own / "src" / "app.py").write_text("def anew(): pass\n")
    run_tool("index", own)
    assert opened.find("anew") and not opened.changed()


# ---- Threads and processes ----

def ask_much(index, rounds):
    """Asks many questions whose answers stay the same while other files are written."""
    for _ in range(rounds):
        assert {row.path for row in index.find("put")} == {"src/shelf/store.py"}
        assert [row.line for row in index.outline("src/books.py")] == [1, 4, 8]
        assert len(index.callers("put")) == 1 and len(index.callees("Book.load")) == 2
        assert index.search("shelf") and index.importers("books") and index.stats().languages
        assert not [change for change in index.changed() if change.path == "src/books.py"]


def in_threads(count, work):
    """Runs `work` in so many threads. Gives the threads, and the list of what they will have raised."""
    failures = []

    def guarded():
        try:
            work()
        except BaseException as error:
            failures.append(error)
    threads = [threading.Thread(target=guarded) for _ in range(count)]
    for thread in threads:
        thread.start()
    return threads, failures


def test_threads_ask_while_it_is_written(own):
    written = [own / f"more{i}.py" for i in range(30)]
    with treesitter.Index(own) as index:
        threads, failures = in_threads(16, lambda: ask_much(index, 3 if SANITIZERS else 15))
        for i in range(8):
            for path in written:
                path.write_text(f"def f{i}(): g{i}()\n" * 50)
            run_tool("index", own)
        for thread in threads:
            thread.join()
        assert not failures
        assert index.find("f7", limit=None) and not index.find("f0")


def test_a_child_asks_with_connections_of_its_own(repository):
    with treesitter.Index(repository) as index:
        expected = index.find("load")
        descriptors = len(os.listdir("/proc/self/fd"))

        def work():
            ask_much(index, 1)
            with treesitter.Index(repository) as another:
                return index.find("load") == expected == another.find("load")
        assert in_child(work) == 0
        assert index.find("load") == expected
        assert len(os.listdir("/proc/self/fd")) == descriptors
    assert len(os.listdir("/proc/self/fd")) < descriptors


@not_sanitized
def test_forked_while_threads_ask(repository, slow):
    stop = threading.Event()
    with treesitter.Index(repository) as index, treesitter.Index(slow) as other:
        expected = slow_question(other)

        def ask():
            while not stop.is_set():
                ask_much(index, 1)
                for opened in [treesitter.Index(repository) for _ in range(10)]:
                    opened.close()
        threads, failures = in_threads(3, ask)
        long, long_failures = in_threads(1, lambda: slow_question(other) == expected or 1 / 0)
        try:
            for _ in range(15):
                assert in_child(lambda: ask_much(index, 1) or True) == 0
        finally:
            stop.set()
            for thread in threads + long:
                thread.join()
        assert not failures + long_failures  # a fork ends a question, which then starts again


def test_forked_by_a_handler_in_the_middle_of_a_question(slow):
    with treesitter.Index(slow) as index:
        children = []

        def handler(*_):
            signal.setitimer(signal.ITIMER_REAL, 0)
            assert index.find("main")  # while the other question is under way
            child = os.fork()
            children.append(child)
        with alarms(handler):
            try:
                count = slow_question(index)
            except treesitter.RepositoryIndexError as error:
                os._exit(0 if children == [0] and "forked" in str(error) else 1)
            except BaseException:
                os._exit(2)
        assert count > 250_000 and len(children) == 1
        assert os.waitstatus_to_exitcode(os.waitpid(children[0], 0)[1]) == 0


# ---- Signals, the end ----

def test_a_handler_ends_a_question(slow):
    def processor_time(ask):
        begin = time.thread_time()
        ask()
        return time.thread_time() - begin

    with treesitter.Index(slow) as index:
        def handler(*_):
            raise Stop

        def interrupted():
            with pytest.raises(Stop), alarms(handler):
                slow_question(index)
                assert False, "it was not slow"
        whole = processor_time(lambda: slow_question(index))
        for _ in range(3):
            assert processor_time(interrupted) < 0.75 * whole
        assert index.find("main")


def test_the_end_of_the_interpreter_ends_questions(slow):
    assert run_python("""
        import sys, threading, time, treesitter
        index = treesitter.Index(sys.argv[1])
        def ask(limit):
            while True:
                index.find("put", limit=limit)
        for limit in (None, None, 1, 1, 1):
            threading.Thread(target=ask, args=(limit,), daemon=True).start()
        time.sleep(0.2)
        print("end")
    """, slow) == "end\n"
