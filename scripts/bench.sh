#!/usr/bin/env bash
# Measures every operation, prints tables of medians in nanoseconds, and writes all runs as JSON, a summary, and charts into
# build/bench/. Every benchmark is run fifteen times, in random order. Arguments go through to the benchmark program;
# --benchmark_filter=3D, for one, measures less.
set -euo pipefail
root=$(cd "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")/.." && pwd)
source "$root/scripts/setup.sh"

need_build_tools
need libbenchmark-dev has_header benchmark/benchmark.h
need libsleef-dev has_header sleef.h
need gnuplot-nox has_program gnuplot
need python3 has_program python3
install_missing
build bench zr_maths_benchmarks
results=$root/build/bench/results.json
processor=$(sed -n '/^model name[[:space:]]*:/{s/.*: //p;q}' "$cpu_info")
for argument in "$@"; do
  [[ $argument != --benchmark_out* && $argument != --benchmark_list_tests* ]] ||
    stop "'$argument' would leave nothing to draw: ask the program itself, in build/bench/Runtime/zr_maths/benchmarks/"
done
rm -rf "$results" "$root/build/bench/charts"
say 'measuring, for some minutes'
"$root/build/bench/Runtime/zr_maths/benchmarks/zr_maths_benchmarks" --benchmark_repetitions=15 \
  --benchmark_enable_random_interleaving=true --benchmark_min_time=0.02 --benchmark_out="$results" \
  --benchmark_out_format=json "$@"
python3 "$root/scripts/benchmarks/charts.py" "$results" "$root/build/bench/charts" "${processor:-$(uname -m)}" \
  "$(g++ --version | head -n 1), Release"
say "$results has every run, and $root/build/bench/charts/ what they come to"
