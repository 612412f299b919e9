#!/usr/bin/env bash
# Runs every test, from nothing but a checkout: installs what is missing, builds and tests each configuration, compares
# every other compiler and processor that can be had here with the table of pinned bits, and measures coverage.
#   --quick                  g++ Release alone, without the exhaustive tests
#   --only CONFIGURATION     one configuration
#   --exhaustive             the exhaustive tests for every float, on each level of x86 instructions; and what repeats
#                            other tests: all of dev, tsan and portable, and the whole table
set -euo pipefail
root=$(cd "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")/.." && pwd)
source "$root/scripts/setup.sh"

configurations=(release dev asan-ubsan tsan clang portable arm64-qemu msan fuzz)
quick='' exhaustive='' rows='' coverage=''
case "$#,${1:-}" in
  0,) rows=--table coverage=yes ;;
  1,--quick) configurations=(release) quick=yes ;;
  2,--only)
    [[ " ${configurations[*]} " == *" $2 "* ]] || stop "there is no configuration '$2'; there are ${configurations[*]}"
    configurations=("$2") ;;
  1,--exhaustive)
    configurations=(every-float every-float-v2 every-float-avx every-float-v3 every-float-v4 every-float-portable
      dev tsan portable)
    exhaustive=yes rows=--whole-table ;;
  1,--help | 1,-h) show_help ;;
  *) stop "there is no option '$*'; there are --quick, --only CONFIGURATION and --exhaustive" ;;
esac

# What a processor needs for a configuration, by Linux's names.
declare -A features=(
  [every-float-v2]='cx16 lahf_lm popcnt pni ssse3 sse4_1 sse4_2'
  [every-float-avx]='avx'
  [every-float-v3]='cx16 lahf_lm popcnt pni ssse3 sse4_1 sse4_2 avx avx2 bmi1 bmi2 f16c fma abm movbe xsave'
)
features[every-float-v4]="${features[every-float-v3]} avx512f avx512bw avx512cd avx512dq avx512vl"

need_build_tools
need_compiler_cache
need_test_libraries
need_tool_libraries
need_benchmark_libraries
need sollya has_program sollya
need libopenmpi-dev has_program mpicxx
need openmpi-bin has_program mpirun
need binutils has_program objdump
need clang-format-14 has_program clang-format-14
need doxygen has_program doxygen
need graphviz has_program dot
need valgrind has_program valgrind
need python3 has_program python3
need python3-pil has_python_module PIL
need pkgconf has_program pkg-config
need dpkg-dev has_program dpkg-shlibdeps
need file has_program file
need lintian has_program lintian
if [ "${configurations[*]}" != release ]; then
  need clang has_program clang++
  need g++-aarch64-linux-gnu has_program aarch64-linux-gnu-g++
  need g++-riscv64-linux-gnu has_program riscv64-linux-gnu-g++
  need g++-powerpc64le-linux-gnu has_program powerpc64le-linux-gnu-g++
  need g++-s390x-linux-gnu has_program s390x-linux-gnu-g++
  [ "$(uname -m)" != x86_64 ] || need g++-12-multilib has_file /usr/lib/gcc/x86_64-linux-gnu/12/32/libstdc++.a
  need qemu-user has_program qemu-aarch64
  need googletest has_file /usr/src/googletest
  need_fuzz_tools
  need gcovr has_program gcovr
fi
install_missing

# Variables that are meant for other builds and tests.
unset DESTDIR "${!GTEST_@}"

