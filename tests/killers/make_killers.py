#!/usr/bin/env python3
"""Makes the killers: files for which a parser without guards hangs, dies, or takes huge amounts of memory.

  make_killers.py FOLDER

Writes a file for each row of KILLERS, and FOLDER/index.tsv with the columns file, language and expected
outcome. An outcome is "parsed: N symbols, M references", an error text, "thrown: " and the text of the
exception, or one of these:

  a guard    a guard ends the parse; which one depends on the speed of the machine
  an answer  any of the others, within the bounds

Files that fuzzing or the sweep find get a row here. tests/killers_test.cpp parses the files.
"""
import pathlib
import sys

GUARDS = {
    "operations": "Parse error: operation budget exceeded",
    "memory": "Parse error: memory budget exceeded",
    "state": "Parse error: scanner state exceeds its limit",
    "assertion": "Parse error: assertion of the grammar failed",
}
A_GUARD = "a guard"
AN_ANSWER = "an answer"


def parsed(symbols, references=0):
    return f"parsed: {symbols} symbols, {references} references"


def heredoc(name):
    return f"x = <<{name}\ntext\n{name}\n"


def nested_functions(levels):
    """Nested functions of JavaScript, each with a call on its own line."""
    return ("".join(f"function f{i}() {{\n  call{i}();\n" for i in range(levels))
            + "}\n" * levels)


def ruby_sections(count):
    return ("class A\n" + "".join(f"  private\n  def a{i}; end\n  public\n  def b{i}; end\n"
                                  for i in range(count)) + "end\n")


def in_python_function(line):
    return f"def f():\n  x\n  {line}\n  y\n"


