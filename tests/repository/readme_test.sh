#!/usr/bin/env bash
# The program in the README is the sample, to the letter, and the files that documents name exist.
# readme_test.sh SOURCE
set -euo pipefail
cd "$1"
diff <(awk '/^```cpp$/ {inside = 1; next} /^```$/ {if (inside) exit} inside' README.md) samples/first_field/first_field.cpp
for document in *.md docs/*.md samples/*.md Runtime/*/*/*.md; do
  for file in $(grep -oE '\]\([A-Za-z.][^):]*\)' "$document" | sed 's/.*](//; s/)$//; s/#.*//'); do
    [ -e "$(dirname "$document")/$file" ] || { echo "$document names $file, which does not exist"; exit 1; }
  done
done
