#!/usr/bin/env bash
# Makes the golden vectors for ports anew, docs/golden/vectors.json, writes their hash into docs/guarantees.md, and compares
# them with the example port.
set -euo pipefail
root=$(cd "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")/.." && pwd)
source "$root/scripts/setup.sh"

case "$*" in
  '') ;;
  --help | -h) sed -n '2,3s/^# //p' "$0"; exit 0 ;;
  *) stop "there are no options, and so no '$*'" ;;
esac

need_build_tools
need libgtest-dev has_header gtest/gtest.h
need libmpfr-dev has_header mpfr.h
need libbenchmark-dev has_header benchmark/benchmark.h
need libsleef-dev has_header sleef.h
need libcli11-dev has_header CLI/CLI.hpp
need libpng-dev has_header png.h
need libwebp-dev has_header webp/mux.h
need libopenexr-dev has_header OpenEXR/ImfOutputFile.h
need python3 has_program "$python"
install_missing
build release golden_vectors

"$root/build/release/Runtime/zr_maths/tests/golden_vectors" "$root/docs/golden/vectors.json"
hash=$(sha256sum "$root/docs/golden/vectors.json" | cut -d ' ' -f 1)
sed -i "s/^SHA-256: \`[0-9a-f]*\`/SHA-256: \`$hash\`/" "$root/docs/guarantees.md"
"$python" "$root/docs/golden/port.py"
