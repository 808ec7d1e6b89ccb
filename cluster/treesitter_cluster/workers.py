"""Which workers may have work: those with the driver's engine, that see what the driver sees.

A plugin looks at each worker when it comes, also at one that was started anew, and gives those that
will do a resource of the run's own, which each task needs. So it is Dask's scheduler that keeps
work from all others.
"""
import asyncio
import json
import os
import time

from distributed import WorkerPlugin

from . import engine
from .errors import ClusterError

NOT_YET = "it has not answered yet"
REFUSED = {}  # in a worker: why it may not have the resource


class EngineCheck(WorkerPlugin):
    def __init__(self, resource, program, expected, folders):
        self.name = resource
        self._program = program
        self._expected = expected
        self._folders = folders

    async def setup(self, worker):
        reason = await asyncio.get_running_loop().run_in_executor(None, self._why_not)
        if reason is not None:
            REFUSED[self.name] = reason
        await worker.set_resources(**{self.name: 0 if reason else worker.state.nthreads})

    async def teardown(self, worker):
        if self.name in worker.state.total_resources:
            await worker.set_resources(**{self.name: 0})

    def _why_not(self):
        try:
            identity = engine.identity(self._program)
        except (ClusterError, OSError, ValueError) as error:
            return str(error)
        if identity != self._expected:
            return f"its engine is another one: {difference(self._expected, identity)}"
        for folder in self._folders:
            if not os.path.isdir(folder):
                return f"it does not see {folder}"
        return None


def difference(expected, identity):
    """In words, the first thing that is not the same."""
    # The digest of all is last: it tells nobody what is not the same.
    for key in sorted([*expected, *identity], key=lambda key: key == "digest"):
        ours, theirs = expected.get(key), identity.get(key)
        if ours == theirs:
            continue
        if isinstance(ours, list) and isinstance(theirs, list):
            pairs = [pair for pair in zip(ours, theirs) if pair[0] != pair[1]]
            ours, theirs = pairs[0] if pairs else (ours, theirs)
        return f"{key} {json.dumps(theirs)}, here {json.dumps(ours)}"
    return "nothing"


def _reason(resource):
    return REFUSED.get(resource, NOT_YET)


class Workers:
    """The workers of a run."""

    def __init__(self, client, resource):
        self._client = client
        self._resource = resource
        self._told = set()
        self.threads = 0
        self.addresses = []  # of those that may have work
        self.refused = {}

    def check(self, plugin, seconds):
        """Has all workers looked at. Where one dies meanwhile the rest is asked once more, also
        when only waiting for the dead one took longer than there was time for."""
        end = time.monotonic() + seconds
        is_again = False
        while True:
            try:
                self._client.register_worker_plugin(plugin)
                return
            except OSError as error:
                if self._client.status != "running" or (is_again and time.monotonic() > end):
                    raise ClusterError(f"the workers cannot be reached: {error}") from error
                is_again = True

    def look(self):
        """Counts the threads that may have work, and gives the reasons of who is newly refused."""
        workers = self._client.scheduler_info()["workers"]
        self.addresses = [address for address, worker in workers.items()
                          if worker["resources"].get(self._resource, 0) > 0]
        self.threads = sum(workers[address]["nthreads"] for address in self.addresses)
        others = [address for address, worker in workers.items()
                  if not worker["resources"].get(self._resource, 0) and address not in self._told]
        if not others:
            return {}
        reasons = self._client.run(_reason, self._resource, workers=others, on_error="return")
        new = {address: str(reason) for address, reason in reasons.items()
               if reason != NOT_YET and not isinstance(reason, OSError)}  # of one that has died
        self._told.update(new)
        self.refused.update(new)
        return new

    def wait(self, seconds):
        """Until one may have work."""
        end = time.monotonic() + seconds
        while True:
            self.look()
            if self.threads:
                return
            if time.monotonic() > end:
                reasons = "".join(f"\n  {address}: {reason}"
                                  for address, reason in self.refused.items())
                raise ClusterError(f"no worker may have work{reasons}")
            time.sleep(0.2)
