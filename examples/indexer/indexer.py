#!/usr/bin/env python3
"""A small code indexer: parse_many on all processors, and an SQLite database.

    indexer.py DATABASE index FOLDER...     (again later: only files that changed are parsed)
    indexer.py DATABASE find NAME           where it is defined, and who calls it

The database gives each file its file_id. Files are stored under their real paths, so that each has one
name, however its folder was written. Whatever ends the indexer, only the last second's work is lost.

Tested by tests/python/test_indexer.py.
"""
import argparse
import collections
import contextlib
import hashlib
import logging
import os
import sqlite3
import stat
import sys
import time

import treesitter

SECONDS_PER_COMMIT = 1
SCHEMA = """
CREATE TABLE IF NOT EXISTS files (
  id INTEGER PRIMARY KEY, path BLOB UNIQUE, language TEXT, content_hash TEXT, errors TEXT);
CREATE TABLE IF NOT EXISTS symbols (
  file_id INTEGER, name TEXT, kind TEXT, fqn TEXT, start_line INTEGER, end_line INTEGER,
  signature TEXT, is_export INTEGER, docstring TEXT, body_digest TEXT);
CREATE TABLE IF NOT EXISTS refs (file_id INTEGER, name TEXT, line INTEGER, kind TEXT);
CREATE INDEX IF NOT EXISTS symbols_by_name ON symbols (name);
CREATE INDEX IF NOT EXISTS symbols_by_file ON symbols (file_id, start_line);
CREATE INDEX IF NOT EXISTS refs_by_name ON refs (name);
CREATE INDEX IF NOT EXISTS refs_by_file ON refs (file_id);
"""
DEFINITIONS = """
SELECT path, start_line, kind, fqn, signature FROM symbols JOIN files ON files.id = file_id
WHERE name = ? ORDER BY path, start_line"""
# The caller is the innermost symbol around the call.
CALLERS = """
SELECT path, line, (SELECT fqn FROM symbols
                    WHERE symbols.file_id = refs.file_id AND line BETWEEN start_line AND end_line
                    ORDER BY start_line DESC, end_line LIMIT 1)
FROM refs JOIN files ON files.id = file_id WHERE name = ? AND kind = 'call' ORDER BY path, line"""


def open_database(path):
    database = sqlite3.connect(path, isolation_level="IMMEDIATE")
    database.executescript(SCHEMA)
    return database


def lock_for_writing(path):
    """A lock that is held until it is closed. The database's own lock ends with each commit."""
    lock = sqlite3.connect(f"{path}.lock", timeout=0)
    try:
        lock.execute("BEGIN EXCLUSIVE")
    except sqlite3.OperationalError as error:
        raise BlockingIOError(f"{error}: another indexer is writing to it") from None
    return lock


def source_files(folder, on_error):
    """Yields the files below the folder whose language is known. os.walk fails at a thousand levels."""
    folders = [folder]
    while folders:
        try:
            with os.scandir(folders.pop()) as entries:
                found = sorted(entries, key=lambda entry: entry.name)
            folders += [entry.path for entry in reversed(found)
                        if entry.is_dir(follow_symlinks=False)]
        except OSError as error:
            on_error(error)
            continue
        for path in (entry.path for entry in found):
            if treesitter.detect_language(path) is not None and not os.path.isdir(path):
                yield path


def hash_of(path):
    """The SHA-256 of a regular file, else None. Without O_NONBLOCK this would wait for a FIFO."""
    try:
        with open(os.open(path, os.O_RDONLY | os.O_NONBLOCK), "rb") as file:
            if stat.S_ISREG(os.fstat(file.fileno()).st_mode):
                return hashlib.file_digest(file, "sha256").hexdigest()
    except OSError:
        pass  # the engine's result will have the error
    return None


def entry(database, path):
    """The file's id, which is given when the file is first seen, and the hash of its stored content."""
    key = (os.fsencode(path),)
    database.execute("INSERT OR IGNORE INTO files (path) VALUES (?)", key)
    return database.execute("SELECT id, content_hash FROM files WHERE path = ?", key).fetchone()


def storable(text):
    """The text without lone surrogates, which SQLite refuses. Names of files that are no UTF-8 bring them
    into an fqn."""
    return text.encode("utf-8", "replace").decode()


def forget(database, file_id):
    database.execute("DELETE FROM symbols WHERE file_id = ?", (file_id,))
    database.execute("DELETE FROM refs WHERE file_id = ?", (file_id,))


