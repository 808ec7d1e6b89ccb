#!/usr/bin/env python3
"""doc/troubleshooting.md has each message that a user may meet, and no others.

    messages_test.py [options of unittest]

The page's blocks ```message have a message on each line, with "..." for the parts that vary. The test
compares them with the literals in the sources. Each text of the page must be in the sources. And each text
of at least two words in an expression that makes a message (SPEAKERS) must be in the page. Messages that
are made in other ways, such as from a table, are only checked by the first rule.
"""
import pathlib
import re
import unittest

PROJECT = pathlib.Path(__file__).resolve().parent.parent
PAGE = PROJECT / "doc" / "troubleshooting.md"

# Files, and expressions for the beginning and the end of code that makes a message.
CPP = (r"\b(?:throw|PyErr_SetString|PyErr_Format|complain\w*|throw_system_error|refuse\w*|note|fail"
       r"|failed|report|return|errors\.(?:push|emplace)_back)\b", r";")
SPEAKERS = [
    ("tool/*.cpp", *CPP),
    ("index/*.cpp", *CPP),
    ("walk/*.cpp", *CPP),
    ("models/*.cpp", *CPP),
    ("engines/**/*.cpp", *CPP),
    ("bindings/python/*.cpp", *CPP),
    ("CMakeLists.txt", r"\bmessage\(\s*(?:FATAL_ERROR|WARNING)", r"\)"),
    ("cmake/*.cmake", r"\bmessage\(\s*(?:FATAL_ERROR|WARNING)", r"\)"),
    ("scripts/setup.sh", r"^\s+(?:say|die) ", r"\n"),
    ("setup.py", r"\bsys\.exit\(", r"\)"),
]
# Further files with messages, for the first rule.
MORE = ["index/*.h", "bindings/python/*.h", "engines/treesitter/*/*.h"]
# Files whose texts are answers, or are for those who work on the engine.
NO_MESSAGES = {
    "tool/check.cpp", "tool/check_text.cpp", "index/meanings.cpp",
    "cmake/SourceDigest.cmake", "cmake/Targets.cmake",
}
NO_MESSAGE = re.compile(r"^SELECT |^tuple\[|\| None$|^<treesitter")  # statements, annotations, a repr
LITERAL = r'"(?:\\.|[^"\\\n])*"'
WHAT_VARIES = re.compile(r"%[.\d]*[lz]*[a-zA-Z]|\$\{(?:\w|\$\{\w+\})+(?:\[\*\])?\}|\$\w+|\$\*|\.\.\.")
TWO_WORDS = re.compile(r"\w\W* \W*\w")


def texts(code):
    """Yields the literals of the code. Adjacent ones are joined, and then cut where something varies."""
    for found in re.finditer(rf"{LITERAL}(?:\s*{LITERAL})*", code):
        whole = "".join(part[1:-1] for part in re.findall(LITERAL, found[0]))
        whole = re.sub(r'\\(["\\])', r"\1", whole).replace("\\n", "\n")
        yield from (line for part in WHAT_VARIES.split(whole) for line in part.split("\n"))


def expressions(code, begin, end):
    """Yields each stretch of code from a beginning to the next end that is outside of literals."""
    for start in re.finditer(begin, code, re.M):
        yield start.start(), re.match(rf"(?:{LITERAL}|(?!{end})[^\"])*", code[start.start():])[0]


def read(path):
    """The code without comment lines, and without quotes that do not belong to plain literals."""
    code = re.sub(r"^[ \t]*(?://|#(?! ?include)).*$", "", path.read_text(encoding="utf-8"), flags=re.M)
    if path.suffix == ".sh":
        code = re.sub(r"\\\n\s*", "", code).replace("'", '"')
        return code.replace('"$(printf "', '"')
    return re.sub(r'R"\((?s:.*?)\)"|\'\\?"\'', "", code)


def spoken():
    """The texts of messages in the sources, as {text: place}."""
    found = {}
    for files, begin, end in SPEAKERS:
        for path in sorted(PROJECT.glob(files)):
            name = str(path.relative_to(PROJECT))
            code = read(path)
            for at, expression in expressions(code, begin, end) if name not in NO_MESSAGES else ():
                for text in texts(expression):
                    if TWO_WORDS.search(text) and not NO_MESSAGE.search(text):
                        found.setdefault(text, f"{name}, after line {code.count(chr(10), 0, at)}")
    return found


def written():
    """The texts of the page, cut where something varies, as {text: line}."""
    page = PAGE.read_text(encoding="utf-8")
    lines = [line for block in re.findall(r"^```message\n(.*?)^```$", page, re.M | re.S)
             for line in block.splitlines()]
    assert len(lines) == len(set(lines)), "a message stands there twice"
    return {text: line for line in lines for text in line.split("...")}


class Messages(unittest.TestCase):
    maxDiff = None

    def test_each_of_the_sources_is_in_the_page(self):
        page = written()
        self.assertEqual({text: place for text, place in spoken().items()
                          if not any(text in part for part in page)}, {})

    def test_each_of_the_page_is_in_the_sources(self):
        paths = [path for files in [*(row[0] for row in SPEAKERS), *MORE] for path in PROJECT.glob(files)]
        known = {text for path in paths for text in texts(read(path)) if text}
        endings = "\n".join(known) + "\n"

        def is_known(text):
            """Whether the text is in a literal, or consists of pieces that are the ends of literals. The
            longest piece is tried first, since some literal ends with almost any few letters."""
            if any(text in literal for literal in known):
                return True
            for size in range(len(text) - 1, 0, -1):
                if text[:size] + "\n" in endings and (size > 2 or not text[:size].isalnum()):
                    return is_known(text[size:])
            return False

        self.assertEqual({text: line for text, line in written().items() if not is_known(text)}, {})


class Names(unittest.TestCase):
    """Of files, in all pages."""
    maxDiff = None
    NO_FILES = {"parts/", "debian/"}  # what a run writes, and what is refused

    def test_files_that_the_pages_name_are_there(self):
        """From the top, from the page's folder or from the engine's, whose names are long."""
        missing = []
        for page in [*PROJECT.glob("*.md"), *PROJECT.glob("doc/*.md")]:
            text = re.sub(r"^```.*?^```$", "", page.read_text(encoding="utf-8"), flags=re.M | re.S)
            starts = [PROJECT, page.parent, PROJECT / "engines/treesitter"]
            for name in re.findall(r"`([\w-]+(?:/[\w*.-]+)*(?:\.(?:cpp|h|py|pyi|cmake|md|tsv)|/))`", text):
                if name not in self.NO_FILES and not any(any(start.glob(name)) for start in starts):
                    missing.append((page.name, name))
        self.assertEqual(missing, [])

    def test_the_picture_of_the_design_shows_all_folders_of_the_engine(self):
        page = (PROJECT / "doc/design.md").read_text(encoding="utf-8")
        picture = re.search(r"^engines/treesitter/\n((?:  .*\n)+)", page, re.M)[1]
        folders = [path.name for path in (PROJECT / "engines/treesitter").iterdir() if path.is_dir()]
        self.assertEqual(sorted(re.findall(r"^  (\w+)/ ", picture, re.M)), sorted(folders))


if __name__ == "__main__":
    unittest.main()
