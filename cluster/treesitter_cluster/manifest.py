"""The manifest says what a run has done. Its first line names plan and engine, each further line one
shard.

Only the driver writes it. It appends a line after the shard has got its name, and flushes it to the disk.
A torn last line was never reported as done: it is cut off, and its batch is done again.
"""
import json
import os

from .errors import ClusterError


def _whole_lines(data):
    end = data.rfind(b"\n") + 1
    return end, [json.loads(line) for line in data[:end].splitlines()]


def read_manifest(path):
    """The first line, or None if there is none, and the lines of the shards."""
    with open(path, "rb") as file:
        _, lines = _whole_lines(file.read())
    return (lines[0], lines[1:]) if lines else (None, [])


class Manifest:
    """The manifest as its driver reads and extends it. One driver at a time may have it."""

    def __init__(self, path, head):
        self._file = open(path, "a+b")
        self._file.seek(0)
        end, lines = _whole_lines(self._file.read())
        self._file.truncate(end)
        if not lines:
            self.append([head])
        elif lines[0] != head:
            raise ClusterError(f"{path} belongs to another run")
        self.shards = lines[1:]

    def append(self, lines):
        self._file.write(b"".join(json.dumps(line).encode("ascii") + b"\n" for line in lines))
        self._file.flush()
        os.fsync(self._file.fileno())

    def close(self):
        self._file.close()
