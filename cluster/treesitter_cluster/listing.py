"""What a run is to parse, found once, before any work is given out: items in order, each with its
size and the source that its content comes from.

Folders and lists are walked by the engine itself (`parse --list`), so that the rules are one; of
a repository the tree of a commit is read, without a checkout. Costs a look at each file, on one
machine: doc/scale.md says what that comes to.
"""
import json
import os
import subprocess
import tempfile

from .errors import ClusterError
from .items import Item

NAMED = {"kind": "named"}  # has a record whatever it is
FOUND = {"kind": "found"}  # has none where it is binary
RECORDS = {"kind": "records"}  # is itself a record: what could not be listed


class Languages:
    """Which names tell a language, by what the engine says of itself."""

    def __init__(self, engine):
        text = subprocess.run([engine, "languages"], check=True, capture_output=True).stdout
        self._names, self._suffixes = {}, {}
        language, last, table = b"", b"", self._suffixes
        for line in text.splitlines():
            words = line.split()
            if not line.startswith(b" "):
                language, last, table = words.pop(0), b"", self._suffixes
            for word in words:
                # Sorted suffixes, then sorted names, of which the first may begin with a dot too.
                if not word.startswith(b".") or word < last:
                    table = self._names
                table[word] = language
                last = word
        self._longest = max(map(len, self._suffixes))

    def detect(self, path):
        """The language of a path, or None."""
        name = path[path.rfind(b"/") + 1:]
        if name in self._names:
            return self._names[name]
        end = name[-self._longest:].lower()
        dot = end.find(b".")
        while dot >= 0:
            if end[dot:] in self._suffixes:
                return self._suffixes[end[dot:]]
            dot = end.find(b".", dot + 1)
        return None


def listed(engine, command, folder):
    """Pairs of source and item, of the paths and the list of the command."""
    arguments = [engine, "parse", "--list", *command["walk"]]
    standard_input = subprocess.DEVNULL
    with tempfile.TemporaryFile() as messages:
        if command["list"] is not None:
            arguments += ["--files-from", command["list"]["file"]]
            arguments += ["--null"] if command["list"]["null"] else []
        arguments += ["--", *command["paths"]]
        with subprocess.Popen(arguments, stdin=standard_input, stdout=subprocess.PIPE, cwd=folder,
                              stderr=messages) as process:
            for line in process.stdout:
                yield _listed(line)
        if process.returncode not in (0, 1):
            messages.seek(0)
            raise ClusterError(messages.read().decode("utf-8", "replace").strip())


def _listed(line):
    record = json.loads(line)
    if "size" not in record:
        return RECORDS, Item(line.rstrip(b"\n"), len(line))
    exact = record.get("path_bytes")
    path = bytes.fromhex(exact) if exact else record["path"].encode("utf-8")
    return (FOUND if record.get("found") else NAMED), Item(path, record["size"])


def _git(repository, *arguments, folder):
    return ["git", "-C", os.path.join(folder, repository), *arguments]


def commit_of(repository, name, folder):
    done = subprocess.run(
        _git(repository, "rev-parse", "--verify", "--end-of-options", name + "^{commit}",
             folder=folder), capture_output=True, check=False)
    if done.returncode != 0:
        raise ClusterError(f"{repository}: {done.stderr.decode('utf-8', 'replace').strip()}")
    return done.stdout.decode("ascii").strip()


def in_commit(repository, prefix, commit, languages, hidden, folder):
    """Pairs of source and item, in the order of the paths: the files that a walk of a checkout
    would take if it ignored none. Links and submodules are no files of the repository."""
    source = {"kind": "git", "repository": repository, "commit": commit}
    with tempfile.TemporaryFile() as messages, subprocess.Popen(
            _git(repository, "ls-tree", "-r", "-z", "-l", "--full-tree", commit, folder=folder),
            stdout=subprocess.PIPE, stderr=messages) as process:
        for entry in _parts(process.stdout):
            head, path = entry.split(b"\t", 1)
            mode, kind, oid, size = head.split()
            if kind != b"blob" or not mode.startswith(b"100") or languages.detect(path) is None:
                continue
            if not hidden and (path.startswith(b".") or b"/." in path):
                continue
            # Of an object that is gone git tells no size; the record will tell that.
            yield source, Item(prefix + path, int(size) if size.isdigit() else 0,
                               oid.decode("ascii"))
        if process.wait() != 0:
            messages.seek(0)
            raise ClusterError(
                f"{repository}: {messages.read().decode('utf-8', 'replace').strip()}")


def _parts(file):
    rest = b""
    while data := file.read(1 << 16):
        parts = (rest + data).split(b"\0")
        rest = parts.pop()
        yield from parts
