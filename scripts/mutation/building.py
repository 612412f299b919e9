"""Builds and runs the libraries' tests, with or without a change in one source.

CMake gives the commands, the compiler the dependencies.
"""

import concurrent.futures
import hashlib
import json
import math
import os
import pathlib
import re
import shlex
import signal
import subprocess
import sys
import threading
import time

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent
WORK = ROOT / "build" / "mutation"
# A copy of the tree, built without changes. Each worker has a copy of it.
BASE = WORK / "base"

BUILDS = {"native": [], "portable": ["-DVESTREL_PORTABLE_SIMD=ON"]}

# The test of the pinned bits, which a Debug build runs with few results. Long tests are not built: what only they would
# notice counts as survived.
PINNED = "zr_maths_pinned_bits_tests"

# Compiling takes most of the time: the libraries half as long without inlining and optimisation, the tests less than
# half as long with a precompiled header. An index out of bounds ends a program, and so does the conversion of a float
# beyond the integers.
QUICK_LIBRARY = ["-O0", "-Dalways_inline=unused", "-D_GLIBCXX_ASSERTIONS", "-fsanitize=bounds,float-cast-overflow",
                 "-fsanitize-undefined-trap-on-error"]
INCLUDED_BY_TESTS = "#include <gtest/gtest.h>\n#include <random>\n"
PRECOMPILED = WORK / "precompiled" / "tests.h"

# A link statement in Ninja's build file: the executable, its objects and more, and its variables.
LINK_STATEMENT = re.compile(r"^build (Runtime/\S*/tests/\S+): CXX_EXECUTABLE_LINKER\S* (.*)\n((?:  .*\n)*)", re.MULTILINE)


def say(text):
    print(text, file=sys.stderr, flush=True)


def stop(text):
    say("mutate.sh: " + text)
    sys.exit(1)


def digest_of(*parts):
    return hashlib.sha256("\0".join(parts).encode()).hexdigest()


def run_tool(command, folder=None):
    """Runs a tool, and returns whether it succeeded, and its output. Ctrl-C does not reach it: an interruption must
    not count as an error of a mutant."""
    result = subprocess.run(command, cwd=folder, capture_output=True, text=True, start_new_session=True)
    if result.returncode not in (0, 1):
        raise RuntimeError(f"{command[0]} ended with {result.returncode}: {result.stderr}")
    return result.returncode == 0, result.stdout + result.stderr


class Unit:
    """A source file and its command, in the base tree or a worker's."""

    def __init__(self, entry, build):
        self.command = shlex.split(entry["command"]) + [f"-fmacro-prefix-map={WORK}=", "-fmax-errors=1"]
        self.folder = entry["directory"]
        self.source = str(pathlib.Path(entry["file"]).relative_to(BASE))
        self.object = str(pathlib.Path(self.folder, self.command[self.command.index("-o") + 1]).relative_to(BASE))
        self.target = re.search(r"/(\w+)\.dir/", self.object).group(1)
        self.build = build
        self.is_test = "/tests/" in self.source
        self.quick = QUICK_LIBRARY if not self.is_test else []
        if "<gtest/gtest.h>" in (BASE / self.source).read_text():
            self.quick = ["-include", str(PRECOMPILED)]
        self.dependencies = set()
        self.seconds = 0.0

    def compile(self, tree, released=None, extra=()):
        """Returns whether it compiles, and the messages. An object `released` is optimised."""
        target = tree / (released or self.object)
        target.parent.mkdir(parents=True, exist_ok=True)
        command = [word.replace(str(BASE), str(tree)) for word in self.command]
        command[command.index("-o") + 1] = str(target)
        return run_tool([*command, *(["-O2"] if released else self.quick), *extra],
                        self.folder.replace(str(BASE), str(tree)))

    def compile_base(self):
        """Compiles in the base tree, unless it is up to date, and notes the time and the dependencies."""
        target, note = BASE / self.object, BASE / (self.object + ".json")
        if target.exists() and note.exists():
            self.seconds, names, digest = json.loads(note.read_text())
            if digest == self._digest(names):
                self.dependencies = set(names)
                return
        listed = target.with_suffix(".d")
        start = time.monotonic()
        compiled, messages = self.compile(BASE, extra=["-MMD", "-MF", str(listed)])
        if not compiled:
            stop(f"{self.source} does not compile:\n{messages}")
        self.seconds = time.monotonic() - start
        # Blanks in a path are escaped.
        words = re.findall(r"(?:\\.|\S)+", listed.read_text().replace("\\\n", " "))[1:]
        paths = [pathlib.Path(self.folder, re.sub(r"\\(.)", r"\1", word)).resolve() for word in words]
        names = sorted({str(path.relative_to(BASE)) for path in paths if path.is_relative_to(BASE)})
        self.dependencies = set(names)
        note.write_text(json.dumps([self.seconds, names, self._digest(names)]))

    def _digest(self, names):
        files = [BASE / name for name in names]
        if not all(file.exists() for file in files):
            return None
        return digest_of(*self.command, *self.quick, INCLUDED_BY_TESTS, *(file.read_text() for file in files))


