#!/usr/bin/env bash
# The pictures of the documents are those that scripts/pictures.sh draws.
# pictures_test.sh SOURCE BUILD WORK
set -euo pipefail
source=$1 build=$2 work=$3
pictures=$source/docs/pictures
rm -rf "$work" && mkdir -p "$work/drawn"
"$source/scripts/pictures.sh" --check "$build"

# The comparison finds one pixel, one frame, one line, a missing picture, and one too many.
cp "$pictures"/{linear-value.png,cubic-value.png,rotating.webp,guide/packed.svg} "$work/drawn/"
cp -r "$work/drawn" "$work/changed"
/usr/bin/python3 - "$work/changed" <<'END'
import sys
from PIL import Image, ImageSequence
image = Image.open(sys.argv[1] + "/linear-value.png")
image.putpixel((7, 9), image.getpixel((7, 9)) ^ 1)
image.save(image.filename)
image = Image.open(sys.argv[1] + "/rotating.webp")
frames = [frame.convert("RGB") for frame in ImageSequence.Iterator(image)]
frames[0].save(image.filename, save_all=True, duration=40, loop=0, append_images=frames[1:-1])
END
sed -i '5s/position 0/position 1/' "$work/changed/packed.svg"
mv "$work/changed/cubic-value.png" "$work/changed/other.png"
! /usr/bin/python3 "$source/scripts/pictures/compare.py" "$work/changed" "$work/drawn" >"$work/output" 2>&1
diff - "$work/output" <<'END'
cubic-value.png is missing
linear-value.png: 1 pixels differ in frame 0
other.png is drawn by no command
packed.svg: line 5 differs
rotating.webp has 99 frames, and 100 are drawn
END
