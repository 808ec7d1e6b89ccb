#!/usr/bin/env python3
"""A small code indexer: threads that share one engine, and an SQLite database.

    indexer.py DATABASE index FOLDER...     (again later: only files that changed are parsed)
    indexer.py DATABASE find NAME           where it is defined, and who calls it

The database gives each file its file_id. Threads read and parse; this thread alone writes.
"""
import argparse
import collections
import concurrent.futures
import hashlib
import logging
import os
import sqlite3
import sys

import treesitter

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
    database = sqlite3.connect(path)
    database.executescript(SCHEMA)
    return database


def source_files(folders):
    """The files below the folders whose language is known, each once."""
    for folder in folders:
        for root, folders_below, names in os.walk(os.fsencode(folder)):
            folders_below.sort()
            for path in (os.path.join(root, name) for name in sorted(names)):
                if treesitter.detect_language(path) is not None:
                    yield path


def parse_if_changed(engine, path, file_id, known_hash):
    """On a pool's thread: the result, or None for content that the database has already."""
    try:
        with open(path, "rb") as file:
            if hashlib.file_digest(file, "sha256").hexdigest() == known_hash:
                return None
    except OSError:
        pass  # the engine's result tells
    try:
        return engine.parse_file(path, file_id)
    except (UnicodeDecodeError, treesitter.ResultLimitError) as error:
        return treesitter.ParseResult(path=os.fsdecode(path), language="", content_hash="",
                                      symbols=[], references=[], errors=[str(error)])


def storable(text):
    """SQLite takes no lone surrogates, which the names of odd files leave in an fqn."""
    return text.encode("utf-8", "replace").decode()


def store(database, file_id, result):
    database.execute("DELETE FROM symbols WHERE file_id = ?", (file_id,))
    database.execute("DELETE FROM refs WHERE file_id = ?", (file_id,))
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


def entry(database, path):
    """The file's id, given when it is first seen, and the hash of what is stored of it."""
    database.execute("INSERT OR IGNORE INTO files (path) VALUES (?)", (path,))
    return database.execute("SELECT id, content_hash FROM files WHERE path = ?", (path,)).fetchone()


def forget_missing(database, folders, seen):
    """Forgets files that were below the folders and are no more; gives their number."""
    roots = tuple(os.path.join(os.fsencode(folder), b"") for folder in folders)
    gone = [(file_id,) for file_id, path in database.execute("SELECT id, path FROM files")
            if path.startswith(roots) and file_id not in seen]
    for table, column in (("symbols", "file_id"), ("refs", "file_id"), ("files", "id")):
        database.executemany(f"DELETE FROM {table} WHERE {column} = ?", gone)
    return len(gone)


def index(database, folders, threads):
    """What became of the files: how many were parsed, failed, unchanged, removed."""
    engine = treesitter.TreeSitterEngine()  # one for all threads
    counts = collections.Counter()
    seen = set()

    def finish(file_id, future):
        result = future.result()
        if result is not None:
            store(database, file_id, result)
        counts["unchanged" if result is None else "failed" if result.errors else "parsed"] += 1

    with database, concurrent.futures.ThreadPoolExecutor(threads) as pool:
        under_way = collections.deque()
        for path in source_files(folders):
            file_id, known_hash = entry(database, path)
            seen.add(file_id)
            under_way.append(
                (file_id, pool.submit(parse_if_changed, engine, path, file_id, known_hash)))
            if len(under_way) > 8 * threads:
                finish(*under_way.popleft())
        while under_way:
            finish(*under_way.popleft())
        counts["removed"] = forget_missing(database, folders, seen)
    return +counts  # without those that are 0


def find(database, name):
    """Lines that tell where `name` is defined and who calls it."""
    for path, line, kind, fqn, signature in database.execute(DEFINITIONS, (name,)):
        yield f"defined  {os.fsdecode(path)}:{line}  {kind} {fqn}  {signature or ''}".rstrip()
    for path, line, caller in database.execute(CALLERS, (name,)):
        yield f"called   {os.fsdecode(path)}:{line}  by {caller or 'the file itself'}"


def main(arguments=None):
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("database")
    commands = parser.add_subparsers(dest="command", required=True)
    command = commands.add_parser("index", help="parse what changed below folders")
    command.add_argument("folders", nargs="+")
    command.add_argument("--threads", type=int, default=len(os.sched_getaffinity(0)))
    command = commands.add_parser("find", help="where a name is defined, and who calls it")
    command.add_argument("name")
    options = parser.parse_args(arguments)

    logging.basicConfig(level=logging.ERROR)  # unreadable files are in the database, as errors
    database = open_database(options.database)
    if options.command == "index":
        counts = index(database, options.folders, options.threads)
        print(", ".join(f"{count} {what}" for what, count in sorted(counts.items())) or "no files")
        return 0
    sys.stdout.reconfigure(errors="surrogateescape")  # names of files may be any bytes
    lines = list(find(database, options.name))
    print(*lines, sep="\n")
    return 0 if lines else 1


if __name__ == "__main__":
    sys.exit(main())
