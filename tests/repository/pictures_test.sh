#!/usr/bin/env bash
# The pictures of the documentation are those that its commands make.
# pictures_test.sh SOURCE BUILD WORK
set -euo pipefail
source=$1 build=$2 work=$3
pictures=$source/docs/pictures
rm -rf "$work" && mkdir -p "$work"
"$source/scripts/pictures.sh" --check "$build"

# expect_difference TEXT: between those in $work/drawn and in $work/changed, which the last command has changed.
expect_difference() {
  local status=0
  /usr/bin/python3 "$source/scripts/pictures/compare.py" "$work/changed" "$work/drawn" >"$work/output" 2>&1 || status=$?
  [ $status -eq 1 ] && [ "$(<"$work/output")" = "$1" ] || { echo "status $status, not 1 with '$1':"; cat "$work/output"; exit 1; }
  rm -rf "$work/changed"
  cp -r "$work/drawn" "$work/changed"
}

# To see that this would be seen: one pixel, one frame, one line, a picture too few, one too many, and one that is none.
mkdir -p "$work/drawn/guide" "$work/drawn/samples"
cp "$pictures"/{linear-value.png,cubic-value.png,rotating.webp} "$work/drawn/"
cp "$pictures/samples/camera_shake.png" "$work/drawn/samples/"
cp "$pictures/guide/packed.svg" "$work/drawn/guide/"
cp -r "$work/drawn" "$work/changed"
/usr/bin/python3 - "$work/changed/linear-value.png" <<'END'
import sys
from PIL import Image
image = Image.open(sys.argv[1])
image.putpixel((7, 9), image.getpixel((7, 9)) ^ 1)
image.save(sys.argv[1])
END
expect_difference 'linear-value.png has 1 other pixels in frame 0 than are drawn'
/usr/bin/python3 - "$work/changed/rotating.webp" <<'END'
import sys
from PIL import Image
image = Image.open(sys.argv[1])
frames = []
for index in range(image.n_frames - 1):
    image.seek(index)
    frames.append(image.convert("RGB"))
frames[0].save(sys.argv[1], save_all=True, append_images=frames[1:], duration=40, loop=0)
END
expect_difference 'rotating.webp has 99 frames, and 100 are drawn'
sed -i '5s/position 0/position 1/' "$work/changed/guide/packed.svg"
expect_difference 'guide/packed.svg has another line 5 than is drawn'
rm "$work/changed/samples/camera_shake.png"
expect_difference 'samples/camera_shake.png is missing'
cp "$work/changed/linear-value.png" "$work/changed/other.png"
expect_difference 'other.png is drawn by no command'
echo 'no picture' >"$work/changed/cubic-value.png"
expect_difference "cubic-value.png cannot be read: cannot identify image file '$work/changed/cubic-value.png'"
