# Shared by the scripts: finds out what the machine lacks, installs it where it can, and builds by preset. Sourced with `root`
# set to the checkout.

os_release=/etc/os-release
cpu_info=/proc/cpuinfo
missing=()

say() { printf '%s\n' "$*" >&2; }

stop() {
  say "${0##*/}: $*"
  exit 1
}

# show_help: prints the comment at the beginning of the script.
show_help() {
  sed -n '2,/^[^#]/s/^# \?//p' "$0"
  exit 0
}

# takes_no_options ARGUMENT...: for scripts that know --help only.
takes_no_options() {
  case "$*" in
    '') ;;
    --help | -h) show_help ;;
    *) stop "there are no options, and so no '$*'" ;;
  esac
}

# Compilers and tests put their temporary files here: nothing is written outside the checkout.
export TMPDIR="$root/build/tmp" TEST_TMPDIR="$root/build/tmp"
mkdir -p "$TMPDIR" 2>/dev/null && [ -w "$root/build" ] && [ -w "$TMPDIR" ] ||
  stop "'$root/build' belongs to $(stat -c %U "$root/build" 2>/dev/null || echo nobody) and cannot be written"

has_program() { command -v "$1" >/dev/null; }

# Where packages put headers, or where else the compiler looks.
has_header() {
  [ -e "/usr/include/$1" ] ||
    printf '#if !__has_include(<%s>)\n#error\n#endif\n' "$1" | g++ -std=c++20 -E -x c++ - >/dev/null 2>&1
}

# has_version PROGRAM OLDEST: whether there is the program, in version OLDEST or newer.
has_version() {
  local version
  version=$("$1" --version 2>/dev/null | sed -n '1s/.* \([0-9][0-9.]*\).*/\1/p') && [ -n "$version" ] &&
    printf '%s\n' "$2" "$version" | sort -CV
}

has_file() { [ -e "$1" ]; }

# Debian's modules belong to Debian's Python, which need not be the first in the path.
python=/usr/bin/python3

has_python_module() { "$python" -c "import $1" 2>/dev/null; }

# lacking_features FEATURE...: those that the processor lacks, by Linux's names for x86.
lacking_features() {
  local present feature lacking=()
  present=" $(sed -n '/^flags[[:space:]]*:/{s/.*://p;q}' "$cpu_info") "
  for feature in "$@"; do
    [[ $present == *" $feature "* ]] || lacking+=("$feature")
  done
  printf '%s' "${lacking[*]}"
}

# need PACKAGE CHECK...: notes the Debian package as missing unless the check succeeds.
need() {
  local package=$1
  shift
  "$@" || missing+=("$package")
}

need_build_tools() {
  need g++ has_version g++ 12
  need cmake has_version cmake 3.25
  need ninja-build has_program ninja
}

need_test_libraries() {
  need libgtest-dev has_header gtest/gtest.h
  need libmpfr-dev has_header mpfr.h
}

need_tool_libraries() {
  need libcli11-dev has_header CLI/CLI.hpp
  need libpng-dev has_header png.h
  need libwebp-dev has_header webp/mux.h
  need libopenexr-dev has_header OpenEXR/ImfOutputFile.h
}

need_benchmark_libraries() {
  need libbenchmark-dev has_header benchmark/benchmark.h
  need libsleef-dev has_header sleef.h
}

# Builds of the same source with the same flags share their objects, also those that tests make, and later runs.
need_compiler_cache() {
  need ccache has_program ccache
  export CMAKE_CXX_COMPILER_LAUNCHER=ccache CCACHE_DIR="$root/build/ccache" CCACHE_BASEDIR="$root" CCACHE_NOHASHDIR=1 \
    CCACHE_SLOPPINESS=pch_defines,time_macros,include_file_mtime,include_file_ctime
}

# A compiler with libFuzzer and MemorySanitizer.
need_fuzz_tools() {
  need clang-19 has_program clang++-19
  need libclang-rt-19-dev has_file "/usr/lib/llvm-19/lib/clang/19/lib/linux/libclang_rt.fuzzer-$(uname -m).a"
}

is_debian() { [ -r "$os_release" ] && (. "$os_release" && [ "${ID:-}" = debian ]); }

is_root() { [ "$(id -u)" -eq 0 ]; }

# Without a terminal sudo cannot ask for a password.
may_use_sudo() { has_program sudo && { sudo -n true 2>/dev/null || [ -t 0 ]; }; }

# Installs what `need` found missing, or names it and stops.
install_missing() {
  [ ${#missing[@]} -gt 0 ] || return 0
  local as_root=()
  is_debian || stop "this is not Debian: please install what Debian calls ${missing[*]}, then run this again"
  if ! is_root; then
    may_use_sudo || stop "no rights to install packages: please install ${missing[*]}, then run this again"
    as_root=(sudo)
  fi
  say "installing ${missing[*]} (this can take some minutes)"
  local log="$root/build/install.log"
  {
    # A broken package source need not be the one that is needed.
    "${as_root[@]}" apt-get update || say 'some lists of packages could not be updated'
    "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y --no-install-recommends "${missing[@]}"
  } >"$log" 2>&1 || { tail -n 5 "$log" >&2; stop "installing ${missing[*]} failed; see $log"; }
  missing=()
}

# build PRESET [TARGET...]: configures and builds.
build() {
  local log="$root/build/configure-$1.log" cache="$root/build/$1/CMakeCache.txt"
  # A moved or copied checkout is built anew.
  if [ -e "$cache" ] && ! grep -qxF "CMAKE_HOME_DIRECTORY:INTERNAL=$root" "$cache"; then
    rm -rf "$root/build/$1"
  fi
  (cd "$root" && cmake --preset "$1") >"$log" 2>&1 || { cat "$log" >&2; stop "configuring '$1' failed"; }
  cmake --build "$root/build/$1" ${2:+--target "${@:2}"} >&2 || stop "building '$1' failed"
}
