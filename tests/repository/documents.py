"""Holds documents to what they say: C++ compiles without warnings, runs, and prints the text beneath it; a CMake project
builds and runs; commands name scripts, programs and options that exist, and the cheap ones run, as do those by which the
README makes packages; links lead somewhere.

documents.py SOURCE DOCUMENTS COMPILER BUILD CHECKOUT PREFIX WORK: the documents are those below the folder DOCUMENTS; what
they speak of is in the checkout SOURCE, its build BUILD, and the installed package PREFIX. The commands of the README's
"In your project" run in CHECKOUT, a copy of SOURCE, with WORK/where as their WHERE.
"""

import concurrent.futures
import json
import os
import pathlib
import re
import shlex
import shutil
import subprocess
import sys
import typing

PATTERNS = ("README.md", "docs/*.md", "docs/guide/*.md", "samples/README.md")
ALL_PATTERNS = PATTERNS + ("*.md", "samples/*.md", "Runtime/*/*/*.md")
FILTERS = {"awk", "head", "od", "printf", "tail"}
SEPARATORS = {"&&", "||", "|", ";", "\n"}
RECIPES = "## In your project\n"
FIRST_LINE = "x = 0.00: +0.342384\n"  # of the first program of the README


class Block(typing.NamedTuple):
    where: str
    language: str
    text: str
    expected: typing.Optional[str]  # the text block beneath


class Wrong(Exception):
    pass


def blocks_of(name, document):
    matches = list(re.finditer(r"^```(\S*)\n(.*?)^```$", document, re.MULTILINE | re.DOTALL))
    found = [match.groups() for match in matches]
    starts = [document[:match.start()].count("\n") + 1 for match in matches]
    if document.count("```") != 2 * len(found):
        raise Wrong(f"{name}: a code block does not begin or end as they do")
    for k, (language, text) in enumerate(found):
        if language == "text":
            if k == 0 or found[k - 1][0] not in ("cpp", "sh"):
                raise Wrong(f"{name}:{starts[k]}: nothing prints this text")
            continue
        expected = found[k + 1][1] if k + 1 < len(found) and found[k + 1][0] == "text" else None
        yield Block(f"{name}:{starts[k]}", language, text, expected)


