#!/usr/bin/env bash
# Nothing that is compiled for newer processors can be taken by the linker for the code of an older one: of all that a
# wide kernel's object shares with others by name, nothing is but its own.
# kernels_apart_test.sh SOURCE WORK
set -euo pipefail
source=$1 work=$2
rm -rf "$work" && mkdir -p "$work"
export CMAKE_GENERATOR=Ninja

# shared_code OBJECT: the functions in it of which the linker keeps one copy of many, but those with a type of the
# instruction set in their names. (Data that is shared is the same in all.)
shared_code() { nm -C --defined-only "$1" | sed -nE 's/^[0-9a-f]+ W //p' | grep -vE 'Internal::Avx(2|512)::' || true; }

for compiler in g++ clang++; do
  command -v "$compiler" >/dev/null || { echo "NOT TRIED: $compiler"; continue; }
  for type in Debug Release; do
    build=$work/$compiler-$type
    cmake -S "$source" -B "$build" -DCMAKE_CXX_COMPILER="$compiler" -DCMAKE_BUILD_TYPE="$type" -DVESTREL_BUILD_TESTS=OFF \
      -DVESTREL_BUILD_TOOLS=OFF -DVESTREL_BUILD_SAMPLES=OFF -DVESTREL_BUILD_BENCHMARKS=OFF >"$build.log" 2>&1 &&
      cmake --build "$build" -j 2 >>"$build.log" 2>&1 || { cat "$build.log"; exit 1; }
    mapfile -t objects < <(find "$build/Runtime" -path '*/wide/avx*' -name '*.o')
    [ "${#objects[@]}" -eq 2 ] || { echo "${#objects[@]} objects of wide kernels were found"; exit 1; }
    for object in "${objects[@]}"; do
      [ -z "$(shared_code "$object")" ] || { echo "$object shares"; shared_code "$object"; exit 1; }
    done
    echo "$compiler $type: no code of ${#objects[@]} objects is shared"
  done
  # To see that this would be seen: code for all processors is shared in a build without optimisation.
  other=$(find "$work/$compiler-Debug/Runtime" -name 'maths_noise_fast.cpp.o')
  [ -n "$(shared_code "$other")" ] || { echo 'this test does not see shared code'; exit 1; }
done
