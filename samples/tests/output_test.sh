#!/usr/bin/env bash
# output_test.sh EXPECTED PROGRAM...: the program succeeds, and prints the text in EXPECTED.
set -euo pipefail
output=$("${@:2}")
diff "$1" - <<<"$output"
