#!/usr/bin/env bash
# Runs every test, from nothing but a checkout: installs what is missing, builds each configuration and tests it.
# With --quick, g++ Release alone.
set -euo pipefail
root=$(cd "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")/.." && pwd)
source "$root/scripts/setup.sh"

configurations=(release debug asan-ubsan tsan clang portable arm64)
case "$*" in
  '') ;;
  --quick) configurations=(release) ;;
  --help) sed -n '2,3s/^# //p' "$0"; exit 0 ;;
  *) stop "there is no option '$*'; there is --quick, for g++ Release alone" ;;
esac

need_build_tools
need libgtest-dev has_header gtest/gtest.h
need libcli11-dev has_header CLI/CLI.hpp
need libpng-dev has_header png.h
need libbenchmark-dev has_header benchmark/benchmark.h
need binutils has_program objdump
need clang-format-14 has_program clang-format-14
if [ ${#configurations[@]} -gt 1 ]; then
  need clang has_program clang++
  need g++-aarch64-linux-gnu has_program aarch64-linux-gnu-g++
  need qemu-user has_program qemu-aarch64
  need googletest has_file /usr/src/googletest
fi
install_missing

# A number in the results that ctest has written for a configuration.
count_of() { sed -n "s/.*[[:space:]]$2=\"\([0-9]*\)\".*/\1/p" "$root/build/$1/results.xml" | head -n 1; }

# Runs the tests of a configuration. Those that look at the project as a whole run in the first one alone.
run_tests() {
  local options=(--test-dir "$root/build/$1" --output-on-failure --no-tests=error -j "$(nproc)"
    --output-junit "$root/build/$1/results.xml")
  local run=()
  [ "$1" = "${configurations[0]}" ] || options+=(--label-exclude project)
  # ThreadSanitizer does not know where newer kernels put things when they choose at random.
  [ "$1" = tsan ] && setarch -R true 2>/dev/null && run=(setarch -R)
  "${run[@]}" ctest "${options[@]}"
}

passed=0 failed=0 skipped=0 broken=0 table=()
for configuration in "${configurations[@]}"; do
  say "== $configuration"
  start=$SECONDS
  build "$configuration"
  rm -f "$root/build/$configuration/results.xml"
  run_tests "$configuration" || { say "$configuration: tests failed"; broken=1; }
  [ -s "$root/build/$configuration/results.xml" ] || stop "$configuration: no test ran"
  all=$(count_of "$configuration" tests) bad=$(count_of "$configuration" failures)
  left_out=$(($(count_of "$configuration" skipped) + $(count_of "$configuration" disabled)))
  good=$((all - bad - left_out))
  passed=$((passed + good)) failed=$((failed + bad)) skipped=$((skipped + left_out))
  table+=("$(printf '%-12s %5d passed %5d failed %5d skipped %5d s' "$configuration" $good $bad $left_out \
    $((SECONDS - start)))")
done

printf '\n'
printf '%s\n' "${table[@]}"
printf '%d passed, %d failed, %d skipped\n' $passed $failed $skipped
# ctest counts a program that could not be started as skipped, but says that it failed.
[ $failed -eq 0 ] && [ $broken -eq 0 ]
