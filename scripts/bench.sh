#!/usr/bin/env bash
# Measures every operation and prints two tables, of the batch samplers and of all others: nanoseconds, medians of nine
# runs in random order. Arguments go through to the benchmark program; --benchmark_filter=3D, for one, measures less.
set -euo pipefail
root=$(cd "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")/.." && pwd)
source "$root/scripts/setup.sh"

need_build_tools
need libbenchmark-dev has_header benchmark/benchmark.h
need libsleef-dev has_header sleef.h
install_missing
build bench zr_maths_benchmarks
say 'measuring, for about half a minute'
exec "$root/build/bench/Runtime/zr_maths/benchmarks/zr_maths_benchmarks" --benchmark_repetitions=9 \
  --benchmark_enable_random_interleaving=true --benchmark_min_time=0.02 "$@"
