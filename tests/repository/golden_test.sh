#!/usr/bin/env bash
# The golden vectors agree with the example port, and both notice a change of one bit.
# golden_test.sh SOURCE BUILD WORK
set -euo pipefail
source=$1 build=$2 work=$3
rm -rf "$work" && mkdir -p "$work"
export PYTHONDONTWRITEBYTECODE=1

/usr/bin/python3 "$source/docs/golden/port.py"
/usr/bin/python3 "$source/tests/repository/golden.py" "$source"

# expect_complaint TEXT: about $work/vectors.json, by the program that every configuration runs. It notices one digit, a
# missing last line, an additional line, and a missing file.
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
