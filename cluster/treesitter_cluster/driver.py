"""The driver of a run: from the plan to the last shard.

It keeps as many batches under way as the workers' threads need. Only the driver gives shards their names
and writes the manifest. Through Dask's scheduler go only the places of batches, and counts.

    a batch meets an OSError   the worker or the storage is at fault: the batch is tried again, three
                               times in all, on other workers while there are any
    no worker can read a       its batches are set aside, and the error at the end names it
    repository
    a batch ends its worker    it is tried again; then in parts; then each item alone, while nothing else
                               runs that could be the cause; then the item gets a record that says so
    the scheduler is gone      the run ends, and the same command continues it

Tested by tests/cluster.
"""
import hashlib
import os
import queue
import time
import uuid
from dataclasses import dataclass, field

from . import task
from .errors import ClusterError
from .layout import shard_name, sync_folder
from .plan import Batch
from .shard import ShardWriter

CUT = 8  # parts of a batch that ends its worker; with halves more workers would die until one item is left
MOST_ERRORS = 3
STARTS = 2  # of a batch before it is cut, and of an item alone before it is left out
LOOK_EVERY = 2.0  # seconds
GONE_WITHIN = 2.0  # seconds in which a client notices that its scheduler is gone


@dataclass
class Work:
    """A batch that is to be done, or under way."""
    batch: Batch
    alone: bool = False
    blamed: Batch | None = None  # this batch only tests whether a worker survives any; that one is suspected
    errors: int = 0
    avoided: set = field(default_factory=set)  # addresses of workers that had an error with it
    unseen: int = 0  # how many looks in a row found it on no worker

    @property
    def most_starts(self):
        return STARTS if self.batch.round == 0 or self.alone else 1


@dataclass
class Summary:
    """The result of a run."""
    items: int = 0
    records: int = 0
    failed: int = 0  # records of failures
    taken: int = 0  # records reused from an earlier run
    shards: int = 0
    killers: list = field(default_factory=list)  # dicts with "path" and "text": files that were left out
    messages: list = field(default_factory=list)  # the first hundred messages about files
    refused: dict = field(default_factory=dict)  # address of each worker that got no work, and why
    seconds: float = 0.0

    @property
    def status(self):
        """The exit status of `treesitter-engine parse`."""
        return 1 if self.failed else 0

    def add(self, line):
        self.items += line["items"]
        self.records += line["records"]
        self.failed += line["failed"]
        self.taken += line["taken"]
        self.shards += 1
        self.killers += line["killers"]


