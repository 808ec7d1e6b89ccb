"""Finds the items of a run before any work is given out, in order, each with its size and the source
of its content.

The engine itself walks folders and lists (`parse --list`), so that its rules for files hold here too. Of
a repository the tree of a commit is read, without a checkout, and the engine decides which of its paths
count. This looks at each file once, on the driver's machine; doc/scale.md has the figures.

Tested by tests/cluster/test_runs.py.
"""
import json
import os
import re
import subprocess
import tempfile

from .errors import ClusterError
from .items import Item

NAMED = {"kind": "named"}  # named by the user: has a record in any case
FOUND = {"kind": "found"}  # found in a folder: has no record if it is binary
RECORDS = {"kind": "records"}  # could not be listed: the item is the record that says so
LONG = {"kind": "long"}  # found, and its path is too long for one system call
PATH_MAX = 4096  # bytes


def listed(engine, command, folder):
    """Yields pairs of source and item for the command's paths and list."""
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


# Reads most lines in a third of the time of the JSON parser, which reads those with an escaped path.
_PLAIN = re.compile(rb'\{"path":"([^"\\]*)","size":(\d+)(,"found":true)?\}\n')


def _listed(line):
    plain = _PLAIN.fullmatch(line)
    if plain and len(plain[1]) < PATH_MAX:
        return (FOUND if plain[3] else NAMED), Item(plain[1], int(plain[2]))
    record = json.loads(line)
    if "size" not in record:
        return RECORDS, Item(line.rstrip(b"\n"), len(line))
    exact = record.get("path_bytes")
    path = bytes.fromhex(exact) if exact else record["path"].encode("utf-8")
    if not record.get("found"):
        return NAMED, Item(path, record["size"])
    return (FOUND if len(path) < PATH_MAX else LONG), Item(path, record["size"])


def _git(repository, *arguments, folder):
    return ["git", "-C", os.path.join(folder, repository), *arguments]


def commit_of(repository, name, folder):
    done = subprocess.run(
        _git(repository, "rev-parse", "--verify", "--end-of-options", name + "^{commit}",
             folder=folder), capture_output=True, check=False)
    if done.returncode != 0:
        raise ClusterError(f"{repository}: {done.stderr.decode('utf-8', 'replace').strip()}")
    return done.stdout.decode("ascii").strip()


def commits_of(command):
    """Triples of repository, commit id and prefix. The error names all repositories that cannot be read."""
    triples, faults = [], []
    for repository, name, prefix in command["git"]:
        try:
            triples.append((repository, commit_of(repository, name, command["folder"]), prefix))
        except ClusterError as error:
            faults.append(str(error))
    if faults:
        raise ClusterError("\n  ".join(["what is wrong with repositories:", *faults]))
    return triples


def in_commit(engine, repository, commit, prefix, command):
    """Yields pairs of source and item in the order of the paths, for the files that a walk of a checkout
    would take without ignore rules. Links and submodules are left out."""
    source = {"kind": "git", "repository": repository, "commit": commit}
    with tempfile.TemporaryFile() as tree, tempfile.TemporaryFile() as paths:
        ls_tree = _git(repository, "ls-tree", "-r", "-z", "-l", "--full-tree", commit,
                       folder=command["folder"])
        _require_run(ls_tree, repository, stdout=tree)
        tree.seek(0)
        for _, _, path in _files(tree):
            paths.write(path + b"\0")
        paths.seek(0)
        taken = tempfile.TemporaryFile()
        with taken:
            _require_run([engine, "parse", "--list", "--batch", "--null", *command["walk"]],
                         "engine", stdin=paths, stdout=taken)
            tree.seek(0)
            taken.seek(0)
            entries = _files(tree)
            for path in _parts(taken):
                oid, size, _ = next(entry for entry in entries if entry[2] == path)
                # Git prints no size for an object that is missing. Its record will say so.
                yield source, Item(os.fsencode(prefix) + path,
                                   int(size) if size.isdigit() else 0, oid.decode("ascii"))


def _require_run(command, whose, **files):
    done = subprocess.run(command, stderr=subprocess.PIPE, check=False, **files)
    if done.returncode != 0:
        raise ClusterError(f"{whose}: {done.stderr.decode('utf-8', 'replace').strip()}")


def _files(tree):
    for entry in _parts(tree):
        head, path = entry.split(b"\t", 1)
        mode, kind, oid, size = head.split()
        if kind == b"blob" and mode.startswith(b"100"):
            yield oid, size, path


def _parts(file):
    rest = b""
    while data := file.read(1 << 16):
        parts = (rest + data).split(b"\0")
        rest = parts.pop()
        yield from parts
