"""Runs in which nothing fails: whole ones, ones that continue another, and ones that reuse records."""
import os
import subprocess

import pytest

from conftest import TOOL, one_machine, output_of, run_command, write
from treesitter_cluster import ClusterError, parse, reuse


def run(client, output, **options):
    return parse(client, output, **{"program": TOOL, "batch_bytes": 20_000, **options})


@pytest.mark.parametrize("arguments,options", [
    (["top"], {"paths": ["top"]}),
    (["top/bin.py", "LICENSE", "no.py", "top/d1", "top"],
     {"paths": ["top/bin.py", "LICENSE", "no.py", "top/d1", "top"]}),
    (["--rules", "navigation", "--max-filesize", "200", "--exclude", "d[12]", "--type", "python", "top"],
     {"paths": ["top"], "options": ["--rules", "navigation", "--max-filesize", "200"],
      "walk": ["--exclude", "d[12]", "--type", "python"]}),
    (["--files-from", "list", "LICENSE"], {"paths": ["LICENSE"], "files_from": "list"}),
    (["--files-from", "empty"], {"files_from": "empty"})])
def test_the_shards_hold_what_one_machine_prints(client, folder, tmp_path, arguments, options):
    write(folder, "list", b"top/a.rb\ntop/bin.py\ntop/a.rb\ntop\nno\nLICENSE\ntop/a.rb\n")
    write(folder, "empty", b"")
    expected, status = one_machine(*arguments)
    summary = run(client, tmp_path / "out", **options)
    assert output_of(tmp_path / "out") == expected
    assert (summary.status, summary.records) == (status, expected.count(b"\n"))
    assert not os.listdir(tmp_path / "out/parts")
    # The same call again writes nothing anew.
    shards = sorted((tmp_path / "out/shards").iterdir())
    before = [path.stat().st_ino for path in shards]
    again = run(client, tmp_path / "out", **options)
    assert [path.stat().st_ino for path in shards] == before
    assert (again.items, again.failed) == (summary.items, summary.failed)


def test_no_path_is_too_long(client, folder, tmp_path):
    here = os.open("top", os.O_RDONLY)
    for i in range(25):
        name = "n" * 200
        os.mkdir(name, dir_fd=here)
        here, above = os.open(name, os.O_RDONLY, dir_fd=here), here
        os.close(above)
        for name, content in [("a.py", b"def f(x):\n    return g(x)\n"), ("b.py", b"\0"), ("c.py", b"x = 1\n")]:
            with open(os.open(name, os.O_WRONLY | os.O_CREAT, dir_fd=here), "wb") as file:
                file.write(content)
    os.close(here)
    try:
        expected, status = one_machine("top")
        summary = run(client, tmp_path / "out", paths=["top"])
        assert (output_of(tmp_path / "out"), summary.status) == (expected, status)
        # Such a file may have been removed since it was listed.
        subprocess.run(["find", "top", "-path", "top/nnn*", "-name", "c.py", "-delete"], check=True)
        (tmp_path / "out/manifest.jsonl").unlink()
        again = run(client, tmp_path / "out", paths=["top"])
        assert again.records == summary.records and again.failed > summary.failed
        assert b'"raised":"Failed to read file: [Errno 2] No such file' in output_of(tmp_path / "out")
    finally:
        subprocess.run(["rm", "-rf", "top"], check=True)


def test_the_command(folder, tmp_path):
    expected, _ = one_machine("top")
    done = run_command("local", tmp_path / "out", "--workers", 2, "-v", "top")
    assert done.returncode == 1
    assert output_of(tmp_path / "out") == expected
    assert "bad.java: " in done.stderr and "2 failed" in done.stderr
    for arguments, part in [((), "no PATH"), (("-",), "standard input"),
                            (("--git", "a/x.git", "--git", "b/x"), "two repositories are named x")]:
        done = run_command("local", tmp_path / "out", *arguments)
        assert done.returncode == 2 and part in done.stderr, done.stderr


def test_what_cannot_be_done_is_said(client, folder, tmp_path):
    run(client, tmp_path / "out", paths=["LICENSE"])
    for output, options, part in [("out", {"paths": ["top"]}, "another run; it differs in paths"),
                                  ("x", {"git": [("top", "HEAD", "top/")]}, "top: .*repository"),
                                  ("y", {"files_from": "top"}, "[Dd]irectory"),
                                  ("z", {"program": "no-such"}, "not found")]:
        with pytest.raises((ClusterError, OSError), match=part):
            run(client, tmp_path / output, **options)


