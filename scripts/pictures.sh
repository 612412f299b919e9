#!/usr/bin/env bash
# Redraws every picture of the documents.
#   --list           prints the commands
#   --check [BUILD]  draws into a temporary folder, and fails if a picture in docs/pictures/ differs, is missing, or has no
#                    command; uses the programs of BUILD, or builds the preset `release`
set -euo pipefail
root=$(cd "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")/.." && pwd)
source "$root/scripts/setup.sh"

# Every picture: its name in docs/pictures/, and the command without that name, its last argument. (bench.sh draws the charts.)
field='noise_preview --size 320x320 --cells 6 --slice 0 --quality'
pictures=(
  "linear-value.png|$field linear --output"
  "cubic-value.png|$field cubic --output"
  "quintic-value.png|$field quintic --output"
  "linear-gradient.png|$field linear --shade gradient --output"
  "cubic-gradient.png|$field cubic --shade gradient --output"
  "quintic-gradient.png|$field quintic --shade gradient --output"
  'rotating.webp|noise_preview --shade gradient --slice 0 --size 640x240 --animate 4 --turn-seconds 4 --output'
  'guide/terrain.png|noise_preview --size 700x300 --cells 14 --colours terrain --shade gradient --output'
  'guide/moving.webp|noise_preview --size 480x240 --cells 8 --colours magma --animate 2 --turn-seconds 2 --output'
  'guide/qualities.png|noise_preview --size 230x230 --cells 5 --slice 0 --compare qualities --shade gradient --output'
  'guide/curves.png|noise_preview --size 230x260 --cells 5 --compare qualities --curve --output'
  'guide/dimensions.png|noise_preview --size 170x170 --cells 6 --compare dimensions --output'
  'guide/tile.png|noise_preview --size 640x240 --cells 12 --colours viridis --tile --output'
  'architecture.svg|dot -Tsvg scripts/pictures/architecture.dot -o'
  'guide/packed.svg|diagrams.py packed'
  'guide/padded.svg|diagrams.py padded'
  'guide/structs.svg|diagrams.py structs'
  'guide/in_place.svg|diagrams.py in_place'
  'guide/alignment.svg|diagrams.py alignment'
  'samples/camera_shake.png|camera_shake'
  'samples/curl_particles.webp|curl_particles'
  'samples/lit_heightfield.png|lit_heightfield'
  'samples/mpi_volume.png|whole_volume'
  'samples/octaves.png|octaves'
  'samples/shifted_columns.png|shifted_columns'
  'samples/threaded_batch.png|threaded_batch'
  'samples/volume_slice.webp|volume_slice'
)

# The commands, as in the documents.
list() {
  local picture command
  for picture in "${pictures[@]}"; do
    command=${picture#*|}
    case $command in
      noise_preview*) printf 'scripts/preview.sh%s' "${command#noise_preview}" ;;
      diagrams.py*) printf 'scripts/pictures/%s' "$command" ;;
      dot*) printf '%s' "$command" ;;
      *) printf 'build/release/samples/%s' "$command" ;;
    esac
    printf ' docs/pictures/%s\n' "${picture%%|*}"
  done
}

check= programs=
case "$#,${1:-}" in
  0,) ;;
  1,--check) check=yes ;;
  2,--check) check=yes programs=$2 ;;
  1,--list) list; exit 0 ;;
  1,--help | 1,-h) show_help ;;
  *) stop "there is no option '$*'; there are --list, --check and --check BUILD" ;;
esac

if [ -z "$programs" ]; then
  need_build_tools
  need_test_libraries
  need_benchmark_libraries
  need_tool_libraries
fi
need python3 has_program "$python"
need graphviz has_program dot
[ -z "$check" ] || need python3-pil has_python_module PIL
install_missing
if [ -z "$programs" ]; then
  programs=$root/build/release
  mapfile -t targets < <(printf '%s\n' "${pictures[@]#*|}" | cut -d ' ' -f 1 | grep -vE '\.py$|^dot$' | sort -u)
  build release "${targets[@]}"
fi

# program_of NAME
program_of() {
  case $1 in
    noise_preview) printf '%s' "$programs/tools/noise_preview/noise_preview" ;;
    *.py) printf '%s' "$root/scripts/pictures/$1" ;;
    dot) command -v dot ;;
    *) printf '%s' "$programs/samples/$1" ;;
  esac
}

folder=$root/docs/pictures work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
[ -z "$check" ] || folder=$work/pictures
mkdir -p "$folder/guide" "$folder/samples"
cd "$root"
for picture in "${pictures[@]}"; do
  name=${picture%%|*}
  read -ra command <<<"${picture#*|}"
  program=$(program_of "${command[0]}")
  [ -x "$program" ] || stop "there is no program '$program'"
  "$program" "${command[@]:1}" "$folder/$name" >"$work/log" 2>&1 || { cat "$work/log" >&2; stop "drawing '$name' failed"; }
done
if [ -n "$check" ]; then
  "$python" "$root/scripts/pictures/compare.py" "$root/docs/pictures" "$folder"
fi
