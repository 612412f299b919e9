#!/usr/bin/env bash
# Uses the library as another project would, from outside the tree.
# package_test.sh SOURCE WORK CASE [COMPILER KIND], where KIND is static or shared
set -euo pipefail
source=$1 work=$2 case=$3 compiler=${4:-g++} kind=${5:-static}
here=$(dirname "$(readlink -f "$0")")
own=$work/$case-$compiler-$kind      # this test's folder
package=$work/package-$compiler-$kind # where `install` puts what others use

skip() { echo "$*"; exit 77; }
fail() { echo "$*"; exit 1; }
needs() { command -v "$1" >/dev/null || skip "$1 is not here"; }

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

# build_vestrel BUILD [cmake option]...: the libraries alone, unless options say more.
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

# expect_result [PATTERN]: of the consumer, which has to use the libraries of the kind that it should.
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

# compile_with_package PKGCONFIG-FOLDER OUTPUT ARGUMENT...: by pkg-config and the compiler alone.
compile_with_package() {
  local flags
  flags=$(PKG_CONFIG_LIBDIR=$1 pkg-config --cflags --libs vestrel-noise)
  quietly "$compiler" -std=c++17 -O2 -Wall -Wextra -Werror "${@:3}" $flags -o "$2"
  expect_kind "$2"
}

# public_names LIBRARY...: what the libraries show, without parameters. Whether a table of virtual functions that has no
# other home is shown depends on the optimisation.
public_names() {
  nm -DC --defined-only "$@" | sed -nE 's/^[0-9a-f]+ . ([^(]*).*/\1/p' | sort -u |
    grep -v '^vtable for Vestrel::CAbstractRandomGenerator$'
}

expect_public_names() {
  diff <(public_names "$@") "$here/public_names.txt" || fail "what the libraries show is not what is public"
  ! nm -D --defined-only "$@" | grep -E '^[0-9a-f]+ u ' || fail 'there may be no symbol that is one in a whole process'
}

# expect_tool PREFIX: that the tool draws, and has its manual page and its completion beside it.
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

# functions_with_outside_calls LIBRARY...: those that go through the table that the loader fills.
functions_with_outside_calls() {
  objdump -dC --no-show-raw-insn "$@" |
    sed -nE '/^[0-9a-f]+ <.*>:$/{s/^[0-9a-f]+ <(.*)>:$/\1/;h};/^ .*@plt>/{g;p}' | grep -v '@plt$' | sort -u
}