class Run:
    """One driver's work on one output folder."""

    def __init__(self, client, plan, layout, manifest, job, workers, watch):
        self._client = client
        self._plan = plan
        self._layout = layout
        self._manifest = manifest
        self._job = job
        self._workers = workers
        self._watch = watch
        self._under_way = {}  # pairs of Work and future, by the future's key
        self._ended = queue.SimpleQueue()
        self._todo = []
        self._alone = []
        self._aside = {}  # why no worker can read a repository, by the number of its source
        self._control = None  # a batch that is known to end no worker
        self._summary = Summary()
        self._begin = self._looked = time.monotonic()

    # -- Before the first batch

    def _take_up(self):
        """Finds which batches are still to be done, and counts what is done."""
        done = {}
        for line in self._manifest.shards:
            try:
                is_there = os.stat(self._layout.shard(line["shard"])).st_size == line["bytes"]
            except FileNotFoundError:
                is_there = False
            if is_there:
                done[line["first"]] = line
        for batch in self._plan.batches:
            missing = _missing(batch, done, self._layout.items)
            self._todo += map(Work, missing)
            if not missing and batch.first in done and not done[batch.first]["killers"]:
                self._control = batch
        for line in done.values():
            self._summary.add(line)
        names = {line["shard"] for line in done.values()}
        for name in os.listdir(self._layout.shards):
            if name not in names:
                os.unlink(self._layout.shard(name))
        # The last is taken first: the most expensive, so that none of them is left at the end.
        self._todo.sort(key=lambda work: work.batch.cost)

    # -- Under way

    def _submit(self, work):
        batch = work.batch
        source = self._plan.sources[batch.source]
        key = f"parse-{source['kind']}-{batch.first}-{batch.count}-{uuid.uuid4().hex[:8]}"
        message = {"first": batch.first, "count": batch.count, "offset": batch.offset,
                   "length": batch.length, "source": source,
                   "round": f"{batch.round}{'alone' if work.alone else ''}"
                            f"{'' if work.blamed is None else work.blamed.first}",
                   "most_starts": work.most_starts}
        future = self._client.submit(task.parse_batch, self._job, message, key=key, pure=False,
                                     resources={self._job["resource"]: 1}, workers=[
                                         address for address in self._workers.addresses
                                         if address not in work.avoided] if work.avoided else None)
        self._under_way[key] = work, future
        future.add_done_callback(self._ended.put)

    def _fill(self):
        if self._aside:
            self._todo = [work for work in self._todo if work.batch.source not in self._aside]
        if not self._todo and not self._under_way and self._alone:
            self._submit(self._alone.pop())
        while self._todo and len(self._under_way) < 2 * self._workers.threads:
            self._submit(self._todo.pop())

    def _next_ended(self):
        """The futures that have ended; after a quarter of a second possibly none."""
        ended = []
        try:
            ended.append(self._ended.get(timeout=0.25))
            while True:
                ended.append(self._ended.get_nowait())
        except queue.Empty:
            return ended

    def _require_scheduler(self, status="finished"):
        """Raises ClusterError if the client has lost its scheduler. `status`: of a future."""
        if status == "cancelled" or self._client.status != "running":
            raise ClusterError("the scheduler is gone; the same command goes on with the run")

    def _settle(self, futures):
        """Deals with the futures that have ended: names their shards and writes the manifest."""
        finished = []
        for future in futures:
            if future.key not in self._under_way:
                continue
            self._require_scheduler(future.status)
            work, _ = self._under_way.pop(future.key)
            if future.status == "lost":  # with the worker that held its result: do it again
                future.cancel()
                self._todo.append(work)
            elif future.status == "error":
                self._failed(work, future.exception())
            else:
                finished.append((work, future))
        if not finished:
            return
        lines = []
        for (work, _), result in zip(finished, self._results(finished), strict=True):
            if isinstance(result, Exception):
                self._failed(work, result)
            elif "died" in result:
                self._died(work)
            elif "error" in result:
                self._failed_there(work, result)
            else:
                lines += self._done(work, result)
        self._record(lines)

    def _done(self, work, result):
        if work.blamed is not None:
            os.unlink(result["part"])
            self._leave_out(work.blamed)
            return []
        self._control = self._control or work.batch
        return [self._accept(work.batch, result)]

    def _results(self, finished):
        futures = [future for _, future in finished]
        try:
            return self._client.gather(futures)
        except Exception:  # a worker died with a result that it held, and its batch is done again
            self._require_scheduler()
            return [future.exception() or future.result() for future in futures]

    def _accept(self, batch, result):
        name = shard_name(batch.first, batch.count)
        os.rename(result.pop("part"), self._layout.shard(name))
        self._summary.messages += result.pop("messages")[:100 - len(self._summary.messages)]
        return {"shard": name, "first": batch.first, "count": batch.count,
                "input": self._input(batch), **result}

    def _input(self, batch):
        with open(self._layout.items, "rb") as file:
            file.seek(batch.offset)
            return hashlib.sha256(file.read(batch.length)).hexdigest()

    def _record(self, lines):
        if not lines:
            return
        sync_folder(self._layout.shards)
        self._manifest.append(lines)
        for line in lines:
            self._summary.add(line)

    # -- When something fails

    def _failed(self, work, error):
        if type(error).__name__ == "KilledWorker":  # Dask gave up before the task counted its starts
            self._died(work)
            return
        work.errors += 1
        if not isinstance(error, OSError) or work.errors == MOST_ERRORS:
            raise ClusterError(f"a worker fails: {type(error).__name__}: {error}; "
                               "the same command goes on with the run")
        self._todo.append(work)

    def _failed_there(self, work, result):
        work.errors += 1
        work.avoided.add(result["worker"])
        if work.errors < MOST_ERRORS:
            self._todo.append(work)
        elif result["repository"]:
            self._aside[work.batch.source] = result["error"]
        else:
            raise ClusterError(f"a worker fails: {result['error']}; "
                               "the same command goes on with the run")

    def _died(self, work):
        batch = work.batch
        if work.blamed is not None:
            raise ClusterError("workers die of whatever they get; "
                               "the same command goes on with the run")
        if batch.count > 1:
            self._todo += map(Work, batch.cut(self._layout.items, CUT))
        elif not work.alone:
            self._alone.append(Work(batch, alone=True))
        elif self._plan.head["items"] == 1:
            self._leave_out(batch)
        else:
            # First the batch that went well, alone too: if that ends a worker, the workers are at fault.
            if self._control is None:
                raise ClusterError("workers die of all that they have been given; "
                                   "the same command goes on with the run")
            self._alone.append(Work(self._control, alone=True, blamed=batch))

    def _leave_out(self, batch):
        """Gives the batch's one item a record that says why it was left out."""
        [item] = task.read_items(self._layout.items, batch.offset, batch.length)
        why = f"The worker died of it, alone and {STARTS} times"
        part = os.path.join(self._layout.parts, self._job["token"], f"{batch.first}.left_out")
        writer = ShardWriter(part)
        writer.write(task.killer_record(item.path, why))
        path = item.path.decode("utf-8", "replace")
        result = {**writer.close(), "part": part, "items": 1, "taken": 0, "starts": STARTS,
                  "killers": [{"path": path, "text": why}], "messages": [f"{path}: {why}"],
                  "seconds": 0, "worker": None}
        self._record([self._accept(batch, result)])

    def _look(self):
        """Looks at the workers, and for tasks that no worker has. When no worker has a task's resource Dask
        keeps the task, and does not give it to a worker that gets the resource later. Such a task is
        submitted again."""
        if time.monotonic() < self._looked + LOOK_EVERY:
            return
        self._looked = time.monotonic()
        try:
            self._watch.refused(self._workers.look())
            had = {key for keys in self._client.processing().values() for key in keys}
        except OSError:  # a worker has just died
            self._require_scheduler()
            return
        if not self._workers.threads:
            return
        for key, (work, future) in list(self._under_way.items()):
            work.unseen = 0 if key in had or future.done() else work.unseen + 1
            if work.unseen == 2:
                del self._under_way[key]
                future.cancel()
                work.unseen = 0
                self._submit(work)

    # -- The whole run

    def __call__(self):
        self._take_up()
        try:
            while True:
                self._fill()
                if not self._under_way and not self._todo:
                    break
                self._settle(self._next_ended())
                self._look()
                self._watch.progress(self._summary, self._plan.head["items"])
        except OSError:
            # If the scheduler has died, the client learns it on another connection, a moment later.
            end = time.monotonic() + GONE_WITHIN
            while self._client.status == "running" and time.monotonic() < end:
                time.sleep(0.05)
            self._require_scheduler()
            raise
        finally:
            self._stop()
        if self._aside:
            raise ClusterError("\n  ".join([
                "all is done but repositories that no worker could read; the same command tries "
                "them again", *self._aside.values()]))
        if self._summary.items != self._plan.head["items"]:
            raise ClusterError(f"{self._summary.items} of {self._plan.head['items']} items are "
                               "done; this is a fault of the driver")
        self._summary.refused = self._workers.refused
        self._summary.seconds = time.monotonic() - self._begin
        return self._summary

    def _stop(self):
        futures = [future for _, future in self._under_way.values()]
        self._under_way.clear()
        if futures and self._client.status == "running":
            self._client.cancel(futures, force=True)


def _missing(batch, done, items_path):
    """The part of a batch that has no shard: all, nothing, or the items that are left of a cut one."""
    if batch.first in done and done[batch.first]["count"] == batch.count:
        return []
    inner = [first for first in range(batch.first, batch.first + batch.count) if first in done]
    if not inner:
        return [batch]
    # Of a batch that was cut, item by item: that is rare, and the item at fault may be among them.
    singles = batch.cut(items_path, batch.count)
    covered = {item for first in inner for item in range(first, first + done[first]["count"])}
    return [single for single in singles if single.first not in covered]


class Quiet:
    """A watch that shows nothing."""

    def progress(self, summary, items):
        pass

    def refused(self, workers):
        pass
