#!/usr/bin/env bash
# The program in the README is the sample, to the letter, and the files that the README names exist.
# readme_test.sh SOURCE
set -euo pipefail
cd "$1"
diff <(awk '/^```cpp$/ {inside = 1; next} /^```$/ {if (inside) exit} inside' README.md) samples/first_field/first_field.cpp
for file in $(grep -oE '\]\([A-Za-z][^):]*\)' README.md CONTRIBUTING.md | sed 's/.*](//; s/)$//; s/#.*//'); do
  [ -e "$file" ] || { echo "the documents name $file, which does not exist"; exit 1; }
done
