"""The command line of treesitter-cluster.

Exit statuses are those of treesitter-engine: 0 when every file gave a result without error texts, 1
when some file failed (it has a record all the same), 2 when the run could not be completed; and 130
when it was interrupted.

Tested by tests/cluster.
"""
import argparse
import os
import sys
import time

EXIT_NOT_RUN = 2
EXIT_INTERRUPTED = 130
MOST_SHOWN = 20


def parser():
    """The parser of the command line. write_manual makes the manual page from it."""
    parser = argparse.ArgumentParser(
        prog="treesitter-cluster", description="Parses millions of files over a Dask cluster.")
    commands = parser.add_subparsers(dest="command", required=True)
    parse = commands.add_parser(
        "parse", help="parse files, folders and repositories into compressed shards of records",
        epilog="All workers must see the paths, the repositories and FOLDER under the same names. "
               "The same command again does what is missing. In the order of their names the "
               "shards hold what `treesitter-engine parse --format json` prints.")
    parse.add_argument("--scheduler", required=True, metavar="ADDRESS|local",
                       help="tcp://host:8786, tls://host:8786, or workers of its own here")
    parse.add_argument("--workers", type=int, metavar="N",
                       help="of `local`, each with one thread; by default one for each processor")
    parse.add_argument("--output", required=True, metavar="FOLDER", help="of shards and manifest")
    parse.add_argument("--files-from", metavar="LIST", help="take paths from the lines of LIST too")
    parse.add_argument("-0", "--null", action="store_true", help="the paths of LIST end with NUL")
    parse.add_argument("--git", action="append", default=[], metavar="REPOSITORY[@COMMIT]",
                       help="the files of a commit, by default of HEAD, without a checkout; their "
                            "paths begin with the repository's name; several will do")
    parse.add_argument("--git-from", metavar="LIST",
                       help="repositories from the lines of LIST, each as for --git")
    parse.add_argument("--reuse", metavar="FOLDER",
                       help="an earlier output, whose records are taken over where nothing changed; "
                            "takes 300 MB of memory here at most")
    parse.add_argument("--rules", choices=["standard", "navigation"],
                       help="as of treesitter-engine parse")
    parse.add_argument("--max-filesize", metavar="SIZE",
                       help="as of treesitter-engine parse")
    for flag in ("--hidden", "--no-ignore"):
        parse.add_argument(flag, action="store_true", help="as of treesitter-engine parse")
    for option, name in (("--exclude", "GLOB"), ("--type", "NAME")):
        parse.add_argument(option, action="append", default=[], metavar=name,
                           help="of folders and commits, as of treesitter-engine parse")
    parse.add_argument("--engine", default="treesitter-engine", metavar="PROGRAM",
                       help="the engine, here and on the workers")
    parse.add_argument("--batch-bytes", type=int, metavar="N", help="of source in one shard, about")
    parse.add_argument("--memory", type=int, metavar="BYTES",
                       help="what one engine may take; by default a thread's share of its worker's "
                            "limit")
    parse.add_argument("--wait", type=float, default=60, metavar="SECONDS",
                       help="for a worker that may have work")
    for name in ("ca-file", "cert", "key"):
        parse.add_argument(f"--tls-{name}", metavar="FILE", help="of a scheduler at tls://")
    parse.add_argument("-v", "--verbose", action="store_true", help="say what was done")
    parse.add_argument("paths", nargs="*", metavar="PATH", help="files and folders")
    return parser


def complain(text):
    shown = "".join(c if c.isprintable() or c == "\n" else f"\\x{ord(c):02x}" for c in text)
    print(f"treesitter-cluster: {shown}", file=sys.stderr)


class Watch:
    """Shows on a terminal how far the run is, and reports workers that get no work."""

    def __init__(self):
        self._shows = sys.stderr.isatty()
        self._begin = self._next = time.monotonic()
        self._first = None
        self._has_line = False

    def progress(self, summary, items):
        now = time.monotonic()
        if self._first is None:
            self._first = summary.items
        if not self._shows or now < self._next or not items:
            return
        self._next = now + 0.5
        rate = (summary.items - self._first) / max(now - self._begin, 0.1)
        left = _duration((items - summary.items) / rate) + " left" if rate else "no end in sight"
        sys.stderr.write(f"\r\x1b[K{summary.items} of {items} files, {rate:.0f} files/s, {left}, "
                         f"{summary.failed} failed")
        sys.stderr.flush()
        self._has_line = True

    def refused(self, workers):
        for address, reason in workers.items():
            self.wipe()
            complain(f"worker {address} gets no work: {reason}")

    def wipe(self):
        if self._has_line:
            sys.stderr.write("\r\x1b[K")
            self._has_line = False


