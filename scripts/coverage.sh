#!/usr/bin/env bash
# Shows which lines and branches of the libraries their tests run, with SIMD instructions and with the portable backend, and
# fails unless it is all of them. build/coverage-report/ has a page for each file.
set -euo pipefail
root=$(cd "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")/.." && pwd)
source "$root/scripts/setup.sh"

takes_no_options "$@"

need_build_tools
need_compiler_cache
need_test_libraries
need gcovr has_program gcovr
install_missing
unset DESTDIR "${!GTEST_@}"

report=$root/build/coverage-report
rm -rf "$report" && mkdir -p "$report"

# Counted are the libraries' sources and headers, except kernels that this processor cannot run.
filter='Runtime/[^/]*/(src|include|internal)/'
left_out=()
if [ "$(uname -m)" = x86_64 ]; then
  [ -z "$(lacking_features avx2)" ] || left_out+=(--exclude '.*/(avx2_|block_kernels|wide_streams).*')
  [ -z "$(lacking_features avx512f avx512bw avx512vbmi)" ] || left_out+=(--exclude '.*/avx512_.*')
fi
[ ${#left_out[@]} -eq 0 ] || say "not counted, for this processor lacks them: ${left_out[*]}"

# table CSV: file, lines and branches; returns whether all of them were run.
table() {
  awk -F, -v status=0 '
    function part(covered, all) { if (covered < all) status = 1; return sprintf("%5d of %5d", covered, all) }
    NR > 1 { printf "%-68s %s lines %s branches\n", $1, part($3, $2), part($6, $5); l += $2; c += $3; b += $5; t += $6 }
    END { printf "%-68s %s lines %s branches\n", "all", part(c, l), part(t, b); exit status || NR < 10 }' "$1"
}

# measure PRESET
measure() {
  local data=$root/build/$1/Runtime json=$report/$1.json
  say "== $1: building"
  build "$1" Runtime/all
  find "$data" -name '*.gcda' -delete
  say "== $1: testing"
  # The pinned bits run no other lines than the tests, and take as long as all of them. Threads spoil counts.
  GTEST_FILTER='-*Concurrency*' ctest --test-dir "$root/build/$1" --label-exclude 'project|exhaustive' --exclude-regex 'PinnedBits|Concurrency' --no-tests=error \
    -j "$(nproc)" >"$report/$1.log" 2>&1 || { tail -n 20 "$report/$1.log" >&2; stop "$1: the tests fail"; }
  # Without -j, with which gcovr 5.2 sometimes hangs. The expressions compiled with callers' flags have copies of branches,
  # not each of which is taken.
  (cd "$root" && gcovr --root . --filter "$filter" "${left_out[@]}" --exclude-unreachable-branches \
    --exclude-directories '.*/zr_support_flag_expressions_' --json "$json" "$data" &&
    gcovr --root . --add-tracefile "$json" --csv "$report/$1.csv" --html-details "$report/$1.html") \
    >"$report/$1-gcovr.log" 2>&1 || { cat "$report/$1-gcovr.log" >&2; stop "$1: gcovr fails"; }
  printf '\n%s:\n' "$1"
  table "$report/$1.csv" || {
    printf '\n'
    (cd "$root" && gcovr --root . --add-tracefile "$json" --txt && gcovr --root . --add-tracefile "$json" --branches --txt) |
      awk '/Missing$/ { what = $2 } /^Runtime/ { name = $1 } /%/ && $NF ~ /[0-9]$/ && $NF !~ /%/ { print name ": " what " " $NF }'
    return 1
  }
}

complete=true
for preset in coverage coverage-portable; do
  measure "$preset" || complete=false
done
say "$report/ shows every line"
$complete || stop 'the tests do not run everything'
