#!/usr/bin/env bash
# Compilers and flags that cannot keep the library's promises are refused with one clear sentence.
# compilers_test.sh SOURCE COMPILER WORK
set -euo pipefail
source=$1 compiler=$2 work=$3
rm -rf "$work" && mkdir -p "$work"

# expect_refusal MESSAGE COMMAND...
expect_refusal() {
  local message=$1
  shift
  if "$@" >"$work/log" 2>&1; then
    echo "accepted: $*"
    exit 1
  fi
  tr '\n' ' ' <"$work/log" | tr -s ' ' | grep -qF "$message" || { cat "$work/log"; exit 1; }
}

check=(-P "$source/cmake/CheckCompiler.cmake")
supported='Vestrel needs g++ 12 or newer, or clang++ 14 or newer'
expect_refusal "$supported; this is GNU 11.4." cmake -DCMAKE_CXX_COMPILER_ID=GNU -DCMAKE_CXX_COMPILER_VERSION=11.4 "${check[@]}"
expect_refusal "$supported; this is Clang 13.0." cmake -DCMAKE_CXX_COMPILER_ID=Clang -DCMAKE_CXX_COMPILER_VERSION=13.0 "${check[@]}"
expect_refusal "$supported; this is MSVC 19.38." cmake -DCMAKE_CXX_COMPILER_ID=MSVC -DCMAKE_CXX_COMPILER_VERSION=19.38 "${check[@]}"
cmake -DCMAKE_CXX_COMPILER_ID=GNU -DCMAKE_CXX_COMPILER_VERSION=12.2.0 "${check[@]}"
cmake -DCMAKE_CXX_COMPILER_ID=Clang -DCMAKE_CXX_COMPILER_VERSION=14.0.6 "${check[@]}"

header=("$compiler" -fsyntax-only -I "$source/Runtime/zr_support/include" -x c++)
expect_refusal "$supported" "${header[@]}" -std=c++17 -U__GNUC__ -U__clang__ "$source/Runtime/zr_support/include/zr_support/compiler.h"
expect_refusal "Vestrel's headers need C++17" "${header[@]}" -std=c++14 "$source/Runtime/zr_support/include/zr_support/compiler.h"

strict=("${header[@]}" -std=c++20 "$source/Runtime/zr_support/src/strict_arithmetic.h")
expect_refusal "Vestrel's own sources need IEEE arithmetic" "${strict[@]}" -ffast-math
expect_refusal "Vestrel's own sources need IEEE arithmetic" "${strict[@]}" -ffinite-math-only
if [ "$(uname -m)" = x86_64 ]; then
  expect_refusal "Vestrel's own sources need float operations that round to float" "${strict[@]}" -mfpmath=387 -mno-sse
fi
"${strict[@]}"

# Every source file asks for it.
cmake -S "$source" -B "$work/build" -G Ninja -DCMAKE_CXX_COMPILER="$compiler" -DVESTREL_BUILD_TESTS=OFF \
  -DVESTREL_BUILD_TOOLS=OFF -DVESTREL_BUILD_SAMPLES=OFF -DVESTREL_BUILD_BENCHMARKS=OFF >"$work/log" 2>&1 ||
  { cat "$work/log"; exit 1; }
runtime=$source/Runtime
for file in "$runtime"/zr_maths/src/noise/*.cpp "$runtime"/zr_support/src/{simd_backend,std_random_generator}.cpp; do
  compile=("$compiler" -std=c++20 -fsyntax-only -I "$runtime/zr_support/include" -I "$runtime/zr_support/src"
    -I "$runtime/zr_maths/include" -I "$work/build/Runtime/zr_support/include" "$file")
  "${compile[@]}"
  expect_refusal "Vestrel's own sources need IEEE arithmetic" "${compile[@]}" -ffast-math
done
echo 'all refused'