def store(database, result):
    file_id, _ = entry(database, result.path)
    if result.content_hash:  # while a file cannot be read, its old symbols stay
        forget(database, file_id)
    database.execute(
        "UPDATE files SET language = ?, content_hash = ?, errors = ? WHERE id = ?",
        (result.language, result.content_hash, storable("\n".join(result.errors)), file_id))
    database.executemany(
        "INSERT INTO symbols VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?)",
        ((symbol.file_id, symbol.name, symbol.kind, storable(symbol.fqn), symbol.start_line,
          symbol.end_line, symbol.signature, symbol.is_export, symbol.docstring, symbol.body_digest)
         for symbol in result.symbols))
    database.executemany(
        "INSERT INTO refs VALUES (?, ?, ?, ?)",
        ((file_id, reference.name, reference.line, reference.kind)
         for reference in result.references))


def forget_missing(database, folder, seen):
    """Forgets the files below the folder that are gone. Gives their number."""
    prefix = os.fsencode(os.path.join(folder, ""))
    gone = [file_id for file_id, path in database.execute("SELECT id, path FROM files")
            if path.startswith(prefix) and file_id not in seen]
    for file_id in gone:
        forget(database, file_id)
        database.execute("DELETE FROM files WHERE id = ?", (file_id,))
    return len(gone)


def changed_files(database, folders, counts):
    """Yields pairs of path and file id for parse_many."""
    def count_unlisted(error):
        counts["unlisted"] += 1
        print(f"{error}; nothing is removed from the index there", file=sys.stderr)

    seen = set()
    for folder in map(os.path.realpath, folders):
        unlisted_before = counts["unlisted"]
        for path in source_files(folder, count_unlisted):
            file_id, known_hash = entry(database, path)
            if file_id in seen:  # one of the folders contains another
                continue
            seen.add(file_id)
            if known_hash and hash_of(path) == known_hash:
                counts["unchanged"] += 1
            else:
                yield path, file_id
        if counts["unlisted"] == unlisted_before:
            counts["removed"] += forget_missing(database, folder, seen)


def index(database, folders, threads, kept):
    """Parses what has changed. Counts in `kept` the files whose results are committed."""
    engine = treesitter.TreeSitterEngine()
    counts = collections.Counter()
    files = changed_files(database, folders, counts)
    with database, engine.parse_many(files, threads) as results:  # an exception rolls back
        due = time.monotonic() + SECONDS_PER_COMMIT
        for result in results:
            store(database, result)
            counts["failed" if result.errors else "parsed"] += 1
            if time.monotonic() >= due:
                database.commit()
                kept |= counts
                due = time.monotonic() + SECONDS_PER_COMMIT
    kept |= counts


def find(database, name):
    """Lines that tell where `name` is defined and who calls it."""
    for path, line, kind, fqn, signature in database.execute(DEFINITIONS, (name,)):
        yield f"defined  {os.fsdecode(path)}:{line}  {kind} {fqn}  {signature or ''}".rstrip()
    for path, line, caller in database.execute(CALLERS, (name,)):
        yield f"called   {os.fsdecode(path)}:{line}  by {caller or 'the file itself'}"


def run_index(path, folders, threads):
    counts = collections.Counter()
    with contextlib.closing(lock_for_writing(path)):
        try:
            index(open_database(path), folders, threads, counts)
            status = 1 if counts["unlisted"] else 0
        except KeyboardInterrupt:
            print("interrupted; what was done so far is kept", file=sys.stderr)
            status = 130
    print(", ".join(f"{n} {what}" for what, n in sorted(counts.items())) or "no files")
    return status


def run_find(path, name):
    os.stat(path)  # SQLite would create a missing database
    lines = list(find(open_database(path), name))
    sys.stdout.reconfigure(errors="surrogateescape")  # names of files may be any bytes
    print(*lines, sep="\n")
    return 0 if lines else 1


def main(arguments=None):
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("database")
    commands = parser.add_subparsers(dest="command", required=True)
    command = commands.add_parser("index", help="parse what changed below folders")
    command.add_argument("folders", nargs="+")
    command.add_argument("--threads", type=int)
    command = commands.add_parser("find", help="where a name is defined, and who calls it")
    command.add_argument("name")
    options = parser.parse_args(arguments)
    logging.basicConfig(level=logging.ERROR)  # unreadable files are in the database, as errors
    try:
        if options.command == "index":
            return run_index(options.database, options.folders, options.threads)
        return run_find(options.database, options.name)
    except (OSError, sqlite3.Error) as error:
        print(f"{options.database}: {error}", file=sys.stderr)
        return 2


if __name__ == "__main__":
    sys.exit(main())
