"""The operation `parse`: lists the items of a run, plans it, and lets a driver do it on the workers of a Dask
client.

Tested by tests/cluster.
"""
import fcntl
import hashlib
import os
import shutil
import uuid

from . import engine, listing
from .driver import Quiet, Run
from .errors import ClusterError
from .layout import Layout
from .manifest import Manifest
from .plan import make_plan, read_plan
from .reuse import OldRun
from .workers import EngineCheck, Workers, difference


def _list_of(files_from, null):
    if files_from is None:
        return None
    with open(files_from, "rb") as file:
        digest = hashlib.file_digest(file, "sha256").hexdigest()
    return {"file": os.path.abspath(files_from), "null": null, "sha256": digest}


def _pairs(command, program, old):
    commits = listing.commits_of(command)
    if command["paths"] or command["list"]:
        yield from map(old.join, listing.listed(program, command, command["folder"]))
    for repository, commit, prefix in commits:
        yield from map(old.join, listing.in_commit(program, repository, commit, prefix, command))


def _forget(client, resource):
    """Takes the run's plugin from the workers, so that they get no more of its work."""
    if client.status != "running":
        return
    try:
        client.unregister_worker_plugin(resource)
    except (OSError, ValueError):
        pass


def _lock(layout):
    file = open(os.path.join(layout.output, "lock"), "w", encoding="ascii")
    try:
        fcntl.flock(file, fcntl.LOCK_EX | fcntl.LOCK_NB)
    except OSError as error:
        file.close()
        raise ClusterError(f"another run is writing to {layout.output}") from error
    return file


def _require_same(plan, command, identity):
    if plan.head["command"] != command:
        changed = [key for key in command if plan.head["command"].get(key) != command[key]]
        raise ClusterError("the output folder holds another run; it differs in " +
                           ", ".join(changed or ["its form"]))
    if plan.head["engine"] != identity:
        raise ClusterError("the output folder was begun by another engine: " +
                           difference(identity, plan.head["engine"]))


def parse(client, output, *, paths=(), files_from=None, null=False, git=(), options=(), walk=(),
          program="treesitter-engine", reuse=None, batch_bytes=None, memory=None, wait=60,
          watch=None):
    """Parses on the workers of a Dask client into shards in the folder `output`, and gives a Summary.

    paths, files_from, null: files and folders, and a list of them, as for `treesitter-engine parse`
    git: triples of repository, commit, and the text that is put before the commit's paths
    options: for each engine, such as ["--rules", "navigation"]
    walk: options for the listing, such as ["--hidden"]
    program: the engine, here and on the workers
    reuse: the output folder of an earlier run, whose records are reused for files that have not changed
    batch_bytes: the most that a batch costs; by default chosen by the size of the run and the number of
        the workers' threads
    memory: bytes that one engine may take; by default a thread's share of its worker's limit
    wait: seconds to wait for a worker that can do the work
    watch: an object with the operations of Quiet, called as the run goes on

    The same call again, even after a failure, does what is missing. Raises ClusterError, and whatever the
    client raises. One call at a time may write to a folder.
    """
    layout = Layout(output)
    for folder in (layout.shards, layout.parts):
        os.makedirs(folder, exist_ok=True)
    identity = engine.identity(program)
    command = {"folder": os.getcwd(), "paths": list(paths), "list": _list_of(files_from, null),
               "git": [list(triple) for triple in git], "options": list(options),
               "walk": list(walk)}
    token = uuid.uuid4().hex
    resource = f"treesitter-engine-{token}"
    job = {"output": layout.output, "token": token, "resource": resource, "engine": program,
           "folder": command["folder"], "options": command["options"], "memory": memory}
    watch = watch or Quiet()
    with _lock(layout):
        plan = read_plan(layout.plan)
        if plan is not None:
            _require_same(plan, command, identity)
        shutil.rmtree(layout.parts)
        parts = os.path.join(layout.parts, token)
        os.makedirs(parts)
        workers = Workers(client, resource)
        manifest = None
        try:
            workers.check(EngineCheck(resource, program, identity, [parts, command["folder"]]), wait)
            workers.wait(wait)
            watch.refused(workers.refused)
            if plan is None:
                old = OldRun(reuse, identity, command["options"])
                head = {"command": command, "engine": identity, "reuse": old.output}
                plan = make_plan(layout, head, _pairs(command, engine.find(program), old),
                                 workers.threads, batch_bytes)
            job["reuse"] = plan.head["reuse"]
            manifest = Manifest(layout.manifest, {"manifest": 1, "plan": plan.digest,
                                                  "engine": identity})
            return Run(client, plan, layout, manifest, job, workers, watch)()
        finally:
            if manifest is not None:
                manifest.close()
            _forget(client, resource)
            shutil.rmtree(parts, ignore_errors=True)
