"""Measures how many of the names that other programs find the engine finds too: see bench/recall.

It compares with two yardsticks (yardsticks.py): the grammars' tags queries, for definitions and references,
and universal-ctags, for definitions. A definition is found if a symbol of that name spans the line of the
name; a call if there is a reference with its last name on a line from the beginning of the call to the name.
Precision goes the other way: it counts the symbols that no yardstick has.
"""
import argparse
import collections
import functools
import json
import pathlib
import re
import subprocess
import sys
import tempfile
from dataclasses import dataclass, field

from harness import inputs
from harness.tables import markdown
from harness.workers import languages_of
from harness.yardsticks import (CALL_CAPTURES, CTAGS, HELD, HOLDERS, IN_TEXT, JUDGED_KINDS,
                                NO_CAPTURES, NO_NAMES, NO_TAGS, PREFIXES)


@dataclass
class File:
    path: str
    language: str
    symbols: dict = field(default_factory=dict)  # by name: (kind, first line, last line)
    references: dict = field(default_factory=dict)  # by last name: (kind, line)
    texts: set = field(default_factory=set)  # lines within strings and comments
    known: dict = field(default_factory=dict)  # by last name: lines where a yardstick names it


@dataclass
class Entry:
    """One name that a yardstick found."""
    file: File
    kind: str  # the capture, or ctags' kind
    name: str
    line: int
    lines: tuple = None  # of a reference: the first and the last that may be said
    note: str = ""


# ---- Names ----

def plain(name):
    """The name without quotes, sigils, a symbol's colon and type arguments."""
    return re.sub(r"<.*", "", name).strip("\"'`[]$ :") or name


def last(name):
    return re.split(r"::|->|[.\\/]", plain(name))[-1] or plain(name)


# ---- The programs ----

def read_engine(tool, rules, folder, files):
    """Parses all files, and keeps their symbols and references. Gives how many have error texts."""
    failed = 0
    by_path = {file.path: file for file in files}
    with tempfile.NamedTemporaryFile() as paths:
        paths.write("".join(f"{path}\n" for path in by_path).encode())
        paths.flush()
        command = [str(tool), "parse", "--format", "json", "--files-from", paths.name]
        if rules != "standard":
            command += ["--rules", rules]
        run = subprocess.Popen(command, cwd=folder, stdout=subprocess.PIPE)
        for line in run.stdout:
            record = json.loads(line)
            file = by_path.pop(record["path"])
            failed += bool(record.get("errors") or "raised" in record)
            for symbol in record.get("symbols", ()):
                file.symbols.setdefault(plain(symbol["name"]), []).append(
                    (symbol["kind"], symbol["start_line"], symbol["end_line"]))
            for reference in record.get("references", ()):
                file.references.setdefault(last(reference["name"]), []).append(
                    (reference["kind"], reference["line"]))
    if run.wait() not in (0, 1) or by_path:
        sys.exit(f"recall: the tool ended with status {run.returncode}, {len(by_path)} files unsaid")
    return failed


def tags_entries(program, node_modules, folder, files):
    done = subprocess.run([str(program), str(node_modules)], cwd=folder, check=True,
                          input="".join(f"{f.language}\t{f.path}\n" for f in files).encode(),
                          stdout=subprocess.PIPE)
    for line in done.stdout.decode("utf-8", "replace").split("\n")[:-1]:
        number, kind, rest = line.split("\t", 2)
        if kind == "text":
            files[int(number)].texts.update(range(*map(int, rest.split("\t"))))
            continue
        node, place, first, end, at, name = rest.split("\t", 5)
        yield Entry(files[int(number)], kind, name, int(at), (int(first), int(end)),
                    f"{node} {place}")


def in_code(language, name):
    """A name as the code has it, without what ctags writes before it."""
    for its_language, prefix in PREFIXES:
        if its_language == language:
            name = re.sub(f"^(?:{prefix})", "", name)
    return name