# What is built and tested of a configuration, where it is not everything.
declare -A targets=() folders=() options=()
[ -z "$quick" ] || options[release]='--label-exclude exhaustive'
if [ -z "$exhaustive" ]; then
  # Only the libraries differ from those of other configurations. (asan-ubsan has assertions, too, and runs the tests with
  # each kernel, the tools and the samples with them.)
  targets[dev]=Runtime/all folders[dev]=Runtime options[dev]='--exclude-regex _tests.with.'
  targets[portable]=Runtime/all folders[portable]=Runtime
  # Data races take threads: only tests whose sources use them can have any.
  threaded=$(cd "$root" && grep -lF '#include <thread>' Runtime/*/tests/*.cpp)
  suites=$(cd "$root" && sed -nE 's/^TEST(_[FP])?\(([A-Za-z0-9_]+),.*/\2/p' $threaded | sort -u | paste -sd '|')
  targets[tsan]="threaded_batch $(dirname $threaded | sort -u | sed 's|$|/all|')"
  options[tsan]="--tests-regex ($suites)[.]|zr_maths_tests.with|Samples.ThreadedBatch"
else
  for configuration in "${configurations[@]}"; do
    [[ $configuration != every-float* ]] || targets[$configuration]=exhaustive_tests
  done
fi

# A number in the results that ctest has written for a configuration.
count_of() { sed -n "s/.*[[:space:]]$2=\"\([0-9]*\)\".*/\1/p" "$root/build/$1/results.xml" | head -n 1; }

# The names of a configuration's tests with a status in those results.
names_of() { sed -n "s/.*<testcase name=\"\([^\"]*\)\".* status=\"$2\".*/$1: $3 \1/p" "$root/build/$1/results.xml"; }

# run_tests CONFIGURATION. Tests of the project as a whole, and those that visit floats by the hundreds of millions, run in
# g++ Release alone.
run_tests() {
  local run=(env) labels=(--label-exclude 'project|exhaustive')
  [ "$1" != release ] || labels=()
  [[ $1 != every-float* ]] || labels=(--label-regex '^exhaustive$')
  if [ "$1" = tsan ]; then
    # ThreadSanitizer does not know where newer kernels put things when they choose at random.
    setarch -R true 2>/dev/null && run=(setarch -R env)
    [ -n "$exhaustive" ] || run+=(GTEST_FILTER="*${suites//|/.*:*}.*")
  fi
  # Tests that take minutes show how far they are.
  "${run[@]}" ctest --test-dir "$root/build/$1/${folders[$1]:-}" --output-on-failure --test-output-size-failed 8192 \
    --no-tests=error -j "$(nproc)" --output-junit "$root/build/$1/results.xml" "${labels[@]}" ${options[$1]:-} 2>&1 |
    if [ -n "$exhaustive" ]; then tee "$log" | grep --line-buffered -E '^ *[0-9]+/[0-9]+ ' >&2; else cat >"$log"; fi
}

passed=0 failed=0 skipped=0 broken=0 table=() named=()

# count NAME PASSED FAILED SKIPPED SECONDS...: adds to the sums and to the table.
count() {
  passed=$((passed + $2)) failed=$((failed + $3)) skipped=$((skipped + $4))
  table+=("$(printf '%-20s %5d passed %5d failed %5d skipped   %s' "${@:1:4}" "${*:5}")")
}

for configuration in "${configurations[@]}"; do
  lacked=$(lacking_features ${features[$configuration]:-})
  if [ -n "$lacked" ]; then
    table+=("$(printf '%-20s not run: this processor has no %s' "$configuration" "$lacked")")
    say "${table[-1]}"
    continue
  fi
  say "== $configuration: building"
  start=$SECONDS
  build "$configuration" ${targets[$configuration]:-}
  built=$SECONDS results=$root/build/$configuration/results.xml log=$root/build/$configuration/ctest.log
  rm -f "$results"
  say "== $configuration: testing"
  # ctest counts a program that could not be started as skipped, but says that it failed.
  run_tests "$configuration" || { grep -vE '^ *(Start|[0-9]+/[0-9]+ .* Passed) ' "$log" >&2 || true; broken=1; }
  [ -s "$results" ] && grep -E '^[0-9]+% tests passed' "$log" || stop "$configuration: no test ran; see $log"
  all=$(count_of "$configuration" tests) bad=$(count_of "$configuration" failures)
  left_out=$(($(count_of "$configuration" skipped) + $(count_of "$configuration" disabled)))
  count "$configuration" $((all - bad - left_out)) "$bad" "$left_out" \
    "$((built - start)) s to build, $((SECONDS - built)) s to test"
  mapfile -t -O "${#named[@]}" named < <(names_of "$configuration" notrun skipped && names_of "$configuration" fail failed)
done

if [ -n "$rows" ]; then
  say '== portability'
  start=$SECONDS
  rm -f "$root/build/portability/results"
  "$root/scripts/portability.sh" "$rows" || broken=1
  # Without results it has ended before the first row.
  if read -r good bad left_out <"$root/build/portability/results"; then
    count portability "$good" "$bad" "$left_out" "$((SECONDS - start)) s"
  fi 2>/dev/null
fi
if [ -n "$coverage" ]; then
  start=$SECONDS
  "$root/scripts/coverage.sh" && state=complete || state=incomplete broken=1
  table+=("$(printf '%-20s %-46s %d s' coverage "$state" $((SECONDS - start)))")
fi

printf '\n'
printf '%s\n' "${table[@]}" "${named[@]}"
printf '%d passed, %d failed, %d skipped in %d s\n' $passed $failed $skipped $SECONDS
[ $failed -eq 0 ] && [ $broken -eq 0 ]
