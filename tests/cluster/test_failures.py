"""Engines, workers, schedulers and drivers that die, disks that are full, engines that differ: in the end
the records are those of one machine."""
import json
import os
import random
import signal
import subprocess
import time

import pytest

from conftest import TIMEOUT, TOOL, Cluster, command_of, one_machine, output_of, run_command, write
from treesitter_cluster import ClusterError, parse


def assert_all_but(output, expected, killers):
    """All records are as expected, except that those of `killers` say that the file was left out."""
    lines, wholes = output_of(output).splitlines(), expected.splitlines()
    assert len(lines) == len(wholes)
    for line, whole in zip(lines, wholes):
        if json.loads(whole)["path"] in killers:
            assert list(json.loads(line)) == ["path", "raised"]
            assert json.loads(line)["path"] == json.loads(whole)["path"]
        else:
            assert line == whole


def test_a_file_that_ends_the_engine_is_left_out_alone(client, folder, tmp_path, killed_engine):
    killers = ["top/bin.kill_me.py", "top/d2/kill_me.py", "top/d2/kill_me_too.py"]
    for killer in killers:
        write(folder, killer, b"x = 1\n")
    summary = parse(client, tmp_path / "out", paths=["top"], program=killed_engine)
    assert_all_but(tmp_path / "out", one_machine("top")[0], killers)
    assert sorted(killer["path"] for killer in summary.killers) == killers
    assert all("signal 9" in killer["text"] for killer in summary.killers)
    assert summary.status == 1


def test_a_file_that_ends_its_worker_is_left_out_alone(folder, tmp_path, cluster, killed_engine):
    write(folder, "top/d2/kill_worker.py", b"x = 1\n")
    address = cluster.start_scheduler()
    for _ in range(2):
        cluster.start_worker(threads=2)
    done = run_command(address, tmp_path / "out", "--batch-bytes", 30_000, "top",
                       engine=killed_engine)
    assert done.returncode == 1, done.stderr
    assert "left out: top/d2/kill_worker.py: The worker died of it" in done.stderr
    assert done.stderr.count("left out") == 1
    assert_all_but(tmp_path / "out", one_machine("top")[0], ["top/d2/kill_worker.py"])
    manifest = [json.loads(line) for line in (tmp_path / "out/manifest.jsonl").open()]
    assert sum(line["items"] for line in manifest[1:]) == json.loads(
        (tmp_path / "out/plan.jsonl").open().readline())["items"]


def many_files(folder, count=400):
    """Writes files whose records compress badly. Gives what one_machine does."""
    names = random.Random(5)
    for i in range(count):
        write(folder, f"many/m{i:04}.py", b"".join(
            b"def f%x(x):\n    return g%x(x)\n" % (names.getrandbits(64), names.getrandbits(64))
            for _ in range(120)))
    return one_machine("many")


def test_workers_that_are_killed_at_any_moment_cost_no_record(folder, tmp_path, cluster):
    expected, _ = many_files(folder)
    address = cluster.start_scheduler()
    for _ in range(2):
        cluster.start_worker()
    with subprocess.Popen(command_of(address, tmp_path / "out", "--batch-bytes", 25_000, "many"),
                          stderr=subprocess.PIPE, text=True) as process:
        chance = random.Random(7)
        for _ in range(4):
            wait_for_shards(tmp_path / "out", 1)
            time.sleep(chance.random())
            cluster.kill(cluster.workers.pop(0))  # nanny, worker and engines
            cluster.start_worker()
        _, errors = process.communicate(timeout=TIMEOUT)
    assert process.returncode == 0, errors
    assert output_of(tmp_path / "out") == expected


def wait_until(holds):
    end = time.monotonic() + TIMEOUT
    while not holds():
        assert time.monotonic() < end
        time.sleep(0.01)


def wait_for_shards(output, count):
    shards = output / "shards"
    wait_until(lambda: shards.exists() and len(os.listdir(shards)) >= count)


@pytest.fixture
def certificate(tmp_path):
    names = {name: str(tmp_path / f"{name}.pem") for name in ("cert", "key")}
    subprocess.run(["openssl", "req", "-x509", "-newkey", "rsa:2048", "-nodes", "-days", "2",
                    "-subj", "/CN=localhost", "-keyout", names["key"], "-out", names["cert"]],
                   check=True, capture_output=True)
    return ["--tls-ca-file", names["cert"], "--tls-cert", names["cert"], "--tls-key", names["key"]]


