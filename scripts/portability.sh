#!/usr/bin/env bash
# Compares every operation with the table of pinned bits: for every compiler, level of optimisation, instruction set,
# processor and kind of caller that this machine can build for and run, natively or under emulation. Then runs the whole test
# suite natively and on arm64.
#   --table          the table alone, with few results of each operation and without the rows that others stand for
#   --whole-table    the table alone
#   --row NAME       one row, by the name that is printed
set -euo pipefail
root=$(cd "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")/.." && pwd)
source "$root/scripts/setup.sh"

suites=() wanted= few=
case "$#,${1:-}" in
  0,) suites=(release arm64-qemu) ;;
  1,--table) few=-DVESTREL_FEW_RESULTS=ON ;;
  1,--whole-table) ;;
  2,--row) wanted=$2 ;;
  1,--help | 1,-h) show_help ;;
  *) stop "there is no option '$*'; there are --table, --whole-table and --row NAME" ;;
esac

is_x86() { [ "$(uname -m)" = x86_64 ]; }

# has_feature FLAG: whether this processor has it.
has_feature() { [ -z "$(lacking_features "$1")" ]; }

compiles_for_32_bits() { echo '#include <vector>' | g++ -m32 -x c++ -fsyntax-only - 2>/dev/null; }

need_build_tools
need_compiler_cache
need clang-14 has_program clang++-14
need clang-19 has_program clang++-19
need g++-aarch64-linux-gnu has_program aarch64-linux-gnu-g++
need g++-arm-linux-gnueabihf has_program arm-linux-gnueabihf-g++
need g++-powerpc64-linux-gnu has_program powerpc64-linux-gnu-g++
need g++-powerpc64le-linux-gnu has_program powerpc64le-linux-gnu-g++
need g++-riscv64-linux-gnu has_program riscv64-linux-gnu-g++
need g++-s390x-linux-gnu has_program s390x-linux-gnu-g++
need qemu-user has_program qemu-aarch64
need lld-19 has_program wasm-ld-19
wasm_files=(/usr/include/wasm32-wasi/stdio.h /usr/lib/llvm-19/include/wasm32-wasi/c++/v1/vector
  /usr/lib/wasm32-wasi/libc++abi.a /usr/lib/llvm-19/lib/clang/19/lib/wasi/libclang_rt.builtins-wasm32.a)
need wasi-libc has_file "${wasm_files[0]}"
need libc++-19-dev-wasm32 has_file "${wasm_files[1]}"
need libc++abi-19-dev-wasm32 has_file "${wasm_files[2]}"
need libclang-rt-19-dev-wasm32 has_file "${wasm_files[3]}"
need nodejs has_program node
need googletest has_file /usr/src/googletest
if is_x86; then
  # The package without the 12 removes the cross compilers.
  need g++-12-multilib compiles_for_32_bits
fi
# Without a package, the rows that need it say so.
(install_missing) || for package in "${missing[@]}"; do
  (missing=("$package") && install_missing) || say "going on without $package"
done

work=$root/build/portability
rm -rf "$work"
mkdir -p "$work/rows"
unset DESTDIR CXX CXXFLAGS LDFLAGS "${!GTEST_@}"
export CMAKE_GENERATOR=Ninja

# A row is a command that fails where the bits are not the pinned ones. It runs in a folder of its own, without -e.
cannot() {
  echo "$*" >reason
  exit 77
}

