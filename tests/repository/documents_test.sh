#!/usr/bin/env bash
# What documents say is so: their programs, projects, commands and links.
# documents_test.sh SOURCE COMPILER BUILD WORK
set -euo pipefail
source=$1 compiler=$2 build=$3 work=$4
rm -rf "$work" && mkdir -p "$work"
unset CXXFLAGS LDFLAGS DESTDIR LD_LIBRARY_PATH PKG_CONFIG_PATH
export CXX=$compiler CMAKE_GENERATOR=Ninja PYTHONDONTWRITEBYTECODE=1
export CMAKE_BUILD_PARALLEL_LEVEL=${CMAKE_BUILD_PARALLEL_LEVEL:-2}

diff <(awk '/^```cpp$/ {inside = 1; next} /^```$/ {if (inside) exit} inside' "$source/README.md") \
  "$source/samples/first_field/first_field.cpp"

# A copy of the checkout, to build in as the README says. Its package is what other documents' programs use.
checkout=$work/checkout prefix=$work/documents/where
mkdir "$checkout"
(cd "$source" && find . -mindepth 1 -maxdepth 1 ! -name .git ! -name build -exec cp -r -t "$checkout" {} +)

# check DOCUMENTS WORK
check() {
  /usr/bin/python3 "$source/tests/repository/documents.py" "$source" "$1" "$compiler" "$build" "$checkout" "$prefix" "$2"
}
check "$source" "$work/documents"

# To see that this would be seen: documents with one thing wrong.
# expect_complaint TEXT: about the document that is read.
expect_complaint() {
  rm -rf "$work/wrong"
  mkdir -p "$work/wrong/docs/guide"
  cat >"$work/wrong/docs/guide/page.md"
  printf '# A heading\n' >"$work/wrong/README.md"
  expect_complaint_of_all "$1"
}

# expect_complaint_of_readme TEXT FROM TO: about the README with other words.
expect_complaint_of_readme() {
  rm -rf "$work/wrong"
  mkdir -p "$work/wrong"
  sed "s#$2#$3#" "$source/README.md" >"$work/wrong/README.md"
  ! cmp -s "$source/README.md" "$work/wrong/README.md" || { echo "'$2' is not in README.md"; exit 1; }
  expect_complaint_of_all "$1"
}

expect_complaint_of_all() {
  rm -rf "$work/blocks"
  mkdir "$work/blocks"
  if check "$work/wrong" "$work/blocks" >"$work/log" 2>&1 || ! grep -qF -- "$1" "$work/log"; then
    echo "no complaint '$1':"
    cat "$work/log"
    exit 1
  fi
}
page='docs/guide/page.md:1'
expect_complaint "$page: $compiler ends with 1" <<<$'```cpp\nint main() { return missing; }\n```'
expect_complaint 'unused variable' <<<$'```cpp\nint main() { int unused; }\n```'
expect_complaint "$page: ./program ends with 3" <<<$'```cpp\nint main() { return 3; }\n```'
expect_complaint "$page: prints another text" <<<$'```cpp\n#include <cstdio>\nint main() { std::puts("a"); }\n```\n\n```text\nb\n```'
expect_complaint "$page: nothing prints this" <<<$'```text\nb\n```'
expect_complaint "$page: cmake ends with 1" <<<$'```cmake\ncmake_minimum_required(VERSION 3.25)\nproject(P)\nfind_package(Vestrul REQUIRED)\n```'
expect_complaint "$page: bash ends with 2" <<<$'```sh\nif true\n```'
expect_complaint "$page: there is no scripts/none.sh" <<<$'```sh\nscripts/none.sh\n```'
expect_complaint "$page: scripts/test.sh has no option --slow" <<<$'```sh\nscripts/test.sh --quick && scripts/test.sh --slow\n```'
expect_complaint "$page: noise_preview has no option --colour" <<<$'```sh\nscripts/preview.sh --colour magma\n```'
expect_complaint "$page: there is no program no_such_program" <<<$'```sh\nno_such_program\n```'
expect_complaint "$page: there is no preset none" <<<$'```sh\ncmake --preset none\n```'
expect_complaint "$page: bash ends with 2" <<<$'```sh\nscripts/preview.sh --cells none\n```'
expect_complaint "$page: prints another text" <<<$'```sh\nawk \'BEGIN { print 1 }\'\n```\n\n```text\n2\n```'
expect_complaint "$page: is not run" <<<$'```sh\nscripts/test.sh\n```\n\n```text\n2\n```'
expect_complaint "$page: nothing checks blocks in 'java'" <<<$'```java\n```'
expect_complaint 'a code block does not begin or end' <<<$'```cpp\nint main() {}\n'
expect_complaint 'docs/guide/page.md names ../none.md, which does not exist' <<<'[a](../none.md)'
expect_complaint 'docs/guide/page.md names ../../README.md#other, where there is no such heading' <<<'[a](../../README.md#other)'

install='cmake --install build/libraries --prefix WHERE'
expect_complaint_of_readme 'is not tried, for it installs into the system' "$install" 'cmake --install build/libraries'
expect_complaint_of_readme 'is no recipe that could be tried' "$install" 'scripts/test.sh'
expect_complaint_of_readme 'Package vestrel-noise was not found' "$install" "$install/other"
expect_complaint_of_readme 'Package vestrel-noise was not found' '`PKG_CONFIG_PATH=WHERE/lib/' '`PKG_CONFIG_PATH=WHERE/share/'
expect_complaint_of_readme 'its program does not give the samples' '-o your_program$' '-o program'
expect_complaint_of_readme 'makes no package for Debian' 'cpack -G DEB' 'cpack -G TGZ'
