#!/usr/bin/env bash
# Code that is compiled for newer processors stays out of the way of older ones, whatever other flags a build has: what
# the linker keeps one copy of, and the wide kernels' objects have a copy of too, needs no newer instructions there.
# kernels_apart_test.sh SOURCE WORK
set -euo pipefail
source=$1 work=$2
rm -rf "$work" && mkdir -p "$work"
export CMAKE_GENERATOR=Ninja
wide=Runtime/zr_maths/CMakeFiles/zr_maths.dir/src/noise/wide

# shared_newer_code OBJECT: the functions with AVX instructions that other objects may have by the same name, and of which
# the linker then keeps one. Those with a type of the instruction set in their names are in no other object.
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

# configured BUILD COMPILER TYPE FLAGS
configured() {
  cmake -S "$source" -B "$1" -DCMAKE_CXX_COMPILER="$2" -DCMAKE_BUILD_TYPE="$3" -DCMAKE_CXX_FLAGS="$4" \
    -DVESTREL_BUILD_TESTS=OFF -DVESTREL_BUILD_TOOLS=OFF -DVESTREL_BUILD_SAMPLES=OFF -DVESTREL_BUILD_BENCHMARKS=OFF
}

# expect_apart COMPILER TYPE [FLAGS]
expect_apart() {
  local build=$work/$1 object shared
  { configured "$build" "$1" "$2" "${3:-}" && cmake --build "$build" -j 2 --target $wide/avx{2,512}_kernels.cpp.o; } \
    >"$build.log" 2>&1 || { cat "$build.log"; exit 1; }
  for object in "$build/$wide"/avx{2,512}_kernels.cpp.o; do
    shared=$(shared_newer_code "$object")
    [ -z "$shared" ] || { printf '%s %s %s: %s shares\n%s\n' "$1" "$2" "${3:-}" "${object##*/}" "$shared"; exit 1; }
  done
  echo "$1 $2 ${3:-}: apart"
}

# To see that it would be seen.
echo 'inline float Twice(float x) { return x + x; } float (*twice)(float) = Twice;' |
  g++ -mavx -x c++ -c - -o "$work/shared.o"
[ -n "$(shared_newer_code "$work/shared.o")" ] || { echo 'this test does not see shared code'; exit 1; }

for compiler in g++ clang++; do
  command -v "$compiler" >/dev/null || { echo "NOT TRIED: $compiler"; continue; }
  expect_apart $compiler Release
  expect_apart $compiler Debug
  expect_apart $compiler Debug '-fno-inline -ffunction-sections -finstrument-functions -D_GLIBCXX_ASSERTIONS --coverage'
  expect_apart $compiler Debug -fsanitize=address,undefined
done
expect_apart g++ Debug '-fno-weak -fkeep-static-functions -fno-default-inline'
expect_apart g++ Debug -fkeep-inline-functions

# An old processor runs a program in which the linker had the choice.
if command -v qemu-x86_64 >/dev/null; then
  build=$work/g++
  cmake --build "$build" -j 2 >"$build.log" 2>&1 || { cat "$build.log"; exit 1; }
  cat >"$work/program.cpp" <<'END'
#include <zr_maths/verify_arithmetic.h>

#include <cstdlib>

int main(int count, char**) {
    return std::abs(-0.5 * count) == 0.5 && Vestrel::VerifyArithmetic() ? 0 : 1;
}
END
  includes=(-I "$source/Runtime/zr_support/include" -I "$build/Runtime/zr_support/include" -I "$source/Runtime/zr_maths/include")
  g++ "${includes[@]}" -fkeep-inline-functions -c "$work/program.cpp" -o "$work/program.o"
  # The kernels come first, and the linker keeps the first copy of what there are several of.
  g++ "$build/$wide"/avx*.o "$work/program.o" "$build"/Runtime/zr_{maths,support}/*.a -o "$work/program"
  qemu-x86_64 -cpu Nehalem "$work/program"
  echo 'g++ Debug -fkeep-inline-functions: runs on a Nehalem'
else
  echo 'NOT TRIED: an old processor, for which there is no qemu-x86_64 here (Debian: qemu-user)'
fi