def test_a_scheduler_or_driver_that_ends_costs_no_more_than_the_same_command_again(
        folder, tmp_path, certificate):
    expected, _ = many_files(folder)
    cluster = Cluster(tmp_path, certificate)
    try:
        for ends in ("scheduler", "driver", None):
            if cluster.scheduler is None or cluster.scheduler.poll() is not None:
                cluster.start_scheduler()
                cluster.start_worker(threads=2)
            assert cluster.address.startswith("tls://")
            before = len(os.listdir(tmp_path / "out/shards")) if (tmp_path / "out").exists() else 0
            with subprocess.Popen(
                    command_of(cluster.address, tmp_path / "out", "--batch-bytes", 25_000,
                               *certificate, "many"), stderr=subprocess.PIPE, text=True) as process:
                if ends:
                    wait_for_shards(tmp_path / "out", before + 3)
                if ends == "scheduler":
                    cluster.kill(cluster.scheduler)
                elif ends == "driver":
                    process.send_signal(signal.SIGINT)
                _, errors = process.communicate(timeout=TIMEOUT)
            assert process.returncode == {"scheduler": 2, "driver": 130, None: 0}[ends], errors
            assert ends is None or "the same command goes on" in errors
        assert output_of(tmp_path / "out") == expected
    finally:
        cluster.close()


def test_workers_that_differ_or_have_no_room(folder, tmp_path, cluster, killed_engine):
    expected, _ = many_files(folder, 40)
    write(folder, "large/deep.py", b"f(" * 500_000)
    address = cluster.start_scheduler()
    from distributed import Client
    with Client(address, set_as_default=False) as client:
        options = {"program": killed_engine, "batch_bytes": 20_000, "wait": TIMEOUT}
        # A worker with another engine gets no work, and the others do all of it.
        cluster.start_worker(environment={"OTHER_ENGINE": "1"})
        client.wait_for_workers(1)
        with pytest.raises(ClusterError, match="no worker may have work\n.*another one: engine .*99.0"):
            parse(client, tmp_path / "out", paths=["many"], **{**options, "wait": 5})
        cluster.start_worker(limit="--fsize=4000")
        client.wait_for_workers(2)
        # A worker that cannot write ends the run, and the next run continues it.
        with pytest.raises(ClusterError, match="File too large.*goes on"):
            parse(client, tmp_path / "out", paths=["many"], **options)
        cluster.kill(cluster.workers.pop())
        cluster.start_worker("--memory-limit", "600MB")
        summary = parse(client, tmp_path / "out", paths=["many"], **options)
        assert output_of(tmp_path / "out") == expected
        assert len(summary.refused) == 1
        # A file that needs more memory than a worker has ends nobody: the engine gives an error text.
        summary = parse(client, tmp_path / "large", paths=["large"], **options)
        assert summary.failed == 1 and not summary.killers
        assert b"memory" in output_of(tmp_path / "large")


def test_a_repository_that_cannot_be_read_is_no_fault_of_its_files(folder, tmp_path, cluster):
    (folder / "top/.ignore").unlink()
    for name in ("top", "many"):
        many_files(folder, 3)
        for command in (["init", "-q"], ["add", "."], ["-c", "user.name=n", "-c", "user.email=e@x",
                                                       "commit", "-qm", "x"]):
            subprocess.run(["git", *command], cwd=folder / name, check=True)
    expected = one_machine("top")[0] + one_machine("many")[0]
    write(tmp_path, "no_git/git", b"#!/bin/sh\ncase $2 in *top*) echo fatal: no >&2; exit 128;; esac\n"
                                  b'PATH=${PATH#*:} exec git "$@"\n')
    (tmp_path / "no_git/git").chmod(0o755)
    path = {"PATH": f"{tmp_path / 'no_git'}:{os.environ['PATH']}"}
    address = cluster.start_scheduler()
    from distributed import Client
    with Client(address, set_as_default=False) as client:
        options = {"program": TOOL, "batch_bytes": 20_000,
                   "git": [("top", "HEAD", "top/"), ("many", "HEAD", "many/")]}
        for number in (1, 2):
            cluster.start_worker(environment=path)
            client.wait_for_workers(number)
        # No worker can read it: the error says so, and all other files are done.
        with pytest.raises(ClusterError, match="no worker could read.*\n.*top: git says: fatal: no$"):
            parse(client, tmp_path / "out", **options)
        assert output_of(tmp_path / "out") == one_machine("many")[0]
        # One worker cannot, so that the other one does all of it.
        cluster.kill(cluster.workers.pop())
        wait_until(lambda: len(client.scheduler_info()["workers"]) == 1)  # the scheduler hears of it later
        cluster.start_worker()
        client.wait_for_workers(2)
        assert not parse(client, tmp_path / "out", **options).killers
        assert output_of(tmp_path / "out") == expected
