"""Makes each mutant of the libraries' sources, builds it and runs the tests: one of them should fail.

In a copy of the tree, what depends on the changed file is compiled anew; test programs are linked and run, the quick
ones first, until one fails.
"""

import argparse
import collections
import concurrent.futures
import fnmatch
import glob
import json
import os
import random
import shutil
import sys
import threading
import time

from building import BASE, BUILDS, ROOT, WORK, Build, digest_of, say, stop
from equivalents import LIST, read_list, written
from mutants import mutants_of

SOURCES = ["Runtime/*/src/**/*.cpp", "Runtime/*/src/**/*.h", "Runtime/*/include/**/*.h"]

# The outcomes of a mutant: the columns of the table.
KILLED, SAME, LISTED, SURVIVED, REFUSED = OUTCOMES = (
    "killed", "same code", "listed", "survived", "no compile")


class Worker:
    def __init__(self, number):
        self.tree = WORK / f"worker-{number}"
        shutil.rmtree(self.tree, ignore_errors=True)
        shutil.copytree(BASE, self.tree)

    def try_mutant(self, mutant, build):
        """Returns the outcome, and the test that failed."""
        path = self.tree / mutant.file
        path.write_text(mutant.text)
        affected = [unit for unit in build.units if mutant.file in unit.dependencies]
        try:
            return self._outcome(mutant.file, affected, build)
        finally:
            shutil.copy(BASE / mutant.file, path)
            for unit in affected:
                shutil.copy(BASE / unit.object, self.tree / unit.object)

    def _outcome(self, file, affected, build):
        stale = set(affected)
        for program in build.quick_programs(file):
            outcome, by = self._run(program, stale)
            if outcome != SURVIVED:
                return outcome, by
        # Public headers are compiled into the tests, too.
        if self._is_same([unit for unit in affected if not unit.is_test or "/include/" in file], build):
            return SAME, ""
        for program in build.other_programs(file):
            outcome, by = self._run(program, stale)
            if outcome != SURVIVED:
                return outcome, by
        return SURVIVED, ""

    def _run(self, program, stale):
        """Brings a program up to date and runs it, if the change alters it."""
        for unit in program.units + program.libraries:
            if unit in stale:
                if not unit.compile(self.tree)[0]:
                    return REFUSED, ""
                stale.discard(unit)
        binary = program.link(self.tree)
        if binary is None:
            return REFUSED, ""
        if (BASE / binary.relative_to(self.tree)).read_bytes() == binary.read_bytes():
            return SURVIVED, ""
        passed, failure = program.passes(binary, self.tree)
        return (SURVIVED, "") if passed else (KILLED, failure)

    def _is_same(self, units, build):
        """Whether the optimised machine code is unchanged."""
        for unit in units:
            compiled, _ = unit.compile(self.tree, "released.o")
            if not compiled or (self.tree / "released.o").read_bytes() != build.reference(unit):
                return False
        return True


class Results:
    """Results, kept in a file, so that a run can be continued: valid until the source changes, and for a survivor that
    is not listed, until the tests change."""

    def __init__(self, tests, listed, fresh):
        self.file = WORK / "results.jsonl"
        self.tests, self.listed = tests, listed
        self.known = {}
        self.lock = threading.Lock()
        if fresh:
            self.file.unlink(missing_ok=True)
        if self.file.exists():
            for line in self.file.read_text().splitlines():
                key, outcome, by, its_tests = json.loads(line)
                self.known[tuple(key)] = outcome, by, its_tests

    def get(self, key):
        outcome, _, its_tests = self.known.get(key, (None, None, None))
        return outcome if outcome != SURVIVED or its_tests == self.tests or key[:4] in self.listed else None

    def put(self, key, outcome, by):
        with self.lock, self.file.open("a") as file:
            self.known[key] = outcome, by, self.tests
            file.write(json.dumps([key, outcome, by, self.tests]) + "\n")


class Progress:
    def __init__(self, total):
        self.total, self.done, self.start, self.shown = total, 0, time.monotonic(), 0.0
        self.counts = collections.Counter()
        self.lock = threading.Lock()

    def add(self, outcome):
        with self.lock:
            self.done += 1
            self.counts[outcome] += 1
            now = time.monotonic()
            if now - self.shown < 15 and self.done < self.total:
                return
            self.shown = now
            left = (now - self.start) / self.done * (self.total - self.done)
            counts = ", ".join(f"{self.counts[name]} {name}" for name in OUTCOMES if self.counts[name])
            say(f"{self.done} of {self.total} mutants: {counts}; {left / 60:.0f} min left")


def copy_tree():
    BASE.mkdir(parents=True, exist_ok=True)
    for name in ("CMakeLists.txt", "cmake", "Runtime", "tests"):
        source, target = ROOT / name, BASE / name
        if source.is_dir():
            shutil.rmtree(target, ignore_errors=True)
            shutil.copytree(source, target)
        else:
            shutil.copy(source, target)
    shutil.rmtree(BASE / "released", ignore_errors=True)