class Program:
    """Test sources, linked with the libraries if they need them. `seconds` is the time of a run."""

    def __init__(self, name, units, libraries, link_words):
        self.name, self.units, self.libraries, self.seconds = name, units, libraries, 60.0
        self.link_words = link_words

    def of_one(self, unit):
        """A program of one source, which need not have a main."""
        return Program("alone-" + pathlib.Path(unit.source).stem, [unit], self.libraries, self.link_words)

    def measure(self):
        """Links and runs it in the base tree. Returns whether it links."""
        libraries, self.libraries = self.libraries, []
        binary = self.link(BASE)
        if binary is None:
            self.libraries = libraries
            binary = self.link(BASE)
        if binary is None:
            return False
        start = time.monotonic()
        passed, failure = self.passes(binary, BASE)
        if not passed:
            stop(f"{self.name} fails without any change: {failure}")
        self.seconds = time.monotonic() - start
        return True

    def link(self, tree):
        """Returns the program, or None if it does not link."""
        target = tree / f"bin-{self.units[0].build}" / self.name
        target.parent.mkdir(exist_ok=True)
        archives = {}
        for library in {unit.target for unit in self.libraries}:
            archives[library] = target.parent / f"lib{library}.a"
            archives[library].unlink(missing_ok=True)
            objects = [str(tree / unit.object) for unit in self.libraries if unit.target == library]
            run_tool(["ar", "rcsD", str(archives[library]), *objects])
        words = []
        for word in self.link_words:
            own = re.fullmatch(r"Runtime/.*/lib(\w+)\.a", word)
            words += [str(archives[own[1]])] if own and own[1] in archives else [] if own else [word]
        linked, _ = run_tool(["g++", "-o", str(target), *(str(tree / unit.object) for unit in self.units), *words])
        return target if linked else None

    def passes(self, binary, tree):
        """Whether its tests pass, in at most ten times their usual processor time, and what failed. The hour of wall
        time is for a program that sleeps."""
        limit = math.ceil(5 + 10 * self.seconds)
        environment = {k: v for k, v in os.environ.items() if not k.startswith("GTEST_")}
        process = subprocess.Popen(
            ["prlimit", f"--cpu={limit}", "--core=0", f"--as={24 << 30}", f"--fsize={64 << 20}", "--", str(binary),
             "--gtest_fail_fast", "--gtest_brief=1"],
            cwd=tree, env=environment, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, start_new_session=True)
        try:
            output, _ = process.communicate(timeout=3600)
        except subprocess.TimeoutExpired:
            os.killpg(process.pid, signal.SIGKILL)
            process.communicate()
            return False, "timeout"
        failed = re.search(rb"\[  FAILED  \] ([^\s,]+)", output)
        return process.returncode == 0, failed.group(1).decode() if failed else f"status {process.returncode}"


