#!/usr/bin/env bash
# The golden vectors are what a port needs, as the example port shows; a change of one bit would be seen.
# golden_test.sh SOURCE BUILD WORK
set -euo pipefail
source=$1 build=$2 work=$3
rm -rf "$work" && mkdir -p "$work"
export PYTHONDONTWRITEBYTECODE=1

/usr/bin/python3 "$source/docs/golden/port.py"
/usr/bin/python3 "$source/tests/repository/golden.py" "$source"

# To see that this would be seen: one digit of the file, its last line missing, a line too many, no file.
# expect_complaint TEXT: about $work/vectors.json, by the program that a test of every configuration runs.
expect_complaint() {
  local program=$build/Runtime/zr_maths/tests/golden_vectors
  if "$program" --check "$work/vectors.json" >"$work/log" 2>&1 || ! grep -qF -- "$1" "$work/log"; then
    echo "no complaint '$1':"
    cat "$work/log"
    exit 1
  fi
}
line=$(grep -nm 1 '"out": \["3' "$source/docs/golden/vectors.json" | cut -d : -f 1)
sed "${line}s/\"out\": \[\"3/\"out\": [\"4/" "$source/docs/golden/vectors.json" >"$work/vectors.json"
expect_complaint "vectors.json:$line: "
sed '$d' "$source/docs/golden/vectors.json" >"$work/vectors.json"
expect_complaint "vectors.json:$(wc -l <"$source/docs/golden/vectors.json"): "
{ cat "$source/docs/golden/vectors.json" && echo; } >"$work/vectors.json"
expect_complaint 'more than this library'
rm "$work/vectors.json"
expect_complaint "vectors.json:1: "
