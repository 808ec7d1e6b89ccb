"""Engines and other processes: pickled, forked, spawned, and short of memory."""
import copy
import functools
import multiprocessing
import os
import pickle
import subprocess
import sys
import textwrap
import threading
import weakref

import pytest

import treesitter
from conftest import SANITIZERS, SOURCE, TIMEOUT, run_python


def test_pickled_engines_are_the_one_of_the_process():
    first = pickle.loads(pickle.dumps(treesitter.TreeSitterEngine(), 5))
    assert first is pickle.loads(pickle.dumps(first))
    assert first.parse_content(SOURCE, "python", "a.py").symbols
    navigating = pickle.loads(pickle.dumps(treesitter.TreeSitterEngine("navigation")))
    assert navigating.rules == "navigation"
    assert navigating is pickle.loads(pickle.dumps(navigating)) is not first
    other = treesitter.TreeSitterEngine()
    assert copy.copy(other) is other is copy.deepcopy(other) is not first
    watch = weakref.ref(other)
    del other
    assert watch() is None


@pytest.mark.parametrize("method", ["fork", "spawn", "forkserver"])
def test_work_is_shipped_to_processes(engine, tmp_path, method):
    paths = []
    for i in range(20):
        paths.append(str(tmp_path / f"m{i}.py"))
        if i % 5:
            with open(paths[-1], "w", encoding="utf-8") as file:
                file.write(SOURCE * i)
    expected = [engine.parse_file(path, 7) for path in paths]
    with multiprocessing.get_context(method).Pool(2) as pool:
        assert pool.map(functools.partial(engine.parse_file, file_id=7), paths) == expected


def in_child(work):
    """Forks. Gives the child's exit status: 0 if work() is true there."""
    child = os.fork()
    if child == 0:
        try:
            os._exit(0 if work() else 1)
        finally:
            os._exit(2)
    return os.waitstatus_to_exitcode(os.waitpid(child, 0)[1])


not_sanitized = pytest.mark.skipif(
    bool(SANITIZERS), reason="a sanitizer's allocator may stay locked in a child of threads")


@not_sanitized
def test_forked_while_threads_parse(engine):
    expected = engine.parse_content(SOURCE, "python", "a.py")
    stop = threading.Event()

    def parse():
        while not stop.is_set():
            engine.parse_content(SOURCE, "python", "a.py")
    threads = [threading.Thread(target=parse) for _ in range(3)]
    for thread in threads:
        thread.start()
    try:
        for _ in range(30):
            assert in_child(lambda: engine.parse_content(SOURCE, "python", "a.py") == expected) == 0
    finally:
        stop.set()
        for thread in threads:
            thread.join()


@pytest.mark.skipif("thread" in SANITIZERS, reason="it takes no threads in a forked child")
def test_an_iteration_stays_with_its_process(source_file):
    results = treesitter.parse_many([source_file] * 100, threads=2)
    next(results)

    def work():
        try:
            next(results)
        except RuntimeError as error:
            results.close()
            return "another process" in str(error) and len(list(
                treesitter.parse_many([source_file] * 5, threads=2))) == 5
        return False
    assert in_child(work) == 0
    assert len(list(results)) == 99


@pytest.mark.skipif(bool(SANITIZERS), reason="a sanitizer takes more than the limits")
def test_want_of_memory_ends_no_process():
    # Threads that parse for the first time, while there is too little memory for their storage.
    code = """
        import _thread, resource, sys, time, treesitter
        engine = treesitter.TreeSitterEngine()
        limit = int(sys.argv[1]) << 20
        def work():
            for _ in range(3):
                engine.parse_content("def f(): g(f)\\n" * 6000, "python", "a.py")
        resource.setrlimit(resource.RLIMIT_AS, (limit, limit))
        for _ in range(16):
            try:
                _thread.start_new_thread(work, ())
            except (RuntimeError, MemoryError):
                pass
        while _thread._count():
            time.sleep(0.01)
    """
    for limit in range(150, 280, 10):
        done = subprocess.run([sys.executable, "-c", textwrap.dedent(code), str(limit)],
                              stderr=subprocess.PIPE, timeout=TIMEOUT, check=False)
        assert done.returncode in (0, 1), done.stderr[-500:]  # 1: Python itself had too little


@not_sanitized
def test_a_forked_child_ends_in_order():
    # By sys.exit and not os._exit, without the parent's threads.
    assert run_python("""
        import os, sys, threading, treesitter
        engine = treesitter.TreeSitterEngine()
        def parse():
            while True:
                engine.parse_content("def f(): pass\\n" * 100, "python", "a.py")
        for _ in range(2):
            threading.Thread(target=parse, daemon=True).start()
        for _ in range(10):
            child = os.fork()
            if child == 0:
                engine.parse_content("def f(): pass", "python", "a.py")
                sys.exit(3)
            assert os.waitstatus_to_exitcode(os.waitpid(child, 0)[1]) == 3
        print("well")
    """) == "well\n"