def files_of(patterns):
    files = sorted({os.path.relpath(path, ROOT) for pattern in SOURCES
                    for path in glob.glob(str(ROOT / pattern), recursive=True)})
    chosen = {pattern: fnmatch.filter(files, f"*{pattern}") for pattern in patterns or [""]}
    for pattern, found in chosen.items():
        if not found:
            stop(f"--file: no source of the libraries ends in '{pattern}'")
    return sorted({file for found in chosen.values() for file in found})


def builds_for(files, jobs):
    """The first build that compiles each file."""
    chosen = {}
    for name in BUILDS:
        missing = [file for file in files if file not in chosen]
        if missing:
            build = Build(name, jobs)
            chosen.update((file, build) for file in missing
                          if any(file in unit.dependencies for unit in build.units))
    for file in sorted(set(files) - set(chosen)):
        say(f"{file} is not compiled on this machine")
    return chosen


def arguments():
    class Parser(argparse.ArgumentParser):
        def error(self, message):
            stop(message)

    parser = Parser(prog="mutate.sh", description="Changes the libraries' sources, one small change at a time, and "
                    "shows which changes no test notices.", epilog="Results are kept in build/mutation until "
                    "the source changes: an interrupted run can be continued.")
    parser.add_argument("--file", action="append", metavar="END", help="only sources with this end of the path; may "
                        "be repeated, and contain * and ?")
    parser.add_argument("--sample", type=int, metavar="N", help="only N mutants, always the same random ones")
    parser.add_argument("--fresh", action="store_true", help="forget the results of former runs")
    given = parser.parse_args()
    if given.sample is not None and given.sample < 1:
        stop("--sample takes a number from 1 on")
    return given


def try_all(mutants, builds, results, jobs):
    """Tries the mutants, by their keys, that have no result yet, in parallel."""
    waiting = collections.deque(key for key in mutants if results.get(key) is None)
    say(f"{len(mutants)} mutants, of which {len(mutants) - len(waiting)} are known")
    progress = Progress(len(waiting))
    stopped = threading.Event()

    def work(number):
        worker = Worker(number)
        while not stopped.is_set():
            try:
                key = waiting.popleft()
            except IndexError:
                return
            outcome, by = worker.try_mutant(mutants[key], builds[mutants[key].file])
            results.put(key, outcome, by)
            progress.add(outcome)

    with concurrent.futures.ThreadPoolExecutor(jobs) as pool:
        running = [pool.submit(work, number) for number in range(min(jobs, len(waiting)))]
        try:
            for future in concurrent.futures.as_completed(running):
                future.result()
        finally:
            stopped.set()


def show_table(counts):
    width = max(map(len, [*counts, "all"]))
    print(f"{'':{width}}" + "".join(f"{name:>12}" for name in OUTCOMES) + f"{'all':>8}")
    for file, row in [*sorted(counts.items()), ("all", sum(counts.values(), collections.Counter()))]:
        print(f"{file:{width}}" + "".join(f"{row[name]:12}" for name in OUTCOMES) + f"{sum(row.values()):8}")


def main():
    given = arguments()
    try:
        reasons = read_list(LIST.read_text())
    except ValueError as error:
        stop(f"{LIST.relative_to(ROOT)}: {error}")
    files = files_of(given.file)
    copy_tree()
    texts = {file: (BASE / file).read_text() for file in files}
    mutants = [mutant for file, text in texts.items() for mutant in mutants_of(file, text)]
    made = {mutant[:4] for mutant in mutants}
    stale = [key for key in reasons if key not in made and (key[0] in texts or not (ROOT / key[0]).exists())]
    jobs = os.cpu_count()
    builds = builds_for(sorted({mutant.file for mutant in mutants}), jobs)
    mutants = [mutant for mutant in mutants if mutant.file in builds]
    if not mutants:
        stop("these sources have nothing to change on this machine")
    if given.sample is not None:
        mutants = random.Random(1).sample(mutants, min(given.sample, len(mutants)))
    by_key = {(*mutant[:4], digest_of(texts[mutant.file])): mutant for mutant in mutants}
    tests = sorted(path for path in BASE.glob("Runtime/*/tests/**/*") if path.is_file())
    results = Results(digest_of(*(path.read_text() for path in tests)), reasons, given.fresh)
    try_all(by_key, builds, results, jobs)

    counts, survivors = collections.defaultdict(collections.Counter), []
    for key, mutant in by_key.items():
        outcome, is_listed = results.get(key), mutant[:4] in reasons
        if is_listed and outcome == KILLED:
            stale.append(mutant[:4])
        if outcome == SURVIVED and is_listed:
            outcome = LISTED
        elif outcome == SURVIVED:
            survivors.append(mutant[:4])
        counts[mutant.file][outcome] += 1
    show_table(counts)
    for key in survivors:
        print("\nsurvived: " + written(key))
    for key in stale:
        print(f"\nin {LIST.name}, but killed or not made any more: " + written(key))
    return 1 if survivors or stale else 0


try:
    sys.exit(main())
except KeyboardInterrupt:
    stop("interrupted; the next run continues")
