#!/usr/bin/env bash
# Makes the site of all documents and public names: build/docs/html/index.html, or with --into FOLDER in a new folder. Fails
# if a public name has no comment or a link leads nowhere.
set -euo pipefail
root=$(cd "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")/.." && pwd)
source "$root/scripts/setup.sh"

folder=$root/build/docs
case "$#,${1:-}" in
  0,) ;;
  2,--into)
    folder=$(readlink -m "$2")
    [ ! -e "$folder" ] || stop "'$2' already exists" ;;
  1,--help | 1,-h) show_help ;;
  *) stop "there is no option '$*'; there is --into FOLDER" ;;
esac

need doxygen has_program doxygen
need python3 has_program "$python"
install_missing

mkdir -p "$(dirname "$folder")" || stop "'$folder' cannot be made"
work=$(mktemp -d "$folder.XXXXXX") || stop "'$(dirname "$folder")' cannot be written"
trap 'rm -rf "$work"' EXIT
mkdir "$work/html"
(cd "$work" && doxygen -l layout.xml)
"$python" "$root/scripts/docs/pages.py" "$root" "$work"
version=$(sed -n 's/^project(Vestrel VERSION \([0-9.]*\).*/\1/p' "$root/CMakeLists.txt")
{
  cat "$root/scripts/docs/Doxyfile"
  printf '%s = "%s"\n' PROJECT_NUMBER "$version" INPUT "$work/pages" OUTPUT_DIRECTORY "$work" \
    LAYOUT_FILE "$work/layout.xml" STRIP_FROM_PATH "$work/include" STRIP_FROM_INC_PATH "$work/include" \
    HTML_FOOTER "$root/scripts/docs/footer.html" HTML_EXTRA_STYLESHEET "$root/scripts/docs/style.css"
  printf 'INPUT += "%s"\n' "$work/include"
} >"$work/Doxyfile"
# Name the source files in messages.
doxygen "$work/Doxyfile" >"$work/log" 2>&1 || {
  sed -E "s|$work/pages/||g; s|$work/include/(zr_[a-z]+)/|Runtime/\\1/include/\\1/|g; s/config\\.h:/config.h.in:/g" \
    "$work/log" >&2
  stop 'the documents have the errors above'
}
[ ! -s "$work/log" ] || cat "$work/log" >&2
chmod 755 "$work"
rm -rf "$folder" "$work/pages" "$work/include" "$work/layout.xml" "$work/Doxyfile" "$work/log"
mv "$work" "$folder"
trap - EXIT
say "$folder/html/index.html"
