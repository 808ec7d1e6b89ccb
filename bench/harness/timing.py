"""Measures times. The programs take turns, so that all run under the same conditions; medians count.

Seconds are processor time, user and system together, unless said otherwise: on a shared machine wall time
depends on others.
"""
import statistics
import time
from dataclasses import dataclass

from harness.workers import Worker, WorkerEnded, Measurement

LEAST_SECONDS = 0.1  # of one measurement; shorter work is repeated


@dataclass
class Times:
    """The rounds of one way of measuring one group."""
    rounds: list

    @property
    def cpu(self):
        return statistics.median(m.cpu for m in self.rounds)

    @property
    def wall(self):
        return statistics.median(m.wall for m in self.rounds)

    @property
    def records(self):
        return self.rounds[0].symbols + self.rounds[0].references

    def ratio(self, other, clock="cpu"):
        """The ratio of this to the other: the median of the ratios of all rounds."""
        return statistics.median(getattr(a, clock) / max(getattr(b, clock), 1e-9)
                                 for a, b in zip(self.rounds, other.rounds))


@dataclass
class Way:
    """One way of measuring: a program, how much of its work, on how many threads."""
    worker: Worker
    mode: str
    threads: int = 1


def take_turns(group, ways, rounds):
    """The Times of each way, in the order of the ways; None for a program that died."""
    taken = [[] for _ in ways]
    repeats = [0] * len(ways)
    for number in range(rounds):
        order = range(len(ways))
        # Backwards every other time, so that no program always follows the same one.
        for i in order if number % 2 == 0 else reversed(order):
            if repeats[i] < 0:
                continue
            try:
                taken[i].append(_measure(group, ways[i], repeats, i))
            except WorkerEnded:
                repeats[i] = -1
    return [Times(measured) if repeats[i] > 0 else None for i, measured in enumerate(taken)]


def _measure(group, way, repeats, i) -> Measurement:
    if repeats[i] == 0:
        start = time.monotonic()
        way.worker.measure(group.name, way.mode, way.threads)
        repeats[i] = max(1, round(LEAST_SECONDS / (time.monotonic() - start)))
    return way.worker.measure(group.name, way.mode, way.threads, repeats[i])


def peak_memory(worker_of, group, path, mode):
    """The bytes that a file takes in addition to an empty file, each in a new process. None if it dies.

    worker_of: makes a Worker for a list of (group, language, paths)
    """
    peaks = []
    for file in ("/dev/null", path):
        worker = worker_of([("one", group.language, [file])])
        try:
            worker.measure("one", mode)
            peaks.append(worker.peak_memory())
        except WorkerEnded:
            return None
        finally:
            worker.close()
    return peaks[1] - peaks[0]
