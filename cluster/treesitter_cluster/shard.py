"""A shard: records of consecutive items, as lines of JSON compressed by zstd.

The level is the lowest: one processor compresses some 300 MB/s of records to a ninth of their size. The
next levels make shards a thirtieth smaller and take twice the time.

Tested by tests/cluster/test_runs.py.
"""
import hashlib
import io
import json
import os
import re
import tempfile
import time

import zstandard

LEVEL = 1
# The ends of two kinds of records: without an error, and of an unknown language. No text within a record can
# end so, since texts have no line feeds, and no quotes without a backslash.
WELL = b'"errors":[]}\n'
UNKNOWN = b'"language":null}\n'
KEPT = len(UNKNOWN)  # bytes at the end of a buffer that tell the kind of a record
BUFFER = 1 << 20  # bytes, the size of a pipe
LEAST_PAUSE, MOST_PAUSE = 0.001, 0.05  # seconds
IN_MEMORY = 64 << 20  # bytes
HEAD = 64 << 10  # bytes; room for the longest path, even if each of its bytes takes six

_PATH = re.compile(rb'\{"path":("(?:[^"\\]|\\.)*")(?:,"path_bytes":"([0-9a-f]+)")?')


def path_of(record):
    """The path in the beginning of a record."""
    match = _PATH.match(record)
    if match is None:
        raise ValueError(f"no record: {record[:80]!r}")
    text, exact = match.groups()
    if exact is not None:
        return bytes.fromhex(exact.decode("ascii"))
    return json.loads(text).encode("utf-8")


def _pause(pause, size):
    """Waits until more has come, after a read of `size` bytes, and gives the next pause. To read each few
    records at once costs a change of processes and cold caches, three times the processor time of all
    else here. The engine does not wait meanwhile: pauses get no longer once a quarter of the pipe is
    filled in one."""
    if size > BUFFER // 2:
        return max(pause / 2, LEAST_PAUSE)
    time.sleep(pause)
    return pause if size > BUFFER // 4 else min(pause * 2, MOST_PAUSE)


class ShardWriter:
    """Writes one shard; only whole records come into it. Records are counted by searching for their line
    feeds one by one, which is ten times as fast as counting the line feeds of a buffer."""

    def __init__(self, path):
        self._file = open(path, "xb")
        self._hash = hashlib.sha256()
        self._size = 0
        self._compressor = zstandard.ZstdCompressor(level=LEVEL, write_checksum=True).compressobj()
        self._rest = tempfile.SpooledTemporaryFile(IN_MEMORY)  # of a record larger than the buffer
        self.raw_bytes = self.records = self.well = self.unknown = 0
        self.head = b""  # the beginning of the last record

    def write(self, records):
        """Writes whole records."""
        self._count(records, len(records), records[:HEAD])
        self._put(records)

    def take(self, descriptor):
        """Writes the whole records that can be read from a descriptor until its end. Gives the number of
        bytes of a torn record at the end, which are dropped."""
        # One buffer for all reads: a new one for each would map and unmap memory each time.
        buffer = bytearray(BUFFER)
        view = memoryview(buffer)
        filled, pause = 0, LEAST_PAUSE
        try:
            while size := os.readv(descriptor, [view[filled:]]):
                filled += size
                pause = _pause(pause, size)
                end = buffer.rfind(b"\n", filled - size, filled) + 1
                if end:
                    self._take_whole(buffer, view, end)
                elif filled == BUFFER:
                    end = BUFFER - KEPT
                    self._rest.write(view[:end])
                view[:filled - end] = view[end:filled]
                filled -= end
            return self._rest.tell() + filled
        finally:
            self._drop_rest()

    def _take_whole(self, buffer, view, end):
        head = bytes(view[:HEAD])
        if self._rest.tell():
            self._rest.seek(0)
            head = self._rest.read(HEAD)
            self._put(head)
            while part := self._rest.read(BUFFER):
                self._put(part)
            self._drop_rest()
        self._count(buffer, end, head)
        self._put(view[:end])

    def _drop_rest(self):
        self._rest.seek(0)
        self._rest.truncate()

    def _count(self, data, end, head):
        start = at = 0
        while (at := data.find(b"\n", at, end) + 1) > 0:
            self.records += 1
            if data.endswith(WELL, 0, at):
                self.well += 1
            elif data.endswith(UNKNOWN, 0, at):
                self.unknown += 1
            if at == end:
                break
            start = at
        self.head = bytes(data[start:min(end, start + HEAD)]) if start else head

    def _put(self, data):
        self.raw_bytes += len(data)
        self._store(self._compressor.compress(data))

    def _store(self, data):
        if data:
            self._hash.update(data)
            self._size += len(data)
            self._file.write(data)

    def close(self):
        """Flushes the file to the disk, and gives what the manifest says of the shard."""
        self._store(self._compressor.flush())
        self._file.flush()
        os.fsync(self._file.fileno())
        self._file.close()
        self._rest.close()
        return {"sha256": self._hash.hexdigest(), "bytes": self._size, "raw_bytes": self.raw_bytes,
                "records": self.records, "failed": self.records - self.well - self.unknown}

    def abandon(self):
        self._file.close()
        self._rest.close()


def records(path):
    """Yields the records of a shard, each with its line feed."""
    with open(path, "rb") as file, \
            zstandard.ZstdDecompressor().stream_reader(file, read_across_frames=True) as reader:
        yield from io.BufferedReader(reader, 1 << 20)