class Checks:
    def __init__(self, source, documents, compiler, build, checkout, prefix, work):
        self.source, self.documents, self.checkout = map(pathlib.Path, (source, documents, checkout))
        self.build, self.prefix, self.work = map(pathlib.Path, (build, prefix, work))
        self.compiler = compiler
        self.preview = self.build / "tools/noise_preview/noise_preview"

    def run(self, block, command, folder, more=None):
        """What the command prints, with `more` in its environment; complains unless it succeeds."""
        done = subprocess.run(command, cwd=folder, env={**os.environ, **(more or {})}, stdin=subprocess.DEVNULL,
                              capture_output=True, text=True, timeout=480)
        if done.returncode != 0:
            raise Wrong(f"{block.where}: {command[0]} ends with {done.returncode}\n{done.stdout}{done.stderr}")
        return done.stdout

    def folder_of(self, block):
        folder = self.work / re.sub(r"[/:]", "-", block.where)
        folder.mkdir(parents=True)
        return folder

    def compare(self, block, printed):
        if block.expected is not None and printed != block.expected:
            raise Wrong(f"{block.where}: prints another text than stands beneath it:\n{printed}")

    def check_cpp(self, block):
        folder = self.folder_of(block)
        (folder / "main.cpp").write_text(block.text)
        flags = ["-std=c++17", "-O1", "-Wall", "-Wextra", "-Werror", "-pthread", f"-I{self.prefix}/include"]
        libraries = [f"-L{self.prefix}/lib", f"-Wl,-rpath,{self.prefix}/lib", "-lzr_maths", "-lzr_support"]
        self.run(block, [self.compiler, *flags, "main.cpp", "-o", "program", *libraries], folder)
        self.compare(block, self.run(block, ["./program"], folder))

    def project_of(self, block):
        """The block; where it is a part of a project, that of the README with it in the place of the package."""
        text = block.text.replace("/path/to/this/checkout", str(self.source))
        if "project(" in text:
            return text
        whole = next((other.text for other in blocks_of("README.md", (self.source / "README.md").read_text())
                      if other.language == "cmake" and "project(" in other.text), "")
        project, count = re.subn(r"^find_package\(.*\n", lambda match: text, whole, flags=re.MULTILINE)
        if count != 1:
            raise Wrong(f"{block.where}: the README has no project that this could be a part of")
        return project

    def check_cmake(self, block):
        """The project, with the first program of the README as its own."""
        folder = self.folder_of(block)
        (folder / "CMakeLists.txt").write_text(self.project_of(block))
        shutil.copy(self.source / "samples/first_field/first_field.cpp", folder / "main.cpp")
        self.run(block, ["cmake", "-S", ".", "-B", "build", "-G", "Ninja", f"-DCMAKE_CXX_COMPILER={self.compiler}",
                         f"-DCMAKE_PREFIX_PATH={self.prefix}"], folder)
        self.run(block, ["cmake", "--build", "build"], folder)
        self.check_program(block, folder / "build/your_program")

    def check_program(self, block, program, more=None):
        """Whether it is there, and gives the samples of the README's first program."""
        if not program.is_file() or not self.run(block, [str(program)], self.work, more).startswith(FIRST_LINE):
            raise Wrong(f"{block.where}: its program does not give the samples that it should")

    def check_recipes(self):
        """Runs what the README says of making and using packages, one after the other, and looks at what that gives."""
        before, heading, rest = (self.documents / "README.md").read_text().partition(RECIPES)
        section = heading + rest.partition("\n## ")[0]
        where = str(self.work / "where")
        environment = {name: value.replace("WHERE", where)
                       for name, value in re.findall(r"`([A-Z_]+_PATH)=([^`]+)`", section)}
        shutil.copy(self.source / "samples/first_field/first_field.cpp", self.checkout / "main.cpp")
        lines_before = "\n" * before.count("\n")  # so that places are told as they are in the document
        for block in blocks_of("README.md", lines_before + section):
            if block.language == "sh":
                self.check_recipe(block, where, environment)

    def check_recipe(self, block, where, environment):
        commands = list(self.commands_of(block.text))
        programs = {command[0] for command in commands}
        if not programs <= {"cmake", "cpack", "g++"}:
            raise Wrong(f"{block.where}: is no recipe that could be tried")
        if any("--install" in command and "WHERE" not in " ".join(command) for command in commands):
            raise Wrong(f"{block.where}: is not tried, for it installs into the system")
        program = self.checkout / "your_program"
        for old in (program, *self.checkout.glob("build/*.deb")):
            old.unlink(missing_ok=True)
        script = block.text.replace("WHERE", where)
        self.run(block, ["bash", "-euo", "pipefail", "-c", script], self.checkout, environment)
        if "g++" in programs:
            self.check_program(block, program, environment)
        if "cpack" in programs and not list(self.checkout.glob("build/*.deb")):
            raise Wrong(f"{block.where}: makes no package for Debian")

    def commands_of(self, text):
        """The commands of a script as lists of words, without what they are redirected to."""
        without_comments = re.sub(r"(^| )# .*$", "", text.replace("\\\n", " "), flags=re.MULTILINE)
        words = shlex.shlex(without_comments, posix=True, punctuation_chars="<>|&;\n")
        words.whitespace, words.whitespace_split, words.commenters = " \t", True, ""
        command, redirected = [], False
        for word in [*words, "\n"]:
            if word.strip("\n") == "" or word in SEPARATORS:
                if command:
                    yield command
                command = []
            elif set(word) <= set("<>"):
                redirected = True
            elif redirected:
                redirected = False
            else:
                command.append(word)

    def check_options(self, block, options, known, name):
        for option in options:
            if not re.search(re.escape(option) + r"(?![\w-])", known):
                raise Wrong(f"{block.where}: {name} has no option {option}")

    def check_command(self, block, command):
        """Whether what it names exists; says whether it is cheap to run."""
        program = command[0]
        options = [word.split("=")[0] for word in command[1:] if word.startswith("--")]
        if program in ("scripts/preview.sh", "build/release/tools/noise_preview/noise_preview"):
            self.check_options(block, options, self.run(block, [str(self.preview), "--help"], self.work), "noise_preview")
            return bool(command[1:]) and "--help" not in options
        if program.startswith("scripts/"):
            script = self.source / program
            if not script.is_file():
                raise Wrong(f"{block.where}: there is no {program}")
            self.check_options(block, options, script.read_text(), program)
            return program.endswith("diagrams.py")
        if program.startswith("build/release/"):
            if not (self.build / program[len("build/release/"):]).is_file():
                raise Wrong(f"{block.where}: there is no {program}")
            return True
        if shutil.which(program) is None:
            raise Wrong(f"{block.where}: there is no program {program}")
        if program == "cmake":
            self.check_presets(block, command)
        return program in FILTERS

    def check_presets(self, block, command):
        presets = json.loads((self.source / "CMakePresets.json").read_text())["configurePresets"]
        names = {preset["name"] for preset in presets if not preset.get("hidden")}
        named = [after for word, after in zip(command, command[1:]) if word == "--preset"]
        named += [word[len("build/"):] for word in command if word.startswith("build/")]
        for name in named:
            if name not in names:
                raise Wrong(f"{block.where}: there is no preset {name}")

    def check_sh(self, block):
        folder = self.folder_of(block)
        (folder / "commands.sh").write_text(block.text)
        self.run(block, ["bash", "-n", "commands.sh"], folder)
        cheap = [self.check_command(block, command) for command in self.commands_of(block.text)]
        if all(cheap):
            self.make_checkout(folder)
            self.compare(block, self.run(block, ["bash", "-euo", "pipefail", "commands.sh"], folder))
        elif block.expected is not None:
            raise Wrong(f"{block.where}: is not run, but has a text beneath it")

    def make_checkout(self, folder):
        """Where commands find what they would find in the checkout, and write without touching it."""
        (folder / "build").mkdir()
        (folder / "build/release").symlink_to(self.build)
        shutil.copytree(self.source / "scripts", folder / "scripts")
        (folder / "scripts/preview.sh").write_text(f'#!/usr/bin/env bash\nexec "{self.preview}" --output build/ "$@"\n')
        for pictures in ("guide", "samples"):
            (folder / "docs/pictures" / pictures).mkdir(parents=True)

    def check_links(self, path):
        """Every link to a file, and to a heading in one."""
        name = path.relative_to(self.documents)
        for target in re.findall(r"\]\(([^)\s]*)\)", prose_of(path)):
            if re.match(r"[a-z]+:", target):
                continue
            file, _, heading = target.partition("#")
            found = path if file == "" else path.parent / file
            if not found.exists():
                raise Wrong(f"{name} names {target}, which does not exist")
            if heading and heading not in anchors_of(found):
                raise Wrong(f"{name} names {target}, where there is no such heading")

    def paths(self, patterns):
        return sorted({path for pattern in patterns for path in self.documents.glob(pattern)})

    def check_all(self):
        self.check_recipes()
        blocks = []
        for path in self.paths(PATTERNS):
            blocks += blocks_of(str(path.relative_to(self.documents)), path.read_text())
        checks = {"cpp": self.check_cpp, "cmake": self.check_cmake, "sh": self.check_sh}
        for block in blocks:
            if block.language not in checks:
                raise Wrong(f"{block.where}: nothing checks blocks in '{block.language}'")
        with concurrent.futures.ThreadPoolExecutor(2) as pool:
            for done in [pool.submit(checks[block.language], block) for block in blocks]:
                done.result()
        for path in self.paths(ALL_PATTERNS):
            self.check_links(path)
        counts = [f"{sum(block.language == language for block in blocks)} of {language}" for language in checks]
        print(f"{len(self.paths(PATTERNS))} documents, code blocks: {', '.join(counts)}")


def prose_of(path):
    """A document without its code blocks."""
    return re.sub(r"^```.*?^```$", "", path.read_text(), flags=re.MULTILINE | re.DOTALL)


def anchors_of(path):
    """The names that code hosting sites give to headings."""
    headings = re.findall(r"^#+ (.*)$", prose_of(path), re.MULTILINE)
    return {re.sub(r"[^\w\- ]", "", heading.lower()).replace(" ", "-") for heading in headings}


if __name__ == "__main__":
    try:
        Checks(*sys.argv[1:]).check_all()
    except Wrong as wrong:
        sys.exit(str(wrong))
