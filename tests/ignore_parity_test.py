#!/usr/bin/env python3
"""The tool takes the files of a folder that git does not ignore: generated trees, compared with git.

    ignore_parity_test.py BUILD/treesitter-engine [options of unittest]

Each repository holds many trees, so that one run of git and one of the tool answer for all of them. Names
and patterns use few letters, since otherwise hardly any pattern would match; a test of its own tries each
wildcard with many letters. The seeds are fixed. Skipped where there is no git.
"""
import os
import random
import shutil
import subprocess
import tempfile
import unittest

from support.tool_case import TIMEOUT, TOOL, ToolTest

REPOSITORIES = 16
TREES = 16  # in each
FILES = 14  # in each of these

# In memory where possible: a disk takes ten times as long for thousands of folders as the test itself.
if os.access("/dev/shm", os.W_OK):
    tempfile.tempdir = "/dev/shm"

LETTERS = [b"a", b"a", b"b", b"b", b"c", b"A", b"B", b" ", b"!", b"#", b"\\", b"[", b"]", b"-",
           b"^", b"*", b"?", b"\xff", b"\xc3\xa9", b"1", b"_", b"\r", b"\t", b"\x0b", b"{", b"."]
WILD = [b"*", b"*", b"**", b"?", b"***", b"**/", b"/**", b"/**/", b"[ab]", b"[!a]", b"[^b]",
        b"[a-c]", b"[]a]", b"[!]b]",
        b"[a-]", b"[-a]", b"[c-a]", b"[\\a-\\c]", b"[[:alpha:]]", b"[[:upper:]]",
        b"[![:lower:]]", b"[[:digit:]b]", b"[[:punct:]]", b"[[:space:]]", b"[[:blank:]]",
        b"[[:cntrl:]]", b"[[:print:]]", b"[[:graph:]]", b"[[:alnum:]_]", b"[[:xdigit:]]",
        b"[[:none:]]", b"[[:]", b"[[:a]", b"[a", b"[", b"\\a", b"\\*", b"\\?", b"\\[", b"\\\\",
        b"\\ ", b"\\!", b"\\#", b"\\A", b"[A]", b"[A-C]", b"[a\\]b]", b"\\", b"[a/b]", b"[,-0]",
        b"\\/", b"**\\/", b"**\\/**\\/", b"[[:alpha:]-c]", b"[B-b]", b"[a-c-x]", b"[[::]a]"]


def some(random_, choices, least, most):
    return b"".join(random_.choice(choices) for _ in range(random_.randint(least, most)))


def name_of(random_):
    return some(random_, LETTERS[:5] if random_.random() < .6 else LETTERS, 1, 3)


def paths_of(random_):
    """Random paths of Python files in a few folders."""
    folders = [b""]
    for _ in range(4):
        name = name_of(random_)
        if name not in (b".", b"..", b"..."):
            folders.append(random_.choice(folders) + name + b"/")
    return {random_.choice(folders) + name_of(random_) + b".py" for _ in range(FILES)}


def mutated(random_, path):
    """A pattern made from this path by some random changes."""
    parts = path.split(b"/")
    if random_.random() < .5:  # a pattern for a folder
        parts = parts[:random_.randint(1, len(parts))]
    if random_.random() < .5:
        parts = parts[-1:]
    for _ in range(random_.randint(0, 2)):
        at = random_.randrange(len(parts))
        word = parts[at]
        cut = random_.randint(0, len(word))
        parts[at] = random_.choice([
            word[:cut] + random_.choice(WILD) + word[cut + 1:], word[:cut] + random_.choice(WILD),
            random_.choice([b"*", b"**", b"**", b"?", b"*.py"]),
            word[:cut] + b"\\" + word[cut:], b"**" + word[cut:], word[:cut] + b"**"])
    return b"/".join(parts)


def pattern_of(random_, paths):
    kind = random_.random()
    if kind < .7:
        pattern = mutated(random_, random_.choice(paths))
    elif kind < .95:
        pattern = some(random_, LETTERS + WILD + [b"/"] * 6, 1, 5)
    else:
        pattern = random_.choice([b"", b"/", b"//", b"!", b"#a", b"\\#a", b"\\!b", b"!/", b"*",
                                  b"**", b"/*", b"/**", b"!*/", b"!*.py", b"  ", b"\0"])
    return (random_.choice([b"", b"", b"", b"!", b"/", b"!/"]) + pattern +
            random_.choice([b"", b"", b"", b"/", b" ", b"  ", b"\\ ", b" \\", b"\t", b" \0x"]))


def rules_of(random_, paths):
    end = random_.choice([b"\n", b"\n", b"\r\n"])
    lines = [pattern_of(random_, paths) for _ in range(random_.randint(1, 5))]
    return (random_.choice([b"", b"", b"\xef\xbb\xbf"]) + end.join(lines) +
            random_.choice([b"", end, end, b"\r"]))


