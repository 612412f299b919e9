"""Holds the figures in documents to where they come from: those of time to the measurements, those of the field's range to
the field.

figures.py SOURCE DOCUMENTS PREVIEW WORK: the documents are those below the folder DOCUMENTS; PREVIEW is noise_preview.
"""

import json
import pathlib
import re
import subprocess
import sys

QUALITIES = ("linear", "cubic", "quintic")
LEVELS = ("AVX-512", "AVX2", "four lanes")


class Wrong(Exception):
    pass


def cells_of(line):
    return [cell.strip() for cell in line.strip("|").split("|")]


class Table:
    """The rows of a document's table by their first cell, of the one table that has exactly these columns."""

    def __init__(self, name, document, columns):
        self.name = name
        tops = [k for k, line in enumerate(document) if line.startswith("|") and cells_of(line) == list(columns)]
        if len(tops) != 1:
            raise Wrong(f"{name}: there are {len(tops)} tables of {columns}")
        self.rows = {}
        for line in document[tops[0] + 2:]:
            if not line.startswith("|"):
                break
            first, *others = cells_of(line)
            self.rows[first] = others

    def hold(self, row, *values):
        """Whether the row has the values, as exactly as it gives them. None stands for a cell with words."""
        if row not in self.rows:
            raise Wrong(f"{self.name}: there is no row '{row}'")
        cells = self.rows[row]
        if len(cells) != len(values):
            raise Wrong(f"{self.name}: {row} has {len(cells)} cells, not {len(values)}")
        for cell, value in zip(cells, values):
            if value is not None:
                hold(f"{self.name}: {row}", cell, value)


def hold(where, cell, values):
    """Whether the numbers of a text, and there are some, are the values, as exactly as they are given."""
    values = values if isinstance(values, tuple) else (values,)
    numbers = re.findall(r"-?\d+(?:\.\d+)?", cell)
    if len(numbers) != len(values):
        raise Wrong(f"{where}: '{cell}' has {len(numbers)} numbers, not {len(values)}")
    for number, value in zip(numbers, values):
        _, _, digits = number.partition(".")
        # Whoever writes tables may round a half up or down.
        if abs(float(number) - value) > 0.5000001 * 10.0 ** -len(digits):
            raise Wrong(f"{where}: {number} is to be {value:.4g}")


