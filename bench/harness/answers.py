"""Compares the answers of all programs before their times count.

Each engine must give the same records as the first one. The first one must give the same records on one
thread and on two, and from files and from contents in memory; and the counts that were recorded for the
same input, by names and bytes.
"""
from harness.workers import WorkerEnded

HEADER = "# group\tinput\tfiles\tsymbols\treferences\terrors\tdigest of all records"


class Recorded:
    """The recorded answers, by group and digest of the input."""

    def __init__(self, path):
        self.path = path
        self.rows = {}
        if path.exists():
            for line in path.read_text("utf-8").splitlines():
                if not line.startswith("#"):
                    group, digest, *counts = line.split("\t")
                    self.rows[group, digest] = tuple(counts)

    def find(self, group):
        return self.rows.get((group.name, group.digest))

    def record(self, group, answer):
        for key in [key for key in self.rows if key[0] == group.name]:
            del self.rows[key]
        self.rows[group.name, group.digest] = tuple(str(part) for part in answer)

    def write(self):
        lines = ["\t".join(key + counts) for key, counts in sorted(self.rows.items())]
        self.path.write_text("\n".join([HEADER, *lines]) + "\n", "utf-8")


def compare(group, engines):
    """The group's answer, and the faults: texts that say who differs from whom."""
    faults = []
    mode = "content" if group.kind == "mismatched" else "file"
    first = engines[0].measure(group.name, mode, digest=True)
    if first.files != len(group.paths):
        faults.append(f"{group.name}: {first.files} files were measured, not {len(group.paths)}")

    def check(engine, mode, threads):
        answer = engine.measure(group.name, mode, threads=threads, digest=True).answer()
        if answer != first.answer():
            faults.append(f"{group.name}: {engine.name} ({mode}, {threads} threads) gives {answer}, "
                          f"{engines[0].name} gives {first.answer()}")

    check(engines[0], mode, 2)
    if mode == "file" and group.is_utf8:
        check(engines[0], "content", 1)
    for engine in engines[1:]:
        check(engine, mode, 1)
    return first, faults


def compare_tools(group, tools):
    """The faults: a file without a record, and tools that write other bytes than the first one."""
    faults = []
    answers = [tool.answer(group.name) for tool in tools]
    for tool, answer in zip(tools, answers):
        if answer[0] != len(group.paths):
            faults.append(f"{group.name}: the tool of {tool.name} writes {answer[0]} records for "
                          f"{len(group.paths)} files")
        elif answer != answers[0]:
            faults.append(f"{group.name}: the tool of {tool.name} writes {answer}, "
                          f"that of {tools[0].name} {answers[0]}")
    return faults


def compare_recorded(group, measured, recorded):
    """Whether the group is recorded at all, and the faults."""
    expected = recorded.find(group)
    if expected is None:
        return False, []
    given = tuple(str(part) for part in measured.answer())
    if given == expected:
        return True, []
    return True, [f"{group.name}: gives {given}, recorded is {expected}"]


def nodes_differ(group, engine, stock):
    """Whether the stock library reads another tree. It drops scanner states that the engine keeps."""
    try:
        return engine.measure(group.name, "parse").nodes != stock.measure(group.name, "parse").nodes
    except WorkerEnded:
        return True
