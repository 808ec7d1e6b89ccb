"""Where a run keeps what, in its output folder.

    plan.jsonl      the run: what is to be done, and its batches (plan.py)
    plan.items      the items, which the batches are ranges of (items.py)
    manifest.jsonl  what is done: a line for each shard (manifest.py)
    shards/         FIRST-COUNT.jsonl.zst, by the number of the first item and their count: in the
                    order of their names they hold the records in the order of the items
    parts/          what is under way; gone at the end
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
    """Makes a rename last."""
    descriptor = os.open(path, os.O_RDONLY | os.O_DIRECTORY)
    try:
        os.fsync(descriptor)
    finally:
        os.close(descriptor)
