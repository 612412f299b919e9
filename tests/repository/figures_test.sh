#!/usr/bin/env bash
# Figures in documents are those that were measured, or that the field gives.
# figures_test.sh SOURCE BUILD WORK
set -euo pipefail
source=$1 build=$2 work=$3
rm -rf "$work" && mkdir -p "$work"
export PYTHONDONTWRITEBYTECODE=1

check() {
  /usr/bin/python3 "$source/tests/repository/figures.py" "$source" "$1" "$build/tools/noise_preview/noise_preview" "$work"
}
check "$source"

# To see that this would be seen: documents with one figure wrong.
# expect_complaint TEXT FILE FROM TO
expect_complaint() {
  rm -rf "$work/wrong"
  mkdir -p "$work/wrong/docs"
  cp "$source/README.md" "$work/wrong"
  cp -r "$source/docs/performance.md" "$source/docs/guide" "$work/wrong/docs"
  sed -i "s#$3#$4#" "$work/wrong/$2"
  if cmp -s "$source/$2" "$work/wrong/$2"; then
    echo "'$3' is not in $2"
    exit 1
  fi
  if check "$work/wrong" >"$work/log" 2>&1 || ! grep -qF -- "$1" "$work/log"; then
    echo "no complaint '$1':"
    cat "$work/log"
    exit 1
  fi
}
expect_complaint 'README.md: 2D cubic: ' README.md '| 2D cubic | 0.96' '| 2D cubic | 0.97'
expect_complaint "there is no row '3D linear'" README.md '| 3D linear |' '| 3D lineal |'
expect_complaint 'has 5 cells, not 6' README.md '| 3D linear | 1.81 |' '| 3D linear |'
expect_complaint 'there are 0 tables' README.md '| plain loop : AVX-512 |' '| AVX-512 : plain loop |'
expect_complaint 'after 10,000 turns: ' README.md '| likewise | 33' '| likewise | 34'
expect_complaint 'performance.md: SampleCubic4D: ' docs/performance.md '| SampleCubic4D | 3.63' '| SampleCubic4D | 3.53'
expect_complaint 'quality.md: 4D: ' docs/guide/03-dimension-and-quality.md ' (12.5) |' ' (12.4) |'
expect_complaint 'performance.md: 5.2 is' docs/guide/12-performance.md 'costs 5.1 times' 'costs 5.2 times'
expect_complaint 'range.md: 1D linear: ' docs/guide/10-range.md '| 1D linear | 33 | 63 |' '| 1D linear | 33 | 64 |'
