"""The files of a run in its output folder.

    plan.jsonl      the command and its batches (plan.py)
    plan.items      the items; a batch is a range of them (items.py)
    manifest.jsonl  the shards that are done, a line for each (manifest.py)
    shards/         FIRST-COUNT.jsonl.zst: the number of the first item, and how many items there are.
                    In the order of these names the shards hold the records in the order of the items
    parts/          shards that are being written; removed at the end
    lock            held by the driver that writes here
"""
import os


class Layout:
    def __init__(self, output):
        self.output = os.path.abspath(output)
        self.plan = os.path.join(self.output, "plan.jsonl")
        self.items = os.path.join(self.output, "plan.items")
        self.manifest = os.path.join(self.output, "manifest.jsonl")
        self.shards = os.path.join(self.output, "shards")
        self.parts = os.path.join(self.output, "parts")

    def shard(self, name):
        return os.path.join(self.shards, name)


def shard_name(first, count):
    return f"{first:012}-{count:06}.jsonl.zst"


def sync_folder(path):
    """Flushes the folder, so that a rename in it survives a loss of power."""
    descriptor = os.open(path, os.O_RDONLY | os.O_DIRECTORY)
    try:
        os.fsync(descriptor)
    finally:
        os.close(descriptor)
