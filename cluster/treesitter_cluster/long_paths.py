"""Files whose paths are too long for one system call. A walk reaches them folder by folder, but a
program that gets the whole path cannot open them. So the engine gets their contents instead.

Tested by tests/cluster/test_runs.py.
"""
import errno
import os
import shutil
import stat
import tempfile

from .listing import PATH_MAX
from .streams import batch_quoted

WAY = os.O_PATH | os.O_DIRECTORY | os.O_CLOEXEC


def open_file(folder, path):
    """A descriptor of a regular file. Raises OSError."""
    here = os.open(folder, WAY)
    try:
        while len(path) >= PATH_MAX:
            way, _, rest = path[:PATH_MAX - 1].rpartition(b"/")
            path = rest + path[PATH_MAX - 1:]
            below = os.open(way, WAY, dir_fd=here)
            os.close(here)
            here = below
        file = os.open(path, os.O_RDONLY | os.O_NONBLOCK | os.O_CLOEXEC, dir_fd=here)
    finally:
        os.close(here)
    if not stat.S_ISREG(os.fstat(file).st_mode):
        os.close(file)
        raise OSError(errno.EINVAL, "Not a regular file")
    return file


def as_contents(folder, items):
    """A descriptor from which the engine reads these files by `--batch`. Raises OSError."""
    with tempfile.TemporaryFile() as stream:
        for item in items:
            with tempfile.TemporaryFile() as content:  # it may grow while it is read
                with open(open_file(folder, item.path), "rb") as file:
                    shutil.copyfileobj(file, content)
                stream.write(b"%d %s\n" % (content.tell(), batch_quoted(item.path)))
                content.seek(0)
                shutil.copyfileobj(content, stream)
                stream.write(b"\n")
        stream.seek(0)
        return os.dup(stream.fileno())