case $case in
  install)
    # As for Debian in one of the variants, and moved: a package does not depend on where it was installed.
    options=()
    [ "$compiler,$kind" != g++,shared ] ||
      options=(-DCMAKE_INSTALL_PREFIX=/usr -DVESTREL_BUILD_TOOLS=ON -DVESTREL_HARDENED=ON)
    build_vestrel "$own/build" -DBUILD_SHARED_LIBS=$shared "${options[@]}"
    quietly cmake --install "$own/build" --prefix "$own/prefix"
    rm -rf "$package" && mv "$own/prefix" "$package"
    # No file names a folder of this machine.
    ! grep -rlF -e "$source" -e "$work" "$package" || fail 'these files name folders that they should not'
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
    # CMake optimises nothing unless it is told to.
    expect_output 'Vestrel: there is no CMAKE_BUILD_TYPE' cmake "$own/consumer" -DCMAKE_BUILD_TYPE=
    ! cmake "$own/consumer" -DCMAKE_BUILD_TYPE=Release | grep -F CMAKE_BUILD_TYPE || fail 'there is one'
    # Nobody asked for Vestrel to be installed.
    quietly cmake --install "$own/consumer" --prefix "$own/prefix"
    expect_output '^bin/consumer$' find "$own/prefix" -type f -printf '%P\n'
    [ "$(find "$own/prefix" ! -type d | wc -l)" -eq 1 ] || fail 'more than the consumer is installed'
    ;;
  fetched)
    # Without optimisation, for that shows more templates.
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
      readelf -d "$library" | grep -qE 'SONAME.*\[libzr_[a-z]*\.so\.0\.1\]' || fail "the SONAME of $library is another one"
      ! ldd "$library" | grep 'not found' || fail "$library does not find what it needs"
    done
    # No sampler or stream is among them. (The class that checks the arithmetic calls them all, as programs do.)
    functions_with_outside_calls "${libraries[@]}" >"$own/calls"
    grep -q 'CFastNoise3::CFastNoise3' "$own/calls" || fail 'this test does not see such calls'
    ! grep -vE 'CHashedOperations|ResetSampler' "$own/calls" | grep -E 'Sample|Batch|Gradient|Blocks|Sin' ||
      fail 'these go through the table of the loader'
    ;;
  hardened)
    tool=$package/bin/noise_preview
    mapfile -t files < <(find "$package" -name 'libzr_*.so.*.*.*')
    [ ${#files[@]} -eq 2 ] || fail "${#files[@]} libraries were found"
    for file in "${files[@]}" "$tool"; do
      expect_output 'Flags:.* NOW' readelf -dW "$file"
      expect_output '^ *GNU_RELRO ' readelf -lW "$file"
      ! readelf -lW "$file" | grep 'GNU_STACK.* RWE ' || fail "the stack of $file is executable"
      # Outside the inner loops zr_support has no arrays to protect.
      [[ $file == */libzr_support.* ]] || expect_output '__stack_chk_fail' nm -D --undefined-only "$file"
    done
    expect_output 'Flags:.* PIE' readelf -dW "$tool"
    expect_output '__snprintf_chk' nm -D --undefined-only "$tool"
    # Where an indirect call may land. (The property IBT is not set: Debian's own start-up code lacks it.)
    [ "$(uname -m)" != x86_64 ] || for file in "${files[@]}"; do
      nm -D --defined-only "$file" | sed -nE 's/^0*([0-9a-f]+) [TW] .*/\1/p' | sort -u >"$own/functions"
      objdump -d "$file" | sed -nE 's/^ *([0-9a-f]+):.*\tendbr64.*/\1/p' | sort >"$own/landings"
      [ -s "$own/functions" ] || fail "$file has no functions"
      ! comm -23 "$own/functions" "$own/landings" | grep . || fail "$file has no endbr64 at these addresses"
    done
    ;;
  same_bytes)
    # Of the package's build and the one that follows the README: in folders of other lengths.
    here_built=$work/install-$compiler-$kind/build there_built=$work/../documents/checkout/build/deb
    [ -d "$there_built" ] || skip 'the build that follows the README is not here'
    [ ${#here_built} -ne ${#there_built} ] || fail 'the names of both folders are of the same length'
    for file in Runtime/zr_support/libzr_support.so.0.1.0 Runtime/zr_maths/libzr_maths.so.0.1.0 tools/noise_preview/noise_preview; do
      cmp "$here_built/$file" "$there_built/$file" || fail 'the folder can be told from the file'
    done
    ;;
  tool)
    expect_tool "$package"
    expect_kind "$package/bin/noise_preview"
    ;;
  other_flags)
    # A consumer with other flags than the library takes the library's backend all the same.
    flags='-O0'
    [ "$(uname -m)" = x86_64 ] && flags='-O3 -mavx2 -mfma'
    build_consumer -DCMAKE_PREFIX_PATH="$package" -DCMAKE_CXX_FLAGS="$flags"
    expect_result
    ;;
  portable)
    # By its own flags the consumer would choose SSE or NEON, whose values travel in other registers.
    build_vestrel "$own/vestrel" -DVESTREL_PORTABLE_SIMD=ON
    quietly cmake --install "$own/vestrel" --prefix "$own/prefix"
    build_consumer -DCMAKE_PREFIX_PATH="$own/prefix"
    expect_result "${expected/(NEON|SSE|portable)/portable}"
    ;;
  subdirectory_other_flags)
    # Parts of fast-math that clang does not let the sources see, for the whole of somebody's project.
    build_consumer -DVESTREL_SOURCE="$source" \
      -DCMAKE_CXX_FLAGS='-O3 -funsafe-math-optimizations -fno-honor-nans -fapprox-func -fdenormal-fp-math=positive-zero'
    expect_result
    ;;
  exported)
    # Somebody's library that is linked with Vestrel, and installs both.
    build "$here/terrain" "$own/terrain" -DVESTREL_SOURCE="$source"
    quietly cmake --install "$own/terrain" --prefix "$own/prefix"
    build "$here/terrain/program" "$own/program" -DCMAKE_PREFIX_PATH="$own/prefix"
    expect_output '^\+0\.342384$' "$own/program/program"
    ;;
  refusals)
    # What looks inside the libraries cannot be had with shared ones.
    for part in TESTS BENCHMARKS REPLAYS FUZZERS; do
      ! cmake -S "$source" -B "$own/build" -DBUILD_SHARED_LIBS=ON -DVESTREL_BUILD_$part=ON >"$own/log" 2>&1 ||
        fail "shared libraries were accepted with VESTREL_BUILD_$part"
      tr -s '\n ' ' ' <"$own/log" | grep -q "need static libraries: configure .*-DVESTREL_BUILD_$part=OFF" ||
        { cat "$own/log"; exit 1; }
      rm -rf "$own/build"
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
    tr -s ' \n' ' ' <"$own/complaint" | grep -qF 'please install file' || { cat "$own/complaint"; fail 'not said what is missing'; }
    quietly cpack -G DEB --config "$config" -B "$own"
    debs=("$own"/libzr-maths0.1_0.1.0_*.deb "$own"/vestrel-noise_0.1.0_*.deb)
    [ "$(find "$own" -maxdepth 1 -name '*.deb' | wc -l)" -eq 2 ] || fail 'there are other packages than two'
    fields='${Package} ${Version} ${Section} ${Depends}\n'
    expect_output '^libzr-maths0\.1 0\.1\.0 libs .*libc6.*libstdc\+\+6' dpkg-deb --show --showformat="$fields" "${debs[0]}"
    expect_output '^vestrel-noise 0\.1\.0 libdevel libzr-maths0\.1 \(= 0\.1\.0\), .*libpng' \
      dpkg-deb --show --showformat="$fields" "${debs[1]}"
    dpkg-deb --ctrl-tarfile "${debs[0]}" | tar -xO ./triggers | grep -qx 'activate-noawait ldconfig' || fail 'no trigger'
    expect_output '^libzr_maths 0\.1 libzr-maths0\.1 \(>= 0\.1\.0\)$' \
      bash -c 'dpkg-deb --ctrl-tarfile "$1" | tar -xO ./shlibs' bash "${debs[0]}"
    for deb in "${debs[@]}"; do dpkg-deb --contents "$deb"; done >"$own/contents"
    ! grep -v ' root/root ' "$own/contents" || fail 'these files belong to somebody'
    # Nobody has chosen a licence yet.
    if command -v lintian >/dev/null; then
      lintian --allow-root --tag-display-limit 0 --display-info "${debs[@]}" >"$own/tags" || true
      ! grep -v ': no-copyright-file$' "$own/tags" || fail 'lintian complains'
    else
      echo 'NOT TRIED: lintian is not here'
    fi
    ! grep -vE ' \./(usr/((bin|include|lib|share)/.*)?)?$| -> ' "$own/contents" || fail 'these files are somewhere else'

    # Into a root of its own, without those of the machine that it depends on. Nothing of the machine may be changed:
    # ldconfig is one that says that it was called.
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
    ! find "$root" -mindepth 1 ! -path "$root/usr" | grep . || fail 'these have stayed'
    [ "$(wc -l <"$own/ldconfig")" -eq 2 ] || fail 'ldconfig was not called again'
    ;;
  *)
    fail "unknown case $case"
    ;;
esac
