"""The programs that are measured. Each is asked for one measurement at a time.

A worker is started once and reads the clocks itself, so that neither Python nor the pipes are timed;
stock/stock_parse.c and engine_parse.cpp describe the protocol. The tool is started for each measurement,
and the system says what the process took.
"""
import hashlib
import os
import subprocess
import time
from dataclasses import dataclass, field


class WorkerEnded(Exception):
    """The program died. The stock library does so on some inputs, by its own assertions."""


@dataclass
class Measurement:
    cpu: float  # seconds of the processor, of one repeat
    wall: float
    files: int
    nodes: int = 0
    symbols: int = 0
    references: int = 0
    errors: int = 0
    digest: str = "-"
    refused: list = field(default_factory=list)  # numbers of the files whose parse was refused

    def answer(self):
        return (self.files, self.symbols, self.references, self.errors, self.digest)


class Worker:
    """One program. `folder` is where it runs, so that paths in its results are relative."""

    def __init__(self, name, program, manifest, folder):
        self.name = name
        self._command = [str(program), str(manifest)]
        self._folder = folder
        self._process = None

    def measure(self, group, mode, threads=1, repeats=1, digest=False):
        fields = self._ask(f"{group} {mode} {threads} {repeats} {int(digest)}").split()
        seconds = [int(text) / 1e9 / repeats for text in fields[:2]]
        if len(fields) == 5:  # the stock library's: it makes no records
            return Measurement(*seconds, files=int(fields[2]), nodes=int(fields[4]))
        numbers = [int(text) for text in fields[2:8]]
        return Measurement(*seconds, files=numbers[0], nodes=numbers[2], symbols=numbers[3],
                           references=numbers[4], errors=numbers[5], digest=fields[8],
                           refused=[int(text) for text in fields[9].split(",")[1:]])

    def peak_memory(self):
        """The most bytes that the program ever held, so ask a new one."""
        return int(self._ask("memory")) * 1024

    def close(self):
        if self._process:
            self._process.stdin.close()
            self._process.stdout.close()
            self._process.wait()
            self._process = None

    def _ask(self, line):
        if self._process is None:
            self._process = subprocess.Popen(self._command, cwd=self._folder, text=True,
                                             stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                                             stderr=subprocess.PIPE)
        try:
            self._process.stdin.write(line + "\n")
            self._process.stdin.flush()
            answer = self._process.stdout.readline()
        except BrokenPipeError:
            answer = ""
        if answer:
            return answer
        process, self._process = self._process, None
        _, message = process.communicate()
        raise WorkerEnded(f"{self.name} ended with status {process.returncode}: {message.strip()}")


class Tool:
    """The command-line tool, measured as a whole process over the files of a group.

    `folder` is where it runs; `lists` holds a file for each group, with the paths in lines.
    """

    def __init__(self, name, program, folder, lists):
        self.name = name
        self._program = program
        self._folder = folder
        self._lists = lists

    def measure(self, group, mode, threads=1, repeats=1):
        """`mode` is the tool's format."""
        cpu = wall = 0.0
        for _ in range(repeats):
            start = time.monotonic()
            used = self._run(group, mode, threads, subprocess.DEVNULL)
            wall += time.monotonic() - start
            cpu += used.ru_utime + used.ru_stime
        return Measurement(cpu / repeats, wall / repeats, files=0)

    def answer(self, group):
        """The number of records in JSON, and a digest of them."""
        with open(self._lists / "answer", "w+b") as output:
            self._run(group, "json", 1, output)
            output.seek(0)
            records = output.read()
        return records.count(b"\n"), hashlib.sha256(records).hexdigest()[:16]

    def _run(self, group, mode, threads, output):
        command = [self._program, "parse", "--jobs", str(threads), "--format", mode,
                   "--files-from", str(self._lists / list_name(group))]
        process = subprocess.Popen(command, cwd=self._folder, stdin=subprocess.DEVNULL,
                                   stdout=output, stderr=subprocess.DEVNULL)
        # Not process.wait(), which drops the times that the system has counted for the process.
        _, status, used = os.wait4(process.pid, 0)
        process.returncode = os.waitstatus_to_exitcode(status)
        if process.returncode not in (0, 1):  # 1: some file has error texts
            raise WorkerEnded(f"the tool of {self.name} ended with status {process.returncode}")
        return used


def list_name(group):
    return group.replace("/", "-") + ".txt"


def languages_of(program, paths):
    """The language of each path, or an empty text, as the engine detects it."""
    done = subprocess.run([str(program), "--detect"], input="".join(path + "\n" for path in paths),
                          capture_output=True, text=True, check=True)
    return done.stdout.splitlines()