def ctags_entries(language, folder, files):
    forced, _ = CTAGS[language]
    by_path = {file.path: file for file in files}
    done = subprocess.run(["ctags", "--quiet=yes", "--options=NONE", "--output-format=json", "--sort=no",
                           "--fields=+n", "--extras=-{anonymous}", f"--language-force={forced}",
                           "-L", "-", "-f", "-"], cwd=folder, check=True,
                          input="".join(f"{path}\n" for path in by_path).encode(),
                          capture_output=True)  # it warns of each name that it drops
    for line in done.stdout.decode("utf-8", "replace").split("\n")[:-1]:
        tag = json.loads(line)
        if "line" in tag:
            yield Entry(by_path[tag["path"]], tag["kind"], in_code(language, tag["name"]),
                        tag["line"])


# ---- Judging ----

def left_out(entry):
    """The reason why a capture does not count, or None."""
    node, _, place = entry.note.partition(" ")
    for language, kind, its_node, its_place, reason in NO_CAPTURES:
        if ((language, kind) == (entry.file.language, entry.kind)
                and its_node in ("*", node) and its_place in ("*", place)):
            return reason
    for language, kind, names, reason in NO_NAMES:
        if (language, kind) == (entry.file.language, entry.kind) and entry.name in names:
            return reason
    return None


def is_defined(entry, meaning):
    names = {plain(entry.name), last(entry.name)}
    return any(first <= entry.line <= end and not (meaning in HELD and kind in HOLDERS)
               for name in names for kind, first, end in entry.file.symbols.get(name, ()))


def is_referred(entry):
    kinds = ("call",) if entry.kind in CALL_CAPTURES else ("type", "call")
    return any(kind in kinds and entry.lines[0] <= line <= entry.lines[1]
               for kind, line in entry.file.references.get(last(entry.name), ()))


