"""The engine as a program: its identity, and one run of it over some items.

Records are the bytes that the program prints, so that they cannot differ from those of one machine.
A file that kills the engine kills a child process and not the worker. To start one takes some 10 ms.

Tested by tests/cluster.
"""
import fcntl
import hashlib
import json
import os
import shutil
import subprocess
import tempfile

from . import long_paths
from .errors import ClusterError, RepositoryFault
from .streams import as_input, batch_quoted

PIPE_SIZE = 1 << 20
MOST_MESSAGES = 100  # that are kept of one run of the engine; the records hold all error texts
LEAST_MEMORY = 256 << 20  # bytes; with less an engine cannot start

_identities = {}


def find(engine):
    """The path of the program. Raises ClusterError where there is none."""
    path = shutil.which(engine)
    if path is None:
        raise ClusterError(f"the engine {engine!r} is not found")
    return path


def identity(engine):
    """Version and digests of an engine: two engines with the same ones make the same records."""
    path = find(engine)
    status = os.stat(path)
    key = path, status.st_mtime_ns, status.st_size
    if key not in _identities:
        _identities[key] = _identity(path)
    return _identities[key]


def _identity(path):
    done = subprocess.run([path, "--version", "--json"], capture_output=True, check=False)
    if done.returncode == 0 and done.stdout.startswith(b"{"):  # older engines print text only
        info = json.loads(done.stdout)
        info.pop("compiler", None)  # records do not depend on it
        return info
    done = subprocess.run([path, "--version"], capture_output=True, check=False)
    if done.returncode != 0:
        raise ClusterError(f"{path} --version fails: {_last_line(done.stderr)}")
    with open(path, "rb") as file:
        digest = hashlib.file_digest(file, "sha256").hexdigest()
    return {"version": done.stdout.decode().splitlines(), "program": digest}


def _last_line(text):
    lines = text.decode("utf-8", "replace").splitlines()
    return lines[-1] if lines else "it says nothing"


def bounded(command, memory):
    """The command with a limit of address space, set by prlimit: no Python code may run between fork and
    exec in a process of several threads."""
    if memory is None or memory < LEAST_MEMORY:
        return command
    return ["prlimit", f"--as={memory}", "--", *command]


def require_repository(source, folder):
    """Raises RepositoryFault when git cannot read the commit, so that no single object is to blame."""
    done = subprocess.run(["git", "-C", source["repository"], "cat-file", "-e", source["commit"]],
                          cwd=folder, capture_output=True, check=False)
    if done.returncode != 0:
        raise RepositoryFault(f"{source['repository']}: git says: {_last_line(done.stderr)}")


def _widen(pipe):
    """Enlarges the pipe where the system allows it: all pipes of a user may hold 64 MiB together, and
    further ones get one page each."""
    try:
        fcntl.fcntl(pipe, fcntl.F_SETPIPE_SZ, PIPE_SIZE)
    except OSError:
        pass


def environment():
    """The environment without the MALLOC_ variables that Dask sets in its workers. They make the C library
    give memory back at once, which slows an engine down by a seventh."""
    return {name: value for name, value in os.environ.items() if not name.startswith("MALLOC_")}


class EngineRun:
    """One engine process that parses some items in their order. A context manager: leaving it ends the
    process."""

    def __init__(self, command, folder, source, items, memory=None):
        command = bounded(command, memory)
        self._messages = tempfile.TemporaryFile()
        self._git = None
        self._complaints = None
        if source["kind"] == "git":
            standard_input = self._start_git(source, items, folder)
            command = [*command, "--batch"]
        elif source["kind"] == "long":
            standard_input = long_paths.as_contents(folder, items)
            command = [*command, "--batch"]
        else:
            standard_input = as_input(b"".join(item.path + b"\0" for item in items))
            command = [*command, "--null", "--files-from", "-"]
        try:
            self._child = subprocess.Popen(command, stdin=standard_input, stdout=subprocess.PIPE,
                                           stderr=self._messages, cwd=folder, env=environment())
        finally:
            os.close(standard_input)
        _widen(self._child.stdout)

    def _start_git(self, source, items, folder):
        wanted = as_input(b"".join(
            item.oid.encode("ascii") + b" " + batch_quoted(item.path) + b"\n" for item in items))
        self._complaints = tempfile.TemporaryFile()
        try:
            self._git = subprocess.Popen(
                ["git", "-C", source["repository"], "cat-file", "--batch=%(objectsize) %(rest)"],
                stdin=wanted, stdout=subprocess.PIPE, stderr=self._complaints, cwd=folder)
        finally:
            os.close(wanted)
        _widen(self._git.stdout)
        return os.dup(self._git.stdout.fileno())

    def __enter__(self):
        return self

    def __exit__(self, *_):
        for process in (self._git, self._child):
            if process is None:
                continue
            process.stdout.close()
            if process is self._child and process.poll() is None:
                process.kill()
            process.wait()
        self._messages.close()
        if self._complaints:
            self._complaints.close()

    @property
    def output(self):
        """The descriptor from which its records are read."""
        if self._git and not self._git.stdout.closed:
            self._git.stdout.close()  # so that git ends when the engine does
        return self._child.stdout.fileno()

    def failure(self):
        """Waits for the end. Gives why not all items were parsed, or None if all were."""
        status = self._child.wait()
        if status in (0, 1) and (self._git is None or self._git.wait() == 0):
            return None
        if status < 0:
            return f"ended by signal {-status}"
        if self._git is not None and self._complaint():
            return f"ended, since git says: {self._complaint()}"
        self._messages.seek(0)
        return f"ended with status {status}: {_last_line(self._messages.read())}"

    def _complaint(self):
        self._complaints.seek(0)
        text = self._complaints.read()
        return _last_line(text) if text else ""

    def messages(self):
        """Its first messages about files."""
        self._messages.seek(0)
        lines = []
        for line in self._messages:
            if len(lines) == MOST_MESSAGES:
                break
            lines.append(line.decode("utf-8", "replace").rstrip("\n")
                         .removeprefix("treesitter-engine: "))
        return lines
