#!/usr/bin/python3
"""Writes generated text into the documents, between markers. With --check it compares instead, and follows every link.

documents.py [--check] BUILD

<!-- figures: NAME -->  a table or number from docs/performance/summary.json; `range` is sampled by noise_preview of BUILD
<!-- file: PATH -->     a program, a script, or what it prints
<!-- picture: PATH -->  the command by which scripts/pictures.sh makes it
<!-- end -->            ends each of them
"""

import difflib
import json
import pathlib
import re
import subprocess
import sys
import tempfile

ROOT = pathlib.Path(__file__).resolve().parent.parent
sys.dont_write_bytecode = True
sys.path.append(str(ROOT / "scripts/benchmarks"))
import charts  # noqa: E402

DOCUMENTS = ("*.md", "docs/*.md", "docs/guide/*.md", "samples/*.md", "Runtime/*/*/*.md")
MARKED = re.compile(r"<!-- (\w+): (\S+) -->(.*?)<!-- end -->", re.DOTALL)
LANGUAGES = {".cpp": "cpp", ".cmake": "cmake", "CMakeLists.txt": "cmake", ".sh": "sh", ".txt": "text"}
QUALITIES = ("linear", "cubic", "quintic")
LEVELS = ("AVX-512", "AVX2", "four lanes")


def table(*rows):
    """Rows of cells; the first row is the head."""
    lines = ["| " + " | ".join(row) + " |" for row in rows]
    return "\n".join([lines[0].replace("|  |", "| |"), "|" + "---|" * len(rows[0]), *lines[1:]])


def fenced(language, text):
    return f"```{language}\n{text}```"


def nanoseconds(value):
    return f"{value:.{2 if value < 2 else 1 if value < 100 else 0}f}"


class Figures:
    """Text by name. Ratios are those of medians within one run."""

    def __init__(self, preview):
        self.preview = preview
        self.summary = charts.Summary(json.loads((ROOT / "docs/performance/summary.json").read_text())["benchmarks"])
        self.median = self.summary.median

    def times(self, dimension, quality):
        return [self.summary.of(level, f"Sample{quality.capitalize()}{dimension}D") for level in LEVELS]

    def speed(self):
        rows = [("", *LEVELS, "plain loop", "plain loop : AVX-512", "plain loop : four lanes")]
        for dimension in range(1, 5):
            for quality in QUALITIES:
                times = self.times(dimension, quality)
                loop = self.median(f"Sample{quality.capitalize()}{dimension}D/plain loop/4096")
                rows.append((f"{dimension}D {quality}", *(f"{time:.2f}" for time in (*times, loop)),
                             f"{loop / times[0]:.1f}", f"{loop / times[2]:.1f}"))
        return table(*rows)

    def operations(self):
        rows = [("nanoseconds, in the same run", "", "compared with", "", "ratio")]
        for ours, other, name in (
                ("`SampleQuintic`, one 3D position", "the same in plain code", "SampleQuintic/{}: in plain code"),
                ("`CoherentSampleQuintic`, four positions", "`SampleQuintic`, one position",
                 "CoherentSampleQuintic/{}: SampleQuintic"),
                ("`Sample1stOrderDerivativesQuintic`, one", "the same in plain code", "Derivatives, quintic/{}: in plain code"),
                ("the same in a batch, each", "the same as a plain loop", "Derivatives in a batch, quintic/{}: plain loop"),
                ("`RotateBasis`, all 256 values", "the same with the C library's `sinf`",
                 "RotateBasis, all 256 entries/{}: with sinf"),
                ("the same after 10,000 turns", "likewise", "RotateBasis, after 10000 turns/{}: with sinf"),
                ("`SinStream_Aligned16`, each", "SLEEF's 3.5 ULP sine (uses AVX2)", "SinStream_Aligned16/{}: SLEEF, 3.5 ULP"),
                ("`ArcSinStream_Aligned16`, each", "the C library's `asinf`", "ArcSinStream_Aligned16/{}: asinf")):
            times = [self.median(name.format(side)) for side in ("beside", "other")]
            rows.append((ours, nanoseconds(times[0]), other, nanoseconds(times[1]), f"{times[1] / times[0]:.1f}"))
        return table(*rows)

    def measurements(self):
        return charts.tables(self.summary).rstrip()

    def costs(self):
        """Of AVX-512, and of four lanes in brackets."""
        rows = [("", "linear", "cubic : linear", "quintic : linear", "linear : 1D linear")]
        for dimension in range(1, 5):
            linear, *others = (self.times(dimension, quality) for quality in QUALITIES)
            base = self.times(1, "linear")
            ratios = [f"{times[0] / linear[0]:.2f} ({times[2] / linear[2]:.2f})" for times in others]
            to_base = "1" if dimension == 1 else f"{linear[0] / base[0]:.1f} ({linear[2] / base[2]:.1f})"
            rows.append((f"{dimension}D", "1", *ratios, to_base))
        return table(*rows)

    def call(self, count):
        one, many = (self.median(f"SampleCubic3D/four at a time/{k}") for k in (count, 4096))
        return f"{one / many:.1f}"

    def call_of_1(self):
        return self.call(1)

    def call_of_64(self):
        return self.call(64)

    def memory(self):
        sample, stream = self.summary.of("AVX-512", "counts/4194304"), self.median("stream/4194304")
        return (f"At 4 million positions a 3D cubic sample takes {sample / stream:.1f} times as long as reading its position "
                f"and writing it:\n{sample:.2f} ns instead of {stream:.2f}.")

    def range(self):
        """Percentages near 0, at the positions that the page names."""
        rows = [("", "±0.25", "±0.5", "±0.75", "lowest and highest")]
        factors = (0.8566748839, 0.7338918566, 0.6287067210, 0.5385972572)
        with tempfile.TemporaryDirectory() as work:
            for dimension in range(1, 5):
                positions = pathlib.Path(work) / "positions.csv"
                positions.write_text("".join(
                    ",".join(f"{256 * (k * factor % 1):.6f}" for factor in factors[:dimension]) + "\n" for k in range(200000)))
                rows += [(f"{dimension}D {quality}", *self.spread(positions, quality)) for quality in QUALITIES]
        return table(*rows)

    def spread(self, positions, quality):
        done = subprocess.run([self.preview, "--positions", positions, "--quality", quality, "--stats", "--output",
                               positions.with_suffix(".npy")], check=True, capture_output=True, text=True)
        bars = [int(count) for count in re.findall(r"^\S+ to \S+ +(\d+)", done.stdout, re.MULTILINE)]
        ends = re.search(r"minimum (\S+), maximum (\S+),", done.stdout)
        within = [f"{100 * sum(bars[8 - reach:8 + reach]) / sum(bars):.0f}" for reach in (2, 4, 6)]
        return *within, f"{float(ends[1]):.2f}, {float(ends[2]):.2f}"


