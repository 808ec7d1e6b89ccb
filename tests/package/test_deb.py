"""The Debian package: what it depends on, and that its files work where they are unpacked."""
import os
import sys

import pytest

from conftest import BUILD, CMAKE, run

PYTHON = sys.executable  # ctest runs the Python that the module is for


@pytest.fixture(scope="module")
def deb(tmp_path_factory):
    folder = tmp_path_factory.mktemp("deb")
    cpack = CMAKE.removesuffix("cmake") + "cpack"
    run(cpack, "-G", "DEB", "-B", folder, "--config", BUILD / "CPackConfig.cmake")
    (package,) = folder.glob("*.deb")
    return package


def field(deb, name):
    return run("dpkg-deb", "--field", deb, name).strip()


def test_dependencies(deb):
    depends = {entry.split()[0] for entry in field(deb, "Depends").split(", ")}
    assert {"python3", "libc6", "libstdc++6", "libssl3", "libpcre2-8-0", "libsqlite3-0"} <= depends
    assert any(name.startswith("libicu") for name in depends)
    # Building against the library is not what everybody installs this for.
    assert not [name for name in depends if name.endswith("-dev")]


def test_unpacked(deb, sources, tmp_path):
    run("dpkg-deb", "--extract", deb, tmp_path)
    usr = tmp_path / "usr"
    assert "function" in run(usr / "bin" / "treesitter-engine", "parse", "--format", "text",
                             sources[0])
    environment = {**os.environ, "PYTHONPATH": str(usr / "lib" / "python3" / "dist-packages")}
    run(PYTHON, "-c", "import treesitter; treesitter.TreeSitterEngine()", env=environment)
    pkg_config = {**os.environ, "PKG_CONFIG_PATH": str(usr / "lib" / "pkgconfig")}
    assert run("pkg-config", "--modversion", "treesitter-engine", env=pkg_config).strip() == field(
        deb, "Version")
