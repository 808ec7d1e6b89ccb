"""What the tests of the cluster share: an engine that dies of some files, clusters, a folder of files.

    TREESITTER_ENGINE=BUILD/treesitter-engine python3 -m pytest tests/cluster
"""
import os
import pathlib
import shutil
import signal
import subprocess
import sys
import time

import pytest

TOOL = os.path.abspath(os.environ["TREESITTER_ENGINE"])
PACKAGE = str(pathlib.Path(__file__).resolve().parents[2] / "cluster")
COMMAND = os.path.join(PACKAGE, "treesitter-cluster")
TIMEOUT = 900  # seconds: only a hang takes so long

sys.path.insert(0, PACKAGE)
# Dask waits so long for a process that does not answer; the tests kill processes, for good.
os.environ["DASK_DISTRIBUTED__COMM__TIMEOUTS__CONNECT"] = "10s"
os.environ["PYTHONPATH"] = os.pathsep.join(filter(None, [PACKAGE, os.environ.get("PYTHONPATH")]))

# An engine that a file kill_me.py kills, and a file kill_worker.py the worker too, when all files before it
# have records.
KILLED_ENGINE = f"""#!{sys.executable}
import os, signal, subprocess, sys
TOOL, arguments = {TOOL!r}, sys.argv[1:]
if "--version" in arguments and "OTHER_ENGINE" in os.environ:
    sys.exit(print('{{"engine": "99.0.0"}}'))
if "--list" in arguments or "--files-from" not in arguments:
    os.execv(TOOL, [TOOL, *arguments])
if any(name.startswith("MALLOC_") for name in os.environ):
    sys.exit("a variable that Dask sets for its workers slows engines down")
items = sys.stdin.buffer.read().split(b"\\0")[:-1]
kill = [i for i, item in enumerate(items) if b"kill_" in item]
before = items[:kill[0]] if kill else items
done = subprocess.run([TOOL, *arguments], input=b"".join(item + b"\\0" for item in before))
if kill:
    os.kill(os.getppid() if b"kill_worker" in items[kill[0]] else os.getpid(), signal.SIGKILL)
    signal.pause()
sys.exit(done.returncode)
"""


@pytest.fixture
def killed_engine(tmp_path):
    """The path of KILLED_ENGINE. With OTHER_ENGINE in the environment it has another identity."""
    path = tmp_path / "killed_engine"
    path.write_text(KILLED_ENGINE)
    path.chmod(0o755)
    return str(path)


def write(folder, path, content):
    path = os.path.join(os.fsencode(folder), os.fsencode(path))
    os.makedirs(os.path.dirname(path), exist_ok=True)
    with open(path, "wb") as file:
        file.write(content)


@pytest.fixture
def folder(tmp_path, monkeypatch):
    """A folder with files of all kinds; it is the current one."""
    folder = tmp_path / "work"
    for i in range(60):
        write(folder, f"top/d{i % 7}/m{i}.py", b"def f%d(x):\n    return g(x)\n" % i * (i + 1))
    for path, content in [("top/a.rb", b"def a; end\n"), ("top/bin.py", b"x\0"),
                          ("top/bad.java", b'class A { String s = "\xff"; }\n'),
                          ("top/z\n \xc3\xa9\\\".py", b"x = 1\n"), (b"top/\xff.py", b"x = 1\n"),
                          ("top/empty.go", b""), ("top/LICENSE", b"x"), ("LICENSE", b"x")]:
        write(folder, path, content)
    os.mkfifo(folder / "top/.ignore")
    monkeypatch.chdir(folder)
    return folder


def one_machine(*arguments):
    """What the engine prints without a cluster, and its status."""
    done = subprocess.run([TOOL, "parse", "--format", "json", *arguments], check=False,
                          stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, timeout=TIMEOUT)
    return done.stdout, done.returncode


def output_of(output):
    """The records of all shards, in the order of the shards' names."""
    from treesitter_cluster import shard
    return b"".join(record for path in sorted(pathlib.Path(output, "shards").iterdir())
                    for record in shard.records(path))


@pytest.fixture(scope="session")
def client():
    """A client of two workers with one thread each, for tests that kill none of them."""
    from distributed import Client, LocalCluster
    with LocalCluster(n_workers=2, threads_per_worker=1, dashboard_address=None,
                      silence_logs=50) as cluster, Client(cluster, set_as_default=False) as client:
        yield client


class Cluster:
    """A scheduler and workers, each a process that talks over TCP."""

    def __init__(self, folder, tls=()):
        self._folder = folder
        self._tls = list(tls)
        self._file = folder / "scheduler.json"
        self._logs = open(folder / "cluster.log", "ab")
        self.workers = []
        self.scheduler = None

    def start_scheduler(self):
        self._file.unlink(missing_ok=True)
        self.scheduler = self._start("dask_scheduler", "--port", "0", "--no-dashboard",
                                     "--scheduler-file", str(self._file))
        end = time.monotonic() + TIMEOUT
        while not self._file.exists() or not self._file.read_text().endswith("}"):
            assert time.monotonic() < end and self.scheduler.poll() is None
            time.sleep(0.05)
        return self.address

    @property
    def address(self):
        import json
        return json.loads(self._file.read_text())["address"]

    def start_worker(self, *options, limit=None, threads=1, environment=()):
        command = ["--scheduler-file", str(self._file), "--nthreads", str(threads),
                   "--no-dashboard", "--local-directory", str(self._folder / "scratch"), *options]
        self.workers.append(self._start("dask_worker", *command, limit=limit,
                                        environment=environment))
        return self.workers[-1]

    def _start(self, program, *arguments, limit=None, environment=()):
        command = [sys.executable, "-m", f"distributed.cli.{program}", *self._tls, *arguments]
        logs = self._logs
        if limit:  # it would hold for the log file too
            command, logs = ["prlimit", limit, "--", *command], subprocess.DEVNULL
        return subprocess.Popen(command, stdout=logs, stderr=logs,
                                start_new_session=True, env={**os.environ, **dict(environment)})

    def kill(self, process):
        """Kills the process and all that it has started."""
        try:
            os.killpg(process.pid, signal.SIGKILL)
        except ProcessLookupError:
            pass
        process.wait()

    def close(self):
        for process in [*self.workers, self.scheduler]:
            if process is not None:
                self.kill(process)
        self._logs.close()
        shutil.rmtree(self._folder / "scratch", ignore_errors=True)


@pytest.fixture
def cluster(tmp_path):
    cluster = Cluster(tmp_path)
    yield cluster
    cluster.close()


def command_of(address, output, *arguments, engine=TOOL):
    return [sys.executable, COMMAND, "parse", "--scheduler", address, "--output", str(output),
            "--engine", engine, "--wait", str(TIMEOUT), *map(str, arguments)]


def run_command(*arguments, **options):
    return subprocess.run(command_of(*arguments, **options), capture_output=True, text=True,
                          timeout=TIMEOUT, check=False)
