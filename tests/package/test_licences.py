"""The installed notices are those of all whose code is in the tool, the module and the library.

A system header belongs to the library whose Debian package it is in.
"""
import re
import shutil

import pytest

from conftest import BUILD, NODE_MODULES, SOURCE, files_in_products, needs_ninja, run

# The notice for each Debian package; the test fails for others. None for the C library and the system's
# headers, which each program may use without a notice.
NOTICES = {
    r"libcli11-dev": "CLI11",
    r"lib(stdc\+\+|gcc)-\d+-dev": "GCC-runtime",
    r"libicu-dev": "ICU",
    r"libssl-dev": "OpenSSL",
    r"libpcre2-dev": "PCRE2",
    r"libpython3\.\d+-dev": "Python",
    r"libsqlite3-dev": "SQLite",
    r"libsqlitecpp-dev": "SQLiteCpp",
    r"libzstd-dev": "Zstandard",
    r"nlohmann-json3-dev": "nlohmann-json",
    r"libc6-dev|linux-libc-dev|libcrypt-dev|libclang-common-\d+-dev": None,
}


def npm_library(path):
    """The name of the package without its scope. Files of ICU in the core's package count for themselves."""
    parts = path.relative_to(NODE_MODULES.resolve()).parts
    if parts[0] == "tree-sitter" and "unicode" in parts:
        return "tree-sitter-unicode"
    return parts[1] if parts[0].startswith("@") else parts[0]


def system_libraries(paths):
    """The notices for these files. A file of no package counts by its path, one of an unknown package by that
    package."""
    answer = run("sh", "-c", 'dpkg-query -S "$@" 2>&1 || true', "sh", *sorted(paths))
    owners = {}
    for line in answer.splitlines():
        packages, found, path = line.partition(": ")
        if found:
            owners[path] = packages.split(",")[0].split(":")[0]
    libraries = set()
    for path in paths:
        package = owners.get(str(path), str(path))
        libraries.add(next((notice for pattern, notice in NOTICES.items()
                            if re.fullmatch(pattern, package)), package))
    return libraries - {None}


@needs_ninja
@pytest.mark.skipif(not shutil.which("dpkg-query"), reason="asks Debian's packages whose a file is")
def test_whose_code_is_in_it_and_whose_notices(prefix):
    paths = files_in_products()
    assert len(paths) > 500
    npm = {path for path in paths if path.is_relative_to(NODE_MODULES.resolve())}
    ours = {path for path in paths - npm
            if path.is_relative_to(SOURCE.resolve()) or path.is_relative_to(BUILD.resolve())}
    libraries = {npm_library(path) for path in npm} | system_libraries(paths - npm - ours)

    notices = list((prefix / "share" / "doc" / "treesitter-engine" / "licences").iterdir())
    assert {notice.name for notice in notices} == libraries
    assert all(re.search(r"copyright", notice.read_text(encoding="utf-8"), re.I)
               for notice in notices)


def test_our_own_licence_is_there(prefix):
    licence = prefix / "share" / "doc" / "treesitter-engine" / "LICENSE"
    assert licence.read_bytes() == (SOURCE / "LICENSE").read_bytes()