class Writer:
    def __init__(self, build):
        self.figures = Figures(build / "tools/noise_preview/noise_preview")
        listed = subprocess.run([ROOT / "scripts/pictures.sh", "--list"], check=True, capture_output=True, text=True).stdout
        self.commands = {line.split()[-1]: line for line in listed.splitlines()}

    def text(self, kind, name):
        if kind == "figures":
            return getattr(self.figures, name)()
        if kind == "picture":
            return fenced("sh", self.commands[name] + "\n")
        path = ROOT / name
        return fenced(LANGUAGES.get(path.name) or LANGUAGES[path.suffix], path.read_text())

    def written(self, document):
        def between(match):
            kind, name, old = match.groups()
            new = self.text(kind, name)
            return f"<!-- {kind}: {name} -->" + (f"\n{new}\n" if old.startswith("\n") else new) + "<!-- end -->"
        return MARKED.sub(between, document)


def without_code(path):
    return re.sub(r"^```.*?^```$", "", path.read_text(), flags=re.MULTILINE | re.DOTALL)


def anchors_of(path):
    """As code hosting sites name headings."""
    headings = re.findall(r"^#+ (.*)$", without_code(path), re.MULTILINE)
    return {re.sub(r"[^\w\- ]", "", heading.lower()).replace(" ", "-") for heading in headings}


def dead_links(path):
    for target in re.findall(r"\]\(([^)\s]*)\)", without_code(path)):
        file, _, heading = target.partition("#")
        found = path.parent / file if file else path
        if not re.match(r"[a-z]+:", target) and not (found.exists() and (not heading or heading in anchors_of(found))):
            yield f"{path.relative_to(ROOT)}: the link {target} leads nowhere\n"


def main(check, build):
    writer, complaints = Writer(build), []
    for path in sorted(path for pattern in DOCUMENTS for path in ROOT.glob(pattern)):
        old = path.read_text()
        if re.findall(r"<!-- (?:(end) -->|\w+: )", old) != ["", "end"] * old.count("<!-- end -->"):
            sys.exit(f"{path.relative_to(ROOT)}: markers and ends do not alternate")
        new = writer.written(old)
        if check:
            complaints += difflib.unified_diff(old.splitlines(True), new.splitlines(True), str(path.relative_to(ROOT)), "generated")
            complaints += dead_links(path)
        elif new != old:
            path.write_text(new)
    if complaints:
        sys.exit("".join(complaints) + f"Run scripts/documents.py {build}, or mend the links.")


if __name__ == "__main__":
    if len(sys.argv) not in (2, 3) or sys.argv[1:-1] not in ([], ["--check"]):
        sys.exit("usage: documents.py [--check] BUILD")
    main(len(sys.argv) == 3, pathlib.Path(sys.argv[-1]))
