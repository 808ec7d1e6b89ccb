"""Generated inputs of three expensive shapes for each language: deep, wide and long.

deep   one thing inside another, as far as it goes
wide   many siblings, one on each line
long   the same on a single line, as a minified file has it

Each comes in one size and in twice that size, so that time and memory that grow faster than the
input show.
"""

DEEP_LEVELS = 20_000
DEEP_PLACES = 500
WIDE_BYTES = 300_000

# What stands in front, what opens a level, what is inside, what closes a level, what stands behind.
BRACKETS = ("x = ", "[", "1", "]", "\n")
DEEP = {
    "python": BRACKETS,
    "javascript": BRACKETS,
    "typescript": BRACKETS,
    "tsx": BRACKETS,
    "java": ("class A { int x = ", "(", "1", ")", "; }\n"),
    "go": ("package p\nvar x = ", "(", "1", ")", "\n"),
    "rust": ("const X: i32 = ", "(", "1", ")", ";\n"),
    "csharp": ("class A { int x = ", "(", "1", ")", "; }\n"),
    "ruby": BRACKETS,
    "php": ("<?php\n$x = ", "[", "1", "]", ";\n"),
    "sql": ("SELECT ", "(", "1", ")", ";\n"),
    # These scanners save all open elements with each token, which bounds the depth. So many places are deep.
    "markdown": ("", "> " * 60 + "text\n\n", "", "", ""),
    "xml": ("<r>", "<a>" * 60 + "text" + "</a>" * 60, "", "", "</r>\n"),
    "json": ("", "[", "1", "]", "\n"),
    "yaml": ("x: ", "[", "1", "]", "\n"),
    "toml": ("x = ", "[", "1", "]", "\n"),
}

# What stands in front, one sibling (@ is its number), what separates it from the next, what follows.
# A separator of one line feed becomes a blank in the long shape.
FUNCTION = ("", "function f@(a) { return g@(a); }", "\n", "\n")
WIDE = {
    "python": ("", "x@ = f@(y@)", "\n", "\n"),
    "javascript": FUNCTION,
    "typescript": FUNCTION,
    "tsx": FUNCTION,
    "java": ("class A {\n", "public int f@(int a) { return g@(a); }", "\n", "\n}\n"),
    "go": ("package p\n", "func f@(a int) int { return g@(a) };", "\n", "\n"),
    "rust": ("", "pub fn f@(a: i32) -> i32 { g@(a) }", "\n", "\n"),
    "csharp": ("class A {\n", "public int F@(int a) { return G@(a); }", "\n", "\n}\n"),
    "ruby": ("", "def f@(a) g@(a) end;", "\n", "\n"),
    "php": ("<?php\n", "function f@($a) { return g@($a); }", "\n", "\n"),
    "sql": ("", "SELECT f@(a) FROM t@;", "\n", "\n"),
    "markdown": ("", "word@ *emphasis* and `code`", "\n", "\n"),
    "xml": ("<r>\n", '<a@ b="c">text</a@>', "\n", "\n</r>\n"),
    "json": ("{\n", '"k@": {"a": @}', ",\n", "\n}\n"),
    "yaml": ("", "k@: {a: @, b: [c, d]}", "\n", "\n"),
    "toml": ("", 'k@ = { a = @, b = ["c", "d"] }', "\n", "\n"),
}
LONG = {
    **WIDE,
    "python": ("", "x@ = f@(y@)", ";\n", "\n"),
    "markdown": ("| a |\n|---|\n|", " word@ |", "\n", "\n"),
    "yaml": ("x: {", "k@: {a: @, b: [c, d]}", ",\n", "}\n"),
    "toml": ("x = [", '{ a = @, b = ["c", "d"] }', ",\n", "]\n"),
}


def deep(language, scale):
    before, opening, inside, closing, after = DEEP[language]
    levels = scale * (DEEP_LEVELS if closing else DEEP_PLACES)
    return before + opening * levels + inside + closing * levels + after


def _siblings(row, size):
    before, sibling, separator, after = row
    # Numbers of one width, so that twice the siblings are twice the bytes.
    count = size // len(sibling.replace("@", "100000") + separator)
    siblings = (sibling.replace("@", str(100000 + i)) for i in range(count))
    return before + separator.join(siblings) + after


def wide(language, scale):
    return _siblings(WIDE[language], WIDE_BYTES * scale)


def long(language, scale):
    before, sibling, separator, after = LONG[language]
    return _siblings((before, sibling, separator.replace("\n", " "), after), WIDE_BYTES * scale)


SHAPES = {"deep": deep, "wide": wide, "long": long}
