#!/usr/bin/env bash
# Counts the instructions per position of every batch sampler, with four lanes and with AVX2, under callgrind: unlike times,
# they do not depend on load. Prints them beside those of docs/performance/instructions.tsv; --keep writes them there. They are
# those of g++ 12, Release.
set -euo pipefail
root=$(cd "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")/.." && pwd)
source "$root/scripts/setup.sh"

keep=
case "$#,${1:-}" in
  0,) ;;
  1,--keep) keep=yes ;;
  1,--help | 1,-h) show_help ;;
  *) stop "there is no option '$*'; there is --keep" ;;
esac

need_build_tools
need_benchmark_libraries
need valgrind has_program valgrind
install_missing
build bench zr_maths_instruction_counts
program=$root/build/bench/Runtime/zr_maths/benchmarks/zr_maths_instruction_counts
kept=$root/docs/performance/instructions.tsv

# instructions KERNELS SAMPLER COUNT
instructions() {
  valgrind --tool=callgrind --callgrind-out-file=/dev/null "$program" "$@" 2>&1 | sed -n 's/.*Collected : \([0-9]*\).*/\1/p'
}

# The difference of two counts of whole blocks is that of the loops.
per_position() {
  local few many
  few=$(instructions "$1" "$2" 4096) many=$(instructions "$1" "$2" 8192)
  [ -n "$few" ] && [ -n "$many" ] || stop "the instructions of $2 with $1 cannot be counted here"
  awk -v few="$few" -v many="$many" 'BEGIN { printf "%.2f", (many - few) / 4096 }'
}

table=$(mktemp)
trap 'rm -f "$table"' EXIT
for dimension in 1D 2D 3D 4D; do
  for quality in Linear Cubic Quintic; do
    for kernels in 'four lanes' AVX2; do
      count=$(per_position "$kernels" "Sample$quality$dimension")
      before=$(awk -F '\t' -v s="Sample$quality$dimension" -v k="$kernels" '$1 == s && $2 == k { print $3 }' "$kept" 2>/dev/null || true)
      printf '%s\t%s\t%s\n' "Sample$quality$dimension" "$kernels" "$count" >>"$table"
      printf '%-16s %-11s %7.2f instructions per position%s\n' "Sample$quality$dimension" "$kernels" "$count" \
        "${before:+, kept: $before}"
    done
  done
done
[ -z "$keep" ] || install -m 644 "$table" "$kept"
