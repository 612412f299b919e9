#!/usr/bin/env bash
# scripts/docs.sh makes a site without warnings: every public name has a comment, and links lead somewhere. The site loads
# nothing from a network, and has the guide in order.
# docs_test.sh SOURCE WORK
set -euo pipefail
source=$1 work=$2
rm -rf "$work" && mkdir -p "$work"
"$source/scripts/docs.sh" --into "$work/docs"
html=$work/docs/html

# loads_from_network FOLDER: what its pages, styles and scripts load from elsewhere. (Links to follow load nothing.)
loads_from_network() {
  local elsewhere="[\"']? *(https?:)?//"
  grep -rnoiE --include='*.html' --include='*.css' --include='*.js' \
    "(src|srcset|data|poster) *= *$elsewhere[^ >]*|<link[^>]*href *= *$elsewhere[^>]*|@import[^;]*|url\( *$elsewhere[^)]*" "$1"
}
if loads_from_network "$html"; then
  echo 'the site loads from a network'
  exit 1
fi

# The files that pages show and load exist.
count=0
while IFS=: read -r page file; do
  [ -e "$(dirname "$page")/$file" ] || { echo "$page has $file, which does not exist"; exit 1; }
  count=$((count + 1))
done < <(grep -rHoE --include='*.html' '<(img|script|link)[^>]*(src|href)="[^"]*"' "$html" |
  sed 's/:.*"\([^"]*\)"$/:\1/' | sort -u)
[ "$count" -ge 100 ] || { echo "only $count files are shown and loaded"; exit 1; }

# Titles have no links or escapes: in them, doxygen would link the project's name to the namespace.
grep -q '<div class="title">Vestrel.*noise' "$html/index.html" || { echo 'the front page has no title'; exit 1; }
! grep -rE --include='*.html' '<div class="title">.*(<a |%)' "$html" || { echo 'these titles have links or escapes'; exit 1; }

# The tree starts with the guide, in the order of its pages.
mapfile -t expected < <(cd "$source/docs/guide" && printf '%s\n' README.md [0-9]*.md |
  sed 's/\.md$//; s/-/_/g; s/.*/docs_guide_&.html/')
mapfile -t found < <(grep -oE '[A-Za-z0-9_]+\.html' "$html/navtreedata.js" | awk '$0 != "index.html" && !seen[$0]++')
found=("${found[@]:0:${#expected[@]}}")
[ "${#expected[@]}" -ge 14 ] && [ "${found[*]}" = "${expected[*]}" ] || { echo "the tree begins with ${found[*]}"; exit 1; }

# What docs.sh refuses, in a copy: names without comments, in a header and in the generated one, dead links and pictures.
copy=$work/copy
mkdir "$copy"
(cd "$source" && cp -r --parents ./*.md CMakeLists.txt docs samples/README.md scripts Runtime/*/include "$copy")
# refuses TEXT...
refuses() {
  ! "$copy/scripts/docs.sh" >"$work/log" 2>&1 && [ ! -e "$copy/build/docs" ] || { echo 'it makes a site'; exit 1; }
  for text in "$@"; do
    grep -qF -- "$text" "$work/log" || { echo "no complaint '$text':"; cat "$work/log"; exit 1; }
  done
}
support=Runtime/zr_support/include/zr_support
printf '#pragma once\n\nnamespace Vestrel {\nclass CNew { int m_A; };\n\n/// A class.\nclass COld {\npublic:\n    int Name() const;\n};\n}\n' \
  >"$copy/$support/new.h"
printf '#define VESTREL_NEW 1\n' >>"$copy/$support/config.h.in"
printf '\n[A link](../../README.md#none)\n' >>"$copy/docs/guide/02-quick-start.md"
refuses "$support/new.h:4: error: Compound Vestrel::CNew is not documented" \
  "$support/new.h:9: error: Member Name() const (function) of class Vestrel::COld is not documented" \
  "$support/config.h.in:" 'VESTREL_NEW' 'docs/guide/02-quick-start.md:'
rm "$copy/docs/pictures/guide/packed.svg"
refuses pages.py:

# And what this test would see load from a network.
printf '<script src="https://example.org/a.js"></script>\n@import "a.css"; a { background: url(//example.org/a.png) }\n' \
  >"$work/copy/page.html"
[ "$(loads_from_network "$copy" | wc -l)" -eq 3 ] || { echo 'this test does not see what is loaded'; exit 1; }
