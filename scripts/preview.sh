#!/usr/bin/env bash
# Draws a picture of a noise field, from nothing but a checkout: installs what is missing, builds, and runs
# noise_preview. Arguments go through to it; --help lists them. Without --output, the picture goes into build/.
set -euo pipefail
root=$(cd "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")/.." && pwd)
source "$root/scripts/setup.sh"

need_build_tools
need_tool_libraries
install_missing
build preview noise_preview
exec "$root/build/preview/tools/noise_preview/noise_preview" --output "$root/build/" "$@"
