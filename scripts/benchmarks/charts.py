"""Turns the benchmark program's JSON into a summary in JSON, tables in Markdown, and charts in SVG by gnuplot.

charts.py RESULTS FOLDER PROCESSOR COMPILER
"""

import collections
import json
import pathlib
import re
import statistics
import subprocess
import sys

FOUR_LANES = "four lanes"
COLOURS = {"AVX-512": "#1b6ca8", "AVX2": "#4fa3a5", FOUR_LANES: "#d98e04", "stream": "#888888"}


def times_of(results):
    """Nanoseconds per item of every run, by name."""
    times = collections.defaultdict(list)
    for run in results["benchmarks"]:
        if run["run_type"] == "iteration" and "items_per_second" in run:
            name = re.sub("/real_time$", "", run["run_name"])
            times[name].append(1e9 / run["items_per_second"])
    return times


def summary_of(times):
    """Median and relative interquartile range of every benchmark."""
    summary = {}
    for name, values in times.items():
        quarters = statistics.quantiles(values, n=4) if len(values) > 1 else [values[0]] * 3
        summary[name] = {"median_ns": float(f"{statistics.median(values):.4g}"),
                         "spread": round((quarters[2] - quarters[0]) / quarters[1], 4), "runs": len(values)}
    return summary


class Summary:
    def __init__(self, summary):
        self.summary = summary
        found = {name.split("/")[1] for name in summary if name.startswith("kernels/")}
        self.kernels = [name for name in COLOURS if name in found]

    def median(self, name):
        return self.summary[name]["median_ns"] if name in self.summary else None

    def of(self, kernels, name):
        return self.median(f"kernels/{kernels}/{name}")

    def operations(self):
        """Samplers by dimension and quality, then the rest."""
        names = {name.split("/", 2)[2] for name in self.summary if name.startswith("kernels/")}
        order = [f"Sample{quality}{dimension}D" for dimension in range(1, 5) for quality in ("Linear", "Cubic", "Quintic")]
        return sorted((name for name in names if not name.startswith(("counts/", "first/"))),
                      key=lambda name: (order.index(name) if name in order else len(order), name))

    def counts(self, prefix):
        return sorted(int(name[len(prefix):]) for name in self.summary if name.startswith(prefix))


def with_spread(summary, name):
    entry = summary.summary.get(name)
    if entry is None:
        return "-"
    return f"{entry['median_ns']:.3g} (±{50 * entry['spread']:.1f} %)"


def tables(summary):
    wide = [name for name in summary.kernels if name != FOUR_LANES]
    lines = ["| nanoseconds | " + " | ".join(summary.kernels) + " | " +
             " | ".join(f"{FOUR_LANES} : {name}" for name in wide) + " |",
             "|---|" + "---|" * (len(summary.kernels) + len(wide))]
    for name in summary.operations():
        cells = [with_spread(summary, f"kernels/{kernels}/{name}") for kernels in summary.kernels]
        base = summary.of(FOUR_LANES, name)
        ratios = [f"{base / own:.2f}" if base and (own := summary.of(kernels, name)) else "-" for kernels in wide]
        lines.append(f"| {name} | " + " | ".join(cells + ratios) + " |")
    threads = summary.counts("threads/")
    if threads:
        lines += ["", "| threads on one object | nanoseconds per position |", "|---|---|"]
        lines += [f"| {count} | {with_spread(summary, f'threads/{count}')} |" for count in threads]
    return "\n".join(lines) + "\n"


def gnuplot(target, title, commands):
    # By its name in the current folder: gnuplot would have to quote the path.
    head = (f"set terminal svg size 900,460 dynamic font 'sans-serif,13' background '#ffffff'\nset output '{target.name}'\n"
            f"set title '{title}'\nset grid ytics lc rgb '#dddddd'\nset border 3\nset tics nomirror\n"
            "set key top left\nset ylabel 'nanoseconds per position'\n")
    subprocess.run(["gnuplot"], input=head + commands, text=True, check=True, cwd=target.parent)


def block(name, rows):
    return f"${name} << END\n" + "".join(" ".join(map(str, row)) + "\n" for row in rows) + "END\n"


def chart_of_samplers(summary, target, title):
    samplers = [name for name in summary.operations() if re.fullmatch(r"Sample(Linear|Cubic|Quintic)[1-4]D", name)]
    if not samplers:
        return
    rows = [[f'"{name[-2:]} {name[6:-2].lower()}"'] + [summary.of(kernels, name) or "NaN" for kernels in summary.kernels]
            for name in samplers]
    plots = ", ".join(f"$samplers using {2 + k}:xtic(1) title '{kernels}' lc rgb '{COLOURS[kernels]}'"
                      for k, kernels in enumerate(summary.kernels))
    gnuplot(target, title, block("samplers", rows) + "set style data histograms\nset style histogram clustered gap 1\n"
            "set style fill solid 1 noborder\nset xtics rotate by -35\nset yrange [0:*]\nplot " + plots + "\n")


def chart_of_counts(summary, target, title):
    blocks, plots = "", []
    for k, kernels in enumerate(summary.kernels):
        prefix = f"kernels/{kernels}/counts/"
        counts = summary.counts(prefix)
        if counts:
            blocks += block(f"counts{k}", [(count, summary.median(prefix + str(count))) for count in counts])
            plots.append(f"$counts{k} with linespoints pt 7 ps 0.4 lw 2 lc rgb '{COLOURS[kernels]}' title '{kernels}'")
    counts = summary.counts("stream/")
    if counts:
        blocks += block("stream", [(count, summary.median(f"stream/{count}")) for count in counts])
        plots.append(f"$stream with lines dt 2 lw 2 lc rgb '{COLOURS['stream']}' title 'reading and writing alone'")
    if plots:
        gnuplot(target, title, blocks + "set key top right\nset logscale x 2\nset xlabel 'positions in a call'\n"
                "set format x '2^{%L}'\nset yrange [0:*]\nplot " + ", ".join(plots) + "\n")


def chart_of_threads(summary, target, title):
    counts = summary.counts("threads/")
    if counts:
        gnuplot(target, title, block("threads", [(count, summary.median(f"threads/{count}")) for count in counts]) +
                "set style data boxes\nset boxwidth 0.5\nset style fill solid 1 noborder\nset yrange [0:*]\n"
                f"set xlabel 'threads'\nset xtics 1\nset xrange [0.4:{max(counts) + 0.6}]\nunset key\n"
                f"plot $threads lc rgb '{COLOURS['AVX-512']}'\n")


def main():
    results, folder, processor, compiler = sys.argv[1:]
    folder = pathlib.Path(folder)
    folder.mkdir(parents=True, exist_ok=True)
    text = pathlib.Path(results).read_text()
    summary = Summary(summary_of(times_of(json.loads(text) if text.strip() else {"benchmarks": []})))
    if not summary.summary:
        sys.exit("charts.py: nothing was measured")
    about = {"processor": processor, "compiler": compiler, "benchmarks": summary.summary}
    (folder / "summary.json").write_text(json.dumps(about, indent=1) + "\n")
    if not summary.kernels:
        return
    (folder / "tables.md").write_text(f"Processor: {processor}. Compiler: {compiler}.\n\n{tables(summary)}")
    chart_of_samplers(summary, folder / "samplers.svg", "4096 packed positions, one thread")
    chart_of_counts(summary, folder / "counts.svg", "3D cubic by the number of positions, one thread")
    chart_of_threads(summary, folder / "threads.svg", "3D cubic, 4 million positions on one object")


if __name__ == "__main__":
    main()
