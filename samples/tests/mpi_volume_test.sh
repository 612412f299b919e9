#!/usr/bin/env bash
# Any number of processes write the same file and picture as a single one without MPI.
# mpi_volume_test.sh MPIEXEC MPI_VOLUME WHOLE_VOLUME
set -euo pipefail
mpiexec=$1 mpi_volume=$2 whole_volume=$3
[[ $("$mpiexec" --version) == *open-mpi.org* ]] || { echo 'options of Open MPI alone are known here'; exit 77; }
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"

# processes COUNT [ARGUMENT]...
processes() { "$mpiexec" --allow-run-as-root --oversubscribe -n "$1" "$mpi_volume" "${@:2}" >output 2>error; }

fail() {
  echo "$*"
  tail -n +1 output error
  exit 1
}

"$whole_volume" whole.png whole.raw >output
grep -Fxq '256 x 256 x 256 samples by one process' output
[ "$(stat -c %s whole.raw)" -eq $((4 * 256 * 256 * 256)) ] || fail 'the volume has another size'
expected=$(sha256sum <whole.raw)
# Three processes get unequal shares; an older file is replaced, and leftovers of an interrupted run do no harm.
echo old >mpi.raw
head -c 100000000 /dev/zero >mpi.raw.partial
for count in 1 2 3 4; do
  processes $count mpi.png mpi.raw || fail "$count processes end with $?"
  grep -Exq "256 x 256 x 256 samples by $count process(es)?" output || fail "$count processes do not say what they should"
  [ "$(sha256sum <mpi.raw)" = "$expected" ] || fail "$count processes write another file"
  cmp whole.png mpi.png
  [ ! -e mpi.raw.partial ] || fail "$count processes leave something behind"
  rm mpi.png
  echo "$count processes: $expected"
done

mkdir folder.png
for names in 'folder.png mpi.raw' 'mpi.png no/folder/mpi.raw'; do
  ! processes 2 $names || fail "two processes write $names"
  [ "$(grep -c '^mpi_volume: .* cannot be written: ' error)" -eq 1 ] || fail 'not one clear line'
done
! processes 2 one two three || fail 'two processes take three names'
[ "$(grep -c '^mpi_volume: the arguments are' error)" -eq 1 ] || fail 'not one clear line'