class Build:
    """The libraries and their tests with one set of CMake options."""

    def __init__(self, name, jobs):
        self.name = name
        folder = BASE / f"build-{name}"
        self._configure(folder)
        entries = json.loads((folder / "compile_commands.json").read_text())
        units = [Unit(entry, name) for entry in entries if entry["file"].startswith(str(BASE / "Runtime"))]
        self.libraries = [unit for unit in units if "/src/" in unit.source]
        self.programs = self._programs(folder, {unit.object: unit for unit in units})
        self.units = list(dict.fromkeys([*self.libraries, *(unit for program in self.programs.values()
                                                            for unit in program.units)]))
        # Tests that are also a program by themselves, by the names of their sources.
        self.alone = {}
        self.reference_lock = threading.Lock()
        self._make(jobs)

    def _configure(self, folder):
        configured, messages = run_tool(
            ["cmake", "-S", str(BASE), "-B", str(folder), "-G", "Ninja", "-DCMAKE_CXX_COMPILER=g++",
             "-DCMAKE_BUILD_TYPE=Debug", "-DCMAKE_CXX_FLAGS_DEBUG=-O1 -DNDEBUG",
             "-DCMAKE_EXPORT_COMPILE_COMMANDS=ON", "-DCMAKE_DISABLE_PRECOMPILE_HEADERS=ON",
             "-DVESTREL_BUILD_TESTS=ON", "-DVESTREL_BUILD_LONG_TESTS=OFF", "-DVESTREL_BUILD_REPLAYS=OFF",
             "-DVESTREL_BUILD_TOOLS=OFF", "-DVESTREL_BUILD_SAMPLES=OFF",
             "-DVESTREL_BUILD_BENCHMARKS=OFF", *BUILDS[self.name]])
        if not configured:
            stop(f"configuring failed:\n{messages}")

    def _programs(self, folder, units):
        """The test programs by their names, from the build file."""
        programs = {}
        for path, inputs, variables in LINK_STATEMENT.findall((folder / "build.ninja").read_text()):
            name = pathlib.Path(path).name
            prefix = f"{folder.relative_to(BASE)}/"
            members = [units[prefix + word] for word in inputs.split(" | ")[0].split()]
            settings = dict(re.findall(r"^  (\w+) = (.*)$", variables, re.MULTILINE))
            words = (settings.get("LINK_FLAGS", "") + " " + settings.get("LINK_LIBRARIES", "")).split()
            if any("gtest" in word for word in words):
                programs[name] = Program(name, members, self.libraries, words)
        if PINNED not in programs:
            stop(f"there is no test program {PINNED} any more")
        return programs

    def _make(self, jobs):
        say(f"building the unchanged tests ({self.name})")
        self._precompile()
        with concurrent.futures.ThreadPoolExecutor(jobs) as pool:
            list(pool.map(Unit.compile_base, self.units))
        for program in self.programs.values():
            if not program.measure():
                stop(f"{program.name} cannot be linked")
            for unit in program.units if program.name != PINNED else []:
                alone = program.of_one(unit)
                if unit.source.endswith("_test.cpp") and alone.measure():
                    self.alone[pathlib.Path(unit.source).stem] = alone

    def _precompile(self):
        PRECOMPILED.parent.mkdir(exist_ok=True)
        PRECOMPILED.write_text(INCLUDED_BY_TESTS)
        test = next(unit for unit in self.units if unit.quick[:1] == ["-include"])
        command = test.command[:test.command.index("-o")]
        run_tool([*command, "-x", "c++-header", str(PRECOMPILED), "-o", f"{PRECOMPILED}.gch"], test.folder)

    def quick_programs(self, file):
        """The pinned bits and the test of that source: those most likely to fail."""
        stem = "simd_float4" if "/simd/" in file else pathlib.Path(file).stem
        mirrors = [self.alone[stem + "_test"]] if stem + "_test" in self.alone else []
        return self._cheapest_first([*mirrors, self.programs[PINNED]], file)

    def other_programs(self, file):
        return self._cheapest_first([p for name, p in self.programs.items() if name != PINNED], file)

    @staticmethod
    def _cheapest_first(programs, file):
        def cost(program):
            units = program.units + program.libraries
            return program.seconds + sum(unit.seconds for unit in units if file in unit.dependencies)
        return sorted(programs, key=cost)

    def reference(self, unit):
        """The optimised object of an unchanged source."""
        name = "released/" + unit.object
        with self.reference_lock:
            if not (BASE / name).exists():
                unit.compile(BASE, name)
        return (BASE / name).read_bytes()
