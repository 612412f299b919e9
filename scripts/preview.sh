#!/usr/bin/env bash
# Draws a picture of a noise field from a bare checkout: installs what is missing, builds, and runs noise_preview with
# the arguments; --help lists them. Without --output, the picture goes into build/.
set -euo pipefail
root=$(cd "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")/.." && pwd)
source "$root/scripts/setup.sh"

need_build_tools
need_tool_libraries
install_missing
program=$root/build/preview/tools/noise_preview/noise_preview log=$root/build/preview.log
[ -x "$program" ] || say 'building noise_preview (this takes a minute or two)'
(build preview noise_preview) >"$log" 2>&1 || { cat "$log" >&2; exit 1; }
exec "$program" --output "$root/build/" "$@"
