"""The interpreter ends in order, and prints nothing, whatever the engine does at that moment."""
import pytest

from conftest import SOURCE, run_python

PROLOGUE = f"""
import atexit, sys, threading
import treesitter
engine = treesitter.TreeSitterEngine()
source = {SOURCE!r} * 50
path = sys.argv[1]
def parse_for_ever(parse):
    at_work = threading.Barrier(4)
    def work():
        parse()
        at_work.wait()
        while True:
            parse()
    for _ in range(3):
        threading.Thread(target=work, daemon=True).start()
    at_work.wait()
"""

ENDS = {
    "threads that parse": """
parse_for_ever(lambda: engine.parse_content(source, "python", "a.py"))
""",
    "threads that read and hash": """
parse_for_ever(lambda: engine.parse_file(path))
""",
    "threads that log": """
parse_for_ever(lambda: engine.parse_content(source, "cobol", "a.cob"))
""",
    "threads with engines of their own": """
parse_for_ever(lambda: treesitter.TreeSitterEngine().parse_content(source, "python", "a.py"))
""",
    "threads that take results": """
parse_for_ever(lambda: list(treesitter.parse_many([path] * 20, threads=2)))
""",
    "an iteration that nobody finished": """
results = treesitter.parse_many([path] * 1000, threads=3)
next(results)
""",
    "an iteration in a cycle": """
cycle = [treesitter.parse_many([path] * 1000, threads=3)]
next(cycle[0])
cycle.append(cycle)
""",
    "a parse in an exit handler": """
atexit.register(lambda: engine.parse_content(source, "python", "a.py"))
""",
    "a parse in a late finaliser": """
class Late:
    def __init__(self):
        self.parse = engine.parse_content
    def __del__(self):
        self.parse(source, "python", "a.py")
        self.parse("", "cobol", "a.cob")
sys.late = Late()
""",
}


@pytest.mark.parametrize("end", ENDS)
def test_ends_in_order(source_file, end):
    for _ in range(5):
        assert run_python(PROLOGUE + ENDS[end] + "print('end')", source_file) == "end\n"
