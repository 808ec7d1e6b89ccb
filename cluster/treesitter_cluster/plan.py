"""The plan of a run: its items and its batches.

It is made once and kept. A run that is continued has the same items in the same batches, even when folders
and branches have changed since. A batch is a range of consecutive items of one source. How many items it has
depends on what they cost to parse.

Tested by tests/cluster/test_runs.py.
"""
import hashlib
import itertools
import json
import os
from typing import NamedTuple

from .items import all_items, packed, read_items

VERSION = 1
# In bytes. A start of the engine costs 5 to 30 ms, more with each language that it meets, which speaks
# for large batches; a lost worker loses the batch under way, which speaks for small ones.
LEAST_BATCH = 4 << 20
MOST_BATCH = 64 << 20
# A batch is this part of what is left for one thread, so that batches become smaller towards the end.
PARTS_LEFT = 3
MOST_ITEMS = 20_000
# The cost of a file is its bytes and these.
FILE_COST = 2048
# A file that is only hashed, or only copied from an earlier run, costs such a part of it.
HASH_SHARE = 20
COPY_SHARE = 100


class Batch(NamedTuple):
    first: int
    count: int
    offset: int  # of its items in their file, in bytes
    length: int  # in bytes
    source: int  # its number in the plan
    cost: int
    round: int = 0  # how often it was cut

    def cut(self, items_path, parts):
        """The batch in this many consecutive parts, of equal numbers of items as far as possible."""
        items = read_items(items_path, self.offset, self.length)
        size = max(1, -(-len(items) // parts))
        batches, offset = [], self.offset
        for begin in range(0, len(items), size):
            part = items[begin:begin + size]
            length = sum(len(packed(item)) for item in part)
            batches.append(Batch(self.first + begin, len(part), offset, length, self.source,
                                 sum(map(cost, part)), self.round + 1))
            offset += length
        return batches


def cost(item):
    if item.old < 0:
        return item.size + FILE_COST
    return (item.size + FILE_COST) // (COPY_SHARE if item.oid != "-" else HASH_SHARE)


class Plan:
    def __init__(self, head, batches, digest):
        self.head = head
        self.batches = batches
        self.digest = digest

    @property
    def sources(self):
        return self.head["sources"]


def read_plan(path):
    """The plan of that file, or None if there is no such file."""
    try:
        with open(path, "rb") as file:
            data = file.read()
    except FileNotFoundError:
        return None
    head, *batches = map(json.loads, data.splitlines())
    return Plan(head, [Batch(*batch) for batch in batches], hashlib.sha256(data).hexdigest())


class _Items:
    """Writes items to their file. The batches are then made from that file, so that any number of items
    takes little memory."""

    def __init__(self, file):
        self._file = file
        self._numbers = {}
        self.sources = []
        self._changes = [(0, None)]  # pairs: number of an item, and number of the source from there on
        self.hash = hashlib.sha256()
        self.count = self.bytes = self.cost = 0

    def add(self, source, item):
        key = tuple(source.values())
        if key not in self._numbers:
            self._numbers[key] = len(self.sources)
            self.sources.append(source)
        if self._numbers[key] != self._changes[-1][1]:
            self._changes.append((self.count, self._numbers[key]))
        data = packed(item)
        self._file.write(data)
        self.hash.update(data)
        self.count += 1
        self.bytes += item.size
        self.cost += cost(item)

    def batches(self, path, threads, fixed):
        """Yields batches that become smaller, or all of the cost `fixed`. No batch has a path twice, so
        that the path of the last record tells which items are done."""
        def target():
            return fixed or min(max(left // (threads * PARTS_LEFT), LEAST_BATCH), MOST_BATCH)

        def batch():
            return Batch(first, len(seen), begin, offset - begin, source, total)

        left, changes = self.cost, iter([*self._changes[1:], (self.count, None)])
        offset = begin = first = total = 0
        source, most, seen = None, target(), set()
        change = next(changes)
        for number, item in enumerate(all_items(path)):
            begins = number == change[0]
            if seen and (begins or total + cost(item) > most or len(seen) == MOST_ITEMS or
                         item.path in seen):
                yield batch()
                left -= total
                first, begin, total, most = number, offset, 0, target()
                seen.clear()
            if begins:
                source, change = change[1], next(changes)
            seen.add(item.path)
            offset += len(packed(item))
            total += cost(item)
        if seen:
            yield batch()


def _sync(file):
    file.flush()
    os.fsync(file.fileno())


def make_plan(layout, head, pairs, threads, batch_bytes=None):
    """Writes the plan for these pairs of source and item, whole or not at all, and gives it."""
    with open(layout.items + ".new", "wb") as file:
        items = _Items(file)
        for source, item in pairs:
            items.add(source, item)
        _sync(file)
    os.rename(layout.items + ".new", layout.items)
    head = {**head, "plan": VERSION, "items": items.count, "bytes": items.bytes,
            "items_sha256": items.hash.hexdigest(), "sources": items.sources}
    with open(layout.plan + ".new", "wb") as file:
        for line in itertools.chain(
                [head], items.batches(layout.items, max(1, threads), batch_bytes)):
            file.write(json.dumps(line).encode("ascii") + b"\n")
        _sync(file)
    os.rename(layout.plan + ".new", layout.plan)
    return read_plan(layout.plan)
