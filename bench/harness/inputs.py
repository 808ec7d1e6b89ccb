"""The inputs of the benchmark: groups of files, each of one language and one class.

valid        the files of the folder, by the language that the engine detects
small        the first KB of up to 400 of them
mismatched   a few of them, parsed with the grammar of another language
deep, wide, long    generated files (shapes.py), in two sizes
threads      all files of the folder, the largest first

Files that are not in the folder are written to a temporary one.
"""
import hashlib
import os
import pathlib
from dataclasses import dataclass, field

from harness import shapes

SMALL_BYTES = 1024
SMALL_FILES = 400
MISMATCHED_LARGEST = 8_000
MISMATCHED_FILES = 2  # of each other language


@dataclass
class Group:
    name: str  # no white space
    kind: str
    language: str
    paths: list = field(default_factory=list)
    bytes: int = 0
    is_utf8: bool = True
    digest: str = ""  # of names and contents, for the recorded answers
    largest: str = ""

    def fill(self, paths, folder):
        digest = hashlib.sha256()
        largest = -1
        for path in paths:
            content = (folder / path).read_bytes()
            self.paths.append(path)
            self.bytes += len(content)
            digest.update(f"{path}\0{len(content)}\0".encode() + content)
            if len(content) > largest:
                largest, self.largest = len(content), path
            try:
                content.decode("utf-8")
            except UnicodeDecodeError:
                self.is_utf8 = False
        self.digest = digest.hexdigest()[:16]
        return self


def files_of(folder):
    """Relative paths of all regular files, sorted; links are left out, they would count twice."""
    found = []
    for parent, folders, names in os.walk(folder):
        folders.sort()
        for name in sorted(names):
            path = pathlib.Path(parent, name)
            if path.is_file() and not path.is_symlink() and str(path).isprintable():
                found.append(path.relative_to(folder).as_posix())
    return sorted(found)


def valid_groups(folder, paths, languages):
    by_language = {}
    for path, language in zip(paths, languages):
        if language:
            by_language.setdefault(language, []).append(path)
    return [Group(language, "valid", language).fill(of_it, folder)
            for language, of_it in by_language.items()]


def _write(path, content):
    path.parent.mkdir(parents=True, exist_ok=True)
    path.write_bytes(content)
    return str(path)


def small_group(valid, folder, scratch):
    paths = []
    for number, path in enumerate(valid.paths[:SMALL_FILES]):
        content = (folder / path).read_bytes()[:SMALL_BYTES]
        # Cut at the end of a line, or it would end in half a word and in half a character.
        content = content[: content.rfind(b"\n") + 1] or content
        # Under its own name, which may be what tells its language.
        file = scratch / "small" / valid.language / str(number) / pathlib.PurePath(path).name
        paths.append(_write(file, content))
    return Group(f"small/{valid.language}", "small", valid.language).fill(paths, folder)


def mismatched_group(language, valid, folder):
    paths = []
    for other in valid:
        if other.language == language:
            continue
        short = [path for path in other.paths
                 if (folder / path).stat().st_size <= MISMATCHED_LARGEST]
        # Spread over the folder, since neighbours resemble one another.
        paths += short[:: max(1, len(short) // MISMATCHED_FILES)][:MISMATCHED_FILES]
    return Group(f"mismatched/{language}", "mismatched", language).fill(paths, folder)


def shape_groups(valid, scratch, folder):
    groups = []
    language, name = valid.language, pathlib.PurePath(valid.paths[0]).name
    for shape, make in shapes.SHAPES.items():
        for scale in (1, 2):
            path = _write(scratch / f"{shape}{scale}" / language / name,
                          make(language, scale).encode())
            groups.append(Group(f"{shape}{scale}/{language}", shape, language).fill([path], folder))
    return groups


def threads_group(valid, folder):
    """All files, the largest first, so that no thread begins a large one when the other is done."""
    pairs = [(path, group.language) for group in valid for path in group.paths]
    pairs.sort(key=lambda pair: ((folder / pair[0]).stat().st_size, pair[0]), reverse=True)
    group = Group("threads", "threads", "").fill([path for path, _ in pairs], folder)
    return group, [language for _, language in pairs]


def write_manifest(path, rows):
    """`rows`: group, languages (one, or one for each path), paths."""
    with open(path, "w", encoding="utf-8") as manifest:
        for name, languages, paths in rows:
            for number, file in enumerate(paths):
                language = languages if isinstance(languages, str) else languages[number]
                manifest.write(f"{name}\t{language}\t{file}\n")
