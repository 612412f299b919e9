#!/usr/bin/env bash
# Compilers and flags that would break the library's promises are refused with one clear sentence.
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

# accepts_flags FLAG...: whether the compiler can build programs with them here.
accepts_flags() {
  printf '#include <string>\nint main() {}\n' | "$compiler" -Werror "$@" -x c++ - -o "$work/program" >/dev/null 2>&1
}

libraries=(-DCMAKE_CXX_COMPILER="$compiler" -G Ninja -DVESTREL_BUILD_TESTS=OFF -DVESTREL_BUILD_TOOLS=OFF
  -DVESTREL_BUILD_SAMPLES=OFF -DVESTREL_BUILD_BENCHMARKS=OFF)
quietly() { "$@" >"$work/log" 2>&1 || { cat "$work/log"; exit 1; }; }
quietly cmake -S "$source" -B "$work/build" "${libraries[@]}"
runtime=$source/Runtime
compile=("$compiler" -fsyntax-only -Wfatal-errors -I "$runtime/zr_support/include" -I "$runtime/zr_support/internal"
  -I "$runtime/zr_maths/include" -I "$work/build/Runtime/zr_support/include")

# sources_of BUILD: the libraries' source files, relative to Runtime/.
sources_of() { ninja -C "$1" -t commands | sed -nE 's/.* -c .*\/Runtime\/([a-z_]+\/src\/[^ ]+\.cpp).*/\1/p'; }

# Every source file of the libraries includes the check for what would change its results. (Some have their own flags.)
mapfile -t files < <(sources_of "$work/build")
[ "${#files[@]}" -ge 9 ] || { echo 'the sources were not found'; exit 1; }
for file in "${files[@]}"; do
  read -ra own <<<"$(ninja -C "$work/build" -t commands | grep -F "/Runtime/$file" | grep -oE -- ' -mavx[^ ]*' | xargs || true)"
  expect_refusal "Vestrel's own sources need IEEE arithmetic" "${compile[@]}" -std=c++20 "${own[@]}" "$runtime/$file" -ffast-math
done
echo "${#files[@]} source files refuse -ffast-math"

# The check itself. clang++ hides most parts of -ffast-math.
strict=("${compile[@]}" -std=c++20 "$runtime/zr_support/src/streams/sin_stream.cpp")
"${strict[@]}"
parts=(-ffinite-math-only)
"$compiler" --version | grep -q clang || parts+=(-Ofast -freciprocal-math -fno-signed-zeros -funsafe-math-optimizations
  '-fassociative-math -fno-signed-zeros -fno-trapping-math')
for part in "${parts[@]}"; do
  expect_refusal "Vestrel's own sources need IEEE arithmetic" "${strict[@]}" $part
done
"$compiler" --version | grep -q clang ||
  expect_refusal "Vestrel's own sources need constants of double precision" "${strict[@]}" -fsingle-precision-constant
! accepts_flags -mfpmath=387 ||
  expect_refusal "Vestrel's own sources need float operations that round to float" "${strict[@]}" -mfpmath=387

# What clang++ hides, the sources switch off themselves, even after the library's own options.
cat >"$work/verify.cpp" <<'END'
#include <zr_maths/verify_arithmetic.h>

int main() {
    return Vestrel::VerifyArithmetic() ? 0 : 1;
}
END
# keeps_bits COMPILER FLAG...: whether a library built with these flags after all others keeps its bits.
keeps_bits() {
  local build=$work/$1
  quietly cmake -S "$source" -B "$build" "${libraries[@]}" -DCMAKE_CXX_COMPILER="$1" -DCMAKE_BUILD_TYPE=Release \
    -DCMAKE_CXX_COMPILE_OBJECT="<CMAKE_CXX_COMPILER> <DEFINES> <INCLUDES> <FLAGS> ${*:2} -o <OBJECT> -c <SOURCE>"
  quietly cmake --build "$build" -j 2
  "$1" -std=c++17 -I "$build/Runtime/zr_support/include" -I "$runtime/zr_support/include" -I "$runtime/zr_maths/include" \
    "$work/verify.cpp" "$build"/Runtime/zr_{maths,support}/*.a -o "$build/verify"
  "$build/verify"
}
for clang in clang++-14 clang++-19; do
  command -v $clang >/dev/null || { echo "NOT TRIED: $clang"; continue; }
  keeps_bits $clang -fassociative-math -fno-signed-zeros -fno-trapping-math -freciprocal-math -fapprox-func \
    -fno-honor-infinities -Xclang -mreassociate -Xclang -menable-no-nans -Xclang -menable-no-infs ||
    { echo "$clang: parts of -ffast-math change results"; exit 1; }
  echo "$clang: no part of -ffast-math changes results"
done

# 32-bit x86 computes in longer registers, unless told to use SSE. (The kernel's headers are those of 64 bits.)
m32="-m32 -idirafter /usr/include/x86_64-linux-gnu"
if accepts_flags $m32; then
  quietly cmake -S "$source" -B "$work/x87" "${libraries[@]}" -DCMAKE_CXX_FLAGS="$m32 -mno-sse -Wfatal-errors"
  expect_refusal "Vestrel's own sources need float operations that round to float" cmake --build "$work/x87" -- -k 0
  refusals=$(grep -c 'strict_arithmetic\.h:[0-9].* error: ' "$work/log" || true)
  count=$(sources_of "$work/x87" | wc -l)
  [ "$refusals" -eq "$count" ] || { echo "of $count source files $refusals refuse x87 arithmetic"; exit 1; }
  quietly cmake -S "$source" -B "$work/sse" "${libraries[@]}" -DCMAKE_CXX_FLAGS="$m32 -msse2 -mfpmath=sse"
  quietly cmake --build "$work/sse"
  echo "$refusals source files refuse 32-bit x86 with x87 arithmetic"
else
  echo "NOT TRIED: 32-bit x86; $compiler has no libraries for it (Debian: g++-12-multilib)"
fi

# Programs may use any of these flags: public headers accept them.
backend=$(sed -nE 's/.*BACKEND_([A-Z]+) 1$/\L\1/p' "$work/build/Runtime/zr_support/include/zr_support/config.h")
for folder in "$runtime"/*/include; do
  find "$folder" -name '*.h' ! -path '*/simd/*' -printf '#include <%P>\n'
done >"$work/headers.cpp"
printf '#include <zr_support/config.h>\n#include <zr_support/simd/%s.h>\n' "$backend" >>"$work/headers.cpp"
[ "$(wc -l <"$work/headers.cpp")" -ge 15 ] || { echo 'the public headers were not found'; exit 1; }
for flag in -ffast-math -ffinite-math-only -Ofast -mfpmath=387; do
  accepts_flags "$flag" && "${compile[@]}" -std=c++17 -Wall -Wextra -Werror "$flag" "$work/headers.cpp"
done
echo 'the public headers accept them'