class Figures:
    def __init__(self, source, documents, preview, work):
        self.documents, self.preview, self.work = pathlib.Path(documents), preview, pathlib.Path(work)
        summary = json.loads((pathlib.Path(source) / "docs/performance/summary.json").read_text())
        self.medians = {name: found["median_ns"] for name, found in summary["benchmarks"].items()}

    def document(self, name):
        return (self.documents / name).read_text().splitlines()

    def batch(self, level, sampler):
        return self.medians[f"kernels/{level}/{sampler}"]

    def check_speed(self):
        readme = self.document("README.md")
        table = Table("README.md", readme, ("", *LEVELS, "plain loop", "plain loop : AVX-512", "plain loop : four lanes"))
        for dimension in "1234":
            for quality in QUALITIES:
                sampler = f"Sample{quality.capitalize()}{dimension}D"
                times = [self.batch(level, sampler) for level in LEVELS]
                loop = self.medians[f"{sampler}/plain loop/4096"]
                table.hold(f"{dimension}D {quality}", *times, loop, loop / times[0], loop / times[2])

    def check_operations(self):
        table = Table("README.md", self.document("README.md"),
                      ("in the same run, nanoseconds", "", "beside", "", "ratio"))
        for row, name in {
            "`SampleQuintic`, one 3D position": "SampleQuintic/{}: in plain code",
            "`CoherentSampleQuintic`, four positions": "CoherentSampleQuintic/{}: SampleQuintic",
            "`Sample1stOrderDerivativesQuintic`, one": "Derivatives, quintic/{}: in plain code",
            "the same in a batch, for each": "Derivatives in a batch, quintic/{}: plain loop",
            "`RotateBasis`, all 256 values": "RotateBasis, all 256 entries/{}: with sinf",
            "the same after 10,000 turns": "RotateBasis, after 10000 turns/{}: with sinf",
            "`SinStream_Aligned16`, for each": "SinStream_Aligned16/{}: SLEEF, 3.5 ULP",
            "`ArcSinStream_Aligned16`, for each": "ArcSinStream_Aligned16/{}: asinf",
        }.items():
            ours, other = (self.medians[name.format(word)] for word in ("beside", "other"))
            table.hold(row, ours, None, other, other / ours)

    def check_measurements(self):
        table = Table("docs/performance.md", self.document("docs/performance.md"),
                      ("nanoseconds", *LEVELS, "four lanes : AVX-512", "four lanes : AVX2"))
        for row, cells in table.rows.items():
            times = [self.batch(level, row) for level in LEVELS]
            table.rows[row] = [re.sub(r" \(.*\)", "", cell) for cell in cells] # how far the quarters lie
            table.hold(row, *times, times[2] / times[0], times[2] / times[1])

    def check_costs(self):
        """What each dimension and quality costs."""
        table = Table("03-dimension-and-quality.md", self.document("docs/guide/03-dimension-and-quality.md"),
                      ("", "linear", "cubic : linear", "quintic : linear", "linear : 1D linear"))
        for dimension in "1234":
            first, *others = [[self.batch(level, f"Sample{quality.capitalize()}{dimension}D") for level in LEVELS]
                              for quality in QUALITIES]
            base = [self.batch(level, "SampleLinear1D") for level in LEVELS]
            ratios = [(times[0] / first[0], times[2] / first[2]) for times in others]
            to_base = 1.0 if dimension == "1" else (first[0] / base[0], first[2] / base[2])
            table.hold(f"{dimension}D", 1.0, *ratios, to_base)
        page = " ".join(self.document("docs/guide/12-performance.md"))
        said = re.search(r"costs (\S+) times as much in a call for it\s+alone as in one of 4096, and (\S+) times", page)
        each = {count: self.medians[f"SampleCubic3D/four at a time/{count}"] for count in (1, 64, 4096)}
        if not said:
            raise Wrong("12-performance.md: nothing says what calls cost")
        hold("12-performance.md", " ".join(said.groups()), (each[1] / each[4096], each[64] / each[4096]))

    def check_range(self):
        """How the samples of a field spread, at the positions that the page has: of fractions of multiples."""
        name = "10-range.md"
        page = self.document(f"docs/guide/{name}")
        table = Table(name, page, ("", "±0.25", "±0.5", "±0.75", "lowest and highest"))
        text = "\n".join(page)
        factors = [float(factor) for factor in re.findall(r"k \* (0\.\d+)", text) + re.findall(r"way with (0\.\d+)", text)]
        if len(factors) != 4:
            raise Wrong(f"{name}: the positions have {len(factors)} columns, not 4")
        for dimension in "1234":
            positions = self.work / f"positions{dimension}.csv"
            positions.write_text("".join(
                ",".join(f"{256 * (k * factor % 1):.6f}" for factor in factors[:int(dimension)]) + "\n"
                for k in range(200000)))
            for quality in QUALITIES:
                table.hold(f"{dimension}D {quality}", *self.spread(positions, quality))

    def spread(self, positions, quality):
        """How many per cent are within 1/4, 1/2 and 3/4, and the lowest and the highest."""
        done = subprocess.run([self.preview, "--positions", positions, "--quality", quality, "--stats", "--output",
                               self.work / "samples.npy"], check=True, capture_output=True, text=True)
        bars = [int(count) for count in re.findall(r"^\S+ to \S+ +(\d+)", done.stdout, re.MULTILINE)]
        ends = re.search(r"minimum (\S+), maximum (\S+),", done.stdout)
        within = [100.0 * sum(bars[8 - reach:8 + reach]) / sum(bars) for reach in (2, 4, 6)]
        return *within, (float(ends[1]), float(ends[2]))


if __name__ == "__main__":
    figures = Figures(*sys.argv[1:])
    try:
        for check in (figures.check_speed, figures.check_operations, figures.check_measurements, figures.check_costs,
                      figures.check_range):
            check()
    except Wrong as wrong:
        sys.exit(str(wrong))