def _duration(seconds):
    minutes, seconds = divmod(int(seconds), 60)
    return f"{minutes // 60}:{minutes % 60:02}:{seconds:02}"


def _repositories(arguments, own):
    texts = list(arguments.git)
    if arguments.git_from:
        with open(arguments.git_from, encoding="utf-8", errors="surrogateescape") as file:
            texts += [line.rstrip("\n") for line in file if line.strip()]
    triples = []
    for text in texts:
        repository, at, commit = text.rpartition("@")
        if not at or os.path.isdir(text):
            repository, commit = text, "HEAD"
        repository = os.path.normpath(repository)
        name = os.path.basename(repository)
        if name == ".git":
            name = os.path.basename(os.path.dirname(os.path.abspath(repository)))
        triples.append((repository, commit, name.removesuffix(".git") + "/"))
    prefixes = [prefix for _, _, prefix in triples]
    for prefix in prefixes:
        if prefixes.count(prefix) > 1:  # their records would have the same paths
            own.error(f"two repositories are named {prefix.rstrip('/')}")
    return triples


def _options(arguments):
    options, walk = [], []
    if arguments.rules:
        options += ["--rules", arguments.rules]
    if arguments.max_filesize:
        options += ["--max-filesize", arguments.max_filesize]
    walk += ["--hidden"] if arguments.hidden else []
    walk += ["--no-ignore"] if arguments.no_ignore else []
    for glob in arguments.exclude:
        walk += ["--exclude", glob]
    for name in arguments.type:
        walk += ["--type", name]
    return options, walk


def _security(arguments):
    from distributed.security import Security
    if not arguments.tls_ca_file:
        return None
    return Security(tls_ca_file=arguments.tls_ca_file, tls_client_cert=arguments.tls_cert,
                    tls_client_key=arguments.tls_key, require_encryption=True)


# Dask's own periodic work takes a twentieth of a processor by default, in each worker and in the
# scheduler. Tasks here last seconds, so that they need no look every 10 to 100 ms. The memory that a
# worker watches does not hold the engines, which are processes of their own.
PULSE = {"distributed.admin.tick.interval": "1s", "distributed.admin.system-monitor.interval": "5s",
         "distributed.scheduler.work-stealing-interval": "1s",
         "distributed.worker.memory.monitor-interval": "1s",
         "distributed.worker.profile.enabled": False}


def _client(arguments):
    import dask
    from distributed import Client, LocalCluster
    if arguments.scheduler != "local":
        return Client(arguments.scheduler, security=_security(arguments), set_as_default=False)
    workers = arguments.workers or len(os.sched_getaffinity(0))
    dask.config.set(PULSE)
    cluster = LocalCluster(n_workers=workers, threads_per_worker=1, dashboard_address=":0",
                           silence_logs=50)
    return _OwnCluster(Client(cluster, set_as_default=False), cluster)


class _OwnCluster:
    """A client that closes its cluster too."""

    def __init__(self, client, cluster):
        self._client, self._cluster = client, cluster

    def __enter__(self):
        return self._client

    def __exit__(self, *_):
        self._client.close()
        self._cluster.close()


def _tell(summary, arguments):
    for message in summary.messages[:MOST_SHOWN]:
        complain(message)
    for killer in summary.killers:
        complain(f"left out: {killer['path']}: {killer['text']}")
    if arguments.verbose or sys.stderr.isatty():
        complain(f"{summary.items} files, {summary.failed} failed, {summary.taken} unchanged, "
                 f"{summary.shards} shards, {summary.seconds:.1f} s")


def main():
    own = parser()
    arguments = own.parse_args()
    if not (arguments.paths or arguments.files_from or arguments.git or arguments.git_from):
        own.error("no PATH is given")
    if "-" in arguments.paths or arguments.files_from == "-":
        own.error("standard input (-) is not on the workers")
    if arguments.workers is not None and arguments.scheduler != "local":
        own.error("--workers is for --scheduler local")
    watch = Watch()
    try:
        from .run import parse
        git = _repositories(arguments, own)
        options, walk = _options(arguments)
        with _client(arguments) as client:
            summary = parse(
                client, arguments.output, paths=arguments.paths, files_from=arguments.files_from,
                null=arguments.null, git=git, options=options, walk=walk,
                program=arguments.engine, reuse=arguments.reuse,
                batch_bytes=arguments.batch_bytes, memory=arguments.memory, wait=arguments.wait,
                watch=watch)
    except KeyboardInterrupt:
        watch.wipe()
        complain("interrupted; the same command goes on with the run")
        return EXIT_INTERRUPTED
    except Exception as error:  # Dask has many kinds of errors, and each ends the run
        watch.wipe()
        complain(str(error) or type(error).__name__)
        return EXIT_NOT_RUN
    watch.wipe()
    _tell(summary, arguments)
    return summary.status
