#!/usr/bin/env bash
# Changes the libraries' sources, one small change at a time, and shows which of the changes no test notices. All of it
# takes one to two hours on two cores; --file and --sample take a part, and an interrupted run is taken up again. --help
# lists the options.
set -euo pipefail
root=$(cd "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")/.." && pwd)
source "$root/scripts/setup.sh"

need_build_tools
need libgtest-dev has_header gtest/gtest.h
need libmpfr-dev has_header mpfr.h
need python3 has_program python3
need binutils has_program ar
need util-linux has_program prlimit
install_missing
unset DESTDIR
exec env PYTHONDONTWRITEBYTECODE=1 python3 "$root/scripts/mutation/run.py" "$@"
