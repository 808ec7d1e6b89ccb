"""The standard input of an engine."""
import os


def as_input(data):
    """A descriptor from which these bytes are read. Unlike a pipe it needs no thread that writes."""
    descriptor = os.memfd_create("items", os.MFD_CLOEXEC)
    with open(descriptor, "wb", closefd=False) as file:
        file.write(data)
    os.lseek(descriptor, 0, os.SEEK_SET)
    return descriptor


def batch_quoted(path):
    """A path in the form that `git cat-file` hands on and the engine reads."""
    if path[:1] not in (b" ", b'"') and not any(byte < 32 or byte == 127 for byte in path):
        return path
    text = "".join(f"\\{byte:03o}" if byte < 32 or byte == 127 or byte > 126 or chr(byte) in '"\\'
                   else chr(byte) for byte in path)
    return f'"{text}"'.encode("ascii")