# needs PROGRAM-OR-FILE...
needs() {
  local what
  for what in "$@"; do
    if [[ $what == /* ]]; then has_file "$what"; else has_program "$what"; fi || cannot "there is no $what"
  done
}

needs_x86() { is_x86 || cannot 'this is not an x86-64 machine'; }
needs_feature() { has_feature "$1" || cannot "the processor has no $1"; }

# table [cmake option]...: builds the table and runs it.
table() {
  cmake -S "$root/tests/portability" -B build $few "$@" || return 1
  cmake --build build --target run >output 2>&1 || { cat output; return 1; }
  sed -n 's/ operations have the pinned bits//p' output | paste -sd ';' | sed 's/;/; /g' >reason
  [ -s reason ]
}

# native COMPILER FLAGS [cmake option]...
native() {
  needs "$1"
  table -DVESTREL_SOURCE="$root" -DCMAKE_CXX_COMPILER="$1" -DCMAKE_CXX_FLAGS="$2" "${@:3}"
}

# x86 FEATURE COMPILER FLAGS [cmake option]...
x86() {
  needs_x86
  needs_feature "$1"
  native "${@:2}"
}

# ran_with KERNELS: whether the table ran with exactly these, the best first.
ran_with() {
  [ "$(sed -nE 's/.* backend, (.*): [0-9]+ of .*/\1/p' output | paste -sd ',')" = "$1" ] || { cat output; return 1; }
}

# old_x86 PROCESSOR KERNELS [FLAG]: a build for all of x86-64, or with the flag, on a processor without newer instructions. It
# has to choose the kernels that run there.
old_x86() {
  needs qemu-x86_64
  x86 sse2 g++ "-O2 ${3:-}" -DCMAKE_CROSSCOMPILING_EMULATOR="qemu-x86_64;-cpu;$1" && ran_with "$2"
}

# old_x86_refuses PROCESSOR FLAG: shows that the emulated processor is an old one: a build with the flag stops there.
old_x86_refuses() {
  needs qemu-x86_64
  needs_x86
  ! native g++ "-O2 $2" -DCMAKE_CROSSCOMPILING_EMULATOR="qemu-x86_64;-cpu;$1" || return 1
  echo "what is built with $2 stops there" >reason
  grep -qE 'Illegal instruction|uncaught target signal 4' output
}

# emulated_pc MODEL KERNELS: the same on an emulated PC, for instructions that qemu lacks.
emulated_pc() {
  needs_x86
  [ ! -s "$work/no_emulated_pc" ] || cannot "$(tail -n 1 "$work/no_emulated_pc")"
  native g++ -O2 -DCMAKE_EXE_LINKER_FLAGS=-static \
    -DCMAKE_CROSSCOMPILING_EMULATOR="$root/scripts/emulated_pc.sh;$1" && ran_with "$2"
}

# Debian's compiler for 32-bit x86 does not find the kernel's headers.
flags_32_bits='-O2 -m32 -idirafter /usr/include/x86_64-linux-gnu'

# x87 computes with more digits than float.
x87_is_refused() {
  needs_x86
  compiles_for_32_bits || cannot 'there is no g++ for 32-bit x86'
  ! native g++ "$flags_32_bits -mno-sse" >refusal 2>&1 || return 1
  grep -o "Vestrel's own sources need float operations that round to float.*" refusal | head -n 1 >reason
  [ -s reason ]
}

x86_32_bits() {
  needs_x86
  compiles_for_32_bits || cannot 'there is no g++ for 32-bit x86'
  native g++ "$flags_32_bits -msse2 -mfpmath=sse"
}

# The two compilers pass SSE values in different places.
x86_32_bits_other_compiler_is_refused() {
  needs_x86
  needs clang++-19
  compiles_for_32_bits || cannot 'there is no g++ for 32-bit x86'
  local flags="$flags_32_bits -msse2 -mfpmath=sse"
  install_library "$PWD" -DCMAKE_CXX_FLAGS="$flags" || return 1
  ! table -DCMAKE_PREFIX_PATH="$PWD/prefix" -DCMAKE_CXX_COMPILER=clang++-19 -DCMAKE_CXX_FLAGS="$flags" || return 1
  grep -o 'undefined reference to .*::SampleLinear(.*passed_as_by_clang.*' output | head -n 1 >reason
  [ -s reason ]
}

# emulated TOOLCHAIN PROGRAM-OR-FILE... [-- cmake option]...: needs these; also runs the tests of the lane operations.
emulated() {
  local toolchain=$root/cmake/toolchains/$1.cmake
  shift
  needs /usr/src/googletest
  while [ $# -gt 0 ] && [ "$1" != -- ]; do
    needs "$1"
    shift
  done
  table -DVESTREL_SOURCE="$root" -DCMAKE_BUILD_TYPE=Release --toolchain "$toolchain" \
    -DVESTREL_GTEST_SOURCE=/usr/src/googletest/googletest "${@:2}"
}

# install_library FOLDER [cmake option]...: installs the library as FOLDER/prefix.
install_library() {
  cmake -S "$root" -B "$1/library" -DCMAKE_CXX_COMPILER=g++ -DCMAKE_BUILD_TYPE=Release -DVESTREL_BUILD_TESTS=OFF \
    -DVESTREL_BUILD_TOOLS=OFF -DVESTREL_BUILD_SAMPLES=OFF -DVESTREL_BUILD_BENCHMARKS=OFF "${@:2}" &&
    cmake --build "$1/library" && cmake --install "$1/library" --prefix "$1/prefix"
}

# consumer COMPILER CALLER-FLAGS [cmake option]...
consumer() {
  needs "$1"
  table -DCMAKE_PREFIX_PATH="$work/prefix" -DCMAKE_CXX_COMPILER="$1" -DCMAKE_BUILD_TYPE=Release \
    -DVESTREL_CALLER_FLAGS="$2" "${@:3}"
}

x86_consumer() {
  needs_x86
  needs_feature "$1"
  consumer "${@:2}"
}

# With these flags clang++ for Cortex-A8 uses NEON for single floats, too, and g++ for neighbouring ones.
fast_caller='-DVESTREL_CALLER_FLAGS="-O3 -ffast-math"'

# Name | command. Rows with the same flags share objects, unless they start together.
rows=(
  'g++ -O2|native g++ -O2'
  'g++ -O0|native g++ -O0'
  'g++ -O3 -march=native|native g++ "-O3 -march=native"'
  'clang++ 19 -O0|native clang++-19 -O0'
  'clang++ 19 -O3|native clang++-19 -O3'
  'clang++ 19 -O3 -march=native|native clang++-19 "-O3 -march=native"'
  'g++ -O2 SSE4.1|x86 sse4_1 g++ "-O2 -msse4.1"'
  'g++ -O2 AVX encoding|x86 avx g++ "-O2 -mavx"'
  'caller with -ffast-math, g++|consumer g++ "-O3 -ffast-math"'
  'caller with -ffast-math, clang++ 19|consumer clang++-19 "-O3 -ffast-math"'
  'caller with -mfma, g++|x86_consumer fma g++ "-O3 -mavx2 -mfma -ffp-contract=fast"'
  'caller with -mfma, clang++ 19|x86_consumer fma clang++-19 "-O3 -mavx2 -mfma -ffp-contract=fast"'
  'caller with link-time optimisation|consumer g++ "-O3" -DCMAKE_INTERPROCEDURAL_OPTIMIZATION=ON'
  '32-bit x86 SSE|x86_32_bits'
  '32-bit x86 SSE, two compilers, refused|x86_32_bits_other_compiler_is_refused'
  '32-bit x86 x87, refused|x87_is_refused'
  'x86 core2duo, emulated|old_x86 core2duo "four lanes"'
  'x86 Nehalem, emulated|old_x86 Nehalem "four lanes"'
  'x86 SandyBridge, emulated|old_x86 SandyBridge "four lanes"'
  'x86 Haswell, emulated|old_x86 Haswell "AVX2,four lanes"'
  'x86 Nehalem, newer code stops|old_x86_refuses Nehalem -mavx'
  'x86 Ice Lake, AVX-512 with VBMI, Bochs|emulated_pc corei7_icelake_u "AVX-512,AVX2,four lanes"'
  'arm64 clang++ 19, emulated|emulated arm64-qemu clang++-19 aarch64-linux-gnu-g++ qemu-aarch64 -- -DVESTREL_CROSS_CLANG=clang++-19'
  '32-bit arm, emulated|emulated arm32-qemu arm-linux-gnueabihf-g++ qemu-arm'
  '32-bit arm NEON g++, emulated|emulated arm32-qemu arm-linux-gnueabihf-g++ qemu-arm -- -DCMAKE_CXX_FLAGS=-mfpu=neon '"$fast_caller"
  '32-bit arm NEON clang++ 19, emulated|emulated arm32-qemu clang++-19 arm-linux-gnueabihf-g++ qemu-arm -- -DVESTREL_CROSS_CLANG=clang++-19 -DCMAKE_CXX_FLAGS=-mcpu=cortex-a8 '"$fast_caller"
  'ppc64 AltiVec g++, emulated|emulated ppc64-qemu powerpc64-linux-gnu-g++ qemu-ppc64 -- -DCMAKE_CXX_FLAGS=-maltivec '"$fast_caller"
  'riscv64, emulated|emulated riscv64-qemu riscv64-linux-gnu-g++ qemu-riscv64'
  'ppc64le, emulated|emulated ppc64le-qemu powerpc64le-linux-gnu-g++ qemu-ppc64le'
  's390x big-endian, emulated|emulated s390x-qemu s390x-linux-gnu-g++ qemu-s390x'
  "wasm32 SIMD, under node|emulated wasm32-node clang++-19 wasm-ld-19 node ${wasm_files[*]}"
)

# Rows that others stand for.
rest=(
  # The configurations `clang`, `portable` and `arm64-qemu` of scripts/test.sh, at -O3.
  'clang++ 14 -O2|native clang++-14 -O2'
  'g++ -O2 portable|native g++ -O2 -DVESTREL_PORTABLE_SIMD=ON'
  'arm64 g++, emulated|emulated arm64-qemu aarch64-linux-gnu-g++ qemu-aarch64'
  # g++ -O2: what x86-64 has by default.
  'g++ -O2 SSE2|x86 sse2 g++ "-O2 -msse2 -mno-sse3"'
  # The row without -mavx; which kernels run there says that the processor is one without AVX2.
  'x86 SandyBridge AVX encoding, emulated|old_x86 SandyBridge "four lanes" -mavx'
  'x86 SandyBridge, newer code stops|old_x86_refuses SandyBridge -mavx2'
  # Without VBMI the kernels of AVX-512 are not taken, but those of AVX2, as on Haswell.
  'x86 Skylake-X, AVX-512 without VBMI, Bochs|emulated_pc corei7_skylake_x "AVX2,four lanes"'
  # clang++ 19 for another processor of the family, and g++ for the same.
  '32-bit arm NEON clang++ 14, emulated|emulated arm32-qemu clang++-14 arm-linux-gnueabihf-g++ qemu-arm -- -DVESTREL_CROSS_CLANG=clang++-14 -DCMAKE_CXX_FLAGS=-mcpu=cortex-a7'
  'ppc64 AltiVec clang++ 19, emulated|emulated ppc64-qemu clang++-19 powerpc64-linux-gnu-g++ qemu-ppc64 -- -DVESTREL_CROSS_CLANG=clang++-19 '"$fast_caller"
)
[ -n "$few" ] || rows+=("${rest[@]}")

for index in "${!rows[@]}"; do
  [ -z "$wanted" ] || [ "${rows[$index]%%|*}" = "$wanted" ] || unset "rows[$index]"
done
[ ${#rows[@]} -gt 0 ] || stop "there is no row '$wanted'"

# run_row INDEX: writes `outcome` (passed, failed or not run) and `reason` into the row's folder.
run_row() {
  local name=${rows[$1]%%|*} command=${rows[$1]#*|} folder=$work/rows/$1 status=0
  mkdir -p "$folder"
  (cd "$folder" && eval "$command") >"$folder/log" 2>&1 || status=$?
  case $status in
    0) echo passed ;;
    77) echo 'not run' ;;
    *) echo failed; echo "see $folder/log" >"$folder/reason" ;;
  esac >"$folder/outcome"
  say "$(printf '%-42s %-8s %s' "$name" "$(<"$folder/outcome")" "$(<"$folder/reason")")"
}

if is_x86 && [[ "${rows[*]}" == *emulated_pc* ]]; then
  "$root/scripts/emulated_pc.sh" --prepare >"$work/emulated_pc.log" 2>&1 || cp "$work/emulated_pc.log" "$work/no_emulated_pc"
fi

say "building and running ${#rows[@]} rows"
install_library "$work" >"$work/library.log" 2>&1 || { tail -n 20 "$work/library.log" >&2; stop 'the library cannot be installed'; }
for index in "${!rows[@]}"; do
  while [ "$(jobs -rp | wc -l)" -ge "$(nproc)" ]; do
    wait -n || true
  done
  run_row "$index" &
done
wait

declare -A suite_outcomes
for suite in "${suites[@]}"; do
  "$root/scripts/test.sh" --only "$suite" && suite_outcomes[$suite]=passed || suite_outcomes[$suite]=failed
done

printf '\n'
passed=0 failed=0 not_run=0
for index in "${!rows[@]}"; do
  outcome=$(<"$work/rows/$index/outcome")
  printf '%-42s %-8s %s\n' "${rows[$index]%%|*}" "$outcome" "$(<"$work/rows/$index/reason")"
  case $outcome in
    passed) passed=$((passed + 1)) ;;
    failed) failed=$((failed + 1)); tail -n 20 "$work/rows/$index/log" >&2 ;;
    *) not_run=$((not_run + 1)) ;;
  esac
done
for suite in "${suites[@]}"; do
  printf '%-42s %s\n' "the whole test suite, $suite" "${suite_outcomes[$suite]}"
  [ "${suite_outcomes[$suite]}" = passed ] && passed=$((passed + 1)) || failed=$((failed + 1))
done
echo $passed $failed $not_run >"$work/results"
printf 'portability: %d passed, %d failed, %d not run\n' $passed $failed $not_run
[ $failed -eq 0 ]
