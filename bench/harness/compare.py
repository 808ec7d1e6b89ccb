"""Measures the engine against the stock parse over a folder and prints tables: see bench/run.

Each table is for one class of input (inputs.py). All that is in one row is measured in turns: the stock
library, and each engine in each mode, or its tool.
"""
import argparse
import pathlib
import sys
import tempfile

from harness import inputs, tables, timing
from harness.answers import Recorded, compare, compare_recorded, compare_tools, nodes_differ
from harness.inputs import Group
from harness.tables import Weighted, markdown, number, seconds, whole
from harness.timing import Way, take_turns
from harness.workers import Tool, Worker, languages_of, list_name

CLASSES = ("valid", "tool", "navigation", "small", "mismatched", "shapes", "threads")


def say(text):
    print(f"bench: {text}", file=sys.stderr, flush=True)


def tool_programs(engines, named):
    """The tool of each engine, by the engine's name: the one that is named, or of its build."""
    if unknown := sorted(named.keys() - engines.keys()):
        sys.exit(f"bench: --tool {unknown[0]}: no --engine has that name")
    programs = {}
    for name, engine in engines.items():
        program = named.get(name) or str(pathlib.Path(engine).parent.parent / "treesitter-engine")
        if not pathlib.Path(program).is_file():
            sys.exit(f"bench: {name} has no tool at {program}; name it by --tool {name}=PROGRAM")
        programs[name] = program
    return programs


class Session:
    """The workers, the groups and the temporary folder of one run of the benchmark."""

    def __init__(self, arguments, scratch):
        self.folder = arguments.folder.resolve()
        self.scratch = pathlib.Path(scratch)
        self.rounds = arguments.rounds
        self.programs = dict(arguments.engine)
        self.stock_program = arguments.stock
        self.groups = []
        self._collect(arguments)
        manifest = self.scratch / "manifest"
        inputs.write_manifest(manifest, self._rows)
        self.engines = [Worker(name, program, manifest, self.folder)
                        for name, program in self.programs.items()]
        self.stock = Worker("stock", self.stock_program, manifest, self.folder)
        self.tools = []
        if "tool" in arguments.classes:
            programs = tool_programs(self.programs, dict(arguments.tool))
            self.tools = [Tool(name, program, self.folder, self.scratch)
                          for name, program in programs.items()]

    def of(self, *kinds):
        return [group for group in self.groups if group.kind in kinds]

    def _add(self, group, languages=None):
        if group.paths:
            self.groups.append(group)
            self._rows.append((group.name, languages or group.language, group.paths))

    def _collect(self, arguments):
        self._rows = []
        paths = inputs.files_of(self.folder)
        detector = next(iter(self.programs.values()))
        valid = inputs.valid_groups(self.folder, paths, languages_of(detector, paths))
        if not valid:
            sys.exit(f"bench: no file of a known language in {arguments.folder}")
        chosen = [group for group in valid
                  if not arguments.language or group.language in arguments.language]
        for group in chosen:
            if {"valid", "tool", "navigation"} & set(arguments.classes):
                self._add(group)
            if "small" in arguments.classes:
                self._add(inputs.small_group(group, self.folder, self.scratch))
            if "mismatched" in arguments.classes:
                self._add(inputs.mismatched_group(group.language, valid, self.folder))
            if "shapes" in arguments.classes:
                for shape in inputs.shape_groups(group, self.scratch, self.folder):
                    self._add(shape)
        if "threads" in arguments.classes:
            self._add(*inputs.threads_group(chosen, self.folder))

    def take_turns(self, group, ways):
        return take_turns(group, ways, self.rounds)

    def peak_memory(self, name, group, path, mode):
        """Peak of one file under the engine of that name, or of the stock library."""
        program = self.stock_program if name == "stock" else self.programs[name]

        def worker_of(rows):
            manifest = self.scratch / "one"
            inputs.write_manifest(manifest, rows)
            return Worker(name, program, manifest, self.folder)
        return timing.peak_memory(worker_of, group, path, mode)

    def close(self):
        for worker in [*self.engines, self.stock]:
            worker.close()


