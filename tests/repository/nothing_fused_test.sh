#!/usr/bin/env bash
# No object of the libraries has an instruction that fuses a product and a sum, or estimates a reciprocal or a square root:
# on every processor that has such instructions, even with link-time optimisation requested. With -ffp-contract=fast this
# test finds some.
# nothing_fused_test.sh SOURCE COMPILER WORK
set -euo pipefail
source=$1 native=$2 work=$3
rm -rf "$work" && mkdir -p "$work"

# Forbidden mnemonics by processor: extended regular expressions, matched from the start.
declare -A forbidden=(
  [x86_64]='v4?fn?m(add|sub)|vfc?maddc|vdpbf16|v?rcp|v?rsqrt|vexp2|pfrcp|pfrsq'
  # NEON and scalar, complex, SVE, estimates and their steps
  [aarch64]='fn?m(add|sub)|fml[as]|fcmla|bfml|bfmmla|bfdot|fmmla|ftmad|fn?m(ad|sb|la|ls)$|u?f?recp[esx]|u?f?rsqrt[es]'
  [riscv64]='fn?m(add|sub)\.|vfw?n?m(acc|sac|add|sub)|vfrec7|vfrsqrt7'
  # scalar, VSX, AltiVec, matrices, estimates
  [powerpc64le]='(f|x[sv])n?m(add|sub)|vn?m(add|sub)fp|[pmd]*xvb?f[0-9]+ger|fr(sqrt)?es?\.?$|(x[sv]|v)r(sqrt)?e([ds]p|fp)'
  # binary and hexadecimal floats, vectors (there are no estimates); not products like vfmsb, or maxima like vfmaxsb
  [s390x]='m[as][ed](br?|r)?$|may[hl]?r?$|[vw]fn?m[as]([sdx]b)?$'
)
# Some that must be found, and some similar ones that must not.
declare -A found=(
  [x86_64]='vfmadd213ps vfnmsub231sd vfmaddsub132pd vfmaddps vrcp14ps rcpss vrsqrtps rsqrtss vrsqrt28pd vfcmaddcph'
  [aarch64]='fmadd fnmsub fmla fmls fmlal2 fcmla fmad fnmls frecpe frecps frecpx frsqrte frsqrts urecpe'
  [riscv64]='fmadd.s fnmsub.d fmsub.s vfmacc.vv vfnmsac.vf vfwmacc.vv vfrec7.v vfrsqrt7.v'
  [powerpc64le]='fmadds fnmsub xsmaddadp xvnmsubmsp vmaddfp vnmsubfp fres fre frsqrte xvresp xsrsqrtesp vrefp xvf32gerpp pmxvbf16ger2pp'
  [s390x]='maebr madb msdbr mse vfmasb wfmadb vfmssb wfmsdb wfmaxb vfnmasb wfnmsxb vfma'
)
declare -A innocent=(
  [x86_64]='vmulps vaddps vmaxps vsqrtps rcl ret vpmaddwd'
  [aarch64]='fmul fmulx fmov fmaxnm fsqrt madd msub mla smlal rev fmaxv'
  [riscv64]='fmul.s fmv.s.x fmax.s fsqrt.s vfmul.vv vfmax.vv'
  [powerpc64le]='fmuls fmr frsp xvmulsp xsrdpi xvrspi xxmrghw maddld vmladduhm fsqrts xvmaxsp'
  [s390x]='vfmsb wfmdb vfmdb vfmaxsb wfmaxdb wfmsb meebr msr msgr ma sqebr msfi'
)

# mnemonics OBJDUMP OBJECT
mnemonics() { "$1" -d --no-show-raw-insn "$2" | sed -nE 's/^ *[0-9a-f]+:\t(\{[a-z0-9]+\} )?([a-z0-9._]+).*/\2/p'; }

# forbidden_on PROCESSOR: the forbidden ones among the lines of the input.
forbidden_on() { grep -E "^(${forbidden[$1]})" || true; }

for processor in "${!forbidden[@]}"; do
  [ "$(tr ' ' '\n' <<<"${found[$processor]}" | forbidden_on "$processor" | xargs)" = "${found[$processor]}" ] ||
    { echo "$processor: not all of ${found[$processor]} are found"; exit 1; }
  [ -z "$(tr ' ' '\n' <<<"${innocent[$processor]}" | forbidden_on "$processor")" ] ||
    { echo "$processor: some of ${innocent[$processor]} are found"; exit 1; }
done

export CMAKE_GENERATOR=Ninja

