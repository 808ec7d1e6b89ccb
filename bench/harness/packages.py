"""Downloads and unpacks the packages from which benchmarks take real files, and chooses the files.

A name with a version behind @ is npm's; one that begins with `src:` is a source package of the
distribution; any other is one of its binary packages. Nothing is installed, and a package that is
already there is not asked for again.
"""
import contextlib
import hashlib
import pathlib
import re
import shutil
import subprocess
import tarfile
import tempfile
import zipfile

# Larger files are data; one of them would be most of its language.
LARGEST_FILE = 400_000

SOURCE_PREFIX = "src:"


def folder_name(package):
    return package.removeprefix(SOURCE_PREFIX).replace("/", "_")


def _run(command, folder):
    subprocess.run(command, cwd=folder, check=True, stdout=subprocess.DEVNULL,
                   stderr=subprocess.PIPE)


@contextlib.contextmanager
def source_options():
    """Yields options of apt-get for downloading source packages. Most machines have no list of them, so
    this makes one in a temporary folder, from the same places as the machine's own list."""
    with tempfile.TemporaryDirectory(prefix="sources-") as scratch:
        folder = pathlib.Path(scratch)
        # apt fetches as a user of its own.
        folder.chmod(0o755)
        (folder / "parts").mkdir()
        (folder / "lists" / "partial").mkdir(parents=True)
        for file in [pathlib.Path("/etc/apt/sources.list"),
                     *pathlib.Path("/etc/apt/sources.list.d").glob("*.*")]:
            if file.suffix in (".list", ".sources") and file.is_file():
                text = re.sub(r"^(Types: *|)deb\b(?!-src).*?(?=$| )", r"\1deb-src",
                              file.read_text("utf-8"), flags=re.MULTILINE)
                (folder / "parts" / file.name).write_text(text, "utf-8")
        options = ["-q", "-o", "Dir::Etc::SourceList=/dev/null",
                   "-o", f"Dir::Etc::SourceParts={folder}/parts",
                   "-o", f"Dir::State::Lists={folder}/lists"]
        _run(["apt-get", *options, "update"], folder)
        yield options


def download(package, cache, options=()):
    """The archives of the package, from the cache if it has them. A source package needs the `options` of
    source_options; the archive of the distribution's changes is left out, since its version changes more
    often than that of the sources."""
    folder = cache / folder_name(package)
    if not folder.is_dir() or not any(folder.iterdir()):
        folder.mkdir(parents=True, exist_ok=True)
        if package.startswith(SOURCE_PREFIX):
            command = ["apt-get", *options, "source", "--download-only", "--tar-only",
                       "--only-source", package.removeprefix(SOURCE_PREFIX)]
        elif "@" in package[1:]:
            command = ["npm", "pack", "--silent", package]
        else:
            command = ["apt-get", "download", "-q", package]
        try:
            _run(command, folder)
        except subprocess.CalledProcessError:
            shutil.rmtree(folder)
            raise
        for archive in folder.glob("*.debian.tar.*"):
            archive.unlink()
    return sorted(folder.iterdir())


def unpack(archive, into):
    if archive.suffix == ".deb":
        subprocess.run(["dpkg-deb", "-x", str(archive), str(into)], check=True)
        # Sources of Java come as archives inside.
        for inner in into.rglob("*"):
            if inner.suffix in (".jar", ".zip") and inner.is_file() and not inner.is_symlink():
                with zipfile.ZipFile(inner) as members:
                    members.extractall(inner.with_suffix(".unpacked"))
    else:
        with tarfile.open(archive) as members:
            members.extractall(into)


def candidates(folder, suffixes):
    """The files with these suffixes, in an order that depends only on their names."""
    files = [file for file in folder.rglob("*")
             if file.suffix in suffixes and file.is_file() and not file.is_symlink()
             and 0 < file.stat().st_size <= LARGEST_FILE and file.name.isprintable()]
    return sorted(files, key=lambda file: hashlib.sha256(
        file.relative_to(folder).as_posix().encode()).digest())


def copy(file, unpacked, destination):
    target = destination / file.relative_to(unpacked)
    target.parent.mkdir(parents=True, exist_ok=True)
    shutil.copyfile(file, target)
