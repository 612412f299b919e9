#!/usr/bin/env bash
# Uses the library as another project would, from outside the tree.
# package_test.sh SOURCE WORK CASE [COMPILER KIND], where KIND is static or shared
set -euo pipefail
source=$1 work=$2 case=$3 compiler=${4:-g++} kind=${5:-static}
here=$(dirname "$(readlink -f "$0")")
own=$work/$case-$compiler-$kind       # this test's folder
package=$work/package-$compiler-$kind # what `install` makes for other cases

skip() { echo "$*"; exit 77; }
fail() { echo "$*"; exit 1; }
needs() { command -v "$1" >/dev/null || skip "there is no $1"; }

case $kind in
  static) shared=OFF ;;
  shared) shared=ON ;;
  *) fail "there is no kind '$kind'" ;;
esac
[ "$case" != subdirectory_other_flags ] || compiler=clang++
needs "$compiler"
rm -rf "$own" && mkdir -p "$own"
unset CXXFLAGS LDFLAGS DESTDIR LD_LIBRARY_PATH PKG_CONFIG_PATH
export CXX=$compiler CMAKE_GENERATOR=Ninja

# The samples' hash is the same for every backend, compiler and flag.
expected='Vestrel 0\.1\.0, (NEON|SSE|portable), 7c81f65fe2eb3190$'

quietly() { "$@" >"$own/log" 2>&1 || { cat "$own/log"; exit 1; }; }

# build SOURCE BUILD [cmake option]...
build() {
  quietly cmake -S "$1" -B "$2" -DCMAKE_BUILD_TYPE=Release "${@:3}"
  quietly cmake --build "$2" -j 2
}

# build_vestrel BUILD [cmake option]...: the libraries, unless options say more.
build_vestrel() {
  build "$source" "$1" -DVESTREL_BUILD_TESTS=OFF -DVESTREL_BUILD_TOOLS=OFF -DVESTREL_BUILD_SAMPLES=OFF \
    -DVESTREL_BUILD_BENCHMARKS=OFF "${@:2}"
}

# build_consumer [cmake option]...
build_consumer() {
  rm -rf "$own/consumer"
  build "$here/consumer" "$own/consumer" "$@"
}

# expect_output PATTERN COMMAND...
expect_output() {
  local result
  result=$("${@:2}") || fail "$result"
  echo "$result"
  grep -Eq -- "$1" <<<"$result" || fail "expected: $1"
}

# expect_result [PATTERN]: runs the consumer, and checks that it is linked with libraries of the right kind.
expect_result() {
  expect_output "${1:-$expected}" "$own/consumer/consumer"
  expect_kind "$own/consumer/consumer"
}

expect_kind() {
  local needed
  needed=$(readelf -d "$1" | grep -cE 'NEEDED.*\[libzr_(maths|support)\.so\.0\.1\]' || true)
  case $kind,$needed in
    static,0 | shared,[12]) ;;
    *) fail "$1 is linked with $needed shared libraries" ;;
  esac
}

# compile_with_package PKGCONFIG-FOLDER OUTPUT ARGUMENT...: with pkg-config, without CMake.
compile_with_package() {
  local flags
  flags=$(PKG_CONFIG_LIBDIR=$1 pkg-config --cflags --libs vestrel-noise)
  quietly "$compiler" -std=c++17 -O2 -Wall -Wextra -Werror "${@:3}" $flags -o "$2"
  expect_kind "$2"
}

# public_names LIBRARY...: the exported names, without parameters. Whether that table of virtual functions is exported depends
# on the optimisation.
public_names() {
  nm -DC --defined-only "$@" | sed -nE 's/^[0-9a-f]+ . ([^(]*).*/\1/p' | sort -u |
    grep -v '^vtable for Vestrel::CAbstractRandomGenerator$'
}

expect_public_names() {
  diff <(public_names "$@") "$here/public_names.txt" || fail 'the exported names are not those of public_names.txt'
  ! nm -D --defined-only "$@" | grep -E '^[0-9a-f]+ u ' || fail 'these symbols are unique in a process (STB_GNU_UNIQUE)'
}

