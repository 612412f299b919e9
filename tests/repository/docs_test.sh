#!/usr/bin/env bash
# The documentation becomes a site without a single warning: every public name has a comment, and links lead somewhere. The
# site loads nothing from a network, and has the guide in order.
# docs_test.sh SOURCE WORK
set -euo pipefail
source=$1 work=$2
rm -rf "$work" && mkdir -p "$work"
"$source/scripts/docs.sh" --into "$work/docs"
html=$work/docs/html

# loads_from_network FOLDER: what pages, styles and scripts there load from elsewhere. (Links that one follows load nothing.)
loads_from_network() {
  local elsewhere="[\"']? *(https?:)?//"
  grep -rnoiE --include='*.html' --include='*.css' --include='*.js' \
    "(src|srcset|data|poster) *= *$elsewhere[^ >]*|<link[^>]*href *= *$elsewhere[^>]*|@import[^;]*|url\( *$elsewhere[^)]*" "$1"
}
if loads_from_network "$html"; then
  echo 'the site loads from a network'
  exit 1
fi

# What pages show and load is there.
count=0
while IFS=: read -r page file; do
  [ -e "$(dirname "$page")/$file" ] || { echo "$page has $file, which is not in the site"; exit 1; }
  count=$((count + 1))
done < <(grep -rHoE --include='*.html' '<(img|script|link)[^>]*(src|href)="[^"]*"' "$html" |
  sed 's/:.*"\([^"]*\)"$/:\1/' | sort -u)
[ "$count" -ge 100 ] || { echo "only $count files are shown and loaded"; exit 1; }

# The names of the project and of its namespace are one word, and titles are no links.
grep -q '<div class="title">Vestrel.*noise' "$html/index.html" || { echo 'the front page has no title'; exit 1; }
! grep -rE --include='*.html' '<div class="title">.*(<a |%)' "$html" || { echo 'these titles are not as they should be'; exit 1; }

# The tree: the guide before all else, in the order of its pages.
mapfile -t expected < <(cd "$source/docs/guide" && printf '%s\n' README.md [0-9]*.md |
  sed 's/\.md$//; s/-/_/g; s/.*/docs_guide_&.html/')
mapfile -t found < <(grep -oE '[A-Za-z0-9_]+\.html' "$html/navtreedata.js" | awk '$0 != "index.html" && !seen[$0]++')
found=("${found[@]:0:${#expected[@]}}")
[ "${#expected[@]}" -ge 14 ] && [ "${found[*]}" = "${expected[*]}" ] || { echo "the tree begins with ${found[*]}"; exit 1; }

# To see that this would be seen: a site with one thing wrong.
# expect_complaint TEXT COMMAND...: after the command, in a copy of what the site is made of.
expect_complaint() {
  local text=$1 copy=$work/copy
  shift
  rm -rf "$copy" && mkdir "$copy"
  (cd "$source" && cp -r --parents ./*.md CMakeLists.txt docs samples/README.md scripts Runtime/*/include "$copy")
  (cd "$copy" && "$@")
  if "$copy/scripts/docs.sh" >"$work/log" 2>&1 || ! grep -qF -- "$text" "$work/log" || [ -e "$copy/build/docs" ]; then
    echo "no complaint '$text':"
    cat "$work/log"
    exit 1
  fi
}
noise=Runtime/zr_maths/include/zr_maths/maths_noise_fast.h
line=$(($(sed -n '/^    virtual ~CFastNoise3();/=' "$source/$noise") + 1))
expect_complaint "$noise:$line: error: Member NewName() const (function) of class Vestrel::CFastNoise3 is not documented" \
  sed -i 's|^    virtual ~CFastNoise3();|&\n    int NewName() const;|' "$noise"
support=Runtime/zr_support/include/zr_support
expect_complaint 'config.h.in:' sed -i 's|^/// The third number of the version.|// &|' "$support/config.h.in"
expect_complaint 'Compound Vestrel::CNewName is not documented' \
  sed -i 's|^} // namespace Vestrel$|class CNewName { int m_A; };\n&|' "$support/std_random_generator.h"
guide=docs/guide/02-quick-start.md
expect_complaint "$guide:" sed -i 's|README.md#what-you-guarantee|README.md#what-you-do|' "$guide"
expect_complaint 'pages.py:' rm docs/pictures/guide/packed.svg
printf '<script src="https://example.org/a.js"></script>\n' >"$work/copy/page.html"
loads_from_network "$work/copy" >/dev/null || { echo 'this test does not see what is loaded'; exit 1; }
printf '@import "other.css"; a { background: url(//example.org/a.png) }\n' >"$work/copy/page.html"
[ "$(loads_from_network "$work/copy" | wc -l)" -eq 2 ] || { echo 'this test does not see what styles load'; exit 1; }
