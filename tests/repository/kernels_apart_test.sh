#!/usr/bin/env bash
# Functions that the linker merges across objects must not contain newer instructions: older processors would run the wide
# kernels' copies. Whatever the flags of a build.
# kernels_apart_test.sh SOURCE BUILD WORK
set -euo pipefail
source=$1 build=$2 work=$3
rm -rf "$work" && mkdir -p "$work"
export CMAKE_GENERATOR=Ninja
wide=(Runtime/zr_maths/CMakeFiles/zr_maths.dir/src/noise/kernels/avx{2,512}_kernels.cpp.o
  Runtime/zr_support/CMakeFiles/zr_support.dir/src/streams/avx{2,512}_streams.cpp.o)

# shared_newer_code OBJECT: its functions with AVX instructions that other objects may define under the same name. Names with
# a type of the instruction set are in no other object.
shared_newer_code() {
  local section sections=()
  while read -r section; do
    sections+=(-j "$section")
  done < <(readelf --section-groups --wide "$1" | awk '
    /^COMDAT group/ { shared = !/4Avx2|6Avx512/ }
    shared && $NF ~ /^\.text/ { print $NF }')
  [ "${#sections[@]}" -eq 0 ] || objdump --disassemble --demangle --no-show-raw-insn "${sections[@]}" "$1" |
    awk '/^[0-9a-f]+ <.*>:$/ { name = $0 } /^ .*:\t(v|.*%([yz]mm|k[0-7]))/ { print name }' | sort -u
}

# expect_apart BUILD WHAT
expect_apart() {
  local object shared
  for object in "${wide[@]/#/$1/}"; do
    shared=$(shared_newer_code "$object")
    [ -z "$shared" ] || { printf '%s: %s shares\n%s\n' "$2" "${object##*/}" "$shared"; exit 1; }
  done
  echo "$2: apart"
}

# expect_apart_with COMPILER TYPE [FLAGS]
expect_apart_with() {
  command -v "$1" >/dev/null || { echo "NOT TRIED: $1"; return 0; }
  { cmake -S "$source" -B "$work/$1" -DCMAKE_CXX_COMPILER="$1" -DCMAKE_BUILD_TYPE="$2" -DCMAKE_CXX_FLAGS="${3:-}" \
    -DVESTREL_BUILD_TESTS=OFF -DVESTREL_BUILD_TOOLS=OFF -DVESTREL_BUILD_SAMPLES=OFF -DVESTREL_BUILD_BENCHMARKS=OFF &&
    cmake --build "$work/$1" -j 2 --target "${wide[@]}"; } >"$work/log" 2>&1 || { cat "$work/log"; exit 1; }
  expect_apart "$work/$1" "$*"
}

# A fault that must be found.
echo 'inline float Twice(float x) { return x + x; } float (*twice)(float) = Twice;' |
  g++ -mavx -x c++ -c - -o "$work/shared.o"
[ -n "$(shared_newer_code "$work/shared.o")" ] || { echo 'this test does not see shared code'; exit 1; }

expect_apart "$build" 'this build'
# Instrumented, even functions that are always inlined have a copy.
expect_apart_with clang++ Release
expect_apart_with clang++ Debug '-finstrument-functions -D_GLIBCXX_ASSERTIONS -fsanitize=address,undefined'
expect_apart_with g++ Debug '-finstrument-functions -D_GLIBCXX_ASSERTIONS'
expect_apart_with g++ Debug -fkeep-inline-functions

# An old processor runs a program in which the linker had the choice.
if command -v qemu-x86_64 >/dev/null; then
  build=$work/g++
  cmake --build "$build" -j 2 >"$work/log" 2>&1 || { cat "$work/log"; exit 1; }
  cat >"$work/program.cpp" <<'END'
#include <zr_maths/verify_arithmetic.h>

#include <cstdlib>

int main(int count, char**) {
    return std::abs(-0.5 * count) == 0.5 && Vestrel::VerifyArithmetic() ? 0 : 1;
}
END
  includes=(-I "$source/Runtime/zr_support/include" -I "$build/Runtime/zr_support/include" -I "$source/Runtime/zr_maths/include")
  g++ "${includes[@]}" -fkeep-inline-functions -c "$work/program.cpp" -o "$work/program.o"
  # The linker keeps the first of several copies, so the kernels come first.
  g++ "${wide[@]/#/$build/}" "$work/program.o" "$build"/Runtime/zr_{maths,support}/*.a -o "$work/program"
  qemu-x86_64 -cpu Nehalem "$work/program"
  echo 'g++ Debug -fkeep-inline-functions: runs on a Nehalem'
else
  echo 'NOT TRIED: an old processor; qemu-x86_64 is missing (Debian: qemu-user)'
fi
