#!/usr/bin/env bash
# What documents say is so: their programs, projects, commands and links.
# documents_test.sh SOURCE COMPILER BUILD WORK
set -euo pipefail
source=$1 compiler=$2 build=$3 work=$4
rm -rf "$work" && mkdir -p "$work"
export CMAKE_GENERATOR=Ninja PYTHONDONTWRITEBYTECODE=1

diff <(awk '/^```cpp$/ {inside = 1; next} /^```$/ {if (inside) exit} inside' "$source/README.md") \
  "$source/samples/first_field/first_field.cpp"

quietly() { "$@" >"$work/log" 2>&1 || { cat "$work/log"; exit 1; }; }
quietly cmake -S "$source" -B "$work/vestrel" -DCMAKE_CXX_COMPILER="$compiler" -DCMAKE_BUILD_TYPE=Release -DVESTREL_BUILD_TESTS=OFF \
  -DVESTREL_BUILD_TOOLS=OFF -DVESTREL_BUILD_SAMPLES=OFF -DVESTREL_BUILD_BENCHMARKS=OFF -DCMAKE_INSTALL_LIBDIR=lib
quietly cmake --build "$work/vestrel" -j 2
quietly cmake --install "$work/vestrel" --prefix "$work/prefix"

# check DOCUMENTS WORK
check() {
  /usr/bin/python3 "$source/tests/repository/documents.py" "$source" "$1" "$compiler" "$build" "$work/prefix" "$2"
}
check "$source" "$work/documents"

# To see that this would be seen: documents with one thing wrong.
# expect_complaint TEXT: about the document that is read.
expect_complaint() {
  rm -rf "$work/wrong" "$work/blocks"
  mkdir -p "$work/wrong/docs/guide" "$work/blocks"
  cat >"$work/wrong/docs/guide/page.md"
  printf '# A heading\n' >"$work/wrong/README.md"
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
