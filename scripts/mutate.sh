#!/usr/bin/env bash
# Changes the libraries' sources, one small change at a time, and shows which changes no test notices. All of them take one to
# two hours on two cores; --file and --sample take a part. An interrupted run is continued. --help lists the options.
set -euo pipefail
root=$(cd "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")/.." && pwd)
source "$root/scripts/setup.sh"

need_build_tools
need_test_libraries
need python3 has_program python3
need binutils has_program ar
need util-linux has_program prlimit
install_missing
unset DESTDIR
exec env PYTHONDONTWRITEBYTECODE=1 python3 "$root/scripts/mutation/run.py" "$@"