@unittest.skipUnless(shutil.which("git"), "there is no git")
class Parity(ToolTest):
    def setUp(self):
        super().setUp()
        # So that git reads no settings but the test's own.
        self.environment = {**os.environ, "HOME": str(self.folder / "home"), "LC_ALL": "C",
                            "GIT_CONFIG_NOSYSTEM": "1"}
        for name in ("XDG_CONFIG_HOME", "GIT_CONFIG_GLOBAL", "GIT_DIR", "GIT_WORK_TREE"):
            self.environment.pop(name, None)

    def run_in(self, folder, *command, **options):
        return subprocess.run(command, cwd=folder, env=self.environment, stderr=subprocess.PIPE,
                              stdout=subprocess.PIPE, check=False, timeout=TIMEOUT, **options)

    def make_tree(self, random_, top):
        """Writes files and ignore rules below `top`. Gives the paths of the files."""
        paths = set()
        for path in paths_of(random_):
            try:
                self.write(top + path, b"")
                paths.add(path)
            except OSError:
                pass  # there is a folder of that name, or a file in the place of a folder
        folders = sorted({path[:path.rfind(b"/") + 1] for path in paths} | {b""})
        for folder in [b"", *random_.sample(folders, min(2, len(folders)))]:
            below = sorted(path[len(folder):] for path in paths if path.startswith(folder))
            self.write(top + folder + b".gitignore", rules_of(random_, below))
        return {top + path for path in paths}

    def make_empty(self, name, ignore_case):
        self.run_in(self.folder, "git", "init", "-q", "--template=", os.fsdecode(name))
        folder = self.folder / os.fsdecode(name)
        self.run_in(folder, "git", "config", "core.ignoreCase", os.fsdecode(ignore_case))

    def make_repository(self, random_, name):
        top = name + b"/"
        folds_case = random_.random() < .4
        self.make_empty(name, b"true" if folds_case else b"false")
        paths = set()
        for number in range(TREES):
            paths |= self.make_tree(random_, top + b"t%d/" % number)
        below = sorted(path.split(b"/", 2)[2] for path in paths)
        # These rules hold for all trees, so patterns that would ignore everything are left out.
        for file in (".git/info/exclude", ".gitignore"):
            lines = [mutated(random_, random_.choice(below)) for _ in range(2)]
            lines = [line for line in lines if b"*" not in line.replace(b".", b"")]
            self.write(top + os.fsencode(file), b"\n".join(lines))
        paths = {path[len(top):] for path in paths}
        # Where git ignores case, it takes two names for one that are two in this file system.
        if not folds_case:
            self.track(random_, self.folder / os.fsdecode(name),
                       random_.sample(sorted(paths), len(paths) // 8))
        return paths

    def track(self, random_, folder, paths):
        done = self.run_in(folder, "git", "-c", f"index.version={random_.choice((2, 3, 4))}",
                           "--literal-pathspecs", "add", "--force", "--pathspec-from-file=-",
                           "--pathspec-file-nul", input=b"\0".join(paths))
        self.assertEqual(done.returncode, 0, done.stderr)
        self.tracked += len(paths)

    def compare(self, name, paths):
        """Compares the tool with git. Gives how many files of the repository git ignores."""
        folder = self.folder / os.fsdecode(name)
        answer = self.run_in(folder, "git", "check-ignore", "--no-index", "-z", "--stdin",
                             input=b"\0".join(sorted(paths)))
        self.assertIn(answer.returncode, (0, 1), answer.stderr)
        tracked = self.run_in(folder, "git", "ls-files", "-z").stdout
        ignored = set(answer.stdout.split(b"\0")) - set(tracked.split(b"\0")) - {b""}
        done = self.run_in(folder, TOOL, "parse", "--hidden", "--format", "json", ".")
        self.assertEqual((done.returncode, done.stderr), (0, b""))
        taken = {bytes.fromhex(record["path_bytes"]) if "path_bytes" in record
                 else record["path"].encode() for record in self.records(done.stdout)}
        self.assertEqual({path[2:] for path in taken} ^ (paths - ignored), set(), name)
        return len(ignored)

    def test_each_wildcard_among_names_of_one_letter(self):
        # The first and the last letter of each class, and their neighbours.
        letters = b"\x01\t\n\x0b\r\x1f !#*,-.09:@ABCDFGXZ[\\]^`abcdfgxz{~\x7f\x80\xff"
        flat = [b"x%c.py" % letter for letter in letters]
        deep = [b"d/x.py", b"dx.py", b"d/e/x.py", b"d/ex.py", b"d/e/f/x.py", b"de/x.py", b"d/*x.py"]
        for ignore_case in (b"false", b"true"):
            name = b"case-" + ignore_case
            self.make_empty(name, ignore_case)
            paths = set()
            for number, element in enumerate(WILD):
                for form, files in ((b"x%b.py", flat), (b"d/%bx.py", deep), (b"d%bx.py", deep)):
                    top = b"%d%d/" % (len(form), number)
                    self.write(name + b"/" + top + b".gitignore", form % element + b"\n")
                    for file in files:
                        self.write(name + b"/" + top + file, b"")
                        paths.add(top + file)
            self.assertGreater(self.compare(name, paths), 500)

    def test_what_git_ignores_is_left_out(self):
        self.write("home/.config/git/ignore", b"cab*\n!ba.py\n")
        self.tracked = 0
        total = ignored_total = 0
        for seed in range(REPOSITORIES):
            name = b"r%d" % seed
            paths = self.make_repository(random.Random(seed), name)
            total += len(paths)
            ignored_total += self.compare(name, paths)
        self.assertGreater(self.tracked, 100)
        # If nearly nothing or nearly all were ignored, this would test nothing.
        self.assertGreater(ignored_total, total * .2)
        self.assertLess(ignored_total, total * .8)


if __name__ == "__main__":
    unittest.main()
