#!/usr/bin/env bash
# Measures every operation fifteen times, in random order; prints tables of medians in nanoseconds, and writes all runs as
# JSON, a summary, and charts into build/bench/. Arguments go to the benchmark program: --benchmark_filter=3D measures less.
set -euo pipefail
root=$(cd "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")/.." && pwd)
source "$root/scripts/setup.sh"

need_build_tools
need_benchmark_libraries
need gnuplot-nox has_program gnuplot
need python3 has_program python3
install_missing
build bench zr_maths_benchmarks
results=$root/build/bench/results.json
processor=$(sed -n '/^model name[[:space:]]*:/{s/.*: //p;q}' "$cpu_info")
for argument in "$@"; do
  [[ $argument != --benchmark_out* && $argument != --benchmark_list_tests* ]] ||
    stop "'$argument' leaves nothing to draw: give it to the program itself, in build/bench/Runtime/zr_maths/benchmarks/"
done
rm -rf "$results" "$root/build/bench/charts"
say 'measuring takes some minutes'
"$root/build/bench/Runtime/zr_maths/benchmarks/zr_maths_benchmarks" --benchmark_repetitions=15 \
  --benchmark_enable_random_interleaving=true --benchmark_min_time=0.02 --benchmark_out="$results" \
  --benchmark_out_format=json "$@"
python3 "$root/scripts/benchmarks/charts.py" "$results" "$root/build/bench/charts" "${processor:-$(uname -m)}" \
  "$(g++ --version | head -n 1), Release"
say "$results has every run, $root/build/bench/charts/ the charts"
