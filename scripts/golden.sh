#!/usr/bin/env bash
# Makes the golden vectors for ports anew, docs/golden/vectors.json, writes their hash into docs/guarantees.md, and compares
# them with the example port.
set -euo pipefail
root=$(cd "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")/.." && pwd)
source "$root/scripts/setup.sh"

takes_no_options "$@"

need_build_tools
need_test_libraries
need_benchmark_libraries
need_tool_libraries
need python3 has_program "$python"
install_missing
build release golden_vectors

"$root/build/release/Runtime/zr_maths/tests/golden_vectors" "$root/docs/golden/vectors.json"
hash=$(sha256sum "$root/docs/golden/vectors.json" | cut -d ' ' -f 1)
sed -i "s/^SHA-256: \`[0-9a-f]*\`/SHA-256: \`$hash\`/" "$root/docs/guarantees.md"
"$python" "$root/docs/golden/port.py"
