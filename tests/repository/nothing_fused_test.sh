#!/usr/bin/env bash
# Built for a processor that can fuse products and sums, and with link-time optimisation asked for, the libraries
# hold no fused instruction and no code that is left to the linker to compile. Without the flag that keeps compilers
# from fusing, this test finds what they fuse.
# nothing_fused_test.sh SOURCE COMPILER WORK
set -euo pipefail
source=$1 compiler=$2 work=$3
[ "$(uname -m)" = x86_64 ] || { echo 'not an x86-64 machine: nothing to look at'; exit 0; }
rm -rf "$work" && mkdir -p "$work"
export CXX=$compiler CMAKE_GENERATOR=Ninja

quietly() { "$@" >"$work/log" 2>&1 || { cat "$work/log"; exit 1; }; }
fused_count() { objdump -d --no-show-raw-insn "$1" | grep -cE '\bvfn?m(add|sub)' || true; }

quietly cmake -S "$source" -B "$work/build" -DCMAKE_BUILD_TYPE=Release -DCMAKE_CXX_FLAGS='-mavx2 -mfma -flto' \
  -DCMAKE_INTERPROCEDURAL_OPTIMIZATION=ON -DVESTREL_BUILD_TESTS=OFF -DVESTREL_BUILD_TOOLS=OFF \
  -DVESTREL_BUILD_SAMPLES=OFF -DVESTREL_BUILD_BENCHMARKS=OFF
quietly cmake --build "$work/build"
for library in "$work"/build/Runtime/*/lib*.a; do
  instructions=$(objdump -d --no-show-raw-insn "$library" | grep -cE '^ +[0-9a-f]+:' || true)
  [ "$instructions" -gt 20 ] || { echo "$library holds no machine code"; exit 1; }
  fused=$(fused_count "$library")
  echo "$library: $instructions instructions, $fused fused"
  [ "$fused" -eq 0 ] || exit 1
done

quietly "$compiler" -std=c++20 -O3 -mavx2 -mfma -ffp-contract=fast -I "$source/Runtime/zr_support/include" \
  -I "$source/Runtime/zr_support/src" -I "$source/Runtime/zr_maths/include" -I "$work/build/Runtime/zr_support/include" \
  -c "$source/Runtime/zr_maths/src/noise/maths_noise_fast.cpp" -o "$work/fused.o"
[ "$(fused_count "$work/fused.o")" -gt 0 ] || { echo 'this test does not see fused instructions'; exit 1; }
