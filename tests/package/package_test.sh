#!/usr/bin/env bash
# Uses the library as another project would, from outside the tree.
# package_test.sh CASE SOURCE COMPILER WORK
set -euo pipefail
case=$1 source=$2 compiler=$3 work=$4
here=$(dirname "$(readlink -f "$0")")
rm -rf "$work" && mkdir -p "$work"
export CXX=$compiler CMAKE_GENERATOR=Ninja

# The samples' hash is the same for every backend, compiler and flag.
expected='Vestrel 0\.1\.0, (NEON|SSE|portable), 7c81f65fe2eb3190$'

quietly() { "$@" >"$work/log" 2>&1 || { cat "$work/log"; exit 1; }; }

# install_vestrel PREFIX [cmake option]...
install_vestrel() {
  quietly cmake -S "$source" -B "$work/vestrel" -DCMAKE_BUILD_TYPE=Release -DVESTREL_BUILD_TESTS=OFF \
    -DVESTREL_BUILD_TOOLS=OFF -DVESTREL_BUILD_SAMPLES=OFF -DVESTREL_BUILD_BENCHMARKS=OFF "${@:2}"
  quietly cmake --build "$work/vestrel"
  quietly cmake --install "$work/vestrel" --prefix "$1"
}

# build_consumer [cmake option]...
build_consumer() {
  rm -rf "$work/consumer"
  quietly cmake -S "$here/consumer" -B "$work/consumer" -DCMAKE_BUILD_TYPE=Release "$@"
  quietly cmake --build "$work/consumer"
}

# expect_result PATTERN
expect_result() {
  local result
  result=$("$work/consumer/consumer")
  echo "$result"
  grep -Eq "$1" <<<"$result" || { echo "expected: $1"; exit 1; }
}

case $case in
  installed)
    install_vestrel "$work/prefix"
    mv "$work/prefix" "$work/moved" # the package does not depend on where it was installed
    build_consumer -DCMAKE_PREFIX_PATH="$work/moved"
    expect_result "$expected"
    ;;
  installed_other_flags)
    # A consumer with other flags than the library takes the library's backend all the same.
    install_vestrel "$work/prefix"
    flags='-O0'
    [ "$(uname -m)" = x86_64 ] && flags='-O3 -mavx2 -mfma'
    build_consumer -DCMAKE_PREFIX_PATH="$work/prefix" -DCMAKE_CXX_FLAGS="$flags"
    expect_result "$expected"
    ;;
  installed_portable)
    # By its own flags the consumer would choose SSE or NEON, whose values travel in other registers.
    install_vestrel "$work/prefix" -DVESTREL_PORTABLE_SIMD=ON
    build_consumer -DCMAKE_PREFIX_PATH="$work/prefix"
    expect_result "${expected/(NEON|SSE|portable)/portable}"
    ;;
  subdirectory)
    build_consumer -DVESTREL_SOURCE="$source"
    expect_result "$expected"
    ;;
  subdirectory_other_flags)
    # Parts of fast-math that clang does not let the sources see, for the whole of somebody's project.
    command -v clang++ >/dev/null || { echo 'clang++ is not here'; exit 77; }
    export CXX=clang++
    build_consumer -DVESTREL_SOURCE="$source" \
      -DCMAKE_CXX_FLAGS='-O3 -funsafe-math-optimizations -fno-honor-nans -fapprox-func -fdenormal-fp-math=positive-zero'
    expect_result "$expected"
    ;;
  version)
    install_vestrel "$work/prefix"
    for wanted in 0.1 0.1.0; do
      build_consumer -DCMAKE_PREFIX_PATH="$work/prefix" -DVESTREL_WANTED_VERSION=$wanted
    done
    for wanted in 0.0 0.2 1.0; do
      rm -rf "$work/consumer"
      if cmake -S "$here/consumer" -B "$work/consumer" -DCMAKE_PREFIX_PATH="$work/prefix" \
        -DVESTREL_WANTED_VERSION=$wanted >"$work/log" 2>&1; then
        echo "version $wanted was found"
        exit 1
      fi
      grep -q 'version' "$work/log" || { cat "$work/log"; exit 1; }
    done
    ;;
  *)
    echo "unknown case $case"
    exit 1
    ;;
esac