# check PROCESSOR COMPILER FLAGS FOLDER: builds the libraries, and checks every object, and one with fused instructions.
check() {
  local processor=$1 compiler=$2 flags=$3 build=$4 objdump=$1-linux-gnu-objdump target=() objects object found count=0
  command -v "$objdump" >/dev/null || objdump=objdump
  [[ $compiler == *clang++* ]] && target=("-DCMAKE_CXX_COMPILER_TARGET=$processor-linux-gnu")
  cmake -S "$source" -B "$build" -DCMAKE_BUILD_TYPE=Release -DCMAKE_SYSTEM_NAME=Linux \
    -DCMAKE_SYSTEM_PROCESSOR="$processor" -DCMAKE_CXX_COMPILER="$compiler" "${target[@]}" \
    -DCMAKE_CXX_FLAGS="$flags -flto" \
    -DCMAKE_INTERPROCEDURAL_OPTIMIZATION=ON -DVESTREL_BUILD_TESTS=OFF -DVESTREL_BUILD_TOOLS=OFF \
    -DVESTREL_BUILD_SAMPLES=OFF -DVESTREL_BUILD_BENCHMARKS=OFF && cmake --build "$build" -j 1 || return 1
  mapfile -t objects < <(find "$build/Runtime" -name '*.o')
  for object in "${objects[@]}"; do
    mnemonics "$objdump" "$object" >"$build/mnemonics"
    # Tables have no code. An object for link-time optimisation has none, either, and is refused.
    "$objdump" -h "$object" >"$build/sections" && ! grep -q gnu.lto "$build/sections" ||
      { echo "$object holds no machine code"; return 1; }
    found=$(forbidden_on "$processor" <"$build/mnemonics" | sort | uniq -c)
    [ -z "$found" ] || { printf '%s holds\n%s\n' "$object" "$found"; return 1; }
    count=$((count + $(wc -l <"$build/mnemonics")))
  done
  [ "${#objects[@]}" -ge 7 ] || { echo "only ${#objects[@]} objects were found"; return 1; }

  # The same command with the flag overridden. (For clang++ 14 the removed one has the same effect.)
  local fused command name=Runtime/zr_maths/CMakeFiles/zr_maths.dir/src/noise/maths_noise_fast.cpp.o
  command=$(ninja -C "$build" -t commands "$name" | grep -F -- "-o $name" | tail -n 1)
  command=${command/-o $name/-o fused.o} command=${command/-fno-unsafe-math-optimizations/}
  (cd "$build" && eval "$command -ffp-contract=fast") || return 1
  fused=$(mnemonics "$objdump" "$build/fused.o" | forbidden_on "$processor" | wc -l)
  echo "RESULT $count instructions in ${#objects[@]} objects, none of them fused or estimating; $fused without the flag"
  [ "$fused" -gt 0 ] || { echo 'this test does not see fused instructions'; return 1; }
}

# Runs checks in the background, one per processor.
names=() skipped=()
start() {
  local name="$1, $2${3:+ $3}" folder=$work/${#names[@]}
  command -v "$2" >/dev/null || { skipped+=("$name: there is no $2"); return 0; }
  names+=("$name")
  mkdir "$folder"
  while [ "$(jobs -pr | wc -l)" -ge "$(nproc)" ]; do
    wait -n || true
  done
  { check "$1" "$2" "$3" "$folder/build" >"$folder/log" 2>&1 && touch "$folder/passed"; } &
}

compilers=("$native")
for other in g++ clang++; do
  [ "${native##*/}" = "$other" ] || compilers+=("$other")
done
if [ "$(uname -m)" = x86_64 ]; then
  for compiler in "${compilers[@]}"; do
    start x86_64 "$compiler" '-mavx2 -mfma'
    start x86_64 "$compiler" '-march=skylake-avx512'
  done
else
  skipped+=('x86_64: this is another processor')
fi
start aarch64 aarch64-linux-gnu-g++ ''
if command -v aarch64-linux-gnu-g++ >/dev/null; then
  start aarch64 clang++ '' # with g++'s headers and linker
fi
start riscv64 riscv64-linux-gnu-g++ ''
start powerpc64le powerpc64le-linux-gnu-g++ ''
start s390x s390x-linux-gnu-g++ '-march=z14'
wait

failed=0
for k in "${!names[@]}"; do
  if [ -e "$work/$k/passed" ]; then
    echo "${names[$k]}: $(sed -n 's/^RESULT //p' "$work/$k/log")"
  else
    echo "${names[$k]}: FAILED"
    cat "$work/$k/log"
    failed=1
  fi
done
[ ${#skipped[@]} -eq 0 ] || printf 'NOT LOOKED AT: %s\n' "${skipped[@]}"
[ ${#names[@]} -gt 0 ] || exit 77
exit $failed