# expect_tool PREFIX: the tool draws, and its manual page and completion are installed.
expect_tool() {
  quietly "$1/bin/noise_preview" --size 32x32 --output "$own/noise.png"
  [ -s "$own/noise.png" ] || fail 'nothing was drawn'
  local page completion=$1/share/bash-completion/completions/noise_preview
  page=$1/share/man/man1/noise_preview.1.gz
  [ -s "$page" ] || fail 'there is no compressed manual page'
  expect_output '^\.TH NOISE_PREVIEW 1 ' zgrep -F .TH "$page"
  [ -s "$completion" ] || fail 'there is no completion'
  expect_output '^complete .* noise_preview$' bash -c 'source "$1" && complete -p noise_preview' bash "$completion"
}

# functions_with_outside_calls LIBRARY...: functions that call through the procedure linkage table, except for the selection
# of the instruction set, once in a process.
functions_with_outside_calls() {
  objdump -dC --no-show-raw-insn "$@" |
    sed -nE '/^[0-9a-f]+ <.*>:$/{s/^[0-9a-f]+ <(.*)>:$/\1/;h};/_SelectInstructionSet.*@plt>/d;/^ .*@plt>/{g;p}' |
    grep -v '@plt$' | sort -u
}

case $case in
  install)
    # One variant as for Debian. All are moved: a package does not depend on where it was installed.
    options=()
    if [ "$compiler,$kind" = g++,shared ]; then
      options=(-DCMAKE_INSTALL_PREFIX=/usr -DVESTREL_BUILD_TOOLS=ON -DVESTREL_HARDENED=ON)
      # `same_bytes` compares this build with another one, and not with itself from a compiler cache.
      export CCACHE_DISABLE=1
    fi
    build_vestrel "$own/build" -DBUILD_SHARED_LIBS=$shared "${options[@]}"
    quietly cmake --install "$own/build" --prefix "$own/prefix"
    rm -rf "$package" && mv "$own/prefix" "$package"
    # No file names a folder of this machine.
    ! grep -rlF -e "$source" -e "$work" "$package" || fail 'these files contain folders of this machine'
    ;;
  found)
    build_consumer -DCMAKE_PREFIX_PATH="$package"
    expect_result
    ;;
  pkgconfig)
    needs pkg-config
    folder=$(dirname "$(find "$package" -name vestrel-noise.pc)")
    expect_output '^0\.1\.0$' env PKG_CONFIG_LIBDIR="$folder" pkg-config --modversion vestrel-noise
    mkdir "$own/consumer"
    compile_with_package "$folder" "$own/consumer/consumer" "$here/consumer/main.cpp"
    export LD_LIBRARY_PATH=$folder/..
    expect_result
    ;;
  subdirectory)
    build_consumer -DVESTREL_SOURCE="$source" -DBUILD_SHARED_LIBS=$shared
    expect_result
    # CMake's default build is not optimised.
    expect_output 'Vestrel: there is no CMAKE_BUILD_TYPE' cmake "$own/consumer" -DCMAKE_BUILD_TYPE=
    ! cmake "$own/consumer" -DCMAKE_BUILD_TYPE=Release | grep -F CMAKE_BUILD_TYPE || fail 'a warning although there is a build type'
    # Vestrel itself is not installed.
    quietly cmake --install "$own/consumer" --prefix "$own/prefix"
    expect_output '^bin/consumer$' find "$own/prefix" -type f -printf '%P\n'
    [ "$(find "$own/prefix" ! -type d | wc -l)" -eq 1 ] || fail 'more than the consumer is installed'
    ;;
  fetched)
    # Without optimisation, which exports more templates.
    build_consumer -DVESTREL_FETCHED="$source" -DBUILD_SHARED_LIBS=$shared -DCMAKE_BUILD_TYPE=Debug
    expect_result
    [ $kind = static ] || expect_public_names $(find "$own/consumer" -name 'libzr_*.so')
    ;;
  allocator)
    needs pkg-config
    folder=$(dirname "$(find "$package" -name vestrel-noise.pc)")
    export LD_LIBRARY_PATH=$folder/..
    for visibility in default hidden; do
      compile_with_package "$folder" "$own/program" "$here/allocator/main.cpp" -fvisibility=$visibility
      expect_output '^3 tables allocated, 3 freed$' "$own/program"
    done
    ;;
  symbols)
    mapfile -t libraries < <(find "$package" -name 'libzr_*.so')
    [ ${#libraries[@]} -eq 2 ] || fail "${#libraries[@]} libraries were found"
    expect_public_names "${libraries[@]}"
    for library in "${libraries[@]}"; do
      readelf -d "$library" | grep -qE 'SONAME.*\[libzr_[a-z]*\.so\.0\.1\]' || fail "$library has another SONAME"
      ! ldd "$library" | grep 'not found' || fail "$library does not find what it needs"
    done
    # No sampler and no stream calls another function of the library that way. (VerifyArithmetic does, as programs do.)
    functions_with_outside_calls "${libraries[@]}" >"$own/calls"
    grep -q 'CFastNoise3::CFastNoise3' "$own/calls" || fail 'this test does not find such calls'
    ! grep -vE 'CHashedOperations|ResetSampler' "$own/calls" | grep -E 'Sample|Batch|Gradient|Blocks|Sin' ||
      fail 'these call through the procedure linkage table'
    ;;
  hardened)
    tool=$package/bin/noise_preview
    mapfile -t files < <(find "$package" -name 'libzr_*.so.*.*.*')
    [ ${#files[@]} -eq 2 ] || fail "${#files[@]} libraries were found"
    for file in "${files[@]}" "$tool"; do
      expect_output 'Flags:.* NOW' readelf -dW "$file"
      expect_output '^ *GNU_RELRO ' readelf -lW "$file"
      ! readelf -lW "$file" | grep 'GNU_STACK.* RWE ' || fail "the stack of $file is executable"
      # zr_support has no arrays outside the inner loops.
      [[ $file == */libzr_support.* ]] || expect_output '__stack_chk_fail' nm -D --undefined-only "$file"
    done
    expect_output 'Flags:.* PIE' readelf -dW "$tool"
    expect_output '__snprintf_chk' nm -D --undefined-only "$tool"
    # Targets of indirect calls. (The property IBT is not set: Debian's own start-up code lacks it.)
    [ "$(uname -m)" != x86_64 ] || for file in "${files[@]}"; do
      nm -D --defined-only "$file" | sed -nE 's/^0*([0-9a-f]+) [TW] .*/\1/p' | sort -u >"$own/functions"
      objdump -d "$file" | sed -nE 's/^ *([0-9a-f]+):.*\tendbr64.*/\1/p' | sort >"$own/landings"
      [ -s "$own/functions" ] || fail "$file has no functions"
      ! comm -23 "$own/functions" "$own/landings" | grep . || fail "$file has no endbr64 at these addresses"
    done
    ;;
  same_bytes)
    # This package's build and the one that follows the README, in folders of different lengths.
    here_built=$work/install-$compiler-$kind/build there_built=$work/../documents/checkout/build/deb
    [ -d "$there_built" ] || skip 'there is no build that follows the README'
    [ ${#here_built} -ne ${#there_built} ] || fail 'the names of both folders have the same length'
    for file in Runtime/zr_support/libzr_support.so.0.1.0 Runtime/zr_maths/libzr_maths.so.0.1.0 tools/noise_preview/noise_preview; do
      cmp "$here_built/$file" "$there_built/$file" || fail "$file depends on its folder"
    done
    ;;
  tool)
    expect_tool "$package"
    expect_kind "$package/bin/noise_preview"
    ;;
  other_flags)
    # A consumer with other flags has the library's backend.
    flags='-O0'
    [ "$(uname -m)" = x86_64 ] && flags='-O3 -mavx2 -mfma'
    build_consumer -DCMAKE_PREFIX_PATH="$package" -DCMAKE_CXX_FLAGS="$flags"
    expect_result
    ;;
  portable)
    # Its own flags have SSE or NEON, whose values are passed in other registers.
    build_vestrel "$own/vestrel" -DVESTREL_PORTABLE_SIMD=ON
    quietly cmake --install "$own/vestrel" --prefix "$own/prefix"
    build_consumer -DCMAKE_PREFIX_PATH="$own/prefix"
    expect_result "${expected/(NEON|SSE|portable)/portable}"
    ;;
  subdirectory_other_flags)
    # Parts of fast-math for which clang defines no macro, for the whole project.
    build_consumer -DVESTREL_SOURCE="$source" \
      -DCMAKE_CXX_FLAGS='-O3 -funsafe-math-optimizations -fno-honor-nans -fapprox-func -fdenormal-fp-math=positive-zero'
    expect_result
    ;;
  exported)
    # A library that is linked with Vestrel, and installs both.
    build "$here/terrain" "$own/terrain" -DVESTREL_SOURCE="$source"
    quietly cmake --install "$own/terrain" --prefix "$own/prefix"
    build "$here/terrain/program" "$own/program" -DCMAKE_PREFIX_PATH="$own/prefix"
    expect_output '^\+0\.342384$' "$own/program/program"
    ;;
  refusals)
    # Tests and benchmarks need static libraries.
    for part in TESTS BENCHMARKS REPLAYS FUZZERS; do
      ! cmake -S "$source" -B "$own/build" -DBUILD_SHARED_LIBS=ON -DVESTREL_BUILD_$part=ON >"$own/log" 2>&1 ||
        fail "shared libraries were accepted with VESTREL_BUILD_$part"
      tr -s '\n ' ' ' <"$own/log" | grep -q "need static libraries: configure .*-DVESTREL_BUILD_$part=OFF" ||
        { cat "$own/log"; exit 1; }
      rm -rf "$own/build"
    done
    ;;
  left_out)
    # A plain configuration builds every part whose packages are there, and asking for one changes nothing for the others.
    for asked in '' -DVESTREL_BUILD_TOOLS=ON; do
      quietly cmake -S "$source" -B "$own/every" -G Ninja $asked
      cmake --build "$own/every" --target help >"$own/said"
      for target in zr_maths_tests noise_preview octaves zr_maths_benchmarks; do
        grep -q "^$target: phony" "$own/said" || fail "a plain configuration leaves out $target"
      done
    done
    # Without the packages that other parts need, it builds the libraries and names what it leaves out.
    packages=(GTest:libgtest-dev MPFR:libmpfr-dev CLI11:libcli11-dev PNG:libpng-dev WebP:libwebp-dev
      OpenEXR:libopenexr-dev benchmark:libbenchmark-dev SLEEF:libsleef-dev)
    hidden=("${packages[@]/#/-DCMAKE_DISABLE_FIND_PACKAGE_}")
    configure=(cmake -S "$source" -B "$own/build" "${hidden[@]/%:*/=ON}")
    "${configure[@]}" >"$own/said" 2>&1 || { cat "$own/said"; fail 'the configuration stops'; }
    for package in "${packages[@]}"; do
      grep -qE "^-- Vestrel: leaving out the [a-z]+, which need.* ${package%:*}.* \(Debian:.* ${package#*:}" "$own/said" ||
        { cat "$own/said"; fail "nothing is said of $package"; }
    done
    grep -q 'CMAKE_BUILD_TYPE is not set, using Release' "$own/said" || fail 'nothing is said of the build type'
    quietly cmake --build "$own/build"
    [ "$(find "$own/build" -name 'libzr_*.a' | wc -l)" -eq 2 ] || fail 'the libraries were not built'
    # A part that was asked for is needed.
    for asked in TESTS:GTest TOOLS:CLI11 SAMPLES:PNG BENCHMARKS:benchmark; do
      ! "${configure[@]}" -DVESTREL_BUILD_${asked%:*}=ON >"$own/said" 2>&1 || fail "the build went on without ${asked#*:}"
      grep -qiE "The ${asked%:*} need.* ${asked#*:}.*: install them" "$own/said" || { cat "$own/said"; exit 1; }
      cmake "$own/build" -UVESTREL_BUILD_${asked%:*} >/dev/null
    done
    ;;
  version)
    for wanted in 0.1 0.1.0; do
      build_consumer -DCMAKE_PREFIX_PATH="$package" -DVESTREL_WANTED_VERSION=$wanted
    done
    for wanted in 0.0 0.2 1.0; do
      rm -rf "$own/consumer"
      ! cmake -S "$here/consumer" -B "$own/consumer" -DCMAKE_PREFIX_PATH="$package" \
        -DVESTREL_WANTED_VERSION=$wanted >"$own/log" 2>&1 || fail "version $wanted was found"
      grep -q 'version' "$own/log" || { cat "$own/log"; exit 1; }
    done
    ;;
  deb)
    needs dpkg-shlibdeps
    needs file
    config=$work/install-g++-shared/build/CPackConfig.cmake
    mkdir "$own/few"
    ! PATH=$own/few "$(command -v cpack)" -G DEB --config "$config" -B "$own" 2>"$own/complaint" || fail 'no dpkg-shlibdeps'
    tr -s ' \n' ' ' <"$own/complaint" | grep -qF 'please install file' || { cat "$own/complaint"; fail 'the missing program is not named'; }
    quietly cpack -G DEB --config "$config" -B "$own"
    debs=("$own"/libzr-maths0.1_0.1.0_*.deb "$own"/vestrel-noise_0.1.0_*.deb)
    [ "$(find "$own" -maxdepth 1 -name '*.deb' | wc -l)" -eq 2 ] || fail 'there are not two packages'
    fields='${Package} ${Version} ${Section} ${Depends}\n'
    expect_output '^libzr-maths0\.1 0\.1\.0 libs .*libc6.*libstdc\+\+6' dpkg-deb --show --showformat="$fields" "${debs[0]}"
    expect_output '^vestrel-noise 0\.1\.0 libdevel libzr-maths0\.1 \(= 0\.1\.0\), .*libpng' \
      dpkg-deb --show --showformat="$fields" "${debs[1]}"
    dpkg-deb --ctrl-tarfile "${debs[0]}" | tar -xO ./triggers | grep -qx 'activate-noawait ldconfig' || fail 'no trigger'
    expect_output '^libzr_maths 0\.1 libzr-maths0\.1 \(>= 0\.1\.0\)$' \
      bash -c 'dpkg-deb --ctrl-tarfile "$1" | tar -xO ./shlibs' bash "${debs[0]}"
    for deb in "${debs[@]}"; do dpkg-deb --contents "$deb"; done >"$own/contents"
    ! grep -v ' root/root ' "$own/contents" || fail 'these files do not belong to root'
    # Nobody has chosen a licence yet. In binaries lintian reads machine code as words.
    if command -v lintian >/dev/null; then
      lintian --allow-root --tag-display-limit 0 --display-info "${debs[@]}" >"$own/tags" || true
      ! grep -vE ': no-copyright-file$|: spelling-error-in-binary ' "$own/tags" || fail 'errors of lintian'
    else
      echo 'NOT TRIED: there is no lintian'
    fi
    ! grep -vE ' \./(usr/((bin|include|lib|share)/.*)?)?$| -> ' "$own/contents" || fail 'these files are in other folders'

    # Installs into a root of its own, without dependencies. ldconfig is a stand-in that records its calls: the machine stays
    # as it is.
    root=$own/root bin=$own/bin
    mkdir -p "$root/usr" "$own/admin/info" "$own/admin/updates" "$own/admin/triggers" "$bin"
    touch "$own/admin/status" "$own/admin/available"
    printf '#!/bin/sh\necho called >>"%s"\n' "$own/ldconfig" >"$bin/ldconfig" && chmod +x "$bin/ldconfig"
    dpkg_here() {
      PATH=$bin:/usr/sbin:/sbin:$PATH quietly dpkg --instdir="$root" --admindir="$own/admin" --log="$own/dpkg.log" \
        --force-not-root --force-depends --force-script-chrootless "$@"
    }
    dpkg_here --install "${debs[@]}"
    expect_output '^install ok installed$' dpkg-query --admindir="$own/admin" --show --showformat='${Status}\n' vestrel-noise
    [ "$(wc -l <"$own/ldconfig")" -eq 1 ] || fail 'ldconfig was not called'

    build_consumer -DCMAKE_PREFIX_PATH="$root/usr"
    expect_result
    expect_tool "$root/usr"

    dpkg_here --purge vestrel-noise libzr-maths0.1
    ! find "$root" -mindepth 1 ! -path "$root/usr" | grep . || fail 'these files are left'
    [ "$(wc -l <"$own/ldconfig")" -eq 2 ] || fail 'ldconfig was not called again'
    ;;
  *)
    fail "unknown case $case"
    ;;
esac