KILLERS = [
    # ---- The library's error recovery ----
    ("loop.tsx", "tsx", "<a {{b:>c:d(e f)", "operations"),
    ("arrows.js", "javascript", "->" * 5_000, "operations"),
    ("comments.rb", "ruby", "<!--\n" * 1_200, "operations"),
    ("quotes.ts", "typescript", '"' * 40_000, A_GUARD),
    ("unclosed_comments.go", "go", "/*." * 5_000, AN_ANSWER),
    ("unclosed_comments.cs", "csharp", "/*++" * 2_500, AN_ANSWER),
    ("underscores.md", "markdown", " _" * 7_500, AN_ANSWER),
    ("unclosed_strings.rb", "ruby", '",' * 10_000, AN_ANSWER),
    ("many_roots.xml", "xml", "<a/>" * 10_000, AN_ANSWER),
    ("calls_in_brackets.py", "python", "a=[" * 100_000, AN_ANSWER),

    # ---- The states of scanners ----
    ("quotes_300.md", "markdown", ">" * 300, parsed(0)),
    ("quotes_600.md", "markdown", "> " * 600 + "# heading\n", parsed(1)),
    ("quotes_30000.md", "markdown", ">" * 30_000, "memory"),
    ("quotes_900000.md", "markdown", ">" * 900_000, "state"),
    ("lists_30000.md", "markdown", "* " * 15_000, AN_ANSWER),
    ("sequences_254.yaml", "yaml", "- " * 254 + "a: 1\n", parsed(1)),
    ("sequences_1000.yaml", "yaml", "- " * 1_000 + "a: 1\n", parsed(1)),
    ("sequences_9000.yaml", "yaml", "- " * 9_000 + "a: 1\n", "memory"),
    ("sequences_300000.yaml", "yaml", "- " * 300_000 + "a: 1\n", "state"),
    ("rows.yaml", "yaml", "a: 1\n" + "#\n" * 70_000 + "b: 2\n", parsed(2)),
    ("column.yaml", "yaml", " " * 40_000 + "a: 1\n", parsed(1)),
    ("unclosed.xml", "xml", "<a>" * 10_000, A_GUARD),
    ("closed_1000.xml", "xml", "<a>" * 1_000 + "</a>" * 1_000, parsed(1_000)),
    ("closed_10000.xml", "xml", "<a>" * 10_000 + "</a>" * 10_000, A_GUARD),
    ("unclosed_starts.xml", "xml", '"<a ' * 7_500, A_GUARD),
    ("long_name.xml", "xml", f"<{'a' * 70_000}></{'a' * 70_000}>", AN_ANSWER),
    ("heredoc_255.rb", "ruby", heredoc("A" * 255) + "class B; end\n", parsed(1)),
    ("heredoc_256.rb", "ruby", heredoc("A" * 256), "assertion"),
    ("heredoc_300.rb", "ruby", heredoc("A" * 300), "assertion"),
    ("heredoc_sizes.rb", "ruby", ('f(<<"' + "\u00ff" * 300 + '",') * 200, "assertion"),
    ("literals_300.rb", "ruby", "%w(#{" * 300, "assertion"),
    ("literals_3000.rb", "ruby", '"#{' * 3_000, "assertion"),
    ("heredocs_300.php", "php", "<?php f(" + "<<<A\n{$a[" * 300, AN_ANSWER),
    ("interpolations_300.cs", "csharp", '$"{' * 300, AN_ANSWER),
    ("f_strings_300.py", "python", 'f"{' * 300, AN_ANSWER),
    ("indents_2000.py", "python",
     "".join(" " * i + "if a:\n" for i in range(2_000)) + " " * 2_000 + "def f(): pass\n", parsed(1)),
    ("dollar_quotes.sql", "sql", "SELECT $tag$ text $tag$;\n" * 2_000, AN_ANSWER),
    ("dollars.sql", "sql", "$a" * 15_000, AN_ANSWER),
    ("long_tag.sql", "sql", f"SELECT ${'a' * 70_000}$ b ${'a' * 70_000}$;", AN_ANSWER),
    ("digits.md", "markdown", "1\U0010ffff\n\n2\U0010ffff\n\n# heading\n", parsed(1)),

    # ---- Nesting ----
    ("nested.json", "json", "[" * 500_000 + "]" * 500_000, parsed(0)),
    ("unclosed.json", "json", "[" * 1_000_000, parsed(0)),
    ("nested.py", "python", "(" * 100_000 + ")" * 100_000, parsed(0)),
    ("nested.go", "go", "package p\nfunc F() { a = " + "(" * 100_000 + "1" + ")" * 100_000 + "}",
     parsed(1)),
    ("nested.rs", "rust", "mod a {" * 50_000 + "}" * 50_000, AN_ANSWER),
    ("nots.rb", "ruby", "!" * 1_000_000, AN_ANSWER),
    ("nested.js", "javascript", nested_functions(3_000), parsed(3_000, 3_000)),

    # Long chains in the library's stack, which the library as published releases recursively.
    ("stack.rs", "rust", "-;" * 15_000, AN_ANSWER),
    ("stack.java", "java", "- ;" * 10_000, AN_ANSWER),
    ("stack.go", "go", "{[" * 15_000, AN_ANSWER),

    # ---- The size of results ----
    ("keys.json", "json", '{"key":' * 125_000 + "1" + "}" * 125_000,
     "thrown: the symbols of this file hold more text than 208777408 bytes"),
    ("keys_and_brackets.json", "json",
     "[" + '{"a":' * 20_000 + "1" + "}" * 20_000 + "," + "[" * 900_000, AN_ANSWER),
    ("control_keys.json", "json", '{"\x01":' * 100_000, AN_ANSWER),
    ("long_repeats.json", "json",
     '{"' + "k" * 500_000 + '":{' + ",".join(['"a":0'] * 100_000) + "}}", parsed(2)),
    ("minified.json", "json",
     "{" + ",".join(f'"{i:x}":0' for i in range(100_000)) + "}", parsed(100_000)),
    ("minified.js", "javascript",
     "".join(f"function f{i:x}(){{g{i:x}()}}" for i in range(30_000)), parsed(30_000, 30_000)),

    # A chain as deep as the file is long, one level deeper than where the reader's stack last grew.
    ("not_not.cs", "csharp", "a=" + "!" * 262_145 + "a;", "memory"),

    # ---- What rules would read again and again ----
    ("sections.rb", "ruby", ruby_sections(20_000), parsed(40_001, 0)),
    ("comments.rs", "rust", "/// text\n" * 100_000 + "fn f() {}\n", parsed(1)),
    ("comments.java", "java", "/* text */\n" * 50_000 + "class A {}\n", parsed(1)),
    ("comments_between.go", "go",
     "package p\n" + "".join(f"// text\nfunc F{i}() {{}}\n" for i in range(20_000)), parsed(20_000)),
    ("word.py", "python", in_python_function("a" * 160_000), parsed(1)),
    ("letters.py", "python", in_python_function("\u00e9" * 160_000), parsed(1)),
    ("letters_and_spaces.py", "python", in_python_function("\u00e9" + " " * 160_000 + "b"),
     AN_ANSWER),
    ("words.py", "python", in_python_function("'" + "\u00e9 " * 80_000 + "'"), parsed(1)),

    # ---- What the navigation rules ask for each of many names ----
    ("declarators.java", "java",
     "class A { " + "@X " * 20_000 + "int " + ",".join(f"a{i}" for i in range(20_000)) + "; }",
     AN_ANSWER),
    ("modifiers.cs", "csharp",
     "class A { " + "public " * 20_000 + "int " + ",".join(f"a{i}" for i in range(20_000)) + "; }",
     AN_ANSWER),
    ("links.js", "javascript", "a" + ".b()" * 50_000 + ";" + "(" * 20_000 + "f" + ")" * 20_000 + "()",
     AN_ANSWER),
    ("exports.js", "javascript",
     "".join(f"export {{a{i}}}; function a{i}() {{}}\n" for i in range(20_000)), AN_ANSWER),
    ("private_names.rb", "ruby",
     "class A\n" + "".join(f"def a{i}; end\nprivate :a{i}\n" for i in range(20_000)) + "end\n",
     AN_ANSWER),
    ("groups.rs", "rust", "use " + "a::{" * 10_000 + "b" + "}" * 10_000 + ";", AN_ANSWER),

    # ---- Bytes ----
    ("empty.py", "python", "", parsed(0)),
    ("mark.py", "python", "\ufeff", parsed(0)),
    ("zeros.c.json", "json", "\0" * 30_000, AN_ANSWER),
    ("zeros.sql", "sql", "\0" * 30_000, AN_ANSWER),
    ("returns.md", "markdown", "\r" * 30_000, AN_ANSWER),
]


def main():
    folder = pathlib.Path(sys.argv[1])
    folder.mkdir(parents=True, exist_ok=True)
    rows = []
    for name, language, content, expected in KILLERS:
        data = content.encode()
        (folder / name).write_bytes(data)
        if expected in GUARDS:
            expected = f"{GUARDS[expected]} ({len(data)} bytes)"
        rows.append(f"{name}\t{language}\t{expected}\n")
    (folder / "index.tsv").write_text("".join(rows))


if __name__ == "__main__":
    main()
