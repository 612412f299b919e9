# What the scripts share: they find out what the machine lacks, install it where they can, and build by preset.
# To be sourced, with `root` set to the checkout.

os_release=/etc/os-release
cpu_info=/proc/cpuinfo
missing=()

say() { printf '%s\n' "$*" >&2; }

stop() {
  say "${0##*/}: $*"
  exit 1
}

# Compilers and tests put their temporary files here, so that nothing is written outside the checkout.
export TMPDIR="$root/build/tmp" TEST_TMPDIR="$root/build/tmp"
mkdir -p "$TMPDIR" 2>/dev/null && [ -w "$root/build" ] && [ -w "$TMPDIR" ] ||
  stop "'$root/build' belongs to $(stat -c %U "$root/build" 2>/dev/null || echo nobody) and cannot be written"

has_program() { command -v "$1" >/dev/null; }

# Where packages put headers, or wherever else the compiler looks.
has_header() {
  [ -e "/usr/include/$1" ] ||
    printf '#if !__has_include(<%s>)\n#error\n#endif\n' "$1" | g++ -std=c++20 -E -x c++ - >/dev/null 2>&1
}

# has_version PROGRAM OLDEST: whether the program is there, and OLDEST or newer.
has_version() {
  local version
  version=$("$1" --version 2>/dev/null | sed -n '1s/.* \([0-9][0-9.]*\).*/\1/p') && [ -n "$version" ] &&
    printf '%s\n' "$2" "$version" | sort -CV
}

has_file() { [ -e "$1" ]; }

# Debian's modules are those of Debian's own Python, which need not be the first in the path.
python=/usr/bin/python3

has_python_module() { "$python" -c "import $1" 2>/dev/null; }

# lacking_features FEATURE...: those that the processor does not have, by the names that Linux has for them on x86.
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

# A compiler with libFuzzer and MemorySanitizer.
need_fuzz_tools() {
  need clang-19 has_program clang++-19
  need libclang-rt-19-dev has_file "/usr/lib/llvm-19/lib/clang/19/lib/linux/libclang_rt.fuzzer-$(uname -m).a"
}

is_debian() { [ -r "$os_release" ] && (. "$os_release" && [ "${ID:-}" = debian ]); }

is_root() { [ "$(id -u)" -eq 0 ]; }

# Without a terminal nobody can type a password.
may_use_sudo() { has_program sudo && { sudo -n true 2>/dev/null || [ -t 0 ]; }; }

# Installs what `need` has found missing, or says what it is and stops.
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
    # A source of packages that is out of order need not be the one that is needed.
    "${as_root[@]}" apt-get update || say 'some lists of packages could not be updated'
    "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y --no-install-recommends "${missing[@]}"
  } >"$log" 2>&1 || { tail -n 5 "$log" >&2; stop "installing ${missing[*]} failed; all of it is in $log"; }
  missing=()
}

# build PRESET [TARGET...]: configures and builds, in seconds where nothing has changed.
build() {
  local log="$root/build/configure-$1.log" cache="$root/build/$1/CMakeCache.txt"
  # A checkout that was moved or copied is built anew.
  if [ -e "$cache" ] && ! grep -qxF "CMAKE_HOME_DIRECTORY:INTERNAL=$root" "$cache"; then
    rm -rf "$root/build/$1"
  fi
  (cd "$root" && cmake --preset "$1") >"$log" 2>&1 || { cat "$log" >&2; stop "configuring '$1' failed"; }
  cmake --build "$root/build/$1" ${2:+--target "${@:2}"} >&2 || stop "building '$1' failed"
}
