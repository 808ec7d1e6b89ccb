"""The Debian packages: their dependencies and files, what lintian says, and that the unpacked files work.
scripts/check_deb installs them."""
import gzip
import os
import re
import shutil
import sys

import pytest

from conftest import BUILD, CMAKE, SOURCE, run

PYTHON = sys.executable  # ctest runs the Python that the module is for

# For each package some packages that it must depend on, and a file that it must hold.
PACKAGES = {
    "treesitter-engine": ({"libc6", "libstdc++6", "libssl3", "libpcre2-8-0", "libsqlite3-0"},
                          "bin/treesitter-engine"),
    "treesitter-cluster": ({"python3", "python3-distributed", "python3-zstandard", "treesitter-engine"},
                           "share/man/man1/treesitter-cluster.1.gz"),
    "python3-treesitter": ({"python3", "libc6", "libstdc++6", "libssl3", "libpcre2-8-0",
                            "libsqlite3-0"},
                           "lib/python3/dist-packages/treesitter-stubs/__init__.pyi"),
    "libtreesitter-engine-dev": ({"libicu-dev", "libpcre2-dev", "libssl-dev"},
                                 "include/treesitter-engine/models/symbol.h"),
    "treesitter-engine-doc": (set(), "share/doc/treesitter-engine/README.md"),
}


@pytest.fixture(scope="module")
def debs(tmp_path_factory):
    """The packages by their names."""
    folder = tmp_path_factory.mktemp("deb")
    cpack = CMAKE.removesuffix("cmake") + "cpack"
    run(cpack, "-G", "DEB", "-B", folder, "--config", BUILD / "CPackConfig.cmake")
    return {path.name.split("_")[0]: path for path in folder.glob("*.deb")}


@pytest.fixture(scope="module")
def usr(debs, tmp_path_factory):
    """The folder usr of a root into which all packages are unpacked."""
    folder = tmp_path_factory.mktemp("root")
    for deb in debs.values():
        run("dpkg-deb", "--extract", deb, folder)
    return folder / "usr"


def field(deb, name):
    return run("dpkg-deb", "--field", deb, name).strip()


def test_packages(debs, tmp_path):
    assert debs.keys() == PACKAGES.keys()
    files = set()
    for name, (needed, file) in PACKAGES.items():
        depends = {entry.split()[0] for entry in field(debs[name], "Depends").split(", ") if entry}
        assert needed <= depends
        # Only the package for building programs may need others for building.
        assert name.endswith("-dev") or not [entry for entry in depends if entry.endswith("-dev")]
        run("dpkg-deb", "--extract", debs[name], tmp_path / name)
        own = {path.relative_to(tmp_path / name) for path in (tmp_path / name).rglob("*")
               if not path.is_dir()}
        assert not own & files  # dpkg refuses two packages with the same file
        files |= own
        assert (tmp_path / name / "usr" / file).is_file()
        doc = tmp_path / name / "usr/share/doc" / name
        assert (doc / "copyright").is_file()
        with gzip.open(doc / "changelog.gz", "rb") as changes:
            (tmp_path / "changelog").write_bytes(changes.read())
        assert run("dpkg-parsechangelog", "-l", tmp_path / "changelog", "--show-field", "Version"
                   ).strip() == field(debs[name], "Version")


def test_unpacked(debs, usr, sources):
    assert "function" in run(usr / "bin" / "treesitter-engine", "parse", "--format", "text",
                             sources[0])
    environment = {**os.environ, "PYTHONPATH": str(usr / "lib" / "python3" / "dist-packages")}
    run(PYTHON, "-c", "import treesitter; treesitter.TreeSitterEngine()", env=environment)
    (pkg_config,) = usr.rglob("pkgconfig")
    environment = {**os.environ, "PKG_CONFIG_PATH": str(pkg_config)}
    version = run("pkg-config", "--modversion", "treesitter-engine", env=environment).strip()
    assert version == field(debs["libtreesitter-engine-dev"], "Version")


def test_copyright(prefix, usr):
    """The copyright file has Debian's machine-readable form, and names the holders of all notices."""
    text = (usr / "share/doc/treesitter-engine/copyright").read_text(encoding="utf-8")
    head, *stanzas = text.rstrip("\n").split("\n\n")
    assert head.startswith("Format: ")
    used = re.findall(r"^Files: (\S+)\nCopyright: .+\n(?: .+\n)*License: (\S+)$", text, re.M)
    written = re.findall(r"^License: (\S+)\n .", text, re.M)
    assert {licence for _, licence in used} == set(written)
    assert len(stanzas) == len(used) + len(written) == len(set(used)) + len(set(written))
    words = " ".join(text.replace("\n .\n", "\n").split())
    notices = list((prefix / "share/doc/treesitter-engine/licences").iterdir())
    assert len(notices) >= 16
    assert {files for files, _ in used} == {"*", *(f"{path.name}/*" for path in notices)}
    for path in notices:
        for holder in re.findall(r"^Copyright(?: \([Cc]\))? *(\S.*)$", path.read_text("utf-8"), re.M):
            # Debian wants only the name of the longest licences, and not their text.
            assert " ".join(holder.split()) in words or holder.startswith("[")


def test_documents_lead_somewhere(usr):
    root = usr / "share/doc/treesitter-engine"
    for page in [root / "README.md", *root.glob("doc/*.md")]:
        for link in re.findall(r"\]\(([^)#:]+)", page.read_text(encoding="utf-8")):
            assert (page.parent / link).exists() or link == "LICENSE", (page, link)


def test_nothing_of_the_machine_that_built_it(usr):
    paths = {os.fsencode(str(path)) for folder in (BUILD, SOURCE)
             for path in (folder, folder.resolve())}
    for file in filter(os.path.isfile, usr.rglob("*")):
        data = file.read_bytes()
        assert not [path for path in paths if path + b"/" in data], file


@pytest.mark.skipif(not shutil.which("lintian"), reason="lintian is not installed")
def test_lintian(debs):
    # The folder for libraries of one architecture is chosen by the prefix that the deb preset has.
    suppressed = "pkg-config-unavailable-for-cross-compilation"
    run("lintian", "--fail-on", "error,warning", "--suppress-tags", suppressed, "--allow-root",
        *debs.values())
