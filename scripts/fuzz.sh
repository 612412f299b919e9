#!/usr/bin/env bash
# Looks for inputs that the library handles wrongly: installs what is missing, builds, and runs the fuzz targets.
#   fuzz.sh [--seconds N | --executions N] [TARGET...]    runs all targets or these, each for a minute, N seconds or N inputs
#   fuzz.sh --print FILE TARGET                           explains an input step by step
# Targets: batch points streams lifecycle
set -euo pipefail
root=$(cd "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")/.." && pwd)
source "$root/scripts/setup.sh"

all_targets=(batch points streams lifecycle)
seconds=60 executions=-1 input=
targets=()

# number_of OPTION TEXT: the text, if it is a positive number.
number_of() {
  [[ $2 =~ ^[1-9][0-9]{0,11}$ ]] || stop "$1 takes a number from 1 on, not '$2'"
  printf '%s' "$2"
}

while [ $# -gt 0 ]; do
  case $1 in
    --help | -h) show_help ;;
    --seconds) seconds=$(number_of "$1" "${2:-}") executions=-1; shift ;;
    --executions) executions=$(number_of "$1" "${2:-}") seconds=0; shift ;;
    --print) [ -f "${2:-}" ] || stop "--print takes a file, not '${2:-}'"; input=$(readlink -f "$2"); shift ;;
    *) [[ " ${all_targets[*]} " == *" $1 "* ]] || stop "there is no target or option '$1'; targets are ${all_targets[*]}"
      targets+=("$1") ;;
  esac
  shift
done
[ -z "$input" ] || [ ${#targets[@]} -eq 1 ] || stop '--print takes one target'
[ ${#targets[@]} -gt 0 ] || targets=("${all_targets[@]}")

need_build_tools
need_fuzz_tools
need llvm-19 has_program llvm-symbolizer-19
install_missing
build fuzz
export ASAN_SYMBOLIZER_PATH=$(command -v llvm-symbolizer-19)
export UBSAN_OPTIONS=print_stacktrace=1

program_of() { printf '%s' "$root/build/fuzz/Runtime/zr_maths/fuzz/zr_maths_fuzz_$1"; }

if [ -n "$input" ]; then
  exec "$(program_of "${targets[0]}")" --print "$input"
fi

# executions_by LOG: the last number of executions that libFuzzer wrote.
executions_by() { sed -n 's/^#\([0-9]*\)[[:space:]].*/\1/p' "$1" | tail -n 1; }

# fuzz TARGET: reports progress every ten seconds; findings go to $work.
fuzz() {
  local target=$1 start=$SECONDS
  "$(program_of "$target")" -max_len=96 -max_total_time="$seconds" -runs="$executions" -print_final_stats=1 \
    -artifact_prefix="$work/found-" "$work/corpus" "$root/Runtime/zr_maths/fuzz/corpus/$target" >"$work/log" 2>&1 &
  fuzzer=$!
  while sleep 1 && kill -0 $fuzzer 2>/dev/null; do
    [ $(((SECONDS - start) % 10)) -ne 0 ] ||
      say "$target: $((SECONDS - start)) s, more than $(executions_by "$work/log") executions"
  done
  wait $fuzzer
}

fuzzer=
trap '[ -z "$fuzzer" ] || kill "$fuzzer" 2>/dev/null || true' EXIT

failed=0 summary=()
for target in "${targets[@]}"; do
  work=$root/build/fuzz/findings/$target
  mkdir -p "$work/corpus"
  rm -f "$work"/found-*
  say "== $target"
  if fuzz "$target"; then
    summary+=("$(printf '%-10s %12s executions, %8s a second, nothing found' "$target" \
      "$(sed -n 's/^stat::number_of_executed_units: *//p' "$work/log")" \
      "$(sed -n 's/^stat::average_exec_per_sec: *//p' "$work/log")")")
    continue
  fi
  failed=1
  found=$(find "$work" -name 'found-*' | head -n 1)
  [ -n "$found" ] || { tail -n 20 "$work/log" >&2; stop "$target did not run; its output is in $work/log"; }
  kept=$root/build/fuzz/findings/$target-${found##*/found-}
  mv "$found" "$kept"
  "$(program_of "$target")" --print "$kept" >&2 || true
  summary+=("$(printf '%-10s FOUND %s' "$target" "$kept")" "$(printf '%-10s scripts/fuzz.sh --print %s %s' '' "$kept" "$target")")
done
printf '%s\n' "${summary[@]}"
exit $failed