# ---- Answers ----

def drop_refused(session, group, measured):
    """Leaves out what a guard refuses: without guards it may not end. Gives how many files."""
    kept = [path for i, path in enumerate(group.paths) if i not in measured.refused]
    dropped = len(group.paths) - len(kept)
    if dropped:
        group.paths = kept
        group.bytes = sum((session.folder / path).stat().st_size for path in kept)
    return dropped


def check_answers(session, recorded, may_record):
    """Compares all answers, and ends the program where they differ."""
    faults, unknown, refused, different = [], 0, 0, []
    for group in session.groups:
        say(f"comparing the answers for {group.name}")
        measured, group_faults = compare(group, session.engines)
        faults += group_faults
        refused += drop_refused(session, group, measured)
        if group.kind == "valid":
            if may_record:
                recorded.record(group, measured.answer())
            is_known, group_faults = compare_recorded(group, measured, recorded)
            unknown += not is_known
            faults += group_faults
    if faults:
        sys.exit("bench: the answers differ, so no time counts:\n  " + "\n  ".join(faults))
    if may_record:
        recorded.write()
    _restart_without_refused(session)
    for group in session.of("valid") if session.tools else ():
        say(f"comparing the tools for {group.name}")
        lines = "".join(path + "\n" for path in group.paths)
        (session.scratch / list_name(group.name)).write_text(lines, "utf-8")
        faults += compare_tools(group, session.tools)
    if faults:
        sys.exit("bench: the tools' answers differ, so no time counts:\n  " + "\n  ".join(faults))
    for group in session.groups:
        if group.paths and nodes_differ(group, session.engines[0], session.stock):
            different.append(group.name)
    groups = len(session.of("valid"))
    print(f"\nAnswers: equal for {', '.join(session.programs)}, for one and two threads, and for "
          f"files and contents in memory. {groups - unknown} of {groups} groups of the folder are "
          f"recorded in {recorded.path.name}, and equal that too.")
    if refused:
        print(f"{refused} files are left out: a guard ended their parse.")
    if different:
        print(f"The stock library reads another tree, or dies: {', '.join(different)}.")


def _restart_without_refused(session):
    session.close()
    session.groups = [group for group in session.groups if group.paths]
    kept = {group.name: set(group.paths) for group in session.groups}
    rows = []
    for name, languages, paths in session._rows:
        pairs = [(path, languages if isinstance(languages, str) else languages[i])
                 for i, path in enumerate(paths) if path in kept.get(name, ())]
        rows.append((name, [language for _, language in pairs], [path for path, _ in pairs]))
    inputs.write_manifest(session.scratch / "manifest", rows)


# ---- Tables ----

