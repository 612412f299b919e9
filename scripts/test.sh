#!/usr/bin/env bash
# Runs every test, from nothing but a checkout: installs what is missing, builds each configuration and tests it, and
# holds what else this machine can build for and run to the table of pinned bits. With --quick, g++ Release alone, without
# the tests that visit floats by the hundreds of millions. With --exhaustive, those alone, which then visit every float
# there is, in g++ Release for every level of instructions of the processor. With --only CONFIGURATION, a single one.
set -euo pipefail
root=$(cd "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")/.." && pwd)
source "$root/scripts/setup.sh"

configurations=(release dev asan-ubsan tsan clang portable arm64-qemu msan fuzz) left_out_label=none target='' portability=''
case "$#,${1:-}" in
  0,) portability=yes ;;
  1,--quick) configurations=(release) left_out_label=exhaustive ;;
  2,--only)
    [[ " ${configurations[*]} " == *" $2 "* ]] || stop "there is no configuration '$2'; there are ${configurations[*]}"
    configurations=("$2") ;;
  1,--exhaustive)
    configurations=(every-float every-float-v2 every-float-avx every-float-v3 every-float-v4 every-float-portable)
    target=exhaustive_tests ;;
  1,--help | 1,-h) sed -n '2,5s/^# //p' "$0"; exit 0 ;;
  *) stop "there is no option '$*'; there are --quick, for the quicker ones of g++ Release, --exhaustive, for every float" \
    'there is, and --only CONFIGURATION' ;;
esac

# What a processor must have for a configuration, by the names that Linux has for it.
declare -A features=(
  [every-float-v2]='cx16 lahf_lm popcnt pni ssse3 sse4_1 sse4_2'
  [every-float-avx]='avx'
  [every-float-v3]='cx16 lahf_lm popcnt pni ssse3 sse4_1 sse4_2 avx avx2 bmi1 bmi2 f16c fma abm movbe xsave'
)
features[every-float-v4]="${features[every-float-v3]} avx512f avx512bw avx512cd avx512dq avx512vl"

need_build_tools
need libgtest-dev has_header gtest/gtest.h
need libmpfr-dev has_header mpfr.h
need sollya has_program sollya
need libcli11-dev has_header CLI/CLI.hpp
need libpng-dev has_header png.h
need libwebp-dev has_header webp/mux.h
need libopenexr-dev has_header OpenEXR/ImfOutputFile.h
need libopenmpi-dev has_program mpicxx
need openmpi-bin has_program mpirun
need libbenchmark-dev has_header benchmark/benchmark.h
need libsleef-dev has_header sleef.h
need binutils has_program objdump
need clang-format-14 has_program clang-format-14
need doxygen has_program doxygen
need valgrind has_program valgrind
need python3 has_program python3
need python3-pil has_python_module PIL
need pkgconf has_program pkg-config
need dpkg-dev has_program dpkg-shlibdeps
need file has_program file
need lintian has_program lintian
if [ "${configurations[*]}" != release ] && [ -z "$target" ]; then
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

# What a caller's environment says of other builds and tests is not for these.
unset DESTDIR "${!GTEST_@}"

# A number in the results that ctest has written for a configuration.
count_of() { sed -n "s/.*[[:space:]]$2=\"\([0-9]*\)\".*/\1/p" "$root/build/$1/results.xml" | head -n 1; }

# The names of a configuration's tests with a status in those results.
names_of() { sed -n "s/.*<testcase name=\"\([^\"]*\)\".* status=\"$2\".*/$1: $3 \1/p" "$root/build/$1/results.xml"; }

# Runs the tests of a configuration. Those that look at the project as a whole, and those that visit floats by the
# hundreds of millions, run in g++ Release alone.
run_tests() {
  local options=(--test-dir "$root/build/$1" --output-on-failure --test-output-size-failed 8192 --no-tests=error
    -j "$(nproc)" --output-junit "$root/build/$1/results.xml")
  local run=()
  if [ "$target" = exhaustive_tests ]; then
    ctest "${options[@]}" --label-regex '^exhaustive$' 2>&1 | tee "$log" | grep --line-buffered -E '^ *[0-9]+/[0-9]+ ' >&2
    return
  fi
  [ "$1" = release ] || left_out_label='project|exhaustive'
  options+=(--label-exclude "$left_out_label")
  # ThreadSanitizer does not know where newer kernels put things when they choose at random.
  [ "$1" = tsan ] && setarch -R true 2>/dev/null && run=(setarch -R)
  "${run[@]}" ctest "${options[@]}" >"$log" 2>&1
}

passed=0 failed=0 skipped=0 broken=0 table=() named=()

# count NAME PASSED FAILED SKIPPED SECONDS: adds to the sums and to the table.
count() {
  passed=$((passed + $2)) failed=$((failed + $3)) skipped=$((skipped + $4))
  table+=("$(printf '%-20s %5d passed %5d failed %5d skipped %5d s' "$@")")
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
  build "$configuration" $target
  results=$root/build/$configuration/results.xml log=$root/build/$configuration/ctest.log
  rm -f "$results"
  say "== $configuration: testing"
  # ctest counts a program that could not be started as skipped, but says that it failed.
  run_tests "$configuration" || { grep -vE '^ *(Start|[0-9]+/[0-9]+ .* Passed) ' "$log" >&2 || true; broken=1; }
  [ -s "$results" ] && grep -E '^[0-9]+% tests passed' "$log" || stop "$configuration: no test ran; see $log"
  all=$(count_of "$configuration" tests) bad=$(count_of "$configuration" failures)
  left_out=$(($(count_of "$configuration" skipped) + $(count_of "$configuration" disabled)))
  count "$configuration" $((all - bad - left_out)) "$bad" "$left_out" $((SECONDS - start))
  mapfile -t -O "${#named[@]}" named < <(names_of "$configuration" notrun skipped && names_of "$configuration" fail failed)
done

if [ -n "$portability" ]; then
  say '== portability'
  start=$SECONDS
  rm -f "$root/build/portability/results"
  "$root/scripts/portability.sh" --table || broken=1
  # Without results it has ended before the first row.
  if read -r good bad left_out <"$root/build/portability/results"; then
    count portability "$good" "$bad" "$left_out" $((SECONDS - start))
  fi 2>/dev/null
fi
[ -z "$portability" ] || "$root/scripts/coverage.sh" || broken=1

printf '\n'
printf '%s\n' "${table[@]}" "${named[@]}"
printf '%d passed, %d failed, %d skipped\n' $passed $failed $skipped
[ $failed -eq 0 ] && [ $broken -eq 0 ]
