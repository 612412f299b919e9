#!/usr/bin/env bash
# What the scripts do about missing packages, on simulated machines.
# setup_test.sh SOURCE WORK
set -euo pipefail
source=$1 work=$2
rm -rf "$work" && mkdir -p "$work"
printf 'ID=debian\n' >"$work/debian"
printf 'ID=fedora\nID_LIKE="rhel"\n' >"$work/other"

# attempt COMMANDS: runs them after setup.sh in their own shell, where nothing is really installed.
attempt() {
  root="$work/checkout" bash -euo pipefail -c "
    source '$source/scripts/setup.sh'
    apt-get() { echo \"apt-get \$*\" >>'$work/calls'; }
    env() { while [[ \$1 == *=* ]]; do shift; done; \"\$@\"; }
    $1
    install_missing" script.sh >"$work/output" 2>&1
}

# expect STATUS TEXT: of the last attempt.
expect() {
  [ "$status" -eq "$1" ] && [[ $(<"$work/output") == *"$2"* ]] || {
    echo "status $status, not $1 with '$2':"
    cat "$work/output"
    exit 1
  }
}

run() {
  rm -f "$work/calls"
  status=0
  attempt "$1" || status=$?
}

lacking='need present true; need first-package false; need second-package has_program no_such_program'

run "os_release='$work/debian'; need present true"
expect 0 ''
[ ! -e "$work/calls" ]

run "os_release='$work/other'; $lacking"
expect 1 'script.sh: this is not Debian: please install what Debian calls first-package second-package, then run this again'
[ ! -e "$work/calls" ]

run "os_release='$work/none'; $lacking"
expect 1 'this is not Debian'

run "os_release='$work/debian'; is_root() { false; }; may_use_sudo() { false; }; $lacking"
expect 1 'script.sh: no rights to install packages: please install first-package second-package, then run this again'
[ ! -e "$work/calls" ]

run "os_release='$work/debian'; is_root() { true; }; $lacking"
expect 0 'installing first-package second-package'
grep -qx 'apt-get update' "$work/calls"
grep -qx 'apt-get install -y --no-install-recommends first-package second-package' "$work/calls"

run "os_release='$work/debian'; is_root() { false; }; may_use_sudo() { true; }; sudo() { echo \"sudo \$1\" >>'$work/calls'; \"\$@\"; }; $lacking"
expect 0 'installing first-package second-package'
grep -qx 'sudo apt-get' "$work/calls"

run "os_release='$work/debian'; is_root() { true; }; apt-get() { echo 'E: no such package'; return 100; }; $lacking"
expect 1 'script.sh: installing first-package second-package failed'
grep -qF 'E: no such package' "$work/output"

# The first processor's features count.
printf 'model name\t: made up\nflags\t\t: fpu avx avx512f sse4_1\n\nflags\t\t: avx2\n' >"$work/cpu"
run "cpu_info='$work/cpu'; lacking_features avx sse4_1; echo .; lacking_features avx2 fpu avx512 sse4_1"
expect 0 $'.\navx2 avx512'
[ "$(head -n 1 "$work/output")" = . ]
run "cpu_info='$work/debian'; lacking_features avx"
expect 0 avx

# Scripts refuse unknown options before they do anything.
status=0
bash "$source/scripts/test.sh" --fast >"$work/output" 2>&1 || status=$?
expect 1 "test.sh: there is no option '--fast'"
