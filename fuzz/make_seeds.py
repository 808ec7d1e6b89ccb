#!/usr/bin/env python3
"""Makes the seeds of the fuzzers from the inputs of the golden tests.

  make_seeds.py FOLDER

Writes FOLDER/parse, whose files hold a byte that tells language and rules, then a source; and FOLDER/paths,
whose files hold a path.
"""
import pathlib
import re
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent

# In the order of languages::language_names(), as tests/languages_test.cpp checks.
LANGUAGES = re.search(r"\nLanguages: ([^.]+)\.",
                      (ROOT / "README.md").read_text(encoding="utf-8"))[1].replace(",", " ").split()


def main():
    target = pathlib.Path(sys.argv[1])
    for name in ("parse", "paths"):
        (target / name).mkdir(parents=True, exist_ok=True)
    for source in sorted((ROOT / "tests" / "golden").glob("*/*/input.*")):
        language, case = source.parts[-3:-1]
        seed = f"{language}-{case}"
        content = source.read_bytes()
        if language in LANGUAGES:
            number = LANGUAGES.index(language)
            (target / "parse" / seed).write_bytes(bytes([number]) + content)
            if (source.parent / "navigation.txt").exists():
                number += len(LANGUAGES)
                (target / "parse" / f"{seed}-navigation").write_bytes(bytes([number]) + content)
        (target / "paths" / seed).write_bytes(f"{language}/{source.name}".encode())


if __name__ == "__main__":
    main()
