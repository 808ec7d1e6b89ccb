"""Signals during a call, and calls that are cancelled: soon, whatever the engine does then."""
import contextlib
import itertools
import signal
import subprocess
import time

import pytest

import treesitter
from conftest import SANITIZERS, SLOW, SOURCE, cancelled_early, run_python
from test_processes import in_child


class Stop(Exception):
    pass


@contextlib.contextmanager
def alarms(handler):
    """Calls the handler every 10 ms, beginning after 50 ms."""
    before = signal.signal(signal.SIGALRM, handler)
    signal.setitimer(signal.ITIMER_REAL, 0.05, 0.01)
    try:
        yield
    finally:
        signal.setitimer(signal.ITIMER_REAL, 0)
        signal.signal(signal.SIGALRM, before)


@pytest.mark.parametrize("call", [
    lambda engine, _: engine.parse_content(SLOW, "typescript", "a.ts"),
    lambda engine, _: engine.parse_bytes(SLOW.encode(), "typescript", "a.ts"),
    lambda engine, path: engine.parse_file(path),
    lambda engine, _: list(engine.parse_many([(SLOW, "typescript", "a.ts")] * 3, threads=2))],
    ids=["content", "bytes", "file", "many"])
def test_a_handler_is_served_within_the_call(engine, tmp_path, call):
    path = tmp_path / "a.ts"
    path.write_text(SLOW, encoding="utf-8")
    served = []
    has_returned = False

    def handler(*_):
        served.append(has_returned)
        if len(served) == 3:  # the first two let the parse go on
            raise Stop
    with cancelled_early(), alarms(handler), pytest.raises(Stop):
        call(engine, path)
        has_returned = True
        time.sleep(10)
    assert len(served) >= 3 and not any(served)  # a fourth alarm may already be pending at the third
    assert engine.parse_content(SOURCE, "python", "a.py").symbols


def test_a_handler_that_raises_loses_no_result_of_many(engine):
    items = [(SOURCE * 10_000, "python", f"{i}.py") for i in range(3)]
    expected = [engine.parse_content(*item) for item in items]
    results = engine.parse_many(items, threads=2)
    given = []

    def take():
        try:
            given.extend(results)
            return True
        except Stop:
            return False

    def handler(_, frame):
        code = take.__code__
        if frame.f_code is code and frame.f_lineno == code.co_firstlineno + 2:
            raise Stop
    with alarms(handler):
        for attempt in itertools.count(1):
            # One alarm, each later than the last, so that a slow machine comes to the end too.
            signal.setitimer(signal.ITIMER_REAL, 0.002 * attempt)
            if take():
                break
    assert given == expected


def test_a_handler_may_use_the_engine(engine):
    expected = engine.parse_content(SOURCE, "python", "a.py")
    # Long enough to be interrupted, and short enough for the time limit of a sanitized parse.
    source = SOURCE * (4_000 if SANITIZERS else 20_000)
    large = engine.parse_content(source, "python", "a.py")
    assert not large.errors
    answers = []

    def handler(*_):
        signal.setitimer(signal.ITIMER_REAL, 0)
        answers.append(engine.parse_content(SOURCE, "python", "a.py") == expected)
        answers.append(next(engine.parse_many([(SOURCE, "python", "a.py")])) == expected)
        answers.append(in_child(
            lambda: engine.parse_content(SOURCE, "python", "a.py") == expected) == 0)
    with alarms(handler):
        assert engine.parse_content(source, "python", "a.py") == large
    assert answers == [True] * 3


def test_a_call_of_a_handler_is_interrupted_too(engine, caplog):
    served = []

    def handler(*_):
        served.append(len(served))
        if len(served) == 1:
            engine.parse_content(SLOW, "typescript", "a.ts")
        elif len(served) == 2:  # a third may already be pending
            raise Stop
    with cancelled_early(), alarms(handler), pytest.raises(Stop):
        engine.parse_content(SLOW, "typescript", "a.ts")

    def small(*_):
        signal.setitimer(signal.ITIMER_REAL, 0)
        engine.parse_content(SOURCE, "python", "a.py")
    with alarms(small):
        engine.parse_content("<a {{b:>c:d(e f)", "tsx", "a.tsx")
    assert [record.args[0] for record in caplog.records] == ["a.tsx"]  # logged after that call


@pytest.mark.skipif(bool(SANITIZERS), reason="a sanitizer has threads of its own")
def test_a_handler_is_served_where_there_are_no_threads(tmp_path):
    source = tmp_path / "no_threads.c"
    source.write_text("int pthread_create() { return 11; }")  # EAGAIN
    library = tmp_path / "no_threads.so"
    subprocess.run(["cc", "-shared", "-fPIC", "-o", library, source], check=True)
    with cancelled_early():
        output = run_python("""
        import signal, treesitter
        def handler(*_):
            raise KeyError
        signal.signal(signal.SIGALRM, handler)
        signal.setitimer(signal.ITIMER_REAL, 0.3)
        item = ('"' * 4_000_000, "typescript", "a.ts")
        results = treesitter.parse_many([item, ("def f(): pass", "python", "a.py")])
        try:
            next(results)
        except KeyError:
            print(next(results).symbols[0].name)
    """, LD_PRELOAD=str(library))
    assert output == "f\n"


def test_leaving_an_iteration_cancels_it():
    with cancelled_early():
        with treesitter.parse_many([SOURCE_ITEM, *[SLOW_ITEM] * 20], threads=3) as results:
            assert next(results).symbols
            time.sleep(0.2)
        assert list(results) == []


def test_the_end_of_the_interpreter_cancels_what_is_under_way():
    with cancelled_early():
        output = run_python("""
        import threading, time, treesitter
        content = '"' * 4_000_000
        for work in [
                lambda: treesitter.TreeSitterEngine().parse_content(content, "typescript", "a.ts"),
                lambda: list(treesitter.parse_many([(content, "typescript", "a.ts")] * 4))]:
            threading.Thread(target=work, daemon=True).start()
        time.sleep(0.3)
        print("end")
    """)
    assert output == "end\n"


SOURCE_ITEM = (SOURCE, "python", "a.py")
SLOW_ITEM = (SLOW, "typescript", "a.ts")
