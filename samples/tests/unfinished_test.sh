#!/usr/bin/env bash
# A picture that cannot be completed leaves the old one, and nothing else.
# unfinished_test.sh PROGRAM
set -euo pipefail
program=$1
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"
echo 'the picture before' >picture.png
ln -s picture.png link.png

status=0
(trap '' XFSZ; ulimit -f 1; "$program" link.png >/dev/null 2>error) || status=$?
[ $status -eq 1 ] && [ "$(wc -l <error)" -eq 1 ] && grep -qF "'link.png' cannot be written: File too large" error ||
  { echo "exit code $status"; cat error; exit 1; }
[ "$(<picture.png)" = 'the picture before' ] || { echo 'the picture before is lost'; exit 1; }
[ "$(find . -type f | wc -l)" -eq 2 ] || { echo "it leaves something behind: $(ls -A)"; exit 1; }

# A picture that can be goes to the target of the link.
"$program" link.png >/dev/null
[ -L link.png ] && [ "$(stat -c %s picture.png)" -gt 1024 ] || { echo 'the link is lost'; exit 1; }

# Standard output must arrive, too.
if [ -w /dev/full ]; then
  status=0
  "$program" picture.png >/dev/full 2>error || status=$?
  [ $status -eq 1 ] && grep -q 'standard output cannot be written' error || { echo "exit code $status"; cat error; exit 1; }
fi
