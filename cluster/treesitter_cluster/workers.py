"""The workers that may have work: those that have the driver's engine and see the driver's folders.

A plugin checks each worker when it joins the cluster, a restarted one too. It gives the suitable ones a
resource that only this run uses. Each task needs that resource, so that Dask's scheduler gives no work to
other workers.

Tested by tests/cluster/test_failures.py.
"""
import asyncio
import json
import os
import time

from distributed import WorkerPlugin

from . import engine
from .errors import ClusterError

NOT_YET = "it has not answered yet"
REFUSED = {}  # in a worker's process: why it did not get the resource, by the resource's name


class EngineCheck(WorkerPlugin):
    """Checks a worker, and gives it the resource if it is suitable."""

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
    """Says what is the first difference between two engines."""
    # The digest of everything comes last: it would not say what differs.
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
        """Lets the plugin check all workers. If one of them dies meanwhile, all are asked once more, even
        when waiting for the dead one has taken longer than `seconds`."""
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
        """Counts the threads that may have work. Gives the newly refused workers and the reasons."""
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
               if reason != NOT_YET and not isinstance(reason, OSError)}  # the error of a dead one
        self._told.update(new)
        self.refused.update(new)
        return new

    def wait(self, seconds):
        """Waits until a worker may have work; raises ClusterError after so many seconds."""
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