def test_a_run_goes_on_wherever_its_manifest_ends(client, folder, tmp_path):
    out = tmp_path / "out"
    run(client, out, paths=["top"])
    expected = output_of(out)
    manifest = out / "manifest.jsonl"
    whole = manifest.read_bytes()
    ends = [i for i, byte in enumerate(whole) if byte == 10]
    for cut in (0, 5, ends[0], ends[0] + 1, ends[1] + 30, ends[2], len(whole) - 1):
        manifest.write_bytes(whole[:cut])
        write(out, "shards/000000000001-000999.jsonl.zst", b"of nobody")
        write(out, "parts/x/y.part", b"of nobody")
        run(client, out, paths=["top"])
        assert output_of(out) == expected
        assert len(manifest.read_bytes().splitlines()) == len(ends)
    next((out / "shards").iterdir()).unlink()
    run(client, out, paths=["top"])
    assert output_of(out) == expected
    (out / "plan.jsonl").write_text((out / "plan.jsonl").read_text().replace("0.1.0", "0.0.9"))
    with pytest.raises(ClusterError, match="another engine: .*0.0.9"):
        run(client, out, paths=["top"])


@pytest.fixture
def far_apart(folder):
    """Large files between the others. Without them unchanged files would be parsed together with changed
    ones, since that is cheaper than another start of the engine."""
    for i in range(7):
        write(folder, f"top/d{i}/large.py", b"# x\n" * 20_000)


def git(folder, *arguments):
    return subprocess.run(["git", "-C", str(folder), "-c", "user.name=n", "-c", "user.email=e@x",
                           *arguments], check=True, capture_output=True, text=True).stdout.strip()


@pytest.fixture
def repository(folder, far_apart):
    """A bare repository beside a checkout of it."""
    (folder / "top/.ignore").unlink()
    write(folder, "top/.hidden/a.py", b"x = 1\n")
    write(folder, "top/ lead.py", b"x = 1\n")
    write(folder, 'top/"q".py', b"x = 1\n")
    (folder / "top/link.py").symlink_to("a.rb")
    git(folder, "init", "-q", "top")
    git(folder / "top", "add", ".")
    git(folder / "top", "update-index", "--add", "--cacheinfo", f"160000,{'1' * 40},sub.py")
    git(folder / "top", "commit", "-qm", "first")
    git(folder, "clone", "-q", "--bare", "top", "bare/top.git")
    return folder / "bare/top.git"


def test_commits_of_bare_repositories_need_no_checkout(client, folder, tmp_path, repository):
    expected, status = one_machine("top")
    triple = (str(repository.relative_to(folder)), "HEAD", "top/")
    summary = run(client, tmp_path / "out", git=[triple])
    assert output_of(tmp_path / "out") == expected
    assert summary.status == status == 1
    walk = ["--exclude", "/d1/", "--exclude", "*.rb", "--hidden", "--type", "python", "--type", "ruby"]
    run(client, tmp_path / "some", git=[triple], walk=walk)
    assert output_of(tmp_path / "some") == one_machine(*walk, "top")[0] != expected
    # Only what has changed is parsed again.
    write(folder, "top/d3/m3.py", b"def changed(): pass\n")
    write(folder, "top/new.py", b"x = 2\n")
    (folder / "top/d1/m1.py").unlink()
    git(folder / "top", "add", ".")
    git(folder / "top", "commit", "-qm", "second")
    git(folder / "top", "push", "-q", str(repository), "HEAD")
    summary = run(client, tmp_path / "next", git=[triple], reuse=str(tmp_path / "out"))
    assert output_of(tmp_path / "next") == one_machine("top")[0]
    assert summary.records - summary.taken == 2 + summary.failed
    # A missing object gets a record that says so, and all other files have theirs.
    oid = git(folder / "top", "rev-parse", "HEAD:new.py")
    os.unlink(repository / "objects" / oid[:2] / oid[2:])
    summary = run(client, tmp_path / "gone", git=[triple])
    [killer] = summary.killers
    assert killer["path"] == "top/new.py" and "missing" in killer["text"]
    assert summary.items == summary.records + 1


def test_records_are_taken_over_where_nothing_that_they_depend_on_has_changed(client, folder, tmp_path,
                                                                              far_apart, monkeypatch):
    run(client, tmp_path / "old", paths=["top"])
    old = str(tmp_path / "old")
    for path, content in [("top/d3/m3.py", b"X" * os.path.getsize("top/d3/m3.py")),
                          ("top/d4/m4.py", b"# longer\n" * 40), ("top/new.py", b"x = 2\n")]:
        write(folder, path, content)
    os.rename("top/d5/m5.py", "top/d5/moved.py")
    os.unlink("top/d6/m6.py")
    os.truncate("top/d2/m2.py", 0)
    os.mkdir("top/d6/m6.py")
    expected, status = one_machine("top")
    monkeypatch.setattr(reuse, "WINDOW", 10)  # enough, since both runs have nearly the same order
    for options, changed in [({}, 7), ({"batch_bytes": 1000}, 7),
                             ({"options": ["--rules", "navigation"]}, None)]:
        out = tmp_path / f"new{len(os.listdir(tmp_path))}"
        summary = run(client, out, paths=["top"], reuse=old, **options)
        assert output_of(out) == one_machine(*options.get("options", []), "top")[0]
        assert summary.status == status
        assert summary.records - summary.taken == (changed or summary.records)
    with pytest.raises(ClusterError, match="no run whose records"):
        run(client, tmp_path / "x", paths=["top"], reuse=str(tmp_path))