class Table:
    """Counts of found and missed names by language and kind, with the missed ones."""

    def __init__(self):
        self.rows = {}  # (language, kind): [all, found, missed entries]
        self.excluded = collections.Counter()

    def add(self, key, entry, is_found):
        row = self.rows.setdefault(key, [0, 0, []])
        row[0] += 1
        row[1] += is_found
        if not is_found:
            row[2].append(entry)

    def print(self, title, headings):
        rows = [[*key, f"{count:,}", f"{found:,}", f"{100 * found / count:.1f}"]
                for key, (count, found, _) in sorted(self.rows.items())]
        print(f"\n### {title}\n")
        print(markdown([*headings, "all", "found", "%"], rows))
        if self.excluded:
            print("\nLeft out:\n")
            for (language, kind, reason), count in sorted(self.excluded.items()):
                print(f"- {language} {kind}, {count:,} times: {reason}")

    def show(self, title, count, folder):
        """Prints some missed names from all over the corpus."""
        for key, (_, _, missed) in sorted(self.rows.items()):
            if count and missed:
                print(f"\n#### {title}: {' '.join(key)}, {len(missed):,}\n")
                for entry in missed[::-(-len(missed) // count)][:count]:
                    print(f"{entry.file.path}:{entry.line}\t{entry.kind}\t{entry.name}\t"
                          f"{source_line(folder, entry)}")


@functools.lru_cache(maxsize=4)
def lines_of(path):
    return path.read_bytes().split(b"\n")


def source_line(folder, entry):
    lines = lines_of(folder / entry.file.path)
    text = lines[entry.line - 1] if entry.line <= len(lines) else b""
    return text.decode("utf-8", "replace").rstrip()[:160]


def remember(entry):
    entry.file.known.setdefault(last(entry.name), []).append(entry.line)


def judge_tags(entries):
    table = Table()
    for entry in entries:
        is_definition = entry.kind.startswith("definition.")
        if is_definition:
            remember(entry)
        if reason := left_out(entry):
            table.excluded[entry.file.language, entry.kind, reason] += 1
        else:
            table.add((entry.file.language, entry.kind), entry,
                      is_defined(entry, entry.kind) if is_definition else is_referred(entry))
    return table


def judge_ctags(table, folder, entries):
    for entry in entries:
        language = entry.file.language
        meaning = CTAGS[language][1].get(entry.kind)
        if entry.line in entry.file.texts:
            table.excluded[language, entry.kind, IN_TEXT] += 1
            continue
        remember(entry)
        if meaning is None:
            continue
        rules = [rule for rule in NO_TAGS if rule[:2] == (language, entry.kind)]
        for *_, name, text, reason in rules:
            if re.search(name, entry.name) and re.search(text, source_line(folder, entry)):
                table.excluded[language, entry.kind, reason] += 1
                break
        else:
            table.add((language, entry.kind, meaning), entry, is_defined(entry, meaning))


def judge_precision(files):
    table = Table()
    for file in files:
        for name, symbols in file.symbols.items():
            lines = file.known.get(last(name), ())
            for kind, first, end in symbols:
                if kind in JUDGED_KINDS:
                    table.add((file.language, kind), Entry(file, kind, name, first),
                              any(first <= line <= end for line in lines))
    return table


# ---- The command ----

def arguments():
    parser = argparse.ArgumentParser(prog="bench/recall", description=__doc__.split("\n")[0])
    parser.add_argument("folder", type=pathlib.Path, nargs="?", default=pathlib.Path("corpus"),
                        help="source files, in any arrangement (default: corpus)")
    parser.add_argument("--language", action="append", choices=sorted(CTAGS),
                        help="only this language; may be given several times")
    parser.add_argument("--rules", choices=("standard", "navigation"), default="standard",
                        help="the engine's rules (default: standard)")
    parser.add_argument("--missed", type=int, default=0, metavar="N",
                        help="show N missed names of each language and kind")
    parser.add_argument("--extra", type=int, default=0, metavar="N",
                        help="show N symbols of each language and kind that nobody else knows")
    parser.add_argument("--build", type=pathlib.Path, required=True, help=argparse.SUPPRESS)
    parser.add_argument("--tool", type=pathlib.Path, help="the treesitter-engine of another build")
    parser.add_argument("--node-modules", type=pathlib.Path, required=True, help=argparse.SUPPRESS)
    return parser.parse_args()


def main():
    options = arguments()
    folder = options.folder.resolve()
    if not folder.is_dir():
        sys.exit(f"recall: there is no folder {options.folder}; bench/recall_corpus makes one")
    paths = inputs.files_of(folder)
    bench = options.build.resolve() / "bench"
    languages = languages_of(bench / "engine_parse", paths)
    files = [File(path, language) for path, language in zip(paths, languages)
             if language in (options.language or CTAGS)]
    if not files:
        sys.exit(f"recall: no file of such a language in {options.folder}")
    tool = (options.tool or options.build / "treesitter-engine").resolve()
    failed = read_engine(tool, options.rules, folder, files)
    tags = judge_tags(tags_entries(bench / "tags_captures", options.node_modules.resolve(),
                                   folder, files))
    ctags = Table()
    for language in sorted({file.language for file in files}):
        of_it = [file for file in files if file.language == language]
        judge_ctags(ctags, folder, ctags_entries(language, folder, of_it))
    precision = judge_precision(files)
    print(f"{len(files):,} files, {options.rules} rules; {failed} files with error texts.")
    tags.print("Against the tags queries", ["language", "capture"])
    ctags.print("Against universal-ctags", ["language", "kind", "is a"])
    precision.print("Symbols that either knows", ["language", "kind"])
    tags.show("Missed of the tags queries", options.missed, folder)
    ctags.show("Missed of universal-ctags", options.missed, folder)
    precision.show("Known to neither", options.extra, folder)


if __name__ == "__main__":
    main()
