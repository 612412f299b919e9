#!/usr/bin/env bash
# All C++ is formatted by clang-format 14.
# format_test.sh SOURCE
set -euo pipefail
cd "$1"
command -v clang-format-14 >/dev/null || { echo 'clang-format-14 is missing (Debian: clang-format-14)'; exit 1; }
mapfile -t files < <(find Runtime tools samples tests -name '*.h' -o -name '*.cpp')
[ "${#files[@]}" -gt 20 ] || { echo 'the sources were not found'; exit 1; }
clang-format-14 --dry-run -Werror "${files[@]}"
echo "${#files[@]} files are formatted"
