#!/usr/bin/env bash
# A sample draws its picture, prints what it should, and reports errors.
# sample_test.sh PROGRAM PICTURE LINE...: the picture's default name, and regular expressions of whole lines that the program
# must print.
set -euo pipefail
program=$1 picture=$2
shift 2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"

fail() {
  echo "$*"
  tail -n +1 output error
  exit 1
}

# run STATUS [ARGUMENT]...: checks the exit status, and that there is one line about the error if it is not 0.
run() {
  local expected=$1 status=0
  shift
  "$program" "$@" >output 2>error || status=$?
  [ $status -eq "$expected" ] || fail "exit code $status, not $expected, with: $*"
  [ "$(wc -l <error)" -eq $((expected != 0)) ] || fail "not one clear line with: $*"
}

# is_whole FILE: whether it is a PNG up to its last chunk, or a WebP with the length in its header.
is_whole() {
  case $1 in
    *.png) [ "$(head -c 8 "$1" | tail -c 7 | head -c 3)" = PNG ] && [ "$(tail -c 8 "$1" | head -c 4)" = IEND ] ;;
    *.webp) [ "$(head -c 4 "$1")" = RIFF ] && [ "$(od -An -t u4 -j 4 -N 4 "$1")" -eq $(($(stat -c %s "$1") - 8)) ] ;;
  esac
}

run 0
for line in "$@"; do
  grep -Exq -- "$line" output || fail "no line matches $line"
done
is_whole "$picture" || fail "$picture is no picture"
[ "$(find . -type f | wc -l)" -eq 3 ] || fail "it leaves something behind: $(ls -A)"

# Errors are found before the work begins.
ending=${picture##*.}
mkdir "folder.$ending"
for unwritable in "folder.$ending" "no/such/folder/$picture" "/dev/null/$picture"; do
  run 1 "$unwritable"
  grep -qF "'$unwritable' cannot be written: " error || fail "it does not say that $unwritable cannot be written"
  [ ! -s output ] || fail "it works although $unwritable cannot be written"
done
run 2 picture
grep -qE "(ends )?in .$ending" error || fail 'it does not say how the name ends'
run 2 one two three
run 2 --help
run 2 ''
