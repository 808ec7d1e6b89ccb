"""The quick starts of README.md, line by line as they stand there, with the installed package."""
import json
import os
import re
import shutil
import sys

import pytest

from conftest import SOURCE, run

README = (SOURCE / "README.md").read_text(encoding="utf-8")


def blocks(heading):
    """The code below a heading, up to the next."""
    rest = README.partition(f"\n### {heading}\n")[2]
    section = re.split(r"^#+ ", rest, maxsplit=1, flags=re.M)[0]
    found = re.findall(r"^```(?:sh|python|cpp)\n(.*?)^```$", section, re.M | re.S)
    assert found, heading
    return found


@pytest.fixture
def installed(prefix, site, tmp_path, monkeypatch):
    """A folder with our examples, where the package is found as in the system's places."""
    shutil.copytree(SOURCE / "examples", tmp_path / "examples")
    monkeypatch.chdir(tmp_path)
    monkeypatch.setenv("PATH", f"{prefix / 'bin'}{os.pathsep}{os.environ['PATH']}")
    monkeypatch.setenv("PYTHONPATH", str(site))
    monkeypatch.setenv("PKG_CONFIG_PATH", str(prefix / "lib" / "pkgconfig"))
    return tmp_path


def test_tool(installed):
    (block,) = blocks("The tool")
    lines = block.splitlines()
    text, index, content, found, tags, languages, checked = (run("bash", "-c", line) for line in lines)
    assert "examples.sources.catalogue." in text and index == ""
    assert len((installed / "index.jsonl").read_text(encoding="utf-8").splitlines()) == 16
    assert [symbol["name"] for symbol in json.loads(content)["symbols"]] == ["f"]
    assert json.loads(found)["path"] == "examples/sources/reservation.rb"
    assert tags == "" and "\nCatalogue\texamples/sources/catalogue.py\t23;" in (
        installed / "tags").read_text(encoding="utf-8")
    assert "markdown" in languages
    assert json.loads(checked)["detected_text"] == ".py"


@pytest.mark.usefixtures("installed")
def test_python():
    (block,) = blocks("Python")
    assert len(block.splitlines()) == 5
    printed = run(sys.executable, "-c", block).splitlines()
    assert any(line.startswith("class examples.sources.catalogue.") for line in printed)
    assert any(" examples.sources.loans." in line for line in printed)


def test_cpp(installed):
    program, command = blocks("C++")
    (installed / "main.cpp").write_text(program, encoding="utf-8")
    run("bash", "-c", command)
    assert "examples.sources.fines." in run(installed / "a.out")
