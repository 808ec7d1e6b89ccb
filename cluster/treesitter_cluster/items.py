"""The items of a run, which are what it parses. One file holds all of them, one after the other, so
that a batch is a range of its bytes, which the worker reads by itself.

    SIZE SP ID SP OLD SP PATH NUL

ID is the id of a git object, or "-". OLD is the number of the item with the same path in the earlier run
whose records may be reused, or "-". A path is any bytes but NUL.
"""
from typing import NamedTuple


class Item(NamedTuple):
    path: bytes  # for the source RECORDS: the whole record
    size: int
    oid: str = "-"
    old: int = -1


def packed(item):
    old = b"-" if item.old < 0 else b"%d" % item.old
    return b"%d %s %s %s\0" % (item.size, item.oid.encode("ascii"), old, item.path)


def unpacked(data):
    """The items of a whole number of packed ones."""
    items = []
    for part in data.split(b"\0")[:-1]:
        size, oid, old, path = part.split(b" ", 3)
        items.append(Item(path, int(size), oid.decode("ascii"), -1 if old == b"-" else int(old)))
    return items


def read_items(path, offset, length):
    with open(path, "rb") as file:
        file.seek(offset)
        data = file.read(length)
    if len(data) != length:
        raise OSError(f"{path} is shorter than its plan says")
    return unpacked(data)


def all_items(path):
    """Yields the items in little memory."""
    with open(path, "rb") as file:
        rest = b""
        while data := file.read(1 << 20):
            end = data.rfind(b"\0") + 1
            if end:
                yield from unpacked(rest + data[:end])
                rest = data[end:]
            else:
                rest += data