def print_valid(session):
    """The whole folder, by language; one table for each engine, all measured together."""
    headings = ["language", "MB", "stock s", "engine s", "ratio", "parse", "own", "in memory",
                "MB/s", "records/s", "peak B/B", "stock's"]
    rows = {engine.name: [] for engine in session.engines}
    totals = {engine.name: [Weighted() for _ in range(4)] for engine in session.engines}
    sums = {engine.name: [0, 0.0, 0.0, 0] for engine in session.engines}
    modes = ("file", "content", "parse", "read")
    for group in session.of("valid"):
        say(f"measuring {group.name}, {group.bytes / 1e6:.2f} MB")
        ways = [Way(session.stock, "parse")]
        ways += [Way(engine, mode) for engine in session.engines for mode in modes]
        stock, *times = session.take_turns(group, ways)
        if stock is None or None in times:
            print(f"{group.name} is left out: a program died on it.")
            continue
        stock_peak = session.peak_memory("stock", group, group.largest, "parse")
        largest = (session.folder / group.largest).stat().st_size
        for i, engine in enumerate(session.engines):
            file, content, parse, read = times[4 * i:4 * i + 4]
            ratio = file.ratio(stock)
            bare = parse.ratio(stock) - read.ratio(stock)
            shares = [ratio, bare, ratio - bare, content.ratio(stock)]
            for total, share in zip(totals[engine.name], shares):
                total.add(share, stock)
            peak = session.peak_memory(engine.name, group, group.largest, "content")
            for j, part in enumerate((group.bytes, stock.cpu, file.cpu, file.records)):
                sums[engine.name][j] += part
            rows[engine.name].append(
                [group.language, number(group.bytes / 1e6), seconds(stock), seconds(file),
                 *map(number, shares), number(group.bytes / 1e6 / file.cpu, ".1f"),
                 whole(file.records / file.cpu),
                 number(peak and peak / largest, ".0f"),
                 number(stock_peak and stock_peak / largest, ".0f")])
    for name, (size, stock, file, records) in sums.items():
        print(f"\n### Valid input, {name}\n")
        rows[name].append(["all", number(size / 1e6), number(stock, ".3f"), number(file, ".3f"),
                           *(number(total.mean()) for total in totals[name]),
                           number(size / 1e6 / file, ".1f"), whole(records / file), "", ""])
        print(markdown(headings, rows[name]))


def print_ratios(session, kind, title, mode, programs):
    """One row for each language, with the ratios of all engines or of all tools."""
    headings = ["language", "files", "MB", "stock s"]
    for program in programs:
        headings += [f"{program.name} s", "ratio", "us/file"]
    rows, totals = [], [Weighted() for _ in programs]
    for group in session.of(kind):
        say(f"measuring {group.name}")
        ways = [Way(session.stock, "parse")] + [Way(program, mode) for program in programs]
        stock, *times = session.take_turns(group, ways)
        row = [group.language, whole(len(group.paths)), number(group.bytes / 1e6), seconds(stock)]
        for total, taken in zip(totals, times):
            ratio = stock and taken and total.add(taken.ratio(stock), stock)
            row += [seconds(taken), number(ratio),
                    whole(taken and taken.cpu / len(group.paths) * 1e6)]
        rows.append(row)
    row = ["all", "", "", ""]
    for total in totals:
        row += ["", number(total.mean()), ""]
    print(f"\n### {title}\n")
    print(markdown(headings, rows + [row]))


def print_navigation(session):
    """One row for each language: the navigation rules beside the standard ones."""
    engine = session.engines[0]
    rows, total = [], Weighted()
    for group in session.of("valid"):
        say(f"measuring {group.name} under both rules")
        standard, navigation = session.take_turns(
            group, [Way(engine, "file"), Way(engine, "navigation")])
        ratio = standard and navigation and total.add(navigation.ratio(standard), standard)
        peaks = [session.peak_memory(engine.name, group, group.largest, mode)
                 for mode in ("file", "navigation")]
        rows.append([group.language, seconds(standard), seconds(navigation), number(ratio),
                     whole(standard.records), whole(navigation.records),
                     number(peaks[1] / max(peaks[0], 1))])
    rows.append(["all", "", "", number(total.mean()), "", "", ""])
    print(f"\n### Navigation rules, {engine.name}\n")
    print(markdown(["language", "standard s", "navigation s", "ratio", "records", "records",
                    "memory x"], rows))


