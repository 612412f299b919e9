#!/usr/bin/env bash
# The sources of the streams have the constants that their script prints.
# coefficients_test.sh SOURCE
set -euo pipefail
cd "$1/Runtime/zr_support/src/streams"
printed=$(sollya stream_coefficients.sollya)
count=0
while read -r constant; do
  case $constant in
    0x1p0) constant=1.0 ;;
    *x*) ;;
    *) constant=$(printf '0x%Xu' "$constant") ;; # words of digits
  esac
  grep -qF -- "$constant" sine.h arc_sine.h || { echo "no source has $constant"; exit 1; }
  count=$((count + 1))
done <<<"$printed"
[ $count -eq 25 ] || { echo "the script printed $count constants, not 25"; exit 1; }
