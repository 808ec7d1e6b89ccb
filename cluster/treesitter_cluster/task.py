"""The task that parses a batch on a worker. One engine process with one thread parses the items, and its
output becomes a shard in the folder for parts.

A worker runs as many tasks at once as it has threads. Refused: one engine with all of the worker's
threads. With one thread the records come in order, so that the first item without a record is the one that
killed the engine; no thread waits for the last file of a batch; and each output has its own compressor.

Tested by tests/cluster.
"""
import json
import os
import socket
import subprocess
import time
import uuid

from . import engine, long_paths, reuse, shard
from .errors import RepositoryFault
from .items import read_items
from .layout import Layout

STARTS_ALONE = 2  # an item is left out when it has ended the engine so often, alone


class _Blame:
    """The items that are left out of a batch, and why."""

    def __init__(self):
        self.killers = []

    def record(self, path, why):
        text = path.decode("utf-8", "replace")
        self.killers.append({"path": text, "text": why})
        return killer_record(path, why)


def killer_record(path, why):
    """The record of an item that cannot be parsed, in the engine's form."""
    record = {"path": path.decode("utf-8", "replace")}
    try:
        path.decode("utf-8")
    except UnicodeDecodeError:
        record["path_bytes"] = path.hex()
    record["raised"] = why
    return json.dumps(record, ensure_ascii=False, separators=(",", ":")).encode("utf-8") + b"\n"


def _consumed(items, source, writer, before):
    """How many of the items were done when the engine ended early."""
    count = writer.records - before
    if source["kind"] == "named" or count == 0:
        return count
    # Binary files have no record. A path is in a batch only once.
    last = shard.path_of(writer.head)
    return next(i for i, item in enumerate(items) if item.path == last) + 1


class BatchRun:
    """Parses items into a shard, whatever happens to the engine."""

    def __init__(self, job, batch, writer, memory):
        self._job = job
        self._source = batch["source"]
        self._writer = writer
        self._memory = memory
        self._blame = _Blame()
        self.messages = []

    @property
    def killers(self):
        return self._blame.killers

    def _run_once(self, items):
        """Runs the engine once. Gives how many items are done, and why not all of them, or None."""
        before = self._writer.records
        command = [engine.find(self._job["engine"]), "parse", "--format", "json", "--jobs", "1",
                   *self._job["options"]]
        if self._source["kind"] != "named":
            command.append("--skip-binary")
        with engine.EngineRun(command, self._job["folder"], self._source, items,
                              self._memory) as run:
            torn = self._writer.take(run.output)
            failure = run.failure()
            self.messages += run.messages()[:engine.MOST_MESSAGES - len(self.messages)]
        if failure is None:
            if torn:
                raise OSError(f"the engine ends well, and leaves {torn} bytes of a record")
            return len(items), None
        return _consumed(items, self._source, self._writer, before), failure

    def parse(self, items):
        if self._source["kind"] == "long":
            for item in items:
                self._parse_long(item)
        else:
            self._parse(items)

    def _parse_long(self, item):
        try:
            os.close(long_paths.open_file(self._job["folder"], item.path))
        except OSError as error:  # it was there when it was listed
            why = f"Failed to read file: [Errno {error.errno}] {error.strerror}"
            self._writer.write(killer_record(item.path, why))
        else:
            self._parse([item])

    def _parse(self, items):
        position = 0
        while position < len(items):
            done, failure = self._run_once(items[position:])
            position += done
            if failure is None:
                return
            # The next item may be innocent, as when memory ran out. It is blamed only for ends of its own.
            for _ in range(STARTS_ALONE if position < len(items) else 0):
                done, failure = self._run_once(items[position:position + 1])
                if failure is None:
                    break
            else:
                if position < len(items):
                    self._require_sound_engine(failure)
                    self._put_killer(items[position], f"The engine was {failure}")
            position += 1

    def _require_sound_engine(self, failure):
        """Raises an error if the engine fails without any item too, or git without any object, so that the
        item is not to blame."""
        if self._source["kind"] == "git":
            engine.require_repository(self._source, self._job["folder"])
        empty = os.open(os.devnull, os.O_RDONLY)
        try:
            done = subprocess.run(
                engine.bounded([engine.find(self._job["engine"]), "parse", "--files-from", "-",
                                *self._job["options"]], self._memory),
                stdin=empty, capture_output=True, check=False, cwd=self._job["folder"],
                env=engine.environment())
        finally:
            os.close(empty)
        if done.returncode != 0:
            raise OSError(f"the engine ends without any file: status {done.returncode}; {failure}")

    def _put_killer(self, item, why):
        self._writer.write(self._blame.record(item.path, why))

    def take(self, records):
        for record in records:
            self._writer.write(record)


def _starts_before(path):
    """How often this batch was begun before, in this run of the driver. Counts this time in the file."""
    descriptor = os.open(path, os.O_WRONLY | os.O_CREAT | os.O_APPEND, 0o666)
    try:
        before = os.fstat(descriptor).st_size
        os.write(descriptor, b"x")
        return before
    finally:
        os.close(descriptor)


def _worker():
    """Dask's worker of this thread, or None outside of Dask."""
    try:
        from distributed import get_worker
        return get_worker()
    except (ImportError, ValueError):
        return None


def memory_of_thread():
    """Bytes that one thread of this worker may take, or None where Dask sets no limit."""
    worker = _worker()
    limit = worker and worker.memory_manager.memory_limit
    return limit // worker.state.nthreads if limit else None


def parse_batch(job, batch):
    """Parses a batch into a part, and gives what the manifest says of it. Gives {"died": STARTS} instead
    when the batch has ended too many workers; and {"error", "repository", "worker"} when not the items but
    the worker, the storage or the repository is at fault."""
    worker = _worker()
    folder = os.path.join(Layout(job["output"]).parts, job["token"])
    name = f"{batch['first']:012}-{batch['count']:06}"
    mark = os.path.join(folder, f"{name}-{batch['round']}.starts")
    starts = _starts_before(mark)
    if starts >= batch["most_starts"]:
        return {"died": starts}
    try:
        result = {**_parse(job, batch, os.path.join(folder, name)), "starts": starts + 1}
        os.truncate(mark, starts)  # the worker has survived it, even if it dies later with the result
        return result
    except OSError as error:
        os.truncate(mark, starts)  # the worker has survived it
        return {"error": f"{type(error).__name__}: {error}", "worker": worker and worker.address,
                "repository": isinstance(error, RepositoryFault)}
    except BaseException:
        os.truncate(mark, starts)
        raise


def _parse(job, batch, name):
    layout = Layout(job["output"])
    begin = time.monotonic()
    items = read_items(layout.items, batch["offset"], batch["length"])
    part = f"{name}-{uuid.uuid4().hex}.part"
    writer = shard.ShardWriter(part)
    try:
        run = BatchRun(job, batch, writer, job["memory"] or memory_of_thread())
        taken = 0
        if batch["source"]["kind"] == "records":
            run.take(item.path + b"\n" for item in items)
        elif job["reuse"] is None:
            run.parse(items)
        else:
            for records, parsed in reuse.steps(job, items):
                run.take(records)
                taken += len(records)
                run.parse(parsed)
        result = writer.close()
    except BaseException:
        writer.abandon()
        _remove(part)
        raise
    return {**result, "part": part, "items": len(items), "taken": taken,
            "killers": run.killers, "messages": run.messages,
            "seconds": round(time.monotonic() - begin, 3), "worker": socket.gethostname()}


def _remove(path):
    try:
        os.unlink(path)
    except FileNotFoundError:
        pass
