#!/usr/bin/env bash
# No input of a fuzz target reads what it must not, lets a branch depend on memory without contents, or leaks.
# valgrind_test.sh PROGRAM CORPUS
set -euo pipefail
command -v valgrind >/dev/null || { echo 'valgrind is missing (Debian: valgrind): nothing was checked'; exit 77; }
exec valgrind --quiet --error-exitcode=1 --leak-check=full "$1" --random 1000 "$2"
