"""The plan of a run: what is to be done, and the batches that it is done in.

Made once and kept: a run that goes on later has the same items in the same batches, whatever has
become of folders and branches. A batch is a range of consecutive items of one source, cut by what
they cost to parse and not by their number.
"""
import array
import hashlib
import json
import os
from typing import NamedTuple

from .items import packed, read_items

VERSION = 1
# Each start of the engine costs 5 to 30 ms, as many languages as it meets; the loss of a worker
# some seconds of parsing.
LEAST_BATCH = 1 << 20
MOST_BATCH = 64 << 20
# Each batch is this part of what is left for a thread: few starts, and small ones to end with.
PARTS_LEFT = 4
MOST_ITEMS = 20_000
# What a file costs beside its bytes, in bytes; and what one costs that is only compared or copied.
FILE_COST = 2048
HASH_SHARE = 20
COPY_SHARE = 100


class Batch(NamedTuple):
    first: int
    count: int
    offset: int  # of its items in their file
    length: int
    source: int  # its number
    cost: int
    round: int = 0  # how often it was cut

    def cut(self, items_path, parts):
        """Consecutive parts of it, as even as their number allows."""
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
    """None where there is none."""
    try:
        with open(path, "rb") as file:
            data = file.read()
    except FileNotFoundError:
        return None
    head, *batches = map(json.loads, data.splitlines())
    return Plan(head, [Batch(*batch) for batch in batches], hashlib.sha256(data).hexdigest())


class _Items:
    """Written to their file, and what is needed of them to cut batches."""

    def __init__(self, file):
        self._file = file
        self._sources = {}
        self.source_list = []
        self.hash = hashlib.sha256()
        self.sources, self.lengths = array.array("L"), array.array("L")
        self.costs, self.paths = array.array("Q"), array.array("q")
        self.bytes = 0

    def add(self, source, item):
        key = tuple(source.values())
        if key not in self._sources:
            self._sources[key] = len(self.source_list)
            self.source_list.append(source)
        data = packed(item)
        self._file.write(data)
        self.hash.update(data)
        self.sources.append(self._sources[key])
        self.lengths.append(len(data))
        self.costs.append(cost(item))
        self.paths.append(hash(item.path))
        self.bytes += item.size

    def batches(self, threads, fixed):
        """Ever smaller ones, or all of one cost. A path is in a batch once: what is behind the last record is then known by its path."""
        def target():
            return fixed or min(max(left // (threads * PARTS_LEFT), LEAST_BATCH), MOST_BATCH)

        left = sum(self.costs)
        offset = first = begin = total = 0
        most, seen = target(), set()
        for i, source in enumerate(self.sources):
            if i > first and (total + self.costs[i] > most or source != self.sources[first] or
                              i - first == MOST_ITEMS or self.paths[i] in seen):
                yield Batch(first, i - first, begin, offset - begin, self.sources[first], total)
                left -= total
                first, begin, total, most = i, offset, 0, target()
                seen.clear()
            seen.add(self.paths[i])
            offset += self.lengths[i]
            total += self.costs[i]
        if self.sources:
            yield Batch(first, len(self.sources) - first, begin, offset - begin,
                        self.sources[first], total)


def _sync(file):
    file.flush()
    os.fsync(file.fileno())


def make_plan(layout, head, pairs, threads, batch_bytes=None):
    """Writes the plan of these pairs of source and item; it is there as a whole or not at all."""
    with open(layout.items + ".new", "wb") as file:
        items = _Items(file)
        for source, item in pairs:
            items.add(source, item)
        _sync(file)
    os.rename(layout.items + ".new", layout.items)
    head = {**head, "plan": VERSION, "items": len(items.sources), "bytes": items.bytes,
            "items_sha256": items.hash.hexdigest(), "sources": items.source_list}
    with open(layout.plan + ".new", "wb") as file:
        for line in (head, *items.batches(max(1, threads), batch_bytes)):
            file.write(json.dumps(line).encode("ascii") + b"\n")
        _sync(file)
    os.rename(layout.plan + ".new", layout.plan)
    return read_plan(layout.plan)
