"""Reuses records that an earlier run made of the same content under the same path.

A record depends on content, path, engine and options, and is reused only when all four are the same. The
path counts because it gives the language and the beginning of all qualified names, and because the limits
of a result count these names. The driver compares engine, options, paths and what the listing says: sizes
of files, or git's ids of objects, which tell that the content is the same. A worker then compares files by
their hash, which takes a hundredth of the time of a parse. Records of failures are not reused, since these
may depend on the machine.

Tested by tests/cluster/test_runs.py.
"""
import bisect
import functools
import hashlib
import os
import re
import stat
import sys

from . import shard
from .errors import ClusterError
from .items import read_items
from .layout import Layout
from .manifest import read_manifest
from .plan import read_plan

_HASH = re.compile(rb',"language":"\w+","content_hash":"([0-9a-f]{64})"')
MOST_RECORD = 64 << 20  # bytes; the file of a larger one is parsed again, so that it need not be held
# Bytes. Unchanged files between two that have to be parsed are parsed with them if they have no more
# bytes than this: that takes less time than another start of the engine.
GAP = 50_000
WINDOW = 500_000  # items


@functools.lru_cache(4)
def _shards(output, _modified):
    _, shards = read_manifest(Layout(output).manifest)
    shards = sorted(shards, key=lambda line: line["first"])
    return [line["first"] for line in shards], shards


def shards_of(output):
    return _shards(output, os.stat(Layout(output).manifest).st_mtime_ns)


def _old_records(output, items):
    """The old record of each path that has one without a failure."""
    firsts, shards = shards_of(output)
    wanted = {}
    for item in items:
        at = bisect.bisect_right(firsts, item.old) - 1
        if item.old >= 0 and at >= 0 and item.old < firsts[at] + shards[at]["count"]:
            wanted.setdefault(at, {})[item.path] = item
    found = {}
    for at, by_path in wanted.items():
        for record in shard.records(Layout(output).shard(shards[at]["shard"])):
            if not record.endswith(shard.WELL) or len(record) > MOST_RECORD:
                continue
            path = shard.path_of(record[:shard.HEAD])
            if path in by_path:
                found[path] = record
    return found


def _has_content(record, item, folder):
    if item.oid != "-":
        return True  # the driver has compared the ids
    match = _HASH.search(record[:shard.HEAD])
    if match is None:
        return False
    try:
        with open(os.path.join(os.fsencode(folder), item.path), "rb") as file:
            if not stat.S_ISREG(os.fstat(file.fileno()).st_mode):
                return False
            return hashlib.file_digest(file, "sha256").hexdigest().encode() == match[1]
    except OSError:
        return False  # the engine will report the error


def steps(job, items):
    """Yields pairs, in the order of the items: records to reuse, then items to parse behind them."""
    old = _old_records(job["reuse"], items)
    records, parsed, gap, gap_size = [], [], [], 0
    for item in items:
        record = old.get(item.path)
        if record is not None and _has_content(record, item, job["folder"]):
            gap.append((item, record))
            gap_size += item.size
            continue
        if parsed and gap_size < GAP:
            parsed += [between for between, _ in gap]
        else:
            if parsed:
                yield records, parsed
                records, parsed = [], []
            records += [record for _, record in gap]
        parsed.append(item)
        gap, gap_size = [], 0
    yield records, parsed
    yield [record for _, record in gap], []


class OldRun:
    """The items of an earlier run, as the driver looks them up: for each path its number, size and git id.

    Most paths have the same order in both runs, so that both are read in step, and only a window of the
    earlier one is held, which takes at most some 300 MB. A file that has moved further than WINDOW items
    is parsed again.
    """

    def __init__(self, output, identity, options):
        self.output = None
        self._held = {}  # by the hash of the path, the oldest first
        self._items = iter(())
        # Numbers of items of the earlier run: the next to read, and the highest that was found again.
        self._read = self._met = 0
        if output is None:
            return
        layout = Layout(output)
        plan = read_plan(layout.plan)
        if plan is None:
            raise ClusterError(f"{output} holds no run whose records could be taken over")
        if plan.head["engine"] != identity or plan.head["command"]["options"] != options:
            return  # its records may be others
        self.output = layout.output
        self._items = enumerate(self._content(layout, plan))

    @staticmethod
    def _content(layout, plan):
        for batch in plan.batches:
            is_record = plan.sources[batch.source]["kind"] == "records"
            for item in read_items(layout.items, batch.offset, batch.length):
                yield None if is_record else item

    def _read_on(self):
        while self._read <= self._met + WINDOW:
            place, item = next(self._items, (None, None))
            if place is None:
                self._items, self._read = iter(()), sys.maxsize
                return
            self._read = place + 1
            if item is not None:
                key = hash(item.path)
                self._held.pop(key, None)
                self._held[key] = place, item.size, hash(item.oid)
        while len(self._held) > 2 * WINDOW:
            del self._held[next(iter(self._held))]

    def join(self, pair):
        """The pair of source and item, with the number of the old item where the file looks unchanged."""
        source, item = pair
        self._read_on()
        found = self._held.get(hash(item.path))
        if found is None or source["kind"] == "records":
            return pair
        place, size, oid = found
        self._met = max(self._met, place)
        if size != item.size or (item.oid != "-" and oid != hash(item.oid)):
            return pair
        return source, item._replace(old=place)
