"""A shard: records of consecutive items, as lines of JSON compressed by zstd.

Costs beside the parse: the level is the lowest, at which a processor compresses some 300 MB/s of
records to a ninth; the next ones save a thirtieth of the room for twice the time.
"""
import hashlib
import io
import json
import os
import re
import tempfile

import zstandard

LEVEL = 1
WELL = b'"errors":[]}\n'  # no text of a record holds a line feed, nor a quote without a backslash
UNKNOWN = b'"language":null}\n'
KEPT = max(len(WELL), len(UNKNOWN)) - 1
IN_MEMORY = 64 << 20
HEAD = 64 << 10  # in which a path has room, six bytes for one

_PATH = re.compile(rb'\{"path":("(?:[^"\\]|\\.)*")(?:,"path_bytes":"([0-9a-f]+)")?')


def path_of(record):
    """The path of a record, by its beginning."""
    match = _PATH.match(record)
    if match is None:
        raise ValueError(f"no record: {record[:80]!r}")
    text, exact = match.groups()
    if exact is not None:
        return bytes.fromhex(exact.decode("ascii"))
    return json.loads(text).encode("utf-8")


class ShardWriter:
    """Takes records in pieces of any size, and writes whole ones."""

    def __init__(self, path):
        self._file = open(path, "xb")
        self._hash = hashlib.sha256()
        self._size = 0
        self._compressor = zstandard.ZstdCompressor(level=LEVEL, write_checksum=True).compressobj()
        self._rest = tempfile.SpooledTemporaryFile(IN_MEMORY)  # of a record that is not whole
        self._has_rest = False
        self._tail = b""
        self.raw_bytes = self.records = self.well = self.unknown = 0
        self.head = b""  # the beginning of the record that was put last
        self._is_at_start = True

    def write(self, data):
        end = data.rfind(b"\n") + 1
        if end:
            if self._has_rest:
                self._take_rest()
            self._put(data[:end])
            data = data[end:]
        if data:
            self._rest.write(data)
            self._has_rest = True

    def _take_rest(self):
        self._rest.seek(0)
        while part := self._rest.read(1 << 20):
            self._put(part)
        self.drop_rest()

    def drop_rest(self):
        """Forgets what is there of a record whose end does not come."""
        if self._has_rest:
            self._rest.seek(0)
            self._rest.truncate()
            self._has_rest = False

    def _put(self, data):
        start = data.rfind(b"\n", 0, -1) + 1
        if start or self._is_at_start:
            self.head = data[start:start + HEAD]
        self._is_at_start = data.endswith(b"\n")
        seen = self._tail + data
        self.records += data.count(b"\n")
        self.well += seen.count(WELL) - self._tail.count(WELL)
        self.unknown += seen.count(UNKNOWN) - self._tail.count(UNKNOWN)
        self._tail = seen[-KEPT:]
        self.raw_bytes += len(data)
        self._store(self._compressor.compress(data))

    def _store(self, data):
        if data:
            self._hash.update(data)
            self._size += len(data)
            self._file.write(data)

    def close(self):
        """Flushes to the disk, and gives what the manifest says of it."""
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
    """The lines of a shard, each with its line feed."""
    with open(path, "rb") as file, \
            zstandard.ZstdDecompressor().stream_reader(file, read_across_frames=True) as reader:
        yield from io.BufferedReader(reader, 1 << 20)