def print_shapes(session):
    """Deep, wide and long inputs: how time and memory grow when the input is twice as long."""
    headings = ["language", "shape", "KB", "stock s", "engine s", "ratio", "time x2", "peak B/B",
                "memory x2"]
    engine = session.engines[0]
    groups = {group.name: group for group in session.of("deep", "wide", "long")}
    rows = []
    for name, once in groups.items():
        twice = groups.get(name.replace("1/", "2/", 1))
        if once is twice or twice is None:
            continue
        say(f"measuring {name}")
        ways = [Way(session.stock, "parse"), Way(engine, "file")]
        (_, short), (stock, double) = (session.take_turns(group, ways) for group in (once, twice))
        peaks = [session.peak_memory(engine.name, group, group.largest, "content")
                 for group in (once, twice)]
        rows.append([once.language, once.kind, whole(twice.bytes / 1e3), seconds(stock),
                     seconds(double), number(stock and double.ratio(stock)),
                     number(double.ratio(short)), number(peaks[1] / twice.bytes, ".0f"),
                     number(peaks[1] / max(peaks[0], 1))])
    print(f"\n### Deep, wide and long input, {engine.name}\n")
    print(markdown(headings, rows))


def print_threads(session):
    """The folder on one thread and on two. The clock on the wall counts here."""
    headings = ["engine", "1 thread s", "2 threads s", "speed-up", "work x"]
    ways = [Way(engine, "file", threads) for engine in session.engines for threads in (1, 2)]
    group = session.of("threads")[0]
    say("measuring one and two threads")
    times = session.take_turns(group, ways)
    rows = []
    for i, engine in enumerate(session.engines):
        one, two = times[2 * i:2 * i + 2]
        rows.append([engine.name, number(one.wall, ".3f"), number(two.wall, ".3f"),
                     number(one.ratio(two, "wall")), number(two.ratio(one))])
    print("\n### Threads\n")
    print(markdown(headings, rows))


def arguments():
    def program(text):
        path = pathlib.Path(text).resolve()  # since it is run in another folder
        if not path.is_file():
            raise argparse.ArgumentTypeError(f"there is no program {path}")
        return str(path)

    def named(text):
        name, _, path = text.rpartition("=")
        return name or "engine", program(path)

    parser = argparse.ArgumentParser(prog="bench/run", description=__doc__.split("\n")[0])
    parser.add_argument("folder", type=pathlib.Path, help="source files, in any arrangement")
    parser.add_argument("--stock", type=program, required=True, help=argparse.SUPPRESS)
    parser.add_argument("--engine", type=named, action="append", required=True,
                        metavar="NAME=PROGRAM", help="an engine_parse of another build, to be "
                        "measured beside the release build's; may be given several times")
    parser.add_argument("--tool", type=named, action="append", default=[],
                        metavar="NAME=PROGRAM", help="the treesitter-engine of the engine NAME; by "
                        "default the one of the same build folder")
    parser.add_argument("--rounds", type=int, default=5, help="of each measurement (default: 5)")
    parser.add_argument("--language", action="append", metavar="NAME",
                        help="only this language; may be given several times")
    parser.add_argument("--classes", type=lambda text: text.split(","), default=CLASSES,
                        help=f"some of {','.join(CLASSES)} (default: all)")
    parser.add_argument("--counts", type=pathlib.Path, required=True, help=argparse.SUPPRESS)
    parser.add_argument("--record", action="store_true",
                        help="record the answers for this folder, for later runs to be held to")
    return parser.parse_args()


def main():
    options = arguments()
    with tempfile.TemporaryDirectory(prefix="bench-") as scratch:
        session = Session(options, scratch)
        try:
            check_answers(session, Recorded(options.counts), options.record)
            if "valid" in options.classes:
                print_valid(session)
            if "tool" in options.classes:
                print_ratios(session, "valid", "Tool", "json", session.tools)
            if "navigation" in options.classes:
                print_navigation(session)
            if "small" in options.classes:
                print_ratios(session, "small", "Files of 1 KB", "file", session.engines)
            if "mismatched" in options.classes:
                print_ratios(session, "mismatched", "Files of other languages", "content",
                             session.engines)
            if "shapes" in options.classes:
                print_shapes(session)
            if "threads" in options.classes:
                print_threads(session)
        finally:
            session.close()


if __name__ == "__main__":
    main()
