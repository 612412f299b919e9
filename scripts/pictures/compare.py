"""Compares the pictures of two folders: the same files with the same pixels, frame by frame, or the same text of SVG files.

compare.py EXPECTED DRAWN
"""

import itertools
import pathlib
import sys

from PIL import Image, UnidentifiedImageError


def names_in(folder):
    return {str(path.relative_to(folder)) for path in folder.rglob("*") if path.is_file()}


def frames_of(image):
    """Size, milliseconds and pixels of each frame."""
    for index in range(getattr(image, "n_frames", 1)):
        image.seek(index)
        pixels = image.convert("RGBA")
        yield pixels.size, image.info.get("duration"), pixels.tobytes()


def difference_of_text(expected, drawn):
    """The first line that differs, or None."""
    lines = [path.read_text(errors="replace").splitlines() for path in (expected, drawn)]
    for number, (line, other) in enumerate(itertools.zip_longest(*lines), 1):
        if line != other:
            return f": line {number} differs"
    return None


def difference(expected, drawn):
    """The first difference, or None."""
    if expected.suffix == ".svg":
        return difference_of_text(expected, drawn)
    try:
        with Image.open(expected) as left, Image.open(drawn) as right:
            counts = [getattr(image, "n_frames", 1) for image in (left, right)]
            if counts[0] != counts[1]:
                return f" has {counts[0]} frames, and {counts[1]} are drawn"
            if left.info.get("loop") != right.info.get("loop"):
                return " repeats another number of times"
            for index, (one, other) in enumerate(zip(frames_of(left), frames_of(right))):
                if one[0] != other[0]:
                    return f" has {one[0][0]} x {one[0][1]} pixels, and {other[0][0]} x {other[0][1]} are drawn"
                if one[1] != other[1]:
                    return f" shows frame {index} for {one[1]} ms, and {other[1]} ms are drawn"
                if one[2] != other[2]:
                    count = sum(one[2][k:k + 4] != other[2][k:k + 4] for k in range(0, len(one[2]), 4))
                    return f": {count} pixels differ in frame {index}"
    except (UnidentifiedImageError, OSError) as error:
        return f" cannot be read: {error}"
    return None


def main():
    expected, drawn = map(pathlib.Path, sys.argv[1:])
    complaints = []
    for name in sorted(names_in(expected) | names_in(drawn)):
        if not (expected / name).is_file():
            complaints.append(f"{name} is missing")
        elif not (drawn / name).is_file():
            complaints.append(f"{name} is drawn by no command")
        elif found := difference(expected / name, drawn / name):
            complaints.append(f"{name}{found}")
    if complaints:
        sys.exit("\n".join(complaints))
    print(f"{len(names_in(expected))} pictures are the same")


main()
